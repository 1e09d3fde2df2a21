// FaultEnv: forwarding, overrides and canned faults, call counts, the variadic traps and
// the local reference ledger.
#include "support/ven_test.hpp"

namespace ven::test
{
namespace
{

using FaultEnvTest = JvmTest;

TEST_F(FaultEnvTest, ForwardsEveryCallToTheRealEnvironment)
{
    FaultEnv fault(env);
    JNIEnv* fake = fault.env();
    ASSERT_NE(fake, env);
    jclass methods = fake->FindClass("fixtures/Methods");
    ASSERT_NE(methods, nullptr);
    jmethodID echo = fake->GetStaticMethodID(methods, "staticIntEcho", "(I)I");
    jvalue argument;
    argument.i = 41;
    EXPECT_EQ(fake->CallStaticIntMethodA(methods, echo, &argument), 41);
    EXPECT_FALSE(fake->ExceptionCheck());
    EXPECT_TRUE(env->IsSameObject(methods, env->FindClass("fixtures/Methods")));
    EXPECT_EQ(fault.calls<&JNINativeInterface_::FindClass>(), 1);
    EXPECT_EQ(fault.calls<&JNINativeInterface_::ExceptionCheck>(), 1);
    EXPECT_EQ(fault.trail(), (std::vector<std::string>{"FindClass", "GetStaticMethodID",
                                                       "CallStaticIntMethodA", "ExceptionCheck"}));
}

TEST_F(FaultEnvTest, OverrideReceivesTheRealEnvironmentAndArguments)
{
    FaultEnv fault(env);
    JNIEnv* seenEnv = nullptr;
    std::string seenText;
    fault.override<&JNINativeInterface_::NewStringUTF>([&](JNIEnv* real, const char* text) {
        seenEnv = real;
        seenText = text;
        return real->NewStringUTF("replaced");
    });
    jstring made = fault.env()->NewStringUTF("original");
    EXPECT_EQ(seenEnv, env);
    EXPECT_EQ(seenText, "original");
    EXPECT_EQ(utf8(env, made), "replaced");
    EXPECT_EQ(fault.ledger().created(), 1) << "an override's reference counts too";

    fault.restore<&JNINativeInterface_::NewStringUTF>();
    EXPECT_EQ(utf8(env, fault.env()->NewStringUTF("original")), "original");
}

TEST_F(FaultEnvTest, CannedFaults)
{
    FaultEnv fault(env);
    JNIEnv* fake = fault.env();
    fault.returnNull<&JNINativeInterface_::FindClass>();
    EXPECT_EQ(fake->FindClass("java/lang/Object"), nullptr);
    EXPECT_FALSE(env->ExceptionCheck());

    fault.raiseOutOfMemory<&JNINativeInterface_::NewStringUTF>();
    EXPECT_EQ(fake->NewStringUTF("x"), nullptr);
    ExpectPending(env, "java.lang.OutOfMemoryError", "injected by FaultEnv");

    fault.returnStatus<&JNINativeInterface_::PushLocalFrame>();
    EXPECT_EQ(fake->PushLocalFrame(4), -1);

    jintArray array = env->NewIntArray(3);
    fault.returnValue<&JNINativeInterface_::GetArrayLength>(-5);
    EXPECT_EQ(fake->GetArrayLength(array), -5);

    fault.raise<&JNINativeInterface_::GetIntArrayRegion>("java/lang/ArrayIndexOutOfBoundsException",
                                                         "injected");
    jint buffer[3] = {};
    fake->GetIntArrayRegion(array, 0, 3, buffer);
    ExpectPending(env, "java.lang.ArrayIndexOutOfBoundsException", "injected");

    fault.raiseReturning<&JNINativeInterface_::EnsureLocalCapacity>("java/lang/OutOfMemoryError", "no room",
                                                                    JNI_ENOMEM);
    EXPECT_EQ(fake->EnsureLocalCapacity(10), JNI_ENOMEM);
    ExpectPending(env, "java.lang.OutOfMemoryError", "no room");

    fault.reset();
    EXPECT_NE(fake->FindClass("java/lang/Object"), nullptr);
    EXPECT_EQ(fake->GetArrayLength(array), 3);
}

// C++'s JNIEnv_ methods forward "..." to the V entries; C code reaches the table directly.
TEST_F(FaultEnvTest, ReplacementTakesOnlyTheChosenCalls)
{
    FaultEnv fault(env);
    JNIEnv* fake = fault.env();
    fake->FindClass("java/lang/Object"); // before the fault: not counted for it
    fault.raiseOutOfMemory<&JNINativeInterface_::FindClass>(FaultEnv::Calls::nth(2));
    EXPECT_NE(fake->FindClass("java/lang/Object"), nullptr);
    EXPECT_EQ(fake->FindClass("java/lang/Object"), nullptr);
    ExpectPending(env, "java.lang.OutOfMemoryError", "injected by FaultEnv");
    EXPECT_NE(fake->FindClass("java/lang/Object"), nullptr);

    fault.returnValue<&JNINativeInterface_::GetStringLength>(-1, FaultEnv::Calls::from(2));
    jstring text = env->NewStringUTF("abc");
    EXPECT_EQ(fake->GetStringLength(text), 3);
    EXPECT_EQ(fake->GetStringLength(text), -1);
    EXPECT_EQ(fake->GetStringLength(text), -1);
    EXPECT_EQ(fault.calls<&JNINativeInterface_::GetStringLength>(), 3);
}

TEST_F(FaultEnvTest, VariadicEntriesTrapAndTheirCppFormsForward)
{
    FaultEnv fault(env);
    JNIEnv* fake = fault.env();
    jclass methods = env->FindClass("fixtures/Methods");
    jmethodID run = env->GetStaticMethodID(methods, "staticVoidRun", "()V");
    EXPECT_THROW(fake->functions->CallStaticVoidMethod(fake, methods, run), std::logic_error);
    EXPECT_EQ(fault.calls<&JNINativeInterface_::CallStaticVoidMethodV>(), 0);
    fake->CallStaticVoidMethod(methods, run);
    EXPECT_EQ(fault.calls<&JNINativeInterface_::CallStaticVoidMethodV>(), 1);
    ExpectNoPending(env);
}

TEST_F(FaultEnvTest, LedgerCountsLocalReferencesButNotGlobalOnes)
{
    FaultEnv fault(env);
    JNIEnv* fake = fault.env();
    const LocalRefLedger& ledger = fault.ledger();
    jstring first = fake->NewStringUTF("a");
    jclass second = fake->GetObjectClass(first);
    jobject global = fake->NewGlobalRef(first);
    EXPECT_EQ(ledger.created(), 2);
    EXPECT_EQ(ledger.live(), 2);
    EXPECT_TRUE(ledger.isLive(first));
    EXPECT_FALSE(ledger.isLive(global));

    fake->DeleteLocalRef(first);
    fake->DeleteLocalRef(nullptr);
    fake->DeleteGlobalRef(global);
    EXPECT_EQ(ledger.deleted(), 1);
    EXPECT_EQ(ledger.nullDeletes(), 1);
    EXPECT_EQ(ledger.live(), 1);
    EXPECT_FALSE(ledger.isLive(first));
    EXPECT_TRUE(ledger.isLive(second));

    EXPECT_EQ(fake->FindClass("no/such/Class"), nullptr);
    EXPECT_EQ(ledger.created(), 2) << "a NULL result creates nothing";
    jthrowable pending = fake->ExceptionOccurred();
    fake->ExceptionClear();
    EXPECT_TRUE(ledger.isLive(pending)) << "ExceptionOccurred hands out a local reference";
    fake->DeleteLocalRef(pending);
    EXPECT_EQ(ledger.live(), 1);
}

TEST_F(FaultEnvTest, LedgerDropsWhatAPoppedFrameHeld)
{
    FaultEnv fault(env);
    JNIEnv* fake = fault.env();
    jstring outer = fake->NewStringUTF("outer");
    ASSERT_EQ(fake->PushLocalFrame(8), JNI_OK);
    fake->NewStringUTF("inner 1");
    jstring kept = fake->NewStringUTF("inner 2");
    jobject survivor = fake->PopLocalFrame(kept);
    const LocalRefLedger& ledger = fault.ledger();
    EXPECT_EQ(ledger.popped(), 2);
    EXPECT_EQ(ledger.created(), 4) << "PopLocalFrame's result is a new reference";
    EXPECT_EQ(ledger.live(), 2);
    EXPECT_TRUE(ledger.isLive(outer));
    EXPECT_TRUE(ledger.isLive(survivor));
    EXPECT_EQ(utf8(env, static_cast<jstring>(survivor)), "inner 2");

    fault.ledger().reset();
    EXPECT_EQ(ledger.created(), 0);
    EXPECT_EQ(ledger.live(), 0);
}

TEST_F(FaultEnvTest, FaultEnvironmentsNest)
{
    FaultEnv outer(env);
    FaultEnv inner(outer.env());
    outer.returnNull<&JNINativeInterface_::NewStringUTF>();
    EXPECT_EQ(inner.env()->NewStringUTF("x"), nullptr);
    EXPECT_EQ(inner.calls<&JNINativeInterface_::NewStringUTF>(), 1);
    EXPECT_EQ(outer.calls<&JNINativeInterface_::NewStringUTF>(), 1);
}

} // namespace
} // namespace ven::test
