// Starting a Java virtual machine inside a native process: the tests, the benchmarks and
// the embedding example each run one, from the libjvm.so of a chosen JDK.
#pragma once

#include <jni.h>

#include <string>
#include <vector>

namespace jvmhost
{

// One JavaVMOption: its text and, for hooks such as "vfprintf", the function it names.
struct Option {
    std::string text;
    void* extraInfo = nullptr;
};

// Loads <jdkHome>/lib/server/libjvm.so and creates the process's virtual machine with
// `options`. On success the machine, with the creating thread's environment in `*env`;
// otherwise NULL and the reason in `error`.
JavaVM* createJavaVm(const std::string& jdkHome, const std::vector<Option>& options, JNIEnv** env,
                     std::string& error);

} // namespace jvmhost
