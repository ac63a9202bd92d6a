// Interpolation: korb_df_kernel_[d|s]Interpolate1D.
//
// The sites go through in blocks of kSiteBlock: the search gives each site's count of partition
// points at or below it (written straight to the caller's cell array when cells are asked for),
// Pieces turns counts into polynomial cells and offsets t from the cells' left knots, and then
// every requested derivative of every function is one loop over the block. Sorted sites that
// crowd into few cells are evaluated a run of equal cells at a time instead, the coefficients
// read once per run: the same operations, with the loop over the run's sites in vector
// registers. Derivative q of
// a cell's polynomial is evaluated by Horner's rule from the highest coefficient,
//
//   p^(q)(t) = sum_{m >= q} m! / (m - q)! c_m t^(m - q),
//
// the factors being exact integers; the loops for orders 2 to 4 have order and q fixed at compile
// time and compute the very same operations as the loop for any order. Outside the partition the
// end cells' polynomials go on (t < 0 in the first cell, t beyond the width in the last). A NaN
// site gives NaN for every derivative, the highest (a constant, which t does not reach) too.
//
// Error: Horner's rule on order terms is within about 2 (order - 1) units of rounding of the sum
// of the terms' magnitudes, sum |m!/(m-q)! c_m t^(m-q)|; the tests hold korb and scipy (which sums
// powers) to 1e-13 of that sum.
#include <cstdint>

#include "korb/kernel/df.h"
#include "search.h"

namespace korb::datafit {
namespace {

// m! / (m - q)!, the factor of c_m in derivative q.
constexpr double falling(std::int64_t m, std::int64_t q) {
    double f = 1.0;
    for (std::int64_t p = m; p > m - q; --p) f *= static_cast<double>(p);
    return f;
}

// The result array is the caller's and overlaps neither the coefficients nor the block's arrays
// (__restrict), which lets a class with gathers run the loops over sites in vectors.
template <class T>
using Evaluator = void (*)(const T *c, std::int64_t order, std::int64_t q, const std::int64_t *j,
                           const double *t, std::int64_t n, T *__restrict out, std::int64_t stride);

// Derivative Q of the polynomials of order Order at the block's sites; Unit stores contiguously.
template <class T, int Order, int Q, bool Unit>
void derivative_fixed(const T *c, std::int64_t, std::int64_t, const std::int64_t *j,
                      const double *t, std::int64_t n, T *__restrict out, std::int64_t stride) {
    const std::int64_t step = Unit ? 1 : stride;
    for (std::int64_t i = 0; i < n; ++i) {
        // Indexed from c rather than through a pointer to the cell, so that the loads are
        // recognised as gathers.
        const std::int64_t b = j[i] * Order;
        double acc = falling(Order - 1, Q) * static_cast<double>(c[b + Order - 1]);
        for (int m = Order - 2; m >= Q; --m) {
            acc = acc * t[i] + falling(m, Q) * static_cast<double>(c[b + m]);
        }
        if constexpr (Q == Order - 1) acc = t[i] == t[i] ? acc : t[i];
        out[i * step] = static_cast<T>(acc);
    }
}

// The same for any order and derivative.
template <class T, bool Unit>
void derivative_any(const T *c, std::int64_t order, std::int64_t q, const std::int64_t *j,
                    const double *t, std::int64_t n, T *__restrict out, std::int64_t stride) {
    const std::int64_t step = Unit ? 1 : stride;
    for (std::int64_t i = 0; i < n; ++i) {
        const std::int64_t b = j[i] * order;
        double acc = falling(order - 1, q) * static_cast<double>(c[b + order - 1]);
        for (std::int64_t m = order - 2; m >= q; --m) {
            acc = acc * t[i] + falling(m, q) * static_cast<double>(c[b + m]);
        }
        if (q == order - 1) acc = t[i] == t[i] ? acc : t[i];
        out[i * step] = static_cast<T>(acc);
    }
}

template <class T, bool Unit>
Evaluator<T> evaluator(std::int64_t order, std::int64_t q) {
    static constexpr Evaluator<T> kOrder2[] = {derivative_fixed<T, 2, 0, Unit>,
                                               derivative_fixed<T, 2, 1, Unit>};
    static constexpr Evaluator<T> kOrder3[] = {derivative_fixed<T, 3, 0, Unit>,
                                               derivative_fixed<T, 3, 1, Unit>,
                                               derivative_fixed<T, 3, 2, Unit>};
    static constexpr Evaluator<T> kOrder4[] = {
        derivative_fixed<T, 4, 0, Unit>, derivative_fixed<T, 4, 1, Unit>,
        derivative_fixed<T, 4, 2, Unit>, derivative_fixed<T, 4, 3, Unit>};
    if (order == 2) return kOrder2[q];
    if (order == 3) return kOrder3[q];
    if (order == 4) return kOrder4[q];
    return derivative_any<T, Unit>;
}

// A run of sites in one cell: the coefficients are the same for every site of the run, so they
// are read once and the loop over the sites runs in vector registers. The operations are those of
// derivative_fixed, with the products falling(m, Q) c_m made once.
template <class T>
using RunEvaluator = void (*)(const T *c, double knot, const double *s, std::int64_t n,
                              T *__restrict out, std::int64_t stride);

template <class T, int Order, int Q, bool Unit>
void derivative_run(const T *c, double knot, const double *s, std::int64_t n, T *__restrict out,
                    std::int64_t stride) {
    const std::int64_t step = Unit ? 1 : stride;
    double f[Order];
    for (int m = Q; m < Order; ++m) f[m] = falling(m, Q) * static_cast<double>(c[m]);
    for (std::int64_t i = 0; i < n; ++i) {
        const double t = s[i] - knot;
        double acc = f[Order - 1];
        for (int m = Order - 2; m >= Q; --m) acc = acc * t + f[m];
        if constexpr (Q == Order - 1) acc = t == t ? acc : t;
        out[i * step] = static_cast<T>(acc);
    }
}

// The run evaluator of order 2 to 4, or null for any other order.
template <class T, bool Unit>
RunEvaluator<T> run_evaluator(std::int64_t order, std::int64_t q) {
    static constexpr RunEvaluator<T> kOrder2[] = {derivative_run<T, 2, 0, Unit>,
                                                  derivative_run<T, 2, 1, Unit>};
    static constexpr RunEvaluator<T> kOrder3[] = {derivative_run<T, 3, 0, Unit>,
                                                  derivative_run<T, 3, 1, Unit>,
                                                  derivative_run<T, 3, 2, Unit>};
    static constexpr RunEvaluator<T> kOrder4[] = {
        derivative_run<T, 4, 0, Unit>, derivative_run<T, 4, 1, Unit>, derivative_run<T, 4, 2, Unit>,
        derivative_run<T, 4, 3, Unit>};
    if (order == 2) return kOrder2[q];
    if (order == 3) return kOrder3[q];
    if (order == 4) return kOrder4[q];
    return nullptr;
}

// Runs are evaluated as runs when they hold at least this many sites on average.
constexpr std::int64_t kRunSites = 4;

bool result_hint_accepted(std::int64_t h) {
    return h == DF_R_FUNC_SITE_DER || h == DF_R_FUNC_DER_SITE || h == DF_R_SITE_FUNC_DER;
}

template <class T>
std::int64_t interpolate(DfTask *task, std::int64_t type, std::int64_t method, std::int64_t nsite,
                         const T *site, std::int64_t sitehint, std::int64_t ndorder,
                         const std::int64_t *dorder, T *r, std::int64_t rhint, std::int64_t *cell) {
    if (task == nullptr) return DF_ERROR_NULL_TASK;
    const bool values = (type & DF_INTERP_VALUES) != 0, cells = (type & DF_INTERP_CELLS) != 0;
    if ((!values && !cells) || (type & ~std::int64_t{DF_INTERP_VALUES | DF_INTERP_CELLS}) != 0) {
        return DF_ERROR_BAD_INTERP_TYPE;
    }
    if (method != DF_METHOD_STD) return DF_ERROR_BAD_METHOD;
    if (nsite < 0) return DF_ERROR_BAD_NSITE;
    if (site == nullptr && nsite > 0) return DF_ERROR_NULL_SITE;
    if (!site_hint_accepted(sitehint)) return DF_ERROR_BAD_SITE_HINT;
    Pieces<T> pieces;
    std::int64_t status = DF_STATUS_OK;
    if (values) {
        status = read_model(task, &pieces);
        if (status != DF_STATUS_OK) return status;
        if (ndorder < 1 || ndorder > pieces.order) return DF_ERROR_BAD_NDORDER;
        if (dorder == nullptr) return DF_ERROR_NULL_DORDER;
        if (r == nullptr && nsite > 0) return DF_ERROR_NULL_RESULT;
        if (!result_hint_accepted(rhint)) return DF_ERROR_BAD_RESULT_HINT;
    }
    if (cells && cell == nullptr && nsite > 0) return DF_ERROR_NULL_CELL;
    status = read_partition(task, &pieces.part);
    if (status != DF_STATUS_OK) return status;
    std::int64_t nd = 0, ny = 0;
    if (values) {
        status = read_coefficients(task, &pieces);
        if (status != DF_STATUS_OK) return status;
        for (std::int64_t q = 0; q < ndorder; ++q) nd += dorder[q] != 0 ? 1 : 0;
        ny = task->ny;
        // Every result must have an index in the caller's array.
        std::int64_t total = 0;
        if (__builtin_mul_overflow(ny, nsite, &total) ||
            __builtin_mul_overflow(total, nd, &total) ||
            total > PTRDIFF_MAX / static_cast<std::int64_t>(sizeof(T))) {
            return DF_ERROR_BAD_NSITE;
        }
    }
    const bool evaluate = values && nd > 0;
    if (nsite == 0 || (!evaluate && !cells)) return DF_STATUS_OK;

    const Partition<T> &part = pieces.part;
    const Sites<T> sites(nsite, site, sitehint);
    SearchTree tree;
    if (tree_pays(part.nx, task->xHint, nsite, sites.sorted)) tree.build(part);
    CellSearch<T> search(part, task->xHint, sites.sorted, &tree);
    // Sorted sites are walked, by runs of sites with equal counts. With knots at the points a run
    // lies in one cell, and when the runs are long (dense sites) the evaluators of orders 2 to 4
    // take a run at a time.
    const bool by_runs = !pieces.midknots && run_evaluator<T, true>(pieces.order, 0) != nullptr;
    const std::int64_t last_cell = pieces.ncell - 1;
    Runs runs;
    double s[kSiteBlock], t[kSiteBlock], knots[kSiteBlock];
    std::int64_t counts[kSiteBlock], j[kSiteBlock];
    for (std::int64_t first = 0; first < nsite; first += kSiteBlock) {
        const std::int64_t n = nsite - first < kSiteBlock ? nsite - first : kSiteBlock;
        sites.block(first, n, s);
        std::int64_t *k = cells ? cell + first : counts;
        std::int64_t nruns = 0;
        if (search.walks()) {
            search.runs(s, n, &runs);
            if (evaluate && by_runs && runs.n * kRunSites <= n) nruns = runs.n;
            if (cells || nruns == 0) runs.expand(k);
        } else {
            search.counts(s, n, k);
        }
        if (!evaluate) continue;
        if (nruns > 0) {
            for (std::int64_t u = 0; u < nruns; ++u) {
                const std::int64_t c = runs.count[u] - 1;
                j[u] = c < 0 ? 0 : c > last_cell ? last_cell : c;
                knots[u] = pieces.knot(j[u]);
            }
        } else {
            pieces.locate(s, k, n, j, t);
        }
        for (std::int64_t i = 0; i < ny; ++i) {
            std::int64_t rank = 0;
            for (std::int64_t q = 0; q < ndorder; ++q) {
                if (dorder[q] == 0) continue;
                T *out = nullptr;
                std::int64_t stride = 1;
                switch (rhint) {
                    case DF_R_FUNC_SITE_DER:
                        out = r + (i * nsite + first) * nd + rank;
                        stride = nd;
                        break;
                    case DF_R_FUNC_DER_SITE:
                        out = r + (i * nd + rank) * nsite + first;
                        break;
                    default:
                        out = r + (first * ny + i) * nd + rank;
                        stride = ny * nd;
                        break;
                }
                ++rank;
                const T *c = pieces.c[i];
                if (nruns > 0) {
                    const RunEvaluator<T> eval = stride == 1
                                                     ? run_evaluator<T, true>(pieces.order, q)
                                                     : run_evaluator<T, false>(pieces.order, q);
                    for (std::int64_t u = 0; u < nruns; ++u) {
                        const std::int64_t b = runs.start[u];
                        eval(c + j[u] * pieces.order, knots[u], s + b, runs.start[u + 1] - b,
                             out + b * stride, stride);
                    }
                    continue;
                }
                const Evaluator<T> eval = stride == 1 ? evaluator<T, true>(pieces.order, q)
                                                      : evaluator<T, false>(pieces.order, q);
                eval(c, pieces.order, q, j, t, n, out, stride);
            }
        }
    }
    return DF_STATUS_OK;
}

}  // namespace
}  // namespace korb::datafit

using namespace korb::datafit;

extern "C" {

int64_t korb_df_kernel_dInterpolate1D(DfTask *task, int64_t type, int64_t method, int64_t nsite,
                                      const double site[], int64_t sitehint, int64_t ndorder,
                                      const int64_t dorder[], double r[], int64_t rhint,
                                      int64_t cell[]) {
    return interpolate(task, type, method, nsite, site, sitehint, ndorder, dorder, r, rhint, cell);
}

int64_t korb_df_kernel_sInterpolate1D(DfTask *task, int64_t type, int64_t method, int64_t nsite,
                                      const float site[], int64_t sitehint, int64_t ndorder,
                                      const int64_t dorder[], float r[], int64_t rhint,
                                      int64_t cell[]) {
    return interpolate(task, type, method, nsite, site, sitehint, ndorder, dorder, r, rhint, cell);
}
}
