// Arrays through the integration layer: the five functions of every primitive element type
// driven through one table row per type (creation, pinning and release modes, region
// bounds), then the object arrays, the length and the critical pair.
#include <array>
#include <cfloat>
#include <cstdint>
#include <functional>
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

const ArrayFamily<jboolean, jbooleanArray> kBooleans{VEN_ARRAY_ROW(Boolean),
                                                     {{JNI_TRUE, JNI_FALSE, JNI_TRUE}}};
const ArrayFamily<jbyte, jbyteArray> kBytes{VEN_ARRAY_ROW(Byte), {{-128, 127, -1}}};
const ArrayFamily<jchar, jcharArray> kChars{VEN_ARRAY_ROW(Char), {{0xD83D, 0xFFFF, 0}}};
const ArrayFamily<jshort, jshortArray> kShorts{VEN_ARRAY_ROW(Short), {{-32768, 32767, -1}}};
const ArrayFamily<jint, jintArray> kInts{VEN_ARRAY_ROW(Int), {{INT32_MIN, INT32_MAX, -1}}};
const ArrayFamily<jlong, jlongArray> kLongs{VEN_ARRAY_ROW(Long), {{INT64_MIN, INT64_MAX, -1}}};
const ArrayFamily<jfloat, jfloatArray> kFloats{VEN_ARRAY_ROW(Float),
                                               {{0.1f, -0.0f, std::numeric_limits<float>::quiet_NaN()}}};
const ArrayFamily<jdouble, jdoubleArray> kDoubles{VEN_ARRAY_ROW(Double),
                                                  {{0.1, -0.0, std::numeric_limits<double>::quiet_NaN()}}};

constexpr const char* kModeCondition = "mode == 0 || mode == JNI_COMMIT || mode == JNI_ABORT";

class ArraysTest : public JvmTest
{
  protected:
    template <typename Element, typename Array>
    std::array<Element, 3> contents(const ArrayFamily<Element, Array>& family, Array array)
    {
        std::array<Element, 3> values{};
        EXPECT_EQ(KS_TRUE, family.getRegion(env, nullptr, array, 0, 3, values.data()));
        return values;
    }

    template <typename Element>
    static bool sameElements(const std::array<Element, 3>& a, const std::array<Element, 3>& b)
    {
        return std::equal(a.begin(), a.end(), b.begin(), same<Element>);
    }

    template <typename Element, typename Array> void checkFamily(const ArrayFamily<Element, Array>& family)
    {
        SCOPED_TRACE(family.type);
        LoopFrame frame(env);
        const std::string create = "venNew" + family.type + "Array: ";
        const std::string pin = "venGet" + family.type + "ArrayElements: ";
        const std::string release = "venRelease" + family.type + "ArrayElements: ";
        const std::string getRegion = "venGet" + family.type + "ArrayRegion";
        const std::string setRegion = "venSet" + family.type + "ArrayRegion";
        const std::array<Element, 3>& sample = family.sample;

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
        expectArgumentFailure(env, family.create(nullptr, env, nullptr, -1), create + "result != NULL");
        expectArgumentFailure(env, family.create(&array, env, nullptr, -1), create + "length >= 0");
        expectArgumentFailure(env, family.create(&array, env, nullptr, 2147483648LL),
                              create + "VEN_KS_INT_TO_JSIZE_CONV_OK( length )");
        ASSERT_EQ(3, env->GetArrayLength(array));

        // Regions: whole and partial, both ways; the bounds are the virtual machine's.
        ASSERT_EQ(KS_TRUE, family.setRegion(env, nullptr, array, 0, 3, sample.data()));
        EXPECT_TRUE(sameElements(sample, contents(family, array)));
        std::array<Element, 3> part{sample[0], sample[0], sample[0]};
        ASSERT_EQ(KS_TRUE, family.getRegion(env, nullptr, array, 1, 2, part.data()));
        EXPECT_TRUE(sameElements({sample[1], sample[2], sample[0]}, part));
        using Region = KS_BOOL (*)(JNIEnv*, lgStream*, Array, KS_INT, KS_INT, Element*);
        auto set = [&](JNIEnv* e, lgStream* t, Array a, KS_INT start, KS_INT len, Element* buf) {
            return family.setRegion(e, t, a, start, len, buf);
        };
        for (const auto& [name, region] :
             {std::pair<std::string,
                        std::function<KS_BOOL(JNIEnv*, lgStream*, Array, KS_INT, KS_INT, Element*)>>{
                  getRegion, Region{family.getRegion}},
              {setRegion, set}}) {
            SCOPED_TRACE(name);
            for (auto [start, len] : {std::pair<KS_INT, KS_INT>{-1, 1}, {2, 2}, {0, -1}}) {
                Trace trace;
                EXPECT_EQ(KS_FALSE, region(env, trace.get(), array, start, len, part.data()));
                ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
                ASSERT_EQ(1u, trace.lines().size());
                EXPECT_EQ(0u, trace.lines()[0].find(
                                  "[" + name + "()] Exception: java.lang.ArrayIndexOutOfBoundsException"));
            }
            expectArgumentFailure(env, region(env, nullptr, nullptr, 2147483648LL, 2147483648LL, nullptr),
                                  name + ": array != NULL");
            expectArgumentFailure(env, region(env, nullptr, array, 2147483648LL, 2147483648LL, nullptr),
                                  name + ": VEN_KS_INT_TO_JSIZE_CONV_OK( start )");
            expectArgumentFailure(env, region(env, nullptr, array, -2147483648LL, 2147483648LL, nullptr),
                                  name + ": VEN_KS_INT_TO_JSIZE_CONV_OK( len )");
            expectArgumentFailure(env, region(env, nullptr, array, 0, 3, nullptr), name + ": buf != NULL");
        }
        EXPECT_TRUE(sameElements(sample, contents(family, array)));

        // Pinning and the three release modes.
        Element* elements = nullptr;
        KS_BOOL isCopy = 7;
        ASSERT_EQ(KS_TRUE, family.pin(&elements, env, nullptr, array, &isCopy));
        EXPECT_TRUE(isCopy == KS_TRUE || isCopy == KS_FALSE);
        EXPECT_TRUE(same(sample[1], elements[1]));
        elements[0] = sample[2];
        for (jint mode : {3, -1}) {
            expectArgumentFailure(env, family.release(env, nullptr, array, elements, mode),
                                  release + kModeCondition);
        }
        expectArgumentFailure(env, family.release(env, nullptr, nullptr, nullptr, 9),
                              release + "array != NULL");
        expectArgumentFailure(env, family.release(env, nullptr, array, nullptr, 0),
                              release + "elems != NULL");
        ASSERT_EQ(KS_TRUE, family.release(env, nullptr, array, elements, JNI_ABORT));
        EXPECT_TRUE(sameElements(sample, contents(family, array)));
        ASSERT_EQ(KS_TRUE, family.pin(&elements, env, nullptr, array, nullptr));
        elements[0] = sample[2];
        ASSERT_EQ(KS_TRUE, family.release(env, nullptr, array, elements, JNI_COMMIT));
        EXPECT_TRUE(sameElements({sample[2], sample[1], sample[2]}, contents(family, array)));
        elements[1] = sample[0];
        ASSERT_EQ(KS_TRUE, family.release(env, nullptr, array, elements, 0));
        EXPECT_TRUE(sameElements({sample[2], sample[0], sample[2]}, contents(family, array)));
        isCopy = 7;
        expectArgumentFailure(env, family.pin(nullptr, env, nullptr, nullptr, &isCopy),
                              pin + "result != NULL");
        expectArgumentFailure(env, family.pin(&elements, env, nullptr, nullptr, &isCopy),
                              pin + "array != NULL");
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

TEST_F(ArraysTest, CopyFlagIsTrueOnlyForJniTrueAndFalseAfterAFailedPin)
{
    FaultEnv fault(env);
    jintArray array = env->NewIntArray(2);
    for (jboolean flag : {jboolean{JNI_FALSE}, jboolean{JNI_TRUE}, jboolean{2}}) {
        fault.override<&JNINativeInterface_::GetIntArrayElements>(
            [flag](JNIEnv* real, jintArray a, jboolean* copy) {
                jint* elements = real->GetIntArrayElements(a, nullptr);
                *copy = flag;
                return elements;
            });
        jint* elements = nullptr;
        KS_BOOL isCopy = 7;
        ASSERT_EQ(KS_TRUE, venGetIntArrayElements(&elements, fault.env(), nullptr, array, &isCopy));
        EXPECT_EQ(flag == JNI_TRUE ? KS_TRUE : KS_FALSE, isCopy);
        env->ReleaseIntArrayElements(array, elements, JNI_ABORT);
    }
    // A pin that fails without writing the flag reports no copy, and the failure is traced.
    fault.raiseOutOfMemory<&JNINativeInterface_::GetIntArrayElements>();
    Trace trace;
    jint* elements = reinterpret_cast<jint*>(&trace);
    KS_BOOL isCopy = KS_TRUE;
    EXPECT_EQ(KS_FALSE, venGetIntArrayElements(&elements, fault.env(), trace.get(), array, &isCopy));
    EXPECT_EQ(nullptr, elements);
    EXPECT_EQ(KS_FALSE, isCopy);
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    EXPECT_EQ(std::vector<std::string>{"[venGetIntArrayElements()] Exception: java.lang.OutOfMemoryError: "
                                       "injected by FaultEnv"},
              trace.lines());
}

TEST_F(ArraysTest, FailedCreationStoresNullAndLetsGoOfTheHeldReference)
{
    FaultEnv fault(env);
    DeletionLog deletions(fault);
    jlongArray array = nullptr;
    ASSERT_EQ(KS_TRUE, venNewLongArray(&array, fault.env(), nullptr, 1));
    jlongArray held = array;
    fault.raiseOutOfMemory<&JNINativeInterface_::NewLongArray>();
    EXPECT_EQ(KS_FALSE, venNewLongArray(&array, fault.env(), nullptr, 1));
    EXPECT_EQ(nullptr, array);
    EXPECT_TRUE(deletions.deleted(held));
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
}

TEST_F(ArraysTest, LengthOfAnyArray)
{
    KS_INT length = -1;
    ASSERT_EQ(KS_TRUE, venGetArrayLength(&length, env, nullptr, env->NewDoubleArray(5)));
    EXPECT_EQ(5, length);
    expectArgumentFailure(env, venGetArrayLength(nullptr, env, nullptr, nullptr),
                          "venGetArrayLength: result != NULL");
    expectArgumentFailure(env, venGetArrayLength(&length, env, nullptr, nullptr),
                          "venGetArrayLength: array != NULL");
    EXPECT_EQ(5, length);
}

TEST_F(ArraysTest, ObjectArraysCreateAndStoreWithTheirChecks)
{
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
    jobject wrongClass = newInstance(env, "java/lang/Object");
    EXPECT_EQ(KS_FALSE, venSetObjectArrayElement(env, trace.get(), array, 0, wrongClass));
    ExpectPendingClass(env, "java.lang.ArrayStoreException");
    ASSERT_EQ(2u, trace.lines().size());
    for (const std::string& line : trace.lines()) {
        EXPECT_EQ(0u, line.find("[venSetObjectArrayElement()] Exception: java.lang.Array"));
    }

    // The earlier condition wins: a negative length before a NULL class.
    expectArgumentFailure(env, venNewObjectArray(nullptr, env, nullptr, -1, nullptr, nullptr),
                          "venNewObjectArray: result != NULL");
    expectArgumentFailure(env, venNewObjectArray(&array, env, nullptr, -1, nullptr, nullptr),
                          "venNewObjectArray: length >= 0");
    expectArgumentFailure(env, venNewObjectArray(&array, env, nullptr, 2147483648LL, nullptr, nullptr),
                          "venNewObjectArray: VEN_KS_INT_TO_JSIZE_CONV_OK( length )");
    expectArgumentFailure(env, venNewObjectArray(&array, env, nullptr, 1, nullptr, nullptr),
                          "venNewObjectArray: elementClass != NULL");
    expectArgumentFailure(env, venSetObjectArrayElement(env, nullptr, nullptr, 2147483648LL, nullptr),
                          "venSetObjectArrayElement: array != NULL");
    expectArgumentFailure(env, venSetObjectArrayElement(env, nullptr, array, 2147483648LL, nullptr),
                          "venSetObjectArrayElement: VEN_KS_INT_TO_JSIZE_CONV_OK( index )");
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
    EXPECT_EQ(1, fault.calls<&JNINativeInterface_::ReleasePrimitiveArrayCritical>());

    // Refused releases give nothing back; none of them reaches JNI.
    int dummy = 0;
    for (jint mode : {3, -1}) {
        expectArgumentFailure(env,
                              venReleasePrimitiveArrayCritical(fault.env(), nullptr, array, &dummy, mode),
                              std::string("venReleasePrimitiveArrayCritical: ") + kModeCondition);
    }
    expectArgumentFailure(env, venReleasePrimitiveArrayCritical(fault.env(), nullptr, array, nullptr, 0),
                          "venReleasePrimitiveArrayCritical: carray != NULL");
    expectArgumentFailure(env, venReleasePrimitiveArrayCritical(fault.env(), nullptr, nullptr, nullptr, 0),
                          "venReleasePrimitiveArrayCritical: array != NULL");
    EXPECT_EQ(1, fault.calls<&JNINativeInterface_::ReleasePrimitiveArrayCritical>());
    isCopy = 7;
    expectArgumentFailure(env, venGetPrimitiveArrayCritical(nullptr, env, nullptr, array, &isCopy),
                          "venGetPrimitiveArrayCritical: result != NULL");
    expectArgumentFailure(env, venGetPrimitiveArrayCritical(&carray, env, nullptr, nullptr, &isCopy),
                          "venGetPrimitiveArrayCritical: array != NULL");
    EXPECT_EQ(7, isCopy);
}

} // namespace
} // namespace ven::families_test
