// Integer distributions: how the discrete uniform floors its uniforms, Bernoulli's comparison,
// the geometric kernel's edges, and the scalar logarithm it takes its constant from. Their
// distributions and the generic properties are in contract_test.cpp.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include "distributions/dist_test.h"
#include "korb/kernel/vm.h"

namespace korb::test {
namespace {

TEST(DiscreteUniform, FloorsTheDoubleUniformInBlocks) {
    Stream s = g_scripted.stream({0.0, 0.05, 0.999999, 0.55});
    std::vector<int> r(1025);
    ASSERT_EQ(_bixiRngUniform(BIX_RNG_METHOD_STD, s.get(), 1025, r.data(), -5, 5), BIX_ERROR_OK);
    EXPECT_EQ(g_scripted.calls, (std::vector<int>{1024, 1}));
    EXPECT_EQ(r[0], -5);  // -5.0
    EXPECT_EQ(r[1], -5);  // -4.5
    EXPECT_EQ(r[2], 4);   // 4.99999
    EXPECT_EQ(r[3], 0);   // 0.5
    for (int x : r) {
        EXPECT_GE(x, -5);
        EXPECT_LE(x, 4);
    }
}

TEST(Bernoulli, ComparesWithTheSingleProbability) {
    std::vector<int> r(6, 7);
    for (double p : {0.0, -0.5, -0.0}) {
        Stream s = g_scripted.stream({0.0, 0.25, 0.5});
        ASSERT_EQ(_bixiRngBernoulli(BIX_RNG_METHOD_STD, s.get(), 6, r.data(), p), BIX_ERROR_OK);
        EXPECT_EQ(r, std::vector<int>(6, 0)) << p;
    }
    // u < p strictly; p = 1 takes every float uniform.
    Stream s = g_scripted.stream({0.25, 0.2499999, 0.0});
    ASSERT_EQ(_bixiRngBernoulli(0, s.get(), 3, r.data(), 0.25), BIX_ERROR_OK);
    EXPECT_EQ(std::vector<int>(r.begin(), r.begin() + 3), (std::vector<int>{0, 1, 1}));
    s = make_stream(BIX_BRNG_MCG31M1, 1);
    ASSERT_EQ(_bixiRngBernoulli(0, s.get(), 6, r.data(), 1.0), BIX_ERROR_OK);
    EXPECT_EQ(r, std::vector<int>(6, 1));
}

TEST(Geometric, UniformOfZeroAndCertainSuccessInAFreshThread) {
    const auto callback = [](ArqErrorContext *) { return 1; };
    std::thread([&] {
        korb_arq_kernel_SetErrorCallBack(callback);
        const unsigned mode = korb_arq_kernel_GetMode();
        Stream s = g_scripted.stream({0.0, 0.5});
        int r[2];
        ASSERT_EQ(_bixiRngGeometric(0, s.get(), 2, r, 0.5), BIX_ERROR_OK);
        // ln 0 counts as ln of the least subnormal float: -103.28 / ln(1/2) = 149.0.
        const float c = static_cast<float>(1.0 / std::log(0.5));
        EXPECT_EQ(r[0], static_cast<int>(std::floor(-103.2789306640625f * c)));
        EXPECT_EQ(r[1], 1);
        ASSERT_EQ(_bixiRngGeometric(0, s.get(), 2, r, 1.0), BIX_ERROR_OK);
        EXPECT_EQ(r[0], 0);
        EXPECT_EQ(r[1], 0);
        EXPECT_EQ(korb_arq_kernel_GetMode(), mode);
        EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), +callback);
    }).join();
}

// The geometric kernel's scalar logarithm: within an ulp of the C library's (both lie within
// about half an ulp of ln x) across the binades, and the vector kernel's value for one argument,
// as the header promises; the special values exactly, and no report of them to the thread's
// status.
TEST(ScalarLn, IsTheLogarithmWithoutAReport) {
    korb_arq_kernel_SetErrStatus(ARQ_STATUS_OK);
    for (double x = 0x1p-1074; std::isfinite(x); x *= 1.7) {
        const double expected = std::log(x);
        const double ulp = std::fabs(std::nextafter(expected, 2 * expected) - expected);
        double vector = 0;
        _arqdLn(1, &x, &vector);
        EXPECT_NEAR(__bixdLn(x), expected, ulp) << x;
        EXPECT_EQ(__bixdLn(x), vector) << x;
    }
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(__bixdLn(1.0), 0.0);
    EXPECT_EQ(__bixdLn(0.0), -inf);
    EXPECT_EQ(__bixdLn(-0.0), -inf);
    EXPECT_EQ(__bixdLn(inf), inf);
    EXPECT_TRUE(std::isnan(__bixdLn(-1.0)));
    EXPECT_TRUE(std::isnan(__bixdLn(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_OK);
}

}  // namespace
}  // namespace korb::test
