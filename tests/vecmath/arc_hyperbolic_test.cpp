// The inverse trigonometric, hyperbolic and inverse hyperbolic kernels: special values and
// statuses in both precisions (C99 Annex F), the two-argument arctangent's signed zeros and
// infinities, the overflow thresholds, tiny arguments without spurious statuses, and the
// caller's control register. Accuracy: accuracy.cpp; the vector path against the element path:
// paths_test.cpp.
#include <gtest/gtest.h>
#include <xmmintrin.h>

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

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.141592653589793;
constexpr double kHalfPi = 1.5707963267948966;
constexpr double kQuarterPi = 0.7853981633974483;
constexpr double kThreeQuarterPi = 2.356194490192345;
constexpr double kMax = std::numeric_limits<double>::max();
// Stands for "the NaN of a domain error" in the expected results.
constexpr double kDomainNaN = -kNaN;

template <class T>
using One = void (*)(int, const T *, T *);
template <class T>
using Two = void (*)(int, const T *, const T *, T *);

// A function in both precisions.
struct OneArg {
    const char *name;
    One<double> d;
    One<float> s;
};

struct Case {
    double x;
    double want;  // rounded to the precision; kDomainNaN: the domain error's NaN
    int status;
};

template <class T>
bool same_result(T got, double want) {
    if (bits(want) == bits(kDomainNaN)) {
        return sizeof(T) == 4 ? bits(got) == 0xFFC00000u : bits(got) == 0xFFF8000000000000u;
    }
    if (std::isnan(want)) return std::isnan(got);
    return bits(got) == bits(static_cast<T>(want));
}

class ArcHyperbolic : public korb::test::KernelTest {
  protected:
    // One element through each precision's kernel, also in place; the status as reported.
    template <class T>
    static void check(One<T> k, const char *name, const Case &c) {
        const T x = static_cast<T>(c.x);
        T r = T(-7);
        t_reports.clear();
        k(1, &x, &r);
        EXPECT_TRUE(same_result(r, c.want)) << name << "(" << c.x << ") = " << r;
        ASSERT_EQ(t_reports.size(), c.status == 0 ? 0u : 1u) << name << "(" << c.x << ")";
        if (c.status != 0) {
            EXPECT_EQ(t_reports[0].code, c.status) << name << "(" << c.x << ")";
            EXPECT_EQ(bits(static_cast<T>(t_reports[0].a1)), bits(x));
        }
        T v = x;
        k(1, &v, &v);
        EXPECT_EQ(bits(v), bits(r)) << name << " in place";
    }
    static void check_both(const OneArg &f, const Case &c) {
        check<double>(f.d, f.name, c);
        check<float>(f.s, f.name, c);
    }
};

TEST_F(ArcHyperbolic, InverseTrigonometricSpecialValues) {
    const OneArg asin{"asin", _arqdAsin, _arqsAsin}, acos{"acos", _arqdAcos, _arqsAcos},
        atan{"atan", _arqdAtan, _arqsAtan};
    const double above_one = 1.0000001;  // above 1 in both precisions
    for (const Case &c :
         {Case{1.0, kHalfPi, 0}, Case{-1.0, -kHalfPi, 0}, Case{0.0, 0.0, 0}, Case{-0.0, -0.0, 0},
          Case{1e-30, 1e-30, 0}, Case{-1e-30, -1e-30, 0},
          Case{above_one, kDomainNaN, ARQ_STATUS_ERRDOM}, Case{-2.0, kDomainNaN, ARQ_STATUS_ERRDOM},
          Case{kInf, kDomainNaN, ARQ_STATUS_ERRDOM}, Case{-kInf, kDomainNaN, ARQ_STATUS_ERRDOM},
          Case{kNaN, kNaN, 0}}) {
        check_both(asin, c);
    }
    // asin of subnormals: the argument itself, no underflow status.
    check<double>(_arqdAsin, "asin", {-4.9406564584124654e-324, -4.9406564584124654e-324, 0});
    check<float>(_arqsAsin, "asin", {1.401298464324817e-45, 1.401298464324817e-45, 0});
    for (const Case &c : {Case{1.0, 0.0, 0}, Case{-1.0, kPi, 0}, Case{0.0, kHalfPi, 0},
                          Case{-0.0, kHalfPi, 0}, Case{above_one, kDomainNaN, ARQ_STATUS_ERRDOM},
                          Case{-kInf, kDomainNaN, ARQ_STATUS_ERRDOM}, Case{kNaN, kNaN, 0}}) {
        check_both(acos, c);
    }
    for (const Case &c : {Case{kInf, kHalfPi, 0}, Case{-kInf, -kHalfPi, 0}, Case{0.0, 0.0, 0},
                          Case{-0.0, -0.0, 0}, Case{1e-30, 1e-30, 0}, Case{1.0, kQuarterPi, 0},
                          Case{kMax, kHalfPi, 0}, Case{kNaN, kNaN, 0}}) {
        check_both(atan, c);
    }
}

// The table of atan2(y, x): signed zeros and infinities, then NaNs and the underflow status.
TEST_F(ArcHyperbolic, Atan2SignedZerosAndInfinities) {
    struct Pair {
        double y, x, want;
        int status;
    };
    const Pair cases[] = {
        {0.0, 0.0, 0.0, 0},
        {-0.0, 0.0, -0.0, 0},
        {0.0, -0.0, kPi, 0},
        {-0.0, -0.0, -kPi, 0},
        {0.0, -3.0, kPi, 0},
        {-0.0, -3.0, -kPi, 0},
        {0.0, 3.0, 0.0, 0},
        {-0.0, 3.0, -0.0, 0},
        {2.0, 0.0, kHalfPi, 0},
        {2.0, -0.0, kHalfPi, 0},
        {-2.0, 0.0, -kHalfPi, 0},
        {-2.0, -0.0, -kHalfPi, 0},
        {5.0, kInf, 0.0, 0},
        {-5.0, kInf, -0.0, 0},
        {5.0, -kInf, kPi, 0},
        {-5.0, -kInf, -kPi, 0},
        {kInf, 5.0, kHalfPi, 0},
        {-kInf, -5.0, -kHalfPi, 0},
        {kInf, kInf, kQuarterPi, 0},
        {-kInf, kInf, -kQuarterPi, 0},
        {kInf, -kInf, kThreeQuarterPi, 0},
        {-kInf, -kInf, -kThreeQuarterPi, 0},
        {kNaN, 1.0, kNaN, 0},
        {1.0, kNaN, kNaN, 0},
        {kNaN, kInf, kNaN, 0},
        {1.0, 1.0, kQuarterPi, 0},
        {1.0, -1.0, kThreeQuarterPi, 0},
        {kMax, 1e-300, kHalfPi, 0},
        {-1e-300, -kMax, -kPi, 0},
    };
    for (const Pair &c : cases) {
        for (bool single : {false, true}) {
            t_reports.clear();
            bool same;
            if (single) {
                const float y = static_cast<float>(c.y), x = static_cast<float>(c.x);
                float r;
                _arqsAtan2(1, &y, &x, &r);
                same = same_result(r, c.want);
            } else {
                double r;
                _arqdAtan2(1, &c.y, &c.x, &r);
                same = same_result(r, c.want);
            }
            EXPECT_TRUE(same) << "atan2(" << c.y << ", " << c.x << ")" << (single ? "f" : "");
            EXPECT_TRUE(t_reports.empty()) << c.y << ", " << c.x;
        }
    }
    // A result below the smallest normal number: y/x rounded once, ARQ_STATUS_UNDERFLOW.
    const double y = 1e-300, x = 1e10;
    double r;
    _arqdAtan2(1, &y, &x, &r);
    EXPECT_EQ(r, y / x);
    ASSERT_EQ(t_reports.size(), 1u);
    EXPECT_EQ(t_reports[0], (Report{ARQ_STATUS_UNDERFLOW, 0, y, x, r, r}));
    t_reports.clear();
    const float fy = 1e-30f, fx = 1e10f;
    float fr;
    _arqsAtan2(1, &fy, &fx, &fr);
    EXPECT_EQ(fr, fy / fx);
    ASSERT_EQ(t_reports.size(), 1u);
    EXPECT_EQ(t_reports[0].code, ARQ_STATUS_UNDERFLOW);
    // Far apart magnitudes outside the lanes' range are scaled, not lost.
    for (const auto &[yy, xx] :
         {std::pair{0x1p-600, 0x1p-599}, std::pair{0x1p900, -0x1p901}, std::pair{3e-310, 1e-309}}) {
        t_reports.clear();
        _arqdAtan2(1, &yy, &xx, &r);
        EXPECT_NEAR(r, std::atan2(yy, xx), 1e-15 * std::fabs(r)) << yy << ", " << xx;
        EXPECT_TRUE(t_reports.empty());
    }
}

TEST_F(ArcHyperbolic, HyperbolicSpecialValuesAndOverflow) {
    const OneArg cosh{"cosh", _arqdCosh, _arqsCosh}, sinh{"sinh", _arqdSinh, _arqsSinh},
        tanh{"tanh", _arqdTanh, _arqsTanh};
    for (const Case &c :
         {Case{0.0, 1.0, 0}, Case{-0.0, 1.0, 0}, Case{kInf, kInf, 0}, Case{-kInf, kInf, 0},
          Case{kNaN, kNaN, 0}, Case{1e4, kInf, ARQ_STATUS_OVERFLOW},
          Case{-1e30, kInf, ARQ_STATUS_OVERFLOW}}) {
        check_both(cosh, c);
    }
    for (const Case &c :
         {Case{0.0, 0.0, 0}, Case{-0.0, -0.0, 0}, Case{1e-30, 1e-30, 0}, Case{-1e-30, -1e-30, 0},
          Case{kInf, kInf, 0}, Case{-kInf, -kInf, 0}, Case{kNaN, kNaN, 0},
          Case{1e4, kInf, ARQ_STATUS_OVERFLOW}, Case{-1e4, -kInf, ARQ_STATUS_OVERFLOW}}) {
        check_both(sinh, c);
    }
    for (const Case &c :
         {Case{0.0, 0.0, 0}, Case{-0.0, -0.0, 0}, Case{1e-30, 1e-30, 0}, Case{kInf, 1.0, 0},
          Case{-kInf, -1.0, 0}, Case{25.0, 1.0, 0}, Case{-1e300, -1.0, 0}, Case{kNaN, kNaN, 0}}) {
        check_both(tanh, c);
    }
    // The overflow thresholds: ln(2·max) is 710.47586007394394 in double, 89.415986 in single.
    const double top = 710.4758600739439, past = std::nextafter(top, kInf);
    for (double sign : {1.0, -1.0}) {
        check<double>(_arqdSinh, "sinh", {sign * top, sign * 1.7976931348621744e308, 0});
        check<double>(_arqdSinh, "sinh", {sign * past, sign * kInf, ARQ_STATUS_OVERFLOW});
        check<double>(_arqdCosh, "cosh", {sign * top, 1.7976931348621744e308, 0});
        check<double>(_arqdCosh, "cosh", {sign * past, kInf, ARQ_STATUS_OVERFLOW});
        const float ftop = 89.415985f, fpast = std::nextafter(ftop, 100.0f);
        check<float>(_arqsCosh, "cosh", {sign * ftop, 3.4028196e38, 0});
        check<float>(_arqsCosh, "cosh", {sign * fpast, kInf, ARQ_STATUS_OVERFLOW});
        check<float>(_arqsSinh, "sinh", {sign * fpast, sign * kInf, ARQ_STATUS_OVERFLOW});
    }
    // Subnormal arguments: the argument itself, no underflow status.
    check<double>(_arqdSinh, "sinh", {4.9406564584124654e-324, 4.9406564584124654e-324, 0});
    check<double>(_arqdTanh, "tanh", {-1e-310, -1e-310, 0});
}

TEST_F(ArcHyperbolic, InverseHyperbolicSpecialValuesAndStatuses) {
    const OneArg asinh{"asinh", _arqdAsinh, _arqsAsinh}, acosh{"acosh", _arqdAcosh, _arqsAcosh},
        atanh{"atanh", _arqdAtanh, _arqsAtanh};
    for (const Case &c :
         {Case{0.0, 0.0, 0}, Case{-0.0, -0.0, 0}, Case{1e-30, 1e-30, 0}, Case{-1e-30, -1e-30, 0},
          Case{kInf, kInf, 0}, Case{-kInf, -kInf, 0}, Case{kNaN, kNaN, 0}}) {
        check_both(asinh, c);
    }
    for (const Case &c :
         {Case{1.0, 0.0, 0}, Case{kInf, kInf, 0}, Case{kNaN, kNaN, 0},
          Case{0.5, kDomainNaN, ARQ_STATUS_ERRDOM}, Case{0.0, kDomainNaN, ARQ_STATUS_ERRDOM},
          Case{-0.0, kDomainNaN, ARQ_STATUS_ERRDOM}, Case{-1.0, kDomainNaN, ARQ_STATUS_ERRDOM},
          Case{-kInf, kDomainNaN, ARQ_STATUS_ERRDOM}}) {
        check_both(acosh, c);
    }
    for (const Case &c :
         {Case{0.0, 0.0, 0}, Case{-0.0, -0.0, 0}, Case{1e-30, 1e-30, 0},
          Case{1.0, kInf, ARQ_STATUS_SING}, Case{-1.0, -kInf, ARQ_STATUS_SING},
          Case{1.5, kDomainNaN, ARQ_STATUS_ERRDOM}, Case{-kInf, kDomainNaN, ARQ_STATUS_ERRDOM},
          Case{kInf, kDomainNaN, ARQ_STATUS_ERRDOM}, Case{kNaN, kNaN, 0}}) {
        check_both(atanh, c);
    }
    // The largest arguments: ln(2x), where x² would overflow.
    check<double>(_arqdAsinh, "asinh", {-kMax, -710.475860073944, 0});
    check<double>(_arqdAcosh, "acosh", {kMax, 710.475860073944, 0});
    check<float>(_arqsAcosh, "acosh", {3.4028234663852886e38, 89.415985, 0});
    // Next to 1: acosh(1 + 2^-52) is about 2^-25.5, atanh(1 - 2^-53) about 18.7.
    check<double>(_arqdAcosh, "acosh", {1.0 + 0x1p-52, 2.1073424255447014e-08, 0});
    check<double>(_arqdAtanh, "atanh", {std::nextafter(1.0, 0.0), 18.714973875118524, 0});
}

// Statuses of several elements come back each with its own index; the others are untouched.
TEST_F(ArcHyperbolic, ReportsCarryTheirIndices) {
    std::vector<double> a = {0.5, 2.0, -0.25, 1.0, 0.75, -3.0, 0.1, 0.2, 0.3};
    std::vector<double> r(a.size());
    _arqdAtanh(static_cast<int>(a.size()), a.data(), r.data());
    ASSERT_EQ(t_reports.size(), 3u);
    EXPECT_EQ(t_reports[0].index, 1);
    EXPECT_EQ(t_reports[0].code, ARQ_STATUS_ERRDOM);
    EXPECT_EQ(t_reports[0].a1, 2.0);
    EXPECT_EQ(t_reports[1], (Report{ARQ_STATUS_SING, 3, 1.0, 1.0, kInf, kInf}));
    EXPECT_EQ(t_reports[2].index, 5);
    EXPECT_EQ(t_reports[2].code, ARQ_STATUS_ERRDOM);
    for (std::size_t i : {0u, 2u, 4u, 6u, 7u, 8u}) {
        double one;
        _arqdAtanh(1, &a[i], &one);
        EXPECT_EQ(bits(r[i]), bits(one)) << a[i];
    }
}

// The kernels run with round-to-nearest and the thread's denormal mode whatever the caller's
// control register holds, and give that register back.
TEST_F(ArcHyperbolic, TheCallersControlRegisterIsGivenBack) {
    const unsigned original = _mm_getcsr();
    const std::vector<double> a = {0.3, -0.7, 1e-310, 2.5, 0.999, -20.0, 1.0, 700.0, 0.01};
    const std::vector<double> b = {-1.5, 0.2, 3.0, 1e-310, -0.0, 2.0, 5.0, -7.0, 0.02};
    const One<double> kernels[] = {_arqdAsin, _arqdAcos,  _arqdAtan,  _arqdCosh, _arqdSinh,
                                   _arqdTanh, _arqdAsinh, _arqdAcosh, _arqdAtanh};
    const int n = static_cast<int>(a.size());
    std::vector<std::vector<double>> nearest;
    for (One<double> k : kernels) {
        std::vector<double> r(a.size());
        k(n, a.data(), r.data());
        nearest.push_back(r);
    }
    std::vector<double> atan2_nearest(a.size());
    _arqdAtan2(n, a.data(), b.data(), atan2_nearest.data());
    // Caller: rounding toward zero, denormals-are-zero and flush-to-zero on.
    const unsigned caller = (original & ~0xE040u) | 0x6000u | 0x8040u;
    _mm_setcsr(caller);
    std::vector<std::vector<double>> got;
    for (One<double> k : kernels) {
        std::vector<double> r(a.size());
        k(n, a.data(), r.data());
        got.push_back(r);
    }
    std::vector<double> atan2_got(a.size());
    _arqdAtan2(n, a.data(), b.data(), atan2_got.data());
    const unsigned after = _mm_getcsr();
    _mm_setcsr(original);
    EXPECT_EQ(after & ~0x3Fu, caller & ~0x3Fu) << std::hex << after;
    for (std::size_t k = 0; k < got.size(); ++k) {
        for (std::size_t i = 0; i < a.size(); ++i) {
            EXPECT_EQ(bits(got[k][i]), bits(nearest[k][i])) << k << ", " << a[i];
        }
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(bits(atan2_got[i]), bits(atan2_nearest[i])) << a[i] << ", " << b[i];
    }
}

}  // namespace
