// Shared pieces of the benchmark suite: the JVM and the Java objects the rows use, the two
// ways of making a JNI call that the library is measured against, and how a row is written
// and registered: a row is one kind (listed with addRow()) of an op, whose rows are measured
// side by side.
#pragma once

#include <jni.h>

#include <benchmark/benchmark.h>

#include <time.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include "ven/ven.h"

namespace ven::bench
{

// Starts the process's JVM for the benchmarks (jvm.cpp). NULL, with `error` set, on failure.
JNIEnv* startJvm(const std::string& jdkHome, const std::string& classPath, std::string& error);
// The options it starts the JVM with, as one line for the run's context.
std::string jvmOptionsText(const std::string& classPath);

// What the rows read, write and call (venbench.Target), set up once by main(). References
// are global, so no row depends on another's local references.
struct World {
    JNIEnv* env = nullptr;
    jclass targetClass = nullptr;
    jobject target = nullptr;
    jfieldID intField = nullptr;
    jmethodID plus = nullptr;     // int plus(int), virtual
    jmethodID twice = nullptr;    // static int twice(int)
    jmethodID fail = nullptr;     // int fail(int), always throws IllegalStateException
    jfieldID textField = nullptr; // String textField, 16 characters; also what toString() returns
    jmethodID text = nullptr;     // String text(), virtual: textField
    lgStream* trace = nullptr;    // a real stream: success paths must not touch it
};
World& world();
bool setUpWorld(JNIEnv* env, std::string& error);

// --- The two references every library row is measured against ------------------------------

// Careful hand-written JNI code: the call, then one ExceptionCheck. Inside a critical region
// no JNI call is allowed to such code, so there a NULL result tells the failure.
struct Careful {
    template <typename Call> static auto call(JNIEnv* env, bool& ok, Call&& jni)
    {
        if constexpr (std::is_void_v<decltype(jni())>) {
            jni();
            ok = !env->ExceptionCheck();
        } else {
            auto result = jni();
            ok = !env->ExceptionCheck();
            return result;
        }
    }
    template <typename Call> static auto critical(JNIEnv*, bool& ok, Call&& jni)
    {
        auto result = jni();
        ok = result != nullptr;
        return result;
    }

    // Composed sequences: careful code asks nothing at the start, trusts JNI that a call which
    // cannot raise did not, and tells a failed reference from its NULL.
    static void start(JNIEnv*) {}
    static void afterNonRaising(JNIEnv*) {}
    template <typename Call> static auto reference(JNIEnv* env, bool& ok, Call&& jni)
    {
        return critical(env, ok, std::forward<Call>(jni));
    }
};

// The floor of a composed operation that keeps a pending exception alive: careful code plus
// one query at the start (when something is pending the operation takes the per-call floor
// instead, which no row measures) and one after each call that JNI does not allow to raise,
// whose check the library keeps.
struct ComposedFloor : Careful {
    static void start(JNIEnv* env) { benchmark::DoNotOptimize(env->ExceptionCheck()); }
    static void afterNonRaising(JNIEnv* env) { benchmark::DoNotOptimize(env->ExceptionCheck()); }
};

// The floor of a library that keeps a pending exception alive across each call: one query
// before it (whose answer is kept) and one after. Only when something was pending does it
// take the convention's further steps: clear and check before the call, and after it
// clear, check, throw the saved exception again and check. Critical getters are guarded
// like any other call.
struct Floor {
    template <typename Call> static auto call(JNIEnv* env, bool& ok, Call&& jni)
    {
        jthrowable saved = env->ExceptionOccurred();
        if (saved != nullptr) [[unlikely]] {
            setAside(env);
        }
        if constexpr (std::is_void_v<decltype(jni())>) {
            jni();
            ok = !env->ExceptionCheck();
            restore(env, ok, saved);
        } else {
            auto result = jni();
            ok = !env->ExceptionCheck();
            restore(env, ok, saved);
            return result;
        }
    }
    template <typename Call> static auto critical(JNIEnv* env, bool& ok, Call&& jni)
    {
        return call(env, ok, std::forward<Call>(jni));
    }

    // ven___ExceptionClear: clear, then nothing may be pending.
    [[gnu::noinline]] static void setAside(JNIEnv* env)
    {
        env->ExceptionClear();
        benchmark::DoNotOptimize(env->ExceptionCheck());
    }
    // ven___Throw: clear, check, throw, and the throwable must be pending then.
    [[gnu::noinline]] static void throwAgain(JNIEnv* env, jthrowable saved)
    {
        setAside(env);
        env->Throw(saved);
        benchmark::DoNotOptimize(env->ExceptionCheck());
    }

  private:
    static void restore(JNIEnv* env, bool ok, jthrowable saved)
    {
        if (ok && saved != nullptr) [[unlikely]] {
            throwAgain(env, saved);
        }
    }
};

// A newly made local reference replaces the one a variable held, which is then deleted: the
// out-parameter rule of the library, which hand-written loops need as much.
template <typename Ref> inline void replaceLocal(JNIEnv* env, Ref* variable, Ref ref)
{
    Ref old = *variable;
    *variable = ref;
    if (old != nullptr) {
        env->DeleteLocalRef(old);
    }
}

// --- Rows ------------------------------------------------------------------------------------

// One batch of a row: `iterations` passes of its loop, timed from the loop's first pass to its
// end on the calling thread's CPU clock and on the wall clock. A row's body loops over it as
// over Google Benchmark's State, `for (auto _ : batch)`; what it does before and after the
// loop (making inputs, checking and letting go of the last result) is not timed.
class Batch
{
  public:
    explicit Batch(std::int64_t iterations) : iterations_(iterations) {}
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    struct [[gnu::unused]] Pass {
    };
    class Iterator
    {
      public:
        Iterator(Batch* batch, std::int64_t left) : batch_(batch), left_(left) {}
        Pass operator*() const { return {}; }
        Iterator& operator++()
        {
            --left_;
            return *this;
        }
        bool operator!=(const Iterator&)
        {
            if (left_ != 0) [[likely]] {
                return true;
            }
            batch_->stop();
            return false;
        }

      private:
        Batch* batch_;
        std::int64_t left_;
    };
    Iterator begin()
    {
        start();
        return {this, iterations_};
    }
    Iterator end() { return {nullptr, 0}; }

    std::int64_t iterations() const { return iterations_; }
    // The loop's time per pass, in ns; NaN when the loop did not run to its end.
    double cpuNs() const { return perPass(cpu_); }
    double wallNs() const { return perPass(wall_); }

    void fail(const char* why) { error_ = why; }
    const char* error() const { return error_; }
    void setBytes(double bytes) { bytes_ = bytes; }
    double bytes() const { return bytes_; }

  private:
    struct Clock {
        std::int64_t start = 0;
        std::int64_t stop = -1;
    };
    static std::int64_t now(clockid_t clock)
    {
        timespec t{};
        clock_gettime(clock, &t);
        return std::int64_t{t.tv_sec} * 1'000'000'000 + t.tv_nsec;
    }
    void start()
    {
        wall_.start = now(CLOCK_MONOTONIC);
        cpu_.start = now(CLOCK_THREAD_CPUTIME_ID);
    }
    void stop()
    {
        cpu_.stop = now(CLOCK_THREAD_CPUTIME_ID);
        wall_.stop = now(CLOCK_MONOTONIC);
    }
    double perPass(const Clock& clock) const
    {
        return clock.stop < clock.start || iterations_ == 0
                   ? std::numeric_limits<double>::quiet_NaN()
                   : static_cast<double>(clock.stop - clock.start) / static_cast<double>(iterations_);
    }

    std::int64_t iterations_;
    Clock cpu_, wall_;
    const char* error_ = nullptr;
    double bytes_ = 0;
};

using RowBody = std::function<void(Batch&)>;

// Row kinds:
//   raw   careful hand-written JNI code (Careful), making the JNI calls of the library's
//         composition, or for a composed operation the best such code for the job; for the
//         UTF-16 routines, memcpy of the output size
//   min   the same at the floor of the wrapper convention (Floor, or ComposedFloor)
//   ven   the library call
//   wrap  the wrapper-layer call (ven___...), measured against the op's raw and min
//   best  the fastest hand-written code for the job, where it differs from raw
// The rows of one op are measured side by side (harness.cpp).
void addRow(const char* kind, const std::string& op, RowBody body);

// Stops a row whose operation failed: a figure for a failure path would mislead.
inline bool failed(Batch& batch, bool ok, const char* what)
{
    if (!ok) [[unlikely]] {
        batch.fail(what);
        return true;
    }
    return false;
}

// The bytes a row moves per iteration, for the throughput figures of the report.
inline void setBytes(Batch& batch, double bytes)
{
    batch.setBytes(bytes);
}

// A row whose operation delivers into a variable of type Result (a local reference, a ks
// object, a plain array) that the next iteration replaces; `finish` checks the last result
// and lets go of it. `bytes`, when given, is what one iteration moves.
template <typename Result, typename Op, typename Finish>
void resultRow(const char* kind, const std::string& op, Op operation, Finish finish, double bytes = 0)
{
    addRow(kind, op, [=](Batch& batch) {
        Result result{};
        for (auto _ : batch) {
            if (failed(batch, operation(&result), "the operation failed")) {
                break;
            }
        }
        finish(batch, result);
        if (bytes > 0) {
            setBytes(batch, bytes);
        }
    });
}

// Text up to this length is copied through a buffer on the stack, as careful code does: one
// region call instead of a critical pair, no block for the encoded units.
constexpr KS_INT kShortText = 256;

// UTF-16 of `count` code points into a buffer with room for two units each (out of line and
// aligned, rows_strings.cpp); the unit count.
KS_INT encodeInto(jchar* __restrict destination, const KS_CHAR* __restrict source, KS_INT count);

void registerCallRows();
void registerStringRows();
void registerBridgeRows();
// Registers one Google Benchmark per op, which measures its rows side by side (harness.cpp).
void registerOps();

} // namespace ven::bench
