// Field access through the integration layer: every reader and writer driven through one
// table row per value type, at the edges of each conversion and range test.
#include <cfloat>
#include <cstdint>
#include <limits>
#include <vector>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

template <typename Ven> struct FieldFamily {
    std::string type; // as in the names: venGet<type>Field, field <type>Field, static<type>Field
    const char* sig;
    KS_BOOL (*get)(Ven*, JNIEnv*, lgStream*, jobject, jfieldID);
    KS_BOOL (*getStatic)(Ven*, JNIEnv*, lgStream*, jclass, jfieldID);
    KS_BOOL (*set)(JNIEnv*, lgStream*, jobject, jfieldID, Ven);
    KS_BOOL (*setStatic)(JNIEnv*, lgStream*, jclass, jfieldID, Ven);
    std::vector<std::pair<Ven, Ven>> writtenAndRead;
    const char* rangeCondition = nullptr;          // the writer's range test, if any
    std::vector<std::pair<Ven, bool>> bounds = {}; // values at its edges, and whether they pass
};

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The row's name part, JNI signature and its four functions.
#define VEN_FIELD_ROW(Type, sig)                                                                             \
#Type, sig, venGet##Type##Field, venGetStatic##Type##Field, venSet##Type##Field, venSetStatic##Type##Field

// A double is rounded to the nearest float on the way in and widened exactly on the way out.
const FieldFamily<KS_BOOL> kBooleans{
    VEN_FIELD_ROW(Boolean, "Z"), {{KS_TRUE, KS_TRUE}, {KS_FALSE, KS_FALSE}, {2, KS_FALSE}, {-1, KS_FALSE}}};
const FieldFamily<jbyte> kBytes{VEN_FIELD_ROW(Byte, "B"), {{-128, -128}, {127, 127}, {-1, -1}}};
const FieldFamily<KS_CHAR> kChars{
    VEN_FIELD_ROW(Char, "C"),
    {{0, 0}, {0xFFFF, 65535}, {0xD83D, 0xD83D}},
    "VEN_KS_CHAR_TO_JCHAR_CONV_OK( value )",
    {{0, true}, {65535, true}, {65536, false}, {0x1F600, false}, {0xFFFFFFFF, false}}};
const FieldFamily<KS_INT> kShorts{VEN_FIELD_ROW(Short, "S"),
                                  {{-32768, -32768}, {32767, 32767}, {-1, -1}},
                                  "VEN_KS_INT_TO_JSHORT_CONV_OK( value )",
                                  {{32767, true}, {-32768, true}, {32768, false}, {-32769, false}}};
const FieldFamily<KS_INT> kInts{
    VEN_FIELD_ROW(Int, "I"),
    {{INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX}, {-1, -1}},
    "VEN_KS_INT_TO_JINT_CONV_OK( value )",
    {{2147483647, true}, {-2147483648LL, true}, {2147483648LL, false}, {-2147483649LL, false}}};
const FieldFamily<KS_INT> kLongs{VEN_FIELD_ROW(Long, "J"), {{INT64_MIN, INT64_MIN}, {INT64_MAX, INT64_MAX}}};
const FieldFamily<double> kFloats{VEN_FIELD_ROW(Float, "F"),
                                  {{0.1, 0.100000001490116119384765625},
                                   {-0.0, -0.0},
                                   {kNaN, kNaN},
                                   {1e300, kInfinity},
                                   {-1e300, -kInfinity}}};
const FieldFamily<double> kDoubles{VEN_FIELD_ROW(Double, "D"),
                                   {{0.1, 0.1}, {-0.0, -0.0}, {kNaN, kNaN}, {DBL_MAX, DBL_MAX}}};

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

    template <typename Ven> bool sameValue(Ven a, Ven b)
    {
        if constexpr (std::is_same_v<Ven, jobject>) {
            return env->IsSameObject(a, b) == JNI_TRUE;
        } else {
            return same(a, b);
        }
    }

    // Every reader and writer of one value type, instance and static alike.
    template <typename Ven> void checkFamily(const FieldFamily<Ven>& family, const std::string& lowerType)
    {
        SCOPED_TRACE(family.type);
        jfieldID field = nullptr;
        jfieldID staticField = nullptr;
        ASSERT_EQ(KS_TRUE,
                  venGetFieldID(&field, env, nullptr, clazz, (lowerType + "Field").c_str(), family.sig));
        ASSERT_EQ(KS_TRUE, venGetStaticFieldID(&staticField, env, nullptr, clazz,
                                               ("static" + family.type + "Field").c_str(), family.sig));
        auto read = [&](bool isStatic) {
            Ven value{};
            EXPECT_EQ(KS_TRUE, isStatic ? family.getStatic(&value, env, nullptr, clazz, staticField)
                                        : family.get(&value, env, nullptr, obj, field));
            return value;
        };
        auto write = [&](bool isStatic, Ven value) {
            return isStatic ? family.setStatic(env, nullptr, clazz, staticField, value)
                            : family.set(env, nullptr, obj, field, value);
        };
        for (bool isStatic : {false, true}) {
            SCOPED_TRACE(isStatic ? "static" : "instance");
            LoopFrame frame(env);
            const std::string getter = (isStatic ? "venGetStatic" : "venGet") + family.type + "Field: ";
            const std::string setter = (isStatic ? "venSetStatic" : "venSet") + family.type + "Field: ";
            const std::string target = isStatic ? "clazz != NULL" : "obj != NULL";
            for (const auto& [written, expected] : family.writtenAndRead) {
                EXPECT_EQ(KS_TRUE, write(isStatic, written));
                EXPECT_TRUE(sameValue(expected, read(isStatic)));
            }
            for (const auto& [value, passes] : family.bounds) {
                const Ven before = read(isStatic);
                if (passes) {
                    EXPECT_EQ(KS_TRUE, write(isStatic, value));
                    EXPECT_TRUE(sameValue(value, read(isStatic))) << value;
                } else {
                    expectArgumentFailure(env, write(isStatic, value), setter + family.rangeCondition);
                    EXPECT_TRUE(sameValue(before, read(isStatic))) << value;
                }
            }
            // Arguments are tested in order and a refused call leaves the out-parameter alone.
            Ven untouched = family.writtenAndRead.front().second;
            auto get = [&](Ven* result, bool withTarget, bool withField) {
                return isStatic ? family.getStatic(result, env, nullptr, withTarget ? clazz : nullptr,
                                                   withField ? staticField : nullptr)
                                : family.get(result, env, nullptr, withTarget ? obj : nullptr,
                                             withField ? field : nullptr);
            };
            expectArgumentFailure(env, get(nullptr, false, false), getter + "result != NULL");
            expectArgumentFailure(env, get(&untouched, false, false), getter + target);
            expectArgumentFailure(env, get(&untouched, true, false), getter + "fieldID != NULL");
            EXPECT_TRUE(sameValue(family.writtenAndRead.front().second, untouched));
            expectArgumentFailure(env,
                                  isStatic ? family.setStatic(env, nullptr, nullptr, nullptr, untouched)
                                           : family.set(env, nullptr, nullptr, nullptr, untouched),
                                  setter + target);
            expectArgumentFailure(env,
                                  isStatic ? family.setStatic(env, nullptr, clazz, nullptr, untouched)
                                           : family.set(env, nullptr, obj, nullptr, untouched),
                                  setter + "fieldID != NULL");
        }
    }

    jclass clazz = nullptr;
    jobject obj = nullptr;
};

TEST_F(FieldsTest, EveryTypeConvertsAtItsEdgesAndTestsItsArguments)
{
    checkFamily(kBooleans, "boolean");
    checkFamily(kBytes, "byte");
    checkFamily(kChars, "char");
    checkFamily(kShorts, "short");
    checkFamily(kInts, "int");
    checkFamily(kLongs, "long");
    checkFamily(kFloats, "float");
    checkFamily(kDoubles, "double");
    jstring text = jstr(env, "text");
    checkFamily(
        FieldFamily<jobject>{VEN_FIELD_ROW(Object, "Ljava/lang/Object;"), {{text, text}, {nullptr, nullptr}}},
        "object");
}

TEST_F(FieldsTest, OnlyJniTrueReadsAsTrue)
{
    FaultEnv fault(env);
    jfieldID field = env->GetFieldID(clazz, "booleanField", "Z");
    jfieldID staticField = env->GetStaticFieldID(clazz, "staticBooleanField", "Z");
    for (jboolean stored : {jboolean{0}, jboolean{1}, jboolean{2}, jboolean{255}}) {
        fault.returnValue<&JNINativeInterface_::GetBooleanField>(stored);
        fault.returnValue<&JNINativeInterface_::GetStaticBooleanField>(stored);
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
    EXPECT_NE(first, value);
    EXPECT_FALSE(fault.ledger().isLive(first));
    EXPECT_TRUE(fault.ledger().isLive(value));
    EXPECT_EQ(1, fault.ledger().deleted());
    EXPECT_EQ(1, fault.ledger().live());
    EXPECT_EQ("object", utf8(env, static_cast<jstring>(value)));
}

TEST_F(FieldsTest, LookupFailureStoresNullAndTracesTheError)
{
    Trace trace;
    jfieldID field = reinterpret_cast<jfieldID>(&trace);
    EXPECT_EQ(KS_FALSE, venGetFieldID(&field, env, trace.get(), clazz, "missing", "I"));
    EXPECT_EQ(nullptr, field);
    ExpectPendingClass(env, "java.lang.NoSuchFieldError");
    ASSERT_EQ(1u, trace.lines().size());
    EXPECT_EQ(0u, trace.lines()[0].find("[venGetFieldID()] Exception: java.lang.NoSuchFieldError: "));
    EXPECT_NE(std::string::npos, trace.lines()[0].find("missing"));
    EXPECT_TRUE(trace.notable());

    field = reinterpret_cast<jfieldID>(&trace);
    EXPECT_EQ(KS_FALSE, venGetStaticFieldID(&field, env, nullptr, clazz, "intField", "I"));
    EXPECT_EQ(nullptr, field);
    ExpectPendingClass(env, "java.lang.NoSuchFieldError");
}

TEST_F(FieldsTest, LookupsTestTheirArgumentsInOrder)
{
    using LookUp = KS_BOOL (*)(jfieldID*, JNIEnv*, lgStream*, jclass, const char*, const char*);
    for (auto [lookUp, name] : {std::pair<LookUp, std::string>{venGetFieldID, "venGetFieldID: "},
                                {venGetStaticFieldID, "venGetStaticFieldID: "}}) {
        jfieldID field = nullptr;
        expectArgumentFailure(env, lookUp(nullptr, env, nullptr, nullptr, nullptr, nullptr),
                              name + "result != NULL");
        expectArgumentFailure(env, lookUp(&field, env, nullptr, nullptr, nullptr, nullptr),
                              name + "clazz != NULL");
        expectArgumentFailure(env, lookUp(&field, env, nullptr, clazz, nullptr, nullptr),
                              name + "name != NULL");
        expectArgumentFailure(env, lookUp(&field, env, nullptr, clazz, "intField", nullptr),
                              name + "sig != NULL");
    }
}

TEST_F(FieldsTest, StringFieldsConvertBothWaysAndNullMeansNull)
{
    jfieldID field = env->GetFieldID(clazz, "stringField", "Ljava/lang/String;");
    jfieldID staticField = env->GetStaticFieldID(clazz, "staticStringField", "Ljava/lang/String;");
    KsRef<ksString> text;
    ASSERT_EQ(KS_TRUE, venGetStringField(text.out(), env, nullptr, obj, field));
    EXPECT_EQ("string", utf8(text));

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
}

TEST_F(FieldsTest, StringFieldsReportThroughTheObjectAccessors)
{
    FaultEnv fault(env);
    jstring made = nullptr;
    fault.override<&JNINativeInterface_::NewString>([&](JNIEnv* real, const jchar* chars, jsize length) {
        return made = real->NewString(chars, length);
    });
    jfieldID field = env->GetFieldID(clazz, "stringField", "Ljava/lang/String;");
    KsRef<ksString> text = ksStr("made first");
    // The Java string exists before the object writer refuses obj, and is let go again.
    expectArgumentFailure(env, venSetStringField(fault.env(), nullptr, nullptr, field, text),
                          "venSetObjectField: obj != NULL");
    EXPECT_NE(nullptr, made);
    EXPECT_FALSE(fault.ledger().isLive(made));
    expectArgumentFailure(env, venSetStaticStringField(fault.env(), nullptr, clazz, nullptr, text),
                          "venSetStaticObjectField: fieldID != NULL");
    EXPECT_EQ(2, fault.calls<&JNINativeInterface_::NewString>());
    EXPECT_FALSE(fault.ledger().isLive(made));
    expectArgumentFailure(env, venGetStringField(text.out(), env, nullptr, nullptr, field),
                          "venGetObjectField: obj != NULL");
    expectArgumentFailure(env, venGetStaticStringField(text.out(), env, nullptr, clazz, nullptr),
                          "venGetStaticObjectField: fieldID != NULL");
    expectArgumentFailure(env, venGetStringField(nullptr, env, nullptr, obj, field),
                          "venStringToKsString: result != ((void *)0)");
    EXPECT_EQ("made first", utf8(text));
}

} // namespace
} // namespace ven::families_test
