/* The java/io/IOException unit: class lookup, instance test and throw operations
 * (KS_TRUE when the IOException is pending, KS_FALSE when another exception is). */
#ifndef VEN_JAVA_IO_IO_EXCEPTION_H
#define VEN_JAVA_IO_IO_EXCEPTION_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* java/io/IOException: lookup, instance test, throw with a C string, a ksString or a format. */
VEN_API KS_BOOL venIOExceptionGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venIOExceptionIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venIOExceptionThrowUseMessageCstr(JNIEnv* env, lgStream* trace, const char* methodName,
                                                  const char* message);
VEN_API KS_BOOL venIOExceptionThrowUseMessage(JNIEnv* env, lgStream* trace, const char* methodName,
                                              ksString* msg);
VEN_API KS_BOOL venIOExceptionThrowUseMessageFormatCstr(JNIEnv* env, lgStream* trace, const char* methodName,
                                                        const char* format, KS_INT formatLength, ...);

VEN_EXTERN_C_END

#endif
