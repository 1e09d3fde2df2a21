// The UTF-16 routines of the String unit: the decoding and encoding rules at their edges,
// their fatal checks, and a round-trip property over generated texts compared with a
// plain reference decoder (lengths around the block sizes, surrogates at block edges).
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace
{

constexpr const char* kStringPath = "source/ven/java/lang/ven_string";

using Units = std::vector<jchar>;
using CodePoints = std::vector<KS_CHAR>;

// The decoding rule written as plainly as possible; nullopt for ill-formed input.
std::optional<CodePoints> referenceDecode(const Units& units)
{
    CodePoints out;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const jchar unit = units[i];
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            if (i + 1 == units.size() || units[i + 1] < 0xDC00 || units[i + 1] > 0xDFFF) {
                return std::nullopt;
            }
            out.push_back(0x10000u + ((unit - 0xD800u) << 10) + (units[i + 1] - 0xDC00u));
            ++i;
        } else {
            out.push_back(unit);
        }
    }
    return out;
}

Units referenceEncode(const CodePoints& codePoints)
{
    Units out;
    for (KS_CHAR c : codePoints) {
        if (c <= 0xFFFF) {
            out.push_back(static_cast<jchar>(c));
        } else {
            out.push_back(static_cast<jchar>(0xD800 + ((c - 0x10000) >> 10)));
            out.push_back(static_cast<jchar>(0xDC00 + (c & 0x3FF)));
        }
    }
    return out;
}

// Runs the decoder on a copy in a buffer of exactly the input's size (so that a read past
// the end is caught by sanitizers), with sentinel outputs.
struct Decoded {
    KS_BOOL ok;
    std::optional<CodePoints> codePoints; // set exactly when ok
    bool outputsUntouched;
};

Decoded decode(const Units& units)
{
    auto* source = static_cast<jchar*>(ksMemAllocN(static_cast<KS_INT>(units.size()), 2));
    std::copy(units.begin(), units.end(), source);
    KS_CHAR sentinel = 0;
    KS_CHAR* chars = &sentinel;
    KS_INT length = -7;
    Decoded result{};
    result.ok = ven___JCharsToChars(&chars, &length, source, static_cast<KS_INT>(units.size()));
    if (result.ok) {
        result.codePoints = CodePoints(chars, chars + length);
        ksMemFree(chars);
    }
    result.outputsUntouched = chars == &sentinel && length == -7;
    ksMemFree(source);
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

struct DecodeCase {
    const char* name;
    Units units;
    std::optional<CodePoints> expected; // nullopt: the decoding fails
};

const DecodeCase kDecodeCases[] = {
    {"plain unit", {0x0041}, CodePoints{0x41}},
    {"pair for U+1F600", {0xD83D, 0xDE00}, CodePoints{0x1F600}},
    {"highest pair", {0xDBFF, 0xDFFF}, CodePoints{0x10FFFF}},
    {"lowest pair", {0xD800, 0xDC00}, CodePoints{0x10000}},
    {"lone low surrogate", {0xDC00}, CodePoints{0xDC00}},
    {"lone low, then a pair", {0xDC00, 0xD800, 0xDC00}, CodePoints{0xDC00, 0x10000}},
    {"units next to the surrogate range",
     {0xD7FF, 0xE000, 0xFFFF, 0x0000},
     CodePoints{0xD7FF, 0xE000, 0xFFFF, 0}},
    {"lone high at the end", {0x0041, 0xD800}, std::nullopt},
    {"only a high surrogate", {0xD800}, std::nullopt},
    {"high then a plain unit", {0xD800, 0x0041}, std::nullopt},
    {"high then high", {0xD800, 0xD800}, std::nullopt},
    {"reversed pair", {0xDE00, 0xD83D}, std::nullopt},
};

TEST(Utf16Decode, EdgeCases)
{
    for (const DecodeCase& c : kDecodeCases) {
        SCOPED_TRACE(c.name);
        const Decoded got = decode(c.units);
        EXPECT_EQ(got.ok, c.expected ? KS_TRUE : KS_FALSE);
        EXPECT_EQ(got.codePoints, c.expected);
        if (!c.expected) {
            EXPECT_TRUE(got.outputsUntouched) << "a failed decoding delivered something";
        }
    }
}

TEST(Utf16Decode, EmptyInputDeliversABlockForNothing)
{
    const jchar unit = 0x41;
    KS_CHAR* chars = nullptr;
    KS_INT length = -1;
    const KS_INT allocationsBefore = ksMemAllocCount();
    EXPECT_EQ(ven___JCharsToChars(&chars, &length, &unit, 0), KS_TRUE);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(ksMemAllocCount(), allocationsBefore + 1);
    // The block can become a string (which takes it over) like any other.
    ksObjRelease(ksStringCreateFromCharsUse(chars, length));
}

TEST(Utf16Decode, FatalChecks)
{
    const jchar unit = 0x41;
    KS_CHAR* chars = nullptr;
    KS_INT length = 0;
    EXPECT_VEN_ABORT(ven___JCharsToChars(nullptr, &length, &unit, 1), kStringPath, 98, "resultChars");
    EXPECT_VEN_ABORT(ven___JCharsToChars(&chars, nullptr, &unit, 1), kStringPath, 99, "resultLength");
    EXPECT_VEN_ABORT(ven___JCharsToChars(&chars, &length, nullptr, 1), kStringPath, 100, "srcChars");
    EXPECT_VEN_ABORT(ven___JCharsToChars(&chars, &length, nullptr, 0), kStringPath, 100, "srcChars");
    EXPECT_VEN_ABORT(ven___JCharsToChars(&chars, &length, &unit, -1), kStringPath, 101, "srcLength >= 0");
    // In order: the first failing check is the one reported.
    EXPECT_VEN_ABORT(ven___JCharsToChars(nullptr, nullptr, nullptr, -1), kStringPath, 98, "resultChars");
}

struct EncodeCase {
    const char* name;
    CodePoints codePoints;
    Units expected;
};

const EncodeCase kEncodeCases[] = {
    {"U+1F600", {0x1F600}, {0xD83D, 0xDE00}},
    {"U+10000", {0x10000}, {0xD800, 0xDC00}},
    {"U+10FFFF", {0x10FFFF}, {0xDBFF, 0xDFFF}},
    {"U+FFFF", {0xFFFF}, {0xFFFF}},
    {"lone surrogate value", {0xD800}, {0xD800}},
    {"mixed", {0x41, 0x1F600, 0xDC00, 0x42}, {0x41, 0xD83D, 0xDE00, 0xDC00, 0x42}},
    // Beyond Unicode: written as two units as long as the leading one fits 16 bits.
    {"largest value with a leading unit", {0xA0FFFF}, {0xFFFF, 0xDFFF}},
};

TEST(Utf16Encode, EdgeCases)
{
    for (const EncodeCase& c : kEncodeCases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(encode(c.codePoints), c.expected);
    }
}

TEST(Utf16Encode, EmptyInputAllocatesNothing)
{
    const KS_CHAR codePoint = 0x41;
    for (const KS_CHAR* source : {&codePoint, static_cast<const KS_CHAR*>(nullptr)}) {
        jchar sentinel = 0;
        jchar* units = &sentinel;
        KS_INT length = -1;
        const KS_INT allocationsBefore = ksMemAllocCount();
        ven___CharsToJChars(&units, &length, source, 0);
        EXPECT_EQ(units, nullptr);
        EXPECT_EQ(length, 0);
        EXPECT_EQ(ksMemAllocCount(), allocationsBefore);
    }
}

TEST(Utf16Encode, FatalChecks)
{
    const KS_CHAR codePoint = 0x41;
    jchar* units = nullptr;
    KS_INT length = 0;
    EXPECT_VEN_ABORT(ven___CharsToJChars(nullptr, &length, &codePoint, 1), kStringPath, 149, "resultChars");
    EXPECT_VEN_ABORT(ven___CharsToJChars(&units, nullptr, &codePoint, 1), kStringPath, 150, "resultLength");
    EXPECT_VEN_ABORT(ven___CharsToJChars(&units, &length, nullptr, 1), kStringPath, 151,
                     "srcChars || srcLength == 0");
    EXPECT_VEN_ABORT(ven___CharsToJChars(&units, &length, &codePoint, -1), kStringPath, 152,
                     "srcLength >= 0");
    EXPECT_VEN_ABORT(ven___CharsToJChars(&units, &length, nullptr, -1), kStringPath, 151,
                     "srcChars || srcLength == 0");
}

TEST(Utf16Encode, LeadingUnitBeyondSixteenBitsStops)
{
    // Scalar path and the fallback out of a vector block alike.
    for (std::size_t position : {0u, 5u, 16u, 33u}) {
        CodePoints codePoints(40, 0x41);
        for (KS_CHAR value : {0xA10000u, 0xFFFFFFFFu}) {
            codePoints[position] = value;
            SCOPED_TRACE(testing::Message() << "position " << position << " value " << value);
            jchar* units = nullptr;
            KS_INT length = 0;
            EXPECT_VEN_ABORT(ven___CharsToJChars(&units, &length, codePoints.data(), 40), kStringPath, 174,
                             "VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )");
        }
    }
}

// Generated texts: each kind stresses one way the blockwise loops can go wrong.
class TextGenerator
{
  public:
    explicit TextGenerator(unsigned seed) : random_(seed) {}

    KS_CHAR bmpNonSurrogate()
    {
        for (;;) {
            const KS_CHAR c = pick(0, 0xFFFF);
            if (c < 0xD800 || c > 0xDFFF) {
                return c;
            }
        }
    }
    KS_CHAR supplementary() { return pick(0x10000, 0x10FFFF); }
    KS_CHAR lowSurrogate() { return pick(0xDC00, 0xDFFF); }

    // Code points of a well-formed text (lone low surrogates allowed) of `length` units
    // or one more (a pair at the end).
    CodePoints text(std::size_t length, unsigned supplementaryPercent, unsigned loneLowPercent)
    {
        CodePoints codePoints;
        std::size_t units = 0;
        while (units < length) {
            const unsigned roll = pick(0, 99);
            if (roll < supplementaryPercent) {
                codePoints.push_back(supplementary());
                units += 2;
            } else if (roll < supplementaryPercent + loneLowPercent) {
                codePoints.push_back(lowSurrogate());
                units += 1;
            } else {
                codePoints.push_back(bmpNonSurrogate());
                units += 1;
            }
        }
        return codePoints;
    }

    unsigned pick(unsigned low, unsigned high)
    {
        return std::uniform_int_distribution<unsigned>(low, high)(random_);
    }

  private:
    std::mt19937 random_;
};

TEST(Utf16RoundTrip, GeneratedTextsMatchTheReference)
{
    TextGenerator generate(20261123);
    struct Mix {
        unsigned supplementaryPercent;
        unsigned loneLowPercent;
    };
    const Mix mixes[] = {{0, 0}, {1, 0}, {10, 0}, {50, 5}, {0, 10}, {100, 0}};
    int texts = 0;
    for (const Mix& mix : mixes) {
        for (std::size_t length = 0; length <= 70; ++length) {
            for (int repeat = 0; repeat < 8; ++repeat, ++texts) {
                const CodePoints codePoints =
                    generate.text(length, mix.supplementaryPercent, mix.loneLowPercent);
                const Units units = referenceEncode(codePoints);
                SCOPED_TRACE(testing::Message()
                             << "length " << units.size() << " mix " << mix.supplementaryPercent << "/"
                             << mix.loneLowPercent << " repeat " << repeat);
                ASSERT_EQ(encode(codePoints), units);
                const Decoded decoded = decode(units);
                ASSERT_EQ(decoded.ok, KS_TRUE);
                ASSERT_EQ(decoded.codePoints, codePoints);
            }
        }
    }
    EXPECT_GT(texts, 3000);
}

TEST(Utf16RoundTrip, PairsAcrossEveryBlockEdge)
{
    // A pair starting at each position of a text of 64 units: straddling 8/16/32 edges.
    for (std::size_t position = 0; position + 1 < 64; ++position) {
        Units units(64, 0x61);
        units[position] = 0xD83D;
        units[position + 1] = 0xDE00;
        SCOPED_TRACE(testing::Message() << "pair at " << position);
        const Decoded decoded = decode(units);
        ASSERT_EQ(decoded.ok, KS_TRUE);
        ASSERT_EQ(decoded.codePoints, referenceDecode(units));
        ASSERT_EQ(encode(*decoded.codePoints), units);
    }
}

TEST(Utf16Decode, IllFormedAnywhereFails)
{
    TextGenerator generate(7);
    for (std::size_t length = 1; length <= 70; ++length) {
        for (std::size_t position = 0; position < length; ++position) {
            Units units = referenceEncode(generate.text(length, 20, 5));
            units.resize(length);
            // A high surrogate at `position`, followed by something that is not a low one.
            units[position] = 0xD800;
            if (position + 1 < length) {
                units[position + 1] = (position % 3 == 0) ? 0xDBFF : 0x41;
            }
            SCOPED_TRACE(testing::Message() << "length " << length << " position " << position);
            ASSERT_FALSE(referenceDecode(units).has_value());
            const Decoded decoded = decode(units);
            ASSERT_EQ(decoded.ok, KS_FALSE);
            ASSERT_TRUE(decoded.outputsUntouched);
        }
    }
}

TEST(Utf16Decode, LargeBmpTextIsWidenedUnchanged)
{
    TextGenerator generate(99);
    Units units(1000003);
    for (jchar& unit : units) {
        unit = static_cast<jchar>(generate.bmpNonSurrogate());
    }
    const Decoded decoded = decode(units);
    ASSERT_EQ(decoded.ok, KS_TRUE);
    ASSERT_EQ(decoded.codePoints->size(), units.size());
    EXPECT_TRUE(std::equal(units.begin(), units.end(), decoded.codePoints->begin()));
}

} // namespace
