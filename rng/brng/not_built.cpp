// Rows of generators that are not built yet. The rows carry their final sizes so that stream
// sizes and ids are already right; every function of them is the one placeholder below, which
// refuses with BIX_ERROR_INVALID_BRNG as an unknown generator would.
#include "rows.h"

namespace korb::rng {
namespace {

int not_built_init(int, BixStream *, int, const uint32_t *) {
    return BIX_ERROR_INVALID_BRNG;
}
int not_built_s(BixStream *, int, float *, float, float) {
    return BIX_ERROR_INVALID_BRNG;
}
int not_built_d(BixStream *, int, double *, double, double) {
    return BIX_ERROR_INVALID_BRNG;
}
int not_built_i(BixStream *, int, uint32_t *) {
    return BIX_ERROR_INVALID_BRNG;
}

constexpr BrngProperties not_built(int state_size, int state_words, int includes_zero,
                                   int word_size, int n_bits) {
    return {state_size,     state_words, includes_zero, word_size,  n_bits,
            not_built_init, not_built_s, not_built_d,   not_built_i};
}

}  // namespace

const BrngProperties mt19937_row = not_built(2520, 625, 1, 4, 32);
const BrngProperties mt2203_row = not_built(312, 70, 1, 4, 32);

}  // namespace korb::rng
