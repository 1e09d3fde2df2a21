// The module descriptor, record and version string as the module framework reads them:
// raw words at fixed offsets, exported under their names, the start-up and shutdown slots.
#include <dlfcn.h>

#include <cstdint>
#include <cstring>
#include <regex>

#include "support/ven_test.hpp"
#include "ven/frame.h"

namespace ven::test
{
namespace
{

constexpr std::size_t kDescriptorWords = 19;
constexpr std::size_t kRecordWords = 14;

template <std::size_t Words, typename T> std::array<std::uint64_t, Words> wordsOf(const T& object)
{
    static_assert(sizeof(T) == Words * 8);
    std::array<std::uint64_t, Words> words;
    std::memcpy(words.data(), &object, sizeof object);
    return words;
}

template <typename T> std::uint64_t addressOf(T* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

const char* textAt(std::uint64_t word)
{
    return reinterpret_cast<const char*>(static_cast<std::uintptr_t>(word));
}

TEST(ModuleDescriptor, HoldsItsNineteenWordsAtTheirOffsets)
{
    ASSERT_EQ(sizeof ven___module, 152u);
    auto words = wordsOf<kDescriptorWords>(ven___module);
    EXPECT_EQ(words[0], 2u);
    EXPECT_EQ(words[1], 0u);
    EXPECT_EQ(words[2], ~std::uint64_t{0});
    EXPECT_EQ(words[3], 1u);
    for (std::size_t word : {4, 5, 6, 7, 8, 9, 12, 14, 15, 16, 17, 18}) {
        EXPECT_EQ(words[word], 0u) << "word " << word << " (offset " << word * 8 << ")";
    }
    EXPECT_EQ(words[10], addressOf(&ven___module_record));
    EXPECT_NE(words[11], 0u) << "start-up slot (offset 88)";
    EXPECT_NE(words[13], 0u) << "shutdown slot (offset 104)";
    EXPECT_NE(words[11], words[13]);
    EXPECT_EQ(venModule(), &ven___module);
}

TEST(ModuleDescriptor, RecordHoldsTheModuleIdentity)
{
    ASSERT_EQ(sizeof ven___module_record, 112u);
    auto words = wordsOf<kRecordWords>(ven___module_record);
    EXPECT_EQ(words[0], 2u);
    EXPECT_EQ(words[3], 4u);
    EXPECT_EQ(words[4], 14u);
    EXPECT_EQ(words[5], 17u);
    for (std::size_t text : {1, 2, 6, 7, 8, 9, 10, 11, 12, 13}) {
        ASSERT_NE(words[text], 0u) << "text word " << text << " is NULL";
    }
    for (std::size_t text : {1, 2, 7, 8, 10}) {
        EXPECT_STRNE(textAt(words[text]), "") << "text word " << text;
    }
    EXPECT_STREQ(textAt(words[9]), "ven");
    EXPECT_STREQ(textAt(words[11]), "0.0");
    EXPECT_STREQ(textAt(words[12]), "ks lg");
    EXPECT_STREQ(textAt(words[13]), "");
    EXPECT_TRUE(std::regex_match(textAt(words[6]), std::regex(R"(UTC \d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2} )"
                                                              R"(\((Mon|Tue|Wed|Thu|Fri|Sat|Sun)\))")))
        << textAt(words[6]);
}

TEST(ModuleDescriptor, VersionStringRepeatsTheRecord)
{
    ASSERT_NE(ven___module_version_string, nullptr);
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

// The framework finds the three objects by name; the module's start-up and shutdown are
// reachable only through the descriptor.
TEST(ModuleDescriptor, ExportsTheDataButNotTheModuleOperations)
{
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ven___module"), &ven___module);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ven___module_record"), &ven___module_record);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ven___module_version_string"), &ven___module_version_string);
    EXPECT_NE(dlsym(RTLD_DEFAULT, "venModule"), nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ven___ModuleStartup"), nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ven___ModuleShutdown"), nullptr);
    for (const char* unit : {"ven___WrapperStartup", "ven___WrapperShutdown", "ven___StringStartup",
                             "ven___ObjectShutdown", "ven___ArrayListStartup"}) {
        EXPECT_NE(dlsym(RTLD_DEFAULT, unit), nullptr) << unit;
    }
}

using ModuleLifecycle = JvmTest;

TEST_F(ModuleLifecycle, StartupSucceedsAndNeitherOperationTouchesTheRegistry)
{
    EXPECT_EQ(ven___module.startup(), KS_TRUE);
    EXPECT_EQ(venGetJavaVm(), jvm());
    ven___module.shutdown();
    EXPECT_EQ(venGetJavaVm(), jvm());

    venDelJavaVm();
    EXPECT_EQ(ven___module.startup(), KS_TRUE);
    ven___module.shutdown();
    EXPECT_EQ(venGetJavaVm(), nullptr);
    venSetJavaVm(jvm());
}

TEST(ModuleDescriptor, CheckEncapsulatedPassesThrough)
{
    const void* inVen = reinterpret_cast<const void*>(&venModule);
    const void* inKs = reinterpret_cast<const void*>(&ksMemAlloc);
    EXPECT_EQ(venCheckEncapsulated(inVen, "ven"), KS_TRUE);
    EXPECT_EQ(venCheckEncapsulated(inKs, "ven"), KS_FALSE);
    EXPECT_EQ(venCheckEncapsulated(inKs, "ks"), ks___ExecCheckEncapsulated(inKs, "ks"));
    EXPECT_EQ(venCheckEncapsulated(nullptr, "ven"), ks___ExecCheckEncapsulated(nullptr, "ven"));
}

} // namespace
} // namespace ven::test
