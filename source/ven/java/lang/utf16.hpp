// The UTF-16 codecs under the String unit: UTF-16 units to code points and back, one kernel per
// instruction set, with nothing of JNI, ks or the process stop in them. The String unit owns
// the blocks, the argument checks and the fatal checks; a kernel only reports what it found.
#pragma once

#include <cstdint>
#include <span>

namespace ven::utf16
{

using Unit = std::uint16_t;
using CodePoint = std::uint32_t;
using Count = std::int64_t;

// What decode returns for a high surrogate that no low one follows.
inline constexpr Count kIllFormed = -1;

// Where an encoding stopped: at the end, at a code point whose leading unit does not fit in
// 16 bits, or at a code point that would not fit in the units the caller counted.
enum class EncodeStop { done, leadingUnitTooLarge, beyondCount };

struct EncodeResult {
    EncodeStop stop;
    Count written; // units written up to the stop
};

struct Kernel {
    const char* name;
    // `length` units into `dst`, which has room for `length` code points: a unit or a pair
    // gives one code point, a lone low surrogate stays itself. The count, or kIllFormed.
    Count (*decode)(CodePoint* dst, const Unit* src, Count length);
    // The units that `length` code points encode into: one each, two above 0xFFFF.
    Count (*encodedLength)(const CodePoint* src, Count length);
    // `length` code points into `dst`, which has room for `capacity` units; a value up to
    // 0xFFFF (surrogate values too) is one unit, a larger one the pair of the decoding rule.
    EncodeResult (*encode)(Unit* dst, Count capacity, const CodePoint* src, Count length);
};

namespace detail
{
extern const Kernel* activeKernel;
}

// The fastest kernel this processor runs, chosen once when the library is loaded.
inline const Kernel& active()
{
    return *detail::activeKernel;
}
// Every kernel this processor runs, the portable one first.
std::span<const Kernel* const> available();

} // namespace ven::utf16
