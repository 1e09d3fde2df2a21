// The four range checks of the integration layer at their bounds, and the text their
// expansion stringizes to (the condition text that fatal checks over them report).
#include <string>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace
{

#define STRINGIZE_EXPANDED(...) STRINGIZE_(__VA_ARGS__)
#define STRINGIZE_(...) #__VA_ARGS__

struct IntBound {
    KS_INT value;
    bool passes;
};

TEST(RangeChecks, JintAndJsizeAtTheirBounds)
{
    const IntBound bounds[] = {
        {2147483647LL, true},   {-2147483648LL, true}, {0, true},          {2147483648LL, false},
        {-2147483649LL, false}, {INT64_MAX, false},    {INT64_MIN, false},
    };
    for (const IntBound& bound : bounds) {
        SCOPED_TRACE(bound.value);
        EXPECT_EQ(static_cast<bool>(VEN_KS_INT_TO_JINT_CONV_OK(bound.value)), bound.passes);
        EXPECT_EQ(static_cast<bool>(VEN_KS_INT_TO_JSIZE_CONV_OK(bound.value)), bound.passes);
    }
}

TEST(RangeChecks, JshortAtItsBounds)
{
    const IntBound bounds[] = {
        {32767, true},   {-32768, true}, {0, true},          {32768, false},
        {-32769, false}, {65535, false}, {INT64_MIN, false},
    };
    for (const IntBound& bound : bounds) {
        SCOPED_TRACE(bound.value);
        EXPECT_EQ(static_cast<bool>(VEN_KS_INT_TO_JSHORT_CONV_OK(bound.value)), bound.passes);
    }
}

TEST(RangeChecks, JcharIsAnUnsignedTest)
{
    const struct {
        KS_CHAR value;
        bool passes;
    } bounds[] = {{0, true}, {65535, true}, {65536, false}, {0xFFFFFFFFu, false}, {0x80000000u, false}};
    for (const auto& bound : bounds) {
        SCOPED_TRACE(bound.value);
        EXPECT_EQ(static_cast<bool>(VEN_KS_CHAR_TO_JCHAR_CONV_OK(bound.value)), bound.passes);
    }
}

TEST(RangeChecks, ArgumentIsNarrowedAsAWhole)
{
    // Unparenthesised, the cast would bind to `big` alone and the test pass on 40000.
    const bool big = true;
    EXPECT_FALSE(VEN_KS_INT_TO_JSHORT_CONV_OK(big ? 40000 : 1));
    EXPECT_FALSE(VEN_KS_INT_TO_JINT_CONV_OK(big ? 4000000000LL : 1));
    EXPECT_FALSE(VEN_KS_CHAR_TO_JCHAR_CONV_OK(big ? 70000u : 1u));
}

TEST(RangeChecks, ExpansionStringizesToTheReportedConditionText)
{
    EXPECT_STREQ(STRINGIZE_EXPANDED(VEN_KS_INT_TO_JINT_CONV_OK(index)),
                 "( sizeof(KS_INT)>=sizeof(jint) ? (KS_INT)(index) >= (KS_INT)((KS_INT)(-2147483648LL)) && "
                 "(KS_INT)(index) <= (KS_INT)((KS_INT)(2147483647LL)) : ((KS_BOOL)1) )");
    EXPECT_STREQ(STRINGIZE_EXPANDED(VEN_KS_INT_TO_JSIZE_CONV_OK(len)),
                 "( sizeof(KS_INT)>=sizeof(jsize) ? (KS_INT)(len) >= (KS_INT)((KS_INT)(-2147483648LL)) && "
                 "(KS_INT)(len) <= (KS_INT)((KS_INT)(2147483647LL)) : ((KS_BOOL)1) )");
    EXPECT_STREQ(STRINGIZE_EXPANDED(VEN_KS_INT_TO_JSHORT_CONV_OK(value)),
                 "( sizeof(KS_INT)>=sizeof(jshort) ? (KS_INT)(value) >= (KS_INT)((KS_INT)(-32768LL)) && "
                 "(KS_INT)(value) <= (KS_INT)((KS_INT)(32767LL)) : ((KS_BOOL)1) )");
}

} // namespace
