/*
 * korb: data fitting, the task record and its editors.
 *
 * A task describes one partition of an interval (nx points x), ny functions sampled on it, and
 * one piecewise-polynomial spline model for them. The caller makes it with
 * korb_df_kernel_[d|s]NewTask1D, adjusts it with the editors and releases it with
 * korb_df_kernel_DeleteTask. The task keeps the caller's pointers and never copies the data; it
 * owns only two arrays of per-function pointers (values and coefficients), built by the editors
 * so that kernels reach function i's data directly.
 *
 * Every entry point returns a 64-bit status: DF_STATUS_OK or one of the negative codes below,
 * returned at the first failed check. The d and s forms differ only in the element size used to
 * step from one function's block to the next (8 or 4 bytes); the element size is the entry
 * point's own, whatever precision the task was made with.
 */
#ifndef KORB_KERNEL_DF_H
#define KORB_KERNEL_DF_H

#include <stdint.h>

#include "../df_types.h"
#include "frame.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Makes a task. Checks, in order: task null (DF_ERROR_NULL_TASK); nx < 2; x null; x hint; ny
 * non-zero with y null (DF_ERROR_NULL_Y); ny zero or negative with y given (DF_ERROR_BAD_NY); y
 * hint. Then the record is allocated and stored in *task, and, when y is given, the y array is
 * built. If that fails (DF_ERROR_MEM_FAILURE, or DF_ERROR_BAD_NY when ny blocks of nx elements
 * cannot fit in memory) the half-made record stays in *task, not editable: release it with
 * korb_df_kernel_DeleteTask. A task made with ny 0 has no y array.
 */
KORB_API int64_t korb_df_kernel_dNewTask1D(DfTask **task, int64_t nx, const double x[],
                                           int64_t xhint, int64_t ny, const double y[],
                                           int64_t yhint, int32_t word);
KORB_API int64_t korb_df_kernel_sNewTask1D(DfTask **task, int64_t nx, const float x[],
                                           int64_t xhint, int64_t ny, const float y[],
                                           int64_t yhint, int32_t word);

/*
 * Sets one integer attribute (DF_VAL_*). Null task: DF_ERROR_NULL_TASK; a task that is not
 * editable: nothing done, DF_STATUS_OK; an id outside 14 to 22: DF_ERROR_BAD_PARAM_ID; a value
 * the attribute does not accept: that attribute's code.
 */
KORB_API int64_t korb_df_kernel_iEditVal(DfTask *task, int64_t id, int64_t value);

/*
 * Sets one pointer attribute (DF_PTR_*). Null task: DF_ERROR_NULL_TASK; a task that is not
 * editable: nothing done, DF_STATUS_OK; null ptr: the attribute's code; unknown id:
 * DF_ERROR_BAD_PARAM_ID. Y and the coefficients need ny > 0 (DF_ERROR_BAD_NY); with order 0 the
 * coefficient blocks are empty and every entry points at the given block. A layout whose ny
 * blocks cannot fit in memory gives
 * DF_ERROR_BAD_NY. These checks leave the old array in place; once they pass, the old array is
 * released and a new one built (DF_ERROR_MEM_FAILURE leaves the task without one). The
 * coefficient block is written by the construction kernels: pass writable memory.
 */
KORB_API int64_t korb_df_kernel_dEditPtr(DfTask *task, int64_t id, const double *ptr);
KORB_API int64_t korb_df_kernel_sEditPtr(DfTask *task, int64_t id, const float *ptr);

/*
 * Sets entry `index` of the y array (id DF_PTR_Y) or of the coefficient array (DF_PTR_COEFF).
 * Null task: DF_ERROR_NULL_TASK; not editable: nothing done, DF_STATUS_OK; other id:
 * DF_ERROR_BAD_PARAM_ID; index outside [0, ny): DF_ERROR_BAD_FUNC_INDEX; null ptr:
 * DF_ERROR_NULL_Y or DF_ERROR_NULL_COEFF. The array must exist (set y or the coefficients with
 * EditPtr or EditPPSpline1D first): without it the same null code is returned. An index beyond
 * the entries the array was built with (one entry for y hint 32, or ny raised since) gives
 * DF_ERROR_BAD_FUNC_INDEX.
 */
KORB_API int64_t korb_df_kernel_dEditIdxPtr(DfTask *task, int64_t id, int64_t index,
                                            const double *ptr);
KORB_API int64_t korb_df_kernel_sEditIdxPtr(DfTask *task, int64_t id, int64_t index,
                                            const float *ptr);

/*
 * Sets the whole spline model. Steps, each storing as it goes, so that a failure keeps what the
 * earlier steps stored: (1) null task: DF_ERROR_NULL_TASK; order < 0; type < 0; order and type
 * stored. (2) ic_type other than 0, 1, 2 with ic null: DF_ERROR_NULL_IC; ic_type and ic stored.
 * (3) bc_type non-zero with bc null: DF_ERROR_NULL_BC; bc_type 0 with bc given:
 * DF_ERROR_BAD_BC_TYPE; bc_type and bc stored. (4) when coeffs is given, the coefficient array is
 * built as by EditPtr, with this call's order, type and coeff_hint. (5) coeff_hint stored.
 * The editable flag is not consulted.
 */
KORB_API int64_t korb_df_kernel_dEditPPSpline1D(DfTask *task, int64_t order, int64_t type,
                                                int64_t ic_type, const double ic[], int64_t bc_type,
                                                const double bc[], double coeffs[],
                                                int64_t coeff_hint);
KORB_API int64_t korb_df_kernel_sEditPPSpline1D(DfTask *task, int64_t order, int64_t type,
                                                int64_t ic_type, const float ic[], int64_t bc_type,
                                                const float bc[], float coeffs[],
                                                int64_t coeff_hint);

/*
 * Builds the spline of the task's order and type for each of its ny functions and writes its
 * coefficients into the blocks the coefficient array points at. format must be DF_PP_SPLINE and
 * method DF_METHOD_STD. Cell j of a function holds `order` coefficients c[0..order-1], the
 * spline on the cell being sum c[k] (t - x_j)^k; for DF_PP_SUBBOTIN the cells lie between the
 * knots x_0, (x_0 + x_1) / 2, ..., (x_{nx-2} + x_{nx-1}) / 2, x_{nx-1}, and x_j is the cell's
 * left knot.
 *
 * The partition: x hint 0, 1 and 2 read nx strictly increasing finite points; hint 4 reads the
 * two ends x[0] < x[1] and places nx points evenly between them. The values: y hint 0, 16 and
 * 128 give function i's nx values at entry i of the y array, hint 32 gives the values of point
 * j for all functions together (value of function i at y[j * ny + i]). The d form reads and
 * writes doubles, the s form floats; both compute in double.
 *
 * Boundary conditions taken: the linear, Hermite, Bessel and Akima splines take none (bc type
 * 0); the C1 quadratic takes 0 (its first cell is the parabola through the first three points)
 * or DF_BC_VALUES with or without DF_BC_2ND_LEFT (bc[0] at the left end; bc[1] is not read); the
 * Subbotin quadratic and the natural cubic take DF_BC_NOT_A_KNOT, DF_BC_FREE_END, DF_BC_VALUES
 * with either or both second-derivative bits, and DF_BC_PERIODIC. The Hermite cubic needs ic
 * type DF_IC_1ST_DER, ic holding nx derivatives per function, function after function.
 *
 * Checks, in order; nothing is written unless all pass: null task; format; method; an order
 * other than 2, 3 or 4 (DF_ERROR_BAD_SPLINE_ORDER); a type that order lacks
 * (DF_ERROR_BAD_SPLINE_TYPE); a boundary-condition type the spline does not take
 * (DF_ERROR_BAD_BC_TYPE); bc values needed and null (DF_ERROR_NULL_BC); for the Hermite cubic an
 * ic type other than DF_IC_1ST_DER (DF_ERROR_BAD_IC_TYPE) or a null ic (DF_ERROR_NULL_IC); fewer
 * points than the spline needs (DF_ERROR_TOO_FEW_POINTS: 3 for the C1 quadratic without bc, and
 * for periodic and not-a-knot Subbotin and periodic cubic splines, otherwise 2); x null; the
 * partition (DF_ERROR_BAD_PARTITION); ny < 1 (DF_ERROR_BAD_NY); a function without values
 * (DF_ERROR_NULL_Y); a function without a coefficient block (DF_ERROR_NULL_COEFF); for periodic
 * splines a function whose first and last values differ (DF_ERROR_BAD_PERIODIC_VAL); then
 * DF_ERROR_MEM_FAILURE if work memory cannot be had.
 */
KORB_API int64_t korb_df_kernel_dConstruct1D(DfTask *task, int64_t format, int64_t method);
KORB_API int64_t korb_df_kernel_sConstruct1D(DfTask *task, int64_t format, int64_t method);

/*
 * What the search, interpolation and integration kernels read of the task: the partition (nx, x,
 * the x hint), and for values and integrals the spline order, type, ny and the coefficient
 * array. Cell j of a function holds `order` coefficients c[0..order-1] of the polynomial
 * sum c[k] (t - t_j)^k; the knots t_j are the partition points, or for spline type
 * DF_PP_SUBBOTIN (whatever the order) x_0, the points halfway between neighbouring points, and
 * x_{nx-1}. Any order from 1 up is evaluated, so that a caller can hand in coefficients of its
 * own with EditPPSpline1D. The partition is not checked for order (that costs a pass over it;
 * the construction kernels check it): on a partition that does not increase every cell index is
 * still within [0, nx], but which one is unspecified.
 *
 * The cell of a site s is the number of partition points at or below s: 0 left of x_0, nx at
 * x_{nx-1} and beyond, and 0 for a NaN site. Values at s come from the polynomial of the cell
 * whose knots enclose s, the first cell's left of the partition and the last cell's at its end
 * and right of it: outside the partition the end cells' polynomials go on. A NaN site gives
 * NaN results, an infinite one what the end polynomial gives there.
 *
 * The d forms read and write doubles, the s forms floats; both compute in double and round each
 * result once, so an s result is the d result on the same data, rounded. The result and cell
 * arrays must not overlap the sites, the partition or the coefficients.
 */

/*
 * Writes to cell[j] the cell of each site j (see above). method must be DF_METHOD_STD. With
 * sitehint DF_SITES_UNIFORM, site holds two ends a and b and the nsite sites are
 * a + j (b - a) / (nsite - 1), the last exactly b (a alone when nsite is 1).
 *
 * Checks, in order; nothing is written unless all pass: null task; method; nsite < 0
 * (DF_ERROR_BAD_NSITE); null site (DF_ERROR_NULL_SITE); site hint; null cell
 * (DF_ERROR_NULL_CELL); nx < 2 or above 2^44 (DF_ERROR_BAD_NX); x null; x hint; for
 * DF_X_UNIFORM two ends that are not finite and increasing (DF_ERROR_BAD_PARTITION). With nsite 0
 * the arrays may be null and nothing is read or written.
 */
KORB_API int64_t korb_df_kernel_dSearchCells1D(DfTask *task, int64_t method, int64_t nsite,
                                               const double site[], int64_t sitehint,
                                               int64_t cell[]);
KORB_API int64_t korb_df_kernel_sSearchCells1D(DfTask *task, int64_t method, int64_t nsite,
                                               const float site[], int64_t sitehint,
                                               int64_t cell[]);

/*
 * Interpolation: for each function and site, the value and the derivatives that dorder asks for
 * (dorder[k] non-zero asks for derivative k; derivative 0 is the value), in the layout rhint
 * names, and with DF_INTERP_CELLS in type the cells of the sites as SearchCells1D writes them.
 * type is DF_INTERP_VALUES, DF_INTERP_CELLS or both; method DF_METHOD_STD; sites as for
 * SearchCells1D. A dorder with no non-zero entry asks for nothing and nothing is written to r.
 *
 * Checks, in order; nothing is written unless all pass: null task; type
 * (DF_ERROR_BAD_INTERP_TYPE); method; nsite < 0; null site; site hint. For values: an order
 * below 1 (DF_ERROR_BAD_SPLINE_ORDER); a spline type outside 0 to 5; ndorder < 1 or above the
 * order (DF_ERROR_BAD_NDORDER); null dorder (DF_ERROR_NULL_DORDER); null r
 * (DF_ERROR_NULL_RESULT); rhint (DF_ERROR_BAD_RESULT_HINT). For cells: null cell. Then the
 * partition as for SearchCells1D; for values ny < 1 (DF_ERROR_BAD_NY), a function without a
 * coefficient block (DF_ERROR_NULL_COEFF), and more results than any array can hold
 * (DF_ERROR_BAD_NSITE). With nsite 0, site, r and cell may be null.
 */
KORB_API int64_t korb_df_kernel_dInterpolate1D(DfTask *task, int64_t type, int64_t method,
                                               int64_t nsite, const double site[], int64_t sitehint,
                                               int64_t ndorder, const int64_t dorder[], double r[],
                                               int64_t rhint, int64_t cell[]);
KORB_API int64_t korb_df_kernel_sInterpolate1D(DfTask *task, int64_t type, int64_t method,
                                               int64_t nsite, const float site[], int64_t sitehint,
                                               int64_t ndorder, const int64_t dorder[], float r[],
                                               int64_t rhint, int64_t cell[]);

/*
 * Integration: for each function i and interval k, the integral of the spline from llim[k] to
 * rlim[k], negative when rlim[k] < llim[k], at r[i * nlim + k] (rhint DF_R_FUNC_SITE_DER or
 * DF_R_FUNC_DER_SITE) or r[k * ny + i] (DF_R_SITE_FUNC_DER). Limits outside the partition take
 * the end cells' polynomials, as interpolation does; a NaN limit gives NaN. The limit hints are
 * site hints: DF_SITES_UNIFORM makes nlim limits from the two ends held in the array.
 *
 * Checks, in order; nothing is written unless all pass: null task; method; nlim < 0
 * (DF_ERROR_BAD_NLIM); null llim; llim hint; null rlim; rlim hint; null r; rhint; the spline
 * order and type; the partition; ny < 1; a function without a coefficient block; more results
 * than any array can hold (DF_ERROR_BAD_NLIM); work memory (DF_ERROR_MEM_FAILURE). With nlim 0
 * the arrays may be null.
 */
KORB_API int64_t korb_df_kernel_dIntegrate1D(DfTask *task, int64_t method, int64_t nlim,
                                             const double llim[], int64_t llimhint,
                                             const double rlim[], int64_t rlimhint, double r[],
                                             int64_t rhint);
KORB_API int64_t korb_df_kernel_sIntegrate1D(DfTask *task, int64_t method, int64_t nlim,
                                             const float llim[], int64_t llimhint,
                                             const float rlim[], int64_t rlimhint, float r[],
                                             int64_t rhint);

/*
 * Releases the task's arrays and the record and sets *task to null. A null task or *task:
 * DF_ERROR_NULL_TASK.
 */
KORB_API int64_t korb_df_kernel_DeleteTask(DfTask **task);

#ifdef __cplusplus
}
#endif

#endif /* KORB_KERNEL_DF_H */
