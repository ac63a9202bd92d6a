// The MT2203 parameter search: the closed-form characteristic polynomial against the output's
// own minimal polynomial, the full-period test, and k(v) against a plain rank computation.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "mt2203_search.h"

namespace mt = korb::tools::mt2203;

namespace {

const mt::Params kRow0 = mt::kFixedRows[0].params;

// The recurrence and tempering written out plainly, on a state of N words.
uint32_t next_output(std::array<uint32_t, mt::kN> &s, int &i, const mt::Params &p) {
    int i1 = (i + 1) % mt::kN;
    uint32_t y = (s[i] & ~mt::kLowMask) | (s[i1] & mt::kLowMask);
    s[i] = s[(i + mt::kM) % mt::kN] ^ (y >> 1) ^ ((y & 1) ? p.a : 0);
    y = s[i];
    i = i1;
    y ^= y >> 12;
    y ^= (y << 7) & p.b;
    y ^= (y << 15) & p.c;
    return y ^ (y >> 18);
}

// Whether the top v bits of the first k outputs are independent functions of the state, by
// Gaussian elimination over the outputs of the 69 * 32 unit states.
bool outputs_independent(const mt::Params &p, int k, int v) {
    constexpr int kBits = mt::kN * 32;
    constexpr int kWordsPerRow = kBits / 64 + 1;
    std::vector<std::vector<uint64_t>> rows(static_cast<size_t>(k * v),
                                            std::vector<uint64_t>(kWordsPerRow, 0));
    for (int b = 0; b < kBits; ++b) {
        std::array<uint32_t, mt::kN> s{};
        s[b / 32] = 1u << (b % 32);
        int i = 0;
        for (int t = 0; t < k; ++t) {
            uint32_t out = next_output(s, i, p);
            for (int j = 0; j < v; ++j)
                if ((out >> (31 - j)) & 1) rows[t * v + j][b / 64] |= uint64_t{1} << (b % 64);
        }
    }
    int rank = 0;
    for (int col = 0; col < kBits && rank < k * v; ++col) {
        const int w = col / 64;
        const uint64_t m = uint64_t{1} << (col % 64);
        int r = rank;
        while (r < k * v && !(rows[r][w] & m)) ++r;
        if (r == k * v) continue;
        std::swap(rows[r], rows[rank]);
        for (int q = 0; q < k * v; ++q)
            if (q != rank && (rows[q][w] & m))
                for (int x = w; x < kWordsPerRow; ++x) rows[q][x] ^= rows[rank][x];
        ++rank;
    }
    return rank == k * v;
}

}  // namespace

TEST(Mt2203Search, ClosedFormIsTheOutputsMinimalPolynomial) {
    // The fixed rows (full period) and arbitrary words with bit 31 set, most of them reducible.
    std::vector<uint32_t> words = {
        kRow0.a, mt::kFixedRows[1].params.a, 0x80000000u, 0x9908B0DFu, 0xFFFFFFFFu, 0xC0FFEE01u};
    for (uint32_t a : words) {
        mt::Poly formula = mt::char_poly(a), output = mt::output_min_poly({a, 0, 0});
        output.resize(formula.size(), 0);
        EXPECT_EQ(formula, output) << std::hex << a;
    }
}

TEST(Mt2203Search, FullPeriodTest) {
    for (const auto &f : mt::kFixedRows) {
        EXPECT_TRUE(mt::full_period(f.params)) << f.member;
        EXPECT_TRUE(mt::full_period_poly(mt::char_poly(f.params.a))) << f.member;
    }
    // No single-bit change of a valid twist word keeps the full period.
    for (int b = 0; b < 32; ++b)
        EXPECT_FALSE(mt::full_period_poly(mt::char_poly(kRow0.a ^ (1u << b)))) << b;
    EXPECT_FALSE(mt::full_period({kRow0.a ^ 1u, kRow0.b, kRow0.c}));
}

TEST(Mt2203Search, SieveKeepsValidWords) {
    mt::SmallFactorSieve sieve;
    for (const auto &f : mt::kFixedRows) EXPECT_TRUE(sieve.passes(f.params.a));
    // What the sieve rejects has a small factor, so never passes the full test.
    int rejected = 0;
    for (uint32_t k = 0; k < 64; ++k) {
        uint32_t a = 0x80000000u | (k * 0x9E3779B9u);
        if (sieve.passes(a)) continue;
        ++rejected;
        EXPECT_FALSE(mt::full_period_poly(mt::char_poly(a))) << std::hex << a;
    }
    EXPECT_GT(rejected, 32);
    mt::CandidateStream stream(sieve, 7);
    uint32_t first = stream.next_valid(), second = stream.next_valid();
    EXPECT_NE(first, second);
    EXPECT_TRUE(mt::full_period({first, 0, 0}));
    EXPECT_EQ(mt::CandidateStream(sieve, 7).next_valid(), first);
}

TEST(Mt2203Search, EquidistributionAgreesWithRank) {
    // Row 0: k(1) = 2203, k(8) = 274 and k(32) = 68 by the lattice; the rank shows 274 outputs
    // independent at 8 bits and 275 not, 68 at 32 bits.
    EXPECT_EQ(mt::equidistribution(kRow0, 1), mt::kDegree);
    EXPECT_EQ(mt::equidistribution(kRow0, 8), 274);
    EXPECT_EQ(mt::equidistribution(kRow0, 32), 68);
    EXPECT_TRUE(outputs_independent(kRow0, 274, 8));
    EXPECT_FALSE(outputs_independent(kRow0, 275, 8));
    EXPECT_TRUE(outputs_independent(kRow0, 68, 32));
    // The fixed rows' own masks, as measured when the table was planned.
    EXPECT_EQ(mt::total_defect(kRow0), 699);
    EXPECT_EQ(mt::total_defect(mt::kFixedRows[1].params), 700);
    EXPECT_EQ(mt::total_defect(mt::kFixedRows[2].params), 713);
}

TEST(Mt2203Search, TemperingMasksKeepTheirZeroBits) {
    mt::Params p = mt::temper_search(kRow0.a, 0, 2);
    EXPECT_EQ(p.a, kRow0.a);
    EXPECT_EQ(p.b & mt::kMaskBZero, 0u);
    EXPECT_EQ(p.c & mt::kMaskCZero, 0u);
    EXPECT_LE(mt::total_defect(p), 900);
}
