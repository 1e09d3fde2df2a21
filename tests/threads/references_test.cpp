// A million global and a million weak global references made and deleted through the library, a
// thousand alive at a time: resident memory does not grow with them. The JVM's handles take about
// ten bytes each, so a tenth of either kind left behind (1 MB) exceeds the bound.
#include <unistd.h>

#include <cstdio>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace ven::test
{
namespace
{

// The second field of /proc/self/statm (pages), in KB; -1 when it cannot be read.
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
    constexpr int kBatch = 1000, kWarmUp = 20;
    jstring target = jstr(env, "target");
    Trace trace;
    std::vector<jobject> globals(kBatch);
    std::vector<jweak> weaks(kBatch);
    long failures = 0, warm = -1;
    for (int batch = 0; batch < kWarmUp + 1000; ++batch) {
        warm = batch == kWarmUp ? residentKb() : warm;
        for (int i = 0; i < kBatch; ++i) {
            failures += !venNewGlobalRef(&globals[i], env, trace.get(), target) +
                        !venNewWeakGlobalRef(&weaks[i], env, trace.get(), target);
        }
        failures += !venIsSameObject(env, weaks[batch % kBatch], globals[kBatch - 1 - batch % kBatch]);
        for (int i = 0; i < kBatch; ++i) {
            venDeleteGlobalRef(env, globals[i]);
            venDeleteWeakGlobalRef(env, weaks[i]);
        }
    }
    EXPECT_EQ(failures, 0);
    EXPECT_FALSE(trace.notable());
    ASSERT_GT(warm, 0);
    EXPECT_LE(residentKb() - warm, 1024) << "KB grown after the warm-up, from " << warm << " KB";
}

} // namespace
} // namespace ven::test
