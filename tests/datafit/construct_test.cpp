// Spline construction: coefficients against scipy and against exact rational solutions, the
// defining properties of each spline (interpolation, continuity, periodic ends, reproduction of
// polynomials), every layout of the values and coefficients, the single-precision form, and
// every refusal with nothing written.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "df_test.h"
#include "korb/kernel/df.h"

namespace korb::test {
namespace {

struct Reference {
    const char *name;
    int64_t order, type, bc;
    double bcv[2];
    int64_t nx;
    std::vector<double> x, y, ic, c;
};

const Reference kReferences[] = {
#include "data/df_splines_ref.inc"
};

// One spline the kernel builds: order, type, boundary condition and its values.
struct Kind {
    const char *name;
    int64_t order, type, bc;
    int smoothness;  // derivatives continuous at the knots
};

const Kind kKinds[] = {
    {"linear", 2, DF_PP_DEFAULT, DF_BC_NONE, 0},
    {"quadratic", 3, DF_PP_DEFAULT, DF_BC_NONE, 1},
    {"quadratic_d1", 3, DF_PP_DEFAULT, DF_BC_VALUES, 1},
    {"quadratic_d2", 3, DF_PP_DEFAULT, DF_BC_VALUES | DF_BC_2ND_LEFT, 1},
    {"subbotin_nak", 3, DF_PP_SUBBOTIN, DF_BC_NOT_A_KNOT, 1},
    {"subbotin_free", 3, DF_PP_SUBBOTIN, DF_BC_FREE_END, 1},
    {"subbotin_d1d2", 3, DF_PP_SUBBOTIN, DF_BC_VALUES | DF_BC_2ND_RIGHT, 1},
    {"subbotin_periodic", 3, DF_PP_SUBBOTIN, DF_BC_PERIODIC, 1},
    {"natural_nak", 4, DF_PP_NATURAL, DF_BC_NOT_A_KNOT, 2},
    {"natural_free", 4, DF_PP_NATURAL, DF_BC_FREE_END, 2},
    {"natural_d1", 4, DF_PP_NATURAL, DF_BC_VALUES, 2},
    {"natural_d2d1", 4, DF_PP_NATURAL, DF_BC_VALUES | DF_BC_2ND_LEFT, 2},
    {"natural_periodic", 4, DF_PP_NATURAL, DF_BC_PERIODIC, 2},
    {"hermite", 4, DF_PP_HERMITE, DF_BC_NONE, 1},
    {"bessel", 4, DF_PP_BESSEL, DF_BC_NONE, 1},
    {"akima", 4, DF_PP_AKIMA, DF_BC_NONE, 1},
};

bool subbotin(int64_t order, int64_t type) {
    return order == 3 && type == DF_PP_SUBBOTIN;
}

// Left knots of the cells and the right end: the partition, or for Subbotin's quadratic the
// points halfway between, with the two ends.
std::vector<double> knots(const std::vector<double> &x, int64_t order, int64_t type) {
    if (!subbotin(order, type)) return x;
    std::vector<double> t = {x[0]};
    for (size_t i = 1; i < x.size(); ++i) t.push_back((x[i - 1] + x[i]) / 2);
    t.push_back(x.back());
    return t;
}

// Derivative q of a cell's polynomial at offset u, and the sum of the magnitudes of its terms
// (the scale its rounding errors are measured against).
struct Value {
    double v, scale;
};
template <class R>
Value derivative(const R *c, int64_t order, int q, double u) {
    double v = 0, scale = 0;
    for (int64_t k = order - 1; k >= q; --k) {
        double f = 1;
        for (int64_t j = k - q + 1; j <= k; ++j) f *= static_cast<double>(j);
        const double term = f * static_cast<double>(c[k]) * std::pow(u, static_cast<double>(k - q));
        v += term;
        scale += std::fabs(term);
    }
    return {v, scale};
}

// Largest difference of two cells' coefficients, each term weighed by its power of the width,
// relative to the largest such term of the reference: how far apart the two polynomials are over
// the cell, relative to their size there.
double cell_error(const double *a, const double *ref, int64_t order, double width) {
    double err = 0, size = 0, w = 1;
    for (int64_t k = 0; k < order; ++k, w *= width) {
        err = std::fmax(err, std::fabs(a[k] - ref[k]) * w);
        size = std::fmax(size, std::fabs(ref[k]) * w);
    }
    return size == 0 ? err : err / size;
}

// A jump of the q-th derivative at a knot, as a change of values across the narrower of the two
// cells (jump w^q), relative to the size of the two polynomials over their cells: continuity to
// rounding in the terms the spline is made of, whatever the ratio of the widths.
double jump_size(double jump, int q, const double *a, const double *b, int64_t order, double wa,
                 double wb) {
    double size = 0, pa = 1, pb = 1;
    for (int64_t k = 0; k < order; ++k, pa *= wa, pb *= wb) {
        size = std::fmax(size, std::fmax(std::fabs(a[k]) * pa, std::fabs(b[k]) * pb));
    }
    return std::fabs(jump) * std::pow(std::fmin(wa, wb), q) / size;
}

// A task over caller data in the precision of F, built through the editors.
template <class F>
struct Fixture {
    using Real = typename F::Real;
    std::vector<Real> x, y, ic, bc, c;
    int64_t nx = 0, ny = 1, xhint = DF_NO_HINT, yhint = DF_NO_HINT, chint = DF_NO_HINT;
    Task task;

    int64_t cells(int64_t order, int64_t type) const { return subbotin(order, type) ? nx : nx - 1; }

    // Makes the task for spline `k`; the coefficient block is filled with a sentinel.
    void make(int64_t order, int64_t type, int64_t bc_type) {
        DfTask *t = nullptr;
        ASSERT_EQ(F::new_task(&t, nx, x.data(), xhint, ny, y.data(), yhint, 0), DF_STATUS_OK);
        task.reset(t);
        c.assign(static_cast<size_t>(cells(order, type) * order * ny), Real(-777));
        if (bc.empty()) bc = {Real(0.5), Real(-1.25)};
        if (ic.empty()) ic.assign(static_cast<size_t>(nx * ny), Real(0));
        ASSERT_EQ(F::edit_pp_spline(t, order, type, DF_IC_1ST_DER, ic.data(), bc_type,
                                    bc_type == DF_BC_NONE ? nullptr : bc.data(), c.data(), chint),
                  DF_STATUS_OK);
    }

    int64_t construct() const { return F::construct(task.get(), DF_PP_SPLINE, DF_METHOD_STD); }
};

struct DoubleFit : DoubleForms {
    static constexpr auto construct = korb_df_kernel_dConstruct1D;
};
struct SingleFit : SingleForms {
    static constexpr auto construct = korb_df_kernel_sConstruct1D;
};

// An adversarial partition: cell widths spread over ten orders of magnitude, with clusters.
std::vector<double> adversarial_partition(int64_t nx, uint64_t seed) {
    std::vector<double> x(nx);
    double t = -3.0;
    for (int64_t i = 0; i < nx; ++i) {
        x[i] = t;
        seed = seed * 6364136223846793005ull + 1442695040888963407ull;
        const double u = static_cast<double>(seed >> 11) * 0x1p-53;
        t += std::pow(10.0, 10.0 * u - 5.0);
    }
    return x;
}

std::vector<double> wavy_values(int64_t nx, int64_t ny, bool periodic) {
    std::vector<double> y(static_cast<size_t>(nx * ny));
    for (int64_t i = 0; i < ny; ++i) {
        for (int64_t j = 0; j < nx; ++j) {
            y[i * nx + j] = std::sin(0.7 * static_cast<double>(j * (i + 1))) + 0.1 * i;
        }
        if (periodic) y[i * nx + nx - 1] = y[i * nx];
    }
    return y;
}

class ReferenceTest : public ::testing::TestWithParam<Reference> {};

TEST_P(ReferenceTest, MatchesItsReference) {
    const Reference &r = GetParam();
    Fixture<DoubleFit> f;
    f.nx = r.nx;
    f.x = r.x;
    f.y = r.y;
    f.bc = {r.bcv[0], r.bcv[1]};
    if (r.type == DF_PP_HERMITE && r.order == 4) f.ic = r.ic;
    f.make(r.order, r.type, r.bc);
    ASSERT_EQ(f.construct(), DF_STATUS_OK);
    const std::vector<double> t = knots(r.x, r.order, r.type);
    ASSERT_EQ(f.c.size(), r.c.size());
    for (int64_t j = 0; j + 1 < static_cast<int64_t>(t.size()); ++j) {
        EXPECT_LT(cell_error(&f.c[j * r.order], &r.c[j * r.order], r.order, t[j + 1] - t[j]), 1e-13)
            << "cell " << j;
    }
}

INSTANTIATE_TEST_SUITE_P(Splines, ReferenceTest, ::testing::ValuesIn(kReferences),
                         [](const auto &info) {
                             std::string s = info.param.name;
                             for (char &ch : s) {
                                 if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
                             }
                             return s;
                         });

class KindTest : public ::testing::TestWithParam<Kind> {};

// Interpolation at every point, continuity of the kind's derivatives at every knot, periodic
// ends, on an adversarial partition, for three functions at once.
TEST_P(KindTest, InterpolatesWithTheContinuityOfItsKind) {
    const Kind &k = GetParam();
    const bool periodic = k.bc == DF_BC_PERIODIC;
    Fixture<DoubleFit> f;
    f.nx = 23;
    f.ny = 3;
    f.x = adversarial_partition(f.nx, 35);
    f.y = wavy_values(f.nx, f.ny, periodic);
    f.ic = wavy_values(f.nx, f.ny, false);
    f.make(k.order, k.type, k.bc);
    ASSERT_EQ(f.construct(), DF_STATUS_OK);
    const std::vector<double> t = knots(f.x, k.order, k.type);
    const int64_t cells = f.cells(k.order, k.type);
    for (int64_t i = 0; i < f.ny; ++i) {
        const double *c = f.c.data() + i * cells * k.order;
        const double *y = f.y.data() + i * f.nx;
        for (int64_t j = 0; j < f.nx; ++j) {
            // Point j lies in cell j (Subbotin), or starts cell j (the last ends cell nx-2).
            int64_t cell = j;
            if (!subbotin(k.order, k.type) && j == f.nx - 1) cell = j - 1;
            const Value v = derivative(c + cell * k.order, k.order, 0, f.x[j] - t[cell]);
            EXPECT_LE(std::fabs(v.v - y[j]), 1e-13 * v.scale) << "function " << i << " point " << j;
        }
        for (int64_t j = 1; j <= cells; ++j) {
            if (j == cells && !periodic) break;
            // At the knot between cells a and b (the last and the first for periodic ends).
            const int64_t ca = j - 1, cb = j == cells ? 0 : j;
            const double wa = t[ca + 1] - t[ca], wb = t[cb + 1] - t[cb];
            for (int q = 0; q <= k.smoothness; ++q) {
                const double jump = derivative(c + ca * k.order, k.order, q, wa).v -
                                    derivative(c + cb * k.order, k.order, q, 0.0).v;
                EXPECT_LE(jump_size(jump, q, c + ca * k.order, c + cb * k.order, k.order, wa, wb),
                          1e-12)
                    << "function " << i << " knot " << j << " derivative " << q;
            }
        }
    }
}

// The single-precision form computes in double from the floats it is given and rounds each
// coefficient once: it equals the double form on the same data, rounded.
TEST_P(KindTest, SinglePrecisionIsTheDoubleResultRounded) {
    const Kind &k = GetParam();
    Fixture<SingleFit> s;
    Fixture<DoubleFit> d;
    s.nx = d.nx = 17;
    s.ny = d.ny = 2;
    const std::vector<double> y = wavy_values(s.nx, s.ny, k.bc == DF_BC_PERIODIC);
    for (int64_t j = 0; j < s.nx; ++j) s.x.push_back(static_cast<float>(0.3 * j + 0.01 * j * j));
    for (double v : y) s.y.push_back(static_cast<float>(v));
    for (int64_t j = 0; j < s.nx * s.ny; ++j) s.ic.push_back(static_cast<float>(std::cos(j)));
    s.bc = {0.5f, -1.25f};
    d.x.assign(s.x.begin(), s.x.end());
    d.y.assign(s.y.begin(), s.y.end());
    d.ic.assign(s.ic.begin(), s.ic.end());
    s.make(k.order, k.type, k.bc);
    d.make(k.order, k.type, k.bc);
    ASSERT_EQ(s.construct(), DF_STATUS_OK);
    ASSERT_EQ(d.construct(), DF_STATUS_OK);
    for (size_t i = 0; i < s.c.size(); ++i) {
        ASSERT_EQ(s.c[i], static_cast<float>(d.c[i])) << "coefficient " << i;
    }
}

// Function-major, point-major and per-function layouts of the values, contiguous and
// per-function coefficient blocks, and many functions solved side by side: every function gets
// the very bits it gets alone.
TEST_P(KindTest, EveryLayoutGivesEachFunctionItsOwnSpline) {
    const Kind &k = GetParam();
    constexpr int64_t nx = 12, ny = 37;
    const std::vector<double> x = adversarial_partition(nx, 9);
    const std::vector<double> y = wavy_values(nx, ny, k.bc == DF_BC_PERIODIC);
    const std::vector<double> ic = wavy_values(nx, ny, false);
    std::vector<std::vector<double>> alone;
    for (int64_t i = 0; i < ny; ++i) {
        Fixture<DoubleFit> f;
        f.nx = nx;
        f.x = x;
        f.y.assign(y.begin() + i * nx, y.begin() + (i + 1) * nx);
        f.ic.assign(ic.begin() + i * nx, ic.begin() + (i + 1) * nx);
        f.make(k.order, k.type, k.bc);
        ASSERT_EQ(f.construct(), DF_STATUS_OK);
        alone.push_back(f.c);
    }
    const size_t per = alone[0].size();

    Fixture<DoubleFit> fm;
    fm.nx = nx;
    fm.ny = ny;
    fm.x = x;
    fm.y = y;
    fm.ic = ic;
    fm.make(k.order, k.type, k.bc);
    ASSERT_EQ(fm.construct(), DF_STATUS_OK);

    Fixture<DoubleFit> pm = {};
    pm.nx = nx;
    pm.ny = ny;
    pm.x = x;
    pm.yhint = DF_HINT_SINGLE_POINTER;
    for (int64_t j = 0; j < nx; ++j) {
        for (int64_t i = 0; i < ny; ++i) pm.y.push_back(y[i * nx + j]);
    }
    pm.ic = ic;
    pm.make(k.order, k.type, k.bc);
    ASSERT_EQ(pm.construct(), DF_STATUS_OK);

    // Per-function values and coefficient blocks, given in reverse order through EditIdxPtr.
    Fixture<DoubleFit> pf;
    pf.nx = nx;
    pf.ny = ny;
    pf.x = x;
    pf.y = y;
    pf.ic = ic;
    pf.yhint = pf.chint = DF_HINT_PER_FUNCTION;
    pf.make(k.order, k.type, k.bc);
    std::vector<double> yr(y.size());
    for (int64_t i = 0; i < ny; ++i) {
        std::copy(y.begin() + i * nx, y.begin() + (i + 1) * nx, yr.begin() + (ny - 1 - i) * nx);
        ASSERT_EQ(korb_df_kernel_dEditIdxPtr(pf.task.get(), DF_PTR_Y, i, &yr[(ny - 1 - i) * nx]),
                  DF_STATUS_OK);
        ASSERT_EQ(
            korb_df_kernel_dEditIdxPtr(pf.task.get(), DF_PTR_COEFF, i, &pf.c[(ny - 1 - i) * per]),
            DF_STATUS_OK);
    }
    ASSERT_EQ(pf.construct(), DF_STATUS_OK);

    for (int64_t i = 0; i < ny; ++i) {
        const std::vector<double> got(fm.c.begin() + i * per, fm.c.begin() + (i + 1) * per);
        EXPECT_EQ(got, alone[i]) << "function-major, function " << i;
        const std::vector<double> got_pm(pm.c.begin() + i * per, pm.c.begin() + (i + 1) * per);
        EXPECT_EQ(got_pm, alone[i]) << "point-major, function " << i;
        const std::vector<double> got_pf(pf.c.begin() + (ny - 1 - i) * per,
                                         pf.c.begin() + (ny - i) * per);
        EXPECT_EQ(got_pf, alone[i]) << "per function, function " << i;
    }
}

// x hint 4: the two ends, and nx points placed evenly between them (the last one exactly at the
// right end); the result is that of the explicit partition.
TEST_P(KindTest, UniformPartitionFromItsEnds) {
    const Kind &k = GetParam();
    Fixture<DoubleFit> u, e;
    u.nx = e.nx = 11;
    u.xhint = 4;
    u.x = {-1.5, 2.25};
    const double h = (2.25 - -1.5) / 10;
    for (int j = 0; j < 10; ++j) e.x.push_back(-1.5 + j * h);
    e.x.push_back(2.25);
    u.y = e.y = wavy_values(11, 1, k.bc == DF_BC_PERIODIC);
    u.ic = e.ic = wavy_values(11, 1, false);
    u.make(k.order, k.type, k.bc);
    e.make(k.order, k.type, k.bc);
    ASSERT_EQ(u.construct(), DF_STATUS_OK);
    ASSERT_EQ(e.construct(), DF_STATUS_OK);
    EXPECT_EQ(u.c, e.c);
}

// Running out of memory at any allocation reports DF_ERROR_MEM_FAILURE, writes nothing and
// leaks nothing.
TEST_P(KindTest, AllocationFailuresWriteNothing) {
    const Kind &k = GetParam();
    Fixture<SingleFit> f;
    f.nx = 9;
    f.ny = 20;
    for (int64_t j = 0; j < f.nx; ++j) f.x.push_back(static_cast<float>(j * j + j));
    for (double v : wavy_values(f.nx, f.ny, k.bc == DF_BC_PERIODIC)) {
        f.y.push_back(static_cast<float>(v));
    }
    f.make(k.order, k.type, k.bc);
    const std::vector<float> before = f.c;
    const long failures = sweep_allocation_failures([&] {
        const int64_t status = f.construct();
        if (status != DF_STATUS_OK) {
            EXPECT_EQ(f.c, before);
        }
        return status;
    });
    EXPECT_GE(failures, 0);
}

INSTANTIATE_TEST_SUITE_P(Splines, KindTest, ::testing::ValuesIn(kKinds),
                         [](const auto &info) { return std::string(info.param.name); });

// Polynomials of a spline's degree come back exactly (to rounding): each cell then holds the
// Taylor coefficients of the polynomial at its left knot.
TEST(Construct, ReproducesPolynomialsOfItsDegree) {
    const std::vector<double> x = {-1.0, -0.3, 0.1, 0.15, 0.9, 2.0, 2.05, 3.5, 4.0};
    const double p[4] = {0.75, -2.0, 0.5, 0.25};  // 0.75 - 2 x + 0.5 x^2 + 0.25 x^3
    auto taylor = [&](int degree, double at, int q) {
        std::vector<double> c(p, p + degree + 1);
        return derivative(c.data(), degree + 1, q, at);
    };
    struct Case {
        Kind k;
        int degree;
        int64_t bc_derivative[2];  // which derivatives the bc values are (0: none)
    };
    const Case cases[] = {
        {{"linear", 2, DF_PP_DEFAULT, DF_BC_NONE, 0}, 1, {0, 0}},
        {{"quadratic", 3, DF_PP_DEFAULT, DF_BC_NONE, 1}, 2, {0, 0}},
        {{"quadratic_d2", 3, DF_PP_DEFAULT, DF_BC_VALUES | DF_BC_2ND_LEFT, 1}, 2, {2, 0}},
        {{"subbotin_nak", 3, DF_PP_SUBBOTIN, DF_BC_NOT_A_KNOT, 1}, 2, {0, 0}},
        {{"subbotin_d1", 3, DF_PP_SUBBOTIN, DF_BC_VALUES, 1}, 2, {1, 1}},
        {{"natural_nak", 4, DF_PP_NATURAL, DF_BC_NOT_A_KNOT, 2}, 3, {0, 0}},
        {{"natural_d1", 4, DF_PP_NATURAL, DF_BC_VALUES, 2}, 3, {1, 1}},
        {{"natural_d2", 4, DF_PP_NATURAL, DF_BC_VALUES | DF_BC_2ND_LEFT | DF_BC_2ND_RIGHT, 2},
         3,
         {2, 2}},
        {{"hermite", 4, DF_PP_HERMITE, DF_BC_NONE, 1}, 3, {0, 0}},
        {{"bessel", 4, DF_PP_BESSEL, DF_BC_NONE, 1}, 2, {0, 0}},
        {{"akima", 4, DF_PP_AKIMA, DF_BC_NONE, 1}, 1, {0, 0}},
    };
    for (const Case &cs : cases) {
        for (int64_t nx : {2, 3, 4, 5, 6, 9}) {
            const Kind &k = cs.k;
            if (k.type == DF_PP_DEFAULT && k.order == 3 && k.bc == DF_BC_NONE && nx < 3) continue;
            if (k.type == DF_PP_SUBBOTIN && k.bc == DF_BC_NOT_A_KNOT && nx < 3) continue;
            // Below 4 points the not-a-knot cubic is the polynomial through them, and Bessel's
            // derivatives need three points to see a parabola.
            if (k.type == DF_PP_NATURAL && k.bc == DF_BC_NOT_A_KNOT && nx < 4) continue;
            if (k.type == DF_PP_BESSEL && nx < 3) continue;
            Fixture<DoubleFit> f;
            f.nx = nx;
            f.x.assign(x.begin(), x.begin() + nx);
            for (double v : f.x) {
                f.y.push_back(taylor(cs.degree, v, 0).v);
                f.ic.push_back(taylor(cs.degree, v, 1).v);
            }
            f.bc = {taylor(cs.degree, f.x[0], static_cast<int>(cs.bc_derivative[0])).v,
                    taylor(cs.degree, f.x[nx - 1], static_cast<int>(cs.bc_derivative[1])).v};
            f.make(k.order, k.type, k.bc);
            ASSERT_EQ(f.construct(), DF_STATUS_OK) << k.name << " nx " << nx;
            const std::vector<double> t = knots(f.x, k.order, k.type);
            for (int64_t j = 0; j + 1 < static_cast<int64_t>(t.size()); ++j) {
                double want[4] = {0, 0, 0, 0};
                double fact = 1;
                for (int q = 0; q <= cs.degree; ++q) {
                    if (q > 0) fact *= q;
                    want[q] = taylor(cs.degree, t[j], q).v / fact;
                }
                EXPECT_LT(cell_error(&f.c[j * k.order], want, k.order, t[j + 1] - t[j]), 1e-14)
                    << k.name << " nx " << nx << " cell " << j;
            }
        }
    }
}

// A refusal returns its code and leaves the coefficients as they were.
TEST(Construct, RefusesWithItsCodeAndWritesNothing) {
    Fixture<DoubleFit> f;
    f.nx = 6;
    f.ny = 2;
    f.x = {0, 1, 2, 3, 4, 5};
    f.y = wavy_values(6, 2, true);
    const auto check = [&](int64_t want, const char *what, int64_t format = DF_PP_SPLINE,
                           int64_t method = DF_METHOD_STD) {
        const std::vector<double> before = f.c;
        EXPECT_EQ(korb_df_kernel_dConstruct1D(f.task.get(), format, method), want) << what;
        EXPECT_EQ(f.c, before) << what;
    };
    EXPECT_EQ(korb_df_kernel_dConstruct1D(nullptr, DF_PP_SPLINE, DF_METHOD_STD),
              DF_ERROR_NULL_TASK);
    EXPECT_EQ(korb_df_kernel_sConstruct1D(nullptr, DF_PP_SPLINE, DF_METHOD_STD),
              DF_ERROR_NULL_TASK);

    f.make(4, DF_PP_NATURAL, DF_BC_FREE_END);
    check(DF_ERROR_BAD_FORMAT, "format 0", 0);
    check(DF_ERROR_BAD_FORMAT, "format 2 before method 1", 2, 1);
    check(DF_ERROR_BAD_METHOD, "method 1", DF_PP_SPLINE, 1);

    const struct {
        int64_t order, type, bc, want;
    } models[] = {
        {5, DF_PP_NATURAL, DF_BC_FREE_END, DF_ERROR_BAD_SPLINE_ORDER},
        {1, DF_PP_DEFAULT, DF_BC_NONE, DF_ERROR_BAD_SPLINE_ORDER},
        {0, DF_PP_DEFAULT, DF_BC_NONE, DF_ERROR_BAD_SPLINE_ORDER},
        {2, DF_PP_SUBBOTIN, DF_BC_NONE, DF_ERROR_BAD_SPLINE_TYPE},
        {3, DF_PP_NATURAL, DF_BC_FREE_END, DF_ERROR_BAD_SPLINE_TYPE},
        {4, DF_PP_DEFAULT, DF_BC_FREE_END, DF_ERROR_BAD_SPLINE_TYPE},
        {4, DF_PP_SUBBOTIN, DF_BC_FREE_END, DF_ERROR_BAD_SPLINE_TYPE},
        {4, DF_PP_NATURAL, DF_BC_NONE, DF_ERROR_BAD_BC_TYPE},
        {4, DF_PP_NATURAL, DF_BC_VALUES | 0x80, DF_ERROR_BAD_BC_TYPE},
        {4, DF_PP_NATURAL, DF_BC_PERIODIC | DF_BC_2ND_LEFT, DF_ERROR_BAD_BC_TYPE},
        {3, DF_PP_SUBBOTIN, DF_BC_NONE, DF_ERROR_BAD_BC_TYPE},
        {4, DF_PP_AKIMA, DF_BC_FREE_END, DF_ERROR_BAD_BC_TYPE},
        {4, DF_PP_BESSEL, DF_BC_VALUES, DF_ERROR_BAD_BC_TYPE},
        {2, DF_PP_DEFAULT, DF_BC_NOT_A_KNOT, DF_ERROR_BAD_BC_TYPE},
        {3, DF_PP_DEFAULT, DF_BC_VALUES | DF_BC_2ND_RIGHT, DF_ERROR_BAD_BC_TYPE},
        {3, DF_PP_DEFAULT, DF_BC_PERIODIC, DF_ERROR_BAD_BC_TYPE},
    };
    for (const auto &m : models) {
        f.make(m.order < 2 ? 4 : m.order, m.type, m.bc);
        korb_df_kernel_iEditVal(f.task.get(), DF_VAL_SPLINE_ORDER, m.order);
        check(m.want, ("order " + std::to_string(m.order) + " type " + std::to_string(m.type) +
                       " bc " + std::to_string(m.bc))
                          .c_str());
    }

    // A condition with values, set without them.
    f.make(4, DF_PP_NATURAL, DF_BC_FREE_END);
    korb_df_kernel_iEditVal(f.task.get(), DF_VAL_BC_TYPE, DF_BC_VALUES);
    f.task->bc = nullptr;
    check(DF_ERROR_NULL_BC, "bc values null");
    // The Hermite cubic: its internal condition.
    f.make(4, DF_PP_HERMITE, DF_BC_NONE);
    korb_df_kernel_iEditVal(f.task.get(), DF_VAL_IC_TYPE, 2);
    check(DF_ERROR_BAD_IC_TYPE, "ic type 2");
    korb_df_kernel_iEditVal(f.task.get(), DF_VAL_IC_TYPE, DF_IC_1ST_DER);
    f.task->ic = nullptr;
    check(DF_ERROR_NULL_IC, "ic null");

    // Too few points for the condition.
    const struct {
        int64_t order, type, bc;
    } small[] = {{4, DF_PP_NATURAL, DF_BC_PERIODIC},
                 {3, DF_PP_SUBBOTIN, DF_BC_PERIODIC},
                 {3, DF_PP_SUBBOTIN, DF_BC_NOT_A_KNOT},
                 {3, DF_PP_DEFAULT, DF_BC_NONE}};
    for (const auto &m : small) {
        f.make(m.order, m.type, m.bc);
        korb_df_kernel_iEditVal(f.task.get(), DF_VAL_NX, 2);
        check(DF_ERROR_TOO_FEW_POINTS, "two points");
    }

    // Partitions that are not strictly increasing and finite.
    const double nan = std::nan(""), inf = INFINITY;
    const std::vector<std::vector<double>> bad = {{0, 1, 1, 3, 4, 5},         {0, 1, 2, 3, 5, 4},
                                                  {0, 1, nan, 3, 4, 5},       {nan, 1, 2, 3, 4, 5},
                                                  {0, 1, 2, 3, 4, inf},       {-inf, 1, 2, 3, 4, 5},
                                                  {-1e308, 0, 1, 2, 3, 1e308}};
    for (const auto &x : bad) {
        f.x = x;
        f.make(4, DF_PP_AKIMA, DF_BC_NONE);
        check(DF_ERROR_BAD_PARTITION, "partition");
    }
    f.x = {0, 1, 2, 3, 4, 5};
    f.make(4, DF_PP_AKIMA, DF_BC_NONE);
    korb_df_kernel_iEditVal(f.task.get(), DF_VAL_XHINT, 4);
    f.x[1] = f.x[0];
    check(DF_ERROR_BAD_PARTITION, "uniform partition of no width");
    f.x[1] = std::nextafter(f.x[0], 1.0);  // six points cannot fit between two neighbours
    check(DF_ERROR_BAD_PARTITION, "uniform partition too narrow for its points");
    f.x[1] = 1;

    // Functions without values or coefficient blocks.
    f.make(4, DF_PP_AKIMA, DF_BC_NONE);
    korb_df_kernel_iEditVal(f.task.get(), DF_VAL_NY, 3);
    check(DF_ERROR_NULL_Y, "more functions than the y array has");
    f.yhint = f.chint = DF_HINT_PER_FUNCTION;
    f.make(4, DF_PP_AKIMA, DF_BC_NONE);
    check(DF_ERROR_NULL_Y, "per-function values not all given");
    korb_df_kernel_dEditIdxPtr(f.task.get(), DF_PTR_Y, 1, f.y.data() + 6);
    check(DF_ERROR_NULL_COEFF, "per-function coefficients not all given");
    f.yhint = f.chint = DF_NO_HINT;
    {
        DfTask *t = nullptr;
        ASSERT_EQ(korb_df_kernel_dNewTask1D(&t, 6, f.x.data(), 0, 0, nullptr, 0, 0), 0);
        Task empty(t);
        EXPECT_EQ(korb_df_kernel_dConstruct1D(t, DF_PP_SPLINE, DF_METHOD_STD),
                  DF_ERROR_BAD_SPLINE_ORDER);
        korb_df_kernel_iEditVal(t, DF_VAL_SPLINE_ORDER, 2);
        EXPECT_EQ(korb_df_kernel_dConstruct1D(t, DF_PP_SPLINE, DF_METHOD_STD), DF_ERROR_BAD_NY);
        korb_df_kernel_iEditVal(t, DF_VAL_NY, 1);
        EXPECT_EQ(korb_df_kernel_dConstruct1D(t, DF_PP_SPLINE, DF_METHOD_STD), DF_ERROR_NULL_Y);
        korb_df_kernel_dEditPtr(t, DF_PTR_Y, f.y.data());
        EXPECT_EQ(korb_df_kernel_dConstruct1D(t, DF_PP_SPLINE, DF_METHOD_STD), DF_ERROR_NULL_COEFF);
    }

    // Periodic values that disagree in the last function: nothing written for the first either.
    for (int64_t order : {3, 4}) {
        f.y = wavy_values(6, 2, true);
        f.y[11] += 1e-15;
        f.make(order, order == 3 ? DF_PP_SUBBOTIN : DF_PP_NATURAL, DF_BC_PERIODIC);
        check(DF_ERROR_BAD_PERIODIC_VAL, "periodic values");
    }
}

}  // namespace
}  // namespace korb::test
