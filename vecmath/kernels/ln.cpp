// The double natural logarithm: ln(x) = k·ln 2 - ln rcp(j) + ln(1 + r).
//
// x = 2^k · m with the split between exponents at a significand of 1.499 (so that m is near 1
// on both sides), rcp(j) ≈ 1/m from a 513-entry table indexed by m's top 9 bits rounded, and
// r = m·rcp(j) - 1 computed exactly in a high and a low part. ln(1 + r) - r comes from a
// degree-5 polynomial. Pairs of positive normal numbers take the vector path; every other pair,
// and an odd last element, go element by element through the path that also handles specials
// and reports errors. Both paths do the same operations in the same order.
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/dispatch.h"
#include "vecmath/kernels/exp_ln_tables.h"
#include "vecmath/kernels/frame.h"
#include "korb/rng.h"
#include "vecmath/kernels/ln_value.h"

namespace korb::vecmath {
namespace {

using simd::f64v;
using simd::u64v;

constexpr double kLn2Hi = 0.6931471805598903;  // 42 significant bits: k·LN2_HI is exact
constexpr double kLn2Lo = 5.497923018708371e-14;
constexpr std::uint32_t kSplit = 0x3FE7FC00;  // high word of 0.74951171875
constexpr std::uint64_t kHighHalf = 0x7FFFFFFF00000000;
constexpr double kTwo52 = 4503599627370496.0;
constexpr double kD52 = 36.04365338911715;  // 52·ln 2
constexpr double kG2 = -0.49999999999995254;
constexpr double kG3 = 0.3333333333332741;
constexpr double kG4 = -0.2500001988694339;
constexpr double kG5 = 0.2000001934420511;

constexpr std::uint64_t kMinusZeroBits = 0x8000000000000000;

constexpr const char *kName = "vdLn";

// High words 0x00100000..0x7FEFFFFF (positive, normal, finite) are exactly those for which
// hi - 0x80100000, read as signed, is below -0x200000.
bool is_positive_normal(std::uint32_t hi) {
    return static_cast<std::int32_t>(hi - 0x80100000u) < -0x200000;
}

// The top 9 significand bits rounded to nearest, 0..512.
std::uint32_t table_index(std::uint32_t hi) {
    return (((hi & 0xFFC00) + 0x400) & 0x1FF800) >> 11;
}

// The value path for positive normal x, less d (52·ln 2 for a subnormal scaled by 2^52), as the
// two terms whose sum is the result: a large one h and a small one t.
template <class V>
struct Parts {
    V t, h;
};

Parts<double> ln_parts(double x, double d) {
    const std::uint64_t b = bits_of(x);
    const std::uint32_t hi = static_cast<std::uint32_t>(b >> 32);
    const double k = static_cast<double>(static_cast<std::int32_t>(hi - kSplit) >> 20);
    const std::uint32_t j = table_index(hi);
    const double m = double_from((b & kMantissa) | kOneBits);
    const double m_hi = double_from(bits_of(m) & kHighHalf);
    const double m_lo = m - m_hi;
    const LnEntry &e = kLnTable[j];
    const double r_hi = m_hi * e.rcp - 1.0;
    const double r_lo = m_lo * e.rcp;
    const double r = r_hi + r_lo;
    const double a = k * kLn2Hi + e.hi;
    const double b_sum = k * kLn2Lo + e.lo;
    // r_lo joins the exact high sum when there is no low part to carry it (x near 1).
    const bool near_one = b_sum == 0.0;
    const double h = (r_hi + a) + (near_one ? r_lo : 0.0);
    double t = (r * r) * (kG2 + r * (kG3 + r * (kG4 + r * kG5)));
    t = t + b_sum;
    t = t + (near_one ? 0.0 : r_lo);
    t = t - d;
    return {t, h};
}

double ln_value(double x, double d) {
    const Parts<double> p = ln_parts(x, d);
    return p.t + p.h;
}

double ln_element(double x, int &status) {
    const std::uint64_t b = bits_of(x);
    const std::uint32_t hi = static_cast<std::uint32_t>(b >> 32);
    status = ARQ_STATUS_OK;
    if (is_positive_normal(hi)) return ln_value(x, 0.0);
    if ((b & ~kMinusZeroBits) == 0) {
        status = ARQ_STATUS_SING;
        return double_from(kMinusInfBits);
    }
    if ((b & ~kMinusInfBits) != 0 && (b & kPlusInfBits) == kPlusInfBits) {
        // NaN: the input bits unchanged; the product only raises invalid for a signalling NaN.
        volatile double raise = x * 1.0;
        (void)raise;
        return x;
    }
    if (b == kPlusInfBits) return x;
    if ((b & kMinusZeroBits) != 0) {
        status = ARQ_STATUS_ERRDOM;
        return double_from(kDomainNaN);
    }
    return ln_value(x * kTwo52, kD52);  // positive subnormal
}

void ln_elements(int begin, int end, const double *a, double *r) {
    run_elements<ln_element>(begin, end, a, r, kName);
}

using i32v = std::int32_t __attribute__((vector_size(simd::kVectorBytes)));

// The vector path's constants, one vector each, read through simd::opaque so that they stay
// memory operands.
struct LnVectors {
    u64v mantissa, one, high_half;
    i32v split;
    f64v ln2_hi, ln2_lo, g2, g3, g4, g5, minus_one;
};
alignas(16) constexpr LnVectors kLnVectors = {
    u64v{} + kMantissa, u64v{} + kOneBits, u64v{} + kHighHalf, i32v{} + static_cast<int>(kSplit),
    f64v{} + kLn2Hi,    f64v{} + kLn2Lo,   f64v{} + kG2,       f64v{} + kG3,
    f64v{} + kG4,       f64v{} + kG5,      f64v{} - 1.0,
};

// Two lanes of the value path (d = 0), the same operations as ln_value(); x holds src[0] and
// src[1]. The table indices are computed in integer registers from the high words read from
// memory again, which leaves the vector units to the arithmetic.
Parts<f64v> ln_lane_parts(f64v x, const double *src, const LnVectors &c) {
    const u64v b = reinterpret_cast<u64v>(x);
    const i32v words = reinterpret_cast<i32v>(b);
    const i32v hi = __builtin_shufflevector(words, words, 1, 3, 1, 3);
    const f64v k = _mm_cvtepi32_pd(reinterpret_cast<__m128i>((hi - c.split) >> 20));
    const std::uint32_t j[2] = {table_index(high_word(src[0])), table_index(high_word(src[1]))};
    const u64v m_bits = (b & c.mantissa) | c.one;
    const f64v m = reinterpret_cast<f64v>(m_bits);
    const f64v m_hi = reinterpret_cast<f64v>(m_bits & c.high_half);
    const f64v m_lo = m - m_hi;
    const LnEntry &e0 = kLnTable[j[0]];
    const LnEntry &e1 = kLnTable[j[1]];
    const f64v rcp = __builtin_shufflevector(simd::load_aligned<f64v>(&e0.rcp),
                                             simd::load_aligned<f64v>(&e1.rcp), 0, 2);
    const f64v l0 = simd::load_aligned<f64v>(&e0.hi);
    const f64v l1 = simd::load_aligned<f64v>(&e1.hi);
    const f64v l_hi = __builtin_shufflevector(l0, l1, 0, 2);
    const f64v l_lo = __builtin_shufflevector(l0, l1, 1, 3);
    const f64v r_hi = m_hi * rcp + c.minus_one;  // x + (-1) and x - 1 are the same operation
    const f64v r_lo = m_lo * rcp;
    const f64v r = r_hi + r_lo;
    const f64v a = k * c.ln2_hi + l_hi;
    const f64v b_sum = k * c.ln2_lo + l_lo;
    const u64v near_one = reinterpret_cast<u64v>(b_sum == 0.0);
    const f64v lo_to_h = reinterpret_cast<f64v>(reinterpret_cast<u64v>(r_lo) & near_one);
    const f64v lo_to_t = reinterpret_cast<f64v>(reinterpret_cast<u64v>(r_lo) & ~near_one);
    const f64v h = (r_hi + a) + lo_to_h;
    f64v t = (r * r) * (c.g2 + r * (c.g3 + r * (c.g4 + r * c.g5)));
    t = t + b_sum;
    t = t + lo_to_t;
    return {t, h};  // t - 0 is t
}

f64v ln_lanes(f64v x, const double *src, const LnVectors &c) {
    const Parts<f64v> p = ln_lane_parts(x, src, c);
    return p.t + p.h;
}

// 1 when both elements of the pair are positive, normal and finite. Tested in integer registers,
// like the table indices, to keep the vector units free.
int pair_is_ordinary(const double *src) {
    return static_cast<int>(is_positive_normal(high_word(src[0])) &
                            is_positive_normal(high_word(src[1])));
}

constexpr int kPairsPerBlock = 4;

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dLn_A(int n, const double *a,
                                                                    double *r) {
    if (n <= 0) return;
    KernelFrame frame;
    const LnVectors &c = *simd::opaque(&kLnVectors);
    // Pairs are decided one by one; looking at four at a time saves branches when all pass.
    constexpr int kBlock = 2 * kPairsPerBlock;
    int i = 0;
    for (; i + kBlock <= n; i += kBlock) {
        f64v x[kPairsPerBlock];
        int ordinary = 0;
        for (int p = 0; p < kPairsPerBlock; ++p) {
            x[p] = simd::load<f64v>(a + i + 2 * p);
            ordinary |= pair_is_ordinary(a + i + 2 * p) << p;
        }
        for (int p = 0; p < kPairsPerBlock; ++p) {
            if ((ordinary >> p) & 1) {
                simd::store(r + i + 2 * p, ln_lanes(x[p], a + i + 2 * p, c));
            } else {
                ln_elements(i + 2 * p, i + 2 * p + 2, a, r);
            }
        }
    }
    for (; i + 2 <= n; i += 2) {
        const f64v x = simd::load<f64v>(a + i);
        if (pair_is_ordinary(a + i)) {
            simd::store(r + i, ln_lanes(x, a + i, c));
        } else {
            ln_elements(i, i + 2, a, r);
        }
    }
    ln_elements(i, n, a, r);
}

}  // namespace korb::vecmath

namespace korb::vecmath {

double ln_positive_normal(double x) {
    return ln_value(x, 0.0);
}

simd::f64v ln_positive_normal_pair(simd::f64v x) {
    alignas(16) double src[2];
    simd::store(src, x);
    return ln_lanes(x, src, *simd::opaque(&kLnVectors));
}

double ln_below_half(double x, double &lo) {
    const Parts<double> p = ln_parts(x, 0.0);
    const double hi = p.t + p.h;
    lo = (p.h - hi) + p.t;
    return hi;
}

simd::f64v ln_below_half_pair(simd::f64v x, simd::f64v &lo) {
    alignas(16) double src[2];
    simd::store(src, x);
    const Parts<f64v> p = ln_lane_parts(x, src, *simd::opaque(&kLnVectors));
    const f64v hi = p.t + p.h;
    lo = (p.h - hi) + p.t;
    return hi;
}

}  // namespace korb::vecmath

extern "C" {

// The dLn kernel's value for one argument under the thread's denormal mode, with no report.
double __bixdLn(double x) {
    korb::vecmath::KernelFrame frame;
    int status = 0;
    return korb::vecmath::ln_element(x, status);
}

}  // extern "C"
