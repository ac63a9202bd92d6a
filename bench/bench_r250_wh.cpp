// Peers of R250 and the Wichmann-Hill set, beside the korb benchmarks of the same generators in
// bench_rng.cpp (same n, same kind of output):
// - R250 integers: GSL's gsl_rng_r250 (the same sequence for the same seed) through
//   gsl_rng_get, when GSL is found at build time, and libstdc++'s std::mt19937;
// - Wichmann-Hill doubles on [0, 1): the textbook loop of member 0's four recurrences with `%`
//   and four divisions per number, the way the combination is usually written.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#ifdef KORB_BENCH_HAVE_GSL
#include <gsl/gsl_rng.h>
#endif

namespace {

struct WhComponent {
    uint32_t m, a;
};
struct WhMember {
    WhComponent c[4];
};
const WhMember kWh[] = {
#include "rng/brng/wh_params.inc"
};

template <class T>
void report(benchmark::State &state, const std::vector<T> &r) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(r.size()));
    state.counters["checksum"] = static_cast<double>(r[r.size() / 2]) + r.back();
}

#ifdef KORB_BENCH_HAVE_GSL
void BM_gsl_r250_ints(benchmark::State &state) {
    gsl_rng *g = gsl_rng_alloc(gsl_rng_r250);
    gsl_rng_set(g, 7);
    std::vector<uint32_t> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (uint32_t &v : r) v = static_cast<uint32_t>(gsl_rng_get(g));
        benchmark::ClobberMemory();
    }
    report(state, r);
    gsl_rng_free(g);
}
BENCHMARK(BM_gsl_r250_ints)->Arg(1000)->Arg(1000000);
#endif

void BM_libstdcxx_mt19937_ints(benchmark::State &state) {
    std::mt19937 e(7);
    std::vector<uint32_t> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (uint32_t &v : r) v = static_cast<uint32_t>(e());
        benchmark::ClobberMemory();
    }
    report(state, r);
}
BENCHMARK(BM_libstdcxx_mt19937_ints)->Arg(1000)->Arg(1000000);

void BM_textbook_wh_doubles(benchmark::State &state) {
    const WhMember &p = kWh[0];
    uint64_t x[4] = {7 % p.c[0].m, 1, 1, 1};
    std::vector<double> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (double &v : r) {
            double s = 0;
            for (int c = 0; c < 4; ++c) {
                x[c] = p.c[c].a * x[c] % p.c[c].m;
                s += static_cast<double>(x[c]) / p.c[c].m;
            }
            v = s - std::floor(s);
        }
        benchmark::ClobberMemory();
    }
    report(state, r);
}
BENCHMARK(BM_textbook_wh_doubles)->Arg(1000)->Arg(1000000);

}  // namespace
