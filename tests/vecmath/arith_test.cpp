// The arithmetic kernels: Add, Sub, Mul, Div, Sqr and Inv give the bits of the C operators on
// random and special arguments in every slot; the statuses and reports of overflow, division by
// zero and invalid operations; LinearFrac's order of operations and statuses; Hypot's special
// values, scaling and overflow. Accuracy against MPFR: accuracy.cpp; vector against element
// path: paths_test.cpp.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "korb/kernel/vm.h"
#include "vecmath/kernel_test.h"

namespace {

using korb::test::bits;
using korb::test::Report;
using korb::test::t_reports;

template <class T>
using Two = void (*)(int, const T *, const T *, T *);
template <class T>
using One = void (*)(int, const T *, T *);

class Arith : public korb::test::KernelTest {};

// Arguments mixing ordinary values, every kind of special value and random bit patterns.
template <class T>
std::vector<T> mixed_arguments(std::uint64_t seed, int n) {
    using L = std::numeric_limits<T>;
    const T specials[] = {
        T(0),           -T(0),    T(1),      -T(1),    L::infinity(),   -L::infinity(),
        L::quiet_NaN(), L::max(), -L::max(), L::min(), L::denorm_min(), -L::denorm_min(),
        T(0.5),         T(3),     T(1e-30)};
    std::mt19937_64 rng(seed);
    std::vector<T> v(static_cast<std::size_t>(n));
    for (T &x : v) {
        const std::uint64_t u = rng();
        switch (u % 4) {
            case 0:
                x = specials[(u >> 8) % (sizeof specials / sizeof specials[0])];
                break;
            case 1:
                if constexpr (sizeof(T) == 4) {
                    x = std::bit_cast<T>(static_cast<std::uint32_t>(u >> 16));
                } else {
                    x = std::bit_cast<T>(u * 0x9E3779B97F4A7C15ull);
                }
                break;
            default:
                x = static_cast<T>(std::ldexp(static_cast<double>(u >> 11) * 0x1p-53 - 0.5,
                                              static_cast<int>((u >> 3) % 40) - 20));
        }
    }
    return v;
}

template <class T, class Op>
void expect_operator_bits(const char *name, const void *const *table, Op op) {
    for (int slot = 0; slot < 3; ++slot) {
        const std::vector<T> a = mixed_arguments<T>(11 + slot, 1003);
        const std::vector<T> b = mixed_arguments<T>(97 + slot, 1003);
        std::vector<T> r(a.size());
        reinterpret_cast<Two<T>>(table[slot])(static_cast<int>(a.size()), a.data(), b.data(),
                                              r.data());
        for (std::size_t i = 0; i < a.size(); ++i) {
            ASSERT_EQ(bits(r[i]), bits(op(a[i], b[i])))
                << name << " slot " << slot << " " << a[i] << ", " << b[i];
        }
        // In place over the first argument.
        std::vector<T> in_place = a;
        reinterpret_cast<Two<T>>(table[slot])(static_cast<int>(a.size()), in_place.data(), b.data(),
                                              in_place.data());
        for (std::size_t i = 0; i < a.size(); ++i) ASSERT_EQ(bits(in_place[i]), bits(r[i])) << name;
    }
}

TEST_F(Arith, TwoArgumentKernelsGiveTheBitsOfTheOperatorsInEverySlot) {
    korb_arq_kernel_SetMode(ARQ_ERRMODE_IGNORE);
    auto table = [](const auto &t) { return reinterpret_cast<const void *const *>(&t[0]); };
    expect_operator_bits<float>("sAdd", table(korb_arq_kernel_sAdd_ttab),
                                [](float x, float y) { return x + y; });
    expect_operator_bits<double>("dAdd", table(korb_arq_kernel_dAdd_ttab),
                                 [](double x, double y) { return x + y; });
    expect_operator_bits<float>("sSub", table(korb_arq_kernel_sSub_ttab),
                                [](float x, float y) { return x - y; });
    expect_operator_bits<double>("dSub", table(korb_arq_kernel_dSub_ttab),
                                 [](double x, double y) { return x - y; });
    expect_operator_bits<float>("sMul", table(korb_arq_kernel_sMul_ttab),
                                [](float x, float y) { return x * y; });
    expect_operator_bits<double>("dMul", table(korb_arq_kernel_dMul_ttab),
                                 [](double x, double y) { return x * y; });
    expect_operator_bits<float>("sDiv", table(korb_arq_kernel_sDiv_ttab),
                                [](float x, float y) { return x / y; });
    expect_operator_bits<double>("dDiv", table(korb_arq_kernel_dDiv_ttab),
                                 [](double x, double y) { return x / y; });
}

TEST_F(Arith, SqrAndInvGiveTheBitsOfTheOperators) {
    korb_arq_kernel_SetMode(ARQ_ERRMODE_IGNORE);
    const std::vector<double> a = mixed_arguments<double>(5, 517);
    const std::vector<float> af = mixed_arguments<float>(6, 517);
    std::vector<double> sqr(a.size()), inv(a.size());
    std::vector<float> sqrf(af.size()), invf(af.size());
    _arqdSqr_26(517, a.data(), sqr.data());
    _arqdInv_50(517, a.data(), inv.data());
    _arqsSqr_11(517, af.data(), sqrf.data());
    _arqsInv(517, af.data(), invf.data());
    for (std::size_t i = 0; i < a.size(); ++i) {
        ASSERT_EQ(bits(sqr[i]), bits(a[i] * a[i])) << a[i];
        ASSERT_EQ(bits(inv[i]), bits(1.0 / a[i])) << a[i];
        ASSERT_EQ(bits(sqrf[i]), bits(af[i] * af[i])) << af[i];
        ASSERT_EQ(bits(invf[i]), bits(1.0f / af[i])) << af[i];
    }
}

struct StatusCase {
    double x, y;
    int status;
};

// Runs a two-argument kernel on the case alone and inside a vector of ordinary elements, and
// checks the report: the status, the element's index, the arguments and the written result.
template <class T>
void expect_status(Two<T> k, const StatusCase &c, const char *name) {
    const T x = static_cast<T>(c.x), y = static_cast<T>(c.y);
    std::vector<T> a(37, T(1.5)), b(37, T(0.25)), r(37);
    a[21] = x;
    b[21] = y;
    t_reports.clear();
    k(37, a.data(), b.data(), r.data());
    if (c.status == ARQ_STATUS_OK) {
        EXPECT_TRUE(t_reports.empty()) << name << " " << c.x << ", " << c.y;
        return;
    }
    ASSERT_EQ(t_reports.size(), 1u) << name << " " << c.x << ", " << c.y;
    EXPECT_EQ(t_reports[0].code, c.status) << name << " " << c.x << ", " << c.y;
    EXPECT_EQ(t_reports[0].index, 21) << name;
    EXPECT_EQ(bits(static_cast<T>(t_reports[0].a1)), bits(x)) << name;
    EXPECT_EQ(bits(static_cast<T>(t_reports[0].a2)), bits(y)) << name;
    EXPECT_EQ(bits(static_cast<T>(t_reports[0].r1)), bits(r[21])) << name;
}

TEST_F(Arith, StatusesOfOverflowDivisionByZeroAndInvalidOperations) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    const double big = 1e300;
    const float fbig = 3e38f;
    const StatusCase add[] = {{big * 1e8, big * 1e8, ARQ_STATUS_OVERFLOW},
                              {kInf, -kInf, ARQ_STATUS_ERRDOM},
                              {kInf, 1.0, ARQ_STATUS_OK},
                              {kNaN, 1.0, ARQ_STATUS_OK},
                              {kNaN, kInf, ARQ_STATUS_OK}};
    const StatusCase sub[] = {{-big * 1e8, big * 1e8, ARQ_STATUS_OVERFLOW},
                              {kInf, kInf, ARQ_STATUS_ERRDOM},
                              {-kInf, kInf, ARQ_STATUS_OK}};
    const StatusCase mul[] = {{1e200, 1e200, ARQ_STATUS_OVERFLOW},
                              {kInf, 0.0, ARQ_STATUS_ERRDOM},
                              {-0.0, -kInf, ARQ_STATUS_ERRDOM},
                              {kInf, -2.0, ARQ_STATUS_OK},
                              {1e-200, 1e-200, ARQ_STATUS_OK}};
    const StatusCase div[] = {
        {1.0, 0.0, ARQ_STATUS_SING},          {-3.0, -0.0, ARQ_STATUS_SING},
        {0.0, 0.0, ARQ_STATUS_ERRDOM},        {kInf, -kInf, ARQ_STATUS_ERRDOM},
        {kInf, 0.0, ARQ_STATUS_OK},           {kNaN, 0.0, ARQ_STATUS_OK},
        {1e300, 1e-300, ARQ_STATUS_OVERFLOW}, {1.0, kInf, ARQ_STATUS_OK}};
    for (const StatusCase &c : add) expect_status<double>(_arqdAdd, c, "dAdd");
    for (const StatusCase &c : sub) expect_status<double>(_arqdSub, c, "dSub");
    for (const StatusCase &c : mul) expect_status<double>(_arqdMul, c, "dMul");
    for (const StatusCase &c : div) expect_status<double>(_arqdDiv, c, "dDiv");
    expect_status<float>(_arqsAdd, {fbig, fbig, ARQ_STATUS_OVERFLOW}, "sAdd");
    expect_status<float>(_arqsMul, {kInf, 0.0, ARQ_STATUS_ERRDOM}, "sMul");
    expect_status<float>(_arqsDiv, {2.0, 0.0, ARQ_STATUS_SING}, "sDiv");
    expect_status<float>(_arqsDiv, {1e30, 1e-30, ARQ_STATUS_OVERFLOW}, "sDiv");
    expect_status<float>(_arqsSub, {kInf, kInf, ARQ_STATUS_ERRDOM}, "sSub");

    // One-argument kernels: the argument is both a1 and a2.
    const double a[] = {2.0, 0.0, -0.0, 1e200, 4.9406564584124654e-324, kInf, kNaN};
    double sqr[7], inv[7];
    t_reports.clear();
    _arqdSqr(7, a, sqr);
    ASSERT_EQ(t_reports.size(), 1u);
    EXPECT_EQ(t_reports[0], (Report{ARQ_STATUS_OVERFLOW, 3, 1e200, 1e200, kInf, kInf}));
    t_reports.clear();
    _arqdInv(7, a, inv);
    ASSERT_EQ(t_reports.size(), 3u);
    EXPECT_EQ(t_reports[0], (Report{ARQ_STATUS_SING, 1, 0.0, 0.0, kInf, kInf}));
    EXPECT_EQ(t_reports[1].code, ARQ_STATUS_SING);
    EXPECT_EQ(bits(inv[2]), bits(-kInf));
    EXPECT_EQ(t_reports[2], (Report{ARQ_STATUS_OVERFLOW, 4, a[4], a[4], kInf, kInf}));
    EXPECT_EQ(bits(inv[5]), bits(0.0));
}

TEST_F(Arith, LinearFracRoundsEachOperationOnceInOrder) {
    korb_arq_kernel_SetMode(ARQ_ERRMODE_IGNORE);
    const std::vector<double> a = mixed_arguments<double>(21, 301);
    const std::vector<double> b = mixed_arguments<double>(22, 301);
    const double s[4] = {0.1, 1e-3, -3.7, 0.3};
    std::vector<double> r(a.size());
    _arqdLinearFrac(301, a.data(), b.data(), s[0], s[1], s[2], s[3], r.data());
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double num = s[0] * a[i] + s[1];
        const double den = s[2] * b[i] + s[3];
        ASSERT_EQ(bits(r[i]), bits(num / den)) << a[i] << ", " << b[i];
    }
    const std::vector<float> af = mixed_arguments<float>(23, 301);
    const std::vector<float> bf = mixed_arguments<float>(24, 301);
    std::vector<float> rf(af.size());
    _arqsLinearFrac_21(301, af.data(), bf.data(), 0.1f, 1e-3f, -3.7f, 0.3f, rf.data());
    for (std::size_t i = 0; i < af.size(); ++i) {
        const float num = 0.1f * af[i] + 1e-3f;
        const float den = -3.7f * bf[i] + 0.3f;
        ASSERT_EQ(bits(rf[i]), bits(num / den)) << af[i] << ", " << bf[i];
    }
}

TEST_F(Arith, LinearFracReportsTheExpressionAsAWhole) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        double a, b, sa, ta, sb, tb;
        int status;
    };
    const Case cases[] = {
        {1.0, 2.0, 1.0, 0.0, 1.0, -2.0, ARQ_STATUS_SING},        // 1/0
        {0.0, 2.0, 1.0, 0.0, 1.0, -2.0, ARQ_STATUS_ERRDOM},      // 0/0
        {1e300, 1.0, 1e10, 0.0, 1.0, 0.0, ARQ_STATUS_OVERFLOW},  // the numerator overflows
        {1.0, 1e300, 1.0, 0.0, 1e10, 0.0, ARQ_STATUS_OVERFLOW},  // the denominator does: 0
        {kInf, 1.0, 1.0, 0.0, 1.0, 0.0, ARQ_STATUS_OK},
        {kInf, kInf, 1.0, 0.0, 1.0, 0.0, ARQ_STATUS_ERRDOM},  // inf/inf
        {kNaN, 1.0, 1.0, 0.0, 1.0, 0.0, ARQ_STATUS_OK},
        {1.0, 1.0, 1.0, 0.0, 1.0, kNaN, ARQ_STATUS_OK},
        {3.0, 5.0, 2.0, 1.0, 4.0, -1.0, ARQ_STATUS_OK},
    };
    for (const Case &c : cases) {
        std::vector<double> a(9, 1.0), b(9, 1.0), r(9);
        a[6] = c.a;
        b[6] = c.b;
        t_reports.clear();
        _arqdLinearFrac(9, a.data(), b.data(), c.sa, c.ta, c.sb, c.tb, r.data());
        if (c.status == ARQ_STATUS_OK) {
            EXPECT_TRUE(t_reports.empty()) << c.a << ", " << c.b;
            continue;
        }
        ASSERT_EQ(t_reports.size(), 1u) << c.a << ", " << c.b;
        EXPECT_EQ(t_reports[0].code, c.status) << c.a << ", " << c.b;
        EXPECT_EQ(t_reports[0].index, 6);
        EXPECT_EQ(bits(t_reports[0].r1), bits(r[6]));
    }
}

TEST_F(Arith, HypotSpecialValuesScalingAndOverflow) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kMax = std::numeric_limits<double>::max();
    constexpr double kTiny = std::numeric_limits<double>::denorm_min();
    struct Case {
        double x, y, result;
        int status;
    };
    const Case cases[] = {
        {kInf, kNaN, kInf, 0},
        {kNaN, -kInf, kInf, 0},
        {3.0, 4.0, 5.0, 0},
        {-0.0, -0.0, 0.0, 0},
        {0.0, -7.5, 7.5, 0},
        {3 * 0x1p990, 4 * 0x1p990, 5 * 0x1p990, 0},        // scaled down
        {3 * 0x1p-700, -4 * 0x1p-700, 5 * 0x1p-700, 0},    // scaled up
        {3 * 0x1p-1060, 4 * 0x1p-1060, 5 * 0x1p-1060, 0},  // subnormal arguments
        {kTiny, kTiny, kTiny, 0},                          // sqrt(2)·2^-1074 rounds to 2^-1074
        {0x1p600, 0x1p-600, 0x1p600, 0},
        {kMax, kMax, kInf, ARQ_STATUS_OVERFLOW},
        {kMax, 1.0, kMax, 0},
    };
    for (const Case &c : cases) {
        double r;
        t_reports.clear();
        _arqdHypot(1, &c.x, &c.y, &r);
        EXPECT_EQ(bits(r), bits(c.result)) << c.x << ", " << c.y;
        EXPECT_EQ(t_reports.size(), c.status != 0 ? 1u : 0u) << c.x << ", " << c.y;
        if (!t_reports.empty()) {
            EXPECT_EQ(t_reports[0].code, c.status);
        }
    }
    const double r_nan = [] {
        double x = kNaN, y = 1.0, r;
        _arqdHypot(1, &x, &y, &r);
        return r;
    }();
    EXPECT_TRUE(std::isnan(r_nan));

    const float fx[] = {3e38f, 3 * 0x1p60f, 1e-45f, std::numeric_limits<float>::infinity(), 3.0f};
    const float fy[] = {3e38f, 4 * 0x1p60f, 1e-45f, std::numeric_limits<float>::quiet_NaN(), 4.0f};
    float fr[5];
    t_reports.clear();
    _arqsHypot(5, fx, fy, fr);
    EXPECT_EQ(bits(fr[0]), bits(std::numeric_limits<float>::infinity()));
    EXPECT_EQ(fr[1], 5 * 0x1p60f);
    EXPECT_EQ(fr[2], 1e-45f);
    EXPECT_EQ(bits(fr[3]), bits(std::numeric_limits<float>::infinity()));
    EXPECT_EQ(fr[4], 5.0f);
    ASSERT_EQ(t_reports.size(), 1u);
    EXPECT_EQ(t_reports[0].code, ARQ_STATUS_OVERFLOW);
    EXPECT_EQ(t_reports[0].index, 0);
}

}  // namespace
