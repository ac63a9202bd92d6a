// The single-precision sine, cosine, sine-and-cosine and tangent, computed in double precision.
//
// x is widened exactly, x = k·π/2 + r with π/2 in three parts (33, 33 and 53 bits; the first
// product and difference are exact for |x| < 2^20), and sin r, cos r come from short odd and
// even polynomials (relative errors 2^-37 and 2^-34 on [-π/4, π/4]); the tangent is their
// quotient. The double result is about 2^-33 from the exact value, so the float it rounds to
// is within 0.5 ulp except when the exact value lies that close to a rounding boundary: the
// walk over every float against MPFR finds at most 0.5012 ulp. Larger |x| are reduced with the
// bits of 2/π (trig_reduce.cpp) in the element path.
//
// Vectors of elements with |x| < 2^20 take the vector path (each vector of floats as two of
// doubles); every other vector, and the last elements that fill no vector, go element by element
// through the path that also handles specials and reports errors. Both paths run the same
// templates.
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
    V two_over_pi, shifter, pio2_1, pio2_2, pio2_3;
    V s1, s2, s3, s4;
    V c0, c1, c2, c3;
    V one;
};

template <class V>
constexpr Constants<V> make_constants() {
    return {
        V{} + 0x1.45f306dc9c883p-1,   // 2/π
        V{} + 0x1.8p52,               // rounds to an integer when added and subtracted
        V{} + 0x1.921fb544p0,         // π/2 in three parts
        V{} + 0x1.0b4611a6p-34,       //
        V{} + 0x1.3198a2e037073p-69,  //
        // sin r = r·(1 + r^2·(s1 + s2·r^2 + s3·r^4 + s4·r^6)), relative error 2^-37
        V{} + -0x15555554cbac77.0p-55,
        V{} + 0x111110896efbb2.0p-59,
        V{} + -0x1a00f9e2cae774.0p-65,
        V{} + 0x16cd878c3b46a7.0p-71,
        // cos r = 1 + r^2·(c0 + c1·r^2 + c2·r^4 + c3·r^6), error 2^-34
        V{} + -0x1ffffffd0c5e81.0p-54,
        V{} + 0x155553e1053a42.0p-57,
        V{} + -0x16c087e80f1e27.0p-62,
        V{} + 0x199342e0ee5069.0p-68,
        V{} + 1.0,
    };
}

constexpr Constants<double> kScalar = make_constants<double>();
alignas(simd::kNativeBytes) constexpr Constants<Vec<double>> kVector =
    make_constants<Vec<double>>();

template <class V>
struct Reduced {
    V r;
    Bits<V> q;  // k in the low bits
};

template <class V>
[[gnu::always_inline]] inline Reduced<V> reduce_short(V x, const Constants<V> &c) {
    const V t = x * c.two_over_pi + c.shifter;
    const V k = t - c.shifter;
    return {((x - k * c.pio2_1) - k * c.pio2_2) - k * c.pio2_3, simd::to_bits(t)};
}

// The multiplicative forms keep the sign of a zero r.
template <class V>
[[gnu::always_inline]] inline V sin_poly(V r, V z, const Constants<V> &c) {
    return r * (c.one + z * (c.s1 + z * (c.s2 + z * (c.s3 + z * c.s4))));
}
template <class V>
[[gnu::always_inline]] inline V cos_poly(V z, const Constants<V> &c) {
    return c.one + z * (c.c0 + z * (c.c1 + z * (c.c2 + z * c.c3)));
}

// The sine's and the cosine's polynomials have the same shape, base·(1 + z·P(z)) with base r
// or 1, so a lane needing one of them takes the coefficients of its own (simd::LaneChoice). The
// products with base 1 are exact, so this gives the bits of sin_poly and cos_poly.
constexpr double kSinSet[4] = {kScalar.s1, kScalar.s2, kScalar.s3, kScalar.s4};
constexpr double kCosSet[4] = {kScalar.c0, kScalar.c1, kScalar.c2, kScalar.c3};
alignas(simd::kNativeBytes) constexpr simd::LaneChoice<4> kSinOrCos(kSinSet, kCosSet);

template <Func F, class V>
[[gnu::always_inline]] inline V value(const Reduced<V> &red, const Constants<V> &c) {
    const V z = red.r * red.r;
    const Bits<V> q = F == Func::cos ? red.q + 1 : red.q;  // cos x = sin(x + π/2)
    const Bits<V> odd = odd_mask(q);
    if constexpr (F != Func::tan) {
        const auto &k = kSinOrCos.choose(odd);
        const V base = pick(odd, red.r, c.one);
        const V y = base * (c.one + z * (k.k[0] + z * (k.k[1] + z * (k.k[2] + z * k.k[3]))));
        return flip_sign(y, half_turn_sign(q));
    } else {
        // tan x = sin r / cos r in even quadrants, -cos r / sin r in odd ones.
        const V s = sin_poly(red.r, z, c);
        const V co = cos_poly(z, c);
        return flip_sign(pick(odd, s, co) / pick(odd, co, s), (q << 63) & kSignBit);
    }
}

template <class V>
[[gnu::always_inline]] inline void sin_cos_value(const Reduced<V> &red, const Constants<V> &c,
                                                 V &sin_x, V &cos_x) {
    const V z = red.r * red.r;
    const V s = sin_poly(red.r, z, c);
    const V co = cos_poly(z, c);
    const Bits<V> odd = odd_mask(red.q);
    sin_x = flip_sign(pick(odd, s, co), half_turn_sign(red.q));
    cos_x = flip_sign(pick(odd, co, s), half_turn_sign(red.q + 1));
}

constexpr std::uint32_t kInfBits = 0x7F800000;
constexpr std::uint32_t kDomainNaN = 0xFFC00000;
constexpr std::uint32_t kShortLimit = 0x49800000;  // 2^20

std::uint32_t float_bits(float x) {
    return std::bit_cast<std::uint32_t>(x);
}

Reduced<double> reduce_element(float x) {
    if ((float_bits(x) & 0x7FFFFFFF) < kShortLimit) {
        return reduce_short(static_cast<double>(x), kScalar);
    }
    const LargeReduction large = reduce_large(x);
    return {large.hi, large.q};  // hi + lo rounds to hi; the rest is far below a float's ulp
}

bool special(float x, float &result, int &status) {
    status = ARQ_STATUS_OK;
    const std::uint32_t b = float_bits(x) & 0x7FFFFFFF;
    if (b < kInfBits) return false;
    if (b == kInfBits) {
        status = ARQ_STATUS_ERRDOM;
        result = std::bit_cast<float>(kDomainNaN);
    } else {
        result = x + x;
    }
    return true;
}

// |x| not below 2^20 (also inf and NaN), tested in integer registers.
bool outside_short(float x) {
    return (float_bits(x) & 0x7FFFFFFF) >= kShortLimit;
}

template <Func F, const char *kFunction>
struct Trig : Shape<float, double, kVector, 1> {
    static constexpr const char *kName = kFunction;

    static float element(float x, const Context &, int &status) {
        float result;
        if (special(x, result, status)) return result;
        return static_cast<float>(value<F>(reduce_element(x), kScalar));
    }

    static bool unusual(float x, const Context &) { return outside_short(x); }

    static Vec<double> lanes(Vec<double> x, const float *, const Context &c) {
        return value<F>(reduce_short(x, c), c);
    }
};

struct SinCos : Shape<float, double, kVector, 1> {
    static constexpr const char *kName = "vsSinCos";

    static float element(float x, const Context &, float &cos_x, int &status) {
        float result;
        if (special(x, result, status)) {
            cos_x = result;
            return result;
        }
        double s, co;
        sin_cos_value(reduce_element(x), kScalar, s, co);
        cos_x = static_cast<float>(co);
        return static_cast<float>(s);
    }

    static bool unusual(float x, const Context &) { return outside_short(x); }

    static Two<Vec<double>> lanes(Vec<double> x, const float *, const Context &c) {
        Two<Vec<double>> y;
        sin_cos_value(reduce_short(x, c), c, y.first, y.second);
        return y;
    }
};

constexpr char kSin[] = "vsSin";
constexpr char kCos[] = "vsCos";
constexpr char kTan[] = "vsTan";

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sSin_A(int n, const float *a,
                                                                     float *r) {
    run_one<Trig<Func::sin, kSin>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sCos_A(int n, const float *a,
                                                                     float *r) {
    run_one<Trig<Func::cos, kCos>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sTan_A(int n, const float *a,
                                                                     float *r) {
    run_one<Trig<Func::tan, kTan>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sSinCos_A(int n, const float *a,
                                                                        float *r1, float *r2) {
    run_pair<SinCos>(n, a, r1, r2);
}

}  // namespace korb::vecmath
