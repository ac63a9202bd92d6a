// Writes the characteristic polynomial of SFMT19937's step, the map that renews one 128-bit
// word of its 156-word window, as the table that the generator's skip-ahead reduces powers of t
// by (rng/brng/sfmt19937_poly.inc).
//
// The step is a linear map T on 19968 bits. One output bit of the words generated from a
// state is a sequence that every annihilating polynomial of T also annihilates; the
// Berlekamp-Massey algorithm finds the shortest recurrence of 2 x 19968 + 64 of its terms. From
// a state drawn at random that recurrence has length 19968, the dimension of the space, so it
// is the minimal polynomial of T, which then equals its characteristic polynomial: it
// annihilates every state, however seeded. The tool refuses to write anything else.
//
// usage: gen_sfmt19937_poly            the table on standard output
//        gen_sfmt19937_poly --check F  exit 0 when F holds exactly that table
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int kVectors = 156;
constexpr int kDimension = 128 * kVectors;  // 19968
constexpr int kTerms = 2 * kDimension + 64;

// The window of 156 128-bit words as 624 32-bit lanes, renewed 156 words at a time.
struct Window {
    uint32_t w[4 * kVectors];

    void renew() {
        static constexpr uint32_t kMask[4] = {0xdfffffefu, 0xddfecb7fu, 0xbffaffffu, 0xbffffff6u};
        for (int i = 0; i < kVectors; ++i) {
            const uint32_t *a = w + 4 * i;
            const uint32_t *b = w + 4 * ((i + 122) % kVectors);
            const uint32_t *c = w + 4 * ((i + kVectors - 2) % kVectors);
            const uint32_t *d = w + 4 * ((i + kVectors - 1) % kVectors);
            uint32_t out[4];
            for (int k = 0; k < 4; ++k) {
                // a << 8 and c >> 8 as 128-bit shifts, lane 0 the lowest.
                const uint32_t a_shifted = a[k] << 8 | (k > 0 ? a[k - 1] >> 24 : 0);
                const uint32_t c_shifted = c[k] >> 8 | (k < 3 ? c[k + 1] << 24 : 0);
                out[k] = a[k] ^ a_shifted ^ ((b[k] >> 11) & kMask[k]) ^ c_shifted ^ (d[k] << 18);
            }
            std::memcpy(w + 4 * i, out, sizeof out);
        }
    }
};

uint64_t splitmix64(uint64_t &s) {
    uint64_t z = (s += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
}

using Bits = std::vector<uint64_t>;

bool bit(const Bits &b, int j) {
    return (b[j >> 6] >> (j & 63)) & 1;
}

// 64 bits of b from bit position p on (bits past the end read as 0).
uint64_t bits_from(const Bits &b, int p) {
    const size_t w = static_cast<size_t>(p >> 6);
    const int s = p & 63;
    uint64_t v = w < b.size() ? b[w] >> s : 0;
    if (s != 0 && w + 1 < b.size()) v |= b[w + 1] << (64 - s);
    return v;
}

// Berlekamp-Massey over GF(2): the connection polynomial C (bit j the coefficient of x^j) of
// the shortest recurrence s(i) = sum over j = 1..L of C_j s(i - j), and its length L.
Bits berlekamp_massey(const std::vector<uint8_t> &s, int *length) {
    const int n = static_cast<int>(s.size());
    const size_t words = static_cast<size_t>(n / 64 + 2);
    // The sequence reversed, so that the terms s(i - j), j = 0.. are consecutive bits.
    Bits reversed(words);
    for (int i = 0; i < n; ++i) {
        if (s[i]) reversed[(n - 1 - i) >> 6] |= uint64_t{1} << ((n - 1 - i) & 63);
    }
    Bits c(words), b(words), t(words);
    c[0] = b[0] = 1;
    int len = 0, m = 1;
    for (int i = 0; i < n; ++i) {
        uint64_t acc = 0;  // parity of sum over j = 0..L of C_j s(i - j)
        for (int j = 0; j <= len; j += 64) acc ^= c[j >> 6] & bits_from(reversed, n - 1 - i + j);
        if (!__builtin_parityll(acc)) {
            ++m;
            continue;
        }
        t = c;
        const size_t ws = static_cast<size_t>(m >> 6);
        const int bs = m & 63;
        for (size_t k = words; k-- > ws;) {
            uint64_t v = b[k - ws] << bs;
            if (bs != 0 && k > ws) v |= b[k - ws - 1] >> (64 - bs);
            c[k] ^= v;
        }
        if (2 * len <= i) {
            len = i + 1 - len;
            b = t;
            m = 1;
        } else {
            ++m;
        }
    }
    *length = len;
    return c;
}

std::string make_table() {
    Window win;
    uint64_t seed = 19937;
    for (uint32_t &x : win.w) x = static_cast<uint32_t>(splitmix64(seed));
    std::vector<uint8_t> s(kTerms);  // bit 0 of each new 128-bit word
    for (int k = 0; k < kTerms; k += kVectors) {
        win.renew();
        for (int i = 0; i < kVectors && k + i < kTerms; ++i) s[k + i] = win.w[4 * i] & 1;
    }
    int length = 0;
    const Bits c = berlekamp_massey(s, &length);
    if (length != kDimension) {
        std::fprintf(stderr, "gen_sfmt19937_poly: recurrence of length %d, not %d\n", length,
                     kDimension);
        return {};
    }
    // The characteristic polynomial is the reverse of C: the coefficient of t^(L - j) is C_j.
    constexpr int kWords = kDimension / 64 + 1;
    Bits poly(kWords);
    for (int j = 0; j <= length; ++j) {
        if (bit(c, j)) poly[(length - j) >> 6] |= uint64_t{1} << ((length - j) & 63);
    }
    std::ostringstream out;
    out << "// Generated by tools/gen_sfmt19937_poly; do not edit. The characteristic polynomial "
           "of\n"
           "// SFMT19937's step on its 156 128-bit words, degree 19968: bit j of word j / 64 is "
           "the\n"
           "// coefficient of t^j.\n";
    char buf[32];
    for (int k = 0; k < kWords; ++k) {
        std::snprintf(buf, sizeof buf, "0x%016llx,", static_cast<unsigned long long>(poly[k]));
        out << buf << (k % 4 == 3 || k == kWords - 1 ? "\n" : " ");
    }
    return out.str();
}

}  // namespace

int main(int argc, char **argv) {
    const std::string table = make_table();
    if (table.empty()) return 1;
    if (argc == 3 && std::strcmp(argv[1], "--check") == 0) {
        std::ifstream in(argv[2], std::ios::binary);
        std::stringstream committed;
        committed << in.rdbuf();
        if (in && committed.str() == table) return 0;
        std::fprintf(stderr, "gen_sfmt19937_poly: %s differs from the generated table\n", argv[2]);
        return 1;
    }
    if (argc != 1) {
        std::fprintf(stderr, "usage: gen_sfmt19937_poly [--check FILE]\n");
        return 2;
    }
    std::fputs(table.c_str(), stdout);
    return 0;
}
