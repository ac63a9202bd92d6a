// The single exponential: exp(x) = 2^k · e^r with k = round(x / ln 2) and r the remainder.
//
// r = r_hi - r_lo with r_hi = x - k·LN2_HI exact (LN2_HI has 16 significant bits) and
// r_lo = k·LN2_LO. e^r = (1 + r_hi) + (r²·P(r) - r_lo), P of degree 4 a Chebyshev fit of
// (e^r - 1 - r)/r² (relative error below 1.4e-7, which reaches the result scaled by r²/2 < 0.061,
// about 0.07 ulp; tools/fit_poly.py); 1 + r_hi is kept as an exact sum of two floats, so that r's
// rounding only reaches the small terms and only the last addition rounds at full weight. 2^k is
// added to the exponent field.
// Measured error: see the README's accuracy table.
//
// Vectors whose elements are all of magnitude below 86.5 (normal results) take the vector path
// (looked at eight vectors at a time, straight through when all pass); any other vector, and the
// last elements that fill no vector, go element by element with the same operations, scaling by
// 2^k in two exact steps so that a subnormal result is rounded once.
// As in the double kernel: NaN gives the NaN with all bits set (0xFFFFFFFF), +Inf +Inf, -Inf +0
// without status; a result that rounds to +Inf reports ARQ_STATUS_OVERFLOW, one below the
// smallest normal float (subnormal or zero) ARQ_STATUS_UNDERFLOW.
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using simd::Bits;
using simd::Int;
using simd::Vec;

constexpr float kLog2e = 1.44269504f;
constexpr float kShifter = 12582912.0f;       // 1.5 · 2^23: rounds to an integer when added
constexpr float kLn2Hi = 0.693145751953125f;  // 0x3F317200
constexpr float kLn2Lo = 1.42860677e-06f;     // 0x35BFBE8E
constexpr int kDegree = 4;
constexpr float kP[kDegree + 1] = {0.0013926191056242137f, 0.008363185031533224f,
                                   0.04166655457234514f, 0.1666657695378877f, 0.5f};

// |x| below 86.5 (0x42AD0000): k within [-125, 125], the result normal. The lanes compare the
// magnitude's pattern with the one just below, a single signed greater-than.
constexpr std::uint32_t kFastLimit = 0x42AD0000;
constexpr std::uint32_t kLastFast = kFastLimit - 1;
// Beyond these the result is +Inf or rounds to +0 (exp(89) > FLT_MAX, exp(-104) < 2^-150).
constexpr float kOverflowX = 89.0f;
constexpr float kUnderflowX = -104.0f;
constexpr float kSmallestNormal = 0x1p-126f;

constexpr std::uint32_t kAbsMask = 0x7FFFFFFF;
constexpr std::uint32_t kPlusInfBits = 0x7F800000;
constexpr std::uint32_t kMinusInfBits = 0xFF800000;
constexpr std::uint32_t kAllOnesNaN = 0xFFFFFFFF;

template <class V>
struct Constants {
    V log2e, shifter, ln2_hi, ln2_lo, one;
    V p[kDegree + 1];
    Int<V> abs_mask, last_fast;
};

template <class V>
constexpr Constants<V> make_constants() {
    Constants<V> c{};
    c.log2e = V{} + kLog2e;
    c.shifter = V{} + kShifter;
    c.ln2_hi = V{} + kLn2Hi;
    c.ln2_lo = V{} + kLn2Lo;
    c.one = V{} + 1.0f;
    for (int i = 0; i <= kDegree; ++i) c.p[i] = V{} + kP[i];
    c.abs_mask = Int<V>{} + static_cast<std::int32_t>(kAbsMask);
    c.last_fast = Int<V>{} + static_cast<std::int32_t>(kLastFast);
    return c;
}

constexpr Constants<float> kScalar = make_constants<float>();
alignas(simd::kNativeBytes) constexpr Constants<Vec<float>> kVector = make_constants<Vec<float>>();

// e^x / 2^k, and t = 1.5·2^23 + k, whose low mantissa bits hold k.
template <class V>
struct Reduced {
    V y;
    V t;
};

template <class V>
[[gnu::always_inline]] inline Reduced<V> reduce(V x, const Constants<V> &c) {
    const V t = x * c.log2e + c.shifter;
    const V k = t - c.shifter;
    const V r_hi = x - k * c.ln2_hi;
    const V r_lo = k * c.ln2_lo;
    const V r = r_hi - r_lo;
    V p = c.p[0];
    for (int i = 1; i <= kDegree; ++i) p = p * r + c.p[i];
    // hi + lo = 1 + r_hi exactly; the small terms join lo before the one rounding at full weight.
    const V hi = c.one + r_hi;
    const V lo = (c.one - hi) + r_hi;
    return {hi + (lo + ((r * r) * p - r_lo)), t};
}

float power_of_two(std::int32_t e) {
    return float_from(static_cast<std::uint32_t>(e + 127) << 23);
}

struct Exp : Shape<float, float, kVector, 8> {
    static constexpr const char *kName = "vsExp";

    static float element(float x, const Context &, int &status) {
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
        const Reduced<float> e = reduce(x, kScalar);
        const std::int32_t k = static_cast<std::int32_t>(bits_of(e.t) - bits_of(kShifter));
        // Two exact scalings, both factors normal: the second rounds once when the result is
        // subnormal, and gives the same bits as the exponent-field addition when it is normal.
        const std::int32_t half = k >> 1;
        const float result = (e.y * power_of_two(half)) * power_of_two(k - half);
        if (bits_of(result) == kPlusInfBits) {
            status = ARQ_STATUS_OVERFLOW;
        } else if (result < kSmallestNormal) {
            status = ARQ_STATUS_UNDERFLOW;
        }
        return result;
    }

    // Set when |x| is not below 86.5 (also for NaN).
    static Bits<Vec<float>> unusual(Vec<float> x, const Context &c) {
        const Int<Vec<float>> magnitude = reinterpret_cast<Int<Vec<float>>>(x) & c.abs_mask;
        return simd::mask<Vec<float>>(magnitude > c.last_fast);
    }

    // 2^k is added to the exponent field, which is exact for the normal results of this path.
    static Vec<float> lanes(Vec<float> x, const float *, const Context &c) {
        const Reduced<Vec<float>> e = reduce(x, c);
        return simd::from_bits<Vec<float>>(simd::to_bits(e.y) + (simd::to_bits(e.t) << 23));
    }
};

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sExp_A(int n, const float *a,
                                                                     float *r) {
    run_one<Exp>(n, a, r);
}

}  // namespace korb::vecmath
