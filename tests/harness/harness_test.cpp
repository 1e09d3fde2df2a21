// What makes the harness trustworthy: abort assertions fail on any other field, a FaultEnv
// forwards, overrides and counts local references, and JVM warnings arrive while the offending
// call runs and fail the test unless a guard that then wants them covers them.
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

void consistencyCheck()
{
    ks___Abort("a <> b", "source/ven/ven_wrapper", 120, nullptr);
}

// Each assertion that names a field other than the recorded one fails, naming what it got.
TEST(AbortInterception, PassesOnExactlyTheRecordedFields)
{
    EXPECT_VEN_ABORT(fatalCheck(), "source/ven/ven_wrapper", 57, "name");
    EXPECT_VEN_ABORT_MESSAGE(consistencyCheck(), "source/ven/ven_wrapper", 120, "a <> b");
    const char* const got = "ended in ks___Abort(message NULL, path \"source/ven/ven_wrapper\", line 57, "
                            "condition \"name\")";
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(fatalCheck(), "source/ven/ven_integration", 57, "name"), got);
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(fatalCheck(), "source/ven/ven_wrapper", 58, "name"), got);
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(fatalCheck(), "source/ven/ven_wrapper", 57, "nam"), got);
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT_MESSAGE(fatalCheck(), "source/ven/ven_wrapper", 57, "name"),
                            got);
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(consistencyCheck(), "source/ven/ven_wrapper", 120, "a <> b"),
                            "ended in ks___Abort(message \"a <> b\"");
    EXPECT_NONFATAL_FAILURE(EXPECT_VEN_ABORT(ksMemFree(nullptr), "p", 1, "c"), "returned, but should have");
}

using FaultEnvTest = JvmTest;

TEST_F(FaultEnvTest, ForwardsToTheRealEnvironmentAndOverridesOneEntry)
{
    FaultEnv fault(env);
    JNIEnv* fake = fault.env();
    ASSERT_NE(fake, env);
    jclass methods = fake->FindClass("fixtures/Methods");
    jvalue argument{.i = 41};
    EXPECT_EQ(fake->CallStaticIntMethodA(methods, fake->GetStaticMethodID(methods, "staticIntEcho", "(I)I"),
                                         &argument),
              41);
    EXPECT_FALSE(fake->ExceptionCheck());
    EXPECT_TRUE(env->IsSameObject(methods, env->FindClass("fixtures/Methods")));
    EXPECT_EQ(fault.calls<&JNINativeInterface_::FindClass>(), 1);
    EXPECT_EQ(fault.trail(), (std::vector<std::string>{"FindClass", "GetStaticMethodID",
                                                       "CallStaticIntMethodA", "ExceptionCheck"}));

    JNIEnv* seenEnv = nullptr;
    std::string seenText;
    fault.override<&JNINativeInterface_::NewStringUTF>([&](JNIEnv* real, const char* text) {
        seenEnv = real;
        seenText = text;
        return real->NewStringUTF("replaced");
    });
    EXPECT_EQ(utf8(env, fake->NewStringUTF("original")), "replaced");
    EXPECT_EQ(seenEnv, env);
    EXPECT_EQ(seenText, "original");
    fault.raiseOutOfMemory<&JNINativeInterface_::FindClass>(FaultEnv::Calls::nth(2));
    EXPECT_NE(fake->FindClass("java/lang/Object"), nullptr);
    EXPECT_EQ(fake->FindClass("java/lang/Object"), nullptr);
    ExpectPending(env, "java.lang.OutOfMemoryError", "injected by FaultEnv");
    EXPECT_NE(fake->FindClass("java/lang/Object"), nullptr);
}

// Every local reference an entry hands out (an override's too) and every DeleteLocalRef; not
// global references, NULL results, nor what a popped frame took along.
TEST_F(FaultEnvTest, LedgerCountsLocalReferences)
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
    jthrowable pending = fake->ExceptionOccurred();
    fake->ExceptionClear();
    EXPECT_EQ(ledger.created(), 3);
    EXPECT_TRUE(ledger.isLive(first) && ledger.isLive(second) && ledger.isLive(pending));
    EXPECT_FALSE(ledger.isLive(global));

    fake->DeleteLocalRef(first);
    fake->DeleteLocalRef(nullptr);
    fake->DeleteGlobalRef(global);
    EXPECT_EQ(ledger.deleted(), 1);
    EXPECT_EQ(ledger.nullDeletes(), 1);
    EXPECT_FALSE(ledger.isLive(first));

    ASSERT_EQ(fake->PushLocalFrame(8), JNI_OK);
    fake->NewStringUTF("inner");
    jobject survivor = fake->PopLocalFrame(fake->NewStringUTF("kept"));
    EXPECT_EQ(ledger.created(), 6) << "PopLocalFrame's result is a new reference";
    EXPECT_EQ(ledger.live(), 3);
    EXPECT_TRUE(ledger.isLive(survivor));
}

bool anyLineContains(std::size_t from, const char* text)
{
    std::vector<std::string> lines = jvmOutput();
    return std::any_of(lines.begin() + static_cast<std::ptrdiff_t>(from), lines.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

// Makes one JNI call with an exception pending, then clears it. Returns whether the warning
// had arrived by the time the offending call returned.
bool provokeExceptionPendingWarning()
{
    JNIEnv* env = mainEnv();
    std::size_t before = jvmOutput().size();
    env->ThrowNew(env->FindClass("java/lang/IllegalStateException"), "pending");
    jclass unused = env->FindClass("java/lang/Object"); // the offending call
    bool arrived = anyLineContains(before, kExceptionPendingWarning);
    env->ExceptionClear();
    env->DeleteLocalRef(unused);
    return arrived;
}

using JvmWarnings = JvmTest;

TEST_F(JvmWarnings, ArriveSynchronouslyAndFailTheTestUnlessGuarded)
{
    bool arrived = false;
    EXPECT_NONFATAL_FAILURE(arrived = provokeExceptionPendingWarning(), kExceptionPendingWarning);
    EXPECT_TRUE(arrived);
    ExpectJniWarning guard(kExceptionPendingWarning, "harness self-test of the guard");
    EXPECT_TRUE(provokeExceptionPendingWarning());
}

void guardWithoutWarning(const char* text)
{
    ExpectJniWarning guard(text, "nothing provokes it");
}

// A guard wants its warning, also one that passes everywhere without a guard.
TEST_F(JvmWarnings, GuardWhoseWarningNeverAppearsFails)
{
    EXPECT_NONFATAL_FAILURE(guardWithoutWarning(kExceptionPendingWarning), "never appeared");
    EXPECT_NONFATAL_FAILURE(guardWithoutWarning(kCriticalRegionWarning), "never appeared");
}

// Checks for an exception inside a critical region on the string `text` (on an int array when
// NULL), as a checked-result wrapper does; whether the checker reported that.
bool checkInsideRegionWarns(const char* text)
{
    JNIEnv* env = mainEnv();
    std::size_t before = jvmOutput().size();
    if (text == nullptr) {
        jintArray array = env->NewIntArray(4);
        void* elements = env->GetPrimitiveArrayCritical(array, nullptr);
        env->ExceptionCheck();
        env->ReleasePrimitiveArrayCritical(array, elements, JNI_ABORT);
        env->DeleteLocalRef(array);
    } else {
        jstring string = jstr(env, text);
        const jchar* chars = env->GetStringCritical(string, nullptr);
        env->ExceptionCheck();
        env->ReleaseStringCritical(string, chars);
        env->DeleteLocalRef(string);
    }
    return anyLineContains(before, kCriticalRegionWarning);
}

// The checker reports a call inside a pinned region (let pass everywhere); HotSpot copies a
// Latin-1 string for GetStringCritical instead of pinning it, and then there is nothing to report.
TEST_F(JvmWarnings, PinnedRegionsAreReportedAndLatin1CopiesAreNot)
{
    EXPECT_TRUE(checkInsideRegionWarns(nullptr));
    EXPECT_TRUE(checkInsideRegionWarns("\xE2\x82\xAC 5"));
    EXPECT_FALSE(checkInsideRegionWarns("caf\xC3\xA9"));
}

// The count of the thread's local references follows every reference made and deleted, and a
// frame left pushed inside a test frame (so that the test frame's pop takes the wrong one) leaves
// a reference behind that the test frame reports.
void closeWithAFrameLeftPushed()
{
    JNIEnv* env = mainEnv();
    TestFrame frame(env);
    jstr(env, "made in the test frame");
    env->PushLocalFrame(4);
    jstr(env, "made in the frame left pushed");
}

TEST_F(JvmTest, LocalReferencesAreCountedAndOutlivingOnesReported)
{
    const int before = localReferenceCount(env);
    jstring text = jstr(env, "counted");
    EXPECT_EQ(before + 1, localReferenceCount(env));
    env->DeleteLocalRef(text);
    EXPECT_EQ(before, localReferenceCount(env));

    EXPECT_NONFATAL_FAILURE(closeWithAFrameLeftPushed(), "local references held by the thread: ");
    EXPECT_EQ(before + 1, localReferenceCount(env));
    env->PopLocalFrame(nullptr); // the test frame that closeWithAFrameLeftPushed could not reach
    EXPECT_EQ(before, localReferenceCount(env));
}

} // namespace
} // namespace ven::test
