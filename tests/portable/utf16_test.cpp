// The UTF-16 routines without a JVM, on each architecture's own vector path: the block edges,
// every surrogate value, long BMP runs against the rule written plainly, and the fatal checks.
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "ks/ks.h"
#include "ven/java/lang/string.h"

namespace
{

using Units = std::vector<jchar>;
using CodePoints = std::vector<KS_CHAR>;

std::optional<CodePoints> referenceDecode(const jchar* units, std::size_t n)
{
    CodePoints out;
    for (std::size_t i = 0; i < n; ++i) {
        if (units[i] < 0xD800 || units[i] > 0xDBFF) {
            out.push_back(units[i]);
        } else if (i + 1 < n && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
            out.push_back(0x10000u + ((units[i] - 0xD800u) << 10) + (units[i + 1] - 0xDC00u));
            ++i;
        } else {
            return std::nullopt;
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

std::optional<CodePoints> decode(const jchar* units, std::size_t n)
{
    KS_CHAR* chars = nullptr;
    KS_INT length = -1;
    if (ven___JCharsToChars(&chars, &length, units, static_cast<KS_INT>(n)) == KS_FALSE) {
        return std::nullopt;
    }
    CodePoints result(chars, chars + length);
    ksMemFree(chars);
    return result;
}
std::optional<CodePoints> decode(const Units& units)
{
    return decode(units.data(), units.size());
}

Units encode(const KS_CHAR* codePoints, std::size_t n)
{
    jchar* units = nullptr;
    KS_INT length = -1;
    ven___CharsToJChars(&units, &length, codePoints, static_cast<KS_INT>(n));
    Units result(units, units + length);
    ksMemFree(units);
    return result;
}
Units encode(const CodePoints& codePoints)
{
    return encode(codePoints.data(), codePoints.size());
}

// Plain units that strain lane arithmetic: zero, the sign bit of a 16-bit lane, the
// neighbours of the surrogate range and the largest unit.
constexpr jchar kPlain[] = {0x0041, 0x0000, 0x7FFF, 0x8000, 0xD7FF, 0xE000, 0xF7FF, 0xF800, 0xFFFF, 0x4E2D};
constexpr std::size_t kLengths[] = {1, 2, 15, 16, 17, 18, 31, 32, 33, 34, 47, 48, 49, 64, 65, 80};

Units plainText(std::size_t length, std::size_t shift)
{
    Units units(length);
    for (std::size_t i = 0; i < length; ++i) {
        units[i] = kPlain[(i + shift) % std::size(kPlain)];
    }
    return units;
}

// A short sequence of units placed at every position of texts of every length around the
// blocks (a pair at 15 straddles the first block's end): refused or not, the code point count,
// the exact result against the plain rule, and what decodes encodes back to the same units.
TEST(PortableUtf16, SurrogatesAtEveryPosition)
{
    // clang-format off
    const struct { const char* name; Units insert; bool refused; std::size_t pairs; } rows[] = {
        {"pair", {0xD83D, 0xDE00}, false, 1},          {"lowest pair", {0xD800, 0xDC00}, false, 1},
        {"highest pair", {0xDBFF, 0xDFFF}, false, 1},   {"two pairs", {0xD800, 0xDFFF, 0xDBFF, 0xDC00}, false, 2},
        {"lone low", {0xDC00}, false, 0},               {"lone high low end", {0xDFFF}, false, 0},
        {"lone high", {0xDBFF}, true, 0},               {"high before plain", {0xD800, 0x0041}, true, 0},
        {"reversed pair", {0xDC00, 0xD800}, true, 0},   {"high high low", {0xD800, 0xD800, 0xDC00}, true, 0}};
    // clang-format on
    for (const auto& row : rows) {
        for (std::size_t length : kLengths) {
            for (std::size_t pos = 0; pos + row.insert.size() <= length; ++pos) {
                Units units = plainText(length, pos);
                std::copy(row.insert.begin(), row.insert.end(), units.begin() + static_cast<std::ptrdiff_t>(pos));
                SCOPED_TRACE(testing::Message() << row.name << " at " << pos << " of " << length);
                const std::optional<CodePoints> got = decode(units);
                ASSERT_EQ(!got, row.refused);
                ASSERT_EQ(got, referenceDecode(units.data(), units.size()));
                if (got) {
                    ASSERT_EQ(got->size(), length - row.pairs);
                    ASSERT_EQ(encode(*got), units);
                }
            }
        }
    }
}

// Every one of the 2048 surrogate values at the block edges of a 48-unit text: a high one
// with its low partner gives the code point the two encode, a low one stays itself.
TEST(PortableUtf16, EverySurrogateValueAtBlockEdges)
{
    for (unsigned unit = 0xD800; unit <= 0xDFFF; ++unit) {
        const bool high = unit < 0xDC00;
        const KS_CHAR partner = 0xDC00 + (unit & 0x3FF);
        const KS_CHAR expected = high ? 0x10000 + ((unit - 0xD800) << 10) + (partner - 0xDC00) : unit;
        for (std::size_t pos : {0, 14, 15, 16, 17, 31, 32, 46}) {
            Units units = plainText(48, unit);
            units[pos] = static_cast<jchar>(unit);
            if (high) {
                units[pos + 1] = static_cast<jchar>(partner);
            }
            SCOPED_TRACE(testing::Message() << std::hex << unit << " at " << std::dec << pos);
            const std::optional<CodePoints> got = decode(units);
            ASSERT_TRUE(got);
            ASSERT_EQ(got->size(), high ? 47u : 48u);
            ASSERT_EQ((*got)[pos], expected);
            ASSERT_EQ(CodePoints(got->begin(), got->begin() + static_cast<std::ptrdiff_t>(pos)),
                      CodePoints(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(pos)));
            ASSERT_EQ(encode(*got), units);
        }
    }
}

// Every BMP value outside the surrogates in one run, read from each of 17 misaligned starts
// (so each length ends at another place in a block), decodes unit for unit and encodes back;
// the same run with a lone high surrogate as its last unit is refused after all its blocks.
TEST(PortableUtf16, LongBmpRuns)
{
    Units run;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        if (unit < 0xD800 || unit > 0xDFFF) {
            run.push_back(static_cast<jchar>(unit));
        }
    }
    ASSERT_EQ(run.size(), 63488u);
    for (std::size_t offset = 0; offset <= 16; ++offset) {
        SCOPED_TRACE(offset);
        const jchar* units = run.data() + offset;
        const std::size_t length = run.size() - offset;
        const std::optional<CodePoints> got = decode(units, length);
        ASSERT_TRUE(got);
        ASSERT_EQ(*got, CodePoints(units, units + length));
        ASSERT_EQ(encode(got->data(), got->size()), Units(units, units + length));
    }
    run.back() = 0xDBFF;
    EXPECT_FALSE(decode(run));
    run.back() = 0xDFFF;
    const std::optional<CodePoints> lowAtEnd = decode(run);
    ASSERT_TRUE(lowAtEnd);
    EXPECT_EQ(lowAtEnd->back(), 0xDFFFu);
}

// Supplementary code points at every position around the blocks, alone and with a second one
// in the last place (in the scalar tail when the length is not a multiple of 16): each adds one
// unit, the pairs are the plain rule's, and lone surrogate values among them pass unchanged.
TEST(PortableUtf16, EncodeSupplementaryAtEveryPosition)
{
    for (KS_CHAR supplementary : {0x10000u, 0x1F600u, 0x10FFFFu}) {
        for (std::size_t length : kLengths) {
            for (std::size_t pos = 0; pos < length; ++pos) {
                for (bool secondAtEnd : {false, true}) {
                    const Units plain = plainText(length, pos);
                    CodePoints codePoints(plain.begin(), plain.end());
                    codePoints[length / 2] = 0xDC00 + static_cast<KS_CHAR>(pos); // a lone surrogate value
                    codePoints[pos] = supplementary;
                    if (secondAtEnd) {
                        codePoints.back() = 0x10437;
                    }
                    SCOPED_TRACE(testing::Message() << std::hex << supplementary << std::dec << " at " << pos
                                                    << " of " << length << (secondAtEnd ? " and at the end" : ""));
                    const Units got = encode(codePoints);
                    ASSERT_EQ(got.size(), length + 1 + (secondAtEnd && pos + 1 < length ? 1 : 0));
                    ASSERT_EQ(got, referenceEncode(codePoints));
                }
            }
        }
    }
}

struct Aborted {
    std::string path;
    int line;
    std::string condition;
};

[[noreturn]] void throwAborted(const char*, const char* path, int line, const char* condition)
{
    throw Aborted{path != nullptr ? path : "", line, condition != nullptr ? condition : ""};
}

// A fatal check leaves through the hook from inside the vector loops (a code point whose
// leading unit does not fit, at the block edges) and from the argument checks; the library
// stays usable afterwards.
TEST(PortableUtf16, FatalChecksLeaveThroughTheHook)
{
    const ksAbortHook previous = ksAbortSetHook(&throwAborted);
    KS_CHAR* chars = nullptr;
    jchar* units = nullptr;
    KS_INT length = 0;
    const jchar unit = 0x41;
    auto abortOf = [](auto&& call) -> std::optional<Aborted> {
        try {
            call();
        } catch (const Aborted& aborted) {
            return aborted;
        }
        return std::nullopt;
    };
    struct Row {
        std::size_t pos;
        std::size_t length;
    };
    for (const Row row : {Row{0, 1}, Row{15, 40}, Row{16, 40}, Row{17, 40}, Row{33, 40}, Row{39, 40}}) {
        CodePoints codePoints(row.length, 0x41);
        codePoints[row.pos] = 0xFFFFFFFF;
        const std::optional<Aborted> aborted =
            abortOf([&] { ven___CharsToJChars(&units, &length, codePoints.data(), static_cast<KS_INT>(row.length)); });
        ASSERT_TRUE(aborted) << row.pos;
        EXPECT_EQ(aborted->path, "source/ven/java/lang/ven_string");
        EXPECT_EQ(aborted->line, 174) << row.pos;
        EXPECT_EQ(aborted->condition, "VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )");
    }
    const std::optional<Aborted> decodeArgument = abortOf([&] { ven___JCharsToChars(&chars, &length, &unit, -1); });
    ASSERT_TRUE(decodeArgument);
    EXPECT_EQ(decodeArgument->line, 101);
    const std::optional<Aborted> encodeArgument = abortOf([&] { ven___CharsToJChars(nullptr, &length, nullptr, 1); });
    ASSERT_TRUE(encodeArgument);
    EXPECT_EQ(encodeArgument->line, 149);
    ksAbortSetHook(previous);
    EXPECT_EQ(encode(CodePoints{0x41, 0x1F600}), (Units{0x41, 0xD83D, 0xDE00}));
}

} // namespace
