// The array wrappers: the five functions of each primitive element type from one table of
// the required lines, and the length, object-array and critical functions.
#include <climits>
#include <cstdint>
#include <cstring>
#include <vector>

#include "wrapper/wrapper_test.hpp"

namespace ven::test::wrapper
{
namespace
{

struct ArrayType {
    const char* type;
    std::size_t width;
    int newLine, elementsLine, releaseLine, getRegionLine, setRegionLine;
    jarray (*newArray)(JNIEnv*, jsize);
    void* (*getElements)(JNIEnv*, jarray, jboolean*);
    void (*release)(JNIEnv*, jarray, void*, jint);
    jboolean (*getRegion)(JNIEnv*, jarray, jsize, jsize, void*);
    jboolean (*setRegion)(JNIEnv*, jarray, jsize, jsize, const void*);
    void (*nullNew)(FaultEnv&);
    void (*nullElements)(FaultEnv&);
};

// clang-format off
#define TEST_ARRAY_ROW(Type, type, newLine, elementsLine, releaseLine, getRegionLine, setRegionLine)         \
    {                                                                                                        \
        #Type, sizeof(type), newLine, elementsLine, releaseLine, getRegionLine, setRegionLine,               \
        [](JNIEnv* e, jsize n) -> jarray { return ven___New##Type##Array(e, n); },                           \
        [](JNIEnv* e, jarray a, jboolean* c) -> void* {                                                      \
            return ven___Get##Type##ArrayElements(e, static_cast<type##Array>(a), c);                        \
        },                                                                                                   \
        [](JNIEnv* e, jarray a, void* p, jint m) {                                                           \
            ven___Release##Type##ArrayElements(e, static_cast<type##Array>(a), static_cast<type*>(p), m);    \
        },                                                                                                   \
        [](JNIEnv* e, jarray a, jsize s, jsize n, void* p) {                                                 \
            return ven___Get##Type##ArrayRegion(e, static_cast<type##Array>(a), s, n, static_cast<type*>(p));\
        },                                                                                                   \
        [](JNIEnv* e, jarray a, jsize s, jsize n, const void* p) {                                           \
            return ven___Set##Type##ArrayRegion(e, static_cast<type##Array>(a), s, n,                        \
                                                static_cast<const type*>(p));                                \
        },                                                                                                   \
        [](FaultEnv& f) { f.returnNull<&Jni::New##Type##Array>(); },                                         \
        [](FaultEnv& f) { f.returnNull<&Jni::Get##Type##ArrayElements>(); },                                 \
    }
// clang-format on

// The required "env" lines: New, GetElements, ReleaseElements, GetRegion, SetRegion.
// clang-format off
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

constexpr const char* kModeCondition = "mode == 0 || mode == JNI_COMMIT || mode == JNI_ABORT";
constexpr jsize kLength = 4;

// Bytes of kLength elements that are valid for every type (booleans are 0 or 1).
std::vector<unsigned char> patternFor(const ArrayType& type, unsigned char seed)
{
    std::vector<unsigned char> bytes(type.width * kLength);
    for (std::size_t k = 0; k < bytes.size(); ++k) {
        bytes[k] = type.width == 1 && type.type == std::string("Boolean")
                       ? (k + seed) % 2
                       : static_cast<unsigned char>(k * 37 + seed);
    }
    return bytes;
}

using WrapperArrays = JvmTest;

TEST_F(WrapperArrays, EveryArgumentCheckOfThePrimitiveFamilies)
{
    int verified = 0;
    for (const ArrayType& type : kArrayTypes) {
        SCOPED_TRACE(type.type);
        jarray array = type.newArray(env, kLength);
        ASSERT_NE(array, nullptr);
        std::vector<unsigned char> buf(type.width * kLength);

        EXPECT_VEN_ABORT(type.newArray(nullptr, -1), kPath, type.newLine, "env");
        EXPECT_VEN_ABORT(type.newArray(env, -1), kPath, type.newLine + 1, "length >= 0");

        EXPECT_VEN_ABORT(type.getElements(nullptr, nullptr, nullptr), kPath, type.elementsLine, "env");
        EXPECT_VEN_ABORT(type.getElements(env, nullptr, nullptr), kPath, type.elementsLine + 1, "array");

        void* elems = type.getElements(env, array, nullptr);
        ASSERT_NE(elems, nullptr);
        EXPECT_VEN_ABORT(type.release(nullptr, nullptr, nullptr, 3), kPath, type.releaseLine, "env");
        EXPECT_VEN_ABORT(type.release(env, nullptr, nullptr, 3), kPath, type.releaseLine + 1, "array");
        EXPECT_VEN_ABORT(type.release(env, array, nullptr, 3), kPath, type.releaseLine + 2, "elems");
        EXPECT_VEN_ABORT(type.release(env, array, elems, 3), kPath, type.releaseLine + 3, kModeCondition);
        EXPECT_VEN_ABORT(type.release(env, array, elems, -1), kPath, type.releaseLine + 3, kModeCondition);
        EXPECT_VEN_ABORT(type.release(env, array, elems, INT_MIN), kPath, type.releaseLine + 3,
                         kModeCondition);
        type.release(env, array, elems, JNI_ABORT);

        EXPECT_VEN_ABORT(type.getRegion(nullptr, nullptr, 0, 1, nullptr), kPath, type.getRegionLine, "env");
        EXPECT_VEN_ABORT(type.getRegion(env, nullptr, 0, 1, nullptr), kPath, type.getRegionLine + 1, "array");
        EXPECT_VEN_ABORT(type.getRegion(env, array, 0, 1, nullptr), kPath, type.getRegionLine + 2, "buf");
        EXPECT_VEN_ABORT(type.setRegion(nullptr, nullptr, 0, 1, nullptr), kPath, type.setRegionLine, "env");
        EXPECT_VEN_ABORT(type.setRegion(env, nullptr, 0, 1, nullptr), kPath, type.setRegionLine + 1, "array");
        EXPECT_VEN_ABORT(type.setRegion(env, array, 0, 1, nullptr), kPath, type.setRegionLine + 2, "buf");
        verified += 2 + 2 + 4 + 3 + 3; // distinct lines; the mode line is reached three ways
    }
    EXPECT_EQ(verified, 8 * 14);
}

// Regions and pinned elements move the same bytes; every release mode JNI knows is accepted.
TEST_F(WrapperArrays, RegionsElementsAndReleaseModes)
{
    for (const ArrayType& type : kArrayTypes) {
        SCOPED_TRACE(type.type);
        TestFrame frame(env);
        jarray array = type.newArray(env, kLength);
        ASSERT_NE(array, nullptr);
        EXPECT_EQ(ven___GetArrayLength(env, array), kLength);

        std::vector<unsigned char> written = patternFor(type, 1);
        std::vector<unsigned char> read(written.size(), 0xEE);
        EXPECT_EQ(type.setRegion(env, array, 0, kLength, written.data()), JNI_TRUE);
        EXPECT_EQ(type.getRegion(env, array, 0, kLength, read.data()), JNI_TRUE);
        EXPECT_EQ(read, written);

        // Mode 0 copies back and frees, JNI_COMMIT copies back and keeps, JNI_ABORT frees only.
        std::vector<unsigned char> second = patternFor(type, 2);
        void* elems = type.getElements(env, array, nullptr);
        ASSERT_NE(elems, nullptr);
        EXPECT_EQ(std::memcmp(elems, written.data(), written.size()), 0);
        std::memcpy(elems, second.data(), second.size());
        type.release(env, array, elems, JNI_COMMIT);
        std::memcpy(elems, written.data(), written.size());
        type.release(env, array, elems, JNI_ABORT);
        EXPECT_EQ(type.getRegion(env, array, 0, kLength, read.data()), JNI_TRUE);
        EXPECT_EQ(read, second);
        elems = type.getElements(env, array, nullptr);
        std::memcpy(elems, written.data(), written.size());
        type.release(env, array, elems, 0);
        EXPECT_EQ(type.getRegion(env, array, 0, kLength, read.data()), JNI_TRUE);
        EXPECT_EQ(read, written);
    }
}

// Out of bounds: JNI_FALSE with the index exception pending, and an exception that was
// pending before is gone; in bounds, the earlier exception is pending again.
TEST_F(WrapperArrays, RegionFailuresAndThePendingException)
{
    for (const ArrayType& type : kArrayTypes) {
        SCOPED_TRACE(type.type);
        TestFrame frame(env);
        jarray array = type.newArray(env, kLength);
        std::vector<unsigned char> buf = patternFor(type, 3);
        for (auto [start, length] : {std::pair{3, 2}, std::pair{-1, 1}, std::pair{0, kLength + 1}}) {
            EXPECT_EQ(type.getRegion(env, array, start, length, buf.data()), JNI_FALSE);
            ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
            jthrowable e1 = throwE1(env);
            EXPECT_EQ(type.setRegion(env, array, start, length, buf.data()), JNI_FALSE);
            ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
            env->DeleteGlobalRef(e1);
        }
        jthrowable e1 = throwE1(env);
        EXPECT_EQ(type.setRegion(env, array, 1, 2, buf.data()), JNI_TRUE);
        EXPECT_EQ(type.getRegion(env, array, 0, kLength, buf.data()), JNI_TRUE);
        jarray second = type.newArray(env, 1);
        EXPECT_NE(second, nullptr);
        void* elems = type.getElements(env, second, nullptr);
        EXPECT_NE(elems, nullptr);
        expectSamePending(env, e1);

        // A release is a direct call: it leaves a pending exception alone and asks nothing.
        e1 = throwE1(env);
        FaultEnv fault(env);
        type.release(fault.env(), second, elems, 0);
        EXPECT_EQ(fault.trail().size(), 1u);
        expectSamePending(env, e1);
    }
}

TEST_F(WrapperArrays, ANullResultWithoutAnExceptionStops)
{
    for (const ArrayType& type : kArrayTypes) {
        SCOPED_TRACE(type.type);
        jarray array = type.newArray(env, kLength);
        std::string name = type.type;
        FaultEnv fault(env);
        type.nullNew(fault);
        EXPECT_VEN_ABORT_MESSAGE(type.newArray(fault.env(), kLength), kPath, type.newLine + 13,
                                 nullMessage("New" + name + "Array").c_str());
        type.nullElements(fault);
        EXPECT_VEN_ABORT_MESSAGE(type.getElements(fault.env(), array, nullptr), kPath, type.elementsLine + 13,
                                 nullMessage("Get" + name + "ArrayElements").c_str());
    }
}

TEST_F(WrapperArrays, CreationThatRaisesReturnsNull)
{
    jthrowable e1 = throwE1(env);
    EXPECT_EQ(ven___NewLongArray(env, INT32_MAX), nullptr);
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    env->DeleteGlobalRef(e1);
}

TEST_F(WrapperArrays, Length)
{
    jarray array = ven___NewIntArray(env, 0);
    EXPECT_VEN_ABORT(ven___GetArrayLength(nullptr, nullptr), kPath, 4026, "env");
    EXPECT_VEN_ABORT(ven___GetArrayLength(env, nullptr), kPath, 4027, "array");
    EXPECT_EQ(ven___GetArrayLength(env, array), 0);

    jthrowable e1 = throwE1(env);
    EXPECT_EQ(ven___GetArrayLength(env, array), 0);
    expectSamePending(env, e1);

    FaultEnv fault(env);
    fault.returnValue<&Jni::GetArrayLength>(-1);
    EXPECT_VEN_ABORT_MESSAGE(ven___GetArrayLength(fault.env(), array), kPath, 4037, "(*env)->array() < 0");
    fault.raiseOutOfMemory<&Jni::GetArrayLength>();
    EXPECT_VEN_ABORT(ven___GetArrayLength(fault.env(), array), kPath, 4034, kNoException);
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
}

TEST_F(WrapperArrays, ObjectArrays)
{
    jclass string = findClass(env, "java/lang/String");
    jstring initial = jstr(env, "initial");
    EXPECT_VEN_ABORT(ven___NewObjectArray(nullptr, -1, nullptr, nullptr), kPath, 4051, "env");
    EXPECT_VEN_ABORT(ven___NewObjectArray(env, -1, nullptr, nullptr), kPath, 4052, "length >= 0");
    EXPECT_VEN_ABORT(ven___NewObjectArray(env, 2, nullptr, nullptr), kPath, 4053, "elementClass");

    jobjectArray array = ven___NewObjectArray(env, 2, string, initial);
    ASSERT_NE(array, nullptr);
    EXPECT_TRUE(env->IsSameObject(env->GetObjectArrayElement(array, 1), initial));

    EXPECT_VEN_ABORT(ven___SetObjectArrayElement(nullptr, nullptr, 0, nullptr), kPath, 4080, "env");
    EXPECT_VEN_ABORT(ven___SetObjectArrayElement(env, nullptr, 0, nullptr), kPath, 4081, "array");
    EXPECT_EQ(ven___SetObjectArrayElement(env, array, 1, nullptr), JNI_TRUE);
    EXPECT_EQ(env->GetObjectArrayElement(array, 1), nullptr);

    jthrowable e1 = throwE1(env);
    EXPECT_EQ(ven___SetObjectArrayElement(env, array, 0, nullptr), JNI_TRUE);
    expectSamePending(env, e1);
    e1 = throwE1(env);
    EXPECT_EQ(ven___SetObjectArrayElement(env, array, 0, array), JNI_FALSE);
    ExpectPendingClass(env, "java.lang.ArrayStoreException");
    EXPECT_EQ(ven___SetObjectArrayElement(env, array, 2, nullptr), JNI_FALSE);
    ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
    env->DeleteGlobalRef(e1);

    FaultEnv fault(env);
    fault.returnNull<&Jni::NewObjectArray>();
    EXPECT_VEN_ABORT_MESSAGE(ven___NewObjectArray(fault.env(), 2, string, nullptr), kPath, 4065,
                             nullMessage("NewObjectArray").c_str());
}

TEST_F(WrapperArrays, CriticalAccess)
{
    jintArray array = ven___NewIntArray(env, kLength);
    const jint values[kLength] = {1, -2, 3, INT32_MIN};
    ASSERT_EQ(ven___SetIntArrayRegion(env, array, 0, kLength, values), JNI_TRUE);

    EXPECT_VEN_ABORT(ven___GetPrimitiveArrayCritical(nullptr, nullptr, nullptr), kPath, 5058, "env");
    EXPECT_VEN_ABORT(ven___GetPrimitiveArrayCritical(env, nullptr, nullptr), kPath, 5059, "array");

    jint* elems = nullptr;
    {
        ExpectJniWarning guard(kCriticalRegionWarning,
                               "the checked-result wrapper asks ExceptionCheck in the region");
        elems = static_cast<jint*>(ven___GetPrimitiveArrayCritical(env, array, nullptr));
    }
    ASSERT_NE(elems, nullptr);
    EXPECT_EQ(std::memcmp(elems, values, sizeof values), 0);
    elems[0] = 100;
    EXPECT_VEN_ABORT(ven___ReleasePrimitiveArrayCritical(nullptr, nullptr, nullptr, 3), kPath, 5083, "env");
    EXPECT_VEN_ABORT(ven___ReleasePrimitiveArrayCritical(env, nullptr, nullptr, 3), kPath, 5084, "array");
    EXPECT_VEN_ABORT(ven___ReleasePrimitiveArrayCritical(env, array, nullptr, 3), kPath, 5085, "carray");
    EXPECT_VEN_ABORT(ven___ReleasePrimitiveArrayCritical(env, array, elems, 3), kPath, 5086, kModeCondition);
    EXPECT_VEN_ABORT(ven___ReleasePrimitiveArrayCritical(env, array, elems, -1), kPath, 5086, kModeCondition);
    ven___ReleasePrimitiveArrayCritical(env, array, elems, 0);
    jint first = 0;
    ASSERT_EQ(ven___GetIntArrayRegion(env, array, 0, 1, &first), JNI_TRUE);
    EXPECT_EQ(first, 100);

    // An exception pending before is pending again once the region is open.
    jthrowable e1 = throwE1(env);
    {
        ExpectJniWarning guard(kCriticalRegionWarning, "the saved exception is thrown again in the region");
        elems = static_cast<jint*>(ven___GetPrimitiveArrayCritical(env, array, nullptr));
    }
    ASSERT_NE(elems, nullptr);
    EXPECT_EQ(elems[0], 100);
    ven___ReleasePrimitiveArrayCritical(env, array, elems, JNI_ABORT);
    expectSamePending(env, e1);

    FaultEnv fault(env);
    fault.returnNull<&Jni::GetPrimitiveArrayCritical>();
    EXPECT_VEN_ABORT_MESSAGE(ven___GetPrimitiveArrayCritical(fault.env(), array, nullptr), kPath, 5071,
                             nullMessage("GetPrimitiveArrayCritical").c_str());
}

} // namespace
} // namespace ven::test::wrapper
