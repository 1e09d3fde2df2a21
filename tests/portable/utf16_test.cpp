// The UTF-16 kernels without a JVM: every kernel this processor runs (portable, the baseline
// vectors, AVX2 and AVX-512 where present, NEON on arm64) against the reference, with text placed
// at every position around the 16-unit blocks and 8-lane groups.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "support/utf16_reference.hpp"
#include "ven/java/lang/utf16.hpp"

namespace
{

using namespace ven::test;
namespace utf16 = ven::utf16;
using utf16::EncodeStop;

// Plain units that strain lane arithmetic: zero, the sign bit of a 16-bit lane, the neighbours
// of the surrogate range and the largest unit.
constexpr std::uint16_t kBmpUnits[] = {0x0041, 0x0000, 0x7FFF, 0x8000, 0xD7FF,
                                    0xE000, 0xF7FF, 0xF800, 0xFFFF, 0x4E2D};
constexpr std::uint16_t kGuard = 0xBEEF;

Utf16Units bmpText(std::size_t length, std::size_t shift)
{
    Utf16Units units(length);
    for (std::size_t i = 0; i < length; ++i) {
        units[i] = kBmpUnits[(i + shift) % std::size(kBmpUnits)];
    }
    return units;
}

// Into room for `capacity` units: the stop and the units written, none beyond the room.
EncodeStop encode(const utf16::Kernel& kernel, const CodePoints& text, utf16::Count capacity, Utf16Units& out)
{
    out.assign(static_cast<std::size_t>(capacity) + 64, kGuard);
    const auto result = kernel.encode(out.data(), capacity, text.data(), std::ssize(text));
    EXPECT_TRUE(std::all_of(out.begin() + capacity, out.end(), [](std::uint16_t u) { return u == kGuard; }))
        << "a unit written beyond the room of " << capacity;
    out.resize(static_cast<std::size_t>(result.written));
    return result.stop;
}

// As the reference encodes, into the counted units and into two per code point (where the count is
// skipped); one unit short of the count stops before it, unless that count would claim all BMP.
void expectEncodes(const utf16::Kernel& kernel, const CodePoints& text)
{
    const ReferenceEncoding expected = referenceEncode(text);
    const utf16::Count counted = kernel.encodedLength(text.data(), std::ssize(text));
    Utf16Units got;
    for (const utf16::Count capacity : {counted, 2 * std::ssize(text)}) {
        ASSERT_EQ(encode(kernel, text, capacity, got),
                  expected.complete ? EncodeStop::done : EncodeStop::leadingUnitTooLarge);
        ASSERT_EQ(got, expected.units) << "into room for " << capacity;
    }
    ASSERT_TRUE(!expected.complete || counted == std::ssize(expected.units)) << "counted " << counted;
    if (expected.complete && counted - 1 != std::ssize(text)) {
        ASSERT_EQ(encode(kernel, text, counted - 1, got), EncodeStop::beyondCount);
    }
}

// Refused or decoded as the reference does; what it decodes to encodes back as the reference does.
void expectDecodes(const utf16::Kernel& kernel, const Utf16Units& units)
{
    CodePoints got(units.size());
    const utf16::Count count = kernel.decode(got.data(), units.data(), std::ssize(units));
    const std::optional<CodePoints> expected = referenceDecode(units);
    ASSERT_EQ(count != utf16::kIllFormed, expected.has_value()) << testing::PrintToString(units);
    if (expected) {
        got.resize(static_cast<std::size_t>(count));
        ASSERT_EQ(got, *expected);
        expectEncodes(kernel, got);
    }
}

TEST(Utf16Kernels, AgreeWithTheReferenceAroundEveryBlockEdge)
{
    constexpr std::size_t kLengths[] = {1,  2,  7,  8,  9,  15, 16, 17, 18, 31,
                                        32, 33, 34, 47, 48, 49, 64, 65, 80};
    // clang-format off
    const Utf16Units inserts[] = {
        {0xD83D, 0xDE00}, {0xD800, 0xDC00}, {0xDBFF, 0xDFFF}, {0xD800, 0xDFFF, 0xDBFF, 0xDC00}, // pairs
        {0xDC00}, {0xDFFF}, {0xDC00, 0xD800, 0xDC00},                                           // lone lows
        {0xDBFF}, {0xD800, 0x0041}, {0xDC00, 0xD800}, {0xD800, 0xD800, 0xDC00}};                 // refused
    // clang-format on
    // Supplementary, surrogate values, beyond Unicode with the leading unit fitting and not.
    constexpr std::uint32_t kValues[] = {0x10000,  0x1F600,  0x10FFFF, 0xD800,    0xDFFF,
                                         0x110000, 0xA0FFFF, 0xA10000, 0xFFFFFFFF};
    // Every unit value once, each high surrogate with a low one after it; decoded from 17 starts,
    // each value meets every lane of a block.
    Utf16Units every;
    for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
        every.push_back(static_cast<std::uint16_t>(unit));
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            every.push_back(static_cast<std::uint16_t>(0xDC00 + (unit & 0x3FF)));
        }
    }
    for (const utf16::Kernel* kernel : utf16::available()) {
        for (const std::size_t length : kLengths) {
            for (std::size_t pos = 0; pos < length; ++pos) {
                SCOPED_TRACE(testing::Message() << kernel->name << ": at " << pos << " of " << length);
                for (const Utf16Units& insert : inserts) {
                    Utf16Units units = bmpText(length + insert.size(), pos);
                    std::ranges::copy(insert, units.begin() + static_cast<std::ptrdiff_t>(pos));
                    units.resize(length); // a pair cut at the end: a high one left alone
                    ASSERT_NO_FATAL_FAILURE(expectDecodes(*kernel, units));
                }
                for (const std::uint32_t value : kValues) {
                    const Utf16Units bmp = bmpText(length, pos);
                    CodePoints text(bmp.begin(), bmp.end());
                    text[pos] = value;
                    text[length - 1 - pos / 2] = 0x1F600 + static_cast<std::uint32_t>(pos); // a second one
                    ASSERT_NO_FATAL_FAILURE(expectEncodes(*kernel, text)) << std::hex << value;
                }
            }
        }
        for (std::ptrdiff_t start = 0; start <= 16; ++start) {
            SCOPED_TRACE(testing::Message() << kernel->name << ": every unit from " << start);
            ASSERT_NO_FATAL_FAILURE(expectDecodes(*kernel, Utf16Units(every.begin() + start, every.end())));
        }
    }
}

} // namespace
