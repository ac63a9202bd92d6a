// Powers of the square root, single and double: InvSqrt (1/sqrt x) and Pow3o2 (x^(3/2)).
//
// Double: both start from the correctly rounded square root s (or v = 1/s) and correct the two
// roundings with residuals found exactly by Dekker's products:
//
//   InvSqrt: v = 1/sqrt(x) rounded twice; e = 1 - x·v² exactly enough (v² and x·v²'s high part
//            exact), and 1/sqrt(x) = v·(1 - e)^(-1/2) = v + v·e/2 (e is below 2^-51, so e² is
//            far below the last bit).
//   Pow3o2:  x·sqrt(x) = x·s + x·(sqrt(x) - s), with x·s exact as a sum of two and
//            sqrt(x) - s = (x - s²)/(2s), the residual x - s² exact; x/(2s) is s/2 to 2^-52.
//
// so that each result is rounded once at full weight: within about 0.5 ulp, exact for the
// squares whose root is representable. Arguments far from 1 are first scaled by an even power of
// two (2^±960 for InvSqrt, 2^±600 for Pow3o2) so that the products stay clear of overflow and
// underflow, and the result by the matching power, in two steps when it may be subnormal.
//
// Single: the same in plain double on the widened argument (1/sqrt(x), x·sqrt(x): relative error
// below 2^-51), rounded once to float.
//
// Vectors whose arguments are in the range that needs no scaling take the vector path; any other
// vector, and the last elements that fill no vector, go element by element with the same
// operations plus the special values: InvSqrt(+0) = +Inf and InvSqrt(-0) = -Inf with
// ARQ_STATUS_SING, InvSqrt(+Inf) = +0, Pow3o2(±0) = +0 (as C99's pow(±0, 1.5)), Pow3o2(+Inf) =
// +Inf; a negative argument (also -Inf) the NaN 0xFFF8000000000000 (0xFFC00000) with
// ARQ_STATUS_ERRDOM; a NaN comes back quiet. Pow3o2 reports ARQ_STATUS_OVERFLOW for a result that
// rounds to +Inf and ARQ_STATUS_UNDERFLOW for one below the smallest normal number. In the
// flushing mode a subnormal argument is the zero of its sign.
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/ln_exp_precise.h"

namespace korb::vecmath {
namespace {

using precise::Sum;
using simd::Vec;

constexpr std::uint64_t kQuietBit = 0x0008000000000000;
constexpr std::uint64_t kSmallestNormalBits = 0x0010000000000000;

enum class Power { inverse, three_halves };

// 1/sqrt(x) for x in [2^-960, 2^960].
template <class V>
[[gnu::always_inline]] inline V inv_sqrt(V x) {
    const V v = 1.0 / simd::sqrt(x);
    const Sum<V> v2 = precise::two_prod(v, v);
    const Sum<V> xv2 = precise::two_prod(x, v2.hi);
    const V e = ((1.0 - xv2.hi) - xv2.lo) - x * v2.lo;  // 1 - xv2.hi is exact
    return v + v * (e * 0.5);
}

// x^(3/2) for x in [2^-600, 2^600].
template <class V>
[[gnu::always_inline]] inline V pow_three_halves(V x) {
    const V s = simd::sqrt(x);
    const Sum<V> ss = precise::split(s);
    const Sum<V> s2 = precise::two_prod(s, ss, s, ss);
    const V residual = (x - s2.hi) - s2.lo;  // x - s2.hi is exact
    const Sum<V> xs = precise::two_prod(x, precise::split(x), s, ss);
    return xs.hi + (xs.lo + residual * (s * 0.5));
}

// Double precision, one element.
template <Power kPower>
double element_d(double x, int &status) {
    const std::uint64_t b = bits_of(x);
    status = ARQ_STATUS_OK;
    if ((b & kAbsMask) > kPlusInfBits) return double_from(b | kQuietBit);
    if ((b & kAbsMask) == 0) {
        if constexpr (kPower == Power::inverse) {
            status = ARQ_STATUS_SING;
            return double_from(b | kPlusInfBits);
        }
        return 0.0;
    }
    if ((b & kSignBit) != 0) {
        status = ARQ_STATUS_ERRDOM;
        return double_from(kDomainNaN);
    }
    if (b == kPlusInfBits) return kPower == Power::inverse ? 0.0 : x;
    if constexpr (kPower == Power::inverse) {
        // Results are normal; the scalings are exact.
        if (x > 0x1p960) return inv_sqrt(x * 0x1p-960) * 0x1p-480;
        if (x < 0x1p-960) return inv_sqrt(x * 0x1p960) * 0x1p480;
        return inv_sqrt(x);
    } else {
        double y;
        if (x > 0x1p600) {
            y = (pow_three_halves(x * 0x1p-600) * 0x1p450) * 0x1p450;
        } else if (x < 0x1p-600) {
            y = (pow_three_halves(x * 0x1p600) * 0x1p-450) * 0x1p-450;
        } else {
            return pow_three_halves(x);
        }
        if (bits_of(y) == kPlusInfBits) {
            status = ARQ_STATUS_OVERFLOW;
        } else if (bits_of(y) < kSmallestNormalBits) {
            status = ARQ_STATUS_UNDERFLOW;
        }
        return y;
    }
}

// Single precision in double, on lanes or one widened element.
template <Power kPower, class V>
[[gnu::always_inline]] inline V single_value(V x) {
    if constexpr (kPower == Power::inverse) {
        return 1.0 / simd::sqrt(x);
    } else {
        return x * simd::sqrt(x);
    }
}

template <Power kPower>
float element_s(float x, int &status) {
    const std::uint32_t b = bits_of(x);
    if ((b & 0x7FFFFFFF) == 0 || (b & 0x7FFFFFFF) >= 0x7F800000 || (b & 0x80000000) != 0) {
        return static_cast<float>(element_d<kPower>(x, status));  // the special values
    }
    status = ARQ_STATUS_OK;
    const float y = static_cast<float>(single_value<kPower>(static_cast<double>(x)));
    if constexpr (kPower == Power::three_halves) {
        if (bits_of(y) == 0x7F800000) {
            status = ARQ_STATUS_OVERFLOW;
        } else if (bits_of(y) < 0x00800000) {
            status = ARQ_STATUS_UNDERFLOW;
        }
    }
    return y;
}

constexpr char kNames[2][2][11] = {{"vsInvSqrt", "vdInvSqrt"}, {"vsPow3o2", "vdPow3o2"}};

// The vector paths' ranges, as bounds on the patterns (positive only): InvSqrt [2^-960, 2^960]
// (double) and the positive normal floats; Pow3o2 [2^-600, 2^600] (double) and [2^-80, 2^80]
// (single: normal float results).
template <class T, Power kPower>
constexpr std::uint64_t kLow = sizeof(T) == 8
                                   ? (kPower == Power::inverse ? 0x03F00000 : 0x1A700000)
                                   : (kPower == Power::inverse ? 0x00800000 : 0x17800000);
template <class T, Power kPower>
constexpr std::uint64_t kHigh = sizeof(T) == 8
                                    ? (kPower == Power::inverse ? 0x7BF00000 : 0x65700000)
                                    : (kPower == Power::inverse ? 0x7F800000 : 0x67800000);

template <class T, Power kPower>
struct SqrtPower {
    static constexpr bool kDouble = sizeof(T) == sizeof(double);
    using Element = T;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = kNames[static_cast<int>(kPower)][kDouble ? 1 : 0];
    static constexpr int kVectors = kDouble ? 4 : 2;

    static const Context &context() { return kNoContext; }

    // A subnormal read as zero (the flushing mode) takes the zero's special value.
    static T element(T x, const Context &, int &status) {
        if constexpr (kDouble) {
            return element_d<kPower>(as_read(x), status);
        } else {
            return element_s<kPower>(as_read(x), status);
        }
    }

    // Outside the vector path's range, negative, infinite or NaN; in integer registers on the
    // high word (double) or the pattern (single).
    static bool unusual(T x, const Context &) {
        const std::uint32_t w =
            kDouble ? high_word(static_cast<double>(x)) : bits_of(static_cast<float>(x));
        constexpr std::uint32_t lo = static_cast<std::uint32_t>(kLow<T, kPower>);
        constexpr std::uint32_t hi = static_cast<std::uint32_t>(kHigh<T, kPower>);
        return w - lo >= hi - lo;
    }

    static Vec<double> lanes(Vec<double> x, const T *, const Context &) {
        if constexpr (kDouble) {
            if constexpr (kPower == Power::inverse) {
                return inv_sqrt(x);
            } else {
                return pow_three_halves(x);
            }
        } else {
            return single_value<kPower>(x);
        }
    }
};

}  // namespace

#define KORB_SQRT_POWER_KERNEL(p, T, F, kPower)                                                  \
    extern "C"                                                                                   \
        __attribute__((visibility("hidden"))) void korb_vm_##p##F##_A(int n, const T *a, T *r) { \
        run_one<SqrtPower<T, Power::kPower>>(n, a, r);                                           \
    }
KORB_SQRT_POWER_KERNEL(s, float, InvSqrt, inverse)
KORB_SQRT_POWER_KERNEL(d, double, InvSqrt, inverse)
KORB_SQRT_POWER_KERNEL(s, float, Pow3o2, three_halves)
KORB_SQRT_POWER_KERNEL(d, double, Pow3o2, three_halves)
#undef KORB_SQRT_POWER_KERNEL

}  // namespace korb::vecmath
