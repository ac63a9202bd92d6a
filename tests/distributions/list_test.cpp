// The distribution list against the C header, and the parameter domains it gives: what they
// admit and refuse for the listed kernels, and entries of the shapes still to come (relations
// between integer parameters, arrays whose length another parameter gives).
#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "distributions/list_kernels.h"

namespace korb::dist::list {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Parameter values of one entry and the position of the first that must be refused (-1: none).
struct Case {
    const char *id;
    std::vector<double> values;
    int refused;
};

void PrintTo(const Case &c, std::ostream *os) {
    *os << c.id << " {";
    for (double v : c.values) *os << ' ' << v;
    *os << " }";
}

class Domains : public ::testing::TestWithParam<Case> {};

TEST_P(Domains, AdmitExactlyTheKernelsParameters) {
    const Case &c = GetParam();
    const int i = index_of(c.id);
    ASSERT_GE(i, 0) << c.id;
    ASSERT_EQ(c.values.size(), static_cast<size_t>(kEntries[i].param_count));
    EXPECT_EQ(refused(kEntries[i], c.values.data()), c.refused);
}

const double kTiny = std::numeric_limits<double>::denorm_min();

INSTANTIATE_TEST_SUITE_P(
    Listed, Domains,
    ::testing::Values(
        // Scales and shapes are positive, however little; every real is finite.
        Case{"Gaussian", {-1e300, kTiny}, -1}, Case{"Gaussian", {0, 0}, 1},
        Case{"Gaussian", {0, -1}, 1}, Case{"Gaussian", {kNaN, 1}, 0},
        Case{"Gaussian", {0, kInf}, 1}, Case{"Gaussian", {-kInf, 1}, 0},
        Case{"Exponential", {0, -0.0}, 1}, Case{"Laplace", {1, kNaN}, 1},
        Case{"Weibull", {0, 0, 1}, 0}, Case{"Weibull", {2, 0, 0}, 2},
        Case{"Cauchy", {5, 1e-300}, -1}, Case{"Rayleigh", {0, -2}, 1},
        Case{"Lognormal", {0, 1, 0, 0}, 3}, Case{"Lognormal", {0, 0, 0, 1}, 1},
        Case{"Gumbel", {kInf, 1}, 0},
        // The bounds of a uniform are ordered, strictly.
        Case{"Uniform", {1, 1}, 1}, Case{"Uniform", {1, std::nextafter(1.0, 2.0)}, -1},
        Case{"Uniform", {2, 1}, 1}, Case{"Uniform", {kNaN, 1}, 0},
        // Integer bounds: whole, 32-bit, ordered.
        Case{"UniformInt", {-2147483648.0, 2147483647.0}, -1}, Case{"UniformInt", {0.5, 2}, 0},
        Case{"UniformInt", {0, 2147483648.0}, 1}, Case{"UniformInt", {-2147483649.0, 0}, 0},
        Case{"UniformInt", {3, 3}, 1},
        // Probabilities: Bernoulli takes both ends, the geometric needs a chance of success.
        Case{"Bernoulli", {0}, -1}, Case{"Bernoulli", {1}, -1}, Case{"Bernoulli", {-kTiny}, 0},
        Case{"Bernoulli", {std::nextafter(1.0, 2.0)}, 0}, Case{"Geometric", {0}, 0},
        Case{"Geometric", {kTiny}, -1}, Case{"Geometric", {1}, -1}, Case{"Geometric", {kNaN}, 0},
        Case{"UniformBits64", {}, -1},
        // Shapes and scales of gamma and beta: positive and finite; no shape is too small.
        Case{"Gamma", {kTiny, -1e300, 1e300}, -1}, Case{"Gamma", {0, 0, 1}, 0},
        Case{"Gamma", {1, 0, -kTiny}, 2}, Case{"Gamma", {kNaN, 0, 1}, 0},
        Case{"Gamma", {kInf, 0, 1}, 0}, Case{"Beta", {1e-3, 1e4, 0, 1}, -1},
        Case{"Beta", {1, 0, 0, 1}, 1}, Case{"Beta", {1, 1, kNaN, 1}, 2},
        Case{"Beta", {1, 1, 0, 0}, 3},
        // The multivariate Gaussian: a dimension of at least 1, a storage code 0, 1 or 2.
        Case{"GaussianMV", {1, 0, 0, 0}, -1}, Case{"GaussianMV", {0, 0, 0, 0}, 0},
        Case{"GaussianMV", {2147483647.0, 2, 0, 0}, -1}, Case{"GaussianMV", {1.5, 0, 0, 0}, 0},
        Case{"GaussianMV", {3, 3, 0, 0}, 1}, Case{"GaussianMV", {3, -1, 0, 0}, 1},
        Case{"GaussianMV", {3, 0.5, 0, 0}, 1}, Case{"GaussianMV", {3, kNaN, 0, 0}, 1}),
    [](const ::testing::TestParamInfo<Case> &info) {
        return std::string(info.param.id) + "_" + std::to_string(info.index);
    });

// Entries of the kinds later kernels have, written as a list line would write them.
constexpr Entry kHypergeometric =
    make_entry("Hypergeometric", "Hypergeometric", "hypergeometric", kInteger,
               {KORB_PARAM(l, Int, "[0, inf)", "--l", 10), KORB_PARAM(s, Int, "[0, l]", "--s", 5),
                KORB_PARAM(m, Int, "[0, l]", "--m", 5)},
               {KORB_METHOD(H2PE, 0, "h2pe")}, "draws of s from l items of which m are marked");
constexpr const Entry &kGaussianMV = kEntries[index_of("GaussianMV")];
static_assert(kGaussianMV.dimension == 0, "the dimension makes each variate a vector");
constexpr Entry kPoissonV = make_entry(
    "PoissonV", "PoissonV", "poisson-v", kInteger, {KORB_ARRAY(lambda, Real, "n", "(0, inf)")},
    {KORB_METHOD(POISSONV_POISNORM, 0, "poisnorm")}, "one mean per variate");
constexpr Entry kConstants =
    make_entry("Constants", "Constants", "constants", kDouble,
               {KORB_PARAM(x, Real, "[-2.5e-3, 1.25E+2)", "--x", 0),
                KORB_PARAM(y, Real, "( -7 ,x ]", "--y", -1)},
               {KORB_METHOD(STD, 0, "std")}, "bounds written in several ways");

// A kernel with arrays behind the uniform signature: the scalars converted from values, the
// arrays passed as they are.
int g_seen_int = 0;
const float *g_seen_array = nullptr;
float g_seen_real = 0;
int array_kernel(int, BixStream *, int, float *, int k, const float *x, float y) {
    g_seen_int = k;
    g_seen_array = x;
    g_seen_real = y;
    return 7;
}

TEST(UniformCaller, PassesScalarsByValueAndArraysByPointer) {
    const float array[2] = {1, 2};
    const double values[3] = {3, -1, 0.5};
    const void *arrays[3] = {nullptr, array, nullptr};
    const SingleKernel kernel = uniform_caller<kSingle, &array_kernel>();
    EXPECT_EQ(kernel(0, nullptr, 1, nullptr, Params(values, arrays)), 7);
    EXPECT_EQ(g_seen_int, 3);
    EXPECT_EQ(g_seen_array, array);
    EXPECT_EQ(g_seen_real, 0.5f);
}

TEST(DomainShapes, CheckOnlyTheElementsAKernelReads) {
    // A full 3 x 3 factor: the NaN above the diagonal is never read, the one below is.
    const double nan = kNaN;
    const double full[9] = {1, nan, nan, 2, 3, nan, 4, 5, 6};
    const double v_full[4] = {3, 0, 0, 0};
    const Param &t = kGaussianMV.params[3];
    EXPECT_EQ(refused_element(t, full, 9, v_full), -1);
    double below[9] = {1, 0, 0, 2, 3, 0, 4, nan, 6};
    EXPECT_EQ(refused_element(t, below, 9, v_full), 7);
    // Packed and diagonal storage read every element.
    const double v_packed[4] = {3, 1, 0, 0};
    const float packed[6] = {1, 2, 3, 4, 5, std::numeric_limits<float>::infinity()};
    EXPECT_EQ(refused_element(t, packed, 6, v_packed), 5);
    const double v_diagonal[4] = {3, 2, 0, 0};
    EXPECT_EQ(refused_element(t, full, 3, v_diagonal), 1);
}

TEST(DomainShapes, RelateIntegerParametersToEachOther) {
    const auto refused_of = [](std::vector<double> v) {
        return refused(kHypergeometric, v.data());
    };
    EXPECT_EQ(refused_of({10, 0, 10}), -1);
    EXPECT_EQ(refused_of({0, 0, 0}), -1);
    EXPECT_EQ(refused_of({10, 11, 5}), 1);  // s <= l
    EXPECT_EQ(refused_of({10, 5, -1}), 2);  // 0 <= m
    EXPECT_EQ(refused_of({-1, 0, 0}), 0);
    EXPECT_EQ(refused_of({10, 2.5, 5}), 1);
}

TEST(DomainShapes, GiveArrayLengthsAndCheckTheirElements) {
    // A 3-dimensional Gaussian: the mean has 3 elements, the factor 9, 6 or 3 by its storage.
    for (auto [storage, size] : {std::pair{0, 9}, {1, 6}, {2, 3}}) {
        const double v[4] = {3, static_cast<double>(storage), 0, 0};
        EXPECT_EQ(refused(kGaussianMV, v), -1);
        EXPECT_EQ(length(kGaussianMV.params[2], 100, v), 3);
        EXPECT_EQ(length(kGaussianMV.params[3], 100, v), size) << storage;
    }
    const double bad_storage[4] = {3, 3, 0, 0};
    EXPECT_EQ(refused(kGaussianMV, bad_storage), 1);
    EXPECT_EQ(length(kGaussianMV.params[3], 100, bad_storage), -1);

    const Param &lambda = kPoissonV.params[0];
    EXPECT_EQ(length(lambda, 1000, nullptr), 1000);
    EXPECT_TRUE(admits(lambda, 0.5, nullptr));
    EXPECT_FALSE(admits(lambda, 0, nullptr));
    EXPECT_FALSE(admits(lambda, kNaN, nullptr));
}

TEST(DomainShapes, ReadBoundsWithExponentsSpacesAndClosedEnds) {
    const Param &x = kConstants.params[0], &y = kConstants.params[1];
    const double v[2] = {1, 0};
    EXPECT_TRUE(admits(x, -0.0025, v));
    EXPECT_FALSE(admits(x, std::nextafter(-0.0025, -1.0), v));
    EXPECT_FALSE(admits(x, 125, v));
    EXPECT_TRUE(admits(x, std::nextafter(125.0, 0.0), v));
    EXPECT_TRUE(admits(y, 1, v));  // y <= x
    EXPECT_FALSE(admits(y, std::nextafter(1.0, 2.0), v));
    EXPECT_FALSE(admits(y, -7, v));
}

// Every kernel is declared in korb/kernel/rng.h with the type its list entry implies, and every
// method constant has the listed id.
consteval bool all(std::initializer_list<bool> checks) {
    for (bool c : checks) {
        if (!c) return false;
    }
    return true;
}
#define KORB_DIST_DECLARED_AS_LISTED(letter, P, Id, Kernel)                                \
    static_assert(                                                                         \
        std::is_same_v<decltype(&_bix##letter##Rng##Kernel), Signature<index_of(#Id), P>>, \
        "korb/kernel/rng.h declares _bix" #letter "Rng" #Kernel                            \
        " otherwise than distributions.def implies");
// (Last in this file: KORB_METHOD is redefined for it.)
#undef KORB_METHOD
#define KORB_METHOD(constant, id, name) (BIX_RNG_METHOD_##constant == (id))
#define KORB_DIST(Id, Kernel, name, precisions, params, methods, about, ...)             \
    KORB_DIST_EACH_##precisions(KORB_DIST_DECLARED_AS_LISTED, Id, Kernel) static_assert( \
        all({KORB_DIST_UNPACK methods}),                                                 \
        "a method constant of " #Id " in korb/kernel/rng.h differs from distributions.def");
#include "distributions/distributions.def"
#undef KORB_DIST
#undef KORB_METHOD

}  // namespace
}  // namespace korb::dist::list
