// The integration layer's shared rules: argument tests in order, the argument
// failure, the failure path after a JNI call, out-parameter delivery and the type
// conversions between ks and JNI. Every integration and class support unit uses these.
#pragma once

#include <cstddef>
#include <utility>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/integration.h"
#include "ven/wrapper/settled.hpp"

namespace ven::integration
{

// One tested argument: whether it holds, and the condition text a failure reports.
struct Requirement {
    bool holds;
    const char* condition;
};

// Throws java/lang/IllegalArgumentException "<function>: <condition>" (with the
// exception trace that venThrowNew makes). Always yields KS_FALSE.
KS_BOOL argumentFailure(JNIEnv* env, lgStream* trace, const char* function, const char* condition);

// Tests the requirements in order; the first that does not hold becomes the
// argument failure. True when all hold. Unrolled at compile time, so that the success
// path costs only the tests themselves: no array of requirements is built.
template <std::size_t N>
inline bool checkArguments(JNIEnv* env, lgStream* trace, const char* function, const Requirement (&requirements)[N])
{
    const char* failed = nullptr;
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        (void)((requirements[I].holds || (failed = requirements[I].condition, false)) && ...);
    }(std::make_index_sequence<N>{});
    if (failed != nullptr) [[unlikely]] {
        argumentFailure(env, trace, function, failed);
        return false;
    }
    return true;
}

// After a failed JNI operation: describes the pending exception when it is
// unchecked and leaves it pending. Always yields KS_FALSE.
KS_BOOL jniFailure(JNIEnv* env, lgStream* trace, const char* function);

// venDeleteLocalRef for the library's own references: the same steps, without the way through
// the symbol table.
inline void deleteLocal(JNIEnv* env, jobject localRef)
{
    if (localRef != nullptr) {
        wrapper::settled::DeleteLocalRef(env, localRef);
    }
}

// Out-parameter rule for local references: store the new one, then delete the old.
template <typename Ref> inline void deliverLocalRef(JNIEnv* env, Ref* result, Ref ref)
{
    Ref old = *result;
    *result = ref;
    deleteLocal(env, old);
}

// The whole tail of an operation that delivers a local reference: deliver it, and
// when JNI gave none, trace the pending exception under `function`.
template <typename Ref>
inline KS_BOOL deliverLocalRefOrFail(JNIEnv* env, lgStream* trace, const char* function, Ref* result, Ref ref)
{
    deliverLocalRef(env, result, ref);
    if (ref == nullptr) [[unlikely]] {
        return jniFailure(env, trace, function);
    }
    return KS_TRUE;
}

// Ownership rule for ks objects: store the new one, then release the old.
template <typename Obj> inline void deliverObject(Obj** result, Obj* object)
{
    Obj* old = *result;
    *result = object;
    ksObjRelease(old);
}

// A range check as a requirement, reporting its unexpanded text:
// VEN_RANGE_REQUIREMENT(VEN_KS_INT_TO_JSIZE_CONV_OK, len) fails with
// "VEN_KS_INT_TO_JSIZE_CONV_OK( len )".
#define VEN_RANGE_REQUIREMENT(check, argument)                                                               \
    ::ven::integration::Requirement                                                                          \
    {                                                                                                        \
        static_cast<bool>(check(argument)), #check "( " #argument " )"                                       \
    }

// The text of an expression after macro expansion, as fatal checks over a range
// check report it: VEN_EXPANDED_TEXT(VEN_KS_INT_TO_JINT_CONV_OK(index)).
#define VEN_EXPANDED_TEXT(...) VEN_EXPANDED_TEXT_(__VA_ARGS__)
#define VEN_EXPANDED_TEXT_(...) #__VA_ARGS__

inline jboolean toJboolean(KS_BOOL value)
{
    return value == KS_TRUE ? JNI_TRUE : JNI_FALSE;
}
inline KS_BOOL toKsBool(jboolean value)
{
    return value == JNI_TRUE ? KS_TRUE : KS_FALSE;
}

// A trace line that reports a failure: written and marked notable, or nothing at all
// without a stream. The stream is tested here so that no trace operation sees NULL.
template <typename... Values>
inline void traceFailureLine(lgStream* trace, const char* format, Values... values)
{
    if (trace != nullptr) {
        lgStreamTextFormatCstr(trace, format, KS_INT{-1}, values...);
        lgStreamSetNotable(trace);
    }
}

} // namespace ven::integration
