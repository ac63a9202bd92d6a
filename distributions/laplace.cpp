// Laplace (double exponential) of mean a and scale beta: a -+ beta ln u, the sign chosen by a
// second uniform s (s <= 1/2: the positive deviation). Each output takes the pair (u, s) of two
// consecutive uniforms, drawn 1024 pairs at a time.
#include "distributions/frame.h"

namespace korb::dist {
namespace {

template <class T>
int laplace(int, BixStream *stream, int n, T *r, T a, T beta) {
    using P = Precision<T>;
    constexpr int kBlock = 1024;
    VmErrorBracket bracket(ln_of_zero<T, LnErrors::kAny>);
    alignas(64) T buffer[2 * kBlock];
    int status = BIX_ERROR_OK;
    for (int k = 0; k < n;) {
        const int m = n - k < kBlock ? n - k : kBlock;
        status = uniforms(stream, 2 * m, buffer, T(0), T(1));
        if (status < 0) return status;
        T *out = r + k;
        for (int j = 0; j < m; ++j) out[j] = buffer[2 * j];
        vm(P::ln, m, out, out);
        // The selector picks the factor, not a branch: the selectors are random, so a branch
        // would be mispredicted half the time. (-beta) x is -(beta x) exactly.
        for (int j = 0; j < m; ++j) {
            const T factor = buffer[2 * j + 1] <= T(0.5) ? -beta : beta;
            out[j] = factor * out[j] + a;
        }
        k += m;
    }
    return status;
}

}  // namespace
}  // namespace korb::dist

KORB_DIST_ENTRY_POINTS(Laplace, laplace, a, beta)
