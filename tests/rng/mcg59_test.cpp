// MCG59 against an independent model: 128-bit products and remainders modulo 2^59.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "rng_test.h"

namespace {

namespace mcg = korb::test::mcg;
using korb::test::Stream;
using u128 = unsigned __int128;

constexpr uint64_t kM = uint64_t{1} << 59;
constexpr uint64_t kA = 302875106592253;

Stream make(const std::vector<uint32_t> &seeds) {
    BixStream *s = nullptr;
    EXPECT_EQ(__bixNewStreamEx(&s, BIX_BRNG_MCG59, static_cast<int>(seeds.size()), seeds.data()),
              BIX_ERROR_OK);
    return Stream(s);
}

std::vector<uint64_t> ints(BixStream *s, int n) {
    std::vector<uint32_t> words(2 * static_cast<size_t>(n));
    EXPECT_EQ(__bixiBRngMCG59(s, n, words.data()), BIX_ERROR_OK);
    std::vector<uint64_t> r(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) r[i] = words[2 * i] | static_cast<uint64_t>(words[2 * i + 1]) << 32;
    return r;
}

std::vector<uint64_t> model(uint64_t first, size_t n, uint64_t mult = kA) {
    std::vector<uint64_t> r(n);
    for (size_t i = 0; i < n; ++i, first = static_cast<uint64_t>(u128(first) * mult % kM)) {
        r[i] = first;
    }
    return r;
}

TEST(Mcg59, SeedingKeeps59BitsAndNeverZero) {
    const struct {
        std::vector<uint32_t> seeds;
        uint64_t x;
    } cases[] = {
        {{}, 1},
        {{0}, 1},
        {{0xFFFFFFFF}, 0xFFFFFFFF},
        {{1, 0x10000000}, 1},  // 1 + 2^60: bit 60 is dropped
        {{0, 0x08000000}, 1},  // 2^59 masks to 0
        {{0, 0x04000000}, uint64_t{1} << 58},
        {{5, 0xFFFFFFFF, 9}, 0x07FFFFFF00000005},
    };
    for (const auto &c : cases) {
        Stream s = make(c.seeds);
        const std::vector<uint64_t> got = ints(s.get(), 40);
        EXPECT_EQ(got, model(c.x, 40)) << c.seeds.size() << " words";
        for (uint64_t v : got) EXPECT_NE(v, 0u);  // 2^58 is a fixed point, not a way to 0
    }
}

TEST(Mcg59, OutputsFollowTheModel) {
    const int n = 100037;  // the first block, the stepped blocks and a tail
    for (uint64_t x : {uint64_t{1}, uint64_t{0x7FFFFFFFFFFFFFF}, uint64_t{0x123456789ABCDE}}) {
        const std::vector<uint32_t> seeds = {static_cast<uint32_t>(x),
                                             static_cast<uint32_t>(x >> 32)};
        const std::vector<uint64_t> u = model(x, n + 1);
        Stream si = make(seeds);
        EXPECT_EQ(ints(si.get(), n), std::vector<uint64_t>(u.begin(), u.end() - 1));
        EXPECT_EQ(ints(si.get(), 1)[0], u.back());
        for (auto [a, b] : {std::pair{0.0, 1.0}, {-3.0, 5.5}}) {
            Stream sd = make(seeds), sf = make(seeds);
            std::vector<double> d(n);
            std::vector<float> f(n);
            ASSERT_EQ(__bixdBRngMCG59(sd.get(), n, d.data(), a, b), BIX_ERROR_OK);
            ASSERT_EQ(__bixsBRngMCG59(sf.get(), n, f.data(), static_cast<float>(a),
                                      static_cast<float>(b)),
                      BIX_ERROR_OK);
            const double scale = (b - a) * 0x1p-59;
            for (int i = 0; i < n; ++i) {
                volatile double prod = static_cast<double>(u[i]) * scale;
                ASSERT_EQ(d[i], prod + a) << i;
                ASSERT_EQ(f[i], static_cast<float>(prod + a)) << i;  // a, b exact as floats
            }
        }
    }
}

// Leapfrog equals striding and short skips equal discarding in the contract tests.
TEST(Mcg59, LeapfrogAndSkipAheadMatchTheModel) {
    const std::vector<uint64_t> base = model(31337, 100);
    for (uint64_t nskip : {uint64_t{1} << 40, (uint64_t{1} << 57) + 3, uint64_t{INT64_MAX}}) {
        Stream s = make({31337});
        ASSERT_EQ(__bixSkipAheadStream(s.get(), static_cast<long long>(nskip)), BIX_ERROR_OK);
        EXPECT_EQ(ints(s.get(), 1)[0],
                  static_cast<uint64_t>(u128(mcg::pow(kA, nskip, kM)) * 31337 % kM))
            << nskip;
    }
    // After a leapfrog, a skip counts leapfrogged outputs.
    Stream s = make({31337});
    ASSERT_EQ(__bixLeapfrogStream(s.get(), 1, 4), BIX_ERROR_OK);
    ASSERT_EQ(__bixSkipAheadStream(s.get(), 10), BIX_ERROR_OK);
    EXPECT_EQ(ints(s.get(), 1)[0], base[1 + 10 * 4]);

    Stream t = make({77});
    const uint32_t arg = 3;
    EXPECT_EQ(__bixBRngMCG59InitStream(3, t.get(), 1, &arg), BIX_ERROR_BADMETHOD);
    EXPECT_EQ(ints(t.get(), 2), model(77, 2));
}

TEST(Mcg59, PowMod2P59) {
    std::mt19937_64 pick(59);
    for (int i = 0; i < 2000; ++i) {
        const uint64_t base = pick();
        const uint64_t e = pick() >> (pick() % 64);
        ASSERT_EQ(__bixiPowMod2P59(base, e), mcg::pow(base, e, kM)) << base << " " << e;
    }
    EXPECT_EQ(__bixiPowMod2P59(0, 0), 1u);
    EXPECT_EQ(__bixiPowMod2P59(uint64_t{1} << 30, 2), 0u);
}

}  // namespace
