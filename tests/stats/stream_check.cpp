// The long run of the streaming-quantile estimator (make stream-check): N observations (10^8 by
// default) in portions of 10^6, eps = 10^-3, both methods, for input orders chosen to hurt
// (sorted, reverse-sorted, all equal, alternating extremes, random). After the last portion the
// returned values' ranks are counted exactly over the regenerated stream and compared with
// (N - 1) q + 1. Prints, per run, the observations per second of the estimator's calls alone (in
// thread CPU time, which a shared machine disturbs less, and in wall time),
// the largest state between calls, and the largest rank error in units of eps N; exits with 1
// when an error exceeds 1.
//
//   korb_stream_check [N] [eps] [portion]
#include <korb/kernel/ss.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <vector>

#include "stats/stream_quantiles.h"

namespace {

enum class Order { sorted, reversed, equal, alternating, random };
const char *kNames[] = {"sorted", "reverse-sorted", "all equal", "alternating extremes",
                        "random normal"};

double cpu_seconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

// Fills x with observations [start, start + count) of the stream.
void generate(Order o, int64_t start, size_t count, int64_t total, std::mt19937_64 &g,
              std::vector<double> &x) {
    std::normal_distribution<double> normal(0, 1);
    for (size_t k = 0; k < count; ++k) {
        const int64_t j = start + static_cast<int64_t>(k);
        switch (o) {
            case Order::sorted:
                x[k] = static_cast<double>(j);
                break;
            case Order::reversed:
                x[k] = static_cast<double>(total - j);
                break;
            case Order::equal:
                x[k] = 1.5;
                break;
            case Order::alternating:
                x[k] = j % 2 == 0 ? static_cast<double>(j / 2) : static_cast<double>(total - j / 2);
                break;
            case Order::random:
                x[k] = normal(g);
                break;
        }
    }
}

}  // namespace

int main(int argc, char **argv) {
    const int64_t total = argc > 1 ? std::atoll(argv[1]) : 100000000;
    const double eps = argc > 2 ? std::atof(argv[2]) : 1e-3;
    const size_t portion = argc > 3 ? static_cast<size_t>(std::atoll(argv[3])) : 1000000;
    if (total < 1 || !(eps > 0 && eps <= 1) || portion < 1) {
        std::fprintf(stderr, "usage: korb_stream_check [N >= 1] [0 < eps <= 1] [portion >= 1]\n");
        return 2;
    }
    const std::vector<double> orders = {0, 0.001, 0.01, 0.1, 0.25, 0.5, 0.75, 0.9, 0.99, 0.999, 1};
    std::printf("N %lld, eps %g, portions of %zu\n", static_cast<long long>(total), eps, portion);
    std::printf("%-10s %-22s %14s %14s %12s %14s\n", "method", "input order", "M obs/s (CPU)",
                "M obs/s (wall)", "state KiB", "worst / eps N");
    bool ok = true;
    std::vector<double> x(portion);
    for (int method : {BIX_SS_METHOD_STREAM_ZW, BIX_SS_METHOD_STREAM_GK}) {
        for (Order o :
             {Order::sorted, Order::reversed, Order::equal, Order::alternating, Order::random}) {
            int64_t p = 1, n = 1, storage = BIX_SS_MATRIX_STORAGE_ROWS, nparams = 1,
                    norders = static_cast<int64_t>(orders.size());
            std::vector<double> results(orders.size());
            BixSSTask *task = nullptr;
            __bixdSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr, 1);
            __bixdSSEditStreamQuantiles(task, &norders, const_cast<double *>(orders.data()),
                                        results.data(), &nparams, const_cast<double *>(&eps));
            std::mt19937_64 g(11);
            double seconds = 0, cpu = 0;
            size_t state = 0;
            for (int64_t start = 0; start < total; start += static_cast<int64_t>(portion)) {
                const size_t count = static_cast<size_t>(
                    std::min<int64_t>(static_cast<int64_t>(portion), total - start));
                generate(o, start, count, total, g, x);
                n = static_cast<int64_t>(count);
                const auto t0 = std::chrono::steady_clock::now();
                const double c0 = cpu_seconds();
                const int status =
                    _bixdSSStreamQuantiles(task, BIX_SS_EST_STREAM_QUANTILES, method);
                cpu += cpu_seconds() - c0;
                seconds +=
                    std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
                if (status != 0) {
                    std::fprintf(stderr, "status %d\n", status);
                    return 1;
                }
                state = std::max(state, korb::stats::stream_state_bytes(task));
            }
            __bixSSDeleteTask(&task);
            // Exact ranks: how many observations lie below and at each returned value.
            std::vector<int64_t> below(orders.size()), at(orders.size());
            std::mt19937_64 again(11);
            for (int64_t start = 0; start < total; start += static_cast<int64_t>(portion)) {
                const size_t count = static_cast<size_t>(
                    std::min<int64_t>(static_cast<int64_t>(portion), total - start));
                generate(o, start, count, total, again, x);
                for (size_t k = 0; k < orders.size(); ++k) {
                    const double v = results[k];
                    int64_t lt = 0, eq = 0;
                    for (size_t j = 0; j < count; ++j) {
                        lt += x[j] < v;
                        eq += x[j] == v;
                    }
                    below[k] += lt;
                    at[k] += eq;
                }
            }
            double worst = 0;
            for (size_t k = 0; k < orders.size(); ++k) {
                const double target = static_cast<double>(total - 1) * orders[k] + 1;
                const double first = static_cast<double>(below[k] + 1);
                const double last = static_cast<double>(below[k] + at[k]);
                const double miss = at[k] == 0       ? 1e300
                                    : target < first ? first - target
                                    : target > last  ? target - last
                                                     : 0;
                worst = std::max(worst, miss / std::max(eps * static_cast<double>(total), 0.5));
            }
            ok = ok && worst <= 1;
            std::printf("%-10s %-22s %14.1f %14.1f %12.0f %14.3f%s\n",
                        method == BIX_SS_METHOD_STREAM_ZW ? "ZW" : "GK", kNames[int(o)],
                        static_cast<double>(total) / cpu / 1e6,
                        static_cast<double>(total) / seconds / 1e6,
                        static_cast<double>(state) / 1024, worst, worst <= 1 ? "" : "  FAILED");
            std::fflush(stdout);
        }
    }
    return ok ? 0 : 1;
}
