// The failure report, the throwing abort hook and the count checks shared by every target, and the
// two drivers: libFuzzer's entry for the target VEN_FUZZ_TARGET_INDEX, or else the corpus replay.
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz.hpp"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VEN_FUZZ_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define VEN_FUZZ_ASAN 1
#endif

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

const char* currentInput = nullptr; // the replayed file, for fail()'s report

std::optional<std::string> textOrNull(const char* text)
{
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
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

void installAbortHook()
{
    ksAbortSetHook([](const char* message, const char* path, int line, const char* condition) {
        throw Abort{textOrNull(message), path != nullptr ? path : "", line, textOrNull(condition)};
    });
}

std::optional<std::size_t> allocatedSize([[maybe_unused]] const void* block)
{
#ifdef VEN_FUZZ_ASAN
    if (__sanitizer_get_ownership(block)) {
        return __sanitizer_get_allocated_size(block);
    }
#endif
    return std::nullopt;
}

void Counts::expect(KS_INT newAllocs) const
{
    FUZZ_EXPECT(ksObjLiveCount() == live, "live objects %lld before, %lld after",
                static_cast<long long>(live), static_cast<long long>(ksObjLiveCount()));
    FUZZ_EXPECT(ksMemAllocCount() == allocs + newAllocs, "%lld blocks handed out, %lld expected",
                static_cast<long long>(ksMemAllocCount() - allocs), static_cast<long long>(newAllocs));
}

} // namespace ven::fuzz

#ifdef VEN_FUZZ_TARGET_INDEX
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    ven::fuzz::installAbortHook();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ven::fuzz::kTargets[VEN_FUZZ_TARGET_INDEX].check(data, size);
    return 0;
}
#else
// Replays the committed corpus of every target through the same checks: any seed that once found a
// fault keeps guarding against it in the ordinary test run.
int main(int argc, char** argv)
{
    namespace fs = std::filesystem;
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <corpus directory>\n", argv[0]);
        return 2;
    }
    ven::fuzz::installAbortHook();
    int total = 0;
    for (const auto& target : ven::fuzz::kTargets) {
        std::vector<fs::path> files(fs::directory_iterator(fs::path(argv[1]) / target.name), {});
        std::sort(files.begin(), files.end());
        for (const fs::path& file : files) {
            std::ifstream in(file, std::ios::binary);
            const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
            ven::fuzz::currentInput = file.c_str();
            target.check(bytes.data(), bytes.size());
        }
        std::printf("replay: %s: %zu inputs agree with the reference\n", target.name, files.size());
        if (files.empty()) {
            return 1;
        }
        total += static_cast<int>(files.size());
    }
    std::printf("%d passed, 0 failed\n", total);
    return 0;
}
#endif
