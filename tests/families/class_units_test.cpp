// The class support units of the boxed values, Object and the collections: class lookup and
// instance test of every unit, boxing at the extremes, the text of an object, and the list,
// collection and enum-set operations.
#include <cfloat>
#include <cstdint>
#include <limits>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

struct ClassUnitsTest : JvmTest {
    // X.valueOf(text) of a boxed class or the fixture enum X.
    jobject valueOf(const char* className, const char* text)
    {
        jclass clazz = findClass(env, className);
        const std::string sig = std::string("(Ljava/lang/String;)L") + className + ";";
        jobject value = env->CallStaticObjectMethod(
            clazz, env->GetStaticMethodID(clazz, "valueOf", sig.c_str()), jstr(env, text));
        EXPECT_FALSE(env->ExceptionCheck());
        return value;
    }
    jobject noColors()
    {
        jobject set = nullptr;
        EXPECT_EQ(KS_TRUE, venEnumSetNoneOf(&set, env, nullptr, findClass(env, "fixtures/Color")));
        return set;
    }
};

// A class lookup replaces the reference the variable held; an instance test lets its class
// go whatever the answer, and NULL is an instance of every class.
TEST_F(ClassUnitsTest, EveryUnitFindsItsClassAndTestsInstances)
{
    jobject unrelated = newInstance(env, "fixtures/Methods");
    // clang-format off
    const std::tuple<std::string, KS_BOOL (*)(jclass*, JNIEnv*, lgStream*), KS_BOOL (*)(KS_BOOL*, JNIEnv*, lgStream*, jobject), const char*, jobject> units[] = {
        {"venBooleanGetClass", venBooleanGetClass, venBooleanIsInstance, "java/lang/Boolean", valueOf("java/lang/Boolean", "true")},
        {"venDoubleGetClass", venDoubleGetClass, venDoubleIsInstance, "java/lang/Double", valueOf("java/lang/Double", "1.5")},
        {"venLongGetClass", venLongGetClass, venLongIsInstance, "java/lang/Long", valueOf("java/lang/Long", "7")},
        {"venObjectGetClass", venObjectGetClass, venObjectIsInstance, "java/lang/Object", newInstance(env, "fixtures/Fields")},
        {"venArrayListGetClass", venArrayListGetClass, venArrayListIsInstance, "java/util/ArrayList", newInstance(env, "java/util/ArrayList")},
        {"venCollectionGetClass", venCollectionGetClass, venCollectionIsInstance, "java/util/Collection", newInstance(env, "java/util/ArrayDeque")},
        {"venEnumSetGetClass", venEnumSetGetClass, venEnumSetIsInstance, "java/util/EnumSet", noColors()}};
    for (const auto& [name, getClass, isInstance, className, instance] : units) {
        SCOPED_TRACE(name);
        FaultEnv fault(env);
        jclass clazz = nullptr;
        KS_BOOL answer = 7;
        runSteps(env, {
            VEN_STEP(KS_TRUE, getClass(&clazz, fault.env(), nullptr) && getClass(&clazz, fault.env(), nullptr), "", same<jobject>(clazz, findClass(env, className)) && fault.ledger().live() == 1),
            VEN_STEP(KS_TRUE, isInstance(&answer, fault.env(), nullptr, nullptr) && answer && isInstance(&answer, fault.env(), nullptr, instance), "", answer == KS_TRUE),
            VEN_STEP(KS_TRUE, isInstance(&answer, fault.env(), nullptr, unrelated), "", answer == (className == std::string("java/lang/Object")) && fault.ledger().live() == 1)});
        env->DeleteLocalRef(clazz);
    }
    // clang-format on
}

// Boxing calls valueOf (Boolean.TRUE itself comes back), true only for KS_TRUE; a NULL
// result is found by the call after the lookups, the class let go all the same. The text
// of an object is its toString: NULL for null (the string held released: the frame counts
// ks objects); a failure is traced under the call that met it.
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
        VEN_STEP(KS_TRUE, venBooleanValueOf(&value, env, nullptr, KS_TRUE), "", text() == "true" && same(value, valueOf("java/lang/Boolean", "true"))),
        VEN_STEP(KS_TRUE, venBooleanValueOf(&value, env, nullptr, KS_FALSE), "", text() == "false"),
        VEN_STEP(KS_TRUE, venBooleanValueOf(&value, env, nullptr, 2), "", text() == "false"),
        VEN_STEP(KS_TRUE, venBooleanValueOf(&value, env, nullptr, -1), "", text() == "false"),
        VEN_STEP(KS_TRUE, venLongValueOf(&value, env, nullptr, 42), "", text() == "42"),
        VEN_STEP(KS_TRUE, venLongValueOf(&value, env, nullptr, INT64_MAX), "", text() == "9223372036854775807"),
        VEN_STEP(KS_TRUE, venLongValueOf(&value, env, nullptr, INT64_MIN), "", text() == "-9223372036854775808"),
        VEN_STEP(KS_TRUE, venDoubleValueOf(&value, env, nullptr, std::numeric_limits<double>::quiet_NaN()), "", text() == "NaN"),
        VEN_STEP(KS_TRUE, venDoubleValueOf(&value, env, nullptr, -0.0), "", text() == "-0.0"),
        VEN_STEP(KS_TRUE, venDoubleValueOf(&value, env, nullptr, DBL_MAX), "", text() == "1.7976931348623157E308"),
        VEN_STEP(KS_TRUE, venDoubleValueOf(&value, env, nullptr, DBL_TRUE_MIN), "", text() == "4.9E-324"),
        VEN_STEP(KS_TRUE, venObjectToString(string.out(), env, nullptr, jstr(env, "\xF0\x9F\x98\x80")), "", codePoints(string) == U"\U0001F600" && leaks.live() == 0),
        VEN_STEP(KS_TRUE, venObjectToString(string.out(), env, nullptr, newInstance(env, "fixtures/ToStringNull")), "", string.get() == nullptr),
        VEN_DO(string = ksStr("kept")),
        VEN_STEP(KS_FALSE, venObjectToString(string.out(), env, trace.get(), newInstance(env, "fixtures/ToStringThrows")), "java.lang.IllegalStateException",
                 utf8(string) == "kept" && tracedOnce(trace, "[venCallObjectMethodV()] Exception: java.lang.IllegalStateException: toString fails", true))});
    // clang-format on
    EXPECT_EQ("kept", utf8(string));
}

// A list built through add and read back, and beyond either end; an EnumSet as an
// ArrayList; the units' own checks before any lookup, the others through the call they make.
TEST_F(ClassUnitsTest, ListsAndSetsAsCollections)
{
    FaultEnv fault(env);
    JNIEnv* f = fault.env();
    jobject list = nullptr;
    jobject element = nullptr;
    jobject set = noColors();
    jobject red = valueOf("fixtures/Color", "RED");
    jstring second = jstr(env, "second");
    KS_INT size = -1;
    KS_BOOL answer = 7;
    Trace trace;
    // clang-format off
    runSteps(env, {
        VEN_STEP(KS_TRUE, venArrayListNew(&list, f, nullptr) && venArrayListSize(&size, f, nullptr, list), "", size == 0),
        VEN_STEP(KS_TRUE, venCollectionAdd(&answer, f, nullptr, list, jstr(env, "first")), "", answer == KS_TRUE),
        VEN_STEP(KS_TRUE, venCollectionAdd(&answer, f, nullptr, list, second), "", answer == KS_TRUE),
        VEN_STEP(KS_TRUE, venArrayListSize(&size, f, nullptr, list), "", size == 2),
        VEN_STEP(KS_TRUE, venArrayListGet(&element, f, nullptr, list, 1), "", same<jobject>(second, element) && fault.ledger().live() == 2),
        VEN_STEP(KS_FALSE, venArrayListGet(&element, env, trace.get(), list, 5), "java.lang.IndexOutOfBoundsException", !element && tracedOnce(trace, "[venCallObjectMethod()] Exception: java.lang.IndexOutOfBoundsException")),
        VEN_STEP(KS_FALSE, venArrayListGet(&element, env, trace.get(), list, -1), "java.lang.IndexOutOfBoundsException", tracedOnce(trace, "[venCallObjectMethod()] Exception: java.lang.IndexOutOfBoundsException")),
        VEN_STEP(KS_TRUE, venCollectionContains(&answer, env, nullptr, set, red), "", answer == KS_FALSE),
        VEN_STEP(KS_TRUE, venCollectionAdd(&answer, env, nullptr, set, red), "", answer == KS_TRUE),
        VEN_STEP(KS_TRUE, venCollectionContains(&answer, env, nullptr, set, red), "", answer == KS_TRUE),
        VEN_STEP(KS_TRUE, venCollectionContains(&answer, env, nullptr, set, valueOf("fixtures/Color", "BLUE")), "", answer == KS_FALSE),
        VEN_STEP(KS_TRUE, venCollectionAdd(&answer, env, nullptr, set, red), "", answer == KS_FALSE),
        VEN_STEP(KS_TRUE, venCollectionContains(&answer, env, nullptr, list, red), "", answer == KS_FALSE),
        VEN_STEP(KS_TRUE, venCollectionAdd(&answer, env, nullptr, list, red) && venCollectionContains(&answer, env, nullptr, list, red), "", answer == KS_TRUE)});
    // clang-format on
}

} // namespace
} // namespace ven::families_test
