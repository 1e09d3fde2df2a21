// The module framework's loader: dlopen, descriptor lookup by name, record checks,
// start-up and shutdown through the descriptor's slots.
#include "modhost.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

static_assert(sizeof(mhRecord) == 112);
static_assert(sizeof(mhDescriptor) == 152);

struct mhModule {
    void* library;
    const mhDescriptor* descriptor;
    bool started;
};

namespace {

mhModule* fail(void* library, char* error, int errorSize, const char* format, ...)
{
    if (error != nullptr && errorSize > 0) {
        va_list args;
        va_start(args, format);
        std::vsnprintf(error, static_cast<size_t>(errorSize), format, args);
        va_end(args);
    }
    if (library != nullptr) {
        dlclose(library);
    }
    return nullptr;
}

// A needed module counts as loaded when its library is already in the process.
bool isLoaded(const std::string& name)
{
    const std::string soname = "lib" + name + ".so";
    void* handle = dlopen(soname.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) {
        return false;
    }
    dlclose(handle);
    return true;
}

} // namespace

extern "C" {

mhModule* mhModuleLoad(const char* path, const char* name, char* error, int errorSize)
{
    if (path == nullptr || name == nullptr) {
        return fail(nullptr, error, errorSize, "no path or module name");
    }
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return fail(nullptr, error, errorSize, "cannot load %s: %s", path, dlerror());
    }
    const std::string symbol = std::string(name) + "___module";
    const auto* descriptor = static_cast<const mhDescriptor*>(dlsym(library, symbol.c_str()));
    if (descriptor == nullptr) {
        return fail(library, error, errorSize, "%s has no descriptor %s", path, symbol.c_str());
    }
    const mhRecord* record = descriptor->record;
    if (record == nullptr || record->format != 2) {
        return fail(library, error, errorSize, "%s: descriptor without a record of format 2", symbol.c_str());
    }
    if (record->name == nullptr || std::strcmp(record->name, name) != 0) {
        return fail(library, error, errorSize, "%s: record names module '%s'", symbol.c_str(),
                    record->name != nullptr ? record->name : "(null)");
    }
    if (descriptor->startup == nullptr || descriptor->shutdown == nullptr) {
        return fail(library, error, errorSize, "%s: start-up or shutdown slot empty", symbol.c_str());
    }
    const std::string needs = record->needs != nullptr ? record->needs : "";
    size_t begin = 0;
    while (begin < needs.size()) {
        size_t end = needs.find(' ', begin);
        if (end == std::string::npos) {
            end = needs.size();
        }
        const std::string needed = needs.substr(begin, end - begin);
        if (!needed.empty() && !isLoaded(needed)) {
            return fail(library, error, errorSize, "module %s needs %s, which is not loaded", name, needed.c_str());
        }
        begin = end + 1;
    }
    return new mhModule{library, descriptor, false};
}

const mhDescriptor* mhModuleDescriptor(const mhModule* module) { return module->descriptor; }

KS_BOOL mhModuleStart(mhModule* module)
{
    if (module->started) {
        return KS_TRUE;
    }
    const KS_BOOL started = module->descriptor->startup();
    module->started = started == KS_TRUE;
    return started;
}

void mhModuleStop(mhModule* module)
{
    if (module->started) {
        module->descriptor->shutdown();
        module->started = false;
    }
}

void mhModuleUnload(mhModule* module)
{
    if (module == nullptr) {
        return;
    }
    mhModuleStop(module);
    dlclose(module->library);
    delete module;
}

} // extern "C"
