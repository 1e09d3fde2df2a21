// Helpers of the core suite: a watch over the local references that chosen JNI entries
// hand out (each must be deleted again), optionally with a class lookup that fails.
#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace ven::core_test
{

// The harness names every test of the suite uses.
using ven::test::ExpectNoPending;
using ven::test::ExpectPending;
using ven::test::ExpectPendingClass;
using ven::test::FaultEnv;
using ven::test::JvmTest;
using ven::test::KsRef;
using ven::test::makeThrowable;
using ven::test::Trace;
using Lines = std::vector<std::string>;

// Records the references that FindClass, GetObjectClass and CallObjectMethodV return
// through `fault` and forgets each one when it is deleted. The references that guarded
// wrappers keep of a pending exception (ExceptionOccurred) are theirs by rule and not
// watched. Deletion is matched by value before the value can be reused. With a
// `failingClass`, FindClass of that name raises NoClassDefFoundError and returns NULL.
class ObtainedRefs
{
  public:
    explicit ObtainedRefs(ven::test::FaultEnv& fault, std::string failingClass = {})
    {
        // One global reference for the whole run.
        static const jclass noClassError = static_cast<jclass>(
            fault.real()->NewGlobalRef(ven::test::findClass(fault.real(), "java/lang/NoClassDefFoundError")));
        fault.override<&JNINativeInterface_::FindClass>([this, failingClass](JNIEnv* real, const char* name) {
            if (failingClass == name) {
                real->ThrowNew(noClassError, name);
                return jclass{};
            }
            return note(real->FindClass(name));
        });
        fault.override<&JNINativeInterface_::GetObjectClass>(
            [this](JNIEnv* real, jobject obj) { return note(real->GetObjectClass(obj)); });
        fault.override<&JNINativeInterface_::CallObjectMethodV>(
            [this](JNIEnv* real, jobject obj, jmethodID method, va_list args) {
                return note(real->CallObjectMethodV(obj, method, args));
            });
        fault.override<&JNINativeInterface_::DeleteLocalRef>([this](JNIEnv* real, jobject ref) {
            outstanding_.erase(std::remove(outstanding_.begin(), outstanding_.end(), ref),
                               outstanding_.end());
            real->DeleteLocalRef(ref);
        });
    }

    int obtained() const { return obtained_; }
    int outstanding() const { return static_cast<int>(outstanding_.size()); }

  private:
    template <typename Ref> Ref note(Ref ref)
    {
        if (ref != nullptr) {
            ++obtained_;
            outstanding_.push_back(ref);
        }
        return ref;
    }

    std::vector<jobject> outstanding_;
    int obtained_ = 0;
};

// Makes the first call of one entry raise OutOfMemoryError and return its zero; later
// calls (such as the trace's own) reach the real entry.
template <auto Member> void raiseOutOfMemoryOnce(ven::test::FaultEnv& fault)
{
    static const jclass outOfMemory = static_cast<jclass>(
        fault.real()->NewGlobalRef(ven::test::findClass(fault.real(), "java/lang/OutOfMemoryError")));
    auto calls = std::make_shared<int>(0);
    fault.override<Member>([calls, error = outOfMemory](JNIEnv* real, auto... args) {
        using Result = decltype((real->functions->*Member)(real, args...));
        if ((*calls)++ == 0) {
            real->ThrowNew(error, "injected by FaultEnv");
            return Result{};
        }
        return (real->functions->*Member)(real, args...);
    });
}

// Forwards DeleteLocalRef and records what it was given.
inline std::shared_ptr<std::vector<jobject>> recordDeletions(ven::test::FaultEnv& fault)
{
    auto deleted = std::make_shared<std::vector<jobject>>();
    fault.override<&JNINativeInterface_::DeleteLocalRef>([deleted](JNIEnv* real, jobject ref) {
        deleted->push_back(ref);
        real->DeleteLocalRef(ref);
    });
    return deleted;
}

} // namespace ven::core_test
