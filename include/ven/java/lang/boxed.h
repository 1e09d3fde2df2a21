/** @file
 * Class support for java/lang/Boolean, java/lang/Double, java/lang/Long and java/lang/Object:
 * class lookup, instance test, boxing through the class's own valueOf, and any object's text. */
#ifndef VEN_JAVA_LANG_BOXED_H
#define VEN_JAVA_LANG_BOXED_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/** @name Class lookups
 * @{ */
/** A new local reference to the class, replacing the variable's. Bad argument:
 * "result != ((void *)0)" under the function's own name. */
VEN_API KS_BOOL venBooleanGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venDoubleGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venLongGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venObjectGetClass(jclass* result, JNIEnv* env, lgStream* trace);
/** @} */

/** @name Instance tests
 * @{ */
/** Whether `obj` is an instance of the class; a NULL `obj` is (KS_TRUE), and everything is a
 * java.lang.Object. A NULL `result` is reported by venIsInstanceOf. */
VEN_API KS_BOOL venBooleanIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venDoubleIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venLongIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venObjectIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
/** @} */

/** @name Boxing
 * @{ */
/** The boxed value through the class's own `valueOf` (so Boolean.TRUE/FALSE and the Long cache
 * are shared), as a local reference replacing the variable's. A boolean is true only for
 * exactly KS_TRUE. A NULL `result` is reported by venCallStaticObjectMethod, after the lookups. */
VEN_API KS_BOOL venBooleanValueOf(jobject* result, JNIEnv* env, lgStream* trace, KS_BOOL value);
VEN_API KS_BOOL venDoubleValueOf(jobject* result, JNIEnv* env, lgStream* trace, double value);
VEN_API KS_BOOL venLongValueOf(jobject* result, JNIEnv* env, lgStream* trace, KS_INT value);
/** @} */

/** The text of `obj.toString()` as a new ksString replacing (and releasing) `*result`'s: NULL
 * when it returns null, an empty ksString for "". Bad arguments: "result != ((void *)0)",
 * "obj != ((void *)0)". A toString() that throws: KS_FALSE with its exception pending. */
VEN_API KS_BOOL venObjectToString(ksString** result, JNIEnv* env, lgStream* trace, jobject obj);

VEN_EXTERN_C_END

#endif
