// Helper of the core suite: a watch over the local references a function takes.
#pragma once

#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace ven::core_test
{

using namespace ven::test;
using Lines = std::vector<std::string>;

// The references taken from FindClass, GetObjectClass and CallObjectMethodV (which the
// ledger cannot tell apart from those the guarded wrappers keep of a pending exception, by
// rule). With a `failingClass`, FindClass of that name raises NoClassDefFoundError instead.
struct ObtainedRefs {
    explicit ObtainedRefs(FaultEnv& fault, std::string failingClass = {})
    {
        fault.override<&JNINativeInterface_::FindClass>([this, failingClass](JNIEnv* real, const char* name) {
            if (failingClass != name) {
                return note(real->FindClass(name));
            }
            real->ThrowNew(real->FindClass("java/lang/NoClassDefFoundError"), name);
            return jclass{};
        });
        fault.override<&JNINativeInterface_::GetObjectClass>(
            [this](JNIEnv* real, jobject obj) { return note(real->GetObjectClass(obj)); });
        fault.override<&JNINativeInterface_::CallObjectMethodV>(
            [this](JNIEnv* real, jobject obj, jmethodID method, va_list args) {
                return note(real->CallObjectMethodV(obj, method, args));
            });
        fault.override<&JNINativeInterface_::DeleteLocalRef>([this](JNIEnv* real, jobject ref) {
            std::erase(outstanding, ref);
            real->DeleteLocalRef(ref);
        });
    }
    template <typename Ref> Ref note(Ref ref)
    {
        if (ref != nullptr) {
            ++obtained;
            outstanding.push_back(ref);
        }
        return ref;
    }

    int obtained = 0;
    std::vector<jobject> outstanding;
};

} // namespace ven::core_test
