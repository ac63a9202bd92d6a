// MT19937 against the published reference output and CPython's random module
// (tests/data/mt19937_ref.inc), and both twisters against a plain model: the recurrence written
// out over one growing vector, x(k + n) = x(k + m) ^ twist(upper(x(k)) | lower(x(k + 1))),
// without blocks, splits or vectors.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "rng/stream.h"
#include "rng_test.h"

namespace {

using korb::test::Stream;

struct MtKey {
    int length;
    uint32_t first;
};
struct MtSample {
    int key;
    int index;
    uint32_t value;
};
#include "data/mt19937_ref.inc"

struct Twister {
    int n, m;
    uint32_t lower;  // mask of the bits taken from x(k + 1)
    int shift;       // first tempering shift
    uint32_t a, b, c;
};
constexpr Twister kMt19937 = {624, 397, 0x7FFFFFFF, 11, 0x9908B0DF, 0x9D2C5680, 0xEFC60000};
// The rows of MT2203 members 0, 1 and 6023 as the generator's definition gives them.
constexpr Twister mt2203(uint32_t a, uint32_t b, uint32_t c) {
    return {69, 34, 0x1F, 12, a, b, c};
}
constexpr Twister kMember0 = mt2203(0xAF81055F, 0xDD7EEF80, 0xEFD78000);
constexpr Twister kMember1 = mt2203(0x832604E1, 0x66AD7F80, 0xEBD58000);
constexpr Twister kMember6023 = mt2203(0xE8761D4B, 0x72967680, 0xEFEB0000);

uint32_t temper(const Twister &t, uint32_t y) {
    y ^= y >> t.shift;
    y ^= (y << 7) & t.b;
    y ^= (y << 15) & t.c;
    return y ^ (y >> 18);
}

// The seeded words x(0..n-1), from the key array.
std::vector<uint32_t> seeded(const Twister &t, std::vector<uint32_t> key) {
    if (key.empty()) key = {1};
    const int n = t.n, len = static_cast<int>(key.size());
    std::vector<uint32_t> x(n);
    x[0] = 19650218u;
    for (int i = 1; i < n; ++i) x[i] = 1812433253u * (x[i - 1] ^ (x[i - 1] >> 30)) + i;
    int i = 1, j = 0;
    for (int k = std::max(n, len); k > 0; --k) {
        x[i] = (x[i] ^ ((x[i - 1] ^ (x[i - 1] >> 30)) * 1664525u)) + key[j] + j;
        ++i, ++j;
        if (i == n) x[0] = x[n - 1], i = 1;
        if (j == len) j = 0;
    }
    for (int k = n - 1; k > 0; --k) {
        x[i] = (x[i] ^ ((x[i - 1] ^ (x[i - 1] >> 30)) * 1566083941u)) - i;
        if (++i == n) x[0] = x[n - 1], i = 1;
    }
    x[0] = 0x80000000u;
    return x;
}

// The seeded words followed by `count` more of the recurrence (untempered).
std::vector<uint32_t> words(const Twister &t, const std::vector<uint32_t> &key, size_t count) {
    std::vector<uint32_t> x = seeded(t, key);
    for (size_t k = 0; k < count; ++k) {
        const uint32_t y = (x[k] & ~t.lower) | (x[k + 1] & t.lower);
        x.push_back(x[k + t.m] ^ (y >> 1) ^ (y & 1 ? t.a : 0));
    }
    return x;
}

std::vector<uint32_t> outputs(const Twister &t, const std::vector<uint32_t> &key, size_t count) {
    const std::vector<uint32_t> x = words(t, key, count);
    std::vector<uint32_t> r;
    for (size_t k = 0; k < count; ++k) r.push_back(temper(t, x[t.n + k]));
    return r;
}

Stream make(int brng, const std::vector<uint32_t> &key) {
    BixStream *s = nullptr;
    EXPECT_EQ(__bixNewStreamEx(&s, brng, static_cast<int>(key.size()), key.data()), BIX_ERROR_OK);
    return Stream(s);
}

BrngProperties row_of(int brng) {
    BrngProperties p{};
    EXPECT_EQ(__bixGetBrngProperties(brng, &p), BIX_ERROR_OK);
    return p;
}

std::vector<uint32_t> ints(BixStream *s, int n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(row_of(s->brng).iGen(s, n, r.data()), BIX_ERROR_OK);
    return r;
}

// Draws `pieces` one call each, then the rest up to n in one call.
std::vector<uint32_t> ints_in_pieces(BixStream *s, std::vector<int> pieces, int n) {
    std::vector<uint32_t> r;
    for (int piece : pieces) {
        const std::vector<uint32_t> part = ints(s, piece);
        r.insert(r.end(), part.begin(), part.end());
    }
    const std::vector<uint32_t> rest = ints(s, n - static_cast<int>(r.size()));
    r.insert(r.end(), rest.begin(), rest.end());
    return r;
}

TEST(Mt19937, GivesThePublishedReferenceOutput) {
    const std::vector<uint32_t> key = {0x123, 0x234, 0x345, 0x456};
    const std::vector<uint32_t> want(std::begin(kMtReference), std::end(kMtReference));
    Stream whole = make(BIX_BRNG_MT19937, key);
    EXPECT_EQ(ints(whole.get(), 1000), want);
    Stream pieces = make(BIX_BRNG_MT19937, key);
    EXPECT_EQ(ints_in_pieces(pieces.get(), {1, 2, 220, 3, 1, 396, 2}, 1000), want);
    EXPECT_EQ(outputs(kMt19937, key, 1000), want);  // the model, checked once here
}

TEST(Mt19937, MatchesCPythonForKeysOfEveryLength) {
    for (int k = 0; k < static_cast<int>(std::size(kMtKeys)); ++k) {
        std::vector<uint32_t> key;
        for (int j = 0; j < kMtKeys[k].length; ++j)
            key.push_back(kMtKeys[k].first + j * 0x9E3779B9u);
        Stream s = make(BIX_BRNG_MT19937, key);
        const std::vector<uint32_t> got = ints(s.get(), 5001);
        for (const MtSample &sample : kMtSamples) {
            if (sample.key != k) continue;
            EXPECT_EQ(got[sample.index], sample.value) << k << " " << sample.index;
        }
    }
    // No seed words, or a null key, is the key {1}.
    std::vector<uint32_t> one;
    for (const MtSample &sample : kMtSamples) {
        if (sample.key == 1 && sample.index < 8) one.push_back(sample.value);
    }
    for (int n : {0, -5, 3}) {
        BixStream *s = nullptr;
        ASSERT_EQ(__bixNewStreamEx(&s, BIX_BRNG_MT19937, n, nullptr), BIX_ERROR_OK);
        Stream owned(s);
        EXPECT_EQ(ints(s, 8), one) << n;
    }
}

TEST(Mt2203, MembersFollowTheRecurrenceWithTheirRows) {
    const std::vector<uint32_t> key = {20261121, 7};
    for (auto [member, model] : {std::pair{0, kMember0}, {1, kMember1}, {6023, kMember6023}}) {
        Stream s = make(BIX_BRNG_MT2203 + member, key);
        // Pieces ending on each side of the split (35) and of the block's end (69).
        EXPECT_EQ(ints_in_pieces(s.get(), {1, 33, 1, 1, 33, 1, 68, 70, 139, 3}, 20000),
                  outputs(model, key, 20000))
            << member;
    }
    Stream zero = make(BIX_BRNG_MT2203, key), one = make(BIX_BRNG_MT2203 + 1, key);
    EXPECT_NE(ints(zero.get(), 10), ints(one.get(), 10));

    BixStream *s = nullptr;
    EXPECT_EQ(__bixNewStreamEx(&s, BIX_BRNG_MT2203 + 6024, 0, nullptr), BIX_ERROR_INVALID_BRNG);
    EXPECT_EQ(s, nullptr);
    // A stream whose id has been damaged since it was made is not seeded.
    Stream damaged = make(BIX_BRNG_MT2203 + 6023, key);
    damaged->brng = BIX_BRNG_MT2203 + 6024;
    EXPECT_EQ(__bixBRngMT2203InitStream(0, damaged.get(), 0, nullptr), BIX_ERROR_INVALID_BRNG);
}

// The state as the generator holds it: the untempered block and the index.
struct Block {
    std::vector<uint32_t> mt;
    int32_t index;
    bool operator==(const Block &) const = default;
};
Block block_of(BixStream *s, int n) {
    const uint32_t *w = korb::rng::state_of<uint32_t>(s);
    return {std::vector<uint32_t>(w, w + n), static_cast<int32_t>(w[n])};
}
// Block j of the model: j = 0 the seeded words, j = 1 the first regeneration, ...
std::vector<uint32_t> model_block(const Twister &t, const std::vector<uint32_t> &key, int j) {
    const std::vector<uint32_t> x = words(t, key, static_cast<size_t>(j) * t.n);
    return std::vector<uint32_t>(x.end() - t.n, x.end());
}

TEST(Twisters, RegenerateOnlyWhenABlockIsUsedUp) {
    const std::vector<uint32_t> key = {5};
    Stream s = make(BIX_BRNG_MT19937, key);
    EXPECT_EQ(block_of(s.get(), 624), (Block{model_block(kMt19937, key, 0), 624}));
    ints(s.get(), 1);
    EXPECT_EQ(block_of(s.get(), 624), (Block{model_block(kMt19937, key, 1), 1}));
    ints(s.get(), 623);
    EXPECT_EQ(block_of(s.get(), 624), (Block{model_block(kMt19937, key, 1), 624}));
    ints(s.get(), 1);
    EXPECT_EQ(block_of(s.get(), 624), (Block{model_block(kMt19937, key, 2), 1}));

    Stream t = make(BIX_BRNG_MT2203 + 1, key);
    EXPECT_EQ(block_of(t.get(), 69), (Block{model_block(kMember1, key, 0), 69}));
    const uint32_t *params = korb::rng::state_of<uint32_t>(t.get()) + 70;
    EXPECT_EQ(std::vector<uint32_t>(params, params + 3),
              (std::vector<uint32_t>{kMember1.a, kMember1.b, kMember1.c}));
    ints(t.get(), 70);
    EXPECT_EQ(block_of(t.get(), 69), (Block{model_block(kMember1, key, 2), 1}));
}

// Tempering inverted: x = y ^ ((x << s) & mask) and x = y ^ (x >> s), solved by iterating, each
// round fixing s more bits.
uint32_t undo_left(uint32_t y, int s, uint32_t mask) {
    uint32_t x = y;
    for (int i = 0; i < 32; ++i) x = y ^ ((x << s) & mask);
    return x;
}
uint32_t undo_right(uint32_t y, int s) {
    uint32_t x = y;
    for (int i = 0; i < 32; ++i) x = y ^ (x >> s);
    return x;
}
uint32_t untemper(const Twister &t, uint32_t y) {
    return undo_right(undo_left(undo_left(undo_right(y, 18), 15, t.c), 7, t.b), t.shift);
}

// The extreme words, placed by hand at the end of a block: 0 gives exactly a, the largest word
// stays below b.
TEST(Twisters, RealOutputsOfTheExtremeWords) {
    const uint32_t extremes[4] = {0, 0xFFFFFFFF, 1, 0x80000000};
    for (auto [brng, t] : {std::pair{BIX_BRNG_MT19937, kMt19937}, {BIX_BRNG_MT2203, kMember0}}) {
        const BrngProperties p = row_of(brng);
        auto placed = [&] {
            Stream s = make(brng, {});
            uint32_t *w = korb::rng::state_of<uint32_t>(s.get());
            for (int i = 0; i < 4; ++i) w[t.n - 4 + i] = untemper(t, extremes[i]);
            w[t.n] = t.n - 4;
            return s;
        };
        for (uint32_t e : extremes) ASSERT_EQ(temper(t, untemper(t, e)), e);
        Stream s = placed(), f = placed();
        double d[4];
        ASSERT_EQ(p.dGen(s.get(), 4, d, -0.5, 0.5), BIX_ERROR_OK);
        EXPECT_EQ(d[0], -0.5);
        EXPECT_EQ(d[1], 0.5 - 0x1p-32);
        EXPECT_EQ(d[2], -0.5 + 0x1p-32);
        EXPECT_EQ(d[3], 0.0);
        float r[4];
        ASSERT_EQ(p.sGen(f.get(), 4, r, 0.0f, 1.0f), BIX_ERROR_OK);
        EXPECT_EQ(r[0], 0.0f);
        EXPECT_EQ(r[1], std::nextafter(1.0f, 0.0f));  // rounds to 1 and is pulled back
        EXPECT_EQ(r[3], 0.5f);
    }
}

// Doubles (made in place over their words) and floats are the words scaled, over requests that
// cross many blocks, from a stream that starts inside a block.
TEST(Twisters, RealOutputsScaleTheWords) {
    const int n = 7001;
    for (int brng : {BIX_BRNG_MT19937, BIX_BRNG_MT2203 + 17}) {
        const BrngProperties p = row_of(brng);
        Stream si = make(brng, {9}), sd = make(brng, {9}), sf = make(brng, {9});
        for (BixStream *s : {si.get(), sd.get(), sf.get()}) ints(s, 3);
        const std::vector<uint32_t> w = ints(si.get(), n);
        const double a = -3.0, b = 5.5;
        std::vector<double> d(n);
        ASSERT_EQ(p.dGen(sd.get(), n, d.data(), a, b), BIX_ERROR_OK);
        const double scale = (b - a) * 0x1p-32;
        for (int i = 0; i < n; ++i) ASSERT_EQ(d[i], static_cast<double>(w[i]) * scale + a) << i;
        std::vector<float> f(n);
        ASSERT_EQ(p.sGen(sf.get(), n, f.data(), 1.0f, 2.0f), BIX_ERROR_OK);
        for (int i = 0; i < n; ++i) {
            float want = static_cast<float>(static_cast<double>(w[i]) * 0x1p-32 + 1.0);
            if (want >= 2.0f) want = std::nextafter(2.0f, 0.0f);
            ASSERT_EQ(f[i], want) << i;
        }
        // All three streams stand at the same place.
        const std::vector<uint32_t> next = ints(si.get(), 5);
        EXPECT_EQ(ints(sd.get(), 5), next);
        EXPECT_EQ(ints(sf.get(), 5), next);
    }
}

// A state from a hand-made image may hold any index: one outside the block counts as a used-up
// block, so nothing is read or written outside the state (the sanitizer run checks it).
TEST(Twisters, AnIndexOutOfRangeRegeneratesFirst) {
    for (auto [brng, n] : {std::pair{BIX_BRNG_MT19937, 624}, {BIX_BRNG_MT2203, 69}}) {
        const BrngProperties p = row_of(brng);
        for (int32_t index : {n + 1, -1, 1 << 30}) {
            Stream s = make(brng, {4}), reference = make(brng, {4});
            korb::rng::state_of<int32_t>(s.get())[n] = index;
            std::vector<double> d(n + 2), e(n + 2);
            ASSERT_EQ(p.dGen(s.get(), n + 2, d.data(), 0.0, 1.0), BIX_ERROR_OK);
            ASSERT_EQ(p.dGen(reference.get(), n + 2, e.data(), 0.0, 1.0), BIX_ERROR_OK);
            EXPECT_EQ(d, e) << index;
            korb::rng::state_of<int32_t>(s.get())[n] = index;
            korb::rng::state_of<int32_t>(reference.get())[n] = n;
            EXPECT_EQ(ints(s.get(), 2 * n + 3), ints(reference.get(), 2 * n + 3)) << index;
        }
    }
}

}  // namespace
