/** @file
 * The java/lang/String unit: conversion between UTF-16 and code points, and between
 * jstring and ksString, with the class lookup and instance test.
 *
 * @par Text rules
 * A surrogate pair becomes one code point and one code point above U+FFFF becomes a pair. A lone
 * low surrogate (DC00-DFFF not after a high one) passes through as the code point of the same
 * value, and a lone surrogate code point in a ksString becomes the same lone unit: such text
 * round-trips unchanged. A high surrogate (D800-DBFF) at the end or not followed by a low one is
 * ill-formed: decoding refuses it. */
#ifndef VEN_JAVA_LANG_STRING_H
#define VEN_JAVA_LANG_STRING_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/** Decodes `srcLength` UTF-16 units into code points: a new ksMemAllocN() block (room for
 * `srcLength` code points, possibly more than delivered) in `*resultChars` and its count in
 * `*resultLength`; free it with ksMemFree() or hand it to ksStringCreateFromCharsUse(). KS_FALSE,
 * delivering nothing and leaving both outputs as they were, for a high surrogate without its low
 * one. Makes no JNI call, so it may run inside a critical region. Fatal checks (path
 * "source/ven/java/lang/ven_string"): "resultChars", "resultLength", "srcChars" (NULL even with
 * length 0), "srcLength >= 0". Length 0 still delivers a block (for no elements). */
VEN_API KS_BOOL ven___JCharsToChars(KS_CHAR** resultChars, KS_INT* resultLength, const jchar* srcChars,
                                    KS_INT srcLength);
/** Encodes `srcLength` code points into UTF-16: a new ksMemAllocN() block of exactly
 * `*resultLength` units, freed with ksMemFree(); NULL and 0 for an empty input, with nothing
 * allocated. Never fails on Unicode; a value so far beyond U+10FFFF that its leading unit would
 * not fit 16 bits stops the process ("VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )"). Fatal checks:
 * "resultChars", "resultLength", "srcChars || srcLength == 0", "srcLength >= 0". */
VEN_API void ven___CharsToJChars(jchar** resultChars, KS_INT* resultLength, const KS_CHAR* srcChars,
                                 KS_INT srcLength);

/** The class java/lang/String as a new local reference replacing the variable's. Bad argument:
 * "result != ((void *)0)" (reported as "venStringGetClass: result != ((void *)0)"). */
VEN_API KS_BOOL venStringGetClass(jclass* result, JNIEnv* env, lgStream* trace);
/** Whether `obj` is a java.lang.String; a NULL `obj` is (KS_TRUE). A NULL `result` is reported
 * by venIsInstanceOf. The class reference it takes is deleted on every path. */
VEN_API KS_BOOL venStringIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);

/** The text of `string` as a new ksString of code points, stored in `*result` with the string it
 * held before released (so one variable may be reused in a loop).
 * - A NULL `string` stores NULL (and releases the old one); KS_TRUE.
 * - An empty Java string gives an empty ksString, not NULL.
 * - A lone high surrogate: KS_FALSE, `*result` unchanged, java.lang.AssertionError
 *   "venStringToKsString: Invalid UTF16 String." pending and traced. A lone low surrogate is
 *   kept as its code point.
 * Bad argument: "result != ((void *)0)". Reads the characters through the critical region and
 * decodes them in place: one allocation, no copy. */
VEN_API KS_BOOL venStringToKsString(ksString** result, JNIEnv* env, lgStream* trace, jstring string);
/** A new Java string with the text of `string` (only read; the caller keeps its reference),
 * stored in `*result` with the local reference held before deleted. A NULL `string` stores NULL;
 * an empty one gives "" (not NULL). Code points above U+FFFF become surrogate pairs. Bad
 * argument: "result != ((void *)0)"; a text longer than a jsize in UTF-16 units fails under
 * "venNewString". */
VEN_API KS_BOOL venStringFromKsString(jstring* result, JNIEnv* env, lgStream* trace, ksString* string);

VEN_EXTERN_C_END

#endif
