/* Integration field access: field lookups, readers and writers of instance and static
 * fields with range-tested conversions, and string fields read and written as ks strings. */
#ifndef VEN_FIELDS_H
#define VEN_FIELDS_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* Field lookups: *result receives the ID, or NULL with the JNI exception pending and traced. */
VEN_API KS_BOOL venGetFieldID(jfieldID* result, JNIEnv* env, lgStream* trace, jclass clazz, const char* name,
                              const char* sig);
VEN_API KS_BOOL venGetStaticFieldID(jfieldID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                    const char* name, const char* sig);

/* Instance field readers: the value converted; an object as a local reference replacing *result's. */
VEN_API KS_BOOL venGetObjectField(jobject* result, JNIEnv* env, lgStream* trace, jobject obj,
                                  jfieldID fieldID);
VEN_API KS_BOOL venGetBooleanField(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj,
                                   jfieldID fieldID);
VEN_API KS_BOOL venGetByteField(jbyte* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetCharField(KS_CHAR* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetShortField(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetIntField(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetLongField(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetFloatField(double* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetDoubleField(double* result, JNIEnv* env, lgStream* trace, jobject obj,
                                  jfieldID fieldID);

/* Static field readers: as the instance readers, on a class. */
VEN_API KS_BOOL venGetStaticObjectField(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                        jfieldID fieldID);
VEN_API KS_BOOL venGetStaticBooleanField(KS_BOOL* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                         jfieldID fieldID);
VEN_API KS_BOOL venGetStaticByteField(jbyte* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                      jfieldID fieldID);
VEN_API KS_BOOL venGetStaticCharField(KS_CHAR* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                      jfieldID fieldID);
VEN_API KS_BOOL venGetStaticShortField(KS_INT* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                       jfieldID fieldID);
VEN_API KS_BOOL venGetStaticIntField(KS_INT* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                     jfieldID fieldID);
VEN_API KS_BOOL venGetStaticLongField(KS_INT* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                      jfieldID fieldID);
VEN_API KS_BOOL venGetStaticFloatField(double* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                       jfieldID fieldID);
VEN_API KS_BOOL venGetStaticDoubleField(double* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                        jfieldID fieldID);

/* Instance field writers: char, short, int range-tested; a boolean is true only for KS_TRUE. */
VEN_API KS_BOOL venSetObjectField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, jobject value);
VEN_API KS_BOOL venSetBooleanField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID,
                                   KS_BOOL value);
VEN_API KS_BOOL venSetByteField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, jbyte value);
VEN_API KS_BOOL venSetCharField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, KS_CHAR value);
VEN_API KS_BOOL venSetShortField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, KS_INT value);
VEN_API KS_BOOL venSetIntField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, KS_INT value);
VEN_API KS_BOOL venSetLongField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, KS_INT value);
VEN_API KS_BOOL venSetFloatField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, double value);
VEN_API KS_BOOL venSetDoubleField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, double value);

/* Static field writers: as the instance writers, on a class. */
VEN_API KS_BOOL venSetStaticObjectField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                        jobject value);
VEN_API KS_BOOL venSetStaticBooleanField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                         KS_BOOL value);
VEN_API KS_BOOL venSetStaticByteField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                      jbyte value);
VEN_API KS_BOOL venSetStaticCharField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                      KS_CHAR value);
VEN_API KS_BOOL venSetStaticShortField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                       KS_INT value);
VEN_API KS_BOOL venSetStaticIntField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                     KS_INT value);
VEN_API KS_BOOL venSetStaticLongField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                      KS_INT value);
VEN_API KS_BOOL venSetStaticFloatField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                       double value);
VEN_API KS_BOOL venSetStaticDoubleField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                        double value);

/* String fields as ks strings: NULL reads from and writes a null field. */
VEN_API KS_BOOL venGetStringField(ksString** result, JNIEnv* env, lgStream* trace, jobject obj,
                                  jfieldID fieldID);
VEN_API KS_BOOL venGetStaticStringField(ksString** result, JNIEnv* env, lgStream* trace, jclass clazz,
                                        jfieldID fieldID);
VEN_API KS_BOOL venSetStringField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID,
                                  ksString* value);
VEN_API KS_BOOL venSetStaticStringField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                        ksString* value);

VEN_EXTERN_C_END

#endif
