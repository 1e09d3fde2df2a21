// Helpers shared by the suites of the field, method, array, bridge and class support families.
#pragma once

#include <cmath>
#include <cstring>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace ven::families_test
{

using namespace ven::test;
using Entry = JNINativeInterface_;

inline jobject newInstance(JNIEnv* env, const char* className)
{
    jclass clazz = findClass(env, className);
    return env->NewObject(clazz, env->GetMethodID(clazz, "<init>", "()V"));
}

// Equality that tells -0.0 from 0.0, finds NaN equal to itself and compares references by
// their objects.
template <typename T> bool same(T a, T b)
{
    if constexpr (std::is_convertible_v<T, jobject>) {
        return mainEnv()->IsSameObject(a, b) == JNI_TRUE;
    } else if constexpr (std::is_floating_point_v<T>) {
        return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
    } else {
        return a == b;
    }
}

} // namespace ven::families_test
