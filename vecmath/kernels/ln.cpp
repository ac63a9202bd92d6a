// The double natural logarithm: ln(x) = k·ln 2 - ln rcp(j) + ln(1 + r).
//
// x = 2^k · m with the split between exponents at a significand of 1.499 (so that m is near 1
// on both sides), rcp(j) ≈ 1/m from a 513-entry table indexed by m's top 9 bits rounded, and
// r = m·rcp(j) - 1 computed exactly in a high and a low part. ln(1 + r) - r comes from a
// degree-5 polynomial. Vectors of positive normal numbers take the vector path; every other
// vector, and the last elements that fill no vector, go element by element through the path
// that also handles specials and reports errors. Both paths run the same template.
#include <cstdint>

#include "frame/simd.h"
#include "korb/kernel/rng.h"  // declares __bixdLn, which the distributions call
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/ln_data.h"
#include "vecmath/kernels/ln_value.h"

namespace korb::vecmath {
namespace {

using simd::Bits;
using simd::Vec;
using namespace ln_data;

constexpr double kTwo52 = 4503599627370496.0;
constexpr double kD52 = 36.04365338911715;  // 52·ln 2
constexpr double kG2 = -0.49999999999995254;
constexpr double kG3 = 0.3333333333332741;
constexpr double kG4 = -0.2500001988694339;
constexpr double kG5 = 0.2000001934420511;

constexpr std::uint64_t kMinusZeroBits = 0x8000000000000000;

// High words 0x00100000..0x7FEFFFFF (positive, normal, finite) are exactly those for which
// hi - 0x80100000, read as signed, is below -0x200000.
bool is_positive_normal(std::uint32_t hi) {
    return static_cast<std::int32_t>(hi - 0x80100000u) < -0x200000;
}

template <class V>
struct Constants {
    Bits<V> mantissa, one, high_half, normal_offset, normal_limit;
    V ln2_hi, ln2_lo, g2, g3, g4, g5, minus_one;
};

template <class V>
constexpr Constants<V> make_constants() {
    return {
        Bits<V>{} + kMantissa,
        Bits<V>{} + kOneBits,
        Bits<V>{} + kHighHalf,
        Bits<V>{} + 0x8010000000000000,
        Bits<V>{} - 0x0020000000000000,
        V{} + kLn2Hi,
        V{} + kLn2Lo,
        V{} + kG2,
        V{} + kG3,
        V{} + kG4,
        V{} + kG5,
        V{} - 1.0,
    };
}

constexpr Constants<double> kScalar = make_constants<double>();
alignas(simd::kNativeBytes) constexpr Constants<Vec<double>> kVector =
    make_constants<Vec<double>>();

// The value path for positive normal x as the two terms whose sum is the result: a large one h
// and a small one t. k and the table row come from x's high word for one element, from the
// elements in memory for the lanes.
template <class V>
struct Parts {
    V t, h;
};

template <class V>
[[gnu::always_inline]] inline Parts<V> ln_parts(V x, V k, const Row<V> &e, const Constants<V> &c) {
    const Bits<V> m_bits = (simd::to_bits(x) & c.mantissa) | c.one;
    const V m = simd::from_bits<V>(m_bits);
    const V m_hi = simd::from_bits<V>(m_bits & c.high_half);
    const V m_lo = m - m_hi;
    const V r_hi = m_hi * e.rcp + c.minus_one;  // x + (-1) and x - 1 are the same operation
    const V r_lo = m_lo * e.rcp;
    const V r = r_hi + r_lo;
    const V a = k * c.ln2_hi + e.hi;
    const V b_sum = k * c.ln2_lo + e.lo;
    // r_lo joins the exact high sum when there is no low part to carry it (x near 1).
    const Bits<V> near_one = simd::mask<V>(b_sum == 0.0);
    const V lo_to_h = simd::from_bits<V>(simd::to_bits(r_lo) & near_one);
    const V lo_to_t = simd::from_bits<V>(simd::to_bits(r_lo) & ~near_one);
    const V h = (r_hi + a) + lo_to_h;
    V t = (r * r) * (c.g2 + r * (c.g3 + r * (c.g4 + r * c.g5)));
    t = t + b_sum;
    t = t + lo_to_t;
    return {t, h};
}

Parts<double> element_parts(double x) {
    const std::uint32_t hi = high_word(x);
    return ln_parts(x, exponent(hi), row(hi), kScalar);
}

// src holds the lanes of x (the table indices are read from there).
[[gnu::always_inline]] inline Parts<Vec<double>> lane_parts(Vec<double> x, const double *src,
                                                            const Constants<Vec<double>> &c) {
    return ln_parts(x, exponent(simd::to_bits(x)), rows(src), c);
}

// ln x less d, for d = 52·ln 2 after a subnormal was scaled by 2^52.
double ln_value(double x, double d) {
    const Parts<double> p = element_parts(x);
    return (p.t - d) + p.h;
}

double ln_element(double x, int &status) {
    status = ARQ_STATUS_OK;
    if (is_positive_normal(high_word(x))) return ln_value(x, 0.0);
    // Under denormals-are-zero a subnormal is the zero of its sign: -Inf with ARQ_STATUS_SING.
    x = as_read(x);
    const std::uint64_t b = bits_of(x);
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

struct Ln : Shape<double, double, kVector, 4> {
    static constexpr const char *kName = "vdLn";

    static double element(double x, const Context &, int &status) { return ln_element(x, status); }

    // Not positive, normal and finite; tested in integer registers, like the table indices, to
    // keep the vector units free.
    static bool unusual(double x, const Context &) { return !is_positive_normal(high_word(x)); }
    // The same test on whole patterns: x - 0x8010000000000000, read as signed, is below
    // -0x0020000000000000 exactly for the positive normal finite x.
    static Bits<Vec<double>> unusual(Vec<double> x, const Context &c) {
        using Int = simd::Int<Vec<double>>;
        const Bits<Vec<double>> d = simd::to_bits(x) - c.normal_offset;
        return simd::mask<Vec<double>>(reinterpret_cast<Int>(d) >=
                                       reinterpret_cast<Int>(c.normal_limit));
    }

    static Vec<double> lanes(Vec<double> x, const double *src, const Context &c) {
        const Parts<Vec<double>> p = lane_parts(x, src, c);
        return p.t + p.h;  // t - 0 is t
    }
};

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dLn_A(int n, const double *a,
                                                                    double *r) {
    run_one<Ln>(n, a, r);
}

double ln_positive_normal(double x) {
    return ln_value(x, 0.0);
}

Vec<double> ln_positive_normal(Vec<double> x) {
    alignas(simd::kNativeBytes) double src[simd::kCount<Vec<double>>];
    simd::store_lanes(src, x);
    return Ln::lanes(x, src, *simd::opaque(&kVector));
}

double ln_below_half(double x, double &lo) {
    const Parts<double> p = element_parts(x);
    const double hi = p.t + p.h;
    lo = (p.h - hi) + p.t;
    return hi;
}

Vec<double> ln_below_half(Vec<double> x, Vec<double> &lo) {
    alignas(simd::kNativeBytes) double src[simd::kCount<Vec<double>>];
    simd::store_lanes(src, x);
    const Parts<Vec<double>> p = lane_parts(x, src, *simd::opaque(&kVector));
    const Vec<double> hi = p.t + p.h;
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
