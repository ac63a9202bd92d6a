// The chains of the inversion kernels built on the uniform, Gaussian and exponential ones: the
// logarithm of a zero uniform, Laplace's pairs of uniforms, the Cauchy tangent at -pi/2, the
// lognormal's share of the Gaussian pending pair, and the Gumbel kernel's two logarithms. Their
// distributions and the generic properties are in contract_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "distributions/dist_test.h"
#include "korb/kernel/vm.h"

namespace korb::test {
namespace {

template <class T>
class Chains : public ::testing::Test {};
using Precisions = ::testing::Types<double, float>;
TYPED_TEST_SUITE(Chains, Precisions);

template <class T>
T ln_of_zero() {
    return sizeof(T) == 8 ? T(-744.4400719213812) : T(-103.2789306640625);
}

// Four units in the last place of precision T at x (at least at 1): the error of a chain of a few
// elementary functions and roundings, measured against the C library's functions in double.
template <class T>
double few_ulps(double x) {
    return 4 * std::numeric_limits<T>::epsilon() * std::max(1.0, std::fabs(x));
}

TYPED_TEST(Chains, UniformOfZeroCountsAsTheLogarithmOfTheLeastSubnormal) {
    using T = TypeParam;
    const double p[2] = {1.5, 2};
    Stream s = g_scripted.stream({0.0});
    T r = 0;
    ASSERT_EQ(draw<T>("Exponential", 0, s.get(), 1, &r, p), BIX_ERROR_OK);
    EXPECT_EQ(r, (T(0) - ln_of_zero<T>()) * T(2) + T(1.5));
}

TYPED_TEST(Chains, LaplaceTakesInterleavedPairsAndHalfSelectsThePositiveSide) {
    using T = TypeParam;
    const double p[2] = {1, 2};
    std::vector<T> r(1025);
    Stream s = g_scripted.stream({0.25, 0.5, 0.25, 0.75});
    ASSERT_EQ(draw<T>("Laplace", 0, s.get(), 1025, r.data(), p), BIX_ERROR_OK);
    EXPECT_EQ(g_scripted.calls, (std::vector<int>{2048, 2}));
    const T ln_quarter = T(-1.3862943611198906);
    EXPECT_NEAR(r[0], T(1) - T(2) * ln_quarter, 1e-6);
    EXPECT_NEAR(r[1], T(1) + T(2) * ln_quarter, 1e-6);
}

TYPED_TEST(Chains, CauchyAtMinusHalfPiIsLargeAndFinite) {
    using T = TypeParam;
    const double p[2] = {0, 1};
    Stream s = g_scripted.stream({0.0});
    T r = 0;
    ASSERT_EQ(draw<T>("Cauchy", 0, s.get(), 1, &r, p), BIX_ERROR_OK);
    EXPECT_TRUE(std::isfinite(r));
    // The double nearest -pi/2 lies above it (tangent about -1.6e16); the float below (2.3e7).
    EXPECT_GT(std::fabs(r), sizeof(T) == 8 ? 1e16 : 2e7);
    if (sizeof(T) == 8) {
        EXPECT_LT(r, 0);
    }
}

// The lognormal variates are e^g beta + b of the Gaussian variates g that the same stream gives
// by the both-variates method, the pending one first.
TYPED_TEST(Chains, LognormalContinuesThePendingGaussianPair) {
    using T = TypeParam;
    const double p[4] = {0.25, 0.5, 1, 2};
    Stream s = make_stream(BIX_BRNG_MCG31M1, 5), twin = make_stream(BIX_BRNG_MCG31M1, 5);
    T first[3], g[5], r[2];
    ASSERT_EQ(draw<T>("Gaussian", BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, s.get(), 3, first, p),
              BIX_ERROR_OK);
    ASSERT_EQ(draw<T>("Lognormal", 0, s.get(), 2, r, p), BIX_ERROR_OK);
    ASSERT_EQ(draw<T>("Gaussian", BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, twin.get(), 5, g, p),
              BIX_ERROR_OK);
    for (int i = 0; i < 2; ++i) {
        const double expected = std::exp(static_cast<double>(g[3 + i])) * 2 + 1;
        EXPECT_NEAR(r[i], expected, few_ulps<T>(expected)) << i;
    }
}

// ln(-ln u), with ln 0 taken as the logarithm of the least subnormal.
TYPED_TEST(Chains, StandardGumbelIsTheLogarithmOfMinusLnU) {
    using T = TypeParam;
    const double p[2] = {0, 1};
    const std::vector<double> u = {0.0, 0.3, 0.9};
    Stream s = g_scripted.stream(u);
    T r[3];
    ASSERT_EQ(draw<T>("Gumbel", 0, s.get(), 3, r, p), BIX_ERROR_OK);
    for (int i = 0; i < 3; ++i) {
        const double minus_ln = i == 0 ? -static_cast<double>(ln_of_zero<T>())
                                       : -std::log(static_cast<double>(static_cast<T>(u[i])));
        const double expected = std::log(minus_ln);
        EXPECT_NEAR(r[i], expected, few_ulps<T>(expected)) << i;
    }
}

}  // namespace
}  // namespace korb::test
