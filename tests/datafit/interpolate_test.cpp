// Interpolation: values and derivatives against scipy and exact references (coefficients made by
// scipy and handed in by the caller, orders 2 to 6, halfway knots), every spline the
// construction builds against a plain evaluation, the three result layouts and every site and x
// hint giving the same bits, the single-precision form, edge sites, and every refusal.
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

// Interpolates every derivative below ndorder that `wanted` asks for; returns the status.
template <class F>
int64_t interpolate(DfTask *task, const std::vector<typename F::Real> &s, int64_t sitehint,
                    const std::vector<int64_t> &wanted, std::vector<typename F::Real> *r,
                    int64_t rhint = DF_R_FUNC_SITE_DER, std::vector<int64_t> *cell = nullptr,
                    int64_t nsite = -1) {
    const int64_t type = DF_INTERP_VALUES | (cell != nullptr ? DF_INTERP_CELLS : 0);
    if (nsite < 0) nsite = static_cast<int64_t>(s.size());
    return F::interpolate(task, type, DF_METHOD_STD, nsite, s.data(), sitehint,
                          static_cast<int64_t>(wanted.size()), wanted.data(), r->data(), rhint,
                          cell != nullptr ? cell->data() : nullptr);
}

class InterpolateReference : public ::testing::TestWithParam<EvalReference> {};

// Every derivative at every committed site: within 1e-13 of scipy and within a few units of
// rounding of the exact values, both relative to the size of the terms; the cells written beside
// them are np.searchsorted's.
TEST_P(InterpolateReference, MatchesScipyAndTheExactValues) {
    const EvalReference &r = GetParam();
    std::vector<double> c = r.c;
    const Task task = make_task<DoubleEval>(r.x, r.nx, r.xhint, &c, 1, r.order, r.type);
    const std::vector<double> points =
        r.xhint == DF_X_UNIFORM ? uniform_points(r.x[0], r.x[1], r.nx) : r.x;
    const std::vector<double> knots = knots_of(points, r.type);
    const int64_t nsite = static_cast<int64_t>(r.sites.size());
    std::vector<double> got(nsite * r.order, kNan);
    std::vector<int64_t> cell(nsite, -7);
    ASSERT_EQ(
        interpolate<DoubleEval>(task.get(), r.sites, DF_SITES_ANY, std::vector<int64_t>(r.order, 1),
                                &got, DF_R_FUNC_SITE_DER, &cell),
        DF_STATUS_OK);
    EXPECT_EQ(cell, r.counts);
    for (int64_t i = 0; i < nsite; ++i) {
        for (int q = 0; q < r.order; ++q) {
            const size_t at = i * r.order + q;
            const double scale = plain_derivative(knots, r.c.data(), r.order, q, r.sites[i]).scale;
            const std::string where =
                "site " + std::to_string(r.sites[i]) + " derivative " + std::to_string(q);
            EXPECT_LE(std::fabs(got[at] - r.scipy_values[at]), 1e-13 * scale) << where;
            EXPECT_LE(std::fabs(got[at] - r.exact_values[at]), 1e-15 * r.order * scale) << where;
        }
    }
}

// The single-precision form is the double form on the same (float) data, rounded once, and so
// within float rounding of scipy's values of the spline in double.
TEST_P(InterpolateReference, SinglePrecisionIsTheDoubleResultRounded) {
    const EvalReference &r = GetParam();
    std::vector<float> xf(r.x.begin(), r.x.end()), cf(r.c.begin(), r.c.end()),
        sf(r.sites.begin(), r.sites.end());
    std::vector<double> xd(xf.begin(), xf.end()), cd(cf.begin(), cf.end()),
        sd(sf.begin(), sf.end());
    const Task single = make_task<SingleEval>(xf, r.nx, r.xhint, &cf, 1, r.order, r.type);
    const Task dbl = make_task<DoubleEval>(xd, r.nx, r.xhint, &cd, 1, r.order, r.type);
    const std::vector<int64_t> wanted(r.order, 1);
    std::vector<float> got(sf.size() * r.order);
    std::vector<double> want(sf.size() * r.order);
    ASSERT_EQ(interpolate<SingleEval>(single.get(), sf, DF_SITES_ANY, wanted, &got), DF_STATUS_OK);
    ASSERT_EQ(interpolate<DoubleEval>(dbl.get(), sd, DF_SITES_ANY, wanted, &want), DF_STATUS_OK);
    for (size_t i = 0; i < got.size(); ++i) {
        ASSERT_EQ(got[i], static_cast<float>(want[i])) << "result " << i;
    }
    // Against scipy's values of the spline in double, inside the partition and away from the
    // knots (where rounding the site or a knot to float may change the cell, and a derivative
    // the spline does not keep continuous jumps): the rounding of the coefficients, the site and
    // the knots to float, a few units of float rounding of the terms of this derivative and of
    // the next one times the site's size.
    const std::vector<double> points =
        r.xhint == DF_X_UNIFORM ? uniform_points(r.x[0], r.x[1], r.nx) : r.x;
    const std::vector<double> knots = knots_of(points, r.type);
    const double span = points.back() - points.front();
    for (size_t i = 0; i < r.sites.size(); ++i) {
        const double site = r.sites[i];
        if (!(site >= points.front() && site <= points.back())) continue;
        double nearest = span;
        for (double t : knots) nearest = std::fmin(nearest, std::fabs(site - t));
        if (nearest < 1e-5 * span) continue;
        for (int q = 0; q < r.order; ++q) {
            double bound = plain_derivative(knots, r.c.data(), r.order, q, site).scale;
            if (q + 1 < r.order) {
                bound += plain_derivative(knots, r.c.data(), r.order, q + 1, site).scale *
                         (std::fabs(site) + span);
            }
            EXPECT_LE(std::fabs(got[i * r.order + q] - r.scipy_values[i * r.order + q]),
                      4 * 0x1p-24 * bound)
                << "site " << site << " derivative " << q;
        }
    }
}

// The three layouts hold the same numbers, a subset of derivatives keeps its increasing order,
// and the cells alone (type DF_INTERP_CELLS, no result array) are the same cells.
TEST_P(InterpolateReference, LayoutsAndSubsetsHoldTheSameNumbers) {
    const EvalReference &r = GetParam();
    constexpr int64_t ny = 3;
    std::vector<double> c;
    for (int64_t i = 0; i < ny; ++i) {
        for (double v : r.c) c.push_back(v * static_cast<double>(i + 1));
    }
    const Task task = make_task<DoubleEval>(r.x, r.nx, r.xhint, &c, ny, r.order, r.type);
    const int64_t nsite = static_cast<int64_t>(r.sites.size()), nd = r.order;
    std::vector<double> a(ny * nsite * nd), b(a.size()), d(a.size());
    const std::vector<int64_t> all(r.order, 1);
    ASSERT_EQ(interpolate<DoubleEval>(task.get(), r.sites, 0, all, &a, DF_R_FUNC_SITE_DER),
              DF_STATUS_OK);
    ASSERT_EQ(interpolate<DoubleEval>(task.get(), r.sites, 0, all, &b, DF_R_FUNC_DER_SITE),
              DF_STATUS_OK);
    ASSERT_EQ(interpolate<DoubleEval>(task.get(), r.sites, 0, all, &d, DF_R_SITE_FUNC_DER),
              DF_STATUS_OK);
    for (int64_t i = 0; i < ny; ++i) {
        for (int64_t j = 0; j < nsite; ++j) {
            for (int64_t q = 0; q < nd; ++q) {
                const double v = a[(i * nsite + j) * nd + q];
                ASSERT_EQ(std::bit_cast<uint64_t>(b[(i * nd + q) * nsite + j]),
                          std::bit_cast<uint64_t>(v));
                ASSERT_EQ(std::bit_cast<uint64_t>(d[(j * ny + i) * nd + q]),
                          std::bit_cast<uint64_t>(v));
            }
        }
    }
    // Derivatives 0 and order-1 only, given with a longer dorder of zeros and non-zeros.
    std::vector<int64_t> some(r.order, 0);
    some[0] = 1;
    some[r.order - 1] = -3;
    std::vector<double> two(ny * nsite * 2, kNan);
    ASSERT_EQ(interpolate<DoubleEval>(task.get(), r.sites, 0, some, &two), DF_STATUS_OK);
    for (int64_t i = 0; i < ny * nsite; ++i) {
        ASSERT_EQ(two[2 * i], a[i * nd]);
        ASSERT_EQ(two[2 * i + 1], a[i * nd + nd - 1]);
    }
    // Cells only: r and dorder are not read.
    std::vector<int64_t> cell(nsite, -7);
    ASSERT_EQ(korb_df_kernel_dInterpolate1D(task.get(), DF_INTERP_CELLS, DF_METHOD_STD, nsite,
                                            r.sites.data(), DF_SITES_ANY, 0, nullptr, nullptr, 0,
                                            cell.data()),
              DF_STATUS_OK);
    EXPECT_EQ(cell, r.counts);
}

INSTANTIATE_TEST_SUITE_P(Splines, InterpolateReference, ::testing::ValuesIn(eval_references()),
                         [](const auto &info) {
                             std::string s = info.param.name;
                             for (char &ch : s) {
                                 if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
                             }
                             return s;
                         });

struct Spline {
    const char *name;
    int64_t order, type, bc;
};

const Spline kSplines[] = {
    {"linear", 2, DF_PP_DEFAULT, DF_BC_NONE},
    {"quadratic", 3, DF_PP_DEFAULT, DF_BC_NONE},
    {"subbotin", 3, DF_PP_SUBBOTIN, DF_BC_NOT_A_KNOT},
    {"natural", 4, DF_PP_NATURAL, DF_BC_FREE_END},
    {"periodic", 4, DF_PP_NATURAL, DF_BC_PERIODIC},
    {"hermite", 4, DF_PP_HERMITE, DF_BC_NONE},
    {"bessel", 4, DF_PP_BESSEL, DF_BC_NONE},
    {"akima", 4, DF_PP_AKIMA, DF_BC_NONE},
};

class InterpolateKind : public ::testing::TestWithParam<Spline> {};

// Every spline the construction builds, for three functions, on an uneven and on a uniform
// partition (given by its points and by its ends), at sites across several blocks: the values
// and every derivative agree with a plain evaluation of the coefficients, and every site hint
// and x hint gives the same bits.
TEST_P(InterpolateKind, EvaluatesWhatTheConstructionBuilt) {
    const Spline &k = GetParam();
    constexpr int64_t nx = 150, ny = 3;
    for (bool uniform : {false, true}) {
        const std::vector<double> x =
            uniform ? uniform_points(-4.0, 7.0, nx) : uneven_partition(nx, -4.0, 31);
        std::vector<double> y(nx * ny), d(nx * ny);
        for (int64_t i = 0; i < ny; ++i) {
            for (int64_t j = 0; j < nx; ++j) {
                y[i * nx + j] = std::sin(0.3 * x[j] * static_cast<double>(i + 1));
                d[i * nx + j] = std::cos(0.2 * x[j]);
            }
            y[i * nx + nx - 1] = y[i * nx];  // periodic ends need equal values
        }
        const int64_t ncell = k.type == DF_PP_SUBBOTIN ? nx : nx - 1;
        std::vector<double> c(ncell * k.order * ny);
        DfTask *raw = nullptr;
        ASSERT_EQ(korb_df_kernel_dNewTask1D(&raw, nx, x.data(), DF_X_ANY, ny, y.data(), 0, 0), 0);
        const Task task(raw);
        const double bc[2] = {0.5, -0.25};
        ASSERT_EQ(
            korb_df_kernel_dEditPPSpline1D(raw, k.order, k.type, DF_IC_1ST_DER, d.data(), k.bc,
                                           k.bc == DF_BC_NONE ? nullptr : bc, c.data(), 0),
            DF_STATUS_OK);
        ASSERT_EQ(korb_df_kernel_dConstruct1D(raw, DF_PP_SPLINE, DF_METHOD_STD), DF_STATUS_OK);

        // Evenly placed sites reaching past both ends, as an array and as two ends.
        constexpr int64_t nsite = 1237;
        const double ends[2] = {x[0] - 3.0, x[nx - 1] + 2.0};
        std::vector<double> s(nsite);
        const double h = (ends[1] - ends[0]) / (nsite - 1);
        for (int64_t j = 0; j < nsite; ++j) {
            s[j] = j == 0 ? ends[0] : j == nsite - 1 ? ends[1] : ends[0] + j * h;
        }
        const std::vector<int64_t> all(k.order, 1);
        std::vector<double> want(ny * nsite * k.order);
        ASSERT_EQ(interpolate<DoubleEval>(task.get(), s, DF_SITES_ANY, all, &want), 0);
        const std::vector<double> knots = knots_of(x, k.type);
        for (int64_t i = 0; i < ny; ++i) {
            for (int64_t j = 0; j < nsite; ++j) {
                for (int q = 0; q < k.order; ++q) {
                    const Plain p =
                        plain_derivative(knots, c.data() + i * ncell * k.order, k.order, q, s[j]);
                    ASSERT_LE(std::fabs(want[(i * nsite + j) * k.order + q] - p.v), 1e-14 * p.scale)
                        << k.name << " function " << i << " site " << s[j] << " derivative " << q;
                }
            }
        }
        std::vector<int64_t> want_cells(nsite);
        ASSERT_EQ(korb_df_kernel_dSearchCells1D(raw, DF_METHOD_STD, nsite, s.data(), DF_SITES_ANY,
                                                want_cells.data()),
                  DF_STATUS_OK);
        // Every hint gives the same values and cells; `every` thins the sites out so that
        // sorted ones fall one to a cell or fewer.
        const auto same = [&](int64_t xhint, int64_t sitehint, const std::vector<double> &xs,
                              const std::vector<double> &sites, const char *what,
                              int64_t every = 1) {
            task->x = xs.data();
            task->xHint = xhint;
            std::vector<double> thin;
            for (size_t j = 0; j < sites.size(); j += every) thin.push_back(sites[j]);
            const int64_t n = every == 1 ? nsite : static_cast<int64_t>(thin.size());
            std::vector<double> got(ny * n * k.order, kNan);
            std::vector<int64_t> got_cells(n, -7);
            ASSERT_EQ(interpolate<DoubleEval>(task.get(), thin, sitehint, all, &got,
                                              DF_R_FUNC_SITE_DER, &got_cells, n),
                      DF_STATUS_OK);
            for (int64_t i = 0; i < ny; ++i) {
                for (int64_t j = 0; j < n; ++j) {
                    ASSERT_EQ(got_cells[j], want_cells[j * every]) << what << " site " << j;
                    for (int64_t q = 0; q < k.order; ++q) {
                        ASSERT_EQ(
                            std::bit_cast<uint64_t>(got[(i * n + j) * k.order + q]),
                            std::bit_cast<uint64_t>(want[(i * nsite + j * every) * k.order + q]))
                            << k.name << " " << what << " function " << i << " site " << j;
                    }
                }
            }
        };
        same(DF_X_ANY, DF_SITES_SORTED, x, s, "sorted sites");
        same(DF_X_ANY, DF_SITES_SORTED, x, s, "sparse sorted sites", 37);
        same(DF_X_ANY, DF_SITES_UNIFORM, x, {ends[0], ends[1]}, "uniform sites");
        same(DF_X_NEARLY_UNIFORM, DF_SITES_ANY, x, s, "nearly uniform partition");
        if (uniform) {
            same(DF_X_UNIFORM, DF_SITES_ANY, {x[0], x[nx - 1]}, s, "partition from its ends");
            same(DF_X_UNIFORM, DF_SITES_SORTED, {x[0], x[nx - 1]}, s, "sorted, from its ends");
            same(DF_X_UNIFORM, DF_SITES_UNIFORM, {x[0], x[nx - 1]}, {ends[0], ends[1]},
                 "both from their ends");
        }
        task->x = x.data();
        task->xHint = DF_X_ANY;
    }
}

INSTANTIATE_TEST_SUITE_P(Splines, InterpolateKind, ::testing::ValuesIn(kSplines),
                         [](const auto &info) { return std::string(info.param.name); });

// Sites at the edges: a NaN site gives NaN and cell 0; beyond the ends the end polynomials go
// on, to the infinities; the polynomials' highest derivative is its constant everywhere.
TEST(Interpolate, EdgeSites) {
    // The cubic 1 + 2 t - t^2 + 0.5 t^3 in each of two cells of width 1, relative to its knot.
    std::vector<double> x = {0.0, 1.0, 2.0};
    std::vector<double> c = {1, 2, -1, 0.5, 2.5, 2.5, 0.5, 0.5};
    const Task task = make_task<DoubleEval>(x, 3, DF_X_ANY, &c, 1, 4, DF_PP_NATURAL);
    const std::vector<double> s = {kNan, -kInf, kInf, -2.0, 5.0, 1.0, 2.0, 0.0};
    std::vector<double> r(s.size() * 4);
    std::vector<int64_t> cell(s.size());
    ASSERT_EQ(interpolate<DoubleEval>(task.get(), s, DF_SITES_ANY, {1, 1, 1, 1}, &r,
                                      DF_R_FUNC_SITE_DER, &cell),
              DF_STATUS_OK);
    EXPECT_EQ(cell, (std::vector<int64_t>{0, 0, 3, 0, 3, 2, 3, 1}));
    for (int q = 0; q < 4; ++q) EXPECT_TRUE(std::isnan(r[q])) << q;
    EXPECT_EQ(r[4], -kInf);  // 0.5 t^3 leads
    EXPECT_EQ(r[8], kInf);
    EXPECT_EQ(r[4 * 1 + 3], 3.0);  // the third derivative is 6 c3 everywhere
    EXPECT_EQ(r[4 * 2 + 3], 3.0);
    // t = -2 in the first cell: 1 - 4 - 4 - 4; t = 4 in the second: 2.5 + 10 + 8 + 32.
    EXPECT_EQ(r[4 * 3], -11.0);
    EXPECT_EQ(r[4 * 4], 52.5);
    EXPECT_EQ(r[4 * 4 + 1], 2.5 + 2 * 0.5 * 4 + 3 * 0.5 * 16);
    // On the middle point the second cell starts; the last point ends the last cell.
    EXPECT_EQ(r[4 * 5], 2.5);
    EXPECT_EQ(r[4 * 6], 2.5 + 2.5 + 0.5 + 0.5);
    EXPECT_EQ(r[4 * 7], 1.0);
}

// Coefficient blocks given per function with EditIdxPtr, on a partition of one cell.
TEST(Interpolate, PerFunctionBlocks) {
    std::vector<double> x = {1.0, 3.0};
    std::vector<double> f0 = {1.0, 2.0}, f1 = {-4.0, 0.5};
    DfTask *raw = nullptr;
    ASSERT_EQ(korb_df_kernel_dNewTask1D(&raw, 2, x.data(), 0, 0, nullptr, 0, 0), 0);
    const Task task(raw);
    korb_df_kernel_iEditVal(raw, DF_VAL_NY, 2);
    ASSERT_EQ(korb_df_kernel_dEditPPSpline1D(raw, 2, 0, 0, nullptr, 0, nullptr, f1.data(),
                                             DF_HINT_PER_FUNCTION),
              0);
    std::vector<double> r(4);
    EXPECT_EQ(interpolate<DoubleEval>(raw, {2.0, 5.0}, 0, {1}, &r), DF_ERROR_NULL_COEFF);
    ASSERT_EQ(korb_df_kernel_dEditIdxPtr(raw, DF_PTR_COEFF, 1, f0.data()), 0);
    ASSERT_EQ(interpolate<DoubleEval>(raw, {2.0, 5.0}, 0, {1}, &r), DF_STATUS_OK);
    EXPECT_EQ(r, (std::vector<double>{-3.5, -2.0, 3.0, 9.0}));
}

// Each refusal returns its code and writes neither results nor cells.
TEST(Interpolate, RefusesWithItsCodeAndWritesNothing) {
    std::vector<double> x = {0, 1, 2, 3};
    std::vector<double> c(12, 1.0);
    const Task task = make_task<DoubleEval>(x, 4, DF_X_ANY, &c, 1, 4, DF_PP_NATURAL);
    DfTask *t = task.get();
    const double s[2] = {0.5, 1.5};
    const int64_t all[4] = {1, 1, 1, 1};
    double r[8];
    int64_t cell[2];
    const auto check = [&](int64_t want, const char *what, auto &&call) {
        std::fill(r, r + 8, -7.0);
        std::fill(cell, cell + 2, -7);
        EXPECT_EQ(call(), want) << what;
        for (double v : r) EXPECT_EQ(v, -7.0) << what;
        for (int64_t v : cell) EXPECT_EQ(v, -7) << what;
    };
    const auto call = [&](DfTask *task, int64_t type, int64_t method, int64_t nsite,
                          const double *site, int64_t sitehint, int64_t ndorder,
                          const int64_t *dorder, double *res, int64_t rhint, int64_t *cells) {
        return [=] {
            return korb_df_kernel_dInterpolate1D(task, type, method, nsite, site, sitehint, ndorder,
                                                 dorder, res, rhint, cells);
        };
    };
    check(DF_ERROR_NULL_TASK, "task", call(nullptr, 3, 0, 2, s, 0, 4, all, r, 0, cell));
    for (int64_t type : {0, 4, 5, 7, -1}) {
        check(DF_ERROR_BAD_INTERP_TYPE, "type", call(t, type, 0, 2, s, 0, 4, all, r, 0, cell));
    }
    check(DF_ERROR_BAD_METHOD, "method", call(t, 3, 1, 2, s, 0, 4, all, r, 0, cell));
    check(DF_ERROR_BAD_NSITE, "nsite", call(t, 3, 0, -1, s, 0, 4, all, r, 0, cell));
    check(DF_ERROR_NULL_SITE, "site", call(t, 3, 0, 2, nullptr, 0, 4, all, r, 0, cell));
    check(DF_ERROR_BAD_SITE_HINT, "site hint", call(t, 3, 0, 2, s, 2, 4, all, r, 0, cell));
    check(DF_ERROR_BAD_NDORDER, "ndorder 0", call(t, 3, 0, 2, s, 0, 0, all, r, 0, cell));
    check(DF_ERROR_BAD_NDORDER, "ndorder 5", call(t, 3, 0, 2, s, 0, 5, all, r, 0, cell));
    check(DF_ERROR_NULL_DORDER, "dorder", call(t, 3, 0, 2, s, 0, 4, nullptr, r, 0, cell));
    check(DF_ERROR_NULL_RESULT, "r", call(t, 3, 0, 2, s, 0, 4, all, nullptr, 0, cell));
    for (int64_t rhint : {3, -1, 16}) {
        check(DF_ERROR_BAD_RESULT_HINT, "rhint", call(t, 3, 0, 2, s, 0, 4, all, r, rhint, cell));
    }
    check(DF_ERROR_NULL_CELL, "cell", call(t, 3, 0, 2, s, 0, 4, all, r, 0, nullptr));
    // Values only need no cell array, cells only no result array nor a model.
    t->splineOrder = 0;
    check(DF_ERROR_BAD_SPLINE_ORDER, "order", call(t, 1, 0, 2, s, 0, 4, all, r, 0, nullptr));
    t->splineOrder = 4;
    t->splineType = 6;
    check(DF_ERROR_BAD_SPLINE_TYPE, "type 6", call(t, 1, 0, 2, s, 0, 4, all, r, 0, nullptr));
    t->splineType = DF_PP_NATURAL;
    t->nx = 1;
    check(DF_ERROR_BAD_NX, "nx", call(t, 1, 0, 2, s, 0, 4, all, r, 0, nullptr));
    t->nx = 4;
    t->xHint = 5;
    check(DF_ERROR_BAD_XHINT, "x hint", call(t, 2, 0, 2, s, 0, 0, nullptr, nullptr, 0, cell));
    t->xHint = DF_X_ANY;
    t->ny = 2;  // more functions than the coefficient array was built for
    check(DF_ERROR_NULL_COEFF, "coefficients", call(t, 1, 0, 2, s, 0, 4, all, r, 0, nullptr));
    t->ny = 0;
    check(DF_ERROR_BAD_NY, "ny", call(t, 1, 0, 2, s, 0, 4, all, r, 0, nullptr));
    t->ny = 1;
    // So many sites that their results could not be indexed.
    check(DF_ERROR_BAD_NSITE, "too many results",
          call(t, 1, 0, int64_t{1} << 61, s, 0, 4, all, r, 0, nullptr));
    // Nothing to do: no site, or no derivative asked for.
    EXPECT_EQ(korb_df_kernel_dInterpolate1D(t, 3, 0, 0, nullptr, 0, 4, all, nullptr, 0, nullptr),
              DF_STATUS_OK);
    const int64_t none[4] = {0, 0, 0, 0};
    check(DF_STATUS_OK, "no derivative", call(t, 1, 0, 2, s, 0, 4, none, r, 0, nullptr));
    // The single-precision form makes the same checks.
    const float sf[2] = {0.5f, 1.5f};
    float rf[8];
    EXPECT_EQ(korb_df_kernel_sInterpolate1D(t, 3, 0, 2, sf, 0, 5, all, rf, 0, cell),
              DF_ERROR_BAD_NDORDER);
}

}  // namespace
}  // namespace korb::test
