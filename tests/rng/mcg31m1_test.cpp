// MCG31M1 against an independent model (128-bit products and remainders, in rng_test.h).
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "rng_test.h"

namespace {

namespace mcg = korb::test::mcg;
using korb::test::draw_ints;
using korb::test::make_stream;
using korb::test::Stream;

constexpr double kInvM = 4.656612875245797e-10;

TEST(Mcg31m1, SeedsReduceModuloMAndZeroBecomesOne) {
    for (uint32_t seed : {0u, 2147483647u, 2147483648u, 4294967294u}) {
        Stream s = make_stream(BIX_BRNG_MCG31M1, seed);
        const uint32_t expect = seed % 2147483647u == 0 ? 1 : seed % 2147483647u;
        EXPECT_EQ(draw_ints(s.get(), 1)[0], expect) << seed;
    }
    BixStream *s = nullptr;
    ASSERT_EQ(__bixNewStreamEx(&s, BIX_BRNG_MCG31M1, 0, nullptr), BIX_ERROR_OK);
    Stream empty(s);
    EXPECT_EQ(draw_ints(s, 1)[0], 1u);
    // Only the first seed word counts.
    const uint32_t seeds[3] = {7, 8, 9};
    ASSERT_EQ(__bixNewStreamEx(&s, BIX_BRNG_MCG31M1, 3, seeds), BIX_ERROR_OK);
    Stream three(s);
    EXPECT_EQ(draw_ints(s, 2), mcg::sequence(7, 2));
}

TEST(Mcg31m1, IntegersFollowTheRecurrence) {
    Stream s = make_stream(BIX_BRNG_MCG31M1, 1);
    std::vector<uint32_t> got = draw_ints(s.get(), 3);
    EXPECT_EQ(got[0], 1u);
    EXPECT_EQ(got[1], 1132489760u);
    EXPECT_EQ(got[2], mcg::mul(1132489760, 1132489760));

    for (uint32_t seed : {7u, 2147483646u, 123456789u}) {
        Stream t = make_stream(BIX_BRNG_MCG31M1, seed);
        EXPECT_EQ(draw_ints(t.get(), 100003), mcg::sequence(seed, 100003)) << seed;
        EXPECT_EQ(draw_ints(t.get(), 1)[0], mcg::sequence(seed, 100004).back());
    }
}

TEST(Mcg31m1, RealOutputsAreMultiplyThenAdd) {
    const int n = 1037;  // the first block, the stepped blocks and a tail
    const std::vector<uint32_t> u = mcg::sequence(99, n);
    for (auto [a, b] : {std::pair{0.0, 1.0}, {-3.0, 5.5}, {1e6, 1e6 + 1}}) {
        Stream s = make_stream(BIX_BRNG_MCG31M1, 99);
        std::vector<double> r(n);
        ASSERT_EQ(__bixdBRngMCG31M1(s.get(), n, r.data(), a, b), BIX_ERROR_OK);
        const double scale = (b - a) * kInvM;
        for (int i = 0; i < n; ++i) {
            volatile double prod = static_cast<double>(u[i]) * scale;
            ASSERT_EQ(r[i], prod + a) << i;
        }
        Stream t = make_stream(BIX_BRNG_MCG31M1, 99);
        std::vector<float> f(n);
        ASSERT_EQ(
            __bixsBRngMCG31M1(t.get(), n, f.data(), static_cast<float>(a), static_cast<float>(b)),
            BIX_ERROR_OK);
        const double fa = static_cast<float>(a);
        const double fscale = (static_cast<double>(static_cast<float>(b)) - fa) * kInvM;
        for (int i = 0; i < n; ++i) {
            volatile double prod = static_cast<double>(u[i]) * fscale;
            ASSERT_EQ(f[i], static_cast<float>(prod + fa)) << i;
        }
    }
}

TEST(Mcg31m1, UnitIntervalExcludesBothEnds) {
    // The extreme outputs 1 and m - 1 come from seeds 1 and m - 1.
    for (uint32_t seed : {1u, 2147483646u}) {
        Stream s = make_stream(BIX_BRNG_MCG31M1, seed);
        double r[1];
        ASSERT_EQ(__bixdBRngMCG31M1(s.get(), 1, r, 0.0, 1.0), BIX_ERROR_OK);
        EXPECT_GT(r[0], 0.0);
        EXPECT_LT(r[0], 1.0);
    }
    Stream s = make_stream(BIX_BRNG_MCG31M1, 2024);
    std::vector<double> r(1 << 20);
    ASSERT_EQ(__bixdBRngMCG31M1(s.get(), static_cast<int>(r.size()), r.data(), 0.0, 1.0), 0);
    for (double v : r) ASSERT_TRUE(v > 0.0 && v < 1.0) << v;
}

TEST(Mcg31m1, LeapfrogAndSkipAheadMatchTheModel) {
    const std::vector<uint32_t> base = mcg::sequence(31337, 4000);
    for (auto [k, nstreams] : {std::pair{0, 1}, {0, 3}, {2, 3}, {5, 7}, {9, 4}, {1, 100}}) {
        Stream s = make_stream(BIX_BRNG_MCG31M1, 31337);
        ASSERT_EQ(__bixLeapfrogStream(s.get(), k, nstreams), BIX_ERROR_OK);
        const std::vector<uint32_t> got = draw_ints(s.get(), 30);
        for (int i = 0; i < 30; ++i) ASSERT_EQ(got[i], base[k + i * nstreams]) << k << nstreams;
    }
    for (long long nskip : {0LL, 1LL, 7LL, 8LL, 3999LL}) {
        Stream s = make_stream(BIX_BRNG_MCG31M1, 31337);
        ASSERT_EQ(__bixSkipAheadStream(s.get(), nskip), BIX_ERROR_OK);
        EXPECT_EQ(draw_ints(s.get(), 1)[0], base[nskip]) << nskip;
    }
    // Skips far beyond what can be generated, against the model's modular power.
    for (long long nskip : {1LL << 40, (1LL << 62) + 12345, static_cast<long long>(INT64_MAX)}) {
        Stream s = make_stream(BIX_BRNG_MCG31M1, 31337);
        ASSERT_EQ(__bixSkipAheadStream(s.get(), nskip), BIX_ERROR_OK);
        EXPECT_EQ(draw_ints(s.get(), 1)[0],
                  mcg::mul(mcg::pow(mcg::kA, static_cast<uint64_t>(nskip)), 31337));
    }
    // After a leapfrog, a skip counts leapfrogged outputs.
    Stream s = make_stream(BIX_BRNG_MCG31M1, 31337);
    ASSERT_EQ(__bixLeapfrogStream(s.get(), 1, 4), BIX_ERROR_OK);
    ASSERT_EQ(__bixSkipAheadStream(s.get(), 10), BIX_ERROR_OK);
    EXPECT_EQ(draw_ints(s.get(), 1)[0], base[1 + 10 * 4]);
}

TEST(Mcg31m1, ModularPowers) {
    std::mt19937_64 pick(5);
    for (int i = 0; i < 2000; ++i) {
        const uint32_t base = static_cast<uint32_t>(pick());
        const uint64_t e = pick() >> (pick() % 64);
        const uint32_t m = static_cast<uint32_t>(pick()) | 1u;
        ASSERT_EQ(__bixiPowMod2P31M1(base, e), mcg::pow(base, e)) << base << " " << e;
        ASSERT_EQ(__bixiPowMod(base, e, m), mcg::pow(base, e, m)) << base << " " << e << " " << m;
    }
    EXPECT_EQ(__bixiPowMod2P31M1(0, 0), 1u);
    EXPECT_EQ(__bixiPowMod2P31M1(2147483647u, 5), 0u);
    EXPECT_EQ(__bixiPowMod2P31M1(4294967295u, 1), 1u);
    EXPECT_EQ(__bixiPowMod(3, 0, 7), 1u);
    EXPECT_EQ(__bixiPowMod(3, 5, 0), 0u);
    EXPECT_EQ(__bixiPowMod(4294967295u, 3, 4294967295u), 0u);
}

}  // namespace
