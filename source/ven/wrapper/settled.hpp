// Wrapper calls for the fast path of a composed operation that asked once, before its first
// call, that nothing is pending (NothingPending): the checks, lines and texts of their exported
// twins ven___<Name>, without a query before each call.
#pragma once

#include <jni.h>

namespace ven::wrapper::settled
{

jclass FindClass(JNIEnv* env, const char* name);
jsize GetStringLength(JNIEnv* env, jstring string);
const jchar* GetStringCritical(JNIEnv* env, jstring string, jboolean* isCopy);
jboolean GetStringRegion(JNIEnv* env, jstring str, jsize start, jsize len, jchar* buf);
jstring NewString(JNIEnv* env, const jchar* unicodeChars, jsize len);
jobjectArray NewObjectArray(JNIEnv* env, jsize length, jclass elementClass, jobject initialElement);
jboolean SetObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index, jobject value);

} // namespace ven::wrapper::settled
