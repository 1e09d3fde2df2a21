// The exception trace: the lines and the notable flag for unchecked and checked
// throwables, the NULL throwable and NULL name lines, every fallback when the toString()
// text cannot be had (some reachable only through a misbehaving JNI), and the rule that
// the exception pending on entry is pending again on return.
#include <string>
#include <vector>

#include "core_test.hpp"

namespace
{

using namespace ven::core_test;

class ExceptionTrace : public JvmTest
{
  protected:
    jthrowable fixture(const char* className)
    {
        jclass clazz = ven::test::findClass(env, className);
        return static_cast<jthrowable>(env->NewObject(clazz, env->GetMethodID(clazz, "<init>", "()V")));
    }

    // The pending exception must be exactly `expected` (the same object), then cleared.
    void expectPendingIs(jthrowable expected)
    {
        jthrowable pending = env->ExceptionOccurred();
        ASSERT_NE(pending, nullptr) << "nothing pending";
        env->ExceptionClear();
        EXPECT_TRUE(env->IsSameObject(pending, expected)) << "another exception is pending";
    }
};

TEST_F(ExceptionTrace, UncheckedThrowablesAreDescribedAndNotable)
{
    const struct {
        const char* className;
        const char* line;
    } rows[] = {
        {"java/lang/IllegalStateException", "[caller()] Exception: java.lang.IllegalStateException: boom"},
        {"java/lang/OutOfMemoryError", "[caller()] Exception: java.lang.OutOfMemoryError: boom"},
        {"java/lang/AssertionError", "[caller()] Exception: java.lang.AssertionError: boom"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.className);
        ven::test::TestFrame rowFrame(env);
        Trace trace;
        jthrowable throwable = makeThrowable(env, row.className, "boom");
        EXPECT_EQ(venTraceErrorOrRuntimeException(env, trace.get(), throwable, "caller"), KS_TRUE);
        EXPECT_EQ(trace.lines(), Lines{row.line});
        EXPECT_TRUE(trace.notable());
        ExpectNoPending(env);
    }
}

TEST_F(ExceptionTrace, CheckedThrowablesAreLeftToTheCaller)
{
    Trace trace;
    jthrowable checked = makeThrowable(env, "java/io/IOException", "io");
    EXPECT_EQ(venTraceErrorOrRuntimeException(env, trace.get(), checked, "caller"), KS_TRUE);
    // Even without a name: the name is asked only for a throwable that is described.
    EXPECT_EQ(venTraceErrorOrRuntimeException(env, trace.get(), checked, nullptr), KS_TRUE);
    EXPECT_EQ(trace.lines(), Lines{});
    EXPECT_FALSE(trace.notable());
    // Described all the same when asked for directly, and notable only on request.
    EXPECT_EQ(venTraceException(env, trace.get(), checked, KS_FALSE, "caller"), KS_TRUE);
    EXPECT_EQ(trace.lines(), Lines{"[caller()] Exception: java.io.IOException: io"});
    EXPECT_FALSE(trace.notable());
    EXPECT_EQ(venTraceException(env, trace.get(), checked, KS_TRUE, "caller"), KS_TRUE);
    EXPECT_TRUE(trace.notable());
}

TEST_F(ExceptionTrace, NullThrowableAndNullName)
{
    jthrowable unchecked = makeThrowable(env, "java/lang/IllegalStateException", "x");
    const struct {
        const char* what;
        KS_BOOL (*call)(JNIEnv*, lgStream*, jthrowable);
        bool nullThrowable;
        const char* line;
    } rows[] = {
        {"E, NULL throwable",
         [](JNIEnv* e, lgStream* t, jthrowable) {
             return venTraceErrorOrRuntimeException(e, t, nullptr, "caller");
         },
         true, "[venTraceErrorOrRuntimeException()] throwable: NULL"},
        {"D, NULL throwable",
         [](JNIEnv* e, lgStream* t, jthrowable) {
             return venTraceException(e, t, nullptr, KS_FALSE, "caller");
         },
         true, "[venTraceException()] throwable: NULL"},
        {"D, NULL name",
         [](JNIEnv* e, lgStream* t, jthrowable x) { return venTraceException(e, t, x, KS_FALSE, nullptr); },
         false, "[venTraceException()] methodName: NULL"},
        {"E, NULL name",
         [](JNIEnv* e, lgStream* t, jthrowable x) {
             return venTraceErrorOrRuntimeException(e, t, x, nullptr);
         },
         false, "[venTraceException()] methodName: NULL"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Trace trace;
        EXPECT_EQ(row.call(env, trace.get(), unchecked), KS_FALSE);
        EXPECT_EQ(trace.lines(), Lines{row.line});
        EXPECT_TRUE(trace.notable());
        // Without a stream: the same result, and nothing anywhere.
        EXPECT_EQ(row.call(env, nullptr, unchecked), KS_FALSE);
        ExpectNoPending(env);
    }
}

TEST_F(ExceptionTrace, WithoutStreamNoJniCall)
{
    FaultEnv fault(env);
    jthrowable throwable = makeThrowable(env, "java/lang/IllegalStateException", "x");
    EXPECT_EQ(venTraceException(fault.env(), nullptr, throwable, KS_TRUE, "caller"), KS_TRUE);
    EXPECT_TRUE(fault.trail().empty());
}

TEST_F(ExceptionTrace, PendingExceptionIsPendingAgain)
{
    Trace trace;
    jthrowable earlier = makeThrowable(env, "java/io/IOException", "earlier");
    jthrowable described = makeThrowable(env, "java/lang/IllegalStateException", "described");
    env->Throw(earlier);
    EXPECT_EQ(venTraceException(env, trace.get(), described, KS_TRUE, "caller"), KS_TRUE);
    EXPECT_EQ(trace.lines(), Lines{"[caller()] Exception: java.lang.IllegalStateException: described"});
    expectPendingIs(earlier);

    env->Throw(described);
    EXPECT_EQ(venTraceErrorOrRuntimeExceptionOccurred(env, trace.get(), "other"), KS_TRUE);
    EXPECT_EQ(trace.lines().back(), "[other()] Exception: java.lang.IllegalStateException: described");
    expectPendingIs(described);

    env->Throw(earlier);
    EXPECT_EQ(venTraceExceptionOccurred(env, trace.get(), KS_FALSE, "third"), KS_TRUE);
    EXPECT_EQ(trace.lines().back(), "[third()] Exception: java.io.IOException: earlier");
    expectPendingIs(earlier);
}

TEST_F(ExceptionTrace, NothingPendingNothingTraced)
{
    Trace trace;
    EXPECT_EQ(venTraceErrorOrRuntimeExceptionOccurred(env, trace.get(), "caller"), KS_TRUE);
    EXPECT_EQ(venTraceExceptionOccurred(env, trace.get(), KS_TRUE, "caller"), KS_TRUE);
    EXPECT_EQ(trace.lines(), Lines{});
    EXPECT_FALSE(trace.notable());
}

TEST_F(ExceptionTrace, ToStringThrows)
{
    FaultEnv fault(env);
    Trace trace;
    jthrowable throwable = fixture("fixtures/ToStringThrows");
    env->Throw(throwable);
    EXPECT_EQ(venTraceErrorOrRuntimeExceptionOccurred(fault.env(), trace.get(), "caller"), KS_TRUE);
    EXPECT_EQ(trace.lines(), (Lines{"[venTraceException()]: ven___CallObjectMethod() : Exception",
                                    "[caller()] Exception: Unknown Exception"}));
    EXPECT_TRUE(trace.notable());
    EXPECT_EQ(fault.calls<&JNINativeInterface_::ExceptionDescribe>(), 1);
    expectPendingIs(throwable);
}

TEST_F(ExceptionTrace, ToStringReturnsNull)
{
    FaultEnv fault(env);
    Trace trace;
    jthrowable throwable = fixture("fixtures/ToStringNull");
    EXPECT_EQ(venTraceException(fault.env(), trace.get(), throwable, KS_FALSE, "caller"), KS_TRUE);
    EXPECT_EQ(trace.lines(), (Lines{"[venTraceException()]: ven___CallObjectMethod() : NULL",
                                    "[caller()] Exception: Unknown Exception"}));
    EXPECT_TRUE(trace.notable());
    EXPECT_EQ(fault.calls<&JNINativeInterface_::GetStringLength>(), 0);
    EXPECT_EQ(fault.calls<&JNINativeInterface_::ExceptionDescribe>(), 0);
    ExpectNoPending(env);
}

TEST_F(ExceptionTrace, SupplementaryCharactersShowWhole)
{
    Trace trace;
    ven::test::ExpectJniWarning critical(
        ven::test::kCriticalRegionWarning,
        "the trace reads a toString() text beyond Latin-1 in a critical region");
    EXPECT_EQ(venTraceException(env, trace.get(), fixture("fixtures/SupplementaryText"), KS_TRUE, "caller"),
              KS_TRUE);
    EXPECT_EQ(trace.lines(),
              Lines{"[caller()] Exception: fixtures.SupplementaryText: smile \xF0\x9F\x98\x80 end"});
}

TEST_F(ExceptionTrace, IllFormedTextIsReportedWithoutNotable)
{
    FaultEnv fault(env);
    Trace trace;
    const jchar unpaired[] = {'a', 0xD800, 'b'};
    jstring message = env->NewString(unpaired, 3);
    jclass clazz = ven::test::findClass(env, "java/lang/IllegalStateException");
    auto throwable = static_cast<jthrowable>(
        env->NewObject(clazz, env->GetMethodID(clazz, "<init>", "(Ljava/lang/String;)V"), message));
    ven::test::ExpectJniWarning critical(
        ven::test::kCriticalRegionWarning,
        "the trace reads a toString() text beyond Latin-1 in a critical region");
    EXPECT_EQ(venTraceException(fault.env(), trace.get(), throwable, KS_FALSE, "caller"), KS_TRUE);
    EXPECT_EQ(trace.lines(), (Lines{"[venTraceException()]: ven___JCharsToChars() : KS_FALSE",
                                    "[caller()] Exception: Unknown Exception"}));
    EXPECT_FALSE(trace.notable());
    EXPECT_EQ(fault.calls<&JNINativeInterface_::ReleaseStringCritical>(), 1);
    EXPECT_EQ(fault.calls<&JNINativeInterface_::ExceptionDescribe>(), 0);
}

// Steps that only a misbehaving JNI makes fail: each ends in its line, the virtual
// machine's description, the unknown text, and the caller's exception pending again.
TEST_F(ExceptionTrace, MisbehavingJniDegradesToUnknown)
{
    const struct {
        const char* line;
        void (*inject)(FaultEnv&);
    } rows[] = {
        {"[venTraceException()]: ven___GetMethodID() : Exception",
         [](FaultEnv& f) {
             f.raise<&JNINativeInterface_::GetMethodID>("java/lang/NoSuchMethodError", "toString");
         }},
        {"[venTraceException()]: ven___GetStringCritical() : NULL",
         [](FaultEnv& f) { f.raiseOutOfMemory<&JNINativeInterface_::GetStringCritical>(); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        ven::test::TestFrame rowFrame(env);
        FaultEnv fault(env);
        row.inject(fault);
        Trace trace;
        jthrowable throwable = makeThrowable(env, "java/lang/IllegalStateException", "x");
        env->Throw(throwable);
        EXPECT_EQ(venTraceExceptionOccurred(fault.env(), trace.get(), KS_FALSE, "caller"), KS_TRUE);
        EXPECT_EQ(trace.lines(), (Lines{row.line, "[caller()] Exception: Unknown Exception"}));
        EXPECT_TRUE(trace.notable());
        EXPECT_EQ(fault.calls<&JNINativeInterface_::ExceptionDescribe>(), 1);
        EXPECT_EQ(fault.calls<&JNINativeInterface_::ReleaseStringCritical>(), 0);
        expectPendingIs(throwable);
    }
}

// The class lookups of the unchecked test fail: the trace gives up with its line; the
// lookup's own exception is what is pending then.
TEST_F(ExceptionTrace, MissingRuntimeExceptionOrErrorClass)
{
    const struct {
        const char* failing;
        const char* throwableClass;
        const char* line;
    } rows[] = {
        {"java/lang/RuntimeException", "java/lang/IllegalStateException",
         "[venTraceErrorOrRuntimeException()] runtimeExceptionClass: NULL"},
        {"java/lang/Error", "java/io/IOException", "[venTraceErrorOrRuntimeException()] errorClass: NULL"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.failing);
        for (bool withStream : {true, false}) {
            FaultEnv fault(env);
            ven::test::TestFrame rowFrame(env);
            ven::core_test::ObtainedRefs obtained(fault, row.failing);
            Trace trace;
            jthrowable throwable = makeThrowable(env, row.throwableClass, "x");
            EXPECT_EQ(venTraceErrorOrRuntimeException(fault.env(), withStream ? trace.get() : nullptr,
                                                      throwable, "caller"),
                      KS_FALSE);
            EXPECT_EQ(trace.lines(), withStream ? Lines{row.line} : Lines{});
            EXPECT_EQ(trace.notable(), withStream);
            ExpectPending(env, "java.lang.NoClassDefFoundError", row.failing);
            EXPECT_EQ(obtained.outstanding(), 0);
        }
    }
}

TEST_F(ExceptionTrace, LeavesNoLocalReferenceBehind)
{
    {
        // Nothing pending: every reference the trace takes is its own to delete.
        FaultEnv fault(env);
        Trace trace;
        jthrowable throwable = makeThrowable(env, "java/lang/IllegalStateException", "x");
        EXPECT_EQ(venTraceException(fault.env(), trace.get(), throwable, KS_TRUE, "caller"), KS_TRUE);
        EXPECT_GT(fault.ledger().created(), 0);
        EXPECT_EQ(fault.ledger().live(), 0);
        // Pending: the occurred form's reference and the saved one are deleted too.
        env->Throw(throwable);
        EXPECT_EQ(venTraceExceptionOccurred(fault.env(), trace.get(), KS_TRUE, "caller"), KS_TRUE);
        EXPECT_EQ(fault.ledger().live(), 0);
        env->ExceptionClear();
    }
    for (const char* className :
         {"java/lang/IllegalStateException", "java/lang/Error", "java/io/IOException"}) {
        SCOPED_TRACE(className);
        ven::test::TestFrame rowFrame(env);
        FaultEnv fault(env);
        ven::core_test::ObtainedRefs obtained(fault);
        Trace trace;
        env->Throw(makeThrowable(env, className, "x"));
        venTraceErrorOrRuntimeExceptionOccurred(fault.env(), trace.get(), "caller");
        EXPECT_GE(obtained.obtained(), 1);
        EXPECT_EQ(obtained.outstanding(), 0);
        env->ExceptionClear();
    }
}

} // namespace
