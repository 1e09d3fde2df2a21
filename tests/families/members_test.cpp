// Field access and method invocation through the integration layer at the edges of each
// conversion: the narrowing ranges, one row per value type both ways, the string forms.
#include <cctype>
#include <cfloat>
#include <cstdint>
#include <functional>
#include <limits>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <typename Ven> struct FieldFamily {
    std::string type; // as in the names: venGet<type>Field, fields <type>Field and static<type>Field
    const char* sig;
    KS_BOOL (*get)(Ven*, JNIEnv*, lgStream*, jobject, jfieldID);
    KS_BOOL (*getStatic)(Ven*, JNIEnv*, lgStream*, jclass, jfieldID);
    KS_BOOL (*set)(JNIEnv*, lgStream*, jobject, jfieldID, Ven);
    KS_BOOL (*setStatic)(JNIEnv*, lgStream*, jclass, jfieldID, Ven);
    std::vector<std::pair<Ven, Ven>> writes; // the value written, the value read back
};

// A boolean is true only for KS_TRUE; a double is rounded to float on the way in and widened
// exactly on the way out.
// clang-format off
#define VEN_FIELD_ROW(Type, sig) #Type, sig, venGet##Type##Field, venGetStatic##Type##Field, venSet##Type##Field, venSetStatic##Type##Field
const FieldFamily<KS_BOOL> kBooleanFields{VEN_FIELD_ROW(Boolean, "Z"), {{KS_TRUE, KS_TRUE}, {2, KS_FALSE}, {-1, KS_FALSE}}};
const FieldFamily<jbyte> kByteFields{VEN_FIELD_ROW(Byte, "B"), {{-128, -128}, {127, 127}}};
const FieldFamily<KS_CHAR> kCharFields{VEN_FIELD_ROW(Char, "C"), {{0xFFFF, 65535}, {0xD83D, 0xD83D}}};
const FieldFamily<KS_INT> kShortFields{VEN_FIELD_ROW(Short, "S"), {{-32768, -32768}, {-1, -1}}};
const FieldFamily<KS_INT> kIntFields{VEN_FIELD_ROW(Int, "I"), {{INT32_MIN, INT32_MIN}, {-1, -1}}};
const FieldFamily<KS_INT> kLongFields{VEN_FIELD_ROW(Long, "J"), {{INT64_MIN, INT64_MIN}, {INT64_MAX, INT64_MAX}}};
const FieldFamily<double> kFloatFields{VEN_FIELD_ROW(Float, "F"), {{0.1, 0.100000001490116119384765625}, {-0.0, -0.0}, {1e300, HUGE_VAL}, {-1e300, -HUGE_VAL}}};
const FieldFamily<double> kDoubleFields{VEN_FIELD_ROW(Double, "D"), {{0.1, 0.1}, {-0.0, -0.0}, {kNaN, kNaN}, {DBL_TRUE_MIN, DBL_TRUE_MIN}}};

// The functions of the three kinds, virtual, non-virtual and static.
#define VEN_CALLS(Type) std::make_tuple(&venCall##Type##Method, &venCallNonvirtual##Type##Method, &venCallStatic##Type##Method)

template <typename Ven, typename Jni> struct CallFamily {
    std::string type; // as in the names: venCall[Nonvirtual|Static]<type>Method, <type>Echo
    const char* sig;  // of the echo methods
    std::tuple<KS_BOOL (*)(Ven*, JNIEnv*, lgStream*, jobject, jmethodID, ...),
               KS_BOOL (*)(Ven*, JNIEnv*, lgStream*, jobject, jclass, jmethodID, ...),
               KS_BOOL (*)(Ven*, JNIEnv*, lgStream*, jclass, jmethodID, ...)> calls;
    std::vector<std::pair<Jni, Ven>> edges; // the argument echoed and the value delivered
};

// A char is zero-extended with no surrogate processing, a short sign-extended, a float
// widened to its exact double.
#define VEN_CALL_ROW(Type, sig) #Type, sig, VEN_CALLS(Type)
const CallFamily<KS_BOOL, jboolean> kBooleanCalls{VEN_CALL_ROW(Boolean, "(Z)Z"), {{JNI_FALSE, KS_FALSE}, {JNI_TRUE, KS_TRUE}}};
const CallFamily<jbyte, jbyte> kByteCalls{VEN_CALL_ROW(Byte, "(B)B"), {{-128, -128}, {127, 127}}};
const CallFamily<KS_CHAR, jchar> kCharCalls{VEN_CALL_ROW(Char, "(C)C"), {{0xFFFF, 65535}, {0xD83D, 55357}}};
const CallFamily<KS_INT, jshort> kShortCalls{VEN_CALL_ROW(Short, "(S)S"), {{-1, -1}, {-32768, -32768}, {32767, 32767}}};
const CallFamily<KS_INT, jint> kIntCalls{VEN_CALL_ROW(Int, "(I)I"), {{-1, -1}, {INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX}}};
const CallFamily<KS_INT, jlong> kLongCalls{VEN_CALL_ROW(Long, "(J)J"), {{INT64_MIN, INT64_MIN}, {INT64_MAX, INT64_MAX}}};
const CallFamily<double, jfloat> kFloatCalls{VEN_CALL_ROW(Float, "(F)F"), {{0.1f, 0.100000001490116119384765625},
    {-0.0f, -0.0}, {FLT_TRUE_MIN, 1.40129846432481707092372958329e-45}}};
const CallFamily<double, jdouble> kDoubleCalls{VEN_CALL_ROW(Double, "(D)D"), {{0.1, 0.1}, {kNaN, kNaN}, {-0.0, -0.0}}};
// clang-format on

enum class Kind { Virtual, Nonvirtual, Static };
constexpr Kind kKinds[] = {Kind::Virtual, Kind::Nonvirtual, Kind::Static};

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

    template <typename Ven> void checkFamily(const FieldFamily<Ven>& family)
    {
        std::string lower = family.type;
        lower[0] = static_cast<char>(std::tolower(lower[0]));
        for (const bool isStatic : {false, true}) {
            const std::string field = isStatic ? "static" + family.type + "Field" : lower + "Field";
            SCOPED_TRACE(field);
            jfieldID id = isStatic ? env->GetStaticFieldID(clazz, field.c_str(), family.sig)
                                   : env->GetFieldID(clazz, field.c_str(), family.sig);
            for (const auto& [written, expected] : family.writes) {
                Ven value{};
                EXPECT_TRUE(isStatic ? family.setStatic(env, nullptr, clazz, id, written) &&
                                           family.getStatic(&value, env, nullptr, clazz, id)
                                     : family.set(env, nullptr, obj, id, written) &&
                                           family.get(&value, env, nullptr, obj, id));
                EXPECT_TRUE(same(expected, value)) << written;
            }
        }
    }

    // obj, clazz and methodID for the fixture's method `name` ("intEcho"; the static one is
    // "staticIntEcho"): a parent virtually, a child through the parent's class, or the class.
    std::tuple<jobject, jclass, jmethodID> target(Kind kind, std::string name, const char* sig)
    {
        std::string staticName = "static" + name;
        staticName[6] = static_cast<char>(std::toupper(name[0]));
        return {kind == Kind::Virtual ? parent : kind == Kind::Nonvirtual ? child : nullptr,
                kind == Kind::Virtual ? nullptr : methods,
                kind == Kind::Static ? env->GetStaticMethodID(methods, staticName.c_str(), sig)
                                     : env->GetMethodID(methods, name.c_str(), sig)};
    }

    template <typename Ven, typename Jni> void checkFamily(const CallFamily<Ven, Jni>& family)
    {
        std::string echo = family.type + "Echo";
        echo[0] = static_cast<char>(std::tolower(echo[0]));
        for (const Kind kind : kKinds) {
            SCOPED_TRACE(family.type + " kind " + std::to_string(static_cast<int>(kind)));
            auto [obj, clazz, id] = target(kind, echo, family.sig);
            for (const auto& [echoed, expected] : family.edges) {
                Ven result{};
                EXPECT_TRUE(callKind(kind, family.calls, std::tuple{&result, env, nullptr}, obj, clazz, id, echoed));
                EXPECT_TRUE(same(expected, result)) << +echoed;
            }
        }
    }

    jclass clazz = nullptr;
    jobject obj = nullptr;
    jclass methods = nullptr;
    jobject parent = nullptr;
    jobject child = nullptr;
};

// Each narrowing conversion at its exact boundaries: the bounds reach the JVM unchanged, one
// beyond is refused with the condition and leaves the JVM untouched.
TEST_F(MembersTest, NarrowingRanges)
{
    FaultEnv fault(env);
    jint reached = 7;
    fault.override<&Entry::GetIntArrayRegion>([&](JNIEnv*, jintArray, jsize start, jsize, jint*) { reached = start; });
    jintArray ints = env->NewIntArray(1);
    auto fieldOf = [&](const char* name, const char* sig) { return env->GetFieldID(clazz, name, sig); };
    jfieldID intField = fieldOf("intField", "I"), shortField = fieldOf("shortField", "S");
    jfieldID charField = fieldOf("charField", "C");
    jint buffer[1];
    const struct {
        std::string function, condition;
        KS_INT lowest, highest;
        std::vector<KS_INT> refused;
        std::function<KS_BOOL(KS_INT)> call;
        std::function<KS_INT()> reached;
    } rows[] = {
        {.function = "venSetIntField", .condition = "VEN_KS_INT_TO_JINT_CONV_OK( value )",
         .lowest = INT32_MIN, .highest = INT32_MAX, .refused = {INT32_MIN - 1LL, INT32_MAX + 1LL},
         .call = [&](KS_INT v) { return venSetIntField(env, nullptr, obj, intField, v); },
         .reached = [&] { return env->GetIntField(obj, intField); }},
        {.function = "venSetShortField", .condition = "VEN_KS_INT_TO_JSHORT_CONV_OK( value )",
         .lowest = -32768, .highest = 32767, .refused = {-32769, 32768},
         .call = [&](KS_INT v) { return venSetShortField(env, nullptr, obj, shortField, v); },
         .reached = [&] { return env->GetShortField(obj, shortField); }},
        {.function = "venSetCharField", .condition = "VEN_KS_CHAR_TO_JCHAR_CONV_OK( value )",
         .lowest = 0, .highest = 0xFFFF, .refused = {0x10000, 0xFFFFFFFF},
         .call = [&](KS_INT v) { return venSetCharField(env, nullptr, obj, charField, static_cast<KS_CHAR>(v)); },
         .reached = [&] { return env->GetCharField(obj, charField); }},
        {.function = "venGetIntArrayRegion", .condition = "VEN_KS_INT_TO_JSIZE_CONV_OK( start )",
         .lowest = INT32_MIN, .highest = INT32_MAX, .refused = {INT32_MIN - 1LL, INT32_MAX + 1LL},
         .call = [&](KS_INT v) { return venGetIntArrayRegion(fault.env(), nullptr, ints, v, 1, buffer); },
         .reached = [&] { return reached; }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.function);
        for (const KS_INT bound : {row.lowest, row.highest}) {
            EXPECT_TRUE(row.call(bound) && row.reached() == bound) << bound;
        }
        for (const KS_INT beyond : row.refused) {
            EXPECT_EQ(KS_FALSE, row.call(beyond)) << beyond;
            ExpectPending(env, "java.lang.IllegalArgumentException", (row.function + ": " + row.condition).c_str());
            EXPECT_EQ(row.highest, row.reached());
        }
    }
}

// Every field and call family; a stored boolean byte of 2 reads as false; string fields and
// calls deliver the text both ways, NULL as null.
TEST_F(MembersTest, EveryFamilyAndTheStringForms)
{
    std::apply([&](const auto&... families) { (checkFamily(families), ...); },
               std::forward_as_tuple(kBooleanFields, kByteFields, kCharFields, kShortFields, kIntFields,
                                     kLongFields, kFloatFields, kDoubleFields, kBooleanCalls, kByteCalls,
                                     kCharCalls, kShortCalls, kIntCalls, kLongCalls, kFloatCalls,
                                     kDoubleCalls));
    FaultEnv fault(env);
    fault.returnValue<&Entry::GetBooleanField>(2);
    KS_BOOL flag = KS_TRUE;
    EXPECT_TRUE(venGetBooleanField(&flag, fault.env(), nullptr, obj, env->GetFieldID(clazz, "booleanField", "Z")));
    EXPECT_EQ(KS_FALSE, flag);

    const std::string text = "h\xC3\xA9llo \xF0\x9F\x98\x80";
    jfieldID field = env->GetStaticFieldID(clazz, "staticStringField", "Ljava/lang/String;");
    KsRef<ksString> string = ksStr(text);
    ASSERT_TRUE(venSetStaticStringField(env, nullptr, clazz, field, string));
    EXPECT_EQ(u"h\u00E9llo \U0001F600", units(env, static_cast<jstring>(env->GetStaticObjectField(clazz, field))));
    EXPECT_TRUE(venGetStaticStringField(string.out(), env, nullptr, clazz, field) && utf8(string) == text);
    EXPECT_TRUE(venSetStaticStringField(env, nullptr, clazz, field, nullptr) && !env->GetStaticObjectField(clazz, field));
    EXPECT_TRUE(venGetStaticStringField(string.out(), env, nullptr, clazz, field) && string.get() == nullptr);
    for (const Kind kind : kKinds) {
        const auto [echoer, echoClass, echo] = target(kind, "stringEcho", "(Ljava/lang/String;)Ljava/lang/String;");
        for (const jstring argument : {jstr(env, text), jstring{}}) {
            KsRef<ksString> result = ksStr("held");
            EXPECT_TRUE(callKind(kind, VEN_CALLS(String), std::tuple{result.out(), env, nullptr}, echoer, echoClass, echo, argument));
            EXPECT_TRUE(argument ? utf8(result) == text : result.get() == nullptr) << static_cast<int>(kind);
        }
    }
}

} // namespace
} // namespace ven::families_test
