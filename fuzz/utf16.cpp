// Targets utf16_decode and utf16_encode. Decoding: ven___JCharsToChars against a scalar reference
// decoder, and the way back through ven___CharsToJChars. Encoding: ven___CharsToJChars against a
// reference encoder over any 32-bit values, the fatal check for values whose leading unit does not
// fit, and the round trip through ven___JCharsToChars exactly where it holds. The token form of the
// input places surrogates at chosen offsets from the library's 16-unit blocks.
#include <cstring>

#include "fuzz.hpp"
#include "ven/java/lang/string.h"

namespace ven::fuzz
{
namespace
{

// The rule of the header: a high surrogate takes the low one after it into one code point; a high
// surrogate without one refuses the whole text; a lone low one stays.
std::optional<std::vector<KS_CHAR>> referenceDecode(const std::vector<jchar>& units)
{
    std::vector<KS_CHAR> out;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const KS_CHAR unit = units[i];
        if (unit < 0xD800 || unit > 0xDBFF) {
            out.push_back(unit);
        } else if (i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
            out.push_back(0x10000 + ((unit - 0xD800) << 10) + (units[i + 1] - 0xDC00));
            ++i;
        } else {
            return std::nullopt;
        }
    }
    return out;
}

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

// The rule of the header: a value up to FFFF is one unit (surrogate values too); above, two units by
// the pair formula, also beyond 10FFFF while the leading unit fits in 16 bits. nullopt where it does
// not: the routine stops on its fatal check.
std::optional<std::vector<jchar>> referenceEncode(const std::vector<KS_CHAR>& codePoints)
{
    std::vector<jchar> out;
    for (const KS_CHAR c : codePoints) {
        const std::uint64_t high = 0xD800 + ((std::uint64_t{c} - 0x10000) >> 10);
        if (c <= 0xFFFF) {
            out.push_back(static_cast<jchar>(c));
        } else if (high > 0xFFFF) {
            return std::nullopt;
        } else {
            out.insert(out.end(), {static_cast<jchar>(high), static_cast<jchar>(0xDC00 + (c & 0x3FF))});
        }
    }
    return out;
}

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

} // namespace

void checkUtf16Decode(const std::uint8_t* data, std::size_t size)
{
    Reader in{data, size};
    const std::vector<jchar> units = readValues<jchar>(in, 4096, 2, kUnitEdges, 0xFFFF, ownUnits);
    const auto length = static_cast<KS_INT>(units.size());
    const std::unique_ptr<jchar[]> source = exactCopy(units);
    const std::optional<std::vector<KS_CHAR>> expected = referenceDecode(units);

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

    // Every text that decodes encodes back to the same units.
    jchar* back = nullptr;
    KS_INT backLength = -1;
    ven___CharsToJChars(&back, &backLength, chars, count);
    FUZZ_EXPECT(backLength == length &&
                    (length == 0 || std::memcmp(back, units.data(), units.size() * sizeof(jchar)) == 0),
                "%lld units back from %lld differ", static_cast<long long>(backLength),
                static_cast<long long>(length));
    ksMemFree(back);
    ksMemFree(chars);
    counts.expect(length == 0 ? 1 : 2);
}

void checkUtf16Encode(const std::uint8_t* data, std::size_t size)
{
    Reader in{data, size};
    const std::vector<KS_CHAR> codePoints =
        readValues<KS_CHAR>(in, 2048, 4, kCodePointEdges, 0x1F600, ownCodePoints);
    const auto length = static_cast<KS_INT>(codePoints.size());
    const std::unique_ptr<KS_CHAR[]> source = exactCopy(codePoints);
    const std::optional<std::vector<jchar>> expected = referenceEncode(codePoints);

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

    // Back to code points: the same values exactly when none is a high surrogate value (it would pair
    // with what follows, or refuse) and none lies beyond 10FFFF (it comes back as two values).
    const bool holds = std::none_of(codePoints.begin(), codePoints.end(),
                                    [](KS_CHAR c) { return (c >= 0xD800 && c <= 0xDBFF) || c > 0x10FFFF; });
    KS_CHAR* back = nullptr;
    KS_INT backLength = -1;
    const KS_BOOL decoded = ven___JCharsToChars(&back, &backLength, units, count);
    const bool same = decoded && backLength == length &&
                      std::memcmp(back, codePoints.data(), codePoints.size() * sizeof(KS_CHAR)) == 0;
    FUZZ_EXPECT(same == holds, "the round trip %s",
                holds ? "changed the values" : "kept values it cannot keep");
    if (decoded) {
        ksMemFree(back);
    }
    ksMemFree(units);
    counts.expect(2);
}

} // namespace ven::fuzz
