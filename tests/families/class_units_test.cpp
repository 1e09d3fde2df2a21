// The class support units of the boxed values, Object and the collections: class lookup
// and instance test of every unit through one table, boxing at the extremes, the text of
// an object, and the list, collection and enum-set operations with their checks in order.
#include <cfloat>
#include <cstdint>
#include <limits>
#include <vector>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

using Entry = JNINativeInterface_;

struct ClassUnit {
    std::string getClassName;
    KS_BOOL (*getClass)(jclass*, JNIEnv*, lgStream*);
    KS_BOOL (*isInstance)(KS_BOOL*, JNIEnv*, lgStream*, jobject);
    const char* className;
    jobject (*makeInstance)(JNIEnv*); // an object that is an instance of the class
};

// X.valueOf(text) of a boxed class X.
jobject boxedFromText(JNIEnv* env, const char* className, const char* text)
{
    jclass clazz = findClass(env, className);
    const std::string sig = std::string("(Ljava/lang/String;)L") + className + ";";
    return env->CallStaticObjectMethod(clazz, env->GetStaticMethodID(clazz, "valueOf", sig.c_str()),
                                       jstr(env, text));
}

#define VEN_CLASS_UNIT_ROW(Unit) #Unit "GetClass", Unit##GetClass, Unit##IsInstance

const ClassUnit kUnits[] = {
    {VEN_CLASS_UNIT_ROW(venBoolean), "java/lang/Boolean",
     [](JNIEnv* env) { return boxedFromText(env, "java/lang/Boolean", "true"); }},
    {VEN_CLASS_UNIT_ROW(venDouble), "java/lang/Double",
     [](JNIEnv* env) { return boxedFromText(env, "java/lang/Double", "1.5"); }},
    {VEN_CLASS_UNIT_ROW(venLong), "java/lang/Long",
     [](JNIEnv* env) { return boxedFromText(env, "java/lang/Long", "7"); }},
    {VEN_CLASS_UNIT_ROW(venObject), "java/lang/Object",
     [](JNIEnv* env) { return newInstance(env, "fixtures/Fields"); }},
    {VEN_CLASS_UNIT_ROW(venArrayList), "java/util/ArrayList",
     [](JNIEnv* env) { return newInstance(env, "java/util/ArrayList"); }},
    {VEN_CLASS_UNIT_ROW(venCollection), "java/util/Collection",
     [](JNIEnv* env) { return newInstance(env, "java/util/ArrayDeque"); }},
    {VEN_CLASS_UNIT_ROW(venEnumSet), "java/util/EnumSet",
     [](JNIEnv* env) {
         jclass enumSet = findClass(env, "java/util/EnumSet");
         return env->CallStaticObjectMethod(
             enumSet, env->GetStaticMethodID(enumSet, "allOf", "(Ljava/lang/Class;)Ljava/util/EnumSet;"),
             findClass(env, "fixtures/Color"));
     }},
};

class ClassUnitsTest : public JvmTest
{
  protected:
    std::string text(jobject obj)
    {
        KsRef<ksString> string;
        EXPECT_EQ(KS_TRUE, venObjectToString(string.out(), env, nullptr, obj));
        return utf8(string);
    }

    jobject enumConstant(const char* name)
    {
        jclass color = findClass(env, "fixtures/Color");
        return env->GetStaticObjectField(color, env->GetStaticFieldID(color, name, "Lfixtures/Color;"));
    }
};

TEST_F(ClassUnitsTest, EveryUnitFindsItsClassAndTestsInstances)
{
    jobject unrelated = newInstance(env, "fixtures/Methods");
    for (const ClassUnit& unit : kUnits) {
        SCOPED_TRACE(unit.getClassName);
        LoopFrame frame(env);
        FaultEnv fault(env);
        jclass clazz = nullptr;
        ASSERT_EQ(KS_TRUE, unit.getClass(&clazz, fault.env(), nullptr));
        EXPECT_TRUE(env->IsSameObject(clazz, findClass(env, unit.className)));
        jclass first = clazz;
        ASSERT_EQ(KS_TRUE, unit.getClass(&clazz, fault.env(), nullptr));
        EXPECT_FALSE(fault.ledger().isLive(first));
        expectArgumentFailure(env, unit.getClass(nullptr, env, nullptr),
                              unit.getClassName + ": result != ((void *)0)");

        // The class reference of an instance test is let go whatever the answer.
        fault.ledger().reset();
        KS_BOOL answer = 7;
        ASSERT_EQ(KS_TRUE, unit.isInstance(&answer, fault.env(), nullptr, nullptr));
        EXPECT_EQ(KS_TRUE, answer);
        ASSERT_EQ(KS_TRUE, unit.isInstance(&answer, fault.env(), nullptr, unrelated));
        EXPECT_EQ(unit.className == std::string("java/lang/Object") ? KS_TRUE : KS_FALSE, answer);
        ASSERT_EQ(KS_TRUE, unit.isInstance(&answer, fault.env(), nullptr, unit.makeInstance(env)));
        EXPECT_EQ(KS_TRUE, answer);
        EXPECT_EQ(0, fault.ledger().live());
        expectArgumentFailure(env, unit.isInstance(nullptr, env, nullptr, unrelated),
                              "venIsInstanceOf: result != NULL");
    }
}

TEST_F(ClassUnitsTest, BoxingGoesThroughValueOfAtTheExtremes)
{
    jobject boxed = nullptr;
    for (auto [value, shown] : {std::pair<KS_BOOL, const char*>{KS_TRUE, "true"},
                                {KS_FALSE, "false"},
                                {2, "false"},
                                {-1, "false"}}) {
        ASSERT_EQ(KS_TRUE, venBooleanValueOf(&boxed, env, nullptr, value));
        EXPECT_EQ(shown, text(boxed)) << value;
    }
    // valueOf, not a constructor: the canonical Boolean.TRUE comes back.
    ASSERT_EQ(KS_TRUE, venBooleanValueOf(&boxed, env, nullptr, KS_TRUE));
    jclass booleanClass = findClass(env, "java/lang/Boolean");
    EXPECT_TRUE(env->IsSameObject(
        boxed, env->GetStaticObjectField(
                   booleanClass, env->GetStaticFieldID(booleanClass, "TRUE", "Ljava/lang/Boolean;"))));
    for (auto [value, shown] : {std::pair<KS_INT, const char*>{42, "42"},
                                {INT64_MAX, "9223372036854775807"},
                                {INT64_MIN, "-9223372036854775808"}}) {
        ASSERT_EQ(KS_TRUE, venLongValueOf(&boxed, env, nullptr, value));
        EXPECT_EQ(shown, text(boxed));
    }
    for (auto [value, shown] :
         {std::pair<double, const char*>{std::numeric_limits<double>::quiet_NaN(), "NaN"},
          {-0.0, "-0.0"},
          {DBL_MAX, "1.7976931348623157E308"},
          {DBL_TRUE_MIN, "4.9E-324"}}) {
        ASSERT_EQ(KS_TRUE, venDoubleValueOf(&boxed, env, nullptr, value));
        EXPECT_EQ(shown, text(boxed));
    }
    KS_BOOL isLong = KS_FALSE;
    ASSERT_EQ(KS_TRUE, venLongIsInstance(&isLong, env, nullptr, boxed));
    EXPECT_EQ(KS_FALSE, isLong);

    // A NULL result is found by the call, after the lookups; the class is let go all the same.
    FaultEnv fault(env);
    DeletionLog deletions(fault);
    jobject longClass = nullptr;
    fault.override<&Entry::FindClass>([&](JNIEnv* real, const char* name) {
        jclass clazz = real->FindClass(name);
        if (std::string(name) == "java/lang/Long") {
            longClass = clazz;
        }
        return clazz;
    });
    expectArgumentFailure(env, venLongValueOf(nullptr, fault.env(), nullptr, 1),
                          "venCallStaticObjectMethod: result != NULL");
    ASSERT_NE(nullptr, longClass);
    EXPECT_TRUE(deletions.deleted(longClass));
}

TEST_F(ClassUnitsTest, ObjectTextIsToStringAsKsString)
{
    jobject seven = nullptr;
    ASSERT_EQ(KS_TRUE, venLongValueOf(&seven, env, nullptr, 7));
    KsRef<ksString> string;
    ASSERT_EQ(KS_TRUE, venObjectToString(string.out(), env, nullptr, seven));
    EXPECT_EQ(U"7", codePoints(string));
    ASSERT_EQ(KS_TRUE, venObjectToString(string.out(), env, nullptr, jstr(env, "\xF0\x9F\x98\x80")));
    EXPECT_EQ(U"\U0001F600", codePoints(string));

    // A toString returning null delivers NULL and releases what the variable held.
    ksString* held = string.get();
    ksObjRetain(held);
    ASSERT_EQ(KS_TRUE,
              venObjectToString(string.out(), env, nullptr, newInstance(env, "fixtures/ToStringNull")));
    EXPECT_EQ(nullptr, string.get());
    EXPECT_EQ(1, ksObjRefCount(held));
    ksObjRelease(held);

    Trace trace;
    string = ksStr("kept");
    EXPECT_EQ(KS_FALSE,
              venObjectToString(string.out(), env, trace.get(), newInstance(env, "fixtures/ToStringThrows")));
    ExpectPending(env, "java.lang.IllegalStateException", "toString fails");
    EXPECT_EQ(std::vector<std::string>{"[venCallObjectMethodV()] Exception: java.lang.IllegalStateException: "
                                       "toString fails"},
              trace.lines());
    EXPECT_EQ("kept", utf8(string));

    expectArgumentFailure(env, venObjectToString(nullptr, env, nullptr, nullptr),
                          "venObjectToString: result != ((void *)0)");
    expectArgumentFailure(env, venObjectToString(string.out(), env, nullptr, nullptr),
                          "venObjectToString: obj != ((void *)0)");
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
    jstring first = jstr(env, "first");
    jstring second = jstr(env, "second");
    for (jobject element : {static_cast<jobject>(first), static_cast<jobject>(second)}) {
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

    // Beyond the end: the list's own exception, under the call's name.
    Trace trace;
    EXPECT_EQ(KS_FALSE, venArrayListGet(&element, env, trace.get(), list, 5));
    EXPECT_EQ(nullptr, element);
    ExpectPendingClass(env, "java.lang.IndexOutOfBoundsException");
    ASSERT_EQ(1u, trace.lines().size());
    EXPECT_EQ(
        0u, trace.lines()[0].find("[venCallObjectMethod()] Exception: java.lang.IndexOutOfBoundsException"));
}

TEST_F(ClassUnitsTest, ArrayListArgumentsAreTestedBeforeAnyLookup)
{
    FaultEnv fault(env);
    std::vector<std::string> classesLookedUp;
    fault.override<&Entry::FindClass>([&](JNIEnv* real, const char* name) {
        classesLookedUp.emplace_back(name);
        return real->FindClass(name);
    });
    jobject list = newInstance(env, "java/util/ArrayList");
    jobject element = nullptr;
    // The index condition is the jint range test written out.
    expectArgumentFailure(env, venArrayListGet(&element, fault.env(), nullptr, list, 2147483648LL),
                          "venArrayListGet: ( sizeof(KS_INT)>=sizeof(jint) ? (KS_INT)(index) >= "
                          "(KS_INT)((KS_INT)(-2147483648LL)) && "
                          "(KS_INT)(index) <= (KS_INT)((KS_INT)(2147483647LL)) : ((KS_BOOL)1) )");
    expectArgumentFailure(env, venArrayListGet(&element, fault.env(), nullptr, nullptr, 2147483648LL),
                          "venArrayListGet: arrayList != ((void *)0)");
    KS_INT size = 5;
    expectArgumentFailure(env, venArrayListSize(&size, fault.env(), nullptr, nullptr),
                          "venArrayListSize: arrayList != ((void *)0)");
    EXPECT_EQ(5, size);
    jobject enumSet = nullptr;
    expectArgumentFailure(env, venEnumSetNoneOf(nullptr, fault.env(), nullptr, nullptr),
                          "venEnumSetNoneOf: result != ((void *)0)");
    expectArgumentFailure(env, venEnumSetNoneOf(&enumSet, fault.env(), nullptr, nullptr),
                          "venEnumSetNoneOf: elementType != ((void *)0)");
    // Nothing of the units was looked up, only what the argument failures themselves need.
    EXPECT_EQ(0, fault.calls<&Entry::GetMethodID>() + fault.calls<&Entry::GetStaticMethodID>());
    for (const std::string& name : classesLookedUp) {
        EXPECT_EQ(std::string::npos, name.find("java/util/")) << name;
    }

    // A negative index within range reaches the list, which refuses it.
    EXPECT_EQ(KS_FALSE, venArrayListGet(&element, env, nullptr, list, -1));
    ExpectPendingClass(env, "java.lang.IndexOutOfBoundsException");
    // Without its own test of result, a lookup comes first and the call reports it.
    expectArgumentFailure(env, venArrayListNew(nullptr, env, nullptr), "venNewObject: result != NULL");
    expectArgumentFailure(env, venArrayListSize(nullptr, env, nullptr, list),
                          "venCallIntMethod: result != NULL");
    expectArgumentFailure(env, venCollectionAdd(nullptr, env, nullptr, list, list),
                          "venCallBooleanMethod: result != NULL");
    KS_BOOL answer = KS_FALSE;
    expectArgumentFailure(env, venCollectionContains(&answer, env, nullptr, nullptr, list),
                          "venGetObjectClass: obj != NULL");
}

TEST_F(ClassUnitsTest, EnumSetAndArrayListAnswerAsCollections)
{
    jobject set = nullptr;
    ASSERT_EQ(KS_TRUE, venEnumSetNoneOf(&set, env, nullptr, findClass(env, "fixtures/Color")));
    KS_BOOL isEnumSet = KS_FALSE;
    ASSERT_EQ(KS_TRUE, venEnumSetIsInstance(&isEnumSet, env, nullptr, set));
    EXPECT_EQ(KS_TRUE, isEnumSet);
    jobject red = enumConstant("RED");
    jobject list = nullptr;
    ASSERT_EQ(KS_TRUE, venArrayListNew(&list, env, nullptr));
    for (jobject collection : {set, list}) {
        KS_BOOL answer = KS_TRUE;
        ASSERT_EQ(KS_TRUE, venCollectionContains(&answer, env, nullptr, collection, red));
        EXPECT_EQ(KS_FALSE, answer);
        ASSERT_EQ(KS_TRUE, venCollectionAdd(&answer, env, nullptr, collection, red));
        EXPECT_EQ(KS_TRUE, answer);
        ASSERT_EQ(KS_TRUE, venCollectionContains(&answer, env, nullptr, collection, red));
        EXPECT_EQ(KS_TRUE, answer);
        ASSERT_EQ(KS_TRUE, venCollectionContains(&answer, env, nullptr, collection, enumConstant("BLUE")));
        EXPECT_EQ(KS_FALSE, answer);
    }
    // A set that already holds the element answers no change; the operation still succeeds.
    KS_BOOL changed = KS_TRUE;
    ASSERT_EQ(KS_TRUE, venCollectionAdd(&changed, env, nullptr, set, red));
    EXPECT_EQ(KS_FALSE, changed);
    // A collection that refuses: its exception stays pending.
    jclass collections = findClass(env, "java/util/Collections");
    jobject fixed = env->CallStaticObjectMethod(
        collections, env->GetStaticMethodID(collections, "emptyList", "()Ljava/util/List;"));
    EXPECT_EQ(KS_FALSE, venCollectionAdd(&changed, env, nullptr, fixed, red));
    ExpectPendingClass(env, "java.lang.UnsupportedOperationException");
}

} // namespace
} // namespace ven::families_test
