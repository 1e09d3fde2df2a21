// Helpers shared by the suites of the field, method, array, bridge and class support
// families: fixture objects, exact value comparison and argument-failure expectations.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace ven::families_test
{

using namespace ven::test;

// A new instance of a fixture class through its no-argument constructor.
inline jobject newInstance(JNIEnv* env, const char* className)
{
    jclass clazz = findClass(env, className);
    jobject obj = env->NewObject(clazz, env->GetMethodID(clazz, "<init>", "()V"));
    env->DeleteLocalRef(clazz);
    return obj;
}

// Equality that tells -0.0 from 0.0 and finds NaN equal to itself.
template <typename T> bool same(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) {
        return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
    } else {
        return a == b;
    }
}

// The call failed with a bad argument: KS_FALSE and "<function>: <condition>" pending.
inline void expectArgumentFailure(JNIEnv* env, KS_BOOL ok, const std::string& message,
                                  std::source_location where = std::source_location::current())
{
    EXPECT_EQ(KS_FALSE, ok) << "at line " << where.line();
    ExpectPending(env, "java.lang.IllegalArgumentException", message.c_str(), where);
}

// A local frame of its own for one pass of a table loop: failures leave references behind
// (the saved and the traced throwables), and a table of them would exceed a test's frame.
class LoopFrame
{
  public:
    explicit LoopFrame(JNIEnv* env) : env_(env) { env_->PushLocalFrame(256); }
    ~LoopFrame() { env_->PopLocalFrame(nullptr); }
    LoopFrame(const LoopFrame&) = delete;
    LoopFrame& operator=(const LoopFrame&) = delete;

  private:
    JNIEnv* env_;
};

// Every non-NULL reference deleted through `fault` while alive; unlike the ledger's live
// set, this does not depend on the JVM not reusing a deleted reference's value.
class DeletionLog
{
  public:
    explicit DeletionLog(FaultEnv& fault)
    {
        fault.override<&JNINativeInterface_::DeleteLocalRef>([this](JNIEnv* real, jobject ref) {
            deleted_.push_back(ref);
            real->DeleteLocalRef(ref);
        });
    }
    bool deleted(jobject ref) const
    {
        return std::find(deleted_.begin(), deleted_.end(), ref) != deleted_.end();
    }
    void clear() { deleted_.clear(); }

  private:
    std::vector<jobject> deleted_;
};

} // namespace ven::families_test
