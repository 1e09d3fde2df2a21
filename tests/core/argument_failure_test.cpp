// Argument failures of every integration, string and class support function of the core:
// the pending IllegalArgumentException's message "<function>: <condition>" for each
// condition in order (the first failing one wins), the trace line that describes it, the
// out-parameters untouched, with and without a trace stream and with another exception
// already pending.
#include <functional>
#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace
{

using ven::test::ExpectPending;
using ven::test::JvmTest;
using ven::test::Trace;

// Valid arguments for everything a row does not make bad.
struct Valid {
    jclass clazz;
    jstring string;
    jthrowable throwable;
    jmethodID constructor;
    JNINativeMethod method;
    jchar chars[4];
    char utf[4];
    ksString* text;
};

// Out-parameters with sentinel contents; a failure must leave every one as it was.
struct Outs {
    explicit Outs(const Valid& valid)
        : clazz(valid.clazz), object(valid.string), string(valid.string), weak(valid.string), ks(valid.text)
    {
    }
    bool operator==(const Outs&) const = default;

    jclass clazz;
    jobject object;
    jstring string;
    jweak weak;
    ksString* ks;
    KS_INT integer = 0x5A5A;
    KS_BOOL flag = 0x33;
    KS_BOOL isCopy = 0x44;
    const jchar* chars = reinterpret_cast<const jchar*>(0x10);
    const char* utf = reinterpret_cast<const char*>(0x20);
};

using Call = std::function<KS_BOOL(JNIEnv*, lgStream*, const Valid&, Outs&)>;

struct ArgumentCase {
    const char* message; // "<function>: <condition>"
    Call call;
};

std::vector<ArgumentCase> argumentCases()
{
    constexpr KS_INT tooLong = 2147483648LL;
    // clang-format off
    return {
        // Class lookup, throwing, version.
        {"venFindClass: result != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venFindClass(nullptr, e, t, "java/lang/String"); }},
        {"venFindClass: name != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venFindClass(&o.clazz, e, t, nullptr); }},
        {"venFindClass: result != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venFindClass(nullptr, e, t, nullptr); }},
        {"venThrowNew: clazz != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venThrowNew(e, t, nullptr, "m", "caller"); }},
        {"venThrowNew: message != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venThrowNew(e, t, v.clazz, nullptr, "caller"); }},
        {"venThrowNew: clazz != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venThrowNew(e, t, nullptr, nullptr, "caller"); }},
        {"venGetVersion: result != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venGetVersion(nullptr, e, t); }},
        {"venThrow: throwable != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venThrow(e, t, nullptr, "caller"); }},
        // References, frames, natives.
        {"venNewGlobalRef: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venNewGlobalRef(nullptr, e, t, v.string); }},
        {"venNewGlobalRef: obj != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venNewGlobalRef(&o.object, e, t, nullptr); }},
        {"venNewWeakGlobalRef: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venNewWeakGlobalRef(nullptr, e, t, v.string); }},
        {"venNewWeakGlobalRef: obj != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venNewWeakGlobalRef(&o.weak, e, t, nullptr); }},
        {"venEnsureLocalCapacity: capacity >= 0", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venEnsureLocalCapacity(e, t, -1); }},
        {"venPushLocalFrame: capacity >= 0", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venPushLocalFrame(e, t, -1); }},
        {"venRegisterNatives: clazz != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venRegisterNatives(e, t, nullptr, &v.method, 1); }},
        {"venRegisterNatives: methods != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venRegisterNatives(e, t, v.clazz, nullptr, 1); }},
        {"venRegisterNatives: nMethods >= 0", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venRegisterNatives(e, t, v.clazz, &v.method, -1); }},
        {"venRegisterNatives: methods != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venRegisterNatives(e, t, v.clazz, nullptr, -1); }},
        {"venUnregisterNatives: clazz != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venUnregisterNatives(e, t, nullptr); }},
        // Objects, instance test, monitors.
        {"venAllocObject: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venAllocObject(nullptr, e, t, v.clazz); }},
        {"venAllocObject: clazz != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venAllocObject(&o.object, e, t, nullptr); }},
        {"venNewObject: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venNewObject(nullptr, e, t, v.clazz, v.constructor); }},
        {"venNewObject: clazz != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs& o) { return venNewObject(&o.object, e, t, nullptr, v.constructor); }},
        {"venNewObject: methodID != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs& o) { return venNewObject(&o.object, e, t, v.clazz, nullptr); }},
        {"venGetObjectClass: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venGetObjectClass(nullptr, e, t, v.string); }},
        {"venGetObjectClass: obj != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venGetObjectClass(&o.clazz, e, t, nullptr); }},
        {"venIsInstanceOf: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venIsInstanceOf(nullptr, e, t, v.string, v.clazz); }},
        {"venIsInstanceOf: clazz != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs& o) { return venIsInstanceOf(&o.flag, e, t, v.string, nullptr); }},
        {"venMonitorEnter: obj != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venMonitorEnter(e, t, nullptr); }},
        {"venMonitorLeave: obj != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venMonitorLeave(e, t, nullptr); }},
        // Strings: creation.
        {"venNewString: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venNewString(nullptr, e, t, v.chars, 1); }},
        {"venNewString: unicodeChars != NULL || len == 0", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venNewString(&o.string, e, t, nullptr, 1); }},
        {"venNewString: unicodeChars != NULL || len == 0", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venNewString(&o.string, e, t, nullptr, -1); }},
        {"venNewString: len >= 0", [](JNIEnv* e, lgStream* t, const Valid& v, Outs& o) { return venNewString(&o.string, e, t, v.chars, -1); }},
        {"venNewString: VEN_KS_INT_TO_JSIZE_CONV_OK( len )", [=](JNIEnv* e, lgStream* t, const Valid& v, Outs& o) { return venNewString(&o.string, e, t, v.chars, tooLong); }},
        {"venNewStringUTF: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venNewStringUTF(nullptr, e, t, v.utf); }},
        {"venNewStringUTF: bytes != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venNewStringUTF(&o.string, e, t, nullptr); }},
        // Strings: lengths and pinning.
        {"venGetStringLength: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venGetStringLength(nullptr, e, t, v.string); }},
        {"venGetStringLength: string != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venGetStringLength(&o.integer, e, t, nullptr); }},
        {"venGetStringUTFLength: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venGetStringUTFLength(nullptr, e, t, v.string); }},
        {"venGetStringUTFLength: string != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venGetStringUTFLength(&o.integer, e, t, nullptr); }},
        {"venGetStringChars: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs& o) { return venGetStringChars(nullptr, e, t, v.string, &o.isCopy); }},
        {"venGetStringChars: string != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venGetStringChars(&o.chars, e, t, nullptr, &o.isCopy); }},
        {"venGetStringUTFChars: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs& o) { return venGetStringUTFChars(nullptr, e, t, v.string, &o.isCopy); }},
        {"venGetStringUTFChars: string != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venGetStringUTFChars(&o.utf, e, t, nullptr, &o.isCopy); }},
        {"venGetStringCritical: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs& o) { return venGetStringCritical(nullptr, e, t, v.string, &o.isCopy); }},
        {"venGetStringCritical: string != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs& o) { return venGetStringCritical(&o.chars, e, t, nullptr, &o.isCopy); }},
        // Strings: release (a NULL pointer does not excuse a NULL string) and regions.
        {"venReleaseStringChars: string != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venReleaseStringChars(e, t, nullptr, v.chars); }},
        {"venReleaseStringChars: string != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venReleaseStringChars(e, t, nullptr, nullptr); }},
        {"venReleaseStringUTFChars: string != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venReleaseStringUTFChars(e, t, nullptr, nullptr); }},
        {"venReleaseStringCritical: string != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venReleaseStringCritical(e, t, nullptr, nullptr); }},
        {"venGetStringRegion: str != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { jchar b[1]; return venGetStringRegion(e, t, nullptr, 0, 1, b); }},
        {"venGetStringRegion: buf != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venGetStringRegion(e, t, v.string, 0, 1, nullptr); }},
        {"venGetStringUTFRegion: str != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venGetStringUTFRegion(e, t, nullptr, 0, 1, nullptr); }},
        {"venGetStringUTFRegion: buf != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venGetStringUTFRegion(e, t, v.string, 0, 1, nullptr); }},
        // The String unit.
        {"venStringGetClass: result != ((void *)0)", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venStringGetClass(nullptr, e, t); }},
        {"venIsInstanceOf: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venStringIsInstance(nullptr, e, t, v.string); }},
        {"venStringToKsString: result != ((void *)0)", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venStringToKsString(nullptr, e, t, v.string); }},
        {"venStringFromKsString: result != ((void *)0)", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venStringFromKsString(nullptr, e, t, v.text); }},
        // Throwable units: lookups report under venFindClass, instance tests under
        // venIsInstanceOf, C-string throws under venThrowNew, ksString throws their own name.
        {"venFindClass: result != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venIOExceptionGetClass(nullptr, e, t); }},
        {"venFindClass: result != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venErrorGetClass(nullptr, e, t); }},
        {"venIsInstanceOf: result != NULL", [](JNIEnv* e, lgStream* t, const Valid& v, Outs&) { return venRuntimeExceptionIsInstance(nullptr, e, t, v.throwable); }},
        {"venThrowNew: message != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venIllegalStateExceptionThrowUseMessageCstr(e, t, "caller", nullptr); }},
        {"venThrowNew: message != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venErrorThrowUseMessage(e, t, nullptr, "caller"); }},
        {"venThrowNew: message != NULL", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venRuntimeExceptionThrowUseMessage(e, t, nullptr, "caller"); }},
        {"venIOExceptionThrowUseMessage: msg != ((void *)0)", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venIOExceptionThrowUseMessage(e, t, "caller", nullptr); }},
        {"venAssertionErrorThrowUseMessage: msg != ((void *)0)", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venAssertionErrorThrowUseMessage(e, t, "caller", nullptr); }},
        {"venIllegalArgumentExceptionThrowUseMessage: msg != ((void *)0)", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venIllegalArgumentExceptionThrowUseMessage(e, t, "caller", nullptr); }},
        {"venIllegalStateExceptionThrowUseMessage: msg != ((void *)0)", [](JNIEnv* e, lgStream* t, const Valid&, Outs&) { return venIllegalStateExceptionThrowUseMessage(e, t, "caller", nullptr); }},
    };
    // clang-format on
}

class ArgumentFailure : public JvmTest
{
  protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        valid.clazz = ven::test::findClass(env, "java/lang/Object");
        valid.string = ven::test::jstr(env, "text");
        valid.throwable = ven::test::makeThrowable(env, "java/lang/IllegalStateException", "valid");
        valid.constructor = env->GetMethodID(valid.clazz, "<init>", "()V");
        valid.method = {const_cast<char*>("nothing"), const_cast<char*>("()V"), nullptr};
        valid.text = ksStringCreateFromCstr("text", -1);
    }
    void TearDown() override
    {
        ksObjRelease(valid.text);
        JvmTest::TearDown();
    }

    Valid valid{};
};

TEST_F(ArgumentFailure, ThrowsTheConditionAndTracesIt)
{
    for (const ArgumentCase& row : argumentCases()) {
        SCOPED_TRACE(row.message);
        ven::test::TestFrame rowFrame(env);
        Trace trace;
        Outs outs(valid);
        EXPECT_EQ(row.call(env, trace.get(), valid, outs), KS_FALSE);
        EXPECT_TRUE(outs == Outs(valid)) << "an out-parameter was touched";
        const std::string function = std::string(row.message).substr(0, std::string(row.message).find(':'));
        EXPECT_EQ(trace.lines(),
                  std::vector<std::string>{
                      "[" + function + "()] Exception: java.lang.IllegalArgumentException: " + row.message});
        EXPECT_TRUE(trace.notable());
        ExpectPending(env, "java.lang.IllegalArgumentException", row.message);
    }
}

TEST_F(ArgumentFailure, WithoutTraceStreamOnlyTheResultAndTheException)
{
    for (const ArgumentCase& row : argumentCases()) {
        SCOPED_TRACE(row.message);
        ven::test::TestFrame rowFrame(env);
        Outs outs(valid);
        EXPECT_EQ(row.call(env, nullptr, valid, outs), KS_FALSE);
        EXPECT_TRUE(outs == Outs(valid)) << "an out-parameter was touched";
        ExpectPending(env, "java.lang.IllegalArgumentException", row.message);
    }
}

TEST_F(ArgumentFailure, ReplacesAnExceptionAlreadyPending)
{
    // A row from each family: integration, strings, class support.
    for (const ArgumentCase& row : argumentCases()) {
        const std::string message = row.message;
        if (message != "venFindClass: name != NULL" && message != "venNewString: len >= 0" &&
            message != "venIllegalStateExceptionThrowUseMessage: msg != ((void *)0)") {
            continue;
        }
        SCOPED_TRACE(row.message);
        ven::test::TestFrame rowFrame(env);
        Trace trace;
        Outs outs(valid);
        env->Throw(ven::test::makeThrowable(env, "java/io/IOException", "earlier"));
        {
            ven::test::ExpectJniWarning warning("JNI call made with exception pending",
                                                "an argument failure throws its IllegalArgumentException "
                                                "through ThrowNew while the caller's exception is pending");
            EXPECT_EQ(row.call(env, trace.get(), valid, outs), KS_FALSE);
        }
        EXPECT_EQ(trace.lines().size(), 1u);
        ExpectPending(env, "java.lang.IllegalArgumentException", row.message);
    }
}

} // namespace
