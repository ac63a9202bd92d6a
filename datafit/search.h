// Internal interface of the search, interpolation and integration kernels: the partition and the
// sites as the kernels see them, the cell search, and the checks the three entry points share.
//
// Everything works on blocks of at most kSiteBlock sites, converted to double: the search writes
// each site's count of partition points at or below it, and the evaluation turns counts into
// polynomial cells and offsets. The blocks keep the working set in the first-level cache and let
// each stage run as its own loop over the block.
#pragma once

#include <cstdint>

#include "korb/kernel/df.h"

namespace korb::datafit {

inline constexpr std::int64_t kSiteBlock = 256;

// The partition in double: the caller's points, or nx points placed evenly between two ends (x
// hint 4), exactly as the construction kernels place them.
template <class T>
struct Partition {
    std::int64_t nx = 0;
    const T *x = nullptr;  // the points, unless uniform
    bool uniform = false;
    double a = 0, b = 0, h = 0;  // uniform: the ends and the step

    double point(std::int64_t i) const {
        if (uniform) return i == nx - 1 ? b : a + static_cast<double>(i) * h;
        return static_cast<double>(x[i]);
    }
};

// Sites (or integration limits): the caller's array, or n sites placed evenly from a to b.
template <class T>
struct Sites {
    std::int64_t n = 0;
    const T *s = nullptr;
    bool uniform = false;
    double a = 0, b = 0, h = 0;

    bool sorted = false;  // ascending by the caller's word, or placed evenly

    Sites(std::int64_t count, const T *array, std::int64_t hint);
    // Sites first .. first + count - 1, in double.
    void block(std::int64_t first, std::int64_t count, double *out) const;
};

inline bool site_hint_accepted(std::int64_t h) {
    return h == DF_SITES_ANY || h == DF_SITES_SORTED || h == DF_SITES_UNIFORM;
}

// The partition of a task after the checks every kernel makes: nx < 2, x null, x hint, and for a
// uniform partition ends that are finite and increasing. DF_STATUS_OK or the refusal.
template <class T>
std::int64_t read_partition(const DfTask *task, Partition<T> *p);

// The partition laid out for a branch-free search in breadth-first order (node k's children at
// 2k and 2k + 1): the first levels share a few cache lines instead of one line each. Built only
// when enough sites will be searched to pay for it; without it (or without the memory for it)
// the search bisects the caller's array, with the same results.
class SearchTree {
  public:
    SearchTree() = default;
    ~SearchTree();
    SearchTree(const SearchTree &) = delete;
    SearchTree &operator=(const SearchTree &) = delete;

    template <class T>
    void build(const Partition<T> &p);
    const double *nodes() const { return nodes_; }
    int levels() const { return levels_; }

  private:
    double *nodes_ = nullptr;
    int levels_ = 0;
};

// Whether searching `nsites` sites on the partition is worth building a SearchTree for.
bool tree_pays(std::int64_t nx, std::int64_t x_hint, std::int64_t nsites, bool sorted_sites);

// The search of one stream of sites. The partition's hint chooses the method: arithmetic on a
// uniform partition, a guess and a local walk on a nearly uniform one, the tree or bisection on
// any other; sorted sites on a partition that is not uniform are found by one merging walk, which
// remembers where the previous site was. Every method gives every site its exact count.
// Runs of sites with equal counts in one block: run r covers sites start[r] .. start[r+1] - 1,
// which all have count count[r].
struct Runs {
    std::int64_t n = 0;
    std::int64_t start[kSiteBlock + 1];
    std::int64_t count[kSiteBlock];

    // The counts site by site.
    void expand(std::int64_t *k) const {
        for (std::int64_t r = 0; r < n; ++r) {
            for (std::int64_t i = start[r]; i < start[r + 1]; ++i) k[i] = count[r];
        }
    }
};

template <class T>
class CellSearch {
  public:
    CellSearch(const Partition<T> &p, std::int64_t x_hint, bool sorted_sites,
               const SearchTree *tree);
    // Writes to k[i] the number of partition points at or below s[i], for n sites.
    void counts(const double *s, std::int64_t n, std::int64_t *k);
    // Whether the search walks, and then the counts of n sites as runs of equal counts: the walk
    // finds a site's count, and the sites after it that lie between the same two points share it
    // with one comparison each.
    bool walks() const { return method_ == Method::walk; }
    void runs(const double *s, std::int64_t n, Runs *runs);

  private:
    enum class Method { arithmetic, guess, walk, tree, bisect };
    const Partition<T> &p_;
    Method method_;
    const SearchTree *tree_;
    std::int64_t at_ = 0;  // the walk: the count of the previous site
    double scale_ = 0;     // the guesses: cells per unit of length

    void arithmetic(const double *s, std::int64_t n, std::int64_t *k) const;
    void guess(const double *s, std::int64_t n, std::int64_t *k) const;
    void walk(const double *s, std::int64_t n, std::int64_t *k);
    void tree(const double *s, std::int64_t n, std::int64_t *k) const;
    void bisect(const double *s, std::int64_t n, std::int64_t *k) const;
};

// The piecewise polynomial of a task after the checks of its model: cells, knots and where a
// site's polynomial is.
template <class T>
struct Pieces {
    Partition<T> part;
    std::int64_t order = 0;
    std::int64_t ncell = 0;
    bool midknots = false;  // spline type 1: knots halfway between the points
    const T *const *c = nullptr;

    // Left knot of cell j; j = ncell gives the right end of the last cell. The halfway knots are
    // computed as the construction kernel computes them.
    double knot(std::int64_t j) const {
        if (!midknots) return part.point(j);
        if (j == 0) return part.point(0);
        if (j == ncell) return part.point(part.nx - 1);
        return 0.5 * part.point(j - 1) + 0.5 * part.point(j);
    }
    // The cell j[i] of the polynomial that serves site s[i], whose count is k[i].
    void cells(const double *s, const std::int64_t *k, std::int64_t n, std::int64_t *j) const;
    // The offset t[i] of site s[i] from the left knot of its cell j[i].
    void offsets(const double *s, const std::int64_t *j, std::int64_t n, double *t) const;
    void locate(const double *s, const std::int64_t *k, std::int64_t n, std::int64_t *j,
                double *t) const {
        cells(s, k, n, j);
        offsets(s, j, n, t);
    }
};

// The model checks of interpolation and integration: the order (at least 1, and cells times
// order within an index), the type (0 to 5), ny and the coefficient blocks.
template <class T>
std::int64_t read_model(const DfTask *task, Pieces<T> *pieces);
template <class T>
std::int64_t read_coefficients(const DfTask *task, Pieces<T> *pieces);

}  // namespace korb::datafit
