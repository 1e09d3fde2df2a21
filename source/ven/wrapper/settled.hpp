// Wrapper calls for the fast path of a composed operation that asked once, before its first
// call, that nothing is pending (NothingPending): the checks, lines and texts of their exported
// twins ven___<Name>, without a query before each call.
#pragma once

#include <cstdarg>

#include <jni.h>

namespace ven::wrapper::settled
{

jclass FindClass(JNIEnv* env, const char* name);
jclass GetObjectClass(JNIEnv* env, jobject obj);
jmethodID GetMethodID(JNIEnv* env, jclass clazz, const char* name, const char* sig);
jmethodID GetStaticMethodID(JNIEnv* env, jclass clazz, const char* name, const char* sig);
jobject NewObjectV(JNIEnv* env, jclass clazz, jmethodID methodID, va_list args);
jboolean IsInstanceOf(JNIEnv* env, jobject obj, jclass clazz);
jobject GetObjectField(JNIEnv* env, jobject obj, jfieldID fieldID);
void SetObjectField(JNIEnv* env, jobject obj, jfieldID fieldID, jobject value);
jobject GetStaticObjectField(JNIEnv* env, jclass clazz, jfieldID fieldID);
void SetStaticObjectField(JNIEnv* env, jclass clazz, jfieldID fieldID, jobject value);
jboolean CallObjectMethodV(jobject* result, JNIEnv* env, jobject obj, jmethodID methodID, va_list args);
jboolean CallNonvirtualObjectMethodV(jobject* result, JNIEnv* env, jobject obj, jclass clazz,
                                     jmethodID methodID, va_list args);
jboolean CallIntMethodV(jint* result, JNIEnv* env, jobject obj, jmethodID methodID, va_list args);
jboolean CallBooleanMethodV(jboolean* result, JNIEnv* env, jobject obj, jmethodID methodID, va_list args);
jboolean CallStaticObjectMethodV(jobject* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                 va_list args);
jsize GetStringLength(JNIEnv* env, jstring string);
const jchar* GetStringCritical(JNIEnv* env, jstring string, jboolean* isCopy);
// No query to spare in these two: the exported function's checks, without the way through the symbol
// table.
void DeleteLocalRef(JNIEnv* env, jobject localRef);
void ReleaseStringCritical(JNIEnv* env, jstring string, const jchar* carray);
jboolean GetStringRegion(JNIEnv* env, jstring str, jsize start, jsize len, jchar* buf);
jstring NewString(JNIEnv* env, const jchar* unicodeChars, jsize len);
jobjectArray NewObjectArray(JNIEnv* env, jsize length, jclass elementClass, jobject initialElement);
jboolean SetObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index, jobject value);

} // namespace ven::wrapper::settled
