// Splitting a multiplicative congruential generator (MCG31M1, MCG59): its state holds the next
// output x and the multiplier a, and the stream's outputs are x, a x, a^2 x, ... modulo m.
#pragma once

#include <cstdint>

#include "korb/rng.h"

namespace korb::rng {

// The 64-bit count of a skip-ahead call: two argument words, low first.
inline uint64_t skip_count(const uint32_t params[]) {
    return params[0] | static_cast<uint64_t>(params[1]) << 32;
}

// Methods 1 and 2 of the initialiser, with the generator's products and powers modulo m.
// Leapfrog (n = nstreams, params[0] = k) makes the stream yield outputs k, k + nstreams, ... of
// the stream as it stands; k is not compared with nstreams. Skip-ahead moves x by the count with
// the current a, so after a leapfrog it counts leapfrogged outputs. Other methods change nothing.
template <class Word, class Mul, class Pow>
int split_congruential(int method, Word &x, Word &a, int n, const uint32_t params[], Mul mul,
                       Pow pow) {
    if (method != BIX_INIT_METHOD_LEAPFROG && method != BIX_INIT_METHOD_SKIPAHEAD) {
        return BIX_ERROR_BADMETHOD;
    }
    if (params == nullptr) return BIX_ERROR_BADARGS;
    if (method == BIX_INIT_METHOD_LEAPFROG) {
        x = mul(pow(a, params[0]), x);
        a = pow(a, static_cast<uint32_t>(n));
    } else {
        x = mul(pow(a, skip_count(params)), x);
    }
    return BIX_ERROR_OK;
}

}  // namespace korb::rng
