// The double sine, cosine, sine-and-cosine and tangent.
//
// x = k·π/2 + r, |r| <= π/4, then sin r and cos r from odd and even polynomials (relative
// error 2^-58), chosen and signed by k mod 4. For |x| < 2^19 the reduction subtracts k·π/2 in
// three parts (33, 33 and 53 bits: the first two products are exact) and keeps r as a
// double-double hi + lo, whose absolute error is below k·2^-120; for |x| < 2^7 two parts (error
// k·2^-86) do when |hi| >= 2^-17. When the cancellation leaves |hi| < 2^-41, or for larger |x|,
// the element path reduces with the bits of 2/π instead (trig_reduce.cpp). The polynomials take
// lo in to first order. The rounding of r^2 and of the sine's r^3 term leave sine and cosine
// within 0.8 ulp (measured against MPFR, see README). The tangent keeps those exactly and
// divides the double-double sine by the double-double cosine (the cosine by the sine in odd
// quadrants) with one correction step: within 0.63 ulp.
//
// Vectors of elements with |x| < 2^19 take the vector path, which reduces each lane as the
// element path would (the quick reduction where it is trusted, else the short one) and refuses
// the vector when a reduced argument is too small for either; every other vector, and the last
// elements that fill no vector, go element by element through the path that also handles
// specials and reports errors. Both paths run the same templates on doubles and on vectors of
// doubles, so they give the same bits.
#include <cmath>
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/trig_lanes.h"
#include "vecmath/kernels/trig_reduce.h"

namespace korb::vecmath {
namespace {

using namespace trig;

template <class V>
struct Constants {
    V two_over_pi, shifter, pio2_1, pio2_2, pio2_3, pio2_1t;
    V s1, s2, s3, s4, s5, s6;
    V c1, c2, c3, c4, c5, c6;
    V half, one, split, min_reduced, min_quick, quick_limit;
    Bits<V> magnitude, short_limit;
};

template <class V>
constexpr Constants<V> make_constants() {
    return {
        V{} + 0x1.45f306dc9c883p-1,   // 2/π
        V{} + 0x1.8p52,               // rounds to an integer when added and subtracted
        V{} + 0x1.921fb544p0,         // π/2 in three parts: 33 bits,
        V{} + 0x1.0b4611a6p-34,       // 33 bits,
        V{} + 0x1.3198a2e037073p-69,  // 53 bits;
        V{} + 0x1.0b4611a626331p-34,  // or in two: 33 bits, then the rest to 53 bits
        // sin r = r + r^3·(s1 + s2·r^2 + ... + s6·r^10) on [-π/4, π/4], relative error 2^-58
        V{} + -1.66666666666666324348e-01,
        V{} + 8.33333333332248946124e-03,
        V{} + -1.98412698298579493134e-04,
        V{} + 2.75573137070700676789e-06,
        V{} + -2.50507602534068634195e-08,
        V{} + 1.58969099521155010221e-10,
        // cos r = 1 - r^2/2 + r^4·(c1 + c2·r^2 + ... + c6·r^10), error 2^-58
        V{} + 4.16666666666666019037e-02,
        V{} + -1.38888888888741095749e-03,
        V{} + 2.48015872894767294178e-05,
        V{} + -2.75573143513906633035e-07,
        V{} + 2.08757232129817482790e-09,
        V{} + -1.13596475577881948265e-11,
        V{} + 0.5,
        V{} + 1.0,
        V{} + 134217729.0,  // 2^27 + 1, splits a double into two 26-bit halves
        V{} + 0x1p-41,      // smallest |hi| the short reduction is trusted with
        V{} + 0x1p-17,      // and the quick one
        V{} + 0x1p7,        // largest |x| (excluded) the quick reduction takes
        Bits<V>{} + ~kSignBit,
        Bits<V>{} + 0x4120000000000000,  // pattern of 2^19
    };
}

constexpr Constants<double> kScalar = make_constants<double>();
alignas(simd::kNativeBytes) constexpr Constants<Vec<double>> kVector =
    make_constants<Vec<double>>();

template <class V>
struct Reduced {
    V hi, lo;
    Bits<V> q;  // k in the low bits
};

// x - k·π/2 for |x| < 2^19: k·pio2_1 and k·pio2_2 are exact, the first difference too; the
// second is kept with its rounding error (two-sum) and the third part joins the low half.
template <class V>
[[gnu::always_inline]] inline Reduced<V> reduce_short(V x, const Constants<V> &c) {
    const V t = x * c.two_over_pi + c.shifter;
    const V k = t - c.shifter;
    const V a = x - k * c.pio2_1;
    const V p = k * c.pio2_2;
    const V s = a - p;
    const V back = s - a;
    const V e = (a - (s - back)) - (p + back);
    const V lo = e - k * c.pio2_3;
    const V hi = s + lo;
    return {hi, (s - hi) + lo, simd::to_bits(t)};
}

// x - k·π/2 for |x| < 2^7 (k <= 82), with π/2 in two parts: k·pio2_1 and the first difference
// are exact, and hi + lo is within k·2^-86 of the true remainder, which is close enough when
// |hi| >= 2^-17. Eight operations fewer than reduce_short.
template <class V>
[[gnu::always_inline]] inline Reduced<V> reduce_quick(V x, const Constants<V> &c) {
    const V t = x * c.two_over_pi + c.shifter;
    const V k = t - c.shifter;
    const V a = x - k * c.pio2_1;
    const V p = k * c.pio2_1t;
    const V hi = a - p;
    return {hi, (a - hi) - p, simd::to_bits(t)};
}

// sin r = hi + s_tail and cos r = c_hi + c_tail for r = hi + lo, each tail small against its
// head, so that the tangent can use them as double-doubles.
template <class V>
struct Parts {
    V s_tail, c_hi, c_tail;
};

template <class V>
[[gnu::always_inline]] inline Parts<V> sin_cos_parts(V hi, V lo, const Constants<V> &c) {
    const V z = hi * hi;
    const V hz = z * c.half;
    // Both polynomials in z by pairs of terms (Estrin), for shorter dependency chains.
    const V z2 = z * z;
    const V z4 = z2 * z2;
    const V sp = ((c.s1 + z * c.s2) + z2 * (c.s3 + z * c.s4)) + z4 * (c.s5 + z * c.s6);
    const V cp = ((c.c1 + z * c.c2) + z2 * (c.c3 + z * c.c4)) + z4 * (c.c5 + z * c.c6);
    // sin(hi + lo) = sin hi + lo·cos hi, with cos hi to first order.
    const V s_tail = (z * hi) * sp + (lo - lo * hz);
    // 1 - z/2 rounded, its rounding error exactly, then the rest; cos(hi + lo) loses hi·lo.
    const V w = c.one - hz;
    const V c_tail = z2 * cp + (((c.one - w) - hz) - hi * lo);
    return {s_tail, w, c_tail};
}

// Sine and cosine have the same shape, head + (m·P(z) + tail), so where only one of them is
// needed each lane takes its function's parts and coefficients (simd::LaneChoice). The results
// are those of sin_cos_parts.
constexpr double kSinSet[6] = {kScalar.s1, kScalar.s2, kScalar.s3,
                               kScalar.s4, kScalar.s5, kScalar.s6};
constexpr double kCosSet[6] = {kScalar.c1, kScalar.c2, kScalar.c3,
                               kScalar.c4, kScalar.c5, kScalar.c6};
alignas(simd::kNativeBytes) constexpr simd::LaneChoice<6> kSinOrCos(kSinSet, kCosSet);

// sin r where odd is clear, cos r where it is set.
template <class V>
[[gnu::always_inline]] inline V sin_or_cos(V hi, V lo, Bits<V> odd, const Constants<V> &c) {
    const auto &k = kSinOrCos.choose(odd);
    const V z = hi * hi;
    const V hz = z * c.half;
    const V z2 = z * z;
    const V z4 = z2 * z2;
    const V w = c.one - hz;
    const V head = pick(odd, hi, w);
    const V m = pick(odd, z * hi, z2);
    const V tail = pick(odd, lo - lo * hz, ((c.one - w) - hz) - hi * lo);
    const V poly =
        ((k.k[0] + z * k.k[1]) + z2 * (k.k[2] + z * k.k[3])) + z4 * (k.k[4] + z * k.k[5]);
    return head + (m * poly + tail);
}

// a·b = p + e exactly (Dekker's product, with 26-bit halves).
template <class V>
struct Product {
    V p, e;
};
template <class V>
[[gnu::always_inline]] inline void split(V a, const Constants<V> &c, V &high, V &low) {
    const V u = a * c.split;
    high = u - (u - a);
    low = a - high;
}
template <class V>
[[gnu::always_inline]] inline Product<V> exact_product(V a, V b, const Constants<V> &c) {
    V ah, al, bh, bl;
    split(a, c, ah, al);
    split(b, c, bh, bl);
    const V p = a * b;
    return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
}

// sin r and cos r for the tangent, as normalised double-doubles whose error is near 2^-60
// relative: a quotient of the plain parts would add up to 0.5 ulp. r^2 is kept exactly
// (z + zl), and the leading term of the sine, r^3·s1, with its two rounding errors.
template <class V>
struct TanParts {
    V s_hi, s_lo, c_hi, c_lo;
};

template <class V>
[[gnu::always_inline]] inline TanParts<V> tan_parts(V hi, V lo, const Constants<V> &c) {
    V hh, hl;
    split(hi, c, hh, hl);
    const V z = hi * hi;
    const V zl = (((hh * hh - z) + hh * hl + hh * hl) + hl * hl) + (hi + hi) * lo;  // r^2 - z
    const V z2 = z * z;
    const V z4 = z2 * z2;
    const V sq = ((c.s2 + z * c.s3) + z2 * (c.s4 + z * c.s5)) + z4 * c.s6;
    const V cp = ((c.c1 + z * c.c2) + z2 * (c.c3 + z * c.c4)) + z4 * (c.c5 + z * c.c6);
    // r^3 = v + (v_err + hi·zl + z·lo), r^3·s1 = t + t_err exactly, and the rest of the
    // polynomial, r^3·z·sq, is small enough for plain products.
    const Product<V> v = exact_product(hi, z, c);
    const Product<V> t = exact_product(v.p, c.s1, c);
    const V s_hi = hi + t.p;
    const V rest = (v.p * z) * sq + (v.e + hi * zl + z * lo) * c.s1;
    const V s_lo = ((hi - s_hi) + t.p) + (lo + (t.e + rest));
    const V hz = z * c.half;
    const V w = c.one - hz;
    const V c_tail = ((c.one - w) - hz) + (z2 * cp - zl * c.half);
    const V c_hi = w + c_tail;
    const V c_lo = (w - c_hi) + c_tail;
    const V s_sum = s_hi + s_lo;
    return {s_sum, (s_hi - s_sum) + s_lo, c_hi, c_lo};
}

template <Func F, class V>
[[gnu::always_inline]] inline V value(const Reduced<V> &red, const Constants<V> &c) {
    const Bits<V> q = F == Func::cos ? red.q + 1 : red.q;  // cos x = sin(x + π/2)
    const Bits<V> odd = odd_mask(q);
    if constexpr (F != Func::tan) {
        return flip_sign(sin_or_cos(red.hi, red.lo, odd, c), half_turn_sign(q));
    } else {
        // tan x = sin r / cos r in even quadrants, -cos r / sin r in odd ones.
        const TanParts<V> p = tan_parts(red.hi, red.lo, c);
        const V n_hi = pick(odd, p.s_hi, p.c_hi);
        const V n_lo = pick(odd, p.s_lo, p.c_lo);
        const V d_hi = pick(odd, p.c_hi, p.s_hi);
        const V d_lo = pick(odd, p.c_lo, p.s_lo);
        const V t0 = n_hi / d_hi;
        // n - t0·d with t0·d_hi exact; n_hi - prod is exact (Sterbenz).
        const Product<V> prod = exact_product(t0, d_hi, c);
        const V rem = (((n_hi - prod.p) - prod.e) + n_lo) - t0 * d_lo;
        const V t = t0 + rem / d_hi;
        return flip_sign(t, (q << 63) & kSignBit);
    }
}

// Sine and cosine of the same reduced argument.
template <class V>
[[gnu::always_inline]] inline void sin_cos_value(const Reduced<V> &red, const Constants<V> &c,
                                                 V &sin_x, V &cos_x) {
    const Parts<V> p = sin_cos_parts(red.hi, red.lo, c);
    const V s = red.hi + p.s_tail;
    const V co = p.c_hi + p.c_tail;
    const Bits<V> odd = odd_mask(red.q);
    sin_x = flip_sign(pick(odd, s, co), half_turn_sign(red.q));
    cos_x = flip_sign(pick(odd, co, s), half_turn_sign(red.q + 1));
}

constexpr std::uint64_t kInfBits = 0x7FF0000000000000;
constexpr std::uint32_t kShortLimit = 0x41200000;             // high word of 2^19
constexpr std::uint32_t kQuickLimit = 0x40600000;             // high word of 2^7
constexpr std::uint64_t kQuarterPiBits = 0x3FE921FB54442D18;  // π/4 rounded down: k = 0 below

// The reduction the element path uses for finite x: the quick or the short one where the vector
// path would keep its result, the short one where k = 0 (exact then, and equal to the quick
// one), the bits of 2/π otherwise.
Reduced<double> reduce_element(double x) {
    const std::uint64_t b = bits_of(x) & ~kSignBit;
    if (b < kQuarterPiBits) return reduce_short(x, kScalar);
    if ((b >> 32) < kQuickLimit) {
        const Reduced<double> red = reduce_quick(x, kScalar);
        if (std::fabs(red.hi) >= kScalar.min_quick) return red;
    }
    if ((b >> 32) < kShortLimit) {
        const Reduced<double> red = reduce_short(x, kScalar);
        if (std::fabs(red.hi) >= kScalar.min_reduced) return red;
    }
    const LargeReduction large = reduce_large(x);
    return {large.hi, large.lo, large.q};
}

// ±inf: the domain NaN with a status; NaN: quietly itself. Returns true when x is one of them.
bool special(double x, double &result, int &status) {
    status = ARQ_STATUS_OK;
    const std::uint64_t b = bits_of(x) & ~kSignBit;
    if (b < kInfBits) return false;
    if (b == kInfBits) {
        status = ARQ_STATUS_ERRDOM;
        result = double_from(kDomainNaN);
    } else {
        result = x + x;
    }
    return true;
}

// The vector path's reduction: each lane as reduce_element() would reduce it, given |x| < 2^19;
// lanes whose reduced argument is too small for both reductions are refused.
[[gnu::always_inline]] inline Reduced<Vec<double>> reduce_lanes(Vec<double> x,
                                                                const Constants<Vec<double>> &c,
                                                                bool &refused) {
    using V = Vec<double>;
    const auto abs = [&c](V v) { return simd::from_bits<V>(simd::to_bits(v) & c.magnitude); };
    const Bits<V> small = simd::mask<V>(abs(x) < c.quick_limit);
    if (!simd::any(small)) {  // no lane for the quick reduction
        const Reduced<V> other = reduce_short(x, c);
        refused = !simd::all(simd::mask<V>(abs(other.hi) >= c.min_reduced));
        return other;
    }
    const Reduced<V> quick = reduce_quick(x, c);
    const Bits<V> use_quick = small & simd::mask<V>(abs(quick.hi) >= c.min_quick);
    if (simd::all(use_quick)) return quick;
    const Reduced<V> other = reduce_short(x, c);
    const Bits<V> use_short = simd::mask<V>(abs(other.hi) >= c.min_reduced);
    refused = !simd::all(use_quick | use_short);
    return {simd::select(use_quick, quick.hi, other.hi),
            simd::select(use_quick, quick.lo, other.lo),
            (quick.q & use_quick) | (other.q & ~use_quick)};
}

// |x| below 2^19 (so neither inf nor NaN), tested in integer registers to keep the vector units
// free.
bool outside_short(double x) {
    return (high_word(x) & 0x7FFFFFFF) >= kShortLimit;
}
// The same test on a vector of patterns (magnitudes below the sign bit compare as signed).
[[gnu::always_inline]] inline Bits<Vec<double>> outside_short(Vec<double> x,
                                                              const Constants<Vec<double>> &c) {
    using Int = simd::Int<Vec<double>>;
    const Bits<Vec<double>> magnitude = simd::to_bits(x) & c.magnitude;
    return simd::mask<Vec<double>>(reinterpret_cast<Int>(magnitude) >=
                                   reinterpret_cast<Int>(c.short_limit));
}

template <Func F, const char *kFunction>
struct Trig : Shape<double, double, kVector, F == Func::tan ? 4 : 2> {
    // The tangent's longer chains take four vectors a block; sine and cosine are faster with two.
    using Context = Constants<Vec<double>>;
    static constexpr const char *kName = kFunction;

    static double element(double x, const Context &, int &status) {
        double result;
        if (special(x, result, status)) return result;
        x = as_read(x);  // a subnormal read as zero (the flushing mode) is that zero
        if (F != Func::cos && x == 0.0) return x;  // keeps the sign of zero
        return value<F>(reduce_element(x), kScalar);
    }

    static bool unusual(double x, const Context &) { return outside_short(x); }
    static Bits<Vec<double>> unusual(Vec<double> x, const Context &c) {
        return outside_short(x, c);
    }

    static Reduced<Vec<double>> stage(Vec<double> x, const double *, const Context &c,
                                      bool &refused) {
        return reduce_lanes(x, c, refused);
    }
    static Vec<double> finish(const Reduced<Vec<double>> &red, const Context &c) {
        return value<F>(red, c);
    }
};

struct SinCos : Shape<double, double, kVector, 2> {
    static constexpr const char *kName = "vdSinCos";

    static double element(double x, const Context &, double &cos_x, int &status) {
        double result;
        if (special(x, result, status)) {
            cos_x = result;
            return result;
        }
        x = as_read(x);
        double sin_x;
        sin_cos_value(reduce_element(x), kScalar, sin_x, cos_x);
        return x == 0.0 ? x : sin_x;
    }

    static bool unusual(double x, const Context &) { return outside_short(x); }
    static Bits<Vec<double>> unusual(Vec<double> x, const Context &c) {
        return outside_short(x, c);
    }

    static Reduced<Vec<double>> stage(Vec<double> x, const double *, const Context &c,
                                      bool &refused) {
        return reduce_lanes(x, c, refused);
    }
    static Two<Vec<double>> finish(const Reduced<Vec<double>> &red, const Context &c) {
        Two<Vec<double>> y;
        sin_cos_value(red, c, y.first, y.second);
        return y;
    }
};

constexpr char kSin[] = "vdSin";
constexpr char kCos[] = "vdCos";
constexpr char kTan[] = "vdTan";

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dSin_A(int n, const double *a,
                                                                     double *r) {
    run_one<Trig<Func::sin, kSin>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dCos_A(int n, const double *a,
                                                                     double *r) {
    run_one<Trig<Func::cos, kCos>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dTan_A(int n, const double *a,
                                                                     double *r) {
    run_one<Trig<Func::tan, kTan>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dSinCos_A(int n, const double *a,
                                                                        double *r1, double *r2) {
    run_pair<SinCos>(n, a, r1, r2);
}

}  // namespace korb::vecmath
