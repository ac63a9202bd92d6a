// Lognormal: max(b, e^g beta + b), g normal of mean a and standard deviation sigma, drawn with
// the both-variates Box-Muller method whatever method is asked for. That method keeps a pending
// variate in the stream, so a lognormal call may finish a pair an earlier Gaussian or lognormal
// call began, and may leave one. The exponential runs under the caller's own error settings: it
// has no special value to replace.
#include "distributions/frame.h"

namespace korb::dist {
namespace {

// n Gaussian variates by the both-variates method, in the precision of r.
template <class T>
int gaussian_pairs(BixStream *stream, int n, T *r, T a, T sigma) {
    constexpr int kMethod = BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2;
    if constexpr (sizeof(T) == sizeof(double)) {
        return _bixdRngGaussian(kMethod, stream, n, r, a, sigma);
    } else {
        return _bixsRngGaussian(kMethod, stream, n, r, a, sigma);
    }
}

template <class T>
int lognormal(int, BixStream *stream, int n, T *r, T a, T sigma, T b, T beta) {
    using P = Precision<T>;
    const int status = gaussian_pairs(stream, n, r, a, sigma);
    if (status < 0) return status;
    vm(P::exp, n, r, r);
    scale_above(n, r, beta, b, b);
    return status;
}

}  // namespace
}  // namespace korb::dist

KORB_DIST_ENTRY_POINTS(Lognormal, lognormal, a, sigma, b, beta)
