// The fast path of a composed operation: it asks once whether an exception is pending and, when
// none is, runs its inner calls through these twins of the integration functions of the same
// names. Each makes the same argument tests and reports its failures with the same texts and
// trace lines; only the wrapper's query before the call is gone, and after a call whose non-NULL
// result says that nothing was raised, the query after it too. With an exception pending the
// operation takes its ordinary path, which keeps it pending across each call.
#pragma once

#include <cstdarg>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/arrays.h"
#include "ven/fields.h"
#include "ven/integration.h"
#include "ven/integration/call_table.hpp"
#include "ven/integration/field_table.hpp"
#include "ven/java/lang/string.h"
#include "ven/java/lang/string_unit.hpp"
#include "ven/methods.h"

namespace ven::integration::settled
{

// The one question at the start of a composed operation: true when nothing is pending. Without
// an environment the ordinary path runs, whose first wrapper stops the process on its own line;
// with one, ven___ExceptionCheck would check nothing more, so JNI is asked directly.
inline bool nothingPending(JNIEnv* env)
{
    return env != nullptr && env->functions->ExceptionCheck(env) == JNI_FALSE;
}

KS_BOOL findClass(jclass* result, JNIEnv* env, lgStream* trace, const char* name);
KS_BOOL getStringLength(KS_INT* result, JNIEnv* env, lgStream* trace, jstring string);
KS_BOOL getStringCritical(const jchar** result, JNIEnv* env, lgStream* trace, jstring string,
                          KS_BOOL* isCopy);
KS_BOOL getStringRegion(JNIEnv* env, lgStream* trace, jstring str, jsize start, jsize len, jchar* buf);
KS_BOOL releaseStringCritical(JNIEnv* env, lgStream* trace, jstring string, const jchar* pinned);
KS_BOOL newString(jstring* result, JNIEnv* env, lgStream* trace, const jchar* unicodeChars, KS_INT len);
KS_BOOL newObjectArray(jobjectArray* result, JNIEnv* env, lgStream* trace, KS_INT length, jclass elementClass,
                       jobject initialElement);
KS_BOOL setObjectArrayElement(JNIEnv* env, lgStream* trace, jobjectArray array, KS_INT index, jobject value);
KS_BOOL getObjectClass(jclass* result, JNIEnv* env, lgStream* trace, jobject obj);
KS_BOOL getMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz, const char* name,
                    const char* sig);
#define VEN_SETTLED_FIELD_Get(twin, target, Ven)                                                             \
    KS_BOOL twin(Ven* result, JNIEnv* env, lgStream* trace, VEN_FIELD_TARGET_##target, jfieldID fieldID);
#define VEN_SETTLED_FIELD_Set(twin, target, Ven)                                                             \
    KS_BOOL twin(JNIEnv* env, lgStream* trace, VEN_FIELD_TARGET_##target, jfieldID fieldID, Ven value);
#define VEN_DECLARE_SETTLED_FIELD(twin, exported, wrapperTwin, kind, target, Ven, Jni, Range)                \
    VEN_SETTLED_FIELD_##kind(twin, target, Ven)
VEN_SETTLED_FIELDS(VEN_DECLARE_SETTLED_FIELD)
#undef VEN_DECLARE_SETTLED_FIELD
#undef VEN_SETTLED_FIELD_Get
#undef VEN_SETTLED_FIELD_Set
KS_BOOL getStaticMethodID(jmethodID* result, JNIEnv* env, lgStream* trace, jclass clazz, const char* name,
                          const char* sig);
KS_BOOL newObject(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz, jmethodID methodID, ...);
KS_BOOL isInstanceOf(KS_BOOL* result, JNIEnv* env, lgStream* trace, jobject obj, jclass clazz);
#define VEN_SETTLED_CALL_TAIL_Value ...
#define VEN_SETTLED_CALL_TAIL_VaList va_list args
#define VEN_DECLARE_SETTLED_CALL(twin, exported, wrapperTwin, form, kind, Ven, Jni)                          \
    KS_BOOL twin(Ven* result, JNIEnv* env, lgStream* trace, VEN_CALL_PARAMETERS_##kind,                      \
                 VEN_SETTLED_CALL_TAIL_##form);
VEN_SETTLED_CALLS(VEN_DECLARE_SETTLED_CALL)
#undef VEN_DECLARE_SETTLED_CALL
#undef VEN_SETTLED_CALL_TAIL_Value
#undef VEN_SETTLED_CALL_TAIL_VaList
KS_BOOL callStringMethod(ksString** result, JNIEnv* env, lgStream* trace, jobject obj, jmethodID methodID,
                         ...);

// Each exported function that a composed operation calls by name, with its settled twin.
template <auto Exported> struct Twin;
#define VEN_SETTLED_TWIN(exported, twin)                                                                     \
    template <> struct Twin<exported> {                                                                      \
        static constexpr auto call = twin;                                                                   \
    };
VEN_SETTLED_TWIN(venStringGetClass, java::settled::stringGetClass)
VEN_SETTLED_TWIN(venNewObjectArray, newObjectArray)
VEN_SETTLED_TWIN(venSetObjectArrayElement, setObjectArrayElement)
VEN_SETTLED_TWIN(venGetObjectClass, getObjectClass)
VEN_SETTLED_TWIN(venGetMethodID, getMethodID)
VEN_SETTLED_TWIN(venGetStaticMethodID, getStaticMethodID)
VEN_SETTLED_TWIN(venNewObject, newObject)
VEN_SETTLED_TWIN(venIsInstanceOf, isInstanceOf)
#define VEN_SETTLED_FIELD_TWIN(twin, exported, wrapperTwin, kind, target, Ven, Jni, Range)                   \
    VEN_SETTLED_TWIN(exported, twin)
VEN_SETTLED_FIELDS(VEN_SETTLED_FIELD_TWIN)
#undef VEN_SETTLED_FIELD_TWIN
#define VEN_SETTLED_CALL_TWIN(twin, exported, wrapperTwin, form, kind, Ven, Jni)                             \
    VEN_SETTLED_TWIN(exported, twin)
VEN_SETTLED_CALLS(VEN_SETTLED_CALL_TWIN)
#undef VEN_SETTLED_CALL_TWIN
VEN_SETTLED_TWIN(venCallStringMethod, callStringMethod)
#undef VEN_SETTLED_TWIN

} // namespace ven::integration::settled

namespace ven::integration
{

// The two paths of a composed operation, as the calls it makes: the exported functions, or their
// settled twins and the String unit's settled conversions. A NULL out-parameter or text takes the
// exported conversion on both, which reports or delivers it without a JNI call.
struct Exported {
    template <auto Function> static constexpr auto call = Function;

    static KS_BOOL toKsString(ksString** result, JNIEnv* env, lgStream* trace, jstring string)
    {
        return venStringToKsString(result, env, trace, string);
    }
    static KS_BOOL fromKsString(jstring* result, JNIEnv* env, lgStream* trace, ksString* string)
    {
        return venStringFromKsString(result, env, trace, string);
    }
};

struct Settled {
    template <auto Function> static constexpr auto call = settled::Twin<Function>::call;

    static KS_BOOL toKsString(ksString** result, JNIEnv* env, lgStream* trace, jstring string)
    {
        if (result == nullptr || string == nullptr) {
            return venStringToKsString(result, env, trace, string);
        }
        return java::settled::stringToKsString(result, env, trace, string);
    }
    static KS_BOOL fromKsString(jstring* result, JNIEnv* env, lgStream* trace, ksString* string)
    {
        if (result == nullptr || string == nullptr) {
            return venStringFromKsString(result, env, trace, string);
        }
        return java::settled::stringFromKsString(result, env, trace, string);
    }
};

// Runs body.operator()<Settled>() when nothing is pending, body.operator()<Exported>() otherwise.
// Flattened: the settled twins (the library is linked with all its units in view) are inlined
// into the operation, so that no chain of frames of the three layers is left to return through
// once the Java method has run; only a variadic call's twin stays a call. Boxing and toString
// cost 7 to 12% over their floor as chains of calls, 0 to 1% flattened. The exported functions
// stay calls: they may be interposed.
template <typename Body> [[gnu::flatten]] KS_BOOL composed(JNIEnv* env, Body body)
{
    if (settled::nothingPending(env)) {
        return body.template operator()<Settled>();
    }
    return body.template operator()<Exported>();
}

} // namespace ven::integration
