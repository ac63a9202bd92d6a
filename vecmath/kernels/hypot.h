// sqrt(x² + y²) without spurious overflow or underflow, for sHypot, dHypot and the complex
// absolute values cAbs and zAbs.
//
// Double precision: with a = max(|x|, |y|) and b = min(|x|, |y|), h = sqrt(a² + b²) is corrected
// by one Newton step h - (h² - a² - b²) / 2h whose numerator is formed from exact squares
// (exact.h), so that h is within a hair of the correctly rounded value. The lanes take
// arguments whose larger magnitude lies in [2^-450, 2^500]: the squares neither overflow nor
// lose what matters to underflow there. The element path scales other finite arguments by
// 2^∓600 first and back after (a subnormal result is rounded twice, within one unit of the
// smallest subnormal).
//
// Single precision: the squares and their sum in double, where nothing overflows or underflows
// that matters; the root rounds once in double and once to float (below 0.5 + 2^-29 ulp).
//
// Special values: hypot(±inf, y) = +inf also for a NaN y; else a NaN argument gives a quiet NaN;
// an infinite result of finite arguments is reported as ARQ_STATUS_OVERFLOW.
#pragma once

#include <limits>

#include "frame/simd.h"
#include "korb/kernel/vm.h"
#include "vecmath/kernels/exact.h"

namespace korb::vecmath::hypot {

using simd::Bits;
using simd::Vec;

constexpr double kHigh = 0x1p500;
constexpr double kLow = 0x1p-450;

// All ones where |v| < limit (NaN lanes clear), without a floating comparison.
template <class V, class T>
[[gnu::always_inline]] inline Bits<V> magnitude_below(V v, T limit) {
    return simd::below(simd::to_bits(simd::abs(v)), simd::to_bits(V{} + limit));
}

// Double: sqrt(x² + y²) for finite x, y whose larger magnitude lies in [kLow, kHigh].
template <class V>
[[gnu::always_inline]] inline V core(V x, V y) {
    const V ax = simd::abs(x), ay = simd::abs(y);
    const Bits<V> swap = simd::mask<V>(ax < ay);
    const V a = simd::select(swap, ay, ax);
    const V b = simd::select(swap, ax, ay);
    const exact::Pair<V> a2 = exact::square(a), b2 = exact::square(b);
    const V h = simd::sqrt(a2.hi + b2.hi);
    const exact::Pair<V> h2 = exact::square(h);
    // h² - a² - b²: h2.hi - a2.hi is exact (a² <= h² <= 2a²), the rest is small.
    const V d = ((h2.hi - a2.hi) - b2.hi) + ((h2.lo - a2.lo) - b2.lo);
    return h - d / (h + h);
}

// The lanes the double core must not take.
[[gnu::always_inline]] inline Bits<Vec<double>> unusual(Vec<double> x, Vec<double> y) {
    const Bits<Vec<double>> ordinary = magnitude_below(x, kHigh) & magnitude_below(y, kHigh) &
                                       ~(magnitude_below(x, kLow) & magnitude_below(y, kLow));
    return ~ordinary;
}

// Infinities and NaNs: true with the result when either argument is one.
template <class T>
inline bool special(T x, T y, T &result) {
    if (__builtin_isinf(x) || __builtin_isinf(y)) {
        result = std::numeric_limits<T>::infinity();
        return true;
    }
    if (__builtin_isnan(x) || __builtin_isnan(y)) {
        result = x + y;  // a quiet NaN
        return true;
    }
    return false;
}

// Double, any arguments; the same bits as core() where core() applies.
inline double element(double x, double y, int &status) {
    status = ARQ_STATUS_OK;
    double s;
    if (special(x, y, s)) return s;
    const double a = simd::abs(x) < simd::abs(y) ? simd::abs(y) : simd::abs(x);
    if (a == 0.0) return 0.0;
    double scale = 1.0, back = 1.0;
    if (a >= kHigh) {
        scale = 0x1p-600;
        back = 0x1p600;
    } else if (a < kLow) {
        scale = 0x1p600;
        back = 0x1p-600;
    }
    const double h = core(x * scale, y * scale) * back;
    if (__builtin_isinf(h)) status = ARQ_STATUS_OVERFLOW;
    return h;
}

// Single in double: the lanes' arithmetic (V a double or a vector of doubles).
template <class V>
[[gnu::always_inline]] inline V single_value(V x, V y) {
    return simd::sqrt(x * x + y * y);
}

// The float lanes the single lanes must not take: magnitudes of 2^126 and more, and NaNs.
[[gnu::always_inline]] inline Bits<Vec<float>> unusual(Vec<float> x, Vec<float> y) {
    return ~(magnitude_below(x, 0x1p126f) & magnitude_below(y, 0x1p126f));
}

inline float element(float x, float y, int &status) {
    status = ARQ_STATUS_OK;
    float s;
    if (special(x, y, s)) return s;
    const float h = static_cast<float>(single_value(double{x}, double{y}));
    if (__builtin_isinf(h)) status = ARQ_STATUS_OVERFLOW;
    return h;
}

}  // namespace korb::vecmath::hypot
