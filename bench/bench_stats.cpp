// Minimum and maximum of p = 1, 10, 100 variables over n = 1,000,000 observations, in both
// storage layouts, beside a plain per-variable loop and the memory-read limit (a sum over the
// same array, vectorised with independent accumulators so that only reading bounds it). Items
// are elements read (p * n); each benchmark reports a checksum of its results.
#include <benchmark/benchmark.h>
#include <korb/ss.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
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

}  // namespace
