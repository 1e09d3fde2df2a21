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
    return callThroughClass(
        env, trace, unitClass<venArrayListGetClass>(env, trace), venGetMethodID, "<init>", "()V",
        [&](jclass clazz, jmethodID init) { return venNewObject(result, env, trace, clazz, init); });
}

extern "C" KS_BOOL venArrayListGet(jobject* result, JNIEnv* env, lgStream* trace, jobject arrayList,
                                   KS_INT index)
{
    if (!checkArguments(env, trace, "venArrayListGet",
                        {{arrayList != nullptr, "arrayList != ((void *)0)"},
                         {static_cast<bool>(VEN_KS_INT_TO_JINT_CONV_OK(index)), indexInJintRange}})) {
        return KS_FALSE;
    }
    return callThroughClass(env, trace, unitClass<venArrayListGetClass>(env, trace), venGetMethodID, "get",
                            "(I)Ljava/lang/Object;", [&](jclass, jmethodID get) {
                                return venCallObjectMethod(result, env, trace, arrayList, get,
                                                           static_cast<jint>(index));
                            });
}

extern "C" KS_BOOL venArrayListSize(KS_INT* result, JNIEnv* env, lgStream* trace, jobject arrayList)
{
    if (!checkArguments(env, trace, "venArrayListSize",
                        {{arrayList != nullptr, "arrayList != ((void *)0)"}})) {
        return KS_FALSE;
    }
    return callThroughClass(
        env, trace, unitClass<venArrayListGetClass>(env, trace), venGetMethodID, "size", "()I",
        [&](jclass, jmethodID size) { return venCallIntMethod(result, env, trace, arrayList, size); });
}

// Contains and add are looked up on the collection's own class, so any implementation works.
// No tests of their own: venGetObjectClass reports a NULL collection, venCallBooleanMethod a NULL result.
extern "C" KS_BOOL venCollectionContains(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject collection,
                                         jobject element)
{
    return callThroughClass(env, trace, classOf(env, trace, collection), venGetMethodID, "contains",
                            "(Ljava/lang/Object;)Z", [&](jclass, jmethodID contains) {
                                return venCallBooleanMethod(result, env, trace, collection, contains,
                                                            element);
                            });
}

extern "C" KS_BOOL venCollectionAdd(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject collection,
                                    jobject element)
{
    return callThroughClass(env, trace, classOf(env, trace, collection), venGetMethodID, "add",
                            "(Ljava/lang/Object;)Z", [&](jclass, jmethodID add) {
                                return venCallBooleanMethod(result, env, trace, collection, add, element);
                            });
}

extern "C" KS_BOOL venEnumSetNoneOf(jobject* result, JNIEnv* env, lgStream* trace, jclass elementType)
{
    if (!checkArguments(env, trace, "venEnumSetNoneOf",
                        {{result != nullptr, "result != ((void *)0)"},
                         {elementType != nullptr, "elementType != ((void *)0)"}})) {
        return KS_FALSE;
    }
    return callThroughClass(
        env, trace, unitClass<venEnumSetGetClass>(env, trace), venGetStaticMethodID, "noneOf",
        "(Ljava/lang/Class;)Ljava/util/EnumSet;", [&](jclass clazz, jmethodID noneOf) {
            return venCallStaticObjectMethod(result, env, trace, clazz, noneOf, elementType);
        });
}
