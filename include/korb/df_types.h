/*
 * korb: data fitting, the definitions the public library and the kernel libraries share: status
 * codes, attribute ids, hints, spline orders, types and conditions, and the task record. Plain
 * C99; no function is declared here (see korb/df.h).
 *
 * A task describes one partition of an interval (nx points x), ny functions sampled on it, and
 * one piecewise-polynomial spline model for them. It keeps the caller's pointers and never
 * copies the data; it owns only two arrays of per-function pointers (values and coefficients).
 */
#ifndef KORB_DF_TYPES_H
#define KORB_DF_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "common.h"

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
/* Of the public library: a d entry point given a single-precision task, or an s entry point a
   double-precision one. */
#define DF_ERROR_BAD_PRECISION (-1018)
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

#endif /* KORB_DF_TYPES_H */
