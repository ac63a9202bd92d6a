// Hypergeometric: the marked items in a sample of s drawn without replacement from a lot of l
// items of which m are marked, 0 <= s <= l, 0 <= m <= l.
//
// The kernel draws X for the smaller sample and the smaller class, s1 = min(s, l - s) and
// m1 = min(m, l - m), whose support is 0..min(s1, m1), and maps back: the unmarked count
// s1 - X when m1 is the unmarked class, then m - X when s1 is the sample left behind. With
// M the mode of X (the floor of (s1 + 1)(m1 + 1) / (l + 2), moved to the largest mass):
// - M < 10: inversion over a cumulative table of the masses from f(0), one uniform a variate.
// - M >= 10: H2PE (Kachitvichyanukul and Schmeiser, 1985): a box of height f(M) over the
//   integers within 1.5 standard deviations and one of the mode, and two exponential tails
//   beyond, each starting at the box's last mass and falling by its neighbour's ratio (which
//   bounds the masses beyond, the distribution being log-concave). Candidate (k, v) is taken
//   when v hat(k) <= f(k) / f(M), read from a table of products outward from the mode within 2048
//   values, else through logarithms of factorial ratios. Two uniforms a candidate.
// s1 = 0 or m1 = 0 gives the constant without drawing.
//
// Domain: l in [0, 2^31 - 1], s in [0, l], m in [0, l]; every result fits an int. Outside it the
// kernel returns BIX_ERROR_BADARGS with nothing drawn.
//
// Reproducibility: the variates are a fixed function of the stream's state, n and the
// parameters, but H2PE draws its uniforms in blocks sized by the variates still to come, so n
// drawn in two calls need not give the variates of one call of n. A stream that refuses 65536
// candidates in a row ends the call with BIX_ERROR_BADARGS.
#include "distributions/counting.h"

namespace korb::dist::counting {
namespace {

// The masses' ratios of X: a lot of `lot`, a sample of `size`, `marked` marked.
struct HyperUp {
    double lot, size, marked;
    double operator()(double k) const {
        return ((marked - k) * (size - k)) / ((k + 1.0) * (lot - marked - size + k + 1.0));
    }
};
struct HyperDown {
    double lot, size, marked;
    double operator()(double k) const {
        return (k * (lot - marked - size + k)) / ((marked - k + 1.0) * (size - k + 1.0));
    }
};

struct H2pe {
    double lot, size, marked, mode, top;
    double kl, kr, width, gl, gr, rhol, rhor, laml, lamr, wl, wr, total;
    // ln(f(k) / f(mode)).
    double log_ratio(double k) const {
        const double rest = lot - marked - size;
        return log_factorial_ratio(mode, k) + log_factorial_ratio(marked - mode, marked - k) +
               log_factorial_ratio(size - mode, size - k) +
               log_factorial_ratio(rest + mode, rest + k);
    }
};

double ratio_at(const H2pe &h, const RatioTable &table, double k) {
    return table.has(k) ? table[k] : exp_of(h.log_ratio(k));
}

// Whether v hat(k) <= f(k) / f(mode), hat(k) = g rho^j written as e^ln_hat.
bool below(const H2pe &h, const RatioTable &table, double k, double v, double ln_hat) {
    if (table.has(k)) return v * exp_of(ln_hat) <= table[k];
    return log_of(v) + ln_hat <= h.log_ratio(k);
}

bool h2pe_variate(const H2pe &h, const RatioTable &table, Uniforms &u, double &y, int &status) {
    for (int refused = 0; refused < kMaxRefusals; ++refused) {
        double a, v;
        if (!u.next(a) || !u.next(v)) {
            status = u.status();
            return false;
        }
        a = a * h.total;
        if (a < h.width) {
            y = h.kl + floor_of(a);
            if (y > h.kr) continue;  // a rounded up to the width
            if (table.has(y) ? v <= table[y] : log_of(v) <= h.log_ratio(y)) return true;
            continue;
        }
        if (v == 0.0) continue;
        // A tail: j >= 1 geometric of ratio rho from the exponential -ln v; the height is the
        // position within the tail's area.
        const bool left = a < h.width + h.wl;
        const double w = left ? (a - h.width) / h.wl : (a - h.width - h.wl) / h.wr;
        const double lam = left ? h.laml : h.lamr;
        const double j = 1.0 + floor_of(-log_of(v) / lam);
        y = left ? h.kl - j : h.kr + j;
        if (y < 0.0 || y > h.top) continue;
        const double ln_hat = log_of(left ? h.gl : h.gr) - lam * j;
        if (below(h, table, y, w, ln_hat)) return true;
    }
    status = kStuckStatus;
    return false;
}

int hypergeometric(BixStream *stream, int n, int r[], int l, int s, int m) {
    const double lot = l;
    const int s1 = s <= l - s ? s : l - s;
    const int m1 = m <= l - m ? m : l - m;
    const auto out = [&](double x) {
        int k = to_int(x);
        if (m1 != m) k = s1 - k;
        if (s1 != s) k = m - k;
        return k;
    };
    if (s1 == 0 || m1 == 0) {
        const int constant = out(0.0);
        for (int i = 0; i < n; ++i) r[i] = constant;
        return BIX_ERROR_OK;
    }
    const double size = s1, marked = m1, top = s1 < m1 ? s1 : m1;
    const HyperUp up{lot, size, marked};
    const HyperDown down{lot, size, marked};
    double mode = floor_of((size + 1.0) * (marked + 1.0) / (lot + 2.0));
    if (mode > top) mode = top;
    while (mode < top && up(mode) > 1.0) mode += 1.0;
    while (mode > 0.0 && down(mode) > 1.0) mode -= 1.0;

    if (mode < 10.0) {
        // f(0) = (lot - marked)! (lot - size)! / ((lot - marked - size)! lot!).
        const double f0 = exp_of(log_factorial_ratio(lot - marked, lot - marked - size) -
                                 log_factorial_ratio(lot, lot - size));
        const CdfTable<HyperUp> table(0.0, top, f0, up);
        alignas(64) double u[kBlock];
        for (int k = 0; k < n;) {
            const int count = n - k < kBlock ? n - k : kBlock;
            const int status = uniforms(stream, count, u, 0.0, 1.0);
            if (status < 0) return status;
            for (int i = 0; i < count; ++i) r[k + i] = out(table.sample(u[i]));
            k += count;
        }
        return BIX_ERROR_OK;
    }

    H2pe h{};
    h.lot = lot;
    h.size = size;
    h.marked = marked;
    h.mode = mode;
    h.top = top;
    const double p = marked / lot;
    const double sd = std::sqrt(size * p * (1.0 - p) * (lot - size) / (lot - 1.0));
    const double half = floor_of(1.5 * sd) + 1.0;
    const RatioTable table(mode, 0.0, top, static_cast<int>(half + 3.0 * sd) + 25, up, down);
    h.kl = mode - half > 0.0 ? mode - half : 0.0;
    h.kr = mode + half < top ? mode + half : top;
    h.width = h.kr - h.kl + 1.0;
    h.gl = ratio_at(h, table, h.kl);
    h.gr = ratio_at(h, table, h.kr);
    h.rhol = h.kl > 0.0 ? down(h.kl) : 0.0;
    h.rhor = h.kr < top ? up(h.kr) : 0.0;
    h.wl = h.rhol > 0.0 ? h.gl * h.rhol / (1.0 - h.rhol) : 0.0;
    h.wr = h.rhor > 0.0 ? h.gr * h.rhor / (1.0 - h.rhor) : 0.0;
    h.laml = h.rhol > 0.0 ? -log_of(h.rhol) : 1.0;
    h.lamr = h.rhor > 0.0 ? -log_of(h.rhor) : 1.0;
    h.total = h.width + h.wl + h.wr;
    Uniforms u(stream, 3);
    int status = BIX_ERROR_OK;
    for (int i = 0; i < n; ++i) {
        u.remaining(n - i);
        double y;
        if (!h2pe_variate(h, table, u, y, status)) return status;
        r[i] = out(y);
    }
    return status;
}

}  // namespace
}  // namespace korb::dist::counting

extern "C" int _bixiRngHypergeometric(int method, BixStream *stream, int n, int r[], int l, int s,
                                      int m) {
    if (method != BIX_RNG_METHOD_HYPERGEOMETRIC_H2PE) return BIX_ERROR_BADMETHOD;
    if (l < 0 || s < 0 || m < 0 || s > l || m > l) return BIX_ERROR_BADARGS;
    if (n < 1) return BIX_ERROR_OK;
    return korb::dist::counting::hypergeometric(stream, n, r, l, s, m);
}
