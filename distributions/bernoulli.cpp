// Bernoulli with success probability p: 1 where a float uniform u on [0, 1) is below (float)p.
// The uniforms are drawn straight into the output, and u < p is decided on the bit patterns as
// signed integers (the same order for non-negative floats), so a negative p gives only zeros.
#include <bit>
#include <cstring>

#include "distributions/frame.h"

extern "C" int _bixiRngBernoulli(int, BixStream *stream, int n, int r[], double p) {
    static_assert(sizeof(float) == sizeof(int));
    const int status = korb::dist::uniforms(stream, n, reinterpret_cast<float *>(r), 0.0f, 1.0f);
    if (status < 0 || n < 1) return status;
    const int threshold = std::bit_cast<int>(static_cast<float>(p));
    for (int i = 0; i < n; ++i) {
        int u;
        std::memcpy(&u, r + i, sizeof u);
        r[i] = threshold > u ? 1 : 0;
    }
    return status;
}
