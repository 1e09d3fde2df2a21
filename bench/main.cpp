// The benchmark program: starts the JVM, registers every row, and measures the rows of each
// op side by side (harness.cpp). Google Benchmark's flags select ops and name the JSON file.
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "bench.hpp"

namespace
{

std::string environmentOr(const char* name, const char* fallback)
{
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : fallback;
}

// The processor's name as the kernel reports it: the table names the machine it ran on.
std::string cpuModel()
{
    std::ifstream cpuinfo("/proc/cpuinfo");
    for (std::string line; std::getline(cpuinfo, line);) {
        if (line.rfind("model name", 0) == 0 || line.rfind("Model", 0) == 0) {
            const std::size_t colon = line.find(':');
            if (colon != std::string::npos) {
                return line.substr(line.find_first_not_of(" \t", colon + 1));
            }
        }
    }
    return "unknown processor";
}

// The native heap's counterpart of -XX:+AlwaysPreTouch. Blocks of megabytes (decoded texts,
// copies of pinned arrays) would otherwise come from fresh mappings or a heap the allocator
// keeps trimming, and each first touch of a page costs microseconds on a virtual machine:
// serve every block below 32 MB from the heap, never give it back, and touch 128 MB of it now.
void keepNativeHeapTouched()
{
    constexpr std::size_t kBlock = 16u << 20;
    constexpr int kBlocks = 8;
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    void* blocks[kBlocks];
    for (void*& block : blocks) {
        block = std::malloc(kBlock);
        if (block != nullptr) {
            std::memset(block, 0, kBlock);
        }
    }
    for (void* block : blocks) {
        std::free(block);
    }
}

// The console shows one line per op as it is measured: its rounds and each subject's ratio to
// the floor with the middle half of the rounds' ratios. The table comes from the JSON file.
class ProgressReporter : public benchmark::ConsoleReporter
{
  public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            std::string line = run.benchmark_name();
            if (run.error_occurred) {
                line += ": " + run.error_message;
            } else {
                line += ": " + std::to_string(static_cast<int>(counter(run, "rounds"))) + " rounds";
                for (const char* ratio : {"ven/min", "wrap/min"}) {
                    if (run.counters.count(ratio) != 0) {
                        char text[96];
                        std::snprintf(text, sizeof text, ", %s %.2f (%.2f-%.2f)", ratio, counter(run, ratio),
                                      counter(run, (std::string(ratio) + ".q1").c_str()),
                                      counter(run, (std::string(ratio) + ".q3").c_str()));
                        line += text;
                    }
                }
            }
            std::printf("%s\n", line.c_str());
        }
        std::fflush(stdout);
    }

  private:
    static double counter(const Run& run, const char* name)
    {
        const auto found = run.counters.find(name);
        return found == run.counters.end() ? 0.0 : found->second.value;
    }
};

} // namespace

int main(int argc, char** argv)
{
    using namespace ven::bench;

    // Each op is one iteration of its Google Benchmark, which takes as long as its rounds: a minimum
    // time below that keeps it at one (and the op's name free of an "/iterations:" suffix).
    // Later command-line flags override it.
    std::string minTime = "--benchmark_min_time=0.001";
    std::vector<char*> args{argv[0], minTime.data()};
    args.insert(args.end(), argv + 1, argv + argc);
    int count = static_cast<int>(args.size());
    args.push_back(nullptr);
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) {
        return 2;
    }

    keepNativeHeapTouched();
    const std::string jdk = environmentOr("VEN_BENCH_JDK", VEN_BENCH_DEFAULT_JDK);
    const std::string classPath = environmentOr("VEN_BENCH_CLASSPATH", VEN_BENCH_DEFAULT_CLASSPATH);
    std::string error;
    JNIEnv* env = startJvm(jdk, classPath, error);
    if (env == nullptr || !setUpWorld(env, error)) {
        std::fprintf(stderr, "ven_bench: %s\n", error.c_str());
        return 1;
    }
    benchmark::AddCustomContext("cpu_model", cpuModel());
    benchmark::AddCustomContext("jdk", jdk);
    benchmark::AddCustomContext("jvm_options", jvmOptionsText(classPath));

    registerCallRows();
    registerStringRows();
    registerBridgeRows();
    registerOps();
    ProgressReporter console;
    benchmark::RunSpecifiedBenchmarks(&console);
    benchmark::Shutdown();
    // The JVM is never destroyed (DestroyJavaVM waits for its non-daemon threads): leave
    // without running exit handlers under its running threads.
    std::fflush(nullptr);
    _exit(0);
}
