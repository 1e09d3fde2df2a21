// Arrays through the integration layer: the five functions of every primitive element type
// driven through one table row per type (creation, pinning and release modes, region
// bounds, checks in order), then the object arrays, the length and the critical pair.
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
    // with the three release modes, modes 3 and -1 and NULL elements refused; checks in order.
    template <typename Element, typename Array> void checkFamily(const ArrayFamily<Element, Array>& family)
    {
        SCOPED_TRACE(family.type);
        TestFrame frame(env, 256);
        using Elements = std::array<Element, 3>;
        const Elements& sample = family.sample;
        auto expectContents = [&](Array array, std::size_t start, const Elements& expected) {
            Elements values = sample;
            EXPECT_EQ(KS_TRUE, family.getRegion(env, nullptr, array, start, 3 - start, values.data()));
            EXPECT_TRUE(std::equal(values.begin(), values.end(), expected.begin(), same<Element>));
        };
        FaultEnv fault(env);
        Array array = nullptr;
        EXPECT_TRUE(family.create(&array, fault.env(), nullptr, 0) && env->GetArrayLength(array) == 0);
        ASSERT_TRUE(family.create(&array, fault.env(), nullptr, 3) && env->GetArrayLength(array) == 3);
        EXPECT_EQ(1, fault.ledger().live());
        ASSERT_EQ(KS_TRUE, family.setRegion(env, nullptr, array, 0, 3, sample.data()));
        expectContents(array, 0, sample);
        expectContents(array, 1, {sample[1], sample[2], sample[2]});
        Elements buffer = sample;
        auto checkRegion = [&](const std::string& name, auto region) {
            for (auto [start, len] : {std::pair<KS_INT, KS_INT>{-1, 1}, {2, 2}, {0, -1}}) {
                Trace trace;
                EXPECT_EQ(KS_FALSE, region(env, trace.get(), array, start, len, buffer.data()));
                ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
                EXPECT_TRUE(trace.lines().size() == 1 &&
                            trace.lines()[0].starts_with("[" + name +
                                                         "()] Exception: java.lang.ArrayIndexOutOfBounds"));
            }
        };
        const std::string type = family.type;
        Element* elements = nullptr;
        KS_BOOL isCopy = 7;
        // clang-format off
        const std::vector<std::string> regionChecks{"array != NULL", "VEN_KS_INT_TO_JSIZE_CONV_OK( start )", "VEN_KS_INT_TO_JSIZE_CONV_OK( len )", "buf != NULL"};
        expectChecksInOrder(env, "venNew" + type + "Array", {"result != NULL", "length >= 0"}, family.create, std::tuple{&array, env, nullptr, KS_INT{3}}, {nullptr, env, nullptr, -1});
        expectArgumentFailure(env, family.create(&array, env, nullptr, kBeyondJsize), "venNew" + type + "Array: VEN_KS_INT_TO_JSIZE_CONV_OK( length )");
        expectChecksInOrder(env, "venGet" + type + "ArrayRegion", regionChecks, family.getRegion, std::tuple{env, nullptr, array, KS_INT{0}, KS_INT{3}, buffer.data()}, {env, nullptr, nullptr, kBeyondJsize, kBeyondJsize, nullptr});
        expectChecksInOrder(env, "venSet" + type + "ArrayRegion", regionChecks, family.setRegion, std::tuple{env, nullptr, array, KS_INT{0}, KS_INT{3}, buffer.data()}, {env, nullptr, nullptr, kBeyondJsize, kBeyondJsize, nullptr});
        expectChecksInOrder(env, "venGet" + type + "ArrayElements", {"result != NULL", "array != NULL"}, family.pin, std::tuple{&elements, env, nullptr, array, &isCopy}, {nullptr, env, nullptr, nullptr, &isCopy});
        // clang-format on
        EXPECT_EQ(7, isCopy);
        checkRegion("venGet" + type + "ArrayRegion", family.getRegion);
        checkRegion("venSet" + type + "ArrayRegion", family.setRegion);
        expectContents(array, 0, sample);

        ASSERT_EQ(KS_TRUE, family.pin(&elements, env, nullptr, array, &isCopy));
        EXPECT_TRUE((isCopy == KS_TRUE || isCopy == KS_FALSE) && same(sample[1], elements[1]));
        elements[0] = sample[2];
        // clang-format off
        expectChecksInOrder(env, "venRelease" + type + "ArrayElements", {"array != NULL", "elems != NULL", kModeCondition}, family.release, std::tuple{env, nullptr, array, elements, jint{0}}, {env, nullptr, nullptr, nullptr, 3});
        expectArgumentFailure(env, family.release(env, nullptr, array, elements, -1), "venRelease" + type + "ArrayElements: " + kModeCondition);
        // clang-format on
        ASSERT_EQ(KS_TRUE, family.release(env, nullptr, array, elements, JNI_ABORT));
        expectContents(array, 0, sample);
        ASSERT_EQ(KS_TRUE, family.pin(&elements, env, nullptr, array, nullptr));
        elements[0] = sample[2];
        ASSERT_EQ(KS_TRUE, family.release(env, nullptr, array, elements, JNI_COMMIT));
        expectContents(array, 0, {sample[2], sample[1], sample[2]});
        elements[1] = sample[0];
        ASSERT_EQ(KS_TRUE, family.release(env, nullptr, array, elements, 0));
        expectContents(array, 0, {sample[2], sample[0], sample[2]});
    }
};

TEST_F(ArraysTest, EveryElementTypeCreatesPinsReleasesAndCopiesRegions)
{
    std::apply([&](const auto&... families) { (checkFamily(families), ...); },
               std::tie(kBooleans, kBytes, kChars, kShorts, kInts, kLongs, kFloats, kDoubles));
}

// The copy flag is true only for JNI_TRUE and false after a failed pin; failed calls are
// traced, and a failed creation stores NULL after deleting the reference held.
TEST_F(ArraysTest, CopyFlagAndFailedCalls)
{
    FaultEnv fault(env);
    LeakCheck leaks(fault);
    jintArray array = env->NewIntArray(2);
    for (jboolean flag : {jboolean{JNI_FALSE}, jboolean{JNI_TRUE}, jboolean{2}}) {
        fault.override<&Entry::GetIntArrayElements>([flag](JNIEnv* real, jintArray a, jboolean* copy) {
            *copy = flag;
            return real->GetIntArrayElements(a, nullptr);
        });
        jint* elements = nullptr;
        KS_BOOL isCopy = 7;
        ASSERT_EQ(KS_TRUE, venGetIntArrayElements(&elements, fault.env(), nullptr, array, &isCopy));
        EXPECT_EQ(flag == JNI_TRUE ? KS_TRUE : KS_FALSE, isCopy);
        env->ReleaseIntArrayElements(array, elements, JNI_ABORT);
    }
    fault.raiseOutOfMemory<&Entry::GetIntArrayElements>();
    fault.raiseOutOfMemory<&Entry::NewLongArray>(FaultEnv::Calls::nth(2));
    Trace trace;
    jint* elements = reinterpret_cast<jint*>(&trace);
    KS_BOOL isCopy = KS_TRUE;
    EXPECT_TRUE(!venGetIntArrayElements(&elements, fault.env(), trace.get(), array, &isCopy) &&
                elements == nullptr && isCopy == KS_FALSE);
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    jlongArray longs = nullptr;
    ASSERT_EQ(KS_TRUE, venNewLongArray(&longs, fault.env(), nullptr, 1));
    EXPECT_TRUE(!venNewLongArray(&longs, fault.env(), trace.get(), 1) && longs == nullptr &&
                leaks.live() == 0);
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    const std::string injected = "Exception: java.lang.OutOfMemoryError: injected by FaultEnv";
    EXPECT_EQ((std::vector<std::string>{"[venGetIntArrayElements()] " + injected,
                                        "[venNewLongArray()] " + injected}),
              trace.lines());
}

// Object arrays: a NULL value is stored as null, a bad index or a value of the wrong class
// is traced, a negative length refused before a NULL class. The critical pair pins, and
// its refused releases give nothing back: none of them reaches JNI.
TEST_F(ArraysTest, ObjectArraysLengthAndTheCriticalPair)
{
    jclass stringClass = findClass(env, "java/lang/String");
    jstring initial = jstr(env, "initial");
    jobjectArray array = nullptr;
    ASSERT_EQ(KS_TRUE, venNewObjectArray(&array, env, nullptr, 2, stringClass, initial));
    EXPECT_TRUE(env->IsSameObject(initial, env->GetObjectArrayElement(array, 1)));
    EXPECT_TRUE(venSetObjectArrayElement(env, nullptr, array, 1, nullptr) &&
                !env->GetObjectArrayElement(array, 1));
    Trace trace;
    EXPECT_EQ(KS_FALSE, venSetObjectArrayElement(env, trace.get(), array, 2, initial));
    ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
    EXPECT_EQ(KS_FALSE,
              venSetObjectArrayElement(env, trace.get(), array, 0, newInstance(env, "java/lang/Object")));
    ExpectPendingClass(env, "java.lang.ArrayStoreException");
    ASSERT_EQ(2u, trace.lines().size());
    EXPECT_TRUE(trace.lines()[0].starts_with(
                    "[venSetObjectArrayElement()] Exception: java.lang.ArrayIndexOutOfBoundsException") &&
                trace.lines()[1].starts_with(
                    "[venSetObjectArrayElement()] Exception: java.lang.ArrayStoreException"));

    FaultEnv fault(env);
    jintArray ints = env->NewIntArray(3);
    const jint values[] = {-1, INT32_MIN, 7};
    env->SetIntArrayRegion(ints, 0, 3, values);
    KS_INT length = -1;
    EXPECT_TRUE(venGetArrayLength(&length, env, nullptr, ints) && length == 3);
    void* carray = nullptr;
    jboolean isCopy = 7;
    ASSERT_EQ(KS_TRUE, venGetPrimitiveArrayCritical(&carray, fault.env(), nullptr, ints, &isCopy));
    EXPECT_TRUE((isCopy == JNI_TRUE || isCopy == JNI_FALSE) &&
                std::memcmp(values, carray, sizeof values) == 0);
    static_cast<jint*>(carray)[2] = 8;
    ASSERT_EQ(KS_TRUE, venReleasePrimitiveArrayCritical(fault.env(), nullptr, ints, carray, 0));
    jint last = 0;
    env->GetIntArrayRegion(ints, 2, 1, &last);
    EXPECT_EQ(8, last);
    isCopy = 7;
    // clang-format off
    expectChecksInOrder(env, "venGetArrayLength", {"result != NULL", "array != NULL"}, venGetArrayLength, std::tuple{&length, env, nullptr, static_cast<jarray>(array)}, {nullptr, env, nullptr, nullptr});
    expectChecksInOrder(env, "venNewObjectArray", {"result != NULL", "length >= 0", "elementClass != NULL"}, venNewObjectArray, std::tuple{&array, env, nullptr, KS_INT{1}, stringClass, nullptr}, {nullptr, env, nullptr, -1, nullptr, nullptr});
    expectArgumentFailure(env, venNewObjectArray(&array, env, nullptr, kBeyondJsize, nullptr, nullptr), "venNewObjectArray: VEN_KS_INT_TO_JSIZE_CONV_OK( length )");
    expectChecksInOrder(env, "venSetObjectArrayElement", {"array != NULL", "VEN_KS_INT_TO_JSIZE_CONV_OK( index )"}, venSetObjectArrayElement, std::tuple{env, nullptr, array, KS_INT{0}, nullptr}, {env, nullptr, nullptr, kBeyondJsize, nullptr});
    expectChecksInOrder(env, "venReleasePrimitiveArrayCritical", {"array != NULL", "carray != NULL", kModeCondition}, venReleasePrimitiveArrayCritical,
                        std::tuple{fault.env(), nullptr, static_cast<jarray>(ints), static_cast<void*>(&last), 0}, {fault.env(), nullptr, nullptr, nullptr, 3});
    expectArgumentFailure(env, venReleasePrimitiveArrayCritical(fault.env(), nullptr, ints, &last, -1), "venReleasePrimitiveArrayCritical: " + kModeCondition);
    expectChecksInOrder(env, "venGetPrimitiveArrayCritical", {"result != NULL", "array != NULL"}, venGetPrimitiveArrayCritical,
                        std::tuple{&carray, env, nullptr, static_cast<jarray>(ints), &isCopy}, {nullptr, env, nullptr, nullptr, &isCopy});
    // clang-format on
    EXPECT_TRUE(fault.calls<&Entry::ReleasePrimitiveArrayCritical>() == 1 && isCopy == 7 && length == 3);
    EXPECT_EQ(2, env->GetArrayLength(array));
}

} // namespace
} // namespace ven::families_test
