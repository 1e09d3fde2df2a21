// Shared by the threads suite's stress (a real JVM) and the concurrency test (none): eight workers,
// shared ks strings, and one trace stream echoed to a file whose every line is audited.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "ks/ks.h"
#include "lg/lg.h"

namespace ven::test
{

constexpr int kThreads = 8;

// One thread's state, written by that thread only and read after the join.
struct Worker {
    int index = 0;
    long long rounds = 0;
    std::vector<std::string> errors; // the first few

    void check(bool holds, const char* what)
    {
        if (!holds && errors.size() < 5) {
            errors.push_back("thread " + std::to_string(index) + " round " + std::to_string(rounds) + ": " +
                             what);
        }
    }
};

template <class W, class Work> void runWorkers(std::array<W, kThreads>& workers, Work work)
{
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) {
        workers[i].index = i;
        threads.emplace_back([&work, &w = workers[i]] { work(w); });
    }
}

// Strings every thread retains and writes; the vector holds a second reference to each.
struct SharedStrings {
    static constexpr std::array<const char*, 4> kTexts = {"alpha", "\u00e4\u00df\u20ac", "\U0001D11E clef",
                                                          ""};
    std::array<ksString*, kTexts.size()> strings{};
    ksVector* vector = ksVectorCreate();

    SharedStrings()
    {
        for (std::size_t i = 0; i < strings.size(); ++i) {
            strings[i] = ksStringCreateFromCstr(kTexts[i], -1);
            ksVectorAppend(vector, strings[i]);
        }
    }
    ~SharedStrings()
    {
        for (ksString* string : strings) {
            EXPECT_EQ(ksObjRefCount(string), 2) << "ours and the vector's";
            ksObjRelease(string);
        }
        ksObjRelease(vector);
    }

    // The thread's own line of a round, written with a string taken from the vector and retained
    // once more around the write; a formatted copy of it is converted on the way.
    void writeLine(lgStream* trace, int thread, long long round) const
    {
        ksObj* element = ksVectorObjAt(vector, round % kTexts.size());
        const auto* text = reinterpret_cast<const ksString*>(element);
        ksObjRetain(element);
        lgStreamTextFormatCstr(trace, "[t%i] #%lc %s", -1, KS_INT{thread}, std::to_string(round).c_str(),
                               text);
        ksObjRelease(element);
        ksString* copy = ksStringCreateFromFormatCstr("%s/%i", -1, text, KS_INT{round});
        ksMemFree(ksStringConvertToCstr(copy, 1, nullptr));
        ksObjRelease(copy);
        ksObjRelease(element);
    }
    static std::string line(int thread, long long round)
    {
        return "[t" + std::to_string(thread) + "] #" + std::to_string(round) + " " +
               kTexts[round % kTexts.size()];
    }
};

// A stream echoed to a temporary file. drain(), while no thread writes, takes every line: whole,
// the same in the echo, and either `anonymous` or the next line `expected(thread, seq)` of one thread.
class AuditedTrace
{
  public:
    using Expected = std::function<std::string(int thread, long long seq)>;
    AuditedTrace(Expected expected, std::string anonymous) : expected_(expected), anonymous_(anonymous) {}
    ~AuditedTrace()
    {
        lgStreamDestroy(stream_);
        std::fclose(echo_);
    }
    lgStream* get() const { return stream_; }
    long long lines() const { return lines_; }

    void drain()
    {
        std::fflush(echo_);
        std::rewind(echo_);
        char* echoed = nullptr;
        std::size_t capacity = 0;
        const KS_INT count = lgStreamLineCount(stream_);
        for (KS_INT i = 0; i < count; ++i) {
            ksString* line = lgStreamLineAt(stream_, i);
            char* utf8 = ksStringToUtf8Cstr(line);
            const std::string text = utf8;
            ksMemFree(utf8);
            ksObjRelease(line);
            mismatches_ += getline(&echoed, &capacity, echo_) < 0 || text + '\n' != echoed;
            int t = 0;
            while (t < kThreads && text != anonymous_ && text != expected_(t, next_[t])) {
                ++t;
            }
            if (text == anonymous_) {
                ++anonymousLines_;
            } else if (t < kThreads) {
                ++next_[t];
            } else if (++foreign_ <= 5) {
                firstForeign_.push_back(text);
            }
        }
        mismatches_ += getline(&echoed, &capacity, echo_) >= 0; // more lines echoed than kept
        std::free(echoed);
        lines_ += count;
        lgStreamReset(stream_);
        std::rewind(echo_);
        mismatches_ += ftruncate(fileno(echo_), 0) != 0;
    }

    // After the last drain: each thread's checks held and it wrote `perRound` lines a round and
    // `anonymousPerRound` anonymous ones. Returns the rounds of all threads.
    template <class W>
    long long expectComplete(const std::array<W, kThreads>& workers, int perRound,
                             int anonymousPerRound) const
    {
        long long rounds = 0;
        for (const W& w : workers) {
            EXPECT_EQ(w.errors, std::vector<std::string>{});
            EXPECT_GT(w.rounds, 0) << "thread " << w.index;
            EXPECT_EQ(next_[w.index], w.rounds * perRound) << "thread " << w.index;
            rounds += w.rounds;
        }
        EXPECT_EQ(foreign_, 0) << ::testing::PrintToString(firstForeign_);
        EXPECT_EQ(mismatches_, 0) << "the echo file does not repeat the stream";
        EXPECT_EQ(anonymousLines_, rounds * anonymousPerRound);
        EXPECT_EQ(lgStreamLineCount(stream_), 0);
        return rounds;
    }

  private:
    Expected expected_;
    std::string anonymous_;
    std::FILE* echo_ = std::tmpfile();
    lgStream* stream_ = lgStreamCreateWithWindow(echo_, 1 << 20); // every line between two drains
    std::array<long long, kThreads> next_{};
    long long lines_ = 0, anonymousLines_ = 0, foreign_ = 0, mismatches_ = 0;
    std::vector<std::string> firstForeign_;
};

} // namespace ven::test
