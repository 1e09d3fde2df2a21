// The UTF-16 kernels of the baseline instruction sets (portable loops everywhere, SSE2 on x86-64,
// NEON on 64-bit ARM) and the choice of the active kernel; the AVX2 and AVX-512 kernels have
// translation units of their own, built for those instruction sets and run only where the
// processor has them.
#include <array>

#include "ven/java/lang/utf16_blocks.hpp"

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON) && defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace ven::utf16
{

#if defined(__x86_64__)
// utf16_avx2.cpp and utf16_avx512.cpp.
extern const Kernel kAvx2Kernel;
extern const Kernel kAvx512Kernel;
#endif

namespace
{

// Blocks in plain loops of a fixed trip count, which the compiler vectorises for any target.
struct Portable : ScalarPairs {
    static bool widen(CodePoint* __restrict dst, const Unit* __restrict src)
    {
        unsigned surrogates = 0;
        for (Count i = 0; i < kBlock; ++i) {
            dst[i] = src[i];
            surrogates |= (src[i] & 0xF800u) == 0xD800u ? 1u : 0u;
        }
        return surrogates == 0;
    }
    static bool narrow(Unit* __restrict dst, const CodePoint* __restrict src)
    {
        unsigned supplementary = 0;
        for (Count i = 0; i < kBlock; ++i) {
            dst[i] = static_cast<Unit>(src[i]);
            supplementary |= src[i] > 0xFFFFu ? 1u : 0u;
        }
        return supplementary == 0;
    }
    static void narrowBmp(Unit* __restrict dst, const CodePoint* __restrict src)
    {
        for (Count i = 0; i < kBlock; ++i) {
            dst[i] = static_cast<Unit>(src[i]);
        }
    }
    static bool blocksAreBmp(const CodePoint* __restrict src, Count blocks)
    {
        CodePoint any = 0;
        for (Count b = 0; b < blocks; ++b) {
            CodePoint block = 0;
            for (Count i = 0; i < kBlock; ++i) {
                block |= src[b * kBlock + i];
            }
            any |= block;
        }
        return any <= 0xFFFFu;
    }
    static Count supplementary(const CodePoint* src)
    {
        unsigned count = 0;
        for (Count i = 0; i < kBlock; ++i) {
            count += src[i] > 0xFFFFu ? 1u : 0u;
        }
        return count;
    }
};

#if defined(__SSE2__)
struct Sse2 : ScalarPairs {
    static __m128i load(const void* src) { return _mm_loadu_si128(static_cast<const __m128i*>(src)); }
    static void store(void* dst, __m128i value) { _mm_storeu_si128(static_cast<__m128i*>(dst), value); }

    static bool widen(CodePoint* dst, const Unit* src)
    {
        const __m128i zero = _mm_setzero_si128();
        const __m128i surrogateMask = _mm_set1_epi16(static_cast<short>(0xF800));
        const __m128i surrogateBits = _mm_set1_epi16(static_cast<short>(0xD800));
        const __m128i low = load(src);
        const __m128i high = load(src + 8);
        store(dst, _mm_unpacklo_epi16(low, zero));
        store(dst + 4, _mm_unpackhi_epi16(low, zero));
        store(dst + 8, _mm_unpacklo_epi16(high, zero));
        store(dst + 12, _mm_unpackhi_epi16(high, zero));
        const __m128i surrogates =
            _mm_or_si128(_mm_cmpeq_epi16(_mm_and_si128(low, surrogateMask), surrogateBits),
                         _mm_cmpeq_epi16(_mm_and_si128(high, surrogateMask), surrogateBits));
        return _mm_movemask_epi8(surrogates) == 0;
    }

    // SSE2 has only a signed 32-to-16 pack: shift into the signed range and back.
    static __m128i packUnits(__m128i a, __m128i b)
    {
        const __m128i bias32 = _mm_set1_epi32(0x8000);
        const __m128i bias16 = _mm_set1_epi16(static_cast<short>(0x8000));
        return _mm_xor_si128(_mm_packs_epi32(_mm_sub_epi32(a, bias32), _mm_sub_epi32(b, bias32)), bias16);
    }
    static bool fitsUnits(__m128i any)
    {
        return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_srli_epi32(any, 16), _mm_setzero_si128())) == 0xFFFF;
    }
    static bool narrow(Unit* dst, const CodePoint* src)
    {
        const __m128i a = load(src);
        const __m128i b = load(src + 4);
        const __m128i c = load(src + 8);
        const __m128i d = load(src + 12);
        store(dst, packUnits(a, b));
        store(dst + 8, packUnits(c, d));
        return fitsUnits(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d)));
    }
    static void narrowBmp(Unit* dst, const CodePoint* src)
    {
        store(dst, packUnits(load(src), load(src + 4)));
        store(dst + 8, packUnits(load(src + 8), load(src + 12)));
    }
    static bool blocksAreBmp(const CodePoint* src, Count blocks)
    {
        __m128i any = _mm_setzero_si128();
        for (Count b = 0; b < blocks; ++b) {
            const CodePoint* block = src + b * kBlock;
            any = _mm_or_si128(any, _mm_or_si128(_mm_or_si128(load(block), load(block + 4)),
                                                 _mm_or_si128(load(block + 8), load(block + 12))));
        }
        return fitsUnits(any);
    }
    static Count supplementary(const CodePoint* src)
    {
        const __m128i zero = _mm_setzero_si128();
        // Lanes of code points that fit count -1 each.
        __m128i fitting = _mm_cmpeq_epi32(_mm_srli_epi32(load(src), 16), zero);
        fitting = _mm_add_epi32(fitting, _mm_cmpeq_epi32(_mm_srli_epi32(load(src + 4), 16), zero));
        fitting = _mm_add_epi32(fitting, _mm_cmpeq_epi32(_mm_srli_epi32(load(src + 8), 16), zero));
        fitting = _mm_add_epi32(fitting, _mm_cmpeq_epi32(_mm_srli_epi32(load(src + 12), 16), zero));
        fitting = _mm_add_epi32(fitting, _mm_shuffle_epi32(fitting, _MM_SHUFFLE(1, 0, 3, 2)));
        fitting = _mm_add_epi32(fitting, _mm_shuffle_epi32(fitting, _MM_SHUFFLE(2, 3, 0, 1)));
        return kBlock + _mm_cvtsi128_si32(fitting);
    }
};
#elif defined(__ARM_NEON) && defined(__aarch64__)
struct Neon {
    static bool widen(CodePoint* dst, const Unit* src)
    {
        const uint16x8_t surrogateMask = vdupq_n_u16(0xF800);
        const uint16x8_t surrogateBits = vdupq_n_u16(0xD800);
        const uint16x8_t low = vld1q_u16(src);
        const uint16x8_t high = vld1q_u16(src + 8);
        vst1q_u32(dst, vmovl_u16(vget_low_u16(low)));
        vst1q_u32(dst + 4, vmovl_high_u16(low));
        vst1q_u32(dst + 8, vmovl_u16(vget_low_u16(high)));
        vst1q_u32(dst + 12, vmovl_high_u16(high));
        const uint16x8_t surrogates = vorrq_u16(vceqq_u16(vandq_u16(low, surrogateMask), surrogateBits),
                                                vceqq_u16(vandq_u16(high, surrogateMask), surrogateBits));
        return vmaxvq_u16(surrogates) == 0;
    }
    static bool narrow(Unit* dst, const CodePoint* src)
    {
        const uint32x4_t a = vld1q_u32(src);
        const uint32x4_t b = vld1q_u32(src + 4);
        const uint32x4_t c = vld1q_u32(src + 8);
        const uint32x4_t d = vld1q_u32(src + 12);
        vst1q_u16(dst, vcombine_u16(vmovn_u32(a), vmovn_u32(b)));
        vst1q_u16(dst + 8, vcombine_u16(vmovn_u32(c), vmovn_u32(d)));
        return vmaxvq_u32(vorrq_u32(vorrq_u32(a, b), vorrq_u32(c, d))) <= 0xFFFFu;
    }
    static void narrowBmp(Unit* dst, const CodePoint* src)
    {
        vst1q_u16(dst, vcombine_u16(vmovn_u32(vld1q_u32(src)), vmovn_u32(vld1q_u32(src + 4))));
        vst1q_u16(dst + 8, vcombine_u16(vmovn_u32(vld1q_u32(src + 8)), vmovn_u32(vld1q_u32(src + 12))));
    }
    static bool blocksAreBmp(const CodePoint* src, Count blocks)
    {
        uint32x4_t any = vdupq_n_u32(0);
        for (Count b = 0; b < blocks; ++b) {
            const CodePoint* block = src + b * kBlock;
            any = vorrq_u32(any, vorrq_u32(vorrq_u32(vld1q_u32(block), vld1q_u32(block + 4)),
                                           vorrq_u32(vld1q_u32(block + 8), vld1q_u32(block + 12))));
        }
        return vmaxvq_u32(any) <= 0xFFFFu;
    }
    static Count supplementary(const CodePoint* src)
    {
        // Lanes of supplementary code points count -1 each.
        const uint32x4_t largest = vdupq_n_u32(0xFFFF);
        uint32x4_t above = vcgtq_u32(vld1q_u32(src), largest);
        above = vaddq_u32(above, vcgtq_u32(vld1q_u32(src + 4), largest));
        above = vaddq_u32(above, vcgtq_u32(vld1q_u32(src + 8), largest));
        above = vaddq_u32(above, vcgtq_u32(vld1q_u32(src + 12), largest));
        return -static_cast<Count>(static_cast<int32_t>(vaddvq_u32(above)));
    }

    // The lanes of a mask of 8 units as bits.
    static unsigned laneBits(uint16x8_t mask)
    {
        constexpr uint8_t kWeights[8] = {1, 2, 4, 8, 16, 32, 64, 128};
        return vaddv_u8(vand_u8(vmovn_u16(mask), vld1_u8(kWeights)));
    }
    static uint16x8_t unitsOf(uint16x8_t v, unsigned mask, unsigned bits)
    {
        return vceqq_u16(vandq_u16(v, vdupq_n_u16(static_cast<uint16_t>(mask))),
                         vdupq_n_u16(static_cast<uint16_t>(bits)));
    }

    // Blocks of 16 units, each with the unit after it readable, for as long as they hold
    // surrogates: the input moves by 16 whatever it holds, and a pair across a block's end leaves
    // the next block's first lane as taken. Four lanes at a time are gathered by one table lookup.
    static bool decodePairs(CodePoint* dst, Count& out, const Unit* src, Count& in, Count length)
    {
        const uint32x4_t pairBias = vdupq_n_u32(0x35FDC00); // (0xD800 << 10) + 0xDC00 - 0x10000
        unsigned taken = 0;
        do {
            const uint16x8_t v[2] = {vld1q_u16(src + in), vld1q_u16(src + in + 8)};
            const uint16x8_t next[2] = {vld1q_u16(src + in + 1), vld1q_u16(src + in + 9)};
            if (taken == 0 &&
                vmaxvq_u16(vorrq_u16(unitsOf(v[0], 0xF800, 0xD800), unitsOf(v[1], 0xF800, 0xD800))) == 0) {
                break; // the caller widens it
            }
            const uint16x8_t high[2] = {unitsOf(v[0], 0xFC00, 0xD800), unitsOf(v[1], 0xFC00, 0xD800)};
            const uint16x8_t unpaired = vorrq_u16(vbicq_u16(high[0], unitsOf(next[0], 0xFC00, 0xDC00)),
                                                  vbicq_u16(high[1], unitsOf(next[1], 0xFC00, 0xDC00)));
            if (vmaxvq_u16(unpaired) != 0) {
                return false; // a high surrogate without its low one refuses the whole text
            }
            const unsigned highLanes = laneBits(high[0]) | (laneBits(high[1]) << 8);
            // The low half of a pair follows its high half: that lane gives no code point.
            const unsigned kept = ~((highLanes << 1) | taken) & 0xFFFFu;
            for (int quarter = 0; quarter < 4; ++quarter) {
                const uint16x8_t units = v[quarter / 2];
                const uint16x8_t after = next[quarter / 2];
                const uint16x8_t isHigh = high[quarter / 2];
                const bool upper = quarter % 2 != 0;
                const uint32x4_t v32 = upper ? vmovl_high_u16(units) : vmovl_u16(vget_low_u16(units));
                const uint32x4_t next32 = upper ? vmovl_high_u16(after) : vmovl_u16(vget_low_u16(after));
                const uint32x4_t isPair =
                    vreinterpretq_u32_s32(upper ? vmovl_high_s16(vreinterpretq_s16_u16(isHigh))
                                                : vmovl_s16(vget_low_s16(vreinterpretq_s16_u16(isHigh))));
                const uint32x4_t pair = vsubq_u32(vaddq_u32(vshlq_n_u32(v32, 10), next32), pairBias);
                const uint32x4_t codePoints = vbslq_u32(isPair, pair, v32);
                const unsigned keep = (kept >> (4 * quarter)) & 0xFu;
                const uint8x16_t gathered =
                    vqtbl1q_u8(vreinterpretq_u8_u32(codePoints), vld1q_u8(kGatherQuarterLanes[keep].data()));
                vst1q_u32(dst + out, vreinterpretq_u32_u8(gathered));
                out += __builtin_popcount(keep);
            }
            taken = highLanes >> 15;
            in += kBlock;
        } while (length - in > kBlock);
        in += taken;
        return true;
    }

    // The remaining blocks, once one held a supplementary code point. A block with a value whose
    // leading unit does not fit, or whose units (with the four that a quarter's store writes
    // beyond them) might not fit in the count, takes the plain rule, which stops where it says.
    static EncodeStop encodePairs(Unit* dst, Count& out, Count capacity, const CodePoint* src, Count& i,
                                  Count length)
    {
        constexpr uint32_t kLaneBits[4] = {1, 2, 4, 8};
        const uint32x4_t laneBits = vld1q_u32(kLaneBits);
        for (; length - i >= kBlock; i += kBlock) {
            const uint32x4_t c[4] = {vld1q_u32(src + i), vld1q_u32(src + i + 4), vld1q_u32(src + i + 8),
                                     vld1q_u32(src + i + 12)};
            const uint32_t largest = vmaxvq_u32(vmaxq_u32(vmaxq_u32(c[0], c[1]), vmaxq_u32(c[2], c[3])));
            if (largest <= 0xFFFFu && out + kBlock <= capacity) {
                narrowBmp(dst + out, src + i);
                out += kBlock;
                continue;
            }
            if (largest >= 0xA10000u || out + 2 * kBlock + 4 > capacity) {
                if (const EncodeStop stop = encodeScalar(dst, out, capacity, src, i, i + kBlock);
                    stop != EncodeStop::done) {
                    return stop;
                }
                continue;
            }
            for (const uint32x4_t quarter : c) {
                const uint32x4_t isPair = vcgtq_u32(quarter, vdupq_n_u32(0xFFFF));
                const unsigned pairs = vaddvq_u32(vandq_u32(isPair, laneBits));
                // The leading unit (c >> 10) + 0xD7C0 in the low half, the trailing one 0xDC00 +
                // (c & 0x3FF) in the high half: neither sum carries out of its half.
                const uint32x4_t pair =
                    vaddq_u32(vaddq_u32(vshrq_n_u32(quarter, 10),
                                        vshlq_n_u32(vandq_u32(quarter, vdupq_n_u32(0x3FF)), 16)),
                              vdupq_n_u32(0xDC00D7C0u));
                const uint32x4_t laneUnits = vbslq_u32(isPair, pair, quarter);
                vst1q_u8(reinterpret_cast<uint8_t*>(dst + out),
                         vqtbl1q_u8(vreinterpretq_u8_u32(laneUnits), vld1q_u8(kGatherUnits[pairs].data())));
                out += 4 + __builtin_popcount(pairs);
            }
        }
        return EncodeStop::done;
    }
};
#endif

constexpr Kernel kPortableKernel = kernelOf<Portable>("portable");
#if defined(__SSE2__)
constexpr Kernel kBaselineKernel = kernelOf<Sse2>("sse2");
#elif defined(__ARM_NEON) && defined(__aarch64__)
constexpr Kernel kBaselineKernel = kernelOf<Neon>("neon");
#endif

struct Kernels {
    std::array<const Kernel*, 4> list{};
    std::size_t count = 0;
    const Kernel* fastest = nullptr;

    Kernels()
    {
        add(&kPortableKernel);
#if defined(__SSE2__) || (defined(__ARM_NEON) && defined(__aarch64__))
        add(&kBaselineKernel);
#endif
#if defined(__x86_64__)
        // Runs among the library's constructors, possibly before the processor was asked.
        __builtin_cpu_init();
        if (__builtin_cpu_supports("avx2")) {
            add(&kAvx2Kernel);
        }
        if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
            __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("bmi2")) {
            add(&kAvx512Kernel);
        }
#endif
    }
    void add(const Kernel* kernel)
    {
        list[count++] = kernel;
        fastest = kernel;
    }
};

// Chosen while the library loads, so that a conversion pays no test for it.
const Kernels kKernels;

} // namespace

const Kernel* detail::activeKernel = kKernels.fastest;

std::span<const Kernel* const> available()
{
    return {kKernels.list.data(), kKernels.count};
}

} // namespace ven::utf16
