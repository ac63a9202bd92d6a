// The complex kernels: Add and Sub give the C operators' bits in every slot, kernel B (EP) without
// reports; Mul, MulByConj and Div keep cancelling parts and survive arguments whose textbook
// intermediates overflow or underflow; C99 Annex G infinities and NaNs; the statuses and the
// complex fields of the callback record; Conj, Abs, Arg and CIS on special values; the caller's
// control register. Accuracy against MPC: accuracy.cpp; vector against element path:
// paths_test.cpp.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "korb/kernel/vm.h"
#include "vecmath/kernel_test.h"

namespace {

using korb::test::bits;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr float kInfF = std::numeric_limits<float>::infinity();
constexpr float kNaNF = std::numeric_limits<float>::quiet_NaN();

// Every report with its complex fields.
struct Record {
    int code, index;
    double a1, a1_im, a2, a2_im, r1, r1_im;
};
thread_local std::vector<Record> t_records;

int record(ArqErrorContext *c) {
    t_records.push_back({c->code, c->index, c->a1, c->a1_im, c->a2, c->a2_im, c->r1, c->r1_im});
    return 0;
}

class Complex : public korb::test::KernelTest {
  protected:
    void SetUp() override {
        KernelTest::SetUp();
        korb_arq_kernel_SetErrorCallBack(record);
        t_records.clear();
    }
};

using Z = ArqComplexDouble;
using C = ArqComplexFloat;

template <class E>
using TwoKernel = void (*)(int, const E *, const E *, E *);

Z zcall(const ArqKernelTwoZ *table, int slot, Z a, Z b) {
    Z r;
    table[slot](1, &a, &b, &r);
    return r;
}

bool same(double x, double y) {
    return bits(x) == bits(y) || (std::isnan(x) && std::isnan(y));
}

// Ordinary values, specials and random patterns for the parts.
template <class T>
std::vector<T> parts(std::uint64_t seed, int n) {
    using L = std::numeric_limits<T>;
    const T specials[] = {
        T(0),          -T(0),          T(1),           -T(2),    L::max(),        -L::max(),
        L::infinity(), -L::infinity(), L::quiet_NaN(), L::min(), L::denorm_min(), T(0.75)};
    std::mt19937_64 rng(seed);
    std::vector<T> v(static_cast<std::size_t>(n));
    for (T &x : v) {
        const std::uint64_t u = rng();
        if (u % 3 == 0) {
            x = specials[(u >> 8) % (sizeof specials / sizeof specials[0])];
        } else {
            x = static_cast<T>(std::ldexp(static_cast<double>(u >> 11) * 0x1p-53 - 0.5,
                                          static_cast<int>((u >> 3) % 300) - 150));
        }
    }
    return v;
}

template <class E, class T, class Op>
void expect_componentwise(const void *const *table, Op op, const char *name) {
    constexpr int n = 501;
    const std::vector<T> a = parts<T>(5, 2 * n), b = parts<T>(6, 2 * n);
    std::vector<T> r[3];
    for (int slot = 0; slot < 3; ++slot) {
        r[slot].resize(2 * n);
        t_records.clear();
        reinterpret_cast<TwoKernel<E>>(table[slot])(n, reinterpret_cast<const E *>(a.data()),
                                                    reinterpret_cast<const E *>(b.data()),
                                                    reinterpret_cast<E *>(r[slot].data()));
        for (int i = 0; i < 2 * n; ++i) {
            ASSERT_TRUE(same(r[slot][i], op(a[i], b[i])))
                << name << " slot " << slot << " part " << i;
        }
        // The EP kernel reports nothing; LA and HA report every element with a special part.
        int elements_with_special = 0;
        for (int i = 0; i < n; ++i) {
            bool special = false;
            for (int p = 0; p < 2; ++p) {
                const T x = a[2 * i + p], y = b[2 * i + p], w = op(x, y);
                special |= (std::isinf(w) && std::isfinite(x) && std::isfinite(y)) ||
                           (std::isnan(w) && !std::isnan(x) && !std::isnan(y));
            }
            elements_with_special += special;
        }
        EXPECT_GT(elements_with_special, 0) << name;
        EXPECT_EQ(static_cast<int>(t_records.size()), slot == 2 ? 0 : elements_with_special)
            << name << " slot " << slot;
    }
    for (int i = 0; i < 2 * n; ++i) ASSERT_EQ(bits(r[2][i]), bits(r[1][i])) << name;
}

TEST_F(Complex, AddAndSubAreTheComponentwiseOperatorsAndEpIsSilent) {
    auto plus = [](auto x, auto y) { return x + y; };
    auto minus = [](auto x, auto y) { return x - y; };
    expect_componentwise<C, float>(reinterpret_cast<const void *const *>(korb_arq_kernel_cAdd_ttab),
                                   plus, "cAdd");
    expect_componentwise<Z, double>(
        reinterpret_cast<const void *const *>(korb_arq_kernel_zAdd_ttab), plus, "zAdd");
    expect_componentwise<C, float>(reinterpret_cast<const void *const *>(korb_arq_kernel_cSub_ttab),
                                   minus, "cSub");
    expect_componentwise<Z, double>(
        reinterpret_cast<const void *const *>(korb_arq_kernel_zSub_ttab), minus, "zSub");
}

TEST_F(Complex, AddReportsOverflowAndInvalidPartsWithTheComplexRecord) {
    const double big = std::numeric_limits<double>::max();
    Z a[3] = {{1, 2}, {big, 1}, {kInf, 0}}, b[3] = {{3, 4}, {big, 1}, {-kInf, 5}}, r[3];
    _arqzAdd(3, a, b, r);
    ASSERT_EQ(t_records.size(), 2u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_OVERFLOW);
    EXPECT_EQ(t_records[0].index, 1);
    EXPECT_EQ(t_records[0].a1, big);
    EXPECT_EQ(t_records[0].a1_im, 1.0);
    EXPECT_EQ(t_records[0].r1, kInf);
    EXPECT_EQ(t_records[0].r1_im, 2.0);
    EXPECT_EQ(t_records[1].code, ARQ_STATUS_ERRDOM);
    EXPECT_EQ(t_records[1].index, 2);
    EXPECT_EQ(t_records[1].a2_im, 5.0);
    EXPECT_TRUE(std::isnan(r[2].re));
    EXPECT_EQ(r[2].im, 5.0);
    t_records.clear();
    _arqzAdd_26(3, a, b, r);
    EXPECT_TRUE(t_records.empty());
    EXPECT_EQ(r[1].re, kInf);
}

TEST_F(Complex, ProductsKeepCancellingParts) {
    // (1 + 2^-27)(1 - 2^-27) - 1·1 = -2^-54: the textbook product rounds ac to 1 and gives 0.
    const double u = 0x1p-27;
    const Z a = {1 + u, 1}, b = {1 - u, 1};
    for (int slot = 0; slot < 3; ++slot) {
        const Z p = zcall(korb_arq_kernel_zMul_ttab, slot, a, b);
        EXPECT_EQ(p.re, -0x1p-54);
        EXPECT_EQ(p.im, 2.0);
        // a·conj(b) with b = (1 - u, -1): the same parts.
        const Z q = zcall(korb_arq_kernel_zMulByConj_ttab, slot, a, {1 - u, -1});
        EXPECT_EQ(q.re, -0x1p-54);
        EXPECT_EQ(q.im, 2.0);
    }
    // Single precision: the float products are exact in double.
    const float v = 0x1p-12f;
    C x = {1 + v, 1}, y = {1 - v, 1}, z;
    _arqcMul(1, &x, &y, &z);
    EXPECT_EQ(z.re, -0x1p-24f);
    EXPECT_EQ(z.im, 2.0f);
    // (1 + u - i)/(1 - u + i): the real numerator (1 + u)(1 - u) - 1 = -u² cancels, which the
    // textbook quotient rounds to 0; the divisor's norm 2 - 2u + u² and the quotient are exact
    // enough in long double.
    const Z q = zcall(korb_arq_kernel_zDiv_ttab, 1, {1 + u, -1}, {1 - u, 1});
    const long double norm = 2.0L - 2.0L * u + static_cast<long double>(u) * u;
    EXPECT_EQ(q.re, static_cast<double>(-static_cast<long double>(u) * u / norm));
    EXPECT_EQ(q.im, static_cast<double>(-2.0L / norm));
}

TEST_F(Complex, DivisionAndProductSurviveExtremeParts) {
    const double h = 0x1p1000, t = 0x1p-1070;
    EXPECT_EQ(zcall(korb_arq_kernel_zDiv_ttab, 1, {h, h}, {h, h}).re, 1.0);
    EXPECT_EQ(zcall(korb_arq_kernel_zDiv_ttab, 1, {h, h}, {h, h}).im, 0.0);
    EXPECT_EQ(zcall(korb_arq_kernel_zDiv_ttab, 1, {t, 0}, {t, 0}).re, 1.0);
    // 2^-1000 / 2^60 = 2^-1060 is subnormal.
    Z q = zcall(korb_arq_kernel_zDiv_ttab, 1, {0x1p-1000, 0}, {0x1p60, 0});
    EXPECT_EQ(q.re, 0x1p-1060);
    // Parts 2^-600 and 2^600 in one divisor: the quotient's parts are exact powers of two.
    q = zcall(korb_arq_kernel_zDiv_ttab, 1, {0x1p600, 0x1p-400}, {0x1p600, 0x1p-600});
    EXPECT_EQ(q.re, 1.0);
    EXPECT_EQ(q.im, 0x1p-1000);  // (2^200 - 1)/2^1200, where the textbook norm overflows
    EXPECT_TRUE(t_records.empty());
    // A product whose textbook form overflows on the way: 2^600·2^600 - 2^600·2^600.
    const Z p = zcall(korb_arq_kernel_zMul_ttab, 1, {0x1p600, 0x1p600}, {0x1p-600, -0x1p-600});
    EXPECT_EQ(p.re, 2.0);
    EXPECT_EQ(p.im, 0.0);
    // A result that overflows is reported.
    zcall(korb_arq_kernel_zMul_ttab, 1, {0x1p600, 0}, {0x1p600, 0});
    ASSERT_EQ(t_records.size(), 1u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_OVERFLOW);
}

TEST_F(Complex, AnnexGInfinitiesZerosAndNaNs) {
    // An infinite factor gives an infinite product even with a NaN part.
    Z p = zcall(korb_arq_kernel_zMul_ttab, 1, {kInf, kNaN}, {1, 0});
    EXPECT_TRUE(std::isinf(p.re) || std::isinf(p.im));
    p = zcall(korb_arq_kernel_zMul_ttab, 1, {kInf, 0}, {0, 0});  // inf·0: invalid
    EXPECT_TRUE(std::isnan(p.re));
    ASSERT_EQ(t_records.size(), 1u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_ERRDOM);
    t_records.clear();
    // Non-zero over zero: infinities, ARQ_STATUS_SING; zero over zero: NaNs, ARQ_STATUS_ERRDOM.
    Z q = zcall(korb_arq_kernel_zDiv_ttab, 1, {1, -2}, {0, 0});
    EXPECT_EQ(q.re, kInf);
    EXPECT_EQ(q.im, -kInf);
    q = zcall(korb_arq_kernel_zDiv_ttab, 1, {0, 0}, {0, 0});
    EXPECT_TRUE(std::isnan(q.re) && std::isnan(q.im));
    ASSERT_EQ(t_records.size(), 2u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_SING);
    EXPECT_EQ(t_records[0].a1_im, -2.0);
    EXPECT_EQ(t_records[0].r1_im, -kInf);
    EXPECT_EQ(t_records[1].code, ARQ_STATUS_ERRDOM);
    t_records.clear();
    // Infinite over finite is infinite, finite over infinite zero; NaN arguments report nothing.
    q = zcall(korb_arq_kernel_zDiv_ttab, 1, {kInf, kNaN}, {2, 1});
    EXPECT_TRUE(std::isinf(q.re) || std::isinf(q.im));
    q = zcall(korb_arq_kernel_zDiv_ttab, 1, {3, 4}, {kInf, kNaN});
    EXPECT_EQ(q.re, 0.0);
    EXPECT_EQ(q.im, 0.0);
    q = zcall(korb_arq_kernel_zDiv_ttab, 1, {kNaN, 1}, {2, 1});
    EXPECT_TRUE(std::isnan(q.re) && std::isnan(q.im));
    EXPECT_TRUE(t_records.empty());
    // Single precision the same way.
    C a = {kInfF, 0}, b = {1, 1}, c;
    _arqcDiv(1, &a, &b, &c);
    EXPECT_TRUE(std::isinf(c.re) && std::isinf(c.im));
    a = {1, 0};
    b = {0, 0};
    _arqcDiv(1, &a, &b, &c);
    EXPECT_EQ(c.re, std::numeric_limits<float>::infinity());
    ASSERT_EQ(t_records.size(), 1u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_SING);
}

TEST_F(Complex, ConjFlipsTheImaginarySignBitOnly) {
    std::vector<Z> a(37), r(37);
    const std::vector<double> v = parts<double>(9, 74);
    for (int i = 0; i < 37; ++i) a[i] = {v[2 * i], v[2 * i + 1]};
    EXPECT_EQ(_arqzConj(37, a.data(), r.data()), 37);
    for (int i = 0; i < 37; ++i) {
        EXPECT_EQ(bits(r[i].re), bits(a[i].re));
        EXPECT_EQ(bits(r[i].im), bits(a[i].im) ^ 0x8000000000000000ull);
    }
    C c[3] = {{1, 0}, {2, -0.0f}, {3, kNaNF}}, d[3];
    EXPECT_EQ(_arqcConj_11(3, c, d), 3);
    EXPECT_EQ(bits(d[0].im), 0x80000000u);
    EXPECT_EQ(bits(d[1].im), 0u);
    EXPECT_TRUE(std::signbit(d[2].im) != std::signbit(c[2].im));
    EXPECT_TRUE(t_records.empty());
}

TEST_F(Complex, AbsAndArgOnSpecialValues) {
    const double big = std::numeric_limits<double>::max();
    const Z a[] = {{3, 4}, {big, big}, {kInf, kNaN}, {kNaN, 1}, {0x1p-1074, 0x1p-1074}, {-0.0, 0}};
    double r[6];
    _arqzAbs(6, a, r);
    EXPECT_EQ(r[0], 5.0);
    EXPECT_EQ(r[1], kInf);
    EXPECT_EQ(r[2], kInf);
    EXPECT_TRUE(std::isnan(r[3]));
    EXPECT_EQ(r[4], 0x1p-1074);  // √2 units of the smallest subnormal round to one
    EXPECT_EQ(bits(r[5]), 0u);
    ASSERT_EQ(t_records.size(), 1u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_OVERFLOW);
    EXPECT_EQ(t_records[0].index, 1);
    EXPECT_EQ(t_records[0].a1_im, big);
    EXPECT_EQ(t_records[0].r1_im, 0.0);
    C ca = {3e38f, 3e38f};
    float cr;
    _arqcAbs(1, &ca, &cr);
    EXPECT_EQ(cr, std::numeric_limits<float>::infinity());

    // Arg: the special values of atan2(im, re), as the C library gives them.
    const double specials[] = {0.0, -0.0, 1.0, -1.0, kInf, -kInf, kNaN, 0x1p-1074, -big};
    for (double re : specials) {
        for (double im : specials) {
            const Z z = {re, im};
            double g;
            _arqzArg(1, &z, &g);
            EXPECT_TRUE(same(g, std::atan2(im, re))) << re << ", " << im;
            const C c = {static_cast<float>(re), static_cast<float>(im)};
            float f;
            _arqcArg(1, &c, &f);
            EXPECT_TRUE(same(f, std::atan2(c.im, c.re))) << re << ", " << im;
        }
    }
    EXPECT_EQ(t_records.size(), 2u);  // only the two overflows above
}

TEST_F(Complex, CisOfSpecialAndHugeArguments) {
    const double x[] = {0.0, -0.0, kInf, kNaN, 1e22, -kInf, 0x1p-1074};
    Z r[7];
    _arqzCIS(7, x, r);
    EXPECT_EQ(r[0].re, 1.0);
    EXPECT_EQ(bits(r[0].im), 0u);
    EXPECT_EQ(bits(r[1].im), 0x8000000000000000ull);
    EXPECT_TRUE(std::isnan(r[2].re) && std::isnan(r[2].im));
    EXPECT_TRUE(std::isnan(r[3].re) && std::isnan(r[3].im));
    // cos(10^22) and sin(10^22) need the exact reduction (published: 0.5232147853951389...
    // and -0.8522008497671888...).
    EXPECT_NEAR(r[4].re, 0.5232147853951389, 2e-16);
    EXPECT_NEAR(r[4].im, -0.8522008497671888, 2e-16);
    EXPECT_EQ(r[6].im, 0x1p-1074);
    ASSERT_EQ(t_records.size(), 2u);
    EXPECT_EQ(t_records[0].code, ARQ_STATUS_ERRDOM);
    EXPECT_EQ(t_records[0].index, 2);
    EXPECT_EQ(t_records[0].a1, kInf);
    EXPECT_EQ(t_records[0].a1_im, 0.0);
    EXPECT_EQ(t_records[1].index, 5);
    const float fx[] = {0.5f, kInfF};
    C fr[2];
    _arqcCIS(2, fx, fr);
    EXPECT_EQ(fr[0].re, std::cos(0.5f));
    EXPECT_EQ(fr[0].im, std::sin(0.5f));
    EXPECT_TRUE(std::isnan(fr[1].re));
}

TEST_F(Complex, TheCallersControlRegisterComesBackUnchanged) {
    korb_arq_kernel_SetMode(ARQ_DENORMALS_FLUSH);
    const unsigned original = _mm_getcsr();
    // Round upwards, exceptions masked; the kernels compute rounding to nearest inside.
    _mm_setcsr((original & ~0x6000u) | 0x4000u);
    const unsigned set = _mm_getcsr();
    Z a[9], b[9], r[9];
    double m[9];
    for (int i = 0; i < 9; ++i) {
        a[i] = {i + 0.1, 1e-310};
        b[i] = {0.3, i - 4.0};
    }
    _arqzMul(9, a, b, r);
    const double rounded_nearest = r[1].re;
    _arqzDiv(9, a, b, r);
    _arqzAbs(9, a, m);
    _arqzArg(9, a, m);
    _arqzCIS(9, m, r);
    EXPECT_EQ(_mm_getcsr() & ~0x3Fu, set & ~0x3Fu);
    _mm_setcsr(original);
    Z again[9];
    _arqzMul(9, a, b, again);
    EXPECT_EQ(again[1].re, rounded_nearest);
}

}  // namespace
