// Continuous uniform and Gaussian kernels: the uniforms they draw, the special values of the
// vector-math functions they borrow, the pending pair of method 1 and the thread's vector-math
// settings. Their distributions and the generic properties are in contract_test.cpp.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "distributions/dist_test.h"
#include "korb/kernel/vm.h"

namespace korb::test {
namespace {

template <class T>
int uniform(int method, BixStream *s, int n, T *r, T a, T b) {
    if constexpr (sizeof(T) == 8) {
        return _bixdRngUniform(method, s, n, r, a, b);
    } else {
        return _bixsRngUniform(method, s, n, r, a, b);
    }
}
template <class T>
int gaussian(int method, BixStream *s, int n, T *r, T a, T sigma) {
    if constexpr (sizeof(T) == 8) {
        return _bixdRngGaussian(method, s, n, r, a, sigma);
    } else {
        return _bixsRngGaussian(method, s, n, r, a, sigma);
    }
}

// What ln(0) and erfinv(-1), erfinv(+1) become in each precision.
template <class T>
struct Special {
    static constexpr T kLnOfZero = sizeof(T) == 8 ? -744.4400719213812 : -103.2789306640625;
    static constexpr T kAtMinusOne = sizeof(T) == 8 ? -0.7670519064056041 : -1.0837465524673462;
    static constexpr T kAtOne = sizeof(T) == 8 ? 5.8635847487551676 : 3.8325068950653076;
    static constexpr T kSqrt2 = static_cast<T>(1.4142135623730951);
};

constexpr int kMethods[] = {BIX_RNG_METHOD_GAUSSIAN_BOXMULLER, BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2,
                            BIX_RNG_METHOD_GAUSSIAN_ICDF};

template <class T>
class Dist : public ::testing::Test {};
using Precisions = ::testing::Types<double, float>;
TYPED_TEST_SUITE(Dist, Precisions);

TYPED_TEST(Dist, AccurateUniformClampsIntoTheIntervalAndKeepsNaN) {
    using T = TypeParam;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (int method : {BIX_RNG_METHOD_UNIFORM_STD, BIX_RNG_METHOD_UNIFORM_STD_ACCURATE}) {
        Stream s = g_scripted.stream({-0.5, 0.25, 1.5, nan});
        std::vector<T> r(4);
        ASSERT_EQ(uniform<T>(method, s.get(), 4, r.data(), T(2), T(6)), BIX_ERROR_OK);
        const bool clamped = method != BIX_RNG_METHOD_UNIFORM_STD;
        EXPECT_EQ(r[0], clamped ? T(2) : T(0));
        EXPECT_EQ(r[1], T(3));
        EXPECT_EQ(r[2], clamped ? T(6) : T(8));
        EXPECT_TRUE(std::isnan(r[3]));
    }
}

TYPED_TEST(Dist, GaussianDrawsItsUniformsInBlocks) {
    using T = TypeParam;
    std::vector<T> r(2051);
    Stream s = g_scripted.stream();
    EXPECT_EQ(gaussian<T>(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER, s.get(), 0, r.data(), T(0), T(1)),
              BIX_ERROR_OK);
    EXPECT_TRUE(g_scripted.calls.empty());
    EXPECT_EQ(gaussian<T>(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER, s.get(), 1025, r.data(), T(0), T(1)),
              BIX_ERROR_OK);
    EXPECT_EQ(g_scripted.calls, (std::vector<int>{2048, 2}));

    // Both variates of each pair: full blocks of 512 pairs, the remaining pair, then one pair
    // for the odd variate, whose second variate the next call delivers without drawing.
    s = g_scripted.stream();
    ASSERT_EQ(gaussian<T>(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, s.get(), 2051, r.data(), T(0), T(1)),
              BIX_ERROR_OK);
    EXPECT_EQ(g_scripted.calls, (std::vector<int>{1024, 1024, 2, 2}));
    ASSERT_EQ(gaussian<T>(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, s.get(), 1, r.data(), T(0), T(1)),
              BIX_ERROR_OK);
    EXPECT_EQ(g_scripted.calls.size(), 4u);

    s = g_scripted.stream();
    ASSERT_EQ(gaussian<T>(BIX_RNG_METHOD_GAUSSIAN_ICDF, s.get(), 5, r.data(), T(0), T(1)),
              BIX_ERROR_OK);
    EXPECT_EQ(g_scripted.calls, (std::vector<int>{5}));
}

TYPED_TEST(Dist, SpecialValuesOfTheElementaryFunctionsGiveFiniteVariates) {
    using T = TypeParam;
    using S = Special<T>;
    // u1 = 0 gives the radius sqrt(-2 ln) of the least subnormal; u2 = 1/4 a sine of 1.
    const T radius = std::sqrt(T(0) - (S::kLnOfZero + S::kLnOfZero));
    for (int method : {BIX_RNG_METHOD_GAUSSIAN_BOXMULLER, BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2}) {
        Stream s = g_scripted.stream({0.0, 0.25});
        T r = 0;
        ASSERT_EQ(gaussian<T>(method, s.get(), 1, &r, T(0), T(1)), BIX_ERROR_OK);
        EXPECT_EQ(r, radius) << "method " << method;
    }
    // erfinv at -1 and +1 (u = 1 only a scripted generator gives).
    Stream s = g_scripted.stream({0.0, 1.0});
    T r[2];
    const T a = T(0.5), sigma = T(3);
    ASSERT_EQ(gaussian<T>(BIX_RNG_METHOD_GAUSSIAN_ICDF, s.get(), 2, r, a, sigma), BIX_ERROR_OK);
    EXPECT_EQ(r[0], S::kAtMinusOne * (S::kSqrt2 * sigma) + a);
    EXPECT_EQ(r[1], S::kAtOne * (S::kSqrt2 * sigma) + a);
}

// Draws the pieces of `split` one after another with method 1.
template <class T>
std::vector<T> pairs_in_pieces(BixStream *s, std::initializer_list<int> split) {
    std::vector<T> out;
    for (int n : split) {
        std::vector<T> r(static_cast<size_t>(n));
        EXPECT_EQ(gaussian<T>(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, s, n, r.data(), T(0.5), T(2)),
                  BIX_ERROR_OK);
        out.insert(out.end(), r.begin(), r.end());
    }
    return out;
}

TYPED_TEST(Dist, BothVariatesMethodGivesTheSameNumbersHoweverSplit) {
    using T = TypeParam;
    const uint32_t key = sizeof(T) == 8 ? 2 : 1;
    for (auto [j, k] : {std::pair{3, 1}, {1, 1}, {1, 2}, {1024, 1}, {1023, 1025}, {511, 1538}}) {
        Stream whole = make_stream(BIX_BRNG_MCG31M1, 7);
        const std::vector<T> expected = pairs_in_pieces<T>(whole.get(), {j + k});
        const T *record = static_cast<const T *>(__bixSearchChunk(whole.get(), key));
        ASSERT_NE(record, nullptr);
        if ((j + k) % 2 == 0) {
            EXPECT_EQ(record[0], T(-1));
            EXPECT_EQ(record[1], T(-1));
        } else {
            EXPECT_GE(record[0], T(0));
        }

        Stream first = make_stream(BIX_BRNG_MCG31M1, 7);
        std::vector<T> got = pairs_in_pieces<T>(first.get(), {j});
        BixStream *raw = nullptr;
        ASSERT_EQ(__bixCopyStream(&raw, first.get()), BIX_ERROR_OK);
        Stream copy(raw);
        const std::vector<T> rest = pairs_in_pieces<T>(first.get(), {k});
        got.insert(got.end(), rest.begin(), rest.end());
        EXPECT_EQ(got, expected) << j << " then " << k;
        EXPECT_EQ(pairs_in_pieces<T>(copy.get(), {k}), rest) << "copy after " << j;
    }
}

TYPED_TEST(Dist, PendingRecordAllocationFailuresLeakNothing) {
    using T = TypeParam;
    // The thread's vector-math state first: failing to make it is fatal by design.
    korb_arq_kernel_GetMode();
    sweep_allocation_failures([] {
        BixStream *s = nullptr;
        const uint32_t seed = 1;
        int status = __bixNewStreamEx(&s, BIX_BRNG_MCG31M1, 1, &seed);
        T r[3];
        if (status == BIX_ERROR_OK) {
            status = gaussian<T>(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, s, 3, r, T(0), T(1));
        }
        __bixDeleteStream(&s);
        return status;
    });
}

// Outputs of every method and precision on a stream whose first uniforms are special.
template <class T>
std::vector<T> special_draws() {
    std::vector<T> out;
    for (int method : kMethods) {
        Stream s = g_scripted.stream({0.0, 0.25, 1e-310, 0.5, 0.0, 1.0});
        std::vector<T> r(7);
        EXPECT_EQ(gaussian<T>(method, s.get(), 7, r.data(), T(0), T(1)), BIX_ERROR_OK);
        out.insert(out.end(), r.begin(), r.end());
    }
    return out;
}

TYPED_TEST(Dist, ThreadVectorMathSettingsAreLeftAsTheyWere) {
    using T = TypeParam;
    const auto callback = [](ArqErrorContext *) { return 1; };
    const std::vector<T> reference = special_draws<T>();
    // A fresh thread's mode has no denormal group, which the kernels set and must clear again;
    // flushing denormals must not change a variate.
    for (unsigned mode : {0u, unsigned{ARQ_LA | ARQ_ERRMODE_ERRNO | ARQ_DENORMALS_FLUSH}}) {
        std::thread([&] {
            if (mode != 0) korb_arq_kernel_SetMode(mode);
            korb_arq_kernel_SetErrorCallBack(callback);
            const unsigned before = korb_arq_kernel_GetMode();
            std::vector<T> r(2);
            Stream s = make_stream(BIX_BRNG_MCG31M1, 1);
            EXPECT_EQ(
                uniform<T>(BIX_RNG_METHOD_UNIFORM_STD_ACCURATE, s.get(), 2, r.data(), T(0), T(1)),
                BIX_ERROR_OK);
            const std::vector<T> got = special_draws<T>();
            EXPECT_EQ(std::memcmp(got.data(), reference.data(), got.size() * sizeof(T)), 0);
            EXPECT_EQ(korb_arq_kernel_GetMode(), before);
            EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), +callback);
        }).join();
    }
}

// Checks the variates against the formulas evaluated in double by the C library from the same
// uniforms: which uniform feeds the radius and which the angle, sine before cosine, the scaling.
TYPED_TEST(Dist, VariatesFollowTheirFormulas) {
    using T = TypeParam;
    constexpr int n = 3000;
    const double tol = sizeof(T) == 8 ? 1e-13 : 2e-6;
    const double a = 1.5, sigma = 0.75, two_pi = 6.283185307179586;
    for (int method : kMethods) {
        Stream s = make_stream(BIX_BRNG_MCG31M1, 99);
        BixStream *raw = nullptr;
        ASSERT_EQ(__bixCopyStream(&raw, s.get()), BIX_ERROR_OK);
        Stream twin(raw);
        std::vector<T> r(n), u(2 * n);
        ASSERT_EQ(gaussian<T>(method, s.get(), n, r.data(), T(a), T(sigma)), BIX_ERROR_OK);
        const bool icdf = method == BIX_RNG_METHOD_GAUSSIAN_ICDF;
        ASSERT_EQ(uniform<T>(0, twin.get(), icdf ? n : 2 * n, u.data(), T(icdf ? -1 : 0), T(1)),
                  BIX_ERROR_OK);
        for (int i = 0; i < n; ++i) {
            const double z = (static_cast<double>(r[i]) - a) / sigma;
            if (icdf) {
                // The normal distribution function at z gives back the uniform on [0, 1).
                const double p = 0.5 * std::erfc(-z / std::sqrt(2.0));
                ASSERT_NEAR(p, (static_cast<double>(u[i]) + 1) / 2, tol) << i;
                continue;
            }
            const int pair = method == BIX_RNG_METHOD_GAUSSIAN_BOXMULLER ? i : i / 2;
            const double u1 = u[2 * pair], angle = two_pi * u[2 * pair + 1];
            const double trig = method == BIX_RNG_METHOD_GAUSSIAN_BOXMULLER || i % 2 == 0
                                    ? std::sin(angle)
                                    : std::cos(angle);
            const double model = std::sqrt(-2 * std::log(u1)) * trig;
            ASSERT_NEAR(z, model, tol * (4 + std::fabs(model))) << "method " << method << " " << i;
        }
    }
}

}  // namespace
}  // namespace korb::test
