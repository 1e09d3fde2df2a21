// Native threads attaching, calling integration functions and writing to one trace stream for a
// bounded time; a million global and weak references made and deleted.
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <fstream>
#include <vector>

#include "support/ven_test.hpp"
#include "support/workers.hpp"
#include "ven/ven.hpp"

namespace ven::test
{
namespace
{

using Clock = std::chrono::steady_clock;

// A thread's lines of a round, in order: its own, the missing class's and the failed parse's, the
// last two naming the thread and the round. Every round also traces an argument failure, anonymous.
std::string expectedLine(int thread, long long seq)
{
    const std::string tag = std::to_string(thread) + "_" + std::to_string(seq / 3);
    const std::string lines[] = {
        AuditedTrace::ownLine(thread, seq / 3),
        "[venFindClass()] Exception: java.lang.NoClassDefFoundError: Missing_" + tag,
        "[venCallStaticIntMethod()] Exception: java.lang.NumberFormatException: For input string: \"x" + tag +
            "\""};
    return lines[seq % 3];
}
constexpr const char* kArgumentLine =
    "[venFindClass()] Exception: java.lang.IllegalArgumentException: venFindClass: result != NULL";

void round(Worker& w, JNIEnv* env, const AuditedTrace& audited)
{
    lgStream* trace = audited.get();
    w.check(venPushLocalFrame(env, trace, 16), "push the round's frame");
    const std::string number = std::to_string(w.rounds);
    jclass integer = nullptr, none = nullptr;
    jmethodID parseInt = nullptr, toString = nullptr;
    jstring text = nullptr;
    KS_INT parsed = -1;
    ksString* back = nullptr;
    w.check(venFindClass(&integer, env, trace, "java/lang/Integer") &&
                venGetStaticMethodID(&parseInt, env, trace, integer, "parseInt", "(Ljava/lang/String;)I") &&
                venGetStaticMethodID(&toString, env, trace, integer, "toString", "(I)Ljava/lang/String;") &&
                venNewStringUTF(&text, env, trace, number.c_str()) &&
                venCallStaticIntMethod(&parsed, env, trace, integer, parseInt, text) && parsed == w.rounds &&
                venCallStaticStringMethod(&back, env, trace, integer, toString, static_cast<jint>(parsed)) &&
                ksStringLength(back) == static_cast<KS_INT>(number.size()),
            "the succeeding calls");
    ksObjRelease(back);

    const std::string tag = std::to_string(w.index) + "_" + std::to_string(w.rounds);
    audited.writeOwnLine(w.index, w.rounds);
    auto failed = [&](bool refused, const char* what) {
        w.check(refused && venExceptionCheck(env), what);
        venExceptionClear(env);
    };
    failed(!venFindClass(nullptr, env, trace, "java/lang/Integer"), "a NULL result slot");
    failed(!venFindClass(&none, env, trace, ("Missing_" + tag).c_str()), "a missing class");
    failed(venNewStringUTF(&text, env, trace, ("x" + tag).c_str()) &&
               !venCallStaticIntMethod(&parsed, env, trace, integer, parseInt, text),
           "parseInt of a non-number");
    venPopLocalFrame(env, nullptr);
    ++w.rounds;
}

// One attach-to-detach span; a nested scope finds the thread attached and leaves it so.
void session(Worker& w, bool daemon, const AuditedTrace& trace)
{
    const AttachedThread scope(daemon ? AttachedThread::As::Daemon : AttachedThread::As::Normal);
    w.check(scope.attachedHere() && venTryGetMainJniEnv() == scope.env(), "the attach");
    {
        const AttachedThread nested;
        w.check(!nested.attachedHere() && nested.env() == scope.env(), "the nested scope");
    }
    if (venTryGetMainJniEnv() != scope.env()) {
        return w.check(false, "the nested scope detached the thread");
    }
    for (int r = 0; r < 8; ++r) {
        round(w, scope.env(), trace);
    }
    w.check(!venExceptionCheck(scope.env()), "an exception is pending at the detach");
}

using Threads = JvmTest;

// Eight threads attach (daemon and not), for VEN_STRESS_SECONDS (1 by default); afterwards every line
// is whole and in its thread's order, and the Java threads, the shared string's references and (the
// test's frame) ks objects and raw blocks are as they were.
TEST_F(Threads, EightLeaveEveryCountWhereItWas)
{
    jclass thread = findClass(env, "java/lang/Thread");
    const jmethodID activeCount = env->GetStaticMethodID(thread, "activeCount", "()I");
    auto javaThreads = [&] {
        const jint count = env->CallStaticIntMethod(thread, activeCount);
        ExpectNoPending(env);
        return count;
    };
    const jint javaThreadsBefore = javaThreads();
    const char* seconds = std::getenv("VEN_STRESS_SECONDS");
    const auto end =
        Clock::now() + std::chrono::milliseconds(std::lround(1000 * (seconds ? std::atof(seconds) : 1)));
    {
        AuditedTrace trace(expectedLine, kArgumentLine);
        Workers workers;
        // Epochs of new threads, the trace audited and emptied between two.
        do {
            const auto epochEnd = std::min(end, Clock::now() + std::chrono::milliseconds(250));
            workers.run([&](Worker& w) {
                for (int s = 0; s < 2 || Clock::now() < epochEnd; ++s) {
                    session(w, s % 2 == 1, trace);
                    w.check(venTryGetMainJniEnv() == nullptr, "the thread outlived its scope");
                }
            });
            trace.drain();
        } while (Clock::now() < end);
        trace.expectComplete(workers, 3, 1);
    }
    EXPECT_EQ(javaThreads(), javaThreadsBefore);
}

// A thousand alive at a time: resident memory does not grow with them. The JVM's handles take about
// ten bytes each, so a tenth of either kind left behind (1 MB) exceeds the bound.
TEST_F(Threads, AMillionGlobalAndWeakReferencesLeaveNoGrowth)
{
    constexpr int kBatch = 1000, kWarmUp = 20;
    auto residentKb = [] {
        long size = 0, pages = 0;
        std::ifstream("/proc/self/statm") >> size >> pages;
        return pages * (sysconf(_SC_PAGESIZE) / 1024);
    };
    jstring target = jstr(env, "target");
    Trace trace;
    std::vector<jobject> globals(kBatch);
    std::vector<jweak> weaks(kBatch);
    long failures = 0, warm = 0;
    for (int batch = 0; batch < kWarmUp + 1000; ++batch) {
        warm = batch == kWarmUp ? residentKb() : warm;
        for (int i = 0; i < kBatch; ++i) {
            failures += !venNewGlobalRef(&globals[i], env, trace.get(), target) +
                        !venNewWeakGlobalRef(&weaks[i], env, trace.get(), target);
        }
        failures += !venIsSameObject(env, weaks[batch % kBatch], globals[kBatch - 1 - batch % kBatch]);
        for (int i = 0; i < kBatch; ++i) {
            venDeleteGlobalRef(env, globals[i]);
            venDeleteWeakGlobalRef(env, weaks[i]);
        }
    }
    EXPECT_EQ(failures, 0);
    EXPECT_FALSE(trace.notable());
    ASSERT_GT(warm, 0);
    EXPECT_LE(residentKb() - warm, 1024) << "KB grown after the warm-up, from " << warm << " KB";
}

} // namespace
} // namespace ven::test
