/** @file
 * ks: the base library. Integer, truth-value and code-point types, reference-counted
 * strings, buffers and vectors, raw memory, string formatting and the process stop
 * used by fatal checks. Usable from C (C11) and C++.
 *
 * Ownership: every object (`ksString`, `ksBuffer`, `ksVector`) carries a reference count.
 * A function that returns an object or stores one into an out-parameter hands over one
 * reference, which its receiver gives back with ksObjRelease(). An out-parameter that already
 * holds an object is overwritten first and its old object released afterwards, so passing
 * the same variable to a series of calls holds one object at a time. Raw blocks and C strings
 * that ks hands out are freed with ksMemFree(). */
#ifndef KS_KS_H
#define KS_KS_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int64_t KS_INT;   /**< Every length, count, index, size and position: signed 64-bit. */
typedef int32_t KS_BOOL;  /**< A truth value: every function that returns one returns exactly KS_FALSE or KS_TRUE. */
typedef uint32_t KS_CHAR; /**< One Unicode code point, compared unsigned. */

#define KS_FALSE ((KS_BOOL)0) /**< False: 0. */
#define KS_TRUE ((KS_BOOL)1)  /**< True: 1; a KS_BOOL argument counts as true only when it is exactly this. */

/** The header every object starts with; the reference count is at offset 0 and is
 * changed in place by ksObjRetain() and ksObjRelease(), without a call into the library. */
typedef struct ksObj {
    int64_t refCount; /**< References held; the object is freed when the last one is released. */
    int32_t type;     /**< Which kind of object follows the header (private to ks). */
    int32_t reserved; /**< Unused, 0. */
} ksObj;

/** An immutable-length string of code points (KS_CHAR), reference-counted; may be empty. */
typedef struct ksString ksString;
/** A block of bytes with its length, reference-counted. */
typedef struct ksBuffer ksBuffer;
/** A vector of object references (NULL elements allowed), reference-counted. */
typedef struct ksVector ksVector;

#if defined(__GNUC__)
/** Marks a function that does not return. */
#define KS_NORETURN __attribute__((noreturn))
#else
#define KS_NORETURN /**< Marks a function that does not return (no effect here). */
#endif

/** Stops the process: prints "<path>:<line>: <message or condition>" as one line to stderr and
 * calls abort(). Either a message (consistency check) or a condition text (fatal check) is
 * given; the other is NULL. Every fatal check of ven ends here. A hook installed with
 * ksAbortSetHook() runs first and may leave by throwing (tests); otherwise it does not return. */
KS_NORETURN void ks___Abort(const char* message, const char* path, int line, const char* condition);

/** Frees an object whose count has just left 1; called only by ksObjRelease(). */
void ks___ObjFree(ksObj* obj);

/** Tells whether `address` lies inside the loaded module named `moduleName`
 * (lib<moduleName>.so), i.e. whether that code is encapsulated in the module. */
KS_BOOL ks___ExecCheckEncapsulated(const void* address, const char* moduleName);

/** @name Reference counting
 * Atomic, acquire-release; objects may be shared between threads.
 * @{ */
/** Takes one more reference to `obj`, which must be a live object (not NULL). */
static inline void ksObjRetain(void* obj)
{
    __atomic_fetch_add(&((ksObj*)obj)->refCount, 1, __ATOMIC_ACQ_REL);
}

/** Gives one reference back; the last one frees the object. NULL is ignored. */
static inline void ksObjRelease(void* obj)
{
    if (obj == NULL) {
        return;
    }
    if (__atomic_fetch_sub(&((ksObj*)obj)->refCount, 1, __ATOMIC_ACQ_REL) == 1) {
        ks___ObjFree((ksObj*)obj);
    }
}

/** The count of references now held (for tests: another thread may change it at once). */
static inline int64_t ksObjRefCount(const void* obj)
{
    return __atomic_load_n(&((const ksObj*)obj)->refCount, __ATOMIC_ACQUIRE);
}

/** @} */

/** @name Raw memory
 * @{ */
/** A new block of `size` bytes (ksMemAllocN(): `count` elements of `elementSize` bytes). Never
 * returns NULL: a negative size or running out of memory stops the process through
 * ks___Abort(). A size of 0 still gives a block that must be freed. */
void* ksMemAlloc(KS_INT size);
void* ksMemAllocN(KS_INT count, KS_INT elementSize);
/** Frees a block from ksMemAlloc(), ksMemAllocN() or any ks or ven function that hands out
 * raw memory or C strings. NULL is ignored. */
void ksMemFree(void* block);
/** @} */

/** The smaller of `a` and `b`. */
KS_INT ksIntMin(KS_INT a, KS_INT b);

/** @name Strings of code points
 * Every create function returns a new string (one reference, never NULL). A length of -1 with
 * a C string means: up to its NUL. C strings are read as (modified) UTF-8; a byte that does
 * not decode becomes U+FFFD.
 * @{ */
/** A new empty string. */
ksString* ksStringCreate(void);
/** A new string from the first `length` bytes of `text` (UTF-8), or up to its NUL for -1. */
ksString* ksStringCreateFromCstr(const char* text, KS_INT length);
/** A new string of `length` code points that takes over `chars`, a block from ksMemAllocN()
 * that may have room for more; the block is freed with the string. */
ksString* ksStringCreateFromCharsUse(KS_CHAR* chars, KS_INT length);
/** A new string formatted from `format` (`formatLength` bytes, or up to its NUL for -1).
 * Directives: "%lc" a C string, "%s" a ksString (borrowed, not released), "%i" a KS_INT,
 * "%%" a percent sign; a NULL C string or ksString prints "(null)"; any other text after "%"
 * is copied as it stands. */
ksString* ksStringCreateFromFormatCstrArgList(const char* format, KS_INT formatLength, va_list args);
/** Appends `length` bytes of `text` (or up to its NUL for -1) to `*string`: a new string is
 * stored in `*string` and the old one released. */
void ksStringAppendCstr(ksString** string, const char* text, KS_INT length);
/** A NUL-terminated copy in a new block, freed with ksMemFree(). Mode 1: modified UTF-8 as
 * JNI accepts it (U+0000 as two bytes, a supplementary character as two three-byte
 * surrogates); the third argument must be NULL. Any other mode stops the process. */
char* ksStringConvertToCstr(const ksString* string, int mode, void* reserved);
/** The number of code points (0 for an empty string). */
KS_INT ksStringLength(const ksString* string);
/** The code points in place, valid while the string lives; not NUL-terminated. */
const KS_CHAR* ksStringBacking(const ksString* string);
/** Passes the reference on as a string; an object that is not a string is released and NULL
 * comes back. NULL gives NULL. */
ksString* ksStringFrom(ksObj* obj);
/** @} */

/** @name Buffers of bytes
 * @{ */
/** A new buffer holding a copy of `length` bytes at `bytes`. */
ksBuffer* ksBufferCreateFromBytesCopy(const void* bytes, KS_INT length);
/** A new buffer that takes over `bytes`, a block from ksMemAlloc(), freed with the buffer. */
ksBuffer* ksBufferCreateFromBytesUse(void* bytes, KS_INT length);
/** The number of bytes. */
KS_INT ksBufferLength(const ksBuffer* buffer);
/** The bytes in place; never NULL, not even for an empty buffer. */
const void* ksBufferBacking(const ksBuffer* buffer);
/** @} */

/** @name Vectors of object references (NULL elements allowed)
 * @{ */
/** The number of elements. */
KS_INT ksVectorLength(const ksVector* vector);
/** A new reference to element `index` that the caller releases (NULL for a NULL element). */
ksObj* ksVectorObjAt(const ksVector* vector, KS_INT index);
/** @} */

/** @name For tests and examples
 * @{ */
/** A new empty vector. */
ksVector* ksVectorCreate(void);
/** Retains `obj` (which may be NULL) and appends it. */
void ksVectorAppend(ksVector* vector, void* obj);

/** A new string holding a copy of `length` code points at `chars`. */
ksString* ksStringCreateFromChars(const KS_CHAR* chars, KS_INT length);
/** ksStringCreateFromFormatCstrArgList() with the values as arguments. */
ksString* ksStringCreateFromFormatCstr(const char* format, KS_INT formatLength, ...);
/** Standard UTF-8 (supplementary characters as four bytes), NUL-terminated; free with ksMemFree(). */
char* ksStringToUtf8Cstr(const ksString* string);

/** A function that ks___Abort() calls first, with its arguments. */
typedef void (*ksAbortHook)(const char* message, const char* path, int line, const char* condition);
/** Installs a hook that ks___Abort() calls first; a hook may leave by throwing (C++).
 * Returns the previous hook. NULL removes it. */
ksAbortHook ksAbortSetHook(ksAbortHook hook);

/** Objects alive now (ksObjLiveCount()), and raw blocks handed out by ksMemAlloc() and
 * ksMemAllocN() so far (ksMemAllocCount()), both across all threads. */
KS_INT ksObjLiveCount(void);
KS_INT ksMemAllocCount(void);
/** Raw blocks handed out (by ksMemAlloc(), ksMemAllocN() and the C-string conversions) and not
 * yet freed with ksMemFree() nor adopted by an object (ksStringCreateFromCharsUse(),
 * ksBufferCreateFromBytesUse()), across all threads. */
KS_INT ksMemLiveCount(void);
/** @} */

#ifdef __cplusplus
}
#endif

#endif
