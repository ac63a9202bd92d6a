// Generates rng/brng/wh_params.inc, the parameters of the 273 members of the Wichmann-Hill set:
// for each member four prime moduli below 2^24 and, for each modulus, a multiplier that is a
// primitive root with a good spectral-test figure of merit in dimensions 2 to 8.
//
//   gen_wh_params            writes the table to standard output
//   gen_wh_params --check F  regenerates it and exits 1 unless F holds exactly that text
//
// Moduli: the 1092 largest safe primes m = 2q + 1 (q prime) below 2^24, in decreasing order,
// four to a member. With safe primes a multiplier is a primitive root exactly when
// a^q = -1 (mod m) and a != m - 1, and the combined period of a member is
// lcm(m1 - 1, ..., m4 - 1) = 2 q1 q2 q3 q4, about 2^93.
//
// Multipliers: for each modulus the first kCandidates primitive roots drawn from a fixed
// pseudo-random sequence (seeded by the modulus) are scored, and the best kept. The score is
// min over t = 2..8 of M_t = nu_t / (gamma_t^(1/2) m^(1/t)), where nu_t is the length of the
// shortest non-zero integer vector h with h . (1, a, ..., a^(t-1)) = 0 (mod m) (so 1 / nu_t is
// the largest distance between the hyperplanes covering the t-dimensional points), and
// gamma_t is Hermite's constant, which bounds nu_t for any lattice of determinant m. M_t lies
// in (0, 1]; larger is better. nu_t is found by LLL reduction of that lattice's basis followed
// by an exhaustive Schnorr-Euchner enumeration, with every candidate length checked in exact
// integer arithmetic, so the figures are exact up to the final division.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kLimit = 1u << 24;
constexpr int kMembers = 273;
constexpr int kComponents = 4;
constexpr int kMinDim = 2;
constexpr int kMaxDim = 8;
constexpr int kCandidates = 1000;

// gamma_t^t for t = 2..8: the known values of Hermite's constant.
constexpr double kHermitePower[kMaxDim + 1] = {0, 0, 4.0 / 3.0, 2, 4, 8, 64.0 / 3.0, 64, 256};

uint64_t pow_mod(uint64_t base, uint64_t e, uint64_t m) {
    uint64_t r = 1;
    base %= m;
    for (; e != 0; e >>= 1, base = base * base % m) {
        if (e & 1) r = r * base % m;
    }
    return r;
}

std::vector<uint32_t> largest_safe_primes(int count) {
    std::vector<bool> composite(kLimit, false);
    composite[0] = composite[1] = true;
    for (uint32_t p = 2; p * p < kLimit; ++p) {
        if (composite[p]) continue;
        for (uint32_t k = p * p; k < kLimit; k += p) composite[k] = true;
    }
    std::vector<uint32_t> primes;
    for (uint32_t m = kLimit - 1; m > 2 && static_cast<int>(primes.size()) < count; m -= 2) {
        if (!composite[m] && !composite[(m - 1) / 2]) primes.push_back(m);
    }
    return primes;
}

// Shortest non-zero vector of an integer lattice given by a basis (rows), by LLL reduction
// and enumeration. Entries stay below 2^25 in absolute value after reduction, so squared
// lengths fit in 64 bits.
class ShortestVector {
  public:
    explicit ShortestVector(int dim) : n_(dim) {}

    int64_t operator()(int64_t basis[kMaxDim][kMaxDim]) {
        std::memcpy(b_, basis, sizeof b_);
        lll();
        best_ = INT64_MAX;
        for (int i = 0; i < n_; ++i) best_ = std::min(best_, norm2(b_[i]));
        gram_schmidt();
        std::memset(x_, 0, sizeof x_);
        enumerate(n_ - 1, 0.0);
        return best_;
    }

  private:
    int64_t norm2(const int64_t *v) const {
        int64_t s = 0;
        for (int k = 0; k < n_; ++k) s += v[k] * v[k];
        return s;
    }

    void gram_schmidt() {
        double star[kMaxDim][kMaxDim];
        for (int i = 0; i < n_; ++i) {
            for (int k = 0; k < n_; ++k) star[i][k] = static_cast<double>(b_[i][k]);
            for (int j = 0; j < i; ++j) {
                double dot = 0;
                for (int k = 0; k < n_; ++k) dot += static_cast<double>(b_[i][k]) * star[j][k];
                mu_[i][j] = dot / B_[j];
                for (int k = 0; k < n_; ++k) star[i][k] -= mu_[i][j] * star[j][k];
            }
            B_[i] = 0;
            for (int k = 0; k < n_; ++k) B_[i] += star[i][k] * star[i][k];
        }
    }

    // Textbook LLL with delta = 0.99, recomputing the Gram-Schmidt data after each swap (the
    // dimensions are tiny).
    void lll() {
        gram_schmidt();
        int k = 1;
        while (k < n_) {
            // Size reduction leaves the orthogonal vectors alone; only row k of mu changes.
            for (int j = k - 1; j >= 0; --j) {
                const double q = std::nearbyint(mu_[k][j]);
                if (q == 0) continue;
                const int64_t iq = static_cast<int64_t>(q);
                for (int c = 0; c < n_; ++c) b_[k][c] -= iq * b_[j][c];
                for (int l = 0; l < j; ++l) mu_[k][l] -= q * mu_[j][l];
                mu_[k][j] -= q;
            }
            if (B_[k] >= (0.99 - mu_[k][k - 1] * mu_[k][k - 1]) * B_[k - 1]) {
                ++k;
            } else {
                std::swap(b_[k], b_[k - 1]);
                gram_schmidt();
                k = std::max(k - 1, 1);
            }
        }
    }

    // Depth-first over the coefficients x_i (from the last basis vector down), keeping the
    // partial squared length of the projection within the best length found so far. The
    // bound is widened slightly so that rounding cannot prune a vector of exactly that
    // length; every leaf is measured exactly.
    void enumerate(int i, double partial) {
        double centre = 0;
        for (int j = i + 1; j < n_; ++j) centre -= static_cast<double>(x_[j]) * mu_[j][i];
        const double bound = static_cast<double>(best_) * (1 + 1e-9);
        const double room = (bound - partial) / B_[i];
        if (room < 0) return;
        const double r = std::sqrt(room);
        const int64_t lo = static_cast<int64_t>(std::ceil(centre - r));
        const int64_t hi = static_cast<int64_t>(std::floor(centre + r));
        for (int64_t xi = lo; xi <= hi; ++xi) {
            x_[i] = xi;
            const double p = partial + (xi - centre) * (xi - centre) * B_[i];
            if (p > static_cast<double>(best_) * (1 + 1e-9)) continue;
            if (i > 0) {
                enumerate(i - 1, p);
                continue;
            }
            int64_t v[kMaxDim] = {};
            bool zero = true;
            for (int j = 0; j < n_; ++j) {
                if (x_[j] == 0) continue;
                zero = false;
                for (int c = 0; c < n_; ++c) v[c] += x_[j] * b_[j][c];
            }
            if (!zero) best_ = std::min(best_, norm2(v));
        }
        x_[i] = 0;
    }

    int n_;
    int64_t b_[kMaxDim][kMaxDim];
    double mu_[kMaxDim][kMaxDim];
    double B_[kMaxDim];
    int64_t x_[kMaxDim];
    int64_t best_ = 0;
};

// M_t of multiplier a modulo m in dimension t.
double figure_of_merit(uint32_t m, uint32_t a, int t) {
    // Basis of {h : h . (1, a, ..., a^(t-1)) = 0 mod m}: (m, 0, ..., 0) and, for i >= 1,
    // (-a^i mod m) e_0 + e_i.
    int64_t basis[kMaxDim][kMaxDim] = {};
    basis[0][0] = m;
    uint64_t power = 1;
    for (int i = 1; i < t; ++i) {
        power = power * a % m;
        basis[i][0] = -static_cast<int64_t>(power);
        basis[i][i] = 1;
    }
    const double nu = std::sqrt(static_cast<double>(ShortestVector(t)(basis)));
    const double bound = std::sqrt(std::pow(kHermitePower[t], 1.0 / t)) * std::pow(m, 1.0 / t);
    return nu / bound;
}

struct Choice {
    uint32_t a = 0;
    double figure = 0;
    double per_dim[kMaxDim + 1] = {};
};

// min over t of M_t, abandoning a multiplier as soon as it cannot beat `floor`.
double score(uint32_t m, uint32_t a, double floor, double *per_dim) {
    double worst = 1;
    for (int t = kMinDim; t <= kMaxDim; ++t) {
        per_dim[t] = figure_of_merit(m, a, t);
        worst = std::min(worst, per_dim[t]);
        if (worst <= floor) return worst;
    }
    return worst;
}

uint64_t splitmix64(uint64_t *s) {
    uint64_t z = (*s += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

Choice choose_multiplier(uint32_t m) {
    const uint64_t q = (m - 1) / 2;
    uint64_t seed = m;
    Choice best;
    for (int tried = 0; tried < kCandidates;) {
        const uint32_t a = static_cast<uint32_t>(2 + splitmix64(&seed) % (m - 3));
        if (pow_mod(a, q, m) != m - 1) continue;  // not a primitive root (a = m - 1 is excluded)
        ++tried;
        double per_dim[kMaxDim + 1];
        const double s = score(m, a, best.figure, per_dim);
        if (s > best.figure) {
            best.a = a;
            best.figure = s;
            std::memcpy(best.per_dim, per_dim, sizeof per_dim);
        }
    }
    return best;
}

std::string generate() {
    const std::vector<uint32_t> moduli = largest_safe_primes(kMembers * kComponents);
    std::vector<Choice> choices;
    double worst = 1, worst_dim[kMaxDim + 1];
    for (int t = 0; t <= kMaxDim; ++t) worst_dim[t] = 1;
    for (uint32_t m : moduli) {
        choices.push_back(choose_multiplier(m));
        worst = std::min(worst, choices.back().figure);
        for (int t = kMinDim; t <= kMaxDim; ++t) {
            worst_dim[t] = std::min(worst_dim[t], choices.back().per_dim[t]);
        }
    }

    std::string out;
    char line[256];
    auto add = [&](const char *fmt, auto... args) {
        std::snprintf(line, sizeof line, fmt, args...);
        out += line;
    };
    add("// Generated by tools/gen_wh_params; do not edit by hand.\n");
    add("//\n");
    add("// Wichmann-Hill set: %d members x %d components {modulus, multiplier}. The moduli are\n",
        kMembers, kComponents);
    add("// the %d largest safe primes below 2^24 (%u down to %u), all distinct; each\n",
        kMembers * kComponents, moduli.front(), moduli.back());
    add("// multiplier is a primitive root, the best of %d by the spectral test in dimensions\n",
        kCandidates);
    add("// %d to %d (figure of merit M_t = nu_t / (gamma_t^(1/2) m^(1/t)), 1 at best).\n", kMinDim,
        kMaxDim);
    add("// Worst figure min_t M_t of the table: %.4f. Worst M_t per dimension:\n", worst);
    add("//");
    for (int t = kMinDim; t <= kMaxDim; ++t) {
        add(" t=%d %.4f%s", t, worst_dim[t], t < kMaxDim ? "," : "\n");
    }
    add("// Each row: {{modulus, multiplier} x 4}, then the member and its worst figure.\n");
    for (int member = 0; member < kMembers; ++member) {
        add("{{");
        double row_worst = 1;
        for (int c = 0; c < kComponents; ++c) {
            const int k = member * kComponents + c;
            add("{%uu, %uu}%s", moduli[k], choices[k].a, c + 1 < kComponents ? ", " : "");
            row_worst = std::min(row_worst, choices[k].figure);
        }
        add("}},  // %d: %.4f\n", member, row_worst);
    }
    return out;
}

}  // namespace

int main(int argc, char **argv) {
    const std::string table = generate();
    if (argc == 3 && std::strcmp(argv[1], "--check") == 0) {
        std::FILE *f = std::fopen(argv[2], "rb");
        if (f == nullptr) {
            std::fprintf(stderr, "gen_wh_params: cannot open %s\n", argv[2]);
            return 1;
        }
        std::string committed;
        char buf[4096];
        for (size_t got; (got = std::fread(buf, 1, sizeof buf, f)) > 0;) committed.append(buf, got);
        std::fclose(f);
        if (committed != table) {
            std::fprintf(stderr, "gen_wh_params: %s differs from the generator's output\n",
                         argv[2]);
            return 1;
        }
        return 0;
    }
    if (argc != 1) {
        std::fprintf(stderr, "usage: gen_wh_params [--check FILE]\n");
        return 2;
    }
    std::fputs(table.c_str(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
