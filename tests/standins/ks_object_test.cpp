// Reference counting, raw memory, buffers, vectors and the encapsulation test.
#include "standins_test.hpp"

#include "lg/lg.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

using namespace standins;

namespace
{

TEST(KsRefCount, ReleaseNullIsIgnored)
{
    KS_INT live = ksObjLiveCount();
    ksObjRelease(nullptr);
    EXPECT_EQ(ksObjLiveCount(), live);
}

TEST(KsRefCount, SecondReleaseFreesExactlyOnce)
{
    KS_INT live = ksObjLiveCount();
    ksString* string = ksStringCreate();
    EXPECT_EQ(ksObjRefCount(string), 1);
    EXPECT_EQ(ksObjLiveCount(), live + 1);

    ksObjRetain(string);
    EXPECT_EQ(ksObjRefCount(string), 2);
    ksObjRelease(string);
    EXPECT_EQ(ksObjRefCount(string), 1);
    EXPECT_EQ(ksObjLiveCount(), live + 1) << "count 2 -> 1 must not free";

    ksObjRelease(string);
    EXPECT_EQ(ksObjLiveCount(), live);
}

TEST(KsRefCount, ConcurrentRetainReleaseFreesOnce)
{
    constexpr int kThreads = 8;
    constexpr int kRounds = 200000;
    KS_INT live = ksObjLiveCount();
    ksVector* vector = ksVectorCreate();
    for (int i = 0; i < kThreads; ++i) {
        ksObjRetain(vector); // one reference per thread
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([vector] {
            for (int i = 0; i < kRounds; ++i) {
                ksObjRetain(vector);
                ksObjRelease(vector);
            }
            ksObjRelease(vector);
        });
    }
    // Give up the creator's reference while the threads still run, so that one of them
    // takes the count to zero.
    ksObjRelease(vector);
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ksObjLiveCount(), live);
}

TEST(KsMem, ZeroSizedBlocksAreDistinctAndCounted)
{
    KS_INT count = ksMemAllocCount();
    void* a = ksMemAlloc(0);
    void* b = ksMemAllocN(0, 4);
    void* c = ksMemAllocN(7, 0);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    ASSERT_NE(c, nullptr);
    EXPECT_NE(a, b);
    EXPECT_EQ(ksMemAllocCount(), count + 3);
    ksMemFree(a);
    ksMemFree(b);
    ksMemFree(c);
    ksMemFree(nullptr);
    EXPECT_EQ(ksMemAllocCount(), count + 3) << "freeing hands out nothing";
}

TEST(KsMem, IntMin)
{
    EXPECT_EQ(ksIntMin(3, 5), 3);
    EXPECT_EQ(ksIntMin(5, 3), 3);
    EXPECT_EQ(ksIntMin(-1, 0), -1);
    EXPECT_EQ(ksIntMin(INT64_MIN, INT64_MAX), INT64_MIN);
}

TEST(KsBuffer, CopyAndUse)
{
    KS_INT live = ksObjLiveCount();
    unsigned char source[4] = {1, 2, 3, 4};
    Ref<ksBuffer> copy(ksBufferCreateFromBytesCopy(source, 4));
    source[0] = 9;
    ASSERT_EQ(ksBufferLength(copy.get()), 4);
    EXPECT_NE(ksBufferBacking(copy.get()), source);
    EXPECT_EQ(std::memcmp(ksBufferBacking(copy.get()), "\x01\x02\x03\x04", 4), 0);

    void* block = ksMemAlloc(3);
    std::memcpy(block, "xyz", 3);
    Ref<ksBuffer> used(ksBufferCreateFromBytesUse(block, 3));
    EXPECT_EQ(ksBufferBacking(used.get()), block) << "the block is adopted, not copied";
    EXPECT_EQ(ksBufferLength(used.get()), 3);

    copy.reset();
    used.reset();
    EXPECT_EQ(ksObjLiveCount(), live);
}

TEST(KsBuffer, EmptyBuffersHaveBacking)
{
    Ref<ksBuffer> copied(ksBufferCreateFromBytesCopy(nullptr, 0));
    Ref<ksBuffer> used(ksBufferCreateFromBytesUse(ksMemAlloc(0), 0));
    Ref<ksBuffer> usedNull(ksBufferCreateFromBytesUse(nullptr, 0));
    for (const ksBuffer* buffer : {copied.get(), used.get(), usedNull.get()}) {
        EXPECT_EQ(ksBufferLength(buffer), 0);
        EXPECT_NE(ksBufferBacking(buffer), nullptr);
    }
}

TEST(KsVector, NullElementsAndRetainingAccess)
{
    KS_INT live = ksObjLiveCount();
    Ref<ksVector> vector(ksVectorCreate());
    StringRef a = str("a");
    StringRef b = str("b");
    ksVectorAppend(vector.get(), a.get());
    ksVectorAppend(vector.get(), nullptr);
    ksVectorAppend(vector.get(), b.get());
    for (int i = 0; i < 10; ++i) { // past the first growth of the element block
        ksVectorAppend(vector.get(), a.get());
    }
    ASSERT_EQ(ksVectorLength(vector.get()), 13);
    EXPECT_EQ(ksObjRefCount(a.get()), 12);
    EXPECT_EQ(ksObjRefCount(b.get()), 2);

    EXPECT_EQ(ksVectorObjAt(vector.get(), 1), nullptr);
    Ref<ksObj> first(ksVectorObjAt(vector.get(), 0));
    EXPECT_EQ(first.get(), reinterpret_cast<ksObj*>(a.get()));
    EXPECT_EQ(ksObjRefCount(a.get()), 13) << "ksVectorObjAt hands out a new reference";

    // The reading pattern of the bridges: one reference in, one out.
    StringRef second(ksStringFrom(ksVectorObjAt(vector.get(), 2)));
    EXPECT_EQ(utf8(second.get()), "b");
    EXPECT_EQ(ksObjRefCount(b.get()), 3);
    second.reset();
    first.reset();

    vector.reset();
    EXPECT_EQ(ksObjRefCount(a.get()), 1) << "freeing the vector releases its elements";
    EXPECT_EQ(ksObjRefCount(b.get()), 1);
    a.reset();
    b.reset();
    EXPECT_EQ(ksObjLiveCount(), live);
}

TEST(KsStringFrom, PassesStringsAndReleasesOthers)
{
    KS_INT live = ksObjLiveCount();
    EXPECT_EQ(ksStringFrom(nullptr), nullptr);

    ksString* string = ksStringCreate();
    EXPECT_EQ(ksStringFrom(reinterpret_cast<ksObj*>(string)), string);
    EXPECT_EQ(ksObjRefCount(string), 1) << "the reference is passed on, not added to";
    ksObjRelease(string);

    ksBuffer* buffer = ksBufferCreateFromBytesCopy("x", 1);
    EXPECT_EQ(ksStringFrom(reinterpret_cast<ksObj*>(buffer)), nullptr);
    EXPECT_EQ(ksObjLiveCount(), live) << "a non-string is released";
}

TEST(KsExecCheck, KnowsTheModuleOfAnAddress)
{
    Ref<ksBuffer> empty(ksBufferCreateFromBytesCopy(nullptr, 0));
    StringRef emptyString(ksStringCreate());
    int local = 0;
    struct Row {
        const char* what;
        const void* address;
        const char* module;
        KS_BOOL expected;
    };
    const Row rows[] = {
        {"ks data", ksBufferBacking(empty.get()), "ks", KS_TRUE},
        {"ks data", ksStringBacking(emptyString.get()), "ks", KS_TRUE},
        {"ks code", reinterpret_cast<const void*>(&ksIntMin), "ks", KS_TRUE},
        {"ks data", ksBufferBacking(empty.get()), "lg", KS_FALSE},
        {"ks data", ksBufferBacking(empty.get()), "k", KS_FALSE},
        {"ks data", ksBufferBacking(empty.get()), "ks.so", KS_FALSE},
        {"ks data", ksBufferBacking(empty.get()), "", KS_FALSE},
        {"lg code", reinterpret_cast<const void*>(&lgStreamCreate), "lg", KS_TRUE},
        {"lg code", reinterpret_cast<const void*>(&lgStreamCreate), "ks", KS_FALSE},
        {"stack", &local, "ks", KS_FALSE},
        {"NULL address", nullptr, "ks", KS_FALSE},
        {"NULL module", ksBufferBacking(empty.get()), nullptr, KS_FALSE},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(ks___ExecCheckEncapsulated(row.address, row.module), row.expected)
            << row.what << " in " << (row.module != nullptr ? row.module : "(null)");
    }
}

} // namespace
