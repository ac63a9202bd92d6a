// R250: the generalised feedback shift register on the primitive trinomial x^250 + x^103 + 1.
// Each bit column of the word sequence obeys z(k) = z(k - 250) xor z(k - 147); the state is the
// last 250 words in a circular buffer x with an index i at the oldest, so one output is
// x[i] ^= x[(i + 103) mod 250], then i advances. Period 2^250 - 1 per column.
//
// Seeding fills the buffer with 250 successive values of s <- 69069 s mod 2^32 and then makes
// word 7j + 3 have bit 31 - j as its highest set bit (j = 0..31): those 32 words form a
// triangular matrix, so the 32 columns start linearly independent and never become dependent.
//
// Generation walks the buffer in two runs per turn: positions 0..146 read their partner 103
// places ahead (still of the previous turn), positions 147..249 read it 147 places behind
// (already of this turn). Within a run no output depends on another, so each run is a plain
// vector xor of two stretches of the buffer, four words at a time.
//
// Skip-ahead by N is exact and takes O(250 log N) steps: with x^N = sum c_j x^j modulo the
// trinomial, the word sequence satisfies z(k + N) = xor of z(k + j) over the j with c_j = 1, so
// the buffer N outputs later is that xor over shifted windows of the next 499 words. Leapfrog
// is not offered.
#include <algorithm>
#include <cstring>

#include "frame/simd.h"
#include "generator.h"
#include "uniform.h"

namespace korb::rng {
namespace {

constexpr int kWords = 250;
constexpr int kLag = 103;              // the partner of position p < kSplit is p + kLag
constexpr int kSplit = kWords - kLag;  // 147: from here on the partner is p - kSplit
constexpr uint32_t kSeedMultiplier = 69069;

struct State {
    uint32_t x[kWords];  // the last 250 outputs (or seeded words); x[i] is the oldest
    int32_t i;           // position of the next output, 0..249
};

using simd::u32v;
using uniform::kBlockWords;

// The stream's position. Only a hand-made stream image can hold one out of range; taking it
// modulo 250 keeps every access inside the buffer.
int position(const State *st) {
    return static_cast<int>(static_cast<uint32_t>(st->i) % kWords);
}

template <class Sink>
void generate(State *st, int n, Sink &sink) {
    int i = position(st);
    for (int k = 0; k < n;) {
        const int len = std::min((i < kSplit ? kSplit : kWords) - i, n - k);
        uint32_t *x = st->x + i;
        // Ahead of x by kLag (unread positions of the previous turn) or behind it by kSplit
        // (positions already renewed); either way never within a block of x.
        const uint32_t *partner = i < kSplit ? x + kLag : x - kSplit;
        int j = 0;
        for (; j + kBlockWords <= len; j += kBlockWords) {
            const u32v v = simd::load<u32v>(x + j) ^ simd::load<u32v>(partner + j);
            simd::store(x + j, v);
            sink.block(k + j, v);
        }
        for (; j < len; ++j) {
            x[j] ^= partner[j];
            sink.one(k + j, x[j]);
        }
        k += len;
        i += len;
        if (i == kWords) i = 0;
    }
    st->i = i;
}

// Polynomials over GF(2) of degree below 500, bit j of the array the coefficient of x^j.
constexpr int kPolyWords = 8;
using Poly = uint64_t[kPolyWords];

inline bool bit(const Poly p, int j) {
    return (p[j >> 6] >> (j & 63)) & 1;
}
inline void flip(Poly p, int j) {
    p[j >> 6] ^= uint64_t{1} << (j & 63);
}

// p mod x^250 + x^103 + 1, using x^250 = x^103 + 1.
void reduce(Poly p) {
    for (int d = 2 * kWords - 2; d >= kWords; --d) {
        if (!bit(p, d)) continue;
        flip(p, d);
        flip(p, d - kSplit);
        flip(p, d - kWords);
    }
}

// p^2 mod the trinomial: over GF(2) squaring spreads the coefficients to even degrees.
void square(Poly p) {
    Poly q = {};
    for (int j = 0; j < kWords; ++j) {
        if (bit(p, j)) flip(q, 2 * j);
    }
    reduce(q);
    std::memcpy(p, q, sizeof q);
}

// p * x mod the trinomial.
void times_x(Poly p) {
    for (int w = kPolyWords - 1; w > 0; --w) p[w] = p[w] << 1 | p[w - 1] >> 63;
    p[0] <<= 1;
    reduce(p);
}

void skip_ahead(State *st, uint64_t nskip) {
    if (nskip == 0) return;
    Poly c = {1};  // x^N mod the trinomial, by left-to-right binary powering
    for (int b = 63 - __builtin_clzll(nskip); b >= 0; --b) {
        square(c);
        if ((nskip >> b) & 1) times_x(c);
    }
    // z[0..249]: the buffer, oldest first; z[250..498]: the next 249 outputs.
    uint32_t z[2 * kWords - 1];
    const int i = position(st);
    for (int t = 0; t < kWords; ++t) z[t] = st->x[(i + t) % kWords];
    for (int t = kWords; t < 2 * kWords - 1; ++t) z[t] = z[t - kWords] ^ z[t - kSplit];
    uint32_t next[kWords] = {};
    for (int j = 0; j < kWords; ++j) {
        if (!bit(c, j)) continue;
        for (int t = 0; t < kWords; ++t) next[t] ^= z[t + j];
    }
    std::memcpy(st->x, next, sizeof next);
    st->i = 0;
}

struct R250 : uniform::WordOutputs<R250> {
    static constexpr int kId = BIX_BRNG_R250;

    // 250 successive values of the seed word (0 or none: 1) under s <- 69069 s, then the
    // triangular diagonal.
    static int seed(BixStream *stream, Seeds seeds) {
        State *st = state_of<State>(stream);
        uint32_t s = seeds.count() >= 1 ? seeds[0] : 1;
        if (s == 0) s = 1;
        for (uint32_t &w : st->x) {
            s *= kSeedMultiplier;
            w = s;
        }
        for (int j = 0; j < 32; ++j) {
            const uint32_t diagonal = uint32_t{1} << (31 - j);
            uint32_t &w = st->x[7 * j + 3];
            w = (w & (diagonal - 1)) | diagonal;
        }
        st->i = 0;
        return BIX_ERROR_OK;
    }

    static int skip_ahead(BixStream *stream, uint64_t nskip) {
        korb::rng::skip_ahead(state_of<State>(stream), nskip);
        return BIX_ERROR_OK;
    }

    template <class Sink>
    static int run(BixStream *stream, int n, Sink &sink) {
        generate(state_of<State>(stream), n, sink);
        return BIX_ERROR_OK;
    }
};

}  // namespace

constexpr RowLayout layout_R250 = {
    .stateSize = 1024, .stateWords = 252, .includesZero = 1, .nBits = 32};
static_assert(sizeof(State) + kStreamHeaderBytes <= layout_R250.stateSize);

}  // namespace korb::rng

KORB_BRNG_ENTRY_POINTS(R250, korb::rng::R250)
