// Field access and method invocation through the integration layer at the edges of each
// conversion: the narrowing ranges, one row per value type both ways, the string forms.
#include <cctype>
#include <cfloat>
#include <cstdint>
#include <functional>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

template <typename Ven, typename Jni> struct Family {
    std::string type; // as in the names: venGet<type>Field, fields <type>Field, methods <type>Echo
    const char* sig;
    KS_BOOL (*get)(Ven*, JNIEnv*, lgStream*, jobject, jfieldID);
    KS_BOOL (*getStatic)(Ven*, JNIEnv*, lgStream*, jclass, jfieldID);
    KS_BOOL (*set)(JNIEnv*, lgStream*, jobject, jfieldID, Ven);
    KS_BOOL (*setStatic)(JNIEnv*, lgStream*, jclass, jfieldID, Ven);
    std::tuple<KS_BOOL (*)(Ven*, JNIEnv*, lgStream*, jobject, jmethodID, ...),
               KS_BOOL (*)(Ven*, JNIEnv*, lgStream*, jobject, jclass, jmethodID, ...),
               KS_BOOL (*)(Ven*, JNIEnv*, lgStream*, jclass, jmethodID, ...)>
        calls;                               // virtual, non-virtual, static
    std::vector<std::pair<Ven, Ven>> writes; // the value written to a field, the value read back
    std::vector<std::pair<Jni, Ven>> echoes; // the argument a method echoes, the value delivered
};

// The types that convert (bytes, longs and doubles pass through): a boolean is true only for
// KS_TRUE; a double is rounded to float on the way in, a float widened exactly on the way out;
// a char is zero-extended with no surrogate processing, a short sign-extended.
// clang-format off
#define VEN_CALLS(Type) std::make_tuple(&venCall##Type##Method, &venCallNonvirtual##Type##Method, &venCallStatic##Type##Method)
#define VEN_ROW(Type, sig) #Type, sig, venGet##Type##Field, venGetStatic##Type##Field, venSet##Type##Field, venSetStatic##Type##Field, VEN_CALLS(Type)
const Family<KS_BOOL, jboolean> kBooleans{VEN_ROW(Boolean, "Z"), {{KS_TRUE, KS_TRUE}, {2, KS_FALSE}, {-1, KS_FALSE}}, {{JNI_FALSE, KS_FALSE}, {JNI_TRUE, KS_TRUE}}};
const Family<KS_CHAR, jchar> kChars{VEN_ROW(Char, "C"), {{0xFFFF, 65535}, {0xD83D, 0xD83D}}, {{0xFFFF, 65535}, {0xD83D, 55357}}};
const Family<KS_INT, jshort> kShorts{VEN_ROW(Short, "S"), {{-32768, -32768}, {-1, -1}}, {{-1, -1}, {-32768, -32768}, {32767, 32767}}};
const Family<KS_INT, jint> kInts{VEN_ROW(Int, "I"), {{INT32_MIN, INT32_MIN}, {-1, -1}}, {{-1, -1}, {INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX}}};
const Family<double, jfloat> kFloats{VEN_ROW(Float, "F"), {{0.1, 0.100000001490116119384765625}, {-0.0, -0.0}, {1e300, HUGE_VAL}, {-1e300, -HUGE_VAL}},
    {{0.1f, 0.100000001490116119384765625}, {-0.0f, -0.0}, {FLT_TRUE_MIN, 1.40129846432481707092372958329e-45}}};
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

    // obj, clazz and methodID for the fixture's method `name` ("intEcho"; the static one is
    // "staticIntEcho"): a parent virtually, a child through the parent's class, or the class.
    std::tuple<jobject, jclass, jmethodID> target(Kind kind, std::string name, const char* sig)
    {
        std::string staticName = "static" + name;
        staticName[6] = static_cast<char>(std::toupper(name[0]));
        return {kind == Kind::Virtual      ? parent
                : kind == Kind::Nonvirtual ? child
                                           : nullptr,
                kind == Kind::Virtual ? nullptr : methods,
                kind == Kind::Static ? env->GetStaticMethodID(methods, staticName.c_str(), sig)
                                     : env->GetMethodID(methods, name.c_str(), sig)};
    }

    template <typename Ven, typename Jni> void checkFamily(const Family<Ven, Jni>& family)
    {
        std::string lower = family.type, echo = family.type + "Echo";
        lower[0] = echo[0] = static_cast<char>(std::tolower(lower[0]));
        for (const bool isStatic : {false, true}) {
            const std::string field = isStatic ? "static" + family.type + "Field" : lower + "Field";
            SCOPED_TRACE(field);
            jfieldID id = isStatic ? env->GetStaticFieldID(clazz, field.c_str(), family.sig)
                                   : env->GetFieldID(clazz, field.c_str(), family.sig);
            for (const auto& [written, expected] : family.writes) {
                Ven value{};
                EXPECT_TRUE(isStatic ? family.setStatic(env, nullptr, clazz, id, written) &&
                                           family.getStatic(&value, env, nullptr, clazz, id) &&
                                           same(expected, value)
                                     : family.set(env, nullptr, obj, id, written) &&
                                           family.get(&value, env, nullptr, obj, id) && same(expected, value))
                    << written;
            }
        }
        for (const Kind kind : kKinds) {
            SCOPED_TRACE(family.type + " kind " + std::to_string(static_cast<int>(kind)));
            auto [obj, clazz, id] =
                target(kind, echo, ("(" + std::string(family.sig) + ")" + family.sig).c_str());
            for (const auto& [echoed, expected] : family.echoes) {
                Ven result{};
                EXPECT_TRUE(
                    callKind(kind, family.calls, std::tuple{&result, env, nullptr}, obj, clazz, id, echoed) &&
                    same(expected, result))
                    << +echoed;
            }
        }
    }

    jclass clazz = nullptr, methods = nullptr;
    jobject obj = nullptr, parent = nullptr, child = nullptr;
};

// Each narrowing conversion at its exact boundaries: the bounds reach the JVM unchanged, one
// beyond is refused with the condition and leaves the JVM untouched.
TEST_F(MembersTest, NarrowingRanges)
{
    FaultEnv fault(env);
    jint reached = 7;
    fault.override<&Entry::GetIntArrayRegion>(
        [&](JNIEnv*, jintArray, jsize start, jsize, jint*) { reached = start; });
    jintArray ints = env->NewIntArray(1);
    auto fieldOf = [&](const char* name, const char* sig) { return env->GetFieldID(clazz, name, sig); };
    jfieldID intField = fieldOf("intField", "I"), shortField = fieldOf("shortField", "S");
    jfieldID charField = fieldOf("charField", "C");
    jint buffer[1];
    // clang-format off
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
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.function);
        for (const KS_INT bound : {row.lowest, row.highest}) {
            EXPECT_TRUE(row.call(bound) && row.reached() == bound) << bound;
        }
        for (const KS_INT beyond : row.refused) {
            EXPECT_EQ(KS_FALSE, row.call(beyond)) << beyond;
            ExpectPending(env, "java.lang.IllegalArgumentException",
                          (row.function + ": " + row.condition).c_str());
            EXPECT_EQ(row.highest, row.reached());
        }
    }
}

// Every field and call family; a stored boolean byte of 2 reads as false; string fields and
// calls deliver the text both ways, NULL as null.
TEST_F(MembersTest, EveryFamilyAndTheStringForms)
{
    std::apply([&](const auto&... families) { (checkFamily(families), ...); },
               std::tie(kBooleans, kChars, kShorts, kInts, kFloats));
    FaultEnv fault(env);
    fault.returnValue<&Entry::GetBooleanField>(2);
    KS_BOOL flag = KS_TRUE;
    EXPECT_TRUE(
        venGetBooleanField(&flag, fault.env(), nullptr, obj, env->GetFieldID(clazz, "booleanField", "Z")));
    EXPECT_EQ(KS_FALSE, flag);

    const std::string text = "h\xC3\xA9llo \xF0\x9F\x98\x80";
    jfieldID field = env->GetStaticFieldID(clazz, "staticStringField", "Ljava/lang/String;");
    KsRef<ksString> string = ksStr(text);
    ASSERT_TRUE(venSetStaticStringField(env, nullptr, clazz, field, string));
    EXPECT_TRUE(venGetStaticStringField(string.out(), env, nullptr, clazz, field) && utf8(string) == text);
    EXPECT_TRUE(venSetStaticStringField(env, nullptr, clazz, field, nullptr) &&
                !env->GetStaticObjectField(clazz, field));
    EXPECT_TRUE(venGetStaticStringField(string.out(), env, nullptr, clazz, field) && string.get() == nullptr);
    for (const Kind kind : kKinds) {
        const auto [echoer, echoClass, echo] =
            target(kind, "stringEcho", "(Ljava/lang/String;)Ljava/lang/String;");
        for (const jstring argument : {jstr(env, text), jstring{}}) {
            KsRef<ksString> result = ksStr("held");
            EXPECT_TRUE(callKind(kind, VEN_CALLS(String), std::tuple{result.out(), env, nullptr}, echoer,
                                 echoClass, echo, argument) &&
                        (argument ? utf8(result) == text : result.get() == nullptr))
                << static_cast<int>(kind);
        }
    }
}

} // namespace
} // namespace ven::families_test
