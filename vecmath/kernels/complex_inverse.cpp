// The complex inverse trigonometric and hyperbolic functions, single (c) and double (z): Asin,
// Acos, Asinh, Acosh (one method) and Atan, Atanh (another), each one kernel in all three slots.
//
// Arcsine and arccosine, after Hull, Fairgrieve and Tang (ACM TOMS 23(3), 1997), for x = |re|,
// y = |im| finite. With r = |z + 1|, s = |z - 1| and A = (r + s)/2,
//   asin(x + iy) = atan2(x, C) + i·ln(A + sqrt(A² - 1)),   C = sqrt((A - x)(A + x)),
// since sin(re asin) = x/A. Both A - x and A - 1 are formed without cancellation, from
// r - (x + 1) = y²/(r + (x + 1)) and s - |x - 1| = y²/(s + |x - 1|):
//   x < 1:   A - x = (y²/(r + x + 1) + s + 1 - x)/2,    A - 1 = (y²/(r + x + 1) + y²/(s + 1 - x))/2
//   x >= 1:  A - x = (y²/(r + x + 1) + y²/(s + x - 1))/2, A - 1 = (y²/(r + x + 1) + s + x - 1)/2
// and the imaginary part is log1p(A - 1 + sqrt((A - 1)(A + 1))). Where the paper switches to
// asin(x/A) for small x/A, the two-argument arctangent serves every x (its relative condition is at
// most 1), and acos's real part is atan2(C, re) with re's sign, which is π - acos|re| for a
// negative real part without a subtraction. Two regions have closed forms instead:
//   - max(x, y) >= 2^28: asin z = -i·ln(2iz) + O(z^-2), a relative change below 2^-56 in each
//     part: atan2(x, y) + i·(ln|z| + ln 2), |z| scaled by a power of two where it would overflow;
//   - y < 2^-450 (where y² would leave the normal range): first-order forms in y, whose next
//     terms are below 2^-800 relative: for x < 1, C = sqrt((1 - x)(1 + x)) and the imaginary part
//     y/C; for x = 1, sqrt(y) twice; for x > 1, C = y·x/sqrt((x - 1)(x + 1)) (so acos's real part
//     is about y/sqrt(x² - 1), not 0; carried as C/x against 1) and the imaginary part acosh x.
// The relations asinh z = i·asin(-iz)... are applied to the parts: asinh(x + iy) takes its real
// part from asin's imaginary part of (|y|, |x|) and its imaginary part from asin's real part;
// acosh takes |im acos| and acos's real part, each with the sign C99 Annex G gives.
//
// Arctangent and hyperbolic arctangent, after Kahan ("Branch cuts for complex elementary
// functions", 1987), for x = |re|, y = |im| finite:
//   atanh(x + iy) = log1p(4x/((1 - x)² + y²))/4 + i·atan2(2y, (1 - x)(1 + x) - y²)/2,
// and atan z = -i·atanh(iz). The real part's argument has no cancellation; the imaginary part's
// second argument cancels only near the unit circle, where the angle is near π/2 and the
// cancellation moves it by far less than an ulp. For u = x/((1 - x)² + y²) below 2^-20 the real
// part is the series u - 2u² + 16u³/3 - 16u⁴ (no scaling by 4 and back, which would round twice
// for subnormal results). For max(x, y) >= 2^28, atanh z = 1/z + O(z^-3): the real part is
// x/|z|² and the imaginary part atan2(y, -|z|²/2)/2 (= atan2(2y, 1 - |z|²)/2 to 2^-56), both with
// x and y scaled by a power of two. At x = 1 with y < 2^-450 the real part is (ln 2 - ln y)/2.
//
// The elementary pieces are the library's own: the hypot of cAbs (hypot.h), the angle of zArg
// (arg_value.h), and the logarithm of a sum of two doubles (ln_exp_precise.h) for log1p and ln.
// Every part is a short chain of operations each within half an ulp and of relative condition at
// most about 1, so the double kernels stay within about 2 ulp per part in the worst case and far
// less on average (the measured bounds are in vecmath/functions.def and docs/vecmath.md). The
// single kernels compute the same on the exactly widened floats and round once to float.
//
// Special values are those of C99 Annex G (the tables of casin, cacos, casinh, cacosh, catan,
// catanh, with casin z = -i·casinh(iz) and catan z = -i·catanh(iz)); the sign of a zero part picks
// the side of a branch cut (asin and acos on the real axis beyond ±1, atanh beyond ±1, asinh and
// atan on the imaginary axis beyond ±i, acosh on the real axis below 1). Where Annex G leaves the
// sign of an infinite or zero part unspecified, the result takes the sign of the argument's
// corresponding part (acos(±Inf + i·NaN) = NaN - i·Inf as for a positive imaginary part,
// asinh(NaN ± i·Inf) = +Inf + i·NaN, atanh(NaN ± i·Inf) = +0 ± i·π/2). Atanh(±1 ± i0) and
// Atan(±0 ± i) are poles: ±Inf in the infinite part, ARQ_STATUS_SING. Finite arguments give
// finite results otherwise (no overflow: the largest part is about ln 2^1025), and no status.
// A NaN part of a result is the first NaN among the argument's parts, quieted.
//
// Vectors: the lanes take units of complex numbers in the ordinary regions (max(x, y) < 2^28,
// for asin's family y >= 2^-450, for atanh's not x = 1 with y < 2^-450, and parts whose angle
// stays in zArg's lane range); both branches of each choice are computed and blended, with the
// same operations as the element path, so a lane gives the element path's bits. A unit with any
// other lane goes element by element.
#include <cmath>
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/arg_value.h"
#include "vecmath/kernels/complex.h"
#include "vecmath/kernels/double_double.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/hypot.h"
#include "vecmath/kernels/ln_exp_precise.h"

namespace korb::vecmath {
namespace {

using cx::Cx;

constexpr double kPi = 0x1.921fb54442d18p+1;
constexpr double kHalfPi = 0x1.921fb54442d18p+0;
constexpr double kQuarterPi = 0x1.921fb54442d18p-1;
constexpr double kThreeQuarterPi = 0x1.2d97c7f3321d2p+1;
constexpr double kLn2Hi = 0x1.62e42fefa39efp-1;
constexpr double kLn2Lo = 0x1.abc9e3b39803fp-56;
constexpr double kInf = __builtin_inf();

// Beyond this magnitude of either part the asymptotic forms hold to 2^-56 relative.
constexpr double kLarge = 0x1p28;
// Below this imaginary part (of asin's (x, y)) y² is no longer a normal number.
constexpr double kTinyY = 0x1p-450;

double quiet_nan(Cx<double> z) {
    return cx::first_nan(z, z);
}

using dd::Pair;
using simd::Bits;
using simd::Vec;

// Pair arithmetic on a double or a vector of doubles (relative error near 2^-100 each).
template <class V>
[[gnu::always_inline]] inline Pair<V> constant(double v) {
    return {V{} + v, V{} + 0.0};
}
template <class V>
[[gnu::always_inline]] inline Pair<V> add(Pair<V> a, Pair<V> b) {
    const Pair<V> s = dd::two_sum(a.hi, b.hi);
    return dd::fast_two_sum(s.hi, s.lo + (a.lo + b.lo));
}
template <class V>
[[gnu::always_inline]] inline Pair<V> mul(Pair<V> a, Pair<V> b) {
    const Pair<V> p = dd::exact_product(a.hi, b.hi);
    return dd::fast_two_sum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}
template <class V>
[[gnu::always_inline]] inline Pair<V> half(Pair<V> a) {
    return {a.hi * 0.5, a.lo * 0.5};
}
template <class V>
[[gnu::always_inline]] inline Pair<V> negative(Pair<V> a) {
    return {-a.hi, -a.lo};
}
// a² for a pair.
template <class V>
[[gnu::always_inline]] inline Pair<V> square(Pair<V> a) {
    const Pair<V> p = dd::exact_square(a.hi);
    return dd::fast_two_sum(p.hi, p.lo + (a.hi + a.hi) * a.lo);
}
// |x - 1| as a pair: the sign of x - 1 cleared from both parts.
template <class V>
[[gnu::always_inline]] inline Pair<V> distance_to_one(V x) {
    const Pair<V> d = dd::two_sum(x, V{} + -1.0);
    const Bits<V> sign = simd::to_bits(d.hi) & kSignBit;
    return {simd::from_bits<V>(simd::to_bits(d.hi) ^ sign),
            simd::from_bits<V>(simd::to_bits(d.lo) ^ sign)};
}
// magnitude with the sign of from.
template <class V>
[[gnu::always_inline]] inline V sign_of(V from, V magnitude) {
    return simd::from_bits<V>((simd::to_bits(magnitude) & ~Bits<V>{} >> 1) |
                              (simd::to_bits(from) & kSignBit));
}
// ln(s.hi + s.lo) rounded once, for a positive normal pair.
[[gnu::always_inline]] inline double ln_sum(Pair<double> s) {
    const precise::Sum<double> l = precise::ln_with_low(s.hi, s.lo);
    return l.hi + l.lo;
}
[[gnu::always_inline]] inline Vec<double> ln_sum(Pair<Vec<double>> s) {
    const precise::Sum<Vec<double>> l = precise::ln_with_low(s.hi, s.lo);
    return l.hi + l.lo;
}
// log1p(t.hi + t.lo) for a finite pair t >= 0, rounded once: the series t - t²/2 + t³/3 - t⁴/4
// below 2^-20 (the next term is below 2^-80 of t), else the logarithm of 1 + t.
template <class V>
[[gnu::always_inline]] inline V log1p_pair(Pair<V> t) {
    const V u = t.hi;
    const V series = u + (t.lo + u * u * (-0.5 + u * (1.0 / 3 + u * -0.25)));
    if constexpr (simd::kCount<V> == 1) {
        if (u < 0x1p-20) return series;
        return ln_sum(add(constant<V>(1.0), t));
    } else {
        return simd::select(simd::mask<V>(u < 0x1p-20), series, ln_sum(add(constant<V>(1.0), t)));
    }
}

double ln_pair(double hi, double lo) {
    return ln_sum(Pair<double>{hi, lo});
}

// ln y for finite y > 0, subnormals included.
double ln_any(double y) {
    if (y < 0x1p-1022) {
        const precise::Sum<double> l = precise::ln_with_low(y * 0x1p64, 0.0);
        const Pair<double> k = dd::two_sum(l.hi, -64 * kLn2Hi);
        return k.hi + (k.lo + (l.lo - 64 * kLn2Lo));
    }
    return ln_pair(y, 0.0);
}

// ln|z| + ln 2 for finite x, y >= 0 with max(x, y) >= 2^28.
double ln_twice_modulus(double x, double y) {
    int e = 1;
    if (x >= 0x1p500 || y >= 0x1p500) {
        x *= 0x1p-600;
        y *= 0x1p-600;
        e += 600;
    }
    const double h = hypot::core(x, y);
    const precise::Sum<double> l = precise::ln_with_low(h, 0.0);
    const Pair<double> k = dd::exact_product(static_cast<double>(e), kLn2Hi);
    const Pair<double> s = dd::two_sum(l.hi, k.hi);
    return s.hi + (s.lo + (l.lo + (k.lo + e * kLn2Lo)));
}

// The ordinary region of asin(x + iy), x, y >= 0, max(x, y) < 2^28, y >= 2^-450: C of the real
// part atan2(x, C) and the imaginary part, for one element or lanes alike. The quantities of the
// method are carried as pairs of doubles, so that only C and the last steps round at full weight.
template <class V>
struct ArcCore {
    V c, im;
};

template <class V>
[[gnu::always_inline]] inline ArcCore<V> arc_core(V x, V y) {
    const Pair<V> xp = dd::two_sum(x, V{} + 1.0), xm = distance_to_one(x);
    const Pair<V> y2 = dd::exact_square(y);
    const Pair<V> r = dd::sqrt(add(square(xp), y2));
    const Pair<V> s = dd::sqrt(add(square(xm), y2));
    const Pair<V> a = half(add(r, s));
    const Pair<V> upper = dd::divide(y2, add(r, xp));  // r - (x + 1)
    const Pair<V> s_plus = add(s, xm);
    const Pair<V> lower = dd::divide(y2, s_plus);  // s - |x - 1|
    // A - x and A - 1: for x < 1, (upper + s + 1 - x)/2 and (upper + lower)/2; for x >= 1,
    // (upper + lower)/2 and (upper + s + x - 1)/2.
    const Bits<V> inside = simd::mask<V>(x < 1.0);
    const Pair<V> first = {simd::select(inside, s_plus.hi, lower.hi),
                           simd::select(inside, s_plus.lo, lower.lo)};
    const Pair<V> second = {simd::select(inside, lower.hi, s_plus.hi),
                            simd::select(inside, lower.lo, s_plus.lo)};
    const Pair<V> a_minus_x = half(add(upper, first));
    const Pair<V> a_minus_1 = half(add(upper, second));
    const Pair<V> c = dd::sqrt(mul(a_minus_x, add(a, Pair<V>{x, V{} + 0.0})));
    const Pair<V> w = add(a_minus_1, dd::sqrt(mul(a_minus_1, add(a, constant<V>(1.0)))));
    return {c.hi, log1p_pair(w)};
}

// asin(x + iy) for finite x, y >= 0, as the pair (num, den) of its real part atan2(num, den)
// (acos's real part is atan2(den, ±num) with the sign of the argument's real part; num is x, or
// 1 where both are scaled by 1/x) and its imaginary part im.
struct ArcParts {
    double num, den, im;
};

ArcParts arc_parts(double x, double y) {
    if (x >= kLarge || y >= kLarge) return {x, y, ln_twice_modulus(x, y)};
    if (y < kTinyY) {
        if (x < 1.0) {
            const Pair<double> x2 = dd::exact_square(x);
            const Pair<double> c = dd::sqrt(add(constant<double>(1.0), negative(x2)));
            return {x, c.hi, dd::divide(constant<double>(y), c).hi};
        }
        if (x == 1.0) {
            const double q = simd::sqrt(y);
            return {1.0, q, q};
        }
        const Pair<double> xm = distance_to_one(x);
        const Pair<double> d = dd::sqrt(mul(xm, dd::two_sum(x, 1.0)));
        // (x, C) scaled by 1/x: C/x = y/sqrt(x² - 1) rounds once.
        return {1.0, dd::divide(constant<double>(y), d).hi, log1p_pair(add(xm, d))};
    }
    const ArcCore<double> p = arc_core(x, y);
    return {x, p.c, p.im};
}

// atanh(x + iy) for finite x, y >= 0: re >= 0, im in [0, π/2].
template <class V>
struct Parts {
    V re, im;
};

// The ordinary region, max(x, y) < 2^28 and not x = 1 with y < 2^-450: one element or lanes.
template <class V>
[[gnu::always_inline]] inline Parts<V> atanh_core(V x, V y, V im) {
    const Pair<V> y2 = dd::exact_square(y);
    const Pair<V> u =
        dd::divide(Pair<V>{x, V{} + 0.0}, add(square(dd::two_sum(V{} + 1.0, -x)), y2));
    const V v = u.hi;
    const V series = v + (u.lo + v * v * (-2.0 + v * (16.0 / 3 + v * -16.0)));
    if constexpr (simd::kCount<V> == 1) {
        if (v < 0x1p-20) return {series, im};
        return {0.25 * ln_sum(add(constant<V>(1.0), Pair<V>{4.0 * u.hi, 4.0 * u.lo})), im};
    } else {
        const V logarithm = 0.25 * ln_sum(add(constant<V>(1.0), Pair<V>{u.hi * 4.0, u.lo * 4.0}));
        return {simd::select(simd::mask<V>(v < 0x1p-20), series, logarithm), im};
    }
}
// 1 - x² - y², whose cancellation near the unit circle only moves an angle near π/2.
template <class V>
[[gnu::always_inline]] inline Pair<V> one_minus_squares(V x, V y) {
    return add(add(constant<V>(1.0), negative(dd::exact_square(x))), negative(dd::exact_square(y)));
}

Parts<double> atanh_parts(double x, double y) {
    if (x >= kLarge || y >= kLarge) {
        int e;
        std::frexp(x > y ? x : y, &e);
        const double xs = std::ldexp(x, -e), ys = std::ldexp(y, -e);
        const Pair<double> q = add(dd::exact_square(xs), dd::exact_square(ys));
        return {std::ldexp(dd::divide(constant<double>(xs), q).hi, -e),
                0.5 * arg_value(-0.5 * q.hi, std::ldexp(ys, -e))};
    }
    const double im = 0.5 * arg_value(one_minus_squares(x, y).hi, y + y);
    if (x == 1.0 && y < kTinyY) {
        // The pole at 1 (y reads as 0 also when it is subnormal and the mode treats it as 0).
        if (y == 0.0) return {kInf, im};
        return {0.5 * (kLn2Hi - ln_any(y)), im};
    }
    return atanh_core(x, y, im);
}

// -v, but a NaN keeps its bits (a NaN part is the argument's first NaN, as it was).
double negate(double v) {
    return cx::is_nan(v) ? v : -v;
}

// ---- The special values (an infinite or NaN part) --------------------------------------------

// Each takes the NaN its NaN parts are to be (that of the caller's argument).
Cx<double> asinh_special(Cx<double> z, double nan) {
    const double x = z.re, y = z.im;
    if (cx::is_nan(x)) {
        if (y == 0.0) return {nan, y};
        if (cx::is_inf(y)) return {kInf, nan};
        return {nan, nan};
    }
    if (cx::is_nan(y)) return {cx::is_inf(x) ? x : nan, nan};
    if (cx::is_inf(x)) return {x, sign_of(y, cx::is_inf(y) ? kQuarterPi : 0.0)};
    return {sign_of(x, kInf), sign_of(y, kHalfPi)};
}

Cx<double> acos_special(Cx<double> z, double nan) {
    const double x = z.re, y = z.im;
    if (cx::is_nan(x)) return {nan, cx::is_inf(y) ? -y : nan};
    if (cx::is_nan(y)) {
        if (cx::is_inf(x)) return {nan, -kInf};
        return {x == 0.0 ? kHalfPi : nan, nan};
    }
    if (cx::is_inf(x)) {
        const double re =
            cx::is_inf(y) ? (x < 0 ? kThreeQuarterPi : kQuarterPi) : (x < 0 ? kPi : 0.0);
        return {re, -sign_of(y, kInf)};
    }
    return {kHalfPi, -y};
}

Cx<double> acosh_special(Cx<double> z, double nan) {
    const double x = z.re, y = z.im;
    if (cx::is_nan(x)) return {cx::is_inf(y) ? kInf : nan, nan};
    if (cx::is_nan(y)) return {cx::is_inf(x) ? kInf : nan, nan};
    if (cx::is_inf(x)) {
        const double im =
            cx::is_inf(y) ? (x < 0 ? kThreeQuarterPi : kQuarterPi) : (x < 0 ? kPi : 0.0);
        return {kInf, sign_of(y, im)};
    }
    return {kInf, sign_of(y, kHalfPi)};
}

Cx<double> atanh_special(Cx<double> z, double nan) {
    const double x = z.re, y = z.im;
    if (cx::is_nan(x))
        return cx::is_inf(y) ? Cx<double>{0.0, sign_of(y, kHalfPi)} : Cx<double>{nan, nan};
    if (cx::is_nan(y)) {
        if (cx::is_inf(x)) return {sign_of(x, 0.0), nan};
        return {x == 0.0 ? x : nan, nan};
    }
    return {sign_of(x, 0.0), sign_of(y, kHalfPi)};
}

// ---- The functions of one element ------------------------------------------------------------

Cx<double> asinh_value(Cx<double> z) {
    if (!cx::finite(z)) return asinh_special(z, quiet_nan(z));
    const ArcParts p = arc_parts(std::fabs(z.im), std::fabs(z.re));
    return {sign_of(z.re, p.im), sign_of(z.im, arg_value(p.den, p.num))};
}

// asin z = -i·asinh(iz).
Cx<double> asin_value(Cx<double> z) {
    if (!cx::finite(z)) {
        const Cx<double> w = asinh_special({negate(z.im), z.re}, quiet_nan(z));
        return {w.im, negate(w.re)};
    }
    const ArcParts p = arc_parts(std::fabs(z.re), std::fabs(z.im));
    return {sign_of(z.re, arg_value(p.den, p.num)), sign_of(z.im, p.im)};
}

Cx<double> acos_value(Cx<double> z) {
    if (!cx::finite(z)) return acos_special(z, quiet_nan(z));
    const ArcParts p = arc_parts(std::fabs(z.re), std::fabs(z.im));
    return {arg_value(sign_of(z.re, p.num), p.den), -sign_of(z.im, p.im)};
}

Cx<double> acosh_value(Cx<double> z) {
    if (!cx::finite(z)) return acosh_special(z, quiet_nan(z));
    const ArcParts p = arc_parts(std::fabs(z.re), std::fabs(z.im));
    return {p.im, sign_of(z.im, arg_value(sign_of(z.re, p.num), p.den))};
}

// nan: the NaN of the caller's argument (atan passes iz).
Cx<double> atanh_value(Cx<double> z, double nan, int &status) {
    if (!cx::finite(z)) return atanh_special(z, nan);
    const Parts<double> p = atanh_parts(std::fabs(z.re), std::fabs(z.im));
    if (cx::is_inf(p.re)) status = ARQ_STATUS_SING;
    return {sign_of(z.re, p.re), sign_of(z.im, p.im)};
}

// atan z = -i·atanh(iz).
Cx<double> atan_value(Cx<double> z, int &status) {
    const Cx<double> w = atanh_value({negate(z.im), z.re}, quiet_nan(z), status);
    return {w.im, negate(w.re)};
}

enum class Function { asin, acos, asinh, acosh, atan, atanh };

template <Function kF>
Cx<double> value(Cx<double> z, int &status) {
    status = ARQ_STATUS_OK;
    switch (kF) {
        case Function::asin:
            return asin_value(z);
        case Function::acos:
            return acos_value(z);
        case Function::asinh:
            return asinh_value(z);
        case Function::acosh:
            return acosh_value(z);
        case Function::atan:
            return atan_value(z, status);
        case Function::atanh:
            return atanh_value(z, quiet_nan(z), status);
    }
    return z;
}

// ---- Lanes ---------------------------------------------------------------------------------

using cx::Lanes;

// The lanes' range of the angle (arg_value.h).
constexpr double kAngleLow = 0x1p-500;

[[gnu::always_inline]] inline Bits<Vec<double>> below(Vec<double> v, double limit) {
    return simd::below(simd::to_bits(simd::abs(v)), simd::to_bits(Vec<double>{} + limit));
}
[[gnu::always_inline]] inline Vec<double> angle(Vec<double> x, Vec<double> y) {
    Vec<double> a;
    arg_value(x, y, a);
    return a;
}

// Asin, Acos, Asinh, Acosh: the ordinary region (arc_core) in every lane, the angle in its range;
// the element path takes units with any other lane.
template <Function kF>
Lanes arc_lanes(Lanes z, bool &refused) {
    using V = Vec<double>;
    constexpr bool kSwap = kF == Function::asinh;  // asinh(x + iy) from asin's parts of (|y|, |x|)
    const V x = simd::abs(kSwap ? z.im : z.re), y = simd::abs(kSwap ? z.re : z.im);
    Bits<V> bad = cx::not_below(x, kLarge) | cx::not_below(y, kLarge) | below(y, kTinyY) |
                  cx::small_nonzero(x, kAngleLow);
    const ArcCore<V> p = arc_core(x, y);
    bad |= below(p.c, kAngleLow);
    refused = simd::any(bad);
    if constexpr (kF == Function::asin) {
        return {sign_of(z.re, angle(p.c, x)), sign_of(z.im, p.im)};
    } else if constexpr (kF == Function::asinh) {
        return {sign_of(z.re, p.im), sign_of(z.im, angle(p.c, x))};
    } else if constexpr (kF == Function::acos) {
        return {angle(z.re, p.c), -sign_of(z.im, p.im)};
    } else {
        return {p.im, sign_of(z.im, angle(z.re, p.c))};
    }
}

// Atan, Atanh: the ordinary region of atanh_core in every lane, the angle in its range.
template <Function kF>
Lanes atanh_lanes(Lanes z, bool &refused) {
    using V = Vec<double>;
    constexpr bool kSwap = kF == Function::atan;  // atan(x + iy) from atanh's parts of (|y|, |x|)
    const V x = simd::abs(kSwap ? z.im : z.re), y = simd::abs(kSwap ? z.re : z.im);
    const V two_y = y + y;
    const V d = one_minus_squares(x, y).hi;
    const Bits<V> bad = cx::not_below(x, kLarge) | cx::not_below(y, kLarge) |
                        (simd::mask<V>(x == 1.0) & below(y, kTinyY)) |
                        cx::small_nonzero(two_y, kAngleLow) | cx::small_nonzero(d, kAngleLow);
    refused = simd::any(bad);
    const Parts<V> p = atanh_core(x, y, angle(d, two_y) * 0.5);
    if constexpr (kF == Function::atanh) {
        return {sign_of(z.re, p.re), sign_of(z.im, p.im)};
    } else {
        return {sign_of(z.re, p.im), sign_of(z.im, p.re)};
    }
}

template <Function kF>
[[gnu::always_inline]] inline Lanes lanes(Lanes z, bool &refused) {
    if constexpr (kF == Function::atan || kF == Function::atanh) {
        return atanh_lanes<kF>(z, refused);
    } else {
        return arc_lanes<kF>(z, refused);
    }
}

// Units of lanes (two at a time, so that their chains interleave), a unit with a refused lane
// element by element, the tail element by element. A pole is reported after its result is
// written, with the argument as read before (the kernels may run in place).
template <class T, Function kF>
void run(int n, const Complex<T> *a, Complex<T> *r, const char *name) {
    if (n <= 0) return;
    KernelFrame frame;
    auto elements = [&](int begin, int end) {
        for (int i = begin; i < end; ++i) {
            const Complex<T> x = a[i];
            int status;
            // Each part as the arithmetic reads it: in the flushing mode a subnormal part is the
            // zero of its sign, whether or not the compiler folds the widening away.
            const Complex<T> read{as_read(x.re), as_read(x.im)};
            r[i] = cx::narrow<T>(value<kF>(cx::widen(read), status));
            if (status != ARQ_STATUS_OK) cx::report(status, i, a, a, r, name, x, x);
        }
    };
    if constexpr (sizeof(T) == 4) {
        // Single precision stays on the element path: with the lanes, the sweep digests of
        // cAsin and cAsinh in the AVX2 and AVX-512 classes varied from run to run (not found
        // yet; docs/vecmath.md, "Open defects").
        elements(0, n);
        return;
    }
    constexpr int kUnit = cx::kUnit;
    const T *pa = &a[0].re;
    T *pr = &r[0].re;
    int i = 0;
    for (; i + 2 * kUnit <= n; i += 2 * kUnit) {
        Lanes x0, x1;
        simd::load_complex(pa + 2 * i, x0.re, x0.im);
        simd::load_complex(pa + 2 * (i + kUnit), x1.re, x1.im);
        bool refused0 = false, refused1 = false;
        const Lanes z0 = lanes<kF>(x0, refused0);
        const Lanes z1 = lanes<kF>(x1, refused1);
        if (!refused0) {
            simd::store_complex(pr + 2 * i, z0.re, z0.im);
        } else {
            elements(i, i + kUnit);
        }
        if (!refused1) {
            simd::store_complex(pr + 2 * (i + kUnit), z1.re, z1.im);
        } else {
            elements(i + kUnit, i + 2 * kUnit);
        }
    }
    for (; i + kUnit <= n; i += kUnit) {
        Lanes x;
        simd::load_complex(pa + 2 * i, x.re, x.im);
        bool refused = false;
        const Lanes z = lanes<kF>(x, refused);
        if (!refused) {
            simd::store_complex(pr + 2 * i, z.re, z.im);
        } else {
            elements(i, i + kUnit);
        }
    }
    elements(i, n);
}

}  // namespace

#define KORB_COMPLEX_INVERSE(Func, f)                                          \
    extern "C" __attribute__((visibility("hidden"))) void korb_vm_c##Func##_A( \
        int n, const ComplexFloat *a, ComplexFloat *r) {                       \
        run<float, Function::f>(n, a, r, "vc" #Func);                          \
    }                                                                          \
    extern "C" __attribute__((visibility("hidden"))) void korb_vm_z##Func##_A( \
        int n, const ComplexDouble *a, ComplexDouble *r) {                     \
        run<double, Function::f>(n, a, r, "vz" #Func);                         \
    }

KORB_COMPLEX_INVERSE(Asin, asin)
KORB_COMPLEX_INVERSE(Acos, acos)
KORB_COMPLEX_INVERSE(Asinh, asinh)
KORB_COMPLEX_INVERSE(Acosh, acosh)
KORB_COMPLEX_INVERSE(Atan, atan)
KORB_COMPLEX_INVERSE(Atanh, atanh)

#undef KORB_COMPLEX_INVERSE

}  // namespace korb::vecmath
