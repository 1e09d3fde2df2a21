// Integration functions for the JNI version, exceptions, class lookup, references,
// local frames, native registration, objects and monitors, and the two failure paths
// (argument failure, JNI failure) that every integration function ends in.
#include <cstdarg>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/integration.h"
#include "ven/integration/convention.hpp"
#include "ven/integration/settled.hpp"
#include "ven/java/lang/throwables.h"
#include "ven/wrapper.h"
#include "ven/wrapper/settled.hpp"

namespace ven::integration
{

// The argument failure is IllegalArgumentException's own C-string throw, the one a module
// calls too, so that a refused argument reads and traces alike whoever throws it. It is the
// integration layer's only call into class support besides the String unit.
KS_BOOL argumentFailure(JNIEnv* env, lgStream* trace, const char* function, const char* condition)
{
    venIllegalArgumentExceptionThrowUseMessageCstr(env, trace, function, condition);
    return KS_FALSE;
}

KS_BOOL jniFailure(JNIEnv* env, lgStream* trace, const char* function)
{
    venTraceErrorOrRuntimeExceptionOccurred(env, trace, function);
    return KS_FALSE;
}

} // namespace ven::integration

using namespace ven::integration;

namespace
{

namespace format
{
constexpr const char* versionError = "[%lc()] error occured: %i";
constexpr const char* fatalError = "[%lc()]: venFatalError : %lc";
} // namespace format

// The global pattern: the new reference (or NULL) overwrites the out-parameter; what
// it held before is not the library's to release.
template <typename Ref>
KS_BOOL deliverGlobalRefOrFail(JNIEnv* env, lgStream* trace, const char* function, Ref* result, Ref ref)
{
    *result = ref;
    if (ref == nullptr) [[unlikely]] {
        return jniFailure(env, trace, function);
    }
    return KS_TRUE;
}

// A JNI status: 0 is success; anything else fails with the exception traced.
KS_BOOL statusOrFail(JNIEnv* env, lgStream* trace, const char* function, jint status)
{
    if (status != 0) [[unlikely]] {
        return jniFailure(env, trace, function);
    }
    return KS_TRUE;
}

// Composes "<methodName>: <message>" in a new C string (free with ksMemFree). Without
// a name the message stands alone; the trace then reports the missing name.
char* composeExceptionMessage(const char* methodName, const char* message)
{
    ksString* text = ksStringCreateFromCstr(methodName != nullptr ? methodName : "", KS_INT{-1});
    if (methodName != nullptr) {
        ksStringAppendCstr(&text, ": ", KS_INT{-1});
    }
    ksStringAppendCstr(&text, message, KS_INT{-1});
    char* composed = ksStringConvertToCstr(text, 1, nullptr);
    ksObjRelease(text);
    return composed;
}

template <jclass (*lookUp)(JNIEnv*, const char*)>
KS_BOOL findClass(jclass* result, JNIEnv* env, lgStream* trace, const char* name)
{
    if (!checkArguments(env, trace, "venFindClass",
                        {{result != nullptr, "result != NULL"}, {name != nullptr, "name != NULL"}})) {
        return KS_FALSE;
    }
    return deliverLocalRefOrFail(env, trace, "venFindClass", result, lookUp(env, name));
}

template <jclass (*objectClass)(JNIEnv*, jobject)>
KS_BOOL getObjectClass(jclass* result, JNIEnv* env, lgStream* trace, jobject obj)
{
    if (!checkArguments(env, trace, "venGetObjectClass",
                        {{result != nullptr, "result != NULL"}, {obj != nullptr, "obj != NULL"}})) {
        return KS_FALSE;
    }
    return deliverLocalRefOrFail(env, trace, "venGetObjectClass", result, objectClass(env, obj));
}

template <jobject (*newObjectV)(JNIEnv*, jclass, jmethodID, va_list)>
KS_BOOL newObject(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz, jmethodID methodID,
                  va_list args)
{
    if (!checkArguments(env, trace, "venNewObject",
                        {{result != nullptr, "result != NULL"},
                         {clazz != nullptr, "clazz != NULL"},
                         {methodID != nullptr, "methodID != NULL"}})) {
        return KS_FALSE;
    }
    return deliverLocalRefOrFail(env, trace, "venNewObject", result, newObjectV(env, clazz, methodID, args));
}

// A NULL obj is passed on: JNI counts it an instance of every class.
template <jboolean (*isInstanceOf)(JNIEnv*, jobject, jclass)>
KS_BOOL isInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj, jclass clazz)
{
    if (!checkArguments(env, trace, "venIsInstanceOf",
                        {{result != nullptr, "result != NULL"}, {clazz != nullptr, "clazz != NULL"}})) {
        return KS_FALSE;
    }
    *result = toKsBool(isInstanceOf(env, obj, clazz));
    return KS_TRUE;
}

} // namespace

KS_BOOL ven::integration::settled::newObject(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                             jmethodID methodID, ...)
{
    va_list args;
    va_start(args, methodID);
    const KS_BOOL ok =
        ::newObject<ven::wrapper::settled::NewObjectV>(result, env, trace, clazz, methodID, args);
    va_end(args);
    return ok;
}

KS_BOOL ven::integration::settled::isInstanceOf(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj,
                                                jclass clazz)
{
    return isInstance<ven::wrapper::settled::IsInstanceOf>(result, env, trace, obj, clazz);
}

KS_BOOL ven::integration::settled::getObjectClass(jclass* result, JNIEnv* env, lgStream* trace, jobject obj)
{
    return ::getObjectClass<ven::wrapper::settled::GetObjectClass>(result, env, trace, obj);
}

KS_BOOL ven::integration::settled::findClass(jclass* result, JNIEnv* env, lgStream* trace, const char* name)
{
    return ::findClass<ven::wrapper::settled::FindClass>(result, env, trace, name);
}

extern "C" {

VEN_API void venDeleteLocalRef(JNIEnv* env, jobject localRef)
{
    deleteLocal(env, localRef);
}

VEN_API KS_BOOL venFindClass(jclass* result, JNIEnv* env, lgStream* trace, const char* name)
{
    return findClass<ven___FindClass>(result, env, trace, name);
}

VEN_API KS_BOOL venThrowNew(JNIEnv* env, lgStream* trace, jclass clazz, const char* message,
                            const char* methodName)
{
    if (!checkArguments(env, trace, "venThrowNew",
                        {{clazz != nullptr, "clazz != NULL"}, {message != nullptr, "message != NULL"}})) {
        return KS_FALSE;
    }
    char* composed = composeExceptionMessage(methodName, message);
    ven___ThrowNew(env, clazz, composed);
    ksMemFree(composed);
    venTraceErrorOrRuntimeExceptionOccurred(env, trace, methodName);
    return KS_TRUE;
}

VEN_API KS_BOOL venGetVersion(KS_INT* result, JNIEnv* env, lgStream* trace)
{
    if (!checkArguments(env, trace, "venGetVersion", {{result != nullptr, "result != NULL"}})) {
        return KS_FALSE;
    }
    const KS_INT version = ven___GetVersion(env);
    *result = version;
    if (version < 0) [[unlikely]] {
        traceFailureLine(trace, format::versionError, "venGetVersion", version);
        return KS_FALSE;
    }
    return KS_TRUE;
}

VEN_API KS_BOOL venThrow(JNIEnv* env, lgStream* trace, jthrowable throwable, const char* methodName)
{
    if (!checkArguments(env, trace, "venThrow", {{throwable != nullptr, "throwable != NULL"}})) {
        return KS_FALSE;
    }
    ven___Throw(env, throwable);
    venTraceErrorOrRuntimeExceptionOccurred(env, trace, methodName);
    return KS_TRUE;
}

VEN_API KS_BOOL venNewGlobalRef(jobject* result, JNIEnv* env, lgStream* trace, jobject obj)
{
    if (!checkArguments(env, trace, "venNewGlobalRef",
                        {{result != nullptr, "result != NULL"}, {obj != nullptr, "obj != NULL"}})) {
        return KS_FALSE;
    }
    return deliverGlobalRefOrFail(env, trace, "venNewGlobalRef", result, ven___NewGlobalRef(env, obj));
}

VEN_API KS_BOOL venNewWeakGlobalRef(jweak* result, JNIEnv* env, lgStream* trace, jobject obj)
{
    if (!checkArguments(env, trace, "venNewWeakGlobalRef",
                        {{result != nullptr, "result != NULL"}, {obj != nullptr, "obj != NULL"}})) {
        return KS_FALSE;
    }
    return deliverGlobalRefOrFail(env, trace, "venNewWeakGlobalRef", result,
                                  ven___NewWeakGlobalRef(env, obj));
}

// A refused capacity is reported by the result alone: the OutOfMemoryError that JNI
// raises stays pending untraced.
VEN_API KS_BOOL venEnsureLocalCapacity(JNIEnv* env, lgStream* trace, jint capacity)
{
    if (!checkArguments(env, trace, "venEnsureLocalCapacity", {{capacity >= 0, "capacity >= 0"}})) {
        return KS_FALSE;
    }
    return ven___EnsureLocalCapacity(env, capacity) == 0 ? KS_TRUE : KS_FALSE;
}

VEN_API KS_BOOL venPushLocalFrame(JNIEnv* env, lgStream* trace, jint capacity)
{
    if (!checkArguments(env, trace, "venPushLocalFrame", {{capacity >= 0, "capacity >= 0"}})) {
        return KS_FALSE;
    }
    return ven___PushLocalFrame(env, capacity) == 0 ? KS_TRUE : KS_FALSE;
}

VEN_API KS_BOOL venRegisterNatives(JNIEnv* env, lgStream* trace, jclass clazz, const JNINativeMethod* methods,
                                   jint nMethods)
{
    if (!checkArguments(env, trace, "venRegisterNatives",
                        {{clazz != nullptr, "clazz != NULL"},
                         {methods != nullptr, "methods != NULL"},
                         {nMethods >= 0, "nMethods >= 0"}})) {
        return KS_FALSE;
    }
    return statusOrFail(env, trace, "venRegisterNatives",
                        ven___RegisterNatives(env, clazz, methods, nMethods));
}

VEN_API KS_BOOL venUnregisterNatives(JNIEnv* env, lgStream* trace, jclass clazz)
{
    if (!checkArguments(env, trace, "venUnregisterNatives", {{clazz != nullptr, "clazz != NULL"}})) {
        return KS_FALSE;
    }
    return statusOrFail(env, trace, "venUnregisterNatives", ven___UnregisterNatives(env, clazz));
}

VEN_API KS_BOOL venAllocObject(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz)
{
    if (!checkArguments(env, trace, "venAllocObject",
                        {{result != nullptr, "result != NULL"}, {clazz != nullptr, "clazz != NULL"}})) {
        return KS_FALSE;
    }
    return deliverLocalRefOrFail(env, trace, "venAllocObject", result, ven___AllocObject(env, clazz));
}

VEN_API KS_BOOL venNewObject(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz, jmethodID methodID,
                             ...)
{
    va_list args;
    va_start(args, methodID);
    const KS_BOOL ok = newObject<ven___NewObjectV>(result, env, trace, clazz, methodID, args);
    va_end(args);
    return ok;
}

VEN_API KS_BOOL venGetObjectClass(jclass* result, JNIEnv* env, lgStream* trace, jobject obj)
{
    return getObjectClass<ven___GetObjectClass>(result, env, trace, obj);
}

VEN_API KS_BOOL venIsInstanceOf(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj, jclass clazz)
{
    return isInstance<ven___IsInstanceOf>(result, env, trace, obj, clazz);
}

VEN_API KS_BOOL venMonitorEnter(JNIEnv* env, lgStream* trace, jobject obj)
{
    if (!checkArguments(env, trace, "venMonitorEnter", {{obj != nullptr, "obj != NULL"}})) {
        return KS_FALSE;
    }
    ven___MonitorEnter(env, obj);
    return KS_TRUE;
}

VEN_API KS_BOOL venMonitorLeave(JNIEnv* env, lgStream* trace, jobject obj)
{
    if (!checkArguments(env, trace, "venMonitorLeave", {{obj != nullptr, "obj != NULL"}})) {
        return KS_FALSE;
    }
    ven___MonitorLeave(env, obj);
    return KS_TRUE;
}

VEN_API jthrowable venExceptionOccurred(JNIEnv* env)
{
    return ven___ExceptionOccurred(env);
}

VEN_API void venExceptionDescribe(JNIEnv* env)
{
    ven___ExceptionDescribe(env);
}

VEN_API void venExceptionClear(JNIEnv* env)
{
    ven___ExceptionClear(env);
}

VEN_API KS_BOOL venExceptionCheck(JNIEnv* env)
{
    return toKsBool(ven___ExceptionCheck(env));
}

VEN_API void venDeleteGlobalRef(JNIEnv* env, jobject globalRef)
{
    if (globalRef != nullptr) {
        ven___DeleteGlobalRef(env, globalRef);
    }
}

VEN_API void venDeleteWeakGlobalRef(JNIEnv* env, jweak ref)
{
    if (ref != nullptr) {
        ven___DeleteWeakGlobalRef(env, ref);
    }
}

VEN_API jobject venPopLocalFrame(JNIEnv* env, jobject result)
{
    return ven___PopLocalFrame(env, result);
}

VEN_API jobject venNewLocalRef(JNIEnv* env, jobject ref)
{
    return ven___NewLocalRef(env, ref);
}

VEN_API KS_BOOL venIsSameObject(JNIEnv* env, jobject ref1, jobject ref2)
{
    return toKsBool(ven___IsSameObject(env, ref1, ref2));
}

// The line never hands NULL to the formatter: a missing name is reported under this
// function's own, a missing message as "NULL" (the wrapper then refuses it).
VEN_API void venFatalError(JNIEnv* env, lgStream* trace, const char* msg, const char* methodName)
{
    traceFailureLine(trace, format::fatalError, methodName != nullptr ? methodName : "venFatalError",
                     msg != nullptr ? msg : "NULL");
    ven___FatalError(env, msg);
}

} // extern "C"
