// Every generator of rng/generators.def that generates, filling arrays of n = 1000 and 1,000,000
// raw words, doubles and floats (BM_korb_ints<BIX_BRNG_...> and so on), beside libstdc++'s engine
// with the same parameters (x(i+1) = 1132489760 x(i) mod 2^31 - 1): its raw integers, and
// doubles through std::uniform_real_distribution. For MRG32K3A and MCG59 the peers are
// std::mt19937_64 (raw words, and doubles through std::generate_canonical) and the MRG32k3a
// recurrence as usually written, with remainders. Items are numbers generated; each benchmark
// folds its output into a checksum so nothing is optimised away.
#include <benchmark/benchmark.h>
#include <korb/kernel/rng.h>

#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "rng/generators.h"

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

// One call of the row's generation function for n numbers of the element type of r (integer
// words of wordSize bytes, so r holds n * wordSize / 4 elements).
int fill(const BrngProperties &p, BixStream *s, int n, std::vector<uint32_t> &r) {
    return p.iGen(s, n, r.data());
}
int fill(const BrngProperties &p, BixStream *s, int n, std::vector<double> &r) {
    return p.dGen(s, n, r.data(), 0.0, 1.0);
}
int fill(const BrngProperties &p, BixStream *s, int n, std::vector<float> &r) {
    return p.sGen(s, n, r.data(), 0.0f, 1.0f);
}

template <class T>
void BM_korb(benchmark::State &state, int brng) {
    BixStream *s = make(brng);
    BrngProperties p{};
    __bixGetBrngProperties(brng, &p);
    const int n = static_cast<int>(state.range(0));
    const size_t per_number = std::is_same_v<T, uint32_t> ? p.wordSize / 4 : 1;
    std::vector<T> r(static_cast<size_t>(n) * per_number);
    for (auto _ : state) {
        fill(p, s, n, r);
        benchmark::ClobberMemory();
    }
    report(state, r);
    state.SetItemsProcessed(state.iterations() * n);
    __bixDeleteStream(&s);
}

// A peer filling the array one number at a time with draw(engine).
template <class T, class Engine, class Draw>
void run_peer(benchmark::State &state, Engine engine, Draw draw) {
    std::vector<T> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (T &v : r) v = draw(engine);
        benchmark::ClobberMemory();
    }
    report(state, r);
}

void BM_libstdcxx_ints(benchmark::State &state) {
    run_peer<uint32_t>(state, Engine(7), [](Engine &e) { return static_cast<uint32_t>(e()); });
}

void BM_libstdcxx_doubles(benchmark::State &state) {
    std::uniform_real_distribution<double> u(0.0, 1.0);
    run_peer<double>(state, Engine(7), [&u](Engine &e) { return u(e); });
}

// MRG32k3a as usually written: signed 64-bit products and remainders, one step at a time.
struct TextbookMrg32k3a {
    static constexpr int64_t m1 = 4294967087, m2 = 4294944443;
    int64_t x0 = 7, x1 = 1, x2 = 1, y0 = 1, y1 = 1, y2 = 1;
    uint32_t next() {
        int64_t p1 = (1403580 * x1 - 810728 * x0) % m1;
        if (p1 < 0) p1 += m1;
        x0 = x1, x1 = x2, x2 = p1;
        int64_t p2 = (527612 * y2 - 1370589 * y0) % m2;
        if (p2 < 0) p2 += m2;
        y0 = y1, y1 = y2, y2 = p2;
        return static_cast<uint32_t>(p1 > p2 ? p1 - p2 : p1 - p2 + m1);
    }
};

void BM_textbook_mrg32k3a_ints(benchmark::State &state) {
    run_peer<uint32_t>(state, TextbookMrg32k3a{}, [](TextbookMrg32k3a &g) { return g.next(); });
}

void BM_textbook_mrg32k3a_doubles(benchmark::State &state) {
    run_peer<double>(state, TextbookMrg32k3a{},
                     [](TextbookMrg32k3a &g) { return g.next() * 2.328306549837829e-10; });
}

void BM_mt19937_64_ints(benchmark::State &state) {
    run_peer<uint64_t>(state, std::mt19937_64(7), [](std::mt19937_64 &e) { return e(); });
}

void BM_mt19937_64_doubles(benchmark::State &state) {
    run_peer<double>(state, std::mt19937_64(7),
                     [](std::mt19937_64 &e) { return std::generate_canonical<double, 53>(e); });
}

#define KORB_BENCH_SIZES ->Arg(1000)->Arg(1000000)

// The id constants' names, in list order.
#define KORB_BRNG(ID, ...) "BIX_BRNG_" #ID,
constexpr const char *kIdNames[] = {
#include "rng/generators.def"
};
#undef KORB_BRNG

template <class T>
void register_korb(const char *what, int brng, const char *id_name) {
    const std::string name = std::string("BM_korb_") + what + "<" + id_name + ">";
    benchmark::RegisterBenchmark(name.c_str(), BM_korb<T>, brng) KORB_BENCH_SIZES;
}

// Every generator of the list whose streams generate, in list order.
const bool kRegistered = [] {
    for (int r = 0; r < korb::rng::kGeneratorCount; ++r) {
        const korb::rng::GeneratorInfo &g = korb::rng::kGenerators[r];
        if (!g.generates()) continue;
        register_korb<uint32_t>("ints", g.id, kIdNames[r]);
        register_korb<double>("doubles", g.id, kIdNames[r]);
        register_korb<float>("floats", g.id, kIdNames[r]);
    }
    return true;
}();

BENCHMARK(BM_libstdcxx_ints) KORB_BENCH_SIZES;
BENCHMARK(BM_libstdcxx_doubles) KORB_BENCH_SIZES;
BENCHMARK(BM_textbook_mrg32k3a_ints) KORB_BENCH_SIZES;
BENCHMARK(BM_textbook_mrg32k3a_doubles) KORB_BENCH_SIZES;
BENCHMARK(BM_mt19937_64_ints) KORB_BENCH_SIZES;
BENCHMARK(BM_mt19937_64_doubles) KORB_BENCH_SIZES;

}  // namespace
