/* The java/lang throwable units: AssertionError, Error, IllegalArgumentException,
 * IllegalStateException and RuntimeException. Each has a class lookup, an instance
 * test and throw operations; a throw returns KS_TRUE when its exception is pending,
 * KS_FALSE when another one (from the class lookup or an argument failure) is. */
#ifndef VEN_JAVA_LANG_THROWABLES_H
#define VEN_JAVA_LANG_THROWABLES_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* java/lang/AssertionError: lookup, instance test, throw with a C string, a ksString or a format. */
VEN_API KS_BOOL venAssertionErrorGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venAssertionErrorIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venAssertionErrorThrowUseMessageCstr(JNIEnv* env, lgStream* trace, const char* methodName,
                                                     const char* message);
VEN_API KS_BOOL venAssertionErrorThrowUseMessage(JNIEnv* env, lgStream* trace, const char* methodName,
                                                 ksString* msg);
VEN_API KS_BOOL venAssertionErrorThrowUseMessageFormatCstr(JNIEnv* env, lgStream* trace,
                                                           const char* methodName, const char* format,
                                                           KS_INT formatLength, ...);

/* java/lang/Error: lookup, instance test, throw with the message first, the function name second. */
VEN_API KS_BOOL venErrorGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venErrorIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venErrorThrowUseMessage(JNIEnv* env, lgStream* trace, const char* message,
                                        const char* methodName);

/* java/lang/IllegalArgumentException: lookup, instance test, throw with a C string (the
 * argument failure of every integration function), a ksString or a format. */
VEN_API KS_BOOL venIllegalArgumentExceptionGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venIllegalArgumentExceptionIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace,
                                                      jobject obj);
VEN_API KS_BOOL venIllegalArgumentExceptionThrowUseMessageCstr(JNIEnv* env, lgStream* trace,
                                                               const char* methodName, const char* message);
VEN_API KS_BOOL venIllegalArgumentExceptionThrowUseMessage(JNIEnv* env, lgStream* trace,
                                                           const char* methodName, ksString* msg);
VEN_API KS_BOOL venIllegalArgumentExceptionThrowUseMessageFormatCstr(JNIEnv* env, lgStream* trace,
                                                                     const char* methodName,
                                                                     const char* format, KS_INT formatLength,
                                                                     ...);

/* java/lang/IllegalStateException: lookup, instance test, throw with a C string, a ksString or a format. */
VEN_API KS_BOOL venIllegalStateExceptionGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venIllegalStateExceptionIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace,
                                                   jobject obj);
VEN_API KS_BOOL venIllegalStateExceptionThrowUseMessageCstr(JNIEnv* env, lgStream* trace,
                                                            const char* methodName, const char* message);
VEN_API KS_BOOL venIllegalStateExceptionThrowUseMessage(JNIEnv* env, lgStream* trace, const char* methodName,
                                                        ksString* msg);
VEN_API KS_BOOL venIllegalStateExceptionThrowUseMessageFormatCstr(JNIEnv* env, lgStream* trace,
                                                                  const char* methodName, const char* format,
                                                                  KS_INT formatLength, ...);

/* java/lang/RuntimeException: lookup, instance test, throw with the message first, the function name second.
 */
VEN_API KS_BOOL venRuntimeExceptionGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venRuntimeExceptionIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venRuntimeExceptionThrowUseMessage(JNIEnv* env, lgStream* trace, const char* message,
                                                   const char* methodName);

VEN_EXTERN_C_END

#endif
