// Shared internals of libks: object layouts, checks, raw blocks and the growable
// code-point builder used by the string operations and the formatter.
#pragma once

#include "ks/ks.h"

#include <cstdint>

// Internals stay out of the dynamic symbol table; only the C names are the interface.
#pragma GCC visibility push(hidden)

namespace ks::detail
{

enum Type : int32_t {
    kTypeString = 0x5354, // 'ST'
    kTypeBuffer = 0x4255, // 'BU'
    kTypeVector = 0x5645, // 'VE'
};

// A check that stops the process through ks___Abort: either the text of a failed
// condition (fatal) or a message (consistency); `path` is the unit's source path text.
struct Check {
    const char* path;
    int line;
    const char* text;
};

[[noreturn]] void failCondition(const Check& check);
[[noreturn]] void failMessage(const Check& check);

// Raw blocks for the library's own use. They stop the process instead of returning
// NULL and are not counted by ksMemAllocCount (only blocks handed to callers are).
[[gnu::returns_nonnull]] void* blockAlloc(KS_INT size);
[[gnu::returns_nonnull]] void* blockAllocN(KS_INT count, KS_INT elementSize);
[[gnu::returns_nonnull]] void* blockRealloc(void* block, KS_INT count, KS_INT elementSize);

// The count of ksMemLiveCount: a block handed to a caller to be freed with ksMemFree, and one
// that came back (freed, or adopted by an object).
void noteBlockHandedOut();
void noteBlockTakenBack();

// Allocates an object header of `size` bytes with count 1 and the type tag, and counts
// it as live.
[[gnu::returns_nonnull]] void* objCreate(KS_INT size, Type type);

// Appends code points to a block that grows geometrically. Owns the block until
// release() hands it over; a throwing abort hook leaves no leak behind.
class CharBuilder
{
  public:
    CharBuilder() = default;
    CharBuilder(const CharBuilder&) = delete;
    CharBuilder& operator=(const CharBuilder&) = delete;
    ~CharBuilder();

    void reserve(KS_INT capacity);
    void push(KS_CHAR c)
    {
        if (length_ == capacity_) {
            grow(length_ + 1);
        }
        chars_[length_++] = c;
    }
    void append(const KS_CHAR* chars, KS_INT count);
    // Decodes UTF-8, also in its modified form (C0 80 and surrogate pairs as two
    // three-byte sequences). A byte that starts no valid sequence becomes U+FFFD.
    void appendUtf8(const char* text, KS_INT byteCount);
    void appendDecimal(KS_INT value);

    const KS_CHAR* data() const { return chars_; }
    KS_INT length() const { return length_; }
    KS_INT capacity() const { return capacity_; }
    // Hands the block over (possibly NULL when nothing was appended).
    KS_CHAR* release();

  private:
    void grow(KS_INT minimum);

    KS_CHAR* chars_ = nullptr;
    KS_INT length_ = 0;
    KS_INT capacity_ = 0;
};

// Makes a string object adopting `chars` (which may be NULL when `length` is 0).
ksString* stringAdopt(KS_CHAR* chars, KS_INT length, KS_INT capacity);

} // namespace ks::detail

#pragma GCC visibility pop

// Object layouts. Every one starts with the header, so a ksObj* is a valid view of it.
struct ksString {
    ksObj header;
    KS_INT length;
    KS_INT capacity; // code points the block has room for (at least `length`)
    KS_CHAR* chars;  // NULL only while capacity is 0
};

struct ksBuffer {
    ksObj header;
    KS_INT length;
    unsigned char* bytes; // NULL only for a buffer of length 0
};

struct ksVector {
    ksObj header;
    KS_INT length;
    KS_INT capacity;
    ksObj** elements;
};
