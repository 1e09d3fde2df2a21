/** @file
 * Integration arrays: length, object arrays, and for each primitive element type creation,
 * pinning, release and region copies; the critical pair. Element data is not converted: the
 * buffers hold JNI's own element types. Convention and out-parameter rules: ven/integration.h;
 * whole arrays to and from ks objects: ven/bridges.h.
 *
 * Lengths, indexes and start positions are KS_INT, range-checked with
 * VEN_KS_INT_TO_JSIZE_CONV_OK ("VEN_KS_INT_TO_JSIZE_CONV_OK( len )" and so on). Negative values
 * pass that check: creation refuses a negative length itself ("length >= 0"), while a negative
 * index or start reaches the JVM, which throws ArrayIndexOutOfBoundsException. There is no
 * function for reading one element of an object array; call `java.lang.reflect.Array.get`. */
#ifndef VEN_ARRAYS_H
#define VEN_ARRAYS_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/** The number of elements of any array. Bad arguments: "result != NULL", "array != NULL". */
VEN_API KS_BOOL venGetArrayLength(KS_INT* result, JNIEnv* env, lgStream* trace, jarray array);

/** @name Object arrays
 * @{ */
/** venNewObjectArray(): a new array of `length` elements of `elementClass`, each set to
 * `initialElement` (may be NULL), as a local reference replacing the variable's. Bad arguments:
 * "result != NULL", "length >= 0", "VEN_KS_INT_TO_JSIZE_CONV_OK( length )",
 * "elementClass != NULL". venSetObjectArrayElement(): stores `value` (may be NULL) at `index`;
 * bad arguments "array != NULL", "VEN_KS_INT_TO_JSIZE_CONV_OK( index )"; an index out of bounds
 * or a value of the wrong class fails with ArrayIndexOutOfBoundsException or ArrayStoreException
 * pending and traced. */
VEN_API KS_BOOL venNewObjectArray(jobjectArray* result, JNIEnv* env, lgStream* trace, KS_INT length,
                                  jclass elementClass, jobject initialElement);
VEN_API KS_BOOL venSetObjectArrayElement(JNIEnv* env, lgStream* trace, jobjectArray array, KS_INT index,
                                         jobject value);
/** @} */

/** @name Primitive array creation
 * @{ */
/** A new array of `length` zero elements as a local reference replacing the variable's. Bad
 * arguments: "result != NULL", "length >= 0", "VEN_KS_INT_TO_JSIZE_CONV_OK( length )". An array
 * the heap cannot hold: NULL stored, OutOfMemoryError pending and traced. */
VEN_API KS_BOOL venNewBooleanArray(jbooleanArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewByteArray(jbyteArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewCharArray(jcharArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewShortArray(jshortArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewIntArray(jintArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewLongArray(jlongArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewFloatArray(jfloatArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewDoubleArray(jdoubleArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
/** @} */

/** @name Pinning elements
 * @{ */
/** `*result` points at the elements of `array`, pinned or copied; `isCopy` may be NULL,
 * otherwise it receives whether they were copied (written also on failure). Give them back with
 * the matching release function, on every path. Bad arguments: "result != NULL",
 * "array != NULL". On failure NULL is stored, OutOfMemoryError pending and traced. */
VEN_API KS_BOOL venGetBooleanArrayElements(jboolean** result, JNIEnv* env, lgStream* trace,
                                           jbooleanArray array, KS_BOOL* isCopy);
VEN_API KS_BOOL venGetByteArrayElements(jbyte** result, JNIEnv* env, lgStream* trace, jbyteArray array,
                                        KS_BOOL* isCopy);
VEN_API KS_BOOL venGetCharArrayElements(jchar** result, JNIEnv* env, lgStream* trace, jcharArray array,
                                        KS_BOOL* isCopy);
VEN_API KS_BOOL venGetShortArrayElements(jshort** result, JNIEnv* env, lgStream* trace, jshortArray array,
                                         KS_BOOL* isCopy);
VEN_API KS_BOOL venGetIntArrayElements(jint** result, JNIEnv* env, lgStream* trace, jintArray array,
                                       KS_BOOL* isCopy);
VEN_API KS_BOOL venGetLongArrayElements(jlong** result, JNIEnv* env, lgStream* trace, jlongArray array,
                                        KS_BOOL* isCopy);
VEN_API KS_BOOL venGetFloatArrayElements(jfloat** result, JNIEnv* env, lgStream* trace, jfloatArray array,
                                         KS_BOOL* isCopy);
VEN_API KS_BOOL venGetDoubleArrayElements(jdouble** result, JNIEnv* env, lgStream* trace, jdoubleArray array,
                                          KS_BOOL* isCopy);
/** @} */

/** @name Releasing elements
 * @{ */
/** Gives back elements from the matching pinning function: mode 0 copies back (when they were
 * copied) and frees, JNI_COMMIT copies back and keeps them, JNI_ABORT frees without copying back.
 * Bad arguments: "array != NULL", "elems != NULL" (unlike the string releases, NULL is
 * refused), "mode == 0 || mode == JNI_COMMIT || mode == JNI_ABORT". A pending exception stays. */
VEN_API KS_BOOL venReleaseBooleanArrayElements(JNIEnv* env, lgStream* trace, jbooleanArray array,
                                               jboolean* elems, jint mode);
VEN_API KS_BOOL venReleaseByteArrayElements(JNIEnv* env, lgStream* trace, jbyteArray array, jbyte* elems,
                                            jint mode);
VEN_API KS_BOOL venReleaseCharArrayElements(JNIEnv* env, lgStream* trace, jcharArray array, jchar* elems,
                                            jint mode);
VEN_API KS_BOOL venReleaseShortArrayElements(JNIEnv* env, lgStream* trace, jshortArray array, jshort* elems,
                                             jint mode);
VEN_API KS_BOOL venReleaseIntArrayElements(JNIEnv* env, lgStream* trace, jintArray array, jint* elems,
                                           jint mode);
VEN_API KS_BOOL venReleaseLongArrayElements(JNIEnv* env, lgStream* trace, jlongArray array, jlong* elems,
                                            jint mode);
VEN_API KS_BOOL venReleaseFloatArrayElements(JNIEnv* env, lgStream* trace, jfloatArray array, jfloat* elems,
                                             jint mode);
VEN_API KS_BOOL venReleaseDoubleArrayElements(JNIEnv* env, lgStream* trace, jdoubleArray array,
                                              jdouble* elems, jint mode);
/** @} */

/** @name Region reads
 * @{ */
/** Copies `len` elements from index `start` of `array` into `buf`. Bad arguments:
 * "array != NULL", "VEN_KS_INT_TO_JSIZE_CONV_OK( start )", "VEN_KS_INT_TO_JSIZE_CONV_OK( len )",
 * "buf != NULL". A region out of bounds (negative values included) fails with
 * ArrayIndexOutOfBoundsException pending and traced; nothing is copied. */
VEN_API KS_BOOL venGetBooleanArrayRegion(JNIEnv* env, lgStream* trace, jbooleanArray array, KS_INT start,
                                         KS_INT len, jboolean* buf);
VEN_API KS_BOOL venGetByteArrayRegion(JNIEnv* env, lgStream* trace, jbyteArray array, KS_INT start,
                                      KS_INT len, jbyte* buf);
VEN_API KS_BOOL venGetCharArrayRegion(JNIEnv* env, lgStream* trace, jcharArray array, KS_INT start,
                                      KS_INT len, jchar* buf);
VEN_API KS_BOOL venGetShortArrayRegion(JNIEnv* env, lgStream* trace, jshortArray array, KS_INT start,
                                       KS_INT len, jshort* buf);
VEN_API KS_BOOL venGetIntArrayRegion(JNIEnv* env, lgStream* trace, jintArray array, KS_INT start, KS_INT len,
                                     jint* buf);
VEN_API KS_BOOL venGetLongArrayRegion(JNIEnv* env, lgStream* trace, jlongArray array, KS_INT start,
                                      KS_INT len, jlong* buf);
VEN_API KS_BOOL venGetFloatArrayRegion(JNIEnv* env, lgStream* trace, jfloatArray array, KS_INT start,
                                       KS_INT len, jfloat* buf);
VEN_API KS_BOOL venGetDoubleArrayRegion(JNIEnv* env, lgStream* trace, jdoubleArray array, KS_INT start,
                                        KS_INT len, jdouble* buf);
/** @} */

/** @name Region writes
 * @{ */
/** Copies `len` elements from `buf` into `array` at index `start`; checks and failures as the
 * region reads. */
VEN_API KS_BOOL venSetBooleanArrayRegion(JNIEnv* env, lgStream* trace, jbooleanArray array, KS_INT start,
                                         KS_INT len, const jboolean* buf);
VEN_API KS_BOOL venSetByteArrayRegion(JNIEnv* env, lgStream* trace, jbyteArray array, KS_INT start,
                                      KS_INT len, const jbyte* buf);
VEN_API KS_BOOL venSetCharArrayRegion(JNIEnv* env, lgStream* trace, jcharArray array, KS_INT start,
                                      KS_INT len, const jchar* buf);
VEN_API KS_BOOL venSetShortArrayRegion(JNIEnv* env, lgStream* trace, jshortArray array, KS_INT start,
                                       KS_INT len, const jshort* buf);
VEN_API KS_BOOL venSetIntArrayRegion(JNIEnv* env, lgStream* trace, jintArray array, KS_INT start, KS_INT len,
                                     const jint* buf);
VEN_API KS_BOOL venSetLongArrayRegion(JNIEnv* env, lgStream* trace, jlongArray array, KS_INT start,
                                      KS_INT len, const jlong* buf);
VEN_API KS_BOOL venSetFloatArrayRegion(JNIEnv* env, lgStream* trace, jfloatArray array, KS_INT start,
                                       KS_INT len, const jfloat* buf);
VEN_API KS_BOOL venSetDoubleArrayRegion(JNIEnv* env, lgStream* trace, jdoubleArray array, KS_INT start,
                                        KS_INT len, const jdouble* buf);
/** @} */

/** @name Critical region
 * @{ */
/** `*result` points at the elements of a primitive array, pinned if the JVM can (`isCopy`, may
 * be NULL, tells); until venReleasePrimitiveArrayCritical() the thread must call no other JNI
 * or ven function that reaches the JVM, nor block. Bad arguments: "result != NULL",
 * "array != NULL"; for the release "array != NULL", "carray != NULL" and the mode check as for
 * the element releases. */
VEN_API KS_BOOL venGetPrimitiveArrayCritical(void** result, JNIEnv* env, lgStream* trace, jarray array,
                                             jboolean* isCopy);
VEN_API KS_BOOL venReleasePrimitiveArrayCritical(JNIEnv* env, lgStream* trace, jarray array, void* carray,
                                                 jint mode);
/** @} */

VEN_EXTERN_C_END

#endif
