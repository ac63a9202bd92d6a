// R250 against an independent model: the seeded words and the recurrence written out over one
// growing vector, z(k) = z(k - 250) xor z(k - 147).
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "rng/stream.h"
#include "rng_test.h"

namespace {

using korb::test::make_stream;
using korb::test::Stream;

// The 250 seeded words followed by n outputs.
std::vector<uint32_t> model(uint32_t seed, size_t n) {
    std::vector<uint32_t> z;
    uint32_t s = seed == 0 ? 1 : seed;
    for (int k = 0; k < 250; ++k) z.push_back(s *= 69069u);
    for (int j = 0; j < 32; ++j) {
        const uint32_t diagonal = 0x80000000u >> j;
        z[7 * j + 3] = (z[7 * j + 3] & (diagonal - 1)) | diagonal;
    }
    for (size_t k = 0; k < n; ++k) z.push_back(z[k] ^ z[k + 103]);
    return z;
}

std::vector<uint32_t> outputs(uint32_t seed, size_t n) {
    std::vector<uint32_t> z = model(seed, n);
    return std::vector<uint32_t>(z.begin() + 250, z.end());
}

std::vector<uint32_t> ints(BixStream *s, int n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(__bixiBRngR250(s, n, r.data()), BIX_ERROR_OK);
    return r;
}

TEST(R250, SeedingFillsTheBufferAndSetsTheDiagonal) {
    for (uint32_t seed : {1u, 12345u, 0xFFFFFFFFu}) {
        Stream s = make_stream(BIX_BRNG_R250, seed);
        const uint32_t *x = korb::rng::state_of<uint32_t>(s.get());
        const std::vector<uint32_t> z = model(seed, 0);
        EXPECT_EQ(std::vector<uint32_t>(x, x + 250), z) << seed;
        // Word 7j + 3 has bit 31 - j as its highest set bit.
        for (int j = 0; j < 32; ++j) EXPECT_EQ(x[7 * j + 3] >> (31 - j), 1u) << j;
    }
    // Seed 0 and no seed at all both mean seed 1; only the first word counts. The first words
    // of seed 1 are those of an independent implementation of the same generator (GSL 2.7,
    // gsl_rng_r250 seeded with 1).
    BixStream *raw = nullptr;
    ASSERT_EQ(__bixNewStreamEx(&raw, BIX_BRNG_R250, 0, nullptr), BIX_ERROR_OK);
    Stream none(raw);
    const uint32_t two[2] = {1, 99};
    ASSERT_EQ(__bixNewStreamEx(&raw, BIX_BRNG_R250, 2, two), BIX_ERROR_OK);
    Stream first_only(raw);
    Stream zero = make_stream(BIX_BRNG_R250, 0);
    const std::vector<uint32_t> expect = {985332332u, 2548108996u, 1634299164u};
    EXPECT_EQ(ints(none.get(), 3), expect);
    EXPECT_EQ(ints(first_only.get(), 3), expect);
    EXPECT_EQ(ints(zero.get(), 3), expect);
}

TEST(R250, IntegersFollowTheRecurrence) {
    for (uint32_t seed : {7u, 4294967295u}) {
        const std::vector<uint32_t> want = outputs(seed, 100003);
        Stream s = make_stream(BIX_BRNG_R250, seed);
        std::vector<uint32_t> got;
        // Pieces that start and end at every kind of place in the buffer's two runs.
        for (int piece : {1, 2, 146, 1, 103, 250, 499, 5}) {
            const std::vector<uint32_t> part = ints(s.get(), piece);
            got.insert(got.end(), part.begin(), part.end());
        }
        const std::vector<uint32_t> rest = ints(s.get(), 100003 - static_cast<int>(got.size()));
        got.insert(got.end(), rest.begin(), rest.end());
        EXPECT_EQ(got, want) << seed;
    }
}

TEST(R250, RealOutputsScaleTheWords) {
    const int n = 1003;
    const std::vector<uint32_t> w = outputs(42, n);
    for (auto [a, b] : {std::pair{0.0, 1.0}, {-3.0, 5.5}, {1e6, 1e6 + 1}}) {
        Stream s = make_stream(BIX_BRNG_R250, 42);
        std::vector<double> r(n);
        ASSERT_EQ(__bixdBRngR250(s.get(), n, r.data(), a, b), BIX_ERROR_OK);
        const double scale = (b - a) * 0x1p-32;
        for (int i = 0; i < n; ++i) ASSERT_EQ(r[i], static_cast<double>(w[i]) * scale + a) << i;

        const float fa = static_cast<float>(a), fb = static_cast<float>(b);
        Stream t = make_stream(BIX_BRNG_R250, 42);
        std::vector<float> f(n);
        ASSERT_EQ(__bixsBRngR250(t.get(), n, f.data(), fa, fb), BIX_ERROR_OK);
        const double fscale = (static_cast<double>(fb) - fa) * 0x1p-32;
        for (int i = 0; i < n; ++i) {
            float want = static_cast<float>(static_cast<double>(w[i]) * fscale + fa);
            if (want >= fb) want = std::nextafter(fb, 0.0f);
            ASSERT_EQ(f[i], want) << i;
        }
    }
    // On an interval one float wide every word of 2^31 or more rounds to b and is pulled back.
    Stream s = make_stream(BIX_BRNG_R250, 42);
    std::vector<float> f(n);
    ASSERT_EQ(__bixsBRngR250(s.get(), n, f.data(), 1.0f, std::nextafter(1.0f, 2.0f)), 0);
    for (float v : f) ASSERT_EQ(v, 1.0f);
}

TEST(R250, SkipAheadIsExact) {
    const std::vector<uint32_t> want = outputs(5, 1000020);
    for (long long nskip : {1LL, 146LL, 147LL, 249LL, 250LL, 251LL, 1000003LL}) {
        Stream s = make_stream(BIX_BRNG_R250, 5);
        ints(s.get(), 3);  // start from inside the buffer
        ASSERT_EQ(__bixSkipAheadStream(s.get(), nskip), BIX_ERROR_OK);
        const std::vector<uint32_t> got = ints(s.get(), 10);
        EXPECT_EQ(got, std::vector<uint32_t>(want.begin() + 3 + nskip, want.begin() + 13 + nskip))
            << nskip;
    }
    // Far skips compose: 2^40 then 2^62 + 5 is 2^62 + 2^40 + 5.
    Stream s = make_stream(BIX_BRNG_R250, 5), t = make_stream(BIX_BRNG_R250, 5);
    ASSERT_EQ(__bixSkipAheadStream(s.get(), 1LL << 40), BIX_ERROR_OK);
    ASSERT_EQ(__bixSkipAheadStream(s.get(), (1LL << 62) + 5), BIX_ERROR_OK);
    ASSERT_EQ(__bixSkipAheadStream(t.get(), (1LL << 62) + (1LL << 40) + 5), BIX_ERROR_OK);
    EXPECT_EQ(ints(s.get(), 300), ints(t.get(), 300));
}

}  // namespace

namespace {

// A state from a hand-made image may hold any position: it is taken modulo 250, never used to
// index past the buffer (the sanitizer run checks the accesses).
TEST(R250, APositionOutOfRangeStaysInsideTheBuffer) {
    for (int32_t position : {250, 1000, -7}) {
        Stream s = make_stream(BIX_BRNG_R250, 5);
        Stream reference = make_stream(BIX_BRNG_R250, 5);
        korb::rng::state_of<int32_t>(s.get())[250] = position;
        korb::rng::state_of<int32_t>(reference.get())[250] =
            static_cast<int32_t>(static_cast<uint32_t>(position) % 250);
        EXPECT_EQ(ints(s.get(), 300), ints(reference.get(), 300)) << position;
        const int64_t skip = 1000;
        EXPECT_EQ(__bixSkipAheadStream(s.get(), skip), BIX_ERROR_OK);
        EXPECT_EQ(__bixSkipAheadStream(reference.get(), skip), BIX_ERROR_OK);
        EXPECT_EQ(ints(s.get(), 10), ints(reference.get(), 10)) << position;
    }
}

}  // namespace
