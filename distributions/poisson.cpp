// Poisson of mean lambda > 0, one mean for all variates (_bixiRngPoisson) or one per variate
// (_bixiRngPoissonV). The samplers are in distributions/poisson.h.
//
// Method 0 (PTPE): triangle-parallelogram-exponential rejection for lambda >= 27, inversion over
//   a cumulative table below.
// Method 1 (normal): Ahrens and Dieter's PD on normals of the Gaussian kernel's both-variates
//   method for lambda >= 10, inversion over a cumulative table below.
// The vector-mean kernel's method 0 is the scalar kernel's method 1 for each element; a mean
// equal to the one before reuses its set-up, and a constant mean gives the scalar kernel's
// variates. Inversion takes one uniform a variate; the rejection samplers take a varying number.
//
// Domain: lambda in (0, 2e9] (the vector kernel: every element). Above 2e9 a variate could
// exceed the int range; the kernels take such a mean as 2e9. A scalar mean of 0, below or NaN
// gives BIX_ERROR_BADARGS with nothing drawn; in the vector kernel such an element gives 0.
//
// Reproducibility: the variates are a fixed function of the stream's state, n and the
// parameters; the rejection samplers draw their uniforms in blocks sized by the variates still
// to come, so n drawn in two calls need not give the variates of one call of n. A stream that
// refuses 65536 candidates in a row ends the call with BIX_ERROR_BADARGS.
#include "distributions/poisson.h"

namespace korb::dist::counting {
namespace {

int poisson_by_table(BixStream *stream, int n, int r[], double lambda) {
    const CdfTable<PoissonUp> table(0.0, kIntMax, exp_of(-lambda), PoissonUp{lambda});
    alignas(64) double u[kBlock];
    for (int k = 0; k < n;) {
        const int m = n - k < kBlock ? n - k : kBlock;
        const int status = uniforms(stream, m, u, 0.0, 1.0);
        if (status < 0) return status;
        for (int i = 0; i < m; ++i) r[k + i] = to_int(table.sample(u[i]));
        k += m;
    }
    return BIX_ERROR_OK;
}

int poisson_ptpe(BixStream *stream, int n, int r[], double lambda) {
    const Ptpe t(lambda);
    const RatioTable table = ptpe_table(t);
    Uniforms u(stream, 3);
    int status = BIX_ERROR_OK;
    for (int i = 0; i < n; ++i) {
        u.remaining(n - i);
        double y;
        if (!ptpe_variate(t, table, u, y, status)) return status;
        r[i] = to_int(y);
    }
    return status;
}

// PD for every element, lambda(i) its mean.
template <class Mean>
int poisson_each(BixStream *stream, int n, int r[], Mean lambda) {
    Uniforms u(stream, 1);
    Normals z(stream);
    PoissonEach each(u, z);
    int status = BIX_ERROR_OK;
    for (int i = 0; i < n; ++i) {
        u.remaining(n - i);
        z.remaining(n - i);
        double y;
        if (!each.next(lambda(i), y, status)) return status;
        r[i] = to_int(y);
    }
    return status;
}

}  // namespace
}  // namespace korb::dist::counting

extern "C" int _bixiRngPoisson(int method, BixStream *stream, int n, int r[], double lambda) {
    using namespace korb::dist::counting;
    if (method != BIX_RNG_METHOD_POISSON_PTPE && method != BIX_RNG_METHOD_POISSON_NORMAL) {
        return BIX_ERROR_BADMETHOD;
    }
    if (!(lambda > 0.0)) return BIX_ERROR_BADARGS;
    if (n < 1) return BIX_ERROR_OK;
    if (lambda > kMaxPoissonMean) lambda = kMaxPoissonMean;
    const double switch_at = method == BIX_RNG_METHOD_POISSON_PTPE ? 27.0 : 10.0;
    if (!(lambda >= switch_at)) return poisson_by_table(stream, n, r, lambda);
    if (method == BIX_RNG_METHOD_POISSON_PTPE) return poisson_ptpe(stream, n, r, lambda);
    return poisson_each(stream, n, r, [lambda](int) { return lambda; });
}

extern "C" int _bixiRngPoissonV(int method, BixStream *stream, int n, int r[],
                                const double lambda[]) {
    using namespace korb::dist::counting;
    if (method != BIX_RNG_METHOD_POISSONV_NORMAL) return BIX_ERROR_BADMETHOD;
    if (n < 1) return BIX_ERROR_OK;
    return poisson_each(stream, n, r, [lambda](int i) { return lambda[i]; });
}
