// The UTF-16 codecs without a JVM: every kernel this processor runs (portable, the baseline
// vectors, AVX2 and AVX-512 where present) against the plain reference at every position around
// its blocks. The routines' checks over them are tested with the String unit (tests/core).
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "support/utf16_reference.hpp"
#include "ven/java/lang/utf16.hpp"

namespace
{

using ven::test::CodePoints;
using ven::test::referenceDecode;
using ven::test::referenceEncode;
using ven::test::Utf16Units;
namespace utf16 = ven::utf16;

// Plain units that strain lane arithmetic: zero, the sign bit of a 16-bit lane, the neighbours
// of the surrogate range and the largest unit.
constexpr std::uint16_t kPlain[] = {0x0041, 0x0000, 0x7FFF, 0x8000, 0xD7FF,
                                    0xE000, 0xF7FF, 0xF800, 0xFFFF, 0x4E2D};

Utf16Units plainText(std::size_t length, std::size_t shift)
{
    Utf16Units units(length);
    for (std::size_t i = 0; i < length; ++i) {
        units[i] = kPlain[(i + shift) % std::size(kPlain)];
    }
    return units;
}

std::optional<CodePoints> decode(const utf16::Kernel& kernel, const Utf16Units& units)
{
    CodePoints out(units.size());
    const utf16::Count count =
        kernel.decode(out.data(), units.data(), static_cast<utf16::Count>(units.size()));
    if (count == utf16::kIllFormed) {
        return std::nullopt;
    }
    out.resize(static_cast<std::size_t>(count));
    return out;
}

// Counted, then encoded into exactly the counted units; a stop other than the end is reported.
std::optional<Utf16Units> encode(const utf16::Kernel& kernel, const CodePoints& codePoints,
                                 utf16::Count slack = 0, utf16::EncodeStop* stop = nullptr)
{
    const auto length = static_cast<utf16::Count>(codePoints.size());
    const utf16::Count count = kernel.encodedLength(codePoints.data(), length) - slack;
    Utf16Units out(static_cast<std::size_t>(std::max<utf16::Count>(count, 0)) + 64, 0xBEEF);
    const utf16::EncodeResult result = kernel.encode(out.data(), count, codePoints.data(), length);
    if (stop != nullptr) {
        *stop = result.stop;
    }
    EXPECT_TRUE(std::all_of(out.begin() + count, out.end(), [](std::uint16_t u) { return u == 0xBEEF; }))
        << "a unit written beyond the count";
    if (result.stop != utf16::EncodeStop::done) {
        return std::nullopt;
    }
    EXPECT_EQ(result.written, count);
    out.resize(static_cast<std::size_t>(count));
    return out;
}

// Lengths around the 16-unit blocks and the 8-lane groups, and positions at every place in them.
constexpr std::size_t kLengths[] = {1, 2, 7, 8, 9, 15, 16, 17, 18, 31, 32, 33, 34, 47, 48, 49, 64, 65, 80};

// Units placed at every position of texts of every length: refused or decoded exactly as the
// reference does, counted and encoded back to the same units; then the same as code points among
// plain ones, encoded as the reference does, stopped where it stops.
TEST(Utf16Kernels, AgreeWithTheReferenceAtEveryPosition)
{
    const Utf16Units inserts[] = {
        {0xD83D, 0xDE00},
        {0xD800, 0xDC00},
        {0xDBFF, 0xDFFF},
        {0xD800, 0xDFFF, 0xDBFF, 0xDC00}, // pairs
        {0xDC00},
        {0xDFFF},
        {0xDC00, 0xD800, 0xDC00}, // lone lows
        {0xDBFF},
        {0xD800, 0x0041},
        {0xDC00, 0xD800},
        {0xD800, 0xD800, 0xDC00}, // refused
    };
    const std::uint32_t codePoints[] = {0x10000,  0x1F600,  0x10FFFF, 0xD800,    0xDFFF,
                                        0x110000, 0xA0FFFF, 0xA10000, 0xFFFFFFFF};
    for (const utf16::Kernel* kernel : utf16::available()) {
        for (std::size_t length : kLengths) {
            for (std::size_t pos = 0; pos < length; ++pos) {
                SCOPED_TRACE(testing::Message() << kernel->name << ": at " << pos << " of " << length);
                for (const Utf16Units& insert : inserts) {
                    if (pos + insert.size() > length) {
                        continue;
                    }
                    Utf16Units units = plainText(length, pos);
                    std::copy(insert.begin(), insert.end(), units.begin() + static_cast<std::ptrdiff_t>(pos));
                    const std::optional<CodePoints> got = decode(*kernel, units);
                    ASSERT_EQ(got, referenceDecode(units)) << "inserted " << testing::PrintToString(insert);
                    if (got) {
                        ASSERT_EQ(encode(*kernel, *got), units);
                    }
                }
                for (std::uint32_t value : codePoints) {
                    const Utf16Units plain = plainText(length, pos);
                    CodePoints text(plain.begin(), plain.end());
                    text[pos] = value;
                    text[length - 1 - pos / 2] = 0x1F600 + static_cast<std::uint32_t>(pos); // a second one
                    const ven::test::ReferenceEncoding expected = referenceEncode(text);
                    utf16::EncodeStop stop{};
                    const std::optional<Utf16Units> got = encode(*kernel, text, 0, &stop);
                    ASSERT_EQ(got.has_value(), expected.complete) << std::hex << value;
                    if (got) {
                        ASSERT_EQ(*got, expected.units) << std::hex << value;
                        // One unit short of the count: stopped before writing beyond it (a count
                        // of one unit per code point tells the kernel that the text is all BMP).
                        if (got->size() - 1 != length) {
                            ASSERT_FALSE(encode(*kernel, text, 1, &stop));
                            ASSERT_EQ(stop, utf16::EncodeStop::beyondCount);
                        }
                    } else {
                        ASSERT_EQ(stop, utf16::EncodeStop::leadingUnitTooLarge);
                    }
                }
            }
        }
    }
}

// Every one of the 2048 surrogate values at the edges of blocks and groups: a high one with its
// low partner gives the code point the two encode, a low one stays itself.
TEST(Utf16Kernels, EverySurrogateValueAtBlockEdges)
{
    for (const utf16::Kernel* kernel : utf16::available()) {
        for (std::uint16_t unit = 0xD800; unit <= 0xDFFF; ++unit) {
            for (std::size_t pos : {0, 7, 8, 14, 15, 16, 17, 31, 32, 46}) {
                Utf16Units units = plainText(48, unit);
                units[pos] = unit;
                if (unit < 0xDC00) {
                    units[pos + 1] = static_cast<std::uint16_t>(0xDC00 + (unit & 0x3FF));
                }
                SCOPED_TRACE(testing::Message() << kernel->name << ": " << std::hex << unit << " at " << pos);
                const std::optional<CodePoints> got = decode(*kernel, units);
                ASSERT_TRUE(got && got == referenceDecode(units));
                ASSERT_EQ(encode(*kernel, *got), units);
            }
        }
    }
}

// Every BMP value outside the surrogates in one run, from 17 misaligned starts: unit for unit both
// ways; with a lone high surrogate as its last unit the whole run is refused.
TEST(Utf16Kernels, LongBmpRuns)
{
    Utf16Units run;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        if (unit < 0xD800 || unit > 0xDFFF) {
            run.push_back(static_cast<std::uint16_t>(unit));
        }
    }
    for (const utf16::Kernel* kernel : utf16::available()) {
        for (std::size_t offset = 0; offset <= 16; ++offset) {
            SCOPED_TRACE(testing::Message() << kernel->name << " from " << offset);
            const Utf16Units units(run.begin() + static_cast<std::ptrdiff_t>(offset), run.end());
            const std::optional<CodePoints> got = decode(*kernel, units);
            ASSERT_TRUE(got && std::equal(got->begin(), got->end(), units.begin(), units.end()));
            ASSERT_EQ(encode(*kernel, *got), units);
        }
        Utf16Units refused = run;
        refused.back() = 0xDBFF;
        EXPECT_FALSE(decode(*kernel, refused)) << kernel->name;
    }
}

} // namespace
