// MCG59: the multiplicative congruential generator x(i+1) = a * x(i) mod 2^59 with
// a = 13^13 = 302875106592253. The modulus is a power of two, so a product is reduced by masking
// its low 59 bits; a is odd, so a non-zero seed never reaches 0 (period 2^57 for odd seeds).
// Integer output is one 64-bit word per number (two 32-bit elements, low half first).
//
// Generation steps eight outputs at once as MCG31M1 does: after the first eight, each output is
// a^8 times the output eight places earlier, eight independent 64-bit products. Doubles are
// x * s + a with x rounded to the nearest double (exact below 2^53) and s = (b - a) * 2^-59, a
// multiply and an add, never fused. Every split of n gives the same numbers as one call.
#include "congruential.h"
#include "frame/simd.h"
#include "rng/stream.h"
#include "rows.h"

namespace korb::rng {
namespace {

constexpr uint64_t kMask = (uint64_t{1} << 59) - 1;
constexpr uint64_t kMultiplier = 302875106592253;  // 13^13
static_assert(kMultiplier == 13ull * 13 * 13 * 13 * 13 * 13 * 13 * 13 * 13 * 13 * 13 * 13 * 13);
constexpr double kTwoToMinus59 = 0x1p-59;

struct State {
    uint64_t x;  // the next output, in 1 to 2^59 - 1
    uint64_t a;  // the multiplier: 13^13, or a power of it after leapfrog
};
static_assert(sizeof(State) + kStreamHeaderBytes <= 32);

inline uint64_t mul_mod(uint64_t a, uint64_t x) {
    return a * x & kMask;
}

uint64_t pow_mod(uint64_t base, uint64_t exponent) {
    uint64_t result = 1;
    while (exponent != 0) {
        if (exponent & 1) result = mul_mod(result, base);
        base = mul_mod(base, base);
        exponent >>= 1;
    }
    return result;
}

using simd::u64v;
constexpr int kBlock = 8;
constexpr int kVectors = kBlock / simd::kU64Lanes;

// Lanes below 2^64 to the nearest double: both 32-bit halves convert exactly, the high one is
// scaled exactly by 2^32, and the sum is rounded once, as a scalar conversion rounds.
inline simd::f64v to_double_rounded(u64v v) {
    return simd::to_double_exact(v >> 32) * 0x1p32 +
           simd::to_double_exact(v & simd::broadcast(0xFFFFFFFF));
}

inline double to_double_rounded(uint64_t v) {
    return static_cast<double>(v);
}

// Runs the recurrence for n outputs, handing each to the sink: one at a time through
// sink.one(i, x), and in blocks of eight through sink.block(i, lanes).
template <class Sink>
void generate(State *st, int n, Sink &sink) {
    uint64_t x = st->x;
    const uint64_t a = st->a;
    int i = 0;
    if (n >= 2 * kBlock) {
        u64v v[kVectors];
        for (; i < kBlock; ++i) {
            v[i / simd::kU64Lanes][i % simd::kU64Lanes] = x;
            sink.one(i, x);
            x = mul_mod(a, x);
        }
        const uint64_t a2 = mul_mod(a, a);
        const uint64_t a4 = mul_mod(a2, a2);
        const u64v a8 = simd::broadcast(mul_mod(a4, a4));
        const u64v mask = simd::broadcast(kMask);
        for (; n - i >= kBlock; i += kBlock) {
            for (u64v &lane : v) lane = lane * a8 & mask;
            sink.block(i, v);
        }
        x = mul_mod(a, v[kVectors - 1][simd::kU64Lanes - 1]);
    }
    for (; i < n; ++i) {
        sink.one(i, x);
        x = mul_mod(a, x);
    }
    st->x = x;
}

struct IntSink {
    uint32_t *r;  // two 32-bit elements per output, low half first
    void one(int i, uint64_t x) { simd::store(r + 2 * static_cast<ptrdiff_t>(i), x); }
    void block(int i, const u64v (&v)[kVectors]) {
        for (int j = 0; j < kVectors; ++j) {
            simd::store(r + 2 * (static_cast<ptrdiff_t>(i) + j * simd::kU64Lanes), v[j]);
        }
    }
};

struct DoubleSink {
    double *r;
    double s;
    double a;
    void one(int i, uint64_t x) { r[i] = to_double_rounded(x) * s + a; }
    void block(int i, const u64v (&v)[kVectors]) {
        for (int j = 0; j < kVectors; ++j) {
            simd::store(r + i + j * simd::kU64Lanes, to_double_rounded(v[j]) * s + a);
        }
    }
};

struct FloatSink {
    float *r;
    double s;
    double a;
    void one(int i, uint64_t x) { r[i] = static_cast<float>(to_double_rounded(x) * s + a); }
    void block(int i, const u64v (&v)[kVectors]) {
        for (int j = 0; j < kVectors; j += 2) {
            simd::store(
                r + i + j * simd::kU64Lanes,
                simd::narrow(to_double_rounded(v[j]) * s + a, to_double_rounded(v[j + 1]) * s + a));
        }
    }
};

}  // namespace

const BrngProperties mcg59_row = {
    32, 1, 0, 8, 59, __bixBRngMCG59InitStream, __bixsBRngMCG59, __bixdBRngMCG59, __bixiBRngMCG59};

}  // namespace korb::rng

using korb::rng::State;

extern "C" {

int __bixBRngMCG59InitStream(int method, BixStream *stream, int n, const uint32_t params[]) {
    using namespace korb::rng;
    State *st = state_of<State>(stream);
    if (method != BIX_INIT_METHOD_STANDARD) {
        return split_congruential(method, st->x, st->a, n, params, mul_mod, pow_mod);
    }
    // One seed word is x itself; two make a 64-bit word (low first) cut to 59 bits.
    uint64_t x = 1;
    if (n >= 1 && params != nullptr) {
        x = n == 1 ? params[0] : (params[0] | static_cast<uint64_t>(params[1]) << 32);
        x &= kMask;
    }
    st->x = x == 0 ? 1 : x;
    st->a = kMultiplier;
    return BIX_ERROR_OK;
}

int __bixiBRngMCG59(BixStream *stream, int n, uint32_t r[]) {
    korb::rng::IntSink sink{r};
    korb::rng::generate(korb::rng::state_of<State>(stream), n, sink);
    return BIX_ERROR_OK;
}

int __bixdBRngMCG59(BixStream *stream, int n, double r[], double a, double b) {
    korb::rng::DoubleSink sink{r, (b - a) * korb::rng::kTwoToMinus59, a};
    korb::rng::generate(korb::rng::state_of<State>(stream), n, sink);
    return BIX_ERROR_OK;
}

int __bixsBRngMCG59(BixStream *stream, int n, float r[], float a, float b) {
    const double da = a;
    korb::rng::FloatSink sink{r, (static_cast<double>(b) - da) * korb::rng::kTwoToMinus59, da};
    korb::rng::generate(korb::rng::state_of<State>(stream), n, sink);
    return BIX_ERROR_OK;
}

uint64_t __bixiPowMod2P59(uint64_t base, uint64_t exponent) {
    return korb::rng::pow_mod(base & korb::rng::kMask, exponent);
}

}  // extern "C"
