// The bit-level kernels of single and double precision: Abs, Ceil, Floor, Trunc, Round, Rint,
// NearbyInt and Modf against the C99 functions on random bit patterns and on the hard cases
// (±0, halves, the ends of the fraction bits, NaNs, infinities), Rint and NearbyInt in every
// rounding direction with their inexact flags, Modf's signs, and the frame they do without: no
// status, no mode, the caller's control register as it was. Every float against the C library
// is the long accuracy run's (korb_vm_accuracy --all-floats).
#include <fenv.h>
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "korb/kernel/vm.h"
#include "vecmath/kernel_test.h"

namespace {

using korb::test::bits;

template <class T>
using Kernel = int (*)(int, const T *, T *);

// Random bit patterns, mostly of small magnitude so that fractions are common, and the hard
// cases of both precisions.
template <class T>
std::vector<T> arguments(std::uint64_t seed) {
    using L = std::numeric_limits<T>;
    constexpr T kTwoP = sizeof(T) == 8 ? T(0x1p52) : T(0x1p23);
    std::vector<T> v = {T(0),
                        -T(0),
                        T(0.5),
                        -T(0.5),
                        T(1.5),
                        -T(1.5),
                        T(2.5),
                        -T(2.5),
                        T(3.5),
                        -T(3.5),
                        kTwoP,
                        -kTwoP,
                        kTwoP - T(0.5),
                        -(kTwoP - T(0.5)),
                        kTwoP + 1,
                        kTwoP / 2 - T(0.5),
                        -(kTwoP / 2 + T(0.5)),
                        T(1),
                        -T(1),
                        std::nextafter(T(0.5), T(0)),
                        -std::nextafter(T(0.5), T(0)),
                        std::nextafter(T(1), T(0)),
                        L::infinity(),
                        -L::infinity(),
                        L::quiet_NaN(),
                        -L::quiet_NaN(),
                        L::denorm_min(),
                        -L::denorm_min(),
                        L::min(),
                        L::max(),
                        -L::max()};
    std::mt19937_64 rng(seed);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t u = rng();
        if (i % 2 == 0) {
            if constexpr (sizeof(T) == 4) {
                v.push_back(std::bit_cast<T>(static_cast<std::uint32_t>(u)));
            } else {
                v.push_back(std::bit_cast<T>(u));
            }
        } else {
            const double scale = std::ldexp(1.0, static_cast<int>(u % 60) - 4);
            v.push_back(static_cast<T>((static_cast<double>(u >> 11) * 0x1p-53 - 0.5) * scale));
        }
    }
    return v;
}

// The C function's result, or a quiet NaN where it gives a NaN (whose bits the kernels keep
// apart from the quiet bit).
template <class T, class F>
void expect_like(Kernel<T> k, F reference, const char *name, bool nan_bits_kept = false) {
    const std::vector<T> a = arguments<T>(sizeof(T));
    std::vector<T> r(a.size());
    ASSERT_EQ(k(static_cast<int>(a.size()), a.data(), r.data()), static_cast<int>(a.size()));
    for (std::size_t i = 0; i < a.size(); ++i) {
        const T want = reference(a[i]);
        if (std::isnan(want) && !nan_bits_kept) {
            ASSERT_TRUE(std::isnan(r[i])) << name << " " << a[i];
            // The argument's NaN, made quiet.
            ASSERT_EQ(bits(r[i]), bits(a[i]) | bits(std::numeric_limits<T>::quiet_NaN())) << name;
        } else {
            ASSERT_EQ(bits(r[i]), bits(want)) << name << " " << a[i];
        }
    }
}

class Rounding : public korb::test::KernelTest {};

TEST_F(Rounding, EqualTheCFunctions) {
    expect_like<double>(
        _arqdCeil, [](double x) { return std::ceil(x); }, "dCeil");
    expect_like<double>(
        _arqdFloor_50, [](double x) { return std::floor(x); }, "dFloor");
    expect_like<double>(
        _arqdTrunc_26, [](double x) { return std::trunc(x); }, "dTrunc");
    expect_like<double>(
        _arqdRound, [](double x) { return std::round(x); }, "dRound");
    expect_like<double>(
        _arqdRint, [](double x) { return std::rint(x); }, "dRint");
    expect_like<double>(
        _arqdNearbyInt, [](double x) { return std::nearbyint(x); }, "dNearbyInt");
    expect_like<double>(
        _arqdAbs, [](double x) { return std::fabs(x); }, "dAbs", true);
    expect_like<float>(
        _arqsCeil_21, [](float x) { return std::ceil(x); }, "sCeil");
    expect_like<float>(
        _arqsFloor, [](float x) { return std::floor(x); }, "sFloor");
    expect_like<float>(
        _arqsTrunc, [](float x) { return std::trunc(x); }, "sTrunc");
    expect_like<float>(
        _arqsRound_11, [](float x) { return std::round(x); }, "sRound");
    expect_like<float>(
        _arqsRint, [](float x) { return std::rint(x); }, "sRint");
    expect_like<float>(
        _arqsNearbyInt, [](float x) { return std::nearbyint(x); }, "sNearbyInt");
    expect_like<float>(
        _arqsAbs, [](float x) { return std::fabs(x); }, "sAbs", true);
}

// Sets a rounding direction for a scope.
class Direction {
  public:
    explicit Direction(int direction) { fesetround(direction); }
    ~Direction() { fesetround(FE_TONEAREST); }
};

// The integral value in the current direction with the argument's sign, as IEEE 754 has it
// (the C library's rint gives -0 for +0 and small positive values when rounding downward).
template <class T>
T integral_in_direction(T x) {
    return std::copysign(std::nearbyint(x), x);
}

// Rint and NearbyInt round in the caller's direction; NearbyInt raises no flag, Rint inexact
// exactly when a result differs from its argument. The other rounding functions raise nothing.
TEST_F(Rounding, RintAndNearbyIntFollowTheCallersDirectionAndFlags) {
    const std::vector<double> a = arguments<double>(3);
    const std::vector<float> af = arguments<float>(4);
    std::vector<double> r(a.size());
    std::vector<float> rf(af.size());
    const double integers[] = {1.0, -3.0, 0.0, 1e300};
    double ri[4];
    for (int direction : {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
        const Direction scope(direction);
        for (bool nearby : {false, true}) {
            feclearexcept(FE_ALL_EXCEPT);
            (nearby ? _arqdNearbyInt : _arqdRint)(static_cast<int>(a.size()), a.data(), r.data());
            EXPECT_EQ(fetestexcept(FE_INEXACT) != 0, !nearby) << direction;
            (nearby ? _arqsNearbyInt : _arqsRint)(static_cast<int>(af.size()), af.data(),
                                                  rf.data());
            for (std::size_t i = 0; i < a.size(); ++i) {
                const double want = integral_in_direction(a[i]);
                if (!std::isnan(want)) {
                    ASSERT_EQ(bits(r[i]), bits(want)) << a[i] << " " << direction;
                }
            }
            for (std::size_t i = 0; i < af.size(); ++i) {
                const float want = integral_in_direction(af[i]);
                if (!std::isnan(want)) {
                    ASSERT_EQ(bits(rf[i]), bits(want)) << af[i] << " " << direction;
                }
            }
            // Integers only: no flag from either.
            feclearexcept(FE_ALL_EXCEPT);
            (nearby ? _arqdNearbyInt : _arqdRint)(4, integers, ri);
            EXPECT_EQ(fetestexcept(FE_ALL_EXCEPT), 0);
        }
    }
    feclearexcept(FE_ALL_EXCEPT);
    for (Kernel<double> k : {_arqdCeil, _arqdFloor, _arqdTrunc, _arqdRound, _arqdAbs}) {
        k(static_cast<int>(a.size()), a.data(), r.data());
    }
    EXPECT_EQ(fetestexcept(FE_ALL_EXCEPT & ~FE_INVALID), 0);  // sNaN-free arguments: no flag
}

TEST_F(Rounding, ModfSplitsWithTheArgumentsSign) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    const std::vector<double> a = arguments<double>(9);
    std::vector<double> whole(a.size()), fraction(a.size());
    ASSERT_EQ(_arqdModf(static_cast<int>(a.size()), a.data(), whole.data(), fraction.data()),
              static_cast<int>(a.size()));
    for (std::size_t i = 0; i < a.size(); ++i) {
        double w;
        const double f = std::modf(a[i], &w);
        if (std::isnan(a[i])) {
            ASSERT_TRUE(std::isnan(whole[i]) && std::isnan(fraction[i]));
            continue;
        }
        ASSERT_EQ(bits(whole[i]), bits(w)) << a[i];
        ASSERT_EQ(bits(fraction[i]), bits(f)) << a[i];
    }
    const double special[] = {-2.5, -3.0, kInf, -kInf, -0.0, 0.75};
    const double want_whole[] = {-2.0, -3.0, kInf, -kInf, -0.0, 0.0};
    const double want_fraction[] = {-0.5, -0.0, 0.0, -0.0, -0.0, 0.75};
    double w[6], f[6];
    _arqdModf(6, special, w, f);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(bits(w[i]), bits(want_whole[i])) << special[i];
        EXPECT_EQ(bits(f[i]), bits(want_fraction[i])) << special[i];
    }
    const std::vector<float> af = arguments<float>(10);
    std::vector<float> wf(af.size()), ff(af.size());
    _arqsModf_11(static_cast<int>(af.size()), af.data(), wf.data(), ff.data());
    for (std::size_t i = 0; i < af.size(); ++i) {
        if (std::isnan(af[i])) continue;
        float wv;
        const float fv = std::modf(af[i], &wv);
        ASSERT_EQ(bits(wf[i]), bits(wv)) << af[i];
        ASSERT_EQ(bits(ff[i]), bits(fv)) << af[i];
    }
}

// The bit-level kernels report nothing, leave the status as it was, work in place, and a
// signalling NaN comes back quiet (Abs keeps it: it only clears the sign).
TEST_F(Rounding, NoStatusInPlaceAndQuietNaNs) {
    korb_arq_kernel_SetErrStatus(ARQ_STATUS_SING);
    std::vector<double> a = arguments<double>(12);
    a.push_back(std::numeric_limits<double>::signaling_NaN());
    std::vector<double> r(a.size()), in_place = a;
    _arqdFloor(static_cast<int>(a.size()), a.data(), r.data());
    _arqdFloor(static_cast<int>(a.size()), in_place.data(), in_place.data());
    for (std::size_t i = 0; i < a.size(); ++i) ASSERT_EQ(bits(in_place[i]), bits(r[i]));
    EXPECT_EQ(bits(r.back()), bits(a.back()) | bits(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_SING);
    EXPECT_TRUE(korb::test::t_reports.empty());
    double s = std::numeric_limits<double>::signaling_NaN(), t;
    _arqdAbs(1, &s, &t);
    EXPECT_EQ(bits(t), bits(s));
    EXPECT_EQ(_arqdTrunc(0, a.data(), r.data()), 0);
}

}  // namespace
