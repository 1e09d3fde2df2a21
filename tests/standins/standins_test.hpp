// Helpers shared by the stand-in tests: owning references and UTF-8 views of strings.
#pragma once

#include "ks/ks.h"

#include <memory>
#include <string>
#include <vector>

namespace standins
{

struct Release {
    void operator()(void* obj) const { ksObjRelease(obj); }
};

template <typename T> using Ref = std::unique_ptr<T, Release>;

using StringRef = Ref<ksString>;

struct MemFree {
    void operator()(void* block) const { ksMemFree(block); }
};

using Cstr = std::unique_ptr<char, MemFree>;

inline std::string utf8(const ksString* string)
{
    Cstr text(ksStringToUtf8Cstr(string));
    return std::string(text.get());
}

inline std::string modifiedUtf8(const ksString* string)
{
    Cstr text(ksStringConvertToCstr(string, 1, nullptr));
    return std::string(text.get());
}

inline std::vector<KS_CHAR> chars(const ksString* string)
{
    const KS_CHAR* backing = ksStringBacking(string);
    return std::vector<KS_CHAR>(backing, backing + ksStringLength(string));
}

inline StringRef str(const char* text)
{
    return StringRef(ksStringCreateFromCstr(text, -1));
}

// What a test abort hook saw; thrown out of ks___Abort so the test continues.
struct AbortSeen {
    std::string message;
    std::string path;
    int line;
    std::string condition;
    bool hasMessage;
    bool hasCondition;
};

inline void throwingHook(const char* message, const char* path, int line, const char* condition)
{
    throw AbortSeen{message != nullptr ? message : "",     path != nullptr ? path : "", line,
                    condition != nullptr ? condition : "", message != nullptr,          condition != nullptr};
}

// Installs the throwing hook for one scope and puts the previous hook back.
class HookScope
{
  public:
    explicit HookScope(ksAbortHook hook = throwingHook) : previous_(ksAbortSetHook(hook)) {}
    HookScope(const HookScope&) = delete;
    HookScope& operator=(const HookScope&) = delete;
    ~HookScope() { ksAbortSetHook(previous_); }

  private:
    ksAbortHook previous_;
};

} // namespace standins
