// Rayleigh of displacement a and scale beta by inversion: max(a, sqrt(-ln u) beta + a).
#include "distributions/frame.h"

namespace korb::dist {
namespace {

template <class T>
int rayleigh(int, BixStream *stream, int n, T *r, T a, T beta) {
    using P = Precision<T>;
    VmErrorBracket bracket(ln_of_zero<T, LnErrors::kSingularity>);
    const int status = uniforms(stream, n, r, T(0), T(1));
    if (status < 0) return status;
    vm(P::ln, n, r, r);
    for (int i = 0; i < n; ++i) r[i] = T(0) - r[i];
    vm(P::sqrt, n, r, r);
    scale_above(n, r, beta, a, a);
    return status;
}

}  // namespace
}  // namespace korb::dist

KORB_DIST_ENTRY_POINTS(Rayleigh, rayleigh, a, beta)
