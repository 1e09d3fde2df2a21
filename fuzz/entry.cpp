// The libFuzzer entry of one target, chosen at build time by VEN_FUZZ_TARGET_INDEX.
#include "fuzz.hpp"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    ven::fuzz::installAbortHook();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ven::fuzz::kTargets[VEN_FUZZ_TARGET_INDEX].check(data, size);
    return 0;
}
