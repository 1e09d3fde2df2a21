// Integration arrays: length, object arrays, the five functions of each primitive element
// type (create, pin, release, region read, region write) and the critical pair. Lengths,
// indexes and start positions are range-tested to jsize; element data passes unconverted.
#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/arrays.h"
#include "ven/checks.hpp"
#include "ven/integration.h"
#include "ven/integration/array_table.hpp"
#include "ven/integration/convention.hpp"
#include "ven/integration/settled.hpp"
#include "ven/wrapper.h"
#include "ven/wrapper/settled.hpp"

namespace ven::integration
{
namespace
{

Requirement releaseMode(jint mode)
{
    return {isReleaseMode(mode), kReleaseModeCondition};
}

template <auto Create, typename Array>
KS_BOOL createArray(const char* function, Array* result, JNIEnv* env, lgStream* trace, KS_INT length)
{
    if (!checkArguments(env, trace, function,
                        {{result != nullptr, "result != NULL"},
                         {length >= 0, "length >= 0"},
                         VEN_RANGE_REQUIREMENT(VEN_KS_INT_TO_JSIZE_CONV_OK, length)})) {
        return KS_FALSE;
    }
    return deliverLocalRefOrFail(env, trace, function, result, Create(env, static_cast<jsize>(length)));
}

inline void reportCopy(KS_BOOL* isCopy, jboolean copied)
{
    *isCopy = toKsBool(copied);
}
inline void reportCopy(jboolean* isCopy, jboolean copied)
{
    *isCopy = copied == JNI_TRUE ? JNI_TRUE : JNI_FALSE;
}

// *isCopy is set also after a failed call; the flag starts false since JNI may leave it unwritten.
template <auto Pin, typename Element, typename Array, typename CopyFlag>
KS_BOOL pinElements(const char* function, Element** result, JNIEnv* env, lgStream* trace, Array array,
                    CopyFlag* isCopy)
{
    if (!checkArguments(env, trace, function,
                        {{result != nullptr, "result != NULL"}, {array != nullptr, "array != NULL"}})) {
        return KS_FALSE;
    }
    jboolean copied = JNI_FALSE;
    *result = Pin(env, array, &copied);
    if (isCopy != nullptr) {
        reportCopy(isCopy, copied);
    }
    return *result != nullptr ? KS_TRUE : jniFailure(env, trace, function);
}

// Unlike the string releases, a NULL pointer is refused; the wrapper's own mode check is
// never reached from here.
template <auto Release, typename Element, typename Array>
KS_BOOL releaseElements(const char* function, const char* pointerCondition, JNIEnv* env, lgStream* trace,
                        Array array, Element* elements, jint mode)
{
    if (!checkArguments(env, trace, function,
                        {{array != nullptr, "array != NULL"},
                         {elements != nullptr, pointerCondition},
                         releaseMode(mode)})) {
        return KS_FALSE;
    }
    Release(env, array, elements, mode);
    return KS_TRUE;
}

// No sign test: the virtual machine raises its bounds exception for a negative start or length.
template <auto Copy, typename Array, typename Buffer>
KS_BOOL copyRegion(const char* function, JNIEnv* env, lgStream* trace, Array array, KS_INT start, KS_INT len,
                   Buffer* buf)
{
    if (!checkArguments(env, trace, function,
                        {{array != nullptr, "array != NULL"},
                         VEN_RANGE_REQUIREMENT(VEN_KS_INT_TO_JSIZE_CONV_OK, start),
                         VEN_RANGE_REQUIREMENT(VEN_KS_INT_TO_JSIZE_CONV_OK, len),
                         {buf != nullptr, "buf != NULL"}})) {
        return KS_FALSE;
    }
    if (Copy(env, array, static_cast<jsize>(start), static_cast<jsize>(len), buf) != JNI_TRUE) {
        return jniFailure(env, trace, function);
    }
    return KS_TRUE;
}

} // namespace
} // namespace ven::integration

using namespace ven::integration;

#define VEN_DEFINE_ARRAY_New(name, wrapper, Element, Array)                                                  \
    extern "C" KS_BOOL name(Array* result, JNIEnv* env, lgStream* trace, KS_INT length)                      \
    {                                                                                                        \
        return createArray<wrapper>(#name, result, env, trace, length);                                      \
    }
#define VEN_DEFINE_ARRAY_Pin(name, wrapper, Element, Array)                                                  \
    extern "C" KS_BOOL name(Element** result, JNIEnv* env, lgStream* trace, Array array, KS_BOOL* isCopy)    \
    {                                                                                                        \
        return pinElements<wrapper>(#name, result, env, trace, array, isCopy);                               \
    }
#define VEN_DEFINE_ARRAY_Release(name, wrapper, Element, Array)                                              \
    extern "C" KS_BOOL name(JNIEnv* env, lgStream* trace, Array array, Element* elems, jint mode)            \
    {                                                                                                        \
        return releaseElements<wrapper>(#name, "elems != NULL", env, trace, array, elems, mode);             \
    }
#define VEN_DEFINE_ARRAY_GetRegion(name, wrapper, Element, Array)                                            \
    extern "C" KS_BOOL name(JNIEnv* env, lgStream* trace, Array array, KS_INT start, KS_INT len,             \
                            Element* buf)                                                                    \
    {                                                                                                        \
        return copyRegion<wrapper>(#name, env, trace, array, start, len, buf);                               \
    }
#define VEN_DEFINE_ARRAY_SetRegion(name, wrapper, Element, Array)                                            \
    extern "C" KS_BOOL name(JNIEnv* env, lgStream* trace, Array array, KS_INT start, KS_INT len,             \
                            const Element* buf)                                                              \
    {                                                                                                        \
        return copyRegion<wrapper>(#name, env, trace, array, start, len, buf);                               \
    }
#define VEN_DEFINE_ARRAY(kind, name, wrapper, Element, Array)                                                \
    VEN_DEFINE_ARRAY_##kind(name, wrapper, Element, Array)

VEN_ARRAY_FUNCTIONS(VEN_DEFINE_ARRAY)

extern "C" KS_BOOL venGetPrimitiveArrayCritical(void** result, JNIEnv* env, lgStream* trace, jarray array,
                                                jboolean* isCopy)
{
    return pinElements<ven___GetPrimitiveArrayCritical>("venGetPrimitiveArrayCritical", result, env, trace,
                                                        array, isCopy);
}

extern "C" KS_BOOL venReleasePrimitiveArrayCritical(JNIEnv* env, lgStream* trace, jarray array, void* carray,
                                                    jint mode)
{
    return releaseElements<ven___ReleasePrimitiveArrayCritical>(
        "venReleasePrimitiveArrayCritical", "carray != NULL", env, trace, array, carray, mode);
}

// The wrapper stops the process if the length call raises, so there is no failure to trace.
extern "C" KS_BOOL venGetArrayLength(KS_INT* result, JNIEnv* env, lgStream* trace, jarray array)
{
    if (!checkArguments(env, trace, "venGetArrayLength",
                        {{result != nullptr, "result != NULL"}, {array != nullptr, "array != NULL"}})) {
        return KS_FALSE;
    }
    *result = ven___GetArrayLength(env, array);
    return KS_TRUE;
}

namespace
{

template <jobjectArray (*create)(JNIEnv*, jsize, jclass, jobject)>
KS_BOOL newObjectArray(jobjectArray* result, JNIEnv* env, lgStream* trace, KS_INT length, jclass elementClass,
                       jobject initialElement)
{
    constexpr const char* function = "venNewObjectArray";
    if (!checkArguments(env, trace, function,
                        {{result != nullptr, "result != NULL"},
                         {length >= 0, "length >= 0"},
                         VEN_RANGE_REQUIREMENT(VEN_KS_INT_TO_JSIZE_CONV_OK, length),
                         {elementClass != nullptr, "elementClass != NULL"}})) {
        return KS_FALSE;
    }
    return deliverLocalRefOrFail(env, trace, function, result,
                                 create(env, static_cast<jsize>(length), elementClass, initialElement));
}

template <jboolean (*store)(JNIEnv*, jobjectArray, jsize, jobject)>
KS_BOOL setObjectArrayElement(JNIEnv* env, lgStream* trace, jobjectArray array, KS_INT index, jobject value)
{
    constexpr const char* function = "venSetObjectArrayElement";
    if (!checkArguments(env, trace, function,
                        {{array != nullptr, "array != NULL"},
                         VEN_RANGE_REQUIREMENT(VEN_KS_INT_TO_JSIZE_CONV_OK, index)})) {
        return KS_FALSE;
    }
    if (store(env, array, static_cast<jsize>(index), value) != JNI_TRUE) {
        return jniFailure(env, trace, function);
    }
    return KS_TRUE;
}

} // namespace

extern "C" KS_BOOL venNewObjectArray(jobjectArray* result, JNIEnv* env, lgStream* trace, KS_INT length,
                                     jclass elementClass, jobject initialElement)
{
    return newObjectArray<ven___NewObjectArray>(result, env, trace, length, elementClass, initialElement);
}

extern "C" KS_BOOL venSetObjectArrayElement(JNIEnv* env, lgStream* trace, jobjectArray array, KS_INT index,
                                            jobject value)
{
    return setObjectArrayElement<ven___SetObjectArrayElement>(env, trace, array, index, value);
}

KS_BOOL ven::integration::settled::newObjectArray(jobjectArray* result, JNIEnv* env, lgStream* trace,
                                                  KS_INT length, jclass elementClass, jobject initialElement)
{
    return ::newObjectArray<ven::wrapper::settled::NewObjectArray>(result, env, trace, length, elementClass,
                                                                   initialElement);
}

KS_BOOL ven::integration::settled::setObjectArrayElement(JNIEnv* env, lgStream* trace, jobjectArray array,
                                                         KS_INT index, jobject value)
{
    return ::setObjectArrayElement<ven::wrapper::settled::SetObjectArrayElement>(env, trace, array, index,
                                                                                 value);
}
