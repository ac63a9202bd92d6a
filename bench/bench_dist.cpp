// Every kernel of the distribution list (distributions/distributions.def) in each precision and
// method, filling arrays of n = 1000 and 1,000,000 variates from an MCG31M1 stream with the
// list's default parameters (korb rng's): BM_korb_dist/<p><Kernel>/<method>/<n>. Beside them their
// peers drawing one variate at a time, with the same parameters: for the Gaussian libstdc++'s
// normal_distribution (polar method) on std::mt19937, GSL's polar Box-Muller and ziggurat on its
// MT19937, and Boost.Random's ziggurat on its mt19937 (when its headers are there); for the
// other kernels libstdc++'s distribution of the family where it has one and GSL's gsl_ran_*.
// Items are variates. The word kernels (bits, bits32, bits64) need a generator with a bits
// conversion; the generator benchmarks measure them.
#include <benchmark/benchmark.h>
#include <korb/kernel/rng.h>

#include <random>
#include <string>
#include <vector>

#include "distributions/list_kernels.h"

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

namespace list = korb::dist::list;

template <class T>
void finish(benchmark::State &state, const std::vector<T> &r) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(r.size()));
    state.counters["checksum"] = static_cast<double>(r[r.size() / 2]) + r.back();
}

// The kernel filling r with n variates, again and again, on one stream.
template <class T, class Kernel>
void BM_korb_dist(benchmark::State &state, Kernel kernel, int method, const double *p) {
    BixStream *s = nullptr;
    const uint32_t seed = 7;
    __bixNewStreamEx(&s, BIX_BRNG_MCG31M1, 1, &seed);
    std::vector<T> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        kernel(method, s, static_cast<int>(r.size()), r.data(), p);
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

// libstdc++'s integer distributions, into an int array.
template <class Dist>
void BM_libstdcxx_int(benchmark::State &state, Dist dist) {
    std::mt19937 engine(7);
    std::vector<int> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (int &x : r) x = static_cast<int>(dist(engine));
        benchmark::ClobberMemory();
    }
    finish(state, r);
}
BENCHMARK_CAPTURE(BM_libstdcxx_int, uniform_int, std::uniform_int_distribution<int>(0, 1))
    ->Arg(1000000);
BENCHMARK_CAPTURE(BM_libstdcxx_int, bernoulli, std::bernoulli_distribution(0.5))->Arg(1000000);
BENCHMARK_CAPTURE(BM_libstdcxx_int, geometric, std::geometric_distribution<int>(0.5))->Arg(1000000);

template <class Dist>
void BM_libstdcxx(benchmark::State &state, Dist dist) {
    std::mt19937 engine(7);
    fill_by_one(state, [&] { return dist(engine); });
}
BENCHMARK_CAPTURE(BM_libstdcxx, exponential, std::exponential_distribution<double>(1.0))
    ->Arg(1000000);
BENCHMARK_CAPTURE(BM_libstdcxx, weibull, std::weibull_distribution<double>(1.0, 1.0))->Arg(1000000);
BENCHMARK_CAPTURE(BM_libstdcxx, cauchy, std::cauchy_distribution<double>(0.0, 1.0))->Arg(1000000);
BENCHMARK_CAPTURE(BM_libstdcxx, lognormal, std::lognormal_distribution<double>(0.0, 1.0))
    ->Arg(1000000);
BENCHMARK_CAPTURE(BM_libstdcxx, extreme_value, std::extreme_value_distribution<double>(0.0, 1.0))
    ->Arg(1000000);

#ifdef KORB_BENCH_HAVE_GSL
template <class Draw>
void BM_gsl(benchmark::State &state, Draw draw) {
    gsl_rng *g = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(g, 7);
    fill_by_one(state, [&] { return draw(g); });
    gsl_rng_free(g);
}
BENCHMARK_CAPTURE(BM_gsl, exponential, [](gsl_rng *g) {
    return gsl_ran_exponential(g, 1.0);
})->Arg(1000000);
BENCHMARK_CAPTURE(BM_gsl, laplace, [](gsl_rng *g) {
    return gsl_ran_laplace(g, 1.0);
})->Arg(1000000);
BENCHMARK_CAPTURE(BM_gsl, weibull, [](gsl_rng *g) {
    return gsl_ran_weibull(g, 1.0, 1.0);
})->Arg(1000000);
BENCHMARK_CAPTURE(BM_gsl, cauchy, [](gsl_rng *g) { return gsl_ran_cauchy(g, 1.0); })->Arg(1000000);
BENCHMARK_CAPTURE(BM_gsl, rayleigh, [](gsl_rng *g) {
    return gsl_ran_rayleigh(g, 1.0);
})->Arg(1000000);
BENCHMARK_CAPTURE(BM_gsl, lognormal, [](gsl_rng *g) {
    return gsl_ran_lognormal(g, 0.0, 1.0);
})->Arg(1000000);
BENCHMARK_CAPTURE(BM_gsl, gumbel1, [](gsl_rng *g) {
    return gsl_ran_gumbel1(g, 1.0, 1.0);
})->Arg(1000000);
#endif

// Registers the kernel of entry e in one precision, with each of its methods.
template <class T, class Kernel>
void add(const list::Entry &e, const char *precision, Kernel kernel) {
    if (kernel == nullptr) return;
    for (int m = 0; m < e.method_count; ++m) {
        const std::string name =
            std::string("BM_korb_dist/") + precision + e.kernel + "/" + e.methods[m].name;
        const int method = e.methods[m].id;
        benchmark::RegisterBenchmark(name.c_str(),
                                     [&e, kernel, method](benchmark::State &state) {
                                         double p[list::kMaxParams];
                                         for (int k = 0; k < e.param_count; ++k) {
                                             p[k] = e.params[k].fallback;
                                         }
                                         BM_korb_dist<T>(state, kernel, method, p);
                                     })
            ->Arg(1000)
            ->Arg(1000000);
    }
}

const bool registered = [] {
    for (int i = 0; i < list::kEntryCount; ++i) {
        const list::Entry &e = list::kEntries[i];
        const list::Kernels &k = list::kKernels[i];
        add<double>(e, "d", k.d);
        add<float>(e, "s", k.s);
        add<int>(e, "i", k.i);
    }
    return true;
}();

}  // namespace
