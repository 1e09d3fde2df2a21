// The fast path of a composed operation: it asks once whether an exception is pending and, when
// none is, runs its inner calls through these twins of the integration functions of the same
// names. Each makes the same argument tests and reports its failures with the same texts and
// trace lines; only the wrapper's query before the call is gone, and after a call whose non-NULL
// result says that nothing was raised, the query after it too. With an exception pending the
// operation takes its ordinary path, which keeps it pending across each call.
#pragma once

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"

namespace ven::integration::settled
{

// The one question at the start of a composed operation: true when nothing is pending.
bool nothingPending(JNIEnv* env);

KS_BOOL findClass(jclass* result, JNIEnv* env, lgStream* trace, const char* name);
KS_BOOL getStringLength(KS_INT* result, JNIEnv* env, lgStream* trace, jstring string);
KS_BOOL getStringCritical(const jchar** result, JNIEnv* env, lgStream* trace, jstring string,
                          KS_BOOL* isCopy);
KS_BOOL getStringRegion(JNIEnv* env, lgStream* trace, jstring str, jsize start, jsize len, jchar* buf);
KS_BOOL newString(jstring* result, JNIEnv* env, lgStream* trace, const jchar* unicodeChars, KS_INT len);
KS_BOOL newObjectArray(jobjectArray* result, JNIEnv* env, lgStream* trace, KS_INT length, jclass elementClass,
                       jobject initialElement);
KS_BOOL setObjectArrayElement(JNIEnv* env, lgStream* trace, jobjectArray array, KS_INT index, jobject value);

} // namespace ven::integration::settled
