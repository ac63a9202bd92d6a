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
#include <tuple>
#include <type_traits>
#include <vector>

#include "distributions/list_kernels.h"

#ifdef KORB_BENCH_HAVE_GSL
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>
#endif
#ifdef KORB_BENCH_HAVE_GSL
#include <gsl/gsl_matrix.h>
#include <gsl/gsl_vector.h>
#endif
#if __has_include(<boost/random/normal_distribution.hpp>)
#include <boost/random/beta_distribution.hpp>
#include <boost/random/binomial_distribution.hpp>
#include <boost/random/gamma_distribution.hpp>
#include <boost/random/mersenne_twister.hpp>
#include <boost/random/negative_binomial_distribution.hpp>
#include <boost/random/normal_distribution.hpp>
#include <boost/random/poisson_distribution.hpp>
#define KORB_BENCH_HAVE_BOOST 1
#endif

namespace {

namespace list = korb::dist::list;

template <class T>
void finish(benchmark::State &state, const std::vector<T> &r) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(r.size()));
    state.counters["checksum"] = static_cast<double>(r[r.size() / 2]) + r.back();
}

// The kernel filling r with n variates (of `per_variate` numbers each), again and again, on
// one stream. Items are numbers.
template <class T, class Kernel>
void BM_korb_dist(benchmark::State &state, Kernel kernel, int method, list::Params p,
                  int per_variate = 1) {
    BixStream *s = nullptr;
    const uint32_t seed = 7;
    __bixNewStreamEx(&s, BIX_BRNG_MCG31M1, 1, &seed);
    const int n = static_cast<int>(state.range(0));
    std::vector<T> r(static_cast<size_t>(n) * per_variate);
    for (auto _ : state) {
        kernel(method, s, n, r.data(), p);
        benchmark::ClobberMemory();
    }
    finish(state, r);
    __bixDeleteStream(&s);
}

// The array parameters of entry e for the scalar values p, in precision T: a vector's default
// in every element, a matrix's default times the identity in the storage p names.
template <class T>
struct DefaultArrays {
    std::vector<T> data[list::kMaxParams];
    const void *at[list::kMaxParams] = {};

    DefaultArrays(const list::Entry &e, const double *p) {
        for (int k = 0; k < e.param_count; ++k) {
            const list::Param &param = e.params[k];
            if (param.type != list::Type::kRealArray) continue;
            const int64_t count = list::length(param, 0, p);
            if (param.length.kind == list::Length::kMatrix) {
                const auto d = static_cast<int64_t>(p[param.length.param]);
                const auto storage = static_cast<int>(p[param.length.storage]);
                for (int64_t i = 0; i < d; ++i) {
                    for (int64_t j = 0; j < d; ++j) {
                        const T x = i == j ? static_cast<T>(param.fallback) : T(0);
                        if (storage == 0 || (storage == 1 && j <= i) || (storage == 2 && j == i)) {
                            data[k].push_back(x);
                        }
                    }
                }
            } else {
                data[k].assign(static_cast<size_t>(count), static_cast<T>(param.fallback));
            }
            at[k] = data[k].data();
        }
    }
};

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
        benchmark::RegisterBenchmark(
            name.c_str(),
            [&e, kernel, method](benchmark::State &state) {
                double p[list::kMaxParams];
                for (int k = 0; k < e.param_count; ++k) p[k] = e.params[k].fallback;
                // Arrays of reals: double for the integer kernels.
                const DefaultArrays<std::conditional_t<std::is_same_v<T, int>, double, T>> arrays(
                    e, p);
                const int per_variate = e.dimension >= 0 ? static_cast<int>(p[e.dimension]) : 1;
                BM_korb_dist<T>(state, kernel, method, list::Params(p, arrays.at), per_variate);
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

// --- Gamma, beta and the multivariate Gaussian beside their peers -----------------------------
//
// BM_korb_case/<p><Kernel>/<case>/<n>: the shapes of the comparison (gamma alpha 0.5, 2, 100;
// beta (0.5, 0.5), (2, 3), (50, 50); multivariate Gaussian of dimension 4 with n = 10^6 vectors
// and of dimension 100 with n = 10^4 vectors, a full lower-triangular factor, normals by
// methods 0 and 1), method 0 otherwise, beside GSL's
// gsl_ran_gamma, gsl_ran_beta and gsl_ran_multivariate_gaussian, libstdc++'s gamma_distribution
// and Boost.Random's gamma_distribution and beta_distribution, each on its library's MT19937.
// Items are numbers (a vector of dimension d counts d).

// A full lower-triangular factor of dimension d with a dominant diagonal, row-major.
std::vector<double> bench_factor(int d) {
    std::vector<double> t(static_cast<size_t>(d) * d, 0.0);
    for (int i = 0; i < d; ++i) {
        for (int j = 0; j <= i; ++j) t[i * d + j] = i == j ? 1.0 + 0.01 * i : 0.3 / (1 + i - j);
    }
    return t;
}

template <class T>
void add_case(const char *id, const std::string &label, std::vector<double> p, int n,
              std::vector<std::vector<double>> arrays = {}, int per_variate = 1, int method = 0) {
    const int e = list::index_of(id);
    const list::Kernels &k = list::kKernels[e];
    const std::string name =
        std::string("BM_korb_case/") + (sizeof(T) == 8 ? "d" : "s") + id + "/" + label;
    benchmark::RegisterBenchmark(name.c_str(), [=, &k](benchmark::State &state) {
        std::vector<std::vector<T>> typed;
        const void *at[list::kMaxParams] = {};
        for (size_t j = 0; j < arrays.size(); ++j) {
            typed.emplace_back(arrays[j].begin(), arrays[j].end());
            at[j] = typed.back().data();
        }
        const list::Params params(p.data(), at);
        if constexpr (sizeof(T) == 8) {
            BM_korb_dist<T>(state, k.d, method, params, per_variate);
        } else {
            BM_korb_dist<T>(state, k.s, method, params, per_variate);
        }
    })->Arg(n);
}

template <class T>
void add_cases() {
    for (double alpha : {0.5, 2.0, 100.0}) {
        add_case<T>("Gamma", "alpha_" + std::to_string(alpha).substr(0, 5), {alpha, 0, 1}, 1000000);
    }
    for (auto [p, q] : {std::pair{0.5, 0.5}, {2.0, 3.0}, {50.0, 50.0}}) {
        add_case<T>("Beta",
                    "p_" + std::to_string(p).substr(0, 4) + "_q_" + std::to_string(q).substr(0, 4),
                    {p, q, 0, 1}, 1000000);
    }
    // The normals by Box-Muller (method 0) and by its both-variates form (method 1).
    for (int d : {4, 100}) {
        for (auto [method, name] : {std::pair{0, "boxmuller"}, {1, "boxmuller2"}}) {
            add_case<T>("GaussianMV", "dimen_" + std::to_string(d) + "/" + name, {double(d), 0},
                        d == 4 ? 1000000 : 10000,
                        {{}, {}, std::vector<double>(d, 1.0), bench_factor(d)}, d, method);
        }
    }
}

const bool cases_registered = [] {
    add_cases<double>();
    add_cases<float>();
    return true;
}();

BENCHMARK_CAPTURE(BM_libstdcxx, gamma_0_5, std::gamma_distribution<double>(0.5))->Arg(1000000);
BENCHMARK_CAPTURE(BM_libstdcxx, gamma_2, std::gamma_distribution<double>(2.0))->Arg(1000000);
BENCHMARK_CAPTURE(BM_libstdcxx, gamma_100, std::gamma_distribution<double>(100.0))->Arg(1000000);

#ifdef KORB_BENCH_HAVE_BOOST
template <class Dist>
void BM_boost(benchmark::State &state, Dist dist) {
    boost::random::mt19937 engine(7);
    fill_by_one(state, [&] { return dist(engine); });
}
BENCHMARK_CAPTURE(BM_boost, gamma_0_5, boost::random::gamma_distribution<double>(0.5))
    ->Arg(1000000);
BENCHMARK_CAPTURE(BM_boost, gamma_2, boost::random::gamma_distribution<double>(2.0))->Arg(1000000);
BENCHMARK_CAPTURE(BM_boost, gamma_100, boost::random::gamma_distribution<double>(100.0))
    ->Arg(1000000);
BENCHMARK_CAPTURE(BM_boost, beta_0_5_0_5, boost::random::beta_distribution<double>(0.5, 0.5))
    ->Arg(1000000);
BENCHMARK_CAPTURE(BM_boost, beta_2_3, boost::random::beta_distribution<double>(2.0, 3.0))
    ->Arg(1000000);
BENCHMARK_CAPTURE(BM_boost, beta_50_50, boost::random::beta_distribution<double>(50.0, 50.0))
    ->Arg(1000000);
#endif

#ifdef KORB_BENCH_HAVE_GSL
BENCHMARK_CAPTURE(BM_gsl, gamma_0_5, [](gsl_rng *g) {
    return gsl_ran_gamma(g, 0.5, 1.0);
})->Arg(1000000);
BENCHMARK_CAPTURE(BM_gsl, gamma_2, [](gsl_rng *g) {
    return gsl_ran_gamma(g, 2.0, 1.0);
})->Arg(1000000);
BENCHMARK_CAPTURE(BM_gsl, gamma_100, [](gsl_rng *g) {
    return gsl_ran_gamma(g, 100.0, 1.0);
})->Arg(1000000);
BENCHMARK_CAPTURE(BM_gsl, beta_0_5_0_5, [](gsl_rng *g) {
    return gsl_ran_beta(g, 0.5, 0.5);
})->Arg(1000000);
BENCHMARK_CAPTURE(BM_gsl, beta_2_3, [](gsl_rng *g) {
    return gsl_ran_beta(g, 2.0, 3.0);
})->Arg(1000000);
BENCHMARK_CAPTURE(BM_gsl, beta_50_50, [](gsl_rng *g) {
    return gsl_ran_beta(g, 50.0, 50.0);
})->Arg(1000000);

// GSL's multivariate Gaussian, one vector a call, with the factor of the korb cases.
void BM_gsl_multivariate_gaussian(benchmark::State &state) {
    const int d = static_cast<int>(state.range(0));
    const int n = d == 4 ? 1000000 : 10000;
    gsl_rng *g = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(g, 7);
    gsl_matrix *factor = gsl_matrix_alloc(d, d);
    const std::vector<double> t = bench_factor(d);
    for (int i = 0; i < d; ++i) {
        for (int j = 0; j < d; ++j) gsl_matrix_set(factor, i, j, t[i * d + j]);
    }
    gsl_vector *mu = gsl_vector_alloc(d);
    gsl_vector_set_all(mu, 1.0);
    std::vector<double> r(static_cast<size_t>(n) * d);
    for (auto _ : state) {
        for (int v = 0; v < n; ++v) {
            gsl_vector_view out = gsl_vector_view_array(r.data() + static_cast<size_t>(v) * d, d);
            gsl_ran_multivariate_gaussian(g, mu, factor, &out.vector);
        }
        benchmark::ClobberMemory();
    }
    finish(state, r);
    gsl_vector_free(mu);
    gsl_matrix_free(factor);
    gsl_rng_free(g);
}
BENCHMARK(BM_gsl_multivariate_gaussian)->ArgName("dimen")->Arg(4)->Arg(100);
#endif

// --- Binomial, Poisson, hypergeometric, negative binomial beside their peers -------------------
//
// BM_korb_count/<Kernel>/<case>/<method>: n = 10^6 int variates from an MCG31M1 stream: binomial
// (10, 0.3) and (1000, 0.4); Poisson 0.5, 20 and 1000 by both methods; the vector-mean Poisson
// with means uniform on [0, 50] (drawn once, outside the timing); hypergeometric
// (l, s, m) = (1000, 100, 500) and (50, 5, 20); negative binomial (3, 0.3) and (100, 0.9).
// Beside them, one variate a call on each library's MT19937: GSL's gsl_ran_binomial,
// gsl_ran_poisson, gsl_ran_hypergeometric (n1 = m marked, n2 = l - m, t = s) and
// gsl_ran_negative_binomial; libstdc++'s and Boost.Random's binomial_distribution,
// poisson_distribution and negative_binomial_distribution (whose k is an integer: a = 3 and
// 100 are). numpy's Generator: bench/numpy_counting.py.

constexpr int kCountN = 1000000;

std::vector<double> uniform_means() {
    std::vector<double> lambda(kCountN);
    std::mt19937_64 engine(11);
    std::uniform_real_distribution<double> u(0.0, 50.0);
    for (double &x : lambda) {
        do x = u(engine);
        while (x == 0.0);
    }
    return lambda;
}

template <class Call>
void BM_korb_count(benchmark::State &state, Call call) {
    BixStream *s = nullptr;
    const uint32_t seed = 7;
    __bixNewStreamEx(&s, BIX_BRNG_MCG31M1, 1, &seed);
    std::vector<int> r(kCountN);
    for (auto _ : state) {
        call(s, r.data());
        benchmark::ClobberMemory();
    }
    finish(state, r);
    __bixDeleteStream(&s);
}

const bool counts_registered = [] {
    const auto add_count = [](const std::string &label, auto call) {
        benchmark::RegisterBenchmark(
            ("BM_korb_count/" + label).c_str(),
            [call](benchmark::State &state) { BM_korb_count(state, call); });
    };
    for (auto [t, p] : {std::pair{10, 0.3}, {1000, 0.4}}) {
        add_count("binomial_" + std::to_string(t) + "_" + std::to_string(p).substr(0, 3),
                  [t, p](BixStream *s, int *r) { _bixiRngBinomial(0, s, kCountN, r, t, p); });
    }
    for (double lambda : {0.5, 20.0, 1000.0}) {
        for (int method : {0, 1}) {
            add_count("poisson_" + std::to_string(lambda).substr(0, 6) +
                          (method == 0 ? "/ptpe" : "/normal"),
                      [lambda, method](BixStream *s, int *r) {
                          _bixiRngPoisson(method, s, kCountN, r, lambda);
                      });
        }
    }
    static const std::vector<double> means = uniform_means();
    add_count("poisson_v_0_50",
              [](BixStream *s, int *r) { _bixiRngPoissonV(0, s, kCountN, r, means.data()); });
    for (auto [l, s1, m] : {std::tuple{1000, 100, 500}, {50, 5, 20}}) {
        add_count("hypergeometric_" + std::to_string(l) + "_" + std::to_string(s1) + "_" +
                      std::to_string(m),
                  [l, s1, m](BixStream *s, int *r) {
                      _bixiRngHypergeometric(0, s, kCountN, r, l, s1, m);
                  });
    }
    for (auto [a, p] : {std::pair{3.0, 0.3}, {100.0, 0.9}}) {
        add_count(
            "negbinomial_" + std::to_string(a).substr(0, 5) + "_" + std::to_string(p).substr(0, 3),
            [a, p](BixStream *s, int *r) { _bixiRngNegbinomial(0, s, kCountN, r, a, p); });
    }
    return true;
}();

// A peer's variates, one a call, into an int array.
template <class Draw>
void fill_ints(benchmark::State &state, Draw draw) {
    std::vector<int> r(kCountN);
    for (auto _ : state) {
        for (int &x : r) x = static_cast<int>(draw());
        benchmark::ClobberMemory();
    }
    finish(state, r);
}

template <class Dist>
void BM_libstdcxx_count(benchmark::State &state, Dist dist) {
    std::mt19937 engine(7);
    fill_ints(state, [&] { return dist(engine); });
}
BENCHMARK_CAPTURE(BM_libstdcxx_count, binomial_10_0_3, std::binomial_distribution<int>(10, 0.3));
BENCHMARK_CAPTURE(BM_libstdcxx_count, binomial_1000_0_4,
                  std::binomial_distribution<int>(1000, 0.4));
BENCHMARK_CAPTURE(BM_libstdcxx_count, poisson_0_5, std::poisson_distribution<int>(0.5));
BENCHMARK_CAPTURE(BM_libstdcxx_count, poisson_20, std::poisson_distribution<int>(20.0));
BENCHMARK_CAPTURE(BM_libstdcxx_count, poisson_1000, std::poisson_distribution<int>(1000.0));
BENCHMARK_CAPTURE(BM_libstdcxx_count, negbinomial_3_0_3,
                  std::negative_binomial_distribution<int>(3, 0.3));
BENCHMARK_CAPTURE(BM_libstdcxx_count, negbinomial_100_0_9,
                  std::negative_binomial_distribution<int>(100, 0.9));

// The vector-mean case: a new distribution object per mean, as a caller of these interfaces
// writes it.
void BM_libstdcxx_poisson_v(benchmark::State &state) {
    static const std::vector<double> means = uniform_means();
    std::mt19937 engine(7);
    std::vector<int> r(kCountN);
    for (auto _ : state) {
        for (int i = 0; i < kCountN; ++i) {
            r[i] = std::poisson_distribution<int>(means[i])(engine);
        }
        benchmark::ClobberMemory();
    }
    finish(state, r);
}
BENCHMARK(BM_libstdcxx_poisson_v);

#ifdef KORB_BENCH_HAVE_BOOST
template <class Dist>
void BM_boost_count(benchmark::State &state, Dist dist) {
    boost::random::mt19937 engine(7);
    fill_ints(state, [&] { return dist(engine); });
}
BENCHMARK_CAPTURE(BM_boost_count, binomial_10_0_3,
                  boost::random::binomial_distribution<int>(10, 0.3));
BENCHMARK_CAPTURE(BM_boost_count, binomial_1000_0_4,
                  boost::random::binomial_distribution<int>(1000, 0.4));
BENCHMARK_CAPTURE(BM_boost_count, poisson_0_5, boost::random::poisson_distribution<int>(0.5));
BENCHMARK_CAPTURE(BM_boost_count, poisson_20, boost::random::poisson_distribution<int>(20.0));
BENCHMARK_CAPTURE(BM_boost_count, poisson_1000, boost::random::poisson_distribution<int>(1000.0));
BENCHMARK_CAPTURE(BM_boost_count, negbinomial_3_0_3,
                  boost::random::negative_binomial_distribution<int>(3, 0.3));
BENCHMARK_CAPTURE(BM_boost_count, negbinomial_100_0_9,
                  boost::random::negative_binomial_distribution<int>(100, 0.9));
void BM_boost_poisson_v(benchmark::State &state) {
    static const std::vector<double> means = uniform_means();
    boost::random::mt19937 engine(7);
    std::vector<int> r(kCountN);
    for (auto _ : state) {
        for (int i = 0; i < kCountN; ++i) {
            r[i] = boost::random::poisson_distribution<int>(means[i])(engine);
        }
        benchmark::ClobberMemory();
    }
    finish(state, r);
}
BENCHMARK(BM_boost_poisson_v);
#endif

#ifdef KORB_BENCH_HAVE_GSL
template <class Draw>
void BM_gsl_count(benchmark::State &state, Draw draw) {
    gsl_rng *g = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(g, 7);
    fill_ints(state, [&] { return draw(g); });
    gsl_rng_free(g);
}
BENCHMARK_CAPTURE(BM_gsl_count, binomial_10_0_3,
                  [](gsl_rng *g) { return gsl_ran_binomial(g, 0.3, 10); });
BENCHMARK_CAPTURE(BM_gsl_count, binomial_1000_0_4,
                  [](gsl_rng *g) { return gsl_ran_binomial(g, 0.4, 1000); });
BENCHMARK_CAPTURE(BM_gsl_count, poisson_0_5, [](gsl_rng *g) { return gsl_ran_poisson(g, 0.5); });
BENCHMARK_CAPTURE(BM_gsl_count, poisson_20, [](gsl_rng *g) { return gsl_ran_poisson(g, 20.0); });
BENCHMARK_CAPTURE(BM_gsl_count, poisson_1000,
                  [](gsl_rng *g) { return gsl_ran_poisson(g, 1000.0); });
BENCHMARK_CAPTURE(BM_gsl_count, hypergeometric_1000_100_500,
                  [](gsl_rng *g) { return gsl_ran_hypergeometric(g, 500, 500, 100); });
BENCHMARK_CAPTURE(BM_gsl_count, hypergeometric_50_5_20,
                  [](gsl_rng *g) { return gsl_ran_hypergeometric(g, 20, 30, 5); });
BENCHMARK_CAPTURE(BM_gsl_count, negbinomial_3_0_3,
                  [](gsl_rng *g) { return gsl_ran_negative_binomial(g, 0.3, 3.0); });
BENCHMARK_CAPTURE(BM_gsl_count, negbinomial_100_0_9,
                  [](gsl_rng *g) { return gsl_ran_negative_binomial(g, 0.9, 100.0); });
void BM_gsl_poisson_v(benchmark::State &state) {
    static const std::vector<double> means = uniform_means();
    gsl_rng *g = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(g, 7);
    std::vector<int> r(kCountN);
    for (auto _ : state) {
        for (int i = 0; i < kCountN; ++i) r[i] = static_cast<int>(gsl_ran_poisson(g, means[i]));
        benchmark::ClobberMemory();
    }
    finish(state, r);
    gsl_rng_free(g);
}
BENCHMARK(BM_gsl_poisson_v);
#endif

}  // namespace
