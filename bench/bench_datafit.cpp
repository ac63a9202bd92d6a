// Spline construction against GSL's gsl_spline_init (cspline, akima) on the same data.
//
// Cases: the natural cubic for nx = 1,000,000 with one function and for nx = 1000 with 1000
// functions (GSL initialises one spline object per function, allocated beforehand), the
// not-a-knot cubic, Akima's and the Hermite cubic for nx = 1,000,000. Items are points times
// functions; the checksum is one coefficient, so that the work cannot be dropped.
// bench/scipy_splines.py times scipy on the same shapes.
#include <benchmark/benchmark.h>
#include <gsl/gsl_errno.h>
#include <gsl/gsl_spline.h>

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

#define KORB_DF_SHAPES ->Args({1000000, 1})->Args({1000, 1000})->Unit(benchmark::kMillisecond)
#define KORB_DF_LONG ->Args({1000000, 1})->Unit(benchmark::kMillisecond)

BENCHMARK(BM_korb_natural) KORB_DF_SHAPES;
BENCHMARK(BM_gsl_cspline) KORB_DF_SHAPES;
BENCHMARK(BM_korb_not_a_knot) KORB_DF_LONG;
BENCHMARK(BM_korb_akima) KORB_DF_LONG;
BENCHMARK(BM_gsl_akima) KORB_DF_LONG;
BENCHMARK(BM_korb_hermite) KORB_DF_LONG;

}  // namespace
