// The single natural logarithm: ln(x) = k·ln 2 + ln(1 + f).
//
// x = 2^k · m with m in [sqrt(1/2), sqrt(2)), split by integer arithmetic on the bit pattern, and
// f = m - 1 exact. With s = f/(2 + f) (|s| < 0.1716), ln(1 + f) = 2·atanh(s) = 2s + s·R(s²), and
// since 2s = f - s·f = f - f²/2 + s·f²/2,
//     ln(1 + f) = f - (f²/2 - s·(f²/2 + R)),   R = z·(C0 + z·(C1 + z·C2)), z = s²,
// the polynomial a Chebyshev fit of (2·atanh(s) - 2s)/(s·z) in z (relative error below 2.8e-7,
// which reaches the result scaled by z/3 < 0.01; tools/fit_poly.py). The quotient's rounding only
// reaches the term s·(f²/2 + R), below 0.03 of the result. One division replaces the six
// further terms that a polynomial in f needs on the same interval. k·ln 2 is added in two parts,
// the high one with 16 significant bits so that k·LN2_HI is exact, and k·LN2_HI + f is kept as
// an exact sum of two floats, so that only the last addition rounds at full weight.
// Measured error: see the README's accuracy table.
//
// Vectors of positive normal numbers take the vector path (looked at eight vectors at a time,
// straight through when all pass); a vector holding anything else, and the last elements that
// fill no vector, go element by element with the same operations plus the special cases: ±0 gives
// -Inf with ARQ_STATUS_SING, a negative number (also -Inf, also a negative subnormal) the NaN
// 0xFFC00000 with ARQ_STATUS_ERRDOM, a NaN comes back unchanged, +Inf gives +Inf. A positive
// subnormal is scaled by 2^23 first; under denormals-are-zero it reads as 0.
#include <bit>
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using simd::Bits;
using simd::Int;
using simd::Vec;

constexpr std::uint32_t kSqrtHalfBits = 0x3F3504F3;  // sqrt(1/2)
constexpr std::uint32_t kMantissa = 0x007FFFFF;
constexpr float kLn2Hi = 0.693145751953125f;  // 0x3F317200
constexpr float kLn2Lo = 1.42860677e-06f;     // 0x35BFBE8E
constexpr int kDegree = 2;
constexpr float kR[kDegree + 1] = {0.2958036400028137f, 0.3998877142914193f, 0.6666668506190341f};

constexpr std::uint32_t kSignBit = 0x80000000;
constexpr std::uint32_t kPlusInfBits = 0x7F800000;
constexpr std::uint32_t kMinusInfBits = 0xFF800000;
constexpr std::uint32_t kDomainNaN = 0xFFC00000;

// Patterns 0x00800000..0x7F7FFFFF (positive, normal, finite) are exactly those for which
// b - 0x80800000, read as signed, is below -0x01000000.
constexpr std::int32_t kNormalBias = static_cast<std::int32_t>(0x80800000u);
constexpr std::int32_t kNormalLimit = -0x01000000;
bool is_positive_normal(std::uint32_t b) {
    return static_cast<std::int32_t>(b - static_cast<std::uint32_t>(kNormalBias)) < kNormalLimit;
}

template <class V>
struct Constants {
    Int<V> sqrt_half, mantissa, normal_bias, last_normal;
    V r[kDegree + 1];
    V ln2_hi, ln2_lo, one, two, half;
};

template <class V>
constexpr Constants<V> make_constants() {
    Constants<V> c{};
    c.sqrt_half = Int<V>{} + static_cast<std::int32_t>(kSqrtHalfBits);
    c.mantissa = Int<V>{} + static_cast<std::int32_t>(kMantissa);
    c.normal_bias = Int<V>{} + kNormalBias;
    c.last_normal = Int<V>{} + (kNormalLimit - 1);
    for (int i = 0; i <= kDegree; ++i) c.r[i] = V{} + kR[i];
    c.ln2_hi = V{} + kLn2Hi;
    c.ln2_lo = V{} + kLn2Lo;
    c.one = V{} + 1.0f;
    c.two = V{} + 2.0f;
    c.half = V{} + 0.5f;
    return c;
}

constexpr Constants<float> kScalar = make_constants<float>();
alignas(simd::kNativeBytes) constexpr Constants<Vec<float>> kVector = make_constants<Vec<float>>();

[[gnu::always_inline]] inline float to_float(std::int32_t k) {
    return static_cast<float>(k);
}
[[gnu::always_inline]] inline Vec<float> to_float(Vec<std::int32_t> k) {
    return simd::to_float(k);
}

// ln of the positive normal number with pattern b (as a signed integer), times 2^-shift.
template <class V>
[[gnu::always_inline]] inline V ln_value(Int<V> b, Int<V> shift, const Constants<V> &c) {
    // Wrapping subtraction: the patterns are below 2^31.
    const Int<V> ix = b - c.sqrt_half;
    const V k = to_float((ix >> 23) - shift);
    const V f = std::bit_cast<V>((ix & c.mantissa) + c.sqrt_half) - c.one;
    const V sq = f / (c.two + f);
    const V z = sq * sq;
    V r = c.r[0];
    for (int i = 1; i <= kDegree; ++i) r = r * z + c.r[i];
    const V hfsq = (c.half * f) * f;
    // ln(1 + f) = f - d; t collects everything below f, the low part of k·ln 2 included.
    const V d = hfsq - sq * (hfsq + z * r);
    const V t = k * c.ln2_lo - d;
    // hi + lo = k·LN2_HI + f exactly (|k·LN2_HI| >= |f| unless k = 0, where hi = f, lo = 0).
    const V hi = k * c.ln2_hi + f;
    const V lo = (k * c.ln2_hi - hi) + f;
    return hi + (lo + t);
}

float ln_element(float x, int &status) {
    const std::uint32_t b = bits_of(x);
    status = ARQ_STATUS_OK;
    if (is_positive_normal(b)) return ln_value<float>(static_cast<std::int32_t>(b), 0, kScalar);
    if ((b & ~kSignBit) > kPlusInfBits) {
        // NaN: the input bits unchanged; the product only raises invalid for a signalling NaN.
        volatile float raise = x * 1.0f;
        (void)raise;
        return x;
    }
    if (b == kPlusInfBits) return x;
    const float scaled = x * 0x1p23f;  // 0 for ±0, and for a subnormal read as 0
    if (scaled == 0.0f) {
        status = ARQ_STATUS_SING;
        return float_from(kMinusInfBits);
    }
    if ((b & kSignBit) != 0) {
        status = ARQ_STATUS_ERRDOM;
        return float_from(kDomainNaN);
    }
    return ln_value<float>(static_cast<std::int32_t>(bits_of(scaled)), 23, kScalar);
}

struct Ln : Shape<float, float, kVector, 8> {
    static constexpr const char *kName = "vsLn";

    static float element(float x, const Context &, int &status) { return ln_element(x, status); }

    // Set where the lane is not a positive normal number.
    static Bits<Vec<float>> unusual(Vec<float> x, const Context &c) {
        // Wrapping subtraction, then one signed compare: not below the limit is above the
        // value just below it.
        const Int<Vec<float>> shifted = reinterpret_cast<Int<Vec<float>>>(
            simd::to_bits(x) - reinterpret_cast<Bits<Vec<float>>>(c.normal_bias));
        return simd::mask<Vec<float>>(shifted > c.last_normal);
    }

    static Vec<float> lanes(Vec<float> x, const float *, const Context &c) {
        return ln_value<Vec<float>>(reinterpret_cast<Int<Vec<float>>>(x), Int<Vec<float>>{}, c);
    }
};

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sLn_A(int n, const float *a,
                                                                    float *r) {
    run_one<Ln>(n, a, r);
}

}  // namespace korb::vecmath
