// Niederreiter: the base-2 Niederreiter sequence with 32 digits, in Gray-code order and without
// its first point (the origin).
//
// Dimension i uses the i-th irreducible polynomial p over GF(2), in order of degree and then of
// value (constant term in bit 0): x, x + 1, x^2 + x + 1, x^3 + x + 1, ... For p of degree e,
// digit j = e(J - 1) + u (u < e; digit 0 the most significant) of generator-matrix column r is
// v[r + u], where v is the sequence of b = p^J (degree m = eJ): v[0 .. e(J-1) - 1] = 0, the rest
// of v[0 .. m - 1] = 1, and v[t + m] = sum over k < m of b_k v[t + k]. The matrices are built
// when the first stream is seeded and shared by every stream through the read-only data table.
#include <bit>

#include "qrng.h"

namespace korb::rng {
namespace {

constexpr uint32_t kChunkKey = 13;

int degree(uint64_t p) {
    return std::bit_width(p) - 1;
}

// Remainder and product of polynomials over GF(2), coefficients as bits.
uint64_t gf2_mod(uint64_t a, uint64_t b) {
    for (int d = degree(b); degree(a) >= d;) a ^= b << (degree(a) - d);
    return a;
}
uint64_t gf2_mul(uint64_t a, uint64_t b) {
    uint64_t r = 0;
    for (; b != 0; b &= b - 1) r ^= a << std::countr_zero(b);
    return r;
}

// The first `count` irreducible polynomials, by trial division by the smaller ones.
void irreducibles(uint64_t *out, int count) {
    int found = 0;
    for (uint64_t p = 2; found < count; ++p) {
        bool irreducible = true;
        for (int i = 0; i < found && 2 * degree(out[i]) <= degree(p); ++i) {
            if (gf2_mod(p, out[i]) == 0) {
                irreducible = false;
                break;
            }
        }
        if (irreducible) out[found++] = p;
    }
}

void build_matrices(uint32_t *v) {
    using qrng::kBits;
    uint64_t polys[BIX_NIEDERR_MAX_DIM];
    irreducibles(polys, BIX_NIEDERR_MAX_DIM);
    for (int k = 0; k < BIX_NIEDERR_MAX_DIM; ++k) {
        const uint64_t p = polys[k];
        const int e = degree(p);
        uint32_t column[kBits] = {};
        uint64_t b = 1;    // p^(J-1), then p^J
        uint64_t seq = 0;  // v[0], v[1], ... as bits; kBits + e of them are used
        for (int j = 0; j < kBits; ++j) {
            const int u = j % e;
            if (u == 0) {
                const int zeros = degree(b);  // e(J - 1)
                b = gf2_mul(b, p);
                const int m = degree(b);
                seq = ((uint64_t{1} << m) - 1) & ~((uint64_t{1} << zeros) - 1);
                const uint64_t low = b & ((uint64_t{1} << m) - 1);
                for (int t = 0; t + m < kBits + e; ++t) {
                    seq |= static_cast<uint64_t>(std::popcount(low & (seq >> t)) & 1) << (t + m);
                }
            }
            for (int r = 0; r < kBits; ++r) {
                column[r] |= static_cast<uint32_t>((seq >> (r + u)) & 1) << (31 - j);
            }
        }
        for (int r = 0; r < kBits; ++r) v[r * BIX_NIEDERR_MAX_DIM + k] = column[r];
    }
}

using Niederr = qrng::Generator<BIX_BRNG_NIEDERR, kChunkKey, BIX_NIEDERR_MAX_DIM, build_matrices>;

}  // namespace

constexpr RowLayout layout_NIEDERR = {
    .stateSize = 43280, .stateWords = 10498, .includesZero = 0, .nBits = 32};

// The state copy moves stateWords words: the 16-byte header and one word per coordinate.
static_assert(16 + 4 * BIX_NIEDERR_MAX_DIM <= 4 * layout_NIEDERR.stateWords &&
              4 * layout_NIEDERR.stateWords <= layout_NIEDERR.stateSize - 16);

}  // namespace korb::rng

KORB_BRNG_ENTRY_POINTS(Niederr, korb::rng::Niederr)
