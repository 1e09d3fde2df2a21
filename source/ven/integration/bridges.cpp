// Array bridges: whole vectors of strings, buffers and plain arrays moved across in one
// call. They compose integration functions and ks operations only; the functions they call
// report and trace their own failures under their own names.
#include <cstring>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/arrays.h"
#include "ven/bridges.h"
#include "ven/integration.h"
#include "ven/integration/convention.hpp"
#include "ven/integration/settled.hpp"
#include "ven/java/lang/string.h"

using namespace ven::integration;

namespace
{

// Path: the exported calls, or their settled twins when nothing was pending at the start. A NULL
// element stays a NULL entry of the array.
template <typename Path>
KS_BOOL newStringArray(jobjectArray* result, JNIEnv* env, lgStream* trace, ksVector* vec)
{
    const KS_INT length = ksVectorLength(vec);
    jclass stringClass = nullptr;
    jstring element = nullptr;
    bool ok = Path::template call<venStringGetClass>(&stringClass, env, trace) &&
              Path::template call<venNewObjectArray>(result, env, trace, length, stringClass, nullptr);
    for (KS_INT index = 0; ok && index < length; ++index) {
        ksString* text = ksStringFrom(ksVectorObjAt(vec, index));
        ok = Path::fromKsString(&element, env, trace, text) &&
             Path::template call<venSetObjectArrayElement>(env, trace, *result, index, element);
        ksObjRelease(text);
        // Once the array holds it, the element's own reference goes: with the class and the
        // array that is three local references at most, however long the vector.
        deleteLocal(env, element);
        element = nullptr;
    }
    deleteLocal(env, stringClass);
    if (!ok) {
        // Also lets go of the caller's entry reference when the array was never created.
        deliverLocalRef(env, result, static_cast<jobjectArray>(nullptr));
        return KS_FALSE;
    }
    return KS_TRUE;
}

} // namespace

extern "C" KS_BOOL venNewStringArrayFromKsVector(jobjectArray* result, JNIEnv* env, lgStream* trace,
                                                 ksVector* vec)
{
    if (!checkArguments(env, trace, "venNewStringArrayFromKsVector",
                        {{result != nullptr, "result != NULL"}, {vec != nullptr, "vec != NULL"}})) {
        return KS_FALSE;
    }
    return composed(env, [&]<typename Path>() { return newStringArray<Path>(result, env, trace, vec); });
}

// Reports its own argument failures under the name of the function it grew out of.
extern "C" KS_BOOL venNewByteArrayFromBuffer(jbyteArray* result, JNIEnv* env, lgStream* trace,
                                             ksBuffer* buffer)
{
    if (!checkArguments(env, trace, "venNewByteArray",
                        {{result != nullptr, "result != NULL"}, {buffer != nullptr, "buffer != NULL"}})) {
        return KS_FALSE;
    }
    const KS_INT length = ksBufferLength(buffer);
    if (!venNewByteArray(result, env, trace, length)) {
        return KS_FALSE;
    }
    // Nothing to copy from an empty buffer, whose backing need not be a valid pointer.
    if (length == 0) {
        return KS_TRUE;
    }
    return venSetByteArrayRegion(env, trace, *result, 0, length,
                                 static_cast<const jbyte*>(ksBufferBacking(buffer)));
}

// source is the only argument tested here; result and length are tested by venNewDoubleArray.
extern "C" KS_BOOL venNewDoubleArrayOf(jdoubleArray* result, JNIEnv* env, lgStream* trace,
                                       const double* source, KS_INT length)
{
    if (!checkArguments(env, trace, "venNewDoubleArrayOf", {{source != nullptr, "source != NULL"}})) {
        return KS_FALSE;
    }
    if (!venNewDoubleArray(result, env, trace, length)) {
        return KS_FALSE;
    }
    jdouble* elements = nullptr;
    if (!venGetDoubleArrayElements(&elements, env, trace, *result, nullptr)) {
        return KS_FALSE;
    }
    std::memcpy(elements, source, static_cast<std::size_t>(length) * sizeof(jdouble));
    return venReleaseDoubleArrayElements(env, trace, *result, elements, 0);
}

// The virtual machine writes the bytes straight into the block that the buffer adopts.
extern "C" KS_BOOL venGetByteArrayRegionAsBuffer(ksBuffer** result, JNIEnv* env, lgStream* trace,
                                                 jbyteArray array, KS_INT start, KS_INT len)
{
    if (!checkArguments(env, trace, "venGetByteArrayRegionAsBytes",
                        {{result != nullptr, "result != ((void *)0)"}, {len >= 0, "len >= 0"}})) {
        return KS_FALSE;
    }
    // A length beyond jsize is refused by the region call before it looks at the block, so
    // no block is allocated for it.
    void* bytes = VEN_KS_INT_TO_JSIZE_CONV_OK(len) ? ksMemAlloc(len) : nullptr;
    if (!venGetByteArrayRegion(env, trace, array, start, len, static_cast<jbyte*>(bytes))) {
        ksMemFree(bytes);
        return KS_FALSE;
    }
    deliverObject(result, ksBufferCreateFromBytesUse(bytes, len));
    return KS_TRUE;
}

// Sized by the element count: a byte[] or boolean[] arrives whole, wider elements only in part.
extern "C" KS_BOOL venGetPrimitiveArrayAsKsBuffer(ksBuffer** result, JNIEnv* env, lgStream* trace,
                                                  jarray array)
{
    if (!checkArguments(env, trace, "venArrayToKsBuffer", {{result != nullptr, "result != ((void *)0)"}})) {
        return KS_FALSE;
    }
    KS_INT length = 0;
    if (!venGetArrayLength(&length, env, trace, array)) {
        return KS_FALSE;
    }
    void* elements = nullptr;
    if (!venGetPrimitiveArrayCritical(&elements, env, trace, array, nullptr)) {
        return KS_FALSE;
    }
    // The critical region holds for one copy into a new buffer and no JNI call.
    ksBuffer* copy = ksBufferCreateFromBytesCopy(elements, length);
    if (!venReleasePrimitiveArrayCritical(env, trace, array, elements, 0)) {
        ksObjRelease(copy);
        return KS_FALSE;
    }
    ksObjRetain(copy);
    deliverObject(result, copy);
    ksObjRelease(copy);
    return KS_TRUE;
}

namespace
{

// Element by element, widened, in blocks of a fixed count: the compiler vectorises a loop
// of known trip count at -O2 (one of unknown count it leaves scalar), then the rest.
template <typename Target, typename Element>
void copyWidened(Target* __restrict result, const Element* __restrict elements, KS_INT count)
{
    constexpr KS_INT kBlock = 16;
    KS_INT i = 0;
    for (; count - i >= kBlock; i += kBlock) {
        for (KS_INT k = 0; k < kBlock; ++k) {
            result[i + k] = elements[i + k];
        }
    }
    for (; i < count; ++i) {
        result[i] = elements[i];
    }
}

// Copies min(length, array length) elements, widened to the caller's type; the elements
// are given back with JNI_ABORT, since nothing was written to them.
template <typename Element, auto Pin, auto Release, typename Array, typename Target>
KS_BOOL copyArrayElements(const char* function, Target* result, JNIEnv* env, lgStream* trace, Array array,
                          KS_INT length)
{
    if (!checkArguments(env, trace, function,
                        {{result != nullptr, "result != NULL"}, {length >= 0, "length >= 0"}})) {
        return KS_FALSE;
    }
    KS_INT arrayLength = 0;
    if (!venGetArrayLength(&arrayLength, env, trace, array)) {
        return KS_FALSE;
    }
    const KS_INT count = ksIntMin(arrayLength, length);
    Element* elements = nullptr;
    if (!Pin(&elements, env, trace, array, nullptr)) {
        return KS_FALSE;
    }
    copyWidened(result, elements, count);
    return Release(env, trace, array, elements, JNI_ABORT);
}

} // namespace

extern "C" KS_BOOL venCopyIntArrayElements(KS_INT* result, JNIEnv* env, lgStream* trace, jintArray array,
                                           KS_INT length)
{
    return copyArrayElements<jint, venGetIntArrayElements, venReleaseIntArrayElements>(
        "venCopyIntArrayElements", result, env, trace, array, length);
}

extern "C" KS_BOOL venCopyDoubleArrayElements(double* result, JNIEnv* env, lgStream* trace,
                                              jdoubleArray array, KS_INT length)
{
    return copyArrayElements<jdouble, venGetDoubleArrayElements, venReleaseDoubleArrayElements>(
        "venCopyDoubleArrayElements", result, env, trace, array, length);
}
