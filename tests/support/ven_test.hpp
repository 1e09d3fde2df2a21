// The harness of every JVM suite: one JVM per process with its output checked, a local frame
// per test, ks___Abort interception, a recording trace stream, Java and ks helpers.
#pragma once

#include <jni.h>

#include <optional>
#include <source_location>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "support/fault_env.hpp"

namespace ven::test
{

// The process's one JavaVM (registered with venSetJavaVm, never destroyed) and the JNIEnv of
// the main thread; every line the JVM has printed through its vfprintf hook.
JavaVM* jvm();
JNIEnv* mainEnv();
std::vector<std::string> jvmOutput();

// An argument failure raised while another exception is pending throws through ThrowNew with
// the old one still pending; ven___GetVersion is a direct call that leaves a pending exception
// where it is. Both draw this warning, so a guard must want it.
inline constexpr const char* kExceptionPendingWarning = "JNI call made with exception pending";
// The exception check a checked-result wrapper makes inside a region it just opened. Every such
// call on a pinned array or string draws it, so it tells nothing and passes everywhere; what runs
// inside a region is checked through FaultEnv::callsInCriticalRegion instead.
inline constexpr const char* kCriticalRegionWarning =
    "Calling other JNI functions in the scope of Get/ReleasePrimitiveArrayCritical";

// While alive, JVM warning lines containing `text` (one of the two above) do not fail the test,
// and at least one must appear before the guard ends (the checker reports synchronously).
// Any other line with "warning" in any case fails the running test.
struct ExpectJniWarning {
    ExpectJniWarning(const char* text, const char* why,
                     std::source_location where = std::source_location::current());
    ~ExpectJniWarning();
    ExpectJniWarning(const ExpectJniWarning&) = delete;
    ExpectJniWarning& operator=(const ExpectJniWarning&) = delete;

    const std::string text, why;
    const std::source_location where;
    int seen = 0; // under the capture lock
};

// A local frame on `env`. close() (or the destructor) fails the test if an exception is pending,
// pops the frame, and fails it if the live ks objects or raw blocks differ from the start, or if
// the thread holds another number of local references than before the push (a frame left pushed
// or popped twice, a reference made outside it). A Trace keeps its lines as ks objects: one that
// outlives the frame must be reset() before the frame closes.
class TestFrame
{
  public:
    explicit TestFrame(JNIEnv* env, jint capacity = 64);
    ~TestFrame() { close(); }
    TestFrame(const TestFrame&) = delete;
    TestFrame& operator=(const TestFrame&) = delete;
    void close();

  private:
    JNIEnv* env_;
    KS_INT ksObjectsAtStart_;
    KS_INT ksBlocksAtStart_;
    int localReferencesAtStart_;
    bool open_ = false;
};

// The local references the calling thread holds in all its frames, by the JVM's heap walk.
int localReferenceCount(JNIEnv* env);

// Fixture of the JVM suites: each test runs in its own TestFrame on the main thread's env.
class JvmTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        env = mainEnv();
        ASSERT_NE(env, nullptr) << "no JVM";
        frame_.emplace(env);
    }
    void TearDown() override { frame_.reset(); }

    JNIEnv* env = nullptr;

  private:
    std::optional<TestFrame> frame_;
};

// What ks___Abort received (the library sets exactly one of message and condition), thrown by
// the abort hook so that a fatal or consistency check unwinds back to the test.
struct AbortRecord : std::exception {
    AbortRecord(const char* message, const char* path, int line, const char* condition);

    std::optional<std::string> message;
    std::string path;
    int line = 0;
    std::optional<std::string> condition;
    std::string text;

    const char* what() const noexcept override { return text.c_str(); }
};

void installAbortHook();

// Runs `body`; the record of the ks___Abort that ended it, or nothing if it returned.
template <typename Body> std::optional<AbortRecord> catchAbort(Body&& body)
{
    try {
        std::forward<Body>(body)();
    } catch (const AbortRecord& abort) {
        return abort;
    }
    return std::nullopt;
}

// Whether `got` has exactly these fields; nullptr for the one of condition and message that is NULL.
::testing::AssertionResult abortedWith(const std::optional<AbortRecord>& got, const char* statement,
                                       const char* path, int line, const char* condition,
                                       const char* message);

#define VEN_TEST_EXPECT_ABORT_(statement, abortPath, abortLine, abortCondition, abortMessage)                \
    EXPECT_TRUE(::ven::test::abortedWith(::ven::test::catchAbort([&]() { statement; }), #statement,          \
                                         (abortPath), (abortLine), (abortCondition), (abortMessage)))

// The statement must end in a fatal check: ks___Abort(NULL, path, line, condition).
#define EXPECT_VEN_ABORT(statement, path, line, condition)                                                   \
    VEN_TEST_EXPECT_ABORT_(statement, path, line, condition, nullptr)
// The statement must end in a consistency check: ks___Abort(message, path, line, NULL).
#define EXPECT_VEN_ABORT_MESSAGE(statement, path, line, message)                                             \
    VEN_TEST_EXPECT_ABORT_(statement, path, line, nullptr, message)

// An owned recording lg stream.
class Trace
{
  public:
    Trace() = default;
    ~Trace() { lgStreamDestroy(stream_); }
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    lgStream* get() const { return stream_; }
    std::vector<std::string> lines() const; // UTF-8
    bool notable() const { return lgStreamNotable(stream_) != KS_FALSE; }
    void reset() { lgStreamReset(stream_); }

  private:
    lgStream* stream_ = lgStreamCreate(nullptr);
};

// Assert that an exception of exactly this class with this message (nullptr: null) is pending,
// or only of this class, or that none is, and clear it; failures are reported at the caller.
void ExpectPending(JNIEnv* env, const char* className, const char* message,
                   std::source_location where = std::source_location::current());
void ExpectPendingClass(JNIEnv* env, const char* className,
                        std::source_location where = std::source_location::current());
void ExpectNoPending(JNIEnv* env, std::source_location where = std::source_location::current());

// `new <className>(message)`, className as "java/lang/X".
jthrowable makeThrowable(JNIEnv* env, const char* className, const char* message);

// The class, or NULL with the test failed.
jclass findClass(JNIEnv* env, const char* name, std::source_location where = std::source_location::current());

// Java strings from and to standard UTF-8 (supplementary characters as 4 bytes) or UTF-16.
jstring jstr(JNIEnv* env, std::string_view utf8);
jstring jstr(JNIEnv* env, std::u16string_view units);
std::u16string units(JNIEnv* env, jstring string);
std::string utf8(JNIEnv* env, jstring string);

// Owns one reference to a ks object. out() hands the slot to an out-parameter, which releases
// the old value and stores the new one.
template <typename T> class KsRef
{
  public:
    KsRef() = default;
    explicit KsRef(T* object) : object_(object) {}
    ~KsRef() { ksObjRelease(object_); }
    KsRef(KsRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    KsRef& operator=(KsRef&& other) noexcept
    {
        reset(std::exchange(other.object_, nullptr));
        return *this;
    }
    KsRef(const KsRef&) = delete;
    KsRef& operator=(const KsRef&) = delete;

    T* get() const { return object_; }
    operator T*() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }
    T** out() { return &object_; }
    void reset(T* object = nullptr) { ksObjRelease(std::exchange(object_, object)); }

  private:
    T* object_ = nullptr;
};

// ks strings from and to standard UTF-8 ("<NULL ksString>" for NULL), and their code points.
KsRef<ksString> ksStr(std::string_view utf8);
std::string utf8(const ksString* string);
std::u32string codePoints(const ksString* string);

} // namespace ven::test
