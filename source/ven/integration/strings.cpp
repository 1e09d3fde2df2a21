// Integration functions for Java strings. Apart from the two creating functions they
// come in families (lengths, pinning, release, regions) that differ only in the
// wrapper function and the character type: one template per family, one row each.
#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/integration.h"
#include "ven/integration/convention.hpp"
#include "ven/integration/settled.hpp"
#include "ven/integration/string_table.hpp"
#include "ven/strings.h"
#include "ven/wrapper.h"
#include "ven/wrapper/settled.hpp"

using namespace ven::integration;

namespace
{

template <jsize (*length)(JNIEnv*, jstring)>
KS_BOOL stringLength(const char* function, KS_INT* result, JNIEnv* env, lgStream* trace, jstring string)
{
    if (!checkArguments(env, trace, function,
                        {{result != nullptr, "result != NULL"}, {string != nullptr, "string != NULL"}})) {
        return KS_FALSE;
    }
    // The wrapper stops the process on an exception here: nothing to trace.
    *result = length(env, string);
    return KS_TRUE;
}

template <typename Char, const Char* (*pin)(JNIEnv*, jstring, jboolean*)>
KS_BOOL pinString(const char* function, const Char** result, JNIEnv* env, lgStream* trace, jstring string,
                  KS_BOOL* isCopy)
{
    if (!checkArguments(env, trace, function,
                        {{result != nullptr, "result != NULL"}, {string != nullptr, "string != NULL"}})) {
        return KS_FALSE;
    }
    // Starts false so that a failed call, which may leave it unwritten, reports no copy.
    jboolean copied = JNI_FALSE;
    *result = pin(env, string, &copied);
    if (isCopy != nullptr) {
        *isCopy = toKsBool(copied);
    }
    if (*result == nullptr) [[unlikely]] {
        return jniFailure(env, trace, function);
    }
    return KS_TRUE;
}

// A NULL pointer is accepted and ignored, so that clean-up paths may release whether
// or not the pinning call was reached.
template <typename Char, void (*release)(JNIEnv*, jstring, const Char*)>
KS_BOOL releaseString(const char* function, JNIEnv* env, lgStream* trace, jstring string, const Char* pinned)
{
    if (!checkArguments(env, trace, function, {{string != nullptr, "string != NULL"}})) {
        return KS_FALSE;
    }
    if (pinned != nullptr) {
        release(env, string, pinned);
    }
    return KS_TRUE;
}

template <typename Char, jboolean (*region)(JNIEnv*, jstring, jsize, jsize, Char*)>
KS_BOOL stringRegion(const char* function, JNIEnv* env, lgStream* trace, jstring str, jsize start, jsize len,
                     Char* buf)
{
    if (!checkArguments(env, trace, function,
                        {{str != nullptr, "str != NULL"}, {buf != nullptr, "buf != NULL"}})) {
        return KS_FALSE;
    }
    if (!region(env, str, start, len, buf)) [[unlikely]] {
        return jniFailure(env, trace, function);
    }
    return KS_TRUE;
}

template <jstring (*create)(JNIEnv*, const jchar*, jsize)>
KS_BOOL newString(jstring* result, JNIEnv* env, lgStream* trace, const jchar* unicodeChars, KS_INT len)
{
    if (!checkArguments(env, trace, "venNewString",
                        {{result != nullptr, "result != NULL"},
                         {unicodeChars != nullptr || len == 0, "unicodeChars != NULL || len == 0"},
                         {len >= 0, "len >= 0"},
                         VEN_RANGE_REQUIREMENT(VEN_KS_INT_TO_JSIZE_CONV_OK, len)})) {
        return KS_FALSE;
    }
    return deliverLocalRefOrFail(env, trace, "venNewString", result,
                                 create(env, unicodeChars, static_cast<jsize>(len)));
}

} // namespace

namespace ven::integration::settled
{

namespace wrapper = ven::wrapper::settled;

KS_BOOL getStringLength(KS_INT* result, JNIEnv* env, lgStream* trace, jstring string)
{
    return stringLength<wrapper::GetStringLength>("venGetStringLength", result, env, trace, string);
}

KS_BOOL getStringCritical(const jchar** result, JNIEnv* env, lgStream* trace, jstring string, KS_BOOL* isCopy)
{
    return pinString<jchar, wrapper::GetStringCritical>("venGetStringCritical", result, env, trace, string,
                                                        isCopy);
}

KS_BOOL releaseStringCritical(JNIEnv* env, lgStream* trace, jstring string, const jchar* pinned)
{
    return releaseString<jchar, wrapper::ReleaseStringCritical>("venReleaseStringCritical", env, trace,
                                                                string, pinned);
}

KS_BOOL getStringRegion(JNIEnv* env, lgStream* trace, jstring str, jsize start, jsize len, jchar* buf)
{
    return stringRegion<jchar, wrapper::GetStringRegion>("venGetStringRegion", env, trace, str, start, len,
                                                         buf);
}

KS_BOOL newString(jstring* result, JNIEnv* env, lgStream* trace, const jchar* unicodeChars, KS_INT len)
{
    return ::newString<wrapper::NewString>(result, env, trace, unicodeChars, len);
}

} // namespace ven::integration::settled

#define VEN_DEFINE_STRING_LENGTH(name, wrapper)                                                              \
    VEN_API KS_BOOL name(KS_INT* result, JNIEnv* env, lgStream* trace, jstring string)                       \
    {                                                                                                        \
        return stringLength<wrapper>(#name, result, env, trace, string);                                     \
    }

#define VEN_DEFINE_STRING_PIN(name, Char, wrapper)                                                           \
    VEN_API KS_BOOL name(const Char** result, JNIEnv* env, lgStream* trace, jstring string, KS_BOOL* isCopy) \
    {                                                                                                        \
        return pinString<Char, wrapper>(#name, result, env, trace, string, isCopy);                          \
    }

#define VEN_DEFINE_STRING_RELEASE(name, Char, wrapper)                                                       \
    VEN_API KS_BOOL name(JNIEnv* env, lgStream* trace, jstring string, const Char* pinned)                   \
    {                                                                                                        \
        return releaseString<Char, wrapper>(#name, env, trace, string, pinned);                              \
    }

#define VEN_DEFINE_STRING_REGION(name, Char, wrapper)                                                        \
    VEN_API KS_BOOL name(JNIEnv* env, lgStream* trace, jstring str, jsize start, jsize len, Char* buf)       \
    {                                                                                                        \
        return stringRegion<Char, wrapper>(#name, env, trace, str, start, len, buf);                         \
    }

extern "C" {

VEN_API KS_BOOL venNewString(jstring* result, JNIEnv* env, lgStream* trace, const jchar* unicodeChars,
                             KS_INT len)
{
    return newString<ven___NewString>(result, env, trace, unicodeChars, len);
}

VEN_API KS_BOOL venNewStringUTF(jstring* result, JNIEnv* env, lgStream* trace, const char* bytes)
{
    if (!checkArguments(env, trace, "venNewStringUTF",
                        {{result != nullptr, "result != NULL"}, {bytes != nullptr, "bytes != NULL"}})) {
        return KS_FALSE;
    }
    return deliverLocalRefOrFail(env, trace, "venNewStringUTF", result, ven___NewStringUTF(env, bytes));
}

VEN_STRING_LENGTH_FUNCTIONS(VEN_DEFINE_STRING_LENGTH)
VEN_STRING_PIN_FUNCTIONS(VEN_DEFINE_STRING_PIN)
VEN_STRING_RELEASE_FUNCTIONS(VEN_DEFINE_STRING_RELEASE)
VEN_STRING_REGION_FUNCTIONS(VEN_DEFINE_STRING_REGION)

} // extern "C"
