// Minimum and maximum of each selected variable, accumulating into the caller's min and max.
//
// Every update is min = (x < min) ? x : min and max = (x > max) ? x : max, so a NaN observation
// never replaces a value (it loses every comparison) and, of equal values, the first seen stays;
// the two differ only for zeros of opposite sign. The vector paths keep these results exactly:
// across variables (observation-major storage) each lane sees its variable's observations in
// order with minpd/maxpd, whose operand order gives the same expression; along one variable
// (variable-major storage, or one variable stored either way) lanes see interleaved parts of
// the run, which gives the same value, and a zero result takes its sign from the first zero of
// the run, as the element-by-element loop would.
#include <cstddef>
#include <cstdint>

#include "frame/simd.h"
#include "korb/kernel/ss.h"
#include "stats/task.h"

namespace korb::stats {
namespace {

using simd::kLanes;
using simd::kVectorBytes;

constexpr int kUnroll = 4;
// Observation-major data is processed in blocks of rows of about this many bytes, so that the
// passes over the variable groups of a block read it from the first-level cache.
constexpr size_t kBlockBytes = 16384;
// Rows longer than this are processed a few whole rows at a time instead.
constexpr size_t kWideRowBytes = 256;

template <class T>
inline T lower(T x, T m) {
    return x < m ? x : m;
}
template <class T>
inline T raise(T x, T m) {
    return x > m ? x : m;
}

// The first element of x[0, n) equal to zero (of either sign); there is one when called.
template <class T>
T first_zero(const T *x, size_t n) {
    for (size_t j = 0; j < n; ++j) {
        if (x[j] == 0) return x[j];
    }
    return 0;
}

template <class V>
inline auto fold_min(V v) {
    auto r = v[0];
    for (int k = 1; k < static_cast<int>(sizeof v / sizeof r); ++k) r = lower(v[k], r);
    return r;
}
template <class V>
inline auto fold_max(V v) {
    auto r = v[0];
    for (int k = 1; k < static_cast<int>(sizeof v / sizeof r); ++k) r = raise(v[k], r);
    return r;
}

// One contiguous run x[0, n) lowers *lo and raises *hi (either may be null: not requested).
// Neither may overlap the run.
template <class T>
void run_extremes(const T *x, size_t n, T *lo_out, T *hi_out) {
    using V = typename simd::VectorOf<T>::type;
    constexpr int L = kLanes<T>;
    const T lo0 = lo_out != nullptr ? *lo_out : T(0);
    const T hi0 = hi_out != nullptr ? *hi_out : T(0);
    T lo = lo0, hi = hi0;
    size_t j = 0;
    for (; j < n && reinterpret_cast<uintptr_t>(x + j) % kVectorBytes != 0; ++j) {
        lo = lower(x[j], lo);
        hi = raise(x[j], hi);
    }
    if (n - j >= static_cast<size_t>(kUnroll * L)) {
        V l[kUnroll], h[kUnroll];
        for (int k = 0; k < kUnroll; ++k) {
            l[k] = simd::splat<V>(lo);
            h[k] = simd::splat<V>(hi);
        }
        for (; j + kUnroll * L <= n; j += kUnroll * L) {
            for (int k = 0; k < kUnroll; ++k) {
                const V v = simd::load_aligned<V>(x + j + k * L);
                l[k] = simd::min_lanes(v, l[k]);
                h[k] = simd::max_lanes(v, h[k]);
            }
        }
        for (int k = 1; k < kUnroll; ++k) {
            l[0] = simd::min_lanes(l[k], l[0]);
            h[0] = simd::max_lanes(h[k], h[0]);
        }
        lo = fold_min(l[0]);
        hi = fold_max(h[0]);
    }
    for (; j < n; ++j) {
        lo = lower(x[j], lo);
        hi = raise(x[j], hi);
    }
    // A zero extreme: the starting value if it was a zero itself, else the run's first zero.
    if (lo_out != nullptr) *lo_out = lo != 0 ? lo : lo0 == 0 ? lo0 : first_zero(x, n);
    if (hi_out != nullptr) *hi_out = hi != 0 ? hi : hi0 == 0 ? hi0 : first_zero(x, n);
}

// Rows of many variables: one row at a time in memory order, each vector of results loaded,
// lowered and stored. Groups of several rows per load, or passes per variable group over a
// block of rows, measured much slower at this width (the rows are read out of memory order).
template <class T>
void wide_rows_extremes(const T *x, size_t p, size_t n, T *lo, T *hi) {
    using V = typename simd::VectorOf<T>::type;
    constexpr size_t L = kLanes<T>;
    T dummy[2 * L] = {};
    for (size_t j = 0; j < n; ++j) {
        const T *r = x + j * p;
        size_t i = 0;
        for (; i + L <= p; i += L) {
            T *li = lo != nullptr ? lo + i : dummy;
            T *hi_i = hi != nullptr ? hi + i : dummy + L;
            const V v = simd::load<V>(r + i);
            simd::store(li, simd::min_lanes(v, simd::load<V>(li)));
            simd::store(hi_i, simd::max_lanes(v, simd::load<V>(hi_i)));
        }
        for (; i < p; ++i) {
            if (lo != nullptr) lo[i] = lower(r[i], lo[i]);
            if (hi != nullptr) hi[i] = raise(r[i], hi[i]);
        }
    }
}

// Observation-major rows x[j*p, j*p + p) for j in [0, n) lower lo[0, p) and raise hi[0, p)
// (either may be null), which must not overlap x. Lanes run across variables, so each lane
// applies its variable's observations in order.
template <class T>
void rows_extremes(const T *x, size_t p, size_t n, T *lo, T *hi) {
    using V = typename simd::VectorOf<T>::type;
    constexpr size_t L = kLanes<T>;
    if (p == 1) {
        run_extremes(x, n, lo, hi);
        return;
    }
    if (p * sizeof(T) > kWideRowBytes) {
        wide_rows_extremes(x, p, n, lo, hi);
        return;
    }
    const size_t block = p * sizeof(T) >= kBlockBytes ? 1 : kBlockBytes / (p * sizeof(T));
    for (size_t j0 = 0; j0 < n; j0 += block) {
        const size_t j1 = n - j0 < block ? n : j0 + block;
        size_t i = 0;
        // Groups of kUnroll vectors: independent chains through the rows of the block.
        for (; i + kUnroll * L <= p; i += kUnroll * L) {
            V l[kUnroll], h[kUnroll];
            for (int k = 0; k < kUnroll; ++k) {
                l[k] = lo != nullptr ? simd::load<V>(lo + i + k * L) : V{};
                h[k] = hi != nullptr ? simd::load<V>(hi + i + k * L) : V{};
            }
            for (size_t j = j0; j < j1; ++j) {
                const T *row = x + j * p + i;
                for (int k = 0; k < kUnroll; ++k) {
                    const V v = simd::load<V>(row + k * L);
                    l[k] = simd::min_lanes(v, l[k]);
                    h[k] = simd::max_lanes(v, h[k]);
                }
            }
            for (int k = 0; k < kUnroll; ++k) {
                if (lo != nullptr) simd::store(lo + i + k * L, l[k]);
                if (hi != nullptr) simd::store(hi + i + k * L, h[k]);
            }
        }
        for (; i + L <= p; i += L) {
            V l = lo != nullptr ? simd::load<V>(lo + i) : V{};
            V h = hi != nullptr ? simd::load<V>(hi + i) : V{};
            for (size_t j = j0; j < j1; ++j) {
                const V v = simd::load<V>(x + j * p + i);
                l = simd::min_lanes(v, l);
                h = simd::max_lanes(v, h);
            }
            if (lo != nullptr) simd::store(lo + i, l);
            if (hi != nullptr) simd::store(hi + i, h);
        }
        for (; i < p; ++i) {
            T l = lo != nullptr ? lo[i] : T(0);
            T h = hi != nullptr ? hi[i] : T(0);
            for (size_t j = j0; j < j1; ++j) {
                l = lower(x[j * p + i], l);
                h = raise(x[j * p + i], h);
            }
            if (lo != nullptr) lo[i] = l;
            if (hi != nullptr) hi[i] = h;
        }
    }
}

// The element-by-element loops, through memory, for result arrays that may overlap the
// observations (or each other): every read sees every earlier write.
template <class T>
void rows_extremes_scalar(const T *x, size_t p, size_t n, T *lo, T *hi) {
    for (size_t j = 0; j < n; ++j) {
        for (size_t i = 0; i < p; ++i) {
            if (lo != nullptr) lo[i] = lower(x[j * p + i], lo[i]);
            if (hi != nullptr) hi[i] = raise(x[j * p + i], hi[i]);
        }
    }
}

template <class T>
void run_extremes_scalar(const T *x, size_t n, T *lo, T *hi) {
    for (size_t j = 0; j < n; ++j) {
        if (lo != nullptr) *lo = lower(x[j], *lo);
        if (hi != nullptr) *hi = raise(x[j], *hi);
    }
}

inline bool overlaps(const void *a, size_t a_bytes, const void *b, size_t b_bytes) {
    const auto pa = reinterpret_cast<uintptr_t>(a), pb = reinterpret_cast<uintptr_t>(b);
    return a != nullptr && b != nullptr && pa < pb + b_bytes && pb < pa + a_bytes;
}

template <class T>
bool results_overlap(const T *x, size_t count, const T *lo, const T *hi, size_t p) {
    const size_t bytes = p * sizeof(T);
    return overlaps(x, count * sizeof(T), lo, bytes) || overlaps(x, count * sizeof(T), hi, bytes) ||
           overlaps(lo, bytes, hi, bytes);
}

inline bool selected(const BixSSTask *task, size_t i) {
    return task->indices == nullptr || read_int(task, task->indices, static_cast<int64_t>(i)) != 0;
}

// Observation-major storage.
template <class T>
int by_observation(const BixSSTask *task, const T *x, size_t p, size_t n, T *lo, T *hi) {
    if (task->indices == nullptr) {
        if (results_overlap(x, p * n, lo, hi, p)) {
            rows_extremes_scalar(x, p, n, lo, hi);
        } else {
            rows_extremes(x, p, n, lo, hi);
        }
        return BIX_ERROR_OK;
    }
    // Work on copies of all p variables, then return only the selected ones.
    const size_t arrays = (lo != nullptr ? 1 : 0) + (hi != nullptr ? 1 : 0);
    auto *work = static_cast<T *>(korbAlignedAlloc(arrays * p * sizeof(T), 128));
    if (work == nullptr) return BIX_SS_ERROR_MEM_FAILURE;
    T *wlo = lo != nullptr ? work : nullptr;
    T *whi = hi != nullptr ? work + (lo != nullptr ? p : 0) : nullptr;
    for (size_t i = 0; i < p; ++i) {
        if (wlo != nullptr) wlo[i] = lo[i];
        if (whi != nullptr) whi[i] = hi[i];
    }
    rows_extremes(x, p, n, wlo, whi);
    for (size_t i = 0; i < p; ++i) {
        if (!selected(task, i)) continue;
        if (lo != nullptr) lo[i] = wlo[i];
        if (hi != nullptr) hi[i] = whi[i];
    }
    korbAlignedFree(work);
    return BIX_ERROR_OK;
}

// Variable-major storage.
template <class T>
int by_variable(const BixSSTask *task, const T *x, size_t p, size_t n, T *lo, T *hi) {
    auto *list = static_cast<size_t *>(korbAlignedAlloc(p * sizeof(size_t), 128));
    if (list == nullptr) return BIX_SS_ERROR_MEM_FAILURE;
    size_t count = 0;
    for (size_t i = 0; i < p; ++i) {
        if (selected(task, i)) list[count++] = i;
    }
    const bool scalar = results_overlap(x, p * n, lo, hi, p);
    for (size_t k = 0; k < count; ++k) {
        const size_t i = list[k];
        T *l = lo != nullptr ? lo + i : nullptr;
        T *h = hi != nullptr ? hi + i : nullptr;
        if (scalar) {
            run_extremes_scalar(x + i * n, n, l, h);
        } else {
            run_extremes(x + i * n, n, l, h);
        }
    }
    korbAlignedFree(list);
    return BIX_ERROR_OK;
}

template <class T>
int minmax(BixSSTask *task, uint64_t estimates, int method) {
    if (task == nullptr) return BIX_SS_ERROR_NULL_TASK;
    const int64_t storage = task->x_storage != nullptr ? read_int(task, task->x_storage) : 0;
    if ((storage & (BIX_SS_MATRIX_STORAGE_ROWS | BIX_SS_MATRIX_STORAGE_COLS)) == 0) {
        return BIX_SS_ERROR_BAD_STORAGE;
    }
    const bool want_min = (estimates & BIX_SS_EST_MIN) != 0;
    const bool want_max = (estimates & BIX_SS_EST_MAX) != 0;
    if (want_min && task->min == nullptr) return BIX_SS_ERROR_NULL_MIN;
    if (want_max && task->max == nullptr) return BIX_SS_ERROR_NULL_MAX;
    if ((method & 0x3) == 0) return BIX_SS_ERROR_BAD_METHOD;

    const int64_t p = task->p != nullptr ? read_int(task, task->p) : 0;
    const int64_t n = task->n != nullptr ? read_int(task, task->n) : 0;
    if (p < 1 || n < 1 || (!want_min && !want_max)) return BIX_ERROR_OK;
    const auto *x = static_cast<const T *>(task->x);
    if (x == nullptr) return BIX_SS_ERROR_NULL_X;
    T *lo = want_min ? static_cast<T *>(task->min) : nullptr;
    T *hi = want_max ? static_cast<T *>(task->max) : nullptr;
    const auto up = static_cast<size_t>(p), un = static_cast<size_t>(n);
    if ((storage & BIX_SS_MATRIX_STORAGE_ROWS) != 0) return by_variable(task, x, up, un, lo, hi);
    return by_observation(task, x, up, un, lo, hi);
}

}  // namespace
}  // namespace korb::stats

extern "C" {

int _bixdSSMinmax(BixSSTask *task, uint64_t estimates, int method) {
    return korb::stats::minmax<double>(task, estimates, method);
}

int _bixsSSMinmax(BixSSTask *task, uint64_t estimates, int method) {
    return korb::stats::minmax<float>(task, estimates, method);
}

}  // extern "C"
