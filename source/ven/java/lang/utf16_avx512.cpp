// The AVX-512 kernel of the UTF-16 codecs (with the 16-bit compress of VBMI2): 16 units or code
// points per step, text with surrogates included, and the text after the last whole block in one
// masked step, so that short text takes no loop of single units. Decoding keeps every lane but the low halves
// of pairs with one compress; encoding makes two units of each supplementary lane and one of every other with
// one compress of the units. Decoding stores whole blocks, as the widening does; encoding stores whole blocks
// while the room allows and masks the last ones to what they yield. Built for that instruction set, used only
// where the processor has it.
#include <immintrin.h>

#include "ven/java/lang/utf16_blocks.hpp"

namespace ven::utf16
{
namespace
{

struct Avx512 {
    static __m256i units(unsigned value) { return _mm256_set1_epi16(static_cast<short>(value)); }
    static __m512i lanes(unsigned value) { return _mm512_set1_epi32(static_cast<int>(value)); }
    static __m256i load16(const Unit* src)
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
    }

    static bool widen(CodePoint* dst, const Unit* src)
    {
        const __m256i v = load16(src);
        _mm512_storeu_si512(dst, _mm512_cvtepu16_epi32(v));
        return _mm256_cmpeq_epi16_mask(_mm256_and_si256(v, units(0xF800)), units(0xD800)) == 0;
    }

    // Blocks of 16 units, each with the unit after it readable: the input moves by 16 whatever
    // it holds, and a pair across a block's end leaves the next block's first lane as taken.
    static bool decodePairs(CodePoint* dst, Count& out, const Unit* src, Count& in, Count length)
    {
        unsigned taken = 0;
        do {
            const __m256i v = load16(src + in);
            const __m256i next = load16(src + in + 1);
            const __mmask16 high = highLanes(v);
            if ((high & ~lowLanes(next)) != 0) {
                return false; // a high surrogate without its low one refuses the whole text
            }
            // The low half of a pair follows its high half: that lane gives no code point.
            const auto kept = static_cast<__mmask16>(~((unsigned{high} << 1) | taken));
            // The whole block is stored, as widen stores it: the caller's block has room for 16
            // at every block start, and the lanes beyond what this one yields are the next's.
            _mm512_storeu_si512(dst + out, decodedLanes(v, next, high, kept));
            out += __builtin_popcount(kept);
            taken = unsigned{high} >> 15;
            in += kBlock;
        } while (length - in > kBlock);
        in += taken;
        return true;
    }

    // A block's code points, those of the lanes in `kept` packed in order: a lane in `high`
    // takes the unit after it (the same lane of `next`) into a pair.
    static __m512i decodedLanes(__m256i v, __m256i next, __mmask16 high, __mmask16 kept)
    {
        const __m512i pairBias = lanes(0x35FDC00); // (0xD800 << 10) + 0xDC00 - 0x10000
        const __m512i v32 = _mm512_cvtepu16_epi32(v);
        const __m512i pair = _mm512_add_epi32(_mm512_slli_epi32(v32, 10),
                                              _mm512_sub_epi32(_mm512_cvtepu16_epi32(next), pairBias));
        return _mm512_maskz_compress_epi32(kept, _mm512_mask_blend_epi32(high, v32, pair));
    }
    static __mmask16 highLanes(__m256i v)
    {
        return _mm256_cmpeq_epi16_mask(_mm256_and_si256(v, units(0xFC00)), units(0xD800));
    }
    static __mmask16 lowLanes(__m256i v)
    {
        return _mm256_cmpeq_epi16_mask(_mm256_and_si256(v, units(0xFC00)), units(0xDC00));
    }

    // The units after the last whole block (the first may be the low half of a pair already
    // taken), as one block read and written to its end only; no unit after the last.
    static bool decodeTail(CodePoint* dst, Count& out, const Unit* src, Count in, Count length)
    {
        const auto count = static_cast<unsigned>(length - in);
        if (count == 0) {
            return true;
        }
        const auto active = static_cast<__mmask16>((1u << count) - 1);
        const __m256i v = _mm256_maskz_loadu_epi16(active, src + in);
        const __m256i next = _mm256_maskz_loadu_epi16(static_cast<__mmask16>(active >> 1), src + in + 1);
        const __mmask16 high = highLanes(v);
        if ((high & ~lowLanes(next)) != 0) {
            return false;
        }
        const auto kept = static_cast<__mmask16>(active & ~(unsigned{high} << 1));
        const auto yielded = static_cast<unsigned>(__builtin_popcount(kept));
        _mm512_mask_storeu_epi32(dst + out, static_cast<__mmask16>((1u << yielded) - 1),
                                 decodedLanes(v, next, high, kept));
        out += yielded;
        return true;
    }

    static __mmask16 supplementaryLanes(__m512i c) { return _mm512_cmpgt_epu32_mask(c, lanes(0xFFFF)); }
    // Two packs within 128-bit lanes and one permutation: fewer steps than the narrowing move.
    static __m256i pack(const CodePoint* src)
    {
        const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
        const __m256i second = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 8));
        return _mm256_permute4x64_epi64(_mm256_packus_epi32(first, second), 0xD8);
    }
    static bool narrow(Unit* dst, const CodePoint* src)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), pack(src));
        return supplementaryLanes(_mm512_loadu_si512(src)) == 0;
    }
    static void narrowBmp(Unit* dst, const CodePoint* src)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), pack(src));
    }
    // Text with a supplementary code point is told from the first group of blocks that has one.
    static bool blocksAreBmp(const CodePoint* src, Count blocks)
    {
        constexpr Count kGroup = 4;
        __m512i any = _mm512_setzero_si512();
        for (Count b = 0; b < blocks; ++b) {
            any = _mm512_or_si512(any, _mm512_loadu_si512(src + b * kBlock));
            if ((b + 1) % kGroup == 0 && supplementaryLanes(any) != 0) {
                return false;
            }
        }
        return supplementaryLanes(any) == 0;
    }
    static Count supplementary(const CodePoint* src)
    {
        return __builtin_popcount(supplementaryLanes(_mm512_loadu_si512(src)));
    }

    // A block's units, in order: the low half of the lanes in `lowHalves` (one bit in two), the
    // high half too of those in `pairs`.
    static __m512i encodedLanes(__m512i c, unsigned lowHalves, __mmask16 pairs)
    {
        // The leading unit (c >> 10) + 0xD7C0 in the low half, the trailing one 0xDC00 +
        // (c & 0x3FF) in the high half: neither sum carries out of its half.
        const __m512i pair =
            _mm512_add_epi32(_mm512_add_epi32(_mm512_srli_epi32(c, 10),
                                              _mm512_slli_epi32(_mm512_and_si512(c, lanes(0x3FF)), 16)),
                             lanes(0xDC00D7C0u));
        const auto keep = static_cast<__mmask32>(lowHalves | _pdep_u32(pairs, 0xAAAAAAAAu));
        return _mm512_maskz_compress_epi16(keep, _mm512_mask_blend_epi32(pairs, c, pair));
    }

    // The code points after the last whole block, as one block read and written to its end
    // only; a value whose leading unit does not fit, or units beyond the count, take the plain
    // rule, which stops where it says.
    static EncodeStop encodeTail(Unit* dst, Count& out, Count capacity, const CodePoint* src, Count i,
                                 Count length)
    {
        const auto count = static_cast<unsigned>(length - i);
        if (count == 0) {
            return EncodeStop::done;
        }
        const auto active = static_cast<__mmask16>((1u << count) - 1);
        const __m512i c = _mm512_maskz_loadu_epi32(active, src + i);
        const __mmask16 pairs = supplementaryLanes(c);
        const auto written = count + static_cast<unsigned>(__builtin_popcount(pairs));
        if (_mm512_cmpge_epu32_mask(c, lanes(0xA10000)) != 0 || out + written > capacity) {
            return encodeScalar(dst, out, capacity, src, i, length);
        }
        _mm512_mask_storeu_epi16(dst + out, static_cast<__mmask32>((std::uint64_t{1} << written) - 1),
                                 encodedLanes(c, _pdep_u32(active, 0x55555555u), pairs));
        out += written;
        return EncodeStop::done;
    }

    // The remaining blocks, once one held a supplementary code point. A block with a value whose
    // leading unit does not fit, or whose units would not fit in the count, takes the plain rule,
    // which stops where it says.
    static EncodeStop encodePairs(Unit* dst, Count& out, Count capacity, const CodePoint* src, Count& i,
                                  Count length)
    {
        for (; length - i >= kBlock; i += kBlock) {
            const __m512i c = _mm512_loadu_si512(src + i);
            const __mmask16 pairs = supplementaryLanes(c);
            const Count count = kBlock + __builtin_popcount(pairs);
            if (_mm512_cmpge_epu32_mask(c, lanes(0xA10000)) != 0 || out + count > capacity) {
                if (const EncodeStop stop = encodeScalar(dst, out, capacity, src, i, i + kBlock);
                    stop != EncodeStop::done) {
                    return stop;
                }
                continue;
            }
            const __m512i packed = encodedLanes(c, 0x55555555u, pairs);
            // A store masked to the count is slow: a whole one while the room allows it.
            if (capacity - out >= 2 * kBlock) [[likely]] {
                _mm512_storeu_si512(dst + out, packed);
            } else {
                _mm512_mask_storeu_epi16(dst + out, static_cast<__mmask32>((std::uint64_t{1} << count) - 1),
                                         packed);
            }
            out += count;
        }
        return EncodeStop::done;
    }
};

} // namespace

extern const Kernel kAvx512Kernel;
constinit const Kernel kAvx512Kernel = kernelOf<Avx512>("avx512");

} // namespace ven::utf16
