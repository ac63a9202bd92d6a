/*
 * korb: data fitting, one-dimensional piecewise-polynomial splines.
 *
 * A task points at the caller's partition x (nx points, strictly increasing) and function values
 * y (ny functions); korb_df_<p>EditPPSpline1D chooses the spline (order, type, conditions) and
 * where its coefficients go, korb_df_<p>Construct1D computes them. The task record and the
 * DF_* constants are in korb/df_types.h.
 *
 * Every function returns DF_STATUS_OK (0) or a negative DF_ERROR_* status
 * (korbStatusText(KORB_FAMILY_DF, status) names it), checked before any work. A d function given
 * a single-precision task, or an s function a double one: DF_ERROR_BAD_PRECISION.
 */
#ifndef KORB_DF_H
#define KORB_DF_H

#include <stdint.h>

#include "df_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Makes *task over x (hint DF_NO_HINT) and y (ny functions of nx values each, laid out as yhint
   says; y NULL with ny 0 for none yet). A failure leaves *task as it was. */
KORB_API int64_t korb_df_dNewTask1D(DfTask **task, int64_t nx, const double x[], int64_t xhint,
                                    int64_t ny, const double y[], int64_t yhint);
KORB_API int64_t korb_df_sNewTask1D(DfTask **task, int64_t nx, const float x[], int64_t xhint,
                                    int64_t ny, const float y[], int64_t yhint);

/* Sets an integer attribute (DF_VAL_*). */
KORB_API int64_t korb_df_iEditVal(DfTask *task, int64_t id, int64_t value);

/* Sets a pointer attribute (DF_PTR_*), or entry index of a per-function one. */
KORB_API int64_t korb_df_dEditPtr(DfTask *task, int64_t id, const double *ptr);
KORB_API int64_t korb_df_sEditPtr(DfTask *task, int64_t id, const float *ptr);
KORB_API int64_t korb_df_dEditIdxPtr(DfTask *task, int64_t id, int64_t index, const double *ptr);
KORB_API int64_t korb_df_sEditIdxPtr(DfTask *task, int64_t id, int64_t index, const float *ptr);

/* Chooses the spline: order (DF_PP_LINEAR, _QUADRATIC, _CUBIC), type (DF_PP_DEFAULT, _NATURAL,
   _HERMITE, _BESSEL, _AKIMA, ...), internal and boundary conditions (DF_BC_*, values in bc), and
   the coefficient array (ny * (nx - 1) * order values, laid out as coeff_hint says). */
KORB_API int64_t korb_df_dEditPPSpline1D(DfTask *task, int64_t order, int64_t type, int64_t ic_type,
                                         const double ic[], int64_t bc_type, const double bc[],
                                         double coeffs[], int64_t coeff_hint);
KORB_API int64_t korb_df_sEditPPSpline1D(DfTask *task, int64_t order, int64_t type, int64_t ic_type,
                                         const float ic[], int64_t bc_type, const float bc[],
                                         float coeffs[], int64_t coeff_hint);

/* Computes the coefficients: format DF_PP_SPLINE, method DF_METHOD_STD. */
KORB_API int64_t korb_df_dConstruct1D(DfTask *task, int64_t format, int64_t method);
KORB_API int64_t korb_df_sConstruct1D(DfTask *task, int64_t format, int64_t method);

/* Releases *task and sets it to NULL. */
KORB_API int64_t korb_df_DeleteTask(DfTask **task);

#ifdef __cplusplus
}
#endif

#endif /* KORB_DF_H */
