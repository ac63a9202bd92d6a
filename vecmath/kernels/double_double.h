// Exact sums and products of doubles, for one element or a vector of them (the lane helpers of
// frame/simd.h take either), without fused multiply-add: the building blocks of the kernels that
// carry a value as an unevaluated sum hi + lo of two doubles.
#pragma once

#include "frame/simd.h"

namespace korb::vecmath::dd {

// hi + lo, |lo| at most half an ulp of hi (or an unnormalised pair where a comment says so).
template <class V>
struct Pair {
    V hi, lo;
};

// a + b = s + e exactly, for any a and b (Knuth's two-sum).
template <class V>
[[gnu::always_inline]] inline Pair<V> two_sum(V a, V b) {
    const V s = a + b;
    const V bb = s - a;
    return {s, (a - (s - bb)) + (b - bb)};
}

// a + b = s + e exactly, for |a| >= |b| or a = 0 (Dekker's fast two-sum).
template <class V>
[[gnu::always_inline]] inline Pair<V> fast_two_sum(V a, V b) {
    const V s = a + b;
    return {s, b - (s - a)};
}

// a = hi + lo with hi holding the top 26 significant bits and lo the rest (Veltkamp's split).
// |a| must stay below 2^995, where a·(2^27 + 1) is finite.
template <class V>
[[gnu::always_inline]] inline Pair<V> split(V a) {
    const V c = a * 134217729.0;  // 2^27 + 1
    const V hi = c - (c - a);
    return {hi, a - hi};
}

// a·b = p + e exactly from the splits of a and b (Dekker's product), as long as no partial
// product underflows.
template <class V>
[[gnu::always_inline]] inline Pair<V> exact_product(V a, Pair<V> as, V b, Pair<V> bs) {
    const V p = a * b;
    return {p, ((as.hi * bs.hi - p) + as.hi * bs.lo + as.lo * bs.hi) + as.lo * bs.lo};
}
template <class V>
[[gnu::always_inline]] inline Pair<V> exact_product(V a, V b) {
    return exact_product(a, split(a), b, split(b));
}

// a² = p + e exactly.
template <class V>
[[gnu::always_inline]] inline Pair<V> exact_square(V a) {
    const Pair<V> s = split(a);
    const V p = a * a;
    return {p, ((s.hi * s.hi - p) + (s.hi * s.lo + s.hi * s.lo)) + s.lo * s.lo};
}

// n / d for a double-double n and a double-double d: q = n.hi / d.hi rounded, and the
// correction (n - q·d) / d.hi, the remainder's leading part exact; relative error near 2^-100.
template <class V>
[[gnu::always_inline]] inline Pair<V> divide(Pair<V> n, Pair<V> d) {
    const V q = n.hi / d.hi;
    const Pair<V> qd = exact_product(q, d.hi);
    const V rest = (((n.hi - qd.hi) - qd.lo) + n.lo) - q * d.lo;
    return {q, rest / d.hi};
}

// sqrt(s.hi + s.lo) for s.hi > 0: the rounded root and its correction (s - r²) / (2r).
template <class V>
[[gnu::always_inline]] inline Pair<V> sqrt(Pair<V> s) {
    const V r = simd::sqrt(s.hi);
    const Pair<V> r2 = exact_square(r);
    return {r, (((s.hi - r2.hi) - r2.lo) + s.lo) / (r + r)};
}

}  // namespace korb::vecmath::dd
