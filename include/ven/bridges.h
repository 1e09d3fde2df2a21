/* Array bridges: whole vectors of strings, buffers and plain arrays moved to and from Java
 * arrays in one call, composed of the integration layer's array and string functions. */
#ifndef VEN_BRIDGES_H
#define VEN_BRIDGES_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* To Java: a new array (replacing *result's) from a vector of strings, a buffer or doubles. */
VEN_API KS_BOOL venNewStringArrayFromKsVector(jobjectArray* result, JNIEnv* env, lgStream* trace,
                                              ksVector* vec);
VEN_API KS_BOOL venNewByteArrayFromBuffer(jbyteArray* result, JNIEnv* env, lgStream* trace, ksBuffer* buffer);
VEN_API KS_BOOL venNewDoubleArrayOf(jdoubleArray* result, JNIEnv* env, lgStream* trace, const double* source,
                                    KS_INT length);

/* To buffers: a new buffer (replacing *result's) from a byte region or a primitive array's start. */
VEN_API KS_BOOL venGetByteArrayRegionAsBuffer(ksBuffer** result, JNIEnv* env, lgStream* trace,
                                              jbyteArray array, KS_INT start, KS_INT len);
VEN_API KS_BOOL venGetPrimitiveArrayAsKsBuffer(ksBuffer** result, JNIEnv* env, lgStream* trace, jarray array);

/* To plain arrays: the first min(length, array length) elements into the caller's array. */
VEN_API KS_BOOL venCopyIntArrayElements(KS_INT* result, JNIEnv* env, lgStream* trace, jintArray array,
                                        KS_INT length);
VEN_API KS_BOOL venCopyDoubleArrayElements(double* result, JNIEnv* env, lgStream* trace, jdoubleArray array,
                                           KS_INT length);

VEN_EXTERN_C_END

#endif
