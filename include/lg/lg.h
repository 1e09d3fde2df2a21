/** @file
 * lg: the trace library. A trace stream writes every line through to an optional FILE*,
 * keeps a bounded window of the most recent lines for readers, and carries a notable
 * flag. Thread-safe: any number of threads may write to one stream at once.
 *
 * ven never creates, reads or releases a stream: a module creates one, passes it as the
 * `trace` argument of integration functions (or NULL for no tracing), and destroys it. */
#ifndef LG_LG_H
#define LG_LG_H

#include <stdio.h>

#include "ks/ks.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A trace stream (opaque). */
typedef struct lgStream lgStream;

/** Writes one line formatted with the ks directives ("%lc" a C string, "%s" a ksString,
 * borrowed, "%i" a KS_INT, "%%"; see ksStringCreateFromFormatCstrArgList()). A length of -1
 * means: the format up to its NUL. The line is echoed (as standard UTF-8 and a newline) and
 * flushed before the call returns. A NULL stream is ignored. */
void lgStreamTextFormatCstr(lgStream* stream, const char* format, KS_INT formatLength, ...);
/** Marks the stream as holding something that deserves attention; ven does so after every
 * line that reports a failure. A NULL stream is ignored. */
void lgStreamSetNotable(lgStream* stream);

/* --- Creating and reading streams (tests and examples) ---------------------- */

/** Lines that a stream made by lgStreamCreate() keeps for readers. */
#define LG_STREAM_DEFAULT_WINDOW 4096

/** A new stream (destroy it with lgStreamDestroy()). `echo` may be NULL; otherwise every line
 * is also written to it, newline-terminated, before the write returns. Keeps the last
 * LG_STREAM_DEFAULT_WINDOW lines. */
lgStream* lgStreamCreate(FILE* echo);
/** Keeps the last `window` lines (window > 0, a fatal check). */
lgStream* lgStreamCreateWithWindow(FILE* echo, KS_INT window);
/** Releases the kept lines and frees the stream; the echo FILE* stays open. NULL is ignored. */
void lgStreamDestroy(lgStream* stream);
/** Whether lgStreamSetNotable() was called since creation or the last reset (KS_FALSE for NULL). */
KS_BOOL lgStreamNotable(const lgStream* stream);
/** Lines written since creation or the last reset, including those no longer kept (0 for NULL). */
KS_INT lgStreamLineCount(const lgStream* stream);
/** Index of the oldest line still kept: lgStreamLineCount() minus the window, or 0. */
KS_INT lgStreamFirstKeptLine(const lgStream* stream);
/** A new reference to line `index` (0-based); the caller releases it. NULL when the
 * line has left the window; an index outside 0 .. lgStreamLineCount() - 1 is a fatal check. */
ksString* lgStreamLineAt(const lgStream* stream, KS_INT index);
/** Bytes the stream holds for its kept lines: their code points and the window's slots. */
KS_INT lgStreamBytesHeld(const lgStream* stream);
/** Forgets all lines, sets the line count back to 0 and clears the notable flag. */
void lgStreamReset(lgStream* stream);

#ifdef __cplusplus
}
#endif

#endif
