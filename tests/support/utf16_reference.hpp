// The two UTF-16 rules written as plainly as they read, with no JVM: the reference that the unit
// tests and the fuzz targets hold every kernel and both routines to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ven::test
{

using Utf16Units = std::vector<std::uint16_t>;
using CodePoints = std::vector<std::uint32_t>;

// A high surrogate takes the low one after it into one code point; a high surrogate without one
// refuses the whole text (nullopt); a lone low one stays itself.
inline std::optional<CodePoints> referenceDecode(const std::uint16_t* units, std::size_t count)
{
    CodePoints out;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t unit = units[i];
        if (unit < 0xD800 || unit > 0xDBFF) {
            out.push_back(unit);
        } else if (i + 1 < count && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
            out.push_back(0x10000 + ((unit - 0xD800) << 10) + (units[i + 1] - 0xDC00));
            ++i;
        } else {
            return std::nullopt;
        }
    }
    return out;
}

inline std::optional<CodePoints> referenceDecode(const Utf16Units& units)
{
    return referenceDecode(units.data(), units.size());
}

// A value up to 0xFFFF is one unit (surrogate values too); above, the two units of the pair
// formula, also beyond 0x10FFFF while the leading unit fits in 16 bits. The units up to the first
// value whose leading unit does not fit, and whether all fitted.
struct ReferenceEncoding {
    Utf16Units units;
    bool complete;
};

inline ReferenceEncoding referenceEncode(const std::uint32_t* codePoints, std::size_t count)
{
    ReferenceEncoding out{{}, true};
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t c = codePoints[i];
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

inline ReferenceEncoding referenceEncode(const CodePoints& codePoints)
{
    return referenceEncode(codePoints.data(), codePoints.size());
}

} // namespace ven::test
