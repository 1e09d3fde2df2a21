// The module unit: the descriptor, record and version string that the module
// framework reads, and the start-up and shutdown that run every unit's own.
#include "ks/ks.h"
#include "ven/build_info.h"
#include "ven/frame.h"

namespace {

KS_BOOL ven___ModuleStartup(void);
void ven___ModuleShutdown(void);

// The class units shut down in the order in which they started; the wrapper unit,
// which starts first, shuts down last. The unit operations are called by name, so a
// host may interpose them.
using UnitOperation = void (*)(void);

constexpr UnitOperation kStartupOrder[] = {
    ven___WrapperStartup, ven___ObjectStartup,     ven___StringStartup,
    ven___LongStartup,    ven___DoubleStartup,     ven___BooleanStartup,
    ven___CollectionStartup, ven___EnumSetStartup, ven___ArrayListStartup,
};

constexpr UnitOperation kShutdownOrder[] = {
    ven___ObjectShutdown,     ven___StringShutdown,  ven___LongShutdown,
    ven___DoubleShutdown,     ven___BooleanShutdown, ven___CollectionShutdown,
    ven___EnumSetShutdown,    ven___ArrayListShutdown, ven___WrapperShutdown,
};

KS_BOOL ven___ModuleStartup(void)
{
    for (UnitOperation startup : kStartupOrder) {
        startup();
    }
    return KS_TRUE;
}

void ven___ModuleShutdown(void)
{
    for (UnitOperation shutdown : kShutdownOrder) {
        shutdown();
    }
}

constexpr const char kVersionString[] =
    "###BUILDINFO### ven-" VEN_PRODUCT_VERSION_TEXT " (" VEN_BUILD_DISTRIBUTION ", linux (" VEN_BUILD_PROCESSOR
    "), " VEN_BUILD_KIND "), ven 0.0";

} // namespace

extern "C" {

const venModuleRecord ven___module_record = {
    2,
    "ven",
    "ven, the Java native interface library",
    VEN_PRODUCT_VERSION_MAJOR,
    VEN_PRODUCT_VERSION_MINOR,
    VEN_PRODUCT_VERSION_PATCH,
    VEN_BUILD_TIME,
    "The ven developers",
    "Copyright (c) 2026 The ven developers. All rights reserved.",
    "ven",
    "Java virtual machine environment",
    "0.0",
    "ks lg",
    "",
};

const venModuleDescriptor ven___module = {
    {2, 0, -1, 1}, {0, 0, 0, 0, 0, 0}, &ven___module_record, ven___ModuleStartup, nullptr, ven___ModuleShutdown,
    {0, 0, 0, 0, 0},
};

const char* const ven___module_version_string = kVersionString;

VEN_API const venModuleDescriptor* venModule(void) { return &ven___module; }

VEN_API KS_BOOL venCheckEncapsulated(const void* address, const char* moduleName)
{
    return ks___ExecCheckEncapsulated(address, moduleName);
}

// No unit holds state: their start-up and shutdown have nothing to do.
#define VEN_UNIT_LIFECYCLE(Unit)                                                                            \
    VEN_API void ven___##Unit##Startup(void) {}                                                             \
    VEN_API void ven___##Unit##Shutdown(void) {}

VEN_UNIT_LIFECYCLE(Wrapper)
VEN_UNIT_LIFECYCLE(String)
VEN_UNIT_LIFECYCLE(Object)
VEN_UNIT_LIFECYCLE(Long)
VEN_UNIT_LIFECYCLE(Double)
VEN_UNIT_LIFECYCLE(Boolean)
VEN_UNIT_LIFECYCLE(Collection)
VEN_UNIT_LIFECYCLE(EnumSet)
VEN_UNIT_LIFECYCLE(ArrayList)

} // extern "C"

static_assert(sizeof(venModuleDescriptor) == 152, "the module framework reads 19 words");
static_assert(sizeof(venModuleRecord) == 112, "the module framework reads 14 words");
