// The public layer's cost: each libkorb entry point side by side with the kernel entry point it
// reaches, at sizes where the per-call overhead shows (1, 100) and where it must vanish (10^6).
#include <benchmark/benchmark.h>

#include <vector>

#include "korb/kernel/rng.h"
#include "korb/kernel/vm.h"
#include "korb/korb.h"

namespace {

std::vector<double> exp_arguments(size_t n) {
    std::vector<double> a(n);
    for (size_t i = 0; i < n; ++i) a[i] = -10.0 + 20.0 * static_cast<double>(i % 1000) / 1000;
    return a;
}

template <void (*kExp)(int, const double *, double *)>
void BM_exp(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<double> a = exp_arguments(static_cast<size_t>(n));
    std::vector<double> r(static_cast<size_t>(n));
    for (auto _ : state) {
        kExp(n, a.data(), r.data());
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_exp<vdExp>)->Name("BM_public_vdExp")->Arg(1)->Arg(100)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_exp<_arqdExp>)->Name("BM_kernel_arqdExp")->Arg(1)->Arg(100)->Arg(1000)->Arg(1000000);

template <class Call>
void gaussian(benchmark::State &state, Call call) {
    const int n = static_cast<int>(state.range(0));
    BixStream *s = nullptr;
    if (bixNewStream(&s, BIX_BRNG_MCG59, 1) != 0) state.SkipWithError("no stream");
    std::vector<double> r(static_cast<size_t>(n));
    for (auto _ : state) {
        benchmark::DoNotOptimize(call(s, n, r.data()));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
    bixDeleteStream(&s);
}
void BM_public_bixdRngGaussian(benchmark::State &state) {
    gaussian(state, [](BixStream *s, int n, double *r) {
        return bixdRngGaussian(BIX_RNG_METHOD_GAUSSIAN_ICDF, s, n, r, 0.0, 1.0);
    });
}
void BM_kernel_bixdRngGaussian(benchmark::State &state) {
    gaussian(state, [](BixStream *s, int n, double *r) {
        return _bixdRngGaussian(BIX_RNG_METHOD_GAUSSIAN_ICDF, s, n, r, 0.0, 1.0);
    });
}
BENCHMARK(BM_public_bixdRngGaussian)->Arg(1)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_kernel_bixdRngGaussian)->Arg(1)->Arg(1000)->Arg(1000000);

}  // namespace
