// Wrappers for field lookups (checked-result calls) and the 36 field accessors (non-raising
// calls: a field access through a valid ID must not raise), one table row per field type.
#include <jni.h>

#include "ven/wrapper.h"
#include "ven/wrapper/convention.hpp"

namespace ven::wrapper
{
namespace
{

// Every accessor checks "env", the object or class, "fieldID" on consecutive lines from
// `line`, and stops on a Java exception at line + 9. A setter's value is passed unchecked.
template <auto Member, typename Target, typename... Value>
inline JniResult<Member> accessField(int line, JNIEnv* env, Target target, const char* targetName,
                                     jfieldID fieldID, Value... value)
{
    checkRequired(line, {{env, "env"}, {target, targetName}, {fieldID, "fieldID"}});
    return nonRaising<Member>(env, line + 9, NoResultCheck{}, target, fieldID, value...);
}

} // namespace
} // namespace ven::wrapper

using namespace ven::wrapper;

// X(Type, type, getter, setter, static getter, static setter): the line of each accessor's
// "env" check.
// clang-format off
#define VEN_FIELD_TYPES(X)                                                                                   \
    X(Object,  jobject,  584, 781, 2578, 2775)                                                               \
    X(Boolean, jboolean, 606, 802, 2600, 2796)                                                               \
    X(Byte,    jbyte,    628, 823, 2622, 2817)                                                               \
    X(Char,    jchar,    650, 844, 2644, 2838)                                                               \
    X(Short,   jshort,   672, 865, 2666, 2859)                                                               \
    X(Int,     jint,     694, 886, 2688, 2880)                                                               \
    X(Long,    jlong,    716, 907, 2710, 2901)                                                               \
    X(Float,   jfloat,   738, 928, 2732, 2922)                                                               \
    X(Double,  jdouble,  760, 949, 2754, 2943)
// clang-format on

#define VEN_DEFINE_FIELD_ACCESSORS(Type, type, getter, setter, staticGetter, staticSetter)                   \
    VEN_API type ven___Get##Type##Field(JNIEnv* env, jobject obj, jfieldID fieldID)                          \
    {                                                                                                        \
        return accessField<&Jni::Get##Type##Field>(getter, env, obj, "obj", fieldID);                        \
    }                                                                                                        \
    VEN_API void ven___Set##Type##Field(JNIEnv* env, jobject obj, jfieldID fieldID, type value)              \
    {                                                                                                        \
        accessField<&Jni::Set##Type##Field>(setter, env, obj, "obj", fieldID, value);                        \
    }                                                                                                        \
    VEN_API type ven___GetStatic##Type##Field(JNIEnv* env, jclass clazz, jfieldID fieldID)                   \
    {                                                                                                        \
        return accessField<&Jni::GetStatic##Type##Field>(staticGetter, env, clazz, "clazz", fieldID);        \
    }                                                                                                        \
    VEN_API void ven___SetStatic##Type##Field(JNIEnv* env, jclass clazz, jfieldID fieldID, type value)       \
    {                                                                                                        \
        accessField<&Jni::SetStatic##Type##Field>(staticSetter, env, clazz, "clazz", fieldID, value);        \
    }

extern "C" {

VEN_API jfieldID ven___GetFieldID(JNIEnv* env, jclass clazz, const char* name, const char* sig)
{
    checkRequired(554, {{env, "env"}, {clazz, "clazz"}, {name, "name"}, {sig, "sig"}});
    return checkedResult<&Jni::GetFieldID>(env, {569, VEN_NULL_RESULT_MESSAGE(GetFieldID)}, clazz, name, sig);
}

VEN_API jfieldID ven___GetStaticFieldID(JNIEnv* env, jclass clazz, const char* name, const char* sig)
{
    checkRequired(2548, {{env, "env"}, {clazz, "clazz"}, {name, "name"}, {sig, "sig"}});
    return checkedResult<&Jni::GetStaticFieldID>(env, {2563, VEN_NULL_RESULT_MESSAGE(GetStaticFieldID)},
                                                 clazz, name, sig);
}

VEN_FIELD_TYPES(VEN_DEFINE_FIELD_ACCESSORS)

} // extern "C"
