// GF(2) polynomial arithmetic, the full-period test, the equidistribution measure and the
// tempering search for the 2203-bit twisters. Everything here is exact integer arithmetic.
#include "mt2203_search.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <fstream>

namespace korb::tools::mt2203 {

namespace {

// ---------------------------------------------------------------------------------------------
// Polynomials

constexpr int kWords = (kDegree + 63) / 64;  // 35 words hold a remainder modulo a degree-2203 p

// Irreducible factors up to degree kSieveDegree are found by the sieve; the full-period test
// looks for those up to kEarlyExitDegree first, which ends it early for most reducible p.
constexpr int kSieveDegree = 16;
constexpr int kEarlyExitDegree = 256;

int bit(const Poly &p, int i) {
    size_t w = static_cast<size_t>(i) >> 6;
    return w < p.size() ? static_cast<int>((p[w] >> (i & 63)) & 1) : 0;
}

void set_bit(Poly &p, int i) {
    size_t w = static_cast<size_t>(i) >> 6;
    if (p.size() <= w) p.resize(w + 1, 0);
    p[w] |= uint64_t{1} << (i & 63);
}

void add_into(Poly &dst, const Poly &src) {
    if (dst.size() < src.size()) dst.resize(src.size(), 0);
    for (size_t i = 0; i < src.size(); ++i) dst[i] ^= src[i];
}

Poly multiply(const Poly &x, const Poly &y) {
    Poly r(x.size() + y.size() + 1, 0);
    for (int i = 0, dx = degree(x); i <= dx; ++i) {
        if (!bit(x, i)) continue;
        int ws = i >> 6, bs = i & 63;
        for (size_t k = 0; k < y.size(); ++k) {
            r[k + ws] ^= y[k] << bs;
            if (bs) r[k + ws + 1] ^= y[k] >> (64 - bs);
        }
    }
    return r;
}

Poly power(const Poly &x, int e) {
    Poly r{1};
    for (int i = 0; i < e; ++i) r = multiply(r, x);
    return r;
}

// x^i + x^j
Poly binomial(int i, int j) {
    Poly p;
    set_bit(p, i);
    set_bit(p, j);
    return p;
}

// The characteristic polynomial of the twisted recurrence with incomplete array is
//   U^27 V^5 + sum_{i<5} a_i U^27 V^(4-i) + sum_{i>=5} a_i U^(31-i),
// U = x^N + x^M, V = x^(N-1) + x^(M-1), a_i bit i of the twist word: the constant part and
// one term per bit, index 32 the constant part.
const std::array<Poly, 33> &char_poly_terms() {
    static const std::array<Poly, 33> terms = [] {
        std::array<Poly, 33> t;
        Poly u = binomial(kN, kM), v = binomial(kN - 1, kM - 1);
        Poly u27 = power(u, 32 - kLowBits);
        for (int i = 0; i < kLowBits; ++i) t[i] = multiply(u27, power(v, kLowBits - 1 - i));
        for (int i = kLowBits; i < 32; ++i) t[i] = power(u, 31 - i);
        t[32] = multiply(u27, power(v, kLowBits));
        for (Poly &p : t) p.resize(kWords, 0);
        return t;
    }();
    return terms;
}

// ---------------------------------------------------------------------------------------------
// The recurrence, one word at a time, on a ring of N words.

struct Ring {
    std::array<uint32_t, kN> mt{};
    int i = 0;

    uint32_t step(uint32_t a) {
        int i1 = i + 1 == kN ? 0 : i + 1;
        int im = i + kM >= kN ? i + kM - kN : i + kM;
        uint32_t y = (mt[i] & ~kLowMask) | (mt[i1] & kLowMask);
        mt[i] = mt[im] ^ (y >> 1) ^ ((y & 1) ? a : 0);
        uint32_t out = mt[i];
        i = i1;
        return out;
    }

    // Adds `o` word by word, aligned on the next word to replace.
    // Returns whether the sum leaves a state that no longer influences any output.
    bool add(const Ring &o) {
        int d = o.i - i;
        if (d < 0) d += kN;
        uint32_t *__restrict dst = mt.data();
        const uint32_t *__restrict src = o.mt.data();
        uint32_t any = 0;
        for (int k = 0; k < kN - d; ++k) any |= dst[k] ^= src[k + d];
        for (int k = kN - d; k < kN; ++k) any |= dst[k] ^= src[k + d - kN];
        if ((any & ~kLowMask) != 0) return false;
        // The low bits of the next word to replace never reach an output.
        for (int k = 0; k < kN; ++k)
            if (k != i && (mt[k] & kLowMask)) return false;
        return true;
    }

    // A fixed state with every word non-zero.
    static Ring fixed() {
        Ring r;
        uint32_t s = 19650218u;
        for (int k = 0; k < kN; ++k) r.mt[k] = s = 1812433253u * (s ^ (s >> 30)) + k;
        return r;
    }
};

uint32_t temper(uint32_t y, uint32_t b, uint32_t c) {
    y ^= y >> 12;
    y ^= (y << 7) & b;
    y ^= (y << 15) & c;
    y ^= y >> 18;
    return y;
}

// ---------------------------------------------------------------------------------------------
// Arithmetic modulo p of degree 2203. Remainders are kept multiplied by x^37, so that the
// modulus p x^37 has its leading term on a word boundary (bit 0 of word 35) and the reduction
// can remove whole bytes with tables of multiples of the modulus.

constexpr int kShift = kWords * 64 - kDegree;  // 37
constexpr int kTop = kWords;                   // word holding the modulus's leading term

using Residue = std::array<uint64_t, kWords>;
using Product = std::array<uint64_t, 2 * kWords + 1>;

class ModArith {
  public:
    explicit ModArith(const Poly &p) {
        // m: low 35 words of p x^37 (the leading term dropped).
        std::array<uint64_t, kWords + 1> m{};
        for (int i = 0; i <= kDegree; ++i)
            if (bit(p, i)) m[(i + kShift) >> 6] |= uint64_t{1} << ((i + kShift) & 63);
        m[kTop] = 0;
        // r_k = x^(2240 + k) mod p x^37 for k = 0..63, then the byte tables by linearity.
        Residue r;
        std::copy(m.begin(), m.begin() + kWords, r.begin());
        for (int k = 0; k < 64; ++k) {
            int j = k >> 3, b = k & 7;
            auto &single = table_[j][1 << b];
            std::copy(r.begin(), r.end(), single.begin());
            single[kTop] = uint64_t{1} << k;
            uint64_t carry = 0;
            for (int w = 0; w < kWords; ++w) {
                uint64_t next = r[w] >> 63;
                r[w] = (r[w] << 1) | carry;
                carry = next;
            }
            if (carry)
                for (int w = 0; w < kWords; ++w) r[w] ^= m[w];
        }
        for (int j = 0; j < 8; ++j) {
            table_[j][0] = {};
            for (int t = 2; t < 256; ++t) {
                if (std::has_single_bit(static_cast<unsigned>(t))) continue;
                int low = t & -t;
                for (int w = 0; w <= kTop; ++w)
                    table_[j][t][w] = table_[j][t ^ low][w] ^ table_[j][low][w];
            }
        }
    }

    // The scaled residue of x^e, for e < 2203 - 37.
    static Residue monomial(int e) {
        Residue r{};
        r[(e + kShift) >> 6] = uint64_t{1} << ((e + kShift) & 63);
        return r;
    }

    void square(Residue &r) const {
        Product x{};
        for (int w = 0; w < kWords; ++w) {
            x[2 * w] = spread(static_cast<uint32_t>(r[w]));
            x[2 * w + 1] = spread(static_cast<uint32_t>(r[w] >> 32));
        }
        reduce(x, r);
    }

    // r <- r s, by a comb over 4-bit windows of s.
    void multiply(Residue &r, const Residue &s) const {
        std::array<std::array<uint64_t, kWords + 1>, 16> t{};
        for (int n = 1; n < 16; ++n) {
            int low = n & -n;
            if (n == low) {
                int b = std::countr_zero(static_cast<unsigned>(n));
                for (int w = 0; w < kWords; ++w) {
                    t[n][w] ^= r[w] << b;
                    if (b) t[n][w + 1] ^= r[w] >> (64 - b);
                }
            } else {
                for (int w = 0; w <= kWords; ++w) t[n][w] = t[n ^ low][w] ^ t[low][w];
            }
        }
        Product x{};
        for (int j = 15; j >= 0; --j) {
            for (int w = 0; w < kWords; ++w) {
                const auto &e = t[(s[w] >> (4 * j)) & 15];
                for (int k = 0; k <= kWords; ++k) x[w + k] ^= e[k];
            }
            if (j)
                for (int w = 2 * kWords; w >= 0; --w) x[w] = (x[w] << 4) | (w ? x[w - 1] >> 60 : 0);
        }
        reduce(x, r);
    }

  private:
    // (R x^37)(S x^37) / x^37 = R S x^37, then remove whole bytes from the top down.
    void reduce(Product &x, Residue &r) const {
        for (int w = 0; w < 2 * kWords; ++w) x[w] = (x[w] >> kShift) | (x[w + 1] << (64 - kShift));
        for (int w = 2 * kWords - 1; w >= kTop; --w) {
            for (int j = 7; j >= 0; --j) {
                unsigned t = (x[w] >> (8 * j)) & 0xFF;
                if (!t) continue;
                const auto &e = table_[j][t];
                uint64_t *dst = &x[w - kTop];
                for (int k = 0; k <= kTop; ++k) dst[k] ^= e[k];
            }
        }
        std::copy(x.begin(), x.begin() + kWords, r.begin());
    }

    static uint64_t spread(uint32_t v) {
        uint64_t x = v;
        x = (x | (x << 16)) & 0x0000FFFF0000FFFFull;
        x = (x | (x << 8)) & 0x00FF00FF00FF00FFull;
        x = (x | (x << 4)) & 0x0F0F0F0F0F0F0F0Full;
        x = (x | (x << 2)) & 0x3333333333333333ull;
        x = (x | (x << 1)) & 0x5555555555555555ull;
        return x;
    }

    std::array<std::array<std::array<uint64_t, kWords + 1>, 256>, 8> table_;
};

// Whether gcd(p, s) = 1, s a scaled residue; by Euclid one leading bit at a time.
bool coprime(const Poly &p, const Residue &s) {
    Poly a = p, b(kWords + 1, 0);
    a.resize(kWords + 1, 0);
    for (int w = 0; w < kWords; ++w)
        b[w] = (s[w] >> kShift) | (w + 1 < kWords ? s[w + 1] << (64 - kShift) : 0);
    int da = degree(a), db = degree(b);
    while (db >= 0) {
        while (da >= db) {
            int d = da - db, ws = d >> 6, bs = d & 63;
            for (int w = (db >> 6); w >= 0; --w) {
                a[w + ws] ^= b[w] << bs;
                if (bs && w + ws + 1 <= kWords) a[w + ws + 1] ^= b[w] >> (64 - bs);
            }
            da = degree(a);
        }
        std::swap(a, b);
        std::swap(da, db);
    }
    return da == 0;
}

// ---------------------------------------------------------------------------------------------
// Small irreducible polynomials (as bit patterns) and arithmetic on them.

uint32_t small_mod(uint64_t x, uint32_t q) {
    int dq = std::bit_width(q) - 1;
    for (int d = std::bit_width(x) - 1; d >= dq; d = std::bit_width(x) - 1)
        x ^= uint64_t{q} << (d - dq);
    return static_cast<uint32_t>(x);
}

uint32_t small_mulmod(uint32_t x, uint32_t y, uint32_t q) {
    uint64_t r = 0;
    for (int i = 0; y >> i; ++i)
        if ((y >> i) & 1) r ^= uint64_t{x} << i;
    return small_mod(r, q);
}

uint32_t small_powmod_x(int e, uint32_t q) {  // x^e mod q
    uint32_t r = 1;
    for (int i = 0; i < e; ++i) r = small_mod(uint64_t{r} << 1, q);
    return r;
}

// Irreducibles of degree 1..kSieveDegree other than x, by trial division.
std::vector<uint32_t> small_irreducibles() {
    std::vector<uint32_t> found;
    for (uint32_t q = 3; q < (1u << (kSieveDegree + 1)); q += 2) {
        int dq = static_cast<int>(std::bit_width(q)) - 1;
        bool irreducible = true;
        for (uint32_t f : found) {
            if (2 * (static_cast<int>(std::bit_width(f)) - 1) > dq) break;
            if (small_mod(q, f) == 0) {
                irreducible = false;
                break;
            }
        }
        if (irreducible) found.push_back(q);
    }
    return found;
}

// ---------------------------------------------------------------------------------------------
// Equidistribution by lattice reduction.
//
// For v bits, the output's top v bits form v sequences; their generating series in x^-1 span,
// together with the unit vectors, a lattice in v dimensions. Once its basis is reduced (the
// leading coefficients have distinct top bits), k(v) is the smallest count among the basis
// vectors, and the counts add up to 2203. A lattice vector is held as x^-count (lead + w(state)),
// where lead is the v-bit coefficient of its highest term and w(state) the series of the outputs
// the recurrence produces from `state`: multiplying by x is a change of count, and dropping a zero
// lead is one step of the recurrence.

struct LatticeVector {
    uint32_t lead;
    int count;
    Ring state;
};

class Equidistribution {
  public:
    explicit Equidistribution(const Params &p) : p_(p) {}

    int k(int v) {
        const uint32_t vmask = v == 32 ? ~0u : ~(~0u >> v);
        vectors_.resize(static_cast<size_t>(v) + 1);
        std::array<int, 32> owner;
        owner.fill(-1);
        for (int j = 0; j < v; ++j) {
            vectors_[j] = LatticeVector{1u << (31 - j), 0, Ring{}};
            owner[31 - j] = j;
        }
        vectors_[v] = LatticeVector{0, 0, Ring::fixed()};
        int x = v;
        if (!normalise(vectors_[x], vmask, false)) return 0;
        for (;;) {
            int pivot = std::bit_width(vectors_[x].lead) - 1;
            int y = owner[pivot];
            LatticeVector &vx = vectors_[x];
            LatticeVector &vy = vectors_[y];
            int target = x;
            if (vy.count < vx.count) {
                owner[pivot] = x;
                target = y;
            }
            LatticeVector &t = vectors_[target];
            const LatticeVector &o = target == x ? vy : vx;
            t.lead ^= o.lead;
            bool zero_state = t.state.add(o.state);
            if (!normalise(t, vmask, zero_state)) break;  // the one dependent vector vanished
            x = target;
        }
        int best = kDegree;
        for (int j = 0; j < 32; ++j)
            if (owner[j] >= 0) best = std::min(best, vectors_[owner[j]].count);
        return best;
    }

  private:
    // Steps the vector until its lead is non-zero; false when the vector is zero.
    bool normalise(LatticeVector &t, uint32_t vmask, bool zero_state) {
        if (t.lead) return true;
        if (zero_state) return false;
        for (int guard = 0; guard <= 2 * kDegree; ++guard) {
            t.lead = temper(t.state.step(p_.a), p_.b, p_.c) & vmask;
            ++t.count;
            if (t.lead) return true;
        }
        return false;
    }

    Params p_;
    std::vector<LatticeVector> vectors_;
};

uint64_t splitmix64(uint64_t &s) {
    uint64_t z = (s += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

}  // namespace

int degree(const Poly &p) {
    for (size_t w = p.size(); w-- > 0;)
        if (p[w]) return static_cast<int>(w * 64) + std::bit_width(p[w]) - 1;
    return -1;
}

Poly char_poly(uint32_t a) {
    const auto &t = char_poly_terms();
    Poly p = t[32];
    for (int i = 0; i < 32; ++i)
        if ((a >> i) & 1) add_into(p, t[i]);
    return p;
}

Poly output_min_poly(const Params &p) {
    const int n = 2 * kDegree + 64;
    const int nw = n / 64 + 2;
    // The sequence reversed (bit k holds output n-1-k), so that the discrepancy is a dot
    // product of the connection polynomial with a window of it.
    Poly rev(static_cast<size_t>(nw) + 1, 0);
    Ring g = Ring::fixed();
    for (int i = 0; i < n; ++i)
        if (temper(g.step(p.a), p.b, p.c) >> 31) set_bit(rev, n - 1 - i);
    auto window = [&](int pos, int w) {
        int q = (pos >> 6) + w, s = pos & 63;
        return s ? (rev[q] >> s) | (rev[q + 1] << (64 - s)) : rev[q];
    };
    Poly c(static_cast<size_t>(nw), 0), b(static_cast<size_t>(nw), 0), saved;
    c[0] = b[0] = 1;
    int len = 0, shift = 1;
    for (int i = 0; i < n; ++i) {
        uint64_t acc = 0;
        for (int w = 0; w <= len / 64; ++w) {
            uint64_t cw = c[w];
            if (w == len / 64 && (len & 63) != 63) cw &= (uint64_t{2} << (len & 63)) - 1;
            acc ^= cw & window(n - 1 - i, w);
        }
        if (!(std::popcount(acc) & 1)) {
            ++shift;
            continue;
        }
        bool grow = 2 * len <= i;
        if (grow) saved = c;
        int ws = shift >> 6, bs = shift & 63;
        for (int w = nw - 1; w >= ws; --w) {
            uint64_t v = b[w - ws] << bs;
            if (bs && w - ws - 1 >= 0) v |= b[w - ws - 1] >> (64 - bs);
            c[w] ^= v;
        }
        if (grow) {
            len = i + 1 - len;
            b = saved;
            shift = 1;
        } else {
            ++shift;
        }
    }
    // The characteristic polynomial is the reciprocal of the connection polynomial.
    Poly r;
    for (int i = 0; i <= len; ++i)
        if (bit(c, i)) set_bit(r, len - i);
    return r;
}

bool full_period_poly(const Poly &p) {
    if (degree(p) != kDegree) return false;
    // Squaring 2203 times gives x^(2^2203). On the way, for k past the sieve's reach, the
    // product of x^(2^k) - x is collected and tested against p every 16 steps: a common factor
    // means p has a factor of degree dividing some k < 2203, so most reducible p leave early.
    ModArith mod(p);
    const Residue x = ModArith::monomial(1);
    Residue r = x, product = ModArith::monomial(0);
    for (int k = 1; k <= kDegree; ++k) {
        mod.square(r);
        if (k > kSieveDegree && k <= kEarlyExitDegree) {
            Residue diff = r;
            for (int w = 0; w < kWords; ++w) diff[w] ^= x[w];
            mod.multiply(product, diff);
            if ((k - kSieveDegree) % 16 == 0 && !coprime(p, product)) return false;
        }
    }
    return r == x;
}

bool full_period(const Params &p) {
    return full_period_poly(output_min_poly(p));
}

int equidistribution(const Params &p, int v) {
    return Equidistribution(p).k(v);
}

int total_defect(const Params &p) {
    Equidistribution e(p);
    int defect = 0;
    for (int v = 1; v <= 32; ++v) defect += kDegree / v - e.k(v);
    return defect;
}

SmallFactorSieve::SmallFactorSieve() {
    for (uint32_t q : small_irreducibles()) {
        uint32_t u = small_powmod_x(kN, q) ^ small_powmod_x(kM, q);
        uint32_t v = small_powmod_x(kN - 1, q) ^ small_powmod_x(kM - 1, q);
        auto pw = [&](uint32_t base, int e) {
            uint32_t r = small_mod(1, q);
            for (int i = 0; i < e; ++i) r = small_mulmod(r, base, q);
            return r;
        };
        uint32_t u27 = pw(u, 32 - kLowBits);
        for (int i = 0; i < kLowBits; ++i)
            residues_.push_back(small_mulmod(u27, pw(v, kLowBits - 1 - i), q));
        for (int i = kLowBits; i < 32; ++i) residues_.push_back(pw(u, 31 - i));
        residues_.push_back(small_mulmod(u27, pw(v, kLowBits), q));
    }
}

bool SmallFactorSieve::passes(uint32_t a) const {
    for (size_t k = 0; k < residues_.size(); k += 33) {
        const uint32_t *r = &residues_[k];
        uint32_t acc = r[32];
        for (uint32_t bits = a; bits; bits &= bits - 1) acc ^= r[std::countr_zero(bits)];
        if (acc == 0) return false;
    }
    return true;
}

CandidateStream::CandidateStream(const SmallFactorSieve &sieve, int member)
    : sieve_(sieve), state_(0x6D74323230330000ull ^ static_cast<uint64_t>(member)) {}

uint32_t CandidateStream::next_valid() {
    for (;;) {
        uint32_t a = static_cast<uint32_t>(splitmix64(state_) >> 32) | 0x80000000u;
        if (sieve_.passes(a) && full_period_poly(char_poly(a))) return a;
    }
}

constexpr int kLastDecidedBit = 17;

Params temper_search(uint32_t a, int member, int beam) {
    struct Entry {
        Params p;
        int defect;
        uint64_t tie;  // random order among equal defects, so that ties come from all parents
    };
    uint64_t rng = 0x74656D7065720000ull ^ static_cast<uint64_t>(member);
    std::vector<Entry> entries{{{a, 0, 0}, 0, 0}}, next;
    // Past v = 17 every mask bit is decided: the beam ranks by the defect of v = 1..17.
    for (int v = 1; v <= kLastDecidedBit; ++v) {
        // The mask bits that output bit 32 - v is the first to depend on.
        std::vector<std::pair<uint32_t, uint32_t>> bits;  // (mask b bit, mask c bit)
        if (32 - v >= 15) bits.push_back({0, 1u << (32 - v)});
        if (32 - v >= 17) bits.push_back({1u << (32 - v), 0});
        if (17 - v >= 7) bits.push_back({1u << (17 - v), 0});
        next.clear();
        for (const Entry &e : entries) {
            for (unsigned choice = 0; choice < (1u << bits.size()); ++choice) {
                Params p = e.p;
                for (size_t i = 0; i < bits.size(); ++i) {
                    if (!((choice >> i) & 1)) continue;
                    p.b |= bits[i].first;
                    p.c |= bits[i].second;
                }
                next.push_back(
                    {p, e.defect + kDegree / v - equidistribution(p, v), splitmix64(rng)});
            }
        }
        std::sort(next.begin(), next.end(), [](const Entry &x, const Entry &y) {
            return x.defect != y.defect ? x.defect < y.defect : x.tie < y.tie;
        });
        if (next.size() > static_cast<size_t>(beam)) next.resize(static_cast<size_t>(beam));
        std::swap(entries, next);
    }
    return entries.front().p;
}

Params make_row(const SmallFactorSieve &sieve, int member, const std::vector<Params> &earlier,
                int beam) {
    for (const FixedRow &f : kFixedRows)
        if (f.member == member) return f.params;
    auto used = [&](uint32_t a) {
        for (const FixedRow &f : kFixedRows)
            if (f.params.a == a) return true;
        for (int m = 0; m < member && m < static_cast<int>(earlier.size()); ++m)
            if (earlier[m].a == a) return true;
        return false;
    };
    CandidateStream stream(sieve, member);
    uint32_t a = stream.next_valid();
    while (used(a)) a = stream.next_valid();
    return temper_search(a, member, beam);
}

bool read_table(const std::string &path, std::vector<Params> &rows, std::string &error) {
    std::ifstream in(path);
    if (!in) {
        error = "cannot open " + path;
        return false;
    }
    rows.clear();
    std::string line;
    int line_no = 0;
    while (std::getline(in, line)) {
        ++line_no;
        size_t start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line.compare(start, 2, "//") == 0) continue;
        unsigned a, b, c;
        char tail = 0;
        if (std::sscanf(line.c_str() + start, "{0x%x, 0x%x, 0x%x}%c", &a, &b, &c, &tail) != 4 ||
            tail != ',') {
            error = path + ":" + std::to_string(line_no) + ": not a row";
            return false;
        }
        rows.push_back({a, b, c});
    }
    return true;
}

}  // namespace korb::tools::mt2203
