/** @file
 * The integration layer's shared surface: range checks of the narrowing conversions,
 * the exception trace, and the integration functions for the JNI version, exceptions,
 * classes, references, local frames, native registration, objects and monitors.
 *
 * @par The convention of every integration function
 * Parameters: the out-parameter `result` (when there is a value), the calling thread's
 * `env`, the trace stream `trace` (NULL for none), then the JNI function's own arguments.
 * The result is KS_TRUE when the operation was carried out, KS_FALSE otherwise; after
 * KS_FALSE exactly one Java exception is pending, and a native method should return to Java
 * (or clear it). A function may be called with an exception already pending: on success that
 * exception is pending again afterwards, unchanged.
 *
 * @par Bad arguments
 * Arguments JNI requires are tested in parameter order (`result` first, then a NULL test before
 * a sign test before a range test). The first that fails throws a new
 * `java.lang.IllegalArgumentException` whose message is the function's name, ": " and the
 * condition, for example "venFindClass: name != NULL" or
 * "venSetIntField: VEN_KS_INT_TO_JINT_CONV_OK( value )", and the function returns KS_FALSE
 * having done nothing else: no JNI call, the out-parameter untouched. Only a NULL `env` is not
 * tested: it stops the process in the wrapper layer.
 *
 * @par Out-parameters
 * - A local reference (jobject, jclass, jstring, arrays): the new one is stored, then the one
 *   the variable held before (if not NULL) is deleted. On a Java exception NULL is stored and
 *   the old one deleted all the same. So set a variable to NULL once, pass it to any number of
 *   calls in a row, and delete only the last reference it holds.
 * - A ksString or other ks object: likewise, stored first, the old one released after.
 * - A global or weak global reference, a jfieldID or jmethodID: stored; the old value is not
 *   released. NULL on failure.
 * - A primitive result of a method call: zero of its type after a Java exception.
 *
 * @par Conversions
 * The module's types are KS_INT, KS_BOOL, KS_CHAR and double; JNI's narrower types appear only
 * at the JNI call. Reading widens (jboolean gives KS_TRUE only for JNI_TRUE; jchar is
 * zero-extended, surrogates included; jshort, jint, jsize are sign-extended; jfloat is
 * widened exactly). Writing narrows with a range check that fails as a bad argument:
 * VEN_KS_CHAR_TO_JCHAR_CONV_OK, VEN_KS_INT_TO_JSHORT_CONV_OK, VEN_KS_INT_TO_JINT_CONV_OK,
 * VEN_KS_INT_TO_JSIZE_CONV_OK; a KS_BOOL gives JNI_TRUE only when it is exactly KS_TRUE (2 gives
 * JNI_FALSE); a double becomes a jfloat by rounding to nearest, without a range check
 * (beyond the float range: an infinity). jbyte and jlong pass unchanged.
 *
 * @par Trace lines
 * With a `trace` stream, a failed JNI call whose exception is unchecked (a
 * `java.lang.RuntimeException` or `java.lang.Error`) writes one line
 * "[<function>()] Exception: <the throwable's toString()>" and marks the stream notable; a
 * checked exception is not written but still fails the call. A NULL `trace` changes nothing
 * but the lines: not the result, not the out-parameter, not the pending exception. */
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
/** True when a KS_INT fits a jint: -2147483648 ... 2147483647. */
#define VEN_KS_INT_TO_JINT_CONV_OK(value) ( sizeof(KS_INT)>=sizeof(jint) ? (KS_INT)(value) >= (KS_INT)((KS_INT)(-2147483648LL)) && (KS_INT)(value) <= (KS_INT)((KS_INT)(2147483647LL)) : ((KS_BOOL)1) )
/** True when a KS_INT fits a jsize: -2147483648 ... 2147483647. Negative values pass; functions
 * that refuse a negative length test it first ("len >= 0"), and a negative index or start
 * reaches the JVM, which throws its own bounds exception. */
#define VEN_KS_INT_TO_JSIZE_CONV_OK(value) ( sizeof(KS_INT)>=sizeof(jsize) ? (KS_INT)(value) >= (KS_INT)((KS_INT)(-2147483648LL)) && (KS_INT)(value) <= (KS_INT)((KS_INT)(2147483647LL)) : ((KS_BOOL)1) )
/** True when a KS_INT fits a jshort: -32768 ... 32767. */
#define VEN_KS_INT_TO_JSHORT_CONV_OK(value) ( sizeof(KS_INT)>=sizeof(jshort) ? (KS_INT)(value) >= (KS_INT)((KS_INT)(-32768LL)) && (KS_INT)(value) <= (KS_INT)((KS_INT)(32767LL)) : ((KS_BOOL)1) )
/** True when a KS_CHAR fits a jchar: 0 ... 0xFFFF (a code point above it needs a surrogate pair). */
#define VEN_KS_CHAR_TO_JCHAR_CONV_OK(value) ( sizeof(KS_CHAR)>=sizeof(jchar) ? (KS_CHAR)(value) <= (KS_CHAR)((KS_CHAR)(65535U)) : ((KS_BOOL)1) )
/* clang-format on */

VEN_EXTERN_C_BEGIN

/** @name Exception trace
 * Describes a throwable in the trace stream as "[<methodName>()] Exception: <toString()>".
 * The exception pending on entry is pending again on return; none of them clears it. When
 * `toString()` cannot be had (it throws, or returns ill-formed UTF-16) the line reads
 * "[<methodName>()] Exception: Unknown Exception" after a diagnostic line of its own.
 * @{ */
/** Writes the line for `throwable` under `methodName` and marks the stream notable when
 * `notable` is KS_TRUE. KS_FALSE (after the line "[venTraceException()] throwable: NULL" or
 * "... methodName: NULL", stream notable) when either is NULL; with a NULL `trace`, KS_TRUE at
 * once without any JNI call. */
VEN_API KS_BOOL venTraceException(JNIEnv* env, lgStream* trace, jthrowable throwable, KS_BOOL notable,
                                  const char* methodName);
/** venTraceException() for the pending exception; KS_TRUE when none is pending. */
VEN_API KS_BOOL venTraceExceptionOccurred(JNIEnv* env, lgStream* trace, KS_BOOL notable,
                                          const char* methodName);
/** venTraceException() (notable) only when `throwable` is a `java.lang.RuntimeException` or a
 * `java.lang.Error`; for a checked exception KS_TRUE and nothing is written. KS_FALSE for a
 * NULL `throwable` (line "[venTraceErrorOrRuntimeException()] throwable: NULL"). The class
 * lookups run also when `trace` is NULL. This is the trace every integration function uses. */
VEN_API KS_BOOL venTraceErrorOrRuntimeException(JNIEnv* env, lgStream* trace, jthrowable throwable,
                                                const char* methodName);
/** venTraceErrorOrRuntimeException() for the pending exception; KS_TRUE when none is pending. */
VEN_API KS_BOOL venTraceErrorOrRuntimeExceptionOccurred(JNIEnv* env, lgStream* trace, const char* methodName);
/** @} */

/** Looks up a class by its JNI name with slashes ("java/lang/String") and delivers a new local
 * reference to it (the variable's old reference is deleted). Bad arguments: "result != NULL",
 * "name != NULL". A class that does not exist: KS_FALSE, NULL stored,
 * `java.lang.NoClassDefFoundError` pending and traced. */
VEN_API KS_BOOL venFindClass(jclass* result, JNIEnv* env, lgStream* trace, const char* name);
/** Throws a new instance of `clazz` with the message "<methodName>: <message>" and traces it
 * when unchecked; KS_TRUE when it is pending. Bad arguments: "clazz != NULL",
 * "message != NULL"; `methodName` must not be NULL. Any exception pending before is replaced. */
VEN_API KS_BOOL venThrowNew(JNIEnv* env, lgStream* trace, jclass clazz, const char* message,
                            const char* methodName);
/** Deletes a local reference; NULL is skipped. No trace, no bad-argument check. */
VEN_API void venDeleteLocalRef(JNIEnv* env, jobject localRef);

/** The JNI version of the virtual machine, as JNI's GetVersion gives it. A negative
 * version fails with the line "[venGetVersion()] error occured: <version>" and no exception. */
VEN_API KS_BOOL venGetVersion(KS_INT* result, JNIEnv* env, lgStream* trace);
/** Makes `throwable` pending (replacing any pending one) and traces it under `methodName` when
 * unchecked; always KS_TRUE after the throw. Bad argument: "throwable != NULL". */
VEN_API KS_BOOL venThrow(JNIEnv* env, lgStream* trace, jthrowable throwable, const char* methodName);

/** @name Global and weak global references
 * @{ */
/** A new global (weak global) reference to `obj`, stored without releasing what the variable
 * held; delete it with venDeleteGlobalRef() (venDeleteWeakGlobalRef()). Bad arguments:
 * "result != NULL", "obj != NULL". The JVM's failure (OutOfMemoryError) stores NULL. */
VEN_API KS_BOOL venNewGlobalRef(jobject* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venNewWeakGlobalRef(jweak* result, JNIEnv* env, lgStream* trace, jobject obj);
/** @} */

/** @name Local capacity and frames
 * @{ */
/** Makes room for `capacity` more local references (venEnsureLocalCapacity()) or pushes a new
 * local frame with that room (venPushLocalFrame(); pop it with venPopLocalFrame()). Bad
 * argument: "capacity >= 0". KS_FALSE on a refused capacity (JNI's OutOfMemoryError pending),
 * without exception trace. A JVM that refuses without raising (HotSpot, above its
 * MaxJNILocalCapacity) stops the process in the wrapper's consistency check. */
VEN_API KS_BOOL venEnsureLocalCapacity(JNIEnv* env, lgStream* trace, jint capacity);
VEN_API KS_BOOL venPushLocalFrame(JNIEnv* env, lgStream* trace, jint capacity);
/** @} */

/** Binds `nMethods` native methods of `clazz` from a table. Bad arguments: "clazz != NULL",
 * "methods != NULL", "nMethods >= 0". A method the class does not declare fails with
 * `java.lang.NoSuchMethodError` pending and traced. */
VEN_API KS_BOOL venRegisterNatives(JNIEnv* env, lgStream* trace, jclass clazz, const JNINativeMethod* methods,
                                   jint nMethods);
/** Unbinds every native method of `clazz`. Bad argument: "clazz != NULL". */
VEN_API KS_BOOL venUnregisterNatives(JNIEnv* env, lgStream* trace, jclass clazz);

/** A new object of `clazz` without running a constructor; a local reference, stored first, the
 * variable's old reference deleted after. Bad arguments: "result != NULL", "clazz != NULL". */
VEN_API KS_BOOL venAllocObject(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz);
/** A new object of `clazz` made by the constructor `methodID` ("<init>") with the arguments
 * that follow, as JNI types (jint, jlong, jobject, ... ; float promoted to double); a local
 * reference replacing the variable's. Bad arguments: "result != NULL", "clazz != NULL",
 * "methodID != NULL". A constructor that throws: NULL stored, its exception pending. */
VEN_API KS_BOOL venNewObject(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz, jmethodID methodID,
                             ...);
/** The class of `obj` as a local reference replacing the variable's. Bad arguments:
 * "result != NULL", "obj != NULL". */
VEN_API KS_BOOL venGetObjectClass(jclass* result, JNIEnv* env, lgStream* trace, jobject obj);

/** Whether `obj` is an instance of `clazz`; a NULL `obj` is an instance of every class
 * (KS_TRUE). Bad arguments: "result != NULL", "clazz != NULL". */
VEN_API KS_BOOL venIsInstanceOf(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj, jclass clazz);
/** @name Monitors
 * @{ */
/** Enters (leaves) the Java monitor of `obj` for the calling thread, as `synchronized` does;
 * pairing them is the caller's duty. Always KS_TRUE after the call (a refusal by JNI stops the
 * process). Bad argument: "obj != NULL". */
VEN_API KS_BOOL venMonitorEnter(JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venMonitorLeave(JNIEnv* env, lgStream* trace, jobject obj);
/** @} */

/** @name Exception state
 * Without argument failure or trace: straight to the wrapper functions.
 * @{ */
/** The pending throwable as a new local reference (the caller deletes it), or NULL. */
VEN_API jthrowable venExceptionOccurred(JNIEnv* env);
/** Prints the pending exception and its stack trace to stderr (JNI's ExceptionDescribe). */
VEN_API void venExceptionDescribe(JNIEnv* env);
/** Clears the pending exception, if any. */
VEN_API void venExceptionClear(JNIEnv* env);
/** KS_TRUE exactly when an exception is pending. */
VEN_API KS_BOOL venExceptionCheck(JNIEnv* env);
/** @} */

/** @name References and frames without argument failure
 * @{ */
/** Deletes a global (weak global) reference; NULL is skipped. */
VEN_API void venDeleteGlobalRef(JNIEnv* env, jobject globalRef);
VEN_API void venDeleteWeakGlobalRef(JNIEnv* env, jweak ref);
/** Pops the current local frame, deleting its local references; `result` (may be NULL) is
 * carried into the enclosing frame and its new local reference there is returned. A pending
 * exception stays pending. */
VEN_API jobject venPopLocalFrame(JNIEnv* env, jobject result);
/** A new local reference to what `ref` refers to; NULL for NULL. A weak reference whose object
 * was collected stops the process (consistency check "ref != NULL <> (*env)->NewLocalRef(ref) == NULL"):
 * test it with venIsSameObject() against NULL first. */
VEN_API jobject venNewLocalRef(JNIEnv* env, jobject ref);
/** KS_TRUE exactly when both refer to the same object (two NULLs do; a cleared weak reference
 * is the same as NULL). */
VEN_API KS_BOOL venIsSameObject(JNIEnv* env, jobject ref1, jobject ref2);
/** @} */

/** Ends the process through the virtual machine (JNI's FatalError with `msg`), after the line
 * "[<methodName>()]: venFatalError : <msg>" (stream notable). Does not return. */
VEN_API void venFatalError(JNIEnv* env, lgStream* trace, const char* msg, const char* methodName);

VEN_EXTERN_C_END

#endif
