/* Class support for java/util/ArrayList, java/util/Collection and java/util/EnumSet: class
 * lookup, instance test, and building and reading lists and sets. */
#ifndef VEN_JAVA_UTIL_COLLECTIONS_H
#define VEN_JAVA_UTIL_COLLECTIONS_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* Class lookups: a new local reference to the class, replacing *result's. */
VEN_API KS_BOOL venArrayListGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venCollectionGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venEnumSetGetClass(jclass* result, JNIEnv* env, lgStream* trace);

/* Instance tests: whether obj is an instance of the class (a NULL obj is). */
VEN_API KS_BOOL venArrayListIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venCollectionIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venEnumSetIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);

/* ArrayList: a new empty list, the element at index (index within the jint range), the size. */
VEN_API KS_BOOL venArrayListNew(jobject* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venArrayListGet(jobject* result, JNIEnv* env, lgStream* trace, jobject arrayList,
                                KS_INT index);
VEN_API KS_BOOL venArrayListSize(KS_INT* result, JNIEnv* env, lgStream* trace, jobject arrayList);

/* Collection: the answers of contains and add, for any implementation of java/util/Collection. */
VEN_API KS_BOOL venCollectionContains(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject collection,
                                      jobject element);
VEN_API KS_BOOL venCollectionAdd(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject collection,
                                 jobject element);

/* EnumSet: a new empty set for the enum class elementType. */
VEN_API KS_BOOL venEnumSetNoneOf(jobject* result, JNIEnv* env, lgStream* trace, jclass elementType);

VEN_EXTERN_C_END

#endif
