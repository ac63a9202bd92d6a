// Memory services: a korbMalloc/korbFree pair through the resolved core-library slots against
// posix_memalign/free called directly (glibc), for blocks of 1000 and 1,000,000 bytes. Shows what
// the run-time resolution costs once the slots are filled: one indirect call per service.
#include <benchmark/benchmark.h>
#include <korb/frame.h>

#include <cstdlib>

namespace {

void BM_korbMalloc(benchmark::State &state) {
    const size_t n = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void *p = korbMalloc(n, 64);
        benchmark::DoNotOptimize(p);
        korbFree(p);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_korbAlignedAlloc(benchmark::State &state) {
    const size_t n = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void *p = korbAlignedAlloc(n, 128);
        benchmark::DoNotOptimize(p);
        korbAlignedFree(p);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_glibc_posix_memalign(benchmark::State &state) {
    const size_t n = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void *p = nullptr;
        if (posix_memalign(&p, 64, n) != 0) state.SkipWithError("posix_memalign failed");
        benchmark::DoNotOptimize(p);
        std::free(p);
    }
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(BM_korbMalloc)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_korbAlignedAlloc)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_glibc_posix_memalign)->Arg(1000)->Arg(1000000);
