// Log1p (ln(1 + x)) and Log10, single and double.
//
// Double: both from the logarithm of ln_exp_precise.h (ln as a sum of two doubles, to the
// precision kRounded: relative error below 2^-62, the series past r in plain double), so that
// the one rounding at full weight is the last addition (within about 0.5 ulp):
//
//   Log1p: u = 1 + x and its rounding error c exactly (two-sum), and ln(u + c) with c joining
//          the reduced argument: near 0, where u = 1 + x is not exact, c carries what was lost,
//          and the result is x - x²/2 + ... to the last bit (x itself when |x| < 2^-54).
//   Log10: ln x times 1/ln 10 as a sum of two doubles (Dekker's product of the high parts):
//          exact at the powers of ten that are doubles (10^0 .. 10^22), whose logarithm is
//          within 2^-56 of an integer before the last rounding (half an ulp of 22 is 2^-49).
//
// Single: in plain double on the widened argument, a logarithm without a table (ln_single,
// relative error below 2^-34; for Log1p, 1 + x and c exactly in double and c/u added), rounded
// once to float.
//
// Vectors whose arguments take the value path (Log10: positive normal numbers; Log1p: x > -1,
// finite, |x| at least the smallest normal number) take the vector path; every other vector, and
// the last elements that fill no vector, go element by element with the same operations and the
// special values: Log10 as dLn (±0 gives -Inf with ARQ_STATUS_SING, a negative argument or -Inf
// the NaN 0xFFF8000000000000 (0xFFC00000) with ARQ_STATUS_ERRDOM, a NaN comes back unchanged,
// +Inf gives +Inf, a positive subnormal is scaled by 2^52 first); Log1p as C99's log1p (±0 gives
// ±0, -1 gives -Inf with ARQ_STATUS_SING, below -1 the NaN with ARQ_STATUS_ERRDOM, +Inf gives
// +Inf, a NaN comes back quiet, a subnormal x itself with ARQ_STATUS_UNDERFLOW). In the flushing
// mode both read a subnormal argument as the zero of its sign.
#include <bit>
#include <cstdint>
#include <limits>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/ln_data.h"
#include "vecmath/kernels/ln_exp_precise.h"

namespace korb::vecmath {
namespace {

using precise::Sum;
using simd::Bits;
using simd::Vec;

constexpr double kLog10eHi = 0.4342944819032518;  // 1/ln 10 = hi + lo
constexpr double kLog10eLo = 1.098319650216765e-17;
constexpr std::uint64_t kQuietBit = 0x0008000000000000;
constexpr std::uint64_t kSmallestNormalBits = 0x0010000000000000;

template <class T, class B>
T bits_to(B b) {
    return std::bit_cast<T>(b);
}

// ---- Single precision ----------------------------------------------------------------------

// ln u for positive normal double u without a table, for the single-precision kernels:
// u = 2^k·m with m in [sqrt(1/2), sqrt(2)) split by integer arithmetic on the pattern (biased so
// that no shift is arithmetic), s = f/(2 + f) for f = m - 1 (|s| < 0.1716) and
// ln m = 2·atanh(s) = 2s + 2s·(z/3 + z²/5 + ... + z^5/11), z = s²: relative error below 2^-34,
// far below a float's last bit, in plain double.
constexpr std::uint64_t kSqrtHalfBits = 0x3FE6A09E667F3BCD;
constexpr double kLn2 = 0.6931471805599453;

template <class V>
[[gnu::always_inline]] inline V ln_single(V u) {
    const Bits<V> ix = simd::to_bits(u) + ((std::uint64_t{0x400} << 52) - kSqrtHalfBits);
    const V k = simd::from_bits<V>((ix >> 52) | 0x4330000000000000) - (0x1p52 + 1024);
    const V f = simd::from_bits<V>((ix & kMantissa) + kSqrtHalfBits) - 1.0;
    const V s = f / (2.0 + f);
    const V z = s * s;
    const V twice_s = s + s;
    const V series = z * (1.0 / 3 + z * (1.0 / 5 + z * (1.0 / 7 + z * (1.0 / 9 + z * (1.0 / 11)))));
    return k * kLn2 + (twice_s + twice_s * series);
}

// ---- Log10 -------------------------------------------------------------------------------

template <class V>
[[gnu::always_inline]] inline V log10_of(const Sum<V> &l) {
    const Sum<V> p = precise::two_prod(l.hi, V{} + kLog10eHi);
    return p.hi + (p.lo + (l.hi * kLog10eLo + l.lo * kLog10eHi));
}

// ln x for positive finite x, subnormals scaled by 2^52 first.
Sum<double> ln_any(double x) {
    using precise::Precision;
    if (bits_of(x) >= kSmallestNormalBits) return precise::ln<Precision::kRounded>(x);
    const Sum<double> l = precise::ln<Precision::kRounded>(x * 0x1p52);
    const Sum<double> s = precise::two_sum(l.hi, -52 * ln_data::kLn2Hi);  // 52·LN2_HI is exact
    return precise::fast_two_sum(s.hi, s.lo + (l.lo - 52 * ln_data::kLn2Lo));
}

// The special values of dLn; false for positive finite x, which the caller computes.
template <class T>
bool log_special(T x, T &result, int &status) {
    using Traits = simd::LaneOf<T>;
    using B = typename Traits::Bits;
    constexpr int kBits = 8 * sizeof(T);
    constexpr B kSign = B{1} << (kBits - 1);
    constexpr B kInf = sizeof(T) == 8 ? B(kPlusInfBits) : B(0x7F800000);
    constexpr B kNaN = sizeof(T) == 8 ? B(kDomainNaN) : B(0xFFC00000);
    const B b = bits_of(x);
    status = ARQ_STATUS_OK;
    if ((b & ~kSign) > kInf) {
        volatile T raise = x * T(1);  // raises invalid for a signalling NaN
        (void)raise;
        result = x;
        return true;
    }
    if ((b & ~kSign) == 0) {
        status = ARQ_STATUS_SING;
        result = bits_to<T>(kSign | kInf);
        return true;
    }
    if ((b & kSign) != 0) {
        status = ARQ_STATUS_ERRDOM;
        result = bits_to<T>(kNaN);
        return true;
    }
    if (b == kInf) {
        result = x;
        return true;
    }
    return false;
}

// ---- Log1p -------------------------------------------------------------------------------

template <class V>
[[gnu::always_inline]] inline V log1p_of(V x) {
    const Sum<V> u = precise::two_sum(V{} + 1.0, x);
    const Sum<V> l = precise::ln_with_low(u.hi, u.lo);
    return l.hi + l.lo;
}

// Single precision in double: 1 + x and c exactly, dLn's value path, and c/u. For a float x, c
// is non-zero only where |x| < 2^-29 (u within 2^-29 of 1, where 2 - u is 1/u to 2^-58) or
// x >= 2^53 (where c/u is far below the last bit of ln u): no division.
template <class V>
[[gnu::always_inline]] inline V log1p_single(V x) {
    const Sum<V> u = precise::two_sum(V{} + 1.0, x);
    const V c = simd::select(simd::mask<V>(u.hi < 2.0), u.lo * (2.0 - u.hi), V{});
    return ln_single(u.hi) + c;
}

// The special values of C99's log1p; false where the value path applies.
template <class T>
bool log1p_special(T x, T &result, int &status) {
    using B = typename simd::LaneOf<T>::Bits;
    constexpr bool kDouble = sizeof(T) == 8;
    constexpr B kAbs = kDouble ? B(kAbsMask) : B(0x7FFFFFFF);
    constexpr B kInf = kDouble ? B(kPlusInfBits) : B(0x7F800000);
    constexpr B kSmallest = kDouble ? B(kSmallestNormalBits) : B(0x00800000);
    constexpr B kQuiet = kDouble ? B(kQuietBit) : B(0x00400000);
    const B b = bits_of(x);
    status = ARQ_STATUS_OK;
    if ((b & kAbs) > kInf) {
        result = bits_to<T>(b | kQuiet);
        return true;
    }
    if ((b & kAbs) < kSmallest) {  // ±0 and subnormals: x itself
        if ((b & kAbs) != 0) status = ARQ_STATUS_UNDERFLOW;
        result = x;
        return true;
    }
    if (x == T(-1)) {
        status = ARQ_STATUS_SING;
        result = -std::numeric_limits<T>::infinity();
        return true;
    }
    if (x < T(-1)) {
        status = ARQ_STATUS_ERRDOM;
        result = bits_to<T>(kDouble ? B(kDomainNaN) : B(0xFFC00000));
        return true;
    }
    if (b == kInf) {
        result = x;
        return true;
    }
    return false;
}

constexpr char kLog10Names[2][8] = {"vsLog10", "vdLog10"};
constexpr char kLog1pNames[2][8] = {"vsLog1p", "vdLog1p"};

template <class T>
struct Log10 {
    static constexpr bool kDouble = sizeof(T) == sizeof(double);
    using Element = T;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = kLog10Names[kDouble ? 1 : 0];
    static constexpr int kVectors = kDouble ? 4 : 2;

    static const Context &context() { return kNoContext; }

    static T element(T x, const Context &, int &status) {
        T result;
        if (log_special(as_read(x), result, status)) return result;
        if constexpr (kDouble) {
            return log10_of(ln_any(x));
        } else {
            return static_cast<float>(ln_single(static_cast<double>(x)) * kLog10eHi);
        }
    }

    // Not positive, normal and finite; in integer registers.
    static bool unusual(T x, const Context &) {
        if constexpr (kDouble) {
            return high_word(x) - 0x00100000u >= 0x7FF00000u - 0x00100000u;
        } else {
            return bits_of(x) - 0x00800000u >= 0x7F800000u - 0x00800000u;
        }
    }

    static Vec<double> lanes(Vec<double> x, const T *src, const Context &) {
        if constexpr (kDouble) {
            return log10_of(precise::ln<precise::Precision::kRounded>(x, src));
        } else {
            return ln_single(x) * kLog10eHi;
        }
    }
};

template <class T>
struct Log1p {
    static constexpr bool kDouble = sizeof(T) == sizeof(double);
    using Element = T;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = kLog1pNames[kDouble ? 1 : 0];
    static constexpr int kVectors = kDouble ? 4 : 2;

    static const Context &context() { return kNoContext; }

    static T element(T x, const Context &, int &status) {
        T result;
        if (log1p_special(as_read(x), result, status)) return result;
        if constexpr (kDouble) {
            return log1p_of(x);
        } else {
            return static_cast<float>(log1p_single(static_cast<double>(x)));
        }
    }

    // x <= -1, |x| below the smallest normal number, infinite or NaN; in integer registers.
    static bool unusual(T x, const Context &) {
        if constexpr (kDouble) {
            const std::uint32_t hi = high_word(x);
            const std::uint32_t limit = (hi >> 31) != 0 ? 0x3FF00000u : 0x7FF00000u;
            return (hi & 0x7FFFFFFF) - 0x00100000u >= limit - 0x00100000u;
        } else {
            const std::uint32_t b = bits_of(x);
            const std::uint32_t limit = (b >> 31) != 0 ? 0x3F800000u : 0x7F800000u;
            return (b & 0x7FFFFFFF) - 0x00800000u >= limit - 0x00800000u;
        }
    }

    static Vec<double> lanes(Vec<double> x, const T *, const Context &) {
        if constexpr (kDouble) {
            return log1p_of(x);
        } else {
            return log1p_single(x);
        }
    }
};

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sLog10_A(int n, const float *a,
                                                                       float *r) {
    run_one<Log10<float>>(n, a, r);
}
extern "C" __attribute__((visibility("hidden"))) void korb_vm_dLog10_A(int n, const double *a,
                                                                       double *r) {
    run_one<Log10<double>>(n, a, r);
}
extern "C" __attribute__((visibility("hidden"))) void korb_vm_sLog1p_A(int n, const float *a,
                                                                       float *r) {
    run_one<Log1p<float>>(n, a, r);
}
extern "C" __attribute__((visibility("hidden"))) void korb_vm_dLog1p_A(int n, const double *a,
                                                                       double *r) {
    run_one<Log1p<double>>(n, a, r);
}

}  // namespace korb::vecmath
