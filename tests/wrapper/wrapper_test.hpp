// The wrapper suite's fixture, texts, pending-exception helpers and table drivers.
#pragma once

#include <algorithm>
#include <cstdarg>
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

// The consistency message of a reference, ID or pointer result.
inline std::string nullMessage(const std::string& member)
{
    return "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->" + member + "() == NULL";
}

// The classes and objects the tables call on; Fields' statics are reset after each test.
class WrapperTest : public JvmTest
{
  protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        fields = findClass(env, "fixtures/Fields");
        object = env->NewObject(fields, env->GetMethodID(fields, "<init>", "()V"));
        methods = findClass(env, "fixtures/Methods");
        jclass childClass = findClass(env, "fixtures/MethodsChild");
        child = env->NewObject(childClass, env->GetMethodID(childClass, "<init>", "()V"));
        clazz = findClass(env, "java/lang/StringBuilder");
        ctor = env->GetMethodID(clazz, "<init>", "(Ljava/lang/String;)V");
        obj = jstr(env, "text");
        throwableClass = findClass(env, "java/lang/IllegalStateException");
        throwable = makeThrowable(env, "java/lang/IllegalStateException", "E1");
        natives = findClass(env, "fixtures/WrapperNatives");
    }
    void TearDown() override
    {
        env->CallStaticVoidMethod(fields, env->GetStaticMethodID(fields, "resetStatics", "()V"));
        JvmTest::TearDown();
    }

    jclass fields, methods, clazz, throwableClass, natives; // clazz: java/lang/StringBuilder
    jobject object, child, obj;                             // a Fields, a MethodsChild, a String
    jmethodID ctor;                                         // StringBuilder(String)
    jthrowable throwable;                                   // an IllegalStateException
};

// Makes a fresh E1 pending; the global reference (the caller's) outlives local frames.
inline jthrowable throwE1(JNIEnv* env)
{
    jthrowable local = makeThrowable(env, "java/lang/IllegalStateException", "E1");
    auto global = static_cast<jthrowable>(env->NewGlobalRef(local));
    env->DeleteLocalRef(local);
    env->Throw(global);
    return global;
}

// Asserts that exactly `expected` is pending, clears it and deletes the global reference.
inline void expectSamePending(JNIEnv* env, jthrowable expected)
{
    jthrowable pending = env->ExceptionOccurred();
    env->ExceptionClear();
    EXPECT_TRUE(pending != nullptr && env->IsSameObject(pending, expected)) << "E1 should be pending";
    env->DeleteLocalRef(pending);
    env->DeleteGlobalRef(expected);
}

// Runs body(va_list) over the arguments after `count`, which only starts the list.
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

// One row per wrapper: its "env" line and the texts of its argument checks (joined by ", "), which
// follow on consecutive lines; call(bad) makes check number `bad` fail.
struct ArgChecks {
    std::string function;
    int envLine;
    std::string texts;
    std::function<void(int bad)> call;
};

// A checked argument is `good` before position `bad` and NULL (or -1) from there on, so that a
// check made out of order reports a wrong line; a `keep` argument is not checked.
template <typename T> struct keep {
    T value;
};
template <typename P, typename G> P argument(int bad, int& position, G good)
{
    if constexpr (requires { good.value; }) {
        return static_cast<P>(good.value);
    } else if constexpr (std::is_pointer_v<P>) {
        return position++ < bad ? P(good) : nullptr;
    } else {
        return position++ < bad ? P(good) : P(-1);
    }
}
template <typename R, typename... P, typename... G>
ArgChecks checks(std::string function, int envLine, std::string texts, R (*fn)(P...), G... goods)
{
    return {std::move(function), envLine, std::move(texts), [=](int bad) {
                int position = 0;
                std::tuple<P...> args{argument<P>(bad, position, goods)...}; // in order
                std::apply(fn, args);
            }};
}

inline int expectArgChecks(const std::vector<ArgChecks>& rows)
{
    int verified = 0;
    for (const ArgChecks& row : rows) {
        for (std::size_t bad = 0, start = 0; start <= row.texts.size(); ++bad, ++verified) {
            std::size_t end = std::min(row.texts.find(", ", start), row.texts.size());
            SCOPED_TRACE(row.function + " check " + std::to_string(bad));
            EXPECT_VEN_ABORT(row.call(static_cast<int>(bad)), kPath, row.envLine + static_cast<int>(bad),
                             row.texts.substr(start, end - start).c_str());
            start = end + 2;
        }
    }
    return verified;
}

// A check after the JNI call, reached through a FaultEnv that `arrange` makes misbehave: a
// fatal check (condition) or a consistency check (message), and the exception it leaves.
enum Check : bool { kCondition, kMessage };
struct FaultCase {
    int line;
    Check check;
    std::string text;
    std::function<void(FaultEnv&)> arrange;
    std::function<void(JNIEnv* fake)> call;
    const char* pending = nullptr;
};
template <typename R, typename... P, typename... A>
std::function<void(JNIEnv*)> calling(R (*fn)(JNIEnv*, P...), A... args)
{
    return [=](JNIEnv* fake) { fn(fake, P(args)...); };
}
inline int expectFaults(JNIEnv* env, const std::vector<FaultCase>& cases)
{
    for (const FaultCase& c : cases) {
        SCOPED_TRACE("line " + std::to_string(c.line) + ": " + c.text);
        FaultEnv fault(env);
        c.arrange(fault);
        const char* text = c.text.c_str();
        EXPECT_TRUE(abortedWith(catchAbort([&] { c.call(fault.env()); }), "the call", kPath, c.line,
                                c.check ? nullptr : text, c.check ? text : nullptr));
        c.pending ? ExpectPendingClass(env, c.pending) : ExpectNoPending(env);
    }
    return static_cast<int>(cases.size());
}

using Arrange = void (*)(FaultEnv&);
template <auto Member> inline const Arrange returnsNull = [](FaultEnv& f) { f.returnNull<Member>(); };
template <auto Member, jint Value>
inline const Arrange returnsValue = [](FaultEnv& f) { f.returnValue<Member>(Value); };
template <auto Member> inline const Arrange raisesOom = [](FaultEnv& f) { f.raiseOutOfMemory<Member>(); };
inline const Arrange behaves = [](FaultEnv&) {};

// Rows of the common shapes for ven___<Name>: its argument checks; and, where it calls the JNI
// member <Name>, a NULL result or non-zero status without an exception, and an exception raised.
// clang-format off
#define TEST_CHECKS(Name, line, texts, ...) checks("ven___" #Name, line, texts, &ven___##Name, __VA_ARGS__)
#define TEST_NULL_CASE(Member, line, ...) FaultCase{line, kMessage, nullMessage(#Member), \
    returnsNull<&Jni::Member>, calling(&ven___##Member __VA_OPT__(,) __VA_ARGS__)}
#define TEST_STATUS_CASE(Member, line, status, ...) FaultCase{line, kMessage,                          \
    "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->" #Member "() != 0",                                \
    returnsValue<&Jni::Member, status>, calling(&ven___##Member __VA_OPT__(,) __VA_ARGS__)}
#define TEST_RAISE_CASE(Member, line, ...) FaultCase{line, kCondition, kNoException,                    \
    raisesOom<&Jni::Member>, calling(&ven___##Member __VA_OPT__(,) __VA_ARGS__), "java.lang.OutOfMemoryError"}
// clang-format on

} // namespace ven::test::wrapper
