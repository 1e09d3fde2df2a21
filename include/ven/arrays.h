/* Integration arrays: length, object arrays, and for each primitive element type creation,
 * pinning, release and region copies; the critical pair. Element data is not converted. */
#ifndef VEN_ARRAYS_H
#define VEN_ARRAYS_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* Length of any array, widened with its sign. */
VEN_API KS_BOOL venGetArrayLength(KS_INT* result, JNIEnv* env, lgStream* trace, jarray array);

/* Object arrays: creation filled with initialElement, and storing one element; both may be NULL. */
VEN_API KS_BOOL venNewObjectArray(jobjectArray* result, JNIEnv* env, lgStream* trace, KS_INT length,
                                  jclass elementClass, jobject initialElement);
VEN_API KS_BOOL venSetObjectArrayElement(JNIEnv* env, lgStream* trace, jobjectArray array, KS_INT index,
                                         jobject value);

/* Primitive array creation: length zero elements; the new local reference replaces *result's. */
VEN_API KS_BOOL venNewBooleanArray(jbooleanArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewByteArray(jbyteArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewCharArray(jcharArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewShortArray(jshortArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewIntArray(jintArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewLongArray(jlongArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewFloatArray(jfloatArray* result, JNIEnv* env, lgStream* trace, KS_INT length);
VEN_API KS_BOOL venNewDoubleArray(jdoubleArray* result, JNIEnv* env, lgStream* trace, KS_INT length);

/* Pinning: *result points at the elements (pinned or copied); *isCopy (may be NULL) tells which. */
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

/* Release of pinned elements with mode 0, JNI_COMMIT or JNI_ABORT; NULL elements are refused. */
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

/* Region reads: len elements from index start into buf. */
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

/* Region writes: len elements from buf into the array at index start. */
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

/* Critical region: no other JNI call may come between the two on this thread. */
VEN_API KS_BOOL venGetPrimitiveArrayCritical(void** result, JNIEnv* env, lgStream* trace, jarray array,
                                             jboolean* isCopy);
VEN_API KS_BOOL venReleasePrimitiveArrayCritical(JNIEnv* env, lgStream* trace, jarray array, void* carray,
                                                 jint mode);

VEN_EXTERN_C_END

#endif
