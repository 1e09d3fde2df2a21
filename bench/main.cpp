// The benchmark program: starts the JVM, registers every row, and runs them with the
// defaults that make the figures trustworthy on a small shared machine (repetitions taken
// round-robin in random order, medians reported). Later command-line flags override them.
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

// The console shows one line per row, its median; every run goes to the JSON file.
class MedianReporter : public benchmark::ConsoleReporter
{
  public:
    MedianReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        std::vector<Run> medians;
        for (const Run& run : runs) {
            if (run.error_occurred || run.aggregate_name == "median" || run.repetitions <= 1) {
                medians.push_back(run);
            }
        }
        if (!medians.empty()) {
            ConsoleReporter::ReportRuns(medians);
        }
    }
};

} // namespace

int main(int argc, char** argv)
{
    using namespace ven::bench;

    std::vector<std::string> defaults = {
        "--benchmark_repetitions=12",                  // medians of 12
        "--benchmark_enable_random_interleaving=true", // taken round-robin, in random order
        "--benchmark_min_time=0.05",                   // seconds per repetition
        "--benchmark_min_warmup_time=0.05",            // every row, before its first repetition
    };
    std::vector<char*> args{argv[0]};
    for (std::string& flag : defaults) {
        args.push_back(flag.data());
    }
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
    MedianReporter console;
    benchmark::RunSpecifiedBenchmarks(&console);
    benchmark::Shutdown();
    // The JVM is never destroyed (DestroyJavaVM waits for its non-daemon threads): leave
    // without running exit handlers under its running threads.
    std::fflush(nullptr);
    _exit(0);
}
