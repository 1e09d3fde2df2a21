// What the class support units share. Each unit has its class lookup and instance test;
// its operations compose integration functions only: a class obtained, a method looked up
// on it and called once, or a throwable thrown with a C string, a ksString or a format.
// Every class reference obtained is deleted on every path.
#pragma once

#include <cstdarg>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"
#include "ven/integration.h"
#include "ven/integration/convention.hpp"
#include "ven/integration/settled.hpp"

namespace ven::java
{

using ClassLookup = KS_BOOL (*)(jclass* result, JNIEnv* env, lgStream* trace);
using ThrowWithCstr = KS_BOOL (*)(JNIEnv* env, lgStream* trace, const char* methodName, const char* message);
using ThrowWithKsString = KS_BOOL (*)(JNIEnv* env, lgStream* trace, const char* methodName, ksString* msg);

// --- Class lookup and instance test ----------------------------------------------------------

using FindClass = KS_BOOL (*)(jclass* result, JNIEnv* env, lgStream* trace, const char* name);

// A unit's class lookup tests result itself before venFindClass (or its settled twin) does.
inline KS_BOOL findUnitClass(FindClass find, const char* function, jclass* result, JNIEnv* env,
                             lgStream* trace, const char* className)
{
    if (!integration::checkArguments(env, trace, function, {{result != nullptr, "result != ((void *)0)"}})) {
        return KS_FALSE;
    }
    return find(result, env, trace, className);
}

// Runs `use` on the unit's class if the lookup succeeds; the class reference is given
// back whatever happened.
template <ClassLookup lookup, typename Use> KS_BOOL withClass(JNIEnv* env, lgStream* trace, Use use)
{
    jclass clazz = nullptr;
    KS_BOOL outcome = lookup(&clazz, env, trace);
    if (outcome) {
        outcome = use(clazz);
    }
    integration::deleteLocal(env, clazz);
    return outcome;
}

// No checks of its own: a NULL result is reported by venIsInstanceOf, a NULL obj is
// an instance of every class. A composed operation: the unit's lookup and the test.
template <ClassLookup lookup> KS_BOOL isInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj)
{
    return integration::composed(env, [&]<typename Path>() {
        return withClass<Path::template call<lookup>>(env, trace, [&](jclass clazz) {
            return Path::template call<venIsInstanceOf>(result, env, trace, obj, clazz);
        });
    });
}

// --- One method called through a class ---------------------------------------------------------

// A class obtained by obtainClass(&clazz), a method looked up on it by name and signature
// with lookUp, then call(clazz, method); each reports its own failures. The class reference
// is let go on every path; a method ID needs no release.
using MethodLookUp = KS_BOOL (*)(jmethodID*, JNIEnv*, lgStream*, jclass, const char*, const char*);

template <typename ObtainClass, typename Call>
KS_BOOL callThroughClass(JNIEnv* env, lgStream* trace, ObtainClass obtainClass, MethodLookUp lookUp,
                         const char* name, const char* sig, Call call)
{
    jclass clazz = nullptr;
    jmethodID method = nullptr;
    const bool ok =
        obtainClass(&clazz) && lookUp(&method, env, trace, clazz, name, sig) && call(clazz, method);
    integration::deleteLocal(env, clazz);
    return ok ? KS_TRUE : KS_FALSE;
}

// The two ways an operation obtains its class, the unit's own lookup or the object's class, each
// a composed operation: `call` is call.operator()<Path>(clazz, method), on the path that
// integration::composed chose, and makes its calls through Path like the lookups.
template <ClassLookup lookup, MethodLookUp lookUp = venGetMethodID, typename Call>
KS_BOOL callOnUnitClass(JNIEnv* env, lgStream* trace, const char* name, const char* sig, Call call)
{
    return integration::composed(env, [&]<typename Path>() {
        return callThroughClass(
            env, trace, [&](jclass* clazz) { return Path::template call<lookup>(clazz, env, trace); },
            Path::template call<lookUp>, name, sig,
            [&](jclass clazz, jmethodID method) { return call.template operator()<Path>(clazz, method); });
    });
}

template <typename Call>
KS_BOOL callOnObjectClass(JNIEnv* env, lgStream* trace, jobject obj, const char* name, const char* sig,
                          Call call)
{
    return integration::composed(env, [&]<typename Path>() {
        return callThroughClass(
            env, trace,
            [&](jclass* clazz) { return Path::template call<venGetObjectClass>(clazz, env, trace, obj); },
            Path::template call<venGetMethodID>, name, sig,
            [&](jclass clazz, jmethodID method) { return call.template operator()<Path>(clazz, method); });
    });
}

// --- Throwables --------------------------------------------------------------------------------

template <ClassLookup lookup>
KS_BOOL throwWithCstr(JNIEnv* env, lgStream* trace, const char* methodName, const char* message)
{
    return withClass<lookup>(
        env, trace, [&](jclass clazz) { return venThrowNew(env, trace, clazz, message, methodName); });
}

// The caller keeps its reference to msg.
template <ThrowWithCstr throwCstr>
KS_BOOL throwWithKsString(const char* function, JNIEnv* env, lgStream* trace, const char* methodName,
                          ksString* msg)
{
    if (msg == nullptr) {
        return integration::argumentFailure(env, trace, function, "msg != ((void *)0)");
    }
    char* message = ksStringConvertToCstr(msg, 1, nullptr);
    const KS_BOOL outcome = throwCstr(env, trace, methodName, message);
    ksMemFree(message);
    return outcome;
}

// Format, length and values go to the base library's formatter unchanged.
template <ThrowWithKsString throwKsString>
KS_BOOL throwWithFormat(JNIEnv* env, lgStream* trace, const char* methodName, const char* format,
                        KS_INT formatLength, va_list values)
{
    ksString* msg = ksStringCreateFromFormatCstrArgList(format, formatLength, values);
    const KS_BOOL outcome = throwKsString(env, trace, methodName, msg);
    ksObjRelease(msg);
    return outcome;
}

} // namespace ven::java

// A unit's class lookup and its settled twin, which composed operations call when nothing is
// pending: the same body, with venFindClass or its settled twin for `find`.
#define VEN_DEFINE_UNIT_LOOKUP(getClass, ...)                                                                \
    extern "C" VEN_API KS_BOOL getClass(jclass* result, JNIEnv* env, lgStream* trace)                        \
    {                                                                                                        \
        constexpr ::ven::java::FindClass find = venFindClass;                                                \
        return __VA_ARGS__;                                                                                  \
    }                                                                                                        \
    namespace ven::java::settled                                                                             \
    {                                                                                                        \
    static KS_BOOL getClass##Settled(jclass* result, JNIEnv* env, lgStream* trace)                           \
    {                                                                                                        \
        constexpr ::ven::java::FindClass find = ::ven::integration::settled::findClass;                      \
        return __VA_ARGS__;                                                                                  \
    }                                                                                                        \
    }                                                                                                        \
    template <> struct ven::integration::settled::Twin<getClass> {                                           \
        static constexpr auto call = ::ven::java::settled::getClass##Settled;                                \
    };

// One row per class: class lookup, instance test, JNI class name.
#define VEN_DEFINE_CLASS_UNIT(getClassName, isInstanceName, className)                                       \
    VEN_DEFINE_UNIT_LOOKUP(getClassName,                                                                     \
                           ::ven::java::findUnitClass(find, #getClassName, result, env, trace, className))   \
    extern "C" KS_BOOL isInstanceName(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj)            \
    {                                                                                                        \
        return ::ven::java::isInstance<getClassName>(result, env, trace, obj);                               \
    }

// The lookup and instance test that every throwable unit has; the throwables' lookup
// makes no test of its own (a NULL result is reported by venFindClass).
#define VEN_DEFINE_THROWABLE_LOOKUP(getClass, isInstanceName, className)                                     \
    VEN_DEFINE_UNIT_LOOKUP(getClass, find(result, env, trace, className))                                    \
    VEN_API KS_BOOL isInstanceName(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj)               \
    {                                                                                                        \
        return ::ven::java::isInstance<getClass>(result, env, trace, obj);                                   \
    }

// One throwable unit with the three throw forms. The row spells out the exported
// names; the ksString form's name is also the text of its argument failure.
#define VEN_DEFINE_THROWABLE_UNIT(getClass, isInstanceName, throwCstr, throwKsString, throwFormat,           \
                                  className)                                                                 \
    VEN_DEFINE_THROWABLE_LOOKUP(getClass, isInstanceName, className)                                         \
    VEN_API KS_BOOL throwCstr(JNIEnv* env, lgStream* trace, const char* methodName, const char* message)     \
    {                                                                                                        \
        return ::ven::java::throwWithCstr<getClass>(env, trace, methodName, message);                        \
    }                                                                                                        \
    VEN_API KS_BOOL throwKsString(JNIEnv* env, lgStream* trace, const char* methodName, ksString* msg)       \
    {                                                                                                        \
        return ::ven::java::throwWithKsString<throwCstr>(#throwKsString, env, trace, methodName, msg);       \
    }                                                                                                        \
    VEN_API KS_BOOL throwFormat(JNIEnv* env, lgStream* trace, const char* methodName, const char* format,    \
                                KS_INT formatLength, ...)                                                    \
    {                                                                                                        \
        va_list values;                                                                                      \
        va_start(values, formatLength);                                                                      \
        const KS_BOOL outcome = ::ven::java::throwWithFormat<throwKsString>(env, trace, methodName, format,  \
                                                                            formatLength, values);           \
        va_end(values);                                                                                      \
        return outcome;                                                                                      \
    }

// One throwable unit with the single throw that takes the message before the name.
#define VEN_DEFINE_THROWABLE_UNIT_MESSAGE_FIRST(getClass, isInstanceName, throwMessage, className)           \
    VEN_DEFINE_THROWABLE_LOOKUP(getClass, isInstanceName, className)                                         \
    VEN_API KS_BOOL throwMessage(JNIEnv* env, lgStream* trace, const char* message, const char* methodName)  \
    {                                                                                                        \
        return ::ven::java::throwWithCstr<getClass>(env, trace, methodName, message);                        \
    }
