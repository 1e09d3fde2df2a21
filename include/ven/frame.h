/** @file
 * The library's frame: the module descriptor read by the module framework, the
 * registry of the process's one JavaVM, and the JNIEnv of the calling thread.
 *
 * A plain JNI module (no module framework) calls, in its `JNI_OnLoad`,
 * `venSetJavaVm(vm)` and then `venModule()->startup()`; in its `JNI_OnUnload`,
 * `venModule()->shutdown()` and then `venDelJavaVm()`. Every failure here is a fatal check:
 * ks___Abort() with the path "source/ven/ven_integration", a line and the condition text. */
#ifndef VEN_FRAME_H
#define VEN_FRAME_H

#include <stdint.h>

#include <jni.h>

#include "ks/ks.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/** The module record: 14 words, each an integer or the address of a text. */
typedef struct venModuleRecord {
    int64_t format;           /**< 2 */
    const char* productShortName; /**< "ven" */
    const char* productLongName;  /**< The product spelled out. */
    int64_t versionMajor; /**< Product version: major. */
    int64_t versionMinor; /**< Product version: minor. */
    int64_t versionPatch; /**< Product version: patch. */
    const char* buildTime;    /**< "UTC 2026-11-23 00:45:01 (Mon)": the time of the last commit. */
    const char* maker;  /**< The maker's name. */
    const char* rights; /**< The maker's rights notice. */
    const char* moduleName;   /**< "ven" */
    const char* description;  /**< One line: the module name spelled out. */
    const char* moduleVersion; /**< "0.0" */
    const char* neededModules; /**< "ks lg" */
    const char* reserved;     /**< "" */
} venModuleRecord;

/** The module descriptor: 19 words (152 bytes) read by the module framework. */
typedef struct venModuleDescriptor {
    int64_t header[4]; /**< 2, 0, -1, 1 */
    int64_t unused[6]; /**< 0 */
    const venModuleRecord* record; /**< &ven___module_record */
    KS_BOOL (*startup)(void); /**< Runs every unit's start-up; always KS_TRUE. */
    void (*slot)(void); /**< NULL */
    void (*shutdown)(void); /**< Runs every unit's shutdown, the wrapper unit's last. */
    int64_t tail[5]; /**< 0 */
} venModuleDescriptor;

/** The module descriptor, found by name by the module framework. */
VEN_API extern const venModuleDescriptor ven___module;
/** The module record the descriptor points at. */
VEN_API extern const venModuleRecord ven___module_record;
/** "###BUILDINFO### ven-<major.minor.patch> (<distribution>, linux (<processor>), <build kind>), ven 0.0". */
VEN_API extern const char* const ven___module_version_string;

/** The address of ven___module. A module loaded without the module framework starts and stops
 * the library through it: `venModule()->startup()` after venSetJavaVm(),
 * `venModule()->shutdown()` before venDelJavaVm(). Start-up cannot fail; neither touches the
 * registered virtual machine, and both may run again (no unit holds state). */
VEN_API const venModuleDescriptor* venModule(void);
/** ks___ExecCheckEncapsulated() with the same arguments and result: whether `address` lies in
 * lib<moduleName>.so. */
VEN_API KS_BOOL venCheckEncapsulated(const void* address, const char* moduleName);

/** @name Unit start-up and shutdown
 * @{ */
/** A unit's start-up or shutdown, run by the module start-up and shutdown through the
 * descriptor; no unit holds state, so they do nothing. Modules do not call them. */
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
/** @} */

/** @name Virtual machine registry
 * One JavaVM per process, a plain pointer written without synchronisation: register it before
 * any thread asks for an environment, forget it only when no thread uses the library any more.
 * The registry does not own the machine: forgetting it neither detaches threads nor destroys it.
 * @{ */
/** Registers `vm`, replacing any earlier one. A NULL `vm` is a fatal check ("vm", line 20). */
VEN_API void venSetJavaVm(JavaVM* vm);
/** The registered machine, or NULL when none is registered. */
VEN_API JavaVM* venGetJavaVm(void);
/** Forgets the registered machine (stores NULL); venSetJavaVm() may register one again. */
VEN_API void venDelJavaVm(void);
/** @} */

/** @name Thread environments
 * The calling thread's JNIEnv (use it on that thread only), through `GetEnv` with
 * JNI_VERSION_1_4. A machine must be registered: without one each of these stops the process
 * (condition "vm"). The library keeps no record of which threads it attached.
 * @{ */
/** The calling thread's JNIEnv, never NULL. The thread must be attached: otherwise a fatal check
 * ("(*vm)->GetEnv( vm, (void**)&env, JNI_VERSION_1_4 ) == JNI_OK", line 33); it never attaches. */
VEN_API JNIEnv* venGetMainJniEnv(void);
/** The calling thread's JNIEnv, or NULL when the thread is not attached; any other GetEnv
 * failure is a fatal check ("ret == JNI_OK", line 49). */
VEN_API JNIEnv* venTryGetMainJniEnv(void);
/** Attaches the calling thread (ordinary, no name or group) and returns its JNIEnv, never NULL;
 * an attached thread gets its existing environment. A refused attach is a fatal check (line 59). */
VEN_API JNIEnv* venAttachCurrentThread(void);
/** venAttachCurrentThread() as a daemon thread (fatal check at line 69). */
VEN_API JNIEnv* venAttachCurrentThreadAsDaemon(void);
/** Detaches the calling thread; a refusal (for example a thread with Java frames on its stack)
 * is a fatal check ("(*vm)->DetachCurrentThread( vm ) == 0", line 78). Local references the
 * thread held are gone afterwards. */
VEN_API void venDetachCurrentThread(void);
/** @} */

VEN_EXTERN_C_END

#endif
