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
// Pairs (double) or vectors of four (single) whose arguments are all finite, normal and
// non-zero, positive unless b is an integer, and whose z keeps the result normal, take the
// vector path; the others go element by element with the same operations, and with the special
// cases of C99's pow: a^±0 = 1 and 1^b = 1 also for NaN, other NaNs propagate (quiet),
// ±0^b = ±Inf for b < 0 with ARQ_STATUS_SING, a negative a with a non-integer b the NaN
// 0xFFF8000000000000 (0xFFC00000) with ARQ_STATUS_ERRDOM, ±Inf arguments and exponents by the
// C99 table without status, a result that rounds to ±Inf ARQ_STATUS_OVERFLOW and one below the
// smallest normal number (subnormal or zero) ARQ_STATUS_UNDERFLOW.
#include <cmath>
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/exp_ln_tables.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/ln_value.h"

namespace korb::vecmath {
namespace {

using simd::f64v;
using simd::u64v;

constexpr double kLn2Hi = 0.6931471805598903;  // 42 significant bits
constexpr double kLn2Lo = 5.497923018708371e-14;
constexpr std::uint32_t kSplit = 0x3FE7FC00;
constexpr std::uint64_t kHighHalf = 0x7FFFFFFF00000000;
constexpr std::uint64_t kSmallestNormalBits = 0x0010000000000000;

constexpr double kInvL = 92.33248261689366;      // 64 / ln 2
constexpr double kShifter = 6755399441055744.0;  // 1.5 · 2^52
constexpr double kLHi = 0.010830424695086549;    // ln 2 / 64, high part
constexpr double kLLo = 1.162596423439437e-12;   // ln 2 / 64, low part
constexpr double kSplitter = 134217729.0;        // 2^27 + 1

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
    const double k = static_cast<double>((static_cast<std::int32_t>(hi - kSplit) >> 20) - shift);
    const std::uint32_t j = (((hi & 0xFFC00) + 0x400) & 0x1FF800) >> 11;
    const double m = double_from((b & kMantissa) | kOneBits);
    const double m_hi = double_from(bits_of(m) & kHighHalf);
    const LnEntry &row = kLnTable[j];
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
    const ExpEntry &row = kExpTable[t_bits & 63];
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
    const double y = exp_single(z, t - kShifter, kExpTable[t_bits & 63].hi);
    return y * power_of_two(static_cast<std::int32_t>(t_bits) >> 6);
}

template <auto Magnitude>
double powx_element(double a, const Exponent &e, int &status) {
    status = ARQ_STATUS_OK;
    const double b = e.b;
    if (b == 0.0 || a == 1.0) return 1.0;
    if (std::isnan(a) || std::isnan(b)) return a + b;
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

// ---- Two lanes ---------------------------------------------------------------------------

// 1 when the lane's argument can take the vector path: finite, normal, non-zero, and positive
// unless b is an integer.
bool lane_is_ordinary(double a, const Exponent &e) {
    const std::uint64_t bits = bits_of(a);
    const std::uint64_t abs_bits = bits & kAbsMask;
    const bool normal = abs_bits - kSmallestNormalBits < kPlusInfBits - kSmallestNormalBits;
    return normal && (e.integer || (bits & kSignBit) == 0);
}

// |a|^b on two lanes of normal non-zero |a|, with a bit mask of the lanes whose z leaves the
// range of normal results (their values are not used).
f64v magnitude_lanes(const double *src, const Exponent &e, int &outside) {
    std::uint64_t bits[2] = {bits_of(src[0]) & kAbsMask, bits_of(src[1]) & kAbsMask};
    const LnEntry *rows[2];
    double k[2];
    for (int l = 0; l < 2; ++l) {
        const std::uint32_t hi = static_cast<std::uint32_t>(bits[l] >> 32);
        k[l] = static_cast<double>(static_cast<std::int32_t>(hi - kSplit) >> 20);
        rows[l] = &kLnTable[(((hi & 0xFFC00) + 0x400) & 0x1FF800) >> 11];
    }
    const u64v b = {bits[0], bits[1]};
    const f64v m = reinterpret_cast<f64v>((b & kMantissa) | kOneBits);
    const f64v m_hi = reinterpret_cast<f64v>(reinterpret_cast<u64v>(m) & kHighHalf);
    const f64v rcp = {rows[0]->rcp, rows[1]->rcp};
    const f64v l_hi = {rows[0]->hi, rows[1]->hi};
    const f64v l_lo = {rows[0]->lo, rows[1]->lo};
    const Sum<f64v> z = times_b(ln_sum(f64v{k[0], k[1]}, m, m_hi, rcp, l_hi, l_lo), e);
    const auto abs_z = reinterpret_cast<u64v>(z.hi) & kAbsMask;
    outside = _mm_movemask_pd(reinterpret_cast<__m128d>(reinterpret_cast<f64v>(abs_z) >= kFastZ));
    const f64v t = z.hi * kInvL + kShifter;
    alignas(16) std::uint64_t t_bits[2];
    simd::store(t_bits, t);
    const ExpEntry &r0 = kExpTable[t_bits[0] & 63];
    const ExpEntry &r1 = kExpTable[t_bits[1] & 63];
    const f64v y = exp_reduced(z, t - kShifter, f64v{r0.hi, r1.hi}, f64v{r0.lo, r1.lo});
    // floor(N/64) added to the exponent field: exact for the normal results of this path.
    const u64v power = (reinterpret_cast<u64v>(t) << 46) & 0xFFF0000000000000;
    return reinterpret_cast<f64v>(reinterpret_cast<u64v>(y) + power);
}

// The same as magnitude_single() on two lanes, with the mask of lanes whose z leaves the range of
// normal float results.
f64v magnitude_single_lanes(const double *src, const Exponent &e, int &outside) {
    const u64v bits = simd::load<u64v>(src) & kAbsMask;
    const f64v z = ln_positive_normal_pair(reinterpret_cast<f64v>(bits)) * e.b;
    const f64v abs_z = reinterpret_cast<f64v>(reinterpret_cast<u64v>(z) & kAbsMask);
    outside = _mm_movemask_pd(reinterpret_cast<__m128d>(abs_z >= kFastZSingle));
    const f64v t = z * kInvL + kShifter;
    alignas(16) std::uint64_t t_bits[2];
    simd::store(t_bits, t);
    const f64v t_hi = {kExpTable[t_bits[0] & 63].hi, kExpTable[t_bits[1] & 63].hi};
    const f64v y = exp_single(z, t - kShifter, t_hi);
    const u64v power = (reinterpret_cast<u64v>(t) << 46) & 0xFFF0000000000000;
    return reinterpret_cast<f64v>(reinterpret_cast<u64v>(y) + power);
}

f64v with_sign(f64v y, const double *src, const Exponent &e) {
    if (!e.odd) return y;
    const u64v a = {bits_of(src[0]), bits_of(src[1])};
    return reinterpret_cast<f64v>(reinterpret_cast<u64v>(y) | (a & kSignBit));
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

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dPowx_A(int n, const double *a,
                                                                      double b, double *r) {
    if (n <= 0) return;
    KernelFrame frame;
    const Exponent e = classify(b);
    const auto element = [&e](double x, double, int &status) {
        return powx_element<magnitude_element>(x, e, status);
    };
    int i = 0;
    if (e.ordinary) {
        for (; i + 2 <= n; i += 2) {
            int outside = 1;
            f64v y{};
            if (lane_is_ordinary(a[i], e) && lane_is_ordinary(a[i + 1], e)) {
                y = with_sign(magnitude_lanes(a + i, e, outside), a + i, e);
            }
            if (outside != 0) {
                for (int l = i; l < i + 2; ++l) {
                    const double x = a[l];
                    int status;
                    r[l] = element(x, b, status);
                    if (status != ARQ_STATUS_OK) report(status, l, a, r, r, "vdPowx", x, b);
                }
                continue;
            }
            simd::store(r + i, y);
        }
    }
    for (; i < n; ++i) {
        const double x = a[i];
        int status;
        r[i] = element(x, b, status);
        if (status != ARQ_STATUS_OK) report(status, i, a, r, r, "vdPowx", x, b);
    }
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sPowx_A(int n, const float *a,
                                                                      float b, float *r) {
    if (n <= 0) return;
    KernelFrame frame;
    const Exponent e = classify(b);
    int i = 0;
    if (e.ordinary) {
        for (; i + 4 <= n; i += 4) {
            bool ordinary = true;
            for (int l = 0; l < 4; ++l) ordinary = ordinary && lane_is_ordinary(a[i + l], e);
            int outside = 1;
            f64v y[2];
            if (ordinary) {
                outside = 0;
                for (int h = 0; h < 2; ++h) {
                    alignas(16) const double wide[2] = {a[i + 2 * h], a[i + 2 * h + 1]};
                    int out;
                    y[h] = with_sign(magnitude_single_lanes(wide, e, out), wide, e);
                    outside |= out;
                }
            }
            if (outside != 0) {
                for (int l = i; l < i + 4; ++l) {
                    const float x = a[l];
                    int status;
                    r[l] = powx_element_s(x, e, status);
                    if (status != ARQ_STATUS_OK) report(status, l, a, r, r, "vsPowx", x, b);
                }
                continue;
            }
            simd::store(r + i, simd::narrow(y[0], y[1]));
        }
    }
    for (; i < n; ++i) {
        const float x = a[i];
        int status;
        r[i] = powx_element_s(x, e, status);
        if (status != ARQ_STATUS_OK) report(status, i, a, r, r, "vsPowx", x, b);
    }
}

}  // namespace korb::vecmath
