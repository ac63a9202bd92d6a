// The quantile estimator: quantiles against a sorted copy and the interpolation formula, order
// statistics against std::sort, on data shaped to stress the selection (clusters, outliers,
// repeats, infinities, NaNs), in both layouts and precisions, with indices; the check order;
// what must stay untouched; allocation failures. numpy_quantiles.py compares with numpy itself.
#include <gtest/gtest.h>

#include <algorithm>
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
constexpr uint64_t kQ = BIX_SS_EST_QUANTILES;
constexpr uint64_t kOS = BIX_SS_EST_ORDER_STATS;

template <class T>
int quantiles(BixSSTask *t, uint64_t est, int method) {
    if constexpr (sizeof(T) == 8) {
        return _bixdSSQuantiles(t, est, method);
    } else {
        return _bixsSSQuantiles(t, est, method);
    }
}

template <class T>
int edit(BixSSTask *t, int id, T *v) {
    if constexpr (sizeof(T) == 8) {
        return __bixdSSEditTask(t, id, v);
    } else {
        return __bixsSSEditTask(t, id, v);
    }
}

// Sorted copy, NaNs last.
template <class T>
std::vector<T> sorted(std::vector<T> v) {
    std::sort(v.begin(), v.end(),
              [](T a, T b) { return !std::isnan(a) && (std::isnan(b) || a < b); });
    return v;
}

// The quantile of order q of sorted finite values, written out from the definition: numpy's
// linear interpolation, the difference taken in the data's precision.
template <class T>
T reference_quantile(const std::vector<T> &s, double q) {
    if (std::isnan(s.back())) return std::numeric_limits<T>::quiet_NaN();
    const double h = static_cast<double>(s.size() - 1) * q;
    const double below = std::floor(h);
    if (below >= static_cast<double>(s.size() - 1)) return s.back();
    const size_t i = static_cast<size_t>(below);
    const double t = h - below;
    const T a = s[i], b = s[i + 1];
    if (t == 0 || a == b) return a;
    const T d = b - a;
    if (std::isinf(a) || std::isinf(b)) {
        return std::isinf(a) && std::isinf(b) ? std::numeric_limits<T>::quiet_NaN()
               : std::isinf(a)                ? a
                                              : b;
    }
    if (std::isinf(d)) return static_cast<T>(double(a) * (1 - t) + double(b) * t);
    return static_cast<T>(t < 0.5 ? a + d * t : b - d * (1 - t));
}

// A task over x (p variables, n observations) with quantile and order-statistics slots.
template <class T>
struct QSetup {
    int64_t p, n, storage, norders, os_storage;
    std::vector<int64_t> idx;
    std::vector<T> orders, q, os;
    Task task;

    QSetup(const std::vector<T> &x, size_t p_, size_t n_, int storage_, std::vector<T> orders_,
           int os_storage_ = kRows, const std::vector<int> *indices = nullptr, T fill = T(-7.5))
        : p(int64_t(p_)),
          n(int64_t(n_)),
          storage(storage_),
          norders(int64_t(orders_.size())),
          os_storage(os_storage_),
          orders(std::move(orders_)) {
        if (indices != nullptr) idx.assign(indices->begin(), indices->end());
        q.assign(p_ * orders.size() + 1, fill);
        os.assign(p_ * n_ + 1, fill);
        BixSSTask *t = nullptr;
        const void *ip = idx.empty() ? nullptr : idx.data();
        int st;
        if constexpr (sizeof(T) == 8) {
            st = __bixdSSNewTask(&t, &p, &n, &storage, x.data(), nullptr, ip, 1);
            if (st == 0) {
                st = __bixdSSEditQuantiles(t, &norders, orders.data(), q.data(), os.data(),
                                           &os_storage);
            }
        } else {
            st = __bixsSSNewTask(&t, &p, &n, &storage, x.data(), nullptr, ip, 1);
            if (st == 0) {
                st = __bixsSSEditQuantiles(t, &norders, orders.data(), q.data(), os.data(),
                                           &os_storage);
            }
        }
        EXPECT_EQ(st, BIX_ERROR_OK);
        task.reset(t);
    }
};

template <class T>
T at(const std::vector<T> &x, size_t p, size_t n, int storage, size_t i, size_t j) {
    return storage == kRows ? x[i * n + j] : x[j * p + i];
}

template <class T>
std::vector<T> variable(const std::vector<T> &x, size_t p, size_t n, int storage, size_t i) {
    std::vector<T> v(n);
    for (size_t j = 0; j < n; ++j) v[j] = at(x, p, n, storage, i, j);
    return v;
}

template <class T>
bool same(T a, T b) {
    return (std::isnan(a) && std::isnan(b)) || a == b;
}

// Every selected variable's quantiles and order statistics against the references; unselected
// entries keep the fill.
template <class T>
void expect_matches(const QSetup<T> &s, const std::vector<T> &x, bool want_q, bool want_os,
                    const std::vector<int> *indices, T fill, const char *what) {
    const size_t p = size_t(s.p), n = size_t(s.n), m = s.orders.size();
    for (size_t i = 0; i < p; ++i) {
        const bool sel = indices == nullptr || (*indices)[i] != 0;
        const std::vector<T> v = sorted(variable(x, p, n, int(s.storage), i));
        for (size_t k = 0; k < m && want_q; ++k) {
            const T want = sel ? reference_quantile(v, double(s.orders[k])) : fill;
            ASSERT_TRUE(same(s.q[i * m + k], want))
                << what << ": variable " << i << " order " << s.orders[k] << ": " << s.q[i * m + k]
                << " want " << want;
        }
        for (size_t j = 0; j < n && want_os; ++j) {
            const T got = s.os_storage == kRows ? s.os[i * n + j] : s.os[j * p + i];
            ASSERT_TRUE(same(got, sel ? v[j] : fill))
                << what << ": variable " << i << " rank " << j << ": " << got << " want " << v[j];
        }
    }
    EXPECT_EQ(s.q.back(), fill) << what << ": written past the quantiles";
    EXPECT_EQ(s.os.back(), fill) << what << ": written past the order statistics";
}

// Data sets that exercise the selection's buckets in different ways.
enum class Shape { normal, repeats, constant, outlier, clusters, wide, specials, nan };

template <class T>
std::vector<T> make(Shape shape, size_t count, uint32_t seed) {
    std::mt19937_64 g(seed);
    std::normal_distribution<double> normal(3.0, 2.0);
    std::uniform_int_distribution<int> small(0, 6);
    std::vector<T> x(count);
    for (size_t j = 0; j < count; ++j) {
        double v = normal(g);
        switch (shape) {
            case Shape::normal:
                break;
            case Shape::repeats:
                v = small(g) * 0.5 - 1;
                break;
            case Shape::constant:
                v = -2.25;
                break;
            case Shape::outlier:  // all but one value in a sliver of the key range
                v = j == count / 3 ? 1e30 : 1 + std::ldexp(normal(g), -30);
                break;
            case Shape::clusters:  // two tight clusters far apart, zeros of both signs
                v = j % 7 == 0 ? (j % 2 ? -0.0 : 0.0) : (j % 2 ? 1e6 : -1e-6) * (1 + 1e-9 * v);
                break;
            case Shape::wide:  // magnitudes over hundreds of binades
                v = std::ldexp(v, small(g) * 40 - 120);
                break;
            case Shape::specials:
                if (j % 11 == 0) v = j % 22 ? std::numeric_limits<double>::infinity() : -v;
                if (j % 13 == 0) v = -std::numeric_limits<double>::infinity();
                break;
            case Shape::nan:
                if (j == count / 2) v = std::nan("");
                break;
        }
        x[j] = static_cast<T>(v);
    }
    return x;
}

template <class T>
const std::vector<T> &orders() {
    static const std::vector<T> o = {T(0),    T(1),    T(0.5), T(0.01),  T(0.99),    T(0.25),
                                     T(0.75), T(1e-7), T(0.3), T(2) / 3, T(0.999999)};
    return o;
}

template <class T>
class QuantilesTest : public ::testing::Test {};
using Precisions = ::testing::Types<double, float>;
TYPED_TEST_SUITE(QuantilesTest, Precisions);

// Sizes around the selection's small-set cut (256) and well above it, every shape, both
// layouts, quantiles alone (selection) and with order statistics (sorting).
TYPED_TEST(QuantilesTest, MatchReferenceOnEveryShape) {
    using T = TypeParam;
    const Shape shapes[] = {Shape::normal,   Shape::repeats, Shape::constant, Shape::outlier,
                            Shape::clusters, Shape::wide,    Shape::specials, Shape::nan};
    for (size_t n : {size_t{1}, size_t{2}, size_t{255}, size_t{300}, size_t{20000}}) {
        for (Shape shape : shapes) {
            for (int storage : {kRows, kCols}) {
                for (uint64_t est : {kQ, kQ | kOS}) {
                    const size_t p = 3;
                    const std::vector<T> x = make<T>(shape, p * n, uint32_t(n) + int(shape));
                    QSetup<T> s(x, p, n, storage, orders<T>(), storage ^ (kRows | kCols));
                    ASSERT_EQ(quantiles<T>(s.task.get(), est, BIX_SS_METHOD_QUANTILES), 0);
                    const std::string what =
                        "n " + std::to_string(n) + " shape " + std::to_string(int(shape)) +
                        " storage " + std::to_string(storage) + " est " + std::to_string(est);
                    expect_matches(s, x, true, (est & kOS) != 0, nullptr, T(-7.5), what.c_str());
                }
            }
        }
    }
}

// Many orders go through a full sort instead of selection; the results are the same.
TYPED_TEST(QuantilesTest, ManyOrdersAndIndices) {
    using T = TypeParam;
    const size_t p = 4, n = 5000;
    std::vector<T> many;
    for (int k = 0; k <= 200; ++k) many.push_back(static_cast<T>(k / 200.0));
    const std::vector<int> indices = {1, 0, 1, 0};
    for (int storage : {kRows, kCols}) {
        const std::vector<T> x = make<T>(Shape::wide, p * n, 17);
        for (const std::vector<T> &o : {many, orders<T>()}) {
            QSetup<T> s(x, p, n, storage, o, storage, &indices);
            ASSERT_EQ(quantiles<T>(s.task.get(), kQ | kOS, BIX_SS_METHOD_QUANTILES), 0);
            expect_matches(s, x, true, true, &indices, T(-7.5), "indices");
        }
    }
}

TYPED_TEST(QuantilesTest, OrderStatisticsAlone) {
    using T = TypeParam;
    const size_t p = 2, n = 70000;
    for (int os_storage : {kRows, kCols}) {
        const std::vector<T> x = make<T>(Shape::specials, p * n, 5);
        QSetup<T> s(x, p, n, kCols, {}, os_storage);
        ASSERT_EQ(quantiles<T>(s.task.get(), kOS, BIX_SS_METHOD_QUANTILES), 0);
        expect_matches(s, x, false, true, nullptr, T(-7.5), "order statistics");
        EXPECT_EQ(s.q[0], T(-7.5));
    }
}

// NaN sorts last whatever its sign; -0 before +0; the quantiles of a variable with a NaN are NaN
// while its neighbour's are not.
TEST(Quantiles, NaNsAndSignedZeros) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<double> x = {0.0, -nan, -0.0, 2, 0.0, 1, -0.0, 3};
    QSetup<double> s(x, 2, 4, kRows, {0.5});
    ASSERT_EQ(_bixdSSQuantiles(s.task.get(), kQ | kOS, 1), 0);
    EXPECT_TRUE(std::signbit(s.os[0]) && s.os[1] == 0 && !std::signbit(s.os[1]) && s.os[2] == 2);
    EXPECT_TRUE(std::isnan(s.os[3]));
    EXPECT_TRUE(std::isnan(s.q[0]));
    EXPECT_EQ(s.q[1], 0.5);  // -0, 0, 1, 3 -> halfway between 0 and 1
}

// Infinities: numpy's arithmetic gives NaN wherever an infinity meets the interpolation; here
// an infinite end gives the infinity and only -inf..+inf is undefined. Finite ends too far apart
// for their difference still interpolate.
TEST(Quantiles, InfinitiesAndOverflow) {
    const double inf = std::numeric_limits<double>::infinity(), big = 1.5e308, nan = std::nan("");
    const std::vector<double> x = {1, inf, inf, inf, -inf, 1, -inf, inf, -big, big};
    QSetup<double> s(x, 5, 2, kRows, {0, 0.5, 1, 0.25});
    ASSERT_EQ(_bixdSSQuantiles(s.task.get(), kQ, 1), 0);
    const double want[] = {1, inf,  inf,  inf, inf, inf, inf,  inf, -inf, -inf,
                           1, -inf, -inf, nan, inf, nan, -big, 0,   big,  -0.5 * big};
    for (int k = 0; k < 20; ++k) EXPECT_TRUE(same(s.q[size_t(k)], want[k])) << k;
}

// Every status of the quantile kernel, in the order of its checks, with nothing written.
TEST(Quantiles, ChecksInOrder) {
    const std::vector<double> x = {3, 1, 2};
    QSetup<double> s(x, 1, 3, kRows, {0.5});
    BixSSTask *t = s.task.get();
    EXPECT_EQ(_bixdSSQuantiles(nullptr, kQ, 1), BIX_SS_ERROR_NULL_TASK);
    int64_t bad = 0x4;
    t->x_storage = &bad;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ | kOS, 0), BIX_SS_ERROR_BAD_STORAGE);
    t->x_storage = &s.storage;
    void *orders = t->quant_orders, *norders = t->quant_norders, *q = t->quantiles;
    t->quant_orders = nullptr;
    t->quant_norders = nullptr;
    t->quantiles = nullptr;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ, 0), BIX_SS_ERROR_NULL_QUANT_ORDERS);
    t->quant_orders = orders;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ, 0), BIX_SS_ERROR_BAD_QUANT_ORDERS);
    int64_t negative = -1;
    t->quant_norders = &negative;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ, 0), BIX_SS_ERROR_BAD_QUANT_ORDERS);
    t->quant_norders = norders;
    for (double o : {-0.1, 1.0000001, std::nan("")}) {
        s.orders[0] = o;
        EXPECT_EQ(_bixdSSQuantiles(t, kQ, 0), BIX_SS_ERROR_BAD_QUANT_ORDERS) << o;
    }
    s.orders[0] = 0.5;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ, 0), BIX_SS_ERROR_NULL_QUANTILES);
    t->quantiles = q;
    void *os = t->order_stats, *os_storage = t->order_stats_storage;
    t->order_stats = nullptr;
    t->order_stats_storage = nullptr;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ | kOS, 0), BIX_SS_ERROR_NULL_ORDER_STATS);
    t->order_stats = os;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ | kOS, 0), BIX_SS_ERROR_NULL_STORAGE);
    t->order_stats_storage = &bad;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ | kOS, 0), BIX_SS_ERROR_BAD_STORAGE);
    t->order_stats_storage = os_storage;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ | kOS, 0x2), BIX_SS_ERROR_BAD_METHOD);
    EXPECT_EQ(s.q[0], -7.5);
    EXPECT_EQ(s.os[0], -7.5);
    void *data = t->x;
    t->x = nullptr;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ, 1), BIX_SS_ERROR_NULL_X);
    t->x = data;
    // No work: nothing requested, no orders, no observations.
    EXPECT_EQ(_bixdSSQuantiles(t, 0, 1), 0);
    int64_t zero = 0;
    t->quant_norders = &zero;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ, 1), 0);
    t->quant_norders = norders;
    t->n = &zero;
    EXPECT_EQ(_bixdSSQuantiles(t, kQ | kOS, 1), 0);
    EXPECT_EQ(s.q[0], -7.5);
    EXPECT_EQ(s.os[0], -7.5);
    t->n = &s.n;
    // Order statistics alone need no order slots.
    t->quant_orders = nullptr;
    t->quantiles = nullptr;
    EXPECT_EQ(_bixdSSQuantiles(t, kOS, 1), 0);
    EXPECT_EQ(s.os[0], 1);
}

// 32-bit integers, and quantile results over the observations themselves (allowed).
TEST(Quantiles, NarrowIntegersAndResultsOverData) {
    std::vector<double> x = {5, 4, 3, 2, 1, 0, 9, 8};
    int32_t p = 2, n = 4, storage = kRows, norders = 2, idx[2] = {0, 1};
    double orders[2] = {0, 1};
    BixSSTask *t = nullptr;
    ASSERT_EQ(__bixdSSNewTask(&t, &p, &n, &storage, x.data(), nullptr, idx, 0), 0);
    Task owner(t);
    ASSERT_EQ(__bixdSSEditQuantiles(t, &norders, orders, x.data(), nullptr, nullptr), 0);
    ASSERT_EQ(_bixdSSQuantiles(t, kQ, 1), 0);
    EXPECT_EQ(x, (std::vector<double>{5, 4, 0, 9, 1, 0, 9, 8}));
}

// Every allocation failure returns the status with the caller's arrays untouched and nothing
// left allocated.
TEST(Quantiles, AllocationFailures) {
    const std::vector<double> x = make<double>(Shape::normal, 3 * 1000, 9);
    for (uint64_t est : {kQ, kOS, kQ | kOS}) {
        QSetup<double> s(x, 3, 1000, kCols, orders<double>(), kCols);
        korb::test::sweep_ss_allocation_failures([&] {
            const int st = _bixdSSQuantiles(s.task.get(), est, 1);
            if (st != 0) {
                EXPECT_EQ(s.q[0], -7.5);
                EXPECT_EQ(s.os[0], -7.5);
            }
            return st;
        });
        expect_matches(s, x, (est & kQ) != 0, (est & kOS) != 0, nullptr, -7.5, "after sweep");
    }
}

}  // namespace
