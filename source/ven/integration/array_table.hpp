// The rows of the primitive array family, shared by arrays.cpp and the sweep suite.
#pragma once

// One row per function: kind, exported name, wrapper, element type, array type.
#define VEN_ARRAY_FUNCTIONS(X)                                                                               \
    X(New, venNewBooleanArray, ven___NewBooleanArray, jboolean, jbooleanArray)                               \
    X(New, venNewByteArray, ven___NewByteArray, jbyte, jbyteArray)                                           \
    X(New, venNewCharArray, ven___NewCharArray, jchar, jcharArray)                                           \
    X(New, venNewShortArray, ven___NewShortArray, jshort, jshortArray)                                       \
    X(New, venNewIntArray, ven___NewIntArray, jint, jintArray)                                               \
    X(New, venNewLongArray, ven___NewLongArray, jlong, jlongArray)                                           \
    X(New, venNewFloatArray, ven___NewFloatArray, jfloat, jfloatArray)                                       \
    X(New, venNewDoubleArray, ven___NewDoubleArray, jdouble, jdoubleArray)                                   \
    X(Pin, venGetBooleanArrayElements, ven___GetBooleanArrayElements, jboolean, jbooleanArray)               \
    X(Pin, venGetByteArrayElements, ven___GetByteArrayElements, jbyte, jbyteArray)                           \
    X(Pin, venGetCharArrayElements, ven___GetCharArrayElements, jchar, jcharArray)                           \
    X(Pin, venGetShortArrayElements, ven___GetShortArrayElements, jshort, jshortArray)                       \
    X(Pin, venGetIntArrayElements, ven___GetIntArrayElements, jint, jintArray)                               \
    X(Pin, venGetLongArrayElements, ven___GetLongArrayElements, jlong, jlongArray)                           \
    X(Pin, venGetFloatArrayElements, ven___GetFloatArrayElements, jfloat, jfloatArray)                       \
    X(Pin, venGetDoubleArrayElements, ven___GetDoubleArrayElements, jdouble, jdoubleArray)                   \
    X(Release, venReleaseBooleanArrayElements, ven___ReleaseBooleanArrayElements, jboolean, jbooleanArray)   \
    X(Release, venReleaseByteArrayElements, ven___ReleaseByteArrayElements, jbyte, jbyteArray)               \
    X(Release, venReleaseCharArrayElements, ven___ReleaseCharArrayElements, jchar, jcharArray)               \
    X(Release, venReleaseShortArrayElements, ven___ReleaseShortArrayElements, jshort, jshortArray)           \
    X(Release, venReleaseIntArrayElements, ven___ReleaseIntArrayElements, jint, jintArray)                   \
    X(Release, venReleaseLongArrayElements, ven___ReleaseLongArrayElements, jlong, jlongArray)               \
    X(Release, venReleaseFloatArrayElements, ven___ReleaseFloatArrayElements, jfloat, jfloatArray)           \
    X(Release, venReleaseDoubleArrayElements, ven___ReleaseDoubleArrayElements, jdouble, jdoubleArray)       \
    X(GetRegion, venGetBooleanArrayRegion, ven___GetBooleanArrayRegion, jboolean, jbooleanArray)             \
    X(GetRegion, venGetByteArrayRegion, ven___GetByteArrayRegion, jbyte, jbyteArray)                         \
    X(GetRegion, venGetCharArrayRegion, ven___GetCharArrayRegion, jchar, jcharArray)                         \
    X(GetRegion, venGetShortArrayRegion, ven___GetShortArrayRegion, jshort, jshortArray)                     \
    X(GetRegion, venGetIntArrayRegion, ven___GetIntArrayRegion, jint, jintArray)                             \
    X(GetRegion, venGetLongArrayRegion, ven___GetLongArrayRegion, jlong, jlongArray)                         \
    X(GetRegion, venGetFloatArrayRegion, ven___GetFloatArrayRegion, jfloat, jfloatArray)                     \
    X(GetRegion, venGetDoubleArrayRegion, ven___GetDoubleArrayRegion, jdouble, jdoubleArray)                 \
    X(SetRegion, venSetBooleanArrayRegion, ven___SetBooleanArrayRegion, jboolean, jbooleanArray)             \
    X(SetRegion, venSetByteArrayRegion, ven___SetByteArrayRegion, jbyte, jbyteArray)                         \
    X(SetRegion, venSetCharArrayRegion, ven___SetCharArrayRegion, jchar, jcharArray)                         \
    X(SetRegion, venSetShortArrayRegion, ven___SetShortArrayRegion, jshort, jshortArray)                     \
    X(SetRegion, venSetIntArrayRegion, ven___SetIntArrayRegion, jint, jintArray)                             \
    X(SetRegion, venSetLongArrayRegion, ven___SetLongArrayRegion, jlong, jlongArray)                         \
    X(SetRegion, venSetFloatArrayRegion, ven___SetFloatArrayRegion, jfloat, jfloatArray)                     \
    X(SetRegion, venSetDoubleArrayRegion, ven___SetDoubleArrayRegion, jdouble, jdoubleArray)
