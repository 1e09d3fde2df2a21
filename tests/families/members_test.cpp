// Field access and method invocation through the integration layer: one table row per
// value type, at the edges of each conversion; string, object and void forms.
#include <cctype>
#include <cfloat>
#include <cstdint>
#include <limits>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

template <typename Ven> struct FieldFamily {
    std::string type; // as in the names: venGet<type>Field, fields <type>Field and static<type>Field
    const char* sig;
    KS_BOOL (*get)(Ven*, JNIEnv*, lgStream*, jobject, jfieldID);
    KS_BOOL (*getStatic)(Ven*, JNIEnv*, lgStream*, jclass, jfieldID);
    KS_BOOL (*set)(JNIEnv*, lgStream*, jobject, jfieldID, Ven);
    KS_BOOL (*setStatic)(JNIEnv*, lgStream*, jclass, jfieldID, Ven);
    std::vector<std::pair<Ven, Ven>> writes; // the value written, the value read back
    const char* rangeCondition = nullptr;    // the writer's, and the values it refuses
    std::vector<Ven> refused = {};
};

// A boolean is true only for KS_TRUE; a double is rounded to float on the way in and widened
// exactly on the way out; chars, shorts and ints are refused beyond their range.
// clang-format off
#define VEN_FIELD_ROW(Type, sig) #Type, sig, venGet##Type##Field, venGetStatic##Type##Field, venSet##Type##Field, venSetStatic##Type##Field
const FieldFamily<KS_BOOL> kBooleanFields{VEN_FIELD_ROW(Boolean, "Z"), {{KS_TRUE, KS_TRUE}, {KS_FALSE, KS_FALSE}, {2, KS_FALSE}, {-1, KS_FALSE}}};
const FieldFamily<jbyte> kByteFields{VEN_FIELD_ROW(Byte, "B"), {{-128, -128}, {127, 127}, {-1, -1}}};
const FieldFamily<KS_CHAR> kCharFields{VEN_FIELD_ROW(Char, "C"), {{0xFFFF, 65535}, {0xD83D, 0xD83D}, {0, 0}}, "VEN_KS_CHAR_TO_JCHAR_CONV_OK( value )", {0x1F600, 65536, 0xFFFFFFFF}};
const FieldFamily<KS_INT> kShortFields{VEN_FIELD_ROW(Short, "S"), {{-32768, -32768}, {32767, 32767}, {-1, -1}}, "VEN_KS_INT_TO_JSHORT_CONV_OK( value )", {32768, -32769}};
const FieldFamily<KS_INT> kIntFields{VEN_FIELD_ROW(Int, "I"), {{INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX}, {-1, -1}}, "VEN_KS_INT_TO_JINT_CONV_OK( value )", {2147483648LL, -2147483649LL}};
const FieldFamily<KS_INT> kLongFields{VEN_FIELD_ROW(Long, "J"), {{INT64_MIN, INT64_MIN}, {INT64_MAX, INT64_MAX}}};
const FieldFamily<double> kFloatFields{VEN_FIELD_ROW(Float, "F"), {{0.1, 0.100000001490116119384765625}, {-0.0, -0.0}, {kNaN, kNaN}, {1e300, kInf}, {-1e300, -kInf}}};
const FieldFamily<double> kDoubleFields{VEN_FIELD_ROW(Double, "D"), {{0.1, 0.1}, {-0.0, -0.0}, {kNaN, kNaN}, {DBL_MAX, DBL_MAX}}};
// clang-format on

// The functions of the three kinds, virtual, non-virtual and static.
#define VEN_CALLS(Type)                                                                                      \
    std::make_tuple(&venCall##Type##Method, &venCallNonvirtual##Type##Method, &venCallStatic##Type##Method)

template <typename Ven, typename Jni> struct CallFamily {
    std::string type; // as in the names: venCall[Nonvirtual|Static]<type>Method, <type>Echo
    const char* sig;  // of the echo methods
    std::tuple<KS_BOOL (*)(Ven*, JNIEnv*, lgStream*, jobject, jmethodID, ...),
               KS_BOOL (*)(Ven*, JNIEnv*, lgStream*, jobject, jclass, jmethodID, ...),
               KS_BOOL (*)(Ven*, JNIEnv*, lgStream*, jclass, jmethodID, ...)>
        calls;
    std::vector<std::pair<Jni, Ven>> edges; // the argument echoed and the value delivered; the last not zero
};

// A char is zero-extended with no surrogate processing, a short sign-extended, a float
// widened to its exact double.
// clang-format off
#define VEN_CALL_ROW(Type, sig) #Type, sig, VEN_CALLS(Type)
const CallFamily<KS_BOOL, jboolean> kBooleanCalls{VEN_CALL_ROW(Boolean, "(Z)Z"), {{JNI_FALSE, KS_FALSE}, {JNI_TRUE, KS_TRUE}}};
const CallFamily<jbyte, jbyte> kByteCalls{VEN_CALL_ROW(Byte, "(B)B"), {{-128, -128}, {127, 127}, {-1, -1}}};
const CallFamily<KS_CHAR, jchar> kCharCalls{VEN_CALL_ROW(Char, "(C)C"), {{0, 0}, {0xFFFF, 65535}, {0xD83D, 55357}}};
const CallFamily<KS_INT, jshort> kShortCalls{VEN_CALL_ROW(Short, "(S)S"), {{-1, -1}, {-32768, -32768}, {32767, 32767}}};
const CallFamily<KS_INT, jint> kIntCalls{VEN_CALL_ROW(Int, "(I)I"), {{-1, -1}, {INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX}}};
const CallFamily<KS_INT, jlong> kLongCalls{VEN_CALL_ROW(Long, "(J)J"), {{INT64_MIN, INT64_MIN}, {INT64_MAX, INT64_MAX}}};
const CallFamily<double, jfloat> kFloatCalls{VEN_CALL_ROW(Float, "(F)F"), {{0.1f, 0.100000001490116119384765625},
    {std::numeric_limits<float>::quiet_NaN(), kNaN}, {-0.0f, -0.0}, {FLT_TRUE_MIN, 1.40129846432481707092372958329e-45}}};
const CallFamily<double, jdouble> kDoubleCalls{VEN_CALL_ROW(Double, "(D)D"),
    {{0.1, 0.1}, {kNaN, kNaN}, {-0.0, -0.0}, {DBL_TRUE_MIN, DBL_TRUE_MIN}}};

enum class Kind { Virtual, Nonvirtual, Static };
// Each kind's name prefix.
const std::pair<Kind, std::string> kKinds[] = {
    {Kind::Virtual, "venCall"}, {Kind::Nonvirtual, "venCallNonvirtual"}, {Kind::Static, "venCallStatic"}};
// clang-format on

// Calls the function of `kind` among `calls` with `lead` (result if any, env, trace), then
// the arguments that the kind takes of obj, clazz and methodID, then `args`.
template <typename Calls, typename Lead, typename... Args>
KS_BOOL callKind(Kind kind, Calls calls, Lead lead, jobject obj, jclass clazz, jmethodID id, Args... args)
{
    return kind == Kind::Virtual
               ? std::apply(std::get<0>(calls), std::tuple_cat(lead, std::tuple{obj, id, args...}))
           : kind == Kind::Nonvirtual
               ? std::apply(std::get<1>(calls), std::tuple_cat(lead, std::tuple{obj, clazz, id, args...}))
               : std::apply(std::get<2>(calls), std::tuple_cat(lead, std::tuple{clazz, id, args...}));
}

class MembersTest : public JvmTest
{
  protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        clazz = findClass(env, "fixtures/Fields");
        obj = newInstance(env, "fixtures/Fields");
        methods = findClass(env, "fixtures/Methods");
        parent = newInstance(env, "fixtures/Methods");
        child = newInstance(env, "fixtures/MethodsChild");
    }
    void TearDown() override
    {
        env->CallStaticVoidMethod(methods, env->GetStaticMethodID(methods, "resetStatics", "()V"));
        JvmTest::TearDown();
    }

    // Every reader and writer of one value type, instance and static alike: the values, the
    // refused ones leaving the field alone, the arguments in order (the range test last)
    // leaving result alone, and an object read twice into one variable keeping one reference.
    template <typename Ven> void checkFamily(const FieldFamily<Ven>& family)
    {
        // clang-format off
        auto check = [&](const std::string& kind, auto target, auto get, auto set, const std::string& field) {
            SCOPED_TRACE(field);
            TestFrame frame(env, 256);
            jfieldID id = kind.empty() ? env->GetFieldID(clazz, field.c_str(), family.sig) : env->GetStaticFieldID(clazz, field.c_str(), family.sig);
            Ven value{};
            auto read = [&](JNIEnv* e) { return get(&value, e, nullptr, target, id) == KS_TRUE; };
            const std::string setter = "venSet" + kind + family.type + "Field", targetCheck = kind.empty() ? "obj != NULL" : "clazz != NULL";
            for (const auto& [written, expected] : family.writes) {
                EXPECT_TRUE(set(env, nullptr, target, id, written) && read(env) && same(expected, value)) << written;
            }
            for (Ven refused : family.refused) {
                expectArgumentFailure(env, set(env, nullptr, target, id, refused), setter + ": " + family.rangeCondition);
                EXPECT_TRUE(read(env) && same(family.writes.back().second, value)) << refused;
            }
            Ven held = family.writes[0].second;
            EXPECT_TRUE(same(family.writes[0].second, held));
            if constexpr (std::is_same_v<Ven, jobject>) {
                FaultEnv fault(env);
                EXPECT_TRUE(read(fault.env()) && read(fault.env()) && fault.ledger().live() == 1);
            }
        };
        // clang-format on
        std::string lower = family.type;
        lower[0] = static_cast<char>(std::tolower(lower[0]));
        check("", obj, family.get, family.set, lower + "Field");
        check("Static", clazz, family.getStatic, family.setStatic, "static" + family.type + "Field");
    }

    // Makes every fixture method throw `className` with the message "requested" (NULL: none).
    void failWith(const char* className)
    {
        jfieldID failure = env->GetStaticFieldID(methods, "failure", "Ljava/lang/Throwable;");
        env->SetStaticObjectField(methods, failure,
                                  className ? makeThrowable(env, className, "requested") : nullptr);
    }

    // obj, clazz and methodID for the fixture's method `name` ("intEcho"; the static one is
    // "staticIntEcho"): a parent virtually, a child through the parent's class, or the class.
    std::tuple<jobject, jclass, jmethodID> target(Kind kind, std::string name, const char* sig)
    {
        std::string staticName = "static" + name;
        staticName[6] = static_cast<char>(std::toupper(name[0]));
        // clang-format off
        return {kind == Kind::Virtual ? parent : kind == Kind::Nonvirtual ? child : nullptr, kind == Kind::Virtual ? nullptr : methods,
                kind == Kind::Static ? env->GetStaticMethodID(methods, staticName.c_str(), sig) : env->GetMethodID(methods, name.c_str(), sig)};
        // clang-format on
    }

    // Every call function of one result type in the three kinds: the values delivered, zero
    // after an exception (unchecked: traced under its own name, checked: not).
    template <typename Ven, typename Jni> void checkFamily(const CallFamily<Ven, Jni>& family)
    {
        std::string echo = family.type + "Echo";
        echo[0] = static_cast<char>(std::tolower(echo[0]));
        const auto [argument, nonZero] = family.edges.back();
        // clang-format off
        for (const auto& [kind, prefix] : kKinds) {
            const std::string name = prefix + family.type + "Method";
            SCOPED_TRACE(name);
            TestFrame frame(env, 256);
            auto [obj, clazz, id] = target(kind, echo, family.sig);
            auto call = [&](auto... a) { return callKind(kind, family.calls, a...); };
            Ven result = nonZero;
            for (const auto& [echoed, expected] : family.edges) {
                EXPECT_TRUE(call(std::tuple{&result, env, nullptr}, obj, clazz, id, echoed) && same(expected, result)) << +echoed;
            }
            for (const auto& [thrown, unchecked] : {std::pair{"java.lang.IllegalStateException", true}, std::pair{"java.io.IOException", false}}) {
                Trace trace;
                failWith(thrown);
                EXPECT_TRUE(!call(std::tuple{&result, env, trace.get()}, obj, clazz, id, argument) && same(Ven{}, result));
                ExpectPending(env, thrown, "requested");
                EXPECT_TRUE(trace.notable() == unchecked && (unchecked ? tracedOnce(trace, "[" + name + "()] Exception: " + thrown + ": requested", true) : trace.lines().empty()));
                result = nonZero;
            }
            failWith(nullptr);
            EXPECT_TRUE(same(nonZero, result));
        }
        // clang-format on
    }

    jclass clazz = nullptr;
    jobject obj = nullptr;
    jclass methods = nullptr;
    jobject parent = nullptr;
    jobject child = nullptr;
};

// Every field and call family; a stored byte of 2 reads as false; string fields both ways,
// a NULL ksString written as null and read back as NULL.
TEST_F(MembersTest, EveryFamilyAndTheStringForms)
{
    jstring text = jstr(env, "text");
    std::apply([&](const auto&... families) { (checkFamily(families), ...); },
               std::forward_as_tuple(kBooleanFields, kByteFields, kCharFields, kShortFields, kIntFields,
                                     kLongFields, kFloatFields, kDoubleFields, kBooleanCalls, kByteCalls,
                                     kCharCalls, kShortCalls, kIntCalls, kLongCalls, kFloatCalls,
                                     kDoubleCalls,
                                     FieldFamily<jobject>{VEN_FIELD_ROW(Object, "Ljava/lang/Object;"),
                                                          {{nullptr, nullptr}, {text, text}}}));
    FaultEnv fault(env);
    LeakCheck leaks(fault);
    fault.returnValue<&Entry::GetBooleanField>(2);
    fault.returnValue<&Entry::GetStaticBooleanField>(2);
    KS_BOOL flag = KS_TRUE, staticFlag = KS_TRUE;
    jfieldID field = env->GetFieldID(clazz, "stringField", "Ljava/lang/String;");
    jfieldID staticField = env->GetStaticFieldID(clazz, "staticStringField", "Ljava/lang/String;");
    KsRef<ksString> string = ksStr("h\xC3\xA9llo \xF0\x9F\x98\x80");
    // clang-format off
    runSteps(env, {
        VEN_STEP(KS_TRUE, venGetBooleanField(&flag, fault.env(), nullptr, obj, env->GetFieldID(clazz, "booleanField", "Z")), "", flag == KS_FALSE),
        VEN_STEP(KS_TRUE, venGetStaticBooleanField(&staticFlag, fault.env(), nullptr, clazz, env->GetStaticFieldID(clazz, "staticBooleanField", "Z")), "", staticFlag == KS_FALSE),
        VEN_STEP(KS_TRUE, venSetStaticStringField(env, nullptr, clazz, staticField, string), "", units(env, static_cast<jstring>(env->GetStaticObjectField(clazz, staticField))) == u"h\u00E9llo \U0001F600"),
        VEN_STEP(KS_TRUE, venGetStringField(string.out(), env, nullptr, obj, field), "", utf8(string) == "string"),
        VEN_STEP(KS_TRUE, venGetStaticStringField(string.out(), env, nullptr, clazz, staticField), "", utf8(string) == "h\xC3\xA9llo \xF0\x9F\x98\x80"),
        VEN_STEP(KS_TRUE, venSetStringField(fault.env(), nullptr, obj, field, nullptr), "", leaks.live() == 0 && !env->GetObjectField(obj, field)),
        VEN_STEP(KS_TRUE, venGetStringField(string.out(), env, nullptr, obj, field), "", string.get() == nullptr)});
    // clang-format on
}

// Per kind: void calls run the method of their kind; the string forms deliver the text, NULL
// for null, and keep the string held when the method throws.
TEST_F(MembersTest, ObjectVoidAndStringFormsOfEachKind)
{
    jstring text = jstr(env, "h\xC3\xA9llo \xF0\x9F\x98\x80");
    jclass childClass = env->GetObjectClass(child);
    const char* counters[] = {"childVoidCalls", "voidCalls", "staticVoidCalls"};
    for (const auto& [kind, prefix] : kKinds) {
        SCOPED_TRACE(prefix);
        TestFrame frame(env, 256);
        const auto [runner, voidClass, run] = target(kind, "voidRun", "()V");
        const auto [echoer, echoClass, echo] =
            target(kind, "stringEcho", "(Ljava/lang/String;)Ljava/lang/String;");
        const jobject voidTarget = kind == Kind::Static ? nullptr : child;
        const std::string voidName = prefix + "VoidMethod", objectCall = prefix + "ObjectMethodV";
        const char* counter = counters[static_cast<int>(kind)];
        KsRef<ksString> result;
        Trace trace;
        // clang-format off
        auto callVoid = [&](auto... a) { return callKind(kind, VEN_CALLS(Void), a...); };
        auto callString = [&](auto... a) { return callKind(kind, VEN_CALLS(String), a...); };
        auto echoString = [&](ksString** r, lgStream* t, jobject a) { return callString(std::tuple{r, env, t}, echoer, echoClass, echo, a); };
        auto ran = [&] { return 1 == (kind == Kind::Static ? env->GetStaticIntField(childClass, env->GetStaticFieldID(childClass, counter, "I")) : env->GetIntField(child, env->GetFieldID(childClass, counter, "I"))); };
        runSteps(env, {
            VEN_STEP(KS_TRUE, callVoid(std::tuple{env, trace.get()}, voidTarget, voidClass, run), "", ran() && trace.lines().empty()),
            VEN_DO(failWith("java.lang.OutOfMemoryError")),
            VEN_STEP(KS_FALSE, callVoid(std::tuple{env, trace.get()}, voidTarget, voidClass, run), "java.lang.OutOfMemoryError", tracedOnce(trace, "[" + voidName + "()] Exception: java.lang.OutOfMemoryError: requested", true)),
            VEN_DO(failWith(nullptr)),
            VEN_STEP(KS_TRUE, echoString(result.out(), nullptr, text), "", utf8(result) == "h\xC3\xA9llo \xF0\x9F\x98\x80"),
            VEN_STEP(KS_TRUE, echoString(result.out(), nullptr, nullptr), "", result.get() == nullptr),
            VEN_DO(result = ksStr("kept")),
            VEN_DO(failWith("java.lang.IllegalStateException")),
            VEN_STEP(KS_FALSE, echoString(result.out(), trace.get(), text), "java.lang.IllegalStateException", tracedOnce(trace, "[" + objectCall + "()] Exception: java.lang.IllegalStateException: requested", true)),
            VEN_STEP(KS_FALSE, echoString(nullptr, nullptr, text), "java.lang.IllegalStateException", true),
            VEN_DO(failWith(nullptr))});
        // clang-format on
        EXPECT_EQ("kept", utf8(result));
    }
}

} // namespace
} // namespace ven::families_test
