// Integration: against scipy and exact references, additivity over adjacent intervals, exact
// negation when the limits swap, the same bits whatever the limit hints, layout and grouping of
// functions, the single-precision form, allocation failures and every refusal.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "eval_test.h"
#include "korb/kernel/df.h"

namespace korb::test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// The size of what an integral from l to r sums: the magnitudes of the antiderivatives' terms at
// both ends of every piece of a cell it covers. Rounding is measured against it.
double integral_scale(const std::vector<double> &knots, const double *c, int64_t order, double l,
                      double r) {
    if (l > r) std::swap(l, r);
    const int64_t ncell = static_cast<int64_t>(knots.size()) - 1;
    auto cell = [&](double s) {
        const int64_t j = std::upper_bound(knots.begin(), knots.end(), s) - knots.begin() - 1;
        return std::clamp<int64_t>(j, 0, ncell - 1);
    };
    double scale = 0;
    for (int64_t j = cell(l); j <= cell(r); ++j) {
        const double lo = j == cell(l) ? l - knots[j] : 0.0;
        const double hi = j == cell(r) ? r - knots[j] : knots[j + 1] - knots[j];
        for (int64_t m = 0; m < order; ++m) {
            const double p = static_cast<double>(m + 1);
            scale += std::fabs(c[j * order + m]) *
                     (std::pow(std::fabs(lo), p) + std::pow(std::fabs(hi), p)) / p;
        }
    }
    return scale;
}

template <class F>
int64_t integrate(DfTask *task, const std::vector<typename F::Real> &l, int64_t lhint,
                  const std::vector<typename F::Real> &r, int64_t rhint_lim,
                  std::vector<typename F::Real> *out, int64_t nlim,
                  int64_t rhint = DF_R_FUNC_SITE_DER) {
    return F::integrate(task, DF_METHOD_STD, nlim, l.data(), lhint, r.data(), rhint_lim,
                        out->data(), rhint);
}

class IntegrateReference : public ::testing::TestWithParam<EvalReference> {};

TEST_P(IntegrateReference, MatchesScipyAndTheExactIntegrals) {
    const EvalReference &r = GetParam();
    std::vector<double> c = r.c;
    const Task task = make_task<DoubleEval>(r.x, r.nx, r.xhint, &c, 1, r.order, r.type);
    const std::vector<double> points =
        r.xhint == DF_X_UNIFORM ? uniform_points(r.x[0], r.x[1], r.nx) : r.x;
    const std::vector<double> knots = knots_of(points, r.type);
    const int64_t n = static_cast<int64_t>(r.llim.size());
    std::vector<double> got(n, kNan);
    ASSERT_EQ(integrate<DoubleEval>(task.get(), r.llim, 0, r.rlim, 0, &got, n), DF_STATUS_OK);
    for (int64_t k = 0; k < n; ++k) {
        const double scale = integral_scale(knots, r.c.data(), r.order, r.llim[k], r.rlim[k]);
        const std::string where =
            "from " + std::to_string(r.llim[k]) + " to " + std::to_string(r.rlim[k]);
        EXPECT_LE(std::fabs(got[k] - r.scipy_integrals[k]), 1e-13 * scale) << where;
        EXPECT_LE(std::fabs(got[k] - r.exact_integrals[k]), 1e-15 * r.order * scale) << where;
    }
}

// The single-precision form is the double form on the same (float) data, rounded once, and so
// within float rounding of scipy's integrals in double.
TEST_P(IntegrateReference, SinglePrecisionIsTheDoubleResultRounded) {
    const EvalReference &r = GetParam();
    std::vector<float> xf(r.x.begin(), r.x.end()), cf(r.c.begin(), r.c.end()),
        lf(r.llim.begin(), r.llim.end()), rf(r.rlim.begin(), r.rlim.end());
    std::vector<double> xd(xf.begin(), xf.end()), cd(cf.begin(), cf.end()),
        ld(lf.begin(), lf.end()), rd(rf.begin(), rf.end());
    const Task single = make_task<SingleEval>(xf, r.nx, r.xhint, &cf, 1, r.order, r.type);
    const Task dbl = make_task<DoubleEval>(xd, r.nx, r.xhint, &cd, 1, r.order, r.type);
    const int64_t n = static_cast<int64_t>(lf.size());
    std::vector<float> got(n);
    std::vector<double> want(n);
    ASSERT_EQ(integrate<SingleEval>(single.get(), lf, 0, rf, 0, &got, n), DF_STATUS_OK);
    ASSERT_EQ(integrate<DoubleEval>(dbl.get(), ld, 0, rd, 0, &want, n), DF_STATUS_OK);
    for (int64_t k = 0; k < n; ++k) EXPECT_EQ(got[k], static_cast<float>(want[k])) << k;
    // Against scipy's integrals of the spline in double: float rounding of the terms, and of
    // each limit times the spline's size there.
    const std::vector<double> points =
        r.xhint == DF_X_UNIFORM ? uniform_points(r.x[0], r.x[1], r.nx) : r.x;
    const std::vector<double> knots = knots_of(points, r.type);
    for (int64_t k = 0; k < n; ++k) {
        const double l = r.llim[k], u = r.rlim[k];
        const double bound =
            integral_scale(knots, r.c.data(), r.order, l, u) +
            plain_derivative(knots, r.c.data(), r.order, 0, l).scale * std::fabs(l) +
            plain_derivative(knots, r.c.data(), r.order, 0, u).scale * std::fabs(u);
        EXPECT_LE(std::fabs(got[k] - r.scipy_integrals[k]), 4 * 0x1p-24 * bound)
            << "from " << l << " to " << u;
    }
}

INSTANTIATE_TEST_SUITE_P(Splines, IntegrateReference, ::testing::ValuesIn(eval_references()),
                         [](const auto &info) {
                             std::string s = info.param.name;
                             for (char &ch : s) {
                                 if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
                             }
                             return s;
                         });

// A natural cubic spline of three functions on 300 points, intervals across several blocks and
// reaching past the ends.
class IntegrateSpline : public ::testing::Test {
  protected:
    static constexpr int64_t nx = 300, ny = 3;
    std::vector<double> x = uneven_partition(nx, -5.0, 41), y, c;
    Task task;

    void SetUp() override {
        for (int64_t i = 0; i < ny; ++i) {
            for (int64_t j = 0; j < nx; ++j) {
                y.push_back(std::cos(0.37 * x[j] * static_cast<double>(i + 1)) + 0.5 * i);
            }
        }
        c.assign(4 * (nx - 1) * ny, 0.0);
        DfTask *raw = nullptr;
        ASSERT_EQ(korb_df_kernel_dNewTask1D(&raw, nx, x.data(), 0, ny, y.data(), 0, 0), 0);
        task.reset(raw);
        static const double unread[2] = {0, 0};  // a free end reads no values, but takes some
        ASSERT_EQ(korb_df_kernel_dEditPPSpline1D(raw, 4, DF_PP_NATURAL, 0, nullptr, DF_BC_FREE_END,
                                                 unread, c.data(), 0),
                  0);
        ASSERT_EQ(korb_df_kernel_dConstruct1D(raw, DF_PP_SPLINE, DF_METHOD_STD), 0);
    }

    std::vector<double> limits(int64_t n, uint64_t seed) const {
        Lcg g(seed);
        const double a = x.front() - 10.0, w = x.back() - x.front() + 20.0;
        std::vector<double> v(n);
        for (double &s : v) s = a + w * g.next();
        return v;
    }
};

// Integrals over [a, b] and [b, c] add up to the one over [a, c], to rounding of the terms;
// swapping the limits negates the result exactly.
TEST_F(IntegrateSpline, AdditiveAndAntisymmetric) {
    constexpr int64_t n = 1000;
    std::vector<double> a = limits(n, 1), b = limits(n, 2), cc = limits(n, 3);
    for (int64_t k = 0; k < n; ++k) {
        if (a[k] > b[k]) std::swap(a[k], b[k]);
        if (b[k] > cc[k]) std::swap(b[k], cc[k]);
        if (a[k] > b[k]) std::swap(a[k], b[k]);
    }
    a[0] = b[0] = cc[0] = x[7];  // an interval of no width, and adjacent intervals on a point
    b[1] = x[100];
    std::vector<double> ab(ny * n), bc(ny * n), ac(ny * n), ba(ny * n);
    ASSERT_EQ(integrate<DoubleEval>(task.get(), a, 0, b, 0, &ab, n), 0);
    ASSERT_EQ(integrate<DoubleEval>(task.get(), b, 0, cc, 0, &bc, n), 0);
    ASSERT_EQ(integrate<DoubleEval>(task.get(), a, 0, cc, 0, &ac, n), 0);
    ASSERT_EQ(integrate<DoubleEval>(task.get(), b, 0, a, 0, &ba, n), 0);
    for (int64_t i = 0; i < ny; ++i) {
        const double *ci = c.data() + i * 4 * (nx - 1);
        for (int64_t k = 0; k < n; ++k) {
            const int64_t at = i * n + k;
            const double scale = integral_scale(x, ci, 4, a[k], cc[k]);
            ASSERT_LE(std::fabs(ab[at] + bc[at] - ac[at]), 1e-14 * scale) << "interval " << k;
            ASSERT_EQ(ba[at], -ab[at]);  // exactly (0 and -0 alike)
        }
    }
    EXPECT_EQ(ab[0], 0.0);
}

// Sorted and evenly placed limits, and the limit-major layout, give the same bits as the plain
// call.
TEST_F(IntegrateSpline, HintsAndLayoutsGiveTheSameBits) {
    constexpr int64_t n = 700;
    const double ends_l[2] = {x.front() - 3.0, x.back() + 1.0};
    const double ends_r[2] = {x.front() + 2.0, x.back() - 4.0};
    std::vector<double> l(n), r(n);
    const double hl = (ends_l[1] - ends_l[0]) / (n - 1), hr = (ends_r[1] - ends_r[0]) / (n - 1);
    for (int64_t k = 0; k < n; ++k) {
        l[k] = k == 0 ? ends_l[0] : k == n - 1 ? ends_l[1] : ends_l[0] + k * hl;
        r[k] = k == 0 ? ends_r[0] : k == n - 1 ? ends_r[1] : ends_r[0] + k * hr;
    }
    std::vector<double> want(ny * n), got(ny * n);
    ASSERT_EQ(integrate<DoubleEval>(task.get(), l, 0, r, 0, &want, n), 0);
    const std::vector<double> el(ends_l, ends_l + 2), er(ends_r, ends_r + 2);
    const auto same = [&](const char *what) {
        for (size_t k = 0; k < want.size(); ++k) {
            ASSERT_EQ(std::bit_cast<uint64_t>(got[k]), std::bit_cast<uint64_t>(want[k]))
                << what << " " << k;
        }
    };
    ASSERT_EQ(integrate<DoubleEval>(task.get(), l, DF_SITES_SORTED, r, DF_SITES_SORTED, &got, n),
              0);
    same("sorted");
    ASSERT_EQ(
        integrate<DoubleEval>(task.get(), el, DF_SITES_UNIFORM, er, DF_SITES_UNIFORM, &got, n), 0);
    same("uniform");
    ASSERT_EQ(integrate<DoubleEval>(task.get(), el, DF_SITES_UNIFORM, r, DF_SITES_ANY, &got, n), 0);
    same("mixed");
    std::vector<double> limit_major(ny * n);
    ASSERT_EQ(integrate<DoubleEval>(task.get(), l, 0, r, 0, &limit_major, n, DF_R_SITE_FUNC_DER),
              0);
    for (int64_t i = 0; i < ny; ++i) {
        for (int64_t k = 0; k < n; ++k) got[i * n + k] = limit_major[k * ny + i];
    }
    same("limit-major");
}

// Limits at the edges: NaN gives NaN, infinite limits the end polynomials' infinite integrals.
TEST_F(IntegrateSpline, EdgeLimits) {
    const std::vector<double> l = {kNan, 0.0, -kInf, x[3]}, r = {0.0, kNan, x[3], x[3]};
    std::vector<double> got(ny * 4);
    ASSERT_EQ(integrate<DoubleEval>(task.get(), l, 0, r, 0, &got, 4), 0);
    for (int64_t i = 0; i < ny; ++i) {
        EXPECT_TRUE(std::isnan(got[i * 4])) << i;
        EXPECT_TRUE(std::isnan(got[i * 4 + 1])) << i;
        EXPECT_TRUE(std::isinf(got[i * 4 + 2]) || std::isnan(got[i * 4 + 2])) << i;
        EXPECT_EQ(got[i * 4 + 3], 0.0) << i;
    }
}

// The linear spline's integral over the whole partition is the trapezoidal sum of its values.
TEST(Integrate, LinearSplineIsTheTrapezoidalSum) {
    const std::vector<double> x = uneven_partition(1000, 2.0, 77);
    std::vector<double> y(1000), c(2 * 999);
    for (int64_t j = 0; j < 1000; ++j) y[j] = std::sin(x[j]) + 2.0;
    DfTask *raw = nullptr;
    ASSERT_EQ(korb_df_kernel_dNewTask1D(&raw, 1000, x.data(), 0, 1, y.data(), 0, 0), 0);
    const Task task(raw);
    ASSERT_EQ(korb_df_kernel_dEditPPSpline1D(raw, 2, 0, 0, nullptr, 0, nullptr, c.data(), 0), 0);
    ASSERT_EQ(korb_df_kernel_dConstruct1D(raw, DF_PP_SPLINE, DF_METHOD_STD), 0);
    double sum = 0;
    for (int64_t j = 0; j < 999; ++j) sum += 0.5 * (y[j] + y[j + 1]) * (x[j + 1] - x[j]);
    std::vector<double> got(1);
    ASSERT_EQ(integrate<DoubleEval>(raw, {x.front()}, 0, {x.back()}, 0, &got, 1), 0);
    EXPECT_NEAR(got[0], sum, 1e-13 * sum);
}

// More functions than one group of running sums holds: every function's integrals are the bits
// it gets alone.
TEST(Integrate, FunctionsInGroupsGetTheirOwnBits) {
    constexpr int64_t nx = 20001, ny = 30, n = 50;
    const std::vector<double> x = uneven_partition(nx, 0.0, 5);
    Lcg g(8);
    std::vector<double> c(4 * (nx - 1) * ny);
    for (double &v : c) v = 2.0 * g.next() - 1.0;
    std::vector<double> l(n), r(n);
    for (int64_t k = 0; k < n; ++k) {
        l[k] = x.back() * g.next();
        r[k] = x.back() * g.next();
    }
    const Task task = make_task<DoubleEval>(x, nx, DF_X_ANY, &c, ny, 4, DF_PP_NATURAL);
    std::vector<double> all(ny * n);
    ASSERT_EQ(integrate<DoubleEval>(task.get(), l, 0, r, 0, &all, n), 0);
    for (int64_t i : {int64_t{0}, int64_t{13}, int64_t{27}, ny - 1}) {
        std::vector<double> ci(c.begin() + i * 4 * (nx - 1), c.begin() + (i + 1) * 4 * (nx - 1));
        const Task alone = make_task<DoubleEval>(x, nx, DF_X_ANY, &ci, 1, 4, DF_PP_NATURAL);
        std::vector<double> got(n);
        ASSERT_EQ(integrate<DoubleEval>(alone.get(), l, 0, r, 0, &got, n), 0);
        for (int64_t k = 0; k < n; ++k) {
            ASSERT_EQ(std::bit_cast<uint64_t>(got[k]), std::bit_cast<uint64_t>(all[i * n + k]))
                << "function " << i << " interval " << k;
        }
    }
}

// Without work memory nothing is written and nothing is left allocated; the search tree may fail
// on its own without changing a bit.
TEST_F(IntegrateSpline, AllocationFailuresWriteNothing) {
    constexpr int64_t n = 400;
    const std::vector<double> l = limits(n, 4), r = limits(n, 5);
    std::vector<double> want(ny * n), got(ny * n);
    ASSERT_EQ(integrate<DoubleEval>(task.get(), l, 0, r, 0, &want, n), 0);
    const long failures = sweep_allocation_failures([&] {
        std::fill(got.begin(), got.end(), -7.0);
        const int64_t status = integrate<DoubleEval>(task.get(), l, 0, r, 0, &got, n);
        if (status != DF_STATUS_OK) {
            EXPECT_EQ(got, std::vector<double>(ny * n, -7.0));
        } else {
            EXPECT_EQ(got, want);
        }
        return status;
    });
    EXPECT_EQ(failures, 1);
    korb_serv_fail_after(1);  // the running sums allocated, the tree not
    std::fill(got.begin(), got.end(), -7.0);
    EXPECT_EQ(integrate<DoubleEval>(task.get(), l, 0, r, 0, &got, n), DF_STATUS_OK);
    korb_serv_fail_after(-1);
    EXPECT_EQ(got, want);
}

// Each refusal returns its code and writes nothing.
TEST(Integrate, RefusesWithItsCodeAndWritesNothing) {
    std::vector<double> x = {0, 1, 2, 3};
    std::vector<double> c(12, 1.0);
    const Task task = make_task<DoubleEval>(x, 4, DF_X_ANY, &c, 1, 4, DF_PP_NATURAL);
    DfTask *t = task.get();
    const double l[2] = {0.5, 1.5}, r[2] = {1.0, 2.0};
    double out[2];
    const auto check = [&](int64_t want, const char *what, DfTask *task, int64_t method,
                           int64_t nlim, const double *ll, int64_t lh, const double *rl, int64_t rh,
                           double *res, int64_t rhint) {
        out[0] = out[1] = -7.0;
        EXPECT_EQ(korb_df_kernel_dIntegrate1D(task, method, nlim, ll, lh, rl, rh, res, rhint), want)
            << what;
        EXPECT_EQ(out[0], -7.0) << what;
        EXPECT_EQ(out[1], -7.0) << what;
    };
    check(DF_ERROR_NULL_TASK, "task", nullptr, 0, 2, l, 0, r, 0, out, 0);
    check(DF_ERROR_BAD_METHOD, "method", t, 2, 2, l, 0, r, 0, out, 0);
    check(DF_ERROR_BAD_NLIM, "nlim", t, 0, -1, l, 0, r, 0, out, 0);
    check(DF_ERROR_NULL_LLIM, "llim", t, 0, 2, nullptr, 0, r, 0, out, 0);
    check(DF_ERROR_BAD_LLIM_HINT, "llim hint", t, 0, 2, l, 2, r, 0, out, 0);
    check(DF_ERROR_NULL_RLIM, "rlim", t, 0, 2, l, 0, nullptr, 0, out, 0);
    check(DF_ERROR_BAD_RLIM_HINT, "rlim hint", t, 0, 2, l, 0, r, 8, out, 0);
    check(DF_ERROR_NULL_RESULT, "r", t, 0, 2, l, 0, r, 0, nullptr, 0);
    check(DF_ERROR_BAD_RESULT_HINT, "rhint", t, 0, 2, l, 0, r, 0, out, 3);
    t->splineOrder = 0;
    check(DF_ERROR_BAD_SPLINE_ORDER, "order", t, 0, 2, l, 0, r, 0, out, 0);
    t->splineOrder = 4;
    t->splineType = -1;
    check(DF_ERROR_BAD_SPLINE_TYPE, "type", t, 0, 2, l, 0, r, 0, out, 0);
    t->splineType = DF_PP_NATURAL;
    t->x = nullptr;
    check(DF_ERROR_NULL_X, "x", t, 0, 2, l, 0, r, 0, out, 0);
    t->x = x.data();
    t->ny = 0;
    check(DF_ERROR_BAD_NY, "ny", t, 0, 2, l, 0, r, 0, out, 0);
    t->ny = 1;
    check(DF_ERROR_BAD_NLIM, "too many results", t, 0, int64_t{1} << 61, l, 0, r, 0, out, 0);
    EXPECT_EQ(korb_df_kernel_dIntegrate1D(t, 0, 0, nullptr, 0, nullptr, 0, nullptr, 0), 0);
    const float lf[2] = {0.5f, 1.5f};
    float rf[2];
    EXPECT_EQ(korb_df_kernel_sIntegrate1D(t, 0, 2, lf, 0, nullptr, 0, rf, 0), DF_ERROR_NULL_RLIM);
}

}  // namespace
}  // namespace korb::test
