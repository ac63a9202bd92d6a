// Cell search: every method (arithmetic on uniform partitions, guess and walk on nearly uniform
// ones, the merging walk for sorted sites, the breadth-first tree and plain bisection) against
// std::upper_bound on the same points and against np.searchsorted; sites on the points, beside
// them, far outside, infinite and NaN; the single-precision form; refusals.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "eval_test.h"
#include "korb/kernel/df.h"

namespace korb::test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Sites of every kind for the points x: random ones reaching beyond both ends, every point and
// its two neighbours, the ends, far outside, the infinities and NaN.
std::vector<double> awkward_sites(const std::vector<double> &x, int64_t random, uint64_t seed) {
    Lcg g(seed);
    const double a = x.front(), b = x.back(), w = b - a;
    std::vector<double> s;
    for (int64_t i = 0; i < random; ++i) s.push_back(a - 0.1 * w + 1.2 * w * g.next());
    for (double v : x) {
        s.push_back(v);
        s.push_back(std::nextafter(v, -kInf));
        s.push_back(std::nextafter(v, kInf));
    }
    for (double v :
         {a - 1e6 * w, b + 1e6 * w, kInf, -kInf, kNan, -std::numeric_limits<double>::max(),
          std::numeric_limits<double>::max(), 0.0, -0.0}) {
        s.push_back(v);
    }
    return s;
}

std::vector<int64_t> search(DfTask *task, const std::vector<double> &s, int64_t hint,
                            int64_t n = -1) {
    std::vector<int64_t> cell(s.size(), -7);
    if (n < 0) n = static_cast<int64_t>(s.size());
    EXPECT_EQ(korb_df_kernel_dSearchCells1D(task, DF_METHOD_STD, n, s.data(), hint, cell.data()),
              DF_STATUS_OK);
    return cell;
}

void expect_counts(const std::vector<double> &points, const std::vector<double> &s,
                   const std::vector<int64_t> &got, const std::string &what) {
    for (size_t i = 0; i < s.size(); ++i) {
        ASSERT_EQ(got[i], count_at_or_below(points, s[i])) << what << ", site " << s[i];
    }
}

class SearchShapes : public ::testing::TestWithParam<int64_t> {};

// Every method on the same partitions and sites. Many sites take the tree, a few at a time the
// plain bisection; the sorted sites the walk, also when they are not sorted; the nearly uniform
// hint a partition that is not uniform at all.
TEST_P(SearchShapes, EveryMethodCountsEverySite) {
    const int64_t nx = GetParam();
    const std::vector<double> x = uneven_partition(nx, -3.0, 11 + nx);
    const std::vector<double> s = awkward_sites(x, 3 * nx + 500, 5);
    for (int64_t xhint : {DF_X_ANY, DF_X_SORTED, DF_X_NEARLY_UNIFORM}) {
        const Task task = make_task<DoubleEval>(x, nx, xhint);
        const std::string what = "x hint " + std::to_string(xhint);
        expect_counts(x, s, search(task.get(), s, DF_SITES_ANY), what + ", all sites");
        std::vector<int64_t> few(s.size());
        for (size_t i = 0; i < s.size(); i += 3) {
            const size_t n = std::min<size_t>(3, s.size() - i);
            const std::vector<double> part(s.begin() + i, s.begin() + i + n);
            const std::vector<int64_t> got = search(task.get(), part, DF_SITES_ANY);
            std::copy(got.begin(), got.end(), few.begin() + i);
        }
        expect_counts(x, s, few, what + ", three sites at a time");
        // Unsorted sites under the sorted hint, then sorted ones, and descending ones.
        expect_counts(x, s, search(task.get(), s, DF_SITES_SORTED), what + ", unsorted as sorted");
        std::vector<double> sorted = s;
        sorted.pop_back();  // NaN sorts nowhere
        std::sort(sorted.begin(), sorted.end());
        expect_counts(x, sorted, search(task.get(), sorted, DF_SITES_SORTED), what + ", sorted");
        std::reverse(sorted.begin(), sorted.end());
        expect_counts(x, sorted, search(task.get(), sorted, DF_SITES_SORTED),
                      what + ", descending");
    }
}

// A uniform partition given by its ends: the counts are those of the points as the library
// places them, also where rounding places the points unevenly (ends far from 0 compared with the
// spacing) and (s - a) / h misses the count by many points (ends a few units of rounding apart:
// the construction refuses such a partition, the search still counts right).
TEST_P(SearchShapes, UniformPartitionFromItsEnds) {
    const int64_t nx = GetParam();
    for (const auto &[a, b] :
         {std::pair{-2.0, 5.0}, std::pair{1e6, 1e6 + 1e-3}, std::pair{1e6, 1e6 + 1e-9},
          std::pair{-1e-300, 1e-300}, std::pair{-1e300, 1e300}}) {
        const std::vector<double> points = uniform_points(a, b, nx);
        const std::vector<double> ends = {a, b};
        const Task task = make_task<DoubleEval>(ends, nx, DF_X_UNIFORM);
        const std::vector<double> s = awkward_sites(points, 2 * nx + 100, 7);
        const std::string what = "ends " + std::to_string(a) + ", " + std::to_string(b);
        expect_counts(points, s, search(task.get(), s, DF_SITES_ANY), what);
        expect_counts(points, s, search(task.get(), s, DF_SITES_SORTED), what + " sorted hint");
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, SearchShapes, ::testing::Values(2, 3, 7, 64, 65, 1000, 4097));

// Sites placed evenly from a to b (site hint 4) are the sites a + j (b - a) / (n - 1), b last:
// the same counts as those sites given one by one, ascending or descending.
TEST(Search, UniformSitesFromTheirEnds) {
    const std::vector<double> x = uneven_partition(300, 0.0, 3);
    const Task task = make_task<DoubleEval>(x, 300, DF_X_ANY);
    for (const auto &[a, b, n] :
         {std::tuple{-10.0, 400.0, int64_t{5001}}, std::tuple{400.0, -10.0, int64_t{777}},
          std::tuple{3.0, 3.0, int64_t{3}}, std::tuple{5.5, 9.0, int64_t{1}},
          std::tuple{x[4], x[200], int64_t{197}}}) {
        std::vector<double> s(n);
        const double h = n > 1 ? (b - a) / static_cast<double>(n - 1) : 0.0;
        for (int64_t j = 0; j < n; ++j) s[j] = j == 0 ? a : j == n - 1 ? b : a + j * h;
        std::vector<int64_t> cell(n, -7);
        const double ends[2] = {a, b};
        ASSERT_EQ(korb_df_kernel_dSearchCells1D(task.get(), DF_METHOD_STD, n, ends,
                                                DF_SITES_UNIFORM, cell.data()),
                  DF_STATUS_OK);
        expect_counts(x, s, cell, "uniform sites from " + std::to_string(a));
    }
}

// The counts are np.searchsorted(x, site, side='right') on the committed partitions, and the
// single-precision form counts its floats like the double form.
TEST(Search, AgreesWithNumpyAndInSinglePrecision) {
    for (const EvalReference &r : eval_references()) {
        const Task task = make_task<DoubleEval>(r.x, r.nx, r.xhint);
        EXPECT_EQ(search(task.get(), r.sites, DF_SITES_ANY), r.counts) << r.name;

        std::vector<float> xf(r.x.begin(), r.x.end()), sf(r.sites.begin(), r.sites.end());
        const std::vector<double> xd(xf.begin(), xf.end()), sd(sf.begin(), sf.end());
        const Task single = make_task<SingleEval>(xf, r.nx, r.xhint);
        const Task dbl = make_task<DoubleEval>(xd, r.nx, r.xhint);
        for (int64_t hint : {DF_SITES_ANY, DF_SITES_SORTED}) {
            std::vector<int64_t> got(sf.size(), -7);
            ASSERT_EQ(korb_df_kernel_sSearchCells1D(single.get(), DF_METHOD_STD,
                                                    static_cast<int64_t>(sf.size()), sf.data(),
                                                    hint, got.data()),
                      DF_STATUS_OK);
            EXPECT_EQ(got, search(dbl.get(), sd, hint)) << r.name << " single precision";
        }
    }
}

// A partition that does not increase gives counts within [0, nx] by every method: wrong data
// never makes the search read or write out of bounds.
TEST(Search, DisorderedPartitionStaysInBounds) {
    Lcg g(17);
    std::vector<double> x(500);
    for (double &v : x) v = g.next() < 0.05 ? kNan : 100.0 * g.next();
    const std::vector<double> s = awkward_sites({-1.0, 101.0}, 3000, 9);
    for (int64_t xhint : {DF_X_ANY, DF_X_NEARLY_UNIFORM}) {
        const Task task = make_task<DoubleEval>(x, 500, xhint);
        for (int64_t hint : {DF_SITES_ANY, DF_SITES_SORTED}) {
            for (int64_t n : {int64_t{3}, static_cast<int64_t>(s.size())}) {
                const std::vector<int64_t> got = search(task.get(), s, hint, n);
                for (int64_t i = 0; i < n; ++i) {
                    ASSERT_GE(got[i], 0);
                    ASSERT_LE(got[i], 500);
                }
            }
        }
    }
}

// The tree is work memory the search can do without: when it cannot be had the counts are the
// same and nothing is left allocated.
TEST(Search, WithoutMemoryTheCountsAreTheSame) {
    const std::vector<double> x = uneven_partition(2000, 1.0, 21);
    const std::vector<double> s = awkward_sites(x, 5000, 23);
    const Task task = make_task<DoubleEval>(x, 2000, DF_X_ANY);
    const std::vector<int64_t> want = search(task.get(), s, DF_SITES_ANY);
    const long live = korb_serv_live_blocks();
    korb_serv_fail_after(0);
    const std::vector<int64_t> got = search(task.get(), s, DF_SITES_ANY);
    korb_serv_fail_after(-1);
    EXPECT_EQ(got, want);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

// Each refusal returns its code and writes no cell.
TEST(Search, RefusesWithItsCodeAndWritesNothing) {
    std::vector<double> x = {0, 1, 2, 3};
    const Task task = make_task<DoubleEval>(x, 4, DF_X_ANY);
    DfTask *t = task.get();
    const double s[2] = {0.5, 1.5};
    int64_t cell[2] = {-7, -7};
    const auto check = [&](int64_t got, int64_t want, const char *what) {
        EXPECT_EQ(got, want) << what;
        EXPECT_EQ(cell[0], -7) << what;
        EXPECT_EQ(cell[1], -7) << what;
    };
    check(korb_df_kernel_dSearchCells1D(nullptr, 0, 2, s, 0, cell), DF_ERROR_NULL_TASK, "task");
    check(korb_df_kernel_dSearchCells1D(t, 1, 2, s, 0, cell), DF_ERROR_BAD_METHOD, "method");
    check(korb_df_kernel_dSearchCells1D(t, 0, -1, s, 0, cell), DF_ERROR_BAD_NSITE, "nsite");
    check(korb_df_kernel_dSearchCells1D(t, 0, 2, nullptr, 0, cell), DF_ERROR_NULL_SITE, "site");
    for (int64_t hint : {2, 3, 5, -1, 16}) {
        check(korb_df_kernel_dSearchCells1D(t, 0, 2, s, hint, cell), DF_ERROR_BAD_SITE_HINT,
              "site hint");
    }
    check(korb_df_kernel_dSearchCells1D(t, 0, 2, s, 0, nullptr), DF_ERROR_NULL_CELL, "cell");
    // Nothing to do: every array may be null.
    EXPECT_EQ(korb_df_kernel_dSearchCells1D(t, 0, 0, nullptr, 0, nullptr), DF_STATUS_OK);

    // The partition: nx, x, the x hint, and uniform ends that do not make a partition.
    t->nx = 1;
    check(korb_df_kernel_dSearchCells1D(t, 0, 2, s, 0, cell), DF_ERROR_BAD_NX, "nx");
    t->nx = (int64_t{1} << 44) + 1;  // more points than a uniform partition can place exactly
    t->xHint = DF_X_UNIFORM;
    check(korb_df_kernel_dSearchCells1D(t, 0, 2, s, 0, cell), DF_ERROR_BAD_NX, "huge nx");
    t->xHint = DF_X_ANY;
    t->nx = 4;
    t->x = nullptr;
    check(korb_df_kernel_dSearchCells1D(t, 0, 2, s, 0, cell), DF_ERROR_NULL_X, "x");
    t->x = x.data();
    t->xHint = 3;
    check(korb_df_kernel_dSearchCells1D(t, 0, 2, s, 0, cell), DF_ERROR_BAD_XHINT, "x hint");
    t->xHint = DF_X_UNIFORM;
    for (const auto &[a, b] :
         {std::pair{1.0, 1.0}, std::pair{2.0, 1.0}, std::pair{kNan, 1.0}, std::pair{0.0, kInf},
          std::pair{-1e308, 1e308}, std::pair{0.0, 5e-324}}) {
        x[0] = a;
        x[1] = b;
        check(korb_df_kernel_dSearchCells1D(t, 0, 2, s, 0, cell), DF_ERROR_BAD_PARTITION,
              "uniform ends");
    }
    // The single-precision form makes the same checks.
    const float sf[2] = {0.5f, 1.5f};
    EXPECT_EQ(korb_df_kernel_sSearchCells1D(nullptr, 0, 2, sf, 0, cell), DF_ERROR_NULL_TASK);
    check(korb_df_kernel_sSearchCells1D(t, 0, 2, sf, 9, cell), DF_ERROR_BAD_SITE_HINT, "s hint");
}

}  // namespace
}  // namespace korb::test
