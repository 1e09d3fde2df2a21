// Helpers for Java exceptions and strings on the real env. Every call that can throw is
// followed by an exception check, as checked JNI demands.
#include <algorithm>

#include "support/ven_test.hpp"

namespace ven::test
{

namespace
{

struct ThrowableText {
    std::string className;
    std::optional<std::string> message;
};

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
    if (text == nullptr) {
        return std::nullopt;
    }
    std::string result = utf8(env, text);
    env->DeleteLocalRef(text);
    return result;
}

// Needs nothing pending.
ThrowableText describeThrowable(JNIEnv* env, jthrowable throwable)
{
    jclass throwableClass = env->GetObjectClass(throwable);
    ThrowableText text;
    text.className =
        callStringMethod(env, throwableClass, "java/lang/Class", "getName").value_or("<no class name>");
    env->DeleteLocalRef(throwableClass);
    text.message = callStringMethod(env, throwable, "java/lang/Throwable", "getMessage");
    return text;
}

// The pending exception's text; the exception stays pending. nullopt when none.
std::optional<ThrowableText> describePending(JNIEnv* env)
{
    jthrowable pending = env->ExceptionOccurred();
    if (pending == nullptr) {
        return std::nullopt;
    }
    env->ExceptionClear();
    ThrowableText text = describeThrowable(env, pending);
    env->Throw(pending);
    env->DeleteLocalRef(pending);
    return text;
}

std::string show(const std::optional<std::string>& message)
{
    return message ? "\"" + *message + "\"" : "null";
}

void fail(std::source_location where, const std::string& text)
{
    ADD_FAILURE_AT(where.file_name(), static_cast<int>(where.line())) << text;
}

} // namespace

std::string pendingClassName(JNIEnv* env)
{
    std::optional<ThrowableText> pending = describePending(env);
    return pending ? pending->className : "";
}

std::optional<std::string> pendingMessage(JNIEnv* env)
{
    std::optional<ThrowableText> pending = describePending(env);
    return pending ? pending->message : std::nullopt;
}

void ExpectPending(JNIEnv* env, const char* className, const char* message, std::source_location where)
{
    std::optional<std::string> expectedMessage =
        message != nullptr ? std::optional<std::string>(message) : std::nullopt;
    std::optional<ThrowableText> pending = describePending(env);
    if (!pending) {
        fail(where, std::string("expected a pending ") + className + ": " + show(expectedMessage) +
                        ", but nothing is pending");
        return;
    }
    env->ExceptionClear();
    if (pending->className != className || pending->message != expectedMessage) {
        fail(where, "pending exception " + pending->className + ": " + show(pending->message) +
                        "\n  expected " + className + ": " + show(expectedMessage));
    }
}

void ExpectPendingClass(JNIEnv* env, const char* className, std::source_location where)
{
    std::optional<ThrowableText> pending = describePending(env);
    if (!pending) {
        fail(where, std::string("expected a pending ") + className + ", but nothing is pending");
        return;
    }
    env->ExceptionClear();
    if (pending->className != className) {
        fail(where, "pending exception " + pending->className + ": " + show(pending->message) +
                        "\n  expected class " + className);
    }
}

void ExpectNoPending(JNIEnv* env, std::source_location where)
{
    std::optional<ThrowableText> pending = describePending(env);
    if (pending) {
        env->ExceptionDescribe();
        env->ExceptionClear();
        fail(where, "unexpected pending exception " + pending->className + ": " + show(pending->message));
    }
}

jthrowable makeThrowable(JNIEnv* env, const char* className, const char* message)
{
    std::string name = className;
    std::replace(name.begin(), name.end(), '.', '/');
    jclass throwableClass = env->FindClass(name.c_str());
    if (throwableClass == nullptr) {
        env->ExceptionClear();
        ADD_FAILURE() << "makeThrowable: no class " << name;
        return nullptr;
    }
    jmethodID constructor = env->GetMethodID(throwableClass, "<init>", "(Ljava/lang/String;)V");
    if (constructor == nullptr) {
        env->ExceptionClear();
        env->DeleteLocalRef(throwableClass);
        ADD_FAILURE() << "makeThrowable: " << name << " has no (String) constructor";
        return nullptr;
    }
    jvalue argument;
    argument.l = message != nullptr ? jstr(env, message) : nullptr;
    auto throwable = static_cast<jthrowable>(env->NewObjectA(throwableClass, constructor, &argument));
    if (env->ExceptionCheck()) {
        env->ExceptionDescribe();
        env->ExceptionClear();
        ADD_FAILURE() << "makeThrowable: new " << name << " threw";
    }
    env->DeleteLocalRef(argument.l);
    env->DeleteLocalRef(throwableClass);
    return throwable;
}

jclass findClass(JNIEnv* env, const char* name, std::source_location where)
{
    jclass found = env->FindClass(name);
    if (found == nullptr) {
        env->ExceptionClear();
        fail(where, std::string("class ") + name + " not found");
    }
    return found;
}

jstring jstr(JNIEnv* env, std::string_view text)
{
    return jstr(env, std::u16string_view(toUtf16(text)));
}

jstring jstr(JNIEnv* env, std::u16string_view text)
{
    jstring string =
        env->NewString(reinterpret_cast<const jchar*>(text.data()), static_cast<jsize>(text.size()));
    if (env->ExceptionCheck()) {
        env->ExceptionClear();
        ADD_FAILURE() << "NewString failed";
    }
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
    return toUtf8(units(env, string));
}

std::u32string decodeUtf8(std::string_view text)
{
    std::u32string points;
    for (std::size_t i = 0; i < text.size();) {
        auto byte = static_cast<unsigned char>(text[i]);
        int extra = byte < 0x80 ? 0 : byte >= 0xF0 ? 3 : byte >= 0xE0 ? 2 : byte >= 0xC0 ? 1 : -1;
        if (extra < 0 || i + static_cast<std::size_t>(extra) >= text.size()) {
            ADD_FAILURE() << "malformed UTF-8 at byte " << i;
            return points;
        }
        char32_t point = extra == 0 ? byte : byte & (0x3F >> extra);
        for (std::size_t k = 1; k <= static_cast<std::size_t>(extra); ++k) {
            auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80) {
                ADD_FAILURE() << "malformed UTF-8 at byte " << i + k;
                return points;
            }
            point = (point << 6) | (next & 0x3F);
        }
        points.push_back(point);
        i += static_cast<std::size_t>(extra) + 1;
    }
    return points;
}

std::u16string toUtf16(std::string_view text)
{
    std::u16string units;
    for (char32_t point : decodeUtf8(text)) {
        if (point >= 0x10000) {
            units.push_back(static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10)));
            units.push_back(static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF)));
        } else {
            units.push_back(static_cast<char16_t>(point));
        }
    }
    return units;
}

std::string toUtf8(std::u32string_view points)
{
    std::string text;
    for (char32_t point : points) {
        if (point < 0x80) {
            text.push_back(static_cast<char>(point));
        } else if (point < 0x800) {
            text.push_back(static_cast<char>(0xC0 | (point >> 6)));
            text.push_back(static_cast<char>(0x80 | (point & 0x3F)));
        } else if (point < 0x10000) {
            text.push_back(static_cast<char>(0xE0 | (point >> 12)));
            text.push_back(static_cast<char>(0x80 | ((point >> 6) & 0x3F)));
            text.push_back(static_cast<char>(0x80 | (point & 0x3F)));
        } else {
            text.push_back(static_cast<char>(0xF0 | (point >> 18)));
            text.push_back(static_cast<char>(0x80 | ((point >> 12) & 0x3F)));
            text.push_back(static_cast<char>(0x80 | ((point >> 6) & 0x3F)));
            text.push_back(static_cast<char>(0x80 | (point & 0x3F)));
        }
    }
    return text;
}

std::string toUtf8(std::u16string_view units)
{
    std::u32string points;
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t unit = units[i];
        bool high = unit >= 0xD800 && unit < 0xDC00;
        if (high && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000) {
            points.push_back(0x10000 + ((unit - 0xD800) << 10) + (units[++i] - 0xDC00));
        } else if (unit >= 0xD800 && unit < 0xE000) {
            ADD_FAILURE() << "lone surrogate at unit " << i;
            points.push_back(0xFFFD);
        } else {
            points.push_back(unit);
        }
    }
    return toUtf8(std::u32string_view(points));
}

} // namespace ven::test
