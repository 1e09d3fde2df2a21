// The field lookups and the 36 accessors, driven from one table of the required lines:
// every argument check, the exception check nine lines after "env", exact values in both
// directions, and the saved pending exception.
#include <cctype>
#include <cstdint>
#include <cstring>
#include <vector>

#include "wrapper/wrapper_test.hpp"

namespace ven::test::wrapper
{
namespace
{

struct Accessor {
    const char* name;
    bool isStatic;
    bool isSetter;
    int envLine;
    // A getter stores the field's value into `value`; a setter writes `value` to the field.
    void (*call)(JNIEnv*, jobject target, jfieldID, jvalue& value);
    void (*raise)(FaultEnv&);
    const char* member;
};

struct FieldType {
    const char* type;
    const char* field; // instance field; the static one is "static" + capitalised
    const char* signature;
    std::size_t width;
    Accessor accessors[4];
    jvalue (*realGet)(JNIEnv*, jobject target, jfieldID, bool isStatic);
    void (*realSet)(JNIEnv*, jobject target, jfieldID, bool isStatic, jvalue value);
};

#define TEST_ACCESSOR(Name, Type, type, isStatic, isSetter, line, Target, body)                              \
    Accessor                                                                                                 \
    {                                                                                                        \
        "ven___" #Name, isStatic, isSetter, line,                                                            \
            [](JNIEnv* e, jobject t, jfieldID id, jvalue& v) {                                               \
                [[maybe_unused]] auto target = static_cast<Target>(t);                                       \
                body;                                                                                        \
            },                                                                                               \
            [](FaultEnv& fault) { fault.raiseOutOfMemory<&Jni::Name>(); }, #Name                             \
    }

// The required "env" lines: getter, setter, static getter, static setter.
// clang-format off
#define TEST_FIELD_ROW(Type, type, field, signature, get, set, staticGet, staticSet)                         \
    {                                                                                                        \
        #Type, field, signature, sizeof(type),                                                               \
        {TEST_ACCESSOR(Get##Type##Field, Type, type, false, false, get, jobject,                             \
                       v = jvalueOf(ven___Get##Type##Field(e, target, id))),                                 \
         TEST_ACCESSOR(Set##Type##Field, Type, type, false, true, set, jobject,                              \
                       ven___Set##Type##Field(e, target, id, valueIn<type>(v))),                             \
         TEST_ACCESSOR(GetStatic##Type##Field, Type, type, true, false, staticGet, jclass,                   \
                       v = jvalueOf(ven___GetStatic##Type##Field(e, target, id))),                           \
         TEST_ACCESSOR(SetStatic##Type##Field, Type, type, true, true, staticSet, jclass,                    \
                       ven___SetStatic##Type##Field(e, target, id, valueIn<type>(v)))},                      \
        [](JNIEnv* e, jobject t, jfieldID id, bool isStatic) {                                               \
            jvalue v{};                                                                                      \
            if (isStatic) {                                                                                  \
                v = jvalueOf(e->GetStatic##Type##Field(static_cast<jclass>(t), id));                         \
            } else {                                                                                         \
                v = jvalueOf(e->Get##Type##Field(t, id));                                                    \
            }                                                                                                \
            return v;                                                                                        \
        },                                                                                                   \
        [](JNIEnv* e, jobject t, jfieldID id, bool isStatic, jvalue v) {                                     \
            if (isStatic) {                                                                                  \
                e->SetStatic##Type##Field(static_cast<jclass>(t), id, valueIn<type>(v));                     \
            } else {                                                                                         \
                e->Set##Type##Field(t, id, valueIn<type>(v));                                                \
            }                                                                                                \
        },                                                                                                   \
    }
// clang-format on

// clang-format off
const FieldType kFieldTypes[] = {
    TEST_FIELD_ROW(Object,  jobject,  "objectField",  "Ljava/lang/Object;", 584, 781, 2578, 2775),
    TEST_FIELD_ROW(Boolean, jboolean, "booleanField", "Z",                  606, 802, 2600, 2796),
    TEST_FIELD_ROW(Byte,    jbyte,    "byteField",    "B",                  628, 823, 2622, 2817),
    TEST_FIELD_ROW(Char,    jchar,    "charField",    "C",                  650, 844, 2644, 2838),
    TEST_FIELD_ROW(Short,   jshort,   "shortField",   "S",                  672, 865, 2666, 2859),
    TEST_FIELD_ROW(Int,     jint,     "intField",     "I",                  694, 886, 2688, 2880),
    TEST_FIELD_ROW(Long,    jlong,    "longField",    "J",                  716, 907, 2710, 2901),
    TEST_FIELD_ROW(Float,   jfloat,   "floatField",   "F",                  738, 928, 2732, 2922),
    TEST_FIELD_ROW(Double,  jdouble,  "doubleField",  "D",                  760, 949, 2754, 2943),
};
// clang-format on

// Values whose bits must survive a write and a read: sign, extremes, negative zero, NaN.
std::vector<jvalue> samplesOf(const std::string& type)
{
    if (type == "Boolean") {
        return {jvalueOf<jboolean>(JNI_TRUE), jvalueOf<jboolean>(JNI_FALSE)};
    }
    if (type == "Byte") {
        return {jvalueOf<jbyte>(-1), jvalueOf<jbyte>(127)};
    }
    if (type == "Char") {
        return {jvalueOf<jchar>(0xFFFF), jvalueOf<jchar>(0)};
    }
    if (type == "Short") {
        return {jvalueOf<jshort>(-1), jvalueOf<jshort>(INT16_MIN)};
    }
    if (type == "Int") {
        return {jvalueOf<jint>(-1), jvalueOf<jint>(INT32_MIN)};
    }
    if (type == "Long") {
        return {jvalueOf<jlong>(-1), jvalueOf<jlong>(INT64_MIN)};
    }
    if (type == "Float") {
        return {jvalueOf<std::uint32_t>(0x80000000u), jvalueOf<std::uint32_t>(0x7fc12345u)};
    }
    return {jvalueOf<std::uint64_t>(0x8000000000000000u), jvalueOf<std::uint64_t>(0x7ff8000000012345u)};
}

class WrapperFields : public JvmTest
{
  protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        fields = findClass(env, "fixtures/Fields");
        object = env->NewObject(fields, env->GetMethodID(fields, "<init>", "()V"));
    }
    void TearDown() override
    {
        env->CallStaticVoidMethod(fields, env->GetStaticMethodID(fields, "resetStatics", "()V"));
        JvmTest::TearDown();
    }

    jobject targetOf(const Accessor& accessor) { return accessor.isStatic ? fields : object; }
    jfieldID idOf(const FieldType& type, const Accessor& accessor)
    {
        if (!accessor.isStatic) {
            return env->GetFieldID(fields, type.field, type.signature);
        }
        std::string name = "static" + std::string(type.field);
        name[6] = static_cast<char>(std::toupper(name[6]));
        return env->GetStaticFieldID(fields, name.c_str(), type.signature);
    }

    jclass fields = nullptr;
    jobject object = nullptr;
};

TEST_F(WrapperFields, EveryArgumentCheckOfEveryAccessor)
{
    int verified = 0;
    for (const FieldType& type : kFieldTypes) {
        for (const Accessor& accessor : type.accessors) {
            SCOPED_TRACE(accessor.name);
            jvalue value{};
            jobject target = targetOf(accessor);
            const char* targetName = accessor.isStatic ? "clazz" : "obj";
            EXPECT_VEN_ABORT(accessor.call(nullptr, nullptr, nullptr, value), kPath, accessor.envLine, "env");
            EXPECT_VEN_ABORT(accessor.call(env, nullptr, nullptr, value), kPath, accessor.envLine + 1,
                             targetName);
            EXPECT_VEN_ABORT(accessor.call(env, target, nullptr, value), kPath, accessor.envLine + 2,
                             "fieldID");
            verified += 3;
        }
    }
    EXPECT_EQ(verified, 108);
}

// An accessor must not raise: an exception after the JNI call stops the process nine lines
// after the "env" check.
TEST_F(WrapperFields, AnExceptionFromAnAccessorStops)
{
    for (const FieldType& type : kFieldTypes) {
        for (const Accessor& accessor : type.accessors) {
            SCOPED_TRACE(accessor.name);
            FaultEnv fault(env);
            accessor.raise(fault);
            jvalue value{};
            EXPECT_VEN_ABORT(accessor.call(fault.env(), targetOf(accessor), idOf(type, accessor), value),
                             kPath, accessor.envLine + 9, kNoException);
            ExpectPending(env, "java.lang.OutOfMemoryError", "injected by FaultEnv");
        }
    }
}

// Written by a wrapper and read by JNI, and the other way round, every sample keeps its bits;
// the success path costs one query before and one ExceptionCheck after the access.
TEST_F(WrapperFields, ValuesKeepTheirBitsBothWays)
{
    for (const FieldType& type : kFieldTypes) {
        if (type.type == std::string("Object")) {
            continue;
        }
        for (int isStatic = 0; isStatic < 2; ++isStatic) {
            const Accessor& getter = type.accessors[isStatic * 2];
            const Accessor& setter = type.accessors[isStatic * 2 + 1];
            jobject target = targetOf(getter);
            jfieldID id = idOf(type, getter);
            for (jvalue sample : samplesOf(type.type)) {
                SCOPED_TRACE(std::string(getter.name) + " / " + setter.name);
                FaultEnv fault(env);
                setter.call(fault.env(), target, id, sample);
                jvalue written = type.realGet(env, target, id, isStatic);
                EXPECT_EQ(std::memcmp(&sample, &written, type.width), 0);
                jvalue read = jvalueOf(~std::uint64_t{0});
                type.realSet(env, target, id, isStatic, sample);
                getter.call(fault.env(), target, id, read);
                EXPECT_EQ(std::memcmp(&sample, &read, type.width), 0);
                std::vector<std::string> expected = {"ExceptionOccurred", setter.member, "ExceptionCheck",
                                                     "ExceptionOccurred", getter.member, "ExceptionCheck"};
                EXPECT_EQ(fault.trail(), expected);
            }
        }
    }
}

TEST_F(WrapperFields, ObjectFieldsHoldReferencesAndNull)
{
    jfieldID id = env->GetFieldID(fields, "objectField", "Ljava/lang/Object;");
    jstring text = jstr(env, "x");
    ven___SetObjectField(env, object, id, text);
    jobject read = ven___GetObjectField(env, object, id);
    EXPECT_TRUE(env->IsSameObject(read, text));
    ven___SetObjectField(env, object, id, nullptr);
    EXPECT_EQ(ven___GetObjectField(env, object, id), nullptr);

    jfieldID staticId = env->GetStaticFieldID(fields, "staticObjectField", "Ljava/lang/Object;");
    ven___SetStaticObjectField(env, fields, staticId, text);
    EXPECT_TRUE(env->IsSameObject(ven___GetStaticObjectField(env, fields, staticId), text));
    ven___SetStaticObjectField(env, fields, staticId, nullptr);
    EXPECT_EQ(ven___GetStaticObjectField(env, fields, staticId), nullptr);
}

TEST_F(WrapperFields, AccessorsKeepAPendingException)
{
    for (const FieldType& type : kFieldTypes) {
        for (const Accessor& accessor : type.accessors) {
            SCOPED_TRACE(accessor.name);
            TestFrame frame(env);
            jobject target = targetOf(accessor);
            jfieldID id = idOf(type, accessor);
            jvalue expected = type.realGet(env, target, id, accessor.isStatic);
            jthrowable e1 = throwE1(env);
            jvalue value = expected;
            accessor.call(env, target, id, value);
            expectSamePending(env, e1);
            if (type.type == std::string("Object")) {
                EXPECT_TRUE(env->IsSameObject(valueIn<jobject>(value), valueIn<jobject>(expected)));
            } else {
                EXPECT_EQ(std::memcmp(&value, &expected, type.width), 0);
            }
        }
    }
}

TEST_F(WrapperFields, FieldLookups)
{
    checkLookup<jfieldID>(env, fields,
                          {"ven___GetFieldID", &ven___GetFieldID, 554, 569,
                           [](FaultEnv& f) { f.returnNull<&Jni::GetFieldID>(); }, "GetFieldID", "intField",
                           "I", "java.lang.NoSuchFieldError"});
    checkLookup<jfieldID>(env, fields,
                          {"ven___GetStaticFieldID", &ven___GetStaticFieldID, 2548, 2563,
                           [](FaultEnv& f) { f.returnNull<&Jni::GetStaticFieldID>(); }, "GetStaticFieldID",
                           "staticIntField", "I", "java.lang.NoSuchFieldError"});
}

} // namespace
} // namespace ven::test::wrapper
