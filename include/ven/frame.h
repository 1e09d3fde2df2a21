/* The library's frame: the module descriptor read by the module framework, the
 * registry of the process's one JavaVM, and the JNIEnv of the calling thread. */
#ifndef VEN_FRAME_H
#define VEN_FRAME_H

#include <stdint.h>

#include <jni.h>

#include "ks/ks.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* The module record: 14 words, each an integer or the address of a text. */
typedef struct venModuleRecord {
    int64_t format;           /* 2 */
    const char* productShortName;
    const char* productLongName;
    int64_t versionMajor;
    int64_t versionMinor;
    int64_t versionPatch;
    const char* buildTime;    /* "UTC 2026-11-23 00:45:01 (Mon)" */
    const char* maker;
    const char* rights;
    const char* moduleName;   /* "ven" */
    const char* description;
    const char* moduleVersion; /* "0.0" */
    const char* neededModules; /* "ks lg" */
    const char* reserved;     /* "" */
} venModuleRecord;

/* The module descriptor: 19 words read by the module framework. */
typedef struct venModuleDescriptor {
    int64_t header[4]; /* 2, 0, -1, 1 */
    int64_t unused[6];
    const venModuleRecord* record;
    KS_BOOL (*startup)(void);
    void (*slot)(void); /* empty */
    void (*shutdown)(void);
    int64_t tail[5];
} venModuleDescriptor;

VEN_API extern const venModuleDescriptor ven___module;
VEN_API extern const venModuleRecord ven___module_record;
VEN_API extern const char* const ven___module_version_string;

/* Module frame: the descriptor's address; a check passed through to the base library. */
VEN_API const venModuleDescriptor* venModule(void);
VEN_API KS_BOOL venCheckEncapsulated(const void* address, const char* moduleName);

/* Unit start-up and shutdown, run by the module start-up and shutdown; no unit holds state. */
VEN_API void ven___WrapperStartup(void);
VEN_API void ven___WrapperShutdown(void);
VEN_API void ven___StringStartup(void);
VEN_API void ven___StringShutdown(void);
VEN_API void ven___ObjectStartup(void);
VEN_API void ven___ObjectShutdown(void);
VEN_API void ven___LongStartup(void);
VEN_API void ven___LongShutdown(void);
VEN_API void ven___DoubleStartup(void);
VEN_API void ven___DoubleShutdown(void);
VEN_API void ven___BooleanStartup(void);
VEN_API void ven___BooleanShutdown(void);
VEN_API void ven___CollectionStartup(void);
VEN_API void ven___CollectionShutdown(void);
VEN_API void ven___EnumSetStartup(void);
VEN_API void ven___EnumSetShutdown(void);
VEN_API void ven___ArrayListStartup(void);
VEN_API void ven___ArrayListShutdown(void);

/* Virtual machine registry: one JavaVM per process, registered by the embedding code. */
VEN_API void venSetJavaVm(JavaVM* vm);
VEN_API JavaVM* venGetJavaVm(void);
VEN_API void venDelJavaVm(void);

/* Thread environments: the calling thread's JNIEnv; attaching and detaching it. */
VEN_API JNIEnv* venGetMainJniEnv(void);
VEN_API JNIEnv* venTryGetMainJniEnv(void);
VEN_API JNIEnv* venAttachCurrentThread(void);
VEN_API JNIEnv* venAttachCurrentThreadAsDaemon(void);
VEN_API void venDetachCurrentThread(void);

VEN_EXTERN_C_END

#endif
