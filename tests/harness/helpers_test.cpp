// The trace stream wrapper, the exception and string helpers, KsRef, and the checks a
// TestFrame makes when it closes.
#include <gtest/gtest-spi.h>

#include "support/ven_test.hpp"

namespace ven::test
{
namespace
{

using Helpers = JvmTest;

const char* const kSmile = "smile \xF0\x9F\x98\x80 end"; // U+1F600 in standard UTF-8

TEST(TraceStream, RecordsLinesAndTheNotableFlag)
{
    Trace trace;
    EXPECT_TRUE(trace.lines().empty());
    EXPECT_FALSE(trace.notable());
    KsRef<ksString> text = ksStr(kSmile);
    lgStreamTextFormatCstr(trace.get(), "[%lc()] %s %i", -1, "venTest", text.get(), KS_INT{-7});
    lgStreamSetNotable(trace.get());
    EXPECT_EQ(trace.lines(), std::vector<std::string>{std::string("[venTest()] ") + kSmile + " -7"});
    EXPECT_TRUE(trace.notable());
    trace.reset();
    EXPECT_TRUE(trace.lines().empty());
    EXPECT_FALSE(trace.notable());
}

TEST_F(Helpers, PendingExceptionIsDescribedAndLeftPending)
{
    EXPECT_EQ(pendingClassName(env), "");
    EXPECT_EQ(pendingMessage(env), std::nullopt);
    env->Throw(makeThrowable(env, "java.lang.IllegalArgumentException", "venFindClass: name != NULL"));
    EXPECT_EQ(pendingClassName(env), "java.lang.IllegalArgumentException");
    EXPECT_EQ(pendingMessage(env), "venFindClass: name != NULL");
    EXPECT_TRUE(env->ExceptionCheck());
    ExpectPending(env, "java.lang.IllegalArgumentException", "venFindClass: name != NULL");
    EXPECT_FALSE(env->ExceptionCheck());
}

TEST_F(Helpers, NullMessagesAndSupplementaryMessages)
{
    env->Throw(makeThrowable(env, "java/lang/IllegalStateException", nullptr));
    EXPECT_EQ(pendingMessage(env), std::nullopt);
    ExpectPending(env, "java.lang.IllegalStateException", nullptr);

    jclass text = findClass(env, "fixtures/SupplementaryText");
    env->Throw(static_cast<jthrowable>(env->AllocObject(text)));
    env->ExceptionClear();
    jmethodID constructor = env->GetMethodID(text, "<init>", "()V");
    env->Throw(static_cast<jthrowable>(env->NewObjectA(text, constructor, nullptr)));
    ExpectPending(env, "fixtures.SupplementaryText", kSmile);
}

void expectWrongPending()
{
    JNIEnv* env = mainEnv();
    env->Throw(makeThrowable(env, "java.lang.IllegalStateException", "actual"));
    ExpectPending(env, "java.lang.IllegalStateException", "expected");
}

void expectPendingWhenNone()
{
    ExpectPending(mainEnv(), "java.lang.IllegalStateException", "x");
}

void expectNoPendingWhenOne()
{
    JNIEnv* env = mainEnv();
    env->Throw(makeThrowable(env, "fixtures.FixtureException", "left over"));
    ExpectNoPending(env);
}

TEST_F(Helpers, ExpectPendingFailsAndClearsOnMismatch)
{
    EXPECT_NONFATAL_FAILURE(expectWrongPending(), "expected java.lang.IllegalStateException: \"expected\"");
    EXPECT_FALSE(env->ExceptionCheck());
    EXPECT_NONFATAL_FAILURE(expectPendingWhenNone(), "nothing is pending");
    EXPECT_NONFATAL_FAILURE(expectNoPendingWhenOne(), "fixtures.FixtureException: \"left over\"");
    EXPECT_FALSE(env->ExceptionCheck());
}

TEST_F(Helpers, JavaStringsRoundTripThroughUtf8AndUtf16)
{
    jstring string = jstr(env, kSmile);
    std::u16string expected = u"smile \U0001F600 end";
    EXPECT_EQ(units(env, string), expected);
    EXPECT_EQ(env->GetStringLength(string), 12);
    EXPECT_EQ(utf8(env, string), kSmile);
    EXPECT_EQ(utf8(env, jstr(env, std::u16string_view(u""))), "");
    EXPECT_EQ(toUtf8(toUtf16("\xC3\xA9\xE2\x82\xAC")), "\xC3\xA9\xE2\x82\xAC");
    EXPECT_NONFATAL_FAILURE(toUtf8(std::u16string_view(u"\xD800")), "lone surrogate");
    EXPECT_NONFATAL_FAILURE(decodeUtf8("\xF0\x9F"), "malformed UTF-8");
}

TEST(KsHelpers, StringsOfCodePoints)
{
    KsRef<ksString> smile = ksStr(kSmile);
    ASSERT_TRUE(smile);
    EXPECT_EQ(ksStringLength(smile), 11);
    EXPECT_EQ(codePoints(smile)[6], U'\U0001F600');
    EXPECT_EQ(utf8(smile.get()), kSmile);
    EXPECT_EQ(utf8(static_cast<const ksString*>(nullptr)), "<NULL ksString>");
}

TEST(KsHelpers, KsRefOwnsExactlyOneReference)
{
    KS_INT before = ksObjLiveCount();
    {
        KsRef<ksString> text = ksStr("a");
        EXPECT_EQ(ksObjLiveCount(), before + 1);
        KsRef<ksString> moved = std::move(text);
        EXPECT_EQ(text.get(), nullptr);
        EXPECT_EQ(ksObjRefCount(moved.get()), 1);
        moved.reset(ksStringCreateFromCstr("b", -1));
        EXPECT_EQ(ksObjLiveCount(), before + 1);
        ksString* released = moved.release();
        EXPECT_EQ(moved.get(), nullptr);
        ksObjRelease(released);
    }
    EXPECT_EQ(ksObjLiveCount(), before);
}

// TestFrame's closing checks, on frames of the test's own.
void leaveExceptionPending()
{
    JNIEnv* env = mainEnv();
    TestFrame frame(env);
    env->Throw(makeThrowable(env, "java.lang.IllegalStateException", "forgotten"));
}

KsRef<ksString> leaked;

void leakKsObject()
{
    TestFrame frame(mainEnv());
    leaked = ksStr("leak");
}

void leakKsObjectOnPurpose()
{
    TestFrame frame(mainEnv());
    frame.allowKsObjectLeak("kept for the next statement");
    leaked = ksStr("kept");
}

TEST_F(Helpers, FrameFailsOnAPendingExceptionAndClearsIt)
{
    EXPECT_NONFATAL_FAILURE(leaveExceptionPending(),
                            "left an exception pending: java.lang.IllegalStateException: forgotten");
    EXPECT_FALSE(env->ExceptionCheck());
}

TEST_F(Helpers, FrameFailsOnALiveKsObjectUnlessAllowed)
{
    EXPECT_NONFATAL_FAILURE(leakKsObject(), "ks objects alive");
    leaked.reset();
    leakKsObjectOnPurpose();
    leaked.reset();
}

TEST_F(Helpers, FramePopsItsReferences)
{
    jobject outer = env->NewStringUTF("outer");
    {
        TestFrame frame(env);
        env->NewStringUTF("inner");
    }
    EXPECT_EQ(env->GetObjectRefType(outer), JNILocalRefType);
    EXPECT_EQ(utf8(env, static_cast<jstring>(outer)), "outer");
}

} // namespace
} // namespace ven::test
