// Field access through the integration layer: every reader and writer driven through one
// table row per value type, at the edges of each conversion and range test.
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

#define VEN_FIELD_ROW(Type, sig)                                                                             \
#Type, sig, venGet##Type##Field, venGetStatic##Type##Field, venSet##Type##Field, venSetStatic##Type##Field

// A boolean is true only for KS_TRUE; a double is rounded to float on the way in and widened
// exactly on the way out; chars, shorts and ints are refused beyond their range, which the
// first refused value of a row also shows to be tested after the other arguments.
// clang-format off
const FieldFamily<KS_BOOL> kBooleans{VEN_FIELD_ROW(Boolean, "Z"),
    {{KS_TRUE, KS_TRUE}, {KS_FALSE, KS_FALSE}, {2, KS_FALSE}, {-1, KS_FALSE}}};
const FieldFamily<jbyte> kBytes{VEN_FIELD_ROW(Byte, "B"), {{-128, -128}, {127, 127}, {-1, -1}}};
const FieldFamily<KS_CHAR> kChars{VEN_FIELD_ROW(Char, "C"), {{0xFFFF, 65535}, {0xD83D, 0xD83D}, {0, 0}},
    "VEN_KS_CHAR_TO_JCHAR_CONV_OK( value )", {0x1F600, 65536, 0xFFFFFFFF}};
const FieldFamily<KS_INT> kShorts{VEN_FIELD_ROW(Short, "S"), {{-32768, -32768}, {32767, 32767}, {-1, -1}},
    "VEN_KS_INT_TO_JSHORT_CONV_OK( value )", {32768, -32769}};
const FieldFamily<KS_INT> kInts{VEN_FIELD_ROW(Int, "I"), {{INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX}, {-1, -1}},
    "VEN_KS_INT_TO_JINT_CONV_OK( value )", {2147483648LL, -2147483649LL}};
const FieldFamily<KS_INT> kLongs{VEN_FIELD_ROW(Long, "J"), {{INT64_MIN, INT64_MIN}, {INT64_MAX, INT64_MAX}}};
const FieldFamily<double> kFloats{VEN_FIELD_ROW(Float, "F"),
    {{0.1, 0.100000001490116119384765625}, {-0.0, -0.0}, {kNaN, kNaN}, {1e300, kInf}, {-1e300, -kInf}}};
const FieldFamily<double> kDoubles{VEN_FIELD_ROW(Double, "D"),
    {{0.1, 0.1}, {-0.0, -0.0}, {kNaN, kNaN}, {DBL_MAX, DBL_MAX}}};
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
    void TearDown() override
    {
        env->CallStaticVoidMethod(clazz, env->GetStaticMethodID(clazz, "resetStatics", "()V"));
        JvmTest::TearDown();
    }

    // Every reader and writer of one value type, instance and static alike.
    template <typename Ven> void checkFamily(const FieldFamily<Ven>& family)
    {
        SCOPED_TRACE(family.type);
        for (bool isStatic : {false, true}) {
            LoopFrame frame(env);
            const std::string kind = isStatic ? "Static" : "";
            std::string lower = family.type;
            lower[0] = static_cast<char>(std::tolower(lower[0]));
            const std::string fieldName = (isStatic ? "static" + family.type : lower) + "Field";
            jfieldID id = nullptr;
            ASSERT_EQ(KS_TRUE, (isStatic ? venGetStaticFieldID : venGetFieldID)(
                                   &id, env, nullptr, clazz, fieldName.c_str(), family.sig));
            jobject target = isStatic ? clazz : obj;
            auto get = [&](Ven* result, jobject t, jfieldID i) {
                return isStatic ? family.getStatic(result, env, nullptr, static_cast<jclass>(t), i)
                                : family.get(result, env, nullptr, t, i);
            };
            auto set = [&](jobject t, jfieldID i, Ven value) {
                return isStatic ? family.setStatic(env, nullptr, static_cast<jclass>(t), i, value)
                                : family.set(env, nullptr, t, i, value);
            };
            auto read = [&] {
                Ven value{};
                EXPECT_EQ(KS_TRUE, get(&value, target, id));
                return value;
            };
            const std::string setter = "venSet" + kind + family.type + "Field";
            for (const auto& [written, expected] : family.writes) {
                EXPECT_EQ(KS_TRUE, set(target, id, written));
                EXPECT_TRUE(same(expected, read())) << written;
            }
            for (Ven value : family.refused) {
                expectArgumentFailure(env, set(target, id, value), setter + ": " + family.rangeCondition);
                EXPECT_TRUE(same(family.writes.back().second, read())) << value;
            }
            // Arguments in order, the range test last; a refused call leaves result alone.
            const std::string targetCheck = isStatic ? "clazz != NULL" : "obj != NULL";
            Ven untouched = family.writes.front().second;
            expectChecksInOrder(env, "venGet" + kind + family.type + "Field",
                                {"result != NULL", targetCheck, "fieldID != NULL"}, get,
                                std::tuple{&untouched, target, id}, {nullptr, nullptr, nullptr});
            EXPECT_TRUE(same(family.writes.front().second, untouched));
            std::vector<std::string> setChecks{targetCheck, "fieldID != NULL",
                                               family.rangeCondition ? family.rangeCondition : ""};
            setChecks.resize(family.refused.empty() ? 2 : 3);
            expectChecksInOrder(env, setter, setChecks, set, std::tuple{target, id, untouched},
                                {nullptr, nullptr, family.refused.empty() ? untouched : family.refused[0]});
        }
    }

    jclass clazz = nullptr;
    jobject obj = nullptr;
};

TEST_F(FieldsTest, EveryTypeConvertsAtItsEdgesAndTestsItsArguments)
{
    checkFamily(kBooleans);
    checkFamily(kBytes);
    checkFamily(kChars);
    checkFamily(kShorts);
    checkFamily(kInts);
    checkFamily(kLongs);
    checkFamily(kFloats);
    checkFamily(kDoubles);
    jstring text = jstr(env, "text");
    checkFamily(FieldFamily<jobject>{VEN_FIELD_ROW(Object, "Ljava/lang/Object;"),
                                     {{text, text}, {nullptr, nullptr}}});
}

// Only JNI_TRUE reads as true: a stored byte of 2 reads as false.
TEST_F(FieldsTest, OnlyJniTrueReadsAsTrue)
{
    FaultEnv fault(env);
    jfieldID field = env->GetFieldID(clazz, "booleanField", "Z");
    jfieldID staticField = env->GetStaticFieldID(clazz, "staticBooleanField", "Z");
    for (jboolean stored : {jboolean{0}, jboolean{1}, jboolean{2}}) {
        fault.returnValue<&Entry::GetBooleanField>(stored);
        fault.returnValue<&Entry::GetStaticBooleanField>(stored);
        KS_BOOL value = 7;
        KS_BOOL staticValue = 7;
        EXPECT_EQ(KS_TRUE, venGetBooleanField(&value, fault.env(), nullptr, obj, field));
        EXPECT_EQ(KS_TRUE, venGetStaticBooleanField(&staticValue, fault.env(), nullptr, clazz, staticField));
        EXPECT_EQ(stored == JNI_TRUE ? KS_TRUE : KS_FALSE, value) << int{stored};
        EXPECT_EQ(value, staticValue);
    }
}

TEST_F(FieldsTest, ObjectReaderReplacesTheReferenceItHeld)
{
    FaultEnv fault(env);
    jfieldID field = env->GetFieldID(clazz, "objectField", "Ljava/lang/Object;");
    jobject value = nullptr;
    ASSERT_EQ(KS_TRUE, venGetObjectField(&value, fault.env(), nullptr, obj, field));
    jobject first = value;
    ASSERT_EQ(KS_TRUE, venGetObjectField(&value, fault.env(), nullptr, obj, field));
    EXPECT_FALSE(fault.ledger().isLive(first));
    EXPECT_TRUE(fault.ledger().isLive(value));
    EXPECT_EQ(1, fault.ledger().deleted());
    EXPECT_EQ(1, fault.ledger().live());
    EXPECT_EQ("object", utf8(env, static_cast<jstring>(value)));
}

TEST_F(FieldsTest, LookupsStoreNullOnFailureAndTestTheirArgumentsInOrder)
{
    using LookUp = KS_BOOL (*)(jfieldID*, JNIEnv*, lgStream*, jclass, const char*, const char*);
    for (auto [name, lookUp, otherKind] :
         {std::tuple<std::string, LookUp, const char*>{"venGetFieldID", venGetFieldID, "staticIntField"},
          {"venGetStaticFieldID", venGetStaticFieldID, "intField"}}) {
        Trace trace;
        jfieldID field = reinterpret_cast<jfieldID>(&trace);
        EXPECT_EQ(KS_FALSE, lookUp(&field, env, trace.get(), clazz, otherKind, "I"));
        EXPECT_EQ(nullptr, field);
        ExpectPendingClass(env, "java.lang.NoSuchFieldError");
        ASSERT_EQ(1u, trace.lines().size());
        EXPECT_EQ(0u, trace.lines()[0].find("[" + name + "()] Exception: java.lang.NoSuchFieldError: "));
        EXPECT_NE(std::string::npos, trace.lines()[0].find(otherKind));
        EXPECT_TRUE(trace.notable());
        expectChecksInOrder(env, name, {"result != NULL", "clazz != NULL", "name != NULL", "sig != NULL"},
                            lookUp, std::tuple{&field, env, nullptr, clazz, otherKind, "I"},
                            {nullptr, env, nullptr, nullptr, nullptr, nullptr});
    }
}

TEST_F(FieldsTest, StringFieldsConvertBothWaysThroughTheObjectAccessors)
{
    FaultEnv fault(env);
    jstring made = nullptr;
    fault.override<&Entry::NewString>([&](JNIEnv* real, const jchar* chars, jsize length) {
        return made = real->NewString(chars, length);
    });
    jfieldID field = env->GetFieldID(clazz, "stringField", "Ljava/lang/String;");
    jfieldID staticField = env->GetStaticFieldID(clazz, "staticStringField", "Ljava/lang/String;");
    KsRef<ksString> text;
    ASSERT_EQ(KS_TRUE, venGetStringField(text.out(), env, nullptr, obj, field));
    EXPECT_EQ("string", utf8(text));
    expectArgumentFailure(env, venGetStringField(nullptr, env, nullptr, obj, field),
                          "venStringToKsString: result != ((void *)0)");
    KsRef<ksString> written = ksStr("h\xC3\xA9llo \xF0\x9F\x98\x80");
    ASSERT_EQ(KS_TRUE, venSetStringField(env, nullptr, obj, field, written));
    ASSERT_EQ(KS_TRUE, venSetStaticStringField(env, nullptr, clazz, staticField, written));
    EXPECT_EQ(u"h\u00E9llo \U0001F600", units(env, static_cast<jstring>(env->GetObjectField(obj, field))));
    ASSERT_EQ(KS_TRUE, venGetStaticStringField(text.out(), env, nullptr, clazz, staticField));
    EXPECT_EQ(utf8(written), utf8(text));
    // A null field reads as NULL and releases what the variable held (the frame counts ks objects).
    ASSERT_EQ(KS_TRUE, venSetStringField(env, nullptr, obj, field, nullptr));
    EXPECT_EQ(nullptr, env->GetObjectField(obj, field));
    ASSERT_EQ(KS_TRUE, venGetStringField(text.out(), env, nullptr, obj, field));
    EXPECT_EQ(nullptr, text.get());

    // The Java string is made before the object writer refuses its target, and let go again.
    text = ksStr("made first");
    expectArgumentFailure(env, venSetStringField(fault.env(), nullptr, nullptr, field, text),
                          "venSetObjectField: obj != NULL");
    EXPECT_FALSE(made == nullptr || fault.ledger().isLive(made));
    expectArgumentFailure(env, venSetStaticStringField(fault.env(), nullptr, clazz, nullptr, text),
                          "venSetStaticObjectField: fieldID != NULL");
    EXPECT_EQ(2, fault.calls<&Entry::NewString>());
    EXPECT_FALSE(fault.ledger().isLive(made));
    expectArgumentFailure(env, venGetStringField(text.out(), env, nullptr, nullptr, field),
                          "venGetObjectField: obj != NULL");
    expectArgumentFailure(env, venGetStaticStringField(text.out(), env, nullptr, clazz, nullptr),
                          "venGetStaticObjectField: fieldID != NULL");
    EXPECT_EQ("made first", utf8(text));
}

} // namespace
} // namespace ven::families_test
