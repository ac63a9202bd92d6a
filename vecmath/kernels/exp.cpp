// The double exponential: exp(x) = 2^(N/64) · e^r with N = round(x · 64/ln 2), r the remainder.
//
// 2^(j/64) for j = N mod 64 comes from a table of high and low parts, e^r - 1 from a degree-5
// polynomial, and 2^floor(N/64) is built directly as an exponent field. Blocks of four vectors
// whose magnitudes are all below 708.396 take the vector path; any other vector, and the last
// elements that fill no vector, go element by element through the path that also handles
// specials and reports errors. Both paths run the same template, so they give the same bits.
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/exp_data.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using simd::Bits;
using simd::Vec;
using namespace exp_data;

constexpr double kE2 = 0.49999999999945266;
constexpr double kE3 = 0.16666666666653376;
constexpr double kE4 = 0.04166672515731616;
constexpr double kE5 = 0.008333343728805863;
constexpr std::uint64_t kBias = 65472;  // 1023 · 64
constexpr std::uint64_t kExponentField = 0x7FF0000000000000;

// High words of |x| up to this one are on the fast path: |x| < 708.39599609375.
constexpr std::uint32_t kFastLimit = 0x4086232A;

constexpr std::uint64_t kUnderflowBits = 0xC0874910D52D3052;     // -745.1332191019412
constexpr std::uint64_t kSubnormalBits = 0xC086232BDD7ABCD3;     // -708.3964185322642
constexpr std::uint64_t kOverflowBits = 0x40862E42FEFA39F0;      // 709.7827128933841
constexpr std::uint64_t kNearOverflowBits = 0x40862E37E7D8BA72;  // 709.7772976810359
constexpr std::uint64_t kAllOnesNaN = 0xFFFFFFFFFFFFFFFF;

template <class V>
struct Constants {
    V inv_l, shifter, l_hi, l_lo, e2, e3, e4, e5;
    Bits<V> sign_and_exponent, magnitude, last_fast;
};

template <class V>
constexpr Constants<V> make_constants() {
    return {V{} + kInvL,
            V{} + kShifter,
            V{} + kLHi,
            V{} + kLLo,
            V{} + kE2,
            V{} + kE3,
            V{} + kE4,
            V{} + kE5,
            Bits<V>{} + 0xFFF0000000000000,
            Bits<V>{} + ~kSignBit,
            Bits<V>{} + ((std::uint64_t{kFastLimit} << 32) | 0xFFFFFFFF)};
}

constexpr Constants<double> kScalar = make_constants<double>();
alignas(simd::kNativeBytes) constexpr Constants<Vec<double>> kVector =
    make_constants<Vec<double>>();

// exp(x) without its power of two: y ≈ e^x / 2^floor(N/64), and t, whose low bits hold N.
template <class V>
struct Reduced {
    V y;
    Bits<V> t_bits;
};

template <class V>
[[gnu::always_inline]] inline Reduced<V> reduce(V x, const Constants<V> &c) {
    const V t = x * c.inv_l + c.shifter;
    const Bits<V> t_bits = simd::to_bits(t);
    const V k = t - c.shifter;
    const V r = (x - k * c.l_hi) - k * c.l_lo;
    const Row<V> e = row(t_bits);
    const V r2 = r * r;
    const V p = r + r2 * (c.e2 + r * (c.e3 + r * (c.e4 + r * c.e5)));
    return {(p * (e.hi + e.lo) + e.lo) + e.hi, t_bits};
}

// 2^floor(N/64) from t's pattern: N + 1023·64 shifted so that floor(N/64) + 1023 lands in the
// exponent field and j falls below it.
double scale(std::uint64_t t_bits, std::uint64_t bias) {
    return double_from(((t_bits + bias) << 46) & kExponentField);
}

struct Exp : Shape<double, double, kVector, 4> {
    static constexpr const char *kName = "vdExp";

    static double element(double x, const Context &, int &status) {
        const std::uint64_t b = bits_of(x);
        status = ARQ_STATUS_OK;
        if ((b & ~kMinusInfBits) != 0 && (b & kPlusInfBits) == kPlusInfBits) {
            return double_from(kAllOnesNaN);
        }
        if (b == kPlusInfBits) return x;
        if (b == kMinusInfBits) return 0.0;
        if (b >= kUnderflowBits) {
            status = ARQ_STATUS_UNDERFLOW;
            return 0.0;
        }
        if (b >= kSubnormalBits) {
            // 2^(floor(N/64) + 1022) keeps y · scale normal; the last product rounds once into
            // the subnormal range.
            status = ARQ_STATUS_UNDERFLOW;
            const Reduced<double> e = reduce(x, kScalar);
            const double s = double_from(bits_of(scale(e.t_bits, 2 * kBias)) - (1ull << 52));
            return (e.y * s) * 2.2250738585072014e-308;
        }
        if (b < kSignBit && b >= kOverflowBits) {
            status = ARQ_STATUS_OVERFLOW;
            return double_from(kPlusInfBits);
        }
        const Reduced<double> e = reduce(x, kScalar);
        if (b < kSignBit && b >= kNearOverflowBits) {
            // floor(N/64) is 1024 here: multiply by 2^1023, then by 2, never forming 2^1024.
            return (e.y * 8.98846567431158e307) * 2.0;
        }
        return e.y * scale(e.t_bits, kBias);
    }

    // The range test on the high words in integer registers leaves the vector units to the
    // arithmetic.
    static bool unusual(double x, const Context &) {
        return (high_word(x) & 0x7FFFFFFF) > kFastLimit;
    }
    // The same test on a vector: the magnitude's pattern above the last one on the fast path
    // (both below the sign bit, so the signed comparison orders them).
    static Bits<Vec<double>> unusual(Vec<double> x, const Context &c) {
        using Int = simd::Int<Vec<double>>;
        const Bits<Vec<double>> magnitude = simd::to_bits(x) & c.magnitude;
        return simd::mask<Vec<double>>(reinterpret_cast<Int>(magnitude) >
                                       reinterpret_cast<Int>(c.last_fast));
    }

    // The power of two is added to the exponent field instead of multiplied in: on this path
    // the result is a normal number, where both are exact and give the same bits.
    static Vec<double> lanes(Vec<double> x, const double *, const Context &c) {
        const Reduced<Vec<double>> e = reduce(x, c);
        // floor(N/64) as a signed exponent-field increment: N fits in 18 signed bits here.
        const Bits<Vec<double>> power = (e.t_bits << 46) & c.sign_and_exponent;
        return simd::from_bits<Vec<double>>(simd::to_bits(e.y) + power);
    }
};

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dExp_A(int n, const double *a,
                                                                     double *r) {
    run_one<Exp>(n, a, r);
}

}  // namespace korb::vecmath
