// SFMT19937 against the authors' published reference output for their key array
// (tests/data/sfmt19937_ref.inc) and against an independent scalar model: the recursion, the
// key-array seeding and the period certification written out one 32-bit word at a time from the
// authors' description, with 128-bit words as unsigned __int128 and none of the library's vector
// code. The model reaches the keys and lengths the published output does not cover; it is itself
// checked on the published output.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "rng_test.h"

namespace {

using korb::test::Stream;

class Model {
  public:
    // The authors' key-array seeding.
    explicit Model(const std::vector<uint32_t> &key) {
        const uint32_t mid = (kN - kLag) / 2;
        const auto f1 = [](uint32_t x) { return (x ^ (x >> 27)) * 1664525u; };
        const auto f2 = [](uint32_t x) { return (x ^ (x >> 27)) * 1566083941u; };
        for (uint32_t &x : w_) x = 0x8b8b8b8bu;
        const uint32_t len = static_cast<uint32_t>(key.size());
        const uint32_t count = std::max(len + 1, kN);
        uint32_t r = f1(w_[0] ^ w_[mid] ^ w_[kN - 1]);
        w_[mid] += r;
        r += len;
        w_[mid + kLag] += r;
        w_[0] = r;
        uint32_t i = 1;
        for (uint32_t j = 1; j < count; ++j, i = (i + 1) % kN) {
            r = f1(w_[i] ^ w_[(i + mid) % kN] ^ w_[(i + kN - 1) % kN]);
            w_[(i + mid) % kN] += r;
            r += (j <= len ? key[j - 1] : 0) + i;
            w_[(i + mid + kLag) % kN] += r;
            w_[i] = r;
        }
        for (uint32_t j = 0; j < kN; ++j, i = (i + 1) % kN) {
            r = f2(w_[i] + w_[(i + mid) % kN] + w_[(i + kN - 1) % kN]);
            w_[(i + mid) % kN] ^= r;
            r -= i;
            w_[(i + mid + kLag) % kN] ^= r;
            w_[i] = r;
        }
        certified_ = certify();
    }
    uint32_t next() {
        if (idx_ == kN) {
            step_all();
            idx_ = 0;
        }
        return w_[idx_++];
    }
    std::vector<uint32_t> next(size_t n) {
        std::vector<uint32_t> r(n);
        for (uint32_t &x : r) x = next();
        return r;
    }
    bool flipped_a_bit() const { return !certified_; }

  private:
    using u128 = unsigned __int128;
    static constexpr uint32_t kN = 624, kLag = 11;

    u128 word(uint32_t k) const {
        const uint32_t *p = w_ + 4 * (k % 156);
        return p[0] | u128{p[1]} << 32 | u128{p[2]} << 64 | u128{p[3]} << 96;
    }
    void step_all() {
        static constexpr uint32_t kMask[4] = {0xdfffffefu, 0xddfecb7fu, 0xbffaffffu, 0xbffffff6u};
        for (uint32_t i = 0; i < 156; ++i) {
            const u128 a = word(i), b = word(i + 122), c = word(i + 154), d = word(i + 155);
            const u128 ac = a ^ a << 8 ^ c >> 8;
            for (int k = 0; k < 4; ++k) {
                const uint32_t bk = static_cast<uint32_t>(b >> 32 * k);
                const uint32_t dk = static_cast<uint32_t>(d >> 32 * k);
                w_[4 * i + k] = static_cast<uint32_t>(ac >> 32 * k) ^ ((bk >> 11) & kMask[k]) ^
                                static_cast<uint32_t>(dk << 18);
            }
        }
    }
    // True when the state already had odd parity; otherwise flips the first parity bit.
    bool certify() {
        static constexpr uint32_t kParity[4] = {1, 0, 0, 0x13c9e684u};
        int ones = 0;
        for (int i = 0; i < 4; ++i) {
            for (int b = 0; b < 32; ++b) ones += (w_[i] & kParity[i]) >> b & 1;
        }
        if (ones % 2 == 1) return true;
        w_[0] ^= 1;  // the lowest set bit of the parity words
        return false;
    }

    uint32_t w_[kN];
    uint32_t idx_ = kN;
    bool certified_ = true;
};

Stream make(const std::vector<uint32_t> &key) {
    BixStream *s = nullptr;
    EXPECT_EQ(__bixNewStreamEx(&s, BIX_BRNG_SFMT19937, static_cast<int>(key.size()), key.data()),
              BIX_ERROR_OK);
    return Stream(s);
}

std::vector<uint32_t> words(BixStream *s, int n128) {
    std::vector<uint32_t> r(4 * static_cast<size_t>(n128));
    EXPECT_EQ(__bixiBRngSFMT19937(s, n128, r.data()), BIX_ERROR_OK);
    return r;
}

#include "data/sfmt19937_ref.inc"

// The published output, word for word, from the generator and from the model, in one call and
// split across calls at odd 128-bit boundaries.
TEST(Sfmt19937, PublishedReferenceOutputForTheAuthorsKey) {
    const std::vector<uint32_t> key = {0x1234, 0x5678, 0x9abc, 0xdef0};
    const std::vector<uint32_t> expected(std::begin(kSfmtReference), std::end(kSfmtReference));
    EXPECT_EQ(Model(key).next(1000), expected);
    Stream whole = make(key);
    EXPECT_EQ(words(whole.get(), 250), expected);
    Stream split = make(key);
    std::vector<uint32_t> got;
    for (int n : {1, 155, 3, 91}) {
        const std::vector<uint32_t> part = words(split.get(), n);
        got.insert(got.end(), part.begin(), part.end());
    }
    EXPECT_EQ(got, expected);
}

// The authors' reference key, keys shorter and longer than the state, and no key at all (the
// key {1}); between them the period certification both passes and flips a bit.
TEST(Sfmt19937, KeyArraysGiveTheReferenceWords) {
    const std::vector<uint32_t> reference = {0x1234, 0x5678, 0x9abc, 0xdef0};
    std::vector<uint32_t> long_key(700);
    for (size_t i = 0; i < long_key.size(); ++i)
        long_key[i] = static_cast<uint32_t>(i * 2654435761u);
    bool passed = false, flipped = false;
    for (const auto &key : {reference, std::vector<uint32_t>{1}, std::vector<uint32_t>{20261121},
                            std::vector<uint32_t>{7}, std::vector<uint32_t>(624, 3), long_key}) {
        Model m(key);
        (m.flipped_a_bit() ? flipped : passed) = true;
        Stream s = make(key);
        EXPECT_EQ(words(s.get(), 2500), m.next(10000)) << "key of " << key.size() << " words";
    }
    EXPECT_TRUE(passed && flipped) << "the keys should exercise both outcomes of certification";

    BixStream *none = nullptr;
    ASSERT_EQ(__bixNewStreamEx(&none, BIX_BRNG_SFMT19937, 0, nullptr), BIX_ERROR_OK);
    Stream guard(none);
    EXPECT_EQ(words(none, 200), Model(std::vector<uint32_t>{1}).next(800));
}

// Integers, doubles and floats draw from one sequence of 32-bit words, one word per real
// number, in any order and at any offset within a 128-bit word.
TEST(Sfmt19937, OneWordSequenceForEveryPrecision) {
    const std::vector<uint32_t> key = {5, 6};
    Model m(key);
    Stream s = make(key);
    for (int round = 0; round < 40; ++round) {
        const int n = 1 + round * 37 % 700;
        switch (round % 3) {
            case 0:
                ASSERT_EQ(words(s.get(), n), m.next(4 * static_cast<size_t>(n))) << round;
                break;
            case 1: {
                std::vector<double> d(static_cast<size_t>(n));
                ASSERT_EQ(__bixdBRngSFMT19937(s.get(), n, d.data(), -2.0, 6.0), BIX_ERROR_OK);
                for (double x : d) ASSERT_EQ(x, m.next() * (8.0 * 0x1p-32) + -2.0) << round;
                break;
            }
            default: {
                std::vector<float> f(static_cast<size_t>(n));
                ASSERT_EQ(__bixsBRngSFMT19937(s.get(), n, f.data(), 0.0f, 1.0f), BIX_ERROR_OK);
                for (float x : f) {
                    const float want = static_cast<float>(m.next() * 0x1p-32);
                    ASSERT_EQ(x, want < 1.0f ? want : std::nextafter(1.0f, 0.0f)) << round;
                }
            }
        }
    }
    // A request far beyond the state runs the recursion in the caller's array.
    EXPECT_EQ(words(s.get(), 100003), m.next(400012));
    EXPECT_EQ(words(s.get(), 3), m.next(12));
}

// Discards n 128-bit words in blocks.
void discard(BixStream *s, long long n) {
    std::vector<uint32_t> r(4 << 20);
    for (; n > 0; n -= 1 << 20) {
        ASSERT_EQ(__bixiBRngSFMT19937(s, static_cast<int>(std::min(n, 1LL << 20)), r.data()),
                  BIX_ERROR_OK);
    }
}

// Skips of fewer than 2^17 renewals of the window renew it; longer ones jump by the
// characteristic polynomial. Both must land where discarding lands, from any position.
TEST(Sfmt19937, SkipAheadEqualsDiscarding) {
    const long long jump = 156LL << 17;
    for (long long nskip : {0LL, 1LL, 155LL, 156LL, 157LL, jump - 200, jump, jump + 12345}) {
        for (int offset : {0, 3}) {  // 32-bit words drawn first, as doubles
            Stream s = make({8, 9}), t = make({8, 9});
            std::vector<double> d(3);
            for (BixStream *x : {s.get(), t.get()}) {
                ASSERT_EQ(__bixdBRngSFMT19937(x, offset, d.data(), 0.0, 1.0), BIX_ERROR_OK);
            }
            ASSERT_EQ(__bixSkipAheadStream(s.get(), nskip), BIX_ERROR_OK);
            discard(t.get(), nskip);
            EXPECT_EQ(words(s.get(), 200), words(t.get(), 200)) << nskip << " after " << offset;
        }
    }
}

// Far jumps compose: a skip of a then b lands where one skip of a + b does.
TEST(Sfmt19937, FarSkipsCompose) {
    const long long a = (1LL << 40) + 7, b = (1LL << 61) + 12345;
    Stream s = make({3}), t = make({3});
    ASSERT_EQ(__bixSkipAheadStream(s.get(), a), BIX_ERROR_OK);
    ASSERT_EQ(__bixSkipAheadStream(s.get(), b), BIX_ERROR_OK);
    ASSERT_EQ(__bixSkipAheadStream(t.get(), a + b), BIX_ERROR_OK);
    EXPECT_EQ(words(s.get(), 300), words(t.get(), 300));
}

// A damaged image may hold any position; the stream must stay inside its buffer.
TEST(Sfmt19937, PositionOutOfRangeIsTreatedAsUsedUp) {
    for (int32_t bad : {625, -1, 1 << 30}) {
        Stream c = make({9});
        words(c.get(), 156);
        std::memcpy(reinterpret_cast<char *>(c.get()) + 16 + 2496, &bad, 4);
        Stream u = make({9});
        words(u.get(), 156);
        EXPECT_EQ(words(c.get(), 10), words(u.get(), 10)) << bad;
    }
}

}  // namespace
