// Sobol: the unscrambled base-2 Sobol sequence with 32-bit direction numbers, in Gray-code order
// and without its first point (the origin). Dimension 1 has the direction numbers 2^31, 2^30,
// ...; dimension k > 1 takes the Joe-Kuo primitive polynomial p of degree s and initial numbers
// m_1 .. m_s (sobol_directions.inc) and extends them by the recurrence
//   V_i = a_1 V_(i-1) ^ ... ^ a_(s-1) V_(i-s+1) ^ V_(i-s) ^ (V_(i-s) >> s),
// where V_i = m_i 2^(32-i) for i <= s and a_j is the coefficient of x^(s-j) in p.
#include <bit>

#include "qrng.h"

namespace korb::rng {
namespace {

constexpr uint32_t kChunkKey = 9;

// Dimension k's polynomial followed by its initial numbers, for k = 1 to BIX_SOBOL_MAX_DIM.
constexpr uint32_t kInitialNumbers[] = {
#include "sobol_directions.inc"
};

void build_directions(uint32_t *v) {
    using qrng::kBits;
    const uint32_t *p = kInitialNumbers;
    for (int k = 0; k < BIX_SOBOL_MAX_DIM; ++k) {
        const uint32_t poly = *p++;
        const int s = std::bit_width(poly) - 1;
        uint32_t dir[kBits];
        for (int i = 0; i < kBits; ++i) {
            if (s == 0) {
                dir[i] = 0x80000000u >> i;
            } else if (i < s) {
                dir[i] = p[i] << (31 - i);
            } else {
                uint32_t d = dir[i - s] ^ (dir[i - s] >> s);
                for (int j = 1; j < s; ++j) {
                    if ((poly >> (s - j)) & 1) d ^= dir[i - j];
                }
                dir[i] = d;
            }
        }
        p += s;
        for (int i = 0; i < kBits; ++i) v[i * BIX_SOBOL_MAX_DIM + k] = dir[i];
    }
}

using Sobol = qrng::Generator<BIX_BRNG_SOBOL, kChunkKey, BIX_SOBOL_MAX_DIM, build_directions>;

}  // namespace

constexpr RowLayout layout_SOBOL = {
    .stateSize = 11648, .stateWords = 2604, .includesZero = 0, .nBits = 32};

// The state copy moves stateWords words: the 16-byte header and one word per coordinate.
static_assert(16 + 4 * BIX_SOBOL_MAX_DIM <= 4 * layout_SOBOL.stateWords &&
              4 * layout_SOBOL.stateWords <= layout_SOBOL.stateSize - 16);

}  // namespace korb::rng

KORB_BRNG_ENTRY_POINTS(Sobol, korb::rng::Sobol)
