// Raw memory, the process stop and the encapsulation test of libks.
#include "ks_internal.hpp"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace ks::detail
{
namespace
{

constexpr const char* kMemPath = "source/ks/ks_mem";

constexpr Check kSizeNonNegative{kMemPath, 40, "size >= 0"};
constexpr Check kCountNonNegative{kMemPath, 41, "count >= 0"};
constexpr Check kElementSizeNonNegative{kMemPath, 42, "elementSize >= 0"};
constexpr Check kProductFits{kMemPath, 43, "count <= KS_INT_MAX / elementSize"};
constexpr Check kOutOfMemory{kMemPath, 44, "ksMemAlloc: out of memory"};

std::atomic<ksAbortHook> abortHook{nullptr};
std::atomic<KS_INT> memAllocCount{0};
std::atomic<KS_INT> memLiveCount{0};

KS_INT checkedProduct(KS_INT count, KS_INT elementSize)
{
    if (count < 0) {
        failCondition(kCountNonNegative);
    }
    if (elementSize < 0) {
        failCondition(kElementSizeNonNegative);
    }
    if (elementSize != 0 && count > std::numeric_limits<KS_INT>::max() / elementSize) {
        failCondition(kProductFits);
    }
    return count * elementSize;
}

// malloc takes size_t; on a platform where it is narrower than KS_INT the request
// cannot be met either.
void* mallocOrStop(KS_INT size)
{
    if (static_cast<std::uint64_t>(size) > std::numeric_limits<std::size_t>::max()) {
        failMessage(kOutOfMemory);
    }
    // A zero-byte request still yields a distinct, freeable block.
    void* block = std::malloc(size == 0 ? 1 : static_cast<std::size_t>(size));
    if (block == nullptr) {
        failMessage(kOutOfMemory);
    }
    return block;
}

} // namespace

void failCondition(const Check& check)
{
    ks___Abort(nullptr, check.path, check.line, check.text);
}

void failMessage(const Check& check)
{
    ks___Abort(check.text, check.path, check.line, nullptr);
}

void* blockAlloc(KS_INT size)
{
    if (size < 0) {
        failCondition(kSizeNonNegative);
    }
    return mallocOrStop(size);
}

void* blockAllocN(KS_INT count, KS_INT elementSize)
{
    return mallocOrStop(checkedProduct(count, elementSize));
}

void* blockRealloc(void* block, KS_INT count, KS_INT elementSize)
{
    KS_INT size = checkedProduct(count, elementSize);
    if (static_cast<std::uint64_t>(size) > std::numeric_limits<std::size_t>::max()) {
        failMessage(kOutOfMemory);
    }
    void* grown = std::realloc(block, size == 0 ? 1 : static_cast<std::size_t>(size));
    if (grown == nullptr) {
        failMessage(kOutOfMemory);
    }
    return grown;
}

void noteBlockHandedOut()
{
    memLiveCount.fetch_add(1, std::memory_order_relaxed);
}

void noteBlockTakenBack()
{
    memLiveCount.fetch_sub(1, std::memory_order_relaxed);
}

} // namespace ks::detail

using namespace ks::detail;

extern "C" {

void* ksMemAlloc(KS_INT size)
{
    void* block = blockAlloc(size);
    memAllocCount.fetch_add(1, std::memory_order_relaxed);
    noteBlockHandedOut();
    return block;
}

void* ksMemAllocN(KS_INT count, KS_INT elementSize)
{
    void* block = blockAllocN(count, elementSize);
    memAllocCount.fetch_add(1, std::memory_order_relaxed);
    noteBlockHandedOut();
    return block;
}

void ksMemFree(void* block)
{
    if (block != nullptr) {
        noteBlockTakenBack();
    }
    std::free(block);
}

KS_INT ksMemAllocCount(void)
{
    return memAllocCount.load(std::memory_order_relaxed);
}

KS_INT ksMemLiveCount(void)
{
    return memLiveCount.load(std::memory_order_relaxed);
}

KS_INT ksIntMin(KS_INT a, KS_INT b)
{
    return a < b ? a : b;
}

ksAbortHook ksAbortSetHook(ksAbortHook hook)
{
    return abortHook.exchange(hook, std::memory_order_acq_rel);
}

// Not noexcept: a hook may leave by throwing, and the exception must unwind through
// this frame and the caller's.
void ks___Abort(const char* message, const char* path, int line, const char* condition)
{
    if (ksAbortHook hook = abortHook.load(std::memory_order_acquire)) {
        hook(message, path, line, condition);
    }
    const char* text = message != nullptr ? message : condition;
    std::fprintf(stderr, "%s:%d: %s\n", path != nullptr ? path : "(null)", line,
                 text != nullptr ? text : "(null)");
    std::fflush(stderr);
    std::abort();
}

KS_BOOL ks___ExecCheckEncapsulated(const void* address, const char* moduleName)
{
    if (address == nullptr || moduleName == nullptr) {
        return KS_FALSE;
    }
    Dl_info info;
    if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) {
        return KS_FALSE;
    }
    const char* slash = std::strrchr(info.dli_fname, '/');
    const char* file = slash != nullptr ? slash + 1 : info.dli_fname;
    // lib<moduleName>.so, optionally followed by a version suffix ".<...>".
    if (std::strncmp(file, "lib", 3) != 0) {
        return KS_FALSE;
    }
    file += 3;
    std::size_t nameLength = std::strlen(moduleName);
    if (nameLength == 0 || std::strncmp(file, moduleName, nameLength) != 0) {
        return KS_FALSE;
    }
    file += nameLength;
    if (std::strncmp(file, ".so", 3) != 0) {
        return KS_FALSE;
    }
    file += 3;
    return (*file == '\0' || *file == '.') ? KS_TRUE : KS_FALSE;
}

} // extern "C"
