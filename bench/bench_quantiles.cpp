// Quantiles, order statistics and streaming quantiles. Five quantiles (0.01, 0.25, 0.5, 0.75,
// 0.99) of n = 10^7 normal doubles beside the same five by a copy and std::nth_element; the
// order statistics of the same array beside a copy and std::sort; streaming quantiles with
// eps = 10^-3 over 10^8 observations in portions of 10^6 (a 10^7 array fed ten times), both
// methods. numpy's np.quantile and np.sort are measured by bench/numpy_quantiles.py. Items are
// observations; each benchmark reports a checksum of its results.
#include <benchmark/benchmark.h>
#include <korb/kernel/ss.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace {

constexpr int64_t kN = 10000000;
const std::vector<double> kOrders = {0.01, 0.25, 0.5, 0.75, 0.99};

const std::vector<double> &normal_data() {
    static const std::vector<double> x = [] {
        std::mt19937_64 gen(42);
        std::normal_distribution<double> g(0, 1);
        std::vector<double> v(static_cast<size_t>(kN));
        for (double &e : v) e = g(gen);
        return v;
    }();
    return x;
}

// A one-variable task over x with every quantile slot.
struct Task {
    int64_t p = 1, n, storage = BIX_SS_MATRIX_STORAGE_ROWS, norders, nparams = 1;
    double eps = 1e-3;
    std::vector<double> q, sq, os;
    BixSSTask *task = nullptr;
    explicit Task(const std::vector<double> &x, int64_t count)
        : n(count),
          norders(static_cast<int64_t>(kOrders.size())),
          q(kOrders.size()),
          sq(kOrders.size()) {
        __bixdSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr, 1);
        __bixdSSEditQuantiles(task, &norders, const_cast<double *>(kOrders.data()), q.data(),
                              nullptr, &storage);
        __bixdSSEditStreamQuantiles(task, &norders, const_cast<double *>(kOrders.data()), sq.data(),
                                    &nparams, &eps);
    }
    ~Task() { __bixSSDeleteTask(&task); }
};

void BM_korb_quantiles(benchmark::State &state) {
    Task t(normal_data(), kN);
    for (auto _ : state) {
        if (_bixdSSQuantiles(t.task, BIX_SS_EST_QUANTILES, BIX_SS_METHOD_QUANTILES) != 0) {
            state.SkipWithError("status");
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kN);
    state.counters["checksum"] = t.q[0] + t.q[2] + t.q[4];
}

// The same five quantiles from a copy partitioned by std::nth_element at each needed rank, the
// later ones within what the earlier left above them, and numpy's interpolation.
void BM_nth_element_quantiles(benchmark::State &state) {
    const std::vector<double> &x = normal_data();
    std::vector<double> work(x.size()), q(kOrders.size());
    for (auto _ : state) {
        std::copy(x.begin(), x.end(), work.begin());
        size_t from = 0;
        for (size_t k = 0; k < kOrders.size(); ++k) {
            const double h = static_cast<double>(kN - 1) * kOrders[k];
            const size_t i = static_cast<size_t>(h);
            std::nth_element(work.begin() + static_cast<std::ptrdiff_t>(from),
                             work.begin() + static_cast<std::ptrdiff_t>(i), work.end());
            const double next =
                *std::min_element(work.begin() + static_cast<std::ptrdiff_t>(i) + 1, work.end());
            q[k] = work[i] + (h - static_cast<double>(i)) * (next - work[i]);
            from = i;
        }
        benchmark::DoNotOptimize(q.data());
    }
    state.SetItemsProcessed(state.iterations() * kN);
    state.counters["checksum"] = q[0] + q[2] + q[4];
}

void BM_korb_order_stats(benchmark::State &state) {
    Task t(normal_data(), kN);
    t.os.resize(static_cast<size_t>(kN));
    __bixdSSEditQuantiles(t.task, nullptr, nullptr, nullptr, t.os.data(), nullptr);
    for (auto _ : state) {
        if (_bixdSSQuantiles(t.task, BIX_SS_EST_ORDER_STATS, BIX_SS_METHOD_QUANTILES) != 0) {
            state.SkipWithError("status");
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kN);
    state.counters["checksum"] = t.os[0] + t.os[static_cast<size_t>(kN / 2)];
}

void BM_std_sort(benchmark::State &state) {
    const std::vector<double> &x = normal_data();
    std::vector<double> work(x.size());
    for (auto _ : state) {
        std::copy(x.begin(), x.end(), work.begin());
        std::sort(work.begin(), work.end());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kN);
    state.counters["checksum"] = work[0] + work[static_cast<size_t>(kN / 2)];
}

// 10^8 observations: the 10^7 array in portions of 10^6, ten times over, into a fresh summary.
template <int Method>
void BM_korb_stream(benchmark::State &state) {
    constexpr int64_t kPortion = 1000000, kTotal = 100000000;
    const std::vector<double> &x = normal_data();
    std::vector<double> sq;
    for (auto _ : state) {
        Task t(x, kPortion);
        for (int64_t start = 0; start < kTotal; start += kPortion) {
            t.task->x = const_cast<double *>(x.data()) + start % kN;
            if (_bixdSSStreamQuantiles(t.task, BIX_SS_EST_STREAM_QUANTILES, Method) != 0) {
                state.SkipWithError("status");
            }
        }
        sq = t.sq;
    }
    state.SetItemsProcessed(state.iterations() * kTotal);
    state.counters["checksum"] = sq[0] + sq[2] + sq[4];
}

#define KORB_QUANTILE_ARGS ->Unit(benchmark::kMillisecond)

BENCHMARK(BM_korb_quantiles) KORB_QUANTILE_ARGS;
BENCHMARK(BM_nth_element_quantiles) KORB_QUANTILE_ARGS;
BENCHMARK(BM_korb_order_stats) KORB_QUANTILE_ARGS;
BENCHMARK(BM_std_sort) KORB_QUANTILE_ARGS;
BENCHMARK(BM_korb_stream<BIX_SS_METHOD_STREAM_ZW>) KORB_QUANTILE_ARGS->Iterations(1);
BENCHMARK(BM_korb_stream<BIX_SS_METHOD_STREAM_GK>) KORB_QUANTILE_ARGS->Iterations(1);

}  // namespace
