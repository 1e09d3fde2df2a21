// Targets utf16_decode and utf16_encode: ven___JCharsToChars, ven___CharsToJChars and every UTF-16
// kernel the processor runs against the shared plain reference, over any 16-bit units and any
// 32-bit values, with the fatal check for values whose leading unit does not fit. The token form of
// the input places surrogates at chosen offsets from the kernels' 16-unit blocks.
#include "ven/java/lang/utf16.hpp"
#include "fuzz.hpp"
#include "support/utf16_reference.hpp"
#include "ven/java/lang/string.h"

namespace ven::fuzz
{
namespace
{

// Tokens 2 to 4: a well-formed pair, a high surrogate, a low surrogate.
void ownUnits(std::vector<jchar>& units, unsigned kind, unsigned arg, Reader& in)
{
    if (kind == 2) {
        const auto bits = static_cast<unsigned>(in.bytes(3)) & 0xFFFFF;
        units.insert(units.end(), {static_cast<jchar>(0xD800 + (bits >> 10)),
                                   static_cast<jchar>(0xDC00 + (bits & 0x3FF))});
    } else {
        units.push_back(static_cast<jchar>((kind == 3 ? 0xD800 : 0xDC00) + arg * 33));
    }
}

constexpr jchar kUnitEdges[] = {0x0000, 0x007F, 0x0080, 0x07FF, 0xD7FF,
                                0xE000, 0xF7FF, 0xF800, 0xFFFE, 0xFFFF};

constexpr int kHighSurrogateLine = 174;

// Tokens 2 to 4: a supplementary code point; a surrogate value, D800 to DFFF; a value beyond Unicode
// whose leading unit fits, 110000 to A0FFFF.
void ownCodePoints(std::vector<KS_CHAR>& codePoints, unsigned kind, unsigned arg, Reader& in)
{
    if (kind == 2) {
        codePoints.push_back(0x10000 + (static_cast<KS_CHAR>(in.bytes(3)) & 0xFFFFF));
    } else if (kind == 3) {
        codePoints.push_back(0xD800 + arg * 0x7FF / 31);
    } else {
        codePoints.push_back(arg == 31 ? 0xA0FFFF : 0x110000 + static_cast<KS_CHAR>(in.bytes(3)) % 0x900000);
    }
}

constexpr KS_CHAR kCodePointEdges[] = {0x0,      0xD7FF,   0xE000,     0xFFFF,     0x10000,    0x10FFFF,
                                       0x110000, 0xA0FFFF, 0xA10000,   0xFFFFFFFF, 0x7FFFFFFF, 0x80000000,
                                       0x1FFFF,  0x20000,  0xDBFFFFFF, 0x00FFFFFF};

// Every kernel against the reference, apart from the routines' blocks and checks.
void checkKernelsDecode(const std::vector<jchar>& units, const std::optional<test::CodePoints>& expected)
{
    std::vector<utf16::CodePoint> out(units.size());
    for (const utf16::Kernel* kernel : utf16::available()) {
        const utf16::Count count =
            kernel->decode(out.data(), units.data(), static_cast<utf16::Count>(units.size()));
        FUZZ_EXPECT((count != utf16::kIllFormed) == expected.has_value(), "kernel %s %s %zu units",
                    kernel->name, count == utf16::kIllFormed ? "refused" : "accepted", units.size());
        if (expected && count != utf16::kIllFormed) {
            expectValues(out.data(), static_cast<std::size_t>(count), *expected, kernel->name);
        }
    }
}

void checkKernelsEncode(const std::vector<KS_CHAR>& codePoints, const test::ReferenceEncoding& expected)
{
    const auto length = static_cast<utf16::Count>(codePoints.size());
    for (const utf16::Kernel* kernel : utf16::available()) {
        const utf16::Count count = kernel->encodedLength(codePoints.data(), length);
        std::vector<utf16::Unit> out(static_cast<std::size_t>(count));
        const utf16::EncodeResult result = kernel->encode(out.data(), count, codePoints.data(), length);
        const utf16::EncodeStop stop =
            expected.complete ? utf16::EncodeStop::done : utf16::EncodeStop::leadingUnitTooLarge;
        FUZZ_EXPECT(result.stop == stop, "kernel %s stopped with %d", kernel->name,
                    static_cast<int>(result.stop));
        if (expected.complete) {
            FUZZ_EXPECT(result.written == count, "kernel %s wrote %lld of %lld units", kernel->name,
                        static_cast<long long>(result.written), static_cast<long long>(count));
            expectValues(out.data(), static_cast<std::size_t>(count), expected.units, kernel->name);
        }
    }
}

} // namespace

void checkUtf16Decode(const std::uint8_t* data, std::size_t size)
{
    Reader in{data, size};
    const std::vector<jchar> units = readValues<jchar>(in, 4096, 2, kUnitEdges, 0xFFFF, ownUnits);
    const auto length = static_cast<KS_INT>(units.size());
    const std::unique_ptr<jchar[]> source = exactCopy(units);
    const std::optional<test::CodePoints> expected = test::referenceDecode(units.data(), units.size());
    checkKernelsDecode(units, expected);

    const Counts counts;
    KS_CHAR sentinel = 0;
    KS_CHAR* chars = &sentinel;
    KS_INT count = -7;
    const KS_BOOL decoded = ven___JCharsToChars(&chars, &count, source.get(), length);
    FUZZ_EXPECT(decoded == (expected ? KS_TRUE : KS_FALSE), "decoding %s %lld units",
                decoded ? "accepted" : "refused", static_cast<long long>(length));
    counts.expect(1); // one block either way: a refusal frees the one it took
    if (!expected) {
        FUZZ_EXPECT(chars == &sentinel && count == -7, "a refusal delivered something");
        return;
    }
    expectValues(chars, static_cast<std::size_t>(count), *expected, "code point");
    if (const auto bytes = allocatedSize(chars)) {
        FUZZ_EXPECT(*bytes >= units.size() * sizeof(KS_CHAR), "a block of %zu bytes for %zu units", *bytes,
                    units.size());
    }

    ksMemFree(chars);
}

void checkUtf16Encode(const std::uint8_t* data, std::size_t size)
{
    Reader in{data, size};
    const std::vector<KS_CHAR> codePoints =
        readValues<KS_CHAR>(in, 2048, 4, kCodePointEdges, 0x1F600, ownCodePoints);
    const auto length = static_cast<KS_INT>(codePoints.size());
    const std::unique_ptr<KS_CHAR[]> source = exactCopy(codePoints);
    const test::ReferenceEncoding reference = test::referenceEncode(codePoints);
    checkKernelsEncode(codePoints, reference);
    const std::optional<test::Utf16Units> expected =
        reference.complete ? std::optional(reference.units) : std::nullopt;

    const Counts counts;
    jchar sentinel = 0;
    jchar* units = &sentinel;
    KS_INT count = -7;
    std::optional<Abort> aborted;
    try {
        ven___CharsToJChars(&units, &count, source.get(), length);
    } catch (const Abort& abort) {
        aborted = abort;
    }
    if (!expected) {
        FUZZ_EXPECT(aborted && aborted->line == kHighSurrogateLine && !aborted->message &&
                        aborted->condition == "VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )" &&
                        aborted->path == "source/ven/java/lang/ven_string",
                    "a value beyond A0FFFF among %lld did not stop on the leading-unit check",
                    static_cast<long long>(length));
        FUZZ_EXPECT(units == &sentinel && count == -7, "a stopped encoding delivered something");
        counts.expect(
            1); // the block taken before the check, given back on the way out (the leak search sees it)
        return;
    }
    FUZZ_EXPECT(!aborted, "stopped at %s:%d (%s)", aborted->path.c_str(), aborted->line,
                aborted->condition.value_or(aborted->message.value_or("")).c_str());
    if (codePoints.empty()) {
        FUZZ_EXPECT(units == nullptr && count == 0, "no code points but a block");
        counts.expect(0);
        return;
    }
    expectValues(units, static_cast<std::size_t>(count), *expected, "unit");
    if (const auto bytes = allocatedSize(units)) {
        FUZZ_EXPECT(*bytes == expected->size() * sizeof(jchar), "a block of %zu bytes for %zu units", *bytes,
                    expected->size());
    }
    counts.expect(1);

    ksMemFree(units);
}

} // namespace ven::fuzz
