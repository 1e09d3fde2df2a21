// Wrappers for field lookups (checked-result calls) and the 36 field accessors (non-raising
// calls: a field access through a valid ID must not raise), one table row per field type.
#include <jni.h>

#include "ven/wrapper.h"
#include "ven/wrapper/convention.hpp"
#include "ven/wrapper/settled.hpp"

namespace ven::wrapper
{
namespace
{

// Every accessor checks "env", the object or class, "fieldID" on consecutive lines from
// `line`, and stops on a Java exception at line + 9. A setter's value is passed unchecked.
template <auto Member, typename Guard, typename Target, typename... Value>
inline JniResult<Member> accessField(int line, JNIEnv* env, Target target, const char* targetName,
                                     jfieldID fieldID, Value... value)
{
    checkRequired(line, {{env, "env"}, {target, targetName}, {fieldID, "fieldID"}});
    return nonRaising<Member, Guard>(env, line + 9, NoResultCheck{}, target, fieldID, value...);
}

} // namespace
} // namespace ven::wrapper

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

// Each row is four templates over the guard (SavedException for the exported wrappers,
// NothingPending for the settled twins).
#define VEN_DEFINE_FIELD_ACCESSORS(Type, type, getter, setter, staticGetter, staticSetter)                   \
    template <typename Guard> type Get##Type##Field(JNIEnv* env, jobject obj, jfieldID fieldID)              \
    {                                                                                                        \
        return accessField<&Jni::Get##Type##Field, Guard>(getter, env, obj, "obj", fieldID);                 \
    }                                                                                                        \
    template <typename Guard> void Set##Type##Field(JNIEnv* env, jobject obj, jfieldID fieldID, type value)  \
    {                                                                                                        \
        accessField<&Jni::Set##Type##Field, Guard>(setter, env, obj, "obj", fieldID, value);                 \
    }                                                                                                        \
    template <typename Guard> type GetStatic##Type##Field(JNIEnv* env, jclass clazz, jfieldID fieldID)       \
    {                                                                                                        \
        return accessField<&Jni::GetStatic##Type##Field, Guard>(staticGetter, env, clazz, "clazz", fieldID); \
    }                                                                                                        \
    template <typename Guard>                                                                                \
    void SetStatic##Type##Field(JNIEnv* env, jclass clazz, jfieldID fieldID, type value)                     \
    {                                                                                                        \
        accessField<&Jni::SetStatic##Type##Field, Guard>(staticSetter, env, clazz, "clazz", fieldID, value); \
    }
#define VEN_EXPORT_FIELD_ACCESSORS(Type, type, getter, setter, staticGetter, staticSetter)                   \
    VEN_API type ven___Get##Type##Field(JNIEnv* env, jobject obj, jfieldID fieldID)                          \
    {                                                                                                        \
        return rows::Get##Type##Field<SavedException>(env, obj, fieldID);                                    \
    }                                                                                                        \
    VEN_API void ven___Set##Type##Field(JNIEnv* env, jobject obj, jfieldID fieldID, type value)              \
    {                                                                                                        \
        rows::Set##Type##Field<SavedException>(env, obj, fieldID, value);                                    \
    }                                                                                                        \
    VEN_API type ven___GetStatic##Type##Field(JNIEnv* env, jclass clazz, jfieldID fieldID)                   \
    {                                                                                                        \
        return rows::GetStatic##Type##Field<SavedException>(env, clazz, fieldID);                            \
    }                                                                                                        \
    VEN_API void ven___SetStatic##Type##Field(JNIEnv* env, jclass clazz, jfieldID fieldID, type value)       \
    {                                                                                                        \
        rows::SetStatic##Type##Field<SavedException>(env, clazz, fieldID, value);                            \
    }

namespace ven::wrapper
{

namespace rows
{
VEN_FIELD_TYPES(VEN_DEFINE_FIELD_ACCESSORS)
} // namespace rows

// The object accessors under the string forms of the integration layer.
jobject settled::GetObjectField(JNIEnv* env, jobject obj, jfieldID fieldID)
{
    return rows::GetObjectField<NothingPending>(env, obj, fieldID);
}

void settled::SetObjectField(JNIEnv* env, jobject obj, jfieldID fieldID, jobject value)
{
    rows::SetObjectField<NothingPending>(env, obj, fieldID, value);
}

jobject settled::GetStaticObjectField(JNIEnv* env, jclass clazz, jfieldID fieldID)
{
    return rows::GetStaticObjectField<NothingPending>(env, clazz, fieldID);
}

void settled::SetStaticObjectField(JNIEnv* env, jclass clazz, jfieldID fieldID, jobject value)
{
    rows::SetStaticObjectField<NothingPending>(env, clazz, fieldID, value);
}

} // namespace ven::wrapper

using namespace ven::wrapper;

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

VEN_FIELD_TYPES(VEN_EXPORT_FIELD_ACCESSORS)

} // extern "C"
