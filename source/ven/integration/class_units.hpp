// What the class support units of the boxed values, Object and the collections share
// beyond the instance test: the class lookup that tests its result itself, and the course
// of an operation that looks a method up on a class and calls it once.
#pragma once

#include "ven/integration/convention.hpp"
#include "ven/java/lang/class_unit.hpp"

namespace ven::integration
{

// A unit's class lookup tests result itself before venFindClass does.
inline KS_BOOL findUnitClass(const char* function, jclass* result, JNIEnv* env, lgStream* trace,
                             const char* className)
{
    if (!checkArguments(env, trace, function, {{result != nullptr, "result != ((void *)0)"}})) {
        return KS_FALSE;
    }
    return venFindClass(result, env, trace, className);
}

// The two ways an operation obtains its class: the unit's own lookup, or the object's class.
template <auto GetClass> auto unitClass(JNIEnv* env, lgStream* trace)
{
    return [=](jclass* clazz) { return GetClass(clazz, env, trace); };
}

inline auto classOf(JNIEnv* env, lgStream* trace, jobject obj)
{
    return [=](jclass* clazz) { return venGetObjectClass(clazz, env, trace, obj); };
}

// A class obtained by obtainClass(&clazz), a method looked up on it by name and signature
// with venGetMethodID or venGetStaticMethodID, then call(clazz, method); each reports its
// own failures. The class reference is let go on every path; a method ID needs no release.
using MethodLookUp = KS_BOOL (*)(jmethodID*, JNIEnv*, lgStream*, jclass, const char*, const char*);

template <typename ObtainClass, typename Call>
KS_BOOL callThroughClass(JNIEnv* env, lgStream* trace, ObtainClass obtainClass, MethodLookUp lookUp,
                         const char* name, const char* sig, Call call)
{
    jclass clazz = nullptr;
    jmethodID method = nullptr;
    const bool ok =
        obtainClass(&clazz) && lookUp(&method, env, trace, clazz, name, sig) && call(clazz, method);
    venDeleteLocalRef(env, clazz);
    return ok ? KS_TRUE : KS_FALSE;
}

} // namespace ven::integration

// One row per class: class lookup, instance test, JNI class name.
#define VEN_DEFINE_CLASS_UNIT(getClassName, isInstanceName, className)                                       \
    extern "C" KS_BOOL getClassName(jclass* result, JNIEnv* env, lgStream* trace)                            \
    {                                                                                                        \
        return ven::integration::findUnitClass(#getClassName, result, env, trace, className);                \
    }                                                                                                        \
    extern "C" KS_BOOL isInstanceName(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj)            \
    {                                                                                                        \
        return ven::class_unit::isInstance<getClassName>(result, env, trace, obj);                           \
    }
