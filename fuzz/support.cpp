// The failure report, the throwing abort hook and the count checks shared by every target.
#include <cstdarg>
#include <cstdio>
#include <cstddef>
#include <cstdlib>

#include "fuzz.hpp"

#ifdef VEN_FUZZ_ASAN
// Declared here rather than through <sanitizer/allocator_interface.h>, which GCC does not ship;
// both compilers' runtimes define them.
extern "C" int __sanitizer_get_ownership(const volatile void* block);
extern "C" std::size_t __sanitizer_get_allocated_size(const volatile void* block);
#endif

namespace ven::fuzz
{

namespace
{

const char* currentInput = nullptr;

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
