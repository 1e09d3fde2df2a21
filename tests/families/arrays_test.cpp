// Arrays through the integration layer, one table row per element type: regions and the
// release modes; the bridges' lengths, offsets and contents.
#include <array>
#include <cstdint>
#include <limits>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

template <typename Element, typename Array> struct ArrayFamily {
    const char* type;
    KS_BOOL (*create)(Array*, JNIEnv*, lgStream*, KS_INT);
    KS_BOOL (*pin)(Element**, JNIEnv*, lgStream*, Array, KS_BOOL*);
    KS_BOOL (*release)(JNIEnv*, lgStream*, Array, Element*, jint);
    KS_BOOL (*getRegion)(JNIEnv*, lgStream*, Array, KS_INT, KS_INT, Element*);
    KS_BOOL (*setRegion)(JNIEnv*, lgStream*, Array, KS_INT, KS_INT, const Element*);
    std::array<Element, 3> sample; // distinct values, passed through unconverted
};

// clang-format off
#define VEN_ARRAY_ROW(Type) #Type, venNew##Type##Array, venGet##Type##ArrayElements, venRelease##Type##ArrayElements, \
    venGet##Type##ArrayRegion, venSet##Type##ArrayRegion
const ArrayFamily<jboolean, jbooleanArray> kBooleans{VEN_ARRAY_ROW(Boolean), {{JNI_TRUE, JNI_FALSE, JNI_TRUE}}};
const ArrayFamily<jbyte, jbyteArray> kBytes{VEN_ARRAY_ROW(Byte), {{-128, 127, -1}}};
const ArrayFamily<jchar, jcharArray> kChars{VEN_ARRAY_ROW(Char), {{0xD83D, 0xFFFF, 1}}};
const ArrayFamily<jshort, jshortArray> kShorts{VEN_ARRAY_ROW(Short), {{-32768, 32767, -1}}};
const ArrayFamily<jint, jintArray> kInts{VEN_ARRAY_ROW(Int), {{INT32_MIN, INT32_MAX, -1}}};
const ArrayFamily<jlong, jlongArray> kLongs{VEN_ARRAY_ROW(Long), {{INT64_MIN, INT64_MAX, -1}}};
const ArrayFamily<jfloat, jfloatArray> kFloats{VEN_ARRAY_ROW(Float), {{0.1f, -0.0f, std::numeric_limits<float>::quiet_NaN()}}};
const ArrayFamily<jdouble, jdoubleArray> kDoubles{VEN_ARRAY_ROW(Double), {{0.1, -0.0, std::numeric_limits<double>::quiet_NaN()}}};
// clang-format on

struct ArraysTest : JvmTest {
    // A new array of zeros; whole and partial regions; a pinned change given back or not by
    // each release mode.
    template <typename Element, typename Array> void checkFamily(const ArrayFamily<Element, Array>& family)
    {
        SCOPED_TRACE(family.type);
        using Elements = std::array<Element, 3>;
        const Elements& s = family.sample;
        Array array = nullptr;
        auto holds = [&](const Elements& expected) {
            Elements values = s;
            return family.getRegion(env, nullptr, array, 0, 3, values.data()) &&
                   std::equal(values.begin(), values.end(), expected.begin(), same<Element>);
        };
        ASSERT_TRUE(family.create(&array, env, nullptr, 3) && env->GetArrayLength(array) == 3);
        EXPECT_TRUE(holds({}));
        EXPECT_TRUE(family.setRegion(env, nullptr, array, 1, 2, s.data()) && holds({Element{}, s[0], s[1]}));
        EXPECT_TRUE(family.setRegion(env, nullptr, array, 0, 3, s.data()) && holds(s));
        Elements part = s;
        EXPECT_TRUE(family.getRegion(env, nullptr, array, 2, 1, part.data()) && same(s[2], part[0]) &&
                    same(s[1], part[1]));
        Element* elements = nullptr;
        for (const auto& [mode, expected] :
             {std::pair{JNI_ABORT, s}, std::pair{JNI_COMMIT, Elements{s[2], s[1], s[2]}},
              std::pair{0, Elements{s[2], s[0], s[2]}}}) {
            if (mode != 0) { // JNI_COMMIT keeps the elements pinned for the last round
                ASSERT_TRUE(family.pin(&elements, env, nullptr, array, nullptr));
            }
            elements[0] = s[2];
            elements[1] = mode == 0 ? s[0] : s[1];
            EXPECT_TRUE(family.release(env, nullptr, array, elements, mode) && holds(expected)) << mode;
        }
    }
};

TEST_F(ArraysTest, EveryElementTypeCopiesRegionsAndReleasesInEachMode)
{
    std::apply([&](const auto&... families) { (checkFamily(families), ...); },
               std::tie(kBooleans, kBytes, kChars, kShorts, kInts, kLongs, kFloats, kDoubles));
    jintArray ints = env->NewIntArray(2);
    void* critical = nullptr;
    jint last = 0;
    ASSERT_TRUE(venGetPrimitiveArrayCritical(&critical, env, nullptr, ints, nullptr));
    static_cast<jint*>(critical)[1] = 8;
    EXPECT_TRUE(venReleasePrimitiveArrayCritical(env, nullptr, ints, critical, 0));
    env->GetIntArrayRegion(ints, 1, 1, &last);
    EXPECT_EQ(8, last); // the critical pair gives the change back too
}

std::vector<jbyte> bytesOf(const ksBuffer* buffer)
{
    const auto* bytes = static_cast<const jbyte*>(ksBufferBacking(buffer));
    return {bytes, bytes + ksBufferLength(buffer)};
}

KsRef<ksBuffer> bufferOf(const char* bytes, KS_INT length)
{
    return KsRef<ksBuffer>{ksBufferCreateFromBytesCopy(bytes, length)};
}

using BridgesTest = JvmTest;

// Strings in order, a NULL element and one that is not a string both null; no element, none.
TEST_F(BridgesTest, VectorsOfStringsBecomeStringArrays)
{
    KsRef<ksVector> vector{ksVectorCreate()};
    ksVectorAppend(vector, ksStr("tw\xC3\xB6 \xF0\x9F\x98\x80").get());
    ksVectorAppend(vector, nullptr);
    ksVectorAppend(vector, bufferOf("x", 1).get());
    ksVectorAppend(vector, ksStr("last").get());
    jobjectArray array = nullptr;
    auto element = [&](jsize i) { return static_cast<jstring>(env->GetObjectArrayElement(array, i)); };
    ASSERT_TRUE(venNewStringArrayFromKsVector(&array, env, nullptr, vector));
    EXPECT_TRUE(env->GetArrayLength(array) == 4 &&
                env->IsInstanceOf(array, findClass(env, "[Ljava/lang/String;")));
    EXPECT_TRUE(units(env, element(0)) == u"tw\u00F6 \U0001F600" && !element(1) && !element(2) &&
                utf8(env, element(3)) == "last");
    EXPECT_TRUE(venNewStringArrayFromKsVector(&array, env, nullptr, KsRef<ksVector>{ksVectorCreate()}));
    EXPECT_EQ(0, env->GetArrayLength(array));
}

// Buffers and doubles to arrays, whole and empty; a region of bytes at each offset and
// length; an array to a buffer one byte per element; copies of the smaller of both lengths.
TEST_F(BridgesTest, LengthsAndOffsets)
{
    jbyteArray bytes = nullptr;
    const jbyte five[] = {10, -20, 30, -40, 5};
    jbyteArray array = env->NewByteArray(5);
    env->SetByteArrayRegion(array, 0, 5, five);
    for (const std::vector<jbyte>& content : {std::vector<jbyte>{1, -1, 127}, std::vector<jbyte>{}}) {
        ASSERT_TRUE(venNewByteArrayFromBuffer(
            &bytes, env, nullptr,
            bufferOf(reinterpret_cast<const char*>(content.data()), std::ssize(content))));
        std::vector<jbyte> made(static_cast<std::size_t>(env->GetArrayLength(bytes)));
        env->GetByteArrayRegion(bytes, 0, static_cast<jsize>(made.size()), made.data());
        EXPECT_EQ(content, made);
    }
    const double values[] = {-0.0, 0.1, std::numeric_limits<double>::infinity(), -2.5, -1e308};
    jdoubleArray doubles = nullptr;
    for (const KS_INT count : {5, 0}) {
        ASSERT_TRUE(venNewDoubleArrayOf(&doubles, env, nullptr, values, count));
        double made[5] = {};
        env->GetDoubleArrayRegion(doubles, 0, env->GetArrayLength(doubles), made);
        EXPECT_TRUE(env->GetArrayLength(doubles) == count &&
                    std::memcmp(made, values, count * sizeof(double)) == 0);
    }
    KsRef<ksBuffer> buffer = bufferOf("old", 3);
    for (const auto& [start, length, expected] :
         {std::tuple{1, 2, std::vector<jbyte>{-20, 30}}, std::tuple{5, 0, std::vector<jbyte>{}},
          std::tuple{0, 5, std::vector<jbyte>(five, five + 5)}}) {
        EXPECT_TRUE(venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, start, length) &&
                    bytesOf(buffer) == expected);
    }
    ksBuffer* kept = buffer.get();
    EXPECT_FALSE(venGetByteArrayRegionAsBuffer(buffer.out(), env, nullptr, array, 4, 2));
    ExpectPendingClass(env, "java.lang.ArrayIndexOutOfBoundsException");
    EXPECT_EQ(kept, buffer.get());
    const jint intValues[] = {-1, INT32_MIN, INT32_MAX, 0x04030201};
    jintArray ints = env->NewIntArray(4), wide = env->NewIntArray(1);
    env->SetIntArrayRegion(ints, 0, 4, intValues), env->SetIntArrayRegion(wide, 0, 1, intValues + 3);
    EXPECT_TRUE(venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, array) &&
                bytesOf(buffer) == std::vector<jbyte>(five, five + 5));
    EXPECT_TRUE(venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, wide) &&
                bytesOf(buffer) == std::vector<jbyte>{1});
    EXPECT_TRUE(venGetPrimitiveArrayAsKsBuffer(buffer.out(), env, nullptr, env->NewBooleanArray(0)) &&
                ksBufferLength(buffer) == 0);
    jdoubleArray fourDoubles = env->NewDoubleArray(4);
    env->SetDoubleArrayRegion(fourDoubles, 0, 4, values);
    // The first min(length, 4) copied, the rest as filled before; the elements given back unchanged.
    for (const auto& [length, copied] :
         {std::pair{10, 4}, std::pair{4, 4}, std::pair{2, 2}, std::pair{0, 0}}) {
        std::array<KS_INT, 6> intCopy;
        std::array<double, 6> doubleCopy;
        intCopy.fill(99), doubleCopy.fill(99);
        EXPECT_TRUE(venCopyIntArrayElements(intCopy.data(), env, nullptr, ints, length) &&
                    venCopyDoubleArrayElements(doubleCopy.data(), env, nullptr, fourDoubles, length));
        for (int i = 0; i < 6; ++i) {
            EXPECT_TRUE(same<KS_INT>(i < copied ? intValues[i] : 99, intCopy[i]) &&
                        same<double>(i < copied ? values[i] : 99, doubleCopy[i]))
                << length << " at " << i;
        }
    }
}

} // namespace
} // namespace ven::families_test
