// The String unit's conversions for the fast path of a composed operation that has asked that
// nothing is pending (integration/settled.hpp): the same results, texts and trace lines as
// venStringGetClass, venStringToKsString and venStringFromKsString, without asking again.
#pragma once

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"

namespace ven::java::settled
{

KS_BOOL stringGetClass(jclass* result, JNIEnv* env, lgStream* trace);
// `string` is not NULL.
KS_BOOL stringToKsString(ksString** result, JNIEnv* env, lgStream* trace, jstring string);
// `string` is not NULL; the caller keeps its reference.
KS_BOOL stringFromKsString(jstring* result, JNIEnv* env, lgStream* trace, const ksString* string);

} // namespace ven::java::settled
