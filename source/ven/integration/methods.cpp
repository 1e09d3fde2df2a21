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

template <jmethodID (*lookUp)(JNIEnv*, jclass, const char*, const char*)>
KS_BOOL lookUpStaticMethod(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz, const char* name,
                           const char* sig)
{
    return lookUpMember<lookUp>("venGetStaticMethodID", result, env, trace, clazz, name, sig);
}

} // namespace

namespace wrapper = ven::wrapper::settled;

KS_BOOL settled::getMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz, const char* name,
                             const char* sig)
{
    return lookUpMethod<wrapper::GetMethodID>(result, env, trace, clazz, name, sig);
}

KS_BOOL settled::getStaticMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                   const char* name, const char* sig)
{
    return lookUpStaticMethod<wrapper::GetStaticMethodID>(result, env, trace, clazz, name, sig);
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

// The variadic forms gather the method's arguments and share the va_list forms' templates.
#define VEN_WITH_GATHERED_ARGUMENTS(...)                                                                     \
    va_list args;                                                                                            \
    va_start(args, methodID);                                                                                \
    KS_BOOL ok = __VA_ARGS__;                                                                                \
    va_end(args);                                                                                            \
    return ok;

// One definition per form: `function` is the name defined, `reported` the name that argument and
// JNI failures are reported under (the exported name, also for a settled twin).
#define VEN_DEFINE_CALL_Void(function, reported, kind, callee, Ven, Jni)                                     \
    KS_BOOL function(JNIEnv* env, lgStream* trace, VEN_CALL_PARAMETERS_##kind, ...)                          \
    {                                                                                                        \
        VEN_WITH_GATHERED_ARGUMENTS(                                                                         \
            callForNothing<callee>(#reported, env, trace, args, VEN_CALL_ARGUMENTS_##kind))                  \
    }
#define VEN_DEFINE_CALL_Value(function, reported, kind, callee, Ven, Jni)                                    \
    KS_BOOL function(Ven* result, JNIEnv* env, lgStream* trace, VEN_CALL_PARAMETERS_##kind, ...)             \
    {                                                                                                        \
        VEN_WITH_GATHERED_ARGUMENTS(                                                                         \
            callForValue<callee, Jni>(#reported, result, env, trace, args, VEN_CALL_ARGUMENTS_##kind))       \
    }
#define VEN_DEFINE_CALL_VaList(function, reported, kind, callee, Ven, Jni)                                   \
    KS_BOOL function(Ven* result, JNIEnv* env, lgStream* trace, VEN_CALL_PARAMETERS_##kind, va_list args)    \
    {                                                                                                        \
        return callForValue<callee, Jni>(#reported, result, env, trace, args, VEN_CALL_ARGUMENTS_##kind);    \
    }
#define VEN_DEFINE_CALL_String(function, reported, kind, callee, Ven, Jni)                                   \
    KS_BOOL function(Ven* result, JNIEnv* env, lgStream* trace, VEN_CALL_PARAMETERS_##kind, ...)             \
    {                                                                                                        \
        VEN_WITH_GATHERED_ARGUMENTS(composed(env, [&]<typename Path>() {                                     \
            return callForString<Path, callee>(result, env, trace, args, VEN_CALL_ARGUMENTS_##kind);         \
        }))                                                                                                  \
    }
#define VEN_DEFINE_CALL(form, kind, name, callee, Ven, Jni)                                                  \
    extern "C" VEN_DEFINE_CALL_##form(name, name, kind, callee, Ven, Jni)
#define VEN_DEFINE_SETTLED_CALL(twin, exported, wrapperTwin, form, kind, Ven, Jni)                           \
    VEN_DEFINE_CALL_##form(settled::twin, exported, kind, ven::wrapper::settled::wrapperTwin, Ven, Jni)

VEN_SETTLED_CALLS(VEN_DEFINE_SETTLED_CALL)
VEN_CALL_FUNCTIONS(VEN_DEFINE_CALL)

extern "C" KS_BOOL venGetMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                  const char* name, const char* sig)
{
    return lookUpMethod<ven___GetMethodID>(result, env, trace, clazz, name, sig);
}

extern "C" KS_BOOL venGetStaticMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                        const char* name, const char* sig)
{
    return lookUpStaticMethod<ven___GetStaticMethodID>(result, env, trace, clazz, name, sig);
}
