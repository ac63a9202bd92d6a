// Discrete uniform on the integers a..b-1: floor of a double uniform on [a, b), 1024 at a time.
#include "distributions/discrete.h"
#include "distributions/frame.h"

extern "C" int _bixiRngUniform(int, BixStream *stream, int n, int r[], int a, int b) {
    constexpr int kBlock = 1024;
    alignas(64) double buffer[kBlock];
    int status = BIX_ERROR_OK;
    for (int k = 0; k < n;) {
        const int m = n - k < kBlock ? n - k : kBlock;
        status =
            korb::dist::uniforms(stream, m, buffer, static_cast<double>(a), static_cast<double>(b));
        if (status < 0) return status;
        korb::dist::floor_to_int(m, buffer, r + k);
        k += m;
    }
    return status;
}
