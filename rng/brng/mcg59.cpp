// MCG59: the multiplicative congruential generator x(i+1) = a * x(i) mod 2^59 with
// a = 13^13 = 302875106592253. The modulus is a power of two, so a product is reduced by masking
// its low 59 bits; a is odd, so a non-zero seed never reaches 0 (period 2^57 for odd seeds).
// Integer output is one 64-bit word per number (two 32-bit elements, low half first).
// Generation, leapfrog and skip-ahead are the congruential generator's (congruential.h); this
// file gives the modulus. Doubles scale x rounded to the nearest double (exact below 2^53) by
// (b - a) * 2^-59.
#include "congruential.h"
#include "frame/simd.h"

namespace korb::rng {
namespace {

constexpr uint64_t kMask = (uint64_t{1} << 59) - 1;

struct Modulus {
    static constexpr int kId = BIX_BRNG_MCG59;
    using Word = uint64_t;
    static constexpr Word kMultiplier = 302875106592253;  // 13^13
    static_assert(kMultiplier == 13ull * 13 * 13 * 13 * 13 * 13 * 13 * 13 * 13 * 13 * 13 * 13 * 13);
    static constexpr double kScale = 0x1p-59;

    // One seed word is x itself; two make a 64-bit word (low first) cut to 59 bits.
    static Word seed_value(Seeds seeds) {
        if (seeds.count() == 0) return 1;
        const Word x = seeds.count() == 1 ? seeds[0] : seeds[0] | static_cast<Word>(seeds[1]) << 32;
        return x & kMask;
    }

    static Word mul(Word a, Word x) { return a * x & kMask; }

    static Word pow(Word base, uint64_t exponent) {
        uint64_t result = 1;
        while (exponent != 0) {
            if (exponent & 1) result = mul(result, base);
            base = mul(base, base);
            exponent >>= 1;
        }
        return result;
    }

    static simd::Vec<uint64_t> step(simd::Vec<uint64_t> x, simd::Vec<uint64_t> a_block) {
        return x * a_block & kMask;
    }

    static double to_double(Word x) { return static_cast<double>(x); }

    // Lanes below 2^64 to the nearest double: both 32-bit halves convert exactly, the high one
    // is scaled exactly by 2^32, and the sum is rounded once, as a scalar conversion rounds.
    static simd::Vec<double> to_double(simd::Vec<uint64_t> v) {
        return simd::to_double_exact(v >> 32) * 0x1p32 + simd::to_double_exact(v & 0xFFFFFFFF);
    }
};

using Mcg59 = congruential::Generator<Modulus>;

}  // namespace

constexpr RowLayout layout_MCG59 = {
    .stateSize = 32, .stateWords = 1, .includesZero = 0, .nBits = 59};
static_assert(sizeof(Mcg59::State) + kStreamHeaderBytes <= layout_MCG59.stateSize);

}  // namespace korb::rng

KORB_BRNG_ENTRY_POINTS(MCG59, korb::rng::Mcg59)

extern "C" uint64_t __bixiPowMod2P59(uint64_t base, uint64_t exponent) {
    return korb::rng::Modulus::pow(base & korb::rng::kMask, exponent);
}
