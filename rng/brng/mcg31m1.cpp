// MCG31M1: the multiplicative congruential generator x(i+1) = a * x(i) mod m with
// m = 2^31 - 1 and a = 1132489760. Period m - 1; outputs lie in 1 to m - 1, so every double
// output lies strictly inside (a, b) up to rounding. Generation, leapfrog and skip-ahead are the
// congruential generator's (congruential.h); this file gives the modulus.
//
// Reduction modulo 2^31 - 1 folds the high bits onto the low ones and needs no division; a
// block's 31x31-bit products run a native vector's lanes at a time. Outputs convert to double exactly by the 2^52 offset
// technique, and the scale is the double nearest 1 / m.
#include <bit>

#include "congruential.h"
#include "frame/simd.h"

namespace korb::rng {
namespace {

constexpr uint32_t kModulus = 0x7FFFFFFF;
// The double nearest 1 / (2^31 - 1).
constexpr double kInverseModulus = 4.656612875245797e-10;
static_assert(std::bit_cast<uint64_t>(kInverseModulus) == 0x3E00000000200000ull);

// p mod (2^31 - 1) for p < 2^62: fold bit 31 and up onto the low bits, then subtract m once if
// the sum reached it (as adding 2^31 + 1 modulo 2^32).
inline uint32_t reduce(uint64_t p) {
    uint32_t t = static_cast<uint32_t>(p & kModulus) + static_cast<uint32_t>(p >> 31);
    if (t >= kModulus) t += 0x80000001u;
    return t;
}

struct Modulus {
    static constexpr int kId = BIX_BRNG_MCG31M1;
    using Word = uint32_t;
    static constexpr Word kMultiplier = 1132489760;
    static constexpr double kScale = kInverseModulus;

    // Only the first seed word is used.
    static Word seed_value(Seeds seeds) { return seeds.count() >= 1 ? seeds[0] % kModulus : 1; }

    static Word mul(Word a, Word x) { return reduce(static_cast<uint64_t>(a) * x); }

    static Word pow(Word base, uint64_t exponent) {
        uint32_t result = 1;
        base = reduce(base);
        while (exponent != 0) {
            if (exponent & 1) result = mul(result, base);
            base = mul(base, base);
            exponent >>= 1;
        }
        return result;
    }

    // Both folds keep the lanes exact for every non-zero residue, which is all the recurrence
    // produces (a and x are non-zero modulo the prime m).
    static simd::Vec<uint64_t> step(simd::Vec<uint64_t> x, simd::Vec<uint64_t> a_block) {
        const simd::Vec<uint64_t> t = simd::mul_lo32(x, a_block);
        const simd::Vec<uint64_t> u = (t & kModulus) + (t >> 31);
        return (u & kModulus) + (u >> 31);
    }

    static double to_double(Word x) { return simd::to_double_exact(x); }
    static simd::Vec<double> to_double(simd::Vec<uint64_t> x) { return simd::to_double_exact(x); }
};

using Mcg31m1 = congruential::Generator<Modulus>;

}  // namespace

constexpr RowLayout layout_MCG31M1 = {
    .stateSize = 24, .stateWords = 1, .includesZero = 0, .nBits = 31};
static_assert(sizeof(Mcg31m1::State) + kStreamHeaderBytes <= layout_MCG31M1.stateSize);

}  // namespace korb::rng

KORB_BRNG_ENTRY_POINTS(MCG31M1, korb::rng::Mcg31m1)

extern "C" {

uint64_t __bixiPowMod2P31M1(uint32_t base, uint64_t exponent) {
    return korb::rng::Modulus::pow(base, exponent);
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
