// The hyperbolic cosine, sine and tangent, single and double.
//
// All three come from e^a for a = |x| (and e^-a, e^2a) carried as an unevaluated sum hi + lo:
// the exponential's reduction a = N·ln 2/64 + r, 2^(j/64) = T_hi + T_lo from dExp's table, and
// e^r - 1 = p(r) from dExp's degree-5 polynomial give e^a = 2^floor(N/64)·(T_hi + (T_lo +
// p·(T_hi + T_lo))), whose tail is about 2^-60 from the exact value relative to e^a; dExp rounds
// that sum, the kernels here keep both parts.
//
//   cosh x = ((E_hi + F_hi) + (E_lo + F_lo)) / 2, E = e^a, F = e^-a, the first sum exact
//            (two-sum);
//   sinh x = ±((E_hi - F_hi) + (E_lo - F_lo)) / 2 for a >= 1/4, where the difference loses at
//            most 3 bits, and a + a·z·P(z) (z = a², P of degree 4, error 2^-60 relative) below;
//   tanh x = ±(1 - 2/(e^2a + 1)) for a >= 1/8, the quotient in double-double, and a + a·z·Q(z)
//            (Q of degree 5, error 2^-62) below. From a = 20 on the result rounds to 1, so the
//            lanes clamp a there and take every finite x.
//
// The double results stay within about 0.54 ulp. The single kernels compute on doubles without
// the exact sums (e^-a as 1/e^a, tanh as (e^2a - 1)/(e^2a + 1)), about 2^-50 from the exact
// value, and round once to float.
//
// The lanes take |x| <= 708.39 (both exponentials normal) for double cosh and sinh, |x| < 89
// for single ones (the float result is finite), and every finite x for tanh. The element path
// handles the rest as C99 Annex F says: a NaN comes back quiet, cosh(±Inf) = +Inf, sinh(±Inf) =
// ±Inf, tanh(±Inf) = ±1, without status; a finite x whose result exceeds the largest finite
// number gives ±Inf with ARQ_STATUS_OVERFLOW (double: |x| > 710.4758600739439, the product
// forming the result rounds to infinity exactly there). sinh(±0) = ±0, tanh(±0) = ±0, and a
// tiny x gives x itself without an underflow status.
#include <cmath>
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/double_double.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/exp_data.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using simd::Bits;
using simd::Vec;

#include "vecmath/kernels/arc_hyperbolic_data.inc"
constexpr double kSinhD[] = KORB_SINH_D;
constexpr double kTanhD[] = KORB_TANH_D;
#undef KORB_ATAN_TABLE_ROWS

// dExp's polynomial: e^r - 1 = r + r²·(E2 + r·(E3 + r·(E4 + r·E5))) for |r| <= ln 2/128.
constexpr double kExpE2 = 0.49999999999945266;
constexpr double kExpE3 = 0.16666666666653376;
constexpr double kExpE4 = 0.04166672515731616;
constexpr double kExpE5 = 0.008333343728805863;
constexpr std::uint64_t kExpBias = 65472;  // 1023 · 64
constexpr std::uint64_t kExponentField = 0x7FF0000000000000;

// The lanes' limit of double cosh and sinh: |x| < 708.39599609375, where 2^floor(N/64) is
// normal for x and -x (dExp's fast limit).
constexpr std::uint32_t kFastLimitD = 0x4086232A;
// Single cosh and sinh: |x| < 89, whose results are finite floats.
constexpr std::uint32_t kFastLimitS = 0x42B20000;

enum class Func { cosh, sinh, tanh };

// e^x without its power of two, as hi + lo, and t, whose low bits hold N.
template <class V>
struct ExpParts {
    V hi, lo;
    Bits<V> t_bits;
};

template <class V>
[[gnu::always_inline]] inline ExpParts<V> exp_parts(V x) {
    using namespace exp_data;
    const V t = x * kInvL + kShifter;
    const Bits<V> t_bits = simd::to_bits(t);
    const V k = t - kShifter;
    const V r = (x - k * kLHi) - k * kLLo;
    const Row<V> e = row(t_bits);
    const V p = r + (r * r) * (kExpE2 + r * (kExpE3 + r * (kExpE4 + r * kExpE5)));
    return {e.hi, e.lo + p * (e.hi + e.lo), t_bits};
}

// 2^(floor(N/64) + bias/64 - 1023) from t's pattern, for exponents of normal numbers.
template <class V>
[[gnu::always_inline]] inline V power_of_two(Bits<V> t_bits, std::uint64_t bias) {
    return simd::from_bits<V>(((t_bits + bias) << 46) & kExponentField);
}

// e^x = hi + lo for |x| <= 708.396; hi is 2^(j/64) scaled, not e^x rounded, so |lo| reaches
// 2^-7·hi.
template <class V>
[[gnu::always_inline]] inline dd::Pair<V> exp_pair(V x) {
    const ExpParts<V> e = exp_parts(x);
    const V s = power_of_two<V>(e.t_bits, kExpBias);
    return {e.hi * s, e.lo * s};
}

template <class V>
[[gnu::always_inline]] inline V with_sign_of(V magnitude, V x) {
    return simd::from_bits<V>(simd::to_bits(magnitude) ^ (simd::to_bits(x) & kSignBit));
}

// x + x·z·P(z), z = x², for the odd functions' small arguments.
template <Func F, class V>
[[gnu::always_inline]] inline V odd_series(V a) {
    const V z = a * a;
    const V z2 = z * z;
    V p;
    if constexpr (F == Func::sinh) {
        const auto &k = kSinhD;
        p = (k[0] + z * k[1]) + z2 * ((k[2] + z * k[3]) + z2 * k[4]);
    } else {
        const auto &k = kTanhD;
        p = ((k[0] + z * k[1]) + z2 * (k[2] + z * k[3])) + (z2 * z2) * (k[4] + z * k[5]);
    }
    return a + (a * z) * p;
}

// The function's value, as a double, for double x with |x| <= 708.396 (cosh, sinh) or any x
// but NaN (tanh). The single kernels need a relative error well below 2^-30 only: they round e^a
// once, take e^-a as its reciprocal and tanh as (e^2a - 1)/(e^2a + 1), without the exact sums.
template <Func F, bool kSingle, class V>
[[gnu::always_inline]] inline V hyperbolic_value(V x) {
    const V a = simd::abs(x);
    if constexpr (F != Func::tanh && kSingle) {
        const dd::Pair<V> e = exp_pair(a);
        const V big = e.hi + e.lo;
        const V small = 1.0 / big;
        if constexpr (F == Func::cosh) return (big + small) * 0.5;
        const V large = (big - small) * 0.5;
        const V y = simd::select(simd::mask<V>(a < 0.25), odd_series<F>(a), large);
        return with_sign_of(y, x);
    } else if constexpr (F == Func::cosh) {
        const dd::Pair<V> e = exp_pair(a);
        const dd::Pair<V> f = exp_pair(V{} - a);
        const dd::Pair<V> s = dd::two_sum(e.hi, f.hi);
        return (s.hi + (s.lo + (e.lo + f.lo))) * 0.5;
    } else if constexpr (F == Func::sinh) {
        const dd::Pair<V> e = exp_pair(a);
        const dd::Pair<V> f = exp_pair(V{} - a);
        const dd::Pair<V> s = dd::two_sum(e.hi, V{} - f.hi);
        const V large = (s.hi + (s.lo + (e.lo - f.lo))) * 0.5;
        const V y = simd::select(simd::mask<V>(a < 0.25), odd_series<F>(a), large);
        return with_sign_of(y, x);
    } else {
        const V c = simd::select(simd::mask<V>(a > 20.0), V{} + 20.0, a);
        const dd::Pair<V> e = exp_pair(c + c);
        V large;
        if constexpr (kSingle) {
            const V big = e.hi + e.lo;
            large = (big - 1.0) / (big + 1.0);
        } else {
            // d = e^2a + 1, normalised: e's low part is as large as 2^-7·e_hi, and the
            // quotient's one correction step needs d_lo within an ulp of d_hi. q = 2/d,
            // tanh = 1 - q.
            const dd::Pair<V> d0 = dd::fast_two_sum(e.hi, V{} + 1.0);
            const dd::Pair<V> d = dd::fast_two_sum(d0.hi, d0.lo + e.lo);
            const dd::Pair<V> q = dd::divide(dd::Pair<V>{V{} + 2.0, V{} + 0.0}, d);
            const dd::Pair<V> s = dd::two_sum(V{} + 1.0, V{} - q.hi);
            large = s.hi + (s.lo - q.lo);
        }
        const V y = simd::select(simd::mask<V>(a < 0.125), odd_series<F>(a), large);
        return with_sign_of(y, x);
    }
}

// cosh or sinh of a double with 708.39 < |x| <= 711: e^a/2, F negligible; 2^(floor(N/64) - 2)
// keeps the first product exact and normal, the doubling rounds once (to Inf on overflow).
template <Func F>
double hyperbolic_top(double x) {
    const double a = std::fabs(x);
    const ExpParts<double> e = exp_parts(a);
    const double y = (e.hi + e.lo) * power_of_two<double>(e.t_bits, kExpBias - 128) * 2.0;
    return F == Func::sinh ? with_sign_of(y, x) : y;
}

template <Func F, class T>
struct Hyperbolic {
    static constexpr bool kSingle = sizeof(T) == 4;
    using Element = T;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = F == Func::cosh   ? (kSingle ? "vsCosh" : "vdCosh")
                                         : F == Func::sinh ? (kSingle ? "vsSinh" : "vdSinh")
                                                           : (kSingle ? "vsTanh" : "vdTanh");
    static constexpr int kVectors = 2;

    static const Context &context() { return kNoContext; }

    static T element(T x, const Context &, int &status) {
        status = ARQ_STATUS_OK;
        const double d = x;
        const std::uint64_t abs_bits = bits_of(d) & kAbsMask;
        if (abs_bits > kPlusInfBits) return x + x;  // NaN, quiet
        if (abs_bits == kPlusInfBits) {
            if constexpr (F == Func::cosh) return static_cast<T>(double_from(kPlusInfBits));
            if constexpr (F == Func::sinh) return x;
            return static_cast<T>(with_sign_of(1.0, d));
        }
        if (F == Func::tanh || (high_word(d) & 0x7FFFFFFF) <= kFastLimitD) {
            const T y = static_cast<T>(hyperbolic_value<F, kSingle>(d));
            if (kSingle && std::isinf(y)) status = ARQ_STATUS_OVERFLOW;
            return y;
        }
        if constexpr (F != Func::tanh) {
            // Beyond 711 (and beyond the single range) the result is infinite.
            const double y =
                double_from(abs_bits) < 711.0 && !kSingle
                    ? hyperbolic_top<F>(d)
                    : with_sign_of(double_from(kPlusInfBits), F == Func::sinh ? d : 1.0);
            if (std::isinf(y)) status = ARQ_STATUS_OVERFLOW;
            return static_cast<T>(y);
        }
        return x;  // not reached
    }

    static bool unusual(T x, const Context &) {
        if constexpr (kSingle) {
            const std::uint32_t m = bits_of(x) & 0x7FFFFFFF;
            return F == Func::tanh ? m >= 0x7F800000 : m >= kFastLimitS;
        } else {
            const std::uint32_t h = high_word(x) & 0x7FFFFFFF;
            return F == Func::tanh ? h >= 0x7FF00000 : h > kFastLimitD;
        }
    }

    static Vec<double> lanes(Vec<double> x, const T *, const Context &) {
        return hyperbolic_value<F, kSingle>(x);
    }
};

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dCosh_A(int n, const double *a,
                                                                      double *r) {
    run_one<Hyperbolic<Func::cosh, double>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sCosh_A(int n, const float *a,
                                                                      float *r) {
    run_one<Hyperbolic<Func::cosh, float>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dSinh_A(int n, const double *a,
                                                                      double *r) {
    run_one<Hyperbolic<Func::sinh, double>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sSinh_A(int n, const float *a,
                                                                      float *r) {
    run_one<Hyperbolic<Func::sinh, float>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dTanh_A(int n, const double *a,
                                                                      double *r) {
    run_one<Hyperbolic<Func::tanh, double>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sTanh_A(int n, const float *a,
                                                                      float *r) {
    run_one<Hyperbolic<Func::tanh, float>>(n, a, r);
}

}  // namespace korb::vecmath
