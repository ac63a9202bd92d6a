// Integer distributions: discrete uniform, Bernoulli and geometric, and the scalar logarithm
// the geometric one takes its constant from.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include "distributions/dist_test.h"
#include "korb/vm.h"

namespace korb::test {
namespace {

TEST(DiscreteUniform, FloorsTheDoubleUniformInBlocks) {
    Stream s = g_scripted.stream({0.0, 0.05, 0.999999, 0.55});
    std::vector<int> r(1025);
    ASSERT_EQ(_bixiRngUniform(BIX_RNG_METHOD_STD, s.get(), 1025, r.data(), -5, 5), BIX_ERROR_OK);
    EXPECT_EQ(g_scripted.calls, (std::vector<int>{1024, 1}));
    EXPECT_EQ(r[0], -5);  // -5.0
    EXPECT_EQ(r[1], -5);  // -4.5
    EXPECT_EQ(r[2], 4);   // 4.99999
    EXPECT_EQ(r[3], 0);   // 0.5
    for (int x : r) {
        EXPECT_GE(x, -5);
        EXPECT_LE(x, 4);
    }
}

TEST(DiscreteUniform, MillionDrawsPassChiSquare) {
    const long n = 1000000;
    Stream s = make_stream(BIX_BRNG_MCG31M1, 3);
    std::vector<int> r(n);
    ASSERT_EQ(_bixiRngUniform(0, s.get(), n, r.data(), -5, 5), BIX_ERROR_OK);
    std::vector<long> counts(10);
    for (int x : r) ++counts.at(static_cast<size_t>(x + 5));
    EXPECT_LT(chi_square(counts, std::vector<double>(10, 0.1), n), chi_square_bound(9));
}

TEST(Bernoulli, ComparesWithTheSingleProbability) {
    std::vector<int> r(6, 7);
    for (double p : {0.0, -0.5, -0.0}) {
        Stream s = g_scripted.stream({0.0, 0.25, 0.5});
        ASSERT_EQ(_bixiRngBernoulli(BIX_RNG_METHOD_STD, s.get(), 6, r.data(), p), BIX_ERROR_OK);
        EXPECT_EQ(r, std::vector<int>(6, 0)) << p;
    }
    // u < p strictly; p = 1 takes every float uniform.
    Stream s = g_scripted.stream({0.25, 0.2499999, 0.0});
    ASSERT_EQ(_bixiRngBernoulli(0, s.get(), 3, r.data(), 0.25), BIX_ERROR_OK);
    EXPECT_EQ(std::vector<int>(r.begin(), r.begin() + 3), (std::vector<int>{0, 1, 1}));
    s = make_stream(BIX_BRNG_MCG31M1, 1);
    ASSERT_EQ(_bixiRngBernoulli(0, s.get(), 6, r.data(), 1.0), BIX_ERROR_OK);
    EXPECT_EQ(r, std::vector<int>(6, 1));

    const long n = 1000000;
    std::vector<int> big(n);
    ASSERT_EQ(_bixiRngBernoulli(0, s.get(), n, big.data(), 0.3), BIX_ERROR_OK);
    long ones = 0;
    for (int x : big) ones += x;
    EXPECT_LT(chi_square({n - ones, ones}, {0.7, 0.3}, n), chi_square_bound(1));
}

TEST(Geometric, CountsFailuresBeforeTheFirstSuccess) {
    const long n = 1000000;
    const double p = 0.2;
    Stream s = make_stream(BIX_BRNG_MCG31M1, 11);
    std::vector<int> r(n);
    ASSERT_EQ(_bixiRngGeometric(BIX_RNG_METHOD_STD, s.get(), n, r.data(), p), BIX_ERROR_OK);
    constexpr int kCells = 40;
    std::vector<long> counts(kCells);
    std::vector<double> probabilities(kCells);
    for (int x : r) {
        ASSERT_GE(x, 0);
        ++counts[std::min(x, kCells - 1)];
    }
    for (int k = 0; k < kCells; ++k) probabilities[k] = p * std::pow(1 - p, k);
    EXPECT_LT(chi_square(counts, probabilities, n), chi_square_bound(kCells - 1));
}

TEST(Geometric, UniformOfZeroAndCertainSuccessInAFreshThread) {
    const auto callback = [](ArqErrorContext *) { return 1; };
    std::thread([&] {
        korb_arq_kernel_SetErrorCallBack(callback);
        const unsigned mode = korb_arq_kernel_GetMode();
        Stream s = g_scripted.stream({0.0, 0.5});
        int r[2];
        ASSERT_EQ(_bixiRngGeometric(0, s.get(), 2, r, 0.5), BIX_ERROR_OK);
        // ln 0 counts as ln of the least subnormal float: -103.28 / ln(1/2) = 149.0.
        const float c = static_cast<float>(1.0 / std::log(0.5));
        EXPECT_EQ(r[0], static_cast<int>(std::floor(-103.2789306640625f * c)));
        EXPECT_EQ(r[1], 1);
        ASSERT_EQ(_bixiRngGeometric(0, s.get(), 2, r, 1.0), BIX_ERROR_OK);
        EXPECT_EQ(r[0], 0);
        EXPECT_EQ(r[1], 0);
        EXPECT_EQ(korb_arq_kernel_GetMode(), mode);
        EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), +callback);
    }).join();
}

TEST(Discrete, GeneratorFailureComesBackAtOnce) {
    Stream s = g_scripted.stream();
    g_scripted.status = BIX_ERROR_NONDETERM_NOT_SUPPORTED;
    int r[3] = {7, 7, 7};
    EXPECT_EQ(_bixiRngUniform(0, s.get(), 3, r, 0, 4), BIX_ERROR_NONDETERM_NOT_SUPPORTED);
    EXPECT_EQ(_bixiRngBernoulli(0, s.get(), 3, r, 0.5), BIX_ERROR_NONDETERM_NOT_SUPPORTED);
    EXPECT_EQ(_bixiRngGeometric(0, s.get(), 3, r, 0.5), BIX_ERROR_NONDETERM_NOT_SUPPORTED);
    EXPECT_EQ(r[0], 7);
    EXPECT_EQ(g_scripted.calls.size(), 3u);
}

TEST(ScalarLn, IsTheKernelValueWithoutAReport) {
    const double inf = std::numeric_limits<double>::infinity();
    const double x[] = {0.8, 1e-310, 0.0, -1.0, inf, 1.0, 123456.789};
    double kernel[std::size(x)];
    _arqdLn(static_cast<int>(std::size(x)), x, kernel);
    korb_arq_kernel_SetErrStatus(ARQ_STATUS_OK);
    for (size_t i = 0; i < std::size(x); ++i) {
        const double v = __bixdLn(x[i]);
        EXPECT_TRUE(v == kernel[i] || (std::isnan(v) && std::isnan(kernel[i]))) << x[i];
    }
    EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_OK);
}

}  // namespace
}  // namespace korb::test
