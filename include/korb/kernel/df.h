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
 * Releases the task's arrays and the record and sets *task to null. A null task or *task:
 * DF_ERROR_NULL_TASK.
 */
KORB_API int64_t korb_df_kernel_DeleteTask(DfTask **task);

#ifdef __cplusplus
}
#endif

#endif /* KORB_KERNEL_DF_H */
