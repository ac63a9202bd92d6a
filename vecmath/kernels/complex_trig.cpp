// The complex hyperbolic and trigonometric functions: Sinh, Cosh, Tanh, Sin, Cos and Tan in
// single (c) and double (z) precision, from the real pieces of complex_elem.h.
//
//   Sinh   sinh x·cos y + i·cosh x·sin y
//   Cosh   cosh x·cos y + i·sinh x·sin y
//          sinh x and cosh x as pairs with a common power of two, cos y and sin y as pairs; each
//          part is one product of pairs rounded once and scaled (a second rounding only for a
//          subnormal part): within about 0.5 ulp + 2^-55 relative.
//   Tanh   (sinh x·cosh x + i·sin y·cos y) / (sinh² x + cos² y): tanh z = sinh z·conj(cosh z) /
//          |cosh z|², whose denominator is a sum of squares (no cancellation near the poles, where
//          (cosh 2x + cos 2y)/2 would lose every digit) and whose imaginary numerator is
//          sin y·cos y (cosh² - sinh² = 1); products and the quotients as pairs, each part rounded
//          once. For |x| > 22 the real part is ±1 and the imaginary part 4·sin y·cos y·e^-2|x|.
//   Sin    sin z = -i·sinh(iz), Cos cos z = cosh(iz), Tan tan z = -i·tanh(iz): iz = -y + ix, so
//          each is the hyperbolic function of (-y, x) with its parts exchanged (and one negated);
//          the special values and statuses follow, as C99 Annex G defines them.
//
// Special values as C99 Annex G gives them for csinh, ccosh and ctanh (the zero real part of
// ctanh(±0 + i·inf) and ctanh(±0 + i·NaN) kept, as the newer C standard has it); an invalid
// operation (a finite x with an infinite y, and the infinite pairs Annex G marks invalid) is
// ARQ_STATUS_ERRDOM; a result with an infinite part from finite arguments ARQ_STATUS_OVERFLOW.
// NaN parts are settled as in complex_exp_log.cpp.
#include <cmath>

#include "vecmath/kernels/complex_elem.h"

namespace korb::vecmath {
namespace {

using cx::Cx;
using cxe::kInf;
using cxe::Pair;
using simd::Bits;
using simd::Vec;

[[gnu::always_inline]] inline int overflow_status(Cx<double> r) {
    return std::isinf(r.re) || std::isinf(r.im) ? ARQ_STATUS_OVERFLOW : ARQ_STATUS_OK;
}

// The product of two pairs scaled by 2^k, rounded once before the scaling; a zero first factor
// keeps the sign of the plain product.
[[gnu::always_inline]] inline double scaled_product(Pair<double> a, Pair<double> b, int k) {
    if (a.hi == 0.0 || b.hi == 0.0) return a.hi * b.hi;
    return cxe::scale(cxe::value(cxe::mul(a, b)), k);
}

// ---- Sinh ----------------------------------------------------------------------------------

Cx<double> sinh_special(double x, double y, int &status) {
    const double nan = cxe::domain_nan();
    if (std::isnan(x)) return {x, y == 0.0 ? y : nan};
    if (std::isinf(x)) {
        if (y == 0.0) return {x, y};
        if (std::isinf(y)) {
            status = ARQ_STATUS_ERRDOM;
            return {x, nan};
        }
        if (std::isnan(y)) return {x, y};
        const cxe::SinCos sc = cxe::sin_cos(y);
        return {std::copysign(kInf, x * sc.c.hi), std::copysign(kInf, sc.s.hi)};
    }
    // x finite, y infinite or NaN.
    if (std::isinf(y)) status = ARQ_STATUS_ERRDOM;
    return {x == 0.0 ? x : nan, nan};
}

Cx<double> sinh_element(Cx<double> z, int &status) {
    const double x = z.re, y = z.im;
    if (!cx::finite(z)) return cxe::settle(sinh_special(x, y, status), z, z);
    const cxe::Hyperbolic h = cxe::sinh_cosh(x);
    Cx<double> r;
    if (y == 0.0) {
        r = {scaled_product(h.sh, {1.0, 0.0}, h.k), y};
    } else {
        const cxe::SinCos sc = cxe::sin_cos(y);
        r = {x == 0.0 ? x * sc.c.hi : scaled_product(h.sh, sc.c, h.k),
             scaled_product(h.ch, sc.s, h.k)};
    }
    status = overflow_status(r);
    return r;
}

// ---- Cosh ----------------------------------------------------------------------------------

Cx<double> cosh_special(double x, double y, int &status) {
    const double nan = cxe::domain_nan();
    if (std::isnan(x)) return {x, y == 0.0 ? y : nan};
    if (std::isinf(x)) {
        if (y == 0.0) return {kInf, std::signbit(x) != std::signbit(y) ? -0.0 : 0.0};
        if (std::isinf(y)) {
            status = ARQ_STATUS_ERRDOM;
            return {kInf, nan};
        }
        if (std::isnan(y)) return {kInf, y};
        const cxe::SinCos sc = cxe::sin_cos(y);
        return {std::copysign(kInf, sc.c.hi), std::copysign(kInf, x * sc.s.hi)};
    }
    if (std::isinf(y)) status = ARQ_STATUS_ERRDOM;
    return {nan, x == 0.0 ? 0.0 : nan};
}

Cx<double> cosh_element(Cx<double> z, int &status) {
    const double x = z.re, y = z.im;
    if (!cx::finite(z)) return cxe::settle(cosh_special(x, y, status), z, z);
    const cxe::Hyperbolic h = cxe::sinh_cosh(x);
    Cx<double> r;
    if (y == 0.0) {
        r = {scaled_product(h.ch, {1.0, 0.0}, h.k),
             std::signbit(x) != std::signbit(y) ? -0.0 : 0.0};
    } else {
        const cxe::SinCos sc = cxe::sin_cos(y);
        r = {scaled_product(h.ch, sc.c, h.k),
             x == 0.0 ? x * sc.s.hi : scaled_product(h.sh, sc.s, h.k)};
    }
    status = overflow_status(r);
    return r;
}

// ---- Tanh ----------------------------------------------------------------------------------

Cx<double> tanh_special(double x, double y, int &status) {
    const double nan = cxe::domain_nan();
    if (std::isnan(x)) return {x, y == 0.0 ? y : nan};
    if (std::isinf(x)) {
        const double one = std::copysign(1.0, x);
        if (std::isinf(y)) return {one, std::copysign(0.0, y)};
        if (std::isnan(y)) return {one, 0.0};
        const cxe::SinCos sc = cxe::sin_cos(y);
        return {one, std::copysign(0.0, sc.s.hi * sc.c.hi)};
    }
    if (std::isinf(y)) status = ARQ_STATUS_ERRDOM;
    return {x == 0.0 ? x : nan, nan};
}

Cx<double> tanh_element(Cx<double> z, int &status) {
    status = ARQ_STATUS_OK;
    const double x = z.re, y = z.im;
    if (!cx::finite(z)) return cxe::settle(tanh_special(x, y, status), z, z);
    const cxe::SinCos sc = cxe::sin_cos(y);
    const double a = std::fabs(x);
    if (a > 22.0) {
        // 1 - |tanh x| is below 2^-63; Im = sin y·cos y / sinh² x = 4·sin y·cos y·e^-2a.
        const cxe::Scaled e = cxe::exp_scaled(a < 800.0 ? -2.0 * a : -1600.0);
        const double sc2 = cxe::value(cxe::mul(sc.s, sc.c)) * 4.0;
        if (y == 0.0) return {std::copysign(1.0, x), y};
        return {std::copysign(1.0, x), sc2 == 0.0 ? sc2 : cxe::scale(sc2 * cxe::value(e.m), e.k)};
    }
    const cxe::Hyperbolic h = cxe::sinh_cosh(x);  // unscaled here (k = 0)
    const Pair<double> den = cxe::add(cxe::mul(h.sh, h.sh), cxe::mul(sc.c, sc.c));
    const double re = x == 0.0 ? x : cxe::value(dd::divide(cxe::mul(h.sh, h.ch), den));
    const double im = y == 0.0 ? y : cxe::value(dd::divide(cxe::mul(sc.s, sc.c), den));
    return {re, im};
}

// ---- The trigonometric functions through the hyperbolic ones ---------------------------------

enum class Func { kSinh, kCosh, kTanh, kSin, kCos, kTan };

template <Func kFunc>
Cx<double> element(Cx<double> z, int &status) {
    status = ARQ_STATUS_OK;
    if constexpr (kFunc == Func::kSinh) return sinh_element(z, status);
    if constexpr (kFunc == Func::kCosh) return cosh_element(z, status);
    if constexpr (kFunc == Func::kTanh) return tanh_element(z, status);
    const Cx<double> iz = {-z.im, z.re};
    if constexpr (kFunc == Func::kCos) return cosh_element(iz, status);
    // sin z = -i·sinh(iz), tan z = -i·tanh(iz): (u, v) -> (v, -u).
    const Cx<double> h = kFunc == Func::kSin ? sinh_element(iz, status) : tanh_element(iz, status);
    return cxe::settle({h.im, -h.re}, z, z);
}

// The lanes: the hyperbolic function of w = z (or iz) for |Re w| <= 22 (no scaling), |Im w| <
// 2^19, neither part zero (the element path keeps the zeros' signs), the reduction not
// cancelling; the element path's operations for those arguments.
template <Func kFunc>
[[gnu::always_inline]] inline cx::Lanes lanes(cx::Lanes z, Bits<Vec<double>> &refused) {
    using V = Vec<double>;
    constexpr bool kRotated = kFunc == Func::kSin || kFunc == Func::kCos || kFunc == Func::kTan;
    const V x = kRotated ? -z.im : z.re, y = kRotated ? z.re : z.im;
    refused |= ~cxe::magnitude_below(x, 0x1.6000000000001p4) |  // |x| <= 22
               ~cxe::magnitude_below(y, 0x1p19) | simd::mask<V>(x == 0.0) | simd::mask<V>(y == 0.0);
    const cxe::HyperbolicOf<V> h = cxe::sinh_cosh_lanes(x);
    const cxe::SinCosOf<V> sc = cxe::sin_cos_lanes(y, refused);
    cx::Lanes w;
    if constexpr (kFunc == Func::kSinh || kFunc == Func::kSin) {
        w = {cxe::value(cxe::mul(h.sh, sc.c)), cxe::value(cxe::mul(h.ch, sc.s))};
    } else if constexpr (kFunc == Func::kCosh || kFunc == Func::kCos) {
        w = {cxe::value(cxe::mul(h.ch, sc.c)), cxe::value(cxe::mul(h.sh, sc.s))};
    } else {
        const Pair<V> den = cxe::add(cxe::mul(h.sh, h.sh), cxe::mul(sc.c, sc.c));
        w = {cxe::value(dd::divide(cxe::mul(h.sh, h.ch), den)),
             cxe::value(dd::divide(cxe::mul(sc.s, sc.c), den))};
    }
    if constexpr (kFunc == Func::kSin || kFunc == Func::kTan) return {w.im, -w.re};
    return w;
}

template <class T, Func kFunc, const char *kFunction>
struct Kernel {
    using Element = T;
    static constexpr const char *kName = kFunction;
    static constexpr bool kNeedsArg = false;
    static Cx<double> element(Cx<double> z, double, int &status) {
        return korb::vecmath::element<kFunc>(z, status);
    }
    static cx::Lanes lanes(cx::Lanes z, Bits<Vec<double>> &refused) {
        return korb::vecmath::lanes<kFunc>(z, refused);
    }
};

constexpr char kcSin[] = "vcSin", kzSin[] = "vzSin", kcCos[] = "vcCos", kzCos[] = "vzCos",
               kcTan[] = "vcTan", kzTan[] = "vzTan", kcSinh[] = "vcSinh", kzSinh[] = "vzSinh",
               kcCosh[] = "vcCosh", kzCosh[] = "vzCosh", kcTanh[] = "vcTanh", kzTanh[] = "vzTanh";

}  // namespace

#define KORB_COMPLEX_TRIG(p, F, T, name)                                      \
    extern "C" __attribute__((visibility("hidden"))) void korb_vm_##p##F##_A( \
        int n, const Complex<T> *a, Complex<T> *r) {                          \
        cxe::run_one<Kernel<T, Func::k##F, name>>(n, a, r);                   \
    }

KORB_COMPLEX_TRIG(c, Sin, float, kcSin)
KORB_COMPLEX_TRIG(z, Sin, double, kzSin)
KORB_COMPLEX_TRIG(c, Cos, float, kcCos)
KORB_COMPLEX_TRIG(z, Cos, double, kzCos)
KORB_COMPLEX_TRIG(c, Tan, float, kcTan)
KORB_COMPLEX_TRIG(z, Tan, double, kzTan)
KORB_COMPLEX_TRIG(c, Sinh, float, kcSinh)
KORB_COMPLEX_TRIG(z, Sinh, double, kzSinh)
KORB_COMPLEX_TRIG(c, Cosh, float, kcCosh)
KORB_COMPLEX_TRIG(z, Cosh, double, kzCosh)
KORB_COMPLEX_TRIG(c, Tanh, float, kcTanh)
KORB_COMPLEX_TRIG(z, Tanh, double, kzTanh)

}  // namespace korb::vecmath
