// Error-free transformations for the kernels that need more than double precision in places:
// exact products by Dekker's splitting (no fused multiply-add, which the build forbids) and
// exact sums by Knuth's two-sum. Each is a template over the lane type, so that the element
// path and the vector path give the same bits.
#pragma once

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

}  // namespace korb::vecmath::exact
