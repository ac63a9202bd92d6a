// Erf, Erfc and CdfNorm: special values and statuses in every slot's kernel, the joins of the
// pieces, the symmetries and the subnormal results. Accuracy against MPFR: accuracy.cpp; the
// vector path against the element path: paths_test.cpp.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "korb/kernel/vm.h"
#include "vecmath/kernel_test.h"

namespace {

using korb::test::bits;
using korb::test::Report;
using korb::test::t_reports;
using Kernels = korb::test::KernelTest;

template <class T>
using Kernel = void (*)(int, const T *, T *);

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr float kInfF = std::numeric_limits<float>::infinity();

template <class T>
struct Special {
    T x;
    T result;
    int status;
};

// Each case alone, then all of them in one call (the reports then carry their indices).
template <class T>
void check_specials(Kernel<T> k, const char *name, const std::vector<Special<T>> &cases) {
    std::vector<T> in, out(cases.size());
    for (const Special<T> &c : cases) {
        T r = T(-1234.5);
        t_reports.clear();
        k(1, &c.x, &r);
        if (std::isnan(c.result)) {
            EXPECT_TRUE(std::isnan(r)) << name << " x=" << c.x;
        } else {
            EXPECT_EQ(bits(r), bits(c.result)) << name << " x=" << c.x << " r=" << r;
        }
        ASSERT_EQ(t_reports.size(), c.status == 0 ? 0u : 1u) << name << " x=" << c.x;
        if (c.status != 0) {
            EXPECT_EQ(t_reports[0].code, c.status) << name << " x=" << c.x;
            EXPECT_EQ(bits(static_cast<T>(t_reports[0].a1)), bits(c.x)) << name;
            EXPECT_EQ(bits(static_cast<T>(t_reports[0].r1)), bits(r)) << name;
        }
        in.push_back(c.x);
    }
    t_reports.clear();
    k(static_cast<int>(in.size()), in.data(), out.data());
    std::vector<int> expected;
    for (std::size_t i = 0; i < cases.size(); ++i) {
        if (cases[i].status != 0) expected.push_back(static_cast<int>(i));
    }
    ASSERT_EQ(t_reports.size(), expected.size()) << name;
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(t_reports[i].index, expected[i]);
}

// The four entry points of a function: HA, the unsuffixed one, LA and EP.
struct Slots {
    Kernel<double> d[3];
    Kernel<float> s[3];
};
const Slots kErf = {{_arqdErf_50, _arqdErf_HA, _arqdErf_26},
                    {_arqsErf_21, _arqsErf_HA, _arqsErf_11}};
const Slots kErfc = {{_arqdErfc_50, _arqdErfc_HA, _arqdErfc_26},
                     {_arqsErfc_21, _arqsErfc_HA, _arqsErfc_11}};
const Slots kNorm = {{_arqdCdfNorm_50, _arqdCdfNorm_HA, _arqdCdfNorm_26},
                     {_arqsCdfNorm_21, _arqsCdfNorm_HA, _arqsCdfNorm_11}};

TEST_F(Kernels, ErfSpecialValuesAndStatuses) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (Kernel<double> k : kErf.d) {
        check_specials<double>(k, "dErf",
                               {{0.0, 0.0, 0},
                                {-0.0, -0.0, 0},
                                {kInf, 1.0, 0},
                                {-kInf, -1.0, 0},
                                {6.0, 1.0, 0},
                                {-1e300, -1.0, 0},
                                {0x1p-1074, 0x1p-1074, ARQ_STATUS_UNDERFLOW},
                                {-0x1p-1030, -0x1.20dd750429b6dp-1030, ARQ_STATUS_UNDERFLOW},
                                {0x1p-1022, 0x1.20dd750429b6dp-1022, 0},
                                {nan, nan, 0}});
    }
    const float nanf = std::numeric_limits<float>::quiet_NaN();
    for (Kernel<float> k : kErf.s) {
        check_specials<float>(k, "sErf",
                              {{0.0f, 0.0f, 0},
                               {-0.0f, -0.0f, 0},
                               {kInfF, 1.0f, 0},
                               {-kInfF, -1.0f, 0},
                               {4.0f, 1.0f, 0},
                               {0x1p-149f, 0x1p-149f, ARQ_STATUS_UNDERFLOW},
                               {0x1p-126f, 0x1.20dd76p-126f, 0},
                               {nanf, nanf, 0}});
    }
}

TEST_F(Kernels, ErfcSpecialValuesAndStatuses) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (Kernel<double> k : kErfc.d) {
        check_specials<double>(k, "dErfc",
                               {{0.0, 1.0, 0},
                                {-0.0, 1.0, 0},
                                {0x1p-1074, 1.0, 0},
                                {kInf, 0.0, 0},
                                {-kInf, 2.0, 0},
                                {-6.0, 2.0, 0},
                                {27.3, 0.0, ARQ_STATUS_UNDERFLOW},
                                {31.99, 0.0, ARQ_STATUS_UNDERFLOW},
                                {35.7, 0.0, ARQ_STATUS_UNDERFLOW},
                                {38.4, 0.0, ARQ_STATUS_UNDERFLOW},
                                {1e300, 0.0, ARQ_STATUS_UNDERFLOW},
                                {nan, nan, 0}});
    }
    const float nanf = std::numeric_limits<float>::quiet_NaN();
    for (Kernel<float> k : kErfc.s) {
        check_specials<float>(k, "sErfc",
                              {{0.0f, 1.0f, 0},
                               {kInfF, 0.0f, 0},
                               {-kInfF, 2.0f, 0},
                               {-4.0f, 2.0f, 0},
                               {10.1f, 0.0f, ARQ_STATUS_UNDERFLOW},
                               {35.7f, 0.0f, ARQ_STATUS_UNDERFLOW},
                               {1e30f, 0.0f, ARQ_STATUS_UNDERFLOW},
                               {nanf, nanf, 0}});
    }
}

TEST_F(Kernels, CdfNormSpecialValuesAndStatusesInEverySlot) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (Kernel<double> k : kNorm.d) {
        check_specials<double>(k, "dCdfNorm",
                               {{0.0, 0.5, 0},
                                {-0.0, 0.5, 0},
                                {kInf, 1.0, 0},
                                {-kInf, 0.0, 0},
                                {9.0, 1.0, 0},
                                {-38.5, 0.0, ARQ_STATUS_UNDERFLOW},
                                {-39.99, 0.0, ARQ_STATUS_UNDERFLOW},
                                {-45.0, 0.0, ARQ_STATUS_UNDERFLOW},
                                {-1e300, 0.0, ARQ_STATUS_UNDERFLOW},
                                {nan, nan, 0}});
    }
    const float nanf = std::numeric_limits<float>::quiet_NaN();
    for (Kernel<float> k : kNorm.s) {
        check_specials<float>(k, "sCdfNorm",
                              {{0.0f, 0.5f, 0},
                               {kInfF, 1.0f, 0},
                               {-kInfF, 0.0f, 0},
                               {6.0f, 1.0f, 0},
                               {-14.2f, 0.0f, ARQ_STATUS_UNDERFLOW},
                               {nanf, nanf, 0}});
    }
}

// The lower tails run on into the subnormal results, decreasing, each reported, and the last
// normal results before the threshold are not.
TEST_F(Kernels, LowerTailsUnderflowGradually) {
    std::vector<double> x;
    for (double v = 26.50; v < 27.22; v += 0.01) x.push_back(v);
    std::vector<double> r(x.size());
    _arqdErfc(static_cast<int>(x.size()), x.data(), r.data());
    int subnormal = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (i > 0) EXPECT_LE(r[i], r[i - 1]) << x[i];
        if (r[i] < 0x1p-1022) ++subnormal;
        EXPECT_GT(r[i], 0.0) << x[i];
    }
    EXPECT_EQ(static_cast<int>(t_reports.size()), subnormal);
    for (const Report &rep : t_reports) EXPECT_EQ(rep.code, ARQ_STATUS_UNDERFLOW);
    EXPECT_GT(subnormal, 50);

    // Phi(x) = erfc(-x/sqrt(2))/2: at x = -sqrt(2)·26.6 both are subnormal and agree to within
    // the rounding of the argument.
    const double xn = -1.4142135623730951 * 26.6, xe = 26.6;
    double phi, e;
    _arqdCdfNorm(1, &xn, &phi);
    _arqdErfc(1, &xe, &e);
    EXPECT_NEAR(phi, e / 2, 0x1p-1074 * 4 + e * 1e-13);
}

// Across the join of the centre and the tail (|x| = 1/2) and the segment bounds of the tail, the
// functions stay monotone, and the value at each bound lies on the line through its neighbours
// three ulps away to within a few ulps (the curvature over six ulps of x is far below that).
template <class T>
void check_monotone(Kernel<T> k, const char *name, T lo, T hi, int sign) {
    std::vector<T> x;
    for (T b = T(0.5); b < hi; b *= T(2)) {
        for (int i = 0; i < 8; ++i) {
            const T edge = b * (T(1) + T(i) / T(8));
            if (edge <= lo || edge >= hi) continue;
            T below = edge, above = edge;
            for (int s = 0; s < 3; ++s) {
                below = std::nextafter(below, T(0));
                above = std::nextafter(above, hi);
            }
            for (T v : {below, edge, above}) x.push_back(v);
        }
    }
    std::vector<T> r(x.size());
    k(static_cast<int>(x.size()), x.data(), r.data());
    for (std::size_t i = 0; i + 2 < x.size(); i += 3) {
        EXPECT_LE(sign * (r[i + 1] - r[i]), T(0)) << name << " below " << x[i + 1];
        EXPECT_LE(sign * (r[i + 2] - r[i + 1]), T(0)) << name << " above " << x[i + 1];
        const T line = r[i] + (r[i + 2] - r[i]) * ((x[i + 1] - x[i]) / (x[i + 2] - x[i]));
        const T ulp = std::nextafter(r[i + 1], T(3)) - r[i + 1];
        EXPECT_LE(std::fabs(r[i + 1] - line), 4 * ulp) << name << " off the line at " << x[i + 1];
    }
}

TEST_F(Kernels, PiecesJoinMonotonically) {
    check_monotone<double>(_arqdErf, "dErf", 0.0, 6.0, -1);
    check_monotone<double>(_arqdErfc, "dErfc", 0.0, 26.5, 1);
    check_monotone<float>(_arqsErfc, "sErfc", 0.0f, 9.0f, 1);
    // Phi's tail in -x: decreasing as the argument goes down.
    const auto mirrored = +[](int n, const double *a, double *r) {
        std::vector<double> m(a, a + n);
        for (double &v : m) v = -v;
        _arqdCdfNorm_HA(n, m.data(), r);
    };
    check_monotone<double>(mirrored, "dCdfNorm(-x)", 0.0, 37.5, 1);
}

// erf is odd bit for bit; erfc(x) + erfc(-x) = 2 and Phi(x) + Phi(-x) = 1 up to the roundings.
TEST_F(Kernels, Symmetries) {
    std::vector<double> x, minus_x;
    for (double v = 0.0; v < 8.0; v += 0.0371) {
        x.push_back(v);
        minus_x.push_back(-v);
    }
    const int n = static_cast<int>(x.size());
    std::vector<double> a(n), b(n);
    _arqdErf(n, x.data(), a.data());
    _arqdErf(n, minus_x.data(), b.data());
    for (int i = 0; i < n; ++i) EXPECT_EQ(bits(a[i]), bits(-b[i])) << x[i];
    _arqdErfc(n, x.data(), a.data());
    _arqdErfc(n, minus_x.data(), b.data());
    for (int i = 0; i < n; ++i) EXPECT_NEAR(a[i] + b[i], 2.0, 0x1p-51) << x[i];
    for (Kernel<double> k : kNorm.d) {
        k(n, x.data(), a.data());
        k(n, minus_x.data(), b.data());
        for (int i = 0; i < n; ++i) EXPECT_NEAR(a[i] + b[i], 1.0, 0x1p-40) << x[i];
    }
}

// Published values: erf(1), erfc(5), Phi(-1.96) and Phi(1), correctly rounded.
TEST_F(Kernels, PublishedValues) {
    const double one = 1.0, five = 5.0, q = -1.96;
    double r;
    _arqdErf(1, &one, &r);
    EXPECT_EQ(r, 0.8427007929497149);
    _arqdErfc(1, &five, &r);
    EXPECT_EQ(r, 1.537459794428035e-12);
    _arqdCdfNorm(1, &q, &r);
    EXPECT_EQ(r, 0.024997895148220435);
    _arqdCdfNorm(1, &one, &r);
    EXPECT_EQ(r, 0.8413447460685429);
}

// Under denormals-are-zero a subnormal argument is a zero: erf gives the signed zero without a
// report, erfc and Phi their values at 0.
TEST_F(Kernels, ErfReadsSubnormalsAsZeroWhenFlushing) {
    const double tiny[2] = {0x1p-1070, -0x1p-1070};
    double erf[2], erfc[2];
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_CALLBACK | ARQ_DENORMALS_FLUSH);
    _arqdErf(2, tiny, erf);
    _arqdErfc(2, tiny, erfc);
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_CALLBACK | ARQ_DENORMALS_KEEP);
    EXPECT_EQ(bits(erf[0]), bits(0.0));
    EXPECT_EQ(bits(erf[1]), bits(-0.0));
    EXPECT_EQ(erfc[0], 1.0);
    EXPECT_EQ(erfc[1], 1.0);
    EXPECT_TRUE(t_reports.empty());
}

// The three CdfNorm kernels are distinct: LA and EP differ from HA somewhere on an ordinary
// range, and HA is what the unsuffixed entry point runs.
TEST_F(Kernels, CdfNormSlotsReachDistinctKernels) {
    std::vector<double> x;
    for (double v = -9.0; v < 9.0; v += 0.0173) x.push_back(v);
    const int n = static_cast<int>(x.size());
    std::vector<double> la(n), ha(n), ep(n), plain(n);
    _arqdCdfNorm_50(n, x.data(), la.data());
    _arqdCdfNorm_HA(n, x.data(), ha.data());
    _arqdCdfNorm_26(n, x.data(), ep.data());
    _arqdCdfNorm(n, x.data(), plain.data());
    int la_differs = 0, ep_differs = 0;
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(bits(plain[i]), bits(ha[i]));
        la_differs += la[i] != ha[i];
        ep_differs += ep[i] != ha[i];
    }
    EXPECT_GT(la_differs, 0);
    EXPECT_GT(ep_differs, n / 2);
}

}  // namespace
