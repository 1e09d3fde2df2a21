// Object headers, the live-object count, freeing by type, buffers and vectors.
#include "ks_internal.hpp"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace ks::detail
{
namespace
{

constexpr const char* kObjectPath = "source/ks/ks_object";

constexpr Check kFreeObj{kObjectPath, 30, "obj"};
constexpr Check kFreeUnknownType{kObjectPath, 31, "ks___ObjFree: unknown object type"};
constexpr Check kBufferLengthNonNegative{kObjectPath, 60, "length >= 0"};
constexpr Check kBufferBytes{kObjectPath, 61, "bytes != NULL || length == 0"};
constexpr Check kBufferArg{kObjectPath, 62, "buffer"};
constexpr Check kVectorArg{kObjectPath, 80, "vector"};
constexpr Check kVectorIndex{kObjectPath, 81, "index >= 0 && index < ksVectorLength(vector)"};

std::atomic<KS_INT> liveObjects{0};

// Backing of every empty buffer: callers may take its address but read no byte.
unsigned char emptyBytes[1];

ksBuffer* bufferAdopt(unsigned char* bytes, KS_INT length)
{
    auto* buffer = static_cast<ksBuffer*>(objCreate(sizeof(ksBuffer), kTypeBuffer));
    buffer->length = length;
    buffer->bytes = bytes;
    return buffer;
}

void checkBufferArgs(const void* bytes, KS_INT length)
{
    if (length < 0) {
        failCondition(kBufferLengthNonNegative);
    }
    if (bytes == nullptr && length != 0) {
        failCondition(kBufferBytes);
    }
}

} // namespace

void* objCreate(KS_INT size, Type type)
{
    auto* obj = static_cast<ksObj*>(blockAlloc(size));
    std::memset(static_cast<void*>(obj), 0, static_cast<std::size_t>(size));
    obj->refCount = 1;
    obj->type = type;
    liveObjects.fetch_add(1, std::memory_order_relaxed);
    return obj;
}

} // namespace ks::detail

using namespace ks::detail;

extern "C" {

void ks___ObjFree(ksObj* obj)
{
    if (obj == nullptr) {
        failCondition(kFreeObj);
    }
    switch (obj->type) {
    case kTypeString: {
        auto* string = reinterpret_cast<ksString*>(obj);
        std::free(string->chars);
        break;
    }
    case kTypeBuffer: {
        auto* buffer = reinterpret_cast<ksBuffer*>(obj);
        std::free(buffer->bytes);
        break;
    }
    case kTypeVector: {
        auto* vector = reinterpret_cast<ksVector*>(obj);
        for (KS_INT i = 0; i < vector->length; ++i) {
            ksObjRelease(vector->elements[i]);
        }
        std::free(vector->elements);
        break;
    }
    default:
        failMessage(kFreeUnknownType);
    }
    std::free(obj);
    liveObjects.fetch_sub(1, std::memory_order_relaxed);
}

KS_INT ksObjLiveCount(void)
{
    return liveObjects.load(std::memory_order_relaxed);
}

ksBuffer* ksBufferCreateFromBytesCopy(const void* bytes, KS_INT length)
{
    checkBufferArgs(bytes, length);
    unsigned char* copy = nullptr;
    if (length > 0) {
        copy = static_cast<unsigned char*>(blockAlloc(length));
        std::memcpy(copy, bytes, static_cast<std::size_t>(length));
    }
    return bufferAdopt(copy, length);
}

ksBuffer* ksBufferCreateFromBytesUse(void* bytes, KS_INT length)
{
    checkBufferArgs(bytes, length);
    if (bytes != nullptr) {
        noteBlockTakenBack();
    }
    return bufferAdopt(static_cast<unsigned char*>(bytes), length);
}

KS_INT ksBufferLength(const ksBuffer* buffer)
{
    if (buffer == nullptr) {
        failCondition(kBufferArg);
    }
    return buffer->length;
}

const void* ksBufferBacking(const ksBuffer* buffer)
{
    if (buffer == nullptr) {
        failCondition(kBufferArg);
    }
    return buffer->bytes != nullptr ? buffer->bytes : emptyBytes;
}

ksVector* ksVectorCreate(void)
{
    return static_cast<ksVector*>(objCreate(sizeof(ksVector), kTypeVector));
}

void ksVectorAppend(ksVector* vector, void* obj)
{
    if (vector == nullptr) {
        failCondition(kVectorArg);
    }
    if (vector->length == vector->capacity) {
        KS_INT capacity = vector->capacity < 4 ? 4 : vector->capacity * 2;
        vector->elements = static_cast<ksObj**>(blockRealloc(vector->elements, capacity, sizeof(ksObj*)));
        vector->capacity = capacity;
    }
    if (obj != nullptr) {
        ksObjRetain(obj);
    }
    vector->elements[vector->length++] = static_cast<ksObj*>(obj);
}

KS_INT ksVectorLength(const ksVector* vector)
{
    if (vector == nullptr) {
        failCondition(kVectorArg);
    }
    return vector->length;
}

ksObj* ksVectorObjAt(const ksVector* vector, KS_INT index)
{
    if (vector == nullptr) {
        failCondition(kVectorArg);
    }
    if (index < 0 || index >= vector->length) {
        failCondition(kVectorIndex);
    }
    ksObj* obj = vector->elements[index];
    if (obj != nullptr) {
        ksObjRetain(obj);
    }
    return obj;
}

} // extern "C"
