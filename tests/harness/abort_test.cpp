// The abort assertions: they pass on exactly the recorded fields and fail, with a message
// that names what differs, on anything else, including a statement that returns.
#include <gtest/gtest-spi.h>

#include "support/ven_test.hpp"

namespace ven::test
{
namespace
{

void fatalCheck()
{
    ks___Abort(nullptr, "source/ven/ven_wrapper", 57, "name");
}

void consistencyCheck()
{
    ks___Abort("(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->NewGlobalRef() == NULL",
               "source/ven/ven_wrapper", 120, nullptr);
}

void returns() {}

TEST(AbortInterception, MatchingFieldsPass)
{
    EXPECT_VEN_ABORT(fatalCheck(), "source/ven/ven_wrapper", 57, "name");
    EXPECT_VEN_ABORT_MESSAGE(consistencyCheck(), "source/ven/ven_wrapper", 120,
                             "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->NewGlobalRef() == NULL");
}

TEST(AbortInterception, EachDifferentFieldFails)
{
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(fatalCheck(), "source/ven/ven_integration", 57, "name"),
                            "expected ks___Abort(message NULL, path \"source/ven/ven_integration\"");
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(fatalCheck(), "source/ven/ven_wrapper", 58, "name"), "line 58");
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(fatalCheck(), "source/ven/ven_wrapper", 57, "nam"),
                            "condition \"nam\"");
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT_MESSAGE(fatalCheck(), "source/ven/ven_wrapper", 57, "name"),
                            "ended in ks___Abort(message NULL");
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(consistencyCheck(), "source/ven/ven_wrapper", 120, "x"),
                            "condition NULL");
}

TEST(AbortInterception, StatementThatReturnsFails)
{
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(returns(), "p", 1, "c"), "returns()\n  returned");
}

TEST(AbortInterception, CatchAbortHandsBackTheRecord)
{
    std::optional<AbortRecord> record = catchAbort(consistencyCheck);
    ASSERT_TRUE(record.has_value());
    EXPECT_EQ(record->path, "source/ven/ven_wrapper");
    EXPECT_EQ(record->line, 120);
    EXPECT_FALSE(record->condition.has_value());
    EXPECT_TRUE(record->message.has_value());
    EXPECT_FALSE(catchAbort(returns).has_value());
}

// An abort outside the assertions still ends the test, as a C++ exception gtest reports.
TEST(AbortInterception, UnexpectedAbortUnwindsAsVenAbort)
{
    try {
        fatalCheck();
        FAIL() << "ks___Abort returned";
    } catch (const VenAbort& abort) {
        EXPECT_STREQ(
            abort.what(),
            "ks___Abort(message NULL, path \"source/ven/ven_wrapper\", line 57, condition \"name\")");
    }
}

} // namespace
} // namespace ven::test
