// Targets utf16_decode and utf16_encode: ven___JCharsToChars, ven___CharsToJChars and every UTF-16
// kernel the processor runs against the shared reference, over any 16-bit units and any 32-bit
// values, with the fatal stop where a leading unit does not fit. Built once per target as a
// libFuzzer executable (VEN_FUZZ_TARGET_INDEX), or else as the replay of the committed corpus.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "ks/ks.h"
#include "support/utf16_reference.hpp"
#include "ven/java/lang/string.h"
#include "ven/java/lang/utf16.hpp"

namespace
{

namespace utf16 = ven::utf16;
const char* currentInput = "(from the fuzzer)"; // the replayed file, for the report

// Aborts with the finding: libFuzzer keeps the input as a crash, the replay fails its test.
[[noreturn]] __attribute__((format(printf, 1, 2))) void fail(const char* format, ...)
{
    std::fprintf(stderr, "fuzz: input %s: ", currentInput);
    va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::abort();
}
#define FUZZ_EXPECT(condition, format, ...)                                                                  \
    ((condition)                                                                                             \
         ? void()                                                                                            \
         : fail("line %d: expected %s: " format "\n", __LINE__, #condition __VA_OPT__(, ) __VA_ARGS__))

constexpr const char* kLeadingUnitStop =
    "source/ven/java/lang/ven_string:174 VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )";

// Little-endian reads that yield zeros once the input is used up.
struct Reader {
    const std::uint8_t* data;
    std::size_t size, pos = 0;
    std::uint64_t bytes(int count)
    {
        std::uint64_t value = 0;
        for (int i = 0; i < count; ++i) {
            value |= std::uint64_t{pos < size ? data[pos++] : 0u} << (8 * i);
        }
        return value;
    }
};

// The values of a target, at most `max`. First byte even: the rest is raw `width`-byte values.
// Odd: tokens, the top three bits of each byte its kind and the low five its argument: 0 a run of
// ASCII, 1 any value, 2 to 4 the target's own (`own`), 5 fill until the offset in the library's
// 16-value block is arg % 16 (with `wideFill` if bit 4), 6 a value at the edge of a range, 7 a
// repeat of the last arg + 1 values.
template <class T, class Own>
std::vector<T> readValues(Reader& in, std::size_t max, int width, std::span<const T> edges, T wideFill,
                          Own own)
{
    std::vector<T> values;
    const bool raw = (in.bytes(1) & 1) == 0;
    while (raw && in.size - std::min(in.pos, in.size) >= static_cast<std::size_t>(width) &&
           values.size() < max) {
        values.push_back(static_cast<T>(in.bytes(width)));
    }
    while (!raw && in.pos < in.size && values.size() < max) {
        const auto token = static_cast<unsigned>(in.bytes(1)), arg = token & 31;
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

// A copy in a block of exactly the values' size, so that the sanitizer catches a read past its end.
template <class T> std::unique_ptr<T[]> exactCopy(const std::vector<T>& values)
{
    std::unique_ptr<T[]> copy(new T[std::max<std::size_t>(values.size(), 1)]);
    std::ranges::copy(values, copy.get());
    return copy;
}

template <class T>
void expectValues(const T* got, KS_INT count, std::span<const T> expected, const char* what)
{
    const auto [g, e] = std::mismatch(got, got + count, expected.begin(), expected.end());
    FUZZ_EXPECT(g == got + count && e == expected.end(), "%s: the first %zu of %zu agree, %lld given", what,
                static_cast<std::size_t>(g - got), expected.size(), static_cast<long long>(count));
}

constexpr jchar kUnitEdges[] = {0x0000, 0x007F, 0x0080, 0x07FF, 0xD7FF,
                                0xE000, 0xF7FF, 0xF800, 0xFFFE, 0xFFFF};

// Tokens 2 to 4: a well-formed pair, a high surrogate, a low surrogate.
void checkDecode(const std::uint8_t* data, std::size_t size)
{
    Reader in{data, size};
    const std::vector<jchar> units = readValues<jchar>(
        in, 4096, 2, kUnitEdges, 0xFFFF,
        [](std::vector<jchar>& values, unsigned kind, unsigned arg, Reader& in) {
            const auto bits = static_cast<unsigned>(in.bytes(kind == 2 ? 3 : 0)) & 0xFFFFF;
            values.push_back(static_cast<jchar>(kind == 2 ? 0xD800 + (bits >> 10)
                                                          : (kind == 3 ? 0xD800 : 0xDC00) + arg * 33));
            if (kind == 2) {
                values.push_back(static_cast<jchar>(0xDC00 + (bits & 0x3FF)));
            }
        });
    const std::optional<ven::test::CodePoints> expected = ven::test::referenceDecode(units);
    std::vector<utf16::CodePoint> out(units.size());
    for (const utf16::Kernel* kernel : utf16::available()) {
        const utf16::Count count = kernel->decode(out.data(), units.data(), std::ssize(units));
        FUZZ_EXPECT((count != utf16::kIllFormed) == expected.has_value(), "kernel %s", kernel->name);
        if (expected) {
            expectValues<KS_CHAR>(out.data(), count, *expected, kernel->name);
        }
    }

    const std::unique_ptr<jchar[]> source = exactCopy(units);
    const KS_INT live = ksMemLiveCount();
    KS_CHAR sentinel = 0;
    KS_CHAR* chars = &sentinel;
    KS_INT count = -7;
    const bool decoded = ven___JCharsToChars(&chars, &count, source.get(), std::ssize(units)) != KS_FALSE;
    FUZZ_EXPECT(decoded == expected.has_value() && ksMemLiveCount() == live + decoded, "%zu units",
                units.size());
    if (!decoded) {
        FUZZ_EXPECT(chars == &sentinel && count == -7, "a refusal delivered something");
        return;
    }
    expectValues<KS_CHAR>(chars, count, *expected, "decoded");
    ksMemFree(chars);
}

constexpr KS_CHAR kCodePointEdges[] = {0x0,      0xD7FF,   0xE000,     0xFFFF,     0x10000,    0x10FFFF,
                                       0x110000, 0xA0FFFF, 0xA10000,   0xFFFFFFFF, 0x7FFFFFFF, 0x80000000,
                                       0x1FFFF,  0x20000,  0xDBFFFFFF, 0x00FFFFFF};

// Tokens 2 to 4: a supplementary code point; a surrogate value, D800 to DFFF; a value beyond
// Unicode whose leading unit fits, 110000 to A0FFFF.
void checkEncode(const std::uint8_t* data, std::size_t size)
{
    Reader in{data, size};
    const std::vector<KS_CHAR> codePoints = readValues<KS_CHAR>(
        in, 2048, 4, kCodePointEdges, 0x1F600,
        [](std::vector<KS_CHAR>& values, unsigned kind, unsigned arg, Reader& in) {
            const auto bits = static_cast<KS_CHAR>(in.bytes(kind == 3 || (kind == 4 && arg == 31) ? 0 : 3));
            values.push_back(kind == 2   ? 0x10000 + (bits & 0xFFFFF)
                             : kind == 3 ? 0xD800 + arg * 0x7FF / 31
                             : arg == 31 ? 0xA0FFFF
                                         : 0x110000 + bits % 0x900000);
        });
    const auto length = std::ssize(codePoints);
    const ven::test::ReferenceEncoding expected = ven::test::referenceEncode(codePoints);
    for (const utf16::Kernel* kernel : utf16::available()) {
        const utf16::Count count = kernel->encodedLength(codePoints.data(), length);
        std::vector<utf16::Unit> out(static_cast<std::size_t>(count));
        const utf16::EncodeResult result = kernel->encode(out.data(), count, codePoints.data(), length);
        FUZZ_EXPECT(result.stop == (expected.complete ? utf16::EncodeStop::done
                                                      : utf16::EncodeStop::leadingUnitTooLarge),
                    "kernel %s stopped with %d", kernel->name, static_cast<int>(result.stop));
        expectValues<jchar>(out.data(), result.written, expected.units, kernel->name);
    }

    const std::unique_ptr<KS_CHAR[]> source = exactCopy(codePoints);
    const KS_INT live = ksMemLiveCount(), blocks = ksMemAllocCount();
    jchar sentinel = 0;
    jchar* units = &sentinel;
    KS_INT count = -7;
    std::string stop;
    try {
        ven___CharsToJChars(&units, &count, length > 0 ? source.get() : nullptr, length);
    } catch (const std::string& where) {
        stop = where;
    }
    FUZZ_EXPECT(stop == (expected.complete ? "" : kLeadingUnitStop), "%lld values stopped with '%s'",
                static_cast<long long>(length), stop.c_str());
    // A block only for some code points (for none NULL, from a NULL source too), given back when the
    // stop leaves through the hook.
    FUZZ_EXPECT(ksMemAllocCount() == blocks + (length > 0) &&
                    ksMemLiveCount() == live + (expected.complete && length > 0),
                "%lld values", static_cast<long long>(length));
    if (!expected.complete) {
        FUZZ_EXPECT(units == &sentinel && count == -7, "a stopped encoding delivered something");
        return;
    }
    FUZZ_EXPECT((units == nullptr) == (length == 0), "no code points but a block, or none for some");
    expectValues<jchar>(units, count, expected.units, "encoded");
    ksMemFree(units);
}

struct Target {
    const char* name; // also the corpus directory and the executable's suffix
    void (*check)(const std::uint8_t* data, std::size_t size);
};
constexpr Target kTargets[] = {{"utf16_decode", &checkDecode}, {"utf16_encode", &checkEncode}};

// ks___Abort as a C++ exception ("path:line condition"), so that the fatal stop can be observed.
void installAbortHook()
{
    ksAbortSetHook([](const char*, const char* path, int line, const char* condition) {
        throw std::string(path) + ":" + std::to_string(line) + " " + (condition ? condition : "(none)");
    });
}

} // namespace

#ifdef VEN_FUZZ_TARGET_INDEX
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    installAbortHook();
    kTargets[VEN_FUZZ_TARGET_INDEX].check(data, size);
    return 0;
}
#else
// Replays the committed corpus of every target through the same checks: any seed that once found a
// fault keeps guarding against it in the ordinary test run.
int main(int argc, char** argv)
{
    namespace fs = std::filesystem;
    if (argc != 2) {
        return 2; // usage: the corpus directory
    }
    installAbortHook();
    for (const Target& target : kTargets) {
        std::vector<fs::path> files(fs::directory_iterator(fs::path(argv[1]) / target.name), {});
        std::ranges::sort(files);
        for (const fs::path& file : files) {
            std::ifstream in(file, std::ios::binary);
            const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
            currentInput = file.c_str();
            target.check(bytes.data(), bytes.size());
        }
        std::printf("replay: %s: %zu inputs agree with the reference\n", target.name, files.size());
        if (files.empty()) {
            return 1;
        }
    }
    return 0;
}
#endif
