// The complex argument, arg(x + iy) = atan2(y, x), single (cArg) and double (zArg); a real
// result, within 1 ulp (about half an ulp in double, correctly rounded in single but for double
// rounding near midpoints).
//
// With the smaller magnitude num and the larger den, t = num/den is formed as t + tl exactly
// enough (the remainder num - t·den from an exact product), rounded to the nearest k/32 = c, and
// atan(t) = atan(c) + atan(u), u = (t - c)/(1 + t·c), |u| <= 1/64. The numerator and the
// denominator of u, and u itself, are kept as pairs of doubles, atan(u) - u is an odd polynomial
// of degree 11 (the Taylor series; the first term left out is below 2^-82 relative), atan(c) a
// pair from the table of tools/atan_table. The octant is put back as B + σ·atan(t) with B one of
// 0, π/2, π (pairs too) and σ = ±1, and the sign of y last. Only the final addition rounds to
// double: the error is 0.5 ulp plus about 2^-50 relative. Single precision, computed in double,
// needs atan(t) only to about 2^-40: t and u are rounded once each and the series stops at u^5,
// which leaves the float result within 0.5 + 2^-12 ulp at worst (0.5 measured).
//
// The lanes take finite parts whose larger magnitude lies in [2^-500, 2^500) and whose smaller is
// 0 or at least 2^-500; the element path scales other finite parts by a power of two (the
// quotient is unchanged), and gives the special values of C99's atan2: arg(±0 + i·±0) is ±0 for
// a real part of +0 and ±π for -0, an infinite part gives a multiple of π/4, a NaN part a NaN.
// Nothing is reported: no argument is out of the domain.
#include <cmath>
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/arg_value.h"
#include "vecmath/kernels/complex.h"
#include "vecmath/kernels/exact.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using cx::Cx;
using cx::Lanes;
using exact::Pair;
using simd::Bits;
using simd::Vec;

struct AtanEntry {
    double hi;
    double lo;
};

// atan(k/32) for k = 0..32, then π/2 and π.
alignas(16) constexpr AtanEntry kAtan[35] = {
#include "vecmath/kernels/atan_table.inc"
};
constexpr AtanEntry kHalfPi = kAtan[33];
constexpr AtanEntry kPi = kAtan[34];
constexpr double kQuarterPi = kAtan[32].hi;
constexpr double kThreeQuarterPi = 0x1.2d97c7f3321d2p+1;  // 3π/4 rounded to nearest

constexpr double kShifter = 0x1.8p52;  // t·32 + kShifter holds round(32·t) in its last bits

// The Taylor coefficients of atan(u) - u.
constexpr double kA3 = -1.0 / 3, kA5 = 1.0 / 5, kA7 = -1.0 / 7, kA9 = 1.0 / 9, kA11 = -1.0 / 11;

template <class V>
struct Row {
    V hi, lo;
};

[[gnu::always_inline]] inline Row<double> row(std::uint64_t s_bits) {
    const AtanEntry &e = kAtan[s_bits & 63];
    return {e.hi, e.lo};
}

[[gnu::always_inline]] inline Row<Vec<double>> row(Vec<std::uint64_t> s_bits) {
    alignas(simd::kNativeBytes) std::uint64_t stored[simd::kCount<Vec<double>>];
    simd::store_lanes(stored, s_bits);
    const std::uint64_t *k = simd::opaque(stored);
    Row<Vec<double>> r;
    simd::gather_pairs<2>(
        &kAtan[0].hi, [k](int l) { return k[l] & 63; }, r.hi, r.lo);
    return r;
}

// atan2(y, x) for finite x, y in the lanes' range (see above); the same operations for one
// element and for a vector.
template <bool kSingle, class V>
[[gnu::always_inline]] inline V argument(V x, V y) {
    const V ax = simd::abs(x), ay = simd::abs(y);
    const Bits<V> swap = simd::mask<V>(ay > ax);
    const V num = simd::select(swap, ax, ay), den = simd::select(swap, ay, ax);
    Pair<V> v;
    V v_lo;
    if constexpr (kSingle) {
        // A float result needs atan(t) to about 2^-40 only: t and u rounded once each, atan(c)
        // to double, the series to u^5 (the next term is below 2^-44 of u).
        const V t = num / den;
        const V s = t * 32.0 + kShifter;
        const V c = (s - kShifter) * 0.03125;
        const Row<V> a = row(simd::to_bits(s));
        const V u = (t - c) / (1.0 + t * c);
        const V u2 = u * u;
        v.hi = a.hi + (u + u * u2 * (kA3 + u2 * kA5));
        v_lo = V{} + 0.0;
    } else {
        // t + tl = num/den: the remainder num - t·den is exact (num - p.hi by Sterbenz).
        const V t = num / den;
        const Pair<V> p = exact::product(t, den);
        const V tl = ((num - p.hi) - p.lo) / den;
        // c = k/32 nearest t, and u = (t + tl - c) / (1 + (t + tl)·c) as a pair.
        const V s = t * 32.0 + kShifter;
        const V c = (s - kShifter) * 0.03125;
        const Row<V> a = row(simd::to_bits(s));
        const Pair<V> n = exact::sum(t - c, tl);  // t - c is exact
        const Pair<V> tc = exact::product(t, c);
        const Pair<V> d = exact::sum(V{} + 1, tc.hi);
        const V d_lo = d.lo + (tc.lo + tl * c);
        const V u = n.hi / d.hi;
        const Pair<V> ud = exact::product(u, d.hi);
        const V u_lo = (((n.hi - ud.hi) - ud.lo) + n.lo - u * d_lo) / d.hi;
        const V u2 = u * u;
        const V poly = u * u2 * (kA3 + u2 * (kA5 + u2 * (kA7 + u2 * (kA9 + u2 * kA11))));
        // atan(t) = atan(c) + atan(u) as the pair (v.hi, v_lo).
        v = exact::sum(a.hi, u);
        v_lo = v.lo + ((a.lo + u_lo) + poly);
    }
    // The octant: B + σ·atan(t), with B = π/2 where swapped, else π for x < 0, else 0, and
    // σ = -1 where exactly one of swap and x < 0 holds.
    const Bits<V> negative = simd::to_bits(x) & kSignBit;
    const Bits<V> minus = (swap & kSignBit) ^ negative;
    const Bits<V> x_negative = simd::mask<V>(negative != 0);
    const V b_hi = simd::select(swap, V{} + kHalfPi.hi,
                                simd::from_bits<V>(simd::to_bits(V{} + kPi.hi) & x_negative));
    const V b_lo = simd::select(swap, V{} + kHalfPi.lo,
                                simd::from_bits<V>(simd::to_bits(V{} + kPi.lo) & x_negative));
    const V sv_hi = simd::from_bits<V>(simd::to_bits(v.hi) ^ minus);
    const V sv_lo = simd::from_bits<V>(simd::to_bits(v_lo) ^ minus);
    const Pair<V> w = exact::sum(b_hi, sv_hi);
    const V result = w.hi + (w.lo + (b_lo + sv_lo));
    return simd::from_bits<V>(simd::to_bits(result) | (simd::to_bits(y) & kSignBit));
}

constexpr double kHigh = 0x1p500, kLow = 0x1p-500;

// atan2(y, x) for any x, y: the special values, the scaling, then argument().
template <bool kSingle>
double element_argument(double x, double y) {
    if (__builtin_isnan(x) || __builtin_isnan(y)) return cx::first_nan({x, y}, {x, y});
    const double sign = std::copysign(1.0, y);
    if (__builtin_isinf(y)) {
        if (__builtin_isinf(x)) return sign * (x > 0 ? kQuarterPi : kThreeQuarterPi);
        return sign * kHalfPi.hi;
    }
    if (__builtin_isinf(x)) return x > 0 ? std::copysign(0.0, y) : sign * kPi.hi;
    const double ax = std::fabs(x), ay = std::fabs(y);
    if (ax == 0.0 && ay == 0.0) return std::signbit(x) ? sign * kPi.hi : y;
    const double big = ax > ay ? ax : ay, small = ax > ay ? ay : ax;
    if (big >= kHigh || big < kLow || (small != 0.0 && small < kLow)) {
        // atan(t) = t·(1 - t²/3 + ...) rounds as t does for t below 2^-60, and y/x rounds t
        // once, also into the subnormal range, where the scaled path below would round twice.
        if (ax >= ay && !std::signbit(x) && ay <= ax * 0x1p-60) return y / x;
        // A power of two that brings the larger part to [1, 2); the quotient stays the same,
        // and t = small/big is at least 2^-60 or only adds to a multiple of π/2.
        int e;
        std::frexp(big, &e);
        x = std::ldexp(x, 1 - e);
        y = std::ldexp(y, 1 - e);
    }
    return argument<kSingle>(x, y);
}

template <class T, const char *kFunction>
struct Arg {
    using Element = T;
    static constexpr const char *kName = kFunction;
    static constexpr bool kSingle = sizeof(T) == 4;

    // Parts that the flushing mode reads as zero are zeros here too (arg(±0 + i·±0) gives a
    // part back by its bits otherwise), whether or not the compiler folds a single part's
    // widening and the result's narrowing into nothing.
    static double element(Cx<double> z, int &status) {
        status = ARQ_STATUS_OK;
        return element_argument<kSingle>(as_read(z.re), as_read(z.im));
    }

    static Vec<double> lanes(Lanes z, bool &refused) {
        const Bits<Vec<double>> re = simd::to_bits(simd::abs(z.re));
        const Bits<Vec<double>> im = simd::to_bits(simd::abs(z.im));
        const Bits<Vec<double>> high = Bits<Vec<double>>{} + bits_of(kHigh);
        const Bits<Vec<double>> low = Bits<Vec<double>>{} + bits_of(kLow);
        const Bits<Vec<double>> one = Bits<Vec<double>>{} + 1;
        // Parts below 2^500, neither small but not zero, not both zero.
        const Bits<Vec<double>> bad = ~simd::below(re, high) | ~simd::below(im, high) |
                                      (simd::below(re, low) & ~simd::below(re, one)) |
                                      (simd::below(im, low) & ~simd::below(im, one)) |
                                      (simd::below(re, one) & simd::below(im, one));
        refused = simd::any(bad);
        return argument<kSingle>(z.re, z.im);
    }
};

constexpr char kCArg[] = "vcArg", kZArg[] = "vzArg";

}  // namespace

double arg_value(double x, double y) {
    return element_argument<false>(x, y);
}
void arg_value(const Vec<double> &x, const Vec<double> &y, Vec<double> &angle) {
    angle = argument<false>(x, y);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_cArg_A(int n, const ComplexFloat *a,
                                                                     float *r) {
    cx::run_to_real<Arg<float, kCArg>>(n, a, r);
}
extern "C" __attribute__((visibility("hidden"))) void korb_vm_zArg_A(int n, const ComplexDouble *a,
                                                                     double *r) {
    cx::run_to_real<Arg<double, kZArg>>(n, a, r);
}

}  // namespace korb::vecmath
