// The arithmetic kernels, single and double: Add, Sub, Mul, Div, Sqr, Inv, LinearFrac and Hypot.
//
// Add, Sub, Mul, Div, Sqr and Inv are one IEEE operation per element, so their vector path is the
// operation itself, and the results are the bits of the C operators (correctly rounded, in the
// rounding and denormal handling the kernel frame sets). The vector path refuses a vector in
// which a result is infinite or NaN; the element path recomputes it and tells the special cases
// apart by the arguments:
//
//   infinite result of finite arguments                 ARQ_STATUS_OVERFLOW
//   finite non-zero value divided by zero (Div, Inv)    ARQ_STATUS_SING, the signed infinity
//   NaN result of arguments that are not NaN            ARQ_STATUS_ERRDOM (0/0, inf/inf,
//                                                       inf - inf, inf * 0: the default NaN)
//
// and nothing for a NaN or infinite result that an argument carried in. Underflow is not
// reported: a subnormal or zero result of these operations is exact or correctly rounded.
//
// LinearFrac computes (scalea·a + shifta) / (scaleb·b + shiftb), each operation rounded once in
// that order, and reports the expression as a whole: OVERFLOW also when the numerator or the
// denominator overflowed although the quotient is finite (it is then not the true value).
//
// Hypot: sqrt(x² + y²) without spurious overflow or underflow, as vecmath/kernels/hypot.h
// describes.
#include <cstdint>
#include <limits>
#include <type_traits>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/hypot.h"

namespace korb::vecmath {
namespace {

using simd::Bits;
using simd::Vec;

// The tests raise no flag for a NaN (quiet comparisons, or integer ones on the patterns), so that
// a NaN passing through traps nobody who unmasked the invalid exception.
template <class T>
[[gnu::always_inline]] inline bool is_nan(T x) {
    return __builtin_isnan(x);
}
template <class T>
[[gnu::always_inline]] inline bool is_finite(T x) {
    return __builtin_isfinite(x);
}

// All ones in the lanes of v that are infinite or NaN.
template <class V>
[[gnu::always_inline]] inline Bits<V> not_finite(V v) {
    using T = typename simd::LaneOf<V>::Element;
    constexpr V kInf = V{} + std::numeric_limits<T>::infinity();
    return ~simd::below(simd::to_bits(simd::abs(v)), simd::to_bits(kInf));
}


// The status of an operation whose result r came from the arguments x and y (pass x twice for
// one argument), apart from division by zero.
template <class T>
inline int operation_status(T r, T x, T y) {
    if (is_nan(r)) return is_nan(x) || is_nan(y) ? ARQ_STATUS_OK : ARQ_STATUS_ERRDOM;
    if (!is_finite(r) && is_finite(x) && is_finite(y)) return ARQ_STATUS_OVERFLOW;
    return ARQ_STATUS_OK;
}

// The operations, each once for the element path and the lanes.
struct AddOp {
    template <class V>
    static V value(V x, V y) {
        return x + y;
    }
};
struct SubOp {
    template <class V>
    static V value(V x, V y) {
        return x - y;
    }
};
struct MulOp {
    template <class V>
    static V value(V x, V y) {
        return x * y;
    }
};
struct DivOp {
    template <class V>
    static V value(V x, V y) {
        return x / y;
    }
};

// The two-argument kernels of one operation: every vector goes through the lanes, and one with a
// special result is redone element by element.
template <class T, class Op, const char *kFunction>
struct Binary {
    using Element = T;
    using Compute = T;
    using Context = NoContext;
    static constexpr const char *kName = kFunction;
    static constexpr int kVectors = 4;
    static const Context &context() { return kNoContext; }

    static T element(T x, T y, const Context &, int &status) {
        const T r = Op::value(x, y);
        status = operation_status(r, x, y);
        if constexpr (std::is_same_v<Op, DivOp>) {
            if (y == T(0) && x == x && x != T(0) && is_finite(x)) status = ARQ_STATUS_SING;
        }
        return r;
    }

    static bool unusual(T, T, const Context &) { return false; }

    static Vec<T> lanes(Vec<T> x, Vec<T> y, const Context &, bool &refused) {
        const Vec<T> r = Op::value(x, y);
        refused = simd::any(not_finite(r));
        return r;
    }
};

// Sqr and Inv.
struct SqrOp {
    template <class V>
    static V value(V x) {
        return x * x;
    }
};
struct InvOp {
    template <class V>
    static V value(V x) {
        return (V{} + 1) / x;
    }
};

template <class T, class Op, const char *kFunction>
struct Unary {
    using Element = T;
    using Compute = T;
    using Context = NoContext;
    static constexpr const char *kName = kFunction;
    static constexpr int kVectors = 4;
    static const Context &context() { return kNoContext; }

    static T element(T x, const Context &, int &status) {
        const T r = Op::value(x);
        status = operation_status(r, x, x);
        if constexpr (std::is_same_v<Op, InvOp>) {
            if (x == T(0)) status = ARQ_STATUS_SING;
        }
        return r;
    }

    static bool unusual(T, const Context &) { return false; }

    static Vec<T> lanes(Vec<T> x, const T *, const Context &, bool &refused) {
        const Vec<T> r = Op::value(x);
        refused = simd::any(not_finite(r));
        return r;
    }
};

// LinearFrac: the four scalars of a call, for the element path and as vectors for the lanes.
template <class T>
struct FracContext {
    Vec<T> scale_a, shift_a, scale_b, shift_b;
    T sa, ta, sb, tb;
};

template <class V>
struct Fraction {
    V num, den, r;
};

template <class V>
[[gnu::always_inline]] inline Fraction<V> fraction(V x, V y, V sa, V ta, V sb, V tb) {
    const V num = sa * x + ta;
    const V den = sb * y + tb;
    return {num, den, num / den};
}

template <class T, const char *kFunction>
struct LinearFrac {
    using Element = T;
    using Compute = T;
    using Context = FracContext<T>;
    static constexpr const char *kName = kFunction;
    static constexpr int kVectors = 4;

    static Context context(T sa, T ta, T sb, T tb) {
        return {Vec<T>{} + sa, Vec<T>{} + ta, Vec<T>{} + sb, Vec<T>{} + tb, sa, ta, sb, tb};
    }

    static T element(T x, T y, const Context &c, int &status) {
        const Fraction<T> f = fraction(x, y, c.sa, c.ta, c.sb, c.tb);
        status = ARQ_STATUS_OK;
        const bool finite_inputs = is_finite(x) && is_finite(y) && is_finite(c.sa) &&
                                   is_finite(c.ta) && is_finite(c.sb) && is_finite(c.tb);
        const bool nan_inputs =
            is_nan(x) || is_nan(y) || is_nan(c.sa) || is_nan(c.ta) || is_nan(c.sb) || is_nan(c.tb);
        if (is_nan(f.r)) {
            if (!nan_inputs) status = ARQ_STATUS_ERRDOM;
        } else if (f.den == T(0) && f.num != T(0) && is_finite(f.num)) {
            status = ARQ_STATUS_SING;
        } else if (finite_inputs && !(is_finite(f.num) && is_finite(f.den) && is_finite(f.r))) {
            status = ARQ_STATUS_OVERFLOW;
        }
        return f.r;
    }

    static bool unusual(T, T, const Context &) { return false; }

    static Vec<T> lanes(Vec<T> x, Vec<T> y, const Context &c, bool &refused) {
        const Fraction<Vec<T>> f = fraction(x, y, c.scale_a, c.shift_a, c.scale_b, c.shift_b);
        refused = simd::any(not_finite(f.num) | not_finite(f.den) | not_finite(f.r));
        return f.r;
    }
};

// ---- Hypot (vecmath/kernels/hypot.h) ----------------------------------------------------

template <const char *kFunction>
struct HypotD {
    using Element = double;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = kFunction;
    static constexpr int kVectors = 4;
    static const Context &context() { return kNoContext; }

    static double element(double x, double y, const Context &, int &status) {
        return hypot::element(x, y, status);
    }
    static Bits<Vec<double>> unusual(Vec<double> x, Vec<double> y, const Context &) {
        return hypot::unusual(x, y);
    }
    static Vec<double> lanes(Vec<double> x, Vec<double> y, const Context &) {
        return hypot::core(x, y);
    }
};

template <const char *kFunction>
struct HypotS {
    using Element = float;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = kFunction;
    static constexpr int kVectors = 2;
    static const Context &context() { return kNoContext; }

    static float element(float x, float y, const Context &, int &status) {
        return hypot::element(x, y, status);
    }
    static Bits<Vec<float>> unusual(Vec<float> x, Vec<float> y, const Context &) {
        return hypot::unusual(x, y);
    }
    static Vec<double> lanes(Vec<double> x, Vec<double> y, const Context &) {
        return hypot::single_value(x, y);
    }
};

constexpr char kAddS[] = "vsAdd", kAddD[] = "vdAdd";
constexpr char kSubS[] = "vsSub", kSubD[] = "vdSub";
constexpr char kMulS[] = "vsMul", kMulD[] = "vdMul";
constexpr char kDivS[] = "vsDiv", kDivD[] = "vdDiv";
constexpr char kSqrS[] = "vsSqr", kSqrD[] = "vdSqr";
constexpr char kInvS[] = "vsInv", kInvD[] = "vdInv";
constexpr char kLinearFracS[] = "vsLinearFrac", kLinearFracD[] = "vdLinearFrac";
constexpr char kHypotS[] = "vsHypot", kHypotD[] = "vdHypot";

}  // namespace

#define KORB_ARQ_TWO(p, F, T, ...)                                                               \
    extern "C" __attribute__((visibility("hidden"))) void korb_vm_##p##F##_A(int n, const T *a,  \
                                                                             const T *b, T *r) { \
        run_two<__VA_ARGS__>(n, a, b, r);                                                        \
    }
#define KORB_ARQ_ONE(p, F, T, ...)                                                               \
    extern "C"                                                                                   \
        __attribute__((visibility("hidden"))) void korb_vm_##p##F##_A(int n, const T *a, T *r) { \
        run_one<__VA_ARGS__>(n, a, r);                                                           \
    }

KORB_ARQ_TWO(s, Add, float, Binary<float, AddOp, kAddS>)
KORB_ARQ_TWO(d, Add, double, Binary<double, AddOp, kAddD>)
KORB_ARQ_TWO(s, Sub, float, Binary<float, SubOp, kSubS>)
KORB_ARQ_TWO(d, Sub, double, Binary<double, SubOp, kSubD>)
KORB_ARQ_TWO(s, Mul, float, Binary<float, MulOp, kMulS>)
KORB_ARQ_TWO(d, Mul, double, Binary<double, MulOp, kMulD>)
KORB_ARQ_TWO(s, Div, float, Binary<float, DivOp, kDivS>)
KORB_ARQ_TWO(d, Div, double, Binary<double, DivOp, kDivD>)
KORB_ARQ_TWO(s, Hypot, float, HypotS<kHypotS>)
KORB_ARQ_TWO(d, Hypot, double, HypotD<kHypotD>)
KORB_ARQ_ONE(s, Sqr, float, Unary<float, SqrOp, kSqrS>)
KORB_ARQ_ONE(d, Sqr, double, Unary<double, SqrOp, kSqrD>)
KORB_ARQ_ONE(s, Inv, float, Unary<float, InvOp, kInvS>)
KORB_ARQ_ONE(d, Inv, double, Unary<double, InvOp, kInvD>)

#undef KORB_ARQ_TWO
#undef KORB_ARQ_ONE

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sLinearFrac_A(
    int n, const float *a, const float *b, float scalea, float shifta, float scaleb, float shiftb,
    float *r) {
    driver::run<LinearFrac<float, kLinearFracS>, driver::Kind::two>(n, a, b, 0.0f, r, r, scalea,
                                                                    shifta, scaleb, shiftb);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dLinearFrac_A(
    int n, const double *a, const double *b, double scalea, double shifta, double scaleb,
    double shiftb, double *r) {
    driver::run<LinearFrac<double, kLinearFracD>, driver::Kind::two>(n, a, b, 0.0, r, r, scalea,
                                                                     shifta, scaleb, shiftb);
}

}  // namespace korb::vecmath
