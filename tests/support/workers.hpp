// Shared by the threads suite (a real JVM) and the concurrency test (none): eight workers, one
// trace stream echoed to a file whose every line is audited, and one ks string they all retain.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "ks/ks.h"
#include "lg/lg.h"

namespace ven::test
{

constexpr int kThreads = 8;

// One thread's state, written by that thread only and read after the join.
struct Worker {
    int index = 0;
    long long rounds = 0;
    std::string error; // the first failed check

    void check(bool holds, const char* what)
    {
        if (!holds && error.empty()) {
            error = "thread " + std::to_string(index) + " round " + std::to_string(rounds) + ": " + what;
        }
    }
};

// Runs `work` on a new thread per worker and joins them all.
struct Workers : std::array<Worker, kThreads> {
    template <class Work> void run(Work work)
    {
        std::array<std::jthread, kThreads> threads;
        for (int i = 0; i < kThreads; ++i) {
            (*this)[i].index = i;
            threads[i] = std::jthread([&work, &w = (*this)[i]] { work(w); });
        }
    }
};

// drain(), while no thread writes, reads the echo: as many lines as the stream counts, every one
// whole and either `anonymous` or the next line `expected(thread, seq)` of one thread; then the
// stream and the echo start over.
class AuditedTrace
{
  public:
    using Expected = std::function<std::string(int thread, long long seq)>;
    AuditedTrace(Expected expected, std::string anonymous) : expected_(expected), anonymous_(anonymous) {}
    ~AuditedTrace()
    {
        EXPECT_EQ(ksObjRefCount(shared_), 1) << "a retain of the shared string outlived its write";
        ksObjRelease(shared_);
        lgStreamDestroy(stream_);
        std::fclose(echo_);
    }
    lgStream* get() const { return stream_; }

    // A thread's own line of a round, the shared string retained around the write.
    void writeOwnLine(int thread, long long round) const
    {
        ksObjRetain(shared_);
        lgStreamTextFormatCstr(stream_, "[t%i] #%lc %s", -1, KS_INT{thread}, std::to_string(round).c_str(),
                               shared_);
        ksObjRelease(shared_);
    }
    static std::string ownLine(int thread, long long round)
    {
        return "[t" + std::to_string(thread) + "] #" + std::to_string(round) + " \u00e4\u20ac \U0001D11E";
    }

    void drain()
    {
        std::ifstream echoed("/proc/self/fd/" + std::to_string(fileno(echo_)));
        KS_INT lines = 0;
        for (std::string text; std::getline(echoed, text); ++lines) {
            int t = 0;
            while (t < kThreads && text != expected_(t, next_[t])) {
                ++t;
            }
            if (!echoed.eof() && t < kThreads) { // a last line without its newline is torn
                ++next_[t];
            } else if (!echoed.eof() && text == anonymous_) {
                ++anonymousLines_;
            } else if (++mismatches_ == 1) {
                firstForeign_ = text;
            }
        }
        mismatches_ += lines != lgStreamLineCount(stream_);
        lgStreamReset(stream_);
        std::rewind(echo_);
        mismatches_ += ftruncate(fileno(echo_), 0) != 0;
    }

    // After the last drain: each worker's checks held, and it wrote `perRound` lines of its own a
    // round and `anonymousPerRound` anonymous ones.
    void expectComplete(const Workers& workers, int perRound, int anonymousPerRound) const
    {
        long long rounds = 0;
        for (const Worker& w : workers) {
            EXPECT_EQ(w.error, "");
            EXPECT_EQ(next_[w.index], w.rounds * perRound) << "thread " << w.index;
            rounds += w.rounds;
        }
        EXPECT_EQ(mismatches_, 0) << "lines torn, out of order or missing; the first unknown: "
                                  << firstForeign_;
        EXPECT_EQ(anonymousLines_, rounds * anonymousPerRound);
    }

  private:
    Expected expected_;
    std::string anonymous_;
    std::FILE* echo_ = std::tmpfile();
    lgStream* stream_ = lgStreamCreateWithWindow(echo_, 1 << 16); // a reader may lag behind
    ksString* shared_ = ksStringCreateFromCstr("\u00e4\u20ac \U0001D11E", -1);
    std::array<long long, kThreads> next_{};
    long long anonymousLines_ = 0, mismatches_ = 0;
    std::string firstForeign_;
};

} // namespace ven::test
