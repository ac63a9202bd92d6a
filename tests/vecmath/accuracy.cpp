// Measures the vector-math kernels against MPFR: the largest error in ulps of every slot of every
// built function of vecmath/functions.def, over arguments drawn from the function's domains, and
// fails when a slot exceeds the bound the list gives it (plus a small margin).
//
//   korb_vm_accuracy [--points N]    N points per function (default 400000), split over its
//                                    domains; a points domain gives each of its points once
//   korb_vm_accuracy --all-floats    every float for the single-precision functions that have a
//                                    double-precision estimate (the C library's function, or the
//                                    reference's own), then the others with the given points
//   korb_vm_accuracy --only FUNC     one function of the list (for example sSin)
//
// The allowed error of a slot is bound·1.01 + 0.005 ulp: a measured 0.52 allows 0.530, so that a
// kernel that got worse fails while the sample's own variation (each function and domain has a
// fixed seed, so a run is repeatable) does not. A bound of 0 asks for the correctly rounded
// result: every result must equal the exact value rounded to nearest.
//
// Single-precision functions take the sampled arguments rounded to float. A function with two
// results (SinCos) is measured on both, each against its own exact value. In the walk over every
// float, a result is measured with MPFR when it is more than 0.4999 ulp from the double-precision
// estimate (itself within 2^-28 float ulp of the exact value); the others are counted with that
// estimate.
//
// Kernels are reached through their exported kernel tables, as a dispatching layer would.
// Results of elements with a special result (infinite or NaN) are not measured; subnormal
// results are, in units of the smallest subnormal.
#include <dlfcn.h>
#include <mpc.h>
#include <mpfr.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#if __has_include(<boost/math/special_functions/erf.hpp>)
#include <boost/math/special_functions/erf.hpp>
#define KORB_HAVE_BOOST_ERF 1
#endif

#include "korb/kernel/vm.h"
#include "vecmath/call.h"
#include "vecmath/functions.h"
#include "vecmath/sample.h"

namespace {

using korb::test::is_single;
using korb::test::sample;
using korb::vecmath::Domain;
using korb::vecmath::FunctionInfo;
using korb::vecmath::KernelKind;
using korb::vecmath::Shape;

// A double-precision estimate of the results at (x, b), the screen of the walk over every float.
using Estimate = std::function<void(double x, double b, double *y1, double *y2)>;

// What a complex function is compared with: an MPC function (or an adapter of that shape) of
// two complex arguments, of one, with a real result, or of a real argument.
struct ComplexReference {
    int (*two)(mpc_ptr, mpc_srcptr, mpc_srcptr, mpc_rnd_t) = nullptr;
    int (*one)(mpc_ptr, mpc_srcptr, mpc_rnd_t) = nullptr;
    int (*to_real)(mpfr_ptr, mpc_srcptr, mpfr_rnd_t) = nullptr;
    int (*from_real)(mpc_ptr, mpfr_srcptr, mpc_rnd_t) = nullptr;
};

// What a function is compared with: an MPFR function of one of three shapes, and optionally an
// estimate of its own (the C library's function of the list stands in otherwise).
struct Reference {
    int (*one)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t) = nullptr;
    int (*two)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t) = nullptr;
    int (*pair)(mpfr_ptr, mpfr_ptr, mpfr_srcptr, mpfr_rnd_t) = nullptr;
    double (*estimate)(double x) = nullptr;
    // The rounding functions to integers, which take no rounding mode (mpfr_ceil, mpfr_round).
    int (*integral)(mpfr_ptr, mpfr_srcptr) = nullptr;
    ComplexReference complex = {};  // the c and z functions
};

Reference reference_of(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)) {
    return {.one = f};
}
Reference reference_of(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t)) {
    return {.two = f};
}
Reference reference_of(int (*f)(mpfr_ptr, mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)) {
    return {.pair = f};
}
Reference reference_of(int (*f)(mpfr_ptr, mpfr_srcptr)) {
    return {.integral = f};
}
Reference reference_of(int (*f)(mpc_ptr, mpc_srcptr, mpc_srcptr, mpc_rnd_t)) {
    return {.complex = {.two = f}};
}
Reference reference_of(int (*f)(mpc_ptr, mpc_srcptr, mpc_rnd_t)) {
    return {.complex = {.one = f}};
}
Reference reference_of(int (*f)(mpfr_ptr, mpc_srcptr, mpfr_rnd_t)) {
    return {.complex = {.to_real = f}};
}
Reference reference_of(const Reference &r) {
    return r;
}

bool has_reference(const Reference &r) {
    const ComplexReference &c = r.complex;
    return r.one != nullptr || r.two != nullptr || r.pair != nullptr || r.integral != nullptr ||
           c.two != nullptr || c.one != nullptr || c.to_real != nullptr || c.from_real != nullptr;
}

// a·conj(b), exactly as MPC rounds a product.
int mulbyconj_mpc(mpc_ptr out, mpc_srcptr a, mpc_srcptr b, mpc_rnd_t rnd) {
    mpc_t conj_b;
    mpc_init2(conj_b, mpfr_get_prec(mpc_realref(b)));
    mpc_conj(conj_b, b, MPC_RNDNN);  // exact
    const int inexact = mpc_mul(out, a, conj_b, rnd);
    mpc_clear(conj_b);
    return inexact;
}
const Reference mulbyconj_reference{.complex = {.two = mulbyconj_mpc}};

// cos x + i sin x, each part correctly rounded by MPFR.
int cis_mpc(mpc_ptr out, mpfr_srcptr x, mpc_rnd_t) {
    return mpfr_sin_cos(mpc_imagref(out), mpc_realref(out), x, MPFR_RNDN);
}
const Reference cis_reference{.complex = {.from_real = cis_mpc}};

// 1/x, correctly rounded by MPFR.
int inv_mpfr(mpfr_ptr out, mpfr_srcptr in, mpfr_rnd_t rnd) {
    return mpfr_ui_div(out, 1, in, rnd);
}
const Reference inv_reference{.one = inv_mpfr};

// The functions that only move data: no accuracy run.
const Reference none{};

// The inverse of erf (complement false: erf(t) = target, target <= 1/2) or of erfc (complement
// true: erfc(t) = target, 0 < target <= 1/2) in long double: Newton's method from a rough start
// until the step no longer shrinks. About 2^-60 relative: the start of the MPFR references.
long double inverse_long(long double target, bool complement) {
    long double y = complement ? std::sqrt(-std::log(target))
                               : target * 0.886226925L * (1 + 0.2617994L * target * target);
    if (complement) y -= std::log(y * 1.7724538509055159L) / (2 * y);
    long double last = INFINITY;
    for (int it = 0; it < 100; ++it) {
        const long double value = complement ? target - std::erfc(y) : std::erf(y) - target;
        const long double step = value / (1.1283791670955125739L * std::exp(-y * y));
        y -= step;
        if (!(std::fabs(step) < last) || step == 0) break;
        last = std::fabs(step);
    }
    return y;
}

// The inverse error function in long double: beyond 1/2 through erfc, 1 - |x| being exact there.
long double erfinv_long(double x) {
    const long double ax = std::fabs(x);
    const long double y = ax > 0.5L ? inverse_long(1.0L - ax, true) : inverse_long(ax, false);
    return x < 0 ? -y : y;
}
// The inverse complementary error function in long double, for 0 < y < 2: 1 - y is exact in
// [1/2, 3/2], 2 - y above.
long double erfcinv_long(double y) {
    if (y >= 0.5 && y <= 1.5) return erfinv_long(1.0 - y);
    if (y < 0.5) return inverse_long(y, true);
    return -inverse_long(2.0 - y, true);
}

// The screens of the walk over every float: Boost's inverse error functions where they are
// installed (a few double ulps, and fast), else the long double ones above.
double erfinv_estimate(double x) {
    if (!(std::fabs(x) < 1.0)) return NAN;  // ±1 and beyond have special results
#if KORB_HAVE_BOOST_ERF
    using namespace boost::math::policies;
    return boost::math::erf_inv(
        x, make_policy(domain_error<ignore_error>(), overflow_error<ignore_error>()));
#else
    return static_cast<double>(erfinv_long(x));
#endif
}
double erfcinv_estimate(double y) {
    if (!(y > 0.0 && y < 2.0)) return NAN;
#if KORB_HAVE_BOOST_ERF
    using namespace boost::math::policies;
    return boost::math::erfc_inv(
        y, make_policy(domain_error<ignore_error>(), overflow_error<ignore_error>()));
#else
    return static_cast<double>(erfcinv_long(y));
#endif
}
double cdfnorminv_estimate(double p) {
    if (!(p > 0.0 && p < 1.0)) return NAN;
    return -1.4142135623730950488L * erfcinv_estimate(p + p);
}

// MPFR has no inverse error functions: Newton's method at 90 bits from the long double value (one
// step as a rule), ample for errors measured to a thousandth of an ulp. `target` (a double, so
// exact) is the value of erf (complement false) or erfc (complement true) to invert; the
// result is positive.
void inverse_mpfr(mpfr_ptr out, double target, bool complement) {
    constexpr mpfr_prec_t prec = 90;
    mpfr_t goal, value, slope, step;
    mpfr_inits2(prec, goal, value, slope, step, static_cast<mpfr_ptr>(nullptr));
    mpfr_set_d(goal, target, MPFR_RNDN);
    mpfr_set_ld(out, inverse_long(target, complement), MPFR_RNDN);
    for (int it = 0; it < 50; ++it) {
        if (complement) {
            mpfr_erfc(value, out, MPFR_RNDN);
            mpfr_sub(value, goal, value, MPFR_RNDN);  // increasing in y, as erf(y) is
        } else {
            mpfr_erf(value, out, MPFR_RNDN);
            mpfr_sub(value, value, goal, MPFR_RNDN);
        }
        mpfr_sqr(slope, out, MPFR_RNDN);
        mpfr_neg(slope, slope, MPFR_RNDN);
        mpfr_exp(slope, slope, MPFR_RNDN);
        mpfr_mul_d(slope, slope, 1.1283791670955126, MPFR_RNDN);  // 2/sqrt(pi), enough here
        mpfr_div(step, value, slope, MPFR_RNDN);
        mpfr_sub(out, out, step, MPFR_RNDN);
        // Newton doubles the correct bits: a step below 2^-50 relative leaves more than 90.
        if (mpfr_zero_p(step) || mpfr_get_exp(step) < mpfr_get_exp(out) - 50) break;
    }
    mpfr_clears(goal, value, slope, step, static_cast<mpfr_ptr>(nullptr));
}

int erfinv_mpfr(mpfr_ptr out, mpfr_srcptr in, mpfr_rnd_t) {
    const double x = mpfr_get_d(in, MPFR_RNDN);  // exact: the arguments are doubles
    const double ax = std::fabs(x);
    if (ax > 0.5) {
        inverse_mpfr(out, 1.0 - ax, true);  // 1 - |x| exact
    } else {
        inverse_mpfr(out, ax, false);
    }
    if (x < 0) mpfr_neg(out, out, MPFR_RNDN);
    return 0;
}
const Reference erfinv_reference{.one = erfinv_mpfr, .estimate = erfinv_estimate};

// The roots and powers MPFR lacks, composed at 160 bits (two roundings far below a double's
// last bit), with double-precision estimates for the walk over every float.
int invcbrt_mpfr(mpfr_ptr out, mpfr_srcptr in, mpfr_rnd_t rnd) {
    mpfr_cbrt(out, in, rnd);
    return mpfr_ui_div(out, 1, out, rnd);
}
int pow2o3_mpfr(mpfr_ptr out, mpfr_srcptr in, mpfr_rnd_t rnd) {
    mpfr_cbrt(out, in, rnd);
    return mpfr_sqr(out, out, rnd);
}
int pow3o2_mpfr(mpfr_ptr out, mpfr_srcptr in, mpfr_rnd_t rnd) {
    mpfr_sqrt(out, in, rnd);
    return mpfr_mul(out, out, in, rnd);
}
const Reference invcbrt_reference{.one = invcbrt_mpfr,
                                  .estimate = [](double x) { return 1.0 / std::cbrt(x); }};
const Reference pow2o3_reference{.one = pow2o3_mpfr, .estimate = [](double x) {
                                     const double c = std::cbrt(x);
                                     return c * c;
                                 }};
const Reference pow3o2_reference{.one = pow3o2_mpfr,
                                 .estimate = [](double x) { return x * std::sqrt(x); }};
const Reference invsqrt_reference{.one = mpfr_rec_sqrt,
                                  .estimate = [](double x) { return 1.0 / std::sqrt(x); }};
// erfcinv(y) for 0 < y < 2: erfinv(1 - y) in [1/2, 3/2] (1 - y exact), through erfc below, and
// -erfcinv(2 - y) above (2 - y exact).
void erfcinv_of(mpfr_ptr out, double y) {
    if (y >= 0.5 && y <= 1.5) {
        const double x = 1.0 - y;
        inverse_mpfr(out, std::fabs(x), false);
        if (x < 0) mpfr_neg(out, out, MPFR_RNDN);
    } else if (y < 0.5) {
        inverse_mpfr(out, y, true);
    } else {
        inverse_mpfr(out, 2.0 - y, true);
        mpfr_neg(out, out, MPFR_RNDN);
    }
}
int erfcinv_mpfr(mpfr_ptr out, mpfr_srcptr in, mpfr_rnd_t) {
    erfcinv_of(out, mpfr_get_d(in, MPFR_RNDN));
    return 0;
}
const Reference erfcinv_reference{.one = erfcinv_mpfr, .estimate = erfcinv_estimate};

// The inverse standard normal distribution function: -sqrt(2)·erfcinv(2p), 2p exact.
int cdfnorminv_mpfr(mpfr_ptr out, mpfr_srcptr in, mpfr_rnd_t) {
    const double p = mpfr_get_d(in, MPFR_RNDN);
    erfcinv_of(out, p + p);
    mpfr_t root;
    mpfr_init2(root, mpfr_get_prec(out));
    mpfr_sqrt_ui(root, 2, MPFR_RNDN);
    mpfr_mul(out, out, root, MPFR_RNDN);
    mpfr_neg(out, out, MPFR_RNDN);
    mpfr_clear(root);
    return 0;
}
const Reference cdfnorminv_reference{.one = cdfnorminv_mpfr, .estimate = cdfnorminv_estimate};

// The standard normal distribution function: erfc(-x/sqrt(2))/2, the quotient formed with 40
// more bits than the result (erfc's condition number, 2t², stays below 2^11 where the result is
// not 0), the halving exact. The estimate of the walk over every float is the long double
// erfcl, within 2^-55 relative where the float results are normal.
int cdfnorm_mpfr(mpfr_ptr out, mpfr_srcptr in, mpfr_rnd_t) {
    mpfr_t t;
    mpfr_init2(t, mpfr_get_prec(out) + 40);
    mpfr_sqrt_ui(t, 2, MPFR_RNDN);
    mpfr_div(t, in, t, MPFR_RNDN);
    mpfr_neg(t, t, MPFR_RNDN);
    mpfr_erfc(out, t, MPFR_RNDN);
    mpfr_div_2ui(out, out, 1, MPFR_RNDN);
    mpfr_clear(t);
    return 0;
}
double cdfnorm_estimate(double x) {
    return static_cast<double>(
        0.5L * erfcl(-static_cast<long double>(x) * 0.70710678118654752440084436210484903928L));
}
const Reference cdfnorm_reference{.one = cdfnorm_mpfr, .estimate = cdfnorm_estimate};

// The reference of every built function, by its name in the list.
struct Named {
    const char *name;
    Reference reference;
};
#define KORB_ARQ_REFERENCE_0(p, F, reference)
#define KORB_ARQ_REFERENCE_1(p, F, reference) {#p #F, reference_of(reference)},
#define KORB_ARQ_FUNCTION(p, F, kind, result, slots, built, costs, bounds, reference, libm, \
                          domains)                                                          \
    KORB_ARQ_REFERENCE_##built(p, F, reference)
const Named kReferences[] = {
#include "vecmath/functions.def"
};
#undef KORB_ARQ_FUNCTION

// The estimate of the walk over every float: the reference's own, else the C library's double
// function of the list's libm column, found by name.
Estimate estimate_of(const FunctionInfo &f, const Reference &ref) {
    if (ref.estimate != nullptr) {
        return [e = ref.estimate](double x, double, double *y1, double *) { *y1 = e(x); };
    }
    if (std::strcmp(f.libm, "none") == 0) return nullptr;
    void *p = dlsym(RTLD_DEFAULT, f.libm);
    if (p == nullptr) return nullptr;
    switch (f.kind) {
        case KernelKind::one:
            return [g = reinterpret_cast<double (*)(double)>(p)](double x, double, double *y1,
                                                                 double *) { *y1 = g(x); };
        case KernelKind::two:
        case KernelKind::scalar:
            return [g = reinterpret_cast<double (*)(double, double)>(p)](
                       double x, double b, double *y1, double *) { *y1 = g(x, b); };
        case KernelKind::pair:
            return [g = reinterpret_cast<void (*)(double, double *, double *)>(p)](
                       double x, double, double *y1, double *y2) { g(x, y1, y2); };
        default:
            return nullptr;
    }
}

// The exact results at (x, b).
void exact(const Reference &ref, double x, double b, mpfr_ptr y1, mpfr_ptr y2, mpfr_ptr scratch) {
    mpfr_set_d(scratch, x, MPFR_RNDN);
    if (ref.pair != nullptr) {
        ref.pair(y1, y2, scratch, MPFR_RNDN);
    } else if (ref.two != nullptr) {
        mpfr_set_d(y2, b, MPFR_RNDN);
        ref.two(y1, scratch, y2, MPFR_RNDN);
    } else if (ref.integral != nullptr) {
        ref.integral(y1, scratch);
    } else {
        ref.one(y1, scratch, MPFR_RNDN);
    }
}

// Significand bits and smallest normal exponent (as MPFR counts it) of a precision.
struct Format {
    int bits;
    long min_exp;
};
constexpr Format kDouble = {53, -1021};
constexpr Format kFloat = {24, -125};

// Error of y against the exact value in ulps of the nearest value of the format; for a correctly
// rounded slot, 0 when y is the exact value rounded to nearest.
double ulp_error(double y, mpfr_srcptr exact, mpfr_ptr scratch, Format f, bool rounded) {
    if (rounded) {
        const double nearest =
            f.bits == 24 ? mpfr_get_flt(exact, MPFR_RNDN) : mpfr_get_d(exact, MPFR_RNDN);
        if (std::bit_cast<std::uint64_t>(nearest) == std::bit_cast<std::uint64_t>(y)) return 0.0;
    }
    const long e = std::max<long>(mpfr_get_exp(exact), f.min_exp);
    mpfr_sub_d(scratch, exact, y, MPFR_RNDN);
    mpfr_mul_2si(scratch, scratch, f.bits - e, MPFR_RNDN);
    return std::fabs(mpfr_get_d(scratch, MPFR_RNDN));
}

// The error of y against the exact part in ulps of the result's modulus (exact modulus given).
double ulp_error_of_modulus(double y, mpfr_srcptr exact, mpfr_srcptr modulus, mpfr_ptr scratch,
                            Format f) {
    const long e = std::max<long>(mpfr_get_exp(modulus), f.min_exp);
    mpfr_sub_d(scratch, exact, y, MPFR_RNDN);
    mpfr_mul_2si(scratch, scratch, f.bits - e, MPFR_RNDN);
    return std::fabs(mpfr_get_d(scratch, MPFR_RNDN));
}

// The same against a double-precision estimate of the exact value, in float ulps.
double float_ulp_estimate(float y, double approx) {
    int e;
    std::frexp(approx, &e);
    return std::fabs(static_cast<double>(y) - approx) * std::ldexp(1.0, 24 - std::max(e, -125));
}

struct Worst {
    double ulps = 0.0;
    double x = 0.0;
};

constexpr const char *kSlotName[3] = {"LA", "HA", "EP"};

// The kernels of the three slots; a slot served by the kernel of an earlier slot shares its
// figures.
struct Slots {
    const void *kernel[3];
    int first_of[3];  // the first slot with the same kernel
};

// Runs one kernel on x[0..n) (with b[0..n)) and leaves its results in y1 (and y2) as doubles.
void run_kernel(const FunctionInfo &f, const void *k, int n, const double *x, const double *b,
                double *y1, double *y2) {
    if (is_single(f)) {
        std::vector<float> xs(x, x + n), bs(b, b + n), r1(n), r2(n);
        korb::test::call_kernel<float>(f.kind, k, n, xs.data(), bs.data(), r1.data(), r2.data());
        std::copy(r1.begin(), r1.end(), y1);
        std::copy(r2.begin(), r2.end(), y2);
    } else {
        korb::test::call_kernel<double>(f.kind, k, n, x, b, y1, y2);
    }
}

bool measurable(KernelKind kind) {
    return kind == KernelKind::one || kind == KernelKind::two || kind == KernelKind::scalar ||
           kind == KernelKind::pair;
}

// Measures every slot over the points `next` gives (argument and, for two-argument functions,
// its second argument), in blocks of 4096. With an estimate, MPFR is asked only where the
// estimate leaves the result more than 0.4999 ulp away.
template <class Next>
void measure(const FunctionInfo &f, const Reference &ref, const Slots &slots, long points,
             Next next, const Estimate &estimate, Worst (&worst)[3]) {
    mpfr_t exact1, exact2, scratch;
    mpfr_inits2(160, exact1, exact2, scratch, static_cast<mpfr_ptr>(nullptr));
    const Format format = is_single(f) ? kFloat : kDouble;
    const bool two_results = f.kind == KernelKind::pair;
    constexpr int kBlock = 4096;
    std::vector<double> x(kBlock), b(kBlock), y[3][2];
    for (auto &s : y) s[0].resize(kBlock), s[1].resize(kBlock);
    for (long done = 0; done < points; done += kBlock) {
        const int n = static_cast<int>(std::min<long>(kBlock, points - done));
        for (int i = 0; i < n; ++i) next(done + i, x[i], b[i]);
        for (int s = 0; s < 3; ++s) {
            if (slots.first_of[s] != s) continue;
            // The scalar of a Powx kernel is one value per call: one call per run of equal b.
            for (int i = 0, j; i < n; i = j) {
                j = f.kind == KernelKind::scalar ? i + 1 : n;
                while (j < n && b[j] == b[i]) ++j;
                run_kernel(f, slots.kernel[s], j - i, &x[i], &b[i], &y[s][0][i], &y[s][1][i]);
            }
        }
        for (int i = 0; i < n; ++i) {
            bool have_exact = false;
            double approx[2] = {0.0, 0.0};
            if (estimate) estimate(x[i], b[i], &approx[0], &approx[1]);
            for (int s = 0; s < 3; ++s) {
                if (slots.first_of[s] != s) continue;
                for (int which = 0; which < (two_results ? 2 : 1); ++which) {
                    const double r = y[s][which][i];
                    if (!std::isfinite(r)) continue;
                    const bool rounded = f.bound[s] == 0.0;
                    if (estimate) {
                        const double e = float_ulp_estimate(static_cast<float>(r), approx[which]);
                        if (e <= 0.4999) {
                            const double counted = rounded ? 0.0 : e;
                            if (counted > worst[s].ulps) worst[s] = {counted, x[i]};
                            continue;
                        }
                        if (!rounded && e < worst[s].ulps - 1e-3) continue;
                    }
                    if (!have_exact) {
                        exact(ref, x[i], b[i], exact1, exact2, scratch);
                        have_exact = true;
                    }
                    const double err =
                        ulp_error(r, which == 0 ? exact1 : exact2, scratch, format, rounded);
                    if (err > worst[s].ulps) worst[s] = {err, x[i]};
                }
            }
        }
    }
    for (int s = 0; s < 3; ++s) worst[s] = worst[slots.first_of[s]];
    mpfr_clears(exact1, exact2, scratch, static_cast<mpfr_ptr>(nullptr));
}

double allowed(double bound) {
    return bound * 1.01 + 0.005;
}

void report(const FunctionInfo &f, const std::string &label, long points, const Worst (&worst)[3]) {
    for (int s = 0; s < 3; ++s) {
        std::printf("%c%-7s %-4s %-40s %11ld %12.4f  %.17g\n", f.precision, f.name, kSlotName[s],
                    label.c_str(), points, worst[s].ulps, worst[s].x);
    }
    std::fflush(stdout);
}

// A fixed seed per function and domain, so that `--only` draws what the whole run draws.
std::uint64_t seed(const FunctionInfo &f, int domain) {
    std::uint64_t h = 1469598103934665603ull;
    for (const char *c = f.name; *c != '\0'; ++c)
        h = (h ^ static_cast<unsigned char>(*c)) * 1099511628211ull;
    return h ^ (static_cast<std::uint64_t>(f.precision) << 56) ^ static_cast<std::uint64_t>(domain);
}

// The kernels of the three slots of a function, from its exported table.
bool slots_of(const FunctionInfo &f, Slots &slots) {
    const std::string table = "korb_arq_kernel_" + korb::test::name_of(f) + "_ttab";
    auto kernels = static_cast<const void *const *>(dlsym(RTLD_DEFAULT, table.c_str()));
    if (kernels == nullptr) return false;
    for (int s = 0; s < 3; ++s) {
        slots.kernel[s] = kernels[s];
        slots.first_of[s] = s;
        for (int t = 0; t < s; ++t) {
            if (kernels[t] == kernels[s]) {
                slots.first_of[s] = t;
                break;
            }
        }
    }
    return true;
}

// Runs a complex kernel on n arguments (parts interleaved in x and y, a real argument in x for
// CIS) and leaves the results' parts interleaved in out (one part per element for a real result).
template <class T>
void run_complex_typed(KernelKind kind, const void *k, int n, const double *x, const double *y,
                       double *out) {
    const bool real_in = kind == KernelKind::from_real, real_out = kind == KernelKind::to_real;
    std::vector<T> a(x, x + (real_in ? n : 2 * n)), b(y, y + 2 * n), r(real_out ? n : 2 * n);
    switch (kind) {
        case KernelKind::two:
            reinterpret_cast<void (*)(int, const T *, const T *, T *)>(k)(n, a.data(), b.data(),
                                                                          r.data());
            break;
        case KernelKind::scalar: {
            // One exponent per call: each element with its own.
            struct Part {
                T re, im;
            };
            auto f = reinterpret_cast<void (*)(int, const Part *, Part, Part *)>(k);
            for (int i = 0; i < n; ++i) {
                f(1, reinterpret_cast<const Part *>(a.data()) + i, Part{b[2 * i], b[2 * i + 1]},
                  reinterpret_cast<Part *>(r.data()) + i);
            }
            break;
        }
        default:  // one, to_real, from_real: (n, a, r)
            reinterpret_cast<void (*)(int, const T *, T *)>(k)(n, a.data(), r.data());
    }
    std::copy(r.begin(), r.end(), out);
}

// One complex function: every slot over its domains, each part of each result in ulps of
// itself against MPC at 160 bits. The arguments' parts are drawn from the domain (the second
// argument's from its second domain).
bool check_complex(const FunctionInfo &f, const Reference &ref, long points) {
    const std::string func = korb::test::name_of(f);
    Slots slots{};
    if (!slots_of(f, slots)) {
        std::printf("%s: no kernel table\n", func.c_str());
        return false;
    }
    const bool single = is_single(f);
    const Format format = single ? kFloat : kDouble;
    const ComplexReference &c = ref.complex;
    const bool real_in = c.from_real != nullptr, real_out = c.to_real != nullptr;
    int domain_count = 0, sampled = 0;
    while (domain_count < korb::vecmath::kMaxDomains && f.domains[domain_count] != 0) {
        sampled += korb::vecmath::domain(f.domains[domain_count]).shape == Shape::points ? 0 : 1;
        ++domain_count;
    }
    mpc_t ea, eb, er;
    mpfr_t scratch, er_real;
    mpc_init2(ea, 160);
    mpc_init2(eb, 160);
    mpc_init2(er, 160);
    mpfr_t modulus;
    mpfr_inits2(160, scratch, er_real, modulus, static_cast<mpfr_ptr>(nullptr));
    Worst overall[3];
    for (int i = 0; i < domain_count; ++i) {
        const Domain &d = korb::vecmath::domain(f.domains[i]);
        const Domain &second = korb::vecmath::domain(d.second != 0 ? d.second : f.domains[i]);
        std::mt19937_64 rng(seed(f, i));
        const bool points_only = d.shape == Shape::points;
        const long count = points_only ? d.point_count : std::max<long>(1, points / sampled);
        constexpr int kBlock = 4096;
        std::vector<double> x(2 * kBlock), y(2 * kBlock), r[3];
        for (auto &v : r) v.resize(2 * kBlock);
        Worst worst[3];
        for (long done = 0; done < count; done += kBlock) {
            const int n = static_cast<int>(std::min<long>(kBlock, count - done));
            for (int j = 0; j < n; ++j) {
                if (real_in) {
                    x[j] = points_only ? korb::test::in_precision(d.points[done + j], single)
                                       : sample(d, single, rng);
                } else {
                    // A one-argument function's second domain is its imaginary parts'.
                    const bool two_args = c.two != nullptr;
                    x[2 * j] = sample(d, single, rng);
                    x[2 * j + 1] = sample(two_args ? d : second, single, rng);
                    y[2 * j] = sample(second, single, rng);
                    y[2 * j + 1] = sample(second, single, rng);
                }
            }
            for (int s = 0; s < 3; ++s) {
                if (slots.first_of[s] != s) continue;
                if (single) {
                    run_complex_typed<float>(f.kind, slots.kernel[s], n, x.data(), y.data(),
                                             r[s].data());
                } else {
                    run_complex_typed<double>(f.kind, slots.kernel[s], n, x.data(), y.data(),
                                              r[s].data());
                }
            }
            for (int j = 0; j < n; ++j) {
                if (real_in) {
                    mpfr_set_d(scratch, x[j], MPFR_RNDN);
                    c.from_real(er, scratch, MPC_RNDNN);
                } else {
                    mpc_set_d_d(ea, x[2 * j], x[2 * j + 1], MPC_RNDNN);
                    mpc_set_d_d(eb, y[2 * j], y[2 * j + 1], MPC_RNDNN);
                    if (c.two != nullptr) {
                        c.two(er, ea, eb, MPC_RNDNN);
                    } else if (c.one != nullptr) {
                        c.one(er, ea, MPC_RNDNN);
                    } else {
                        c.to_real(er_real, ea, MPFR_RNDN);
                    }
                }
                for (int s = 0; s < 3; ++s) {
                    if (slots.first_of[s] != s) continue;
                    const bool rounded = f.bound[s] == 0.0;
                    for (int part = 0; part < (real_out ? 1 : 2); ++part) {
                        const double v = r[s][real_out ? j : 2 * j + part];
                        if (!std::isfinite(v)) continue;
                        mpfr_srcptr e = real_out    ? er_real
                                        : part == 0 ? mpc_realref(er)
                                                    : mpc_imagref(er);
                        double err = ulp_error(v, e, scratch, format, rounded);
                        // A part below 2^-20 of the result's modulus is measured in ulps of
                        // the modulus (the component rule of the elementary functions).
                        if (!real_out && !rounded && err > 0.0) {
                            mpc_abs(modulus, er, MPFR_RNDN);
                            mpfr_mul_2si(modulus, modulus, -20, MPFR_RNDN);
                            if (mpfr_cmpabs(e, modulus) < 0) {
                                mpfr_mul_2si(modulus, modulus, 20, MPFR_RNDN);
                                err = std::min(
                                    err, ulp_error_of_modulus(v, e, modulus, scratch, format));
                            }
                        }
                        if (err > worst[s].ulps) worst[s] = {err, real_in ? x[j] : x[2 * j]};
                    }
                }
            }
        }
        for (int s = 0; s < 3; ++s) worst[s] = worst[slots.first_of[s]];
        report(f, d.label, count, worst);
        for (int s = 0; s < 3; ++s) {
            if (worst[s].ulps > overall[s].ulps) overall[s] = worst[s];
        }
    }
    mpc_clear(ea);
    mpc_clear(eb);
    mpc_clear(er);
    mpfr_clears(scratch, er_real, modulus, static_cast<mpfr_ptr>(nullptr));
    bool ok = true;
    for (int s = 0; s < 3; ++s) {
        const bool within =
            f.bound[s] == 0.0 ? overall[s].ulps == 0.0 : overall[s].ulps <= allowed(f.bound[s]);
        ok = ok && within;
        std::printf("%-8s %-4s largest %.6g ulp at %.17g, bound %g%s\n", func.c_str(), kSlotName[s],
                    overall[s].ulps, overall[s].x, f.bound[s], within ? "" : "  OVER BOUND");
    }
    std::fflush(stdout);
    return ok;
}

// Measures one function; false when a slot is over its bound.
bool check(const FunctionInfo &f, const Reference &ref, long points, bool all_floats) {
    const std::string func = korb::test::name_of(f);
    const std::string table = "korb_arq_kernel_" + func + "_ttab";
    auto kernels = static_cast<const void *const *>(dlsym(RTLD_DEFAULT, table.c_str()));
    if (kernels == nullptr) {
        std::printf("%s: no kernel table\n", func.c_str());
        return false;
    }
    if (f.precision == 'c' || f.precision == 'z') return check_complex(f, ref, points);
    if (!measurable(f.kind)) {
        std::printf("%s: no accuracy run for this kind of kernel yet\n", func.c_str());
        return false;
    }
    Slots slots{};
    for (int s = 0; s < 3; ++s) {
        slots.kernel[s] = kernels[s];
        slots.first_of[s] = s;
        for (int t = 0; t < s; ++t) {
            if (kernels[t] == kernels[s]) {
                slots.first_of[s] = t;
                break;
            }
        }
    }
    const bool single = is_single(f);
    Worst overall[3];
    auto add = [&](const Worst(&w)[3]) {
        for (int s = 0; s < 3; ++s) {
            if (w[s].ulps > overall[s].ulps) overall[s] = w[s];
        }
    };

    const Estimate estimate = all_floats && single ? estimate_of(f, ref) : nullptr;
    if (all_floats && single && estimate == nullptr) {
        std::printf("%s every float: skipped, no double-precision estimate\n", func.c_str());
    }
    int domain_count = 0;
    while (domain_count < korb::vecmath::kMaxDomains && f.domains[domain_count] != 0) {
        ++domain_count;
    }
    int sampled = 0;
    for (int i = 0; i < domain_count; ++i) {
        sampled += korb::vecmath::domain(f.domains[i]).shape == Shape::points ? 0 : 1;
    }
    // Every float, to each exponent of the domains for a Powx kernel; two vector arguments are
    // sampled instead.
    const bool walk = estimate && f.kind != KernelKind::two;
    if (walk) {
        std::vector<double> exponents = {0.0};
        if (f.kind == KernelKind::scalar) {
            exponents.clear();
            for (int i = 0; i < domain_count; ++i) {
                const Domain &second =
                    korb::vecmath::domain(korb::vecmath::domain(f.domains[i]).second);
                if (second.lo == second.hi) exponents.push_back(second.lo);
            }
        }
        for (double b : exponents) {
            Worst worst[3];
            const double bf = static_cast<float>(b);
            measure(
                f, ref, slots, 1l << 32,
                [bf](long i, double &x, double &bb) {
                    x = std::bit_cast<float>(static_cast<std::uint32_t>(i));
                    bb = bf;
                },
                estimate, worst);
            const std::string label = f.kind == KernelKind::scalar
                                          ? "every float, b = " + std::to_string(b).substr(0, 8)
                                          : "every float";
            report(f, label, 1l << 32, worst);
            add(worst);
        }
    }
    for (int i = 0; i < domain_count && !walk; ++i) {
        const Domain &d = korb::vecmath::domain(f.domains[i]);
        const Domain &second = korb::vecmath::domain(d.second);
        std::mt19937_64 rng(seed(f, i));
        const bool points_only = d.shape == Shape::points;
        const long count = points_only ? d.point_count : std::max<long>(1, points / sampled);
        Worst worst[3];
        measure(
            f, ref, slots, count,
            [&](long k, double &x, double &b) {
                x = points_only ? korb::test::in_precision(d.points[k], single)
                                : sample(d, single, rng);
                b = d.second != 0 ? sample(second, single, rng) : 0.0;
            },
            nullptr, worst);
        report(f, d.label, count, worst);
        add(worst);
    }
    bool ok = true;
    for (int s = 0; s < 3; ++s) {
        const bool within =
            f.bound[s] == 0.0 ? overall[s].ulps == 0.0 : overall[s].ulps <= allowed(f.bound[s]);
        ok = ok && within;
        std::printf("%-8s %-4s largest %.6g ulp at %.17g, bound %g%s\n", func.c_str(), kSlotName[s],
                    overall[s].ulps, overall[s].x, f.bound[s], within ? "" : "  OVER BOUND");
    }
    std::fflush(stdout);
    return ok;
}

}  // namespace

int main(int argc, char **argv) {
    long points = 400000;
    bool all_floats = false;
    std::string only;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--points" && i + 1 < argc) {
            points = std::atol(argv[++i]);
        } else if (arg == "--all-floats") {
            all_floats = true;
        } else if (arg == "--only" && i + 1 < argc) {
            only = argv[++i];
        } else {
            std::fprintf(stderr,
                         "usage: korb_vm_accuracy [--points N | --all-floats] [--only FUNC]\n");
            return 2;
        }
    }
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_IGNORE | ARQ_DENORMALS_KEEP);

    bool ok = true, found = only.empty();
    std::printf("%-8s %-4s %-40s %11s %12s  %s\n", "func", "slot", "domain", "points", "max ulp",
                "at x");
    for (const FunctionInfo &f : korb::vecmath::kFunctions) {
        const std::string func = korb::test::name_of(f);
        if (!f.built || (!only.empty() && only != func)) continue;
        found = true;
        const Named *named = std::find_if(std::begin(kReferences), std::end(kReferences),
                                          [&](const Named &r) { return func == r.name; });
        const Reference &ref = named->reference;
        if (!has_reference(ref)) continue;
        ok = check(f, ref, points, all_floats) && ok;
    }
    if (!found) {
        std::fprintf(stderr, "korb_vm_accuracy: %s is not a built function of the list\n",
                     only.c_str());
        return 2;
    }
    return ok ? 0 : 1;
}
