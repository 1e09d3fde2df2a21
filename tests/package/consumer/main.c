/* A C11 program of a library user: the whole public surface through the umbrella header, then
 * calls that need no Java virtual machine. Exit status 0 when every answer is the expected one. */
#include <stdio.h>
#include <string.h>

#include "ven/ven.h"

static int failures = 0;

static void expect(int condition, const char* what)
{
    if (!condition) {
        fprintf(stderr, "consumer: FAILED: %s\n", what);
        ++failures;
    }
}

int main(void)
{
    static const jchar units[] = {0x0061, 0xD83D, 0xDE00};
    KS_CHAR* chars = NULL;
    KS_INT count = -1;
    lgStream* trace = lgStreamCreate(NULL);
    ksString* line = NULL;
    char* text = NULL;

    expect(venModule() == &ven___module && strcmp(venModule()->record->moduleName, "ven") == 0 &&
               strcmp(venModule()->record->neededModules, "ks lg") == 0,
           "the module descriptor");
    expect(ven___JCharsToChars(&chars, &count, units, 3) && count == 2 && chars[1] == 0x1F600,
           "a surrogate pair decodes to one code point");
    ksMemFree(chars);
    /* Tracing a NULL throwable needs no virtual machine: one notable line. */
    expect(!venTraceException(NULL, trace, NULL, KS_TRUE, "main") && lgStreamNotable(trace) &&
               lgStreamLineCount(trace) == 1,
           "the trace of a NULL throwable");
    line = lgStreamLineAt(trace, 0);
    text = ksStringToUtf8Cstr(line);
    expect(strcmp(text, "[venTraceException()] throwable: NULL") == 0, "its line");
    ksMemFree(text);
    ksObjRelease(line);
    lgStreamDestroy(trace);
    expect(ksObjLiveCount() == 0 && ksMemLiveCount() == 0, "nothing left alive");
    if (failures == 0) {
        printf("consumer: ok\n");
    }
    return failures != 0;
}
