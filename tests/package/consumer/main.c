/* A C11 program of a library user: the whole public surface through the umbrella
 * header, then calls that need no Java virtual machine. Exit status 0 when every
 * answer is the expected one. */
#include <stdio.h>
#include <string.h>

#include "ven/ven.h"

int consumerCxxChecks(void);

static int failures = 0;

static void expect(int condition, const char* what)
{
    if (!condition) {
        fprintf(stderr, "consumer: FAILED: %s\n", what);
        ++failures;
    }
}

/* The module framework's view: descriptor, record, version string. */
static void checkModule(void)
{
    const venModuleDescriptor* module = venModule();
    expect(module == &ven___module, "venModule() is the exported descriptor");
    expect(module->record == &ven___module_record, "the descriptor's record slot");
    expect(strcmp(module->record->moduleName, "ven") == 0, "module name");
    expect(strcmp(module->record->neededModules, "ks lg") == 0, "needed modules");
    expect(strstr(ven___module_version_string, "ven 0.0") != NULL, "version string names the module");
}

/* UTF-16 with a surrogate pair to code points and back, through a ksString. */
static void checkConversion(void)
{
    static const jchar units[] = {0x0061, 0xD83D, 0xDE00, 0x00E9};
    static const jchar loneHigh[] = {0x0061, 0xD83D};
    KS_CHAR* chars = NULL;
    KS_INT count = -1;
    ksString* text = NULL;
    jchar* back = NULL;
    KS_INT backCount = -1;

    expect(ven___JCharsToChars(&chars, &count, units, 4) == KS_TRUE, "well-formed UTF-16 decodes");
    expect(count == 3, "a surrogate pair is one code point");
    text = ksStringCreateFromCharsUse(chars, count);
    expect(ksStringLength(text) == 3 && ksStringBacking(text)[1] == 0x1F600, "U+1F600 in the ksString");

    ven___CharsToJChars(&back, &backCount, ksStringBacking(text), ksStringLength(text));
    expect(backCount == 4 && memcmp(back, units, sizeof units) == 0, "code points encode to the same units");
    ksMemFree(back);
    ksObjRelease(text);

    chars = NULL;
    count = -1;
    expect(ven___JCharsToChars(&chars, &count, loneHigh, 2) == KS_FALSE, "a lone high surrogate is refused");
    expect(chars == NULL && count == -1, "a refused decoding delivers nothing");
}

int main(void)
{
    checkModule();
    checkConversion();
    failures += consumerCxxChecks();
    if (failures != 0) {
        return 1;
    }
    printf("consumer: ok\n");
    return 0;
}
