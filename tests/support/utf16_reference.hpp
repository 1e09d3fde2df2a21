// The two UTF-16 rules written as plainly as they read, with no JVM: the one reference that the
// kernel sweep, the conversions through Java and the fuzz targets hold the library to.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ven::test
{

using Utf16Units = std::vector<std::uint16_t>;
using CodePoints = std::vector<std::uint32_t>;

// A high surrogate takes the low one after it into one code point; a high surrogate without one
// refuses the whole text (nullopt); a lone low one stays itself.
inline std::optional<CodePoints> referenceDecode(std::span<const std::uint16_t> units)
{
    CodePoints out;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const std::uint32_t unit = units[i];
        if (unit < 0xD800 || unit > 0xDBFF) {
            out.push_back(unit);
        } else if (i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
            out.push_back(0x10000 + ((unit - 0xD800) << 10) + (units[++i] - 0xDC00));
        } else {
            return std::nullopt;
        }
    }
    return out;
}

// A value up to 0xFFFF is one unit (surrogate values too); above, the two units of the pair
// formula, also beyond 0x10FFFF while the leading unit fits in 16 bits. The units up to the first
// value whose leading unit does not fit, and whether all fitted.
struct ReferenceEncoding {
    Utf16Units units;
    bool complete = true;
};

inline ReferenceEncoding referenceEncode(std::span<const std::uint32_t> codePoints)
{
    ReferenceEncoding out;
    for (const std::uint32_t c : codePoints) {
        const std::uint64_t high = 0xD800 + ((std::uint64_t{c} - 0x10000) >> 10);
        if (c <= 0xFFFF) {
            out.units.push_back(static_cast<std::uint16_t>(c));
        } else if (high > 0xFFFF) {
            out.complete = false;
            break;
        } else {
            out.units.push_back(static_cast<std::uint16_t>(high));
            out.units.push_back(static_cast<std::uint16_t>(0xDC00 + (c & 0x3FF)));
        }
    }
    return out;
}

} // namespace ven::test
