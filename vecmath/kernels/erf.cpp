// The error function, the complementary error function and the standard normal distribution
// function Phi(x) = erfc(-x/sqrt(2))/2. Erf and Erfc: one kernel in each precision; CdfNorm:
// three kernels in each precision, A (LA), B (HA) and C (EP).
//
// All three are one computation in two pieces, on a = |x|:
//
//  - the centre, a < 1/2: erf(x) = x·C(x²) and Phi(x) = 1/2 + x·N(x²), with C and N of degree 9
//    in x²; erfc(x) = 1 - erf(x);
//  - the tail, a >= 1/2: erfc(a) = e^(-a²)·E_j(a - centre_j) and Phi(-a) = e^(-a²/2)·G_j(a -
//    centre_j), where E = erfc·e^(x²) and G = Phi(-x)·e^(x²/2) are smooth and slowly varying, each
//    approximated on the segments [2^b(1 + i/8), 2^b(1 + (i + 1)/8)] (eight per binade, the
//    segment read from a's top bits) by a polynomial of degree 11. The other side is 1 - Q (erf,
//    Phi(a)) or 2 - Q (erfc(-a)).
//
// The high-accuracy kernels carry every value as a sum of two doubles until the last addition:
// a² exactly (Dekker's square, halved for Phi), e^(-a²) as the exponential table's row plus the
// polynomial's remainder (dExp's reduction on the pair), the segment's polynomial with its
// constant term's rounding error added back, their product exactly, and in the centre x times
// the polynomial exactly. The result is rounded about once: 0.61 ulp at most found for normal
// results (erf near x = 0.46, where x² rounded enters the centre's polynomial), also deep in
// erfc's and Phi's lower tails down to the underflow threshold, where the relative error does
// not grow (no cancellation: e^(-a²) is computed from the exact a², not from a rounded one), and
// 0.75 units of the smallest subnormal for subnormal results (rounded to 53 bits first).
//
// Single precision computes in double with shorter polynomials (degree 5 and 4 in the centre,
// 7 in the tail; a² is exact in double) and rounds once to float. The other CdfNorm kernels:
// double LA evaluates the same polynomials plainly from the exact a²/2 (about 2 ulp); double EP
// uses the single-precision polynomials and a rounded a² (about 2^-40 relative); single LA and
// EP use polynomials of degree 3 and 4 (2^-27) and 2 and 2 (2^-14) in double. The coefficients
// are Chebyshev fits (tools/fit_erf.py, erf_coefficients.inc, with their errors).
//
// Special values (as the C library): erf(±0) = ±0, erf(±Inf) = ±1, erfc(-Inf) = 2, erfc(+Inf) =
// +0, Phi(-Inf) = +0, Phi(+Inf) = 1, all without a status; a NaN comes back quiet. A result that
// is subnormal, or 0 from a finite argument (erfc beyond 26.54 in double and 9.19 in single,
// Phi below -37.52 and -12.95, erf of arguments below the smallest normal divided by 1.13),
// reports ARQ_STATUS_UNDERFLOW. Arguments whose result is not a normal number, and infinities and
// NaNs, take the element path; the others take the vector path a group at a time, sorted by
// piece (the driver's run_sorted), with the same operations.
#include <array>
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/double_double.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/exp_data.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

using dd::Pair;
// Two native vectors side by side: the lanes of the vector path.
using Group = simd::Wide<double, 2>::type;
using GroupBits = simd::Bits<Group>;
constexpr int kGroupLanes = simd::kCount<Group>;

// A segment of the tail: its centre, the rounding error of the constant term, the coefficients
// from the highest degree.
template <int kTerms>
struct Segment {
    double centre;
    double lo;
    double c[kTerms];
};
// The centre: the coefficients in x² from the highest degree, then the constant term's rounding
// error.
template <int kTerms>
struct Central {
    double c[kTerms];
    double lo;
};

#include "vecmath/kernels/erf_coefficients.inc"

alignas(16) constexpr Central<10> kErfCentralD = KORB_ERF_ERF_D_CENTRAL;
alignas(16) constexpr Central<10> kNormCentralD = KORB_ERF_NORM_D_CENTRAL;
alignas(16) constexpr Central<6> kErfCentralS = KORB_ERF_ERF_S_CENTRAL;
alignas(16) constexpr Central<5> kNormCentralS = KORB_ERF_NORM_S_CENTRAL;
alignas(16) constexpr Central<4> kNormCentralSLa = KORB_ERF_NORM_S_LA_CENTRAL;
alignas(16) constexpr Central<3> kNormCentralSEp = KORB_ERF_NORM_S_EP_CENTRAL;
alignas(16) constexpr Segment<12> kErfcD[] = {KORB_ERF_ERFC_D};
alignas(16) constexpr Segment<12> kNormD[] = {KORB_ERF_NORM_D};
alignas(16) constexpr Segment<8> kErfcS[] = {KORB_ERF_ERFC_S};
alignas(16) constexpr Segment<8> kNormS[] = {KORB_ERF_NORM_S};
alignas(16) constexpr Segment<5> kNormSLa[] = {KORB_ERF_NORM_S_LA};
alignas(16) constexpr Segment<3> kNormSEp[] = {KORB_ERF_NORM_S_EP};
static_assert(sizeof kErfcD / sizeof kErfcD[0] == 48 && sizeof kNormD / sizeof kNormD[0] == 50);

constexpr std::uint64_t kHalfBits = 0x3FE0000000000000;
// Below 2^-960 the centre's exact product could lose bits to underflow: such arguments of erf
// are scaled by 2^64 (element path).
constexpr std::uint64_t kTinyBits = 0x03F0000000000000;
constexpr double kScaleUp = 0x1p64;
constexpr double kScaleDown = 0x1p-64;

// The segment of a >= 1/2: the exponent and the top three significand bits, from 1/2 on.
inline int segment_of(double a) {
    return static_cast<int>((bits_of(a) >> 49) - (kHalfBits >> 49));
}

// Each lane's table row: one pointer for an element, one per lane for a group.
template <class Row>
const Row *rows_of(double a, const Row *table) {
    return table + segment_of(a);
}
template <class Row>
std::array<const Row *, kGroupLanes> rows_of(Group a, const Row *table) {
    std::array<const Row *, kGroupLanes> rows;
    for (int l = 0; l < kGroupLanes; ++l) rows[l] = table + segment_of(a[l]);
    return rows;
}
template <class Row, class F>
double pick(const Row *row, F field) {
    return field(*row);
}
template <class Row, class F>
Group pick(const std::array<const Row *, kGroupLanes> &rows, F field) {
    Group v;
    for (int l = 0; l < kGroupLanes; ++l) v[l] = field(*rows[l]);
    return v;
}

// The exponential's table row of 2^(j/64), j in the low bits of t's pattern.
inline exp_data::Row<double> exp_row(double t) {
    return exp_data::row(bits_of(t));
}
inline exp_data::Row<Group> exp_row(Group t) {
    exp_data::Row<Group> r;
    for (int l = 0; l < kGroupLanes; ++l) {
        const ExpEntry &e = kExpTable[bits_of(t[l]) & 63];
        r.hi[l] = e.hi;
        r.lo[l] = e.lo;
    }
    return r;
}

// e^(z_hi + z_lo) = (hi + lo)·2^floor(N/64), N in the low bits of t's pattern: dExp's reduction
// and table, the polynomial one degree longer, the sum left unrounded (|lo| < 2^-7 hi).
template <class V>
struct ExpParts {
    V hi, lo, t;
};
template <class V>
[[gnu::always_inline]] inline ExpParts<V> exp_parts(V z_hi, V z_lo) {
    using namespace exp_data;
    const V t = z_hi * kInvL + kShifter;
    const V k = t - kShifter;
    const Row<V> e = exp_row(t);
    const V r = ((z_hi - k * kLHi) - k * kLLo) + z_lo;
    const V p =
        r + (r * r) * (0.5 + r * (1.0 / 6 + r * (1.0 / 24 + r * (1.0 / 120 + r * (1.0 / 720)))));
    return {e.hi, p * (e.hi + e.lo) + e.lo, t};
}

// 2^floor(N/64) from t's pattern, for floor(N/64) >= -1022.
template <class V>
[[gnu::always_inline]] inline V power_of(V t) {
    constexpr std::uint64_t kBias = 65472;  // 1023·64
    return simd::from_bits<V>(((simd::to_bits(t) + kBias) << 46) & kPlusInfBits);
}

// y·2^floor(N/64) for one element whose result may be subnormal: two exact scalings by normal
// powers of two, the second rounding once.
inline double scale_any(double y, double t) {
    const std::int64_t n = static_cast<std::int32_t>(bits_of(t));
    const std::int64_t e2 = n >> 6;
    const std::int64_t half = e2 >> 1;
    const auto power = [](std::int64_t p) {
        return double_from(static_cast<std::uint64_t>(p + 1023) << 52);
    };
    return (y * power(half)) * power(e2 - half);
}

// How a kernel evaluates: kExact carries pairs to the end (HA); kArgLow forms a² exactly (any
// double kernel that must stay within a few ulps: e^(-a²) amplifies a²'s error by a²).
struct Exact {
    static constexpr bool kExact = true, kArgLow = true;
};
struct PlainExactSquare {
    static constexpr bool kExact = false, kArgLow = true;
};
struct Plain {
    static constexpr bool kExact = false, kArgLow = false;
};

// The tail's Q(a) = (hi + lo)·2^floor(N/64) (lo = 0 unless exact), for a in [1/2, 40): erfc(a)
// with kHalf false, Phi(-a) with kHalf true.
template <class V>
struct Tail {
    V hi, lo, t;
};
template <class M, bool kHalf, class V, class Row>
[[gnu::always_inline]] inline Tail<V> tail(V a, const Row *table) {
    constexpr double s = kHalf ? -0.5 : -1.0;
    V z_hi, z_lo;
    if constexpr (M::kArgLow) {
        const Pair<V> sq = dd::exact_square(a);
        z_hi = sq.hi * s;
        z_lo = sq.lo * s;
    } else {
        z_hi = (a * a) * s;
        z_lo = V{};
    }
    const ExpParts<V> e = exp_parts(z_hi, z_lo);
    const auto rows = rows_of(a, table);
    constexpr int n = sizeof table[0].c / sizeof table[0].c[0];
    const V u = a - pick(rows, [](const Row &r) { return r.centre; });  // exact
    V q = pick(rows, [](const Row &r) { return r.c[0]; });
    for (int i = 1; i < n - 1; ++i) q = q * u + pick(rows, [i](const Row &r) { return r.c[i]; });
    const V su = u * q;
    const V c0 = pick(rows, [](const Row &r) { return r.c[n - 1]; });
    const V h = c0 + su;
    if constexpr (M::kExact) {
        const V h_lo =
            ((c0 - h) + su) + pick(rows, [](const Row &r) { return r.lo; });  // |c0| > |su|
        const Pair<V> p = dd::exact_product(e.hi, h);
        return {p.hi, p.lo + (e.lo * h + e.hi * h_lo), e.t};
    } else {
        return {(e.hi + e.lo) * h, V{}, e.t};
    }
}

// The centre's x·C(x²) as a pair (lo = 0 unless exact), for 2^-960 <= |x| < 1/2 (or 0 when not
// exact).
template <class M, class V, class C>
[[gnu::always_inline]] inline Pair<V> centre(V x, const C &k) {
    constexpr int n = sizeof k.c / sizeof k.c[0];
    const V z = x * x;
    V q = V{} + k.c[0];
    for (int i = 1; i < n - 1; ++i) q = q * z + k.c[i];
    const V s = z * q;
    const double c0 = k.c[n - 1];
    const V h = s + c0;
    if constexpr (M::kExact) {
        const V h_lo = ((c0 - h) + s) + k.lo;  // |c0| > |s|
        const Pair<V> p = dd::exact_product(x, h);
        return {p.hi, p.lo + x * h_lo};
    } else {
        return {x * h, V{}};
    }
}

// c - (hi + lo) rounded once, for c > |hi|.
template <class V>
[[gnu::always_inline]] inline V minus(double c, V hi, V lo) {
    const Pair<V> d = dd::fast_two_sum(V{} + c, -hi);
    return d.hi + (d.lo - lo);
}

// y with the sign bit of x or-ed in.
template <class V>
[[gnu::always_inline]] inline V or_sign(V y, V x) {
    return simd::from_bits<V>(simd::to_bits(y) | (simd::to_bits(x) & kSignBit));
}

enum class Fn { erf, erfc, norm };

// The function on the centre, for 2^-960 <= |x| < 1/2 (erf; any |x| < 1/2 for the others).
template <Fn F, class M, const auto &kCentral, class V>
[[gnu::always_inline]] inline V central_value(V x) {
    const Pair<V> p = centre<M>(x, kCentral);
    if constexpr (F == Fn::erf) {
        return or_sign(p.hi + p.lo, x);  // keeps -0 of a zero read under denormals-are-zero
    } else if constexpr (F == Fn::erfc) {
        return minus(1.0, p.hi, p.lo);
    } else {
        const Pair<V> s = dd::fast_two_sum(V{} + 0.5, p.hi);
        return s.hi + (s.lo + p.lo);
    }
}

// The function on the tail where the result is normal: erf for 1/2 <= |x| < 6, erfc for
// -6 < x <= -1/2 and 1/2 <= x < 26.54, Phi for -37.52 < x <= -1/2 and 1/2 <= x < 9.
template <Fn F, class M, const auto &kTable, class V>
[[gnu::always_inline]] inline V tail_value(V x) {
    const V a = simd::from_bits<V>(simd::to_bits(x) & kAbsMask);
    const Tail<V> q = tail<M, F == Fn::norm>(a, kTable);
    const V scale = power_of(q.t);
    // The lower side, Q itself: rounded once, then scaled exactly (the result is normal).
    const V lower = (q.hi + q.lo) * scale;
    // The upper side, 1 - Q or 2 - Q: here Q is far above the underflow threshold, so both
    // parts scale exactly. (Both sides are computed for every lane and one is chosen.)
    const V upper = minus(F == Fn::erfc ? 2.0 : 1.0, q.hi * scale, q.lo * scale);
    if constexpr (F == Fn::erf) {
        return or_sign(upper, x);
    } else {
        const simd::Bits<V> negative = simd::to_bits(x) >> 63;
        const simd::Bits<V> take_upper = F == Fn::erfc ? negative : negative ^ 1;
        return simd::select(simd::Bits<V>{} - take_upper, upper, lower);
    }
}

// Q(a)·2^floor(N/64) for one element whose result may be subnormal or 0.
template <Fn F, class M, const auto &kTable>
double tail_lower_any(double a) {
    const Tail<double> q = tail<M, F == Fn::norm>(a, kTable);
    return scale_any(q.hi + q.lo, q.t);
}

constexpr const char *name_of(Fn f, bool single) {
    switch (f) {
        case Fn::erf:
            return single ? "vsErf" : "vdErf";
        case Fn::erfc:
            return single ? "vsErfc" : "vdErfc";
        default:
            return single ? "vsCdfNorm" : "vdCdfNorm";
    }
}

// Where the tail's lanes stop: beyond, the result is no longer a normal number of the element
// type (erfc, Phi's lower side) or is the constant 1 or 2 (erf, the upper sides).
template <Fn F, bool kSingle>
struct Limits {
    static constexpr double kLow = F == Fn::norm ? (kSingle ? -12.949 : -37.519) : -6.0;
    static constexpr double kHigh =
        F == Fn::erf ? 6.0 : (F == Fn::erfc ? (kSingle ? 9.194 : 26.543) : 9.0);
};

// One kernel: the function, the element type, the evaluation, the central polynomial and the
// tail's table.
template <Fn F, class T, class M, const auto &kCentral, const auto &kTable>
struct ErfKernel {
    using Element = T;
    using Compute = double;
    using Group = vecmath::Group;
    using Context = NoContext;
    static constexpr bool kSingle = sizeof(T) == sizeof(float);
    static constexpr const char *kName = name_of(F, kSingle);
    static constexpr int kPieces = 2;
    using L = Limits<F, kSingle>;

    static const Context &context() { return kNoContext; }

    // 0 for the centre, 1 for the tail, 2 (the element path) for the rest and NaN. Erf's tiny
    // arguments are told by their bits: under denormals-are-zero a compare would see a subnormal
    // as 0.
    static int piece(double x) {
        const std::uint64_t abs_bits = bits_of(x) & kAbsMask;
        if (abs_bits < kHalfBits) {
            if constexpr (F == Fn::erf) {
                if (abs_bits < (kSingle ? 0x3810000000000000 : kTinyBits)) return 2;
            }
            return 0;
        }
        return x > L::kLow && x < L::kHigh ? 1 : 2;
    }

    template <int kPiece>
    static Group lanes(Group x, const Context &) {
        if constexpr (kPiece == 0) {
            return central_value<F, M, kCentral>(x);
        } else {
            return tail_value<F, M, kTable>(x);
        }
    }

    static T element(T x, const Context &, int &status) {
        status = ARQ_STATUS_OK;
        const double d = static_cast<double>(x);
        const std::uint64_t abs_bits = bits_of(d) & kAbsMask;
        if (abs_bits > kPlusInfBits) return x + x;  // NaN, made quiet
        double r;
        bool tiny_result = false;  // a finite argument whose result may underflow
        if (abs_bits < kHalfBits) {
            if constexpr (F == Fn::erf) {
                // Zeros, and subnormals that the arithmetic reads as zeros under
                // denormals-are-zero (read back through an opaque pointer so that the compiler
                // keeps the floating compare), give the zero of x's sign.
                if (abs_bits == 0 || *simd::opaque(&d) == 0.0) {
                    return static_cast<T>(double_from(bits_of(d) & kSignBit));
                }
                if (abs_bits < kTinyBits) {
                    r = central_value<F, M, kCentral>(d * kScaleUp) * kScaleDown;
                } else {
                    r = central_value<F, M, kCentral>(d);
                }
                tiny_result = true;
            } else {
                r = central_value<F, M, kCentral>(d);
            }
        } else if (d > L::kLow && d < L::kHigh) {
            r = tail_value<F, M, kTable>(d);
            tiny_result = kSingle;
        } else if constexpr (F == Fn::erf) {
            r = d < 0 ? -1.0 : 1.0;
        } else if (abs_bits == kPlusInfBits) {
            // erfc(-Inf) = 2, erfc(+Inf) = 0, Phi(-Inf) = 0, Phi(+Inf) = 1: exact, no status.
            if constexpr (F == Fn::erfc) return static_cast<T>(d < 0 ? 2.0 : 0.0);
            return static_cast<T>(d < 0 ? 0.0 : 1.0);
        } else if ((F == Fn::erfc) == (d < 0)) {
            r = F == Fn::erfc ? 2.0 : 1.0;
        } else {
            // The lower side beyond the normal results: subnormal or 0. The tables end at 32
            // (erfc, 0 from 27.23 on) and 40 (Phi, 0 from 38.49 on).
            const double a = d < 0 ? -d : d;
            r = a < (F == Fn::norm ? 40.0 : 32.0) ? tail_lower_any<F, M, kTable>(a) : 0.0;
            tiny_result = true;
        }
        const T y = static_cast<T>(r);
        if (tiny_result) {
            const T smallest_normal =
                kSingle ? static_cast<T>(0x1p-126) : static_cast<T>(0x1p-1022);
            if (y < smallest_normal && y > -smallest_normal) status = ARQ_STATUS_UNDERFLOW;
        }
        return y;
    }
};

template <class T, class M, const auto &kCentral, const auto &kTable>
using Erf = ErfKernel<Fn::erf, T, M, kCentral, kTable>;
template <class T, class M, const auto &kCentral, const auto &kTable>
using Erfc = ErfKernel<Fn::erfc, T, M, kCentral, kTable>;
template <class T, class M, const auto &kCentral, const auto &kTable>
using CdfNorm = ErfKernel<Fn::norm, T, M, kCentral, kTable>;

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dErf_A(int n, const double *a,
                                                                     double *r) {
    run_sorted<Erf<double, Exact, kErfCentralD, kErfcD>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sErf_A(int n, const float *a,
                                                                     float *r) {
    run_sorted<Erf<float, Plain, kErfCentralS, kErfcS>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dErfc_A(int n, const double *a,
                                                                      double *r) {
    run_sorted<Erfc<double, Exact, kErfCentralD, kErfcD>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sErfc_A(int n, const float *a,
                                                                      float *r) {
    run_sorted<Erfc<float, Plain, kErfCentralS, kErfcS>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dCdfNorm_A(int n, const double *a,
                                                                         double *r) {
    run_sorted<CdfNorm<double, PlainExactSquare, kNormCentralD, kNormD>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dCdfNorm_B(int n, const double *a,
                                                                         double *r) {
    run_sorted<CdfNorm<double, Exact, kNormCentralD, kNormD>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dCdfNorm_C(int n, const double *a,
                                                                         double *r) {
    run_sorted<CdfNorm<double, Plain, kNormCentralS, kNormS>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sCdfNorm_A(int n, const float *a,
                                                                         float *r) {
    run_sorted<CdfNorm<float, Plain, kNormCentralSLa, kNormSLa>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sCdfNorm_B(int n, const float *a,
                                                                         float *r) {
    run_sorted<CdfNorm<float, Plain, kNormCentralS, kNormS>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sCdfNorm_C(int n, const float *a,
                                                                         float *r) {
    run_sorted<CdfNorm<float, Plain, kNormCentralSEp, kNormSEp>>(n, a, r);
}

}  // namespace korb::vecmath
