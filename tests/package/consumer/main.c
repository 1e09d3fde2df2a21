/* A C11 program of a library user: the whole public surface through the umbrella header, then
 * calls that need no Java virtual machine. */
#undef NDEBUG
#include <assert.h>
#include <stdio.h>
#include <string.h>

#include "ven/ven.h"

int main(void)
{
    lgStream* trace = lgStreamCreate(NULL);

    assert(venModule() == &ven___module && strcmp(venModule()->record->moduleName, "ven") == 0);
    /* Tracing a NULL throwable needs no virtual machine: one notable line. */
    assert(!venTraceException(NULL, trace, NULL, KS_TRUE, "main") && lgStreamNotable(trace));
    ksString* line = lgStreamLineAt(trace, 0);
    char* text = ksStringToUtf8Cstr(line);
    assert(strcmp(text, "[venTraceException()] throwable: NULL") == 0);
    ksMemFree(text);
    ksObjRelease(line);
    lgStreamDestroy(trace);
    assert(ksObjLiveCount() == 0 && ksMemLiveCount() == 0);
    printf("consumer: ok\n");
    return 0;
}
