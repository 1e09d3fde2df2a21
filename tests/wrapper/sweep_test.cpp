// Every rule of a wrapper's kind, proved on every row, and the rows against the exported wrappers;
// then what only a real JVM shows: a local frame popped under a pending exception.
#include <set>

#include "support/exported.hpp"
#include "wrapper/sweep.hpp"

namespace ven::test::wrapper
{
namespace
{

using WrapperSweep = JvmTest;

// IllegalStateException("E1"), made pending when asked for.
void throwE1(JNIEnv* env, bool pending = true)
{
    if (pending) {
        env->Throw(makeThrowable(env, "java/lang/IllegalStateException", "E1"));
    }
}

bool releases(const Row& row)
{
    return row.checks.back() == kReleaseMode;
}

// The JNI calls of a success: a direct call makes its own; the others ask before and after it.
std::vector<std::string> floorOf(const Row& row, bool deletesOld)
{
    if (!row.trail.empty()) {
        return row.trail;
    }
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

// Each check in order, with NULL (or -1) from the checked argument on; nothing reaches JNI. A
// release mode is refused below, just above and at both ends of the range.
TEST_F(WrapperSweep, ArgumentChecksStopInOrderBeforeAnyJniCall)
{
    for (const Row& row : rows()) {
        for (int bad = 0; bad < static_cast<int>(row.checks.size()); ++bad) {
            for (jint badMode : {-1, 3, INT32_MIN, INT32_MAX}) {
                if (badMode != -1 && !releases(row)) {
                    continue;
                }
                SCOPED_TRACE(row.name + " check " + std::to_string(bad) + " mode " + std::to_string(badMode));
                FaultEnv fault(env);
                // An argument let through reaches this answer and shows in the trail, not JNI.
                row.answer(fault, Answer::quietFailure, {});
                EXPECT_VEN_ABORT(row.call(fault.env(), {.bad = bad, .badMode = badMode}), kPath,
                                 row.line + bad, row.checks[bad].c_str());
                EXPECT_EQ(fault.trail(), std::vector<std::string>{});
            }
        }
    }
}

// A success costs the floor of JNI calls (with nothing pending), hands over exactly what JNI
// returned, leaves behind only the reference it delivers and keeps a pending exception pending
// (a throw replaces it, a clear ends it). Every release mode reaches JNI.
TEST_F(WrapperSweep, SuccessIsTheFloorAndKeepsThePendingException)
{
    for (const Row& row : rows()) {
        for (jint mode : {0, JNI_COMMIT, JNI_ABORT}) {
            for (bool pending : {false, true}) {
                if (mode != 0 && !releases(row)) {
                    continue;
                }
                SCOPED_TRACE(row.name + (pending ? " with E1 pending" : "") + " mode " +
                             std::to_string(mode));
                TestFrame frame(env);
                FaultEnv fault(env);
                LeakCheck leaks(fault);
                jobject old = oldReference(env, fault, row);
                const Answer success = row.kind == Kind::throwing ? Answer::raise : Answer::success;
                auto answered = row.kind == Kind::clearing ? 0 : row.answer(fault, success, {.mode = mode});
                throwE1(env, pending);
                const Outcome got = row.call(fault.env(), {.old = old, .mode = mode});
                const bool replaced = row.delivery == Delivery::replace && old != nullptr;
                if (!pending || row.kind == Kind::direct || !row.trail.empty()) {
                    EXPECT_EQ(fault.trail(), floorOf(row, replaced));
                }
                if (row.kind == Kind::flagged) {
                    EXPECT_EQ(got.returned, JNI_TRUE);
                }
                if (row.kind != Kind::flagged || row.delivery != Delivery::none) {
                    EXPECT_EQ(got.out, answered) << "the value JNI returned";
                }
                EXPECT_EQ(leaks.live(), int(row.reference) + int(old != nullptr && !replaced));
                if (row.kind == Kind::throwing) {
                    ExpectPending(env, "java.lang.OutOfMemoryError", "injected");
                } else if (pending && row.kind != Kind::clearing) {
                    ExpectPending(env, "java.lang.IllegalStateException", "E1");
                }
                ExpectNoPending(env);
                if (row.delivery != Delivery::none) {
                    EXPECT_EQ(row.call(fault.env(), {.noOut = true}).returned, JNI_TRUE)
                        << "a NULL out-parameter";
                }
            }
        }
    }
}

// A call that raised: a NULL result or a non-zero status (-1 for a status JNI left at 0), or
// JNI_FALSE and zero delivered; a non-raising wrapper stops, on its status first. Its exception
// replaces E1.
TEST_F(WrapperSweep, ARaisedExceptionFailsTheCallOrStopsTheProcess)
{
    for (const Row& row : rows()) {
        if (row.kind == Kind::direct || row.kind == Kind::throwing) {
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
                throwE1(env, pending);
                if (row.exceptionLine != 0) {
                    const bool byStatus = row.statusLine != 0 && raised != 0;
                    EXPECT_VEN_ABORT(row.call(fault.env(), {}), kPath,
                                     byStatus ? row.statusLine : row.exceptionLine,
                                     byStatus ? row.statusCondition.c_str() : kNoException);
                } else {
                    const Outcome got = row.call(fault.env(), {.old = old});
                    const std::uint64_t failed = row.status ? bitsOf(expected) : 0;
                    EXPECT_EQ(got.returned, row.kind == Kind::flagged ? JNI_FALSE : failed);
                    EXPECT_EQ(got.out, row.delivery != Delivery::none ? 0 : got.returned);
                    EXPECT_EQ(leaks.live(), int(row.delivery == Delivery::store && old != nullptr));
                }
                ExpectPending(env, "java.lang.OutOfMemoryError", "injected");
            }
        }
    }
}

// JNI's failure value without an exception breaks JNI's contract, and so does a throw that
// raised nothing: the process stops.
TEST_F(WrapperSweep, AFailureWithoutAnExceptionStopsTheProcess)
{
    for (const Row& row : rows()) {
        const struct {
            Answer answer;
            int line;
            const char* condition;
            const char* message;
        } stops[] = {
            {Answer::quietFailure, row.resultLine, nullptr, row.resultMessage.c_str()},
            {Answer::quietFailure, row.statusLine, row.statusCondition.c_str(), nullptr},
            {Answer::success, row.kind == Kind::throwing ? row.statusLine + 1 : 0,
             "(*env)->ExceptionCheck( env ) == JNI_TRUE", nullptr},
        };
        for (const auto& stop : stops) {
            if (stop.line != 0) {
                SCOPED_TRACE(row.name);
                FaultEnv fault(env);
                row.answer(fault, stop.answer, {});
                EXPECT_TRUE(abortedWith(catchAbort([&] { row.call(fault.env(), {}); }), row.name.c_str(),
                                        kPath, stop.line, stop.condition, stop.message));
                ExpectNoPending(env);
            }
        }
    }
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

// E1, saved as a local reference of the frame being popped, is pending again after the pop,
// with or without a result, also when no global reference can be had (and none is left).
TEST_F(WrapperSweep, PopLocalFrameCarriesThePendingException)
{
    for (bool globalRefFails : {false, true}) {
        for (bool withResult : {false, true}) {
            FaultEnv fault(env);
            if (globalRefFails) {
                fault.returnValue<&Jni::NewGlobalRef>(nullptr);
            }
            ASSERT_EQ(env->PushLocalFrame(4), 0);
            jstring inner = withResult ? env->NewStringUTF("result") : nullptr;
            throwE1(env);
            jobject outer = ven___PopLocalFrame(fault.env(), inner);
            ExpectPending(env, "java.lang.IllegalStateException", "E1");
            EXPECT_EQ(outer ? utf8(env, static_cast<jstring>(outer)) : "NULL",
                      withResult ? "result" : "NULL");
            EXPECT_EQ(fault.calls<&Jni::NewGlobalRef>() - fault.calls<&Jni::DeleteGlobalRef>(),
                      globalRefFails);
        }
    }
}

// Arguments that may be NULL: a NULL reference has no copy (JNI is not asked, E1 stays) and no
// characters need no array.
TEST_F(WrapperSweep, NullArgumentsThatAreAllowed)
{
    FaultEnv fault(env);
    throwE1(env);
    EXPECT_EQ(ven___NewLocalRef(fault.env(), nullptr), nullptr);
    EXPECT_EQ(fault.trail(), std::vector<std::string>{});
    ExpectPending(env, "java.lang.IllegalStateException", "E1");
    EXPECT_EQ(units(env, ven___NewString(env, nullptr, 0)), u"");
}

} // namespace
} // namespace ven::test::wrapper
