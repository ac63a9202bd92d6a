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
// Elements with |x| < 1 take the vector path four at a time, sorted by class (see erfinv_kernel);
// the others go element by element with the same operations plus the special cases: ±1 gives ±Inf
// with ARQ_STATUS_SING, |x| > 1 (also ±Inf) the NaN 0xFFF8000000000000 with ARQ_STATUS_ERRDOM, a
// NaN comes back quiet.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/simd.h"
#include "vecmath/kernels/frame.h"
#include "vecmath/kernels/ln_value.h"

namespace korb::vecmath {
namespace {

using simd::f64v;
using simd::u64v;
using f64x4 = double __attribute__((vector_size(4 * sizeof(double))));
using u64x4 = std::uint64_t __attribute__((vector_size(4 * sizeof(double))));

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

// The operations below are written once for a double and for a vector of two, as templates.
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
    if constexpr (sizeof(V) == sizeof(double)) {
        return double_from(bits_of(y) | (bits_of(x) & kSignBit));
    } else {
        using U = std::conditional_t<sizeof(V) == sizeof(u64v), u64v, u64x4>;
        return reinterpret_cast<V>(reinterpret_cast<U>(y) | (reinterpret_cast<U>(x) & kSignBit));
    }
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
template <class V>
V sqrt_hi(V w) {
    if constexpr (sizeof(V) == sizeof(double)) {
        return _mm_cvtsd_f64(_mm_sqrt_sd(_mm_set_sd(w), _mm_set_sd(w)));
    } else {
        V v;
        for (std::size_t h = 0; h < sizeof(V) / sizeof(f64v); ++h) {
            f64v part;
            std::memcpy(&part, reinterpret_cast<const char *>(&w) + h * sizeof(f64v), sizeof part);
            part = _mm_sqrt_pd(part);
            std::memcpy(reinterpret_cast<char *>(&v) + h * sizeof(f64v), &part, sizeof part);
        }
        return v;
    }
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

double element_a(double x, int &status) {
    return erfinv_element<true>(x, status, kA);
}
double element_b(double x, int &status) {
    return erfinv_element<false>(x, status, kB);
}

// Four lanes of tail_value(), the same operations, each lane's coefficients from its segment.
// The lanes are a GCC vector of four doubles: wider than one register, its operations are
// issued register by register side by side, which hides the latency of the long Horner chain.
template <bool kExact, class K>
f64x4 tail_lanes(const double *abs_x, const int *j, const K &k) {
    using V = f64x4;
    constexpr int kLanes = 4;
    constexpr int n = sizeof k.tail[0].c / sizeof k.tail[0].c[0];
    const auto coefficient = [&](auto field) {
        V c;
        for (int l = 0; l < kLanes; ++l) c[l] = field(k.tail[j[l]]);
        return c;
    };
    V w, ln_lo;
    for (int h = 0; h < kLanes / 2; ++h) {
        f64v lo;
        const f64v hi = ln_below_half_pair(1.0 - simd::load<f64v>(abs_x + 2 * h), lo);
        w[2 * h] = -hi[0];
        w[2 * h + 1] = -hi[1];
        ln_lo[2 * h] = lo[0];
        ln_lo[2 * h + 1] = lo[1];
    }
    const V v = sqrt_hi(w);
    const V t = v - coefficient([](const auto &seg) { return seg.centre; });
    V q = coefficient([](const auto &seg) { return seg.c[0]; });
    for (int i = 1; i < n - 1; ++i)
        q = q * t + coefficient([i](const auto &seg) { return seg.c[i]; });
    const V s = t * q;
    const V c0 = coefficient([](const auto &seg) { return seg.c[n - 1]; });
    if constexpr (!kExact) {
        return s + c0;
    } else {
        const V v_lo = sqrt_lo(v, w, -ln_lo);
        const V hi = s + c0;
        return hi + ((((c0 - hi) + s) + coefficient([](const auto &seg) { return seg.lo; })) +
                     coefficient([](const auto &seg) { return seg.c[n - 2]; }) * v_lo);
    }
}

// The kernel sorts each block of elements by |x| into central ones, tail ones and the rest, and
// takes the first two classes four at a time on the vector path (a last short group filled up
// with copies), so that no lane computes a value of the other class; the rest, |x| >= 1 and NaN,
// goes element by element. T is the element type; single elements are computed in double.
template <bool kExact, auto Element, class T, class K>
void erfinv_kernel(int n, const T *a, T *r, const K &k, const char *name) {
    if (n <= 0) return;
    KernelFrame frame;
    constexpr int kBlock = 32;
    constexpr int kGroup = 4;
    using V = f64x4;
    for (int begin = 0; begin < n; begin += kBlock) {
        const int end = begin + kBlock < n ? begin + kBlock : n;
        int central[kBlock + kGroup], tail[kBlock + kGroup], segments[kBlock + kGroup];
        int n_central = 0, n_tail = 0;
        bool special = false;
        // Without branches: with random arguments the class of the next element is unpredictable.
        for (int i = begin; i < end; ++i) {
            const std::uint64_t abs_bits = bits_of(static_cast<double>(a[i])) & kAbsMask;
            const bool is_central = abs_bits <= kHalfBits;
            const bool is_tail = !is_central && abs_bits < kOneBits;
            central[n_central] = i;
            n_central += is_central;
            tail[n_tail] = i;
            segments[n_tail] = segment(abs_bits);
            n_tail += is_tail;
            special |= !is_central && !is_tail;
        }
        if (special) {
            for (int i = begin; i < end; ++i) {
                if ((bits_of(static_cast<double>(a[i])) & kAbsMask) >= kOneBits) {
                    run_elements<Element>(i, i + 1, a, r, name);
                }
            }
        }
        // Whole groups of kGroup, the last one filled up with copies of its last element.
        for (; n_central % kGroup != 0; ++n_central) central[n_central] = central[n_central - 1];
        for (; n_tail % kGroup != 0; ++n_tail) {
            segments[n_tail] = segments[n_tail - 1];
            tail[n_tail] = tail[n_tail - 1];
        }
        for (int p = 0; p < n_central; p += kGroup) {
            V x;
            for (int l = 0; l < kGroup; ++l) x[l] = a[central[p + l]];
            const V y = central_value<kExact>(x, k);
            for (int l = 0; l < kGroup; ++l) r[central[p + l]] = static_cast<T>(y[l]);
        }
        for (int p = 0; p < n_tail; p += kGroup) {
            alignas(16) double abs_x[kGroup];
            for (int l = 0; l < kGroup; ++l)
                abs_x[l] = std::fabs(static_cast<double>(a[tail[p + l]]));
            const V y = tail_lanes<kExact>(abs_x, segments + p, k);
            for (int l = 0; l < kGroup; ++l) {
                const double x = a[tail[p + l]];
                r[tail[p + l]] =
                    static_cast<T>(double_from(bits_of(y[l]) | (bits_of(x) & kSignBit)));
            }
        }
    }
}

// The single kernels: the double computation with the single coefficient sets on widened
// arguments, rounded to float once.
template <class K>
float erfinv_element_s(float x, int &status, const K &k) {
    return static_cast<float>(erfinv_element<false>(static_cast<double>(x), status, k));
}
float element_s_la(float x, int &status) {
    return erfinv_element_s(x, status, kSingleA);
}
float element_s_ha(float x, int &status) {
    return erfinv_element_s(x, status, kB);
}
float element_s_ep(float x, int &status) {
    return erfinv_element_s(x, status, kSingleC);
}

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dErfInv_A(int n, const double *a,
                                                                        double *r) {
    erfinv_kernel<true, element_a>(n, a, r, kA, "vdErfInv");
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dErfInv_B(int n, const double *a,
                                                                        double *r) {
    erfinv_kernel<false, element_b>(n, a, r, kB, "vdErfInv");
}

}  // namespace korb::vecmath

namespace korb::vecmath {

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sErfInv_A(int n, const float *a,
                                                                        float *r) {
    erfinv_kernel<false, element_s_la>(n, a, r, kSingleA, "vsErfInv");
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sErfInv_B(int n, const float *a,
                                                                        float *r) {
    erfinv_kernel<false, element_s_ha>(n, a, r, kB, "vsErfInv");
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sErfInv_C(int n, const float *a,
                                                                        float *r) {
    erfinv_kernel<false, element_s_ep>(n, a, r, kSingleC, "vsErfInv");
}

}  // namespace korb::vecmath
