// Measures the vector-math kernels against MPFR: the largest error in ulps of every slot of every
// function it knows, over sampled ranges, and fails when a slot exceeds its bound.
//
//   korb_vm_accuracy [--points N]    N points per function (default 400000), split over ranges
//   korb_vm_accuracy --all-floats    every float for the single-precision functions that have a
//                                    double-precision reference in the C library, then the
//                                    double ones with the default points
//   korb_vm_accuracy --only FUNC     one function of the list (for example sSin)
//
// Single-precision functions take the sampled doubles rounded to float. A function with two
// results (SinCos) is measured on both, each against its own reference. In the walk over every
// float, a result is measured with MPFR when it is more than 0.4999 ulp from the C library's
// double-precision value (itself within 2^-28 float ulp of the exact one); the others are
// counted with that estimate.
//
// Kernels are reached through their exported kernel tables, as a dispatching layer would.
// Results of elements with a special result (infinite or NaN) are not measured; subnormal
// results are, in units of the smallest subnormal.
#include <dlfcn.h>
#include <mpfr.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "korb/vm.h"

namespace {

// The exact value of the function at x (with the scalar second argument b where there is one).
using Reference = std::function<void(mpfr_ptr out, double x, double b)>;
using Sampler = std::function<double(std::mt19937_64 &)>;

struct Range {
    const char *label;
    Sampler sample;
    double b = 0.0;  // the scalar argument of Powx
};

struct Function {
    const char *name;  // as in the kernel table's symbol; name[0] is the precision
    Reference reference;
    std::vector<Range> ranges;
    Reference second = nullptr;  // the reference of the second result, for two-result kernels
    double (*estimate)(double x, double b) = nullptr;  // double references for --all-floats
    double (*second_estimate)(double x, double b) = nullptr;
    double share = 1.0;  // of the points asked for (the inverse error function's reference is slow)
};

Reference one(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)) {
    return [f](mpfr_ptr out, double x, double) {
        mpfr_set_d(out, x, MPFR_RNDN);
        f(out, out, MPFR_RNDN);
    };
}

void pow_reference(mpfr_ptr out, double x, double b) {
    mpfr_t e;
    mpfr_init2(e, 64);
    mpfr_set_d(e, b, MPFR_RNDN);
    mpfr_set_d(out, x, MPFR_RNDN);
    mpfr_pow(out, out, e, MPFR_RNDN);
    mpfr_clear(e);
}

// erf has no inverse in MPFR: Newton's method on erfc(y) = 1 - x (or erf for small |x|) from
// a double start, at the working precision, until the step is negligible.
void erfinv_reference(mpfr_ptr out, double x, double) {
    constexpr mpfr_prec_t prec = 90;  // ample for errors measured to a thousandth of an ulp
    mpfr_t target, value, slope, step;
    mpfr_inits2(prec, target, value, slope, step, static_cast<mpfr_ptr>(nullptr));
    const bool tail = std::fabs(x) > 0.5;
    mpfr_set_d(target, std::fabs(x), MPFR_RNDN);
    if (tail) mpfr_ui_sub(target, 1, target, MPFR_RNDN);  // exact: 1 - |x|
    // Start: a few bisection-free steps from a rough estimate are enough.
    const double ax = std::fabs(x);
    double y0 =
        tail ? std::sqrt(-std::log(1.0 - ax)) : ax * 0.886226925 * (1 + 0.2617994 * ax * ax);
    if (tail) y0 = y0 - std::log(y0 * 1.7724538509055159) / (2 * y0);
    mpfr_set_d(out, std::max(y0, 1e-300), MPFR_RNDN);
    for (int it = 0; it < 200; ++it) {
        if (tail) {
            mpfr_erfc(value, out, MPFR_RNDN);
            mpfr_sub(value, target, value, MPFR_RNDN);  // erf(y) - |x| = (1 - |x|) - erfc(y)
        } else {
            mpfr_erf(value, out, MPFR_RNDN);
            mpfr_sub(value, value, target, MPFR_RNDN);
        }
        mpfr_sqr(slope, out, MPFR_RNDN);
        mpfr_neg(slope, slope, MPFR_RNDN);
        mpfr_exp(slope, slope, MPFR_RNDN);
        mpfr_mul_d(slope, slope, 1.1283791670955126, MPFR_RNDN);  // 2/sqrt(pi), enough here
        mpfr_div(step, value, slope, MPFR_RNDN);
        mpfr_sub(out, out, step, MPFR_RNDN);
        if (mpfr_zero_p(step) || mpfr_get_exp(step) < mpfr_get_exp(out) - prec + 4) break;
    }
    if (x < 0) mpfr_neg(out, out, MPFR_RNDN);
    mpfr_clears(target, value, slope, step, static_cast<mpfr_ptr>(nullptr));
}

Sampler uniform(double lo, double hi) {
    return
        [=](std::mt19937_64 &rng) { return std::uniform_real_distribution<double>(lo, hi)(rng); };
}

// Uniform over bit patterns from lo to hi (positive doubles): every binade equally often.
Sampler log_uniform(double lo, double hi) {
    std::uint64_t a, b;
    std::memcpy(&a, &lo, 8);
    std::memcpy(&b, &hi, 8);
    return [=](std::mt19937_64 &rng) {
        const std::uint64_t bits = std::uniform_int_distribution<std::uint64_t>(a, b)(rng);
        double x;
        std::memcpy(&x, &bits, 8);
        return x;
    };
}

// Either sign, magnitudes up to `largest`: the short reduction's range, near multiples of π/2
// where it cancels most, and every binade up to the largest value.
std::vector<Range> trig_ranges(double largest) {
    return {{"[-10, 10]", uniform(-10.0, 10.0)},
            {"[-2^19, 2^19]", uniform(-0x1p19, 0x1p19)},
            {"near k*pi/2, k < 2^10",
             [](std::mt19937_64 &rng) {
                 const double k = std::uniform_int_distribution<int>(-1024, 1024)(rng);
                 return k * 1.5707963267948966 +
                        std::uniform_real_distribution<double>(-0x1p-20, 0x1p-20)(rng);
             }},
            {"|x| in [2^-30, max]", [largest](std::mt19937_64 &rng) {
                 const double x = log_uniform(0x1p-30, largest)(rng);
                 return rng() & 1 ? -x : x;
             }}};
}

double libm_sin(double x, double) {
    return std::sin(x);
}
double libm_cos(double x, double) {
    return std::cos(x);
}
double libm_tan(double x, double) {
    return std::tan(x);
}
double libm_exp(double x, double) {
    return std::exp(x);
}
double libm_log(double x, double) {
    return std::log(x);
}
double libm_sqrt(double x, double) {
    return std::sqrt(x);
}
double libm_pow(double x, double b) {
    return std::pow(x, b);
}
// No C library has the inverse error function: the double kernel (itself measured against MPFR
// above) is the screen for the single one, within 2^-28 float ulp like the others.
double korb_erfinv(double x, double) {
    double y;
    _arqdErfInv(1, &x, &y);
    return y;
}

const std::vector<Function> &functions() {
    static const std::vector<Function> list = {
        {"dExp",
         one(mpfr_exp),
         {{"[-708.39, 709.78]", uniform(-708.39, 709.78)},
          {"[-1, 1]", uniform(-1.0, 1.0)},
          {"|x| in [2^-60, 2^-1]", log_uniform(0x1p-60, 0.5)},
          {"subnormal results", uniform(-745.13, -708.4)}}},
        {"dLn",
         one(mpfr_log),
         {{"positive normals", log_uniform(0x1p-1022, 1.7976931348623157e308)},
          {"[0.5, 2]", uniform(0.5, 2.0)},
          {"[1 - 2^-9, 1 + 2^-9]", uniform(1.0 - 0x1p-9, 1.0 + 0x1p-9)},
          {"subnormals", log_uniform(0x1p-1074, 0x1p-1023)}}},
        {"sCos", one(mpfr_cos), trig_ranges(0x1p127), nullptr, libm_cos},
        {"dCos", one(mpfr_cos), trig_ranges(1.7976931348623157e308)},
        {"sSin", one(mpfr_sin), trig_ranges(0x1p127), nullptr, libm_sin},
        {"dSin", one(mpfr_sin), trig_ranges(1.7976931348623157e308)},
        {"sSinCos", one(mpfr_sin), trig_ranges(0x1p127), one(mpfr_cos), libm_sin, libm_cos},
        {"dSinCos", one(mpfr_sin), trig_ranges(1.7976931348623157e308), one(mpfr_cos)},
        {"sTan", one(mpfr_tan), trig_ranges(0x1p127), nullptr, libm_tan},
        {"dTan", one(mpfr_tan), trig_ranges(1.7976931348623157e308)},
        {"dErfInv",
         erfinv_reference,
         {{"(-1, 1)", uniform(-1.0, 1.0)},
          {"|x| in [2^-30, 1/2]", log_uniform(0x1p-30, 0.5)},
          {"1 - |x| in [2^-53, 2^-3]",
           [](std::mt19937_64 &rng) { return 1.0 - log_uniform(0x1p-53, 0.125)(rng); }}},
         nullptr,
         nullptr,
         nullptr,
         0.05},
        {"sErfInv",
         erfinv_reference,
         {{"(-1, 1)", uniform(-1.0, 1.0)},
          {"|x| in [2^-30, 1/2]", log_uniform(0x1p-30, 0.5)},
          {"1 - |x| in [2^-24, 2^-3]",
           [](std::mt19937_64 &rng) { return 1.0 - log_uniform(0x1p-24, 0.125)(rng); }}},
         nullptr,
         korb_erfinv,
         nullptr,
         0.05},
        {"sExp",
         one(mpfr_exp),
         {{"[-103.9, 88.7]", uniform(-103.9, 88.7)},
          {"[-1, 1]", uniform(-1.0, 1.0)},
          {"subnormal results", uniform(-103.9, -87.4)}},
         nullptr,
         libm_exp},
        {"sLn",
         one(mpfr_log),
         {{"positive normals", log_uniform(0x1p-126, 3.4e38)},
          {"[0.5, 2]", uniform(0.5, 2.0)},
          {"subnormals", log_uniform(0x1p-149, 0x1p-127)}},
         nullptr,
         libm_log},
        {"sPowx",
         pow_reference,
         {{"(0, 4], b = 2.5", uniform(0.0, 4.0), 2.5},
          {"(0, 2], b = -7.3", uniform(0.0, 2.0), -7.3},
          {"[-3, 3], b = 7", uniform(-3.0, 3.0), 7.0},
          {"positive floats, b = 0.3", log_uniform(0x1p-149, 3.4e38), 0.3}},
         nullptr,
         libm_pow},
        {"dPowx",
         pow_reference,
         {{"(0, 4], b = 2.5", uniform(0.0, 4.0), 2.5},
          {"(0, 2], b = -300.7", uniform(0.0, 2.0), -300.7},
          {"[-3, 3], b = 7", uniform(-3.0, 3.0), 7.0},
          {"positive normals, b = 0.3", log_uniform(0x1p-1022, 1.7e308), 0.3},
          {"[0.99, 1.01], b = 65000.5", uniform(0.99, 1.01), 65000.5},
          {"subnormal results", uniform(0.5, 0.6), 1070.0}}},
        {"sSqrt",
         one(mpfr_sqrt),
         {{"positive floats", log_uniform(0x1p-149, 3.4e38)}},
         nullptr,
         libm_sqrt},
        {"dSqrt", one(mpfr_sqrt), {{"positive doubles", log_uniform(0x1p-1074, 1.7e308)}}},
    };
    return list;
}

// Significand bits and smallest normal exponent (as MPFR counts it) of a precision.
struct Format {
    int bits;
    long min_exp;
};
constexpr Format kDouble = {53, -1021};
constexpr Format kFloat = {24, -125};

// Error of y against the exact f(x) in ulps of the nearest value of the format.
double ulp_error(double y, mpfr_srcptr exact, mpfr_ptr scratch, Format f = kDouble) {
    const long e = std::max<long>(mpfr_get_exp(exact), f.min_exp);
    mpfr_sub_d(scratch, exact, y, MPFR_RNDN);
    mpfr_mul_2si(scratch, scratch, f.bits - e, MPFR_RNDN);
    return std::fabs(mpfr_get_d(scratch, MPFR_RNDN));
}

// The same against a double-precision approximation of the exact value, in float ulps.
double float_ulp_estimate(float y, double approx) {
    int e;
    std::frexp(approx, &e);
    return std::fabs(static_cast<double>(y) - approx) * std::ldexp(1.0, 24 - std::max(e, -125));
}

struct Worst {
    double ulps = 0.0;
    double x = 0.0;
};

// Bound in ulps for each slot: 50 and 26 correct bits (double), 21 and 11 (single) for LA and
// EP, 1 ulp for HA.
constexpr double kBound[2][3] = {{0x1p3, 1.0, 0x1p27}, {0x1p3, 1.0, 0x1p13}};
constexpr const char *kSlotName[3] = {"LA", "HA", "EP"};

// Runs one slot's kernel on x[0..n) and calls check(i, y, which) for each finite result,
// `which` being 0 for the first result and 1 for the second.
using Check = std::function<void(int i, double y, int which)>;

void run_slot(const Function &f, const void *kernel, const std::vector<double> &x, int n, double b,
              const Check &check) {
    const bool single = f.name[0] == 's';
    const bool scalar = std::strncmp(f.name + 1, "Powx", 4) == 0;
    const int results = f.second != nullptr ? 2 : 1;
    std::vector<double> y[2];
    if (single) {
        std::vector<float> xs(x.begin(), x.begin() + n), ys[2];
        for (int k = 0; k < results; ++k) ys[k].resize(static_cast<std::size_t>(n));
        if (results == 2) {
            reinterpret_cast<ArqKernelS2>(kernel)(n, xs.data(), ys[0].data(), ys[1].data());
        } else if (scalar) {
            reinterpret_cast<ArqKernelScalarS>(kernel)(n, xs.data(), static_cast<float>(b),
                                                       ys[0].data());
        } else {
            reinterpret_cast<ArqKernelS>(kernel)(n, xs.data(), ys[0].data());
        }
        for (int k = 0; k < results; ++k) y[k].assign(ys[k].begin(), ys[k].end());
    } else {
        for (int k = 0; k < results; ++k) y[k].resize(static_cast<std::size_t>(n));
        if (results == 2) {
            reinterpret_cast<ArqKernelD2>(kernel)(n, x.data(), y[0].data(), y[1].data());
        } else if (scalar) {
            reinterpret_cast<ArqKernelScalarD>(kernel)(n, x.data(), b, y[0].data());
        } else {
            reinterpret_cast<ArqKernelD>(kernel)(n, x.data(), y[0].data());
        }
    }
    for (int k = 0; k < results; ++k) {
        for (int i = 0; i < n; ++i) {
            if (std::isfinite(y[k][i])) check(i, y[k][i], k);
        }
    }
}

// The largest error of each slot over the points `next` gives, in blocks of 4096.
template <class Next>
void measure(const Function &f, const void *const *slots, long points, double b, Next next,
             bool estimate_first, Worst (&worst)[3]) {
    mpfr_t exact, scratch;
    mpfr_inits2(160, exact, scratch, static_cast<mpfr_ptr>(nullptr));
    const Format format = f.name[0] == 's' ? kFloat : kDouble;
    // The exponent as the kernel sees it.
    const double exponent = format.bits == 24 ? static_cast<float>(b) : b;
    std::vector<double> x(4096);
    for (long done = 0; done < points; done += static_cast<long>(x.size())) {
        const int n = static_cast<int>(std::min<long>(x.size(), points - done));
        for (int i = 0; i < n; ++i) x[i] = next(done + i);
        for (int s = 0; s < 3; ++s) {
            if (s > 0 && slots[s] == slots[s - 1]) {  // the same kernel: same figures
                worst[s] = worst[s - 1];
                continue;
            }
            run_slot(f, slots[s], x, n, b, [&](int i, double y, int which) {
                if (estimate_first) {
                    // MPFR only where the estimate could be the largest error above half an ulp.
                    const double e = float_ulp_estimate(
                        static_cast<float>(y),
                        (which == 0 ? f.estimate : f.second_estimate)(x[i], exponent));
                    if (e <= 0.4999 || e < worst[s].ulps - 1e-3) {
                        if (e > worst[s].ulps) worst[s] = {e, x[i]};
                        return;
                    }
                }
                (which == 0 ? f.reference : f.second)(exact, x[i], exponent);
                const double err = ulp_error(y, exact, scratch, format);
                if (err > worst[s].ulps) worst[s] = {err, x[i]};
            });
        }
    }
    mpfr_clears(exact, scratch, static_cast<mpfr_ptr>(nullptr));
}

bool report(const Function &f, const char *label, long points, const Worst (&worst)[3]) {
    bool ok = true;
    for (int s = 0; s < 3; ++s) {
        const bool within = worst[s].ulps <= kBound[f.name[0] == 's'][s];
        ok = ok && within;
        std::printf("%-8s %-4s %-22s %12ld %12.4f  %.17g%s\n", f.name, kSlotName[s], label, points,
                    worst[s].ulps, worst[s].x, within ? "" : "  OVER BOUND");
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

    std::mt19937_64 rng(20261121);
    bool ok = true;
    std::printf("%-8s %-4s %-22s %12s %12s  %s\n", "func", "slot", "range", "points", "max ulp",
                "at x");
    for (const Function &f : functions()) {
        if (!only.empty() && only != f.name) continue;
        const std::string table = std::string("korb_arq_kernel_") + f.name + "_ttab";
        auto slots = static_cast<const void *const *>(dlsym(RTLD_DEFAULT, table.c_str()));
        if (slots == nullptr) {
            std::printf("%s: no kernel table\n", f.name);
            ok = false;
            continue;
        }
        if (all_floats && f.name[0] == 's') {
            // Without a double-precision reference every float would need MPFR: hours.
            if (f.estimate == nullptr) {
                std::printf("%-8s every float: skipped, no double-precision reference\n", f.name);
                continue;
            }
            // Powx: every float to each exponent of its ranges.
            const bool scalar = std::strncmp(f.name + 1, "Powx", 4) == 0;
            std::vector<double> exponents = {0.0};
            if (scalar) {
                exponents.clear();
                for (const Range &range : f.ranges) exponents.push_back(range.b);
            }
            for (double b : exponents) {
                Worst worst[3];
                measure(
                    f, slots, 1l << 32, b,
                    [](long i) {
                        return static_cast<double>(
                            std::bit_cast<float>(static_cast<std::uint32_t>(i)));
                    },
                    true, worst);
                const std::string label =
                    scalar ? "every float, b = " + std::to_string(b).substr(0, 6) : "every float";
                ok = report(f, label.c_str(), 1l << 32, worst) && ok;
            }
            continue;
        }
        const long per_range = std::max<long>(
            1, static_cast<long>(points * f.share) / static_cast<long>(f.ranges.size()));
        for (const Range &range : f.ranges) {
            Worst worst[3];
            measure(
                f, slots, per_range, range.b,
                [&](long) {
                    const double v = range.sample(rng);
                    return f.name[0] == 's' ? static_cast<double>(static_cast<float>(v)) : v;
                },
                false, worst);
            ok = report(f, range.label, per_range, worst) && ok;
        }
    }
    return ok ? 0 : 1;
}
