// The operations that class support units share, over the unit's own class lookup:
// the instance test, and the throwable units' throws with a C string, a ksString
// and a format. Every class reference obtained is deleted on every path.
#pragma once

#include <cstdarg>

#include "ven/integration/convention.hpp"

namespace ven::class_unit
{

using ClassLookup = KS_BOOL (*)(jclass* result, JNIEnv* env, lgStream* trace);
using ThrowWithCstr = KS_BOOL (*)(JNIEnv* env, lgStream* trace, const char* methodName, const char* message);
using ThrowWithKsString = KS_BOOL (*)(JNIEnv* env, lgStream* trace, const char* methodName, ksString* msg);

// Runs `use` on the unit's class if the lookup succeeds; the class reference is given
// back whatever happened.
template <ClassLookup lookup, typename Use> KS_BOOL withClass(JNIEnv* env, lgStream* trace, Use use)
{
    jclass clazz = nullptr;
    KS_BOOL outcome = lookup(&clazz, env, trace);
    if (outcome) {
        outcome = use(clazz);
    }
    venDeleteLocalRef(env, clazz);
    return outcome;
}

// No checks of its own: a NULL result is reported by venIsInstanceOf, a NULL obj is
// an instance of every class.
template <ClassLookup lookup> KS_BOOL isInstance(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj)
{
    return withClass<lookup>(env, trace,
                             [&](jclass clazz) { return venIsInstanceOf(result, env, trace, obj, clazz); });
}

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

} // namespace ven::class_unit

// The lookup and instance test that every throwable unit has; the throwables' lookup
// makes no test of its own (a NULL result is reported by venFindClass).
#define VEN_DEFINE_THROWABLE_LOOKUP(getClass, isInstanceName, className)                                     \
    VEN_API KS_BOOL getClass(jclass* result, JNIEnv* env, lgStream* trace)                                   \
    {                                                                                                        \
        return venFindClass(result, env, trace, className);                                                  \
    }                                                                                                        \
    VEN_API KS_BOOL isInstanceName(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj)               \
    {                                                                                                        \
        return ::ven::class_unit::isInstance<getClass>(result, env, trace, obj);                             \
    }

// One throwable unit with the three throw forms. The row spells out the exported
// names; the ksString form's name is also the text of its argument failure.
#define VEN_DEFINE_THROWABLE_UNIT(getClass, isInstanceName, throwCstr, throwKsString, throwFormat,           \
                                  className)                                                                 \
    VEN_DEFINE_THROWABLE_LOOKUP(getClass, isInstanceName, className)                                         \
    VEN_API KS_BOOL throwCstr(JNIEnv* env, lgStream* trace, const char* methodName, const char* message)     \
    {                                                                                                        \
        return ::ven::class_unit::throwWithCstr<getClass>(env, trace, methodName, message);                  \
    }                                                                                                        \
    VEN_API KS_BOOL throwKsString(JNIEnv* env, lgStream* trace, const char* methodName, ksString* msg)       \
    {                                                                                                        \
        return ::ven::class_unit::throwWithKsString<throwCstr>(#throwKsString, env, trace, methodName, msg); \
    }                                                                                                        \
    VEN_API KS_BOOL throwFormat(JNIEnv* env, lgStream* trace, const char* methodName, const char* format,    \
                                KS_INT formatLength, ...)                                                    \
    {                                                                                                        \
        va_list values;                                                                                      \
        va_start(values, formatLength);                                                                      \
        const KS_BOOL outcome = ::ven::class_unit::throwWithFormat<throwKsString>(                           \
            env, trace, methodName, format, formatLength, values);                                           \
        va_end(values);                                                                                      \
        return outcome;                                                                                      \
    }

// One throwable unit with the single throw that takes the message before the name.
#define VEN_DEFINE_THROWABLE_UNIT_MESSAGE_FIRST(getClass, isInstanceName, throwMessage, className)           \
    VEN_DEFINE_THROWABLE_LOOKUP(getClass, isInstanceName, className)                                         \
    VEN_API KS_BOOL throwMessage(JNIEnv* env, lgStream* trace, const char* message, const char* methodName)  \
    {                                                                                                        \
        return ::ven::class_unit::throwWithCstr<getClass>(env, trace, methodName, message);                  \
    }
