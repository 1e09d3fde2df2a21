// The exception trace: describes a Java throwable in the caller's trace stream by its
// toString() text. It runs only after a failure, reaches past the integration layer
// into the wrapper functions, and never changes which exception is pending.
#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/integration.h"
#include "ven/integration/convention.hpp"
#include "ven/java/lang/string.h"
#include "ven/wrapper.h"

using ven::integration::deleteLocal;
using ven::integration::traceFailureLine;

namespace
{

constexpr const char* kTraceException = "venTraceException";
constexpr const char* kTraceErrorOrRuntimeException = "venTraceErrorOrRuntimeException";

constexpr const char* kRuntimeExceptionClassName = "java/lang/RuntimeException";
constexpr const char* kErrorClassName = "java/lang/Error";

namespace format
{
constexpr const char* throwableNull = "[%lc()] throwable: NULL";
constexpr const char* methodNameNull = "[%lc()] methodName: NULL";
constexpr const char* getMethodIdFailed = "[%lc()]: ven___GetMethodID() : Exception";
constexpr const char* callObjectMethodFailed = "[%lc()]: ven___CallObjectMethod() : Exception";
// toString() may be overridden to return null; the text is then unknown, like on the
// other paths that yield none, and this line says why.
constexpr const char* callObjectMethodNull = "[%lc()]: ven___CallObjectMethod() : NULL";
constexpr const char* getStringCriticalFailed = "[%lc()]: ven___GetStringCritical() : NULL";
constexpr const char* jcharsToCharsFailed = "[%lc()]: ven___JCharsToChars() : KS_FALSE";
constexpr const char* exceptionText = "[%lc()] Exception: %s";
constexpr const char* exceptionUnknown = "[%lc()] Exception: Unknown Exception";
constexpr const char* runtimeExceptionClassNull = "[%lc()] runtimeExceptionClass: NULL";
constexpr const char* errorClassNull = "[%lc()] errorClass: NULL";
} // namespace format

// A diagnostic of a step that raised an exception: the line, then the virtual
// machine's own description of that exception.
void traceStepException(JNIEnv* env, lgStream* trace, const char* format)
{
    traceFailureLine(trace, format, kTraceException);
    ven___ExceptionDescribe(env);
}

// Decodes the critical characters of `string` into a new ksString, or NULL. Between
// getting and releasing the characters only the decoding, the string creation and
// the trace line run: no JNI call.
ksString* criticalText(JNIEnv* env, lgStream* trace, jstring string)
{
    const KS_INT length = ven___GetStringLength(env, string);
    const jchar* chars = ven___GetStringCritical(env, string, nullptr);
    if (chars == nullptr) {
        traceStepException(env, trace, format::getStringCriticalFailed);
        return nullptr;
    }
    ksString* text = nullptr;
    KS_CHAR* codePoints = nullptr;
    KS_INT count = 0;
    if (ven___JCharsToChars(&codePoints, &count, chars, length)) {
        text = ksStringCreateFromCharsUse(codePoints, count);
    } else {
        lgStreamTextFormatCstr(trace, format::jcharsToCharsFailed, KS_INT{-1}, kTraceException);
    }
    ven___ReleaseStringCritical(env, string, chars);
    return text;
}

// The throwable's toString() text, or NULL after the diagnostic line of the step that
// could not produce it. Runs with nothing pending;
// whatever it raises is cleared by the caller.
ksString* throwableText(JNIEnv* env, lgStream* trace, jthrowable throwable)
{
    jclass clazz = ven___GetObjectClass(env, throwable);
    ksString* text = nullptr;
    jmethodID toString = ven___GetMethodID(env, clazz, "toString", "()Ljava/lang/String;");
    if (toString == nullptr) {
        traceStepException(env, trace, format::getMethodIdFailed);
    } else {
        jobject string = nullptr;
        if (!ven___CallObjectMethod(&string, env, throwable, toString)) {
            traceStepException(env, trace, format::callObjectMethodFailed);
        } else if (string == nullptr) {
            // The length wrapper refuses NULL: nothing is asked of a null text.
            traceFailureLine(trace, format::callObjectMethodNull, kTraceException);
        } else {
            text = criticalText(env, trace, static_cast<jstring>(string));
        }
        deleteLocal(env, string);
    }
    deleteLocal(env, clazz);
    return text;
}

} // namespace

extern "C" {

VEN_API KS_BOOL venTraceException(JNIEnv* env, lgStream* trace, jthrowable throwable, KS_BOOL notable,
                                  const char* methodName)
{
    if (throwable == nullptr) {
        traceFailureLine(trace, format::throwableNull, kTraceException);
        return KS_FALSE;
    }
    if (methodName == nullptr) {
        traceFailureLine(trace, format::methodNameNull, kTraceException);
        return KS_FALSE;
    }
    if (trace == nullptr) {
        return KS_TRUE;
    }

    jthrowable saved = ven___ExceptionOccurred(env);
    if (saved != nullptr) {
        ven___ExceptionClear(env);
    }
    ksString* text = throwableText(env, trace, throwable);
    ven___ExceptionClear(env);
    if (saved != nullptr) {
        ven___Throw(env, saved);
        // The throw keeps the exception; the reference would only pile up in a loop.
        deleteLocal(env, saved);
    }

    if (text != nullptr) {
        lgStreamTextFormatCstr(trace, format::exceptionText, KS_INT{-1}, methodName, text);
        ksObjRelease(text);
    } else {
        lgStreamTextFormatCstr(trace, format::exceptionUnknown, KS_INT{-1}, methodName);
    }
    if (notable) {
        lgStreamSetNotable(trace);
    }
    return KS_TRUE;
}

// The occurred forms delete the reference they take: traced in a loop, they would
// otherwise fill the caller's frame.
VEN_API KS_BOOL venTraceExceptionOccurred(JNIEnv* env, lgStream* trace, KS_BOOL notable,
                                          const char* methodName)
{
    jthrowable pending = ven___ExceptionOccurred(env);
    if (pending == nullptr) {
        return KS_TRUE;
    }
    const KS_BOOL traced = venTraceException(env, trace, pending, notable, methodName);
    deleteLocal(env, pending);
    return traced;
}

VEN_API KS_BOOL venTraceErrorOrRuntimeException(JNIEnv* env, lgStream* trace, jthrowable throwable,
                                                const char* methodName)
{
    if (throwable == nullptr) {
        traceFailureLine(trace, format::throwableNull, kTraceErrorOrRuntimeException);
        return KS_FALSE;
    }
    // The lookups run also without a stream: the result still tells a NULL methodName.
    jclass runtimeExceptionClass = ven___FindClass(env, kRuntimeExceptionClassName);
    // A failed lookup leaves its own exception pending in place of the traced one, as
    // any failed wrapper call does; the trace gives up with its line.
    if (runtimeExceptionClass == nullptr) {
        traceFailureLine(trace, format::runtimeExceptionClassNull, kTraceErrorOrRuntimeException);
        return KS_FALSE;
    }
    if (ven___IsInstanceOf(env, throwable, runtimeExceptionClass) == JNI_TRUE) {
        const KS_BOOL traced = venTraceException(env, trace, throwable, KS_TRUE, methodName);
        deleteLocal(env, runtimeExceptionClass);
        return traced;
    }
    jclass errorClass = ven___FindClass(env, kErrorClassName);
    if (errorClass == nullptr) {
        traceFailureLine(trace, format::errorClassNull, kTraceErrorOrRuntimeException);
        deleteLocal(env, runtimeExceptionClass);
        return KS_FALSE;
    }
    // A checked exception is the caller's to handle: nothing is written for it.
    KS_BOOL traced = KS_TRUE;
    if (ven___IsInstanceOf(env, throwable, errorClass) == JNI_TRUE) {
        traced = venTraceException(env, trace, throwable, KS_TRUE, methodName);
    }
    deleteLocal(env, runtimeExceptionClass);
    deleteLocal(env, errorClass);
    return traced;
}

VEN_API KS_BOOL venTraceErrorOrRuntimeExceptionOccurred(JNIEnv* env, lgStream* trace, const char* methodName)
{
    jthrowable pending = ven___ExceptionOccurred(env);
    if (pending == nullptr) {
        return KS_TRUE;
    }
    const KS_BOOL traced = venTraceErrorOrRuntimeException(env, trace, pending, methodName);
    deleteLocal(env, pending);
    return traced;
}

} // extern "C"
