// Negative binomial: failures before the a-th success of probability p, a > 0 real,
// p in (0, 1]; mass Gamma(k + a) / (Gamma(a) k!) p^a (1 - p)^k.
//
// - p = 1 gives 0 without drawing.
// - Mean a (1 - p) / p below 1: inversion over a cumulative table of the masses, from p^a and
//   the ratios (k + a)(1 - p) / (k + 1); one uniform a variate.
// - Otherwise a Poisson variate whose mean is a gamma variate of shape a and scale (1 - p) / p:
//   the gammas come from the gamma kernel (method 0, in double) a block of up to 1024 at a time,
//   and each Poisson variate from the vector-mean Poisson kernel's sampler (PD at means of 10
//   and above, inversion below, distributions/poisson.h).
//
// Domain: a in (0, inf), p in (0, 1], and (1 - p) / p (a + 12 sqrt(a) + 60) <= 2e9, so that a
// result beyond the int range has a probability below 10^-25; a gamma variate above 2e9 is taken
// as 2e9. A shape or probability outside its interval (NaN, an infinite shape) gives
// BIX_ERROR_BADARGS with nothing drawn; the last condition is the caller's.
//
// Reproducibility: the variates are a fixed function of the stream's state, n and the
// parameters; the gamma-Poisson path takes a varying number of uniforms, so n drawn in two calls
// need not give the variates of one call of n.
#include "distributions/poisson.h"

namespace korb::dist::counting {
namespace {

struct NegbinUp {
    double a, fail;
    double operator()(double k) const { return (k + a) * fail / (k + 1.0); }
};

int negbinomial(BixStream *stream, int n, int r[], double a, double p) {
    const double fail = 1.0 - p;
    const double scale = fail / p;
    if (a * scale < 1.0) {
        const CdfTable<NegbinUp> table(0.0, kIntMax, exp_of(a * log_of(p)), NegbinUp{a, fail});
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
    Uniforms u(stream, 1);
    Normals z(stream);
    PoissonEach each(u, z);
    alignas(64) double mean[kBlock];
    int status = BIX_ERROR_OK;
    for (int k = 0; k < n;) {
        const int m = n - k < kBlock ? n - k : kBlock;
        status = _bixdRngGamma(BIX_RNG_METHOD_GAMMA_SQUEEZE, stream, m, mean, a, 0.0, scale);
        if (status < 0) return status;
        for (int i = 0; i < m; ++i) {
            u.remaining(n - k - i);
            z.remaining(n - k - i);
            double y;
            if (!each.next(mean[i], y, status)) return status;
            r[k + i] = to_int(y);
        }
        k += m;
    }
    return status;
}

}  // namespace
}  // namespace korb::dist::counting

extern "C" int _bixiRngNegbinomial(int method, BixStream *stream, int n, int r[], double a,
                                   double p) {
    if (method != BIX_RNG_METHOD_NEGBINOMIAL_GAMMA_POISSON) return BIX_ERROR_BADMETHOD;
    if (!(a > 0.0 && a <= std::numeric_limits<double>::max()) || !(p > 0.0 && p <= 1.0)) {
        return BIX_ERROR_BADARGS;
    }
    if (n < 1) return BIX_ERROR_OK;
    if (p == 1.0) {
        for (int i = 0; i < n; ++i) r[i] = 0;
        return BIX_ERROR_OK;
    }
    return korb::dist::counting::negbinomial(stream, n, r, a, p);
}
