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

bool same(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// The pivots p_0 = diag_0, p_i = diag_i - (sub_i sup_{i-1}) / p_{i-1}, into p[0..m-1].
//
// The recurrence is one division and one subtraction long per row, and the division's latency
// is all the time it takes. Long systems therefore run kChains pieces side by side: each piece
// but the first starts kWarm rows early from a guess (its first row treated as the first row of
// a system), and because the recurrence contracts (a change of p_{i-1} reaches p_i shrunk by
// sub_i sup_{i-1} / p_{i-1}^2, well below 1 for the diagonally dominant systems it is meant for)
// the guess is forgotten by the time the piece reaches its own rows. Each piece is then checked
// against the true pivot before it, and where the two differ it is recomputed from there until
// it meets its own values again: from that row on the recurrence gives the same bits. So the
// pivots are exactly those of the plain loop, whatever the matrix; only the time depends on how
// fast guesses are forgotten.
void pivots(int64_t m, const double *sub, const double *diag, const double *sup, double *p) {
    constexpr int64_t kChains = 4, kWarm = 64, kShortest = 4096;
    const auto step = [&](int64_t i, double prev) {
        return diag[i] - (sub[i] * sup[i - 1]) / prev;
    };
    p[0] = diag[0];
    int64_t done = 1;
    if (m >= kShortest) {
        const int64_t len = (m - kWarm) / kChains;
        int64_t start[kChains];
        double v[kChains], guess[kChains];
        for (int64_t s = 0; s < kChains; ++s) {
            start[s] = s == 0 ? 0 : kWarm + s * len;
            v[s] = s == 0 ? diag[0] : diag[start[s] - kWarm];
        }
        for (int64_t j = 1; j < kWarm; ++j) {
            v[0] = step(j, v[0]);
            p[j] = v[0];
            for (int64_t s = 1; s < kChains; ++s) v[s] = step(start[s] - kWarm + j, v[s]);
        }
        for (int64_t s = 1; s < kChains; ++s) guess[s] = v[s];
        start[0] = kWarm;
        for (int64_t j = 0; j < len; ++j) {
            for (int64_t s = 0; s < kChains; ++s) {
                const int64_t r = start[s] + j;
                v[s] = step(r, v[s]);
                p[r] = v[s];
            }
        }
        for (int64_t s = 1; s < kChains; ++s) {
            if (same(p[start[s] - 1], guess[s])) continue;
            double x = p[start[s] - 1];
            for (int64_t r = start[s]; r < start[s] + len; ++r) {
                x = step(r, x);
                if (same(x, p[r])) break;
                p[r] = x;
            }
        }
        done = kWarm + kChains * len;
    }
    for (int64_t i = done; i < m; ++i) p[i] = step(i, p[i - 1]);
}

// Factors the plain system of m rows (sub[1..m-1], diag[0..m-1], sup[0..m-2]) into f: the
// multipliers, the reciprocal pivots and the super-diagonal of U scaled by them. A pivot is
// usable when its reciprocal is finite and not 0 (r - r is 0 exactly for finite r); the flags
// are or-ed together without a branch, so that the loops run in vector registers.
bool factor_plain(KorbTridiag *f, int64_t m, const double *sub, const double *diag,
                  const double *sup) {
    double *__restrict inv = f->inv, *__restrict l = f->l, *__restrict u = f->u;
    pivots(m, sub, diag, sup, inv);
    int64_t bad = 0;
    for (int64_t i = 0; i < m; ++i) {
        const double r = 1.0 / inv[i];
        bad |= static_cast<int64_t>(r - r != 0.0) | static_cast<int64_t>(r == 0.0);
        inv[i] = r;
    }
    l[0] = 0.0;
    for (int64_t i = 1; i < m; ++i) {
        l[i] = sub[i] * inv[i - 1];
        u[i - 1] = sup[i - 1] * inv[i - 1];
    }
    u[m - 1] = 0.0;
    return bad == 0;
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
        v = ((i == m - 1 ? sub[n - 1] : 0.0) - sup[i - 1] * v) * f->inv[i];
        f->v[i] = v;
    }
    double s = diag[n - 1];
    for (int64_t i = 0; i < m; ++i) s -= f->v[i] * f->w[i];
    f->inv_s = 1.0 / s;
    // The solves use w scaled by the reciprocal pivots, like u.
    for (int64_t i = 0; i < m; ++i) f->w[i] *= f->inv[i];
    return usable(f->inv_s);
}

// Solves one right-hand side with elements b[i * stride]. The forward sweep keeps z_i = b_i -
// l_i z_{i-1} in a register and stores z_i / p_i; the backward sweep is then
// x_i = z_i / p_i - u_i x_{i+1} (- w_i x_n), one multiplication and one subtraction per row.
void solve_one(const KorbTridiag *f, double *b, int64_t stride) {
    const int64_t m = f->m;
    const double *l = f->l, *inv = f->inv, *u = f->u;
    if (!f->cyclic) {
        double z = b[0];
        b[0] = z * inv[0];
        for (int64_t i = 1; i < m; ++i) {
            z = b[i * stride] - l[i] * z;
            b[i * stride] = z * inv[i];
        }
        double x = b[(m - 1) * stride];
        for (int64_t i = m - 2; i >= 0; --i) {
            x = b[i * stride] - u[i] * x;
            b[i * stride] = x;
        }
        return;
    }
    const double *v = f->v, *w = f->w;
    double *bn = b + (f->n - 1) * stride;
    double z = b[0], last = *bn - v[0] * z;
    b[0] = z * inv[0];
    for (int64_t i = 1; i < m; ++i) {
        z = b[i * stride] - l[i] * z;
        last -= v[i] * z;
        b[i * stride] = z * inv[i];
    }
    const double xn = last * f->inv_s;
    *bn = xn;
    double x = xn;
    for (int64_t i = m - 1; i >= 0; --i) {
        x = b[i * stride] - u[i] * x - w[i] * xn;
        b[i * stride] = x;
    }
}

// Solves nrhs right-hand sides that lie side by side in each row (rhs stride 1): every step of
// the sweeps is one vector operation across the row, each element computed as solve_one does.
void solve_rows(const KorbTridiag *f, int64_t nrhs, double *b, int64_t rs) {
    const int64_t m = f->m;
    const bool cyclic = f->cyclic != 0;
    double *__restrict last = cyclic ? b + (f->n - 1) * rs : nullptr;
    // Row i keeps z_i until row i+1 has used it, then holds z_i / p_i.
    for (int64_t i = 0; i < m; ++i) {
        double *__restrict r = b + i * rs;
        const double inv = f->inv[i];
        if (i > 0) {
            double *__restrict q = r - rs;
            const double l = f->l[i], inv_q = f->inv[i - 1];
            for (int64_t k = 0; k < nrhs; ++k) {
                r[k] -= l * q[k];
                q[k] *= inv_q;
            }
        }
        if (cyclic) {
            const double v = f->v[i];
            for (int64_t k = 0; k < nrhs; ++k) last[k] -= v * r[k];
        }
        if (i == m - 1) {
            for (int64_t k = 0; k < nrhs; ++k) r[k] *= inv;
        }
    }
    if (cyclic) {
        const double inv_s = f->inv_s;
        for (int64_t k = 0; k < nrhs; ++k) last[k] *= inv_s;
        for (int64_t i = m - 1; i >= 0; --i) {
            double *__restrict r = b + i * rs;
            const double *__restrict q = r + rs;
            const double u = f->u[i], w = f->w[i];
            for (int64_t k = 0; k < nrhs; ++k) r[k] = r[k] - u * q[k] - w * last[k];
        }
        return;
    }
    for (int64_t i = m - 2; i >= 0; --i) {
        double *__restrict r = b + i * rs;
        const double *__restrict q = r + rs;
        const double u = f->u[i];
        for (int64_t k = 0; k < nrhs; ++k) r[k] = r[k] - u * q[k];
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
