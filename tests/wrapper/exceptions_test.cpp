// Exceptions, classes, references, frames, natives, objects and monitors: every check, the saved
// pending exception of each kind, and the edge cases.
#include "wrapper/wrapper_test.hpp"

namespace ven::test::wrapper
{
namespace
{

jint JNICALL nativeAnswer(JNIEnv*, jclass)
{
    return 42;
}
const JNINativeMethod kAnswer[] = {
    {const_cast<char*>("answer"), const_cast<char*>("()I"), reinterpret_cast<void*>(&nativeAnswer)}};
const JNINativeMethod kMissing[] = {
    {const_cast<char*>("missing"), const_cast<char*>("()I"), reinterpret_cast<void*>(&nativeAnswer)}};

template <auto Member>
void (*const raiseWith)(FaultEnv&, jint) = [](FaultEnv& fault, jint status) {
    fault.raiseReturning<Member>("java/lang/OutOfMemoryError", "status", status);
};

using WrapperExceptions = WrapperTest;

// Every argument check, in order, and every check a misbehaving JNI can reach.
TEST_F(WrapperExceptions, EveryCheck)
{
    // clang-format off
    const std::vector<ArgChecks> rows = {
        TEST_CHECKS(GetVersion, 45, "env", env),
        TEST_CHECKS(FindClass, 56, "env, name", env, "java/lang/String"),
        TEST_CHECKS(Throw, 81, "env, throwable", env, throwable),
        TEST_CHECKS(ThrowNew, 91, "env, clazz, message", env, throwableClass, "m"),
        TEST_CHECKS(ExceptionOccurred, 100, "env", env),
        TEST_CHECKS(ExceptionDescribe, 106, "env", env),
        TEST_CHECKS(ExceptionClear, 112, "env", env),
        TEST_CHECKS(FatalError, 120, "env, msg", env, "m"),
        TEST_CHECKS(ExceptionCheck, 127, "env", env),
        TEST_CHECKS(NewGlobalRef, 136, "env, obj", env, obj),
        TEST_CHECKS(DeleteGlobalRef, 161, "env, globalRef", env, obj),
        TEST_CHECKS(DeleteLocalRef, 168, "env, localRef", env, obj),
        TEST_CHECKS(RegisterNatives, 178, "env, clazz, methods, nMethods >= 0", env, natives, +kAnswer, 1),
        TEST_CHECKS(UnregisterNatives, 210, "env, clazz", env, natives),
        TEST_CHECKS(EnsureLocalCapacity, 241, "env, capacity >= 0", env, 1),
        TEST_CHECKS(PushLocalFrame, 275, "env, capacity >= 0", env, 1),
        TEST_CHECKS(PopLocalFrame, 308, "env", env, keep{obj}),
        TEST_CHECKS(NewLocalRef, 328, "env", env, keep{obj}),
        TEST_CHECKS(NewWeakGlobalRef, 356, "env", env, keep{obj}),
        TEST_CHECKS(DeleteWeakGlobalRef, 380, "env, obj", env, obj),
        TEST_CHECKS(AllocObject, 390, "env, clazz", env, clazz),
        TEST_CHECKS(NewObjectA, 429, "env, clazz, methodID", env, clazz, ctor, keep{nullptr}),
        {"ven___NewObjectV", 459, "env, clazz, methodID", [&](int b) {
             JNIEnv* e = b ? env : nullptr;
             withVaList([&](va_list l) { ven___NewObjectV(e, b > 1 ? clazz : nullptr, nullptr, l); }, 0);
         }},
        {"ven___NewObject", 459, "env, clazz, methodID",
         [&](int b) { ven___NewObject(b ? env : nullptr, b > 1 ? clazz : nullptr, nullptr); }},
        TEST_CHECKS(GetObjectClass, 488, "env, obj", env, obj),
        TEST_CHECKS(IsInstanceOf, 513, "env, clazz", env, keep{obj}, clazz),
        TEST_CHECKS(IsSameObject, 534, "env", env, keep{nullptr}, keep{nullptr}),
        TEST_CHECKS(MonitorEnter, 5094, "env, obj", env, obj),
        TEST_CHECKS(MonitorLeave, 5110, "env, obj", env, obj),
    };
    // clang-format on
    EXPECT_EQ(expectArgChecks(rows), 55);

    const char *raised = "(*env)->ExceptionCheck( env ) == JNI_TRUE",
               *ise = "java.lang.IllegalStateException";
    const char *throwFailed = "(*env)->Throw( env, throwable ) == 0", *oom = "java.lang.OutOfMemoryError";
    const char *enterFailed = "(*env)->MonitorEnter( env, obj ) == 0",
               *leaveFailed = "(*env)->MonitorExit( env, obj ) == 0";
    // Every guarded wrapper saves E1 through ven___ExceptionClear and throws it again by ven___Throw.
    auto clearFails = [&](FaultEnv& f) {
        f.override<&Jni::ExceptionClear>([](JNIEnv*) {});
        f.real()->Throw(throwable);
    };
    auto popRaises = [](FaultEnv& f) {
        f.real()->PushLocalFrame(1);
        f.override<&Jni::PopLocalFrame>([](JNIEnv* real, jobject result) {
            jobject outer = real->PopLocalFrame(result);
            real->ThrowNew(real->FindClass("java/lang/OutOfMemoryError"), "pop");
            return outer;
        });
    };
    // clang-format off
    EXPECT_EQ(expectFaults(env, {
        {69, kMessage, "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->ven___FindClass() == NULL",
         returnsNull<&Jni::FindClass>, calling(&ven___FindClass, "java/lang/String")},
        {86, kCondition, throwFailed, returnsValue<&Jni::Throw, -1>, calling(&ven___Throw, throwable)},
        {87, kCondition, raised, returnsValue<&Jni::Throw, 0>, calling(&ven___Throw, throwable)},
        {95, kCondition, "(*env)->ThrowNew( env, clazz, message ) == 0", returnsValue<&Jni::ThrowNew, -1>,
         calling(&ven___ThrowNew, throwableClass, "m")},
        {96, kCondition, raised, returnsValue<&Jni::ThrowNew, 0>,
         calling(&ven___ThrowNew, throwableClass, "m")},
        {116, kCondition, kNoException, clearFails, calling(&ven___ExceptionClear), ise},
        {116, kCondition, kNoException, clearFails, calling(&ven___IsSameObject, obj, obj), ise},
        {86, kCondition, throwFailed,
         [&](FaultEnv& f) { f.returnStatus<&Jni::Throw>(-1), f.real()->Throw(throwable); },
         calling(&ven___GetObjectClass, obj)},
        TEST_NULL_CASE(NewGlobalRef, 149, obj),
        TEST_STATUS_CASE(RegisterNatives, 195, -1, natives, +kAnswer, 1),
        TEST_STATUS_CASE(UnregisterNatives, 225, 1, natives),
        TEST_STATUS_CASE(EnsureLocalCapacity, 256, -1, 1),
        TEST_STATUS_CASE(PushLocalFrame, 290, -1, 1),
        {315, kCondition, kNoException, popRaises, calling(&ven___PopLocalFrame, nullptr), oom},
        TEST_RAISE_CASE(NewLocalRef, 339, obj),
        {342, kMessage, "ref != NULL <> (*env)->NewLocalRef(ref) == NULL", returnsNull<&Jni::NewLocalRef>,
         calling(&ven___NewLocalRef, obj)},
        // A NULL obj is not refused by an argument check, and the real JNI returns NULL quietly.
        {368, kMessage, nullMessage("NewWeakGlobalRef"), behaves, calling(&ven___NewWeakGlobalRef, nullptr)},
        TEST_NULL_CASE(AllocObject, 403, clazz),
        TEST_NULL_CASE(NewObjectA, 443, clazz, ctor, nullptr),
        {473, kMessage, nullMessage("NewObjectV"), returnsNull<&Jni::NewObjectV>,
         [&](JNIEnv* e) { withVaList([&](va_list l) { ven___NewObjectV(e, clazz, ctor, l); }, 0, obj); }},
        {473, kMessage, nullMessage("NewObjectV"), returnsNull<&Jni::NewObjectV>,
         [&](JNIEnv* e) { ven___NewObject(e, clazz, ctor, obj); }},
        TEST_RAISE_CASE(GetObjectClass, 496, obj),
        {499, kMessage, "(*env)->GetObjectClass() == NULL", returnsNull<&Jni::GetObjectClass>,
         calling(&ven___GetObjectClass, obj)},
        TEST_RAISE_CASE(IsInstanceOf, 521, obj, clazz),
        TEST_RAISE_CASE(IsSameObject, 541, obj, nullptr),
        {5100, kCondition, enterFailed, returnsValue<&Jni::MonitorEnter, -1>,
         calling(&ven___MonitorEnter, obj)},
        // The status is tested before the exception state.
        {5100, kCondition, enterFailed,
         [](FaultEnv& f) { f.raiseReturning<&Jni::MonitorEnter>("java/lang/OutOfMemoryError", "m", -1); },
         calling(&ven___MonitorEnter, obj), oom},
        TEST_RAISE_CASE(MonitorEnter, 5102, obj),
        {5113, kCondition, leaveFailed, returnsValue<&Jni::MonitorExit, -1>,
         calling(&ven___MonitorLeave, obj)},
        // The real JNI refuses to leave a monitor the thread does not own.
        {5113, kCondition, leaveFailed, behaves, calling(&ven___MonitorLeave, obj),
         "java.lang.IllegalMonitorStateException"},
    }), 30);
    // clang-format on
}

// Representatives of the guarded kinds cost one query before and ExceptionCheck after the JNI
// call, and leave a pending E1 pending again (a run undoes its effect by calls JNI then allows).
TEST_F(WrapperExceptions, SavedPendingException)
{
    const std::pair<const char*, std::function<void(JNIEnv*)>> guarded[] = {
        {"FindClass", [&](JNIEnv* e) { env->DeleteLocalRef(ven___FindClass(e, "java/lang/String")); }},
        {"RegisterNatives", [&](JNIEnv* e) { EXPECT_EQ(ven___RegisterNatives(e, natives, kAnswer, 1), 0); }},
        {"EnsureLocalCapacity", [&](JNIEnv* e) { EXPECT_EQ(ven___EnsureLocalCapacity(e, 0), 0); }},
        {"NewObjectV", [&](JNIEnv* e) { env->DeleteLocalRef(ven___NewObject(e, clazz, ctor, obj)); }},
        {"NewLocalRef", [&](JNIEnv* e) { env->DeleteLocalRef(ven___NewLocalRef(e, obj)); }},
        {"IsSameObject", [&](JNIEnv* e) { EXPECT_EQ(ven___IsSameObject(e, obj, obj), JNI_TRUE); }},
    };
    for (const auto& [member, run] : guarded) {
        FaultEnv fault(env);
        run(fault.env());
        EXPECT_EQ(fault.trail(), (std::vector<std::string>{"ExceptionOccurred", member, "ExceptionCheck"}));
        jthrowable e1 = throwE1(env);
        run(env);
        expectSamePending(env, e1);
    }

    // With E1 pending, a failing call leaves its own exception instead: for a reference, NULL;
    // for a status, JNI's non-zero status, or -1 where JNI returned 0.
    jclass integer = findClass(env, "java/lang/Integer");
    jmethodID parse = env->GetMethodID(integer, "<init>", "(Ljava/lang/String;)V");
    const std::pair<const char*, std::function<bool()>> failures[] = {
        {"java.lang.NoClassDefFoundError", [&] { return !ven___FindClass(env, "no/such/Class"); }},
        {"java.lang.NumberFormatException", [&] { return !ven___NewObject(env, integer, parse, obj); }},
        {"java.lang.NoSuchMethodError", [&] { return ven___RegisterNatives(env, natives, kMissing, 1) < 0; }},
    };
    for (const auto& [exception, fails] : failures) {
        jthrowable e1 = throwE1(env);
        EXPECT_TRUE(fails()) << exception;
        ExpectPendingClass(env, exception);
        env->DeleteGlobalRef(e1);
    }
    const std::pair<void (*)(FaultEnv&, jint), std::function<jint(JNIEnv*)>> statuses[] = {
        {raiseWith<&Jni::RegisterNatives>,
         [&](JNIEnv* e) { return ven___RegisterNatives(e, natives, kAnswer, 1); }},
        {raiseWith<&Jni::UnregisterNatives>, [&](JNIEnv* e) { return ven___UnregisterNatives(e, natives); }},
        {raiseWith<&Jni::EnsureLocalCapacity>, [&](JNIEnv* e) { return ven___EnsureLocalCapacity(e, 4); }},
        {raiseWith<&Jni::PushLocalFrame>, [&](JNIEnv* e) { return ven___PushLocalFrame(e, 4); }},
    };
    for (const auto& [raise, call] : statuses) {
        for (auto [returned, expected] : {std::pair{0, -1}, std::pair{-5, -5}, std::pair{3, 3}}) {
            FaultEnv fault(env);
            raise(fault, returned);
            jthrowable e1 = throwE1(env);
            EXPECT_EQ(call(fault.env()), expected) << "JNI returned " << returned;
            ExpectPending(env, "java.lang.OutOfMemoryError", "status");
            env->DeleteGlobalRef(e1);
        }
    }
}

// Direct calls neither save nor clear: a pending exception stays, and they ask nothing;
// ven___NewLocalRef(NULL) makes no call at all.
TEST_F(WrapperExceptions, DirectCallsAndEdges)
{
    jobject local = env->NewLocalRef(obj), global = env->NewGlobalRef(obj);
    jweak weak = env->NewWeakGlobalRef(obj);
    ASSERT_EQ(env->MonitorEnter(obj), 0);
    jthrowable e1 = throwE1(env);
    FaultEnv fault(env);
    JNIEnv* e = fault.env();
    ven___DeleteLocalRef(e, local);
    ven___DeleteGlobalRef(e, global);
    ven___DeleteWeakGlobalRef(e, weak);
    ven___MonitorLeave(e, obj);
    EXPECT_EQ(ven___ExceptionCheck(e), JNI_TRUE);
    EXPECT_TRUE(env->IsSameObject(ven___ExceptionOccurred(e), e1));
    EXPECT_EQ(ven___NewLocalRef(e, nullptr), nullptr);
    EXPECT_EQ(fault.trail(),
              (std::vector<std::string>{"DeleteLocalRef", "DeleteGlobalRef", "DeleteWeakGlobalRef",
                                        "MonitorExit", "ExceptionCheck", "ExceptionOccurred"}));
    expectSamePending(env, e1);
    EXPECT_GE(ven___GetVersion(env), JNI_VERSION_1_8);

    // ven___Throw replaces E1; NULL references follow JNI's rules; a constructor gets its argument.
    ven___ThrowNew(env, throwableClass, "thrown");
    ExpectPending(env, "java.lang.IllegalStateException", "thrown");
    EXPECT_EQ(ven___ExceptionCheck(env), JNI_FALSE);
    auto e2 = static_cast<jthrowable>(env->NewGlobalRef(throwable));
    e1 = throwE1(env);
    ven___Throw(env, e2);
    expectSamePending(env, e2);
    env->DeleteGlobalRef(e1);

    jclass string = findClass(env, "java/lang/String");
    EXPECT_EQ(ven___IsInstanceOf(env, nullptr, string), JNI_TRUE);
    EXPECT_EQ(ven___IsSameObject(env, nullptr, nullptr), JNI_TRUE);
    EXPECT_EQ(ven___IsSameObject(env, obj, nullptr), JNI_FALSE);
    EXPECT_TRUE(env->IsSameObject(ven___GetObjectClass(env, obj), string));
    jobject text = nullptr;
    ven___CallObjectMethod(&text, env, ven___NewObject(env, clazz, ctor, obj),
                           env->GetMethodID(clazz, "toString", "()Ljava/lang/String;"));
    EXPECT_EQ(utf8(env, static_cast<jstring>(text)), "text");
}

// E1, saved as a local reference of the popped frame, is pending again after the pop, with or
// without a result, also when no global reference can be had (and none is left behind).
TEST_F(WrapperExceptions, PopLocalFrameCarriesThePendingException)
{
    for (int round = 0; round < 4; ++round) {
        bool globalRefFails = round < 2, withResult = round % 2 == 0;
        FaultEnv fault(env);
        if (globalRefFails) {
            fault.returnNull<&Jni::NewGlobalRef>();
        }
        ASSERT_EQ(ven___PushLocalFrame(env, 4), 0);
        jstring inner = withResult ? env->NewStringUTF("result") : nullptr;
        jthrowable e1 = throwE1(env);
        jobject outer = ven___PopLocalFrame(fault.env(), inner);
        expectSamePending(env, e1);
        EXPECT_EQ(outer ? utf8(env, static_cast<jstring>(outer)) : "NULL", withResult ? "result" : "NULL");
        EXPECT_EQ(fault.calls<&Jni::NewGlobalRef>() - fault.calls<&Jni::DeleteGlobalRef>(), globalRefFails);
    }
}

} // namespace
} // namespace ven::test::wrapper
