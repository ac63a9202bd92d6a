// Cell search: korb_df_kernel_[d|s]SearchCells1D, and the search, sites and checks that
// interpolation and integration share.
//
// A site's count is the number of partition points at or below it. Each method below computes it
// exactly, on any site including NaN (no point is at or below NaN: count 0) and the infinities:
//
// - Sorted sites (site hint 1 or 4): a merging walk from the previous site's count, up or down;
//   after kWalk steps it bisects the rest of the partition, so sparse sites cost a logarithm each,
//   and unsorted ones are found all the same. The walk can hand out runs of sites with one count:
//   the sites after a site with count c that lie in [p(c - 1), p(c)) share it.
// - Uniform partition (x hint 4): the cell guessed as floor((s - a) / h), and the count
//   j + [p(j) <= s] + [p(j + 1) <= s], right when the guess is at most one cell out, which
//   p(j - 1) and p(j + 2) prove; the points are those the construction places. Sites whose guess
//   is further out (rounding makes (s - a) / h inexact by many cells when the ends lie far from 0
//   compared with the spacing) go to the walk. One routine over lanes of doubles serves the
//   vector body and the scalar tail, so that both compute the same operations.
// - Nearly uniform partition (x hint 2): the same guess from x_0 and x_{nx-1}, on the caller's
//   points.
// - Any other: branch-free bisection, all the sites of a block one level at a time so that their
//   loads overlap. With many sites the points are first copied into breadth-first order
//   (SearchTree): node k has its children at 2k and 2k + 1, padded with NaN to a full tree of L
//   levels, and a descent of L steps ends at leaf 2^L + count. The top levels, which every site
//   reads, then lie in a few cache lines; the padding compares false, as a point above every site
//   would.
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/simd.h"
#include "korb/kernel/df.h"
#include "korb/kernel/frame.h"
#include "search.h"
#include "task.h"

namespace korb::datafit {

namespace {

constexpr std::int64_t kWalk = 8;
// Partitions below this many points are bisected: their few cache lines stay hot anyway.
constexpr std::int64_t kTreeMinPoints = 64;

// Count of the points first .. first + len - 1 at or below s, plus first (len >= 1).
template <class Point>
std::int64_t bisect_one(const Point &point, double s, std::int64_t first, std::int64_t len) {
    std::int64_t base = first;
    while (len > 1) {
        const std::int64_t half = len / 2;
        base = point(base + half) <= s ? base + half : base;
        len -= half;
    }
    return base + (point(base) <= s ? 1 : 0);
}

// Whether count c is right for site s: the point below it (if any) is at or below s, the point
// at c (if any) is not. True for NaN with c = 0.
template <class Point>
bool count_right(const Point &point, std::int64_t nx, double s, std::int64_t c) {
    return (c == 0 || point(c - 1) <= s) && (c == nx || !(point(c) <= s));
}

// Walks from count c towards the count of s, at most kWalk points, then bisects what is left.
template <class Point>
[[gnu::noinline]] std::int64_t walk_from(const Point &point, std::int64_t nx, double s,
                                         std::int64_t c) {
    if (c < nx && point(c) <= s) {
        for (std::int64_t step = 0; step < kWalk; ++step) {
            ++c;
            if (c == nx || !(point(c) <= s)) return c;
        }
        // point(c) <= s: the count lies in c + 1 .. nx.
        return bisect_one(point, s, c, nx - c);
    }
    if (c > 0 && !(point(c - 1) <= s)) {
        for (std::int64_t step = 0; step < kWalk; ++step) {
            --c;
            if (c == 0 || point(c - 1) <= s) return c;
        }
        // point(c - 1) > s: the count lies in 0 .. c - 1.
        return bisect_one(point, s, 0, c);
    }
    return c;
}

// The same, with the common case of a site in the same cell as the previous one inline.
template <class Point>
[[gnu::always_inline]] inline std::int64_t walk_one(const Point &point, std::int64_t nx, double s,
                                                    std::int64_t c) {
    const bool stay = (c == nx || !(point(c) <= s)) && (c == 0 || point(c - 1) <= s);
    return stay ? c : walk_from(point, nx, s, c);
}

// Lanes of doubles: one double, or a vector of them. The guessing pass below is written once for
// both, so that the vector body and the scalar tail compute the same operations.
using simd::f64v;
using m64v = decltype(f64v{} < f64v{});
constexpr int kLanes = simd::kLanes<double>;

inline double select(bool m, double a, double b) {
    return m ? a : b;
}
inline f64v select(m64v m, f64v a, f64v b) {
    return m ? a : b;
}

// The points as functions of their index: an integer, or a whole number held in a double (exact
// below 2^53), one or a vector of them.
template <class T>
struct ArrayPoint {
    const T *x;
    double operator()(std::int64_t i) const { return static_cast<double>(x[i]); }
    double operator()(double i) const { return (*this)(static_cast<std::int64_t>(i)); }
    f64v operator()(f64v i) const {
        f64v p;
        for (int l = 0; l < kLanes; ++l) p[l] = (*this)(i[l]);
        return p;
    }
};

struct UniformPoint {
    double a, b, h;
    std::int64_t last;
    double operator()(std::int64_t i) const {
        return i == last ? b : a + static_cast<double>(i) * h;
    }
    template <class V>
    V operator()(V i) const {
        return select(i == static_cast<double>(last), V{} + b, a + i * h);
    }
};

inline double min_lanes(double a, double b) {
    return a < b ? a : b;
}
inline double max_lanes(double a, double b) {
    return a > b ? a : b;
}
using simd::max_lanes;
using simd::min_lanes;

// floor(q) for 0 <= q < 2^52: q rounded to a whole number by adding and removing 2^52, less one
// where that rounded up.
template <class V>
V floor_small(V q) {
    const V r = (q + 0x1p52) - 0x1p52;
    return select(r > q, r - 1.0, r);
}

// The count of the site(s) of one lane from a guessed cell: j = floor((s - origin) scale) within
// [0, nx - 2] (NaN to 0), and the count j + [p(j) <= s] + [p(j + 1) <= s], which is right when
// the guess is at most one cell out: p(j - 1) <= s if s < p(j), and s < p(j + 2) if
// p(j + 1) <= s. `wrong` is 1 in the lanes where that fails, for the walk to settle. The min and
// max keep NaN sites at count 0 (every comparison with NaN is false).
template <class V, class Point>
V guess_lane(const Point &point, V s, double origin, double scale, double nx, V *wrong) {
    const V zero = V{} + 0.0, one = V{} + 1.0, last = V{} + (nx - 1.0);
    const V q = min_lanes(max_lanes((s - origin) * scale, zero), V{} + (nx - 2.0));
    const V j = floor_small(q);
    const V below = point(max_lanes(j - 1.0, zero)), at = point(j), next = point(j + 1.0);
    const V after = point(min_lanes(j + 2.0, last));
    const auto at_le = at <= s, next_le = next <= s;
    *wrong = select(((j >= 1.0) & (s < below)) | ((j <= nx - 3.0) & (after <= s)), one, zero);
    return j + select(at_le, one, zero) + select(next_le, one, zero);
}

// The guess for every site, then the walk for the sites it leaves unproven.
template <class Point>
void guess_counts(const Point &point, std::int64_t nx, double origin, double scale, const double *s,
                  std::int64_t n, std::int64_t *k) {
    const double top = static_cast<double>(nx);
    f64v wrong_lanes{};
    std::int64_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        f64v wrong;
        const f64v c = guess_lane(point, simd::load<f64v>(s + i), origin, scale, top, &wrong);
        wrong_lanes += wrong;
        // Whole numbers below 2^52 as integers: the low bits of c + 2^52.
        simd::store(k + i, reinterpret_cast<simd::u64v>(c + 0x1p52) - 0x4330000000000000ull);
    }
    double wrong_tail = 0.0;
    for (; i < n; ++i) {
        double wrong = 0.0;
        k[i] = static_cast<std::int64_t>(guess_lane(point, s[i], origin, scale, top, &wrong));
        wrong_tail += wrong;
    }
    for (int l = 0; l < kLanes; ++l) wrong_tail += wrong_lanes[l];
    if (wrong_tail == 0.0) return;
    for (std::int64_t j = 0; j < n; ++j) {
        if (!count_right(point, nx, s[j], k[j])) k[j] = walk_one(point, nx, s[j], k[j]);
    }
}

// The merging walk over n sites from count `at`, the previous site's; returns the last count.
template <class Point>
std::int64_t walk_counts(const Point &point, std::int64_t nx, const double *s, std::int64_t n,
                         std::int64_t *k, std::int64_t at) {
    for (std::int64_t i = 0; i < n; ++i) {
        const double si = s[i];
        if (si != si) {  // NaN: count 0, and the walk stays where it was
            k[i] = 0;
            continue;
        }
        at = walk_one(point, nx, si, at);
        k[i] = at;
    }
    return at;
}

// The walk by runs: after a site's count c, the following sites in [p(c - 1), p(c)) have count c
// too (NaN sites, which compare false, make runs of count 0 of their own).
template <class Point>
std::int64_t walk_runs(const Point &point, std::int64_t nx, const double *s, std::int64_t n,
                       Runs *runs, std::int64_t at) {
    std::int64_t r = 0;
    for (std::int64_t i = 0; i < n;) {
        std::int64_t c = 0, e = i + 1;
        if (s[i] != s[i]) {
            while (e < n && s[e] != s[e]) ++e;
        } else {
            at = walk_one(point, nx, s[i], at);
            c = at;
            const double lo = c > 0 ? point(c - 1) : -std::numeric_limits<double>::infinity();
            if (c < nx) {
                const double hi = point(c);
                while (e < n && s[e] >= lo && s[e] < hi) ++e;
            } else {
                while (e < n && s[e] >= lo) ++e;
            }
        }
        runs->start[r] = i;
        runs->count[r] = c;
        ++r;
        i = e;
    }
    runs->start[r] = n;
    runs->n = r;
    return at;
}

template <class T>
UniformPoint uniform_point(const Partition<T> &p) {
    return {p.a, p.b, p.h, p.nx - 1};
}

}  // namespace

template <class T>
Sites<T>::Sites(std::int64_t count, const T *array, std::int64_t hint)
    : n(count), s(array), uniform(hint == DF_SITES_UNIFORM), sorted(hint != DF_SITES_ANY) {
    if (uniform && count > 0) {
        a = static_cast<double>(array[0]);
        b = static_cast<double>(array[1]);
        h = count > 1 ? (b - a) / static_cast<double>(count - 1) : 0.0;
    }
}

template <class T>
void Sites<T>::block(std::int64_t first, std::int64_t count, double *out) const {
    if (!uniform) {
        for (std::int64_t i = 0; i < count; ++i) out[i] = static_cast<double>(s[first + i]);
        return;
    }
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t j = first + i;
        out[i] = j == 0 ? a : j == n - 1 ? b : a + static_cast<double>(j) * h;
    }
}

// More points than this cannot be counted in doubles by the guesses, nor placed exactly on a
// uniform partition; no array of them fits in memory either.
constexpr std::int64_t kMostPoints = std::int64_t{1} << 44;

template <class T>
std::int64_t read_partition(const DfTask *task, Partition<T> *p) {
    if (task->nx < 2 || task->nx > kMostPoints) return DF_ERROR_BAD_NX;
    if (task->x == nullptr) return DF_ERROR_NULL_X;
    if (!x_hint_accepted(task->xHint)) return DF_ERROR_BAD_XHINT;
    p->nx = task->nx;
    p->x = static_cast<const T *>(task->x);
    p->uniform = task->xHint == DF_X_UNIFORM;
    if (p->uniform) {
        p->a = static_cast<double>(p->x[0]);
        p->b = static_cast<double>(p->x[1]);
        p->h = (p->b - p->a) / static_cast<double>(p->nx - 1);
        // The checks that cost nothing: finite increasing ends and a step that moves.
        if (!std::isfinite(p->a) || !std::isfinite(p->b) || !(p->a < p->b) ||
            !std::isfinite(p->b - p->a) || !(p->h > 0.0)) {
            return DF_ERROR_BAD_PARTITION;
        }
    }
    return DF_STATUS_OK;
}

SearchTree::~SearchTree() {
    if (nodes_ != nullptr) korbAlignedFree(nodes_);
}

template <class T>
void SearchTree::build(const Partition<T> &p) {
    const int levels = std::bit_width(static_cast<std::uint64_t>(p.nx));
    const std::int64_t size = std::int64_t{1} << levels;
    nodes_ = static_cast<double *>(
        korbAlignedAlloc(static_cast<std::size_t>(size) * sizeof(double), DF_TASK_ALIGNMENT));
    if (nodes_ == nullptr) return;  // the search bisects instead
    levels_ = levels;
    nodes_[0] = 0.0;
    const double pad = std::numeric_limits<double>::quiet_NaN();
    // Level d holds nodes 2^d .. 2^(d+1) - 1; node 2^d + m is point (2m + 1) 2^(L-1-d) - 1.
    for (int d = 0; d < levels; ++d) {
        const std::int64_t first = std::int64_t{1} << d;
        const std::int64_t step = std::int64_t{1} << (levels - d);
        std::int64_t i = step / 2 - 1;
        for (std::int64_t m = 0; m < first; ++m, i += step) {
            nodes_[first + m] = i < p.nx ? p.point(i) : pad;
        }
    }
}

bool tree_pays(std::int64_t nx, std::int64_t x_hint, std::int64_t nsites, bool sorted_sites) {
    if (x_hint == DF_X_UNIFORM || x_hint == DF_X_NEARLY_UNIFORM || sorted_sites) return false;
    // The tree costs about two passes over the partition; each site saves a fraction of its
    // descent.
    return nx >= kTreeMinPoints && nsites >= nx / 4;
}

template <class T>
CellSearch<T>::CellSearch(const Partition<T> &p, std::int64_t x_hint, bool sorted_sites,
                          const SearchTree *tree)
    : p_(p), method_(Method::bisect), tree_(tree) {
    if (sorted_sites) {
        method_ = Method::walk;
    } else if (p.uniform) {
        method_ = Method::arithmetic;
        scale_ = 1.0 / p.h;
    } else if (x_hint == DF_X_NEARLY_UNIFORM) {
        method_ = Method::guess;
        const double width = static_cast<double>(p.x[p.nx - 1]) - static_cast<double>(p.x[0]);
        scale_ = static_cast<double>(p.nx - 1) / width;
        // A partition that does not increase gives no usable scale: every guess is then 1 and
        // the walk and bisection find the counts.
        if (!std::isfinite(scale_) || !(scale_ > 0.0)) scale_ = 0.0;
    } else if (tree != nullptr && tree->nodes() != nullptr) {
        method_ = Method::tree;
    }
}

template <class T>
void CellSearch<T>::counts(const double *s, std::int64_t n, std::int64_t *k) {
    switch (method_) {
        case Method::arithmetic:
            return arithmetic(s, n, k);
        case Method::guess:
            return guess(s, n, k);
        case Method::walk:
            return walk(s, n, k);
        case Method::tree:
            return tree(s, n, k);
        case Method::bisect:
            return bisect(s, n, k);
    }
}

template <class T>
void CellSearch<T>::arithmetic(const double *s, std::int64_t n, std::int64_t *k) const {
    guess_counts(uniform_point(p_), p_.nx, p_.a, scale_, s, n, k);
}

template <class T>
void CellSearch<T>::guess(const double *s, std::int64_t n, std::int64_t *k) const {
    guess_counts(ArrayPoint<T>{p_.x}, p_.nx, static_cast<double>(p_.x[0]), scale_, s, n, k);
}

template <class T>
void CellSearch<T>::walk(const double *s, std::int64_t n, std::int64_t *k) {
    at_ = p_.uniform ? walk_counts(uniform_point(p_), p_.nx, s, n, k, at_)
                     : walk_counts(ArrayPoint<T>{p_.x}, p_.nx, s, n, k, at_);
}

template <class T>
void CellSearch<T>::runs(const double *s, std::int64_t n, Runs *runs) {
    at_ = p_.uniform ? walk_runs(uniform_point(p_), p_.nx, s, n, runs, at_)
                     : walk_runs(ArrayPoint<T>{p_.x}, p_.nx, s, n, runs, at_);
}

template <class T>
void CellSearch<T>::tree(const double *s, std::int64_t n, std::int64_t *k) const {
    const double *nodes = tree_->nodes();
    const int levels = tree_->levels();
    for (std::int64_t i = 0; i < n; ++i) k[i] = 1;
    for (int d = 0; d < levels; ++d) {
        for (std::int64_t i = 0; i < n; ++i) k[i] = 2 * k[i] + (nodes[k[i]] <= s[i] ? 1 : 0);
    }
    const std::int64_t leaves = std::int64_t{1} << levels;
    for (std::int64_t i = 0; i < n; ++i) k[i] -= leaves;
}

template <class T>
void CellSearch<T>::bisect(const double *s, std::int64_t n, std::int64_t *k) const {
    const T *x = p_.x;
    for (std::int64_t i = 0; i < n; ++i) k[i] = 0;
    std::int64_t len = p_.nx;
    while (len > 1) {
        const std::int64_t half = len / 2;
        for (std::int64_t i = 0; i < n; ++i) {
            k[i] = static_cast<double>(x[k[i] + half]) <= s[i] ? k[i] + half : k[i];
        }
        len -= half;
    }
    for (std::int64_t i = 0; i < n; ++i) k[i] += static_cast<double>(x[k[i]]) <= s[i] ? 1 : 0;
}

template <class T>
void Pieces<T>::cells(const double *s, const std::int64_t *k, std::int64_t n,
                      std::int64_t *j) const {
    const std::int64_t nx = part.nx;
    if (!midknots) {
        const std::int64_t last = ncell - 1;
        for (std::int64_t i = 0; i < n; ++i) {
            const std::int64_t c = k[i] - 1;
            j[i] = c < 0 ? 0 : c > last ? last : c;
        }
        return;
    }
    // Halfway knots: a site between x_{c-1} and x_c lies in cell c - 1 or c, split at their
    // halfway knot.
    for (std::int64_t i = 0; i < n; ++i) {
        const std::int64_t c = k[i];
        std::int64_t cell = 0;
        if (c == nx) {
            cell = nx - 1;
        } else if (c > 0) {
            cell = s[i] >= knot(c) ? c : c - 1;
        }
        j[i] = cell;
    }
}

template <class T>
void Pieces<T>::offsets(const double *s, const std::int64_t *j, std::int64_t n, double *t) const {
    if (midknots) {
        for (std::int64_t i = 0; i < n; ++i) t[i] = s[i] - knot(j[i]);
    } else if (part.uniform) {
        const UniformPoint point = uniform_point(part);
        for (std::int64_t i = 0; i < n; ++i) t[i] = s[i] - point(j[i]);
    } else {
        for (std::int64_t i = 0; i < n; ++i) t[i] = s[i] - static_cast<double>(part.x[j[i]]);
    }
}

template <class T>
std::int64_t read_model(const DfTask *task, Pieces<T> *pieces) {
    if (task->splineOrder < 1) return DF_ERROR_BAD_SPLINE_ORDER;
    if (task->splineType < 0 || task->splineType > DF_SPLINE_TYPE_MAX) {
        return DF_ERROR_BAD_SPLINE_TYPE;
    }
    pieces->order = task->splineOrder;
    pieces->midknots = task->splineType == DF_PP_SUBBOTIN;
    return DF_STATUS_OK;
}

template <class T>
std::int64_t read_coefficients(const DfTask *task, Pieces<T> *pieces) {
    const std::int64_t ny = task->ny;
    if (ny < 1) return DF_ERROR_BAD_NY;
    const auto *const *c = reinterpret_cast<const T *const *>(task->coeffs);
    if (c == nullptr || array_entries(task->coeffs) < ny) return DF_ERROR_NULL_COEFF;
    for (std::int64_t i = 0; i < ny; ++i) {
        if (c[i] == nullptr) return DF_ERROR_NULL_COEFF;
    }
    pieces->ncell = pieces->midknots ? pieces->part.nx : pieces->part.nx - 1;
    // A block of ncell cells must be indexable: an order that makes it larger than any memory
    // cannot describe the caller's coefficients.
    std::int64_t elements = 0;
    if (__builtin_mul_overflow(pieces->ncell, pieces->order, &elements) ||
        elements > PTRDIFF_MAX / static_cast<std::int64_t>(sizeof(T))) {
        return DF_ERROR_BAD_SPLINE_ORDER;
    }
    pieces->c = c;
    return DF_STATUS_OK;
}

#define KORB_DF_SEARCH(T)                                                    \
    template struct Sites<T>;                                                \
    template class CellSearch<T>;                                            \
    template struct Pieces<T>;                                               \
    template std::int64_t read_partition<T>(const DfTask *, Partition<T> *); \
    template void SearchTree::build<T>(const Partition<T> &);                \
    template std::int64_t read_model<T>(const DfTask *, Pieces<T> *);        \
    template std::int64_t read_coefficients<T>(const DfTask *, Pieces<T> *);
KORB_DF_SEARCH(double)
KORB_DF_SEARCH(float)
#undef KORB_DF_SEARCH

namespace {

template <class T>
std::int64_t search_cells(DfTask *task, std::int64_t method, std::int64_t nsite, const T *site,
                          std::int64_t sitehint, std::int64_t *cell) {
    if (task == nullptr) return DF_ERROR_NULL_TASK;
    if (method != DF_METHOD_STD) return DF_ERROR_BAD_METHOD;
    if (nsite < 0) return DF_ERROR_BAD_NSITE;
    if (site == nullptr && nsite > 0) return DF_ERROR_NULL_SITE;
    if (!site_hint_accepted(sitehint)) return DF_ERROR_BAD_SITE_HINT;
    if (cell == nullptr && nsite > 0) return DF_ERROR_NULL_CELL;
    Partition<T> part;
    const std::int64_t status = read_partition(task, &part);
    if (status != DF_STATUS_OK) return status;
    if (nsite == 0) return DF_STATUS_OK;

    const Sites<T> sites(nsite, site, sitehint);
    SearchTree tree;
    if (tree_pays(part.nx, task->xHint, nsite, sites.sorted)) tree.build(part);
    CellSearch<T> search(part, task->xHint, sites.sorted, &tree);
    double s[kSiteBlock];
    for (std::int64_t first = 0; first < nsite; first += kSiteBlock) {
        const std::int64_t n = nsite - first < kSiteBlock ? nsite - first : kSiteBlock;
        sites.block(first, n, s);
        search.counts(s, n, cell + first);
    }
    return DF_STATUS_OK;
}

}  // namespace
}  // namespace korb::datafit

using namespace korb::datafit;

extern "C" {

int64_t korb_df_kernel_dSearchCells1D(DfTask *task, int64_t method, int64_t nsite,
                                      const double site[], int64_t sitehint, int64_t cell[]) {
    return search_cells(task, method, nsite, site, sitehint, cell);
}

int64_t korb_df_kernel_sSearchCells1D(DfTask *task, int64_t method, int64_t nsite,
                                      const float site[], int64_t sitehint, int64_t cell[]) {
    return search_cells(task, method, nsite, site, sitehint, cell);
}
}
