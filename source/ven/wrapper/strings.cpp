// Wrappers for the JNI string functions: creation and pinning (checked-result calls),
// lengths (non-raising), regions (flagged) and releases (direct), one table row per function.
#include <jni.h>

#include "ven/wrapper.h"
#include "ven/wrapper/convention.hpp"
#include "ven/wrapper/settled.hpp"

using namespace ven::wrapper;

// X(Member, chars type, "env" line, consistency line): checked-result, "string" checked on
// the line after "env"; the isCopy out-parameter may be NULL.
// clang-format off
#define VEN_STRING_PINNING(X)                                                                                \
    X(GetStringChars,    const jchar*, 3811, 3824)                                                           \
    X(GetStringUTFChars, const char*,  3900, 3913)                                                           \
    X(GetStringCritical, const jchar*, 3990, 4003)
// clang-format on

// Each row is one template over the guard (SavedException for the exported wrapper,
// NothingPending for the settled twin).
#define VEN_DEFINE_STRING_PINNING(Member, Chars, envLine, consistencyLine)                                   \
    template <typename Guard> Chars Member(JNIEnv* env, jstring string, jboolean* isCopy)                    \
    {                                                                                                        \
        checkRequired(envLine, {{env, "env"}, {string, "string"}});                                          \
        return checkedResult<&Jni::Member, Guard>(env, {consistencyLine, VEN_NULL_RESULT_MESSAGE(Member)},   \
                                                  string, isCopy);                                           \
    }
#define VEN_EXPORT_STRING_PINNING(Member, Chars, envLine, consistencyLine)                                   \
    VEN_API Chars ven___##Member(JNIEnv* env, jstring string, jboolean* isCopy)                              \
    {                                                                                                        \
        return rows::Member<SavedException>(env, string, isCopy);                                            \
    }

// X(Member, chars type, chars name, "env" line): direct, "string" and the chars checked on
// the next two lines.
// clang-format off
#define VEN_STRING_RELEASES(X)                                                                               \
    X(ReleaseStringChars,    const jchar*, chars,  3836)                                                     \
    X(ReleaseStringUTFChars, const char*,  utf,    3925)                                                     \
    X(ReleaseStringCritical, const jchar*, carray, 4015)
// clang-format on

#define VEN_DEFINE_STRING_RELEASE(Member, Chars, chars, envLine)                                             \
    inline void Member(JNIEnv* env, jstring string, Chars chars)                                             \
    {                                                                                                        \
        checkRequired(envLine, {{env, "env"}, {string, "string"}, {chars, #chars}});                         \
        callJni<&Jni::Member>(env, string, chars);                                                           \
    }
#define VEN_EXPORT_STRING_RELEASE(Member, Chars, chars, envLine)                                             \
    VEN_API void ven___##Member(JNIEnv* env, jstring string, Chars chars)                                    \
    {                                                                                                        \
        rows::Member(env, string, chars);                                                                    \
    }

// X(Member, "env" line, exception line, negative-length line): non-raising, "string" checked
// on the line after "env".
// clang-format off
#define VEN_STRING_LENGTHS(X)                                                                                \
    X(GetStringLength,    3785, 3793, 3796)                                                                  \
    X(GetStringUTFLength, 3875, 3883, 3886)
// clang-format on

#define VEN_DEFINE_STRING_LENGTH(Member, envLine, exceptionLine, negativeLine)                               \
    template <typename Guard> jsize Member(JNIEnv* env, jstring string)                                      \
    {                                                                                                        \
        checkRequired(envLine, {{env, "env"}, {string, "string"}});                                          \
        return nonRaising<&Jni::Member, Guard>(                                                              \
            env, exceptionLine, NegativeResultCheck{{negativeLine, "(*env)->" #Member "() < 0"}}, string);   \
    }
#define VEN_EXPORT_STRING_LENGTH(Member, envLine, exceptionLine, negativeLine)                               \
    VEN_API jsize ven___##Member(JNIEnv* env, jstring string)                                                \
    {                                                                                                        \
        return rows::Member<SavedException>(env, string);                                                    \
    }

// X(Member, buffer element type, "env" line): flagged, "str" and "buf" checked on the next
// two lines; start and length are the virtual machine's to check.
// clang-format off
#define VEN_STRING_REGIONS(X)                                                                                \
    X(GetStringRegion,    jchar, 3936)                                                                       \
    X(GetStringUTFRegion, char,  3963)
// clang-format on

#define VEN_DEFINE_STRING_REGION(Member, Element, envLine)                                                   \
    template <typename Guard>                                                                                \
    jboolean Member(JNIEnv* env, jstring str, jsize start, jsize len, Element* buf)                          \
    {                                                                                                        \
        checkRequired(envLine, {{env, "env"}, {str, "str"}, {buf, "buf"}});                                  \
        return flagged<&Jni::Member, Guard>(env, str, start, len, buf);                                      \
    }
#define VEN_EXPORT_STRING_REGION(Member, Element, envLine)                                                   \
    VEN_API jboolean ven___##Member(JNIEnv* env, jstring str, jsize start, jsize len, Element* buf)          \
    {                                                                                                        \
        return rows::Member<SavedException>(env, str, start, len, buf);                                      \
    }

namespace ven::wrapper::rows
{

template <typename Guard> jstring NewString(JNIEnv* env, const jchar* unicodeChars, jsize len)
{
    checkRequired(3756, {{env, "env"}});
    check(unicodeChars != nullptr || len == 0, 3757, "unicodeChars || len == 0");
    check(len >= 0, 3758, "len >= 0");
    return checkedResult<&Jni::NewString, Guard>(env, {3770, VEN_NULL_RESULT_MESSAGE(NewString)},
                                                 unicodeChars, len);
}

VEN_STRING_PINNING(VEN_DEFINE_STRING_PINNING)
VEN_STRING_RELEASES(VEN_DEFINE_STRING_RELEASE)
VEN_STRING_LENGTHS(VEN_DEFINE_STRING_LENGTH)
VEN_STRING_REGIONS(VEN_DEFINE_STRING_REGION)

} // namespace ven::wrapper::rows

namespace ven::wrapper
{

jstring settled::NewString(JNIEnv* env, const jchar* unicodeChars, jsize len)
{
    return rows::NewString<NothingPending>(env, unicodeChars, len);
}

jsize settled::GetStringLength(JNIEnv* env, jstring string)
{
    return rows::GetStringLength<NothingPending>(env, string);
}

const jchar* settled::GetStringCritical(JNIEnv* env, jstring string, jboolean* isCopy)
{
    return rows::GetStringCritical<NothingPending>(env, string, isCopy);
}

void settled::ReleaseStringCritical(JNIEnv* env, jstring string, const jchar* carray)
{
    rows::ReleaseStringCritical(env, string, carray);
}

jboolean settled::GetStringRegion(JNIEnv* env, jstring str, jsize start, jsize len, jchar* buf)
{
    return rows::GetStringRegion<NothingPending>(env, str, start, len, buf);
}

} // namespace ven::wrapper

extern "C" {

VEN_API jstring ven___NewString(JNIEnv* env, const jchar* unicodeChars, jsize len)
{
    return rows::NewString<SavedException>(env, unicodeChars, len);
}

VEN_API jstring ven___NewStringUTF(JNIEnv* env, const char* bytes)
{
    checkRequired(3847, {{env, "env"}, {bytes, "bytes"}});
    return checkedResult<&Jni::NewStringUTF>(env, {3860, VEN_NULL_RESULT_MESSAGE(NewStringUTF)}, bytes);
}

VEN_STRING_PINNING(VEN_EXPORT_STRING_PINNING)
VEN_STRING_RELEASES(VEN_EXPORT_STRING_RELEASE)
VEN_STRING_LENGTHS(VEN_EXPORT_STRING_LENGTH)
VEN_STRING_REGIONS(VEN_EXPORT_STRING_REGION)

} // extern "C"
