// Target utf16_encode: ven___CharsToJChars against a reference encoder over any 32-bit
// values, the fatal check for values whose leading unit does not fit, and the round trip
// through ven___JCharsToChars exactly where it holds.
#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "fuzz.hpp"
#include "ven/java/lang/string.h"

namespace ven::fuzz
{
namespace
{

constexpr std::size_t kMaxCodePoints = 2048;
constexpr std::size_t kBlock = 16;
constexpr int kHighSurrogateLine = 174;

// The rule of the header: a value up to FFFF is one unit (surrogate values too); above,
// two units by the pair formula, also beyond 10FFFF while the leading unit fits in 16 bits.
// nullopt where it does not: the routine stops on its fatal check.
std::optional<std::vector<jchar>> referenceEncode(const std::vector<KS_CHAR>& codePoints)
{
    std::vector<jchar> out;
    for (const KS_CHAR c : codePoints) {
        if (c <= 0xFFFF) {
            out.push_back(static_cast<jchar>(c));
            continue;
        }
        const std::uint64_t high = 0xD800 + ((std::uint64_t{c} - 0x10000) >> 10);
        if (high > 0xFFFF) {
            return std::nullopt;
        }
        out.push_back(static_cast<jchar>(high));
        out.push_back(static_cast<jchar>(0xDC00 + (c & 0x3FF)));
    }
    return out;
}

// First byte even: the rest is raw 32-bit little-endian values. Odd: tokens as in
// utf16_decode, the top three bits the kind and the low five the argument.
std::vector<KS_CHAR> readCodePoints(Reader& in)
{
    std::vector<KS_CHAR> codePoints;
    if ((in.byte() & 1) == 0) {
        while (in.left() >= 4 && codePoints.size() < kMaxCodePoints) {
            codePoints.push_back(static_cast<KS_CHAR>(in.bytes(4)));
        }
        return codePoints;
    }
    static constexpr KS_CHAR kEdges[] = {0x0,      0xD7FF,   0xE000,     0xFFFF,     0x10000,    0x10FFFF,
                                         0x110000, 0xA0FFFF, 0xA10000,   0xFFFFFFFF, 0x7FFFFFFF, 0x80000000,
                                         0x1FFFF,  0x20000,  0xDBFFFFFF, 0x00FFFFFF};
    while (!in.empty() && codePoints.size() < kMaxCodePoints) {
        const unsigned token = in.byte();
        const unsigned arg = token & 31;
        switch (token >> 5) {
        case 0: // a run of plain ASCII
            for (unsigned i = 0; i <= arg; ++i) {
                codePoints.push_back('a' + i % 26);
            }
            break;
        case 1: // any 32-bit value
            codePoints.push_back(static_cast<KS_CHAR>(in.bytes(4)));
            break;
        case 2: // a supplementary code point
            codePoints.push_back(0x10000 + (static_cast<KS_CHAR>(in.bytes(3)) & 0xFFFFF));
            break;
        case 3: // a surrogate value, D800 to DFFF
            codePoints.push_back(0xD800 + arg * 0x7FF / 31);
            break;
        case 4: // beyond Unicode with a leading unit that fits, 110000 to A0FFFF
            codePoints.push_back(arg == 31 ? 0xA0FFFF : 0x110000 + static_cast<KS_CHAR>(in.bytes(3)) % 0x900000);
            break;
        case 5: // fill until the offset in the block is arg % 16 (supplementary fill with bit 4)
            while (codePoints.size() % kBlock != (arg & 15) && codePoints.size() < kMaxCodePoints) {
                codePoints.push_back((arg & 16) != 0 ? 0x1F600 : '.');
            }
            break;
        case 6: // a value at the edge of a range
            codePoints.push_back(kEdges[arg % std::size(kEdges)]);
            break;
        default: { // repeat the last arg + 1 values
            const std::size_t count = std::min<std::size_t>(arg + 1, codePoints.size());
            for (std::size_t i = codePoints.size() - count, end = codePoints.size(); i < end; ++i) {
                codePoints.push_back(codePoints[i]);
            }
            break;
        }
        }
    }
    codePoints.resize(std::min(codePoints.size(), kMaxCodePoints));
    return codePoints;
}

} // namespace

void checkUtf16Encode(const std::uint8_t* data, std::size_t size)
{
    Reader in(data, size);
    const std::vector<KS_CHAR> codePoints = readCodePoints(in);
    const auto length = static_cast<KS_INT>(codePoints.size());
    // A block of exactly the input's size, so that a read past its end is caught.
    const std::unique_ptr<KS_CHAR[]> source(new KS_CHAR[codePoints.size() + (codePoints.empty() ? 1 : 0)]);
    std::copy(codePoints.begin(), codePoints.end(), source.get());
    const std::optional<std::vector<jchar>> expected = referenceEncode(codePoints);

    const Counts counts;
    jchar sentinel = 0;
    jchar* units = &sentinel;
    KS_INT count = -7;
    std::optional<Abort> aborted;
    // A stopped encoding gives its block back itself (the fuzz build's leak check sees it).
    try {
        ven___CharsToJChars(&units, &count, source.get(), length);
    } catch (const Abort& abort) {
        aborted = abort;
    }
    if (!expected) {
        FUZZ_EXPECT(aborted && aborted->line == kHighSurrogateLine && !aborted->message &&
                        aborted->condition == "VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )" &&
                        aborted->path == "source/ven/java/lang/ven_string",
                    "a value beyond A0FFFF among %lld did not stop on the leading-unit check", static_cast<long long>(length));
        FUZZ_EXPECT(units == &sentinel && count == -7, "a stopped encoding delivered something");
        return;
    }
    FUZZ_EXPECT(!aborted, "stopped at %s:%d (%s)", aborted->path.c_str(), aborted->line,
                aborted->condition.value_or(aborted->message.value_or("")).c_str());
    FUZZ_EXPECT(count == static_cast<KS_INT>(expected->size()), "%lld units, %zu expected",
                static_cast<long long>(count), expected->size());
    if (codePoints.empty()) {
        FUZZ_EXPECT(units == nullptr, "no code points but a block");
        counts.expect(0);
        return;
    }
    for (std::size_t i = 0; i < expected->size(); ++i) {
        FUZZ_EXPECT(units[i] == (*expected)[i], "unit %zu is %#x, %#x expected", i, units[i], (*expected)[i]);
    }
    if (const auto bytes = allocatedSize(units)) {
        FUZZ_EXPECT(*bytes == expected->size() * sizeof(jchar), "a block of %zu bytes for %zu units", *bytes,
                    expected->size());
    }
    counts.expect(1);

    // Back to code points: the same values exactly when none is a high surrogate value (it
    // would pair with what follows, or refuse) and none lies beyond 10FFFF (it comes back as
    // two values).
    const bool holds = std::none_of(codePoints.begin(), codePoints.end(), [](KS_CHAR c) {
        return (c >= 0xD800 && c <= 0xDBFF) || c > 0x10FFFF;
    });
    KS_CHAR* back = nullptr;
    KS_INT backLength = -1;
    const KS_BOOL decoded = ven___JCharsToChars(&back, &backLength, units, count);
    const bool same = decoded && backLength == length &&
                      std::memcmp(back, codePoints.data(), codePoints.size() * sizeof(KS_CHAR)) == 0;
    FUZZ_EXPECT(same == holds, "the round trip %s", holds ? "changed the values" : "kept values it cannot keep");
    if (decoded) {
        ksMemFree(back);
    }
    ksMemFree(units);
    counts.expect(2);
}

} // namespace ven::fuzz
