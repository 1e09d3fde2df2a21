// The library's own concurrency without a JVM: eight threads attach and detach through the frame
// against a JavaVM of this test, trace integration failures into one shared stream, read it while
// others write, and retain shared ks objects. `make tsan` runs it under ThreadSanitizer.
#include <jni.h>

#include <atomic>
#include <latch>

#include "support/workers.hpp"
#include "ven/ven.h"

namespace ven::test
{
namespace
{

constexpr int kSessions = 150;
constexpr int kRounds = 8;

// The calling thread's side of the machine.
struct FakeThread {
    JNIEnv env{};
    bool attached = false, daemon = false;
    jint version = 0; // what GetVersion answers next
};
thread_local FakeThread current;
std::atomic<long> attaches{0}, detaches{0};

template <bool daemon> jint attach(JavaVM*, void** env, void*)
{
    if (!current.attached) {
        static JNINativeInterface_ native = [] {
            JNINativeInterface_ table{};
            // Another thread's env reaching the machine answers 0, which no check accepts.
            table.GetVersion = [](JNIEnv* env) { return env == &current.env ? current.version : 0; };
            return table;
        }();
        current = {{&native}, true, daemon, 0};
        ++attaches;
    }
    *env = &current.env;
    return JNI_OK;
}

JavaVM* fakeVm()
{
    static JNIInvokeInterface_ invoke = [] {
        JNIInvokeInterface_ table{};
        table.GetEnv = [](JavaVM*, void** env, jint) {
            *env = current.attached ? &current.env : nullptr;
            return current.attached ? JNI_OK : JNI_EDETACHED;
        };
        table.AttachCurrentThread = attach<false>;
        table.AttachCurrentThreadAsDaemon = attach<true>;
        table.DetachCurrentThread = [](JavaVM*) {
            const bool was = std::exchange(current.attached, false);
            detaches += was;
            return was ? JNI_OK : JNI_EDETACHED;
        };
        return table;
    }();
    static JavaVM vm{&invoke};
    return &vm;
}

// A failing version answer that names its thread and round; the trace line then does too.
jint failingVersion(int thread, long long round)
{
    return -static_cast<jint>(thread * 1'000'000 + round + 1);
}

// Per round, in order: the thread's own line, then the failing version's.
std::string expectedLine(int thread, long long seq)
{
    return seq % 2 == 0
               ? SharedStrings::line(thread, seq / 2)
               : "[venGetVersion()] error occured: " + std::to_string(failingVersion(thread, seq / 2));
}

void round(Worker& w, const SharedStrings& shared, lgStream* trace, JNIEnv* env)
{
    shared.writeLine(trace, w.index, w.rounds);
    KS_INT version = 0;
    current.version = JNI_VERSION_1_8;
    w.check(venGetVersion(&version, env, trace) && version == JNI_VERSION_1_8, "the version");
    current.version = failingVersion(w.index, w.rounds);
    w.check(!venGetVersion(&version, env, trace) && version == current.version, "the failing version");
    w.check(lgStreamNotable(trace), "the failure left the stream plain");

    // Reading while the others write: the last line is whole and stays alive while held.
    ksString* last = lgStreamLineAt(trace, lgStreamLineCount(trace) - 1);
    char* text = ksStringToUtf8Cstr(last);
    w.check(text[0] == '[', "a line read back");
    ksMemFree(text);
    ksObjRelease(last);
    ++w.rounds;
}

TEST(Concurrency, EightThreadsShareTheFrameTheStreamAndKsObjects)
{
    venSetJavaVm(fakeVm());
    const KS_INT liveBefore = ksObjLiveCount();
    {
        SharedStrings shared;
        AuditedTrace trace(expectedLine, "");
        std::latch allAttached{kThreads};
        std::array<Worker, kThreads> workers;
        runWorkers(workers, [&](Worker& w) {
            for (int s = 0; s < kSessions; ++s) {
                const bool daemon = s % 2 == 1;
                JNIEnv* env = daemon ? venAttachCurrentThreadAsDaemon() : venAttachCurrentThread();
                w.check(env == &current.env && current.daemon == daemon, "the attached env");
                w.check(venTryGetMainJniEnv() == env && venGetMainJniEnv() == env &&
                            venAttachCurrentThread() == env,
                        "the env while attached");
                if (s == 0) {
                    allAttached.arrive_and_wait(); // all eight attached at once, at least here
                }
                for (int r = 0; r < kRounds; ++r) {
                    round(w, shared, trace.get(), env);
                }
                venDetachCurrentThread();
                w.check(venTryGetMainJniEnv() == nullptr, "the env after the detach");
            }
        });
        EXPECT_EQ(attaches.load(), long{kThreads} * kSessions);
        EXPECT_EQ(detaches.load(), attaches.load());
        EXPECT_EQ(lgStreamLineCount(trace.get()), 2L * kThreads * kSessions * kRounds);
        trace.drain();
        trace.expectComplete(workers, 2, 0);
    }
    EXPECT_EQ(ksObjLiveCount(), liveBefore);
    venDelJavaVm();
}

} // namespace
} // namespace ven::test
