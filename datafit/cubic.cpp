// Cubic splines: natural (C2, from a tridiagonal system), Hermite (derivatives given), Bessel and
// Akima (derivatives from local formulas). Every cubic is written as a Hermite cubic on each cell
// from its end values and end derivatives s:
//
//   slope = (y1 - y0) r,  t = (s0 + s1 - 2 slope) r,
//   c0 = y0,  c1 = s0,  c2 = (slope - s0) r - t,  c3 = t r,   r = 1 / h.
//
// The C2 spline solves for the derivatives, one unknown per point:
//
//   lambda_i s_{i-1} + 2 s_i + mu_i s_{i+1} = 3 (lambda_i D_{i-1} + mu_i D_i),
//   lambda_i = h_i / (h_{i-1} + h_i),  mu_i = h_{i-1} / (h_{i-1} + h_i),
//
// D_i being the slope of cell i: rows scaled so that the diagonal is 2 and the off-diagonal
// entries add up to 1, whatever the spacing, so that every pivot stays between 1 and 2 even when
// neighbouring cells differ in width by many orders of magnitude. The end rows:
//   first derivative a given:  s_0 = a;
//   second derivative a given: 2 s_0 + s_1 = 3 D_0 - a h_0 / 2 (free end: a = 0);
//   periodic: the rows wrap around (h_{-1} = h_{nx-2}) and s_{nx-1} = s_0, a cyclic system;
//   not-a-knot: the first two cells are one cubic through y_0, y_1, y_2. Given s_2, that cubic is
//     N + (s_2 - N'(x_2)) q, N the parabola through the three points and q the cubic vanishing at
//     them with q'(x_2) = 1, so s_1 = N'(x_1) + (s_2 - N'(x_2)) q'(x_1) and likewise s_0. Putting
//     s_1 into row 2 leaves a strictly dominant system in s_2 .. s_{nx-3} (the right end alike),
//     where the usual combined end row would need pivoting once the end cells differ widely in
//     width. Up to 4 points the not-a-knot spline is the polynomial through them.
// Each system depends on the partition alone: it is factored once and solved for every function,
// kBlock functions at a time with their right-hand sides side by side.
//
// Akima's derivative at x_i (H. Akima, J. ACM 17 (1970) 589-602) weighs the slopes of the cells
// beside it by the jumps of slope farther out:
//   s_i = (|D_{i+1} - D_i| D_{i-1} + |D_{i-1} - D_{i-2}| D_i) / (|D_{i+1} - D_i| + |D_{i-1} -
//   D_{i-2}|),
// the mean of D_{i-1} and D_i when both weights are 0, with two slopes added beyond each end by
// linear extrapolation (D_{-1} = 2 D_0 - D_1, ...).
#include <cmath>
#include <cstdint>

#include "construct.h"

namespace korb::datafit {

namespace {

// The cells from derivatives s[j * stride]; with Unit the stride is 1 and known to the compiler,
// which then runs the loop in vector registers. Both give the same bits.
template <class T, bool Unit>
void cells(std::int64_t nx, const double *x, const double *y, const double *s,
           std::int64_t s_stride, T *c) {
    const std::int64_t stride = Unit ? 1 : s_stride;
    for (std::int64_t j = 0; j < nx - 1; ++j) {
        const double r = 1.0 / (x[j + 1] - x[j]);
        const double s0 = s[j * stride], s1 = s[(j + 1) * stride];
        const double slope = (y[j + 1] - y[j]) * r;
        const double t = (s0 + s1 - 2.0 * slope) * r;
        c[4 * j] = static_cast<T>(y[j]);
        c[4 * j + 1] = static_cast<T>(s0);
        c[4 * j + 2] = static_cast<T>((slope - s0) * r - t);
        c[4 * j + 3] = static_cast<T>(t * r);
    }
}

}  // namespace

template <class T>
void hermite_cells(std::int64_t nx, const double *x, const double *y, const double *s,
                   std::int64_t s_stride, T *c) {
    if (s_stride == 1) {
        cells<T, true>(nx, x, y, s, 1, c);
    } else {
        cells<T, false>(nx, x, y, s, s_stride, c);
    }
}

namespace {

// Derivatives at the three points of the parabola through them (x0 < x1 < x2), and what the
// not-a-knot ends need of it.
struct Parabola {
    double d0, d1, d2;  // N'(x0), N'(x1), N'(x2)
};

Parabola parabola(double x0, double x1, double x2, double y0, double y1, double y2) {
    const double h0 = x1 - x0, h1 = x2 - x1;
    const double s0 = (y1 - y0) / h0, s1 = (y2 - y1) / h1;
    const double f = (s1 - s0) / (h0 + h1);
    return {s0 - f * h0, s0 + f * h0, s1 + f * h1};
}

// Derivatives at four points of the cubic through them.
void cubic_through(const double *x, const double *y, double *s, std::int64_t stride) {
    const double f01 = (y[1] - y[0]) / (x[1] - x[0]);
    const double f12 = (y[2] - y[1]) / (x[2] - x[1]);
    const double f23 = (y[3] - y[2]) / (x[3] - x[2]);
    const double f012 = (f12 - f01) / (x[2] - x[0]);
    const double f123 = (f23 - f12) / (x[3] - x[1]);
    const double f0123 = (f123 - f012) / (x[3] - x[0]);
    for (int i = 0; i < 4; ++i) {
        const double w1 = x[i] - x[0], w2 = x[i] - x[1], w3 = x[i] - x[2];
        s[i * stride] = f01 + f012 * (w1 + w2) + f0123 * (w2 * w3 + w1 * w3 + w1 * w2);
    }
}

enum class Ends { values, not_a_knot, periodic };

// The derivative system of the C2 cubic on a partition, and how to make each function's
// right-hand side. Rows lo .. lo + rows - 1 of the slope column are the unknowns.
struct NaturalSystem {
    Ends ends;
    std::int64_t nx, lo, rows;
    bool second_left, second_right;  // value ends: the given values are second derivatives
    double a, b;                     // value ends: the given values
    double *ra, *rb;  // general rows: rhs_i = ra[i] (y_i - y_{i-1}) + rb[i] (y_{i+1} - y_i)
};

// Matrix of the system into sub/diag/sup (indexed by row - lo); afterwards sub and sup hold the
// right-hand-side weights of the general rows, indexed by point.
void natural_matrix(NaturalSystem &sys, const double *x, double *sub, double *diag, double *sup) {
    const std::int64_t nx = sys.nx;
    auto general = [&](double hp, double hc, std::int64_t r) {
        const double w = 1.0 / (hp + hc);
        sub[r] = hc * w;
        diag[r] = 2.0;
        sup[r] = hp * w;
    };
    switch (sys.ends) {
        case Ends::values:
            for (std::int64_t i = 1; i < nx - 1; ++i) general(x[i] - x[i - 1], x[i + 1] - x[i], i);
            sub[0] = 0.0;
            diag[0] = sys.second_left ? 2.0 : 1.0;
            sup[0] = sys.second_left ? 1.0 : 0.0;
            sub[nx - 1] = sys.second_right ? 1.0 : 0.0;
            diag[nx - 1] = sys.second_right ? 2.0 : 1.0;
            sup[nx - 1] = 0.0;
            break;
        case Ends::not_a_knot: {
            for (std::int64_t i = 2; i < nx - 2; ++i) {
                general(x[i] - x[i - 1], x[i + 1] - x[i], i - 2);
            }
            const double h0 = x[1] - x[0], h1 = x[2] - x[1];
            const double g0 = x[nx - 1] - x[nx - 2], g1 = x[nx - 2] - x[nx - 3];
            // s_1 = A_L s_2 + ..., s_{nx-2} = A_R s_{nx-3} + ...
            diag[0] += sub[0] * (-h0 / (h0 + h1));
            diag[nx - 5] += sup[nx - 5] * (-g0 / (g0 + g1));
            break;
        }
        case Ends::periodic: {
            const std::int64_t m = nx - 1;
            for (std::int64_t i = 0; i < m; ++i) {
                const std::int64_t p = i == 0 ? m - 1 : i - 1;
                general(x[p + 1] - x[p], x[i + 1] - x[i], i);
            }
            break;
        }
    }
}

// Right-hand-side weights of the general rows, by point: 3 lambda_i / h_{i-1} and 3 mu_i / h_i,
// computed as 3 h_i / ((h_{i-1} + h_i) h_{i-1}) and 3 h_{i-1} / ((h_{i-1} + h_i) h_i).
void natural_weights(NaturalSystem &sys, const double *x, double *ra, double *rb) {
    const std::int64_t nx = sys.nx;
    for (std::int64_t i = 1; i < nx - 1; ++i) {
        const double hp = x[i] - x[i - 1], hc = x[i + 1] - x[i];
        ra[i] = 3.0 * hc / ((hp + hc) * hp);
        rb[i] = 3.0 * hp / ((hp + hc) * hc);
    }
    sys.ra = ra;
    sys.rb = rb;
}

// The right-hand side of one function into s[row * stride], for the rows of the system.
void natural_rhs(const NaturalSystem &sys, const double *x, const double *y, double *s,
                 std::int64_t stride) {
    const std::int64_t nx = sys.nx;
    const double *ra = sys.ra, *rb = sys.rb;
    const std::int64_t first = sys.ends == Ends::not_a_knot ? 2 : 1;
    const std::int64_t last = sys.ends == Ends::not_a_knot ? nx - 3 : nx - 2;
    for (std::int64_t i = first; i <= last; ++i) {
        s[i * stride] = ra[i] * (y[i] - y[i - 1]) + rb[i] * (y[i + 1] - y[i]);
    }
    switch (sys.ends) {
        case Ends::values: {
            const double h0 = x[1] - x[0], hn = x[nx - 1] - x[nx - 2];
            const double d0 = (y[1] - y[0]) / h0, dn = (y[nx - 1] - y[nx - 2]) / hn;
            s[0] = sys.second_left ? 3.0 * d0 - sys.a * h0 / 2.0 : sys.a;
            s[(nx - 1) * stride] = sys.second_right ? 3.0 * dn + sys.b * hn / 2.0 : sys.b;
            break;
        }
        case Ends::not_a_knot: {
            const double h0 = x[1] - x[0], h1 = x[2] - x[1];
            const double g0 = x[nx - 1] - x[nx - 2], g1 = x[nx - 2] - x[nx - 3];
            const Parabola l = parabola(x[0], x[1], x[2], y[0], y[1], y[2]);
            const Parabola r =
                parabola(x[nx - 3], x[nx - 2], x[nx - 1], y[nx - 3], y[nx - 2], y[nx - 1]);
            const double al = -h0 / (h0 + h1), ar = -g0 / (g0 + g1);
            // Row 2 holds lambda_2 s_1 and row nx-3 holds mu s_{nx-2}: their known parts move
            // to the right-hand side.
            const double lam2 = (x[3] - x[2]) / (x[3] - x[1]);
            const double mu = (x[nx - 3] - x[nx - 4]) / (x[nx - 2] - x[nx - 4]);
            s[2 * stride] -= lam2 * (l.d1 - l.d2 * al);
            s[(nx - 3) * stride] -= mu * (r.d1 - r.d0 * ar);
            break;
        }
        case Ends::periodic: {
            const std::int64_t m = nx - 1;
            const double hp = x[m] - x[m - 1], hc = x[1] - x[0];
            const double dp = (y[m] - y[m - 1]) / hp, dc = (y[1] - y[0]) / hc;
            // Row 0 wraps around to the last cell; the general rows cover the others.
            s[0] = 3.0 * ((hc / (hp + hc)) * dp + (hp / (hp + hc)) * dc);
            break;
        }
    }
}

// After the solve: the slopes outside the system.
void natural_finish(const NaturalSystem &sys, const double *x, const double *y, double *s,
                    std::int64_t stride) {
    const std::int64_t nx = sys.nx;
    if (sys.ends == Ends::periodic) {
        s[(nx - 1) * stride] = s[0];
    } else if (sys.ends == Ends::not_a_knot) {
        const double h0 = x[1] - x[0], h1 = x[2] - x[1];
        const double g0 = x[nx - 1] - x[nx - 2], g1 = x[nx - 2] - x[nx - 3];
        const Parabola l = parabola(x[0], x[1], x[2], y[0], y[1], y[2]);
        const Parabola r =
            parabola(x[nx - 3], x[nx - 2], x[nx - 1], y[nx - 3], y[nx - 2], y[nx - 1]);
        const double el = s[2 * stride] - l.d2;
        s[stride] = l.d1 + el * (-h0 / (h0 + h1));
        s[0] = l.d0 + el * (h0 / h1);
        const double er = s[(nx - 3) * stride] - r.d0;
        s[(nx - 2) * stride] = r.d1 + er * (-g0 / (g0 + g1));
        s[(nx - 1) * stride] = r.d2 + er * (g0 / g1);
    }
}

// Not-a-knot splines of 2 to 4 points: the polynomial through them.
template <class T>
std::int64_t natural_small(const Fit<T> &fit) {
    const std::int64_t nx = fit.nx;
    double buf[4], s[4];
    for (std::int64_t i = 0; i < fit.ny; ++i) {
        const double *y = fit.values(i, buf);
        if (nx == 2) {
            s[0] = s[1] = (y[1] - y[0]) / (fit.x[1] - fit.x[0]);
        } else if (nx == 3) {
            const Parabola p = parabola(fit.x[0], fit.x[1], fit.x[2], y[0], y[1], y[2]);
            s[0] = p.d0;
            s[1] = p.d1;
            s[2] = p.d2;
        } else {
            cubic_through(fit.x, y, s, 1);
        }
        hermite_cells(nx, fit.x, y, s, 1, fit.c[i]);
    }
    return DF_STATUS_OK;
}

}  // namespace

template <class T>
std::int64_t build_natural(const Fit<T> &fit) {
    const std::int64_t nx = fit.nx, ny = fit.ny;
    NaturalSystem sys{};
    sys.nx = nx;
    if (fit.bc_type == DF_BC_NOT_A_KNOT) {
        if (nx <= 4) return natural_small(fit);
        sys.ends = Ends::not_a_knot;
        sys.lo = 2;
        sys.rows = nx - 4;
    } else if (fit.bc_type == DF_BC_PERIODIC) {
        sys.ends = Ends::periodic;
        sys.lo = 0;
        sys.rows = nx - 1;
    } else {
        sys.ends = Ends::values;
        sys.lo = 0;
        sys.rows = nx;
        const bool free_end = fit.bc_type == DF_BC_FREE_END;
        sys.second_left = free_end || (fit.bc_type & DF_BC_2ND_LEFT) != 0;
        sys.second_right = free_end || (fit.bc_type & DF_BC_2ND_RIGHT) != 0;
        sys.a = free_end ? 0.0 : fit.bc[0];
        sys.b = free_end ? 0.0 : fit.bc[1];
    }
    const std::int64_t block = ny < kBlock ? ny : kBlock;
    const bool gather = fit.point_major || sizeof(T) != sizeof(double);
    // The matrix (3 nx), and the slopes and gathered values of a block (nx per function each),
    // in separate blocks: the allocator serves blocks of a few arrays again from its heap on the
    // next call, where one large block would be mapped afresh every time.
    Work matrix(3 * nx), block_work(block * nx * (gather ? 2 : 1));
    if (!matrix.ok() || !block_work.ok()) return DF_ERROR_MEM_FAILURE;
    double *sub = matrix.get(), *diag = sub + nx, *sup = diag + nx;
    double *slopes = block_work.get(), *vals = slopes + block * nx;
    natural_matrix(sys, fit.x, sub, diag, sup);
    Tridiag system;
    if (system.factor(sys.rows, sub, diag, sup, sys.ends == Ends::periodic) != DF_STATUS_OK) {
        return DF_ERROR_MEM_FAILURE;
    }
    natural_weights(sys, fit.x, sub, sup);

    for (std::int64_t i0 = 0; i0 < ny; i0 += block) {
        const std::int64_t nb = ny - i0 < block ? ny - i0 : block;
        const double *y[kBlock];
        for (std::int64_t k = 0; k < nb; ++k) {
            y[k] = fit.values(i0 + k, vals + k * nx);
            natural_rhs(sys, fit.x, y[k], slopes + k, block);
        }
        system.solve(nb, slopes + sys.lo * block, block);
        for (std::int64_t k = 0; k < nb; ++k) {
            natural_finish(sys, fit.x, y[k], slopes + k, block);
            hermite_cells(nx, fit.x, y[k], slopes + k, block, fit.c[i0 + k]);
        }
    }
    return DF_STATUS_OK;
}

template <class T>
std::int64_t build_hermite(const Fit<T> &fit) {
    const std::int64_t nx = fit.nx;
    const bool gather = fit.point_major || sizeof(T) != sizeof(double);
    Work work(gather ? 2 * nx : 0);
    if (gather && !work.ok()) return DF_ERROR_MEM_FAILURE;
    for (std::int64_t i = 0; i < fit.ny; ++i) {
        const double *y = fit.values(i, work.get());
        const T *d = fit.ic + i * nx;
        const double *s = nullptr;
        if constexpr (sizeof(T) == sizeof(double)) {
            s = d;
        } else {
            double *buf = work.get() + nx;
            for (std::int64_t j = 0; j < nx; ++j) buf[j] = static_cast<double>(d[j]);
            s = buf;
        }
        hermite_cells(nx, fit.x, y, s, 1, fit.c[i]);
    }
    return DF_STATUS_OK;
}

template <class T>
std::int64_t build_bessel(const Fit<T> &fit) {
    const std::int64_t nx = fit.nx;
    Work work(2 * nx);
    if (!work.ok()) return DF_ERROR_MEM_FAILURE;
    double *s = work.get(), *buf = s + nx;
    const double *x = fit.x;
    for (std::int64_t i = 0; i < fit.ny; ++i) {
        const double *y = fit.values(i, buf);
        if (nx == 2) {
            s[0] = s[1] = (y[1] - y[0]) / (x[1] - x[0]);
        } else {
            for (std::int64_t j = 1; j < nx - 1; ++j) {
                const double hp = x[j] - x[j - 1], hc = x[j + 1] - x[j];
                const double dp = (y[j] - y[j - 1]) / hp, dc = (y[j + 1] - y[j]) / hc;
                s[j] = (hc * dp + hp * dc) / (hp + hc);
            }
            s[0] = parabola(x[0], x[1], x[2], y[0], y[1], y[2]).d0;
            s[nx - 1] =
                parabola(x[nx - 3], x[nx - 2], x[nx - 1], y[nx - 3], y[nx - 2], y[nx - 1]).d2;
        }
        hermite_cells(nx, x, y, s, 1, fit.c[i]);
    }
    return DF_STATUS_OK;
}

template <class T>
std::int64_t build_akima(const Fit<T> &fit) {
    const std::int64_t nx = fit.nx;
    // Cell slopes with two extrapolated on each side: m[k + 2] = D_k.
    Work work(3 * nx + 3);
    if (!work.ok()) return DF_ERROR_MEM_FAILURE;
    double *m = work.get(), *s = m + nx + 3, *buf = s + nx;
    const double *x = fit.x;
    for (std::int64_t i = 0; i < fit.ny; ++i) {
        const double *y = fit.values(i, buf);
        for (std::int64_t k = 0; k < nx - 1; ++k) m[k + 2] = (y[k + 1] - y[k]) / (x[k + 1] - x[k]);
        if (nx == 2) {
            m[0] = m[1] = m[3] = m[4] = m[2];
        } else {
            m[1] = 2.0 * m[2] - m[3];
            m[0] = 2.0 * m[1] - m[2];
            m[nx + 1] = 2.0 * m[nx] - m[nx - 1];
            m[nx + 2] = 2.0 * m[nx + 1] - m[nx];
        }
        // Both candidates are computed for every point (the quotient with a harmless divisor
        // where the weights vanish) and one is selected, so that the loop runs in vectors.
        for (std::int64_t j = 0; j < nx; ++j) {
            const double w1 = std::fabs(m[j + 3] - m[j + 2]), w2 = std::fabs(m[j + 1] - m[j]);
            const double w = w1 + w2;
            const double weighted = (w1 * m[j + 1] + w2 * m[j + 2]) / (w == 0.0 ? 1.0 : w);
            const double mean = 0.5 * (m[j + 1] + m[j + 2]);
            s[j] = w == 0.0 ? mean : weighted;
        }
        hermite_cells(nx, x, y, s, 1, fit.c[i]);
    }
    return DF_STATUS_OK;
}

#define KORB_DF_CUBIC(T)                                                                         \
    template void hermite_cells<T>(std::int64_t, const double *, const double *, const double *, \
                                   std::int64_t, T *);                                           \
    template std::int64_t build_natural<T>(const Fit<T> &);                                      \
    template std::int64_t build_hermite<T>(const Fit<T> &);                                      \
    template std::int64_t build_bessel<T>(const Fit<T> &);                                       \
    template std::int64_t build_akima<T>(const Fit<T> &);
KORB_DF_CUBIC(double)
KORB_DF_CUBIC(float)
#undef KORB_DF_CUBIC

}  // namespace korb::datafit
