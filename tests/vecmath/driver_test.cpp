// The block driver with small kernels of its own, for what the library's kernels do not all
// reach: two arguments, lanes refused after the computation, two results of a float function
// computed in double. Each kernel's lanes mark their results (a different last bit from the
// element path's), so the tests see which path made each element; the driver must send exactly
// the unusual and refused vectors to the element path, report at the right index with the
// arguments as read before, and run in place.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <vector>

#include "frame/simd.h"
#include "vecmath/kernel_test.h"
#include "vecmath/kernels/driver.h"

namespace {

using korb::simd::Bits;
using korb::simd::Vec;
using korb::test::Report;
using korb::test::t_reports;
using korb::vecmath::NoContext;
using korb::vecmath::Two;

// The element path gives x·y + 1, a negative y is a domain error; the lanes give x·y + 2 and
// refuse lanes where x·y > 1000. Element and lanes differ on purpose.
struct Product {
    using Element = double;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = "vdToyProduct";
    static constexpr int kVectors = 2;
    static const Context &context() { return korb::vecmath::kNoContext; }

    static double element(double x, double y, const Context &, int &status) {
        status = y < 0.0 ? ARQ_STATUS_ERRDOM : ARQ_STATUS_OK;
        return x * y + 1.0;
    }
    static bool unusual(double, double y, const Context &) { return y < 0.0; }
    static Vec<double> lanes(Vec<double> x, Vec<double> y, const Context &, bool &refused) {
        refused = korb::simd::any(korb::simd::mask<Vec<double>>(x * y > 1000.0));
        return x * y + 2.0;
    }
};

// sin-and-cos-like: (x + 1, x - 1) on the element path, (x + 2, x - 2) on the lanes, computed in
// double; NaN is unusual (tested on the vector of floats) and reports ERRDOM.
struct Shift {
    using Element = float;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = "vsToyShift";
    static constexpr int kVectors = 3;
    static const Context &context() { return korb::vecmath::kNoContext; }

    static float element(float x, const Context &, float &second, int &status) {
        status = x != x ? ARQ_STATUS_ERRDOM : ARQ_STATUS_OK;
        second = x - 1.0f;
        return x + 1.0f;
    }
    static Bits<Vec<float>> unusual(Vec<float> x, const Context &) {
        return korb::simd::mask<Vec<float>>(x != x);
    }
    static Two<Vec<double>> lanes(Vec<double> x, const float *, const Context &) {
        return {x + 2.0, x - 2.0};
    }
};

// A staged kernel: the first stage doubles x and refuses lanes where x > 500, the second adds 3;
// the element path gives 2x + 1, and |x| >= 10^6 is unusual (reported as ERRDOM).
struct Staged {
    using Element = double;
    using Compute = double;
    using Context = NoContext;
    static constexpr const char *kName = "vdToyStaged";
    static constexpr int kVectors = 3;
    static const Context &context() { return korb::vecmath::kNoContext; }

    static double element(double x, const Context &, int &status) {
        status = x >= 1e6 || x <= -1e6 ? ARQ_STATUS_ERRDOM : ARQ_STATUS_OK;
        return 2.0 * x + 1.0;
    }
    static bool unusual(double x, const Context &) { return x >= 1e6 || x <= -1e6; }
    static Vec<double> stage(Vec<double> x, const double *, const Context &, bool &refused) {
        refused = korb::simd::any(korb::simd::mask<Vec<double>>(x > 500.0));
        return x + x;
    }
    static Vec<double> finish(Vec<double> s, const Context &) { return s + 3.0; }
};

using Driver = korb::test::KernelTest;

constexpr int kDoubleLanes = korb::simd::kCount<Vec<double>>;
constexpr int kFloatLanes = korb::simd::kCount<Vec<float>>;

TEST_F(Driver, TwoArgumentsTakeTheLanesUnlessUnusualOrRefusedAndReportInPlace) {
    for (int n : {0, 1, kDoubleLanes, 2 * kDoubleLanes + 1, 7 * kDoubleLanes + 3}) {
        for (bool in_place : {false, true}) {
            std::vector<double> a(n), b(n), r(n, -1.0);
            for (int i = 0; i < n; ++i) {
                a[i] = i + 1;
                b[i] = i % 5 == 3 ? -1.0 : (i % 7 == 5 ? 2000.0 : 0.5);
            }
            // A vector is done element by element when one of its lanes is unusual or refused.
            std::vector<bool> by_element(n);
            const int vectors_end = n - n % kDoubleLanes;
            for (int v = 0; v < vectors_end; v += kDoubleLanes) {
                bool odd = false;
                for (int i = v; i < v + kDoubleLanes; ++i)
                    odd |= b[i] < 0.0 || a[i] * b[i] > 1000.0;
                for (int i = v; i < v + kDoubleLanes; ++i) by_element[i] = odd;
            }
            for (int i = vectors_end; i < n; ++i) by_element[i] = true;
            const std::vector<double> args = a;
            double *out = in_place ? a.data() : r.data();
            t_reports.clear();
            korb::vecmath::run_two<Product>(n, a.data(), b.data(), out);
            std::vector<Report> want;
            for (int i = 0; i < n; ++i) {
                const double x = args[i], y = b[i];
                EXPECT_EQ(out[i], x * y + (by_element[i] ? 1.0 : 2.0)) << "n=" << n << " i=" << i;
                if (y < 0.0) want.push_back({ARQ_STATUS_ERRDOM, i, x, y, x * y + 1.0, x * y + 1.0});
            }
            EXPECT_EQ(t_reports, want) << "n=" << n;
        }
    }
}

// In a block of which one vector was refused the others still take the lanes: every element of
// a vector with a refused or unusual lane, and only those, comes from the element path.
TEST_F(Driver, StagedKernelsFinishWhatTheFirstStageAccepted) {
    constexpr int kBlock = 3 * kDoubleLanes;
    for (int n : {0, kDoubleLanes - 1, kBlock, 4 * kBlock + kDoubleLanes + 1}) {
        for (bool in_place : {false, true}) {
            std::vector<double> a(n), r(n, -1.0);
            for (int i = 0; i < n; ++i) {
                a[i] = i % 11 == 4 ? 600.0 + i : (i % 13 == 7 ? 2e6 : i * 0.5);
            }
            std::vector<bool> by_element(n, true);
            for (int v = 0; v + kDoubleLanes <= n; v += kDoubleLanes) {
                bool odd = false;
                for (int i = v; i < v + kDoubleLanes; ++i) odd |= a[i] > 500.0;
                for (int i = v; i < v + kDoubleLanes; ++i) by_element[i] = odd;
            }
            const std::vector<double> args = a;
            double *out = in_place ? a.data() : r.data();
            t_reports.clear();
            korb::vecmath::run_one<Staged>(n, a.data(), out);
            std::vector<Report> want;
            for (int i = 0; i < n; ++i) {
                const double x = args[i];
                EXPECT_EQ(out[i], 2.0 * x + (by_element[i] ? 1.0 : 3.0)) << "n=" << n << " i=" << i;
                if (x >= 1e6)
                    want.push_back({ARQ_STATUS_ERRDOM, i, x, x, 2.0 * x + 1.0, 2.0 * x + 1.0});
            }
            EXPECT_EQ(t_reports, want) << "n=" << n;
        }
    }
}

TEST_F(Driver, PairsOfAFloatFunctionComputedInDoubleWidenAndNarrowEachVector) {
    for (int n : {kFloatLanes - 1, 5 * kFloatLanes + 2}) {
        std::vector<float> a(n), r1(n), r2(n);
        for (int i = 0; i < n; ++i) a[i] = static_cast<float>(i) * 0.25f;
        if (n > kFloatLanes) a[kFloatLanes + 1] = std::bit_cast<float>(0x7FC00000u);
        t_reports.clear();
        korb::vecmath::run_pair<Shift>(n, a.data(), r1.data(), r2.data());
        const int vectors_end = n - n % kFloatLanes;
        for (int i = 0; i < n; ++i) {
            const bool by_element = i >= vectors_end || (i / kFloatLanes == 1 && n > kFloatLanes);
            if (a[i] != a[i]) {
                EXPECT_NE(r1[i], r1[i]);
                continue;
            }
            EXPECT_EQ(r1[i], a[i] + (by_element ? 1.0f : 2.0f)) << "n=" << n << " i=" << i;
            EXPECT_EQ(r2[i], a[i] - (by_element ? 1.0f : 2.0f)) << "n=" << n << " i=" << i;
        }
        ASSERT_EQ(t_reports.size(), n > kFloatLanes ? 1u : 0u);
        if (n > kFloatLanes) {
            EXPECT_EQ(t_reports[0].index, kFloatLanes + 1);
        }
    }
}

}  // namespace
