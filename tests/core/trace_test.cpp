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
    const char* failingClass;  // FindClass of this name fails; what is pending afterwards
    void (*inject)(FaultEnv&); // a JNI step that only a misbehaving JVM makes fail
    KS_BOOL result;
    Lines lines;
    bool notable;
    int describes; // ExceptionDescribe calls
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
    {traceUnchecked, kState, u"boom", "caller", nullptr, nullptr, KS_TRUE, {"[caller()] Exception: java.lang.IllegalStateException: boom"}, true, 0},
    {traceUnchecked, "java/lang/OutOfMemoryError", u"boom", "caller", nullptr, nullptr, KS_TRUE, {"[caller()] Exception: java.lang.OutOfMemoryError: boom"}, true, 0},
    {traceUnchecked, kIo, u"io", "caller", nullptr, nullptr, KS_TRUE, {}, false, 0},
    // The name is asked for only when the throwable is described.
    {traceUnchecked, kIo, u"io", nullptr, nullptr, nullptr, KS_TRUE, {}, false, 0},
    {traceAll, kIo, u"io", "caller", nullptr, nullptr, KS_TRUE, {"[caller()] Exception: java.io.IOException: io"}, false, 0},
    {traceAllNotable, kIo, u"io", "caller", nullptr, nullptr, KS_TRUE, {"[caller()] Exception: java.io.IOException: io"}, true, 0},
    {traceUnchecked, nullptr, u"", "caller", nullptr, nullptr, KS_FALSE, {"[venTraceErrorOrRuntimeException()] throwable: NULL"}, true, 0},
    {traceAll, nullptr, u"", "caller", nullptr, nullptr, KS_FALSE, {"[venTraceException()] throwable: NULL"}, true, 0},
    {traceAll, kState, u"x", nullptr, nullptr, nullptr, KS_FALSE, {"[venTraceException()] methodName: NULL"}, true, 0},
    {traceUnchecked, kState, u"x", nullptr, nullptr, nullptr, KS_FALSE, {"[venTraceException()] methodName: NULL"}, true, 0},
    // Nothing pending, nothing traced.
    {occurredUnchecked, nullptr, u"", "caller", nullptr, nullptr, KS_TRUE, {}, false, 0},
    {occurredAll, nullptr, u"", "caller", nullptr, nullptr, KS_TRUE, {}, false, 0},
    {occurredUnchecked, kState, u"boom", "other", nullptr, nullptr, KS_TRUE, {"[other()] Exception: java.lang.IllegalStateException: boom"}, true, 0},
    {occurredAll, kIo, u"io", "third", nullptr, nullptr, KS_TRUE, {"[third()] Exception: java.io.IOException: io"}, false, 0},
    // Supplementary characters whole; ill-formed text is reported without notable.
    {traceAllNotable, kState, u"smile \U0001F600 end", "caller", nullptr, nullptr, KS_TRUE, {"[caller()] Exception: java.lang.IllegalStateException: smile \xF0\x9F\x98\x80 end"}, true, 0},
    {traceAll, kState, u"a\xD800z", "caller", nullptr, nullptr, KS_TRUE, {"[venTraceException()]: ven___JCharsToChars() : KS_FALSE", "[caller()] Exception: Unknown Exception"}, false, 0},
    // No toString() text: the step's line, the JVM's description, and the unknown text.
    {occurredUnchecked, "fixtures/ToStringThrows", u"", "caller", nullptr, nullptr, KS_TRUE, {"[venTraceException()]: ven___CallObjectMethod() : Exception", "[caller()] Exception: Unknown Exception"}, true, 1},
    {traceAll, "fixtures/ToStringNull", u"", "caller", nullptr, nullptr, KS_TRUE, {"[venTraceException()]: ven___CallObjectMethod() : NULL", "[caller()] Exception: Unknown Exception"}, true, 0},
    {occurredAll, kState, u"x", "caller", nullptr, noToString, KS_TRUE, {"[venTraceException()]: ven___GetMethodID() : Exception", "[caller()] Exception: Unknown Exception"}, true, 1},
    {occurredAll, kState, u"x", "caller", nullptr, noText, KS_TRUE, {"[venTraceException()]: ven___GetStringCritical() : NULL", "[caller()] Exception: Unknown Exception"}, true, 1},
    // venThrow traces an unchecked throwable under the caller's name.
    {thrown, kState, u"t", "caller", nullptr, nullptr, KS_TRUE, {"[caller()] Exception: java.lang.IllegalStateException: t"}, true, 0},
    {thrown, kIo, u"t", "caller", nullptr, nullptr, KS_TRUE, {}, false, 0},
    {thrown, kState, u"t", nullptr, nullptr, nullptr, KS_TRUE, {"[venTraceException()] methodName: NULL"}, true, 0},
    // The unchecked test cannot find its classes: its line, and the lookup's exception pending.
    {traceUnchecked, kState, u"x", "caller", "java/lang/RuntimeException", nullptr, KS_FALSE, {"[venTraceErrorOrRuntimeException()] runtimeExceptionClass: NULL"}, true, 0},
    {traceUnchecked, kIo, u"x", "caller", "java/lang/Error", nullptr, KS_FALSE, {"[venTraceErrorOrRuntimeException()] errorClass: NULL"}, true, 0},
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
