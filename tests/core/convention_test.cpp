// The integration convention: argument failures of every function of the core, the
// out-parameter rules, and the functions for references, frames, natives and the version.
#include <functional>
#include <string>
#include <utility>

#include "core_test.hpp"

namespace
{

using namespace ven::core_test;

using Convention = JvmTest;

jchar gUnits[2] = {'a', 'b'};
char gBytes[2] = "a";
JNINativeMethod gMethod = {const_cast<char*>("nothing"), const_cast<char*>("()V"), nullptr};

// Valid arguments for everything a row does not make bad; the same fields serve as
// out-parameters, so a failure must leave the whole of it as it was.
struct Args {
    bool operator==(const Args&) const = default;
    jclass clazz;
    jstring string;
    jobject object;
    jweak weak;
    jthrowable throwable;
    jmethodID constructor;
    ksString* text;
    KS_INT integer = 0x5A5A;
    KS_BOOL flag = 0x33;
    KS_BOOL isCopy = 0x44;
    const jchar* chars = gUnits;
    const char* utf = gBytes;
};

// One row per condition, in order: "<function>: <condition>" (the first failing one wins).
struct ArgumentCase {
    const char* message;
    KS_BOOL (*call)(JNIEnv*, lgStream*, Args&);
};
// clang-format off
#define ARG(message, ...) ArgumentCase{message, [](JNIEnv* e, lgStream* t, [[maybe_unused]] Args& a) { return __VA_ARGS__; }}
const ArgumentCase kCases[] = {
    // Class lookup, throwing, version.
    ARG("venFindClass: result != NULL", venFindClass(nullptr, e, t, "java/lang/String")),
    ARG("venFindClass: name != NULL", venFindClass(&a.clazz, e, t, nullptr)),
    ARG("venFindClass: result != NULL", venFindClass(nullptr, e, t, nullptr)),
    ARG("venThrowNew: clazz != NULL", venThrowNew(e, t, nullptr, "m", "caller")),
    ARG("venThrowNew: message != NULL", venThrowNew(e, t, a.clazz, nullptr, "caller")),
    ARG("venThrowNew: clazz != NULL", venThrowNew(e, t, nullptr, nullptr, "caller")),
    ARG("venGetVersion: result != NULL", venGetVersion(nullptr, e, t)),
    ARG("venThrow: throwable != NULL", venThrow(e, t, nullptr, "caller")),
    // References, frames, natives.
    ARG("venNewGlobalRef: result != NULL", venNewGlobalRef(nullptr, e, t, a.string)),
    ARG("venNewGlobalRef: obj != NULL", venNewGlobalRef(&a.object, e, t, nullptr)),
    ARG("venNewWeakGlobalRef: result != NULL", venNewWeakGlobalRef(nullptr, e, t, a.string)),
    ARG("venNewWeakGlobalRef: obj != NULL", venNewWeakGlobalRef(&a.weak, e, t, nullptr)),
    ARG("venEnsureLocalCapacity: capacity >= 0", venEnsureLocalCapacity(e, t, -1)),
    ARG("venPushLocalFrame: capacity >= 0", venPushLocalFrame(e, t, -1)),
    ARG("venRegisterNatives: clazz != NULL", venRegisterNatives(e, t, nullptr, &gMethod, 1)),
    ARG("venRegisterNatives: methods != NULL", venRegisterNatives(e, t, a.clazz, nullptr, 1)),
    ARG("venRegisterNatives: nMethods >= 0", venRegisterNatives(e, t, a.clazz, &gMethod, -1)),
    ARG("venRegisterNatives: methods != NULL", venRegisterNatives(e, t, a.clazz, nullptr, -1)),
    ARG("venUnregisterNatives: clazz != NULL", venUnregisterNatives(e, t, nullptr)),
    // Objects, instance test, monitors.
    ARG("venAllocObject: result != NULL", venAllocObject(nullptr, e, t, a.clazz)),
    ARG("venAllocObject: clazz != NULL", venAllocObject(&a.object, e, t, nullptr)),
    ARG("venNewObject: result != NULL", venNewObject(nullptr, e, t, a.clazz, a.constructor)),
    ARG("venNewObject: clazz != NULL", venNewObject(&a.object, e, t, nullptr, a.constructor)),
    ARG("venNewObject: methodID != NULL", venNewObject(&a.object, e, t, a.clazz, nullptr)),
    ARG("venGetObjectClass: result != NULL", venGetObjectClass(nullptr, e, t, a.string)),
    ARG("venGetObjectClass: obj != NULL", venGetObjectClass(&a.clazz, e, t, nullptr)),
    ARG("venIsInstanceOf: result != NULL", venIsInstanceOf(nullptr, e, t, a.string, a.clazz)),
    ARG("venIsInstanceOf: clazz != NULL", venIsInstanceOf(&a.flag, e, t, a.string, nullptr)),
    ARG("venMonitorEnter: obj != NULL", venMonitorEnter(e, t, nullptr)),
    ARG("venMonitorLeave: obj != NULL", venMonitorLeave(e, t, nullptr)),
    // Strings: creation.
    ARG("venNewString: result != NULL", venNewString(nullptr, e, t, a.chars, 1)),
    ARG("venNewString: unicodeChars != NULL || len == 0", venNewString(&a.string, e, t, nullptr, 1)),
    ARG("venNewString: unicodeChars != NULL || len == 0", venNewString(&a.string, e, t, nullptr, -1)),
    ARG("venNewString: len >= 0", venNewString(&a.string, e, t, a.chars, -1)),
    ARG("venNewString: VEN_KS_INT_TO_JSIZE_CONV_OK( len )", venNewString(&a.string, e, t, a.chars, 2147483648LL)),
    ARG("venNewStringUTF: result != NULL", venNewStringUTF(nullptr, e, t, a.utf)),
    ARG("venNewStringUTF: bytes != NULL", venNewStringUTF(&a.string, e, t, nullptr)),
    // Strings: lengths and pinning.
    ARG("venGetStringLength: result != NULL", venGetStringLength(nullptr, e, t, a.string)),
    ARG("venGetStringLength: string != NULL", venGetStringLength(&a.integer, e, t, nullptr)),
    ARG("venGetStringUTFLength: result != NULL", venGetStringUTFLength(nullptr, e, t, a.string)),
    ARG("venGetStringUTFLength: string != NULL", venGetStringUTFLength(&a.integer, e, t, nullptr)),
    ARG("venGetStringChars: result != NULL", venGetStringChars(nullptr, e, t, a.string, &a.isCopy)),
    ARG("venGetStringChars: string != NULL", venGetStringChars(&a.chars, e, t, nullptr, &a.isCopy)),
    ARG("venGetStringUTFChars: result != NULL", venGetStringUTFChars(nullptr, e, t, a.string, &a.isCopy)),
    ARG("venGetStringUTFChars: string != NULL", venGetStringUTFChars(&a.utf, e, t, nullptr, &a.isCopy)),
    ARG("venGetStringCritical: result != NULL", venGetStringCritical(nullptr, e, t, a.string, &a.isCopy)),
    ARG("venGetStringCritical: string != NULL", venGetStringCritical(&a.chars, e, t, nullptr, &a.isCopy)),
    // Strings: release (a NULL pointer does not excuse a NULL string) and regions.
    ARG("venReleaseStringChars: string != NULL", venReleaseStringChars(e, t, nullptr, nullptr)),
    ARG("venReleaseStringUTFChars: string != NULL", venReleaseStringUTFChars(e, t, nullptr, nullptr)),
    ARG("venReleaseStringCritical: string != NULL", venReleaseStringCritical(e, t, nullptr, nullptr)),
    ARG("venGetStringRegion: str != NULL", venGetStringRegion(e, t, nullptr, 0, 1, gUnits)),
    ARG("venGetStringRegion: buf != NULL", venGetStringRegion(e, t, a.string, 0, 1, nullptr)),
    ARG("venGetStringUTFRegion: str != NULL", venGetStringUTFRegion(e, t, nullptr, 0, 1, nullptr)),
    ARG("venGetStringUTFRegion: buf != NULL", venGetStringUTFRegion(e, t, a.string, 0, 1, nullptr)),
    // The String unit.
    ARG("venStringGetClass: result != ((void *)0)", venStringGetClass(nullptr, e, t)),
    ARG("venIsInstanceOf: result != NULL", venStringIsInstance(nullptr, e, t, a.string)),
    ARG("venStringToKsString: result != ((void *)0)", venStringToKsString(nullptr, e, t, a.string)),
    ARG("venStringFromKsString: result != ((void *)0)", venStringFromKsString(nullptr, e, t, a.text)),
    // Throwable units: lookups report under venFindClass, instance tests under
    // venIsInstanceOf, C-string throws under venThrowNew, ksString throws their own name.
    ARG("venFindClass: result != NULL", venIOExceptionGetClass(nullptr, e, t)),
    ARG("venFindClass: result != NULL", venErrorGetClass(nullptr, e, t)),
    ARG("venIsInstanceOf: result != NULL", venRuntimeExceptionIsInstance(nullptr, e, t, a.throwable)),
    ARG("venThrowNew: message != NULL", venIllegalStateExceptionThrowUseMessageCstr(e, t, "caller", nullptr)),
    ARG("venThrowNew: message != NULL", venErrorThrowUseMessage(e, t, nullptr, "caller")),
    ARG("venThrowNew: message != NULL", venRuntimeExceptionThrowUseMessage(e, t, nullptr, "caller")),
    ARG("venIOExceptionThrowUseMessage: msg != ((void *)0)", venIOExceptionThrowUseMessage(e, t, "caller", nullptr)),
    ARG("venAssertionErrorThrowUseMessage: msg != ((void *)0)", venAssertionErrorThrowUseMessage(e, t, "caller", nullptr)),
    ARG("venIllegalArgumentExceptionThrowUseMessage: msg != ((void *)0)", venIllegalArgumentExceptionThrowUseMessage(e, t, "caller", nullptr)),
    ARG("venIllegalStateExceptionThrowUseMessage: msg != ((void *)0)", venIllegalStateExceptionThrowUseMessage(e, t, "caller", nullptr)),
};
// clang-format on

// With a stream: the line and the notable flag; without: the same exception and nothing
// else. With an exception already pending, the new one replaces it.
TEST_F(Convention, ArgumentFailures)
{
    KsRef<ksString> text(ksStringCreateFromCstr("text", -1));
    jclass clazz = findClass(env, "java/lang/Object");
    jstring string = jstr(env, "text");
    jthrowable throwable = makeThrowable(env, "java/lang/IllegalStateException", "valid");
    const Args valid{clazz, string, string, string, throwable, env->GetMethodID(clazz, "<init>", "()V"),
                     text};
    for (const ArgumentCase& row : kCases) {
        SCOPED_TRACE(row.message);
        const std::string message = row.message;
        for (bool withStream : {true, false}) {
            TestFrame rowFrame(env);
            Trace trace;
            Args args = valid;
            EXPECT_EQ(row.call(env, withStream ? trace.get() : nullptr, args), KS_FALSE);
            EXPECT_TRUE(args == valid) << "an out-parameter was touched";
            if (withStream) {
                EXPECT_EQ(trace.lines(),
                          Lines{"[" + message.substr(0, message.find(':')) +
                                "()] Exception: java.lang.IllegalArgumentException: " + message});
                EXPECT_TRUE(trace.notable());
            }
            ExpectPending(env, "java.lang.IllegalArgumentException", row.message);
        }
    }
    Args args = valid;
    env->Throw(makeThrowable(env, "java/io/IOException", "earlier"));
    {
        ExpectJniWarning warning(kExceptionPendingWarning,
                                 "an argument failure throws through ThrowNew while "
                                 "the caller's exception is pending");
        EXPECT_EQ(venNewString(&args.string, env, nullptr, gUnits, -1), KS_FALSE);
    }
    EXPECT_TRUE(args == valid);
    ExpectPending(env, "java.lang.IllegalArgumentException", "venNewString: len >= 0");
}

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
TEST_F(Convention, OutParameters)
{
    jclass objectClass = findClass(env, "java/lang/Object");
    jmethodID constructor = env->GetMethodID(objectClass, "<init>", "()V");
    jstring text = jstr(env, "x");
    const jchar unit = 'a';
    using Call = std::function<KS_BOOL(JNIEnv*, lgStream*, jobject*)>;
    // clang-format off
    const struct { const char* name; Call call; void (*inject)(FaultEnv&); const char* exception; const char* message; void (*destroy)(JNIEnv*, jobject); } rows[] = {
        {"venFindClass", [](JNIEnv* e, lgStream* t, jobject* r) { return venFindClass((jclass*)r, e, t, "java/lang/Object"); }, missingClass, "java.lang.NoClassDefFoundError", "no/such/Class", nullptr},
        {"venAllocObject", [=](JNIEnv* e, lgStream* t, jobject* r) { return venAllocObject(r, e, t, objectClass); }, outOfMemory<&JNINativeInterface_::AllocObject>, "java.lang.OutOfMemoryError", "injected by FaultEnv", nullptr},
        {"venNewObject", [=](JNIEnv* e, lgStream* t, jobject* r) { return venNewObject(r, e, t, objectClass, constructor); }, outOfMemory<&JNINativeInterface_::NewObjectV>, "java.lang.OutOfMemoryError", "injected by FaultEnv", nullptr},
        {"venGetObjectClass", [=](JNIEnv* e, lgStream* t, jobject* r) { return venGetObjectClass((jclass*)r, e, t, text); }, nullptr, nullptr, nullptr, nullptr}, // the wrapper lets no failure through
        {"venNewString", [&](JNIEnv* e, lgStream* t, jobject* r) { return venNewString((jstring*)r, e, t, &unit, 1); }, outOfMemory<&JNINativeInterface_::NewString>, "java.lang.OutOfMemoryError", "injected by FaultEnv", nullptr},
        {"venNewStringUTF", [](JNIEnv* e, lgStream* t, jobject* r) { return venNewStringUTF((jstring*)r, e, t, "a"); }, outOfMemory<&JNINativeInterface_::NewStringUTF>, "java.lang.OutOfMemoryError", "injected by FaultEnv", nullptr},
        {"venNewGlobalRef", [=](JNIEnv* e, lgStream* t, jobject* r) { return venNewGlobalRef(r, e, t, text); }, outOfMemory<&JNINativeInterface_::NewGlobalRef>, "java.lang.OutOfMemoryError", "injected by FaultEnv", venDeleteGlobalRef},
        {"venNewWeakGlobalRef", [=](JNIEnv* e, lgStream* t, jobject* r) { return venNewWeakGlobalRef(r, e, t, text); }, outOfMemory<&JNINativeInterface_::NewWeakGlobalRef>, "java.lang.OutOfMemoryError", "injected by FaultEnv", venDeleteWeakGlobalRef},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const bool global = row.destroy != nullptr;
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
        EXPECT_EQ(deletions, (global ? decltype(deletions){} : decltype(deletions){{first, result}}));
        EXPECT_EQ(fault.ledger().live(), global ? 0 : 1);
        EXPECT_TRUE(global || fault.ledger().isLive(result));
        const jobject second = result;
        if (row.inject != nullptr) {
            row.inject(fault);
            EXPECT_EQ(row.call(fault.env(), trace.get(), &result), KS_FALSE);
            EXPECT_EQ(result, nullptr);
            EXPECT_TRUE(global || (deletions.size() > 1 && deletions[1].first == second));
            EXPECT_EQ(trace.lines(), Lines{std::string("[") + row.name + "()] Exception: " + row.exception +
                                           ": " + row.message});
            EXPECT_TRUE(trace.notable());
            ExpectPending(env, row.exception, row.message);
        }
        EXPECT_EQ(fault.calls<&JNINativeInterface_::DeleteGlobalRef>() +
                      fault.calls<&JNINativeInterface_::DeleteWeakGlobalRef>(),
                  0);
        if (global) {
            row.destroy(env, first);
            row.destroy(env, second);
        }
    }
}

// Capacity and natives: a refused capacity is KS_FALSE alone, untraced; a refused
// registration is traced.
TEST_F(Convention, CapacityFramesAndNatives)
{
    EXPECT_TRUE(venEnsureLocalCapacity(env, nullptr, 0) && venEnsureLocalCapacity(env, nullptr, 16));
    ASSERT_EQ(venPushLocalFrame(env, nullptr, 4), KS_TRUE);
    EXPECT_EQ(utf8(env, static_cast<jstring>(venPopLocalFrame(env, jstr(env, "kept")))), "kept");
    jclass fixture = findClass(env, "fixtures/Methods");
    EXPECT_EQ(venUnregisterNatives(env, nullptr, fixture), KS_TRUE);
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
    EXPECT_EQ(venUnregisterNatives(fault.env(), trace.get(), fixture), KS_FALSE);
    EXPECT_EQ(trace.lines(),
              Lines{"[venUnregisterNatives()] Exception: java.lang.IllegalStateException: refused"});
    ExpectPending(env, "java.lang.IllegalStateException", "refused");
}

// The instance test (NULL is an instance of everything), identity, monitors, the exception
// state, and deletions that skip NULL.
TEST_F(Convention, PlainOperations)
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
    EXPECT_TRUE(venIsSameObject(env, text, integerClass) == KS_FALSE &&
                venIsSameObject(env, nullptr, nullptr));
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
