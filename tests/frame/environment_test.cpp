// The JavaVM registry and the calling thread's JNIEnv: real threads against the real JVM,
// and every fatal check of the environment operations through a JavaVM whose invocation
// table fails on purpose.
#include <sys/resource.h>

#include <functional>
#include <thread>

#include "support/ven_test.hpp"
#include "ven/frame.h"

namespace ven::test
{
namespace
{

constexpr const char* kIntegration = "source/ven/ven_integration";
constexpr const char* kGetEnvCondition = "(*vm)->GetEnv( vm, (void**)&env, JNI_VERSION_1_4 ) == JNI_OK";

// A JavaVM whose GetEnv, AttachCurrentThread(AsDaemon) and DetachCurrentThread return what
// the test sets, and record what they were given.
struct FakeVm {
    JavaVM vm; // first: the JavaVM* leads back to the FakeVm
    JNIInvokeInterface_ table{};
    jint status = JNI_OK;
    JNIEnv* env = nullptr;
    jint version = 0;
    void* attachArgs = &version; // anything but NULL until an attach stores its argument
    int calls = 0;

    FakeVm()
    {
        table.GetEnv = [](JavaVM* vm, void** env, jint version) {
            FakeVm& self = of(vm);
            self.version = version;
            return self.answer(env);
        };
        table.AttachCurrentThread = [](JavaVM* vm, void** env, void* args) {
            of(vm).attachArgs = args;
            return of(vm).answer(env);
        };
        table.AttachCurrentThreadAsDaemon = [](JavaVM* vm, void** env, void* args) {
            of(vm).attachArgs = args;
            return of(vm).answer(env);
        };
        table.DetachCurrentThread = [](JavaVM* vm) {
            ++of(vm).calls;
            return of(vm).status;
        };
        vm.functions = &table;
    }
    FakeVm(const FakeVm&) = delete;

    static FakeVm& of(JavaVM* vm) { return *reinterpret_cast<FakeVm*>(vm); }
    jint answer(void** out)
    {
        ++calls;
        *out = env;
        return status;
    }
};

// Stands in for an environment the fake hands out; never dereferenced.
JNIEnv* someEnv()
{
    static JNIEnv sentinel{};
    return &sentinel;
}

class FakeVmTest : public JvmTest
{
  protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        venSetJavaVm(&fake.vm);
    }
    void TearDown() override
    {
        venSetJavaVm(jvm());
        JvmTest::TearDown();
    }

    FakeVm fake;
};

struct EnvironmentFault {
    const char* operation;
    void (*call)();
    jint status;
    JNIEnv* env;
    int line;
    const char* condition;
};

const EnvironmentFault kEnvironmentFaults[] = {
    {"venGetMainJniEnv", [] { venGetMainJniEnv(); }, JNI_EDETACHED, nullptr, 33, kGetEnvCondition},
    {"venGetMainJniEnv", [] { venGetMainJniEnv(); }, JNI_EVERSION, nullptr, 33, kGetEnvCondition},
    {"venGetMainJniEnv", [] { venGetMainJniEnv(); }, JNI_OK, nullptr, 34, "env"},
    {"venTryGetMainJniEnv", [] { venTryGetMainJniEnv(); }, JNI_EVERSION, someEnv(), 49, "ret == JNI_OK"},
    {"venTryGetMainJniEnv", [] { venTryGetMainJniEnv(); }, JNI_ERR, someEnv(), 49, "ret == JNI_OK"},
    {"venTryGetMainJniEnv", [] { venTryGetMainJniEnv(); }, JNI_OK, nullptr, 50, "env"},
    {"venAttachCurrentThread", [] { venAttachCurrentThread(); }, JNI_ERR, someEnv(), 59,
     "(*vm)->AttachCurrentThread( vm, (void**)&env, NULL ) == 0"},
    {"venAttachCurrentThread", [] { venAttachCurrentThread(); }, JNI_ENOMEM, nullptr, 59,
     "(*vm)->AttachCurrentThread( vm, (void**)&env, NULL ) == 0"},
    {"venAttachCurrentThread", [] { venAttachCurrentThread(); }, JNI_OK, nullptr, 60, "env"},
    {"venAttachCurrentThreadAsDaemon", [] { venAttachCurrentThreadAsDaemon(); }, JNI_ERR, someEnv(), 69,
     "(*vm)->AttachCurrentThreadAsDaemon( vm, (void**)&env, NULL ) == 0"},
    {"venAttachCurrentThreadAsDaemon", [] { venAttachCurrentThreadAsDaemon(); }, JNI_OK, nullptr, 70, "env"},
    {"venDetachCurrentThread", [] { venDetachCurrentThread(); }, JNI_ERR, nullptr, 78,
     "(*vm)->DetachCurrentThread( vm ) == 0"},
    {"venDetachCurrentThread", [] { venDetachCurrentThread(); }, JNI_EDETACHED, nullptr, 78,
     "(*vm)->DetachCurrentThread( vm ) == 0"},
};

TEST_F(FakeVmTest, EveryFailureOfTheInvocationInterfaceIsFatal)
{
    for (const EnvironmentFault& fault : kEnvironmentFaults) {
        SCOPED_TRACE(std::string(fault.operation) + " with status " + std::to_string(fault.status));
        this->fake.status = fault.status;
        this->fake.env = fault.env;
        this->fake.calls = 0;
        EXPECT_VEN_ABORT(fault.call(), kIntegration, fault.line, fault.condition);
        EXPECT_EQ(this->fake.calls, 1);
    }
}

TEST_F(FakeVmTest, SuccessfulCallsHandOnTheMachinesEnvironment)
{
    fake.env = someEnv();
    EXPECT_EQ(venGetMainJniEnv(), someEnv());
    EXPECT_EQ(fake.version, JNI_VERSION_1_4);
    fake.version = 0;
    EXPECT_EQ(venTryGetMainJniEnv(), someEnv());
    EXPECT_EQ(fake.version, JNI_VERSION_1_4);
    EXPECT_EQ(venAttachCurrentThread(), someEnv());
    EXPECT_EQ(fake.attachArgs, nullptr);
    fake.attachArgs = &fake;
    EXPECT_EQ(venAttachCurrentThreadAsDaemon(), someEnv());
    EXPECT_EQ(fake.attachArgs, nullptr);
    fake.calls = 0;
    venDetachCurrentThread();
    EXPECT_EQ(fake.calls, 1);
}

// Only JNI_EDETACHED is the soft failure; it returns NULL whatever env the machine wrote.
TEST_F(FakeVmTest, TryGetMainJniEnvAnswersNullForADetachedThread)
{
    fake.status = JNI_EDETACHED;
    fake.env = someEnv();
    EXPECT_EQ(venTryGetMainJniEnv(), nullptr);
}

using VmRegistry = JvmTest;

TEST_F(VmRegistry, SetReplacesDeleteForgetsAndSetWorksAgain)
{
    FakeVm first;
    FakeVm second;
    EXPECT_EQ(venGetJavaVm(), jvm());
    venSetJavaVm(&first.vm);
    EXPECT_EQ(venGetJavaVm(), &first.vm);
    venSetJavaVm(&second.vm);
    EXPECT_EQ(venGetJavaVm(), &second.vm);
    venDelJavaVm();
    EXPECT_EQ(venGetJavaVm(), nullptr);
    venDelJavaVm();
    EXPECT_EQ(venGetJavaVm(), nullptr);
    venSetJavaVm(jvm());
    EXPECT_EQ(venGetJavaVm(), jvm());
    EXPECT_EQ(first.calls + second.calls, 0) << "registering must not use the machine";
}

TEST_F(VmRegistry, SettingNullIsFatalAndKeepsTheMachine)
{
    EXPECT_VEN_ABORT(venSetJavaVm(nullptr), kIntegration, 20, "vm");
    EXPECT_EQ(venGetJavaVm(), jvm());
}

// In the death test's child, without the harness's hook and without a core file.
void registerNullForReal()
{
    rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    removeAbortHook();
    venSetJavaVm(nullptr);
}

// Without the harness's hook the fatal check really ends the process.
TEST(VmRegistryDeathTest, SettingNullStopsTheProcess)
{
    EXPECT_DEATH(registerNullForReal(), "ven_integration.*20.*vm");
}

// Runs `body` on a new native thread and waits for it.
void onNewThread(const std::function<void()>& body)
{
    std::thread thread(body);
    thread.join();
}

// Asks Java whether the calling thread (attached with `env`) is a daemon.
bool isDaemonThread(JNIEnv* env)
{
    jclass threadClass = env->FindClass("java/lang/Thread");
    jmethodID currentThread = env->GetStaticMethodID(threadClass, "currentThread", "()Ljava/lang/Thread;");
    jmethodID isDaemon = env->GetMethodID(threadClass, "isDaemon", "()Z");
    jobject thread = env->CallStaticObjectMethodA(threadClass, currentThread, nullptr);
    jboolean daemon = env->ExceptionCheck() ? JNI_FALSE : env->CallBooleanMethodA(thread, isDaemon, nullptr);
    env->ExceptionClear();
    env->DeleteLocalRef(thread);
    env->DeleteLocalRef(threadClass);
    return daemon == JNI_TRUE;
}

using ThreadEnvironment = JvmTest;

TEST_F(ThreadEnvironment, MainThreadHasItsEnvironment)
{
    EXPECT_EQ(venGetMainJniEnv(), env);
    EXPECT_EQ(venTryGetMainJniEnv(), env);
    EXPECT_EQ(venAttachCurrentThread(), env) << "attaching an attached thread keeps its env";
}

TEST_F(ThreadEnvironment, NeverAttachedThreadHasNone)
{
    JNIEnv* found = someEnv();
    onNewThread([&] { found = venTryGetMainJniEnv(); });
    EXPECT_EQ(found, nullptr);
}

TEST_F(ThreadEnvironment, GetMainJniEnvOnAnUnattachedThreadIsFatalAndDoesNotAttach)
{
    std::optional<AbortRecord> abort;
    JNIEnv* afterwards = someEnv();
    onNewThread([&] {
        abort = catchAbort([] { venGetMainJniEnv(); });
        afterwards = venTryGetMainJniEnv();
    });
    EXPECT_TRUE(abortedWith(abort, "venGetMainJniEnv()", kIntegration, 33, kGetEnvCondition, nullptr));
    EXPECT_EQ(afterwards, nullptr);
}

struct AttachRoundTrip {
    JNIEnv* attached = nullptr;
    JNIEnv* tried = nullptr;
    JNIEnv* got = nullptr;
    JNIEnv* attachedAgain = nullptr;
    bool daemon = false;
    JNIEnv* afterDetach = someEnv();
};

AttachRoundTrip attachAndDetach(JNIEnv* (*attach)())
{
    AttachRoundTrip trip;
    onNewThread([&] {
        trip.attached = attach();
        trip.tried = venTryGetMainJniEnv();
        trip.got = venGetMainJniEnv();
        trip.attachedAgain = attach();
        trip.daemon = isDaemonThread(trip.attached);
        venDetachCurrentThread();
        trip.afterDetach = venTryGetMainJniEnv();
    });
    return trip;
}

TEST_F(ThreadEnvironment, AttachGivesOneEnvironmentUntilDetach)
{
    struct Kind {
        const char* name;
        JNIEnv* (*attach)();
        bool daemon;
    };
    for (const Kind& kind : {Kind{"venAttachCurrentThread", venAttachCurrentThread, false},
                             Kind{"venAttachCurrentThreadAsDaemon", venAttachCurrentThreadAsDaemon, true}}) {
        SCOPED_TRACE(kind.name);
        AttachRoundTrip trip = attachAndDetach(kind.attach);
        ASSERT_NE(trip.attached, nullptr);
        EXPECT_NE(trip.attached, env);
        EXPECT_EQ(trip.tried, trip.attached);
        EXPECT_EQ(trip.got, trip.attached);
        EXPECT_EQ(trip.attachedAgain, trip.attached);
        EXPECT_EQ(trip.daemon, kind.daemon);
        EXPECT_EQ(trip.afterDetach, nullptr);
    }
}

} // namespace
} // namespace ven::test
