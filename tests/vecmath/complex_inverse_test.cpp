// The complex inverse functions Asin, Acos, Asinh, Acosh, Atan, Atanh (c, z): the special values
// of C99 Annex G, the sides of the branch cuts chosen by the sign of a zero part, the poles and
// their reports, and the accuracy in the regions where one part is tiny or the method changes
// form (near the branch points, across the thresholds of the asymptotic and first-order forms),
// against MPC with the rule "each part within the bound in ulps of itself, a part below 2^-20 of
// the modulus in ulps of the modulus". The sampled accuracy over whole domains is accuracy.cpp's.
#include <gtest/gtest.h>
#include <mpc.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "korb/kernel/vm.h"
#include "vecmath/kernel_test.h"

namespace {

using korb::test::bits;
using korb::test::t_reports;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.141592653589793;
constexpr double kHalfPi = 1.5707963267948966;
constexpr double kQuarterPi = 0.7853981633974483;
constexpr double kThreeQuarterPi = 2.356194490192345;

using Z = ArqComplexDouble;
using C = ArqComplexFloat;

struct Function {
    const char *name;
    void (*z)(int, const Z *, Z *);
    void (*c)(int, const C *, C *);
    int (*reference)(mpc_ptr, mpc_srcptr, mpc_rnd_t);
};

const Function kFunctions[] = {
    {"Asin", _arqzAsin, _arqcAsin, mpc_asin},     {"Acos", _arqzAcos, _arqcAcos, mpc_acos},
    {"Asinh", _arqzAsinh, _arqcAsinh, mpc_asinh}, {"Acosh", _arqzAcosh, _arqcAcosh, mpc_acosh},
    {"Atan", _arqzAtan, _arqcAtan, mpc_atan},     {"Atanh", _arqzAtanh, _arqcAtanh, mpc_atanh},
};

const Function &function(const std::string &name) {
    for (const Function &f : kFunctions) {
        if (name == f.name) return f;
    }
    return kFunctions[0];
}

class ComplexInverse : public korb::test::KernelTest {};

Z zcall(const Function &f, double re, double im) {
    const Z a{re, im};
    Z r;
    f.z(1, &a, &r);
    return r;
}
C ccall(const Function &f, double re, double im) {
    const C a{static_cast<float>(re), static_cast<float>(im)};
    C r;
    f.c(1, &a, &r);
    return r;
}

// An expected part: a value whose sign counts (zeros included), NaN, or an infinity or zero of
// either sign (where Annex G leaves the sign open).
constexpr double kAnyInf = 7.0;   // a marker, never a result of these tables
constexpr double kAnyZero = 9.0;  // a marker, never a result of these tables

bool part_matches(double got, double want) {
    if (want == kAnyInf) return std::isinf(got);
    if (want == kAnyZero) return got == 0.0;
    if (std::isnan(want)) return std::isnan(got);
    return bits(got) == bits(want);
}
bool part_matches_float(float got, double want) {
    if (want == kAnyInf) return std::isinf(got);
    if (want == kAnyZero) return got == 0.0f;
    if (std::isnan(want)) return std::isnan(got);
    return bits(got) == bits(static_cast<float>(want));
}

struct Special {
    const char *function;
    double re, im;            // the argument
    double want_re, want_im;  // the result
};

// C99 Annex G's tables, with the conjugate and odd symmetries applied where the function has them.
const Special kSpecials[] = {
    // casinh; casin z = -i casinh(iz)
    {"Asinh", 0.0, 0.0, 0.0, 0.0},
    {"Asinh", -0.0, -0.0, -0.0, -0.0},
    {"Asinh", 1.0, kInf, kInf, kHalfPi},
    {"Asinh", -1.0, -kInf, -kInf, -kHalfPi},
    {"Asinh", 1.0, kNaN, kNaN, kNaN},
    {"Asinh", kInf, 1.0, kInf, 0.0},
    {"Asinh", -kInf, -1.0, -kInf, -0.0},
    {"Asinh", kInf, kInf, kInf, kQuarterPi},
    {"Asinh", -kInf, kInf, -kInf, kQuarterPi},
    {"Asinh", kInf, kNaN, kInf, kNaN},
    {"Asinh", kNaN, 0.0, kNaN, 0.0},
    {"Asinh", kNaN, -0.0, kNaN, -0.0},
    {"Asinh", kNaN, 2.0, kNaN, kNaN},
    {"Asinh", kNaN, kInf, kAnyInf, kNaN},
    {"Asinh", kNaN, kNaN, kNaN, kNaN},
    {"Asin", 0.0, 0.0, 0.0, 0.0},
    {"Asin", -0.0, 0.0, -0.0, 0.0},
    {"Asin", kInf, 1.0, kHalfPi, kInf},
    {"Asin", -kInf, -1.0, -kHalfPi, -kInf},
    {"Asin", 1.0, kInf, 0.0, kInf},
    {"Asin", kInf, kInf, kQuarterPi, kInf},
    {"Asin", 0.0, kNaN, 0.0, kNaN},
    {"Asin", -0.0, kNaN, -0.0, kNaN},
    {"Asin", kNaN, kInf, kNaN, kInf},
    {"Asin", kInf, kNaN, kNaN, kAnyInf},
    {"Asin", kNaN, 1.0, kNaN, kNaN},
    // cacos
    {"Acos", 0.0, 0.0, kHalfPi, -0.0},
    {"Acos", -0.0, 0.0, kHalfPi, -0.0},
    {"Acos", 0.0, -0.0, kHalfPi, 0.0},
    {"Acos", 0.0, kNaN, kHalfPi, kNaN},
    {"Acos", -0.0, kNaN, kHalfPi, kNaN},
    {"Acos", 1.0, kInf, kHalfPi, -kInf},
    {"Acos", 1.0, -kInf, kHalfPi, kInf},
    {"Acos", 1.0, kNaN, kNaN, kNaN},
    {"Acos", -kInf, 1.0, kPi, -kInf},
    {"Acos", -kInf, -1.0, kPi, kInf},
    {"Acos", kInf, 1.0, 0.0, -kInf},
    {"Acos", -kInf, kInf, kThreeQuarterPi, -kInf},
    {"Acos", kInf, kInf, kQuarterPi, -kInf},
    {"Acos", kInf, -kInf, kQuarterPi, kInf},
    {"Acos", kInf, kNaN, kNaN, kAnyInf},
    {"Acos", kNaN, 1.0, kNaN, kNaN},
    {"Acos", kNaN, kInf, kNaN, -kInf},
    {"Acos", kNaN, kNaN, kNaN, kNaN},
    // cacosh
    {"Acosh", 0.0, 0.0, 0.0, kHalfPi},
    {"Acosh", -0.0, -0.0, 0.0, -kHalfPi},
    {"Acosh", 1.0, kInf, kInf, kHalfPi},
    {"Acosh", 1.0, -kInf, kInf, -kHalfPi},
    {"Acosh", 1.0, kNaN, kNaN, kNaN},
    {"Acosh", -kInf, 1.0, kInf, kPi},
    {"Acosh", -kInf, -1.0, kInf, -kPi},
    {"Acosh", kInf, 1.0, kInf, 0.0},
    {"Acosh", -kInf, kInf, kInf, kThreeQuarterPi},
    {"Acosh", kInf, kInf, kInf, kQuarterPi},
    {"Acosh", kInf, kNaN, kInf, kNaN},
    {"Acosh", kNaN, 1.0, kNaN, kNaN},
    {"Acosh", kNaN, kInf, kInf, kNaN},
    {"Acosh", kNaN, kNaN, kNaN, kNaN},
    // catanh; catan z = -i catanh(iz)
    {"Atanh", 0.0, 0.0, 0.0, 0.0},
    {"Atanh", -0.0, -0.0, -0.0, -0.0},
    {"Atanh", 0.0, kNaN, 0.0, kNaN},
    {"Atanh", -0.0, kNaN, -0.0, kNaN},
    {"Atanh", 1.0, 0.0, kInf, 0.0},
    {"Atanh", -1.0, -0.0, -kInf, -0.0},
    {"Atanh", 1.0, kInf, 0.0, kHalfPi},
    {"Atanh", -1.0, -kInf, -0.0, -kHalfPi},
    {"Atanh", 1.0, kNaN, kNaN, kNaN},
    {"Atanh", kInf, 1.0, 0.0, kHalfPi},
    {"Atanh", kInf, -1.0, 0.0, -kHalfPi},
    {"Atanh", kInf, kInf, 0.0, kHalfPi},
    {"Atanh", kInf, kNaN, 0.0, kNaN},
    {"Atanh", -kInf, kNaN, -0.0, kNaN},
    {"Atanh", kNaN, 1.0, kNaN, kNaN},
    {"Atanh", kNaN, kInf, kAnyZero, kHalfPi},
    {"Atanh", kNaN, kNaN, kNaN, kNaN},
    {"Atan", 0.0, 0.0, 0.0, 0.0},
    {"Atan", 0.0, 1.0, 0.0, kInf},
    {"Atan", -0.0, -1.0, -0.0, -kInf},
    {"Atan", kInf, 1.0, kHalfPi, 0.0},
    {"Atan", -kInf, 1.0, -kHalfPi, 0.0},
    {"Atan", kNaN, 0.0, kNaN, 0.0},
    {"Atan", kNaN, -0.0, kNaN, -0.0},
    {"Atan", kInf, kNaN, kHalfPi, kAnyZero},
    {"Atan", kNaN, kInf, kNaN, 0.0},
};

TEST_F(ComplexInverse, AnnexGSpecialValuesInBothPrecisions) {
    for (const Special &s : kSpecials) {
        const Function &f = function(s.function);
        const Z z = zcall(f, s.re, s.im);
        const C c = ccall(f, s.re, s.im);
        EXPECT_TRUE(part_matches(z.re, s.want_re) && part_matches(z.im, s.want_im))
            << "z" << s.function << "(" << s.re << ", " << s.im << ") = (" << z.re << ", " << z.im
            << ")";
        EXPECT_TRUE(part_matches_float(c.re, s.want_re) && part_matches_float(c.im, s.want_im))
            << "c" << s.function << "(" << s.re << ", " << s.im << ") = (" << c.re << ", " << c.im
            << ")";
    }
}

TEST_F(ComplexInverse, ANaNPartIsTheArgumentsFirstNaNQuieted) {
    const double payload = std::bit_cast<double>(0x7ff0000000000123ull);  // signalling
    const double quieted = std::bit_cast<double>(0x7ff8000000000123ull);
    const double other = std::bit_cast<double>(0xfff8000000000456ull);
    for (const Function &f : kFunctions) {
        const Z z = zcall(f, payload, other);
        EXPECT_EQ(bits(z.re), bits(quieted)) << f.name;
        EXPECT_EQ(bits(z.im), bits(quieted)) << f.name;
        const Z w = zcall(f, 0.5, other);
        EXPECT_TRUE(std::isnan(w.im)) << f.name;
        if (std::isnan(w.re)) EXPECT_EQ(bits(w.re), bits(other)) << f.name;
    }
}

// The cuts: asin and acos on the real axis beyond ±1, atanh there too, asinh and atan on the
// imaginary axis beyond ±i, acosh on the real axis below 1. The sign of the zero part picks the
// side; on the other side of each cut the parts are those of the limit from that side.
TEST_F(ComplexInverse, TheSignOfAZeroPartSelectsTheSideOfTheCut) {
    const double acosh2 = 1.3169578969248166;    // acosh 2 = ln(2 + sqrt 3)
    const double atanh_re = 0.5493061443340549;  // atanh(2)'s real part, ln(3)/2
    struct Case {
        const char *function;
        double re, im, want_re, want_im;
    } cases[] = {
        {"Asin", 2.0, 0.0, kHalfPi, acosh2},
        {"Asin", 2.0, -0.0, kHalfPi, -acosh2},
        {"Asin", -2.0, 0.0, -kHalfPi, acosh2},
        {"Asin", -2.0, -0.0, -kHalfPi, -acosh2},
        {"Acos", 2.0, 0.0, 0.0, -acosh2},
        {"Acos", 2.0, -0.0, 0.0, acosh2},
        {"Acos", -2.0, 0.0, kPi, -acosh2},
        {"Acos", -2.0, -0.0, kPi, acosh2},
        {"Asinh", 0.0, 2.0, acosh2, kHalfPi},
        {"Asinh", -0.0, 2.0, -acosh2, kHalfPi},
        {"Asinh", 0.0, -2.0, acosh2, -kHalfPi},
        {"Asinh", -0.0, -2.0, -acosh2, -kHalfPi},
        {"Acosh", -2.0, 0.0, acosh2, kPi},
        {"Acosh", -2.0, -0.0, acosh2, -kPi},
        {"Acosh", 0.5, 0.0, 0.0, 1.0471975511965979},
        {"Acosh", 0.5, -0.0, 0.0, -1.0471975511965979},
        {"Atanh", 2.0, 0.0, atanh_re, kHalfPi},
        {"Atanh", 2.0, -0.0, atanh_re, -kHalfPi},
        {"Atanh", -2.0, 0.0, -atanh_re, kHalfPi},
        {"Atanh", -2.0, -0.0, -atanh_re, -kHalfPi},
        {"Atan", 0.0, 2.0, kHalfPi, atanh_re},
        {"Atan", -0.0, 2.0, -kHalfPi, atanh_re},
        {"Atan", 0.0, -2.0, kHalfPi, -atanh_re},
        {"Atan", -0.0, -2.0, -kHalfPi, -atanh_re},
    };
    for (const Case &c : cases) {
        const Z z = zcall(function(c.function), c.re, c.im);
        // The parts are within an ulp of the constants; the signs must match exactly.
        EXPECT_EQ(std::signbit(z.re), std::signbit(c.want_re)) << c.function << c.re << c.im;
        EXPECT_EQ(std::signbit(z.im), std::signbit(c.want_im)) << c.function << c.re << c.im;
        EXPECT_NEAR(z.re, c.want_re, 4e-16 * std::fabs(c.want_re)) << c.function;
        EXPECT_NEAR(z.im, c.want_im, 4e-16 * std::fabs(c.want_im)) << c.function;
    }
}

TEST_F(ComplexInverse, PolesReportSingWithTheElementAndItsRealParts) {
    const Z z[] = {{0.5, 0.5}, {1.0, 0.0}, {-1.0, -0.0}, {0.25, 0.0}};
    Z r[4];
    _arqzAtanh(4, z, r);
    ASSERT_EQ(t_reports.size(), 2u);
    EXPECT_EQ(t_reports[0].code, ARQ_STATUS_SING);
    EXPECT_EQ(t_reports[0].index, 1);
    EXPECT_EQ(t_reports[0].a1, 1.0);
    EXPECT_EQ(t_reports[0].r1, kInf);
    EXPECT_EQ(t_reports[1].index, 2);
    EXPECT_EQ(t_reports[1].r1, -kInf);
    EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_SING);

    t_reports.clear();
    const C c[] = {{0.0f, 1.0f}, {-0.0f, -1.0f}, {0.0f, 2.0f}};
    C rc[3];
    _arqcAtan(3, c, rc);
    ASSERT_EQ(t_reports.size(), 2u);
    EXPECT_EQ(t_reports[0].code, ARQ_STATUS_SING);
    EXPECT_EQ(t_reports[1].index, 1);
    EXPECT_EQ(rc[0].im, INFINITY);
    EXPECT_EQ(rc[1].im, -INFINITY);
    // The real part of the record is the real part of the argument and of the result.
    EXPECT_EQ(t_reports[1].a1, -0.0);
    EXPECT_TRUE(std::signbit(t_reports[1].r1));
}

TEST_F(ComplexInverse, FiniteArgumentsAwayFromThePolesReportNothing) {
    std::mt19937_64 rng(30);
    std::vector<Z> z(4000);
    for (Z &v : z) {
        // Either part from the whole line by bit pattern, finite only.
        for (double *p : {&v.re, &v.im}) {
            do {
                *p = std::bit_cast<double>(rng());
            } while (!std::isfinite(*p));
        }
    }
    std::vector<Z> r(z.size());
    for (const Function &f : kFunctions) {
        f.z(static_cast<int>(z.size()), z.data(), r.data());
        for (const Z &v : r) ASSERT_TRUE(std::isfinite(v.re) && std::isfinite(v.im)) << f.name;
    }
    EXPECT_TRUE(t_reports.empty());
}

TEST_F(ComplexInverse, InPlaceGivesTheSameBits) {
    std::vector<Z> z = {{0.3, -0.7}, {1.0, 1e-300}, {-3e9, 2.0}, {1e-310, -0.0}, {1.0, 0.0}};
    for (const Function &f : kFunctions) {
        std::vector<Z> out(z.size()), inplace = z;
        f.z(static_cast<int>(z.size()), z.data(), out.data());
        f.z(static_cast<int>(z.size()), inplace.data(), inplace.data());
        for (std::size_t i = 0; i < z.size(); ++i) {
            EXPECT_EQ(bits(out[i].re), bits(inplace[i].re)) << f.name << i;
            EXPECT_EQ(bits(out[i].im), bits(inplace[i].im)) << f.name << i;
        }
    }
}

// ---- Accuracy in the hard regions --------------------------------------------------------------

// The error of a part against the exact part, in ulps of that part, or of the modulus when the
// part is below 2^-20 of it (T's precision).
template <class T>
double part_error(T got, mpfr_srcptr exact, mpfr_srcptr modulus, mpfr_ptr scratch) {
    const int digits = std::numeric_limits<T>::digits;
    const int min_exp = std::numeric_limits<T>::min_exponent - digits;  // of the smallest subnormal
    if (mpfr_zero_p(exact)) return got == 0 ? 0.0 : kInf;
    if (!mpfr_regular_p(exact)) {  // an infinite or NaN part must be met exactly
        mpfr_set_d(scratch, static_cast<double>(got), MPFR_RNDN);
        const bool same = mpfr_nan_p(exact) ? std::isnan(got) : mpfr_equal_p(scratch, exact) != 0;
        return same ? 0.0 : kInf;
    }
    mpfr_srcptr scale = exact;
    if (mpfr_regular_p(exact) && mpfr_regular_p(modulus) &&
        mpfr_get_exp(exact) < mpfr_get_exp(modulus) - 20) {
        scale = modulus;
    }
    const long e = std::max<long>(mpfr_get_exp(scale) - digits, min_exp);
    mpfr_set_d(scratch, static_cast<double>(got), MPFR_RNDN);
    mpfr_sub(scratch, scratch, exact, MPFR_RNDN);
    mpfr_mul_2si(scratch, scratch, -e, MPFR_RNDN);
    return std::fabs(mpfr_get_d(scratch, MPFR_RNDN));
}

// Arguments of the hard regions: near ±1 and ±i with the other part tiny (down to subnormal),
// around the thresholds 2^28 and 2^-450 of the asymptotic and first-order forms, on and near the
// unit circle, and both parts tiny.
std::vector<Z> hard_arguments(std::uint64_t seed, int n) {
    std::mt19937_64 rng(seed);
    auto binade = [&](int lo, int hi) {
        std::uniform_real_distribution<double> m(1.0, 2.0);
        std::uniform_int_distribution<int> e(lo, hi);
        return std::ldexp(m(rng), e(rng));
    };
    auto sign = [&](double v) { return rng() & 1 ? -v : v; };
    std::vector<Z> out;
    for (int i = 0; i < n; ++i) {
        const double near_one = 1.0 + sign(binade(-53, -1));
        switch (i % 8) {
            case 0:
                out.push_back({sign(near_one), sign(binade(-1074, -1))});
                break;
            case 1:
                out.push_back({sign(binade(-1074, -1)), sign(near_one)});
                break;
            case 2:
                out.push_back({sign(1.0), sign(binade(-470, -430))});
                break;
            case 3:
                out.push_back({sign(binade(-2, 2)), sign(binade(-470, -430))});
                break;
            case 4:
                out.push_back({sign(binade(26, 30)), sign(binade(-60, 30))});
                break;
            case 5: {
                const double t = std::uniform_real_distribution<double>(0, kHalfPi)(rng);
                const double rho = 1.0 + sign(binade(-50, -10));
                out.push_back({sign(rho * std::cos(t)), sign(rho * std::sin(t))});
                break;
            }
            case 6:
                out.push_back({sign(binade(-1060, -20)), sign(binade(-1060, -20))});
                break;
            default:
                out.push_back({sign(binade(-30, 200)), sign(binade(-1070, 200))});
                break;
        }
    }
    return out;
}

template <class T>
void check_hard_regions(const Function &f, double bound) {
    using E = std::conditional_t<sizeof(T) == 4, C, Z>;
    const std::vector<Z> args = hard_arguments(0x30b, 1200);
    std::vector<E> a(args.size()), r(args.size());
    for (std::size_t i = 0; i < args.size(); ++i) {
        a[i] = {static_cast<T>(args[i].re), static_cast<T>(args[i].im)};
    }
    if constexpr (sizeof(T) == 4) {
        f.c(static_cast<int>(a.size()), a.data(), r.data());
    } else {
        f.z(static_cast<int>(a.size()), a.data(), r.data());
    }
    mpc_t x, y;
    mpfr_t modulus, scratch;
    mpc_init2(x, 200);
    mpc_init2(y, 200);
    mpfr_inits2(200, modulus, scratch, static_cast<mpfr_ptr>(nullptr));
    double worst = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        // Singular arguments (the poles) have no finite exact value.
        if (f.reference == mpc_atanh && std::fabs(a[i].re) == 1 && a[i].im == 0) continue;
        if (f.reference == mpc_atan && std::fabs(a[i].im) == 1 && a[i].re == 0) continue;
        mpc_set_d_d(x, a[i].re, a[i].im, MPC_RNDNN);
        f.reference(y, x, MPC_RNDNN);
        mpc_abs(modulus, y, MPFR_RNDN);
        const double re = part_error<T>(r[i].re, mpc_realref(y), modulus, scratch);
        const double im = part_error<T>(r[i].im, mpc_imagref(y), modulus, scratch);
        worst = std::max({worst, re, im});
        if (re > bound || im > bound) {
            ADD_FAILURE() << f.name << "(" << a[i].re << ", " << a[i].im << ") = (" << r[i].re
                          << ", " << r[i].im << "): " << re << ", " << im << " ulp";
            break;
        }
    }
    mpc_clear(x);
    mpc_clear(y);
    mpfr_clears(modulus, scratch, static_cast<mpfr_ptr>(nullptr));
    ::testing::Test::RecordProperty(std::string(f.name) + (sizeof(T) == 4 ? "_c" : "_z"),
                                    std::to_string(worst));
}

// One test per function, so that the test run spreads them.
class HardRegions : public korb::test::KernelTest,
                    public ::testing::WithParamInterface<Function> {};

TEST_P(HardRegions, DoublePartsWithinTwoUlpSinglePartsWithinOne) {
    check_hard_regions<double>(GetParam(), 2.0);
    check_hard_regions<float>(GetParam(), 1.0);
}

INSTANTIATE_TEST_SUITE_P(ComplexInverse, HardRegions, ::testing::ValuesIn(kFunctions),
                         [](const ::testing::TestParamInfo<Function> &i) {
                             return std::string(i.param.name);
                         });

}  // namespace
