// The exception trace, one row per case: its lines and notable flag, the JNI description of
// a failing step, the exception pending on return, and no class or text reference left.
#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace
{

using namespace ven::test;
using Lines = std::vector<std::string>;

enum Form {
    traceUnchecked,    // venTraceErrorOrRuntimeException, with an earlier exception pending
    traceAll,          // venTraceException, notable false, with an earlier exception pending
    traceAllNotable,   // venTraceException, notable true, with an earlier exception pending
    thrown,            // venThrow, with an earlier exception pending, which the throwable replaces
    occurredUnchecked, // venTraceErrorOrRuntimeExceptionOccurred, the throwable pending
    occurredAll,       // venTraceExceptionOccurred, notable false, the throwable pending
};

struct TraceCase {
    Form form;
    const char* throwableClass; // nullptr: none; "fixtures/..." are made without a message
    std::u16string_view message;
    const char* methodName;
    const char* failingClass = nullptr;  // FindClass of this name fails; what is pending afterwards
    void (*inject)(FaultEnv&) = nullptr; // a JNI step that only a misbehaving JVM makes fail
    KS_BOOL result;
    Lines lines{};
    bool notable;
    int describes = 0; // ExceptionDescribe calls
};

void noToString(FaultEnv& fault)
{
    fault.raise<&JNINativeInterface_::GetMethodID>("java/lang/NoSuchMethodError", "toString");
}
void noText(FaultEnv& fault)
{
    fault.raiseOutOfMemory<&JNINativeInterface_::GetStringCritical>();
}
constexpr const char* kState = "java/lang/IllegalStateException";
constexpr const char* kIo = "java/io/IOException";

// clang-format off
using TraceCall = KS_BOOL (*)(JNIEnv*, lgStream*, jthrowable, const char*);
const TraceCall kCalls[] = {
    venTraceErrorOrRuntimeException,
    [](JNIEnv* e, lgStream* t, jthrowable x, const char* name) { return venTraceException(e, t, x, KS_FALSE, name); },
    [](JNIEnv* e, lgStream* t, jthrowable x, const char* name) { return venTraceException(e, t, x, KS_TRUE, name); },
    venThrow,
    [](JNIEnv* e, lgStream* t, jthrowable, const char* name) { return venTraceErrorOrRuntimeExceptionOccurred(e, t, name); },
    [](JNIEnv* e, lgStream* t, jthrowable, const char* name) { return venTraceExceptionOccurred(e, t, KS_FALSE, name); },
};

const TraceCase kCases[] = {
    {.form = traceUnchecked, .throwableClass = kState, .message = u"boom", .methodName = "caller", .result = KS_TRUE, .lines = {"[caller()] Exception: java.lang.IllegalStateException: boom"}, .notable = true},
    {.form = traceUnchecked, .throwableClass = "java/lang/OutOfMemoryError", .message = u"boom", .methodName = "caller", .result = KS_TRUE, .lines = {"[caller()] Exception: java.lang.OutOfMemoryError: boom"}, .notable = true},
    {.form = traceUnchecked, .throwableClass = kIo, .message = u"io", .methodName = "caller", .result = KS_TRUE, .notable = false},
    // The name is asked for only when the throwable is described.
    {.form = traceUnchecked, .throwableClass = kIo, .message = u"io", .methodName = nullptr, .result = KS_TRUE, .notable = false},
    {.form = traceAll, .throwableClass = kIo, .message = u"io", .methodName = "caller", .result = KS_TRUE, .lines = {"[caller()] Exception: java.io.IOException: io"}, .notable = false},
    {.form = traceAllNotable, .throwableClass = kIo, .message = u"io", .methodName = "caller", .result = KS_TRUE, .lines = {"[caller()] Exception: java.io.IOException: io"}, .notable = true},
    {.form = traceUnchecked, .throwableClass = nullptr, .message = u"", .methodName = "caller", .result = KS_FALSE, .lines = {"[venTraceErrorOrRuntimeException()] throwable: NULL"}, .notable = true},
    {.form = traceAll, .throwableClass = nullptr, .message = u"", .methodName = "caller", .result = KS_FALSE, .lines = {"[venTraceException()] throwable: NULL"}, .notable = true},
    {.form = traceAll, .throwableClass = kState, .message = u"x", .methodName = nullptr, .result = KS_FALSE, .lines = {"[venTraceException()] methodName: NULL"}, .notable = true},
    {.form = traceUnchecked, .throwableClass = kState, .message = u"x", .methodName = nullptr, .result = KS_FALSE, .lines = {"[venTraceException()] methodName: NULL"}, .notable = true},
    // Nothing pending, nothing traced.
    {.form = occurredUnchecked, .throwableClass = nullptr, .message = u"", .methodName = "caller", .result = KS_TRUE, .notable = false},
    {.form = occurredAll, .throwableClass = nullptr, .message = u"", .methodName = "caller", .result = KS_TRUE, .notable = false},
    {.form = occurredUnchecked, .throwableClass = kState, .message = u"boom", .methodName = "other", .result = KS_TRUE, .lines = {"[other()] Exception: java.lang.IllegalStateException: boom"}, .notable = true},
    {.form = occurredAll, .throwableClass = kIo, .message = u"io", .methodName = "third", .result = KS_TRUE, .lines = {"[third()] Exception: java.io.IOException: io"}, .notable = false},
    // Supplementary characters whole; ill-formed text is reported without notable.
    {.form = traceAllNotable, .throwableClass = kState, .message = u"smile \U0001F600 end", .methodName = "caller", .result = KS_TRUE, .lines = {"[caller()] Exception: java.lang.IllegalStateException: smile \xF0\x9F\x98\x80 end"}, .notable = true},
    {.form = traceAll, .throwableClass = kState, .message = u"a\xD800z", .methodName = "caller", .result = KS_TRUE, .lines = {"[venTraceException()]: ven___JCharsToChars() : KS_FALSE", "[caller()] Exception: Unknown Exception"}, .notable = false},
    // No toString() text: the step's line, the JVM's description, and the unknown text.
    {.form = occurredUnchecked, .throwableClass = "fixtures/ToStringThrows", .message = u"", .methodName = "caller", .result = KS_TRUE, .lines = {"[venTraceException()]: ven___CallObjectMethod() : Exception", "[caller()] Exception: Unknown Exception"}, .notable = true, .describes = 1},
    {.form = traceAll, .throwableClass = "fixtures/ToStringNull", .message = u"", .methodName = "caller", .result = KS_TRUE, .lines = {"[venTraceException()]: ven___CallObjectMethod() : NULL", "[caller()] Exception: Unknown Exception"}, .notable = true},
    {.form = occurredAll, .throwableClass = kState, .message = u"x", .methodName = "caller", .inject = noToString, .result = KS_TRUE, .lines = {"[venTraceException()]: ven___GetMethodID() : Exception", "[caller()] Exception: Unknown Exception"}, .notable = true, .describes = 1},
    {.form = occurredAll, .throwableClass = kState, .message = u"x", .methodName = "caller", .inject = noText, .result = KS_TRUE, .lines = {"[venTraceException()]: ven___GetStringCritical() : NULL", "[caller()] Exception: Unknown Exception"}, .notable = true, .describes = 1},
    // venThrow traces an unchecked throwable under the caller's name.
    {.form = thrown, .throwableClass = kState, .message = u"t", .methodName = "caller", .result = KS_TRUE, .lines = {"[caller()] Exception: java.lang.IllegalStateException: t"}, .notable = true},
    {.form = thrown, .throwableClass = kIo, .message = u"t", .methodName = "caller", .result = KS_TRUE, .notable = false},
    {.form = thrown, .throwableClass = kState, .message = u"t", .methodName = nullptr, .result = KS_TRUE, .lines = {"[venTraceException()] methodName: NULL"}, .notable = true},
    // The unchecked test cannot find its classes: its line, and the lookup's exception pending.
    {.form = traceUnchecked, .throwableClass = kState, .message = u"x", .methodName = "caller", .failingClass = "java/lang/RuntimeException", .result = KS_FALSE, .lines = {"[venTraceErrorOrRuntimeException()] runtimeExceptionClass: NULL"}, .notable = true},
    {.form = traceUnchecked, .throwableClass = kIo, .message = u"x", .methodName = "caller", .failingClass = "java/lang/Error", .result = KS_FALSE, .lines = {"[venTraceErrorOrRuntimeException()] errorClass: NULL"}, .notable = true},
};
// clang-format on

using ExceptionTrace = JvmTest;

// Each row with a stream, then without one: only the lines (and the descriptions that go
// with them) differ; venTraceException without a stream makes no JNI call at all.
TEST_F(ExceptionTrace, Cases)
{
    auto make = [this](const char* className, std::u16string_view message) {
        jclass clazz = findClass(env, className);
        if (std::string_view(className).starts_with("fixtures/")) {
            return static_cast<jthrowable>(env->NewObject(clazz, env->GetMethodID(clazz, "<init>", "()V")));
        }
        jmethodID init = env->GetMethodID(clazz, "<init>", "(Ljava/lang/String;)V");
        return static_cast<jthrowable>(env->NewObject(clazz, init, jstr(env, message)));
    };
    for (const TraceCase& row : kCases) {
        for (bool withStream : {true, false}) {
            SCOPED_TRACE("row " + std::to_string(&row - kCases) + (withStream ? "" : ", no stream"));
            TestFrame rowFrame(env);
            FaultEnv fault(env);
            LeakCheck leaks(fault);
            if (row.failingClass != nullptr) { // RuntimeException is looked up first, then Error
                const int nth = std::string_view(row.failingClass) == "java/lang/Error" ? 2 : 1;
                fault.raise<&JNINativeInterface_::FindClass>("java/lang/NoClassDefFoundError",
                                                             row.failingClass, FaultEnv::Calls::nth(nth));
            }
            if (row.inject != nullptr) {
                row.inject(fault);
            }
            Trace trace;
            lgStream* stream = withStream ? trace.get() : nullptr;
            jthrowable throwable = row.throwableClass ? make(row.throwableClass, row.message) : nullptr;
            jthrowable pending =
                row.form >= occurredUnchecked ? throwable : makeThrowable(env, kIo, "earlier");
            if (pending != nullptr) {
                env->Throw(pending);
            }
            EXPECT_EQ(kCalls[row.form](fault.env(), stream, throwable, row.methodName), row.result);
            if (withStream) {
                EXPECT_EQ(trace.lines(), row.lines);
                EXPECT_EQ(trace.notable(), row.notable);
            }
            EXPECT_EQ(fault.calls<&JNINativeInterface_::ExceptionDescribe>(), withStream ? row.describes : 0);
            if (!withStream && (row.form == traceAll || row.form == traceAllNotable)) {
                EXPECT_TRUE(fault.trail().empty());
            }
            EXPECT_EQ(0, leaks.live());
            EXPECT_TRUE(fault.callsInCriticalRegion().empty());
            if (row.inject == nullptr) {
                EXPECT_EQ(fault.calls<&JNINativeInterface_::GetStringCritical>(),
                          fault.calls<&JNINativeInterface_::ReleaseStringCritical>());
            }
            if (row.failingClass != nullptr) {
                ExpectPending(env, "java.lang.NoClassDefFoundError", row.failingClass);
            } else if (pending != nullptr) {
                jthrowable after = env->ExceptionOccurred();
                env->ExceptionClear();
                EXPECT_TRUE(after != nullptr &&
                            env->IsSameObject(after, row.form == thrown ? throwable : pending));
            }
        }
    }
}

} // namespace
