/* ks: the base library. Integer, truth-value and code-point types, reference-counted
 * strings, buffers and vectors, raw memory, string formatting and the process stop
 * used by fatal checks. Usable from C (C11) and C++. */
#ifndef KS_KS_H
#define KS_KS_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int64_t KS_INT;   /* every length, count, index, size and position */
typedef int32_t KS_BOOL;  /* exactly KS_FALSE or KS_TRUE */
typedef uint32_t KS_CHAR; /* one Unicode code point, compared unsigned */

#define KS_FALSE ((KS_BOOL)0)
#define KS_TRUE ((KS_BOOL)1)

/* Every object starts with this header; the reference count is at offset 0 and is
 * changed in place by ksObjRetain/ksObjRelease, without a call into the library. */
typedef struct ksObj {
    int64_t refCount;
    int32_t type;
    int32_t reserved;
} ksObj;

typedef struct ksString ksString;
typedef struct ksBuffer ksBuffer;
typedef struct ksVector ksVector;

#if defined(__GNUC__)
#define KS_NORETURN __attribute__((noreturn))
#else
#define KS_NORETURN
#endif

/* Process stop. Either a message (consistency check) or a condition text (fatal
 * check) is given; the other is NULL. Does not return. */
KS_NORETURN void ks___Abort(const char* message, const char* path, int line, const char* condition);

/* Frees an object whose count has just left 1; called only by ksObjRelease. */
void ks___ObjFree(ksObj* obj);

/* Tells whether `address` lies inside the loaded module named `moduleName`
 * (lib<moduleName>.so), i.e. whether that code is encapsulated in the module. */
KS_BOOL ks___ExecCheckEncapsulated(const void* address, const char* moduleName);

/* Reference counting: atomic, acquire-release. Both accept any object pointer. */
static inline void ksObjRetain(void* obj)
{
    __atomic_fetch_add(&((ksObj*)obj)->refCount, 1, __ATOMIC_ACQ_REL);
}

static inline void ksObjRelease(void* obj)
{
    if (obj == NULL) {
        return;
    }
    if (__atomic_fetch_sub(&((ksObj*)obj)->refCount, 1, __ATOMIC_ACQ_REL) == 1) {
        ks___ObjFree((ksObj*)obj);
    }
}

static inline int64_t ksObjRefCount(const void* obj)
{
    return __atomic_load_n(&((const ksObj*)obj)->refCount, __ATOMIC_ACQUIRE);
}

/* Raw memory. Never returns NULL: running out of memory stops the process. */
void* ksMemAlloc(KS_INT size);
void* ksMemAllocN(KS_INT count, KS_INT elementSize);
void ksMemFree(void* block);

KS_INT ksIntMin(KS_INT a, KS_INT b);

/* Strings of code points. A length of -1 with a C string means: up to its NUL. */
ksString* ksStringCreate(void);
ksString* ksStringCreateFromCstr(const char* text, KS_INT length);
ksString* ksStringCreateFromCharsUse(KS_CHAR* chars, KS_INT length);
/* Directives: "%lc" a C string, "%s" a ksString (borrowed), "%i" a KS_INT, "%%". */
ksString* ksStringCreateFromFormatCstrArgList(const char* format, KS_INT formatLength, va_list args);
void ksStringAppendCstr(ksString** string, const char* text, KS_INT length);
/* Mode 1: modified UTF-8 as JNI accepts it; the third argument must be NULL. Free
 * the result with ksMemFree. */
char* ksStringConvertToCstr(const ksString* string, int mode, void* reserved);
KS_INT ksStringLength(const ksString* string);
const KS_CHAR* ksStringBacking(const ksString* string);
/* Passes the reference on; an object that is not a string is released and NULL
 * comes back. */
ksString* ksStringFrom(ksObj* obj);

/* Buffers of bytes. ksBufferBacking is never NULL, not even for an empty buffer. */
ksBuffer* ksBufferCreateFromBytesCopy(const void* bytes, KS_INT length);
ksBuffer* ksBufferCreateFromBytesUse(void* bytes, KS_INT length);
KS_INT ksBufferLength(const ksBuffer* buffer);
const void* ksBufferBacking(const ksBuffer* buffer);

/* Vectors of object references (NULL elements allowed). */
KS_INT ksVectorLength(const ksVector* vector);
/* Returns a new reference that the caller releases. */
ksObj* ksVectorObjAt(const ksVector* vector, KS_INT index);

/* --- For tests and examples --------------------------------------------------- */

ksVector* ksVectorCreate(void);
/* Retains `obj` (which may be NULL) and appends it. */
void ksVectorAppend(ksVector* vector, void* obj);

ksString* ksStringCreateFromChars(const KS_CHAR* chars, KS_INT length);
ksString* ksStringCreateFromFormatCstr(const char* format, KS_INT formatLength, ...);
/* Standard UTF-8 (supplementary characters as four bytes); free with ksMemFree. */
char* ksStringToUtf8Cstr(const ksString* string);

typedef void (*ksAbortHook)(const char* message, const char* path, int line, const char* condition);
/* Installs a hook that ks___Abort calls first; a hook may leave by throwing (C++).
 * Returns the previous hook. NULL removes it. */
ksAbortHook ksAbortSetHook(ksAbortHook hook);

/* Objects alive now, and raw blocks handed out by ksMemAlloc/ksMemAllocN so far
 * (both across all threads). */
KS_INT ksObjLiveCount(void);
KS_INT ksMemAllocCount(void);
/* Raw blocks handed out (by ksMemAlloc, ksMemAllocN and the C-string conversions) and not yet
 * freed with ksMemFree nor adopted by an object (ksStringCreateFromCharsUse,
 * ksBufferCreateFromBytesUse), across all threads. */
KS_INT ksMemLiveCount(void);

#ifdef __cplusplus
}
#endif

#endif
