// Goodness of fit of the gamma, beta and multivariate Gaussian kernels beyond the list's
// contract suite: every shape regime and algorithm of gamma and beta against scipy's
// distribution functions (tests/data/gamma_beta_ref.inc, made by gamma_beta_scipy.py), and the
// multivariate Gaussian's marginals, a projection, its sample mean and covariance against the
// normal distribution with the mean and T T' it was given, in both precisions and every method.
//
// Statistics: Pearson's chi-square over the cells between the committed quantiles (512
// equiprobable cells, fewer where an edge cannot be held in the output precision; cells merged
// until each expects 20), under its 0.999 quantile; and the Kolmogorov-Smirnov distance taken at
// the cell edges, under 1.95 / sqrt(n) (at 511 edges it is within 1/512 of the full distance).
// A million variates per case in `make test`; KORB_GOF_VARIATES sets another count (`make gof`
// runs ten million).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <string>
#include <vector>

#include "distributions/dist_test.h"

namespace korb::test {
namespace {

long variates() {
    const char *text = std::getenv("KORB_GOF_VARIATES");
    const long n = text != nullptr ? std::atol(text) : 0;
    return n > 0 ? n : 1000000;
}

// Cell edges and the probability below each (increasing both).
struct Edges {
    std::vector<double> at, below;
};

struct Verdict {
    double chi_square, chi_bound, ks, ks_bound;
    int cells;
};

// The sample x against the edges: the count below an edge takes a variate equal to it as half.
template <class T>
Verdict judge(std::vector<T> x, const Edges &e) {
    std::sort(x.begin(), x.end());
    const double n = static_cast<double>(x.size());
    std::vector<double> counts{0}, probabilities{0};
    for (size_t j = 0; j < e.at.size(); ++j) {
        const T edge = static_cast<T>(e.at[j]);
        const auto lo = std::lower_bound(x.begin(), x.end(), edge);
        const auto hi = std::upper_bound(lo, x.end(), edge);
        counts.push_back(static_cast<double>(lo - x.begin()) + 0.5 * static_cast<double>(hi - lo));
        probabilities.push_back(e.below[j]);
    }
    counts.push_back(n);
    probabilities.push_back(1);
    Verdict v{0, 0, 0, 1.95 / std::sqrt(n), 0};
    for (size_t j = 1; j + 1 < counts.size(); ++j) {
        v.ks = std::max(v.ks, std::fabs(counts[j] / n - probabilities[j]));
    }
    // Cells from one kept edge to the next, each expecting at least 20.
    double from_count = 0, from_probability = 0;
    for (size_t j = 1; j < counts.size(); ++j) {
        const double expected = (probabilities[j] - from_probability) * n;
        const bool last = j + 1 == counts.size();
        if (expected < 20 && !last) continue;
        const double observed = counts[j] - from_count;
        v.chi_square += (observed - expected) * (observed - expected) / std::max(expected, 1e-300);
        ++v.cells;
        from_count = counts[j];
        from_probability = probabilities[j];
    }
    v.chi_bound = v.cells > 1 ? chi_square_bound(v.cells - 1) : 0;
    return v;
}

void expect_fits(const Verdict &v) {
    // The long run prints every statistic, for the record.
    if (std::getenv("KORB_GOF_VARIATES") != nullptr) {
        std::printf("  ks %.3g (bound %.3g), chi-square %.1f (bound %.1f, %d cells)\n", v.ks,
                    v.ks_bound, v.chi_square, v.chi_bound, v.cells);
    }
    EXPECT_LT(v.ks, v.ks_bound);
    if (v.cells > 1) {
        EXPECT_LT(v.chi_square, v.chi_bound) << v.cells << " cells";
    }
}

// --- Gamma and beta against scipy ------------------------------------------------------------

struct ScipyCase {
    const char *name;
    const char *kernel;  // list entry
    std::vector<double> p;
    std::vector<double> double_edges, double_below, single_edges, single_below;
};

const std::vector<ScipyCase> &scipy_cases() {
    static const std::vector<ScipyCase> cases = {
#include "data/gamma_beta_ref.inc"
    };
    return cases;
}

struct ScipyFitCase {
    int index;
    bool single;
};

std::vector<ScipyFitCase> scipy_fit_cases() {
    std::vector<ScipyFitCase> all;
    for (int i = 0; i < static_cast<int>(scipy_cases().size()); ++i) {
        all.push_back({i, false});
        all.push_back({i, true});
    }
    return all;
}

template <class T>
void expect_scipy_fit(const ScipyCase &c, const Edges &e) {
    const long n = variates();
    Stream s = make_stream(BIX_BRNG_MT19937, 20261125);
    std::vector<T> r(static_cast<size_t>(n));
    ASSERT_EQ(draw<T>(c.kernel, 0, s.get(), static_cast<int>(n), r.data(), c.p.data()),
              BIX_ERROR_OK);
    expect_fits(judge(std::move(r), e));
}

class ScipyFit : public ::testing::TestWithParam<ScipyFitCase> {};

TEST_P(ScipyFit, VariatesFollowScipysDistributionFunction) {
    const ScipyCase &c = scipy_cases()[GetParam().index];
    SCOPED_TRACE(c.name);
    if (GetParam().single) {
        expect_scipy_fit<float>(c, {c.single_edges, c.single_below});
    } else {
        expect_scipy_fit<double>(c, {c.double_edges, c.double_below});
    }
}

INSTANTIATE_TEST_SUITE_P(GammaBeta, ScipyFit, ::testing::ValuesIn(scipy_fit_cases()),
                         [](const ::testing::TestParamInfo<ScipyFitCase> &info) {
                             std::string name = scipy_cases()[info.param.index].name;
                             for (char &ch : name)
                                 ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
                             return name + (info.param.single ? "_s" : "_d");
                         });

// --- The multivariate Gaussian ---------------------------------------------------------------

struct MvCase {
    const char *name;
    int dimen;
    int storage;
    std::vector<double> a, t;
};

// Full, packed and diagonal factors, one of dimension 1, and a factor that looks singular but
// is valid: a zero row (a constant element), a zero diagonal with its row still reaching the
// earlier normals, and elements twelve orders of magnitude apart.
const MvCase kMvCases[] = {
    {"dimen_1", 1, 0, {1.5}, {-2}},
    {"full_4",
     4,
     0,
     {1, -2, 0.5, 3},
     {2, 9, 9, 9, 0.5, 1, 9, 9, -1, 0.25, 3, 9, 0.1, -0.2, 0.3, 0.4}},
    {"packed_4", 4, 1, {1, -2, 0.5, 3}, {2, 0.5, 1, -1, 0.25, 3, 0.1, -0.2, 0.3, 0.4}},
    {"diagonal_3", 3, 2, {0, 10, -10}, {1, 0.05, 7}},
    {"singular_looking",
     4,
     0,
     {0, 1, 2, 3},
     {1, 0, 0, 0, 0, 0, 0, 0, 2, 1e-12, 0, 0, 1, 1, 0, 1e6}},
};

// T's element (i, j) as the kernel reads it.
double factor_at(const MvCase &c, int i, int j) {
    if (j > i) return 0;
    if (c.storage == 2) return i == j ? c.t[i] : 0;
    return c.storage == 0 ? c.t[i * c.dimen + j] : c.t[i * (i + 1) / 2 + j];
}

// Sigma = T T'.
std::vector<double> covariance(const MvCase &c) {
    const int d = c.dimen;
    std::vector<double> sigma(d * d, 0.0);
    for (int i = 0; i < d; ++i) {
        for (int j = 0; j < d; ++j) {
            for (int k = 0; k < d; ++k) sigma[i * d + j] += factor_at(c, i, k) * factor_at(c, j, k);
        }
    }
    return sigma;
}

template <class T>
std::vector<T> draw_vectors(const MvCase &c, int method, BixStream *s, int n) {
    const std::vector<T> a(c.a.begin(), c.a.end()), t(c.t.begin(), c.t.end());
    std::vector<T> r(static_cast<size_t>(n) * c.dimen);
    const double p[4] = {static_cast<double>(c.dimen), static_cast<double>(c.storage), 0, 0};
    const void *arrays[4] = {nullptr, nullptr, a.data(), t.data()};
    EXPECT_EQ(draw<T>("GaussianMV", method, s, n, r.data(), dist::list::Params(p, arrays)),
              BIX_ERROR_OK);
    return r;
}

struct MvFitCase {
    int index;
    int method;
    bool single;
};

std::vector<MvFitCase> mv_fit_cases() {
    std::vector<MvFitCase> all;
    for (int i = 0; i < static_cast<int>(std::size(kMvCases)); ++i) {
        for (int method = 0; method < 3; ++method) {
            all.push_back({i, method, false});
            all.push_back({i, method, true});
        }
    }
    return all;
}

class MultivariateFit : public ::testing::TestWithParam<MvFitCase> {};

template <class T>
void expect_mv_fit(const MvCase &c, int method) {
    const int d = c.dimen;
    const int n = static_cast<int>(std::max(1000L, variates() / d));
    Stream s = make_stream(BIX_BRNG_MCG31M1, 777);
    const std::vector<T> r = draw_vectors<T>(c, method, s.get(), n);
    const std::vector<double> sigma = covariance(c);

    // Each marginal with a spread, and the projection on (1, -1, 2, -2, ...), each judged on
    // its own (they are dependent) as uniforms through the normal distribution function; a
    // marginal without a spread is its mean exactly.
    std::vector<double> w(d), mean(d, 0.0);
    for (int j = 0; j < d; ++j) w[j] = (j % 2 == 0 ? 1 : -1) * (1 + j / 2);
    double projected_mean = 0, projected_variance = 0;
    for (int i = 0; i < d; ++i) {
        projected_mean += w[i] * c.a[i];
        for (int j = 0; j < d; ++j) projected_variance += w[i] * w[j] * sigma[i * d + j];
    }
    const auto uniform = [](double x, double m, double v) {
        return 0.5 * std::erfc(-(x - m) / std::sqrt(2 * v));
    };
    Edges e;
    for (int j = 1; j < 512; ++j) {
        e.at.push_back(j / 512.0);
        e.below.push_back(j / 512.0);
    }
    std::vector<double> u(n);
    for (int j = 0; j <= d; ++j) {
        const bool projection = j == d;
        const double m = projection ? projected_mean : c.a[j];
        const double v = projection ? projected_variance : sigma[j * d + j];
        for (int k = 0; k < n; ++k) {
            const T *x = r.data() + static_cast<size_t>(k) * d;
            double value = 0;
            if (projection) {
                for (int i = 0; i < d; ++i) value += w[i] * x[i];
            } else {
                value = x[j];
                mean[j] += value;
                if (v == 0) {
                    ASSERT_EQ(x[j], static_cast<T>(c.a[j])) << "element " << j;
                }
            }
            u[k] = v > 0 ? uniform(value, m, v) : 0.5;
        }
        if (v > 0) {
            SCOPED_TRACE(projection ? "projection" : "element " + std::to_string(j));
            expect_fits(judge(u, e));
        }
    }

    // Sample mean and covariance: within 5 standard errors of a and Sigma (and, for the
    // single-precision kernel, of its rounding).
    for (int j = 0; j < d; ++j) mean[j] /= n;
    const double slack = sizeof(T) == 4 ? 1e-5 : 1e-12;
    for (int i = 0; i < d; ++i) {
        const double se = std::sqrt(sigma[i * d + i] / n);
        EXPECT_NEAR(mean[i], c.a[i], 5 * se + slack * (1 + std::fabs(c.a[i]))) << "mean " << i;
        for (int j = 0; j <= i; ++j) {
            double sum = 0;
            for (int k = 0; k < n; ++k) {
                const T *x = r.data() + static_cast<size_t>(k) * d;
                sum += (x[i] - mean[i]) * (x[j] - mean[j]);
            }
            const double estimate = sum / (n - 1);
            const double se_cov = std::sqrt(
                (sigma[i * d + i] * sigma[j * d + j] + sigma[i * d + j] * sigma[i * d + j]) / n);
            const double scale = std::sqrt(sigma[i * d + i] * sigma[j * d + j]);
            EXPECT_NEAR(estimate, sigma[i * d + j], 5 * se_cov + slack * (1 + scale))
                << "covariance " << i << ", " << j;
        }
    }
}

TEST_P(MultivariateFit, MarginalsProjectionMeanAndCovarianceAreTheGivenNormal) {
    const MvFitCase &f = GetParam();
    SCOPED_TRACE(kMvCases[f.index].name);
    if (f.single) {
        expect_mv_fit<float>(kMvCases[f.index], f.method);
    } else {
        expect_mv_fit<double>(kMvCases[f.index], f.method);
    }
}

INSTANTIATE_TEST_SUITE_P(GaussianMV, MultivariateFit, ::testing::ValuesIn(mv_fit_cases()),
                         [](const ::testing::TestParamInfo<MvFitCase> &info) {
                             return std::string(kMvCases[info.param.index].name) + "_method" +
                                    std::to_string(info.param.method) +
                                    (info.param.single ? "_s" : "_d");
                         });

}  // namespace
}  // namespace korb::test
