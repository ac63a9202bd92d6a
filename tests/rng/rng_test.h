// Helpers shared by the random-stream tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "alloc_sweep.h"
#include "korb/kernel/rng.h"
#include "korb_core.h"

namespace korb::test {

struct StreamDeleter {
    void operator()(BixStream *s) const { __bixDeleteStream(&s); }
};
using Stream = std::unique_ptr<BixStream, StreamDeleter>;

// A stream of `brng` seeded with one word; the test fails if it cannot be made.
inline Stream make_stream(int brng, uint32_t seed) {
    BixStream *s = nullptr;
    EXPECT_EQ(__bixNewStreamEx(&s, brng, 1, &seed), BIX_ERROR_OK);
    return Stream(s);
}

inline std::vector<uint32_t> draw_ints(BixStream *s, int n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(__bixiBRngMCG31M1(s, n, r.data()), BIX_ERROR_OK);
    return r;
}

// Every allocation failure of a random-stream call must give BIX_ERROR_MEM_FAILURE.
template <class F>
void sweep_allocation_failures(F attempt) {
    sweep_allocation_failures_with(BIX_ERROR_MEM_FAILURE, attempt);
}

// Independent model of MCG31M1: plain 128-bit products and remainders.
namespace mcg {
constexpr uint64_t kM = 2147483647;
constexpr uint64_t kA = 1132489760;

inline uint64_t mul(uint64_t a, uint64_t b) {
    return static_cast<uint64_t>(static_cast<unsigned __int128>(a) * b % kM);
}
inline uint64_t pow(uint64_t b, uint64_t e, uint64_t m = kM) {
    unsigned __int128 r = 1 % m, x = b % m;
    for (; e != 0; e >>= 1, x = x * x % m) {
        if (e & 1) r = r * x % m;
    }
    return static_cast<uint64_t>(r);
}
// Outputs first, first*mult, first*mult^2, ...
inline std::vector<uint32_t> sequence(uint64_t first, size_t n, uint64_t mult = kA) {
    std::vector<uint32_t> r(n);
    for (size_t i = 0; i < n; ++i, first = mul(first, mult)) r[i] = static_cast<uint32_t>(first);
    return r;
}
}  // namespace mcg

}  // namespace korb::test
