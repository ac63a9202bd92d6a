// Binomial: successes in ntrial >= 0 trials of probability p in [0, 1].
//
// With r = min(p, 1 - p) (the variates for p > 1/2 are ntrial minus those of 1 - p):
// - ntrial r < 30: inversion over a cumulative table of the masses, from (1 - r)^ntrial and the
//   ratios (ntrial - k) r / ((k + 1) (1 - r)); one uniform a variate.
// - ntrial r >= 30: BTPE (Kachitvichyanukul and Schmeiser, 1988): a triangle around the mode
//   whose candidates are taken without a test, two parallelograms and two exponential tails, with
//   the published constants. The other candidates are tested against f(k) / f(m), from a table
//   of products outward from the mode m within 5 standard deviations, else through logarithms
//   of factorial ratios (distributions/counting.h). Two uniforms a candidate.
// ntrial = 0, p = 0 and p = 1 give the constant without drawing.
//
// Domain: ntrial in [0, 2^31 - 1], p in [0, 1]; every result fits an int. Outside it the kernel
// returns BIX_ERROR_BADARGS with nothing drawn.
//
// Reproducibility: the variates are a fixed function of the stream's state, n and the
// parameters, but BTPE draws its uniforms in blocks sized by the variates still to come, so n
// drawn in two calls need not give the variates of one call of n. A stream that refuses 65536
// candidates in a row ends the call with BIX_ERROR_BADARGS.
#include "distributions/counting.h"

namespace korb::dist::counting {
namespace {

struct BinomialUp {
    double trials, odds;  // odds = r / (1 - r)
    double operator()(double k) const { return (trials - k) * odds / (k + 1.0); }
};

struct Btpe {
    double trials, r, q, odds, m, p1, xm, xl, xr, c, laml, lamr, p2, p3, p4, log_odds, sd;
    Btpe(double ntrial, double prob, double comp) : trials(ntrial), r(prob), q(comp) {
        odds = r / q;
        const double fm = trials * r + r;
        m = floor_of(fm);
        sd = std::sqrt(trials * r * q);
        p1 = floor_of(2.195 * sd - 4.6 * q) + 0.5;
        xm = m + 0.5;
        xl = xm - p1;
        xr = xm + p1;
        c = 0.134 + 20.5 / (15.3 + m);
        const double al = (fm - xl) / (fm - xl * r);
        laml = al * (1.0 + 0.5 * al);
        const double ar = (xr - fm) / (xr * q);
        lamr = ar * (1.0 + 0.5 * ar);
        p2 = p1 * (1.0 + 2.0 * c);
        p3 = p2 + c / laml;
        p4 = p3 + c / lamr;
        log_odds = log_of(odds);
    }
    // ln(f(k) / f(m)).
    double log_ratio(double k) const {
        return log_factorial_ratio(m, k) + log_factorial_ratio(trials - m, trials - k) +
               (k - m) * log_odds;
    }
};

bool btpe_variate(const Btpe &t, const RatioTable &table, Uniforms &u, double &y, int &status) {
    for (int refused = 0; refused < kMaxRefusals; ++refused) {
        double a, v;
        if (!u.next(a) || !u.next(v)) {
            status = u.status();
            return false;
        }
        a = a * t.p4;
        if (a <= t.p1) {
            y = floor_of(t.xm - t.p1 * v + a);
            return true;
        }
        if (a <= t.p2) {
            const double x = t.xl + (a - t.p1) / t.c;
            v = v * t.c + 1.0 - std::fabs(t.m - x + 0.5) / t.p1;
            if (v > 1.0) continue;
            y = floor_of(x);
        } else if (a <= t.p3) {
            y = floor_of(t.xl + log_of(v) / t.laml);
            if (y < 0.0) continue;
            v = v * (a - t.p2) * t.laml;
        } else {
            y = floor_of(t.xr - log_of(v) / t.lamr);
            if (y > t.trials) continue;
            v = v * (a - t.p3) * t.lamr;
        }
        if (table.has(y) ? v <= table[y] : log_of(v) <= t.log_ratio(y)) return true;
    }
    status = kStuckStatus;
    return false;
}

int binomial(BixStream *stream, int n, int r[], int ntrial, double p) {
    const bool flip = p > 0.5;
    // 1 - p is exact for p in [1/2, 1].
    const double rate = flip ? 1.0 - p : p, comp = flip ? p : 1.0 - p;
    const double trials = ntrial;
    const auto out = [flip, ntrial](double y) { return flip ? ntrial - to_int(y) : to_int(y); };
    if (trials * rate < 30.0) {
        const double f0 = exp_of(trials * log1p_of(-rate));
        const CdfTable<BinomialUp> table(0.0, trials, f0, BinomialUp{trials, rate / comp});
        alignas(64) double u[kBlock];
        for (int k = 0; k < n;) {
            const int m = n - k < kBlock ? n - k : kBlock;
            const int status = uniforms(stream, m, u, 0.0, 1.0);
            if (status < 0) return status;
            for (int i = 0; i < m; ++i) r[k + i] = out(table.sample(u[i]));
            k += m;
        }
        return BIX_ERROR_OK;
    }
    const Btpe t(trials, rate, comp);
    const double odds = t.odds;
    const RatioTable table(t.m, 0.0, trials, static_cast<int>(5.0 * t.sd) + 25,
                           BinomialUp{trials, odds},
                           [trials, odds](double k) { return k / ((trials - k + 1.0) * odds); });
    Uniforms u(stream, 3);
    int status = BIX_ERROR_OK;
    for (int i = 0; i < n; ++i) {
        u.remaining(n - i);
        double y;
        if (!btpe_variate(t, table, u, y, status)) return status;
        r[i] = out(y);
    }
    return status;
}

}  // namespace
}  // namespace korb::dist::counting

extern "C" int _bixiRngBinomial(int method, BixStream *stream, int n, int r[], int ntrial,
                                double p) {
    if (method != BIX_RNG_METHOD_BINOMIAL_BTPE) return BIX_ERROR_BADMETHOD;
    if (ntrial < 0 || !(p >= 0.0 && p <= 1.0)) return BIX_ERROR_BADARGS;
    if (n < 1) return BIX_ERROR_OK;
    if (ntrial == 0 || p == 0.0 || p == 1.0) {
        const int constant = p == 1.0 ? ntrial : 0;
        for (int i = 0; i < n; ++i) r[i] = constant;
        return BIX_ERROR_OK;
    }
    return korb::dist::counting::binomial(stream, n, r, ntrial, p);
}
