// What the counting kernels (binomial, Poisson, hypergeometric, negative binomial) share:
// buffered uniforms and normals drawn from the stream in blocks, scalar logarithms and
// exponentials that give the same bits on every processor class, logarithms of factorial
// ratios, the inversion sampler over a cumulative table, and the ratio table that the
// rejection samplers test their candidates against.
//
// The rejection samplers are scalar loops: a candidate takes two uniforms (sometimes a normal or
// a third uniform) and is accepted about four times in five, and its decision is cheap beside
// the generator's block call. Each source refills in blocks whose size follows from the count
// of variates still to come, so the variates are a fixed function of the stream's state, n and
// the parameters; a split of n into two calls draws other blocks and may give other variates.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "distributions/frame.h"
#include "distributions/rejection.h"
#include "vecmath/kernels/ln_value.h"

namespace korb::dist::counting {

constexpr int kBlock = 1024;

// Consecutive refused candidates after which a stream is taken to be degenerate (a scripted
// stream fed a constant): the least acceptance of these samplers is above 0.3, so a real
// generator gets there with a probability far below 1e-100. The call then returns
// BIX_ERROR_BADARGS, r written up to the variate before.
constexpr int kMaxRefusals = 1 << 16;

// Uniforms on [0, 1) in double from the stream, kBlock at most a call. `per_variate` and the
// variates still to come (set by the kernel before each) size the next block: enough for them
// and 16 more, so that a short call draws little and a long one draws whole blocks.
class Uniforms {
  public:
    Uniforms(BixStream *stream, int per_variate) : stream_(stream), per_(per_variate) {}
    void remaining(int variates) { remaining_ = variates; }
    // The next uniform into x; false (status() negative) when the generator failed.
    bool next(double &x) {
        if (at_ == size_ && !refill()) return false;
        x = u_[at_++];
        return true;
    }
    int status() const { return status_; }

  private:
    bool refill() {
        const long long want = static_cast<long long>(per_) * remaining_ + 16;
        size_ = want < kBlock ? static_cast<int>(want) : kBlock;
        at_ = 0;
        status_ = uniforms(stream_, size_, u_, 0.0, 1.0);
        if (status_ < 0) size_ = 0;
        return status_ >= 0;
    }
    BixStream *stream_;
    int per_;
    int remaining_ = 1;
    int at_ = 0, size_ = 0;
    int status_ = BIX_ERROR_OK;
    alignas(64) double u_[kBlock];
};

// Standard normals in double from the Gaussian kernel's both-variates method on the same stream
// (so that they share its pending variate with every other caller), sized as Uniforms.
class Normals {
  public:
    explicit Normals(BixStream *stream) : stream_(stream) {}
    void remaining(int variates) { remaining_ = variates; }
    bool next(double &x) {
        if (at_ == size_ && !refill()) return false;
        x = z_[at_++];
        return true;
    }
    int status() const { return status_; }

  private:
    bool refill() {
        const long long want = static_cast<long long>(remaining_) + 16;
        size_ = want < kBlock ? static_cast<int>(want) : kBlock;
        at_ = 0;
        status_ = gaussian_kernel<double>(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, stream_, size_, z_,
                                          0.0, 1.0);
        if (status_ < 0) size_ = 0;
        return status_ >= 0;
    }
    BixStream *stream_;
    int remaining_ = 1;
    int at_ = 0, size_ = 0;
    int status_ = BIX_ERROR_OK;
    alignas(64) double z_[kBlock];
};

// --- Scalar elementary functions ----------------------------------------------------------
// Plain arithmetic (no fused operations), so the same bits on every class.

// floor(x) without a library call (the SSE2 class has no rounding instruction): through a
// 64-bit conversion below 2^62 in magnitude; larger values, infinities and NaN are whole or
// unordered already and come back as they are.
inline double floor_of(double x) {
    if (!(std::fabs(x) < 0x1p62)) return x;
    const double t = static_cast<double>(static_cast<long long>(x));
    return t > x ? t - 1.0 : t;
}

// ln x: the double logarithm kernel's value path for a positive normal x, -inf for 0 and for the
// subnormals (which no uniform or argument here reaches).
inline double log_of(double x) {
    return x >= 0x1p-1022 ? vecmath::ln_positive_normal(x)
                          : -std::numeric_limits<double>::infinity();
}

// ln(1 + x) for x > -1, accurate for small x: with w = 1 + x rounded, ln w scaled by x / (w - 1)
// makes up for the rounding of w (Goldberg's correction).
inline double log1p_of(double x) {
    const double w = 1.0 + x;
    if (w == 1.0) return x;
    return log_of(w) * (x / (w - 1.0));
}

// e^x, within two units in the last place: x = k ln 2 + t with |t| <= ln 2 / 2 (ln 2 split so
// that k ln2_hi is exact), e^t by its Taylor series to t^13, then 2^k on the exponent. 0 below
// -745, +inf above 709.78.
inline double exp_of(double x) {
    if (!(x > -745.0)) return x != x ? x : 0.0;
    if (x > 709.782712893384) return std::numeric_limits<double>::infinity();
    constexpr double kLog2e = 1.4426950408889634;
    constexpr double kLn2Hi = 0x1.62e42fee00000p-1;
    constexpr double kLn2Lo = 0x1.a39ef35793c76p-33;
    const double k = floor_of(x * kLog2e + 0.5);
    const double t = (x - k * kLn2Hi) - k * kLn2Lo;
    double p = 1.0 / 6227020800.0;  // 1/13!
    constexpr double kInverseFactorials[] = {1.0 / 479001600.0,
                                             1.0 / 39916800.0,
                                             1.0 / 3628800.0,
                                             1.0 / 362880.0,
                                             1.0 / 40320.0,
                                             1.0 / 5040.0,
                                             1.0 / 720.0,
                                             1.0 / 120.0,
                                             1.0 / 24.0,
                                             1.0 / 6.0,
                                             0.5,
                                             1.0,
                                             1.0};
    for (double c : kInverseFactorials) p = p * t + c;
    // 2^k as two factors, each a normal power of two, for k from -1075 to 1024.
    const auto power = [](int e) {
        const uint64_t bits = static_cast<uint64_t>(e + 1023) << 52;
        double y;
        std::memcpy(&y, &bits, sizeof y);
        return y;
    };
    const int e = static_cast<int>(k);
    const int half = e / 2;
    return (p * power(half)) * power(e - half);
}

// --- Factorials ---------------------------------------------------------------------------

// ln k! for 0 <= k < kSmallFactorials, summed once.
constexpr int kSmallFactorials = 32;
inline const double *small_log_factorials() {
    static const auto table = [] {
        struct T {
            double v[kSmallFactorials];
        } t{};
        for (int k = 2; k < kSmallFactorials; ++k) t.v[k] = t.v[k - 1] + log_of(k);
        return t;
    }();
    return table.v;
}

// The remainder of Stirling's series for ln Gamma(x), x >= 32: 1/(12x) - 1/(360x^3) +
// 1/(1260x^5), whose next term is below 1e-14 there.
inline double stirling_rest(double x) {
    const double y = 1.0 / (x * x);
    return (1.0 / 12.0 - y * (1.0 / 360.0 - y * (1.0 / 1260.0))) / x;
}

// ln k! for k >= 0.
inline double log_factorial(double k) {
    if (k < kSmallFactorials) return small_log_factorials()[static_cast<int>(k)];
    const double x = k + 1.0;
    return (x - 0.5) * log_of(x) - x + 0.91893853320467274 + stirling_rest(x);
}

// ln(a! / b!) for whole a, b >= 0, without forming either logarithm when both are large:
// with x = a + 1 and f = b + 1, ln Gamma(x) - ln Gamma(f) =
// (f - 1/2) ln(1 + (x - f)/f) + (x - f)(ln x - 1) + rest(x) - rest(f), whose terms are of the
// size of the result, not of ln a!.
inline double log_factorial_ratio(double a, double b) {
    if (a == b) return 0.0;
    if (a < kSmallFactorials || b < kSmallFactorials) return log_factorial(a) - log_factorial(b);
    const double x = a + 1.0, f = b + 1.0, d = x - f;
    return (f - 0.5) * log1p_of(d / f) + d * (log_of(x) - 1.0) +
           (stirling_rest(x) - stirling_rest(f));
}

// --- Inversion over a cumulative table --------------------------------------------------

// Inversion for a distribution on lo, lo + 1, ..., hi given its first mass f0 > 0 and the ratios
// ratio(x) = f(x + 1) / f(x): the variate is the least x with u < F(x), F the running sums of the
// masses in order. The sums stop at the first x past the mode where a mass no longer changes
// them (below 2^-60 of the sum); the variate is then that x, which takes the mass left over
// (rounding, a few units of 2^-53 at most); a mass that is negative or NaN (parameters outside
// the domain) stops them too. hi is the variate when u reaches no sum before it.
// This is the definition; CdfTable gives the same variates from a table.
template <class Ratio>
double sequential_inverse(double u, double lo, double hi, double f0, Ratio ratio) {
    double f = f0, sum = f0, x = lo;
    if (u < sum) return x;
    while (x < hi) {
        f = f * ratio(x);
        const double next = sum + f;
        x += 1.0;
        if (u < next || !(f >= sum * 0x1p-60)) return x;
        sum = next;
    }
    return x;
}

// sequential_inverse with its sums tabulated to kTable values and a guide table of kGuide cells,
// each pointing at the least x whose sum exceeds the cell's lower end; past the table the sums
// continue term by term as there.
template <class Ratio>
class CdfTable {
  public:
    static constexpr int kTable = 512;
    static constexpr int kGuide = 256;

    CdfTable(double lo, double hi, double f0, Ratio ratio) : lo_(lo), hi_(hi), ratio_(ratio) {
        double f = f0, sum = f0;
        cdf_[0] = sum;
        int k = 0;
        stops_ = lo >= hi;
        while (!stops_ && k + 1 < kTable) {
            f = f * ratio(lo + k);
            const double next = sum + f;
            cdf_[++k] = next;
            stops_ = !(f >= sum * 0x1p-60) || lo + k >= hi;
            sum = next;
        }
        last_ = k;
        f_last_ = f;
        int at = 0;
        for (int j = 0; j < kGuide; ++j) {
            const double edge = static_cast<double>(j) / kGuide;
            while (at < last_ && cdf_[at] <= edge) ++at;
            guide_[j] = at;
        }
    }

    // The variate of the uniform u in [0, 1), as a double (a whole number).
    double sample(double u) const {
        int k = guide_[static_cast<int>(u * kGuide)];
        while (k < last_ && cdf_[k] <= u) ++k;
        if (u < cdf_[k] || stops_) return lo_ + k;
        double f = f_last_, sum = cdf_[last_], x = lo_ + last_;
        while (x < hi_) {
            f = f * ratio_(x);
            const double next = sum + f;
            x += 1.0;
            if (u < next || !(f >= sum * 0x1p-60)) return x;
            sum = next;
        }
        return x;
    }

  private:
    double lo_, hi_;
    Ratio ratio_;
    int last_ = 0;
    double f_last_ = 0;
    bool stops_ = true;  // the table holds the whole sum
    double cdf_[kTable];
    int guide_[kGuide];
};

// --- The ratios f(k) / f(mode) near the mode ------------------------------------------------

// f(k) / f(mode) for |k - mode| <= radius (at most kMaxRadius), as products of the successive
// ratios outward from the mode: up(k) = f(k + 1) / f(k), down(k) = f(k - 1) / f(k), 0 outside
// [lo, hi]. The rejection samplers test a candidate against this value when it has one and
// against the logarithm of the exact ratio otherwise; whether a k is in the table depends only
// on the parameters, so the variates do too.
class RatioTable {
  public:
    static constexpr int kMaxRadius = 2048;

    template <class Up, class Down>
    RatioTable(double mode, double lo, double hi, int radius, Up up, Down down)
        : mode_(mode), radius_(radius < kMaxRadius ? radius : kMaxRadius) {
        double *mid = values_ + kMaxRadius;
        mid[0] = 1.0;
        double f = 1.0;
        for (int j = 1; j <= radius_; ++j) {
            const double k = mode + j;
            f = k <= hi ? f * up(k - 1.0) : 0.0;
            mid[j] = f;
        }
        f = 1.0;
        for (int j = 1; j <= radius_; ++j) {
            const double k = mode - j;
            f = k >= lo ? f * down(k + 1.0) : 0.0;
            mid[-j] = f;
        }
    }
    bool has(double k) const { return k >= mode_ - radius_ && k <= mode_ + radius_; }
    double operator[](double k) const { return values_[kMaxRadius + static_cast<int>(k - mode_)]; }
    int radius() const { return radius_; }

  private:
    double mode_;
    int radius_;
    double values_[2 * kMaxRadius + 1];
};

// The whole number of x, for x well inside the int range.
inline int to_int(double x) {
    return static_cast<int>(x);
}

}  // namespace korb::dist::counting
