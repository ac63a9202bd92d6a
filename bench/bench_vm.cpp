// Vector-math kernels beside their peers on the same inputs, n = 1000 (in cache) and 1,000,000:
// the C library's scalar function in a loop, its SSE2-width vector variant (libmvec) and
// SLEEF's SSE2 variant of 1-ulp accuracy, when SLEEF is installed. "copy" is the cost unit of
// the cost tables: a plain loop copying the same vector; "slot0".."slot2" run the kernel of
// each table slot at n = 1000, and tools/arq_costs.py divides their times by the copy's.
// Items are elements; each benchmark reports a checksum of its results.
#include <benchmark/benchmark.h>
#include <emmintrin.h>
#include <korb/vm.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#ifdef KORB_HAVE_SLEEF
#include <sleef.h>
#endif

extern "C" {
__m128d _ZGVbN2v_exp(__m128d);
__m128d _ZGVbN2v_log(__m128d);
}

namespace {

using Loop = void (*)(int n, const double *a, double *r);

template <double (*F)(double)>
void scalar_loop(int n, const double *a, double *r) {
    for (int i = 0; i < n; ++i) r[i] = F(a[i]);
}

// n is even in every benchmark here.
template <__m128d (*F)(__m128d)>
void pair_loop(int n, const double *a, double *r) {
    for (int i = 0; i < n; i += 2) _mm_storeu_pd(r + i, F(_mm_loadu_pd(a + i)));
}

void copy_loop(int n, const double *a, double *r) {
    for (int i = 0; i < n; ++i) r[i] = a[i];
}

double libm_exp(double x) {
    return std::exp(x);
}
double libm_log(double x) {
    return std::log(x);
}

#ifdef KORB_HAVE_SLEEF
__m128d sleef_exp(__m128d x) {
    return Sleef_expd2_u10sse2(x);
}
__m128d sleef_log(__m128d x) {
    return Sleef_logd2_u10sse2(x);
}
#endif

struct Subject {
    const char *name;
    Loop loop;
};

struct Function {
    const char *name;
    const ArqKernelD *slots;  // the kernel table, for the cost measurement
    std::function<double(std::mt19937_64 &)> input;
    std::vector<Subject> subjects;
};

// The functions and their peers; the first subject is always this library's HA entry point.
std::vector<Function> functions() {
    return {
        {"dExp",
         korb_arq_kernel_dExp_ttab,
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(-700, 700)(g); },
         {{"korb", _arqdExp},
          {"glibc", scalar_loop<libm_exp>},
          {"libmvec", pair_loop<_ZGVbN2v_exp>},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", pair_loop<sleef_exp>},
#endif
          {"copy", copy_loop}}},
        {"dLn",
         korb_arq_kernel_dLn_ttab,
         [](std::mt19937_64 &g) {
             return std::exp(std::uniform_real_distribution<double>(-700, 700)(g));
         },
         {{"korb", _arqdLn},
          {"glibc", scalar_loop<libm_log>},
          {"libmvec", pair_loop<_ZGVbN2v_log>},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", pair_loop<sleef_log>},
#endif
          {"copy", copy_loop}}},
    };
}

void run(benchmark::State &state, const Function &f, Loop loop) {
    const int n = static_cast<int>(state.range(0));
    std::mt19937_64 gen(7);
    std::vector<double> a(static_cast<std::size_t>(n)), r(a.size());
    for (double &x : a) x = f.input(gen);
    for (auto _ : state) {
        loop(n, a.data(), r.data());
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
    state.counters["checksum"] = r[0] + r[static_cast<std::size_t>(n - 1)];
}

const bool kRegistered = [] {
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_IGNORE);
    static const std::vector<Function> list = functions();
    for (const Function &f : list) {
        for (const Subject &s : f.subjects) {
            const std::string name = std::string("BM_vm/") + f.name + "/" + s.name;
            benchmark::RegisterBenchmark(
                name.c_str(), [&f, loop = s.loop](benchmark::State &st) { run(st, f, loop); })
                ->Arg(1000)
                ->Arg(1000000);
        }
        // Each slot's kernel in cache, for tools/arq_costs.py.
        for (int slot = 0; slot < 3; ++slot) {
            const std::string name =
                std::string("BM_vm/") + f.name + "/slot" + std::to_string(slot);
            benchmark::RegisterBenchmark(name.c_str(), [&f, slot](benchmark::State &st) {
                run(st, f, f.slots[slot]);
            })->Arg(1000);
        }
    }
    return true;
}();

}  // namespace
