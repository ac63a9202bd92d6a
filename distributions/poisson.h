// The Poisson samplers the Poisson kernels and the negative binomial share.
//
// Small means: inversion, the least k with u < F(k), F the running sums of e^-lambda
// lambda^k / k! (CdfTable; sequential_inverse gives the same k term by term, for a mean used
// once).
//
// Triangle-parallelogram-exponential rejection (lambda >= 27): the hat of Kachitvichyanukul and
// Schmeiser's BTPE in its Poisson form (the binomial's constants with q = 1 and n p = lambda,
// as Schmeiser and Kachitvichyanukul's PTPE): a triangle around the mode whose candidates are
// taken without a test, two parallelograms and two exponential tails. The rest are tested
// against f(k) / f(m), from a table of products outward from the mode within 5 standard
// deviations, else through the logarithms of factorial ratios. Two uniforms a candidate.
//
// Ahrens and Dieter's method PD (1982, lambda >= 10): K = floor(lambda + sqrt(lambda) z), z a
// standard normal, taken at once when K >= floor(lambda - 1.1484) or by their squeeze
// 6 lambda^2 u >= (lambda - K)^3; otherwise their comparison of the Poisson mass with the
// modified normal density (step Q), and on refusal their double-exponential sampler (steps E
// and H). The Poisson mass e^px py is exact: for K < 10, px = -lambda and py = lambda^K / K!;
// above, py = 1 / sqrt(2 pi K) and px = K ln(1 + (lambda - K) / K) - (lambda - K) - delta,
// delta = ln K! - ((K + 1/2) ln K - K + ln sqrt(2 pi)) (tabulated below 32, three terms of
// Stirling's series above), in place of the published truncated series.
#pragma once

#include "distributions/counting.h"

namespace korb::dist::counting {

// The largest mean the Poisson samplers take: a variate above INT_MAX then has a probability
// below 10^-(10^7). Candidates above INT_MAX are refused.
constexpr double kMaxPoissonMean = 2.0e9;
constexpr double kIntMax = 2147483647.0;

// f(k + 1) / f(k) of the Poisson of mean lambda.
struct PoissonUp {
    double lambda;
    double operator()(double k) const { return lambda / (k + 1.0); }
};

// PTPE's set-up for one mean.
struct Ptpe {
    double lambda, m, p1, xm, xl, xr, c, laml, lamr, p2, p3, p4, log_lambda;
    explicit Ptpe(double mean) : lambda(mean) {
        m = floor_of(lambda);
        p1 = floor_of(2.195 * std::sqrt(lambda) - 4.6) + 0.5;
        xm = m + 0.5;
        xl = xm - p1;
        xr = xm + p1;
        c = 0.134 + 20.5 / (15.3 + m);
        const double al = (lambda - xl) / lambda;
        laml = al * (1.0 + 0.5 * al);
        const double ar = (xr - lambda) / xr;
        lamr = ar * (1.0 + 0.5 * ar);
        p2 = p1 * (1.0 + 2.0 * c);
        p3 = p2 + c / laml;
        p4 = p3 + c / lamr;
        log_lambda = log_of(lambda);
    }
    int radius() const { return static_cast<int>(5.0 * std::sqrt(lambda)) + 25; }
    // ln(f(k) / f(m)).
    double log_ratio(double k) const { return (k - m) * log_lambda - log_factorial_ratio(k, m); }
};

// One PTPE variate into y; false when the uniforms failed or the stream is stuck (status set).
inline bool ptpe_variate(const Ptpe &t, const RatioTable &table, Uniforms &u, double &y,
                         int &status) {
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
            if (y > kIntMax) continue;
            v = v * (a - t.p3) * t.lamr;
        }
        if (table.has(y) ? v <= table[y] : log_of(v) <= t.log_ratio(y)) return true;
    }
    status = kStuckStatus;
    return false;
}

inline RatioTable ptpe_table(const Ptpe &t) {
    const double lambda = t.lambda;
    return RatioTable(
        t.m, 0.0, kIntMax, t.radius(), [lambda](double k) { return lambda / (k + 1.0); },
        [lambda](double k) { return k / lambda; });
}

// PD's set-up for one mean.
struct Pd {
    double lambda, s, d, big, omega, c0, c1, c2, c3, c;
    explicit Pd(double mean) : lambda(mean) {
        s = std::sqrt(lambda);
        d = 6.0 * lambda * lambda;
        big = floor_of(lambda - 1.1484);
        omega = 0.3989422804014327 / s;
        const double b1 = 0.041666666666666664 / lambda;
        const double b2 = 0.3 * b1 * b1;
        c3 = 0.14285714285714285 * b1 * b2;
        c2 = b2 - 15.0 * c3;
        c1 = b1 - 6.0 * b2 + 45.0 * c3;
        c0 = 1.0 - b1 + 3.0 * b2 - 15.0 * c3;
        c = 0.1069 / lambda;
    }
    // Procedure F: px, py (the Poisson mass of k is e^px py) and fx, fy (the modified normal
    // density at k is e^fx fy).
    void f(double k, double &px, double &py, double &fx, double &fy) const {
        const double difmuk = lambda - k;
        if (k < 10.0) {
            px = -lambda;
            double power = 1.0;
            for (int i = 1; i <= static_cast<int>(k); ++i) power = power * lambda / i;
            py = power;
        } else {
            const double ln_k = log_of(k);
            const double delta = k < kSmallFactorials
                                     ? small_log_factorials()[static_cast<int>(k)] -
                                           ((k + 0.5) * ln_k - k + 0.91893853320467274)
                                     : stirling_rest(k);
            px = k * log1p_of(difmuk / k) - difmuk - delta;
            py = 0.3989422804014327 / std::sqrt(k);
        }
        const double x = (0.5 - difmuk) / s;
        const double xx = x * x;
        fx = -0.5 * xx;
        fy = omega * (((c3 * xx + c2) * xx + c1) * xx + c0);
    }
};

// One PD variate into y; false when a source failed or the stream is stuck (status set).
inline bool pd_variate(const Pd &t, Uniforms &u, Normals &z, double &y, int &status) {
    double normal;
    if (!z.next(normal)) {
        status = z.status();
        return false;
    }
    const double g = t.lambda + t.s * normal;
    double px, py, fx, fy;
    if (g >= 0.0) {
        y = floor_of(g);
        if (y >= t.big) return true;
        double v;
        if (!u.next(v)) {
            status = u.status();
            return false;
        }
        const double difmuk = t.lambda - y;
        if (t.d * v >= difmuk * difmuk * difmuk) return true;
        t.f(y, px, py, fx, fy);
        if (fy - v * fy <= py * exp_of(px - fx)) return true;
    }
    for (int refused = 0; refused < kMaxRefusals; ++refused) {
        double e, w;
        if (!u.next(e) || !u.next(w)) {
            status = u.status();
            return false;
        }
        if (e == 0.0) continue;
        e = -log_of(e);
        w = w + w - 1.0;
        const double t1 = w < 0.0 ? 1.8 - e : 1.8 + e;
        if (t1 <= -0.6744) continue;
        y = floor_of(t.lambda + t.s * t1);
        if (y > kIntMax) continue;
        t.f(y, px, py, fx, fy);
        if (t.c * std::fabs(w) <= py * exp_of(px + e) - fy * exp_of(fx + e)) return true;
    }
    status = kStuckStatus;
    return false;
}

// Poisson variates of varying means by PD (means of at least 10) and inversion term by term
// (below): the per-element sampler of the vector-mean kernel and the negative binomial. A mean
// equal to the one before reuses its set-up. A mean of 0 or below gives 0; means above
// kMaxPoissonMean are taken as kMaxPoissonMean.
class PoissonEach {
  public:
    PoissonEach(Uniforms &u, Normals &z) : u_(u), z_(z) {}
    bool next(double lambda, double &y, int &status) {
        if (!(lambda > 0.0)) {
            y = 0.0;
            return true;
        }
        if (lambda > kMaxPoissonMean) lambda = kMaxPoissonMean;
        if (lambda != lambda_) {
            lambda_ = lambda;
            if (lambda >= 10.0) {
                pd_ = Pd(lambda);
            } else {
                f0_ = exp_of(-lambda);
            }
        }
        if (lambda >= 10.0) return pd_variate(pd_, u_, z_, y, status);
        double v;
        if (!u_.next(v)) {
            status = u_.status();
            return false;
        }
        y = sequential_inverse(v, 0.0, kIntMax, f0_, PoissonUp{lambda});
        return true;
    }

  private:
    Uniforms &u_;
    Normals &z_;
    double lambda_ = -1.0, f0_ = 0.0;
    Pd pd_{10.0};
};

}  // namespace korb::dist::counting
