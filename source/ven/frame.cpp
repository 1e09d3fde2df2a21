// The registry of the process's one JavaVM and the calling thread's JNIEnv. Every
// failure here is a programming error of the embedding code and stops the process.
#include "ven/frame.h"

#include <jni.h>

#include "ven/checks.hpp"

namespace {

// The frame's stops report the integration unit's name.
constexpr ven::FatalChecks fatalCheck{"source/ven/ven_integration"};

// The one registered machine. Written without synchronisation by design: the
// embedding code registers it before any thread asks for an environment.
JavaVM* ven___javaVm = nullptr;

// Line numbers are those the fatal-check messages carry.
namespace line {
constexpr int setVm = 20;
constexpr int getEnvVm = 31; // ours: the environment operations need a registered machine
constexpr int getEnvStatus = 33;
constexpr int getEnvEnv = 34;
constexpr int tryGetEnvVm = 46; // ours, as above
constexpr int tryGetEnvStatus = 49;
constexpr int tryGetEnvEnv = 50;
constexpr int attachVm = 57; // ours, as above
constexpr int attachStatus = 59;
constexpr int attachEnv = 60;
constexpr int attachDaemonVm = 67; // ours, as above
constexpr int attachDaemonStatus = 69;
constexpr int attachDaemonEnv = 70;
constexpr int detachVm = 76; // ours, as above
constexpr int detachStatus = 78;
} // namespace line

JavaVM* registeredVm(int line)
{
    JavaVM* vm = venGetJavaVm();
    fatalCheck(vm != nullptr, line, "vm");
    return vm;
}

// The lines and status text of one of the two attach operations.
struct AttachChecks {
    int vmLine;
    int statusLine;
    int envLine;
    const char* statusCondition;
};

// Attaches the calling thread through `Member` (ordinary or daemon), with no thread name
// or group; an attached thread gets its existing environment (the JNI rule).
template <auto Member>
JNIEnv* attach(const AttachChecks& checks)
{
    JavaVM* vm = registeredVm(checks.vmLine);
    JNIEnv* env = nullptr;
    fatalCheck((vm->functions->*Member)(vm, reinterpret_cast<void**>(&env), nullptr) == 0, checks.statusLine,
               checks.statusCondition);
    fatalCheck(env != nullptr, checks.envLine, "env");
    return env;
}

} // namespace

extern "C" {

VEN_API void venSetJavaVm(JavaVM* vm)
{
    fatalCheck(vm != nullptr, line::setVm, "vm");
    ven___javaVm = vm;
}

VEN_API JavaVM* venGetJavaVm(void) { return ven___javaVm; }

VEN_API void venDelJavaVm(void) { ven___javaVm = nullptr; }

VEN_API JNIEnv* venGetMainJniEnv(void)
{
    JavaVM* vm = registeredVm(line::getEnvVm);
    JNIEnv* env = nullptr;
    fatalCheck(vm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_4) == JNI_OK, line::getEnvStatus,
               "(*vm)->GetEnv( vm, (void**)&env, JNI_VERSION_1_4 ) == JNI_OK");
    fatalCheck(env != nullptr, line::getEnvEnv, "env");
    return env;
}

VEN_API JNIEnv* venTryGetMainJniEnv(void)
{
    JavaVM* vm = registeredVm(line::tryGetEnvVm);
    JNIEnv* env = nullptr;
    const jint ret = vm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_4);
    if (ret == JNI_EDETACHED) {
        return nullptr;
    }
    fatalCheck(ret == JNI_OK, line::tryGetEnvStatus, "ret == JNI_OK");
    fatalCheck(env != nullptr, line::tryGetEnvEnv, "env");
    return env;
}

VEN_API JNIEnv* venAttachCurrentThread(void)
{
    return attach<&JNIInvokeInterface_::AttachCurrentThread>(
        {line::attachVm, line::attachStatus, line::attachEnv,
         "(*vm)->AttachCurrentThread( vm, (void**)&env, NULL ) == 0"});
}

VEN_API JNIEnv* venAttachCurrentThreadAsDaemon(void)
{
    return attach<&JNIInvokeInterface_::AttachCurrentThreadAsDaemon>(
        {line::attachDaemonVm, line::attachDaemonStatus, line::attachDaemonEnv,
         "(*vm)->AttachCurrentThreadAsDaemon( vm, (void**)&env, NULL ) == 0"});
}

VEN_API void venDetachCurrentThread(void)
{
    JavaVM* vm = registeredVm(line::detachVm);
    fatalCheck(vm->DetachCurrentThread() == 0, line::detachStatus, "(*vm)->DetachCurrentThread( vm ) == 0");
}

} // extern "C"
