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
struct Neon : ScalarPairs {
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
