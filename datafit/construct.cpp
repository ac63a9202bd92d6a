// Spline construction: korb_df_kernel_[d|s]Construct1D.
//
// The entry point checks the task in a fixed order (the order df.h lists), turns the partition
// into doubles, and hands a Fit to the builder of the task's order and type, found in one table.
// Nothing is written to the caller's coefficient blocks until every check has passed and the
// builder holds all the memory it needs.
#include <cmath>
#include <cstdint>

#include "construct.h"
#include "frame/services.h"
#include "korb/kernel/df.h"
#include "korb/kernel/frame.h"
#include "task.h"

namespace korb::datafit {

Work::Work(std::int64_t doubles) : p_(nullptr) {
    if (doubles < 0 || doubles > PTRDIFF_MAX / static_cast<std::int64_t>(sizeof(double))) return;
    p_ = static_cast<double *>(
        korbAlignedAlloc(static_cast<std::size_t>(doubles) * sizeof(double), DF_TASK_ALIGNMENT));
}

Work::~Work() {
    if (p_ != nullptr) korbAlignedFree(p_);
}

Tridiag::~Tridiag() {
    if (f_ != nullptr) frame::korb_serv_dtridiag_release(f_);
}

std::int64_t Tridiag::factor(std::int64_t n, const double *sub, const double *diag,
                             const double *sup, bool cyclic) {
    const int status =
        frame::korb_serv_dtridiag_factor(n, sub, diag, sup, cyclic ? KORB_TRIDIAG_CYCLIC : 0, &f_);
    if (status == KORB_TRIDIAG_OK) return DF_STATUS_OK;
    // The systems built here are strictly diagonally dominant with pivots near their diagonals
    // (every row is scaled so that its diagonal is 1 to 4), so memory is the only way to fail.
    return DF_ERROR_MEM_FAILURE;
}

void Tridiag::solve(std::int64_t nrhs, double *b, std::int64_t row_stride) const {
    frame::korb_serv_dtridiag_solve(f_, nrhs, b, row_stride, 1);
}

namespace {

bool has_values(std::int64_t bc) {
    return (bc & DF_BC_VALUES) != 0 && bc != DF_BC_PERIODIC;
}

// Conditions of the natural cubic and the Subbotin quadratic.
bool two_end_condition(std::int64_t bc) {
    if (bc == DF_BC_NOT_A_KNOT || bc == DF_BC_FREE_END || bc == DF_BC_PERIODIC) return true;
    return (bc & ~std::int64_t{DF_BC_2ND_LEFT | DF_BC_2ND_RIGHT}) == DF_BC_VALUES;
}
// The C1 quadratic takes one condition, at the left end.
bool left_end_condition(std::int64_t bc) {
    return bc == DF_BC_NONE || bc == DF_BC_VALUES || bc == (DF_BC_VALUES | DF_BC_2ND_LEFT);
}
bool no_condition(std::int64_t bc) {
    return bc == DF_BC_NONE;
}

std::int64_t min_points_two_ends(std::int64_t bc) {
    return bc == DF_BC_PERIODIC ? 3 : 2;
}
std::int64_t min_points_subbotin(std::int64_t bc) {
    return bc == DF_BC_PERIODIC || bc == DF_BC_NOT_A_KNOT ? 3 : 2;
}
std::int64_t min_points_quadratic(std::int64_t bc) {
    return bc == DF_BC_NONE ? 3 : 2;
}
std::int64_t min_points_2(std::int64_t) {
    return 2;
}

constexpr std::int64_t kMostPoints = std::int64_t{1} << 44;

// One spline the kernel builds.
struct Row {
    std::int64_t order;
    std::int64_t type;
    bool (*takes_bc)(std::int64_t bc);
    std::int64_t (*min_points)(std::int64_t bc);
    bool hermite;  // reads first derivatives from ic
    std::int64_t (*build_d)(const Fit<double> &);
    std::int64_t (*build_s)(const Fit<float> &);
};

#define KORB_DF_ROW(order, type, bc, points, ic, builder) \
    { order, type, bc, points, ic, builder<double>, builder<float> }

constexpr Row kRows[] = {
    KORB_DF_ROW(DF_PP_LINEAR, DF_PP_DEFAULT, no_condition, min_points_2, false, build_linear),
    KORB_DF_ROW(DF_PP_QUADRATIC, DF_PP_DEFAULT, left_end_condition, min_points_quadratic, false,
                build_quadratic),
    KORB_DF_ROW(DF_PP_QUADRATIC, DF_PP_SUBBOTIN, two_end_condition, min_points_subbotin, false,
                build_subbotin),
    KORB_DF_ROW(DF_PP_CUBIC, DF_PP_NATURAL, two_end_condition, min_points_two_ends, false,
                build_natural),
    KORB_DF_ROW(DF_PP_CUBIC, DF_PP_HERMITE, no_condition, min_points_2, true, build_hermite),
    KORB_DF_ROW(DF_PP_CUBIC, DF_PP_BESSEL, no_condition, min_points_2, false, build_bessel),
    KORB_DF_ROW(DF_PP_CUBIC, DF_PP_AKIMA, no_condition, min_points_2, false, build_akima),
};
#undef KORB_DF_ROW

// The row of (order, type), or the status that refuses the pair.
const Row *find_row(std::int64_t order, std::int64_t type, std::int64_t *status) {
    bool order_known = false;
    for (const Row &r : kRows) {
        if (r.order != order) continue;
        order_known = true;
        if (r.type == type) return &r;
    }
    *status = order_known ? DF_ERROR_BAD_SPLINE_TYPE : DF_ERROR_BAD_SPLINE_ORDER;
    return nullptr;
}

// The point i of a uniform partition from its ends: a + i h, the last one exactly b.
double uniform_point(double a, double b, double h, std::int64_t i, std::int64_t nx) {
    return i == nx - 1 ? b : a + static_cast<double>(i) * h;
}

// Checks the caller's partition: nx strictly increasing finite points (x hints 0, 1, 2), or two
// finite ends far enough apart that the nx points placed between them increase strictly too
// (hint 4).
template <class T>
bool partition_ok(const T *x, std::int64_t nx, std::int64_t hint) {
    const std::int64_t given = hint == 4 ? 2 : nx;
    const double a = static_cast<double>(x[0]), b = static_cast<double>(x[given - 1]);
    // Differences of the points must be finite in double as well.
    if (!std::isfinite(a) || !std::isfinite(b) || !std::isfinite(b - a)) return false;
    // Every step must be positive; a NaN fails the comparison too.
    bool ok = true;
    if (hint == 4) {
        const double h = (b - a) / static_cast<double>(nx - 1);
        for (std::int64_t i = 1; i < nx; ++i) {
            ok &= uniform_point(a, b, h, i, nx) > uniform_point(a, b, h, i - 1, nx);
        }
    } else {
        for (std::int64_t i = 1; i < nx; ++i) ok &= x[i] > x[i - 1];
    }
    return ok;
}

// The partition in double: the caller's array when it is one, else filled into `buf`.
template <class T>
const double *partition(const T *x, std::int64_t nx, std::int64_t hint, double *buf) {
    if (hint == 4) {
        const double a = static_cast<double>(x[0]), b = static_cast<double>(x[1]);
        const double h = (b - a) / static_cast<double>(nx - 1);
        for (std::int64_t i = 0; i < nx; ++i) buf[i] = uniform_point(a, b, h, i, nx);
        return buf;
    }
    if constexpr (sizeof(T) == sizeof(double)) {
        return x;
    } else {
        for (std::int64_t i = 0; i < nx; ++i) buf[i] = static_cast<double>(x[i]);
        return buf;
    }
}

template <class T>
std::int64_t construct(DfTask *task, std::int64_t format, std::int64_t method) {
    if (task == nullptr) return DF_ERROR_NULL_TASK;
    if (format != DF_PP_SPLINE) return DF_ERROR_BAD_FORMAT;
    if (method != DF_METHOD_STD) return DF_ERROR_BAD_METHOD;
    std::int64_t status = DF_STATUS_OK;
    const Row *row = find_row(task->splineOrder, task->splineType, &status);
    if (row == nullptr) return status;
    const std::int64_t bc_type = task->bcType;
    if (!row->takes_bc(bc_type)) return DF_ERROR_BAD_BC_TYPE;
    if (has_values(bc_type) && task->bc == nullptr) return DF_ERROR_NULL_BC;
    if (row->hermite) {
        if (task->icType != DF_IC_1ST_DER) return DF_ERROR_BAD_IC_TYPE;
        if (task->ic == nullptr) return DF_ERROR_NULL_IC;
    }
    const std::int64_t nx = task->nx;
    if (nx < 2) return DF_ERROR_BAD_NX;
    // More points than any memory holds: the work arrays' sizes could not even be computed.
    if (nx > kMostPoints) return DF_ERROR_MEM_FAILURE;
    if (nx < row->min_points(bc_type)) return DF_ERROR_TOO_FEW_POINTS;
    if (task->x == nullptr) return DF_ERROR_NULL_X;
    if (!x_hint_accepted(task->xHint)) return DF_ERROR_BAD_XHINT;
    const auto *x = static_cast<const T *>(task->x);
    if (!partition_ok(x, nx, task->xHint)) return DF_ERROR_BAD_PARTITION;

    const std::int64_t ny = task->ny;
    if (ny < 1) return DF_ERROR_BAD_NY;
    const bool point_major = task->yHint == DF_HINT_SINGLE_POINTER;
    const auto *const *y = reinterpret_cast<const T *const *>(task->y);
    const std::int64_t y_needed = point_major ? 1 : ny;
    if (y == nullptr || array_entries(task->y) < y_needed) return DF_ERROR_NULL_Y;
    for (std::int64_t i = 0; i < y_needed; ++i) {
        if (y[i] == nullptr) return DF_ERROR_NULL_Y;
    }
    auto *const *c = reinterpret_cast<T *const *>(task->coeffs);
    if (c == nullptr || array_entries(task->coeffs) < ny) return DF_ERROR_NULL_COEFF;
    for (std::int64_t i = 0; i < ny; ++i) {
        if (c[i] == nullptr) return DF_ERROR_NULL_COEFF;
    }
    if (bc_type == DF_BC_PERIODIC) {
        for (std::int64_t i = 0; i < ny; ++i) {
            const T first = point_major ? y[0][i] : y[i][0];
            const T last = point_major ? y[0][(nx - 1) * ny + i] : y[i][nx - 1];
            if (!(first == last)) return DF_ERROR_BAD_PERIODIC_VAL;
        }
    }

    const bool own_x = task->xHint == 4 || sizeof(T) != sizeof(double);
    Work xbuf(own_x ? nx : 0);
    if (own_x && !xbuf.ok()) return DF_ERROR_MEM_FAILURE;
    Fit<T> fit{};
    fit.nx = nx;
    fit.ny = ny;
    fit.x = partition(x, nx, task->xHint, xbuf.get());
    fit.y = y;
    fit.point_major = point_major;
    fit.c = c;
    fit.bc_type = bc_type;
    if (has_values(bc_type)) {
        const auto *bc = static_cast<const T *>(task->bc);
        fit.bc[0] = static_cast<double>(bc[0]);
        // The C1 quadratic takes its condition at the left end only.
        if (task->splineOrder != DF_PP_QUADRATIC || task->splineType != DF_PP_DEFAULT) {
            fit.bc[1] = static_cast<double>(bc[1]);
        }
    }
    fit.ic = static_cast<const T *>(task->ic);
    if constexpr (sizeof(T) == sizeof(double)) {
        return row->build_d(fit);
    } else {
        return row->build_s(fit);
    }
}

}  // namespace
}  // namespace korb::datafit

using namespace korb::datafit;

extern "C" {

int64_t korb_df_kernel_dConstruct1D(DfTask *task, int64_t format, int64_t method) {
    return construct<double>(task, format, method);
}

int64_t korb_df_kernel_sConstruct1D(DfTask *task, int64_t format, int64_t method) {
    return construct<float>(task, format, method);
}
}
