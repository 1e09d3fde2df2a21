/** @file
 * Integration method invocation: method lookups and calls of every kind and result type,
 * with converted results, a va_list form for object results and a string form.
 * Convention, conversions and out-parameter rules: ven/integration.h.
 *
 * The method's arguments follow `methodID` as JNI's variadic calls take them: jboolean,
 * jbyte, jchar, jshort and jint as int-sized values, jlong, jfloat and jdouble as double, objects
 * as jobject. A KS_INT must be narrowed by the caller (`(jint)n`) for an int parameter, since
 * the list carries no types; the signature decides how each is read. */
#ifndef VEN_METHODS_H
#define VEN_METHODS_H

#include <stdarg.h>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/** @name Method lookups
 * @{ */
/** The ID of the instance (static) method `name` with the JNI signature `sig` ("(I)V",
 * "()Ljava/lang/String;"; "<init>" names a constructor) in `clazz` or its superclasses. Bad
 * arguments: "result != NULL", "clazz != NULL", "name != NULL", "sig != NULL". No such method:
 * NULL stored, java.lang.NoSuchMethodError pending and traced. */
VEN_API KS_BOOL venGetMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                               const char* name, const char* sig);
VEN_API KS_BOOL venGetStaticMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                     const char* name, const char* sig);
/** @} */

/** @name Virtual calls
 * @{ */
/** Calls method `methodID` on `obj`; the result, widened as a field read is (boolean to
 * KS_BOOL, char to KS_CHAR, short/int/long to KS_INT, float/double to double), goes to
 * `*result`, an object as a new local reference replacing the variable's (NULL for a null
 * return). Bad arguments: "result != NULL" (not for void), "obj != NULL", "methodID != NULL".
 * A method that throws: KS_FALSE, zero (NULL) in `*result` (the variable's old local reference
 * deleted), its exception pending and traced when unchecked; a checked exception is pending but
 * not traced. */
VEN_API KS_BOOL venCallVoidMethod(JNIEnv* env, lgStream* trace, jobject obj, jmethodID methodID, ...);
VEN_API KS_BOOL venCallObjectMethod(jobject* result, JNIEnv* env, lgStream* trace, jobject obj,
                                    jmethodID methodID, ...);
VEN_API KS_BOOL venCallBooleanMethod(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj,
                                     jmethodID methodID, ...);
VEN_API KS_BOOL venCallByteMethod(jbyte* result, JNIEnv* env, lgStream* trace, jobject obj,
                                  jmethodID methodID, ...);
VEN_API KS_BOOL venCallCharMethod(KS_CHAR* result, JNIEnv* env, lgStream* trace, jobject obj,
                                  jmethodID methodID, ...);
VEN_API KS_BOOL venCallShortMethod(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj,
                                   jmethodID methodID, ...);
VEN_API KS_BOOL venCallIntMethod(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj,
                                 jmethodID methodID, ...);
VEN_API KS_BOOL venCallLongMethod(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj,
                                  jmethodID methodID, ...);
VEN_API KS_BOOL venCallFloatMethod(double* result, JNIEnv* env, lgStream* trace, jobject obj,
                                   jmethodID methodID, ...);
VEN_API KS_BOOL venCallDoubleMethod(double* result, JNIEnv* env, lgStream* trace, jobject obj,
                                    jmethodID methodID, ...);
/** @} */

/** @name Non-virtual calls
 * @{ */
/** As the virtual calls, running the method as declared in `clazz` ("clazz != NULL", tested
 * after `obj`), whatever `obj`'s class overrides (Java's `super.m()`). */
VEN_API KS_BOOL venCallNonvirtualVoidMethod(JNIEnv* env, lgStream* trace, jobject obj, jclass clazz,
                                            jmethodID methodID, ...);
VEN_API KS_BOOL venCallNonvirtualObjectMethod(jobject* result, JNIEnv* env, lgStream* trace, jobject obj,
                                              jclass clazz, jmethodID methodID, ...);
VEN_API KS_BOOL venCallNonvirtualBooleanMethod(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj,
                                               jclass clazz, jmethodID methodID, ...);
VEN_API KS_BOOL venCallNonvirtualByteMethod(jbyte* result, JNIEnv* env, lgStream* trace, jobject obj,
                                            jclass clazz, jmethodID methodID, ...);
VEN_API KS_BOOL venCallNonvirtualCharMethod(KS_CHAR* result, JNIEnv* env, lgStream* trace, jobject obj,
                                            jclass clazz, jmethodID methodID, ...);
VEN_API KS_BOOL venCallNonvirtualShortMethod(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj,
                                             jclass clazz, jmethodID methodID, ...);
VEN_API KS_BOOL venCallNonvirtualIntMethod(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj,
                                           jclass clazz, jmethodID methodID, ...);
VEN_API KS_BOOL venCallNonvirtualLongMethod(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj,
                                            jclass clazz, jmethodID methodID, ...);
VEN_API KS_BOOL venCallNonvirtualFloatMethod(double* result, JNIEnv* env, lgStream* trace, jobject obj,
                                             jclass clazz, jmethodID methodID, ...);
VEN_API KS_BOOL venCallNonvirtualDoubleMethod(double* result, JNIEnv* env, lgStream* trace, jobject obj,
                                              jclass clazz, jmethodID methodID, ...);
/** @} */

/** @name Static calls
 * @{ */
/** As the virtual calls, on the static method `methodID` of `clazz` ("clazz != NULL"). */
VEN_API KS_BOOL venCallStaticVoidMethod(JNIEnv* env, lgStream* trace, jclass clazz, jmethodID methodID, ...);
VEN_API KS_BOOL venCallStaticObjectMethod(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                          jmethodID methodID, ...);
VEN_API KS_BOOL venCallStaticBooleanMethod(KS_BOOL* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                           jmethodID methodID, ...);
VEN_API KS_BOOL venCallStaticByteMethod(jbyte* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                        jmethodID methodID, ...);
VEN_API KS_BOOL venCallStaticCharMethod(KS_CHAR* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                        jmethodID methodID, ...);
VEN_API KS_BOOL venCallStaticShortMethod(KS_INT* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                         jmethodID methodID, ...);
VEN_API KS_BOOL venCallStaticIntMethod(KS_INT* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                       jmethodID methodID, ...);
VEN_API KS_BOOL venCallStaticLongMethod(KS_INT* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                        jmethodID methodID, ...);
VEN_API KS_BOOL venCallStaticFloatMethod(double* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                         jmethodID methodID, ...);
VEN_API KS_BOOL venCallStaticDoubleMethod(double* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                          jmethodID methodID, ...);
/** @} */

/** @name Object calls with a va_list
 * @{ */
/** The object-returning calls with the method's arguments as a `va_list`, for wrappers of one's
 * own that are variadic; same checks and results. */
VEN_API KS_BOOL venCallObjectMethodV(jobject* result, JNIEnv* env, lgStream* trace, jobject obj,
                                     jmethodID methodID, va_list args);
VEN_API KS_BOOL venCallNonvirtualObjectMethodV(jobject* result, JNIEnv* env, lgStream* trace, jobject obj,
                                               jclass clazz, jmethodID methodID, va_list args);
VEN_API KS_BOOL venCallStaticObjectMethodV(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                           jmethodID methodID, va_list args);
/** @} */

/** @name String calls
 * @{ */
/** Calls a method that returns `java.lang.String` and delivers its text as a new ksString
 * replacing (and releasing) `*result`'s: NULL for a null return, an empty ksString for "". A
 * return with a lone high surrogate fails with java.lang.AssertionError pending and `*result`
 * unchanged. Failures are reported under the names of the object call and of
 * venStringToKsString. */
VEN_API KS_BOOL venCallStringMethod(ksString** result, JNIEnv* env, lgStream* trace, jobject obj,
                                    jmethodID methodID, ...);
VEN_API KS_BOOL venCallNonvirtualStringMethod(ksString** result, JNIEnv* env, lgStream* trace, jobject obj,
                                              jclass clazz, jmethodID methodID, ...);
VEN_API KS_BOOL venCallStaticStringMethod(ksString** result, JNIEnv* env, lgStream* trace, jclass clazz,
                                          jmethodID methodID, ...);
/** @} */

VEN_EXTERN_C_END

#endif
