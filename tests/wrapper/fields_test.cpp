// The 36 field accessors from one table of the required "env" lines, and the four lookups: every
// check, exact bits both ways, the saved pending exception and the success path's cost.
#include <cctype>
#include <cstdint>

#include "wrapper/wrapper_test.hpp"

namespace ven::test::wrapper
{
namespace
{

// Brings every accessor to one shape: a getter returns the field, a setter writes `v`.
template <typename T, typename Target>
jvalue access(T (*get)(JNIEnv*, Target, jfieldID), JNIEnv* e, jobject t, jfieldID id, jvalue)
{
    return jvalueOf(get(e, static_cast<Target>(t), id));
}
template <typename T, typename Target>
jvalue access(void (*set)(JNIEnv*, Target, jfieldID, T), JNIEnv* e, jobject t, jfieldID id, jvalue v)
{
    set(e, static_cast<Target>(t), id, valueIn<T>(v));
    return v;
}

struct Accessor {
    const char* member; // the wrapper is "ven___" + member
    const char* type;
    const char* signature;
    std::size_t width;
    int envLine;
    Arrange raise;
    std::uint64_t start, samples[2]; // the fixture's starting value; bits that must survive
    jvalue (*call)(JNIEnv*, jobject target, jfieldID, jvalue v);
    bool isStatic() const { return std::strstr(member, "Static") != nullptr; }
};

// clang-format off
#define TEST_ACCESSOR(Member, Type, type, sig, line, start, a, b)                                            \
    {#Member, #Type, sig, sizeof(type), line, raisesOom<&Jni::Member>, start, {a, b},                       \
     [](JNIEnv* e, jobject t, jfieldID id, jvalue v) { return access(&ven___##Member, e, t, id, v); }}
#define TEST_FIELD_ROW(Type, type, sig, start, a, b, get, set, staticGet, staticSet)                         \
    TEST_ACCESSOR(Get##Type##Field, Type, type, sig, get, start, a, b),                                      \
        TEST_ACCESSOR(Set##Type##Field, Type, type, sig, set, start, a, b),                                  \
        TEST_ACCESSOR(GetStatic##Type##Field, Type, type, sig, staticGet, start, a, b),                      \
        TEST_ACCESSOR(SetStatic##Type##Field, Type, type, sig, staticSet, start, a, b)

// The required "env" lines (getter, setter, static getter, static setter), the fixture's
// starting value and two samples per type: sign, extremes, negative zero, a NaN with payload.
const Accessor kAccessors[] = {
    TEST_FIELD_ROW(Object,  jobject,  "Ljava/lang/Object;", 0, 0, 1,                    584, 781, 2578, 2775),
    TEST_FIELD_ROW(Boolean, jboolean, "Z", 1,   1, 0,                                   606, 802, 2600, 2796),
    TEST_FIELD_ROW(Byte,    jbyte,    "B", 8,   0xFF, 0x7F,                             628, 823, 2622, 2817),
    TEST_FIELD_ROW(Char,    jchar,    "C", 'c', 0xFFFF, 0,                              650, 844, 2644, 2838),
    TEST_FIELD_ROW(Short,   jshort,   "S", 16,  0xFFFF, 0x8000,                         672, 865, 2666, 2859),
    TEST_FIELD_ROW(Int,     jint,     "I", 32,  0xFFFFFFFF, 0x80000000,                 694, 886, 2688, 2880),
    TEST_FIELD_ROW(Long,    jlong,    "J", 64,  ~0ULL, 1ULL << 63,                      716, 907, 2710, 2901),
    TEST_FIELD_ROW(Float,   jfloat,   "F", 0x3FC00000, 0x80000000, 0x7FC12345,          738, 928, 2732, 2922),
    TEST_FIELD_ROW(Double,  jdouble,  "D", 0x4004000000000000, 1ULL << 63, 0x7FF8000000012345,
                                                                                        760, 949, 2754, 2943),
};
// clang-format on

class WrapperFields : public WrapperTest
{
  protected:
    jobject targetOf(const Accessor& a) { return a.isStatic() ? fields : object; }
    jfieldID idOf(const Accessor& a)
    {
        std::string name = std::string(a.type) + "Field";
        if (a.isStatic()) {
            return env->GetStaticFieldID(fields, ("static" + name).c_str(), a.signature);
        }
        name[0] = static_cast<char>(std::tolower(name[0]));
        return env->GetFieldID(fields, name.c_str(), a.signature);
    }
};

// Every argument check, NULL IDs, and the exception check nine lines after an accessor's "env".
TEST_F(WrapperFields, EveryCheck)
{
    // clang-format off
    std::vector<ArgChecks> rows = {
        TEST_CHECKS(GetFieldID, 554, "env, clazz, name, sig", env, fields, "intField", "I"),
        TEST_CHECKS(GetStaticFieldID, 2548, "env, clazz, name, sig", env, fields, "staticIntField", "I"),
        TEST_CHECKS(GetMethodID, 971, "env, clazz, name, sig", env, methods, "intGet", "()I"),
        TEST_CHECKS(GetStaticMethodID, 2965, "env, clazz, name, sig", env, methods, "staticIntGet", "()I"),
    };
    std::vector<FaultCase> faults = {
        TEST_NULL_CASE(GetFieldID, 569, fields, "intField", "I"),
        TEST_NULL_CASE(GetStaticFieldID, 2563, fields, "staticIntField", "I"),
        TEST_NULL_CASE(GetMethodID, 986, methods, "intGet", "()I"),
        TEST_NULL_CASE(GetStaticMethodID, 2980, methods, "staticIntGet", "()I"),
    };
    // clang-format on
    for (const Accessor& a : kAccessors) {
        jobject target = targetOf(a);
        jfieldID id = idOf(a);
        rows.push_back(checks(std::string("ven___") + a.member, a.envLine,
                              a.isStatic() ? "env, clazz, fieldID" : "env, obj, fieldID", a.call, env, target,
                              id, keep{jvalue{}}));
        faults.push_back({a.envLine + 9, kCondition, kNoException, a.raise,
                          calling(a.call, target, id, jvalue{}), "java.lang.OutOfMemoryError"});
    }
    EXPECT_EQ(expectArgChecks(rows), 16 + 108);
    EXPECT_EQ(expectFaults(env, faults), 4 + 36);
}

// Getters and setters keep a pending E1; samples keep their bits both ways, and each access costs
// one query before and ExceptionCheck after; the getters read the fixture's starting values.
TEST_F(WrapperFields, ValuesBitsAndThePendingException)
{
    jstring text = jstr(env, "x");
    for (std::size_t i = 0; i < std::size(kAccessors); i += 2) {
        const Accessor& getter = kAccessors[i];
        const Accessor& setter = kAccessors[i + 1];
        SCOPED_TRACE(getter.member);
        bool isObject = getter.type == std::string("Object");
        auto same = [&](const jvalue& a, const jvalue& b) {
            return isObject ? env->IsSameObject(valueIn<jobject>(a), valueIn<jobject>(b)) == JNI_TRUE
                            : std::memcmp(&a, &b, getter.width) == 0;
        };
        jobject target = targetOf(getter);
        jfieldID id = idOf(getter);

        jthrowable e1 = throwE1(env);
        jvalue read = getter.call(env, target, id, jvalue{});
        expectSamePending(env, e1);
        EXPECT_TRUE(isObject ? utf8(env, valueIn<jstring>(read)) == "object"
                             : same(read, jvalueOf(getter.start)));

        for (std::uint64_t bits : getter.samples) {
            jvalue sample = isObject ? jvalueOf<jobject>(bits == 0 ? text : nullptr) : jvalueOf(bits);
            FaultEnv fault(env);
            setter.call(fault.env(), target, id, sample);
            read = getter.call(fault.env(), target, id, jvalue{});
            EXPECT_TRUE(same(read, sample)) << std::hex << bits;
            EXPECT_EQ(fault.trail(),
                      (std::vector<std::string>{"ExceptionOccurred", setter.member, "ExceptionCheck",
                                                "ExceptionOccurred", getter.member, "ExceptionCheck"}));
        }
        e1 = throwE1(env);
        setter.call(env, target, id, read);
        expectSamePending(env, e1);
    }
}

// A lookup that finds its member keeps E1 pending; one that does not leaves JNI's error instead.
TEST_F(WrapperFields, LookupsAndThePendingException)
{
    auto pending = [&](auto lookup, jclass clazz, const char* name, const char* sig, const char* error) {
        jthrowable e1 = throwE1(env);
        EXPECT_NE(lookup(env, clazz, name, sig), nullptr) << name;
        expectSamePending(env, e1);
        e1 = throwE1(env);
        EXPECT_EQ(lookup(env, clazz, "missing", sig), nullptr) << name;
        ExpectPendingClass(env, error);
        env->DeleteGlobalRef(e1);
    };
    pending(&ven___GetFieldID, fields, "intField", "I", "java.lang.NoSuchFieldError");
    pending(&ven___GetStaticFieldID, fields, "staticIntField", "I", "java.lang.NoSuchFieldError");
    pending(&ven___GetMethodID, methods, "intGet", "()I", "java.lang.NoSuchMethodError");
    pending(&ven___GetStaticMethodID, methods, "staticIntGet", "()I", "java.lang.NoSuchMethodError");
}

} // namespace
} // namespace ven::test::wrapper
