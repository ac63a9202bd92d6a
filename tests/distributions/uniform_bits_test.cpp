// The uniform-bits kernels: which generator gets which conversion, the SFMT19937 pending words
// across calls, copies and saved images, and the generators without a conversion.
#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <vector>

#include "rng/rng_test.h"

namespace {

using korb::test::make_stream;
using korb::test::Stream;

std::vector<uint32_t> bits32(BixStream *s, int n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(_bixiRngUniformBits32(BIX_RNG_METHOD_UNIFORMBITS32_STD, s, n, r.data()),
              BIX_ERROR_OK);
    return r;
}

std::vector<uint64_t> bits64(BixStream *s, int n) {
    std::vector<uint64_t> r(static_cast<size_t>(n));
    EXPECT_EQ(_bixiRngUniformBits64(BIX_RNG_METHOD_UNIFORMBITS64_STD, s, n, r.data()),
              BIX_ERROR_OK);
    return r;
}

// n raw words of the stream's generator, each wordSize / 4 elements.
std::vector<uint32_t> raw(BixStream *s, int n) {
    BrngProperties p{};
    EXPECT_EQ(__bixGetBrngProperties(s->brng, &p), BIX_ERROR_OK);
    std::vector<uint32_t> r(static_cast<size_t>(n) * (p.wordSize / 4));
    EXPECT_EQ(p.iGen(s, n, r.data()), BIX_ERROR_OK);
    return r;
}

template <class T>
std::vector<T> concat(std::vector<T> a, const std::vector<T> &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Successive calls of n[0], n[1], ... outputs, concatenated in call order.
std::vector<uint32_t> bits32(BixStream *s, std::initializer_list<int> n) {
    std::vector<uint32_t> r;
    for (int m : n) r = concat(r, bits32(s, m));
    return r;
}
std::vector<uint64_t> bits64(BixStream *s, std::initializer_list<int> n) {
    std::vector<uint64_t> r;
    for (int m : n) r = concat(r, bits64(s, m));
    return r;
}

std::vector<uint64_t> pairs(const std::vector<uint32_t> &w) {
    std::vector<uint64_t> r(w.size() / 2);
    for (size_t i = 0; i < r.size(); ++i) r[i] = w[2 * i] | uint64_t{w[2 * i + 1]} << 32;
    return r;
}

TEST(UniformBits, HandsTheRowsWordsThrough) {
    for (int brng : {BIX_BRNG_MCG31M1, BIX_BRNG_MCG59, BIX_BRNG_WH + 5, BIX_BRNG_SFMT19937}) {
        Stream s = make_stream(brng, 99), t = make_stream(brng, 99);
        BrngProperties p{};
        ASSERT_EQ(__bixGetBrngProperties(brng, &p), BIX_ERROR_OK);
        std::vector<uint32_t> r(37 * static_cast<size_t>(p.wordSize / 4));
        ASSERT_EQ(_bixiRngUniformBits(BIX_RNG_METHOD_UNIFORMBITS_STD, s.get(), 37, r.data()),
                  BIX_ERROR_OK);
        EXPECT_EQ(r, raw(t.get(), 37)) << brng;
    }
}

// Any split of n, and a copy or a saved image between two calls, give the stream's 32-bit
// words in order; 64-bit outputs are two of them, the earlier in the low half.
TEST(UniformBits, Sfmt19937SplitsContinueTheWordSequence) {
    Stream ref = make_stream(BIX_BRNG_SFMT19937, 5);
    const std::vector<uint32_t> w = raw(ref.get(), 400);

    Stream a = make_stream(BIX_BRNG_SFMT19937, 5), b = make_stream(BIX_BRNG_SFMT19937, 5);
    EXPECT_EQ(bits32(a.get(), {5, 3}), bits32(b.get(), 8));
    EXPECT_EQ(bits32(b.get(), 0), std::vector<uint32_t>{});
    Stream c = make_stream(BIX_BRNG_SFMT19937, 5), d = make_stream(BIX_BRNG_SFMT19937, 5);
    EXPECT_EQ(bits64(c.get(), {3, 1}), bits64(d.get(), 4));
    EXPECT_EQ(bits64(d.get(), 4), pairs({w.begin() + 8, w.begin() + 16}));

    for (int how = 0; how < 3; ++how) {
        Stream s = make_stream(BIX_BRNG_SFMT19937, 5);
        std::vector<uint32_t> got = bits32(s.get(), 5);
        BixStream *next = nullptr;
        if (how == 0) {
            ASSERT_EQ(__bixCopyStream(&next, s.get()), BIX_ERROR_OK);
        } else if (how == 1) {
            next = make_stream(BIX_BRNG_SFMT19937, 1).release();
            ASSERT_EQ(__bixCopyStreamState(next, s.get()), BIX_ERROR_OK);
        } else {
            std::vector<char> image(static_cast<size_t>(__bixGetStreamSize(s.get())));
            ASSERT_EQ(__bixSaveStreamM(s.get(), image.data()), BIX_ERROR_OK);
            ASSERT_EQ(__bixLoadStreamM(&next, image.data()), BIX_ERROR_OK);
        }
        Stream t(next);
        got = concat(got, bits32(t.get(), 3));
        EXPECT_EQ(got, (std::vector<uint32_t>{w.begin(), w.begin() + 8})) << how;
        // 64-bit outputs keep their own record: three, two, then one more after a copy take
        // words 8..19.
        std::vector<uint64_t> got64 = bits64(t.get(), {3, 2});
        BixStream *again = nullptr;
        ASSERT_EQ(__bixCopyStream(&again, t.get()), BIX_ERROR_OK);
        Stream u(again);
        got64 = concat(got64, bits64(u.get(), 1));
        EXPECT_EQ(got64, pairs({w.begin() + 8, w.begin() + 20})) << how;
        EXPECT_EQ(bits32(u.get(), {6, 1}), (std::vector<uint32_t>{w.begin() + 20, w.begin() + 27}))
            << how;
    }
}

TEST(UniformBits, Sfmt19937ManySplits) {
    Stream ref = make_stream(BIX_BRNG_SFMT19937, 77);
    const std::vector<uint32_t> w = raw(ref.get(), 3000);
    Stream s = make_stream(BIX_BRNG_SFMT19937, 77), t = make_stream(BIX_BRNG_SFMT19937, 77);
    std::vector<uint32_t> got;
    std::vector<uint64_t> got64;
    for (int k = 0; got.size() < 5000; ++k) {
        got = concat(got, bits32(s.get(), k * 7 % 13));
        got64 = concat(got64, bits64(t.get(), k * 5 % 9));
    }
    EXPECT_EQ(got, (std::vector<uint32_t>{w.begin(), w.begin() + got.size()}));
    EXPECT_EQ(got64, pairs({w.begin(), w.begin() + 2 * got64.size()}));
}

// MCG59 words have 59 significant bits; the conversions keep the top 32 of each, blocks of
// 2048 words notwithstanding.
TEST(UniformBits, Mcg59TopBits) {
    for (int n : {1, 2047, 2048, 2049, 5000}) {
        Stream ref = make_stream(BIX_BRNG_MCG59, 3);
        const std::vector<uint64_t> w = pairs(raw(ref.get(), 2 * n));
        std::vector<uint32_t> top(w.size());
        for (size_t i = 0; i < w.size(); ++i) top[i] = static_cast<uint32_t>(w[i] >> 27);

        Stream s = make_stream(BIX_BRNG_MCG59, 3);
        EXPECT_EQ(bits32(s.get(), {n, n}), top) << n;
        Stream t = make_stream(BIX_BRNG_MCG59, 3);
        EXPECT_EQ(bits64(t.get(), n), pairs(top)) << n;
    }
}

// Raw-word generators: 32-bit outputs are their words, 64-bit outputs 2n of them.
TEST(UniformBits, RawWordRows) {
    for (int brng : {BIX_BRNG_MT19937, BIX_BRNG_MT2203 + 17}) {
        Stream s = make_stream(brng, 11), ref = make_stream(brng, 11);
        const std::vector<uint32_t> w = raw(ref.get(), 30);
        EXPECT_EQ(bits32(s.get(), 10), (std::vector<uint32_t>{w.begin(), w.begin() + 10}));
        EXPECT_EQ(bits64(s.get(), 10), pairs({w.begin() + 10, w.begin() + 30}));
    }
}

TEST(UniformBits, NondeterministicPassesItsStatusOn) {
    BixStream *p = nullptr;
    const int made = __bixNewStreamEx(&p, BIX_BRNG_NONDETERM, 0, nullptr);
    Stream s(p);
    if (made != BIX_ERROR_OK) GTEST_SKIP() << "no random-number instruction";
    uint32_t r[4] = {};
    uint64_t r64[2] = {};
    EXPECT_EQ(_bixiRngUniformBits32(0, s.get(), 4, r), BIX_ERROR_NONDETERM_NOT_SUPPORTED);
    EXPECT_EQ(_bixiRngUniformBits64(0, s.get(), 2, r64), BIX_ERROR_NONDETERM_NOT_SUPPORTED);
}

// Generators without a conversion, legacy ids of them, and a registered generator: refused
// with nothing written and the stream not advanced.
TEST(UniformBits, OtherGeneratorsAreRefused) {
    std::vector<Stream> streams;
    for (int brng : {BIX_BRNG_MCG31M1, BIX_BRNG_R250, BIX_BRNG_MRG32K3A, BIX_BRNG_WH + 3,
                     BIX_BRNG_SOBOL, BIX_BRNG_NIEDERR, 0, 10, 277, 278}) {
        streams.push_back(make_stream(brng, 2));
    }
    BixStream *p = nullptr;
    uint32_t buffer[4] = {1, 2, 3, 4};
    ASSERT_EQ(
        __bixiNewAbstractStream(&p, 4, buffer, [](BixStream *, int, uint32_t *) { return 4; }),
        BIX_ERROR_OK);
    streams.emplace_back(p);
    BrngProperties row{};
    ASSERT_EQ(__bixGetBrngProperties(BIX_BRNG_MCG31M1, &row), BIX_ERROR_OK);
    const int registered = __bixRegisterBrng(&row);
    ASSERT_GT(registered, 0);
    streams.push_back(make_stream(registered, 2));

    for (Stream &s : streams) {
        BixStream *copy = nullptr;
        ASSERT_EQ(__bixCopyStream(&copy, s.get()), BIX_ERROR_OK);
        Stream untouched(copy);
        std::vector<uint32_t> r(8, 0xA5A5A5A5u);
        std::vector<uint64_t> r64(4, 0xA5A5A5A5A5A5A5A5u);
        EXPECT_EQ(_bixiRngUniformBits32(0, s.get(), 8, r.data()), BIX_ERROR_BRNG_NOT_SUPPORTED)
            << s->brng;
        EXPECT_EQ(_bixiRngUniformBits64(0, s.get(), 4, r64.data()), BIX_ERROR_BRNG_NOT_SUPPORTED)
            << s->brng;
        EXPECT_EQ(r, std::vector<uint32_t>(8, 0xA5A5A5A5u));
        EXPECT_EQ(r64, std::vector<uint64_t>(4, 0xA5A5A5A5A5A5A5A5u));
        EXPECT_EQ(__bixGetNumChunks(s.get()), __bixGetNumChunks(untouched.get()));
        EXPECT_EQ(raw(s.get(), 3), raw(untouched.get(), 3)) << s->brng;
    }
}

TEST(UniformBits, PendingRecordAllocationFailures) {
    korb::test::sweep_allocation_failures([] {
        BixStream *p = nullptr;
        const uint32_t seed = 4;
        int status = __bixNewStreamEx(&p, BIX_BRNG_SFMT19937, 1, &seed);
        Stream s(p);
        uint32_t r[3];
        uint64_t r64[1];
        if (status == BIX_ERROR_OK) status = _bixiRngUniformBits32(0, s.get(), 3, r);
        if (status == BIX_ERROR_OK) status = _bixiRngUniformBits64(0, s.get(), 1, r64);
        if (status == BIX_ERROR_OK) {
            EXPECT_EQ(__bixGetNumChunks(s.get()), 2);
        }
        return status;
    });
}

}  // namespace
