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

// A vector of strings, with NULL elements for nullptr.
KsRef<ksVector> vectorOf(const std::vector<const char*>& texts)
{
    KsRef<ksVector> vector{ksVectorCreate()};
    for (const char* text : texts) {
        ksVectorAppend(vector, (text != nullptr ? ksStr(text) : KsRef<ksString>{}).get());
    }
    return vector;
}

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

// Each bridge's own conditions in order, and those of the first call it makes; a refused
// call leaves its out-parameter as it was.
TEST_F(BridgesTest, OwnArgumentTextsThreeOfWhichDifferFromTheExportedNames)
{
    jobjectArray strings = env->NewObjectArray(0, findClass(env, "java/lang/String"), nullptr);
    jobjectArray heldStrings = strings;
    jbyteArray bytes = nullptr;
    jdoubleArray doubles = nullptr;
    KsRef<ksBuffer> buffer{ksBufferCreateFromBytesCopy("old", 3)};
    ksBuffer* heldBuffer = buffer.get();
    KS_INT ints[1] = {};
    double reals[1] = {};
    jbyteArray array = env->NewByteArray(1);
    expectRefusals(
        env, {
                 {"venNewStringArrayFromKsVector: result != NULL",
                  [&] { return venNewStringArrayFromKsVector(nullptr, env, nullptr, nullptr); }},
                 {"venNewStringArrayFromKsVector: vec != NULL",
                  [&] { return venNewStringArrayFromKsVector(&strings, env, nullptr, nullptr); }},
                 {"venNewByteArray: result != NULL",
                  [&] { return venNewByteArrayFromBuffer(nullptr, env, nullptr, nullptr); }},
                 {"venNewByteArray: buffer != NULL",
                  [&] { return venNewByteArrayFromBuffer(&bytes, env, nullptr, nullptr); }},
                 {"venNewDoubleArrayOf: source != NULL",
                  [&] { return venNewDoubleArrayOf(nullptr, env, nullptr, nullptr, -1); }},
                 {"venNewDoubleArray: result != NULL",
                  [&] { return venNewDoubleArrayOf(nullptr, env, nullptr, reals, -1); }},
                 {"venNewDoubleArray: length >= 0",
                  [&] { return venNewDoubleArrayOf(&doubles, env, nullptr, reals, -1); }},
                 {"venGetByteArrayRegionAsBytes: result != ((void *)0)",
                  [&] { return venGetByteArrayRegionAsBuffer(nullptr, env, nullptr, nullptr, 0, -1); }},
                 {"venGetByteArrayRegionAsBytes: len >= 0",
                  [&] { return venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, nullptr, 0, -1); }},
                 {"venGetByteArrayRegion: array != NULL",
                  [&] { return venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, nullptr, 0, 1); }},
                 {"venArrayToKsBuffer: result != ((void *)0)",
                  [&] { return venGetPrimitiveArrayAsKsBuffer(nullptr, env, nullptr, nullptr); }},
                 {"venGetArrayLength: array != NULL",
                  [&] { return venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, nullptr); }},
                 {"venCopyIntArrayElements: result != NULL",
                  [&] { return venCopyIntArrayElements(nullptr, env, nullptr, nullptr, -1); }},
                 {"venCopyIntArrayElements: length >= 0",
                  [&] { return venCopyIntArrayElements(ints, env, nullptr, nullptr, -1); }},
                 {"venGetArrayLength: array != NULL",
                  [&] { return venCopyIntArrayElements(ints, env, nullptr, nullptr, 1); }},
                 {"venCopyDoubleArrayElements: result != NULL",
                  [&] { return venCopyDoubleArrayElements(nullptr, env, nullptr, nullptr, -1); }},
                 {"venCopyDoubleArrayElements: length >= 0",
                  [&] { return venCopyDoubleArrayElements(reals, env, nullptr, nullptr, -1); }},
                 {"venGetArrayLength: array != NULL",
                  [&] { return venCopyDoubleArrayElements(reals, env, nullptr, nullptr, 1); }},
             });
    EXPECT_EQ(heldStrings, strings);
    EXPECT_EQ(heldBuffer, buffer.get());
    // A length beyond jsize is refused by the region call without allocating a block for it.
    const KS_INT allocations = ksMemAllocCount();
    expectArgumentFailure(env,
                          venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 0, 2147483648LL),
                          "venGetByteArrayRegion: VEN_KS_INT_TO_JSIZE_CONV_OK( len )");
    EXPECT_EQ(allocations, ksMemAllocCount());
    EXPECT_EQ(heldBuffer, buffer.get());
}

TEST_F(BridgesTest, VectorOfStringsBecomesStringArrayWithNullsForNonStrings)
{
    KsRef<ksVector> vector = vectorOf({"zero", nullptr, "tw\xC3\xB6 \xF0\x9F\x98\x80"});
    ksVectorAppend(vector, KsRef<ksBuffer>{ksBufferCreateFromBytesCopy("x", 1)}.get());
    jobjectArray array = nullptr;
    ASSERT_EQ(KS_TRUE, venNewStringArrayFromKsVector(&array, env, nullptr, vector));
    ASSERT_EQ(4, env->GetArrayLength(array));
    EXPECT_TRUE(env->IsInstanceOf(array, findClass(env, "[Ljava/lang/String;")));
    EXPECT_EQ("zero", utf8(env, static_cast<jstring>(env->GetObjectArrayElement(array, 0))));
    EXPECT_EQ(nullptr, env->GetObjectArrayElement(array, 1));
    EXPECT_EQ(u"tw\u00F6 \U0001F600", units(env, static_cast<jstring>(env->GetObjectArrayElement(array, 2))));
    EXPECT_EQ(nullptr, env->GetObjectArrayElement(array, 3));
    ASSERT_EQ(KS_TRUE,
              venNewStringArrayFromKsVector(&array, env, nullptr, KsRef<ksVector>{ksVectorCreate()}));
    EXPECT_EQ(0, env->GetArrayLength(array));
}

TEST_F(BridgesTest, TenThousandStringsTakeThreeLocalReferencesAtMostAndLeaveOnlyTheArray)
{
    std::vector<std::string> texts;
    KsRef<ksVector> vector{ksVectorCreate()};
    for (int i = 0; i < 10000; ++i) {
        texts.push_back("element " + std::to_string(i));
        ksVectorAppend(vector, ksStr(texts.back()).get());
    }
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
    EXPECT_LE(mostLive, 3);
    EXPECT_EQ(1, fault.ledger().live());
    EXPECT_TRUE(fault.ledger().isLive(array));
    EXPECT_EQ(10000, fault.calls<&Entry::NewString>());
    ASSERT_EQ(10000, env->GetArrayLength(array));
    for (jsize i : {0, 4711, 9999}) {
        EXPECT_EQ(texts[static_cast<std::size_t>(i)],
                  utf8(env, static_cast<jstring>(env->GetObjectArrayElement(array, i))));
    }
}

// A third element that cannot be converted, or a class lookup that fails before the array
// exists: false, NULL in the variable, and every reference obtained on the way deleted,
// the one the variable held on entry included.
TEST_F(BridgesTest, VectorFailuresLeaveNullAndNoLocalReference)
{
    KsRef<ksVector> vector = vectorOf({"one", "two", "three", "four"});
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
        auto array = static_cast<jobjectArray>(
            fault.env()->NewObjectArray(1, findClass(env, "java/lang/Object"), nullptr));
        EXPECT_EQ(KS_FALSE, venNewStringArrayFromKsVector(&array, fault.env(), trace.get(), vector));
        EXPECT_EQ(nullptr, array);
        EXPECT_EQ(0, leaks.live());
        EXPECT_EQ(classFails ? 0 : 3, fault.calls<&Entry::NewString>());
        ExpectPendingClass(env, classFails ? "java.lang.NoClassDefFoundError" : "java.lang.OutOfMemoryError");
        EXPECT_EQ(
            std::vector<std::string>{
                classFails ? "[venFindClass()] Exception: java.lang.NoClassDefFoundError: java/lang/String"
                           : "[venNewString()] Exception: java.lang.OutOfMemoryError: injected by FaultEnv"},
            trace.lines());
    }
}

TEST_F(BridgesTest, BufferAndDoublesBecomeArrays)
{
    FaultEnv fault(env);
    jbyteArray bytes = nullptr;
    ASSERT_EQ(KS_TRUE,
              venNewByteArrayFromBuffer(&bytes, fault.env(), nullptr,
                                        KsRef<ksBuffer>{ksBufferCreateFromBytesCopy("\x01\xFF\x7F", 3)}));
    EXPECT_EQ((std::vector<jbyte>{1, -1, 127}), bytesOf(env, bytes));
    ASSERT_EQ(KS_TRUE, venNewByteArrayFromBuffer(&bytes, fault.env(), nullptr,
                                                 KsRef<ksBuffer>{ksBufferCreateFromBytesCopy("", 0)}));
    EXPECT_EQ(0, env->GetArrayLength(bytes));
    const double values[] = {0.1, -0.0, std::numeric_limits<double>::quiet_NaN(), -1e308};
    jdoubleArray doubles = nullptr;
    ASSERT_EQ(KS_TRUE, venNewDoubleArrayOf(&doubles, fault.env(), nullptr, values, 4));
    double copied[4] = {};
    env->GetDoubleArrayRegion(doubles, 0, 4, copied);
    EXPECT_EQ(0, std::memcmp(values, copied, sizeof values));
    ASSERT_EQ(KS_TRUE, venNewDoubleArrayOf(&doubles, fault.env(), nullptr, values, 0));
    EXPECT_EQ(0, env->GetArrayLength(doubles));
    EXPECT_EQ(2, fault.ledger().live());

    // A failed copy keeps the new array, still all zeros, in the variable.
    fault.raiseOutOfMemory<&Entry::SetByteArrayRegion>();
    EXPECT_EQ(KS_FALSE, venNewByteArrayFromBuffer(&bytes, fault.env(), nullptr,
                                                  KsRef<ksBuffer>{ksBufferCreateFromBytesCopy("abc", 3)}));
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    EXPECT_EQ((std::vector<jbyte>{0, 0, 0}), bytesOf(env, bytes));
    fault.raiseOutOfMemory<&Entry::GetDoubleArrayElements>();
    EXPECT_EQ(KS_FALSE, venNewDoubleArrayOf(&doubles, fault.env(), nullptr, values, 2));
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    env->GetDoubleArrayRegion(doubles, 0, 2, copied);
    EXPECT_TRUE(copied[0] == 0.0 && copied[1] == 0.0);
}

// The buffer held before is released after the new one is stored (the frame counts ks objects).
TEST_F(BridgesTest, ArraysBecomeBuffersReplacingTheOneHeld)
{
    jbyteArray array = env->NewByteArray(5);
    const jbyte values[] = {10, -20, 30, -40, 5};
    env->SetByteArrayRegion(array, 0, 5, values);
    KsRef<ksBuffer> buffer{ksBufferCreateFromBytesCopy("old", 3)};
    ASSERT_EQ(KS_TRUE, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 1, 2));
    EXPECT_EQ((std::vector<jbyte>{-20, 30}), bytesOf(buffer));
    ASSERT_EQ(KS_TRUE, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 5, 0));
    EXPECT_EQ(0, ksBufferLength(buffer));
    // Beyond the end: the block is freed and the variable keeps its buffer.
    Trace trace;
    ksBuffer* kept = buffer.get();
    EXPECT_EQ(KS_FALSE, venGetByteArrayRegionAsBuffer(buffer.out(), env, trace.get(), array, 4, 2));
    EXPECT_EQ(kept, buffer.get());
    ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
    ASSERT_EQ(1u, trace.lines().size());
    EXPECT_EQ(0u,
              trace.lines()[0].find("[venGetByteArrayRegion()] Exception: java.lang.ArrayIndexOutOfBounds"));

    FaultEnv fault(env);
    ASSERT_EQ(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), fault.env(), nullptr, array));
    EXPECT_EQ((std::vector<jbyte>{10, -20, 30, -40, 5}), bytesOf(buffer));
    EXPECT_EQ((std::vector<jbyte>{10, -20, 30, -40, 5}), bytesOf(env, array));
    EXPECT_EQ(1, ksObjRefCount(buffer.get()));
    EXPECT_EQ(0, fault.ledger().live());
    // Between pinning and release the library itself makes no JNI call.
    const std::vector<std::string>& trail = fault.trail();
    auto pinned = std::find(trail.begin(), trail.end(), "GetPrimitiveArrayCritical");
    auto released = std::find(trail.begin(), trail.end(), "ReleasePrimitiveArrayCritical");
    ASSERT_TRUE(pinned < released && released != trail.end());
    EXPECT_TRUE(std::all_of(pinned + 1, released,
                            [](const std::string& entry) { return entry == "ExceptionCheck"; }));
    // Wider elements: as many leading bytes as there are elements.
    jintArray ints = env->NewIntArray(2);
    const jint wide[] = {0x04030201, -1};
    env->SetIntArrayRegion(ints, 0, 2, wide);
    ASSERT_EQ(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, ints));
    EXPECT_EQ((std::vector<jbyte>{1, 2}), bytesOf(buffer));
    ASSERT_EQ(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, env->NewBooleanArray(0)));
    EXPECT_EQ(0, ksBufferLength(buffer));
    kept = buffer.get();
    fault.raiseOutOfMemory<&Entry::GetPrimitiveArrayCritical>();
    EXPECT_EQ(KS_FALSE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), fault.env(), nullptr, array));
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    EXPECT_EQ(kept, buffer.get());
}

// venCopyIntArrayElements and venCopyDoubleArrayElements, driven alike: the smaller of both
// lengths is written, widened, and the elements are given back without copying back.
template <typename Target, typename Array, auto Pin, auto Release>
void checkCopy(JNIEnv* env, KS_BOOL (*copy)(Target*, JNIEnv*, lgStream*, Array, KS_INT), Array array,
               const std::array<Target, 4>& expected)
{
    constexpr Target kUnwritten = 99;
    for (KS_INT length : {10, 4, 2, 0}) {
        FaultEnv fault(env);
        jint releaseMode = -1;
        fault.override<Release>([&](JNIEnv* real, Array a, auto* elements, jint mode) {
            releaseMode = mode;
            (real->functions->*Release)(real, a, elements, mode);
        });
        std::array<Target, 12> result;
        result.fill(kUnwritten);
        ASSERT_EQ(KS_TRUE, copy(result.data(), fault.env(), nullptr, array, length));
        for (std::size_t i = 0; i < result.size(); ++i) {
            EXPECT_TRUE(same(i < std::min<std::size_t>(length, 4) ? expected[i] : kUnwritten, result[i]))
                << length << " " << i;
        }
        EXPECT_EQ(1, fault.calls<Pin>());
        EXPECT_EQ(JNI_ABORT, releaseMode);
        EXPECT_EQ(0, fault.ledger().live());
    }
    Target result[1] = {kUnwritten};
    FaultEnv fault(env);
    fault.raiseOutOfMemory<Pin>();
    EXPECT_EQ(KS_FALSE, copy(result, fault.env(), nullptr, array, 1));
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    EXPECT_TRUE(same(kUnwritten, result[0]));
}

TEST_F(BridgesTest, CopiesFillTheSmallerOfBothLengthsWidened)
{
    jintArray ints = env->NewIntArray(4);
    const jint intValues[] = {-1, INT32_MIN, INT32_MAX, 7};
    env->SetIntArrayRegion(ints, 0, 4, intValues);
    checkCopy<KS_INT, jintArray, &Entry::GetIntArrayElements, &Entry::ReleaseIntArrayElements>(
        env, venCopyIntArrayElements, ints, {-1, INT32_MIN, INT32_MAX, 7});
    jdoubleArray doubles = env->NewDoubleArray(4);
    const jdouble doubleValues[] = {-0.0, 0.1, std::numeric_limits<double>::infinity(), -2.5};
    env->SetDoubleArrayRegion(doubles, 0, 4, doubleValues);
    checkCopy<double, jdoubleArray, &Entry::GetDoubleArrayElements, &Entry::ReleaseDoubleArrayElements>(
        env, venCopyDoubleArrayElements, doubles, {-0.0, 0.1, std::numeric_limits<double>::infinity(), -2.5});
}

} // namespace
} // namespace ven::families_test
