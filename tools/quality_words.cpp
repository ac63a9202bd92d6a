// Turns a generator's raw output on standard input into the 32-bit words a test battery reads
// on standard output, for generators whose outputs are not 32 uniform bits each:
//
//   quality_words --pack BITS    little-endian 32-bit words of which only the low BITS bits
//                                vary (1..32): those bits, concatenated into one bit stream in
//                                order of output, cut again into 32-bit words
//   quality_words --double       little-endian doubles on [0, 1): floor(u * 2^32) of each
//
// It runs until its input ends or its output is closed (the battery has read enough).
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr size_t kWords = 1 << 16;

bool put(const std::vector<uint32_t> &out, size_t n) {
    return n == 0 || std::fwrite(out.data(), sizeof(uint32_t), n, stdout) == n;
}

int pack(unsigned bits) {
    std::vector<uint32_t> in(kWords), out(kWords);
    const uint64_t mask = bits == 32 ? 0xFFFFFFFFu : (uint64_t{1} << bits) - 1;
    uint64_t acc = 0;  // pending bits, the oldest in the low positions
    unsigned have = 0;
    size_t got;
    while ((got = std::fread(in.data(), sizeof(uint32_t), kWords, stdin)) > 0) {
        size_t n = 0;
        for (size_t i = 0; i < got; ++i) {
            acc |= (in[i] & mask) << have;
            have += bits;
            if (have >= 32) {
                out[n++] = static_cast<uint32_t>(acc);
                acc >>= 32;
                have -= 32;
            }
        }
        if (!put(out, n)) return 0;
    }
    return 0;
}

int from_double() {
    std::vector<double> in(kWords);
    std::vector<uint32_t> out(kWords);
    size_t got;
    while ((got = std::fread(in.data(), sizeof(double), kWords, stdin)) > 0) {
        for (size_t i = 0; i < got; ++i) {
            out[i] = static_cast<uint32_t>(std::ldexp(in[i], 32));
        }
        if (!put(out, got)) return 0;
    }
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc == 3 && std::strcmp(argv[1], "--pack") == 0) {
        char *end = nullptr;
        const long bits = std::strtol(argv[2], &end, 10);
        if (*end == '\0' && bits >= 1 && bits <= 32) return pack(static_cast<unsigned>(bits));
    } else if (argc == 2 && std::strcmp(argv[1], "--double") == 0) {
        return from_double();
    }
    std::fprintf(stderr, "usage: quality_words --pack BITS | --double\n");
    return 2;
}
