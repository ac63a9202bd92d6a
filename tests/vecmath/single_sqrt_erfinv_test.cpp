// sExp, sLn, Sqrt, Powx, ErfInv, ErfcInv and CdfNormInv: special values and statuses in every
// slot's kernel. The vector path against the element path: paths_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
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

// Powx with the exponent of the test, in the shape of the one-argument kernels.
thread_local double t_exponent = 0.0;
void dpowx(int n, const double *a, double *r) {
    _arqdPowx(n, a, t_exponent, r);
}
void spowx(int n, const float *a, float *r) {
    _arqsPowx(n, a, static_cast<float>(t_exponent), r);
}

template <class T>
using Kernel = void (*)(int, const T *, T *);

using Kernels = korb::test::KernelTest;

template <class T>
struct Special {
    T x;
    std::uint64_t result;  // expected bits
    int status;
};

template <class T>
void check_specials(Kernel<T> k, const char *name, const std::vector<Special<T>> &cases) {
    for (const Special<T> &c : cases) {
        T r = T(-1234.5);
        t_reports.clear();
        k(1, &c.x, &r);
        EXPECT_EQ(bits(r), c.result) << name << " x=" << c.x;
        ASSERT_EQ(t_reports.size(), c.status == 0 ? 0u : 1u) << name << " x=" << c.x;
        if (c.status != 0) {
            EXPECT_EQ(t_reports[0].code, c.status) << name << " x=" << c.x;
            EXPECT_EQ(bits(static_cast<T>(t_reports[0].a1)), bits(c.x)) << name;
        }
    }
}

constexpr float kInfF = std::numeric_limits<float>::infinity();
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST_F(Kernels, SpecialValuesAndStatuses) {
    const float nanf = std::numeric_limits<float>::quiet_NaN();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    check_specials<float>(_arqsExp, "sExp",
                          {{0.0f, bits(1.0f), 0},
                           {-0.0f, bits(1.0f), 0},
                           {kInfF, bits(kInfF), 0},
                           {-kInfF, 0, 0},
                           {nanf, 0xFFFFFFFF, 0},
                           {89.0f, bits(kInfF), ARQ_STATUS_OVERFLOW},
                           {1e30f, bits(kInfF), ARQ_STATUS_OVERFLOW},
                           {88.0f, bits(std::exp(88.0f)), 0},
                           {-104.0f, 0, ARQ_STATUS_UNDERFLOW},
                           {-1e30f, 0, ARQ_STATUS_UNDERFLOW},
                           {-88.0f, bits(std::exp(-88.0f)), ARQ_STATUS_UNDERFLOW},  // subnormal
                           {-87.0f, bits(std::exp(-87.0f)), 0}});
    check_specials<float>(_arqsLn, "sLn",
                          {{1.0f, 0, 0},
                           {kInfF, bits(kInfF), 0},
                           {0.0f, bits(-kInfF), ARQ_STATUS_SING},
                           {-0.0f, bits(-kInfF), ARQ_STATUS_SING},
                           {-1.0f, 0xFFC00000, ARQ_STATUS_ERRDOM},
                           {-kInfF, 0xFFC00000, ARQ_STATUS_ERRDOM},
                           {-1e-45f, 0xFFC00000, ARQ_STATUS_ERRDOM},
                           {std::bit_cast<float>(0x7F800001u), 0x7F800001, 0},  // kept signalling
                           {1e-45f, bits(-103.27893f), 0}});
    check_specials<float>(_arqsSqrt, "sSqrt",
                          {{-0.0f, bits(-0.0f), 0},
                           {0.0f, 0, 0},
                           {kInfF, bits(kInfF), 0},
                           {4.0f, bits(2.0f), 0},
                           {-1e-45f, 0xFFC00000, ARQ_STATUS_ERRDOM},
                           {-kInfF, 0xFFC00000, ARQ_STATUS_ERRDOM},
                           {nanf, bits(nanf), 0}});
    check_specials<double>(_arqdSqrt, "dSqrt",
                           {{-0.0, bits(-0.0), 0},
                            {kInf, bits(kInf), 0},
                            {2.0, bits(std::sqrt(2.0)), 0},
                            {4.9406564584124654e-324, bits(2.2227587494850775e-162), 0},
                            {-1.0, 0xFFF8000000000000, ARQ_STATUS_ERRDOM},
                            {-kInf, 0xFFF8000000000000, ARQ_STATUS_ERRDOM},
                            {nan, bits(nan), 0}});
    // Powx: C99's pow table, for each exponent a row of (a, result, status), in both precisions.
    struct PowCase {
        double b;
        std::vector<Special<double>> rows;
    };
    const std::uint64_t inf = bits(kInf), minus_inf = bits(-kInf), minus_zero = bits(-0.0);
    const std::uint64_t domain = 0xFFF8000000000000;
    const PowCase pow_cases[] = {
        {0.0, {{nan, bits(1.0), 0}, {-kInf, bits(1.0), 0}, {0.0, bits(1.0), 0}}},
        {nan, {{1.0, bits(1.0), 0}, {2.0, bits(nan), 0}}},
        {-3.0,
         {{0.0, inf, ARQ_STATUS_SING},
          {-0.0, minus_inf, ARQ_STATUS_SING},
          {-kInf, minus_zero, 0},
          {kInf, 0, 0},
          {-2.0, bits(-0.125), 0},
          {1e-300, inf, ARQ_STATUS_OVERFLOW},
          {1e300, 0, ARQ_STATUS_UNDERFLOW}}},
        {-2.5, {{-0.0, inf, ARQ_STATUS_SING}, {-2.0, domain, ARQ_STATUS_ERRDOM}, {-kInf, 0, 0}}},
        {3.0, {{-0.0, minus_zero, 0}, {-kInf, minus_inf, 0}, {-2.0, bits(-8.0), 0}}},
        {0.5, {{-0.0, 0, 0}, {-kInf, inf, 0}, {-1e-300, domain, ARQ_STATUS_ERRDOM}}},
        {kInf, {{-1.0, bits(1.0), 0}, {0.5, 0, 0}, {-2.0, inf, 0}, {0.0, 0, 0}}},
        {-kInf, {{0.5, inf, 0}, {-2.0, 0, 0}, {0.0, inf, 0}}},
        {1e30,
         {{-1.0, bits(1.0), 0},
          {1.0000001, inf, ARQ_STATUS_OVERFLOW},
          {0.9999999, 0, ARQ_STATUS_UNDERFLOW}}},
        {1070.0, {{0.5, bits(std::pow(0.5, 1070.0)), ARQ_STATUS_UNDERFLOW}}},  // subnormal
    };
    for (const PowCase &c : pow_cases) {
        t_exponent = c.b;
        check_specials<double>(dpowx, "dPowx", c.rows);
        std::vector<Special<float>> single;
        for (const Special<double> &row : c.rows) {
            if (row.x != 0.0 && std::fabs(row.x) < 1e-30) continue;  // no float counterpart
            const double value = std::bit_cast<double>(row.result);
            const std::uint64_t r =
                row.result == domain ? 0xFFC00000 : bits(static_cast<float>(value));
            if (c.b == 1070.0 || std::fabs(row.x) > 1e30) continue;
            single.push_back({static_cast<float>(row.x), r, row.status});
        }
        check_specials<float>(spowx, "sPowx", single);
    }
    float x = -1.0f, r;
    t_reports.clear();
    _arqsPowx(1, &x, 2.5f, &r);
    ASSERT_EQ(t_reports.size(), 1u);
    EXPECT_EQ(t_reports[0].a2, 2.5);  // the exponent is the record's second argument

    const double below_one = std::nextafter(1.0, 0.0);
    for (Kernel<double> k : {_arqdErfInv, _arqdErfInv_26}) {
        check_specials<double>(k, "dErfInv",
                               {{0.0, 0, 0},
                                {-0.0, bits(-0.0), 0},
                                {1.0, bits(kInf), ARQ_STATUS_SING},
                                {-1.0, bits(-kInf), ARQ_STATUS_SING},
                                {std::nextafter(1.0, 2.0), 0xFFF8000000000000, ARQ_STATUS_ERRDOM},
                                {-kInf, 0xFFF8000000000000, ARQ_STATUS_ERRDOM},
                                {nan, bits(nan), 0}});
    }
    for (Kernel<float> k : {_arqsErfInv_21, _arqsErfInv, _arqsErfInv_11}) {
        check_specials<float>(k, "sErfInv",
                              {{0.0f, 0, 0},
                               {-0.0f, bits(-0.0f), 0},
                               {1.0f, bits(kInfF), ARQ_STATUS_SING},
                               {-1.0f, bits(-kInfF), ARQ_STATUS_SING},
                               {1.0000001f, 0xFFC00000, ARQ_STATUS_ERRDOM},
                               {kInfF, 0xFFC00000, ARQ_STATUS_ERRDOM},
                               {nanf, bits(nanf), 0}});
    }
    // Just inside ±1 and at the segment and branch edges: finite, odd, close to the published
    // values erfinv(1 - 2^-53) = 5.8635847487551676 and erfinv(1/2) = 0.4769362762044699.
    const double y = [&] {
        double r;
        _arqdErfInv(1, &below_one, &r);
        return r;
    }();
    EXPECT_NEAR(y, 5.8635847487551676, 2e-15);
    const double in[4] = {0.5, -0.5, -below_one, std::nextafter(0.5, 1.0)};
    double out[4];
    _arqdErfInv(4, in, out);
    EXPECT_NEAR(out[0], 0.4769362762044699, 1e-16);
    EXPECT_EQ(out[1], -out[0]);
    EXPECT_EQ(out[2], -y);
    EXPECT_GT(out[3], out[0]);
    EXPECT_TRUE(t_reports.empty());
}

// The inverse error function on subnormal results: one rounding, not two (the argument is scaled
// first). Correctly rounded value from MPFR.
TEST_F(Kernels, ErfInvRoundsSubnormalResultsOnce) {
    const double x = -3.94619943581255e-309;
    double r = 0;
    _arqdErfInv(1, &x, &r);
    EXPECT_EQ(r, -3.497228193223564e-309);
    // The whole subnormal range keeps erfinv(x)/x = sqrt(pi)/2 to the results' precision.
    for (double a : {0x1p-1074, 0x1p-1060, 0x1.8p-1030, 0x1p-1022, 0x1.fffp-1021}) {
        _arqdErfInv(1, &a, &r);
        EXPECT_NEAR(r, a * 0.88622692545275801, std::max(0x1p-1074, a * 0x1p-52)) << a;
    }
    EXPECT_TRUE(t_reports.empty());
}

TEST_F(Kernels, ErfcInvAndCdfNormInvSpecialValuesAndStatuses) {
    const float nanf = std::numeric_limits<float>::quiet_NaN();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::uint64_t dnan = 0xFFF8000000000000, snan = 0xFFC00000;
    check_specials<double>(_arqdErfcInv, "dErfcInv",
                           {{0.0, bits(kInf), ARQ_STATUS_SING},
                            {-0.0, bits(kInf), ARQ_STATUS_SING},
                            {2.0, bits(-kInf), ARQ_STATUS_SING},
                            {1.0, 0, 0},
                            {-0x1p-1074, dnan, ARQ_STATUS_ERRDOM},
                            {std::nextafter(2.0, 3.0), dnan, ARQ_STATUS_ERRDOM},
                            {kInf, dnan, ARQ_STATUS_ERRDOM},
                            {-kInf, dnan, ARQ_STATUS_ERRDOM},
                            {nan, bits(nan), 0}});
    check_specials<float>(_arqsErfcInv, "sErfcInv",
                          {{0.0f, bits(kInfF), ARQ_STATUS_SING},
                           {2.0f, bits(-kInfF), ARQ_STATUS_SING},
                           {1.0f, 0, 0},
                           {-1e-45f, snan, ARQ_STATUS_ERRDOM},
                           {2.0000002f, snan, ARQ_STATUS_ERRDOM},
                           {nanf, bits(nanf), 0}});
    check_specials<double>(_arqdCdfNormInv, "dCdfNormInv",
                           {{0.0, bits(-kInf), ARQ_STATUS_SING},
                            {-0.0, bits(-kInf), ARQ_STATUS_SING},
                            {1.0, bits(kInf), ARQ_STATUS_SING},
                            {0.5, 0, 0},
                            {-0x1p-1074, dnan, ARQ_STATUS_ERRDOM},
                            {std::nextafter(1.0, 2.0), dnan, ARQ_STATUS_ERRDOM},
                            {kInf, dnan, ARQ_STATUS_ERRDOM},
                            {nan, bits(nan), 0}});
    check_specials<float>(_arqsCdfNormInv, "sCdfNormInv",
                          {{0.0f, bits(-kInfF), ARQ_STATUS_SING},
                           {1.0f, bits(kInfF), ARQ_STATUS_SING},
                           {0.5f, 0, 0},
                           {-kInfF, snan, ARQ_STATUS_ERRDOM},
                           {1.0000001f, snan, ARQ_STATUS_ERRDOM},
                           {nanf, bits(nanf), 0}});
}

// The branches agree where they must: the mirrored tails are exact negatives, the centre is
// ErfInv's, the tails are monotone into the subnormal range (where y is scaled for the
// logarithm), and published quantiles come out.
TEST_F(Kernels, ErfcInvAndCdfNormInvBranchesAgree) {
    const double in[] = {0.25, 1.75, 0.75, 0.125, 0.875};
    double erfc[5], norm[5], erf[1];
    _arqdErfcInv(5, in, erfc);
    const double probabilities[] = {0.25, 0.75, 0.125, 0.875, 0.0625};
    _arqdCdfNormInv(5, probabilities, norm);
    EXPECT_EQ(erfc[0], -erfc[1]);
    EXPECT_GT(erfc[3], erfc[0]);
    EXPECT_EQ(norm[0], -norm[1]);
    EXPECT_EQ(norm[2], -norm[3]);
    EXPECT_LT(norm[4], norm[2]);
    const double quarter = 0.25;
    _arqdErfInv(1, &quarter, erf);
    EXPECT_EQ(erfc[2], erf[0]);  // erfcinv(3/4) = erfinv(1/4), 1 - 3/4 exact
    // Quantiles of the standard normal distribution.
    const double p[] = {0.025, 0.975, 1e-10, 0.8413447460685429};
    double q[4];
    _arqdCdfNormInv(4, p, q);
    EXPECT_NEAR(q[0], -1.959963984540054, 4e-16);
    EXPECT_NEAR(q[1], 1.959963984540054, 4e-16);
    EXPECT_NEAR(q[2], -6.361340902404056, 2e-15);
    EXPECT_NEAR(q[3], 1.0, 4e-15);
    // Down through the normal/subnormal edge of 2p, element by element and as one vector.
    std::vector<double> tiny;
    for (double a = 0x1p-1010; a > 0; a /= 2) tiny.push_back(a);
    std::vector<double> one(tiny.size()), all(tiny.size()), erfc_tiny(tiny.size());
    for (std::size_t i = 0; i < tiny.size(); ++i) _arqdCdfNormInv(1, &tiny[i], &one[i]);
    _arqdCdfNormInv(static_cast<int>(tiny.size()), tiny.data(), all.data());
    _arqdErfcInv(static_cast<int>(tiny.size()), tiny.data(), erfc_tiny.data());
    for (std::size_t i = 0; i < tiny.size(); ++i) {
        EXPECT_EQ(bits(one[i]), bits(all[i])) << tiny[i];
        if (i > 0) {
            EXPECT_LT(all[i], all[i - 1]) << tiny[i];
            EXPECT_GT(erfc_tiny[i], erfc_tiny[i - 1]) << tiny[i];
        }
    }
    EXPECT_NEAR(all.back(), -38.467405617144346, 1e-13);  // the smallest subnormal p
    EXPECT_TRUE(t_reports.empty());
}

// Under denormals-are-zero a subnormal argument reads as zero: the pole, not the tail and not a
// domain error.
TEST_F(Kernels, ErfcInvAndCdfNormInvReadSubnormalsAsZeroWhenFlushing) {
    const double tiny[2] = {0x1p-1070, -0x1p-1070};
    double erfc[2], norm[2];
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_CALLBACK | ARQ_DENORMALS_FLUSH);
    _arqdErfcInv(2, tiny, erfc);
    _arqdCdfNormInv(2, tiny, norm);
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_CALLBACK | ARQ_DENORMALS_KEEP);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(erfc[i], kInf) << i;
        EXPECT_EQ(norm[i], -kInf) << i;
    }
    ASSERT_EQ(t_reports.size(), 4u);
    for (const Report &r : t_reports) EXPECT_EQ(r.code, ARQ_STATUS_SING);
}

}  // namespace
