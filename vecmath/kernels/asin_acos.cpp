// The arcsine and the arccosine, single and double.
//
// For a = |x| <= 1/2, asin(a) = a + a·z·P(z) with z = a²; beyond, asin(a) = pi/2 - 2·asin(u)
// with u = sqrt((1 - a)/2) in [0, 1/2] (1 - a is exact there). P has degree 12 in the double
// kernels (error 2^-57 relative to u) and 5 in the single ones (2^-29.8). acos(x) is
// pi/2 - asin(x) for |x| <= 1/2, 2·asin(u) for x > 1/2 and pi - 2·asin(u) for x < -1/2. So every
// result is K + m·(u + q) with K one of 0, pi/2, pi (each in a high and a low part), m one of ±1,
// ±2 and q = u_lo + u·z·P(z), where u_lo is the square root's rounding error (s - u²)/(2u),
// found exactly with Dekker's product: the root's own error would reach the result doubled. The
// high parts K_hi + m·u are summed exactly (two-sum) and the rest added before the one rounding
// at full weight, so the double kernels stay within about 0.7 ulp. The single kernels compute
// the same on doubles without u_lo and the two-sum, and round the double result to float once.
//
// Vectors whose elements are all of magnitude below 1 go through the lanes, which compute both
// reductions and choose per lane; any other vector, and the last elements that fill no vector,
// go element by element with the same operations and the special cases of C99 Annex F:
// asin(±1) = ±pi/2, acos(1) = +0, acos(-1) = pi, |x| > 1 (also ±Inf) the NaN 0xFFF8000000000000
// (0xFFC00000) with ARQ_STATUS_ERRDOM, a NaN comes back quiet. asin(±0) = ±0, and a tiny x gives
// x itself without any status.
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/double_double.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using simd::Bits;
using simd::Vec;

#include "vecmath/kernels/arc_hyperbolic_data.inc"
constexpr double kAsinD[] = KORB_ASIN_D;
constexpr double kAsinS[] = KORB_ASIN_S;
#undef KORB_ATAN_TABLE_ROWS

constexpr double kHalfPiHi = 1.5707963267948966;
constexpr double kHalfPiLo = 6.123233995736766e-17;
constexpr double kPiHi = 3.141592653589793;
constexpr double kPiLo = 1.2246467991473532e-16;

enum class Func { asin, acos };

// P(z), by pairs of terms (Estrin) for shorter dependency chains.
template <bool kSingle, class V>
[[gnu::always_inline]] inline V asin_poly(V z) {
    const V z2 = z * z;
    if constexpr (kSingle) {
        const auto &k = kAsinS;
        return ((k[0] + z * k[1]) + z2 * (k[2] + z * k[3])) + (z2 * z2) * (k[4] + z * k[5]);
    } else {
        const auto &k = kAsinD;
        const V z4 = z2 * z2;
        const V z8 = z4 * z4;
        const V low = ((k[0] + z * k[1]) + z2 * (k[2] + z * k[3])) +
                      z4 * ((k[4] + z * k[5]) + z2 * (k[6] + z * k[7]));
        const V high = ((k[8] + z * k[9]) + z2 * (k[10] + z * k[11])) + z4 * k[12];
        return low + z8 * high;
    }
}

template <class V>
[[gnu::always_inline]] inline V choose(Bits<V> m, V if_set, V if_clear) {
    return simd::select(m, if_set, if_clear);
}

// asin(x) or acos(x) for |x| < 1 (NaN excluded).
template <Func F, bool kSingle, class V>
[[gnu::always_inline]] inline V arc_value(V x) {
    const V a = simd::abs(x);
    const Bits<V> sign = simd::to_bits(x) & kSignBit;
    const Bits<V> large = simd::mask<V>(a > 0.5);
    // The reduction beyond 1/2, computed for every lane and chosen per lane.
    const V s = (1.0 - a) * 0.5;
    V w = simd::sqrt(s), w_lo = V{} + 0.0;
    if constexpr (!kSingle) w_lo = dd::sqrt(dd::Pair<V>{s, V{} + 0.0}).lo;
    const V u = choose<V>(large, w, a);
    const V u_lo = simd::from_bits<V>(simd::to_bits(w_lo) & large);
    const V z = u * u;
    const V q = u_lo + (u * z) * asin_poly<kSingle>(z);
    // K + m·(u + q).
    V k_hi, k_lo, m;
    if constexpr (F == Func::asin) {
        k_hi = simd::from_bits<V>(simd::to_bits(V{} + kHalfPiHi) & large);
        k_lo = simd::from_bits<V>(simd::to_bits(V{} + kHalfPiLo) & large);
        m = choose<V>(large, V{} - 2.0, V{} + 1.0);
    } else {
        const Bits<V> negative = simd::mask<V>(sign != 0);
        k_hi = choose<V>(large, simd::from_bits<V>(simd::to_bits(V{} + kPiHi) & negative),
                         V{} + kHalfPiHi);
        k_lo = choose<V>(large, simd::from_bits<V>(simd::to_bits(V{} + kPiLo) & negative),
                         V{} + kHalfPiLo);
        // 2 for x > 1/2, -2 for x < -1/2, -1 for 0 <= x <= 1/2, 1 for -1/2 <= x < 0.
        m = simd::from_bits<V>(simd::to_bits(choose<V>(large, V{} + 2.0, V{} - 1.0)) ^ sign);
    }
    V y;
    if constexpr (kSingle) {
        y = (k_hi + m * u) + (k_lo + m * q);
    } else {
        const dd::Pair<V> head = dd::two_sum(k_hi, m * u);
        y = head.hi + (head.lo + (k_lo + m * q));
    }
    if constexpr (F == Func::asin) {
        return simd::from_bits<V>(simd::to_bits(y) ^ sign);
    } else {
        return y;
    }
}

template <Func F, class T>
struct Arc {
    static constexpr bool kSingle = sizeof(T) == 4;
    using Element = T;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName =
        F == Func::asin ? (kSingle ? "vsAsin" : "vdAsin") : (kSingle ? "vsAcos" : "vdAcos");
    static constexpr int kVectors = 2;

    static const Context &context() { return kNoContext; }

    static T element(T x, const Context &, int &status) {
        status = ARQ_STATUS_OK;
        const double d = x;
        const std::uint64_t abs_bits = bits_of(d) & kAbsMask;
        if (abs_bits > kPlusInfBits) return x + x;  // NaN, quiet
        if (abs_bits > kOneBits) {
            status = ARQ_STATUS_ERRDOM;
            return domain_nan<T>();
        }
        if (abs_bits == kOneBits) {
            const bool negative = d < 0.0;
            if constexpr (F == Func::asin) {
                return static_cast<T>(negative ? -kHalfPiHi : kHalfPiHi);
            } else {
                return static_cast<T>(negative ? kPiHi : 0.0);
            }
        }
        return static_cast<T>(arc_value<F, kSingle>(d));
    }

    static bool unusual(T x, const Context &) {
        if constexpr (kSingle) {
            return (bits_of(x) & 0x7FFFFFFF) >= 0x3F800000;
        } else {
            return (high_word(x) & 0x7FFFFFFF) >= 0x3FF00000;
        }
    }

    static Vec<double> lanes(Vec<double> x, const T *, const Context &) {
        return arc_value<F, kSingle>(x);
    }
};

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dAsin_A(int n, const double *a,
                                                                      double *r) {
    run_one<Arc<Func::asin, double>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sAsin_A(int n, const float *a,
                                                                      float *r) {
    run_one<Arc<Func::asin, float>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dAcos_A(int n, const double *a,
                                                                      double *r) {
    run_one<Arc<Func::acos, double>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sAcos_A(int n, const float *a,
                                                                      float *r) {
    run_one<Arc<Func::acos, float>>(n, a, r);
}

}  // namespace korb::vecmath
