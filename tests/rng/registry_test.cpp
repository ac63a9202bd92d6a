// The registry: the rows of the generator list, id decoding, stream allocation, registration.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "rng/generators.h"
#include "rng_test.h"

namespace {

using korb::rng::GeneratorInfo;
using korb::rng::kGenerators;
using korb::test::Stream;

bool same_row(const BrngProperties &a, const BrngProperties &b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Every generator of the list has its row at its id with its member count, and the legacy ids
// of the list's generators name the same rows.
TEST(Registry, RowsFollowTheGeneratorList) {
    EXPECT_EQ(__bixGetNumRegBrngs(), BIX_NUM_BUILTIN_BRNGS);
    for (const GeneratorInfo &g : kGenerators) {
        SCOPED_TRACE(g.name);
        BrngProperties p{};
        ASSERT_EQ(__bixGetBrngProperties(g.id + g.members - 1, &p), BIX_ERROR_OK);
        EXPECT_TRUE(p.initStream && p.sGen && p.dGen && p.iGen);
        EXPECT_TRUE(same_row(p, __RegBrngsNew[g.id / BIX_BRNG_INC - 1]));
        EXPECT_EQ(__bixGetBrngProperties(g.id + g.members, &p), BIX_ERROR_INVALID_BRNG);
        for (int m = 0; g.legacy >= 0 && m < g.members; ++m) {
            ASSERT_TRUE(same_row(__RegBrngs[g.legacy + m], p)) << "legacy id " << g.legacy + m;
        }
    }
    BrngProperties p{};
    // The row after the list's is free until a registration takes it.
    EXPECT_EQ(__bixGetBrngProperties((BIX_NUM_BUILTIN_BRNGS + 1) * BIX_BRNG_INC, &p),
              BIX_ERROR_INVALID_BRNG);
    EXPECT_EQ(__bixGetBrngProperties(BIX_BRNG_MCG31M1, nullptr), BIX_ERROR_NULL_PTR);
}

// A row's word size is what its iGen writes: n words fill n * wordSize bytes and not one more.
TEST(Registry, IntegerOutputFillsTheRowsWordSize) {
    for (const GeneratorInfo &g : kGenerators) {
        if (!g.generates()) continue;
        SCOPED_TRACE(g.name);
        BrngProperties p{};
        ASSERT_EQ(__bixGetBrngProperties(g.id, &p), BIX_ERROR_OK);
        constexpr int n = 9;
        const size_t used = n * static_cast<size_t>(p.wordSize) / 4;
        std::vector<uint32_t> first, second;
        for (uint32_t fill : {0u, 0xFFFFFFFFu}) {
            Stream s = korb::test::make_stream(g.id, 3);
            std::vector<uint32_t> r(used + 4, fill);
            ASSERT_EQ(p.iGen(s.get(), n, r.data()), BIX_ERROR_OK);
            for (size_t k = used; k < r.size(); ++k) ASSERT_EQ(r[k], fill) << k;
            (fill == 0 ? first : second) = std::vector<uint32_t>(r.begin(), r.begin() + used);
        }
        EXPECT_EQ(first, second) << "every element of the n words written";
    }
}

TEST(Registry, DecodesCurrentAndLegacyIds) {
    int row = -1, member = -1;
    EXPECT_EQ(__bixGetBrngBaseOffset(BIX_BRNG_WH + 7, &row, &member), __RegBrngsNew);
    EXPECT_EQ(row, 4);
    EXPECT_EQ(member, 7);

    EXPECT_EQ(__bixGetBrngBaseOffset(10, &row, &member), __RegBrngs);
    EXPECT_EQ(row, 4);
    EXPECT_EQ(member, 6);
    EXPECT_EQ(__bixIsBrngValid(__RegBrngs, row, member), BIX_ERROR_OK);

    EXPECT_EQ(__bixGetBrngBaseOffset(277, &row, &member), __RegBrngs);
    EXPECT_EQ(row, 277);
    BrngProperties p{};
    ASSERT_EQ(__bixGetBrngProperties(277, &p), BIX_ERROR_OK);
    EXPECT_TRUE(same_row(p, __RegBrngsNew[BIX_BRNG_SOBOL / BIX_BRNG_INC - 1]));
    ASSERT_EQ(__bixGetBrngProperties(278, &p), BIX_ERROR_OK);
    EXPECT_TRUE(same_row(p, __RegBrngsNew[BIX_BRNG_NIEDERR / BIX_BRNG_INC - 1]));
    EXPECT_EQ(__bixGetBrngProperties(279, &p), BIX_ERROR_INVALID_BRNG);
    EXPECT_EQ(__bixGetBrngProperties(-1, &p), BIX_ERROR_INVALID_BRNG);
    EXPECT_EQ(__bixGetBrngProperties(INT32_MIN, &p), BIX_ERROR_INVALID_BRNG);

    // The legacy check ignores the member; the current one does not.
    EXPECT_EQ(__bixIsBrngValid(__RegBrngs, 0, 99), BIX_ERROR_OK);
    EXPECT_EQ(__bixIsBrngValid(__RegBrngsNew, 0, 1), BIX_ERROR_INVALID_BRNG);
    EXPECT_EQ(__bixIsBrngValid(__RegBrngsNew, 0, -1), BIX_ERROR_INVALID_BRNG);
    EXPECT_EQ(__bixIsBrngValid(__RegBrngsNew, BIX_NUM_BUILTIN_BRNGS, 0), BIX_ERROR_INVALID_BRNG);
}

TEST(Registry, AllocatesStreamsOfValidRowsOnly) {
    const long live = korb_serv_live_blocks();
    BixStream *s = reinterpret_cast<BixStream *>(0x1);
    int row = 0, member = 0;
    const BrngProperties *t = __bixGetBrngBaseOffset(BIX_BRNG_MT2203 + 6024, &row, &member);
    EXPECT_EQ(__bixAllocateStream(&s, t, BIX_BRNG_MT2203 + 6024, row, member),
              BIX_ERROR_INVALID_BRNG);
    korb_serv_fail_after(0);
    t = __bixGetBrngBaseOffset(BIX_BRNG_MT2203 + 5, &row, &member);
    EXPECT_EQ(__bixAllocateStream(&s, t, BIX_BRNG_MT2203 + 5, row, member), BIX_ERROR_MEM_FAILURE);
    korb_serv_fail_after(-1);
    EXPECT_EQ(s, reinterpret_cast<BixStream *>(0x1));
    EXPECT_EQ(korb_serv_live_blocks(), live);

    ASSERT_EQ(__bixAllocateStream(&s, t, BIX_BRNG_MT2203 + 5, row, member), BIX_ERROR_OK);
    Stream owned(s);
    EXPECT_EQ(__bixGetStreamStateBrng(s), BIX_BRNG_MT2203 + 5);
    EXPECT_EQ(s->streamFlag, 1u);
    EXPECT_EQ(s->chunks, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(s) % 64, 0u);
}

BrngProperties valid_record() {
    BrngProperties p = __RegBrngsNew[0];
    p.stateSize = 40;
    return p;
}

TEST(Registry, RegistrationChecksFieldsInOrder) {
    const int rows = __bixGetNumRegBrngs();
    BrngProperties p = valid_record();
    p.wordSize = 12;
    EXPECT_EQ(__bixRegisterBrng(&p), BIX_ERROR_BAD_WORD_SIZE);
    p.stateSize = -1;
    EXPECT_EQ(__bixRegisterBrng(&p), BIX_ERROR_BAD_STREAM_STATE_SIZE);
    p.stateSize = 15;  // smaller than the stream header
    EXPECT_EQ(__bixRegisterBrng(&p), BIX_ERROR_BAD_STREAM_STATE_SIZE);

    p = valid_record();
    p.stateWords = 0;
    p.nBits = 0;
    p.iGen = nullptr;
    EXPECT_EQ(__bixRegisterBrng(&p), BIX_ERROR_BAD_NSEEDS);
    p.stateWords = 1;
    EXPECT_EQ(__bixRegisterBrng(&p), BIX_ERROR_BAD_NBITS);
    p.nBits = 32;
    EXPECT_EQ(__bixRegisterBrng(&p), BIX_ERROR_NULL_PTR);
    void (*const clear[])(BrngProperties &) = {
        [](BrngProperties &q) { q.initStream = nullptr; },
        [](BrngProperties &q) { q.sGen = nullptr; },
        [](BrngProperties &q) { q.dGen = nullptr; },
        [](BrngProperties &q) { q.iGen = nullptr; },
    };
    for (auto f : clear) {
        p = valid_record();
        f(p);
        EXPECT_EQ(__bixRegisterBrng(&p), BIX_ERROR_NULL_PTR);
    }
    EXPECT_EQ(__bixRegisterBrng(nullptr), BIX_ERROR_NULL_PTR);
    EXPECT_EQ(__bixGetNumRegBrngs(), rows);
}

TEST(Registry, RegisteredGeneratorMakesStreams) {
    const int rows = __bixGetNumRegBrngs();
    BrngProperties p = valid_record();
    const int id = __bixRegisterBrng(&p);
    ASSERT_EQ(id, (rows + 1) * BIX_BRNG_INC);
    EXPECT_EQ(__bixGetNumRegBrngs(), rows + 1);
    BrngProperties q{};
    ASSERT_EQ(__bixGetBrngProperties(id, &q), BIX_ERROR_OK);
    EXPECT_TRUE(same_row(p, q));
    EXPECT_EQ(__bixGetBrngProperties(id + 1, &q), BIX_ERROR_INVALID_BRNG);

    // The new row reuses the MCG31M1 functions in a larger record.
    Stream s = korb::test::make_stream(id, 1);
    ASSERT_TRUE(s);
    EXPECT_EQ(__bixGetStreamSize(s.get()), 44);
    uint32_t r[2];
    ASSERT_EQ(q.iGen(s.get(), 2, r), BIX_ERROR_OK);
    EXPECT_EQ(r[0], 1u);
    EXPECT_EQ(r[1], 1132489760u);
}

// Fills the table, so it runs last.
TEST(Registry, ZzFullTableRefusesRegistration) {
    BrngProperties p = valid_record();
    while (__bixGetNumRegBrngs() < BIX_MAX_REG_BRNGS) ASSERT_GT(__bixRegisterBrng(&p), 0);
    EXPECT_EQ(__bixRegisterBrng(&p), BIX_ERROR_INVALID_BRNG);
    EXPECT_EQ(__bixGetNumRegBrngs(), BIX_MAX_REG_BRNGS);
    BrngProperties q{};
    EXPECT_EQ(__bixGetBrngProperties(BIX_MAX_REG_BRNGS * BIX_BRNG_INC, &q), BIX_ERROR_OK);
}

}  // namespace
