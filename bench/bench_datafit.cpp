// Spline construction against GSL's gsl_spline_init (cspline, akima) on the same data; then
// evaluation, integration and cell search against gsl_spline_eval (with its derivatives),
// gsl_spline_eval_integ and gsl_interp_accel_find (see the cases further down).
//
// Cases: the natural cubic for nx = 1,000,000 with one function and for nx = 1000 with 1000
// functions (GSL initialises one spline object per function, allocated beforehand), the
// not-a-knot cubic, Akima's and the Hermite cubic for nx = 1,000,000. Items are points times
// functions; the checksum is one coefficient, so that the work cannot be dropped.
// bench/scipy_splines.py times scipy on the same shapes.
#include <benchmark/benchmark.h>
#include <gsl/gsl_errno.h>
#include <gsl/gsl_interp.h>
#include <gsl/gsl_spline.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "korb/kernel/df.h"

namespace {

struct Data {
    std::vector<double> x, y, d;
};

// An uneven partition and smooth values with some noise, the same for every run.
Data make_data(int64_t nx, int64_t ny) {
    Data data{std::vector<double>(nx), std::vector<double>(nx * ny), std::vector<double>(nx * ny)};
    uint64_t s = 0x9E3779B97F4A7C15ull;
    double t = 0;
    for (int64_t j = 0; j < nx; ++j) {
        s = s * 6364136223846793005ull + 1442695040888963407ull;
        data.x[j] = t;
        t += 0.5 + static_cast<double>(s >> 11) * 0x1p-53;
    }
    for (int64_t i = 0; i < ny; ++i) {
        for (int64_t j = 0; j < nx; ++j) {
            data.y[i * nx + j] = std::sin(1e-3 * data.x[j] * static_cast<double>(i + 1));
            data.d[i * nx + j] = std::cos(1e-3 * data.x[j]);
        }
    }
    return data;
}

struct TaskDeleter {
    void operator()(DfTask *t) const { korb_df_kernel_DeleteTask(&t); }
};

void korb_spline(benchmark::State &state, int64_t type, int64_t bc) {
    const int64_t nx = state.range(0), ny = state.range(1);
    const Data data = make_data(nx, ny);
    std::vector<double> c(static_cast<size_t>(4 * (nx - 1) * ny));
    static const double bc_values[2] = {0, 0};
    DfTask *raw = nullptr;
    korb_df_kernel_dNewTask1D(&raw, nx, data.x.data(), 0, ny, data.y.data(), 0, 0);
    std::unique_ptr<DfTask, TaskDeleter> task(raw);
    const int64_t status = korb_df_kernel_dEditPPSpline1D(
        raw, 4, type, type == DF_PP_HERMITE ? DF_IC_1ST_DER : 0, data.d.data(), bc,
        bc == DF_BC_NONE ? nullptr : bc_values, c.data(), 0);
    if (status != DF_STATUS_OK) state.SkipWithError("task");
    for (auto _ : state) {
        if (korb_df_kernel_dConstruct1D(raw, DF_PP_SPLINE, DF_METHOD_STD) != DF_STATUS_OK) {
            state.SkipWithError("construct");
            break;
        }
        benchmark::DoNotOptimize(c.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * nx * ny);
    state.counters["checksum"] = c[c.size() / 2];
}

void BM_korb_natural(benchmark::State &state) {
    korb_spline(state, DF_PP_NATURAL, DF_BC_FREE_END);
}
void BM_korb_not_a_knot(benchmark::State &state) {
    korb_spline(state, DF_PP_NATURAL, DF_BC_NOT_A_KNOT);
}
void BM_korb_akima(benchmark::State &state) {
    korb_spline(state, DF_PP_AKIMA, DF_BC_NONE);
}
void BM_korb_hermite(benchmark::State &state) {
    korb_spline(state, DF_PP_HERMITE, DF_BC_NONE);
}

void gsl_spline_case(benchmark::State &state, const gsl_interp_type *type) {
    const int64_t nx = state.range(0), ny = state.range(1);
    const Data data = make_data(nx, ny);
    gsl_set_error_handler_off();
    std::vector<gsl_spline *> splines;
    for (int64_t i = 0; i < ny; ++i) splines.push_back(gsl_spline_alloc(type, nx));
    for (auto _ : state) {
        for (int64_t i = 0; i < ny; ++i) {
            if (gsl_spline_init(splines[i], data.x.data(), data.y.data() + i * nx, nx) != 0) {
                state.SkipWithError("gsl_spline_init");
            }
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * nx * ny);
    state.counters["checksum"] = gsl_spline_eval(splines[0], data.x[nx / 2] + 0.25, nullptr);
    for (gsl_spline *s : splines) gsl_spline_free(s);
}

void BM_gsl_cspline(benchmark::State &state) {
    gsl_spline_case(state, gsl_interp_cspline);
}
void BM_gsl_akima(benchmark::State &state) {
    gsl_spline_case(state, gsl_interp_akima);
}

// Evaluation, integration and search: a natural cubic through nx = 10^4 points, on an even
// partition (given to korb by its ends, x hint 4) or an uneven one; 10^7 sites inside the
// partition, in random order or sorted; values alone or with the first two derivatives. GSL
// evaluates the same spline (its cspline on the same points) site by site with an accelerator.
// Integrals over 10^6 random intervals (GSL over the first 10^4: its integral walks every cell
// between the limits). Items are sites or intervals.
constexpr int64_t kEvalPoints = 10000;
constexpr int64_t kEvalSites = 10000000;
constexpr int64_t kIntervals = 1000000;
constexpr int64_t kGslIntervals = 10000;

struct EvalData {
    double ends[2];
    std::vector<double> x, y, random, sorted, left, right;
};

// The data of one partition shape, made once per process.
const EvalData &eval_data(bool uniform) {
    static EvalData data[2];
    EvalData &d = data[uniform ? 1 : 0];
    if (!d.x.empty()) return d;
    d.x.resize(kEvalPoints);
    uint64_t s = 0x2545F4914F6CDD1Dull;
    auto next = [&s] {
        s = s * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<double>(s >> 11) * 0x1p-53;
    };
    d.ends[0] = 0.0;
    d.ends[1] = static_cast<double>(kEvalPoints - 1);
    const double h = (d.ends[1] - d.ends[0]) / static_cast<double>(kEvalPoints - 1);
    double t = 0;
    for (int64_t j = 0; j < kEvalPoints; ++j) {
        // Even: the points as korb places them from the ends. Uneven: widths from 0.2 to 1.8.
        d.x[j] = uniform ? (j == kEvalPoints - 1 ? d.ends[1] : d.ends[0] + j * h) : t;
        t += 0.2 + 1.6 * next();
    }
    d.y.resize(kEvalPoints);
    for (int64_t j = 0; j < kEvalPoints; ++j) d.y[j] = std::sin(0.01 * d.x[j]) + 0.1 * next();
    const double a = d.x.front(), w = d.x.back() - d.x.front();
    d.random.resize(kEvalSites);
    for (double &v : d.random) v = a + w * next();
    d.sorted = d.random;
    std::sort(d.sorted.begin(), d.sorted.end());
    d.left.resize(kIntervals);
    d.right.resize(kIntervals);
    for (int64_t k = 0; k < kIntervals; ++k) {
        d.left[k] = a + w * next();
        d.right[k] = a + w * next();
    }
    return d;
}

// A natural cubic of the data, as korb's task (with x hint 4 on the even partition) and its
// coefficients.
struct KorbSpline {
    std::vector<double> c;
    std::unique_ptr<DfTask, TaskDeleter> task;

    KorbSpline(const EvalData &d, bool uniform) : c(4 * (kEvalPoints - 1)) {
        static const double unread[2] = {0, 0};
        DfTask *raw = nullptr;
        korb_df_kernel_dNewTask1D(&raw, kEvalPoints, d.x.data(), 0, 1, d.y.data(), 0, 0);
        task.reset(raw);
        korb_df_kernel_dEditPPSpline1D(raw, 4, DF_PP_NATURAL, 0, nullptr, DF_BC_FREE_END, unread,
                                       c.data(), 0);
        korb_df_kernel_dConstruct1D(raw, DF_PP_SPLINE, DF_METHOD_STD);
        if (uniform) {
            korb_df_kernel_dEditPtr(raw, DF_PTR_X, d.ends);
            korb_df_kernel_iEditVal(raw, DF_VAL_XHINT, DF_X_UNIFORM);
        }
    }
};

// Arguments: even partition (0 or 1), sorted sites (0 or 1), results per site (1 or 3).
void BM_korb_interpolate(benchmark::State &state) {
    const bool uniform = state.range(0) != 0, sorted = state.range(1) != 0;
    const int64_t nd = state.range(2);
    const EvalData &d = eval_data(uniform);
    const KorbSpline spline(d, uniform);
    const std::vector<double> &sites = sorted ? d.sorted : d.random;
    std::vector<double> r(static_cast<size_t>(kEvalSites * nd));
    const int64_t dorder[3] = {1, 1, 1};
    for (auto _ : state) {
        if (korb_df_kernel_dInterpolate1D(spline.task.get(), DF_INTERP_VALUES, DF_METHOD_STD,
                                          kEvalSites, sites.data(),
                                          sorted ? DF_SITES_SORTED : DF_SITES_ANY, nd, dorder,
                                          r.data(), DF_R_FUNC_SITE_DER, nullptr) != DF_STATUS_OK) {
            state.SkipWithError("interpolate");
            break;
        }
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kEvalSites);
    state.counters["checksum"] = r[r.size() / 2];
}

struct GslSpline {
    gsl_spline *spline;
    gsl_interp_accel *acc;
    explicit GslSpline(const EvalData &d)
        : spline(gsl_spline_alloc(gsl_interp_cspline, kEvalPoints)), acc(gsl_interp_accel_alloc()) {
        gsl_set_error_handler_off();
        gsl_spline_init(spline, d.x.data(), d.y.data(), kEvalPoints);
    }
    ~GslSpline() {
        gsl_interp_accel_free(acc);
        gsl_spline_free(spline);
    }
};

void BM_gsl_interpolate(benchmark::State &state) {
    const bool uniform = state.range(0) != 0, sorted = state.range(1) != 0;
    const int64_t nd = state.range(2);
    const EvalData &d = eval_data(uniform);
    const GslSpline g(d);
    const std::vector<double> &sites = sorted ? d.sorted : d.random;
    std::vector<double> r(static_cast<size_t>(kEvalSites * nd));
    for (auto _ : state) {
        gsl_interp_accel_reset(g.acc);
        if (nd == 1) {
            for (int64_t j = 0; j < kEvalSites; ++j)
                r[j] = gsl_spline_eval(g.spline, sites[j], g.acc);
        } else {
            for (int64_t j = 0; j < kEvalSites; ++j) {
                r[3 * j] = gsl_spline_eval(g.spline, sites[j], g.acc);
                r[3 * j + 1] = gsl_spline_eval_deriv(g.spline, sites[j], g.acc);
                r[3 * j + 2] = gsl_spline_eval_deriv2(g.spline, sites[j], g.acc);
            }
        }
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kEvalSites);
    state.counters["checksum"] = r[r.size() / 2];
}

// Arguments: even partition (0 or 1).
void BM_korb_integrate(benchmark::State &state) {
    const bool uniform = state.range(0) != 0;
    const EvalData &d = eval_data(uniform);
    const KorbSpline spline(d, uniform);
    std::vector<double> r(kIntervals);
    for (auto _ : state) {
        if (korb_df_kernel_dIntegrate1D(spline.task.get(), DF_METHOD_STD, kIntervals, d.left.data(),
                                        DF_SITES_ANY, d.right.data(), DF_SITES_ANY, r.data(),
                                        DF_R_FUNC_SITE_DER) != DF_STATUS_OK) {
            state.SkipWithError("integrate");
            break;
        }
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kIntervals);
    state.counters["checksum"] = r[r.size() / 2];
}

void BM_gsl_integrate(benchmark::State &state) {
    const bool uniform = state.range(0) != 0;
    const EvalData &d = eval_data(uniform);
    const GslSpline g(d);
    std::vector<double> r(kGslIntervals);
    for (auto _ : state) {
        for (int64_t k = 0; k < kGslIntervals; ++k) {
            // GSL takes its limits in increasing order.
            const double a = std::min(d.left[k], d.right[k]), b = std::max(d.left[k], d.right[k]);
            const double v = gsl_spline_eval_integ(g.spline, a, b, g.acc);
            r[k] = d.left[k] <= d.right[k] ? v : -v;
        }
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kGslIntervals);
    state.counters["checksum"] = r[r.size() / 2];
}

// Cell search alone on the uneven partition, random or sorted sites.
void BM_korb_search(benchmark::State &state) {
    const bool sorted = state.range(0) != 0;
    const EvalData &d = eval_data(false);
    const KorbSpline spline(d, false);
    const std::vector<double> &sites = sorted ? d.sorted : d.random;
    std::vector<int64_t> cell(kEvalSites);
    for (auto _ : state) {
        korb_df_kernel_dSearchCells1D(spline.task.get(), DF_METHOD_STD, kEvalSites, sites.data(),
                                      sorted ? DF_SITES_SORTED : DF_SITES_ANY, cell.data());
        benchmark::DoNotOptimize(cell.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kEvalSites);
    state.counters["checksum"] = static_cast<double>(cell[cell.size() / 2]);
}

void BM_gsl_search(benchmark::State &state) {
    const bool sorted = state.range(0) != 0;
    const EvalData &d = eval_data(false);
    const std::vector<double> &sites = sorted ? d.sorted : d.random;
    std::vector<int64_t> cell(kEvalSites);
    gsl_interp_accel *acc = gsl_interp_accel_alloc();
    for (auto _ : state) {
        for (int64_t j = 0; j < kEvalSites; ++j) {
            cell[j] =
                static_cast<int64_t>(gsl_interp_accel_find(acc, d.x.data(), kEvalPoints, sites[j]));
        }
        benchmark::DoNotOptimize(cell.data());
        benchmark::ClobberMemory();
    }
    gsl_interp_accel_free(acc);
    state.SetItemsProcessed(state.iterations() * kEvalSites);
    state.counters["checksum"] = static_cast<double>(cell[cell.size() / 2]);
}

#define KORB_DF_EVAL                            \
    ->ArgNames({"even", "sorted", "nd"})        \
        ->ArgsProduct({{0, 1}, {0, 1}, {1, 3}}) \
        ->Unit(benchmark::kMillisecond)
BENCHMARK(BM_korb_interpolate) KORB_DF_EVAL;
BENCHMARK(BM_gsl_interpolate) KORB_DF_EVAL;
BENCHMARK(BM_korb_integrate)->ArgName("even")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_gsl_integrate)->ArgName("even")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_korb_search)->ArgName("sorted")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_gsl_search)->ArgName("sorted")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

#define KORB_DF_SHAPES ->Args({1000000, 1})->Args({1000, 1000})->Unit(benchmark::kMillisecond)
#define KORB_DF_LONG ->Args({1000000, 1})->Unit(benchmark::kMillisecond)

BENCHMARK(BM_korb_natural) KORB_DF_SHAPES;
BENCHMARK(BM_gsl_cspline) KORB_DF_SHAPES;
BENCHMARK(BM_korb_not_a_knot) KORB_DF_LONG;
BENCHMARK(BM_korb_akima) KORB_DF_LONG;
BENCHMARK(BM_gsl_akima) KORB_DF_LONG;
BENCHMARK(BM_korb_hermite) KORB_DF_LONG;

}  // namespace
