// The java/lang/String unit: the UTF-16 conversion routines over the codecs of utf16.hpp (their
// argument and fatal checks, their blocks), and the conversions between jstring and ksString.
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
#include "ven/java/lang/utf16.hpp"
#include "ven/strings.h"

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

namespace utf16 = ven::utf16;

// Decodes into a block of `length` code points; false for ill-formed text.
bool decodeInto(KS_CHAR* dst, KS_INT& count, const jchar* src, KS_INT length)
{
    static_assert(sizeof(jchar) == sizeof(utf16::Unit) && sizeof(KS_CHAR) == sizeof(utf16::CodePoint));
    const utf16::Count decoded = utf16::active().decode(dst, src, length);
    if (decoded == utf16::kIllFormed) {
        return false;
    }
    count = decoded;
    return true;
}

// Decodes into a new block that is handed over as it is: every unit or pair gives one code point,
// so the worst case is one per unit, one allocation and no counting pass. False, with no block,
// for ill-formed text.
bool decodeToBlock(KS_CHAR** resultChars, KS_INT* resultLength, const jchar* srcChars, KS_INT srcLength)
{
    auto* block = static_cast<KS_CHAR*>(ksMemAllocN(srcLength, KS_INT{sizeof(KS_CHAR)}));
    KS_INT count = 0;
    if (!decodeInto(block, count, srcChars, srcLength)) {
        ksMemFree(block);
        return false;
    }
    *resultChars = block;
    *resultLength = count;
    return true;
}

// Encodes into room for `capacity` units with the encoder's checks; the units written.
KS_INT encodeChecked(jchar* dst, KS_INT capacity, const KS_CHAR* src, KS_INT length)
{
    const utf16::EncodeResult result = utf16::active().encode(dst, capacity, src, length);
    fatalCheck(result.stop != utf16::EncodeStop::leadingUnitTooLarge, line::encodeHighSurrogate,
               "VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )");
    fatalCheck(result.stop != utf16::EncodeStop::beyondCount, line::encodeWithinCount,
               "destPos <= destLength");
    return result.written;
}

// Encodes into exactly `destLength` units, as counted by encodedLength.
void encodeInto(jchar* dst, KS_INT destLength, const KS_CHAR* src, KS_INT length)
{
    fatalCheck(encodeChecked(dst, destLength, src, length) == destLength, line::encodeExactCount,
               "destPos == destLength");
}

// Encodes into a buffer with room for two units per code point, in one pass with no count first;
// the units written.
KS_INT encodeIntoRoom(jchar* dst, const KS_CHAR* src, KS_INT length)
{
    return encodeChecked(dst, 2 * length, src, length);
}

KS_INT encodedLength(const KS_CHAR* src, KS_INT length)
{
    return utf16::active().encodedLength(src, length);
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

namespace ven::java
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
        decoded = decodeToBlock(&codePoints, &count, units, length);
    } else {
        const jchar* chars = nullptr;
        if (!integration::settled::getStringCritical(&chars, env, trace, string, nullptr)) {
            return KS_FALSE;
        }
        decoded = decodeToBlock(&codePoints, &count, chars, length);
        integration::settled::releaseStringCritical(env, trace, string, chars);
    }
    if (!decoded) {
        return invalidUtf16(env, trace);
    }
    deliverObject(result, ksStringCreateFromCharsUse(codePoints, count));
    return KS_TRUE;
}

KS_BOOL settled::stringFromKsString(jstring* result, JNIEnv* env, lgStream* trace, const ksString* string)
{
    const KS_CHAR* codePoints = ksStringBacking(string);
    const KS_INT length = ksStringLength(string);
    if (length <= kShortText) {
        // Room for two units per code point: no count first.
        jchar units[2 * kShortText];
        const KS_INT unitCount = encodeIntoRoom(units, codePoints, length);
        return integration::settled::newString(result, env, trace, units, unitCount);
    }
    jchar* units = nullptr;
    KS_INT unitCount = 0;
    ven___CharsToJChars(&units, &unitCount, codePoints, length);
    const KS_BOOL created = integration::settled::newString(result, env, trace, units, unitCount);
    ksMemFree(units);
    return created;
}

} // namespace ven::java

extern "C" {

VEN_API KS_BOOL ven___JCharsToChars(KS_CHAR** resultChars, KS_INT* resultLength, const jchar* srcChars,
                                    KS_INT srcLength)
{
    fatalCheck(resultChars != nullptr, line::decodeResultChars, "resultChars");
    fatalCheck(resultLength != nullptr, line::decodeResultLength, "resultLength");
    fatalCheck(srcChars != nullptr, line::decodeSrcChars, "srcChars");
    fatalCheck(srcLength >= 0, line::decodeSrcLength, "srcLength >= 0");
    return decodeToBlock(resultChars, resultLength, srcChars, srcLength) ? KS_TRUE : KS_FALSE;
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
    encodeInto(block.get(), destLength, srcChars, srcLength);
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
        return ven::java::settled::stringToKsString(result, env, trace, string);
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
        return ven::java::settled::stringFromKsString(result, env, trace, string);
    }
    jchar* units = nullptr;
    KS_INT unitCount = 0;
    ven___CharsToJChars(&units, &unitCount, ksStringBacking(string), ksStringLength(string));
    const KS_BOOL created = venNewString(result, env, trace, units, unitCount);
    ksMemFree(units);
    return created;
}

} // extern "C"
