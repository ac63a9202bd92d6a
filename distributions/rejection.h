// What the rejection kernels (gamma, beta) share: rounds of candidates drawn in blocks, the
// count of candidates a round draws, the way out of a stream that never lets a candidate
// through, and the exported Gaussian kernel in the precision of the output.
//
// A rejection kernel works in rounds: it draws a block of candidates (their uniforms or normals
// in one generator call each), decides them all with whole-block vector-math calls, and keeps
// the accepted ones in order until it has the block of variates it wants. The candidates of a
// round are counted from the acceptance seen so far in the call, so the variates remain a fixed
// function of the stream's state, n and the parameters; a split of n into two calls draws other
// rounds and gives other variates.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>

#include "distributions/frame.h"
#include "frame/simd.h"

namespace korb::dist {

// Candidates of one round at most, and variates a kernel finishes before it writes them out.
constexpr int kRoundCandidates = 1024;

// Consecutive rounds without one accepted candidate after which the stream is taken to be
// degenerate (an abstract stream fed a constant, say): with the least acceptance of these
// kernels, above 0.1, and at least 8 candidates a round, a real generator gets there with a
// probability below 1e-25. The call then returns BIX_ERROR_BADARGS, r written up to that block.
constexpr int kMaxEmptyRounds = 64;
constexpr int kStuckStatus = BIX_ERROR_BADARGS;

// The candidates the next round draws to give `want` variates: want over the acceptance seen so
// far in the call (a prior of 4/5 before any), 2% more and 8 more, at most one round's worth.
class RoundSize {
  public:
    int next(int want) const {
        const double ratio =
            accepted_ > 0 ? static_cast<double>(drawn_) / static_cast<double>(accepted_) : 1.25;
        const double m = std::ceil(static_cast<double>(want) * ratio * 1.02) + 8;
        return m < kRoundCandidates ? static_cast<int>(m) : kRoundCandidates;
    }
    // Records a round; false once kMaxEmptyRounds rounds in a row accepted nothing.
    bool record(int drawn, int accepted) {
        drawn_ += drawn;
        accepted_ += accepted;
        empty_ = accepted > 0 ? 0 : empty_ + 1;
        return empty_ < kMaxEmptyRounds;
    }

  private:
    long long drawn_ = 0, accepted_ = 0;
    int empty_ = 0;
};

// Fills x[0..m-1] with accepted variates of `round`, called as round(want, x) -> accepted count
// (at most want, the variates in x) or a negative status. Returns 0 or the first failure.
template <class Round>
int fill_accepted(int m, double *x, Round &&round) {
    RoundSize size;
    for (int got = 0; got < m;) {
        const int want = m - got;
        const int drawn = size.next(want);
        const int accepted = round(drawn, want, x + got);
        if (accepted < 0) return accepted;
        if (!size.record(drawn, accepted)) return kStuckStatus;
        got += accepted;
    }
    return BIX_ERROR_OK;
}

// The decisions of a round run on whole native vectors of doubles, without a branch on the
// candidates (whose outcomes are random, so that branches would be mispredicted half the time):
// body<V>(i) handles candidates i .. i + lanes - 1 with V = simd::Vec<double>, and the last few
// one at a time with V = double. The body is the same template for both, so a candidate gives
// the same bits in either. Verdicts and flags are lane masks or small counts in uint64_t lanes.
template <class Body>
[[gnu::always_inline]] inline void for_lanes(int m, Body &&body) {
    using V = simd::Vec<double>;
    constexpr int kLanes = simd::kCount<V>;
    int i = 0;
    for (; i + kLanes <= m; i += kLanes) body.template operator()<V>(i);
    for (; i < m; ++i) body.template operator()<double>(i);
}

template <class V, class E>
[[gnu::always_inline]] inline V load_at(const E *p) {
    if constexpr (std::is_arithmetic_v<V>) {
        return *p;
    } else {
        return simd::load_lanes(p);
    }
}

template <class E, class V>
[[gnu::always_inline]] inline void store_at(E *p, V v) {
    if constexpr (std::is_arithmetic_v<V>) {
        *p = v;
    } else {
        simd::store_lanes(p, v);
    }
}

// The first `want` (at least 1) candidates whose verdict is 1, in order, into x (room for want);
// returns how many there were. Without a branch on the verdicts, which are random: each value is
// written at the next place and kept by advancing past it.
inline int take(int m, int want, const uint64_t *verdict, const double *value, double *x) {
    int out = 0;
    for (int i = 0; i < m; ++i) {
        x[out] = value[i];
        out += verdict[i] == 1;
        if (out == want) break;
    }
    return out;
}

// The positions of the candidates whose verdict is `which`, in order, into index; returns
// their count. Branch-free, as take().
inline int select(int m, const uint64_t *verdict, uint64_t which, int *index) {
    int k = 0;
    for (int i = 0; i < m; ++i) {
        index[k] = i;
        k += verdict[i] == which;
    }
    return k;
}

// n Gaussian variates of mean a and standard deviation sigma by Gaussian `method`, through the
// exported kernel of T's precision (so the both-variates method shares its pending variate with
// every other caller on the stream).
template <class T>
inline int gaussian_kernel(int method, BixStream *stream, int n, T *r, T a, T sigma) {
    if constexpr (sizeof(T) == sizeof(double)) {
        return _bixdRngGaussian(method, stream, n, r, a, sigma);
    } else {
        return _bixsRngGaussian(method, stream, n, r, a, sigma);
    }
}

// The rejection kernels decide in double whatever the output precision: their tests subtract
// nearly equal terms scaled by the shapes, which single precision would leave to rounding.
// Standard variates come out in x; r[i] = x[i] beta + a in double, rounded once to T, and with
// the accurate method kept inside [low, high].
template <class T>
inline void scale_out(int n, const double *x, T *r, T beta, T a, bool clamp_ends, T low, T high) {
    const double b = beta, s = a;
    if (!clamp_ends) {
        for (int i = 0; i < n; ++i) r[i] = static_cast<T>(x[i] * b + s);
        return;
    }
    for (int i = 0; i < n; ++i) {
        T v = static_cast<T>(x[i] * b + s);
        v = v < low ? low : v;
        r[i] = v > high ? high : v;
    }
}

// The uniforms of one round in double: `count` of T drawn in one call, into u directly in double
// precision, else into `drawn` and widened into u.
template <class T>
inline int uniforms_in_double(BixStream *stream, int count, T *drawn, double *u) {
    if constexpr (sizeof(T) == sizeof(double)) return uniforms(stream, count, u, 0.0, 1.0);
    const int status = uniforms(stream, count, drawn, T(0), T(1));
    if (status < 0) return status;
    for (int i = 0; i < count; ++i) u[i] = static_cast<double>(drawn[i]);
    return status;
}

}  // namespace korb::dist
