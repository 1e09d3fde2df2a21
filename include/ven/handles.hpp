// Move-only owners of what a native method must give back: local and global references,
// ks objects and pinned critical regions. Each lets go on scope exit through the C API
// (venDeleteLocalRef, venDeleteGlobalRef, ksObjRelease, venReleasePrimitiveArrayCritical),
// so a failure path needs no clean-up of its own; C++ destroys them in reverse order of
// construction, so a region pinned after its array is handed back before the array's
// reference goes.
#ifndef VEN_HANDLES_HPP
#define VEN_HANDLES_HPP

#include <optional>
#include <type_traits>
#include <utility>

#include "ven/ven.h"

namespace ven
{

template <typename T>
concept Reference = std::is_pointer_v<T> && std::is_convertible_v<T, jobject>;

// One local reference of the thread whose env made it. Assigning another one stores the new
// reference before deleting the old, as the C API's out-parameters do.
template <Reference T = jobject> class Local
{
  public:
    Local() = default;
    Local(JNIEnv* env, T ref) : env_(env), ref_(ref) {}
    Local(Local&& other) noexcept : env_(other.env_), ref_(other.release()) {}
    Local& operator=(Local&& other) noexcept
    {
        JNIEnv* const env = env_;
        const T old = std::exchange(ref_, other.release());
        env_ = other.env_;
        if (old != nullptr) {
            venDeleteLocalRef(env, old);
        }
        return *this;
    }
    Local(const Local&) = delete;
    Local& operator=(const Local&) = delete;
    ~Local() { reset(); }

    T get() const { return ref_; }
    operator T() const { return ref_; }
    explicit operator bool() const { return ref_ != nullptr; }
    // A borrowed view as a more specific type, e.g. an Object[] element known to be a String.
    template <Reference U> U as() const { return static_cast<U>(ref_); }
    // Gives the reference up, e.g. to return it to Java.
    T release() { return std::exchange(ref_, nullptr); }
    void reset()
    {
        if (ref_ != nullptr) {
            venDeleteLocalRef(env_, release());
        }
    }

  private:
    JNIEnv* env_ = nullptr;
    T ref_ = nullptr;
};

// What a native returns to Java from an optional local: the reference, or NULL after a
// failure (whose exception is then pending).
template <Reference T> T release(std::optional<Local<T>>&& local)
{
    return local ? local->release() : nullptr;
}

// A global reference. It may outlive the native call and be dropped on any thread, so the
// deletion asks the frame for the calling thread's env, which must be attached then.
template <Reference T = jobject> class Global
{
  public:
    Global() = default;
    explicit Global(T ref) : ref_(ref) {}
    Global(Global&& other) noexcept : ref_(std::exchange(other.ref_, nullptr)) {}
    Global& operator=(Global&& other) noexcept
    {
        Global old(std::exchange(ref_, std::exchange(other.ref_, nullptr)));
        return *this;
    }
    Global(const Global&) = delete;
    Global& operator=(const Global&) = delete;
    ~Global() { reset(); }

    T get() const { return ref_; }
    operator T() const { return ref_; }
    explicit operator bool() const { return ref_ != nullptr; }
    void reset()
    {
        if (ref_ != nullptr) {
            venDeleteGlobalRef(venGetMainJniEnv(), std::exchange(ref_, nullptr));
        }
    }

  private:
    T ref_ = nullptr;
};

// One counted reference to a ks object. slot() lends the pointer to a C out-parameter, which
// stores its new object and releases the one it replaces.
template <typename T> class Ks
{
    static_assert(std::is_same_v<T, ksString> || std::is_same_v<T, ksBuffer> || std::is_same_v<T, ksVector>,
                  "Ks owns ksString, ksBuffer or ksVector");

  public:
    Ks() = default;
    explicit Ks(T* adopted) : object_(adopted) {}
    Ks(Ks&& other) noexcept : object_(other.release()) {}
    Ks& operator=(Ks&& other) noexcept
    {
        ksObjRelease(std::exchange(object_, other.release()));
        return *this;
    }
    Ks(const Ks&) = delete;
    Ks& operator=(const Ks&) = delete;
    ~Ks() { ksObjRelease(object_); }

    T* get() const { return object_; }
    operator T*() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }
    T** slot() { return &object_; }
    T* release() { return std::exchange(object_, nullptr); }

  private:
    T* object_ = nullptr;
};

using KsString = Ks<ksString>;
using KsBuffer = Ks<ksBuffer>;
using KsVector = Ks<ksVector>;

// The elements of a primitive array pinned with venGetPrimitiveArrayCritical and handed back
// with `mode` (0: copy back and free, JNI_ABORT: free only) when the region ends. No JNI call
// may be made while it lives, so nothing in this class makes one before the release.
template <typename E> class Critical
{
    static_assert(std::is_arithmetic_v<E>, "a critical region holds primitive elements");

  public:
    Critical(JNIEnv* env, lgStream* trace, jarray array, E* elements, KS_INT length, jint mode)
        : env_(env), trace_(trace), array_(array), elements_(elements), length_(length), mode_(mode)
    {
    }
    Critical(Critical&& other) noexcept
        : env_(other.env_), trace_(other.trace_), array_(other.array_),
          elements_(std::exchange(other.elements_, nullptr)), length_(other.length_), mode_(other.mode_)
    {
    }
    Critical& operator=(Critical&&) = delete;
    Critical(const Critical&) = delete;
    ~Critical() { finish(); }

    E* data() const { return elements_; }
    KS_INT size() const { return length_; }
    E* begin() const { return elements_; }
    E* end() const { return elements_ + length_; }
    E& operator[](KS_INT index) const { return elements_[index]; }
    // Ends the region early; true when the elements went back without a failure.
    bool finish()
    {
        return elements_ == nullptr ||
               venReleasePrimitiveArrayCritical(env_, trace_, array_, std::exchange(elements_, nullptr),
                                                mode_) == KS_TRUE;
    }

  private:
    JNIEnv* env_;
    lgStream* trace_;
    jarray array_;
    E* elements_;
    KS_INT length_;
    jint mode_;
};

} // namespace ven

#endif
