// The streaming-quantile estimator: the rank guarantee against exact ranks for input orders
// chosen to hurt (sorted, reverse-sorted, all equal, alternating extremes, sawtooth, random), in
// portions of many sizes, both methods and precisions; the summary's size against its bound; the
// check order; new summaries when the request changes; NaN; the cleanup hook; allocation
// failures leave the summaries as they were. The 10^8-observation runs are tools/stream_check
// (make stream-check).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "stats/stream_quantiles.h"
#include "stats_test.h"

namespace {

using korb::test::Task;

constexpr int kRows = BIX_SS_MATRIX_STORAGE_ROWS;
constexpr int kCols = BIX_SS_MATRIX_STORAGE_COLS;
constexpr uint64_t kStream = BIX_SS_EST_STREAM_QUANTILES;
constexpr int kZW = BIX_SS_METHOD_STREAM_ZW;
constexpr int kGK = BIX_SS_METHOD_STREAM_GK;

template <class T>
int stream(BixSSTask *t, uint64_t est, int method) {
    if constexpr (sizeof(T) == 8) {
        return _bixdSSStreamQuantiles(t, est, method);
    } else {
        return _bixsSSStreamQuantiles(t, est, method);
    }
}

enum class Order { sorted, reversed, equal, alternating, sawtooth, random, few };

const char *name(Order o) {
    static const char *names[] = {"sorted",   "reversed", "equal", "alternating",
                                  "sawtooth", "random",   "few"};
    return names[int(o)];
}

// Observation j of N in the given order. Alternating extremes: the smallest and the largest
// values still unseen in turn, so every new value lands at one end of the summary.
template <class T>
T observation(Order o, int64_t j, int64_t total, std::mt19937_64 &g) {
    switch (o) {
        case Order::sorted:
            return T(j);
        case Order::reversed:
            return T(total - j);
        case Order::equal:
            return T(2.5);
        case Order::alternating:
            return j % 2 == 0 ? T(j / 2) : T(total - j / 2);
        case Order::sawtooth:
            return T(j % 1000) * 1000 + T(j / 1000);
        case Order::random:
            return T(std::normal_distribution<double>(0, 1)(g));
        case Order::few:
            return T(int(g() % 5));
    }
    return 0;
}

// A one-variable task fed portion by portion, the data kept for exact ranks.
template <class T>
struct Stream {
    int64_t p = 1, n = 0, storage = kRows, norders, nparams = 1;
    std::vector<T> orders, results, params, buffer, all;
    Task task;

    Stream(std::vector<T> orders_, double eps)
        : norders(int64_t(orders_.size())), orders(std::move(orders_)), params{T(eps)} {
        results.assign(orders.size(), T(-7.5));
        BixSSTask *t = nullptr;
        if constexpr (sizeof(T) == 8) {
            EXPECT_EQ(__bixdSSNewTask(&t, &p, &n, &storage, nullptr, nullptr, nullptr, 1), 0);
            EXPECT_EQ(__bixdSSEditStreamQuantiles(t, &norders, orders.data(), results.data(),
                                                  &nparams, params.data()),
                      0);
        } else {
            EXPECT_EQ(__bixsSSNewTask(&t, &p, &n, &storage, nullptr, nullptr, nullptr, 1), 0);
            EXPECT_EQ(__bixsSSEditStreamQuantiles(t, &norders, orders.data(), results.data(),
                                                  &nparams, params.data()),
                      0);
        }
        task.reset(t);
    }
    int feed(const T *x, size_t count, int method) {
        n = int64_t(count);
        task->x = const_cast<T *>(x);
        const int st = stream<T>(task.get(), kStream, method);
        if (st == 0) all.insert(all.end(), x, x + count);
        return st;
    }
};

// The largest distance, over the orders, between (N - 1) q + 1 and the ranks of the value
// returned for q, in units of the allowed max(eps N, 1/2) (a target between two ranks is half a
// rank from both); -1 when a value is not an observation.
template <class T>
double worst_miss(std::vector<T> data, const std::vector<T> &orders, const std::vector<T> &got,
                  double eps) {
    std::sort(data.begin(), data.end());
    const double total = double(data.size());
    double worst = 0;
    for (size_t k = 0; k < orders.size(); ++k) {
        const auto lo = std::lower_bound(data.begin(), data.end(), got[k]);
        const auto hi = std::upper_bound(data.begin(), data.end(), got[k]);
        if (lo == hi) return -1;
        const double first = double(lo - data.begin()) + 1, last = double(hi - data.begin());
        const double target = (total - 1) * double(orders[k]) + 1;
        const double miss = target < first ? first - target : target > last ? target - last : 0;
        worst = std::max(worst, miss / std::max(eps * total, 0.5));
    }
    return worst;
}

template <class T>
std::vector<T> test_orders() {
    return {T(0), T(1), T(0.5), T(0.01), T(0.99), T(0.25), T(0.75), T(0.001), T(0.999), T(1) / 3};
}

template <class T>
class StreamTest : public ::testing::Test {};
using Precisions = ::testing::Types<double, float>;
TYPED_TEST_SUITE(StreamTest, Precisions);

// The guarantee after every portion, for every input order, portion size, eps and method.
TYPED_TEST(StreamTest, RankGuaranteeForHostileOrders) {
    using T = TypeParam;
    const Order kinds[] = {Order::sorted,   Order::reversed, Order::equal, Order::alternating,
                           Order::sawtooth, Order::random,   Order::few};
    for (int method : {kZW, kGK}) {
        for (double eps : {0.1, 0.01, 0.002}) {
            for (Order o : kinds) {
                for (size_t portion : {size_t{1} << 16, size_t{7919}, size_t{1000}}) {
                    // Few calls of one observation: each call costs a pass over the summary.
                    const int64_t total = portion == 1000 ? 30000 : 160000;
                    std::mt19937_64 g(uint64_t(portion) + int(o));
                    Stream<T> s(test_orders<T>(), eps);
                    std::vector<T> x(portion);
                    int64_t fed = 0, calls = 0;
                    while (fed < total) {
                        const size_t c = size_t(std::min<int64_t>(int64_t(portion), total - fed));
                        for (size_t j = 0; j < c; ++j) x[j] = observation<T>(o, fed + j, total, g);
                        ASSERT_EQ(s.feed(x.data(), c, method), 0);
                        fed += int64_t(c);
                        if (++calls % 8 == 0 || fed == total) {
                            const double miss = worst_miss(s.all, s.orders, s.results, eps);
                            ASSERT_GE(miss, 0) << "not an observation";
                            ASSERT_LE(miss, 1.0)
                                << "method " << method << " eps " << eps << " " << name(o)
                                << " portion " << portion << " after " << fed;
                        }
                    }
                    // The extremes are exact.
                    const auto [mn, mx] = std::minmax_element(s.all.begin(), s.all.end());
                    EXPECT_EQ(s.results[0], *mn);
                    EXPECT_EQ(s.results[1], *mx);
                }
            }
        }
    }
}

// Single observations per call, and calls without observations.
TEST(Stream, TinyPortionsAndEmptyCalls) {
    for (int method : {kZW, kGK}) {
        Stream<double> s({0.5, 0.1}, 0.05);
        ASSERT_EQ(s.feed(nullptr, 0, method), 0);
        EXPECT_TRUE(std::isnan(s.results[0]));  // nothing seen yet
        std::mt19937_64 g(3);
        for (int j = 0; j < 3000; ++j) {
            const double v = observation<double>(Order::alternating, j, 3000, g);
            ASSERT_EQ(s.feed(&v, 1, method), 0);
            ASSERT_EQ(s.feed(nullptr, 0, method), 0);
            if (j % 100 == 0 || j < 20) {
                ASSERT_LE(worst_miss(s.all, s.orders, s.results, 0.05), 1.0) << j;
            }
        }
    }
}

// Several variables in both layouts, with indices: each has its own summary, unselected results
// stay, and a NaN silences its variable only.
TEST(Stream, VariablesLayoutsIndicesAndNaN) {
    for (int method : {kZW, kGK}) {
        for (int storage : {kRows, kCols}) {
            const size_t p = 3, n = 40000;
            int64_t ip = p, in = n, is = storage, norders = 2, nparams = 1;
            std::vector<int64_t> idx = {1, 0, 1};
            double orders[2] = {0.5, 0.9}, eps = 0.01;
            std::vector<double> results(p * 2, -7.5), x(p * n);
            BixSSTask *t = nullptr;
            ASSERT_EQ(__bixdSSNewTask(&t, &ip, &in, &is, x.data(), nullptr, idx.data(), 1), 0);
            Task owner(t);
            ASSERT_EQ(
                __bixdSSEditStreamQuantiles(t, &norders, orders, results.data(), &nparams, &eps),
                0);
            std::vector<std::vector<double>> seen(p);
            std::mt19937_64 g(1);
            for (int call = 0; call < 3; ++call) {
                for (size_t i = 0; i < p; ++i) {
                    for (size_t j = 0; j < n; ++j) {
                        const double v =
                            double(i) * 100 + observation<double>(Order::random, 0, 0, g);
                        x[storage == kRows ? i * n + j : j * p + i] = v;
                        seen[i].push_back(v);
                    }
                }
                if (call == 2) x[storage == kRows ? 2 * n + 5 : 5 * p + 2] = std::nan("");
                ASSERT_EQ(_bixdSSStreamQuantiles(t, kStream, method), 0);
                EXPECT_LE(worst_miss(seen[0], {0.5, 0.9}, {results[0], results[1]}, eps), 1.0);
                EXPECT_EQ(results[2], -7.5);
                EXPECT_EQ(results[3], -7.5);
                if (call < 2) {
                    EXPECT_LE(worst_miss(seen[2], {0.5, 0.9}, {results[4], results[5]}, eps), 1.0);
                } else {
                    EXPECT_TRUE(std::isnan(results[4]) && std::isnan(results[5]));
                }
            }
        }
    }
}

// The state stays within the space bounds: GK's (11/(2 eps)) log2(2 eps N) tuples, ZW's levels
// of (b/2 + 1) entries; sorted input is GK's worst known order.
TEST(Stream, SummarySize) {
    const double eps = 0.001;
    for (int method : {kGK, kZW}) {
        Stream<double> s({0.5}, eps);
        std::vector<double> x(1 << 16);
        std::mt19937_64 g(5);
        int64_t fed = 0;
        for (int call = 0; call < 32; ++call) {
            for (size_t j = 0; j < x.size(); ++j) {
                x[j] = observation<double>(Order::sawtooth, fed + int64_t(j), 0, g);
            }
            ASSERT_EQ(s.feed(x.data(), x.size(), method), 0);
            fed += int64_t(x.size());
        }
        const double bytes = double(korb::stats::stream_state_bytes(s.task.get()));
        const double gk_bound = 11 / (2 * eps) * std::log2(2 * eps * double(fed)) * 24;
        if (method == kGK) {
            EXPECT_LT(bytes, gk_bound) << "GK state " << bytes;
        } else {
            const double lg = std::log2(eps * double(fed));
            EXPECT_LT(bytes, 2 / eps * lg * lg * 24) << "ZW state " << bytes;
        }
        RecordProperty(method == kGK ? "gk_bytes" : "zw_bytes", std::to_string(int64_t(bytes)));
    }
}

// Every status, in the order of the checks, with nothing written; the method bits; n.
TEST(Stream, ChecksInOrder) {
    Stream<double> s({0.5}, 0.01);
    BixSSTask *t = s.task.get();
    const double x[3] = {1, 2, 3};
    s.n = 3;
    t->x = const_cast<double *>(x);
    EXPECT_EQ(_bixdSSStreamQuantiles(nullptr, kStream, kZW), BIX_SS_ERROR_NULL_TASK);
    int64_t bad = 0x4, zero = 0, two = 2, negative = -1;
    t->x_storage = &bad;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, 0), BIX_SS_ERROR_BAD_STORAGE);
    t->x_storage = &s.storage;
    void *nparams = t->stream_nparams, *params = t->stream_params, *orders = t->stream_orders,
         *norders = t->stream_norders, *results = t->stream_quantiles;
    t->stream_nparams = t->stream_params = t->stream_orders = t->stream_norders =
        t->stream_quantiles = nullptr;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, 0), BIX_SS_ERROR_NULL_STREAM_NPARAMS);
    // The editor answers a null count with the other code.
    EXPECT_EQ(__bixiSSEditTask(t, BIX_SS_ID_STREAM_NPARAMS, nullptr),
              BIX_SS_ERROR_BAD_STREAM_NPARAMS);
    t->stream_nparams = &two;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, 0), BIX_SS_ERROR_NULL_STREAM_PARAMS);
    t->stream_params = params;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, 0), BIX_SS_ERROR_BAD_STREAM_NPARAMS);
    t->stream_nparams = nparams;
    for (double eps : {0.0, -0.1, 1.5, std::nan("")}) {
        s.params[0] = eps;
        EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, 0), BIX_SS_ERROR_BAD_STREAM_EPSILON) << eps;
    }
    s.params[0] = 1;  // the loosest eps allowed
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, 0), BIX_SS_ERROR_NULL_STREAM_ORDERS);
    t->stream_orders = orders;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, 0), BIX_SS_ERROR_BAD_STREAM_ORDERS);
    t->stream_norders = &negative;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, 0), BIX_SS_ERROR_BAD_STREAM_ORDERS);
    t->stream_norders = norders;
    for (double o : {-1e-9, 1.5, std::nan("")}) {
        s.orders[0] = o;
        EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, 0), BIX_SS_ERROR_BAD_STREAM_ORDERS) << o;
    }
    s.orders[0] = 0.5;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, 0), BIX_SS_ERROR_NULL_STREAM_QUANTILES);
    t->stream_quantiles = results;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, 0x1), BIX_SS_ERROR_BAD_METHOD);
    s.n = -1;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, kGK), BIX_SS_ERROR_BAD_NOBS);
    void *n = t->n;
    t->n = nullptr;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, kGK), BIX_SS_ERROR_BAD_NOBS);
    t->n = n;
    s.n = 3;
    t->x = nullptr;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, kGK), BIX_SS_ERROR_NULL_X);
    EXPECT_EQ(s.results[0], -7.5);
    EXPECT_EQ(korb::stats::stream_state_bytes(t), 0u);
    // Without the estimate bit nothing is checked but the storage and the method.
    t->stream_quantiles = nullptr;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, 0, kGK), 0);
    EXPECT_EQ(_bixdSSStreamQuantiles(t, 0, 0x2), BIX_SS_ERROR_BAD_METHOD);
    t->stream_quantiles = results;
    t->x = const_cast<double *>(x);
    s.n = zero;
    EXPECT_EQ(_bixdSSStreamQuantiles(t, kStream, kGK | kZW), 0);
    EXPECT_TRUE(std::isnan(s.results[0]));
}

// A change of orders, eps or method starts again from the call's own observations; the same
// request continues.
TEST(Stream, NewSummaryWhenTheRequestChanges) {
    Stream<double> s({0.0, 1.0}, 0.01);
    const std::vector<double> low = {1, 2, 3}, high = {10, 20, 30};
    ASSERT_EQ(s.feed(low.data(), 3, kGK), 0);
    ASSERT_EQ(s.feed(high.data(), 3, kGK), 0);
    EXPECT_EQ(s.results, (std::vector<double>{1, 30}));
    ASSERT_EQ(s.feed(high.data(), 3, kZW), 0);  // method
    EXPECT_EQ(s.results, (std::vector<double>{10, 30}));
    ASSERT_EQ(s.feed(low.data(), 3, kZW), 0);
    EXPECT_EQ(s.results, (std::vector<double>{1, 30}));
    s.params[0] = 0.02;  // eps
    ASSERT_EQ(s.feed(low.data(), 3, kZW), 0);
    EXPECT_EQ(s.results, (std::vector<double>{1, 3}));
    s.orders[1] = 0.5;  // orders
    ASSERT_EQ(s.feed(high.data(), 3, kZW), 0);
    EXPECT_EQ(s.results, (std::vector<double>{10, 20}));
}

// The hook runs once, at deletion, and frees everything; a task that never streamed has none.
int hook_calls = 0;
BixSSCleanup original_hook = nullptr;
void counting_hook(BixSSTask *t) {
    ++hook_calls;
    original_hook(t);
}

TEST(Stream, CleanupHookRunsOnceAtDelete) {
    const long live = korb_serv_live_blocks();
    for (int method : {kZW, kGK}) {
        auto *s = new Stream<double>({0.5}, 0.01);
        EXPECT_EQ(s->task->cleanup_count, 0);
        std::vector<double> x(50000, 1.0);
        ASSERT_EQ(s->feed(x.data(), x.size(), method), 0);
        ASSERT_EQ(s->feed(x.data(), x.size(), method), 0);
        EXPECT_EQ(s->task->cleanup_count, 1);
        ASSERT_NE(s->task->cleanup, nullptr);
        original_hook = s->task->cleanup;
        s->task->cleanup = counting_hook;
        hook_calls = 0;
        delete s;
        EXPECT_EQ(hook_calls, 1);
        EXPECT_EQ(korb_serv_live_blocks(), live);
    }
}

// Every allocation failure returns the status and leaves the summaries as they were (and no
// block behind): a run with a failure at each point, retried, ends with the same results as a
// run without failures. The state itself outlives a successful call, so the sweep is written out.
TEST(Stream, AllocationFailuresKeepTheSummaries) {
    for (int method : {kZW, kGK}) {
        std::vector<double> x(30000);
        std::mt19937_64 g(9);
        Stream<double> clean({0.1, 0.5, 0.9}, 0.001), faulty({0.1, 0.5, 0.9}, 0.001);
        for (int call = 0; call < 12; ++call) {
            for (double &v : x) v = observation<double>(Order::random, 0, 0, g);
            ASSERT_EQ(clean.feed(x.data(), x.size(), method), 0);
            const std::vector<double> before = faulty.results;
            const long live = korb_serv_live_blocks();
            for (long k = 0;; ++k) {
                korb_serv_fail_after(k);
                const int st = faulty.feed(x.data(), x.size(), method);
                korb_serv_fail_after(-1);
                if (st == 0) break;
                ASSERT_EQ(st, BIX_SS_ERROR_MEM_FAILURE);
                ASSERT_EQ(faulty.results, before);
                ASSERT_EQ(korb_serv_live_blocks(), live) << "failing allocation " << k;
            }
            ASSERT_EQ(faulty.results, clean.results) << "call " << call;
        }
    }
}

}  // namespace
