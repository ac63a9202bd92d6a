// The single exponential: exp(x) = 2^k · e^r with k = round(x / ln 2) and r the remainder.
//
// r = r_hi - r_lo with r_hi = x - k·LN2_HI exact (LN2_HI has 16 significant bits) and
// r_lo = k·LN2_LO. e^r = (1 + r_hi) + (r²·P(r) - r_lo), P of degree 5 a Chebyshev fit of
// (e^r - 1 - r)/r² (relative error below 2.3e-10; tools/fit_poly.py); 1 + r_hi is kept as an
// exact sum of two floats, so that r's rounding only reaches the small terms and only the last
// addition rounds at full weight. 2^k is added to the exponent field.
// Measured error: see the README's accuracy table.
//
// Vectors of four elements all of magnitude below 86.5 (normal results) take the vector path
// (looked at eight vectors at a time, straight through when all pass);
// any other vector, and the last n mod 4 elements, go element by element with the same
// operations, scaling by 2^k in two exact steps so that a subnormal result is rounded once.
// As in the double kernel: NaN gives the NaN with all bits set (0xFFFFFFFF), +Inf +Inf, -Inf +0
// without status; a result that rounds to +Inf reports ARQ_STATUS_OVERFLOW, one below the
// smallest normal float (subnormal or zero) ARQ_STATUS_UNDERFLOW.
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using simd::f32v;
using i32v = std::int32_t __attribute__((vector_size(simd::kVectorBytes)));
using simd::u32v;

constexpr float kLog2e = 1.44269504f;
constexpr float kShifter = 12582912.0f;       // 1.5 · 2^23: rounds to an integer when added
constexpr float kLn2Hi = 0.693145751953125f;  // 0x3F317200
constexpr float kLn2Lo = 1.42860677e-06f;     // 0x35BFBE8E
constexpr int kDegree = 5;
constexpr float kP[kDegree + 1] = {0.00019891000780597316f, 0.0013933658961533572f,
                                   0.00833331091651024f,    0.041666464844507485f,
                                   0.1666666668163221f,     0.5000000013473895f};

// |x| below 86.5 (0x42AD0000): k within [-125, 125], the result normal.
constexpr std::uint32_t kFastLimit = 0x42AD0000;
// Beyond these the result is +Inf or rounds to +0 (exp(89) > FLT_MAX, exp(-104) < 2^-150).
constexpr float kOverflowX = 89.0f;
constexpr float kUnderflowX = -104.0f;
constexpr float kSmallestNormal = 0x1p-126f;

constexpr std::uint32_t kAbsMask = 0x7FFFFFFF;
constexpr std::uint32_t kPlusInfBits = 0x7F800000;
constexpr std::uint32_t kMinusInfBits = 0xFF800000;
constexpr std::uint32_t kAllOnesNaN = 0xFFFFFFFF;
constexpr const char *kName = "vsExp";

// e^x / 2^k, and k.
struct Reduced {
    float y;
    std::int32_t k;
};

Reduced reduce(float x) {
    const float t = x * kLog2e + kShifter;
    const float k = t - kShifter;
    const float r_hi = x - k * kLn2Hi;
    const float r_lo = k * kLn2Lo;
    const float r = r_hi - r_lo;
    float p = kP[0];
    for (int i = 1; i <= kDegree; ++i) p = p * r + kP[i];
    // hi + lo = 1 + r_hi exactly; the small terms join lo before the one rounding at full weight.
    const float hi = 1.0f + r_hi;
    const float lo = (1.0f - hi) + r_hi;
    const float y = hi + (lo + ((r * r) * p - r_lo));
    // t's low mantissa bits hold k (t = 1.5·2^23 + k).
    return {y, static_cast<std::int32_t>(bits_of(t) - bits_of(kShifter))};
}

float power_of_two(std::int32_t e) {
    return float_from(static_cast<std::uint32_t>(e + 127) << 23);
}

float exp_element(float x, int &status) {
    const std::uint32_t b = bits_of(x);
    status = ARQ_STATUS_OK;
    if ((b & kAbsMask) > kPlusInfBits) return float_from(kAllOnesNaN);
    if (b == kPlusInfBits) return x;
    if (b == kMinusInfBits) return 0.0f;
    if (x > kOverflowX) {
        status = ARQ_STATUS_OVERFLOW;
        return float_from(kPlusInfBits);
    }
    if (x < kUnderflowX) {
        status = ARQ_STATUS_UNDERFLOW;
        return 0.0f;
    }
    const Reduced e = reduce(x);
    // Two exact scalings, both factors normal: the second rounds once when the result is
    // subnormal, and gives the same bits as the exponent-field addition when it is normal.
    const std::int32_t half = e.k >> 1;
    const float result = (e.y * power_of_two(half)) * power_of_two(e.k - half);
    if (bits_of(result) == kPlusInfBits) {
        status = ARQ_STATUS_OVERFLOW;
    } else if (result < kSmallestNormal) {
        status = ARQ_STATUS_UNDERFLOW;
    }
    return result;
}

struct ExpVectors {
    f32v log2e, shifter, ln2_hi, ln2_lo, one;
    f32v p[kDegree + 1];
    i32v abs_mask, fast_limit;
};
constexpr ExpVectors make_vectors() {
    ExpVectors c{};
    c.log2e = f32v{} + kLog2e;
    c.shifter = f32v{} + kShifter;
    c.ln2_hi = f32v{} + kLn2Hi;
    c.ln2_lo = f32v{} + kLn2Lo;
    c.one = f32v{} + 1.0f;
    for (int i = 0; i <= kDegree; ++i) c.p[i] = f32v{} + kP[i];
    c.abs_mask = i32v{} + static_cast<std::int32_t>(kAbsMask);
    c.fast_limit = i32v{} + static_cast<std::int32_t>(kFastLimit);
    return c;
}
alignas(16) constexpr ExpVectors kExpVectors = make_vectors();

// Four lanes of reduce() and the scaling, the same operations in the same order; 2^k is added to
// the exponent field, which is exact for the normal results of this path.
f32v exp_lanes(f32v x, const ExpVectors &c) {
    const f32v t = x * c.log2e + c.shifter;
    const f32v k = t - c.shifter;
    const f32v r_hi = x - k * c.ln2_hi;
    const f32v r_lo = k * c.ln2_lo;
    const f32v r = r_hi - r_lo;
    f32v p = c.p[0];
    for (int i = 1; i <= kDegree; ++i) p = p * r + c.p[i];
    const f32v hi = c.one + r_hi;
    const f32v lo = (c.one - hi) + r_hi;
    const f32v y = hi + (lo + ((r * r) * p - r_lo));
    return reinterpret_cast<f32v>(reinterpret_cast<u32v>(y) + (reinterpret_cast<u32v>(t) << 23));
}

// A bit per lane: set when |x| is not below 86.5 (also for NaN).
int unusual_lanes(f32v x, const ExpVectors &c) {
    const i32v outside = (reinterpret_cast<i32v>(x) & c.abs_mask) >= c.fast_limit;
    return _mm_movemask_ps(reinterpret_cast<__m128>(outside));
}

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sExp_A(int n, const float *a,
                                                                     float *r) {
    if (n <= 0) return;
    KernelFrame frame;
    run_single_blocks<exp_lanes, unusual_lanes, exp_element>(n, a, r, *simd::opaque(&kExpVectors),
                                                             kName);
}

}  // namespace korb::vecmath
