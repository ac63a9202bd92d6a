// Exponential of displacement a and scale beta by inversion: max(a, a - beta ln u). A uniform of
// 0 gives a + 744.4400719213812 beta (ln 0 becomes the logarithm of the least subnormal).
#include "distributions/exponential.h"

namespace korb::dist {

template <class T>
int exponential(int, BixStream *stream, int n, T *r, T a, T beta) {
    using P = Precision<T>;
    VmErrorBracket bracket(ln_of_zero<T, LnErrors::kAny>);
    const int status = uniforms(stream, n, r, T(0), T(1));
    if (status < 0) return status;
    vm(P::ln, n, r, r);
    // a - ln(u) beta, with the product negated first: the same bits, and the shared loop.
    scale_above(n, r, -beta, a, a);
    return status;
}

template int exponential(int, BixStream *, int, double *, double, double);
template int exponential(int, BixStream *, int, float *, float, float);

}  // namespace korb::dist

// Both method ids give the same numbers: the clamp is always applied.
KORB_DIST_ENTRY_POINTS(Exponential, exponential, a, beta)
