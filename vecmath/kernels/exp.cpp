// The double exponential: exp(x) = 2^(N/64) · e^r with N = round(x · 64/ln 2), r the remainder.
//
// 2^(j/64) for j = N mod 64 comes from a table of high and low parts, e^r - 1 from a degree-5
// polynomial, and 2^floor(N/64) is built directly as an exponent field. Blocks of 8 elements whose
// magnitudes are all below 708.396 take the vector path; any other block, and the last n mod 8
// elements, go element by element through the path that also handles specials and reports
// errors. Both paths do the same operations in the same order, so they give the same bits.
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/dispatch.h"
#include "vecmath/kernels/exp_ln_tables.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using simd::f64v;
using simd::u64v;

constexpr double kInvL = 92.33248261689366;      // 64 / ln 2
constexpr double kShifter = 6755399441055744.0;  // 1.5 · 2^52
constexpr double kLHi = 0.010830424695086549;    // ln 2 / 64, high part (exact k · L_HI)
constexpr double kLLo = 1.162596423439437e-12;   // ln 2 / 64, low part
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

constexpr const char *kName = "vdExp";

// exp(x) without its power of two: y ≈ e^x / 2^floor(N/64), and t, whose low bits hold N.
struct Reduced {
    double y;
    std::uint64_t t_bits;
};

Reduced reduce(double x) {
    const double t = x * kInvL + kShifter;
    const std::uint64_t t_bits = bits_of(t);
    const double k = t - kShifter;
    const double r = (x - k * kLHi) - k * kLLo;
    const ExpEntry &e = kExpTable[t_bits & 63];
    const double r2 = r * r;
    const double p = r + r2 * (kE2 + r * (kE3 + r * (kE4 + r * kE5)));
    return {(p * (e.hi + e.lo) + e.lo) + e.hi, t_bits};
}

// 2^floor(N/64) from t's pattern: N + 1023·64 shifted so that floor(N/64) + 1023 lands in the
// exponent field and j falls below it.
double scale(std::uint64_t t_bits, std::uint64_t bias) {
    return double_from(((t_bits + bias) << 46) & kExponentField);
}

// One element with every special case; the status is 0 when there is nothing to report.
double exp_element(double x, int &status) {
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
        // 2^(floor(N/64) + 1022) keeps y · scale normal; the last product rounds once into the
        // subnormal range.
        status = ARQ_STATUS_UNDERFLOW;
        const Reduced e = reduce(x);
        const double s = double_from(bits_of(scale(e.t_bits, 2 * kBias)) - (1ull << 52));
        return (e.y * s) * 2.2250738585072014e-308;
    }
    if (b < kSignBit && b >= kOverflowBits) {
        status = ARQ_STATUS_OVERFLOW;
        return double_from(kPlusInfBits);
    }
    const Reduced e = reduce(x);
    if (b < kSignBit && b >= kNearOverflowBits) {
        // floor(N/64) is 1024 here: multiply by 2^1023, then by 2, never forming 2^1024.
        return (e.y * 8.98846567431158e307) * 2.0;
    }
    return e.y * scale(e.t_bits, kBias);
}

void exp_elements(int begin, int end, const double *a, double *r) {
    run_elements<exp_element>(begin, end, a, r, kName);
}

// The vector path's constants, one vector each, read through simd::opaque so that they stay
// memory operands.
struct ExpVectors {
    f64v inv_l, shifter, l_hi, l_lo, e2, e3, e4, e5;
    u64v sign_and_exponent;
};
alignas(16) constexpr ExpVectors kExpVectors = {
    f64v{} + kInvL, f64v{} + kShifter, f64v{} + kLHi,
    f64v{} + kLLo,  f64v{} + kE2,      f64v{} + kE3,
    f64v{} + kE4,   f64v{} + kE5,      u64v{} + 0xFFF0000000000000};

// Two lanes of the value path: the same operations as reduce() and scale(), except that the
// power of two is added to the exponent field instead of multiplied in. On this path the result
// is a normal number, where both are exact and give the same bits.
f64v exp_lanes(f64v x, const ExpVectors &c) {
    const f64v t = x * c.inv_l + c.shifter;
    const u64v t_bits = reinterpret_cast<u64v>(t);
    const f64v k = t - c.shifter;
    const f64v r = (x - k * c.l_hi) - k * c.l_lo;
    // The indices go through memory: a store and two loads keep the vector units free, where
    // moving the lanes to integer registers would take three of their instructions.
    alignas(16) std::uint64_t stored[2];
    simd::store(stored, t_bits);
    const std::uint64_t *j = simd::opaque(stored);
    const f64v e0 = simd::load_aligned<f64v>(&kExpTable[j[0] & 63].hi);
    const f64v e1 = simd::load_aligned<f64v>(&kExpTable[j[1] & 63].hi);
    const f64v hi = __builtin_shufflevector(e0, e1, 0, 2);
    const f64v lo = __builtin_shufflevector(e0, e1, 1, 3);
    const f64v r2 = r * r;
    const f64v p = r + r2 * (c.e2 + r * (c.e3 + r * (c.e4 + r * c.e5)));
    const f64v y = (p * (hi + lo) + lo) + hi;
    // floor(N/64) as a signed exponent-field increment: N fits in 18 signed bits here.
    const u64v power = (t_bits << 46) & c.sign_and_exponent;
    return reinterpret_cast<f64v>(reinterpret_cast<u64v>(y) + power);
}

constexpr int kBlock = 8;
constexpr int kVectors = kBlock / simd::kLanes<double>;

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dExp_A(int n, const double *a,
                                                                     double *r) {
    if (n <= 0) return;
    KernelFrame frame;
    const ExpVectors &c = *simd::opaque(&kExpVectors);
    const int blocks_end = n - n % kBlock;
    for (int i = 0; i < blocks_end; i += kBlock) {
        // The range test on the high words in integer registers leaves the vector units to
        // the arithmetic.
        bool outside = false;
        for (int e = 0; e < kBlock; ++e) outside |= (high_word(a[i + e]) & 0x7FFFFFFF) > kFastLimit;
        if (outside) {
            exp_elements(i, i + kBlock, a, r);
            continue;
        }
        f64v x[kVectors];
        for (int v = 0; v < kVectors; ++v)
            x[v] = simd::load<f64v>(a + i + v * simd::kLanes<double>);
        for (int v = 0; v < kVectors; ++v) {
            simd::store(r + i + v * simd::kLanes<double>, exp_lanes(x[v], c));
        }
    }
    exp_elements(blocks_end, n, a, r);
}

}  // namespace korb::vecmath
