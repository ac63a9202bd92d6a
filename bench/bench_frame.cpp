// Memory services: an allocate/release pair through the resolved core-library slots against
// glibc's posix_memalign/free with the same alignment, for blocks of 1000 and 1,000,000 bytes.
// Shows what the run-time resolution costs once the slots are filled: one indirect call each.
//
// glibc moves its mmap threshold after the first large free and trims the heap top after large
// frees, both depending on what ran before; fixed thresholds keep every block on the heap and
// the heap untrimmed, so each benchmark measures the same allocator work.
#include <benchmark/benchmark.h>
#include <korb/kernel/frame.h>
#include <malloc.h>

#include <cstdlib>

namespace {

const int kFixedThresholds =
    mallopt(M_MMAP_THRESHOLD, 64 << 20) + mallopt(M_TRIM_THRESHOLD, 256 << 20);

template <void *(*Alloc)(size_t, int), void (*Release)(void *), int Align>
void BM_korb(benchmark::State &state) {
    const size_t n = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void *p = Alloc(n, Align);
        benchmark::DoNotOptimize(p);
        Release(p);
    }
    state.SetItemsProcessed(state.iterations());
}

template <int Align>
void BM_glibc_posix_memalign(benchmark::State &state) {
    const size_t n = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void *p = nullptr;
        if (posix_memalign(&p, Align, n) != 0) state.SkipWithError("posix_memalign failed");
        benchmark::DoNotOptimize(p);
        std::free(p);
    }
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(BM_korb<korbMalloc, korbFree, 64>)->Name("korbMalloc_64")->Arg(1000)->Arg(1000000);
BENCHMARK(BM_glibc_posix_memalign<64>)->Name("glibc_posix_memalign_64")->Arg(1000)->Arg(1000000);
BENCHMARK(BM_korb<korbAlignedAlloc, korbAlignedFree, 128>)
    ->Name("korbAlignedAlloc_128")
    ->Arg(1000)
    ->Arg(1000000);
BENCHMARK(BM_glibc_posix_memalign<128>)->Name("glibc_posix_memalign_128")->Arg(1000)->Arg(1000000);
