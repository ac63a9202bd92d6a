/*
 * korb: summary statistics (the task record, its editors, the estimator kernels).
 *
 * The kernel ABI of the family; the codes, ids and the task record are in korb/ss_types.h. Every
 * entry point returns a 32-bit status: BIX_ERROR_OK or one of the negative codes, returned at the
 * first failed check with nothing changed.
 */
#ifndef KORB_KERNEL_SS_H
#define KORB_KERNEL_SS_H

#include <stddef.h>
#include <stdint.h>

#include "../ss_types.h"
#include "frame.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Task creation. p, n and xstorage point at integers of the width int_width names. */
KORB_API int __bixdSSNewTask(BixSSTask **task, const void *p, const void *n, const void *xstorage,
                             const double *x, const double *weights, const void *indices,
                             int int_width);
KORB_API int __bixsSSNewTask(BixSSTask **task, const void *p, const void *n, const void *xstorage,
                             const float *x, const float *weights, const void *indices,
                             int int_width);

/* One slot by parameter id. */
KORB_API int __bixdSSEditTask(BixSSTask *task, int id, const double *value);
KORB_API int __bixsSSEditTask(BixSSTask *task, int id, const float *value);
KORB_API int __bixiSSEditTask(BixSSTask *task, int id, const void *value);

/* A group of slots; null arguments leave their slots unchanged. */
KORB_API int __bixdSSEditMoments(BixSSTask *task, double *mean, double *raw2, double *raw3,
                                 double *raw4, double *cen2, double *cen3, double *cen4);
KORB_API int __bixsSSEditMoments(BixSSTask *task, float *mean, float *raw2, float *raw3,
                                 float *raw4, float *cen2, float *cen3, float *cen4);
KORB_API int __bixdSSEditCovCor(BixSSTask *task, double *mean, double *cov, void *cov_storage,
                                double *cor, void *cor_storage);
KORB_API int __bixsSSEditCovCor(BixSSTask *task, float *mean, float *cov, void *cov_storage,
                                float *cor, void *cor_storage);
KORB_API int __bixdSSEditMtxParametrz(BixSSTask *task, double *cor, void *cor_storage,
                                      double *param_cor, void *param_cor_storage);
KORB_API int __bixsSSEditMtxParametrz(BixSSTask *task, float *cor, void *cor_storage,
                                      float *param_cor, void *param_cor_storage);
KORB_API int __bixdSSEditOutDetect(BixSSTask *task, void *nparams, double *params, double *weights);
KORB_API int __bixsSSEditOutDetect(BixSSTask *task, void *nparams, float *params, float *weights);
/* Ids 28, 30, 31, 32, 33, 35. */
KORB_API int __bixdSSEditPooledCovariance(BixSSTask *task, void *id28, double *id30, double *id31,
                                          void *id32, double *id33, double *id35);
KORB_API int __bixsSSEditPooledCovariance(BixSSTask *task, void *id28, float *id30, float *id31,
                                          void *id32, float *id33, float *id35);
KORB_API int __bixdSSEditQuantiles(BixSSTask *task, void *norders, double *orders,
                                   double *quantiles, double *order_stats,
                                   void *order_stats_storage);
KORB_API int __bixsSSEditQuantiles(BixSSTask *task, void *norders, float *orders, float *quantiles,
                                   float *order_stats, void *order_stats_storage);
/* Ids 50, 51, 52, 53, 58, 59, 54, 55, 56, 57. */
KORB_API int __bixdSSEditMissingVals(BixSSTask *task, void *id50, double *id51, void *id52,
                                     double *id53, void *id58, double *id59, void *id54,
                                     double *id55, void *id56, double *id57);
KORB_API int __bixsSSEditMissingVals(BixSSTask *task, void *id50, float *id51, void *id52,
                                     float *id53, void *id58, float *id59, void *id54, float *id55,
                                     void *id56, float *id57);
/* Id 45, covariance, its storage, correlation, its storage, ids 46, 47, 48, 49. */
KORB_API int __bixdSSEditPartialCovCor(BixSSTask *task, void *id45, double *cov, void *cov_storage,
                                       double *cor, void *cor_storage, double *id46, void *id47,
                                       double *id48, void *id49);
KORB_API int __bixsSSEditPartialCovCor(BixSSTask *task, void *id45, float *cov, void *cov_storage,
                                       float *cor, void *cor_storage, float *id46, void *id47,
                                       float *id48, void *id49);
KORB_API int __bixdSSEditRCov(BixSSTask *task, void *cov_storage, void *nparams, double *params,
                              double *mean, double *cov);
KORB_API int __bixsSSEditRCov(BixSSTask *task, void *cov_storage, void *nparams, float *params,
                              float *mean, float *cov);
KORB_API int __bixdSSEditStreamQuantiles(BixSSTask *task, void *norders, double *orders,
                                         double *quantiles, void *nparams, double *params);
KORB_API int __bixsSSEditStreamQuantiles(BixSSTask *task, void *norders, float *orders,
                                         float *quantiles, void *nparams, float *params);

/* Runs the registered cleanup hooks, frees the record and nulls *task. */
KORB_API int __bixSSDeleteTask(BixSSTask **task);

/*
 * Minimum (estimate bit 0x400) and maximum (0x800) of each selected variable, lowering and
 * raising the values already in the task's min and max arrays. Method 0x1 or 0x2. NaN
 * observations never replace a value.
 */
KORB_API int _bixdSSMinmax(BixSSTask *task, uint64_t estimates, int method);
KORB_API int _bixsSSMinmax(BixSSTask *task, uint64_t estimates, int method);

/*
 * Basic statistics of each selected variable (an indices element of 0 excludes a variable, a
 * null indices array selects all; results of excluded variables, and covariance and correlation
 * entries with an excluded variable, are left untouched). With weights w_j (null: every weight
 * 1), W = sum w, W2 = sum w^2, m the weighted mean and s^2 = sum w (x - m)^2 / W:
 *
 *   mean (bit 0x1)                 m = sum w x / W
 *   raw moment k (0x2, 0x4, 0x8)   sum w x^k / W                     k = 2, 3, 4
 *   central moment 2 (0x10)        sum w (x - m)^2 / (W - W2/W)      (n - 1 with unit weights)
 *   central moment k (0x20, 0x40)  sum w (x - m)^k / W               k = 3, 4
 *   skewness (0x100)               central moment 3 / s^3
 *   kurtosis (0x80)                central moment 4 / s^4 - 3
 *   variation (0x200)              sqrt(central moment 2) / m
 *   covariance (0x1000)            sum w (x_i - m_i)(x_j - m_j) / (W - W2/W)
 *   correlation (0x2000)           covariance_ij / sqrt(covariance_ii covariance_jj)
 *
 * An estimate fills the slots of those it is computed from: central moment 2 also fills the
 * mean and raw moment 2; central moment 3 the mean and raw moments 2 and 3; central moment 4 the
 * mean and raw moments 2 to 4; covariance and correlation the mean; kurtosis the mean, raw
 * moments 2 to 4 and central moments 2 and 4; skewness the mean, raw moments 2 and 3 and central
 * moments 2 and 3; variation the mean, raw moment 2 and central moment 2. Covariance and
 * correlation are stored as their storage codes say (BIX_SS_COV_FULL or
 * BIX_SS_COV_LOWER_PACKED). Other estimate bits are ignored.
 *
 * Checks, in order: the x storage code (BIX_SS_ERROR_BAD_STORAGE); each slot to be filled, in
 * the order mean, raw 2, 3, 4, central 2, 3, 4, covariance, correlation, kurtosis, skewness,
 * variation (that slot's null code); the covariance and correlation storage codes
 * (BIX_SS_ERROR_NULL_STORAGE when null, BIX_SS_ERROR_BAD_STORAGE with neither bit); the method:
 * exactly one of BIX_SS_METHOD_TWO_PASS, _ONE_PASS, _GIVEN_MEAN (BIX_SS_ERROR_BAD_METHOD);
 * x null (BIX_SS_ERROR_NULL_X) when there is work. Nothing is written before all pass; p < 1,
 * n < 1 or no selected variable writes nothing and returns BIX_ERROR_OK.
 *
 * With BIX_SS_METHOD_GIVEN_MEAN the mean slot holds the caller's means: they are read, never
 * written, and the central moments, covariance and variation are taken about them.
 *
 * Data in portions: when the accumulated-weights slot (id 23) is set, it holds (W, W2) of the
 * observations of earlier calls ((0, 0) before the first), the result slots hold their
 * estimates, and the call merges its observations into them and stores the new (W, W2). The
 * merge needs the lower central moments too, so with that slot set central moment 3 also fills
 * central moment 2, central moment 4 (and kurtosis) also fills central moments 2 and 3, and
 * correlation without covariance also fills central moment 2. A single-precision task
 * accumulates in double and rounds the results.
 *
 * NaN observations make the estimates of their variable NaN (and its covariance and correlation
 * entries); other variables are unaffected. Statuses beyond the checks: BIX_SS_ERROR_MEM_FAILURE.
 */
KORB_API int _bixdSSBasic(BixSSTask *task, uint64_t estimates, int method);
KORB_API int _bixsSSBasic(BixSSTask *task, uint64_t estimates, int method);

/*
 * Quantiles (estimate bit 0x10000) and order statistics (0x20000) of each selected variable;
 * method BIX_SS_METHOD_QUANTILES.
 *
 * Quantiles: for the m orders q_k of the order slots (count at id 24, orders at id 25, each in
 * [0, 1]), quantiles[i*m + k] receives, for variable i with sorted observations v_0 <= ... <=
 * v_(n-1), h = (n - 1) q_k, j = floor(h) and t = h - j, the value v_j + t (v_(j+1) - v_j)
 * (numpy's and R's default; evaluated as numpy does, so finite data give numpy's bits; t = 0 or
 * v_j = v_(j+1) give v_j exactly, one infinite end gives that infinity, -inf to +inf gives NaN,
 * finite ends whose difference overflows give v_j (1 - t) + v_(j+1) t). A variable with a NaN
 * observation gets NaN for every order.
 *
 * Order statistics: the sorted observations of variable i, in the layout of the order-statistics
 * storage code (id 44): BIX_SS_MATRIX_STORAGE_ROWS puts them at order_stats[i*n + j],
 * BIX_SS_MATRIX_STORAGE_COLS at order_stats[j*p + i]. NaNs sort last (as NaNs with the sign bit
 * clear); -0 sorts before +0. The order statistics must not overlap the observations; the
 * quantiles may.
 *
 * Checks, in order: the x storage code (BIX_SS_ERROR_BAD_STORAGE); with bit 0x10000 the orders
 * (BIX_SS_ERROR_NULL_QUANT_ORDERS), their count (null or negative: BIX_SS_ERROR_BAD_QUANT_ORDERS),
 * each order (outside [0, 1] or NaN: BIX_SS_ERROR_BAD_QUANT_ORDERS), the quantiles array
 * (BIX_SS_ERROR_NULL_QUANTILES); with bit 0x20000 the order statistics array
 * (BIX_SS_ERROR_NULL_ORDER_STATS) and its storage code (null: BIX_SS_ERROR_NULL_STORAGE, neither
 * bit: BIX_SS_ERROR_BAD_STORAGE); the method (BIX_SS_ERROR_BAD_METHOD); x null
 * (BIX_SS_ERROR_NULL_X) when there is work. p < 1, n < 1, no order and no order statistics, or no
 * selected variable write nothing. Entries of unselected variables are left untouched. Statuses
 * beyond the checks: BIX_SS_ERROR_MEM_FAILURE, with nothing written.
 */
KORB_API int _bixdSSQuantiles(BixSSTask *task, uint64_t estimates, int method);
KORB_API int _bixsSSQuantiles(BixSSTask *task, uint64_t estimates, int method);

/*
 * Streaming quantiles (estimate bit 0x40000) of each selected variable over every observation
 * given so far, across calls; method BIX_SS_METHOD_STREAM_ZW or BIX_SS_METHOD_STREAM_GK (ZW when
 * both are set). Each call adds the task's current n observations (n = 0 allowed) to the
 * variable's summary and writes, for the m orders q_k (count at id 64, orders at id 65, each in
 * [0, 1]), stream_quantiles[i*m + k]: an observation of variable i whose rank among the N seen
 * (1-based; for equal values, any of theirs) is within eps N of (N - 1) q_k + 1 (a nearest
 * rank while eps N < 1/2), with eps the single streaming parameter (id 63, count at id 62). A
 * variable that has met a NaN, or has no observation yet, gets NaN. Memory: O((1/eps) log(eps N))
 * entries per variable for GK, O((1/eps) log^2(eps N)) for ZW; ZW is the faster.
 *
 * The summaries live in the task from the first call and are freed by __bixSSDeleteTask (the
 * task's cleanup hook). A call whose method, eps, orders, p, selected variables or precision
 * differ from the previous call's starts new summaries from its own observations.
 *
 * Checks, in order: the x storage code (BIX_SS_ERROR_BAD_STORAGE); with bit 0x40000 the
 * parameter count (null: BIX_SS_ERROR_NULL_STREAM_NPARAMS), the parameters (null:
 * BIX_SS_ERROR_NULL_STREAM_PARAMS), the count's value (not 1: BIX_SS_ERROR_BAD_STREAM_NPARAMS),
 * eps (outside (0, 1] or NaN: BIX_SS_ERROR_BAD_STREAM_EPSILON), the orders (null:
 * BIX_SS_ERROR_NULL_STREAM_ORDERS), their count (null or negative) and each order (outside
 * [0, 1] or NaN) (BIX_SS_ERROR_BAD_STREAM_ORDERS), the results (null:
 * BIX_SS_ERROR_NULL_STREAM_QUANTILES); the method (BIX_SS_ERROR_BAD_METHOD); n null or negative
 * (BIX_SS_ERROR_BAD_NOBS); x null with n > 0 (BIX_SS_ERROR_NULL_X). p < 1 or no selected variable
 * does nothing. BIX_SS_ERROR_MEM_FAILURE leaves the summaries and the caller's arrays as they
 * were.
 */
KORB_API int _bixdSSStreamQuantiles(BixSSTask *task, uint64_t estimates, int method);
KORB_API int _bixsSSStreamQuantiles(BixSSTask *task, uint64_t estimates, int method);

#ifdef __cplusplus
}
#endif

#endif /* KORB_KERNEL_SS_H */
