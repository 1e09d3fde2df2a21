// The array bridges: each one's success and failure paths, its own argument texts (three
// differ from the exported names), ownership of what it delivers, and the local references
// it leaves behind, for a vector of 10,000 strings among others.
#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

using Entry = JNINativeInterface_;

class BridgesTest : public JvmTest
{
  protected:
    // A vector holding `texts`, with NULL elements where the text is nullptr.
    static KsRef<ksVector> vectorOf(const std::vector<const char*>& texts)
    {
        KsRef<ksVector> vector{ksVectorCreate()};
        for (const char* text : texts) {
            KsRef<ksString> element = text != nullptr ? ksStr(text) : KsRef<ksString>{};
            ksVectorAppend(vector, element.get());
        }
        return vector;
    }

    std::vector<jbyte> bytesOf(jbyteArray array)
    {
        std::vector<jbyte> bytes(static_cast<std::size_t>(env->GetArrayLength(array)));
        env->GetByteArrayRegion(array, 0, static_cast<jsize>(bytes.size()), bytes.data());
        return bytes;
    }

    static std::vector<jbyte> bytesOf(const ksBuffer* buffer)
    {
        const auto* bytes = static_cast<const jbyte*>(ksBufferBacking(buffer));
        return {bytes, bytes + ksBufferLength(buffer)};
    }
};

TEST_F(BridgesTest, VectorOfStringsBecomesStringArrayWithNullsForNonStrings)
{
    KsRef<ksVector> vector = vectorOf({"zero", nullptr, "tw\xC3\xB6 \xF0\x9F\x98\x80"});
    KsRef<ksBuffer> notAString{ksBufferCreateFromBytesCopy("x", 1)};
    ksVectorAppend(vector, notAString.get());
    jobjectArray array = nullptr;
    ASSERT_EQ(KS_TRUE, venNewStringArrayFromKsVector(&array, env, nullptr, vector));
    ASSERT_EQ(4, env->GetArrayLength(array));
    EXPECT_EQ("zero", utf8(env, static_cast<jstring>(env->GetObjectArrayElement(array, 0))));
    EXPECT_EQ(nullptr, env->GetObjectArrayElement(array, 1));
    EXPECT_EQ(u"tw\u00F6 \U0001F600", units(env, static_cast<jstring>(env->GetObjectArrayElement(array, 2))));
    EXPECT_EQ(nullptr, env->GetObjectArrayElement(array, 3));
    EXPECT_TRUE(env->IsInstanceOf(array, findClass(env, "[Ljava/lang/String;")));

    KsRef<ksVector> empty{ksVectorCreate()};
    ASSERT_EQ(KS_TRUE, venNewStringArrayFromKsVector(&array, env, nullptr, empty));
    EXPECT_EQ(0, env->GetArrayLength(array));

    expectArgumentFailure(env, venNewStringArrayFromKsVector(nullptr, env, nullptr, nullptr),
                          "venNewStringArrayFromKsVector: result != NULL");
    expectArgumentFailure(env, venNewStringArrayFromKsVector(&array, env, nullptr, nullptr),
                          "venNewStringArrayFromKsVector: vec != NULL");
    EXPECT_EQ(0, env->GetArrayLength(array));
}

TEST_F(BridgesTest, TenThousandStringsTakeThreeLocalReferencesAtMostAndLeaveOnlyTheArray)
{
    std::vector<std::string> texts;
    for (int i = 0; i < 10000; ++i) {
        texts.push_back("element " + std::to_string(i));
    }
    KsRef<ksVector> vector{ksVectorCreate()};
    for (const std::string& text : texts) {
        ksVectorAppend(vector, ksStr(text).get());
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

TEST_F(BridgesTest, VectorFailuresLeaveNullAndNoLocalReference)
{
    KsRef<ksVector> vector = vectorOf({"one", "two", "three", "four"});
    // The third element cannot be converted: its Java string cannot be made. Every local
    // reference the bridge obtained (class, array, element strings) is deleted again.
    {
        FaultEnv fault(env);
        DeletionLog deletions(fault);
        std::vector<jobject> obtained;
        fault.override<&Entry::NewString>([&](JNIEnv* real, const jchar* chars, jsize length) -> jstring {
            if (fault.calls<&Entry::NewString>() == 3) {
                real->ThrowNew(real->FindClass("java/lang/OutOfMemoryError"), "third");
                return nullptr;
            }
            obtained.push_back(real->NewString(chars, length));
            return static_cast<jstring>(obtained.back());
        });
        fault.override<&Entry::NewObjectArray>(
            [&](JNIEnv* real, jsize length, jclass clazz, jobject initial) {
                obtained.push_back(real->NewObjectArray(length, clazz, initial));
                return static_cast<jobjectArray>(obtained.back());
            });
        fault.override<&Entry::FindClass>([&](JNIEnv* real, const char* name) {
            obtained.push_back(real->FindClass(name));
            return static_cast<jclass>(obtained.back());
        });
        Trace trace;
        jobjectArray array = nullptr;
        EXPECT_EQ(KS_FALSE, venNewStringArrayFromKsVector(&array, fault.env(), trace.get(), vector));
        EXPECT_EQ(nullptr, array);
        ExpectPending(env, "java.lang.OutOfMemoryError", "third");
        EXPECT_EQ(std::vector<std::string>{"[venNewString()] Exception: java.lang.OutOfMemoryError: third"},
                  trace.lines());
        EXPECT_GE(obtained.size(), 4u);
        for (jobject ref : obtained) {
            EXPECT_TRUE(deletions.deleted(ref));
        }
    }
    // The class lookup fails: the reference held on entry goes too.
    {
        FaultEnv fault(env);
        DeletionLog deletions(fault);
        fault.override<&Entry::FindClass>([](JNIEnv* real, const char* name) -> jclass {
            if (std::string(name) == "java/lang/String") {
                real->ThrowNew(real->FindClass("java/lang/NoClassDefFoundError"), name);
                return nullptr;
            }
            return real->FindClass(name);
        });
        jobjectArray array = static_cast<jobjectArray>(
            fault.env()->NewObjectArray(1, findClass(env, "java/lang/Object"), nullptr));
        jobjectArray held = array;
        EXPECT_EQ(KS_FALSE, venNewStringArrayFromKsVector(&array, fault.env(), nullptr, vector));
        EXPECT_EQ(nullptr, array);
        EXPECT_TRUE(deletions.deleted(held));
        ExpectPendingClass(env, "java.lang.NoClassDefFoundError");
    }
}

TEST_F(BridgesTest, BufferBecomesByteArray)
{
    KsRef<ksBuffer> buffer{ksBufferCreateFromBytesCopy("\x01\xFF\x7F", 3)};
    FaultEnv fault(env);
    jbyteArray array = nullptr;
    ASSERT_EQ(KS_TRUE, venNewByteArrayFromBuffer(&array, fault.env(), nullptr, buffer));
    EXPECT_EQ((std::vector<jbyte>{1, -1, 127}), bytesOf(array));
    EXPECT_EQ(1, fault.ledger().live());
    KsRef<ksBuffer> empty{ksBufferCreateFromBytesCopy("", 0)};
    ASSERT_EQ(KS_TRUE, venNewByteArrayFromBuffer(&array, env, nullptr, empty));
    EXPECT_EQ(0, env->GetArrayLength(array));

    // A failed copy keeps the new, still zeroed array in the variable.
    fault.raiseOutOfMemory<&Entry::SetByteArrayRegion>();
    EXPECT_EQ(KS_FALSE, venNewByteArrayFromBuffer(&array, fault.env(), nullptr, buffer));
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    ASSERT_NE(nullptr, array);
    EXPECT_EQ((std::vector<jbyte>{0, 0, 0}), bytesOf(array));

    // Its own argument texts carry the name of venNewByteArray.
    expectArgumentFailure(env, venNewByteArrayFromBuffer(nullptr, env, nullptr, nullptr),
                          "venNewByteArray: result != NULL");
    expectArgumentFailure(env, venNewByteArrayFromBuffer(&array, env, nullptr, nullptr),
                          "venNewByteArray: buffer != NULL");
}

TEST_F(BridgesTest, DoublesBecomeDoubleArray)
{
    const double values[] = {0.1, -0.0, std::numeric_limits<double>::quiet_NaN(), -1e308};
    FaultEnv fault(env);
    jdoubleArray array = nullptr;
    ASSERT_EQ(KS_TRUE, venNewDoubleArrayOf(&array, fault.env(), nullptr, values, 4));
    EXPECT_EQ(1, fault.ledger().live());
    double copied[4] = {};
    env->GetDoubleArrayRegion(array, 0, 4, copied);
    EXPECT_EQ(0, std::memcmp(values, copied, sizeof values));
    ASSERT_EQ(KS_TRUE, venNewDoubleArrayOf(&array, env, nullptr, values, 0));
    EXPECT_EQ(0, env->GetArrayLength(array));

    fault.raiseOutOfMemory<&Entry::GetDoubleArrayElements>();
    EXPECT_EQ(KS_FALSE, venNewDoubleArrayOf(&array, fault.env(), nullptr, values, 2));
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    env->GetDoubleArrayRegion(array, 0, 2, copied);
    EXPECT_TRUE(copied[0] == 0.0 && copied[1] == 0.0);

    // source alone is tested here, first; result and length by venNewDoubleArray.
    expectArgumentFailure(env, venNewDoubleArrayOf(nullptr, env, nullptr, nullptr, -1),
                          "venNewDoubleArrayOf: source != NULL");
    expectArgumentFailure(env, venNewDoubleArrayOf(nullptr, env, nullptr, values, -1),
                          "venNewDoubleArray: result != NULL");
    expectArgumentFailure(env, venNewDoubleArrayOf(&array, env, nullptr, values, -1),
                          "venNewDoubleArray: length >= 0");
}

TEST_F(BridgesTest, ByteRegionBecomesBufferReplacingTheOneHeld)
{
    jbyteArray array = env->NewByteArray(4);
    const jbyte bytes[] = {10, -20, 30, -40};
    env->SetByteArrayRegion(array, 0, 4, bytes);
    KsRef<ksBuffer> buffer{ksBufferCreateFromBytesCopy("old", 3)};
    ksBuffer* old = buffer.get();
    ksObjRetain(old);
    ASSERT_EQ(KS_TRUE, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 1, 2));
    EXPECT_EQ((std::vector<jbyte>{-20, 30}), bytesOf(buffer));
    EXPECT_EQ(1, ksObjRefCount(old));
    ksObjRelease(old);
    ASSERT_EQ(KS_TRUE, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 4, 0));
    EXPECT_EQ(0, ksBufferLength(buffer));

    // Beyond the end: the block is freed and the variable keeps its buffer.
    Trace trace;
    ksBuffer* kept = buffer.get();
    EXPECT_EQ(KS_FALSE, venGetByteArrayRegionAsBuffer(buffer.out(), env, trace.get(), array, 3, 2));
    EXPECT_EQ(kept, buffer.get());
    ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
    ASSERT_EQ(1u, trace.lines().size());
    EXPECT_EQ(0u,
              trace.lines()[0].find("[venGetByteArrayRegion()] Exception: java.lang.ArrayIndexOutOfBounds"));

    expectArgumentFailure(env, venGetByteArrayRegionAsBuffer(nullptr, env, nullptr, nullptr, 0, -1),
                          "venGetByteArrayRegionAsBytes: result != ((void *)0)");
    expectArgumentFailure(env, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 0, -1),
                          "venGetByteArrayRegionAsBytes: len >= 0");
    expectArgumentFailure(env, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, nullptr, 0, 1),
                          "venGetByteArrayRegion: array != NULL");
    // A length beyond jsize is refused without allocating a block for it.
    const KS_INT allocations = ksMemAllocCount();
    expectArgumentFailure(env,
                          venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 0, 2147483648LL),
                          "venGetByteArrayRegion: VEN_KS_INT_TO_JSIZE_CONV_OK( len )");
    EXPECT_EQ(allocations, ksMemAllocCount());
    EXPECT_EQ(kept, buffer.get());
}

TEST_F(BridgesTest, WholePrimitiveArrayBecomesBufferOfItsElementCount)
{
    FaultEnv fault(env);
    jbyteArray array = env->NewByteArray(5);
    const jbyte bytes[] = {1, 2, 3, -4, 5};
    env->SetByteArrayRegion(array, 0, 5, bytes);
    KsRef<ksBuffer> buffer{ksBufferCreateFromBytesCopy("old", 3)};
    ksBuffer* old = buffer.get();
    ksObjRetain(old);
    ASSERT_EQ(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), fault.env(), nullptr, array));
    EXPECT_EQ((std::vector<jbyte>{1, 2, 3, -4, 5}), bytesOf(buffer));
    EXPECT_EQ((std::vector<jbyte>{1, 2, 3, -4, 5}), bytesOf(array));
    EXPECT_EQ(1, ksObjRefCount(old));
    EXPECT_EQ(1, ksObjRefCount(buffer.get()));
    EXPECT_EQ(0, fault.ledger().live());
    ksObjRelease(old);
    // Between pinning and release the library itself makes no JNI call.
    const std::vector<std::string>& trail = fault.trail();
    auto pinned = std::find(trail.begin(), trail.end(), "GetPrimitiveArrayCritical");
    auto released = std::find(trail.begin(), trail.end(), "ReleasePrimitiveArrayCritical");
    ASSERT_TRUE(pinned < released && released != trail.end());
    EXPECT_TRUE(std::all_of(pinned + 1, released,
                            [](const std::string& entry) { return entry == "ExceptionCheck"; }));

    // Wider elements: as many leading bytes as there are elements.
    jintArray ints = env->NewIntArray(2);
    const jint values[] = {0x04030201, -1};
    env->SetIntArrayRegion(ints, 0, 2, values);
    ASSERT_EQ(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, ints));
    EXPECT_EQ((std::vector<jbyte>{1, 2}), bytesOf(buffer));
    ASSERT_EQ(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, env->NewBooleanArray(0)));
    EXPECT_EQ(0, ksBufferLength(buffer));

    ksBuffer* kept = buffer.get();
    expectArgumentFailure(env, venGetPrimitiveArrayAsKsBuffer(nullptr, env, nullptr, nullptr),
                          "venArrayToKsBuffer: result != ((void *)0)");
    expectArgumentFailure(env, venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, nullptr),
                          "venGetArrayLength: array != NULL");
    fault.raiseOutOfMemory<&Entry::GetPrimitiveArrayCritical>();
    EXPECT_EQ(KS_FALSE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), fault.env(), nullptr, array));
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    EXPECT_EQ(kept, buffer.get());
}

// venCopyIntArrayElements and venCopyDoubleArrayElements, driven alike.
template <typename Target, typename Array, auto Pin, auto Release>
void checkCopy(JNIEnv* env, const std::string& name,
               KS_BOOL (*copy)(Target*, JNIEnv*, lgStream*, Array, KS_INT), Array array,
               const std::array<Target, 4>& expected)
{
    SCOPED_TRACE(name);
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
        const std::size_t written = static_cast<std::size_t>(std::min<KS_INT>(length, 4));
        for (std::size_t i = 0; i < result.size(); ++i) {
            EXPECT_TRUE(same(i < written ? expected[i] : kUnwritten, result[i])) << length << " " << i;
        }
        EXPECT_EQ(1, fault.calls<Pin>());
        EXPECT_EQ(JNI_ABORT, releaseMode);
        EXPECT_EQ(0, fault.ledger().live());
    }
    Target result[1] = {kUnwritten};
    expectArgumentFailure(env, copy(nullptr, env, nullptr, nullptr, -1), name + ": result != NULL");
    expectArgumentFailure(env, copy(result, env, nullptr, nullptr, -1), name + ": length >= 0");
    expectArgumentFailure(env, copy(result, env, nullptr, nullptr, 1), "venGetArrayLength: array != NULL");
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
        env, "venCopyIntArrayElements", venCopyIntArrayElements, ints, {-1, INT32_MIN, INT32_MAX, 7});
    jdoubleArray doubles = env->NewDoubleArray(4);
    const jdouble doubleValues[] = {-0.0, 0.1, std::numeric_limits<double>::infinity(), -2.5};
    env->SetDoubleArrayRegion(doubles, 0, 4, doubleValues);
    checkCopy<double, jdoubleArray, &Entry::GetDoubleArrayElements, &Entry::ReleaseDoubleArrayElements>(
        env, "venCopyDoubleArrayElements", venCopyDoubleArrayElements, doubles,
        {-0.0, 0.1, std::numeric_limits<double>::infinity(), -2.5});
}

} // namespace
} // namespace ven::families_test
