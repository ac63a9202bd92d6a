// The basic-statistics estimator against estimates computed in exact rational arithmetic (GMP),
// on ordinary and on far-from-zero data, in both layouts and storage forms, weighted and with
// indices; portions against one call; the check order; what must stay untouched.
#include <gmpxx.h>
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
constexpr int kMethods[] = {BIX_SS_METHOD_TWO_PASS, BIX_SS_METHOD_ONE_PASS};
constexpr uint64_t kAllMoments = BIX_SS_EST_MEAN | BIX_SS_EST_RAW2 | BIX_SS_EST_RAW3 |
                                 BIX_SS_EST_RAW4 | BIX_SS_EST_CEN2 | BIX_SS_EST_CEN3 |
                                 BIX_SS_EST_CEN4 | BIX_SS_EST_KURTOSIS | BIX_SS_EST_SKEWNESS |
                                 BIX_SS_EST_VARIATION;
constexpr uint64_t kAll = kAllMoments | BIX_SS_EST_COV | BIX_SS_EST_COR;

template <class T>
int basic(BixSSTask *t, uint64_t est, int method) {
    if constexpr (sizeof(T) == 8) {
        return _bixdSSBasic(t, est, method);
    } else {
        return _bixsSSBasic(t, est, method);
    }
}

// Observations of p correlated, skewed variables: x_i = mu_i + s_i (e_i + e_0 / 2), e exponential
// minus 1, so that no estimate is near zero and a relative error means what it says.
template <class T>
std::vector<T> sample(size_t p, size_t n, int storage, double offset, uint32_t seed) {
    std::mt19937_64 gen(seed);
    std::exponential_distribution<double> e(1.0);
    std::vector<T> x(p * n);
    for (size_t j = 0; j < n; ++j) {
        const double common = e(gen) - 1;
        for (size_t i = 0; i < p; ++i) {
            const double s = 1.0 + static_cast<double>(i);
            const double v = offset * s * (i % 2 ? -1 : 1) + 3 * static_cast<double>(i) +
                             s * (e(gen) - 1 + 0.5 * common);
            x[storage == kRows ? i * n + j : j * p + i] = static_cast<T>(v);
        }
    }
    return x;
}

template <class T>
std::vector<T> weights(size_t n, uint32_t seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(0.0, 3.0);
    std::vector<T> w(n);
    for (T &v : w) v = static_cast<T>(u(gen));
    return w;
}

// The estimates, computed exactly from the given values (and rounded once, at the end).
struct Reference {
    std::vector<double> mean, raw2, raw3, raw4, cen2, cen3, cen4, skew, kurt, variation;
    std::vector<double> cov, cor;  // p x p, full
    double w = 0, w2 = 0;
};

double to_double(const mpq_class &q) {
    // mpq_get_d truncates; a relative error below 2^-52 is far inside every tolerance here.
    return q.get_d();
}

template <class T>
Reference exact(const std::vector<T> &x, size_t p, size_t n, int storage, const T *wt,
                const std::vector<T> *given_mean = nullptr) {
    const auto at = [&](size_t i, size_t j) {
        return mpq_class(static_cast<double>(storage == kRows ? x[i * n + j] : x[j * p + i]));
    };
    std::vector<mpq_class> w(n);
    mpq_class sw = 0, sw2 = 0;
    for (size_t j = 0; j < n; ++j) {
        w[j] = wt != nullptr ? mpq_class(static_cast<double>(wt[j])) : mpq_class(1);
        sw += w[j];
        sw2 += w[j] * w[j];
    }
    const mpq_class den = sw - sw2 / sw;
    Reference r;
    r.w = to_double(sw);
    r.w2 = to_double(sw2);
    std::vector<mpq_class> m(p), m2(p);
    for (size_t i = 0; i < p; ++i) {
        mpq_class s1 = 0, s2 = 0, s3 = 0, s4 = 0;
        for (size_t j = 0; j < n; ++j) {
            const mpq_class v = at(i, j), v2 = v * v;
            s1 += w[j] * v;
            s2 += w[j] * v2;
            s3 += w[j] * v2 * v;
            s4 += w[j] * v2 * v2;
        }
        m[i] = given_mean != nullptr ? mpq_class(static_cast<double>((*given_mean)[i])) : s1 / sw;
        mpq_class c2 = 0, c3 = 0, c4 = 0;
        for (size_t j = 0; j < n; ++j) {
            const mpq_class d = at(i, j) - m[i], d2 = d * d;
            c2 += w[j] * d2;
            c3 += w[j] * d2 * d;
            c4 += w[j] * d2 * d2;
        }
        m2[i] = c2;
        r.mean.push_back(to_double(m[i]));
        r.raw2.push_back(to_double(s2 / sw));
        r.raw3.push_back(to_double(s3 / sw));
        r.raw4.push_back(to_double(s4 / sw));
        r.cen2.push_back(to_double(c2 / den));
        r.cen3.push_back(to_double(c3 / sw));
        r.cen4.push_back(to_double(c4 / sw));
        const mpq_class s2b = c2 / sw;  // biased variance
        const double sd = std::sqrt(to_double(s2b));
        r.skew.push_back(to_double(c3 / sw / s2b) / sd);
        r.kurt.push_back(to_double(c4 / sw / (s2b * s2b) - 3));
        r.variation.push_back(std::sqrt(to_double(c2 / den)) / to_double(m[i]));
    }
    r.cov.resize(p * p);
    r.cor.resize(p * p);
    for (size_t i = 0; i < p; ++i) {
        for (size_t k = 0; k <= i; ++k) {
            mpq_class c = 0;
            for (size_t j = 0; j < n; ++j) c += w[j] * (at(i, j) - m[i]) * (at(k, j) - m[k]);
            r.cov[i * p + k] = r.cov[k * p + i] = to_double(c / den);
            const double r2 = to_double(c * c / (m2[i] * m2[k]));
            r.cor[i * p + k] = r.cor[k * p + i] = std::copysign(std::sqrt(r2), to_double(c));
        }
    }
    return r;
}

// A task with every result slot registered, filled with a sentinel, integers 64-bit.
template <class T>
struct Basic {
    int64_t p, n, storage, cov_storage = BIX_SS_COV_FULL, cor_storage = BIX_SS_COV_FULL;
    std::vector<int64_t> idx;
    std::vector<T> mean, raw2, raw3, raw4, cen2, cen3, cen4, kurt, skew, variation, cov, cor;
    T accum[2] = {0, 0};
    Task task;

    Basic(const T *x, size_t p_, size_t n_, int storage_, const T *w = nullptr,
          const std::vector<int> *indices = nullptr, T sentinel = T(-7.5))
        : p(int64_t(p_)), n(int64_t(n_)), storage(storage_) {
        if (indices != nullptr) idx.assign(indices->begin(), indices->end());
        BixSSTask *t = nullptr;
        int status;
        if constexpr (sizeof(T) == 8) {
            status = __bixdSSNewTask(&t, &p, &n, &storage, x, w, indices ? idx.data() : nullptr, 1);
        } else {
            status = __bixsSSNewTask(&t, &p, &n, &storage, x, w, indices ? idx.data() : nullptr, 1);
        }
        EXPECT_EQ(status, 0);
        task.reset(t);
        for (auto *v :
             {&mean, &raw2, &raw3, &raw4, &cen2, &cen3, &cen4, &kurt, &skew, &variation}) {
            v->assign(p_, sentinel);
        }
        cov.assign(p_ * p_, sentinel);
        cor.assign(p_ * p_, sentinel);
        edit(BIX_SS_ID_MEAN, mean.data());
        edit(BIX_SS_ID_RAW2, raw2.data());
        edit(BIX_SS_ID_RAW3, raw3.data());
        edit(BIX_SS_ID_RAW4, raw4.data());
        edit(BIX_SS_ID_CEN2, cen2.data());
        edit(BIX_SS_ID_CEN3, cen3.data());
        edit(BIX_SS_ID_CEN4, cen4.data());
        edit(BIX_SS_ID_KURTOSIS, kurt.data());
        edit(BIX_SS_ID_SKEWNESS, skew.data());
        edit(BIX_SS_ID_VARIATION, variation.data());
        edit(BIX_SS_ID_COV, cov.data());
        edit(BIX_SS_ID_COR, cor.data());
        EXPECT_EQ(__bixiSSEditTask(task.get(), BIX_SS_ID_COV_STORAGE, &cov_storage), 0);
        EXPECT_EQ(__bixiSSEditTask(task.get(), BIX_SS_ID_COR_STORAGE, &cor_storage), 0);
    }
    void edit(int id, T *v) {
        if constexpr (sizeof(T) == 8) {
            EXPECT_EQ(__bixdSSEditTask(task.get(), id, v), 0);
        } else {
            EXPECT_EQ(__bixsSSEditTask(task.get(), id, v), 0);
        }
    }
    void portions() { edit(BIX_SS_ID_ACCUM_WEIGHTS, accum); }
    int run(uint64_t est, int method) { return basic<T>(task.get(), est, method); }
};

// |got - want| <= tol |want| for every listed variable (NaN only where want is NaN).
void expect_close(const std::vector<double> &want, double got, size_t i, double tol,
                  const char *what) {
    const double w = want[i];
    if (std::isnan(w)) {
        EXPECT_TRUE(std::isnan(got)) << what << "[" << i << "]";
        return;
    }
    EXPECT_LE(std::fabs(got - w), tol * std::fabs(w))
        << what << "[" << i << "] = " << got << ", exactly " << w << " (relative "
        << std::fabs(got - w) / std::fabs(w) << ")";
}

template <class T>
void expect_estimates(const Basic<T> &b, const Reference &r, double tol,
                      const std::vector<int> *indices = nullptr, bool with_mean = true) {
    const size_t p = static_cast<size_t>(b.p);
    for (size_t i = 0; i < p; ++i) {
        if (indices != nullptr && (*indices)[i] == 0) continue;
        if (with_mean) expect_close(r.mean, b.mean[i], i, tol, "mean");
        expect_close(r.raw2, b.raw2[i], i, tol, "raw2");
        expect_close(r.raw3, b.raw3[i], i, tol, "raw3");
        expect_close(r.raw4, b.raw4[i], i, tol, "raw4");
        expect_close(r.cen2, b.cen2[i], i, tol, "cen2");
        expect_close(r.cen3, b.cen3[i], i, tol, "cen3");
        expect_close(r.cen4, b.cen4[i], i, tol, "cen4");
        expect_close(r.skew, b.skew[i], i, tol, "skewness");
        expect_close(r.kurt, b.kurt[i], i, tol, "kurtosis");
        expect_close(r.variation, b.variation[i], i, tol, "variation");
        for (size_t k = 0; k <= i; ++k) {
            if (indices != nullptr && (*indices)[k] == 0) continue;
            const size_t full = i * p + k;
            const size_t packed = i * (i + 1) / 2 + k;
            const size_t cov_at = (b.cov_storage & BIX_SS_COV_FULL) ? full : packed;
            const size_t cor_at = (b.cor_storage & BIX_SS_COV_FULL) ? full : packed;
            expect_close(r.cov, b.cov[cov_at], full, tol, "cov");
            expect_close(r.cor, b.cor[cor_at], full, tol, "cor");
        }
    }
}

// Every estimate of both methods, both layouts and both storage forms, weighted or not, with or
// without indices, on data whose mean is near zero and on data whose mean lies a million
// standard deviations away, within 1e-12 of the exact values.
TEST(BasicExact, EveryEstimateWithin1e12) {
    const size_t p = 5, n = 1500;
    const std::vector<int> idx = {1, 0, 1, 1, 0};
    uint32_t seed = 1;
    for (double offset : {0.0, 1e6}) {
        for (int storage : {kRows, kCols}) {
            for (bool weighted : {false, true}) {
                const std::vector<double> x = sample<double>(p, n, storage, offset, seed++);
                const std::vector<double> w = weights<double>(n, seed++);
                const double *wp = weighted ? w.data() : nullptr;
                const Reference r = exact(x, p, n, storage, wp);
                for (int method : kMethods) {
                    for (int form : {BIX_SS_COV_FULL, BIX_SS_COV_LOWER_PACKED}) {
                        for (const std::vector<int> *ip :
                             {(const std::vector<int> *)nullptr, &idx}) {
                            SCOPED_TRACE(::testing::Message()
                                         << "offset " << offset << " storage " << storage
                                         << " weighted " << weighted << " method " << method
                                         << " form " << form << " indices " << (ip != nullptr));
                            Basic<double> b(x.data(), p, n, storage, wp, ip);
                            b.cov_storage = b.cor_storage = form;
                            ASSERT_EQ(b.run(kAll, method), 0);
                            expect_estimates(b, r, 1e-12, ip);
                        }
                    }
                }
            }
        }
    }
}

// Single-precision tasks accumulate in double: the float results are the exact estimates of the
// float data, rounded, even where float sums would have lost them.
TEST(BasicExact, SinglePrecisionAccumulatesInDouble) {
    const size_t p = 3, n = 20000;
    for (int storage : {kRows, kCols}) {
        const std::vector<float> x = sample<float>(p, n, storage, 1e3, 11);
        const std::vector<float> w = weights<float>(n, 12);
        const Reference r = exact(x, p, n, storage, w.data());
        for (int method : kMethods) {
            Basic<float> b(x.data(), p, n, storage, w.data());
            ASSERT_EQ(b.run(kAll, method), 0);
            for (size_t i = 0; i < p; ++i) {
                expect_close(r.mean, b.mean[i], i, 1e-7, "mean");
                expect_close(r.cen2, b.cen2[i], i, 1e-7, "cen2");
                expect_close(r.cen3, b.cen3[i], i, 1e-6, "cen3");
                expect_close(r.kurt, b.kurt[i], i, 1e-6, "kurtosis");
                expect_close(r.cor, b.cor[i * p], i * p, 1e-6, "cor");
            }
        }
    }
}

// The caller's mean: central moments, covariance and variation about it; the mean slot is read
// and left as it was.
TEST(BasicExact, GivenMeanIsAnInput) {
    const size_t p = 3, n = 800;
    for (int storage : {kRows, kCols}) {
        for (bool weighted : {false, true}) {
            const std::vector<double> x = sample<double>(p, n, storage, 50, 21);
            const std::vector<double> w = weights<double>(n, 22);
            const double *wp = weighted ? w.data() : nullptr;
            Basic<double> b(x.data(), p, n, storage, wp);
            b.mean = {1.5, -47.25, 99.0};
            const std::vector<double> given = b.mean;
            const Reference r = exact(x, p, n, storage, wp, &given);
            ASSERT_EQ(b.run(kAll, BIX_SS_METHOD_GIVEN_MEAN), 0);
            EXPECT_EQ(b.mean, given);
            expect_estimates(b, r, 1e-12, nullptr, false);
        }
    }
}

// Splitting the observations into portions (the accumulated-weights slot) gives the estimates of
// one call on the whole set, and the slot ends with the exact weight sums.
template <class T>
std::vector<T> slice(const std::vector<T> &x, size_t p, size_t n, int storage, size_t from,
                     size_t to) {
    if (storage == kCols) return std::vector<T>(x.begin() + from * p, x.begin() + to * p);
    std::vector<T> part;
    for (size_t i = 0; i < p; ++i)
        part.insert(part.end(), x.begin() + i * n + from, x.begin() + i * n + to);
    return part;
}

template <class T>
void run_in_portions(Basic<T> &whole, const std::vector<T> &x, const T *w,
                     const std::vector<size_t> &cuts, int method, uint64_t est) {
    const size_t p = static_cast<size_t>(whole.p), n = static_cast<size_t>(whole.n);
    const int storage = static_cast<int>(whole.storage);
    for (size_t k = 0; k + 1 < cuts.size(); ++k) {
        const std::vector<T> part = slice(x, p, n, storage, cuts[k], cuts[k + 1]);
        int64_t m = int64_t(cuts[k + 1] - cuts[k]);
        BixSSTask *t = whole.task.get();
        const void *old_x = t->x, *old_w = t->weights, *old_n = t->n;
        t->x = const_cast<T *>(part.data());
        t->weights = w != nullptr ? const_cast<T *>(w + cuts[k]) : nullptr;
        t->n = &m;
        ASSERT_EQ(whole.run(est, method), 0);
        t->x = const_cast<void *>(old_x);
        t->weights = const_cast<void *>(old_w);
        t->n = const_cast<void *>(old_n);
    }
}

TEST(BasicPortions, AnySplitEqualsOneCall) {
    const size_t p = 4, n = 3000;
    std::mt19937 gen(5);
    for (int storage : {kRows, kCols}) {
        for (bool weighted : {false, true}) {
            const std::vector<double> x = sample<double>(p, n, storage, 10, gen());
            const std::vector<double> w = weights<double>(n, gen());
            const double *wp = weighted ? w.data() : nullptr;
            const Reference r = exact(x, p, n, storage, wp);
            // Two halves, uneven pieces, single observations at the start, many small pieces.
            std::vector<std::vector<size_t>> splits = {{0, 1500, n}, {0, 1, 2, 3, 700, 2999, n}};
            std::vector<size_t> many = {0};
            while (many.back() < n) many.push_back(std::min(n, many.back() + 1 + gen() % 97));
            splits.push_back(many);
            for (int method : kMethods) {
                Basic<double> one(x.data(), p, n, storage, wp);
                ASSERT_EQ(one.run(kAll, method), 0);
                for (const auto &cuts : splits) {
                    SCOPED_TRACE(::testing::Message()
                                 << "storage " << storage << " weighted " << weighted << " method "
                                 << method << " portions " << cuts.size() - 1);
                    Basic<double> b(x.data(), p, n, storage, wp);
                    b.portions();
                    run_in_portions(b, x, wp, cuts, method, kAll);
                    EXPECT_NEAR(b.accum[0], r.w, weighted ? 1e-14 * r.w : 0.0);
                    EXPECT_NEAR(b.accum[1], r.w2, weighted ? 1e-14 * r.w2 : 0.0);
                    Reference same;
                    for (auto [from, to] : {std::pair{&one.mean, &same.mean},
                                            {&one.raw2, &same.raw2},
                                            {&one.raw3, &same.raw3},
                                            {&one.raw4, &same.raw4},
                                            {&one.cen2, &same.cen2},
                                            {&one.cen3, &same.cen3},
                                            {&one.cen4, &same.cen4},
                                            {&one.skew, &same.skew},
                                            {&one.kurt, &same.kurt},
                                            {&one.variation, &same.variation},
                                            {&one.cov, &same.cov},
                                            {&one.cor, &same.cor}}) {
                        *to = *from;
                    }
                    expect_estimates(b, same, 1e-13);
                    expect_estimates(b, r, 1e-12);
                }
            }
        }
    }
}

// Each estimate requested alone in portions (the other slots hold a sentinel that must not be
// read): the merge finds what it needs in the slots the request fills.
TEST(BasicPortions, EachEstimateAloneMerges) {
    const size_t p = 3, n = 400;
    const std::vector<double> x = sample<double>(p, n, kCols, 5, 31);
    const Reference r = exact(x, p, n, kCols, static_cast<const double *>(nullptr));
    for (uint64_t est = 1; est <= BIX_SS_EST_COR; est <<= 1) {
        if ((est & kAll) == 0) continue;
        for (int method : kMethods) {
            SCOPED_TRACE(::testing::Message() << "estimate " << est << " method " << method);
            Basic<double> b(x.data(), p, n, kCols);
            b.portions();
            run_in_portions(b, x, static_cast<const double *>(nullptr), {0, 1, 150, n}, method,
                            est);
            const auto check = [&](const std::vector<double> &want, const std::vector<double> &got,
                                   uint64_t bit, const char *what) {
                if (est & bit) {
                    for (size_t i = 0; i < got.size(); ++i)
                        expect_close(want, got[i], i, 1e-12, what);
                }
            };
            check(r.mean, b.mean, BIX_SS_EST_MEAN, "mean");
            check(r.raw3, b.raw3, BIX_SS_EST_RAW3, "raw3");
            check(r.cen3, b.cen3, BIX_SS_EST_CEN3, "cen3");
            check(r.cen4, b.cen4, BIX_SS_EST_CEN4, "cen4");
            check(r.kurt, b.kurt, BIX_SS_EST_KURTOSIS, "kurtosis");
            check(r.skew, b.skew, BIX_SS_EST_SKEWNESS, "skewness");
            check(r.variation, b.variation, BIX_SS_EST_VARIATION, "variation");
            check(r.cov, b.cov, BIX_SS_EST_COV, "cov");
            check(r.cor, b.cor, BIX_SS_EST_COR, "cor");
        }
    }
}

// Portions of data far from zero: the merge reads the earlier mean back from its slot, and that
// slot's rounding (half an ulp of the mean) shifts the merged central sums by about
// delta * ulp(mean) per portion (docs/stats.md). A mean a thousand standard deviations from zero
// still merges within 1e-12; at a million, the difference stays within the measured bounds.
TEST(BasicPortions, FarFromZero) {
    const size_t p = 2, n = 2000;
    std::vector<size_t> ones;
    for (size_t j = 0; j <= n; ++j) ones.push_back(j);
    const std::vector<std::vector<size_t>> splits = {{0, 1000, n}, {0, 10, 500, 1999, n}, ones};
    for (double offset : {1e3, 1e6}) {
        for (int storage : {kRows, kCols}) {
            const std::vector<double> x = sample<double>(p, n, storage, offset, 41);
            const Reference r = exact(x, p, n, storage, static_cast<const double *>(nullptr));
            for (const auto &cuts : splits) {
                for (int method : kMethods) {
                    SCOPED_TRACE(::testing::Message()
                                 << "offset " << offset << " storage " << storage << " method "
                                 << method << " portions " << cuts.size() - 1);
                    Basic<double> b(x.data(), p, n, storage);
                    b.portions();
                    run_in_portions(b, x, static_cast<const double *>(nullptr), cuts, method, kAll);
                    const double tol = offset < 1e4 ? 1e-12 : cuts.size() < 10 ? 3e-11 : 1e-9;
                    expect_estimates(b, r, tol);
                }
            }
        }
    }
}

// The slots each estimate needs, in the order the checks report them (the expansion table).
struct Expansion {
    uint64_t est;
    std::vector<int> ids;
};
const Expansion kExpansion[] = {
    {BIX_SS_EST_MEAN, {BIX_SS_ID_MEAN}},
    {BIX_SS_EST_RAW2, {BIX_SS_ID_RAW2}},
    {BIX_SS_EST_RAW3, {BIX_SS_ID_RAW3}},
    {BIX_SS_EST_RAW4, {BIX_SS_ID_RAW4}},
    {BIX_SS_EST_CEN2, {BIX_SS_ID_MEAN, BIX_SS_ID_RAW2, BIX_SS_ID_CEN2}},
    {BIX_SS_EST_CEN3, {BIX_SS_ID_MEAN, BIX_SS_ID_RAW2, BIX_SS_ID_RAW3, BIX_SS_ID_CEN3}},
    {BIX_SS_EST_CEN4,
     {BIX_SS_ID_MEAN, BIX_SS_ID_RAW2, BIX_SS_ID_RAW3, BIX_SS_ID_RAW4, BIX_SS_ID_CEN4}},
    {BIX_SS_EST_COV, {BIX_SS_ID_MEAN, BIX_SS_ID_COV}},
    {BIX_SS_EST_COR, {BIX_SS_ID_MEAN, BIX_SS_ID_COR}},
    {BIX_SS_EST_KURTOSIS,
     {BIX_SS_ID_MEAN, BIX_SS_ID_RAW2, BIX_SS_ID_RAW3, BIX_SS_ID_RAW4, BIX_SS_ID_CEN2,
      BIX_SS_ID_CEN4, BIX_SS_ID_KURTOSIS}},
    {BIX_SS_EST_SKEWNESS,
     {BIX_SS_ID_MEAN, BIX_SS_ID_RAW2, BIX_SS_ID_RAW3, BIX_SS_ID_CEN2, BIX_SS_ID_CEN3,
      BIX_SS_ID_SKEWNESS}},
    {BIX_SS_EST_VARIATION, {BIX_SS_ID_MEAN, BIX_SS_ID_RAW2, BIX_SS_ID_CEN2, BIX_SS_ID_VARIATION}},
};

int null_code(int id) {
    switch (id) {
        case BIX_SS_ID_MEAN:
            return BIX_SS_ERROR_NULL_MEAN;
        case BIX_SS_ID_RAW2:
            return BIX_SS_ERROR_NULL_RAW2;
        case BIX_SS_ID_RAW3:
            return BIX_SS_ERROR_NULL_RAW3;
        case BIX_SS_ID_RAW4:
            return BIX_SS_ERROR_NULL_RAW4;
        case BIX_SS_ID_CEN2:
            return BIX_SS_ERROR_NULL_CEN2;
        case BIX_SS_ID_CEN3:
            return BIX_SS_ERROR_NULL_CEN3;
        case BIX_SS_ID_CEN4:
            return BIX_SS_ERROR_NULL_CEN4;
        case BIX_SS_ID_COV:
            return BIX_SS_ERROR_NULL_COV;
        case BIX_SS_ID_COR:
            return BIX_SS_ERROR_NULL_COR;
        case BIX_SS_ID_KURTOSIS:
            return BIX_SS_ERROR_NULL_KURTOSIS;
        case BIX_SS_ID_SKEWNESS:
            return BIX_SS_ERROR_NULL_SKEWNESS;
        default:
            return BIX_SS_ERROR_NULL_VARIATION;
    }
}

// Each request reports its slots one after the other as they are set, in the table's order, and
// only then the method; nothing is written before every check has passed.
TEST(BasicChecks, SlotsInTableOrderThenMethod) {
    std::vector<double> x = {1, 2, 3, 4, 5, 7}, slots(12, 0.0);
    int64_t p = 2, n = 3, storage = kCols, cov_storage = BIX_SS_COV_FULL;
    for (const Expansion &e : kExpansion) {
        BixSSTask *raw = nullptr;
        ASSERT_EQ(__bixdSSNewTask(&raw, &p, &n, &storage, x.data(), nullptr, nullptr, 1), 0);
        Task t(raw);
        ASSERT_EQ(__bixiSSEditTask(t.get(), BIX_SS_ID_COV_STORAGE, &cov_storage), 0);
        ASSERT_EQ(__bixiSSEditTask(t.get(), BIX_SS_ID_COR_STORAGE, &cov_storage), 0);
        std::vector<double> data(8 * e.ids.size(), -1.0);
        for (size_t k = 0; k < e.ids.size(); ++k) {
            EXPECT_EQ(_bixdSSBasic(t.get(), e.est, 0x102), null_code(e.ids[k])) << e.est;
            ASSERT_EQ(__bixdSSEditTask(t.get(), e.ids[k], data.data() + 8 * k), 0);
        }
        for (int bad : {0, 0x3, 0x102, 0x103, 0x4, 0x8}) {
            EXPECT_EQ(_bixdSSBasic(t.get(), e.est, bad), BIX_SS_ERROR_BAD_METHOD) << bad;
        }
        EXPECT_EQ(data, std::vector<double>(8 * e.ids.size(), -1.0));
        EXPECT_EQ(_bixdSSBasic(t.get(), e.est, BIX_SS_METHOD_TWO_PASS | 0x8), 0) << e.est;
        EXPECT_NE(data, std::vector<double>(8 * e.ids.size(), -1.0));
    }
}

TEST(BasicChecks, StorageCodesComeFirstAndLast) {
    std::vector<double> x = {1, 2, 3, 4}, r(4, -1.0);
    int64_t p = 2, n = 2, storage = kCols;
    BixSSTask *raw = nullptr;
    ASSERT_EQ(__bixdSSNewTask(&raw, &p, &n, &storage, x.data(), nullptr, nullptr, 1), 0);
    Task t(raw);
    EXPECT_EQ(_bixdSSBasic(nullptr, BIX_SS_EST_MEAN, 1), BIX_SS_ERROR_NULL_TASK);
    // A bad observation storage code before any slot or the method.
    storage = 0x40000;
    EXPECT_EQ(_bixdSSBasic(t.get(), kAll, 0), BIX_SS_ERROR_BAD_STORAGE);
    storage = kRows | kCols;  // both bits: variable-major
    ASSERT_EQ(__bixdSSEditCovCor(t.get(), r.data(), r.data(), nullptr, nullptr, nullptr), 0);
    // Covariance and correlation storage codes after the slots, before the method.
    EXPECT_EQ(_bixdSSBasic(t.get(), BIX_SS_EST_COV, 0), BIX_SS_ERROR_NULL_STORAGE);
    int64_t code = 0x4;
    ASSERT_EQ(__bixiSSEditTask(t.get(), BIX_SS_ID_COV_STORAGE, &code), 0);
    EXPECT_EQ(_bixdSSBasic(t.get(), BIX_SS_EST_COV, 0), BIX_SS_ERROR_BAD_STORAGE);
    code = BIX_SS_COV_FULL | BIX_SS_COV_LOWER_PACKED;
    EXPECT_EQ(_bixdSSBasic(t.get(), BIX_SS_EST_COV, 0), BIX_SS_ERROR_BAD_METHOD);
    EXPECT_EQ(r, std::vector<double>(4, -1.0));
    // Both bits: the full matrix; variable-major data: variables (1, 2) and (3, 4).
    ASSERT_EQ(_bixdSSBasic(t.get(), BIX_SS_EST_COV, 2), 0);
    EXPECT_EQ(r, (std::vector<double>{0.5, 0.5, 0.5, 0.5}));
    // x null only matters when there is work; nothing selected or n < 1 writes nothing.
    raw->x = nullptr;
    EXPECT_EQ(_bixdSSBasic(t.get(), BIX_SS_EST_MEAN, 1), BIX_SS_ERROR_NULL_X);
    n = 0;
    EXPECT_EQ(_bixdSSBasic(t.get(), BIX_SS_EST_MEAN, 1), 0);
    EXPECT_EQ(_bixdSSBasic(t.get(), 0, 1), 0);
}

// Unselected variables keep every result bit, also their covariance and correlation entries in
// both forms, and the portion record of a call whose observations carry no weight stays.
TEST(BasicSelection, UnselectedEntriesStayUntouched) {
    const size_t p = 4, n = 300;
    const std::vector<int> idx = {0, 1, 0, 1};
    for (int storage : {kRows, kCols}) {
        for (int form : {BIX_SS_COV_FULL, BIX_SS_COV_LOWER_PACKED}) {
            const std::vector<double> x = sample<double>(p, n, storage, 3, 51);
            Basic<double> b(x.data(), p, n, storage, nullptr, &idx, -123.0);
            b.cov_storage = b.cor_storage = form;
            ASSERT_EQ(b.run(kAll, BIX_SS_METHOD_ONE_PASS), 0);
            const size_t entries = form == BIX_SS_COV_FULL ? p * p : p * (p + 1) / 2;
            for (size_t i = 0; i < p; ++i) {
                for (size_t k = 0; k < p; ++k) {
                    if (form == BIX_SS_COV_LOWER_PACKED && k > i) continue;
                    const size_t at = form == BIX_SS_COV_FULL ? i * p + k : i * (i + 1) / 2 + k;
                    const bool touched = idx[i] != 0 && idx[k] != 0;
                    EXPECT_EQ(b.cov[at] == -123.0, !touched) << i << " " << k;
                    EXPECT_EQ(b.cor[at] == -123.0, !touched) << i << " " << k;
                }
                EXPECT_EQ(b.mean[i] == -123.0, idx[i] == 0);
                EXPECT_EQ(b.kurt[i] == -123.0, idx[i] == 0);
            }
            for (size_t at = entries; at < p * p; ++at) EXPECT_EQ(b.cov[at], -123.0);
        }
    }
}

// A NaN observation makes its own variable's estimates NaN and leaves the others' bits as they
// are without it (the moments of a variable do not depend on the others).
TEST(BasicSelection, NanStaysInItsVariable) {
    const size_t p = 5, n = 700;
    for (int storage : {kRows, kCols}) {
        for (int method : kMethods) {
            std::vector<double> x = sample<double>(p, n, storage, 2, 61);
            Basic<double> clean(x.data(), p, n, storage);
            ASSERT_EQ(clean.run(kAll, method), 0);
            x[storage == kRows ? 2 * n + 333 : 333 * p + 2] = std::nan("");
            Basic<double> b(x.data(), p, n, storage);
            ASSERT_EQ(b.run(kAll, method), 0);
            for (size_t i = 0; i < p; ++i) {
                for (auto v : {&Basic<double>::mean, &Basic<double>::cen2, &Basic<double>::cen4,
                               &Basic<double>::skew, &Basic<double>::raw3}) {
                    if (i == 2) {
                        EXPECT_TRUE(std::isnan((b.*v)[i]));
                    } else {
                        EXPECT_EQ((b.*v)[i], (clean.*v)[i]) << i;
                    }
                }
                for (size_t k = 0; k < p; ++k) {
                    const bool nan = i == 2 || k == 2;
                    EXPECT_EQ(std::isnan(b.cov[i * p + k]), nan) << i << " " << k;
                    EXPECT_EQ(std::isnan(b.cor[i * p + k]), nan) << i << " " << k;
                }
            }
        }
    }
}

// The vector loops and the element-by-element paths add in the same order: the results do not
// depend on where the data start in memory, and a variable computed alone (the element path of
// observation-major data) has the bits it has among others (the vector path).
TEST(BasicSelection, VectorAndElementPathsAgreeBitForBit) {
    const size_t p = 7, n = 1001;
    for (int storage : {kRows, kCols}) {
        for (int method : kMethods) {
            const std::vector<double> x = sample<double>(p, n, storage, 4, 71);
            const std::vector<double> w = weights<double>(n, 72);
            Basic<double> all(x.data(), p, n, storage, w.data());
            ASSERT_EQ(all.run(kAllMoments, method), 0);
            std::vector<double> shifted(x.size() + 1), wshift(n + 1);
            std::copy(x.begin(), x.end(), shifted.begin() + 1);
            std::copy(w.begin(), w.end(), wshift.begin() + 1);
            Basic<double> moved(shifted.data() + 1, p, n, storage, wshift.data() + 1);
            ASSERT_EQ(moved.run(kAllMoments, method), 0);
            EXPECT_EQ(moved.cen4, all.cen4);
            EXPECT_EQ(moved.mean, all.mean);
            for (size_t i = 0; i < p; ++i) {
                std::vector<int> one(p, 0);
                one[i] = 1;
                Basic<double> alone(x.data(), p, n, storage, w.data(), &one);
                ASSERT_EQ(alone.run(kAllMoments, method), 0);
                EXPECT_EQ(alone.mean[i], all.mean[i]) << i;
                EXPECT_EQ(alone.raw4[i], all.raw4[i]) << i;
                EXPECT_EQ(alone.cen3[i], all.cen3[i]) << i;
                EXPECT_EQ(alone.kurt[i], all.kurt[i]) << i;
            }
        }
    }
}

// Weights that are zero over whole blocks, negative weights (the covariance through dgemm), one
// observation per portion (W - W2/W = 0 after the first), an infinite observation.
TEST(BasicExact, AwkwardWeightsAndValues) {
    const size_t p = 3, n = 9000;
    for (int storage : {kRows, kCols}) {
        const std::vector<double> x = sample<double>(p, n, storage, 20, 81);
        std::vector<double> w = weights<double>(n, 82);
        std::fill(w.begin() + 10, w.begin() + 6000, 0.0);
        w[7000] = -0.5;
        const Reference r = exact(x, p, n, storage, w.data());
        for (int method : kMethods) {
            Basic<double> b(x.data(), p, n, storage, w.data());
            ASSERT_EQ(b.run(kAll, method), 0);
            expect_estimates(b, r, 1e-12);
        }
    }
    const std::vector<double> x = {4, 1, 7, 3, 9};
    for (int method : kMethods) {
        Basic<double> b(x.data(), 1, 5, kCols);
        b.portions();
        run_in_portions(b, x, static_cast<const double *>(nullptr), {0, 1, 2, 3, 4, 5}, method,
                        kAll);
        EXPECT_EQ(b.mean[0], 4.8);
        EXPECT_DOUBLE_EQ(b.cen2[0], 10.2);
        EXPECT_EQ(b.cor[0], 1.0);
        std::vector<double> y = {1, 2, std::numeric_limits<double>::infinity(), 4};
        Basic<double> c(y.data(), 1, 4, kRows);
        ASSERT_EQ(c.run(kAll, method), 0);
        EXPECT_EQ(c.mean[0], std::numeric_limits<double>::infinity());
        EXPECT_TRUE(std::isnan(c.cen2[0]));
    }
}

// A covariance request with nothing else but the mean takes the first central sums from the
// pass that centres the block; they must be the bits the block sums give, so that the mean and
// covariance do not depend on what else is requested.
TEST(BasicSelection, CovarianceAloneHasTheSameBits) {
    const size_t p = 6, n = 5000;
    for (int storage : {kRows, kCols}) {
        for (bool weighted : {false, true}) {
            const std::vector<double> x = sample<double>(p, n, storage, 30, 101);
            const std::vector<double> w = weights<double>(n, 102);
            const double *wp = weighted ? w.data() : nullptr;
            const std::vector<int> idx = {1, 1, 0, 1, 1, 1};
            for (int method : kMethods) {
                Basic<double> alone(x.data(), p, n, storage, wp, &idx);
                Basic<double> more(x.data(), p, n, storage, wp, &idx);
                ASSERT_EQ(alone.run(BIX_SS_EST_COV | BIX_SS_EST_MEAN, method), 0);
                ASSERT_EQ(more.run(BIX_SS_EST_COV | BIX_SS_EST_RAW2, method), 0);
                EXPECT_EQ(alone.mean, more.mean);
                EXPECT_EQ(alone.cov, more.cov);
            }
        }
    }
}

template <class T>
class BasicAlloc : public ::testing::Test {};
using Precisions = ::testing::Types<double, float>;
TYPED_TEST_SUITE(BasicAlloc, Precisions);

TYPED_TEST(BasicAlloc, FailuresLeaveResultsUnchanged) {
    using T = TypeParam;
    const size_t p = 3, n = 100;
    const std::vector<int> idx = {1, 0, 1};
    for (int storage : {kRows, kCols}) {
        const std::vector<T> x = sample<T>(p, n, storage, 1, 91);
        Basic<T> b(x.data(), p, n, storage, nullptr, &idx);
        korb::test::sweep_ss_allocation_failures([&] {
            const std::vector<T> mean = b.mean, cov = b.cov;
            const int status = b.run(kAll, BIX_SS_METHOD_TWO_PASS);
            if (status != 0) {
                EXPECT_EQ(b.mean, mean);
                EXPECT_EQ(b.cov, cov);
            }
            return status;
        });
    }
}

}  // namespace
