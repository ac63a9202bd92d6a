// Lognormal: max(b, e^g beta + b), g normal of mean a and standard deviation sigma, drawn with
// the both-variates Box-Muller method whatever method is asked for. That method keeps a pending
// variate in the stream, so a lognormal call may finish a pair an earlier Gaussian or lognormal
// call began, and may leave one. The exponential runs under the caller's own error settings: it
// has no special value to replace.
#include "distributions/frame.h"

namespace korb::dist {
namespace {

template <class T>
int lognormal(int (*gaussian)(int, BixStream *, int, T *, T, T), BixStream *stream, int n, T *r,
              T a, T sigma, T b, T beta) {
    using P = Precision<T>;
    const int status = gaussian(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, stream, n, r, a, sigma);
    if (status < 0) return status;
    vm(P::exp, n, r, r);
    scale_above(n, r, beta, b, b);
    return status;
}

}  // namespace
}  // namespace korb::dist

extern "C" {

int _bixdRngLognormal(int, BixStream *stream, int n, double r[], double a, double sigma, double b,
                      double beta) {
    return korb::dist::lognormal(_bixdRngGaussian, stream, n, r, a, sigma, b, beta);
}

int _bixsRngLognormal(int, BixStream *stream, int n, float r[], float a, float sigma, float b,
                      float beta) {
    return korb::dist::lognormal(_bixsRngGaussian, stream, n, r, a, sigma, b, beta);
}

}  // extern "C"
