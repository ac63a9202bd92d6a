// sExp, sLn, Sqrt, Powx and dErfInv: special values and statuses, the vector path against the
// element path on mixed inputs of every length and in place, the slots of dErfInv, and the frame.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "korb/vm.h"
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

// Inputs that exercise every path: ordinary values and the specials of each function.
template <class T>
std::vector<T> mixed_inputs(std::mt19937_64 &rng, std::size_t n, double lo, double hi,
                            const std::vector<T> &specials, int special_percent) {
    std::uniform_real_distribution<double> ordinary(lo, hi);
    std::uniform_int_distribution<std::size_t> pick(0, specials.size() - 1);
    std::uniform_int_distribution<int> percent(0, 99);
    std::vector<T> v(n);
    for (T &x : v) {
        x = percent(rng) < special_percent ? specials[pick(rng)] : static_cast<T>(ordinary(rng));
    }
    return v;
}

// The whole vector at once gives the bits and reports of one call per element, also in place,
// where the reports carry the original arguments.
template <class T>
void check_paths(Kernel<T> k, double lo, double hi, const std::vector<T> &specials) {
    std::mt19937_64 rng(2026);
    for (int special_percent : {0, 3, 30}) {
        for (std::size_t n : {1u, 2u, 3u, 4u, 5u, 15u, 16u, 17u, 33u, 1000u}) {
            const std::vector<T> a = mixed_inputs<T>(rng, n, lo, hi, specials, special_percent);
            std::vector<T> whole(n), single(n), in_place = a;
            t_reports.clear();
            k(static_cast<int>(n), a.data(), whole.data());
            const std::vector<Report> whole_reports = t_reports;
            std::vector<Report> single_reports;
            for (std::size_t i = 0; i < n; ++i) {
                t_reports.clear();
                k(1, &a[i], &single[i]);
                for (Report rep : t_reports) {
                    rep.index = static_cast<int>(i);
                    single_reports.push_back(rep);
                }
            }
            t_reports.clear();
            k(static_cast<int>(n), in_place.data(), in_place.data());
            for (std::size_t i = 0; i < n; ++i) {
                ASSERT_EQ(bits(whole[i]), bits(single[i])) << "x=" << a[i] << " n=" << n;
                ASSERT_EQ(bits(in_place[i]), bits(whole[i])) << "in place x=" << a[i];
            }
            ASSERT_EQ(whole_reports.size(), single_reports.size());
            ASSERT_EQ(t_reports.size(), whole_reports.size());
            for (std::size_t i = 0; i < whole_reports.size(); ++i) {
                EXPECT_EQ(whole_reports[i].code, single_reports[i].code);
                EXPECT_EQ(whole_reports[i].index, single_reports[i].index);
                EXPECT_EQ(bits(static_cast<T>(t_reports[i].a1)), bits(a[t_reports[i].index]));
            }
        }
    }
}

TEST_F(Kernels, VectorPathGivesTheElementPathsBitsAndReports) {
    const float nanf = NAN;
    check_paths<float>(_arqsExp, -90.0, 90.0,
                       {0.0f, -0.0f, kInfF, -kInfF, nanf, 86.5f, -86.5f, 86.49999f, 88.7f, 89.0f,
                        -87.5f, -103.9f, -104.0f, 1e-40f, 1e30f, -1e30f});
    check_paths<float>(_arqsExp, -1.0, 1.0, {nanf, 100.0f, -100.0f});
    check_paths<float>(_arqsLn, 0.0, 1e6,
                       {0.0f, -0.0f, kInfF, -kInfF, nanf, -1.0f, 1.0f, 1e-45f, 1e-40f,
                        1.1754942e-38f, 1.17549435e-38f, 3.4e38f, -1e-40f, 0.70710677f});
    check_paths<float>(_arqsSqrt, 0.0, 1e6, {0.0f, -0.0f, kInfF, -kInfF, nanf, -1.0f, 1e-45f});
    check_paths<double>(_arqdSqrt, 0.0, 1e6, {0.0, -0.0, kInf, -kInf, NAN, -1.0, 1e-310});
    const std::vector<double> erfinv_specials = {0.0,
                                                 -0.0,
                                                 1.0,
                                                 -1.0,
                                                 1.5,
                                                 -kInf,
                                                 NAN,
                                                 0.5,
                                                 -0.5,
                                                 std::nextafter(0.5, 1.0),
                                                 1e-310,
                                                 0.7630722413178782,
                                                 std::nextafter(1.0, 0.0),
                                                 -0.9999999,
                                                 0.99999999999};
    for (Kernel<double> k : {_arqdErfInv, _arqdErfInv_26}) {
        check_paths<double>(k, -1.0, 1.0, erfinv_specials);
        check_paths<double>(k, -0.5, 0.5, erfinv_specials);
    }
    const std::vector<float> erfinv_specials_s = {
        0.0f, -0.0f, 1.0f, -1.0f, 1.5f, nanf, 0.5f, -0.5f, 0.99999994f, 1e-40f, 0.76307225f};
    for (Kernel<float> k : {_arqsErfInv_21, _arqsErfInv, _arqsErfInv_11}) {
        check_paths<float>(k, -1.0, 1.0, erfinv_specials_s);
    }
    for (double b : {2.5, -7.0, 1071.0, 0.0}) {
        t_exponent = b;
        const std::vector<double> pow_specials = {0.0,   -0.0,   1.0,   -1.0,   -2.0, NAN,     kInf,
                                                  -kInf, 1e-310, 1e300, 1e-300, 0.5,  4.9e-324};
        check_paths<double>(dpowx, -3.0, 3.0, pow_specials);
        check_paths<double>(dpowx, 0.0, 1e10, pow_specials);
        const std::vector<float> pow_specials_s = {0.0f,  -0.0f,  1.0f,   -1.0f, -2.0f,  nanf,
                                                   kInfF, -kInfF, 1e-40f, 1e30f, 1e-30f, 0.5f};
        check_paths<float>(spowx, -3.0, 3.0, pow_specials_s);
        check_paths<float>(spowx, 0.0, 1e10, pow_specials_s);
    }
}

}  // namespace
