// Arrays through the integration layer, one table row per element type, with the object
// arrays, the length and the critical pair; the bridges' success and failure paths.
#include <array>
#include <cstdint>
#include <limits>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

template <typename Element, typename Array> struct ArrayFamily {
    std::string type; // as in the names: venNew<type>Array, venGet<type>ArrayElements, ...
    KS_BOOL (*create)(Array*, JNIEnv*, lgStream*, KS_INT);
    KS_BOOL (*pin)(Element**, JNIEnv*, lgStream*, Array, KS_BOOL*);
    KS_BOOL (*release)(JNIEnv*, lgStream*, Array, Element*, jint);
    KS_BOOL (*getRegion)(JNIEnv*, lgStream*, Array, KS_INT, KS_INT, Element*);
    KS_BOOL (*setRegion)(JNIEnv*, lgStream*, Array, KS_INT, KS_INT, const Element*);
    std::array<Element, 3> sample; // distinct values, passed through unconverted
};

// clang-format off
#define VEN_ARRAY_ROW(Type) #Type, venNew##Type##Array, venGet##Type##ArrayElements, venRelease##Type##ArrayElements, \
    venGet##Type##ArrayRegion, venSet##Type##ArrayRegion
const ArrayFamily<jboolean, jbooleanArray> kBooleans{VEN_ARRAY_ROW(Boolean), {{JNI_TRUE, JNI_FALSE, JNI_TRUE}}};
const ArrayFamily<jbyte, jbyteArray> kBytes{VEN_ARRAY_ROW(Byte), {{-128, 127, -1}}};
const ArrayFamily<jchar, jcharArray> kChars{VEN_ARRAY_ROW(Char), {{0xD83D, 0xFFFF, 0}}};
const ArrayFamily<jshort, jshortArray> kShorts{VEN_ARRAY_ROW(Short), {{-32768, 32767, -1}}};
const ArrayFamily<jint, jintArray> kInts{VEN_ARRAY_ROW(Int), {{INT32_MIN, INT32_MAX, -1}}};
const ArrayFamily<jlong, jlongArray> kLongs{VEN_ARRAY_ROW(Long), {{INT64_MIN, INT64_MAX, -1}}};
const ArrayFamily<jfloat, jfloatArray> kFloats{VEN_ARRAY_ROW(Float), {{0.1f, -0.0f, std::numeric_limits<float>::quiet_NaN()}}};
const ArrayFamily<jdouble, jdoubleArray> kDoubles{VEN_ARRAY_ROW(Double), {{0.1, -0.0, std::numeric_limits<double>::quiet_NaN()}}};
// clang-format on

const std::string kModeCondition = "mode == 0 || mode == JNI_COMMIT || mode == JNI_ABORT";
const KS_INT kBeyondJsize = 2147483648LL;

class ArraysTest : public JvmTest
{
  protected:
    // Creation replacing the array held; regions whole, partial and out of bounds; pinning
    // with the three release modes and mode -1 refused.
    template <typename Element, typename Array> void checkFamily(const ArrayFamily<Element, Array>& family)
    {
        SCOPED_TRACE(family.type);
        TestFrame frame(env, 256);
        using Elements = std::array<Element, 3>;
        const Elements& s = family.sample;
        Elements buffer = s;
        FaultEnv fault(env);
        Array array = nullptr;
        Element* elements = nullptr;
        KS_BOOL isCopy = 7;
        Trace trace;
        // clang-format off
        const std::string type = family.type, get = "venGet" + type + "ArrayRegion", set = "venSet" + type + "ArrayRegion", outOfBounds = "java.lang.ArrayIndexOutOfBoundsException";
        auto holds = [&](std::size_t start, const Elements& expected) {
            Elements values = s;
            return family.getRegion(env, nullptr, array, start, 3 - start, values.data()) && std::equal(values.begin(), values.end(), expected.begin(), same<Element>);
        };
        runSteps(env, {
            VEN_STEP(KS_TRUE, family.create(&array, fault.env(), nullptr, 0), "", env->GetArrayLength(array) == 0),
            VEN_STEP(KS_TRUE, family.create(&array, fault.env(), nullptr, 3), "", env->GetArrayLength(array) == 3 && fault.ledger().live() == 1),
            VEN_REFUSED("venNew" + type + "Array: VEN_KS_INT_TO_JSIZE_CONV_OK( length )", family.create(&array, env, nullptr, kBeyondJsize)),
            VEN_STEP(KS_TRUE, family.setRegion(env, nullptr, array, 0, 3, s.data()), "", holds(0, s) && holds(1, {s[1], s[2], s[2]})),
            VEN_STEP(KS_FALSE, family.getRegion(env, trace.get(), array, -1, 1, buffer.data()), outOfBounds.c_str(), tracedOnce(trace, "[" + get + "()] Exception: " + outOfBounds)),
            VEN_STEP(KS_FALSE, family.getRegion(env, trace.get(), array, 2, 2, buffer.data()), outOfBounds.c_str(), tracedOnce(trace, "[" + get + "()] Exception: " + outOfBounds)),
            VEN_STEP(KS_FALSE, family.setRegion(env, trace.get(), array, 2, 2, buffer.data()), outOfBounds.c_str(), tracedOnce(trace, "[" + set + "()] Exception: " + outOfBounds)),
            VEN_STEP(KS_FALSE, family.setRegion(env, trace.get(), array, 0, -1, buffer.data()), outOfBounds.c_str(), tracedOnce(trace, "[" + set + "()] Exception: " + outOfBounds) && holds(0, s)),
            VEN_STEP(KS_TRUE, family.pin(&elements, env, nullptr, array, &isCopy), "", (isCopy == KS_TRUE || isCopy == KS_FALSE) && same(s[1], elements[1])),
            VEN_REFUSED("venRelease" + type + "ArrayElements: " + kModeCondition, family.release(env, nullptr, array, elements, -1)),
            VEN_DO(elements[0] = s[2]),
            VEN_STEP(KS_TRUE, family.release(env, nullptr, array, elements, JNI_ABORT), "", holds(0, s)),
            VEN_STEP(KS_TRUE, family.pin(&elements, env, nullptr, array, nullptr), "", true),
            VEN_DO(elements[0] = s[2]),
            VEN_STEP(KS_TRUE, family.release(env, nullptr, array, elements, JNI_COMMIT), "", holds(0, {s[2], s[1], s[2]})),
            VEN_DO(elements[1] = s[0]),
            VEN_STEP(KS_TRUE, family.release(env, nullptr, array, elements, 0), "", holds(0, {s[2], s[0], s[2]}))});
        // clang-format on
    }
};

TEST_F(ArraysTest, EveryElementTypeCreatesPinsReleasesAndCopiesRegions)
{
    std::apply([&](const auto&... families) { (checkFamily(families), ...); },
               std::tie(kBooleans, kBytes, kChars, kShorts, kInts, kLongs, kFloats, kDoubles));
}

// The copy flag is true only for JNI_TRUE, false after a failed pin; failed calls are
// traced, a failed creation storing NULL after deleting the reference held. Object arrays
// store NULL as null and trace a bad index or class; a negative length is refused before a
// NULL class. The critical pair pins; its refused releases give nothing back.
TEST_F(ArraysTest, CopyFlagFailuresObjectArraysAndTheCriticalPair)
{
    FaultEnv fault(env);
    LeakCheck leaks(fault);
    jboolean flag = JNI_FALSE;
    fault.override<&Entry::GetIntArrayElements>([&](JNIEnv* real, jintArray a, jboolean* copy) {
        *copy = flag;
        return real->GetIntArrayElements(a, nullptr);
    });
    jclass stringClass = findClass(env, "java/lang/String");
    jstring initial = jstr(env, "initial");
    jintArray ints = env->NewIntArray(3);
    const jint values[] = {-1, INT32_MIN, 7};
    env->SetIntArrayRegion(ints, 0, 3, values);
    jint* elements = nullptr;
    jlongArray longs = nullptr;
    jobjectArray array = nullptr;
    jint last = 0;
    KS_INT length = -1;
    void* carray = nullptr;
    KS_BOOL isCopy = 7;
    jboolean jniIsCopy = 7;
    Trace trace, stores;
    // clang-format off
    const std::string injected = "Exception: java.lang.OutOfMemoryError: injected by FaultEnv";
    runSteps(env, {
        VEN_STEP(KS_TRUE, venGetIntArrayElements(&elements, fault.env(), nullptr, ints, &isCopy), "", isCopy == KS_FALSE),
        VEN_DO(flag = JNI_TRUE),
        VEN_STEP(KS_TRUE, venReleaseIntArrayElements(env, nullptr, ints, elements, JNI_ABORT) && venGetIntArrayElements(&elements, fault.env(), nullptr, ints, &isCopy), "", isCopy == KS_TRUE),
        VEN_DO(flag = 2),
        VEN_STEP(KS_TRUE, venReleaseIntArrayElements(env, nullptr, ints, elements, JNI_ABORT) && venGetIntArrayElements(&elements, fault.env(), nullptr, ints, &isCopy), "", isCopy == KS_FALSE),
        VEN_STEP(KS_TRUE, venReleaseIntArrayElements(env, nullptr, ints, elements, JNI_ABORT), "", true),
        VEN_DO((isCopy = KS_TRUE, fault.raiseOutOfMemory<&Entry::GetIntArrayElements>())),
        VEN_STEP(KS_FALSE, venGetIntArrayElements(&elements, fault.env(), trace.get(), ints, &isCopy), "java.lang.OutOfMemoryError", elements == nullptr && isCopy == KS_FALSE),
        VEN_STEP(KS_TRUE, venNewLongArray(&longs, fault.env(), nullptr, 1), "", longs != nullptr),
        VEN_DO(fault.raiseOutOfMemory<&Entry::NewLongArray>()),
        VEN_STEP(KS_FALSE, venNewLongArray(&longs, fault.env(), trace.get(), 1), "java.lang.OutOfMemoryError", longs == nullptr && leaks.live() == 0 &&
                 (trace.lines() == std::vector<std::string>{"[venGetIntArrayElements()] " + injected, "[venNewLongArray()] " + injected})),
        VEN_STEP(KS_TRUE, venGetArrayLength(&length, env, nullptr, ints), "", length == 3),
        VEN_REFUSED("venNewObjectArray: VEN_KS_INT_TO_JSIZE_CONV_OK( length )", venNewObjectArray(&array, env, nullptr, kBeyondJsize, nullptr, nullptr)),
        VEN_STEP(KS_TRUE, venNewObjectArray(&array, env, nullptr, 2, stringClass, initial), "", same<jobject>(initial, env->GetObjectArrayElement(array, 1))),
        VEN_STEP(KS_TRUE, venSetObjectArrayElement(env, nullptr, array, 1, nullptr), "", env->GetObjectArrayElement(array, 1) == nullptr),
        VEN_STEP(KS_FALSE, venSetObjectArrayElement(env, stores.get(), array, 2, initial), "java.lang.ArrayIndexOutOfBoundsException", tracedOnce(stores, "[venSetObjectArrayElement()] Exception: java.lang.ArrayIndexOutOfBoundsException")),
        VEN_STEP(KS_FALSE, venSetObjectArrayElement(env, stores.get(), array, 0, newInstance(env, "java/lang/Object")), "java.lang.ArrayStoreException", tracedOnce(stores, "[venSetObjectArrayElement()] Exception: java.lang.ArrayStoreException")),
        VEN_REFUSED("venReleasePrimitiveArrayCritical: " + kModeCondition, venReleasePrimitiveArrayCritical(fault.env(), nullptr, ints, &last, -1)),
        VEN_STEP(KS_TRUE, venGetPrimitiveArrayCritical(&carray, fault.env(), nullptr, ints, &jniIsCopy), "",
                 (jniIsCopy == JNI_TRUE || jniIsCopy == JNI_FALSE) && std::memcmp(values, carray, sizeof values) == 0),
        VEN_DO(static_cast<jint*>(carray)[2] = 8),
        VEN_STEP(KS_TRUE, venReleasePrimitiveArrayCritical(fault.env(), nullptr, ints, carray, 0), "", fault.calls<&Entry::ReleasePrimitiveArrayCritical>() == 1),
        VEN_DO(env->GetIntArrayRegion(ints, 2, 1, &last)),
        VEN_STEP(KS_TRUE, venGetArrayLength(&length, env, nullptr, array), "", length == 2 && last == 8)});
    // clang-format on
    EXPECT_TRUE(length == 2 &&
                fault.calls<&Entry::ReleasePrimitiveArrayCritical>() == 1);
}

struct BridgesTest : JvmTest {
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
    static KsRef<ksBuffer> bufferOf(const char* bytes, KS_INT length)
    {
        return KsRef<ksBuffer>{ksBufferCreateFromBytesCopy(bytes, length)};
    }
};

// 10,000 strings, a NULL element and one that is not a string (both become null elements)
// take three local references at most and leave only the array; an empty vector gives an
// empty array. A third element that cannot be converted, or a class lookup that fails,
// gives false and NULL, every reference obtained on the way (and the one held) deleted.
TEST_F(BridgesTest, VectorsOfStringsBecomeStringArrays)
{
    KsRef<ksVector> vector{ksVectorCreate()};
    for (int i = 0; i < 10000; ++i) {
        ksVectorAppend(vector,
                       ksStr(i == 1 ? "tw\xC3\xB6 \xF0\x9F\x98\x80" : "element " + std::to_string(i)).get());
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
    auto element = [&](jsize i) { return static_cast<jstring>(env->GetObjectArrayElement(array, i)); };
    ASSERT_EQ(KS_TRUE, venNewStringArrayFromKsVector(&array, fault.env(), nullptr, vector));
    // clang-format off
    EXPECT_TRUE(mostLive <= 3 && fault.ledger().live() == 1 && fault.ledger().isLive(array)) << mostLive;
    EXPECT_TRUE(fault.calls<&Entry::NewString>() == 10000 && env->GetArrayLength(array) == 10002 && env->IsInstanceOf(array, findClass(env, "[Ljava/lang/String;")));
    EXPECT_TRUE(utf8(env, element(0)) == "element 0" && utf8(env, element(9999)) == "element 9999" && !element(10000) && !element(10001));
    EXPECT_EQ(u"tw\u00F6 \U0001F600", units(env, element(1)));
    EXPECT_TRUE(venNewStringArrayFromKsVector(&array, env, nullptr, KsRef<ksVector>{ksVectorCreate()}) && !env->GetArrayLength(array));
    for (const auto& [classFails, line] : {std::pair{true, "[venFindClass()] Exception: java.lang.NoClassDefFoundError: java/lang/String"},
                                           std::pair{false, "[venNewString()] Exception: java.lang.OutOfMemoryError: injected by FaultEnv"}}) {
        FaultEnv failing(env);
        LeakCheck leaks(failing);
        classFails ? failing.raise<&Entry::FindClass>("java/lang/NoClassDefFoundError", "java/lang/String", FaultEnv::Calls::nth(1)) : failing.raiseOutOfMemory<&Entry::NewString>(FaultEnv::Calls::nth(3));
        Trace trace;
        array = static_cast<jobjectArray>(failing.env()->NewObjectArray(1, findClass(env, "java/lang/Object"), nullptr));
        EXPECT_EQ(KS_FALSE, venNewStringArrayFromKsVector(&array, failing.env(), trace.get(), vector));
        ExpectPendingClass(env, classFails ? "java.lang.NoClassDefFoundError" : "java.lang.OutOfMemoryError");
        EXPECT_TRUE(!array && leaks.live() == 0 && failing.calls<&Entry::NewString>() == (classFails ? 0 : 3) && tracedOnce(trace, line, true));
    }
    // clang-format on
}

// Buffers and doubles to arrays (a failed copy or pin keeps the new, all-zero array); arrays
// to a buffer replacing (and releasing) the one held, a whole array in the critical region
// with no JNI call there, one byte per element; copies of the smaller of both lengths given
// back with JNI_ABORT.
TEST_F(BridgesTest, BuffersPlainArraysAndCopies)
{
    FaultEnv fault(env);
    LeakCheck leaks(fault);
    JNIEnv* f = fault.env();
    jbyteArray bytes = nullptr;
    jdoubleArray doubles = nullptr;
    KsRef<ksBuffer> buffer = bufferOf("old", 3);
    ksBuffer* kept = nullptr;
    jint modes[2] = {};
    Trace trace;
    // clang-format off
    fault.override<&Entry::ReleaseIntArrayElements>([&](JNIEnv* real, jintArray a, jint* e, jint mode) { real->ReleaseIntArrayElements(a, e, modes[0] = mode); });
    fault.override<&Entry::ReleaseDoubleArrayElements>([&](JNIEnv* real, jdoubleArray a, jdouble* e, jint mode) { real->ReleaseDoubleArrayElements(a, e, modes[1] = mode); });
    const double values[] = {-0.0, 0.1, std::numeric_limits<double>::infinity(), -2.5, std::numeric_limits<double>::quiet_NaN(), -1e308};
    const jint intValues[] = {-1, INT32_MIN, INT32_MAX, 7, 0x04030201};
    const jbyte five[] = {10, -20, 30, -40, 5};
    jintArray ints = env->NewIntArray(4), wide = env->NewIntArray(1);
    jdoubleArray fourDoubles = env->NewDoubleArray(4);
    jbyteArray array = env->NewByteArray(5);
    env->SetIntArrayRegion(ints, 0, 4, intValues), env->SetIntArrayRegion(wide, 0, 1, intValues + 4);
    env->SetDoubleArrayRegion(fourDoubles, 0, 4, values), env->SetByteArrayRegion(array, 0, 5, five);
    auto doublesAre = [&](std::vector<double> expected) {
        std::vector<double> copied(static_cast<std::size_t>(env->GetArrayLength(doubles)));
        env->GetDoubleArrayRegion(doubles, 0, static_cast<jsize>(copied.size()), copied.data());
        return copied.size() == expected.size() && (copied.empty() || std::memcmp(copied.data(), expected.data(), copied.size() * 8) == 0);
    };
    std::array<KS_INT, 6> intCopy{};
    std::array<double, 6> doubleCopy{};
    auto copy = [&](KS_INT length) { return venCopyIntArrayElements(intCopy.data(), f, nullptr, ints, length) && venCopyDoubleArrayElements(doubleCopy.data(), f, nullptr, fourDoubles, length); };
    // The first `n` copied, the rest as filled before (99), the elements given back unchanged; then refilled.
    auto copied = [&](std::size_t n) {
        bool ok = modes[0] == JNI_ABORT && modes[1] == JNI_ABORT;
        for (std::size_t i = 0; i < 6; ++i) {
            ok = ok && same<KS_INT>(i < n ? intValues[i] : 99, intCopy[i]) && same<double>(i < n ? values[i] : 99, doubleCopy[i]);
        }
        intCopy.fill(99), doubleCopy.fill(99), modes[0] = modes[1] = -1;
        return ok;
    };
    copied(0);
    runSteps(env, {
        VEN_STEP(KS_TRUE, venNewByteArrayFromBuffer(&bytes, f, nullptr, bufferOf("\x01\xFF\x7F", 3)), "", (bytesOf(bytes) == std::vector<jbyte>{1, -1, 127})),
        VEN_STEP(KS_TRUE, venNewByteArrayFromBuffer(&bytes, f, nullptr, bufferOf("", 0)), "", env->GetArrayLength(bytes) == 0),
        VEN_STEP(KS_TRUE, venNewDoubleArrayOf(&doubles, f, nullptr, values, 6), "", doublesAre({values, values + 6})),
        VEN_STEP(KS_TRUE, venNewDoubleArrayOf(&doubles, f, nullptr, values, 0), "", doublesAre({}) && leaks.live() == 2),
        VEN_STEP(KS_TRUE, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 1, 2), "", (bytesOf(buffer) == std::vector<jbyte>{-20, 30})),
        VEN_STEP(KS_TRUE, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 5, 0), "", ksBufferLength(buffer) == 0),
        VEN_DO(kept = buffer.get()),
        VEN_STEP(KS_FALSE, venGetByteArrayRegionAsBuffer(buffer.out(), env, trace.get(), array, 4, 2), "java.lang.ArrayIndexOutOfBoundsException",
                 buffer.get() == kept && tracedOnce(trace, "[venGetByteArrayRegion()] Exception: java.lang.ArrayIndexOutOfBoundsException")),
        VEN_STEP(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), f, nullptr, array), "", bytesOf(buffer) == bytesOf(array) &&
                 bytesOf(buffer) == std::vector<jbyte>(five, five + 5) && ksObjRefCount(buffer.get()) == 1 && leaks.live() == 2),
        VEN_STEP(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, wide), "", (bytesOf(buffer) == std::vector<jbyte>{1})),
        VEN_STEP(KS_TRUE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, env->NewBooleanArray(0)), "", ksBufferLength(buffer) == 0),
        VEN_DO(kept = buffer.get()),
        VEN_STEP(KS_TRUE, copy(10), "", copied(4)),
        VEN_STEP(KS_TRUE, copy(4), "", copied(4)),
        VEN_STEP(KS_TRUE, copy(2), "", copied(2)),
        VEN_STEP(KS_TRUE, copy(0), "", copied(0) && fault.calls<&Entry::GetIntArrayElements>() == 4 && leaks.live() == 2),
        VEN_DO((fault.raiseOutOfMemory<&Entry::SetByteArrayRegion>(), fault.raiseOutOfMemory<&Entry::GetDoubleArrayElements>())),
        VEN_DO((fault.raiseOutOfMemory<&Entry::GetIntArrayElements>(), fault.raiseOutOfMemory<&Entry::GetPrimitiveArrayCritical>())),
        VEN_STEP(KS_FALSE, venNewByteArrayFromBuffer(&bytes, f, nullptr, bufferOf("abc", 3)), "java.lang.OutOfMemoryError", (bytesOf(bytes) == std::vector<jbyte>{0, 0, 0})),
        VEN_STEP(KS_FALSE, venNewDoubleArrayOf(&doubles, f, nullptr, values, 2), "java.lang.OutOfMemoryError", doublesAre({0.0, 0.0})),
        VEN_STEP(KS_FALSE, venGetPrimitiveArrayAsKsBuffer(buffer.out(), f, nullptr, array), "java.lang.OutOfMemoryError", buffer.get() == kept),
        VEN_STEP(KS_FALSE, venCopyIntArrayElements(intCopy.data(), f, nullptr, ints, 1), "java.lang.OutOfMemoryError", intCopy[0] == 99),
        VEN_STEP(KS_FALSE, venCopyDoubleArrayElements(doubleCopy.data(), f, nullptr, fourDoubles, 1), "java.lang.OutOfMemoryError", doubleCopy[0] == 99),
        VEN_DO(kept = buffer.get())});
    const KS_INT allocations = ksMemAllocCount();
    expectArgumentFailure(env, venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 0, 2147483648LL), "venGetByteArrayRegion: VEN_KS_INT_TO_JSIZE_CONV_OK( len )");
    // clang-format on
    EXPECT_TRUE(allocations == ksMemAllocCount() && buffer.get() == kept);
    const std::vector<std::string>& trail = fault.trail();
    auto pinned = std::find(trail.begin(), trail.end(), "GetPrimitiveArrayCritical");
    auto released = std::find(trail.begin(), trail.end(), "ReleasePrimitiveArrayCritical");
    ASSERT_TRUE(pinned < released && released != trail.end());
    EXPECT_TRUE(std::all_of(pinned + 1, released,
                            [](const std::string& entry) { return entry == "ExceptionCheck"; }));
}

} // namespace
} // namespace ven::families_test
