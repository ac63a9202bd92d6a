// SFMT19937 and the uniform-bits kernels at n = 1000 and 1,000,000 numbers, beside libstdc++'s
// std::mt19937 (std::mt19937_64 for 64-bit words) one number at a time, and dSFMT's array fill
// of doubles on [0, 1) when its library is installed. Items are 32-bit words, doubles or 64-bit
// words as the name says; each benchmark folds its output into a checksum.
#include <benchmark/benchmark.h>
#include <korb/rng.h>

#include <cstdlib>
#include <random>
#include <vector>

#ifdef KORB_BENCH_HAVE_DSFMT
#define DSFMT_MEXP 19937
#include <dSFMT.h>
#endif

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

void BM_korb_sfmt_doubles(benchmark::State &state) {
    BixStream *s = make_sfmt();
    const int n = static_cast<int>(state.range(0));
    std::vector<double> r(static_cast<size_t>(n));
    for (auto _ : state) {
        __bixdBRngSFMT19937(s, n, r.data(), 0.0, 1.0);
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

template <class T, class Engine, class Draw>
void run_peer(benchmark::State &state, Engine engine, Draw draw) {
    std::vector<T> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (T &v : r) v = draw(engine);
        benchmark::ClobberMemory();
    }
    report(state, r.data(), r.size());
}

void BM_mt19937_words(benchmark::State &state) {
    run_peer<uint32_t>(state, std::mt19937(7), [](std::mt19937 &e) { return e(); });
}

void BM_mt19937_doubles(benchmark::State &state) {
    std::uniform_real_distribution<double> u(0.0, 1.0);
    run_peer<double>(state, std::mt19937(7), [&u](std::mt19937 &e) { return u(e); });
}

void BM_mt19937_64_words(benchmark::State &state) {
    run_peer<uint64_t>(state, std::mt19937_64(7), [](std::mt19937_64 &e) { return e(); });
}

#ifdef KORB_BENCH_HAVE_DSFMT
// dSFMT fills an array of doubles on [0, 1) straight from its state recursion (the array must
// be 16-byte aligned, of even size and at least its state's size).
void BM_dsfmt_fill_doubles(benchmark::State &state) {
    dsfmt_t dsfmt;
    dsfmt_init_gen_rand(&dsfmt, 7);
    const size_t n = static_cast<size_t>(state.range(0));
    auto *r = static_cast<double *>(std::aligned_alloc(16, n * sizeof(double)));
    for (auto _ : state) {
        dsfmt_fill_array_close_open(&dsfmt, r, static_cast<ptrdiff_t>(n));
        benchmark::ClobberMemory();
    }
    report(state, r, n);
    std::free(r);
}
BENCHMARK(BM_dsfmt_fill_doubles)->Arg(1000)->Arg(1000000);
#endif

BENCHMARK(BM_korb_sfmt_words)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_korb_sfmt_doubles)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_korb_sfmt_bits32)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_korb_sfmt_bits64)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_mt19937_words)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_mt19937_doubles)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_mt19937_64_words)->Arg(1000)->Arg(1000000);

}  // namespace
