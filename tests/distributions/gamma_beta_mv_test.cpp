// What is particular to the gamma, beta and multivariate Gaussian kernels: the multivariate
// Gaussian's vectors bit for bit against a + T z formed here from the Gaussian kernel's own
// normals (every storage, method, precision and the dimensions of every path), its splits of n
// and what it refuses; the rejection kernels' determinism, their clamps, the shape-1 gamma
// through the exponential kernel, and the way out of a stream that accepts nothing. Their
// distributions are in fit_test.cpp and contract_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "distributions/dist_test.h"

namespace korb::test {
namespace {

template <class T>
class Kernels : public ::testing::Test {};
using Precisions = ::testing::Types<double, float>;
TYPED_TEST_SUITE(Kernels, Precisions);

// --- Multivariate Gaussian ---------------------------------------------------------------------

template <class T>
int gaussian_mv(int method, BixStream *s, int n, T *r, int d, int storage, const T *a, const T *t) {
    if constexpr (sizeof(T) == 8) {
        return _bixdRngGaussianMV(method, s, n, r, d, storage, a, t);
    } else {
        return _bixsRngGaussianMV(method, s, n, r, d, storage, a, t);
    }
}

template <class T>
int gaussian(int method, BixStream *s, int n, T *r) {
    if constexpr (sizeof(T) == 8) {
        return _bixdRngGaussian(method, s, n, r, 0, 1);
    } else {
        return _bixsRngGaussian(method, s, n, r, 0, 1);
    }
}

// A lower-triangular d x d factor with elements of varied size and sign, row-major.
template <class T>
std::vector<T> factor(int d) {
    std::vector<T> t(static_cast<size_t>(d) * d, T(0));
    for (int i = 0; i < d; ++i) {
        for (int j = 0; j <= i; ++j) {
            t[i * d + j] = static_cast<T>(std::sin(1.0 + i * 7.0 + j * 3.0) * (i == j ? 2 : 0.5));
        }
    }
    return t;
}

template <class T>
std::vector<T> packed(const std::vector<T> &full, int d) {
    std::vector<T> p;
    for (int i = 0; i < d; ++i) {
        for (int j = 0; j <= i; ++j) p.push_back(full[i * d + j]);
    }
    return p;
}

// n vectors a + T z from the normals z of a twin stream, each element summed in the kernel's
// order: a_i, then T_i0 z_0, T_i1 z_1, ... .
template <class T>
std::vector<T> expected_vectors(int method, BixStream *twin, int n, int d, const std::vector<T> &a,
                                const std::vector<T> &full) {
    std::vector<T> z(static_cast<size_t>(n) * d);
    EXPECT_EQ(gaussian<T>(method, twin, n * d, z.data()), BIX_ERROR_OK);
    std::vector<T> x(z.size());
    for (int v = 0; v < n; ++v) {
        for (int i = 0; i < d; ++i) {
            T acc = a[i];
            for (int j = 0; j <= i; ++j) acc = acc + full[i * d + j] * z[v * d + j];
            x[v * d + i] = acc;
        }
    }
    return x;
}

TYPED_TEST(Kernels, MultivariateVectorsAreTheMeanPlusTheFactorTimesTheKernelsNormals) {
    using T = TypeParam;
    // Dimensions around the lane groups and row groups; 1500 fills the transposed scratch with
    // fewer vectors than some lane counts hold (two a block), 2500 with one.
    for (int d : {1, 2, 3, 4, 5, 9, 17, 100, 1500, 2500}) {
        const int n = d > 1000 ? 3 : 37;
        std::vector<T> a(d);
        for (int i = 0; i < d; ++i) a[i] = static_cast<T>(i - 2.5);
        std::vector<T> full = factor<T>(d);
        const std::vector<T> pack = packed(full, d);
        // Above the diagonal of the full storage: never read.
        std::vector<T> garbage = full;
        for (int i = 0; i < d; ++i) {
            for (int j = i + 1; j < d; ++j)
                garbage[i * d + j] = std::numeric_limits<T>::quiet_NaN();
        }
        for (int method = 0; method < 3; ++method) {
            SCOPED_TRACE("d " + std::to_string(d) + " method " + std::to_string(method));
            Stream twin = make_stream(BIX_BRNG_MCG31M1, 99);
            const std::vector<T> want = expected_vectors<T>(method, twin.get(), n, d, a, full);
            for (auto [storage, t] :
                 {std::pair<int, const std::vector<T> *>{0, &garbage}, {1, &pack}}) {
                Stream s = make_stream(BIX_BRNG_MCG31M1, 99);
                std::vector<T> r(want.size());
                ASSERT_EQ(
                    gaussian_mv<T>(method, s.get(), n, r.data(), d, storage, a.data(), t->data()),
                    BIX_ERROR_OK);
                for (size_t k = 0; k < r.size(); ++k) {
                    ASSERT_EQ(r[k], want[k]) << "storage " << storage << " element " << k;
                }
            }
        }
    }
}

TYPED_TEST(Kernels, MultivariateDiagonalStorageEqualsTheFullDiagonalMatrix) {
    using T = TypeParam;
    const int d = 6, n = 50;
    const std::vector<T> a = {1, -2, 3, 0, 0.5, 7};
    const std::vector<T> diagonal = {2, 0.25, 1, 0, -3, 1e-3};
    std::vector<T> full(d * d, T(0));
    for (int i = 0; i < d; ++i) full[i * d + i] = diagonal[i];
    for (int method = 0; method < 3; ++method) {
        Stream s1 = make_stream(BIX_BRNG_MT19937, 5), s2 = make_stream(BIX_BRNG_MT19937, 5);
        std::vector<T> r1(n * d), r2(n * d);
        ASSERT_EQ(gaussian_mv<T>(method, s1.get(), n, r1.data(), d, 2, a.data(), diagonal.data()),
                  BIX_ERROR_OK);
        ASSERT_EQ(gaussian_mv<T>(method, s2.get(), n, r2.data(), d, 0, a.data(), full.data()),
                  BIX_ERROR_OK);
        EXPECT_EQ(r1, r2) << "method " << method;
        for (int v = 0; v < n; ++v) EXPECT_EQ(r1[v * d + 3], T(0));  // zero spread: the mean
    }
}

TYPED_TEST(Kernels, MultivariateVectorsInTwoCallsAreThoseOfOne) {
    using T = TypeParam;
    const int d = 3, n = 1001;  // an odd count of normals: the both-variates pending pair
    const std::vector<T> a = {0, 1, 2};
    const std::vector<T> t = factor<T>(d);
    for (int method = 0; method < 3; ++method) {
        Stream once = make_stream(BIX_BRNG_MCG31M1, 3), split = make_stream(BIX_BRNG_MCG31M1, 3);
        std::vector<T> r1(n * d), r2(n * d);
        ASSERT_EQ(gaussian_mv<T>(method, once.get(), n, r1.data(), d, 0, a.data(), t.data()),
                  BIX_ERROR_OK);
        ASSERT_EQ(gaussian_mv<T>(method, split.get(), 333, r2.data(), d, 0, a.data(), t.data()),
                  BIX_ERROR_OK);
        ASSERT_EQ(gaussian_mv<T>(method, split.get(), n - 333, r2.data() + 333 * d, d, 0, a.data(),
                                 t.data()),
                  BIX_ERROR_OK);
        EXPECT_EQ(r1, r2) << "method " << method;
    }
}

TYPED_TEST(Kernels, MultivariateRefusesWhatItCannotReadWithNothingDrawn) {
    using T = TypeParam;
    const T a[2] = {0, 0}, t[4] = {1, 0, 0, 1};
    T r[4] = {7, 7, 7, 7};
    Stream s = g_scripted.stream();
    EXPECT_EQ(gaussian_mv<T>(3, s.get(), 2, r, 2, 0, a, t), BIX_ERROR_BADMETHOD);
    EXPECT_EQ(gaussian_mv<T>(-1, s.get(), 2, r, 2, 0, a, t), BIX_ERROR_BADMETHOD);
    EXPECT_EQ(gaussian_mv<T>(0, s.get(), 2, r, 0, 0, a, t), BIX_ERROR_BADARGS);
    EXPECT_EQ(gaussian_mv<T>(0, s.get(), 2, r, 2, 3, a, t), BIX_ERROR_BADARGS);
    EXPECT_EQ(gaussian_mv<T>(0, s.get(), 2, r, 2, -1, a, t), BIX_ERROR_BADARGS);
    EXPECT_EQ(gaussian_mv<T>(0, s.get(), 0, r, 2, 0, a, t), BIX_ERROR_OK);
    EXPECT_TRUE(g_scripted.calls.empty());
    EXPECT_EQ(r[0], T(7));
}

// --- Gamma and beta ----------------------------------------------------------------------------

TYPED_TEST(Kernels, RejectionKernelsAreAFunctionOfTheStateAndTheCount) {
    using T = TypeParam;
    const double gamma_cases[][3] = {{0.25, 0, 1}, {3.5, 1, 2}, {1e5, 0, 1}};
    const double beta_cases[][4] = {{0.5, 0.5, 0, 1}, {2, 3, 0, 1}, {0.2, 4, 0, 1}, {1, 3, 0, 1}};
    const auto same_twice = [](const char *id, const double *p) {
        Stream s1 = make_stream(BIX_BRNG_MRG32K3A, 11), s2 = make_stream(BIX_BRNG_MRG32K3A, 11);
        std::vector<T> r1(3000), r2(3000);
        ASSERT_EQ(draw<T>(id, 0, s1.get(), 3000, r1.data(), p), BIX_ERROR_OK);
        ASSERT_EQ(draw<T>(id, 0, s2.get(), 3000, r2.data(), p), BIX_ERROR_OK);
        EXPECT_EQ(r1, r2) << id << " " << p[0];
        // And the streams were left in the same state.
        ASSERT_EQ(draw<T>(id, 0, s1.get(), 10, r1.data(), p), BIX_ERROR_OK);
        ASSERT_EQ(draw<T>(id, 0, s2.get(), 10, r2.data(), p), BIX_ERROR_OK);
        EXPECT_EQ(r1, r2) << id << " " << p[0];
    };
    for (const auto &p : gamma_cases) same_twice("Gamma", p);
    for (const auto &p : beta_cases) same_twice("Beta", p);
}

TYPED_TEST(Kernels, GammaOfShapeOneIsTheExponentialKernel) {
    using T = TypeParam;
    const double gamma_p[3] = {1, -0.5, 3}, exponential_p[2] = {-0.5, 3};
    Stream s1 = make_stream(BIX_BRNG_MCG31M1, 8), s2 = make_stream(BIX_BRNG_MCG31M1, 8);
    std::vector<T> r1(500), r2(500);
    ASSERT_EQ(draw<T>("Gamma", 0, s1.get(), 500, r1.data(), gamma_p), BIX_ERROR_OK);
    ASSERT_EQ(draw<T>("Exponential", 0, s2.get(), 500, r2.data(), exponential_p), BIX_ERROR_OK);
    EXPECT_EQ(r1, r2);
}

TYPED_TEST(Kernels, AccurateMethodClampsIntoTheSupport) {
    using T = TypeParam;
    const int flag = BIX_RNG_METHOD_ACCURACY_FLAG;
    std::vector<T> r(2000);
    // A negative scale puts every gamma variate below a: the accurate method lifts them to a,
    // the plain method leaves them.
    for (double alpha : {0.3, 2.0}) {
        const double p[3] = {alpha, 5, -1};
        Stream s = make_stream(BIX_BRNG_MCG31M1, 4);
        ASSERT_EQ(draw<T>("Gamma", flag, s.get(), 2000, r.data(), p), BIX_ERROR_OK);
        for (T x : r) ASSERT_EQ(x, T(5));
        s = make_stream(BIX_BRNG_MCG31M1, 4);
        ASSERT_EQ(draw<T>("Gamma", 0, s.get(), 2000, r.data(), p), BIX_ERROR_OK);
        // (a small variate may round back to a itself)
        EXPECT_GT(std::count_if(r.begin(), r.end(), [](T x) { return x < T(5); }), 1500);
    }
    // Beta variates stay in [a, a + beta] for shapes that pile them on either end.
    const double beta_cases[][4] = {
        {1e-3, 1e-3, 1, 3}, {1e4, 1e-3, -2, 1e-3}, {1e-3, 1e4, 1e10, 1}, {0.5, 1, 0.1, 0.7}};
    for (const auto &p : beta_cases) {
        Stream s = make_stream(BIX_BRNG_MCG31M1, 4);
        ASSERT_EQ(draw<T>("Beta", flag, s.get(), 2000, r.data(), p), BIX_ERROR_OK);
        const T low = static_cast<T>(p[2]), high = low + static_cast<T>(p[3]);
        for (T x : r) {
            ASSERT_GE(x, low);
            ASSERT_LE(x, high);
        }
    }
}

TYPED_TEST(Kernels, AStreamThatAcceptsNothingEndsTheCall) {
    using T = TypeParam;
    // Johnk's method refuses every pair of uniforms near 1 (x + y > 1).
    const double p[4] = {0.5, 0.5, 0, 1};
    Stream s = g_scripted.stream(std::vector<double>(100000, 0.99));
    std::vector<T> r(10, T(7));
    EXPECT_EQ(draw<T>("Beta", 0, s.get(), 10, r.data(), p), BIX_ERROR_BADARGS);
    EXPECT_EQ(g_scripted.calls.size(), 64u);
    EXPECT_EQ(r[0], T(7));
}

}  // namespace
}  // namespace korb::test
