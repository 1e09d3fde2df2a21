// The harness's own guarantees about the JVM: its warnings arrive synchronously through
// the vfprintf hook and fail the running test, expected ones need a registered guard, a
// test that leaks more local references than its frame holds is reported where the JVM
// checks that, and a call inside a critical region is reported.
#include <algorithm>

#include <gtest/gtest-spi.h>

#include "support/ven_test.hpp"

namespace ven::test
{
namespace
{

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
    bool captured = anyLineContains(jvmOutput(), before, kExceptionPendingWarning);
    env->ExceptionClear();
    env->DeleteLocalRef(unused);
    return captured;
}

bool warningWasSynchronous = false;

using JvmWarnings = JvmTest;

TEST_F(JvmWarnings, ArriveSynchronouslyAndFailTheRunningTest)
{
    EXPECT_NONFATAL_FAILURE(warningWasSynchronous = provokeExceptionPendingWarning(),
                            kExceptionPendingWarning);
    EXPECT_TRUE(warningWasSynchronous);
}

TEST_F(JvmWarnings, RegisteredGuardAcceptsTheWarning)
{
    ExpectJniWarning guard(kExceptionPendingWarning, "harness self-test of the guard");
    EXPECT_TRUE(provokeExceptionPendingWarning());
    EXPECT_GE(guard.seen(), 1);
}

TEST_F(JvmWarnings, GuardWhoseWarningNeverAppearsFails)
{
    EXPECT_NONFATAL_FAILURE(ExpectJniWarning(kExceptionPendingWarning, "nothing provokes it"),
                            "never appeared");
}

void guardAnUnregisteredWarning()
{
    ExpectJniWarning guard("JNI local refs", "not a behaviour of the library");
}

TEST_F(JvmWarnings, GuardForAnUnregisteredWarningFails)
{
    EXPECT_NONFATAL_FAILURE(guardAnUnregisteredWarning(), "not an expected JVM warning");
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

// An exception check inside a critical region, as a checked-result wrapper makes it.
void checkExceptionsInside(void (*region)(void (*)()))
{
    region([] { mainEnv()->ExceptionCheck(); });
}

void inArrayRegion(void (*body)())
{
    JNIEnv* env = mainEnv();
    jintArray array = env->NewIntArray(4);
    void* elements = env->GetPrimitiveArrayCritical(array, nullptr);
    body();
    env->ReleasePrimitiveArrayCritical(array, elements, JNI_ABORT);
    env->DeleteLocalRef(array);
}

template <const char* Text> void inStringRegion(void (*body)())
{
    JNIEnv* env = mainEnv();
    jstring string = jstr(env, Text);
    const jchar* chars = env->GetStringCritical(string, nullptr);
    body();
    env->ReleaseStringCritical(string, chars);
    env->DeleteLocalRef(string);
}

constexpr char kEuro[] = "\xE2\x82\xAC 5";
constexpr char kLatin1[] = "caf\xC3\xA9";

// The checker reports a call inside a pinned region (with "Warning:", not "WARNING"); the
// harness captures it and lets it pass, because checked-result wrappers cause it by design.
TEST_F(JvmWarnings, ExceptionCheckInsideAPinnedRegionIsReportedAndLetPass)
{
    std::size_t before = jvmOutputLineCount();
    checkExceptionsInside(inArrayRegion);
    EXPECT_TRUE(anyLineContains(jvmOutput(), before, kCriticalRegionWarning));
    before = jvmOutputLineCount();
    checkExceptionsInside(inStringRegion<kEuro>);
    EXPECT_TRUE(anyLineContains(jvmOutput(), before, kCriticalRegionWarning));
}

void guardTheCriticalRegionWarning()
{
    ExpectJniWarning guard(kCriticalRegionWarning, "nothing opens a region here");
}

// A warning let pass everywhere needs no guard, but a guard on it still proves that the
// test provokes it.
TEST_F(JvmWarnings, GuardOnAWarningLetPassEverywhereStillWantsIt)
{
    EXPECT_NONFATAL_FAILURE(guardTheCriticalRegionWarning(), "never appeared");
}

// HotSpot copies a Latin-1 string for GetStringCritical: no region, so no warning either.
TEST_F(JvmWarnings, Latin1StringsAreCopiedWithoutARegion)
{
    std::size_t before = jvmOutputLineCount();
    checkExceptionsInside(inStringRegion<kLatin1>);
    EXPECT_FALSE(anyLineContains(jvmOutput(), before, "arning"));
}

} // namespace
} // namespace ven::test
