// sExp, sLn, Sqrt, Powx and ErfInv: special values and statuses in every slot's kernel. The
// vector path against the element path: paths_test.cpp.
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

}  // namespace
