/*
 * korb: summary statistics.
 *
 * A task points at the caller's observation matrix (p variables, n observations, x in
 * BIX_SS_MATRIX_STORAGE_ROWS or _COLS layout) and at the caller's result arrays, which the
 * editors register by parameter id (BIX_SS_ID_*) without copying. bix<p>SSCompute then fills the
 * requested estimates (BIX_SS_EST_* bits, or-ed) with a method word. The task reads the caller's
 * integers (p, n, storage codes, counts) when Compute runs, so they may change between calls.
 *
 * Every function returns BIX_ERROR_OK (0) or a negative status (BIX_SS_ERROR_*, or
 * BIX_ERROR_BADARGS for an id an editor does not take or a task of the other precision);
 * korbStatusText(KORB_FAMILY_SS, status) names it.
 */
#ifndef KORB_SS_H
#define KORB_SS_H

#include <stdint.h>

#include "rng_types.h"
#include "ss_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Makes *task over x (p variables, n observations, storage *xstorage); weights (NULL: all 1) and
   indices (NULL: every variable; 0 excludes one) may be NULL. BIX_SS_ERROR_BAD_DIMENSION for
   p < 1, BIX_SS_ERROR_BAD_NOBS for n < 1, BIX_SS_ERROR_BAD_STORAGE, BIX_SS_ERROR_MEM_FAILURE. */
KORB_API int bixdSSNewTask(BixSSTask **task, const int *p, const int *n, const int *xstorage,
                           const double *x, const double *weights, const int *indices);
KORB_API int bixsSSNewTask(BixSSTask **task, const int *p, const int *n, const int *xstorage,
                           const float *x, const float *weights, const int *indices);

/* Registers one slot: a real array (d, s) or an integer (i) by its BIX_SS_ID_*. A NULL value
   gives the slot's own status (see the ids in korb/ss_types.h). */
KORB_API int bixdSSEditTask(BixSSTask *task, int id, const double *value);
KORB_API int bixsSSEditTask(BixSSTask *task, int id, const float *value);
KORB_API int bixiSSEditTask(BixSSTask *task, int id, const int *value);

/* Registers a group of slots at once; NULL leaves a slot as it is. */
KORB_API int bixdSSEditMoments(BixSSTask *task, double *mean, double *raw2, double *raw3,
                               double *raw4, double *cen2, double *cen3, double *cen4);
KORB_API int bixsSSEditMoments(BixSSTask *task, float *mean, float *raw2, float *raw3, float *raw4,
                               float *cen2, float *cen3, float *cen4);
KORB_API int bixdSSEditCovCor(BixSSTask *task, double *mean, double *cov, int *cov_storage,
                              double *cor, int *cor_storage);
KORB_API int bixsSSEditCovCor(BixSSTask *task, float *mean, float *cov, int *cov_storage,
                              float *cor, int *cor_storage);
KORB_API int bixdSSEditQuantiles(BixSSTask *task, int *norders, double *orders, double *quantiles,
                                 double *order_stats, int *order_stats_storage);
KORB_API int bixsSSEditQuantiles(BixSSTask *task, int *norders, float *orders, float *quantiles,
                                 float *order_stats, int *order_stats_storage);
KORB_API int bixdSSEditStreamQuantiles(BixSSTask *task, int *norders, double *orders,
                                       double *quantiles, int *nparams, double *params);
KORB_API int bixsSSEditStreamQuantiles(BixSSTask *task, int *norders, float *orders,
                                       float *quantiles, int *nparams, float *params);

/*
 * Computes the estimates: each bit goes to the estimator that computes it, with the method bits
 * that estimator reads:
 *   BIX_SS_EST_MIN, _MAX                          method 0x1 or 0x2
 *   BIX_SS_EST_MEAN, _RAW2.._RAW4, _CEN2.._CEN4, _KURTOSIS, _SKEWNESS, _VARIATION, _COV, _COR
 *                                                 BIX_SS_METHOD_TWO_PASS, _ONE_PASS or
 *                                                 _GIVEN_MEAN (exactly one)
 *   BIX_SS_EST_QUANTILES, _ORDER_STATS            BIX_SS_METHOD_QUANTILES
 *   BIX_SS_EST_STREAM_QUANTILES                   BIX_SS_METHOD_STREAM_ZW or _GK
 * so one call may combine them (method BIX_SS_METHOD_TWO_PASS | BIX_SS_METHOD_STREAM_ZW, ...).
 * The estimators run in the order above, each checking its slots before it writes; a failing one
 * returns its status and stops the call, the estimators before it having written their results.
 * A bit no estimator computes: BIX_SS_ERROR_NO_ESTIMATOR, before any work.
 */
KORB_API int bixdSSCompute(BixSSTask *task, uint64_t estimates, int method);
KORB_API int bixsSSCompute(BixSSTask *task, uint64_t estimates, int method);

/* Releases *task (and any streaming summaries it keeps) and sets it to NULL. */
KORB_API int bixSSDeleteTask(BixSSTask **task);

#ifdef __cplusplus
}
#endif

#endif /* KORB_SS_H */
