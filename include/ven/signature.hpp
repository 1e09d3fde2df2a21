// JNI type descriptors computed from C++ types at compile time: "I" for jint, "[B" for
// jbyteArray, "(Ljava/lang/Object;I)Ljava/lang/Object;" for jobject(jobject, jint).
// Classes that JNI's C types cannot name are spelt with ven::Object<"pkg/Name"> and
// ven::Array<T>; each C++ type also names the JNI type a value of it travels as.
#ifndef VEN_SIGNATURE_HPP
#define VEN_SIGNATURE_HPP

#include <jni.h>

#include <cstddef>
#include <type_traits>

namespace ven
{

// A NUL-terminated text usable as a template argument and joinable in constant expressions.
template <std::size_t N> struct FixedString {
    char text[N]{};

    constexpr FixedString() = default;
    constexpr FixedString(const char (&literal)[N])
    {
        for (std::size_t i = 0; i < N; ++i) {
            text[i] = literal[i];
        }
    }
    constexpr const char* c_str() const { return text; }
    static constexpr std::size_t length() { return N - 1; }
};

template <std::size_t A, std::size_t B>
constexpr FixedString<A + B - 1> operator+(const FixedString<A>& left, const FixedString<B>& right)
{
    FixedString<A + B - 1> joined;
    for (std::size_t i = 0; i + 1 < A; ++i) {
        joined.text[i] = left.text[i];
    }
    for (std::size_t i = 0; i < B; ++i) {
        joined.text[A - 1 + i] = right.text[i];
    }
    return joined;
}

// An instance of the class with this JNI name ("java/util/ArrayList"); travels as jobject.
template <FixedString Name> struct Object {
};
// An array of T; travels as the matching jXArray, or jobjectArray for any reference T.
template <typename T> struct Array {
};

// JavaType<T>::descriptor is T's descriptor, JavaType<T>::Jni the JNI type of its values.
// Types with no row (jarray, KS_* types that are not JNI types) do not compile.
template <typename T> struct JavaType;

#define VEN_CXX_JAVA_TYPE(type, text)                                                                        \
    template <> struct JavaType<type> {                                                                      \
        using Jni = type;                                                                                    \
        static constexpr FixedString descriptor{text};                                                       \
    };
// clang-format off
#define VEN_CXX_PRIMITIVE_TYPES(X) \
    X(jboolean, Z) X(jbyte, B) X(jchar, C) X(jshort, S) X(jint, I) X(jlong, J) X(jfloat, F) X(jdouble, D)
// clang-format on
#define VEN_CXX_PRIMITIVE_ROWS(type, letter)                                                                 \
    VEN_CXX_JAVA_TYPE(type, #letter)                                                                         \
    VEN_CXX_JAVA_TYPE(type##Array, "[" #letter)                                                              \
    template <> struct JavaType<Array<type>> : JavaType<type##Array> {                                       \
    };
VEN_CXX_PRIMITIVE_TYPES(VEN_CXX_PRIMITIVE_ROWS)
VEN_CXX_JAVA_TYPE(void, "V")
VEN_CXX_JAVA_TYPE(jobject, "Ljava/lang/Object;")
VEN_CXX_JAVA_TYPE(jclass, "Ljava/lang/Class;")
VEN_CXX_JAVA_TYPE(jstring, "Ljava/lang/String;")
VEN_CXX_JAVA_TYPE(jthrowable, "Ljava/lang/Throwable;")
VEN_CXX_JAVA_TYPE(jobjectArray, "[Ljava/lang/Object;")
#undef VEN_CXX_PRIMITIVE_ROWS
#undef VEN_CXX_JAVA_TYPE

template <FixedString Name> struct JavaType<Object<Name>> {
    using Jni = jobject;
    static constexpr FixedString descriptor = FixedString{"L"} + Name + FixedString{";"};
};
template <typename T> struct JavaType<Array<T>> {
    static_assert(!std::is_void_v<T>, "there are no arrays of void");
    using Jni = jobjectArray;
    static constexpr FixedString descriptor = FixedString{"["} + JavaType<T>::descriptor;
};

template <typename T> using JniOf = typename JavaType<T>::Jni;
template <typename T> inline constexpr auto descriptorOf = JavaType<T>::descriptor;

// The method descriptor of a C++ function type R(A...), as the constant signatureOf<R(A...)>.
template <typename F> struct MethodType;
template <typename R, typename... A> struct MethodType<R(A...)> {
    static constexpr auto descriptor =
        (FixedString{"("} + ... + JavaType<A>::descriptor) + FixedString{")"} + JavaType<R>::descriptor;
    template <typename Receiver> using Native = JniOf<R> (*)(JNIEnv*, Receiver, JniOf<A>...);
};
template <typename F> inline constexpr auto signatureOf = MethodType<F>::descriptor;

// A row of a RegisterNatives table whose signature is computed from Sig; the function must
// take exactly the JNI types Sig's values travel as, after JNIEnv* and jclass (a static
// native) or jobject (an instance native).
template <typename Sig, typename Function> JNINativeMethod native(const char* name, Function* function)
{
    using Type = MethodType<Sig>;
    static_assert(std::is_same_v<Function*, typename Type::template Native<jclass>> ||
                      std::is_same_v<Function*, typename Type::template Native<jobject>>,
                  "the native's C++ type does not match its Java signature");
    return {const_cast<char*>(name), const_cast<char*>(signatureOf<Sig>.c_str()),
            reinterpret_cast<void*>(function)};
}

} // namespace ven

#endif
