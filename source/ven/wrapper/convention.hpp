// The wrapper layer's rules, each written once: its fatal and consistency checks (over the
// library's one stop), the saved pending exception and one template per kind of wrapper
// (direct, checked-result, non-raising, flagged). The family files build every exported
// wrapper from these.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include <jni.h>

#include "ven/checks.hpp"

namespace ven::wrapper
{

// Every stop of this layer reports the unit's name.
inline constexpr FatalChecks check{"source/ven/ven_wrapper"};

inline constexpr const char* kNoExceptionCondition = "(*env)->ExceptionCheck( env ) == JNI_FALSE";
inline constexpr const char* kExceptionRaisedCondition = "(*env)->ExceptionCheck( env ) == JNI_TRUE";

// The usual consistency messages: no exception pending, yet the result signals failure.
#define VEN_NULL_RESULT_MESSAGE(member)                                                                      \
    "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->" #member "() == NULL"
#define VEN_STATUS_MESSAGE(member) "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->" #member "() != 0"

using Jni = JNINativeInterface_;

// --- Argument checks -----------------------------------------------------------------------

// A pointer argument that must not be NULL; a failure reports its name.
struct Required {
    const void* pointer;
    const char* name;
};

// Checks pointer arguments in their order, on consecutive lines from `line`. Unrolled at
// compile time, so that each check is one test against a constant.
template <std::size_t N> inline void checkRequired(int line, const Required (&arguments)[N])
{
    [&]<std::size_t... I>(std::index_sequence<I...>)
    {
        (check(arguments[I].pointer != nullptr, line + static_cast<int>(I), arguments[I].name), ...);
    }
    (std::make_index_sequence<N>{});
}

// --- Calling JNI ---------------------------------------------------------------------------

template <typename> struct FunctionResult;
template <typename R, typename... P> struct FunctionResult<R (*)(P...)> {
    using type = R;
};
template <auto Member>
using JniResult = typename FunctionResult<std::remove_cvref_t<decltype(std::declval<Jni&>().*Member)>>::type;

template <auto Member, typename... Args> inline JniResult<Member> callJni(JNIEnv* env, Args... args)
{
    return (env->functions->*Member)(env, args...);
}

inline bool exceptionPending(JNIEnv* env)
{
    return env->functions->ExceptionCheck(env) != JNI_FALSE;
}

inline void deleteLocalRef(JNIEnv* env, jobject ref)
{
    env->functions->DeleteLocalRef(env, ref);
}

// --- The exception wrappers' steps, shared by every guarded wrapper --------------------------

// ven___ExceptionClear after its argument check: clear, and nothing may be pending then.
void clearPending(JNIEnv* env);
// ven___Throw after its argument checks: clear, throw, and the throwable must be pending then.
void throwPending(JNIEnv* env, jthrowable throwable);

// The exception pending when a guarded wrapper was entered. It is taken out of the way so
// that the JNI call runs with none pending, and thrown again after a call that raised
// nothing. With nothing pending this costs the one query; the clear and the re-throw are
// needed only when there is something to keep.
class SavedException
{
  public:
    explicit SavedException(JNIEnv* env) : env_(env), saved_(env->functions->ExceptionOccurred(env))
    {
        if (saved_ != nullptr) [[unlikely]] {
            clearPending(env_);
        }
    }

    // The one question after the call. When it raised, the saved exception is dropped: the
    // new one stays pending and the saved reference lives on with its frame.
    bool callRaised() const { return exceptionPending(env_); }

    void restore() const
    {
        if (saved_ != nullptr) [[unlikely]] {
            throwPending(env_, saved_);
        }
    }

    // Every result is confirmed by the query after the call.
    static constexpr bool kTrustsNonNullResult = false;

  private:
    JNIEnv* env_;
    jthrowable saved_;
};

// The guard of a call inside a composed operation that asked once, before its first call, that
// nothing is pending: no query before the call and nothing to restore, so a run of calls pays one
// query in all instead of one pair each. JNI returns NULL from a reference or pointer function
// exactly when it raised, so a non-NULL result needs no query after the call either.
class NothingPending
{
  public:
    explicit NothingPending(JNIEnv* env) : env_(env) {}

    bool callRaised() const { return exceptionPending(env_); }
    void restore() const {}

    static constexpr bool kTrustsNonNullResult = true;

  private:
    JNIEnv* env_;
};

// --- The kinds -----------------------------------------------------------------------------

// A consistency check's place and text.
struct Consistency {
    int line;
    const char* message;
};

// Checked-result call: a reference, ID or pointer (NULL on failure) or a jint status
// (non-zero on failure). After a raised exception a status that JNI left at 0 becomes -1,
// so that the caller sees a non-zero status exactly when the call failed.
template <auto Member, typename Guard = SavedException, typename... Args>
inline JniResult<Member> checkedResult(JNIEnv* env, Consistency consistency, Args... args)
{
    using Result = JniResult<Member>;
    static_assert(std::is_pointer_v<Result> || std::is_same_v<Result, jint>);
    Guard saved(env);
    Result result = callJni<Member>(env, args...);
    if constexpr (std::is_pointer_v<Result> && Guard::kTrustsNonNullResult) {
        if (result != nullptr) [[likely]] {
            return result;
        }
    }
    if (saved.callRaised()) [[unlikely]] {
        if constexpr (std::is_pointer_v<Result>) {
            return nullptr;
        } else {
            return result != 0 ? result : -1;
        }
    }
    bool signalsFailure;
    if constexpr (std::is_pointer_v<Result>) {
        signalsFailure = result == nullptr;
    } else {
        signalsFailure = result != 0;
    }
    if (signalsFailure) [[unlikely]] {
        check.inconsistent(consistency.line, consistency.message);
    }
    saved.restore();
    return result;
}

// The result checks of non-raising calls: none, a NULL result, a negative length.
struct NoResultCheck {
    template <typename Result> void verify(Result) const {}
};

struct NullResultCheck {
    Consistency consistency;
    void verify(const void* result) const
    {
        if (result == nullptr) [[unlikely]] {
            check.inconsistent(consistency.line, consistency.message);
        }
    }
};

struct NegativeResultCheck {
    Consistency consistency;
    void verify(jint result) const
    {
        if (result < 0) [[unlikely]] {
            check.inconsistent(consistency.line, consistency.message);
        }
    }
};

// Non-raising call: JNI promises no exception here, so one stops the process; an optional
// check of the result follows.
template <auto Member, typename Guard = SavedException, typename ResultCheck, typename... Args>
inline JniResult<Member> nonRaising(JNIEnv* env, int exceptionLine, ResultCheck resultCheck, Args... args)
{
    Guard saved(env);
    if constexpr (std::is_void_v<JniResult<Member>>) {
        callJni<Member>(env, args...);
        check(!saved.callRaised(), exceptionLine, kNoExceptionCondition);
        saved.restore();
    } else {
        JniResult<Member> result = callJni<Member>(env, args...);
        check(!saved.callRaised(), exceptionLine, kNoExceptionCondition);
        resultCheck.verify(result);
        saved.restore();
        return result;
    }
}

// Flagged call without a value: JNI_FALSE, with the exception pending, when the call raised.
template <auto Member, typename Guard = SavedException, typename... Args>
inline jboolean flagged(JNIEnv* env, Args... args)
{
    Guard saved(env);
    callJni<Member>(env, args...);
    if (saved.callRaised()) [[unlikely]] {
        return JNI_FALSE;
    }
    saved.restore();
    return JNI_TRUE;
}

// How a flagged call hands its value to the caller's variable: `store` writes it; `replace`
// writes it and deletes the local reference the variable held before, on both outcomes.
enum class Delivery { store, replace };

// Flagged call with a value: the value (zero after a raised exception) goes to `result`
// unless that is NULL, with exactly the width of its type and without conversion.
template <auto Member, Delivery delivery, typename Guard = SavedException, typename Value, typename... Args>
inline jboolean flaggedValue(Value* result, JNIEnv* env, Args... args)
{
    static_assert(std::is_same_v<Value, JniResult<Member>>);
    static_assert(delivery == Delivery::store || std::is_same_v<Value, jobject>);
    Guard saved(env);
    Value value = callJni<Member>(env, args...);
    jboolean succeeded = JNI_TRUE;
    if (saved.callRaised()) [[unlikely]] {
        value = Value{};
        succeeded = JNI_FALSE;
    } else {
        saved.restore();
    }
    if (result != nullptr) {
        if constexpr (delivery == Delivery::replace) {
            Value old = *result;
            *result = value;
            if (old != nullptr) {
                deleteLocalRef(env, old);
            }
        } else {
            *result = value;
        }
    }
    return succeeded;
}

} // namespace ven::wrapper
