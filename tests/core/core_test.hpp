// Helper of the core suite: a watch over the local references that a function takes from
// FindClass, GetObjectClass and CallObjectMethodV, each of which it must delete again.
#pragma once

#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace ven::core_test
{

using namespace ven::test;
using Lines = std::vector<std::string>;

// The ledger cannot tell this: the guarded wrappers keep the references they take of a
// pending exception (ExceptionOccurred), by rule. `deleted` lists every DeleteLocalRef in
// order. With a `failingClass`, FindClass of that name raises NoClassDefFoundError.
class ObtainedRefs
{
  public:
    explicit ObtainedRefs(FaultEnv& fault, std::string failingClass = {})
    {
        fault.override<&JNINativeInterface_::FindClass>([this, failingClass](JNIEnv* real, const char* name) {
            if (failingClass == name) {
                real->ThrowNew(real->FindClass("java/lang/NoClassDefFoundError"), name);
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
            deleted.push_back(ref);
            std::erase(outstanding_, ref);
            real->DeleteLocalRef(ref);
        });
    }

    int obtained() const { return obtained_; }
    int outstanding() const { return static_cast<int>(outstanding_.size()); }
    std::vector<jobject> deleted;

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

} // namespace ven::core_test
