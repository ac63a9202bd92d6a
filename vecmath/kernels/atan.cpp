// The arctangent and the two-argument arctangent, single and double.
//
// atan(a) for a = |x| is atan(c) + atan(r) with r = (p·a - q)/(p + q·a), from a table row
// {q, p, atan(c)} chosen by a's exponent and top four significand bits (arc_hyperbolic_data.inc,
// tools/gen_arc_hyperbolic.py): c = q is the midpoint of a sixteenth of a binade from 2^-6 to 64
// (p = 1, so a - c is exact), c = 0 below 2^-6 (r = a) and "c = inf" from 64 on (q = 1, p = 0,
// r = -1/a, atan(c) = pi/2). |r| <= 2^-6 everywhere, and atan(r) = r + r·z·P(z), z = r², P of
// degree 3 (error 2^-67 relative to r). The result atan(c)_hi + (atan(c)_lo + atan(r)) rounds
// once at full weight; r's relative error (about 2.5·2^-53 from the products, the sum and the
// division) reaches the result scaled by |r|/atan(a) <= 1/25, so the double kernel stays within
// about 0.6 ulp.
//
// atan2(y, x) reduces the same way with t = |y|/|x| choosing the row and
// r = (p·|y| - q·|x|)/(p·|x| + q·|y|): q·|x| is formed exactly from |x| split into 46 and 7
// significant bits, so the numerator rounds once. r's rounding is corrected with the exact
// remainder (Dekker's product), which matters where c = 0 and the result is r itself. For x < 0
// the angle is pi - atan(t), pi + the table's value kept exact by a two-sum; y's sign comes last.
//
// The single kernels compute the same on doubles with P of degree 1 (error 2^-41) and no
// remainder correction, and round the double result to float once.
//
// Vectors go through the lanes unless an element is unusual: atan: NaN or ±Inf; atan2: an
// argument that is zero, subnormal, infinite or NaN, or (double) outside [2^-460, 2^460], where the
// products of the reduction could leave the normal range. The element path handles those with
// the results of C99 Annex F: atan(±Inf) = ±pi/2; atan2(±0, +0) = ±0, atan2(±0, -0) = ±pi,
// atan2(±0, x < 0) = ±pi, atan2(±0, x > 0) = ±0, atan2(y, ±0) = ±pi/2 for y != 0,
// atan2(±y, +Inf) = ±0 and atan2(±y, -Inf) = ±pi for finite y, atan2(±Inf, x) = ±pi/2 for finite
// x, atan2(±Inf, +Inf) = ±pi/4, atan2(±Inf, -Inf) = ±3pi/4, NaN in, quiet NaN out; other pairs
// are scaled by a power of two into the range of the lanes, which does not change the angle. No
// status is reported, except ARQ_STATUS_UNDERFLOW by atan2 when the result is below the smallest
// normal number (subnormal, or zero from a non-zero y).
#include <cmath>
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/double_double.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using simd::Bits;
using simd::Vec;

struct AtanRow {
    double q, p, hi, lo;
};

#include "vecmath/kernels/arc_hyperbolic_data.inc"
alignas(32) constexpr AtanRow kAtanTable[] = {KORB_ATAN_TABLE_ROWS};
static_assert(sizeof kAtanTable / sizeof kAtanTable[0] == 194);
constexpr double kAtanD[] = KORB_ATAN_D;
constexpr double kAtanS[] = KORB_ATAN_S;

constexpr double kHalfPiHi = 1.5707963267948966;
constexpr double kPiHi = 3.141592653589793;
constexpr double kPiLo = 1.2246467991473532e-16;
constexpr double kQuarterPi = 0.7853981633974483;
constexpr double kThreeQuarterPi = 2.356194490192345;

// The table row of a magnitude, from its pattern: 0 below 2^-6, 193 from 64 on, else one per
// sixteenth of a binade. For doubles the high word, for floats the whole pattern (sign clear).
[[gnu::always_inline]] inline int row_index(std::int32_t offset) {
    std::int32_t i = offset < -1 ? -1 : offset;
    i = i > 192 ? 192 : i;
    return i + 1;
}
[[gnu::always_inline]] inline int row_of_high_word(std::uint32_t high_abs) {
    return row_index(static_cast<std::int32_t>(high_abs - 0x3F900000u) >> 16);
}
[[gnu::always_inline]] inline int row_of_float(std::uint32_t abs_bits) {
    return row_index(static_cast<std::int32_t>(abs_bits - 0x3C800000u) >> 19);
}

template <class V>
struct Row {
    V q, p, hi, lo;
};

[[gnu::always_inline]] inline Row<double> row(int i) {
    const AtanRow &e = kAtanTable[i];
    return {e.q, e.p, e.hi, e.lo};
}

template <class Index>
[[gnu::always_inline]] inline Row<Vec<double>> rows(Index index) {
    Row<Vec<double>> r;
    simd::gather_pairs<4>(&kAtanTable[0].q, index, r.q, r.p);
    simd::gather_pairs<4>(&kAtanTable[0].hi, index, r.hi, r.lo);
    return r;
}

// The rows of lanes whose magnitudes (as doubles) are v: the high words go through memory.
[[gnu::always_inline]] inline Row<Vec<double>> rows_of(Vec<double> v) {
    alignas(simd::kNativeBytes) double stored[simd::kCount<Vec<double>>];
    simd::store_lanes(stored, v);
    const double *s = simd::opaque(stored);
    return rows([s](int l) { return row_of_high_word(high_word(s[l]) & 0x7FFFFFFF); });
}

template <class V>
[[gnu::always_inline]] inline V sign_of(V x) {
    return simd::from_bits<V>(simd::to_bits(x) & kSignBit);
}
template <class V>
[[gnu::always_inline]] inline V with_sign_of(V magnitude, V x) {
    return simd::from_bits<V>(simd::to_bits(magnitude) ^ (simd::to_bits(x) & kSignBit));
}

// P(z) of degree 3 (double kernels) or 1 (single kernels).
template <bool kSingle, class V>
[[gnu::always_inline]] inline V atan_poly(V z) {
    if constexpr (kSingle) {
        return kAtanS[0] + z * kAtanS[1];
    } else {
        return (kAtanD[0] + z * kAtanD[1]) + (z * z) * (kAtanD[2] + z * kAtanD[3]);
    }
}

// atan(a) for finite a >= 0 and its table row.
template <bool kSingle, class V>
[[gnu::always_inline]] inline V atan_value(V a, const Row<V> &e) {
    const V r = (e.p * a - e.q) / (e.p + e.q * a);
    const V z = r * r;
    return e.hi + (e.lo + (r + (r * z) * atan_poly<kSingle>(z)));
}

// ---- atan ---------------------------------------------------------------------------------

template <class T>
struct Atan {
    static constexpr bool kSingle = sizeof(T) == 4;
    using Element = T;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = kSingle ? "vsAtan" : "vdAtan";
    static constexpr int kVectors = 2;

    static const Context &context() { return kNoContext; }

    static T element(T x, const Context &, int &status) {
        status = ARQ_STATUS_OK;
        const double d = x;
        const std::uint64_t abs_bits = bits_of(d) & kAbsMask;
        if (abs_bits > kPlusInfBits) return x + x;  // NaN, quiet
        if (abs_bits == kPlusInfBits) return static_cast<T>(with_sign_of(kHalfPiHi, d));
        const double a = double_from(abs_bits);
        const int i = row_of_high_word(static_cast<std::uint32_t>(abs_bits >> 32));
        return static_cast<T>(with_sign_of(atan_value<kSingle>(a, row(i)), d));
    }

    static bool unusual(T x, const Context &) {
        if constexpr (kSingle) {
            return (bits_of(x) & 0x7FFFFFFF) >= 0x7F800000;
        } else {
            return (high_word(x) & 0x7FFFFFFF) >= 0x7FF00000;
        }
    }

    static Vec<double> lanes(Vec<double> x, const T *src, const Context &) {
        const Vec<double> a = simd::abs(x);
        Row<Vec<double>> e;
        if constexpr (kSingle) {
            e = rows([src](int l) { return row_of_float(bits_of(src[l]) & 0x7FFFFFFF); });
        } else {
            e = rows([src](int l) { return row_of_high_word(high_word(src[l]) & 0x7FFFFFFF); });
        }
        return with_sign_of(atan_value<kSingle>(a, e), x);
    }
};

// ---- atan2 --------------------------------------------------------------------------------

// atan2(y, x) for finite non-zero y and x whose magnitudes are in the lanes' range, as a double;
// e is the row of t = |y|/|x|. The angle of (|x|, |y|) is atan(c) + r + r_lo + r·z·P(z); for
// x < 0 it is subtracted from pi, whose high part the two-sum keeps exact.
template <bool kSingle, class V>
[[gnu::always_inline]] inline V atan2_value(V y, V x, const Row<V> &e) {
    const V ay = simd::abs(y);
    const V ax = simd::abs(x);
    V r, r_lo;
    if constexpr (kSingle) {
        // |x| has 24 significant bits and q 6: q·|x| is exact.
        r = (e.p * ay - e.q * ax) / (e.p * ax + e.q * ay);
        r_lo = V{} + 0.0;
    } else {
        // |x| = x_hi + x_lo with 46 and 7 significant bits: q·x_hi and q·x_lo are exact, and
        // p·|y| - q·x_hi is exact too (the two are within a factor 2, or q·x_hi is 0 or |x|).
        const V x_hi = simd::from_bits<V>(simd::to_bits(ax) & ~std::uint64_t{0x7F});
        const V x_lo = ax - x_hi;
        const V num = (e.p * ay - e.q * x_hi) - e.q * x_lo;
        const V den = e.p * ax + e.q * ay;
        r = num / den;
        const dd::Pair<V> rd = dd::exact_product(r, den);
        r_lo = ((num - rd.hi) - rd.lo) / den;
    }
    const V z = r * r;
    const V tail = r + (r_lo + (r * z) * atan_poly<kSingle>(z));
    // K + σ·(hi + lo + tail): K = pi and σ = -1 where x is negative, K = 0 and σ = 1 elsewhere.
    const Bits<V> sigma = simd::to_bits(x) & kSignBit;
    const Bits<V> negative = simd::mask<V>(sigma != 0);
    const V k_hi = simd::from_bits<V>(simd::to_bits(V{} + kPiHi) & negative);
    const V k_lo = simd::from_bits<V>(simd::to_bits(V{} + kPiLo) & negative);
    const auto flip = [sigma](V v) { return simd::from_bits<V>(simd::to_bits(v) ^ sigma); };
    const dd::Pair<V> s = dd::two_sum(k_hi, flip(e.hi));
    const V angle = s.hi + (s.lo + ((k_lo + flip(e.lo)) + flip(tail)));
    return with_sign_of(angle, y);
}

// The double lanes' range: 2^-460 <= |v| < 2^460, by the high word.
constexpr std::uint32_t kBoxLow = 0x23300000;
constexpr std::uint32_t kBoxHigh = 0x5CB00000;
bool in_box(double v) {
    return (high_word(v) & 0x7FFFFFFF) - kBoxLow < kBoxHigh - kBoxLow;
}
// Normal and finite (not zero, subnormal, infinite or NaN).
bool normal_float(float v) {
    return (bits_of(v) & 0x7FFFFFFF) - 0x00800000u < 0x7F800000u - 0x00800000u;
}

// atan2 of finite non-zero doubles in the lanes' range, one element, as the lanes compute it.
template <bool kSingle>
double atan2_in_range(double y, double x) {
    const double t = std::fabs(y) / std::fabs(x);
    return atan2_value<kSingle>(y, x, row(row_of_high_word(high_word(t) & 0x7FFFFFFF)));
}

double quiet_nan_of(double y, double x) {
    // The addition raises invalid for a signalling NaN; the result is y's NaN when y is one.
    volatile double raise = y + x;
    (void)raise;
    return double_from(bits_of(std::isnan(y) ? y : x) | 0x0008000000000000);
}

// The special pairs: NaN, zeros and infinities. Returns false for finite non-zero pairs. Zeros
// are found by floating comparison, so that a subnormal read as zero (denormals-are-zero) is
// one.
bool atan2_special(double y, double x, double &result) {
    if (std::isnan(y) || std::isnan(x)) {
        result = quiet_nan_of(y, x);
        return true;
    }
    const bool x_negative = (bits_of(x) & kSignBit) != 0;
    double angle;
    if (y == 0.0) {
        angle = x_negative ? kPiHi : 0.0;
    } else if (x == 0.0) {
        angle = kHalfPiHi;
    } else if (std::isinf(y)) {
        angle = std::isinf(x) ? (x_negative ? kThreeQuarterPi : kQuarterPi) : kHalfPiHi;
    } else if (std::isinf(x)) {
        angle = x_negative ? kPiHi : 0.0;
    } else {
        return false;
    }
    result = with_sign_of(angle, y);
    return true;
}

double atan2_element_d(double y, double x, int &status) {
    status = ARQ_STATUS_OK;
    double result;
    if (atan2_special(y, x, result)) return result;
    if (in_box(y) && in_box(x)) return atan2_in_range<false>(y, x);
    // Scaling both by the same power of two leaves the angle as it is.
    const int ey = std::ilogb(y), ex = std::ilogb(x);
    if (ey - ex > 900) return with_sign_of(kHalfPiHi, y);  // pi/2 ± less than 2^-899
    if (ex - ey > 900) {
        if ((bits_of(x) & kSignBit) != 0) return with_sign_of(kPiHi, y);
        // atan2 = t - t³/3 with t below 2^-899: t rounded once.
        result = y / x;
        if (std::fabs(result) < 0x1p-1022) status = ARQ_STATUS_UNDERFLOW;
        return result;
    }
    const int shift = 440 - (ey > ex ? ey : ex);
    return atan2_in_range<false>(std::ldexp(y, shift), std::ldexp(x, shift));
}

float atan2_element_s(float y, float x, int &status) {
    status = ARQ_STATUS_OK;
    double result;
    if (atan2_special(y, x, result)) return static_cast<float>(result);
    const float f = static_cast<float>(atan2_in_range<true>(y, x));
    if (std::fabs(f) < 0x1p-126f) status = ARQ_STATUS_UNDERFLOW;
    return f;
}

template <class T>
struct Atan2 {
    static constexpr bool kSingle = sizeof(T) == 4;
    using Element = T;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = kSingle ? "vsAtan2" : "vdAtan2";
    static constexpr int kVectors = 2;

    static const Context &context() { return kNoContext; }

    static T element(T y, T x, const Context &, int &status) {
        if constexpr (kSingle) {
            return atan2_element_s(y, x, status);
        } else {
            return atan2_element_d(y, x, status);
        }
    }

    static bool unusual(T y, T x, const Context &) {
        if constexpr (kSingle) {
            return !normal_float(y) || !normal_float(x);
        } else {
            return !in_box(y) || !in_box(x);
        }
    }

    // Single lanes whose result is below the smallest normal float are refused: the element
    // path reports the underflow.
    static Vec<double> lanes(Vec<double> y, Vec<double> x, const Context &, bool &refused) {
        const Vec<double> angle = atan2_value<kSingle>(y, x, rows_of(simd::abs(y) / simd::abs(x)));
        if constexpr (kSingle) {
            refused = simd::any(simd::mask<Vec<double>>(simd::abs(angle) < 0x1p-126));
        }
        return angle;
    }
};

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dAtan_A(int n, const double *a,
                                                                      double *r) {
    run_one<Atan<double>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sAtan_A(int n, const float *a,
                                                                      float *r) {
    run_one<Atan<float>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dAtan2_A(int n, const double *a,
                                                                       const double *b, double *r) {
    run_two<Atan2<double>>(n, a, b, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sAtan2_A(int n, const float *a,
                                                                       const float *b, float *r) {
    run_two<Atan2<float>>(n, a, b, r);
}

}  // namespace korb::vecmath
