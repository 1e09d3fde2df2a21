// The array bridges: each one's success and failure paths, its own argument texts (three
// differ from the exported names), ownership of what it delivers, and the local references
// it leaves behind, for a vector of 10,000 strings among others.
#include <array>
#include <cstdint>
#include <limits>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

using BridgesTest = JvmTest;

std::vector<jbyte> bytesOf(JNIEnv* env, jbyteArray array)
{
    std::vector<jbyte> bytes(static_cast<std::size_t>(env->GetArrayLength(array)));
    env->GetByteArrayRegion(array, 0, static_cast<jsize>(bytes.size()), bytes.data());
    return bytes;
}

std::vector<jbyte> bytesOf(const ksBuffer* buffer)
{
    const auto* bytes = static_cast<const jbyte*>(ksBufferBacking(buffer));
    return {bytes, bytes + ksBufferLength(buffer)};
}

KsRef<ksBuffer> bufferOf(const char* bytes, KS_INT length)
{
    return KsRef<ksBuffer>{ksBufferCreateFromBytesCopy(bytes, length)};
}

// Each bridge's own conditions in order, then the first condition of the call it makes;
// a refused call leaves its out-parameter alone, and a length beyond jsize allocates nothing.
TEST_F(BridgesTest, OwnArgumentTextsThreeOfWhichDifferFromTheExportedNames)
{
    jobjectArray strings = env->NewObjectArray(0, findClass(env, "java/lang/String"), nullptr);
    jobjectArray heldStrings = strings;
    jbyteArray bytes = nullptr;
    jdoubleArray doubles = nullptr;
    KsRef<ksBuffer> buffer = bufferOf("old", 3);
    ksBuffer* heldBuffer = buffer.get();
    KS_INT ints[1] = {};
    double reals[1] = {};
    // clang-format off
    runSteps(env, {
        VEN_REFUSED("venNewStringArrayFromKsVector: result != NULL", venNewStringArrayFromKsVector(nullptr, env, nullptr, nullptr)),
        VEN_REFUSED("venNewStringArrayFromKsVector: vec != NULL", venNewStringArrayFromKsVector(&strings, env, nullptr, nullptr)),
        VEN_REFUSED("venNewByteArray: result != NULL", venNewByteArrayFromBuffer(nullptr, env, nullptr, nullptr)),
        VEN_REFUSED("venNewByteArray: buffer != NULL", venNewByteArrayFromBuffer(&bytes, env, nullptr, nullptr)),
        VEN_REFUSED("venNewDoubleArrayOf: source != NULL", venNewDoubleArrayOf(nullptr, env, nullptr, nullptr, -1)),
        VEN_REFUSED("venNewDoubleArray: result != NULL", venNewDoubleArrayOf(nullptr, env, nullptr, reals, -1)),
        VEN_REFUSED("venNewDoubleArray: length >= 0", venNewDoubleArrayOf(&doubles, env, nullptr, reals, -1)),
        VEN_REFUSED("venGetByteArrayRegionAsBytes: result != ((void *)0)", venGetByteArrayRegionAsBuffer(nullptr, env, nullptr, nullptr, 0, -1)),
        VEN_REFUSED("venGetByteArrayRegionAsBytes: len >= 0", venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, nullptr, 0, -1)),
        VEN_REFUSED("venGetByteArrayRegion: array != NULL", venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, nullptr, 0, 1)),
        VEN_REFUSED("venArrayToKsBuffer: result != ((void *)0)", venGetPrimitiveArrayAsKsBuffer(nullptr, env, nullptr, nullptr)),
        VEN_REFUSED("venGetArrayLength: array != NULL", venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, nullptr)),
        VEN_REFUSED("venCopyIntArrayElements: result != NULL", venCopyIntArrayElements(nullptr, env, nullptr, nullptr, -1)),
        VEN_REFUSED("venCopyIntArrayElements: length >= 0", venCopyIntArrayElements(ints, env, nullptr, nullptr, -1)),
        VEN_REFUSED("venGetArrayLength: array != NULL", venCopyIntArrayElements(ints, env, nullptr, nullptr, 1)),
        VEN_REFUSED("venCopyDoubleArrayElements: result != NULL", venCopyDoubleArrayElements(nullptr, env, nullptr, nullptr, -1)),
        VEN_REFUSED("venCopyDoubleArrayElements: length >= 0", venCopyDoubleArrayElements(reals, env, nullptr, nullptr, -1)),
        VEN_REFUSED("venGetArrayLength: array != NULL", venCopyDoubleArrayElements(reals, env, nullptr, nullptr, 1))});
    const KS_INT allocations = ksMemAllocCount();
    expectArgumentFailure(env, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, env->NewByteArray(1), 0, 2147483648LL),
                          "venGetByteArrayRegion: VEN_KS_INT_TO_JSIZE_CONV_OK( len )");
    // clang-format on
    EXPECT_TRUE(allocations == ksMemAllocCount() && strings == heldStrings && buffer.get() == heldBuffer);
}

// 10,000 strings, a NULL element and one that is not a string (both become null elements)
// take three local references at most and leave only the array; an empty vector gives an
// empty array.
TEST_F(BridgesTest, TenThousandStringsTakeThreeLocalReferencesAtMostAndLeaveOnlyTheArray)
{
    std::vector<std::string> texts;
    KsRef<ksVector> vector{ksVectorCreate()};
    for (int i = 0; i < 10000; ++i) {
        texts.push_back(i == 1 ? "tw\xC3\xB6 \xF0\x9F\x98\x80" : "element " + std::to_string(i));
        ksVectorAppend(vector, ksStr(texts.back()).get());
    }
    ksVectorAppend(vector, nullptr);
    ksVectorAppend(vector, bufferOf("x", 1).get());
    FaultEnv fault(env);
    // Counted where an element string is made (it is not yet in the ledger) and stored.
    int mostLive = 0;
    fault.override<&Entry::NewString>([&](JNIEnv* real, const jchar* chars, jsize length) {
        mostLive = std::max(mostLive, fault.ledger().live() + 1);
        return real->NewString(chars, length);
    });
    fault.override<&Entry::SetObjectArrayElement>([&](JNIEnv* real, jobjectArray a, jsize i, jobject value) {
        mostLive = std::max(mostLive, fault.ledger().live());
        real->SetObjectArrayElement(a, i, value);
    });
    jobjectArray array = nullptr;
    ASSERT_EQ(KS_TRUE, venNewStringArrayFromKsVector(&array, fault.env(), nullptr, vector));
    EXPECT_TRUE(mostLive <= 3 && fault.ledger().live() == 1 && fault.ledger().isLive(array)) << mostLive;
    EXPECT_TRUE(fault.calls<&Entry::NewString>() == 10000 && env->GetArrayLength(array) == 10002);
    EXPECT_TRUE(env->IsInstanceOf(array, findClass(env, "[Ljava/lang/String;")));
    for (jsize i : {0, 4711, 9999}) {
        EXPECT_EQ(texts[i], utf8(env, static_cast<jstring>(env->GetObjectArrayElement(array, i))));
    }
    EXPECT_EQ(u"tw\u00F6 \U0001F600", units(env, static_cast<jstring>(env->GetObjectArrayElement(array, 1))));
    EXPECT_TRUE(!env->GetObjectArrayElement(array, 10000) && !env->GetObjectArrayElement(array, 10001));
    ASSERT_EQ(KS_TRUE,
              venNewStringArrayFromKsVector(&array, env, nullptr, KsRef<ksVector>{ksVectorCreate()}));
    EXPECT_EQ(0, env->GetArrayLength(array));
}

// A third element that cannot be converted, or a class lookup that fails before the array
// exists: false, NULL in the variable, and every reference obtained on the way deleted,
// the one the variable held on entry included.
TEST_F(BridgesTest, VectorFailuresLeaveNullAndNoLocalReference)
{
    KsRef<ksVector> vector{ksVectorCreate()};
    for (const char* text : {"one", "two", "three", "four"}) {
        ksVectorAppend(vector, ksStr(text).get());
    }
    for (bool classFails : {false, true}) {
        FaultEnv fault(env);
        LeakCheck leaks(fault);
        if (classFails) {
            fault.raise<&Entry::FindClass>("java/lang/NoClassDefFoundError", "java/lang/String",
                                           FaultEnv::Calls::nth(1));
        } else {
            fault.raiseOutOfMemory<&Entry::NewString>(FaultEnv::Calls::nth(3));
        }
        Trace trace;
        jclass objectClass = findClass(env, "java/lang/Object");
        auto array = static_cast<jobjectArray>(fault.env()->NewObjectArray(1, objectClass, nullptr));
        EXPECT_EQ(KS_FALSE, venNewStringArrayFromKsVector(&array, fault.env(), trace.get(), vector));
        EXPECT_TRUE(array == nullptr && leaks.live() == 0 &&
                    fault.calls<&Entry::NewString>() == (classFails ? 0 : 3));
        ExpectPendingClass(env, classFails ? "java.lang.NoClassDefFoundError" : "java.lang.OutOfMemoryError");
        EXPECT_EQ(
            std::vector<std::string>{
                classFails ? "[venFindClass()] Exception: java.lang.NoClassDefFoundError: java/lang/String"
                           : "[venNewString()] Exception: java.lang.OutOfMemoryError: injected by FaultEnv"},
            trace.lines());
    }
}

// Buffers and plain doubles to new arrays, the empty buffer included; a failed copy or pin
// keeps the new array, still all zeros, in the variable. A region or a whole array to a
// buffer that replaces (and releases: the frame counts ks objects) the one held, with
// ksMemAlloc(0) for an empty region; a failure leaves the one held. The whole array has as
// many bytes as elements, copied inside the critical region with no JNI call there.
TEST_F(BridgesTest, BuffersAndArraysBothWays)
{
    FaultEnv fault(env);
    LeakCheck leaks(fault);
    JNIEnv* f = fault.env();
    jbyteArray bytes = nullptr;
    jdoubleArray doubles = nullptr;
    const double values[] = {0.1, -0.0, std::numeric_limits<double>::quiet_NaN(), -1e308};
    auto doublesAre = [&](std::vector<double> expected) {
        std::vector<double> copied(static_cast<std::size_t>(env->GetArrayLength(doubles)));
        env->GetDoubleArrayRegion(doubles, 0, static_cast<jsize>(copied.size()), copied.data());
        return copied.size() == expected.size() &&
               std::memcmp(copied.data(), expected.data(), copied.size() * 8) == 0;
    };
    jbyteArray array = env->NewByteArray(5);
    const jbyte five[] = {10, -20, 30, -40, 5};
    env->SetByteArrayRegion(array, 0, 5, five);
    jintArray ints = env->NewIntArray(2);
    const jint wide[] = {0x04030201, -1};
    env->SetIntArrayRegion(ints, 0, 2, wide);
    KsRef<ksBuffer> buffer = bufferOf("old", 3);
    ksBuffer* kept = nullptr;
    Trace trace;
    // clang-format off
    runSteps(env, {
        VEN_STEP(KS_TRUE, venNewByteArrayFromBuffer(&bytes, f, nullptr, bufferOf("\x01\xFF\x7F", 3)), nullptr, (bytesOf(env, bytes) == std::vector<jbyte>{1, -1, 127})),
        VEN_STEP(KS_TRUE, venNewByteArrayFromBuffer(&bytes, f, nullptr, bufferOf("", 0)), nullptr, env->GetArrayLength(bytes) == 0),
        VEN_STEP(KS_TRUE, venNewDoubleArrayOf(&doubles, f, nullptr, values, 4), nullptr, doublesAre({values, values + 4})),
        VEN_STEP(KS_TRUE, venNewDoubleArrayOf(&doubles, f, nullptr, values, 0), nullptr, doublesAre({}) && fault.ledger().live() == 2),
        VEN_STEP(KS_FALSE, (fault.raiseOutOfMemory<&Entry::SetByteArrayRegion>(), venNewByteArrayFromBuffer(&bytes, f, nullptr, bufferOf("abc", 3))), "java.lang.OutOfMemoryError", (bytesOf(env, bytes) == std::vector<jbyte>{0, 0, 0})),
        VEN_STEP(KS_FALSE, (fault.raiseOutOfMemory<&Entry::GetDoubleArrayElements>(), venNewDoubleArrayOf(&doubles, f, nullptr, values, 2)), "java.lang.OutOfMemoryError", doublesAre({0.0, 0.0})),
        VEN_STEP(KS_TRUE, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 1, 2), nullptr, (bytesOf(buffer) == std::vector<jbyte>{-20, 30})),
        VEN_STEP(KS_TRUE, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 5, 0), nullptr, ksBufferLength(buffer) == 0 && (kept = buffer.get())),
        VEN_STEP(KS_FALSE, venGetByteArrayRegionAsBuffer(buffer.out(), env, trace.get(), array, 4, 2), "java.lang.ArrayIndexOutOfBoundsException", buffer.get() == kept &&
                 trace.lines().size() == 1 && trace.lines()[0].starts_with("[venGetByteArrayRegion()] Exception: java.lang.ArrayIndexOutOfBoundsException")),
        VEN_STEP(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), f, nullptr, array), nullptr, bytesOf(buffer) == bytesOf(env, array) &&
                 bytesOf(buffer) == std::vector<jbyte>(five, five + 5) && ksObjRefCount(buffer.get()) == 1 && leaks.live() == 2),
        VEN_STEP(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, ints), nullptr, (bytesOf(buffer) == std::vector<jbyte>{1, 2})),
        VEN_STEP(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, env->NewBooleanArray(0)), nullptr, ksBufferLength(buffer) == 0 && (kept = buffer.get())),
        VEN_STEP(KS_FALSE, (fault.raiseOutOfMemory<&Entry::GetPrimitiveArrayCritical>(), venGetPrimitiveArrayAsKsBuffer(buffer.out(), f, nullptr, array)), "java.lang.OutOfMemoryError", buffer.get() == kept)});
    // clang-format on
    const std::vector<std::string>& trail = fault.trail();
    auto pinned = std::find(trail.begin(), trail.end(), "GetPrimitiveArrayCritical");
    auto released = std::find(trail.begin(), trail.end(), "ReleasePrimitiveArrayCritical");
    ASSERT_TRUE(pinned < released && released != trail.end());
    EXPECT_TRUE(std::all_of(pinned + 1, released,
                            [](const std::string& entry) { return entry == "ExceptionCheck"; }));
}

// The copies write the smaller of both lengths, widened, and give the elements back
// without copying back; a failed pin writes nothing.
template <typename Target, typename Array, auto Pin, auto Release>
void checkCopy(JNIEnv* env, KS_BOOL (*copy)(Target*, JNIEnv*, lgStream*, Array, KS_INT), Array array,
               const std::array<Target, 4>& expected)
{
    for (KS_INT length : {10, 4, 2, 0}) {
        FaultEnv fault(env);
        jint releaseMode = -1;
        fault.override<Release>([&](JNIEnv* real, Array a, auto* elements, jint mode) {
            (real->functions->*Release)(real, a, elements, releaseMode = mode);
        });
        std::array<Target, 12> result;
        result.fill(99);
        ASSERT_EQ(KS_TRUE, copy(result.data(), fault.env(), nullptr, array, length));
        for (std::size_t i = 0; i < result.size(); ++i) {
            EXPECT_TRUE(same(i < std::min<std::size_t>(length, 4) ? expected[i] : 99, result[i]))
                << length << " " << i;
        }
        EXPECT_TRUE(fault.calls<Pin>() == 1 && releaseMode == JNI_ABORT && fault.ledger().live() == 0);
        fault.raiseOutOfMemory<Pin>();
        EXPECT_TRUE(!copy(result.data(), fault.env(), nullptr, array, 1) &&
                    same(length > 0 ? expected[0] : 99, result[0]));
        ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    }
}

TEST_F(BridgesTest, CopiesFillTheSmallerOfBothLengthsWidened)
{
    const std::array<KS_INT, 4> ints{-1, INT32_MIN, INT32_MAX, 7};
    const std::array<double, 4> doubles{-0.0, 0.1, std::numeric_limits<double>::infinity(), -2.5};
    jintArray intArray = env->NewIntArray(4);
    jdoubleArray doubleArray = env->NewDoubleArray(4);
    const jint intValues[] = {-1, INT32_MIN, INT32_MAX, 7};
    env->SetIntArrayRegion(intArray, 0, 4, intValues);
    env->SetDoubleArrayRegion(doubleArray, 0, 4, doubles.data());
    checkCopy<KS_INT, jintArray, &Entry::GetIntArrayElements, &Entry::ReleaseIntArrayElements>(
        env, venCopyIntArrayElements, intArray, ints);
    checkCopy<double, jdoubleArray, &Entry::GetDoubleArrayElements, &Entry::ReleaseDoubleArrayElements>(
        env, venCopyDoubleArrayElements, doubleArray, doubles);
}

} // namespace
} // namespace ven::families_test
