// Integration method invocation: lookups, and the call functions of the three kinds
// (virtual, non-virtual, static) for every result type, in variadic, va_list and string
// forms. Every call goes through the wrapper's va_list form.
#include <cstdarg>
#include <type_traits>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/integration/call_table.hpp"
#include "ven/integration/convention.hpp"
#include "ven/integration/members.hpp"
#include "ven/integration/settled.hpp"
#include "ven/methods.h"
#include "ven/wrapper.h"
#include "ven/wrapper/settled.hpp"

namespace ven::integration
{
namespace
{

// Targets are obj and methodID, obj, clazz and methodID, or clazz and methodID; they are
// tested after result, in that order. A primitive result is stored also after a Java
// exception: the wrapper then delivers zero. An object result goes to the wrapper itself,
// which replaces the reference *result held.
template <auto CallV, typename Jni, typename... Targets>
KS_BOOL callForValue(const char* function, VenValue<Jni>* result, JNIEnv* env, lgStream* trace, va_list args,
                     Targets... targets)
{
    if (!checkArguments(env, trace, function, {{result != nullptr, "result != NULL"}, notNull(targets)...})) {
        return KS_FALSE;
    }
    jboolean returned;
    if constexpr (std::is_same_v<Jni, jobject>) {
        returned = CallV(result, env, targets..., args);
    } else {
        Jni value{};
        returned = CallV(&value, env, targets..., args);
        *result = Value<Jni>::toVen(value);
    }
    return returned == JNI_TRUE ? KS_TRUE : jniFailure(env, trace, function);
}

template <auto CallV, typename... Targets>
KS_BOOL callForNothing(const char* function, JNIEnv* env, lgStream* trace, va_list args, Targets... targets)
{
    if (!checkArguments(env, trace, function, {notNull(targets)...})) {
        return KS_FALSE;
    }
    return CallV(env, targets..., args) == JNI_TRUE ? KS_TRUE : jniFailure(env, trace, function);
}

// The object call of the same kind reports every failure under its own name; result is
// first tested by the conversion, after the Java method has run.
template <typename Path, auto ObjectCallV, typename... Targets>
KS_BOOL callForString(ksString** result, JNIEnv* env, lgStream* trace, va_list args, Targets... targets)
{
    return deliverText<Path>(result, env, trace, [&](jobject* string) {
        return Path::template call<ObjectCallV>(string, env, trace, targets..., args);
    });
}

// The exported lookup and its settled twin: one name for both.
template <jmethodID (*lookUp)(JNIEnv*, jclass, const char*, const char*)>
KS_BOOL lookUpMethod(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz, const char* name,
                     const char* sig)
{
    return lookUpMember<lookUp>("venGetMethodID", result, env, trace, clazz, name, sig);
}

} // namespace

namespace wrapper = ven::wrapper::settled;

KS_BOOL settled::getMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz, const char* name,
                             const char* sig)
{
    return lookUpMethod<wrapper::GetMethodID>(result, env, trace, clazz, name, sig);
}

KS_BOOL settled::callObjectMethodV(jobject* result, JNIEnv* env, lgStream* trace, jobject obj,
                                   jmethodID methodID, va_list args)
{
    return callForValue<wrapper::CallObjectMethodV, jobject>("venCallObjectMethodV", result, env, trace, args,
                                                             obj, methodID);
}

KS_BOOL settled::callNonvirtualObjectMethodV(jobject* result, JNIEnv* env, lgStream* trace, jobject obj,
                                             jclass clazz, jmethodID methodID, va_list args)
{
    return callForValue<wrapper::CallNonvirtualObjectMethodV, jobject>(
        "venCallNonvirtualObjectMethodV", result, env, trace, args, obj, clazz, methodID);
}

KS_BOOL settled::callStaticObjectMethodV(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                         jmethodID methodID, va_list args)
{
    return callForValue<wrapper::CallStaticObjectMethodV, jobject>("venCallStaticObjectMethodV", result, env,
                                                                   trace, args, clazz, methodID);
}

KS_BOOL settled::callStringMethod(ksString** result, JNIEnv* env, lgStream* trace, jobject obj,
                                  jmethodID methodID, ...)
{
    va_list args;
    va_start(args, methodID);
    const KS_BOOL ok = callForString<Settled, venCallObjectMethodV>(result, env, trace, args, obj, methodID);
    va_end(args);
    return ok;
}

} // namespace ven::integration

using namespace ven::integration;

// The parameters of each kind, and the same as arguments; methodID always comes last.
#define VEN_CALL_PARAMETERS_Virtual jobject obj, jmethodID methodID
#define VEN_CALL_PARAMETERS_Nonvirtual jobject obj, jclass clazz, jmethodID methodID
#define VEN_CALL_PARAMETERS_Static jclass clazz, jmethodID methodID
#define VEN_CALL_ARGUMENTS_Virtual obj, methodID
#define VEN_CALL_ARGUMENTS_Nonvirtual obj, clazz, methodID
#define VEN_CALL_ARGUMENTS_Static clazz, methodID

// The variadic forms gather the method's arguments and share the va_list forms' templates.
#define VEN_WITH_GATHERED_ARGUMENTS(...)                                                                     \
    va_list args;                                                                                            \
    va_start(args, methodID);                                                                                \
    KS_BOOL ok = __VA_ARGS__;                                                                                \
    va_end(args);                                                                                            \
    return ok;

#define VEN_DEFINE_CALL_Void(kind, name, callee, Ven, Jni)                                                   \
    extern "C" KS_BOOL name(JNIEnv* env, lgStream* trace, VEN_CALL_PARAMETERS_##kind, ...)                   \
    {                                                                                                        \
        VEN_WITH_GATHERED_ARGUMENTS(                                                                         \
            callForNothing<callee>(#name, env, trace, args, VEN_CALL_ARGUMENTS_##kind))                      \
    }
#define VEN_DEFINE_CALL_Value(kind, name, callee, Ven, Jni)                                                  \
    extern "C" KS_BOOL name(Ven* result, JNIEnv* env, lgStream* trace, VEN_CALL_PARAMETERS_##kind, ...)      \
    {                                                                                                        \
        VEN_WITH_GATHERED_ARGUMENTS(                                                                         \
            callForValue<callee, Jni>(#name, result, env, trace, args, VEN_CALL_ARGUMENTS_##kind))           \
    }
#define VEN_DEFINE_CALL_VaList(kind, name, callee, Ven, Jni)                                                 \
    extern "C" KS_BOOL name(Ven* result, JNIEnv* env, lgStream* trace, VEN_CALL_PARAMETERS_##kind,           \
                            va_list args)                                                                    \
    {                                                                                                        \
        return callForValue<callee, Jni>(#name, result, env, trace, args, VEN_CALL_ARGUMENTS_##kind);        \
    }
#define VEN_DEFINE_CALL_String(kind, name, callee, Ven, Jni)                                                 \
    extern "C" KS_BOOL name(Ven* result, JNIEnv* env, lgStream* trace, VEN_CALL_PARAMETERS_##kind, ...)      \
    {                                                                                                        \
        VEN_WITH_GATHERED_ARGUMENTS(composed(env, [&]<typename Path>() {                                     \
            return callForString<Path, callee>(result, env, trace, args, VEN_CALL_ARGUMENTS_##kind);         \
        }))                                                                                                  \
    }
#define VEN_DEFINE_CALL(form, kind, name, callee, Ven, Jni)                                                  \
    VEN_DEFINE_CALL_##form(kind, name, callee, Ven, Jni)

VEN_CALL_FUNCTIONS(VEN_DEFINE_CALL)

extern "C" KS_BOOL venGetMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                  const char* name, const char* sig)
{
    return lookUpMethod<ven___GetMethodID>(result, env, trace, clazz, name, sig);
}

extern "C" KS_BOOL venGetStaticMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                        const char* name, const char* sig)
{
    return lookUpMember<ven___GetStaticMethodID>("venGetStaticMethodID", result, env, trace, clazz, name,
                                                 sig);
}
