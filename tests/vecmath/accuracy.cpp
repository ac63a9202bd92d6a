// Measures the vector-math kernels against MPFR: the largest error in ulps of every slot of every
// function it knows, over sampled ranges, and fails when a slot exceeds its bound.
//
//   korb_vm_accuracy [--points N]    N points per function (default 400000), split over ranges
//
// Kernels are reached through their exported kernel tables, as a dispatching layer would.
// Results of elements with a special result (infinite or NaN) are not measured; subnormal
// results are, in units of the smallest subnormal.
#include <dlfcn.h>
#include <mpfr.h>

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
    const char *name;  // as in the kernel table's symbol
    Reference reference;
    std::vector<Range> ranges;
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
        {"dErfInv",
         erfinv_reference,
         {{"(-1, 1)", uniform(-1.0, 1.0)},
          {"|x| in [2^-30, 1/2]", log_uniform(0x1p-30, 0.5)},
          {"1 - |x| in [2^-53, 2^-3]",
           [](std::mt19937_64 &rng) { return 1.0 - log_uniform(0x1p-53, 0.125)(rng); }}},
         0.05},
        {"sErfInv",
         erfinv_reference,
         {{"(-1, 1)", uniform(-1.0, 1.0)},
          {"|x| in [2^-30, 1/2]", log_uniform(0x1p-30, 0.5)},
          {"1 - |x| in [2^-24, 2^-3]",
           [](std::mt19937_64 &rng) { return 1.0 - log_uniform(0x1p-24, 0.125)(rng); }}},
         0.05},
        {"sExp",
         one(mpfr_exp),
         {{"[-103.9, 88.7]", uniform(-103.9, 88.7)},
          {"[-1, 1]", uniform(-1.0, 1.0)},
          {"subnormal results", uniform(-103.9, -87.4)}}},
        {"sLn",
         one(mpfr_log),
         {{"positive normals", log_uniform(0x1p-126, 3.4e38)},
          {"[0.5, 2]", uniform(0.5, 2.0)},
          {"subnormals", log_uniform(0x1p-149, 0x1p-127)}}},
        {"sPowx",
         pow_reference,
         {{"(0, 4], b = 2.5", uniform(0.0, 4.0), 2.5},
          {"(0, 2], b = -7.3", uniform(0.0, 2.0), -7.3},
          {"[-3, 3], b = 7", uniform(-3.0, 3.0), 7.0},
          {"positive floats, b = 0.3", log_uniform(0x1p-149, 3.4e38), 0.3}}},
        {"dPowx",
         pow_reference,
         {{"(0, 4], b = 2.5", uniform(0.0, 4.0), 2.5},
          {"(0, 2], b = -300.7", uniform(0.0, 2.0), -300.7},
          {"[-3, 3], b = 7", uniform(-3.0, 3.0), 7.0},
          {"positive normals, b = 0.3", log_uniform(0x1p-1022, 1.7e308), 0.3},
          {"[0.99, 1.01], b = 65000.5", uniform(0.99, 1.01), 65000.5},
          {"subnormal results", uniform(0.5, 0.6), 1070.0}}},
        {"sSqrt", one(mpfr_sqrt), {{"positive floats", log_uniform(0x1p-149, 3.4e38)}}},
        {"dSqrt", one(mpfr_sqrt), {{"positive doubles", log_uniform(0x1p-1074, 1.7e308)}}},
    };
    return list;
}

// Error of y against the exact value in ulps of the nearest number of the precision (53 or 24
// bits, subnormals in units of the smallest one).
double ulp_error(double y, mpfr_srcptr exact, mpfr_ptr scratch, bool single) {
    const long e = std::max<long>(mpfr_get_exp(exact), single ? -125 : -1021);
    mpfr_sub_d(scratch, exact, y, MPFR_RNDN);
    mpfr_mul_2si(scratch, scratch, (single ? 24 : 53) - e, MPFR_RNDN);
    return std::fabs(mpfr_get_d(scratch, MPFR_RNDN));
}

struct Worst {
    double ulps = 0.0;
    double x = 0.0;
};

// Bound in ulps for each slot: LA 50 (double) or 21 (single) correct bits, HA 1 ulp, EP 26 or
// 11 correct bits.
constexpr double kBound[2][3] = {{0x1p3, 1.0, 0x1p27}, {0x1p3, 1.0, 0x1p13}};
constexpr const char *kSlotName[3] = {"LA", "HA", "EP"};

// Runs the kernel in a slot on x[0..n), widening its results into y.
void call(const void *kernel, bool single, bool scalar, int n, const double *x, double b,
          double *y) {
    if (!single) {
        if (scalar) {
            reinterpret_cast<ArqKernelScalarD>(kernel)(n, x, b, y);
        } else {
            reinterpret_cast<ArqKernelD>(kernel)(n, x, y);
        }
        return;
    }
    std::vector<float> xf(x, x + n), yf(static_cast<std::size_t>(n));
    if (scalar) {
        reinterpret_cast<ArqKernelScalarS>(kernel)(n, xf.data(), static_cast<float>(b), yf.data());
    } else {
        reinterpret_cast<ArqKernelS>(kernel)(n, xf.data(), yf.data());
    }
    for (int i = 0; i < n; ++i) y[i] = yf[i];
}

}  // namespace

int main(int argc, char **argv) {
    long points = 400000;
    bool exhaustive = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--points") == 0 && i + 1 < argc) {
            points = std::atol(argv[++i]);
        } else if (std::strcmp(argv[i], "--exhaustive") == 0) {
            exhaustive = true;
        } else {
            std::fprintf(stderr, "usage: korb_vm_accuracy [--points N] [--exhaustive]\n");
            return 2;
        }
    }
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_IGNORE | ARQ_DENORMALS_KEEP);

    mpfr_t exact, scratch;
    mpfr_inits2(160, exact, scratch, static_cast<mpfr_ptr>(nullptr));
    std::mt19937_64 rng(20261121);
    bool ok = true;
    std::printf("%-8s %-4s %-22s %12s %12s  %s\n", "func", "slot", "range", "points", "max ulp",
                "at x");
    for (const Function &f : functions()) {
        const std::string table = std::string("korb_arq_kernel_") + f.name + "_ttab";
        auto slots = static_cast<const void *const *>(dlsym(RTLD_DEFAULT, table.c_str()));
        if (slots == nullptr) {
            std::printf("%s: no kernel table\n", f.name);
            ok = false;
            continue;
        }
        const bool single = f.name[0] == 's';
        const bool scalar = std::strncmp(f.name + 1, "Powx", 4) == 0;
        std::vector<Range> ranges = f.ranges;
        // Every float, in order of bit patterns (specials are skipped like everywhere).
        if (single && exhaustive) {
            auto next = std::make_shared<std::uint32_t>(0);
            ranges = {{"every float", [next](std::mt19937_64 &) {
                           float v;
                           const std::uint32_t b = (*next)++;
                           std::memcpy(&v, &b, 4);
                           return static_cast<double>(v);
                       }}};
        }
        for (const Range &range : ranges) {
            const long count = single && exhaustive
                                   ? (1L << 32)
                                   : std::max<long>(1, static_cast<long>(points * f.share) /
                                                           static_cast<long>(ranges.size()));
            Worst worst[3];
            std::vector<double> x(4096), y[3];
            for (auto &v : y) v.resize(x.size());
            for (long done = 0; done < count; done += static_cast<long>(x.size())) {
                const int n = static_cast<int>(std::min<long>(x.size(), count - done));
                for (int i = 0; i < n; ++i) {
                    x[i] = range.sample(rng);
                    if (single) x[i] = static_cast<float>(x[i]);
                }
                for (int s = 0; s < 3; ++s) {
                    if (s == 0 || slots[s] != slots[0]) {
                        call(slots[s], single, scalar, n, x.data(), range.b, y[s].data());
                    }
                }
                for (int i = 0; i < n; ++i) {
                    bool computed = false;
                    for (int s = 0; s < 3; ++s) {
                        const double v = slots[s] == slots[0] ? y[0][i] : y[s][i];
                        if (!std::isfinite(v)) continue;
                        if (!computed) {
                            f.reference(exact, x[i],
                                        single ? static_cast<float>(range.b) : range.b);
                            computed = true;
                        }
                        const double err = ulp_error(v, exact, scratch, single);
                        if (err > worst[s].ulps) worst[s] = {err, x[i]};
                    }
                }
            }
            for (int s = 0; s < 3; ++s) {
                const bool within = worst[s].ulps <= kBound[single][s];
                ok = ok && within;
                std::printf("%-8s %-4s %-22s %12ld %12.4f  %.17g%s\n", f.name, kSlotName[s],
                            range.label, count, worst[s].ulps, worst[s].x,
                            within ? "" : "  OVER BOUND");
            }
        }
    }
    mpfr_clears(exact, scratch, static_cast<mpfr_ptr>(nullptr));
    return ok ? 0 : 1;
}
