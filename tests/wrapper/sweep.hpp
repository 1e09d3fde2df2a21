// The wrapper sweep's rows: one per exported ven___ function, its argument checks and the
// kind of wrapper it is, bound by one template to a call of the wrapper and to the answers its
// JNI entry can be made to give through a FaultEnv.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/wrapper.h"

namespace ven::test::wrapper
{

using Jni = JNINativeInterface_;

inline constexpr const char* kPath = "source/ven/ven_wrapper";
inline constexpr const char* kNoException = "(*env)->ExceptionCheck( env ) == JNI_FALSE";
inline constexpr const char* kReleaseMode = "mode == 0 || mode == JNI_COMMIT || mode == JNI_ABORT";

enum class Kind {
    direct,        // calls its JNI entry and nothing else
    checkedResult, // keeps the pending exception; a failure result must come with an exception
    nonRaising,    // keeps it; an exception stops the process, and so may a bad result
    flagged,       // keeps it; JNI_FALSE when the call raised, the value (zero then) stored
    throwing,      // the entry must raise; what it raised stays pending, whatever was pending before
    clearing,      // the entry must leave nothing pending
};

// How a flagged wrapper's out-parameter gets the value: stored, or stored with the reference
// it held before deleted.
enum class Delivery { none, store, replace };

// What the JNI entry does: return a value that means success, fail without raising, or raise
// OutOfMemoryError (and return Setup::raised as a status).
enum class Answer { success, quietFailure, raise };

// What a call returned and what its out-parameter held after it (no out-parameter: the return
// value again), as the bits of the value.
struct Outcome {
    std::uint64_t returned = 0;
    std::uint64_t out = 0;
};

// A call's arguments: good ones, except from argument number `bad` on (0 is env), where each
// checked argument is NULL or -1, so that a check made out of order stops on another line.
struct Setup {
    int bad = -1;
    jobject old = nullptr; // held by a reference out-parameter before the call
    bool noOut = false;    // NULL passed as the out-parameter
    jint mode = 0;         // a release mode, where the row passes Mode{}
    jint badMode = -1;     // the mode passed from argument number `bad` on
    jint raised = 0;       // what a raising JNI entry returns when it returns a number
};

struct Row {
    std::string name{}; // set by bind()
    Kind kind = Kind::direct;
    int line = 0;                      // of the first argument check; the next ones line by line
    std::vector<std::string> checks{}; // the texts of the argument checks, in order
    int resultLine = 0;                // the consistency check of JNI's result, if there is one
    std::string resultMessage{};       // by default the usual one for a checked result
    int exceptionLine = 0;             // non-raising, clearing: where a pending exception stops the process
    int statusLine = 0;                // JNI's status must be 0, tested before the exception state
    std::string statusCondition{};
    std::vector<std::string> trail{}; // the JNI calls of a success, where they are not the kind's floor
    Delivery delivery = Delivery::none;
    // Filled in by bind().
    std::string member{};   // the JNI entry it calls, as the FaultEnv trail names it
    bool status = false;    // the entry returns a jint status, 0 for success
    bool reference = false; // a success hands a new local reference to the caller
    std::function<Outcome(JNIEnv*, Setup)> call{};
    // Makes the entry answer so; the bits of the value it returns.
    std::function<std::uint64_t(FaultEnv&, Answer, Setup)> answer{};
};

const std::vector<Row>& rows();

// ---- Binding a row to its wrapper and its JNI entry --------------------------------------------

// An argument the wrapper does not check; and the place of the va_list a V form takes.
template <typename T> struct Kept {
    T kept;
};
struct VaList {
};
struct Mode {
};

template <typename T> std::uint64_t bitsOf(T value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

// A value of every JNI type that no wrapper treats as failure (never NULL, never negative).
template <typename T> T sample()
{
    T value;
    std::memset(&value, 0x5a, sizeof value);
    return value;
}

// Global references, made once: a String, the class String, the class OutOfMemoryError.
jobject sampleObject(bool isClass);
jclass injectedErrorClass();

template <typename P, typename G> P argument(const Setup& setup, int& position, va_list list, G good)
{
    if constexpr (std::is_same_v<G, VaList>) {
        return list;
    } else if constexpr (requires { good.kept; }) {
        return (P)good.kept;
    } else {
        const bool isGood = setup.bad < 0 || position++ < setup.bad;
        if constexpr (std::is_same_v<G, Mode>) {
            return isGood ? setup.mode : setup.badMode;
        } else if constexpr (std::is_pointer_v<P>) {
            return isGood ? (P)good : nullptr;
        } else {
            return isGood ? (P)good : P(-1);
        }
    }
}

// What every V and variadic form is given after its fixed arguments: four widths, so that a list
// passed on out of order or from the wrong start reads back wrong.
inline std::tuple<jint, jlong, jdouble, jobject> variadics()
{
    return {7, -8, -0.5, sampleObject(false)};
}

template <typename L> bool carriesTheVariadics(L list)
{
    va_list copy;
    va_copy(copy, list);
    const auto [i, j, d, l] = variadics();
    const bool same = va_arg(copy, jint) == i && va_arg(copy, jlong) == j && va_arg(copy, jdouble) == d &&
                      va_arg(copy, jobject) == l;
    va_end(copy);
    return same;
}

template <typename A, typename G> bool sameArgument(A received, G good, const Setup& setup)
{
    if constexpr (std::is_same_v<G, VaList>) {
        return carriesTheVariadics(received);
    } else if constexpr (std::is_same_v<G, Mode>) {
        return received == setup.mode;
    } else if constexpr (requires { good.kept; }) {
        return received == (A)good.kept;
    } else {
        return received == (A)good;
    }
}

template <typename R, typename... P> std::tuple<P...>* paramsOf(R (*)(P...));
template <typename R, typename... P> std::tuple<P...>* paramsOf(R (*)(P..., ...));
template <typename F> inline constexpr bool kVariadic = false;
template <typename R, typename... P> inline constexpr bool kVariadic<R (*)(P..., ...)> = true;

template <auto Wrapper, typename Fixed> std::uint64_t callWith(const Fixed& fixed)
{
    const auto args = [&] {
        if constexpr (kVariadic<decltype(Wrapper)>) {
            return std::tuple_cat(fixed, variadics());
        } else {
            return fixed;
        }
    }();
    if constexpr (std::is_void_v<decltype(std::apply(Wrapper, args))>) {
        std::apply(Wrapper, args);
        return 0;
    } else {
        return bitsOf(std::apply(Wrapper, args));
    }
}

// Calls the wrapper with its out-parameter when it has one (a flagged wrapper's first parameter),
// then env and an argument for each good one, env counted as argument number 0.
template <auto Wrapper, typename... G> Outcome invoke(JNIEnv* env, const Setup& setup, G... goods)
{
    Outcome outcome;
    auto withList = [&](int count, ...) {
        va_list list;
        va_start(list, count);
        int position = 0;
        auto fixed = [&]<typename... P>(std::tuple<P...>*, auto... all) {
            return std::tuple<P...>{argument<P>(setup, position, list, all)...};
        };
        [&]<typename First, typename... P>(std::tuple<First, P...>* params) {
            if constexpr (std::is_same_v<First, JNIEnv*>) {
                outcome.returned = outcome.out = callWith<Wrapper>(fixed(params, env, goods...));
            } else {
                std::remove_pointer_t<First> slot;
                std::memset(&slot, 0xcd, sizeof slot);
                if constexpr (std::is_same_v<First, jobject*>) {
                    slot = setup.old;
                }
                const std::tuple<First> out{setup.noOut ? nullptr : &slot};
                const auto rest = fixed(static_cast<std::tuple<P...>*>(nullptr), env, goods...);
                outcome.returned = callWith<Wrapper>(std::tuple_cat(out, rest));
                outcome.out = bitsOf(slot);
            }
        }(decltype(paramsOf(Wrapper)){});
        va_end(list);
    };
    std::apply([&](auto... values) { withList(0, values...); }, variadics());
    return outcome;
}

template <auto Member> struct EntryOf;
template <typename R, typename... A, R (JNICALL* Jni::*Member)(JNIEnv*, A...)> struct EntryOf<Member> {
    using Result = R;
    using Value = std::conditional_t<std::is_void_v<R>, int, R>;
    // The value the entry returns for the answer (a reference is made now, while nothing is
    // pending). After raising, an entry returns NULL for a reference and a sample otherwise,
    // which the wrapper must not hand over.
    static Value valueOf(FaultEnv& fault, Answer answer, bool status, const Setup& setup)
    {
        if constexpr (std::is_void_v<R>) {
            return 0;
        } else if constexpr (detail::kIsReference<R>) {
            return answer != Answer::success
                       ? nullptr
                       : static_cast<R>(fault.real()->NewLocalRef(sampleObject(std::is_same_v<R, jclass>)));
        } else if constexpr (std::is_pointer_v<R>) {
            return answer == Answer::quietFailure ? nullptr : sample<R>();
        } else if (answer == Answer::quietFailure) {
            return R(-1);
        } else if (status) {
            return answer == Answer::raise ? R(setup.raised) : R(0);
        } else {
            return sample<R>();
        }
    }

    // Arguments the wrapper did not pass on unchanged fail the test.
    template <typename... G>
    static std::uint64_t answer(FaultEnv& fault, Answer answer, bool status, Setup setup, G... goods)
    {
        const Value value = valueOf(fault, answer, status, setup);
        fault.override<Member>([=](JNIEnv* real, A... received) -> R {
            EXPECT_TRUE((sameArgument(received, goods, setup) && ...))
                << detail::entryName(detail::slotOf<Member>()) << " received other arguments";
            if (answer == Answer::raise) {
                real->ExceptionClear(); // ThrowNew and ExceptionClear are called with one pending
                real->ThrowNew(injectedErrorClass(), "injected");
            }
            return static_cast<R>(value);
        });
        return bitsOf(value);
    }
};

template <auto Wrapper, auto Member, typename... G> Row bind(const char* name, Row row, G... goods)
{
    using R = typename EntryOf<Member>::Result;
    row.name = name;
    row.member = detail::entryName(detail::slotOf<Member>());
    row.status = std::is_same_v<R, jint> && (row.kind == Kind::checkedResult || row.statusLine != 0);
    if (row.kind == Kind::checkedResult && row.resultMessage.empty()) {
        row.resultMessage = "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->" + row.member +
                            (row.status ? "() != 0" : "() == NULL");
    }
    row.reference = detail::kIsReference<R> && !detail::kSameEntry<Member, &Jni::NewGlobalRef> &&
                    !detail::kSameEntry<Member, &Jni::NewWeakGlobalRef>;
    using First = std::tuple_element_t<0, std::remove_pointer_t<decltype(paramsOf(Wrapper))>>;
    if constexpr (!std::is_same_v<First, JNIEnv*>) {
        if (row.delivery == Delivery::none) {
            row.delivery = Delivery::store;
        }
    }
    row.call = [=](JNIEnv* env, Setup setup) { return invoke<Wrapper>(env, setup, goods...); };
    row.answer = [=, status = row.status](FaultEnv& fault, Answer answer, Setup setup) {
        if constexpr (kVariadic<decltype(Wrapper)>) {
            // The variadic form's row names its fixed arguments; its entry gets the list too.
            return EntryOf<Member>::answer(fault, answer, status, setup, goods..., VaList{});
        } else {
            return EntryOf<Member>::answer(fault, answer, status, setup, goods...);
        }
    };
    return row;
}

} // namespace ven::test::wrapper
