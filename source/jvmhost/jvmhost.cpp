// Loads libjvm.so with dlopen, so that one binary can run on any JDK it is pointed at.
#include "jvmhost.hpp"

#include <dlfcn.h>

namespace jvmhost
{

JavaVM* createJavaVm(const std::string& jdkHome, const std::vector<Option>& options, JNIEnv** env,
                     std::string& error)
{
    const std::string library = jdkHome + "/lib/server/libjvm.so";
    void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (handle == nullptr) {
        error = "cannot load " + library + ": " + dlerror();
        return nullptr;
    }
    using CreateJavaVm = jint(JNICALL*)(JavaVM**, void**, void*);
    auto create = reinterpret_cast<CreateJavaVm>(dlsym(handle, "JNI_CreateJavaVM"));
    if (create == nullptr) {
        error = library + " has no JNI_CreateJavaVM";
        return nullptr;
    }
    std::vector<JavaVMOption> jniOptions;
    for (const Option& option : options) {
        jniOptions.push_back({const_cast<char*>(option.text.c_str()), option.extraInfo});
    }
    JavaVMInitArgs args{};
    args.version = JNI_VERSION_1_8;
    args.nOptions = static_cast<jint>(jniOptions.size());
    args.options = jniOptions.data();
    args.ignoreUnrecognized = JNI_FALSE;
    JavaVM* vm = nullptr;
    if (create(&vm, reinterpret_cast<void**>(env), &args) != JNI_OK) {
        error = "JNI_CreateJavaVM failed for " + jdkHome;
        return nullptr;
    }
    return vm;
}

} // namespace jvmhost
