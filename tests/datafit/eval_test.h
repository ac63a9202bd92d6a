// Helpers of the search, interpolation and integration tests: the entry points of both
// precisions, tasks over a piecewise polynomial given by its coefficients, and the references
// every test shares.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "df_test.h"
#include "korb/kernel/df.h"

namespace korb::test {

// The entry points of df_test.h's forms, and those of construction and evaluation.
struct DoubleEval : DoubleForms {
    static constexpr auto construct = korb_df_kernel_dConstruct1D;
    static constexpr auto search = korb_df_kernel_dSearchCells1D;
    static constexpr auto interpolate = korb_df_kernel_dInterpolate1D;
    static constexpr auto integrate = korb_df_kernel_dIntegrate1D;
};

struct SingleEval : SingleForms {
    static constexpr auto construct = korb_df_kernel_sConstruct1D;
    static constexpr auto search = korb_df_kernel_sSearchCells1D;
    static constexpr auto interpolate = korb_df_kernel_sInterpolate1D;
    static constexpr auto integrate = korb_df_kernel_sIntegrate1D;
};

// A piecewise polynomial made by scipy, with scipy's and exact values and integrals
// (tests/data/df_eval.py).
struct EvalReference {
    const char *name;
    int64_t order, type, xhint, nx;
    std::vector<double> x, c, sites;
    std::vector<int64_t> counts;
    std::vector<double> scipy_values, exact_values, llim, rlim, scipy_integrals, exact_integrals;
};

inline const std::vector<EvalReference> &eval_references() {
    static const std::vector<EvalReference> references = {
#include "data/df_eval_ref.inc"
    };
    return references;
}

// A task over the partition x (two ends for x hint 4) and ny functions whose cells hold the
// given coefficients, function after function. Without coefficients the task only has the
// partition.
template <class F>
Task make_task(const std::vector<typename F::Real> &x, int64_t nx, int64_t xhint,
               std::vector<typename F::Real> *c = nullptr, int64_t ny = 1, int64_t order = 4,
               int64_t type = DF_PP_NATURAL) {
    DfTask *t = nullptr;
    EXPECT_EQ(F::new_task(&t, nx, x.data(), xhint, 0, nullptr, DF_NO_HINT, 0), DF_STATUS_OK);
    Task task(t);
    if (c != nullptr) {
        EXPECT_EQ(korb_df_kernel_iEditVal(t, DF_VAL_NY, ny), DF_STATUS_OK);
        EXPECT_EQ(F::edit_pp_spline(t, order, type, 0, nullptr, DF_BC_NONE, nullptr, c->data(),
                                    DF_NO_HINT),
                  DF_STATUS_OK);
    }
    return task;
}

// The points of a partition given by its ends, placed as the library places them.
inline std::vector<double> uniform_points(double a, double b, int64_t nx) {
    std::vector<double> x(nx);
    const double h = (b - a) / static_cast<double>(nx - 1);
    for (int64_t i = 0; i < nx; ++i) x[i] = i == nx - 1 ? b : a + static_cast<double>(i) * h;
    return x;
}

// The number of points at or below s; 0 for NaN.
inline int64_t count_at_or_below(const std::vector<double> &x, double s) {
    if (std::isnan(s)) return 0;
    return std::upper_bound(x.begin(), x.end(), s) - x.begin();
}

// A fixed sequence of doubles uniform on [0, 1).
class Lcg {
  public:
    explicit Lcg(uint64_t seed) : s_(seed) {}
    double next() {
        s_ = s_ * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<double>(s_ >> 11) * 0x1p-53;
    }

  private:
    uint64_t s_;
};

// An increasing partition of nx points with cell widths from 0.05 to 2.
inline std::vector<double> uneven_partition(int64_t nx, double start, uint64_t seed) {
    Lcg g(seed);
    std::vector<double> x(nx);
    double t = start;
    for (int64_t i = 0; i < nx; ++i) {
        x[i] = t;
        t += 0.05 + 1.95 * g.next();
    }
    return x;
}

// The knots of a spline: the points, or for type 1 x_0, the points halfway between, x_{nx-1}.
inline std::vector<double> knots_of(const std::vector<double> &x, int64_t type) {
    if (type != DF_PP_SUBBOTIN) return x;
    std::vector<double> t = {x[0]};
    for (size_t i = 1; i < x.size(); ++i) t.push_back(0.5 * x[i - 1] + 0.5 * x[i]);
    t.push_back(x.back());
    return t;
}

// Derivative q at s of the piecewise polynomial, summed power by power (not Horner's rule), and
// the sum of the magnitudes of its terms, against which rounding is measured.
struct Plain {
    double v, scale;
};
inline Plain plain_derivative(const std::vector<double> &knots, const double *c, int64_t order,
                              int q, double s) {
    const int64_t ncell = static_cast<int64_t>(knots.size()) - 1;
    int64_t j = std::upper_bound(knots.begin(), knots.end(), s) - knots.begin() - 1;
    j = std::clamp<int64_t>(j, 0, ncell - 1);
    const double t = s - knots[j];
    double v = 0, scale = 0;
    for (int64_t m = q; m < order; ++m) {
        double f = 1;
        for (int64_t p = m; p > m - q; --p) f *= static_cast<double>(p);
        const double term = f * c[j * order + m] * std::pow(t, static_cast<double>(m - q));
        v += term;
        scale += std::fabs(term);
    }
    return {v, scale};
}

}  // namespace korb::test
