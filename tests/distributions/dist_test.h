// Helpers of the distribution tests: a generator whose uniforms the test chooses, and a
// Kolmogorov-Smirnov check against a distribution function.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "korb/rng.h"
#include "rng/rng_test.h"

namespace korb::test {

// A registered generator that maps the test's chosen numbers u to a + (b - a) u (u may lie
// outside [0, 1) or be NaN, to reach what a real generator cannot give), and records the count
// of every call. After the script runs out it gives a fixed irrational sequence in [0, 1).
struct ScriptedGenerator {
    std::vector<double> u;
    size_t next = 0;
    std::vector<int> calls;
    int status = BIX_ERROR_OK;  // returned by every call, which then writes nothing

    double take() {
        if (next < u.size()) return u[next++];
        const double x = 0.6180339887498949 * static_cast<double>(++next);
        return x - std::floor(x);
    }
    // A stream of the generator; the script starts afresh.
    Stream stream(std::vector<double> script = {});
};

inline ScriptedGenerator g_scripted;

namespace scripted {
inline int init(int, BixStream *, int, const uint32_t *) {
    return BIX_ERROR_OK;
}
template <class T>
int generate(BixStream *, int n, T *r, T a, T b) {
    g_scripted.calls.push_back(n);
    if (g_scripted.status != BIX_ERROR_OK) return g_scripted.status;
    for (int i = 0; i < n; ++i) r[i] = a + (b - a) * static_cast<T>(g_scripted.take());
    return BIX_ERROR_OK;
}
inline int words(BixStream *, int n, uint32_t *r) {
    g_scripted.calls.push_back(n);
    for (int i = 0; i < n; ++i) r[i] = static_cast<uint32_t>(g_scripted.take() * 4294967296.0);
    return g_scripted.status;
}
inline int id() {
    static const int brng = [] {
        const BrngProperties p{32, 1, 1, 4, 32, init, generate<float>, generate<double>, words};
        return __bixRegisterBrng(&p);
    }();
    return brng;
}
}  // namespace scripted

inline Stream ScriptedGenerator::stream(std::vector<double> script) {
    u = std::move(script);
    next = 0;
    calls.clear();
    status = BIX_ERROR_OK;
    return make_stream(scripted::id(), 1);
}

// The Kolmogorov-Smirnov distance between the sample and the distribution function cdf.
template <class T>
double ks_distance(std::vector<T> x, const std::function<double(double)> &cdf) {
    std::sort(x.begin(), x.end());
    const double n = static_cast<double>(x.size());
    double d = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        const double f = cdf(static_cast<double>(x[i]));
        d = std::max({d, f - static_cast<double>(i) / n, static_cast<double>(i + 1) / n - f});
    }
    return d;
}

// The distance a sample of n from the distribution stays under with probability 0.999.
inline double ks_bound(size_t n) {
    return 1.95 / std::sqrt(static_cast<double>(n));
}

// Pearson's statistic of the counts against n times the probabilities (the last cell takes the
// rest of the probability), and the value a correct sample stays under with probability 0.999
// (Wilson-Hilferty's approximation for df degrees of freedom).
inline double chi_square(const std::vector<long> &counts, std::vector<double> probabilities,
                         long n) {
    double rest = 1;
    for (size_t k = 0; k + 1 < probabilities.size(); ++k) rest -= probabilities[k];
    probabilities.back() = rest;
    double x = 0;
    for (size_t k = 0; k < counts.size(); ++k) {
        const double e = probabilities[k] * static_cast<double>(n);
        x += (static_cast<double>(counts[k]) - e) * (static_cast<double>(counts[k]) - e) / e;
    }
    return x;
}
inline double chi_square_bound(int df) {
    const double h = 2.0 / (9.0 * df), z = 3.0902;
    return df * std::pow(1 - h + z * std::sqrt(h), 3);
}

}  // namespace korb::test
