// The binomial, Poisson, hypergeometric and negative-binomial kernels: goodness of fit against
// scipy's distribution functions (tests/data/counting_ref.inc, made by counting_scipy.py) in
// every algorithm and at the switches between them, the constants that need no draw, the
// reproducibility of the variates and of the uniforms' use, and the vector-mean kernel against
// the scalar one.
//
// Pearson's chi-square over the committed cells (integers, P(X <= end) from scipy), merged until
// each expects at least 5, under its 0.999 quantile. A million variates per case in `make test`;
// KORB_GOF_VARIATES sets another count (`make gof` runs ten million).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
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

struct CountCase {
    const char *name;
    const char *kernel;  // list entry
    int method;
    std::vector<double> p;
    std::vector<int> at;        // cell ends
    std::vector<double> below;  // P(X <= at[j])
};

const std::vector<CountCase> &count_cases() {
    static const std::vector<CountCase> cases = {
#include "data/counting_ref.inc"
    };
    return cases;
}

// The means of a PoissonV case: p = (period, low, high).
std::vector<double> cycled_means(const std::vector<double> &p, long n) {
    std::vector<double> lambda(static_cast<size_t>(n));
    const long period = static_cast<long>(p[0]);
    for (long i = 0; i < n; ++i) {
        lambda[i] = p[1] + (p[2] - p[1]) * (static_cast<double>(i % period) + 0.5) / p[0];
    }
    return lambda;
}

int draw_case(const CountCase &c, BixStream *s, long n, int *r) {
    if (std::string_view(c.kernel) == "PoissonV") {
        const std::vector<double> lambda = cycled_means(c.p, n);
        return _bixiRngPoissonV(c.method, s, static_cast<int>(n), r, lambda.data());
    }
    return draw<int>(c.kernel, c.method, s, static_cast<int>(n), r, c.p.data());
}

struct Verdict {
    double chi_square = 0, bound = 0;
    int cells = 0;
    long outside = 0;  // variates the distribution cannot give
};

Verdict judge(std::vector<int> x, const CountCase &c) {
    std::sort(x.begin(), x.end());
    const double n = static_cast<double>(x.size());
    Verdict v;
    double from_count = 0, from_probability = 0;
    for (size_t j = 0; j <= c.at.size(); ++j) {
        const bool last = j == c.at.size();
        const double count =
            last ? n
                 : static_cast<double>(std::upper_bound(x.begin(), x.end(), c.at[j]) - x.begin());
        const double probability = last ? 1.0 : c.below[j];
        const double expected = (probability - from_probability) * n;
        if (expected < 5 && !last) continue;
        const double observed = count - from_count;
        if (expected > 0) {
            v.chi_square += (observed - expected) * (observed - expected) / expected;
            ++v.cells;
        } else if (observed > 0) {
            v.outside += static_cast<long>(observed);
        }
        from_count = count;
        from_probability = probability;
    }
    v.bound = v.cells > 1 ? chi_square_bound(v.cells - 1) : 0;
    return v;
}

class CountFit : public ::testing::TestWithParam<int> {};

TEST_P(CountFit, VariatesFollowScipysDistribution) {
    const CountCase &c = count_cases()[GetParam()];
    const long n = variates();
    Stream s = make_stream(BIX_BRNG_MT19937, 20261125);
    std::vector<int> r(static_cast<size_t>(n));
    ASSERT_EQ(draw_case(c, s.get(), n, r.data()), BIX_ERROR_OK);
    // Every variate inside the support the cells span or the end cells' tails.
    const Verdict v = judge(std::move(r), c);
    if (std::getenv("KORB_GOF_VARIATES") != nullptr) {
        std::printf("  %s: chi-square %.1f (bound %.1f, %d cells)\n", c.name, v.chi_square, v.bound,
                    v.cells);
    }
    EXPECT_EQ(v.outside, 0);
    if (v.cells > 1) {
        EXPECT_LT(v.chi_square, v.bound) << v.cells << " cells";
    }
}

INSTANTIATE_TEST_SUITE_P(Counting, CountFit,
                         ::testing::Range(0, static_cast<int>(count_cases().size())),
                         [](const ::testing::TestParamInfo<int> &info) {
                             std::string name = count_cases()[info.param].name;
                             for (char &ch : name)
                                 ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
                             return name;
                         });

// --- Constants, reproducibility ----------------------------------------------------------------

// The parameters with a single outcome give it without drawing.
TEST(Counting, DegenerateParametersGiveTheConstantWithoutDrawing) {
    struct Constant {
        const char *kernel;
        std::vector<double> p;
        int value;
    };
    const Constant cases[] = {
        {"Binomial", {0, 0.3}, 0},        {"Binomial", {17, 0}, 0},
        {"Binomial", {17, 1}, 17},        {"Binomial", {2147483647, 1}, 2147483647},
        {"Hypergeometric", {1, 0, 1}, 0}, {"Hypergeometric", {1, 1, 1}, 1},
        {"Hypergeometric", {9, 0, 4}, 0}, {"Hypergeometric", {9, 9, 4}, 4},
        {"Hypergeometric", {9, 4, 0}, 0}, {"Hypergeometric", {9, 4, 9}, 4},
        {"Hypergeometric", {0, 0, 0}, 0}, {"Negbinomial", {2.5, 1}, 0},
    };
    for (const Constant &c : cases) {
        Stream s = g_scripted.stream();
        std::vector<int> r(5, -7);
        ASSERT_EQ(draw<int>(c.kernel, 0, s.get(), 5, r.data(), c.p.data()), BIX_ERROR_OK);
        EXPECT_EQ(r, std::vector<int>(5, c.value)) << c.kernel << " " << c.p[0] << " " << c.p[1];
        EXPECT_TRUE(g_scripted.calls.empty()) << c.kernel;
    }
}

struct Draw {
    const char *kernel;
    int method;
    std::vector<double> p;
    bool inversion;  // one uniform a variate: any split of n gives the same variates
};

const Draw kDraws[] = {
    {"Binomial", 0, {10, 0.3}, true},
    {"Binomial", 0, {1000, 0.4}, false},
    {"Binomial", 0, {1000, 0.9}, false},
    {"Poisson", 0, {0.5}, true},
    {"Poisson", 0, {26.5}, true},
    {"Poisson", 0, {1000}, false},
    {"Poisson", 1, {9.5}, true},
    {"Poisson", 1, {20}, false},
    {"Hypergeometric", 0, {50, 5, 20}, true},
    {"Hypergeometric", 0, {1000, 100, 500}, false},
    {"Negbinomial", 0, {2, 0.7}, true},
    {"Negbinomial", 0, {3, 0.3}, false},
};

// Same state, n and parameters: the same variates, whatever the stream did before.
TEST(Counting, SameStateAndCountGiveTheSameVariates) {
    constexpr int kN = 3000;
    for (const Draw &d : kDraws) {
        std::vector<int> a(kN), b(kN);
        Stream s = make_stream(BIX_BRNG_MCG59, 99);
        ASSERT_EQ(draw<int>(d.kernel, d.method, s.get(), kN, a.data(), d.p.data()), BIX_ERROR_OK);
        Stream t = make_stream(BIX_BRNG_MCG59, 99);
        ASSERT_EQ(draw<int>(d.kernel, d.method, t.get(), kN, b.data(), d.p.data()), BIX_ERROR_OK);
        EXPECT_EQ(a, b) << d.kernel << " " << d.p[0];
        // The inversion kernels take one uniform a variate, so a split changes nothing.
        if (!d.inversion) continue;
        Stream u = make_stream(BIX_BRNG_MCG59, 99);
        ASSERT_EQ(draw<int>(d.kernel, d.method, u.get(), 1234, b.data(), d.p.data()), BIX_ERROR_OK);
        ASSERT_EQ(draw<int>(d.kernel, d.method, u.get(), kN - 1234, b.data() + 1234, d.p.data()),
                  BIX_ERROR_OK);
        EXPECT_EQ(a, b) << d.kernel << " " << d.p[0] << " split";
    }
}

// Variates stay in the support and the rejection kernels' tables and logarithms agree at their
// seam: the table covers the values near the mode, the logarithms the rest.
TEST(Counting, LargeParametersStayInTheSupport) {
    constexpr int kN = 20000;
    std::vector<int> r(kN);
    Stream s = make_stream(BIX_BRNG_MT19937, 5);
    const double big = 2147483647;
    ASSERT_EQ(_bixiRngBinomial(0, s.get(), kN, r.data(), 2147483647, 0.5), BIX_ERROR_OK);
    for (int x : r) EXPECT_NEAR(x, big / 2, 6 * std::sqrt(big) / 2);
    ASSERT_EQ(_bixiRngPoisson(0, s.get(), kN, r.data(), 2e9), BIX_ERROR_OK);
    for (int x : r) EXPECT_NEAR(x, 2e9, 6 * std::sqrt(2e9));
    ASSERT_EQ(_bixiRngPoisson(1, s.get(), kN, r.data(), 2e9), BIX_ERROR_OK);
    for (int x : r) EXPECT_NEAR(x, 2e9, 6 * std::sqrt(2e9));
    ASSERT_EQ(_bixiRngHypergeometric(0, s.get(), kN, r.data(), 2147483647, 2147483600, 5),
              BIX_ERROR_OK);
    for (int x : r) {
        EXPECT_GE(x, 0);
        EXPECT_LE(x, 5);
    }
    ASSERT_EQ(_bixiRngNegbinomial(0, s.get(), kN, r.data(), 1e-3, 1e-9), BIX_ERROR_OK);
    for (int x : r) EXPECT_GE(x, 0);
}

TEST(Counting, UnknownMethodsAreRefusedBeforeDrawing) {
    Stream s = g_scripted.stream();
    int r[2] = {7, 7};
    const double lambda[2] = {1, 2};
    EXPECT_EQ(_bixiRngBinomial(1, s.get(), 2, r, 10, 0.5), BIX_ERROR_BADMETHOD);
    EXPECT_EQ(_bixiRngPoisson(2, s.get(), 2, r, 3), BIX_ERROR_BADMETHOD);
    EXPECT_EQ(_bixiRngPoissonV(1, s.get(), 2, r, lambda), BIX_ERROR_BADMETHOD);
    EXPECT_EQ(_bixiRngHypergeometric(1, s.get(), 2, r, 10, 5, 5), BIX_ERROR_BADMETHOD);
    EXPECT_EQ(_bixiRngNegbinomial(1, s.get(), 2, r, 1, 0.5), BIX_ERROR_BADMETHOD);
    EXPECT_TRUE(g_scripted.calls.empty());
    EXPECT_EQ(r[0], 7);
}

// Parameters that would make a sampler read outside its tables or never stop are refused before
// drawing; the vector kernel's means of 0 or NaN give 0.
TEST(Counting, ParametersOutsideTheDomainAreRefusedBeforeDrawing) {
    const double nan = std::nan("");
    Stream s = g_scripted.stream();
    int r[3] = {7, 7, 7};
    EXPECT_EQ(_bixiRngBinomial(0, s.get(), 3, r, -1, 0.5), BIX_ERROR_BADARGS);
    EXPECT_EQ(_bixiRngBinomial(0, s.get(), 3, r, 10, 1.5), BIX_ERROR_BADARGS);
    EXPECT_EQ(_bixiRngBinomial(0, s.get(), 3, r, 10, nan), BIX_ERROR_BADARGS);
    for (double lambda : {0.0, -1.0, nan}) {
        EXPECT_EQ(_bixiRngPoisson(0, s.get(), 3, r, lambda), BIX_ERROR_BADARGS);
        EXPECT_EQ(_bixiRngPoisson(1, s.get(), 3, r, lambda), BIX_ERROR_BADARGS);
    }
    EXPECT_EQ(_bixiRngHypergeometric(0, s.get(), 3, r, 10, 11, 5), BIX_ERROR_BADARGS);
    EXPECT_EQ(_bixiRngHypergeometric(0, s.get(), 3, r, 10, 5, -1), BIX_ERROR_BADARGS);
    EXPECT_EQ(_bixiRngHypergeometric(0, s.get(), 3, r, -1, 0, 0), BIX_ERROR_BADARGS);
    EXPECT_EQ(_bixiRngNegbinomial(0, s.get(), 3, r, 0.0, 0.5), BIX_ERROR_BADARGS);
    EXPECT_EQ(_bixiRngNegbinomial(0, s.get(), 3, r, INFINITY, 0.5), BIX_ERROR_BADARGS);
    EXPECT_EQ(_bixiRngNegbinomial(0, s.get(), 3, r, 2.0, 0.0), BIX_ERROR_BADARGS);
    EXPECT_EQ(_bixiRngNegbinomial(0, s.get(), 3, r, 2.0, nan), BIX_ERROR_BADARGS);
    EXPECT_TRUE(g_scripted.calls.empty());
    EXPECT_EQ(r[0], 7);
    const double means[3] = {0.0, nan, -2.0};
    ASSERT_EQ(_bixiRngPoissonV(0, s.get(), 3, r, means), BIX_ERROR_OK);
    EXPECT_EQ(r[0], 0);
    EXPECT_EQ(r[1], 0);
    EXPECT_EQ(r[2], 0);
}

// The vector-mean kernel is the scalar kernel's method 1 element by element: a constant mean
// gives its variates, on both sides of the switch to PD.
TEST(PoissonV, ConstantMeanGivesTheScalarKernelsVariates) {
    constexpr int kN = 5000;
    for (double lambda : {0.25, 9.99, 10.0, 37.5}) {
        std::vector<int> a(kN), b(kN);
        const std::vector<double> means(kN, lambda);
        Stream s = make_stream(BIX_BRNG_MT19937, 11);
        ASSERT_EQ(_bixiRngPoisson(BIX_RNG_METHOD_POISSON_NORMAL, s.get(), kN, a.data(), lambda),
                  BIX_ERROR_OK);
        Stream t = make_stream(BIX_BRNG_MT19937, 11);
        ASSERT_EQ(_bixiRngPoissonV(0, t.get(), kN, b.data(), means.data()), BIX_ERROR_OK);
        EXPECT_EQ(a, b) << lambda;
    }
}

// Means that change every element, every run length and both samplers: element i of a mixed call
// follows its own mean (its sample mean over many repetitions of the pattern).
TEST(PoissonV, EachElementFollowsItsOwnMean) {
    const std::vector<double> pattern = {0.5, 0.5, 12, 3, 3, 3, 150, 9.99, 10, 40};
    constexpr int kRepeats = 20000;
    std::vector<double> means;
    for (int k = 0; k < kRepeats; ++k) means.insert(means.end(), pattern.begin(), pattern.end());
    std::vector<int> r(means.size());
    Stream s = make_stream(BIX_BRNG_MT19937, 12);
    ASSERT_EQ(_bixiRngPoissonV(0, s.get(), static_cast<int>(r.size()), r.data(), means.data()),
              BIX_ERROR_OK);
    for (size_t j = 0; j < pattern.size(); ++j) {
        double sum = 0;
        for (int k = 0; k < kRepeats; ++k) sum += r[k * pattern.size() + j];
        // Five standard errors of the mean.
        EXPECT_NEAR(sum / kRepeats, pattern[j], 5 * std::sqrt(pattern[j] / kRepeats)) << j;
    }
}

}  // namespace
}  // namespace korb::test
