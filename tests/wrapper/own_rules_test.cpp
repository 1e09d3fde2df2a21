// The wrappers with rules of their own (exceptions, local frames, monitors), the steps every
// guarded wrapper shares, and what reaches a real JVM: arguments of the call forms.
#include "wrapper/sweep.hpp"

namespace ven::test::wrapper
{
namespace
{

constexpr const char* kRaised = "(*env)->ExceptionCheck( env ) == JNI_TRUE";
constexpr const char* kE1 = "java.lang.IllegalStateException";
constexpr const char* kOom = "java.lang.OutOfMemoryError";

// Either it returns after exactly `trail`, or it stops on `line` with `condition`; then
// `pending` (a class name) is pending, or nothing. E1 is an IllegalStateException.
struct OwnCase {
    const char* what;
    std::function<void(FaultEnv&)> arrange = [](FaultEnv&) {};
    std::function<void(JNIEnv* fake)> call{};
    bool withE1 = false;
    std::vector<std::string> trail{};
    int line = 0;
    const char* condition = nullptr;
    const char* pending = nullptr;
    std::function<void()> undo = [] {};
};

using WrapperOwnRules = JvmTest;

TEST_F(WrapperOwnRules, ExceptionsFramesAndMonitors)
{
    jobject object = env->NewStringUTF("monitor");
    jthrowable thrown = makeThrowable(env, "java/lang/IllegalArgumentException", "thrown");
    jclass thrownClass = findClass(env, "java/lang/IllegalArgumentException");
    // clang-format off
    const OwnCase cases[] = {
        {.what = "Throw replaces E1", .call = [=](JNIEnv* e) { ven___Throw(e, thrown); }, .withE1 = true,
         .trail = {"ExceptionClear", "ExceptionCheck", "Throw", "ExceptionCheck"},
         .pending = "java.lang.IllegalArgumentException"},
        {.what = "Throw raises nothing", .arrange = [](FaultEnv& f) { f.returnStatus<&Jni::Throw>(0); },
         .call = [=](JNIEnv* e) { ven___Throw(e, thrown); }, .line = 87, .condition = kRaised},
        {.what = "ThrowNew fails", .arrange = [](FaultEnv& f) { f.returnStatus<&Jni::ThrowNew>(-1); },
         .call = [=](JNIEnv* e) { ven___ThrowNew(e, thrownClass, "m"); }, .line = 95,
         .condition = "(*env)->ThrowNew( env, clazz, message ) == 0"},
        {.what = "ThrowNew raises nothing", .arrange = [](FaultEnv& f) { f.returnStatus<&Jni::ThrowNew>(0); },
         .call = [=](JNIEnv* e) { ven___ThrowNew(e, thrownClass, "m"); }, .line = 96, .condition = kRaised},
        {.what = "a guarded wrapper cannot set E1 aside (through ven___ExceptionClear)",
         .arrange = [](FaultEnv& f) { f.override<&Jni::ExceptionClear>([](JNIEnv*) {}); },
         .call = [=](JNIEnv* e) { ven___IsSameObject(e, object, object); }, .withE1 = true, .line = 116,
         .condition = kNoException, .pending = kE1},
        {.what = "a guarded wrapper cannot throw E1 again (through ven___Throw)",
         .arrange = [](FaultEnv& f) { f.returnStatus<&Jni::Throw>(-1); },
         .call = [=](JNIEnv* e) { ven___GetObjectClass(e, object); }, .withE1 = true, .line = 86,
         .condition = "(*env)->Throw( env, throwable ) == 0"},
        {.what = "MonitorEnter at the floor", .call = [=](JNIEnv* e) { ven___MonitorEnter(e, object); },
         .trail = {"ExceptionOccurred", "MonitorEnter", "ExceptionCheck"},
         .undo = [=, this] { env->MonitorExit(object); }},
        {.what = "MonitorEnter fails", .arrange = [](FaultEnv& f) { f.returnStatus<&Jni::MonitorEnter>(-1); },
         .call = [=](JNIEnv* e) { ven___MonitorEnter(e, object); }, .line = 5100,
         .condition = "(*env)->MonitorEnter( env, obj ) == 0"},
        {.what = "MonitorEnter fails and raises: the status first",
         .arrange = [](FaultEnv& f) { f.raiseReturning<&Jni::MonitorEnter>("java/lang/OutOfMemoryError", "", -1); },
         .call = [=](JNIEnv* e) { ven___MonitorEnter(e, object); }, .line = 5100,
         .condition = "(*env)->MonitorEnter( env, obj ) == 0", .pending = kOom},
        {.what = "MonitorEnter raises", .arrange = [](FaultEnv& f) { f.raiseOutOfMemory<&Jni::MonitorEnter>(); },
         .call = [=](JNIEnv* e) { ven___MonitorEnter(e, object); }, .line = 5102, .condition = kNoException,
         .pending = kOom},
        {.what = "MonitorLeave keeps E1 and asks nothing",
         .arrange = [=](FaultEnv& f) { f.real()->MonitorEnter(object); },
         .call = [=](JNIEnv* e) { ven___MonitorLeave(e, object); }, .withE1 = true,
         .trail = {"MonitorExit"}, .pending = kE1},
        {.what = "MonitorLeave of a monitor not entered", .call = [=](JNIEnv* e) { ven___MonitorLeave(e, object); },
         .line = 5113, .condition = "(*env)->MonitorExit( env, obj ) == 0",
         .pending = "java.lang.IllegalMonitorStateException"},
        {.what = "PopLocalFrame raises",
         .arrange = [](FaultEnv& f) {
             f.real()->PushLocalFrame(1);
             f.override<&Jni::PopLocalFrame>([](JNIEnv* real, jobject result) {
                 jobject outer = real->PopLocalFrame(result);
                 real->ThrowNew(real->FindClass("java/lang/OutOfMemoryError"), "pop");
                 return outer;
             });
         },
         .call = [](JNIEnv* e) { ven___PopLocalFrame(e, nullptr); }, .line = 315, .condition = kNoException,
         .pending = kOom},
        {.what = "PopLocalFrame at the floor", .arrange = [](FaultEnv& f) { f.real()->PushLocalFrame(1); },
         .call = [](JNIEnv* e) { ven___PopLocalFrame(e, nullptr); },
         .trail = {"ExceptionOccurred", "PopLocalFrame", "ExceptionCheck"}},
        {.what = "NewLocalRef(NULL) asks nothing",
         .call = [](JNIEnv* e) { EXPECT_EQ(ven___NewLocalRef(e, nullptr), nullptr); },
         .withE1 = true, .pending = kE1},
    };
    // clang-format on
    for (const OwnCase& c : cases) {
        SCOPED_TRACE(c.what);
        FaultEnv fault(env);
        c.arrange(fault);
        if (c.withE1) {
            env->Throw(makeThrowable(env, "java/lang/IllegalStateException", "E1"));
        }
        const std::optional<AbortRecord> abort = catchAbort([&] { c.call(fault.env()); });
        if (c.line != 0) {
            EXPECT_TRUE(abortedWith(abort, c.what, kPath, c.line, c.condition, nullptr));
        } else {
            EXPECT_FALSE(abort.has_value()) << abort->path << ":" << abort->line;
            EXPECT_EQ(fault.trail(), c.trail);
        }
        c.pending != nullptr ? ExpectPendingClass(env, c.pending) : ExpectNoPending(env);
        c.undo();
    }
}

// E1, saved as a local reference of the frame being popped, is pending again after the pop,
// with or without a result, also when no global reference can be had (and none is left).
TEST_F(WrapperOwnRules, PopLocalFrameCarriesThePendingException)
{
    for (bool globalRefFails : {false, true}) {
        for (bool withResult : {false, true}) {
            FaultEnv fault(env);
            if (globalRefFails) {
                fault.returnNull<&Jni::NewGlobalRef>();
            }
            ASSERT_EQ(env->PushLocalFrame(4), 0);
            jstring inner = withResult ? env->NewStringUTF("result") : nullptr;
            env->Throw(makeThrowable(env, "java/lang/IllegalStateException", "E1"));
            jobject outer = ven___PopLocalFrame(fault.env(), inner);
            ExpectPending(env, kE1, "E1");
            EXPECT_EQ(outer ? utf8(env, static_cast<jstring>(outer)) : "NULL",
                      withResult ? "result" : "NULL");
            EXPECT_EQ(fault.calls<&Jni::NewGlobalRef>() - fault.calls<&Jni::DeleteGlobalRef>(),
                      globalRefFails);
        }
    }
}

// The A form's jvalues and the variadic form's arguments arrive in order and with their bits.
TEST_F(WrapperOwnRules, CallArgumentsReachTheMethod)
{
    jclass methods = findClass(env, "fixtures/Methods");
    jclass childClass = findClass(env, "fixtures/MethodsChild");
    jobject child = env->NewObject(childClass, env->GetMethodID(childClass, "<init>", "()V"));
    jmethodID join = env->GetMethodID(methods, "join", "(IJDLjava/lang/String;)Ljava/lang/String;");
    jstring d = jstr(env, "d");
    const jvalue args[4] = {{.i = 1}, {.j = 2}, {.d = 3.5}, {.l = d}};
    jobject text = nullptr;
    ASSERT_EQ(ven___CallNonvirtualObjectMethodA(&text, env, child, methods, join, args), JNI_TRUE);
    EXPECT_EQ(utf8(env, static_cast<jstring>(text)), "1,2,3.5,d");
    ASSERT_EQ(ven___CallNonvirtualObjectMethod(&text, env, child, methods, join, 7, jlong{-8}, -0.5, d),
              JNI_TRUE);
    EXPECT_EQ(utf8(env, static_cast<jstring>(text)), "7,-8,-0.5,d");
    EXPECT_EQ(units(env, ven___NewString(env, nullptr, 0)), u"") << "no characters need no array";
}

} // namespace
} // namespace ven::test::wrapper
