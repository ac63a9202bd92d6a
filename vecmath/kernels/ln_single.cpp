// The single natural logarithm: ln(x) = k·ln 2 + ln(1 + f).
//
// x = 2^k · m with m in [sqrt(1/2), sqrt(2)), split by integer arithmetic on the bit pattern, and
// f = m - 1 exact. ln(1 + f) = f + f²·Q(f) with Q of degree 9, a Chebyshev fit of
// (ln(1 + f) - f)/f² (relative error below 1.4e-9; tools/fit_poly.py). k·ln 2 is added in two
// parts, the high one with 16 significant bits so that k·LN2_HI is exact, and k·LN2_HI + f is
// kept as an exact sum of two floats, so that only the last addition rounds at full weight.
// Measured error: see the README's accuracy table.
//
// Vectors of four positive normal numbers take the vector path (looked at eight vectors at a
// time, straight through when all pass); a vector holding anything else,
// and the last n mod 4 elements, go element by element with the same operations plus the special
// cases: ±0 gives -Inf with ARQ_STATUS_SING, a negative number (also -Inf, also a negative
// subnormal) the NaN 0xFFC00000 with ARQ_STATUS_ERRDOM, a NaN comes back unchanged, +Inf gives
// +Inf. A positive subnormal is scaled by 2^23 first; under denormals-are-zero it reads as 0.
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using simd::f32v;
using i32v = std::int32_t __attribute__((vector_size(simd::kVectorBytes)));
using simd::u32v;

constexpr std::uint32_t kSqrtHalfBits = 0x3F3504F3;  // sqrt(1/2)
constexpr std::uint32_t kMantissa = 0x007FFFFF;
constexpr float kLn2Hi = 0.693145751953125f;  // 0x3F317200
constexpr float kLn2Lo = 1.42860677e-06f;     // 0x35BFBE8E
constexpr int kDegree = 9;
constexpr float kQ[kDegree + 1] = {
    0.06768966599903654f, -0.11558006179828771f, 0.11812527749833121f, -0.12420742231108409f,
    0.14232265277769973f, -0.16667538078258967f, 0.200014487375121f,   -0.25000010955567503f,
    0.3333332277469382f,  -0.4999999994338371f};

constexpr std::uint32_t kSignBit = 0x80000000;
constexpr std::uint32_t kPlusInfBits = 0x7F800000;
constexpr std::uint32_t kMinusInfBits = 0xFF800000;
constexpr std::uint32_t kDomainNaN = 0xFFC00000;
constexpr const char *kName = "vsLn";

// Patterns 0x00800000..0x7F7FFFFF (positive, normal, finite) are exactly those for which
// b - 0x80800000, read as signed, is below -0x01000000.
constexpr std::int32_t kNormalBias = static_cast<std::int32_t>(0x80800000u);
constexpr std::int32_t kNormalLimit = -0x01000000;
bool is_positive_normal(std::uint32_t b) {
    return static_cast<std::int32_t>(b - static_cast<std::uint32_t>(kNormalBias)) < kNormalLimit;
}

// ln of the positive normal number with pattern b, times 2^-shift.
float ln_value(std::uint32_t b, int shift) {
    const std::int32_t ix = static_cast<std::int32_t>(b - kSqrtHalfBits);
    const float k = static_cast<float>((ix >> 23) - shift);
    const float f = float_from((static_cast<std::uint32_t>(ix) & kMantissa) + kSqrtHalfBits) - 1.0f;
    float q = kQ[0];
    for (int i = 1; i <= kDegree; ++i) q = q * f + kQ[i];
    const float t = (f * f) * q + k * kLn2Lo;
    // hi + lo = k·LN2_HI + f exactly (|k·LN2_HI| >= |f| unless k = 0, where hi = f, lo = 0).
    const float hi = k * kLn2Hi + f;
    const float lo = (k * kLn2Hi - hi) + f;
    return hi + (lo + t);
}

float ln_element(float x, int &status) {
    const std::uint32_t b = bits_of(x);
    status = ARQ_STATUS_OK;
    if (is_positive_normal(b)) return ln_value(b, 0);
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
    return ln_value(bits_of(scaled), 23);
}

struct LnVectors {
    i32v sqrt_half, mantissa, normal_bias, normal_limit;
    f32v q[kDegree + 1];
    f32v ln2_hi, ln2_lo, one;
};
constexpr LnVectors make_vectors() {
    LnVectors c{};
    c.sqrt_half = i32v{} + static_cast<std::int32_t>(kSqrtHalfBits);
    c.mantissa = i32v{} + static_cast<std::int32_t>(kMantissa);
    c.normal_bias = i32v{} + kNormalBias;
    c.normal_limit = i32v{} + kNormalLimit;
    for (int i = 0; i <= kDegree; ++i) c.q[i] = f32v{} + kQ[i];
    c.ln2_hi = f32v{} + kLn2Hi;
    c.ln2_lo = f32v{} + kLn2Lo;
    c.one = f32v{} + 1.0f;
    return c;
}
alignas(16) constexpr LnVectors kLnVectors = make_vectors();

// Four lanes of ln_value(b, 0), the same operations in the same order.
f32v ln_lanes(f32v x, const LnVectors &c) {
    const i32v ix =
        reinterpret_cast<i32v>(reinterpret_cast<u32v>(x) - reinterpret_cast<u32v>(c.sqrt_half));
    const f32v k = _mm_cvtepi32_ps(reinterpret_cast<__m128i>(ix >> 23));
    const f32v f = reinterpret_cast<f32v>((ix & c.mantissa) + c.sqrt_half) - c.one;
    f32v q = c.q[0];
    for (int i = 1; i <= kDegree; ++i) q = q * f + c.q[i];
    const f32v t = (f * f) * q + k * c.ln2_lo;
    const f32v hi = k * c.ln2_hi + f;
    const f32v lo = (k * c.ln2_hi - hi) + f;
    return hi + (lo + t);
}

// A bit per lane: set when the lane is not a positive normal number.
int unusual_lanes(f32v x, const LnVectors &c) {
    // Wrapping subtraction, then a signed compare.
    const i32v shifted =
        reinterpret_cast<i32v>(reinterpret_cast<u32v>(x) - reinterpret_cast<u32v>(c.normal_bias));
    const i32v ordinary = shifted < c.normal_limit;
    return _mm_movemask_ps(reinterpret_cast<__m128>(~ordinary));
}

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sLn_A(int n, const float *a,
                                                                    float *r) {
    if (n <= 0) return;
    KernelFrame frame;
    run_single_blocks<ln_lanes, unusual_lanes, ln_element>(n, a, r, *simd::opaque(&kLnVectors),
                                                           kName);
}

}  // namespace korb::vecmath
