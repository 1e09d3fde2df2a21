// The fake env's table, a trampoline per listed entry, and the local reference ledger.
#include "support/fault_env.hpp"

#include <algorithm>

#include <gtest/gtest.h>

namespace ven::test
{

namespace detail
{

const char* entryName(std::size_t slot)
{
    static const std::array<const char*, kJniTableSlots> names = [] {
        std::array<const char*, kJniTableSlots> all{};
        all.fill("?");
#define VEN_TEST_NAME_ENTRY(name) all[slotOf<&JNINativeInterface_::name>()] = #name;
        VEN_TEST_JNI_ENTRIES(VEN_TEST_NAME_ENTRY)
#undef VEN_TEST_NAME_ENTRY
        return all;
    }();
    return names[slot];
}

} // namespace detail

void LocalRefLedger::noteCreated(jobject ref)
{
    if (ref != nullptr) {
        live_.push_back(ref);
    }
}

void LocalRefLedger::noteDeleted(jobject ref)
{
    if (ref == nullptr) {
        return;
    }
    ++deleted_;
    // The most recent reference with this value is the one still in use.
    auto found = std::find(live_.rbegin(), live_.rend(), ref);
    if (found != live_.rend()) {
        live_.erase(std::next(found).base());
    }
}

void LocalRefLedger::notePopped()
{
    if (frames_.empty()) {
        return; // pushed elsewhere: what it held is unknown here
    }
    live_.resize(std::min(frames_.back(), live_.size()));
    frames_.pop_back();
}

FaultEnv::FaultEnv(JNIEnv* real) : block_{}, table_{}, real_(real)
{
    block_.env.functions = &table_;
    block_.owner = this;
#define VEN_TEST_FORWARD_ENTRY(name) table_.name = &detail::JniEntry<&JNINativeInterface_::name>::trampoline;
    VEN_TEST_JNI_ENTRIES(VEN_TEST_FORWARD_ENTRY)
#undef VEN_TEST_FORWARD_ENTRY
}

FaultEnv::~FaultEnv()
{
    for (jobject global : globals_) {
        real_->DeleteGlobalRef(global);
    }
}

void* FaultEnv::replacementFor(std::size_t slot)
{
    Replacement& replacement = overrides_[slot];
    if (!replacement.function) {
        return nullptr;
    }
    ++replacement.seen;
    const bool takes = replacement.calls.only == 0 || replacement.seen == replacement.calls.only;
    return takes ? replacement.function.get() : nullptr;
}

void FaultEnv::noteCall(std::size_t slot)
{
    ++calls_[slot];
    const char* name = detail::entryName(slot);
    trail_.emplace_back(name);
    static const std::array kAllowedInRegion = {
        detail::slotOf<&JNINativeInterface_::ExceptionCheck>(),
        detail::slotOf<&JNINativeInterface_::ReleaseStringCritical>(),
        detail::slotOf<&JNINativeInterface_::ReleasePrimitiveArrayCritical>()};
    if (openCriticalRegions_ > 0 && std::ranges::find(kAllowedInRegion, slot) == kAllowedInRegion.end()) {
        callsInCriticalRegion_.emplace_back(name);
    }
}

jclass FaultEnv::globalClass(const char* className)
{
    jclass local = real_->FindClass(className);
    if (local == nullptr) {
        real_->ExceptionClear();
        ADD_FAILURE() << "FaultEnv: class " << className << " not found";
        return nullptr;
    }
    auto global = static_cast<jclass>(real_->NewGlobalRef(local));
    real_->DeleteLocalRef(local);
    globals_.push_back(global);
    return global;
}

} // namespace ven::test
