/* lg: the trace library. A trace stream keeps the lines written to it in memory,
 * optionally echoes them to a FILE*, and carries a notable flag. Thread-safe. */
#ifndef LG_LG_H
#define LG_LG_H

#include <stdio.h>

#include "ks/ks.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct lgStream lgStream;

/* Writes one line formatted with the ks directives ("%lc", "%s", "%i"). A length
 * of -1 means: the format up to its NUL. */
void lgStreamTextFormatCstr(lgStream* stream, const char* format, KS_INT formatLength, ...);
/* Marks the stream as holding something that deserves attention. */
void lgStreamSetNotable(lgStream* stream);

/* --- Creating and reading streams (tests and examples) ---------------------- */

/* `echo` may be NULL; otherwise every line is also written to it, newline-terminated. */
lgStream* lgStreamCreate(FILE* echo);
void lgStreamDestroy(lgStream* stream);
KS_BOOL lgStreamNotable(const lgStream* stream);
KS_INT lgStreamLineCount(const lgStream* stream);
/* A new reference to line `index` (0-based); the caller releases it. */
ksString* lgStreamLineAt(const lgStream* stream, KS_INT index);
/* Forgets all lines and clears the notable flag. */
void lgStreamReset(lgStream* stream);

#ifdef __cplusplus
}
#endif

#endif
