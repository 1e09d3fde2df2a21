// Rows of the array bridges. raw makes the JNI calls of each bridge's required composition
// (careful code: one ExceptionCheck after each call that can raise); best is the fastest
// hand-written code for the same job, so that the cost of the composition itself shows.
// Element loops are kept out of line and aligned: their speed must not depend on where the
// compiler happened to place them.
#include <algorithm>
#include <cstring>
#include <vector>

#include "bench.hpp"

namespace ven::bench
{

namespace
{

constexpr KS_INT kElements = 1000000;
constexpr KS_INT kStrings = 1000;
constexpr KS_INT kStringLength = 16;

#define VEN_BENCH_LOOP __attribute__((noinline, aligned(64)))

// Element loops as careful code writes them for speed: blocks of a fixed trip count, which
// the compiler vectorises at -O2 (a plain loop of unknown count it leaves scalar), then the
// rest one by one.
constexpr KS_INT kBlock = 16;

VEN_BENCH_LOOP void widenInts(KS_INT* __restrict destination, const jint* __restrict source, KS_INT count)
{
    KS_INT i = 0;
    for (; count - i >= kBlock; i += kBlock) {
        for (KS_INT k = 0; k < kBlock; ++k) {
            destination[i + k] = source[i + k];
        }
    }
    for (; i < count; ++i) {
        destination[i] = source[i];
    }
}

VEN_BENCH_LOOP void copyDoubles(double* __restrict destination, const jdouble* __restrict source,
                                KS_INT count)
{
    std::memcpy(destination, source, static_cast<std::size_t>(count) * sizeof(double));
}

template <typename Obj> void deliverObject(Obj** variable, Obj* object)
{
    Obj* old = *variable;
    *variable = object;
    ksObjRelease(old);
}

// --- Vector of strings to String[] ----------------------------------------------------------------

// The best hand-written loop: String looked up once, each string encoded into a buffer on the
// stack (or a reusable one when long), NewString, SetObjectArrayElement, and the element's
// reference deleted as soon as the array holds it.
template <class P>
[[gnu::noinline]] bool newStringArrayFromKsVector(jobjectArray* result, JNIEnv* env, const ksVector* vec)
{
    P::start(env);
    const KS_INT n = ksVectorLength(vec);
    bool ok = true;
    jclass clazz = P::reference(env, ok, [&] { return env->FindClass("java/lang/String"); });
    if (!ok) {
        return false;
    }
    jobjectArray array =
        P::reference(env, ok, [&] { return env->NewObjectArray(static_cast<jsize>(n), clazz, nullptr); });
    env->DeleteLocalRef(clazz);
    replaceLocal(env, result, array);
    std::vector<jchar> longUnits;
    for (KS_INT i = 0; ok && i < n; ++i) {
        ksString* string = ksStringFrom(ksVectorObjAt(vec, i));
        jstring element = nullptr;
        if (string != nullptr) {
            const KS_INT length = ksStringLength(string);
            jchar shortUnits[2 * kShortText];
            jchar* units = shortUnits;
            if (length > kShortText) {
                longUnits.resize(static_cast<std::size_t>(2 * length));
                units = longUnits.data();
            }
            const KS_INT count = encodeInto(units, ksStringBacking(string), length);
            ksObjRelease(string);
            element = P::reference(env, ok, [&] { return env->NewString(units, static_cast<jsize>(count)); });
        }
        if (ok) {
            P::call(env, ok, [&] { env->SetObjectArrayElement(array, static_cast<jsize>(i), element); });
        }
        if (element != nullptr) {
            env->DeleteLocalRef(element);
        }
    }
    if (!ok) {
        replaceLocal(env, result, static_cast<jobjectArray>(nullptr));
    }
    return ok;
}

// --- Buffers and plain arrays to Java ---------------------------------------------------------

template <class P>
[[gnu::noinline]] bool newByteArrayFromBuffer(jbyteArray* result, JNIEnv* env, const ksBuffer* buffer)
{
    const KS_INT n = ksBufferLength(buffer);
    bool ok = true;
    replaceLocal(env, result, P::call(env, ok, [&] { return env->NewByteArray(static_cast<jsize>(n)); }));
    if (!ok) {
        return false;
    }
    P::call(env, ok, [&] {
        env->SetByteArrayRegion(*result, 0, static_cast<jsize>(n),
                                static_cast<const jbyte*>(ksBufferBacking(buffer)));
    });
    return ok;
}

template <class P>
[[gnu::noinline]] bool newDoubleArrayOf(jdoubleArray* result, JNIEnv* env, const double* source,
                                        KS_INT length)
{
    bool ok = true;
    replaceLocal(env, result,
                 P::call(env, ok, [&] { return env->NewDoubleArray(static_cast<jsize>(length)); }));
    if (!ok) {
        return false;
    }
    jdouble* elems = P::call(env, ok, [&] { return env->GetDoubleArrayElements(*result, nullptr); });
    if (!ok) {
        return false;
    }
    copyDoubles(elems, source, length);
    env->ReleaseDoubleArrayElements(*result, elems, 0);
    return true;
}

// Best: one copy, straight into the new array.
[[gnu::noinline]] bool newDoubleArrayBest(jdoubleArray* result, JNIEnv* env, const double* source,
                                          KS_INT length)
{
    bool ok = true;
    replaceLocal(env, result,
                 Careful::call(env, ok, [&] { return env->NewDoubleArray(static_cast<jsize>(length)); }));
    if (ok) {
        Careful::call(env, ok,
                      [&] { env->SetDoubleArrayRegion(*result, 0, static_cast<jsize>(length), source); });
    }
    return ok;
}

// --- Java arrays to buffers and plain arrays --------------------------------------------------

template <class P>
[[gnu::noinline]] bool byteArrayRegionAsBuffer(ksBuffer** result, JNIEnv* env, jbyteArray array, KS_INT start,
                                               KS_INT len)
{
    void* bytes = ksMemAlloc(len);
    bool ok = true;
    P::call(env, ok, [&] {
        env->GetByteArrayRegion(array, static_cast<jsize>(start), static_cast<jsize>(len),
                                static_cast<jbyte*>(bytes));
    });
    if (!ok) {
        ksMemFree(bytes);
        return false;
    }
    deliverObject(result, ksBufferCreateFromBytesUse(bytes, len));
    return true;
}

// Best for comparison: the elements read in place through the critical region.
[[gnu::noinline]] bool byteArrayRegionBest(ksBuffer** result, JNIEnv* env, jbyteArray array, KS_INT start,
                                           KS_INT len)
{
    void* bytes = ksMemAlloc(len);
    bool ok = true;
    void* elements =
        Careful::critical(env, ok, [&] { return env->GetPrimitiveArrayCritical(array, nullptr); });
    if (!ok) {
        ksMemFree(bytes);
        return false;
    }
    std::memcpy(bytes, static_cast<const jbyte*>(elements) + start, static_cast<std::size_t>(len));
    env->ReleasePrimitiveArrayCritical(array, elements, JNI_ABORT);
    deliverObject(result, ksBufferCreateFromBytesUse(bytes, len));
    return true;
}

template <class P> [[gnu::noinline]] bool primitiveArrayAsBuffer(ksBuffer** result, JNIEnv* env, jarray array)
{
    bool ok = true;
    const jsize n = P::call(env, ok, [&] { return env->GetArrayLength(array); });
    if (!ok) {
        return false;
    }
    void* elements = P::critical(env, ok, [&] { return env->GetPrimitiveArrayCritical(array, nullptr); });
    if (!ok) {
        return false;
    }
    ksBuffer* buffer = ksBufferCreateFromBytesCopy(elements, n);
    env->ReleasePrimitiveArrayCritical(array, elements, 0);
    deliverObject(result, buffer);
    return true;
}

// A primitive array into the caller's plain array: length, elements, the element loop, and
// the elements given back with JNI_ABORT. Pin and Release are JNIEnv's members for the type.
template <class P, auto Pin, auto Release, auto Copy, typename Target, typename Array>
[[gnu::noinline]] bool copyArrayElements(Target* result, JNIEnv* env, Array array, KS_INT length)
{
    bool ok = true;
    const jsize arrayLength = P::call(env, ok, [&] { return env->GetArrayLength(array); });
    if (!ok) {
        return false;
    }
    const KS_INT n = std::min<KS_INT>(arrayLength, length);
    auto* elements = P::call(env, ok, [&] { return (env->*Pin)(array, nullptr); });
    if (!ok) {
        return false;
    }
    Copy(result, elements, n);
    (env->*Release)(array, elements, JNI_ABORT);
    return true;
}

template <class P> bool copyIntArrayElements(KS_INT* result, JNIEnv* env, jintArray array, KS_INT length)
{
    return copyArrayElements<P, &JNIEnv::GetIntArrayElements, &JNIEnv::ReleaseIntArrayElements, widenInts>(
        result, env, array, length);
}

template <class P>
bool copyDoubleArrayElements(double* result, JNIEnv* env, jdoubleArray array, KS_INT length)
{
    return copyArrayElements<P, &JNIEnv::GetDoubleArrayElements, &JNIEnv::ReleaseDoubleArrayElements,
                             copyDoubles>(result, env, array, length);
}

// Best: widened straight from the array's own storage, no intermediate copy.
[[gnu::noinline]] bool copyIntArrayBest(KS_INT* result, JNIEnv* env, jintArray array, KS_INT length)
{
    bool ok = true;
    const jsize arrayLength = Careful::call(env, ok, [&] { return env->GetArrayLength(array); });
    if (!ok) {
        return false;
    }
    const KS_INT n = std::min<KS_INT>(arrayLength, length);
    void* elements =
        Careful::critical(env, ok, [&] { return env->GetPrimitiveArrayCritical(array, nullptr); });
    if (!ok) {
        return false;
    }
    widenInts(result, static_cast<const jint*>(elements), n);
    env->ReleasePrimitiveArrayCritical(array, elements, JNI_ABORT);
    return true;
}

// Best: one region copy into the caller's array.
[[gnu::noinline]] bool copyDoubleArrayBest(double* result, JNIEnv* env, jdoubleArray array, KS_INT length)
{
    bool ok = true;
    const jsize arrayLength = Careful::call(env, ok, [&] { return env->GetArrayLength(array); });
    if (ok) {
        const auto n = static_cast<jsize>(std::min<KS_INT>(arrayLength, length));
        Careful::call(env, ok, [&] { env->GetDoubleArrayRegion(array, 0, n, result); });
    }
    return ok;
}

// --- Registration -----------------------------------------------------------------------------

template <typename Array> jobject newGlobal(JNIEnv* env, Array local)
{
    jobject global = env->NewGlobalRef(local);
    env->DeleteLocalRef(local);
    return global;
}

} // namespace

void registerBridgeRows()
{
    JNIEnv* env = world().env;
    lgStream* trace = world().trace;

    // Data made once and kept for the whole run.
    static std::vector<jint> ints(kElements);
    static std::vector<double> doubles(kElements);
    static std::vector<jbyte> bytes(kElements);
    for (KS_INT i = 0; i < kElements; ++i) {
        ints[i] = static_cast<jint>(i * 2654435761u);
        doubles[i] = static_cast<double>(i) * 0.5;
        bytes[i] = static_cast<jbyte>(i * 31);
    }
    static std::vector<KS_INT> intsOut(kElements);
    static std::vector<double> doublesOut(kElements);

    jintArray localInts = env->NewIntArray(kElements);
    env->SetIntArrayRegion(localInts, 0, kElements, ints.data());
    const auto intArray = static_cast<jintArray>(newGlobal(env, localInts));
    jdoubleArray localDoubles = env->NewDoubleArray(kElements);
    env->SetDoubleArrayRegion(localDoubles, 0, kElements, doubles.data());
    const auto doubleArray = static_cast<jdoubleArray>(newGlobal(env, localDoubles));
    jbyteArray localBytes = env->NewByteArray(kElements);
    env->SetByteArrayRegion(localBytes, 0, kElements, bytes.data());
    const auto byteArray = static_cast<jbyteArray>(newGlobal(env, localBytes));
    ksBuffer* const buffer = ksBufferCreateFromBytesCopy(bytes.data(), kElements);

    ksVector* const vector = ksVectorCreate();
    const std::u32string text = U"Grüße – Καλημέρα κόσμε – 你好";
    for (KS_INT i = 0; i < kStrings; ++i) {
        std::vector<KS_CHAR> chars(kStringLength);
        for (KS_INT c = 0; c < kStringLength; ++c) {
            chars[c] = text[(i + c) % text.size()];
        }
        ksString* string = ksStringCreateFromChars(chars.data(), kStringLength);
        ksVectorAppend(vector, string);
        ksObjRelease(string);
    }

    const auto deleteRef = [env](Batch&, jobject ref) {
        if (ref != nullptr) {
            env->DeleteLocalRef(ref);
        }
    };
    const auto releaseBuffer = [](Batch& batch, ksBuffer* result) {
        failed(batch, result != nullptr && ksBufferLength(result) == kElements, "wrong buffer length");
        ksObjRelease(result);
    };
    const auto checkInts = [](Batch& batch, KS_INT*) {
        failed(batch, intsOut[kElements - 1] == ints[kElements - 1], "the ints were not copied");
    };
    const auto checkDoubles = [](Batch& batch, double*) {
        failed(batch, doublesOut[kElements - 1] == doubles[kElements - 1], "the doubles were not copied");
    };

    const char* strings = "NewStringArrayFromKsVector/1000";
    const double stringBytes = kStrings * kStringLength * sizeof(jchar);
    resultRow<jobjectArray>(
        "raw", strings, [=](jobjectArray* r) { return newStringArrayFromKsVector<Careful>(r, env, vector); },
        deleteRef, stringBytes);
    resultRow<jobjectArray>(
        "min", strings,
        [=](jobjectArray* r) { return newStringArrayFromKsVector<ComposedFloor>(r, env, vector); },
        deleteRef, stringBytes);
    resultRow<jobjectArray>(
        "ven", strings,
        [=](jobjectArray* r) { return venNewStringArrayFromKsVector(r, env, trace, vector) == KS_TRUE; },
        deleteRef, stringBytes);


    const char* toBytes = "NewByteArrayFromBuffer/1000000";
    resultRow<jbyteArray>(
        "raw", toBytes, [=](jbyteArray* r) { return newByteArrayFromBuffer<Careful>(r, env, buffer); },
        deleteRef, kElements);
    resultRow<jbyteArray>(
        "min", toBytes, [=](jbyteArray* r) { return newByteArrayFromBuffer<Floor>(r, env, buffer); },
        deleteRef, kElements);
    resultRow<jbyteArray>(
        "ven", toBytes,
        [=](jbyteArray* r) { return venNewByteArrayFromBuffer(r, env, trace, buffer) == KS_TRUE; }, deleteRef,
        kElements);

    const char* toDoubles = "NewDoubleArrayOf/1000000";
    const double doubleBytes = kElements * sizeof(double);
    const double* source = doubles.data();
    resultRow<jdoubleArray>(
        "raw", toDoubles,
        [=](jdoubleArray* r) { return newDoubleArrayOf<Careful>(r, env, source, kElements); }, deleteRef,
        doubleBytes);
    resultRow<jdoubleArray>(
        "min", toDoubles, [=](jdoubleArray* r) { return newDoubleArrayOf<Floor>(r, env, source, kElements); },
        deleteRef, doubleBytes);
    resultRow<jdoubleArray>(
        "ven", toDoubles,
        [=](jdoubleArray* r) { return venNewDoubleArrayOf(r, env, trace, source, kElements) == KS_TRUE; },
        deleteRef, doubleBytes);
    resultRow<jdoubleArray>(
        "best", toDoubles, [=](jdoubleArray* r) { return newDoubleArrayBest(r, env, source, kElements); },
        deleteRef, doubleBytes);

    const char* region = "GetByteArrayRegionAsBuffer/1000000";
    resultRow<ksBuffer*>(
        "raw", region,
        [=](ksBuffer** r) { return byteArrayRegionAsBuffer<Careful>(r, env, byteArray, 0, kElements); },
        releaseBuffer, kElements);
    resultRow<ksBuffer*>(
        "min", region,
        [=](ksBuffer** r) { return byteArrayRegionAsBuffer<Floor>(r, env, byteArray, 0, kElements); },
        releaseBuffer, kElements);
    resultRow<ksBuffer*>(
        "ven", region,
        [=](ksBuffer** r) {
            return venGetByteArrayRegionAsBuffer(r, env, trace, byteArray, 0, kElements) == KS_TRUE;
        },
        releaseBuffer, kElements);
    resultRow<ksBuffer*>(
        "best", region, [=](ksBuffer** r) { return byteArrayRegionBest(r, env, byteArray, 0, kElements); },
        releaseBuffer, kElements);

    const char* whole = "GetPrimitiveArrayAsKsBuffer/1000000";
    resultRow<ksBuffer*>(
        "raw", whole, [=](ksBuffer** r) { return primitiveArrayAsBuffer<Careful>(r, env, byteArray); },
        releaseBuffer, kElements);
    resultRow<ksBuffer*>(
        "min", whole, [=](ksBuffer** r) { return primitiveArrayAsBuffer<Floor>(r, env, byteArray); },
        releaseBuffer, kElements);
    resultRow<ksBuffer*>(
        "ven", whole,
        [=](ksBuffer** r) { return venGetPrimitiveArrayAsKsBuffer(r, env, trace, byteArray) == KS_TRUE; },
        releaseBuffer, kElements);

    // The plain arrays are the caller's: each row writes into the same one.
    KS_INT* const intTarget = intsOut.data();
    const char* copyInts = "CopyIntArrayElements/1000000";
    const double intBytes = kElements * sizeof(jint);
    resultRow<KS_INT*>(
        "raw", copyInts,
        [=](KS_INT**) { return copyIntArrayElements<Careful>(intTarget, env, intArray, kElements); },
        checkInts, intBytes);
    resultRow<KS_INT*>(
        "min", copyInts,
        [=](KS_INT**) { return copyIntArrayElements<Floor>(intTarget, env, intArray, kElements); }, checkInts,
        intBytes);
    resultRow<KS_INT*>(
        "ven", copyInts,
        [=](KS_INT**) {
            return venCopyIntArrayElements(intTarget, env, trace, intArray, kElements) == KS_TRUE;
        },
        checkInts, intBytes);
    resultRow<KS_INT*>(
        "best", copyInts, [=](KS_INT**) { return copyIntArrayBest(intTarget, env, intArray, kElements); },
        checkInts, intBytes);

    double* const doubleTarget = doublesOut.data();
    const char* copyDoublesOp = "CopyDoubleArrayElements/1000000";
    resultRow<double*>(
        "raw", copyDoublesOp,
        [=](double**) { return copyDoubleArrayElements<Careful>(doubleTarget, env, doubleArray, kElements); },
        checkDoubles, doubleBytes);
    resultRow<double*>(
        "min", copyDoublesOp,
        [=](double**) { return copyDoubleArrayElements<Floor>(doubleTarget, env, doubleArray, kElements); },
        checkDoubles, doubleBytes);
    resultRow<double*>(
        "ven", copyDoublesOp,
        [=](double**) {
            return venCopyDoubleArrayElements(doubleTarget, env, trace, doubleArray, kElements) == KS_TRUE;
        },
        checkDoubles, doubleBytes);
    resultRow<double*>(
        "best", copyDoublesOp,
        [=](double**) { return copyDoubleArrayBest(doubleTarget, env, doubleArray, kElements); },
        checkDoubles, doubleBytes);
}

} // namespace ven::bench
