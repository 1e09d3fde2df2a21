// The frame: the module descriptor, record and version string as the module framework reads
// them; the JavaVM registry and the calling thread's JNIEnv, every fatal check of the
// environment operations through a JavaVM that answers as told, and real threads.
#include <dlfcn.h>

#include <array>
#include <bit>
#include <cstdint>
#include <regex>
#include <string>
#include <thread>

#include "support/ven_test.hpp"
#include "ven/frame.h"

namespace ven::test
{
namespace
{

// The start-up (offset 88) and shutdown (offset 104) slots hold two distinct operations.
TEST(ModuleDescriptor, HoldsItsWordsAtTheirOffsets)
{
    auto words = std::bit_cast<std::array<std::uint64_t, 19>>(ven___module);
    const std::uint64_t all = ~std::uint64_t{0}, startup = words[11], shutdown = words[13];
    const std::uint64_t record = reinterpret_cast<std::uintptr_t>(&ven___module_record);
    const std::array<std::uint64_t, 19> expected = {2,      0,       all, 1,        0, 0, 0, 0, 0, 0,
                                                    record, startup, 0,   shutdown, 0, 0, 0, 0, 0};
    EXPECT_EQ(words, expected);
    EXPECT_TRUE(startup != 0 && shutdown != 0 && startup != shutdown);
    EXPECT_EQ(venModule(), &ven___module);
}

TEST(ModuleDescriptor, RecordHoldsTheModuleIdentity)
{
    auto words = std::bit_cast<std::array<std::uint64_t, 14>>(ven___module_record);
    auto textAt = [&](std::size_t word) { return reinterpret_cast<const char*>(words[word]); };
    EXPECT_EQ(words[0], 2u);
    EXPECT_EQ(words[3], 4u);
    EXPECT_EQ(words[4], 14u);
    EXPECT_EQ(words[5], 17u);
    for (std::size_t text : {1, 2, 6, 7, 8, 10}) { // the product's own texts
        ASSERT_NE(words[text], 0u) << "word " << text;
        EXPECT_STRNE(textAt(text), "") << "word " << text;
    }
    EXPECT_STREQ(textAt(9), "ven");
    EXPECT_STREQ(textAt(11), "0.0");
    EXPECT_STREQ(textAt(12), "ks lg");
    EXPECT_STREQ(textAt(13), "");
    EXPECT_TRUE(std::regex_match(
        textAt(6),
        std::regex(R"(UTC \d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2} \((Mon|Tue|Wed|Thu|Fri|Sat|Sun)\))")))
        << textAt(6);
}

TEST(ModuleDescriptor, VersionStringRepeatsTheRecord)
{
    std::string text = ven___module_version_string;
    std::smatch parts;
    ASSERT_TRUE(
        std::regex_match(text, parts,
                         std::regex(R"(###[^#\s]+### (\S+)-(\d+)\.(\d+)\.(\d+) )"
                                    R"(\(([^,()]+), ([^,()]+) \(([^,()]+)\), ([^,()]+)\), ven 0\.0)")))
        << text;
    EXPECT_EQ(parts[1], ven___module_record.productShortName);
    EXPECT_EQ(parts[2], std::to_string(ven___module_record.versionMajor));
    EXPECT_EQ(parts[3], std::to_string(ven___module_record.versionMinor));
    EXPECT_EQ(parts[4], std::to_string(ven___module_record.versionPatch));
}

TEST(ModuleDescriptor, ExportsTheDataButNotTheModuleOperations)
{
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ven___module"), &ven___module);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ven___module_record"), &ven___module_record);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ven___module_version_string"), &ven___module_version_string);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ven___ModuleStartup"), nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ven___ModuleShutdown"), nullptr);
    const void* inKs = reinterpret_cast<const void*>(&ksMemAlloc);
    EXPECT_EQ(venCheckEncapsulated(inKs, "ks"), KS_TRUE);
    EXPECT_EQ(venCheckEncapsulated(inKs, "ven"), KS_FALSE);
}

using ModuleLifecycle = JvmTest;

TEST_F(ModuleLifecycle, StartupSucceedsAndNeitherOperationTouchesTheRegistry)
{
    EXPECT_EQ(ven___module.startup(), KS_TRUE);
    ven___module.shutdown();
    EXPECT_EQ(venGetJavaVm(), jvm());
    venDelJavaVm();
    EXPECT_EQ(ven___module.startup(), KS_TRUE);
    ven___module.shutdown();
    EXPECT_EQ(venGetJavaVm(), nullptr);
    venSetJavaVm(jvm());
}

constexpr const char* kIntegration = "source/ven/ven_integration";
constexpr const char* kGetEnv = "(*vm)->GetEnv( vm, (void**)&env, JNI_VERSION_1_4 ) == JNI_OK";
constexpr const char* kAttach = "(*vm)->AttachCurrentThread( vm, (void**)&env, NULL ) == 0";
constexpr const char* kDaemon = "(*vm)->AttachCurrentThreadAsDaemon( vm, (void**)&env, NULL ) == 0";
constexpr const char* kDetach = "(*vm)->DetachCurrentThread( vm ) == 0";

// A JavaVM whose invocation functions answer `status`, write `env` and note how they were called.
struct FakeVm {
    JavaVM vm; // first: the JavaVM* leads back to the FakeVm
    JNIInvokeInterface_ table{};
    jint status = JNI_OK;
    JNIEnv* env = nullptr;
    std::string seen;

    static jint answer(JavaVM* vm, void** env, const char* call)
    {
        auto* self = reinterpret_cast<FakeVm*>(vm);
        self->seen += call;
        if (env != nullptr) {
            *env = self->env;
        }
        return self->status;
    }
    FakeVm()
    {
        table.GetEnv = [](JavaVM* vm, void** env, jint version) {
            return answer(vm, env, version == JNI_VERSION_1_4 ? "GetEnv(1.4)" : "GetEnv(other)");
        };
        table.AttachCurrentThread = [](JavaVM* vm, void** env, void* args) {
            return answer(vm, env, args == nullptr ? "Attach(NULL)" : "Attach(args)");
        };
        table.AttachCurrentThreadAsDaemon = [](JavaVM* vm, void** env, void* args) {
            return answer(vm, env, args == nullptr ? "AttachAsDaemon(NULL)" : "AttachAsDaemon(args)");
        };
        table.DetachCurrentThread = [](JavaVM* vm) { return answer(vm, nullptr, "Detach"); };
        vm.functions = &table;
    }
};

JNIEnv* const someEnv = reinterpret_cast<JNIEnv*>(std::uintptr_t{0x5e7}); // never dereferenced
JNIEnv* (*const detach)() = [] { return venDetachCurrentThread(), someEnv; };

// What each operation asks of the machine, and how each answer ends: in the fatal check on
// `line`, or (line 0) by returning the machine's env when it answered JNI_OK, else NULL.
struct EnvironmentRow {
    JNIEnv* (*operation)();
    jint status;
    JNIEnv* env;
    const char* seen;
    int line;
    const char* condition;
};

const EnvironmentRow kEnvironmentRows[] = {
    {[] { return venSetJavaVm(nullptr), someEnv; }, JNI_OK, someEnv, "", 20, "vm"},
    {venGetMainJniEnv, JNI_EDETACHED, nullptr, "GetEnv(1.4)", 33, kGetEnv},
    {venGetMainJniEnv, JNI_EVERSION, someEnv, "GetEnv(1.4)", 33, kGetEnv},
    {venGetMainJniEnv, JNI_OK, nullptr, "GetEnv(1.4)", 34, "env"},
    {venGetMainJniEnv, JNI_OK, someEnv, "GetEnv(1.4)", 0, nullptr},
    {venTryGetMainJniEnv, JNI_EDETACHED, someEnv, "GetEnv(1.4)", 0, nullptr},
    {venTryGetMainJniEnv, JNI_EVERSION, someEnv, "GetEnv(1.4)", 49, "ret == JNI_OK"},
    {venTryGetMainJniEnv, JNI_ERR, someEnv, "GetEnv(1.4)", 49, "ret == JNI_OK"},
    {venTryGetMainJniEnv, JNI_OK, nullptr, "GetEnv(1.4)", 50, "env"},
    {venTryGetMainJniEnv, JNI_OK, someEnv, "GetEnv(1.4)", 0, nullptr},
    {venAttachCurrentThread, JNI_ERR, someEnv, "Attach(NULL)", 59, kAttach},
    {venAttachCurrentThread, JNI_ENOMEM, nullptr, "Attach(NULL)", 59, kAttach},
    {venAttachCurrentThread, JNI_OK, nullptr, "Attach(NULL)", 60, "env"},
    {venAttachCurrentThread, JNI_OK, someEnv, "Attach(NULL)", 0, nullptr},
    {venAttachCurrentThreadAsDaemon, JNI_ERR, someEnv, "AttachAsDaemon(NULL)", 69, kDaemon},
    {venAttachCurrentThreadAsDaemon, JNI_OK, nullptr, "AttachAsDaemon(NULL)", 70, "env"},
    {venAttachCurrentThreadAsDaemon, JNI_OK, someEnv, "AttachAsDaemon(NULL)", 0, nullptr},
    {detach, JNI_ERR, nullptr, "Detach", 78, kDetach},
    {detach, JNI_EDETACHED, nullptr, "Detach", 78, kDetach},
    {detach, JNI_OK, someEnv, "Detach", 0, nullptr},
};

using Environment = JvmTest;

// The registry replaces a machine without using it, forgets it, and takes one again.
TEST_F(Environment, EveryAnswerOfTheMachineEndsAsItMust)
{
    FakeVm replaced;
    FakeVm fake;
    venSetJavaVm(&replaced.vm);
    venSetJavaVm(&fake.vm);
    for (const EnvironmentRow& row : kEnvironmentRows) {
        SCOPED_TRACE(std::string(row.seen) + " answering " + std::to_string(row.status) +
                     (row.env != nullptr ? " and an env" : " and NULL"));
        fake.status = row.status;
        fake.env = row.env;
        fake.seen.clear();
        if (row.line != 0) {
            EXPECT_VEN_ABORT(row.operation(), kIntegration, row.line, row.condition);
        } else {
            EXPECT_EQ(row.operation(), row.status == JNI_OK ? row.env : nullptr);
        }
        EXPECT_EQ(fake.seen, row.seen);
        EXPECT_EQ(venGetJavaVm(), &fake.vm);
    }
    EXPECT_EQ(replaced.seen, "");
    venDelJavaVm();
    EXPECT_EQ(venGetJavaVm(), nullptr);
    venSetJavaVm(jvm());
    EXPECT_EQ(venGetJavaVm(), jvm());
}

TEST_F(Environment, AnUnattachedThreadHasNoneAndGetIsFatalWithoutAttaching)
{
    JNIEnv* before = someEnv;
    JNIEnv* after = someEnv;
    std::optional<AbortRecord> abort;
    std::thread([&] {
        before = venTryGetMainJniEnv();
        abort = catchAbort(venGetMainJniEnv);
        after = venTryGetMainJniEnv();
    }).join();
    EXPECT_EQ(before, nullptr);
    EXPECT_TRUE(abortedWith(abort, "venGetMainJniEnv()", kIntegration, 33, kGetEnv, nullptr));
    EXPECT_EQ(after, nullptr);
}

// Asks Java whether the calling thread is a daemon.
bool isDaemonThread(JNIEnv* env)
{
    jclass threadClass = env->FindClass("java/lang/Thread");
    jmethodID current = env->GetStaticMethodID(threadClass, "currentThread", "()Ljava/lang/Thread;");
    jmethodID isDaemon = env->GetMethodID(threadClass, "isDaemon", "()Z");
    jobject thread = env->CallStaticObjectMethodA(threadClass, current, nullptr);
    jboolean daemon = env->ExceptionCheck() ? JNI_FALSE : env->CallBooleanMethodA(thread, isDaemon, nullptr);
    env->ExceptionClear();
    env->DeleteLocalRef(thread);
    env->DeleteLocalRef(threadClass);
    return daemon == JNI_TRUE;
}

// Attaching gives the thread one env (again when attached twice) until it detaches.
TEST_F(Environment, AttachGivesOneEnvironmentUntilDetach)
{
    EXPECT_EQ(venAttachCurrentThread(), env) << "the main thread keeps its env";
    for (bool daemon : {false, true}) {
        JNIEnv* (*attach)() = daemon ? venAttachCurrentThreadAsDaemon : venAttachCurrentThread;
        std::vector<JNIEnv*> seen;
        bool isDaemon = !daemon;
        std::thread([&] {
            seen = {attach(), venTryGetMainJniEnv(), venGetMainJniEnv(), attach()};
            isDaemon = isDaemonThread(seen[0]);
            venDetachCurrentThread();
            seen.push_back(venTryGetMainJniEnv());
        }).join();
        EXPECT_NE(seen[0], nullptr);
        EXPECT_NE(seen[0], env);
        EXPECT_EQ(seen, (std::vector<JNIEnv*>{seen[0], seen[0], seen[0], seen[0], nullptr})) << daemon;
        EXPECT_EQ(isDaemon, daemon);
    }
}

} // namespace
} // namespace ven::test
