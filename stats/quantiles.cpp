// Quantiles and order statistics of each selected variable.
//
// The quantile of order q of n sorted values v_0 <= ... <= v_(n-1) is, with h = (n - 1) q,
// i = floor(h) and t = h - i, the interpolation between v_i and v_(i+1) evaluated as numpy does
// (d = v_(i+1) - v_i in the data's precision, then v_i + d t for t < 1/2 and v_(i+1) - d (1 - t)
// otherwise, in double), so that finite data give numpy's bits. Where numpy's arithmetic breaks
// down this differs: t = 0 and v_i = v_(i+1) give v_i itself, an interpolation with one infinite
// end gives that infinity (numpy: NaN), and finite ends whose difference overflows give
// v_i (1 - t) + v_(i+1) t (numpy: an infinity or NaN). A variable with a NaN observation gets
// NaN for every order.
//
// Without order statistics the values v_i come from a radix selection of the wanted ranks (three
// reads of the variable, see order_keys.h); with them, from the sort that produces them anyway,
// a radix sort on the keys of the values (NaNs last). Observation-major variables of several are
// first gathered into a contiguous buffer. All memory is taken before anything is written, and
// the quantiles are collected in it and copied out at the end, so a failed allocation leaves the
// caller's arrays as they were.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "korb/kernel/ss.h"
#include "stats/order_keys.h"
#include "stats/task.h"

namespace korb::stats {
namespace {

// a <= b, 0 <= t < 1.
template <class T>
T interpolate(T a, T b, double t) {
    if (t == 0 || a == b) return a;
    const T d = b - a;
    if (std::isinf(d)) {
        // An infinite end wins (-inf to +inf is undefined); finite ends too far apart for their
        // difference are weighted separately.
        if (std::isinf(a)) return std::isinf(b) ? std::numeric_limits<T>::quiet_NaN() : a;
        if (std::isinf(b)) return b;
        return static_cast<T>(static_cast<double>(a) * (1 - t) + static_cast<double>(b) * t);
    }
    return static_cast<T>(t < 0.5 ? a + d * t : b - d * (1 - t));
}

// Where order q falls: below = floor((n - 1) q), t the fraction beyond it (0 at the top).
struct Position {
    size_t below;
    double t;
};

Position position(size_t n, double q) {
    const double h = static_cast<double>(n - 1) * q;
    const double f = std::floor(h);
    if (f >= static_cast<double>(n - 1)) return {n - 1, 0.0};
    return {static_cast<size_t>(f), h - f};
}

template <class T>
struct Call {
    using K = KeyOf<T>;
    BixSSTask *task;
    const T *x;
    size_t p, n, m;  // variables, observations, orders
    bool by_variable;
    const T *orders;
    T *quantiles;    // null: not requested
    T *order_stats;  // null: not requested
    bool os_by_variable;
    // Work.
    void *block = nullptr;
    size_t *vars;
    size_t count = 0;  // selected variables
    T *results;        // count x m
    T *gathered;       // n, for observation-major data of several variables
    K *keys, *other;   // n each, sorting
    size_t *counters;  // kSortCounters<K>
    size_t *ranks;     // 2m
    T *ranked;         // 2m
    SelectScratch<K> select;
    bool sorting;
};

template <class T>
bool selected(const BixSSTask *task, size_t i) {
    return task->indices == nullptr || read_int(task, task->indices, static_cast<int64_t>(i)) != 0;
}

// Bytes of an array of count T, rounded up so that the next array stays 64-byte aligned.
template <class T>
size_t bytes(size_t count) {
    return (count * sizeof(T) + 63) / 64 * 64;
}

template <class T>
int allocate(Call<T> &c) {
    using K = KeyOf<T>;
    const size_t n = c.n, p = c.p, m = c.m;
    const bool gather = !c.by_variable && p > 1;
    // Many ranks are cheaper read from a sorted copy than selected; so is n beyond the
    // selection's 32-bit counters.
    c.sorting = c.order_stats != nullptr || 2 * m > kMaxSelectRanks || n >= (size_t{1} << 32);
    const bool select = !c.sorting && c.quantiles != nullptr && m > 0;
    // Sorted keys land in the variable's row of variable-major order statistics, which serves
    // as the second buffer; otherwise a second buffer is taken here.
    const bool other = c.sorting && (c.order_stats == nullptr || !c.os_by_variable);
    const size_t limit = std::numeric_limits<size_t>::max() / 4 / sizeof(double);
    if (n > limit || p > limit || (m != 0 && p > limit / m)) return BIX_SS_ERROR_MEM_FAILURE;
    size_t total = bytes<size_t>(p) + bytes<T>(p * m) + (gather ? bytes<T>(n) : 0);
    if (c.sorting) total += bytes<K>(n) * (other ? 2 : 1) + bytes<size_t>(kSortCounters<K>);
    if (c.quantiles != nullptr) total += bytes<size_t>(2 * m) + bytes<T>(2 * m);
    if (select) {
        total += bytes<K>(n) + bytes<uint32_t>(kSelectBuckets) + bytes<uint8_t>(kSelectBuckets);
    }
    auto *base = static_cast<unsigned char *>(korbAlignedAlloc(total, 128));
    if (base == nullptr) return BIX_SS_ERROR_MEM_FAILURE;
    c.block = base;
    const auto take = [&base](size_t size) {
        void *p = base;
        base += size;
        return p;
    };
    c.vars = static_cast<size_t *>(take(bytes<size_t>(p)));
    c.results = static_cast<T *>(take(bytes<T>(p * m)));
    c.gathered = gather ? static_cast<T *>(take(bytes<T>(n))) : nullptr;
    if (c.sorting) {
        c.keys = static_cast<K *>(take(bytes<K>(n)));
        c.other = other ? static_cast<K *>(take(bytes<K>(n))) : nullptr;
        c.counters = static_cast<size_t *>(take(bytes<size_t>(kSortCounters<K>)));
    }
    if (c.quantiles != nullptr) {
        c.ranks = static_cast<size_t *>(take(bytes<size_t>(2 * m)));
        c.ranked = static_cast<T *>(take(bytes<T>(2 * m)));
    }
    if (select) {
        c.select.keys = static_cast<K *>(take(bytes<K>(n)));
        c.select.counts = static_cast<uint32_t *>(take(bytes<uint32_t>(kSelectBuckets)));
        c.select.wanted = static_cast<uint8_t *>(take(bytes<uint8_t>(kSelectBuckets)));
    }
    return BIX_ERROR_OK;
}

// The distinct ranks the orders need, increasing, into c.ranks; returns their count.
template <class T>
size_t needed_ranks(const Call<T> &c) {
    size_t k = 0;
    for (size_t o = 0; o < c.m; ++o) {
        const Position at = position(c.n, static_cast<double>(c.orders[o]));
        c.ranks[k++] = at.below;
        if (at.t > 0) c.ranks[k++] = at.below + 1;
    }
    std::sort(c.ranks, c.ranks + k);
    return static_cast<size_t>(std::unique(c.ranks, c.ranks + k) - c.ranks);
}

// The quantiles of one variable into out[0, m), given the values of its needed ranks.
template <class T>
void interpolate_orders(const Call<T> &c, size_t distinct, T *out) {
    for (size_t o = 0; o < c.m; ++o) {
        const Position at = position(c.n, static_cast<double>(c.orders[o]));
        const size_t i =
            static_cast<size_t>(std::lower_bound(c.ranks, c.ranks + distinct, at.below) - c.ranks);
        out[o] = at.t > 0 ? interpolate(c.ranked[i], c.ranked[i + 1], at.t) : c.ranked[i];
    }
}

// Sorts variable v (its n values at x[j * stride]) and writes its order statistics, and reads
// its quantiles from the sorted keys.
template <class T>
void sort_variable(Call<T> &c, size_t v, const T *x, size_t stride, size_t distinct) {
    using K = KeyOf<T>;
    using AliasK = typename KeyTraits<T>::AliasKey;
    const size_t n = c.n;
    std::fill(c.counters, c.counters + kSortCounters<K>, size_t{0});
    for (size_t j = 0; j < n; ++j) {
        const K k = to_key(x[j * stride]);
        c.keys[j] = k;
        count_digits(k, c.counters);
    }
    T *row = c.order_stats != nullptr && c.os_by_variable ? c.order_stats + v * n : nullptr;
    // The row holds keys while sorting: accessed through a type that may alias its values.
    auto *second = row != nullptr ? reinterpret_cast<AliasK *>(row) : c.other;
    const K *sorted = radix_sort_counted<K>(c.keys, second, n, c.counters);
    if (c.quantiles != nullptr && c.m > 0) {
        T *out = c.results + c.count * c.m;
        if (sorted[n - 1] > to_key(std::numeric_limits<T>::infinity())) {
            std::fill(out, out + c.m, std::numeric_limits<T>::quiet_NaN());
        } else {
            for (size_t r = 0; r < distinct; ++r) c.ranked[r] = from_key<T>(sorted[c.ranks[r]]);
            interpolate_orders(c, distinct, out);
        }
    }
    if (c.order_stats == nullptr) return;
    if (row != nullptr && sorted != c.keys) {
        // In place: each key read through memcpy before its value is written over it.
        for (size_t j = 0; j < n; ++j) {
            K k;
            std::memcpy(&k, row + j, sizeof k);
            row[j] = from_key<T>(k);
        }
    } else if (row != nullptr) {
        for (size_t j = 0; j < n; ++j) row[j] = from_key<T>(sorted[j]);
    } else {
        for (size_t j = 0; j < n; ++j) c.order_stats[j * c.p + v] = from_key<T>(sorted[j]);
    }
}

template <class T>
void select_variable(Call<T> &c, const T *x, size_t distinct) {
    using K = KeyOf<T>;
    T *out = c.results + c.count * c.m;
    K lo, hi;
    if (key_range(x, c.n, &lo, &hi)) {
        std::fill(out, out + c.m, std::numeric_limits<T>::quiet_NaN());
        return;
    }
    select_ranks(x, c.n, lo, hi, c.ranks, distinct, c.ranked, c.select);
    interpolate_orders(c, distinct, out);
}

template <class T>
int quantiles(BixSSTask *task, uint64_t estimates, int method) {
    if (task == nullptr) return BIX_SS_ERROR_NULL_TASK;
    const int64_t storage = task->x_storage != nullptr ? read_int(task, task->x_storage) : 0;
    if ((storage & (BIX_SS_MATRIX_STORAGE_ROWS | BIX_SS_MATRIX_STORAGE_COLS)) == 0) {
        return BIX_SS_ERROR_BAD_STORAGE;
    }
    const bool want_q = (estimates & BIX_SS_EST_QUANTILES) != 0;
    const bool want_os = (estimates & BIX_SS_EST_ORDER_STATS) != 0;
    int64_t m = 0;
    if (want_q) {
        if (task->quant_orders == nullptr) return BIX_SS_ERROR_NULL_QUANT_ORDERS;
        if (task->quant_norders == nullptr) return BIX_SS_ERROR_BAD_QUANT_ORDERS;
        m = read_int(task, task->quant_norders);
        if (m < 0) return BIX_SS_ERROR_BAD_QUANT_ORDERS;
        const auto *orders = static_cast<const T *>(task->quant_orders);
        for (int64_t o = 0; o < m; ++o) {
            if (!(orders[o] >= 0 && orders[o] <= 1)) return BIX_SS_ERROR_BAD_QUANT_ORDERS;
        }
        if (task->quantiles == nullptr) return BIX_SS_ERROR_NULL_QUANTILES;
    }
    int64_t os_storage = 0;
    if (want_os) {
        if (task->order_stats == nullptr) return BIX_SS_ERROR_NULL_ORDER_STATS;
        if (task->order_stats_storage == nullptr) return BIX_SS_ERROR_NULL_STORAGE;
        os_storage = read_int(task, task->order_stats_storage);
        if ((os_storage & (BIX_SS_MATRIX_STORAGE_ROWS | BIX_SS_MATRIX_STORAGE_COLS)) == 0) {
            return BIX_SS_ERROR_BAD_STORAGE;
        }
    }
    if ((method & BIX_SS_METHOD_QUANTILES) == 0) return BIX_SS_ERROR_BAD_METHOD;

    const int64_t p = task->p != nullptr ? read_int(task, task->p) : 0;
    const int64_t n = task->n != nullptr ? read_int(task, task->n) : 0;
    if (p < 1 || n < 1 || (!want_os && (!want_q || m == 0))) return BIX_ERROR_OK;
    if (task->x == nullptr) return BIX_SS_ERROR_NULL_X;

    Call<T> c{};
    c.task = task;
    c.x = static_cast<const T *>(task->x);
    c.p = static_cast<size_t>(p);
    c.n = static_cast<size_t>(n);
    c.m = static_cast<size_t>(m);
    c.by_variable = (storage & BIX_SS_MATRIX_STORAGE_ROWS) != 0;
    c.orders = static_cast<const T *>(task->quant_orders);
    c.quantiles = want_q ? static_cast<T *>(task->quantiles) : nullptr;
    c.order_stats = want_os ? static_cast<T *>(task->order_stats) : nullptr;
    c.os_by_variable = (os_storage & BIX_SS_MATRIX_STORAGE_ROWS) != 0;
    if (const int status = allocate(c); status != BIX_ERROR_OK) return status;

    const size_t distinct = c.quantiles != nullptr ? needed_ranks(c) : 0;
    for (size_t v = 0; v < c.p; ++v) {
        if (!selected<T>(task, v)) continue;
        c.vars[c.count] = v;
        const T *x = c.by_variable ? c.x + v * c.n : c.x + v;
        size_t stride = c.by_variable ? 1 : c.p;
        if (c.sorting) {
            sort_variable(c, v, x, stride, distinct);
        } else {
            if (stride != 1) {
                for (size_t j = 0; j < c.n; ++j) c.gathered[j] = x[j * stride];
                x = c.gathered;
            }
            select_variable(c, x, distinct);
        }
        ++c.count;
    }
    if (c.quantiles != nullptr) {
        for (size_t k = 0; k < c.count; ++k) {
            std::copy(c.results + k * c.m, c.results + (k + 1) * c.m,
                      c.quantiles + c.vars[k] * c.m);
        }
    }
    korbAlignedFree(c.block);
    return BIX_ERROR_OK;
}

}  // namespace
}  // namespace korb::stats

extern "C" {

int _bixdSSQuantiles(BixSSTask *task, uint64_t estimates, int method) {
    return korb::stats::quantiles<double>(task, estimates, method);
}

int _bixsSSQuantiles(BixSSTask *task, uint64_t estimates, int method) {
    return korb::stats::quantiles<float>(task, estimates, method);
}

}  // extern "C"
