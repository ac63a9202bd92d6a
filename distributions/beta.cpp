// Beta of shapes p and q, displacement a and scale beta: a + beta X, X of density
// x^(p-1) (1-x)^(q-1) / B(p, q) on [0, 1], so that the variates lie in [a, a + beta].
//
// Method 0 takes one algorithm by the shapes:
// - q = 1: inversion, X = U^(1/p); else p = 1: X = 1 - U^(1/q). One uniform per variate.
// - p < 1 and q < 1: Johnk (1964). Candidates x = U^(1/p), y = V^(1/q), taken when x + y <= 1,
//   giving x / (x + y). Both are kept as logarithms, lx = ln U / p and ly = ln V / q, since for
//   small shapes x and y underflow together: with m the larger and e = exp(-|lx - ly|), the
//   candidate is taken when e^m (1 + e) <= 1 and gives (lx >= ly ? 1 : e) / (1 + e).
// - p > 1 and q > 1: Cheng's BB (CACM 21, 1978), with its two squeezes.
// - otherwise (one shape below 1, the other above): Cheng's BC. Its W = a0 e^V overflows for
//   small b0 (V = ln(u / (1 - u)) / b0), so the algorithm runs on L = V + ln(a0 / b0), the
//   logarithm of W / b0: b0 + W = b0 (1 + e^L), and the variate is 1 / (1 + e^-L) or
//   1 / (1 + e^L), both finite for any L.
// Each candidate takes a pair of uniforms from one call per round (u1 = even, u2 = odd
// positions). The rejection algorithms decide in double whatever the output precision, and the
// result is rounded once.
//
// The accurate method (0x40000000) clamps every result into [a, a + beta].
//
// Reproducibility: the variates are a fixed function of the stream's state, n and the
// parameters, but the number of uniforms consumed varies, so n drawn in two calls need not give
// the variates of one call of n. A stream that never lets a candidate through (64 empty rounds
// in a row) ends the call with BIX_ERROR_BADARGS.
#include "distributions/rejection.h"

namespace korb::dist {
namespace {

constexpr double kLn4 = 1.3862943611198906;

// A round's pairs of uniforms, drawn in one call as u1 u2 u1 u2 ..., in double and apart:
// u1 of candidate i at u[i], its u2 at u[m + i].
template <class T>
struct Pairs {
    alignas(64) T drawn[2 * kRoundCandidates];
    alignas(64) double u[2 * kRoundCandidates];
    int draw(BixStream *stream, int m) {
        const int status = uniforms(stream, 2 * m, drawn, T(0), T(1));
        if (status < 0) return status;
        for (int i = 0; i < m; ++i) {
            u[i] = static_cast<double>(drawn[2 * i]);
            u[m + i] = static_cast<double>(drawn[2 * i + 1]);
        }
        return status;
    }
};

// --- Johnk, both shapes below 1 ---------------------------------------------------------------

struct Johnk {
    double inv_p, inv_q;

    template <class T>
    int round(BixStream *stream, int m, int want, double *x) const {
        Pairs<T> pairs;
        if (int status = pairs.draw(stream, m); status < 0) return status;
        double *l = pairs.u;
        vm(_arqdLn, 2 * m, l, l);
        alignas(64) double e[2 * kRoundCandidates];    // exp(-|lx - ly|), then exp(max)
        alignas(64) uint64_t first[kRoundCandidates];  // lx >= ly
        for_lanes(m, [&]<class V>(int i) {
            const V lx = load_at<V>(l + i) * inv_p, ly = load_at<V>(l + m + i) * inv_q;
            const simd::Bits<V> f = simd::mask<V>(lx >= ly);
            store_at(first + i, f);
            store_at(e + i, simd::select<V>(f, ly - lx, lx - ly));
            store_at(e + m + i, simd::select<V>(f, lx, ly));
        });
        vm(_arqdExp, 2 * m, e, e);
        alignas(64) double value[kRoundCandidates];
        alignas(64) uint64_t verdict[kRoundCandidates];
        for_lanes(m, [&]<class V>(int i) {
            const V big = load_at<V>(e + m + i), ei = load_at<V>(e + i);
            store_at(verdict + i, simd::mask<V>(big + big * ei <= 1.0) & 1);
            const V one = V{} + 1.0;
            const V numerator = simd::select<V>(load_at<simd::Bits<V>>(first + i), one, ei);
            store_at(value + i, numerator / (1.0 + ei));
        });
        return take(m, want, verdict, value, x);
    }
};

// --- Cheng's BB, both shapes above 1 -----------------------------------------------------------

struct ChengBB {
    double a0, b0, alpha, beta, gamma;
    bool p_is_a0;  // p is the smaller shape: the variate is W / (b0 + W)

    ChengBB(double p, double q)
        : a0(p < q ? p : q),
          b0(p < q ? q : p),
          alpha(a0 + b0),
          beta(std::sqrt((alpha - 2.0) / (2.0 * a0 * b0 - alpha))),
          gamma(a0 + 1.0 / beta),
          p_is_a0(p <= q) {}

    template <class T>
    int round(BixStream *stream, int m, int want, double *x) const {
        Pairs<T> pairs;
        if (int status = pairs.draw(stream, m); status < 0) return status;
        const double *u = pairs.u;
        alignas(64) double v[kRoundCandidates];
        for (int i = 0; i < m; ++i) v[i] = u[i] / (1.0 - u[i]);
        vm(_arqdLn, m, v, v);
        alignas(64) double w[kRoundCandidates];
        for (int i = 0; i < m; ++i) {
            v[i] = beta * v[i];
            w[i] = v[i];
        }
        vm(_arqdExp, m, w, w);
        alignas(64) double value[kRoundCandidates], z[kRoundCandidates], s[kRoundCandidates];
        alignas(64) uint64_t verdict[kRoundCandidates];  // 0 refused, 1 taken, 2 to test
        for_lanes(m, [&]<class V>(int i) {
            const V u1 = load_at<V>(u + i), u2 = load_at<V>(u + m + i);
            const V wi = a0 * load_at<V>(w + i);
            const V zi = u1 * u1 * u2;
            const V ri = gamma * load_at<V>(v + i) - kLn4;
            const V si = a0 + ri - wi;
            store_at(w + i, wi);
            store_at(z + i, zi);
            store_at(v + i, ri);
            store_at(s + i, si);
            store_at(value + i, (p_is_a0 ? wi : V{} + b0) / (b0 + wi));
            // u1 = 1 (a single-precision uniform rounded up) has no finite candidate.
            const simd::Bits<V> finite = simd::mask<V>(u1 < 1.0);
            const simd::Bits<V> squeezed = simd::mask<V>(si + 2.609438 >= 5.0 * zi);
            store_at(verdict + i, finite & (2 - (squeezed & 1)));
        });
        alignas(64) double logs[2 * kRoundCandidates];
        alignas(64) int index[kRoundCandidates];
        const int k = select(m, verdict, 2, index);
        if (k > 0) {
            for (int j = 0; j < k; ++j) {
                logs[j] = z[index[j]];
                logs[k + j] = alpha / (b0 + w[index[j]]);
            }
            vm(_arqdLn, 2 * k, logs, logs);
            for (int j = 0; j < k; ++j) {
                const int i = index[j];
                const double t = logs[j];
                verdict[i] = (s[i] > t) | (v[i] + alpha * logs[k + j] >= t);  // no branch
            }
        }
        return take(m, want, verdict, value, x);
    }
};

// --- Cheng's BC, one shape below 1 and one above ------------------------------------------------

struct ChengBC {
    double a0, b0, alpha, beta, k1, k2, ln_alpha_b0, ln_a0_b0;
    bool p_is_a0;  // p is the larger shape: the variate is W / (b0 + W)

    ChengBC(double p, double q)
        : a0(p < q ? q : p),
          b0(p < q ? p : q),
          alpha(a0 + b0),
          beta(1.0 / b0),
          k1((1.0 + a0 - b0) * (0.0138889 + 0.0416667 * b0) / (a0 * beta - 0.777778)),
          k2(0.25 + (0.5 + 0.25 / (1.0 + a0 - b0)) * b0),
          ln_alpha_b0(std::log(alpha / b0)),
          ln_a0_b0(std::log(a0 / b0)),
          p_is_a0(p >= q) {}

    template <class T>
    int round(BixStream *stream, int m, int want, double *x) const {
        Pairs<T> pairs;
        if (int status = pairs.draw(stream, m); status < 0) return status;
        const double *u = pairs.u;
        // 0 refused, 1 taken without the last test, 2 to test; z as the test needs it. Both
        // halves are computed and one kept, without a branch on the candidate.
        alignas(64) uint64_t verdict[kRoundCandidates];
        alignas(64) double z[kRoundCandidates];
        alignas(64) double value[kRoundCandidates];  // set for the survivors below
        for_lanes(m, [&]<class V>(int i) {
            using B = simd::Bits<V>;
            const V u1 = load_at<V>(u + i), u2 = load_at<V>(u + m + i);
            const V y = u1 * u2;
            const V z_low = u1 * y;
            const B low_verdict = ~simd::mask<V>(0.25 * u2 + z_low - y >= k1) & 2;
            const V z_high = u1 * u1 * u2;
            // !(u1 < 1) ? 0 : z <= 1/4 ? 1 : z >= k2 ? 0 : 2
            const B in_range = simd::mask<V>(u1 < 1.0);
            const B quarter = simd::mask<V>(z_high <= 0.25);
            const B beyond = simd::mask<V>(z_high >= k2);
            const B high_verdict = in_range & ((quarter & 1) | (~quarter & ~beyond & 2));
            const B low = simd::mask<V>(u1 < 0.5);
            store_at(z + i, simd::select<V>(low, z_low, z_high));
            store_at(verdict + i, (low & low_verdict) | (~low & high_verdict));
            store_at(value + i, V{});
        });
        alignas(64) int index[kRoundCandidates];
        int k = 0;
        for (int i = 0; i < m; ++i) {
            index[k] = i;
            k += verdict[i] != 0;
        }
        if (k == 0) return 0;
        // V, then L = V + ln(a0 / b0) and e = exp(-|L|) for the survivors.
        alignas(64) double v[kRoundCandidates], e[kRoundCandidates], l[kRoundCandidates];
        for (int j = 0; j < k; ++j) v[j] = u[index[j]] / (1.0 - u[index[j]]);
        vm(_arqdLn, k, v, v);
        for_lanes(k, [&]<class V>(int j) {
            const V vj = beta * load_at<V>(v + j);
            const V lj = vj + ln_a0_b0;
            store_at(v + j, vj);
            store_at(l + j, lj);
            store_at(e + j, simd::select<V>(simd::mask<V>(lj < 0.0), lj, -lj));
        });
        vm(_arqdExp, k, e, e);
        // The test: alpha (ln(alpha / (b0 + W)) + V) - ln 4 >= ln z, where
        // ln(b0 + W) = ln b0 + max(L, 0) + ln(1 + e).
        alignas(64) double logs[2 * kRoundCandidates];
        for (int j = 0; j < k; ++j) {
            logs[j] = 1.0 + e[j];
            logs[k + j] = z[index[j]];
        }
        vm(_arqdLn, 2 * k, logs, logs);
        alignas(64) uint64_t passed[kRoundCandidates];
        alignas(64) double ratio[kRoundCandidates];
        for_lanes(k, [&]<class V>(int j) {
            using B = simd::Bits<V>;
            const V lj = load_at<V>(l + j), ej = load_at<V>(e + j);
            const B positive = simd::mask<V>(lj >= 0.0);
            const V softplus = simd::select<V>(positive, lj, V{}) + load_at<V>(logs + j);
            const V lhs = alpha * (ln_alpha_b0 - softplus + load_at<V>(v + j)) - kLn4;
            store_at(passed + j, simd::mask<V>(lhs >= load_at<V>(logs + k + j)) & 1);
            // W / (b0 + W) = 1 / (1 + e^-L), b0 / (b0 + W) = 1 / (1 + e^L).
            const B one = p_is_a0 ? positive : ~positive;
            store_at(ratio + j, simd::select<V>(one, V{} + 1.0, ej) / (1.0 + ej));
        });
        for (int j = 0; j < k; ++j) {
            const int i = index[j];
            verdict[i] = verdict[i] == 2 ? passed[j] : verdict[i];
            value[i] = ratio[j];
        }
        return take(m, want, verdict, value, x);
    }
};

// --- Inversion, a shape equal to 1 -------------------------------------------------------------

// X = U^(1/p) when q = 1, else 1 - U^(1/q), over m uniforms of T.
template <class T>
int inversion(BixStream *stream, int m, double *x, double p, double q) {
    alignas(64) T drawn[kRoundCandidates];
    const int status = uniforms_in_double(stream, m, drawn, x);
    if (status < 0) return status;
    const bool upper = q == 1.0;
    const double inverse = 1.0 / (upper ? p : q);
    vm(_arqdLn, m, x, x);
    for (int i = 0; i < m; ++i) x[i] = x[i] * inverse;
    vm(_arqdExp, m, x, x);
    if (!upper) {
        for (int i = 0; i < m; ++i) x[i] = 1.0 - x[i];
    }
    return status;
}

template <class T>
int beta_kernel(int method, BixStream *stream, int n, T *r, T p, T q, T a, T beta) {
    if (n < 1) return BIX_ERROR_OK;
    VmErrorBracket bracket(ln_of_zero<double, LnErrors::kSingularity>);
    const double pd = p, qd = q;
    const bool accurate = (method & BIX_RNG_METHOD_ACCURACY_FLAG) != 0;
    const T high = a + beta;
    alignas(64) double x[kRoundCandidates];
    int status = BIX_ERROR_OK;
    const Johnk johnk{1.0 / pd, 1.0 / qd};
    const bool both_below = pd < 1.0 && qd < 1.0;
    const bool both_above = pd > 1.0 && qd > 1.0;
    const ChengBB bb(both_above ? pd : 2.0, both_above ? qd : 2.0);
    const ChengBC bc(both_above || both_below ? 0.5 : pd, both_above || both_below ? 2.0 : qd);
    for (int k = 0; k < n;) {
        const int m = n - k < kRoundCandidates ? n - k : kRoundCandidates;
        if (pd == 1.0 || qd == 1.0) {
            status = inversion<T>(stream, m, x, pd, qd);
        } else {
            status = fill_accepted(m, x, [&](int drawn, int want, double *out) {
                if (both_below) return johnk.round<T>(stream, drawn, want, out);
                if (both_above) return bb.round<T>(stream, drawn, want, out);
                return bc.round<T>(stream, drawn, want, out);
            });
        }
        if (status < 0) return status;
        scale_out(m, x, r + k, beta, a, accurate, a, high);
        k += m;
    }
    return status;
}

}  // namespace
}  // namespace korb::dist

KORB_DIST_ENTRY_POINTS(Beta, beta_kernel, p, q, a, beta)
