// Fuzz target: a summary-statistics task built from fuzzed parameters and data, then computed.
//
// The input chooses the precision, the integer width, the dimensions (a few small negative and
// zero ones included), the storage codes, the observations, weights and indices, which result
// slots are set (each may be left null), the quantile orders and the streaming parameter, and
// then the estimate mask and method of each estimator call. Every array the task points at has
// exactly the size its role needs, so that a read or write past it is caught. The checks: every
// status is 0 or a statistics code; a refused call writes nothing; the streaming summaries
// survive a second call with fewer observations; deleting the task returns every block.
#include <cmath>
#include <cstdint>
#include <vector>

#include "bytes.h"
#include "korb/kernel/ss.h"
#include "korb_core.h"

namespace {

using korb::fuzz::Bytes;
using korb::fuzz::require;

// An integer slot of the task's width.
struct Int {
    int64_t wide = 0;
    int32_t narrow = 0;
    bool is_wide = false;
    void set(int64_t v) {
        wide = v;
        narrow = static_cast<int32_t>(v);
    }
    void *ptr() { return is_wide ? static_cast<void *>(&wide) : static_cast<void *>(&narrow); }
};

bool valid_status(int status) {
    return status == 0 || status == BIX_ERROR_BADARGS || (status <= -4000 && status >= -4071);
}

template <class T>
struct Case {
    Int p, n, x_storage, cov_storage, cor_storage, os_storage, norders, stream_norders, nparams;
    std::vector<T> x, weights, accum, results[12], cov, cor, orders, quantiles, order_stats;
    std::vector<T> stream_orders, stream_quantiles, params;
    std::vector<int32_t> indices32;
    std::vector<int64_t> indices64;
};

template <class T>
T *maybe(Bytes &in, std::vector<T> &v) {
    return in.one_in(16) ? nullptr : v.data();
}

// The result arrays as they stand, to prove that a refused call changed none of them.
template <class T>
std::vector<std::vector<T> *> outputs(Case<T> &c) {
    std::vector<std::vector<T> *> all = {&c.accum,     &c.cov,         &c.cor,
                                         &c.quantiles, &c.order_stats, &c.stream_quantiles};
    for (auto &r : c.results) all.push_back(&r);
    return all;
}

template <class T>
std::vector<std::vector<T>> snapshot(Case<T> &c) {
    std::vector<std::vector<T>> s;
    for (auto *v : outputs(c)) s.push_back(*v);
    return s;
}

template <class T>
bool unchanged(Case<T> &c, const std::vector<std::vector<T>> &before) {
    const auto now = outputs(c);
    for (size_t i = 0; i < now.size(); ++i) {
        if (!korb::fuzz::same_bits(now[i]->data(), before[i].data(), before[i].size()))
            return false;
    }
    return true;
}

int64_t storage_code(Bytes &in) {
    switch (in.byte() % 5) {
        case 0:
            return BIX_SS_MATRIX_STORAGE_ROWS;
        case 1:
            return BIX_SS_MATRIX_STORAGE_COLS;
        case 2:
            return BIX_SS_COV_FULL;
        case 3:
            return BIX_SS_COV_LOWER_PACKED;
        default:
            return in.take<int32_t>();
    }
}

uint64_t estimates(Bytes &in) {
    return in.one_in(8) ? in.take<uint64_t>() : in.take<uint32_t>() & 0x73FFF;
}

int method(Bytes &in) {
    constexpr int kMethods[] = {BIX_SS_METHOD_TWO_PASS,   BIX_SS_METHOD_ONE_PASS,
                                BIX_SS_METHOD_GIVEN_MEAN, BIX_SS_METHOD_STREAM_ZW,
                                BIX_SS_METHOD_STREAM_GK,  BIX_SS_METHOD_QUANTILES};
    const uint8_t k = in.byte();
    return k < 240 ? kMethods[k % 6] : in.take<int32_t>();
}

template <class T>
void run(Bytes &in) {
    Case<T> c;
    const bool wide = in.byte() & 1;
    for (Int *i : {&c.p, &c.n, &c.x_storage, &c.cov_storage, &c.cor_storage, &c.os_storage,
                   &c.norders, &c.stream_norders, &c.nparams}) {
        i->is_wide = wide;
    }
    c.p.set(in.range(-2, 6));
    c.n.set(in.range(-2, 40));
    const size_t p = c.p.wide > 0 ? static_cast<size_t>(c.p.wide) : 0;
    const size_t n = c.n.wide > 0 ? static_cast<size_t>(c.n.wide) : 0;
    c.x_storage.set(in.one_in(8) ? storage_code(in) : (in.byte() & 1 ? 0x10000 : 0x20000));
    c.x.resize(p * n);
    for (T &v : c.x) v = static_cast<T>(in.number());
    c.weights.resize(n);
    for (T &v : c.weights) v = in.one_in(4) ? static_cast<T>(in.number()) : T(1);
    c.indices32.resize(p);
    c.indices64.resize(p);
    for (size_t i = 0; i < p; ++i)
        c.indices32[i] = static_cast<int32_t>(c.indices64[i] = in.byte() % 3);
    for (auto &r : c.results) r.assign(p, T(0));
    c.cov.assign(p * p, T(0));
    c.cor.assign(p * p, T(0));
    c.cov_storage.set(storage_code(in));
    c.cor_storage.set(storage_code(in));
    c.accum.assign(2, T(0));
    const size_t m = static_cast<size_t>(in.range(0, 5));
    c.norders.set(in.one_in(16) ? -static_cast<long>(m) : static_cast<long>(m));
    c.orders.resize(m);
    for (T &q : c.orders)
        q = in.one_in(8) ? static_cast<T>(in.number()) : static_cast<T>(in.byte() / 255.0);
    c.quantiles.assign(p * m, T(0));
    c.order_stats.assign(p * n, T(0));
    c.os_storage.set(storage_code(in));
    const size_t ms = static_cast<size_t>(in.range(0, 4));
    c.stream_norders.set(static_cast<long>(ms));
    c.stream_orders.resize(ms);
    for (T &q : c.stream_orders) q = static_cast<T>(in.byte() / 255.0);
    c.stream_quantiles.assign(p * ms, T(0));
    c.nparams.set(in.one_in(16) ? in.range(-1, 3) : 1);
    // eps from 1/255 to 1, or a refused value; never so small that the summaries grow huge.
    const double eps_choices[] = {0.0, -0.5, NAN, 2.0};
    c.params.assign(1, static_cast<T>(in.one_in(8) ? eps_choices[in.byte() % 4]
                                                   : (1 + in.byte() % 255) / 255.0));

    const long live = korb_serv_live_blocks();
    BixSSTask *task = nullptr;
    const bool dbl = sizeof(T) == 8;
    T *x = in.one_in(16) ? nullptr : c.x.data();
    T *w = in.byte() & 1 ? nullptr : c.weights.data();
    void *idx = in.byte() & 1 ? nullptr
                : wide        ? static_cast<void *>(c.indices64.data())
                              : static_cast<void *>(c.indices32.data());
    int status;
    if constexpr (sizeof(T) == 8) {
        status = __bixdSSNewTask(&task, c.p.ptr(), c.n.ptr(), c.x_storage.ptr(), x, w, idx,
                                 wide ? 1 : 0);
    } else {
        status = __bixsSSNewTask(&task, c.p.ptr(), c.n.ptr(), c.x_storage.ptr(), x, w, idx,
                                 wide ? 1 : 0);
    }
    require(valid_status(status));
    if (task == nullptr) {
        require(korb_serv_live_blocks() == live);
        return;
    }
    auto &r = c.results;
    T *slots[12];
    for (int i = 0; i < 12; ++i) slots[i] = maybe(in, r[i]);
    if constexpr (sizeof(T) == 8) {
        require(valid_status(__bixdSSEditMoments(task, slots[0], slots[1], slots[2], slots[3],
                                                 slots[4], slots[5], slots[6])));
        require(
            valid_status(__bixdSSEditCovCor(task, slots[0], maybe(in, c.cov), c.cov_storage.ptr(),
                                            maybe(in, c.cor), c.cor_storage.ptr())));
        require(valid_status(__bixdSSEditQuantiles(task, c.norders.ptr(), maybe(in, c.orders),
                                                   maybe(in, c.quantiles), maybe(in, c.order_stats),
                                                   c.os_storage.ptr())));
        require(valid_status(__bixdSSEditStreamQuantiles(
            task, c.stream_norders.ptr(), maybe(in, c.stream_orders), maybe(in, c.stream_quantiles),
            c.nparams.ptr(), maybe(in, c.params))));
    } else {
        require(valid_status(__bixsSSEditMoments(task, slots[0], slots[1], slots[2], slots[3],
                                                 slots[4], slots[5], slots[6])));
        require(
            valid_status(__bixsSSEditCovCor(task, slots[0], maybe(in, c.cov), c.cov_storage.ptr(),
                                            maybe(in, c.cor), c.cor_storage.ptr())));
        require(valid_status(__bixsSSEditQuantiles(task, c.norders.ptr(), maybe(in, c.orders),
                                                   maybe(in, c.quantiles), maybe(in, c.order_stats),
                                                   c.os_storage.ptr())));
        require(valid_status(__bixsSSEditStreamQuantiles(
            task, c.stream_norders.ptr(), maybe(in, c.stream_orders), maybe(in, c.stream_quantiles),
            c.nparams.ptr(), maybe(in, c.params))));
    }
    // The single slots: kurtosis, skewness, variation, min, max, and the accumulated weights.
    const int ids[] = {BIX_SS_ID_KURTOSIS, BIX_SS_ID_SKEWNESS, BIX_SS_ID_VARIATION, BIX_SS_ID_MIN,
                       BIX_SS_ID_MAX};
    for (int i = 0; i < 5; ++i) {
        if (slots[7 + i] == nullptr) continue;
        if constexpr (sizeof(T) == 8) {
            require(valid_status(__bixdSSEditTask(task, ids[i], slots[7 + i])));
        } else {
            require(valid_status(__bixsSSEditTask(task, ids[i], slots[7 + i])));
        }
    }
    if (in.one_in(4)) {
        if constexpr (sizeof(T) == 8) {
            require(valid_status(__bixdSSEditTask(task, BIX_SS_ID_ACCUM_WEIGHTS, c.accum.data())));
        } else {
            require(valid_status(__bixsSSEditTask(task, BIX_SS_ID_ACCUM_WEIGHTS, c.accum.data())));
        }
    }
    // A few edits that must be refused: null values for any id (an edit the task accepted would
    // make it point at arrays of other sizes than the ones made here).
    for (int k = in.byte() % 3; k > 0; --k) {
        const int id = static_cast<int>(in.range(-1, 70));
        require(__bixiSSEditTask(task, id, nullptr) < 0);
        if constexpr (sizeof(T) == 8) {
            require(__bixdSSEditTask(task, id, nullptr) < 0);
        } else {
            require(__bixsSSEditTask(task, id, nullptr) < 0);
        }
    }

    using Estimator = int (*)(BixSSTask *, uint64_t, int);
    const Estimator kernels[] = {
        dbl ? (Estimator)_bixdSSBasic : (Estimator)_bixsSSBasic,
        dbl ? (Estimator)_bixdSSMinmax : (Estimator)_bixsSSMinmax,
        dbl ? (Estimator)_bixdSSQuantiles : (Estimator)_bixsSSQuantiles,
        dbl ? (Estimator)_bixdSSStreamQuantiles : (Estimator)_bixsSSStreamQuantiles};
    for (int call = 0; call < 6 && in.left() > 0; ++call) {
        const int which = in.byte() % 5;
        const uint64_t est = estimates(in);
        const int meth = method(in);
        const auto before = snapshot(c);
        if (which == 4) {
            // The streaming estimator again on fewer observations: the task reads n each call.
            c.n.set(n > 0 ? in.range(0, static_cast<long>(n)) : c.n.wide);
        }
        const int st = kernels[which == 4 ? 3 : which](task, est, meth);
        require(valid_status(st));
        if (st != 0) require(unchanged(c, before));
    }
    require(__bixSSDeleteTask(&task) == 0 && task == nullptr);
    require(korb_serv_live_blocks() == live);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Bytes in(data, size);
    if (in.byte() & 1) {
        run<double>(in);
    } else {
        run<float>(in);
    }
    return 0;
}
