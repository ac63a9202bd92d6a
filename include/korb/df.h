/*
 * korb: data fitting, one-dimensional piecewise-polynomial splines.
 *
 * A task points at the caller's partition x (nx points, strictly increasing) and function values
 * y (ny functions); korb_df_<p>EditPPSpline1D chooses the spline (order, type, conditions) and
 * where its coefficients go, korb_df_<p>Construct1D computes them; SearchCells1D, Interpolate1D
 * and Integrate1D find cells, evaluate and integrate the spline. The task record and the
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

/* The cell of each site: the number of partition points at or below it (0 left of x[0], nx at
   or beyond x[nx-1], 0 for NaN), into cell[0 .. nsite-1]. method DF_METHOD_STD; sitehint
   DF_SITES_ANY, DF_SITES_SORTED, or DF_SITES_UNIFORM (site holds the two ends a, b). */
KORB_API int64_t korb_df_dSearchCells1D(DfTask *task, int64_t method, int64_t nsite,
                                        const double site[], int64_t sitehint, int64_t cell[]);
KORB_API int64_t korb_df_sSearchCells1D(DfTask *task, int64_t method, int64_t nsite,
                                        const float site[], int64_t sitehint, int64_t cell[]);

/* Values and derivatives of every function at the sites (dorder[k] non-zero asks for derivative
   k, k < ndorder <= order) into r, laid out as rhint says (DF_R_*); type DF_INTERP_VALUES, with
   DF_INTERP_CELLS also the cells. Sites outside the partition take the end cells' polynomials. */
KORB_API int64_t korb_df_dInterpolate1D(DfTask *task, int64_t type, int64_t method, int64_t nsite,
                                        const double site[], int64_t sitehint, int64_t ndorder,
                                        const int64_t dorder[], double r[], int64_t rhint,
                                        int64_t cell[]);
KORB_API int64_t korb_df_sInterpolate1D(DfTask *task, int64_t type, int64_t method, int64_t nsite,
                                        const float site[], int64_t sitehint, int64_t ndorder,
                                        const int64_t dorder[], float r[], int64_t rhint,
                                        int64_t cell[]);

/* The integral of every function i from llim[k] to rlim[k] (negative when rlim[k] < llim[k])
   into r[i * nlim + k] (rhint DF_R_SITE_FUNC_DER: r[k * ny + i]). */
KORB_API int64_t korb_df_dIntegrate1D(DfTask *task, int64_t method, int64_t nlim,
                                      const double llim[], int64_t llimhint, const double rlim[],
                                      int64_t rlimhint, double r[], int64_t rhint);
KORB_API int64_t korb_df_sIntegrate1D(DfTask *task, int64_t method, int64_t nlim,
                                      const float llim[], int64_t llimhint, const float rlim[],
                                      int64_t rlimhint, float r[], int64_t rhint);

/* Releases *task and sets it to NULL. */
KORB_API int64_t korb_df_DeleteTask(DfTask **task);

#ifdef __cplusplus
}
#endif

#endif /* KORB_DF_H */
