// The test process's JVM, created once from the JDK named by VEN_TEST_JDK with checked JNI: any
// warning it prints fails the running test unless a guard wants it. Also the per-test frame.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include "jvmhost.hpp"
#include "support/ven_test.hpp"
#include "ven/frame.h"

namespace ven::test
{

namespace
{

JavaVM* theVm = nullptr;
JNIEnv* theEnv = nullptr;

struct Capture {
    std::mutex mutex;
    std::string partialLine;
    std::vector<std::string> lines;
    std::vector<ExpectJniWarning*> guards;
};

Capture& capture()
{
    static Capture* instance = new Capture; // outlives every JVM thread
    return *instance;
}

// Checked JNI follows a warning with the stack ("V  [libjvm.so+0x..]  symbol", "j  Class.method"):
// a frame whose symbol holds the word (a test's own name, on aarch64) is no warning of its own.
bool isWarning(std::string line)
{
    if (line.size() >= 2 && std::string_view("CVJjv").find(line[0]) != std::string_view::npos &&
        line[1] == ' ') {
        return false;
    }
    std::ranges::transform(line, line.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return line.find("warning") != std::string::npos;
}

// Under the lock: files complete lines and returns the warnings no guard covers.
std::vector<std::string> takeLines(Capture& state, std::string_view text)
{
    std::vector<std::string> unexpected;
    state.partialLine.append(text);
    std::size_t start = 0;
    for (std::size_t end; (end = state.partialLine.find('\n', start)) != std::string::npos; start = end + 1) {
        std::string line = state.partialLine.substr(start, end - start);
        if (isWarning(line)) {
            auto guard = std::find_if(state.guards.rbegin(), state.guards.rend(), [&](ExpectJniWarning* g) {
                return line.find(g->text) != std::string::npos;
            });
            if (guard != state.guards.rend()) {
                ++(*guard)->seen;
            } else if (line.find(kCriticalRegionWarning) == std::string::npos) {
                unexpected.push_back(line);
            }
        }
        state.lines.push_back(std::move(line));
    }
    state.partialLine.erase(0, start);
    return unexpected;
}

// Checked JNI prints a warning on the thread of the offending call, before that call returns.
jint JNICALL captureJvmOutput(FILE*, const char* format, va_list args)
{
    char* printed = nullptr;
    const int length = vasprintf(&printed, format, args);
    if (length < 0) {
        return length;
    }
    const std::string text(printed, static_cast<std::size_t>(length));
    std::free(printed);
    std::fwrite(text.data(), 1, text.size(), stderr);

    const std::vector<std::string> unexpected = [&] {
        std::lock_guard lock(capture().mutex);
        return takeLines(capture(), text);
    }();
    for (const std::string& line : unexpected) {
        ADD_FAILURE() << "JVM warning: " << line;
    }
    return length;
}

std::string environmentOr(const char* name, const char* fallback)
{
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : fallback;
}

class JvmEnvironment : public ::testing::Environment
{
  public:
    void SetUp() override
    {
        if (theVm != nullptr) {
            return; // --gtest_repeat
        }
        const std::vector<jvmhost::Option> options = {
            {"-Xcheck:jni"},
            {"-Djava.class.path=" + environmentOr("VEN_TEST_CLASSPATH", VEN_TEST_DEFAULT_CLASSPATH)},
            {"-Xrs"},             // leave SIGINT/SIGTERM/SIGQUIT to the test process
            {"-XX:+UseSerialGC"}, // few JVM threads on a small machine
            {"-XX:-UsePerfData"}, // no hsperfdata files
            {"-Xmx256m"},
            {"vfprintf", reinterpret_cast<void*>(&captureJvmOutput)},
        };
        std::string error;
        theVm = jvmhost::createJavaVm(environmentOr("VEN_TEST_JDK", VEN_TEST_DEFAULT_JDK), options, &theEnv,
                                      error);
        ASSERT_NE(theVm, nullptr) << error;
        venSetJavaVm(theVm);
    }
};

} // namespace

JavaVM* jvm()
{
    return theVm;
}

JNIEnv* mainEnv()
{
    return theEnv;
}

std::vector<std::string> jvmOutput()
{
    Capture& state = capture();
    std::lock_guard lock(state.mutex);
    return state.lines;
}

ExpectJniWarning::ExpectJniWarning(const char* text, const char* why, std::source_location where)
    : text(text), why(why), where(where)
{
    std::lock_guard lock(capture().mutex);
    capture().guards.push_back(this);
}

ExpectJniWarning::~ExpectJniWarning()
{
    std::lock_guard lock(capture().mutex);
    std::erase(capture().guards, this);
    if (seen == 0) {
        ADD_FAILURE_AT(where.file_name(), static_cast<int>(where.line()))
            << "the expected JVM warning \"" << text << "\" (" << why << ") never appeared";
    }
}

TestFrame::TestFrame(JNIEnv* env, jint capacity)
    : env_(env), ksObjectsAtStart_(ksObjLiveCount()), ksBlocksAtStart_(ksMemLiveCount()),
      localReferencesAtStart_(localReferenceCount(env))
{
    open_ = env_->PushLocalFrame(capacity) == JNI_OK;
    if (!open_) {
        env_->ExceptionClear();
        ADD_FAILURE() << "PushLocalFrame(" << capacity << ") failed";
    }
}

void TestFrame::close()
{
    if (!open_) {
        return;
    }
    open_ = false;
    ExpectNoPending(env_); // what the test left pending
    env_->PopLocalFrame(nullptr);
    if (int references = localReferenceCount(env_); references != localReferencesAtStart_) {
        ADD_FAILURE() << "local references held by the thread: " << references << " after the frame, "
                      << localReferencesAtStart_ << " before it";
    }
    if (KS_INT live = ksObjLiveCount(); live != ksObjectsAtStart_) {
        ADD_FAILURE() << "ks objects alive: " << live << " at the end, " << ksObjectsAtStart_
                      << " at the start (a leak or an extra release)";
    }
    if (KS_INT blocks = ksMemLiveCount(); blocks != ksBlocksAtStart_) {
        ADD_FAILURE() << "raw blocks from ksMemAlloc not freed: " << blocks << " at the end, "
                      << ksBlocksAtStart_ << " at the start";
    }
}

} // namespace ven::test

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::AddGlobalTestEnvironment(new ven::test::JvmEnvironment);
    ven::test::installAbortHook();
    int status = RUN_ALL_TESTS();
    // The JVM is never destroyed (DestroyJavaVM waits for every non-daemon thread); leave
    // without running exit handlers under its running threads. _exit also skips the leak
    // check LeakSanitizer would run at exit, so a sanitizer build runs it here.
    std::fflush(nullptr);
#if defined(__SANITIZE_ADDRESS__)
    __lsan_do_leak_check();
#endif
    _exit(status);
}
