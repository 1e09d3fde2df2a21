/** @file
 * Class support for java/util/ArrayList, java/util/Collection and java/util/EnumSet: class
 * lookup, instance test, and building and reading lists and sets. Elements go in and out as
 * jobject: box primitives with ven/java/lang/boxed.h, make strings with venStringFromKsString().
 * Where a description says so, a NULL `result` is reported by the integration call made inside,
 * after the class and method lookups, under that function's name. */
#ifndef VEN_JAVA_UTIL_COLLECTIONS_H
#define VEN_JAVA_UTIL_COLLECTIONS_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/** @name Class lookups
 * @{ */
/** A new local reference to the class, replacing the variable's. Bad argument:
 * "result != ((void *)0)" under the function's own name. */
VEN_API KS_BOOL venArrayListGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venCollectionGetClass(jclass* result, JNIEnv* env, lgStream* trace);
VEN_API KS_BOOL venEnumSetGetClass(jclass* result, JNIEnv* env, lgStream* trace);
/** @} */

/** @name Instance tests
 * @{ */
/** Whether `obj` is an instance of the class; a NULL `obj` is (KS_TRUE). */
VEN_API KS_BOOL venArrayListIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venCollectionIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
VEN_API KS_BOOL venEnumSetIsInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj);
/** @} */

/** A new empty `java.util.ArrayList` as a local reference replacing the variable's (add to it
 * with venCollectionAdd()). A NULL `result` is reported by venNewObject. */
VEN_API KS_BOOL venArrayListNew(jobject* result, JNIEnv* env, lgStream* trace);
/** The element at `index` as a local reference replacing the variable's (NULL for a null
 * element). Bad arguments: "arrayList != ((void *)0)", then the jint range check of `index`,
 * reported with its expanded text "( sizeof(KS_INT)>=sizeof(jint) ? (KS_INT)(index) >= ...". An
 * index out of the list: IndexOutOfBoundsException pending and traced. A NULL `result` is
 * reported by venCallObjectMethod. */
VEN_API KS_BOOL venArrayListGet(jobject* result, JNIEnv* env, lgStream* trace, jobject arrayList,
                                KS_INT index);
/** The number of elements. Bad argument: "arrayList != ((void *)0)"; a NULL `result` is
 * reported by venCallIntMethod. */
VEN_API KS_BOOL venArrayListSize(KS_INT* result, JNIEnv* env, lgStream* trace, jobject arrayList);

/** @name Collection
 * @{ */
/** The answer of `collection.contains(element)` (`add(element)`: whether the collection
 * changed), looked up on the object's own class, so any implementation works; `element` may be
 * NULL where the collection allows it. No checks of their own: a NULL `collection` is reported
 * by venGetObjectClass, a NULL `result` by venCallBooleanMethod. What the method throws
 * (UnsupportedOperationException, ClassCastException, ...) is pending and traced. */
VEN_API KS_BOOL venCollectionContains(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject collection,
                                      jobject element);
VEN_API KS_BOOL venCollectionAdd(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject collection,
                                 jobject element);
/** @} */

/** A new empty `java.util.EnumSet` for the enum class `elementType`, as a local reference
 * replacing the variable's. Bad arguments: "result != ((void *)0)",
 * "elementType != ((void *)0)". A class that is not an enum: ClassCastException pending and
 * traced. */
VEN_API KS_BOOL venEnumSetNoneOf(jobject* result, JNIEnv* env, lgStream* trace, jclass elementType);

VEN_EXTERN_C_END

#endif
