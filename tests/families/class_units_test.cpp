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

// X.valueOf(text) of a boxed class X.
jobject boxed(JNIEnv* env, const char* className, const char* text)
{
    jclass clazz = findClass(env, className);
    const std::string sig = std::string("(Ljava/lang/String;)L") + className + ";";
    return env->CallStaticObjectMethod(clazz, env->GetStaticMethodID(clazz, "valueOf", sig.c_str()),
                                       jstr(env, text));
}

jobject colors(JNIEnv* env, const char* factory, const char* constant = nullptr)
{
    jclass color = findClass(env, "fixtures/Color");
    if (constant != nullptr) {
        return env->GetStaticObjectField(color, env->GetStaticFieldID(color, constant, "Lfixtures/Color;"));
    }
    jclass enumSet = findClass(env, "java/util/EnumSet");
    return env->CallStaticObjectMethod(
        enumSet, env->GetStaticMethodID(enumSet, factory, "(Ljava/lang/Class;)Ljava/util/EnumSet;"), color);
}

struct ClassUnit {
    std::string getClassName;
    KS_BOOL (*getClass)(jclass*, JNIEnv*, lgStream*);
    KS_BOOL (*isInstance)(KS_BOOL*, JNIEnv*, lgStream*, jobject);
    const char* className;
    jobject (*makeInstance)(JNIEnv*);
};

#define VEN_CLASS_UNIT_ROW(Unit) #Unit "GetClass", Unit##GetClass, Unit##IsInstance

// clang-format off
const ClassUnit kUnits[] = {
    {VEN_CLASS_UNIT_ROW(venBoolean), "java/lang/Boolean", [](JNIEnv* env) { return boxed(env, "java/lang/Boolean", "true"); }},
    {VEN_CLASS_UNIT_ROW(venDouble), "java/lang/Double", [](JNIEnv* env) { return boxed(env, "java/lang/Double", "1.5"); }},
    {VEN_CLASS_UNIT_ROW(venLong), "java/lang/Long", [](JNIEnv* env) { return boxed(env, "java/lang/Long", "7"); }},
    {VEN_CLASS_UNIT_ROW(venObject), "java/lang/Object", [](JNIEnv* env) { return newInstance(env, "fixtures/Fields"); }},
    {VEN_CLASS_UNIT_ROW(venArrayList), "java/util/ArrayList", [](JNIEnv* env) { return newInstance(env, "java/util/ArrayList"); }},
    {VEN_CLASS_UNIT_ROW(venCollection), "java/util/Collection", [](JNIEnv* env) { return newInstance(env, "java/util/ArrayDeque"); }},
    {VEN_CLASS_UNIT_ROW(venEnumSet), "java/util/EnumSet", [](JNIEnv* env) { return colors(env, "allOf"); }},
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
        LoopFrame frame(env);
        FaultEnv fault(env);
        jclass clazz = nullptr;
        ASSERT_EQ(KS_TRUE, unit.getClass(&clazz, fault.env(), nullptr));
        ASSERT_EQ(KS_TRUE, unit.getClass(&clazz, fault.env(), nullptr));
        EXPECT_TRUE(env->IsSameObject(clazz, findClass(env, unit.className)));
        EXPECT_EQ(1, fault.ledger().live());
        KS_BOOL answer = 7;
        for (auto [obj, expected] : {std::pair{static_cast<jobject>(nullptr), true},
                                     {unit.makeInstance(env), true},
                                     {unrelated, unit.className == std::string("java/lang/Object")}}) {
            ASSERT_EQ(KS_TRUE, unit.isInstance(&answer, fault.env(), nullptr, obj));
            EXPECT_EQ(expected ? KS_TRUE : KS_FALSE, answer);
        }
        EXPECT_EQ(1, fault.ledger().live());
        expectRefusals(env, {{unit.getClassName + ": result != ((void *)0)",
                              [&] { return unit.getClass(nullptr, env, nullptr); }},
                             {"venIsInstanceOf: result != NULL",
                              [&] { return unit.isInstance(nullptr, env, nullptr, unrelated); }}});
    }
}

// Boxing calls valueOf (Boolean.TRUE itself comes back), true only for KS_TRUE; a NULL
// result is found by the call after the lookups, and the class is let go all the same.
TEST_F(ClassUnitsTest, BoxingGoesThroughValueOfAtTheExtremes)
{
    jobject boxedValue = nullptr;
    for (auto [value, shown] : {std::pair<KS_BOOL, const char*>{KS_TRUE, "true"},
                                {KS_FALSE, "false"},
                                {2, "false"},
                                {-1, "false"}}) {
        ASSERT_EQ(KS_TRUE, venBooleanValueOf(&boxedValue, env, nullptr, value));
        EXPECT_EQ(shown, text(boxedValue)) << value;
    }
    ASSERT_EQ(KS_TRUE, venBooleanValueOf(&boxedValue, env, nullptr, KS_TRUE));
    jclass booleanClass = findClass(env, "java/lang/Boolean");
    EXPECT_TRUE(env->IsSameObject(
        boxedValue, env->GetStaticObjectField(
                        booleanClass, env->GetStaticFieldID(booleanClass, "TRUE", "Ljava/lang/Boolean;"))));
    for (auto [value, shown] : {std::pair<KS_INT, const char*>{42, "42"},
                                {INT64_MAX, "9223372036854775807"},
                                {INT64_MIN, "-9223372036854775808"}}) {
        ASSERT_EQ(KS_TRUE, venLongValueOf(&boxedValue, env, nullptr, value));
        EXPECT_EQ(shown, text(boxedValue));
    }
    for (auto [value, shown] :
         {std::pair<double, const char*>{std::numeric_limits<double>::quiet_NaN(), "NaN"},
          {-0.0, "-0.0"},
          {DBL_MAX, "1.7976931348623157E308"},
          {DBL_TRUE_MIN, "4.9E-324"}}) {
        ASSERT_EQ(KS_TRUE, venDoubleValueOf(&boxedValue, env, nullptr, value));
        EXPECT_EQ(shown, text(boxedValue));
    }
    FaultEnv fault(env);
    LeakCheck leaks(fault);
    expectArgumentFailure(env, venLongValueOf(nullptr, fault.env(), nullptr, 1),
                          "venCallStaticObjectMethod: result != NULL");
    EXPECT_EQ(1, fault.calls<&Entry::GetStaticMethodID>());
    EXPECT_EQ(0, leaks.live());
}

TEST_F(ClassUnitsTest, ObjectTextIsToStringAsKsString)
{
    KsRef<ksString> string;
    ASSERT_EQ(KS_TRUE, venObjectToString(string.out(), env, nullptr, boxed(env, "java/lang/Long", "7")));
    EXPECT_EQ(U"7", codePoints(string));
    ASSERT_EQ(KS_TRUE, venObjectToString(string.out(), env, nullptr, jstr(env, "\xF0\x9F\x98\x80")));
    EXPECT_EQ(U"\U0001F600", codePoints(string));
    // A toString returning null delivers NULL (the frame counts the released ks string).
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
    expectChecksInOrder(env, "venObjectToString", {"result != ((void *)0)", "obj != ((void *)0)"},
                        venObjectToString, std::tuple{string.out(), env, nullptr, jstr(env, "x")},
                        {nullptr, env, nullptr, nullptr});
    EXPECT_EQ("kept", utf8(string));
}

TEST_F(ClassUnitsTest, ArrayListIsBuiltAndReadThroughCollectionAdd)
{
    FaultEnv fault(env);
    jobject list = nullptr;
    ASSERT_EQ(KS_TRUE, venArrayListNew(&list, fault.env(), nullptr));
    KS_INT size = -1;
    ASSERT_EQ(KS_TRUE, venArrayListSize(&size, fault.env(), nullptr, list));
    EXPECT_EQ(0, size);
    jstring second = jstr(env, "second");
    for (jobject element : {static_cast<jobject>(jstr(env, "first")), static_cast<jobject>(second)}) {
        KS_BOOL changed = KS_FALSE;
        ASSERT_EQ(KS_TRUE, venCollectionAdd(&changed, fault.env(), nullptr, list, element));
        EXPECT_EQ(KS_TRUE, changed);
    }
    ASSERT_EQ(KS_TRUE, venArrayListSize(&size, fault.env(), nullptr, list));
    EXPECT_EQ(2, size);
    jobject element = nullptr;
    ASSERT_EQ(KS_TRUE, venArrayListGet(&element, fault.env(), nullptr, list, 1));
    EXPECT_TRUE(env->IsSameObject(second, element));
    EXPECT_EQ(2, fault.ledger().live()); // the list and the element: every class was let go
    // Beyond the end, or before the start: the list's own exception, under the call's name.
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

// The units' own checks come before any lookup; without a test of result of its own, a
// unit reports a NULL one through the call it makes, after the lookups.
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
    expectChecksInOrder(
        env, "venArrayListGet",
        {"arrayList != ((void *)0)",
         "( sizeof(KS_INT)>=sizeof(jint) ? (KS_INT)(index) >= (KS_INT)((KS_INT)(-2147483648LL)) && "
         "(KS_INT)(index) <= (KS_INT)((KS_INT)(2147483647LL)) : ((KS_BOOL)1) )"},
        venArrayListGet, std::tuple{&element, fault.env(), nullptr, list, KS_INT{0}},
        {&element, fault.env(), nullptr, nullptr, 2147483648LL});
    expectChecksInOrder(env, "venEnumSetNoneOf", {"result != ((void *)0)", "elementType != ((void *)0)"},
                        venEnumSetNoneOf,
                        std::tuple{&element, fault.env(), nullptr, findClass(env, "fixtures/Color")},
                        {nullptr, fault.env(), nullptr, nullptr});
    expectRefusals(env, {{"venArrayListSize: arrayList != ((void *)0)",
                          [&] { return venArrayListSize(&size, fault.env(), nullptr, nullptr); }}});
    EXPECT_EQ(5, size);
    EXPECT_EQ(0, fault.calls<&Entry::GetMethodID>() + fault.calls<&Entry::GetStaticMethodID>());
    for (const std::string& name : classesLookedUp) {
        EXPECT_EQ(std::string::npos, name.find("java/util/")) << name;
    }
    KS_BOOL answer = KS_FALSE;
    expectRefusals(
        env, {
                 {"venNewObject: result != NULL", [&] { return venArrayListNew(nullptr, env, nullptr); }},
                 {"venCallIntMethod: result != NULL",
                  [&] { return venArrayListSize(nullptr, env, nullptr, list); }},
                 {"venCallBooleanMethod: result != NULL",
                  [&] { return venCollectionAdd(nullptr, env, nullptr, list, list); }},
                 {"venGetObjectClass: obj != NULL",
                  [&] { return venCollectionContains(&answer, env, nullptr, nullptr, list); }},
             });
}

// Contains and add work on any collection, an EnumSet as an ArrayList; a set that already
// holds the element answers no change, and a collection that refuses leaves its exception.
TEST_F(ClassUnitsTest, EnumSetAndArrayListAnswerAsCollections)
{
    jobject set = nullptr;
    ASSERT_EQ(KS_TRUE, venEnumSetNoneOf(&set, env, nullptr, findClass(env, "fixtures/Color")));
    KS_BOOL answer = KS_FALSE;
    ASSERT_EQ(KS_TRUE, venEnumSetIsInstance(&answer, env, nullptr, set));
    EXPECT_EQ(KS_TRUE, answer);
    jobject red = colors(env, nullptr, "RED");
    jobject list = nullptr;
    ASSERT_EQ(KS_TRUE, venArrayListNew(&list, env, nullptr));
    for (jobject collection : {set, list}) {
        for (auto [add, element, expected] : {std::tuple{false, red, KS_FALSE},
                                              {true, red, KS_TRUE},
                                              {false, red, KS_TRUE},
                                              {false, colors(env, nullptr, "BLUE"), KS_FALSE}}) {
            answer = 7;
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
