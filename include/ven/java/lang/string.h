/* The java/lang/String unit: conversion between UTF-16 and code points, and between
 * jstring and ksString, with the class lookup and instance test. */
#ifndef VEN_JAVA_LANG_STRING_H
#define VEN_JAVA_LANG_STRING_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* UTF-16 to code points: a new ksMemAllocN block (room for srcLength code points) and
 * its count; KS_FALSE, delivering nothing, for a high surrogate without its low one. */
VEN_API KS_BOOL ven___JCharsToChars(KS_CHAR** resultChars, KS_INT* resultLength, const jchar* srcChars,
                                    KS_INT srcLength);
/* Code points to UTF-16: a new block of exactly *resultLength units (NULL and 0 for none). */
VEN_API void ven___CharsToJChars(jchar** resultChars, KS_INT* resultLength, const KS_CHAR* srcChars,
                                 KS_INT srcLength);

/* Class lookup and instance test of java/lang/String. */
VEN_API KS_BOOL venStringGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venStringIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);

/* jstring to a new ksString (NULL for NULL) and ksString to a new local reference. */
VEN_API KS_BOOL venStringToKsString(ksString** result, JNIEnv* env, lgStream* trace, jstring string);
VEN_API KS_BOOL venStringFromKsString(jstring* result, JNIEnv* env, lgStream* trace, ksString* string);

VEN_EXTERN_C_END

#endif
