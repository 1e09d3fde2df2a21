// The class support units of the boxed values, Object and the collections: boxing round
// trips, the text of an object, and the list, collection and enum-set contents.
#include <cfloat>
#include <cstdint>
#include <limits>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

using ClassUnitsTest = JvmTest;

// Boxing calls valueOf: Boolean.TRUE itself for KS_TRUE only, a long whole, a double to the bit.
// The text of an object is its toString, NULL for null; a throwing toString keeps the text held.
TEST_F(ClassUnitsTest, BoxingRoundTripsAndTextOfAnObject)
{
    jobject value = nullptr;
    auto unboxed = [&](const char* c, const char* name, const char* sig) {
        return env->GetMethodID(findClass(env, c), name, sig);
    };
    jclass booleans = findClass(env, "java/lang/Boolean");
    jobject boxedTrue =
        env->GetStaticObjectField(booleans, env->GetStaticFieldID(booleans, "TRUE", "Ljava/lang/Boolean;"));
    for (const auto& [flag, expected] :
         {std::pair{KS_TRUE, true}, std::pair{KS_FALSE, false}, std::pair{2, false}, std::pair{-1, false}}) {
        ASSERT_TRUE(venBooleanValueOf(&value, env, nullptr, flag));
        EXPECT_EQ(expected, env->IsSameObject(value, boxedTrue) == JNI_TRUE) << flag;
    }
    ASSERT_TRUE(venLongValueOf(&value, env, nullptr, INT64_MIN));
    EXPECT_EQ(INT64_MIN, env->CallLongMethod(value, unboxed("java/lang/Long", "longValue", "()J")));
    for (const double number : {-0.0, 0.1, DBL_MAX, DBL_TRUE_MIN, std::numeric_limits<double>::quiet_NaN()}) {
        ASSERT_TRUE(venDoubleValueOf(&value, env, nullptr, number));
        EXPECT_TRUE(
            same(number, env->CallDoubleMethod(value, unboxed("java/lang/Double", "doubleValue", "()D"))))
            << number;
    }
    KsRef<ksString> string;
    EXPECT_TRUE(venObjectToString(string.out(), env, nullptr, value) && utf8(string) == "NaN");
    EXPECT_TRUE(venObjectToString(string.out(), env, nullptr, newInstance(env, "fixtures/ToStringNull")) &&
                !string.get());
    string = ksStr("kept");
    EXPECT_FALSE(venObjectToString(string.out(), env, nullptr, newInstance(env, "fixtures/ToStringThrows")));
    ExpectPending(env, "java.lang.IllegalStateException", "toString fails");
    EXPECT_EQ("kept", utf8(string));
}

// A list built through add and read back; an EnumSet holding what was added once, and
// nothing else.
TEST_F(ClassUnitsTest, ListsAndSetsAsCollections)
{
    jobject list = nullptr, element = nullptr, set = nullptr;
    jstring texts[] = {jstr(env, "first"), jstr(env, "second")};
    KS_INT size = -1;
    KS_BOOL answer = 7;
    ASSERT_TRUE(venArrayListNew(&list, env, nullptr) && venArrayListSize(&size, env, nullptr, list));
    EXPECT_EQ(0, size);
    for (jstring text : texts) {
        EXPECT_TRUE(venCollectionAdd(&answer, env, nullptr, list, text) && answer == KS_TRUE);
    }
    EXPECT_TRUE(venArrayListSize(&size, env, nullptr, list) && size == 2);
    for (const KS_INT index : {0, 1}) {
        EXPECT_TRUE(venArrayListGet(&element, env, nullptr, list, index) &&
                    same<jobject>(texts[index], element));
    }
    jclass colors = findClass(env, "fixtures/Color");
    auto color = [&](const char* name) {
        return env->GetStaticObjectField(colors, env->GetStaticFieldID(colors, name, "Lfixtures/Color;"));
    };
    ASSERT_TRUE(venEnumSetNoneOf(&set, env, nullptr, colors));
    for (const auto& [name, added] :
         {std::pair{"RED", KS_TRUE}, std::pair{"BLUE", KS_TRUE}, std::pair{"RED", KS_FALSE}}) {
        EXPECT_TRUE(venCollectionContains(&answer, env, nullptr, set, color(name)) && answer == !added)
            << name;
        EXPECT_TRUE(venCollectionAdd(&answer, env, nullptr, set, color(name)) && answer == added) << name;
        EXPECT_TRUE(venCollectionContains(&answer, env, nullptr, set, color(name)) && answer == KS_TRUE)
            << name;
    }
    EXPECT_EQ(
        2, env->CallIntMethod(set, env->GetMethodID(findClass(env, "java/util/Collection"), "size", "()I")));
    ExpectNoPending(env);
    EXPECT_TRUE(venCollectionContains(&answer, env, nullptr, list, color("RED")) && answer == KS_FALSE);
}

} // namespace
} // namespace ven::families_test
