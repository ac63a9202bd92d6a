// Streaming quantiles: eps-approximate quantiles of every observation seen so far, one summary
// per selected variable kept in the task between calls.
//
// Each call adds the task's current n observations (n = 0 allowed) and writes, for every order q,
// a value whose rank among the N observations seen is within eps N of (N - 1) q + 1 (the
// position of the exact quantile, 1-based; while eps N < 1/2, a rank nearest to it). Summaries hold
// keys (order_keys.h), so infinities and signed zeros are ordinary values; a variable that meets a
// NaN reports NaN from then on, and before its first observation too.
//
// Method 0x40, Zhang and Wang (2007), "A fast algorithm for approximate quantiles in high speed
// data streams": the stream is cut into sub-streams of M 2^k observations (M = ceil(1/eps),
// k = 0, 1, ...). Within a sub-stream of size S, blocks of b = ceil((log2(eps' S) + 1) / eps')
// observations (eps' = eps/2) are sorted, pruned to ceil(b/2) + 1 entries and carried up a
// binary counter of levels, where two summaries of a level are merged and pruned again; each
// level adds 2/b to the relative gap, so the sub-stream's summary has error at most eps'. A
// finished sub-stream is merged into one summary and pruned to M + 1 entries (error eps). The
// answer merges the finished summaries, the current levels and the sorted partial block. Memory
// O((1/eps) log^2(eps N)); every observation is sorted once, in a cache-sized block.
//
// Method 0x80, Greenwald and Khanna (2001), "Space-efficient online computation of quantile
// summaries": tuples (v, g, Delta) with rmin(v_i) = g_1 + ... + g_i and rmax = rmin + Delta.
// Observations are inserted in sorted chunks (the same tuples as inserting them one by one in
// increasing order: a new minimum or maximum gets Delta = 0, others floor(2 eps n) - 1 for the n
// of the chunk's start), and every chunk is followed by COMPRESS, which merges a tuple and its
// descendants (the tuples to its left in lower bands) into its right neighbour when the band
// condition holds and the merged g + Delta stays within 2 eps n. The invariant g + Delta <=
// 2 eps n gives the rank guarantee; the bands give the space bound O((1/eps) log(eps N)).
//
// The state is allocated on the first call and whenever a call changes the method, eps, the
// orders, p, the selected variables or the precision (which starts a new summary); its cleanup
// hook, run by __bixSSDeleteTask, frees it. Every allocation a call needs is made before the
// state changes, or the call works on copies until it commits, so a failed allocation leaves the
// summaries, and the caller's arrays, as they were.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "korb/kernel/ss.h"
#include "stats/order_keys.h"
#include "stats/stream_quantiles.h"
#include "stats/stream_summary.h"
#include "stats/task.h"

namespace korb::stats {
namespace {

template <class K>
struct Tuple {
    K key;
    int64_t g, delta;
};

// One variable's summary. Method 0x80 uses tuples; method 0x40 the rest.
template <class K>
struct Variable {
    int64_t n;  // observations summarised
    bool nan;
    void *block;  // owned: the tuples, or the finished summaries, levels and partial block
    // Greenwald-Khanna.
    Tuple<K> *tuples;
    size_t count, capacity;  // capacity: bytes of the block
    // Zhang-Wang.
    int sub;          // index of the current sub-stream
    int64_t sub_n;    // observations in it
    size_t sub_cap;   // the largest sub-stream the block is laid out for
    Ranked<K> *done;  // finished summaries, M + 1 entries apart
    size_t done_count[64];
    Ranked<K> *levels;  // level l (1-based) at (l - 1) * (B + 1) of the layout's B
    size_t level_count[64];
    K *partial;  // the current block
    size_t partial_count;
};

struct Header {
    size_t bytes;  // the header and every variable's block
    int method;
    int precision;
    double eps;
    size_t p, q, m;  // variables, selected, orders
    size_t *vars;
    double *orders;
    void *variables;  // Variable<K>[q]
};

// ---------------------------------------------------------------------------------------------
// Zhang-Wang geometry.

struct SubGeometry {
    int64_t size;    // observations of the sub-stream
    size_t b;        // block size
    size_t buckets;  // entries of a level summary: buckets + 1
    size_t levels;   // levels of the binary counter
};

inline int64_t zw_unit(double eps) {
    return static_cast<int64_t>(std::ceil(1 / eps));
}

SubGeometry zw_geometry(double eps, int k) {
    SubGeometry g;
    const int64_t unit = zw_unit(eps);
    g.size = k >= 62 - static_cast<int>(std::bit_width(static_cast<uint64_t>(unit)))
                 ? std::numeric_limits<int64_t>::max() / 2
                 : unit << k;
    const double half = eps / 2;
    const double lambda = std::log2(half * static_cast<double>(g.size));
    if (lambda < 2) {
        g.b = static_cast<size_t>(g.size);  // small: the sub-stream is one exact block
    } else {
        const double b = std::ceil((lambda + 1) / half);
        g.b = b >= static_cast<double>(g.size) ? static_cast<size_t>(g.size) : size_t(b);
    }
    g.buckets = (g.b + 1) / 2;
    const uint64_t blocks = (static_cast<uint64_t>(g.size) + g.b - 1) / g.b;
    g.levels = static_cast<size_t>(std::bit_width(blocks));
    return g;
}

// The largest block, level summary and level count of the sub-streams up to `sub`: what a
// layout for `sub` must hold (the block size need not grow with the sub-stream where the exact
// small sub-streams give way to blocks).
SubGeometry zw_capacity(double eps, int sub) {
    SubGeometry c = zw_geometry(eps, 0);
    for (int k = 1; k <= sub; ++k) {
        const SubGeometry g = zw_geometry(eps, k);
        c.size = g.size;
        c.b = std::max(c.b, g.b);
        c.buckets = std::max(c.buckets, g.buckets);
        c.levels = std::max(c.levels, g.levels);
    }
    return c;
}

// The sub-stream that the n-th observation (counting from 0) falls in.
int zw_sub_of(double eps, int64_t n) {
    const int64_t unit = zw_unit(eps);
    int k = 0;
    for (int64_t end = unit; n >= end; end += unit << ++k) {
        if (k >= 60) break;
    }
    return k;
}

template <class K>
size_t zw_block_bytes(double eps, int sub) {
    const SubGeometry g = zw_capacity(eps, sub);
    const size_t unit = static_cast<size_t>(zw_unit(eps));
    return (sub * (unit + 1) + g.levels * (g.buckets + 1)) * sizeof(Ranked<K>) + g.b * sizeof(K);
}

template <class K>
void zw_layout(Variable<K> &v, double eps, int sub_cap) {
    const SubGeometry g = zw_capacity(eps, sub_cap);
    const size_t unit = static_cast<size_t>(zw_unit(eps));
    v.done = static_cast<Ranked<K> *>(v.block);
    v.levels = v.done + sub_cap * (unit + 1);
    v.partial = reinterpret_cast<K *>(v.levels + g.levels * (g.buckets + 1));
    v.sub_cap = static_cast<size_t>(sub_cap);
}

// Scratch of one call, shared by the variables (processed one after another).
template <class K>
struct Scratch {
    K *keys, *other;  // a block or chunk, and the radix sort's second buffer
    size_t *counters;
    Ranked<K> *merge_a, *merge_b;  // merging: each as large as everything merged at once
    size_t chunk;                  // keys per block or chunk
};

// ---------------------------------------------------------------------------------------------
// Greenwald-Khanna.

// Band of Delta among tuples at p = floor(2 eps n): 0 for Delta = p, otherwise the alpha >= 1
// with 2^(alpha-1) + p mod 2^(alpha-1) <= p - Delta < 2^alpha + p mod 2^alpha.
inline int band(int64_t delta, int64_t p) {
    const uint64_t d = static_cast<uint64_t>(p - delta);
    if (d == 0) return 0;
    int alpha = std::max(1, static_cast<int>(std::bit_width(d)) - 1);
    const uint64_t up = static_cast<uint64_t>(p);
    while (alpha < 63 && d >= (uint64_t{1} << alpha) + (up & ((uint64_t{1} << alpha) - 1))) {
        ++alpha;
    }
    return alpha;
}

// Inserts the sorted keys e[0, c) into src[0, s) (a summary of n_old observations), into dst.
template <class K>
size_t gk_insert(const Tuple<K> *src, size_t s, int64_t n_old, double eps, const K *e, size_t c,
                 Tuple<K> *dst) {
    const int64_t p_old = static_cast<int64_t>(std::floor(2 * eps * static_cast<double>(n_old)));
    size_t i = 0, j = 0, o = 0;
    while (i < s || j < c) {
        if (j < c && (i == s || e[j] < src[i].key)) {
            // A new minimum or maximum is exact; any other lies below src[i], whose bounds
            // g + Delta <= p_old (or an exact summary when p_old = 0) bound its own.
            const int64_t d =
                o == 0 || i == s ? 0 : std::max(p_old - 1, src[i].g + src[i].delta - 1);
            dst[o++] = {e[j++], 1, d};
        } else {
            dst[o++] = src[i++];
        }
    }
    return o;
}

// COMPRESS of t[0, s) for n observations, in place; the first and last tuples (the exact
// extremes) stay. Returns the new count; the survivors are moved to the front.
template <class K>
size_t gk_compress(Tuple<K> *t, size_t s, int64_t n, double eps, int *bands) {
    if (s < 3) return s;
    const double limit = 2 * eps * static_cast<double>(n);
    const int64_t p = static_cast<int64_t>(std::floor(limit));
    for (size_t i = 0; i < s; ++i) bands[i] = band(std::min(t[i].delta, p), p);
    // Survivors are written from the back: w indexes the last survivor, the right neighbour of
    // the tuple under examination.
    size_t w = s - 1;
    size_t i = s - 2;
    while (i >= 1) {
        const int bi = bands[i];
        if (bi <= bands[w]) {
            size_t j = i;
            int64_t gstar = t[i].g;
            while (j > 1 && bands[j - 1] < bi) gstar += t[--j].g;
            if (static_cast<double>(gstar + t[w].g + t[w].delta) <= limit) {
                t[w].g += gstar;
                if (j == 1) break;
                i = j - 1;
                continue;
            }
        }
        --w;
        t[w] = t[i];
        bands[w] = bi;
        if (i == 1) break;
        --i;
    }
    --w;
    t[w] = t[0];
    const size_t kept = s - w;
    std::memmove(static_cast<void *>(t), t + w, kept * sizeof(Tuple<K>));
    return kept;
}

// The tuple whose rank is surely closest to r (linear: rmax need not increase with the rank).
template <class K>
K gk_query(const Tuple<K> *t, size_t s, double r) {
    int64_t rmin = 0;
    double best = std::numeric_limits<double>::infinity();
    K key = t[0].key;
    for (size_t i = 0; i < s; ++i) {
        rmin += t[i].g;
        const double miss = std::max(r - double(rmin), double(rmin + t[i].delta) - r);
        if (miss < best) {
            best = miss;
            key = t[i].key;
        }
    }
    return key;
}

// ---------------------------------------------------------------------------------------------
// Zhang-Wang.

// Carries the summary `carry` (count entries, in s.merge_a or s.merge_b) up the levels from
// level 1; the two scratch arrays hold 2 (buckets + 1) entries each at least.
template <class K>
void zw_carry(Variable<K> &v, const SubGeometry &g, size_t stride, Ranked<K> *carry, size_t count,
              int64_t carry_n, Scratch<K> &s) {
    for (size_t l = 1; l <= g.levels; ++l) {
        Ranked<K> *level = v.levels + (l - 1) * stride;
        if (v.level_count[l] == 0) {
            std::copy(carry, carry + count, level);
            v.level_count[l] = count;
            return;
        }
        // The merged summary goes to whichever scratch array the carry is not in.
        Ranked<K> *merged = carry == s.merge_a ? s.merge_b : s.merge_a;
        merge_ranked(level, v.level_count[l], carry_n, carry, count, carry_n, merged);
        count = prune_ranked(merged, v.level_count[l] + count, 2 * carry_n, g.buckets);
        carry_n *= 2;
        v.level_count[l] = 0;
        carry = merged;
    }
    // The counter is sized for the sub-stream's blocks: never reached.
}

// Observations in the levels of the current sub-stream: level l holds 2^(l-1) full blocks.
inline int64_t level_observations(size_t l, const SubGeometry &g) {
    return static_cast<int64_t>(g.b) << (l - 1);
}

// Sorts the partial block into s.keys (leaving the block as it is) and returns where it is.
template <class K>
const K *zw_sorted_partial(const Variable<K> &v, Scratch<K> &s) {
    std::copy(v.partial, v.partial + v.partial_count, s.keys);
    return radix_sort(s.keys, s.other, v.partial_count, s.counters);
}

// Merges the parts of the current sub-stream (levels and the partial block) and the finished
// summaries (when `done` is set) into one summary; returns it (in s.merge_a or s.merge_b) and
// its entry count. The parts are merged in pairs, round after round, so that each entry is
// copied about log2(parts) times whatever the parts' sizes.
template <class K>
Ranked<K> *zw_union(const Variable<K> &v, double eps, bool done, Scratch<K> &s, size_t *count) {
    struct Part {
        const Ranked<K> *at;
        size_t count;
        int64_t n;
    };
    Part parts[130];
    size_t np = 0;
    const SubGeometry g = zw_geometry(eps, v.sub);
    const SubGeometry lay = zw_capacity(eps, static_cast<int>(v.sub_cap));
    Ranked<K> *to = s.merge_a, *spare = s.merge_b;
    if (v.partial_count > 0) {
        const K *sorted = zw_sorted_partial(v, s);
        for (size_t j = 0; j < v.partial_count; ++j) {
            const int64_t r = static_cast<int64_t>(j) + 1;
            spare[j] = {sorted[j], r, r};
        }
        parts[np++] = {spare, v.partial_count, static_cast<int64_t>(v.partial_count)};
    }
    for (size_t l = 1; l <= g.levels; ++l) {
        if (v.level_count[l] > 0) {
            parts[np++] = {v.levels + (l - 1) * (lay.buckets + 1), v.level_count[l],
                           level_observations(l, g)};
        }
    }
    if (done) {
        const size_t unit = static_cast<size_t>(zw_unit(eps));
        for (int k = 0; k < v.sub; ++k) {
            parts[np++] = {v.done + k * (unit + 1), v.done_count[k], zw_geometry(eps, k).size};
        }
    }
    *count = 0;
    if (np == 0) return to;
    // Every round reads the parts where the last one left them (the first: the state, and the
    // partial block in `spare`) and writes into the other buffer; even a single part is copied
    // once, since callers prune the result in place.
    bool first = true;
    while (np > 1 || first) {
        size_t at = 0, out = 0;
        for (size_t k = 0; k < np; k += 2) {
            Ranked<K> *dst = to + at;
            if (k + 1 < np) {
                merge_ranked(parts[k].at, parts[k].count, parts[k].n, parts[k + 1].at,
                             parts[k + 1].count, parts[k + 1].n, dst);
                parts[out++] = {dst, parts[k].count + parts[k + 1].count,
                                parts[k].n + parts[k + 1].n};
            } else {
                std::copy(parts[k].at, parts[k].at + parts[k].count, dst);
                parts[out++] = {dst, parts[k].count, parts[k].n};
            }
            at += parts[out - 1].count;
        }
        np = out;
        first = false;
        std::swap(to, spare);
    }
    *count = parts[0].count;
    return const_cast<Ranked<K> *>(parts[0].at);
}

// Adds observations x[j * stride], j in [0, n), of one variable.
template <class T>
void zw_add(Variable<KeyOf<T>> &v, double eps, const T *x, size_t stride, size_t n,
            Scratch<KeyOf<T>> &s) {
    using K = KeyOf<T>;
    const size_t unit = static_cast<size_t>(zw_unit(eps));
    size_t j = 0;
    while (j < n && !v.nan) {
        const SubGeometry g = zw_geometry(eps, v.sub);
        const SubGeometry lay = zw_capacity(eps, static_cast<int>(v.sub_cap));
        // Fill the partial block up to its size or the end of the sub-stream.
        const int64_t room_sub = g.size - v.sub_n;
        size_t room = std::min(g.b - v.partial_count, static_cast<size_t>(room_sub));
        room = std::min(room, n - j);
        for (size_t t = 0; t < room; ++t) {
            const T value = x[(j + t) * stride];
            if (value != value) {
                v.nan = true;
                return;
            }
            v.partial[v.partial_count + t] = to_key_number(value);
        }
        v.partial_count += room;
        v.sub_n += static_cast<int64_t>(room);
        v.n += static_cast<int64_t>(room);
        j += room;
        const bool sub_full = v.sub_n == g.size;
        if (v.partial_count == g.b && !sub_full) {
            // A full block: sorted where it is (it is used up), pruned, carried up.
            const K *sorted = radix_sort(v.partial, s.other, g.b, s.counters);
            Ranked<K> *carry = s.merge_a;
            const size_t count = exact_pruned(sorted, g.b, 1, g.buckets, carry);
            v.partial_count = 0;
            zw_carry(v, g, lay.buckets + 1, carry, count, static_cast<int64_t>(g.b), s);
        } else if (sub_full) {
            // The sub-stream is finished: its union, pruned to M + 1 entries, joins the
            // finished summaries, and the next sub-stream starts empty.
            size_t count;
            Ranked<K> *all = zw_union(v, eps, false, s, &count);
            count = prune_ranked(all, count, g.size, unit);
            Ranked<K> *slot = v.done + v.sub * (unit + 1);
            std::copy(all, all + count, slot);
            v.done_count[v.sub] = count;
            ++v.sub;
            v.sub_n = 0;
            v.partial_count = 0;
            std::fill(v.level_count, v.level_count + 64, size_t{0});
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Greenwald-Khanna driver: works on copies until the call commits.

template <class K>
struct GkWork {
    void *block;      // both buffers and the bands, capacity tuples each
    Tuple<K> *a, *b;  // the current summary and the next
    size_t count, capacity;
    int *bands;
    int64_t n;
    bool nan;
};

template <class K>
void gk_release(GkWork<K> &w) {
    korbAlignedFree(w.block);
    w.block = nullptr;
    w.a = w.b = nullptr;
    w.bands = nullptr;
}

// Room for at least `need` tuples in both buffers (and the band list), keeping the current ones.
template <class K>
bool gk_reserve(GkWork<K> &w, size_t need) {
    if (need <= w.capacity) return true;
    const size_t cap = std::max(need, 2 * w.capacity);
    const size_t bytes = 2 * cap * sizeof(Tuple<K>) + cap * sizeof(int);
    void *block = korbAlignedAlloc(bytes, 128);
    if (block == nullptr) return false;
    auto *a = static_cast<Tuple<K> *>(block);
    if (w.a != nullptr) std::copy(w.a, w.a + w.count, a);
    korbAlignedFree(w.block);
    w.block = block;
    w.a = a;
    w.b = a + cap;
    w.bands = reinterpret_cast<int *>(a + 2 * cap);
    w.capacity = cap;
    return true;
}

template <class T>
bool gk_add(GkWork<KeyOf<T>> &w, double eps, const T *x, size_t stride, size_t n,
            Scratch<KeyOf<T>> &s) {
    using K = KeyOf<T>;
    for (size_t j = 0; j < n && !w.nan;) {
        const size_t c = std::min(s.chunk, n - j);
        std::fill(s.counters, s.counters + kSortCounters<K>, size_t{0});
        for (size_t t = 0; t < c; ++t) {
            const T value = x[(j + t) * stride];
            if (value != value) {
                w.nan = true;
                return true;
            }
            const K k = to_key_number(value);
            s.keys[t] = k;
            count_digits(k, s.counters);
        }
        j += c;
        const K *sorted = radix_sort_counted(s.keys, s.other, c, s.counters);
        if (!gk_reserve(w, w.count + c)) return false;
        w.count = gk_insert(w.a, w.count, w.n, eps, sorted, c, w.b);
        w.n += static_cast<int64_t>(c);
        std::swap(w.a, w.b);
        w.count = gk_compress(w.a, w.count, w.n, eps, w.bands);
    }
    return true;
}

// ---------------------------------------------------------------------------------------------
// The state.

template <class K>
Variable<K> *variables(Header *h) {
    return static_cast<Variable<K> *>(h->variables);
}

template <class K>
void free_state(Header *h) {
    if (h == nullptr) return;
    Variable<K> *v = variables<K>(h);
    for (size_t i = 0; i < h->q; ++i) korbAlignedFree(v[i].block);
    korbAlignedFree(h);
}

void cleanup(BixSSTask *task) {
    auto *h = static_cast<Header *>(task->stream_state);
    if (h == nullptr) return;
    if (h->precision != 0) {
        free_state<uint64_t>(h);
    } else {
        free_state<uint32_t>(h);
    }
    task->stream_state = nullptr;
}

struct Request {
    int method;
    double eps;
    size_t p, q, m;
    const size_t *vars;
};

bool same_summary(const Header *h, const Request &r, int precision, const double *orders) {
    return h->method == r.method && h->eps == r.eps && h->precision == precision && h->p == r.p &&
           h->q == r.q && h->m == r.m && std::equal(r.vars, r.vars + r.q, h->vars) &&
           std::equal(orders, orders + r.m, h->orders);
}

template <class K>
Header *new_state(const Request &r, int precision, const double *orders) {
    const size_t bytes = sizeof(Header) + r.q * sizeof(size_t) + r.m * sizeof(double) +
                         r.q * sizeof(Variable<K>) + 64;
    auto *base = static_cast<unsigned char *>(korbAlignedAlloc(bytes, 128));
    if (base == nullptr) return nullptr;
    auto *h = reinterpret_cast<Header *>(base);
    h->bytes = bytes;
    h->method = r.method;
    h->precision = precision;
    h->eps = r.eps;
    h->p = r.p;
    h->q = r.q;
    h->m = r.m;
    unsigned char *at = base + sizeof(Header);
    h->variables = at;
    auto *v = reinterpret_cast<Variable<K> *>(at);
    for (size_t i = 0; i < r.q; ++i) {
        std::memset(static_cast<void *>(v + i), 0, sizeof(Variable<K>));
    }
    at += r.q * sizeof(Variable<K>);
    h->vars = reinterpret_cast<size_t *>(at);
    std::copy(r.vars, r.vars + r.q, h->vars);
    at += r.q * sizeof(size_t);
    h->orders = reinterpret_cast<double *>(at);
    std::copy(orders, orders + r.m, h->orders);
    return h;
}

// Lays a variable's Zhang-Wang block out for sub-streams up to `sub` and copies its summary
// over. Growing changes no summary, so a failure part way leaves a valid state.
template <class K>
bool zw_grow(Header *h, Variable<K> &x, int sub) {
    if (x.nan || (x.block != nullptr && x.sub_cap >= static_cast<size_t>(sub))) return true;
    const size_t bytes = zw_block_bytes<K>(h->eps, sub);
    void *fresh = korbAlignedAlloc(bytes, 128);
    if (fresh == nullptr) return false;
    Variable<K> old = x;
    x.block = fresh;
    zw_layout(x, h->eps, sub);
    h->bytes += bytes;
    if (old.block == nullptr) return true;
    const size_t unit = static_cast<size_t>(zw_unit(h->eps));
    std::copy(old.done, old.done + old.sub * (unit + 1), x.done);
    const SubGeometry from = zw_capacity(h->eps, static_cast<int>(old.sub_cap));
    const SubGeometry to = zw_capacity(h->eps, sub);
    const SubGeometry g = zw_geometry(h->eps, old.sub);
    for (size_t l = 1; l <= g.levels; ++l) {
        const Ranked<K> *src = old.levels + (l - 1) * (from.buckets + 1);
        std::copy(src, src + old.level_count[l], x.levels + (l - 1) * (to.buckets + 1));
    }
    std::copy(old.partial, old.partial + old.partial_count, x.partial);
    h->bytes -= zw_block_bytes<K>(h->eps, static_cast<int>(old.sub_cap));
    korbAlignedFree(old.block);
    return true;
}

// Entries of the largest union a Zhang-Wang variable laid out for `sub` can need.
template <class K>
size_t zw_union_bound(double eps, int sub) {
    const SubGeometry g = zw_capacity(eps, sub);
    return static_cast<size_t>(sub) * (static_cast<size_t>(zw_unit(eps)) + 1) +
           g.levels * (g.buckets + 1) + g.b;
}

// Keys per chunk of the Greenwald-Khanna method: COMPRESS follows every chunk, so a chunk of a
// few times 1/eps keeps its cost (proportional to the summary) small per observation.
inline size_t gk_chunk(double eps) {
    const double c = std::ceil(2 / eps);
    return c > 65536.0 ? 65536 : std::max<size_t>(16384, static_cast<size_t>(c));
}

void register_cleanup(BixSSTask *task) {
    task->cleanup = cleanup;
    if (task->cleanup_count < 1) task->cleanup_count = 1;
}

template <class T>
bool selected(const BixSSTask *task, size_t i) {
    return task->indices == nullptr || read_int(task, task->indices, static_cast<int64_t>(i)) != 0;
}

// Bytes of count T, rounded to keep the next array 64-byte aligned.
template <class T>
size_t bytes(size_t count) {
    return (count * sizeof(T) + 63) / 64 * 64;
}

template <class T>
int stream_quantiles(BixSSTask *task, uint64_t estimates, int method) {
    using K = KeyOf<T>;
    if (task == nullptr) return BIX_SS_ERROR_NULL_TASK;
    const int64_t storage = task->x_storage != nullptr ? read_int(task, task->x_storage) : 0;
    if ((storage & (BIX_SS_MATRIX_STORAGE_ROWS | BIX_SS_MATRIX_STORAGE_COLS)) == 0) {
        return BIX_SS_ERROR_BAD_STORAGE;
    }
    const bool wanted = (estimates & BIX_SS_EST_STREAM_QUANTILES) != 0;
    double eps = 0;
    int64_t m = 0;
    const T *orders = static_cast<const T *>(task->stream_orders);
    if (wanted) {
        if (task->stream_nparams == nullptr) return BIX_SS_ERROR_NULL_STREAM_NPARAMS;
        if (task->stream_params == nullptr) return BIX_SS_ERROR_NULL_STREAM_PARAMS;
        if (read_int(task, task->stream_nparams) != 1) return BIX_SS_ERROR_BAD_STREAM_NPARAMS;
        eps = static_cast<double>(*static_cast<const T *>(task->stream_params));
        if (!(eps > 0 && eps <= 1)) return BIX_SS_ERROR_BAD_STREAM_EPSILON;
        if (orders == nullptr) return BIX_SS_ERROR_NULL_STREAM_ORDERS;
        if (task->stream_norders == nullptr) return BIX_SS_ERROR_BAD_STREAM_ORDERS;
        m = read_int(task, task->stream_norders);
        if (m < 0) return BIX_SS_ERROR_BAD_STREAM_ORDERS;
        for (int64_t o = 0; o < m; ++o) {
            if (!(orders[o] >= 0 && orders[o] <= 1)) return BIX_SS_ERROR_BAD_STREAM_ORDERS;
        }
        if (task->stream_quantiles == nullptr) return BIX_SS_ERROR_NULL_STREAM_QUANTILES;
    }
    if ((method & (BIX_SS_METHOD_STREAM_ZW | BIX_SS_METHOD_STREAM_GK)) == 0) {
        return BIX_SS_ERROR_BAD_METHOD;
    }
    if (!wanted) return BIX_ERROR_OK;
    const int64_t n = task->n != nullptr ? read_int(task, task->n) : -1;
    if (n < 0) return BIX_SS_ERROR_BAD_NOBS;
    const int64_t p = task->p != nullptr ? read_int(task, task->p) : 0;
    if (p < 1) return BIX_ERROR_OK;
    const auto *x = static_cast<const T *>(task->x);
    if (n > 0 && x == nullptr) return BIX_SS_ERROR_NULL_X;

    // The request: the selected variables and the orders, in a block of this call.
    const size_t up = static_cast<size_t>(p), um = static_cast<size_t>(m);
    if (up > (size_t{1} << 40) || um > (size_t{1} << 40) / up) return BIX_SS_ERROR_MEM_FAILURE;
    auto *call = static_cast<unsigned char *>(
        korbAlignedAlloc(bytes<size_t>(up) + bytes<double>(um) + bytes<T>(up * um), 128));
    if (call == nullptr) return BIX_SS_ERROR_MEM_FAILURE;
    auto *vars = reinterpret_cast<size_t *>(call);
    auto *order_list = reinterpret_cast<double *>(call + bytes<size_t>(up));
    T *results = reinterpret_cast<T *>(call + bytes<size_t>(up) + bytes<double>(um));
    Request r{
        (method & BIX_SS_METHOD_STREAM_ZW) != 0 ? BIX_SS_METHOD_STREAM_ZW : BIX_SS_METHOD_STREAM_GK,
        eps,
        up,
        0,
        um,
        vars};
    for (size_t i = 0; i < up; ++i) {
        if (selected<T>(task, i)) vars[r.q++] = i;
    }
    for (size_t o = 0; o < um; ++o) order_list[o] = static_cast<double>(orders[o]);
    const int precision = sizeof(T) == 8 ? 1 : 0;
    if (r.method == BIX_SS_METHOD_STREAM_ZW && eps < 0x1p-40) {
        // Its first sub-stream alone would hold 1/eps observations.
        korbAlignedFree(call);
        return BIX_SS_ERROR_MEM_FAILURE;
    }

    // The summaries: the task's, or new ones when the request differs (installed on success).
    auto *old = static_cast<Header *>(task->stream_state);
    Header *h = old;
    if (h == nullptr || !same_summary(h, r, precision, order_list))
        h = new_state<K>(r, precision, order_list);
    Scratch<K> s{};
    void *scratch = nullptr;
    GkWork<K> *work = nullptr;
    const auto fail = [&]() {
        if (work != nullptr) {
            for (size_t i = 0; i < h->q; ++i) gk_release(work[i]);
        }
        korbAlignedFree(scratch);
        if (h != old) free_state<K>(h);
        korbAlignedFree(call);
        return BIX_SS_ERROR_MEM_FAILURE;
    };
    if (h == nullptr) {
        korbAlignedFree(call);
        return BIX_SS_ERROR_MEM_FAILURE;
    }
    Variable<K> *v = variables<K>(h);
    // Variables without a NaN have seen every observation so far: the most any has seen.
    int64_t most = 0;
    for (size_t i = 0; i < h->q; ++i) most = std::max(most, v[i].n);
    const int64_t after = most + n;
    int sub = 0;
    size_t merge_entries = 0;
    if (h->method == BIX_SS_METHOD_STREAM_ZW) {
        // Laid out for the sub-stream the next observation will open, which the last one may
        // finish: its finished summary needs a place.
        sub = zw_sub_of(eps, after);
        for (size_t i = 0; i < h->q; ++i) {
            if (!zw_grow(h, v[i], sub)) return fail();
        }
        s.chunk = zw_capacity(eps, sub).b;
        merge_entries = zw_union_bound<K>(eps, sub);
    } else {
        s.chunk = gk_chunk(eps);
    }
    const size_t scratch_bytes = 2 * bytes<K>(s.chunk) + bytes<size_t>(kSortCounters<K>) +
                                 2 * bytes<Ranked<K>>(merge_entries) +
                                 bytes<GkWork<K>>(h->method == BIX_SS_METHOD_STREAM_GK ? h->q : 0);
    scratch = korbAlignedAlloc(scratch_bytes, 128);
    if (scratch == nullptr) return fail();
    {
        auto *at = static_cast<unsigned char *>(scratch);
        s.keys = reinterpret_cast<K *>(at);
        at += bytes<K>(s.chunk);
        s.other = reinterpret_cast<K *>(at);
        at += bytes<K>(s.chunk);
        s.counters = reinterpret_cast<size_t *>(at);
        at += bytes<size_t>(kSortCounters<K>);
        s.merge_a = reinterpret_cast<Ranked<K> *>(at);
        at += bytes<Ranked<K>>(merge_entries);
        s.merge_b = reinterpret_cast<Ranked<K> *>(at);
        at += bytes<Ranked<K>>(merge_entries);
        if (h->method == BIX_SS_METHOD_STREAM_GK) {
            work = reinterpret_cast<GkWork<K> *>(at);
            for (size_t i = 0; i < h->q; ++i) work[i] = GkWork<K>{};
        }
    }
    const bool by_variable = (storage & BIX_SS_MATRIX_STORAGE_ROWS) != 0;
    const size_t un = static_cast<size_t>(n);
    const auto column = [&](size_t var, size_t *stride) {
        *stride = by_variable ? 1 : up;
        return by_variable ? x + var * un : x + var;
    };

    if (h->method == BIX_SS_METHOD_STREAM_GK) {
        // Each variable works on a copy; all are committed together at the end.
        for (size_t i = 0; i < h->q; ++i) {
            GkWork<K> &w = work[i];
            w.n = v[i].n;
            w.nan = v[i].nan;
            if (!gk_reserve(w, v[i].count + s.chunk)) return fail();
            std::copy(v[i].tuples, v[i].tuples + v[i].count, w.a);
            w.count = v[i].count;
            size_t stride;
            const T *col = un > 0 ? column(h->vars[i], &stride) : nullptr;
            if (un > 0 && !gk_add(w, eps, col, stride, un, s)) return fail();
        }
        for (size_t i = 0; i < h->q; ++i) {
            GkWork<K> &w = work[i];
            // The tuples keep a block of their own size when one can be had; otherwise the
            // working block stays, its tuples moved to its start.
            size_t kept = std::max<size_t>(w.count, 1) * sizeof(Tuple<K>);
            void *block = korbAlignedAlloc(kept, 128);
            if (block != nullptr) {
                std::copy(w.a, w.a + w.count, static_cast<Tuple<K> *>(block));
                gk_release(w);
            } else {
                block = w.block;
                auto *start = static_cast<Tuple<K> *>(block);
                if (w.a != start) std::copy(w.a, w.a + w.count, start);
                kept = 2 * w.capacity * sizeof(Tuple<K>) + w.capacity * sizeof(int);
            }
            korbAlignedFree(v[i].block);
            h->bytes = h->bytes - v[i].capacity + kept;
            v[i].block = block;
            v[i].tuples = static_cast<Tuple<K> *>(block);
            v[i].count = w.count;
            v[i].capacity = kept;
            v[i].n = w.n;
            v[i].nan = w.nan;
        }
    } else if (un > 0) {
        for (size_t i = 0; i < h->q; ++i) {
            size_t stride;
            const T *col = column(h->vars[i], &stride);
            zw_add(v[i], eps, col, stride, un, s);
        }
    }

    // The estimates.
    for (size_t i = 0; i < h->q; ++i) {
        T *out = results + i * um;
        if (v[i].nan || v[i].n == 0) {
            std::fill(out, out + um, std::numeric_limits<T>::quiet_NaN());
            continue;
        }
        const double last = static_cast<double>(v[i].n - 1);
        if (h->method == BIX_SS_METHOD_STREAM_GK) {
            for (size_t o = 0; o < um; ++o) {
                out[o] = from_key<T>(gk_query(v[i].tuples, v[i].count, last * order_list[o] + 1));
            }
        } else {
            size_t count;
            const Ranked<K> *all = zw_union(v[i], eps, true, s, &count);
            for (size_t o = 0; o < um; ++o) {
                size_t from = 0;
                const size_t e = best_entry(all, count, last * order_list[o] + 1, &from);
                out[o] = from_key<T>(all[e].key);
            }
        }
    }
    T *dest = static_cast<T *>(task->stream_quantiles);
    for (size_t i = 0; i < h->q; ++i) {
        std::copy(results + i * um, results + (i + 1) * um, dest + h->vars[i] * um);
    }
    if (h != old) {
        task->stream_state = h;
        register_cleanup(task);
        if (old != nullptr) {
            if (old->precision != 0) {
                free_state<uint64_t>(old);
            } else {
                free_state<uint32_t>(old);
            }
        }
    }
    korbAlignedFree(scratch);
    korbAlignedFree(call);
    return BIX_ERROR_OK;
}

}  // namespace
}  // namespace korb::stats

namespace korb::stats {

size_t stream_state_bytes(const BixSSTask *task) {
    const auto *h = static_cast<const Header *>(task != nullptr ? task->stream_state : nullptr);
    return h != nullptr ? h->bytes : 0;
}

}  // namespace korb::stats

extern "C" {

int _bixdSSStreamQuantiles(BixSSTask *task, uint64_t estimates, int method) {
    return korb::stats::stream_quantiles<double>(task, estimates, method);
}

int _bixsSSStreamQuantiles(BixSSTask *task, uint64_t estimates, int method) {
    return korb::stats::stream_quantiles<float>(task, estimates, method);
}

}  // extern "C"
