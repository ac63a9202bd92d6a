#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <thread>
#include <vector>

#include "rng/stream.h"
#include "rng_test.h"

namespace {

using korb::rng::shared_table_count;
using korb::test::draw_ints;
using korb::test::make_stream;
using korb::test::Stream;

void *block(uint32_t size, unsigned char fill) {
    void *p = korbMalloc(size, 64);
    std::memset(p, fill, size);
    return p;
}

std::vector<uint32_t> chunk_keys(const BixStream *s) {
    std::vector<uint32_t> keys;
    for (const BixChunk *c = s->chunks; c != nullptr; c = c->next) keys.push_back(c->key);
    return keys;
}

TEST(Streams, AbstractIdsAreRefusedBeforeValidation) {
    const long live = korb_serv_live_blocks();
    for (int id : {BIX_BRNG_IABSTRACT, BIX_BRNG_DABSTRACT, BIX_BRNG_SABSTRACT, 0xB00001}) {
        BixStream *s = nullptr;
        EXPECT_EQ(__bixNewStreamEx(&s, id, 0, nullptr), BIX_ERROR_INVALID_BRNG) << id;
        EXPECT_EQ(s, nullptr);
    }
    BixStream *s = nullptr;
    EXPECT_EQ(__bixNewStreamEx(&s, 279, 0, nullptr), BIX_ERROR_INVALID_BRNG);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

TEST(Streams, FailedInitialiserLeavesTheStreamToTheCaller) {
    BixStream *s = nullptr;
    const uint32_t too_wide = BIX_SOBOL_MAX_DIM + 1;
    EXPECT_EQ(__bixNewStreamEx(&s, BIX_BRNG_SOBOL, 1, &too_wide), BIX_ERROR_BADARGS);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->brng, BIX_BRNG_SOBOL);
    double d[1];
    EXPECT_EQ(__RegBrngsNew[5].dGen(s, 1, d, 0, 1), BIX_ERROR_BADARGS);  // never seeded
    EXPECT_EQ(__bixDeleteStream(&s), BIX_ERROR_OK);
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(__bixDeleteStream(&s), BIX_ERROR_OK);
}

TEST(Streams, LegacyIdsMakeStreamsOfTheirRow) {
    Stream s = make_stream(0, 5);  // legacy MCG31M1
    ASSERT_TRUE(s);
    EXPECT_EQ(__bixGetStreamStateBrng(s.get()), 0);
    EXPECT_EQ(draw_ints(s.get(), 1)[0], 5u);
    Stream copy;
    BixStream *c = nullptr;
    ASSERT_EQ(__bixCopyStream(&c, s.get()), BIX_ERROR_OK);
    copy.reset(c);
    EXPECT_EQ(c->brng, 0);
}

TEST(Streams, LeapfrogRefusesNegativeStreamCounts) {
    Stream s = make_stream(BIX_BRNG_MCG31M1, 9);
    EXPECT_EQ(__bixLeapfrogStream(s.get(), 0, -1), BIX_ERROR_LEAPFROG_NSTREAMS_TOO_BIG);
    EXPECT_EQ(__bixLeapfrogStream(s.get(), 0, INT32_MIN), BIX_ERROR_LEAPFROG_NSTREAMS_TOO_BIG);
    // nstreams = 0 reaches the generator: the multiplier becomes a^0 = 1.
    EXPECT_EQ(__bixLeapfrogStream(s.get(), 0, 0), BIX_ERROR_OK);
    EXPECT_EQ(draw_ints(s.get(), 3), (std::vector<uint32_t>{9, 9, 9}));
}

TEST(Streams, SavedSizeCountsStateAndChunks) {
    Stream s = make_stream(BIX_BRNG_MCG31M1, 1);
    EXPECT_EQ(__bixGetStreamSize(s.get()), 28);
    ASSERT_EQ(__bixAddChunk(s.get(), 1, nullptr, block(10, 1), 10), BIX_ERROR_OK);
    ASSERT_EQ(__bixAddChunk(s.get(), 2, nullptr, block(100, 2), 100), BIX_ERROR_OK);
    EXPECT_EQ(__bixGetStreamSize(s.get()), 28 + 34 + 124);
}

TEST(Streams, CopyReversesTheChunkList) {
    Stream s = make_stream(BIX_BRNG_MCG31M1, 3);
    ASSERT_EQ(__bixAddChunk(s.get(), 'B', nullptr, block(8, 'b'), 8), BIX_ERROR_OK);
    ASSERT_EQ(__bixAddChunk(s.get(), 'A', nullptr, block(4, 'a'), 4), BIX_ERROR_OK);
    ASSERT_EQ(chunk_keys(s.get()), (std::vector<uint32_t>{'A', 'B'}));

    BixStream *c = nullptr;
    ASSERT_EQ(__bixCopyStream(&c, s.get()), BIX_ERROR_OK);
    Stream copy(c);
    EXPECT_EQ(chunk_keys(c), (std::vector<uint32_t>{'B', 'A'}));
    void *a = __bixSearchChunk(c, 'A');
    ASSERT_NE(a, nullptr);
    EXPECT_NE(a, __bixSearchChunk(s.get(), 'A'));  // private data is duplicated
    EXPECT_EQ(std::memcmp(a, "aaaa", 4), 0);
    EXPECT_EQ(__bixSearchChunk(c, 'C'), nullptr);
    EXPECT_EQ(__bixGetNumChunks(c), 2);
    EXPECT_EQ(draw_ints(c, 4), draw_ints(s.get(), 4));
}

TEST(Streams, CopyStateReplacesStateAndChunksButNotTheId) {
    Stream src = make_stream(BIX_BRNG_MCG31M1, 11);
    Stream dst = make_stream(0, 12);
    ASSERT_EQ(__bixAddChunk(src.get(), 7, nullptr, block(4, 7), 4), BIX_ERROR_OK);
    ASSERT_EQ(__bixAddChunk(dst.get(), 8, nullptr, block(4, 8), 4), BIX_ERROR_OK);
    ASSERT_EQ(__bixCopyStreamState(dst.get(), src.get()), BIX_ERROR_OK);
    EXPECT_EQ(dst->brng, 0);
    EXPECT_EQ(chunk_keys(dst.get()), (std::vector<uint32_t>{7}));
    EXPECT_EQ(draw_ints(dst.get(), 3), draw_ints(src.get(), 3));

    EXPECT_EQ(__bixCopyStreamState(src.get(), src.get()), BIX_ERROR_OK);
    EXPECT_EQ(chunk_keys(src.get()), (std::vector<uint32_t>{7}));
}

TEST(Streams, CopyStateStaysInsideBothRecords) {
    // Wichmann-Hill declares 64 bytes of words but holds 32; MT19937 holds far more than
    // MCG31M1.
    BixStream *wh1 = nullptr, *wh2 = nullptr, *mt = nullptr;
    __bixNewStreamEx(&wh1, BIX_BRNG_WH, 0, nullptr);
    __bixNewStreamEx(&wh2, BIX_BRNG_WH + 3, 0, nullptr);
    __bixNewStreamEx(&mt, BIX_BRNG_MT19937, 0, nullptr);
    Stream a(wh1), b(wh2), m(mt);
    std::memset(korb::rng::state_of<unsigned char>(wh2), 0x5A, 32);
    EXPECT_EQ(__bixCopyStreamState(wh1, wh2), BIX_ERROR_OK);
    EXPECT_EQ(korb::rng::state_of<unsigned char>(wh1)[31], 0x5A);
    Stream small = make_stream(BIX_BRNG_MCG31M1, 1);
    EXPECT_EQ(__bixCopyStreamState(small.get(), mt), BIX_ERROR_OK);
}

TEST(Streams, FailedAllocationsReturnMemFailureAndLeakNothing) {
    korb::test::sweep_allocation_failures([] {
        BixStream *s = nullptr;
        const uint32_t seed = 1;
        int status = __bixNewStreamEx(&s, BIX_BRNG_MCG31M1, 1, &seed);
        if (status != BIX_ERROR_OK) {
            EXPECT_EQ(s, nullptr);
            return status;
        }
        Stream owned(s);
        return __bixAddChunk(s, 1, nullptr, nullptr, 0);
    });

    Stream src = make_stream(BIX_BRNG_MCG31M1, 1);
    const uint64_t id[2] = {0xC0FFEE, 1};
    ASSERT_EQ(__bixAddChunk(src.get(), 1, nullptr, block(16, 1), 16), BIX_ERROR_OK);
    ASSERT_EQ(__bixAddChunk(src.get(), 2, id, block(16, 2), 16), BIX_ERROR_OK);
    ASSERT_EQ(__bixAddChunk(src.get(), 3, nullptr, block(16, 3), 16), BIX_ERROR_OK);
    BixGlobRODataEntry *e = nullptr;
    ASSERT_EQ(__bixFindGlobRODataTableEntry(&e, id), BIX_ERROR_OK);

    korb::test::sweep_allocation_failures([&] {
        BixStream *c = nullptr;
        int status = __bixCopyStream(&c, src.get());
        Stream owned(c);
        if (c != nullptr && status != BIX_ERROR_OK) {
            EXPECT_EQ(c->chunks, nullptr);
        }
        EXPECT_EQ(e->refCount, status == BIX_ERROR_OK ? 2u : 1u);
        return status;
    });
    korb::test::sweep_allocation_failures([&] {
        BixStream *d = nullptr;
        const uint32_t seed = 2;
        int status = __bixNewStreamEx(&d, BIX_BRNG_MCG31M1, 1, &seed);
        if (status != BIX_ERROR_OK) return status;
        Stream dst(d);
        status = __bixCopyStreamState(dst.get(), src.get());
        if (status != BIX_ERROR_OK) {
            EXPECT_EQ(dst->chunks, nullptr);
        }
        return status;
    });
    EXPECT_EQ(e->refCount, 1u);
}

TEST(SharedTable, ChunksWithTheSameIdShareOneBlock) {
    const int entries = shared_table_count();
    const long live = korb_serv_live_blocks();
    const uint64_t id[2] = {42, 43};
    BixStream *s1 = make_stream(BIX_BRNG_MCG31M1, 1).release();
    BixStream *s2 = make_stream(BIX_BRNG_MCG31M1, 2).release();
    void *d1 = block(32, 1);
    ASSERT_EQ(__bixAddChunk(s1, 9, id, d1, 32), BIX_ERROR_OK);
    ASSERT_EQ(__bixAddChunk(s2, 9, id, block(32, 2), 32), BIX_ERROR_OK);
    EXPECT_EQ(shared_table_count(), entries + 1);
    EXPECT_EQ(__bixSearchChunk(s2, 9), d1);  // the second block was released
    EXPECT_EQ(korb_serv_live_blocks(), live + 2 + 1 + 2);

    BixGlobRODataEntry *e = nullptr;
    ASSERT_EQ(__bixFindGlobRODataTableEntry(&e, id), BIX_ERROR_OK);
    EXPECT_EQ(e->refCount, 2u);
    EXPECT_EQ(e->data, d1);

    __bixDeleteStream(&s1);
    EXPECT_EQ(shared_table_count(), entries + 1);
    EXPECT_EQ(std::memcmp(__bixSearchChunk(s2, 9), std::vector<char>(32, 1).data(), 32), 0);
    __bixDeleteStream(&s2);
    EXPECT_EQ(shared_table_count(), entries);
    EXPECT_EQ(__bixFindGlobRODataTableEntry(&e, id), BIX_ERROR_GLOBAL_DATA_NOT_FOUND);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

TEST(SharedTable, LookupsRefuseMissingAndZeroIds) {
    BixGlobRODataEntry *e = nullptr;
    const uint64_t zero[2] = {0, 0};
    const uint64_t missing[2] = {1, 0xDEAD};
    EXPECT_EQ(__bixFindGlobRODataTableEntry(&e, nullptr), BIX_ERROR_GLOBAL_DATA_NOT_FOUND);
    EXPECT_EQ(__bixFindGlobRODataTableEntry(&e, zero), BIX_ERROR_GLOBAL_DATA_NOT_FOUND);
    EXPECT_EQ(__bixFindGlobRODataTableEntry(&e, missing), BIX_ERROR_GLOBAL_DATA_NOT_FOUND);
    EXPECT_EQ(__bixCreateGlobRODataTableEntry(&e, zero, nullptr), BIX_ERROR_GLOBAL_DATA_NOT_FOUND);
    EXPECT_EQ(e, nullptr);

    // A chunk with id (0, 0) is private.
    Stream s = make_stream(BIX_BRNG_MCG31M1, 1);
    const int entries = shared_table_count();
    ASSERT_EQ(__bixAddChunk(s.get(), 1, zero, block(4, 0), 4), BIX_ERROR_OK);
    EXPECT_EQ(shared_table_count(), entries);
}

TEST(SharedTable, LimitsOf127ForChunksAnd128ForEntries) {
    ASSERT_EQ(shared_table_count(), 0);
    std::vector<std::array<uint64_t, 2>> ids;
    BixGlobRODataEntry *e = nullptr;
    for (uint64_t i = 1; i <= 127; ++i) {
        ids.push_back({i, 77});
        ASSERT_EQ(__bixCreateGlobRODataTableEntry(&e, ids.back().data(), block(8, 0)),
                  BIX_ERROR_OK);
        EXPECT_EQ(e->refCount, 1u);
    }
    // A chunk with a new id no longer enters the table: it becomes private.
    Stream s = make_stream(BIX_BRNG_MCG31M1, 1);
    const uint64_t fresh[2] = {1000, 77};
    ASSERT_EQ(__bixAddChunk(s.get(), 5, fresh, block(8, 0), 8), BIX_ERROR_OK);
    EXPECT_EQ(shared_table_count(), 127);
    EXPECT_EQ(s->chunks->globalId[0], 0u);
    EXPECT_EQ(s->chunks->globalId[1], 0u);
    // A chunk whose id is in the table still shares it.
    ASSERT_EQ(__bixAddChunk(s.get(), 6, ids[3].data(), block(8, 0), 8), BIX_ERROR_OK);
    ASSERT_EQ(__bixFindGlobRODataTableEntry(&e, ids[3].data()), BIX_ERROR_OK);
    EXPECT_EQ(e->refCount, 2u);

    ids.push_back({128, 77});
    EXPECT_EQ(__bixCreateGlobRODataTableEntry(&e, ids.back().data(), block(8, 0)), BIX_ERROR_OK);
    const uint64_t one_more[2] = {129, 77};
    void *spare = block(8, 0);
    EXPECT_EQ(__bixCreateGlobRODataTableEntry(&e, one_more, spare),
              BIX_ERROR_GLOBAL_DATA_TABLE_FULL);
    korbFree(spare);

    // Removal moves the last entry into the freed slot.
    BixGlobRODataEntry *first = nullptr;
    ASSERT_EQ(__bixFindGlobRODataTableEntry(&first, ids[0].data()), BIX_ERROR_OK);
    __bixUnregisterGlobRODataReference(ids[0].data());
    ASSERT_EQ(__bixFindGlobRODataTableEntry(&e, ids.back().data()), BIX_ERROR_OK);
    EXPECT_EQ(e, first);
    EXPECT_EQ(shared_table_count(), 127);

    s.reset();
    for (size_t i = 1; i < ids.size(); ++i) __bixUnregisterGlobRODataReference(ids[i].data());
    EXPECT_EQ(shared_table_count(), 0);
}

TEST(SharedTable, ReferencesAndNewIds) {
    const uint64_t id[2] = {5, 6};
    BixGlobRODataEntry *e = nullptr;
    void *data = block(8, 3);
    ASSERT_EQ(__bixCreateGlobRODataTableEntry(&e, id, data), BIX_ERROR_OK);
    BixChunk chunk{};
    __bixRegisterGlobRODataReference(&chunk, id);
    EXPECT_EQ(chunk.data, data);
    EXPECT_EQ(e->refCount, 2u);

    uint64_t fresh[2] = {};
    EXPECT_EQ(__bixGenerateNewGlobalRODataTableEntryId(fresh, 6), BIX_ERROR_OK);
    EXPECT_EQ(fresh[1], 6u);
    EXPECT_EQ(__bixFindGlobRODataTableEntry(&e, fresh), BIX_ERROR_GLOBAL_DATA_NOT_FOUND);

    const int entries = shared_table_count();
    __bixUnregisterGlobRODataReference(id);
    EXPECT_EQ(shared_table_count(), entries);
    __bixUnregisterGlobRODataReference(id);
    EXPECT_EQ(shared_table_count(), entries - 1);
}

// Threads attaching and releasing chunks of the same ids: the lock keeps the counts exact.
TEST(SharedTable, ConcurrentSharingKeepsCountsExact) {
    const uint64_t ids[2][2] = {{900, 1}, {901, 1}};
    auto worker = [&](int seed) {
        for (int i = 0; i < 2000; ++i) {
            BixStream *s = make_stream(BIX_BRNG_MCG31M1, static_cast<uint32_t>(seed)).release();
            EXPECT_EQ(__bixAddChunk(s, 1, ids[i % 2], block(16, 1), 16), BIX_ERROR_OK);
            BixStream *c = nullptr;
            EXPECT_EQ(__bixCopyStream(&c, s), BIX_ERROR_OK);
            __bixDeleteStream(&s);
            __bixDeleteStream(&c);
        }
    };
    const int entries = shared_table_count();
    const long live = korb_serv_live_blocks();
    std::thread a(worker, 1), b(worker, 2);
    worker(3);
    a.join();
    b.join();
    EXPECT_EQ(shared_table_count(), entries);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

}  // namespace

namespace {

// A chunk that names a shared id with a size other than the entry's block stays private: it
// keeps its own data and gets globalId (0, 0), so that saving, copying or loading it never reads
// the shared block past its end, and the entry's references stay as they were.
TEST(SharedTable, AnIdWithAnotherSizeMakesAPrivateChunk) {
    const long live = korb_serv_live_blocks();
    const uint64_t id[2] = {0xB10C, 32};
    Stream s1 = make_stream(BIX_BRNG_MCG31M1, 1);
    void *shared = block(32, 1);
    ASSERT_EQ(__bixAddChunk(s1.get(), 4, id, shared, 32), BIX_ERROR_OK);
    BixGlobRODataEntry *e = nullptr;
    ASSERT_EQ(__bixFindGlobRODataTableEntry(&e, id), BIX_ERROR_OK);

    for (uint32_t size : {1000u, 16u, 0u}) {
        Stream s2 = make_stream(BIX_BRNG_MCG31M1, 2);
        void *own = block(size, 2);
        ASSERT_EQ(__bixAddChunk(s2.get(), 4, id, own, size), BIX_ERROR_OK);
        EXPECT_EQ(s2->chunks->data, own) << size;
        EXPECT_EQ(s2->chunks->globalId[0], 0u);
        EXPECT_EQ(s2->chunks->globalId[1], 0u);
        EXPECT_EQ(e->refCount, 1u);

        // Saved, loaded and copied, it carries its own bytes and nothing of the shared block.
        std::vector<char> image(static_cast<size_t>(__bixGetStreamSize(s2.get())));
        EXPECT_EQ(image.size(), 28u + 24 + size);
        ASSERT_EQ(__bixSaveStreamM(s2.get(), image.data()), BIX_ERROR_OK);
        BixStream *loaded = nullptr;
        ASSERT_EQ(__bixLoadStreamM(&loaded, image.data()), BIX_ERROR_OK);
        EXPECT_EQ(std::memcmp(__bixSearchChunk(loaded, 4), own, size), 0);
        BixStream *copy = nullptr;
        ASSERT_EQ(__bixCopyStream(&copy, s2.get()), BIX_ERROR_OK);
        EXPECT_NE(__bixSearchChunk(copy, 4), own);
        EXPECT_EQ(std::memcmp(__bixSearchChunk(copy, 4), own, size), 0);
        EXPECT_EQ(e->refCount, 1u);
        __bixDeleteStream(&copy);
        __bixDeleteStream(&loaded);
    }
    EXPECT_EQ(shared_table_count(), 1);
    s1.reset();
    EXPECT_EQ(shared_table_count(), 0);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

// An image that names an id another stream shares with a smaller block: before, the loaded chunk
// took the small block and claimed the image's larger size.
TEST(SharedTable, LoadingAnImageWithAnotherSizeForAHeldId) {
    const long live = korb_serv_live_blocks();
    const uint64_t id[2] = {0xB10C, 64};
    Stream big = make_stream(BIX_BRNG_MCG31M1, 3);
    ASSERT_EQ(__bixAddChunk(big.get(), 8, id, block(256, 9), 256), BIX_ERROR_OK);
    std::vector<char> image(static_cast<size_t>(__bixGetStreamSize(big.get())));
    ASSERT_EQ(__bixSaveStreamM(big.get(), image.data()), BIX_ERROR_OK);
    big.reset();  // the entry goes with its only holder

    Stream small = make_stream(BIX_BRNG_MCG31M1, 4);
    void *small_block = block(8, 5);
    ASSERT_EQ(__bixAddChunk(small.get(), 8, id, small_block, 8), BIX_ERROR_OK);
    BixStream *loaded = nullptr;
    ASSERT_EQ(__bixLoadStreamM(&loaded, image.data()), BIX_ERROR_OK);
    EXPECT_NE(__bixSearchChunk(loaded, 8), small_block);
    EXPECT_EQ(std::memcmp(__bixSearchChunk(loaded, 8), std::vector<char>(256, 9).data(), 256), 0);
    std::vector<char> again(static_cast<size_t>(__bixGetStreamSize(loaded)));
    EXPECT_EQ(__bixSaveStreamM(loaded, again.data()), BIX_ERROR_OK);
    __bixDeleteStream(&loaded);
    small.reset();
    EXPECT_EQ(shared_table_count(), 0);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

// An entry made directly is told no size: the first chunk that refers to it sets it, and later
// chunks of another size stay private; a reference of another size is not taken.
TEST(SharedTable, DirectEntriesTakeTheirFirstChunksSize) {
    const long live = korb_serv_live_blocks();
    const uint64_t id[2] = {0xD1, 0xEC7};
    BixGlobRODataEntry *e = nullptr;
    void *data = block(24, 6);
    ASSERT_EQ(__bixCreateGlobRODataTableEntry(&e, id, data), BIX_ERROR_OK);
    Stream s = make_stream(BIX_BRNG_MCG31M1, 5);
    ASSERT_EQ(__bixAddChunk(s.get(), 1, id, block(24, 0), 24), BIX_ERROR_OK);
    EXPECT_EQ(__bixSearchChunk(s.get(), 1), data);
    void *other = block(48, 0);
    ASSERT_EQ(__bixAddChunk(s.get(), 2, id, other, 48), BIX_ERROR_OK);
    EXPECT_EQ(__bixSearchChunk(s.get(), 2), other);
    BixChunk chunk{};
    chunk.size = 12;
    __bixRegisterGlobRODataReference(&chunk, id);
    EXPECT_EQ(chunk.data, nullptr);
    EXPECT_EQ(chunk.globalId[0], 0u);
    chunk.size = 24;
    __bixRegisterGlobRODataReference(&chunk, id);
    EXPECT_EQ(chunk.data, data);
    EXPECT_EQ(e->refCount, 3u);
    __bixUnregisterGlobRODataReference(id);  // the reference the bare chunk took
    __bixUnregisterGlobRODataReference(id);  // the creator's
    s.reset();
    EXPECT_EQ(shared_table_count(), 0);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

}  // namespace
