// The java/lang/String unit: conversion between UTF-16 and code points, and between
// jstring and ksString. Text without surrogates is the common case, so both
// conversions move it in blocks that the compiler vectorises and fall back to the
// exact scalar rule only for a block that holds a surrogate (or a supplementary
// code point).
#include <memory>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/checks.hpp"
#include "ven/integration.h"
#include "ven/integration/convention.hpp"
#include "ven/integration/settled.hpp"
#include "ven/java/class_unit.hpp"
#include "ven/java/lang/string.h"
#include "ven/java/lang/string_unit.hpp"
#include "ven/java/lang/throwables.h"
#include "ven/strings.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON) && defined(__aarch64__)
#include <arm_neon.h>
#endif

using namespace ven::integration;

namespace
{

constexpr ven::FatalChecks fatalCheck{"source/ven/java/lang/ven_string"};

namespace line
{
constexpr int decodeResultChars = 98;
constexpr int decodeResultLength = 99;
constexpr int decodeSrcChars = 100;
constexpr int decodeSrcLength = 101;
constexpr int encodeResultChars = 149;
constexpr int encodeResultLength = 150;
constexpr int encodeSrcChars = 151;
constexpr int encodeSrcLength = 152;
constexpr int encodeHighSurrogate = 174;
constexpr int encodeWithinCount = 183;
constexpr int encodeExactCount = 185;
} // namespace line

// Units per block: a multiple of every vector width in use, and a fixed trip count
// so that the portable loops vectorise at -O2 without a scalar epilogue.
constexpr KS_INT kBlock = 16;

inline bool isHighSurrogate(KS_CHAR unit)
{
    return (unit & 0xFC00u) == 0xD800u;
}
inline bool isLowSurrogate(KS_CHAR unit)
{
    return (unit & 0xFC00u) == 0xDC00u;
}

// Widens one block into `dst` unconditionally and tells whether it held no surrogate.
// The caller's block has room: no code point is ever written ahead of its unit.
#if defined(__SSE2__)
inline bool widenBlock(KS_CHAR* dst, const jchar* src)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i surrogateMask = _mm_set1_epi16(static_cast<short>(0xF800));
    const __m128i surrogateBits = _mm_set1_epi16(static_cast<short>(0xD800));
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_unpacklo_epi16(low, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 4), _mm_unpackhi_epi16(low, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 8), _mm_unpacklo_epi16(high, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 12), _mm_unpackhi_epi16(high, zero));
    const __m128i surrogates =
        _mm_or_si128(_mm_cmpeq_epi16(_mm_and_si128(low, surrogateMask), surrogateBits),
                     _mm_cmpeq_epi16(_mm_and_si128(high, surrogateMask), surrogateBits));
    return _mm_movemask_epi8(surrogates) == 0;
}
#elif defined(__ARM_NEON) && defined(__aarch64__)
inline bool widenBlock(KS_CHAR* dst, const jchar* src)
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
#else
// Only the portable loop tests units one by one (Clang rejects an unused helper).
inline bool isSurrogate(KS_CHAR unit)
{
    return (unit & 0xF800u) == 0xD800u;
}
inline bool widenBlock(KS_CHAR* __restrict dst, const jchar* __restrict src)
{
    unsigned surrogates = 0;
    for (KS_INT i = 0; i < kBlock; ++i) {
        dst[i] = src[i];
        surrogates |= isSurrogate(src[i]) ? 1u : 0u;
    }
    return surrogates == 0;
}
#endif

// The decoding rule, one unit or pair at a time from `in` up to `end` (a pair may
// reach one unit past it). False for a high surrogate that is not followed by a low one.
inline bool decodeScalar(KS_CHAR* dst, KS_INT& out, const jchar* src, KS_INT& in, KS_INT end, KS_INT length)
{
    while (in < end) {
        const KS_CHAR unit = src[in];
        if (isHighSurrogate(unit)) {
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

bool decodeUtf16(KS_CHAR* dst, KS_INT& count, const jchar* src, KS_INT length)
{
    KS_INT in = 0;
    KS_INT out = 0;
    while (length - in >= kBlock) {
        if (widenBlock(dst + out, src + in)) [[likely]] {
            in += kBlock;
            out += kBlock;
        } else if (!decodeScalar(dst, out, src, in, in + kBlock, length)) {
            return false;
        }
    }
    if (!decodeScalar(dst, out, src, in, length, length)) {
        return false;
    }
    count = out;
    return true;
}

// Narrows one block into `dst` unconditionally and tells whether every code point
// fitted in one unit. The caller's block has room: a block is written only where the
// units of its code points begin.
#if defined(__SSE2__)
inline __m128i loadBlockQuarter(const KS_CHAR* src)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
}

inline bool blockIsBmp(__m128i a, __m128i b, __m128i c, __m128i d)
{
    const __m128i upper = _mm_srli_epi32(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d)), 16);
    return _mm_movemask_epi8(_mm_cmpeq_epi32(upper, _mm_setzero_si128())) == 0xFFFF;
}

// SSE2 has only a signed 32-to-16 pack: shift into the signed range and back.
inline __m128i packUnits(__m128i a, __m128i b)
{
    const __m128i bias32 = _mm_set1_epi32(0x8000);
    const __m128i bias16 = _mm_set1_epi16(static_cast<short>(0x8000));
    return _mm_xor_si128(_mm_packs_epi32(_mm_sub_epi32(a, bias32), _mm_sub_epi32(b, bias32)), bias16);
}

inline bool narrowBlock(jchar* dst, const KS_CHAR* src)
{
    const __m128i a = loadBlockQuarter(src);
    const __m128i b = loadBlockQuarter(src + 4);
    const __m128i c = loadBlockQuarter(src + 8);
    const __m128i d = loadBlockQuarter(src + 12);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), packUnits(a, b));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 8), packUnits(c, d));
    return blockIsBmp(a, b, c, d);
}

// Code points above 0xFFFF in one block (each takes a second unit).
inline KS_INT supplementaryInBlock(const KS_CHAR* src)
{
    const __m128i zero = _mm_setzero_si128();
    // Lanes of code points that fit count -1 each.
    __m128i fitting = _mm_cmpeq_epi32(_mm_srli_epi32(loadBlockQuarter(src), 16), zero);
    fitting = _mm_add_epi32(fitting, _mm_cmpeq_epi32(_mm_srli_epi32(loadBlockQuarter(src + 4), 16), zero));
    fitting = _mm_add_epi32(fitting, _mm_cmpeq_epi32(_mm_srli_epi32(loadBlockQuarter(src + 8), 16), zero));
    fitting = _mm_add_epi32(fitting, _mm_cmpeq_epi32(_mm_srli_epi32(loadBlockQuarter(src + 12), 16), zero));
    fitting = _mm_add_epi32(fitting, _mm_shuffle_epi32(fitting, _MM_SHUFFLE(1, 0, 3, 2)));
    fitting = _mm_add_epi32(fitting, _mm_shuffle_epi32(fitting, _MM_SHUFFLE(2, 3, 0, 1)));
    return kBlock + _mm_cvtsi128_si32(fitting);
}

// The OR of a block's code points: above 0xFFFF exactly when one of them is.
inline __m128i orBlock(const KS_CHAR* src)
{
    return _mm_or_si128(_mm_or_si128(loadBlockQuarter(src), loadBlockQuarter(src + 4)),
                        _mm_or_si128(loadBlockQuarter(src + 8), loadBlockQuarter(src + 12)));
}

inline bool blocksAreBmp(const KS_CHAR* src, KS_INT blocks)
{
    __m128i any = _mm_setzero_si128();
    for (KS_INT b = 0; b < blocks; ++b) {
        any = _mm_or_si128(any, orBlock(src + b * kBlock));
    }
    return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_srli_epi32(any, 16), _mm_setzero_si128())) == 0xFFFF;
}

// Narrows one block known to hold no code point above 0xFFFF.
inline void narrowBmpBlock(jchar* dst, const KS_CHAR* src)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst),
                     packUnits(loadBlockQuarter(src), loadBlockQuarter(src + 4)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 8),
                     packUnits(loadBlockQuarter(src + 8), loadBlockQuarter(src + 12)));
}
#elif defined(__ARM_NEON) && defined(__aarch64__)
inline bool narrowBlock(jchar* dst, const KS_CHAR* src)
{
    const uint32x4_t a = vld1q_u32(src);
    const uint32x4_t b = vld1q_u32(src + 4);
    const uint32x4_t c = vld1q_u32(src + 8);
    const uint32x4_t d = vld1q_u32(src + 12);
    vst1q_u16(dst, vcombine_u16(vmovn_u32(a), vmovn_u32(b)));
    vst1q_u16(dst + 8, vcombine_u16(vmovn_u32(c), vmovn_u32(d)));
    return vmaxvq_u32(vorrq_u32(vorrq_u32(a, b), vorrq_u32(c, d))) <= 0xFFFFu;
}

inline KS_INT supplementaryInBlock(const KS_CHAR* src)
{
    // Lanes of supplementary code points count -1 each.
    const uint32x4_t largest = vdupq_n_u32(0xFFFF);
    uint32x4_t above = vcgtq_u32(vld1q_u32(src), largest);
    above = vaddq_u32(above, vcgtq_u32(vld1q_u32(src + 4), largest));
    above = vaddq_u32(above, vcgtq_u32(vld1q_u32(src + 8), largest));
    above = vaddq_u32(above, vcgtq_u32(vld1q_u32(src + 12), largest));
    return -static_cast<KS_INT>(static_cast<int32_t>(vaddvq_u32(above)));
}

inline bool blocksAreBmp(const KS_CHAR* src, KS_INT blocks)
{
    uint32x4_t any = vdupq_n_u32(0);
    for (KS_INT b = 0; b < blocks; ++b) {
        const KS_CHAR* block = src + b * kBlock;
        any = vorrq_u32(any, vorrq_u32(vorrq_u32(vld1q_u32(block), vld1q_u32(block + 4)),
                                       vorrq_u32(vld1q_u32(block + 8), vld1q_u32(block + 12))));
    }
    return vmaxvq_u32(any) <= 0xFFFFu;
}

inline void narrowBmpBlock(jchar* dst, const KS_CHAR* src)
{
    vst1q_u16(dst, vcombine_u16(vmovn_u32(vld1q_u32(src)), vmovn_u32(vld1q_u32(src + 4))));
    vst1q_u16(dst + 8, vcombine_u16(vmovn_u32(vld1q_u32(src + 8)), vmovn_u32(vld1q_u32(src + 12))));
}
#else
inline bool narrowBlock(jchar* __restrict dst, const KS_CHAR* __restrict src)
{
    unsigned supplementary = 0;
    for (KS_INT i = 0; i < kBlock; ++i) {
        dst[i] = static_cast<jchar>(src[i]);
        supplementary |= src[i] > 0xFFFFu ? 1u : 0u;
    }
    return supplementary == 0;
}

inline KS_INT supplementaryInBlock(const KS_CHAR* src)
{
    unsigned supplementary = 0;
    for (KS_INT i = 0; i < kBlock; ++i) {
        supplementary += src[i] > 0xFFFFu ? 1u : 0u;
    }
    return supplementary;
}

inline bool blocksAreBmp(const KS_CHAR* __restrict src, KS_INT blocks)
{
    KS_CHAR any = 0;
    for (KS_INT b = 0; b < blocks; ++b) {
        KS_CHAR block = 0;
        for (KS_INT i = 0; i < kBlock; ++i) {
            block |= src[b * kBlock + i];
        }
        any |= block;
    }
    return any <= 0xFFFFu;
}

inline void narrowBmpBlock(jchar* __restrict dst, const KS_CHAR* __restrict src)
{
    for (KS_INT i = 0; i < kBlock; ++i) {
        dst[i] = static_cast<jchar>(src[i]);
    }
}
#endif

// Most text has no supplementary character, and one OR over it tells so; only text that
// has one is counted block by block.
KS_INT encodedLength(const KS_CHAR* src, KS_INT length)
{
    const KS_INT blocks = length / kBlock;
    bool bmp = blocksAreBmp(src, blocks);
    for (KS_INT i = blocks * kBlock; bmp && i < length; ++i) {
        bmp = src[i] <= 0xFFFFu;
    }
    if (bmp) {
        return length;
    }
    KS_INT units = length;
    KS_INT i = 0;
    for (; length - i >= kBlock; i += kBlock) {
        units += supplementaryInBlock(src + i);
    }
    for (; i < length; ++i) {
        units += src[i] > 0xFFFFu ? 1 : 0;
    }
    return units;
}

// The encoding rule for code points [begin, end), with its checks.
inline void encodeScalar(jchar* dst, KS_INT& destPos, KS_INT destLength, const KS_CHAR* src, KS_INT begin,
                         KS_INT end)
{
    for (KS_INT i = begin; i < end; ++i) {
        const KS_CHAR c = src[i];
        if (c <= 0xFFFFu) {
            // Surrogate values pass unchanged: a lone one stays a lone unit.
            dst[destPos] = static_cast<jchar>(c);
            destPos += 1;
        } else {
            const KS_CHAR hi = 0xD800u + ((c - 0x10000u) >> 10);
            fatalCheck(VEN_KS_CHAR_TO_JCHAR_CONV_OK(hi), line::encodeHighSurrogate,
                       "VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )");
            dst[destPos] = static_cast<jchar>(hi);
            dst[destPos + 1] = static_cast<jchar>(0xDC00u + (c & 0x3FFu));
            destPos += 2;
        }
        fatalCheck(destPos <= destLength, line::encodeWithinCount, "destPos <= destLength");
    }
}

void encodeUtf16(jchar* dst, KS_INT destLength, const KS_CHAR* src, KS_INT length)
{
    KS_INT destPos = 0;
    KS_INT i = 0;
    if (destLength == length) {
        // The count found no code point above 0xFFFF: every block narrows as it is, with
        // no test of its own, and each unit lands where its code point stands.
        for (; length - i >= kBlock; i += kBlock) {
            narrowBmpBlock(dst + i, src + i);
        }
        destPos = i;
    } else {
        for (; length - i >= kBlock; i += kBlock) {
            // Tested before the block is written, so no unit lands beyond the block.
            fatalCheck(destPos + kBlock <= destLength, line::encodeWithinCount, "destPos <= destLength");
            if (narrowBlock(dst + destPos, src + i)) [[likely]] {
                destPos += kBlock;
            } else {
                encodeScalar(dst, destPos, destLength, src, i, i + kBlock);
            }
        }
    }
    encodeScalar(dst, destPos, destLength, src, i, length);
    fatalCheck(destPos == destLength, line::encodeExactCount, "destPos == destLength");
}

// Text up to this many units (code points the other way) goes through a buffer on the stack: one
// region call instead of a critical pair, no block for the encoded units.
constexpr KS_INT kShortText = 256;

constexpr const char* kStringClassName = "java/lang/String";

// Thrown only after the critical region is left: no JNI call may run inside it.
KS_BOOL invalidUtf16(JNIEnv* env, lgStream* trace)
{
    venAssertionErrorThrowUseMessageCstr(env, trace, "venStringToKsString", "Invalid UTF16 String.");
    return KS_FALSE;
}

} // namespace

namespace ven::java_lang
{

KS_BOOL settled::stringGetClass(jclass* result, JNIEnv* env, lgStream* trace)
{
    return integration::settled::findClass(result, env, trace, kStringClassName);
}

KS_BOOL settled::stringToKsString(ksString** result, JNIEnv* env, lgStream* trace, jstring string)
{
    KS_INT length = 0;
    if (!integration::settled::getStringLength(&length, env, trace, string)) {
        return KS_FALSE;
    }
    if (length == 0) {
        deliverObject(result, ksStringCreate());
        return KS_TRUE;
    }
    KS_CHAR* codePoints = nullptr;
    KS_INT count = 0;
    bool decoded = false;
    if (length <= kShortText) {
        jchar units[kShortText];
        if (!integration::settled::getStringRegion(env, trace, string, 0, static_cast<jsize>(length),
                                                   units)) {
            return KS_FALSE;
        }
        decoded = ven___JCharsToChars(&codePoints, &count, units, length);
    } else {
        const jchar* chars = nullptr;
        if (!integration::settled::getStringCritical(&chars, env, trace, string, nullptr)) {
            return KS_FALSE;
        }
        decoded = ven___JCharsToChars(&codePoints, &count, chars, length);
        venReleaseStringCritical(env, trace, string, chars);
    }
    if (!decoded) {
        return invalidUtf16(env, trace);
    }
    deliverObject(result, ksStringCreateFromCharsUse(codePoints, count));
    return KS_TRUE;
}

KS_BOOL settled::stringFromKsString(jstring* result, JNIEnv* env, lgStream* trace, const ksString* string)
{
    const KS_CHAR* codePoints = ksStringBacking(const_cast<ksString*>(string));
    const KS_INT length = ksStringLength(const_cast<ksString*>(string));
    if (length <= kShortText) {
        jchar units[2 * kShortText];
        const KS_INT unitCount = length == 0 ? 0 : encodedLength(codePoints, length);
        if (unitCount != 0) {
            encodeUtf16(units, unitCount, codePoints, length);
        }
        return integration::settled::newString(result, env, trace, units, unitCount);
    }
    jchar* units = nullptr;
    KS_INT unitCount = 0;
    ven___CharsToJChars(&units, &unitCount, codePoints, length);
    const KS_BOOL created = integration::settled::newString(result, env, trace, units, unitCount);
    ksMemFree(units);
    return created;
}

} // namespace ven::java_lang

extern "C" {

VEN_API KS_BOOL ven___JCharsToChars(KS_CHAR** resultChars, KS_INT* resultLength, const jchar* srcChars,
                                    KS_INT srcLength)
{
    fatalCheck(resultChars != nullptr, line::decodeResultChars, "resultChars");
    fatalCheck(resultLength != nullptr, line::decodeResultLength, "resultLength");
    fatalCheck(srcChars != nullptr, line::decodeSrcChars, "srcChars");
    fatalCheck(srcLength >= 0, line::decodeSrcLength, "srcLength >= 0");

    // Every unit or pair gives one code point: the worst case is one per unit, so one
    // allocation and no counting pass. The block is handed over as it is.
    auto* block = static_cast<KS_CHAR*>(ksMemAllocN(srcLength, KS_INT{sizeof(KS_CHAR)}));
    KS_INT count = 0;
    if (!decodeUtf16(block, count, srcChars, srcLength)) {
        ksMemFree(block);
        return KS_FALSE;
    }
    *resultChars = block;
    *resultLength = count;
    return KS_TRUE;
}

VEN_API void ven___CharsToJChars(jchar** resultChars, KS_INT* resultLength, const KS_CHAR* srcChars,
                                 KS_INT srcLength)
{
    fatalCheck(resultChars != nullptr, line::encodeResultChars, "resultChars");
    fatalCheck(resultLength != nullptr, line::encodeResultLength, "resultLength");
    fatalCheck(srcChars != nullptr || srcLength == 0, line::encodeSrcChars, "srcChars || srcLength == 0");
    fatalCheck(srcLength >= 0, line::encodeSrcLength, "srcLength >= 0");

    if (srcLength == 0) {
        *resultChars = nullptr;
        *resultLength = 0;
        return;
    }
    const KS_INT destLength = encodedLength(srcChars, srcLength);
    // Encoding may stop at a unit beyond 16 bits through ks___Abort, whose hook may throw
    // instead of ending the process: the block is given back on that way out.
    std::unique_ptr<jchar, decltype(&ksMemFree)> block(
        static_cast<jchar*>(ksMemAllocN(destLength, KS_INT{sizeof(jchar)})), &ksMemFree);
    encodeUtf16(block.get(), destLength, srcChars, srcLength);
    *resultChars = block.release();
    *resultLength = destLength;
}

VEN_API KS_BOOL venStringGetClass(jclass* result, JNIEnv* env, lgStream* trace)
{
    if (!checkArguments(env, trace, "venStringGetClass", {{result != nullptr, "result != ((void *)0)"}})) {
        return KS_FALSE;
    }
    return venFindClass(result, env, trace, kStringClassName);
}

VEN_API KS_BOOL venStringIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj)
{
    return ven::java::isInstance<venStringGetClass>(result, env, trace, obj);
}

VEN_API KS_BOOL venStringToKsString(ksString** result, JNIEnv* env, lgStream* trace, jstring string)
{
    const jchar* chars = nullptr;
    KS_BOOL outcome = KS_FALSE;
    bool illFormed = false;
    if (result == nullptr) {
        argumentFailure(env, trace, "venStringToKsString", "result != ((void *)0)");
    } else if (string == nullptr) {
        deliverObject(result, static_cast<ksString*>(nullptr));
        return KS_TRUE;
    } else if (ven::integration::settled::nothingPending(env)) {
        return ven::java_lang::settled::stringToKsString(result, env, trace, string);
    } else {
        KS_INT length = 0;
        if (!venGetStringLength(&length, env, trace, string)) {
            // reported there
        } else if (length == 0) {
            // An empty text needs no characters.
            deliverObject(result, ksStringCreate());
            outcome = KS_TRUE;
        } else if (venGetStringCritical(&chars, env, trace, string, nullptr)) {
            // Critical region: only the decoding and the base library until the release.
            KS_CHAR* codePoints = nullptr;
            KS_INT count = 0;
            if (ven___JCharsToChars(&codePoints, &count, chars, length)) {
                deliverObject(result, ksStringCreateFromCharsUse(codePoints, count));
                outcome = KS_TRUE;
            } else {
                illFormed = true;
            }
        }
    }
    // Reached on every path but the NULL string: with no characters this only checks
    // `string`, as the release does.
    venReleaseStringCritical(env, trace, string, chars);
    if (illFormed) {
        return invalidUtf16(env, trace);
    }
    return outcome;
}

VEN_API KS_BOOL venStringFromKsString(jstring* result, JNIEnv* env, lgStream* trace, ksString* string)
{
    if (!checkArguments(env, trace, "venStringFromKsString",
                        {{result != nullptr, "result != ((void *)0)"}})) {
        return KS_FALSE;
    }
    if (string == nullptr) {
        deliverLocalRef(env, result, static_cast<jstring>(nullptr));
        return KS_TRUE;
    }
    if (ven::integration::settled::nothingPending(env)) {
        return ven::java_lang::settled::stringFromKsString(result, env, trace, string);
    }
    jchar* units = nullptr;
    KS_INT unitCount = 0;
    ven___CharsToJChars(&units, &unitCount, ksStringBacking(string), ksStringLength(string));
    const KS_BOOL created = venNewString(result, env, trace, units, unitCount);
    ksMemFree(units);
    return created;
}

} // extern "C"
