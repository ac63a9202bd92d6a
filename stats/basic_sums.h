// Power sums over a block of observations: the inner loops of the basic-statistics estimator.
//
// For each listed variable v and the observations j of a block, a pass adds
//   central sums  S_k = sum w_j (x_vj - c_v)^k   for k = 1 .. cen    (about a centre c_v)
//   raw sums      R_k = sum w_j x_vj^k           for k = 2 .. raw
// (w_j = 1 without weights). The order of every addition is fixed by the definitions below, not
// by the vector width or the address of the data, so that an element-by-element evaluation gives
// the same bits as the vector loops, and so will a build for a wider processor class:
//
// - a contiguous run (one variable of variable-major data, or one variable alone): observation
//   t of the block (t = j - j0) goes to logical accumulator t mod 8; the 8 accumulators are
//   combined by halving (a[l] += a[l + h] for h = 4, 2, 1).
// - observation-major data of several variables: one accumulator per variable and sum, adding
//   the block's observations in order.
//
// Each term is computed as t1 = w*d, S_1 += t1, t2 = t1*d, S_2 += t2, ... (d = x - c), and
// u = w*x, u = u*x, R_2 += u, u = u*x, R_3 += u, ...; without weights t1 = d and u = x*x.
#pragma once

#include <cstddef>

namespace korb::stats {

constexpr int kMaxRawOrder = 4;
constexpr int kMaxCenOrder = 4;
// Sums of a pass: cen central sums, then raw - 1 raw sums (raw 0: none).
constexpr int kMaxSums = kMaxCenOrder + kMaxRawOrder - 1;

struct SumOrders {
    int raw;  // 0, or the highest raw power (2 to 4)
    int cen;  // 0, or the highest central power (1 to 4)
    int count() const { return cen + (raw > 0 ? raw - 1 : 0); }
};

// The observation matrix of one call, in either storage.
template <class T>
struct Observations {
    const T *x;
    const T *w;        // null: unit weights
    size_t p, n;       // variables, observations
    bool by_variable;  // element (i, j) at x[i*n + j]; otherwise at x[j*p + i]
};

// Sums over observations [j0, j1) of the q variables vars[0, q) (increasing), about centre[v],
// into sums[s*q + v]: s = 0 .. cen-1 the central sums of order s + 1, then the raw sums of
// orders 2 .. raw. Overwrites those entries. j1 - j0 must be at most kMaxBlock.
template <class T>
void block_sums(const Observations<T> &obs, const size_t *vars, size_t q, size_t j0, size_t j1,
                const double *centre, SumOrders orders, double *sums);

// Sum of the weights and of their squares over [j0, j1), in the order of a contiguous run.
template <class T>
void weight_sums(const T *w, size_t j0, size_t j1, double *sum_w, double *sum_w2);

constexpr size_t kMaxBlock = 4096;

}  // namespace korb::stats
