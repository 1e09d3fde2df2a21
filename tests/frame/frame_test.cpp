// The frame: the module descriptor and record as the module framework reads them; the JavaVM
// registry and every fatal check of the environment operations through a JavaVM that answers as told.
#include <dlfcn.h>

#include <array>
#include <bit>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "support/exported.hpp"
#include "support/ven_test.hpp"
#include "ven/frame.h"
#include "ven/wrapper.h"

namespace ven::test
{
namespace
{

// The start-up (offset 88) and shutdown (offset 104) slots hold two distinct operations; of the
// module's own symbols only the data is exported.
TEST(ModuleDescriptor, HoldsItsWordsAndRecordAndExportsOnlyTheData)
{
    auto words = std::bit_cast<std::array<std::uint64_t, 19>>(ven___module);
    const std::uint64_t all = ~std::uint64_t{0}, startup = words[11], shutdown = words[13];
    const std::uint64_t recorded = reinterpret_cast<std::uintptr_t>(&ven___module_record);
    const std::array<std::uint64_t, 19> expected = {2,        0,       all, 1,        0, 0, 0, 0, 0, 0,
                                                    recorded, startup, 0,   shutdown, 0, 0, 0, 0, 0};
    EXPECT_EQ(words, expected);
    EXPECT_TRUE(startup != 0 && shutdown != 0 && startup != shutdown);

    auto record = std::bit_cast<std::array<std::uint64_t, 14>>(ven___module_record);
    auto textAt = [&](std::size_t word) { return std::string(reinterpret_cast<const char*>(record[word])); };
    EXPECT_EQ(std::vector<std::uint64_t>({record[0], record[3], record[4], record[5]}),
              std::vector<std::uint64_t>({2, 4, 14, 17}));
    EXPECT_EQ(textAt(9) + " " + textAt(11) + " " + textAt(12), "ven 0.0 ks lg");
    EXPECT_TRUE(std::string(ven___module_version_string).ends_with(", ven 0.0"));
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ven___module_record"), &ven___module_record);
    // The descriptor's start-up and shutdown are reached through it alone.
    const std::set<std::string> exported =
        exportedFunctions(reinterpret_cast<const void*>(&ven___FindClass), "ven___");
    EXPECT_TRUE(exported.contains("ven___FindClass"));
    EXPECT_FALSE(exported.contains("ven___ModuleStartup") || exported.contains("ven___ModuleShutdown"));
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

    // `call` is noted with a '?' when the version or the arguments are not the ones to ask with.
    static jint answer(JavaVM* vm, void** env, bool asked, const char* call)
    {
        auto* self = reinterpret_cast<FakeVm*>(vm);
        self->seen += std::string(call) + (asked ? "" : "?");
        if (env != nullptr) {
            *env = self->env;
        }
        return self->status;
    }
    FakeVm()
    {
        table.GetEnv = [](JavaVM* vm, void** e, jint v) {
            return answer(vm, e, v == JNI_VERSION_1_4, "GetEnv");
        };
        table.AttachCurrentThread = [](JavaVM* vm, void** e, void* a) { return answer(vm, e, !a, "Attach"); };
        table.AttachCurrentThreadAsDaemon = [](JavaVM* vm, void** e, void* a) {
            return answer(vm, e, !a, "AttachAsDaemon");
        };
        table.DetachCurrentThread = [](JavaVM* vm) { return answer(vm, nullptr, true, "Detach"); };
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
    {venGetMainJniEnv, JNI_EDETACHED, someEnv, "GetEnv", 33, kGetEnv},
    {venGetMainJniEnv, JNI_OK, nullptr, "GetEnv", 34, "env"},
    {venGetMainJniEnv, JNI_OK, someEnv, "GetEnv", 0, nullptr},
    {venTryGetMainJniEnv, JNI_EDETACHED, someEnv, "GetEnv", 0, nullptr},
    {venTryGetMainJniEnv, JNI_EVERSION, someEnv, "GetEnv", 49, "ret == JNI_OK"},
    {venTryGetMainJniEnv, JNI_OK, nullptr, "GetEnv", 50, "env"},
    {venTryGetMainJniEnv, JNI_OK, someEnv, "GetEnv", 0, nullptr},
    {venAttachCurrentThread, JNI_ERR, someEnv, "Attach", 59, kAttach},
    {venAttachCurrentThread, JNI_OK, nullptr, "Attach", 60, "env"},
    {venAttachCurrentThread, JNI_OK, someEnv, "Attach", 0, nullptr},
    {venAttachCurrentThreadAsDaemon, JNI_ERR, someEnv, "AttachAsDaemon", 69, kDaemon},
    {venAttachCurrentThreadAsDaemon, JNI_OK, nullptr, "AttachAsDaemon", 70, "env"},
    {venAttachCurrentThreadAsDaemon, JNI_OK, someEnv, "AttachAsDaemon", 0, nullptr},
    {detach, JNI_ERR, nullptr, "Detach", 78, kDetach},
    {detach, JNI_OK, someEnv, "Detach", 0, nullptr},
};

using Environment = JvmTest;

// The registry keeps the machine through every answer and the module's start-up and shutdown,
// forgets it (which they do not undo either), and takes one again.
TEST_F(Environment, EveryAnswerOfTheMachineEndsAsItMust)
{
    FakeVm fake;
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
    for (const JavaVM* const expected : {&fake.vm, static_cast<JavaVM*>(nullptr)}) {
        EXPECT_EQ(ven___module.startup(), KS_TRUE);
        ven___module.shutdown();
        EXPECT_EQ(venGetJavaVm(), expected);
        venDelJavaVm();
    }
    venSetJavaVm(jvm());
    EXPECT_EQ(venGetJavaVm(), jvm());
}

} // namespace
} // namespace ven::test
