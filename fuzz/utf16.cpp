// Targets utf16_decode and utf16_encode: ven___JCharsToChars, ven___CharsToJChars and every UTF-16
// kernel the processor runs against the shared reference, over any 16-bit units and any 32-bit
// values, with the fatal stop where a leading unit does not fit. Built once per target as a
// libFuzzer executable (VEN_FUZZ_TARGET_INDEX), or else as the replay of the committed corpus.
#include <algorithm>
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
#define FUZZ_EXPECT(condition, what)                                                                         \
    ((condition) ? void()                                                                                    \
                 : (std::fprintf(stderr, "fuzz: input %s: line %d: expected %s (%s)\n", currentInput,        \
                                 __LINE__, #condition, what),                                                \
                    std::abort()))

constexpr const char* kLeadingUnitStop =
    "source/ven/java/lang/ven_string:174 VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )";

// The input as values of T (in the byte order of the host, little-endian on every target; a last
// partial value left out), in a block of exactly their size so that the sanitizer catches a read
// past its end.
template <class T>
std::pair<std::unique_ptr<T[]>, std::span<const T>> valuesOf(const std::uint8_t* data, std::size_t size)
{
    const std::size_t count = size / sizeof(T);
    std::unique_ptr<T[]> block(new T[std::max<std::size_t>(count, 1)]);
    std::copy_n(data, count * sizeof(T), reinterpret_cast<std::uint8_t*>(block.get()));
    return {std::move(block), std::span<const T>(block.get(), count)};
}

template <class T, class U> bool agree(const T* got, KS_INT count, const std::vector<U>& expected)
{
    return std::equal(got, got + count, expected.begin(), expected.end());
}

void checkDecode(const std::uint8_t* data, std::size_t size)
{
    const auto [block, units] = valuesOf<jchar>(data, size);
    const std::optional<ven::test::CodePoints> expected = ven::test::referenceDecode(units);
    std::vector<utf16::CodePoint> out(units.size());
    for (const utf16::Kernel* kernel : utf16::available()) {
        const utf16::Count count = kernel->decode(out.data(), units.data(), std::ssize(units));
        FUZZ_EXPECT((count != utf16::kIllFormed) == expected.has_value(), kernel->name);
        FUZZ_EXPECT(!expected || agree(out.data(), count, *expected), kernel->name);
    }

    const KS_INT live = ksMemLiveCount();
    KS_CHAR sentinel = 0;
    KS_CHAR* chars = &sentinel;
    KS_INT count = -7;
    const bool decoded = ven___JCharsToChars(&chars, &count, units.data(), std::ssize(units)) != KS_FALSE;
    FUZZ_EXPECT(decoded == expected.has_value() && ksMemLiveCount() == live + decoded, "decoded");
    if (!decoded) {
        FUZZ_EXPECT(chars == &sentinel && count == -7, "a refusal delivered something");
        return;
    }
    FUZZ_EXPECT(agree(chars, count, *expected), "decoded");
    ksMemFree(chars);
}

void checkEncode(const std::uint8_t* data, std::size_t size)
{
    const auto [block, codePoints] = valuesOf<KS_CHAR>(data, size);
    const auto length = std::ssize(codePoints);
    const ven::test::ReferenceEncoding expected = ven::test::referenceEncode(codePoints);
    for (const utf16::Kernel* kernel : utf16::available()) {
        const utf16::Count count = kernel->encodedLength(codePoints.data(), length);
        std::vector<utf16::Unit> out(static_cast<std::size_t>(count));
        const utf16::EncodeResult result = kernel->encode(out.data(), count, codePoints.data(), length);
        FUZZ_EXPECT(result.stop == (expected.complete ? utf16::EncodeStop::done
                                                      : utf16::EncodeStop::leadingUnitTooLarge),
                    kernel->name);
        FUZZ_EXPECT(agree(out.data(), result.written, expected.units), kernel->name);
    }

    const KS_INT live = ksMemLiveCount(), blocks = ksMemAllocCount();
    jchar sentinel = 0;
    jchar* units = &sentinel;
    KS_INT count = -7;
    std::string stop;
    try {
        ven___CharsToJChars(&units, &count, length > 0 ? codePoints.data() : nullptr, length);
    } catch (const std::string& where) {
        stop = where;
    }
    FUZZ_EXPECT(stop == (expected.complete ? "" : kLeadingUnitStop), stop.c_str());
    // A block only for some code points (for none NULL, from a NULL source too), given back when the
    // stop leaves through the hook.
    FUZZ_EXPECT(ksMemAllocCount() == blocks + (length > 0) &&
                    ksMemLiveCount() == live + (expected.complete && length > 0),
                "the blocks");
    if (!expected.complete) {
        FUZZ_EXPECT(units == &sentinel && count == -7, "a stopped encoding delivered something");
        return;
    }
    FUZZ_EXPECT((units == nullptr) == (length == 0), "no code points but a block, or none for some");
    FUZZ_EXPECT(agree(units, count, expected.units), "encoded");
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
