// Strings of code points: creation, appending, UTF-8 decoding and encoding.
#include "ks_internal.hpp"

#include <cstdlib>
#include <cstring>

namespace ks::detail
{
namespace
{

constexpr const char* kStringPath = "source/ks/ks_string";

constexpr Check kStringArg{kStringPath, 30, "string"};
constexpr Check kLengthNonNegative{kStringPath, 31, "length >= 0"};
constexpr Check kLengthOrNul{kStringPath, 32, "length >= -1"};
constexpr Check kChars{kStringPath, 33, "chars != NULL || length == 0"};
constexpr Check kText{kStringPath, 34, "text != NULL || length == 0"};
constexpr Check kStringVariable{kStringPath, 35, "string"};
constexpr Check kConvertMode{kStringPath, 36, "ksStringConvertToCstr: mode 1 is the only mode"};
constexpr Check kConvertReserved{kStringPath, 37, "ksStringConvertToCstr: the third argument must be NULL"};

constexpr KS_CHAR kReplacement = 0xFFFD;
constexpr KS_CHAR kMaxCodePoint = 0x10FFFF;

// Backing of strings that own no block: readable address, no code point to read.
const KS_CHAR emptyChars[1] = {0};

bool isContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// Byte count of `text`: -1 means up to its NUL.
KS_INT textLength(const char* text, KS_INT length)
{
    if (length < -1) {
        failCondition(kLengthOrNul);
    }
    if (text == nullptr) {
        if (length > 0) {
            failCondition(kText);
        }
        return 0;
    }
    return length == -1 ? static_cast<KS_INT>(std::strlen(text)) : length;
}

// Decodes one three-byte sequence at `p` (with at least 3 bytes left) into `out`;
// false when the bytes are not a well-formed three-byte form.
bool decodeThree(const unsigned char* p, KS_CHAR& out)
{
    if ((p[0] & 0xF0) != 0xE0 || !isContinuation(p[1]) || !isContinuation(p[2])) {
        return false;
    }
    KS_CHAR c = ((p[0] & 0x0Fu) << 12) | ((p[1] & 0x3Fu) << 6) | (p[2] & 0x3Fu);
    if (c < 0x800) {
        return false;
    }
    out = c;
    return true;
}

// Writes the encoded form of `c` to `out` (room for 6 bytes) and returns its byte
// count. Modified UTF-8 writes 0 as C0 80 and supplementary characters as two encoded
// surrogates; both forms write lone surrogates as three bytes, and values beyond the
// Unicode range as U+FFFD.
KS_INT encode(KS_CHAR c, bool modified, unsigned char* out)
{
    if (c > kMaxCodePoint) {
        c = kReplacement;
    }
    if (modified && c == 0) {
        out[0] = 0xC0;
        out[1] = 0x80;
        return 2;
    }
    if (c < 0x80) {
        out[0] = static_cast<unsigned char>(c);
        return 1;
    }
    if (c < 0x800) {
        out[0] = static_cast<unsigned char>(0xC0 | (c >> 6));
        out[1] = static_cast<unsigned char>(0x80 | (c & 0x3F));
        return 2;
    }
    if (c < 0x10000) {
        out[0] = static_cast<unsigned char>(0xE0 | (c >> 12));
        out[1] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
        out[2] = static_cast<unsigned char>(0x80 | (c & 0x3F));
        return 3;
    }
    if (modified) {
        KS_CHAR v = c - 0x10000;
        KS_INT high = encode(0xD800 + (v >> 10), true, out);
        return high + encode(0xDC00 + (v & 0x3FF), true, out + high);
    }
    out[0] = static_cast<unsigned char>(0xF0 | (c >> 18));
    out[1] = static_cast<unsigned char>(0x80 | ((c >> 12) & 0x3F));
    out[2] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
    out[3] = static_cast<unsigned char>(0x80 | (c & 0x3F));
    return 4;
}

char* toCstr(const ksString* string, bool modified)
{
    if (string == nullptr) {
        failCondition(kStringArg);
    }
    // Two passes: measure, then write into a block of the exact size.
    unsigned char scratch[6];
    KS_INT size = 0;
    for (KS_INT i = 0; i < string->length; ++i) {
        size += encode(string->chars[i], modified, scratch);
    }
    auto* text = static_cast<unsigned char*>(blockAlloc(size + 1));
    unsigned char* out = text;
    for (KS_INT i = 0; i < string->length; ++i) {
        out += encode(string->chars[i], modified, out);
    }
    *out = 0;
    noteBlockHandedOut();
    return reinterpret_cast<char*>(text);
}

} // namespace

CharBuilder::~CharBuilder()
{
    std::free(chars_);
}

void CharBuilder::grow(KS_INT minimum)
{
    KS_INT capacity = capacity_ < 16 ? 16 : capacity_ * 2;
    if (capacity < minimum) {
        capacity = minimum;
    }
    chars_ = static_cast<KS_CHAR*>(blockRealloc(chars_, capacity, sizeof(KS_CHAR)));
    capacity_ = capacity;
}

void CharBuilder::reserve(KS_INT capacity)
{
    if (capacity > capacity_) {
        chars_ = static_cast<KS_CHAR*>(blockRealloc(chars_, capacity, sizeof(KS_CHAR)));
        capacity_ = capacity;
    }
}

void CharBuilder::append(const KS_CHAR* chars, KS_INT count)
{
    if (count <= 0) {
        return;
    }
    if (capacity_ - length_ < count) {
        grow(length_ + count);
    }
    std::memcpy(chars_ + length_, chars, static_cast<std::size_t>(count) * sizeof(KS_CHAR));
    length_ += count;
}

void CharBuilder::appendUtf8(const char* text, KS_INT byteCount)
{
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    const unsigned char* end = p + byteCount;
    while (p < end) {
        unsigned char b = *p;
        KS_INT left = end - p;
        if (b < 0x80) {
            push(b);
            p += 1;
        } else if (b == 0xC0 && left >= 2 && p[1] == 0x80) {
            // Modified UTF-8's NUL.
            push(0);
            p += 2;
        } else if (b >= 0xC2 && b <= 0xDF && left >= 2 && isContinuation(p[1])) {
            push(((b & 0x1Fu) << 6) | (p[1] & 0x3Fu));
            p += 2;
        } else if (KS_CHAR c = 0; (b & 0xF0) == 0xE0 && left >= 3 && decodeThree(p, c)) {
            KS_CHAR low = 0;
            if (c >= 0xD800 && c <= 0xDBFF && left >= 6 && decodeThree(p + 3, low) && low >= 0xDC00 &&
                low <= 0xDFFF) {
                // An encoded surrogate pair (CESU-8, as in modified UTF-8).
                push(0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00));
                p += 6;
            } else {
                push(c);
                p += 3;
            }
        } else if (b >= 0xF0 && b <= 0xF4 && left >= 4 && isContinuation(p[1]) && isContinuation(p[2]) &&
                   isContinuation(p[3])) {
            KS_CHAR c4 =
                ((b & 0x07u) << 18) | ((p[1] & 0x3Fu) << 12) | ((p[2] & 0x3Fu) << 6) | (p[3] & 0x3Fu);
            if (c4 >= 0x10000 && c4 <= kMaxCodePoint) {
                push(c4);
                p += 4;
            } else {
                push(kReplacement);
                p += 1;
            }
        } else {
            push(kReplacement);
            p += 1;
        }
    }
}

void CharBuilder::appendDecimal(KS_INT value)
{
    char digits[24];
    int count = 0;
    // Work on the negative magnitude so that the most negative value is handled too.
    KS_INT rest = value < 0 ? value : -value;
    do {
        digits[count++] = static_cast<char>('0' - rest % 10);
        rest /= 10;
    } while (rest != 0);
    if (value < 0) {
        push('-');
    }
    while (count > 0) {
        push(static_cast<KS_CHAR>(digits[--count]));
    }
}

KS_CHAR* CharBuilder::release()
{
    KS_CHAR* chars = chars_;
    chars_ = nullptr;
    length_ = 0;
    capacity_ = 0;
    return chars;
}

ksString* stringAdopt(KS_CHAR* chars, KS_INT length, KS_INT capacity)
{
    ksString* string;
    try {
        string = static_cast<ksString*>(objCreate(sizeof(ksString), kTypeString));
    } catch (...) {
        // The block belongs to the string from the call on, even when none comes about.
        std::free(chars);
        throw;
    }
    string->length = length;
    string->capacity = capacity;
    string->chars = chars;
    return string;
}

} // namespace ks::detail

using namespace ks::detail;

extern "C" {

ksString* ksStringCreate(void)
{
    return stringAdopt(nullptr, 0, 0);
}

ksString* ksStringCreateFromCstr(const char* text, KS_INT length)
{
    KS_INT bytes = textLength(text, length);
    CharBuilder builder;
    builder.appendUtf8(text, bytes);
    KS_INT count = builder.length();
    KS_INT capacity = builder.capacity();
    return stringAdopt(builder.release(), count, capacity);
}

ksString* ksStringCreateFromCharsUse(KS_CHAR* chars, KS_INT length)
{
    if (length < 0) {
        failCondition(kLengthNonNegative);
    }
    if (chars == nullptr && length != 0) {
        failCondition(kChars);
    }
    if (chars != nullptr) {
        noteBlockTakenBack();
    }
    // The block's real size is unknown; only `length` code points are known to fit.
    return stringAdopt(chars, length, length);
}

ksString* ksStringCreateFromChars(const KS_CHAR* chars, KS_INT length)
{
    if (length < 0) {
        failCondition(kLengthNonNegative);
    }
    if (chars == nullptr && length != 0) {
        failCondition(kChars);
    }
    CharBuilder builder;
    builder.reserve(length);
    builder.append(chars, length);
    KS_INT capacity = builder.capacity();
    return stringAdopt(builder.release(), length, capacity);
}

void ksStringAppendCstr(ksString** string, const char* text, KS_INT length)
{
    if (string == nullptr) {
        failCondition(kStringVariable);
    }
    KS_INT bytes = textLength(text, length);
    ksString* old = *string;
    if (old == nullptr) {
        *string = ksStringCreateFromCstr(text, bytes);
        return;
    }
    CharBuilder tail;
    tail.appendUtf8(text, bytes);
    if (ksObjRefCount(old) > 1) {
        // Another holder sees the old text: the variable gets a string of its own.
        CharBuilder all;
        all.reserve(old->length + tail.length());
        all.append(old->chars, old->length);
        all.append(tail.data(), tail.length());
        KS_INT count = all.length();
        KS_INT capacity = all.capacity();
        *string = stringAdopt(all.release(), count, capacity);
        ksObjRelease(old);
        return;
    }
    KS_INT total = old->length + tail.length();
    if (old->capacity < total) {
        KS_INT capacity = old->capacity * 2 > total ? old->capacity * 2 : total;
        old->chars = static_cast<KS_CHAR*>(blockRealloc(old->chars, capacity, sizeof(KS_CHAR)));
        old->capacity = capacity;
    }
    if (tail.length() > 0) {
        std::memcpy(old->chars + old->length, tail.data(),
                    static_cast<std::size_t>(tail.length()) * sizeof(KS_CHAR));
        old->length = total;
    }
}

char* ksStringConvertToCstr(const ksString* string, int mode, void* reserved)
{
    if (mode != 1) {
        failMessage(kConvertMode);
    }
    if (reserved != nullptr) {
        failMessage(kConvertReserved);
    }
    return toCstr(string, true);
}

char* ksStringToUtf8Cstr(const ksString* string)
{
    return toCstr(string, false);
}

KS_INT ksStringLength(const ksString* string)
{
    if (string == nullptr) {
        failCondition(kStringArg);
    }
    return string->length;
}

const KS_CHAR* ksStringBacking(const ksString* string)
{
    if (string == nullptr) {
        failCondition(kStringArg);
    }
    return string->chars != nullptr ? string->chars : emptyChars;
}

ksString* ksStringFrom(ksObj* obj)
{
    if (obj == nullptr) {
        return nullptr;
    }
    if (obj->type != kTypeString) {
        ksObjRelease(obj);
        return nullptr;
    }
    return reinterpret_cast<ksString*>(obj);
}

} // extern "C"
