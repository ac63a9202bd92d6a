// Writes the fuzz corpus seeds: saved images of a stream of every generator that can be made
// (the registry's rows, member 0), each plain and with two chunks, one private and one shared.
//
//   korb_fuzz_seeds DIR
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "korb/kernel/rng.h"

namespace {

bool save(const BixStream *stream, const std::string &path) {
    if (__bixSaveStreamF(stream, path.c_str(), -1) == BIX_ERROR_OK) return true;
    std::fprintf(stderr, "korb_fuzz_seeds: cannot write %s\n", path.c_str());
    return false;
}

void *filled(size_t size, unsigned char value) {
    void *p = korbMalloc(size, 64);
    if (p != nullptr) std::memset(p, value, size);
    return p;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fputs("usage: korb_fuzz_seeds DIR\n", stderr);
        return 2;
    }
    const std::string dir = argv[1];
    int written = 0;
    for (int row = 0; row < __bixGetNumRegBrngs(); ++row) {
        const int id = (row + 1) * BIX_BRNG_INC;
        const uint32_t seed = 20261121;
        BixStream *s = nullptr;
        if (__bixNewStreamEx(&s, id, 1, &seed) != BIX_ERROR_OK) {
            __bixDeleteStream(&s);  // not built, or not made by id
            continue;
        }
        BrngProperties p{};
        __bixGetBrngProperties(id, &p);
        std::vector<uint32_t> words(static_cast<size_t>(5 * p.wordSize / 4));
        p.iGen(s, 5, words.data());  // a state past the seed, where the generator has one
        const uint64_t shared[2] = {0x5EED, static_cast<uint64_t>(id)};
        const std::string base = dir + "/row" + std::to_string(row);
        bool ok = save(s, base + "-plain");
        void *pair = filled(16, 0x3F);
        void *table = filled(64, 0xA5);
        ok = ok && pair != nullptr && table != nullptr &&
             __bixAddChunk(s, 2, nullptr, pair, 16) == BIX_ERROR_OK &&
             __bixAddChunk(s, 9, shared, table, 64) == BIX_ERROR_OK && save(s, base + "-chunks");
        __bixDeleteStream(&s);
        if (!ok) return 1;
        written += 2;
    }
    std::printf("korb_fuzz_seeds: %d images in %s\n", written, dir.c_str());
    return 0;
}
