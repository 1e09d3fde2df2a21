// Trace streams: lines, the notable flag, the echo and writes from several threads.
#include "standins_test.hpp"

#include "lg/lg.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <thread>

using namespace standins;

namespace
{

struct StreamDestroy {
    void operator()(lgStream* stream) const { lgStreamDestroy(stream); }
};
using Stream = std::unique_ptr<lgStream, StreamDestroy>;

std::vector<std::string> lines(const lgStream* stream)
{
    std::vector<std::string> result;
    for (KS_INT i = 0; i < lgStreamLineCount(stream); ++i) {
        StringRef line(lgStreamLineAt(stream, i));
        result.push_back(utf8(line.get()));
    }
    return result;
}

TEST(LgStream, LinesNotableAndReset)
{
    KS_INT live = ksObjLiveCount();
    Stream stream(lgStreamCreate(nullptr));
    EXPECT_EQ(lgStreamLineCount(stream.get()), 0);
    EXPECT_EQ(lgStreamNotable(stream.get()), KS_FALSE);

    StringRef text = str("java.lang.RuntimeException: boom");
    lgStreamTextFormatCstr(stream.get(), "[%lc()] Exception: %s", -1, "venFindClass", text.get());
    lgStreamTextFormatCstr(stream.get(), "[%lc()] error occured: %i", -1, "venNewIntArray", KS_INT{-3});
    lgStreamTextFormatCstr(stream.get(), "cut here", 3);
    EXPECT_EQ(ksObjRefCount(text.get()), 1);
    EXPECT_EQ(lines(stream.get()),
              (std::vector<std::string>{"[venFindClass()] Exception: java.lang.RuntimeException: boom",
                                        "[venNewIntArray()] error occured: -3", "cut"}));
    EXPECT_EQ(lgStreamNotable(stream.get()), KS_FALSE) << "writing alone marks nothing";

    lgStreamSetNotable(stream.get());
    lgStreamSetNotable(stream.get());
    EXPECT_EQ(lgStreamNotable(stream.get()), KS_TRUE);

    StringRef first(lgStreamLineAt(stream.get(), 0));
    EXPECT_EQ(ksObjRefCount(first.get()), 2) << "the stream and the reader both hold it";

    lgStreamReset(stream.get());
    EXPECT_EQ(lgStreamLineCount(stream.get()), 0);
    EXPECT_EQ(lgStreamNotable(stream.get()), KS_FALSE);
    EXPECT_EQ(ksObjRefCount(first.get()), 1) << "reset releases the stream's references";
    EXPECT_EQ(utf8(first.get()), "[venFindClass()] Exception: java.lang.RuntimeException: boom");

    lgStreamTextFormatCstr(stream.get(), "after reset", -1);
    first.reset();
    text.reset();
    stream.reset();
    EXPECT_EQ(ksObjLiveCount(), live) << "destroying a stream releases its lines";
}

TEST(LgStream, NullStreamIsIgnored)
{
    lgStreamTextFormatCstr(nullptr, "nothing %i", -1, KS_INT{1});
    lgStreamSetNotable(nullptr);
    EXPECT_EQ(lgStreamNotable(nullptr), KS_FALSE);
    EXPECT_EQ(lgStreamLineCount(nullptr), 0);
}

TEST(LgStream, EchoesUtf8Lines)
{
    FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    {
        Stream stream(lgStreamCreate(file));
        StringRef smile = str("\xED\xA0\xBD\xED\xB8\x80"); // modified UTF-8 in, UTF-8 out
        lgStreamTextFormatCstr(stream.get(), "one %s", -1, smile.get());
        lgStreamTextFormatCstr(stream.get(), "%i%%", -1, KS_INT{100});
        lgStreamTextFormatCstr(stream.get(), "", -1);
    }
    std::rewind(file);
    std::string echoed;
    char chunk[256];
    std::size_t read;
    while ((read = std::fread(chunk, 1, sizeof chunk, file)) > 0) {
        echoed.append(chunk, read);
    }
    std::fclose(file);
    EXPECT_EQ(echoed, "one \xF0\x9F\x98\x80\n100%\n\n");
}

TEST(LgStream, ConcurrentWritersLoseNoLine)
{
    constexpr int kThreads = 8;
    constexpr int kLines = 500;
    KS_INT live = ksObjLiveCount();
    Stream stream(lgStreamCreate(nullptr));
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&stream, t] {
            for (int i = 0; i < kLines; ++i) {
                lgStreamTextFormatCstr(stream.get(), "thread %i line %i", -1, KS_INT{t}, KS_INT{i});
                if (i == kLines / 2) {
                    lgStreamSetNotable(stream.get());
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<std::string> all = lines(stream.get());
    ASSERT_EQ(all.size(), static_cast<std::size_t>(kThreads * kLines));
    std::set<std::string> distinct(all.begin(), all.end());
    for (int t = 0; t < kThreads; ++t) {
        for (int i = 0; i < kLines; ++i) {
            std::string expected = "thread " + std::to_string(t) + " line " + std::to_string(i);
            EXPECT_EQ(distinct.count(expected), 1u) << expected;
        }
    }
    EXPECT_EQ(lgStreamNotable(stream.get()), KS_TRUE);
    stream.reset();
    EXPECT_EQ(ksObjLiveCount(), live);
}

} // namespace
