// The 90 call wrappers from one table of the required "env" lines: every argument check, values
// of exact width, the saved pending exception, the object V forms' references, exact bits.
#include <algorithm>
#include <bit>
#include <cctype>
#include <cstdint>

#include "wrapper/wrapper_test.hpp"

namespace ven::test::wrapper
{
namespace
{

using Slots = std::tuple<JNIEnv*, jobject, jclass, jmethodID>;

// Each parameter of a call wrapper, chosen by its type: the va_list, no jvalue array (the methods
// called take no arguments), the out-parameter (to a number or reference) or a checked argument.
template <typename P, typename List> P pick(const Slots& s, void* result, List list)
{
    if constexpr (std::is_same_v<P, List>) {
        return list;
    } else if constexpr (std::is_same_v<P, const jvalue*>) {
        return nullptr;
    } else if constexpr (std::is_scalar_v<std::remove_pointer_t<P>>) {
        return static_cast<P>(result);
    } else {
        return std::get<P>(s);
    }
}
template <typename... P> jboolean run(jboolean (*fn)(P...), const Slots& s, void* result)
{
    jboolean flag = JNI_FALSE;
    withVaList([&](va_list list) { flag = fn(pick<P>(s, result, list)...); }, 0);
    return flag;
}
template <typename... P> jboolean run(jboolean (*fn)(P..., ...), const Slots& s, void* result)
{
    return fn(pick<P>(s, result, 0)...);
}
template <auto Wrapper> jboolean invoke(const Slots& s, void* result)
{
    return run(Wrapper, s, result);
}

// What the fixtures' no-argument methods return: Methods.<type>Get() and staticXGet() the
// parent value, the MethodsChild overrides the child value (objects compared as text).
struct ResultType {
    const char* type;
    const char* signature;
    std::size_t width;
    jvalue parent, child;
};
enum { kVoid, kObject, kBoolean, kByte, kChar, kShort, kInt, kLong, kFloat, kDouble };
// clang-format off
const ResultType kTypes[] = {
    {"Void",    "V",                 0,                jvalue{},                     jvalue{}},
    {"Object",  "Ljava/lang/Object;", sizeof(jobject), jvalue{},                     jvalue{}},
    {"Boolean", "Z",                 sizeof(jboolean), jvalueOf<jboolean>(JNI_TRUE), jvalueOf<jboolean>(0)},
    {"Byte",    "B",                 sizeof(jbyte),    jvalueOf<jbyte>(8),           jvalueOf<jbyte>(-8)},
    {"Char",    "C",                 sizeof(jchar),    jvalueOf<jchar>('c'),         jvalueOf<jchar>('C')},
    {"Short",   "S",                 sizeof(jshort),   jvalueOf<jshort>(16),         jvalueOf<jshort>(-16)},
    {"Int",     "I",                 sizeof(jint),     jvalueOf<jint>(32),           jvalueOf<jint>(-32)},
    {"Long",    "J",                 sizeof(jlong),    jvalueOf<jlong>(64),          jvalueOf<jlong>(-64)},
    {"Float",   "F",                 sizeof(jfloat),   jvalueOf<jfloat>(1.5f),       jvalueOf<jfloat>(-1.5f)},
    {"Double",  "D",                 sizeof(jdouble),  jvalueOf<jdouble>(2.5),       jvalueOf<jdouble>(-2.5)},
};
// clang-format on

struct CallWrapper {
    std::string name;
    const ResultType& type;
    int envLine; // the V twin's for the variadic form
    jboolean (*invoke)(const Slots&, void* result);
    bool isStatic() const { return name.starts_with("ven___CallStatic"); }
    bool isVirtual() const { return !isStatic() && !name.starts_with("ven___CallNonvirtual"); }
    char form() const { return name.ends_with("Method") ? '.' : name.back(); } // 'A', 'V' or variadic
};

// clang-format off
#define TEST_CALL_FORMS(Kind, Type, lineA, lineV)                                                         \
    {"ven___Call" #Kind #Type "MethodA", kTypes[k##Type], lineA, &invoke<&ven___Call##Kind##Type##MethodA>}, \
    {"ven___Call" #Kind #Type "MethodV", kTypes[k##Type], lineV, &invoke<&ven___Call##Kind##Type##MethodV>}, \
    {"ven___Call" #Kind #Type "Method",  kTypes[k##Type], lineV, &invoke<&ven___Call##Kind##Type##Method>}
#define TEST_CALL_ROW(Type, va, vv, na, nv, sa, sv)                                                          \
    TEST_CALL_FORMS(, Type, va, vv), TEST_CALL_FORMS(Nonvirtual, Type, na, nv),                              \
    TEST_CALL_FORMS(Static, Type, sa, sv)

// The required "env" lines: virtual A, V, nonvirtual A, V, static A, V.
const CallWrapper kCalls[] = {
    TEST_CALL_ROW(Void,    1119, 1443, 1879, 2213, 3106, 3430),
    TEST_CALL_ROW(Object,  1147, 1471, 1908, 2242, 3134, 3458),
    TEST_CALL_ROW(Boolean, 1180, 1504, 1942, 2276, 3167, 3491),
    TEST_CALL_ROW(Byte,    1213, 1537, 1976, 2310, 3200, 3524),
    TEST_CALL_ROW(Char,    1246, 1570, 2010, 2344, 3233, 3557),
    TEST_CALL_ROW(Short,   1279, 1603, 2044, 2378, 3266, 3590),
    TEST_CALL_ROW(Int,     1312, 1636, 2078, 2412, 3299, 3623),
    TEST_CALL_ROW(Long,    1345, 1669, 2112, 2446, 3332, 3656),
    TEST_CALL_ROW(Float,   1378, 1702, 2146, 2480, 3365, 3689),
    TEST_CALL_ROW(Double,  1411, 1735, 2180, 2514, 3398, 3722),
};

class WrapperCalls : public WrapperTest
{
  protected:
    // The no-argument method of the wrapper's type and kind, called on a MethodsChild.
    Slots slotsFor(const CallWrapper& w, JNIEnv* callEnv)
    {
        std::string type = w.type.type, signature = std::string("()") + w.type.signature;
        std::string name = (w.isStatic() ? "static" + type : char(std::tolower(type[0])) + type.substr(1)) +
                           (type == "Void" ? "Run" : "Get");
        jmethodID id = w.isStatic() ? env->GetStaticMethodID(methods, name.c_str(), signature.c_str())
                                    : env->GetMethodID(methods, name.c_str(), signature.c_str());
        return {callEnv, w.isStatic() ? nullptr : child, w.isVirtual() ? nullptr : methods, id};
    }
};

TEST_F(WrapperCalls, EveryArgumentCheck)
{
    std::vector<ArgChecks> rows;
    for (const CallWrapper& w : kCalls) {
        const char* texts = w.isStatic()    ? "env, clazz, methodID"
                            : w.isVirtual() ? "env, obj, methodID"
                                            : "env, obj, clazz, methodID";
        rows.push_back({w.name, w.envLine, texts, [=, valid = slotsFor(w, env)](int bad) {
                            int position = 0;
                            auto upTo = [&](auto good) { return position++ < bad ? good : decltype(good){}; };
                            auto [e, obj, clazz, methodID] = valid;
                            Slots s = {upTo(e), w.isStatic() ? nullptr : upTo(obj),
                                       w.isVirtual() ? nullptr : upTo(clazz), upTo(methodID)};
                            alignas(8) unsigned char result[16];
                            w.invoke(s, result);
                        }});
    }
    EXPECT_EQ(expectArgChecks(rows), 30 * (3 + 4 + 3));
}

// Four rounds per wrapper: 0, success: the value in exactly its width, at the floor cost; 1, E1
// is kept; 2, a failure replaces E1 and stores a zero; 3, a NULL out-parameter. The object V
// forms delete an old reference (rounds 0 and 2) and not NULL (round 1); the A forms keep it.
TEST_F(WrapperCalls, EveryWrapperOnEveryPath)
{
    jfieldID failure = env->GetStaticFieldID(methods, "failure", "Ljava/lang/Throwable;");
    for (const CallWrapper& w : kCalls) {
        bool isObject = w.type.type == std::string("Object"), replaces = isObject && w.form() != 'A';
        std::string member = w.name.substr(6) + (w.form() == '.' ? "V" : "");
        for (int round = 0; round < 4; ++round) {
            SCOPED_TRACE(w.name + " round " + std::to_string(round));
            TestFrame frame(env);
            FaultEnv fault(env);
            jthrowable e2 = round == 2 ? makeThrowable(env, "fixtures/FixtureException", "E2") : nullptr;
            env->SetStaticObjectField(methods, failure, e2);
            alignas(8) unsigned char result[16];
            std::memset(result, 0xCD, sizeof result);
            jobject old = isObject && round % 2 == 0 ? env->NewStringUTF("old") : nullptr;
            fault.ledger().noteCreated(old);
            std::memcpy(result, &old, isObject ? sizeof old : 0);
            bool deletes = replaces && old != nullptr;
            Slots slots = slotsFor(w, fault.env());
            jthrowable e1 = round == 1 || round == 2 ? throwE1(env) : nullptr;
            EXPECT_EQ(w.invoke(slots, round == 3 ? nullptr : result), round == 2 ? JNI_FALSE : JNI_TRUE);
            if (round == 2) {
                ExpectPending(env, "fixtures.FixtureException", "E2");
                env->DeleteGlobalRef(e1);
            } else if (e1 != nullptr) {
                expectSamePending(env, e1);
            } else {
                std::vector<std::string> floor = {"ExceptionOccurred", member, "ExceptionCheck"};
                EXPECT_EQ(fault.trail(), deletes ? (floor.push_back("DeleteLocalRef"), floor) : floor);
            }
            EXPECT_EQ(fault.ledger().isLive(old), old != nullptr && !replaces) << "the old reference";
            EXPECT_EQ(fault.calls<&Jni::DeleteLocalRef>(), deletes ? 1 : 0);
            if (isObject && round < 2) {
                jobject value;
                std::memcpy(&value, result, sizeof value);
                EXPECT_EQ(utf8(env, static_cast<jstring>(value)), w.isVirtual() ? "child" : "object");
            } else if (round != 3) {
                jvalue expected = round == 2 ? jvalue{} : w.isVirtual() ? w.type.child : w.type.parent;
                EXPECT_EQ(std::memcmp(result, &expected, w.type.width), 0) << "value bytes differ";
            }
            EXPECT_EQ(std::count(result + w.type.width, std::end(result), 0xCD),
                      16 - std::ptrdiff_t(w.type.width));
        }
    }
}

// Arguments arrive in order in the A and V forms; float, double, byte and char keep their bits.
TEST_F(WrapperCalls, ArgumentsAndExactBits)
{
    jmethodID join = env->GetMethodID(methods, "join", "(IJDLjava/lang/String;)Ljava/lang/String;");
    jstring d = jstr(env, "d");
    jvalue args[4] = {jvalueOf<jint>(1), jvalueOf<jlong>(2), jvalueOf<jdouble>(3.5), jvalueOf<jobject>(d)};
    jobject text = nullptr;
    ASSERT_EQ(ven___CallNonvirtualObjectMethodA(&text, env, child, methods, join, args), JNI_TRUE);
    EXPECT_EQ(utf8(env, static_cast<jstring>(text)), "1,2,3.5,d");
    ASSERT_EQ(ven___CallNonvirtualObjectMethod(&text, env, child, methods, join, 7, jlong{-8}, -0.5, d),
              JNI_TRUE);
    EXPECT_EQ(utf8(env, static_cast<jstring>(text)), "7,-8,-0.5,d");

    auto echo = [&](auto wrapper, const char* name, const char* sig, auto value) {
        jvalue argument = jvalueOf(value);
        decltype(value) out{};
        ASSERT_EQ(wrapper(&out, env, methods, env->GetStaticMethodID(methods, name, sig), &argument),
                  JNI_TRUE);
        EXPECT_EQ(std::memcmp(&out, &value, sizeof value), 0) << name;
    };
    echo(&ven___CallStaticFloatMethodA, "staticFloatEcho", "(F)F", std::bit_cast<jfloat>(0x80000000u));
    echo(&ven___CallStaticFloatMethodA, "staticFloatEcho", "(F)F", std::bit_cast<jfloat>(0x7fc12345u));
    echo(&ven___CallStaticDoubleMethodA, "staticDoubleEcho", "(D)D", std::bit_cast<jdouble>(1ULL << 63));
    echo(&ven___CallStaticDoubleMethodA, "staticDoubleEcho", "(D)D",
         std::bit_cast<jdouble>(0x7ff8000000012345ULL));
    echo(&ven___CallStaticByteMethodA, "staticByteEcho", "(B)B", jbyte{-1});
    echo(&ven___CallStaticCharMethodA, "staticCharEcho", "(C)C", jchar{0xFFFF});

    // A call that raised stores zero, whatever JNI returned.
    FaultEnv fault(env);
    fault.raiseReturning<&Jni::CallStaticIntMethodA>("java/lang/OutOfMemoryError", "raised", 7);
    jint out = 5;
    EXPECT_EQ(ven___CallStaticIntMethodA(&out, fault.env(), methods, join, nullptr), JNI_FALSE);
    EXPECT_EQ(out, 0);
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
}

} // namespace
} // namespace ven::test::wrapper
