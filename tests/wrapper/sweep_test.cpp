// Every rule of a wrapper's kind, proved on every row, and the rows against the exported wrappers.
#include <set>

#include "support/exported.hpp"
#include "wrapper/sweep.hpp"

namespace ven::test::wrapper
{
namespace
{

using WrapperSweep = JvmTest;

// A global reference to a new IllegalStateException("E1"), made pending.
jthrowable throwE1(JNIEnv* env)
{
    jthrowable local = makeThrowable(env, "java/lang/IllegalStateException", "E1");
    auto global = static_cast<jthrowable>(env->NewGlobalRef(local));
    env->DeleteLocalRef(local);
    env->Throw(global);
    return global;
}

// The JNI calls of a success: a direct call makes its own; the others ask before and after it.
std::vector<std::string> floorOf(const Row& row, bool deletesOld)
{
    if (row.kind == Kind::direct) {
        return {row.member};
    }
    std::vector<std::string> trail = {"ExceptionOccurred", row.member, "ExceptionCheck"};
    if (deletesOld) {
        trail.emplace_back("DeleteLocalRef");
    }
    return trail;
}

// The reference a reference out-parameter holds before the call, on the ledger.
jobject oldReference(JNIEnv* env, FaultEnv& fault, const Row& row)
{
    if (row.delivery == Delivery::none || !row.reference) {
        return nullptr;
    }
    jobject old = env->NewStringUTF("old");
    fault.ledger().noteCreated(old);
    return old;
}

// Each check in order, with NULL (or -1) from the checked argument on; nothing reaches JNI.
TEST_F(WrapperSweep, ArgumentChecksStopInOrderBeforeAnyJniCall)
{
    for (const Row& row : rows()) {
        for (int bad = 0; bad < static_cast<int>(row.checks.size()); ++bad) {
            SCOPED_TRACE(row.name + " check " + std::to_string(bad));
            FaultEnv fault(env);
            EXPECT_VEN_ABORT(row.call(fault.env(), {.bad = bad}), kPath, row.line + bad,
                             row.checks[bad].c_str());
            EXPECT_EQ(fault.trail(), std::vector<std::string>{});
        }
    }
}

// A success costs the floor of JNI calls (with nothing pending), hands over exactly what JNI
// returned, leaves behind only the reference it delivers and keeps a pending exception pending.
TEST_F(WrapperSweep, SuccessIsTheFloorAndKeepsThePendingException)
{
    for (const Row& row : rows()) {
        for (bool pending : {false, true}) {
            if (row.kind == Kind::own) {
                continue;
            }
            SCOPED_TRACE(row.name + (pending ? " with E1 pending" : ""));
            TestFrame frame(env);
            FaultEnv fault(env);
            LeakCheck leaks(fault);
            jobject old = oldReference(env, fault, row);
            auto answered = row.answer(fault, Answer::success, {});
            jthrowable e1 = pending ? throwE1(env) : nullptr;
            const Outcome got = row.call(fault.env(), {.old = old});
            const bool replaced = row.delivery == Delivery::replace && old != nullptr;
            if (!pending || row.kind == Kind::direct) {
                EXPECT_EQ(fault.trail(), floorOf(row, replaced));
            }
            if (row.kind == Kind::flagged) {
                EXPECT_EQ(got.returned, JNI_TRUE);
            }
            if (row.kind != Kind::flagged || row.delivery != Delivery::none) {
                EXPECT_EQ(got.out, answered) << "the value JNI returned";
            }
            EXPECT_EQ(leaks.live(), int(row.reference) + int(old != nullptr && !replaced));
            pending ? ExpectPending(env, "java.lang.IllegalStateException", "E1") : ExpectNoPending(env);
            env->DeleteGlobalRef(e1);
            if (row.delivery != Delivery::none) {
                EXPECT_EQ(row.call(fault.env(), {.noOut = true}).returned, JNI_TRUE)
                    << "a NULL out-parameter";
            }
        }
    }
}

// A call that raised: a NULL result or a non-zero status (-1 for a status JNI left at 0), or
// JNI_FALSE and zero delivered; a non-raising wrapper stops. Its exception replaces E1.
TEST_F(WrapperSweep, ARaisedExceptionFailsTheCallOrStopsTheProcess)
{
    for (const Row& row : rows()) {
        if (row.kind == Kind::own || row.kind == Kind::direct) {
            continue;
        }
        // What JNI returned, and the status the wrapper returns then.
        std::vector<std::pair<jint, jint>> statuses = {{0, -1}, {-5, -5}, {3, 3}};
        statuses.resize(row.status ? 3 : 1);
        for (bool pending : {false, true}) {
            for (auto [raised, expected] : statuses) {
                SCOPED_TRACE(row.name + (pending ? " with E1 pending" : "") + " JNI returned " +
                             std::to_string(raised));
                TestFrame frame(env);
                FaultEnv fault(env);
                LeakCheck leaks(fault);
                jobject old = oldReference(env, fault, row);
                row.answer(fault, Answer::raise, {.raised = raised});
                jthrowable e1 = pending ? throwE1(env) : nullptr;
                if (row.kind == Kind::nonRaising) {
                    EXPECT_VEN_ABORT(row.call(fault.env(), {}), kPath, row.exceptionLine, kNoException);
                } else {
                    const Outcome got = row.call(fault.env(), {.old = old});
                    const std::uint64_t failed = row.status ? bitsOf(expected) : 0;
                    EXPECT_EQ(got.returned, row.kind == Kind::flagged ? JNI_FALSE : failed);
                    EXPECT_EQ(got.out, row.delivery != Delivery::none ? 0 : got.returned);
                    EXPECT_EQ(leaks.live(), int(row.delivery == Delivery::store && old != nullptr));
                }
                ExpectPending(env, "java.lang.OutOfMemoryError", "injected");
                env->DeleteGlobalRef(e1);
            }
        }
    }
}

// JNI's failure value without an exception breaks JNI's contract: the process stops.
TEST_F(WrapperSweep, AFailureWithoutAnExceptionStopsTheProcess)
{
    for (const Row& row : rows()) {
        if (row.resultLine != 0) {
            SCOPED_TRACE(row.name);
            FaultEnv fault(env);
            row.answer(fault, Answer::quietFailure, {});
            EXPECT_VEN_ABORT_MESSAGE(row.call(fault.env(), {}), kPath, row.resultLine,
                                     row.resultMessage.c_str());
            ExpectNoPending(env);
        }
    }
}

// 0, JNI_COMMIT and JNI_ABORT reach JNI; any other mode stops on the line after the last pointer.
TEST_F(WrapperSweep, ReleaseModes)
{
    const char* const modeCheck = "mode == 0 || mode == JNI_COMMIT || mode == JNI_ABORT";
    int releases = 0;
    for (const Row& row : rows()) {
        if (row.checks.back() != modeCheck) {
            continue;
        }
        SCOPED_TRACE(row.name);
        ++releases;
        for (jint mode : {JNI_COMMIT, JNI_ABORT}) {
            FaultEnv fault(env);
            row.answer(fault, Answer::success, {.mode = mode});
            row.call(fault.env(), {.mode = mode});
            EXPECT_EQ(fault.trail(), std::vector<std::string>{row.member});
        }
        for (jint mode : {3, INT32_MIN, INT32_MAX}) {
            EXPECT_VEN_ABORT(row.call(env, {.mode = mode}), kPath, row.line + 3, modeCheck);
        }
    }
    EXPECT_EQ(releases, 9);
}

// Exported ven___ functions without a row: the units' start-up and shutdown (no JNI; the module
// lifecycle test runs them in order) and the UTF-16 codec (its own value tables, no JNI).
bool excluded(const std::string& name)
{
    return name.ends_with("Startup") || name.ends_with("Shutdown") || name == "ven___CharsToJChars" ||
           name == "ven___JCharsToChars";
}

TEST_F(WrapperSweep, EveryExportedWrapperHasARowOrAReason)
{
    std::set<std::string> unmatched;
    for (const Row& row : rows()) {
        EXPECT_TRUE(unmatched.insert(row.name).second) << row.name << " has two rows";
    }
    for (const std::string& name :
         exportedFunctions(reinterpret_cast<const void*>(&ven___GetVersion), "ven___")) {
        EXPECT_NE(unmatched.erase(name) == 1, excluded(name)) << name << ": a row or a reason";
    }
    EXPECT_TRUE(unmatched.empty()) << "rows of nothing exported: " << testing::PrintToString(unmatched);
}

} // namespace
} // namespace ven::test::wrapper
