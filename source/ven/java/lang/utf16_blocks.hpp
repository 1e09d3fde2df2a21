// The two rules of the UTF-16 codecs written plainly, and the loops that run a kernel's blocks
// and fall back to the plain rule where a block's fast path does not apply. Included by each
// kernel's translation unit, which compiles them for its own instruction set: everything here
// has internal linkage, so no copy built for one instruction set stands in for another's.
#pragma once

#include <array>

#include "ven/java/lang/utf16.hpp"

namespace ven::utf16
{
namespace
{

// Units per block: a multiple of every vector width in use, and a fixed trip count so that the
// portable loops vectorise at -O2 without a scalar epilogue.
constexpr Count kBlock = 16;

inline bool isHighSurrogate(Unit unit)
{
    return (unit & 0xFC00u) == 0xD800u;
}
inline bool isLowSurrogate(Unit unit)
{
    return (unit & 0xFC00u) == 0xDC00u;
}

// The decoding rule, one unit or pair at a time from `in` up to `end` (a pair may reach one unit
// past it). False for a high surrogate that is not followed by a low one.
inline bool decodeScalar(CodePoint* dst, Count& out, const Unit* src, Count& in, Count end, Count length)
{
    while (in < end) {
        const CodePoint unit = src[in];
        if (isHighSurrogate(static_cast<Unit>(unit))) {
            if (in + 1 >= length || !isLowSurrogate(src[in + 1])) {
                return false;
            }
            dst[out++] = ((unit - 0xD800u) << 10) + (src[in + 1] - 0xDC00u) + 0x10000u;
            in += 2;
        } else {
            dst[out++] = unit;
            in += 1;
        }
    }
    return true;
}

// The encoding rule for code points [begin, end), stopping before a code point whose leading
// unit does not fit or whose units would not fit in `capacity`.
inline EncodeStop encodeScalar(Unit* dst, Count& out, Count capacity, const CodePoint* src, Count begin,
                               Count end)
{
    for (Count i = begin; i < end; ++i) {
        const CodePoint c = src[i];
        if (c <= 0xFFFFu) {
            // Surrogate values pass unchanged: a lone one stays a lone unit.
            if (out + 1 > capacity) {
                return EncodeStop::beyondCount;
            }
            dst[out++] = static_cast<Unit>(c);
        } else {
            const CodePoint high = 0xD800u + ((c - 0x10000u) >> 10);
            if (high > 0xFFFFu) {
                return EncodeStop::leadingUnitTooLarge;
            }
            if (out + 2 > capacity) {
                return EncodeStop::beyondCount;
            }
            dst[out] = static_cast<Unit>(high);
            dst[out + 1] = static_cast<Unit>(0xDC00u + (c & 0x3FFu));
            out += 2;
        }
    }
    return EncodeStop::done;
}

// For each set of supplementary lanes out of 4 (a lane holds its first unit in its low half and,
// when supplementary, its second in its high half): the bytes of the units in order.
constexpr auto kGatherUnits = [] {
    std::array<std::array<std::uint8_t, 16>, 16> table{};
    for (unsigned pairs = 0; pairs < 16; ++pairs) {
        table[pairs].fill(0x80);
        unsigned at = 0;
        for (std::uint8_t lane = 0; lane < 4; ++lane) {
            const unsigned bytes = (pairs & (1u << lane)) != 0 ? 4 : 2;
            for (std::uint8_t b = 0; b < bytes; ++b) {
                table[pairs][at++] = static_cast<std::uint8_t>(4 * lane + b);
            }
        }
    }
    return table;
}();

// For each set of kept lanes out of 4 (of 32 bits): the bytes of those lanes in order, to gather
// them to the front with one byte shuffle.
constexpr auto kGatherQuarterLanes = [] {
    std::array<std::array<std::uint8_t, 16>, 16> table{};
    for (unsigned kept = 0; kept < 16; ++kept) {
        table[kept].fill(0x80);
        unsigned at = 0;
        for (std::uint8_t lane = 0; lane < 4; ++lane) {
            if ((kept & (1u << lane)) != 0) {
                for (std::uint8_t b = 0; b < 4; ++b) {
                    table[kept][at++] = static_cast<std::uint8_t>(4 * lane + b);
                }
            }
        }
    }
    return table;
}();

// A kernel's blocks (Isa) with these members:
//   bool widen(CodePoint* dst, const Unit* src): widens 16 units unconditionally (the caller's
//     block has room) and tells whether none was a surrogate;
//   bool decodePairs(CodePoint* dst, Count& out, const Unit* src, Count& in, Count length): from a
//     block with a surrogate on, at least one unit readable beyond each; false when ill-formed;
//   bool narrow(Unit* dst, const CodePoint* src): narrows 16 code points unconditionally and
//     tells whether all fitted in one unit;
//   void narrowBmp(Unit* dst, const CodePoint* src): the same, known to fit;
//   bool blocksAreBmp(const CodePoint* src, Count blocks);
//   Count supplementary(const CodePoint* src): code points above 0xFFFF in one block;
//   EncodeStop encodePairs(Unit* dst, Count& out, Count capacity, const CodePoint* src, Count& i,
//     Count length): from a block with a supplementary code point on, whole blocks only;
// and, where the instruction set can read and write part of a block, the text after the last whole
// block in one step instead of the plain rules:
//   bool decodeTail(CodePoint* dst, Count& out, const Unit* src, Count in, Count length): up to 16
//     units, the unit after the last not readable; false when ill-formed;
//   EncodeStop encodeTail(Unit* dst, Count& out, Count capacity, const CodePoint* src, Count i,
//     Count length): fewer than 16 code points.
template <class Isa> Count decodeBlocks(CodePoint* dst, const Unit* src, Count length)
{
    Count in = 0;
    Count out = 0;
    // A unit beyond the block stays readable, so that a pair may straddle its end.
    while (length - in > kBlock) {
        if (Isa::widen(dst + out, src + in)) [[likely]] {
            in += kBlock;
            out += kBlock;
        } else if (!Isa::decodePairs(dst, out, src, in, length)) {
            return kIllFormed;
        }
    }
    if (length - in == kBlock && Isa::widen(dst + out, src + in)) {
        in += kBlock;
        out += kBlock;
    }
    if constexpr (requires { Isa::decodeTail(dst, out, src, in, length); }) {
        if (!Isa::decodeTail(dst, out, src, in, length)) {
            return kIllFormed;
        }
    } else if (!decodeScalar(dst, out, src, in, length, length)) {
        return kIllFormed;
    }
    return out;
}

// Most text has no supplementary character, and one OR over it tells so; only text that has
// one is counted block by block.
template <class Isa> Count encodedLengthBlocks(const CodePoint* src, Count length)
{
    const Count blocks = length / kBlock;
    bool bmp = Isa::blocksAreBmp(src, blocks);
    for (Count i = blocks * kBlock; bmp && i < length; ++i) {
        bmp = src[i] <= 0xFFFFu;
    }
    if (bmp) {
        return length;
    }
    Count units = length;
    Count i = 0;
    for (; length - i >= kBlock; i += kBlock) {
        units += Isa::supplementary(src + i);
    }
    for (; i < length; ++i) {
        units += src[i] > 0xFFFFu ? 1 : 0;
    }
    return units;
}

template <class Isa> EncodeResult encodeBlocks(Unit* dst, Count capacity, const CodePoint* src, Count length)
{
    Count out = 0;
    Count i = 0;
    if (capacity == length) {
        // The count found no code point above 0xFFFF: every block narrows as it is, with no test
        // of its own, and each unit lands where its code point stands.
        for (; length - i >= kBlock; i += kBlock) {
            Isa::narrowBmp(dst + i, src + i);
        }
        out = i;
    } else {
        while (length - i >= kBlock) {
            // Tested before the block is written, so that no unit lands beyond the count.
            if (out + kBlock > capacity) {
                return {EncodeStop::beyondCount, out};
            }
            if (Isa::narrow(dst + out, src + i)) [[likely]] {
                out += kBlock;
                i += kBlock;
            } else if (const EncodeStop stop = Isa::encodePairs(dst, out, capacity, src, i, length);
                       stop != EncodeStop::done) {
                return {stop, out};
            }
        }
    }
    EncodeStop stop;
    if constexpr (requires { Isa::encodeTail(dst, out, capacity, src, i, length); }) {
        stop = Isa::encodeTail(dst, out, capacity, src, i, length);
    } else {
        stop = encodeScalar(dst, out, capacity, src, i, length);
    }
    return {stop, out};
}

// The fallbacks of a kernel without a vector path for surrogates.
struct ScalarPairs {
    static bool decodePairs(CodePoint* dst, Count& out, const Unit* src, Count& in, Count length)
    {
        return decodeScalar(dst, out, src, in, in + kBlock, length);
    }
    static EncodeStop encodePairs(Unit* dst, Count& out, Count capacity, const CodePoint* src, Count& i,
                                  Count)
    {
        const Count begin = i;
        i += kBlock;
        return encodeScalar(dst, out, capacity, src, begin, i);
    }
};

template <class Isa> constexpr Kernel kernelOf(const char* name)
{
    return {name, &decodeBlocks<Isa>, &encodedLengthBlocks<Isa>, &encodeBlocks<Isa>};
}

} // namespace
} // namespace ven::utf16
