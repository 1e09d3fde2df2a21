// The method lookups and the 90 call wrappers, driven from one table of the required lines:
// every argument check of every wrapper, success and failure with the exact width of the
// stored result, the saved pending exception, and the object V forms' reference handling.
#include <cctype>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

#include "wrapper/wrapper_test.hpp"

namespace ven::test::wrapper
{
namespace
{

enum class Kind { Virtual, Nonvirtual, Static };
enum class Form { A, V, Variadic };

// The checked arguments of a call; a fatal-check case sets some of them to NULL.
struct Slots {
    JNIEnv* env;
    jobject obj;
    jclass clazz;
    jmethodID methodID;
};

template <typename T, typename Fn, typename... A> jboolean invokeWith(Fn fn, void* result, A... args)
{
    if constexpr (std::is_void_v<T>) {
        return fn(args...);
    } else {
        return fn(static_cast<T*>(result), args...);
    }
}

template <typename T, typename Fn, typename... A> jboolean invokeV(Fn fn, void* result, A... args)
{
    jboolean flag = JNI_FALSE;
    withVaList([&](va_list list) { flag = invokeWith<T>(fn, result, args..., list); }, 0);
    return flag;
}

struct CallWrapper {
    const char* name;
    const char* type;
    Kind kind;
    Form form;
    int envLine; // the V twin's for the variadic form
    std::size_t width;
    jboolean (*invoke)(const Slots&, void* result);
};

template <typename T> constexpr std::size_t widthOf()
{
    if constexpr (std::is_void_v<T>) {
        return 0;
    } else {
        return sizeof(T);
    }
}

#define TEST_TARGETS_Virtual s.obj
#define TEST_TARGETS_Nonvirtual s.obj, s.clazz
#define TEST_TARGETS_Static s.clazz

#define TEST_KIND_WRAPPERS(KindName, kind, Type, type, lineA, lineV)                                         \
    CallWrapper{"ven___Call" #KindName #Type "MethodA",                                                      \
                #Type,                                                                                       \
                Kind::kind,                                                                                  \
                Form::A,                                                                                     \
                lineA,                                                                                       \
                widthOf<type>(),                                                                             \
                [](const Slots& s, void* r) {                                                                \
                    return invokeWith<type>(&ven___Call##KindName##Type##MethodA, r, s.env,                  \
                                            TEST_TARGETS_##kind, s.methodID,                                 \
                                            static_cast<const jvalue*>(nullptr));                            \
                }},                                                                                          \
        CallWrapper{"ven___Call" #KindName #Type "MethodV",                                                  \
                    #Type,                                                                                   \
                    Kind::kind,                                                                              \
                    Form::V,                                                                                 \
                    lineV,                                                                                   \
                    widthOf<type>(),                                                                         \
                    [](const Slots& s, void* r) {                                                            \
                        return invokeV<type>(&ven___Call##KindName##Type##MethodV, r, s.env,                 \
                                             TEST_TARGETS_##kind, s.methodID);                               \
                    }},                                                                                      \
        CallWrapper                                                                                          \
    {                                                                                                        \
        "ven___Call" #KindName #Type "Method", #Type, Kind::kind, Form::Variadic, lineV, widthOf<type>(),    \
            [](const Slots& s, void* r) {                                                                    \
                return invokeWith<type>(&ven___Call##KindName##Type##Method, r, s.env, TEST_TARGETS_##kind,  \
                                        s.methodID);                                                         \
            }                                                                                                \
    }

// The required "env" lines: virtual A, V, nonvirtual A, V, static A, V.
#define TEST_CALL_ROW(Type, type, va, vv, na, nv, sa, sv)                                                    \
    TEST_KIND_WRAPPERS(, Virtual, Type, type, va, vv),                                                       \
        TEST_KIND_WRAPPERS(Nonvirtual, Nonvirtual, Type, type, na, nv),                                      \
        TEST_KIND_WRAPPERS(Static, Static, Type, type, sa, sv)

// clang-format off
const std::vector<CallWrapper> kCallWrappers = {
    TEST_CALL_ROW(Void,    void,     1119, 1443, 1879, 2213, 3106, 3430),
    TEST_CALL_ROW(Object,  jobject,  1147, 1471, 1908, 2242, 3134, 3458),
    TEST_CALL_ROW(Boolean, jboolean, 1180, 1504, 1942, 2276, 3167, 3491),
    TEST_CALL_ROW(Byte,    jbyte,    1213, 1537, 1976, 2310, 3200, 3524),
    TEST_CALL_ROW(Char,    jchar,    1246, 1570, 2010, 2344, 3233, 3557),
    TEST_CALL_ROW(Short,   jshort,   1279, 1603, 2044, 2378, 3266, 3590),
    TEST_CALL_ROW(Int,     jint,     1312, 1636, 2078, 2412, 3299, 3623),
    TEST_CALL_ROW(Long,    jlong,    1345, 1669, 2112, 2446, 3332, 3656),
    TEST_CALL_ROW(Float,   jfloat,   1378, 1702, 2146, 2480, 3365, 3689),
    TEST_CALL_ROW(Double,  jdouble,  1411, 1735, 2180, 2514, 3398, 3722),
};
// clang-format on

// What the fixtures' no-argument methods return: Methods.<type>Get() (and the static
// staticXGet()) give the parent values, MethodsChild overrides give the child values.
struct Expected {
    const char* type;
    const char* signature;
    jvalue parent;
    jvalue child;
};

const Expected kExpected[] = {
    {"Void", "V", {}, {}},
    {"Object", "Ljava/lang/Object;", {}, {}}, // compared as text: "object" and "child"
    {"Boolean", "Z", jvalueOf<jboolean>(JNI_TRUE), jvalueOf<jboolean>(JNI_FALSE)},
    {"Byte", "B", jvalueOf<jbyte>(8), jvalueOf<jbyte>(-8)},
    {"Char", "C", jvalueOf<jchar>('c'), jvalueOf<jchar>('C')},
    {"Short", "S", jvalueOf<jshort>(16), jvalueOf<jshort>(-16)},
    {"Int", "I", jvalueOf<jint>(32), jvalueOf<jint>(-32)},
    {"Long", "J", jvalueOf<jlong>(64), jvalueOf<jlong>(-64)},
    {"Float", "F", jvalueOf<jfloat>(1.5f), jvalueOf<jfloat>(-1.5f)},
    {"Double", "D", jvalueOf<jdouble>(2.5), jvalueOf<jdouble>(-2.5)},
};

const Expected& expectedFor(const CallWrapper& wrapper)
{
    for (const Expected& e : kExpected) {
        if (std::strcmp(e.type, wrapper.type) == 0) {
            return e;
        }
    }
    throw std::logic_error("no expectation");
}

std::string lowerFirst(std::string text)
{
    text[0] = static_cast<char>(std::tolower(text[0]));
    return text;
}

// The JNI member a wrapper must call: the variadic form goes through the V member.
std::string jniMember(const CallWrapper& wrapper)
{
    std::string member = std::string(wrapper.name).substr(6);
    return wrapper.form == Form::Variadic ? member + "V" : member;
}

constexpr unsigned char kFill = 0xCD;

class WrapperCalls : public JvmTest
{
  protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        methods = findClass(env, "fixtures/Methods");
        jclass child = findClass(env, "fixtures/MethodsChild");
        childObject = env->NewObject(child, env->GetMethodID(child, "<init>", "()V"));
        failureField = env->GetStaticFieldID(methods, "failure", "Ljava/lang/Throwable;");
    }

    void TearDown() override
    {
        env->CallStaticVoidMethod(methods, env->GetStaticMethodID(methods, "resetStatics", "()V"));
        JvmTest::TearDown();
    }

    // Slots for the no-argument method of the wrapper's type and kind.
    Slots slotsFor(const CallWrapper& wrapper, JNIEnv* callEnv)
    {
        const Expected& expected = expectedFor(wrapper);
        std::string signature = std::string("()") + expected.signature;
        std::string name = lowerFirst(wrapper.type) + (wrapper.type == std::string("Void") ? "Run" : "Get");
        if (wrapper.kind == Kind::Static) {
            name =
                "static" + std::string(wrapper.type) + (wrapper.type == std::string("Void") ? "Run" : "Get");
            return {callEnv, nullptr, methods,
                    env->GetStaticMethodID(methods, name.c_str(), signature.c_str())};
        }
        return {callEnv, childObject, wrapper.kind == Kind::Nonvirtual ? methods : nullptr,
                env->GetMethodID(methods, name.c_str(), signature.c_str())};
    }

    void setFailure(const char* message)
    {
        jthrowable failure = makeThrowable(env, "fixtures/FixtureException", message);
        env->SetStaticObjectField(methods, failureField, failure);
        env->DeleteLocalRef(failure);
    }
    void clearFailure() { env->SetStaticObjectField(methods, failureField, nullptr); }

    // Whether `result` holds what the wrapper's method returns on success.
    void expectValue(const CallWrapper& wrapper, const unsigned char* result)
    {
        const Expected& expected = expectedFor(wrapper);
        bool parent = wrapper.kind != Kind::Virtual; // the object is a MethodsChild
        if (wrapper.type == std::string("Object")) {
            jobject value;
            std::memcpy(&value, result, sizeof value);
            ASSERT_NE(value, nullptr);
            EXPECT_EQ(utf8(env, static_cast<jstring>(value)), parent ? "object" : "child");
        } else {
            const jvalue& value = parent ? expected.parent : expected.child;
            EXPECT_EQ(std::memcmp(result, &value, wrapper.width), 0) << "value bytes differ";
        }
    }

    jclass methods = nullptr;
    jobject childObject = nullptr;
    jfieldID failureField = nullptr;
};

// Every argument check of every call wrapper, in order: the checked argument and all
// after it are NULL, so a check made out of order reports the wrong line.
TEST_F(WrapperCalls, EveryArgumentCheckOfEveryCallWrapper)
{
    int verified = 0;
    for (const CallWrapper& wrapper : kCallWrappers) {
        SCOPED_TRACE(wrapper.name);
        Slots valid = slotsFor(wrapper, env);
        std::vector<const char*> order = {"env"};
        if (wrapper.kind != Kind::Static) {
            order.push_back("obj");
        }
        if (wrapper.kind != Kind::Virtual) {
            order.push_back("clazz");
        }
        order.push_back("methodID");
        for (std::size_t position = 0; position < order.size(); ++position) {
            Slots slots = valid;
            for (std::size_t k = position; k < order.size(); ++k) {
                std::string name = order[k];
                if (name == "env")
                    slots.env = nullptr;
                if (name == "obj")
                    slots.obj = nullptr;
                if (name == "clazz")
                    slots.clazz = nullptr;
                if (name == "methodID")
                    slots.methodID = nullptr;
            }
            alignas(8) unsigned char result[16];
            EXPECT_VEN_ABORT(wrapper.invoke(slots, result), kPath,
                             wrapper.envLine + static_cast<int>(position), order[position]);
            ++verified;
        }
    }
    EXPECT_EQ(verified, 3 * 10 * (3 + 4 + 3));
}

// Success with nothing pending: the flag, the value with exactly its width, and the floor
// of the saved pending exception: one query before the call and one ExceptionCheck after.
TEST_F(WrapperCalls, SuccessStoresTheValueWithItsWidthAtTheFloorCost)
{
    jclass methodsClass = methods;
    jfieldID counters[] = {env->GetFieldID(methodsClass, "voidCalls", "I"),
                           env->GetFieldID(findClass(env, "fixtures/MethodsChild"), "childVoidCalls", "I"),
                           env->GetStaticFieldID(methodsClass, "staticVoidCalls", "I")};
    for (const CallWrapper& wrapper : kCallWrappers) {
        SCOPED_TRACE(wrapper.name);
        TestFrame frame(env);
        FaultEnv fault(env);
        alignas(8) unsigned char result[16];
        std::memset(result, kFill, sizeof result);
        jobject old = nullptr;
        if (wrapper.type == std::string("Object")) {
            old = fault.env()->NewStringUTF("old");
            std::memcpy(result, &old, sizeof old);
        }
        jint callsBefore[3] = {env->GetIntField(childObject, counters[0]),
                               env->GetIntField(childObject, counters[1]),
                               env->GetStaticIntField(methodsClass, counters[2])};
        std::size_t trailStart = fault.trail().size();

        EXPECT_EQ(wrapper.invoke(slotsFor(wrapper, fault.env()), result), JNI_TRUE);

        ExpectNoPending(env);
        std::vector<std::string> trail(fault.trail().begin() + static_cast<long>(trailStart),
                                       fault.trail().end());
        std::vector<std::string> floor = {"ExceptionOccurred", jniMember(wrapper), "ExceptionCheck"};
        bool replaces = old != nullptr && wrapper.form != Form::A;
        if (replaces) {
            floor.push_back("DeleteLocalRef");
        }
        EXPECT_EQ(trail, floor);
        if (old != nullptr) {
            EXPECT_EQ(fault.ledger().isLive(old), !replaces) << "the old reference";
        }
        if (wrapper.width == 0) {
            std::size_t which = wrapper.kind == Kind::Virtual ? 1 : wrapper.kind == Kind::Nonvirtual ? 0 : 2;
            jint now = which == 2 ? env->GetStaticIntField(methodsClass, counters[2])
                                  : env->GetIntField(childObject, counters[which]);
            EXPECT_EQ(now, callsBefore[which] + 1) << "the void method ran once";
            continue;
        }
        expectValue(wrapper, result);
        for (std::size_t k = wrapper.width; k < sizeof result; ++k) {
            EXPECT_EQ(result[k], kFill) << "byte " << k << " after the value was written";
        }
    }
}

// A throwing method: JNI_FALSE, a zero of the type's width, the new exception pending; the
// object V forms delete what the variable held, the A forms leave it alone.
TEST_F(WrapperCalls, FailureStoresZeroAndLeavesTheExceptionPending)
{
    setFailure("boom");
    for (const CallWrapper& wrapper : kCallWrappers) {
        SCOPED_TRACE(wrapper.name);
        TestFrame frame(env);
        FaultEnv fault(env);
        alignas(8) unsigned char result[16];
        std::memset(result, kFill, sizeof result);
        jobject old = nullptr;
        if (wrapper.type == std::string("Object")) {
            old = fault.env()->NewStringUTF("old");
            std::memcpy(result, &old, sizeof old);
        }

        EXPECT_EQ(wrapper.invoke(slotsFor(wrapper, fault.env()), result), JNI_FALSE);

        ExpectPending(env, "fixtures.FixtureException", "boom");
        for (std::size_t k = 0; k < sizeof result; ++k) {
            EXPECT_EQ(result[k], k < wrapper.width ? 0 : kFill) << "byte " << k;
        }
        if (old != nullptr) {
            EXPECT_EQ(fault.ledger().isLive(old), wrapper.form == Form::A) << "the old reference";
        }
    }
}

// The saved pending exception: E1 survives a call that succeeds and gives way to the
// exception of a call that fails.
TEST_F(WrapperCalls, ExceptionPendingBeforeTheCall)
{
    for (const CallWrapper& wrapper : kCallWrappers) {
        SCOPED_TRACE(wrapper.name);
        TestFrame frame(env);
        alignas(8) unsigned char result[16] = {};
        Slots slots = slotsFor(wrapper, env);

        jthrowable e1 = throwE1(env);
        EXPECT_EQ(wrapper.invoke(slots, result), JNI_TRUE);
        expectSamePending(env, e1);
        if (wrapper.width != 0) {
            expectValue(wrapper, result);
        }

        std::memset(result, 0, sizeof result);
        setFailure("E2");
        e1 = throwE1(env);
        EXPECT_EQ(wrapper.invoke(slots, result), JNI_FALSE);
        ExpectPending(env, "fixtures.FixtureException", "E2");
        env->DeleteGlobalRef(e1);
        clearFailure();
    }
}

// A NULL out-parameter: the call happens and only the flag comes back.
TEST_F(WrapperCalls, NullResultOnlyReturnsTheFlag)
{
    for (const CallWrapper& wrapper : kCallWrappers) {
        SCOPED_TRACE(wrapper.name);
        TestFrame frame(env);
        FaultEnv fault(env);
        EXPECT_EQ(wrapper.invoke(slotsFor(wrapper, fault.env()), nullptr), JNI_TRUE);
        EXPECT_EQ(fault.calls<&Jni::DeleteLocalRef>(), 0);
        ExpectNoPending(env);
    }
}

// Arguments arrive in order in all three forms, and float and double results keep their bits.
TEST_F(WrapperCalls, ArgumentsAndExactBits)
{
    jmethodID join = env->GetMethodID(methods, "join", "(IJDLjava/lang/String;)Ljava/lang/String;");
    jstring d = jstr(env, "d");
    jvalue args[4];
    args[0].i = 1;
    args[1].j = 2;
    args[2].d = 3.5;
    args[3].l = d;
    jobject text = nullptr;
    ASSERT_EQ(ven___CallNonvirtualObjectMethodA(&text, env, childObject, methods, join, args), JNI_TRUE);
    EXPECT_EQ(utf8(env, static_cast<jstring>(text)), "1,2,3.5,d");
    text = nullptr;
    ASSERT_EQ(ven___CallNonvirtualObjectMethod(&text, env, childObject, methods, join, 1, jlong{2}, 3.5, d),
              JNI_TRUE);
    EXPECT_EQ(utf8(env, static_cast<jstring>(text)), "1,2,3.5,d");
    text = nullptr;
    ASSERT_EQ(ven___CallObjectMethod(&text, env, childObject, join, 1, jlong{2}, 3.5, d), JNI_TRUE);
    EXPECT_EQ(utf8(env, static_cast<jstring>(text)), "child string");
    text = nullptr;
    jmethodID staticJoin =
        env->GetStaticMethodID(methods, "staticJoin", "(IJDLjava/lang/String;)Ljava/lang/String;");
    withVaList(
        [&](va_list list) {
            ASSERT_EQ(ven___CallStaticObjectMethodV(&text, env, methods, staticJoin, list), JNI_TRUE);
        },
        0, 7, jlong{-8}, -0.5, d);
    EXPECT_EQ(utf8(env, static_cast<jstring>(text)), "7,-8,-0.5,d");

    jmethodID staticRun = env->GetStaticMethodID(methods, "staticVoidRun", "()V");
    EXPECT_EQ(ven___CallStaticVoidMethod(env, methods, staticRun), JNI_TRUE);
    EXPECT_EQ(env->GetStaticIntField(methods, env->GetStaticFieldID(methods, "staticVoidCalls", "I")), 1);

    jmethodID floatEcho = env->GetStaticMethodID(methods, "staticFloatEcho", "(F)F");
    jmethodID doubleEcho = env->GetStaticMethodID(methods, "staticDoubleEcho", "(D)D");
    for (std::uint32_t bits : {0x80000000u, 0x7fc12345u, 0xffc00001u}) {
        jvalue arg;
        std::memcpy(&arg.f, &bits, sizeof bits);
        jfloat out = 1.0f;
        ASSERT_EQ(ven___CallStaticFloatMethodA(&out, env, methods, floatEcho, &arg), JNI_TRUE);
        std::uint32_t got;
        std::memcpy(&got, &out, sizeof got);
        EXPECT_EQ(got, bits);
    }
    for (std::uint64_t bits : {0x8000000000000000u, 0x7ff8000000012345u}) {
        jvalue arg;
        std::memcpy(&arg.d, &bits, sizeof bits);
        jdouble out = 1.0;
        ASSERT_EQ(ven___CallStaticDoubleMethodA(&out, env, methods, doubleEcho, &arg), JNI_TRUE);
        std::uint64_t got;
        std::memcpy(&got, &out, sizeof got);
        EXPECT_EQ(got, bits);
    }
    jbyte byte = 0;
    jvalue minusOne;
    minusOne.b = -1;
    ASSERT_EQ(ven___CallStaticByteMethodA(
                  &byte, env, methods, env->GetStaticMethodID(methods, "staticByteEcho", "(B)B"), &minusOne),
              JNI_TRUE);
    EXPECT_EQ(static_cast<unsigned char>(byte), 0xFF);
    jchar ch = 0;
    jvalue maxChar;
    maxChar.c = 0xFFFF;
    ASSERT_EQ(ven___CallNonvirtualCharMethodA(&ch, env, childObject, methods,
                                              env->GetMethodID(methods, "charEcho", "(C)C"), &maxChar),
              JNI_TRUE);
    EXPECT_EQ(ch, 0xFFFF);
}

// Reusing one variable across V calls releases each previous result; after a throwing call
// it holds NULL and its old reference is gone too.
TEST_F(WrapperCalls, ObjectVariadicCallsReuseOneVariable)
{
    FaultEnv fault(env);
    jmethodID get = env->GetMethodID(methods, "objectGet", "()Ljava/lang/Object;");
    jobject value = nullptr;
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(ven___CallObjectMethod(&value, fault.env(), childObject, get), JNI_TRUE);
    }
    EXPECT_EQ(fault.ledger().created(), 3);
    EXPECT_EQ(fault.ledger().deleted(), 2);
    EXPECT_EQ(fault.ledger().live(), 1);
    EXPECT_TRUE(fault.ledger().isLive(value));
    setFailure("boom");
    EXPECT_EQ(ven___CallObjectMethod(&value, fault.env(), childObject, get), JNI_FALSE);
    ExpectPending(env, "fixtures.FixtureException", "boom");
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(fault.ledger().live(), 0);
}

TEST_F(WrapperCalls, MethodLookups)
{
    checkLookup<jmethodID>(env, methods,
                           {"ven___GetMethodID", &ven___GetMethodID, 971, 986,
                            [](FaultEnv& f) { f.returnNull<&Jni::GetMethodID>(); }, "GetMethodID", "intGet",
                            "()I", "java.lang.NoSuchMethodError"});
    checkLookup<jmethodID>(env, methods,
                           {"ven___GetStaticMethodID", &ven___GetStaticMethodID, 2965, 2980,
                            [](FaultEnv& f) { f.returnNull<&Jni::GetStaticMethodID>(); }, "GetStaticMethodID",
                            "staticIntGet", "()I", "java.lang.NoSuchMethodError"});
}

} // namespace
} // namespace ven::test::wrapper
