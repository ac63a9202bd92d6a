// The Wichmann-Hill set: 273 members, each the combination of four multiplicative congruential
// generators x_c <- a_c x_c mod m_c with distinct prime moduli below 2^24 and primitive-root
// multipliers (wh_params.inc, made by tools/gen_wh_params). The generator steps, then
// outputs: an output is the four new values, and its real form is the fractional part of
// ((x1/m1 + x2/m2) + x3/m3) + x4/m4, evaluated in double in that order, mapped onto [a, b).
// The member comes from the stream's generator id; the state holds the four values and the
// four current multipliers (powers of the member's after leapfrog).
//
// Arithmetic is exact in double: a product a x stays below 2^48, its quotient by m is rounded
// to the nearest integer (the 2^52 offset technique), and the remainder is corrected once.
// After a first block of eight outputs, each further output is a^8 times the output eight
// places earlier, so the 32 component updates of a block are independent and run two to a
// vector; the results are identical to stepping one output at a time.
#include "wh.h"
#include "frame/simd.h"
#include "generator.h"
#include "uniform.h"

namespace korb::rng {

namespace wh {
const Member kParams[kMembers] = {
#include "wh_params.inc"
};
}  // namespace wh

namespace {

using simd::f64v;
using i64v = int64_t __attribute__((vector_size(simd::kVectorBytes)));
using wh::kComponents;

struct State {
    uint32_t x[kComponents];  // the last values output, x_c in 1 .. m_c - 1
    uint32_t a[kComponents];  // the current multipliers
};
static_assert(sizeof(State) + kStreamHeaderBytes <= 48);

const wh::Member *member_of(const BixStream *stream) {
    int row = 0, member = 0;
    __bixGetBrngBaseOffset(stream->brng, &row, &member);
    if (member < 0 || member >= wh::kMembers) return nullptr;
    return &wh::kParams[member];
}

uint32_t pow_mod(uint32_t base, uint64_t exponent, uint32_t m) {
    uint64_t result = 1, b = base % m;
    for (; exponent != 0; exponent >>= 1, b = b * b % m) {
        if (exponent & 1) result = result * b % m;
    }
    return static_cast<uint32_t>(result);
}

// a x mod m for x, a below m < 2^24.
inline f64v mul_mod(f64v x, f64v a, f64v m, f64v inverse_m) {
    const f64v p = x * a;
    const f64v q = (p * inverse_m + 0x1p52) - 0x1p52;  // floor(p / m) or one more
    const f64v r = p - q * m;                          // exact; in [-m, m)
    const i64v negative = r < 0.0;
    return r + reinterpret_cast<f64v>(reinterpret_cast<i64v>(m) & negative);
}

// floor(s) for 0 <= s < 2^51, exactly.
inline f64v floor_lanes(f64v s) {
    const f64v t = (s + 0x1p52) - 0x1p52;  // s rounded to the nearest integer
    const i64v above = t > s;
    return t - reinterpret_cast<f64v>(reinterpret_cast<i64v>(simd::splat<f64v>(1.0)) & above);
}

constexpr int kLanes = simd::kU64Lanes;
constexpr int kBlock = 8;
constexpr int kVectors = kBlock / kLanes;

// Component c of outputs i + kLanes j + l in lane l of v[c][j].
struct Block {
    f64v v[kComponents][kVectors];
};

template <class Sink>
void generate(State *st, const wh::Member &p, int n, Sink &sink) {
    uint32_t x[kComponents];
    for (int c = 0; c < kComponents; ++c) x[c] = st->x[c];
    int i = 0;
    auto step = [&] {
        for (int c = 0; c < kComponents; ++c) {
            x[c] = static_cast<uint32_t>(static_cast<uint64_t>(st->a[c]) * x[c] % p.c[c].m);
        }
        sink.one(i++, x);
    };
    if (n >= 2 * kBlock) {
        Block b;
        while (i < kBlock) {
            const int j = i / kLanes, l = i % kLanes;
            step();
            for (int c = 0; c < kComponents; ++c) b.v[c][j][l] = x[c];
        }
        f64v a8[kComponents], m[kComponents], inverse_m[kComponents];
        for (int c = 0; c < kComponents; ++c) {
            a8[c] = simd::splat<f64v>(static_cast<double>(pow_mod(st->a[c], kBlock, p.c[c].m)));
            m[c] = simd::splat<f64v>(static_cast<double>(p.c[c].m));
            inverse_m[c] = simd::splat<f64v>(1.0 / p.c[c].m);
        }
        for (; n - i >= kBlock; i += kBlock) {
            for (int c = 0; c < kComponents; ++c) {
                for (f64v &v : b.v[c]) v = mul_mod(v, a8[c], m[c], inverse_m[c]);
            }
            sink.block(i, b);
        }
        for (int c = 0; c < kComponents; ++c) {
            x[c] = static_cast<uint32_t>(b.v[c][kVectors - 1][kLanes - 1]);
        }
    }
    while (i < n) step();
    for (int c = 0; c < kComponents; ++c) st->x[c] = x[c];
}

struct IntSink {
    uint32_t *r;
    IntSink(const wh::Member &, uint32_t *out) : r(out) {}
    void one(int i, const uint32_t (&x)[kComponents]) {
        for (int c = 0; c < kComponents; ++c) r[kComponents * i + c] = x[c];
    }
    // Component-major lanes to output-major words: per pair of outputs, the four components'
    // low lanes interleave into the first output's word and the high lanes into the second's.
    void block(int i, const Block &b) {
        static_assert(kLanes == 2 && kComponents == 4);
        for (int j = 0; j < kVectors; ++j) {
            using simd::truncate_to_int32;
            const simd::u32v x1 = truncate_to_int32(b.v[0][j]), x2 = truncate_to_int32(b.v[1][j]);
            const simd::u32v x3 = truncate_to_int32(b.v[2][j]), x4 = truncate_to_int32(b.v[3][j]);
            const simd::u32v x12 = __builtin_shufflevector(x1, x2, 0, 4, 1, 5);
            const simd::u32v x34 = __builtin_shufflevector(x3, x4, 0, 4, 1, 5);
            uint32_t *out = r + kComponents * (i + kLanes * j);
            simd::store(out, __builtin_shufflevector(x12, x34, 0, 1, 4, 5));
            simd::store(out + 4, __builtin_shufflevector(x12, x34, 2, 3, 6, 7));
        }
    }
};

// The fractional part of the sum of x_c / m_c, in [0, 1).
inline double unit(const wh::Member &p, const uint32_t (&x)[kComponents]) {
    double s = static_cast<double>(x[0]) / p.c[0].m;
    for (int c = 1; c < kComponents; ++c) s += static_cast<double>(x[c]) / p.c[c].m;
    return s - std::floor(s);
}

inline f64v unit(const wh::Member &p, const Block &b, int j) {
    f64v s = b.v[0][j] / static_cast<double>(p.c[0].m);
    for (int c = 1; c < kComponents; ++c) s += b.v[c][j] / static_cast<double>(p.c[c].m);
    return s - floor_lanes(s);
}

struct DoubleSink {
    const wh::Member &p;
    double *r;
    double a;
    double w;  // b - a
    DoubleSink(const wh::Member &params, double *out, double lo, double hi)
        : p(params), r(out), a(lo), w(hi - lo) {}
    void one(int i, const uint32_t (&x)[kComponents]) { r[i] = a + w * unit(p, x); }
    void block(int i, const Block &b) {
        for (int j = 0; j < kVectors; ++j) simd::store(r + i + kLanes * j, a + w * unit(p, b, j));
    }
};

struct FloatSink {
    const wh::Member &p;
    float *r;
    double a;
    double w;
    float b;
    float below;
    FloatSink(const wh::Member &params, float *out, float lo, float hi)
        : p(params),
          r(out),
          a(lo),
          w(static_cast<double>(hi) - static_cast<double>(lo)),
          b(hi),
          below(uniform::float_below(hi)) {}
    void one(int i, const uint32_t (&x)[kComponents]) {
        r[i] = uniform::clamp_below(static_cast<float>(a + w * unit(p, x)), b, below);
    }
    void block(int i, const Block &blk) {
        static_assert(kVectors % 2 == 0);
        for (int j = 0; j < kVectors; j += 2) {
            const simd::f32v f = simd::narrow(a + w * unit(p, blk, j), a + w * unit(p, blk, j + 1));
            simd::store(r + i + kLanes * j, uniform::clamp_below(f, simd::splat<simd::f32v>(b),
                                                                 simd::splat<simd::f32v>(below)));
        }
    }
};

// n outputs of the stream's member through a Sink made from the member and `args`.
template <class Sink, class... Args>
int fill(BixStream *stream, int n, Args... args) {
    const wh::Member *p = member_of(stream);
    if (p == nullptr) return BIX_ERROR_INVALID_BRNG;
    Sink sink(*p, args...);
    generate(state_of<State>(stream), *p, n, sink);
    return BIX_ERROR_OK;
}

// Seeding, leapfrog and skip-ahead of the stream's member.
struct Wh {
    static constexpr int kId = BIX_BRNG_WH;

    static int admit(BixStream *stream) {
        return member_of(stream) != nullptr ? BIX_ERROR_OK : BIX_ERROR_INVALID_BRNG;
    }

    static int seed(BixStream *stream, Seeds seeds) {
        const wh::Member *p = member_of(stream);
        State *st = state_of<State>(stream);
        for (int c = 0; c < kComponents; ++c) {
            const uint32_t x = c < seeds.count() ? seeds[c] % p->c[c].m : 1;
            st->x[c] = x == 0 ? 1 : x;
            st->a[c] = p->c[c].a;
        }
        return BIX_ERROR_OK;
    }

    // Outputs are a^(j+1) x for j = 0, 1, ...; output k + n j must come out as the (j+1)-th
    // power of a^n applied to the new x, so x <- a^(k + 1 - n) x, the exponent taken modulo
    // m - 1 (the order of every non-zero residue divides it).
    static int leapfrog(BixStream *stream, uint32_t k, int n) {
        const wh::Member *p = member_of(stream);
        State *st = state_of<State>(stream);
        for (int c = 0; c < kComponents; ++c) {
            const uint64_t order = p->c[c].m - 1;
            const uint64_t back = static_cast<uint64_t>(n) % order;
            const uint64_t e = (static_cast<uint64_t>(k) + 1 + order - back) % order;
            const uint32_t m = p->c[c].m;
            st->x[c] = static_cast<uint32_t>(static_cast<uint64_t>(pow_mod(st->a[c], e, m)) *
                                             st->x[c] % m);
            st->a[c] = pow_mod(st->a[c], static_cast<uint64_t>(n), m);
        }
        return BIX_ERROR_OK;
    }

    static int skip_ahead(BixStream *stream, uint64_t nskip) {
        const wh::Member *p = member_of(stream);
        State *st = state_of<State>(stream);
        for (int c = 0; c < kComponents; ++c) {
            const uint32_t m = p->c[c].m;
            st->x[c] = static_cast<uint32_t>(
                static_cast<uint64_t>(pow_mod(st->a[c], nskip % (m - 1), m)) * st->x[c] % m);
        }
        return BIX_ERROR_OK;
    }
};

}  // namespace

constexpr RowLayout layout_WH = {.stateSize = 48, .stateWords = 4, .includesZero = 1, .nBits = 24};

}  // namespace korb::rng

KORB_BRNG_INIT_STREAM(WH, korb::rng::Wh)

using korb::rng::State;

extern "C" {

int __bixiBRngWH(BixStream *stream, int n, uint32_t r[]) {
    return korb::rng::fill<korb::rng::IntSink>(stream, n, r);
}

int __bixdBRngWH(BixStream *stream, int n, double r[], double a, double b) {
    return korb::rng::fill<korb::rng::DoubleSink>(stream, n, r, a, b);
}

int __bixsBRngWH(BixStream *stream, int n, float r[], float a, float b) {
    return korb::rng::fill<korb::rng::FloatSink>(stream, n, r, a, b);
}

}  // extern "C"
