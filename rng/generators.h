// The generator list as data: every built-in generator's facts, in registry row order.
#pragma once

#include "korb/kernel/rng.h"

namespace korb::rng {

enum class BrngKind { basic, quasi_random, abstract, nondeterministic };

// How the 32- and 64-bit uniform-bits kernels take a generator's raw output words.
enum class BitsSource { none, words, top32, split128 };

struct GeneratorInfo {
    int id;            // BIX_BRNG_<ID>: member 0 of the row
    const char *name;  // the name korb prints and accepts
    int members;
    int word_size;  // bytes of one iGen output word
    BrngKind kind;
    bool leapfrog;
    bool skip_ahead;
    BitsSource bits;
    int legacy;  // legacy id of member 0, or -1

    // Whether streams of the generator can be made by id and then generate.
    constexpr bool generates() const {
        return kind == BrngKind::basic || kind == BrngKind::quasi_random;
    }
};

#define KORB_BRNG(ID, Name, display, members, word_size, kind, leapfrog, skip_ahead, bits, legacy) \
    {BIX_BRNG_##ID, display,    members,          word_size, BrngKind::kind,                       \
     leapfrog,      skip_ahead, BitsSource::bits, legacy},
inline constexpr GeneratorInfo kGenerators[] = {
#include "rng/generators.def"
};
#undef KORB_BRNG

inline constexpr int kGeneratorCount = sizeof kGenerators / sizeof kGenerators[0];

// The list's entry of the generator whose member 0 is `id` (a BIX_BRNG_* constant).
// An id of no row does not compile: the reference past the end is no constant.
consteval const GeneratorInfo &generator(int id) {
    int r = 0;
    while (r < kGeneratorCount && kGenerators[r].id != id) ++r;
    return kGenerators[r];
}

// The header's ids and row count are the list's, and the legacy ids of the rows that have them
// cover the legacy table once each.
consteval bool header_agrees_with_list() {
    bool legacy[BIX_NUM_LEGACY_BRNGS] = {};
    int legacy_rows = 0;
    for (int r = 0; r < kGeneratorCount; ++r) {
        const GeneratorInfo &g = kGenerators[r];
        if (g.id != (r + 1) * BIX_BRNG_INC || g.members < 1 || g.members > BIX_BRNG_INC) {
            return false;
        }
        for (int m = 0; g.legacy >= 0 && m < g.members; ++m, ++legacy_rows) {
            if (g.legacy + m >= BIX_NUM_LEGACY_BRNGS || legacy[g.legacy + m]) return false;
            legacy[g.legacy + m] = true;
        }
    }
    return kGeneratorCount == BIX_NUM_BUILTIN_BRNGS && legacy_rows == BIX_NUM_LEGACY_BRNGS;
}
static_assert(header_agrees_with_list(),
              "include/korb/kernel/rng.h and rng/generators.def name the same rows in the same order");

}  // namespace korb::rng
