// The minimum and maximum estimator: check order, both storage layouts and precisions against a
// straightforward reference, accumulation over portions, selection, overlap and NaN handling.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "stats_test.h"

namespace {

using korb::test::Task;

constexpr int kRows = BIX_SS_MATRIX_STORAGE_ROWS;
constexpr int kCols = BIX_SS_MATRIX_STORAGE_COLS;

template <class T>
int minmax(BixSSTask *t, uint64_t est, int method) {
    if constexpr (sizeof(T) == 8) {
        return _bixdSSMinmax(t, est, method);
    } else {
        return _bixsSSMinmax(t, est, method);
    }
}

// A task over x with its integers kept alive beside it, at either width.
template <class T>
struct Setup {
    int64_t p64, n64, s64;
    int32_t p32, n32, s32;
    std::vector<int64_t> idx64;
    std::vector<int32_t> idx32;
    Task task;

    Setup(int64_t p, int64_t n, int storage, const T *x, bool wide = false,
          const std::vector<int> *indices = nullptr)
        : p64(p), n64(n), s64(kRows), p32(int32_t(p)), n32(int32_t(n)), s32(kRows) {
        const void *idx = nullptr;
        if (indices != nullptr) {
            idx64.assign(indices->begin(), indices->end());
            idx32.assign(indices->begin(), indices->end());
            idx = wide ? static_cast<const void *>(idx64.data()) : idx32.data();
        }
        BixSSTask *t = nullptr;
        int status;
        if constexpr (sizeof(T) == 8) {
            status = wide ? __bixdSSNewTask(&t, &p64, &n64, &s64, x, nullptr, idx, 1)
                          : __bixdSSNewTask(&t, &p32, &n32, &s32, x, nullptr, idx, 0);
        } else {
            status = wide ? __bixsSSNewTask(&t, &p64, &n64, &s64, x, nullptr, idx, 1)
                          : __bixsSSNewTask(&t, &p32, &n32, &s32, x, nullptr, idx, 0);
        }
        EXPECT_EQ(status, BIX_ERROR_OK);
        task.reset(t);
        // The task points at these, so codes that creation refuses can be set afterwards.
        s64 = s32 = storage;
    }
    void results(T *lo, T *hi) {
        if constexpr (sizeof(T) == 8) {
            if (lo) {
                EXPECT_EQ(__bixdSSEditTask(task.get(), BIX_SS_ID_MIN, lo), 0);
            }
            if (hi) {
                EXPECT_EQ(__bixdSSEditTask(task.get(), BIX_SS_ID_MAX, hi), 0);
            }
        } else {
            if (lo) {
                EXPECT_EQ(__bixsSSEditTask(task.get(), BIX_SS_ID_MIN, lo), 0);
            }
            if (hi) {
                EXPECT_EQ(__bixsSSEditTask(task.get(), BIX_SS_ID_MAX, hi), 0);
            }
        }
    }
};

// The element-by-element definition, applied to each variable's observations in order.
template <class T>
void reference(const std::vector<T> &x, size_t p, size_t n, int storage,
               const std::vector<int> *indices, std::vector<T> &lo, std::vector<T> &hi) {
    for (size_t i = 0; i < p; ++i) {
        if (indices != nullptr && (*indices)[i] == 0) continue;
        for (size_t j = 0; j < n; ++j) {
            const T v = storage == kRows ? x[i * n + j] : x[j * p + i];
            lo[i] = v < lo[i] ? v : lo[i];
            hi[i] = v > hi[i] ? v : hi[i];
        }
    }
}

template <class T>
bool same_bits(T a, T b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

template <class T>
void expect_same(const std::vector<T> &got, const std::vector<T> &want, const char *what) {
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_TRUE(same_bits(got[i], want[i]))
            << what << "[" << i << "]: " << got[i] << " want " << want[i];
    }
}

// Random data with NaNs, infinities and zeros of both signs mixed in.
template <class T>
std::vector<T> random_data(size_t count, uint32_t seed, bool specials = true) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-100, 100);
    std::uniform_int_distribution<int> pick(0, 40);
    std::vector<T> x(count);
    for (T &v : x) {
        const int k = specials ? pick(gen) : 40;
        v = k == 0   ? std::numeric_limits<T>::quiet_NaN()
            : k == 1 ? std::numeric_limits<T>::infinity()
            : k == 2 ? -std::numeric_limits<T>::infinity()
            : k == 3 ? T(0.0)
            : k == 4 ? T(-0.0)
                     : T(u(gen));
    }
    return x;
}

template <class T>
class MinmaxTest : public ::testing::Test {};
using Precisions = ::testing::Types<double, float>;
TYPED_TEST_SUITE(MinmaxTest, Precisions);

TYPED_TEST(MinmaxTest, MatchesTheReferenceInBothLayouts) {
    using T = TypeParam;
    const T inf = std::numeric_limits<T>::infinity();
    const T nan = std::numeric_limits<T>::quiet_NaN();
    uint32_t seed = 1;
    for (int storage : {kRows, kCols, kRows | kCols}) {
        for (size_t p : {1, 2, 3, 5, 8, 17, 40, 70}) {
            for (size_t n : {1, 3, 16, 61, 1000}) {
                for (bool with_indices : {false, true}) {
                    SCOPED_TRACE(::testing::Message() << "storage " << storage << " p " << p
                                                      << " n " << n << " idx " << with_indices);
                    // Offset by one element so the runs start unaligned.
                    std::vector<T> buf = random_data<T>(p * n + 1, seed++, p != 3);
                    std::vector<T> x(buf.begin() + 1, buf.end());
                    std::vector<int> idx(p);
                    for (size_t i = 0; i < p; ++i) idx[i] = (i * 7 + seed) % 3 != 0;
                    std::vector<T> lo(p, inf), hi(p, -inf);
                    // A few caller values that data must not override: NaN and zeros.
                    lo[0] = p > 2 ? nan : inf;
                    if (p > 4) hi[4] = T(-0.0), lo[4] = T(0.0);
                    std::vector<T> want_lo = lo, want_hi = hi;
                    const auto *ip = with_indices ? &idx : nullptr;
                    reference(x, p, n, storage & kRows ? kRows : kCols, ip, want_lo, want_hi);
                    Setup<T> s(p, n, storage, buf.data() + 1, (seed & 1) != 0, ip);
                    s.results(lo.data(), hi.data());
                    ASSERT_EQ(minmax<T>(s.task.get(), BIX_SS_EST_MIN | BIX_SS_EST_MAX, 1), 0);
                    expect_same(lo, want_lo, "min");
                    expect_same(hi, want_hi, "max");
                }
            }
        }
    }
}

// Zeros of both signs: the first zero seen stays, also when the vector lanes see them apart.
TYPED_TEST(MinmaxTest, ZeroSignFollowsTheFirstZero) {
    using T = TypeParam;
    for (int storage : {kRows, kCols}) {
        for (size_t first : {0, 1, 5, 37, 98}) {
            std::vector<T> x(100, T(3));
            x[first] = T(-0.0);
            for (size_t j = first + 1; j < 100; j += 3) x[j] = T(0.0);
            std::vector<T> lo(1, T(1)), hi(1, T(-1));
            Setup<T> s(1, 100, storage, x.data());
            s.results(lo.data(), hi.data());
            ASSERT_EQ(minmax<T>(s.task.get(), BIX_SS_EST_MIN, 2), 0);
            EXPECT_TRUE(std::signbit(lo[0])) << first;
            EXPECT_EQ(hi[0], T(-1));
            for (T &v : x) v = v == 0 ? -v : T(-3);
            ASSERT_EQ(minmax<T>(s.task.get(), BIX_SS_EST_MAX, 2), 0);
            EXPECT_FALSE(std::signbit(hi[0])) << first;
        }
    }
}

TYPED_TEST(MinmaxTest, TwoPortionsEqualOneCall) {
    using T = TypeParam;
    const size_t p = 6, n = 500, half = 233;
    const T inf = std::numeric_limits<T>::infinity();
    for (int storage : {kRows, kCols}) {
        std::vector<T> x = random_data<T>(p * n, 99);
        std::vector<T> lo(p, inf), hi(p, -inf), lo2(p, inf), hi2(p, -inf);
        Setup<T> whole(p, n, storage, x.data());
        whole.results(lo.data(), hi.data());
        ASSERT_EQ(minmax<T>(whole.task.get(), BIX_SS_EST_MIN | BIX_SS_EST_MAX, 1), 0);
        // Portions: observations [0, half) and [half, n), each copied in the same layout.
        for (auto [from, to] : {std::pair<size_t, size_t>{0, half}, {half, n}}) {
            std::vector<T> part;
            if (storage == kCols) {
                part.assign(x.begin() + from * p, x.begin() + to * p);
            } else {
                for (size_t i = 0; i < p; ++i) {
                    part.insert(part.end(), x.begin() + i * n + from, x.begin() + i * n + to);
                }
            }
            Setup<T> s(p, to - from, storage, part.data());
            s.results(lo2.data(), hi2.data());
            ASSERT_EQ(minmax<T>(s.task.get(), BIX_SS_EST_MIN | BIX_SS_EST_MAX, 1), 0);
        }
        expect_same(lo2, lo, "min");
        expect_same(hi2, hi, "max");
    }
}

TYPED_TEST(MinmaxTest, ChecksInOrderAndChangeNothing) {
    using T = TypeParam;
    std::vector<T> x = {1, 2, 3, 4}, lo = {9, 9}, hi = {-9, -9};
    Setup<T> s(2, 2, kCols, x.data());
    BixSSTask *t = s.task.get();
    EXPECT_EQ(minmax<T>(nullptr, BIX_SS_EST_MIN, 1), BIX_SS_ERROR_NULL_TASK);
    // Min requested without a min array, even with a bad method.
    EXPECT_EQ(minmax<T>(t, BIX_SS_EST_MIN, 0x100), BIX_SS_ERROR_NULL_MIN);
    EXPECT_EQ(minmax<T>(t, BIX_SS_EST_MAX, 0x100), BIX_SS_ERROR_NULL_MAX);
    // Only max, with min null: fine.
    s.results(nullptr, hi.data());
    EXPECT_EQ(minmax<T>(t, BIX_SS_EST_MAX, 1), 0);
    EXPECT_EQ(hi, (std::vector<T>{3, 4}));
    s.results(lo.data(), nullptr);
    EXPECT_EQ(minmax<T>(t, BIX_SS_EST_MIN | BIX_SS_EST_MAX, 0x100), BIX_SS_ERROR_BAD_METHOD);
    EXPECT_EQ(minmax<T>(t, BIX_SS_EST_MIN, 0), BIX_SS_ERROR_BAD_METHOD);
    EXPECT_EQ(lo, (std::vector<T>{9, 9}));
    // A storage code with neither bit comes first of all.
    int32_t bad = 0x40000;
    ASSERT_EQ(__bixiSSEditTask(t, BIX_SS_ID_X_STORAGE, &bad), 0);
    EXPECT_EQ(minmax<T>(t, BIX_SS_EST_MIN, 0x100), BIX_SS_ERROR_BAD_STORAGE);
    // Both bits: variable-major wins.
    int32_t both = kRows | kCols;
    ASSERT_EQ(__bixiSSEditTask(t, BIX_SS_ID_X_STORAGE, &both), 0);
    EXPECT_EQ(minmax<T>(t, BIX_SS_EST_MIN, 3), 0);
    EXPECT_EQ(lo, (std::vector<T>{1, 3}));
    // Nothing requested, or nothing to read: success without work.
    int32_t zero = 0;
    ASSERT_EQ(__bixiSSEditTask(t, BIX_SS_ID_N, &zero), 0);
    lo = {9, 9};
    EXPECT_EQ(minmax<T>(t, BIX_SS_EST_MIN, 1), 0);
    EXPECT_EQ(minmax<T>(t, 0, 1), 0);
    EXPECT_EQ(lo, (std::vector<T>{9, 9}));
}

TYPED_TEST(MinmaxTest, UnselectedVariablesKeepTheirBits) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const std::vector<int> idx = {0, 1, 0};
    std::vector<T> x = {-5, -6, -7, 5, 6, 7};
    for (int storage : {kRows, kCols}) {
        std::vector<T> lo = {nan, 100, T(-0.0)}, hi = {nan, -100, T(0.0)};
        const std::vector<T> before_lo = lo, before_hi = hi;
        Setup<T> s(3, 2, storage, x.data(), false, &idx);
        s.results(lo.data(), hi.data());
        ASSERT_EQ(minmax<T>(s.task.get(), BIX_SS_EST_MIN | BIX_SS_EST_MAX, 1), 0);
        expect_same(std::vector<T>{lo[0], lo[2]}, {before_lo[0], before_lo[2]}, "min");
        expect_same(std::vector<T>{hi[0], hi[2]}, {before_hi[0], before_hi[2]}, "max");
        EXPECT_EQ(lo[1], storage == kCols ? T(-6) : T(-7));
        EXPECT_EQ(hi[1], storage == kCols ? T(6) : T(5));
    }
}

// Result arrays inside the observations: the element-by-element order of reads and writes.
TYPED_TEST(MinmaxTest, OverlappingResultsFollowTheElementOrder) {
    using T = TypeParam;
    for (int storage : {kRows, kCols}) {
        const size_t p = 4, n = 64;
        std::vector<T> x = random_data<T>(p * n + 8, 5, false);
        std::vector<T> want = x;
        // min over the first row of observations, max over the second.
        T *lo = x.data() + 2, *hi = x.data() + 3;
        T *wlo = want.data() + 2, *whi = want.data() + 3;
        // Variable by variable for variable-major data, observation by observation otherwise.
        for (size_t outer = 0; outer < (storage == kRows ? p : n); ++outer) {
            for (size_t inner = 0; inner < (storage == kRows ? n : p); ++inner) {
                const size_t i = storage == kRows ? outer : inner;
                const size_t at = storage == kRows ? i * n + inner : outer * p + i;
                wlo[i] = want[at] < wlo[i] ? want[at] : wlo[i];
                whi[i] = want[at] > whi[i] ? want[at] : whi[i];
            }
        }
        Setup<T> s(p, n, storage, x.data());
        s.results(lo, hi);
        ASSERT_EQ(minmax<T>(s.task.get(), BIX_SS_EST_MIN | BIX_SS_EST_MAX, 1), 0);
        expect_same(x, want, "x");
    }
}

TYPED_TEST(MinmaxTest, AllocationFailuresLeaveResultsUnchanged) {
    using T = TypeParam;
    const std::vector<int> idx = {1, 0, 1};
    std::vector<T> x = random_data<T>(3 * 50, 3);
    for (int storage : {kRows, kCols}) {
        Setup<T> s(3, 50, storage, x.data(), false, &idx);
        std::vector<T> lo(3, 1e30f), hi(3, -1e30f);
        s.results(lo.data(), hi.data());
        korb::test::sweep_ss_allocation_failures([&] {
            const std::vector<T> before_lo = lo, before_hi = hi;
            const int status = minmax<T>(s.task.get(), BIX_SS_EST_MIN | BIX_SS_EST_MAX, 1);
            if (status != 0) {
                expect_same(lo, before_lo, "min");
                expect_same(hi, before_hi, "max");
            }
            return status;
        });
    }
}

}  // namespace
