// Eight native threads attach, call integration functions that succeed and that fail, write to
// one trace stream (echoed to a file), retain shared ks strings and detach, for a bounded time;
// afterwards every count the library and the JVM keep is back where it started, every line intact.
#include <unistd.h>

#include <array>
#include <barrier>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace ven::test
{
namespace
{

using Clock = std::chrono::steady_clock;

constexpr int kThreads = 8;
constexpr int kRoundsPerSession = 8;
constexpr std::chrono::milliseconds kEpoch{500};

// VEN_STRESS_SECONDS overrides the default run time (fractions allowed).
std::chrono::milliseconds stressDuration()
{
    const char* text = std::getenv("VEN_STRESS_SECONDS");
    double seconds = text != nullptr && *text != '\0' ? std::atof(text) : 5.0;
    return std::chrono::milliseconds(static_cast<long long>((seconds > 0 ? seconds : 5.0) * 1000));
}

// The texts shared by every thread: written into lines and retained and released all along.
constexpr std::array<const char*, 4> kSharedTexts = {"alpha", "\u00e4\u00df\u20ac", "\U0001D11E clef", ""};

// What each of a thread's identified lines says, in the order a round writes them: the thread's
// own line, then the trace of the missing class, the missing method and the Java exception.
enum LineKind { kOwn, kMissingClass, kMissingMethod, kJavaException, kKinds };

std::string tag(int thread, long long seq)
{
    return std::to_string(thread) + "_" + std::to_string(seq);
}

// Every argument failure the threads provoke traces this one line, which carries no identity.
constexpr const char* kArgumentLine =
    "[venFindClass()] Exception: java.lang.IllegalArgumentException: venFindClass: result != NULL";

struct Classes {
    jclass integer, thread, illegalArgument, noClassDef, noSuchMethod, numberFormat; // global
    jmethodID parseInt, toString, currentThread, isDaemon;
};

// The text of a thread's line `seq`; line kinds follow each other in the order of LineKind.
// The missing method's line is the JDK's wording around the method name, learnt once.
struct ExpectedLines {
    std::array<std::string, 2> missingMethod; // text before and after the name

    std::string operator()(int thread, long long seq) const
    {
        const std::string id = tag(thread, seq);
        switch (static_cast<LineKind>(seq % kKinds)) {
        case kOwn:
            return "[stress] t" + id + " " + kSharedTexts[static_cast<std::size_t>(seq / kKinds) % 4];
        case kMissingClass:
            return "[venFindClass()] Exception: java.lang.NoClassDefFoundError: stress/Missing_" + id;
        case kMissingMethod:
            return missingMethod[0] + "missing_" + id + missingMethod[1];
        default:
            return "[venCallStaticIntMethod()] Exception: java.lang.NumberFormatException: For input string: "
                   "\"x" +
                   id + "\"";
        }
    }
};

// What one thread did and saw; written only by its thread, read after the join.
struct Worker {
    int index = 0;
    long long sessions = 0, rounds = 0, operations = 0;
    long long identifiedLines = 0, argumentLines = 0;
    long long globalsCreated = 0, globalsDeleted = 0, weaksCreated = 0, weaksDeleted = 0;
    std::vector<std::string> errors; // the first few, with how many in total
    long long errorCount = 0;

    void check(bool holds, const char* what)
    {
        if (!holds && ++errorCount <= 5) {
            errors.push_back("thread " + std::to_string(index) + " after " + std::to_string(rounds) +
                             " rounds: " + what);
        }
    }
};

// What the stream held at the end of each epoch, checked line by line while every thread waits.
struct StreamAudit {
    std::array<long long, kThreads> nextSeq{};
    long long lines = 0, argumentLines = 0, foreign = 0;
    long long echoMismatches = 0; // lines of the echo file that differ from the stream's, in order
    std::vector<std::string> firstForeign;
};

class Stress
{
  public:
    Stress(const Classes& classes, const ExpectedLines& expected, std::chrono::milliseconds duration)
        : classes_(classes), expected_(expected), deadline_(Clock::now() + duration),
          epochEnd_(std::min(deadline_, Clock::now() + kEpoch)), sync_(kThreads, Completion{this})
    {
        for (std::size_t i = 0; i < shared_.size(); ++i) {
            shared_[i] = ksStringCreateFromCstr(kSharedTexts[i], -1);
        }
    }
    ~Stress()
    {
        lgStreamDestroy(trace_);
        std::fclose(echo_);
        for (ksString* string : shared_) {
            ksObjRelease(string);
        }
    }

    void run()
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            workers_[static_cast<std::size_t>(i)].index = i;
            threads.emplace_back([this, i] { work(workers_[static_cast<std::size_t>(i)]); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    const std::array<Worker, kThreads>& workers() const { return workers_; }
    const StreamAudit& audit() const { return audit_; }
    const std::array<ksString*, 4>& shared() const { return shared_; }
    KS_INT linesLeft() const { return lgStreamLineCount(trace_); }

  private:
    struct Completion {
        Stress* self;
        void operator()() noexcept { self->endEpoch(); }
    };

    // Runs while every thread waits at the barrier: reads and forgets the epoch's lines, and
    // sets the next epoch or the stop.
    void endEpoch()
    {
        const std::vector<std::string> echoed = takeEcho();
        const KS_INT count = lgStreamLineCount(trace_);
        for (KS_INT i = 0; i < count; ++i) {
            ksString* line = lgStreamLineAt(trace_, i);
            char* text = ksStringToUtf8Cstr(line);
            ksObjRelease(line);
            audit(text);
            const auto at = static_cast<std::size_t>(i);
            audit_.echoMismatches += at >= echoed.size() || echoed[at] != text;
            ksMemFree(text);
        }
        audit_.echoMismatches += echoed.size() != static_cast<std::size_t>(count);
        audit_.lines += count;
        lgStreamReset(trace_);
        const Clock::time_point now = Clock::now();
        stop_ = now >= deadline_;
        epochEnd_ = std::min(deadline_, now + kEpoch);
    }

    // The lines echoed to the file since the last epoch; the file starts empty again.
    std::vector<std::string> takeEcho()
    {
        std::vector<std::string> lines;
        std::fflush(echo_);
        std::rewind(echo_);
        std::string line;
        for (int c; (c = std::fgetc(echo_)) != EOF;) {
            if (c == '\n') {
                lines.push_back(std::move(line));
                line.clear();
            } else {
                line.push_back(static_cast<char>(c));
            }
        }
        audit_.echoMismatches += !line.empty(); // a line without its newline
        std::rewind(echo_);
        audit_.echoMismatches += ftruncate(fileno(echo_), 0) != 0;
        return lines;
    }

    // A line is the argument failure's or the next line of exactly one thread, whole.
    void audit(const std::string& text)
    {
        if (text == kArgumentLine) {
            ++audit_.argumentLines;
            return;
        }
        for (int t = 0; t < kThreads; ++t) {
            long long& next = audit_.nextSeq[static_cast<std::size_t>(t)];
            if (text == expected_(t, next)) {
                ++next;
                return;
            }
        }
        if (++audit_.foreign <= 5) {
            audit_.firstForeign.push_back(text);
        }
    }

    void work(Worker& w)
    {
        std::vector<jobject> globals; // kept across a detach, deleted in the next session
        std::vector<jweak> weaks;
        for (bool last = false;;) {
            session(w, globals, weaks, last);
            ++w.sessions;
            if (last) {
                break;
            }
            if (Clock::now() >= epochEnd_) {
                sync_.arrive_and_wait();
                last = stop_;
            }
        }
    }

    // The failure left exactly this exception pending; it is cleared before the instance test,
    // which checked JNI would otherwise report as a call with an exception pending.
    void takePending(Worker& w, JNIEnv* env, jclass expected, const char* what)
    {
        ++w.operations;
        jthrowable pending = venExceptionOccurred(env);
        w.check(pending != nullptr, what);
        if (pending == nullptr) {
            return;
        }
        venExceptionClear(env);
        KS_BOOL instance = KS_FALSE;
        w.check(venIsInstanceOf(&instance, env, nullptr, pending, expected) && instance, what);
        venDeleteLocalRef(env, pending);
        w.operations += 3;
    }

    // One attach-to-detach span: the references of the previous span are checked and deleted
    // (the last span only does that), then kRoundsPerSession rounds, each in its own local frame.
    void session(Worker& w, std::vector<jobject>& globals, std::vector<jweak>& weaks, bool last)
    {
        const bool daemon = w.sessions % 2 == 1;
        JNIEnv* env = daemon ? venAttachCurrentThreadAsDaemon() : venAttachCurrentThread();
        w.check(env != nullptr && venTryGetMainJniEnv() == env && venGetMainJniEnv() == env,
                "the attached thread's env");
        w.operations += 3;

        w.check(venPushLocalFrame(env, nullptr, 8), "push the session frame");
        jobject thread = nullptr;
        KS_BOOL isDaemon = !daemon;
        w.check(venCallStaticObjectMethod(&thread, env, trace_, classes_.thread, classes_.currentThread) &&
                    venCallBooleanMethod(&isDaemon, env, trace_, thread, classes_.isDaemon) &&
                    isDaemon == daemon,
                "the thread's daemon flag");
        for (std::size_t i = 0; i < globals.size(); ++i) {
            w.check(venIsSameObject(env, weaks[i], globals[i]), "a weak reference lost its object");
            venDeleteGlobalRef(env, globals[i]);
            venDeleteWeakGlobalRef(env, weaks[i]);
        }
        w.operations += 4 + 3 * static_cast<long long>(globals.size());
        w.globalsDeleted += static_cast<long long>(globals.size());
        w.weaksDeleted += static_cast<long long>(weaks.size());
        globals.clear();
        weaks.clear();
        venPopLocalFrame(env, nullptr);

        for (int r = 0; !last && r < kRoundsPerSession; ++r, ++w.rounds) {
            round(w, env, globals, weaks);
        }
        w.check(!venExceptionCheck(env), "an exception is pending at detach");
        venDetachCurrentThread();
        w.check(venTryGetMainJniEnv() == nullptr, "the env outlived the detach");
        w.operations += 3;
    }

    void round(Worker& w, JNIEnv* env, std::vector<jobject>& globals, std::vector<jweak>& weaks)
    {
        const int t = w.index;
        w.check(venPushLocalFrame(env, trace_, 16), "push the round frame");

        // Succeeding: look up, create, call, convert, and keep a global and a weak reference.
        const std::string number = std::to_string(w.rounds);
        jclass integer = nullptr;
        jmethodID parseInt = nullptr;
        jstring text = nullptr;
        KS_INT parsed = -1;
        ksString* back = nullptr;
        jobject global = nullptr;
        jweak weak = nullptr;
        w.check(
            venFindClass(&integer, env, trace_, "java/lang/Integer") &&
                venGetStaticMethodID(&parseInt, env, trace_, integer, "parseInt", "(Ljava/lang/String;)I") &&
                venNewStringUTF(&text, env, trace_, number.c_str()) &&
                venCallStaticIntMethod(&parsed, env, trace_, integer, parseInt, text) &&
                parsed == static_cast<KS_INT>(w.rounds),
            "parseInt of a number");
        w.check(venCallStringMethod(&back, env, trace_, text, classes_.toString) && back != nullptr &&
                    ksStringLength(back) == static_cast<KS_INT>(number.size()),
                "toString of a number");
        ksObjRelease(back);
        w.check(venNewGlobalRef(&global, env, trace_, text) && venNewWeakGlobalRef(&weak, env, trace_, text),
                "the global references");
        globals.push_back(global);
        weaks.push_back(weak);
        w.globalsCreated += global != nullptr;
        w.weaksCreated += weak != nullptr;
        w.operations += 8;

        // The thread's own line, with a shared string retained around the write.
        const long long seq = w.identifiedLines;
        ksString* shared = shared_[static_cast<std::size_t>(seq / kKinds) % shared_.size()];
        ksObjRetain(shared);
        ksObjRetain(shared);
        lgStreamTextFormatCstr(trace_, "[stress] t%lc %s", -1, tag(t, seq).c_str(), shared);
        ksObjRelease(shared);
        ksObjRelease(shared);
        ++w.operations;

        // Failing: a bad argument, a missing class, a missing method, a Java exception.
        jclass none = nullptr;
        w.check(!venFindClass(nullptr, env, trace_, "java/lang/Integer"), "a NULL result slot accepted");
        takePending(w, env, classes_.illegalArgument, "the argument failure");
        const std::string missingClass = "stress/Missing_" + tag(t, seq + kMissingClass);
        w.check(!venFindClass(&none, env, trace_, missingClass.c_str()) && none == nullptr,
                "a missing class found");
        takePending(w, env, classes_.noClassDef, "the missing class");
        jmethodID missing = nullptr;
        const std::string missingMethod = "missing_" + tag(t, seq + kMissingMethod);
        w.check(!venGetStaticMethodID(&missing, env, trace_, integer, missingMethod.c_str(), "()V"),
                "a missing method found");
        takePending(w, env, classes_.noSuchMethod, "the missing method");
        jstring bad = nullptr;
        const std::string badNumber = "x" + tag(t, seq + kJavaException);
        w.check(venNewStringUTF(&bad, env, trace_, badNumber.c_str()) &&
                    !venCallStaticIntMethod(&parsed, env, trace_, integer, parseInt, bad),
                "parseInt of a non-number");
        takePending(w, env, classes_.numberFormat, "the Java exception");
        w.operations += 5;
        w.identifiedLines += kKinds;
        ++w.argumentLines;

        venPopLocalFrame(env, nullptr);
        ++w.operations;
    }

    const Classes& classes_;
    const ExpectedLines& expected_;
    std::FILE* echo_ = std::tmpfile();
    lgStream* trace_ = lgStreamCreate(echo_);
    std::array<ksString*, 4> shared_{};
    std::array<Worker, kThreads> workers_;
    StreamAudit audit_;
    const Clock::time_point deadline_;
    Clock::time_point epochEnd_; // written by the barrier's completion only, as is stop_
    bool stop_ = false;
    std::barrier<Completion> sync_;
};

// ---- The JVM's view, through the main thread ----------------------------------------------------

struct JavaThreads {
    jint active; // Thread.activeCount(): the main group, where attached threads go
    jint live;   // ThreadMXBean.getThreadCount()
};

class ThreadCounts
{
  public:
    explicit ThreadCounts(JNIEnv* env) : env_(env)
    {
        threadClass_ = findClass(env, "java/lang/Thread");
        activeCount_ = env->GetStaticMethodID(threadClass_, "activeCount", "()I");
        jclass factory = findClass(env, "java/lang/management/ManagementFactory");
        jmethodID get =
            env->GetStaticMethodID(factory, "getThreadMXBean", "()Ljava/lang/management/ThreadMXBean;");
        bean_ = env->CallStaticObjectMethod(factory, get);
        ExpectNoPending(env);
        jclass beanClass = findClass(env, "java/lang/management/ThreadMXBean");
        threadCount_ = env->GetMethodID(beanClass, "getThreadCount", "()I");
        peak_ = env->GetMethodID(beanClass, "getPeakThreadCount", "()I");
        resetPeak_ = env->GetMethodID(beanClass, "resetPeakThreadCount", "()V");
        ExpectNoPending(env);
    }
    JavaThreads now() const
    {
        JavaThreads counts{env_->CallStaticIntMethod(threadClass_, activeCount_), 0};
        ExpectNoPending(env_);
        counts.live = env_->CallIntMethod(bean_, threadCount_);
        ExpectNoPending(env_);
        return counts;
    }
    void resetPeak() const
    {
        env_->CallVoidMethod(bean_, resetPeak_);
        ExpectNoPending(env_);
    }
    jint peak() const
    {
        jint peak = env_->CallIntMethod(bean_, peak_);
        ExpectNoPending(env_);
        return peak;
    }

  private:
    JNIEnv* env_;
    jclass threadClass_;
    jobject bean_;
    jmethodID activeCount_, threadCount_, peak_, resetPeak_;
};

jclass globalClass(JNIEnv* env, const char* name)
{
    jclass local = findClass(env, name);
    auto global = static_cast<jclass>(env->NewGlobalRef(local));
    env->DeleteLocalRef(local);
    return global;
}

// The JDK's wording of a missing static method, learnt from one lookup on the main thread.
std::array<std::string, 2> missingMethodWording(JNIEnv* env, jclass integer)
{
    Trace trace;
    jmethodID none = nullptr;
    EXPECT_FALSE(venGetStaticMethodID(&none, env, trace.get(), integer, "missing_probe", "()V"));
    ExpectPendingClass(env, "java.lang.NoSuchMethodError");
    std::vector<std::string> lines = trace.lines();
    trace.reset();
    const std::string prefix = "[venGetStaticMethodID()] Exception: java.lang.NoSuchMethodError: ";
    if (lines.size() != 1 || lines[0].rfind(prefix, 0) != 0 ||
        lines[0].find("missing_probe") == std::string::npos) {
        ADD_FAILURE() << "unexpected trace of a missing method: " << ::testing::PrintToString(lines);
        return {prefix, ""};
    }
    const std::size_t at = lines[0].find("missing_probe");
    return {lines[0].substr(0, at), lines[0].substr(at + std::string("missing_probe").size())};
}

using ThreadStress = JvmTest;

TEST_F(ThreadStress, EightThreadsLeaveEveryCountWhereItWas)
{
    Classes classes{globalClass(env, "java/lang/Integer"),
                    globalClass(env, "java/lang/Thread"),
                    globalClass(env, "java/lang/IllegalArgumentException"),
                    globalClass(env, "java/lang/NoClassDefFoundError"),
                    globalClass(env, "java/lang/NoSuchMethodError"),
                    globalClass(env, "java/lang/NumberFormatException"),
                    nullptr,
                    nullptr,
                    nullptr,
                    nullptr};
    classes.parseInt = env->GetStaticMethodID(classes.integer, "parseInt", "(Ljava/lang/String;)I");
    classes.currentThread = env->GetStaticMethodID(classes.thread, "currentThread", "()Ljava/lang/Thread;");
    classes.isDaemon = env->GetMethodID(classes.thread, "isDaemon", "()Z");
    jclass object = findClass(env, "java/lang/Object");
    classes.toString = env->GetMethodID(object, "toString", "()Ljava/lang/String;");
    const ExpectedLines expected{missingMethodWording(env, classes.integer)};
    ExpectNoPending(env);

    ThreadCounts threadCounts(env);
    const JavaThreads threadsBefore = threadCounts.now();
    threadCounts.resetPeak();
    const KS_INT liveBefore = ksObjLiveCount();
    const std::chrono::milliseconds duration = stressDuration();

    std::optional<Stress> stress(std::in_place, classes, expected, duration);
    const Clock::time_point start = Clock::now();
    stress->run();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();

    // Threads: each did its share without a wrong answer and balanced its own counts.
    long long identified = 0, argument = 0, operations = 0;
    for (const Worker& w : stress->workers()) {
        SCOPED_TRACE("thread " + std::to_string(w.index));
        EXPECT_EQ(w.errorCount, 0) << ::testing::PrintToString(w.errors);
        EXPECT_GT(w.rounds, 0);
        EXPECT_EQ(w.globalsCreated, w.rounds);
        EXPECT_EQ(w.globalsDeleted, w.globalsCreated);
        EXPECT_EQ(w.weaksDeleted, w.weaksCreated);
        EXPECT_EQ(w.weaksCreated, w.rounds);
        EXPECT_EQ(stress->audit().nextSeq[static_cast<std::size_t>(w.index)], w.identifiedLines);
        identified += w.identifiedLines;
        argument += w.argumentLines;
        operations += w.operations;
        std::printf("[stress] thread %d: %lld sessions, %lld rounds, %lld operations (%.0f/s), %lld lines\n",
                    w.index, w.sessions, w.rounds, w.operations, static_cast<double>(w.operations) / seconds,
                    w.identifiedLines + w.argumentLines);
    }
    // The stream: every line whole and accounted for, in each thread's order.
    const StreamAudit& audit = stress->audit();
    EXPECT_EQ(audit.foreign, 0) << ::testing::PrintToString(audit.firstForeign);
    EXPECT_EQ(audit.argumentLines, argument);
    EXPECT_EQ(audit.echoMismatches, 0) << "the echo file does not repeat the stream";
    EXPECT_EQ(audit.lines, identified + argument);
    EXPECT_EQ(stress->linesLeft(), 0);
    // ks: each shared string back at its one reference, and no object more or less alive.
    for (ksString* shared : stress->shared()) {
        EXPECT_EQ(ksObjRefCount(shared), 1);
    }
    stress.reset();
    EXPECT_EQ(ksObjLiveCount(), liveBefore);
    // The JVM: the attached threads are gone, and nothing is pending here either.
    const JavaThreads threadsAfter = threadCounts.now();
    EXPECT_EQ(threadsAfter.active, threadsBefore.active);
    EXPECT_EQ(threadsAfter.live, threadsBefore.live);
    const jint peak = threadCounts.peak();
    EXPECT_GT(peak, threadsBefore.live) << "no thread was ever attached";
    ExpectNoPending(env);
    std::printf("[stress] %d threads, %.2f s: %lld operations (%.0f/s per thread), %lld trace lines, "
                "Java threads %d before and after (peak %d), ks objects %lld before and after\n",
                kThreads, seconds, operations, static_cast<double>(operations) / seconds / kThreads,
                audit.lines, threadsAfter.live, peak, static_cast<long long>(liveBefore));

    for (jclass global : {classes.integer, classes.thread, classes.illegalArgument, classes.noClassDef,
                          classes.noSuchMethod, classes.numberFormat}) {
        env->DeleteGlobalRef(global);
    }
}

} // namespace
} // namespace ven::test
