// Strings: creation, appending, UTF-8 in both directions and the formatter.
#include "standins_test.hpp"

#include <gtest/gtest.h>

#include <cstring>

using namespace standins;

namespace
{

using Chars = std::vector<KS_CHAR>;

TEST(KsString, CreateFromCharsUseAdoptsALargerBlock)
{
    KS_INT live = ksObjLiveCount();
    auto* block = static_cast<KS_CHAR*>(ksMemAllocN(5, sizeof(KS_CHAR)));
    const KS_CHAR text[5] = {'a', 'b', 'c', 'X', 'Y'};
    std::memcpy(block, text, sizeof text);
    StringRef string(ksStringCreateFromCharsUse(block, 3));
    EXPECT_EQ(ksStringLength(string.get()), 3);
    EXPECT_EQ(ksStringBacking(string.get()), block);
    EXPECT_EQ(utf8(string.get()), "abc");

    // Appending in place must not trust room it was never told about.
    ksString* variable = string.release();
    ksStringAppendCstr(&variable, "defghij", -1);
    EXPECT_EQ(utf8(variable), "abcdefghij");
    ksObjRelease(variable);

    StringRef empty(ksStringCreateFromCharsUse(static_cast<KS_CHAR*>(ksMemAllocN(0, 4)), 0));
    EXPECT_EQ(ksStringLength(empty.get()), 0);
    EXPECT_NE(ksStringBacking(empty.get()), nullptr);
    empty.reset();
    EXPECT_EQ(ksObjLiveCount(), live);
}

TEST(KsString, CopiesAndEmptyStrings)
{
    const KS_CHAR source[3] = {'x', 0x1F600, 0};
    StringRef copy(ksStringCreateFromChars(source, 3));
    EXPECT_NE(ksStringBacking(copy.get()), source);
    EXPECT_EQ(chars(copy.get()), (Chars{'x', 0x1F600, 0}));

    StringRef empty(ksStringCreate());
    EXPECT_EQ(ksStringLength(empty.get()), 0);
    EXPECT_NE(ksStringBacking(empty.get()), nullptr);
    EXPECT_EQ(utf8(empty.get()), "");
}

TEST(KsString, CstrLengths)
{
    const char text[] = "hello\0world";
    StringRef whole(ksStringCreateFromCstr(text, -1));
    EXPECT_EQ(utf8(whole.get()), "hello");
    StringRef prefix(ksStringCreateFromCstr(text, 3));
    EXPECT_EQ(utf8(prefix.get()), "hel");
    StringRef pastNul(ksStringCreateFromCstr(text, sizeof text - 1));
    EXPECT_EQ(chars(pastNul.get()), (Chars{'h', 'e', 'l', 'l', 'o', 0, 'w', 'o', 'r', 'l', 'd'}));

    ksString* variable = ksStringCreateFromCstr("ab", -1);
    ksStringAppendCstr(&variable, text, -1);
    ksStringAppendCstr(&variable, "world", 2);
    ksStringAppendCstr(&variable, "", -1);
    EXPECT_EQ(utf8(variable), "abhellowo");
    ksObjRelease(variable);

    ksString* none = nullptr;
    ksStringAppendCstr(&none, "fresh", -1);
    ASSERT_NE(none, nullptr);
    EXPECT_EQ(utf8(none), "fresh");
    ksObjRelease(none);
}

TEST(KsString, AppendGrowsAnUnsharedStringInPlace)
{
    ksString* variable = ksStringCreate();
    ksString* original = variable;
    std::string expected;
    for (int i = 0; i < 100; ++i) {
        ksStringAppendCstr(&variable, "0123456789", -1);
        expected += "0123456789";
    }
    EXPECT_EQ(variable, original);
    EXPECT_EQ(utf8(variable), expected);
    ksObjRelease(variable);
}

TEST(KsString, AppendLeavesASharedStringAlone)
{
    KS_INT live = ksObjLiveCount();
    ksString* variable = ksStringCreateFromCstr("shared", -1);
    ksString* other = variable;
    ksObjRetain(other);

    ksStringAppendCstr(&variable, " + mine", -1);
    EXPECT_NE(variable, other);
    EXPECT_EQ(utf8(variable), "shared + mine");
    EXPECT_EQ(utf8(other), "shared");
    EXPECT_EQ(ksObjRefCount(other), 1) << "the variable's old reference is released";
    EXPECT_EQ(ksObjRefCount(variable), 1);

    ksObjRelease(other);
    ksObjRelease(variable);
    EXPECT_EQ(ksObjLiveCount(), live);
}

struct DecodeRow {
    const char* what;
    std::string bytes;
    Chars expected;
};

TEST(KsString, DecodesUtf8AndModifiedUtf8)
{
    const DecodeRow rows[] = {
        {"ASCII", "Az", {'A', 'z'}},
        {"two bytes", "\xC3\xA9", {0xE9}},
        {"three bytes", "\xE2\x82\xAC", {0x20AC}},
        {"four bytes", "\xF0\x9F\x98\x80", {0x1F600}},
        {"highest code point", "\xF4\x8F\xBF\xBF", {0x10FFFF}},
        {"modified NUL",
         "a\xC0\x80"
         "b",
         {'a', 0, 'b'}},
        {"surrogate pair", "\xED\xA0\xBD\xED\xB8\x80", {0x1F600}},
        {"lone high surrogate", "\xED\xA0\xBDx", {0xD83D, 'x'}},
        {"lone low surrogate", "\xED\xB8\x80", {0xDE00}},
        {"low before high", "\xED\xB8\x80\xED\xA0\xBD", {0xDE00, 0xD83D}},
        {"stray continuation",
         "\x80"
         "a",
         {0xFFFD, 'a'}},
        {"truncated four bytes", "\xF0\x9F\x98", {0xFFFD, 0xFFFD, 0xFFFD}},
        {"overlong slash", "\xC0\xAF", {0xFFFD, 0xFFFD}},
        {"overlong three bytes", "\xE0\x80\xAF", {0xFFFD, 0xFFFD, 0xFFFD}},
        {"beyond Unicode", "\xF4\x90\x80\x80", {0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}},
    };
    for (const DecodeRow& row : rows) {
        StringRef string(ksStringCreateFromCstr(row.bytes.data(), static_cast<KS_INT>(row.bytes.size())));
        EXPECT_EQ(chars(string.get()), row.expected) << row.what;
    }
}

struct EncodeRow {
    const char* what;
    Chars chars;
    std::string modified;
    std::string standard;
};

TEST(KsString, EncodesModifiedAndStandardUtf8)
{
    const EncodeRow rows[] = {
        {"ASCII", {'o', 'k'}, "ok", "ok"},
        {"U+0000",
         {'a', 0, 'b'},
         "a\xC0\x80"
         "b",
         std::string("a\0b", 3)},
        {"U+07FF", {0x7FF}, "\xDF\xBF", "\xDF\xBF"},
        {"U+FFFF", {0xFFFF}, "\xEF\xBF\xBF", "\xEF\xBF\xBF"},
        {"U+1F600", {0x1F600}, "\xED\xA0\xBD\xED\xB8\x80", "\xF0\x9F\x98\x80"},
        {"U+10000", {0x10000}, "\xED\xA0\x80\xED\xB0\x80", "\xF0\x90\x80\x80"},
        {"lone surrogate", {0xD800, 'x'}, "\xED\xA0\x80x", "\xED\xA0\x80x"},
        {"beyond Unicode", {0x110000}, "\xEF\xBF\xBD", "\xEF\xBF\xBD"},
    };
    for (const EncodeRow& row : rows) {
        StringRef string(ksStringCreateFromChars(row.chars.data(), static_cast<KS_INT>(row.chars.size())));
        Cstr modified(ksStringConvertToCstr(string.get(), 1, nullptr));
        EXPECT_EQ(std::string(modified.get()), row.modified) << row.what;
        Cstr standard(ksStringToUtf8Cstr(string.get()));
        // Standard UTF-8 may hold a NUL byte; compare the encoded bytes up to the
        // terminator that the expected text puts after them.
        EXPECT_EQ(std::memcmp(standard.get(), row.standard.c_str(), row.standard.size() + 1), 0) << row.what;

        // The modified form reads back to the same code points.
        StringRef back(ksStringCreateFromCstr(modified.get(), -1));
        if (row.chars[0] <= 0x10FFFF) {
            EXPECT_EQ(chars(back.get()), row.chars) << row.what;
        }
    }
}

std::string format(const char* text, ...)
{
    va_list args;
    va_start(args, text);
    StringRef string(ksStringCreateFromFormatCstrArgList(text, -1, args));
    va_end(args);
    return utf8(string.get());
}

TEST(KsFormat, ExceptionLine)
{
    StringRef message = str("java.lang.IllegalStateException: caf\xC3\xA9 \xF0\x9F\x98\x80");
    StringRef line(
        ksStringCreateFromFormatCstr("[%lc()] Exception: %s", -1, "venCallIntMethod", message.get()));
    EXPECT_EQ(utf8(line.get()),
              "[venCallIntMethod()] Exception: java.lang.IllegalStateException: caf\xC3\xA9 "
              "\xF0\x9F\x98\x80");
    EXPECT_EQ(ksObjRefCount(message.get()), 1) << "%s borrows its string";
}

TEST(KsFormat, Integers)
{
    const struct {
        KS_INT value;
        const char* text;
    } rows[] = {
        {0, "<0>"},
        {7, "<7>"},
        {-42, "<-42>"},
        {INT64_MAX, "<9223372036854775807>"},
        {INT64_MIN, "<-9223372036854775808>"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(format("<%i>", row.value), row.text);
    }
    EXPECT_EQ(format("%i%i", KS_INT{1}, KS_INT{-2}), "1-2");
}

TEST(KsFormat, PercentAndUnknownDirectives)
{
    EXPECT_EQ(format("100%%"), "100%");
    EXPECT_EQ(format("%d %x %l %lx %c %"), "%d %x %l %lx %c %");
    EXPECT_EQ(format("%%s %%i"), "%s %i");
    // An unknown directive consumes no argument: the next directive gets it.
    EXPECT_EQ(format("%d=%i", KS_INT{5}), "%d=5");
    EXPECT_EQ(format("%lc and %s", static_cast<const char*>(nullptr), static_cast<const ksString*>(nullptr)),
              "(null) and (null)");
    EXPECT_EQ(format("caf\xC3\xA9 %lc", "\xE2\x82\xAC"), "caf\xC3\xA9 \xE2\x82\xAC");
}

TEST(KsFormat, FormatLength)
{
    // The length cuts the format; a directive cut in half is plain text.
    StringRef cut(ksStringCreateFromFormatCstr("ab%i tail", 4, KS_INT{9}));
    EXPECT_EQ(utf8(cut.get()), "ab9");
    StringRef half(ksStringCreateFromFormatCstr("ab%lc", 4, "unused"));
    EXPECT_EQ(utf8(half.get()), "ab%l");
    StringRef none(ksStringCreateFromFormatCstr("anything", 0));
    EXPECT_EQ(ksStringLength(none.get()), 0);
}

} // namespace
