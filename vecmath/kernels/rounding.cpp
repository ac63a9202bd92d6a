// The bit-level kernels of single and double precision: Abs, Ceil, Floor, Trunc, Round, Rint,
// NearbyInt and Modf.
//
// They are plain loops over vectors (frame/simd.h) with the same template for the last elements,
// neither read the mode nor change the control register, report nothing and return n.
//
// Rounding is done by exact operations only, so that no flag is raised (Rint raises inexact on
// purpose, see below). For 1 <= |x| < 2^p (p = 52 in double, 23 in single) the integral part of
// |x| clears the f = (p + bias) - e fraction bits of its pattern, e the biased exponent. The mask
// of those bits is (1 << f) - 1, and 1 << f is formed without a variable shift: 2^f as a floating
// value (its exponent field is f + bias), plus 2^p, is exact, and its pattern minus that of 2^p is
// 1 << f. The fractional part |x| - trunc(|x|) is then exact as well, and the functions differ
// only in when they add 1 to the integral part (exact below 2^p):
//
//   Trunc  never          Floor  x < 0 and a fraction     Ceil  x > 0 and a fraction
//   Round  fraction >= 1/2 (halfway cases away from zero)
//   Rint, NearbyInt  by the caller's rounding direction: to nearest, fraction > 1/2, or = 1/2 with
//          an odd integral part; upward and downward like Ceil and Floor; toward zero never.
//
// The sign is put back last, so that -0.5 gives -0 (Trunc, Ceil, Round) and -0 stays -0. |x| >= 2^p
// and infinities are integers already; a NaN comes back quiet. Modf gives the integral part and
// the fractional part, both with the argument's sign: modf(±inf) = (±inf, ±0).
//
// Rint and NearbyInt read the caller's rounding direction from the control register (they never
// write it). NearbyInt raises no flag; Rint, as the C function, raises inexact when a result
// differs from its argument, by one inexact operation at the end of the call.
#include <cstdint>
#include <type_traits>

#include "frame/simd.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using simd::Bits;
using simd::Vec;

// The constants of a precision.
template <class T>
struct Format;
template <>
struct Format<double> {
    static constexpr int kP = 52;              // fraction bits
    static constexpr std::uint64_t kK = 2098;  // p + 2·bias: f + bias = kK - e
    static constexpr double kTwoP = 0x1p52;
    static constexpr std::uint64_t kQuiet = std::uint64_t{1} << 51;
    static constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
};
template <>
struct Format<float> {
    static constexpr int kP = 23;
    static constexpr std::uint32_t kK = 277;
    static constexpr float kTwoP = 0x1p23f;
    static constexpr std::uint32_t kQuiet = std::uint32_t{1} << 22;
    static constexpr std::uint32_t kSign = std::uint32_t{1} << 31;
};

template <class V>
using ElementOf = typename simd::LaneOf<V>::Element;

// x with a NaN made quiet.
template <class V>
[[gnu::always_inline]] inline V quiet(V x) {
    using T = ElementOf<V>;
    return simd::from_bits<V>(simd::to_bits(x) | (~simd::mask<V>(x == x) & Format<T>::kQuiet));
}

// The pieces every rounding function starts from.
template <class V>
struct Parts {
    V whole;           // trunc(|x|) where |x| < 2^p (0 below 1), else 0
    V fraction;        // |x| - whole there, else 0
    Bits<V> large;     // |x| >= 2^p, infinite or NaN: x is its own result
    Bits<V> sign;      // x's sign bit
    Bits<V> negative;  // all ones where x's sign bit is set
    Bits<V> odd;       // all ones where whole is odd
    Bits<V> inexact;   // all ones where fraction is not 0
};

template <class V>
[[gnu::always_inline]] inline Parts<V> parts(V x) {
    using T = ElementOf<V>;
    using F = Format<T>;
    constexpr int kTop = 8 * sizeof(T) - 1;
    const V ax = simd::abs(x);
    // Integer comparisons of the patterns: a NaN raises no flag.
    const Bits<V> ax_bits = simd::to_bits(ax);
    const Bits<V> small = simd::below(ax_bits, simd::to_bits(V{} + T(1)));
    const Bits<V> inside = ~small & simd::below(ax_bits, simd::to_bits(V{} + F::kTwoP));
    // Lanes outside [1, 2^p) compute on 1, so that every operation below stays exact.
    const V xc = simd::select(inside, ax, V{} + T(1));
    const Bits<V> xb = simd::to_bits(xc);
    const Bits<V> exponent = xb >> F::kP;
    const V power = simd::from_bits<V>((F::kK - exponent) << F::kP);  // 2^f, 1 <= f <= p
    const Bits<V> unit = simd::to_bits(power + F::kTwoP) - simd::to_bits(V{} + F::kTwoP);
    const V whole = simd::from_bits<V>(xb & ~(unit - 1) & inside);
    const V kept = simd::from_bits<V>(ax_bits & (inside | small));
    // Exact; its sign is cleared, since x - x is -0 when the caller rounds downward.
    const V fraction = simd::abs(kept - whole);
    // The integral part's lowest bit: whole + 2^p is exact and has it as its last bit.
    const Bits<V> last = simd::to_bits(whole + F::kTwoP) & 1;
    const Bits<V> sign = simd::to_bits(x) & F::kSign;
    return {whole,
            fraction,
            ~(inside | small),
            sign,
            Bits<V>{} - (sign >> kTop),
            Bits<V>{} - last,
            ~simd::mask<V>(fraction == T(0))};
}

// whole + 1 where add is set, with x's sign, or x itself (quiet) where it is large.
template <class V>
[[gnu::always_inline]] inline V finish(V x, const Parts<V> &p, Bits<V> add) {
    using T = ElementOf<V>;
    const V magnitude = p.whole + simd::from_bits<V>(simd::to_bits(V{} + T(1)) & add);
    const V rounded = simd::from_bits<V>(simd::to_bits(magnitude) | p.sign);
    return simd::select(p.large, quiet(x), rounded);
}

template <class V>
[[gnu::always_inline]] inline Bits<V> at_least_half(const Parts<V> &p) {
    using T = ElementOf<V>;
    return simd::mask<V>(p.fraction >= T(0.5));
}

// The rounding directions of the control register's RC field (bits 13 and 14).
enum class Direction { nearest = 0, down = 1, up = 2, toward_zero = 3 };

template <Direction kDirection, class V>
[[gnu::always_inline]] inline Bits<V> add_in(const Parts<V> &p) {
    using T = ElementOf<V>;
    if constexpr (kDirection == Direction::nearest) {
        return simd::mask<V>(p.fraction > T(0.5)) | (simd::mask<V>(p.fraction == T(0.5)) & p.odd);
    } else if constexpr (kDirection == Direction::down) {
        return p.inexact & p.negative;
    } else if constexpr (kDirection == Direction::up) {
        return p.inexact & ~p.negative;
    } else {
        return Bits<V>{};
    }
}

struct Trunc {
    template <class V>
    static V value(V x) {
        return finish(x, parts(x), Bits<V>{});
    }
};
struct Floor {
    template <class V>
    static V value(V x) {
        const Parts<V> p = parts(x);
        return finish(x, p, add_in<Direction::down>(p));
    }
};
struct Ceil {
    template <class V>
    static V value(V x) {
        const Parts<V> p = parts(x);
        return finish(x, p, add_in<Direction::up>(p));
    }
};
struct Round {
    template <class V>
    static V value(V x) {
        const Parts<V> p = parts(x);
        return finish(x, p, at_least_half(p));
    }
};
struct Abs {
    template <class V>
    static V value(V x) {
        return simd::abs(x);
    }
};

// r[i] = Op::value(a[i]) over whole vectors, then the last elements one by one; returns n.
template <class Op, class T>
int run_bits(int n, const T *a, T *r) {
    constexpr int kUnit = simd::kCount<Vec<T>>;
    int i = 0;
    for (; i + kUnit <= n; i += kUnit) simd::store_lanes(r + i, Op::value(simd::load_lanes(a + i)));
    for (; i < n; ++i) r[i] = Op::value(a[i]);
    return n;
}

Direction caller_direction() {
    return static_cast<Direction>((simd::control_word() >> 13) & 3);
}

// NearbyInt in one direction; with kRaise (Rint) the inexact flag afterwards when a result
// differs from its argument.
template <Direction kDirection, bool kRaise, class T>
int round_in(int n, const T *a, T *r) {
    constexpr int kUnit = simd::kCount<Vec<T>>;
    Bits<Vec<T>> vector_inexact{};
    Bits<T> inexact{};
    int i = 0;
    for (; i + kUnit <= n; i += kUnit) {
        const Vec<T> x = simd::load_lanes(a + i);
        const Parts<Vec<T>> p = parts(x);
        if constexpr (kRaise) vector_inexact |= p.inexact;
        simd::store_lanes(r + i, finish(x, p, add_in<kDirection>(p)));
    }
    for (; i < n; ++i) {
        const T x = a[i];
        const Parts<T> p = parts(x);
        if constexpr (kRaise) inexact |= p.inexact;
        r[i] = finish(x, p, add_in<kDirection>(p));
    }
    if (kRaise && (inexact != 0 || simd::any(vector_inexact))) {
        volatile double one = 1.0;
        volatile double sum = one + 0x1p-60;  // raises inexact
        (void)sum;
    }
    return n;
}

template <bool kRaise, class T>
int round_in_callers_direction(int n, const T *a, T *r) {
    switch (caller_direction()) {
        case Direction::nearest:
            return round_in<Direction::nearest, kRaise>(n, a, r);
        case Direction::down:
            return round_in<Direction::down, kRaise>(n, a, r);
        case Direction::up:
            return round_in<Direction::up, kRaise>(n, a, r);
        default:
            return round_in<Direction::toward_zero, kRaise>(n, a, r);
    }
}

// Modf: the integral part to r1, the fractional part to r2, both with x's sign.
template <class V>
[[gnu::always_inline]] inline void modf_value(V x, V &integral, V &fractional) {
    const Parts<V> p = parts(x);
    integral = finish(x, p, Bits<V>{});
    // Large lanes have a fraction of 0 here (±0 with the sign), NaNs their quiet NaN.
    const V f = simd::from_bits<V>(simd::to_bits(p.fraction) | p.sign);
    fractional = simd::select(~simd::mask<V>(x == x), quiet(x), f);
}

template <class T>
int modf(int n, const T *a, T *r1, T *r2) {
    constexpr int kUnit = simd::kCount<Vec<T>>;
    int i = 0;
    for (; i + kUnit <= n; i += kUnit) {
        Vec<T> whole, fraction;
        modf_value(simd::load_lanes(a + i), whole, fraction);
        simd::store_lanes(r1 + i, whole);
        simd::store_lanes(r2 + i, fraction);
    }
    for (; i < n; ++i) {
        T whole, fraction;
        modf_value(a[i], whole, fraction);
        r1[i] = whole;
        r2[i] = fraction;
    }
    return n;
}

}  // namespace

#define KORB_ARQ_BITS(F, Op)                                                                      \
    extern "C" __attribute__((visibility("hidden"))) int korb_vm_s##F##_A(int n, const float *a,  \
                                                                          float *r) {             \
        return run_bits<Op>(n, a, r);                                                             \
    }                                                                                             \
    extern "C" __attribute__((visibility("hidden"))) int korb_vm_d##F##_A(int n, const double *a, \
                                                                          double *r) {            \
        return run_bits<Op>(n, a, r);                                                             \
    }
KORB_ARQ_BITS(Abs, Abs)
KORB_ARQ_BITS(Trunc, Trunc)
KORB_ARQ_BITS(Floor, Floor)
KORB_ARQ_BITS(Ceil, Ceil)
KORB_ARQ_BITS(Round, Round)
#undef KORB_ARQ_BITS

extern "C" __attribute__((visibility("hidden"))) int korb_vm_sNearbyInt_A(int n, const float *a,
                                                                          float *r) {
    return round_in_callers_direction<false>(n, a, r);
}
extern "C" __attribute__((visibility("hidden"))) int korb_vm_dNearbyInt_A(int n, const double *a,
                                                                          double *r) {
    return round_in_callers_direction<false>(n, a, r);
}
extern "C" __attribute__((visibility("hidden"))) int korb_vm_sRint_A(int n, const float *a,
                                                                     float *r) {
    return round_in_callers_direction<true>(n, a, r);
}
extern "C" __attribute__((visibility("hidden"))) int korb_vm_dRint_A(int n, const double *a,
                                                                     double *r) {
    return round_in_callers_direction<true>(n, a, r);
}
extern "C" __attribute__((visibility("hidden"))) int korb_vm_sModf_A(int n, const float *a,
                                                                     float *r1, float *r2) {
    return modf(n, a, r1, r2);
}
extern "C" __attribute__((visibility("hidden"))) int korb_vm_dModf_A(int n, const double *a,
                                                                     double *r1, double *r2) {
    return modf(n, a, r1, r2);
}

}  // namespace korb::vecmath
