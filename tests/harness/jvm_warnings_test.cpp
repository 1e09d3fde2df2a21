// The harness's own guarantees about the JVM: its warnings arrive synchronously through
// the vfprintf hook and fail the running test, expected ones need a registered guard, and a
// test that leaks more local references than its frame holds is reported.
#include <algorithm>

#include <gtest/gtest-spi.h>

#include "support/ven_test.hpp"

namespace ven::test
{
namespace
{

constexpr const char* kExceptionPending = "JNI call made with exception pending";

bool anyLineContains(const std::vector<std::string>& lines, std::size_t from, const char* text)
{
    return std::any_of(lines.begin() + static_cast<std::ptrdiff_t>(from), lines.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

// Makes one JNI call with an exception pending, then clears it. Returns whether the warning
// had been captured by the time the offending call returned.
bool provokeExceptionPendingWarning()
{
    JNIEnv* env = mainEnv();
    std::size_t before = jvmOutputLineCount();
    env->ThrowNew(env->FindClass("java/lang/IllegalStateException"), "pending");
    jclass unused = env->FindClass("java/lang/Object"); // the offending call
    bool captured = anyLineContains(jvmOutput(), before, kExceptionPending);
    env->ExceptionClear();
    env->DeleteLocalRef(unused);
    return captured;
}

bool warningWasSynchronous = false;

using JvmWarnings = JvmTest;

TEST_F(JvmWarnings, ArriveSynchronouslyAndFailTheRunningTest)
{
    EXPECT_NONFATAL_FAILURE(warningWasSynchronous = provokeExceptionPendingWarning(), kExceptionPending);
    EXPECT_TRUE(warningWasSynchronous);
}

TEST_F(JvmWarnings, RegisteredGuardAcceptsTheWarning)
{
    ExpectJniWarning guard(kExceptionPending, "harness self-test of the guard");
    EXPECT_TRUE(provokeExceptionPendingWarning());
    EXPECT_GE(guard.seen(), 1);
}

TEST_F(JvmWarnings, GuardWhoseWarningNeverAppearsFails)
{
    EXPECT_NONFATAL_FAILURE(ExpectJniWarning(kExceptionPending, "nothing provokes it"), "never appeared");
}

void guardAnUnregisteredWarning()
{
    ExpectJniWarning guard("JNI local refs", "not a behaviour of the library");
}

TEST_F(JvmWarnings, GuardForAnUnregisteredWarningFails)
{
    EXPECT_NONFATAL_FAILURE(guardAnUnregisteredWarning(), "not a registered expected JVM warning");
}

TEST_F(JvmWarnings, RegistryGivesEveryWarningItsReason)
{
    ASSERT_FALSE(knownJniWarnings().empty());
    for (const KnownJniWarning& known : knownJniWarnings()) {
        EXPECT_GT(std::string_view(known.text).size(), 10u);
        EXPECT_GT(std::string_view(known.reason).size(), 20u) << known.text;
    }
}

// Fills the test's frame past its capacity plus the checker's tolerance.
void leakLocalReferences(int count)
{
    JNIEnv* env = mainEnv();
    for (int i = 0; i < count; ++i) {
        env->NewStringUTF("leak");
    }
}

// HotSpot 17 checks local capacity (with a tolerance of 32 references); HotSpot 25 has
// dropped that check, so there the same leak passes unseen.
TEST_F(JvmWarnings, LeakBeyondTheFrameCapacityIsReportedWhereTheJvmChecksIt)
{
    if (javaMajorVersion() <= 17) {
        EXPECT_NONFATAL_FAILURE(leakLocalReferences(TestFrame::kCapacity + 40), "exceeds capacity");
    } else {
        std::size_t before = jvmOutputLineCount();
        leakLocalReferences(TestFrame::kCapacity * 10);
        EXPECT_FALSE(anyLineContains(jvmOutput(), before, "WARNING"));
    }
}

TEST_F(JvmWarnings, UseWithinTheFrameCapacityIsQuiet)
{
    std::size_t before = jvmOutputLineCount();
    leakLocalReferences(TestFrame::kCapacity);
    EXPECT_FALSE(anyLineContains(jvmOutput(), before, "WARNING"));
}

} // namespace
} // namespace ven::test
