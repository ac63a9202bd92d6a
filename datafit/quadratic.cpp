// Piecewise linear and quadratic splines.
//
// Linear: c0 = y_j, c1 = D_j = (y_{j+1} - y_j) / h_j.
//
// C1 quadratic with knots at the partition points: on cell j, c0 = y_j, c1 = s_j,
// c2 = (D_j - s_j) / h_j, and continuity of the derivative gives s_{j+1} = 2 D_j - s_j. The
// system is lower bidiagonal, so it is solved by that forward recurrence as the cells are
// written (a tridiagonal factorization would compute the same numbers through three more arrays).
// The recurrence neither damps nor amplifies an error of s_0: the spline's known weakness, not
// the arithmetic's. s_0 is the derivative of the parabola through the first three points, or
// the given first derivative, or follows from the given second derivative a: s_0 = D_0 - a h_0/2.
//
// Subbotin's quadratic (Yu. N. Subbotin, 1967) has its knots halfway between the partition
// points, m_j = (x_{j-1} + x_j) / 2, plus the two ends, so cell j is [m_j, m_{j+1}] with
// m_0 = x_0 and m_nx = x_{nx-1}, and x_j lies inside cell j at u_j = h_{j-1}/2 from its left knot
// (u_0 = 0). The unknowns are the derivatives d_j at the knots; the derivative is linear on each
// cell, so S'(x_j) = alpha_j d_j + beta_j d_{j+1} with alpha_j = h_j / (h_{j-1} + h_j) and
// beta_j = 1 - alpha_j (S'(x_0) = d_0, S'(x_{nx-1}) = d_nx), and integrating S' from x_j to
// x_{j+1} (trapezoids on both halves, split at m_{j+1}) gives for j = 0 .. nx-2
//
//   alpha_j d_j + (beta_j + 2 + alpha_{j+1}) d_{j+1} + beta_{j+1} d_{j+2} = 4 D_j,
//
// strictly dominant (below it is written for the knots as rounded, and scaled by h_j / 4). The
// end rows: a first derivative a gives d_0 = a; a second derivative a gives d_0 - d_1 = -a L_0
// (free end: a = 0); not-a-knot (m_1 is no knot) puts d_0 = d_1 + (L_0 / L_1)(d_1 - d_2) into
// the first row, which for exact midpoints reduces to d_1 = D_0, the derivative of the parabola
// on [x_0, m_2] at the middle of [x_0, x_1]; periodic wraps the rows around (x_0 then lies inside
// the cell [m_{nx-1}, m_1 + period], S'(x_0) = alpha_0 d_{nx-1} + beta_0 d_1 with h_{-1} =
// h_{nx-2}), a cyclic system in d_1 .. d_{nx-1}. Each cell then holds, relative to its left knot,
//
//   c1 = d_j,  c2 = (d_{j+1} - d_j) / (2 L_j),  c0 = y_j - u_j (c1 + c2 u_j),
//
// L_j being the cell's width, so that the spline takes the value y_j at x_j exactly as computed.
#include <cstdint>

#include "construct.h"

namespace korb::datafit {

template <class T>
std::int64_t build_linear(const Fit<T> &fit) {
    const std::int64_t nx = fit.nx;
    const bool gather = fit.point_major || sizeof(T) != sizeof(double);
    Work work(gather ? nx : 0);
    if (gather && !work.ok()) return DF_ERROR_MEM_FAILURE;
    const double *x = fit.x;
    for (std::int64_t i = 0; i < fit.ny; ++i) {
        const double *y = fit.values(i, work.get());
        T *c = fit.c[i];
        for (std::int64_t j = 0; j < nx - 1; ++j) {
            c[2 * j] = static_cast<T>(y[j]);
            c[2 * j + 1] = static_cast<T>((y[j + 1] - y[j]) / (x[j + 1] - x[j]));
        }
    }
    return DF_STATUS_OK;
}

template <class T>
std::int64_t build_quadratic(const Fit<T> &fit) {
    const std::int64_t nx = fit.nx;
    const bool gather = fit.point_major || sizeof(T) != sizeof(double);
    Work work(gather ? nx : 0);
    if (gather && !work.ok()) return DF_ERROR_MEM_FAILURE;
    const double *x = fit.x;
    for (std::int64_t i = 0; i < fit.ny; ++i) {
        const double *y = fit.values(i, work.get());
        const double h0 = x[1] - x[0], d0 = (y[1] - y[0]) / h0;
        double s = 0.0;
        if (fit.bc_type == DF_BC_NONE) {
            const double h1 = x[2] - x[1], d1 = (y[2] - y[1]) / h1;
            s = d0 - (d1 - d0) / (h0 + h1) * h0;
        } else if ((fit.bc_type & DF_BC_2ND_LEFT) != 0) {
            s = d0 - fit.bc[0] * h0 / 2.0;
        } else {
            s = fit.bc[0];
        }
        T *c = fit.c[i];
        for (std::int64_t j = 0; j < nx - 1; ++j) {
            const double h = x[j + 1] - x[j];
            const double d = (y[j + 1] - y[j]) / h;
            c[3 * j] = static_cast<T>(y[j]);
            c[3 * j + 1] = static_cast<T>(s);
            c[3 * j + 2] = static_cast<T>((d - s) / h);
            s = 2.0 * d - s;
        }
    }
    return DF_STATUS_OK;
}

namespace {

enum class Ends { values, not_a_knot, periodic };

// The geometry of Subbotin's cells, from the knots as they are stored: t_0 = x_0,
// t_j = x_{j-1}/2 + x_j/2 (the midpoint, rounded once), t_nx = x_{nx-1}. Everything below is
// derived from these rounded knots, so that the spline a caller evaluates relative to them
// takes its values at the points and is C1 at the knots to rounding, however far the points
// lie from 0 compared with their spacing.
struct Cells {
    const double *x;
    std::int64_t nx;
    bool periodic;

    double knot(std::int64_t j) const {
        if (j == 0) return x[0];
        if (j == nx) return x[nx - 1];
        return 0.5 * x[j - 1] + 0.5 * x[j];
    }
    // Offset of x_j from the left knot of its cell, and from x_j to the right knot.
    double u(std::int64_t j) const { return x[j] - knot(j); }
    double v(std::int64_t j) const { return knot(j + 1) - x[j]; }

    // S'(x_j) = alpha_j d_j + beta_j d_{j+1}, S' being linear across the cell. In a periodic
    // spline x_0 lies inside the cell [t_{nx-1}, t_1 + period], where d_{nx-1} takes d_j's place.
    struct Weights {
        double alpha, beta;
    };
    Weights weights(std::int64_t j) const {
        double a = v(j), b = u(j);
        if (periodic && (j == 0 || j == nx - 1)) {
            a = v(0);
            b = u(nx - 1);
        }
        return {a / (a + b), b / (a + b)};
    }
};

}  // namespace

// Integrating S' from x_j to x_{j+1}, split at t_{j+1} into v_j and u_{j+1}, and dividing by
// h_j / 2 gives the row of d_{j+1} (p = v_j / h_j, q = u_{j+1} / h_j, both 1/2 but for rounding):
//
//   p alpha_j d_j + (p beta_j + 1 + q alpha_{j+1}) d_{j+1} + q beta_{j+1} d_{j+2} = 2 D_j.
template <class T>
std::int64_t build_subbotin(const Fit<T> &fit) {
    const std::int64_t nx = fit.nx, ny = fit.ny;
    const double *x = fit.x;
    Ends ends = Ends::values;
    if (fit.bc_type == DF_BC_NOT_A_KNOT) ends = Ends::not_a_knot;
    if (fit.bc_type == DF_BC_PERIODIC) ends = Ends::periodic;
    const bool periodic = ends == Ends::periodic;
    const bool free_end = fit.bc_type == DF_BC_FREE_END;
    const bool second_left = free_end || (fit.bc_type & DF_BC_2ND_LEFT) != 0;
    const bool second_right = free_end || (fit.bc_type & DF_BC_2ND_RIGHT) != 0;
    const double a = free_end ? 0.0 : fit.bc[0], b = free_end ? 0.0 : fit.bc[1];
    const Cells cells{x, nx, periodic};
    // Widths of the first and last two cells.
    const double w0 = cells.knot(1) - cells.knot(0), w1 = cells.knot(2) - cells.knot(1);
    const double wn = cells.knot(nx) - cells.knot(nx - 1);
    const double wm = cells.knot(nx - 1) - cells.knot(nx - 2);

    // Unknowns d_lo .. d_{lo+rows-1} of the nx + 1 knot derivatives.
    const std::int64_t lo = ends == Ends::values ? 0 : 1;
    const std::int64_t rows = ends == Ends::values ? nx + 1 : nx - 1;
    const std::int64_t block = ny < kBlock ? ny : kBlock;
    const std::int64_t n1 = nx + 1;
    const bool gather = fit.point_major || sizeof(T) != sizeof(double);
    // Kept in two blocks, as the cubic's: see build_natural.
    Work matrix(3 * n1), block_work(block * n1 + (gather ? block * nx : 0));
    if (!matrix.ok() || !block_work.ok()) return DF_ERROR_MEM_FAILURE;
    double *sub = matrix.get(), *diag = sub + n1, *sup = diag + n1;
    double *d = block_work.get(), *vals = d + block * n1;

    // Row r of the matrix is the equation of unknown d_{lo+r}: equation j = lo + r - 1.
    for (std::int64_t r = 0; r < rows; ++r) {
        const std::int64_t j = lo + r - 1;
        if (j < 0 || j > nx - 2) continue;
        const double h = x[j + 1] - x[j];
        const double p = cells.v(j) / h, q = cells.u(j + 1) / h;
        const Cells::Weights wl = cells.weights(j), wr = cells.weights(j + 1);
        sub[r] = p * wl.alpha;
        diag[r] = p * wl.beta + 1.0 + q * wr.alpha;
        sup[r] = q * wr.beta;
    }
    if (ends == Ends::values) {
        diag[0] = 1.0;
        sup[0] = second_left ? -1.0 : 0.0;
        sub[nx] = second_right ? -1.0 : 0.0;
        diag[nx] = 1.0;
    } else if (ends == Ends::not_a_knot) {
        // t_1 and t_{nx-1} are no knots: d_0 = d_1 + r0 (d_1 - d_2) and
        // d_nx = d_{nx-1} + rn (d_{nx-1} - d_{nx-2}) go into the first and last rows.
        const double r0 = w0 / w1, rn = wn / wm;
        const double p = cells.v(0) / (x[1] - x[0]);
        const double q = cells.u(nx - 1) / (x[nx - 1] - x[nx - 2]);
        diag[0] += p * (1.0 + r0);
        sup[0] -= p * r0;
        diag[rows - 1] += q * (1.0 + rn);
        sub[rows - 1] -= q * rn;
    }
    Tridiag system;
    if (system.factor(rows, sub, diag, sup, periodic) != DF_STATUS_OK) return DF_ERROR_MEM_FAILURE;

    for (std::int64_t i0 = 0; i0 < ny; i0 += block) {
        const std::int64_t nb = ny - i0 < block ? ny - i0 : block;
        const double *y[kBlock];
        for (std::int64_t k = 0; k < nb; ++k) {
            y[k] = fit.values(i0 + k, vals + k * nx);
            double *dk = d + k;
            const double *yk = y[k];
            for (std::int64_t j = 0; j < nx - 1; ++j) {
                dk[(j + 1) * block] = 2.0 * ((yk[j + 1] - yk[j]) / (x[j + 1] - x[j]));
            }
            if (ends == Ends::values) {
                dk[0] = second_left ? -a * w0 : a;
                dk[nx * block] = second_right ? b * wn : b;
            }
        }
        system.solve(nb, d + lo * block, block);
        for (std::int64_t k = 0; k < nb; ++k) {
            double *dk = d + k;
            if (ends == Ends::not_a_knot) {
                dk[0] = dk[block] + (w0 / w1) * (dk[block] - dk[2 * block]);
                dk[nx * block] = dk[(nx - 1) * block] +
                                 (wn / wm) * (dk[(nx - 1) * block] - dk[(nx - 2) * block]);
            } else if (periodic) {
                const Cells::Weights w = cells.weights(0);
                dk[0] = w.alpha * dk[(nx - 1) * block] + w.beta * dk[block];
                dk[nx * block] = dk[0];
            }
            const double *yk = y[k];
            T *c = fit.c[i0 + k];
            double left = cells.knot(0);
            for (std::int64_t j = 0; j < nx; ++j) {
                const double right = cells.knot(j + 1);
                const double u = x[j] - left;
                const double dj = dk[j * block], dn = dk[(j + 1) * block];
                const double c2 = (dn - dj) / (2.0 * (right - left));
                c[3 * j] = static_cast<T>(yk[j] - u * (dj + c2 * u));
                c[3 * j + 1] = static_cast<T>(dj);
                c[3 * j + 2] = static_cast<T>(c2);
                left = right;
            }
        }
    }
    return DF_STATUS_OK;
}

#define KORB_DF_QUADRATIC(T)                                  \
    template std::int64_t build_linear<T>(const Fit<T> &);    \
    template std::int64_t build_quadratic<T>(const Fit<T> &); \
    template std::int64_t build_subbotin<T>(const Fit<T> &);
KORB_DF_QUADRATIC(double)
KORB_DF_QUADRATIC(float)
#undef KORB_DF_QUADRATIC

}  // namespace korb::datafit
