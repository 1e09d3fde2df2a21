// Integration functions for classes, references, frames, natives, objects, monitors and
// the version: the out-parameter rules (a new local reference stored before the old one
// is deleted; NULL and deletion on failure; global references stored without release),
// the failure paths with their trace, and the functions without the convention.
#include <functional>
#include <string>
#include <vector>

#include "core_test.hpp"

namespace
{

using namespace ven::core_test;

class References : public JvmTest
{
};

// One function of the local-reference pattern, called on the fake env with `result`.
struct LocalRefFunction {
    const char* name;
    std::function<KS_BOOL(JNIEnv*, lgStream*, jobject*)> call;
    void (*inject)(FaultEnv&); // makes the JNI operation fail with OutOfMemoryError
};

std::vector<LocalRefFunction> localRefFunctions(JNIEnv* env)
{
    jclass objectClass = ven::test::findClass(env, "java/lang/Object");
    jmethodID constructor = env->GetMethodID(objectClass, "<init>", "()V");
    jstring text = ven::test::jstr(env, "x");
    return {
        {"venFindClass",
         [](JNIEnv* e, lgStream* t, jobject* r) {
             return venFindClass(reinterpret_cast<jclass*>(r), e, t, "java/lang/Object");
         },
         // Only the class asked for fails: the trace looks classes up through the same env.
         [](FaultEnv& f) {
             f.override<&JNINativeInterface_::FindClass>([](JNIEnv* real, const char* name) -> jclass {
                 if (std::string(name) != "java/lang/Object") {
                     return real->FindClass(name);
                 }
                 real->ThrowNew(real->FindClass("java/lang/OutOfMemoryError"), "injected by FaultEnv");
                 return nullptr;
             });
         }},
        {"venAllocObject",
         [=](JNIEnv* e, lgStream* t, jobject* r) { return venAllocObject(r, e, t, objectClass); },
         [](FaultEnv& f) { f.raiseOutOfMemory<&JNINativeInterface_::AllocObject>(); }},
        {"venNewObject",
         [=](JNIEnv* e, lgStream* t, jobject* r) { return venNewObject(r, e, t, objectClass, constructor); },
         [](FaultEnv& f) { f.raiseOutOfMemory<&JNINativeInterface_::NewObjectV>(); }},
        {"venGetObjectClass",
         [=](JNIEnv* e, lgStream* t, jobject* r) {
             return venGetObjectClass(reinterpret_cast<jclass*>(r), e, t, text);
         },
         nullptr}, // the wrapper lets no failure of GetObjectClass through
        {"venNewString",
         [](JNIEnv* e, lgStream* t, jobject* r) {
             const jchar u = 'a';
             return venNewString(reinterpret_cast<jstring*>(r), e, t, &u, 1);
         },
         [](FaultEnv& f) { f.raiseOutOfMemory<&JNINativeInterface_::NewString>(); }},
        {"venNewStringUTF",
         [](JNIEnv* e, lgStream* t, jobject* r) {
             return venNewStringUTF(reinterpret_cast<jstring*>(r), e, t, "a");
         },
         [](FaultEnv& f) { f.raiseOutOfMemory<&JNINativeInterface_::NewStringUTF>(); }},
    };
}

TEST_F(References, NewReferenceIsStoredBeforeTheOldIsDeleted)
{
    for (const LocalRefFunction& function : localRefFunctions(env)) {
        SCOPED_TRACE(function.name);
        ven::test::TestFrame rowFrame(env);
        FaultEnv fault(env);
        jobject result = nullptr;
        ASSERT_EQ(function.call(fault.env(), nullptr, &result), KS_TRUE);
        const jobject first = result;
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(fault.ledger().nullDeletes(), 0) << "a NULL reference reached DeleteLocalRef";

        std::vector<jobject> heldAtDeletion;
        fault.override<&JNINativeInterface_::DeleteLocalRef>([&](JNIEnv* real, jobject ref) {
            heldAtDeletion.push_back(result);
            EXPECT_EQ(ref, first);
            real->DeleteLocalRef(ref);
        });
        ASSERT_EQ(function.call(fault.env(), nullptr, &result), KS_TRUE);
        ASSERT_EQ(heldAtDeletion.size(), 1u);
        EXPECT_NE(heldAtDeletion[0], first) << "the old reference was deleted before the new one was stored";
        EXPECT_EQ(heldAtDeletion[0], result);
        EXPECT_EQ(fault.ledger().live(), 1);
        EXPECT_TRUE(fault.ledger().isLive(result));
    }
}

TEST_F(References, FailureStoresNullDeletesTheOldAndTraces)
{
    for (const LocalRefFunction& function : localRefFunctions(env)) {
        if (function.inject == nullptr) {
            continue;
        }
        SCOPED_TRACE(function.name);
        ven::test::TestFrame rowFrame(env);
        FaultEnv fault(env);
        Trace trace;
        jobject result = nullptr;
        ASSERT_EQ(function.call(fault.env(), trace.get(), &result), KS_TRUE);
        const jobject old = result;
        function.inject(fault);
        auto deleted = ven::core_test::recordDeletions(fault);
        EXPECT_EQ(function.call(fault.env(), trace.get(), &result), KS_FALSE);
        EXPECT_EQ(result, nullptr);
        ASSERT_FALSE(deleted->empty());
        EXPECT_EQ(deleted->front(), old) << "the old reference goes first, before the trace";
        EXPECT_EQ(trace.lines(), Lines{std::string("[") + function.name +
                                       "()] Exception: java.lang.OutOfMemoryError: injected by FaultEnv"});
        EXPECT_TRUE(trace.notable());
        ExpectPending(env, "java.lang.OutOfMemoryError", "injected by FaultEnv");
    }
}

TEST_F(References, FindClassOfAMissingClass)
{
    Trace trace;
    jclass result = nullptr;
    ASSERT_EQ(venFindClass(&result, env, trace.get(), "java/lang/String"), KS_TRUE);
    const jclass old = result;
    FaultEnv fault(env);
    auto deleted = ven::core_test::recordDeletions(fault);
    EXPECT_EQ(venFindClass(&result, fault.env(), trace.get(), "no/such/Class"), KS_FALSE);
    EXPECT_EQ(result, nullptr);
    ASSERT_FALSE(deleted->empty());
    EXPECT_EQ(deleted->front(), old);
    ASSERT_EQ(trace.lines().size(), 1u);
    EXPECT_EQ(trace.lines()[0].rfind(
                  "[venFindClass()] Exception: java.lang.NoClassDefFoundError: no/such/Class", 0),
              0u)
        << trace.lines()[0];
    EXPECT_TRUE(trace.notable());
    ExpectPendingClass(env, "java.lang.NoClassDefFoundError");
}

TEST_F(References, GlobalReferencesOverwriteWithoutRelease)
{
    jstring text = ven::test::jstr(env, "x");
    const struct {
        const char* name;
        KS_BOOL (*call)(jobject*, JNIEnv*, lgStream*, jobject);
        void (*destroy)(JNIEnv*, jobject);
        void (*inject)(FaultEnv&);
    } rows[] = {
        {"venNewGlobalRef", venNewGlobalRef, venDeleteGlobalRef,
         [](FaultEnv& f) { f.raiseOutOfMemory<&JNINativeInterface_::NewGlobalRef>(); }},
        {"venNewWeakGlobalRef", venNewWeakGlobalRef, venDeleteWeakGlobalRef,
         [](FaultEnv& f) { f.raiseOutOfMemory<&JNINativeInterface_::NewWeakGlobalRef>(); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        FaultEnv fault(env);
        Trace trace;
        jobject first = nullptr;
        ASSERT_EQ(row.call(&first, fault.env(), trace.get(), text), KS_TRUE);
        jobject second = first;
        ASSERT_EQ(row.call(&second, fault.env(), trace.get(), text), KS_TRUE);
        EXPECT_NE(second, first);
        EXPECT_TRUE(env->IsSameObject(second, text));
        EXPECT_EQ(fault.calls<&JNINativeInterface_::DeleteGlobalRef>() +
                      fault.calls<&JNINativeInterface_::DeleteWeakGlobalRef>(),
                  0);
        jobject failed = second;
        row.inject(fault);
        EXPECT_EQ(row.call(&failed, fault.env(), trace.get(), text), KS_FALSE);
        EXPECT_EQ(failed, nullptr);
        EXPECT_EQ(trace.lines(), Lines{std::string("[") + row.name +
                                       "()] Exception: java.lang.OutOfMemoryError: injected by FaultEnv"});
        ExpectPending(env, "java.lang.OutOfMemoryError", "injected by FaultEnv");
        row.destroy(env, first);
        row.destroy(env, second);
    }
}

TEST_F(References, CapacityAndFrames)
{
    Trace trace;
    EXPECT_EQ(venEnsureLocalCapacity(env, trace.get(), 0), KS_TRUE);
    EXPECT_EQ(venEnsureLocalCapacity(env, trace.get(), 16), KS_TRUE);
    ASSERT_EQ(venPushLocalFrame(env, trace.get(), 4), KS_TRUE);
    jobject inner = ven::test::jstr(env, "kept");
    jobject outer = venPopLocalFrame(env, inner);
    ASSERT_NE(outer, nullptr);
    EXPECT_EQ(ven::test::utf8(env, static_cast<jstring>(outer)), "kept");
}

TEST_F(References, RefusedCapacityIsNotTraced)
{
    const struct {
        const char* name;
        KS_BOOL (*call)(JNIEnv*, lgStream*, jint);
        void (*inject)(FaultEnv&);
    } rows[] = {
        {"venEnsureLocalCapacity", venEnsureLocalCapacity,
         [](FaultEnv& f) {
             f.raiseReturning<&JNINativeInterface_::EnsureLocalCapacity>("java/lang/OutOfMemoryError",
                                                                         "no room", -1);
         }},
        {"venPushLocalFrame", venPushLocalFrame,
         [](FaultEnv& f) {
             f.raiseReturning<&JNINativeInterface_::PushLocalFrame>("java/lang/OutOfMemoryError", "no room",
                                                                    -1);
         }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        FaultEnv fault(env);
        row.inject(fault);
        Trace trace;
        EXPECT_EQ(row.call(fault.env(), trace.get(), 8), KS_FALSE);
        EXPECT_EQ(trace.lines(), Lines{});
        EXPECT_FALSE(trace.notable());
        ExpectPending(env, "java.lang.OutOfMemoryError", "no room");
    }
}

TEST_F(References, NativeRegistration)
{
    Trace trace;
    jclass fixture = ven::test::findClass(env, "fixtures/Methods");
    EXPECT_EQ(venUnregisterNatives(env, trace.get(), fixture), KS_TRUE);
    // No native method of that name: JNI raises NoSuchMethodError, an Error, so it is traced.
    JNINativeMethod missing = {const_cast<char*>("noSuchNative"), const_cast<char*>("()V"),
                               reinterpret_cast<void*>(+[] {})};
    EXPECT_EQ(venRegisterNatives(env, trace.get(), fixture, &missing, 1), KS_FALSE);
    ASSERT_EQ(trace.lines().size(), 1u);
    EXPECT_EQ(trace.lines()[0].rfind("[venRegisterNatives()] Exception: java.lang.NoSuchMethodError", 0), 0u)
        << trace.lines()[0];
    ExpectPendingClass(env, "java.lang.NoSuchMethodError");

    FaultEnv fault(env);
    fault.raiseReturning<&JNINativeInterface_::UnregisterNatives>("java/lang/IllegalStateException",
                                                                  "refused", -1);
    EXPECT_EQ(venUnregisterNatives(fault.env(), trace.get(), fixture), KS_FALSE);
    EXPECT_EQ(trace.lines().back(),
              "[venUnregisterNatives()] Exception: java.lang.IllegalStateException: refused");
    ExpectPending(env, "java.lang.IllegalStateException", "refused");
}

TEST_F(References, InstanceTestAndIdentity)
{
    jclass objectClass = ven::test::findClass(env, "java/lang/Object");
    jclass integerClass = ven::test::findClass(env, "java/lang/Integer");
    jstring text = ven::test::jstr(env, "x");
    const struct {
        jobject obj;
        jclass clazz;
        KS_BOOL expected;
    } rows[] = {
        {text, objectClass, KS_TRUE}, {text, integerClass, KS_FALSE}, {nullptr, integerClass, KS_TRUE}};
    for (const auto& row : rows) {
        KS_BOOL answer = 0x55;
        EXPECT_EQ(venIsInstanceOf(&answer, env, nullptr, row.obj, row.clazz), KS_TRUE);
        EXPECT_EQ(answer, row.expected);
    }
    EXPECT_EQ(venIsSameObject(env, text, text), KS_TRUE);
    EXPECT_EQ(venIsSameObject(env, text, objectClass), KS_FALSE);
    EXPECT_EQ(venIsSameObject(env, nullptr, nullptr), KS_TRUE);
    jobject copy = venNewLocalRef(env, text);
    EXPECT_NE(copy, text);
    EXPECT_EQ(venIsSameObject(env, copy, text), KS_TRUE);
    EXPECT_EQ(venNewLocalRef(env, nullptr), nullptr);
}

TEST_F(References, MonitorsAndExceptionState)
{
    jstring lock = ven::test::jstr(env, "lock");
    EXPECT_EQ(venMonitorEnter(env, nullptr, lock), KS_TRUE);
    EXPECT_EQ(venMonitorLeave(env, nullptr, lock), KS_TRUE);

    EXPECT_EQ(venExceptionCheck(env), KS_FALSE);
    EXPECT_EQ(venExceptionOccurred(env), nullptr);
    jthrowable thrown = ven::test::makeThrowable(env, "java/lang/IllegalStateException", "x");
    env->Throw(thrown);
    EXPECT_EQ(venExceptionCheck(env), KS_TRUE);
    jthrowable occurred = venExceptionOccurred(env);
    EXPECT_TRUE(env->IsSameObject(occurred, thrown));
    venExceptionClear(env);
    ExpectNoPending(env);
}

TEST_F(References, DeletionsSkipNull)
{
    FaultEnv fault(env);
    venDeleteLocalRef(fault.env(), nullptr);
    venDeleteGlobalRef(fault.env(), nullptr);
    venDeleteWeakGlobalRef(fault.env(), nullptr);
    EXPECT_TRUE(fault.trail().empty());
    jobject local = ven::test::jstr(env, "x");
    venDeleteLocalRef(fault.env(), local);
    EXPECT_EQ(fault.calls<&JNINativeInterface_::DeleteLocalRef>(), 1);
}

TEST_F(References, ThrowTracesUncheckedUnderTheCallersName)
{
    const struct {
        const char* className;
        const char* methodName;
        Lines lines;
    } rows[] = {
        {"java/lang/IllegalStateException",
         "caller",
         {"[caller()] Exception: java.lang.IllegalStateException: t"}},
        {"java/io/IOException", "caller", {}},
        {"java/lang/IllegalStateException", nullptr, {"[venTraceException()] methodName: NULL"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.className);
        Trace trace;
        jthrowable throwable = ven::test::makeThrowable(env, row.className, "t");
        EXPECT_EQ(venThrow(env, trace.get(), throwable, row.methodName), KS_TRUE);
        EXPECT_EQ(trace.lines(), row.lines);
        jthrowable pending = env->ExceptionOccurred();
        env->ExceptionClear();
        EXPECT_TRUE(env->IsSameObject(pending, throwable));
    }
}

TEST_F(References, Version)
{
    Trace trace;
    KS_INT version = 0;
    EXPECT_EQ(venGetVersion(&version, env, trace.get()), KS_TRUE);
    EXPECT_GE(version, JNI_VERSION_1_8);
    EXPECT_EQ(trace.lines(), Lines{});

    FaultEnv fault(env);
    fault.returnValue<&JNINativeInterface_::GetVersion>(-3);
    EXPECT_EQ(venGetVersion(&version, fault.env(), trace.get()), KS_FALSE);
    EXPECT_EQ(version, -3);
    EXPECT_EQ(trace.lines(), Lines{"[venGetVersion()] error occured: -3"});
    EXPECT_TRUE(trace.notable());
    EXPECT_EQ(venGetVersion(&version, fault.env(), nullptr), KS_FALSE);
    ExpectNoPending(env);
}

TEST_F(References, FatalErrorWritesItsLineFirst)
{
    FaultEnv fault(env);
    std::vector<std::string> messages;
    // The real FatalError ends the process; this one only records.
    fault.override<&JNINativeInterface_::FatalError>(
        [&](JNIEnv*, const char* msg) { messages.emplace_back(msg); });
    Trace trace;
    venFatalError(fault.env(), trace.get(), "broken", "caller");
    venFatalError(fault.env(), trace.get(), "unnamed", nullptr);
    EXPECT_EQ(messages, (std::vector<std::string>{"broken", "unnamed"}));
    EXPECT_EQ(trace.lines(),
              (Lines{"[caller()]: venFatalError : broken", "[venFatalError()]: venFatalError : unnamed"}));
    EXPECT_TRUE(trace.notable());
    // A NULL message is refused by the wrapper, after the line.
    EXPECT_VEN_ABORT(venFatalError(fault.env(), trace.get(), nullptr, "caller"), "source/ven/ven_wrapper",
                     121, "msg");
    EXPECT_EQ(trace.lines().back(), "[caller()]: venFatalError : NULL");
}

} // namespace
