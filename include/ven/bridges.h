/** @file
 * Array bridges: whole vectors of strings, buffers and plain arrays moved to and from Java
 * arrays in one call, composed of the integration layer's array and string functions.
 * Convention: ven/integration.h. Bad arguments of the composed steps are reported under the
 * name of the function that tests them, which each description gives. */
#ifndef VEN_BRIDGES_H
#define VEN_BRIDGES_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/** A new `String[]` with the vector's length, element i converted from element i of `vec`
 * (venStringFromKsString(); a NULL or non-string element becomes null), replacing the variable's
 * local reference. Uses at most three local references however long the vector is. On any
 * failure NULL is stored and the variable's old reference deleted. Bad arguments:
 * "result != NULL", "vec != NULL"; a vector longer than a jsize fails under "venNewObjectArray". */
VEN_API KS_BOOL venNewStringArrayFromKsVector(jobjectArray* result, JNIEnv* env, lgStream* trace,
                                              ksVector* vec);
/** A new `byte[]` holding the buffer's bytes, replacing the variable's local reference. Bad
 * arguments, reported under "venNewByteArray": "result != NULL", "buffer != NULL"; a buffer
 * longer than 2147483647 bytes: "VEN_KS_INT_TO_JSIZE_CONV_OK( length )". */
VEN_API KS_BOOL venNewByteArrayFromBuffer(jbyteArray* result, JNIEnv* env, lgStream* trace, ksBuffer* buffer);
/** A new `double[]` of `length` values copied from `source`, replacing the variable's local
 * reference. Bad arguments: "source != NULL" (under "venNewDoubleArrayOf", tested first), then
 * under "venNewDoubleArray" "result != NULL", "length >= 0",
 * "VEN_KS_INT_TO_JSIZE_CONV_OK( length )". */
VEN_API KS_BOOL venNewDoubleArrayOf(jdoubleArray* result, JNIEnv* env, lgStream* trace, const double* source,
                                    KS_INT length);

/** A new buffer holding the `len` bytes from index `start` of `array`, stored in `*result` with
 * the buffer held before released. A NULL `result` and a negative `len` are reported under
 * "venGetByteArrayRegionAsBytes" ("result != ((void *)0)", "len >= 0"); the array and the region
 * under "venGetByteArrayRegion" (bounds: ArrayIndexOutOfBoundsException, `*result` untouched). */
VEN_API KS_BOOL venGetByteArrayRegionAsBuffer(ksBuffer** result, JNIEnv* env, lgStream* trace,
                                              jbyteArray array, KS_INT start, KS_INT len);
/** A new buffer of as many bytes as `array` has elements, copied from the start of its elements
 * through the critical region: the whole array for `byte[]` and `boolean[]`, only the first
 * bytes for wider elements. Replaces and releases `*result`'s buffer. A NULL `result` is reported
 * under "venArrayToKsBuffer" ("result != ((void *)0)"), a NULL array under "venGetArrayLength". */
VEN_API KS_BOOL venGetPrimitiveArrayAsKsBuffer(ksBuffer** result, JNIEnv* env, lgStream* trace, jarray array);

/** @name To plain arrays
 * @{ */
/** Copies the first n elements of `array` into the caller's `result`, which has room for
 * `length`; n is the smaller of `length` and the array's length (not reported: ask
 * venGetArrayLength() when it matters). Ints are widened to KS_INT. Bad arguments:
 * "result != NULL", "length >= 0"; a NULL array under "venGetArrayLength". */
VEN_API KS_BOOL venCopyIntArrayElements(KS_INT* result, JNIEnv* env, lgStream* trace, jintArray array,
                                        KS_INT length);
VEN_API KS_BOOL venCopyDoubleArrayElements(double* result, JNIEnv* env, lgStream* trace, jdoubleArray array,
                                           KS_INT length);
/** @} */

VEN_EXTERN_C_END

#endif
