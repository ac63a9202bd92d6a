// Helpers of the distribution tests: a generator whose uniforms the test chooses, the kernels of
// the distribution list by entry, and goodness-of-fit statistics against a distribution function.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "distributions/list_kernels.h"
#include "korb/kernel/rng.h"
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

// The kernels of the list entry `id`, which must exist.
inline const dist::list::Kernels &kernels_of(const char *id) {
    const int i = dist::list::index_of(id);
    EXPECT_GE(i, 0) << id << " is not in distributions.def";
    return dist::list::kKernels[i < 0 ? 0 : i];
}

// The precision-T kernel of entry `id` on (method, stream, n, r, p), p in argument order (the
// arrays, if any, in precision T).
template <class T>
int draw(const char *id, int method, BixStream *s, int n, T *r, dist::list::Params p) {
    const dist::list::Kernels &k = kernels_of(id);
    const auto kernel = [&] {
        if constexpr (std::is_same_v<T, double>) {
            return k.d;
        } else if constexpr (std::is_same_v<T, float>) {
            return k.s;
        } else {
            return k.i;
        }
    }();
    if (kernel == nullptr) {
        ADD_FAILURE() << id << " has no kernel of this precision";
        return BIX_ERROR_BADARGS;
    }
    return kernel(method, s, n, r, p);
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

// Pearson's test of integer variates against the distribution function cdf (P(X <= x)): one
// cell per value from the least drawn to the greatest, the tails beyond them in the end cells,
// neighbouring cells merged until each expects at least 20. Fails the test for a value the
// distribution cannot give; else true when the statistic stays under its 0.999 quantile.
inline bool passes_chi_square(const std::vector<int> &x, const std::function<double(double)> &cdf) {
    std::map<int, long> counts;
    for (int v : x) ++counts[v];
    for (const auto &[v, count] : counts) {
        EXPECT_GT(cdf(v) - cdf(v - 1.0), 0) << "value " << v << " drawn " << count << " times";
    }
    const double n = static_cast<double>(x.size());
    const int hi = counts.rbegin()->first;
    std::vector<long> cells;
    std::vector<double> probabilities;
    long count = 0;
    double below = 0;  // the probability of the cells so far
    for (int k = counts.begin()->first; k <= hi; ++k) {
        if (const auto it = counts.find(k); it != counts.end()) count += it->second;
        const double to_k = k == hi ? 1.0 : cdf(k);
        if ((to_k - below) * n >= 20 || k == hi) {
            cells.push_back(count);
            probabilities.push_back(to_k - below);
            count = 0;
            below = to_k;
        }
    }
    // A short last cell joins the one before it.
    if (cells.size() > 1 && probabilities.back() * n < 20) {
        cells[cells.size() - 2] += cells.back();
        probabilities[probabilities.size() - 2] += probabilities.back();
        cells.pop_back();
        probabilities.pop_back();
    }
    if (cells.size() < 2) return true;
    const int df = static_cast<int>(cells.size()) - 1;
    return chi_square(cells, probabilities, static_cast<long>(x.size())) < chi_square_bound(df);
}

}  // namespace korb::test
