// The C++ half of the library user's program: the same umbrella header, the range
// checks as constant expressions, and a trace stream written by the library.
#include <cstdio>
#include <cstring>

#include "ven/ven.h"

static_assert(VEN_KS_INT_TO_JINT_CONV_OK(2147483647LL), "the largest jint fits");
static_assert(!VEN_KS_INT_TO_JINT_CONV_OK(2147483648LL), "one more does not");
static_assert(VEN_KS_INT_TO_JSHORT_CONV_OK(-32768LL) && !VEN_KS_INT_TO_JSHORT_CONV_OK(-32769LL),
              "the jshort bounds");
static_assert(VEN_KS_CHAR_TO_JCHAR_CONV_OK(0xFFFFU) && !VEN_KS_CHAR_TO_JCHAR_CONV_OK(0x10000U),
              "the jchar bound");

extern "C" int consumerCxxChecks(void)
{
    int failures = 0;
    // Tracing a NULL throwable needs no virtual machine: the library only writes its
    // diagnostic line and marks the stream.
    lgStream* trace = lgStreamCreate(nullptr);
    const KS_BOOL traced = venTraceException(nullptr, trace, nullptr, KS_TRUE, "consumerCxxChecks");
    char* line = nullptr;
    if (lgStreamLineCount(trace) == 1) {
        ksString* first = lgStreamLineAt(trace, 0);
        line = ksStringToUtf8Cstr(first);
        ksObjRelease(first);
    }
    if (traced != KS_FALSE || lgStreamNotable(trace) != KS_TRUE || line == nullptr ||
        std::strcmp(line, "[venTraceException()] throwable: NULL") != 0) {
        std::fprintf(stderr, "consumer: FAILED: trace of a NULL throwable gave \"%s\"\n",
                     line != nullptr ? line : "");
        ++failures;
    }
    ksMemFree(line);
    lgStreamDestroy(trace);
    return failures;
}
