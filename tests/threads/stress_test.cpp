// Eight native threads attach (daemon and not), call integration functions that succeed and that
// fail, write to one trace stream echoed to a file and retain shared ks strings, for a bounded time;
// afterwards every count the library and the JVM keep is back where it started, every line whole.
#include <barrier>
#include <chrono>
#include <cstring>

#include "support/ven_test.hpp"
#include "support/workers.hpp"
#include "ven/ven.h"

namespace ven::test
{
namespace
{

using Clock = std::chrono::steady_clock;
constexpr int kRoundsPerSession = 8;
constexpr std::chrono::milliseconds kEpoch{500};

// VEN_STRESS_SECONDS overrides the default run time (fractions allowed).
std::chrono::milliseconds stressDuration()
{
    const char* text = std::getenv("VEN_STRESS_SECONDS");
    const double seconds = text != nullptr ? std::atof(text) : 0;
    return std::chrono::milliseconds(static_cast<long long>((seconds > 0 ? seconds : 5.0) * 1000));
}

// A round's lines in order: the thread's own, then the failures that name the thread and line.
enum LineKind { kOwn, kMissingClass, kMissingMethod, kJavaException, kKinds };
// The text around the name of each failure; the missing method's is the JDK's, learnt once.
std::array<std::array<std::string, 2>, kKinds> wording = {{
    {},
    {"[venFindClass()] Exception: java.lang.NoClassDefFoundError: stress/Missing_", ""},
    {},
    {"[venCallStaticIntMethod()] Exception: java.lang.NumberFormatException: For input string: \"x", "\""},
}};
// Every argument failure traces this line, which names no thread.
constexpr const char* kArgumentLine =
    "[venFindClass()] Exception: java.lang.IllegalArgumentException: venFindClass: result != NULL";

std::string id(int thread, long long seq)
{
    return std::to_string(thread) + "_" + std::to_string(seq);
}

std::string expectedLine(int thread, long long seq)
{
    const auto& [before, after] = wording[seq % kKinds];
    return seq % kKinds == kOwn ? SharedStrings::line(thread, seq / kKinds)
                                : before + id(thread, seq) + after;
}

// The threads' global references: Thread, then the exception each failing call leaves, in call order.
constexpr std::array<const char*, 5> kClasses = {
    "java/lang/Thread", "java/lang/IllegalArgumentException", "java/lang/NoClassDefFoundError",
    "java/lang/NoSuchMethodError", "java/lang/NumberFormatException"};
struct Java {
    std::array<jclass, kClasses.size()> classes;
    jmethodID currentThread, isDaemon, toString;
};

using Kept = std::vector<std::pair<jobject, jweak>>; // made in one session, checked in the next

struct Stress {
    // Epochs end at a barrier where the first thread audits and forgets the stream while the others wait.
    void run()
    {
        runWorkers(workers_, [this](Worker& w) {
            Kept kept;
            bool last = false;
            for (long long session = 0;; ++session) {
                attached(w, kept, session % 2 == 1, last);
                if (last) {
                    break;
                }
                if (Clock::now() >= epochEnd_) {
                    sync_.arrive_and_wait();
                    if (w.index == 0) {
                        trace_.drain();
                        stop_ = Clock::now() >= deadline_;
                        epochEnd_ = std::min(deadline_, Clock::now() + kEpoch);
                    }
                    sync_.arrive_and_wait();
                    last = stop_;
                }
            }
        });
    }

    // One attach-to-detach span: deletes the previous span's references, then (unless last) its rounds.
    void attached(Worker& w, Kept& kept, bool daemon, bool last)
    {
        JNIEnv* env = daemon ? venAttachCurrentThreadAsDaemon() : venAttachCurrentThread();
        w.check(env != nullptr && venTryGetMainJniEnv() == env && venGetMainJniEnv() == env, "the env");
        jobject thread = nullptr;
        KS_BOOL isDaemon = !daemon;
        w.check(venPushLocalFrame(env, nullptr, 8) &&
                    venCallStaticObjectMethod(&thread, env, trace_.get(), java_.classes[0],
                                              java_.currentThread) &&
                    venCallBooleanMethod(&isDaemon, env, trace_.get(), thread, java_.isDaemon) &&
                    isDaemon == daemon,
                "the thread's daemon flag");
        for (auto [global, weak] : kept) {
            w.check(venIsSameObject(env, weak, global), "a weak reference lost its object");
            venDeleteGlobalRef(env, global);
            venDeleteWeakGlobalRef(env, weak);
        }
        kept.clear();
        venPopLocalFrame(env, nullptr);
        for (int r = 0; !last && r < kRoundsPerSession; ++r) {
            round(w, env, kept);
        }
        w.check(!venExceptionCheck(env), "an exception is pending at detach");
        venDetachCurrentThread();
        w.check(venTryGetMainJniEnv() == nullptr, "the env outlived the detach");
    }

    void round(Worker& w, JNIEnv* env, Kept& kept)
    {
        lgStream* trace = trace_.get();
        w.check(venPushLocalFrame(env, trace, 16), "push the round frame");
        const std::string number = std::to_string(w.rounds);
        jclass integer = nullptr;
        jmethodID parseInt = nullptr;
        jstring text = nullptr;
        KS_INT parsed = -1;
        ksString* back = nullptr;
        auto& [global, weak] = kept.emplace_back();
        w.check(
            venFindClass(&integer, env, trace, "java/lang/Integer") &&
                venGetStaticMethodID(&parseInt, env, trace, integer, "parseInt", "(Ljava/lang/String;)I") &&
                venNewStringUTF(&text, env, trace, number.c_str()) &&
                venCallStaticIntMethod(&parsed, env, trace, integer, parseInt, text) && parsed == w.rounds &&
                venCallStringMethod(&back, env, trace, text, java_.toString) &&
                ksStringLength(back) == static_cast<KS_INT>(number.size()) &&
                venNewGlobalRef(&global, env, trace, text) && venNewWeakGlobalRef(&weak, env, trace, text),
            "the succeeding calls");
        ksObjRelease(back);

        const long long seq = w.rounds * kKinds;
        strings_.writeLine(trace, w.index, w.rounds);
        // Each failure leaves its own exception pending; it is cleared before the instance test,
        // which checked JNI would otherwise report as a call with an exception pending.
        auto failed = [&](bool refused, int which, const char* what) {
            jthrowable pending = venExceptionOccurred(env);
            venExceptionClear(env);
            KS_BOOL instance = KS_FALSE;
            w.check(refused && pending != nullptr &&
                        venIsInstanceOf(&instance, env, nullptr, pending, java_.classes[which]) && instance,
                    what);
        };
        jclass none = nullptr;
        jmethodID missing = nullptr;
        jstring bad = nullptr;
        failed(!venFindClass(nullptr, env, trace, "java/lang/Integer"), 1, "a NULL result slot");
        const std::string missingClass = "stress/Missing_" + id(w.index, seq + kMissingClass);
        const std::string method = "missing_" + id(w.index, seq + kMissingMethod);
        failed(!venFindClass(&none, env, trace, missingClass.c_str()) && none == nullptr, 2,
               "a missing class");
        failed(!venGetStaticMethodID(&missing, env, trace, integer, method.c_str(), "()V"), 3,
               "a missing method");
        failed(venNewStringUTF(&bad, env, trace, ("x" + id(w.index, seq + kJavaException)).c_str()) &&
                   !venCallStaticIntMethod(&parsed, env, trace, integer, parseInt, bad),
               4, "parseInt of a non-number");
        venPopLocalFrame(env, nullptr);
        ++w.rounds;
    }

    const Java& java_;
    const Clock::time_point deadline_;
    std::array<Worker, kThreads> workers_{};
    AuditedTrace trace_{expectedLine, kArgumentLine};
    SharedStrings strings_{};
    Clock::time_point epochEnd_ = std::min(deadline_, Clock::now() + kEpoch); // written by thread 0 alone
    bool stop_ = false;
    std::barrier<> sync_{kThreads};
};

using ThreadStress = JvmTest;

TEST_F(ThreadStress, EightThreadsLeaveEveryCountWhereItWas)
{
    Java java{};
    for (std::size_t i = 0; i < kClasses.size(); ++i) {
        java.classes[i] = static_cast<jclass>(env->NewGlobalRef(findClass(env, kClasses[i])));
    }
    jclass thread = java.classes[0];
    java.currentThread = env->GetStaticMethodID(thread, "currentThread", "()Ljava/lang/Thread;");
    java.isDaemon = env->GetMethodID(thread, "isDaemon", "()Z");
    java.toString = env->GetMethodID(findClass(env, "java/lang/Object"), "toString", "()Ljava/lang/String;");
    {
        Trace probe;
        jmethodID none = nullptr;
        EXPECT_FALSE(venGetStaticMethodID(&none, env, probe.get(), findClass(env, "java/lang/Integer"),
                                          "missing_probe", "()V"));
        ExpectPendingClass(env, "java.lang.NoSuchMethodError");
        const std::vector<std::string> lines = probe.lines();
        const std::size_t at = lines.size() == 1 ? lines[0].find("probe") : std::string::npos;
        ASSERT_NE(at, std::string::npos) << ::testing::PrintToString(lines);
        wording[kMissingMethod] = {lines[0].substr(0, at), lines[0].substr(at + std::strlen("probe"))};
    }
    // The JVM's view: Thread.activeCount() counts the main group, where attached threads go.
    jclass factory = findClass(env, "java/lang/management/ManagementFactory");
    jobject bean = env->CallStaticObjectMethod(
        factory, env->GetStaticMethodID(factory, "getThreadMXBean", "()Ljava/lang/management/ThreadMXBean;"));
    ExpectNoPending(env);
    jclass beanClass = findClass(env, "java/lang/management/ThreadMXBean");
    auto checked = [&](jint count) {
        ExpectNoPending(env);
        return count;
    };
    auto active = [&] {
        return checked(
            env->CallStaticIntMethod(thread, env->GetStaticMethodID(thread, "activeCount", "()I")));
    };
    auto threads = [&](const char* method) {
        return checked(env->CallIntMethod(bean, env->GetMethodID(beanClass, method, "()I")));
    };
    const jint activeBefore = active(), liveBefore = threads("getThreadCount");
    env->CallVoidMethod(bean, env->GetMethodID(beanClass, "resetPeakThreadCount", "()V"));
    ExpectNoPending(env);
    const KS_INT objectsBefore = ksObjLiveCount();

    long long rounds = 0, lines = 0;
    const Clock::time_point start = Clock::now();
    {
        Stress stress{java, start + stressDuration()};
        stress.run();
        rounds = stress.trace_.expectComplete(stress.workers_, kKinds, 1);
        lines = stress.trace_.lines();
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    EXPECT_EQ(ksObjLiveCount(), objectsBefore);
    EXPECT_EQ(active(), activeBefore);
    EXPECT_EQ(threads("getThreadCount"), liveBefore);
    const jint peak = threads("getPeakThreadCount");
    EXPECT_GT(peak, liveBefore) << "no thread was ever attached";
    std::printf("[stress] %d threads, %.2f s: %lld rounds (%.0f/s per thread), %lld trace lines, "
                "Java threads %d before and after (peak %d), ks objects %lld before and after\n",
                kThreads, seconds, rounds, static_cast<double>(rounds) / seconds / kThreads, lines,
                liveBefore, peak, static_cast<long long>(objectsBefore));
    for (jclass global : java.classes) {
        env->DeleteGlobalRef(global);
    }
}

} // namespace
} // namespace ven::test
