// Gamma of shape alpha, displacement a and scale beta: a + beta X, X of density
// x^(alpha-1) e^-x / Gamma(alpha) on x >= 0.
//
// alpha > 1: Marsaglia and Tsang's squeeze (ACM TOMS 26, 2000). With d = alpha - 1/3 and
//   c = 1 / sqrt(9 d), a normal z gives the candidate d v, v = (1 + c z)^3; it is refused when
//   v <= 0, taken when u < 1 - 0.0331 z^4 (u uniform; more than 95% of candidates stop here),
//   and otherwise taken when ln u < z^2 / 2 + d (1 - v + ln v). The normals are the Gaussian
//   kernel's both-variates Box-Muller ones, drawn from the same stream (so they share its
//   pending variate), a round of candidates at a time, then the round's uniforms.
// alpha < 1: their boost, X = Y U^(1/alpha) with Y of shape alpha + 1 as above and U a further
//   uniform, one block of U after each block of Y; U^(1/alpha) is exp(ln U / alpha).
// alpha = 1: the exponential kernel (which clamps to a under either method).
//
// The test is made in double whatever the output precision, as
//   1 - v + ln v = 3 ln s - t (3 + t (3 + t)),  s = 1 + c z rounded, t = s - 1 (exact),
// which keeps its error near d |t| 2^-53 instead of d 2^-53: the candidate's own s enters both
// terms, and nothing of size 1 is subtracted. Large shapes (1e5 and beyond) stay exact to far
// below what a sample can show; the output is rounded once to the output precision.
//
// The accurate method (0x40000000) clamps every result to at least a (a + beta X >= a holds in
// rounding already for beta > 0; the clamp is there for the caller who asks).
//
// Reproducibility: the variates are a fixed function of the stream's state, n and the
// parameters, but the number of uniforms consumed varies, so n drawn in two calls need not give
// the variates of one call of n. A stream that never lets a candidate through (64 empty rounds
// in a row) ends the call with BIX_ERROR_BADARGS.
#include "distributions/exponential.h"
#include "distributions/rejection.h"

namespace korb::dist {
namespace {

// The normals as doubles: themselves in double precision, widened into `wide` in single.
template <class T>
const double *normals_in_double(int m, const T *normals, double *wide) {
    if constexpr (sizeof(T) == sizeof(double)) {
        return normals;
    } else {
        for (int i = 0; i < m; ++i) wide[i] = static_cast<double>(normals[i]);
        return wide;
    }
}

struct Squeeze {
    double d, c;
    explicit Squeeze(double shape) : d(shape - 1.0 / 3.0), c(1.0 / std::sqrt(9.0 * d)) {}
};

// One round of `m` candidates of shape d + 1/3 (drawn: m normals, then m uniforms); the first
// `want` accepted, in candidate order, go to x. Returns the count written or a negative status.
template <class T>
int squeeze_round(BixStream *stream, const Squeeze &sq, int m, int want, double *x) {
    alignas(64) T normals[kRoundCandidates];
    alignas(64) T drawn[kRoundCandidates];
    alignas(64) double u[kRoundCandidates];
    alignas(64) double wide[kRoundCandidates];   // the normals in double
    alignas(64) double value[kRoundCandidates];  // d v
    alignas(64) double s[kRoundCandidates];
    alignas(64) uint64_t verdict[kRoundCandidates];  // 0 refused, 1 taken, 2 to test
    int status =
        gaussian_kernel<T>(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, stream, m, normals, T(0), T(1));
    if (status < 0) return status;
    status = uniforms_in_double(stream, m, drawn, u);
    if (status < 0) return status;
    const double *z = normals_in_double(m, normals, wide);

    const double d = sq.d, c = sq.c;
    for_lanes(m, [&]<class V>(int i) {
        const V zi = load_at<V>(z + i);
        const V si = 1.0 + c * zi;
        const V z2 = zi * zi;
        store_at(s + i, si);
        store_at(value + i, d * (si * si * si));
        const simd::Bits<V> squeezed = simd::mask<V>(load_at<V>(u + i) < 1.0 - 0.0331 * (z2 * z2));
        const simd::Bits<V> positive = ~simd::mask<V>(si <= 0.0);
        store_at(verdict + i, positive & (2 - (squeezed & 1)));
    });
    // The rest are tested on ln u and ln s, over the packed survivors.
    alignas(64) double logs[2 * kRoundCandidates];
    alignas(64) int index[kRoundCandidates];
    const int k = select(m, verdict, 2, index);
    if (k > 0) {
        for (int j = 0; j < k; ++j) {
            logs[j] = u[index[j]];
            logs[k + j] = s[index[j]];
        }
        vm(_arqdLn, 2 * k, logs, logs);
        for (int j = 0; j < k; ++j) {
            const int i = index[j];
            const double t = s[i] - 1.0;
            const double bound =
                0.5 * (z[i] * z[i]) + d * (3.0 * logs[k + j] - t * (3.0 + t * (3.0 + t)));
            verdict[i] = logs[j] < bound;
        }
    }
    return take(m, want, verdict, value, x);
}

template <class T>
int gamma(int method, BixStream *stream, int n, T *r, T alpha, T a, T beta) {
    if (n < 1) return BIX_ERROR_OK;
    if (alpha == T(1)) return exponential<T>(0, stream, n, r, a, beta);
    VmErrorBracket bracket(ln_of_zero<double, LnErrors::kSingularity>);
    const bool boost = alpha < T(1);
    const Squeeze sq(boost ? static_cast<double>(alpha) + 1.0 : static_cast<double>(alpha));
    const double inverse = 1.0 / static_cast<double>(alpha);
    const bool accurate = (method & BIX_RNG_METHOD_ACCURACY_FLAG) != 0;
    const T top = std::numeric_limits<T>::infinity();

    alignas(64) double x[kRoundCandidates];
    alignas(64) double w[kRoundCandidates];
    alignas(64) T drawn[kRoundCandidates];
    int status = BIX_ERROR_OK;
    for (int k = 0; k < n;) {
        const int m = n - k < kRoundCandidates ? n - k : kRoundCandidates;
        status = fill_accepted(m, x, [&](int drawn_count, int want, double *out) {
            return squeeze_round<T>(stream, sq, drawn_count, want, out);
        });
        if (status < 0) return status;
        if (boost) {
            status = uniforms_in_double(stream, m, drawn, w);
            if (status < 0) return status;
            vm(_arqdLn, m, w, w);
            for (int i = 0; i < m; ++i) w[i] = w[i] * inverse;
            vm(_arqdExp, m, w, w);
            for (int i = 0; i < m; ++i) x[i] = x[i] * w[i];
        }
        scale_out(m, x, r + k, beta, a, accurate, a, top);
        k += m;
    }
    return status;
}

}  // namespace
}  // namespace korb::dist

KORB_DIST_ENTRY_POINTS(Gamma, gamma, alpha, a, beta)
