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
#ifndef KORB_DF_H
#define KORB_DF_H

#include <stdint.h>

#include "frame.h"

#ifdef __cplusplus
extern "C" {
#endif

#define DF_STATUS_OK 0
#define DF_ERROR_NULL_TASK (-1000)        /* task null */
#define DF_ERROR_MEM_FAILURE (-1001)      /* an allocation failed */
#define DF_ERROR_BAD_NX (-1004)           /* nx < 2 */
#define DF_ERROR_NULL_X (-1005)           /* x null */
#define DF_ERROR_BAD_XHINT (-1006)        /* x hint not accepted */
#define DF_ERROR_BAD_NY (-1007)           /* ny < 1, or ny 0 where function data are given */
#define DF_ERROR_NULL_Y (-1008)           /* y null */
#define DF_ERROR_BAD_YHINT (-1009)        /* y hint not accepted */
#define DF_ERROR_BAD_SPLINE_ORDER (-1010) /* negative order, or an order no kernel builds */
#define DF_ERROR_BAD_SPLINE_TYPE (-1011)  /* spline type not accepted */
#define DF_ERROR_BAD_BC_TYPE (-1012)      /* bc type not accepted, or values given with type 0 */
#define DF_ERROR_NULL_BC (-1013)          /* boundary-condition values null */
#define DF_ERROR_BAD_IC_TYPE (-1014)      /* negative internal-condition type */
#define DF_ERROR_NULL_IC (-1015)          /* internal-condition values null */
#define DF_ERROR_NULL_COEFF (-1016)       /* coefficients null */
#define DF_ERROR_BAD_COEFF_HINT (-1017)   /* coefficient hint not accepted */
#define DF_ERROR_BAD_PARAM_ID (-1019)     /* attribute id not accepted by the editor */
#define DF_ERROR_BAD_FUNC_INDEX (-1020)   /* function index outside [0, ny) or the built array */
/* Refusals of the construction kernels. */
#define DF_ERROR_BAD_FORMAT (-1021)       /* construction format other than DF_PP_SPLINE */
#define DF_ERROR_BAD_METHOD (-1022)       /* construction method other than DF_METHOD_STD */
#define DF_ERROR_BAD_PARTITION (-1023)    /* partition not strictly increasing, or not finite */
#define DF_ERROR_BAD_PERIODIC_VAL (-1024) /* periodic spline: first and last values differ */
#define DF_ERROR_TOO_FEW_POINTS (-1025)   /* nx too small for the spline and its condition */
/* Refusals of the search, interpolation and integration kernels. */
#define DF_ERROR_BAD_NSITE (-1026)       /* nsite < 0, or more results than any array can hold */
#define DF_ERROR_NULL_SITE (-1027)       /* sites null */
#define DF_ERROR_BAD_SITE_HINT (-1028)   /* site hint other than 0, 1 or 4 */
#define DF_ERROR_NULL_CELL (-1029)       /* cell array null where cells are to be written */
#define DF_ERROR_BAD_INTERP_TYPE (-1030) /* interpolation type other than 1, 2 or 3 */
#define DF_ERROR_BAD_NDORDER (-1031)     /* ndorder < 1 or larger than the spline order */
#define DF_ERROR_NULL_DORDER (-1032)     /* derivative orders null */
#define DF_ERROR_NULL_RESULT (-1033)     /* result array null */
#define DF_ERROR_BAD_RESULT_HINT (-1034) /* result layout not accepted */
#define DF_ERROR_BAD_NLIM (-1035)        /* nlim < 0, or more results than any array can hold */
#define DF_ERROR_NULL_LLIM (-1036)       /* left limits null */
#define DF_ERROR_BAD_LLIM_HINT (-1037)   /* left-limit hint other than 0, 1 or 4 */
#define DF_ERROR_NULL_RLIM (-1038)       /* right limits null */
#define DF_ERROR_BAD_RLIM_HINT (-1039)   /* right-limit hint other than 0, 1 or 4 */

/* Pointer attributes of korb_df_kernel_[d|s]EditPtr (and ids 2 and 5 of EditIdxPtr). */
#define DF_PTR_X 1
#define DF_PTR_Y 2
#define DF_PTR_BC 3
#define DF_PTR_IC 4
#define DF_PTR_COEFF 5

/* Integer attributes of korb_df_kernel_iEditVal. */
#define DF_VAL_NX 14
#define DF_VAL_XHINT 15
#define DF_VAL_NY 16
#define DF_VAL_YHINT 17
#define DF_VAL_SPLINE_ORDER 18
#define DF_VAL_SPLINE_TYPE 19
#define DF_VAL_BC_TYPE 20
#define DF_VAL_IC_TYPE 21
#define DF_VAL_COEFF_HINT 22

/*
 * Layout hints of the function values and of the coefficients (both accept exactly these four).
 * x hints accept 0, 1, 2 and 4; like the spline types 0 to 5 and the condition types, what they
 * mean belongs to the construction and search kernels: the task only checks and stores them.
 */
#define DF_NO_HINT 0
#define DF_HINT_CONTIGUOUS 16     /* function i's block follows function i-1's (as 0) */
#define DF_HINT_SINGLE_POINTER 32 /* values: one pointer entry, the whole block */
#define DF_HINT_PER_FUNCTION 128  /* entry 0 is the given block; set others with EditIdxPtr */
#define DF_HINT_PER_FUNCTION_BIT 0x80

#define DF_SPLINE_TYPE_MAX 5
#define DF_BC_NONE 0      /* no boundary-condition values: bc must be null */
#define DF_BC_TYPE_FLAG 8 /* any boundary-condition type with this bit set is accepted */

/*
 * Spline orders (coefficients per cell) and types that korb_df_kernel_[d|s]Construct1D builds:
 *
 *   order 2, DF_PP_DEFAULT    piecewise linear
 *   order 3, DF_PP_DEFAULT    C1 quadratic, knots at the partition points
 *   order 3, DF_PP_SUBBOTIN   C1 quadratic, knots halfway between the partition points (nx cells)
 *   order 4, DF_PP_NATURAL    C2 cubic
 *   order 4, DF_PP_HERMITE    C1 cubic with the first derivative at every point given (ic)
 *   order 4, DF_PP_BESSEL     C1 cubic, derivatives from the three-point parabolas
 *   order 4, DF_PP_AKIMA      C1 cubic, Akima's (1970) derivatives
 */
#define DF_PP_LINEAR 2
#define DF_PP_QUADRATIC 3
#define DF_PP_CUBIC 4
#define DF_PP_DEFAULT 0
#define DF_PP_SUBBOTIN 1
#define DF_PP_NATURAL 2
#define DF_PP_HERMITE 3
#define DF_PP_BESSEL 4
#define DF_PP_AKIMA 5

/*
 * Boundary-condition types. With DF_BC_VALUES, bc[0] is the condition at the left end and bc[1]
 * at the right: first derivatives, unless DF_BC_2ND_LEFT or DF_BC_2ND_RIGHT makes one a second
 * derivative. DF_BC_PERIODIC reads no values.
 */
#define DF_BC_NOT_A_KNOT 1
#define DF_BC_FREE_END 2     /* second derivative 0 at both ends */
#define DF_BC_VALUES 0x8     /* values in bc */
#define DF_BC_2ND_LEFT 0x10  /* with DF_BC_VALUES: bc[0] is a second derivative */
#define DF_BC_2ND_RIGHT 0x20 /* with DF_BC_VALUES: bc[1] is a second derivative */
#define DF_BC_PERIODIC 0x48

/* Internal-condition type of the Hermite cubic: first derivatives at every point, in ic. */
#define DF_IC_1ST_DER 1

/* The construction format (piecewise-polynomial coefficients) and method. */
#define DF_PP_SPLINE 1
#define DF_METHOD_STD 0

/*
 * x hints: what the caller knows of the partition. The points must increase strictly whatever
 * the hint; the hint chooses how the search kernels find a site's cell.
 */
#define DF_X_ANY 0            /* increasing points: branch-free binary search */
#define DF_X_SORTED 1         /* the same as DF_X_ANY */
#define DF_X_NEARLY_UNIFORM 2 /* cells of similar widths: a guess from the ends, a local walk */
#define DF_X_UNIFORM 4        /* x holds the two ends; the nx points lie evenly between them */

/*
 * Site hints of the search and interpolation kernels, and limit hints of the integration kernel.
 * They change the speed, never the result: sites that break a hint's promise are found all the
 * same, only more slowly.
 */
#define DF_SITES_ANY 0     /* no order */
#define DF_SITES_SORTED 1  /* ascending: one merging walk along the partition */
#define DF_SITES_UNIFORM 4 /* the array holds two ends a, b; the n sites lie evenly from a to b */

/* Interpolation type bits: values and derivatives, cells, or both. */
#define DF_INTERP_VALUES 0x1
#define DF_INTERP_CELLS 0x2

/*
 * Result layouts of the interpolation kernel (nd requested derivatives, nsite sites, ny
 * functions): the result of derivative rank q (0 for the lowest requested) of function i at
 * site j lies at
 *   DF_R_FUNC_SITE_DER   r[(i * nsite + j) * nd + q]
 *   DF_R_FUNC_DER_SITE   r[(i * nd + q) * nsite + j]
 *   DF_R_SITE_FUNC_DER   r[(j * ny + i) * nd + q]
 * The integration kernel takes the same three with nd = 1: the first two put the integral of
 * function i over interval k at r[i * nlim + k], the third at r[k * ny + i].
 */
#define DF_R_FUNC_SITE_DER 0
#define DF_R_FUNC_DER_SITE 1
#define DF_R_SITE_FUNC_DER 2

#define DF_MODEL_PP 4 /* model kind of every task made here */
#define DF_PRECISION_SINGLE 0
#define DF_PRECISION_DOUBLE 1
#define DF_TASK_ALIGNMENT 128

/*
 * The task record: one korbAlignedAlloc(sizeof(DfTask), 128) block, zero-filled when made.
 * Callers may read it; they change it only through the editors. `y` and `coeffs` are the task's
 * own arrays (entry i points at function i's block), built as follows, e being the editor's
 * element size:
 *
 *   y, hint 0 or 16:       ny entries, entry i = y + i * nx * e
 *   y, hint 32:            one entry, y
 *   y, hint 128:           ny entries, entry 0 = y, the others null until EditIdxPtr sets them
 *   coeffs, hint without bit 0x80: ny entries, entry i = c + i * s * e, with s = nx * order for
 *                          spline type 1 and s = (nx - 1) * order for every other type
 *   coeffs, hint with bit 0x80: ny entries, entry 0 = c, the others null
 *
 * Changing nx, ny, the order, the type or a hint with iEditVal does not rebuild the arrays: set y
 * and the coefficients again afterwards. An array keeps the number of entries it was built with;
 * EditIdxPtr refuses an index beyond it. Never replace the arrays with arrays of your own.
 */
typedef struct DfTask {
    int32_t callerWord; /* the last argument of NewTask1D, never examined */
    int32_t modelKind;  /* DF_MODEL_PP */
    int32_t precision;  /* DF_PRECISION_DOUBLE or DF_PRECISION_SINGLE */
    int32_t editable;   /* 1 once NewTask1D completed; EditPtr, EditIdxPtr, iEditVal need it */
    int64_t nx;
    const void *x;
    int64_t xHint;
    int64_t ny;
    const void **y;
    int64_t yHint;
    int64_t splineOrder;
    int64_t splineType;
    int64_t bcType;
    const void *bc;
    int64_t icType;
    const void *ic;
    void **coeffs;
    int64_t coeffHint;
} DfTask;

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

static_assert(sizeof(DfTask) == 128, "DfTask layout");
static_assert(offsetof(DfTask, callerWord) == 0, "DfTask layout");
static_assert(offsetof(DfTask, modelKind) == 4, "DfTask layout");
static_assert(offsetof(DfTask, precision) == 8, "DfTask layout");
static_assert(offsetof(DfTask, editable) == 12, "DfTask layout");
static_assert(offsetof(DfTask, nx) == 16, "DfTask layout");
static_assert(offsetof(DfTask, x) == 24, "DfTask layout");
static_assert(offsetof(DfTask, xHint) == 32, "DfTask layout");
static_assert(offsetof(DfTask, ny) == 40, "DfTask layout");
static_assert(offsetof(DfTask, y) == 48, "DfTask layout");
static_assert(offsetof(DfTask, yHint) == 56, "DfTask layout");
static_assert(offsetof(DfTask, splineOrder) == 64, "DfTask layout");
static_assert(offsetof(DfTask, splineType) == 72, "DfTask layout");
static_assert(offsetof(DfTask, bcType) == 80, "DfTask layout");
static_assert(offsetof(DfTask, bc) == 88, "DfTask layout");
static_assert(offsetof(DfTask, icType) == 96, "DfTask layout");
static_assert(offsetof(DfTask, ic) == 104, "DfTask layout");
static_assert(offsetof(DfTask, coeffs) == 112, "DfTask layout");
static_assert(offsetof(DfTask, coeffHint) == 120, "DfTask layout");
#endif

#endif /* KORB_DF_H */
