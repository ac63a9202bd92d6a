// The inversion kernels built on the uniform and Gaussian ones: exponential, Laplace, Weibull,
// Cauchy, Rayleigh, lognormal and Gumbel, from one table of kernels, parameters and
// distribution functions.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "distributions/dist_test.h"
#include "korb/vm.h"

namespace korb::test {
namespace {

struct Kernel {
    const char *name;
    int (*d)(int, BixStream *, int, double *, const double *);
    int (*s)(int, BixStream *, int, float *, const double *);
    double p[4];                               // parameters in argument order
    double (*cdf)(double x, const double *p);  // distribution function
    int low = -1;                              // index of the lower bound among p, or -1
};

void PrintTo(const Kernel &k, std::ostream *os) {
    *os << k.name;
}

double normal_cdf(double z) {
    return 0.5 * std::erfc(-z / std::numbers::sqrt2);
}

#define KORB_KERNEL2(F)                                                                         \
    [](int m, BixStream *s, int n, double *r, const double *p) {                                \
        return _bixdRng##F(m, s, n, r, p[0], p[1]);                                             \
    },                                                                                          \
        [](int m, BixStream *s, int n, float *r, const double *p) {                             \
            return _bixsRng##F(m, s, n, r, static_cast<float>(p[0]), static_cast<float>(p[1])); \
        }

const Kernel kKernels[] = {
    {"Exponential",
     KORB_KERNEL2(Exponential),
     {1.5, 2},
     [](double x, const double *p) { return x < p[0] ? 0 : -std::expm1(-(x - p[0]) / p[1]); },
     0},
    {"Laplace",
     KORB_KERNEL2(Laplace),
     {-1, 0.5},
     [](double x, const double *p) {
         const double z = (x - p[0]) / p[1];
         return z < 0 ? 0.5 * std::exp(z) : 1 - 0.5 * std::exp(-z);
     }},
    {"Weibull",
     [](int m, BixStream *s, int n, double *r, const double *p) {
         return _bixdRngWeibull(m, s, n, r, p[0], p[1], p[2]);
     },
     [](int m, BixStream *s, int n, float *r, const double *p) {
         return _bixsRngWeibull(m, s, n, r, static_cast<float>(p[0]), static_cast<float>(p[1]),
                                static_cast<float>(p[2]));
     },
     {1.7, 0.5, 3},
     [](double x, const double *p) {
         return x < p[1] ? 0 : -std::expm1(-std::pow((x - p[1]) / p[2], p[0]));
     },
     1},
    {"Cauchy",
     KORB_KERNEL2(Cauchy),
     {2, 0.25},
     [](double x, const double *p) {
         return 0.5 + std::atan((x - p[0]) / p[1]) / std::numbers::pi;
     }},
    {"Rayleigh",
     KORB_KERNEL2(Rayleigh),
     {-3, 2},
     [](double x, const double *p) {
         const double z = (x - p[0]) / p[1];
         return x < p[0] ? 0 : -std::expm1(-z * z);
     },
     0},
    {"Lognormal",
     [](int m, BixStream *s, int n, double *r, const double *p) {
         return _bixdRngLognormal(m, s, n, r, p[0], p[1], p[2], p[3]);
     },
     [](int m, BixStream *s, int n, float *r, const double *p) {
         return _bixsRngLognormal(m, s, n, r, static_cast<float>(p[0]), static_cast<float>(p[1]),
                                  static_cast<float>(p[2]), static_cast<float>(p[3]));
     },
     {0.25, 0.5, 1, 2},
     [](double x, const double *p) {
         return x <= p[2] ? 0 : normal_cdf((std::log((x - p[2]) / p[3]) - p[0]) / p[1]);
     },
     2},
    {"Gumbel",
     KORB_KERNEL2(Gumbel),
     {1, 2},
     [](double x, const double *p) { return -std::expm1(-std::exp((x - p[0]) / p[1])); }},
};

template <class T>
int draw(const Kernel &k, int method, BixStream *s, int n, T *r, const double *p) {
    if constexpr (sizeof(T) == 8) {
        return k.d(method, s, n, r, p);
    } else {
        return k.s(method, s, n, r, p);
    }
}

class Continuous : public ::testing::TestWithParam<std::tuple<Kernel, bool>> {};

std::string kernel_name(const ::testing::TestParamInfo<std::tuple<Kernel, bool>> &info) {
    return std::string(std::get<0>(info.param).name) + (std::get<1>(info.param) ? "_s" : "_d");
}

template <class T>
void expect_distribution(const Kernel &k) {
    const size_t n = 1000000;
    Stream s = make_stream(BIX_BRNG_MCG31M1, 20261121);
    std::vector<T> r(n);
    ASSERT_EQ(draw<T>(k, BIX_RNG_METHOD_ICDF, s.get(), static_cast<int>(n), r.data(), k.p),
              BIX_ERROR_OK);
    const double d = ks_distance(r, [&](double x) { return k.cdf(x, k.p); });
    EXPECT_LT(d, ks_bound(n));
}

TEST_P(Continuous, MillionVariatesPassKolmogorovSmirnov) {
    const auto &[k, single] = GetParam();
    single ? expect_distribution<float>(k) : expect_distribution<double>(k);
}

// Uniforms near both ends, and the selector values around 1/2 for Laplace.
const std::vector<double> kEdgeUniforms = {0.0, 0.5,         1 - 0x1p-53, 0x1p-1074,
                                           0.5, 1 - 0x1p-24, 0x1p-30,     0.25};

template <class T>
void expect_bounded_and_restored(const Kernel &k) {
    const auto callback = [](ArqErrorContext *) { return 1; };
    std::thread([&] {
        // A fresh thread: its mode word has no denormal group, which the kernels set.
        korb_arq_kernel_SetErrorCallBack(callback);
        const unsigned mode = korb_arq_kernel_GetMode();
        for (int method : {BIX_RNG_METHOD_ICDF, BIX_RNG_METHOD_ICDF_ACCURATE}) {
            Stream s = g_scripted.stream(kEdgeUniforms);
            std::vector<T> r(kEdgeUniforms.size());
            ASSERT_EQ(draw<T>(k, method, s.get(), static_cast<int>(r.size()), r.data(), k.p),
                      BIX_ERROR_OK);
            for (T x : r) {
                EXPECT_TRUE(std::isfinite(x)) << k.name;
                if (k.low >= 0) {
                    EXPECT_GE(x, static_cast<T>(k.p[k.low])) << k.name;
                }
            }
            EXPECT_EQ(korb_arq_kernel_GetMode(), mode) << k.name;
            EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), +callback) << k.name;
        }
        if (k.low < 0) return;
        // The clamp is there whatever the id: a negative scale folds everything onto the bound.
        double p[4];
        std::copy(std::begin(k.p), std::end(k.p), p);
        p[k.low + 1] = -1;
        Stream s = g_scripted.stream();
        std::vector<T> r(5);
        ASSERT_EQ(draw<T>(k, BIX_RNG_METHOD_ICDF, s.get(), 5, r.data(), p), BIX_ERROR_OK);
        for (T x : r) EXPECT_EQ(x, static_cast<T>(p[k.low])) << k.name;
    }).join();
}

TEST_P(Continuous, EdgeUniformsGiveFiniteVariatesAboveTheBoundAndLeaveTheModeAlone) {
    const auto &[k, single] = GetParam();
    single ? expect_bounded_and_restored<float>(k) : expect_bounded_and_restored<double>(k);
}

TEST_P(Continuous, GeneratorFailureComesBackAtOnce) {
    const auto &[k, single] = GetParam();
    Stream s = g_scripted.stream();
    g_scripted.status = BIX_ERROR_NONDETERM_NOT_SUPPORTED;
    double rd[3] = {7, 7, 7};
    float rs[3] = {7, 7, 7};
    const int status =
        single ? draw<float>(k, 0, s.get(), 3, rs, k.p) : draw<double>(k, 0, s.get(), 3, rd, k.p);
    EXPECT_EQ(status, BIX_ERROR_NONDETERM_NOT_SUPPORTED);
    EXPECT_EQ(g_scripted.calls.size(), 1u);
    EXPECT_EQ(single ? rs[0] : rd[0], 7);
}

INSTANTIATE_TEST_SUITE_P(Kernels, Continuous,
                         ::testing::Combine(::testing::ValuesIn(kKernels), ::testing::Bool()),
                         kernel_name);

template <class T>
class Chains : public ::testing::Test {};
using Precisions = ::testing::Types<double, float>;
TYPED_TEST_SUITE(Chains, Precisions);

template <class T>
T ln_of_zero() {
    return sizeof(T) == 8 ? T(-744.4400719213812) : T(-103.2789306640625);
}

TYPED_TEST(Chains, UniformOfZeroCountsAsTheLogarithmOfTheLeastSubnormal) {
    using T = TypeParam;
    const double p[2] = {1.5, 2};
    Stream s = g_scripted.stream({0.0});
    T r = 0;
    ASSERT_EQ(draw<T>(kKernels[0], 0, s.get(), 1, &r, p), BIX_ERROR_OK);
    EXPECT_EQ(r, (T(0) - ln_of_zero<T>()) * T(2) + T(1.5));
}

TYPED_TEST(Chains, LaplaceTakesInterleavedPairsAndHalfSelectsThePositiveSide) {
    using T = TypeParam;
    const double p[2] = {1, 2};
    std::vector<T> r(1025);
    Stream s = g_scripted.stream({0.25, 0.5, 0.25, 0.75});
    ASSERT_EQ(draw<T>(kKernels[1], 0, s.get(), 1025, r.data(), p), BIX_ERROR_OK);
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
    ASSERT_EQ(draw<T>(kKernels[3], 0, s.get(), 1, &r, p), BIX_ERROR_OK);
    EXPECT_TRUE(std::isfinite(r));
    // The double nearest -pi/2 lies above it (tangent about -1.6e16); the float below (2.3e7).
    EXPECT_GT(std::fabs(r), sizeof(T) == 8 ? 1e16 : 2e7);
    if (sizeof(T) == 8) {
        EXPECT_LT(r, 0);
    }
}

// Both chains must reproduce the intermediate kernels' numbers exactly.
TYPED_TEST(Chains, LognormalContinuesThePendingGaussianPair) {
    using T = TypeParam;
    const auto gaussian = [](BixStream *s, int n, T *r) {
        if constexpr (sizeof(T) == 8) {
            return _bixdRngGaussian(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, s, n, r, 0.25, 0.5);
        } else {
            return _bixsRngGaussian(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, s, n, r, 0.25f, 0.5f);
        }
    };
    Stream s = make_stream(BIX_BRNG_MCG31M1, 5), twin = make_stream(BIX_BRNG_MCG31M1, 5);
    T first[3], g[5], r[2];
    ASSERT_EQ(gaussian(s.get(), 3, first), BIX_ERROR_OK);
    const double p[4] = {0.25, 0.5, 1, 2};
    ASSERT_EQ(draw<T>(kKernels[5], 0, s.get(), 2, r, p), BIX_ERROR_OK);
    ASSERT_EQ(gaussian(twin.get(), 5, g), BIX_ERROR_OK);
    if constexpr (sizeof(T) == 8) {
        _arqdExp(2, g + 3, g + 3);
    } else {
        _arqsExp(2, g + 3, g + 3);
    }
    EXPECT_EQ(r[0], g[3] * T(2) + T(1));
    EXPECT_EQ(r[1], g[4] * T(2) + T(1));
}

TYPED_TEST(Chains, StandardGumbelIsTheLogarithmOfMinusLnU) {
    using T = TypeParam;
    const double p[2] = {0, 1};
    const std::vector<double> u = {0.0, 0.3, 0.9};
    Stream s = g_scripted.stream(u);
    T r[3], e[3] = {T(u[0]), T(u[1]), T(u[2])};
    ASSERT_EQ(draw<T>(kKernels[6], 0, s.get(), 3, r, p), BIX_ERROR_OK);
    e[0] = T(0) - ln_of_zero<T>();
    if constexpr (sizeof(T) == 8) {
        _arqdLn(2, e + 1, e + 1);
        for (T &x : e) x = x < 0 ? -x : x;
        _arqdLn(3, e, e);
    } else {
        _arqsLn(2, e + 1, e + 1);
        for (T &x : e) x = x < 0 ? -x : x;
        _arqsLn(3, e, e);
    }
    for (int i = 0; i < 3; ++i) EXPECT_EQ(r[i], e[i]) << i;
}

}  // namespace
}  // namespace korb::test
