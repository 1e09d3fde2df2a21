// A million global and a million weak global references made and deleted through the library,
// a thousand alive at a time: the process's resident memory does not grow with them.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace ven::test
{
namespace
{

constexpr int kBatch = 1000, kBatches = 1000, kWarmUpBatches = 20;
// The JVM's handle blocks take ~10 bytes per reference: a leak of a tenth of either kind (~1 MB)
// exceeds this, while a clean run grows by a few pages at most.
constexpr long kGrowthBoundKb = 1024;

// Resident set size: the second field of /proc/self/statm, in pages.
long residentKb()
{
    long size = 0, resident = -1;
    if (std::FILE* statm = std::fopen("/proc/self/statm", "r")) {
        resident = std::fscanf(statm, "%ld %ld", &size, &resident) == 2 ? resident : -1;
        std::fclose(statm);
    }
    return resident < 0 ? -1 : resident * (sysconf(_SC_PAGESIZE) / 1024);
}

using MillionReferences = JvmTest;

TEST_F(MillionReferences, GlobalAndWeakReferencesLeaveNoGrowth)
{
    jstring target = jstr(env, "target");
    Trace trace;
    std::vector<jobject> globals(kBatch);
    std::vector<jweak> weaks(kBatch);
    long failures = 0;
    auto batch = [&] {
        for (int i = 0; i < kBatch; ++i) {
            failures += !venNewGlobalRef(&globals[i], env, trace.get(), target) +
                        !venNewWeakGlobalRef(&weaks[i], env, trace.get(), target);
        }
        // Spot checks: a global and a weak of the batch still name the target.
        failures += !venIsSameObject(env, globals[kBatch / 2], target) +
                    !venIsSameObject(env, weaks[kBatch - 1], target);
        for (int i = 0; i < kBatch; ++i) {
            venDeleteGlobalRef(env, globals[i]);
            venDeleteWeakGlobalRef(env, weaks[i]);
        }
    };

    for (int b = 0; b < kWarmUpBatches; ++b) {
        batch();
    }
    const long warm = residentKb();
    ASSERT_GT(warm, 0);
    const auto start = std::chrono::steady_clock::now();
    for (int b = 0; b < kBatches; ++b) {
        batch();
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const long end = residentKb();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(trace.lines(), std::vector<std::string>{});
    EXPECT_LE(end - warm, kGrowthBoundKb) << "resident set grew from " << warm << " KB to " << end << " KB";
    std::printf("[references] %d global + %d weak references made and deleted in %.2f s (%.0f ns per pair); "
                "resident %ld KB after warm-up, %ld KB at the end\n",
                kBatch * kBatches, kBatch * kBatches, seconds, seconds * 1e9 / (kBatch * kBatches), warm,
                end);
}

} // namespace
} // namespace ven::test
