/** @file
 * The java/lang throwable units: AssertionError, Error, IllegalArgumentException,
 * IllegalStateException and RuntimeException. Each has a class lookup, an instance
 * test and throw operations; a throw returns KS_TRUE when its exception is pending,
 * KS_FALSE when another one (from the class lookup or an argument failure) is.
 *
 * A native method that wants to fail with one of these calls the throw and returns at once;
 * the exception reaches the Java caller. */
#ifndef VEN_JAVA_LANG_THROWABLES_H
#define VEN_JAVA_LANG_THROWABLES_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/** @name java.lang.AssertionError
 * @{ */
/** Throws a new instance whose message is "<methodName>: <text>", the text given as a C string
 * (the Cstr form), a ksString (only read; "msg != ((void *)0)" when NULL), or formatted with the ks
 * directives from `format` (`formatLength` bytes, -1 up to its NUL) and the values that follow.
 * KS_TRUE when the new exception is pending (replacing any that was); KS_FALSE when another one
 * is instead (the class lookup failed, or a NULL `message`: "venThrowNew: message != NULL").
 * An unchecked one is traced under `methodName`. The class lookup and instance test behave as
 * venStringGetClass() and venStringIsInstance(), except that a NULL `result` of the lookup is
 * reported by venFindClass. */
VEN_API KS_BOOL venAssertionErrorGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venAssertionErrorIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venAssertionErrorThrowUseMessageCstr(JNIEnv* env, lgStream* trace, const char* methodName,
                                                     const char* message);
VEN_API KS_BOOL venAssertionErrorThrowUseMessage(JNIEnv* env, lgStream* trace, const char* methodName,
                                                 ksString* msg);
VEN_API KS_BOOL venAssertionErrorThrowUseMessageFormatCstr(JNIEnv* env, lgStream* trace,
                                                           const char* methodName, const char* format,
                                                           KS_INT formatLength, ...);
/** @} */

/** @name java.lang.Error
 * @{ */
/** Class lookup, instance test and one throw that takes the message first and the function
 * name second ("<methodName>: <message>"); no ksString or format form. Results as the other
 * throwable units'. */
VEN_API KS_BOOL venErrorGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venErrorIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venErrorThrowUseMessage(JNIEnv* env, lgStream* trace, const char* message,
                                        const char* methodName);
/** @} */

/** @name java.lang.IllegalArgumentException
 * @{ */
/** As the java.lang.AssertionError unit. venIllegalArgumentExceptionThrowUseMessageCstr() is the
 * argument failure of every integration function; a native method may use it for its own
 * arguments, as in "Stats.summarize: values.length > 0". */
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
/** @} */

/** @name java.lang.IllegalStateException
 * @{ */
/** As the java.lang.AssertionError unit. */
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
/** @} */

/** @name java.lang.RuntimeException
 * @{ */
/** As the java.lang.Error unit: the throw takes the message first, the function name second. */
VEN_API KS_BOOL venRuntimeExceptionGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venRuntimeExceptionIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venRuntimeExceptionThrowUseMessage(JNIEnv* env, lgStream* trace, const char* message,
                                                   const char* methodName);
/** @} */

VEN_EXTERN_C_END

#endif
