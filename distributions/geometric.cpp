// Geometric with success probability p: the number of failures before the first success,
// floor(ln u / ln(1 - p)), with 1 / ln(1 - p) computed once in double and everything after it in
// single precision, 1024 at a time. ln 0 counts as the logarithm of the least subnormal float.
#include "distributions/discrete.h"
#include "distributions/frame.h"

extern "C" int _bixiRngGeometric(int, BixStream *stream, int n, int r[], double p) {
    using namespace korb::dist;
    constexpr int kBlock = 1024;
    const float c = static_cast<float>(1.0 / __bixdLn(1.0 - p));
    VmErrorBracket bracket(ln_of_zero<float, LnErrors::kAny>);
    alignas(64) float buffer[kBlock];
    int status = BIX_ERROR_OK;
    for (int k = 0; k < n;) {
        const int m = n - k < kBlock ? n - k : kBlock;
        status = uniforms(stream, m, buffer, 0.0f, 1.0f);
        if (status < 0) return status;
        vm(_arqsLn, m, buffer, buffer);
        for (int j = 0; j < m; ++j) buffer[j] = buffer[j] * c;
        floor_to_int(m, buffer, r + k);
        k += m;
    }
    return status;
}
