// The failure report, the throwing abort hook and the count checks shared by every target.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "fuzz.hpp"

#ifdef VEN_FUZZ_ASAN
#include <sanitizer/allocator_interface.h>
#endif

namespace ven::fuzz
{

namespace
{

const char* currentInput = nullptr;

// The block reclaimAfterAbort() looks for: its size while watching, and the first match.
std::size_t watchedSize = 0;
const volatile void* watchedBlock = nullptr;

[[maybe_unused]] void onAllocation(const volatile void* block, std::size_t size)
{
    if (watchedSize != 0 && watchedBlock == nullptr && size == watchedSize) {
        watchedBlock = block;
    }
}

// The sanitizer takes hooks only in pairs.
[[maybe_unused]] void onRelease(const volatile void*) {}

std::optional<std::string> textOrNull(const char* text)
{
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

[[noreturn]] void throwAbort(const char* message, const char* path, int line, const char* condition)
{
    throw Abort{textOrNull(message), path != nullptr ? path : "", line, textOrNull(condition)};
}

} // namespace

void fail(const char* format, ...)
{
    std::fflush(stdout);
    if (currentInput != nullptr) {
        std::fprintf(stderr, "fuzz: input %s\n", currentInput);
    }
    std::fputs("fuzz: ", stderr);
    va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fflush(stderr);
    std::abort();
}

void setCurrentInput(const char* name)
{
    currentInput = name;
}

void installAbortHook()
{
    ksAbortSetHook(&throwAbort);
#ifdef VEN_FUZZ_ASAN
    __sanitizer_install_malloc_and_free_hooks(&onAllocation, &onRelease);
#endif
}

void reclaimAfterAbort(std::size_t bytes, bool (*call)(void*), void* context)
{
    watchedSize = bytes;
    watchedBlock = nullptr;
    const bool aborted = call(context);
    watchedSize = 0;
    // Without the sanitizer's hooks nothing is seen and the block stays lost.
    if (aborted) {
        std::free(const_cast<void*>(watchedBlock));
    }
    watchedBlock = nullptr;
}

std::optional<std::size_t> allocatedSize(const void* block)
{
#ifdef VEN_FUZZ_ASAN
    if (__sanitizer_get_ownership(block)) {
        return __sanitizer_get_allocated_size(block);
    }
#endif
    (void)block;
    return std::nullopt;
}

void Counts::expect(KS_INT newAllocs) const
{
    FUZZ_EXPECT(ksObjLiveCount() == live, "live objects %lld before, %lld after", static_cast<long long>(live),
                static_cast<long long>(ksObjLiveCount()));
    FUZZ_EXPECT(ksMemAllocCount() == allocs + newAllocs, "%lld blocks handed out, %lld expected",
                static_cast<long long>(ksMemAllocCount() - allocs), static_cast<long long>(newAllocs));
}

} // namespace ven::fuzz
