// The quasi-random generators: Sobol points and direction numbers against scipy's (committed in
// tests/data/sobol_ref.inc by tests/data/sobol_scipy.py), Niederreiter points against GSL's,
// the (t, m, s)-net property, leapfrog to one coordinate, the end of the sequence, and the one
// shared table per generator.
#include <gsl/gsl_qrng.h>
#include <gtest/gtest.h>

#include <iterator>
#include <thread>
#include <vector>

#include "rng/stream.h"
#include "rng_test.h"

namespace {

using korb::rng::shared_table_count;
using korb::test::make_stream;
using korb::test::Stream;

std::vector<uint32_t> ints(int brng, BixStream *s, int n, int want = BIX_ERROR_OK) {
    BrngProperties p{};
    EXPECT_EQ(__bixGetBrngProperties(brng, &p), BIX_ERROR_OK);
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(p.iGen(s, n, r.data()), want);
    return r;
}

#include "data/sobol_ref.inc"

// The first points in dimension d, as words and as doubles on [0, 1), which are the words times
// 2^-32 exactly.
void expect_points(int d, const uint32_t *want, size_t count) {
    Stream s = make_stream(BIX_BRNG_SOBOL, static_cast<uint32_t>(d));
    const int n = static_cast<int>(count);
    EXPECT_EQ(ints(BIX_BRNG_SOBOL, s.get(), n), std::vector<uint32_t>(want, want + count)) << d;
    Stream t = make_stream(BIX_BRNG_SOBOL, static_cast<uint32_t>(d));
    std::vector<double> u(count);
    ASSERT_EQ(__bixdBRngSobol(t.get(), n, u.data(), 0.0, 1.0), BIX_ERROR_OK);
    for (size_t i = 0; i < count; ++i) ASSERT_EQ(u[i], want[i] * 0x1p-32) << d << " " << i;
}

TEST(Sobol, PointsEqualScipys) {
    expect_points(1, kSobolPoints1, std::size(kSobolPoints1));
    expect_points(6, kSobolPoints6, std::size(kSobolPoints6));
}

// Point 2^(b+1) - 1 of the widest stream holds every dimension's V[b].
TEST(Sobol, DirectionNumbersEqualScipys) {
    constexpr int d = BIX_SOBOL_MAX_DIM;
    for (int b = 0; b < 32; ++b) {
        Stream s = make_stream(BIX_BRNG_SOBOL, d);
        ASSERT_EQ(__bixSkipAheadStream(s.get(), ((2LL << b) - 2) * d), BIX_ERROR_OK);
        const std::vector<uint32_t> point = ints(BIX_BRNG_SOBOL, s.get(), d);
        for (size_t j = 0; j < std::size(kSobolDirectionDims); ++j) {
            ASSERT_EQ(point[kSobolDirectionDims[j]], kSobolDirections[b][j])
                << "V[" << b << "] of dimension " << kSobolDirectionDims[j];
        }
    }
}

TEST(Niederreiter, TopBitsEqualGsls) {
    constexpr int kPoints = 10000;
    for (int d : {1, 5, 12}) {
        gsl_qrng *q = gsl_qrng_alloc(gsl_qrng_niederreiter_2, static_cast<unsigned>(d));
        std::vector<double> x(static_cast<size_t>(d));
        gsl_qrng_get(q, x.data());  // the origin, which our sequence leaves out
        Stream s = make_stream(BIX_BRNG_NIEDERR, static_cast<uint32_t>(d));
        const std::vector<uint32_t> got = ints(BIX_BRNG_NIEDERR, s.get(), d * kPoints);
        for (int i = 0; i < kPoints; ++i) {
            gsl_qrng_get(q, x.data());
            for (int k = 0; k < d; ++k) {
                ASSERT_EQ(got[i * d + k] >> 1, static_cast<uint32_t>(x[k] * 0x1p31))
                    << "d " << d << " point " << i + 1 << " coordinate " << k;
            }
        }
        gsl_qrng_free(q);
    }
}

// The origin and the next 2^m - 1 points form a (t, m, s)-net in base 2: every box with sides
// 2^-q_1, ..., 2^-q_s, q_1 + ... + q_s = m - t, aligned to its sides, holds 2^t points. t is at
// most the sum of (degree - 1) over the dimensions' polynomials: 0, 0, 1, 3, 5 for s = 1..5.
TEST(QuasiRandom, FirstPointsFormNets) {
    const int kT[] = {0, 0, 1, 3, 5};
    for (int brng : {BIX_BRNG_SOBOL, BIX_BRNG_NIEDERR}) {
        for (int s = 1; s <= 5; ++s) {
            const int t = kT[s - 1];
            for (int m = t; m <= 10; ++m) {
                Stream stream = make_stream(brng, static_cast<uint32_t>(s));
                std::vector<uint32_t> x(static_cast<size_t>(s));  // the origin
                const std::vector<uint32_t> rest = ints(brng, stream.get(), s * ((1 << m) - 1));
                x.insert(x.end(), rest.begin(), rest.end());
                // Every way to split m - t digits among the s coordinates: an odometer over
                // the first s - 1 parts, the last one taking the rest.
                const int n = m - t;
                std::vector<int> q(static_cast<size_t>(s), 0);
                for (;;) {
                    int used = 0;
                    for (int k = 0; k + 1 < s; ++k) used += q[k];
                    if (used <= n) {
                        q[s - 1] = n - used;
                        std::vector<int> count(size_t{1} << n, 0);
                        for (int i = 0; i < 1 << m; ++i) {
                            uint32_t box = 0;
                            for (int k = 0; k < s; ++k) {
                                const uint32_t c = x[static_cast<size_t>(i) * s + k];
                                if (q[k] > 0) box = box << q[k] | c >> (32 - q[k]);
                            }
                            ++count[box];
                        }
                        for (int c : count) {
                            ASSERT_EQ(c, 1 << t) << brng << " s " << s << " m " << m;
                        }
                    }
                    int k = 0;
                    while (k + 1 < s && ++q[k] > n) q[k++] = 0;
                    if (k + 1 >= s) break;
                }
            }
        }
    }
}

TEST(QuasiRandom, LeapfrogSelectsOneCoordinate) {
    constexpr int d = 7;
    for (int brng : {BIX_BRNG_SOBOL, BIX_BRNG_NIEDERR}) {
        Stream plain = make_stream(brng, d);
        const std::vector<uint32_t> all = ints(brng, plain.get(), d * 300);
        for (int drawn : {0, 4, d}) {  // from the start, mid-point, at a point's end
            for (int k : {0, 3, d - 1}) {
                Stream s = make_stream(brng, d);
                ints(brng, s.get(), drawn);
                ASSERT_EQ(__bixLeapfrogStream(s.get(), k, d), BIX_ERROR_OK);
                const std::vector<uint32_t> got = ints(brng, s.get(), 200);
                for (int i = 0; i < 200; ++i) {
                    ASSERT_EQ(got[i], all[drawn + k + i * d]) << drawn << " " << k << " " << i;
                }
                // Skip-ahead now counts points of that coordinate; leapfrog (0, 1) is the identity.
                ASSERT_EQ(__bixSkipAheadStream(s.get(), 50), BIX_ERROR_OK);
                ASSERT_EQ(__bixLeapfrogStream(s.get(), 0, 1), BIX_ERROR_OK);
                EXPECT_EQ(ints(brng, s.get(), 1)[0], all[drawn + k + 250 * d]);
            }
        }
        Stream s = make_stream(brng, d);
        for (auto [k, nstreams] : {std::pair{0, d - 1}, {0, d + 1}, {d, d}, {-1, d}, {0, 0}}) {
            EXPECT_EQ(__bixLeapfrogStream(s.get(), k, nstreams), BIX_ERROR_LEAPFROG_UNSUPPORTED)
                << k << " " << nstreams;
        }
        EXPECT_EQ(ints(brng, s.get(), d), std::vector<uint32_t>(all.begin(), all.begin() + d));
    }
}

// The dimension from the seed, and the end of the sequence after 2^32 - 1 points.
TEST(QuasiRandom, DimensionsAndTheEndOfTheSequence) {
    constexpr long long kPoints = 0xFFFFFFFFLL;
    for (auto [brng, max] :
         {std::pair{BIX_BRNG_SOBOL, BIX_SOBOL_MAX_DIM}, {BIX_BRNG_NIEDERR, BIX_NIEDERR_MAX_DIM}}) {
        // No seed and a seed of 0 mean d = 1.
        for (int nseeds : {0, 1}) {
            BixStream *raw = nullptr;
            const uint32_t zero = 0;
            ASSERT_EQ(__bixNewStreamEx(&raw, brng, nseeds, &zero), BIX_ERROR_OK);
            Stream s(raw);
            EXPECT_EQ(ints(brng, s.get(), 2), (std::vector<uint32_t>{0x80000000u, 0xC0000000u}));
        }
        // Coordinate k does not depend on d; Sobol's first point is the centre.
        Stream widest = make_stream(brng, static_cast<uint32_t>(max));
        const std::vector<uint32_t> first = ints(brng, widest.get(), max);
        Stream narrow = make_stream(brng, 12);
        EXPECT_EQ(std::vector<uint32_t>(first.begin(), first.begin() + 12),
                  ints(brng, narrow.get(), 12));
        if (brng == BIX_BRNG_SOBOL) {
            EXPECT_EQ(first, std::vector<uint32_t>(max, 0x80000000u));
        }

        BixStream *raw = nullptr;
        const uint32_t too_wide = static_cast<uint32_t>(max) + 1;
        EXPECT_EQ(__bixNewStreamEx(&raw, brng, 1, &too_wide), BIX_ERROR_BADARGS);
        Stream refused(raw);
        double u;
        EXPECT_EQ(__RegBrngsNew[(brng >> 20) - 1].dGen(raw, 1, &u, 0, 1), BIX_ERROR_BADARGS);
        EXPECT_EQ(__bixSkipAheadStream(raw, 1), BIX_ERROR_BADARGS);
        EXPECT_EQ(__bixLeapfrogStream(raw, 0, 1), BIX_ERROR_BADARGS);

        // The last point, gray(2^32 - 1) = 2^31, is the last row of direction numbers. A request
        // that would run past it fails whole and leaves the stream where it was.
        for (int d : {1, 3}) {
            Stream s = make_stream(brng, static_cast<uint32_t>(d));
            ASSERT_EQ(__bixSkipAheadStream(s.get(), kPoints * d - d - 1), BIX_ERROR_OK);
            ints(brng, s.get(), d + 2, BIX_ERROR_QRNG_PERIOD_ELAPSED);
            const std::vector<uint32_t> tail = ints(brng, s.get(), d + 1);
            ints(brng, s.get(), 1, BIX_ERROR_QRNG_PERIOD_ELAPSED);
            EXPECT_EQ(__bixSkipAheadStream(s.get(), 1), BIX_ERROR_QRNG_PERIOD_ELAPSED);
            EXPECT_EQ(__bixSkipAheadStream(s.get(), 0), BIX_ERROR_OK);

            Stream again = make_stream(brng, static_cast<uint32_t>(d));
            ASSERT_EQ(__bixSkipAheadStream(again.get(), kPoints * d - 1), BIX_ERROR_OK);
            EXPECT_EQ(ints(brng, again.get(), 1)[0], tail.back());
            if (brng == BIX_BRNG_SOBOL && d == 1) {
                EXPECT_EQ(tail.back(), 1u);  // V[31] of dimension 1 is 2^0
            }
            // Leapfrog to the next point from the very end leaves nothing.
            ASSERT_EQ(__bixLeapfrogStream(again.get(), 0, d), BIX_ERROR_OK);
            ints(brng, again.get(), 1, BIX_ERROR_QRNG_PERIOD_ELAPSED);
        }
    }
}

TEST(QuasiRandom, StreamsShareOneTablePerGenerator) {
    const int before = shared_table_count();
    std::vector<Stream> streams;
    for (int i = 0; i < 1000; ++i) streams.push_back(make_stream(BIX_BRNG_SOBOL, 1 + i % 50));
    EXPECT_EQ(shared_table_count(), before + 1);
    streams.push_back(make_stream(BIX_BRNG_NIEDERR, 3));
    BixStream *copy = nullptr;
    ASSERT_EQ(__bixCopyStream(&copy, streams.back().get()), BIX_ERROR_OK);
    streams.emplace_back(copy);
    EXPECT_EQ(shared_table_count(), before + 2);
    for (const Stream &s : streams) {
        EXPECT_EQ(__bixGetNumChunks(s.get()), 1);
        const bool sobol = s->brng == BIX_BRNG_SOBOL;
        EXPECT_EQ(__bixSearchChunk(s.get(), sobol ? 9 : 13),
                  __bixSearchChunk(streams[sobol ? 0 : 1000].get(), sobol ? 9 : 13));
    }
    // Seeding again keeps the one chunk.
    const uint32_t d = 4;
    EXPECT_EQ(__bixBRngSobolInitStream(0, streams[0].get(), 1, &d), BIX_ERROR_OK);
    EXPECT_EQ(__bixGetNumChunks(streams[0].get()), 1);
    streams.clear();
    EXPECT_EQ(shared_table_count(), before);

    // Threads making the first streams at once still bring one entry.
    std::vector<std::thread> threads;
    std::vector<Stream> made(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&made, i] { made[i] = make_stream(BIX_BRNG_SOBOL, 2); });
    }
    for (std::thread &t : threads) t.join();
    EXPECT_EQ(shared_table_count(), before + 1);
    made.clear();
    EXPECT_EQ(shared_table_count(), before);
}

TEST(QuasiRandom, AllocationFailuresLeakNothing) {
    for (int brng : {BIX_BRNG_SOBOL, BIX_BRNG_NIEDERR}) {
        const auto attempt = [brng] {
            BixStream *s = nullptr;
            const uint32_t d = 3;
            int status = __bixNewStreamEx(&s, brng, 1, &d);
            BixStream *c = nullptr;
            if (status == BIX_ERROR_OK) status = __bixCopyStream(&c, s);
            __bixDeleteStream(&c);
            __bixDeleteStream(&s);
            return status;
        };
        korb::test::sweep_allocation_failures(attempt);  // the table made anew each time
        Stream holder = make_stream(brng, 1);
        korb::test::sweep_allocation_failures(attempt);  // the table already shared
    }
}

}  // namespace
