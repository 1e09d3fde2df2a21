// What the field and method families share: how a JNI value becomes the integration
// layer's value and back (one row per JNI type), the NULL tests named after the JNI
// parameter they guard, the member lookup by name and signature, and the string forms.
#pragma once

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/integration.h"
#include "ven/integration/convention.hpp"
#include "ven/java/lang/string.h"

namespace ven::integration
{

// A value that crosses unchanged in meaning: widened on the way in (zero-extended when
// the JNI type is unsigned, sign-extended otherwise), narrowed to the low bits on the way
// out. Any range test belongs to the caller, before the narrowing.
template <typename Jni, typename Ven> struct Widened {
    using Type = Ven;
    static Ven toVen(Jni value) { return static_cast<Ven>(value); }
    static Jni toJni(Ven value) { return static_cast<Jni>(value); }
};

// JNI_TRUE and KS_TRUE map onto each other exactly; every other value means false.
struct Truth {
    using Type = KS_BOOL;
    static KS_BOOL toVen(jboolean value) { return toKsBool(value); }
    static jboolean toJni(KS_BOOL value) { return toJboolean(value); }
};

// clang-format off
template <typename Jni> struct Value;
template <> struct Value<jobject> : Widened<jobject, jobject> {};
template <> struct Value<jboolean> : Truth {};
template <> struct Value<jbyte> : Widened<jbyte, jbyte> {};
template <> struct Value<jchar> : Widened<jchar, KS_CHAR> {};
template <> struct Value<jshort> : Widened<jshort, KS_INT> {};
template <> struct Value<jint> : Widened<jint, KS_INT> {};
template <> struct Value<jlong> : Widened<jlong, KS_INT> {};
// Widening a float to double is exact; the way back rounds to nearest, beyond range to infinity.
template <> struct Value<jfloat> : Widened<jfloat, double> {};
template <> struct Value<jdouble> : Widened<jdouble, double> {};
// clang-format on

template <typename Jni> using VenValue = typename Value<Jni>::Type;

// The condition texts name the JNI parameter, and each parameter has its own type.
// clang-format off
template <typename Pointer> Requirement notNull(Pointer) = delete;
template <> inline Requirement notNull(jobject obj) { return {obj != nullptr, "obj != NULL"}; }
template <> inline Requirement notNull(jclass clazz) { return {clazz != nullptr, "clazz != NULL"}; }
template <> inline Requirement notNull(jfieldID fieldID) { return {fieldID != nullptr, "fieldID != NULL"}; }
template <> inline Requirement notNull(jmethodID methodID) { return {methodID != nullptr, "methodID != NULL"}; }
// clang-format on

// venGetFieldID, venGetStaticFieldID, venGetMethodID, venGetStaticMethodID: the ID, or
// NULL, overwrites *result; a NULL ID is a failure with the JNI exception pending.
template <auto LookUp, typename Id>
KS_BOOL lookUpMember(const char* function, Id* result, JNIEnv* env, lgStream* trace, jclass clazz,
                     const char* name, const char* sig)
{
    if (!checkArguments(env, trace, function,
                        {{result != nullptr, "result != NULL"},
                         notNull(clazz),
                         {name != nullptr, "name != NULL"},
                         {sig != nullptr, "sig != NULL"}})) {
        return KS_FALSE;
    }
    *result = LookUp(env, clazz, name, sig);
    return *result != nullptr ? KS_TRUE : jniFailure(env, trace, function);
}

// The string forms of the object readers and calls: obtain(&string) delivers a Java string (or
// null) and reports its own failures under its own name; the text then goes into *result by the
// path's conversion (venStringToKsString or its settled twin), and the local reference is let go
// on every path.
template <typename Path, typename Obtain>
KS_BOOL deliverText(ksString** result, JNIEnv* env, lgStream* trace, Obtain obtain)
{
    jobject string = nullptr;
    KS_BOOL ok = obtain(&string);
    if (ok) {
        ok = Path::toKsString(result, env, trace, static_cast<jstring>(string));
    }
    deleteLocal(env, string);
    return ok;
}

} // namespace ven::integration
