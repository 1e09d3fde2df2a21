// What makes the harness trustworthy: abort assertions fail on any other field, a FaultEnv counts
// local references, JVM warnings arrive while the offending call runs and fail the test unless a
// guard that then wants them covers them, and a test frame reports what outlived it.
#include <algorithm>

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

// Each assertion that names a field other than the recorded one fails, naming what it got.
TEST(AbortInterception, PassesOnExactlyTheRecordedFields)
{
    EXPECT_VEN_ABORT(fatalCheck(), "source/ven/ven_wrapper", 57, "name");
    EXPECT_VEN_ABORT_MESSAGE(ks___Abort("a <> b", "source/ven/ven_wrapper", 120, nullptr),
                             "source/ven/ven_wrapper", 120, "a <> b");
    const char* const got = "ended in ks___Abort(message NULL, path \"source/ven/ven_wrapper\", line 57, "
                            "condition \"name\")";
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(fatalCheck(), "source/ven/ven_wrapper", 58, "name"), got);
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(fatalCheck(), "source/ven/ven_wrapper", 57, "nam"), got);
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT_MESSAGE(fatalCheck(), "source/ven/ven_wrapper", 57, "name"),
                            got);
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(ksMemFree(nullptr), "p", 1, "c"), "returned, but should have");
}

// Every local reference an entry hands out (an override's too) and every DeleteLocalRef; not
// global references, NULL results, nor what a popped frame took along.
TEST_F(JvmTest, FaultEnvLedgerCountsLocalReferences)
{
    FaultEnv fault(env);
    JNIEnv* fake = fault.env();
    const LocalRefLedger& ledger = fault.ledger();
    fault.override<&JNINativeInterface_::NewStringUTF>(
        [](JNIEnv* real, const char* text) { return real->NewStringUTF(text); });
    jstring first = fake->NewStringUTF("a");
    jclass second = fake->GetObjectClass(first);
    jobject global = fake->NewGlobalRef(first);
    EXPECT_EQ(fake->FindClass("no/such/Class"), nullptr);
    fake->ExceptionClear();
    EXPECT_EQ(ledger.live(), 2);
    EXPECT_TRUE(ledger.isLive(first) && ledger.isLive(second) && !ledger.isLive(global));

    fake->DeleteLocalRef(first);
    fake->DeleteLocalRef(nullptr);
    fake->DeleteGlobalRef(global);
    EXPECT_EQ(ledger.deleted(), 1);
    EXPECT_FALSE(ledger.isLive(first));

    ASSERT_EQ(fake->PushLocalFrame(8), JNI_OK);
    fake->NewStringUTF("inner");
    jobject survivor = fake->PopLocalFrame(fake->NewStringUTF("kept"));
    EXPECT_EQ(ledger.live(), 2) << "PopLocalFrame's result is a new reference";
    EXPECT_TRUE(ledger.isLive(survivor));
}

// Makes one JNI call with an exception pending, then clears it. Returns whether the warning
// had arrived by the time the offending call returned.
bool provokeExceptionPendingWarning()
{
    JNIEnv* env = mainEnv();
    std::size_t before = jvmOutput().size();
    env->ThrowNew(env->FindClass("java/lang/IllegalStateException"), "pending");
    env->DeleteLocalRef(env->FindClass("java/lang/Object")); // the offending call
    std::vector<std::string> lines = jvmOutput();
    bool arrived =
        std::any_of(lines.begin() + static_cast<std::ptrdiff_t>(before), lines.end(),
                    [](auto& line) { return line.find(kExceptionPendingWarning) != std::string::npos; });
    env->ExceptionClear();
    return arrived;
}

// A warning arrives while the offending call runs and fails the test unless a guard covers it;
// a guard wants its warning, also one that passes everywhere without a guard.
TEST_F(JvmTest, WarningsFailTheTestUnlessAGuardWantsThem)
{
    bool arrived = false;
    EXPECT_NONFATAL_FAILURE(arrived = provokeExceptionPendingWarning(), kExceptionPendingWarning);
    EXPECT_TRUE(arrived);
    EXPECT_NONFATAL_FAILURE(ExpectJniWarning(kCriticalRegionWarning, "nothing provokes it"),
                            "never appeared");
    ExpectJniWarning guard(kExceptionPendingWarning, "harness self-test of the guard");
    EXPECT_TRUE(provokeExceptionPendingWarning());
}

// A test frame reports what outlived it: a frame left pushed inside it (so that its pop takes
// the wrong one), a raw block or a ks object; what leaked is handed back.
enum class Leak { frame, block, object };

void* closeLeaking(Leak leak)
{
    JNIEnv* env = mainEnv();
    TestFrame frame(env);
    jstr(env, "made in the test frame");
    if (leak == Leak::frame) {
        env->PushLocalFrame(4);
        jstr(env, "made in the frame left pushed");
    }
    ksMemFree(ksMemAlloc(3));
    return leak == Leak::block ? ksMemAlloc(1) : leak == Leak::object ? ksVectorCreate() : nullptr;
}

TEST_F(JvmTest, TestFramesReportWhatOutlivesThem)
{
    const int before = localReferenceCount(env);
    EXPECT_NONFATAL_FAILURE(closeLeaking(Leak::frame), "local references held by the thread: ");
    EXPECT_EQ(before + 1, localReferenceCount(env));
    env->PopLocalFrame(nullptr); // the test frame that closeLeaking could not reach
    EXPECT_EQ(before, localReferenceCount(env));
    void* block = nullptr;
    void* object = nullptr;
    EXPECT_NONFATAL_FAILURE(block = closeLeaking(Leak::block), "raw blocks from ksMemAlloc not freed: ");
    EXPECT_NONFATAL_FAILURE(object = closeLeaking(Leak::object), "ks objects alive: ");
    ksMemFree(block);
    ksObjRelease(object);
}

} // namespace
} // namespace ven::test
