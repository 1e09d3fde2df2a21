// Argument failures of every integration, string and class support function of the core:
// an IllegalArgumentException with "<function>: <condition>" for each condition in order
// (the first failing one wins), its trace line, and every out-parameter left untouched.
#include <string>

#include "core_test.hpp"

namespace
{

using namespace ven::core_test;

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

struct ArgumentCase {
    const char* message; // "<function>: <condition>"
    KS_BOOL (*call)(JNIEnv*, lgStream*, Args&);
};

#define ARG(message, ...) ArgumentCase{message, [](JNIEnv* e, lgStream* t, [[maybe_unused]] Args& a) { return __VA_ARGS__; }}

// clang-format off
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
    ARG("venReleaseStringChars: string != NULL", venReleaseStringChars(e, t, nullptr, a.chars)),
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

class ArgumentFailure : public JvmTest
{
};

// With a stream: the line and the notable flag; without: the same exception and nothing
// else. One row also runs with an exception pending, which the new one replaces.
TEST_F(ArgumentFailure, ThrowsTheConditionAndTracesIt)
{
    KsRef<ksString> text(ksStringCreateFromCstr("text", -1));
    jclass clazz = findClass(env, "java/lang/Object");
    jstring string = jstr(env, "text");
    const Args valid{clazz, string, string, string, makeThrowable(env, "java/lang/IllegalStateException", "valid"),
                     env->GetMethodID(clazz, "<init>", "()V"), text};
    for (const ArgumentCase& row : kCases) {
        SCOPED_TRACE(row.message);
        const std::string message = row.message;
        for (int mode : {0, 1, 2}) { // stream, no stream, stream with an exception pending
            if (mode == 2 && message != "venNewString: len >= 0") {
                continue;
            }
            TestFrame rowFrame(env);
            Trace trace;
            Args args = valid;
            if (mode == 2) {
                env->Throw(makeThrowable(env, "java/io/IOException", "earlier"));
                ExpectJniWarning warning(kExceptionPendingWarning, "an argument failure throws through ThrowNew "
                                                                   "while the caller's exception is pending");
                EXPECT_EQ(row.call(env, trace.get(), args), KS_FALSE);
            } else {
                EXPECT_EQ(row.call(env, mode == 0 ? trace.get() : nullptr, args), KS_FALSE);
            }
            EXPECT_TRUE(args == valid) << "an out-parameter was touched";
            const std::string line = "[" + message.substr(0, message.find(':')) +
                                     "()] Exception: java.lang.IllegalArgumentException: " + message;
            if (mode != 1) {
                EXPECT_EQ(trace.lines(), Lines{line});
                EXPECT_TRUE(trace.notable());
            }
            ExpectPending(env, "java.lang.IllegalArgumentException", row.message);
        }
    }
}

} // namespace
