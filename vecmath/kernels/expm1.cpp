// e^x - 1, single and double, accurate near 0.
//
// x = N·ln 2/64 + r as in dExp (N = round(x·64/ln 2), r_hi = x - N·L_HI exact, r_lo = -N·L_LO),
// 2^(N/64) = 2^M·(T_hi + T_lo) from dExp's table (M = floor(N/64)), and
//
//   e^x - 1 = (2^M·T_hi - 1) + 2^M·T_hi·r_hi + 2^M·(T_hi·(r_lo + q) + T_lo·(1 + r + q))
//
// with q = e^r - 1 - r from its Taylor series to r^7 (|r| < 0.0055: truncation below 2^-67 of r).
// The first two terms, which carry the cancellation, are formed exactly (a two-sum, and Dekker's
// product of T_hi and r_hi) and added exactly; the rest is small and added in plain double, so
// the double result is rounded once at full weight (within about 0.5 ulp). For |x| below
// ln 2/128, N = 0 and the formula is x + q: x itself for |x| < 2^-54.
//
// Single: the same idea in plain double on the widened argument, e^r - 1 to r^5, rounded once to
// float: relative error below 2^-40 before that rounding.
//
// Vectors whose elements are in [-37.5, 708.39] (double) or of magnitude below 88 (single), and
// not below the smallest normal number in magnitude, take the vector path; every other vector,
// and the last elements that fill no vector, go element by element with the same operations and
// the special values: ±0 gives ±0, a subnormal x itself with ARQ_STATUS_UNDERFLOW (as C99 raises
// underflow there; in the flushing mode it reads as the zero of its sign), -Inf gives -1, +Inf
// +Inf, a NaN comes back quiet; x below -37.5 (-17.5 in single) gives -1 (the exact value rounds
// to it); a result that rounds to +Inf reports ARQ_STATUS_OVERFLOW.
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/exp_data.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/ln_exp_precise.h"

namespace korb::vecmath {
namespace {

using namespace exp_data;
using precise::Sum;
using simd::Bits;
using simd::Vec;

constexpr std::uint64_t kQuietBit = 0x0008000000000000;

// 2^M for the power field of t = x·64/ln 2 + kShifter (N in its low bits), M in [-1022, 1023].
template <class V>
[[gnu::always_inline]] inline V power_of(V t) {
    return simd::from_bits<V>(((simd::to_bits(t) >> 6) + 1023) << 52);
}

template <class V>
[[gnu::always_inline]] inline V expm1_double(V x) {
    const V t = x * kInvL + kShifter;
    const V k = t - kShifter;
    const Row<V> e = row(simd::to_bits(t));
    const V s = power_of(t);
    const V r_hi = x - k * kLHi;  // exact
    const V r_lo = -(k * kLLo);
    const V r = r_hi + r_lo;
    const V q = (r * r) *
                (0.5 + r * (1.0 / 6 +
                            r * (1.0 / 24 + r * (1.0 / 120 + r * (1.0 / 720 + r * (1.0 / 5040))))));
    const Sum<V> a = precise::two_sum(s * e.hi, V{} - 1.0);
    const Sum<V> u = precise::two_prod(e.hi, r_hi);
    const Sum<V> b = precise::two_sum(a.hi, s * u.hi);
    const V rest = (a.lo + b.lo) + s * ((u.lo + e.hi * (r_lo + q)) + e.lo * (1.0 + (r + q)));
    return b.hi + rest;
}

template <class V>
[[gnu::always_inline]] inline V expm1_single(V x) {
    const V t = x * kInvL + kShifter;
    const V k = t - kShifter;
    const Row<V> e = row(simd::to_bits(t));
    const V s = power_of(t);
    const V r = (x - k * kLHi) - k * kLLo;
    const V p = r + (r * r) * (0.5 + r * (1.0 / 6 + r * (1.0 / 24 + r * (1.0 / 120))));
    return (s * e.hi - 1.0) + s * (e.hi * p + e.lo);
}

// Vector-path limits: x in [-37.5, 708.39] (double), |x| < 88 (single).
constexpr std::uint32_t kNegativeLimit = 0x4042C000;  // high word of 37.5
constexpr std::uint32_t kPositiveLimit = 0x4086232A;  // as dExp's
constexpr std::uint32_t kSingleLimit = 0x42B00000;    // 88

// Outside the vector path's range, or below the smallest normal magnitude; in integer registers.
bool unusual_d(double x) {
    const std::uint32_t hi = high_word(x);
    const std::uint32_t limit = (hi >> 31) != 0 ? kNegativeLimit : kPositiveLimit;
    return (hi & 0x7FFFFFFF) - 0x00100000u > limit - 0x00100000u;
}
bool unusual_s(float x) {
    const std::uint32_t b = bits_of(x) & 0x7FFFFFFF;
    return b - 0x00800000u >= kSingleLimit - 0x00800000u;
}

double element_d(double x, int &status) {
    const std::uint64_t b = bits_of(x);
    const std::uint64_t abs_b = b & kAbsMask;
    status = ARQ_STATUS_OK;
    if (!unusual_d(x)) return expm1_double(x);
    if (abs_b > kPlusInfBits) return double_from(b | kQuietBit);
    if (b == kPlusInfBits) return x;
    if (abs_b < 0x0010000000000000) {
        // ±0 and subnormals: x itself, but a subnormal read as zero is that zero.
        x = as_read(x);
        if ((bits_of(x) & kAbsMask) != 0) status = ARQ_STATUS_UNDERFLOW;
        return x;
    }
    if (x < -37.5) return -1.0;
    // x above 708.39: e^x - 1 is e^x here, the -1 far below the last bit.
    const double y = precise::scale_any(precise::exp(Sum<double>{x, 0.0}));
    if (bits_of(y) == kPlusInfBits) status = ARQ_STATUS_OVERFLOW;
    return y;
}

float element_s(float x, int &status) {
    const std::uint32_t b = bits_of(x);
    const std::uint32_t abs_b = b & 0x7FFFFFFF;
    status = ARQ_STATUS_OK;
    if (!unusual_s(x)) return static_cast<float>(expm1_single(static_cast<double>(x)));
    if (abs_b > 0x7F800000) return float_from(b | 0x00400000);
    if (b == 0x7F800000) return x;
    if (abs_b < 0x00800000) {
        x = as_read(x);
        if ((bits_of(x) & 0x7FFFFFFF) != 0) status = ARQ_STATUS_UNDERFLOW;
        return x;
    }
    if (x < -17.5f) return -1.0f;
    if (x > 89.0f) {
        status = ARQ_STATUS_OVERFLOW;
        return float_from(0x7F800000);
    }
    const float y = static_cast<float>(expm1_single(static_cast<double>(x)));
    if (bits_of(y) == 0x7F800000) status = ARQ_STATUS_OVERFLOW;
    return y;
}

constexpr char kNames[2][8] = {"vsExpm1", "vdExpm1"};

template <class T>
struct Expm1 {
    static constexpr bool kDouble = sizeof(T) == sizeof(double);
    using Element = T;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = kNames[kDouble ? 1 : 0];
    static constexpr int kVectors = kDouble ? 4 : 2;

    static const Context &context() { return kNoContext; }

    static T element(T x, const Context &, int &status) {
        if constexpr (kDouble) {
            return element_d(x, status);
        } else {
            return element_s(x, status);
        }
    }

    static bool unusual(T x, const Context &) {
        if constexpr (kDouble) {
            return unusual_d(x);
        } else {
            return unusual_s(x);
        }
    }

    static Vec<double> lanes(Vec<double> x, const T *, const Context &) {
        if constexpr (kDouble) {
            return expm1_double(x);
        } else {
            return expm1_single(x);
        }
    }
};

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sExpm1_A(int n, const float *a,
                                                                       float *r) {
    run_one<Expm1<float>>(n, a, r);
}
extern "C" __attribute__((visibility("hidden"))) void korb_vm_dExpm1_A(int n, const double *a,
                                                                       double *r) {
    run_one<Expm1<double>>(n, a, r);
}

}  // namespace korb::vecmath
