// Target utf16_decode: ven___JCharsToChars against a scalar reference decoder, and the way back
// through ven___CharsToJChars. The token form of the input places surrogates at chosen offsets
// from the library's 16-unit blocks.
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

constexpr jchar kEdges[] = {0x0000, 0x007F, 0x0080, 0x07FF, 0xD7FF, 0xE000, 0xF7FF, 0xF800, 0xFFFE, 0xFFFF};

} // namespace

void checkUtf16Decode(const std::uint8_t* data, std::size_t size)
{
    Reader in{data, size};
    const std::vector<jchar> units = readValues<jchar>(in, 4096, 2, kEdges, 0xFFFF, ownUnits);
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

} // namespace ven::fuzz
