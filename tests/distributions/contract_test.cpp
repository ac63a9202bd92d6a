// What every kernel of the distribution list owes, in each precision and method it lists: a
// million variates fit the distribution (Kolmogorov-Smirnov for reals and words, Pearson's
// chi-square for integers) against a reference written here from the distribution's closed
// form and the C library's functions, never from korb's; uniforms at the ends of [0, 1) give
// finite variates inside the support and leave the thread's vector-math mode and callback as
// they were; a failing generator's status comes back at once with nothing written.
//
// A kernel added to the list without a reference here fails its goodness-of-fit tests.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "distributions/dist_test.h"
#include "korb/kernel/vm.h"

namespace korb::test {
namespace {

using dist::list::Entry;
using dist::list::kEntries;
using dist::list::kEntryCount;
using dist::list::Kernels;
using dist::list::kKernels;

struct Reference {
    const char *id;                            // the list entry
    double p[dist::list::kMaxParams];          // parameters in argument order
    double (*cdf)(double x, const double *p);  // P(X <= x); words: of word / 2^bits
    int floor = -1;  // parameter the kernel clamps the variates to from below, or -1
    int scale = -1;  // with a floor: the parameter scaling the variates above it
    // The array parameters by position (empty for a scalar one). A vector-variate kernel is
    // given dimension 1 here, so that its variates are numbers.
    std::vector<std::vector<double>> arrays = {};
};

double normal_cdf(double z) {
    return 0.5 * std::erfc(-z / std::numbers::sqrt2);
}
double uniform_cdf(double x, const double *) {
    return std::clamp(x, 0.0, 1.0);
}

// P(X <= x) of a distribution on the integers lo..hi from the logarithm of its mass.
template <class LogMass>
double count_cdf(double x, double lo, double hi, LogMass log_mass) {
    double sum = 0;
    for (double k = lo; k <= std::min(std::floor(x), hi); k += 1) sum += std::exp(log_mass(k));
    return std::min(sum, 1.0);
}
double log_choose(double a, double b) {
    return std::lgamma(a + 1) - std::lgamma(b + 1) - std::lgamma(a - b + 1);
}
double poisson_cdf(double x, double lambda) {
    return count_cdf(x, 0, 1e9, [lambda](double k) {
        return k * std::log(lambda) - lambda - std::lgamma(k + 1);
    });
}

const Reference kReferences[] = {
    {"Uniform",
     {-1.5, 2.5},
     [](double x, const double *p) { return std::clamp((x - p[0]) / (p[1] - p[0]), 0.0, 1.0); }},
    {"Gaussian", {-2, 3}, [](double x, const double *p) { return normal_cdf((x - p[0]) / p[1]); }},
    {"Exponential",
     {1.5, 2},
     [](double x, const double *p) { return x < p[0] ? 0 : -std::expm1(-(x - p[0]) / p[1]); },
     0,
     1},
    {"Laplace",
     {-1, 0.5},
     [](double x, const double *p) {
         const double z = (x - p[0]) / p[1];
         return z < 0 ? 0.5 * std::exp(z) : 1 - 0.5 * std::exp(-z);
     }},
    {"Weibull",
     {1.7, 0.5, 3},
     [](double x, const double *p) {
         return x < p[1] ? 0 : -std::expm1(-std::pow((x - p[1]) / p[2], p[0]));
     },
     1,
     2},
    {"Cauchy",
     {2, 0.25},
     [](double x, const double *p) {
         return 0.5 + std::atan((x - p[0]) / p[1]) / std::numbers::pi;
     }},
    {"Rayleigh",
     {-3, 2},
     [](double x, const double *p) {
         const double z = (x - p[0]) / p[1];
         return x < p[0] ? 0 : -std::expm1(-z * z);
     },
     0,
     1},
    {"Lognormal",
     {0.25, 0.5, 1, 2},
     [](double x, const double *p) {
         return x <= p[2] ? 0 : normal_cdf((std::log((x - p[2]) / p[3]) - p[0]) / p[1]);
     },
     2,
     3},
    {"Gumbel",
     {1, 2},
     [](double x, const double *p) { return -std::expm1(-std::exp((x - p[0]) / p[1])); }},
    {"Gamma",
     {2.5, -1, 2},
     [](double x, const double *p) {
         // The regularised lower incomplete gamma function of 5/2.
         const double z = (x - p[1]) / p[2];
         if (z <= 0) return 0.0;
         return std::erf(std::sqrt(z)) -
                2 / std::sqrt(std::numbers::pi) * std::sqrt(z) * std::exp(-z) * (1 + 2 * z / 3);
     }},
    {"Beta",
     {2, 3, -1, 2},
     [](double x, const double *p) {
         // The regularised incomplete beta function of (2, 3): a binomial tail.
         const double y = std::clamp((x - p[2]) / p[3], 0.0, 1.0), v = 1 - y;
         return 6 * y * y * v * v + 4 * y * y * y * v + y * y * y * y;
     }},
    {"GaussianMV",
     {1, 0},
     [](double x, const double *) { return normal_cdf((x - 1.5) / 2); },
     -1,
     -1,
     {{}, {}, {1.5}, {-2}}},
    {"UniformInt",
     {-5, 5},
     [](double x, const double *p) {
         return std::clamp((std::floor(x) - p[0] + 1) / (p[1] - p[0]), 0.0, 1.0);
     }},
    {"Bernoulli",
     {0.3},
     [](double x, const double *p) { return x < 0   ? 0
                                            : x < 1 ? 1 - p[0]
                                                    : 1; }},
    {"Geometric",
     {0.2},
     [](double x, const double *p) {
         return x < 0 ? 0 : -std::expm1((std::floor(x) + 1) * std::log1p(-p[0]));
     }},
    {"Binomial",
     {200, 0.35},
     [](double x, const double *p) {
         return count_cdf(x, 0, p[0], [p](double k) {
             return log_choose(p[0], k) + k * std::log(p[1]) + (p[0] - k) * std::log1p(-p[1]);
         });
     }},
    {"Poisson", {40}, [](double x, const double *p) { return poisson_cdf(x, p[0]); }},
    {"PoissonV",
     {0},
     [](double x, const double *) { return poisson_cdf(x, 15); },
     -1,
     -1,
     {std::vector<double>(1000000, 15.0)}},
    {"Hypergeometric",
     {200, 60, 80},
     [](double x, const double *p) {
         return count_cdf(x, 0, 60, [p](double k) {
             return log_choose(p[2], k) + log_choose(p[0] - p[2], p[1] - k) -
                    log_choose(p[0], p[1]);
         });
     }},
    {"Negbinomial",
     {4.5, 0.3},
     [](double x, const double *p) {
         return count_cdf(x, 0, 1e9, [p](double k) {
             return std::lgamma(k + p[0]) - std::lgamma(p[0]) - std::lgamma(k + 1) +
                    p[0] * std::log(p[1]) + k * std::log1p(-p[1]);
         });
     }},
    {"UniformBits", {}, uniform_cdf},
    {"UniformBits32", {}, uniform_cdf},
    {"UniformBits64", {}, uniform_cdf},
};

const Reference *reference_of(const char *id) {
    for (const Reference &r : kReferences) {
        if (std::string_view(r.id) == id) return &r;
    }
    return nullptr;
}

// One kernel of the list in one method.
struct Case {
    int entry;
    unsigned precision;
    int method;  // position among the entry's methods
};

const char *letter(unsigned precision) {
    return precision == dist::list::kDouble ? "d" : precision == dist::list::kSingle ? "s" : "i";
}

void PrintTo(const Case &c, std::ostream *os) {
    *os << letter(c.precision) << kEntries[c.entry].kernel << " " << kEntries[c.entry].id << " "
        << kEntries[c.entry].methods[c.method].name;
}

std::string case_name(const ::testing::TestParamInfo<Case> &info) {
    const Entry &e = kEntries[info.param.entry];
    std::string name = std::string(e.id) + "_" + letter(info.param.precision) + "_" +
                       e.methods[info.param.method].name;
    for (char &c : name) c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

// Every kernel and method of the list whose precision is among `precisions`.
std::vector<Case> cases(unsigned precisions) {
    std::vector<Case> all;
    for (int i = 0; i < kEntryCount; ++i) {
        for (unsigned bit = 1; bit <= dist::list::kWords64; bit <<= 1) {
            if ((kEntries[i].precisions & precisions & bit) == 0) continue;
            for (int m = 0; m < kEntries[i].method_count; ++m) all.push_back({i, bit, m});
        }
    }
    return all;
}

constexpr unsigned kVariates =
    dist::list::kDouble | dist::list::kSingle | dist::list::kInteger;  // drawn from uniforms

// The case's kernel with scalar parameters p and its reference's arrays in precision T.
template <class T>
int draw_case(const Case &c, BixStream *s, int n, T *r, const double *p, int flags = 0) {
    const int method = kEntries[c.entry].methods[c.method].id | flags;
    const Reference *ref = reference_of(kEntries[c.entry].id);
    // Arrays of reals: float for the single-precision kernel, double for the others.
    using A = std::conditional_t<std::is_same_v<T, float>, float, double>;
    std::vector<std::vector<A>> arrays;
    const void *pointers[dist::list::kMaxParams] = {};
    if (ref != nullptr) {
        for (size_t k = 0; k < ref->arrays.size(); ++k) {
            arrays.emplace_back(ref->arrays[k].begin(), ref->arrays[k].end());
            pointers[k] = arrays.back().data();
        }
    }
    return draw<T>(kEntries[c.entry].id, method, s, n, r, dist::list::Params(p, pointers));
}

// --- Goodness of fit ----------------------------------------------------------------------

constexpr int kSample = 1000000;
constexpr uint32_t kSeed = 20261121;

template <class T>
void expect_fit(const Case &c, const Reference &ref) {
    Stream s = make_stream(BIX_BRNG_MCG31M1, kSeed);
    std::vector<T> r(kSample);
    ASSERT_EQ(draw_case<T>(c, s.get(), kSample, r.data(), ref.p), BIX_ERROR_OK);
    if constexpr (std::is_same_v<T, int>) {
        EXPECT_TRUE(passes_chi_square(r, [&](double x) { return ref.cdf(x, ref.p); }));
    } else {
        EXPECT_LT(ks_distance(r, [&](double x) { return ref.cdf(x, ref.p); }), ks_bound(kSample));
    }
}

// Words of a generator with a bits conversion, as fractions of 2^bits.
void expect_uniform_words(const Case &c, const Reference &ref) {
    const Kernels &k = kKernels[c.entry];
    Stream s = make_stream(BIX_BRNG_MT19937, kSeed);
    BrngProperties row{};
    ASSERT_EQ(__bixGetBrngProperties(BIX_BRNG_MT19937, &row), BIX_ERROR_OK);
    const int elements = k.word_elements > 0 ? k.word_elements : row.wordSize / 4;
    std::vector<uint32_t> words(static_cast<size_t>(kSample) * elements);
    ASSERT_EQ(k.w(kEntries[c.entry].methods[c.method].id, s.get(), kSample, words.data()),
              BIX_ERROR_OK);
    std::vector<double> u(kSample);
    for (size_t i = 0; i < u.size(); ++i) {
        for (int j = 0; j < elements; ++j) {
            u[i] += std::ldexp(words[i * elements + j], 32 * (j - elements));  // low half first
        }
    }
    EXPECT_LT(ks_distance(u, [&](double x) { return ref.cdf(x, ref.p); }), ks_bound(kSample));
}

class Fit : public ::testing::TestWithParam<Case> {};

TEST_P(Fit, MillionVariatesFollowTheReferenceDistribution) {
    const Case &c = GetParam();
    const Reference *ref = reference_of(kEntries[c.entry].id);
    ASSERT_NE(ref, nullptr) << kEntries[c.entry].id << " has no reference in contract_test.cpp";
    ASSERT_EQ(dist::list::refused(kEntries[c.entry], ref->p), -1)
        << "the reference parameters lie outside the listed domains";
    switch (c.precision) {
        case dist::list::kDouble:
            return expect_fit<double>(c, *ref);
        case dist::list::kSingle:
            return expect_fit<float>(c, *ref);
        case dist::list::kInteger:
            return expect_fit<int>(c, *ref);
        default:
            return expect_uniform_words(c, *ref);
    }
}

INSTANTIATE_TEST_SUITE_P(List, Fit, ::testing::ValuesIn(cases(~0u)), case_name);

// --- Ends of the uniforms, the vector-math settings, failures ------------------------------

class Kernel : public ::testing::TestWithParam<Case> {};

// Uniforms at both ends of [0, 1) and near them, and selectors around 1/2 for Laplace.
const std::vector<double> kEdgeUniforms = {0.0, 0.5,         1 - 0x1p-53, 0x1p-1074,
                                           0.5, 1 - 0x1p-24, 0x1p-30,     0.25};

template <class T>
void expect_edges(const Case &c, const Reference &ref) {
    const auto callback = [](ArqErrorContext *) { return 1; };
    std::thread([&] {
        // A fresh thread: its mode word has no denormal group, which the kernels set.
        korb_arq_kernel_SetErrorCallBack(callback);
        const unsigned mode = korb_arq_kernel_GetMode();
        // A clamping kernel clamps under the accurate id too, which its header gives it.
        for (int flags : {0, ref.floor >= 0 ? BIX_RNG_METHOD_ACCURACY_FLAG : 0}) {
            Stream s = g_scripted.stream(kEdgeUniforms);
            std::vector<T> r(kEdgeUniforms.size());
            ASSERT_EQ(draw_case<T>(c, s.get(), static_cast<int>(r.size()), r.data(), ref.p, flags),
                      BIX_ERROR_OK);
            for (T x : r) {
                EXPECT_TRUE(std::isfinite(static_cast<double>(x)));
                if (ref.floor >= 0) {
                    EXPECT_GE(x, static_cast<T>(ref.p[ref.floor]));
                }
            }
            EXPECT_EQ(korb_arq_kernel_GetMode(), mode);
            EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), +callback);
            if (ref.floor < 0) continue;
            // The clamp is unconditional: a negative scale folds everything onto the floor.
            double p[dist::list::kMaxParams];
            std::copy(std::begin(ref.p), std::end(ref.p), p);
            p[ref.scale] = -1;
            s = g_scripted.stream();
            ASSERT_EQ(draw_case<T>(c, s.get(), 5, r.data(), p, flags), BIX_ERROR_OK);
            for (int i = 0; i < 5; ++i) EXPECT_EQ(r[i], static_cast<T>(p[ref.floor]));
        }
    }).join();
}

TEST_P(Kernel, EdgeUniformsGiveFiniteVariatesInTheSupportAndLeaveTheModeAlone) {
    const Case &c = GetParam();
    const Reference *ref = reference_of(kEntries[c.entry].id);
    ASSERT_NE(ref, nullptr) << kEntries[c.entry].id << " has no reference in contract_test.cpp";
    c.precision == dist::list::kDouble   ? expect_edges<double>(c, *ref)
    : c.precision == dist::list::kSingle ? expect_edges<float>(c, *ref)
                                         : expect_edges<int>(c, *ref);
}

template <class T>
void expect_failure_returned(const Case &c) {
    const Reference *ref = reference_of(kEntries[c.entry].id);
    ASSERT_NE(ref, nullptr);
    const double *p = ref->p;  // valid, so that the kernel reaches its generator
    Stream s = g_scripted.stream();
    g_scripted.status = BIX_ERROR_NONDETERM_NOT_SUPPORTED;
    T r[3] = {7, 7, 7};
    EXPECT_EQ(draw_case<T>(c, s.get(), 3, r, p), BIX_ERROR_NONDETERM_NOT_SUPPORTED);
    EXPECT_EQ(g_scripted.calls.size(), 1u);
    EXPECT_EQ(r[0], T(7));
    EXPECT_EQ(r[2], T(7));
}

TEST_P(Kernel, GeneratorFailureComesBackAtOnceWithNothingWritten) {
    const Case &c = GetParam();
    c.precision == dist::list::kDouble   ? expect_failure_returned<double>(c)
    : c.precision == dist::list::kSingle ? expect_failure_returned<float>(c)
                                         : expect_failure_returned<int>(c);
}

INSTANTIATE_TEST_SUITE_P(List, Kernel, ::testing::ValuesIn(cases(kVariates)), case_name);

}  // namespace
}  // namespace korb::test
