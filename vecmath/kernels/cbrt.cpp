// Cube roots and their relatives, single and double: Cbrt (cbrt x), InvCbrt (1/cbrt x) and
// Pow2o3 (cbrt(x)², so defined for negative x).
//
// |x| = 2^(3q + s)·m with m in [1, 2) and s in {0, 1, 2}, so that cbrt|x| = 2^q·cbrt(m') with
// m' = 2^s·m in [1, 8). A degree-5 polynomial in m (tools/fit_poly.py cbrt, relative error
// 1.8e-6) times 2^(s/3) gives cbrt(m') to about 2^-19; it is rounded to a t with 17 significant
// bits, so that t² and t³ are exact and so is d = m' - t³. With δ = d/t³ (one division, |δ| below
// 2^-15), m' = t³·(1 + δ) and each function is t^p·(1 + δ)^(p/3) for p = 1, -1, 2, the binomial
// series to δ³ (the next term is below 2^-64 of the result) added to the exact t^p as one small
// correction: the only rounding at full weight is the last addition, so the double results are
// within about 0.5 ulp, exact when the root is representable (cubes). InvCbrt needs 1/t, whose
// rounding error e = 1 - t·v is found exactly and joins the correction. The scaling by 2^q (2^-q,
// 2^2q) is exact: every result of a finite non-zero argument is a normal number.
//
// The single-precision kernels compute in double on the widened arguments, without a division:
// a polynomial for m'^(-1/3) and one Newton step (see cube_power_single), rounded once to float.
//
// Vectors of finite, normal, non-zero arguments take the vector path; any other vector, and the
// last elements that fill no vector, go element by element with the same operations: a subnormal
// is scaled by 2^54 first (2^18 for the root), ±0, ±Inf and NaN as C99 has cbrt and the powers
// (a NaN comes back quiet). The only status is InvCbrt's ARQ_STATUS_SING at ±0 (result ±Inf). In
// the flushing mode a subnormal argument is the zero of its sign.
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using simd::Bits;
using simd::Vec;

constexpr double kP[] = {0.005072953325277491, -0.010271170742079951, 0.020886322742377506,
                         -0.05643629468272744, 0.25438164562453464,   1.144712948162971};
constexpr double kCbrt2 = 1.2599210498948732;  // 2^(1/3)
constexpr double kCbrt4 = 1.5874010519681994;  // 2^(2/3)
// 1/cbrt(m) on [1, 2] in m - 3/2 (tools/fit_poly.py cbrt, relative error 6.9e-6).
constexpr double kQ[] = {-0.016511679091286462, 0.028411971197569164, -0.044529554849620206,
                         0.08593584269932265,   -0.1941318962123832,  0.873585263192336};
constexpr double kInvCbrt2 = 0.79370052598409979;  // 2^(-1/3)
constexpr double kInvCbrt4 = 0.62996052494743658;  // 2^(-2/3)
constexpr double kShifter = 6755399441055744.0;    // 1.5·2^52: rounds to an integer
constexpr double kGrid = 103079215104.0;           // 1.5·2^36: rounds [1, 2] to multiples of 2^-16
constexpr std::uint64_t kExponentOne = 1023;
constexpr std::uint64_t kQuietBit = 0x0008000000000000;
constexpr std::uint64_t kSmallestNormalBits = 0x0010000000000000;

enum class Power { root, inverse, two_thirds };

template <class V>
[[gnu::always_inline]] inline V select(Bits<V> m, V a, V b) {
    return simd::select(m, a, b);
}

// |x|^(p/3) for |x| normal, finite and non-zero (nothing is checked); the sign is the caller's.
template <Power kPower, class V>
[[gnu::always_inline]] inline V cube_power(V x) {
    const Bits<V> b = simd::to_bits(x) & kAbsMask;
    // The biased exponent E, exactly, as a double; E = 3·Q + s.
    const V e = simd::from_bits<V>((b >> 52) | 0x4330000000000000) - 0x1p52;
    const V q_t = (e - 1.0) * (1.0 / 3) + kShifter;  // Q = floor(E/3) in the low bits
    const V q = q_t - kShifter;
    const V s = e - 3.0 * q;
    const Bits<V> q_bits = simd::to_bits(q_t);
    const Bits<V> mantissa = b & kMantissa;
    const V m = simd::from_bits<V>(mantissa | (kExponentOne << 52));
    // m' = 2^s·m: s joins the exponent field.
    const V m3 =
        simd::from_bits<V>(mantissa | ((simd::to_bits(s + kShifter) + kExponentOne) << 52));
    const V u = m - 1.5;
    V p = V{} + kP[0];
    for (int i = 1; i < 6; ++i) p = p * u + kP[i];
    const V c_s = select(simd::mask<V>(s == 1.0), V{} + kCbrt2,
                         select(simd::mask<V>(s == 2.0), V{} + kCbrt4, V{} + 1.0));
    const V t = ((p * c_s) + kGrid) - kGrid;  // 17 significant bits
    const V t2 = t * t;                       // exact
    const V t3 = t2 * t;                      // exact
    const V d = m3 - t3;                      // exact
    // E - 1023 = 3·(Q - 341) + s: the result's power of two from Q's bits (Q <= 682).
    if constexpr (kPower == Power::root) {
        const V delta = d / t3;
        const V corr = t * (delta * (1.0 / 3 - delta * (1.0 / 9 - delta * (5.0 / 81))));
        const V y = t + corr;
        return y * simd::from_bits<V>((q_bits + (kExponentOne - 341)) << 52);
    } else if constexpr (kPower == Power::inverse) {
        const V v = 1.0 / t;
        // e = 1 - t·v exactly: v in two parts whose products with t are exact.
        const V v_hi = simd::from_bits<V>(simd::to_bits(v) & 0xFFFFFFFFF8000000);
        const V err = (1.0 - t * v_hi) - t * (v - v_hi);
        const V delta = d * (v * v * v);
        const V corr = err + delta * (-1.0 / 3 + delta * (2.0 / 9 - delta * (14.0 / 81)));
        const V y = v + v * corr;
        // 2^(341 - Q): Q's bits subtracted from a pattern whose low bits hold 1364.
        return y * simd::from_bits<V>((Bits<V>{} + (0x4338000000000000 + 1364) - q_bits) << 52);
    } else {
        const V delta = d / t3;
        const V corr = t2 * (delta * (2.0 / 3 - delta * (1.0 / 9 - delta * (4.0 / 81))));
        const V y = t2 + corr;
        // 2^(2Q - 682).
        return y * simd::from_bits<V>(((q_bits << 1) + (kExponentOne - 682)) << 52);
    }
}

// The single-precision kernels' value, in double on widened arguments (x normal as a double):
// w ≈ m'^(-1/3) from a polynomial (6.9e-6) and one Newton step w + w·(1 - m'·w³)/3 without a
// division (relative error below 2^-33), then w, m'·w² or m'·w for the three powers: within
// 2^-32 before the one rounding to float.
template <Power kPower, class V>
[[gnu::always_inline]] inline V cube_power_single(V x) {
    const Bits<V> b = simd::to_bits(x) & kAbsMask;
    const V e = simd::from_bits<V>((b >> 52) | 0x4330000000000000) - 0x1p52;
    const V q_t = (e - 1.0) * (1.0 / 3) + kShifter;
    const V s = e - 3.0 * (q_t - kShifter);
    const Bits<V> q_bits = simd::to_bits(q_t);
    const Bits<V> mantissa = b & kMantissa;
    const V m = simd::from_bits<V>(mantissa | (kExponentOne << 52));
    const V m3 =
        simd::from_bits<V>(mantissa | ((simd::to_bits(s + kShifter) + kExponentOne) << 52));
    const V u = m - 1.5;
    V p = V{} + kQ[0];
    for (int i = 1; i < 6; ++i) p = p * u + kQ[i];
    const V c_s = select(simd::mask<V>(s == 1.0), V{} + kInvCbrt2,
                         select(simd::mask<V>(s == 2.0), V{} + kInvCbrt4, V{} + 1.0));
    V w = p * c_s;
    w = w + w * ((1.0 - m3 * (w * w * w)) * (1.0 / 3));
    if constexpr (kPower == Power::root) {
        return (m3 * (w * w)) * simd::from_bits<V>((q_bits + (kExponentOne - 341)) << 52);
    } else if constexpr (kPower == Power::inverse) {
        return w * simd::from_bits<V>((Bits<V>{} + (0x4338000000000000 + 1364) - q_bits) << 52);
    } else {
        return (m3 * w) * simd::from_bits<V>(((q_bits << 1) + (kExponentOne - 682)) << 52);
    }
}

// The same for one element of any finite non-zero magnitude: subnormals scaled by 2^54.
template <Power kPower>
double cube_power_any(double abs_x) {
    if (bits_of(abs_x) >= kSmallestNormalBits) return cube_power<kPower>(abs_x);
    const double y = cube_power<kPower>(abs_x * 0x1p54);
    if constexpr (kPower == Power::root) {
        return y * 0x1p-18;
    } else if constexpr (kPower == Power::inverse) {
        return y * 0x1p18;
    } else {
        return y * 0x1p-36;
    }
}

template <Power kPower, bool kSingle>
double cube_element(double x, int &status) {
    const std::uint64_t b = bits_of(x);
    const std::uint64_t sign = b & kSignBit;
    const std::uint64_t abs_b = b & kAbsMask;
    status = ARQ_STATUS_OK;
    if (abs_b > kPlusInfBits) return double_from(b | kQuietBit);
    if (abs_b == kPlusInfBits) {
        if constexpr (kPower == Power::root) return x;
        if constexpr (kPower == Power::inverse) return double_from(sign);
        return double_from(kPlusInfBits);
    }
    if (abs_b == 0) {
        if constexpr (kPower == Power::root) return x;
        if constexpr (kPower == Power::inverse) {
            status = ARQ_STATUS_SING;
            return double_from(sign | kPlusInfBits);
        }
        return 0.0;
    }
    const double y = kSingle ? cube_power_single<kPower>(double_from(abs_b))
                             : cube_power_any<kPower>(double_from(abs_b));
    return kPower == Power::two_thirds ? y : double_from(bits_of(y) | sign);
}

// The result's sign for the lanes: x's, except for Pow2o3.
template <Power kPower, class V>
[[gnu::always_inline]] inline V signed_lanes(V y, V x) {
    if constexpr (kPower == Power::two_thirds) {
        return y;
    } else {
        return simd::from_bits<V>(simd::to_bits(y) | (simd::to_bits(x) & kSignBit));
    }
}

constexpr char kNames[3][2][11] = {
    {"vsCbrt", "vdCbrt"}, {"vsInvCbrt", "vdInvCbrt"}, {"vsPow2o3", "vdPow2o3"}};

template <class T, Power kPower>
struct Cube {
    static constexpr bool kDouble = sizeof(T) == sizeof(double);
    using Element = T;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = kNames[static_cast<int>(kPower)][kDouble ? 1 : 0];
    static constexpr int kVectors = kDouble ? 4 : 2;

    static const Context &context() { return kNoContext; }

    // A subnormal read as zero (the flushing mode) is that zero here too, built from the sign:
    // the root of a zero is the argument itself, and whether a float widened and narrowed back
    // keeps its subnormal bits would depend on the compiler folding the two conversions away.
    static T element(T x, const Context &, int &status) {
        return static_cast<T>(cube_element<kPower, !kDouble>(as_read(x), status));
    }

    // Zero, subnormal, infinite or NaN, either sign; tested in integer registers.
    static bool unusual(T x, const Context &) {
        if constexpr (kDouble) {
            const std::uint32_t hi = high_word(x) & 0x7FFFFFFF;
            return hi - 0x00100000u >= 0x7FF00000u - 0x00100000u;
        } else {
            const std::uint32_t b = bits_of(x) & 0x7FFFFFFF;
            return b - 0x00800000u >= 0x7F800000u - 0x00800000u;
        }
    }

    static Vec<double> lanes(Vec<double> x, const T *, const Context &) {
        if constexpr (kDouble) {
            return signed_lanes<kPower>(cube_power<kPower>(x), x);
        } else {
            return signed_lanes<kPower>(cube_power_single<kPower>(x), x);
        }
    }
};

}  // namespace

#define KORB_CUBE_KERNEL(p, T, F, kPower)                                                        \
    extern "C"                                                                                   \
        __attribute__((visibility("hidden"))) void korb_vm_##p##F##_A(int n, const T *a, T *r) { \
        run_one<Cube<T, Power::kPower>>(n, a, r);                                                \
    }
KORB_CUBE_KERNEL(s, float, Cbrt, root)
KORB_CUBE_KERNEL(d, double, Cbrt, root)
KORB_CUBE_KERNEL(s, float, InvCbrt, inverse)
KORB_CUBE_KERNEL(d, double, InvCbrt, inverse)
KORB_CUBE_KERNEL(s, float, Pow2o3, two_thirds)
KORB_CUBE_KERNEL(d, double, Pow2o3, two_thirds)
#undef KORB_CUBE_KERNEL

}  // namespace korb::vecmath
