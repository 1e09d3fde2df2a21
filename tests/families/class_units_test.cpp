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

using ClassUnitsTest = JvmTest;

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
        KS_BOOL answer = 7;
        jobject instance = unit.makeInstance(env);
        const KS_BOOL isObject = unit.className == std::string("java/lang/Object");
        // clang-format off
        runSteps(env, {
            VEN_STEP(KS_TRUE, unit.getClass(&clazz, fault.env(), nullptr) && unit.getClass(&clazz, fault.env(), nullptr), nullptr,
                     env->IsSameObject(clazz, findClass(env, unit.className)) && fault.ledger().live() == 1),
            VEN_STEP(KS_TRUE, unit.isInstance(&answer, fault.env(), nullptr, nullptr), nullptr, answer == KS_TRUE),
            VEN_STEP(KS_TRUE, unit.isInstance(&answer, fault.env(), nullptr, instance), nullptr, answer == KS_TRUE),
            VEN_STEP(KS_TRUE, unit.isInstance(&answer, fault.env(), nullptr, unrelated), nullptr, answer == isObject && fault.ledger().live() == 1)});
        runSteps(env, {VEN_REFUSED(unit.getClassName + ": result != ((void *)0)", unit.getClass(nullptr, env, nullptr)),
                             VEN_REFUSED("venIsInstanceOf: result != NULL", unit.isInstance(nullptr, env, nullptr, unrelated))});
        // clang-format on
    }
}

// Boxing calls valueOf (Boolean.TRUE itself comes back), true only for KS_TRUE; a NULL
// result is found by the call after the lookups, and the class is let go all the same.
// The text of an object is its toString as a ksString: NULL for null (the string held
// released: the frame counts ks objects); a failure is traced under the call that met it.
TEST_F(ClassUnitsTest, BoxingAndTextOfAnObject)
{
    jobject value = nullptr;
    KsRef<ksString> string;
    auto text = [&] { return venObjectToString(string.out(), env, nullptr, value) ? utf8(string) : "?"; };
    FaultEnv fault(env);
    LeakCheck leaks(fault);
    Trace trace;
    // clang-format off
    runSteps(env, {
        VEN_STEP(KS_TRUE, venBooleanValueOf(&value, env, nullptr, KS_TRUE), nullptr, text() == "true" && same(value, boxed(env, "java/lang/Boolean", "true"))),
        VEN_STEP(KS_TRUE, venBooleanValueOf(&value, env, nullptr, KS_FALSE), nullptr, text() == "false"),
        VEN_STEP(KS_TRUE, venBooleanValueOf(&value, env, nullptr, 2), nullptr, text() == "false"),
        VEN_STEP(KS_TRUE, venBooleanValueOf(&value, env, nullptr, -1), nullptr, text() == "false"),
        VEN_STEP(KS_TRUE, venLongValueOf(&value, env, nullptr, 42), nullptr, text() == "42"),
        VEN_STEP(KS_TRUE, venLongValueOf(&value, env, nullptr, INT64_MAX), nullptr, text() == "9223372036854775807"),
        VEN_STEP(KS_TRUE, venLongValueOf(&value, env, nullptr, INT64_MIN), nullptr, text() == "-9223372036854775808"),
        VEN_STEP(KS_TRUE, venDoubleValueOf(&value, env, nullptr, std::numeric_limits<double>::quiet_NaN()), nullptr, text() == "NaN"),
        VEN_STEP(KS_TRUE, venDoubleValueOf(&value, env, nullptr, -0.0), nullptr, text() == "-0.0"),
        VEN_STEP(KS_TRUE, venDoubleValueOf(&value, env, nullptr, DBL_MAX), nullptr, text() == "1.7976931348623157E308"),
        VEN_STEP(KS_TRUE, venDoubleValueOf(&value, env, nullptr, DBL_TRUE_MIN), nullptr, text() == "4.9E-324"),
        VEN_STEP(KS_FALSE, venLongValueOf(nullptr, fault.env(), nullptr, 1), "java.lang.IllegalArgumentException", fault.calls<&Entry::GetStaticMethodID>() == 1 && leaks.live() == 0),
        VEN_STEP(KS_TRUE, venObjectToString(string.out(), env, nullptr, jstr(env, "\xF0\x9F\x98\x80")), nullptr, codePoints(string) == U"\U0001F600"),
        VEN_STEP(KS_TRUE, venObjectToString(string.out(), env, nullptr, newInstance(env, "fixtures/ToStringNull")), nullptr, string.get() == nullptr),
        VEN_STEP(KS_FALSE, (string = ksStr("kept"), venObjectToString(string.out(), env, trace.get(), newInstance(env, "fixtures/ToStringThrows"))), "java.lang.IllegalStateException",
                 utf8(string) == "kept" && trace.lines() == std::vector<std::string>{"[venCallObjectMethodV()] Exception: java.lang.IllegalStateException: toString fails"})});
    expectArgumentFailure(env, venLongValueOf(nullptr, env, nullptr, 1), "venCallStaticObjectMethod: result != NULL");
    expectChecksInOrder(env, "venObjectToString", {"result != ((void *)0)", "obj != ((void *)0)"}, venObjectToString,
                        std::tuple{string.out(), env, nullptr, jstr(env, "x")}, {nullptr, env, nullptr, nullptr});
    // clang-format on
    EXPECT_EQ("kept", utf8(string));
}

// A list built through the collection's add, read back, and read beyond either end (the
// list's own exception, traced under the call); every class was let go. Contains and add
// work on an EnumSet as on an ArrayList; a set that already holds the element answers no
// change, and a collection that refuses leaves its exception.
TEST_F(ClassUnitsTest, ListsAndSetsAsCollections)
{
    FaultEnv fault(env);
    JNIEnv* f = fault.env();
    jobject list = nullptr;
    jobject element = nullptr;
    jobject set = noColors(env);
    jobject red = color(env, "RED");
    jstring second = jstr(env, "second");
    jclass collections = findClass(env, "java/util/Collections");
    jobject fixed = env->CallStaticObjectMethod(
        collections, env->GetStaticMethodID(collections, "emptyList", "()Ljava/util/List;"));
    KS_INT size = -1;
    KS_BOOL answer = 7;
    Trace trace;
    // clang-format off
    runSteps(env, {
        VEN_STEP(KS_TRUE, venArrayListNew(&list, f, nullptr) && venArrayListSize(&size, f, nullptr, list), nullptr, size == 0),
        VEN_STEP(KS_TRUE, venCollectionAdd(&answer, f, nullptr, list, jstr(env, "first")), nullptr, answer == KS_TRUE),
        VEN_STEP(KS_TRUE, venCollectionAdd(&answer, f, nullptr, list, second), nullptr, answer == KS_TRUE),
        VEN_STEP(KS_TRUE, venArrayListSize(&size, f, nullptr, list), nullptr, size == 2),
        VEN_STEP(KS_TRUE, venArrayListGet(&element, f, nullptr, list, 1), nullptr, same<jobject>(second, element) && fault.ledger().live() == 2),
        VEN_STEP(KS_FALSE, venArrayListGet(&element, env, trace.get(), list, 5), "java.lang.IndexOutOfBoundsException",
                 element == nullptr && tracedOnce(trace, "[venCallObjectMethod()] Exception: java.lang.IndexOutOfBoundsException")),
        VEN_STEP(KS_FALSE, venArrayListGet(&element, env, trace.get(), list, -1), "java.lang.IndexOutOfBoundsException",
                 tracedOnce(trace, "[venCallObjectMethod()] Exception: java.lang.IndexOutOfBoundsException")),
        VEN_STEP(KS_TRUE, venCollectionContains(&answer, env, nullptr, set, red), nullptr, answer == KS_FALSE),
        VEN_STEP(KS_TRUE, venCollectionAdd(&answer, env, nullptr, set, red), nullptr, answer == KS_TRUE),
        VEN_STEP(KS_TRUE, venCollectionContains(&answer, env, nullptr, set, red), nullptr, answer == KS_TRUE),
        VEN_STEP(KS_TRUE, venCollectionContains(&answer, env, nullptr, set, color(env, "BLUE")), nullptr, answer == KS_FALSE),
        VEN_STEP(KS_TRUE, venCollectionAdd(&answer, env, nullptr, set, red), nullptr, answer == KS_FALSE),
        VEN_STEP(KS_TRUE, venCollectionContains(&answer, env, nullptr, list, red), nullptr, answer == KS_FALSE),
        VEN_STEP(KS_TRUE, venCollectionAdd(&answer, env, nullptr, list, red) && venCollectionContains(&answer, env, nullptr, list, red), nullptr, answer == KS_TRUE),
        VEN_STEP(KS_FALSE, venCollectionAdd(&answer, env, nullptr, fixed, red), "java.lang.UnsupportedOperationException", true)});
    // clang-format on
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
    runSteps(env, {VEN_REFUSED("venArrayListSize: arrayList != ((void *)0)", venArrayListSize(&size, fault.env(), nullptr, nullptr))});
    EXPECT_TRUE(fault.calls<&Entry::GetMethodID>() + fault.calls<&Entry::GetStaticMethodID>() == 0 && size == 5);
    EXPECT_TRUE(std::none_of(classesLookedUp.begin(), classesLookedUp.end(), [](const std::string& name) { return name.starts_with("java/util/"); }));
    runSteps(env, {
        VEN_REFUSED("venNewObject: result != NULL", venArrayListNew(nullptr, env, nullptr)),
        VEN_REFUSED("venCallIntMethod: result != NULL", venArrayListSize(nullptr, env, nullptr, list)),
        VEN_REFUSED("venCallBooleanMethod: result != NULL", venCollectionAdd(nullptr, env, nullptr, list, list)),
        VEN_REFUSED("venGetObjectClass: obj != NULL", venCollectionContains(&answer, env, nullptr, nullptr, list))});
    // clang-format on
}

} // namespace
} // namespace ven::families_test
