// Target utf16_decode: ven___JCharsToChars against a scalar reference decoder, and the way
// back through ven___CharsToJChars. The token form of the input places surrogates at
// chosen offsets from the library's 16-unit blocks.
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

constexpr std::size_t kMaxUnits = 4096;
constexpr std::size_t kBlock = 16;

// The rule of the header: a high surrogate takes the low one after it into one code
// point; a high surrogate without one refuses the whole text; a lone low one stays.
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

// First byte even: the rest is raw UTF-16LE. Odd: tokens, the top three bits of each
// byte its kind and the low five its argument.
std::vector<jchar> readUnits(Reader& in)
{
    std::vector<jchar> units;
    if ((in.byte() & 1) == 0) {
        while (in.left() >= 2 && units.size() < kMaxUnits) {
            units.push_back(static_cast<jchar>(in.bytes(2)));
        }
        return units;
    }
    static constexpr jchar kEdges[] = {0x0000, 0x007F, 0x0080, 0x07FF, 0xD7FF, 0xE000, 0xF7FF, 0xF800, 0xFFFE, 0xFFFF};
    while (!in.empty() && units.size() < kMaxUnits) {
        const unsigned token = in.byte();
        const unsigned arg = token & 31;
        switch (token >> 5) {
        case 0: // a run of plain ASCII
            for (unsigned i = 0; i <= arg; ++i) {
                units.push_back(static_cast<jchar>('a' + i % 26));
            }
            break;
        case 1: // any unit
            units.push_back(static_cast<jchar>(in.bytes(2)));
            break;
        case 2: { // a well-formed pair
            const auto bits = static_cast<unsigned>(in.bytes(3)) & 0xFFFFF;
            units.insert(units.end(), {static_cast<jchar>(0xD800 + (bits >> 10)), static_cast<jchar>(0xDC00 + (bits & 0x3FF))});
            break;
        }
        case 3: // a high surrogate, D800 to DBFF
            units.push_back(static_cast<jchar>(0xD800 + arg * 33));
            break;
        case 4: // a low surrogate, DC00 to DFFF
            units.push_back(static_cast<jchar>(0xDC00 + arg * 33));
            break;
        case 5: // fill until the offset in the block is arg % 16 (non-ASCII fill with bit 4)
            while (units.size() % kBlock != (arg & 15) && units.size() < kMaxUnits) {
                units.push_back((arg & 16) != 0 ? jchar{0xFFFF} : jchar{'.'});
            }
            break;
        case 6: // a unit at the edge of a range
            units.push_back(kEdges[arg % std::size(kEdges)]);
            break;
        default: { // repeat the last arg + 1 units
            const std::size_t count = std::min<std::size_t>(arg + 1, units.size());
            for (std::size_t i = units.size() - count, end = units.size(); i < end; ++i) {
                units.push_back(units[i]);
            }
            break;
        }
        }
    }
    units.resize(std::min(units.size(), kMaxUnits));
    return units;
}

} // namespace

void checkUtf16Decode(const std::uint8_t* data, std::size_t size)
{
    Reader in(data, size);
    const std::vector<jchar> units = readUnits(in);
    const auto length = static_cast<KS_INT>(units.size());
    // A block of exactly the input's size, so that a read past its end is caught.
    const std::unique_ptr<jchar[]> source(new jchar[units.size() + (units.empty() ? 1 : 0)]);
    std::copy(units.begin(), units.end(), source.get());
    const std::optional<std::vector<KS_CHAR>> expected = referenceDecode(units);

    const Counts counts;
    KS_CHAR sentinel = 0;
    KS_CHAR* chars = &sentinel;
    KS_INT count = -7;
    const KS_BOOL decoded = ven___JCharsToChars(&chars, &count, source.get(), length);
    FUZZ_EXPECT(decoded == (expected ? KS_TRUE : KS_FALSE), "decoding %s %lld units", decoded ? "accepted" : "refused",
                static_cast<long long>(length));
    // One block either way: a refusal frees the one it took.
    counts.expect(1);
    if (!expected) {
        FUZZ_EXPECT(chars == &sentinel && count == -7, "a refusal delivered something");
        return;
    }
    FUZZ_EXPECT(count == static_cast<KS_INT>(expected->size()), "%lld code points, %zu expected",
                static_cast<long long>(count), expected->size());
    for (std::size_t i = 0; i < expected->size(); ++i) {
        FUZZ_EXPECT(chars[i] == (*expected)[i], "code point %zu is %#x, %#x expected", i, chars[i], (*expected)[i]);
    }
    if (const auto bytes = allocatedSize(chars)) {
        FUZZ_EXPECT(*bytes >= units.size() * sizeof(KS_CHAR), "a block of %zu bytes for %zu units", *bytes,
                    units.size());
    }

    // Every text that decodes encodes back to the same units.
    jchar* back = nullptr;
    KS_INT backLength = -1;
    ven___CharsToJChars(&back, &backLength, chars, count);
    FUZZ_EXPECT(backLength == length, "%lld units back from %lld", static_cast<long long>(backLength),
                static_cast<long long>(length));
    FUZZ_EXPECT(length == 0 || std::memcmp(back, units.data(), units.size() * sizeof(jchar)) == 0,
                "the units back differ");
    ksMemFree(back);
    ksMemFree(chars);
    counts.expect(length == 0 ? 1 : 2);
}

} // namespace ven::fuzz
