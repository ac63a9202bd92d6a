// Arguments drawn from the input domains of vecmath/domains.def, for the accuracy run, the
// vector-against-element test and the benchmarks.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "vecmath/functions.h"

namespace korb::test {

using vecmath::Domain;
using vecmath::Shape;

// The function's name with its precision, as in its symbols: "dExp".
inline std::string name_of(const vecmath::FunctionInfo &f) {
    return std::string(1, f.precision) + f.name;
}

inline bool is_single(const vecmath::FunctionInfo &f) {
    return f.precision == 's' || f.precision == 'c';
}

// The value of the function's precision nearest v (v itself in double precision).
inline double in_precision(double v, bool single) {
    return single ? static_cast<double>(static_cast<float>(v)) : v;
}

// A domain's bounds with the sentinels resolved: hi = inf is the largest finite value, lo = 0 of
// a binades shape the smallest subnormal.
inline double domain_lo(const Domain &d, bool single) {
    const bool binades = d.shape == Shape::binades || d.shape == Shape::signed_binades ||
                         d.shape == Shape::one_minus;
    if (binades && d.lo == 0.0) {
        return single ? std::numeric_limits<float>::denorm_min()
                      : std::numeric_limits<double>::denorm_min();
    }
    return d.lo;
}
inline double domain_hi(const Domain &d, bool single) {
    if (std::isinf(d.hi)) {
        return single ? std::numeric_limits<float>::max() : std::numeric_limits<double>::max();
    }
    return d.hi;
}

// Uniform over the bit patterns of the positive doubles from lo to hi.
inline double by_binade(double lo, double hi, std::mt19937_64 &rng) {
    std::uint64_t a, b;
    std::memcpy(&a, &lo, 8);
    std::memcpy(&b, &hi, 8);
    const std::uint64_t bits = std::uniform_int_distribution<std::uint64_t>(a, b)(rng);
    double x;
    std::memcpy(&x, &bits, 8);
    return x;
}

// One argument from domain d, in the function's precision.
inline double sample(const Domain &d, bool single, std::mt19937_64 &rng) {
    const double lo = domain_lo(d, single), hi = domain_hi(d, single);
    double x = 0.0;
    switch (d.shape) {
        case Shape::uniform:
            x = lo == hi ? lo : std::uniform_real_distribution<double>(lo, hi)(rng);
            break;
        case Shape::binades:
            x = by_binade(lo, hi, rng);
            break;
        case Shape::signed_binades:
            x = by_binade(lo, hi, rng);
            if (rng() & 1) x = -x;
            break;
        case Shape::one_minus:
            x = 1.0 - by_binade(lo, hi, rng);
            break;
        case Shape::near_half_pi: {
            const auto k = std::uniform_int_distribution<std::int64_t>(
                static_cast<std::int64_t>(lo), static_cast<std::int64_t>(hi))(rng);
            x = static_cast<double>(k) * 1.5707963267948966;
            if (rng() & 1) x += std::uniform_real_distribution<double>(-0x1p-20, 0x1p-20)(rng);
            break;
        }
        case Shape::points:
            x = d.points[std::uniform_int_distribution<int>(0, d.point_count - 1)(rng)];
            break;
    }
    return in_precision(x, single);
}

// A domain's edges in the function's precision: its end points (or its points) and their
// neighbours on either side.
inline std::vector<double> edges(const Domain &d, bool single) {
    std::vector<double> out, ends = {domain_lo(d, single), domain_hi(d, single)};
    if (d.shape == Shape::near_half_pi) return out;
    if (d.shape == Shape::points) ends.assign(d.points, d.points + d.point_count);
    if (d.shape == Shape::one_minus) ends = {1.0 - ends[0], 1.0 - ends[1]};
    for (double e : ends) {
        for (double v : {e, -e}) {
            if (v != e && d.shape != Shape::signed_binades) continue;
            const double x = in_precision(v, single);
            out.push_back(x);
            if (single) {
                const float f = static_cast<float>(x);
                out.push_back(std::nextafter(f, std::numeric_limits<float>::infinity()));
                out.push_back(std::nextafter(f, -std::numeric_limits<float>::infinity()));
            } else {
                out.push_back(std::nextafter(x, std::numeric_limits<double>::infinity()));
                out.push_back(std::nextafter(x, -std::numeric_limits<double>::infinity()));
            }
        }
    }
    return out;
}

}  // namespace korb::test
