// Helpers for Java exceptions and Java strings on the real env (every call that can throw is
// followed by an exception check, as checked JNI demands), for ks strings and trace streams.
#include "support/utf16_reference.hpp"
#include "support/ven_test.hpp"

namespace ven::test
{

namespace
{

// Calls a no-argument String method; nullopt for null, "<name threw>" when it throws.
std::optional<std::string> callStringMethod(JNIEnv* env, jobject target, const char* owner, const char* name)
{
    jclass ownerClass = env->FindClass(owner);
    jmethodID method = env->GetMethodID(ownerClass, name, "()Ljava/lang/String;");
    env->DeleteLocalRef(ownerClass);
    auto text = static_cast<jstring>(env->CallObjectMethodA(target, method, nullptr));
    if (env->ExceptionCheck()) {
        env->ExceptionClear();
        return "<" + std::string(name) + " threw>";
    }
    std::optional<std::string> result = text ? std::optional(utf8(env, text)) : std::nullopt;
    env->DeleteLocalRef(text);
    return result;
}

// "class: \"message\"" ("class: null" for null), or only the class.
std::string describe(const std::string& className, bool withMessage,
                     const std::optional<std::string>& message)
{
    return withMessage ? className + ": " + (message ? "\"" + *message + "\"" : "null") : className;
}

// Takes the pending exception, which must be of `className` (nullptr: none may be pending, and
// one that is gets its stack trace printed) and, when `checkMessage`, have `message` (nullptr: null).
void takeExpected(JNIEnv* env, const char* className, bool checkMessage, const char* message,
                  std::source_location where)
{
    const std::string expected =
        className
            ? describe(className, checkMessage, message ? std::optional<std::string>(message) : std::nullopt)
            : "nothing";
    jthrowable pending = env->ExceptionOccurred();
    std::string got = "nothing";
    if (pending != nullptr) {
        className != nullptr ? env->ExceptionClear() : env->ExceptionDescribe(); // both clear it
        jclass throwableClass = env->GetObjectClass(pending);
        got = describe(callStringMethod(env, throwableClass, "java/lang/Class", "getName").value_or("?"),
                       checkMessage || !className,
                       callStringMethod(env, pending, "java/lang/Throwable", "getMessage"));
        env->DeleteLocalRef(throwableClass);
        env->DeleteLocalRef(pending);
    }
    if (got != expected) {
        ADD_FAILURE_AT(where.file_name(), static_cast<int>(where.line()))
            << "pending: " << got << "\n  expected: " << expected;
    }
}

} // namespace

void ExpectPending(JNIEnv* env, const char* className, const char* message, std::source_location where)
{
    takeExpected(env, className, true, message, where);
}

void ExpectPendingClass(JNIEnv* env, const char* className, std::source_location where)
{
    takeExpected(env, className, false, nullptr, where);
}

void ExpectNoPending(JNIEnv* env, std::source_location where)
{
    takeExpected(env, nullptr, false, nullptr, where);
}

jthrowable makeThrowable(JNIEnv* env, const char* className, const char* message)
{
    jclass throwableClass = findClass(env, className);
    jmethodID constructor = throwableClass != nullptr
                                ? env->GetMethodID(throwableClass, "<init>", "(Ljava/lang/String;)V")
                                : nullptr;
    ExpectNoPending(env);
    jvalue argument{.l = message != nullptr ? jstr(env, message) : nullptr};
    auto throwable = constructor != nullptr
                         ? static_cast<jthrowable>(env->NewObjectA(throwableClass, constructor, &argument))
                         : nullptr;
    ExpectNoPending(env);
    env->DeleteLocalRef(argument.l);
    env->DeleteLocalRef(throwableClass);
    return throwable;
}

jclass findClass(JNIEnv* env, const char* name, std::source_location where)
{
    jclass found = env->FindClass(name);
    if (found == nullptr) {
        env->ExceptionClear();
        ADD_FAILURE_AT(where.file_name(), static_cast<int>(where.line())) << "class " << name << " not found";
    }
    return found;
}

jstring jstr(JNIEnv* env, std::string_view text)
{
    std::u32string points = codePoints(ksStr(text));
    Utf16Units encoded =
        referenceEncode(std::span<const std::uint32_t>(reinterpret_cast<const std::uint32_t*>(points.data()),
                                                       points.size()))
            .units;
    return jstr(env, std::u16string_view(reinterpret_cast<const char16_t*>(encoded.data()), encoded.size()));
}

jstring jstr(JNIEnv* env, std::u16string_view text)
{
    jstring string =
        env->NewString(reinterpret_cast<const jchar*>(text.data()), static_cast<jsize>(text.size()));
    ExpectNoPending(env);
    return string;
}

std::u16string units(JNIEnv* env, jstring string)
{
    std::u16string result(static_cast<std::size_t>(env->GetStringLength(string)), u'\0');
    env->GetStringRegion(string, 0, static_cast<jsize>(result.size()),
                         reinterpret_cast<jchar*>(result.data()));
    return result;
}

std::string utf8(JNIEnv* env, jstring string)
{
    std::u16string text = units(env, string);
    std::optional<CodePoints> points = referenceDecode(
        std::span<const std::uint16_t>(reinterpret_cast<const std::uint16_t*>(text.data()), text.size()));
    if (!points) {
        ADD_FAILURE() << "unpaired high surrogate in a Java string";
        return {};
    }
    static_assert(sizeof(std::uint32_t) == sizeof(KS_CHAR));
    KsRef<ksString> copy(ksStringCreateFromChars(reinterpret_cast<const KS_CHAR*>(points->data()),
                                                 static_cast<KS_INT>(points->size())));
    return utf8(copy.get());
}

KsRef<ksString> ksStr(std::string_view text)
{
    return KsRef<ksString>(
        ksStringCreateFromCstr(text.empty() ? "" : text.data(), static_cast<KS_INT>(text.size())));
}

std::vector<std::string> Trace::lines() const
{
    std::vector<std::string> result;
    KS_INT count = lgStreamLineCount(stream_);
    for (KS_INT index = 0; index < count; ++index) {
        KsRef<ksString> line(lgStreamLineAt(stream_, index));
        result.push_back(utf8(line.get()));
    }
    return result;
}

std::string utf8(const ksString* string)
{
    if (string == nullptr) {
        return "<NULL ksString>";
    }
    char* text = ksStringToUtf8Cstr(string);
    std::string result = text;
    ksMemFree(text);
    return result;
}

std::u32string codePoints(const ksString* string)
{
    if (string == nullptr) {
        return {};
    }
    const KS_CHAR* chars = ksStringBacking(string);
    return std::u32string(chars, chars + ksStringLength(string));
}

} // namespace ven::test
