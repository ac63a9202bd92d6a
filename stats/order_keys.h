// Floating-point values as unsigned integer keys whose order is the order of the values, and the
// sorting and selection built on them (order statistics, quantiles, streaming summaries).
//
// A value's key is its bit pattern with the sign bit flipped for positive values and every bit
// flipped for negative ones, so that unsigned comparison of keys orders -inf < negative values <
// -0 < +0 < positive values < +inf. Every NaN gets a key above +inf (its bits with the sign bit
// set), so NaNs sort last; turned back into a value it is the NaN with the sign bit clear, the
// only thing that distinguishes NaNs here being their payload.
//
// Sorting is a least-significant-digit radix sort with 11-bit digits (six passes for doubles,
// three for floats), all digit histograms counted in one read; a pass whose digit is the same
// for every key is skipped. Selection of a few ranks is a radix selection: one pass for the
// extremes, one histogram of the keys' offsets from the smallest key by their top bits, one pass
// that copies out the keys of the buckets holding the wanted ranks; those few keys are finished
// by introselect. Its cost is three reads of the data and a little work on the copied buckets.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace korb::stats {

template <class T>
struct KeyTraits;
// Key is the key type; AliasKey the same type allowed to alias a value of T, for keys kept in a
// caller's array of values while it is being sorted.
template <>
struct KeyTraits<double> {
    using Key = uint64_t;
    typedef uint64_t __attribute__((may_alias)) AliasKey;
};
template <>
struct KeyTraits<float> {
    using Key = uint32_t;
    typedef uint32_t __attribute__((may_alias)) AliasKey;
};
template <class T>
using KeyOf = typename KeyTraits<T>::Key;

template <class K>
constexpr K kSignBit = K(1) << (sizeof(K) * 8 - 1);

// The key of a value that is not NaN.
template <class T>
inline KeyOf<T> to_key_number(T x) {
    using K = KeyOf<T>;
    K b;
    std::memcpy(&b, &x, sizeof b);
    return (b & kSignBit<K>) != 0 ? ~b : b ^ kSignBit<K>;
}

template <class T>
inline KeyOf<T> to_key(T x) {
    using K = KeyOf<T>;
    if (x != x) {
        K b;
        std::memcpy(&b, &x, sizeof b);
        return b | kSignBit<K>;
    }
    return to_key_number(x);
}

template <class T>
inline T from_key(KeyOf<T> k) {
    using K = KeyOf<T>;
    const K b = (k & kSignBit<K>) != 0 ? k ^ kSignBit<K> : ~k;
    T x;
    std::memcpy(&x, &b, sizeof x);
    return x;
}

// Radix sort geometry.
constexpr int kDigitBits = 11;
constexpr size_t kDigitValues = size_t{1} << kDigitBits;
template <class K>
constexpr int kPasses = (static_cast<int>(sizeof(K)) * 8 + kDigitBits - 1) / kDigitBits;
// Counters a sort of K keys needs (one histogram per pass).
template <class K>
constexpr size_t kSortCounters = kPasses<K> *kDigitValues;

// Adds the digits of k to the per-pass histograms counts[pass * kDigitValues + digit].
template <class K>
inline void count_digits(K k, size_t *counts) {
    for (int pass = 0; pass < kPasses<K>; ++pass) {
        ++counts[pass * kDigitValues + ((k >> (pass * kDigitBits)) & (kDigitValues - 1))];
    }
}

// Sorts a[0, n) into ascending order, with tmp[0, n) as the other buffer, given the histograms of
// all its digits (count_digits of every key, on counters zeroed before). Returns the buffer that
// holds the result: a or tmp. The counters are used up.
template <class K>
K *radix_sort_counted(K *a, K *tmp, size_t n, size_t *counts) {
    K *src = a, *dst = tmp;
    if (n < 2) return a;
    for (int pass = 0; pass < kPasses<K>; ++pass) {
        size_t *c = counts + pass * kDigitValues;
        const int shift = pass * kDigitBits;
        if (c[(src[0] >> shift) & (kDigitValues - 1)] == n) continue;  // one digit value: skip
        size_t sum = 0;
        for (size_t d = 0; d < kDigitValues; ++d) {
            const size_t v = c[d];
            c[d] = sum;
            sum += v;
        }
        for (size_t j = 0; j < n; ++j) {
            const K k = src[j];
            dst[c[(k >> shift) & (kDigitValues - 1)]++] = k;
        }
        std::swap(src, dst);
    }
    return src;
}

// Sorts keys a[0, n) with tmp[0, n) as the other buffer; counts holds kSortCounters<K> counters.
template <class K>
K *radix_sort(K *a, K *tmp, size_t n, size_t *counts) {
    if (n <= 64) {
        std::sort(a, a + n);
        return a;
    }
    std::fill(counts, counts + kSortCounters<K>, size_t{0});
    for (size_t j = 0; j < n; ++j) count_digits(a[j], counts);
    return radix_sort_counted(a, tmp, n, counts);
}

// Radix selection geometry: at most 2^16 buckets (the histogram and the bucket map of one level),
// and at most kMaxSelectRanks ranks at a time (more are cheaper by sorting).
constexpr int kSelectMaxBits = 16;
constexpr size_t kSelectBuckets = size_t{1} << kSelectMaxBits;
constexpr size_t kMaxSelectRanks = 64;

// Scratch of a selection over n values: the copied keys of the wanted buckets (up to n), the
// bucket counters and the map from a bucket to its place among the wanted ones.
template <class K>
struct SelectScratch {
    K *keys;           // n
    uint32_t *counts;  // kSelectBuckets
    uint8_t *wanted;   // kSelectBuckets
};

// True when x[0, n) (n >= 1) holds a NaN; otherwise *lo and *hi receive bounds of its keys (the
// smallest and largest, widened to both zeros when an extreme is a zero).
template <class T>
bool key_range(const T *x, size_t n, KeyOf<T> *lo, KeyOf<T> *hi);

// Selects the values of ranks[0, m) (0-based, strictly increasing, below n) of the n values
// x[0, n), none of them NaN and their keys within [lo, hi] (key_range), into out[0, m). m is at
// most kMaxSelectRanks and n below 2^32.
template <class T>
void select_ranks(const T *x, size_t n, KeyOf<T> lo, KeyOf<T> hi, const size_t *ranks, size_t m,
                  T *out, const SelectScratch<KeyOf<T>> &s);

}  // namespace korb::stats
