// The checks that more than one layer makes. A fatal check is a programming error of the
// caller or a broken JNI guarantee: it stops the process through the base library with the
// unit's source path, the line and the condition text, or, for a result that contradicts the
// exception state, with a message naming the pairing. The release-mode rule is fatal in the
// wrapper layer and an argument failure in the integration layer, with the same text.
#pragma once

#include <cstdint>

#include <jni.h>

namespace ven
{

// Out of line and cold, so that a check on the fast path is one test and a branch not taken.
// Neither is noexcept: a test's abort hook leaves them by throwing.
[[noreturn, gnu::cold, gnu::noinline]] void stopOnCondition(const char* path, int line,
                                                            const char* condition);
[[noreturn, gnu::cold, gnu::noinline]] void stopOnMessage(const char* path, int line, const char* message);

// A unit's fatal checks, bound to the source path its stops report: `check(holds, line, text)`.
struct FatalChecks {
    const char* path;

    void operator()(bool holds, int line, const char* condition) const
    {
        if (!holds) [[unlikely]] {
            stopOnCondition(path, line, condition);
        }
    }

    [[noreturn]] void inconsistent(int line, const char* message) const
    {
        stopOnMessage(path, line, message);
    }
};

inline constexpr const char* kReleaseModeCondition = "mode == 0 || mode == JNI_COMMIT || mode == JNI_ABORT";

// JNI accepts 0, JNI_COMMIT and JNI_ABORT (0, 1 and 2); compared unsigned, so a negative
// mode fails too.
inline bool isReleaseMode(jint mode)
{
    return static_cast<std::uint32_t>(mode) <= JNI_ABORT;
}

} // namespace ven
