// The double exponential and logarithm kernels: special values and statuses, a NaN inside a block,
// in-place calls with reports, the control-register frame and the published table entries. The
// vector path against the element path: paths_test.cpp.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "korb/kernel/vm.h"
#include "vecmath/kernel_test.h"
#include "vecmath/kernels/exp_data.h"
#include "vecmath/kernels/ln_data.h"

namespace {

using Kernel = void (*)(int, const double *, double *);

using korb::test::bits;
using korb::test::Report;
using korb::test::t_reports;

double from_bits(std::uint64_t b) {
    return std::bit_cast<double>(b);
}

// Every test runs with the callback as the only error channel, and restores the mode after.
class ExpLn : public korb::test::KernelTest {
  protected:
    // The results of one call, and what it reported.
    struct Run {
        std::vector<double> r;
        std::vector<Report> reports;
    };
    static Run run(Kernel k, const std::vector<double> &a) {
        t_reports.clear();
        Run out{std::vector<double>(a.size(), -1234.5), {}};
        k(static_cast<int>(a.size()), a.data(), out.r.data());
        out.reports = t_reports;
        return out;
    }
};

struct Special {
    double x;
    std::uint64_t result;  // expected bits
    int status;
};

TEST_F(ExpLn, ExpSpecialValuesAndStatuses) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    const double below_overflow = std::nextafter(709.7827128933841, 0.0);
    const Special cases[] = {
        {0.0, bits(1.0), 0},
        {-0.0, bits(1.0), 0},
        {kInf, bits(kInf), 0},
        {-kInf, 0, 0},
        {std::numeric_limits<double>::quiet_NaN(), ~0ull, 0},
        {-std::numeric_limits<double>::quiet_NaN(), ~0ull, 0},
        {std::numeric_limits<double>::signaling_NaN(), ~0ull, 0},
        {709.7827128933841, bits(kInf), ARQ_STATUS_OVERFLOW},
        {1e300, bits(kInf), ARQ_STATUS_OVERFLOW},
        {-745.1332191019412, 0, ARQ_STATUS_UNDERFLOW},
        {-745.2, 0, ARQ_STATUS_UNDERFLOW},
        {-1e300, 0, ARQ_STATUS_UNDERFLOW},
        // The largest argument whose result rounds to the smallest subnormal.
        {std::nextafter(-745.1332191019412, 0.0), 1, ARQ_STATUS_UNDERFLOW},
    };
    for (const Special &c : cases) {
        const Run got = run(_arqdExp, {c.x});
        EXPECT_EQ(bits(got.r[0]), c.result) << c.x;
        ASSERT_EQ(got.reports.size(), c.status == 0 ? 0u : 1u) << c.x;
        if (c.status != 0) {
            EXPECT_EQ(got.reports[0],
                      (Report{c.status, 0, c.x, c.x, from_bits(c.result), from_bits(c.result)}))
                << c.x;
        }
    }

    // Near the thresholds: finite without status, subnormal with status, normal without.
    for (double x : {709.78, below_overflow, 709.7772976810359, 708.4, -708.39}) {
        const Run got = run(_arqdExp, {x});
        EXPECT_TRUE(std::isfinite(got.r[0])) << x;
        EXPECT_NEAR(got.r[0] / std::exp(x), 1.0, 1e-15) << x;
        EXPECT_TRUE(got.reports.empty()) << x;
    }
    EXPECT_EQ(run(_arqdExp, {below_overflow}).r[0], 1.7976931348622732e308);
    for (double x : {-708.4, -708.3964185322642, -730.0}) {
        const Run got = run(_arqdExp, {x});
        EXPECT_GT(got.r[0], 0.0) << x;
        EXPECT_LT(got.r[0], std::numeric_limits<double>::min()) << x;
        EXPECT_EQ(got.r[0], std::exp(x)) << x;  // one rounding, as the C library's
        ASSERT_EQ(got.reports.size(), 1u) << x;
        EXPECT_EQ(got.reports[0].code, ARQ_STATUS_UNDERFLOW);
    }
    const double just_normal = std::nextafter(-708.3964185322642, 0.0);
    EXPECT_GE(run(_arqdExp, {just_normal}).r[0], std::numeric_limits<double>::min());
    EXPECT_TRUE(run(_arqdExp, {just_normal}).reports.empty());
}

TEST_F(ExpLn, LnSpecialValuesAndStatuses) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    const std::uint64_t snan = 0x7FF0000000000001, negative_qnan = 0xFFF8000000000123;
    const Special cases[] = {
        {1.0, bits(0.0), 0},
        {kInf, bits(kInf), 0},
        {0.0, bits(-kInf), ARQ_STATUS_SING},
        {-0.0, bits(-kInf), ARQ_STATUS_SING},
        {-1.0, 0xFFF8000000000000, ARQ_STATUS_ERRDOM},
        {-kInf, 0xFFF8000000000000, ARQ_STATUS_ERRDOM},
        {-4.9406564584124654e-324, 0xFFF8000000000000, ARQ_STATUS_ERRDOM},
        {-1e-310, 0xFFF8000000000000, ARQ_STATUS_ERRDOM},
        {from_bits(snan), snan, 0},
        {from_bits(negative_qnan), negative_qnan, 0},
    };
    for (const Special &c : cases) {
        const Run got = run(_arqdLn, {c.x});
        EXPECT_EQ(bits(got.r[0]), c.result) << c.x;
        ASSERT_EQ(got.reports.size(), c.status == 0 ? 0u : 1u) << c.x;
        if (c.status != 0) {
            EXPECT_EQ(got.reports[0].code, c.status);
            EXPECT_EQ(bits(got.reports[0].r1), c.result);
        }
    }
    // Subnormal arguments are scaled into the normal range: finite, correct, no status.
    for (double x : {4.9406564584124654e-324, 1e-310, 2.2250738585072009e-308}) {
        const Run got = run(_arqdLn, {x});
        EXPECT_TRUE(got.reports.empty());
        EXPECT_NEAR(got.r[0], std::log(x), 2e-13) << x;
    }
    EXPECT_NEAR(run(_arqdLn, {4.9406564584124654e-324}).r[0], -744.4400719213812, 1e-12);
}

TEST_F(ExpLn, ANaNInABlockLeavesTheOtherElementsBits) {
    std::vector<double> a = {0.5, -3.25, 10.0, NAN, 700.0, -700.0, 1e-5, 2.0, 3.0};
    std::vector<double> clean = a;
    clean[3] = 1.0;
    const Run with_nan = run(_arqdExp, a);
    const Run without = run(_arqdExp, clean);
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (i != 3) {
            EXPECT_EQ(bits(with_nan.r[i]), bits(without.r[i])) << i;
        }
    }
    EXPECT_EQ(bits(with_nan.r[3]), ~0ull);
    EXPECT_TRUE(with_nan.reports.empty());
}

TEST_F(ExpLn, ErrorsReachTheCallbackWithTheOriginalArgumentInPlace) {
    double v[3] = {2.0, 0.0, 1.0};
    _arqdLn(3, v, v);
    ASSERT_EQ(t_reports.size(), 1u);
    EXPECT_EQ(t_reports[0], (Report{ARQ_STATUS_SING, 1, 0.0, 0.0, -INFINITY, -INFINITY}));

    // A callback's result replaces the written one.
    korb_arq_kernel_SetErrorCallBack([](ArqErrorContext *c) {
        c->r1 = 42.0;
        return 0;
    });
    double w[9] = {0, 0, 0, 0, 0, 0, 0, 710.0, 0};
    _arqdExp(9, w, w);
    EXPECT_EQ(w[7], 42.0);
    EXPECT_EQ(w[0], 1.0);
    EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_OVERFLOW);
}

TEST_F(ExpLn, TheCallersControlRegisterIsGivenBack) {
    const unsigned original = _mm_getcsr();
    const std::vector<double> a = {-708.4, 0.1, 1e-310, 2.5, -1.0, 3.0, 0.7, 100.0, 1e-320};
    const Run nearest_exp = run(_arqdExp, a);
    const Run nearest_ln = run(_arqdLn, a);
    // Caller: rounding toward zero, denormals-are-zero on, flush-to-zero off.
    const unsigned caller = (original & ~0xE040u) | 0x6000u | 0x0040u;
    for (unsigned denormals : {ARQ_DENORMALS_KEEP, ARQ_DENORMALS_FLUSH}) {
        korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_CALLBACK | denormals);
        _mm_setcsr(caller);
        const Run e = run(_arqdExp, a);
        const Run l = run(_arqdLn, a);
        const unsigned after = _mm_getcsr();
        _mm_setcsr(original);
        EXPECT_EQ(after & ~0x3Fu, caller & ~0x3Fu) << std::hex << after;
        if (denormals == ARQ_DENORMALS_KEEP) {
            // The kernels ran with round-to-nearest and gradual underflow all the same.
            for (std::size_t i = 0; i < a.size(); ++i) {
                EXPECT_EQ(bits(e.r[i]), bits(nearest_exp.r[i])) << a[i];
                EXPECT_EQ(bits(l.r[i]), bits(nearest_ln.r[i])) << a[i];
            }
        } else {
            EXPECT_EQ(e.r[0], 0.0);  // the subnormal result is flushed, the status stays
            EXPECT_EQ(e.reports.at(0).code, ARQ_STATUS_UNDERFLOW);
            EXPECT_EQ(e.r[2], 1.0);  // a subnormal argument reads as zero
        }
    }
}

}  // namespace

namespace {

using korb::vecmath::ExpEntry;
using korb::vecmath::kExpTable;
using korb::vecmath::kLnTable;
using korb::vecmath::LnEntry;

// The committed tables hold the published sample entries.
TEST(ExpLnTables, HoldThePublishedSampleEntries) {
    EXPECT_EQ(kExpTable[0].hi, 1.0);
    EXPECT_EQ(kExpTable[0].lo, 0.0);
    EXPECT_EQ(kExpTable[1].hi, 1.010889286051679);
    EXPECT_EQ(kExpTable[1].lo, 2.152309189912467e-14);
    EXPECT_EQ(kLnTable[1].rcp, 0.9980506896972656);
    EXPECT_EQ(kLnTable[256].rcp, 0.6666666269302368);
    EXPECT_EQ(kLnTable[512].rcp, 0.5);
    EXPECT_EQ(kLnTable[256].hi, -0.28768201172351837);
    EXPECT_EQ(kLnTable[256].lo, -1.1236160041096528e-09);
    for (int j : {0, 512}) {
        EXPECT_EQ(kLnTable[j].hi, 0.0);
        EXPECT_EQ(kLnTable[j].lo, 0.0);
    }
    // Short significands keep the kernels' products exact: T_hi and rcp end in zero bits.
    for (const ExpEntry &e : kExpTable) EXPECT_EQ(bits(e.hi) & 0xFF, 0u);
    for (const LnEntry &e : kLnTable) EXPECT_EQ(bits(e.rcp) & ((1ull << 30) - 1), 0u);
}

}  // namespace
