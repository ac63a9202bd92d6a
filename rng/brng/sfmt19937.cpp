// SFMT19937: the SIMD-oriented fast Mersenne twister of Saito and Matsumoto (2006) with Mersenne
// exponent 19937, period 2^19937 - 1 (certified at seeding), 623-dimensionally equidistributed
// to 32-bit accuracy.
//
// The state is 156 words of 128 bits, w[0..155]; each step replaces the oldest word by
//   w[i] = A(w[i]) ^ B(w[i + 122]) ^ C(w[i - 2]) ^ D(w[i - 1])
// with A(x) = x ^ (x << 8) as one 128-bit shift, B(y) = (y >> 11 per 32-bit lane) & MSK,
// C(z) = z >> 8 as one 128-bit shift, D(v) = v << 18 per 32-bit lane, and MSK =
// {0xdfffffef, 0xddfecb7f, 0xbffaffff, 0xbffffff6} (lane 0 first). Each term is one SSE2
// instruction, so one 128-bit word costs about eight instructions.
//
// The output is the state read as 624 32-bit words, lane 0 first, then the state is renewed in
// place. A stream is therefore one sequence of 32-bit words, and its position is a word index
// 0..624 (624: all used). iGen(n) hands out the next 4n of them as n 128-bit words, whatever
// the index; large requests run the recursion straight in the caller's array (each word depends
// only on the 156 words before it, so the last 156 written become the state). Doubles and floats
// take one 32-bit word each and map it as every 32-bit generator does (w * 2^-32 onto [a, b)).
//
// Seeding takes a key array of n words (none: the key {1}), mixed into the state by the
// authors' key-array initialisation, followed by their period certification: the inner product
// of the first four 32-bit words with PARITY = {1, 0, 0, 0x13c9e684} must be odd, else the
// lowest set bit of PARITY is flipped in the state. Leapfrog is not offered.
//
// Skip-ahead counts 128-bit words (the row's output word; four doubles or floats each). The
// window of 156 words moves in whole renewals: by R renewals either by renewing R times
// (small R) or by a polynomial jump. The step T on the window is linear on its 19968 bits with
// characteristic polynomial p (sfmt19937_poly.inc, made by tools/gen_sfmt19937_poly), so
// T^J = (t^J mod p)(T): with t^J mod p = sum of c_j t^j, the window J words later is the sum of
// c_j T^j(window), evaluated by Horner's rule in 19968 steps. t^J mod p takes about 64
// squarings modulo p. The result is exact for every state.
#include <algorithm>
#include <cstring>

#include "frame/simd.h"
#include "generator.h"
#include "uniform.h"

namespace korb::rng {
namespace {

constexpr int kVectors = 156;         // 128-bit words of state: 19937 / 128 + 1
constexpr int kWords = 4 * kVectors;  // 624 32-bit words
constexpr int kPos1 = 122;            // the second term's partner
constexpr int kSL1 = 18, kSR1 = 11;   // shifts per 32-bit lane
constexpr int kSL2 = 1, kSR2 = 1;     // whole-word shifts, in bytes
constexpr uint32_t kMask[4] = {0xdfffffefu, 0xddfecb7fu, 0xbffaffffu, 0xbffffff6u};
constexpr uint32_t kParity[4] = {0x00000001u, 0x00000000u, 0x00000000u, 0x13c9e684u};

// The characteristic polynomial of the step, bit j of word j / 64 the coefficient of t^j.
constexpr int kDegree = 128 * kVectors;  // 19968
constexpr int kPolyWords = kDegree / 64 + 1;
constexpr uint64_t kCharPoly[kPolyWords] = {
#include "sfmt19937_poly.inc"
};
static_assert(kCharPoly[kPolyWords - 1] == 1, "monic of degree 19968");

struct State {
    alignas(16) uint32_t u[kWords];  // the 156 128-bit words, lane 0 first
    int32_t idx;                     // next word to hand out, 0..624
};
static_assert(sizeof(State) + kStreamHeaderBytes <= 2536);
// The stream record is 64-byte aligned and the state starts 16 bytes into it.
static_assert(kStreamHeaderBytes % 16 == 0);

using simd::u32v;

inline u32v load(const uint32_t *p) {
    return simd::load<u32v>(p);
}
inline void store(uint32_t *p, u32v v) {
    simd::store(p, v);
}

// c and d are the two words just made, so they enter last: a word then waits only for one shift
// and one xor after the previous one. The empty asm keeps the compiler from reassociating the
// xors into a longer chain.
inline u32v recursion(u32v a, u32v b, u32v c, u32v d, u32v mask) {
    u32v t = (a ^ simd::shift_bytes_up<kSL2>(a)) ^ ((b >> kSR1) & mask);
    asm("" : "+x"(t));
    t = t ^ simd::shift_bytes_down<kSR2>(c);
    asm("" : "+x"(t));
    return t ^ (d << kSL1);
}

inline u32v mask_vector() {
    return load(kMask);
}

// The stream's position. Only a hand-made stream image can hold one out of range; such a state
// is treated as used up.
int position(const State *st) {
    return static_cast<uint32_t>(st->idx) > kWords ? kWords : st->idx;
}

// Renews the whole state in place: the next 156 128-bit words.
void regenerate(State *st) {
    uint32_t *w = st->u;
    const u32v mask = mask_vector();
    u32v r1 = load(w + 4 * (kVectors - 2));
    u32v r2 = load(w + 4 * (kVectors - 1));
    int i = 0;
    for (; i < kVectors - kPos1; ++i) {
        const u32v x = recursion(load(w + 4 * i), load(w + 4 * (i + kPos1)), r1, r2, mask);
        store(w + 4 * i, x);
        r1 = r2;
        r2 = x;
    }
    for (; i < kVectors; ++i) {
        const u32v x =
            recursion(load(w + 4 * i), load(w + 4 * (i + kPos1 - kVectors)), r1, r2, mask);
        store(w + 4 * i, x);
        r1 = r2;
        r2 = x;
    }
}

// Writes the next m >= 156 128-bit words to out (any alignment) when the state is used up, and
// keeps the last 156 of them as the new, used-up state.
void generate_into(State *st, uint32_t *out, size_t m) {
    const uint32_t *w = st->u;
    const u32v mask = mask_vector();
    u32v r1 = load(w + 4 * (kVectors - 2));
    u32v r2 = load(w + 4 * (kVectors - 1));
    size_t i = 0;
    for (; i < kVectors - kPos1; ++i) {
        const u32v x = recursion(load(w + 4 * i), load(w + 4 * (i + kPos1)), r1, r2, mask);
        store(out + 4 * i, x);
        r1 = r2;
        r2 = x;
    }
    for (; i < kVectors; ++i) {
        const u32v x =
            recursion(load(w + 4 * i), load(out + 4 * (i + kPos1 - kVectors)), r1, r2, mask);
        store(out + 4 * i, x);
        r1 = r2;
        r2 = x;
    }
    // Two words per turn, so that the last two words stay in their registers.
    for (; i + 2 <= m; i += 2) {
        uint32_t *o = out + 4 * i;
        r1 = recursion(load(o - 4 * kVectors), load(o - 4 * (kVectors - kPos1)), r1, r2, mask);
        store(o, r1);
        r2 = recursion(load(o + 4 - 4 * kVectors), load(o + 4 - 4 * (kVectors - kPos1)), r2, r1,
                       mask);
        store(o + 4, r2);
    }
    if (i < m) {
        const u32v x = recursion(load(out + 4 * (i - kVectors)),
                                 load(out + 4 * (i + kPos1 - kVectors)), r1, r2, mask);
        store(out + 4 * i, x);
    }
    std::memcpy(st->u, out + 4 * (m - kVectors), sizeof st->u);
}

// The next `count` 32-bit words of the stream, in order.
void take_words(State *st, uint32_t *out, size_t count) {
    int pos = position(st);
    size_t k = std::min(static_cast<size_t>(kWords - pos), count);
    std::memcpy(out, st->u + pos, k * sizeof(uint32_t));
    pos += static_cast<int>(k);
    if (count - k >= kWords) {
        const size_t m = (count - k) / 4;
        generate_into(st, out + k, m);
        k += 4 * m;
    }
    if (k < count) {  // fewer than 624 words remain and the state is used up
        regenerate(st);
        pos = static_cast<int>(count - k);
        std::memcpy(out + k, st->u, (count - k) * sizeof(uint32_t));
    }
    st->idx = pos;
}

// Hands the next n words to the sink: four at a time through sink.block(i, lanes), the rest
// through sink.one(i, word).
template <class Sink>
void generate(State *st, int n, Sink &sink) {
    int pos = position(st);
    for (int i = 0; i < n;) {
        if (pos == kWords) {
            regenerate(st);
            pos = 0;
        }
        const int len = std::min(kWords - pos, n - i);
        const uint32_t *w = st->u + pos;
        int j = 0;
        for (; j + uniform::kBlockWords <= len; j += uniform::kBlockWords) {
            sink.block(i + j, simd::load<simd::u32v>(w + j));
        }
        for (; j < len; ++j) sink.one(i + j, w[j]);
        i += len;
        pos += len;
    }
    st->idx = pos;
}

// Polynomials over GF(2) as little-endian bit strings: bit j of byte j / 8 is the coefficient
// of t^j. A residue has kDegree coefficients; a square before reduction twice as many.
constexpr int kResidueBytes = 8 * kPolyWords;
constexpr int kProductBytes = 2 * kResidueBytes + 8;

struct Poly {
    unsigned char b[kProductBytes];
    bool bit(int j) const { return (b[j >> 3] >> (j & 7)) & 1; }
};

// p shifted left by 0..7 bits, so that reducing by p t^e is one xor at byte e / 8.
struct ShiftedModulus {
    unsigned char s[8][kResidueBytes + 8];
    ShiftedModulus() {
        unsigned char p[kResidueBytes + 8] = {};
        std::memcpy(p, kCharPoly, sizeof kCharPoly);
        for (int k = 0; k < 8; ++k) {
            for (int i = kResidueBytes + 7; i >= 0; --i) {
                s[k][i] = static_cast<unsigned char>(p[i] << k | (i > 0 ? p[i - 1] >> (8 - k) : 0));
            }
        }
    }
};

inline void xor_bytes(unsigned char *dst, const unsigned char *src, int n) {
    int i = 0;
    for (; i + 16 <= n; i += 16)
        store(reinterpret_cast<uint32_t *>(dst + i),
              (load(reinterpret_cast<const uint32_t *>(dst + i)) ^
               load(reinterpret_cast<const uint32_t *>(src + i))));
    for (; i < n; ++i) dst[i] ^= src[i];
}

// Clears every coefficient from `top` down to kDegree by subtracting multiples of p.
void reduce(Poly &x, int top, const ShiftedModulus &m) {
    for (int d = top; d >= kDegree; --d) {
        if (!x.bit(d)) continue;
        const int e = d - kDegree;
        xor_bytes(x.b + (e >> 3), m.s[e & 7], kResidueBytes + 1);
    }
}

// x^2 mod p: squaring spreads the coefficients to even degrees.
void square(Poly &x, const ShiftedModulus &m) {
    unsigned char r[kResidueBytes];
    std::memcpy(r, x.b, sizeof r);
    std::memset(x.b, 0, sizeof x.b);
    for (int i = 0; i < kResidueBytes; ++i) {
        uint32_t v = r[i];
        v = (v | v << 4) & 0x0F0F;
        v = (v | v << 2) & 0x3333;
        v = (v | v << 1) & 0x5555;
        x.b[2 * i] = static_cast<unsigned char>(v);
        x.b[2 * i + 1] = static_cast<unsigned char>(v >> 8);
    }
    reduce(x, 2 * kDegree - 2, m);
}

// x * t mod p.
void times_t(Poly &x, const ShiftedModulus &m) {
    for (int i = kResidueBytes; i > 0; --i) {
        x.b[i] = static_cast<unsigned char>(x.b[i] << 1 | x.b[i - 1] >> 7);
    }
    x.b[0] = static_cast<unsigned char>(x.b[0] << 1);
    reduce(x, kDegree, m);
}

// Below this many renewals (about 30 ms) renewing is cheaper than a jump (25 to 100 ms).
constexpr uint64_t kJumpFrom = uint64_t{1} << 17;

// Moves the window `steps` words on: w <- (t^steps mod p)(T) w.
void jump(State *st, uint64_t steps) {
    const ShiftedModulus m;
    Poly c = {};
    c.b[0] = 1;
    for (int k = 63 - __builtin_clzll(steps); k >= 0; --k) {
        square(c, m);
        if ((steps >> k) & 1) times_t(c, m);
    }
    // Horner's rule on a ring of 156 words: acc <- T(acc) + c_j w, j from the top down.
    const u32v mask = mask_vector();
    alignas(16) uint32_t acc[kWords] = {};
    int head = 0;  // ring position of the oldest word
    const auto at = [&](int k) { return acc + 4 * ((head + k) % kVectors); };
    for (int j = kDegree - 1; j >= 0; --j) {
        const u32v x = recursion(load(at(0)), load(at(kPos1)), load(at(kVectors - 2)),
                                 load(at(kVectors - 1)), mask);
        store(at(0), x);
        head = (head + 1) % kVectors;
        if (!c.bit(j)) continue;
        for (int k = 0; k < kVectors; ++k) {
            store(at(k), load(at(k)) ^ load(st->u + 4 * k));
        }
    }
    for (int k = 0; k < kVectors; ++k) std::memcpy(st->u + 4 * k, at(k), 16);
}

// Advances the stream by nskip 128-bit words.
void skip_ahead(State *st, uint64_t nskip) {
    // Words from the window's start to the new position, and the renewals on the way.
    const unsigned __int128 target = position(st) + 4 * static_cast<unsigned __int128>(nskip);
    const uint64_t renewals = static_cast<uint64_t>(target / kWords);
    if (renewals < kJumpFrom) {
        for (uint64_t k = 0; k < renewals; ++k) regenerate(st);
    } else {
        jump(st, renewals * kVectors);
    }
    st->idx = static_cast<int32_t>(target % kWords);
}

inline uint32_t mix1(uint32_t x) {
    return (x ^ (x >> 27)) * 1664525u;
}
inline uint32_t mix2(uint32_t x) {
    return (x ^ (x >> 27)) * 1566083941u;
}

// The authors' key-array initialisation: every word is stirred by three passes over the state,
// the first two adding the key words and the positions, the last xor-ing.
void seed_by_key(State *st, const uint32_t *key, int length) {
    constexpr int kLag = 11;  // for a state of 623 words or more
    constexpr int kMid = (kWords - kLag) / 2;
    uint32_t *w = st->u;
    std::fill(w, w + kWords, 0x8b8b8b8bu);
    const int count = std::max(length + 1, kWords);
    uint32_t r = mix1(w[0] ^ w[kMid] ^ w[kWords - 1]);
    w[kMid] += r;
    r += static_cast<uint32_t>(length);
    w[kMid + kLag] += r;
    w[0] = r;
    int i = 1;
    for (int j = 0; j < count - 1; ++j) {
        r = mix1(w[i] ^ w[(i + kMid) % kWords] ^ w[(i + kWords - 1) % kWords]);
        w[(i + kMid) % kWords] += r;
        r += (j < length ? key[j] : 0u) + static_cast<uint32_t>(i);
        w[(i + kMid + kLag) % kWords] += r;
        w[i] = r;
        i = (i + 1) % kWords;
    }
    for (int j = 0; j < kWords; ++j) {
        r = mix2(w[i] + w[(i + kMid) % kWords] + w[(i + kWords - 1) % kWords]);
        w[(i + kMid) % kWords] ^= r;
        r -= static_cast<uint32_t>(i);
        w[(i + kMid + kLag) % kWords] ^= r;
        w[i] = r;
        i = (i + 1) % kWords;
    }
    st->idx = kWords;
}

// Makes sure the state is not on one of the short cycles outside the full period.
void certify_period(State *st) {
    uint32_t inner = 0;
    for (int i = 0; i < 4; ++i) inner ^= st->u[i] & kParity[i];
    if (__builtin_parity(inner)) return;
    for (int i = 0; i < 4; ++i) {
        if (kParity[i] != 0) {
            st->u[i] ^= kParity[i] & -kParity[i];  // its lowest set bit
            return;
        }
    }
}

// Seeding by a key array (none: the key {1}) and skip-ahead in 128-bit words.
struct Sfmt19937 {
    static constexpr int kId = BIX_BRNG_SFMT19937;

    static int seed(BixStream *stream, Seeds seeds) {
        State *st = state_of<State>(stream);
        const uint32_t one = 1;
        if (seeds.count() == 0) {
            seed_by_key(st, &one, 1);
        } else {
            seed_by_key(st, seeds.words(), seeds.count());
        }
        certify_period(st);
        return BIX_ERROR_OK;
    }

    static int skip_ahead(BixStream *stream, uint64_t nskip) {
        korb::rng::skip_ahead(state_of<State>(stream), nskip);
        return BIX_ERROR_OK;
    }
};

}  // namespace

constexpr RowLayout layout_SFMT19937 = {
    .stateSize = 2536, .stateWords = 625, .includesZero = 1, .nBits = 128};

}  // namespace korb::rng

KORB_BRNG_INIT_STREAM(SFMT19937, korb::rng::Sfmt19937)

using korb::rng::State;

extern "C" {

int __bixiBRngSFMT19937(BixStream *stream, int n, uint32_t r[]) {
    if (n <= 0) return BIX_ERROR_OK;
    korb::rng::take_words(korb::rng::state_of<State>(stream), r, 4 * static_cast<size_t>(n));
    return BIX_ERROR_OK;
}

int __bixdBRngSFMT19937(BixStream *stream, int n, double r[], double a, double b) {
    korb::rng::uniform::WordsToDoubles sink(r, a, b);
    korb::rng::generate(korb::rng::state_of<State>(stream), n, sink);
    return BIX_ERROR_OK;
}

int __bixsBRngSFMT19937(BixStream *stream, int n, float r[], float a, float b) {
    korb::rng::uniform::WordsToFloats sink(r, a, b);
    korb::rng::generate(korb::rng::state_of<State>(stream), n, sink);
    return BIX_ERROR_OK;
}

}  // extern "C"
