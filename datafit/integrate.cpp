// Integration: korb_df_kernel_[d|s]Integrate1D.
//
// For each function the integrals of the whole cells are summed once into a running sum kept as
// an unevaluated pair of doubles (hi + lo, each step by Knuth's two-sum): P_j = integral from t_0
// to t_j. A limit s in cell j (found as for interpolation, the end cells going on outside the
// partition) then has G(s) = P_j + A_j(s - t_j), A_j being the cell's antiderivative
//
//   A(t) = t (c_0 + t (c_1 / 2 + t (c_2 / 3 + ...))),
//
// added to the pair by two-sum again, and an integral is G(r) - G(l), the two highs subtracted
// first. Both limits in one cell share P_j and its rounding cancels exactly; limits far apart
// subtract two pairs, so the running sum's size costs nothing: the error is a few units of
// rounding of the integral plus of |A_j| at the two limits and of the whole cells between
// (ordinary summation of the prefix would instead lose everything below an ulp of the largest
// running sum). Swapping the limits negates the result exactly. The cost per interval is two
// searches and two antiderivatives, whatever its length.
//
// The prefix sums take 2 (ncell + 1) doubles per function; functions are taken in groups that fit
// in kPrefixBudget doubles (at least one function), and each group searches the limits afresh.
#include <cstdint>

#include "construct.h"
#include "korb/kernel/df.h"
#include "search.h"

namespace korb::datafit {
namespace {

constexpr std::int64_t kPrefixBudget = std::int64_t{1} << 20;

// Antiderivative vanishing at the left knot of the cell whose coefficients start at c[b]: order
// fixed at compile time (Order > 0) or not. Indexed from c, so that the loads over many cells are
// recognised as gathers.
template <int Order, class T>
double antiderivative(const T *c, std::int64_t b, std::int64_t order, double t) {
    const std::int64_t o = Order > 0 ? Order : order;
    double acc = static_cast<double>(c[b + o - 1]) / static_cast<double>(o);
    for (std::int64_t m = o - 2; m >= 0; --m) {
        acc = acc * t + static_cast<double>(c[b + m]) / static_cast<double>(m + 1);
    }
    return acc * t;
}

// s + e = a + b exactly (Knuth's two-sum; no assumption on the magnitudes).
inline void two_sum(double a, double b, double *s, double *e) {
    const double sum = a + b;
    const double bb = sum - a;
    *e = (a - (sum - bb)) + (b - bb);
    *s = sum;
}

// The running sums P_j = hi[j] + lo[j], j = 0 .. ncell, of one function.
template <int Order, class T>
void prefix_sums(const Pieces<T> &pieces, const T *c, double *hi, double *lo) {
    const std::int64_t ncell = pieces.ncell, order = pieces.order;
    // The cells' integrals first (a loop without a chain), then the running sum.
    double left = pieces.knot(0);
    for (std::int64_t j = 0; j < ncell; ++j) {
        const double right = pieces.knot(j + 1);
        hi[j + 1] = antiderivative<Order>(c, j * order, order, right - left);
        left = right;
    }
    hi[0] = 0.0;
    lo[0] = 0.0;
    for (std::int64_t j = 0; j < ncell; ++j) {
        double e = 0.0;
        two_sum(hi[j], hi[j + 1], &hi[j + 1], &e);
        lo[j + 1] = lo[j] + e;
    }
}

// Integrals of one function over the block's intervals, limits in cells jl, jr at offsets tl, tr.
template <int Order, class T>
void integrals(const T *c, std::int64_t order, const double *hi, const double *lo,
               const std::int64_t *jl, const double *tl, const std::int64_t *jr, const double *tr,
               std::int64_t n, T *__restrict out, std::int64_t stride) {
    const std::int64_t o = Order > 0 ? Order : order;
    for (std::int64_t i = 0; i < n; ++i) {
        double hl = 0.0, el = 0.0, hr = 0.0, er = 0.0;
        two_sum(hi[jl[i]], antiderivative<Order>(c, jl[i] * o, order, tl[i]), &hl, &el);
        two_sum(hi[jr[i]], antiderivative<Order>(c, jr[i] * o, order, tr[i]), &hr, &er);
        const double low_l = el + lo[jl[i]], low_r = er + lo[jr[i]];
        out[i * stride] = static_cast<T>((hr - hl) + (low_r - low_l));
    }
}

template <class T>
struct Kernels {
    void (*prefix)(const Pieces<T> &, const T *, double *, double *);
    void (*integrals)(const T *, std::int64_t, const double *, const double *, const std::int64_t *,
                      const double *, const std::int64_t *, const double *, std::int64_t, T *,
                      std::int64_t);
};

template <class T>
Kernels<T> kernels(std::int64_t order) {
    switch (order) {
        case 2:
            return {prefix_sums<2, T>, integrals<2, T>};
        case 3:
            return {prefix_sums<3, T>, integrals<3, T>};
        case 4:
            return {prefix_sums<4, T>, integrals<4, T>};
        default:
            return {prefix_sums<0, T>, integrals<0, T>};
    }
}

template <class T>
std::int64_t integrate(DfTask *task, std::int64_t method, std::int64_t nlim, const T *llim,
                       std::int64_t llimhint, const T *rlim, std::int64_t rlimhint, T *r,
                       std::int64_t rhint) {
    if (task == nullptr) return DF_ERROR_NULL_TASK;
    if (method != DF_METHOD_STD) return DF_ERROR_BAD_METHOD;
    if (nlim < 0) return DF_ERROR_BAD_NLIM;
    if (llim == nullptr && nlim > 0) return DF_ERROR_NULL_LLIM;
    if (!site_hint_accepted(llimhint)) return DF_ERROR_BAD_LLIM_HINT;
    if (rlim == nullptr && nlim > 0) return DF_ERROR_NULL_RLIM;
    if (!site_hint_accepted(rlimhint)) return DF_ERROR_BAD_RLIM_HINT;
    if (r == nullptr && nlim > 0) return DF_ERROR_NULL_RESULT;
    if (rhint != DF_R_FUNC_SITE_DER && rhint != DF_R_FUNC_DER_SITE && rhint != DF_R_SITE_FUNC_DER) {
        return DF_ERROR_BAD_RESULT_HINT;
    }
    Pieces<T> pieces;
    std::int64_t status = read_model(task, &pieces);
    if (status != DF_STATUS_OK) return status;
    status = read_partition(task, &pieces.part);
    if (status != DF_STATUS_OK) return status;
    status = read_coefficients(task, &pieces);
    if (status != DF_STATUS_OK) return status;
    const std::int64_t ny = task->ny;
    std::int64_t total = 0;
    if (__builtin_mul_overflow(ny, nlim, &total) ||
        total > PTRDIFF_MAX / static_cast<std::int64_t>(sizeof(T))) {
        return DF_ERROR_BAD_NLIM;
    }
    if (nlim == 0) return DF_STATUS_OK;

    // Work memory before anything is written: the prefix sums of one group of functions.
    const std::int64_t per_function = 2 * (pieces.ncell + 1);
    std::int64_t group = kPrefixBudget / per_function;
    group = group < 1 ? 1 : group > ny ? ny : group;
    Work prefix(group * per_function);
    if (!prefix.ok()) return DF_ERROR_MEM_FAILURE;
    const Partition<T> &part = pieces.part;
    const Sites<T> left(nlim, llim, llimhint), right(nlim, rlim, rlimhint);
    SearchTree tree;
    if (tree_pays(part.nx, task->xHint, 2 * nlim, left.sorted && right.sorted)) tree.build(part);
    const Kernels<T> k = kernels<T>(pieces.order);
    const bool function_major = rhint != DF_R_SITE_FUNC_DER;

    double sl[kSiteBlock], sr[kSiteBlock], tl[kSiteBlock], tr[kSiteBlock];
    std::int64_t kl[kSiteBlock], kr[kSiteBlock], jl[kSiteBlock], jr[kSiteBlock];
    for (std::int64_t i0 = 0; i0 < ny; i0 += group) {
        const std::int64_t ng = ny - i0 < group ? ny - i0 : group;
        for (std::int64_t g = 0; g < ng; ++g) {
            double *hi = prefix.get() + g * per_function;
            k.prefix(pieces, pieces.c[i0 + g], hi, hi + pieces.ncell + 1);
        }
        CellSearch<T> search_l(part, task->xHint, left.sorted, &tree);
        CellSearch<T> search_r(part, task->xHint, right.sorted, &tree);
        for (std::int64_t first = 0; first < nlim; first += kSiteBlock) {
            const std::int64_t n = nlim - first < kSiteBlock ? nlim - first : kSiteBlock;
            left.block(first, n, sl);
            right.block(first, n, sr);
            search_l.counts(sl, n, kl);
            search_r.counts(sr, n, kr);
            pieces.locate(sl, kl, n, jl, tl);
            pieces.locate(sr, kr, n, jr, tr);
            for (std::int64_t g = 0; g < ng; ++g) {
                const std::int64_t i = i0 + g;
                const double *hi = prefix.get() + g * per_function;
                T *out = function_major ? r + i * nlim + first : r + first * ny + i;
                k.integrals(pieces.c[i], pieces.order, hi, hi + pieces.ncell + 1, jl, tl, jr, tr, n,
                            out, function_major ? 1 : ny);
            }
        }
    }
    return DF_STATUS_OK;
}

}  // namespace
}  // namespace korb::datafit

using namespace korb::datafit;

extern "C" {

int64_t korb_df_kernel_dIntegrate1D(DfTask *task, int64_t method, int64_t nlim, const double llim[],
                                    int64_t llimhint, const double rlim[], int64_t rlimhint,
                                    double r[], int64_t rhint) {
    return integrate(task, method, nlim, llim, llimhint, rlim, rlimhint, r, rhint);
}

int64_t korb_df_kernel_sIntegrate1D(DfTask *task, int64_t method, int64_t nlim, const float llim[],
                                    int64_t llimhint, const float rlim[], int64_t rlimhint,
                                    float r[], int64_t rhint) {
    return integrate(task, method, nlim, llim, llimhint, rlim, rlimhint, r, rhint);
}
}
