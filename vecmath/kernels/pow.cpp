// Powers, single and double: Powx with a scalar exponent, r[i] = a[i]^b = e^(b·ln|a[i]|), signed,
// and Pow with an exponent per element, r[i] = a[i]^b[i], the same computation.
//
// ln|a| is computed as a sum of two doubles from the logarithm tables of dLn (x = 2^k·m,
// rcp(j) ≈ 1/m, r = m·rcp - 1 exact in two parts) and the Taylor series of ln(1 + r) to r^7
// (|r| < 2^-9), r and r²/2 added exactly: relative error below 2^-70, so that b·ln|a| keeps an
// absolute error below 2^-60 up to the overflow threshold (|b·ln|a|| < 745) and the result stays
// within an ulp for any b (0.9999999999993316^(10^15) included). z = b·ln|a| is formed exactly as a sum of two
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
#include "vecmath/kernels/ln_exp_precise.h"
#include "vecmath/kernels/ln_value.h"

namespace korb::vecmath {
namespace {

using exp_data::kInvL;
using exp_data::kLHi;
using exp_data::kLLo;
using exp_data::kShifter;
using simd::Bits;
using simd::Vec;

constexpr std::uint64_t kSmallestNormalBits = 0x0010000000000000;
constexpr std::uint64_t kQuietBit = 0x0008000000000000;

// |z| below this keeps a double result normal (the vector path's scaling needs that).
constexpr double kFastZ = 708.39;
// Beyond these the double result is +Inf or rounds to +0.
constexpr double kOverflowZ = 709.79;
constexpr double kUnderflowZ = -745.2;

using precise::Sum;

// The exponent b, classified once per call (Powx) or per element (Pow's element path).
struct Exponent {
    double b;
    Sum<double> split;            // Dekker's split, when |b| < 2^64
    bool integer, odd, ordinary;  // ordinary: finite, non-zero, |b| < 2^64
};

Exponent classify(double b) {
    Exponent e{b, {0.0, 0.0}, false, false, false};
    const double abs_b = std::fabs(b);
    e.integer = abs_b < 0x1p53 ? std::nearbyint(b) == b : std::isfinite(b);
    e.odd = e.integer && abs_b < 0x1p53 && std::fmod(abs_b, 2.0) == 1.0;
    e.ordinary = b != 0.0 && abs_b < 0x1p64;
    if (e.ordinary) e.split = precise::split(b);
    return e;
}

// z = b·(l.hi + l.lo) as z.hi + z.lo, b given with its split: Dekker's product of the high parts
// and the low part's product added.
template <class V>
[[gnu::always_inline]] inline Sum<V> times(const Sum<V> &l, V b, const Sum<V> &b_split) {
    const Sum<V> p = precise::two_prod(l.hi, precise::split(l.hi), b, b_split);
    return {p.hi, p.lo + l.lo * b};
}

// ---- One element -------------------------------------------------------------------------

// ln |a| for finite non-zero |a|, subnormal ones scaled by 2^52 first.
Sum<double> ln_element(double abs_a) {
    if (bits_of(abs_a) >= kSmallestNormalBits) return precise::ln(abs_a);
    const Sum<double> l = precise::ln(abs_a * 0x1p52);
    const Sum<double> s = precise::two_sum(l.hi, -52 * ln_data::kLn2Hi);  // 52·LN2_HI is exact
    return precise::fast_two_sum(s.hi, s.lo + (l.lo - 52 * ln_data::kLn2Lo));
}

// |a|^b for finite non-zero |a| != 1 and ordinary b; rounds once into the subnormal range.
double magnitude_element(double abs_a, const Exponent &e, int &status) {
    const Sum<double> z = times(ln_element(abs_a), e.b, e.split);
    if (z.hi > kOverflowZ) {
        status = ARQ_STATUS_OVERFLOW;
        return double_from(kPlusInfBits);
    }
    if (z.hi < kUnderflowZ) {
        status = ARQ_STATUS_UNDERFLOW;
        return 0.0;
    }
    const double result = precise::scale_any(precise::exp(z));
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
    return y *
           double_from(static_cast<std::uint64_t>((static_cast<std::int32_t>(t_bits) >> 6) + 1023)
                       << 52);
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

// The double kernel: |a|^b on lanes of normal non-zero a (at src), b with its split, with the
// lanes whose z leaves the range of normal results refused.
template <class V>
[[gnu::always_inline]] inline V magnitude_lanes(V a, const double *src, V b, const Sum<V> &b_split,
                                                bool &refused) {
    const Bits<V> abs_bits = simd::to_bits(a) & kAbsMask;
    const Sum<V> l = precise::ln_sum<precise::Precision::kPowers, false>(
        ln_data::exponent(abs_bits), abs_bits, ln_data::rows(src), V{});
    const Sum<V> z = times(l, b, b_split);
    refused = simd::any(simd::mask<V>(simd::abs(z.hi) >= kFastZ));
    return precise::scale_normal(precise::exp(z));
}

// The same as magnitude_single() on lanes of normal non-zero a, with the lanes whose z leaves
// the range of normal float results refused.
[[gnu::always_inline]] inline Vec<double> magnitude_single_lanes(Vec<double> a, Vec<double> b,
                                                                 bool &refused) {
    using V = Vec<double>;
    const V z = ln_positive_normal(simd::abs(a)) * b;
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
            const Vec<double> b = Vec<double>{} + e.b;
            const Sum<Vec<double>> b_split = {Vec<double>{} + e.split.hi,
                                              Vec<double>{} + e.split.lo};
            return with_sign(magnitude_lanes(x, src, b, b_split, refused), x, e);
        } else {
            return with_sign(magnitude_single_lanes(x, Vec<double>{} + e.b, refused), x, e);
        }
    }
};

// Powers with an exponent per element. The vector path takes positive normal bases and exponents
// below 2^64 in magnitude; everything else goes element by element as Powx's element path with
// that element's exponent.
template <class T>
struct Pow {
    static constexpr bool kDouble = sizeof(T) == sizeof(double);
    using Element = T;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = kDouble ? "vdPow" : "vsPow";
    static constexpr int kVectors = 1;

    static const Context &context() { return kNoContext; }

    static T element(T x, T y, const Context &, int &status) {
        if constexpr (kDouble) {
            return powx_element<magnitude_element>(x, classify(y), status);
        } else {
            return powx_element_s(x, classify(y), status);
        }
    }

    static bool unusual(T x, T y, const Context &) {
        if constexpr (kDouble) {
            const std::uint64_t bx = bits_of(x), by = bits_of(y) & kAbsMask;
            constexpr std::uint64_t kBigExponentBits = 0x43F0000000000000;  // 2^64
            return bx - kSmallestNormalBits >= kPlusInfBits - kSmallestNormalBits ||
                   by >= kBigExponentBits;
        } else {
            const std::uint32_t bx = bits_of(x), by = bits_of(y) & 0x7FFFFFFF;
            return bx - 0x00800000u >= 0x7F800000u - 0x00800000u || by >= 0x7F800000u;
        }
    }

    static Vec<double> lanes(Vec<double> x, Vec<double> y, const Context &, bool &refused) {
        if constexpr (kDouble) {
            alignas(simd::kNativeBytes) double src[simd::kCount<Vec<double>>];
            simd::store_lanes(src, x);
            return magnitude_lanes(x, simd::opaque(src), y, precise::split(y), refused);
        } else {
            return magnitude_single_lanes(x, y, refused);
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

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dPow_A(int n, const double *a,
                                                                     const double *b, double *r) {
    run_two<Pow<double>>(n, a, b, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sPow_A(int n, const float *a,
                                                                     const float *b, float *r) {
    run_two<Pow<float>>(n, a, b, r);
}

}  // namespace korb::vecmath
