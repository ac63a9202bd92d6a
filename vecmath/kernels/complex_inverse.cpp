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
//     is about y/sqrt(x² - 1), not 0) and the imaginary part acosh x.
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
// Every element goes through the element path: no lanes yet (the pieces above have vector forms,
// so a vector path is a matter of blending the regions).
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

Pair<double> constant(double v) {
    return {v, 0.0};
}
Pair<double> add(Pair<double> a, Pair<double> b) {
    const Pair<double> s = dd::two_sum(a.hi, b.hi);
    return dd::fast_two_sum(s.hi, s.lo + (a.lo + b.lo));
}
Pair<double> mul(Pair<double> a, Pair<double> b) {
    const Pair<double> p = dd::exact_product(a.hi, b.hi);
    return dd::fast_two_sum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}
Pair<double> half(Pair<double> a) {
    return {0.5 * a.hi, 0.5 * a.lo};
}
// a² for a pair.
Pair<double> square(Pair<double> a) {
    const Pair<double> p = dd::exact_square(a.hi);
    return dd::fast_two_sum(p.hi, p.lo + 2.0 * a.hi * a.lo);
}
// |x - 1| and x + 1 as pairs.
Pair<double> distance_to_one(double x) {
    const Pair<double> d = dd::two_sum(x, -1.0);
    return d.hi < 0 ? Pair<double>{-d.hi, -d.lo} : d;
}

// ln(hi + lo) rounded once, for positive normal hi and |lo| at most half an ulp of hi.
double ln_pair(double hi, double lo) {
    const precise::Sum<double> l = precise::ln_with_low(hi, lo);
    return l.hi + l.lo;
}

// log1p(t.hi + t.lo) for a finite pair t >= 0, rounded once.
double log1p_positive(Pair<double> t) {
    if (t.hi < 0x1p-20) {
        // t - t²/2 + t³/3 - t⁴/4: the next term is below 2^-80 of t.
        const double u = t.hi;
        return u + (t.lo + u * u * (-0.5 + u * (1.0 / 3 + u * -0.25)));
    }
    const Pair<double> s = add(constant(1.0), t);
    return ln_pair(s.hi, s.lo);
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

// asin(x + iy) for finite x, y >= 0, as the pair (num, den) of its real part atan2(num, den)
// (acos's real part is atan2(den, re) with the argument's signed real part) and its imaginary
// part im. The quantities of the method are carried as pairs of doubles (relative error near
// 2^-100), so that only den and the last steps round at full weight.
struct ArcParts {
    double num, den, im;
};

ArcParts arc_parts(double x, double y) {
    if (x >= kLarge || y >= kLarge) return {x, y, ln_twice_modulus(x, y)};
    if (y < kTinyY) {
        if (x < 1.0) {
            const Pair<double> x2 = dd::exact_square(x);
            const Pair<double> c = dd::sqrt(add(constant(1.0), {-x2.hi, -x2.lo}));
            return {x, c.hi, dd::divide(constant(y), c).hi};
        }
        if (x == 1.0) {
            const double q = simd::sqrt(y);
            return {1.0, q, q};
        }
        const Pair<double> xm = distance_to_one(x);
        const Pair<double> d = dd::sqrt(mul(xm, dd::two_sum(x, 1.0)));
        return {x, y * dd::divide(constant(x), d).hi, log1p_positive(add(xm, d))};
    }
    const Pair<double> xp = dd::two_sum(x, 1.0), xm = distance_to_one(x);
    const Pair<double> y2 = dd::exact_square(y);
    const Pair<double> r = dd::sqrt(add(square(xp), y2));
    const Pair<double> s = dd::sqrt(add(square(xm), y2));
    const Pair<double> a = half(add(r, s));
    const Pair<double> upper = dd::divide(y2, add(r, xp));  // r - (x + 1)
    const Pair<double> s_plus = add(s, xm);
    const Pair<double> lower = dd::divide(y2, s_plus);      // s - |x - 1|
    Pair<double> a_minus_x, a_minus_1;
    if (x < 1.0) {
        a_minus_x = half(add(upper, s_plus));
        a_minus_1 = half(add(upper, lower));
    } else {
        a_minus_x = half(add(upper, lower));
        a_minus_1 = half(add(upper, s_plus));
    }
    const Pair<double> c = dd::sqrt(mul(a_minus_x, add(a, constant(x))));
    const Pair<double> w = add(a_minus_1, dd::sqrt(mul(a_minus_1, add(a, constant(1.0)))));
    return {x, c.hi, log1p_positive(w)};
}

// atanh(x + iy) for finite x, y >= 0: re >= 0, im in [0, π/2].
struct Parts {
    double re, im;
};

Parts atanh_parts(double x, double y) {
    if (x >= kLarge || y >= kLarge) {
        int e;
        std::frexp(x > y ? x : y, &e);
        const double xs = std::ldexp(x, -e), ys = std::ldexp(y, -e);
        const Pair<double> q = add(dd::exact_square(xs), dd::exact_square(ys));
        return {std::ldexp(dd::divide(constant(xs), q).hi, -e),
                0.5 * arg_value(-0.5 * q.hi, std::ldexp(ys, -e))};
    }
    const Pair<double> x2 = dd::exact_square(x), y2 = dd::exact_square(y);
    // 1 - x² - y², whose cancellation near the unit circle only moves an angle near π/2.
    const Pair<double> d = add(add(constant(1.0), {-x2.hi, -x2.lo}), {-y2.hi, -y2.lo});
    const double im = 0.5 * arg_value(d.hi, y + y);
    if (x == 1.0 && y < kTinyY) {
        // The pole at 1 (y reads as 0 also when it is subnormal and the mode treats it as 0).
        if (y == 0.0) return {kInf, im};
        return {0.5 * (kLn2Hi - ln_any(y)), im};
    }
    const Pair<double> u = dd::divide(constant(x), add(square(dd::two_sum(1.0, -x)), y2));
    if (u.hi < 0x1p-20) {
        const double v = u.hi;
        return {v + (u.lo + v * v * (-2.0 + v * (16.0 / 3 + v * -16.0))), im};
    }
    return {0.25 * log1p_positive({4.0 * u.hi, 4.0 * u.lo}), im};
}

double sign_of(double from, double magnitude) {
    return std::copysign(magnitude, from);
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
        const double re = cx::is_inf(y) ? (x < 0 ? kThreeQuarterPi : kQuarterPi) : (x < 0 ? kPi : 0.0);
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
    if (cx::is_nan(x)) return cx::is_inf(y) ? Cx<double>{0.0, sign_of(y, kHalfPi)} : Cx<double>{nan, nan};
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
    return {arg_value(z.re, p.den), -sign_of(z.im, p.im)};
}

Cx<double> acosh_value(Cx<double> z) {
    if (!cx::finite(z)) return acosh_special(z, quiet_nan(z));
    const ArcParts p = arc_parts(std::fabs(z.re), std::fabs(z.im));
    return {p.im, sign_of(z.im, arg_value(z.re, p.den))};
}

// nan: the NaN of the caller's argument (atan passes iz).
Cx<double> atanh_value(Cx<double> z, double nan, int &status) {
    if (!cx::finite(z)) return atanh_special(z, nan);
    const Parts p = atanh_parts(std::fabs(z.re), std::fabs(z.im));
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
        case Function::asin: return asin_value(z);
        case Function::acos: return acos_value(z);
        case Function::asinh: return asinh_value(z);
        case Function::acosh: return acosh_value(z);
        case Function::atan: return atan_value(z, status);
        case Function::atanh: return atanh_value(z, quiet_nan(z), status);
    }
    return z;
}

// Element by element under the kernel frame; a pole is reported after its result is written,
// with the argument as read before (the kernels may run in place).
template <class T, Function kF>
void run(int n, const Complex<T> *a, Complex<T> *r, const char *name) {
    if (n <= 0) return;
    KernelFrame frame;
    for (int i = 0; i < n; ++i) {
        const Complex<T> x = a[i];
        int status;
        r[i] = cx::narrow<T>(value<kF>(cx::widen(x), status));
        if (status != ARQ_STATUS_OK) cx::report(status, i, a, a, r, name, x, x);
    }
}

}  // namespace

#define KORB_COMPLEX_INVERSE(Func, f)                                                         \
    extern "C" __attribute__((visibility("hidden"))) void korb_vm_c##Func##_A(                \
        int n, const ComplexFloat *a, ComplexFloat *r) {                                      \
        run<float, Function::f>(n, a, r, "vc" #Func);                                         \
    }                                                                                         \
    extern "C" __attribute__((visibility("hidden"))) void korb_vm_z##Func##_A(                \
        int n, const ComplexDouble *a, ComplexDouble *r) {                                    \
        run<double, Function::f>(n, a, r, "vz" #Func);                                        \
    }

KORB_COMPLEX_INVERSE(Asin, asin)
KORB_COMPLEX_INVERSE(Acos, acos)
KORB_COMPLEX_INVERSE(Asinh, asinh)
KORB_COMPLEX_INVERSE(Acosh, acosh)
KORB_COMPLEX_INVERSE(Atan, atan)
KORB_COMPLEX_INVERSE(Atanh, atanh)

#undef KORB_COMPLEX_INVERSE

}  // namespace korb::vecmath
