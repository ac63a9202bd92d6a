// Gumbel (the distribution of minima) of displacement a and scale beta: a + beta ln E, E a
// standard exponential variate; with a = 0, beta = 1 that is ln(-ln u).
#include "distributions/exponential.h"

namespace korb::dist {
namespace {

template <class T>
int gumbel(int, BixStream *stream, int n, T *r, T a, T beta) {
    using P = Precision<T>;
    // The exponential kernel brackets itself with its own callback inside this one.
    VmErrorBracket bracket(ln_of_zero<T, LnErrors::kAny>);
    const int status = exponential(BIX_RNG_METHOD_ICDF, stream, n, r, T(0), T(1));
    if (status < 0) return status;
    vm(P::ln, n, r, r);
    scale(n, r, beta, a);
    return status;
}

}  // namespace
}  // namespace korb::dist

KORB_DIST_ENTRY_POINTS(Gumbel, gumbel, a, beta)
