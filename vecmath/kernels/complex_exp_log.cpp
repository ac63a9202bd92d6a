// The complex exponential, logarithms, powers and square root: Exp, Ln, Log10, Pow, Powx and
// Sqrt in single (c) and double (z) precision. The real pieces are those of complex_elem.h;
// every kernel computes in double and rounds each part once (single precision: once more to
// float, from a value within about 2^-50 of the exact one).
//
//   Exp    e^x·cos y + i·e^x·sin y: e^x = 2^k·m as a pair and cos y, sin y as pairs, each part
//          m·cos y rounded once, then scaled by 2^k (one more rounding only for a subnormal
//          part): within about 0.5 ulp + 2^-55 relative in double. cExp's kernel A (slots LA and
//          EP) rounds m, cos y and sin y to doubles first: about 2^-51 from the exact parts, the
//          float result within 0.5 ulp + 2^-27.
//   Ln     ln|z| + i·arg z: ln|z| from the exact squares of the parts (the cancellation near
//          |z| = 1 costs nothing, the sum of the squares being exact to 2^-106 of itself), the
//          argument from zArg. cLn has three kernels: B (HA) as zLn; A (LA) forms |z|² - 1 as
//          (a - 1)(a + 1) + b² in double (exact or rounded once for float parts) and takes
//          ln(1 + that) for a = max(|x|, |y|) in [1/2, 2]; C (EP) takes ln(x² + y²)/2 in double.
//   Log10  Ln's parts times 1/ln 10 (a pair), the argument refined to a pair first (below).
//   Pow    z^w = e^(w·ln z): ln z with both parts as pairs (the argument refined to a pair by one
//          correction step), the products w·ln z as pairs, then Exp's method with the low parts
//          added to the reductions. Accurate while |w·ln z| stays below about 2^40; a larger
//          imaginary part leaves the angle's own error (2^-100 of it) visible.
//   Powx   Pow with one exponent for the whole vector.
//   Sqrt   t = sqrt((|x| + |z|)/2) with |z| = sqrt(x² + y²) as a pair and t as a pair; then
//          (t, y/2t) for x >= 0 and (|y|/2t, ±t) for x < 0, the quotient of pairs: within about
//          0.5 ulp per part. Parts beyond [2^-500, 2^500] are scaled by an even power of two.
//
// Special values as C99 Annex G gives them (the table is in docs/vecmath-special-values.md);
// statuses: a result with an infinite part from finite arguments is ARQ_STATUS_OVERFLOW, Ln(0)
// and Log10(0) are ARQ_STATUS_SING (so is 0^w with Re w < 0), an invalid operation of Annex G
// (Exp(x + i·inf), 0^w with Re w = 0 and Im w != 0) is ARQ_STATUS_ERRDOM. Underflow is not
// reported. NaN parts of a result are the first NaN of the arguments, quieted, or the default
// NaN of an invalid operation.
#include <cmath>

#include "vecmath/kernels/complex_elem.h"

namespace korb::vecmath {
namespace {

using cx::Cx;
using cxe::kInf;
using cxe::Pair;
using simd::Bits;
using simd::Vec;

constexpr double kInvLn10Hi = 0x1.bcb7b1526e50ep-2, kInvLn10Lo = 0x1.95355baaafad3p-57;

[[gnu::always_inline]] inline int overflow_status(Cx<double> r) {
    return std::isinf(r.re) || std::isinf(r.im) ? ARQ_STATUS_OVERFLOW : ARQ_STATUS_OK;
}

// ---- Exp -----------------------------------------------------------------------------------

// e^z for z with an infinite or NaN part.
Cx<double> exp_special(double x, double y, int &status) {
    const double nan = cxe::domain_nan();
    if (std::isnan(x)) return {x, y == 0.0 ? y : nan};
    if (std::isinf(x)) {
        if (x > 0) {
            if (y == 0.0) return {x, y};
            if (std::isinf(y)) {
                status = ARQ_STATUS_ERRDOM;
                return {x, nan};
            }
            if (std::isnan(y)) return {x, y};
            const cxe::SinCos sc = cxe::sin_cos(y);
            return {std::copysign(kInf, sc.c.hi), std::copysign(kInf, sc.s.hi)};
        }
        if (std::isinf(y) || std::isnan(y))
            return {0.0, std::isinf(y) ? std::copysign(0.0, y) : 0.0};
        const cxe::SinCos sc = cxe::sin_cos(y);
        return {std::copysign(0.0, sc.c.hi), std::copysign(0.0, sc.s.hi)};
    }
    // x finite, y infinite or NaN.
    if (std::isinf(y)) status = ARQ_STATUS_ERRDOM;
    return {nan, nan};
}

// e^x·cos y and e^x·sin y before the scaling by 2^k: the products of pairs rounded once
// (kernel B of cExp, zExp), or of the rounded factors (kernel A of cExp).
template <bool kAccurate, class V>
[[gnu::always_inline]] inline Cx<V> exp_parts(Pair<V> m, const cxe::SinCosOf<V> &sc) {
    if constexpr (kAccurate) {
        return {cxe::value(cxe::mul(m, sc.c)), cxe::value(cxe::mul(m, sc.s))};
    } else {
        const V mm = cxe::value(m);
        return {mm * cxe::value(sc.c), mm * cxe::value(sc.s)};
    }
}

template <bool kAccurate>
Cx<double> exp_element(Cx<double> z, int &status) {
    const double x = z.re, y = z.im;
    if (!cx::finite(z)) return cxe::settle(exp_special(x, y, status), z, z);
    const double xc = x > 1600.0 ? 1600.0 : (x < -1600.0 ? -1600.0 : x);
    const cxe::Scaled e = cxe::exp_scaled(xc);
    const cxe::SinCos sc = cxe::sin_cos(y);
    const Cx<double> p = exp_parts<kAccurate>(e.m, sc);
    // e^x + i·0 keeps the sign of the zero.
    const Cx<double> r = {cxe::scale(p.re, e.k), y == 0.0 ? y : cxe::scale(p.im, e.k)};
    status = overflow_status(r);
    return r;
}

// The lanes: |x| <= 600 and |y| < 2^19, the parts' values before the scaling at least 2^-100
// (so that the scaled parts are normal: the exponent is added to their bits), the reduction of
// y not cancelling.
template <bool kAccurate>
[[gnu::always_inline]] inline cx::Lanes exp_lanes(cx::Lanes z, Bits<Vec<double>> &refused) {
    using V = Vec<double>;
    refused |= ~cxe::magnitude_below(z.re, 0x1.2c00000000001p9) |  // |x| <= 600
               ~cxe::magnitude_below(z.im, 0x1p19);
    const cxe::SinCosOf<V> sc = cxe::sin_cos_lanes(z.im, refused);
    Bits<V> t;
    const Pair<V> m = cxe::exp_mantissa(z.re, V{}, t);
    const Cx<V> p = exp_parts<kAccurate>(m, sc);
    const Bits<V> zero_im = simd::mask<V>(z.im == 0.0);
    // An imaginary part that compares equal to 0 without being a zero is a subnormal read as 0
    // in the flushing mode: the element path gives it the zero's result.
    refused |= cxe::magnitude_below(p.re, 0x1p-100) |
               (~zero_im & cxe::magnitude_below(p.im, 0x1p-100)) |
               (zero_im & ~cxe::magnitude_below(z.im, 0x1p-1074));
    return {cxe::scale_lanes(p.re, t), simd::select(zero_im, z.im, cxe::scale_lanes(p.im, t))};
}

template <class T, bool kAccurate, const char *kFunction>
struct Exp {
    using Element = T;
    static constexpr const char *kName = kFunction;
    static constexpr bool kNeedsArg = false;
    static Cx<double> element(Cx<double> z, double, int &status) {
        return exp_element<kAccurate>(z, status);
    }
    static cx::Lanes lanes(cx::Lanes z, Bits<Vec<double>> &refused) {
        return exp_lanes<kAccurate>(z, refused);
    }
};

// ---- Ln and Log10 --------------------------------------------------------------------------

enum class LnMethod { kPairs, kNearOne, kPlain };

// ln|z| for finite z, not zero.
template <LnMethod kMethod>
Pair<double> ln_modulus(double x, double y) {
    if constexpr (kMethod == LnMethod::kPairs) {
        return cxe::ln_modulus(x, y);
    } else {
        // Float parts widened: the squares are exact and normal.
        double a = std::fabs(x), b = std::fabs(y);
        if (a < b) {
            const double t = a;
            a = b;
            b = t;
        }
        if (kMethod == LnMethod::kNearOne && a >= 0.5 && a <= 2.0) {
            // |z|² - 1, exact when it cancels.
            const double u = (a - 1.0) * (a + 1.0) + b * b;
            const Pair<double> one_u = dd::two_sum(1.0, u);
            const precise::Sum<double> ln = precise::ln_with_low(one_u.hi, one_u.lo);
            return {ln.hi * 0.5, ln.lo * 0.5};
        }
        const precise::Sum<double> ln = precise::ln<precise::Precision::kRounded>(a * a + b * b);
        return {ln.hi * 0.5, ln.lo * 0.5};
    }
}

// ln z (kLog10 false) or log10 z for any z, its argument given.
template <LnMethod kMethod, bool kLog10>
Cx<double> ln_element(Cx<double> z, double arg, int &status) {
    const double x = z.re, y = z.im;
    const double im =
        kLog10 ? cxe::value(cxe::mul(Pair<double>{kInvLn10Hi, kInvLn10Lo}, arg)) : arg;
    if (!cx::finite(z)) {
        // An infinite part gives +inf also with a NaN part; the argument carries the NaN.
        const double re = std::isinf(x) || std::isinf(y) ? kInf : cxe::domain_nan();
        return cxe::settle({re, im}, z, z);
    }
    if (x == 0.0 && y == 0.0) {
        status = ARQ_STATUS_SING;
        return {-kInf, im};
    }
    Pair<double> re = ln_modulus<kMethod>(x, y);
    if constexpr (kLog10) {
        // The argument as a pair, so that the product rounds once.
        const Pair<double> inv_ln10 = {kInvLn10Hi, kInvLn10Lo};
        re = cxe::mul(re, inv_ln10);
        return {cxe::value(re), cxe::value(cxe::mul(cxe::argument_pair(x, y, arg), inv_ln10))};
    }
    return {cxe::value(re), im};
}

template <class T, LnMethod kMethod, bool kLog10, const char *kFunction>
struct Ln {
    using Element = T;
    static constexpr const char *kName = kFunction;
    static constexpr bool kNeedsArg = true;
    static Cx<double> element(Cx<double> z, double arg, int &status) {
        return ln_element<kMethod, kLog10>(z, arg, status);
    }
};

// ---- Pow and Powx --------------------------------------------------------------------------

// ln z as pairs for finite z, not zero.
struct LnPairs {
    Pair<double> re, im;
};

LnPairs ln_pairs(double x, double y, double arg) {
    return {cxe::ln_modulus(x, y), cxe::argument_pair(x, y, arg)};
}

// z^w for z or w with an infinite or NaN part (w not zero): e^(w·ln z) with Annex G's ln and
// exp of the special values and the plain product.
Cx<double> pow_special(Cx<double> z, Cx<double> w, double arg, int &status) {
    int ignored = ARQ_STATUS_OK;
    Cx<double> l;
    if (cx::finite(z)) {
        l = {cxe::value(cxe::ln_modulus(z.re, z.im)), arg};
    } else {
        l = ln_element<LnMethod::kPairs, false>(z, arg, ignored);
    }
    const Cx<double> p = {w.re * l.re - w.im * l.im, w.re * l.im + w.im * l.re};
    Cx<double> r = exp_element<true>(p, ignored);
    status =
        cx::has_nan(r) && !cx::has_nan(z) && !cx::has_nan(w) ? ARQ_STATUS_ERRDOM : ARQ_STATUS_OK;
    return r;
}

Cx<double> pow_element(Cx<double> z, Cx<double> w, double arg, int &status) {
    if (w.re == 0.0 && w.im == 0.0) return {1.0, 0.0};
    if (cx::has_nan(z) || cx::has_nan(w))
        return cxe::settle({cxe::domain_nan(), cxe::domain_nan()}, z, w);
    if (z.re == 0.0 && z.im == 0.0) {
        if (w.re > 0.0) return {0.0, 0.0};
        if (w.re < 0.0) {
            status = ARQ_STATUS_SING;
            return {kInf, 0.0};
        }
        status = ARQ_STATUS_ERRDOM;
        return {cxe::domain_nan(), cxe::domain_nan()};
    }
    if (!cx::finite(z) || !cx::finite(w)) return cxe::settle(pow_special(z, w, arg, status), z, w);
    const LnPairs l = ln_pairs(z.re, z.im, arg);
    Pair<double> p_re, p_im;
    const double wmax = std::fabs(w.re) > std::fabs(w.im) ? std::fabs(w.re) : std::fabs(w.im);
    if (wmax < 0x1p900) {
        p_re = cxe::add(cxe::mul(l.re, w.re), cxe::neg(cxe::mul(l.im, w.im)));
        p_im = cxe::add(cxe::mul(l.im, w.re), cxe::mul(l.re, w.im));
    } else {
        // The power is far beyond the range (or its angle beyond any accuracy) unless ln z is 0.
        const double lr = cxe::value(l.re), li = cxe::value(l.im);
        p_re = {w.re * lr - w.im * li, 0.0};
        p_im = {w.re * li + w.im * lr, 0.0};
        if (!std::isfinite(p_re.hi) || !std::isfinite(p_im.hi)) {
            const Cx<double> r = exp_element<true>({p_re.hi, p_im.hi}, status);
            status = cx::has_nan(r) ? ARQ_STATUS_ERRDOM : overflow_status(r);
            return cxe::settle(r, z, w);
        }
    }
    if (p_re.hi > 1600.0) p_re = {1600.0, 0.0};
    if (p_re.hi < -1600.0) p_re = {-1600.0, 0.0};
    const cxe::Scaled e = cxe::exp_scaled(p_re.hi, p_re.lo);
    const cxe::SinCos sc = cxe::sin_cos(p_im);
    const Cx<double> r = {cxe::scale(cxe::value(cxe::mul(e.m, sc.c)), e.k),
                          cxe::scale(cxe::value(cxe::mul(e.m, sc.s)), e.k)};
    status = overflow_status(r);
    return r;
}

template <class T, const char *kFunction>
struct Pow {
    using Element = T;
    static constexpr const char *kName = kFunction;
    static Cx<double> element(Cx<double> z, Cx<double> w, double arg, int &status) {
        return pow_element(z, w, arg, status);
    }
};

// ---- Sqrt ----------------------------------------------------------------------------------

Cx<double> sqrt_special(double x, double y) {
    if (std::isinf(y)) return {kInf, y};
    if (std::isinf(x)) {
        if (x > 0) return {x, std::isnan(y) ? y : std::copysign(0.0, y)};
        if (std::isnan(y)) return {y, kInf};
        return {0.0, std::copysign(kInf, y)};
    }
    const double nan = std::isnan(x) ? x : y;
    return {nan, nan};
}

Cx<double> sqrt_element(Cx<double> z, double, int &status) {
    status = ARQ_STATUS_OK;
    double x = z.re, y = z.im;
    if (!cx::finite(z)) return cxe::settle(sqrt_special(x, y), z, z);
    if (x == 0.0 && y == 0.0) return {0.0, y};
    const double big = std::fabs(x) > std::fabs(y) ? std::fabs(x) : std::fabs(y);
    int half_shift = 0;
    if (big > 0x1p500 || big < 0x1p-500) {
        int e;
        std::frexp(big, &e);  // big in [2^(e-1), 2^e)
        half_shift = (1 - e) / 2;
        x = std::ldexp(x, 2 * half_shift);
        y = std::ldexp(y, 2 * half_shift);
    }
    double a = std::fabs(x), b = std::fabs(y);
    const double lo = a < b ? a : b, hi = a < b ? b : a;
    const Pair<double> h2 = dd::exact_square(hi);
    const Pair<double> l2 = lo < 0x1p-450 ? Pair<double>{lo * lo, 0.0} : dd::exact_square(lo);
    const Pair<double> norm = cxe::add(h2, l2);
    const Pair<double> modulus = dd::sqrt(norm);
    const Pair<double> sum = cxe::add(modulus, Pair<double>{a, 0.0});
    const Pair<double> t = dd::sqrt(Pair<double>{sum.hi * 0.5, sum.lo * 0.5});
    const Pair<double> q = dd::divide(Pair<double>{b, 0.0}, Pair<double>{t.hi * 2.0, t.lo * 2.0});
    double re, im;
    if (!std::signbit(x)) {
        re = cxe::value(t);
        im = std::copysign(cxe::value(q), y);
    } else {
        re = cxe::value(q);
        im = std::copysign(cxe::value(t), y);
    }
    return {cxe::scale(re, -half_shift), cxe::scale(im, -half_shift)};
}

template <class T, const char *kFunction>
struct Sqrt {
    using Element = T;
    static constexpr const char *kName = kFunction;
    static constexpr bool kNeedsArg = false;
    static Cx<double> element(Cx<double> z, double arg, int &status) {
        return sqrt_element(z, arg, status);
    }
};

constexpr char kcExp[] = "vcExp", kzExp[] = "vzExp", kcLn[] = "vcLn", kzLn[] = "vzLn",
               kcLog10[] = "vcLog10", kzLog10[] = "vzLog10", kcPow[] = "vcPow", kzPow[] = "vzPow",
               kcPowx[] = "vcPowx", kzPowx[] = "vzPowx", kcSqrt[] = "vcSqrt", kzSqrt[] = "vzSqrt";

}  // namespace

#define KORB_COMPLEX_ONE(name, T, ...)                                                     \
    extern "C" __attribute__((visibility("hidden"))) void name(int n, const Complex<T> *a, \
                                                               Complex<T> *r) {            \
        cxe::run_one<__VA_ARGS__>(n, a, r);                                                \
    }

KORB_COMPLEX_ONE(korb_vm_cExp_A, float, Exp<float, false, kcExp>)
KORB_COMPLEX_ONE(korb_vm_cExp_B, float, Exp<float, true, kcExp>)
KORB_COMPLEX_ONE(korb_vm_zExp_A, double, Exp<double, true, kzExp>)
KORB_COMPLEX_ONE(korb_vm_cLn_A, float, Ln<float, LnMethod::kNearOne, false, kcLn>)
KORB_COMPLEX_ONE(korb_vm_cLn_B, float, Ln<float, LnMethod::kPairs, false, kcLn>)
KORB_COMPLEX_ONE(korb_vm_cLn_C, float, Ln<float, LnMethod::kPlain, false, kcLn>)
KORB_COMPLEX_ONE(korb_vm_zLn_A, double, Ln<double, LnMethod::kPairs, false, kzLn>)
KORB_COMPLEX_ONE(korb_vm_cLog10_A, float, Ln<float, LnMethod::kPairs, true, kcLog10>)
KORB_COMPLEX_ONE(korb_vm_zLog10_A, double, Ln<double, LnMethod::kPairs, true, kzLog10>)
KORB_COMPLEX_ONE(korb_vm_cSqrt_A, float, Sqrt<float, kcSqrt>)
KORB_COMPLEX_ONE(korb_vm_zSqrt_A, double, Sqrt<double, kzSqrt>)

extern "C" __attribute__((visibility("hidden"))) void korb_vm_cPow_A(int n, const ComplexFloat *a,
                                                                     const ComplexFloat *b,
                                                                     ComplexFloat *r) {
    cxe::run_two<Pow<float, kcPow>>(n, a, b, r);
}
extern "C" __attribute__((visibility("hidden"))) void korb_vm_zPow_A(int n, const ComplexDouble *a,
                                                                     const ComplexDouble *b,
                                                                     ComplexDouble *r) {
    cxe::run_two<Pow<double, kzPow>>(n, a, b, r);
}
extern "C" __attribute__((visibility("hidden"))) void korb_vm_cPowx_A(int n, const ComplexFloat *a,
                                                                      ComplexFloat b,
                                                                      ComplexFloat *r) {
    cxe::run_scalar<Pow<float, kcPowx>>(n, a, b, r);
}
extern "C" __attribute__((visibility("hidden"))) void korb_vm_zPowx_A(int n, const ComplexDouble *a,
                                                                      ComplexDouble b,
                                                                      ComplexDouble *r) {
    cxe::run_scalar<Pow<double, kzPowx>>(n, a, b, r);
}

}  // namespace korb::vecmath
