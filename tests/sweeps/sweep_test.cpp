// Sweeps every integration and class support function: exception state after success, failure and
// each argument check in order; the success path at its floor; the out-parameter's replacement; an
// OutOfMemoryError in each fallible JNI call of its success path; no JNI call inside a critical
// region; no local reference, ks object or raw block left behind; completeness.
#include <cctype>
#include <map>
#include <optional>
#include <set>
#include <tuple>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <gmock/gmock.h>

#include "support/exported.hpp"
#include "support/jni_table.hpp"
#include "sweep.hpp"

namespace ven::sweeps
{
namespace
{

const std::vector<Case>& cases()
{
    static const std::vector<Case> all = allCases();
    return all;
}

// ---- The fallible JNI entries ---------------------------------------------------------------

// An entry to fail, and the wrapper's fatal check that stops the process on it by design, if any
// (abortLine 0: any line of the wrapper's no-exception checks).
struct Fallible {
    void (*inject)(FaultEnv& fault, int nth, bool status);
    int abortLine = 0;
    const char* abortCondition = nullptr;
};

// status: a jint result is a status, -1 on failure, rather than a value or a length.
template <auto Member> void injectOutOfMemory(FaultEnv& fault, int nth, bool status)
{
    using Result = typename ven::test::detail::JniEntry<Member>::Result;
    constexpr const char* kOome = "java/lang/OutOfMemoryError";
    if constexpr (std::is_void_v<Result>) {
        fault.raise<Member>(kOome, "injected by the sweep", FaultEnv::Calls::nth(nth));
    } else {
        const Result failure = std::is_same_v<Result, jint> && status ? Result(-1) : Result{};
        fault.raiseReturning<Member>(kOome, "injected by the sweep", failure, FaultEnv::Calls::nth(nth));
    }
}

// Every entry but those that can neither fail nor raise. JNI does not allow the queries of an
// object's class, type, length or fields to raise: a raise there stops the process in the wrapper.
const std::map<std::string, Fallible>& fallibleEntries()
{
    static const std::map<std::string, Fallible> entries = [] {
        std::map<std::string, Fallible> made;
#define SWEEP_FALLIBLE(name) made[#name] = {&injectOutOfMemory<&Entry::name>};
        VEN_TEST_JNI_FIXED_ENTRIES(SWEEP_FALLIBLE)
#undef SWEEP_FALLIBLE
        std::erase_if(made, [](const auto& entry) {
            const std::string& name = entry.first;
            return name.starts_with("Release") || name.starts_with("Delete") ||
                   name.starts_with("Exception") || name == "GetVersion" || name == "PopLocalFrame" ||
                   name == "FatalError";
        });
        for (auto& [name, fallible] : made) {
            if (name.ends_with("Field") || name.ends_with("Length") || name == "GetObjectClass" ||
                name == "IsInstanceOf" || name == "IsSameObject" || name == "NewLocalRef") {
                fallible.abortCondition = "(*env)->ExceptionCheck( env ) == JNI_FALSE";
            }
        }
        // The wrapper's fatal checks: these calls are not allowed to fail.
        for (const auto& [name, line, condition] : {
                 std::tuple{"Throw", 86, "(*env)->Throw( env, throwable ) == 0"},
                 std::tuple{"ThrowNew", 95, "(*env)->ThrowNew( env, clazz, message ) == 0"},
                 std::tuple{"MonitorEnter", 5100, "(*env)->MonitorEnter( env, obj ) == 0"},
                 std::tuple{"MonitorExit", 5113, "(*env)->MonitorExit( env, obj ) == 0"},
             }) {
            made[name].abortLine = line;
            made[name].abortCondition = condition;
        }
        return made;
    }();
    return entries;
}

// ---- One run of a prepared call ---------------------------------------------------------------

// The local references these make go with the run's frame.
bool pendingIsA(JNIEnv* env, jthrowable pending, const char* className)
{
    jclass clazz = env->FindClass(className);
    return pending != nullptr && clazz != nullptr && env->IsInstanceOf(pending, clazz);
}

std::string classNameOf(JNIEnv* env, jobject obj)
{
    if (obj == nullptr) {
        return "nothing";
    }
    jclass clazz = env->GetObjectClass(obj);
    jmethodID getName = env->GetMethodID(env->GetObjectClass(clazz), "getName", "()Ljava/lang/String;");
    auto name = static_cast<jstring>(env->CallObjectMethod(clazz, getName));
    EXPECT_FALSE(env->ExceptionCheck());
    return utf8(env, name);
}

// One run in a local frame: the pending exception taken out after it, the cleanup, and the live
// ks objects compared unless the run ended in an abort.
struct Run {
    Run(const Case& row, Arguments arguments)
    {
        EXPECT_EQ(0, mainEnv()->PushLocalFrame(64));
        prepared = row.prepare(arguments);
    }
    ~Run()
    {
        mainEnv()->ExceptionClear();
        trace.reset();
        prepared.cleanup();
        prepared = {};
        mainEnv()->PopLocalFrame(nullptr);
        // An abort unwinds past the releases of the frames it leaves: counted, not failed.
        if (!aborted) {
            EXPECT_EQ(ksAtStart, ksObjLiveCount()) << "ks objects left behind";
            EXPECT_EQ(blocksAtStart, ksMemLiveCount()) << "raw blocks from ksMemAlloc left behind";
        }
    }
    jthrowable take() // the pending exception, cleared, as a local reference of the run's frame
    {
        jthrowable pending = mainEnv()->ExceptionOccurred();
        mainEnv()->ExceptionClear();
        return pending;
    }

    const KS_INT ksAtStart = ksObjLiveCount();
    const KS_INT blocksAtStart = ksMemLiveCount();
    Prepared prepared;
    Trace trace;
    bool aborted = false;
};

// ---- 1. Exception state ---------------------------------------------------------------------

const char* warningReason(const Case& row, Variant variant)
{
    if (variant == Variant::Bad) {
        return "an argument failure throws through ThrowNew while E1 is pending";
    }
    if (variant == Variant::Fail) {
        return row.failThrowsNew;
    }
    return row.onSuccess == OnSuccess::Throws
               ? "the function's throw goes through ThrowNew while E1 is pending"
               : row.successWarns;
}

void exceptionState(const Case& row, Arguments arguments)
{
    const Variant variant = arguments.variant;
    JNIEnv* env = mainEnv();
    Run run(row, arguments);
    ASSERT_TRUE(run.prepared.act) << "variant " << static_cast<int>(variant) << " not prepared";
    jthrowable e1 = world().e1;
    env->Throw(e1);
    KS_BOOL ok;
    {
        std::optional<ExpectJniWarning> warning;
        if (const char* why = warningReason(row, variant)) {
            warning.emplace(kExceptionPendingWarning, why);
        }
        ok = run.prepared.act(env, run.trace.get());
    }
    jthrowable pending = run.take();
    const std::string pendingClass = classNameOf(env, pending);
    const bool isE1 = pending != nullptr && env->IsSameObject(pending, e1);
    switch (variant) {
    case Variant::Succeed:
        EXPECT_EQ(KS_TRUE, ok);
        if (row.onSuccess == OnSuccess::Keeps) {
            EXPECT_TRUE(run.trace.lines().empty()) << "a success writes no trace";
        }
        if (row.onSuccess == OnSuccess::Keeps || row.onSuccess == OnSuccess::Traces) {
            EXPECT_TRUE(isE1) << "E1 is not pending after success, but " << pendingClass;
        } else {
            EXPECT_TRUE(!isE1 && pendingIsA(env, pending, row.thrown)) << "pending: " << pendingClass;
        }
        if (row.onSuccess == OnSuccess::Traces) {
            EXPECT_TRUE(run.trace.notable());
        }
        break;
    case Variant::Fail:
        EXPECT_EQ(KS_FALSE, ok);
        EXPECT_TRUE(pending != nullptr && !isE1) << "pending: " << pendingClass;
        // A checked exception is the caller's to handle: only an unchecked one is traced.
        EXPECT_EQ(pendingIsA(env, pending, "java/lang/RuntimeException") ||
                      pendingIsA(env, pending, "java/lang/Error"),
                  run.trace.notable())
            << pendingClass;
        break;
    case Variant::Bad: {
        // The argument failure replaces E1 and is traced under the function that reports it.
        const std::string& message = row.checks[arguments.firstBad];
        EXPECT_EQ(KS_FALSE, ok);
        EXPECT_EQ(run.trace.lines(),
                  std::vector<std::string>{"[" + message.substr(0, message.find(':')) +
                                           "()] Exception: java.lang.IllegalArgumentException: " + message});
        EXPECT_TRUE(run.trace.notable());
        env->Throw(pending);
        ExpectPending(env, "java.lang.IllegalArgumentException", message.c_str());
        break;
    }
    }
}

TEST(Sweeps, ExceptionState)
{
    for (const Case& row : cases()) {
        SCOPED_TRACE(row.name);
        exceptionState(row, {Variant::Succeed});
        if (row.cannotFail == nullptr) {
            exceptionState(row, {Variant::Fail});
        }
        for (std::size_t check = 0; check < row.checks.size(); ++check) {
            exceptionState(row, {Variant::Bad, check});
        }
    }
}

// ---- 2 and 3. Faults, and references on success ---------------------------------------------

// A local reference that the out-parameter held is deleted once, and only after the new one is
// stored.
void replacesOutParameter(const Case& row)
{
    JNIEnv* env = mainEnv();
    Run run(row, {Variant::Succeed});
    if (run.prepared.out == nullptr) {
        return;
    }
    const jobject old = env->NewLocalRef(world().text);
    *run.prepared.out = old;
    FaultEnv fault(env);
    std::vector<jobject> heldWhenDeleted;
    fault.override<&Entry::DeleteLocalRef>([&](JNIEnv* real, jobject ref) {
        if (ref == old) {
            heldWhenDeleted.push_back(*run.prepared.out);
        }
        real->DeleteLocalRef(ref);
    });
    EXPECT_EQ(KS_TRUE, run.prepared.act(fault.env(), run.trace.get()));
    ASSERT_EQ(1u, heldWhenDeleted.size()) << "deletions of the reference the out-parameter held";
    EXPECT_TRUE(heldWhenDeleted[0] != old && heldWhenDeleted[0] == *run.prepared.out)
        << "the old reference was deleted before the new one was stored";
}

#if defined(__SANITIZE_ADDRESS__)
using LeakCheckerOff = __lsan::ScopedDisabler;
#else
struct LeakCheckerOff {
};
#endif

// The success path through a FaultEnv, an OutOfMemoryError injected into the nth call of entry
// if one is named (afterThrow: into the trace of the exception the function has just thrown).
// Returns the trail of JNI entries that the run called.
std::vector<std::string> faultRun(const Case& row, const std::string& entry = {}, int nth = 0,
                                  bool afterThrow = false)
{
    JNIEnv* env = mainEnv();
    const Fallible* fallible = entry.empty() ? nullptr : &fallibleEntries().at(entry);
    SCOPED_TRACE(fallible == nullptr ? "success" : entry + " #" + std::to_string(nth));
    Run run(row, {Variant::Succeed});
    FaultEnv fault(env);
    LeakCheck leaks(fault);
    const bool aborts = fallible != nullptr && fallible->abortCondition != nullptr;
    if (fallible != nullptr) {
        fallible->inject(fault, nth, entry.find("Int") == std::string::npos && !entry.ends_with("Length"));
    }
    const KS_INT blocksBefore = ksMemAllocCount();
    KS_BOOL ok = KS_FALSE;
    std::optional<AbortRecord> abort;
    {
        // What a call that stops the process had allocated is not a leak: the leak checker of the
        // sanitizer build leaves it aside, only for the calls that are meant to stop.
        std::optional<LeakCheckerOff> off;
        if (aborts) {
            off.emplace();
        }
        abort = catchAbort([&] { ok = run.prepared.act(fault.env(), run.trace.get()); });
    }
    jthrowable pending = run.take();
    if (aborts) {
        run.aborted = true;
        EXPECT_TRUE(abortedWith(abort, entry.c_str(), "source/ven/ven_wrapper",
                                fallible->abortLine != 0 || !abort ? fallible->abortLine : abort->line,
                                fallible->abortCondition, nullptr));
        return {};
    }
    EXPECT_FALSE(abort.has_value()) << "unexpected abort: " << (abort ? abort->line : 0);
    const std::string pendingClass = classNameOf(env, pending);
    // The trace of a thrown or kept exception may meet a failed class lookup of its own, whose
    // exception then takes the place of the traced one, as venTraceErrorOrRuntimeException documents.
    const bool traceLookupFailed =
        entry == "FindClass" && pendingIsA(env, pending, "java/lang/OutOfMemoryError");
    if (fallible == nullptr || afterThrow) {
        EXPECT_EQ(KS_TRUE, ok);
    }
    if (fallible == nullptr && row.onSuccess == OnSuccess::Keeps) {
        // A throw or a trace is the function's own work, not a fast path: its calls are not counted.
        EXPECT_EQ(row.blocks, ksMemAllocCount() - blocksBefore) << "raw blocks taken by a success";
        std::vector<std::string> floor = row.floor;
        const std::vector<std::string>& trail = fault.trail();
        if (floor.empty() && trail.size() == 3) {
            floor = {"ExceptionOccurred", trail[1], "ExceptionCheck"};
        }
        EXPECT_EQ(floor, trail) << "the JNI calls of a success with nothing pending";
        EXPECT_EQ(nullptr, pending) << pendingClass;
    } else if (row.onSuccess == OnSuccess::Traces) {
        EXPECT_TRUE(traceLookupFailed || (pending != nullptr && env->IsSameObject(pending, world().e1)))
            << "pending: " << pendingClass;
    } else if (fallible == nullptr || afterThrow) {
        EXPECT_TRUE(traceLookupFailed || pendingIsA(env, pending, row.thrown)) << "pending: " << pendingClass;
    } else {
        EXPECT_EQ(KS_FALSE, ok);
        EXPECT_TRUE(pendingIsA(env, pending, "java/lang/OutOfMemoryError")) << "pending: " << pendingClass;
        if (row.untracedFailure == nullptr) {
            EXPECT_TRUE(run.trace.notable()) << "an unchecked failure is traced";
        }
    }
    const bool kept = run.prepared.out != nullptr && *run.prepared.out != nullptr;
    if (fallible == nullptr) {
        EXPECT_EQ(run.prepared.out != nullptr, kept) << "a success hands a reference back";
    } else if (kept) {
        EXPECT_NE(nullptr, row.keepsOnFailure) << "a failure left a reference in the out-parameter";
    }
    if (kept) {
        EXPECT_TRUE(leaks.fault.ledger().isLive(*run.prepared.out));
    }
    EXPECT_EQ(kept ? 1 : 0, leaks.live()) << "local references left behind";
    EXPECT_THAT(fault.callsInCriticalRegion(), testing::IsEmpty()) << "JNI calls inside a critical region";
    return fault.trail();
}

TEST(Sweeps, Faults)
{
    for (const Case& row : cases()) {
        SCOPED_TRACE(row.name);
        replacesOutParameter(row);
        std::map<std::string, int> seen;
        bool thrown = false;
        for (const std::string& entry : faultRun(row)) {
            const int nth = ++seen[entry];
            if (fallibleEntries().contains(entry)) {
                faultRun(row, entry, nth, thrown);
            }
            thrown =
                thrown || ((entry == "Throw" || entry == "ThrowNew") && row.onSuccess != OnSuccess::Keeps);
        }
    }
}

// ---- Completeness ---------------------------------------------------------------------------

TEST(Sweeps, EveryExportedFunctionIsSweptOrExcluded)
{
    std::map<std::string, int> accounted;
    for (const Case& row : cases()) {
        ++accounted[row.name];
    }
    for (const Exclusion& excluded : kExcluded) {
        for (const char* name : excluded.names) {
            ++accounted[name];
        }
    }
    std::set<std::string> exported;
    for (const std::string& name : exportedFunctions(reinterpret_cast<const void*>(&venFindClass), "ven")) {
        if (std::isupper(static_cast<unsigned char>(name[3]))) {
            exported.insert(name);
        }
    }
    EXPECT_GT(exported.size(), 200u);
    for (const auto& [name, times] : accounted) {
        EXPECT_EQ(1, times) << name << " swept or excluded more than once";
        EXPECT_TRUE(exported.contains(name)) << name << " swept or excluded but not exported";
        exported.erase(name);
    }
    EXPECT_TRUE(exported.empty()) << "exported but neither swept nor excluded: "
                                  << testing::PrintToString(exported);
}

} // namespace
} // namespace ven::sweeps
