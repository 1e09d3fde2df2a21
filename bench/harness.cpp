// How the rows of one op are measured: side by side, in rounds. Each round runs one batch of
// every row (about a millisecond of its work) in a fresh random order, so that whatever else
// the machine does at that moment (another virtual machine on the host, a build beside the
// run) weighs on all of them alike; the ratios are taken within each round and their median
// is reported. A ratio of two medians taken seconds apart, as separate benchmarks give it,
// moves by tens of percent on a shared host; the ratio within a round does not.
//
// Each op is one Google Benchmark (its name is the op), so --benchmark_filter selects ops
// and the JSON file carries each op's figures as counters:
//   <kind>.ns, <kind>.wall_ns   median time per iteration of the row (thread CPU, wall clock)
//   <kind>.bytes                what one iteration moves, where the row says so
//   <subject>/<reference>       median over the rounds of the ratio of their CPU times, for
//                               subject ven or wrap and reference raw, min or best;
//                               .q1 and .q3 its quartiles, .wall the median on wall-clock times
//   rounds                      how many rounds were taken
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench.hpp"

namespace ven::bench
{

namespace
{

constexpr double kBatchNs = 1e6;  // a batch: about a millisecond of the row's own work
constexpr double kWarmupNs = 5e7; // every row runs this long before its first round
constexpr int kMinRounds = 25;
constexpr int kMaxRounds = 100'000;
constexpr double kDefaultSecondsPerOp = 2.0;

struct Row {
    std::string kind;
    RowBody body;
    std::int64_t iterations = 1;
    double bytes = 0;
    std::vector<double> cpu, wall; // ns per iteration, one per round
};

struct Op {
    std::string name;
    std::vector<Row> rows;
};

std::vector<Op>& allOps()
{
    static std::vector<Op> ops;
    return ops;
}

// VEN_BENCH_SECONDS: how long each op is measured, its rounds together.
double secondsPerOp()
{
    const char* text = std::getenv("VEN_BENCH_SECONDS");
    const double seconds = text != nullptr ? std::atof(text) : 0;
    return seconds > 0 ? seconds : kDefaultSecondsPerOp;
}

double wallNow()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) * 1e9 + static_cast<double>(t.tv_nsec);
}

// One batch of `iterations`; NULL, with its times per iteration, or what went wrong.
const char* runBatch(Row& row, std::int64_t iterations, double& cpuNs, double& wallNs)
{
    Batch batch(iterations);
    row.body(batch);
    if (batch.error() != nullptr) {
        return batch.error();
    }
    cpuNs = batch.cpuNs();
    wallNs = batch.wallNs();
    if (std::isnan(cpuNs) || std::isnan(wallNs)) {
        return "the row's loop ended early";
    }
    row.bytes = batch.bytes();
    return nullptr;
}

// Grows the batch to about kBatchNs of the row's work and runs it until the row is warm (JIT
// compilation and class initialisation behind it), then sizes the batch from a warm one.
const char* calibrate(Row& row)
{
    std::int64_t iterations = 1;
    double spentNs = 0;
    for (;;) {
        double cpuNs = 0;
        double wallNs = 0;
        if (const char* error = runBatch(row, iterations, cpuNs, wallNs)) {
            return error;
        }
        spentNs += wallNs * static_cast<double>(iterations);
        const auto fitting = static_cast<std::int64_t>(std::clamp(kBatchNs / std::max(cpuNs, 0.1), 1.0, 1e9));
        if (spentNs >= kWarmupNs && iterations >= fitting / 2) {
            row.iterations = fitting;
            return nullptr;
        }
        iterations = std::min(fitting, iterations * 10);
    }
}

double quantile(std::vector<double> values, double p)
{
    std::sort(values.begin(), values.end());
    const double at = p * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(at);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (values[above] - values[below]) * (at - static_cast<double>(below));
}

std::vector<double> ratios(const std::vector<double>& subject, const std::vector<double>& reference)
{
    std::vector<double> out(subject.size());
    std::transform(subject.begin(), subject.end(), reference.begin(), out.begin(),
                   [](double s, double r) { return s / r; });
    return out;
}

void report(const Op& op, benchmark::State& state, int rounds)
{
    auto& counters = state.counters;
    counters["rounds"] = rounds;
    const auto find = [&op](const char* kind) -> const Row* {
        for (const Row& row : op.rows) {
            if (row.kind == kind) {
                return &row;
            }
        }
        return nullptr;
    };
    for (const Row& row : op.rows) {
        counters[row.kind + ".ns"] = quantile(row.cpu, 0.5);
        counters[row.kind + ".wall_ns"] = quantile(row.wall, 0.5);
        if (row.bytes > 0) {
            counters[row.kind + ".bytes"] = row.bytes;
        }
    }
    for (const char* subjectKind : {"ven", "wrap"}) {
        for (const char* referenceKind : {"raw", "min", "best"}) {
            const Row* subject = find(subjectKind);
            const Row* reference = find(referenceKind);
            if (subject == nullptr || reference == nullptr) {
                continue;
            }
            const std::string name = std::string(subjectKind) + "/" + referenceKind;
            const std::vector<double> cpu = ratios(subject->cpu, reference->cpu);
            counters[name] = quantile(cpu, 0.5);
            counters[name + ".q1"] = quantile(cpu, 0.25);
            counters[name + ".q3"] = quantile(cpu, 0.75);
            counters[name + ".wall"] = quantile(ratios(subject->wall, reference->wall), 0.5);
        }
    }
}

void measure(Op& op, benchmark::State& state)
{
    for (Row& row : op.rows) {
        row.cpu.clear();
        row.wall.clear();
        if (const char* error = calibrate(row)) {
            state.SkipWithError((row.kind + ": " + error).c_str());
            return;
        }
    }
    std::vector<std::size_t> order(op.rows.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::mt19937 shuffler(0x76656E); // the same sequence of orders in every run
    const double endNs = wallNow() + secondsPerOp() * 1e9;
    int rounds = 0;
    while (rounds < kMaxRounds && (rounds < kMinRounds || wallNow() < endNs)) {
        std::shuffle(order.begin(), order.end(), shuffler);
        for (const std::size_t index : order) {
            Row& row = op.rows[index];
            double cpuNs = 0;
            double wallNs = 0;
            if (const char* error = runBatch(row, row.iterations, cpuNs, wallNs)) {
                state.SkipWithError((row.kind + ": " + error).c_str());
                return;
            }
            row.cpu.push_back(cpuNs);
            row.wall.push_back(wallNs);
        }
        ++rounds;
    }
    report(op, state, rounds);
}

// VEN_BENCH_ROWS, e.g. "ven" or "min,ven": measure only rows of these kinds (for a profiler, which
// then sees one row's code alone).
bool selected(const char* kind)
{
    const char* rows = std::getenv("VEN_BENCH_ROWS");
    if (rows == nullptr || *rows == '\0') {
        return true;
    }
    const std::string list = std::string(",") + rows + ",";
    return list.find(std::string(",") + kind + ",") != std::string::npos;
}

} // namespace

void addRow(const char* kind, const std::string& op, RowBody body)
{
    if (!selected(kind)) {
        return;
    }
    std::vector<Op>& ops = allOps();
    auto found = std::find_if(ops.begin(), ops.end(), [&op](const Op& o) { return o.name == op; });
    if (found == ops.end()) {
        found = ops.insert(ops.end(), Op{op, {}});
    }
    found->rows.push_back(Row{kind, std::move(body), 1, 0, {}, {}});
}

void registerOps()
{
    for (std::size_t index = 0; index < allOps().size(); ++index) {
        benchmark::RegisterBenchmark(allOps()[index].name.c_str(),
                                     [index](benchmark::State& state) {
                                         for (auto _ : state) {
                                             measure(allOps()[index], state);
                                         }
                                     })
            ->Unit(benchmark::kMillisecond);
    }
}

} // namespace ven::bench
