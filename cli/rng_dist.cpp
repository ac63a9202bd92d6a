// The distribution table of korb rng and its --stats summary.
#include "rng_dist.h"

#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "korb/ss.h"

namespace korb::cli {
namespace {

int d_uniform(int m, BixStream *s, int n, double *r, const double *p) {
    return _bixdRngUniform(m, s, n, r, p[0], p[1]);
}
int s_uniform(int m, BixStream *s, int n, float *r, const double *p) {
    return _bixsRngUniform(m, s, n, r, static_cast<float>(p[0]), static_cast<float>(p[1]));
}
int d_gaussian(int m, BixStream *s, int n, double *r, const double *p) {
    return _bixdRngGaussian(m, s, n, r, p[0], p[1]);
}
int s_gaussian(int m, BixStream *s, int n, float *r, const double *p) {
    return _bixsRngGaussian(m, s, n, r, static_cast<float>(p[0]), static_cast<float>(p[1]));
}

// The kernels of two parameters (a, beta), and Weibull's and the lognormal's.
#define KORB_CLI_TWO(F)                                                                         \
    [](int m, BixStream *s, int n, double *r, const double *p) {                                \
        return _bixdRng##F(m, s, n, r, p[0], p[1]);                                             \
    },                                                                                          \
        [](int m, BixStream *s, int n, float *r, const double *p) {                             \
            return _bixsRng##F(m, s, n, r, static_cast<float>(p[0]), static_cast<float>(p[1])); \
        }
int d_weibull(int m, BixStream *s, int n, double *r, const double *p) {
    return _bixdRngWeibull(m, s, n, r, p[0], p[1], p[2]);
}
int s_weibull(int m, BixStream *s, int n, float *r, const double *p) {
    return _bixsRngWeibull(m, s, n, r, static_cast<float>(p[0]), static_cast<float>(p[1]),
                           static_cast<float>(p[2]));
}
int d_lognormal(int m, BixStream *s, int n, double *r, const double *p) {
    return _bixdRngLognormal(m, s, n, r, p[0], p[1], p[2], p[3]);
}
int s_lognormal(int m, BixStream *s, int n, float *r, const double *p) {
    return _bixsRngLognormal(m, s, n, r, static_cast<float>(p[0]), static_cast<float>(p[1]),
                             static_cast<float>(p[2]), static_cast<float>(p[3]));
}

int i_uniform(int m, BixStream *s, int n, int32_t *r, const double *p) {
    return _bixiRngUniform(m, s, n, r, static_cast<int>(p[0]), static_cast<int>(p[1]));
}
int i_bernoulli(int m, BixStream *s, int n, int32_t *r, const double *p) {
    return _bixiRngBernoulli(m, s, n, r, p[0]);
}
int i_geometric(int m, BixStream *s, int n, int32_t *r, const double *p) {
    return _bixiRngGeometric(m, s, n, r, p[0]);
}
int w_bits64(int m, BixStream *s, int n, uint32_t *r) {
    return _bixiRngUniformBits64(m, s, n, reinterpret_cast<uint64_t *>(r));
}
const char *no_check(const double *) {
    return nullptr;
}

const char *integer_bounds(const double *p) {
    for (int k = 0; k < 2; ++k) {
        if (p[k] != std::trunc(p[k]) || p[k] < INT32_MIN || p[k] > INT32_MAX) {
            return "--a and --b must be 32-bit integers";
        }
    }
    return p[0] < p[1] ? nullptr : "--a must be below --b";
}
const char *probability(const double *p) {
    return p[0] >= 0 && p[0] <= 1 ? nullptr : "--p must lie in [0, 1]";
}
const char *success_probability(const double *p) {
    return p[0] > 0 && p[0] <= 1 ? nullptr : "--p must lie in (0, 1]";
}

const char *below(const double *p) {
    return p[0] < p[1] ? nullptr : "--a must be below --b";
}
const char *positive_second(const double *p) {
    return p[1] > 0 ? nullptr : "the scale must be positive";
}
const char *weibull_check(const double *p) {
    return p[0] > 0 && p[2] > 0 ? nullptr : "--alpha and --beta must be positive";
}
const char *lognormal_check(const double *p) {
    return p[1] > 0 && p[3] > 0 ? nullptr : "--sigma and --beta must be positive";
}

constexpr DistMethod kInversion[] = {{"icdf", BIX_RNG_METHOD_ICDF}};
constexpr DistMethod kStandard[] = {{"std", BIX_RNG_METHOD_STD}};
constexpr DistParam kShift = {"--a", 0.0};
constexpr DistParam kScale = {"--beta", 1.0};

constexpr Distribution kDistributions[] = {
    {"uniform",
     {{"--a", 0.0}, {"--b", 1.0}},
     {{"std", BIX_RNG_METHOD_UNIFORM_STD}, {"accurate", BIX_RNG_METHOD_UNIFORM_STD_ACCURATE}},
     d_uniform,
     s_uniform,
     nullptr,
     below},
    {"gaussian",
     {{"--mean", 0.0}, {"--sigma", 1.0}},
     {{"boxmuller", BIX_RNG_METHOD_GAUSSIAN_BOXMULLER},
      {"boxmuller2", BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2},
      {"icdf", BIX_RNG_METHOD_GAUSSIAN_ICDF}},
     d_gaussian,
     s_gaussian,
     nullptr,
     positive_second},
    {"exponential",
     {kShift, kScale},
     {kInversion[0]},
     KORB_CLI_TWO(Exponential),
     nullptr,
     positive_second},
    {"laplace", {kShift, kScale}, {kInversion[0]}, KORB_CLI_TWO(Laplace), nullptr, positive_second},
    {"weibull",
     {{"--alpha", 1.0}, kShift, kScale},
     {kInversion[0]},
     d_weibull,
     s_weibull,
     nullptr,
     weibull_check},
    {"cauchy", {kShift, kScale}, {kInversion[0]}, KORB_CLI_TWO(Cauchy), nullptr, positive_second},
    {"rayleigh",
     {kShift, kScale},
     {kInversion[0]},
     KORB_CLI_TWO(Rayleigh),
     nullptr,
     positive_second},
    {"lognormal",
     {kShift, {"--sigma", 1.0}, {"--b", 0.0}, kScale},
     {kInversion[0]},
     d_lognormal,
     s_lognormal,
     nullptr,
     lognormal_check},
    {"gumbel", {kShift, kScale}, {kInversion[0]}, KORB_CLI_TWO(Gumbel), nullptr, positive_second},
    {"uniform-int",
     {{"--a", 0.0}, {"--b", 2.0}},
     {kStandard[0]},
     nullptr,
     nullptr,
     i_uniform,
     integer_bounds},
    {"bernoulli", {{"--p", 0.5}}, {kInversion[0]}, nullptr, nullptr, i_bernoulli, probability},
    {"geometric",
     {{"--p", 0.5}},
     {kInversion[0]},
     nullptr,
     nullptr,
     i_geometric,
     success_probability},
    {"bits", {}, {kStandard[0]}, nullptr, nullptr, nullptr, no_check, _bixiRngUniformBits, 0},
    {"bits32", {}, {kStandard[0]}, nullptr, nullptr, nullptr, no_check, _bixiRngUniformBits32, 1},
    {"bits64", {}, {kStandard[0]}, nullptr, nullptr, nullptr, no_check, w_bits64, 2},
};

}  // namespace

std::span<const Distribution> distributions() {
    return kDistributions;
}

const Distribution *find_distribution(std::string_view name) {
    for (const Distribution &d : kDistributions) {
        if (name == d.name) return &d;
    }
    return nullptr;
}

bool is_param_option(std::string_view option) {
    for (const Distribution &d : kDistributions) {
        for (const DistParam &p : d.params) {
            if (p.option != nullptr && option == p.option) return true;
        }
    }
    return false;
}

constexpr size_t kSummaryBlock = 4096;

void Summary::add(double x) {
    block_.push_back(x);
    ++count_;
    if (block_.size() == kSummaryBlock) flush();
}

// The block joins the earlier ones: the basic estimator merges it into the mean, raw moment and
// variance through the accumulated-weights slot, the min/max estimator lowers and raises.
void Summary::flush() {
    if (block_.empty() || status_ != 0) return;
    const int64_t p = 1, n = static_cast<int64_t>(block_.size());
    const int64_t storage = BIX_SS_MATRIX_STORAGE_COLS;
    BixSSTask *task = nullptr;
    int status = __bixdSSNewTask(&task, &p, &n, &storage, block_.data(), nullptr, nullptr, 1);
    if (status == BIX_ERROR_OK) {
        __bixdSSEditMoments(task, &mean_, &raw2_, nullptr, nullptr, &variance_, nullptr, nullptr);
        __bixdSSEditTask(task, BIX_SS_ID_ACCUM_WEIGHTS, weights_);
        __bixdSSEditTask(task, BIX_SS_ID_MIN, &min_);
        __bixdSSEditTask(task, BIX_SS_ID_MAX, &max_);
        status = _bixdSSBasic(task, BIX_SS_EST_MEAN | BIX_SS_EST_CEN2, BIX_SS_METHOD_ONE_PASS);
        if (status == BIX_ERROR_OK) {
            status = _bixdSSMinmax(task, BIX_SS_EST_MIN | BIX_SS_EST_MAX, BIX_SS_METHOD_ONE_PASS);
        }
        __bixSSDeleteTask(&task);
    }
    status_ = status;
    block_.clear();
}

void Summary::print() {
    flush();
    if (status_ != 0) {
        std::fprintf(stderr, "korb: rng --stats: summary statistics status %d\n", status_);
        return;
    }
    // One number has no variance (0/0): print the NaN without the sign x86 gives it.
    const double variance = std::isnan(variance_) ? std::nan("") : variance_;
    std::printf("count %lld\nmean %.17g\nvariance %.17g\nmin %.17g\nmax %.17g\n", count_, mean_,
                variance, min_, max_);
}

}  // namespace korb::cli
