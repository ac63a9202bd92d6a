// Distribution kernels filling arrays of n = 1000 and 1,000,000 variates from an MCG31M1 stream,
// beside their peers drawing one variate at a time: libstdc++'s normal_distribution (polar
// method) on std::mt19937, GSL's polar Box-Muller and ziggurat on its MT19937, and Boost.Random's
// ziggurat on its mt19937 (when its headers are there). Items are variates.
#include <benchmark/benchmark.h>
#include <korb/rng.h>

#include <random>
#include <vector>

#ifdef KORB_BENCH_HAVE_GSL
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>
#endif
#if __has_include(<boost/random/normal_distribution.hpp>)
#include <boost/random/mersenne_twister.hpp>
#include <boost/random/normal_distribution.hpp>
#define KORB_BENCH_HAVE_BOOST 1
#endif

namespace {

template <class T>
void finish(benchmark::State &state, const std::vector<T> &r) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(r.size()));
    state.counters["checksum"] = static_cast<double>(r[r.size() / 2]) + r.back();
}

template <class T, int (*Kernel)(int, BixStream *, int, T *, T, T)>
void BM_korb_dist(benchmark::State &state, int method, T p1, T p2) {
    BixStream *s = nullptr;
    const uint32_t seed = 7;
    __bixNewStreamEx(&s, BIX_BRNG_MCG31M1, 1, &seed);
    const int n = static_cast<int>(state.range(0));
    std::vector<T> r(static_cast<size_t>(n));
    for (auto _ : state) {
        Kernel(method, s, n, r.data(), p1, p2);
        benchmark::ClobberMemory();
    }
    finish(state, r);
    __bixDeleteStream(&s);
}

// A peer drawing one variate at a time with draw().
template <class Draw>
void fill_by_one(benchmark::State &state, Draw draw) {
    std::vector<double> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (double &x : r) x = draw();
        benchmark::ClobberMemory();
    }
    finish(state, r);
}

void BM_libstdcxx_normal(benchmark::State &state) {
    std::mt19937 engine(7);
    std::normal_distribution<double> normal(0.0, 1.0);
    fill_by_one(state, [&] { return normal(engine); });
}

#ifdef KORB_BENCH_HAVE_GSL
template <double (*Draw)(const gsl_rng *, double)>
void BM_gsl_normal(benchmark::State &state) {
    gsl_rng *g = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(g, 7);
    fill_by_one(state, [&] { return Draw(g, 1.0); });
    gsl_rng_free(g);
}
BENCHMARK(BM_gsl_normal<gsl_ran_gaussian>)->Name("BM_gsl_gaussian_polar")->Arg(1000)->Arg(1000000);
BENCHMARK(BM_gsl_normal<gsl_ran_gaussian_ziggurat>)
    ->Name("BM_gsl_gaussian_ziggurat")
    ->Arg(1000)
    ->Arg(1000000);
#endif

#ifdef KORB_BENCH_HAVE_BOOST
void BM_boost_normal_ziggurat(benchmark::State &state) {
    boost::random::mt19937 engine(7);
    boost::random::normal_distribution<double> normal(0.0, 1.0);
    fill_by_one(state, [&] { return normal(engine); });
}
BENCHMARK(BM_boost_normal_ziggurat)->Arg(1000)->Arg(1000000);
#endif

BENCHMARK(BM_libstdcxx_normal)->Arg(1000)->Arg(1000000);

template <class T, int (*Kernel)(int, BixStream *, int, T *, T, T)>
void add(const char *name, int method, T p1, T p2) {
    benchmark::RegisterBenchmark(name, [=](benchmark::State &state) {
        BM_korb_dist<T, Kernel>(state, method, p1, p2);
    })->Arg(1000)->Arg(1000000);
}

const bool registered = [] {
    add<double, _bixdRngUniform>("BM_korb_dist/dUniform", BIX_RNG_METHOD_UNIFORM_STD, 0, 1);
    add<double, _bixdRngUniform>("BM_korb_dist/dUniformAccurate",
                                 BIX_RNG_METHOD_UNIFORM_STD_ACCURATE, 0, 1);
    add<double, _bixdRngGaussian>("BM_korb_dist/dGaussianBoxMuller",
                                  BIX_RNG_METHOD_GAUSSIAN_BOXMULLER, 0, 1);
    add<double, _bixdRngGaussian>("BM_korb_dist/dGaussianBoxMuller2",
                                  BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, 0, 1);
    add<double, _bixdRngGaussian>("BM_korb_dist/dGaussianICDF", BIX_RNG_METHOD_GAUSSIAN_ICDF, 0,
                                  1);
    add<float, _bixsRngGaussian>("BM_korb_dist/sGaussianBoxMuller",
                                 BIX_RNG_METHOD_GAUSSIAN_BOXMULLER, 0, 1);
    add<float, _bixsRngGaussian>("BM_korb_dist/sGaussianBoxMuller2",
                                 BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, 0, 1);
    add<float, _bixsRngGaussian>("BM_korb_dist/sGaussianICDF", BIX_RNG_METHOD_GAUSSIAN_ICDF, 0, 1);
    return true;
}();

}  // namespace
