// The inverse error function. Double: kernel A (LA and HA slots) and B (EP slot); single: three
// kernels, A (LA), B (HA) and C (EP).
//
// For |x| <= 1/2, erfinv(x) = x·C(x²), C a polynomial of degree 13 (A) or 6 (B) in x². Beyond,
// erfinv(x) = sign(x)·T_j(v - centre_j) with v = sqrt(-ln(1 - |x|)) (1 - |x| is exact there, and
// its logarithm is the dLn kernel's value path), T_j of degree 14 (A) or 6 (B) on one of nine
// segments of v, chosen by integer compares of |x| with 1 - e^(-v_j²) for the segment bounds
// v_j = 1, 1.2, 1.6, 2, 2.6, 3.3, 4, 5. The coefficients are Chebyshev fits (tools/fit_poly.py;
// their relative errors are in erfinv_coefficients.inc). Kernel A adds the constant term's rounding
// error back and keeps the last addition (and in the centre the product with x) exact, so that the
// result is rounded about once; kernel B evaluates plainly. Measured errors: the README's accuracy
// table.
//
// Elements with |x| < 1 take the vector path a group at a time, sorted by piece (the driver's
// run_sorted: the central and the tail piece); the others go element by element with the same
// operations plus the special cases: ±1 gives ±Inf with ARQ_STATUS_SING, |x| > 1 (also ±Inf) the
// NaN 0xFFF8000000000000 with ARQ_STATUS_ERRDOM, a NaN comes back quiet.
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

#include "vecmath/kernels/erfinv_coefficients.inc"

constexpr int kSegments = 9;

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
alignas(16) constexpr Coefficients<7, 7> kB = {KORB_ERFINV_D_EP_CENTRAL, {KORB_ERFINV_D_EP_TAIL}};
alignas(16) constexpr Coefficients<5, 6> kSingleA = {KORB_ERFINV_S_LA_CENTRAL,
                                                     {KORB_ERFINV_S_LA_TAIL}};
alignas(16) constexpr Coefficients<3, 3> kSingleC = {KORB_ERFINV_S_EP_CENTRAL,
                                                     {KORB_ERFINV_S_EP_TAIL}};

constexpr std::uint64_t kHalfBits = 0x3FE0000000000000;
// |x| = 1 - e^(-v²) at the segment bounds v = 1, 1.2, 1.6, 2, 2.6, 3.3, 4, 5.
constexpr std::uint64_t kSegmentBits[kSegments - 1] = {
    0x3FE43A54E4E98864, 0x3FE86B167A1E433B, 0x3FED86B8357F0C5D, 0x3FEF69F5523EF618,
    0x3FEFF680EB93811D, 0x3FEFFFD8E6B790AE, 0x3FEFFFFFC395488A, 0x3FEFFFFFFFFE175D};

int segment(std::uint64_t abs_bits) {
    int j = 0;
    for (std::uint64_t bound : kSegmentBits) j += abs_bits >= bound ? 1 : 0;
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

// |erfinv(x)| for 1/2 < |x| < 1 from segment j's polynomial. w = -ln(1 - |x|) and v = sqrt(w)
// are carried with their low parts, which enter through the polynomial's linear coefficient:
// the result is sensitive to them near |x| = 1/2, where erfinv grows faster than v.
template <bool kExact, class K>
double tail_value(double abs_x, int j, const K &k) {
    constexpr int n = sizeof k.tail[0].c / sizeof k.tail[0].c[0];
    const auto &seg = k.tail[j];
    double ln_lo;
    const double w = -ln_below_half(1.0 - abs_x, ln_lo);
    const double v = sqrt_hi(w);
    const double t = v - seg.centre;
    double q = seg.c[0];
    for (int i = 1; i < n - 1; ++i) q = q * t + seg.c[i];
    const double s = t * q;
    const double c0 = seg.c[n - 1];
    if constexpr (!kExact) {
        return s + c0;
    } else {
        const double v_lo = sqrt_lo(v, w, -ln_lo);
        const double hi = s + c0;
        return hi + ((((c0 - hi) + s) + seg.lo) + seg.c[n - 2] * v_lo);  // |c0| > |s|
    }
}

template <bool kExact, class K>
double erfinv_element(double x, int &status, const K &k) {
    const std::uint64_t b = bits_of(x);
    const std::uint64_t abs_bits = b & kAbsMask;
    status = ARQ_STATUS_OK;
    if (abs_bits <= kHalfBits) return central_value<kExact>(x, k);
    if (abs_bits < kOneBits) {
        const double y = tail_value<kExact>(double_from(abs_bits), segment(abs_bits), k);
        return double_from(bits_of(y) | (b & kSignBit));
    }
    if (abs_bits > kPlusInfBits) return x + x;  // NaN, made quiet
    if (abs_bits == kOneBits) {
        status = ARQ_STATUS_SING;
        return double_from(kPlusInfBits | (b & kSignBit));
    }
    status = ARQ_STATUS_ERRDOM;
    return double_from(kDomainNaN);
}

// The lanes of tail_value() for 1/2 < |x| < 1, the same operations, each lane's coefficients
// from its segment; the result carries x's sign.
template <bool kExact, class K>
Group tail_lanes(Group x, const K &k) {
    using V = Group;
    constexpr int kLanes = simd::kCount<V>;
    constexpr int n = sizeof k.tail[0].c / sizeof k.tail[0].c[0];
    const V abs_x = simd::abs(x);
    int j[kLanes];
    for (int l = 0; l < kLanes; ++l) j[l] = segment(bits_of(abs_x[l]));
    const auto coefficient = [&](auto field) {
        V c;
        for (int l = 0; l < kLanes; ++l) c[l] = field(k.tail[j[l]]);
        return c;
    };
    V w, ln_lo;
    for (std::size_t h = 0; h < sizeof(V) / sizeof(Vec<double>); ++h) {
        const std::size_t at = h * sizeof(Vec<double>);
        Vec<double> part, lo;
        std::memcpy(&part, reinterpret_cast<const char *>(&abs_x) + at, sizeof part);
        const Vec<double> hi = -ln_below_half(1.0 - part, lo);
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
    V y;
    if constexpr (!kExact) {
        y = s + c0;
    } else {
        const V v_lo = sqrt_lo(v, w, -ln_lo);
        const V hi = s + c0;
        y = hi + ((((c0 - hi) + s) + coefficient([](const auto &seg) { return seg.lo; })) +
                  coefficient([](const auto &seg) { return seg.c[n - 2]; }) * v_lo);
    }
    return simd::from_bits<V>(simd::to_bits(y) | (simd::to_bits(x) & kSignBit));
}

// One kernel: element type T, the coefficient set, whether the exact evaluation is used, and the
// element function. Single elements are computed in double on widened arguments and rounded to
// float once.
template <class T, bool kExact, const auto &kCoefficients>
struct ErfInv {
    using Element = T;
    using Compute = double;
    using Group = vecmath::Group;
    using Context = NoContext;
    static constexpr const char *kName = sizeof(T) == sizeof(double) ? "vdErfInv" : "vsErfInv";
    static constexpr int kPieces = 2;

    static const Context &context() { return kNoContext; }

    static T element(T x, const Context &, int &status) {
        return static_cast<T>(
            erfinv_element<kExact>(static_cast<double>(x), status, kCoefficients));
    }

    // 0 for |x| <= 1/2, 1 for 1/2 < |x| < 1, 2 (the element path) for the rest and NaN.
    static int piece(double x) {
        const std::uint64_t abs_bits = bits_of(x) & kAbsMask;
        return static_cast<int>(abs_bits > kHalfBits) + static_cast<int>(abs_bits >= kOneBits);
    }

    template <int kPiece>
    static Group lanes(Group x, const Context &) {
        if constexpr (kPiece == 0) {
            return central_value<kExact>(x, kCoefficients);
        } else {
            return tail_lanes<kExact>(x, kCoefficients);
        }
    }
};

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

}  // namespace korb::vecmath
