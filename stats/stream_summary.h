// Quantile summaries with rank bounds: the pieces the streaming-quantile methods share.
//
// A summary of N observations is a list of some of their keys (order_keys.h), increasing, each
// with bounds rmin <= rank <= rmax on its 1-based rank among the N (for equal keys, the ranks of
// one of them). Its gap is the largest rmax(e_(i+1)) - rmin(e_i) over neighbours; a summary whose
// first and last entries are the exact extremes and whose gap is G answers every rank r in
// [1, N] with an entry whose rank is within G/2 of r (best_entry below): the entry before the
// first one with rmax > r + G/2 has rmin >= r - G/2. So a gap of at most 2 eps N is what makes a
// summary eps-approximate.
//
// Merging two summaries of disjoint data adds their gaps; pruning a summary of gap G to the
// entries that answer B + 1 evenly spaced ranks gives a gap of at most G + (N - 1)/B.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace korb::stats {

template <class K>
struct Ranked {
    K key;
    int64_t rmin, rmax;
};

// How far the rank of e may be from r, as far as its bounds tell.
template <class K>
inline double rank_miss(const Ranked<K> &e, double r) {
    return std::max(r - static_cast<double>(e.rmin), static_cast<double>(e.rmax) - r);
}

// The entry of s[0, count) (count >= 1) whose rank is surely closest to r, starting the search
// at *from and leaving it at the answer: calls with increasing r walk the list once.
template <class K>
size_t best_entry(const Ranked<K> *s, size_t count, double r, size_t *from) {
    size_t i = *from;
    while (i + 1 < count && rank_miss(s[i + 1], r) <= rank_miss(s[i], r)) ++i;
    *from = i;
    return i;
}

// Merges a (summary of na observations) and b (of nb) into out[0, ca + cb); out may not overlap
// either. Equal keys: a's entries first. Bounds from the standard argument: the observations of
// b below an entry x of a number at least rmin of b's last entry below x, and at most rmax - 1
// of b's first entry at or above x (nb when there is none); symmetrically for entries of b.
template <class K>
void merge_ranked(const Ranked<K> *a, size_t ca, int64_t na, const Ranked<K> *b, size_t cb,
                  int64_t nb, Ranked<K> *out) {
    // rmin of the last entry taken from each side (0 before the first): the lower bounds' terms.
    int64_t last_a = 0, last_b = 0;
    size_t i = 0, j = 0, o = 0;
    // Both sides left: one entry per step, chosen by selects rather than branches, which random
    // data would mispredict half the time.
    while (i < ca && j < cb) {
        const bool take_a = a[i].key <= b[j].key;
        const Ranked<K> &x = take_a ? a[i] : b[j];
        const int64_t lo = take_a ? last_b : last_a;
        const int64_t hi = (take_a ? b[j].rmax : a[i].rmax) - 1;
        out[o++] = {x.key, x.rmin + lo, x.rmax + hi};
        last_a = take_a ? x.rmin : last_a;
        last_b = take_a ? last_b : x.rmin;
        i += take_a;
        j += !take_a;
    }
    for (; i < ca; ++i) out[o++] = {a[i].key, a[i].rmin + last_b, a[i].rmax + nb};
    for (; j < cb; ++j) out[o++] = {b[j].key, b[j].rmin + last_a, b[j].rmax + na};
}

// Keeps, in place, the entries of s[0, count) (a summary of n observations) that answer the
// ranks 1 + k (n - 1) / buckets, k = 0 .. buckets; returns how many remain (at most
// buckets + 1; the extremes stay).
template <class K>
size_t prune_ranked(Ranked<K> *s, size_t count, int64_t n, size_t buckets) {
    if (count <= buckets + 1) return count;
    size_t kept = 0, from = 0, last = count;
    const double step = static_cast<double>(n - 1) / static_cast<double>(buckets);
    for (size_t k = 0; k <= buckets; ++k) {
        const double r = k == buckets ? static_cast<double>(n) : 1 + step * static_cast<double>(k);
        const size_t i = best_entry(s, count, r, &from);
        if (i != last) s[kept++] = s[i];  // kept <= i: in place is safe
        last = i;
    }
    return kept;
}

// An exact summary of sorted keys[0, count), pruned as above, into out (at most buckets + 1
// entries, or count when that is fewer).
template <class K>
size_t exact_pruned(const K *keys, size_t count, int64_t first_rank, size_t buckets,
                    Ranked<K> *out) {
    if (count <= buckets + 1) {
        for (size_t j = 0; j < count; ++j) {
            const int64_t r = first_rank + static_cast<int64_t>(j);
            out[j] = {keys[j], r, r};
        }
        return count;
    }
    const double step = static_cast<double>(count - 1) / static_cast<double>(buckets);
    size_t kept = 0;
    for (size_t k = 0; k <= buckets; ++k) {
        const size_t j =
            k == buckets ? count - 1 : static_cast<size_t>(std::floor(step * double(k) + 0.5));
        if (kept > 0 && out[kept - 1].rmin == first_rank + static_cast<int64_t>(j)) continue;
        const int64_t r = first_rank + static_cast<int64_t>(j);
        out[kept++] = {keys[j], r, r};
    }
    return kept;
}

}  // namespace korb::stats
