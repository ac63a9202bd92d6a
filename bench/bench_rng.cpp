// Basic generators filling arrays of n = 1000 and 1,000,000 numbers, beside libstdc++'s engine
// with the same parameters (x(i+1) = 1132489760 x(i) mod 2^31 - 1): its raw integers, and
// doubles through std::uniform_real_distribution. Items are numbers generated; each benchmark
// folds its output into a checksum so nothing is optimised away.
#include <benchmark/benchmark.h>
#include <korb/rng.h>

#include <random>
#include <vector>

namespace {

using Engine = std::linear_congruential_engine<uint_fast32_t, 1132489760, 0, 2147483647>;

template <class T>
void report(benchmark::State &state, const std::vector<T> &r) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(r.size()));
    state.counters["checksum"] = static_cast<double>(r[r.size() / 2]) + r.back();
}

BixStream *make(int brng) {
    BixStream *s = nullptr;
    const uint32_t seed = 7;
    __bixNewStreamEx(&s, brng, 1, &seed);
    return s;
}

// One call of the row's generation function for the element type of r.
int fill(const BrngProperties &p, BixStream *s, std::vector<uint32_t> &r) {
    return p.iGen(s, static_cast<int>(r.size()), r.data());
}
int fill(const BrngProperties &p, BixStream *s, std::vector<double> &r) {
    return p.dGen(s, static_cast<int>(r.size()), r.data(), 0.0, 1.0);
}
int fill(const BrngProperties &p, BixStream *s, std::vector<float> &r) {
    return p.sGen(s, static_cast<int>(r.size()), r.data(), 0.0f, 1.0f);
}

template <int Brng, class T>
void BM_korb(benchmark::State &state) {
    BixStream *s = make(Brng);
    BrngProperties p{};
    __bixGetBrngProperties(Brng, &p);
    std::vector<T> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        fill(p, s, r);
        benchmark::ClobberMemory();
    }
    report(state, r);
    __bixDeleteStream(&s);
}

void BM_libstdcxx_ints(benchmark::State &state) {
    Engine e(7);
    std::vector<uint32_t> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (uint32_t &v : r) v = static_cast<uint32_t>(e());
        benchmark::ClobberMemory();
    }
    report(state, r);
}

void BM_libstdcxx_doubles(benchmark::State &state) {
    Engine e(7);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    std::vector<double> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (double &v : r) v = u(e);
        benchmark::ClobberMemory();
    }
    report(state, r);
}

#define KORB_BENCH_SIZES ->Arg(1000)->Arg(1000000)

// The generators benchmarked; a generator joins with one line.
#define KORB_BENCH_BRNG(brng)                                                              \
    BENCHMARK(BM_korb<brng, uint32_t>)->Name("BM_korb_ints<" #brng ">") KORB_BENCH_SIZES;  \
    BENCHMARK(BM_korb<brng, double>)->Name("BM_korb_doubles<" #brng ">") KORB_BENCH_SIZES; \
    BENCHMARK(BM_korb<brng, float>)->Name("BM_korb_floats<" #brng ">") KORB_BENCH_SIZES;

KORB_BENCH_BRNG(BIX_BRNG_MCG31M1)
KORB_BENCH_BRNG(BIX_BRNG_SOBOL)
KORB_BENCH_BRNG(BIX_BRNG_NIEDERR)
BENCHMARK(BM_libstdcxx_ints) KORB_BENCH_SIZES;
BENCHMARK(BM_libstdcxx_doubles) KORB_BENCH_SIZES;

}  // namespace
