// The AVX2 kernel of the UTF-16 codecs: 16 units or code points per step, and text with
// surrogates in vectors too. A block with a surrogate pair keeps every lane but the low halves of
// its pairs, gathered by one permutation from a table; a block with a supplementary code point
// makes two units of each such lane and gathers the units by one byte shuffle per four lanes.
// Built with -mavx2 and used only where the processor has it (utf16.cpp).
#include <immintrin.h>

#include <array>

#include "ven/java/lang/utf16_blocks.hpp"

namespace ven::utf16
{
namespace
{

// For each set of kept lanes out of 8: their indices in order, to gather them to the front.
constexpr auto kGatherLanes = [] {
    std::array<std::array<std::uint8_t, 8>, 256> table{};
    for (unsigned kept = 0; kept < 256; ++kept) {
        unsigned at = 0;
        for (std::uint8_t lane = 0; lane < 8; ++lane) {
            if ((kept & (1u << lane)) != 0) {
                table[kept][at++] = lane;
            }
        }
    }
    return table;
}();

struct Avx2 {
    static __m256i load(const void* src) { return _mm256_loadu_si256(static_cast<const __m256i*>(src)); }
    static void store(void* dst, __m256i value) { _mm256_storeu_si256(static_cast<__m256i*>(dst), value); }
    static __m256i units(unsigned value) { return _mm256_set1_epi16(static_cast<short>(value)); }
    static __m256i lanes(unsigned value) { return _mm256_set1_epi32(static_cast<int>(value)); }

    static bool widen(CodePoint* dst, const Unit* src)
    {
        const __m256i v = load(src);
        store(dst, _mm256_cvtepu16_epi32(_mm256_castsi256_si128(v)));
        store(dst + 8, _mm256_cvtepu16_epi32(_mm256_extracti128_si256(v, 1)));
        const __m256i surrogates = _mm256_cmpeq_epi16(_mm256_and_si256(v, units(0xF800)), units(0xD800));
        return _mm256_testz_si256(surrogates, surrogates) != 0;
    }

    // Blocks of 16 units, each with the unit after it readable, for as long as they hold
    // surrogates: the input moves by 16 whatever it holds, so that no load waits for the last
    // block's answer; a pair across a block's end leaves the next block's first lane as taken.
    static bool decodePairs(CodePoint* dst, Count& out, const Unit* src, Count& in, Count length)
    {
        const __m256i pairBias = lanes(0x35FDC00); // (0xD800 << 10) + 0xDC00 - 0x10000
        unsigned taken = 0;
        do {
            const __m256i v = load(src + in);
            const __m256i next = load(src + in + 1);
            const __m256i surrogates = _mm256_cmpeq_epi16(_mm256_and_si256(v, units(0xF800)), units(0xD800));
            if (taken == 0 && _mm256_testz_si256(surrogates, surrogates) != 0) {
                break; // the caller widens it
            }
            const __m256i high = _mm256_cmpeq_epi16(_mm256_and_si256(v, units(0xFC00)), units(0xD800));
            const __m256i lowNext = _mm256_cmpeq_epi16(_mm256_and_si256(next, units(0xFC00)), units(0xDC00));
            if (_mm256_testc_si256(lowNext, high) == 0) {
                return false; // a high surrogate without its low one refuses the whole text
            }
            const __m128i highLow = _mm256_castsi256_si128(high);
            const __m128i highHigh = _mm256_extracti128_si256(high, 1);
            const auto highLanes =
                static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(highLow, highHigh)));
            // The low half of a pair follows its high half: that lane gives no code point.
            const unsigned kept = ~((highLanes << 1) | taken) & 0xFFFFu;
            for (int half = 0; half < 2; ++half) {
                const __m256i v32 = _mm256_cvtepu16_epi32(half == 0 ? _mm256_castsi256_si128(v)
                                                                    : _mm256_extracti128_si256(v, 1));
                const __m256i next32 = _mm256_cvtepu16_epi32(half == 0 ? _mm256_castsi256_si128(next)
                                                                       : _mm256_extracti128_si256(next, 1));
                const __m256i isPair = _mm256_cvtepi16_epi32(half == 0 ? highLow : highHigh);
                const __m256i pair =
                    _mm256_add_epi32(_mm256_slli_epi32(v32, 10), _mm256_sub_epi32(next32, pairBias));
                const __m256i codePoints = _mm256_blendv_epi8(v32, pair, isPair);
                const unsigned keep = (kept >> (8 * half)) & 0xFFu;
                const __m256i gather = _mm256_cvtepu8_epi32(
                    _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kGatherLanes[keep].data())));
                store(dst + out, _mm256_permutevar8x32_epi32(codePoints, gather));
                out += __builtin_popcount(keep);
            }
            taken = highLanes >> 15;
            in += kBlock;
        } while (length - in > kBlock);
        in += taken;
        return true;
    }

    static bool fitsUnits(__m256i any) { return _mm256_testz_si256(any, lanes(0xFFFF0000u)) != 0; }
    static __m256i pack(const CodePoint* src)
    {
        return _mm256_permute4x64_epi64(_mm256_packus_epi32(load(src), load(src + 8)), 0xD8);
    }
    static bool narrow(Unit* dst, const CodePoint* src)
    {
        store(dst, pack(src));
        return fitsUnits(_mm256_or_si256(load(src), load(src + 8)));
    }
    static void narrowBmp(Unit* dst, const CodePoint* src) { store(dst, pack(src)); }
    // Text with a supplementary code point is told from the first group of blocks that has one.
    static bool blocksAreBmp(const CodePoint* src, Count blocks)
    {
        constexpr Count kGroup = 4;
        Count b = 0;
        for (; blocks - b >= kGroup; b += kGroup) {
            __m256i any = _mm256_setzero_si256();
            for (Count k = 0; k < 2 * kGroup; ++k) {
                any = _mm256_or_si256(any, load(src + b * kBlock + 8 * k));
            }
            if (!fitsUnits(any)) {
                return false;
            }
        }
        __m256i any = _mm256_setzero_si256();
        for (; b < blocks; ++b) {
            any = _mm256_or_si256(any, _mm256_or_si256(load(src + b * kBlock), load(src + b * kBlock + 8)));
        }
        return fitsUnits(any);
    }
    static unsigned supplementaryLanes(__m256i codePoints)
    {
        const __m256i fits = _mm256_cmpeq_epi32(_mm256_srli_epi32(codePoints, 16), _mm256_setzero_si256());
        return ~static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(fits))) & 0xFFu;
    }
    static Count supplementary(const CodePoint* src)
    {
        return __builtin_popcount(supplementaryLanes(load(src)) | (supplementaryLanes(load(src + 8)) << 8));
    }

    // The remaining blocks, once one held a supplementary code point. A block with a value whose
    // leading unit does not fit, or whose units (with the four that a group's second store writes
    // beyond them) might not fit in the count, takes the plain rule, which stops where it says.
    static EncodeStop encodePairs(Unit* dst, Count& out, Count capacity, const CodePoint* src, Count& i,
                                  Count length)
    {
        for (; length - i >= kBlock; i += kBlock) {
            const __m256i first = load(src + i);
            const __m256i second = load(src + i + 8);
            if (fitsUnits(_mm256_or_si256(first, second)) && out + kBlock <= capacity) {
                store(dst + out, pack(src + i));
                out += kBlock;
                continue;
            }
            const __m256i largest = _mm256_max_epu32(first, second);
            const __m256i tooLarge = _mm256_cmpeq_epi32(_mm256_max_epu32(largest, lanes(0xA10000)), largest);
            if (_mm256_testz_si256(tooLarge, tooLarge) == 0 || out + 2 * kBlock + 4 > capacity) {
                if (const EncodeStop stop = encodeScalar(dst, out, capacity, src, i, i + kBlock);
                    stop != EncodeStop::done) {
                    return stop;
                }
                continue;
            }
            encodeGroup(dst, out, first);
            encodeGroup(dst, out, second);
        }
        return EncodeStop::done;
    }

    // Eight code points, each BMP one as its unit and each other as its pair, gathered per four.
    static void encodeGroup(Unit* dst, Count& out, __m256i c)
    {
        const __m256i isBmp = _mm256_cmpeq_epi32(_mm256_srli_epi32(c, 16), _mm256_setzero_si256());
        const unsigned pairs = ~static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(isBmp))) & 0xFFu;
        // The leading unit (c >> 10) + 0xD7C0 in the low half, the trailing one 0xDC00 + (c & 0x3FF)
        // in the high half: neither sum carries out of its half.
        const __m256i pair =
            _mm256_add_epi32(_mm256_add_epi32(_mm256_srli_epi32(c, 10),
                                              _mm256_slli_epi32(_mm256_and_si256(c, lanes(0x3FF)), 16)),
                             lanes(0xDC00D7C0u));
        const __m256i laneUnits = _mm256_blendv_epi8(pair, c, isBmp);
        const __m128i gatherLow =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(kGatherUnits[pairs & 0xFu].data()));
        const __m128i gatherHigh =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(kGatherUnits[pairs >> 4].data()));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + out),
                         _mm_shuffle_epi8(_mm256_castsi256_si128(laneUnits), gatherLow));
        out += 4 + __builtin_popcount(pairs & 0xFu);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + out),
                         _mm_shuffle_epi8(_mm256_extracti128_si256(laneUnits, 1), gatherHigh));
        out += 4 + __builtin_popcount(pairs >> 4);
    }
};

} // namespace

extern const Kernel kAvx2Kernel;
constinit const Kernel kAvx2Kernel = kernelOf<Avx2>("avx2");

} // namespace ven::utf16
