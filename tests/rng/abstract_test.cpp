// Abstract streams over caller buffers, and the non-deterministic row.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "rng_test.h"

namespace {

using korb::test::Stream;

// Refills report `next_count` numbers and write as many of them as fit, counting up from
// `next_value`.
int next_count = 0;
uint32_t next_value = 0;

int refill_ints(BixStream *, int n, uint32_t buffer[]) {
    for (int i = 0; i < next_count && i < n; ++i) buffer[i] = next_value++;
    return next_count;
}
int refill_doubles(BixStream *, int n, double buffer[]) {
    for (int i = 0; i < next_count && i < n; ++i) buffer[i] = 0.125 * next_value++;
    return next_count;
}
int refill_floats(BixStream *, int n, float buffer[]) {
    for (int i = 0; i < next_count && i < n; ++i)
        buffer[i] = 0.5f * static_cast<float>(next_value++);
    return next_count;
}

TEST(AbstractStreams, MakersCheckTheirArguments) {
    BixStream *s = nullptr;
    uint32_t ib[4] = {};
    double db[4] = {};
    float fb[4] = {};
    EXPECT_EQ(__bixiNewAbstractStream(&s, 0, ib, refill_ints), BIX_ERROR_BADARGS);
    EXPECT_EQ(__bixiNewAbstractStream(&s, -4, ib, refill_ints), BIX_ERROR_BADARGS);
    EXPECT_EQ(__bixiNewAbstractStream(&s, 4, nullptr, refill_ints), BIX_ERROR_BADARGS);
    EXPECT_EQ(__bixiNewAbstractStream(&s, 4, ib, nullptr), BIX_ERROR_BADARGS);
    EXPECT_EQ(__bixdNewAbstractStream(&s, 4, db, 1.0, 1.0, refill_doubles), BIX_ERROR_BADARGS);
    EXPECT_EQ(__bixsNewAbstractStream(&s, 4, fb, 2.0f, 1.0f, refill_floats), BIX_ERROR_BADARGS);
    EXPECT_EQ(s, nullptr);
    korb::test::sweep_allocation_failures([&] {
        BixStream *made = nullptr;
        const int status = __bixdNewAbstractStream(&made, 4, db, 0.0, 1.0, refill_doubles);
        if (status != BIX_ERROR_OK) {
            EXPECT_EQ(made, nullptr);
        }
        __bixDeleteStream(&made);
        return status;
    });
    // A NaN bound is not caught by the a >= b test.
    ASSERT_EQ(__bixdNewAbstractStream(&s, 4, db, NAN, 1.0, refill_doubles), BIX_ERROR_OK);
    __bixDeleteStream(&s);
}

TEST(AbstractStreams, IntegerStreamServesBufferThenRefills) {
    uint32_t buffer[5] = {10, 11, 12, 13, 14};
    BixStream *s = nullptr;
    ASSERT_EQ(__bixiNewAbstractStream(&s, 5, buffer, refill_ints), BIX_ERROR_OK);
    Stream owned(s);
    EXPECT_EQ(s->brng, BIX_BRNG_IABSTRACT);
    next_count = 3;
    next_value = 100;
    std::vector<uint32_t> r(9);
    ASSERT_EQ(__RegBrngsNew[9].iGen(s, 4, r.data()), BIX_ERROR_OK);
    ASSERT_EQ(__RegBrngsNew[9].iGen(s, 5, r.data() + 4), BIX_ERROR_OK);
    EXPECT_EQ(r, (std::vector<uint32_t>{10, 11, 12, 13, 14, 100, 101, 102, 103}));

    double d[1];
    EXPECT_EQ(__RegBrngsNew[9].dGen(s, 1, d, 0, 1), BIX_ERROR_ARS_UNSUPPORTED_PRECISION);
    EXPECT_EQ(__bixLeapfrogStream(s, 0, 2), BIX_ERROR_LEAPFROG_UNSUPPORTED);
    EXPECT_EQ(__bixSkipAheadStream(s, 2), BIX_ERROR_SKIPAHEAD_UNSUPPORTED);
}

TEST(AbstractStreams, BadRefillsAreReported) {
    uint32_t buffer[4] = {1, 2, 3, 4};
    BixStream *s = nullptr;
    ASSERT_EQ(__bixiNewAbstractStream(&s, 4, buffer, refill_ints), BIX_ERROR_OK);
    Stream owned(s);
    uint32_t r[8];
    next_value = 50;
    next_count = 0;
    EXPECT_EQ(__bixiBRngiAbstract(s, 5, r), BIX_ERROR_ARS_NODATA);
    next_count = 5;  // more than the buffer holds
    EXPECT_EQ(__bixiBRngiAbstract(s, 1, r), BIX_ERROR_ARS_BADCALLBACK);
    next_count = -1;
    EXPECT_EQ(__bixiBRngiAbstract(s, 1, r), BIX_ERROR_ARS_BADCALLBACK);
    // A good refill afterwards serves again.
    next_count = 2;
    next_value = 7;
    ASSERT_EQ(__bixiBRngiAbstract(s, 3, r), BIX_ERROR_OK);
    EXPECT_EQ(r[0], 7u);
    EXPECT_EQ(r[2], 9u);
}

TEST(AbstractStreams, RealStreamsMapTheirIntervalOntoTheRequestedOne) {
    double db[4] = {0.0, 0.25, 0.5, 0.75};
    BixStream *s = nullptr;
    ASSERT_EQ(__bixdNewAbstractStream(&s, 4, db, 0.0, 1.0, refill_doubles), BIX_ERROR_OK);
    Stream ds(s);
    double r[4];
    ASSERT_EQ(__bixdBRngdAbstract(ds.get(), 2, r, 0.0, 1.0), BIX_ERROR_OK);
    EXPECT_EQ(r[0], 0.0);
    EXPECT_EQ(r[1], 0.25);
    ASSERT_EQ(__bixdBRngdAbstract(ds.get(), 2, r, 10.0, 14.0), BIX_ERROR_OK);
    EXPECT_EQ(r[0], 12.0);
    EXPECT_EQ(r[1], 13.0);
    uint32_t ir[1];
    EXPECT_EQ(__RegBrngsNew[10].iGen(ds.get(), 1, ir), BIX_ERROR_ARS_UNSUPPORTED_PRECISION);

    float fb[2] = {1.5f, 2.5f};
    ASSERT_EQ(__bixsNewAbstractStream(&s, 2, fb, 1.0f, 3.0f, refill_floats), BIX_ERROR_OK);
    Stream fs(s);
    next_count = 2;
    next_value = 4;
    float f[4];
    ASSERT_EQ(__bixsBRngsAbstract(fs.get(), 4, f, 0.0f, 1.0f), BIX_ERROR_OK);
    EXPECT_EQ(f[0], 0.25f);
    EXPECT_EQ(f[1], 0.75f);
    EXPECT_EQ(f[2], 0.5f);  // refilled 2.0
    EXPECT_EQ(f[3], 0.75f);
    EXPECT_EQ(__RegBrngsNew[11].dGen(fs.get(), 1, r, 0, 1), BIX_ERROR_ARS_UNSUPPORTED_PRECISION);
}

TEST(NonDeterministic, SeedsButGeneratesNothing) {
    BixStream *s = nullptr;
    const int status = __bixNewStreamEx(&s, BIX_BRNG_NONDETERM, 0, nullptr);
    Stream owned(s);
    ASSERT_NE(s, nullptr);
    EXPECT_TRUE(status == BIX_ERROR_OK || status == BIX_ERROR_NONDETERM_NOT_SUPPORTED);
    uint32_t r[1];
    EXPECT_EQ(__RegBrngsNew[13].iGen(s, 1, r), BIX_ERROR_NONDETERM_NOT_SUPPORTED);
    EXPECT_EQ(__bixSkipAheadStream(s, 1), BIX_ERROR_SKIPAHEAD_UNSUPPORTED);
}

}  // namespace
