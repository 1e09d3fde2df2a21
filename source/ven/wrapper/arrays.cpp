// Wrappers for the JNI array functions: the five functions of each primitive element type,
// one table row per type, and the length, object-array and critical functions.
#include <jni.h>

#include "ven/wrapper.h"
#include "ven/wrapper/convention.hpp"
#include "ven/wrapper/settled.hpp"

namespace ven::wrapper
{

template <typename Guard>
jobjectArray newObjectArray(JNIEnv* env, jsize length, jclass elementClass, jobject initialElement)
{
    checkRequired(4051, {{env, "env"}});
    check(length >= 0, 4052, "length >= 0");
    checkRequired(4053, {{elementClass, "elementClass"}});
    return checkedResult<&Jni::NewObjectArray, Guard>(env, {4065, VEN_NULL_RESULT_MESSAGE(NewObjectArray)},
                                                      length, elementClass, initialElement);
}

template <typename Guard>
jboolean setObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index, jobject value)
{
    checkRequired(4080, {{env, "env"}, {array, "array"}});
    return flagged<&Jni::SetObjectArrayElement, Guard>(env, array, index, value);
}

jobjectArray settled::NewObjectArray(JNIEnv* env, jsize length, jclass elementClass, jobject initialElement)
{
    return newObjectArray<NothingPending>(env, length, elementClass, initialElement);
}

jboolean settled::SetObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index, jobject value)
{
    return setObjectArrayElement<NothingPending>(env, array, index, value);
}

} // namespace ven::wrapper

using namespace ven::wrapper;

// X(Type, type, New, GetElements, ReleaseElements, GetRegion, SetRegion): the line L of each
// function's "env" check. Its other lines follow from L:
//   New<Type>Array:            "length >= 0" L+1; consistency L+13 (checked-result)
//   Get<Type>ArrayElements:    "array" L+1; consistency L+13 (checked-result)
//   Release<Type>ArrayElements: "array" L+1, "elems" L+2, the mode L+3 (direct)
//   Get/Set<Type>ArrayRegion:  "array" L+1, "buf" L+2 (flagged)
// clang-format off
#define VEN_PRIMITIVE_ARRAY_TYPES(X)                                                                         \
    X(Boolean, jboolean, 4106, 4330, 4551, 4626, 4842)                                                       \
    X(Byte,    jbyte,    4134, 4358, 4560, 4653, 4869)                                                       \
    X(Char,    jchar,    4162, 4386, 4569, 4680, 4896)                                                       \
    X(Short,   jshort,   4190, 4414, 4578, 4707, 4923)                                                       \
    X(Int,     jint,     4218, 4442, 4587, 4734, 4950)                                                       \
    X(Long,    jlong,    4246, 4470, 4596, 4761, 4977)                                                       \
    X(Float,   jfloat,   4274, 4498, 4605, 4788, 5004)                                                       \
    X(Double,  jdouble,  4302, 4526, 4614, 4815, 5031)
// clang-format on

#define VEN_DEFINE_PRIMITIVE_ARRAY_FUNCTIONS(Type, type, newLine, getElementsLine, releaseLine,              \
                                             getRegionLine, setRegionLine)                                   \
    VEN_API type##Array ven___New##Type##Array(JNIEnv* env, jsize length)                                    \
    {                                                                                                        \
        checkRequired(newLine, {{env, "env"}});                                                              \
        check(length >= 0, newLine + 1, "length >= 0");                                                      \
        return checkedResult<&Jni::New##Type##Array>(                                                        \
            env, {newLine + 13, VEN_NULL_RESULT_MESSAGE(New##Type##Array)}, length);                         \
    }                                                                                                        \
    VEN_API type* ven___Get##Type##ArrayElements(JNIEnv* env, type##Array array, jboolean* isCopy)           \
    {                                                                                                        \
        checkRequired(getElementsLine, {{env, "env"}, {array, "array"}});                                    \
        return checkedResult<&Jni::Get##Type##ArrayElements>(                                                \
            env, {getElementsLine + 13, VEN_NULL_RESULT_MESSAGE(Get##Type##ArrayElements)}, array, isCopy);  \
    }                                                                                                        \
    VEN_API void ven___Release##Type##ArrayElements(JNIEnv* env, type##Array array, type* elems, jint mode)  \
    {                                                                                                        \
        checkRequired(releaseLine, {{env, "env"}, {array, "array"}, {elems, "elems"}});                      \
        check(ven::isReleaseMode(mode), releaseLine + 3, ven::kReleaseModeCondition);                        \
        callJni<&Jni::Release##Type##ArrayElements>(env, array, elems, mode);                                \
    }                                                                                                        \
    VEN_API jboolean ven___Get##Type##ArrayRegion(JNIEnv* env, type##Array array, jsize start, jsize len,    \
                                                  type* buf)                                                 \
    {                                                                                                        \
        checkRequired(getRegionLine, {{env, "env"}, {array, "array"}, {buf, "buf"}});                        \
        return flagged<&Jni::Get##Type##ArrayRegion>(env, array, start, len, buf);                           \
    }                                                                                                        \
    VEN_API jboolean ven___Set##Type##ArrayRegion(JNIEnv* env, type##Array array, jsize start, jsize len,    \
                                                  const type* buf)                                           \
    {                                                                                                        \
        checkRequired(setRegionLine, {{env, "env"}, {array, "array"}, {buf, "buf"}});                        \
        return flagged<&Jni::Set##Type##ArrayRegion>(env, array, start, len, buf);                           \
    }

extern "C" {

VEN_API jsize ven___GetArrayLength(JNIEnv* env, jarray array)
{
    checkRequired(4026, {{env, "env"}, {array, "array"}});
    // This message names the argument where its siblings name the JNI function.
    return nonRaising<&Jni::GetArrayLength>(env, 4034, NegativeResultCheck{{4037, "(*env)->array() < 0"}},
                                            array);
}

VEN_API jobjectArray ven___NewObjectArray(JNIEnv* env, jsize length, jclass elementClass,
                                          jobject initialElement)
{
    return newObjectArray<SavedException>(env, length, elementClass, initialElement);
}

VEN_API jboolean ven___SetObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index, jobject value)
{
    return setObjectArrayElement<SavedException>(env, array, index, value);
}

VEN_API void* ven___GetPrimitiveArrayCritical(JNIEnv* env, jarray array, jboolean* isCopy)
{
    checkRequired(5058, {{env, "env"}, {array, "array"}});
    return checkedResult<&Jni::GetPrimitiveArrayCritical>(
        env, {5071, VEN_NULL_RESULT_MESSAGE(GetPrimitiveArrayCritical)}, array, isCopy);
}

VEN_API void ven___ReleasePrimitiveArrayCritical(JNIEnv* env, jarray array, void* carray, jint mode)
{
    checkRequired(5083, {{env, "env"}, {array, "array"}, {carray, "carray"}});
    check(ven::isReleaseMode(mode), 5086, ven::kReleaseModeCondition);
    callJni<&Jni::ReleasePrimitiveArrayCritical>(env, array, carray, mode);
}

VEN_PRIMITIVE_ARRAY_TYPES(VEN_DEFINE_PRIMITIVE_ARRAY_FUNCTIONS)

} // extern "C"
