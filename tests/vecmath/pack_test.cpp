// Pack and Unpack in the four precisions: round trips by stride, mask and index (0- and 1-based),
// the counts of the mask kernels, elements moved as bits, and the reserved flag bits.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "korb/kernel/vm.h"

namespace {

// The kernels of one precision, with its element type.
template <class E>
struct Kernels {
    int (*pack_i)(int, const E *, std::int64_t, E *, int);
    int (*pack_m)(int, const E *, const std::int64_t *, E *, int);
    int (*pack_v)(int, const E *, const std::int64_t *, E *, int);
    int (*unpack_i)(int, const E *, E *, std::int64_t, int);
    int (*unpack_m)(int, const E *, E *, const std::int64_t *, int);
    int (*unpack_v)(int, const E *, E *, const std::int64_t *, int);
};

const Kernels<float> kS = {_arqsPackI,   _arqsPackM,   _arqsPackV,
                           _arqsUnpackI, _arqsUnpackM, _arqsUnpackV};
const Kernels<double> kD = {_arqdPackI_50, _arqdPackM_26, _arqdPackV_HA,
                            _arqdUnpackI,  _arqdUnpackM,  _arqdUnpackV};
const Kernels<ArqComplexFloat> kC = {_arqcPackI,   _arqcPackM,   _arqcPackV,
                                     _arqcUnpackI, _arqcUnpackM, _arqcUnpackV_11};
const Kernels<ArqComplexDouble> kZ = {_arqzPackI,   _arqzPackM,   _arqzPackV,
                                      _arqzUnpackI, _arqzUnpackM, _arqzUnpackV};

// Distinct elements whose bits tell them apart, signalling NaNs among them.
template <class E>
std::vector<E> elements(int n, std::uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::vector<E> v(static_cast<std::size_t>(n));
    for (E &e : v) {
        unsigned char bytes[sizeof(E)];
        for (unsigned char &b : bytes) b = static_cast<unsigned char>(rng());
        std::memcpy(&e, bytes, sizeof(E));
    }
    if (n > 3) {
        const std::uint64_t snan = 0x7FF0000000000001ull;
        std::memcpy(&v[3], &snan, std::min(sizeof(E), sizeof snan));
    }
    return v;
}

template <class E>
bool same(const E &x, const E &y) {
    return std::memcmp(&x, &y, sizeof(E)) == 0;
}

template <class E>
void round_trips(const Kernels<E> &k, const char *name) {
    SCOPED_TRACE(name);
    constexpr int n = 301;
    const std::vector<E> a = elements<E>(4 * n, sizeof(E));
    std::vector<E> y(n), back(4 * n);

    // By stride: every third element, then back into a copy whose others are untouched.
    EXPECT_EQ(k.pack_i(n, a.data(), 3, y.data(), 0), n);
    for (int i = 0; i < n; ++i) ASSERT_TRUE(same(y[i], a[3 * i])) << i;
    std::vector<E> other = elements<E>(4 * n, 77);
    back = other;
    EXPECT_EQ(k.unpack_i(n, y.data(), back.data(), 3, 0), n);
    for (int i = 0; i < 3 * n; ++i) {
        ASSERT_TRUE(same(back[i], i % 3 == 0 ? a[i] : other[i])) << i;
    }
    // A negative stride walks down from a.
    EXPECT_EQ(k.pack_i(n, a.data() + 2 * n, -2, y.data(), 0), n);
    for (int i = 0; i < n; ++i) ASSERT_TRUE(same(y[i], a[2 * n - 2 * i])) << i;

    // By mask: the count, the order, and the elements left alone.
    std::vector<std::int64_t> mask(n);
    std::mt19937_64 rng(5);
    int selected = 0;
    for (std::int64_t &m : mask) {
        m = rng() % 3 == 0 ? 0 : static_cast<std::int64_t>(rng() | 1) << (rng() % 40);
        selected += m != 0;
    }
    std::vector<E> packed(n);
    ASSERT_EQ(k.pack_m(n, a.data(), mask.data(), packed.data(), 0), selected);
    for (int i = 0, j = 0; i < n; ++i) {
        if (mask[i] != 0) {
            ASSERT_TRUE(same(packed[j++], a[i])) << i;
        }
    }
    back = other;
    ASSERT_EQ(k.unpack_m(n, packed.data(), back.data(), mask.data(), 0), selected);
    for (int i = 0; i < n; ++i) ASSERT_TRUE(same(back[i], mask[i] != 0 ? a[i] : other[i])) << i;

    // By index, 0-based and 1-based: a permutation there and back.
    std::vector<std::int64_t> index(n);
    std::iota(index.begin(), index.end(), 0);
    std::shuffle(index.begin(), index.end(), rng);
    for (int flag : {0, 1}) {
        std::vector<std::int64_t> idx = index;
        for (std::int64_t &i : idx) i += flag;
        EXPECT_EQ(k.pack_v(n, a.data(), idx.data(), y.data(), flag), n);
        for (int i = 0; i < n; ++i) ASSERT_TRUE(same(y[i], a[index[i]])) << i;
        back = other;
        EXPECT_EQ(k.unpack_v(n, y.data(), back.data(), idx.data(), flag), n);
        for (int i = 0; i < n; ++i) ASSERT_TRUE(same(back[i], a[i])) << i;
        ASSERT_TRUE(same(back[n], other[n]));
    }
}

TEST(Pack, RoundTripsInEveryPrecision) {
    round_trips(kS, "s");
    round_trips(kD, "d");
    round_trips(kC, "c");
    round_trips(kZ, "z");
}

// A reserved bit of the flag, or n <= 0, moves nothing; the mask kernels then count 0.
TEST(Pack, ReservedFlagBitsAndEmptyCallsMoveNothing) {
    const std::vector<double> a = {1.0, 2.0, 3.0, 4.0};
    const std::int64_t sel[] = {1, 0, 1, 1};
    std::vector<double> y(4, -7.0);
    for (int flag : {2, 4, 0x100, std::numeric_limits<int>::min(), -1}) {
        EXPECT_EQ(_arqdPackI(4, a.data(), 1, y.data(), flag), 0) << flag;
        EXPECT_EQ(_arqdPackM(4, a.data(), sel, y.data(), flag), 0) << flag;
        EXPECT_EQ(_arqdPackV(4, a.data(), sel, y.data(), flag), 0) << flag;
        EXPECT_EQ(_arqdUnpackI(4, a.data(), y.data(), 1, flag), 0) << flag;
        EXPECT_EQ(_arqdUnpackM(4, a.data(), y.data(), sel, flag), 0) << flag;
        EXPECT_EQ(_arqdUnpackV(4, a.data(), y.data(), sel, flag), 0) << flag;
    }
    EXPECT_EQ(_arqdPackM(0, a.data(), sel, y.data(), 0), 0);
    EXPECT_EQ(_arqdUnpackM(-3, a.data(), y.data(), sel, 0), 0);
    for (double v : y) EXPECT_EQ(v, -7.0);
    // Bit 0 means nothing to the stride and mask kernels.
    EXPECT_EQ(_arqdPackM(4, a.data(), sel, y.data(), 1), 3);
    EXPECT_EQ(y[2], 4.0);
}

}  // namespace
