// SFMT19937 as 32-bit words and through the uniform-bits kernels at n = 1000 and 1,000,000
// numbers (its doubles, floats and 128-bit words are BM_korb_*<BIX_BRNG_SFMT19937> of
// bench_rng.cpp). Their peers run in the same binary: std::mt19937 words and doubles
// (BM_libstdcxx_mt19937_*), std::mt19937_64 words (BM_mt19937_64_ints) and dSFMT's array fill
// of doubles (BM_dsfmt_fill_doubles, when its library is installed). Items are 32-bit words or
// 64-bit words as the name says; each benchmark folds its output into a checksum.
#include <benchmark/benchmark.h>
#include <korb/kernel/rng.h>

#include <vector>

namespace {

template <class T>
void report(benchmark::State &state, const T *r, size_t n) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
    state.counters["checksum"] = static_cast<double>(r[n / 2]) + static_cast<double>(r[n - 1]);
}

BixStream *make_sfmt() {
    BixStream *s = nullptr;
    const uint32_t seed = 7;
    __bixNewStreamEx(&s, BIX_BRNG_SFMT19937, 1, &seed);
    return s;
}

// n 32-bit words as n / 4 128-bit words of iGen.
void BM_korb_sfmt_words(benchmark::State &state) {
    BixStream *s = make_sfmt();
    const int n = static_cast<int>(state.range(0));
    std::vector<uint32_t> r(static_cast<size_t>(n));
    for (auto _ : state) {
        __bixiBRngSFMT19937(s, n / 4, r.data());
        benchmark::ClobberMemory();
    }
    report(state, r.data(), r.size());
    __bixDeleteStream(&s);
}

void BM_korb_sfmt_bits32(benchmark::State &state) {
    BixStream *s = make_sfmt();
    const int n = static_cast<int>(state.range(0));
    std::vector<uint32_t> r(static_cast<size_t>(n));
    for (auto _ : state) {
        _bixiRngUniformBits32(BIX_RNG_METHOD_UNIFORMBITS32_STD, s, n, r.data());
        benchmark::ClobberMemory();
    }
    report(state, r.data(), r.size());
    __bixDeleteStream(&s);
}

void BM_korb_sfmt_bits64(benchmark::State &state) {
    BixStream *s = make_sfmt();
    const int n = static_cast<int>(state.range(0));
    std::vector<uint64_t> r(static_cast<size_t>(n));
    for (auto _ : state) {
        _bixiRngUniformBits64(BIX_RNG_METHOD_UNIFORMBITS64_STD, s, n, r.data());
        benchmark::ClobberMemory();
    }
    report(state, r.data(), r.size());
    __bixDeleteStream(&s);
}

BENCHMARK(BM_korb_sfmt_words)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_korb_sfmt_bits32)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_korb_sfmt_bits64)->Arg(1000)->Arg(1000000);

}  // namespace
