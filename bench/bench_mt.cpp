// Peers of MT19937 and the MT2203 set, beside their korb benchmarks in bench_rng.cpp (same n;
// the loop of libstdc++ std::mt19937 calls for integers is BM_libstdcxx_mt19937_ints in
// bench_r250_wh.cpp):
// - libstdc++ std::mt19937 through std::uniform_real_distribution<double>, one call a number;
// - GSL's gsl_rng_mt19937: gsl_rng_get for integers, gsl_rng_uniform for doubles;
// - dSFMT (the double-precision SIMD twister of period 2^19937 - 1, Debian's libdsfmt-dev) when
//   found at build time: its fill function for doubles on [0, 1), and dsfmt_genrand_uint32 one
//   call an integer.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include <gsl/gsl_rng.h>

#ifdef KORB_BENCH_HAVE_DSFMT
#define DSFMT_MEXP 19937
#define HAVE_SSE2 1
#include <dSFMT.h>
#endif

namespace {

template <class T>
void report(benchmark::State &state, const std::vector<T> &r) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(r.size()));
    state.counters["checksum"] = static_cast<double>(r[r.size() / 2]) + r.back();
}

void BM_libstdcxx_mt19937_doubles(benchmark::State &state) {
    std::mt19937 e(7);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    std::vector<double> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (double &v : r) v = u(e);
        benchmark::ClobberMemory();
    }
    report(state, r);
}
BENCHMARK(BM_libstdcxx_mt19937_doubles)->Arg(1000)->Arg(1000000);

template <class T>
void gsl_mt19937(benchmark::State &state) {
    gsl_rng *g = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(g, 7);
    std::vector<T> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (T &v : r) {
            if constexpr (std::is_same_v<T, double>) {
                v = gsl_rng_uniform(g);
            } else {
                v = static_cast<uint32_t>(gsl_rng_get(g));
            }
        }
        benchmark::ClobberMemory();
    }
    report(state, r);
    gsl_rng_free(g);
}
void BM_gsl_mt19937_ints(benchmark::State &state) {
    gsl_mt19937<uint32_t>(state);
}
void BM_gsl_mt19937_doubles(benchmark::State &state) {
    gsl_mt19937<double>(state);
}
BENCHMARK(BM_gsl_mt19937_ints)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_gsl_mt19937_doubles)->Arg(1000)->Arg(1000000);

#ifdef KORB_BENCH_HAVE_DSFMT
void BM_dsfmt_fill_doubles(benchmark::State &state) {
    dsfmt_t d;
    dsfmt_init_gen_rand(&d, 7);
    std::vector<double> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        dsfmt_fill_array_close_open(&d, r.data(), static_cast<ptrdiff_t>(r.size()));
        benchmark::ClobberMemory();
    }
    report(state, r);
}
BENCHMARK(BM_dsfmt_fill_doubles)->Arg(1000)->Arg(1000000);

void BM_dsfmt_ints(benchmark::State &state) {
    dsfmt_t d;
    dsfmt_init_gen_rand(&d, 7);
    std::vector<uint32_t> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (uint32_t &v : r) v = dsfmt_genrand_uint32(&d);
        benchmark::ClobberMemory();
    }
    report(state, r);
}
BENCHMARK(BM_dsfmt_ints)->Arg(1000)->Arg(1000000);
#endif

}  // namespace
