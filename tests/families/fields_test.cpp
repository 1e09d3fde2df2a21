// Field access through the integration layer: every reader and writer through one table row
// per value type, at the edges of each conversion and range test; string forms; lookups.
#include <cctype>
#include <cfloat>
#include <cstdint>
#include <limits>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

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

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// A boolean is true only for KS_TRUE; a double is rounded to float on the way in and widened
// exactly on the way out; chars, shorts and ints are refused beyond their range.
// clang-format off
#define VEN_FIELD_ROW(Type, sig) #Type, sig, venGet##Type##Field, venGetStatic##Type##Field, venSet##Type##Field, venSetStatic##Type##Field
const FieldFamily<KS_BOOL> kBooleans{VEN_FIELD_ROW(Boolean, "Z"), {{KS_TRUE, KS_TRUE}, {KS_FALSE, KS_FALSE}, {2, KS_FALSE}, {-1, KS_FALSE}}};
const FieldFamily<jbyte> kBytes{VEN_FIELD_ROW(Byte, "B"), {{-128, -128}, {127, 127}, {-1, -1}}};
const FieldFamily<KS_CHAR> kChars{VEN_FIELD_ROW(Char, "C"), {{0xFFFF, 65535}, {0xD83D, 0xD83D}, {0, 0}}, "VEN_KS_CHAR_TO_JCHAR_CONV_OK( value )", {0x1F600, 65536, 0xFFFFFFFF}};
const FieldFamily<KS_INT> kShorts{VEN_FIELD_ROW(Short, "S"), {{-32768, -32768}, {32767, 32767}, {-1, -1}}, "VEN_KS_INT_TO_JSHORT_CONV_OK( value )", {32768, -32769}};
const FieldFamily<KS_INT> kInts{VEN_FIELD_ROW(Int, "I"), {{INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX}, {-1, -1}}, "VEN_KS_INT_TO_JINT_CONV_OK( value )", {2147483648LL, -2147483649LL}};
const FieldFamily<KS_INT> kLongs{VEN_FIELD_ROW(Long, "J"), {{INT64_MIN, INT64_MIN}, {INT64_MAX, INT64_MAX}}};
const FieldFamily<double> kFloats{VEN_FIELD_ROW(Float, "F"), {{0.1, 0.100000001490116119384765625}, {-0.0, -0.0}, {kNaN, kNaN}, {1e300, kInf}, {-1e300, -kInf}}};
const FieldFamily<double> kDoubles{VEN_FIELD_ROW(Double, "D"), {{0.1, 0.1}, {-0.0, -0.0}, {kNaN, kNaN}, {DBL_MAX, DBL_MAX}}};
// clang-format on

class FieldsTest : public JvmTest
{
  protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        clazz = findClass(env, "fixtures/Fields");
        obj = newInstance(env, "fixtures/Fields");
    }

    // Every reader and writer of one value type, instance and static alike: the values,
    // the refused ones leaving the field alone, the arguments in order (the range test
    // last) leaving result alone, and an object read twice into one variable.
    template <typename Ven> void checkFamily(const FieldFamily<Ven>& family)
    {
        auto check = [&](const std::string& kind, auto target, auto get, auto set, const std::string& field) {
            SCOPED_TRACE(field);
            TestFrame frame(env, 256);
            jfieldID id = kind.empty() ? env->GetFieldID(clazz, field.c_str(), family.sig)
                                       : env->GetStaticFieldID(clazz, field.c_str(), family.sig);
            auto read = [&] {
                Ven value{};
                EXPECT_EQ(KS_TRUE, get(&value, env, nullptr, target, id));
                return value;
            };
            const std::string setter = "venSet" + kind + family.type + "Field";
            for (const auto& [written, expected] : family.writes) {
                EXPECT_EQ(KS_TRUE, set(env, nullptr, target, id, written));
                EXPECT_TRUE(same(expected, read())) << written;
            }
            for (Ven value : family.refused) {
                expectArgumentFailure(env, set(env, nullptr, target, id, value),
                                      setter + ": " + family.rangeCondition);
                EXPECT_TRUE(same(family.writes.back().second, read())) << value;
            }
            const std::string targetCheck = kind.empty() ? "obj != NULL" : "clazz != NULL";
            Ven held = family.writes[0].second;
            std::vector<std::string> setChecks{targetCheck, "fieldID != NULL",
                                               family.refused.empty() ? "" : family.rangeCondition};
            setChecks.resize(family.refused.empty() ? 2 : 3);
            // clang-format off
            expectChecksInOrder(env, "venGet" + kind + family.type + "Field", {"result != NULL", targetCheck, "fieldID != NULL"},
                                get, std::tuple{&held, env, nullptr, target, id}, {nullptr, env, nullptr, nullptr, nullptr});
            expectChecksInOrder(env, setter, setChecks, set, std::tuple{env, nullptr, target, id, held},
                                {env, nullptr, nullptr, nullptr, family.refused.empty() ? held : family.refused[0]});
            // clang-format on
            EXPECT_TRUE(same(family.writes[0].second, held));
            if constexpr (std::is_same_v<Ven, jobject>) {
                FaultEnv fault(env);
                jobject value = nullptr;
                EXPECT_TRUE(get(&value, fault.env(), nullptr, target, id) &&
                            get(&value, fault.env(), nullptr, target, id));
                EXPECT_EQ(1, fault.ledger().live());
            }
        };
        std::string lower = family.type;
        lower[0] = static_cast<char>(std::tolower(lower[0]));
        check("", obj, family.get, family.set, lower + "Field");
        check("Static", clazz, family.getStatic, family.setStatic, "static" + family.type + "Field");
    }

    jclass clazz = nullptr;
    jobject obj = nullptr;
};

TEST_F(FieldsTest, EveryTypeConvertsAtItsEdgesAndTestsItsArguments)
{
    std::apply([&](const auto&... families) { (checkFamily(families), ...); },
               std::tie(kBooleans, kBytes, kChars, kShorts, kInts, kLongs, kFloats, kDoubles));
    jstring text = jstr(env, "text");
    checkFamily(FieldFamily<jobject>{VEN_FIELD_ROW(Object, "Ljava/lang/Object;"),
                                     {{nullptr, nullptr}, {text, text}}});
    // Only JNI_TRUE reads as true: a stored byte of 2 reads as false.
    FaultEnv fault(env);
    fault.returnValue<&Entry::GetBooleanField>(2);
    fault.returnValue<&Entry::GetStaticBooleanField>(2);
    KS_BOOL value = KS_TRUE, staticValue = KS_TRUE;
    EXPECT_EQ(KS_TRUE, venGetBooleanField(&value, fault.env(), nullptr, obj,
                                          env->GetFieldID(clazz, "booleanField", "Z")));
    EXPECT_EQ(KS_TRUE, venGetStaticBooleanField(&staticValue, fault.env(), nullptr, clazz,
                                                env->GetStaticFieldID(clazz, "staticBooleanField", "Z")));
    EXPECT_TRUE(value == KS_FALSE && staticValue == KS_FALSE);
}

// String forms: both ways, null as NULL (the string held released: the frame counts ks
// objects); refusals come from the object accessors, the Java string made (and let go) first.
TEST_F(FieldsTest, StringFieldsConvertThroughTheObjectAccessors)
{
    FaultEnv fault(env);
    LeakCheck leaks(fault);
    jfieldID field = env->GetFieldID(clazz, "stringField", "Ljava/lang/String;");
    jfieldID staticField = env->GetStaticFieldID(clazz, "staticStringField", "Ljava/lang/String;");
    KsRef<ksString> text = ksStr("h\xC3\xA9llo \xF0\x9F\x98\x80");
    // clang-format off
    runSteps(env, {
        VEN_STEP(KS_TRUE, venSetStaticStringField(env, nullptr, clazz, staticField, text), nullptr, units(env, static_cast<jstring>(env->GetStaticObjectField(clazz, staticField))) == u"h\u00E9llo \U0001F600"),
        VEN_STEP(KS_TRUE, venGetStringField(text.out(), env, nullptr, obj, field), nullptr, utf8(text) == "string"),
        VEN_STEP(KS_TRUE, venGetStaticStringField(text.out(), env, nullptr, clazz, staticField), nullptr, utf8(text) == "h\xC3\xA9llo \xF0\x9F\x98\x80"),
        VEN_REFUSED("venStringToKsString: result != ((void *)0)", venGetStringField(nullptr, env, nullptr, obj, field)),
        VEN_REFUSED("venSetObjectField: obj != NULL", venSetStringField(fault.env(), nullptr, nullptr, field, text)),
        VEN_REFUSED("venSetStaticObjectField: fieldID != NULL", venSetStaticStringField(fault.env(), nullptr, clazz, nullptr, text)),
        VEN_REFUSED("venGetObjectField: obj != NULL", venGetStringField(text.out(), env, nullptr, nullptr, field)),
        VEN_REFUSED("venGetStaticObjectField: fieldID != NULL", venGetStaticStringField(text.out(), env, nullptr, clazz, nullptr)),
        VEN_STEP(KS_TRUE, venSetStringField(fault.env(), nullptr, obj, field, nullptr), nullptr, fault.calls<&Entry::NewString>() == 2 && leaks.live() == 0 && !env->GetObjectField(obj, field)),
        VEN_STEP(KS_TRUE, venGetStringField(text.out(), env, nullptr, obj, field), nullptr, text.get() == nullptr)});
    // clang-format on
}

// Field and method lookups store the ID, or NULL with the error traced; checks in order.
TEST_F(FieldsTest, LookupsStoreTheIdOrNullAndTestTheirArgumentsInOrder)
{
    auto check = [&](const std::string& name, auto lookUp, auto id, jclass in, const char* existing,
                     const char* otherKind, const char* sig, const std::string& error) {
        Trace trace;
        EXPECT_TRUE(lookUp(&id, env, trace.get(), in, existing, sig) && id != nullptr) << name;
        EXPECT_TRUE(!lookUp(&id, env, trace.get(), in, otherKind, sig) && id == nullptr) << name;
        ExpectPendingClass(env, error.c_str());
        const std::vector<std::string> lines = trace.lines();
        EXPECT_TRUE(lines.size() == 1 &&
                    lines[0].starts_with("[" + name + "()] Exception: " + error + ": ") &&
                    lines[0].find(otherKind) != std::string::npos && trace.notable())
            << name;
        expectChecksInOrder(env, name, {"result != NULL", "clazz != NULL", "name != NULL", "sig != NULL"},
                            lookUp, std::tuple{&id, env, nullptr, in, existing, sig},
                            {nullptr, env, nullptr, nullptr, nullptr, nullptr});
    };
    jclass methods = findClass(env, "fixtures/Methods");
    // clang-format off
    check("venGetFieldID", venGetFieldID, jfieldID{}, clazz, "intField", "staticIntField", "I", "java.lang.NoSuchFieldError");
    check("venGetStaticFieldID", venGetStaticFieldID, jfieldID{}, clazz, "staticIntField", "intField", "I", "java.lang.NoSuchFieldError");
    check("venGetMethodID", venGetMethodID, jmethodID{}, methods, "intEcho", "staticIntEcho", "(I)I", "java.lang.NoSuchMethodError");
    check("venGetStaticMethodID", venGetStaticMethodID, jmethodID{}, methods, "staticIntEcho", "intEcho", "(I)I", "java.lang.NoSuchMethodError");
    // clang-format on
}

} // namespace
} // namespace ven::families_test
