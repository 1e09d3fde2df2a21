// Arrays through the integration layer: the five functions of every primitive element type
// driven through one table row per type (creation, pinning and release modes, region
// bounds, checks in order), then the object arrays, the length and the critical pair.
#include <array>
#include <cfloat>
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

#define VEN_ARRAY_ROW(Type)                                                                                  \
#Type, venNew##Type##Array, venGet##Type##ArrayElements, venRelease##Type##ArrayElements,                \
        venGet##Type##ArrayRegion, venSet##Type##ArrayRegion

// clang-format off
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
    template <typename Element, typename Array> void checkFamily(const ArrayFamily<Element, Array>& family)
    {
        SCOPED_TRACE(family.type);
        LoopFrame frame(env);
        using Elements = std::array<Element, 3>;
        auto expectContents = [&](Array array, const Elements& expected) {
            Elements values{};
            EXPECT_EQ(KS_TRUE, family.getRegion(env, nullptr, array, 0, 3, values.data()));
            EXPECT_TRUE(std::equal(values.begin(), values.end(), expected.begin(), same<Element>));
        };
        const Elements& sample = family.sample;

        // Creation: an empty array, then one created into the same variable replaces it.
        FaultEnv fault(env);
        Array array = nullptr;
        ASSERT_EQ(KS_TRUE, family.create(&array, fault.env(), nullptr, 0));
        EXPECT_EQ(0, env->GetArrayLength(array));
        Array empty = array;
        ASSERT_EQ(KS_TRUE, family.create(&array, fault.env(), nullptr, 3));
        EXPECT_EQ(3, env->GetArrayLength(array));
        EXPECT_FALSE(fault.ledger().isLive(empty));
        EXPECT_EQ(1, fault.ledger().live());
        const std::string create = "venNew" + family.type + "Array";
        expectChecksInOrder(env, create, {"result != NULL", "length >= 0"}, family.create,
                            std::tuple{&array, env, nullptr, KS_INT{3}}, {nullptr, env, nullptr, -1});
        expectArgumentFailure(env, family.create(&array, env, nullptr, kBeyondJsize),
                              create + ": VEN_KS_INT_TO_JSIZE_CONV_OK( length )");

        // Regions, whole and partial, both ways; the bounds are the virtual machine's.
        ASSERT_EQ(KS_TRUE, family.setRegion(env, nullptr, array, 0, 3, sample.data()));
        expectContents(array, sample);
        Elements part{sample[0], sample[0], sample[0]};
        ASSERT_EQ(KS_TRUE, family.getRegion(env, nullptr, array, 1, 2, part.data()));
        EXPECT_TRUE(std::equal(part.begin(), part.end(), Elements{sample[1], sample[2], sample[0]}.begin(),
                               same<Element>));
        auto checkRegion = [&](const std::string& name, auto region) {
            for (auto [start, len] : {std::pair<KS_INT, KS_INT>{-1, 1}, {2, 2}, {0, -1}}) {
                Trace trace;
                EXPECT_EQ(KS_FALSE, region(env, trace.get(), array, start, len, part.data()));
                ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
                ASSERT_EQ(1u, trace.lines().size());
                EXPECT_EQ(
                    0u, trace.lines()[0].find("[" + name + "()] Exception: java.lang.ArrayIndexOutOfBounds"));
            }
            expectChecksInOrder(env, name,
                                {"array != NULL", "VEN_KS_INT_TO_JSIZE_CONV_OK( start )",
                                 "VEN_KS_INT_TO_JSIZE_CONV_OK( len )", "buf != NULL"},
                                region, std::tuple{env, nullptr, array, KS_INT{0}, KS_INT{3}, part.data()},
                                {env, nullptr, nullptr, kBeyondJsize, kBeyondJsize, nullptr});
        };
        checkRegion("venGet" + family.type + "ArrayRegion", family.getRegion);
        checkRegion("venSet" + family.type + "ArrayRegion", family.setRegion);
        expectContents(array, sample);

        // Pinning, and releases in the three modes; a refused release gives nothing back.
        const std::string pin = "venGet" + family.type + "ArrayElements";
        const std::string release = "venRelease" + family.type + "ArrayElements";
        Element* elements = nullptr;
        KS_BOOL isCopy = 7;
        ASSERT_EQ(KS_TRUE, family.pin(&elements, env, nullptr, array, &isCopy));
        EXPECT_TRUE(isCopy == KS_TRUE || isCopy == KS_FALSE);
        EXPECT_TRUE(same(sample[1], elements[1]));
        elements[0] = sample[2];
        expectChecksInOrder(env, release, {"array != NULL", "elems != NULL", kModeCondition}, family.release,
                            std::tuple{env, nullptr, array, elements, jint{0}},
                            {env, nullptr, nullptr, nullptr, 3});
        expectArgumentFailure(env, family.release(env, nullptr, array, elements, -1),
                              release + ": " + kModeCondition);
        ASSERT_EQ(KS_TRUE, family.release(env, nullptr, array, elements, JNI_ABORT));
        expectContents(array, sample);
        ASSERT_EQ(KS_TRUE, family.pin(&elements, env, nullptr, array, nullptr));
        elements[0] = sample[2];
        ASSERT_EQ(KS_TRUE, family.release(env, nullptr, array, elements, JNI_COMMIT));
        expectContents(array, {sample[2], sample[1], sample[2]});
        elements[1] = sample[0];
        ASSERT_EQ(KS_TRUE, family.release(env, nullptr, array, elements, 0));
        expectContents(array, {sample[2], sample[0], sample[2]});
        isCopy = 7;
        expectChecksInOrder(env, pin, {"result != NULL", "array != NULL"}, family.pin,
                            std::tuple{&elements, env, nullptr, array, &isCopy},
                            {nullptr, env, nullptr, nullptr, &isCopy});
        EXPECT_EQ(7, isCopy);
    }
};

TEST_F(ArraysTest, EveryElementTypeCreatesPinsReleasesAndCopiesRegions)
{
    checkFamily(kBooleans);
    checkFamily(kBytes);
    checkFamily(kChars);
    checkFamily(kShorts);
    checkFamily(kInts);
    checkFamily(kLongs);
    checkFamily(kFloats);
    checkFamily(kDoubles);
}

// The copy flag is true only for JNI_TRUE; failed pins and creations are traced, and a
// failed creation stores NULL after deleting the reference the variable held.
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
    Trace trace;
    jint* elements = reinterpret_cast<jint*>(&trace);
    KS_BOOL isCopy = KS_TRUE;
    EXPECT_EQ(KS_FALSE, venGetIntArrayElements(&elements, fault.env(), trace.get(), array, &isCopy));
    EXPECT_EQ(nullptr, elements);
    EXPECT_EQ(KS_FALSE, isCopy);
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    jlongArray longs = nullptr;
    ASSERT_EQ(KS_TRUE, venNewLongArray(&longs, fault.env(), nullptr, 1));
    fault.raiseOutOfMemory<&Entry::NewLongArray>();
    EXPECT_EQ(KS_FALSE, venNewLongArray(&longs, fault.env(), trace.get(), 1));
    EXPECT_EQ(nullptr, longs);
    EXPECT_EQ(0, leaks.live());
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    const std::string injected = "Exception: java.lang.OutOfMemoryError: injected by FaultEnv";
    EXPECT_EQ((std::vector<std::string>{"[venGetIntArrayElements()] " + injected,
                                        "[venNewLongArray()] " + injected}),
              trace.lines());
}

TEST_F(ArraysTest, LengthAndObjectArrays)
{
    KS_INT length = -1;
    ASSERT_EQ(KS_TRUE, venGetArrayLength(&length, env, nullptr, env->NewDoubleArray(5)));
    EXPECT_EQ(5, length);
    expectChecksInOrder(env, "venGetArrayLength", {"result != NULL", "array != NULL"}, venGetArrayLength,
                        std::tuple{&length, env, nullptr, static_cast<jarray>(env->NewIntArray(1))},
                        {nullptr, env, nullptr, nullptr});
    EXPECT_EQ(5, length);

    jclass stringClass = findClass(env, "java/lang/String");
    jstring initial = jstr(env, "initial");
    jobjectArray array = nullptr;
    ASSERT_EQ(KS_TRUE, venNewObjectArray(&array, env, nullptr, 2, stringClass, initial));
    EXPECT_TRUE(env->IsSameObject(initial, env->GetObjectArrayElement(array, 1)));
    ASSERT_EQ(KS_TRUE, venSetObjectArrayElement(env, nullptr, array, 1, nullptr));
    EXPECT_EQ(nullptr, env->GetObjectArrayElement(array, 1));
    Trace trace;
    EXPECT_EQ(KS_FALSE, venSetObjectArrayElement(env, trace.get(), array, 2, initial));
    ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
    EXPECT_EQ(KS_FALSE,
              venSetObjectArrayElement(env, trace.get(), array, 0, newInstance(env, "java/lang/Object")));
    ExpectPendingClass(env, "java.lang.ArrayStoreException");
    ASSERT_EQ(2u, trace.lines().size());
    for (const std::string& line : trace.lines()) {
        EXPECT_EQ(0u, line.find("[venSetObjectArrayElement()] Exception: java.lang.Array"));
    }
    // A negative length is refused before a NULL class.
    expectChecksInOrder(env, "venNewObjectArray", {"result != NULL", "length >= 0", "elementClass != NULL"},
                        venNewObjectArray, std::tuple{&array, env, nullptr, KS_INT{1}, stringClass, nullptr},
                        {nullptr, env, nullptr, -1, nullptr, nullptr});
    expectArgumentFailure(env, venNewObjectArray(&array, env, nullptr, kBeyondJsize, nullptr, nullptr),
                          "venNewObjectArray: VEN_KS_INT_TO_JSIZE_CONV_OK( length )");
    expectChecksInOrder(env, "venSetObjectArrayElement",
                        {"array != NULL", "VEN_KS_INT_TO_JSIZE_CONV_OK( index )"}, venSetObjectArrayElement,
                        std::tuple{env, nullptr, array, KS_INT{0}, nullptr},
                        {env, nullptr, nullptr, kBeyondJsize, nullptr});
    EXPECT_EQ(2, env->GetArrayLength(array));
}

TEST_F(ArraysTest, CriticalPairPinsAndReleasesWithItsChecks)
{
    FaultEnv fault(env);
    jintArray array = env->NewIntArray(3);
    const jint values[] = {-1, INT32_MIN, 7};
    env->SetIntArrayRegion(array, 0, 3, values);
    void* carray = nullptr;
    jboolean isCopy = 7;
    ASSERT_EQ(KS_TRUE, venGetPrimitiveArrayCritical(&carray, fault.env(), nullptr, array, &isCopy));
    EXPECT_TRUE(isCopy == JNI_TRUE || isCopy == JNI_FALSE);
    EXPECT_EQ(0, std::memcmp(values, carray, sizeof values));
    static_cast<jint*>(carray)[2] = 8;
    ASSERT_EQ(KS_TRUE, venReleasePrimitiveArrayCritical(fault.env(), nullptr, array, carray, 0));
    jint last = 0;
    env->GetIntArrayRegion(array, 2, 1, &last);
    EXPECT_EQ(8, last);
    // Refused releases give nothing back: none of them reaches JNI.
    int dummy = 0;
    expectChecksInOrder(
        env, "venReleasePrimitiveArrayCritical", {"array != NULL", "carray != NULL", kModeCondition},
        venReleasePrimitiveArrayCritical,
        std::tuple{fault.env(), nullptr, static_cast<jarray>(array), static_cast<void*>(&dummy), 0},
        {fault.env(), nullptr, nullptr, nullptr, 3});
    expectArgumentFailure(env, venReleasePrimitiveArrayCritical(fault.env(), nullptr, array, &dummy, -1),
                          "venReleasePrimitiveArrayCritical: " + kModeCondition);
    EXPECT_EQ(1, fault.calls<&Entry::ReleasePrimitiveArrayCritical>());
    isCopy = 7;
    expectChecksInOrder(env, "venGetPrimitiveArrayCritical", {"result != NULL", "array != NULL"},
                        venGetPrimitiveArrayCritical,
                        std::tuple{&carray, env, nullptr, static_cast<jarray>(array), &isCopy},
                        {nullptr, env, nullptr, nullptr, &isCopy});
    EXPECT_EQ(7, isCopy);
}

} // namespace
} // namespace ven::families_test
