// libkorb_core.so: factor-and-solve of tridiagonal and cyclic tridiagonal systems.
//
// Plain systems are factored as A = LU, L unit lower bidiagonal (multipliers l), U upper
// bidiagonal (pivots p, the super-diagonal unchanged), without pivoting. The recurrence is
// written p[i] = diag[i] - (sub[i] * sup[i-1]) / p[i-1], so that the chain from one row to the
// next is one division and one subtraction; the reciprocal pivots and the multipliers
// l[i] = sub[i] / p[i-1] (taken as sub[i] * (1 / p[i-1])) are off that chain.
//
// A cyclic system of n >= 3 rows is bordered: its leading (n-1) x (n-1) block T is factored as
// above, and the last column f and last row g (each holding one corner) become a column w with
// L w = f, a row v with U^T v = g and the Schur complement s = diag[n-1] - v.w:
//
//   [ T   f ]   [ L    0 ] [ U  w ]
//   [ g^T d ] = [ v^T  1 ] [ 0  s ]
//
// so a solve is one forward and one backward sweep with one extra term per row, and the factor
// serves every right-hand side. Without pivoting the method is stable for the diagonally dominant
// systems of spline construction, where every pivot stays within a factor of two of its diagonal.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "korb_core.h"

struct KorbTridiag {
    int64_t n;     // rows of the system
    int64_t m;     // rows of the plain part: n, or n - 1 for a bordered cyclic system
    int cyclic;    // bordered (n >= 3 cyclic); smaller cyclic systems are folded into plain ones
    double inv_s;  // 1 / Schur complement (bordered only)
    double *l;     // multipliers, l[0] unused
    double *inv;   // reciprocal pivots
    double *u;     // super-diagonal of U: u[i] in column i+1, i < m-1
    double *v;     // bordered: last row of L
    double *w;     // bordered: last column of U
};

namespace korb::core {
namespace {

bool usable(double inv) {
    return std::isfinite(inv) && inv != 0.0;
}

// Factors the plain system of m rows (sub[1..m-1], diag[0..m-1], sup[0..m-2]) into f.
bool factor_plain(KorbTridiag *f, int64_t m, const double *sub, const double *diag,
                  const double *sup) {
    double p = diag[0];
    f->inv[0] = 1.0 / p;
    f->l[0] = 0.0;
    if (!usable(f->inv[0])) return false;
    for (int64_t i = 1; i < m; ++i) {
        f->l[i] = sub[i] * f->inv[i - 1];
        p = diag[i] - (sub[i] * sup[i - 1]) / p;
        f->inv[i] = 1.0 / p;
        f->u[i - 1] = sup[i - 1];
        if (!usable(f->inv[i])) return false;
    }
    if (m > 0) f->u[m - 1] = 0.0;
    return true;
}

// The border of a cyclic system of n >= 3 rows: w, v and the Schur complement.
bool factor_border(KorbTridiag *f, int64_t n, const double *sub, const double *diag,
                   const double *sup) {
    const int64_t m = n - 1;
    // L w = f, with f[0] = sub[0] (the corner) and f[m-1] = sup[m-1].
    double w = sub[0];
    f->w[0] = w;
    for (int64_t i = 1; i < m; ++i) {
        w = (i == m - 1 ? sup[m - 1] : 0.0) - f->l[i] * w;
        f->w[i] = w;
    }
    // U^T v = g, with g[0] = sup[n-1] (the corner) and g[m-1] = sub[n-1].
    double v = sup[n - 1] * f->inv[0];
    f->v[0] = v;
    for (int64_t i = 1; i < m; ++i) {
        v = ((i == m - 1 ? sub[n - 1] : 0.0) - f->u[i - 1] * v) * f->inv[i];
        f->v[i] = v;
    }
    double s = diag[n - 1];
    for (int64_t i = 0; i < m; ++i) s -= f->v[i] * f->w[i];
    f->inv_s = 1.0 / s;
    return usable(f->inv_s);
}

// Solves one right-hand side with elements b[i * stride].
void solve_one(const KorbTridiag *f, double *b, int64_t stride) {
    const int64_t m = f->m;
    double z = b[0];
    double last = f->cyclic ? b[(f->n - 1) * stride] : 0.0;
    if (f->cyclic) last -= f->v[0] * z;
    for (int64_t i = 1; i < m; ++i) {
        z = b[i * stride] - f->l[i] * z;
        b[i * stride] = z;
        if (f->cyclic) last -= f->v[i] * z;
    }
    if (f->cyclic) {
        const double xn = last * f->inv_s;
        b[(f->n - 1) * stride] = xn;
        double x = (b[(m - 1) * stride] - f->w[m - 1] * xn) * f->inv[m - 1];
        b[(m - 1) * stride] = x;
        for (int64_t i = m - 2; i >= 0; --i) {
            x = (b[i * stride] - f->u[i] * x - f->w[i] * xn) * f->inv[i];
            b[i * stride] = x;
        }
        return;
    }
    double x = b[(m - 1) * stride] * f->inv[m - 1];
    b[(m - 1) * stride] = x;
    for (int64_t i = m - 2; i >= 0; --i) {
        x = (b[i * stride] - f->u[i] * x) * f->inv[i];
        b[i * stride] = x;
    }
}

// Solves nrhs right-hand sides that lie side by side in each row (rhs stride 1): every step of
// the sweeps is one vector operation across the row.
void solve_rows(const KorbTridiag *f, int64_t nrhs, double *b, int64_t rs) {
    const int64_t m = f->m;
    double *__restrict last = f->cyclic ? b + (f->n - 1) * rs : nullptr;
    if (f->cyclic) {
        const double v = f->v[0];
        for (int64_t k = 0; k < nrhs; ++k) last[k] -= v * b[k];
    }
    for (int64_t i = 1; i < m; ++i) {
        double *__restrict r = b + i * rs;
        const double *__restrict q = r - rs;
        const double l = f->l[i];
        for (int64_t k = 0; k < nrhs; ++k) r[k] -= l * q[k];
        if (f->cyclic) {
            const double v = f->v[i];
            for (int64_t k = 0; k < nrhs; ++k) last[k] -= v * r[k];
        }
    }
    if (f->cyclic) {
        const double inv_s = f->inv_s;
        for (int64_t k = 0; k < nrhs; ++k) last[k] *= inv_s;
        for (int64_t i = m - 1; i >= 0; --i) {
            double *__restrict r = b + i * rs;
            const double *__restrict q = r + rs;  // row m is the last row: u[m-1] is 0
            const double u = f->u[i], w = f->w[i], inv = f->inv[i];
            if (i == m - 1) {
                for (int64_t k = 0; k < nrhs; ++k) r[k] = (r[k] - w * last[k]) * inv;
            } else {
                for (int64_t k = 0; k < nrhs; ++k) r[k] = (r[k] - u * q[k] - w * last[k]) * inv;
            }
        }
        return;
    }
    {
        double *__restrict r = b + (m - 1) * rs;
        const double inv = f->inv[m - 1];
        for (int64_t k = 0; k < nrhs; ++k) r[k] *= inv;
    }
    for (int64_t i = m - 2; i >= 0; --i) {
        double *__restrict r = b + i * rs;
        const double *__restrict q = r + rs;
        const double u = f->u[i], inv = f->inv[i];
        for (int64_t k = 0; k < nrhs; ++k) r[k] = (r[k] - u * q[k]) * inv;
    }
}

}  // namespace
}  // namespace korb::core

extern "C" {

int korb_serv_dtridiag_factor(int64_t n, const double *sub, const double *diag, const double *sup,
                              int flags, KorbTridiag **factor) {
    using namespace korb::core;
    if (factor == nullptr) return KORB_TRIDIAG_BAD_ARGS;
    *factor = nullptr;
    const bool cyclic = (flags & KORB_TRIDIAG_CYCLIC) != 0;
    if (n < 1 || diag == nullptr) return KORB_TRIDIAG_BAD_ARGS;
    if ((n > 1 || cyclic) && (sub == nullptr || sup == nullptr)) return KORB_TRIDIAG_BAD_ARGS;
    if (n > (INT64_MAX / 8 - 1024) / 5) return KORB_TRIDIAG_MEM_FAILURE;

    const bool bordered = cyclic && n >= 3;
    const int64_t arrays = bordered ? 5 : 3;
    const size_t bytes = sizeof(KorbTridiag) + static_cast<size_t>(arrays * n) * sizeof(double);
    void *block = korb_serv_allocate(bytes, 64);
    if (block == nullptr) return KORB_TRIDIAG_MEM_FAILURE;
    auto *f = static_cast<KorbTridiag *>(block);
    std::memset(f, 0, sizeof *f);
    double *a = reinterpret_cast<double *>(f + 1);
    f->n = n;
    f->m = bordered ? n - 1 : n;
    f->cyclic = bordered ? 1 : 0;
    f->l = a;
    f->inv = a + n;
    f->u = a + 2 * n;
    if (bordered) {
        f->v = a + 3 * n;
        f->w = a + 4 * n;
    }

    bool ok = false;
    if (cyclic && n <= 2) {
        // Too small to border: both corners fall on entries the plain system already has.
        double d[2], lo[2] = {0.0, 0.0}, up[2] = {0.0, 0.0};
        if (n == 1) {
            d[0] = diag[0] + sub[0] + sup[0];
        } else {
            d[0] = diag[0];
            d[1] = diag[1];
            up[0] = sup[0] + sub[0];
            lo[1] = sub[1] + sup[1];
        }
        ok = factor_plain(f, n, lo, d, up);
    } else {
        ok = factor_plain(f, f->m, sub, diag, sup) &&
             (!bordered || factor_border(f, n, sub, diag, sup));
    }
    if (!ok) {
        korb_serv_deallocate(block);
        return KORB_TRIDIAG_SINGULAR;
    }
    *factor = f;
    return KORB_TRIDIAG_OK;
}

int korb_serv_dtridiag_solve(const KorbTridiag *factor, int64_t nrhs, double *b, int64_t row_stride,
                             int64_t rhs_stride) {
    using namespace korb::core;
    if (factor == nullptr || nrhs < 0 || (nrhs > 0 && b == nullptr)) return KORB_TRIDIAG_BAD_ARGS;
    if (row_stride == 0 || (nrhs > 1 && rhs_stride == 0)) return KORB_TRIDIAG_BAD_ARGS;
    if (rhs_stride == 1 && nrhs > 1) {
        solve_rows(factor, nrhs, b, row_stride);
    } else {
        for (int64_t k = 0; k < nrhs; ++k) solve_one(factor, b + k * rhs_stride, row_stride);
    }
    return KORB_TRIDIAG_OK;
}

void korb_serv_dtridiag_release(KorbTridiag *factor) {
    korb_serv_deallocate(factor);
}
}
