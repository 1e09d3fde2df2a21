// The ArrayList, Collection and EnumSet class support units: class lookup, instance test,
// and list and set operations, each a class, a method looked up on it and one call.
#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/integration.h"
#include "ven/integration/convention.hpp"
#include "ven/java/class_unit.hpp"
#include "ven/java/util/collection_table.hpp"
#include "ven/java/util/collections.h"
#include "ven/methods.h"

using namespace ven::integration;
using namespace ven::java;

VEN_COLLECTION_CLASSES(VEN_DEFINE_CLASS_UNIT)

// The index test reports the jint range test written out, as its expansion reads.
constexpr const char* indexInJintRange = VEN_EXPANDED_TEXT(VEN_KS_INT_TO_JINT_CONV_OK(index));

// A NULL result is reported by the call, after the lookups, under the called function's name.
extern "C" KS_BOOL venArrayListNew(jobject* result, JNIEnv* env, lgStream* trace)
{
    return callOnUnitClass<venArrayListGetClass>(
        env, trace, "<init>", "()V", [&]<typename Path>(jclass clazz, jmethodID init) {
            return Path::template call<venNewObject>(result, env, trace, clazz, init);
        });
}

extern "C" KS_BOOL venArrayListGet(jobject* result, JNIEnv* env, lgStream* trace, jobject arrayList,
                                   KS_INT index)
{
    if (!checkArguments(env, trace, "venArrayListGet",
                        {{arrayList != nullptr, "arrayList != ((void *)0)"},
                         {static_cast<bool>(VEN_KS_INT_TO_JINT_CONV_OK(index)), indexInJintRange}})) {
        return KS_FALSE;
    }
    return callOnUnitClass<venArrayListGetClass>(
        env, trace, "get", "(I)Ljava/lang/Object;", [&]<typename Path>(jclass, jmethodID get) {
            return Path::template call<venCallObjectMethod>(result, env, trace, arrayList, get,
                                                            static_cast<jint>(index));
        });
}

extern "C" KS_BOOL venArrayListSize(KS_INT* result, JNIEnv* env, lgStream* trace, jobject arrayList)
{
    if (!checkArguments(env, trace, "venArrayListSize",
                        {{arrayList != nullptr, "arrayList != ((void *)0)"}})) {
        return KS_FALSE;
    }
    return callOnUnitClass<venArrayListGetClass>(
        env, trace, "size", "()I", [&]<typename Path>(jclass, jmethodID size) {
            return Path::template call<venCallIntMethod>(result, env, trace, arrayList, size);
        });
}

// Contains and add are looked up on the collection's own class, so any implementation works.
// No tests of their own: venGetObjectClass reports a NULL collection, venCallBooleanMethod a NULL result.
extern "C" KS_BOOL venCollectionContains(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject collection,
                                         jobject element)
{
    return callOnObjectClass(env, trace, collection, "contains", "(Ljava/lang/Object;)Z",
                             [&]<typename Path>(jclass, jmethodID contains) {
                                 return Path::template call<venCallBooleanMethod>(
                                     result, env, trace, collection, contains, element);
                             });
}

extern "C" KS_BOOL venCollectionAdd(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject collection,
                                    jobject element)
{
    return callOnObjectClass(
        env, trace, collection, "add", "(Ljava/lang/Object;)Z", [&]<typename Path>(jclass, jmethodID add) {
            return Path::template call<venCallBooleanMethod>(result, env, trace, collection, add, element);
        });
}

extern "C" KS_BOOL venEnumSetNoneOf(jobject* result, JNIEnv* env, lgStream* trace, jclass elementType)
{
    if (!checkArguments(env, trace, "venEnumSetNoneOf",
                        {{result != nullptr, "result != ((void *)0)"},
                         {elementType != nullptr, "elementType != ((void *)0)"}})) {
        return KS_FALSE;
    }
    return callOnUnitClass<venEnumSetGetClass, venGetStaticMethodID>(
        env, trace, "noneOf", "(Ljava/lang/Class;)Ljava/util/EnumSet;",
        [&]<typename Path>(jclass clazz, jmethodID noneOf) {
            return Path::template call<venCallStaticObjectMethod>(result, env, trace, clazz, noneOf,
                                                                  elementType);
        });
}
