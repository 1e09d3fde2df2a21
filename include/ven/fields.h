/** @file
 * Integration field access: field lookups, readers and writers of instance and static
 * fields with range-tested conversions, and string fields read and written as ks strings.
 * Convention, conversions and out-parameter rules: ven/integration.h.
 *
 * Field accesses themselves cannot fail once the arguments pass: a JNI exception during the
 * access stops the process in the wrapper layer. The field ID must belong to the object's
 * (class's) field of the matching type; JNI does not check that, -Xcheck:jni does. */
#ifndef VEN_FIELDS_H
#define VEN_FIELDS_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/** @name Field lookups
 * @{ */
/** The ID of the instance (static) field `name` with the JNI type signature `sig` ("I", "J",
 * "Ljava/lang/String;", "[D") in `clazz`; IDs are not references and stay valid while the class is
 * loaded. Bad arguments: "result != NULL", "clazz != NULL", "name != NULL", "sig != NULL". No such
 * field: NULL stored, java.lang.NoSuchFieldError pending and traced. */
VEN_API KS_BOOL venGetFieldID(jfieldID* result, JNIEnv* env, lgStream* trace, jclass clazz, const char* name,
                              const char* sig);
VEN_API KS_BOOL venGetStaticFieldID(jfieldID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                    const char* name, const char* sig);
/** @} */

/** @name Instance field readers
 * @{ */
/** Reads field `fieldID` of `obj` into `*result`, widened to the module's type (boolean to
 * KS_BOOL, char to KS_CHAR, short/int/long to KS_INT, float/double to double, byte as jbyte); an
 * object field as a new local reference replacing the variable's (NULL for a null field). Bad
 * arguments: "result != NULL", "obj != NULL", "fieldID != NULL". */
VEN_API KS_BOOL venGetObjectField(jobject* result, JNIEnv* env, lgStream* trace, jobject obj,
                                  jfieldID fieldID);
VEN_API KS_BOOL venGetBooleanField(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj,
                                   jfieldID fieldID);
VEN_API KS_BOOL venGetByteField(jbyte* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetCharField(KS_CHAR* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetShortField(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetIntField(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetLongField(KS_INT* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetFloatField(double* result, JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID);
VEN_API KS_BOOL venGetDoubleField(double* result, JNIEnv* env, lgStream* trace, jobject obj,
                                  jfieldID fieldID);
/** @} */

/** @name Static field readers
 * @{ */
/** As the instance field readers, on the static field `fieldID` of `clazz` ("clazz != NULL"). */
VEN_API KS_BOOL venGetStaticObjectField(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                        jfieldID fieldID);
VEN_API KS_BOOL venGetStaticBooleanField(KS_BOOL* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                         jfieldID fieldID);
VEN_API KS_BOOL venGetStaticByteField(jbyte* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                      jfieldID fieldID);
VEN_API KS_BOOL venGetStaticCharField(KS_CHAR* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                      jfieldID fieldID);
VEN_API KS_BOOL venGetStaticShortField(KS_INT* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                       jfieldID fieldID);
VEN_API KS_BOOL venGetStaticIntField(KS_INT* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                     jfieldID fieldID);
VEN_API KS_BOOL venGetStaticLongField(KS_INT* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                      jfieldID fieldID);
VEN_API KS_BOOL venGetStaticFloatField(double* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                       jfieldID fieldID);
VEN_API KS_BOOL venGetStaticDoubleField(double* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                        jfieldID fieldID);
/** @} */

/** @name Instance field writers
 * @{ */
/** Stores `value` into field `fieldID` of `obj`, narrowed to the field's type. Bad arguments:
 * "obj != NULL", "fieldID != NULL", then for char, short and int the range check
 * ("VEN_KS_CHAR_TO_JCHAR_CONV_OK( value )", "VEN_KS_INT_TO_JSHORT_CONV_OK( value )",
 * "VEN_KS_INT_TO_JINT_CONV_OK( value )"): a value out of range writes nothing. A boolean is
 * true only for exactly KS_TRUE; a float rounds to nearest, beyond its range to an infinity; an
 * object `value` may be NULL. */
VEN_API KS_BOOL venSetObjectField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, jobject value);
VEN_API KS_BOOL venSetBooleanField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID,
                                   KS_BOOL value);
VEN_API KS_BOOL venSetByteField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, jbyte value);
VEN_API KS_BOOL venSetCharField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, KS_CHAR value);
VEN_API KS_BOOL venSetShortField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, KS_INT value);
VEN_API KS_BOOL venSetIntField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, KS_INT value);
VEN_API KS_BOOL venSetLongField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, KS_INT value);
VEN_API KS_BOOL venSetFloatField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, double value);
VEN_API KS_BOOL venSetDoubleField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID, double value);
/** @} */

/** @name Static field writers
 * @{ */
/** As the instance field writers, on the static field `fieldID` of `clazz` ("clazz != NULL"). */
VEN_API KS_BOOL venSetStaticObjectField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                        jobject value);
VEN_API KS_BOOL venSetStaticBooleanField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                         KS_BOOL value);
VEN_API KS_BOOL venSetStaticByteField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                      jbyte value);
VEN_API KS_BOOL venSetStaticCharField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                      KS_CHAR value);
VEN_API KS_BOOL venSetStaticShortField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                       KS_INT value);
VEN_API KS_BOOL venSetStaticIntField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                     KS_INT value);
VEN_API KS_BOOL venSetStaticLongField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                      KS_INT value);
VEN_API KS_BOOL venSetStaticFloatField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                       double value);
VEN_API KS_BOOL venSetStaticDoubleField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                        double value);
/** @} */

/** @name String fields as ks strings
 * @{ */
/** A `java.lang.String` field read as a new ksString replacing (and releasing) `*result`'s, or
 * written from a ksString (only read; the caller keeps its reference). A null field reads as
 * NULL, an empty string as an empty ksString (not NULL); a NULL `value` writes null. Text is
 * converted as venStringToKsString() and venStringFromKsString() do: a field holding a lone high
 * surrogate fails with java.lang.AssertionError "venStringToKsString: Invalid UTF16 String."
 * pending and `*result` unchanged. Bad arguments and failures are reported under the names of
 * the functions these compose: the object field function (venGetObjectField, venSetObjectField,
 * ...) for the target and the field ID, venStringToKsString for a NULL `result`. */
VEN_API KS_BOOL venGetStringField(ksString** result, JNIEnv* env, lgStream* trace, jobject obj,
                                  jfieldID fieldID);
VEN_API KS_BOOL venGetStaticStringField(ksString** result, JNIEnv* env, lgStream* trace, jclass clazz,
                                        jfieldID fieldID);
VEN_API KS_BOOL venSetStringField(JNIEnv* env, lgStream* trace, jobject obj, jfieldID fieldID,
                                  ksString* value);
VEN_API KS_BOOL venSetStaticStringField(JNIEnv* env, lgStream* trace, jclass clazz, jfieldID fieldID,
                                        ksString* value);
/** @} */

VEN_EXTERN_C_END

#endif
