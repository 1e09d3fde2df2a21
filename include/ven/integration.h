/* The integration layer's shared surface: range checks of the narrowing conversions,
 * the exception trace, and the integration functions for the JNI version, exceptions,
 * classes, references, local frames, native registration, objects and monitors.
 * Functions with a KS_BOOL result report a bad argument as a thrown
 * java/lang/IllegalArgumentException and return KS_FALSE after any failure. */
#ifndef VEN_INTEGRATION_H
#define VEN_INTEGRATION_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

/* Range checks: true when a KS_INT (KS_CHAR) value fits the narrower JNI type. The
 * bodies are spelled so that stringizing an expansion gives the condition text that
 * fatal checks report. */
/* clang-format off */
#define VEN_KS_INT_TO_JINT_CONV_OK(value) ( sizeof(KS_INT)>=sizeof(jint) ? (KS_INT)(value) >= (KS_INT)((KS_INT)(-2147483648LL)) && (KS_INT)(value) <= (KS_INT)((KS_INT)(2147483647LL)) : ((KS_BOOL)1) )
#define VEN_KS_INT_TO_JSIZE_CONV_OK(value) ( sizeof(KS_INT)>=sizeof(jsize) ? (KS_INT)(value) >= (KS_INT)((KS_INT)(-2147483648LL)) && (KS_INT)(value) <= (KS_INT)((KS_INT)(2147483647LL)) : ((KS_BOOL)1) )
#define VEN_KS_INT_TO_JSHORT_CONV_OK(value) ( sizeof(KS_INT)>=sizeof(jshort) ? (KS_INT)(value) >= (KS_INT)((KS_INT)(-32768LL)) && (KS_INT)(value) <= (KS_INT)((KS_INT)(32767LL)) : ((KS_BOOL)1) )
#define VEN_KS_CHAR_TO_JCHAR_CONV_OK(value) ( sizeof(KS_CHAR)>=sizeof(jchar) ? (KS_CHAR)(value) <= (KS_CHAR)((KS_CHAR)(65535U)) : ((KS_BOOL)1) )
/* clang-format on */

VEN_EXTERN_C_BEGIN

/* Exception trace: describes a throwable (or the pending one) under methodName in the
 * trace stream; the exception pending on entry is pending again on return. */
VEN_API KS_BOOL venTraceException(JNIEnv* env, lgStream* trace, jthrowable throwable, KS_BOOL notable,
                                  const char* methodName);
VEN_API KS_BOOL venTraceExceptionOccurred(JNIEnv* env, lgStream* trace, KS_BOOL notable,
                                          const char* methodName);
VEN_API KS_BOOL venTraceErrorOrRuntimeException(JNIEnv* env, lgStream* trace, jthrowable throwable,
                                                const char* methodName);
VEN_API KS_BOOL venTraceErrorOrRuntimeExceptionOccurred(JNIEnv* env, lgStream* trace, const char* methodName);

/* Class lookup, throwing a new instance with the message "<methodName>: <message>",
 * and deletion of a local reference (NULL skipped). */
VEN_API KS_BOOL venFindClass(jclass* result, JNIEnv* env, lgStream* trace, const char* name);
VEN_API KS_BOOL venThrowNew(JNIEnv* env, lgStream* trace, jclass clazz, const char* message,
                            const char* methodName);
VEN_API void venDeleteLocalRef(JNIEnv* env, jobject localRef);

/* Version, throwing an existing throwable. */
VEN_API KS_BOOL venGetVersion(KS_INT* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venThrow(JNIEnv* env, lgStream* trace, jthrowable throwable, const char* methodName);

/* Global and weak global references: stored without releasing what the out-parameter held. */
VEN_API KS_BOOL venNewGlobalRef(jobject* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venNewWeakGlobalRef(jweak* result, JNIEnv* env, lgStream* trace, jobject obj);

/* Local capacity and frames: KS_FALSE on a refused capacity (JNI's OutOfMemoryError pending),
 * without exception trace. A JVM that refuses without raising (HotSpot, above its
 * MaxJNILocalCapacity) stops the process in the wrapper's consistency check. */
VEN_API KS_BOOL venEnsureLocalCapacity(JNIEnv* env, lgStream* trace, jint capacity);
VEN_API KS_BOOL venPushLocalFrame(JNIEnv* env, lgStream* trace, jint capacity);

/* Native method registration. */
VEN_API KS_BOOL venRegisterNatives(JNIEnv* env, lgStream* trace, jclass clazz, const JNINativeMethod* methods,
                                   jint nMethods);
VEN_API KS_BOOL venUnregisterNatives(JNIEnv* env, lgStream* trace, jclass clazz);

/* Objects delivered as local references: stored first, the old content deleted after. */
VEN_API KS_BOOL venAllocObject(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz);
VEN_API KS_BOOL venNewObject(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz, jmethodID methodID,
                             ...);
VEN_API KS_BOOL venGetObjectClass(jclass* result, JNIEnv* env, lgStream* trace, jobject obj);

/* Instance test (a NULL obj is an instance of every class) and monitors. */
VEN_API KS_BOOL venIsInstanceOf(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj, jclass clazz);
VEN_API KS_BOOL venMonitorEnter(JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venMonitorLeave(JNIEnv* env, lgStream* trace, jobject obj);

/* Exception state, without argument failure: straight to the wrapper functions. */
VEN_API jthrowable venExceptionOccurred(JNIEnv* env);
VEN_API void venExceptionDescribe(JNIEnv* env);
VEN_API void venExceptionClear(JNIEnv* env);
VEN_API KS_BOOL venExceptionCheck(JNIEnv* env);

/* References and frames, without argument failure; the deletions skip NULL. */
VEN_API void venDeleteGlobalRef(JNIEnv* env, jobject globalRef);
VEN_API void venDeleteWeakGlobalRef(JNIEnv* env, jweak ref);
VEN_API jobject venPopLocalFrame(JNIEnv* env, jobject result);
VEN_API jobject venNewLocalRef(JNIEnv* env, jobject ref);
VEN_API KS_BOOL venIsSameObject(JNIEnv* env, jobject ref1, jobject ref2);

/* Fatal error through the virtual machine, after a trace line; does not return. */
VEN_API void venFatalError(JNIEnv* env, lgStream* trace, const char* msg, const char* methodName);

VEN_EXTERN_C_END

#endif
