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
#include <random>
#include <string>
#include <vector>

#include "korb/vm.h"

namespace {

using MpfrFn = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using Sampler = std::function<double(std::mt19937_64 &)>;

struct Range {
    const char *label;
    Sampler sample;
};

struct Function {
    const char *name;  // as in the kernel table's symbol
    MpfrFn reference;
    std::vector<Range> ranges;
};

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
         mpfr_exp,
         {{"[-708.39, 709.78]", uniform(-708.39, 709.78)},
          {"[-1, 1]", uniform(-1.0, 1.0)},
          {"|x| in [2^-60, 2^-1]", log_uniform(0x1p-60, 0.5)},
          {"subnormal results", uniform(-745.13, -708.4)}}},
        {"dLn",
         mpfr_log,
         {{"positive normals", log_uniform(0x1p-1022, 1.7976931348623157e308)},
          {"[0.5, 2]", uniform(0.5, 2.0)},
          {"[1 - 2^-9, 1 + 2^-9]", uniform(1.0 - 0x1p-9, 1.0 + 0x1p-9)},
          {"subnormals", log_uniform(0x1p-1074, 0x1p-1023)}}},
    };
    return list;
}

// Error of y against the exact f(x) in ulps of the double nearest the exact value.
double ulp_error(double y, mpfr_srcptr exact, mpfr_ptr scratch) {
    const long e = std::max<long>(mpfr_get_exp(exact), -1021);
    mpfr_sub_d(scratch, exact, y, MPFR_RNDN);
    mpfr_mul_2si(scratch, scratch, 53 - e, MPFR_RNDN);
    return std::fabs(mpfr_get_d(scratch, MPFR_RNDN));
}

struct Worst {
    double ulps = 0.0;
    double x = 0.0;
};

// Bound in ulps for each slot: 50 and 26 correct bits for LA and EP, 1 ulp for HA.
constexpr double kBound[3] = {0x1p3, 1.0, 0x1p27};
constexpr const char *kSlotName[3] = {"LA", "HA", "EP"};

}  // namespace

int main(int argc, char **argv) {
    long points = 400000;
    if (argc == 3 && std::strcmp(argv[1], "--points") == 0) {
        points = std::atol(argv[2]);
    } else if (argc != 1) {
        std::fprintf(stderr, "usage: korb_vm_accuracy [--points N]\n");
        return 2;
    }
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_IGNORE | ARQ_DENORMALS_KEEP);

    mpfr_t exact, scratch;
    mpfr_inits2(160, exact, scratch, static_cast<mpfr_ptr>(nullptr));
    std::mt19937_64 rng(20261121);
    bool ok = true;
    std::printf("%-6s %-4s %-22s %12s %12s  %s\n", "func", "slot", "range", "points", "max ulp",
                "at x");
    for (const Function &f : functions()) {
        const std::string table = std::string("korb_arq_kernel_") + f.name + "_ttab";
        auto slots = static_cast<const ArqKernelD *>(dlsym(RTLD_DEFAULT, table.c_str()));
        if (slots == nullptr) {
            std::printf("%s: no kernel table\n", f.name);
            ok = false;
            continue;
        }
        const long per_range = std::max<long>(1, points / static_cast<long>(f.ranges.size()));
        for (const Range &range : f.ranges) {
            Worst worst[3];
            std::vector<double> x(4096), y(x.size());
            for (long done = 0; done < per_range; done += static_cast<long>(x.size())) {
                const int n = static_cast<int>(std::min<long>(x.size(), per_range - done));
                for (int i = 0; i < n; ++i) x[i] = range.sample(rng);
                for (int s = 0; s < 3; ++s) {
                    if (s > 0 && slots[s] == slots[s - 1]) {  // the same kernel: same figures
                        worst[s] = worst[s - 1];
                        continue;
                    }
                    slots[s](n, x.data(), y.data());
                    for (int i = 0; i < n; ++i) {
                        if (!std::isfinite(y[i])) continue;
                        mpfr_set_d(exact, x[i], MPFR_RNDN);
                        f.reference(exact, exact, MPFR_RNDN);
                        const double err = ulp_error(y[i], exact, scratch);
                        if (err > worst[s].ulps) worst[s] = {err, x[i]};
                    }
                }
            }
            for (int s = 0; s < 3; ++s) {
                const bool within = worst[s].ulps <= kBound[s];
                ok = ok && within;
                std::printf("%-6s %-4s %-22s %12ld %12.4f  %.17g%s\n", f.name, kSlotName[s],
                            range.label, per_range, worst[s].ulps, worst[s].x,
                            within ? "" : "  OVER BOUND");
            }
        }
    }
    mpfr_clears(exact, scratch, static_cast<mpfr_ptr>(nullptr));
    return ok ? 0 : 1;
}
