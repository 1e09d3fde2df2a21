/* Integration functions for Java strings: creation, lengths, pinning and release,
 * and region copies. Each reports a bad argument as a thrown
 * java/lang/IllegalArgumentException and returns KS_FALSE after any failure. */
#ifndef VEN_STRINGS_H
#define VEN_STRINGS_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* Creation: a new local reference in *result; the reference held before is deleted. */
VEN_API KS_BOOL venNewString(jstring* result, JNIEnv* env, lgStream* trace, const jchar* unicodeChars,
                             KS_INT len);
VEN_API KS_BOOL venNewStringUTF(jstring* result, JNIEnv* env, lgStream* trace, const char* bytes);

/* Lengths in UTF-16 units and in modified UTF-8 bytes. */
VEN_API KS_BOOL venGetStringLength(KS_INT* result, JNIEnv* env, lgStream* trace, jstring string);
VEN_API KS_BOOL venGetStringUTFLength(KS_INT* result, JNIEnv* env, lgStream* trace, jstring string);

/* Pinning; isCopy may be NULL. */
VEN_API KS_BOOL venGetStringChars(const jchar** result, JNIEnv* env, lgStream* trace, jstring string,
                                  KS_BOOL* isCopy);
VEN_API KS_BOOL venGetStringUTFChars(const char** result, JNIEnv* env, lgStream* trace, jstring string,
                                     KS_BOOL* isCopy);
VEN_API KS_BOOL venGetStringCritical(const jchar** result, JNIEnv* env, lgStream* trace, jstring string,
                                     KS_BOOL* isCopy);

/* Release of what the pinning functions gave; a NULL pointer is accepted and ignored. */
VEN_API KS_BOOL venReleaseStringChars(JNIEnv* env, lgStream* trace, jstring string, const jchar* chars);
VEN_API KS_BOOL venReleaseStringUTFChars(JNIEnv* env, lgStream* trace, jstring string, const char* utf);
VEN_API KS_BOOL venReleaseStringCritical(JNIEnv* env, lgStream* trace, jstring string, const jchar* carray);

/* Region copies; start and len go to the virtual machine unchanged. */
VEN_API KS_BOOL venGetStringRegion(JNIEnv* env, lgStream* trace, jstring str, jsize start, jsize len,
                                   jchar* buf);
VEN_API KS_BOOL venGetStringUTFRegion(JNIEnv* env, lgStream* trace, jstring str, jsize start, jsize len,
                                      char* buf);

VEN_EXTERN_C_END

#endif
