// The logarithm and the exponential in about 1.5 doubles of precision, for the kernels whose
// result must stay within an ulp after an amplification (the powers: y·ln x up to the overflow
// threshold) or after a cancellation (log1p, log10, expm1). Templates over the lane type, so
// that the element and the vector paths run the same operations.
//
// Exact building blocks first: Knuth's two-sum, Dekker's splitting and product (no fused
// multiply-add: the build forbids contraction, and every class must give the same bits).
#pragma once

#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/exp_data.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/ln_data.h"

namespace korb::vecmath::precise {

using simd::Bits;

// A value as an unevaluated sum hi + lo, |lo| at most half an ulp of hi.
template <class V>
struct Sum {
    V hi, lo;
};

// a + b = s + e exactly, whatever the magnitudes.
template <class V>
[[gnu::always_inline]] inline Sum<V> two_sum(V a, V b) {
    const V s = a + b;
    const V bb = s - a;
    const V e = (a - (s - bb)) + (b - bb);
    return {s, e};
}

// a + b = s + e exactly when |a| >= |b| (or a = 0).
template <class V>
[[gnu::always_inline]] inline Sum<V> fast_two_sum(V a, V b) {
    const V s = a + b;
    return {s, b - (s - a)};
}

// a = hi + lo with 26 significant bits in hi and 27 in lo, for |a| below 2^995.
template <class V>
[[gnu::always_inline]] inline Sum<V> split(V a) {
    constexpr double kSplitter = 134217729.0;  // 2^27 + 1
    const V c = a * kSplitter;
    const V hi = c - (c - a);
    return {hi, a - hi};
}

// a·b = p + e exactly, given the splits of both factors; the products of the parts must stay
// clear of underflow.
template <class V>
[[gnu::always_inline]] inline Sum<V> two_prod(V a, const Sum<V> &sa, V b, const Sum<V> &sb) {
    const V p = a * b;
    const V e = ((sa.hi * sb.hi - p) + sa.hi * sb.lo + sa.lo * sb.hi) + sa.lo * sb.lo;
    return {p, e};
}
template <class V>
[[gnu::always_inline]] inline Sum<V> two_prod(V a, V b) {
    return two_prod(a, split(a), b, split(b));
}

// ---- Logarithm ---------------------------------------------------------------------------

// Keeps the sign, the exponent and the top 23 significand bits: m_hi·rcp and m_lo·rcp are then
// exact (rcp has 23 significant bits).
constexpr std::uint64_t kHigh24 = 0xFFFFFFFFE0000000;

// How much of the logarithm's precision a kernel needs: kPowers, relative error below 2^-70
// (the powers, whose y·ln x amplifies it), or kRounded, below 2^-62 (a result rounded once from
// hi + lo, where that is below a hundredth of an ulp).
enum class Precision { kPowers, kRounded };

// ln(x + c) = hi + lo for positive normal x and |c| at most half an ulp of x (nothing is
// checked; kLow false: c = 0).
//
// x = 2^e·m, rcp ≈ 1/m from dLn's table (row; k is e, or e + 1 where the table's row subtracts
// ln 2), r = m·rcp - 1 = r_hi + r_lo exactly, c' = c·2^-e·rcp (exact where it matters: near 1,
// where rcp is 1 or 1/2), and ln(x + c) = k·ln 2 - ln rcp + ln(1 + r + c'), the series to r^7
// (|r| < 2^-9.9). The terms of the size of the result (k·LN2_HI - ln rcp, which is exact, r and
// c') are added exactly, and for kPowers r²/2 too, by Dekker's product; the rest, each below
// 2^-10 (kPowers: 2^-19) of the result, in plain double. k is x's exponent as the table splits it
// (ln_data::exponent), x_bits its pattern.
template <Precision kPrecision, bool kLow, class V>
[[gnu::always_inline]] inline Sum<V> ln_sum(V k, Bits<V> x_bits, const ln_data::Row<V> &row, V c) {
    const Bits<V> m_bits = (x_bits & kMantissa) | kOneBits;
    const V m = simd::from_bits<V>(m_bits);
    const V m_hi = simd::from_bits<V>(m_bits & kHigh24);
    const V r_hi = m_hi * row.rcp - 1.0;
    const V r_lo = (m - m_hi) * row.rcp;
    const Sum<V> r = two_sum(r_hi, r_lo);
    const V a = k * ln_data::kLn2Hi + row.hi;  // exact
    const V b = k * ln_data::kLn2Lo + row.lo;
    const Sum<V> s1 = two_sum(a, r.hi);
    Sum<V> s2;
    V small;
    if constexpr (kPrecision == Precision::kPowers) {
        const Sum<V> r2 = two_prod(r.hi, r.hi);
        s2 = two_sum(s1.hi, r2.hi * -0.5);
        const V cubic =
            (r.hi * r2.hi) *
            (1.0 / 3 + r.hi * (-0.25 + r.hi * (0.2 + r.hi * (-1.0 / 6 + r.hi * (1.0 / 7)))));
        // -r²/2 = -r2.hi/2 - r2.lo/2 - r.hi·r.lo (r.lo² is far below the last bit).
        small = (((s1.lo + s2.lo) + (r.lo - r.hi * r.lo)) + (b - r2.lo * 0.5)) + cubic;
    } else {
        s2 = {s1.hi, V{}};
        const V series =
            (r.hi * r.hi) *
            (-0.5 + r.hi * (1.0 / 3 +
                            r.hi * (-0.25 + r.hi * (0.2 + r.hi * (-1.0 / 6 + r.hi * (1.0 / 7))))));
        small = ((s1.lo + (r.lo - r.hi * r.lo)) + b) + series;
    }
    if constexpr (!kLow) {
        return fast_two_sum(s2.hi, small);
    } else {
        // 2^-e from x's exponent field (0 for e = 1023, where c' is far below the last bit).
        const V scale =
            simd::from_bits<V>(Bits<V>{} + 0x7FE0000000000000 - (x_bits & 0x7FF0000000000000));
        const V c1 = (c * scale) * row.rcp;
        const Sum<V> s3 = two_sum(s2.hi, c1);
        // The cross terms of -(r + c')²/2.
        return fast_two_sum(s3.hi, (small + s3.lo) - c1 * (r.hi + c1 * 0.5));
    }
}

// ln x for one positive normal x, or for lanes of them whose elements are at src in memory (the
// table indices are read from there in integer registers).
template <Precision kPrecision = Precision::kPowers>
[[gnu::always_inline]] inline Sum<double> ln(double x) {
    const std::uint32_t hi = high_word(x);
    return ln_sum<kPrecision, false>(ln_data::exponent(hi), bits_of(x), ln_data::row(hi), 0.0);
}
template <Precision kPrecision = Precision::kPowers>
[[gnu::always_inline]] inline Sum<simd::Vec<double>> ln(simd::Vec<double> x, const double *src) {
    const Bits<simd::Vec<double>> b = simd::to_bits(x);
    return ln_sum<kPrecision, false>(ln_data::exponent(b), b, ln_data::rows(src),
                                     simd::Vec<double>{});
}

// ln(x + c) to kRounded for positive normal x and |c| at most half an ulp of x: one element, or
// lanes (which are stored first, the table indices read back in integer registers).
[[gnu::always_inline]] inline Sum<double> ln_with_low(double x, double c) {
    const std::uint32_t hi = high_word(x);
    return ln_sum<Precision::kRounded, true>(ln_data::exponent(hi), bits_of(x), ln_data::row(hi),
                                             c);
}
[[gnu::always_inline]] inline Sum<simd::Vec<double>> ln_with_low(simd::Vec<double> x,
                                                                 simd::Vec<double> c) {
    alignas(simd::kNativeBytes) double src[simd::kCount<simd::Vec<double>>];
    simd::store_lanes(src, x);
    const Bits<simd::Vec<double>> b = simd::to_bits(x);
    return ln_sum<Precision::kRounded, true>(ln_data::exponent(b), b,
                                             ln_data::rows(simd::opaque(src)), c);
}

// ---- Exponential -------------------------------------------------------------------------

// e^(z.hi + z.lo) = y·2^floor(N/64), N = round(z.hi·64/ln 2) in the low bits of t's pattern.
// y is rounded once at the end; its error is below 0.51 ulp for |z.lo| up to an ulp of z.hi and
// |z.hi| up to 746.
template <class V>
struct Exp {
    V y;
    V t;
};

template <class V>
[[gnu::always_inline]] inline Exp<V> exp(const Sum<V> &z) {
    using namespace exp_data;
    const V t = z.hi * kInvL + kShifter;
    const V k = t - kShifter;
    const Row<V> e = row(simd::to_bits(t));
    const V r = ((z.hi - k * kLHi) - k * kLLo) + z.lo;
    const V p =
        r + (r * r) * (0.5 + r * (1.0 / 6 + r * (1.0 / 24 + r * (1.0 / 120 + r * (1.0 / 720)))));
    return {(p * (e.hi + e.lo) + e.lo) + e.hi, t};
}

// y·2^floor(N/64) by adding to the exponent field: exact when the result is a normal number.
template <class V>
[[gnu::always_inline]] inline V scale_normal(const Exp<V> &e) {
    const Bits<V> power = (simd::to_bits(e.t) << 46) & 0xFFF0000000000000;
    return simd::from_bits<V>(simd::to_bits(e.y) + power);
}

// The same for one element whose result may be subnormal, infinite or beyond: two exact
// scalings by normal powers of two, the second rounding once.
inline double scale_any(const Exp<double> &e) {
    const std::int64_t n = static_cast<std::int64_t>(static_cast<std::int32_t>(bits_of(e.t)));
    const std::int64_t e2 = n >> 6;
    const std::int64_t half = e2 >> 1;
    const auto power_of_two = [](std::int64_t p) {
        return double_from(static_cast<std::uint64_t>(p + 1023) << 52);
    };
    return (e.y * power_of_two(half)) * power_of_two(e2 - half);
}

}  // namespace korb::vecmath::precise
