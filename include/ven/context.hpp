// The call context of a native method: the thread's env and the module's trace stream, held
// once so that calls read ctx.call(obj, method, args...). Every operation is one call of the
// C API with its conventions intact (argument failures, the saved pending exception, trace
// lines); what the C call hands over comes back owned, in a std::optional that is empty
// exactly when the C call returned KS_FALSE and left a Java exception pending.
#ifndef VEN_CONTEXT_HPP
#define VEN_CONTEXT_HPP

#include <cstddef>
#include <optional>
#include <type_traits>
#include <utility>

#include "ven/handles.hpp"
#include "ven/signature.hpp"
#include "ven/ven.h"

namespace ven
{

// IDs typed by what they name, so that calls and field accesses check their arguments and
// pick their C function at compile time. Sig is a C++ function type R(A...) over the types
// of signature.hpp; T a field's type.
template <typename Sig, bool IsStatic> struct MethodId {
    jmethodID id = nullptr;
    operator jmethodID() const { return id; }
};
template <typename T, bool IsStatic> struct FieldId {
    jfieldID id = nullptr;
    operator jfieldID() const { return id; }
};
template <typename Sig> using Method = MethodId<Sig, false>;
template <typename Sig> using StaticMethod = MethodId<Sig, true>;
template <typename T> using Field = FieldId<T, false>;
template <typename T> using StaticField = FieldId<T, true>;

namespace detail
{

// The C functions of each JNI value type: a row per primitive, one for every reference type,
// one for void. Value is the type the C API speaks (KS_INT for jint, KS_BOOL for jboolean).
template <typename J> struct Kind;

#define VEN_CXX_KIND_FUNCTIONS(Name)                                                                         \
    template <typename... X> static KS_BOOL call(Value* out, JNIEnv* env, lgStream* trace, X... x)           \
    {                                                                                                        \
        return venCall##Name##Method(out, env, trace, x...);                                                 \
    }                                                                                                        \
    template <typename... X> static KS_BOOL callNonvirtual(Value* out, JNIEnv* env, lgStream* trace, X... x) \
    {                                                                                                        \
        return venCallNonvirtual##Name##Method(out, env, trace, x...);                                       \
    }                                                                                                        \
    template <typename... X> static KS_BOOL callStatic(Value* out, JNIEnv* env, lgStream* trace, X... x)     \
    {                                                                                                        \
        return venCallStatic##Name##Method(out, env, trace, x...);                                           \
    }                                                                                                        \
    static constexpr auto read = &venGet##Name##Field;                                                       \
    static constexpr auto readStatic = &venGetStatic##Name##Field;                                           \
    static constexpr auto write = &venSet##Name##Field;                                                      \
    static constexpr auto writeStatic = &venSetStatic##Name##Field;

#define VEN_CXX_PRIMITIVE_KIND(J, Name, V)                                                                   \
    template <> struct Kind<J> {                                                                             \
        using Value = V;                                                                                     \
        VEN_CXX_KIND_FUNCTIONS(Name)                                                                         \
    };
VEN_CXX_PRIMITIVE_KIND(jboolean, Boolean, KS_BOOL)
VEN_CXX_PRIMITIVE_KIND(jbyte, Byte, jbyte)
VEN_CXX_PRIMITIVE_KIND(jchar, Char, KS_CHAR)
VEN_CXX_PRIMITIVE_KIND(jshort, Short, KS_INT)
VEN_CXX_PRIMITIVE_KIND(jint, Int, KS_INT)
VEN_CXX_PRIMITIVE_KIND(jlong, Long, KS_INT)
VEN_CXX_PRIMITIVE_KIND(jfloat, Float, double)
VEN_CXX_PRIMITIVE_KIND(jdouble, Double, double)
template <Reference J> struct Kind<J> {
    using Value = jobject;
    VEN_CXX_KIND_FUNCTIONS(Object)
};
#undef VEN_CXX_PRIMITIVE_KIND
#undef VEN_CXX_KIND_FUNCTIONS

template <> struct Kind<void> {
    struct Value {
    };
    template <typename... X> static KS_BOOL call(Value*, JNIEnv* env, lgStream* trace, X... x)
    {
        return venCallVoidMethod(env, trace, x...);
    }
    template <typename... X> static KS_BOOL callNonvirtual(Value*, JNIEnv* env, lgStream* trace, X... x)
    {
        return venCallNonvirtualVoidMethod(env, trace, x...);
    }
    template <typename... X> static KS_BOOL callStatic(Value*, JNIEnv* env, lgStream* trace, X... x)
    {
        return venCallStaticVoidMethod(env, trace, x...);
    }
};

template <typename T>
inline constexpr bool kKsObject =
    std::is_same_v<T, ksString*> || std::is_same_v<T, ksBuffer*> || std::is_same_v<T, ksVector*>;

// What an out-parameter's value becomes: local references and ks objects owned, plain values
// and IDs as they are. Pinned element pointers have no owner here (see Critical).
template <typename Owner, typename Out> auto own(JNIEnv* env, Out value)
{
    if constexpr (Reference<Owner>) {
        return Local<Owner>(env, static_cast<Owner>(value));
    } else if constexpr (kKsObject<Out>) {
        return Ks<std::remove_pointer_t<Out>>(value);
    } else {
        static_assert(std::is_arithmetic_v<Out> || std::is_same_v<Out, jfieldID> ||
                          std::is_same_v<Out, jmethodID>,
                      "this out-parameter needs an owner of its own (pinned elements: use Critical)");
        return value;
    }
}

template <typename Owner, typename Out>
auto deliver(JNIEnv* env, KS_BOOL ok, Out out) -> std::optional<decltype(own<Owner>(env, out))>
{
    auto owned = own<Owner>(env, out); // owned before the test: a failure leaves nothing behind
    if (ok != KS_TRUE) {
        return std::nullopt;
    }
    return owned;
}

template <typename F> struct OutParameter;
template <typename Out, typename... P> struct OutParameter<KS_BOOL (*)(Out*, JNIEnv*, lgStream*, P...)> {
    using Type = Out;
};

// C functions whose out-parameter is not a local reference or one value: they have their own
// members of Context, or stay with the C API.
template <auto Fn> inline constexpr bool kNotThroughGet = false;
template <> inline constexpr bool kNotThroughGet<&venNewGlobalRef> = true;
template <> inline constexpr bool kNotThroughGet<&venNewWeakGlobalRef> = true;
template <> inline constexpr bool kNotThroughGet<&venCopyIntArrayElements> = true;
template <> inline constexpr bool kNotThroughGet<&venCopyDoubleArrayElements> = true;

template <typename A> struct Element;
#define VEN_CXX_ELEMENT(type, letter)                                                                        \
    template <> struct Element<type##Array> {                                                                \
        using Type = type;                                                                                   \
    };
VEN_CXX_PRIMITIVE_TYPES(VEN_CXX_ELEMENT)
#undef VEN_CXX_ELEMENT

} // namespace detail

// What a native method returns after ending with a Java exception: zero of any result type.
struct Failure {
    template <typename R> operator R() const { return R{}; }
};

class Context
{
  public:
    Context(JNIEnv* threadEnv, lgStream* traceStream) : env(threadEnv), trace(traceStream) {}

    JNIEnv* const env;
    lgStream* const trace;

    // Any C function of the form venX(&result, env, trace, args...): the result, owned.
    template <auto Fn, typename... Args> [[nodiscard]] auto get(Args&&... args) const
    {
        static_assert(!detail::kNotThroughGet<Fn>, "use Context::global, or the C function itself");
        using Out = typename detail::OutParameter<decltype(Fn)>::Type;
        Out out{};
        const KS_BOOL ok = Fn(&out, env, trace, std::forward<Args>(args)...);
        return detail::deliver<Out>(env, ok, out);
    }
    // Any C function of the form venX(env, trace, args...): whether it succeeded.
    template <auto Fn, typename... Args> [[nodiscard]] bool run(Args&&... args) const
    {
        return Fn(env, trace, std::forward<Args>(args)...) == KS_TRUE;
    }

    [[nodiscard]] std::optional<Local<jclass>> findClass(const char* name) const
    {
        return get<venFindClass>(name);
    }
    template <Reference T> [[nodiscard]] std::optional<Global<T>> global(T ref) const
    {
        jobject global = nullptr;
        if (venNewGlobalRef(&global, env, trace, ref) != KS_TRUE) {
            return std::nullopt;
        }
        return Global<T>(static_cast<T>(global));
    }
    template <Reference T> [[nodiscard]] std::optional<Global<T>> global(const Local<T>& ref) const
    {
        return global(ref.get());
    }

    // Lookups with the signature computed from Sig (a constructor is Method<void(A...)>
    // named "<init>").
    template <typename Sig>
    [[nodiscard]] std::optional<Method<Sig>> method(jclass clazz, const char* name) const
    {
        return lookup<Method<Sig>, venGetMethodID>(clazz, name, signatureOf<Sig>.c_str());
    }
    template <typename Sig>
    [[nodiscard]] std::optional<StaticMethod<Sig>> staticMethod(jclass clazz, const char* name) const
    {
        return lookup<StaticMethod<Sig>, venGetStaticMethodID>(clazz, name, signatureOf<Sig>.c_str());
    }
    template <typename T> [[nodiscard]] std::optional<Field<T>> field(jclass clazz, const char* name) const
    {
        return lookup<Field<T>, venGetFieldID>(clazz, name, descriptorOf<T>.c_str());
    }
    template <typename T>
    [[nodiscard]] std::optional<StaticField<T>> staticField(jclass clazz, const char* name) const
    {
        return lookup<StaticField<T>, venGetStaticFieldID>(clazz, name, descriptorOf<T>.c_str());
    }

    // Calls: the arguments convert to the method's parameter types without narrowing; the
    // result is bool for void, an optional value or local reference otherwise.
    template <typename R, typename... A, typename... Args>
    [[nodiscard]] auto call(jobject obj, Method<R(A...)> method, Args&&... args) const
    {
        static_assert(sizeof...(A) == sizeof...(Args), "wrong number of arguments");
        typename detail::Kind<JniOf<R>>::Value out{};
        const KS_BOOL ok = detail::Kind<JniOf<R>>::call(&out, env, trace, obj, method.id,
                                                        JniOf<A>{std::forward<Args>(args)}...);
        return result<R>(ok, out);
    }
    template <typename R, typename... A, typename... Args>
    [[nodiscard]] auto call(jclass clazz, StaticMethod<R(A...)> method, Args&&... args) const
    {
        static_assert(sizeof...(A) == sizeof...(Args), "wrong number of arguments");
        typename detail::Kind<JniOf<R>>::Value out{};
        const KS_BOOL ok = detail::Kind<JniOf<R>>::callStatic(&out, env, trace, clazz, method.id,
                                                              JniOf<A>{std::forward<Args>(args)}...);
        return result<R>(ok, out);
    }
    template <typename R, typename... A, typename... Args>
    [[nodiscard]] auto callNonvirtual(jobject obj, jclass clazz, Method<R(A...)> method, Args&&... args) const
    {
        static_assert(sizeof...(A) == sizeof...(Args), "wrong number of arguments");
        typename detail::Kind<JniOf<R>>::Value out{};
        const KS_BOOL ok = detail::Kind<JniOf<R>>::callNonvirtual(&out, env, trace, obj, clazz, method.id,
                                                                  JniOf<A>{std::forward<Args>(args)}...);
        return result<R>(ok, out);
    }
    template <typename... A, typename... Args>
    [[nodiscard]] std::optional<Local<jobject>> construct(jclass clazz, Method<void(A...)> constructor,
                                                          Args&&... args) const
    {
        static_assert(sizeof...(A) == sizeof...(Args), "wrong number of arguments");
        jobject out = nullptr;
        const KS_BOOL ok =
            venNewObject(&out, env, trace, clazz, constructor.id, JniOf<A>{std::forward<Args>(args)}...);
        return detail::deliver<jobject>(env, ok, out);
    }

    // Field access in the C API's value types (KS_INT for an int field, a local reference
    // for an object field); an int, short or char field written out of range is refused.
    template <typename T> [[nodiscard]] auto read(jobject obj, Field<T> field) const
    {
        typename detail::Kind<JniOf<T>>::Value out{};
        const KS_BOOL ok = detail::Kind<JniOf<T>>::read(&out, env, trace, obj, field.id);
        return detail::deliver<JniOf<T>>(env, ok, out);
    }
    template <typename T> [[nodiscard]] auto read(jclass clazz, StaticField<T> field) const
    {
        typename detail::Kind<JniOf<T>>::Value out{};
        const KS_BOOL ok = detail::Kind<JniOf<T>>::readStatic(&out, env, trace, clazz, field.id);
        return detail::deliver<JniOf<T>>(env, ok, out);
    }
    template <typename T, typename V> [[nodiscard]] bool write(jobject obj, Field<T> field, V&& value) const
    {
        return detail::Kind<JniOf<T>>::write(env, trace, obj, field.id, std::forward<V>(value)) == KS_TRUE;
    }
    template <typename T, typename V>
    [[nodiscard]] bool write(jclass clazz, StaticField<T> field, V&& value) const
    {
        return detail::Kind<JniOf<T>>::writeStatic(env, trace, clazz, field.id, std::forward<V>(value)) ==
               KS_TRUE;
    }

    // The elements of a primitive array, pinned until the region ends (see Critical).
    template <Reference A, typename E = typename detail::Element<A>::Type>
    [[nodiscard]] std::optional<Critical<E>> critical(A array, jint mode = 0) const
    {
        const auto length = get<venGetArrayLength>(array);
        void* elements = nullptr;
        if (!length || venGetPrimitiveArrayCritical(&elements, env, trace, array, nullptr) != KS_TRUE) {
            return std::nullopt;
        }
        return std::optional<Critical<E>>(std::in_place, env, trace, array, static_cast<E*>(elements),
                                          *length, mode);
    }
    template <Reference A> [[nodiscard]] auto critical(const Local<A>& array, jint mode = 0) const
    {
        return critical(array.get(), mode);
    }

    template <std::size_t N>
    [[nodiscard]] bool registerNatives(jclass clazz, const JNINativeMethod (&table)[N]) const
    {
        return run<venRegisterNatives>(clazz, table, static_cast<jint>(N));
    }

    // Ends a native method with exactly one Java exception pending: when a call before has
    // left one, that one stays (it says what went wrong first); otherwise an
    // IllegalArgumentException "<methodName>: <message>" is thrown and traced.
    Failure fail(const char* methodName, const char* message) const
    {
        if (venExceptionCheck(env) == KS_FALSE) {
            venIllegalArgumentExceptionThrowUseMessageCstr(env, trace, methodName, message);
        }
        return {};
    }

  private:
    template <typename Id, auto Lookup>
    std::optional<Id> lookup(jclass clazz, const char* name, const char* signature) const
    {
        auto id = get<Lookup>(clazz, name, signature);
        return id ? std::optional<Id>(Id{*id}) : std::nullopt;
    }
    template <typename R, typename Value> auto result(KS_BOOL ok, Value out) const
    {
        if constexpr (std::is_void_v<R>) {
            return ok == KS_TRUE;
        } else {
            return detail::deliver<JniOf<R>>(env, ok, out);
        }
    }
};

// The calling thread's env for the scope: attached here if it was not attached yet, and then
// detached again at the end; a thread that was attached already stays attached.
class AttachedThread
{
  public:
    enum class As { Normal, Daemon };

    explicit AttachedThread(As as = As::Normal) : env_(venTryGetMainJniEnv()), attachedHere_(env_ == nullptr)
    {
        if (attachedHere_) {
            env_ = as == As::Daemon ? venAttachCurrentThreadAsDaemon() : venAttachCurrentThread();
        }
    }
    ~AttachedThread()
    {
        if (attachedHere_) {
            venDetachCurrentThread();
        }
    }
    AttachedThread(const AttachedThread&) = delete;
    AttachedThread& operator=(const AttachedThread&) = delete;

    JNIEnv* env() const { return env_; }
    bool attachedHere() const { return attachedHere_; }

  private:
    JNIEnv* env_;
    bool attachedHere_;
};

} // namespace ven

#endif
