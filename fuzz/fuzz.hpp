// Shared pieces of the fuzz targets: the checks that both the libFuzzer executables and the corpus
// replay run, the failure report, the abort hook, and readers over the input.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ks/ks.h"

namespace ven::fuzz
{

// One check per target: builds a call from the bytes, runs it against the reference written beside
// it, and stops through fail() on any disagreement.
void checkUtf16Decode(const std::uint8_t* data, std::size_t size);
void checkUtf16Encode(const std::uint8_t* data, std::size_t size);
void checkLgFormat(const std::uint8_t* data, std::size_t size);

struct Target {
    const char* name; // also the corpus directory and the executable's suffix
    void (*check)(const std::uint8_t* data, std::size_t size);
};
inline constexpr Target kTargets[] = {
    {"utf16_decode", &checkUtf16Decode}, {"utf16_encode", &checkUtf16Encode}, {"lg_format", &checkLgFormat}};

// Prints the finding (and the replayed file, if any) and aborts: libFuzzer keeps the input as a
// crash, the replay fails its test.
[[noreturn]] void fail(const char* format, ...) __attribute__((format(printf, 1, 2)));
#define FUZZ_EXPECT(condition, format, ...)                                                                  \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            ::ven::fuzz::fail("%s:%d: expected %s: " format "\n", __FILE__, __LINE__,                        \
                              #condition __VA_OPT__(, ) __VA_ARGS__);                                        \
        }                                                                                                    \
    } while (0)

// ks___Abort as a C++ exception, so that a fatal check the contract promises can be observed.
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
struct Reader {
    const std::uint8_t* data;
    std::size_t size, pos = 0;

    std::size_t left() const { return size - std::min(pos, size); }
    std::uint8_t byte() { return pos < size ? data[pos++] : 0; }
    std::uint64_t bytes(int count)
    {
        std::uint64_t value = 0;
        for (int i = 0; i < count; ++i) {
            value |= std::uint64_t{byte()} << (8 * i);
        }
        return value;
    }
};

// The values of a UTF-16 target, at most `max`. First byte even: the rest is raw `width`-byte values.
// Odd: tokens, the top three bits of each byte its kind and the low five its argument: 0 a run of
// ASCII, 1 any value, 2 to 4 the target's own (`own`), 5 fill until the offset in the library's
// 16-value block is arg % 16 (with `wideFill` if bit 4), 6 a value at the edge of a range, 7 a
// repeat of the last arg + 1 values.
template <class T, class Own>
std::vector<T> readValues(Reader& in, std::size_t max, int width, std::span<const T> edges, T wideFill,
                          Own own)
{
    std::vector<T> values;
    const bool raw = (in.byte() & 1) == 0;
    while (raw && in.left() >= static_cast<std::size_t>(width) && values.size() < max) {
        values.push_back(static_cast<T>(in.bytes(width)));
    }
    while (!raw && in.left() > 0 && values.size() < max) {
        const unsigned token = in.byte(), arg = token & 31;
        switch (token >> 5) {
        case 0:
            for (unsigned i = 0; i <= arg; ++i) {
                values.push_back(static_cast<T>('a' + i % 26));
            }
            break;
        case 1:
            values.push_back(static_cast<T>(in.bytes(width)));
            break;
        case 5:
            while (values.size() % 16 != (arg & 15) && values.size() < max) {
                values.push_back((arg & 16) != 0 ? wideFill : T{'.'});
            }
            break;
        case 6:
            values.push_back(edges[arg % edges.size()]);
            break;
        case 7:
            for (std::size_t n = std::min<std::size_t>(arg + 1, values.size()), i = values.size() - n; n > 0;
                 --n) {
                values.push_back(values[i++]);
            }
            break;
        default:
            own(values, token >> 5, arg, in);
        }
    }
    values.resize(std::min(values.size(), max));
    return values;
}

// A copy in a block of exactly the values' size, so that a read past its end is caught.
template <class T> std::unique_ptr<T[]> exactCopy(const std::vector<T>& values)
{
    std::unique_ptr<T[]> copy(new T[std::max<std::size_t>(values.size(), 1)]);
    std::copy(values.begin(), values.end(), copy.get());
    return copy;
}

template <class T>
void expectValues(const T* got, std::size_t count, const std::vector<T>& expected, const char* what)
{
    FUZZ_EXPECT(count == expected.size(), "%zu %s, %zu expected", count, what, expected.size());
    for (std::size_t i = 0; i < count; ++i) {
        FUZZ_EXPECT(got[i] == expected[i], "%s %zu is %#x, %#x expected", what, i, unsigned{got[i]},
                    unsigned{expected[i]});
    }
}

// ksObjLiveCount and ksMemAllocCount at construction, to compare with after one input.
struct Counts {
    KS_INT live = ksObjLiveCount();
    KS_INT allocs = ksMemAllocCount();
    void expect(KS_INT newAllocs) const;
};

} // namespace ven::fuzz
