// The Wichmann-Hill set: its parameter table checked from first principles, the generator
// against a plain model (64-bit products and remainders), and a serial test of its doubles.
#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <vector>

#include "rng/brng/wh.h"
#include "rng_test.h"

namespace {

using korb::rng::wh::kParams;
using korb::test::Stream;
namespace mcg = korb::test::mcg;

bool is_prime(uint32_t m) {
    if (m < 2) return false;
    for (uint32_t d = 2; d * d <= m; ++d) {
        if (m % d == 0) return false;
    }
    return true;
}

// a generates the multiplicative group modulo the prime m: a^((m-1)/f) != 1 for every prime
// factor f of m - 1.
bool is_primitive_root(uint32_t a, uint32_t m) {
    if (a == 0 || a >= m) return false;
    uint32_t rest = m - 1;
    for (uint32_t f = 2; f * f <= rest; ++f) {
        if (rest % f != 0) continue;
        if (mcg::pow(a, (m - 1) / f, m) == 1) return false;
        while (rest % f == 0) rest /= f;
    }
    return rest == 1 || mcg::pow(a, (m - 1) / rest, m) != 1;  // rest: the last prime factor
}

TEST(WhParams, EveryMemberHasDistinctPrimeModuliAndPrimitiveRoots) {
    std::set<uint32_t> moduli;
    for (const auto &member : kParams) {
        for (const auto &c : member.c) {
            ASSERT_LT(c.m, 1u << 24);
            ASSERT_TRUE(is_prime(c.m)) << c.m;
            ASSERT_TRUE(is_primitive_root(c.a, c.m)) << c.a << " mod " << c.m;
            moduli.insert(c.m);
        }
    }
    EXPECT_EQ(moduli.size(), 4u * 273u);
}

// One member's four components, stepped before each output.
struct Model {
    uint64_t m[4], a[4], x[4];
    Model(int member, std::vector<uint32_t> seeds) {
        for (int c = 0; c < 4; ++c) {
            m[c] = kParams[member].c[c].m;
            a[c] = kParams[member].c[c].a;
            x[c] = c < static_cast<int>(seeds.size()) ? seeds[c] % m[c] : 1;
            if (x[c] == 0) x[c] = 1;
        }
    }
    void step() {
        for (int c = 0; c < 4; ++c) x[c] = a[c] * x[c] % m[c];
    }
    double unit() const {
        const double s = ((static_cast<double>(x[0]) / static_cast<double>(m[0]) +
                           static_cast<double>(x[1]) / static_cast<double>(m[1])) +
                          static_cast<double>(x[2]) / static_cast<double>(m[2])) +
                         static_cast<double>(x[3]) / static_cast<double>(m[3]);
        return s - std::floor(s);
    }
};

Stream make(int id, const std::vector<uint32_t> &seeds) {
    BixStream *s = nullptr;
    EXPECT_EQ(__bixNewStreamEx(&s, id, static_cast<int>(seeds.size()), seeds.data()), 0);
    return Stream(s);
}

TEST(Wh, SeedsReduceModuloEachModulusAndZeroBecomesOne) {
    const auto &p = kParams[272].c;
    const std::vector<std::vector<uint32_t>> cases = {
        {}, {0}, {p[0].m, p[1].m + 5}, {1, 2, 3, 4, 5}, {p[0].m - 1, 0, 0xFFFFFFFFu, 77}};
    for (const auto &seeds : cases) {
        Stream s = make(BIX_BRNG_WH + 272, seeds);
        Model model(272, seeds);
        model.step();
        uint32_t r[4];
        ASSERT_EQ(__bixiBRngWH(s.get(), 1, r), BIX_ERROR_OK);
        for (int c = 0; c < 4; ++c) EXPECT_EQ(r[c], model.x[c]) << seeds.size() << " " << c;
    }
    BixStream *s = nullptr;
    EXPECT_EQ(__bixNewStreamEx(&s, BIX_BRNG_WH + 273, 0, nullptr), BIX_ERROR_INVALID_BRNG);
    EXPECT_EQ(s, nullptr);
}

TEST(Wh, OutputsFollowTheModel) {
    const int n = 1037;  // the first block, the stepped blocks and a tail
    const std::vector<uint32_t> seeds = {123456789u, 42u, 7u};
    // Legacy id 4 + k is member k.
    for (auto [id, member] :
         {std::pair{BIX_BRNG_WH, 0}, {BIX_BRNG_WH + 136, 136}, {4 + 271, 271}}) {
        SCOPED_TRACE(member);
        Model model(member, seeds);
        std::vector<uint32_t> words;
        std::vector<double> units;
        for (int i = 0; i < n; ++i) {
            model.step();
            for (uint64_t v : model.x) words.push_back(static_cast<uint32_t>(v));
            units.push_back(model.unit());
        }
        Stream si = make(id, seeds), sd = make(id, seeds), sf = make(id, seeds);
        std::vector<uint32_t> got(4 * n);
        ASSERT_EQ(__bixiBRngWH(si.get(), n, got.data()), BIX_ERROR_OK);
        EXPECT_EQ(got, words);

        const double a = -2.5, b = 7.0;
        std::vector<double> d(n);
        ASSERT_EQ(__bixdBRngWH(sd.get(), n, d.data(), a, b), BIX_ERROR_OK);
        for (int i = 0; i < n; ++i) ASSERT_EQ(d[i], a + (b - a) * units[i]) << i;

        std::vector<float> f(n);
        ASSERT_EQ(__bixsBRngWH(sf.get(), n, f.data(), -2.5f, 7.0f), BIX_ERROR_OK);
        for (int i = 0; i < n; ++i) {
            ASSERT_EQ(f[i], static_cast<float>(a + (b - a) * units[i])) << i;
        }
    }
    // On an interval one float wide, results that round up to b are pulled back below it.
    Stream s = make(BIX_BRNG_WH, seeds);
    std::vector<float> f(n);
    ASSERT_EQ(__bixsBRngWH(s.get(), n, f.data(), 1.0f, std::nextafter(1.0f, 2.0f)), 0);
    for (float v : f) ASSERT_EQ(v, 1.0f);
}

TEST(Wh, LeapfrogAndSkipAheadFollowThePowers) {
    const std::vector<uint32_t> seeds = {5, 6, 7, 8};
    // A skip beyond anything that could be generated, against the model's modular powers.
    for (long long nskip : {1LL << 40, static_cast<long long>(INT64_MAX)}) {
        Stream s = make(BIX_BRNG_WH + 9, seeds);
        ASSERT_EQ(__bixSkipAheadStream(s.get(), nskip), BIX_ERROR_OK);
        Model model(9, seeds);
        for (int c = 0; c < 4; ++c) {
            const uint64_t e = static_cast<uint64_t>(nskip) + 1;  // output N is a^(N+1) x
            model.x[c] = mcg::pow(model.a[c], e, model.m[c]) * model.x[c] % model.m[c];
        }
        uint32_t r[4];
        ASSERT_EQ(__bixiBRngWH(s.get(), 1, r), BIX_ERROR_OK);
        for (int c = 0; c < 4; ++c) EXPECT_EQ(r[c], model.x[c]) << nskip;
    }
    // k above nstreams, and a skip after a leapfrog counting leapfrogged outputs.
    Model model(9, seeds);
    std::vector<uint32_t> all;
    for (int i = 0; i < 200; ++i) {
        model.step();
        all.push_back(static_cast<uint32_t>(model.x[0]));
    }
    Stream s = make(BIX_BRNG_WH + 9, seeds);
    ASSERT_EQ(__bixLeapfrogStream(s.get(), 7, 3), BIX_ERROR_OK);
    ASSERT_EQ(__bixSkipAheadStream(s.get(), 10), BIX_ERROR_OK);
    std::vector<uint32_t> r(4 * 20);
    ASSERT_EQ(__bixiBRngWH(s.get(), 20, r.data()), BIX_ERROR_OK);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(r[4 * i], all[7 + 3 * (10 + i)]) << i;
}

// Chi-square of counts against a uniform expectation, in standard deviations from its mean.
double chi_square_sigmas(const std::vector<long> &counts, double expected) {
    double chi = 0;
    for (long c : counts) chi += (c - expected) * (c - expected) / expected;
    const double df = static_cast<double>(counts.size() - 1);
    return (chi - df) / std::sqrt(2 * df);
}

TEST(Wh, PairsAndTriplesFillTheirGridsEvenly) {
    constexpr int kN = 1000000;
    for (int member : {0, 100, 272}) {
        BixStream *raw = nullptr;
        const uint32_t seed = 20261121;
        ASSERT_EQ(__bixNewStreamEx(&raw, BIX_BRNG_WH + member, 1, &seed), BIX_ERROR_OK);
        Stream s(raw);
        std::vector<double> u(kN);
        ASSERT_EQ(__bixdBRngWH(s.get(), kN, u.data(), 0.0, 1.0), BIX_ERROR_OK);
        // Non-overlapping pairs on a 32 x 32 grid, triples on a 10 x 10 x 10 grid.
        std::vector<long> pairs(32 * 32), triples(1000);
        for (int i = 0; i + 1 < kN; i += 2) {
            ++pairs[static_cast<int>(u[i] * 32) * 32 + static_cast<int>(u[i + 1] * 32)];
        }
        for (int i = 0; i + 2 < kN; i += 3) {
            ++triples[(static_cast<int>(u[i] * 10) * 10 + static_cast<int>(u[i + 1] * 10)) * 10 +
                      static_cast<int>(u[i + 2] * 10)];
        }
        EXPECT_LT(std::fabs(chi_square_sigmas(pairs, kN / 2 / 1024.0)), 5) << member;
        EXPECT_LT(std::fabs(chi_square_sigmas(triples, kN / 3 / 1000.0)), 5) << member;
    }
}

}  // namespace
