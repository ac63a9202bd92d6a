// MCG31M1: the multiplicative congruential generator x(i+1) = a * x(i) mod m with
// m = 2^31 - 1 and a = 1132489760. Period m - 1; outputs lie in 1 to m - 1, so every double
// output lies strictly inside (a, b) up to rounding.
//
// Generation steps eight outputs at once: after the first eight, each output is a^8 times the
// output eight places earlier, so eight independent 31x31-bit products (two 64-bit lanes per
// vector) proceed in parallel. Reduction modulo 2^31 - 1 folds the high bits onto the low ones
// and needs no division. Outputs convert to double exactly by the 2^52 offset technique, then
// r = u * s + a with s = (b - a) / m, a multiply and an add, never fused. Every split of n
// gives the same numbers as one call.
#include <bit>

#include "congruential.h"
#include "frame/simd.h"
#include "rng/stream.h"
#include "rows.h"

namespace korb::rng {
namespace {

constexpr uint32_t kModulus = 0x7FFFFFFF;
constexpr uint32_t kMultiplier = 1132489760;
// The double nearest 1 / (2^31 - 1).
constexpr double kInverseModulus = 4.656612875245797e-10;
static_assert(std::bit_cast<uint64_t>(kInverseModulus) == 0x3E00000000200000ull);

struct State {
    uint32_t x;  // the next output, in 1 to m - 1
    uint32_t a;  // the multiplier: 1132489760, or a power of it after leapfrog
};
static_assert(sizeof(State) + kStreamHeaderBytes <= 24);

// p mod (2^31 - 1) for p < 2^62: fold bit 31 and up onto the low bits, then subtract m once if
// the sum reached it (as adding 2^31 + 1 modulo 2^32).
inline uint32_t reduce(uint64_t p) {
    uint32_t t = static_cast<uint32_t>(p & kModulus) + static_cast<uint32_t>(p >> 31);
    if (t >= kModulus) t += 0x80000001u;
    return t;
}

inline uint32_t mul_mod(uint32_t a, uint32_t x) {
    return reduce(static_cast<uint64_t>(a) * x);
}

uint32_t pow_mod_m(uint32_t base, uint64_t exponent) {
    uint32_t result = 1;
    base = reduce(base);
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

// Eight lanes of a * x mod m. Both folds keep the lanes exact for every non-zero residue,
// which is all the recurrence produces (a and x are non-zero modulo the prime m).
inline void step(u64v (&v)[kVectors], u64v a8) {
    const u64v m = simd::broadcast(kModulus);
    for (u64v &lane : v) {
        u64v t = simd::mul_lo32(lane, a8);
        t = (t & m) + (t >> 31);
        lane = (t & m) + (t >> 31);
    }
}

// Runs the recurrence for n outputs, handing each to the sink: one at a time through
// sink.one(i, x), and in blocks of eight through sink.block(i, lanes).
template <class Sink>
void generate(State *st, int n, Sink &sink) {
    uint32_t x = st->x;
    const uint32_t a = st->a;
    int i = 0;
    if (n >= kBlock) {
        uint32_t first[kBlock];
        for (; i < kBlock; ++i) {
            first[i] = x;
            sink.one(i, x);
            x = mul_mod(a, x);
        }
        const uint32_t a2 = mul_mod(a, a);
        const uint32_t a4 = mul_mod(a2, a2);
        const u64v a8 = simd::broadcast(mul_mod(a4, a4));
        u64v v[kVectors];
        for (int j = 0; j < kVectors; ++j) {
            for (int l = 0; l < simd::kU64Lanes; ++l) v[j][l] = first[j * simd::kU64Lanes + l];
        }
        if (n - i >= kBlock) {
            for (; n - i >= kBlock; i += kBlock) {
                step(v, a8);
                sink.block(i, v);
            }
            x = mul_mod(a, static_cast<uint32_t>(v[kVectors - 1][simd::kU64Lanes - 1]));
        }
    }
    for (; i < n; ++i) {
        sink.one(i, x);
        x = mul_mod(a, x);
    }
    st->x = x;
}

struct IntSink {
    uint32_t *r;
    void one(int i, uint32_t x) { r[i] = x; }
    void block(int i, const u64v (&v)[kVectors]) {
        for (int j = 0; j < kVectors; j += 2) {
            simd::store(r + i + j * simd::kU64Lanes, simd::low_halves(v[j], v[j + 1]));
        }
    }
};

struct DoubleSink {
    double *r;
    double s;
    double a;
    void one(int i, uint32_t x) { r[i] = simd::to_double_exact(x) * s + a; }
    void block(int i, const u64v (&v)[kVectors]) {
        for (int j = 0; j < kVectors; ++j) {
            simd::store(r + i + j * simd::kU64Lanes, simd::to_double_exact(v[j]) * s + a);
        }
    }
};

struct FloatSink {
    float *r;
    double s;
    double a;
    void one(int i, uint32_t x) { r[i] = static_cast<float>(simd::to_double_exact(x) * s + a); }
    void block(int i, const u64v (&v)[kVectors]) {
        for (int j = 0; j < kVectors; j += 2) {
            simd::store(r + i + j * simd::kU64Lanes,
                        simd::narrow(simd::to_double_exact(v[j]) * s + a,
                                     simd::to_double_exact(v[j + 1]) * s + a));
        }
    }
};

}  // namespace

const BrngProperties mcg31m1_row = {24,
                                    1,
                                    0,
                                    4,
                                    31,
                                    __bixBRngMCG31M1InitStream,
                                    __bixsBRngMCG31M1,
                                    __bixdBRngMCG31M1,
                                    __bixiBRngMCG31M1};

}  // namespace korb::rng

using korb::rng::State;

extern "C" {

int __bixBRngMCG31M1InitStream(int method, BixStream *stream, int n, const uint32_t params[]) {
    using namespace korb::rng;
    State *st = state_of<State>(stream);
    if (method != BIX_INIT_METHOD_STANDARD) {
        return split_congruential(method, st->x, st->a, n, params, mul_mod, pow_mod_m);
    }
    // Only the first seed word is used; a seed that reduces to 0 becomes 1.
    uint32_t x = n >= 1 && params != nullptr ? params[0] % kModulus : 1;
    st->x = x == 0 ? 1 : x;
    st->a = kMultiplier;
    return BIX_ERROR_OK;
}

int __bixiBRngMCG31M1(BixStream *stream, int n, uint32_t r[]) {
    korb::rng::IntSink sink{r};
    korb::rng::generate(korb::rng::state_of<State>(stream), n, sink);
    return BIX_ERROR_OK;
}

int __bixdBRngMCG31M1(BixStream *stream, int n, double r[], double a, double b) {
    korb::rng::DoubleSink sink{r, (b - a) * korb::rng::kInverseModulus, a};
    korb::rng::generate(korb::rng::state_of<State>(stream), n, sink);
    return BIX_ERROR_OK;
}

int __bixsBRngMCG31M1(BixStream *stream, int n, float r[], float a, float b) {
    const double da = a;
    korb::rng::FloatSink sink{r, (static_cast<double>(b) - da) * korb::rng::kInverseModulus, da};
    korb::rng::generate(korb::rng::state_of<State>(stream), n, sink);
    return BIX_ERROR_OK;
}

uint64_t __bixiPowMod2P31M1(uint32_t base, uint64_t exponent) {
    return korb::rng::pow_mod_m(base, exponent);
}

uint64_t __bixiPowMod(uint32_t base, uint64_t exponent, uint32_t modulus) {
    if (modulus == 0) return 0;  // no residues modulo 0; refused instead of dividing by zero
    uint64_t result = 1;
    if (exponent == 0) return result;
    uint64_t b = base % modulus;
    while (exponent != 0) {
        if (exponent & 1) result = result * b % modulus;
        b = b * b % modulus;
        exponent >>= 1;
    }
    return result;
}

}  // extern "C"
