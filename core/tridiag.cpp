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

// The factor of the plain system of m rows (sub[1..m-1], diag[0..m-1], sup[0..m-2]): the
// reciprocal pivots r_0 = 1 / diag_0, r_i = 1 / (diag_i - (sub_i sup_{i-1}) r_{i-1}), and with
// each r_i the two entries that depend on it alone, u_i = sup_i r_i and l_{i+1} = sub_{i+1} r_i.
//
// The recurrence is a multiplication, a subtraction and a division long per row, and their
// latency is all the time it takes. Long systems therefore run kChains pieces side by side: each
// piece but the first starts kWarm rows early from a guess (its first row treated as the first
// row of a system), and because the recurrence contracts (a change of r_{i-1} reaches r_i shrunk
// by sub_i sup_{i-1} r_i^2, well below 1 for the diagonally dominant systems it is meant for) the
// guess is forgotten by the time the piece reaches its own rows. Each piece is then checked
// against the true value before it, and where the two differ it is recomputed from there until it
// meets its own values again: from that row on the recurrence gives the same bits. So the factor
// is exactly that of the plain loop, whatever the matrix; only the time depends on how fast
// guesses are forgotten.
//
// Returns the smallest and largest magnitude of every reciprocal it stored, repaired ones included,
// so that a caller who finds them finite and not 0 knows the final ones are.
struct Range {
    double lo, hi;
};

Range factor_rows(int64_t m, const double *sub, const double *diag, const double *sup,
                  KorbTridiag *f) {
    constexpr int64_t kChains = 4, kWarm = 64, kShortest = 4096;
    double *inv = f->inv, *l = f->l, *u = f->u;
    const auto step = [&](int64_t i, double prev) {
        return 1.0 / (diag[i] - (sub[i] * sup[i - 1]) * prev);
    };
    Range range{INFINITY, 0.0};
    // Stores row i's reciprocal pivot and what follows from it.
    const auto keep = [&](int64_t i, double r) {
        const double a = std::fabs(r);
        range.lo = a < range.lo ? a : range.lo;
        range.hi = a > range.hi ? a : range.hi;
        inv[i] = r;
        u[i] = i + 1 < m ? sup[i] * r : 0.0;
        if (i + 1 < m) l[i + 1] = sub[i + 1] * r;
    };
    l[0] = 0.0;
    keep(0, 1.0 / diag[0]);
    int64_t done = 1;
    if (m >= kShortest) {
        const int64_t len = (m - kWarm) / kChains;
        int64_t start[kChains];
        double v[kChains], guess[kChains];
        for (int64_t s = 0; s < kChains; ++s) {
            start[s] = s == 0 ? 0 : kWarm + s * len;
            v[s] = s == 0 ? inv[0] : 1.0 / diag[start[s] - kWarm];
        }
        for (int64_t j = 1; j < kWarm; ++j) {
            v[0] = step(j, v[0]);
            keep(j, v[0]);
            for (int64_t s = 1; s < kChains; ++s) v[s] = step(start[s] - kWarm + j, v[s]);
        }
        for (int64_t s = 1; s < kChains; ++s) guess[s] = v[s];
        start[0] = kWarm;
        for (int64_t j = 0; j < len; ++j) {
            for (int64_t s = 0; s < kChains; ++s) {
                const int64_t i = start[s] + j;
                v[s] = step(i, v[s]);
                keep(i, v[s]);
            }
        }
        for (int64_t s = 1; s < kChains; ++s) {
            if (same(inv[start[s] - 1], guess[s])) continue;
            double x = inv[start[s] - 1];
            // l at the piece's first row came from the guess: it follows the true value now.
            l[start[s]] = sub[start[s]] * x;
            for (int64_t i = start[s]; i < start[s] + len; ++i) {
                x = step(i, x);
                if (same(x, inv[i])) break;
                keep(i, x);
            }
        }
        done = kWarm + kChains * len;
    }
    for (int64_t i = done; i < m; ++i) keep(i, step(i, inv[i - 1]));
    return range;
}

// Factors the plain system of m rows into f. A pivot is usable when its reciprocal is finite and
// not 0. The magnitudes seen while factoring settle it when they pass; otherwise (some value,
// perhaps a guess later repaired, failed) the final reciprocals are checked one by one. A NaN makes
// every later reciprocal NaN, so the last one shows it.
bool factor_plain(KorbTridiag *f, int64_t m, const double *sub, const double *diag,
                  const double *sup) {
    const Range seen = factor_rows(m, sub, diag, sup, f);
    const double *inv = f->inv;
    if (!std::isfinite(inv[m - 1])) return false;
    if (seen.lo != 0.0 && seen.hi < INFINITY) return true;
    for (int64_t i = 0; i < m; ++i) {
        if (inv[i] == 0.0 || !std::isfinite(inv[i])) return false;
    }
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

// The sweeps, for one right-hand side and for many side by side, in the same arithmetic:
//
// Forward, z_0 = b_0 and z_i = b_i - l_i z_{i-1}, taken two rows at a time so that the chain
// from one pair to the next is one multiplication and one addition:
//   z_i = b_i - l_i z_{i-1},  z_{i+1} = (b_{i+1} - l_{i+1} b_i) + (l_{i+1} l_i) z_{i-1},
// pairs (1, 2), (3, 4), ... and a last single row. Row i then holds z_i / p_i; a cyclic system
// also takes last -= v_i z_i row by row.
// Backward, x_{m-1} = a_{m-1} and x_i = a_i - u_i x_{i+1}, a_i = z_i / p_i (minus w_i x_n for a
// cyclic system), two rows at a time the same way, pairs (m-2, m-3), (m-4, m-5), ...

// Solves one right-hand side with elements b[i * stride].
void solve_one(const KorbTridiag *f, double *b, int64_t stride) {
    const int64_t m = f->m;
    const double *l = f->l, *inv = f->inv, *u = f->u, *v = f->v;
    const bool cyclic = f->cyclic != 0;
    double *bn = b + (f->n - 1) * stride;
    double z = b[0];
    double last = cyclic ? *bn - v[0] * z : 0.0;
    b[0] = z * inv[0];
    int64_t i = 1;
    for (; i + 1 < m; i += 2) {
        double *bi = b + i * stride, *bj = bi + stride;
        const double zi = *bi - l[i] * z;
        const double zj = (*bj - l[i + 1] * *bi) + (l[i + 1] * l[i]) * z;
        if (cyclic) {
            last -= v[i] * zi;
            last -= v[i + 1] * zj;
        }
        *bi = zi * inv[i];
        *bj = zj * inv[i + 1];
        z = zj;
    }
    if (i < m) {
        z = b[i * stride] - l[i] * z;
        if (cyclic) last -= v[i] * z;
        b[i * stride] = z * inv[i];
    }
    if (cyclic) {
        const double xn = last * f->inv_s;
        *bn = xn;
        for (int64_t k = 0; k < m; ++k) b[k * stride] = b[k * stride] - f->w[k] * xn;
    }
    double x = b[(m - 1) * stride];
    int64_t k = m - 2;
    for (; k >= 1; k -= 2) {
        double *bk = b + k * stride, *bj = bk - stride;
        const double xk = *bk - u[k] * x;
        const double xj = (*bj - u[k - 1] * *bk) + (u[k - 1] * u[k]) * x;
        *bk = xk;
        *bj = xj;
        x = xj;
    }
    if (k == 0) b[0] = b[0] - u[0] * x;
}

// Solves nrhs right-hand sides that lie side by side in each row (rhs stride 1): every step of
// the sweeps is one vector operation across the row, each element computed as solve_one does.
void solve_rows(const KorbTridiag *f, int64_t nrhs, double *b, int64_t rs) {
    const int64_t m = f->m;
    const double *l = f->l, *inv = f->inv, *u = f->u, *v = f->v;
    const bool cyclic = f->cyclic != 0;
    double *__restrict last = cyclic ? b + (f->n - 1) * rs : nullptr;
    if (cyclic) {
        for (int64_t k = 0; k < nrhs; ++k) last[k] -= v[0] * b[k];
    }
    // The row before the current pair still holds z (unscaled) until the pair has used it.
    int64_t i = 1;
    for (; i + 1 < m; i += 2) {
        double *__restrict q = b + (i - 1) * rs;
        double *__restrict ri = q + rs;
        double *__restrict rj = ri + rs;
        const double li = l[i], lj = l[i + 1], lij = l[i + 1] * l[i];
        const double sq = inv[i - 1], si = inv[i];
        if (cyclic) {
            const double vi = v[i], vj = v[i + 1];
            for (int64_t k = 0; k < nrhs; ++k) {
                const double zi = ri[k] - li * q[k];
                const double zj = (rj[k] - lj * ri[k]) + lij * q[k];
                last[k] -= vi * zi;
                last[k] -= vj * zj;
                q[k] *= sq;
                ri[k] = zi * si;
                rj[k] = zj;
            }
        } else {
            for (int64_t k = 0; k < nrhs; ++k) {
                const double zi = ri[k] - li * q[k];
                const double zj = (rj[k] - lj * ri[k]) + lij * q[k];
                q[k] *= sq;
                ri[k] = zi * si;
                rj[k] = zj;
            }
        }
    }
    if (i < m) {
        double *__restrict q = b + (i - 1) * rs;
        double *__restrict ri = q + rs;
        const double li = l[i], sq = inv[i - 1], si = inv[i];
        const double vi = cyclic ? v[i] : 0.0;
        for (int64_t k = 0; k < nrhs; ++k) {
            const double zi = ri[k] - li * q[k];
            if (cyclic) last[k] -= vi * zi;
            q[k] *= sq;
            ri[k] = zi * si;
        }
    } else {
        double *__restrict r = b + (m - 1) * rs;
        const double s = inv[m - 1];
        for (int64_t k = 0; k < nrhs; ++k) r[k] *= s;
    }
    if (cyclic) {
        const double inv_s = f->inv_s;
        for (int64_t k = 0; k < nrhs; ++k) last[k] *= inv_s;
        for (int64_t j = 0; j < m; ++j) {
            double *__restrict r = b + j * rs;
            const double w = f->w[j];
            for (int64_t k = 0; k < nrhs; ++k) r[k] = r[k] - w * last[k];
        }
    }
    int64_t k = m - 2;
    for (; k >= 1; k -= 2) {
        const double *__restrict q = b + (k + 1) * rs;
        double *__restrict rk = b + k * rs;
        double *__restrict rj = rk - rs;
        const double uk = u[k], uj = u[k - 1], ujk = u[k - 1] * u[k];
        for (int64_t e = 0; e < nrhs; ++e) {
            const double xk = rk[e] - uk * q[e];
            const double xj = (rj[e] - uj * rk[e]) + ujk * q[e];
            rk[e] = xk;
            rj[e] = xj;
        }
    }
    if (k == 0) {
        const double *__restrict q = b + rs;
        const double u0 = u[0];
        for (int64_t e = 0; e < nrhs; ++e) b[e] = b[e] - u0 * q[e];
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
