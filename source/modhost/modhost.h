/* modhost: the module framework's loader, standing in for the maker's framework.
 * Loads a module library, finds its descriptor "<name>___module", checks its
 * record and runs the descriptor's start-up and shutdown slots. */
#ifndef MODHOST_MODHOST_H
#define MODHOST_MODHOST_H

#include <stdint.h>

#include "ks/ks.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The framework's view of a module record: 14 words. */
typedef struct mhRecord {
    int64_t format;
    const char* texts[2]; /* product short and long name */
    int64_t version[3];   /* major, minor, patch */
    const char* buildTime;
    const char* maker;
    const char* rights;
    const char* name;
    const char* description;
    const char* moduleVersion;
    const char* needs; /* module names separated by one blank */
    const char* reserved;
} mhRecord;

/* The framework's view of a module descriptor: 19 words. */
typedef struct mhDescriptor {
    int64_t words[10];
    const mhRecord* record;
    KS_BOOL (*startup)(void);
    void (*unused)(void);
    void (*shutdown)(void);
    int64_t tail[5];
} mhDescriptor;

typedef struct mhModule mhModule;

/* Loads `path` (dlopen) and checks the module `name` in it: the descriptor exists,
 * its record has format 2 and the name, and every module it needs is loaded in the
 * process. NULL on failure, with the reason in `error` (may be NULL). */
mhModule* mhModuleLoad(const char* path, const char* name, char* error, int errorSize);
const mhDescriptor* mhModuleDescriptor(const mhModule* module);
/* Runs the start-up slot once; its result. */
KS_BOOL mhModuleStart(mhModule* module);
/* Runs the shutdown slot if the module was started. */
void mhModuleStop(mhModule* module);
/* Stops the module if needed and closes the library. */
void mhModuleUnload(mhModule* module);

#ifdef __cplusplus
}
#endif

#endif
