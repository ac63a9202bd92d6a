// The sine, cosine, sine-and-cosine and tangent kernels in both precisions: special values and
// statuses, huge arguments and the arguments nearest multiples of π/2. The vector path against
// the element path: paths_test.cpp.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "korb/kernel/vm.h"
#include "vecmath/kernel_test.h"

namespace {

using korb::test::Report;
using korb::test::t_reports;

// One of the eight kernels, called on doubles whatever its precision.
struct Trig {
    const char *name;
    ArqKernelD d = nullptr;
    ArqKernelS s = nullptr;
    ArqKernelD2 d2 = nullptr;
    ArqKernelS2 s2 = nullptr;

    bool single() const { return s != nullptr || s2 != nullptr; }
    bool pair() const { return d2 != nullptr || s2 != nullptr; }
};

const Trig kTrig[] = {
    {"vdSin", _arqdSin},          {"vdCos", _arqdCos},
    {"vdTan", _arqdTan},          {"vdSinCos", nullptr, nullptr, _arqdSinCos},
    {"vsSin", nullptr, _arqsSin}, {"vsCos", nullptr, _arqsCos},
    {"vsTan", nullptr, _arqsTan}, {"vsSinCos", nullptr, nullptr, nullptr, _arqsSinCos},
};

// Results (r2 only for SinCos) and the reports of one call; in place writes r1 over a.
struct Outcome {
    std::vector<double> r1, r2;
    std::vector<Report> reports;
};

Outcome call(const Trig &t, const std::vector<double> &a, bool in_place = false) {
    const int n = static_cast<int>(a.size());
    t_reports.clear();
    Outcome out;
    if (t.single()) {
        std::vector<float> x(a.begin(), a.end()), y1(a.size(), -7.0f), y2(a.size(), -7.0f);
        float *r1 = in_place ? x.data() : y1.data();
        if (t.pair()) {
            t.s2(n, x.data(), r1, y2.data());
        } else {
            t.s(n, x.data(), r1);
        }
        out.r1.assign(r1, r1 + n);
        if (t.pair()) out.r2.assign(y2.begin(), y2.end());
    } else {
        std::vector<double> x = a, y1(a.size(), -7.0), y2(a.size(), -7.0);
        double *r1 = in_place ? x.data() : y1.data();
        if (t.pair()) {
            t.d2(n, x.data(), r1, y2.data());
        } else {
            t.d(n, x.data(), r1);
        }
        out.r1.assign(r1, r1 + n);
        if (t.pair()) out.r2 = y2;
    }
    out.reports = t_reports;
    return out;
}

// Bits of a result as the kernel's precision stores it.
std::uint64_t stored_bits(const Trig &t, double v) {
    return t.single() ? std::bit_cast<std::uint32_t>(static_cast<float>(v))
                      : std::bit_cast<std::uint64_t>(v);
}

using Trigonometric = korb::test::KernelTest;

constexpr double kInf = std::numeric_limits<double>::infinity();

TEST_F(Trigonometric, InfinitiesAreDomainErrorsNaNsPassQuietlyZerosKeepTheirSign) {
    for (const Trig &t : kTrig) {
        const std::uint64_t domain_nan = t.single() ? 0xFFC00000u : 0xFFF8000000000000u;
        for (double x : {kInf, -kInf}) {
            const Outcome got = call(t, {x});
            EXPECT_EQ(stored_bits(t, got.r1[0]), domain_nan) << t.name;
            ASSERT_EQ(got.reports.size(), 1u) << t.name;
            EXPECT_EQ(got.reports[0].code, ARQ_STATUS_ERRDOM);
            EXPECT_EQ(got.reports[0].a1, x);
            EXPECT_TRUE(std::isnan(got.reports[0].r1));
            if (t.pair()) {
                EXPECT_EQ(stored_bits(t, got.r2[0]), domain_nan) << t.name;
            }
        }
        for (double x : {std::numeric_limits<double>::quiet_NaN(), -std::nan("7")}) {
            const Outcome got = call(t, {x});
            EXPECT_TRUE(std::isnan(got.r1[0])) << t.name;
            EXPECT_TRUE(got.reports.empty()) << t.name;
        }
        const std::string name = t.name;
        const bool is_cos = name.ends_with("Cos") && !name.ends_with("SinCos");
        for (double zero : {0.0, -0.0}) {
            const Outcome got = call(t, {zero});
            if (is_cos) {
                EXPECT_EQ(got.r1[0], 1.0) << t.name;
            } else {
                EXPECT_EQ(stored_bits(t, got.r1[0]), stored_bits(t, zero)) << t.name;
            }
            if (t.pair()) {
                EXPECT_EQ(got.r2[0], 1.0) << t.name;
            }
            EXPECT_TRUE(got.reports.empty());
        }
    }
}

// Expected values: MPFR at 400 bits, rounded to the kernel's precision. Results must be within
// one ulp (the kernels are not correctly rounded).
struct Known {
    double x, sin, cos, tan;
};

void expect_within_ulp(const Trig &t, double got, double want, double x) {
    const double ulp = t.single() ? std::nextafter(static_cast<float>(std::fabs(want)), INFINITY) -
                                        std::fabs(static_cast<float>(want))
                                  : std::nextafter(std::fabs(want), kInf) - std::fabs(want);
    EXPECT_LE(std::fabs(got - want), ulp) << t.name << " x=" << x;
}

TEST_F(Trigonometric, HugeArgumentsAndTheNeighboursOfMultiplesOfHalfPi) {
    const double dmax = std::numeric_limits<double>::max();
    const Known doubles[] = {
        {dmax, 0.004961954789184062, -0.9999876894265599, -0.004962015874444895},
        {-dmax, -0.004961954789184062, -0.9999876894265599, 0.004962015874444895},
        {1e22, -0.8522008497671888, 0.523214785395139, -1.6287782256068988},
        {1.3929611893421476e+301, 0.5942469466446325, -0.804282640869198, -0.7388533787107759},
        // The doubles nearest ±π/2, the next one up, and the one nearest 3π/2.
        {1.5707963267948966, 1.0, 6.123233995736766e-17, 1.633123935319537e+16},
        {-1.5707963267948966, -1.0, 6.123233995736766e-17, -1.633123935319537e+16},
        {1.5707963267948968, 1.0, -1.6081226496766366e-16, -6218431163823738.0},
        {4.71238898038469, -1.0, -1.8369701987210297e-16, 5443746451065123.0},
    };
    const Known floats[] = {
        {3.4028234663852886e+38, -0.5218765139579773, 0.8530210256576538, -0.6117979288101196},
        {1.5707963705062866, 1.0, -4.371139000186243e-08, -22877332.0},
    };
    for (const Trig &t : kTrig) {
        const std::string name = t.name;
        for (const Known &k : t.single()
                                  ? std::vector<Known>(std::begin(floats), std::end(floats))
                                  : std::vector<Known>(std::begin(doubles), std::end(doubles))) {
            const Outcome got = call(t, {k.x});
            const double want = name.ends_with("Tan")      ? k.tan
                                : name.ends_with("SinCos") ? k.sin
                                : name.ends_with("Cos")    ? k.cos
                                                           : k.sin;
            expect_within_ulp(t, got.r1[0], want, k.x);
            if (t.pair()) {
                expect_within_ulp(t, got.r2[0], k.cos, k.x);
            }
            EXPECT_TRUE(got.reports.empty());
        }
    }
}

}  // namespace
