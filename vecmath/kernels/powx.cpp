// Powers with a scalar exponent, single and double: r[i] = a[i]^b = 2^(b·log2|a[i]|), signed.
//
// ln|a| is computed as a sum of two doubles from the logarithm tables of dLn (x = 2^k·m,
// rcp(j) ≈ 1/m, r = m·rcp - 1 exact in two parts) and the Taylor series of ln(1 + r) to r^7
// (|r| < 2^-9), accurate to about 2^-68 relative. z = b·ln|a| is formed exactly as a sum of two
// (Dekker's product, b split once per call), and e^z from the exponential tables of dExp
// (2^(j/64) in two parts) and the Taylor series of e^r to r^6, with the low part of z added to
// the reduced argument. The only large rounding is the last addition, so the double result is
// within about 0.52 ulp. The single kernel computes in plain double on widened arguments (see
// magnitude_single) and rounds the double result to float once.
//
// Vectors whose arguments are all finite, normal and non-zero, positive unless b is an integer,
// and whose z keeps the result normal, take the vector path (for single precision each vector of
// floats as two of doubles); the others go element by element with the same operations, and with
// the special cases of C99's pow: a^±0 = 1 and 1^b = 1 also for NaN, other NaNs propagate (quiet),
// ±0^b = ±Inf for b < 0 with ARQ_STATUS_SING, a negative a with a non-integer b the NaN
// 0xFFF8000000000000 (0xFFC00000) with ARQ_STATUS_ERRDOM, ±Inf arguments and exponents by the
// C99 table without status, a result that rounds to ±Inf ARQ_STATUS_OVERFLOW and one below the
// smallest normal number (subnormal or zero) ARQ_STATUS_UNDERFLOW.
#include <cmath>
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/exp_data.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/ln_data.h"
#include "vecmath/kernels/ln_value.h"

namespace korb::vecmath {
namespace {

using exp_data::kInvL;
using exp_data::kLHi;
using exp_data::kLLo;
using exp_data::kShifter;
using ln_data::kHighHalf;
using ln_data::kLn2Hi;
using ln_data::kLn2Lo;
using simd::Bits;
using simd::Vec;

constexpr std::uint64_t kSmallestNormalBits = 0x0010000000000000;
constexpr std::uint64_t kQuietBit = 0x0008000000000000;
constexpr double kSplitter = 134217729.0;  // 2^27 + 1

// |z| below this keeps a double result normal (the vector path's scaling needs that).
constexpr double kFastZ = 708.39;
// Beyond these the double result is +Inf or rounds to +0.
constexpr double kOverflowZ = 709.79;
constexpr double kUnderflowZ = -745.2;

template <class V>
struct Sum {
    V hi, lo;
};

template <class V>
V split_high(V a) {
    const V c = a * kSplitter;
    return c - (c - a);
}

// ln of 2^k·m as hi + lo, from k (as a double), m in [1, 2), its high half and the table row.
template <class V>
Sum<V> ln_sum(V k, V m, V m_hi, V rcp, V l_hi, V l_lo) {
    const V r_hi = m_hi * rcp - 1.0;
    const V r_lo = (m - m_hi) * rcp;
    const V r = r_hi + r_lo;
    const V a = k * kLn2Hi + l_hi;  // exact
    const V b = k * kLn2Lo + l_lo;
    const V poly =
        (r * r) * (-0.5 + r * (1.0 / 3 + r * (-0.25 + r * (0.2 + r * (-1.0 / 6 + r * (1.0 / 7))))));
    const V s_hi = a + r_hi;  // a + r_hi = s_hi + s_lo exactly
    const V bb = s_hi - a;
    const V s_lo = (a - (s_hi - bb)) + (r_hi - bb);
    const V lo = s_lo + (r_lo + (poly + b));
    const V hi = s_hi + lo;
    return {hi, (s_hi - hi) + lo};
}

// The exponent b, classified once per call.
struct Exponent {
    double b;
    double b_hi, b_lo;            // Dekker's split, when |b| < 2^64
    bool integer, odd, ordinary;  // ordinary: finite, non-zero, |b| < 2^64
};

Exponent classify(double b) {
    Exponent e{b, 0.0, 0.0, false, false, false};
    const double abs_b = std::fabs(b);
    e.integer = abs_b < 0x1p53 ? std::nearbyint(b) == b : std::isfinite(b);
    e.odd = e.integer && abs_b < 0x1p53 && std::fmod(abs_b, 2.0) == 1.0;
    e.ordinary = b != 0.0 && abs_b < 0x1p64;
    if (e.ordinary) {
        e.b_hi = split_high(b);
        e.b_lo = b - e.b_hi;
    }
    return e;
}

// z = b·(hi + lo) as z_hi + z_lo.
template <class V>
Sum<V> times_b(Sum<V> l, const Exponent &e) {
    const V z = l.hi * e.b;
    const V l_hh = split_high(l.hi);
    const V l_hl = l.hi - l_hh;
    const V err = ((l_hh * e.b_hi - z) + l_hl * e.b_hi + l_hh * e.b_lo) + l_hl * e.b_lo;
    return {z, err + l.lo * e.b};
}

// e^(z_hi + z_lo) / 2^floor(N/64), from the reduced argument and the table row of N mod 64.
template <class V>
V exp_reduced(Sum<V> z, V k, V t_hi, V t_lo) {
    const V r = ((z.hi - k * kLHi) - k * kLLo) + z.lo;
    const V p =
        r + (r * r) * (0.5 + r * (1.0 / 6 + r * (1.0 / 24 + r * (1.0 / 120 + r * (1.0 / 720)))));
    return (p * (t_hi + t_lo) + t_lo) + t_hi;
}

// ---- One element -------------------------------------------------------------------------

Sum<double> ln_element(double abs_a) {
    int shift = 0;
    if (bits_of(abs_a) < kSmallestNormalBits) {
        abs_a *= 0x1p52;  // subnormal
        shift = 52;
    }
    const std::uint64_t b = bits_of(abs_a);
    const std::uint32_t hi = static_cast<std::uint32_t>(b >> 32);
    const double k =
        static_cast<double>((static_cast<std::int32_t>(hi - ln_data::kSplit) >> 20) - shift);
    const double m = double_from((b & kMantissa) | kOneBits);
    const double m_hi = double_from(bits_of(m) & kHighHalf);
    const ln_data::Row<double> row = ln_data::row(hi);
    return ln_sum(k, m, m_hi, row.rcp, row.hi, row.lo);
}

double power_of_two(std::int64_t e) {
    return double_from(static_cast<std::uint64_t>(e + 1023) << 52);
}

// |a|^b for finite non-zero |a| != 1 and ordinary b; rounds once into the subnormal range.
double magnitude_element(double abs_a, const Exponent &e, int &status) {
    const Sum<double> z = times_b(ln_element(abs_a), e);
    if (z.hi > kOverflowZ) {
        status = ARQ_STATUS_OVERFLOW;
        return double_from(kPlusInfBits);
    }
    if (z.hi < kUnderflowZ) {
        status = ARQ_STATUS_UNDERFLOW;
        return 0.0;
    }
    const double t = z.hi * kInvL + kShifter;
    const std::uint64_t t_bits = bits_of(t);
    const exp_data::Row<double> row = exp_data::row(t_bits);
    const double y = exp_reduced(z, t - kShifter, row.hi, row.lo);
    // floor(N/64) from t's low bits, then two exact scalings by normal powers of two.
    const std::int64_t n = static_cast<std::int64_t>(static_cast<std::int32_t>(t_bits));
    const std::int64_t e2 = n >> 6;
    const std::int64_t half = e2 >> 1;
    const double result = (y * power_of_two(half)) * power_of_two(e2 - half);
    if (bits_of(result) == kPlusInfBits) {
        status = ARQ_STATUS_OVERFLOW;
    } else if (bits_of(result) < kSmallestNormalBits) {
        status = ARQ_STATUS_UNDERFLOW;
    }
    return result;
}

// |a|^b for the single kernel, in plain double arithmetic on the widened float: ln|a| from dLn's
// value path, z = b·ln|a| (|z| < 104 where it matters, so an absolute error below 2^-45), and
// e^z from the exponential table's high parts and e^r to r^4: relative error below 2^-43,
// far below the float result's rounding. The double result is normal; one rounding to float
// follows.
template <class V>
V exp_single(V z, V k, V t_hi) {
    const V r = (z - k * kLHi) - k * kLLo;
    const V p = r + (r * r) * (0.5 + r * (1.0 / 6 + r * (1.0 / 24)));
    return t_hi + t_hi * p;
}

constexpr double kOverflowZSingle = 89.0;     // e^89 > the largest float
constexpr double kUnderflowZSingle = -104.0;  // e^-104 < 2^-150
constexpr double kFastZSingle = 87.3;         // e^±87.3 is a normal float

double magnitude_single(double abs_a, const Exponent &e, int &status) {
    const double z = ln_positive_normal(abs_a) * e.b;
    if (z > kOverflowZSingle) {
        status = ARQ_STATUS_OVERFLOW;
        return double_from(kPlusInfBits);
    }
    if (z < kUnderflowZSingle) {
        status = ARQ_STATUS_UNDERFLOW;
        return 0.0;
    }
    const double t = z * kInvL + kShifter;
    const std::uint64_t t_bits = bits_of(t);
    const double y = exp_single(z, t - kShifter, exp_data::row(t_bits).hi);
    return y * power_of_two(static_cast<std::int32_t>(t_bits) >> 6);
}

template <auto Magnitude>
double powx_element(double a, const Exponent &e, int &status) {
    status = ARQ_STATUS_OK;
    const double b = e.b;
    if (b == 0.0 || a == 1.0) return 1.0;
    if (std::isnan(a) || std::isnan(b)) {
        // a's NaN when a is one, else b's, made quiet: the processor's choice for a + b, but
        // fixed here, where the compiler may swap the operands of an addition. The addition
        // itself raises invalid for a signalling NaN.
        volatile double raise = a + b;
        (void)raise;
        return double_from(bits_of(std::isnan(a) ? a : b) | kQuietBit);
    }
    const std::uint64_t a_bits = bits_of(a);
    const double abs_a = double_from(a_bits & kAbsMask);
    const std::uint64_t sign = e.odd ? (a_bits & kSignBit) : 0;
    const auto signed_result = [sign](double m) { return double_from(bits_of(m) | sign); };
    if (std::isinf(b)) {
        if (abs_a == 1.0) return 1.0;
        return (abs_a < 1.0) == (b < 0.0) ? double_from(kPlusInfBits) : 0.0;
    }
    if (abs_a == 0.0) {
        if (b < 0.0) {
            status = ARQ_STATUS_SING;
            return signed_result(double_from(kPlusInfBits));
        }
        return signed_result(0.0);
    }
    if (std::isinf(abs_a)) return signed_result(b < 0.0 ? 0.0 : double_from(kPlusInfBits));
    if ((a_bits & kSignBit) != 0 && !e.integer) {
        status = ARQ_STATUS_ERRDOM;
        return double_from(kDomainNaN);
    }
    if (!e.ordinary) {  // |b| >= 2^64: |b·ln|a|| > 2^11 unless |a| = 1, and b is even
        if (abs_a == 1.0) return 1.0;
        if ((abs_a < 1.0) == (b < 0.0)) {
            status = ARQ_STATUS_OVERFLOW;
            return double_from(kPlusInfBits);
        }
        status = ARQ_STATUS_UNDERFLOW;
        return 0.0;
    }
    return signed_result(Magnitude(abs_a, e, status));
}

// ---- Lanes -------------------------------------------------------------------------------

// The lanes' arguments can take the vector path: finite, normal, non-zero, and positive unless b
// is an integer.
bool lane_is_ordinary(double a, const Exponent &e) {
    const std::uint64_t bits = bits_of(a);
    const std::uint64_t abs_bits = bits & kAbsMask;
    const bool normal = abs_bits - kSmallestNormalBits < kPlusInfBits - kSmallestNormalBits;
    return normal && (e.integer || (bits & kSignBit) == 0);
}

// The result's sign: a's where b is odd.
Vec<double> with_sign(Vec<double> y, Vec<double> a, const Exponent &e) {
    if (!e.odd) return y;
    return simd::from_bits<Vec<double>>(simd::to_bits(y) | (simd::to_bits(a) & kSignBit));
}

// 2^floor(N/64) added to the exponent field: exact for the normal results of the vector path.
Vec<double> scaled(Vec<double> y, Vec<double> t) {
    const Bits<Vec<double>> power = (simd::to_bits(t) << 46) & 0xFFF0000000000000;
    return simd::from_bits<Vec<double>>(simd::to_bits(y) + power);
}

// The double kernel: |a|^b on lanes of normal non-zero a (at src), with the lanes whose z leaves
// the range of normal results refused.
[[gnu::always_inline]] inline Vec<double> magnitude_lanes(Vec<double> a, const double *src,
                                                          const Exponent &e, bool &refused) {
    using V = Vec<double>;
    const Bits<V> b = simd::to_bits(a) & kAbsMask;
    const V m = simd::from_bits<V>((b & kMantissa) | kOneBits);
    const V m_hi = simd::from_bits<V>(simd::to_bits(m) & kHighHalf);
    const ln_data::Row<V> row = ln_data::rows(src);
    const Sum<V> z = times_b(ln_sum(ln_data::exponent(b), m, m_hi, row.rcp, row.hi, row.lo), e);
    refused = simd::any(simd::mask<V>(simd::abs(z.hi) >= kFastZ));
    const V t = z.hi * kInvL + kShifter;
    const exp_data::Row<V> power = exp_data::row(simd::to_bits(t));
    return scaled(exp_reduced(z, t - kShifter, power.hi, power.lo), t);
}

// The same as magnitude_single() on lanes of normal non-zero a, with the lanes whose z leaves
// the range of normal float results refused.
[[gnu::always_inline]] inline Vec<double> magnitude_single_lanes(Vec<double> a, const Exponent &e,
                                                                 bool &refused) {
    using V = Vec<double>;
    const V z = ln_positive_normal(simd::abs(a)) * e.b;
    refused = simd::any(simd::mask<V>(simd::abs(z) >= kFastZSingle));
    const V t = z * kInvL + kShifter;
    return scaled(exp_single(z, t - kShifter, exp_data::row(simd::to_bits(t)).hi), t);
}

// ---- Single precision on the double computation -------------------------------------------

constexpr float kSmallestNormalF = 0x1p-126f;

float powx_element_s(float a, const Exponent &e, int &status) {
    const double r = powx_element<magnitude_single>(a, e, status);
    const float rf = static_cast<float>(r);
    if (status == ARQ_STATUS_OK && std::isfinite(r) && r != 0.0) {
        if (std::isinf(rf)) {
            status = ARQ_STATUS_OVERFLOW;
        } else if (std::fabs(rf) < kSmallestNormalF) {
            status = ARQ_STATUS_UNDERFLOW;
        }
    }
    return rf;
}

// ---- The kernels --------------------------------------------------------------------------

// One kernel per precision; the single one computes in double. With an exponent that is not
// ordinary (0, ±Inf, NaN, |b| >= 2^64) every element takes the element path.
template <class T>
struct Powx {
    static constexpr bool kDouble = sizeof(T) == sizeof(double);
    using Element = T;
    using Compute = double;
    using Context = Exponent;
    static constexpr const char *kName = kDouble ? "vdPowx" : "vsPowx";
    static constexpr int kVectors = 1;

    static Exponent context(T b) { return classify(b); }

    static T element(T x, const Exponent &e, int &status) {
        if constexpr (kDouble) {
            return powx_element<magnitude_element>(x, e, status);
        } else {
            return powx_element_s(x, e, status);
        }
    }

    static bool unusual(T x, const Exponent &e) { return !e.ordinary || !lane_is_ordinary(x, e); }

    static Vec<double> lanes(Vec<double> x, const T *src, const Exponent &e, bool &refused) {
        if constexpr (kDouble) {
            return with_sign(magnitude_lanes(x, src, e, refused), x, e);
        } else {
            return with_sign(magnitude_single_lanes(x, e, refused), x, e);
        }
    }
};

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dPowx_A(int n, const double *a,
                                                                      double b, double *r) {
    run_scalar<Powx<double>>(n, a, b, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sPowx_A(int n, const float *a,
                                                                      float b, float *r) {
    run_scalar<Powx<float>>(n, a, b, r);
}

}  // namespace korb::vecmath
