// What the integration convention leaves to a few functions: refusals reported by the result
// alone, a version that is an error code, and the fatal error's lines.
#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace
{

using namespace ven::test;
using Lines = std::vector<std::string>;

using Convention = JvmTest;

// A refused capacity or frame is KS_FALSE alone, untraced; a refused registration is traced.
TEST_F(Convention, CapacityFramesAndNatives)
{
    FaultEnv fault(env);
    const char* outOfMemory = "java/lang/OutOfMemoryError";
    fault.raiseReturning<&JNINativeInterface_::EnsureLocalCapacity>(outOfMemory, "no room", -1);
    fault.raiseReturning<&JNINativeInterface_::PushLocalFrame>(outOfMemory, "no room", -1);
    fault.raiseReturning<&JNINativeInterface_::UnregisterNatives>("java/lang/IllegalStateException",
                                                                  "refused", -1);
    Trace trace;
    for (auto call : {venEnsureLocalCapacity, venPushLocalFrame}) {
        EXPECT_EQ(call(fault.env(), trace.get(), 8), KS_FALSE);
        ExpectPending(env, "java.lang.OutOfMemoryError", "no room");
    }
    EXPECT_TRUE(trace.lines().empty() && !trace.notable());
    EXPECT_EQ(venUnregisterNatives(fault.env(), trace.get(), findClass(env, "fixtures/Methods")), KS_FALSE);
    EXPECT_EQ(trace.lines(),
              Lines{"[venUnregisterNatives()] Exception: java.lang.IllegalStateException: refused"});
    ExpectPending(env, "java.lang.IllegalStateException", "refused");
}

// A negative version is written with its value; a fatal error writes its line first, and
// a NULL message is refused by the wrapper after the line.
TEST_F(Convention, VersionAndFatalError)
{
    Trace trace;
    KS_INT version = 0;
    EXPECT_EQ(venGetVersion(&version, env, trace.get()), KS_TRUE);
    EXPECT_GE(version, JNI_VERSION_1_8);
    FaultEnv fault(env);
    fault.returnValue<&JNINativeInterface_::GetVersion>(-3);
    EXPECT_EQ(venGetVersion(&version, fault.env(), nullptr), KS_FALSE);
    EXPECT_EQ(venGetVersion(&version, fault.env(), trace.get()), KS_FALSE);
    EXPECT_EQ(version, -3);
    EXPECT_EQ(trace.lines(), Lines{"[venGetVersion()] error occured: -3"});
    EXPECT_TRUE(trace.notable());

    Trace fatal;
    Lines messages; // the real FatalError ends the process
    fault.override<&JNINativeInterface_::FatalError>(
        [&](JNIEnv*, const char* msg) { messages.emplace_back(msg); });
    venFatalError(fault.env(), fatal.get(), "broken", "caller");
    venFatalError(fault.env(), fatal.get(), "unnamed", nullptr);
    EXPECT_EQ(messages, (Lines{"broken", "unnamed"}));
    EXPECT_VEN_ABORT(venFatalError(fault.env(), fatal.get(), nullptr, "caller"), "source/ven/ven_wrapper",
                     121, "msg");
    EXPECT_EQ(fatal.lines(),
              (Lines{"[caller()]: venFatalError : broken", "[venFatalError()]: venFatalError : unnamed",
                     "[caller()]: venFatalError : NULL"}));
    EXPECT_TRUE(fatal.notable());
}

} // namespace
