/* Integration method invocation: method lookups and calls of every kind and result type,
 * with converted results, a va_list form for object results and a string form. */
#ifndef VEN_METHODS_H
#define VEN_METHODS_H

#include <stdarg.h>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* Method lookups: *result receives the ID, or NULL with the JNI exception pending and traced. */
VEN_API KS_BOOL venGetMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                               const char* name, const char* sig);
VEN_API KS_BOOL venGetStaticMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                     const char* name, const char* sig);

/* Virtual calls: the method's arguments follow methodID; a Java exception leaves zero (NULL). */
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

/* Non-virtual calls: as the virtual calls, with the class whose method runs. */
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

/* Static calls: as the virtual calls, on a class. */
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

/* Object calls with the method's arguments as a va_list. */
VEN_API KS_BOOL venCallObjectMethodV(jobject* result, JNIEnv* env, lgStream* trace, jobject obj,
                                     jmethodID methodID, va_list args);
VEN_API KS_BOOL venCallNonvirtualObjectMethodV(jobject* result, JNIEnv* env, lgStream* trace, jobject obj,
                                               jclass clazz, jmethodID methodID, va_list args);
VEN_API KS_BOOL venCallStaticObjectMethodV(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                           jmethodID methodID, va_list args);

/* String calls: the returned java/lang/String as a ks string (NULL for null) replacing *result's. */
VEN_API KS_BOOL venCallStringMethod(ksString** result, JNIEnv* env, lgStream* trace, jobject obj,
                                    jmethodID methodID, ...);
VEN_API KS_BOOL venCallNonvirtualStringMethod(ksString** result, JNIEnv* env, lgStream* trace, jobject obj,
                                              jclass clazz, jmethodID methodID, ...);
VEN_API KS_BOOL venCallStaticStringMethod(ksString** result, JNIEnv* env, lgStream* trace, jclass clazz,
                                          jmethodID methodID, ...);

VEN_EXTERN_C_END

#endif
