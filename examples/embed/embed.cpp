// Embedding example: a native program that creates a JVM in its own process, loads
// libven through the module framework and uses the frame on two threads.
#include <cstdio>
#include <string>
#include <thread>

#include "jvmhost.hpp"
#include "modhost.h"
#include "ven/frame.h"

namespace {

JavaVM* createJavaVm(const std::string& jdkHome)
{
    JNIEnv* env = nullptr;
    std::string error;
    JavaVM* vm = jvmhost::createJavaVm(jdkHome, {{"-Xrs"}}, &env, error);
    if (vm == nullptr) {
        std::fprintf(stderr, "%s\n", error.c_str());
    }
    return vm;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string jdkHome = argc > 1 ? argv[1] : VEN_EXAMPLE_JDK_HOME;
    const char* libven = argc > 2 ? argv[2] : VEN_EXAMPLE_LIBVEN;

    char error[256] = "";
    mhModule* module = mhModuleLoad(libven, "ven", error, sizeof error);
    if (module == nullptr) {
        std::fprintf(stderr, "module host: %s\n", error);
        return 1;
    }
    const mhDescriptor* descriptor = mhModuleDescriptor(module);
    std::printf("module %s %s (%s), needs \"%s\"\n", descriptor->record->name, descriptor->record->moduleVersion,
                descriptor->record->description, descriptor->record->needs);
    std::printf("version string: %s\n", ven___module_version_string);
    std::printf("start-up: %s\n", mhModuleStart(module) == KS_TRUE ? "ok" : "failed");

    JavaVM* vm = createJavaVm(jdkHome);
    if (vm == nullptr) {
        return 1;
    }
    venSetJavaVm(vm);
    std::printf("main thread environment: %p\n", static_cast<void*>(venGetMainJniEnv()));

    std::thread worker([] {
        std::printf("worker before attach: %p\n", static_cast<void*>(venTryGetMainJniEnv()));
        JNIEnv* attached = venAttachCurrentThread();
        std::printf("worker attached: %p (same as lookup: %s)\n", static_cast<void*>(attached),
                    attached == venTryGetMainJniEnv() ? "yes" : "no");
        venDetachCurrentThread();
        std::printf("worker after detach: %p\n", static_cast<void*>(venTryGetMainJniEnv()));
    });
    worker.join();

    venDelJavaVm();
    mhModuleStop(module);
    std::printf("shutdown: done\n");
    std::fflush(stdout);
    // The JVM is left to the process exit: destroying it from here gains nothing.
    std::_Exit(0);
}
