// A fault-injecting JNIEnv. The JVM finds its thread from the JNIEnv pointer, so a fake one
// cannot reach it; instead every table entry of the fake is a trampoline that calls the real
// entry with the real env, unless a test replaced that entry. The trampolines also count
// calls and keep a ledger of the local references that pass through them.
#pragma once

#include <jni.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "support/jni_table.hpp"

namespace ven::test
{

// The local references that entries of one FaultEnv handed out (every non-NULL reference result
// but NewGlobalRef's and NewWeakGlobalRef's, an override's too) and not yet deleted with
// DeleteLocalRef, nor dropped by a PopLocalFrame whose PushLocalFrame also went through this env.
// The JVM reuses the value of a deleted reference, so isLive answers for the value, not the object.
class LocalRefLedger
{
  public:
    int deleted() const { return deleted_; } // non-NULL DeleteLocalRef calls
    int live() const { return static_cast<int>(live_.size()); }
    bool isLive(jobject ref) const { return ref != nullptr && std::ranges::find(live_, ref) != live_.end(); }

    void noteCreated(jobject ref);
    void noteDeleted(jobject ref);
    void notePushed() { frames_.push_back(live_.size()); }
    void notePopped();

  private:
    std::vector<jobject> live_;       // in creation order
    std::vector<std::size_t> frames_; // live_.size() at each PushLocalFrame
    int deleted_ = 0;
};

namespace detail
{

template <auto A, auto B> inline constexpr bool kSameEntry = false;
template <auto A> inline constexpr bool kSameEntry<A, A> = true;

// jobject and the handle types derived from it; not jmethodID, jfieldID or primitives.
template <typename R>
inline constexpr bool kIsReference = std::is_pointer_v<R>&& std::is_convertible_v<R, jobject>;

// The slot of a table entry, counted in pointers from the start of the table.
template <auto Member> std::size_t slotOf()
{
    static const JNINativeInterface_ probe{};
    return static_cast<std::size_t>(reinterpret_cast<const char*>(&(probe.*Member)) -
                                    reinterpret_cast<const char*>(&probe)) /
           sizeof(void*);
}

const char* entryName(std::size_t slot);

template <auto Member> struct JniEntry;

} // namespace detail

class FaultEnv
{
  public:
    explicit FaultEnv(JNIEnv* real);
    ~FaultEnv();
    FaultEnv(const FaultEnv&) = delete;
    FaultEnv& operator=(const FaultEnv&) = delete;

    // The fake env to hand to the code under test, and the env it forwards to.
    JNIEnv* env() { return &block_.env; }
    JNIEnv* real() const { return real_; }

    // Which call of an entry a replacement takes, counted from when it was installed (1 is the
    // first call after it); 0: all. A fault on the first FindClass only, say, leaves the exception
    // trace's own FindClass working.
    struct Calls {
        int only = 0;
        static Calls nth(int n) { return {n}; }
    };

    // Replaces one entry: `callable` receives the REAL env and the entry's arguments.
    template <auto Member, typename Callable> void override(Callable&& callable, Calls calls = {})
    {
        using Function = typename detail::JniEntry<Member>::Function;
        overrides_[detail::slotOf<Member>()] = {std::make_shared<Function>(std::forward<Callable>(callable)),
                                                calls, 0};
    }
    // Canned faults: the entry returns `value` and does nothing else (a NULL without raising, a
    // -1 status, a negative length), or throws `className` with `message` and returns `failure`
    // (none: the entry's zero, or nothing for a void entry).
    template <auto Member> void returnValue(typename detail::JniEntry<Member>::Result value, Calls calls = {})
    {
        override<Member>([value](JNIEnv*, auto...) { return value; }, calls);
    }
    template <auto Member>
    void raiseReturning(const char* className, const char* message,
                        typename detail::JniEntry<Member>::Result failure, Calls calls = {})
    {
        raise<Member>(className, message, calls, failure);
    }
    template <auto Member, typename... Failure>
    void raise(const char* className, const char* message, Calls calls = {}, Failure... failure)
    {
        override<Member>(
            [throwable = globalClass(className), text = std::string(message), failure...](JNIEnv* real,
                                                                                          auto...) {
                real->ThrowNew(throwable, text.c_str());
                return typename detail::JniEntry<Member>::Result(failure...);
            },
            calls);
    }
    template <auto Member> void raiseOutOfMemory(Calls calls = {})
    {
        raise<Member>("java/lang/OutOfMemoryError", "injected by FaultEnv", calls);
    }

    // How often an entry was called through this env, and the names of all entries called,
    // in order.
    template <auto Member> int calls() const { return calls_[detail::slotOf<Member>()]; }
    const std::vector<std::string>& trail() const { return trail_; }
    // The calls made while a critical region (GetStringCritical, GetPrimitiveArrayCritical) was
    // open, other than a release and the ExceptionCheck that a checked-result wrapper makes there.
    const std::vector<std::string>& callsInCriticalRegion() const { return callsInCriticalRegion_; }

    LocalRefLedger& ledger() { return ledger_; }

    // For the trampolines.
    static FaultEnv& owning(JNIEnv* fake) { return *reinterpret_cast<Block*>(fake)->owner; }
    // The replacement that takes this call of the entry, or NULL to forward it.
    void* replacementFor(std::size_t slot);
    void noteCall(std::size_t slot);
    void noteCriticalRegion(int opened) { openCriticalRegions_ += opened; }

  private:
    // Standard layout with the env first, so that the JNIEnv* leads back to its FaultEnv.
    struct Block {
        JNIEnv env;
        FaultEnv* owner;
    };

    jclass globalClass(const char* className);

    Block block_;
    JNINativeInterface_ table_;
    JNIEnv* real_;
    struct Replacement {
        std::shared_ptr<void> function; // a detail::JniEntry<Member>::Function
        Calls calls;
        int seen = 0;
    };

    std::array<Replacement, detail::kJniTableSlots> overrides_{};
    std::array<int, detail::kJniTableSlots> calls_{};
    std::vector<std::string> trail_;
    std::vector<std::string> callsInCriticalRegion_;
    int openCriticalRegions_ = 0;
    std::vector<jobject> globals_;
    LocalRefLedger ledger_;
};

// The local references live in a FaultEnv's ledger, leaving out the throwables taken with
// ExceptionOccurred: a wrapper sets a pending exception aside that way, and whether it deletes
// that reference after a failure is left open.
struct LeakCheck {
    explicit LeakCheck(FaultEnv& fault) : fault(fault)
    {
        fault.override<&JNINativeInterface_::ExceptionOccurred>(
            [this](JNIEnv* real) { return *throwables.insert(real->ExceptionOccurred()).first; });
    }
    int live() const
    {
        auto isLive = [this](jthrowable t) { return fault.ledger().isLive(t); };
        return fault.ledger().live() -
               static_cast<int>(std::count_if(throwables.begin(), throwables.end(), isLive));
    }
    FaultEnv& fault;
    std::set<jthrowable> throwables;
};

namespace detail
{

template <typename R, typename... A, R (JNICALL* JNINativeInterface_::*Member)(JNIEnv*, A...)>
struct JniEntry<Member> {
    using Result = R;
    using Function = std::function<R(JNIEnv*, A...)>;

    static R JNICALL trampoline(JNIEnv* fake, A... args)
    {
        FaultEnv& self = FaultEnv::owning(fake);
        self.noteCall(slotOf<Member>());
        auto* replacement = static_cast<Function*>(self.replacementFor(slotOf<Member>()));
        auto forward = [&] {
            return replacement != nullptr ? (*replacement)(self.real(), args...)
                                          : (self.real()->functions->*Member)(self.real(), args...);
        };
        // The void entries only end something, so their note may come first.
        if constexpr (kSameEntry<Member, &JNINativeInterface_::DeleteLocalRef>) {
            self.ledger().noteDeleted(args...);
        }
        if constexpr (kSameEntry<Member, &JNINativeInterface_::ReleaseStringCritical> ||
                      kSameEntry<Member, &JNINativeInterface_::ReleasePrimitiveArrayCritical>) {
            self.noteCriticalRegion(-1);
        }
        if constexpr (std::is_void_v<R>) {
            return forward();
        } else {
            R result = forward();
            if constexpr (kSameEntry<Member, &JNINativeInterface_::PushLocalFrame>) {
                if (result == JNI_OK) {
                    self.ledger().notePushed();
                }
            }
            if constexpr (kSameEntry<Member, &JNINativeInterface_::PopLocalFrame>) {
                self.ledger().notePopped();
            }
            if constexpr (kSameEntry<Member, &JNINativeInterface_::GetStringCritical> ||
                          kSameEntry<Member, &JNINativeInterface_::GetPrimitiveArrayCritical>) {
                self.noteCriticalRegion(result != nullptr ? 1 : 0);
            }
            if constexpr (kIsReference<R> && !kSameEntry<Member, &JNINativeInterface_::NewGlobalRef> &&
                          !kSameEntry<Member, &JNINativeInterface_::NewWeakGlobalRef>) {
                self.ledger().noteCreated(result);
            }
            return result;
        }
    }
};

} // namespace detail

} // namespace ven::test
