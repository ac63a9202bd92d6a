// Cauchy of displacement a and scale beta by inversion: tan(u) beta + a, u uniform on
// [-pi/2, pi/2). The tangent of the double (float) nearest -pi/2 is large but finite, so no
// special value can arise and no error callback is installed.
#include "distributions/frame.h"

namespace korb::dist {
namespace {

template <class T>
int cauchy(int, BixStream *stream, int n, T *r, T a, T beta) {
    using P = Precision<T>;
    const int status = uniforms(stream, n, r, -P::kHalfPi, P::kHalfPi);
    if (status < 0) return status;
    vm(P::tan, n, r, r);
    scale(n, r, beta, a);
    return status;
}

}  // namespace
}  // namespace korb::dist

KORB_DIST_ENTRY_POINTS(Cauchy, cauchy, a, beta)
