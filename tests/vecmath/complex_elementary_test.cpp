// The complex elementary functions: C99 Annex G's special values and branch cuts in both
// precisions, the statuses with the record's complex fields, the slots of cExp and cLn, and the
// regions where a part cancels (Sin and Cos near the real multiples of π/2, Ln near |z| = 1,
// Tan near its poles, integer powers), checked against references in long double arithmetic.
// Accuracy over the domains against MPC: accuracy.cpp; vector against element: paths_test.cpp.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "korb/kernel/vm.h"
#include "vecmath/kernel_test.h"

namespace {

using korb::test::bits;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.141592653589793;

using Z = ArqComplexDouble;
using C = ArqComplexFloat;

struct Record {
    int code, index;
    double a1, a1_im, a2, a2_im, r1, r1_im;
};
thread_local std::vector<Record> t_records;

int record(ArqErrorContext *c) {
    t_records.push_back({c->code, c->index, c->a1, c->a1_im, c->a2, c->a2_im, c->r1, c->r1_im});
    return 0;
}

class ComplexElementary : public korb::test::KernelTest {
  protected:
    void SetUp() override {
        KernelTest::SetUp();
        korb_arq_kernel_SetErrorCallBack(record);
        t_records.clear();
    }
};

struct Function {
    const char *name;
    const ArqKernelZ *z;
    const ArqKernelC *c;
};

const Function kFunctions[] = {
    {"Exp", korb_arq_kernel_zExp_ttab, korb_arq_kernel_cExp_ttab},
    {"Ln", korb_arq_kernel_zLn_ttab, korb_arq_kernel_cLn_ttab},
    {"Log10", korb_arq_kernel_zLog10_ttab, korb_arq_kernel_cLog10_ttab},
    {"Sqrt", korb_arq_kernel_zSqrt_ttab, korb_arq_kernel_cSqrt_ttab},
    {"Sin", korb_arq_kernel_zSin_ttab, korb_arq_kernel_cSin_ttab},
    {"Cos", korb_arq_kernel_zCos_ttab, korb_arq_kernel_cCos_ttab},
    {"Tan", korb_arq_kernel_zTan_ttab, korb_arq_kernel_cTan_ttab},
    {"Sinh", korb_arq_kernel_zSinh_ttab, korb_arq_kernel_cSinh_ttab},
    {"Cosh", korb_arq_kernel_zCosh_ttab, korb_arq_kernel_cCosh_ttab},
    {"Tanh", korb_arq_kernel_zTanh_ttab, korb_arq_kernel_cTanh_ttab},
};

const Function &function(const std::string &name) {
    for (const Function &f : kFunctions) {
        if (name == f.name) return f;
    }
    return kFunctions[0];
}

Z zcall(const std::string &name, Z a, int slot = 1) {
    Z r;
    function(name).z[slot](1, &a, &r);
    return r;
}
C ccall(const std::string &name, C a, int slot = 1) {
    C r;
    function(name).c[slot](1, &a, &r);
    return r;
}

// An expected part: a value (compared bit for bit, so a zero's sign counts), any NaN, or a finite
// value within a relative 1e-15 (π and its fractions).
struct Part {
    double v;
    enum { kExact, kAnyNaN, kNear } how = kExact;
};
constexpr Part kAnyNaN = {0, Part::kAnyNaN};
constexpr Part near(double v) {
    return {v, Part::kNear};
}

template <class T>
::testing::AssertionResult matches(T got, Part want, double tolerance) {
    switch (want.how) {
        case Part::kAnyNaN:
            if (std::isnan(got)) return ::testing::AssertionSuccess();
            break;
        case Part::kNear:
            if (std::fabs(got - want.v) <= tolerance * std::fabs(want.v)) {
                return ::testing::AssertionSuccess();
            }
            break;
        case Part::kExact:
            if (bits(got) == bits(static_cast<T>(want.v))) return ::testing::AssertionSuccess();
            break;
    }
    return ::testing::AssertionFailure() << got << " instead of " << want.v;
}

struct Special {
    const char *function;
    double x, y;
    Part re, im;
    int status;
};

// Annex G's tables (and the choices where it leaves a sign or a value open, as
// docs/vecmath-special-values.md lists them).
const Special kSpecials[] = {
    // Exp
    {"Exp", 0.0, 0.0, {1.0}, {0.0}, ARQ_STATUS_OK},
    {"Exp", -0.0, -0.0, {1.0}, {-0.0}, ARQ_STATUS_OK},
    {"Exp", 2.0, kInf, kAnyNaN, kAnyNaN, ARQ_STATUS_ERRDOM},
    {"Exp", 2.0, kNaN, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Exp", kInf, 0.0, {kInf}, {0.0}, ARQ_STATUS_OK},
    {"Exp", kInf, -0.0, {kInf}, {-0.0}, ARQ_STATUS_OK},
    {"Exp", -kInf, 2.0, {-0.0}, {0.0}, ARQ_STATUS_OK},  // +0·cis(2): cos 2 < 0
    {"Exp", kInf, 2.0, {-kInf}, {kInf}, ARQ_STATUS_OK},
    {"Exp", -kInf, kInf, {0.0}, {0.0}, ARQ_STATUS_OK},
    {"Exp", kInf, kInf, {kInf}, kAnyNaN, ARQ_STATUS_ERRDOM},
    {"Exp", -kInf, kNaN, {0.0}, {0.0}, ARQ_STATUS_OK},
    {"Exp", kInf, kNaN, {kInf}, kAnyNaN, ARQ_STATUS_OK},
    {"Exp", kNaN, 0.0, kAnyNaN, {0.0}, ARQ_STATUS_OK},
    {"Exp", kNaN, -0.0, kAnyNaN, {-0.0}, ARQ_STATUS_OK},
    {"Exp", kNaN, 1.0, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Exp", 710.0, 0.0, {kInf}, {0.0}, ARQ_STATUS_OVERFLOW},
    // Ln (and Log10 below): the cut along the negative reals, the zero, the infinities.
    {"Ln", -0.0, 0.0, {-kInf}, near(kPi), ARQ_STATUS_SING},
    {"Ln", 0.0, -0.0, {-kInf}, {-0.0}, ARQ_STATUS_SING},
    {"Ln", -2.0, 0.0, near(std::log(2.0)), near(kPi), ARQ_STATUS_OK},
    {"Ln", -2.0, -0.0, near(std::log(2.0)), near(-kPi), ARQ_STATUS_OK},
    {"Ln", 3.0, kInf, {kInf}, near(kPi / 2), ARQ_STATUS_OK},
    {"Ln", 3.0, kNaN, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Ln", -kInf, 1.0, {kInf}, near(kPi), ARQ_STATUS_OK},
    {"Ln", kInf, -1.0, {kInf}, {-0.0}, ARQ_STATUS_OK},
    {"Ln", -kInf, kInf, {kInf}, near(3 * kPi / 4), ARQ_STATUS_OK},
    {"Ln", kInf, -kInf, {kInf}, near(-kPi / 4), ARQ_STATUS_OK},
    {"Ln", -kInf, kNaN, {kInf}, kAnyNaN, ARQ_STATUS_OK},
    {"Ln", kNaN, 1.0, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Ln", kNaN, -kInf, {kInf}, kAnyNaN, ARQ_STATUS_OK},
    {"Ln", 1.0, 0.0, {0.0}, {0.0}, ARQ_STATUS_OK},
    {"Log10", -0.0, -0.0, {-kInf}, near(-kPi / std::log(10.0)), ARQ_STATUS_SING},
    {"Log10", -100.0, 0.0, near(2.0), near(kPi / std::log(10.0)), ARQ_STATUS_OK},
    {"Log10", 1000.0, 0.0, {3.0}, {0.0}, ARQ_STATUS_OK},
    // Sqrt
    {"Sqrt", -0.0, 0.0, {0.0}, {0.0}, ARQ_STATUS_OK},
    {"Sqrt", 0.0, -0.0, {0.0}, {-0.0}, ARQ_STATUS_OK},
    {"Sqrt", -4.0, 0.0, {0.0}, {2.0}, ARQ_STATUS_OK},
    {"Sqrt", -4.0, -0.0, {0.0}, {-2.0}, ARQ_STATUS_OK},
    {"Sqrt", 2.0, kInf, {kInf}, {kInf}, ARQ_STATUS_OK},
    {"Sqrt", kNaN, -kInf, {kInf}, {-kInf}, ARQ_STATUS_OK},
    {"Sqrt", 2.0, kNaN, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Sqrt", -kInf, 2.0, {0.0}, {kInf}, ARQ_STATUS_OK},
    {"Sqrt", -kInf, -2.0, {0.0}, {-kInf}, ARQ_STATUS_OK},
    {"Sqrt", kInf, -2.0, {kInf}, {-0.0}, ARQ_STATUS_OK},
    {"Sqrt", -kInf, kNaN, kAnyNaN, {kInf}, ARQ_STATUS_OK},
    {"Sqrt", kInf, kNaN, {kInf}, kAnyNaN, ARQ_STATUS_OK},
    {"Sqrt", kNaN, 1.0, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Sqrt", 1e308, 1e308, near(1.0986841134678100e154), near(4.5508986056222734e153),
     ARQ_STATUS_OK},
    // Sinh
    {"Sinh", 0.0, 0.0, {0.0}, {0.0}, ARQ_STATUS_OK},
    {"Sinh", -0.0, 0.0, {-0.0}, {0.0}, ARQ_STATUS_OK},
    {"Sinh", 0.0, kInf, {0.0}, kAnyNaN, ARQ_STATUS_ERRDOM},
    {"Sinh", 0.0, kNaN, {0.0}, kAnyNaN, ARQ_STATUS_OK},
    {"Sinh", 1.0, kInf, kAnyNaN, kAnyNaN, ARQ_STATUS_ERRDOM},
    {"Sinh", 1.0, kNaN, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Sinh", kInf, 0.0, {kInf}, {0.0}, ARQ_STATUS_OK},
    {"Sinh", -kInf, -0.0, {-kInf}, {-0.0}, ARQ_STATUS_OK},
    {"Sinh", kInf, 2.0, {-kInf}, {kInf}, ARQ_STATUS_OK},
    {"Sinh", kInf, kInf, {kInf}, kAnyNaN, ARQ_STATUS_ERRDOM},
    {"Sinh", kInf, kNaN, {kInf}, kAnyNaN, ARQ_STATUS_OK},
    {"Sinh", kNaN, 0.0, kAnyNaN, {0.0}, ARQ_STATUS_OK},
    {"Sinh", kNaN, 1.0, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Sinh", 800.0, 1.0, {kInf}, {kInf}, ARQ_STATUS_OVERFLOW},
    // Cosh
    {"Cosh", 0.0, 0.0, {1.0}, {0.0}, ARQ_STATUS_OK},
    {"Cosh", -0.0, 0.0, {1.0}, {-0.0}, ARQ_STATUS_OK},
    {"Cosh", 0.0, kInf, kAnyNaN, {0.0}, ARQ_STATUS_ERRDOM},
    {"Cosh", 0.0, kNaN, kAnyNaN, {0.0}, ARQ_STATUS_OK},
    {"Cosh", 1.0, kInf, kAnyNaN, kAnyNaN, ARQ_STATUS_ERRDOM},
    {"Cosh", 1.0, kNaN, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Cosh", kInf, 0.0, {kInf}, {0.0}, ARQ_STATUS_OK},
    {"Cosh", -kInf, 0.0, {kInf}, {-0.0}, ARQ_STATUS_OK},
    {"Cosh", kInf, 2.0, {-kInf}, {kInf}, ARQ_STATUS_OK},
    {"Cosh", kInf, kInf, {kInf}, kAnyNaN, ARQ_STATUS_ERRDOM},
    {"Cosh", kInf, kNaN, {kInf}, kAnyNaN, ARQ_STATUS_OK},
    {"Cosh", kNaN, 0.0, kAnyNaN, {0.0}, ARQ_STATUS_OK},
    {"Cosh", kNaN, 1.0, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Cosh", -750.0, 0.0, {kInf}, {-0.0}, ARQ_STATUS_OVERFLOW},
    // Tanh
    {"Tanh", 0.0, 0.0, {0.0}, {0.0}, ARQ_STATUS_OK},
    {"Tanh", -0.0, -0.0, {-0.0}, {-0.0}, ARQ_STATUS_OK},
    {"Tanh", 0.0, kInf, {0.0}, kAnyNaN, ARQ_STATUS_ERRDOM},
    {"Tanh", 1.0, kInf, kAnyNaN, kAnyNaN, ARQ_STATUS_ERRDOM},
    {"Tanh", 0.0, kNaN, {0.0}, kAnyNaN, ARQ_STATUS_OK},
    {"Tanh", 1.0, kNaN, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Tanh", kInf, 2.0, {1.0}, {-0.0}, ARQ_STATUS_OK},  // sin 4 < 0
    {"Tanh", -kInf, 1.0, {-1.0}, {0.0}, ARQ_STATUS_OK},
    {"Tanh", kInf, kInf, {1.0}, {0.0}, ARQ_STATUS_OK},
    {"Tanh", kInf, kNaN, {1.0}, {0.0}, ARQ_STATUS_OK},
    {"Tanh", kNaN, 0.0, kAnyNaN, {0.0}, ARQ_STATUS_OK},
    {"Tanh", kNaN, 1.0, kAnyNaN, kAnyNaN, ARQ_STATUS_OK},
    {"Tanh", 1000.0, 1.0, {1.0}, {0.0}, ARQ_STATUS_OK},
    {"Tanh", -30.0, 0.0, {-1.0}, {0.0}, ARQ_STATUS_OK},
    // Sin, Cos, Tan through the identities: sin(x + i·inf) = NaN-free parts of sinh(-inf + ix).
    {"Sin", 0.0, 0.0, {0.0}, {0.0}, ARQ_STATUS_OK},
    {"Sin", -0.0, -0.0, {-0.0}, {-0.0}, ARQ_STATUS_OK},
    {"Sin", kInf, 0.0, kAnyNaN, {0.0}, ARQ_STATUS_ERRDOM},
    {"Sin", 0.0, kInf, {0.0}, {kInf}, ARQ_STATUS_OK},
    {"Sin", 2.0, kInf, {kInf}, {-kInf}, ARQ_STATUS_OK},  // cosh(inf)·sin 2, sinh(inf)·cos 2
    {"Sin", 2.0, 800.0, {kInf}, {-kInf}, ARQ_STATUS_OVERFLOW},
    {"Cos", 0.0, 0.0, {1.0}, {-0.0}, ARQ_STATUS_OK},
    {"Cos", 0.0, kInf, {kInf}, {-0.0}, ARQ_STATUS_OK},
    {"Cos", kInf, 0.0, kAnyNaN, {0.0}, ARQ_STATUS_ERRDOM},
    {"Cos", kNaN, 0.0, kAnyNaN, {0.0}, ARQ_STATUS_OK},
    {"Tan", 0.0, 0.0, {0.0}, {0.0}, ARQ_STATUS_OK},
    {"Tan", 1.0, kInf, {0.0}, {1.0}, ARQ_STATUS_OK},
    {"Tan", -2.0, -kInf, {0.0}, {-1.0}, ARQ_STATUS_OK},  // sin(-4) > 0
    {"Tan", kInf, 1.0, kAnyNaN, kAnyNaN, ARQ_STATUS_ERRDOM},
    {"Tan", kInf, 0.0, kAnyNaN, {0.0}, ARQ_STATUS_ERRDOM},
};

TEST_F(ComplexElementary, AnnexGSpecialValuesAndStatusesInBothPrecisions) {
    for (const Special &s : kSpecials) {
        for (int slot = 0; slot < 3; ++slot) {
            t_records.clear();
            const Z z = zcall(s.function, {s.x, s.y}, slot);
            const std::string what = std::string("z") + s.function + "(" + std::to_string(s.x) +
                                     ", " + std::to_string(s.y) + ") slot " + std::to_string(slot);
            EXPECT_TRUE(matches(z.re, s.re, 1e-15)) << what << " re";
            EXPECT_TRUE(matches(z.im, s.im, 1e-15)) << what << " im";
            if (s.status == ARQ_STATUS_OK) {
                EXPECT_TRUE(t_records.empty()) << what;
            } else {
                ASSERT_EQ(t_records.size(), 1u) << what;
                EXPECT_EQ(t_records[0].code, s.status) << what;
            }
            // The same in single precision, where the arguments are floats (800 and 750 stay
            // beyond the float ranges, so the overflows stay).
            const double float_max = std::numeric_limits<float>::max();
            if (std::fabs(s.x) > float_max && std::isfinite(s.x)) continue;
            if (std::fabs(s.y) > float_max && std::isfinite(s.y)) continue;
            t_records.clear();
            const C c = ccall(s.function, {static_cast<float>(s.x), static_cast<float>(s.y)}, slot);
            EXPECT_TRUE(matches(c.re, s.re, 1e-6)) << "c" << what << " re";
            EXPECT_TRUE(matches(c.im, s.im, 1e-6)) << "c" << what << " im";
            if (s.status == ARQ_STATUS_OK) {
                EXPECT_TRUE(t_records.empty()) << "c" << what;
            } else {
                ASSERT_EQ(t_records.size(), 1u) << "c" << what;
                EXPECT_EQ(t_records[0].code, s.status) << "c" << what;
            }
        }
    }
}

TEST_F(ComplexElementary, ConjugateAndOddSymmetriesHoldBitForBit) {
    // f(conj z) = conj f(z) for all of them off the cuts; Sin, Tan, Sinh, Tanh are odd, Cos and
    // Cosh even.
    const double xs[] = {0.3, 1.7, -2.5, 12.0, 0x1p-30, 700.5};
    const double ys[] = {0.4, -1.1, 3.0, 1e-12, 40.0};
    for (const Function &f : kFunctions) {
        for (double x : xs) {
            for (double y : ys) {
                const Z r = zcall(f.name, {x, y});
                const Z rc = zcall(f.name, {x, -y});
                EXPECT_EQ(bits(rc.re), bits(r.re)) << f.name << "(" << x << ", " << y << ")";
                EXPECT_EQ(bits(rc.im), bits(-r.im)) << f.name << "(" << x << ", " << y << ")";
                const std::string name = f.name;
                const bool odd = name == "Sin" || name == "Tan" || name == "Sinh" || name == "Tanh";
                const bool even = name == "Cos" || name == "Cosh";
                if (!odd && !even) continue;
                const Z rn = zcall(f.name, {-x, -y});
                EXPECT_EQ(bits(rn.re), bits(odd ? -r.re : r.re)) << f.name;
                EXPECT_EQ(bits(rn.im), bits(odd ? -r.im : r.im)) << f.name;
            }
        }
    }
}

// Within u ulps of want, or, for a part below 2^-20 of the modulus, within u ulps of it.
::testing::AssertionResult within(double got, long double want, long double modulus, double u) {
    const long double scale = std::fabs(want) < modulus * 0x1p-20L ? modulus : std::fabs(want);
    int e;
    std::frexp(static_cast<double>(scale), &e);
    const long double ulp = std::ldexp(1.0L, std::max(e - 53, -1074));
    const long double err = std::fabs(static_cast<long double>(got) - want) / ulp;
    if (err <= u) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << got << " is " << static_cast<double>(err)
                                         << " ulp from " << static_cast<double>(want);
}

TEST_F(ComplexElementary, PartsThatCancelKeepTheirDigits) {
    // Sin and Cos at the doubles nearest to multiples of π/2, with small imaginary parts: the
    // real part of sin is sin x·cosh y, where sin x is the whole information.
    for (int k = 1; k <= 200; ++k) {
        const double x = k * (kPi / 2);
        for (double y : {0.0, 1e-300, 1e-12, 0.25}) {
            const long double xl = x, yl = y;
            const Z s = zcall("Sin", {x, y});
            const long double s_re = sinl(xl) * coshl(yl), s_im = cosl(xl) * sinhl(yl);
            const long double mod = std::hypot(s_re, s_im);
            EXPECT_TRUE(within(s.re, s_re, mod, 2)) << "sin re at k = " << k << ", y = " << y;
            EXPECT_TRUE(within(s.im, s_im, mod, 2)) << "sin im at k = " << k << ", y = " << y;
            const Z c = zcall("Cos", {x, y});
            const long double c_re = cosl(xl) * coshl(yl), c_im = -sinl(xl) * sinhl(yl);
            const long double cmod = std::hypot(c_re, c_im);
            EXPECT_TRUE(within(c.re, c_re, cmod, 2)) << "cos re at k = " << k << ", y = " << y;
            EXPECT_TRUE(within(c.im, c_im, cmod, 2)) << "cos im at k = " << k << ", y = " << y;
        }
    }
    // Ln near |z| = 1: ln|z| = log1p(|z|² - 1)/2, |z|² - 1 exact in long double for these parts.
    for (int j = 10; j <= 26; ++j) {
        const double x = 1.0 - std::ldexp(1.0, -2 * j), y = std::ldexp(1.0, -j);
        const long double u =
            (static_cast<long double>(x) - 1) * (static_cast<long double>(x) + 1) +
            static_cast<long double>(y) * y;
        const Z l = zcall("Ln", {x, y});
        const long double re = log1pl(u) / 2, im = atan2l(y, x);
        EXPECT_TRUE(within(l.re, re, std::hypot(re, im), 2)) << "ln re at j = " << j;
        EXPECT_TRUE(within(l.im, im, std::hypot(re, im), 2)) << "ln im at j = " << j;
    }
    // Tan near its real poles: the real part is tan x, large, the imaginary part tiny.
    for (int k = -5; k <= 5; k += 2) {
        const double x = k * (kPi / 2);
        const Z t = zcall("Tan", {x, 0.0});
        const long double want = tanl(static_cast<long double>(x));
        EXPECT_TRUE(within(t.re, want, std::fabs(want), 2)) << "tan at k = " << k;
        EXPECT_EQ(t.im, 0.0);
    }
}

TEST_F(ComplexElementary, IntegerPowersOfGaussianIntegersAreExactToTheRule) {
    struct Case {
        Z z;
        double w;
        double re, im;  // exact
    };
    const Case cases[] = {
        {{1, 1}, 2, 0, 2},    {{3, 4}, 2, -7, 24},   {{3, 4}, 3, -117, 44},
        {{1, 2}, 5, 41, -38}, {{2, -1}, 4, -7, -24}, {{0, 1}, 4, 1, 0},
        {{-1, 0}, 3, -1, 0},  {{1, 1}, -2, 0, -0.5}, {{-2, 0}, 10, 1024, 0},
    };
    for (const Case &c : cases) {
        Z r;
        const Z w = {c.w, 0.0};
        _arqzPow(1, &c.z, &w, &r);
        const long double mod = std::hypot(static_cast<long double>(c.re), c.im);
        EXPECT_TRUE(within(r.re, c.re, mod, 2)) << c.z.re << "+" << c.z.im << "i ^ " << c.w;
        EXPECT_TRUE(within(r.im, c.im, mod, 2)) << c.z.re << "+" << c.z.im << "i ^ " << c.w;
        // Powx gives Pow's bits for the same pair.
        Z rx;
        _arqzPowx(1, &c.z, w, &rx);
        EXPECT_EQ(bits(rx.re), bits(r.re));
        EXPECT_EQ(bits(rx.im), bits(r.im));
    }
    // The cut: (-8 ± 0i)^(1/3) = 1 ± i·√3.
    const Z w = {1.0 / 3, 0.0};
    for (double sign : {1.0, -1.0}) {
        const Z z = {-8.0, sign * 0.0};
        Z r;
        _arqzPowx(1, &z, w, &r);
        EXPECT_NEAR(r.re, 1.0, 1e-15);
        EXPECT_NEAR(r.im, sign * std::sqrt(3.0), 1e-15);
    }
    EXPECT_TRUE(t_records.empty());
}

TEST_F(ComplexElementary, PowZerosAndRecordsCarryTheExponent) {
    const Z zero = {0.0, 0.0};
    Z r;
    Z w = {2.0, 5.0};
    _arqzPow(1, &zero, &w, &r);
    EXPECT_EQ(bits(r.re), bits(0.0));
    EXPECT_TRUE(t_records.empty());
    w = {-1.0, 0.0};
    _arqzPowx(1, &zero, w, &r);
    EXPECT_EQ(r.re, kInf);
    ASSERT_EQ(t_records.size(), 1u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_SING);
    EXPECT_EQ(t_records[0].a2, -1.0);
    t_records.clear();
    w = {0.0, 1.0};
    _arqzPow(1, &zero, &w, &r);
    EXPECT_TRUE(std::isnan(r.re) && std::isnan(r.im));
    ASSERT_EQ(t_records.size(), 1u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_ERRDOM);
    EXPECT_EQ(t_records[0].a2_im, 1.0);
    t_records.clear();
    // Anything to the power 0 is 1, NaN too; 1 to a NaN power is NaN.
    const Z nan = {kNaN, 2.0};
    w = {0.0, -0.0};
    _arqzPowx(1, &nan, w, &r);
    EXPECT_EQ(r.re, 1.0);
    EXPECT_EQ(bits(r.im), bits(0.0));
    // Overflow: the index and both complex arguments in the record.
    const Z big[3] = {{1, 0}, {2, 0}, {10, 1}};
    Z out[3];
    w = {400.0, 0.0};
    _arqzPowx(3, big, w, out);
    ASSERT_EQ(t_records.size(), 1u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_OVERFLOW);
    EXPECT_EQ(t_records[0].index, 2);
    EXPECT_EQ(t_records[0].a1, 10.0);
    EXPECT_EQ(t_records[0].a1_im, 1.0);
    EXPECT_EQ(t_records[0].a2, 400.0);
    EXPECT_TRUE(std::isinf(t_records[0].r1) || std::isinf(t_records[0].r1_im));
    EXPECT_EQ(out[0].re, 1.0);
    EXPECT_EQ(out[1].re, std::ldexp(1.0, 400));
}

TEST_F(ComplexElementary, RecordsHoldBothPartsAndTheWholeVectorsIndex) {
    std::vector<Z> a(70, Z{0.5, 0.25}), r(70);
    a[3] = {710.0, 0.5};
    a[66] = {0.0, -0.0};
    _arqzExp(70, a.data(), r.data());
    ASSERT_EQ(t_records.size(), 1u);
    EXPECT_EQ(t_records[0].index, 3);
    EXPECT_EQ(t_records[0].a1, 710.0);
    EXPECT_EQ(t_records[0].a1_im, 0.5);
    EXPECT_EQ(t_records[0].r1, kInf);  // e^710·cos 0.5 overflows, e^710·sin 0.5 does not
    EXPECT_NEAR(t_records[0].r1_im, 1.0710e308, 1e305);
    t_records.clear();
    _arqzLn(70, a.data(), r.data());
    ASSERT_EQ(t_records.size(), 1u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_SING);
    EXPECT_EQ(t_records[0].index, 66);
    EXPECT_EQ(t_records[0].r1, -kInf);
    EXPECT_EQ(bits(t_records[0].r1_im), bits(-0.0));
    // In place, the record holds the argument as it was read.
    t_records.clear();
    std::vector<C> c(5, C{1.0f, 1.0f});
    c[4] = {0.0f, 0.0f};
    _arqcLog10(5, c.data(), c.data());
    ASSERT_EQ(t_records.size(), 1u);
    EXPECT_EQ(t_records[0].index, 4);
    EXPECT_EQ(t_records[0].a1, 0.0);
    EXPECT_EQ(c[4].re, -std::numeric_limits<float>::infinity());
    // A single-precision part that overflows only as a float is an overflow too.
    t_records.clear();
    const C big = {100.0f, 0.0f};
    C out;
    _arqcExp(1, &big, &out);
    EXPECT_EQ(out.re, std::numeric_limits<float>::infinity());
    ASSERT_EQ(t_records.size(), 1u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_OVERFLOW);
    // n <= 0 writes nothing.
    Z untouched = {7.0, 7.0};
    _arqzSin(0, a.data(), &untouched);
    _arqzSin(-3, a.data(), &untouched);
    EXPECT_EQ(untouched.re, 7.0);
}

TEST_F(ComplexElementary, CexpAndClnSlotsReachTheirOwnKernels) {
    // cExp: kernel A in LA and EP, kernel B in HA; cLn: three kernels; the z functions one.
    EXPECT_EQ(korb_arq_kernel_cExp_ttab[0], korb_arq_kernel_cExp_ttab[2]);
    EXPECT_NE(korb_arq_kernel_cExp_ttab[0], korb_arq_kernel_cExp_ttab[1]);
    EXPECT_NE(korb_arq_kernel_cLn_ttab[0], korb_arq_kernel_cLn_ttab[1]);
    EXPECT_NE(korb_arq_kernel_cLn_ttab[1], korb_arq_kernel_cLn_ttab[2]);
    EXPECT_NE(korb_arq_kernel_cLn_ttab[0], korb_arq_kernel_cLn_ttab[2]);
    EXPECT_EQ(korb_arq_kernel_zExp_ttab[0], korb_arq_kernel_zExp_ttab[1]);
    EXPECT_EQ(korb_arq_kernel_zLn_ttab[1], korb_arq_kernel_zLn_ttab[2]);
    // The entry points reach the slots: the same bits as the table's kernels.
    std::vector<C> a(200), r1(200), r2(200);
    for (int i = 0; i < 200; ++i) a[i] = {0.37f * i - 30.0f, 1.0f - 0.011f * i};
    auto same = [&](void (*entry)(int, const C *, C *), ArqKernelC kernel) {
        entry(200, a.data(), r1.data());
        kernel(200, a.data(), r2.data());
        for (int i = 0; i < 200; ++i) {
            if (bits(r1[i].re) != bits(r2[i].re) || bits(r1[i].im) != bits(r2[i].im)) return false;
        }
        return true;
    };
    EXPECT_TRUE(same(_arqcExp_21, korb_arq_kernel_cExp_ttab[0]));
    EXPECT_TRUE(same(_arqcExp, korb_arq_kernel_cExp_ttab[1]));
    EXPECT_TRUE(same(_arqcExp_HA, korb_arq_kernel_cExp_ttab[1]));
    EXPECT_TRUE(same(_arqcExp_11, korb_arq_kernel_cExp_ttab[2]));
    EXPECT_TRUE(same(_arqcLn_21, korb_arq_kernel_cLn_ttab[0]));
    EXPECT_TRUE(same(_arqcLn_HA, korb_arq_kernel_cLn_ttab[1]));
    EXPECT_TRUE(same(_arqcLn_11, korb_arq_kernel_cLn_ttab[2]));
}

}  // namespace
