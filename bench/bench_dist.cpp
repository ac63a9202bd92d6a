// Distribution kernels filling arrays of n = 1000 and 1,000,000 variates from an MCG31M1 stream,
// beside their peers drawing one variate at a time: for the Gaussian libstdc++'s
// normal_distribution (polar method) on std::mt19937, GSL's polar Box-Muller and ziggurat on its
// MT19937, and Boost.Random's ziggurat on its mt19937 (when its headers are there); for the
// inversion kernels libstdc++'s distribution of the family where it has one and GSL's gsl_ran_*.
// Items are variates.
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

// A kernel of other parameters, called as draw(stream, n, r).
template <class T, class Draw>
void BM_korb_dist3(benchmark::State &state, Draw draw) {
    BixStream *s = nullptr;
    const uint32_t seed = 7;
    __bixNewStreamEx(&s, BIX_BRNG_MCG31M1, 1, &seed);
    std::vector<T> r(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        draw(s, static_cast<int>(r.size()), r.data());
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
BENCHMARK_CAPTURE(BM_libstdcxx_int, uniform_int, std::uniform_int_distribution<int>(-5, 4))
    ->Arg(1000000);
BENCHMARK_CAPTURE(BM_libstdcxx_int, bernoulli, std::bernoulli_distribution(0.3))->Arg(1000000);
BENCHMARK_CAPTURE(BM_libstdcxx_int, geometric, std::geometric_distribution<int>(0.2))->Arg(1000000);

template <class Dist>
void BM_libstdcxx(benchmark::State &state, Dist dist) {
    std::mt19937 engine(7);
    fill_by_one(state, [&] { return dist(engine); });
}
BENCHMARK_CAPTURE(BM_libstdcxx, exponential, std::exponential_distribution<double>(1.0))
    ->Arg(1000000);
BENCHMARK_CAPTURE(BM_libstdcxx, weibull, std::weibull_distribution<double>(1.5, 1.0))->Arg(1000000);
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
    return gsl_ran_weibull(g, 1.0, 1.5);
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

template <class T, int (*Kernel)(int, BixStream *, int, T *, T, T)>
void add(const char *name, int method, T p1, T p2) {
    benchmark::RegisterBenchmark(
        name, [=](benchmark::State &state) { BM_korb_dist<T, Kernel>(state, method, p1, p2); })
        ->Arg(1000)
        ->Arg(1000000);
}

const bool registered = [] {
    add<double, _bixdRngUniform>("BM_korb_dist/dUniform", BIX_RNG_METHOD_UNIFORM_STD, 0, 1);
    add<double, _bixdRngUniform>("BM_korb_dist/dUniformAccurate",
                                 BIX_RNG_METHOD_UNIFORM_STD_ACCURATE, 0, 1);
    add<double, _bixdRngGaussian>("BM_korb_dist/dGaussianBoxMuller",
                                  BIX_RNG_METHOD_GAUSSIAN_BOXMULLER, 0, 1);
    add<double, _bixdRngGaussian>("BM_korb_dist/dGaussianBoxMuller2",
                                  BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, 0, 1);
    add<double, _bixdRngGaussian>("BM_korb_dist/dGaussianICDF", BIX_RNG_METHOD_GAUSSIAN_ICDF, 0, 1);
    add<float, _bixsRngGaussian>("BM_korb_dist/sGaussianBoxMuller",
                                 BIX_RNG_METHOD_GAUSSIAN_BOXMULLER, 0, 1);
    add<float, _bixsRngGaussian>("BM_korb_dist/sGaussianBoxMuller2",
                                 BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, 0, 1);
    add<float, _bixsRngGaussian>("BM_korb_dist/sGaussianICDF", BIX_RNG_METHOD_GAUSSIAN_ICDF, 0, 1);
    // The inversion kernels, in both precisions.
    add<double, _bixdRngExponential>("BM_korb_dist/dExponential", 0, 0, 1);
    add<float, _bixsRngExponential>("BM_korb_dist/sExponential", 0, 0, 1);
    add<double, _bixdRngLaplace>("BM_korb_dist/dLaplace", 0, 0, 1);
    add<float, _bixsRngLaplace>("BM_korb_dist/sLaplace", 0, 0, 1);
    add<double, _bixdRngCauchy>("BM_korb_dist/dCauchy", 0, 0, 1);
    add<float, _bixsRngCauchy>("BM_korb_dist/sCauchy", 0, 0, 1);
    add<double, _bixdRngRayleigh>("BM_korb_dist/dRayleigh", 0, 0, 1);
    add<float, _bixsRngRayleigh>("BM_korb_dist/sRayleigh", 0, 0, 1);
    add<double, _bixdRngGumbel>("BM_korb_dist/dGumbel", 0, 0, 1);
    add<float, _bixsRngGumbel>("BM_korb_dist/sGumbel", 0, 0, 1);
    const auto add3 = [](const char *name, auto kernel) {
        benchmark::RegisterBenchmark(name, kernel)->Arg(1000)->Arg(1000000);
    };
    add3("BM_korb_dist/dWeibull", [](benchmark::State &state) {
        BM_korb_dist3<double>(state, [](BixStream *s, int n, double *r) {
            return _bixdRngWeibull(0, s, n, r, 1.5, 0.0, 1.0);
        });
    });
    add3("BM_korb_dist/sWeibull", [](benchmark::State &state) {
        BM_korb_dist3<float>(state, [](BixStream *s, int n, float *r) {
            return _bixsRngWeibull(0, s, n, r, 1.5f, 0.0f, 1.0f);
        });
    });
    add3("BM_korb_dist/dLognormal", [](benchmark::State &state) {
        BM_korb_dist3<double>(state, [](BixStream *s, int n, double *r) {
            return _bixdRngLognormal(0, s, n, r, 0.0, 1.0, 0.0, 1.0);
        });
    });
    add3("BM_korb_dist/sLognormal", [](benchmark::State &state) {
        BM_korb_dist3<float>(state, [](BixStream *s, int n, float *r) {
            return _bixsRngLognormal(0, s, n, r, 0.0f, 1.0f, 0.0f, 1.0f);
        });
    });
    add3("BM_korb_dist/iUniform", [](benchmark::State &state) {
        BM_korb_dist3<int>(
            state, [](BixStream *s, int n, int *r) { return _bixiRngUniform(0, s, n, r, -5, 5); });
    });
    add3("BM_korb_dist/iBernoulli", [](benchmark::State &state) {
        BM_korb_dist3<int>(
            state, [](BixStream *s, int n, int *r) { return _bixiRngBernoulli(0, s, n, r, 0.3); });
    });
    add3("BM_korb_dist/iGeometric", [](benchmark::State &state) {
        BM_korb_dist3<int>(
            state, [](BixStream *s, int n, int *r) { return _bixiRngGeometric(0, s, n, r, 0.2); });
    });
    return true;
}();

}  // namespace
