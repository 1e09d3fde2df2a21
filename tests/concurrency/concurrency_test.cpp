// Eight threads attach and detach through the frame against a JavaVM of this test, trace failures
// into one stream, read it while the others write, and retain one shared ks string; no JVM, so
// `make tsan` runs it under ThreadSanitizer.
#include <jni.h>

#include "support/workers.hpp"
#include "ven/ven.h"

namespace ven::test
{
namespace
{

// The calling thread's side of the machine. GetVersion answers `version` to this thread's env and
// 0, which no check accepts, to any other.
struct FakeThread {
    JNIEnv env{};
    bool attached = false, daemon = false;
    jint version = 0;
};
thread_local FakeThread current;

JNINativeInterface_ native = [] {
    JNINativeInterface_ table{};
    table.GetVersion = [](JNIEnv* env) { return env == &current.env ? current.version : 0; };
    return table;
}();

template <bool daemon> jint attach(JavaVM*, void** env, void*)
{
    if (!current.attached) {
        current = {{&native}, true, daemon, 0};
    }
    *env = &current.env;
    return JNI_OK;
}

JNIInvokeInterface_ invoke = [] {
    JNIInvokeInterface_ table{};
    table.AttachCurrentThread = attach<false>;
    table.AttachCurrentThreadAsDaemon = attach<true>;
    table.DetachCurrentThread = [](JavaVM*) {
        return std::exchange(current.attached, false) ? JNI_OK : JNI_EDETACHED;
    };
    table.GetEnv = [](JavaVM*, void** env, jint) {
        *env = current.attached ? &current.env : nullptr;
        return current.attached ? JNI_OK : JNI_EDETACHED;
    };
    return table;
}();
JavaVM vm{&invoke};

TEST(Concurrency, EightThreadsShareTheFrameTheStreamAndKsObjects)
{
    venSetJavaVm(&vm);
    const KS_INT objectsBefore = ksObjLiveCount(), blocksBefore = ksMemLiveCount();
    // A failing version names its thread and round, and so does its line.
    auto failing = [](int thread, long long round) {
        return -static_cast<jint>(thread * 1'000'000 + round + 1);
    };
    {
        AuditedTrace trace(
            [&](int thread, long long seq) {
                return seq % 2 == 0
                           ? AuditedTrace::ownLine(thread, seq / 2)
                           : "[venGetVersion()] error occured: " + std::to_string(failing(thread, seq / 2));
            },
            "");
        Workers workers;
        workers.run([&](Worker& w) {
            for (int session = 0; session < 150; ++session) {
                JNIEnv* env = session % 2 ? venAttachCurrentThreadAsDaemon() : venAttachCurrentThread();
                w.check(env == &current.env && current.daemon == (session % 2 == 1) &&
                            venTryGetMainJniEnv() == env && venGetMainJniEnv() == env &&
                            venAttachCurrentThread() == env,
                        "the env while attached");
                for (int r = 0; r < 8; ++r, ++w.rounds) {
                    trace.writeOwnLine(w.index, w.rounds);
                    KS_INT version = 0;
                    current.version = failing(w.index, w.rounds);
                    w.check(!venGetVersion(&version, env, trace.get()) && lgStreamNotable(trace.get()),
                            "the failing version");
                    // The last line, read while the others write, stays alive while held.
                    ksString* last = lgStreamLineAt(trace.get(), lgStreamLineCount(trace.get()) - 1);
                    char* text = ksStringToUtf8Cstr(last);
                    w.check(text[0] == '[', "a line read back");
                    ksMemFree(text);
                    ksObjRelease(last);
                }
                venDetachCurrentThread();
                w.check(venTryGetMainJniEnv() == nullptr, "the env after the detach");
            }
        });
        trace.drain();
        trace.expectComplete(workers, 2, 0);
    }
    EXPECT_EQ(ksObjLiveCount(), objectsBefore);
    EXPECT_EQ(ksMemLiveCount(), blocksBefore);
    venDelJavaVm();
}

} // namespace
} // namespace ven::test
