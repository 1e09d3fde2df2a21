// The process stop: real deaths in a child process, and the hook that tests install to
// intercept it.
#include "standins_test.hpp"

#include "lg/lg.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <functional>

using namespace standins;

namespace
{

class KsAbortDeathTest : public testing::Test
{
  protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(KsAbortDeathTest, FatalCheckPrintsConditionAndStops)
{
    EXPECT_EXIT(ks___Abort(nullptr, "source/ven/ven_wrapper", 57, "name"), testing::KilledBySignal(SIGABRT),
                "^source/ven/ven_wrapper:57: name\n$");
}

TEST_F(KsAbortDeathTest, ConsistencyCheckPrintsMessageAndStops)
{
    EXPECT_EXIT(ks___Abort("(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->NewGlobalRef() == NULL",
                           "source/ven/ven_wrapper", 301, nullptr),
                testing::KilledBySignal(SIGABRT),
                "^source/ven/ven_wrapper:301: \\(\\*env\\)->ExceptionCheck\\(\\) == JNI_FALSE <> "
                "\\(\\*env\\)->NewGlobalRef\\(\\) == NULL\n$");
}

void announcingHook(const char*, const char* path, int line, const char* condition)
{
    std::fprintf(stderr, "hook: %s %d %s\n", path, line, condition);
}

TEST_F(KsAbortDeathTest, HookThatReturnsStillStops)
{
    EXPECT_EXIT(
        {
            ksAbortSetHook(announcingHook);
            ks___Abort(nullptr, "source/ven/ven_wrapper", 57, "name");
        },
        testing::KilledBySignal(SIGABRT),
        "^hook: source/ven/ven_wrapper 57 name\nsource/ven/ven_wrapper:57: name\n$");
}

TEST_F(KsAbortDeathTest, OverflowingAllocationStops)
{
    EXPECT_EXIT(ksMemAllocN(INT64_MAX / 2, 4), testing::KilledBySignal(SIGABRT),
                "^source/ks/ks_mem:43: count <= KS_INT_MAX / elementSize\n$");
}

void countingHook(const char*, const char*, int, const char*);
int hookCalls = 0;

void countingHook(const char* message, const char* path, int line, const char* condition)
{
    ++hookCalls;
    throwingHook(message, path, line, condition);
}

TEST(KsAbortHook, SetHookReturnsThePreviousOne)
{
    ksAbortHook before = ksAbortSetHook(throwingHook);
    EXPECT_EQ(ksAbortSetHook(countingHook), throwingHook);
    EXPECT_EQ(ksAbortSetHook(before), countingHook);
}

TEST(KsAbortHook, HookSeesTheArgumentsAndMayThrow)
{
    HookScope scope(countingHook);
    int calls = hookCalls;
    try {
        ks___Abort(nullptr, "source/ven/ven_wrapper", 57, "name");
        ADD_FAILURE() << "ks___Abort returned";
    } catch (const AbortSeen& seen) {
        EXPECT_FALSE(seen.hasMessage);
        EXPECT_EQ(seen.path, "source/ven/ven_wrapper");
        EXPECT_EQ(seen.line, 57);
        EXPECT_EQ(seen.condition, "name");
    }
    EXPECT_EQ(hookCalls, calls + 1);
}

// The stand-ins' own checks reach the hook through their frames, with these texts.
struct StopRow {
    const char* what;
    std::function<void()> call;
    const char* path;
    int line;
    const char* message;   // NULL for a fatal check
    const char* condition; // NULL for a consistency check
};

TEST(KsAbortHook, LibraryChecksUnwindThroughTheLibrary)
{
    StringRef string = str("text");
    ksVector* vector = ksVectorCreate();
    lgStream* stream = lgStreamCreate(nullptr);
    const StopRow rows[] = {
        {"negative size", [] { ksMemAlloc(-1); }, "source/ks/ks_mem", 40, nullptr, "size >= 0"},
        {"negative count", [] { ksMemAllocN(-1, 4); }, "source/ks/ks_mem", 41, nullptr, "count >= 0"},
        {"negative element size", [] { ksMemAllocN(1, -4); }, "source/ks/ks_mem", 42, nullptr,
         "elementSize >= 0"},
        {"overflowing product", [] { ksMemAllocN(INT64_MAX / 2, 4); }, "source/ks/ks_mem", 43, nullptr,
         "count <= KS_INT_MAX / elementSize"},
        {"out of memory", [] { ksMemAlloc(INT64_MAX); }, "source/ks/ks_mem", 44, "ksMemAlloc: out of memory",
         nullptr},
        {"mode 2", [&] { ksStringConvertToCstr(string.get(), 2, nullptr); }, "source/ks/ks_string", 36,
         "ksStringConvertToCstr: mode 1 is the only mode", nullptr},
        {"third argument", [&] { ksStringConvertToCstr(string.get(), 1, &vector); }, "source/ks/ks_string",
         37, "ksStringConvertToCstr: the third argument must be NULL", nullptr},
        {"vector index", [&] { ksVectorObjAt(vector, 0); }, "source/ks/ks_object", 81, nullptr,
         "index >= 0 && index < ksVectorLength(vector)"},
        {"line index", [&] { lgStreamLineAt(stream, 0); }, "source/lg/lg_stream", 40, nullptr,
         "index >= 0 && index < lgStreamLineCount(stream)"},
    };
    HookScope scope;
    for (const StopRow& row : rows) {
        try {
            row.call();
            ADD_FAILURE() << row.what << ": no stop";
        } catch (const AbortSeen& seen) {
            EXPECT_EQ(seen.path, row.path) << row.what;
            EXPECT_EQ(seen.line, row.line) << row.what;
            EXPECT_EQ(seen.hasMessage, row.message != nullptr) << row.what;
            EXPECT_EQ(seen.hasCondition, row.condition != nullptr) << row.what;
            EXPECT_EQ(seen.message, row.message != nullptr ? row.message : "") << row.what;
            EXPECT_EQ(seen.condition, row.condition != nullptr ? row.condition : "") << row.what;
        }
    }
    // The stream's lock was let go while unwinding.
    lgStreamTextFormatCstr(stream, "still usable", -1);
    EXPECT_EQ(lgStreamLineCount(stream), 1);
    lgStreamDestroy(stream);
    ksObjRelease(vector);
}

} // namespace
