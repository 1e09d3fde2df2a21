/** @file
 * The java/io/IOException unit: class lookup, instance test and throw operations
 * (KS_TRUE when the IOException is pending, KS_FALSE when another exception is). A checked
 * exception: the throws write no trace line, and the Java method must declare it. */
#ifndef VEN_JAVA_IO_IO_EXCEPTION_H
#define VEN_JAVA_IO_IO_EXCEPTION_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/** @name java.io.IOException
 * @{ */
/** As the java.lang.AssertionError unit of ven/java/lang/throwables.h. */
VEN_API KS_BOOL venIOExceptionGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venIOExceptionIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venIOExceptionThrowUseMessageCstr(JNIEnv* env, lgStream* trace, const char* methodName,
                                                  const char* message);
VEN_API KS_BOOL venIOExceptionThrowUseMessage(JNIEnv* env, lgStream* trace, const char* methodName,
                                              ksString* msg);
VEN_API KS_BOOL venIOExceptionThrowUseMessageFormatCstr(JNIEnv* env, lgStream* trace, const char* methodName,
                                                        const char* format, KS_INT formatLength, ...);
/** @} */

VEN_EXTERN_C_END

#endif
