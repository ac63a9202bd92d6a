// Error-free transformations for the kernels that need more than double precision in places:
// exact products by Dekker's splitting (no fused multiply-add, which the build forbids) and
// exact sums by Knuth's two-sum. Each is a template over the lane type, so that the element
// path and the vector path give the same bits.
#pragma once

#include <cmath>

#include "frame/simd.h"

namespace korb::vecmath::exact {

// A value as an unevaluated sum hi + lo.
template <class V>
struct Pair {
    V hi, lo;
};

// x = hi + lo with hi holding the top 26 bits; |x| below 2^996, so that the splitting constant's
// product cannot overflow.
template <class V>
[[gnu::always_inline]] inline Pair<V> split(V x) {
    const V c = x * 134217729.0;  // 2^27 + 1
    const V hi = c - (c - x);
    return {hi, x - hi};
}

// x·y = hi + lo exactly, hi the rounded product (Dekker). Exact unless the product or its low
// part leaves the normal range (lo then loses bits below 2^-1074).
template <class V>
[[gnu::always_inline]] inline Pair<V> product(V x, V y) {
    const Pair<V> a = split(x), b = split(y);
    const V hi = x * y;
    const V lo = ((a.hi * b.hi - hi) + a.hi * b.lo + a.lo * b.hi) + a.lo * b.lo;
    return {hi, lo};
}

// x² = hi + lo exactly, with the conditions of product().
template <class V>
[[gnu::always_inline]] inline Pair<V> square(V x) {
    const Pair<V> a = split(x);
    const V hi = x * x;
    const V lo = ((a.hi * a.hi - hi) + (a.hi * a.lo + a.hi * a.lo)) + a.lo * a.lo;
    return {hi, lo};
}

// x + y = hi + lo exactly, hi the rounded sum (Knuth's two-sum, any order of magnitudes).
template <class V>
[[gnu::always_inline]] inline Pair<V> sum(V x, V y) {
    const V hi = x + y;
    const V t = hi - x;
    const V lo = (x - (hi - t)) + (y - t);
    return {hi, lo};
}

// x·y - u·v with one rounding of nearly exact terms: both products exactly, their difference's
// rounding error kept, everything added smallest first. Within about 0.5 ulp of the exact
// value also under cancellation (a zero result is exact), under product()'s conditions.
template <class V>
[[gnu::always_inline]] inline V difference_of_products(V x, V y, V u, V v) {
    const Pair<V> p = product(x, y), q = product(u, v);
    const Pair<V> s = sum(p.hi, -q.hi);
    return s.hi + (s.lo + (p.lo - q.lo));
}

// ---- Values with an exponent of their own (element paths only) ------------------------------
//
// (hi + lo)·2^e with |hi| below 2, for the element paths of kernels whose arguments span the
// whole range: products and sums of any finite doubles without overflow or underflow on the
// way, rounded once at the end by ldexp (twice for a subnormal result).
struct Wide {
    double hi, lo;
    int e;
};

// x·y exactly, for finite x, y.
inline Wide wide_product(double x, double y) {
    int ex, ey;
    const double mx = std::frexp(x, &ex), my = std::frexp(y, &ey);
    const Pair<double> p = product(mx, my);
    return {p.hi, p.lo, ex + ey};
}

inline Wide negate(Wide w) {
    return {-w.hi, -w.lo, w.e};
}

// p + q, to about 2^-104 of the larger; zeros add as IEEE zeros do (so that the sign of an exact
// zero is that of the plain sum).
inline Wide wide_sum(Wide p, Wide q) {
    if (q.hi == 0.0) return p.hi == 0.0 ? Wide{p.hi + q.hi, 0.0, 0} : p;
    if (p.hi == 0.0) return q;
    if (p.e < q.e) {
        const Wide t = p;
        p = q;
        q = t;
    }
    // Aligned to p's exponent, q loses only what lies below 2^-1074 of it.
    const int shift = q.e - p.e < -2000 ? -2000 : q.e - p.e;
    const Pair<double> s = sum(p.hi, std::ldexp(q.hi, shift));
    const Pair<double> t = sum(s.hi, s.lo + (p.lo + std::ldexp(q.lo, shift)));
    return {t.hi, t.lo, p.e};
}

// The double nearest w (overflowing to an infinity).
inline double wide_value(Wide w) {
    return std::ldexp(w.hi + w.lo, w.e);
}

// n/d for d non-zero: the quotient of the high parts corrected by the remainder.
inline double wide_quotient(Wide n, Wide d) {
    if (n.hi == 0.0) return n.hi / d.hi;
    const double q = n.hi / d.hi;
    const Pair<double> qd = product(q, d.hi);
    const double rest = (((n.hi - qd.hi) - qd.lo) + n.lo - q * d.lo) / d.hi;
    return std::ldexp(q + rest, n.e - d.e);
}

}  // namespace korb::vecmath::exact
