// The distribution table of korb rng and its --stats summary.
#include "rng_dist.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>

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

const char *below(const double *p) {
    return p[0] < p[1] ? nullptr : "--a must be below --b";
}
const char *positive_second(const double *p) {
    return p[1] > 0 ? nullptr : "the scale must be positive";
}

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

// Welford's update, so that a long run of large numbers keeps its variance.
void Summary::add(double x) {
    if (count_ == 0) min_ = max_ = x;
    ++count_;
    const double delta = x - mean_;
    mean_ += delta / static_cast<double>(count_);
    m2_ += delta * (x - mean_);
    if (x < min_) min_ = x;
    if (x > max_) max_ = x;
}

void Summary::print() const {
    const double variance = count_ > 1 ? m2_ / static_cast<double>(count_ - 1) : 0.0;
    std::printf("count %lld\nmean %.17g\nvariance %.17g\nmin %.17g\nmax %.17g\n", count_, mean_,
                variance, min_, max_);
}

}  // namespace korb::cli
