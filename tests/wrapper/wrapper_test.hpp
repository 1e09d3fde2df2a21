// Shared pieces of the wrapper suite: the texts every check reports, pending-exception
// helpers, and a way to hand a real va_list to the V forms.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/wrapper.h"

namespace ven::test::wrapper
{

using Jni = JNINativeInterface_;

inline constexpr const char* kPath = "source/ven/ven_wrapper";
inline constexpr const char* kNoException = "(*env)->ExceptionCheck( env ) == JNI_FALSE";

// The consistency message of a function that returns a reference, ID or pointer, and of one
// that returns a jint status.
inline std::string nullMessage(const std::string& member)
{
    return "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->" + member + "() == NULL";
}
inline std::string statusMessage(const std::string& member)
{
    return "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->" + member + "() != 0";
}

// Makes E1, a fresh exception, pending and returns a global reference to it (the caller
// deletes it), so that it can be recognised after local frames have gone.
inline jthrowable throwE1(JNIEnv* env, const char* message = "E1")
{
    jthrowable local = makeThrowable(env, "java/lang/IllegalStateException", message);
    auto global = static_cast<jthrowable>(env->NewGlobalRef(local));
    env->DeleteLocalRef(local);
    env->Throw(global);
    return global;
}

// Asserts that exactly `expected` is pending (the same object), then clears it and deletes
// the global reference.
inline void expectSamePending(JNIEnv* env, jthrowable expected, const char* what = "E1")
{
    jthrowable pending = env->ExceptionOccurred();
    env->ExceptionClear();
    EXPECT_NE(pending, nullptr) << what << " should be pending";
    if (pending != nullptr) {
        EXPECT_TRUE(env->IsSameObject(pending, expected))
            << "another exception than " << what << " is pending";
        env->DeleteLocalRef(pending);
    }
    env->DeleteGlobalRef(expected);
}

// Runs body(va_list) with a va_list over the arguments after `count` (count is only there
// to start the list).
template <typename Body> void withVaList(Body body, int count, ...)
{
    va_list args;
    va_start(args, count);
    body(args);
    va_end(args);
}

// A jvalue whose first bytes are those of `value` (the rest zero), and back.
template <typename T> jvalue jvalueOf(T value)
{
    jvalue slot{};
    std::memcpy(&slot, &value, sizeof value);
    return slot;
}
template <typename T> T valueIn(const jvalue& slot)
{
    T value;
    std::memcpy(&value, &slot, sizeof value);
    return value;
}

// `good` at an argument position before `bad`, `invalid` from there on. An argument-check row
// calls its wrapper so (the last checked argument is thus always invalid), which makes a check
// made out of order report a wrong line.
template <typename T> T arg(int bad, int position, T good, T invalid = T{})
{
    return position < bad ? good : invalid;
}

// One row per wrapper: the line of its "env" check and the texts of all its argument checks,
// which follow on consecutive lines; call(bad) fails the check at position `bad`.
struct ArgChecks {
    std::string function;
    int envLine;
    std::vector<const char*> texts;
    std::function<void(int bad)> call;
};

// Expects every check of every row; returns how many it verified.
inline int expectArgChecks(const std::vector<ArgChecks>& rows)
{
    int verified = 0;
    for (const ArgChecks& row : rows) {
        for (int bad = 0; bad < static_cast<int>(row.texts.size()); ++bad, ++verified) {
            SCOPED_TRACE(row.function + " check " + std::to_string(bad));
            EXPECT_VEN_ABORT(row.call(bad), kPath, row.envLine + bad, row.texts[bad]);
        }
    }
    return verified;
}

// A check after the JNI call, reached through a FaultEnv that `arrange` makes misbehave: a
// fatal check (condition text) or a consistency check (message), and the class of the
// exception it leaves pending, if any.
inline constexpr bool kCondition = false;
inline constexpr bool kMessage = true;
struct FaultCase {
    std::string function;
    int line;
    bool isMessage;
    std::string text;
    std::function<void(FaultEnv&)> arrange;
    std::function<void(JNIEnv* fake)> call;
    const char* pending = nullptr;
};

inline int expectFaults(JNIEnv* env, const std::vector<FaultCase>& cases)
{
    for (const FaultCase& c : cases) {
        SCOPED_TRACE(c.function + " line " + std::to_string(c.line));
        FaultEnv fault(env);
        c.arrange(fault);
        if (c.isMessage) {
            EXPECT_VEN_ABORT_MESSAGE(c.call(fault.env()), kPath, c.line, c.text.c_str());
        } else {
            EXPECT_VEN_ABORT(c.call(fault.env()), kPath, c.line, c.text.c_str());
        }
        if (c.pending != nullptr) {
            ExpectPendingClass(env, c.pending);
        } else {
            ExpectNoPending(env);
        }
    }
    return static_cast<int>(cases.size());
}

// Arrangements of a FaultCase.
template <auto Member> void returnsNull(FaultEnv& fault)
{
    fault.returnNull<Member>();
}
template <auto Member, jint Value> void returnsValue(FaultEnv& fault)
{
    fault.returnValue<Member>(Value);
}
template <auto Member> void raisesOom(FaultEnv& fault)
{
    fault.raiseOutOfMemory<Member>();
}
inline void behaves(FaultEnv&) {}

// ---- old, to go
// A field or method lookup: its checks on four lines from `envLine`, a consistency check,
// and a member, name and signature that exist in `clazz`.
template <typename Id> struct Lookup {
    const char* function;
    Id (*call)(JNIEnv*, jclass, const char*, const char*);
    int envLine;
    int consistencyLine;
    void (*returnNull)(FaultEnv&);
    const char* member;
    const char* name;
    const char* signature;
    const char* missingError;
};

// The lookup's argument checks in order, a pending exception kept by a lookup that finds the
// member and replaced by the one that does not, and NULL without an exception stopping.
template <typename Id> void checkLookup(JNIEnv* env, jclass clazz, const Lookup<Id>& lookup)
{
    SCOPED_TRACE(lookup.function);
    EXPECT_VEN_ABORT(lookup.call(nullptr, nullptr, nullptr, nullptr), kPath, lookup.envLine, "env");
    EXPECT_VEN_ABORT(lookup.call(env, nullptr, nullptr, nullptr), kPath, lookup.envLine + 1, "clazz");
    EXPECT_VEN_ABORT(lookup.call(env, clazz, nullptr, nullptr), kPath, lookup.envLine + 2, "name");
    EXPECT_VEN_ABORT(lookup.call(env, clazz, lookup.name, nullptr), kPath, lookup.envLine + 3, "sig");

    jthrowable e1 = throwE1(env);
    EXPECT_NE(lookup.call(env, clazz, lookup.name, lookup.signature), nullptr);
    expectSamePending(env, e1);

    e1 = throwE1(env);
    EXPECT_EQ(lookup.call(env, clazz, "missing", lookup.signature), nullptr);
    ExpectPendingClass(env, lookup.missingError);
    env->DeleteGlobalRef(e1);

    FaultEnv fault(env);
    lookup.returnNull(fault);
    EXPECT_VEN_ABORT_MESSAGE(lookup.call(fault.env(), clazz, lookup.name, lookup.signature), kPath,
                             lookup.consistencyLine, nullMessage(lookup.member).c_str());
}

// Any non-NULL pointer for arguments that a fatal check must stop before JNI sees them.
template <typename T> T dummy()
{
    return reinterpret_cast<T>(static_cast<std::uintptr_t>(0x10));
}

} // namespace ven::test::wrapper
