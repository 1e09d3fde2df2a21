// The library's own concurrency without a JVM: eight threads attach and detach through the frame
// against a JavaVM of this test, trace integration failures into one shared stream, read it while
// others write, and retain shared ks objects. `make tsan` runs it under ThreadSanitizer.
#include <jni.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <functional>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/ven.h"

namespace
{

constexpr int kThreads = 8;
constexpr int kSessions = 150;
constexpr int kRounds = 8;

// ---- A JavaVM whose threads each get an environment of their own ----------------------------

// The calling thread's side of the machine. The env comes first: a JNIEnv* leads back to it.
struct FakeThread {
    JNIEnv env{};
    bool attached = false;
    bool daemon = false;
    jint version = 0;     // what GetVersion answers next
    long foreignEnvs = 0; // GetVersion calls that came with another thread's env, over all sessions
};
thread_local FakeThread current;

struct FakeVm {
    JavaVM vm{};
    JNIInvokeInterface_ invoke{};
    JNINativeInterface_ native{};
    std::atomic<int> attached{0};
    std::atomic<int> peak{0};
    std::atomic<long> attaches{0}, detaches{0};
};
FakeVm* fake = nullptr; // set before the threads start

jint attach(void** env, bool daemon)
{
    if (!current.attached) {
        current.env.functions = &fake->native;
        current.attached = true;
        current.daemon = daemon;
        const int now = fake->attached.fetch_add(1) + 1;
        for (int seen = fake->peak.load(); now > seen && !fake->peak.compare_exchange_weak(seen, now);) {
        }
        ++fake->attaches;
    }
    *env = &current.env;
    return JNI_OK;
}

FakeVm& makeFakeVm()
{
    static FakeVm vm;
    vm.invoke.GetEnv = [](JavaVM*, void** env, jint) {
        *env = current.attached ? &current.env : nullptr;
        return current.attached ? JNI_OK : JNI_EDETACHED;
    };
    vm.invoke.AttachCurrentThread = [](JavaVM*, void** env, void*) { return attach(env, false); };
    vm.invoke.AttachCurrentThreadAsDaemon = [](JavaVM*, void** env, void*) { return attach(env, true); };
    vm.invoke.DetachCurrentThread = [](JavaVM*) {
        if (!current.attached) {
            return JNI_EDETACHED;
        }
        current.attached = false;
        --fake->attached;
        ++fake->detaches;
        return JNI_OK;
    };
    vm.native.GetVersion = [](JNIEnv* env) {
        current.foreignEnvs += env != &current.env;
        return reinterpret_cast<FakeThread*>(env)->version;
    };
    vm.vm.functions = &vm.invoke;
    return vm;
}

// ---- The threads ------------------------------------------------------------------------------

constexpr std::array<const char*, 3> kSharedTexts = {"shared", "\u00e4\u00df\u20ac", "\U0001D11E"};

// A failing version answer that names its thread and round; the trace line then does too.
jint failingVersion(int thread, long seq)
{
    return -static_cast<jint>(thread * 1'000'000 + seq + 1);
}

std::string ownLine(int thread, long seq)
{
    return "[t" + std::to_string(thread) + "] #" + std::to_string(seq) + " " + kSharedTexts[seq % 3];
}
std::string failureLine(int thread, long seq)
{
    return "[venGetVersion()] error occured: " + std::to_string(failingVersion(thread, seq));
}

struct Shared {
    lgStream* trace;
    std::array<ksString*, 3> strings;
    ksVector* vector; // holds the three strings
    std::latch allAttached{kThreads};
};

struct Worker {
    int index = 0;
    long rounds = 0, lines = 0, foreignEnvs = 0;
    std::vector<std::string> errors;
    void check(bool holds, const char* what)
    {
        if (!holds && errors.size() < 5) {
            errors.push_back("thread " + std::to_string(index) + ": " + what);
        }
    }
};

void round(Worker& w, Shared& shared, JNIEnv* env)
{
    const long seq = w.rounds;
    ksString* text = shared.strings[static_cast<std::size_t>(seq % 3)];
    ksObjRetain(text);
    lgStreamTextFormatCstr(shared.trace, "[t%i] #%i %s", -1, KS_INT{w.index}, KS_INT{seq}, text);
    ksObjRelease(text);

    KS_INT version = 0;
    current.version = JNI_VERSION_1_8;
    w.check(venGetVersion(&version, env, shared.trace) && version == JNI_VERSION_1_8, "the version");
    current.version = failingVersion(w.index, seq);
    w.check(!venGetVersion(&version, env, shared.trace) && version == current.version, "the failing version");
    w.check(lgStreamNotable(shared.trace), "the failure left the stream plain");
    w.lines += 2;

    // Reading while the others write: the last line is whole and stays alive while held.
    const KS_INT count = lgStreamLineCount(shared.trace);
    ksString* last = lgStreamLineAt(shared.trace, count - 1);
    char* lastText = ksStringToUtf8Cstr(last);
    w.check(lastText[0] == '[', "a line read back");
    ksMemFree(lastText);
    ksObjRelease(last);

    ksObj* element = ksVectorObjAt(shared.vector, seq % 3);
    ksString* copy =
        ksStringCreateFromFormatCstr("%s/%i", -1, reinterpret_cast<ksString*>(element), KS_INT{seq});
    char* modified = ksStringConvertToCstr(copy, 1, nullptr);
    ksMemFree(modified);
    ksObjRelease(copy);
    ksObjRelease(element);
    ++w.rounds;
}

void work(Worker& w, Shared& shared)
{
    for (int s = 0; s < kSessions; ++s) {
        const bool daemon = s % 2 == 1;
        JNIEnv* env = daemon ? venAttachCurrentThreadAsDaemon() : venAttachCurrentThread();
        w.check(env == &current.env && current.daemon == daemon, "the attached env");
        w.check(venTryGetMainJniEnv() == env && venGetMainJniEnv() == env && venAttachCurrentThread() == env,
                "the env while attached");
        if (s == 0) {
            shared.allAttached.arrive_and_wait(); // every thread attached at once, at least here
        }
        for (int r = 0; r < kRounds; ++r) {
            round(w, shared, env);
        }
        venDetachCurrentThread();
        w.check(venTryGetMainJniEnv() == nullptr, "the env after the detach");
    }
    w.foreignEnvs = current.foreignEnvs;
}

TEST(Concurrency, EightThreadsShareTheFrameTheStreamAndKsObjects)
{
    fake = &makeFakeVm();
    venSetJavaVm(&fake->vm);
    const KS_INT liveBefore = ksObjLiveCount();
    std::FILE* echo = std::tmpfile();
    ASSERT_NE(echo, nullptr);
    Shared shared{lgStreamCreate(echo), {}, ksVectorCreate()};
    for (std::size_t i = 0; i < shared.strings.size(); ++i) {
        shared.strings[i] = ksStringCreateFromCstr(kSharedTexts[i], -1);
        ksVectorAppend(shared.vector, shared.strings[i]);
    }

    std::array<Worker, kThreads> workers;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        workers[static_cast<std::size_t>(t)].index = t;
        threads.emplace_back(work, std::ref(workers[static_cast<std::size_t>(t)]), std::ref(shared));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    // The frame and the machine: every attach undone, all eight were attached together.
    EXPECT_EQ(fake->attached.load(), 0);
    EXPECT_EQ(fake->peak.load(), kThreads);
    EXPECT_EQ(fake->attaches.load(), long{kThreads} * kSessions);
    EXPECT_EQ(fake->detaches.load(), fake->attaches.load());
    long lines = 0;
    for (const Worker& w : workers) {
        EXPECT_EQ(w.errors, std::vector<std::string>{});
        EXPECT_EQ(w.foreignEnvs, 0) << "thread " << w.index << " reached the machine with another's env";
        EXPECT_EQ(w.rounds, long{kSessions} * kRounds);
        lines += w.lines;
    }

    // The stream: each line whole, each thread's lines in its order, the echo file the same.
    std::fflush(echo);
    std::rewind(echo);
    std::array<long, kThreads> nextOwn{}, nextFailure{};
    const KS_INT count = lgStreamLineCount(shared.trace);
    EXPECT_EQ(count, lines);
    long foreign = 0, echoMismatches = 0;
    std::vector<char> buffer(256);
    for (KS_INT i = 0; i < count; ++i) {
        ksString* line = lgStreamLineAt(shared.trace, i);
        char* utf8 = ksStringToUtf8Cstr(line);
        const std::string text = utf8;
        ksMemFree(utf8);
        ksObjRelease(line);
        echoMismatches += std::fgets(buffer.data(), static_cast<int>(buffer.size()), echo) == nullptr ||
                          buffer.data() != text + "\n";
        bool known = false;
        for (std::size_t t = 0; t < kThreads && !known; ++t) {
            if (text == ownLine(static_cast<int>(t), nextOwn[t])) {
                ++nextOwn[t], known = true;
            } else if (text == failureLine(static_cast<int>(t), nextFailure[t])) {
                ++nextFailure[t], known = true;
            }
        }
        foreign += !known;
    }
    EXPECT_EQ(foreign, 0);
    EXPECT_EQ(echoMismatches, 0);
    EXPECT_EQ(std::fgetc(echo), EOF) << "the echo file holds more lines than the stream";
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(nextOwn[static_cast<std::size_t>(t)], long{kSessions} * kRounds) << "thread " << t;
        EXPECT_EQ(nextFailure[static_cast<std::size_t>(t)], long{kSessions} * kRounds) << "thread " << t;
    }

    // ks: the shared objects hold their own references again, and nothing else is left.
    for (ksString* string : shared.strings) {
        EXPECT_EQ(ksObjRefCount(string), 2); // ours and the vector's
        ksObjRelease(string);
    }
    ksObjRelease(shared.vector);
    lgStreamDestroy(shared.trace);
    std::fclose(echo);
    EXPECT_EQ(ksObjLiveCount(), liveBefore);
    venDelJavaVm();
}

} // namespace
