// Expm1, Log1p, Log10, Pow, Cbrt, InvCbrt, Pow2o3, InvSqrt and Pow3o2: special values and
// statuses in both precisions, the exact results (cubes, squares, powers of ten), the arguments
// near 0 where Expm1 and Log1p give the argument back, and powers near 1 with large exponents.
// Accuracy over the domains: accuracy.cpp; the vector path against the element path:
// paths_test.cpp.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "korb/kernel/vm.h"
#include "vecmath/kernel_test.h"

namespace {

using korb::test::bits;
using korb::test::t_reports;
using Kernels = korb::test::KernelTest;

template <class T>
using Kernel = void (*)(int, const T *, T *);
template <class T>
using Kernel2 = void (*)(int, const T *, const T *, T *);

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::uint64_t kDomainD = 0xFFF8000000000000;
constexpr std::uint32_t kDomainS = 0xFFC00000;

// One row: an argument (two for Pow), the expected result and status. The expected value is
// given in double; the float kernels expect it rounded to float, a domain error the float NaN.
struct Row {
    double x, y;
    double result;
    int status;
    bool domain_nan = false;
};

template <class T>
std::uint64_t expected_bits(const Row &r) {
    if (r.domain_nan) return sizeof(T) == 8 ? kDomainD : kDomainS;
    return bits(static_cast<T>(r.result));
}

// Runs each row through a one-argument kernel, alone and as element 5 of a vector of ordinary
// arguments (so that both the tail and a refused vector are exercised), and checks result, status
// and the report's argument.
template <class T>
void check(Kernel<T> k, const char *name, const std::vector<Row> &rows, T ordinary) {
    for (const Row &row : rows) {
        const T x = static_cast<T>(row.x);
        std::vector<T> a(9, ordinary), r(9);
        a[5] = x;
        for (int n : {1, 9}) {
            t_reports.clear();
            const int at = n == 1 ? 0 : 5;
            k(n, n == 1 ? &x : a.data(), r.data());
            const bool nan = std::isnan(row.result) && !row.domain_nan;
            if (nan) {
                EXPECT_TRUE(std::isnan(r[at])) << name << " x=" << row.x;
            } else {
                EXPECT_EQ(bits(r[at]), expected_bits<T>(row)) << name << " x=" << row.x;
            }
            ASSERT_EQ(t_reports.size(), row.status == 0 ? 0u : 1u) << name << " x=" << row.x;
            if (row.status != 0) {
                EXPECT_EQ(t_reports[0].code, row.status) << name << " x=" << row.x;
                EXPECT_EQ(t_reports[0].index, at) << name;
                EXPECT_EQ(bits(static_cast<T>(t_reports[0].a1)), bits(x)) << name;
            }
        }
    }
}

template <class T>
void check_pow(Kernel2<T> k, const char *name, const std::vector<Row> &rows) {
    for (const Row &row : rows) {
        const T x = static_cast<T>(row.x), y = static_cast<T>(row.y);
        T r = T(-1234.5);
        t_reports.clear();
        k(1, &x, &y, &r);
        if (std::isnan(row.result) && !row.domain_nan) {
            EXPECT_TRUE(std::isnan(r)) << name << " " << row.x << "^" << row.y;
        } else {
            EXPECT_EQ(bits(r), expected_bits<T>(row)) << name << " " << row.x << "^" << row.y;
        }
        ASSERT_EQ(t_reports.size(), row.status == 0 ? 0u : 1u)
            << name << " " << row.x << "^" << row.y;
        if (row.status != 0) {
            EXPECT_EQ(t_reports[0].code, row.status) << name << " " << row.x << "^" << row.y;
            EXPECT_EQ(bits(static_cast<T>(t_reports[0].a2)), bits(y)) << name;
        }
    }
}

TEST_F(Kernels, ExpLogFamilySpecialValues) {
    const std::vector<Row> expm1 = {{0.0, 0, 0.0, 0},
                                    {-0.0, 0, -0.0, 0},
                                    {kInf, 0, kInf, 0},
                                    {-kInf, 0, -1.0, 0},
                                    {kNaN, 0, kNaN, 0},
                                    {-800.0, 0, -1.0, 0},
                                    {1e-310, 0, 1e-310, ARQ_STATUS_UNDERFLOW},
                                    {1e300, 0, kInf, ARQ_STATUS_OVERFLOW}};
    check<double>(
        _arqdExpm1, "dExpm1",
        [&] {
            auto v = expm1;
            v.push_back({709.7827128933841, 0, kInf, ARQ_STATUS_OVERFLOW});
            return v;
        }(),
        0.5);
    check<float>(
        _arqsExpm1, "sExpm1",
        [&] {
            auto v = expm1;
            v[6] = {1e-40, 0, static_cast<float>(1e-40), ARQ_STATUS_UNDERFLOW};
            v[7] = {1e30, 0, kInf, ARQ_STATUS_OVERFLOW};
            v.push_back({89.0, 0, kInf, ARQ_STATUS_OVERFLOW});
            return v;
        }(),
        0.5f);

    const std::vector<Row> log1p = {{0.0, 0, 0.0, 0},
                                    {-0.0, 0, -0.0, 0},
                                    {kInf, 0, kInf, 0},
                                    {kNaN, 0, kNaN, 0},
                                    {-1.0, 0, -kInf, ARQ_STATUS_SING},
                                    {-2.0, 0, 0, ARQ_STATUS_ERRDOM, true},
                                    {-kInf, 0, 0, ARQ_STATUS_ERRDOM, true},
                                    {1e-310, 0, 1e-310, ARQ_STATUS_UNDERFLOW}};
    check<double>(_arqdLog1p, "dLog1p", log1p, 0.5);
    check<float>(
        _arqsLog1p, "sLog1p",
        [&] {
            auto v = log1p;
            v[7] = {-1e-40, 0, static_cast<float>(-1e-40), ARQ_STATUS_UNDERFLOW};
            return v;
        }(),
        0.5f);

    const std::vector<Row> log10 = {{1.0, 0, 0.0, 0},
                                    {kInf, 0, kInf, 0},
                                    {0.0, 0, -kInf, ARQ_STATUS_SING},
                                    {-0.0, 0, -kInf, ARQ_STATUS_SING},
                                    {-1.0, 0, 0, ARQ_STATUS_ERRDOM, true},
                                    {-kInf, 0, 0, ARQ_STATUS_ERRDOM, true},
                                    {kNaN, 0, kNaN, 0}};
    check<double>(
        _arqdLog10, "dLog10",
        [&] {
            auto v = log10;
            v.push_back({-4.9406564584124654e-324, 0, 0, ARQ_STATUS_ERRDOM, true});
            v.push_back({4.9406564584124654e-324, 0, -323.30621534311581, 0});
            return v;
        }(),
        2.0);
    check<float>(
        _arqsLog10, "sLog10",
        [&] {
            auto v = log10;
            v.push_back({1e-45, 0, -44.8534693539332, 0});  // log10(2^-149)
            return v;
        }(),
        2.0f);
}

TEST_F(Kernels, RootFamilySpecialValues) {
    const std::vector<Row> cbrt = {
        {0.0, 0, 0.0, 0},   {-0.0, 0, -0.0, 0},  {kInf, 0, kInf, 0},         {-kInf, 0, -kInf, 0},
        {kNaN, 0, kNaN, 0}, {-27.0, 0, -3.0, 0}, {0x1p-1071, 0, 0x1p-357, 0}};
    check<double>(_arqdCbrt, "dCbrt", cbrt, 2.0);
    const std::vector<Row> inv_cbrt = {{0.0, 0, kInf, ARQ_STATUS_SING},
                                       {-0.0, 0, -kInf, ARQ_STATUS_SING},
                                       {kInf, 0, 0.0, 0},
                                       {-kInf, 0, -0.0, 0},
                                       {kNaN, 0, kNaN, 0},
                                       {-8.0, 0, -0.5, 0},
                                       {0x1p-1071, 0, 0x1p357, 0}};
    check<double>(_arqdInvCbrt, "dInvCbrt", inv_cbrt, 2.0);
    const std::vector<Row> pow2o3 = {
        {0.0, 0, 0.0, 0},   {-0.0, 0, 0.0, 0}, {kInf, 0, kInf, 0},         {-kInf, 0, kInf, 0},
        {kNaN, 0, kNaN, 0}, {-8.0, 0, 4.0, 0}, {0x1p-1071, 0, 0x1p-714, 0}};
    check<double>(_arqdPow2o3, "dPow2o3", pow2o3, 2.0);
    const std::vector<Row> inv_sqrt = {{0.0, 0, kInf, ARQ_STATUS_SING},
                                       {-0.0, 0, -kInf, ARQ_STATUS_SING},
                                       {kInf, 0, 0.0, 0},
                                       {-kInf, 0, 0, ARQ_STATUS_ERRDOM, true},
                                       {-1.0, 0, 0, ARQ_STATUS_ERRDOM, true},
                                       {kNaN, 0, kNaN, 0},
                                       {0.25, 0, 2.0, 0},
                                       {0x1p-1074, 0, 0x1p537, 0},
                                       {0x1p1022, 0, 0x1p-511, 0}};
    check<double>(_arqdInvSqrt, "dInvSqrt", inv_sqrt, 2.0);
    const std::vector<Row> pow3o2 = {{0.0, 0, 0.0, 0},
                                     {-0.0, 0, 0.0, 0},
                                     {kInf, 0, kInf, 0},
                                     {-kInf, 0, 0, ARQ_STATUS_ERRDOM, true},
                                     {-4.0, 0, 0, ARQ_STATUS_ERRDOM, true},
                                     {kNaN, 0, kNaN, 0},
                                     {4.0, 0, 8.0, 0},
                                     {0x1p-700, 0, 0x1p-1050, ARQ_STATUS_UNDERFLOW},
                                     {0x1p-800, 0, 0.0, ARQ_STATUS_UNDERFLOW},
                                     {0x1p682, 0, 0x1p1023, 0},
                                     {0x1p684, 0, kInf, ARQ_STATUS_OVERFLOW}};
    check<double>(_arqdPow3o2, "dPow3o2", pow3o2, 2.0);

    // Single precision: the same specials; the scaled cases at float magnitudes.
    auto floats = [](std::vector<Row> v) {
        std::vector<Row> out;
        for (const Row &r : v) {
            const double ax = std::fabs(r.x);
            if (ax != 0.0 && std::isfinite(ax) && (ax < 0x1p-149 || ax > 0x1p127)) continue;
            if (std::fabs(r.result) > 0 && std::isfinite(r.result) &&
                (std::fabs(r.result) < 0x1p-149 || std::fabs(r.result) > 0x1p127)) {
                continue;
            }
            out.push_back(r);
        }
        return out;
    };
    check<float>(_arqsCbrt, "sCbrt", floats(cbrt), 2.0f);
    check<float>(_arqsCbrt, "sCbrt", {{0x1p-147, 0, 0x1p-49, 0}}, 2.0f);
    check<float>(_arqsInvCbrt, "sInvCbrt", floats(inv_cbrt), 2.0f);
    check<float>(_arqsPow2o3, "sPow2o3", floats(pow2o3), 2.0f);
    check<float>(_arqsInvSqrt, "sInvSqrt", floats(inv_sqrt), 2.0f);
    check<float>(_arqsInvSqrt, "sInvSqrt", {{0x1p-148, 0, 0x1p74, 0}}, 2.0f);
    check<float>(_arqsPow3o2, "sPow3o2", floats(pow3o2), 2.0f);
    check<float>(_arqsPow3o2, "sPow3o2",
                 {{0x1p-90, 0, 0x1p-135, ARQ_STATUS_UNDERFLOW},
                  {0x1p84, 0, 0x1p126, 0},
                  {0x1p86, 0, kInf, ARQ_STATUS_OVERFLOW}},
                 2.0f);
}

// C99's pow table with the statuses, element by element of two vectors.
TEST_F(Kernels, PowFollowsTheC99Table) {
    const std::vector<Row> rows = {
        {kNaN, 0.0, 1.0, 0},
        {-kInf, -0.0, 1.0, 0},
        {1.0, kNaN, 1.0, 0},
        {1.0, -kInf, 1.0, 0},
        {-1.0, kInf, 1.0, 0},
        {-1.0, -kInf, 1.0, 0},
        {2.0, kNaN, kNaN, 0},
        {kNaN, 2.0, kNaN, 0},
        {0.0, -3.0, kInf, ARQ_STATUS_SING},
        {-0.0, -3.0, -kInf, ARQ_STATUS_SING},
        {-0.0, -2.0, kInf, ARQ_STATUS_SING},
        {-0.0, -2.5, kInf, ARQ_STATUS_SING},
        {-0.0, 3.0, -0.0, 0},
        {-0.0, 0.5, 0.0, 0},
        {-2.0, 0.5, 0, ARQ_STATUS_ERRDOM, true},
        {-kInf, 0.5, kInf, 0},
        {0.5, kInf, 0.0, 0},
        {2.0, kInf, kInf, 0},
        {0.5, -kInf, kInf, 0},
        {2.0, -kInf, 0.0, 0},
        {-kInf, -3.0, -0.0, 0},
        {-kInf, -2.0, 0.0, 0},
        {-kInf, 3.0, -kInf, 0},
        {-kInf, 2.0, kInf, 0},
        {kInf, -1.0, 0.0, 0},
        {kInf, 0.5, kInf, 0},
        {-2.0, 3.0, -8.0, 0},
        {-2.0, -3.0, -0.125, 0},
        {-3.0, 2.0, 9.0, 0},
        {10.0, 400.0, kInf, ARQ_STATUS_OVERFLOW},
        {-10.0, 401.0, -kInf, ARQ_STATUS_OVERFLOW},
        {10.0, -400.0, 0.0, ARQ_STATUS_UNDERFLOW},
        {0.5, 1070.0, std::pow(0.5, 1070.0), ARQ_STATUS_UNDERFLOW},
        {1.0000001, 1e30, kInf, ARQ_STATUS_OVERFLOW},
        {0.9999999, 1e30, 0.0, ARQ_STATUS_UNDERFLOW},
    };
    check_pow<double>(_arqdPow, "dPow", rows);
    std::vector<Row> single;
    for (const Row &r : rows) {
        if (r.x == 0.5 && r.y == 1070.0) continue;
        if (r.x == 10.0 || r.x == -10.0) {
            // 10^±80 and (-10)^81 leave the floats the same way.
            single.push_back({r.x, r.y > 0 ? (r.x < 0 ? 81.0 : 80.0) : -80.0, r.result, r.status});
            continue;
        }
        single.push_back(r);
    }
    single.push_back({0.5, 140.0, std::pow(0.5f, 140.0f), ARQ_STATUS_UNDERFLOW});
    check_pow<float>(_arqsPow, "sPow", single);
}

// ln x near 1 carried far enough that y·ln x keeps the result within an ulp up to the overflow
// threshold: 0.9999999999993316^1e15 was 1.7·10^6 ulp off; its correctly rounded value is
// 5.4630171936511704e-291. The same through Pow and Powx, on both paths.
TEST_F(Kernels, PowersNearOneWithLargeExponents) {
    const double x = 0.9999999999993316, expected = 5.4630171936511704e-291;
    std::vector<double> a(8, x), b(8, 1e15), r(8);
    _arqdPow(8, a.data(), b.data(), r.data());
    for (double v : r) EXPECT_EQ(v, expected);
    _arqdPowx(8, a.data(), 1e15, r.data());
    for (double v : r) EXPECT_EQ(v, expected);
    _arqdPowx(1, a.data(), 1e15, r.data());
    EXPECT_EQ(r[0], expected);
    // (1 - 2^-53)^(2^62) = e^(-2^9 - 2^-45 - ...): 4.377491037052927e-223 correctly rounded.
    const double below = 1.0 - 0x1p-53, huge = 0x1p62;
    double y;
    _arqdPow(1, &below, &huge, &y);
    EXPECT_EQ(y, 4.377491037052927e-223);
    EXPECT_TRUE(t_reports.empty());
}

// The results that are representable come out exactly: cube roots of cubes, reciprocal square
// roots of squares, the logarithms of the powers of ten; and Expm1 and Log1p give a tiny argument
// back.
TEST_F(Kernels, ExactResults) {
    for (int k = 0; k <= 22; ++k) {
        const double x = std::pow(10.0, k);  // exact up to 10^22
        double y;
        _arqdLog10(1, &x, &y);
        EXPECT_EQ(y, k) << "10^" << k;
        if (k <= 10) {
            const float xf = static_cast<float>(x);
            float yf;
            _arqsLog10(1, &xf, &yf);
            EXPECT_EQ(yf, static_cast<float>(k)) << "10^" << k;
        }
    }
    std::vector<double> cubes, roots;
    for (int i = -300; i <= 300; i += 7) {
        const double c = static_cast<double>(i) * 0x1p-3;
        cubes.push_back(c * c * c);  // exact: at most 3·12 bits
        roots.push_back(c);
    }
    std::vector<double> out(cubes.size());
    _arqdCbrt(static_cast<int>(cubes.size()), cubes.data(), out.data());
    EXPECT_EQ(out, roots);
    _arqdPow2o3(static_cast<int>(cubes.size()), cubes.data(), out.data());
    for (std::size_t i = 0; i < out.size(); ++i) EXPECT_EQ(out[i], roots[i] * roots[i]);
    std::vector<double> squares, inverse;
    for (int e = -1074; e <= 1022; e += 2) {
        squares.push_back(std::ldexp(1.0, e));
        inverse.push_back(std::ldexp(1.0, -e / 2));
    }
    out.resize(squares.size());
    _arqdInvSqrt(static_cast<int>(squares.size()), squares.data(), out.data());
    EXPECT_EQ(out, inverse);
    for (double x : {0x1p-60, -0x1p-60, 0x1p-1000, -3e-300}) {
        double e, l;
        _arqdExpm1(1, &x, &e);
        _arqdLog1p(1, &x, &l);
        EXPECT_EQ(e, x);
        EXPECT_EQ(l, x);
    }
    EXPECT_TRUE(t_reports.empty());
}

}  // namespace
