// The inverse error function, the inverse complementary error function and the inverse of the
// standard normal distribution function. Double ErfInv: kernel A (LA and HA slots) and B (EP
// slot); single ErfInv: three kernels, A (LA), B (HA) and C (EP); ErfcInv and CdfNormInv: one
// kernel in each precision.
//
// All three are one computation. For |x| <= 1/2, erfinv(x) = x·C(x²), C a polynomial of degree
// 13 (A) or 6 (B) in x². Beyond, erfinv(x) = sign(x)·T_j(v - centre_j) with y = 1 - |x| (exact
// there), v = sqrt(-ln y) (the dLn kernel's value path) and T_j of degree 14 (A) or 6 (B) on one
// of seventeen segments of v, chosen by integer compares of y with e^(-v_j²) for the segment
// bounds v_j = 1, 1.2, 1.6, 2, 2.6, 3.3, 4, 5, 6.07, 7, 8.5, 10.5, 13, 16, 20, 24; the last
// reaches the smallest subnormal y (v = 27.29). ErfcInv(y) is erfinv(1 - y) for y in
// [1/2, 3/2] (1 - y exact), T(y) below and -T(2 - y) above (2 - y exact), so that small
// arguments keep all their digits instead of passing through 1 - y. CdfNormInv(p) is
// -sqrt(2)·erfcinv(2p) evaluated the same way, with x = 2p - 1 in the centre and y = 2p or
// 2 - 2p in the tails; its double kernel has its own coefficients, those of erfinv times
// sqrt(2), so that the scaling adds no rounding; the single one multiplies the double result.
//
// The coefficients are Chebyshev fits (tools/fit_poly.py; their relative errors are in
// erfinv_coefficients.inc). Kernel A adds the constant term's rounding error back and keeps the
// last addition (and in the centre the product with x) exact, so that the result is rounded
// about once; kernel B evaluates plainly. Arguments whose result or whose y is subnormal take
// the element path, which scales them by 2^64 first: the centre's exact product and the
// logarithm need normal numbers. Measured errors: the README's accuracy table.
//
// Elements of the open domain take the vector path a group at a time, sorted by piece (the
// driver's run_sorted: the central and the tail piece); the others go element by element with
// the same operations plus the special cases. ErfInv: ±1 gives ±Inf with ARQ_STATUS_SING,
// |x| > 1 (also ±Inf) the NaN 0xFFF8000000000000 with ARQ_STATUS_ERRDOM. ErfcInv: 0 gives +Inf
// and 2 gives -Inf with ARQ_STATUS_SING, arguments below 0 or above 2 the domain NaN with
// ARQ_STATUS_ERRDOM. CdfNormInv: 0 gives -Inf and 1 gives +Inf with ARQ_STATUS_SING, arguments
// below 0 or above 1 the domain NaN with ARQ_STATUS_ERRDOM. -0 counts as 0. A NaN comes back
// quiet.
#include <cstdint>
#include <cstring>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/ln_value.h"

namespace korb::vecmath {
namespace {

using simd::Vec;
// The lanes of the vector path: two native vectors side by side, which hides the latency of the
// long Horner chains.
using Group = simd::Wide<double, 2>::type;
using GroupBits = simd::Bits<Group>;

#include "vecmath/kernels/erfinv_coefficients.inc"

constexpr int kSegments = 17;

template <int kCentralTerms, int kTailTerms>
struct Coefficients {
    double central[kCentralTerms];  // highest degree first; the last is the value at 0
    double central_lo;              // the rounding error of that last one
    struct Segment {
        double centre;
        double lo;  // the rounding error of the constant term
        double c[kTailTerms];
    } tail[kSegments];
};

alignas(16) constexpr Coefficients<14, 15> kA = {KORB_ERFINV_D_HA_CENTRAL, {KORB_ERFINV_D_HA_TAIL}};
alignas(16) constexpr Coefficients<14, 15> kNorm = {KORB_ERFINV_D_NORM_CENTRAL,
                                                    {KORB_ERFINV_D_NORM_TAIL}};
alignas(16) constexpr Coefficients<7, 7> kB = {KORB_ERFINV_D_EP_CENTRAL, {KORB_ERFINV_D_EP_TAIL}};
alignas(16) constexpr Coefficients<6, 6> kSingleA = {KORB_ERFINV_S_LA_CENTRAL,
                                                     {KORB_ERFINV_S_LA_TAIL}};
alignas(16) constexpr Coefficients<3, 3> kSingleC = {KORB_ERFINV_S_EP_CENTRAL,
                                                     {KORB_ERFINV_S_EP_TAIL}};

constexpr std::uint64_t kHalfBits = 0x3FE0000000000000;
// Below 2^-1020 erfinv's result may be subnormal: such arguments are scaled (element path).
constexpr std::uint64_t kTinyBits = 0x0030000000000000;
constexpr std::uint64_t kMinNormalBits = 0x0010000000000000;
constexpr double kScaleUp = 0x1p64;
constexpr double kScaleDown = 0x1p-64;
// ln 2 in two parts, the first with trailing zeros so that 64 times it is exact.
constexpr double kLn2Hi = 6.93147180369123816490e-01;
constexpr double kLn2Lo = 1.90821492927058770002e-10;
// The bits of y = e^(-v²) at the segment bounds v = 1, 1.2, 1.6, 2, 2.6, 3.3, 4, 5, 6.07, 7,
// 8.5, 10.5, 13, 16, 20, 24.
constexpr std::uint64_t kSegmentBits[kSegments - 1] = {
    0x3FD78B56362CEF38, 0x3FCE53A61786F314, 0x3FB3CA3E54079D19, 0x3F92C155B8213CF4,
    0x3F52FE28D8FDC6E4, 0x3EF38CA437A902C6, 0x3E7E355BBAEE85CB, 0x3DAE8A37A45FC32E,
    0x3C9CB8A2583B8C80, 0x3B83CE9B9DE78F85, 0x396B31FC898CA55E, 0x35FEC1F31193575D,
    0x30B22EE965FBFD1B, 0x28D9755956AD4E9C, 0x1BDE50C483C04DCD, 0x0C0015CBA207FDA9};

// The segment of 0 < y <= 1/2 from its bits (the bits of positive doubles order as the values),
// testing the first kBounds bounds: ErfInv's y = 1 - |x| is at least 2^-53, above the ninth.
constexpr int kAllBounds = kSegments - 1;
constexpr int kErfBounds = 8;
template <int kBounds>
int segment(std::uint64_t y_bits) {
    int j = 0;
    for (int i = 0; i < kBounds; ++i) j += y_bits <= kSegmentBits[i] ? 1 : 0;
    return j;
}

// The operations below are written once for a double and for a group of lanes, as templates.
template <class V>
V split_high(V a) {
    const V c = a * 134217729.0;  // 2^27 + 1
    return c - (c - a);
}

// x·(hi + lo) rounded about once: x·hi exactly as a sum of two (Dekker's product), then one
// addition.
template <class V>
V product(V x, V hi, V lo) {
    const V p = x * hi;
    const V x_hi = split_high(x);
    const V x_lo = x - x_hi;
    const V h_hi = split_high(hi);
    const V h_lo = hi - h_hi;
    const V err = ((x_hi * h_hi - p) + x_hi * h_lo + x_lo * h_hi) + x_lo * h_lo;
    return p + (err + x * lo);
}

// y with the sign bit of x or-ed in: y is x·C(x²), which has x's sign already except when the last
// addition of product() makes +0 of x = -0.
template <class V>
V or_sign(V y, V x) {
    return simd::from_bits<V>(simd::to_bits(y) | (simd::to_bits(x) & kSignBit));
}

// x·C(x²), rounded about once when kExact is true.
template <bool kExact, class V, class K>
V central_value(V x, const K &k) {
    constexpr int n = sizeof k.central / sizeof k.central[0];
    const V z = x * x;
    V q = V{} + k.central[0];
    for (int i = 1; i < n - 1; ++i) q = q * z + k.central[i];
    const V s = z * q;
    const double c0 = k.central[n - 1];
    if constexpr (!kExact) {
        return x * (s + c0);
    } else {
        const V hi = s + c0;
        const V lo = ((c0 - hi) + s) + k.central_lo;  // |c0| > |s|: exact
        return or_sign(product(x, hi, lo), x);
    }
}

// v = sqrt(w_hi + w_lo) as v + v_lo: the square root and its first correction, with v² exact.
double sqrt_hi(double w) {
    return simd::sqrt(w);
}
Group sqrt_hi(Group w) {
    Group v;
    for (std::size_t h = 0; h < sizeof(Group) / sizeof(Vec<double>); ++h) {
        Vec<double> part;
        std::memcpy(&part, reinterpret_cast<const char *>(&w) + h * sizeof part, sizeof part);
        part = simd::sqrt(part);
        std::memcpy(reinterpret_cast<char *>(&v) + h * sizeof part, &part, sizeof part);
    }
    return v;
}
template <class V>
V sqrt_lo(V v, V w_hi, V w_lo) {
    const V v_h = split_high(v);
    const V v_l = v - v_h;
    const V sq = v * v;
    const V sq_err = ((v_h * v_h - sq) + (v_h + v_h) * v_l) + v_l * v_l;
    return (((w_hi - sq) - sq_err) + w_lo) / (v + v);
}

// T(y) = erfcinv(y) for 0 < y <= 1/2 (times the scale of the coefficients) from segment j's
// polynomial, given w = -ln y as w + w_lo. w and v = sqrt(w) are carried with their low parts,
// which enter through the polynomial's linear coefficient: the result is sensitive to them near
// y = 1/2, where erfcinv moves faster than v.
template <bool kExact, class K>
double tail_from_w(double w, double w_lo, int j, const K &k) {
    constexpr int n = sizeof k.tail[0].c / sizeof k.tail[0].c[0];
    const auto &seg = k.tail[j];
    const double v = sqrt_hi(w);
    const double t = v - seg.centre;
    double q = seg.c[0];
    for (int i = 1; i < n - 1; ++i) q = q * t + seg.c[i];
    const double s = t * q;
    const double c0 = seg.c[n - 1];
    if constexpr (!kExact) {
        return s + c0;
    } else {
        const double v_lo = sqrt_lo(v, w, w_lo);
        const double hi = s + c0;
        return hi + ((((c0 - hi) + s) + seg.lo) + seg.c[n - 2] * v_lo);  // |c0| > |s|
    }
}

// T(y) for 0 < y <= 1/2. A subnormal y is scaled by 2^64 for the logarithm, whose low part then
// takes the 64·ln 2 back with the rounding error of the sum.
template <int kBounds, bool kExact, class K>
double tail_value(double y, const K &k) {
    const std::uint64_t y_bits = bits_of(y);
    double ln_lo;
    if (y_bits >= kMinNormalBits) {
        const double w = -ln_below_half(y, ln_lo);
        return tail_from_w<kExact>(w, -ln_lo, segment<kBounds>(y_bits), k);
    }
    const double ln_hi = ln_below_half(y * kScaleUp, ln_lo);
    const double big = 64.0 * kLn2Hi;  // exact
    const double sum = big - ln_hi;    // both positive: the error below is exact
    const double err = (big - sum) - ln_hi;
    const double low = err + (64.0 * kLn2Lo - ln_lo);
    const double w = sum + low;
    const double w_lo = (sum - w) + low;
    return tail_from_w<kExact>(w, w_lo, segment<kBounds>(y_bits), k);
}

// x·C(x²) for |x| <= 1/2, with arguments below 2^-1020 (whose result may be subnormal) scaled by
// 2^64 and back, one rounding into the subnormal range.
template <bool kExact, class K>
double central_element(double x, const K &k) {
    if ((bits_of(x) & kAbsMask) >= kTinyBits) return central_value<kExact>(x, k);
    return central_value<kExact>(x * kScaleUp, k) * kScaleDown;
}

// y with the sign bit set when negative is true.
inline double with_sign(double y, bool negative) {
    return double_from(bits_of(y) | (negative ? kSignBit : 0));
}

enum class Inverse { erf, erfc, norm };

template <Inverse F, bool kExact, class K>
double inverse_element(double x, int &status, const K &k) {
    const std::uint64_t b = bits_of(x);
    const std::uint64_t abs_bits = b & kAbsMask;
    status = ARQ_STATUS_OK;
    if (abs_bits > kPlusInfBits) return x + x;  // NaN, made quiet
    if constexpr (F == Inverse::erf) {
        if (abs_bits <= kHalfBits) return central_element<kExact>(x, k);
        if (abs_bits < kOneBits)
            return with_sign(tail_value<kErfBounds, kExact>(1.0 - double_from(abs_bits), k),
                             b >> 63);
        if (abs_bits == kOneBits) {
            status = ARQ_STATUS_SING;
            return double_from(kPlusInfBits | (b & kSignBit));
        }
    } else if constexpr (F == Inverse::erfc) {
        if (reads_as_zero(x)) {
            status = ARQ_STATUS_SING;
            return double_from(kPlusInfBits);
        }
        if (x == 2.0) {
            status = ARQ_STATUS_SING;
            return double_from(kPlusInfBits | kSignBit);
        }
        if (x >= 0.5 && x <= 1.5) return central_value<kExact>(1.0 - x, k);
        if (x > 0.0 && x < 0.5) return tail_value<kAllBounds, kExact>(x, k);
        if (x > 1.5 && x < 2.0) return with_sign(tail_value<kAllBounds, kExact>(2.0 - x, k), true);
    } else {
        if (reads_as_zero(x)) {
            status = ARQ_STATUS_SING;
            return double_from(kPlusInfBits | kSignBit);
        }
        if (x == 1.0) {
            status = ARQ_STATUS_SING;
            return double_from(kPlusInfBits);
        }
        if (x >= 0.25 && x <= 0.75) return central_value<kExact>(x + x - 1.0, k);
        if (x > 0.0 && x < 0.25) return with_sign(tail_value<kAllBounds, kExact>(x + x, k), true);
        if (x > 0.75 && x < 1.0) return tail_value<kAllBounds, kExact>(2.0 - (x + x), k);
    }
    status = ARQ_STATUS_ERRDOM;
    return double_from(kDomainNaN);
}

// The lanes of tail_value() for normal y in (0, 1/2], the same operations, each lane's
// coefficients from its segment; lanes whose negative bit is set come out negative.
template <int kBounds, bool kExact, class K>
Group tail_lanes(Group y, GroupBits negative, const K &k) {
    using V = Group;
    constexpr int kLanes = simd::kCount<V>;
    constexpr int n = sizeof k.tail[0].c / sizeof k.tail[0].c[0];
    int j[kLanes];
    for (int l = 0; l < kLanes; ++l) j[l] = segment<kBounds>(bits_of(y[l]));
    const auto coefficient = [&](auto field) {
        V c;
        for (int l = 0; l < kLanes; ++l) c[l] = field(k.tail[j[l]]);
        return c;
    };
    V w, ln_lo;
    for (std::size_t h = 0; h < sizeof(V) / sizeof(Vec<double>); ++h) {
        const std::size_t at = h * sizeof(Vec<double>);
        Vec<double> part, lo;
        std::memcpy(&part, reinterpret_cast<const char *>(&y) + at, sizeof part);
        const Vec<double> hi = -ln_below_half(part, lo);
        std::memcpy(reinterpret_cast<char *>(&w) + at, &hi, sizeof hi);
        std::memcpy(reinterpret_cast<char *>(&ln_lo) + at, &lo, sizeof lo);
    }
    const V v = sqrt_hi(w);
    const V t = v - coefficient([](const auto &seg) { return seg.centre; });
    V q = coefficient([](const auto &seg) { return seg.c[0]; });
    for (int i = 1; i < n - 1; ++i)
        q = q * t + coefficient([i](const auto &seg) { return seg.c[i]; });
    const V s = t * q;
    const V c0 = coefficient([](const auto &seg) { return seg.c[n - 1]; });
    V r;
    if constexpr (!kExact) {
        r = s + c0;
    } else {
        const V v_lo = sqrt_lo(v, w, -ln_lo);
        const V hi = s + c0;
        r = hi + ((((c0 - hi) + s) + coefficient([](const auto &seg) { return seg.lo; })) +
                  coefficient([](const auto &seg) { return seg.c[n - 2]; }) * v_lo);
    }
    return simd::from_bits<V>(simd::to_bits(r) | (negative & kSignBit));
}

constexpr const char *name_of(Inverse f, bool single) {
    switch (f) {
        case Inverse::erf:
            return single ? "vsErfInv" : "vdErfInv";
        case Inverse::erfc:
            return single ? "vsErfcInv" : "vdErfcInv";
        default:
            return single ? "vsCdfNormInv" : "vdCdfNormInv";
    }
}

// One kernel: the function, element type T, the coefficient set, whether the exact evaluation is
// used. Single elements are computed in double on widened arguments and rounded to float once;
// single CdfNormInv multiplies the unscaled double result by sqrt(2) first.
template <Inverse F, class T, bool kExact, const auto &kCoefficients>
struct InverseKernel {
    using Element = T;
    using Compute = double;
    using Group = vecmath::Group;
    using Context = NoContext;
    static constexpr const char *kName = name_of(F, sizeof(T) == sizeof(float));
    static constexpr int kPieces = 2;
    // Single CdfNormInv evaluates with the unscaled coefficients and scales the result.
    static constexpr bool kScaled = F == Inverse::norm && sizeof(T) == sizeof(float);
    static constexpr double kScale = 1.4142135623730951;

    static const Context &context() { return kNoContext; }

    static T element(T x, const Context &, int &status) {
        const double d = static_cast<double>(x);
        const double r = inverse_element<F, kExact>(d, status, kCoefficients);
        if constexpr (kScaled) {
            // The special results (infinities, NaNs) keep their bits.
            if (status == ARQ_STATUS_OK && r == r) return static_cast<T>(r * kScale);
        }
        return static_cast<T>(r);
    }

    // 0 for the centre, 1 for the tails, 2 (the element path) for the rest and NaN. The limits
    // are normal numbers: under denormals-are-zero a subnormal limit would read as 0 and let
    // subnormal arguments into the lanes.
    static int piece(double x) {
        if constexpr (F == Inverse::erf) {
            const std::uint64_t abs_bits = bits_of(x) & kAbsMask;
            if (abs_bits < kTinyBits) return 2;
            return static_cast<int>(abs_bits > kHalfBits) + static_cast<int>(abs_bits >= kOneBits);
        } else if constexpr (F == Inverse::erfc) {
            if (x >= 0.5 && x <= 1.5) return 0;
            return (x >= 0x1p-1022 && x < 0.5) || (x > 1.5 && x < 2.0) ? 1 : 2;
        } else {
            if (x >= 0.25 && x <= 0.75) return 0;
            return (x >= 0x1p-1022 && x < 0.25) || (x > 0.75 && x < 1.0) ? 1 : 2;
        }
    }

    template <int kPiece>
    static Group lanes(Group x, const Context &) {
        constexpr int kLanes = simd::kCount<Group>;
        if constexpr (kPiece == 0) {
            if constexpr (F == Inverse::erf) {
                return central_value<kExact>(x, kCoefficients);
            } else if constexpr (F == Inverse::erfc) {
                return central_value<kExact>(1.0 - x, kCoefficients);
            } else if constexpr (kScaled) {
                return central_value<kExact>(x + x - 1.0, kCoefficients) * kScale;
            } else {
                return central_value<kExact>(x + x - 1.0, kCoefficients);
            }
        } else {
            Group y;
            GroupBits negative;
            for (int l = 0; l < kLanes; ++l) {
                const double a = x[l];
                if constexpr (F == Inverse::erf) {
                    y[l] = 1.0 - (a < 0 ? -a : a);
                    negative[l] = a < 0 ? kSignBit : 0;
                } else if constexpr (F == Inverse::erfc) {
                    y[l] = a < 1.0 ? a : 2.0 - a;
                    negative[l] = a < 1.0 ? 0 : kSignBit;
                } else {
                    y[l] = a < 0.5 ? a + a : 2.0 - (a + a);
                    negative[l] = a < 0.5 ? kSignBit : 0;
                }
            }
            constexpr int kBounds = F == Inverse::erf ? kErfBounds : kAllBounds;
            const Group r = tail_lanes<kBounds, kExact>(y, negative, kCoefficients);
            if constexpr (kScaled) return r * kScale;
            return r;
        }
    }
};

template <class T, bool kExact, const auto &kCoefficients>
using ErfInv = InverseKernel<Inverse::erf, T, kExact, kCoefficients>;

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dErfInv_A(int n, const double *a,
                                                                        double *r) {
    run_sorted<ErfInv<double, true, kA>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dErfInv_B(int n, const double *a,
                                                                        double *r) {
    run_sorted<ErfInv<double, false, kB>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sErfInv_A(int n, const float *a,
                                                                        float *r) {
    run_sorted<ErfInv<float, false, kSingleA>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sErfInv_B(int n, const float *a,
                                                                        float *r) {
    run_sorted<ErfInv<float, false, kB>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sErfInv_C(int n, const float *a,
                                                                        float *r) {
    run_sorted<ErfInv<float, false, kSingleC>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dErfcInv_A(int n, const double *a,
                                                                         double *r) {
    run_sorted<InverseKernel<Inverse::erfc, double, true, kA>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sErfcInv_A(int n, const float *a,
                                                                         float *r) {
    run_sorted<InverseKernel<Inverse::erfc, float, false, kB>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dCdfNormInv_A(int n, const double *a,
                                                                            double *r) {
    run_sorted<InverseKernel<Inverse::norm, double, true, kNorm>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sCdfNormInv_A(int n, const float *a,
                                                                            float *r) {
    run_sorted<InverseKernel<Inverse::norm, float, false, kB>>(n, a, r);
}

}  // namespace korb::vecmath
