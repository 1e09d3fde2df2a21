// Version, exceptions, classes, references, local frames, native methods, objects and
// monitors: every argument check with its line, every check a misbehaving JNI can reach,
// the saved pending exception of each kind, and the cases singled out as edges.
#include <string>
#include <vector>

#include "wrapper/wrapper_test.hpp"

namespace ven::test::wrapper
{
namespace
{

// Valid arguments for everything before the argument a case tests.
struct Context {
    JNIEnv* env;
    jclass clazz;   // java/lang/StringBuilder
    jmethodID ctor; // StringBuilder(String)
    jobject obj;    // a java/lang/String
    jclass throwableClass;
    jthrowable throwable;
    jclass natives; // fixtures/WrapperNatives
    const JNINativeMethod* methods;
};

jint JNICALL nativeAnswer(JNIEnv*, jclass)
{
    return 42;
}
const JNINativeMethod kAnswer[] = {
    {const_cast<char*>("answer"), const_cast<char*>("()I"), reinterpret_cast<void*>(&nativeAnswer)}};
const JNINativeMethod kMissing[] = {
    {const_cast<char*>("missing"), const_cast<char*>("()I"), reinterpret_cast<void*>(&nativeAnswer)}};

struct FatalCase {
    const char* function;
    int line;
    const char* condition;
    void (*call)(const Context&);
};

// The required argument checks; the tested argument and all after it are NULL (or out of
// range), so a check made out of order shows as a wrong line.
const FatalCase kFatalCases[] = {
    {"ven___GetVersion", 45, "env", [](const Context&) { ven___GetVersion(nullptr); }},
    {"ven___FindClass", 56, "env", [](const Context&) { ven___FindClass(nullptr, nullptr); }},
    {"ven___FindClass", 57, "name", [](const Context& c) { ven___FindClass(c.env, nullptr); }},
    {"ven___Throw", 81, "env", [](const Context&) { ven___Throw(nullptr, nullptr); }},
    {"ven___Throw", 82, "throwable", [](const Context& c) { ven___Throw(c.env, nullptr); }},
    {"ven___ThrowNew", 91, "env", [](const Context&) { ven___ThrowNew(nullptr, nullptr, nullptr); }},
    {"ven___ThrowNew", 92, "clazz", [](const Context& c) { ven___ThrowNew(c.env, nullptr, nullptr); }},
    {"ven___ThrowNew", 93, "message",
     [](const Context& c) { ven___ThrowNew(c.env, c.throwableClass, nullptr); }},
    {"ven___ExceptionOccurred", 100, "env", [](const Context&) { ven___ExceptionOccurred(nullptr); }},
    {"ven___ExceptionDescribe", 106, "env", [](const Context&) { ven___ExceptionDescribe(nullptr); }},
    {"ven___ExceptionClear", 112, "env", [](const Context&) { ven___ExceptionClear(nullptr); }},
    {"ven___FatalError", 120, "env", [](const Context&) { ven___FatalError(nullptr, nullptr); }},
    {"ven___FatalError", 121, "msg", [](const Context& c) { ven___FatalError(c.env, nullptr); }},
    {"ven___ExceptionCheck", 127, "env", [](const Context&) { ven___ExceptionCheck(nullptr); }},
    {"ven___NewGlobalRef", 136, "env", [](const Context&) { ven___NewGlobalRef(nullptr, nullptr); }},
    {"ven___NewGlobalRef", 137, "obj", [](const Context& c) { ven___NewGlobalRef(c.env, nullptr); }},
    {"ven___DeleteGlobalRef", 161, "env", [](const Context&) { ven___DeleteGlobalRef(nullptr, nullptr); }},
    {"ven___DeleteGlobalRef", 162, "globalRef",
     [](const Context& c) { ven___DeleteGlobalRef(c.env, nullptr); }},
    {"ven___DeleteLocalRef", 168, "env", [](const Context&) { ven___DeleteLocalRef(nullptr, nullptr); }},
    {"ven___DeleteLocalRef", 169, "localRef", [](const Context& c) { ven___DeleteLocalRef(c.env, nullptr); }},
    {"ven___RegisterNatives", 178, "env",
     [](const Context&) { ven___RegisterNatives(nullptr, nullptr, nullptr, -1); }},
    {"ven___RegisterNatives", 179, "clazz",
     [](const Context& c) { ven___RegisterNatives(c.env, nullptr, nullptr, -1); }},
    {"ven___RegisterNatives", 180, "methods",
     [](const Context& c) { ven___RegisterNatives(c.env, c.natives, nullptr, -1); }},
    {"ven___RegisterNatives", 181, "nMethods >= 0",
     [](const Context& c) { ven___RegisterNatives(c.env, c.natives, c.methods, -1); }},
    {"ven___UnregisterNatives", 210, "env",
     [](const Context&) { ven___UnregisterNatives(nullptr, nullptr); }},
    {"ven___UnregisterNatives", 211, "clazz",
     [](const Context& c) { ven___UnregisterNatives(c.env, nullptr); }},
    {"ven___EnsureLocalCapacity", 241, "env", [](const Context&) { ven___EnsureLocalCapacity(nullptr, -1); }},
    {"ven___EnsureLocalCapacity", 242, "capacity >= 0",
     [](const Context& c) { ven___EnsureLocalCapacity(c.env, -1); }},
    {"ven___PushLocalFrame", 275, "env", [](const Context&) { ven___PushLocalFrame(nullptr, -1); }},
    {"ven___PushLocalFrame", 276, "capacity >= 0", [](const Context& c) { ven___PushLocalFrame(c.env, -1); }},
    {"ven___PopLocalFrame", 308, "env", [](const Context& c) { ven___PopLocalFrame(nullptr, c.obj); }},
    {"ven___NewLocalRef", 328, "env", [](const Context& c) { ven___NewLocalRef(nullptr, c.obj); }},
    {"ven___NewWeakGlobalRef", 356, "env", [](const Context& c) { ven___NewWeakGlobalRef(nullptr, c.obj); }},
    {"ven___DeleteWeakGlobalRef", 380, "env",
     [](const Context&) { ven___DeleteWeakGlobalRef(nullptr, nullptr); }},
    {"ven___DeleteWeakGlobalRef", 381, "obj",
     [](const Context& c) { ven___DeleteWeakGlobalRef(c.env, nullptr); }},
    {"ven___AllocObject", 390, "env", [](const Context&) { ven___AllocObject(nullptr, nullptr); }},
    {"ven___AllocObject", 391, "clazz", [](const Context& c) { ven___AllocObject(c.env, nullptr); }},
    {"ven___NewObjectA", 429, "env",
     [](const Context&) { ven___NewObjectA(nullptr, nullptr, nullptr, nullptr); }},
    {"ven___NewObjectA", 430, "clazz",
     [](const Context& c) { ven___NewObjectA(c.env, nullptr, nullptr, nullptr); }},
    {"ven___NewObjectA", 431, "methodID",
     [](const Context& c) { ven___NewObjectA(c.env, c.clazz, nullptr, nullptr); }},
    {"ven___NewObjectV", 459, "env",
     [](const Context&) {
         withVaList([](va_list l) { ven___NewObjectV(nullptr, nullptr, nullptr, l); }, 0);
     }},
    {"ven___NewObjectV", 460, "clazz",
     [](const Context& c) {
         withVaList([&](va_list l) { ven___NewObjectV(c.env, nullptr, nullptr, l); }, 0);
     }},
    {"ven___NewObjectV", 461, "methodID",
     [](const Context& c) {
         withVaList([&](va_list l) { ven___NewObjectV(c.env, c.clazz, nullptr, l); }, 0);
     }},
    {"ven___NewObject", 459, "env", [](const Context&) { ven___NewObject(nullptr, nullptr, nullptr); }},
    {"ven___NewObject", 460, "clazz", [](const Context& c) { ven___NewObject(c.env, nullptr, nullptr); }},
    {"ven___NewObject", 461, "methodID", [](const Context& c) { ven___NewObject(c.env, c.clazz, nullptr); }},
    {"ven___GetObjectClass", 488, "env", [](const Context&) { ven___GetObjectClass(nullptr, nullptr); }},
    {"ven___GetObjectClass", 489, "obj", [](const Context& c) { ven___GetObjectClass(c.env, nullptr); }},
    {"ven___IsInstanceOf", 513, "env", [](const Context&) { ven___IsInstanceOf(nullptr, nullptr, nullptr); }},
    {"ven___IsInstanceOf", 514, "clazz", [](const Context& c) { ven___IsInstanceOf(c.env, c.obj, nullptr); }},
    {"ven___IsSameObject", 534, "env", [](const Context&) { ven___IsSameObject(nullptr, nullptr, nullptr); }},
    {"ven___MonitorEnter", 5094, "env", [](const Context&) { ven___MonitorEnter(nullptr, nullptr); }},
    {"ven___MonitorEnter", 5095, "obj", [](const Context& c) { ven___MonitorEnter(c.env, nullptr); }},
    {"ven___MonitorLeave", 5110, "env", [](const Context&) { ven___MonitorLeave(nullptr, nullptr); }},
    {"ven___MonitorLeave", 5111, "obj", [](const Context& c) { ven___MonitorLeave(c.env, nullptr); }},
};

// A check after the JNI call, reached through a FaultEnv whose `arrange` makes JNI
// misbehave; `pending` is the exception left behind (cleared by the test), if any.
struct GuaranteeCase {
    const char* function;
    int line;
    const char* condition; // a fatal check, or
    std::string message;   // a consistency check
    void (*arrange)(FaultEnv&, const Context&);
    void (*call)(JNIEnv* fake, const Context&);
    const char* pending;
};

constexpr const char* kRaised = "(*env)->ExceptionCheck( env ) == JNI_TRUE";

void throwE1Through(FaultEnv& fault, const Context& c)
{
    fault.real()->Throw(c.throwable);
}

const std::vector<GuaranteeCase> kGuaranteeCases = {
    {"ven___FindClass", 69, nullptr,
     "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->ven___FindClass() == NULL",
     [](FaultEnv& f, const Context&) { f.returnNull<&Jni::FindClass>(); },
     [](JNIEnv* e, const Context&) { ven___FindClass(e, "java/lang/String"); }, nullptr},
    {"ven___Throw", 86, "(*env)->Throw( env, throwable ) == 0", "",
     [](FaultEnv& f, const Context&) { f.returnStatus<&Jni::Throw>(-1); },
     [](JNIEnv* e, const Context& c) { ven___Throw(e, c.throwable); }, nullptr},
    {"ven___Throw", 87, kRaised, "", [](FaultEnv& f, const Context&) { f.returnStatus<&Jni::Throw>(0); },
     [](JNIEnv* e, const Context& c) { ven___Throw(e, c.throwable); }, nullptr},
    {"ven___ThrowNew", 95, "(*env)->ThrowNew( env, clazz, message ) == 0", "",
     [](FaultEnv& f, const Context&) { f.returnStatus<&Jni::ThrowNew>(-1); },
     [](JNIEnv* e, const Context& c) { ven___ThrowNew(e, c.throwableClass, "m"); }, nullptr},
    {"ven___ThrowNew", 96, kRaised, "",
     [](FaultEnv& f, const Context&) { f.returnStatus<&Jni::ThrowNew>(0); },
     [](JNIEnv* e, const Context& c) { ven___ThrowNew(e, c.throwableClass, "m"); }, nullptr},
    {"ven___ExceptionClear", 116, kNoException, "",
     [](FaultEnv& f, const Context& c) {
         f.override<&Jni::ExceptionClear>([](JNIEnv*) {});
         throwE1Through(f, c);
     },
     [](JNIEnv* e, const Context&) { ven___ExceptionClear(e); }, "java.lang.IllegalStateException"},
    // Every guarded wrapper clears through the same step, and throws again through ven___Throw's.
    {"ven___IsSameObject (saving)", 116, kNoException, "",
     [](FaultEnv& f, const Context& c) {
         f.override<&Jni::ExceptionClear>([](JNIEnv*) {});
         throwE1Through(f, c);
     },
     [](JNIEnv* e, const Context& c) { ven___IsSameObject(e, c.obj, c.obj); },
     "java.lang.IllegalStateException"},
    {"ven___GetObjectClass (throwing again)", 86, "(*env)->Throw( env, throwable ) == 0", "",
     [](FaultEnv& f, const Context& c) {
         f.returnStatus<&Jni::Throw>(-1);
         throwE1Through(f, c);
     },
     [](JNIEnv* e, const Context& c) { ven___GetObjectClass(e, c.obj); }, nullptr},
    {"ven___NewGlobalRef", 149, nullptr, nullMessage("NewGlobalRef"),
     [](FaultEnv& f, const Context&) { f.returnNull<&Jni::NewGlobalRef>(); },
     [](JNIEnv* e, const Context& c) { ven___NewGlobalRef(e, c.obj); }, nullptr},
    {"ven___RegisterNatives", 195, nullptr, statusMessage("RegisterNatives"),
     [](FaultEnv& f, const Context&) { f.returnStatus<&Jni::RegisterNatives>(-1); },
     [](JNIEnv* e, const Context& c) { ven___RegisterNatives(e, c.natives, c.methods, 1); }, nullptr},
    {"ven___UnregisterNatives", 225, nullptr, statusMessage("UnregisterNatives"),
     [](FaultEnv& f, const Context&) { f.returnStatus<&Jni::UnregisterNatives>(1); },
     [](JNIEnv* e, const Context& c) { ven___UnregisterNatives(e, c.natives); }, nullptr},
    {"ven___EnsureLocalCapacity", 256, nullptr, statusMessage("EnsureLocalCapacity"),
     [](FaultEnv& f, const Context&) { f.returnStatus<&Jni::EnsureLocalCapacity>(-1); },
     [](JNIEnv* e, const Context&) { ven___EnsureLocalCapacity(e, 1); }, nullptr},
    {"ven___PushLocalFrame", 290, nullptr, statusMessage("PushLocalFrame"),
     [](FaultEnv& f, const Context&) { f.returnStatus<&Jni::PushLocalFrame>(-1); },
     [](JNIEnv* e, const Context&) { ven___PushLocalFrame(e, 1); }, nullptr},
    {"ven___PopLocalFrame", 315, kNoException, "",
     [](FaultEnv& f, const Context&) {
         f.real()->PushLocalFrame(1);
         f.override<&Jni::PopLocalFrame>([](JNIEnv* real, jobject result) {
             jobject outer = real->PopLocalFrame(result);
             real->ThrowNew(real->FindClass("java/lang/OutOfMemoryError"), "pop");
             return outer;
         });
     },
     [](JNIEnv* e, const Context&) { ven___PopLocalFrame(e, nullptr); }, "java.lang.OutOfMemoryError"},
    {"ven___NewLocalRef", 339, kNoException, "",
     [](FaultEnv& f, const Context&) { f.raiseOutOfMemory<&Jni::NewLocalRef>(); },
     [](JNIEnv* e, const Context& c) { ven___NewLocalRef(e, c.obj); }, "java.lang.OutOfMemoryError"},
    {"ven___NewLocalRef", 342, nullptr, "ref != NULL <> (*env)->NewLocalRef(ref) == NULL",
     [](FaultEnv& f, const Context&) { f.returnNull<&Jni::NewLocalRef>(); },
     [](JNIEnv* e, const Context& c) { ven___NewLocalRef(e, c.obj); }, nullptr},
    {"ven___AllocObject", 403, nullptr, nullMessage("AllocObject"),
     [](FaultEnv& f, const Context&) { f.returnNull<&Jni::AllocObject>(); },
     [](JNIEnv* e, const Context& c) { ven___AllocObject(e, c.clazz); }, nullptr},
    {"ven___NewObjectA", 443, nullptr, nullMessage("NewObjectA"),
     [](FaultEnv& f, const Context&) { f.returnNull<&Jni::NewObjectA>(); },
     [](JNIEnv* e, const Context& c) {
         jvalue arg;
         arg.l = c.obj;
         ven___NewObjectA(e, c.clazz, c.ctor, &arg);
     },
     nullptr},
    {"ven___NewObjectV", 473, nullptr, nullMessage("NewObjectV"),
     [](FaultEnv& f, const Context&) { f.returnNull<&Jni::NewObjectV>(); },
     [](JNIEnv* e, const Context& c) {
         withVaList([&](va_list l) { ven___NewObjectV(e, c.clazz, c.ctor, l); }, 0, c.obj);
     },
     nullptr},
    {"ven___NewObject", 473, nullptr, nullMessage("NewObjectV"),
     [](FaultEnv& f, const Context&) { f.returnNull<&Jni::NewObjectV>(); },
     [](JNIEnv* e, const Context& c) { ven___NewObject(e, c.clazz, c.ctor, c.obj); }, nullptr},
    {"ven___GetObjectClass", 496, kNoException, "",
     [](FaultEnv& f, const Context&) { f.raiseOutOfMemory<&Jni::GetObjectClass>(); },
     [](JNIEnv* e, const Context& c) { ven___GetObjectClass(e, c.obj); }, "java.lang.OutOfMemoryError"},
    {"ven___GetObjectClass", 499, nullptr, "(*env)->GetObjectClass() == NULL",
     [](FaultEnv& f, const Context&) { f.returnNull<&Jni::GetObjectClass>(); },
     [](JNIEnv* e, const Context& c) { ven___GetObjectClass(e, c.obj); }, nullptr},
    {"ven___IsInstanceOf", 521, kNoException, "",
     [](FaultEnv& f, const Context&) { f.raiseOutOfMemory<&Jni::IsInstanceOf>(); },
     [](JNIEnv* e, const Context& c) { ven___IsInstanceOf(e, c.obj, c.clazz); },
     "java.lang.OutOfMemoryError"},
    {"ven___IsSameObject", 541, kNoException, "",
     [](FaultEnv& f, const Context&) { f.raiseOutOfMemory<&Jni::IsSameObject>(); },
     [](JNIEnv* e, const Context& c) { ven___IsSameObject(e, c.obj, nullptr); },
     "java.lang.OutOfMemoryError"},
    {"ven___MonitorEnter", 5100, "(*env)->MonitorEnter( env, obj ) == 0", "",
     [](FaultEnv& f, const Context&) { f.returnStatus<&Jni::MonitorEnter>(-1); },
     [](JNIEnv* e, const Context& c) { ven___MonitorEnter(e, c.obj); }, nullptr},
    // The status is tested before the exception state.
    {"ven___MonitorEnter (raising)", 5100, "(*env)->MonitorEnter( env, obj ) == 0", "",
     [](FaultEnv& f, const Context&) {
         f.raiseReturning<&Jni::MonitorEnter>("java/lang/OutOfMemoryError", "m", -1);
     },
     [](JNIEnv* e, const Context& c) { ven___MonitorEnter(e, c.obj); }, "java.lang.OutOfMemoryError"},
    {"ven___MonitorEnter", 5102, kNoException, "",
     [](FaultEnv& f, const Context&) {
         f.raiseReturning<&Jni::MonitorEnter>("java/lang/OutOfMemoryError", "m", 0);
     },
     [](JNIEnv* e, const Context& c) { ven___MonitorEnter(e, c.obj); }, "java.lang.OutOfMemoryError"},
    {"ven___MonitorLeave", 5113, "(*env)->MonitorExit( env, obj ) == 0", "",
     [](FaultEnv& f, const Context&) { f.returnStatus<&Jni::MonitorExit>(-1); },
     [](JNIEnv* e, const Context& c) { ven___MonitorLeave(e, c.obj); }, nullptr},
};

class WrapperExceptions : public JvmTest
{
  protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        context.env = env;
        context.clazz = findClass(env, "java/lang/StringBuilder");
        context.ctor = env->GetMethodID(context.clazz, "<init>", "(Ljava/lang/String;)V");
        context.obj = jstr(env, "text");
        context.throwableClass = findClass(env, "java/lang/IllegalStateException");
        context.throwable = makeThrowable(env, "java/lang/IllegalStateException", "E1");
        context.natives = findClass(env, "fixtures/WrapperNatives");
        context.methods = kAnswer;
    }

    Context context{};
};

TEST_F(WrapperExceptions, EveryArgumentCheck)
{
    for (const FatalCase& fatal : kFatalCases) {
        SCOPED_TRACE(std::string(fatal.function) + " line " + std::to_string(fatal.line));
        EXPECT_VEN_ABORT(fatal.call(context), kPath, fatal.line, fatal.condition);
    }
}

TEST_F(WrapperExceptions, EveryCheckAMisbehavingJniCanReach)
{
    for (const GuaranteeCase& guarantee : kGuaranteeCases) {
        SCOPED_TRACE(std::string(guarantee.function) + " line " + std::to_string(guarantee.line));
        FaultEnv fault(env);
        guarantee.arrange(fault, context);
        if (guarantee.condition != nullptr) {
            EXPECT_VEN_ABORT(guarantee.call(fault.env(), context), kPath, guarantee.line,
                             guarantee.condition);
        } else {
            EXPECT_VEN_ABORT_MESSAGE(guarantee.call(fault.env(), context), kPath, guarantee.line,
                                     guarantee.message.c_str());
        }
        if (guarantee.pending != nullptr) {
            ExpectPendingClass(env, guarantee.pending);
        } else {
            ExpectNoPending(env);
        }
    }
}

// A check the real JVM reaches by itself.
TEST_F(WrapperExceptions, WeakReferenceToNullStops)
{
    // NewWeakGlobalRef(NULL) is not refused by an argument check; JNI returns NULL quietly.
    EXPECT_VEN_ABORT_MESSAGE(ven___NewWeakGlobalRef(env, nullptr), kPath, 368,
                             nullMessage("NewWeakGlobalRef").c_str());
    ExpectNoPending(env);
}

// One guarded wrapper of each kind: `run` calls it (through `callEnv`) and undoes its effect
// through the real env with calls that JNI allows while an exception is pending.
struct GuardedCase {
    const char* function;
    const char* member;
    void (*run)(JNIEnv* callEnv, const Context&);
};

const GuardedCase kGuardedCases[] = {
    {"ven___FindClass", "FindClass",
     [](JNIEnv* e, const Context& c) { c.env->DeleteLocalRef(ven___FindClass(e, "java/lang/String")); }},
    {"ven___NewGlobalRef", "NewGlobalRef",
     [](JNIEnv* e, const Context& c) { c.env->DeleteGlobalRef(ven___NewGlobalRef(e, c.obj)); }},
    {"ven___NewWeakGlobalRef", "NewWeakGlobalRef",
     [](JNIEnv* e, const Context& c) { c.env->DeleteWeakGlobalRef(ven___NewWeakGlobalRef(e, c.obj)); }},
    {"ven___RegisterNatives", "RegisterNatives",
     [](JNIEnv* e, const Context& c) { EXPECT_EQ(ven___RegisterNatives(e, c.natives, kAnswer, 1), 0); }},
    {"ven___UnregisterNatives", "UnregisterNatives",
     [](JNIEnv* e, const Context& c) { EXPECT_EQ(ven___UnregisterNatives(e, c.natives), 0); }},
    {"ven___EnsureLocalCapacity", "EnsureLocalCapacity",
     [](JNIEnv* e, const Context&) { EXPECT_EQ(ven___EnsureLocalCapacity(e, 0), 0); }},
    {"ven___PushLocalFrame", "PushLocalFrame",
     [](JNIEnv* e, const Context& c) {
         EXPECT_EQ(ven___PushLocalFrame(e, 0), 0);
         c.env->PopLocalFrame(nullptr);
     }},
    {"ven___NewLocalRef", "NewLocalRef",
     [](JNIEnv* e, const Context& c) {
         jobject ref = ven___NewLocalRef(e, c.obj);
         EXPECT_TRUE(ref != nullptr && ref != c.obj);
         c.env->DeleteLocalRef(ref);
     }},
    {"ven___AllocObject", "AllocObject",
     [](JNIEnv* e, const Context& c) { c.env->DeleteLocalRef(ven___AllocObject(e, c.clazz)); }},
    {"ven___NewObjectA", "NewObjectA",
     [](JNIEnv* e, const Context& c) {
         jvalue arg;
         arg.l = c.obj;
         c.env->DeleteLocalRef(ven___NewObjectA(e, c.clazz, c.ctor, &arg));
     }},
    {"ven___NewObject", "NewObjectV",
     [](JNIEnv* e, const Context& c) { c.env->DeleteLocalRef(ven___NewObject(e, c.clazz, c.ctor, c.obj)); }},
    {"ven___GetObjectClass", "GetObjectClass",
     [](JNIEnv* e, const Context& c) { c.env->DeleteLocalRef(ven___GetObjectClass(e, c.obj)); }},
    {"ven___IsInstanceOf", "IsInstanceOf",
     [](JNIEnv* e, const Context& c) { EXPECT_EQ(ven___IsInstanceOf(e, c.obj, c.clazz), JNI_FALSE); }},
    {"ven___IsSameObject", "IsSameObject",
     [](JNIEnv* e, const Context& c) { EXPECT_EQ(ven___IsSameObject(e, c.obj, c.obj), JNI_TRUE); }},
    {"ven___MonitorEnter", "MonitorEnter",
     [](JNIEnv* e, const Context& c) {
         ven___MonitorEnter(e, c.obj);
         EXPECT_EQ(c.env->MonitorExit(c.obj), 0);
     }},
};

// With nothing pending a guarded wrapper costs one query before and one ExceptionCheck after
// its JNI call; with E1 pending, E1 is pending again afterwards.
TEST_F(WrapperExceptions, GuardedWrappersKeepAPendingException)
{
    for (const GuardedCase& guarded : kGuardedCases) {
        SCOPED_TRACE(guarded.function);
        {
            FaultEnv fault(env);
            guarded.run(fault.env(), context);
            EXPECT_EQ(fault.trail(),
                      (std::vector<std::string>{"ExceptionOccurred", guarded.member, "ExceptionCheck"}));
            ExpectNoPending(env);
        }
        jthrowable e1 = throwE1(env);
        guarded.run(env, context);
        expectSamePending(env, e1);
    }
}

// Direct calls neither save nor clear: a pending exception stays, and they ask nothing.
TEST_F(WrapperExceptions, DirectCallsLeaveAPendingExceptionAlone)
{
    jobject local = env->NewLocalRef(context.obj);
    jobject global = env->NewGlobalRef(context.obj);
    jweak weak = env->NewWeakGlobalRef(context.obj);
    ASSERT_EQ(env->MonitorEnter(context.obj), 0);
    jthrowable e1 = throwE1(env);
    FaultEnv fault(env);
    JNIEnv* e = fault.env();
    ven___DeleteLocalRef(e, local);
    ven___DeleteGlobalRef(e, global);
    ven___DeleteWeakGlobalRef(e, weak);
    ven___MonitorLeave(e, context.obj);
    EXPECT_EQ(ven___ExceptionCheck(e), JNI_TRUE);
    jthrowable occurred = ven___ExceptionOccurred(e);
    EXPECT_EQ(fault.trail(),
              (std::vector<std::string>{"DeleteLocalRef", "DeleteGlobalRef", "DeleteWeakGlobalRef",
                                        "MonitorExit", "ExceptionCheck", "ExceptionOccurred"}));
    jthrowable pending = env->ExceptionOccurred();
    env->ExceptionClear();
    EXPECT_TRUE(env->IsSameObject(pending, e1));
    EXPECT_TRUE(env->IsSameObject(occurred, e1));
    env->DeleteGlobalRef(e1);
    EXPECT_GE(ven___GetVersion(env), JNI_VERSION_1_8);
}

TEST_F(WrapperExceptions, ThrowingAndClearing)
{
    ven___ThrowNew(env, context.throwableClass, "thrown");
    EXPECT_EQ(ven___ExceptionCheck(env), JNI_TRUE);
    ven___ExceptionClear(env);
    EXPECT_EQ(ven___ExceptionCheck(env), JNI_FALSE);
    ven___ExceptionClear(env); // nothing pending: nothing to do

    // ven___Throw replaces a pending exception; only the new throwable is pending afterwards.
    auto e2 = static_cast<jthrowable>(env->NewGlobalRef(context.throwable));
    jthrowable e1 = throwE1(env);
    ven___Throw(env, e2);
    expectSamePending(env, e2, "the new throwable");
    env->DeleteGlobalRef(e1);

    ven___ThrowNew(env, context.throwableClass, "second");
    ExpectPending(env, "java.lang.IllegalStateException", "second");
}

TEST_F(WrapperExceptions, ClassesAndObjects)
{
    jclass string = ven___FindClass(env, "java/lang/String");
    ASSERT_NE(string, nullptr);
    EXPECT_EQ(ven___IsInstanceOf(env, context.obj, string), JNI_TRUE);
    EXPECT_EQ(ven___IsInstanceOf(env, nullptr, string), JNI_TRUE);
    EXPECT_EQ(ven___IsSameObject(env, nullptr, nullptr), JNI_TRUE);
    EXPECT_EQ(ven___IsSameObject(env, context.obj, nullptr), JNI_FALSE);
    EXPECT_TRUE(env->IsSameObject(ven___GetObjectClass(env, context.obj), string));

    // A failing lookup leaves its own exception and drops the one pending before.
    jthrowable e1 = throwE1(env);
    EXPECT_EQ(ven___FindClass(env, "no/such/Class"), nullptr);
    ExpectPendingClass(env, "java.lang.NoClassDefFoundError");
    env->DeleteGlobalRef(e1);

    jobject builder = ven___NewObject(env, context.clazz, context.ctor, context.obj);
    jmethodID toString = env->GetMethodID(context.clazz, "toString", "()Ljava/lang/String;");
    jobject text = nullptr;
    ASSERT_EQ(ven___CallObjectMethod(&text, env, builder, toString), JNI_TRUE);
    EXPECT_EQ(utf8(env, static_cast<jstring>(text)), "text");
    jobject allocated = ven___AllocObject(env, findClass(env, "fixtures/Fields"));
    EXPECT_NE(allocated, nullptr);

    // A constructor that throws: NULL with its exception pending, E1 gone.
    jclass integer = findClass(env, "java/lang/Integer");
    jmethodID parse = env->GetMethodID(integer, "<init>", "(Ljava/lang/String;)V");
    jvalue notANumber;
    notANumber.l = context.obj;
    for (int form = 0; form < 3; ++form) {
        e1 = throwE1(env);
        jobject made = dummy<jobject>();
        if (form == 0) {
            made = ven___NewObjectA(env, integer, parse, &notANumber);
        } else if (form == 1) {
            withVaList([&](va_list l) { made = ven___NewObjectV(env, integer, parse, l); }, 0, context.obj);
        } else {
            made = ven___NewObject(env, integer, parse, context.obj);
        }
        EXPECT_EQ(made, nullptr);
        ExpectPendingClass(env, "java.lang.NumberFormatException");
        env->DeleteGlobalRef(e1);
    }
}

TEST_F(WrapperExceptions, References)
{
    jobject global = ven___NewGlobalRef(env, context.obj);
    EXPECT_TRUE(env->IsSameObject(global, context.obj));
    ven___DeleteGlobalRef(env, global);
    jweak weak = ven___NewWeakGlobalRef(env, context.obj);
    EXPECT_TRUE(env->IsSameObject(weak, context.obj));
    ven___DeleteWeakGlobalRef(env, weak);

    // ven___NewLocalRef(env, NULL) is NULL at once: no JNI call, a pending exception untouched.
    jthrowable e1 = throwE1(env);
    FaultEnv fault(env);
    EXPECT_EQ(ven___NewLocalRef(fault.env(), nullptr), nullptr);
    EXPECT_TRUE(fault.trail().empty());
    expectSamePending(env, e1);
}

// The jint status members: after a raised exception the caller sees JNI's non-zero status,
// or -1 where JNI returned 0.
struct StatusCase {
    const char* function;
    void (*raise)(FaultEnv&, jint status);
    jint (*call)(JNIEnv*, const Context&);
};

template <auto Member> void raiseWith(FaultEnv& fault, jint status)
{
    fault.raiseReturning<Member>("java/lang/OutOfMemoryError", "status", status);
}

const StatusCase kStatusCases[] = {
    {"ven___RegisterNatives", &raiseWith<&Jni::RegisterNatives>,
     [](JNIEnv* e, const Context& c) { return ven___RegisterNatives(e, c.natives, kAnswer, 1); }},
    {"ven___UnregisterNatives", &raiseWith<&Jni::UnregisterNatives>,
     [](JNIEnv* e, const Context& c) { return ven___UnregisterNatives(e, c.natives); }},
    {"ven___EnsureLocalCapacity", &raiseWith<&Jni::EnsureLocalCapacity>,
     [](JNIEnv* e, const Context&) { return ven___EnsureLocalCapacity(e, 4); }},
    {"ven___PushLocalFrame", &raiseWith<&Jni::PushLocalFrame>,
     [](JNIEnv* e, const Context&) { return ven___PushLocalFrame(e, 4); }},
};

TEST_F(WrapperExceptions, StatusAfterARaisedException)
{
    for (const StatusCase& status : kStatusCases) {
        SCOPED_TRACE(status.function);
        for (auto [returned, expected] : {std::pair{0, -1}, std::pair{-5, -5}, std::pair{3, 3}}) {
            FaultEnv fault(env);
            status.raise(fault, returned);
            jthrowable e1 = throwE1(env);
            EXPECT_EQ(status.call(fault.env(), context), expected);
            ExpectPending(env, "java.lang.OutOfMemoryError", "status");
            env->DeleteGlobalRef(e1);
        }
    }
}

TEST_F(WrapperExceptions, NativeRegistration)
{
    jmethodID call = env->GetStaticMethodID(context.natives, "callAnswer", "()I");
    ASSERT_EQ(ven___RegisterNatives(env, context.natives, kAnswer, 1), 0);
    EXPECT_EQ(env->CallStaticIntMethod(context.natives, call), 42);
    ASSERT_EQ(ven___UnregisterNatives(env, context.natives), 0);
    env->CallStaticIntMethod(context.natives, call);
    ExpectPendingClass(env, "java.lang.UnsatisfiedLinkError");

    // A registration JNI refuses: its status with its exception, and E1 is gone.
    jthrowable e1 = throwE1(env);
    EXPECT_LT(ven___RegisterNatives(env, context.natives, kMissing, 1), 0);
    ExpectPendingClass(env, "java.lang.NoSuchMethodError");
    env->DeleteGlobalRef(e1);
    EXPECT_EQ(ven___RegisterNatives(env, context.natives, kAnswer, 0), 0);
}

TEST_F(WrapperExceptions, LocalFrames)
{
    EXPECT_EQ(ven___EnsureLocalCapacity(env, 0), 0);
    ASSERT_EQ(ven___PushLocalFrame(env, 0), 0);
    jstring inner = env->NewStringUTF("kept");
    jobject outer = ven___PopLocalFrame(env, inner);
    EXPECT_EQ(utf8(env, static_cast<jstring>(outer)), "kept");
    ASSERT_EQ(ven___PushLocalFrame(env, 2), 0);
    EXPECT_EQ(ven___PopLocalFrame(env, nullptr), nullptr);
}

// The pending exception is a local reference of the frame being popped; it must be pending
// again after the pop, also when no global reference can be had to carry it.
TEST_F(WrapperExceptions, PopLocalFrameCarriesThePendingException)
{
    for (bool globalRefFails : {false, true}) {
        for (bool withResult : {true, false}) {
            SCOPED_TRACE(std::string(globalRefFails ? "no global reference" : "global reference") +
                         (withResult ? ", with a result" : ", without a result"));
            FaultEnv fault(env);
            if (globalRefFails) {
                fault.returnNull<&Jni::NewGlobalRef>();
            }
            ASSERT_EQ(ven___PushLocalFrame(env, 4), 0);
            jstring inner = withResult ? env->NewStringUTF("result") : nullptr;
            jthrowable local = makeThrowable(env, "java/lang/IllegalStateException", "E1");
            auto e1 = static_cast<jthrowable>(env->NewGlobalRef(local));
            env->Throw(local);
            env->DeleteLocalRef(local);

            jobject outer = ven___PopLocalFrame(fault.env(), inner);

            expectSamePending(env, e1);
            if (withResult) {
                EXPECT_EQ(utf8(env, static_cast<jstring>(outer)), "result");
            } else {
                EXPECT_EQ(outer, nullptr);
            }
            EXPECT_EQ(fault.calls<&Jni::NewGlobalRef>(), 1);
            EXPECT_EQ(fault.calls<&Jni::DeleteGlobalRef>(), globalRefFails ? 0 : 1);
        }
    }
}

TEST_F(WrapperExceptions, Monitors)
{
    ven___MonitorEnter(env, context.obj);
    ven___MonitorEnter(env, context.obj);
    ven___MonitorLeave(env, context.obj);
    ven___MonitorLeave(env, context.obj);
    // Leaving a monitor this thread does not own fails with a status and an exception.
    EXPECT_VEN_ABORT(ven___MonitorLeave(env, context.obj), kPath, 5113,
                     "(*env)->MonitorExit( env, obj ) == 0");
    ExpectPendingClass(env, "java.lang.IllegalMonitorStateException");
}

} // namespace
} // namespace ven::test::wrapper
