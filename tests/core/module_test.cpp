// The order in which the module descriptor runs the units' start-ups and shutdowns, recorded by
// defining the unit operations here: they are exported so that a host may interpose them.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ven/frame.h"

namespace
{
std::vector<std::string> unitCalls;
} // namespace

#define CORE_RECORDED_UNIT(Unit)                                                                             \
    extern "C" void ven___##Unit##Startup(void) { unitCalls.push_back(#Unit); }                             \
    extern "C" void ven___##Unit##Shutdown(void) { unitCalls.push_back(#Unit); }
CORE_RECORDED_UNIT(Wrapper)
CORE_RECORDED_UNIT(String)
CORE_RECORDED_UNIT(Object)
CORE_RECORDED_UNIT(Long)
CORE_RECORDED_UNIT(Double)
CORE_RECORDED_UNIT(Boolean)
CORE_RECORDED_UNIT(Collection)
CORE_RECORDED_UNIT(EnumSet)
CORE_RECORDED_UNIT(ArrayList)

// The class units stop in the order they started; the wrapper unit starts first and stops last.
TEST(ModuleUnits, StartupAndShutdownOrder)
{
    const venModuleDescriptor* module = venModule();
    unitCalls.clear();
    EXPECT_EQ(KS_TRUE, module->startup());
    EXPECT_EQ(unitCalls, (std::vector<std::string>{"Wrapper", "Object", "String", "Long", "Double", "Boolean",
                                                   "Collection", "EnumSet", "ArrayList"}));
    unitCalls.clear();
    module->shutdown();
    EXPECT_EQ(unitCalls, (std::vector<std::string>{"Object", "String", "Long", "Double", "Boolean",
                                                   "Collection", "EnumSet", "ArrayList", "Wrapper"}));
}
