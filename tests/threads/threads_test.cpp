// Native threads attaching, calling integration functions and writing to one trace stream for a
// bounded time; a million global and weak references made and deleted.
#include <unistd.h>

#include <algorithm>
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

// The calls of a round, traced into the stream all threads share: those that succeed, then a NULL
// result slot, a missing class and a failed parse, each refused with its exception pending.
void round(Worker& w, JNIEnv* env, lgStream* trace)
{
    w.check(venPushLocalFrame(env, trace, 16), "push the round's frame");
    jclass integer = nullptr, none = nullptr;
    jmethodID parseInt = nullptr, toString = nullptr;
    jstring text = nullptr;
    KS_INT parsed = -1;
    ksString* back = nullptr;
    w.check(
        venFindClass(&integer, env, trace, "java/lang/Integer") &&
            venGetStaticMethodID(&parseInt, env, trace, integer, "parseInt", "(Ljava/lang/String;)I") &&
            venGetStaticMethodID(&toString, env, trace, integer, "toString", "(I)Ljava/lang/String;") &&
            venCallStaticStringMethod(&back, env, trace, integer, toString, static_cast<jint>(w.rounds)) &&
            ksStringLength(back) == static_cast<KS_INT>(std::to_string(w.rounds).size()),
        "the succeeding calls");
    ksObjRelease(back);

    const std::string tag = std::to_string(w.index) + "_" + std::to_string(w.rounds);
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

// One attach-to-detach span of eight rounds; a nested scope finds the thread attached and leaves it so.
void session(Worker& w, bool daemon, lgStream* trace)
{
    const AttachedThread scope(daemon ? AttachedThread::As::Daemon : AttachedThread::As::Normal);
    w.check(scope.attachedHere() && !AttachedThread().attachedHere(), "the scopes");
    w.check(venTryGetMainJniEnv() == scope.env(), "a nested scope detached the thread");
    for (int r = 0; r < 8 && w.error.empty(); ++r) {
        round(w, scope.env(), trace);
    }
}

using Threads = JvmTest;

// Eight threads attach (daemon and not), for VEN_STRESS_SECONDS (1 by default); afterwards every
// check of every thread held, and the Java threads and (the test's frame) ks objects and raw blocks
// are as they were. The concurrency test audits the lines of a stream written from eight threads.
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
    lgStream* trace = lgStreamCreate(nullptr);
    Workers workers;
    workers.run([&](Worker& w) {
        for (int s = 0; s < 2 || Clock::now() < end; ++s) {
            session(w, s % 2 == 1, trace);
            w.check(venTryGetMainJniEnv() == nullptr, "the thread outlived its scope");
        }
    });
    lgStreamDestroy(trace);
    for (const Worker& w : workers) {
        EXPECT_EQ(w.error, "");
        EXPECT_GE(w.rounds, 16);
    }
    EXPECT_EQ(javaThreads(), javaThreadsBefore);
}

// A thousand alive at a time: resident memory does not grow with them. The JVM's handles take about
// ten bytes each, so a leak of half of either kind grows each half of the run by 2.5 MB. The JVM's
// own growth (compiled code, metadata, a busy machine's allocator arenas) comes in steps, which
// seldom fall into both halves; a leak grows both alike, so the smaller half is the measure.
TEST_F(Threads, AMillionGlobalAndWeakReferencesLeaveNoGrowth)
{
    auto residentKb = [] {
        long size = 0, pages = 0;
        std::ifstream("/proc/self/statm") >> size >> pages;
        return pages * (sysconf(_SC_PAGESIZE) / 1024);
    };
    jstring target = jstr(env, "target");
    std::vector<std::pair<jobject, jweak>> references(1000);
    std::vector<long> resident; // after the warm-up, halfway, at the end
    long failures = 0;
    for (int batch = 0; batch < 1020; ++batch) {
        if (batch == 20 || batch == 520) {
            resident.push_back(residentKb());
        }
        for (auto& [global, weak] : references) {
            failures += !venNewGlobalRef(&global, env, nullptr, target) +
                        !venNewWeakGlobalRef(&weak, env, nullptr, target);
        }
        for (auto [global, weak] : references) {
            venDeleteGlobalRef(env, global);
            venDeleteWeakGlobalRef(env, weak);
        }
    }
    resident.push_back(residentKb());
    EXPECT_EQ(failures, 0);
    ASSERT_GT(resident[0], 0);
    EXPECT_LE(std::min(resident[1] - resident[0], resident[2] - resident[1]), 1024)
        << "KB grown in each half: " << resident[1] - resident[0] << ", " << resident[2] - resident[1];
}

} // namespace
} // namespace ven::test
