// The string and array wrappers: every check from tables of the required lines; exact units and
// bytes, release modes, index failures and the saved pending exception.
#include <climits>
#include <cstdint>

#include "wrapper/wrapper_test.hpp"

namespace ven::test::wrapper
{
namespace
{

// Calls `fn` with each argument converted to its parameter type.
template <typename R, typename... P, typename... A> R as(R (*fn)(P...), A... args)
{
    return fn(static_cast<P>(args)...);
}

// The five functions of one primitive element type, with arrays and buffers type-erased.
struct ArrayType {
    const char* type;
    std::size_t width;
    int newLine, elementsLine, releaseLine, getRegionLine, setRegionLine;
    jarray (*make)(JNIEnv*, jsize);
    void* (*elements)(JNIEnv*, jarray, jboolean*);
    void (*release)(JNIEnv*, jarray, void*, jint);
    jboolean (*getRegion)(JNIEnv*, jarray, jsize, jsize, void*);
    jboolean (*setRegion)(JNIEnv*, jarray, jsize, jsize, void*);
    Arrange nullNew;
    Arrange nullElements;
};

// clang-format off
#define TEST_ARRAY_ROW(Type, type, newLine, elementsLine, releaseLine, getLine, setLine)                     \
    {#Type, sizeof(type), newLine, elementsLine, releaseLine, getLine, setLine,                              \
     [](JNIEnv* e, jsize n) -> jarray { return ven___New##Type##Array(e, n); },                              \
     [](JNIEnv* e, jarray a, jboolean* c) -> void* { return as(&ven___Get##Type##ArrayElements, e, a, c); }, \
     [](JNIEnv* e, jarray a, void* p, jint m) { as(&ven___Release##Type##ArrayElements, e, a, p, m); },    \
     [](JNIEnv* e, jarray a, jsize s, jsize n, void* p) {                                                    \
         return as(&ven___Get##Type##ArrayRegion, e, a, s, n, p); },                                       \
     [](JNIEnv* e, jarray a, jsize s, jsize n, void* p) {                                                    \
         return as(&ven___Set##Type##ArrayRegion, e, a, s, n, p); },                                       \
     returnsNull<&Jni::New##Type##Array>, returnsNull<&Jni::Get##Type##ArrayElements>}

// The required "env" lines: New, GetElements, ReleaseElements, GetRegion, SetRegion.
const ArrayType kArrayTypes[] = {
    TEST_ARRAY_ROW(Boolean, jboolean, 4106, 4330, 4551, 4626, 4842),
    TEST_ARRAY_ROW(Byte,    jbyte,    4134, 4358, 4560, 4653, 4869),
    TEST_ARRAY_ROW(Char,    jchar,    4162, 4386, 4569, 4680, 4896),
    TEST_ARRAY_ROW(Short,   jshort,   4190, 4414, 4578, 4707, 4923),
    TEST_ARRAY_ROW(Int,     jint,     4218, 4442, 4587, 4734, 4950),
    TEST_ARRAY_ROW(Long,    jlong,    4246, 4470, 4596, 4761, 4977),
    TEST_ARRAY_ROW(Float,   jfloat,   4274, 4498, 4605, 4788, 5004),
    TEST_ARRAY_ROW(Double,  jdouble,  4302, 4526, 4614, 4815, 5031),
};
// clang-format on

constexpr const char* kMode = "mode == 0 || mode == JNI_COMMIT || mode == JNI_ABORT";

using WrapperStringsArrays = JvmTest;

// Every check in order (release modes 3 and -1 both fail) and every check JNI faults can reach.
TEST_F(WrapperStringsArrays, EveryCheck)
{
    jstring s = jstr(env, "text");
    jclass string = findClass(env, "java/lang/String");
    jintArray ints = env->NewIntArray(1);
    jchar chars[8] = {'a'};
    void* buf = chars; // never reaches JNI
    // clang-format off
    std::vector<ArgChecks> rows = {
        TEST_CHECKS(NewString, 3756, "env, unicodeChars || len == 0, len >= 0", env, chars, 1),
        TEST_CHECKS(NewStringUTF, 3847, "env, bytes", env, "a"),
        TEST_CHECKS(GetStringLength, 3785, "env, string", env, s),
        TEST_CHECKS(GetStringUTFLength, 3875, "env, string", env, s),
        TEST_CHECKS(GetStringChars, 3811, "env, string", env, s, keep{nullptr}),
        TEST_CHECKS(GetStringUTFChars, 3900, "env, string", env, s, keep{nullptr}),
        TEST_CHECKS(GetStringCritical, 3990, "env, string", env, s, keep{nullptr}),
        TEST_CHECKS(ReleaseStringChars, 3836, "env, string, chars", env, s, buf),
        TEST_CHECKS(ReleaseStringUTFChars, 3925, "env, string, utf", env, s, buf),
        TEST_CHECKS(ReleaseStringCritical, 4015, "env, string, carray", env, s, buf),
        TEST_CHECKS(GetStringRegion, 3936, "env, str, buf", env, s, keep{0}, keep{1}, buf),
        TEST_CHECKS(GetStringUTFRegion, 3963, "env, str, buf", env, s, keep{0}, keep{1}, buf),
        TEST_CHECKS(GetArrayLength, 4026, "env, array", env, ints),
        TEST_CHECKS(NewObjectArray, 4051, "env, length >= 0, elementClass", env, 1, string, keep{nullptr}),
        TEST_CHECKS(SetObjectArrayElement, 4080, "env, array", env, nullptr, keep{0}, keep{nullptr}),
        TEST_CHECKS(GetPrimitiveArrayCritical, 5058, "env, array", env, ints, keep{nullptr}),
        TEST_CHECKS(ReleasePrimitiveArrayCritical, 5083, "env, array, carray, " + std::string(kMode),
                    env, ints, buf, 0),
    };
    std::vector<FaultCase> faults = {
        TEST_NULL_CASE(NewString, 3770, chars, 1),
        TEST_NULL_CASE(NewStringUTF, 3860, "a"),
        TEST_NULL_CASE(GetStringChars, 3824, s, nullptr),
        TEST_NULL_CASE(GetStringUTFChars, 3913, s, nullptr),
        TEST_NULL_CASE(GetStringCritical, 4003, s, nullptr),
        TEST_NULL_CASE(NewObjectArray, 4065, 2, string, nullptr),
        TEST_NULL_CASE(GetPrimitiveArrayCritical, 5071, ints, nullptr),
        TEST_RAISE_CASE(GetStringLength, 3793, s),
        TEST_RAISE_CASE(GetStringUTFLength, 3883, s),
        TEST_RAISE_CASE(GetArrayLength, 4034, ints),
        {3796, kMessage, "(*env)->GetStringLength() < 0", returnsValue<&Jni::GetStringLength, -1>,
         calling(&ven___GetStringLength, s)},
        {3886, kMessage, "(*env)->GetStringUTFLength() < 0", returnsValue<&Jni::GetStringUTFLength, -2>,
         calling(&ven___GetStringUTFLength, s)},
        {4037, kMessage, "(*env)->array() < 0", returnsValue<&Jni::GetArrayLength, -1>,
         calling(&ven___GetArrayLength, ints)},
    };
    // clang-format on
    EXPECT_VEN_ABORT(ven___ReleasePrimitiveArrayCritical(env, ints, buf, 3), kPath, 5086, kMode);
    for (const ArrayType& t : kArrayTypes) {
        std::string name = t.type;
        jarray array = t.make(env, 1);
        rows.push_back(checks("ven___New" + name + "Array", t.newLine, "env, length >= 0", t.make, env, 1));
        rows.push_back(checks("ven___Get" + name + "ArrayElements", t.elementsLine, "env, array", t.elements,
                              env, array, keep{nullptr}));
        rows.push_back(checks("ven___Release" + name + "ArrayElements", t.releaseLine,
                              "env, array, elems, " + std::string(kMode), t.release, env, array, buf, 0));
        rows.push_back(checks("ven___Get" + name + "ArrayRegion", t.getRegionLine, "env, array, buf",
                              t.getRegion, env, array, keep{0}, keep{1}, buf));
        rows.push_back(checks("ven___Set" + name + "ArrayRegion", t.setRegionLine, "env, array, buf",
                              t.setRegion, env, array, keep{0}, keep{1}, buf));
        EXPECT_VEN_ABORT(t.release(env, array, buf, 3), kPath, t.releaseLine + 3, kMode);
        faults.push_back(
            {t.newLine + 13, kMessage, nullMessage("New" + name + "Array"), t.nullNew, calling(t.make, 1)});
        faults.push_back({t.elementsLine + 13, kMessage, nullMessage("Get" + name + "ArrayElements"),
                          t.nullElements, calling(t.elements, array, nullptr)});
    }
    EXPECT_EQ(expectArgChecks(rows), 43 + 8 * 14);
    EXPECT_EQ(expectFaults(env, faults), 13 + 16);

    // A creation that raised gives NULL, whatever JNI returned.
    FaultEnv fault(env);
    fault.raiseReturning<&Jni::NewStringUTF>("java/lang/OutOfMemoryError", "full", s);
    EXPECT_EQ(ven___NewStringUTF(fault.env(), "a"), nullptr);
    ExpectPending(env, "java.lang.OutOfMemoryError", "full");
}

// Exact units and lengths; E1 is kept by the calls that succeed and by the releases, which ask
// nothing; a region out of range leaves the index exception instead.
TEST_F(WrapperStringsArrays, Strings)
{
    EXPECT_EQ(units(env, ven___NewString(env, nullptr, 0)), u"");
    const jchar wideUnits[] = {'h', 0xE9, 0xFFFF, 0xD83D, 0xDE00};
    jstring wide = ven___NewString(env, wideUnits, 5);
    EXPECT_EQ(units(env, wide), u"h\u00e9\uffff\U0001F600");

    jthrowable e1 = throwE1(env);
    jstring string = ven___NewStringUTF(env, "h\xc3\xa9llo");
    EXPECT_EQ(ven___GetStringLength(env, wide), 5);
    EXPECT_EQ(ven___GetStringUTFLength(env, wide), 1 + 2 + 3 + 6);
    const jchar* chars = ven___GetStringChars(env, string, nullptr);
    EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(chars), 5), u"h\u00e9llo");
    const char* utf = ven___GetStringUTFChars(env, string, nullptr);
    EXPECT_STREQ(utf, "h\xc3\xa9llo");
    const jchar* critical = ven___GetStringCritical(env, wide, nullptr); // pinned: beyond Latin-1
    EXPECT_EQ(critical[2], 0xFFFF);
    ven___ReleaseStringCritical(env, wide, critical);
    jchar region[3] = {};
    EXPECT_EQ(ven___GetStringRegion(env, string, 1, 3, region), JNI_TRUE);
    EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(region), 3), u"\u00e9ll");
    char utfRegion[8] = {};
    EXPECT_EQ(ven___GetStringUTFRegion(env, string, 0, 2, utfRegion), JNI_TRUE);
    EXPECT_STREQ(utfRegion, "h\xc3\xa9");
    FaultEnv fault(env);
    ven___ReleaseStringChars(fault.env(), string, chars);
    ven___ReleaseStringUTFChars(fault.env(), string, utf);
    EXPECT_EQ(fault.trail(), (std::vector<std::string>{"ReleaseStringChars", "ReleaseStringUTFChars"}));
    expectSamePending(env, e1);

    e1 = throwE1(env);
    EXPECT_EQ(ven___GetStringRegion(env, string, 4, 2, region), JNI_FALSE);
    ExpectPendingClass(env, "java.lang.StringIndexOutOfBoundsException");
    env->DeleteGlobalRef(e1);
    EXPECT_EQ(ven___GetStringUTFRegion(env, string, -1, 1, utfRegion), JNI_FALSE);
    ExpectPendingClass(env, "java.lang.StringIndexOutOfBoundsException");
}

// Per element type, with E1 kept: regions and elements move the same bytes, each release mode keeps
// its meaning, a release asks nothing; out of bounds, a region leaves the index exception instead.
TEST_F(WrapperStringsArrays, PrimitiveArrays)
{
    for (const ArrayType& t : kArrayTypes) {
        SCOPED_TRACE(t.type);
        TestFrame frame(env);
        std::vector<unsigned char> first(4 * t.width), second(first.size()), read(first.size());
        for (std::size_t k = 0; k < first.size(); ++k) {
            first[k] = k % 2, second[k] = 1 - k % 2; // valid booleans, different in every byte
        }
        jthrowable e1 = throwE1(env);
        jarray array = t.make(env, 4);
        EXPECT_EQ(ven___GetArrayLength(env, array), 4);
        EXPECT_EQ(t.setRegion(env, array, 0, 4, first.data()), JNI_TRUE);
        void* elems = t.elements(env, array, nullptr);
        ASSERT_NE(elems, nullptr);
        EXPECT_EQ(std::memcmp(elems, first.data(), first.size()), 0);
        // JNI_COMMIT copies back and keeps the buffer, JNI_ABORT only frees it, 0 does both.
        std::memcpy(elems, second.data(), second.size());
        t.release(env, array, elems, JNI_COMMIT);
        std::memcpy(elems, first.data(), first.size());
        t.release(env, array, elems, JNI_ABORT);
        EXPECT_EQ(t.getRegion(env, array, 0, 4, read.data()), JNI_TRUE);
        EXPECT_EQ(read, second);
        elems = t.elements(env, array, nullptr);
        std::memcpy(elems, first.data(), first.size());
        FaultEnv fault(env);
        t.release(fault.env(), array, elems, 0);
        EXPECT_EQ(fault.trail(), std::vector<std::string>{std::string("Release") + t.type + "ArrayElements"});
        EXPECT_EQ(t.getRegion(env, array, 0, 4, read.data()), JNI_TRUE);
        EXPECT_EQ(read, first);
        expectSamePending(env, e1);

        for (auto region : {t.getRegion, t.setRegion}) {
            for (auto [start, length] : {std::pair{3, 2}, std::pair{-1, 1}, std::pair{0, 5}}) {
                e1 = throwE1(env);
                EXPECT_EQ(region(env, array, start, length, read.data()), JNI_FALSE);
                ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
                env->DeleteGlobalRef(e1);
            }
        }
    }

    // Object arrays store NULL and critical elements are the array's, with E1 kept.
    jstring initial = jstr(env, "initial");
    jclass string = findClass(env, "java/lang/String");
    jintArray ints = env->NewIntArray(2);
    const jint values[] = {1, INT32_MIN};
    env->SetIntArrayRegion(ints, 0, 2, values);
    jthrowable e1 = throwE1(env);
    jobjectArray array = ven___NewObjectArray(env, 2, string, initial);
    EXPECT_EQ(ven___SetObjectArrayElement(env, array, 1, nullptr), JNI_TRUE);
    auto* elems = static_cast<jint*>(ven___GetPrimitiveArrayCritical(env, ints, nullptr));
    EXPECT_EQ(elems[1], INT32_MIN);
    elems[0] = 100;
    ven___ReleasePrimitiveArrayCritical(env, ints, elems, 0);
    expectSamePending(env, e1);
    EXPECT_TRUE(env->IsSameObject(env->GetObjectArrayElement(array, 0), initial));
    EXPECT_EQ(env->GetObjectArrayElement(array, 1), nullptr);
    jint first = 0;
    env->GetIntArrayRegion(ints, 0, 1, &first);
    EXPECT_EQ(first, 100);
}

} // namespace
} // namespace ven::test::wrapper
