// The UTF-16 routines of the String unit and the integration layer's range checks: the rules
// at their edges, the fatal checks, and both conversions through Java against the reference.
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/utf16_reference.hpp"
#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace
{

constexpr const char* kStringPath = "source/ven/java/lang/ven_string";
using Units = std::u16string;
using CodePoints = std::vector<KS_CHAR>;
jchar gUnit = 0x41;
KS_CHAR gCodePoint = 0x41;
KS_CHAR* gChars;
jchar* gUnits;
KS_INT gLength;
// clang-format off
const CodePoints gBeyond = [] { CodePoints c(40, 0x41); c[33] = 0xA10000; c[39] = 0xFFFFFFFF; return c; }();
// clang-format on

// nullopt on failure, which must leave the sentinel outputs as they were.
std::optional<CodePoints> decode(const Units& units)
{
    KS_CHAR sentinel = 0;
    KS_CHAR* chars = &sentinel;
    KS_INT length = -7;
    const auto* source = reinterpret_cast<const jchar*>(units.data());
    if (ven___JCharsToChars(&chars, &length, source, static_cast<KS_INT>(units.size())) == KS_FALSE) {
        EXPECT_TRUE(chars == &sentinel && length == -7) << "a failed decoding delivered something";
        return std::nullopt;
    }
    CodePoints result(chars, chars + length);
    ksMemFree(chars);
    return result;
}

Units encode(const CodePoints& codePoints)
{
    jchar* units = nullptr;
    KS_INT length = -1;
    ven___CharsToJChars(&units, &length, codePoints.data(), static_cast<KS_INT>(codePoints.size()));
    Units result(units, units + length);
    ksMemFree(units);
    return result;
}

// Pairs at the range ends, lone low surrogates kept, every broken pair refused; in the
// other direction surrogate values kept, and beyond Unicode two units while the leading fits.
// An empty input: decoding allocates one block for no elements (a string can take it over);
// encoding delivers NULL and 0 and allocates nothing, whatever the source.
TEST(Utf16, Edges)
{
    // clang-format off
    const struct { Units units; std::optional<CodePoints> decoded; } decodeRows[] = {
        {{0x0041}, CodePoints{0x41}}, {{0xD83D, 0xDE00}, CodePoints{0x1F600}},
        {{0xDBFF, 0xDFFF}, CodePoints{0x10FFFF}}, {{0xD800, 0xDC00}, CodePoints{0x10000}},
        {{0xDC00}, CodePoints{0xDC00}}, {{0xDC00, 0xD800, 0xDC00}, CodePoints{0xDC00, 0x10000}},
        {{0xD7FF, 0xE000, 0xFFFF, 0x0000}, CodePoints{0xD7FF, 0xE000, 0xFFFF, 0}},
        {{0x0041, 0xD800}, std::nullopt}, {{0xD800}, std::nullopt}, {{0xD800, 0x0041}, std::nullopt},
        {{0xD800, 0xD800}, std::nullopt}, {{0xDE00, 0xD83D}, std::nullopt}};
    const struct { CodePoints codePoints; Units encoded; } encodeRows[] = {
        {{0x1F600}, {0xD83D, 0xDE00}}, {{0x10000}, {0xD800, 0xDC00}}, {{0x10FFFF}, {0xDBFF, 0xDFFF}},
        {{0xFFFF}, {0xFFFF}}, {{0xD800}, {0xD800}}, {{0xA0FFFF}, {0xFFFF, 0xDFFF}},
        {{0x41, 0x1F600, 0xDC00, 0x42}, {0x41, 0xD83D, 0xDE00, 0xDC00, 0x42}}};
    // clang-format on
    for (const auto& row : decodeRows) {
        EXPECT_EQ(decode(row.units), row.decoded) << testing::PrintToString(row.units);
    }
    for (const auto& row : encodeRows) {
        EXPECT_EQ(encode(row.codePoints), row.encoded) << testing::PrintToString(row.codePoints);
    }
    const KS_INT allocations = ksMemAllocCount();
    gLength = -1;
    ASSERT_EQ(ven___JCharsToChars(&gChars, &gLength, &gUnit, 0), KS_TRUE);
    EXPECT_EQ(gLength, 0);
    ksObjRelease(ksStringCreateFromCharsUse(gChars, gLength));
    for (const KS_CHAR* source : {&gCodePoint, static_cast<KS_CHAR*>(nullptr)}) {
        gUnits = &gUnit;
        gLength = -1;
        ven___CharsToJChars(&gUnits, &gLength, source, 0);
        EXPECT_TRUE(gUnits == nullptr && gLength == 0);
    }
    EXPECT_EQ(ksMemAllocCount(), allocations + 1);
}

// Every fatal check of both routines, in order: the first failing one is reported.
TEST(Utf16, FatalChecks)
{
    // clang-format off
    const struct { void (*call)(); int line; const char* condition; } rows[] = {
        {[] { ven___JCharsToChars(nullptr, &gLength, &gUnit, 1); }, 98, "resultChars"},
        {[] { ven___JCharsToChars(nullptr, nullptr, nullptr, -1); }, 98, "resultChars"},
        {[] { ven___JCharsToChars(&gChars, nullptr, &gUnit, 1); }, 99, "resultLength"},
        {[] { ven___JCharsToChars(&gChars, &gLength, nullptr, 1); }, 100, "srcChars"},
        {[] { ven___JCharsToChars(&gChars, &gLength, nullptr, 0); }, 100, "srcChars"},
        {[] { ven___JCharsToChars(&gChars, &gLength, &gUnit, -1); }, 101, "srcLength >= 0"},
        {[] { ven___CharsToJChars(nullptr, &gLength, &gCodePoint, 1); }, 149, "resultChars"},
        {[] { ven___CharsToJChars(&gUnits, nullptr, &gCodePoint, 1); }, 150, "resultLength"},
        {[] { ven___CharsToJChars(&gUnits, &gLength, nullptr, 1); }, 151, "srcChars || srcLength == 0"},
        {[] { ven___CharsToJChars(&gUnits, &gLength, nullptr, -1); }, 151, "srcChars || srcLength == 0"},
        {[] { ven___CharsToJChars(&gUnits, &gLength, &gCodePoint, -1); }, 152, "srcLength >= 0"},
        // A leading unit beyond 16 bits, alone and after a vector block.
        {[] { ven___CharsToJChars(&gUnits, &gLength, &gBeyond[39], 1); }, 174, "VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )"},
        {[] { ven___CharsToJChars(&gUnits, &gLength, gBeyond.data(), 40); }, 174, "VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )"}};
    // clang-format on
    for (const auto& row : rows) {
        EXPECT_VEN_ABORT(row.call(), kStringPath, row.line, row.condition);
    }
}

// Generated texts with pairs, lone surrogates of both kinds and plain units, of every length
// across the vector blocks and around the longest text copied through the stack (longer ones are
// read in the critical region): Java -> ksString gives the reference's code points or refuses as
// it does, and ksString -> Java gives the units back.
using Utf16Java = ven::test::JvmTest;
TEST_F(Utf16Java, ConversionsAgreeWithTheReference)
{
    std::mt19937 random(20261123);
    auto draw = [&](unsigned low, unsigned high) {
        return static_cast<char16_t>(std::uniform_int_distribution<unsigned>(low, high)(random));
    };
    std::vector<std::size_t> lengths;
    for (std::size_t length = 1; length <= 40; ++length) {
        lengths.push_back(length);
    }
    for (std::size_t length : {250, 255, 256, 257, 258, 300, 700}) {
        lengths.push_back(length);
    }
    int refused = 0;
    for (std::size_t length : lengths) {
        for (unsigned repeat = 0; repeat < 16; ++repeat) {
            const unsigned pairPercent = repeat % 4 * 15;
            const unsigned lonePercent = repeat % 8 < 4 ? 0 : (length > 200 ? 1 : 3);
            Units units;
            while (units.size() < length) {
                const unsigned roll = draw(0, 999) / 10;
                const char16_t plain = draw(0, 0xF7FF);
                if (roll < pairPercent && units.size() + 1 < length) {
                    units.insert(units.end(), {draw(0xD800, 0xDBFF), draw(0xDC00, 0xDFFF)});
                } else {
                    units.push_back(draw(0, 999) < lonePercent * 10 ? draw(0xD800, 0xDFFF)
                                    : plain < 0xD800                ? plain
                                                                    : plain + 0x800);
                }
            }
            SCOPED_TRACE(testing::PrintToString(units));
            const auto expected = ven::test::referenceDecode(
                reinterpret_cast<const std::uint16_t*>(units.data()), units.size());
            ven::test::TestFrame frame(env);
            ven::test::KsRef<ksString> text;
            const KS_BOOL converted =
                venStringToKsString(text.out(), env, nullptr, ven::test::jstr(env, units));
            if (!expected) {
                ++refused;
                ASSERT_EQ(converted, KS_FALSE);
                env->ExceptionClear();
                continue;
            }
            ASSERT_EQ(converted, KS_TRUE);
            ASSERT_EQ(CodePoints(ksStringBacking(text), ksStringBacking(text) + ksStringLength(text)),
                      *expected);
            jstring back = nullptr;
            ASSERT_EQ(venStringFromKsString(&back, env, nullptr, text), KS_TRUE);
            ASSERT_EQ(ven::test::units(env, back), units);
        }
    }
    EXPECT_GT(refused, 50);
    // A leading unit beyond 16 bits stops the encoding on the stack as on the heap.
    for (const std::size_t length : {40, 300}) {
        CodePoints beyond(length, 0x1F600);
        beyond[length - 2] = 0xA10000;
        ven::test::KsRef<ksString> text(ksStringCreateFromChars(beyond.data(), static_cast<KS_INT>(length)));
        jstring back = nullptr;
        EXPECT_VEN_ABORT(venStringFromKsString(&back, env, nullptr, text), kStringPath, 174,
                         "VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )");
    }
}

// The four range checks at their bounds.
TEST(RangeChecks, Bounds)
{
    // clang-format off
    const struct { KS_INT value; bool jint; bool jshort; } rows[] = {
        {0, true, true}, {32767, true, true}, {-32768, true, true}, {32768, true, false},
        {-32769, true, false}, {2147483647LL, true, false}, {-2147483648LL, true, false},
        {2147483648LL, false, false}, {-2147483649LL, false, false}, {INT64_MAX, false, false},
        {INT64_MIN, false, false}};
    const std::pair<KS_CHAR, bool> chars[] = {{0, true}, {65535, true}, {65536, false}, {0x80000000u, false}, {0xFFFFFFFFu, false}};
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(static_cast<bool>(VEN_KS_INT_TO_JINT_CONV_OK(row.value)), row.jint);
        EXPECT_EQ(static_cast<bool>(VEN_KS_INT_TO_JSIZE_CONV_OK(row.value)), row.jint);
        EXPECT_EQ(static_cast<bool>(VEN_KS_INT_TO_JSHORT_CONV_OK(row.value)), row.jshort);
    }
    for (auto [value, passes] : chars) {
        EXPECT_EQ(static_cast<bool>(VEN_KS_CHAR_TO_JCHAR_CONV_OK(value)), passes) << value;
    }
}

#define STRINGIZE_EXPANDED(...) STRINGIZE_(__VA_ARGS__)
#define STRINGIZE_(...) #__VA_ARGS__

// The expansion is the condition text that fatal checks over these checks report.
TEST(RangeChecks, ExpandedText)
{
    EXPECT_STREQ(STRINGIZE_EXPANDED(VEN_KS_INT_TO_JINT_CONV_OK(index)),
                 "( sizeof(KS_INT)>=sizeof(jint) ? (KS_INT)(index) >= (KS_INT)((KS_INT)(-2147483648LL)) && "
                 "(KS_INT)(index) <= (KS_INT)((KS_INT)(2147483647LL)) : ((KS_BOOL)1) )");
    EXPECT_STREQ(STRINGIZE_EXPANDED(VEN_KS_INT_TO_JSIZE_CONV_OK(len)),
                 "( sizeof(KS_INT)>=sizeof(jsize) ? (KS_INT)(len) >= (KS_INT)((KS_INT)(-2147483648LL)) && "
                 "(KS_INT)(len) <= (KS_INT)((KS_INT)(2147483647LL)) : ((KS_BOOL)1) )");
    EXPECT_STREQ(STRINGIZE_EXPANDED(VEN_KS_INT_TO_JSHORT_CONV_OK(value)),
                 "( sizeof(KS_INT)>=sizeof(jshort) ? (KS_INT)(value) >= (KS_INT)((KS_INT)(-32768LL)) && "
                 "(KS_INT)(value) <= (KS_INT)((KS_INT)(32767LL)) : ((KS_BOOL)1) )");
}

} // namespace
