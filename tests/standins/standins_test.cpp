// The ks and lg stand-ins: reference counts, memory, buffers, vectors, strings in (modified)
// UTF-8, the formatter, the encapsulation test, the process stop and trace streams.
#include "ks/ks.h"
#include "lg/lg.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace
{

struct Release {
    void operator()(void* obj) const { ksObjRelease(obj); }
};
using StringRef = std::unique_ptr<ksString, Release>;
using Chars = std::vector<KS_CHAR>;

// The text of a C string that ks made, which it then frees.
std::string take(char* text)
{
    std::string result(text);
    ksMemFree(text);
    return result;
}
std::string utf8(const ksString* string)
{
    return take(ksStringToUtf8Cstr(string));
}
StringRef str(const char* text)
{
    return StringRef(ksStringCreateFromCstr(text, -1));
}
Chars chars(const ksString* string)
{
    return Chars(ksStringBacking(string), ksStringBacking(string) + ksStringLength(string));
}

// The hook throws what it saw as `"message" path:line "condition"`, NULL spelled NULL.
std::string quoted(const char* text)
{
    return text ? '"' + std::string(text) + '"' : "NULL";
}

// NULL is ignored, 2 -> 1 does not free, and of racing releases the last frees exactly once.
TEST(KsRefCount, ReleaseFreesExactlyOnceAcrossThreads)
{
    KS_INT live = ksObjLiveCount();
    ksObjRelease(nullptr);
    ksVector* vector = ksVectorCreate();
    ksObjRetain(vector);
    ksObjRelease(vector);
    EXPECT_EQ(ksObjRefCount(vector), 1);
    EXPECT_EQ(ksObjLiveCount(), live + 1);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        ksObjRetain(vector);
        threads.emplace_back([vector] {
            for (int i = 0; i < 200000; ++i) {
                ksObjRetain(vector);
                ksObjRelease(vector);
            }
            ksObjRelease(vector);
        });
    }
    ksObjRelease(vector);
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ksObjLiveCount(), live);
}

TEST(KsExecCheck, KnowsTheModuleOfAnAddress)
{
    StringRef empty(ksStringCreate());
    const void* data = ksStringBacking(empty.get());
    const void* code = reinterpret_cast<const void*>(&ksIntMin);
    const void* lgCode = reinterpret_cast<const void*>(&lgStreamCreate);
    int local = 0;
    const std::tuple<const void*, const char*, KS_BOOL> rows[] = {
        {data, "ks", KS_TRUE}, {code, "ks", KS_TRUE},    {lgCode, "lg", KS_TRUE},  {lgCode, "ks", KS_FALSE},
        {data, "k", KS_FALSE}, {&local, "ks", KS_FALSE}, {nullptr, "ks", KS_FALSE}};
    for (const auto& [address, module, expected] : rows) {
        EXPECT_EQ(ks___ExecCheckEncapsulated(address, module), expected)
            << address << " in " << quoted(module);
    }
}

// Without a hook, and with one that returns, the process prints its line and really stops.
TEST(KsAbortDeathTest, PrintsTheLineAndStops)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(ks___Abort(nullptr, "source/ven/ven_wrapper", 57, "name"), testing::KilledBySignal(SIGABRT),
                "^source/ven/ven_wrapper:57: name\n$");
    EXPECT_EXIT(
        {
            ksAbortSetHook([](const char*, const char* path, int line, const char*) {
                std::fprintf(stderr, "hook: %s %d\n", path, line);
            });
            ks___Abort("a <> b", "source/ven/ven_wrapper", 301, nullptr);
        },
        testing::KilledBySignal(SIGABRT),
        "^hook: source/ven/ven_wrapper 301\nsource/ven/ven_wrapper:301: a <> b\n$");
}

// The hook sees the arguments and may throw, also through the stand-ins' own frames.
TEST(KsAbortHook, ThrowsThroughTheLibraries)
{
    lgStream* stream = lgStreamCreate(nullptr);
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[] { ksMemAlloc(INT64_MAX); }, "\"ksMemAlloc: out of memory\" source/ks/ks_mem:44 NULL"},
        {[&] { lgStreamLineAt(stream, 0); },
         "NULL source/lg/lg_stream:40 \"index >= 0 && index < lgStreamLineCount(stream)\""}};
    ksAbortHook previous =
        ksAbortSetHook([](const char* message, const char* path, int line, const char* condition) {
            throw quoted(message) + " " + path + ":" + std::to_string(line) + " " + quoted(condition);
        });
    for (const auto& [call, expected] : rows) {
        try {
            call();
            ADD_FAILURE() << expected << ": returned";
        } catch (const std::string& seen) {
            EXPECT_EQ(seen, expected);
        }
    }
    ksAbortSetHook(previous);
    lgStreamTextFormatCstr(stream, "the lock was let go while unwinding", -1);
    EXPECT_EQ(lgStreamLineCount(stream), 1);
    lgStreamDestroy(stream);
}

// A block with room for 5 holds a string of 3: appending must not trust room it was not told
// of; a length of -1 reads up to the NUL; appending to a shared string puts a new one into the
// variable and releases the old reference.
TEST(KsString, CreateUseLengthsAndAppending)
{
    KS_INT live = ksObjLiveCount();
    auto* block = static_cast<KS_CHAR*>(ksMemAllocN(5, sizeof(KS_CHAR)));
    std::memcpy(block, U"abcXY", 5 * sizeof(KS_CHAR));
    ksString* string = ksStringCreateFromCharsUse(block, 3);
    EXPECT_EQ(ksStringBacking(string), block);
    ksStringAppendCstr(&string, "defghij", -1);
    EXPECT_EQ(utf8(string), "abcdefghij");
    ksObjRelease(string);
    ksString* variable = nullptr;
    ksStringAppendCstr(&variable, "hello\0world", -1);
    ksStringAppendCstr(&variable, "world", 2);
    ksString* other = variable;
    ksObjRetain(other);
    ksStringAppendCstr(&variable, " + mine", -1);
    EXPECT_EQ(utf8(variable), "hellowo + mine");
    EXPECT_EQ(utf8(other), "hellowo");
    EXPECT_EQ(ksObjRefCount(other), 1);
    ksObjRelease(other);
    ksObjRelease(variable);
    EXPECT_EQ(ksObjLiveCount(), live);
}

// Standard and modified UTF-8 in (NUL as C0 80 and joined pairs read back below), lone encoded
// surrogates kept; every byte of a malformed sequence becomes U+FFFD.
TEST(KsString, DecodesUtf8AndModifiedUtf8)
{
    const std::pair<std::string, Chars> rows[] = {{"\xF4\x8F\xBF\xBF", {0x10FFFF}},
                                                  {"\xED\xB8\x80\xED\xA0\xBD", {0xDE00, 0xD83D}},
                                                  {"\xF0\x9F\x98", {0xFFFD, 0xFFFD, 0xFFFD}},
                                                  {"\xC0\xAF", {0xFFFD, 0xFFFD}},
                                                  {"\xF4\x90\x80\x80", {0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}}};
    for (const auto& [bytes, expected] : rows) {
        StringRef string(ksStringCreateFromCstr(bytes.data(), static_cast<KS_INT>(bytes.size())));
        EXPECT_EQ(chars(string.get()), expected) << testing::PrintToString(bytes);
    }
}

// Mode 1 writes modified UTF-8 that reads back to the same code points; ksStringToUtf8Cstr
// writes standard UTF-8, NUL included.
TEST(KsString, EncodesModifiedAndStandardUtf8)
{
    const std::tuple<Chars, std::string, std::string> rows[] = {
        {{'a', 'z', 0}, "az\xC0\x80", std::string("az\0", 3)},
        {{0xFFFF}, "\xEF\xBF\xBF", "\xEF\xBF\xBF"},
        {{0x10000}, "\xED\xA0\x80\xED\xB0\x80", "\xF0\x90\x80\x80"},
        {{0xD800, 'x'}, "\xED\xA0\x80x", "\xED\xA0\x80x"},
        {{0x110000}, "\xEF\xBF\xBD", "\xEF\xBF\xBD"}};
    for (const auto& [points, modified, standard] : rows) {
        StringRef string(ksStringCreateFromChars(points.data(), static_cast<KS_INT>(points.size())));
        EXPECT_EQ(take(ksStringConvertToCstr(string.get(), 1, nullptr)), modified);
        char* utf8 = ksStringToUtf8Cstr(string.get());
        EXPECT_EQ(std::string(utf8, standard.size() + 1), standard + '\0') << modified;
        ksMemFree(utf8);
        if (points[0] <= 0x10FFFF) {
            EXPECT_EQ(chars(str(modified.c_str()).get()), points) << modified;
        }
    }
}

std::string format(const char* text, KS_INT length, ...)
{
    va_list args;
    va_start(args, length);
    StringRef string(ksStringCreateFromFormatCstrArgList(text, length, args));
    va_end(args);
    return utf8(string.get());
}

// "%lc" a C string, "%s" a borrowed ksString, "%i" a KS_INT, "%%"; any other directive is text
// and takes no argument; the length cuts the format, a directive cut in half included.
TEST(KsFormat, Directives)
{
    StringRef message = str("java.lang.IllegalStateException: caf\xC3\xA9 \xF0\x9F\x98\x80");
    const std::pair<std::string, const char*> rows[] = {
        {format("[%lc()] Exception: %s", -1, "venCallIntMethod", message.get()),
         "[venCallIntMethod()] Exception: java.lang.IllegalStateException: caf\xC3\xA9 \xF0\x9F\x98\x80"},
        {format("%i %i", -1, INT64_MAX, INT64_MIN), "9223372036854775807 -9223372036854775808"},
        {format("100%% %%s %d %x %l %lx %c %", -1), "100% %s %d %x %l %lx %c %"},
        {format("%lc and %s", -1, nullptr, nullptr), "(null) and (null)"},
        {format("ab%i tail", 4, KS_INT{9}), "ab9"},
        {format("ab%lc", 4, "unused"), "ab%l"}};
    for (const auto& [got, expected] : rows) {
        EXPECT_EQ(got, expected);
    }
    EXPECT_EQ(ksObjRefCount(message.get()), 1) << "%s borrows its string";
}

std::vector<std::string> lines(const lgStream* stream)
{
    std::vector<std::string> result;
    for (KS_INT i = lgStreamFirstKeptLine(stream); i < lgStreamLineCount(stream); ++i) {
        result.push_back(utf8(StringRef(lgStreamLineAt(stream, i)).get()));
    }
    return result;
}

// Modified UTF-8 in, standard UTF-8 out, in the lines and in the echo; the window keeps the
// latest lines while the echo gets every one, and a line that left it reads as NULL while a
// reader's own reference keeps it alive; reset and destroy release every line.
TEST(LgStream, LinesWindowEchoAndReset)
{
    KS_INT live = ksObjLiveCount();
    FILE* echo = std::tmpfile();
    ASSERT_NE(echo, nullptr);
    lgStream* stream = lgStreamCreateWithWindow(echo, 3);
    StringRef text = str("java.lang.RuntimeException: \xED\xA0\xBD\xED\xB8\x80");
    lgStreamTextFormatCstr(stream, "[%lc()] Exception: %s", -1, "venFindClass", text.get());
    StringRef early(lgStreamLineAt(stream, 0));
    lgStreamTextFormatCstr(stream, "cut here", 3);
    for (KS_INT i = 2; i < 5; ++i) {
        lgStreamTextFormatCstr(stream, "line %i", -1, i);
    }
    EXPECT_EQ(lgStreamLineCount(stream), 5);
    EXPECT_EQ(lgStreamLineAt(stream, 1), nullptr);
    EXPECT_EQ(lines(stream), (std::vector<std::string>{"line 2", "line 3", "line 4"}));
    EXPECT_EQ(utf8(early.get()), "[venFindClass()] Exception: java.lang.RuntimeException: \xF0\x9F\x98\x80");
    EXPECT_EQ(ksObjRefCount(early.get()), 1) << "the stream let go of the line it dropped";
    EXPECT_EQ(lgStreamNotable(stream), KS_FALSE) << "writing alone marks nothing";
    lgStreamSetNotable(stream);
    lgStreamReset(stream);
    EXPECT_EQ(lgStreamNotable(stream), KS_FALSE);
    EXPECT_EQ(lgStreamBytesHeld(stream), 0);
    lgStreamTextFormatCstr(stream, "again", -1);
    EXPECT_EQ(lines(stream), std::vector<std::string>{"again"}) << "numbering starts over";
    lgStreamDestroy(stream);
    early.reset();
    text.reset();
    EXPECT_EQ(ksObjLiveCount(), live);
    lgStreamTextFormatCstr(nullptr, "NULL: no tracing", -1);
    std::rewind(echo);
    std::string echoed(128, '\0');
    echoed.resize(std::fread(echoed.data(), 1, echoed.size(), echo));
    std::fclose(echo);
    EXPECT_EQ(echoed, "[venFindClass()] Exception: java.lang.RuntimeException: \xF0\x9F\x98\x80\ncut\n"
                      "line 2\nline 3\nline 4\nagain\n");
}

// A million lines through a stream: what it holds stops growing once the window is full.
TEST(LgStream, AMillionLinesHoldOnlyTheWindow)
{
    KS_INT live = ksObjLiveCount();
    lgStream* stream = lgStreamCreate(nullptr);
    KS_INT plateau = 0;
    for (KS_INT i = 1; i <= 1000000; ++i) {
        lgStreamTextFormatCstr(stream, "%i", -1, 1000000 + i); // seven digits
        if (i == 2 * LG_STREAM_DEFAULT_WINDOW) {
            plateau = lgStreamBytesHeld(stream);
            EXPECT_LE(plateau, LG_STREAM_DEFAULT_WINDOW * KS_INT{7 * sizeof(KS_CHAR) + sizeof(void*)});
        } else if (i % 100000 == 0) {
            ASSERT_EQ(lgStreamBytesHeld(stream), plateau) << "after " << i << " lines";
            ASSERT_EQ(ksObjLiveCount(), live + LG_STREAM_DEFAULT_WINDOW) << "after " << i << " lines";
        }
    }
    lgStreamDestroy(stream);
    EXPECT_EQ(ksObjLiveCount(), live);
}

} // namespace
