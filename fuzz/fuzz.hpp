// Shared pieces of the fuzz targets: the checking functions that both the libFuzzer
// executables and the corpus replay run, the failure report, and a reader over the input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "ks/ks.h"

namespace ven::fuzz
{

// One checking function per target: builds a call from the bytes, runs it against the
// reference written beside it, and stops through fail() on any disagreement.
using Check = void (*)(const std::uint8_t* data, std::size_t size);
void checkUtf16Decode(const std::uint8_t* data, std::size_t size);
void checkUtf16Encode(const std::uint8_t* data, std::size_t size);
void checkLgFormat(const std::uint8_t* data, std::size_t size);

struct Target {
    const char* name; // also the corpus directory and the executable's suffix
    Check check;
};
inline constexpr Target kTargets[] = {
    {"utf16_decode", &checkUtf16Decode},
    {"utf16_encode", &checkUtf16Encode},
    {"lg_format", &checkLgFormat},
};

// Prints the finding (and the replayed file, if any) and aborts: libFuzzer keeps the
// input as a crash, the replay fails its test.
[[noreturn]] void fail(const char* format, ...) __attribute__((format(printf, 1, 2)));
#define FUZZ_EXPECT(condition, format, ...)                                                              \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            ::ven::fuzz::fail("%s:%d: expected %s: " format "\n", __FILE__, __LINE__,                       \
                              #condition __VA_OPT__(, ) __VA_ARGS__);                                        \
        }                                                                                                    \
    } while (0)

// The name the replay is running, for fail()'s report (NULL under libFuzzer).
void setCurrentInput(const char* name);

// ks___Abort as a C++ exception, so that a fatal check the contract promises can be
// observed and the input goes on.
struct Abort {
    std::optional<std::string> message;
    std::string path;
    int line;
    std::optional<std::string> condition;
};
void installAbortHook();

// Allocated size of a heap block where the sanitizer can tell, or nullopt.
std::optional<std::size_t> allocatedSize(const void* block);

// Little-endian reads that yield zeros once the input is used up.
class Reader
{
  public:
    Reader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool empty() const { return pos_ >= size_; }
    std::size_t left() const { return empty() ? 0 : size_ - pos_; }
    std::uint8_t byte() { return empty() ? 0 : data_[pos_++]; }
    std::uint64_t bytes(int count)
    {
        std::uint64_t value = 0;
        for (int i = 0; i < count; ++i) {
            value |= std::uint64_t{byte()} << (8 * i);
        }
        return value;
    }

  private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

// ksObjLiveCount and ksMemAllocCount at construction, to compare with after one input.
struct Counts {
    KS_INT live = ksObjLiveCount();
    KS_INT allocs = ksMemAllocCount();
    void expect(KS_INT newAllocs) const;
};

} // namespace ven::fuzz

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VEN_FUZZ_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define VEN_FUZZ_ASAN 1
#endif
