// The shared Java fixtures hold the members the suites rely on; a missing or mistyped member
// shows up here, by name, instead of as a confusing failure elsewhere.
#include <string>

#include "support/ven_test.hpp"

namespace ven::test
{
namespace
{

struct Member {
    const char* name;
    const char* signature;
};

// The value types as the fixtures name them, with their JNI signatures.
constexpr Member kValueTypes[] = {
    {"object", "Ljava/lang/Object;"},
    {"boolean", "Z"},
    {"byte", "B"},
    {"char", "C"},
    {"short", "S"},
    {"int", "I"},
    {"long", "J"},
    {"float", "F"},
    {"double", "D"},
    {"string", "Ljava/lang/String;"},
};

std::string capitalised(const char* name)
{
    std::string text = name;
    text[0] = static_cast<char>(text[0] - 'a' + 'A');
    return text;
}

using Fixtures = JvmTest;

TEST_F(Fixtures, FieldsHasEveryTypeInstanceAndStatic)
{
    jclass fields = findClass(env, "fixtures/Fields");
    ASSERT_NE(fields, nullptr);
    for (const Member& type : kValueTypes) {
        std::string instance = std::string(type.name) + "Field";
        std::string statik = "static" + capitalised(type.name) + "Field";
        EXPECT_NE(env->GetFieldID(fields, instance.c_str(), type.signature), nullptr) << instance;
        ExpectNoPending(env);
        EXPECT_NE(env->GetStaticFieldID(fields, statik.c_str(), type.signature), nullptr) << statik;
        ExpectNoPending(env);
    }
    jfieldID intField = env->GetStaticFieldID(fields, "staticIntField", "I");
    EXPECT_EQ(env->GetStaticIntField(fields, intField), 32);
}

TEST_F(Fixtures, MethodsHaveEchoAndGetFormsOfEveryTypeInEveryKind)
{
    jclass methods = findClass(env, "fixtures/Methods");
    jclass child = findClass(env, "fixtures/MethodsChild");
    ASSERT_NE(methods, nullptr);
    ASSERT_NE(child, nullptr);
    EXPECT_TRUE(env->IsAssignableFrom(child, methods));
    for (const Member& type : kValueTypes) {
        std::string echo = std::string(type.name) + "Echo";
        std::string get = std::string(type.name) + "Get";
        std::string echoSignature = "(" + std::string(type.signature) + ")" + type.signature;
        std::string getSignature = std::string("()") + type.signature;
        for (jclass owner : {methods, child}) {
            EXPECT_NE(env->GetMethodID(owner, echo.c_str(), echoSignature.c_str()), nullptr) << echo;
            ExpectNoPending(env);
            EXPECT_NE(env->GetMethodID(owner, get.c_str(), getSignature.c_str()), nullptr) << get;
            ExpectNoPending(env);
        }
        std::string staticEcho = "static" + capitalised(echo.c_str());
        std::string staticGet = "static" + capitalised(get.c_str());
        EXPECT_NE(env->GetStaticMethodID(methods, staticEcho.c_str(), echoSignature.c_str()), nullptr)
            << staticEcho;
        ExpectNoPending(env);
        EXPECT_NE(env->GetStaticMethodID(methods, staticGet.c_str(), getSignature.c_str()), nullptr)
            << staticGet;
        ExpectNoPending(env);
    }
}

// A virtual call reaches the child's override, a non-virtual one through Methods the parent.
TEST_F(Fixtures, ChildOverridesForNonVirtualCalls)
{
    jclass methods = findClass(env, "fixtures/Methods");
    jclass child = findClass(env, "fixtures/MethodsChild");
    jobject object = env->NewObjectA(child, env->GetMethodID(child, "<init>", "()V"), nullptr);
    jmethodID intEcho = env->GetMethodID(methods, "intEcho", "(I)I");
    jvalue argument;
    argument.i = 5;
    EXPECT_EQ(env->CallIntMethodA(object, intEcho, &argument), -32);
    ExpectNoPending(env);
    EXPECT_EQ(env->CallNonvirtualIntMethodA(object, methods, intEcho, &argument), 5);
    ExpectNoPending(env);
}

struct Thrower {
    const char* method;
    const char* signature;
    const char* exception;
};

TEST_F(Fixtures, ThrowingMethodsThrowWhatTheyName)
{
    jclass methods = findClass(env, "fixtures/Methods");
    const Thrower throwers[] = {
        {"staticThrowIOException", "(Ljava/lang/String;)V", "java.io.IOException"},
        {"staticThrowIllegalState", "(Ljava/lang/String;)I", "java.lang.IllegalStateException"},
        {"staticThrowOutOfMemory", "(Ljava/lang/String;)Ljava/lang/Object;", "java.lang.OutOfMemoryError"},
        {"staticThrowFixtureException", "(Ljava/lang/String;)Ljava/lang/String;",
         "fixtures.FixtureException"},
    };
    jvalue message;
    message.l = jstr(env, "thrown");
    for (const Thrower& thrower : throwers) {
        jmethodID method = env->GetStaticMethodID(methods, thrower.method, thrower.signature);
        ASSERT_NE(method, nullptr) << thrower.method;
        env->CallStaticVoidMethodA(methods, method, &message);
        ExpectPending(env, thrower.exception, "thrown");
    }
}

TEST_F(Fixtures, FailureFieldMakesEveryMethodThrow)
{
    jclass methods = findClass(env, "fixtures/Methods");
    jfieldID failure = env->GetStaticFieldID(methods, "failure", "Ljava/lang/Throwable;");
    env->SetStaticObjectField(methods, failure, makeThrowable(env, "java.io.IOException", "configured"));
    jmethodID get = env->GetStaticMethodID(methods, "staticDoubleGet", "()D");
    EXPECT_EQ(env->CallStaticDoubleMethodA(methods, get, nullptr), 0.0);
    ExpectPending(env, "java.io.IOException", "configured");
    env->CallStaticVoidMethodA(methods, env->GetStaticMethodID(methods, "resetStatics", "()V"), nullptr);
    ExpectNoPending(env);
    EXPECT_EQ(env->CallStaticDoubleMethodA(methods, get, nullptr), 2.5);
    ExpectNoPending(env);
}

TEST_F(Fixtures, ToStringVariantsAndTheEnum)
{
    jclass object = findClass(env, "java/lang/Object");
    jmethodID toString = env->GetMethodID(object, "toString", "()Ljava/lang/String;");
    jclass throws = findClass(env, "fixtures/ToStringThrows");
    jclass null = findClass(env, "fixtures/ToStringNull");
    jobject thrower = env->NewObjectA(throws, env->GetMethodID(throws, "<init>", "()V"), nullptr);
    jobject nuller = env->NewObjectA(null, env->GetMethodID(null, "<init>", "()V"), nullptr);
    EXPECT_EQ(env->CallObjectMethodA(thrower, toString, nullptr), nullptr);
    ExpectPending(env, "java.lang.IllegalStateException", "toString fails");
    EXPECT_EQ(env->CallObjectMethodA(nuller, toString, nullptr), nullptr);
    ExpectNoPending(env);
    jclass runtime = findClass(env, "java/lang/RuntimeException");
    EXPECT_TRUE(env->IsInstanceOf(thrower, runtime));
    EXPECT_TRUE(env->IsInstanceOf(nuller, runtime));

    jclass color = findClass(env, "fixtures/Color");
    for (const char* name : {"RED", "GREEN", "BLUE"}) {
        EXPECT_NE(env->GetStaticFieldID(color, name, "Lfixtures/Color;"), nullptr) << name;
        ExpectNoPending(env);
    }
}

} // namespace
} // namespace ven::test
