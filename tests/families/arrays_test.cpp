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
        const Elements& s = family.sample;
        FaultEnv fault(env);
        Array array = nullptr;
        Element* elements = nullptr;
        KS_BOOL isCopy = 7;
        Elements buffer = s;
        Trace trace;
        const std::string type = family.type;
        const std::string get = "venGet" + type + "ArrayRegion", set = "venSet" + type + "ArrayRegion";
        auto holds = [&](std::size_t start, const Elements& expected) {
            Elements values = s;
            return family.getRegion(env, nullptr, array, start, 3 - start, values.data()) &&
                   std::equal(values.begin(), values.end(), expected.begin(), same<Element>);
        };
        auto traced = [&](const std::string& name) {
            const std::vector<std::string> lines = trace.lines();
            trace.reset();
            return lines.size() == 1 &&
                   lines[0].starts_with("[" + name +
                                        "()] Exception: java.lang.ArrayIndexOutOfBoundsException");
        };
        const char* outOfBounds = "java.lang.ArrayIndexOutOfBoundsException";
        // clang-format off
        runSteps(env, {
            VEN_STEP(KS_TRUE, family.create(&array, fault.env(), nullptr, 0), nullptr, env->GetArrayLength(array) == 0),
            VEN_STEP(KS_TRUE, family.create(&array, fault.env(), nullptr, 3), nullptr, env->GetArrayLength(array) == 3 && fault.ledger().live() == 1),
            VEN_REFUSED("venNew" + type + "Array: VEN_KS_INT_TO_JSIZE_CONV_OK( length )", family.create(&array, env, nullptr, kBeyondJsize)),
            VEN_STEP(KS_TRUE, family.setRegion(env, nullptr, array, 0, 3, s.data()), nullptr, holds(0, s) && holds(1, {s[1], s[2], s[2]})),
            VEN_STEP(KS_FALSE, family.getRegion(env, trace.get(), array, -1, 1, buffer.data()), outOfBounds, traced(get)),
            VEN_STEP(KS_FALSE, family.getRegion(env, trace.get(), array, 2, 2, buffer.data()), outOfBounds, traced(get)),
            VEN_STEP(KS_FALSE, family.getRegion(env, trace.get(), array, 0, -1, buffer.data()), outOfBounds, traced(get)),
            VEN_STEP(KS_FALSE, family.setRegion(env, trace.get(), array, -1, 1, buffer.data()), outOfBounds, traced(set)),
            VEN_STEP(KS_FALSE, family.setRegion(env, trace.get(), array, 2, 2, buffer.data()), outOfBounds, traced(set)),
            VEN_STEP(KS_FALSE, family.setRegion(env, trace.get(), array, 0, -1, buffer.data()), outOfBounds, traced(set) && holds(0, s)),
            VEN_STEP(KS_TRUE, family.pin(&elements, env, nullptr, array, &isCopy), nullptr, (isCopy == KS_TRUE || isCopy == KS_FALSE) && same(s[1], elements[1])),
            VEN_REFUSED("venRelease" + type + "ArrayElements: " + kModeCondition, family.release(env, nullptr, array, elements, -1)),
            VEN_DO(elements[0] = s[2]),
            VEN_STEP(KS_TRUE, family.release(env, nullptr, array, elements, JNI_ABORT), nullptr, holds(0, s)),
            VEN_STEP(KS_TRUE, family.pin(&elements, env, nullptr, array, nullptr), nullptr, true),
            VEN_DO(elements[0] = s[2]),
            VEN_STEP(KS_TRUE, family.release(env, nullptr, array, elements, JNI_COMMIT), nullptr, holds(0, {s[2], s[1], s[2]})),
            VEN_DO(elements[1] = s[0]),
            VEN_STEP(KS_TRUE, family.release(env, nullptr, array, elements, 0), nullptr, holds(0, {s[2], s[0], s[2]})),
            VEN_DO(isCopy = 7)});
        const std::vector<std::string> regionChecks{"array != NULL", "VEN_KS_INT_TO_JSIZE_CONV_OK( start )", "VEN_KS_INT_TO_JSIZE_CONV_OK( len )", "buf != NULL"};
        expectChecksInOrder(env, "venNew" + type + "Array", {"result != NULL", "length >= 0"}, family.create, std::tuple{&array, env, nullptr, KS_INT{3}}, {nullptr, env, nullptr, -1});
        expectChecksInOrder(env, get, regionChecks, family.getRegion, std::tuple{env, nullptr, array, KS_INT{0}, KS_INT{3}, buffer.data()}, {env, nullptr, nullptr, kBeyondJsize, kBeyondJsize, nullptr});
        expectChecksInOrder(env, set, regionChecks, family.setRegion, std::tuple{env, nullptr, array, KS_INT{0}, KS_INT{3}, buffer.data()}, {env, nullptr, nullptr, kBeyondJsize, kBeyondJsize, nullptr});
        expectChecksInOrder(env, "venGet" + type + "ArrayElements", {"result != NULL", "array != NULL"}, family.pin, std::tuple{&elements, env, nullptr, array, &isCopy}, {nullptr, env, nullptr, nullptr, &isCopy});
        expectChecksInOrder(env, "venRelease" + type + "ArrayElements", {"array != NULL", "elems != NULL", kModeCondition}, family.release, std::tuple{env, nullptr, array, buffer.data(), jint{0}}, {env, nullptr, nullptr, nullptr, 3});
        EXPECT_EQ(7, isCopy);
        // clang-format on
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
    jboolean flag = JNI_FALSE;
    fault.override<&Entry::GetIntArrayElements>([&](JNIEnv* real, jintArray a, jboolean* copy) {
        *copy = flag;
        return real->GetIntArrayElements(a, nullptr);
    });
    jint* elements = nullptr;
    jlongArray longs = nullptr;
    KS_BOOL isCopy = 7;
    Trace trace;
    const std::string injected = "Exception: java.lang.OutOfMemoryError: injected by FaultEnv";
    // clang-format off
    runSteps(env, {
        VEN_STEP(KS_TRUE, venGetIntArrayElements(&elements, fault.env(), nullptr, array, &isCopy), nullptr, isCopy == KS_FALSE && (flag = JNI_TRUE)),
        VEN_STEP(KS_TRUE, venReleaseIntArrayElements(env, nullptr, array, elements, JNI_ABORT) && venGetIntArrayElements(&elements, fault.env(), nullptr, array, &isCopy), nullptr, isCopy == KS_TRUE && (flag = 2)),
        VEN_STEP(KS_TRUE, venReleaseIntArrayElements(env, nullptr, array, elements, JNI_ABORT) && venGetIntArrayElements(&elements, fault.env(), nullptr, array, &isCopy), nullptr, isCopy == KS_FALSE),
        VEN_STEP(KS_TRUE, venReleaseIntArrayElements(env, nullptr, array, elements, JNI_ABORT), nullptr, (isCopy = KS_TRUE)),
        VEN_DO(fault.raiseOutOfMemory<&Entry::GetIntArrayElements>()),
        VEN_STEP(KS_FALSE, venGetIntArrayElements(&elements, fault.env(), trace.get(), array, &isCopy), "java.lang.OutOfMemoryError", elements == nullptr && isCopy == KS_FALSE),
        VEN_STEP(KS_TRUE, venNewLongArray(&longs, fault.env(), nullptr, 1), nullptr, longs != nullptr),
        VEN_DO(fault.raiseOutOfMemory<&Entry::NewLongArray>()),
        VEN_STEP(KS_FALSE, venNewLongArray(&longs, fault.env(), trace.get(), 1), "java.lang.OutOfMemoryError", longs == nullptr && leaks.live() == 0 &&
                 (trace.lines() == std::vector<std::string>{"[venGetIntArrayElements()] " + injected, "[venNewLongArray()] " + injected}))});
    // clang-format on
}

// Object arrays: a NULL value is stored as null, a bad index or a value of the wrong class
// is traced, a negative length refused before a NULL class. The critical pair pins, and
// its refused releases give nothing back: none of them reaches JNI.
TEST_F(ArraysTest, ObjectArraysLengthAndTheCriticalPair)
{
    FaultEnv fault(env);
    jclass stringClass = findClass(env, "java/lang/String");
    jstring initial = jstr(env, "initial");
    jobjectArray array = nullptr;
    jintArray ints = env->NewIntArray(3);
    const jint values[] = {-1, INT32_MIN, 7};
    env->SetIntArrayRegion(ints, 0, 3, values);
    jint last = 0;
    KS_INT length = -1;
    void* carray = nullptr;
    jboolean isCopy = 7;
    Trace trace;
    auto traced = [&](const char* exception) {
        const std::vector<std::string> lines = trace.lines();
        trace.reset();
        return lines.size() == 1 &&
               lines[0].starts_with(std::string("[venSetObjectArrayElement()] Exception: ") + exception);
    };
    // clang-format off
    runSteps(env, {
        VEN_STEP(KS_TRUE, venGetArrayLength(&length, env, nullptr, ints), nullptr, length == 3),
        VEN_REFUSED("venNewObjectArray: VEN_KS_INT_TO_JSIZE_CONV_OK( length )", venNewObjectArray(&array, env, nullptr, kBeyondJsize, nullptr, nullptr)),
        VEN_STEP(KS_TRUE, venNewObjectArray(&array, env, nullptr, 2, stringClass, initial), nullptr, same<jobject>(initial, env->GetObjectArrayElement(array, 1))),
        VEN_STEP(KS_TRUE, venSetObjectArrayElement(env, nullptr, array, 1, nullptr), nullptr, env->GetObjectArrayElement(array, 1) == nullptr),
        VEN_STEP(KS_FALSE, venSetObjectArrayElement(env, trace.get(), array, 2, initial), "java.lang.ArrayIndexOutOfBoundsException", traced("java.lang.ArrayIndexOutOfBoundsException")),
        VEN_STEP(KS_FALSE, venSetObjectArrayElement(env, trace.get(), array, 0, newInstance(env, "java/lang/Object")), "java.lang.ArrayStoreException", traced("java.lang.ArrayStoreException")),
        VEN_REFUSED("venReleasePrimitiveArrayCritical: " + kModeCondition, venReleasePrimitiveArrayCritical(fault.env(), nullptr, ints, &last, -1)),
        VEN_STEP(KS_TRUE, venGetPrimitiveArrayCritical(&carray, fault.env(), nullptr, ints, &isCopy), nullptr,
                 (isCopy == JNI_TRUE || isCopy == JNI_FALSE) && std::memcmp(values, carray, sizeof values) == 0 && (static_cast<jint*>(carray)[2] = 8)),
        VEN_STEP(KS_TRUE, venReleasePrimitiveArrayCritical(fault.env(), nullptr, ints, carray, 0), nullptr, fault.calls<&Entry::ReleasePrimitiveArrayCritical>() == 1),
        VEN_DO(env->GetIntArrayRegion(ints, 2, 1, &last)),
        VEN_STEP(KS_TRUE, venGetArrayLength(&length, env, nullptr, array), nullptr, length == 2 && last == 8)});
    isCopy = 7;
    expectChecksInOrder(env, "venGetArrayLength", {"result != NULL", "array != NULL"}, venGetArrayLength, std::tuple{&length, env, nullptr, static_cast<jarray>(ints)}, {nullptr, env, nullptr, nullptr});
    expectChecksInOrder(env, "venNewObjectArray", {"result != NULL", "length >= 0", "elementClass != NULL"}, venNewObjectArray, std::tuple{&array, env, nullptr, KS_INT{1}, stringClass, nullptr}, {nullptr, env, nullptr, -1, nullptr, nullptr});
    expectChecksInOrder(env, "venSetObjectArrayElement", {"array != NULL", "VEN_KS_INT_TO_JSIZE_CONV_OK( index )"}, venSetObjectArrayElement, std::tuple{env, nullptr, array, KS_INT{0}, nullptr}, {env, nullptr, nullptr, kBeyondJsize, nullptr});
    expectChecksInOrder(env, "venGetPrimitiveArrayCritical", {"result != NULL", "array != NULL"}, venGetPrimitiveArrayCritical, std::tuple{&carray, env, nullptr, static_cast<jarray>(ints), &isCopy}, {nullptr, env, nullptr, nullptr, &isCopy});
    expectChecksInOrder(env, "venReleasePrimitiveArrayCritical", {"array != NULL", "carray != NULL", kModeCondition}, venReleasePrimitiveArrayCritical,
                        std::tuple{fault.env(), nullptr, static_cast<jarray>(ints), static_cast<void*>(&last), 0}, {fault.env(), nullptr, nullptr, nullptr, 3});
    // clang-format on
    EXPECT_TRUE(isCopy == 7 && length == 2 && fault.calls<&Entry::ReleasePrimitiveArrayCritical>() == 1);
}

} // namespace
} // namespace ven::families_test
