// Summary statistics. Minimum and maximum of p = 1, 10, 100 variables over n = 1,000,000
// observations, in both storage layouts, beside a plain per-variable loop and the memory-read
// limit (a sum over the same array, vectorised with independent accumulators so that only
// reading bounds it). The basic estimator: mean and variance, and the full moment set, of
// n = 10^7 observations beside GSL; the covariance of p = 100 variables over n = 10^5
// observations beside a bare dsyrk of the same provider on the same data already centred. numpy
// and scipy are measured by bench/numpy_stats.py. Items are elements read (p * n); each
// benchmark reports a checksum of its results.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <gsl/gsl_statistics_double.h>
#include <korb/kernel/ss.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int64_t kN = 1000000;

// One data set per p, shared by every benchmark of that p.
const std::vector<double> &data(int64_t p) {
    static std::map<int64_t, std::vector<double>> sets;
    std::vector<double> &x = sets[p];
    if (x.empty()) {
        std::mt19937_64 gen(static_cast<uint64_t>(p));
        std::uniform_real_distribution<double> u(-1e6, 1e6);
        x.resize(static_cast<size_t>(p * kN));
        for (double &v : x) v = u(gen);
    }
    return x;
}

void report(benchmark::State &state, int64_t p, const std::vector<double> &lo,
            const std::vector<double> &hi) {
    state.SetItemsProcessed(state.iterations() * p * kN);
    state.SetBytesProcessed(state.iterations() * p * kN * static_cast<int64_t>(sizeof(double)));
    state.counters["checksum"] = lo[0] + hi[static_cast<size_t>(p - 1)];
}

template <int Storage>
void BM_korb_minmax(benchmark::State &state) {
    const int64_t p = state.range(0), n = kN, storage = Storage;
    const std::vector<double> &x = data(p);
    std::vector<double> lo(static_cast<size_t>(p)), hi(static_cast<size_t>(p));
    BixSSTask *task = nullptr;
    __bixdSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr, 1);
    __bixdSSEditTask(task, BIX_SS_ID_MIN, lo.data());
    __bixdSSEditTask(task, BIX_SS_ID_MAX, hi.data());
    for (auto _ : state) {
        std::fill(lo.begin(), lo.end(), std::numeric_limits<double>::infinity());
        std::fill(hi.begin(), hi.end(), -std::numeric_limits<double>::infinity());
        _bixdSSMinmax(task, BIX_SS_EST_MIN | BIX_SS_EST_MAX, 1);
        benchmark::ClobberMemory();
    }
    __bixSSDeleteTask(&task);
    report(state, p, lo, hi);
}

// Variable-major: std::minmax_element over each variable's run.
void BM_plain_minmax_rows(benchmark::State &state) {
    const int64_t p = state.range(0);
    const std::vector<double> &x = data(p);
    std::vector<double> lo(static_cast<size_t>(p)), hi(static_cast<size_t>(p));
    for (auto _ : state) {
        for (int64_t i = 0; i < p; ++i) {
            const auto [mn, mx] = std::minmax_element(x.begin() + i * kN, x.begin() + (i + 1) * kN);
            lo[static_cast<size_t>(i)] = *mn;
            hi[static_cast<size_t>(i)] = *mx;
        }
        benchmark::ClobberMemory();
    }
    report(state, p, lo, hi);
}

// Observation-major: the straightforward loop over observations, then variables.
void BM_plain_minmax_cols(benchmark::State &state) {
    const int64_t p = state.range(0);
    const std::vector<double> &x = data(p);
    std::vector<double> lo(static_cast<size_t>(p)), hi(static_cast<size_t>(p));
    for (auto _ : state) {
        std::fill(lo.begin(), lo.end(), std::numeric_limits<double>::infinity());
        std::fill(hi.begin(), hi.end(), -std::numeric_limits<double>::infinity());
        for (int64_t j = 0; j < kN; ++j) {
            const double *row = x.data() + j * p;
            for (int64_t i = 0; i < p; ++i) {
                lo[static_cast<size_t>(i)] = std::min(lo[static_cast<size_t>(i)], row[i]);
                hi[static_cast<size_t>(i)] = std::max(hi[static_cast<size_t>(i)], row[i]);
            }
        }
        benchmark::ClobberMemory();
    }
    report(state, p, lo, hi);
}

// The memory-read limit: a sum over the same array with eight independent vector accumulators.
void BM_read_limit_sum(benchmark::State &state) {
    using v2 = double __attribute__((vector_size(16)));
    const int64_t p = state.range(0);
    const std::vector<double> &x = data(p);
    const size_t count = x.size();
    std::vector<double> lo(static_cast<size_t>(p)), hi(static_cast<size_t>(p));
    for (auto _ : state) {
        v2 acc[8] = {};
        size_t k = 0;
        for (; k + 16 <= count; k += 16) {
            for (int a = 0; a < 8; ++a) {
                v2 v;
                __builtin_memcpy(&v, x.data() + k + 2 * a, sizeof v);
                acc[a] += v;
            }
        }
        double s = 0;
        for (int a = 0; a < 8; ++a) s += acc[a][0] + acc[a][1];
        for (; k < count; ++k) s += x[k];
        lo[0] = s;
        benchmark::DoNotOptimize(s);
    }
    hi[static_cast<size_t>(p - 1)] = 0;
    report(state, p, lo, hi);
}

#define KORB_STATS_ARGS ->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond)

BENCHMARK(BM_read_limit_sum) KORB_STATS_ARGS;
BENCHMARK(BM_korb_minmax<BIX_SS_MATRIX_STORAGE_ROWS>) KORB_STATS_ARGS;
BENCHMARK(BM_plain_minmax_rows) KORB_STATS_ARGS;
BENCHMARK(BM_korb_minmax<BIX_SS_MATRIX_STORAGE_COLS>) KORB_STATS_ARGS;
BENCHMARK(BM_plain_minmax_cols) KORB_STATS_ARGS;

// The basic estimator. One data set of n = 10^7 observations of one variable (normal, mean 10,
// standard deviation 2), and one of 100 variables by 10^5 observations in each layout.
constexpr int64_t kMomentN = 10000000;
constexpr int64_t kCovP = 100, kCovN = 100000;

const std::vector<double> &moment_data() {
    static std::vector<double> x;
    if (x.empty()) {
        std::mt19937_64 gen(7);
        std::normal_distribution<double> g(10.0, 2.0);
        x.resize(static_cast<size_t>(kMomentN));
        for (double &v : x) v = g(gen);
    }
    return x;
}

// Observation-major (cols) or variable-major (rows) 100 x 10^5, correlated variables.
const std::vector<double> &cov_data(bool rows) {
    static std::vector<double> sets[2];
    std::vector<double> &x = sets[rows ? 1 : 0];
    if (x.empty()) {
        std::mt19937_64 gen(8);
        std::normal_distribution<double> g(0.0, 1.0);
        x.resize(static_cast<size_t>(kCovP * kCovN));
        for (int64_t j = 0; j < kCovN; ++j) {
            const double common = g(gen);
            for (int64_t i = 0; i < kCovP; ++i) {
                const double v = 100.0 * static_cast<double>(i) + g(gen) + 0.3 * common;
                x[static_cast<size_t>(rows ? i * kCovN + j : j * kCovP + i)] = v;
            }
        }
    }
    return x;
}

// Runs the estimator on p x n data with the estimates' slots registered.
template <int Method>
void run_basic(benchmark::State &state, const std::vector<double> &x, int64_t p, int64_t n,
               int64_t storage, uint64_t estimates) {
    std::vector<double> r(static_cast<size_t>(12 * p)), cov(static_cast<size_t>(p * p));
    const int64_t cov_storage = BIX_SS_COV_FULL;
    BixSSTask *task = nullptr;
    __bixdSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr, 1);
    double *s = r.data();
    __bixdSSEditMoments(task, s, s + p, s + 2 * p, s + 3 * p, s + 4 * p, s + 5 * p, s + 6 * p);
    __bixdSSEditTask(task, BIX_SS_ID_KURTOSIS, s + 7 * p);
    __bixdSSEditTask(task, BIX_SS_ID_SKEWNESS, s + 8 * p);
    __bixdSSEditTask(task, BIX_SS_ID_VARIATION, s + 9 * p);
    __bixdSSEditCovCor(task, nullptr, cov.data(), const_cast<int64_t *>(&cov_storage), nullptr,
                       nullptr);
    for (auto _ : state) {
        if (_bixdSSBasic(task, estimates, Method) != 0) state.SkipWithError("status");
        benchmark::ClobberMemory();
    }
    __bixSSDeleteTask(&task);
    state.SetItemsProcessed(state.iterations() * p * n);
    state.counters["checksum"] = r[0] + r[static_cast<size_t>(4 * p)] + cov.back();
}

template <int Method>
void BM_korb_mean_var(benchmark::State &state) {
    run_basic<Method>(state, moment_data(), 1, kMomentN, BIX_SS_MATRIX_STORAGE_COLS,
                      BIX_SS_EST_MEAN | BIX_SS_EST_CEN2);
}

void BM_gsl_mean_var(benchmark::State &state) {
    const std::vector<double> &x = moment_data();
    double mean = 0, var = 0;
    for (auto _ : state) {
        mean = gsl_stats_mean(x.data(), 1, x.size());
        var = gsl_stats_variance(x.data(), 1, x.size());
        benchmark::DoNotOptimize(var);
    }
    state.SetItemsProcessed(state.iterations() * kMomentN);
    state.counters["checksum"] = mean + var;
}

// The moment set of scipy.stats.describe (mean, variance, skewness, kurtosis) and the raw and
// central moments they come from.
template <int Method>
void BM_korb_moments(benchmark::State &state) {
    run_basic<Method>(state, moment_data(), 1, kMomentN, BIX_SS_MATRIX_STORAGE_COLS,
                      BIX_SS_EST_MEAN | BIX_SS_EST_RAW2 | BIX_SS_EST_RAW3 | BIX_SS_EST_RAW4 |
                          BIX_SS_EST_CEN2 | BIX_SS_EST_CEN3 | BIX_SS_EST_CEN4 |
                          BIX_SS_EST_SKEWNESS | BIX_SS_EST_KURTOSIS);
}

template <int Method, int Storage>
void BM_korb_cov(benchmark::State &state) {
    const bool rows = Storage == BIX_SS_MATRIX_STORAGE_ROWS;
    run_basic<Method>(state, cov_data(rows), kCovP, kCovN, Storage, BIX_SS_EST_COV);
}

// dsyrk of the provider korb loads (liblapack.so.3 resolves to it, OpenBLAS when installed).
using Dsyrk = void(const char *, const char *, const int *, const int *, const double *,
                   const double *, const int *, const double *, double *, const int *, size_t,
                   size_t);
Dsyrk *provider_dsyrk() {
    static Dsyrk *f = [] {
        void *h = dlopen("liblapack.so.3", RTLD_NOW | RTLD_LOCAL);
        return h != nullptr ? reinterpret_cast<Dsyrk *>(dlsym(h, "dsyrk_")) : nullptr;
    }();
    return f;
}

// The bare product: dsyrk on a copy of the data centred beforehand (outside the timing).
template <int Storage>
void BM_bare_dsyrk(benchmark::State &state) {
    const bool rows = Storage == BIX_SS_MATRIX_STORAGE_ROWS;
    std::vector<double> d = cov_data(rows);
    for (int64_t i = 0; i < kCovP; ++i) {
        double sum = 0;
        for (int64_t j = 0; j < kCovN; ++j)
            sum += d[static_cast<size_t>(rows ? i * kCovN + j : j * kCovP + i)];
        for (int64_t j = 0; j < kCovN; ++j)
            d[static_cast<size_t>(rows ? i * kCovN + j : j * kCovP + i)] -= sum / kCovN;
    }
    Dsyrk *dsyrk = provider_dsyrk();
    if (dsyrk == nullptr) {
        state.SkipWithError("no dsyrk_ in liblapack.so.3");
        return;
    }
    std::vector<double> c(static_cast<size_t>(kCovP * kCovP));
    const int p = static_cast<int>(kCovP), n = static_cast<int>(kCovN);
    const double one = 1.0, zero = 0.0;
    for (auto _ : state) {
        if (rows) {
            dsyrk("L", "T", &p, &n, &one, d.data(), &n, &zero, c.data(), &p, 1, 1);
        } else {
            dsyrk("L", "N", &p, &n, &one, d.data(), &p, &zero, c.data(), &p, 1, 1);
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCovP * kCovN);
    state.counters["checksum"] = c[0];
    state.SetLabel(dlopen("libopenblas.so.0", RTLD_NOW | RTLD_NOLOAD) ? "OpenBLAS"
                                                                      : "reference BLAS");
}

#define KORB_BASIC_ARGS ->Unit(benchmark::kMillisecond)
constexpr int kRowsStorage = BIX_SS_MATRIX_STORAGE_ROWS, kColsStorage = BIX_SS_MATRIX_STORAGE_COLS;

BENCHMARK(BM_korb_mean_var<BIX_SS_METHOD_TWO_PASS>) KORB_BASIC_ARGS;
BENCHMARK(BM_korb_mean_var<BIX_SS_METHOD_ONE_PASS>) KORB_BASIC_ARGS;
BENCHMARK(BM_gsl_mean_var) KORB_BASIC_ARGS;
BENCHMARK(BM_korb_moments<BIX_SS_METHOD_TWO_PASS>) KORB_BASIC_ARGS;
BENCHMARK(BM_korb_moments<BIX_SS_METHOD_ONE_PASS>) KORB_BASIC_ARGS;
BENCHMARK(BM_bare_dsyrk<kColsStorage>) KORB_BASIC_ARGS;
BENCHMARK(BM_korb_cov<BIX_SS_METHOD_TWO_PASS, kColsStorage>) KORB_BASIC_ARGS;
BENCHMARK(BM_korb_cov<BIX_SS_METHOD_ONE_PASS, kColsStorage>) KORB_BASIC_ARGS;
BENCHMARK(BM_bare_dsyrk<kRowsStorage>) KORB_BASIC_ARGS;
BENCHMARK(BM_korb_cov<BIX_SS_METHOD_TWO_PASS, kRowsStorage>) KORB_BASIC_ARGS;
BENCHMARK(BM_korb_cov<BIX_SS_METHOD_ONE_PASS, kRowsStorage>) KORB_BASIC_ARGS;

}  // namespace
