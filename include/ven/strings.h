/** @file
 * Integration functions for Java strings: creation, lengths, pinning and release,
 * and region copies, in JNI's own forms (UTF-16 units and modified UTF-8). Each follows the
 * convention of ven/integration.h: a bad argument is a thrown java/lang/IllegalArgumentException
 * naming the function and the condition, and KS_FALSE follows any failure. To move text to and
 * from ksString (code points) use ven/java/lang/string.h. */
#ifndef VEN_STRINGS_H
#define VEN_STRINGS_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/** A new string of `len` UTF-16 units (any units, lone surrogates included) as a local reference
 * in `*result`; the reference held before is deleted, also on failure (then NULL is stored).
 * Bad arguments: "result != NULL", "unicodeChars != NULL || len == 0", "len >= 0",
 * "VEN_KS_INT_TO_JSIZE_CONV_OK( len )". NULL characters with `len` 0 give an empty string. */
VEN_API KS_BOOL venNewString(jstring* result, JNIEnv* env, lgStream* trace, const jchar* unicodeChars,
                             KS_INT len);
/** venNewString() from NUL-terminated modified UTF-8 `bytes` (a supplementary character as two
 * three-byte surrogates). Bad arguments: "result != NULL", "bytes != NULL". */
VEN_API KS_BOOL venNewStringUTF(jstring* result, JNIEnv* env, lgStream* trace, const char* bytes);

/** @name Lengths
 * @{ */
/** The length of `string` in UTF-16 units (venGetStringLength(); a surrogate pair counts 2) or
 * in modified UTF-8 bytes without the NUL (venGetStringUTFLength()). Bad arguments:
 * "result != NULL", "string != NULL". Never fails otherwise. */
VEN_API KS_BOOL venGetStringLength(KS_INT* result, JNIEnv* env, lgStream* trace, jstring string);
VEN_API KS_BOOL venGetStringUTFLength(KS_INT* result, JNIEnv* env, lgStream* trace, jstring string);
/** @} */

/** @name Pinning
 * @{ */
/** A pointer to the characters of `string`: UTF-16 units (venGetStringChars(),
 * venGetStringCritical()) or NUL-terminated modified UTF-8 (venGetStringUTFChars()). Not a
 * reference: `*result`'s old value is overwritten. Give it back with the matching release
 * function; between venGetStringCritical() and venReleaseStringCritical() call no other JNI or
 * ven function that reaches the JVM. `isCopy` may be NULL; otherwise it receives whether the JVM
 * made a copy (written also on failure, when it means nothing). Bad arguments:
 * "result != NULL", "string != NULL". On failure NULL is stored, OutOfMemoryError pending. */
VEN_API KS_BOOL venGetStringChars(const jchar** result, JNIEnv* env, lgStream* trace, jstring string,
                                  KS_BOOL* isCopy);
VEN_API KS_BOOL venGetStringUTFChars(const char** result, JNIEnv* env, lgStream* trace, jstring string,
                                     KS_BOOL* isCopy);
VEN_API KS_BOOL venGetStringCritical(const jchar** result, JNIEnv* env, lgStream* trace, jstring string,
                                     KS_BOOL* isCopy);
/** @} */

/** @name Release
 * @{ */
/** Gives back what the matching pinning function delivered for `string`. A NULL pointer is
 * accepted and ignored (KS_TRUE), so a clean-up path may release without knowing whether the
 * pinning was reached. Bad argument: "string != NULL". */
VEN_API KS_BOOL venReleaseStringChars(JNIEnv* env, lgStream* trace, jstring string, const jchar* chars);
VEN_API KS_BOOL venReleaseStringUTFChars(JNIEnv* env, lgStream* trace, jstring string, const char* utf);
VEN_API KS_BOOL venReleaseStringCritical(JNIEnv* env, lgStream* trace, jstring string, const jchar* carray);
/** @} */

/** @name Region copies
 * @{ */
/** Copies `len` UTF-16 units from index `start` of `str` into `buf` (venGetStringRegion()), or
 * their modified UTF-8 form (venGetStringUTFRegion(); `buf` needs room for up to 3 bytes a unit
 * and a NUL). `start` and `len` go to the JVM unchanged: out of bounds fails with
 * StringIndexOutOfBoundsException pending. Bad arguments: "str != NULL", "buf != NULL". */
VEN_API KS_BOOL venGetStringRegion(JNIEnv* env, lgStream* trace, jstring str, jsize start, jsize len,
                                   jchar* buf);
VEN_API KS_BOOL venGetStringUTFRegion(JNIEnv* env, lgStream* trace, jstring str, jsize start, jsize len,
                                      char* buf);
/** @} */

VEN_EXTERN_C_END

#endif
