// Complex arithmetic, single (c) and double (z): Add, Sub, Mul, MulByConj, Div, Conj, Abs, CIS.
//
// Add, Sub (kernel A, slots LA and HA): componentwise IEEE operations. A part that overflows is
// reported as ARQ_STATUS_OVERFLOW, an invalid part (inf - inf) as ARQ_STATUS_ERRDOM. Kernel B
// (slot EP) computes the same bits and reports nothing.
//
// Mul, MulByConj (a·conj(b)): each part is a difference of two products, ac - bd, ad + bc
// (ac + bd, bc - ad for MulByConj), computed so that it is accurate to half an ulp of itself even
// when the products cancel: in single precision the products of floats are exact in double and
// the difference rounds once there, then once to float; in double precision the products are
// made exact by Dekker's splitting and added with their rounding errors (exact.h). The double
// lanes take parts in [2^-450, 2^500) or 0; the element path gives every product of other finite
// parts an exponent of its own (exact::Wide), so that nothing overflows or underflows before the
// last rounding (a subnormal part is rounded twice, within one unit of the smallest subnormal).
//
// Div: in single precision (ac + bd)/(c² + d²) and (bc - ad)/(c² + d²) in double, where nothing
// overflows or underflows for float arguments and each part rounds a few times in double. In
// double precision the same formula with the numerators from exact products and the divisor's
// norm as a pair, the quotient corrected by its remainder: about half an ulp per part also under
// cancellation, where the textbook formula and Smith's algorithm lose every digit. The lanes take
// parts in [2^-250, 2^250) or 0; the element path computes other finite arguments with exponents
// of their own (no intermediate overflow or underflow, whatever the parts).
//
// Special values follow C99 Annex G: a product or quotient whose parts are both NaN is recomputed
// with infinite arguments made ±1 and NaN ones ±0, so that an infinite argument gives an
// infinite result; a finite non-zero value divided by 0 gives infinities (ARQ_STATUS_SING), 0/0
// NaNs (ARQ_STATUS_ERRDOM). A result with an infinite part counts as infinite: reported as
// ARQ_STATUS_OVERFLOW when every argument was finite. A result with a NaN part and none infinite,
// of arguments without NaNs, is ARQ_STATUS_ERRDOM.
//
// Conj: the imaginary part's sign flipped, as bits (returns n, no frame, no status).
// Abs: |a| = hypot(re, im) of vecmath/kernels/hypot.h, a real result, within 1 ulp.
// CIS: cos a + i sin a of a real argument, by the SinCos kernels (huge arguments reduced exactly,
// the SinCos bounds per part); ±inf gives NaN parts with ARQ_STATUS_ERRDOM, a NaN NaN parts.
#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/simd.h"
#include "vecmath/dispatch.h"
#include "vecmath/kernels/complex.h"
#include "vecmath/kernels/exact.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/hypot.h"

extern "C" void korb_vm_sSinCos_A(int n, const float *a, float *r1, float *r2);
extern "C" void korb_vm_dSinCos_A(int n, const double *a, double *r1, double *r2);

namespace korb::vecmath {
namespace {

using cx::Cx;
using cx::Lanes;
using exact::Pair;
using simd::Bits;
using simd::Vec;

constexpr double kInf = std::numeric_limits<double>::infinity();

// ---- Add and Sub ---------------------------------------------------------------------------

struct Plus {
    template <class V>
    static V value(V x, V y) {
        return x + y;
    }
};
struct Minus {
    template <class V>
    static V value(V x, V y) {
        return x - y;
    }
};

// The status of one part: invalid, overflowed, or neither.
template <class T>
int part_status(T r, T x, T y) {
    if (__builtin_isnan(r)) {
        return __builtin_isnan(x) || __builtin_isnan(y) ? ARQ_STATUS_OK : ARQ_STATUS_ERRDOM;
    }
    if (__builtin_isinf(r) && __builtin_isfinite(x) && __builtin_isfinite(y)) {
        return ARQ_STATUS_OVERFLOW;
    }
    return ARQ_STATUS_OK;
}

template <class T, class Op, const char *kFunction, bool kReport>
struct Componentwise {
    using Element = T;
    static constexpr const char *kName = kFunction;
    static constexpr bool kReports = kReport;

    // Two NaNs give the first one, quieted (see cx::first_nan).
    static T part(T x, T y) {
        if (__builtin_isnan(x) && __builtin_isnan(y)) {
            using U = typename simd::LaneOf<T>::Bits;
            constexpr U kQuiet = U{1} << (sizeof(T) == 4 ? 22 : 51);
            return simd::from_bits<T>(simd::to_bits(x) | kQuiet);
        }
        return Op::value(x, y);
    }

    static Complex<T> element(Complex<T> x, Complex<T> y, int &status) {
        const Complex<T> r = {part(x.re, y.re), part(x.im, y.im)};
        const int re = part_status(r.re, x.re, y.re), im = part_status(r.im, x.im, y.im);
        status = re == ARQ_STATUS_ERRDOM || im == ARQ_STATUS_ERRDOM ? ARQ_STATUS_ERRDOM
                 : re != ARQ_STATUS_OK                              ? re
                                                                    : im;
        return r;
    }

    static Vec<T> lanes(Vec<T> x, Vec<T> y, bool &refused) {
        // Infinite and NaN parts go element by element, also without reports: which NaN a sum
        // of two NaNs gives depends on the order of the operands, which the compiler may choose
        // differently for a vector and for one element.
        const Vec<T> r = Op::value(x, y);
        constexpr Vec<T> kInfinity = Vec<T>{} + std::numeric_limits<T>::infinity();
        refused = simd::any(~simd::below(simd::to_bits(simd::abs(r)), simd::to_bits(kInfinity)));
        return r;
    }
};

// ---- Mul and MulByConj ---------------------------------------------------------------------

// x·y - u·v accurate under cancellation (exact.h); an exact zero takes the sign of the plain
// difference of the rounded products, as the plain formula gives it.
template <class V>
[[gnu::always_inline]] inline V products_difference(V x, V y, V u, V v) {
    const Pair<V> p = exact::product(x, y), q = exact::product(u, v);
    const Pair<V> s = exact::sum(p.hi, -q.hi);
    const V r = s.hi + (s.lo + (p.lo - q.lo));
    return simd::select(simd::mask<V>(r == 0), s.hi, r);
}

// x·y for finite arguments, each part accurate under cancellation: exact products in double
// lanes (kExactProducts), or double computing single-precision parts, whose products are exact.
template <bool kExactProducts, class V>
[[gnu::always_inline]] inline Cx<V> multiply(Cx<V> x, Cx<V> y) {
    if constexpr (kExactProducts) {
        return {products_difference(x.re, y.re, x.im, y.im),
                products_difference(x.re, y.im, -x.im, y.re)};
    } else {
        return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
    }
}

double copysign(double magnitude, double sign) {
    return std::copysign(magnitude, sign);
}
// ±1 for an infinity, ±0 otherwise (a finite value, or a NaN when nan_to_zero).
double box(double v) {
    return copysign(__builtin_isinf(v) ? 1.0 : 0.0, v);
}

// The product of C99 Annex G for arguments that are not all finite.
Cx<double> annex_g_multiply(Cx<double> x, Cx<double> y) {
    double a = x.re, b = x.im, c = y.re, d = y.im;
    const double ac = a * c, bd = b * d, ad = a * d, bc = b * c;
    Cx<double> z = {ac - bd, ad + bc};
    if (cx::is_nan(z.re) && cx::is_nan(z.im)) {
        bool again = false;
        auto zero_nan = [](double &v) {
            if (cx::is_nan(v)) v = copysign(0.0, v);
        };
        if (cx::is_inf(a) || cx::is_inf(b)) {
            a = box(a);
            b = box(b);
            zero_nan(c);
            zero_nan(d);
            again = true;
        }
        if (cx::is_inf(c) || cx::is_inf(d)) {
            c = box(c);
            d = box(d);
            zero_nan(a);
            zero_nan(b);
            again = true;
        }
        if (!again && (cx::is_inf(ac) || cx::is_inf(bd) || cx::is_inf(ad) || cx::is_inf(bc))) {
            zero_nan(a);
            zero_nan(b);
            zero_nan(c);
            zero_nan(d);
            again = true;
        }
        if (again) z = {kInf * (a * c - b * d), kInf * (a * d + b * c)};
    }
    return z;
}

// All ones in the lanes whose value is neither 0 nor of magnitude in [low, high) (NaN included).
template <double kLow, double kHigh>
[[gnu::always_inline]] inline Bits<Vec<double>> outside(Vec<double> v) {
    return cx::not_below(v, kHigh) | cx::small_nonzero(v, kLow);
}
template <double kLow, double kHigh>
bool outside(double v) {
    const double m = std::fabs(v);
    return !(m < kHigh) || (m != 0.0 && m < kLow);
}
template <double kLow, double kHigh, class V>
[[gnu::always_inline]] inline auto any_outside(Cx<V> x, Cx<V> y) {
    return outside<kLow, kHigh>(x.re) | outside<kLow, kHigh>(x.im) | outside<kLow, kHigh>(y.re) |
           outside<kLow, kHigh>(y.im);
}

template <class V>
[[gnu::always_inline]] inline Cx<V> conj(Cx<V> y, bool flip) {
    return flip ? Cx<V>{y.re, -y.im} : y;
}

// The narrowed result of a single-precision kernel, as the status sees it.
Cx<double> as_stored(Cx<double> z, bool single) {
    if (!single) return z;
    return {static_cast<double>(static_cast<float>(z.re)),
            static_cast<double>(static_cast<float>(z.im))};
}

// The double lanes of Mul take parts in [2^-450, 2^500) or 0: the products and their rounding
// errors stay normal and finite.
constexpr double kMulLow = 0x1p-450, kMulHigh = 0x1p500;

// x·y of finite parts anywhere, each part from exact products with exponents of their own.
Cx<double> wide_multiply(Cx<double> x, Cx<double> y) {
    using exact::wide_product;
    const exact::Wide re =
        exact::wide_sum(wide_product(x.re, y.re), exact::negate(wide_product(x.im, y.im)));
    const exact::Wide im = exact::wide_sum(wide_product(x.re, y.im), wide_product(x.im, y.re));
    return {exact::wide_value(re), exact::wide_value(im)};
}

template <class T, bool kConj, const char *kFunction>
struct Multiply {
    using Element = T;
    static constexpr const char *kName = kFunction;
    static constexpr bool kReports = true;
    static constexpr bool kSingle = sizeof(T) == 4;

    static Cx<double> element(Cx<double> x, Cx<double> y0, int &status) {
        const Cx<double> y = conj(y0, kConj);
        Cx<double> z;
        if (!(cx::finite(x) && cx::finite(y))) {
            z = annex_g_multiply(x, y);
        } else if constexpr (kSingle) {
            z = multiply<false>(x, y);
        } else if (any_outside<kMulLow, kMulHigh>(x, y)) {
            z = wide_multiply(x, y);
        } else {
            z = multiply<true>(x, y);
        }
        z = cx::settle_nans(z, x, y0);
        status = cx::complex_status(as_stored(z, kSingle), x, y);
        return z;
    }

    static Lanes lanes(Lanes x, Lanes y0, bool &refused) {
        const Lanes y = conj(y0, kConj);
        if constexpr (kSingle) {
            // Parts below 2^63 cannot make a float result overflow.
            refused = simd::any(cx::not_below(x.re, 0x1p63) | cx::not_below(x.im, 0x1p63) |
                                cx::not_below(y.re, 0x1p63) | cx::not_below(y.im, 0x1p63));
            return multiply<false>(x, y);
        } else {
            refused = simd::any(any_outside<kMulLow, kMulHigh>(x, y));
            return multiply<true>(x, y);
        }
    }
};

// ---- Div -----------------------------------------------------------------------------------

// Single precision in double: exact products, three roundings per part.
template <class V>
[[gnu::always_inline]] inline Cx<V> divide_in_double(Cx<V> x, Cx<V> y) {
    const V den = y.re * y.re + y.im * y.im;
    return {(x.re * y.re + x.im * y.im) / den, (x.im * y.re - x.re * y.im) / den};
}

// (p + q)/d for exact products p, q and the divisor's norm d as a pair: the sum renormalised,
// the quotient of the high parts corrected by the remainder. An exact zero sum gives the plain
// sum's zero.
template <class V>
[[gnu::always_inline]] inline V sum_over(Pair<V> p, Pair<V> q, Pair<V> d) {
    const Pair<V> s0 = exact::sum(p.hi, q.hi);
    const Pair<V> s = exact::sum(s0.hi, s0.lo + (p.lo + q.lo));
    const V quotient = s.hi / d.hi;
    const Pair<V> qd = exact::product(quotient, d.hi);
    const V rest = (((s.hi - qd.hi) - qd.lo) + s.lo - quotient * d.lo) / d.hi;
    return simd::select(simd::mask<V>(s.hi == 0), s0.hi / d.hi, quotient + rest);
}

// Double precision: the numerators ac + bd and bc - ad from exact products, the norm c² + d² as
// a pair, so that each part is within about half an ulp also under cancellation. For parts in
// [2^-250, 2^250) or 0 every product, rounding error and quotient stays normal and finite (a
// part cancelling to below 2^-1022 rounds in the subnormal range).
template <class V>
[[gnu::always_inline]] inline Cx<V> divide_accurately(Cx<V> x, Cx<V> y) {
    const Pair<V> cc = exact::square(y.re), dd = exact::square(y.im);
    const Pair<V> d0 = exact::sum(cc.hi, dd.hi);
    const Pair<V> d = exact::sum(d0.hi, d0.lo + (cc.lo + dd.lo));
    const Pair<V> ad = exact::product(x.re, y.im);
    return {sum_over(exact::product(x.re, y.re), exact::product(x.im, y.im), d),
            sum_over(exact::product(x.im, y.re), Pair<V>{-ad.hi, -ad.lo}, d)};
}

constexpr double kDivLow = 0x1p-250, kDivHigh = 0x1p250;

// x/y of finite parts anywhere, y not 0: the same formula with exponents of their own.
Cx<double> wide_divide(Cx<double> x, Cx<double> y) {
    using exact::wide_product;
    using exact::wide_sum;
    const exact::Wide d = wide_sum(wide_product(y.re, y.re), wide_product(y.im, y.im));
    const exact::Wide re = wide_sum(wide_product(x.re, y.re), wide_product(x.im, y.im));
    const exact::Wide im =
        wide_sum(wide_product(x.im, y.re), exact::negate(wide_product(x.re, y.im)));
    return {exact::wide_quotient(re, d), exact::wide_quotient(im, d)};
}

// The quotient of C99 Annex G for arguments that are not all finite, or a zero divisor.
Cx<double> annex_g_divide(Cx<double> x, Cx<double> y) {
    double a = x.re, b = x.im, c = y.re, d = y.im;
    const double den = c * c + d * d;
    Cx<double> z = {(a * c + b * d) / den, (b * c - a * d) / den};
    if (cx::is_nan(z.re) && cx::is_nan(z.im)) {
        if (den == 0.0 && (!cx::is_nan(a) || !cx::is_nan(b))) {
            z = {copysign(kInf, c) * a, copysign(kInf, c) * b};
        } else if ((cx::is_inf(a) || cx::is_inf(b)) && cx::is_finite(c) && cx::is_finite(d)) {
            a = box(a);
            b = box(b);
            z = {kInf * (a * c + b * d), kInf * (b * c - a * d)};
        } else if ((cx::is_inf(c) || cx::is_inf(d)) && cx::is_finite(a) && cx::is_finite(b)) {
            c = box(c);
            d = box(d);
            z = {0.0 * (a * c + b * d), 0.0 * (b * c - a * d)};
        }
    }
    return z;
}

template <class T, const char *kFunction>
struct Divide {
    using Element = T;
    static constexpr const char *kName = kFunction;
    static constexpr bool kReports = true;
    static constexpr bool kSingle = sizeof(T) == 4;

    static Cx<double> element(Cx<double> x, Cx<double> y, int &status) {
        const bool zero_divisor = y.re == 0.0 && y.im == 0.0;
        Cx<double> z;
        if (!(cx::finite(x) && cx::finite(y)) || zero_divisor) {
            z = annex_g_divide(x, y);
        } else if constexpr (kSingle) {
            z = divide_in_double(x, y);
        } else if (any_outside<kDivLow, kDivHigh>(x, y)) {
            z = wide_divide(x, y);
        } else {
            z = divide_accurately(x, y);
        }
        z = cx::settle_nans(z, x, y);
        status = cx::complex_status(as_stored(z, kSingle), x, y);
        if (zero_divisor && cx::finite(x) && (x.re != 0.0 || x.im != 0.0)) {
            status = ARQ_STATUS_SING;
        }
        return z;
    }

    static Lanes lanes(Lanes x, Lanes y, bool &refused) {
        const Bits<Vec<double>> zero_divisor =
            simd::below(simd::to_bits(simd::abs(y.re)), Bits<Vec<double>>{} + 1) &
            simd::below(simd::to_bits(simd::abs(y.im)), Bits<Vec<double>>{} + 1);
        if constexpr (kSingle) {
            const Lanes z = divide_in_double(x, y);
            constexpr double kFloatMax = std::numeric_limits<float>::max();
            refused =
                simd::any(cx::not_below(x.re, kInf) | cx::not_below(x.im, kInf) |
                          cx::not_below(y.re, kInf) | cx::not_below(y.im, kInf) | zero_divisor |
                          cx::not_below(z.re, kFloatMax) | cx::not_below(z.im, kFloatMax));
            return z;
        } else {
            refused = simd::any(any_outside<kDivLow, kDivHigh>(x, y) | zero_divisor);
            return divide_accurately(x, y);
        }
    }
};

// ---- Abs -----------------------------------------------------------------------------------

template <class T, const char *kFunction>
struct Abs {
    using Element = T;
    static constexpr const char *kName = kFunction;

    static double element(Cx<double> x, int &status) {
        double r;
        if constexpr (sizeof(T) == 4) {
            r = hypot::element(static_cast<float>(x.re), static_cast<float>(x.im), status);
        } else {
            r = hypot::element(x.re, x.im, status);
        }
        return cx::is_nan(r) ? cx::first_nan(x, x) : r;
    }

    static Vec<double> lanes(Lanes x, bool &refused) {
        if constexpr (sizeof(T) == 4) {
            refused = simd::any(cx::not_below(x.re, 0x1p126) | cx::not_below(x.im, 0x1p126));
            return hypot::single_value(x.re, x.im);
        } else {
            refused = simd::any(hypot::unusual(x.re, x.im));
            return hypot::core(x.re, x.im);
        }
    }
};

// ---- Conj ----------------------------------------------------------------------------------

// The sign bit in the lanes of imaginary parts: the odd lanes of the stored components.
template <class T, int... I>
constexpr Bits<Vec<T>> imaginary_signs(std::integer_sequence<int, I...>) {
    using U = typename simd::LaneOf<T>::Bits;
    constexpr U kSign = U{1} << (8 * sizeof(T) - 1);
    return Bits<Vec<T>>{(I % 2 == 1 ? kSign : U{0})...};
}

template <class T>
int conjugate(int n, const Complex<T> *a, Complex<T> *r) {
    using U = typename simd::LaneOf<T>::Bits;
    constexpr int kLanes = simd::kCount<Vec<T>>;
    constexpr Bits<Vec<T>> kSigns = imaginary_signs<T>(std::make_integer_sequence<int, kLanes>{});
    if (n <= 0) return n;  // the vectors may be null then
    const T *pa = &a[0].re;
    T *pr = &r[0].re;
    const long components = 2 * static_cast<long>(n);
    long j = 0;
    for (; j + kLanes <= components; j += kLanes) {
        simd::store_lanes(
            pr + j, simd::from_bits<Vec<T>>(simd::to_bits(simd::load_lanes(pa + j)) ^ kSigns));
    }
    for (; j < components; j += 2) {
        pr[j] = pa[j];
        pr[j + 1] = simd::from_bits<T>(simd::to_bits(pa[j + 1]) ^ (U{1} << (8 * sizeof(T) - 1)));
    }
    return n;
}

// ---- CIS -----------------------------------------------------------------------------------

template <class T>
using SinCosKernel = void (*)(int, const T *, T *, T *);

inline void report_cis(int status, int i, const float *a, ComplexFloat *r, const char *name,
                       float x) {
    dispatch_error_c_from_real(status, i, a, r, name, x);
}
inline void report_cis(int status, int i, const double *a, ComplexDouble *r, const char *name,
                       double x) {
    dispatch_error_z_from_real(status, i, a, r, name, x);
}

// cos x + i sin x by the SinCos kernel in pieces of 256, non-finite arguments replaced by 0 for
// it and given their results here.
template <class T>
void cis(int n, const T *a, Complex<T> *r, SinCosKernel<T> sin_cos, const char *name) {
    constexpr int kPiece = 256;
    T x[kPiece], s[kPiece], c[kPiece];
    for (int begin = 0; begin < n; begin += kPiece) {
        const int m = n - begin < kPiece ? n - begin : kPiece;
        bool special = false;
        for (int i = 0; i < m; ++i) {
            const T v = a[begin + i];
            const bool finite = __builtin_isfinite(v);
            x[i] = finite ? v : T(0);
            special |= !finite;
        }
        // The arguments of the special elements, before r (which may overlap a) is written.
        T saved[kPiece];
        if (special) {
            for (int i = 0; i < m; ++i) saved[i] = a[begin + i];
        }
        sin_cos(m, x, s, c);
        for (int i = 0; i < m; ++i) r[begin + i] = {c[i], s[i]};
        if (!special) continue;
        for (int i = 0; i < m; ++i) {
            const T v = saved[i];
            if (__builtin_isfinite(v)) continue;
            if (__builtin_isnan(v)) {
                const T q = v + v;  // quiet
                r[begin + i] = {q, q};
            } else {
                const T nan = std::numeric_limits<T>::quiet_NaN();
                const T domain = -nan;  // the default NaN: sign set
                r[begin + i] = {domain, domain};
                report_cis(ARQ_STATUS_ERRDOM, begin + i, a, r, name, v);
            }
        }
    }
}

constexpr char kCAdd[] = "vcAdd", kZAdd[] = "vzAdd", kCSub[] = "vcSub", kZSub[] = "vzSub";
constexpr char kCMul[] = "vcMul", kZMul[] = "vzMul";
constexpr char kCMulByConj[] = "vcMulByConj", kZMulByConj[] = "vzMulByConj";
constexpr char kCDiv[] = "vcDiv", kZDiv[] = "vzDiv";
constexpr char kCAbs[] = "vcAbs", kZAbs[] = "vzAbs";
constexpr char kCCIS[] = "vcCIS", kZCIS[] = "vzCIS";

}  // namespace

#define KORB_ARQ_CX_TWO(name, T, runner, ...)                             \
    extern "C" __attribute__((visibility("hidden"))) void name(           \
        int n, const Complex<T> *a, const Complex<T> *b, Complex<T> *r) { \
        cx::runner<__VA_ARGS__>(n, a, b, r);                              \
    }

KORB_ARQ_CX_TWO(korb_vm_cAdd_A, float, run_flat, Componentwise<float, Plus, kCAdd, true>)
KORB_ARQ_CX_TWO(korb_vm_cAdd_B, float, run_flat, Componentwise<float, Plus, kCAdd, false>)
KORB_ARQ_CX_TWO(korb_vm_zAdd_A, double, run_flat, Componentwise<double, Plus, kZAdd, true>)
KORB_ARQ_CX_TWO(korb_vm_zAdd_B, double, run_flat, Componentwise<double, Plus, kZAdd, false>)
KORB_ARQ_CX_TWO(korb_vm_cSub_A, float, run_flat, Componentwise<float, Minus, kCSub, true>)
KORB_ARQ_CX_TWO(korb_vm_cSub_B, float, run_flat, Componentwise<float, Minus, kCSub, false>)
KORB_ARQ_CX_TWO(korb_vm_zSub_A, double, run_flat, Componentwise<double, Minus, kZSub, true>)
KORB_ARQ_CX_TWO(korb_vm_zSub_B, double, run_flat, Componentwise<double, Minus, kZSub, false>)
KORB_ARQ_CX_TWO(korb_vm_cMul_A, float, run_two, Multiply<float, false, kCMul>)
KORB_ARQ_CX_TWO(korb_vm_zMul_A, double, run_two, Multiply<double, false, kZMul>)
KORB_ARQ_CX_TWO(korb_vm_cMulByConj_A, float, run_two, Multiply<float, true, kCMulByConj>)
KORB_ARQ_CX_TWO(korb_vm_zMulByConj_A, double, run_two, Multiply<double, true, kZMulByConj>)
KORB_ARQ_CX_TWO(korb_vm_cDiv_A, float, run_two, Divide<float, kCDiv>)
KORB_ARQ_CX_TWO(korb_vm_zDiv_A, double, run_two, Divide<double, kZDiv>)

#undef KORB_ARQ_CX_TWO

extern "C" __attribute__((visibility("hidden"))) void korb_vm_cAbs_A(int n, const ComplexFloat *a,
                                                                     float *r) {
    cx::run_to_real<Abs<float, kCAbs>>(n, a, r);
}
extern "C" __attribute__((visibility("hidden"))) void korb_vm_zAbs_A(int n, const ComplexDouble *a,
                                                                     double *r) {
    cx::run_to_real<Abs<double, kZAbs>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) int korb_vm_cConj_A(int n, const ComplexFloat *a,
                                                                     ComplexFloat *r) {
    return conjugate(n, a, r);
}
extern "C" __attribute__((visibility("hidden"))) int korb_vm_zConj_A(int n, const ComplexDouble *a,
                                                                     ComplexDouble *r) {
    return conjugate(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_cCIS_A(int n, const float *a,
                                                                     ComplexFloat *r) {
    if (n > 0) cis<float>(n, a, r, korb_vm_sSinCos_A, kCCIS);
}
extern "C" __attribute__((visibility("hidden"))) void korb_vm_zCIS_A(int n, const double *a,
                                                                     ComplexDouble *r) {
    if (n > 0) cis<double>(n, a, r, korb_vm_dSinCos_A, kZCIS);
}

}  // namespace korb::vecmath
