// MRG32K3A against R's generator of the same recurrence (tests/data), a plain recurrence with
// remainders, and a polynomial model for long skips (t^N modulo the characteristic polynomial,
// by square-and-multiply in 128-bit integers; no matrices).
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "rng_test.h"

namespace {

using korb::test::Stream;
using u128 = unsigned __int128;

struct MrgReference {
    int index;
    double u;
};
#include "data/mrg32k3a_r.inc"

constexpr uint64_t kM1 = 4294967087, kM2 = 4294944443;
constexpr double kInvM1 = 2.328306549837829e-10;
constexpr double kRScale = 2.328306549295728e-10;  // R's uniform is z * kRScale
using Words = std::array<uint32_t, 6>;             // x0, x1, x2, y0, y1, y2

Stream make(const std::vector<uint32_t> &seeds) {
    BixStream *s = nullptr;
    EXPECT_EQ(__bixNewStreamEx(&s, BIX_BRNG_MRG32K3A, static_cast<int>(seeds.size()), seeds.data()),
              BIX_ERROR_OK);
    return Stream(s);
}

Words state(const BixStream *s) {  // the state follows the 16-byte header
    Words w;
    std::memcpy(w.data(), reinterpret_cast<const unsigned char *>(s) + 16, sizeof w);
    return w;
}

std::vector<uint32_t> ints(BixStream *s, int n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(__bixiBRngMRG32K3A(s, n, r.data()), BIX_ERROR_OK);
    return r;
}

// The recurrence as usually written, with signed 64-bit remainders.
std::vector<uint32_t> model_sequence(Words w, size_t n) {
    int64_t x0 = w[0], x1 = w[1], x2 = w[2], y0 = w[3], y1 = w[4], y2 = w[5];
    std::vector<uint32_t> r(n);
    for (size_t i = 0; i < n; ++i) {
        int64_t xn = (1403580 * x1 - 810728 * x0) % static_cast<int64_t>(kM1);
        int64_t yn = (527612 * y2 - 1370589 * y0) % static_cast<int64_t>(kM2);
        if (xn < 0) xn += kM1;
        if (yn < 0) yn += kM2;
        x0 = x1, x1 = x2, x2 = xn, y0 = y1, y1 = y2, y2 = yn;
        r[i] = static_cast<uint32_t>(xn >= yn ? xn - yn : xn - yn + static_cast<int64_t>(kM1));
    }
    return r;
}

// s(k+3) = r0 s(k+2) + r1 s(k+1) + r2 s(k) mod m, so s(N) = c . (s0, s1, s2) where
// c0 + c1 t + c2 t^2 = t^N mod (t^3 - r0 t^2 - r1 t - r2).
struct PolyModel {
    uint64_t m;
    std::array<uint64_t, 3> r;
    using Poly = std::array<u128, 3>;

    Poly mul(const Poly &a, const Poly &b) const {
        u128 c[5] = {};
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) c[i + j] = (c[i + j] + a[i] * b[j]) % m;
        }
        for (int k = 4; k >= 3; --k) {
            c[k - 1] = (c[k - 1] + c[k] * r[0]) % m;
            c[k - 2] = (c[k - 2] + c[k] * r[1]) % m;
            c[k - 3] = (c[k - 3] + c[k] * r[2]) % m;
        }
        return {c[0], c[1], c[2]};
    }
    uint64_t term(const uint64_t (&s)[3], uint64_t n) const {
        Poly result = {1 % m, 0, 0}, t = {0, 1 % m, 0};
        for (; n != 0; n >>= 1, t = mul(t, t)) {
            if (n & 1) result = mul(result, t);
        }
        return static_cast<uint64_t>((result[0] * s[0] + result[1] * s[1] + result[2] * s[2]) % m);
    }
};

const PolyModel kModelX{kM1, {0, 1403580, kM1 - 810728}};
const PolyModel kModelY{kM2, {527612, 0, kM2 - 1370589}};

// Output i of a stream in state w, for any i.
uint32_t model_output(const Words &w, uint64_t i) {
    const uint64_t x = kModelX.term({w[0], w[1], w[2]}, i + 3);
    const uint64_t y = kModelY.term({w[3], w[4], w[5]}, i + 3);
    return static_cast<uint32_t>(x >= y ? x - y : x + kM1 - y);
}

TEST(Mrg32k3a, SeedingReducesOnceAndFixesZeroComponents) {
    const struct {
        std::vector<uint32_t> seeds;
        Words expect;
    } cases[] = {
        {{}, {1, 1, 1, 1, 1, 1}},
        {{0}, {0, 1, 1, 1, 1, 1}},  // x1, x2 are 1: no zero fix
        {{0, 0, 0, 0, 0, 0}, {1, 0, 0, 1, 0, 0}},
        {{0, 0, 0, 5}, {1, 0, 0, 5, 1, 1}},
        {{4294967087u}, {0, 1, 1, 1, 1, 1}},
        {{4294967295u, 4294967086u, 7, 4294944443u, 4294967295u, 4294944442u},
         {208, 4294967086u, 7, 0, 22852, 4294944442u}},
        {{1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 4, 5, 6}},
    };
    for (const auto &c : cases) {
        Stream s = make(c.seeds);
        EXPECT_EQ(state(s.get()), c.expect) << c.seeds.size() << " words";
    }
}

TEST(Mrg32k3a, MatchesR) {
    const int n = 10000;  // one call: lanes of both segment lengths and a one-by-one tail
    for (const auto &[seeds, ref] :
         {std::pair{std::vector<uint32_t>(6, 12345),
                    std::vector(std::begin(kMrgReferenceA), std::end(kMrgReferenceA))},
          {{4294967086u, 1, 3000000000u, 4294944442u, 2147483653u, 0},
           std::vector(std::begin(kMrgReferenceB), std::end(kMrgReferenceB))}}) {
        Stream si = make(seeds), sd = make(seeds), sf = make(seeds);
        const std::vector<uint32_t> z = ints(si.get(), n);
        std::vector<double> d(n);
        std::vector<float> f(n);
        ASSERT_EQ(__bixdBRngMRG32K3A(sd.get(), n, d.data(), 0.0, 1.0), BIX_ERROR_OK);
        ASSERT_EQ(__bixsBRngMRG32K3A(sf.get(), n, f.data(), 0.0f, 1.0f), BIX_ERROR_OK);
        for (const MrgReference &e : ref) {
            // R scales z by its own constant; z is recovered exactly from the product.
            const double zr = std::nearbyint(e.u / kRScale);
            ASSERT_EQ(zr * kRScale, e.u) << e.index;
            EXPECT_EQ(z[e.index], zr) << e.index;
            EXPECT_EQ(d[e.index], zr * kInvM1) << e.index;
            EXPECT_EQ(f[e.index], static_cast<float>(zr * kInvM1)) << e.index;
        }
    }
}

TEST(Mrg32k3a, FollowsTheRecurrenceFromExtremeStates) {
    std::mt19937_64 pick(12);
    std::vector<Words> states = {
        {0, 0, 1, 0, 1, 0},  // first output 0: the first double is exactly a
        {4294967086u, 4294967086u, 4294967086u, 4294944442u, 4294944442u, 4294944442u},
        {1, 0, 0, 1, 0, 0}};
    for (int k = 0; k < 4; ++k) {
        Words w;
        for (int j = 0; j < 6; ++j) w[j] = static_cast<uint32_t>(pick() % (j < 3 ? kM1 : kM2));
        states.push_back(w);
    }
    const int n = 70000;  // long and short lane segments and a one-by-one tail
    const double a = -3.0, b = 5.5, scale = (b - a) * kInvM1;
    for (const Words &w : states) {
        const std::vector<uint32_t> z = model_sequence(w, n + 1);
        Stream si = make({w.begin(), w.end()}), sd = make({w.begin(), w.end()});
        ASSERT_EQ(state(si.get()), w);
        EXPECT_EQ(ints(si.get(), n), std::vector<uint32_t>(z.begin(), z.end() - 1));
        EXPECT_EQ(ints(si.get(), 1)[0], z.back());
        std::vector<double> d(n);
        ASSERT_EQ(__bixdBRngMRG32K3A(sd.get(), n, d.data(), a, b), BIX_ERROR_OK);
        for (int i = 0; i < n; ++i) {
            volatile double prod = z[i] * scale;
            ASSERT_EQ(d[i], prod + a) << i;
        }
    }
}

TEST(Mrg32k3a, LongSkipsMatchThePolynomialModel) {
    const Words w = {123, 456, 789, 1011, 1213, 1415};
    for (uint64_t nskip :
         {uint64_t{1} << 40, (uint64_t{1} << 40) + 12345, uint64_t{0x7FFFFFFFFFFFFFFF}}) {
        Stream s = make({w.begin(), w.end()});
        ASSERT_EQ(__bixSkipAheadStream(s.get(), static_cast<long long>(nskip)), BIX_ERROR_OK);
        const std::vector<uint32_t> got = ints(s.get(), 3);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(got[i], model_output(w, nskip + i)) << nskip;
    }
    // The model itself against plain stepping.
    const std::vector<uint32_t> seq = model_sequence(w, 300);
    for (uint64_t i : {0, 1, 2, 3, 299}) EXPECT_EQ(model_output(w, i), seq[i]);
}

TEST(Mrg32k3a, Vect3PowModAdvancesAnyRecurrence) {
    std::mt19937_64 pick(3);
    for (uint32_t offset : {209u, 22853u, 0u, 0x12345u, 0x80000000u, 0xFFFFFFFEu}) {
        const uint64_t m = (uint64_t{1} << 32) - offset;
        const PolyModel model{m, {pick() % m, pick() % m, pick() % m}};
        const uint32_t row[3] = {static_cast<uint32_t>(model.r[0]),
                                 static_cast<uint32_t>(model.r[1]),
                                 static_cast<uint32_t>(model.r[2])};
        for (uint64_t power : {uint64_t{0}, uint64_t{1}, uint64_t{5}, pick() >> 1, pick() >> 20}) {
            const uint64_t s[3] = {pick() % m, pick() % m, pick() % m};
            uint32_t v[3] = {static_cast<uint32_t>(s[0]), static_cast<uint32_t>(s[1]),
                             static_cast<uint32_t>(s[2])};
            __bixiVect3PowMod(v, row, offset, power);
            for (int k = 0; k < 3; ++k) {
                EXPECT_EQ(v[k], model.term(s, power + k)) << offset << " " << power;
            }
        }
    }
}

}  // namespace
