/* Class support for java/lang/Boolean, java/lang/Double, java/lang/Long and java/lang/Object:
 * class lookup, instance test, boxing through the class's own valueOf, and any object's text. */
#ifndef VEN_JAVA_LANG_BOXED_H
#define VEN_JAVA_LANG_BOXED_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* Class lookups: a new local reference to the class, replacing *result's. */
VEN_API KS_BOOL venBooleanGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venDoubleGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venLongGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venObjectGetClass(jclass* result, JNIEnv* env, lgStream* trace);

/* Instance tests: whether obj is an instance of the class (a NULL obj is). */
VEN_API KS_BOOL venBooleanIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venDoubleIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venLongIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venObjectIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);

/* Boxing: a local reference to the boxed value (replacing *result's); a boolean is true only for KS_TRUE. */
VEN_API KS_BOOL venBooleanValueOf(jobject* result, JNIEnv* env, lgStream* trace, KS_BOOL value);
VEN_API KS_BOOL venDoubleValueOf(jobject* result, JNIEnv* env, lgStream* trace, double value);
VEN_API KS_BOOL venLongValueOf(jobject* result, JNIEnv* env, lgStream* trace, KS_INT value);

/* Text of an object: its toString() as a new ks string replacing *result's (NULL when it returns null). */
VEN_API KS_BOOL venObjectToString(ksString** result, JNIEnv* env, lgStream* trace, jobject obj);

VEN_EXTERN_C_END

#endif
