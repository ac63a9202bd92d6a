// Radix selection of a few ranks, and the range of a run's keys (see order_keys.h).
#include "stats/order_keys.h"

#include <algorithm>
#include <bit>

#include "frame/simd.h"

namespace korb::stats {

template <class T>
bool key_range(const T *x, size_t n, KeyOf<T> *lo, KeyOf<T> *hi) {
    using V = typename simd::VectorOf<T>::type;
    using M = decltype(V{} != V{});  // lane masks
    constexpr size_t L = simd::kLanes<T>;
    constexpr int kUnroll = 4;
    T mn = x[0], mx = x[0];
    bool nan = x[0] != x[0];
    size_t j = 1;
    if (n - j >= kUnroll * L) {
        V vmin[kUnroll], vmax[kUnroll];
        M vnan[kUnroll];
        for (int k = 0; k < kUnroll; ++k) {
            vmin[k] = vmax[k] = simd::splat<V>(mn);
            vnan[k] = M{};
        }
        for (; j + kUnroll * L <= n; j += kUnroll * L) {
            for (int k = 0; k < kUnroll; ++k) {
                const V v = simd::load<V>(x + j + k * L);
                vmin[k] = simd::min_lanes(v, vmin[k]);
                vmax[k] = simd::max_lanes(v, vmax[k]);
                vnan[k] |= v != v;
            }
        }
        for (int k = 0; k < kUnroll; ++k) {
            for (size_t l = 0; l < L; ++l) {
                mn = vmin[k][l] < mn ? vmin[k][l] : mn;
                mx = vmax[k][l] > mx ? vmax[k][l] : mx;
                nan |= vnan[k][l] != 0;
            }
        }
    }
    for (; j < n; ++j) {
        mn = x[j] < mn ? x[j] : mn;
        mx = x[j] > mx ? x[j] : mx;
        nan |= x[j] != x[j];
    }
    if (nan) return true;
    // The comparisons do not tell -0 from +0: widen the range to both zeros' keys.
    *lo = to_key(mn == 0 ? T(-0.0) : mn);
    *hi = to_key(mx == 0 ? T(0.0) : mx);
    return false;
}

template <class T>
void select_ranks(const T *x, size_t n, KeyOf<T> lo, KeyOf<T> hi, const size_t *ranks, size_t m,
                  T *out, const SelectScratch<KeyOf<T>> &s) {
    using K = KeyOf<T>;
    if (lo == hi) {
        for (size_t r = 0; r < m; ++r) out[r] = from_key<T>(lo);
        return;
    }
    K *keys = s.keys;
    if (n <= 256) {
        for (size_t j = 0; j < n; ++j) keys[j] = to_key(x[j]);
        std::sort(keys, keys + n);
        for (size_t r = 0; r < m; ++r) out[r] = from_key<T>(keys[ranks[r]]);
        return;
    }
    // About as many buckets as values (at most 2^16), each covering 2^shift keys.
    const K span = hi - lo;
    const int bits = std::min(kSelectMaxBits, std::max(8, static_cast<int>(std::bit_width(n))));
    const int width = static_cast<int>(std::bit_width(span));
    const int shift = width > bits ? width - bits : 0;
    const size_t buckets = static_cast<size_t>(span >> shift) + 1;
    uint32_t *counts = s.counts;
    std::fill(counts, counts + buckets, 0u);
    for (size_t j = 0; j < n; ++j) ++counts[(to_key_number(x[j]) - lo) >> shift];

    // Walk the buckets in order; a bucket holding wanted ranks gets a place among the copied
    // ones, unless it is a single key (then its value is known without copying).
    uint8_t *wanted = s.wanted;
    std::fill(wanted, wanted + buckets, uint8_t{0});
    struct Place {
        size_t base, start, end;  // rank of the bucket's first key, its keys in s.keys
    };
    Place pl[kMaxSelectRanks];
    size_t below = 0, copied = 0, r = 0;
    uint8_t places = 0;
    for (size_t b = 0; b < buckets && r < m; ++b) {
        const size_t c = counts[b];
        if (c == 0 || ranks[r] >= below + c) {
            below += c;
            continue;
        }
        if (shift == 0) {
            const T v = from_key<T>(lo + static_cast<K>(b));
            for (; r < m && ranks[r] < below + c; ++r) out[r] = v;
        } else {
            wanted[b] = ++places;
            pl[places - 1] = {below, copied, copied};
            copied += c;
            while (r < m && ranks[r] < below + c) ++r;
        }
        below += c;
    }
    if (places == 0) return;
    for (size_t j = 0; j < n; ++j) {
        const K k = to_key_number(x[j]);
        const uint8_t w = wanted[(k - lo) >> shift];
        if (w != 0) keys[pl[w - 1].end++] = k;
    }
    // Each wanted bucket: introselect for its ranks in increasing order, each search starting
    // where the previous one left its element.
    r = 0;
    for (uint8_t w = 0; w < places; ++w) {
        const Place &q = pl[w];
        while (r < m && ranks[r] < q.base) ++r;  // ranks of single-key buckets, done
        K *first = keys + q.start;
        const size_t size = q.end - q.start;
        size_t from = 0;
        for (; r < m && ranks[r] < q.base + size; ++r) {
            const size_t at = ranks[r] - q.base;
            std::nth_element(first + from, first + at, first + size);
            out[r] = from_key<T>(first[at]);
            from = at;
        }
    }
}

template bool key_range<double>(const double *, size_t, uint64_t *, uint64_t *);
template bool key_range<float>(const float *, size_t, uint32_t *, uint32_t *);
template void select_ranks<double>(const double *, size_t, uint64_t, uint64_t, const size_t *,
                                   size_t, double *, const SelectScratch<uint64_t> &);
template void select_ranks<float>(const float *, size_t, uint32_t, uint32_t, const size_t *, size_t,
                                  float *, const SelectScratch<uint32_t> &);

}  // namespace korb::stats
