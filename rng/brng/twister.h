// The twisted generalised feedback shift register shared by MT19937 and the MT2203 set: the
// block step, tempering, seeding by a key array, and the conversion of words to doubles in the
// caller's array.
//
// State: n untempered words mt[0..n-1] and the index of the next one to temper; index n means
// the block is used up. Regenerating the block replaces, for k = 0..n-1 in order,
//   y = upper bits of mt[k] | lower bits of mt[k + 1 mod n],
//   mt[k] = mt[k + m mod n] ^ (y >> 1) ^ (y odd ? a : 0),
// so up to k = n - m the partner word mt[k + m] is still of the old block and from there on
// mt[k - (n - m)] is already new. Each half runs four words to a vector; the words whose vector
// would straddle the split or the end of the block (a handful) run one at a time. The parity of
// y is the parity of mt[k + 1] (the lower bits include bit 0), which keeps the twist off the
// dependency on y.
//
// A request delivers the rest of the current block, then whole blocks regenerated and tempered
// in one pass (each new vector tempered while it is in a register), then the head of one more
// block, which is regenerated whole and tempered as far as needed. The words are exactly those
// of regenerating one block at a time and tempering one word at a time.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "frame/simd.h"
#include "rng/stream.h"
#include "uniform.h"

namespace korb::rng::twister {

using simd::u32v;
using i32v = int32_t __attribute__((vector_size(simd::kVectorBytes)));
constexpr int kLanes = uniform::kBlockWords;

// A twister's shape: block length n, middle distance m, the number of lower bits taken from the
// next word, and the first tempering shift.
template <int N, int M, int LowerBits, int TemperShift>
struct Shape {
    static constexpr int kN = N;
    static constexpr int kM = M;
    static constexpr int kSplit = N - M;  // first k whose partner word is already new
    static constexpr uint32_t kLower = (uint32_t{1} << LowerBits) - 1;
    static constexpr uint32_t kUpper = ~kLower;
    static constexpr int kTemperShift = TemperShift;
};

// The twist word and the two tempering masks.
struct Params {
    uint32_t a;
    uint32_t b;
    uint32_t c;
};

// Tempering of one word and of four.
template <class S>
inline uint32_t temper(uint32_t y, const Params &p) {
    y ^= y >> S::kTemperShift;
    y ^= (y << 7) & p.b;
    y ^= (y << 15) & p.c;
    return y ^ (y >> 18);
}

template <class S>
inline u32v temper(u32v y, u32v b, u32v c) {
    y ^= y >> S::kTemperShift;
    y ^= (y << 7) & b;
    y ^= (y << 15) & c;
    return y ^ (y >> 18);
}

// The new mt[k] from mt[k], mt[k + 1 mod n] and the partner word.
template <class S>
inline uint32_t twist(uint32_t x, uint32_t next, uint32_t partner, uint32_t a) {
    const uint32_t y = (x & S::kUpper) | (next & S::kLower);
    return partner ^ (y >> 1) ^ (-(next & 1) & a);
}

template <class S>
inline u32v twist(u32v x, u32v next, u32v partner, u32v a) {
    const u32v y = (x & S::kUpper) | (next & S::kLower);
    const u32v odd = reinterpret_cast<u32v>(reinterpret_cast<i32v>(next << 31) >> 31);
    return partner ^ (y >> 1) ^ (odd & a);
}

// Regenerates mt; with Temper, hands each new word, tempered, to sink at out + k (whole
// vectors through sink.block, single words through sink.one).
template <class S, bool Temper, class Sink>
inline void regenerate(uint32_t *mt, const Params &p, Sink &sink, int out) {
    constexpr int n = S::kN, m = S::kM, split = S::kSplit;
    const u32v a = simd::splat<u32v>(p.a), b = simd::splat<u32v>(p.b), c = simd::splat<u32v>(p.c);
    auto one = [&](int k) {
        const uint32_t partner = k < split ? mt[k + m] : mt[k - split];
        mt[k] = twist<S>(mt[k], mt[k + 1 < n ? k + 1 : 0], partner, p.a);
        if constexpr (Temper) sink.one(out + k, temper<S>(mt[k], p));
    };
    auto block = [&](int k, const uint32_t *partner) {
        const u32v v = twist<S>(simd::load<u32v>(mt + k), simd::load<u32v>(mt + k + 1),
                                simd::load<u32v>(partner), a);
        simd::store(mt + k, v);
        if constexpr (Temper) sink.block(out + k, temper<S>(v, b, c));
    };
    // Before the split: vectors whose partners (k + m .. k + m + 3) are all old.
    int k = 0;
    for (; k + kLanes <= split; k += kLanes) block(k, mt + k + m);
    for (; k < split; ++k) one(k);
    // After it: vectors whose next words (k + 1 .. k + 4) lie inside the block.
    for (; k + kLanes < n; k += kLanes) block(k, mt + k - split);
    for (; k < n; ++k) one(k);
}

// Tempers mt[from .. from + count) to sink at out.
template <class S, class Sink>
inline void temper_run(const uint32_t *mt, int from, int count, const Params &p, Sink &sink,
                       int out) {
    const u32v b = simd::splat<u32v>(p.b), c = simd::splat<u32v>(p.c);
    int j = 0;
    for (; j + kLanes <= count; j += kLanes) {
        sink.block(out + j, temper<S>(simd::load<u32v>(mt + from + j), b, c));
    }
    for (; j < count; ++j) sink.one(out + j, temper<S>(mt[from + j], p));
}

// The block index of a state. Only a hand-made stream image can hold one outside 0..n; such a
// state is treated as used up, so every access stays inside the block.
template <class S>
inline int block_index(int32_t index) {
    return static_cast<uint32_t>(index) <= static_cast<uint32_t>(S::kN) ? index : S::kN;
}

// n tempered words to sink at 0..n-1; *index as the state holds it.
template <class S, class Sink>
void generate(uint32_t *mt, int32_t *index, const Params &params, int n, Sink &sink) {
    if (n <= 0) return;
    const Params p = params;  // a copy the sink's stores cannot alias
    int i = block_index<S>(*index);
    const int rest = std::min(S::kN - i, n);
    temper_run<S>(mt, i, rest, p, sink, 0);
    i += rest;
    int k = rest;
    for (; n - k >= S::kN; k += S::kN) regenerate<S, true>(mt, p, sink, k);
    if (k < n) {
        regenerate<S, false>(mt, p, sink, 0);
        temper_run<S>(mt, 0, n - k, p, sink, k);
        i = n - k;
    }
    *index = i;
}

// Seeds mt from a key array: the initialisation by 19650218, then max(n, len) passes mixing the
// key in, n - 1 passes of the second mix, and the top bit of mt[0] alone set (the state is never
// all zero). A missing key (len <= 0 or a null pointer) is the key {1}.
inline void seed(uint32_t *mt, int n, const uint32_t *key, int len) {
    static constexpr uint32_t kOne = 1;
    if (len <= 0 || key == nullptr) {
        key = &kOne;
        len = 1;
    }
    mt[0] = 19650218u;
    for (int i = 1; i < n; ++i) {
        mt[i] = 1812433253u * (mt[i - 1] ^ (mt[i - 1] >> 30)) + static_cast<uint32_t>(i);
    }
    int i = 1, j = 0;
    for (int count = std::max(n, len); count > 0; --count) {
        mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1664525u)) + key[j] +
                static_cast<uint32_t>(j);
        if (++i >= n) {
            mt[0] = mt[n - 1];
            i = 1;
        }
        if (++j >= len) j = 0;
    }
    for (int count = n - 1; count > 0; --count) {
        mt[i] =
            (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1566083941u)) - static_cast<uint32_t>(i);
        if (++i >= n) {
            mt[0] = mt[n - 1];
            i = 1;
        }
    }
    mt[0] = 0x80000000u;
}

// Sinks of tempered words: into a word array, or into bytes that a double array provides as
// scratch (stored byte-wise, so the array's type does not matter).
struct WordSink {
    void *r;
    void one(int i, uint32_t w) { std::memcpy(static_cast<unsigned char *>(r) + 4 * i, &w, 4); }
    void block(int i, u32v v) { simd::store(static_cast<unsigned char *>(r) + 4 * i, v); }
};

// r[0..count) from the words held in its own first 4 * count bytes: r[i] = w(i) s + a, exactly
// converted, a multiply then an add. From the last element to the first: double i covers the
// bytes of words 2i and 2i + 1, which are read (i >= 1: are later words, read already; i = 0:
// read just before), so no word is overwritten before it is converted.
inline void words_to_doubles_in_place(double *r, int count, double s, double a) {
    unsigned char *bytes = reinterpret_cast<unsigned char *>(r);
    int i = count;
    for (; i % kLanes != 0; --i) {
        uint32_t w;
        std::memcpy(&w, bytes + 4 * (i - 1), 4);
        const double d = simd::to_double_exact(w) * s + a;
        std::memcpy(bytes + 8 * (i - 1), &d, 8);
    }
    for (i -= kLanes; i >= 0; i -= kLanes) {
        // Words i .. i + 3 are read before doubles i .. i + 3 (bytes 8i .. 8i + 31) are
        // written; for i = 0 the two ranges overlap, and the read comes first.
        simd::f64v lo, hi;
        uniform::words_to_doubles(simd::load<u32v>(bytes + 4 * i), lo, hi);
        simd::store(bytes + 8 * i, lo * s + a);
        simd::store(bytes + 8 * i + 16, hi * s + a);
    }
}

// n doubles on [a, b) into r, with r as the only scratch: the n words go into its first 4n
// bytes, then are converted in place. (Converting in cache-sized pieces instead measured no
// faster at n = 10^6 and slower at 1.6 * 10^7, 1.05 against 0.72 ns a number.)
template <class S>
void generate_doubles(uint32_t *mt, int32_t *index, const Params &p, int n, double *r, double a,
                      double b) {
    if (n <= 0) return;
    WordSink sink{r};
    generate<S>(mt, index, p, n, sink);
    words_to_doubles_in_place(r, n, (b - a) * uniform::kWordScale, a);
}

// The iGen, dGen and sGen functions of a twister G: G::State holds mt and index, G::Shape is its
// shape and G::params(state) its twist word and tempering masks.
template <class G>
struct Outputs {
    static int ints(BixStream *stream, int n, uint32_t r[]) {
        auto *st = state_of<typename G::State>(stream);
        WordSink sink{r};
        generate<typename G::Shape>(st->mt, &st->index, G::params(*st), n, sink);
        return BIX_ERROR_OK;
    }
    static int doubles(BixStream *stream, int n, double r[], double a, double b) {
        auto *st = state_of<typename G::State>(stream);
        generate_doubles<typename G::Shape>(st->mt, &st->index, G::params(*st), n, r, a, b);
        return BIX_ERROR_OK;
    }
    static int floats(BixStream *stream, int n, float r[], float a, float b) {
        auto *st = state_of<typename G::State>(stream);
        uniform::WordsToFloats sink(r, a, b);
        generate<typename G::Shape>(st->mt, &st->index, G::params(*st), n, sink);
        return BIX_ERROR_OK;
    }
};

}  // namespace korb::rng::twister
