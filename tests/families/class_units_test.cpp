// The class support units of the boxed values, Object and the collections: class lookup
// and instance test of every unit through one table, boxing at the extremes, the text of
// an object, and the list, collection and enum-set operations with their checks in order.
#include <cfloat>
#include <cstdint>
#include <limits>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

// X.valueOf(text) of a boxed class X, or a constant of the fixture enum.
jobject boxed(JNIEnv* env, const char* className, const char* text)
{
    jclass clazz = findClass(env, className);
    const std::string sig = std::string("(Ljava/lang/String;)L") + className + ";";
    jobject value = env->CallStaticObjectMethod(clazz, env->GetStaticMethodID(clazz, "valueOf", sig.c_str()),
                                                jstr(env, text));
    EXPECT_FALSE(env->ExceptionCheck());
    return value;
}
jobject color(JNIEnv* env, const char* name)
{
    return boxed(env, "fixtures/Color", name);
}
jobject noColors(JNIEnv* env)
{
    jobject set = nullptr;
    EXPECT_EQ(KS_TRUE, venEnumSetNoneOf(&set, env, nullptr, findClass(env, "fixtures/Color")));
    return set;
}

struct ClassUnit {
    std::string getClassName;
    KS_BOOL (*getClass)(jclass*, JNIEnv*, lgStream*);
    KS_BOOL (*isInstance)(KS_BOOL*, JNIEnv*, lgStream*, jobject);
    const char* className;
    jobject (*makeInstance)(JNIEnv*);
};

// clang-format off
#define VEN_UNIT(Unit, className, instance) {#Unit "GetClass", Unit##GetClass, Unit##IsInstance, className, [](JNIEnv* env) -> jobject { return instance; }}
const ClassUnit kUnits[] = {
    VEN_UNIT(venBoolean, "java/lang/Boolean", boxed(env, "java/lang/Boolean", "true")),
    VEN_UNIT(venDouble, "java/lang/Double", boxed(env, "java/lang/Double", "1.5")),
    VEN_UNIT(venLong, "java/lang/Long", boxed(env, "java/lang/Long", "7")),
    VEN_UNIT(venObject, "java/lang/Object", newInstance(env, "fixtures/Fields")),
    VEN_UNIT(venArrayList, "java/util/ArrayList", newInstance(env, "java/util/ArrayList")),
    VEN_UNIT(venCollection, "java/util/Collection", newInstance(env, "java/util/ArrayDeque")),
    VEN_UNIT(venEnumSet, "java/util/EnumSet", noColors(env)),
};
// clang-format on

class ClassUnitsTest : public JvmTest
{
  protected:
    std::string text(jobject obj)
    {
        KsRef<ksString> string;
        EXPECT_EQ(KS_TRUE, venObjectToString(string.out(), env, nullptr, obj));
        return utf8(string);
    }
};

// A class lookup replaces the reference the variable held; an instance test lets its class
// go whatever the answer, and NULL is an instance of every class.
TEST_F(ClassUnitsTest, EveryUnitFindsItsClassAndTestsInstances)
{
    jobject unrelated = newInstance(env, "fixtures/Methods");
    for (const ClassUnit& unit : kUnits) {
        SCOPED_TRACE(unit.getClassName);
        TestFrame frame(env, 256);
        FaultEnv fault(env);
        jclass clazz = nullptr;
        ASSERT_EQ(KS_TRUE, unit.getClass(&clazz, fault.env(), nullptr));
        ASSERT_EQ(KS_TRUE, unit.getClass(&clazz, fault.env(), nullptr));
        EXPECT_TRUE(env->IsSameObject(clazz, findClass(env, unit.className)));
        EXPECT_EQ(1, fault.ledger().live());
        jobject instance = unit.makeInstance(env);
        const bool isObject = unit.className == std::string("java/lang/Object");
        for (auto [obj, expected] : {std::pair{jobject{}, true}, {instance, true}, {unrelated, isObject}}) {
            KS_BOOL answer = 7;
            ASSERT_EQ(KS_TRUE, unit.isInstance(&answer, fault.env(), nullptr, obj));
            EXPECT_EQ(expected ? KS_TRUE : KS_FALSE, answer);
        }
        EXPECT_EQ(1, fault.ledger().live());
        // clang-format off
        expectRefusals(env, {VEN_REFUSED(unit.getClassName + ": result != ((void *)0)", unit.getClass(nullptr, env, nullptr)),
                             VEN_REFUSED("venIsInstanceOf: result != NULL", unit.isInstance(nullptr, env, nullptr, unrelated))});
        // clang-format on
    }
}

// Boxing calls valueOf (Boolean.TRUE itself comes back), true only for KS_TRUE; a NULL
// result is found by the call after the lookups, and the class is let go all the same.
// The text of an object is its toString as a ksString: NULL for null, whose failure is
// traced under the call that met it.
TEST_F(ClassUnitsTest, BoxingAndTextOfAnObject)
{
    jobject value = nullptr;
    // clang-format off
    const std::pair<std::function<KS_BOOL()>, const char*> boxings[] = {
        {[&] { return venBooleanValueOf(&value, env, nullptr, KS_TRUE); }, "true"},
        {[&] { return venBooleanValueOf(&value, env, nullptr, KS_FALSE); }, "false"},
        {[&] { return venBooleanValueOf(&value, env, nullptr, 2); }, "false"},
        {[&] { return venBooleanValueOf(&value, env, nullptr, -1); }, "false"},
        {[&] { return venLongValueOf(&value, env, nullptr, 42); }, "42"},
        {[&] { return venLongValueOf(&value, env, nullptr, INT64_MAX); }, "9223372036854775807"},
        {[&] { return venLongValueOf(&value, env, nullptr, INT64_MIN); }, "-9223372036854775808"},
        {[&] { return venDoubleValueOf(&value, env, nullptr, std::numeric_limits<double>::quiet_NaN()); }, "NaN"},
        {[&] { return venDoubleValueOf(&value, env, nullptr, -0.0); }, "-0.0"},
        {[&] { return venDoubleValueOf(&value, env, nullptr, DBL_MAX); }, "1.7976931348623157E308"},
        {[&] { return venDoubleValueOf(&value, env, nullptr, DBL_TRUE_MIN); }, "4.9E-324"}};
    // clang-format on
    for (const auto& [box, shown] : boxings) {
        ASSERT_EQ(KS_TRUE, box());
        EXPECT_EQ(shown, text(value));
    }
    ASSERT_EQ(KS_TRUE, venBooleanValueOf(&value, env, nullptr, KS_TRUE));
    EXPECT_TRUE(env->IsSameObject(value, boxed(env, "java/lang/Boolean", "true")));
    FaultEnv fault(env);
    LeakCheck leaks(fault);
    expectArgumentFailure(env, venLongValueOf(nullptr, fault.env(), nullptr, 1),
                          "venCallStaticObjectMethod: result != NULL");
    EXPECT_EQ(1, fault.calls<&Entry::GetStaticMethodID>());
    EXPECT_EQ(0, leaks.live());

    KsRef<ksString> string;
    ASSERT_EQ(KS_TRUE, venObjectToString(string.out(), env, nullptr, jstr(env, "\xF0\x9F\x98\x80")));
    EXPECT_EQ(U"\U0001F600", codePoints(string));
    ASSERT_EQ(KS_TRUE,
              venObjectToString(string.out(), env, nullptr, newInstance(env, "fixtures/ToStringNull")));
    EXPECT_EQ(nullptr, string.get());
    Trace trace;
    string = ksStr("kept");
    EXPECT_EQ(KS_FALSE,
              venObjectToString(string.out(), env, trace.get(), newInstance(env, "fixtures/ToStringThrows")));
    ExpectPending(env, "java.lang.IllegalStateException", "toString fails");
    EXPECT_EQ(
        std::vector<std::string>{
            "[venCallObjectMethodV()] Exception: java.lang.IllegalStateException: toString fails"},
        trace.lines());
    // clang-format off
    expectChecksInOrder(env, "venObjectToString", {"result != ((void *)0)", "obj != ((void *)0)"}, venObjectToString,
                        std::tuple{string.out(), env, nullptr, jstr(env, "x")}, {nullptr, env, nullptr, nullptr});
    // clang-format on
    EXPECT_EQ("kept", utf8(string));
}

// A list built through the collection's add; get beyond either end leaves the list's own
// exception, traced under the call; every class was let go.
TEST_F(ClassUnitsTest, ArrayListIsBuiltAndReadThroughCollectionAdd)
{
    FaultEnv fault(env);
    jobject list = nullptr;
    KS_INT size = -1;
    ASSERT_EQ(KS_TRUE, venArrayListNew(&list, fault.env(), nullptr));
    ASSERT_EQ(KS_TRUE, venArrayListSize(&size, fault.env(), nullptr, list));
    EXPECT_EQ(0, size);
    jstring second = jstr(env, "second");
    for (jobject element : {jobject{jstr(env, "first")}, jobject{second}}) {
        KS_BOOL changed = KS_FALSE;
        ASSERT_EQ(KS_TRUE, venCollectionAdd(&changed, fault.env(), nullptr, list, element));
        EXPECT_EQ(KS_TRUE, changed);
    }
    ASSERT_EQ(KS_TRUE, venArrayListSize(&size, fault.env(), nullptr, list));
    EXPECT_EQ(2, size);
    jobject element = nullptr;
    ASSERT_EQ(KS_TRUE, venArrayListGet(&element, fault.env(), nullptr, list, 1));
    EXPECT_TRUE(env->IsSameObject(second, element));
    EXPECT_EQ(2, fault.ledger().live());
    for (KS_INT index : {5, -1}) {
        Trace trace;
        EXPECT_EQ(KS_FALSE, venArrayListGet(&element, env, trace.get(), list, index));
        EXPECT_EQ(nullptr, element);
        ExpectPendingClass(env, "java.lang.IndexOutOfBoundsException");
        ASSERT_EQ(1u, trace.lines().size());
        EXPECT_EQ(0u, trace.lines()[0].find(
                          "[venCallObjectMethod()] Exception: java.lang.IndexOutOfBoundsException"));
    }
}

// The units' own checks come before any lookup (index 2147483648 with the range test
// written out); without a test of result of their own, the units report a NULL one
// through the call they make, after the lookups.
TEST_F(ClassUnitsTest, CollectionArgumentsAreTestedInOrder)
{
    FaultEnv fault(env);
    std::vector<std::string> classesLookedUp;
    fault.override<&Entry::FindClass>([&](JNIEnv* real, const char* name) {
        classesLookedUp.emplace_back(name);
        return real->FindClass(name);
    });
    jobject list = newInstance(env, "java/util/ArrayList");
    jobject element = nullptr;
    KS_INT size = 5;
    KS_BOOL answer = KS_FALSE;
    // clang-format off
    expectChecksInOrder(env, "venArrayListGet", {"arrayList != ((void *)0)",
                        "( sizeof(KS_INT)>=sizeof(jint) ? (KS_INT)(index) >= (KS_INT)((KS_INT)(-2147483648LL)) && (KS_INT)(index) <= (KS_INT)((KS_INT)(2147483647LL)) : ((KS_BOOL)1) )"},
                        venArrayListGet, std::tuple{&element, fault.env(), nullptr, list, KS_INT{0}}, {&element, fault.env(), nullptr, nullptr, 2147483648LL});
    expectChecksInOrder(env, "venEnumSetNoneOf", {"result != ((void *)0)", "elementType != ((void *)0)"}, venEnumSetNoneOf,
                        std::tuple{&element, fault.env(), nullptr, findClass(env, "fixtures/Color")}, {nullptr, fault.env(), nullptr, nullptr});
    expectRefusals(env, {VEN_REFUSED("venArrayListSize: arrayList != ((void *)0)", venArrayListSize(&size, fault.env(), nullptr, nullptr))});
    EXPECT_EQ(0, fault.calls<&Entry::GetMethodID>() + fault.calls<&Entry::GetStaticMethodID>());
    EXPECT_TRUE(std::none_of(classesLookedUp.begin(), classesLookedUp.end(), [](const std::string& name) { return name.starts_with("java/util/"); }));
    expectRefusals(env, {
        VEN_REFUSED("venNewObject: result != NULL", venArrayListNew(nullptr, env, nullptr)),
        VEN_REFUSED("venCallIntMethod: result != NULL", venArrayListSize(nullptr, env, nullptr, list)),
        VEN_REFUSED("venCallBooleanMethod: result != NULL", venCollectionAdd(nullptr, env, nullptr, list, list)),
        VEN_REFUSED("venGetObjectClass: obj != NULL", venCollectionContains(&answer, env, nullptr, nullptr, list))});
    // clang-format on
    EXPECT_EQ(5, size);
}

// Contains and add work on any collection, an EnumSet as an ArrayList; a set that already
// holds the element answers no change, and a collection that refuses leaves its exception.
TEST_F(ClassUnitsTest, EnumSetAndArrayListAnswerAsCollections)
{
    jobject set = noColors(env);
    jobject list = nullptr;
    ASSERT_EQ(KS_TRUE, venArrayListNew(&list, env, nullptr));
    jobject red = color(env, "RED");
    KS_BOOL answer = 7;
    for (jobject collection : {set, list}) {
        for (auto [add, element, expected] : {std::tuple{false, red, KS_FALSE},
                                              {true, red, KS_TRUE},
                                              {false, red, KS_TRUE},
                                              {false, color(env, "BLUE"), KS_FALSE}}) {
            ASSERT_EQ(KS_TRUE, (add ? venCollectionAdd : venCollectionContains)(&answer, env, nullptr,
                                                                                collection, element));
            EXPECT_EQ(expected, answer);
        }
    }
    ASSERT_EQ(KS_TRUE, venCollectionAdd(&answer, env, nullptr, set, red));
    EXPECT_EQ(KS_FALSE, answer);
    jclass collections = findClass(env, "java/util/Collections");
    jobject fixed = env->CallStaticObjectMethod(
        collections, env->GetStaticMethodID(collections, "emptyList", "()Ljava/util/List;"));
    EXPECT_EQ(KS_FALSE, venCollectionAdd(&answer, env, nullptr, fixed, red));
    ExpectPendingClass(env, "java.lang.UnsupportedOperationException");
}

} // namespace
} // namespace ven::families_test
