// The inverse hyperbolic sine, cosine and tangent, single and double.
//
// Each is the logarithm of a w >= 1 formed as an unevaluated sum w_hi + w_lo of two doubles,
// with a = |x|:
//
//   asinh: w = a + sqrt(a² + 1),      acosh: w = x + sqrt(x² - 1),   atanh: w = (1 + a)/(1 - a),
//
// (atanh takes half the logarithm). The squares are exact (Dekker's product), a² ± 1 a two-sum,
// the square root and the quotient double-double (double_double.h), so w is known to about
// 2^-100 relative: near a = 0 and x = 1, where w is near 1, ln w keeps its relative accuracy.
//
// ln(w_hi + w_lo) = k·ln 2 - ln rcp + ln(1 + r) with dLn's table (ln_data.h): rcp ≈ 1/m from
// w_hi's top 9 significand bits, r = m·rcp - 1 + w_lo·2^-E·rcp in three parts, and ln(1 + r) - r
// from dLn's degree-5 polynomial (|r| <= 2^-10, error below 2^-67). The large terms are summed
// exactly (two-sum) and everything else added before the one rounding, so the double results stay
// within about 0.58 ulp; the single kernels round their double result once to float.
//
// Below 2^-28 in magnitude (single: 2^-13) asinh and atanh return x itself (the next term is
// below half an ulp) without any status; in the flushing mode a subnormal x is the zero of its
// sign. The single kernels form w in plain double arithmetic (see argument()). The lanes take
// asinh for 2^-1022 <= |x| < 2^500, acosh for 1 < x < 2^500 and atanh for 2^-1022 <= |x| < 1
// (widened single arguments alike); the element path handles the rest as C99 Annex F says: a NaN
// comes back quiet; asinh(±Inf) = ±Inf, acosh(+Inf) = +Inf, acosh(1) = +0; acosh(x < 1) (also
// -Inf) and atanh(|x| > 1) (also ±Inf) give the NaN 0xFFF8000000000000 (0xFFC00000) with
// ARQ_STATUS_ERRDOM; atanh(±1) = ±Inf with ARQ_STATUS_SING. From 2^500 on, asinh and acosh are
// ln a + ln 2 (the difference is below 2^-1000).
#include <cmath>
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/double_double.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/ln_data.h"

namespace korb::vecmath {
namespace {

using simd::Bits;
using simd::Vec;

// dLn's polynomial: ln(1 + r) - r = r²·(G2 + r·(G3 + r·(G4 + r·G5))).
constexpr double kLnG2 = -0.49999999999995254;
constexpr double kLnG3 = 0.3333333333332741;
constexpr double kLnG4 = -0.2500001988694339;
constexpr double kLnG5 = 0.2000001934420511;
constexpr double kLn2 = 0.6931471805599453;
constexpr double kTiny = 0x1p-28;
constexpr double kTinyS = 0x1p-13;                       // single: x³/3 is below 2^-26 of x
constexpr std::uint64_t kHugeBits = 0x5F30000000000000;  // 2^500
constexpr std::uint64_t kSmallestNormalBits = 0x0010000000000000;

enum class Func { asinh, acosh, atanh };

// ln(w_hi + w_lo) for w_hi >= 1 (finite), the table rows of w_hi given; w_lo is taken as 0 with
// kPlain.
template <bool kPlain, class V>
[[gnu::always_inline]] inline V ln_pair(dd::Pair<V> w, V k, const ln_data::Row<V> &e) {
    const Bits<V> w_bits = simd::to_bits(w.hi);
    const Bits<V> m_bits = (w_bits & kMantissa) | kOneBits;
    const V m = simd::from_bits<V>(m_bits);
    const V m_hi = simd::from_bits<V>(m_bits & ln_data::kHighHalf);
    const V m_lo = m - m_hi;
    // 2^-E for w_hi = 2^E·m, E >= 0.
    const V inverse =
        simd::from_bits<V>((Bits<V>{} + 0x7FE0000000000000) - (w_bits & kPlusInfBits));
    // r = r_hi + r_m + r_w: r_hi exact, r_m exact where rcp = 1 (w near 1, where the result
    // is r itself), both summed exactly with the table's high part.
    const V r_hi = m_hi * e.rcp - 1.0;
    const V r_m = m_lo * e.rcp;
    V r_w = V{} + 0.0;
    if constexpr (!kPlain) r_w = (w.lo * inverse) * e.rcp;
    const V r = r_hi + (r_m + r_w);
    const V big = k * ln_data::kLn2Hi + e.hi;
    const dd::Pair<V> s = dd::two_sum(big, r_hi);
    const dd::Pair<V> t = dd::two_sum(s.hi, r_m);
    const V poly = (r * r) * (kLnG2 + r * (kLnG3 + r * (kLnG4 + r * kLnG5)));
    return t.hi + ((s.lo + t.lo) + ((k * ln_data::kLn2Lo + e.lo) + (r_w + poly)));
}

// w for the function, a = |x| (acosh: x itself), in the lanes' range. The single kernels (x a
// float) take w rounded to double: its error, 2^-52 relative, is below 2^-38 of the result
// where they do not return x itself, and x² - 1 = (x - 1)(x + 1) rounds once.
template <Func F, bool kSingle, class V>
[[gnu::always_inline]] inline dd::Pair<V> argument(V a) {
    if constexpr (kSingle) {
        V w;
        if constexpr (F == Func::atanh) {
            w = (1.0 + a) / (1.0 - a);
        } else if constexpr (F == Func::asinh) {
            w = a + simd::sqrt(a * a + 1.0);
        } else {
            w = a + simd::sqrt((a - 1.0) * (a + 1.0));
        }
        return {w, V{} + 0.0};
    } else if constexpr (F == Func::atanh) {
        const dd::Pair<V> num = dd::fast_two_sum(V{} + 1.0, a);
        const dd::Pair<V> den = dd::fast_two_sum(V{} + 1.0, V{} - a);
        return dd::divide(num, den);
    } else {
        const dd::Pair<V> p = dd::exact_square(a);
        // a² + 1 or x² - 1: a two-sum, then the square's low part.
        const dd::Pair<V> s0 = dd::two_sum(p.hi, V{} + (F == Func::asinh ? 1.0 : -1.0));
        const dd::Pair<V> s = dd::fast_two_sum(s0.hi, s0.lo + p.lo);
        const dd::Pair<V> q = dd::sqrt(s);
        const dd::Pair<V> w = dd::two_sum(a, q.hi);
        return dd::fast_two_sum(w.hi, w.lo + q.lo);
    }
}

template <class V>
[[gnu::always_inline]] inline V with_sign_of(V magnitude, V x) {
    return simd::from_bits<V>(simd::to_bits(magnitude) ^ (simd::to_bits(x) & kSignBit));
}

// The function's value for x in the lanes' range, one element.
template <Func F, bool kSingle>
double inverse_value(double x) {
    const double a = F == Func::acosh ? x : std::fabs(x);
    const dd::Pair<double> w = argument<F, kSingle>(a);
    const std::uint32_t hi = high_word(w.hi);
    double y = ln_pair<kSingle>(w, ln_data::exponent(hi), ln_data::row(hi));
    if constexpr (F == Func::acosh) return y;
    if constexpr (F == Func::atanh) y = y * 0.5;
    return with_sign_of(a < (kSingle ? kTinyS : kTiny) ? a : y, x);
}

// The same on a vector.
template <Func F, bool kSingle>
[[gnu::always_inline]] inline Vec<double> inverse_value(Vec<double> x) {
    const Vec<double> a = F == Func::acosh ? x : simd::abs(x);
    const dd::Pair<Vec<double>> w = argument<F, kSingle>(a);
    alignas(simd::kNativeBytes) double stored[simd::kCount<Vec<double>>];
    simd::store_lanes(stored, w.hi);
    Vec<double> y = ln_pair<kSingle>(w, ln_data::exponent(simd::to_bits(w.hi)),
                                     ln_data::rows(simd::opaque(stored)));
    if constexpr (F == Func::acosh) return y;
    if constexpr (F == Func::atanh) y = y * 0.5;
    const Bits<Vec<double>> tiny = simd::mask<Vec<double>>(a < (kSingle ? kTinyS : kTiny));
    return with_sign_of(simd::select(tiny, a, y), x);
}

// asinh or acosh of a >= 2^500: ln a + ln 2.
template <Func F>
double inverse_huge(double x) {
    const double a = std::fabs(x);
    const std::uint32_t hi = high_word(a);
    const dd::Pair<double> w{a, 0.0};
    const double y = ln_pair<false>(w, ln_data::exponent(hi) + 1.0, ln_data::row(hi));
    return F == Func::asinh ? with_sign_of(y, x) : y;
}

template <Func F, class T>
struct InverseHyperbolic {
    static constexpr bool kSingle = sizeof(T) == 4;
    using Element = T;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = F == Func::asinh   ? (kSingle ? "vsAsinh" : "vdAsinh")
                                         : F == Func::acosh ? (kSingle ? "vsAcosh" : "vdAcosh")
                                                            : (kSingle ? "vsAtanh" : "vdAtanh");
    static constexpr int kVectors = 2;

    static const Context &context() { return kNoContext; }

    static T element(T x, const Context &, int &status) {
        status = ARQ_STATUS_OK;
        const double d = as_read(static_cast<double>(x));
        const std::uint64_t b = bits_of(d);
        const std::uint64_t abs_bits = b & kAbsMask;
        if (abs_bits > kPlusInfBits) return x + x;  // NaN, quiet
        if constexpr (F == Func::atanh) {
            if (abs_bits > kOneBits) {
                status = ARQ_STATUS_ERRDOM;
                return domain_nan<T>();
            }
            if (abs_bits == kOneBits) {
                status = ARQ_STATUS_SING;
                return static_cast<T>(with_sign_of(double_from(kPlusInfBits), d));
            }
        } else if constexpr (F == Func::acosh) {
            if (b < kOneBits || b >= kSignBit) {  // below 1: ±0 and -Inf included
                status = ARQ_STATUS_ERRDOM;
                return domain_nan<T>();
            }
            if (b == kOneBits) return T(0);
        }
        if (abs_bits == kPlusInfBits) return x;  // asinh(±Inf), acosh(+Inf)
        if (F != Func::atanh && abs_bits >= kHugeBits) return static_cast<T>(inverse_huge<F>(d));
        return static_cast<T>(inverse_value<F, kSingle>(d));
    }

    // Zeros and subnormals go to the element path too: the lanes give a tiny argument back by
    // its bits, which would keep a subnormal that the flushing mode reads as zero.
    static bool unusual(T x, const Context &) {
        const std::uint64_t b = bits_of(static_cast<double>(x));
        if constexpr (F == Func::asinh) {
            return (b & kAbsMask) - kSmallestNormalBits >= kHugeBits - kSmallestNormalBits;
        } else if constexpr (F == Func::acosh) {
            return b - (kOneBits + 1) >= kHugeBits - (kOneBits + 1);
        } else {
            return (b & kAbsMask) - kSmallestNormalBits >= kOneBits - kSmallestNormalBits;
        }
    }

    static Vec<double> lanes(Vec<double> x, const T *, const Context &) {
        return inverse_value<F, kSingle>(x);
    }
};

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dAsinh_A(int n, const double *a,
                                                                       double *r) {
    run_one<InverseHyperbolic<Func::asinh, double>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sAsinh_A(int n, const float *a,
                                                                       float *r) {
    run_one<InverseHyperbolic<Func::asinh, float>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dAcosh_A(int n, const double *a,
                                                                       double *r) {
    run_one<InverseHyperbolic<Func::acosh, double>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sAcosh_A(int n, const float *a,
                                                                       float *r) {
    run_one<InverseHyperbolic<Func::acosh, float>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dAtanh_A(int n, const double *a,
                                                                       double *r) {
    run_one<InverseHyperbolic<Func::atanh, double>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sAtanh_A(int n, const float *a,
                                                                       float *r) {
    run_one<InverseHyperbolic<Func::atanh, float>>(n, a, r);
}

}  // namespace korb::vecmath
