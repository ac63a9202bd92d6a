// Sobol points in dimension 1, 10 and 1000 as doubles on [0, 1), beside GSL's gsl_qrng_sobol
// (dimension 40 at most) filling the same number of coordinates point by point. Items are
// coordinates; n = 1000 and 1,000,000 of them per call. bench/scipy_sobol.py times scipy's
// unscrambled Sobol sampler on the same shapes.
#include <benchmark/benchmark.h>
#include <gsl/gsl_qrng.h>
#include <korb/kernel/rng.h>

#include <vector>

namespace {

void report(benchmark::State &state, const std::vector<double> &r) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(r.size()));
    state.counters["checksum"] = r[r.size() / 2] + r.back();
}

void BM_korb_sobol(benchmark::State &state) {
    const uint32_t d = static_cast<uint32_t>(state.range(0));
    BixStream *s = nullptr;
    __bixNewStreamEx(&s, BIX_BRNG_SOBOL, 1, &d);
    std::vector<double> r(static_cast<size_t>(state.range(1)));
    for (auto _ : state) {
        // Dimension 1 runs through the 2^32 - 1 points in a few thousand calls: start again.
        if (__bixdBRngSobol(s, static_cast<int>(r.size()), r.data(), 0.0, 1.0) != 0) {
            __bixBRngSobolInitStream(BIX_INIT_METHOD_STANDARD, s, 1, &d);
        }
        benchmark::ClobberMemory();
    }
    report(state, r);
    __bixDeleteStream(&s);
}

void BM_gsl_sobol(benchmark::State &state) {
    const size_t d = static_cast<size_t>(state.range(0));
    gsl_qrng *q = gsl_qrng_alloc(gsl_qrng_sobol, static_cast<unsigned>(d));
    std::vector<double> r(static_cast<size_t>(state.range(1)));
    for (auto _ : state) {
        for (size_t i = 0; i + d <= r.size(); i += d) gsl_qrng_get(q, r.data() + i);
        benchmark::ClobberMemory();
    }
    report(state, r);
    gsl_qrng_free(q);
}

BENCHMARK(BM_korb_sobol)->ArgsProduct({{1, 10, 1000}, {1000, 1000000}});
BENCHMARK(BM_gsl_sobol)->ArgsProduct({{1, 10}, {1000, 1000000}});

}  // namespace
