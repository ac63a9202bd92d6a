// What the complex elementary functions (Exp, Ln, Log10, Pow, Powx, Sqrt, Sin, Cos, Sinh, Cosh,
// Tan, Tanh) share: real pieces carried as pairs of doubles, and the one-argument driver.
//
// Every piece works on one double and keeps about 2^-60 of relative accuracy or better, so that
// a complex result assembled from two or three of them and rounded once per part stays within
// about half an ulp plus the product's rounding:
//
//   sin_cos(x)      sin x and cos x as pairs: x = q·π/2 + r, r a pair from a three-part π/2
//                   (|x| < 2^19, the cancellation leaving |r| >= 2^-30) or from the bits of 2/π
//                   (trig_reduce.cpp) otherwise; Taylor series of sin and cos to r^19 and r^18,
//                   whose first omitted terms are below 2^-63 of the result on |r| <= π/4.
//   exp_scaled(x)   e^x = 2^k·(hi + lo) for |x| <= 1600, from dExp's table of 2^(j/64) and a
//                   degree-6 Taylor polynomial of e^r - 1 on |r| <= ln 2/128 (relative 2^-60).
//   sinh_cosh(x)    sinh x and cosh x as pairs with a common 2^k: Taylor series to x^17 for
//                   |x| < 1/2, (e^a ± e^-a)/2 from exp_scaled to |x| = 22, e^a/2 beyond.
//   ln_modulus(x,y) ln sqrt(x² + y²) as a pair: the squares exactly (Dekker), their sum to
//                   about 2^-106 of itself, and dLn's logarithm of a pair (ln_exp_precise.h);
//                   parts beyond [2^-500, 2^500] are scaled by a power of two first.
//
// The argument of a complex number comes from the zArg kernel (complex_arg.cpp, about half an
// ulp), run on blocks of the drivers' elements; Pow refines it to a pair with one step of
// sin_cos.
//
// The drivers run the element functions only: every element goes through the special-value
// tests and the arithmetic above, so the bits are those of scalar code whatever the class.
#pragma once

#include <cmath>
#include <concepts>
#include <cstdint>

#include "korb/kernel/vm.h"
#include "vecmath/dispatch.h"
#include "vecmath/kernels/complex.h"
#include "vecmath/kernels/double_double.h"
#include "vecmath/kernels/exp_data.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/ln_exp_precise.h"
#include "vecmath/kernels/trig_reduce.h"

// The double complex argument kernel (complex_arg.cpp); it reports nothing.
extern "C" void korb_vm_zArg_A(int n, const korb::vecmath::ComplexDouble *a, double *r);

namespace korb::vecmath::cxe {

using cx::Cx;
using dd::Pair;

constexpr double kPiHi = 0x1.921fb54442d18p1, kPiLo = 0x1.1a62633145c07p-53;
constexpr double kInf = __builtin_inf();

[[gnu::always_inline]] inline double quiet_nan_of(double v) {
    return double_from(bits_of(v) | cx::kQuietBit);
}
inline double domain_nan() {
    return double_from(kDomainNaN);
}

// The sum of two pairs, to about 2^-104 of the larger (no cancellation analysis needed where
// the callers use it: the terms' signs agree, or the result is compared with its modulus).
template <class V>
[[gnu::always_inline]] inline Pair<V> add(Pair<V> a, Pair<V> b) {
    const Pair<V> s = dd::two_sum(a.hi, b.hi);
    return dd::fast_two_sum(s.hi, (s.lo + a.lo) + b.lo);
}
// a·b for pairs whose product stays in the normal range (|a.hi|, |b.hi| below 2^995).
template <class V>
[[gnu::always_inline]] inline Pair<V> mul(Pair<V> a, Pair<V> b) {
    const Pair<V> p = dd::exact_product(a.hi, b.hi);
    return dd::fast_two_sum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}
template <class V>
[[gnu::always_inline]] inline Pair<V> mul(Pair<V> a, V b) {
    const Pair<V> p = dd::exact_product(a.hi, b);
    return dd::fast_two_sum(p.hi, p.lo + a.lo * b);
}
template <class V>
[[gnu::always_inline]] inline Pair<V> neg(Pair<V> a) {
    return {-a.hi, -a.lo};
}
// The pair rounded to one double.
template <class V>
[[gnu::always_inline]] inline V value(Pair<V> a) {
    return a.hi + a.lo;
}

// ---- Sine and cosine -----------------------------------------------------------------------

template <class V>
struct SinCosOf {
    Pair<V> s, c;
};
using SinCos = SinCosOf<double>;

// sin r and cos r for a pair r with |r| <= π/4 (a little beyond is harmless).
template <class V>
[[gnu::always_inline]] inline SinCosOf<V> sin_cos_reduced(Pair<V> r) {
    const V h = r.hi, l = r.lo, z = h * h;
    // sin h = h + h·z·S(z), the Taylor series to h^19.
    const V sz =
        z * (-1.0 / 6 +
             z * (1.0 / 120 + z * (-1.0 / 5040 +
                                   z * (1.0 / 362880 +
                                        z * (-1.0 / 39916800 +
                                             z * (1.0 / 6227020800 +
                                                  z * (-1.0 / 1307674368000 +
                                                       z * (1.0 / 355687428096000 +
                                                            z * (-1.0 / 121645100408832000)))))))));
    // sin(h + l) = sin h + l·cos h, cos h to second order.
    const Pair<V> s = dd::fast_two_sum(h, h * sz + l * (1.0 - z * 0.5));
    // cos h = 1 - h²/2 + z²·C(z), h² exact, the series to h^18.
    const Pair<V> sq = dd::exact_square(h);
    const Pair<V> c0 = dd::fast_two_sum(V{} + 1.0, sq.hi * -0.5);
    const V cz =
        (z * z) *
        (1.0 / 24 +
         z * (-1.0 / 720 +
              z * (1.0 / 40320 +
                   z * (-1.0 / 3628800 +
                        z * (1.0 / 479001600 +
                             z * (-1.0 / 87178291200 +
                                  z * (1.0 / 20922789888000 + z * (-1.0 / 6402373705728000))))))));
    // cos(h + l) = cos h - l·sin h.
    const Pair<V> c = dd::fast_two_sum(c0.hi, ((c0.lo - sq.lo * 0.5) - h * l) + cz);
    return {s, c};
}

// x = q·π/2 + r for finite x, r as a pair; q's two low bits only.
struct Reduced {
    Pair<double> r;
    std::uint64_t q;
};

constexpr double kQuarterPi = 0x1.921fb54442d18p-1;

// All ones where |v| < limit, by the bit patterns (no flag raised by a NaN lane, which is never
// below).
template <class V>
[[gnu::always_inline]] inline simd::Bits<V> magnitude_below(V v, double limit) {
    return simd::below(simd::to_bits(simd::abs(v)), simd::Bits<V>{} + bits_of(limit));
}

// x = k·π/2 + r for |x| < 2^19 with π/2 in three parts of 33, 33 and 53 bits (k·P1 and k·P2 are
// exact for k < 2^20); k's low bits are those of the returned pattern. r is trusted where
// |r.hi| >= 2^-30 (or |x| <= π/4, where the reduction is not used).
template <class V>
[[gnu::always_inline]] inline Pair<V> reduce_medium(V x, simd::Bits<V> &q) {
    constexpr double kP1 = 0x1.921fb544p0, kP2 = 0x1.0b4611a6p-34, kP3 = 0x1.3198a2e037073p-69;
    const V t = x * 0x1.45f306dc9c883p-1 + 0x1.8p52;
    const V k = t - 0x1.8p52;
    const V r1 = x - k * kP1;  // exact
    const Pair<V> r2 = dd::two_sum(r1, -(k * kP2));
    q = simd::to_bits(t);
    return dd::fast_two_sum(r2.hi, r2.lo - k * kP3);
}

// sin and cos of q·π/2 + r from those of r: exchanged in odd quadrants, the signs from q.
template <class V>
[[gnu::always_inline]] inline SinCosOf<V> quadrant(const SinCosOf<V> &sc, simd::Bits<V> q) {
    using B = simd::Bits<V>;
    const B odd = B{} - (q & 1);
    const B sin_sign = (q << 62) & kSignBit, cos_sign = ((q + 1) << 62) & kSignBit;
    auto flip = [](V v, B sign) { return simd::from_bits<V>(simd::to_bits(v) ^ sign); };
    return {{flip(simd::select(odd, sc.c.hi, sc.s.hi), sin_sign),
             flip(simd::select(odd, sc.c.lo, sc.s.lo), sin_sign)},
            {flip(simd::select(odd, sc.s.hi, sc.c.hi), cos_sign),
             flip(simd::select(odd, sc.s.lo, sc.c.lo), cos_sign)}};
}

inline Reduced reduce(double x) {
    const double ax = std::fabs(x);
    if (ax <= kQuarterPi) return {{x, 0.0}, 0};
    if (ax < 0x1p19) {
        std::uint64_t q;
        const Pair<double> r = reduce_medium(x, q);
        if (std::fabs(r.hi) >= 0x1p-30) return {r, q};
    }
    const LargeReduction large = reduce_large(x);
    return {{large.hi, large.lo}, large.q};
}

// sin x and cos x as pairs for finite x.
inline SinCos sin_cos(double x) {
    const Reduced red = reduce(x);
    return quadrant(sin_cos_reduced(red.r), red.q);
}

// The same for lanes of finite x with |x| < 2^19; refused (all ones) where the reduction
// cancels below 2^-30 and the element path reduces with the bits of 2/π.
template <class V>
[[gnu::always_inline]] inline SinCosOf<V> sin_cos_lanes(V x, simd::Bits<V> &refused) {
    simd::Bits<V> q;
    const Pair<V> medium = reduce_medium(x, q);
    const simd::Bits<V> small = magnitude_below(x, 0x1.921fb54442d19p-1);  // |x| <= π/4
    const Pair<V> r = {simd::select(small, x, medium.hi), simd::select(small, V{}, medium.lo)};
    q &= ~small;
    refused |= ~small & magnitude_below(medium.hi, 0x1p-30);
    return quadrant(sin_cos_reduced(r), q);
}
// sin and cos of a pair x.hi + x.lo, |x.lo| at most an ulp of x.hi: the low part is added to the
// reduced argument (exactly enough: it is far below the reduced argument's first bits unless
// that is small, when the sum is exact).
inline SinCos sin_cos(Pair<double> x) {
    Reduced red = reduce(x.hi);
    red.r = add(red.r, Pair<double>{x.lo, 0.0});
    return quadrant(sin_cos_reduced(red.r), red.q);
}

// ---- Exponential and hyperbolic functions --------------------------------------------------

// e^(x + xl) = 2^k·(m.hi + m.lo), |x| <= 1600, |xl| at most an ulp of x; m in [1, 2) roughly.
struct Scaled {
    Pair<double> m;
    int k;
};

// e^(x + xl) = 2^floor(N/64)·m, N in the low bits of t's pattern: one element or lanes.
template <class V>
[[gnu::always_inline]] inline Pair<V> exp_mantissa(V x, V xl, simd::Bits<V> &t_bits) {
    using namespace exp_data;
    const V t = x * kInvL + kShifter;
    const V n = t - kShifter;
    t_bits = simd::to_bits(t);
    const Row<V> row = exp_data::row(t_bits);
    const V r = ((x - n * kLHi) - n * kLLo) + xl;
    const V p =
        r + (r * r) * (0.5 + r * (1.0 / 6 + r * (1.0 / 24 + r * (1.0 / 120 + r * (1.0 / 720)))));
    return dd::fast_two_sum(row.hi, row.lo + p * (row.hi + row.lo));
}

inline Scaled exp_scaled(double x, double xl = 0.0) {
    std::uint64_t t;
    const Pair<double> m = exp_mantissa(x, xl, t);
    const auto big = static_cast<std::int64_t>(static_cast<std::int32_t>(t));
    return {m, static_cast<int>(big >> 6)};
}

// v·2^floor(N/64) for lanes, N in t's pattern, by adding to v's exponent field: exact, and the
// bits of the element path's scaling, where v and the result are normal (the callers refuse
// other lanes).
[[gnu::always_inline]] inline simd::Vec<double> scale_lanes(simd::Vec<double> v,
                                                            simd::Bits<simd::Vec<double>> t) {
    const simd::Bits<simd::Vec<double>> power = (t << 46) & 0xFFF0000000000000;
    return simd::from_bits<simd::Vec<double>>(simd::to_bits(v) + power);
}

// v·2^k, rounded once (also into the subnormal range, or to infinity).
inline double scale(double v, int k) {
    return std::scalbn(v, k);
}

// sinh x = 2^k·sh, cosh x = 2^k·ch for finite x (|x| clamped at 1600, where both overflow by
// far anyway).
struct Hyperbolic {
    Pair<double> sh, ch;
    int k;
};

// sinh a and cosh a for 0 <= a <= 22, unscaled: the Taylor series below 1/2, (e^a ± e^-a)/2
// above (e^-a normal, the powers of two exact).
template <class V>
struct HyperbolicOf {
    Pair<V> sh, ch;
};

template <class V>
[[gnu::always_inline]] inline HyperbolicOf<V> sinh_cosh_series(V a) {
    const V z = a * a;
    // sinh a = a + a·z·S(z), cosh a = 1 + a²/2 + z²·C(z): Taylor series to a^17 and a^16.
    const V sz =
        z * (1.0 / 6 +
             z * (1.0 / 120 +
                  z * (1.0 / 5040 +
                       z * (1.0 / 362880 +
                            z * (1.0 / 39916800 +
                                 z * (1.0 / 6227020800 +
                                      z * (1.0 / 1307674368000 + z * (1.0 / 355687428096000))))))));
    const Pair<V> sh = dd::fast_two_sum(a, a * sz);
    const Pair<V> sq = dd::exact_square(a);
    const Pair<V> c0 = dd::fast_two_sum(V{} + 1.0, sq.hi * 0.5);
    const V cz =
        (z * z) *
        (1.0 / 24 +
         z * (1.0 / 720 +
              z * (1.0 / 40320 + z * (1.0 / 3628800 +
                                      z * (1.0 / 479001600 + z * (1.0 / 87178291200 +
                                                                  z * (1.0 / 20922789888000)))))));
    return {sh, dd::fast_two_sum(c0.hi, (c0.lo + sq.lo * 0.5) + cz)};
}

// 2^floor(N/64) from t's pattern (dExp's reduction), for exponents of normal numbers.
template <class V>
[[gnu::always_inline]] inline V power_of_two(simd::Bits<V> t) {
    return simd::from_bits<V>(((t << 46) & 0xFFF0000000000000) + kOneBits);
}

template <class V>
[[gnu::always_inline]] inline HyperbolicOf<V> sinh_cosh_exp(V a) {
    simd::Bits<V> te, tf;
    const Pair<V> em = exp_mantissa(a, V{}, te), fm = exp_mantissa(-a, V{}, tf);
    const V pe = power_of_two<V>(te), pf = power_of_two<V>(tf);
    const Pair<V> ep = {em.hi * pe, em.lo * pe}, fp = {fm.hi * pf, fm.lo * pf};
    const Pair<V> sum = add(ep, fp), diff = add(ep, neg(fp));
    return {{diff.hi * 0.5, diff.lo * 0.5}, {sum.hi * 0.5, sum.lo * 0.5}};
}

// sinh x (signed) and cosh x for lanes with |x| <= 22: both forms, each lane taking its own.
template <class V>
[[gnu::always_inline]] inline HyperbolicOf<V> sinh_cosh_lanes(V x) {
    const V a = simd::abs(x);
    const HyperbolicOf<V> s = sinh_cosh_series(a), e = sinh_cosh_exp(a);
    const simd::Bits<V> series = magnitude_below(a, 0.5);
    const simd::Bits<V> sign = simd::to_bits(x) & kSignBit;
    auto pick = [&](V if_series, V if_exp) { return simd::select(series, if_series, if_exp); };
    auto signed_ = [&](V v) { return simd::from_bits<V>(simd::to_bits(v) ^ sign); };
    return {{signed_(pick(s.sh.hi, e.sh.hi)), signed_(pick(s.sh.lo, e.sh.lo))},
            {pick(s.ch.hi, e.ch.hi), pick(s.ch.lo, e.ch.lo)}};
}

inline Hyperbolic sinh_cosh(double x) {
    const double a = std::fabs(x);
    if (a <= 22.0) {
        const HyperbolicOf<double> h = a < 0.5 ? sinh_cosh_series(a) : sinh_cosh_exp(a);
        const std::uint64_t sign = bits_of(x) & kSignBit;
        return {
            {double_from(bits_of(h.sh.hi) ^ sign), double_from(bits_of(h.sh.lo) ^ sign)}, h.ch, 0};
    }
    // e^-a is below 2^-63 of e^a: both are e^a/2.
    const double sign = std::copysign(1.0, x);
    const Scaled e = exp_scaled(a < 1600.0 ? a : 1600.0);
    return {{sign * e.m.hi, sign * e.m.lo}, e.m, e.k - 1};
}

// ---- Logarithm of the modulus ----------------------------------------------------------------

// ln sqrt(x² + y²) as a pair, for finite x, y not both zero.
inline Pair<double> ln_modulus(double x, double y) {
    double a = std::fabs(x), b = std::fabs(y);
    if (a < b) {
        const double t = a;
        a = b;
        b = t;
    }
    int shift = 0;
    if (a > 0x1p500 || a < 0x1p-500) {
        int e;
        std::frexp(a, &e);
        shift = 1 - e;  // a·2^shift in [1, 2)
        a = std::ldexp(a, shift);
        b = std::ldexp(b, shift);
    }
    const Pair<double> a2 = dd::exact_square(a);
    const Pair<double> b2 = b < 0x1p-450 ? Pair<double>{b * b, 0.0} : dd::exact_square(b);
    const Pair<double> s = dd::two_sum(a2.hi, b2.hi);
    const Pair<double> norm = dd::fast_two_sum(s.hi, (s.lo + a2.lo) + b2.lo);
    const precise::Sum<double> ln = precise::ln_with_low(norm.hi, norm.lo);
    const Pair<double> half = {ln.hi * 0.5, ln.lo * 0.5};
    if (shift == 0) return half;
    // - shift·ln 2, with ln 2 as a pair (shift·LN2_HI exact: 42 bits times 11).
    constexpr double kLn2Hi = 0x1.62e42fefa3800p-1, kLn2Lo = 0x1.ef35793c76730p-45;
    const Pair<double> off = dd::fast_two_sum(-shift * kLn2Hi, -shift * kLn2Lo);
    return add(off, half);
}

// atan2(y, x) as a pair from its rounded value a: the correction δ = atan((y·cos a - x·sin a) /
// (x·cos a + y·sin a)) ≈ the quotient, formed from exact products; a + δ is within about 2^-100
// of the exact argument. For finite x, y, not both zero, and parts below 2^900.
inline Pair<double> refine_argument(double x, double y, double a) {
    const SinCos sc = sin_cos(a);
    const Pair<double> num = add(mul(sc.c, y), neg(mul(sc.s, x)));
    const Pair<double> den = add(mul(sc.c, x), mul(sc.s, y));
    const double delta = value(num) / value(den);
    return dd::fast_two_sum(a, delta);
}

// The same for any finite x, y not both zero: the parts are brought near 1 first (the argument
// does not change), so that the products stay exact.
inline Pair<double> argument_pair(double x, double y, double a) {
    const double big = std::fabs(x) > std::fabs(y) ? std::fabs(x) : std::fabs(y);
    int e;
    std::frexp(big, &e);
    return refine_argument(std::ldexp(x, 1 - e), std::ldexp(y, 1 - e), a);
}

// ---- Results and statuses --------------------------------------------------------------------

// NaN parts of a result settled: the first NaN among the arguments' parts, quieted, or the
// default NaN of an invalid operation; every class then gives the same bits.
inline Cx<double> settle(Cx<double> r, Cx<double> x, Cx<double> y) {
    if (!cx::has_nan(r)) return r;
    const double n = cx::has_nan(x) || cx::has_nan(y) ? cx::first_nan(x, y) : domain_nan();
    return {cx::is_nan(r.re) ? n : r.re, cx::is_nan(r.im) ? n : r.im};
}

// ---- The drivers ---------------------------------------------------------------------------

// The element functions take the argument widened to double and, where K::kNeedsArg, the
// argument's argument atan2(im, re) from zArg; they set status. K holds Element, kName,
// kNeedsArg and element(Cx<double> z, double arg, int &status) (or, for the two-argument and
// scalar kinds, element(Cx<double> z, Cx<double> w, double arg, int &status)).
constexpr int kChunk = 64;

// The result narrowed to T; a part that overflows only in the narrowing is reported as the
// double computation would have reported it.
template <class T>
[[gnu::always_inline]] inline Complex<T> narrow(Cx<double> z, int &status) {
    const Complex<T> r = cx::narrow<T>(z);
    if constexpr (sizeof(T) == 4) {
        if (status == ARQ_STATUS_OK && (std::isinf(r.re) || std::isinf(r.im)) &&
            !std::isinf(z.re) && !std::isinf(z.im)) {
            status = ARQ_STATUS_OVERFLOW;
        }
    }
    return r;
}

// v, hidden from the optimiser (an empty asm statement, no instruction): a conversion before it
// is never folded with one after it.
[[gnu::always_inline]] inline double opaque_value(double v) {
    asm("" : "+x"(v));
    return v;
}

// The argument widened to double. A float widened and narrowed back unchanged (a part passed
// through, as Exp's imaginary zero) is then converted both times, so that under
// denormals-are-zero a subnormal float reads as 0 in every class, as the lanes' conversions
// read it; folded, the compiler kept the float's bits in some classes and not in others.
// A double part is read as the arithmetic reads it (as_read): in the flushing mode a subnormal
// part is the zero of its sign, also where a kernel passes it through unchanged.
template <class T>
[[gnu::always_inline]] inline Cx<double> widen(Complex<T> z) {
    const Cx<double> w = cx::widen(z);
    if constexpr (sizeof(T) == 4) return {opaque_value(w.re), opaque_value(w.im)};
    return {as_read(w.re), as_read(w.im)};
}

template <class T>
inline void arguments_of(const Complex<T> *a, int n, double *arg) {
    ComplexDouble wide[kChunk];
    for (int i = 0; i < n; ++i)
        wide[i] = {static_cast<double>(a[i].re), static_cast<double>(a[i].im)};
    korb_vm_zArg_A(n, wide, arg);
}

// A kernel with lanes: K::lanes(cx::Lanes z, Bits &refused) computes a unit of complex numbers
// with the element path's operations and sets the refused lanes' bits.
template <class K>
concept HasLanes = requires(cx::Lanes z, simd::Bits<simd::Vec<double>> &refused) {
    { K::lanes(z, refused) } -> std::same_as<cx::Lanes>;
};

template <class K>
void run_one(int n, const Complex<typename K::Element> *a, Complex<typename K::Element> *r) {
    using T = typename K::Element;
    using V = simd::Vec<double>;
    if (n <= 0) return;
    KernelFrame frame;
    double arg[kChunk] = {};
    auto elements = [&](int begin, int end) {
        for (int i = begin; i < end; ++i) {
            const Complex<T> x = a[i];
            int status = ARQ_STATUS_OK;
            r[i] = narrow<T>(K::element(widen(x), arg[i % kChunk], status), status);
            if (status != ARQ_STATUS_OK) cx::report(status, i, a, a, r, K::kName, x, x);
        }
    };
    for (int begin = 0; begin < n; begin += kChunk) {
        const int count = n - begin < kChunk ? n - begin : kChunk;
        if constexpr (K::kNeedsArg) arguments_of(a + begin, count, arg);
        int j = 0;
        if constexpr (HasLanes<K>) {
            const T *pa = &a[0].re;
            T *pr = &r[0].re;
            for (; j + cx::kUnit <= count; j += cx::kUnit) {
                const int i = begin + j;
                cx::Lanes z;
                simd::load_complex(pa + 2 * i, z.re, z.im);
                simd::Bits<V> refused{};
                const cx::Lanes w = K::lanes(z, refused);
                if constexpr (sizeof(T) == 4) {
                    // A part beyond the floats is an overflow, which the element path reports.
                    refused |= ~magnitude_below(w.re, 0x1.fffffep127) |
                               ~magnitude_below(w.im, 0x1.fffffep127);
                }
                if (!simd::any(refused)) {
                    simd::store_complex(pr + 2 * i, w.re, w.im);
                } else {
                    elements(i, i + cx::kUnit);
                }
            }
        }
        elements(begin + j, begin + count);
    }
}

template <class K>
void run_two(int n, const Complex<typename K::Element> *a, const Complex<typename K::Element> *b,
             Complex<typename K::Element> *r) {
    using T = typename K::Element;
    if (n <= 0) return;
    KernelFrame frame;
    double arg[kChunk] = {};
    for (int begin = 0; begin < n; begin += kChunk) {
        const int count = n - begin < kChunk ? n - begin : kChunk;
        arguments_of(a + begin, count, arg);
        for (int j = 0; j < count; ++j) {
            const int i = begin + j;
            const Complex<T> x = a[i], y = b[i];
            int status = ARQ_STATUS_OK;
            r[i] = narrow<T>(K::element(widen(x), widen(y), arg[j], status), status);
            if (status != ARQ_STATUS_OK) cx::report(status, i, a, b, r, K::kName, x, y);
        }
    }
}

template <class K>
void run_scalar(int n, const Complex<typename K::Element> *a, Complex<typename K::Element> b,
                Complex<typename K::Element> *r) {
    using T = typename K::Element;
    if (n <= 0) return;
    KernelFrame frame;
    double arg[kChunk] = {};
    const Cx<double> w = widen(b);
    for (int begin = 0; begin < n; begin += kChunk) {
        const int count = n - begin < kChunk ? n - begin : kChunk;
        arguments_of(a + begin, count, arg);
        for (int j = 0; j < count; ++j) {
            const int i = begin + j;
            const Complex<T> x = a[i];
            int status = ARQ_STATUS_OK;
            r[i] = narrow<T>(K::element(widen(x), w, arg[j], status), status);
            // The record's second argument is the scalar exponent.
            if (status != ARQ_STATUS_OK) cx::report(status, i, a, a, r, K::kName, x, b);
        }
    }
}

}  // namespace korb::vecmath::cxe
