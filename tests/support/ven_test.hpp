// The test harness of every JVM suite: one JVM per process with its output captured, a
// local frame per test, interception of ks___Abort, expected-warning guards, a recording
// trace stream, and helpers for Java exceptions, Java strings and ks strings.
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

// ---- The JVM of the test process ------------------------------------------------------

// The process's one JavaVM (created before the first test, registered with venSetJavaVm,
// never destroyed) and the JNIEnv of the main thread, which stays attached.
JavaVM* jvm();
JNIEnv* mainEnv();

// Every line the JVM has printed through its vfprintf hook so far (also echoed to stderr).
std::vector<std::string> jvmOutput();

// ---- Warnings the system causes by design ---------------------------------------------

// The two checker warnings that required behaviours provoke, and the rule behind each.
// An argument failure raised while another exception is pending throws the new
// IllegalArgumentException through ThrowNew with the old one still pending (guarded).
// ven___GetVersion is a direct call and leaves a pending exception where it is, so GetVersion
// itself draws the same warning (guarded).
inline constexpr const char* kExceptionPendingWarning = "JNI call made with exception pending";
// The exception check a checked-result wrapper makes right after GetStringCritical or
// GetPrimitiveArrayCritical, inside the region (let pass everywhere: every such call on a
// pinned array or string draws it, so it tells nothing; what runs inside a region is checked
// through a FaultEnv trail instead). HotSpot pins arrays and strings with characters beyond
// Latin-1; it copies a Latin-1 string, and then there is no region and no warning.
inline constexpr const char* kCriticalRegionWarning =
    "Calling other JNI functions in the scope of Get/ReleasePrimitiveArrayCritical";

// While alive, JVM warning lines containing `text` (one of the two above) do not fail the test,
// and at least one must appear before the guard ends (the checker reports synchronously, so the
// statement that provokes it lies inside the scope); `why` names the rule the test exercises.
// Any other line with "warning" in any case, unless let pass everywhere, fails the running test
// (checked JNI writes both "WARNING in native method: ..." and "Warning: Calling other ...").
class ExpectJniWarning
{
  public:
    ExpectJniWarning(const char* text, const char* why,
                     std::source_location where = std::source_location::current());
    ~ExpectJniWarning();
    ExpectJniWarning(const ExpectJniWarning&) = delete;
    ExpectJniWarning& operator=(const ExpectJniWarning&) = delete;

    const std::string& text() const { return text_; }
    void noteSeen() { ++seen_; } // under the capture lock

  private:
    std::string text_;
    std::string why_;
    std::source_location where_;
    bool registered_ = false;
    int seen_ = 0;
};

// ---- One local frame per test ---------------------------------------------------------

// A local frame on `env` with room for `capacity` references. close() (or the destructor) fails the test
// if an exception is pending (describing and clearing it), then pops the frame, and fails it if
// the number of live ks objects or raw blocks differs from the start or if the thread holds a different number
// of local references than before the frame was pushed (one outlived the frame: a frame left
// pushed or popped twice, or a reference made outside it). HotSpot 17's checked JNI warns (failing the test)
// once the frame holds about 97 references; HotSpot 25 no longer checks local capacity, so there
// leaks show only through FaultEnv ledgers. A Trace keeps its lines as ks strings: one that
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

// The local references the calling thread holds in all its frames, as the JVM's heap walk
// reports them (-1, with the test failed, if the walk is not available).
int localReferenceCount(JNIEnv* env);

// Fixture of the JVM suites: `env` is the main thread's JNIEnv and each test runs in its own
// TestFrame.
class JvmTest : public ::testing::Test
{
  protected:
    void SetUp() override;
    void TearDown() override;

    JNIEnv* env = nullptr;

  private:
    std::optional<TestFrame> frame_;
};

// ---- ks___Abort interception ----------------------------------------------------------

// What ks___Abort received; exactly one of message and condition is set by the library.
struct AbortRecord {
    std::optional<std::string> message;
    std::string path;
    int line = 0;
    std::optional<std::string> condition;
};

// Thrown by the harness's abort hook (installed for the whole run) so that a fatal or
// consistency check unwinds back to the test instead of stopping the process.
class VenAbort : public std::exception
{
  public:
    explicit VenAbort(AbortRecord record);
    const AbortRecord& record() const { return record_; }
    const char* what() const noexcept override { return text_.c_str(); }

  private:
    AbortRecord record_;
    std::string text_;
};

void installAbortHook();

// Runs `body`; the record of the ks___Abort that ended it, or nothing if it returned.
template <typename Body> std::optional<AbortRecord> catchAbort(Body&& body)
{
    try {
        std::forward<Body>(body)();
    } catch (const VenAbort& abort) {
        return abort.record();
    }
    return std::nullopt;
}

// Whether `got` is an abort with exactly this path and line and this condition (message
// NULL) or this message (condition NULL); pass nullptr for the one that must be NULL.
::testing::AssertionResult abortedWith(const std::optional<AbortRecord>& got, const char* statement,
                                       const char* path, int line, const char* condition,
                                       const char* message);

#define VEN_TEST_EXPECT_ABORT_(statement, abortPath, abortLine, abortCondition, abortMessage)                \
    do {                                                                                                     \
        if (::testing::AssertionResult venAbortResult_ =                                                     \
                ::ven::test::abortedWith(::ven::test::catchAbort([&]() { statement; }), #statement,          \
                                         (abortPath), (abortLine), (abortCondition), (abortMessage))) {      \
        } else {                                                                                             \
            ADD_FAILURE() << venAbortResult_.message();                                                      \
        }                                                                                                    \
    } while (false)

// The statement must end in a fatal check: ks___Abort(NULL, path, line, condition).
#define EXPECT_VEN_ABORT(statement, path, line, condition)                                                   \
    VEN_TEST_EXPECT_ABORT_(statement, path, line, condition, nullptr)
// The statement must end in a consistency check: ks___Abort(message, path, line, NULL).
#define EXPECT_VEN_ABORT_MESSAGE(statement, path, line, message)                                             \
    VEN_TEST_EXPECT_ABORT_(statement, path, line, nullptr, message)

// ---- Trace streams --------------------------------------------------------------------

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

// ---- Java exceptions ------------------------------------------------------------------

// Asserts that an exception of exactly this class with this message (nullptr: a null
// message) is pending, then clears it. The failure is reported at the caller's line.
void ExpectPending(JNIEnv* env, const char* className, const char* message,
                   std::source_location where = std::source_location::current());
// Asserts the class only, then clears the exception.
void ExpectPendingClass(JNIEnv* env, const char* className,
                        std::source_location where = std::source_location::current());
// Asserts that nothing is pending (describing and clearing what is).
void ExpectNoPending(JNIEnv* env, std::source_location where = std::source_location::current());

// A new local reference to `new <className>(message)`; className in either "java/lang/X"
// or "java.lang.X" form; message nullptr passes null.
jthrowable makeThrowable(JNIEnv* env, const char* className, const char* message);

// A local reference to the class; fails the test (and returns NULL) when it is missing.
jclass findClass(JNIEnv* env, const char* name, std::source_location where = std::source_location::current());

// ---- Java strings ---------------------------------------------------------------------

// A new Java string from standard UTF-8 (supplementary characters as 4 bytes) or UTF-16.
jstring jstr(JNIEnv* env, std::string_view utf8);
jstring jstr(JNIEnv* env, std::u16string_view units);
// The UTF-16 units of a Java string, and its text as standard UTF-8.
std::u16string units(JNIEnv* env, jstring string);
std::string utf8(JNIEnv* env, jstring string);

// UTF-16 as standard UTF-8; a lone surrogate fails the test.
std::string toUtf8(std::u16string_view units);

// ---- ks objects -----------------------------------------------------------------------

// Owns one reference to a ks object (released on destruction). out() hands the slot to an
// out-parameter, which releases the old value and stores a new one by the ownership rule.
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
    T* release() { return std::exchange(object_, nullptr); }
    void reset(T* object = nullptr) { ksObjRelease(std::exchange(object_, object)); }

  private:
    T* object_ = nullptr;
};

// A ks string of the code points of `utf8` (standard UTF-8).
KsRef<ksString> ksStr(std::string_view utf8);
// The text of a ks string as standard UTF-8; "<NULL ksString>" for NULL.
std::string utf8(const ksString* string);
std::u32string codePoints(const ksString* string);

} // namespace ven::test
