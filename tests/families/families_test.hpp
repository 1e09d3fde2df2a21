// Helpers shared by the suites of the field, method, array, bridge and class support
// families: exact value comparison and scenarios as tables.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace ven::families_test
{

using namespace ven::test;
using Entry = JNINativeInterface_;

inline jobject newInstance(JNIEnv* env, const char* className)
{
    jclass clazz = findClass(env, className);
    jobject obj = env->NewObject(clazz, env->GetMethodID(clazz, "<init>", "()V"));
    env->DeleteLocalRef(clazz);
    return obj;
}

// Equality that tells -0.0 from 0.0, finds NaN equal to itself and compares references by
// their objects.
template <typename T> bool same(T a, T b)
{
    if constexpr (std::is_convertible_v<T, jobject>) {
        return mainEnv()->IsSameObject(a, b) == JNI_TRUE;
    } else if constexpr (std::is_floating_point_v<T>) {
        return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
    } else {
        return a == b;
    }
}

// The call failed with a bad argument: KS_FALSE and "<function>: <condition>" pending.
inline void expectArgumentFailure(JNIEnv* env, KS_BOOL ok, const std::string& message,
                                  std::source_location where = std::source_location::current())
{
    EXPECT_EQ(KS_FALSE, ok) << "at line " << where.line();
    ExpectPending(env, "java.lang.IllegalArgumentException", message.c_str(), where);
}

// A scenario as a table. A step: a call, its result, what it leaves pending (the class, or
// the "<function>: <condition>" of a refused argument; cleared), what holds after it.
struct Step {
    const char* text;
    KS_BOOL result;
    std::function<KS_BOOL()> call;
    std::string pending;
    std::function<bool()> after;
};
#define VEN_STEP(result, call, pending, after)                                                               \
    Step(                                                                                                    \
        #call, result, [&] { return call; }, pending, [&] { return after; })
#define VEN_REFUSED(message, call) VEN_STEP(KS_FALSE, call, message, true)
#define VEN_DO(statement) VEN_STEP(KS_TRUE, (statement, KS_TRUE), "", true)
inline void runSteps(JNIEnv* env, const std::vector<Step>& steps)
{
    for (const Step& step : steps) {
        SCOPED_TRACE(step.text);
        EXPECT_EQ(step.result, step.call());
        if (!step.pending.empty()) {
            step.pending.starts_with("java.")
                ? ExpectPendingClass(env, step.pending.c_str())
                : ExpectPending(env, "java.lang.IllegalArgumentException", step.pending.c_str());
        }
        EXPECT_TRUE(step.after());
    }
}

// Whether `trace` holds one line, beginning with `head` (or equal to it); the trace is emptied.
inline bool tracedOnce(Trace& trace, const std::string& head, bool exact = false)
{
    const std::vector<std::string> lines = trace.lines();
    trace.reset();
    return lines.size() == 1 && (exact ? lines[0] == head : lines[0].starts_with(head));
}

} // namespace ven::families_test
