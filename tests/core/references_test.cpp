// Integration functions for classes, references, frames, natives, objects, monitors and
// the version: the out-parameter rules, the failure paths, and the plain forwards.
#include <functional>
#include <string>
#include <utility>

#include "core_test.hpp"

namespace
{

using namespace ven::core_test;

class References : public JvmTest
{
};

template <auto Member> void outOfMemory(FaultEnv& fault)
{
    fault.raiseOutOfMemory<Member>(FaultEnv::Calls::nth(1));
}

void missingClass(FaultEnv& fault)
{
    fault.override<&JNINativeInterface_::FindClass>(
        [](JNIEnv* real, const char*) { return real->FindClass("no/such/Class"); }, FaultEnv::Calls::nth(1));
}

// A local reference is stored before the one held is deleted; on failure NULL is stored and
// the one held deleted before the trace; only the result is left. Global references
// overwrite the out-parameter without releasing anything.
TEST_F(References, OutParameters)
{
    jclass objectClass = findClass(env, "java/lang/Object");
    jmethodID constructor = env->GetMethodID(objectClass, "<init>", "()V");
    jstring text = jstr(env, "x");
    const jchar unit = 'a';
    using Call = std::function<KS_BOOL(JNIEnv*, lgStream*, jobject*)>;
    const char* oom = "java.lang.OutOfMemoryError";
    const char* injected = "injected by FaultEnv";
    // clang-format off
    const struct { const char* name; Call call; void (*inject)(FaultEnv&); const char* exception; const char* message; bool global; } rows[] = {
        {"venFindClass", [](JNIEnv* e, lgStream* t, jobject* r) { return venFindClass(reinterpret_cast<jclass*>(r), e, t, "java/lang/Object"); },
         missingClass, "java.lang.NoClassDefFoundError", "no/such/Class", false},
        {"venAllocObject", [=](JNIEnv* e, lgStream* t, jobject* r) { return venAllocObject(r, e, t, objectClass); },
         outOfMemory<&JNINativeInterface_::AllocObject>, oom, injected, false},
        {"venNewObject", [=](JNIEnv* e, lgStream* t, jobject* r) { return venNewObject(r, e, t, objectClass, constructor); },
         outOfMemory<&JNINativeInterface_::NewObjectV>, oom, injected, false},
        {"venGetObjectClass", [=](JNIEnv* e, lgStream* t, jobject* r) { return venGetObjectClass(reinterpret_cast<jclass*>(r), e, t, text); },
         nullptr, nullptr, nullptr, false}, // the wrapper lets no failure through
        {"venNewString", [&](JNIEnv* e, lgStream* t, jobject* r) { return venNewString(reinterpret_cast<jstring*>(r), e, t, &unit, 1); },
         outOfMemory<&JNINativeInterface_::NewString>, oom, injected, false},
        {"venNewStringUTF", [](JNIEnv* e, lgStream* t, jobject* r) { return venNewStringUTF(reinterpret_cast<jstring*>(r), e, t, "a"); },
         outOfMemory<&JNINativeInterface_::NewStringUTF>, oom, injected, false},
        {"venNewGlobalRef", [=](JNIEnv* e, lgStream* t, jobject* r) { return venNewGlobalRef(r, e, t, text); },
         outOfMemory<&JNINativeInterface_::NewGlobalRef>, oom, injected, true},
        {"venNewWeakGlobalRef", [=](JNIEnv* e, lgStream* t, jobject* r) { return venNewWeakGlobalRef(r, e, t, text); },
         outOfMemory<&JNINativeInterface_::NewWeakGlobalRef>, oom, injected, true},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        TestFrame rowFrame(env);
        FaultEnv fault(env);
        Trace trace;
        jobject result = nullptr;
        std::vector<std::pair<jobject, jobject>> deletions; // what was deleted, what `result` held then
        fault.override<&JNINativeInterface_::DeleteLocalRef>([&](JNIEnv* real, jobject ref) {
            deletions.emplace_back(ref, result);
            real->DeleteLocalRef(ref);
        });
        ASSERT_EQ(row.call(fault.env(), trace.get(), &result), KS_TRUE);
        const jobject first = result;
        ASSERT_EQ(row.call(fault.env(), trace.get(), &result), KS_TRUE);
        EXPECT_NE(result, first);
        EXPECT_EQ(deletions, (row.global ? decltype(deletions){} : decltype(deletions){{first, result}}));
        EXPECT_EQ(fault.ledger().live(), row.global ? 0 : 1);
        EXPECT_TRUE(row.global || fault.ledger().isLive(result));
        const jobject second = result;
        if (row.inject != nullptr) {
            row.inject(fault);
            EXPECT_EQ(row.call(fault.env(), trace.get(), &result), KS_FALSE);
            EXPECT_EQ(result, nullptr);
            EXPECT_TRUE(row.global || (deletions.size() > 1 && deletions[1].first == second));
            EXPECT_EQ(trace.lines(),
                      Lines{std::string("[") + row.name + "()] Exception: " + row.exception + ": " + row.message});
            EXPECT_TRUE(trace.notable());
            ExpectPending(env, row.exception, row.message);
        }
        EXPECT_EQ(fault.calls<&JNINativeInterface_::DeleteGlobalRef>() +
                      fault.calls<&JNINativeInterface_::DeleteWeakGlobalRef>(),
                  0);
        for (jobject ref : {first, second}) {
            if (row.global) {
                env->GetObjectRefType(ref) == JNIWeakGlobalRefType ? env->DeleteWeakGlobalRef(ref)
                                                                   : env->DeleteGlobalRef(ref);
            }
        }
    }
}

// Capacity and natives: a refused capacity is KS_FALSE alone, untraced; a refused
// registration is traced.
TEST_F(References, CapacityFramesAndNatives)
{
    EXPECT_TRUE(venEnsureLocalCapacity(env, nullptr, 0) && venEnsureLocalCapacity(env, nullptr, 16));
    ASSERT_EQ(venPushLocalFrame(env, nullptr, 4), KS_TRUE);
    EXPECT_EQ(utf8(env, static_cast<jstring>(venPopLocalFrame(env, jstr(env, "kept")))), "kept");
    jclass fixture = findClass(env, "fixtures/Methods");
    EXPECT_EQ(venUnregisterNatives(env, nullptr, fixture), KS_TRUE);
    FaultEnv fault(env);
    fault.raiseReturning<&JNINativeInterface_::EnsureLocalCapacity>("java/lang/OutOfMemoryError", "no room", -1);
    fault.raiseReturning<&JNINativeInterface_::PushLocalFrame>("java/lang/OutOfMemoryError", "no room", -1);
    fault.raiseReturning<&JNINativeInterface_::UnregisterNatives>("java/lang/IllegalStateException", "refused", -1);
    Trace trace;
    for (auto call : {venEnsureLocalCapacity, venPushLocalFrame}) {
        EXPECT_EQ(call(fault.env(), trace.get(), 8), KS_FALSE);
        ExpectPending(env, "java.lang.OutOfMemoryError", "no room");
    }
    EXPECT_TRUE(trace.lines().empty() && !trace.notable());
    EXPECT_EQ(venUnregisterNatives(fault.env(), trace.get(), fixture), KS_FALSE);
    EXPECT_EQ(trace.lines(), Lines{"[venUnregisterNatives()] Exception: java.lang.IllegalStateException: refused"});
    ExpectPending(env, "java.lang.IllegalStateException", "refused");
}

// The instance test (NULL is an instance of everything), identity, monitors, the exception
// state, and deletions that skip NULL.
TEST_F(References, PlainOperations)
{
    jclass objectClass = findClass(env, "java/lang/Object");
    jclass integerClass = findClass(env, "java/lang/Integer");
    jobject text = jstr(env, "x");
    KS_BOOL answers[3] = {0x55, 0x55, 0x55};
    EXPECT_TRUE(venIsInstanceOf(&answers[0], env, nullptr, text, objectClass) &&
                venIsInstanceOf(&answers[1], env, nullptr, text, integerClass) &&
                venIsInstanceOf(&answers[2], env, nullptr, nullptr, integerClass));
    EXPECT_EQ(std::vector<KS_BOOL>(answers, answers + 3), (std::vector<KS_BOOL>{KS_TRUE, KS_FALSE, KS_TRUE}));
    jobject copy = venNewLocalRef(env, text);
    EXPECT_TRUE(copy != text && venIsSameObject(env, copy, text) == KS_TRUE);
    EXPECT_TRUE(venIsSameObject(env, text, integerClass) == KS_FALSE && venIsSameObject(env, nullptr, nullptr));
    EXPECT_TRUE(venMonitorEnter(env, nullptr, text) && venMonitorLeave(env, nullptr, text));

    EXPECT_TRUE(venExceptionCheck(env) == KS_FALSE && venExceptionOccurred(env) == nullptr);
    jthrowable thrown = makeThrowable(env, "java/lang/IllegalStateException", "x");
    env->Throw(thrown);
    EXPECT_EQ(venExceptionCheck(env), KS_TRUE);
    EXPECT_TRUE(env->IsSameObject(venExceptionOccurred(env), thrown));
    venExceptionClear(env);
    ExpectNoPending(env);

    FaultEnv fault(env);
    venDeleteLocalRef(fault.env(), nullptr);
    venDeleteGlobalRef(fault.env(), nullptr);
    venDeleteWeakGlobalRef(fault.env(), nullptr);
    EXPECT_TRUE(fault.trail().empty());
    venDeleteLocalRef(fault.env(), copy);
    EXPECT_EQ(fault.trail(), Lines{"DeleteLocalRef"});
}

// A negative version is written with its value; a fatal error writes its line first, and
// a NULL message is refused by the wrapper after the line.
TEST_F(References, VersionAndFatalError)
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
    fault.override<&JNINativeInterface_::FatalError>([&](JNIEnv*, const char* msg) { messages.emplace_back(msg); });
    venFatalError(fault.env(), fatal.get(), "broken", "caller");
    venFatalError(fault.env(), fatal.get(), "unnamed", nullptr);
    EXPECT_EQ(messages, (Lines{"broken", "unnamed"}));
    EXPECT_VEN_ABORT(venFatalError(fault.env(), fatal.get(), nullptr, "caller"), "source/ven/ven_wrapper", 121, "msg");
    EXPECT_EQ(fatal.lines(), (Lines{"[caller()]: venFatalError : broken", "[venFatalError()]: venFatalError : unnamed",
                                    "[caller()]: venFatalError : NULL"}));
    EXPECT_TRUE(fatal.notable());
}

} // namespace
