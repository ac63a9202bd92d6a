// Search and verification of parameter sets for the 6024 small twisters of period 2^2203 - 1
// (N = 69 words of 32 bits, M = 34, the lower 5 bits of a word paired with the upper 27 of the
// next). A parameter set is the twist matrix word `a` and the tempering masks `b` and `c`.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace korb::tools::mt2203 {

inline constexpr int kN = 69;
inline constexpr int kM = 34;
inline constexpr int kLowBits = 5;
inline constexpr int kDegree = kN * 32 - kLowBits;  // 2203, a Mersenne exponent
inline constexpr int kRows = 6024;
inline constexpr uint32_t kLowMask = (1u << kLowBits) - 1;
inline constexpr uint32_t kMaskBZero = 0x7F;    // temperB's bits that stay zero
inline constexpr uint32_t kMaskCZero = 0x7FFF;  // temperC's bits that stay zero

struct Params {
    uint32_t a = 0, b = 0, c = 0;
    bool operator==(const Params &) const = default;
};

// The three rows fixed by the generator's definition.
struct FixedRow {
    int member;
    Params params;
};
inline constexpr FixedRow kFixedRows[] = {
    {0, {0xAF81055F, 0xDD7EEF80, 0xEFD78000}},
    {1, {0x832604E1, 0x66AD7F80, 0xEBD58000}},
    {kRows - 1, {0xE8761D4B, 0x72967680, 0xEFEB0000}},
};

// A polynomial over GF(2), bit i of word i / 64 holding the coefficient of x^i.
using Poly = std::vector<uint64_t>;

int degree(const Poly &p);

// Characteristic polynomial of the recurrence with twist word `a`, from its closed form in the
// bits of `a` (affine in them).
Poly char_poly(uint32_t a);

// Minimal polynomial of bit 31 of the tempered output, found by Berlekamp-Massey on 2 * 2203 +
// 64 outputs of the recurrence itself, started from a fixed non-zero state.
Poly output_min_poly(const Params &p);

// True when `p` (of degree 2203) divides x^(2^2203) - x: then it is irreducible, 2203 being
// prime, and the recurrence it belongs to has period 2^2203 - 1.
bool full_period_poly(const Poly &p);

// The independent check: minimal polynomial of the output of degree 2203 and full period.
bool full_period(const Params &p);

// Dimension of equidistribution k(v) of the tempered output at v bits of accuracy.
int equidistribution(const Params &p, int v);

// Sum over v = 1..32 of floor(2203 / v) - k(v).
int total_defect(const Params &p);

// Cheap rejection of `a` whose characteristic polynomial has an irreducible factor of small
// degree; what passes still needs full_period_poly.
class SmallFactorSieve {
  public:
    SmallFactorSieve();
    bool passes(uint32_t a) const;

  private:
    // For each small irreducible q: the residue mod q of the constant part and of each bit's
    // term of the closed form (33 words per q).
    std::vector<uint32_t> residues_;
};

// The member's own candidate stream: the `index`-th value of `a` (bit 31 set) that passes the
// full-period test, counted from 0, drawn from a generator seeded by the member alone.
class CandidateStream {
  public:
    CandidateStream(const SmallFactorSieve &sieve, int member);
    uint32_t next_valid();

  private:
    const SmallFactorSieve &sieve_;
    uint64_t state_;
};

// Tempering masks for `a` by a bit-by-bit beam search of width `beam` maximising k(v); the
// member seeds the order in which ties are met.
Params temper_search(uint32_t a, int member, int beam);

// Row `member` of the table given the rows before it: the first valid `a` of the member's
// stream not used by an earlier row or a fixed row, and its tempering masks. Fixed rows are
// returned as they stand.
Params make_row(const SmallFactorSieve &sieve, int member, const std::vector<Params> &earlier,
                int beam);

// The committed table: reads the rows of an include file written by write_table.
bool read_table(const std::string &path, std::vector<Params> &rows, std::string &error);

}  // namespace korb::tools::mt2203
