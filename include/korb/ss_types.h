/*
 * korb: summary statistics, the definitions the public library and the kernel libraries share:
 * status codes, storage codes, estimate and method bits, parameter ids and the task record.
 * Plain C99; no function is declared here (see korb/ss.h).
 *
 * A task points at the caller's observation matrix and result arrays; it never copies them.
 * Integer slots point at 32-bit or 64-bit signed integers as the task's integer width says;
 * floating slots point at doubles for a double-precision task and at floats for a
 * single-precision one.
 */
#ifndef KORB_SS_TYPES_H
#define KORB_SS_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "common.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifndef BIX_ERROR_OK
#define BIX_ERROR_OK 0
#endif
#ifndef BIX_ERROR_BADARGS
#define BIX_ERROR_BADARGS (-3)
#endif

#define BIX_SS_ERROR_MEM_FAILURE (-4000)
#define BIX_SS_ERROR_BAD_DIMENSION (-4001)
#define BIX_SS_ERROR_BAD_NOBS (-4002)
#define BIX_SS_ERROR_BAD_STORAGE (-4003)
#define BIX_SS_ERROR_NULL_INDICES (-4004)
#define BIX_SS_ERROR_NULL_WEIGHTS (-4005)
#define BIX_SS_ERROR_NULL_MEAN (-4006)
#define BIX_SS_ERROR_NULL_RAW2 (-4007)
#define BIX_SS_ERROR_NULL_RAW3 (-4008)
#define BIX_SS_ERROR_NULL_RAW4 (-4009)
#define BIX_SS_ERROR_NULL_CEN2 (-4010)
#define BIX_SS_ERROR_NULL_CEN3 (-4011)
#define BIX_SS_ERROR_NULL_CEN4 (-4012)
#define BIX_SS_ERROR_NULL_KURTOSIS (-4013)
#define BIX_SS_ERROR_NULL_SKEWNESS (-4014)
#define BIX_SS_ERROR_NULL_MIN (-4015)
#define BIX_SS_ERROR_NULL_MAX (-4016)
#define BIX_SS_ERROR_NULL_VARIATION (-4017)
#define BIX_SS_ERROR_NULL_COV (-4018)
#define BIX_SS_ERROR_NULL_COR (-4019)
#define BIX_SS_ERROR_NULL_RUNNING_WEIGHTS (-4020)
#define BIX_SS_ERROR_NULL_QUANT_ORDERS (-4021)
#define BIX_SS_ERROR_BAD_QUANT_ORDERS (-4022)
#define BIX_SS_ERROR_NULL_QUANTILES (-4023)
#define BIX_SS_ERROR_NULL_ORDER_STATS (-4024)
#define BIX_SS_ERROR_NULL_ROBUST_COV (-4027)
#define BIX_SS_ERROR_NULL_ROBUST_MEAN (-4028)
#define BIX_SS_ERROR_BAD_METHOD (-4029)
#define BIX_SS_ERROR_NULL_TASK (-4031)
#define BIX_SS_ERROR_NULL_X (-4032)
#define BIX_SS_ERROR_POOLED_SLOT_1 (-4034)
#define BIX_SS_ERROR_POOLED_SLOT_2 (-4035)
#define BIX_SS_ERROR_POOLED_SLOT_3 (-4036)
#define BIX_SS_ERROR_POOLED_SLOT_4 (-4037)
#define BIX_SS_ERROR_POOLED_SLOT_5 (-4038)
#define BIX_SS_ERROR_NULL_OUTLIER_PARAMS (-4039)
#define BIX_SS_ERROR_NULL_OUTLIER_NPARAMS (-4040)
#define BIX_SS_ERROR_NULL_OUTLIER_WEIGHTS (-4041)
#define BIX_SS_ERROR_NULL_ROBUST_PARAMS (-4042)
#define BIX_SS_ERROR_NULL_ROBUST_NPARAMS (-4043)
#define BIX_SS_ERROR_NULL_STORAGE (-4044)
#define BIX_SS_ERROR_PARTIAL_SLOT_1 (-4045)
#define BIX_SS_ERROR_PARTIAL_SLOT_2 (-4046)
#define BIX_SS_ERROR_PARTIAL_SLOT_3 (-4047)
/* The missing-values group: each id has its own code in this band (see the id list below). */
#define BIX_SS_ERROR_NULL_MISSING_VALS_SLOT (-4048)
#define BIX_SS_ERROR_NULL_STREAM_NPARAMS (-4064)
#define BIX_SS_ERROR_NULL_STREAM_PARAMS (-4065)
#define BIX_SS_ERROR_BAD_STREAM_NPARAMS (-4066)
#define BIX_SS_ERROR_BAD_STREAM_EPSILON (-4067)
#define BIX_SS_ERROR_NULL_STREAM_ORDERS (-4068)
#define BIX_SS_ERROR_BAD_STREAM_ORDERS (-4069)
#define BIX_SS_ERROR_NULL_STREAM_QUANTILES (-4070)
#define BIX_SS_ERROR_NULL_PARAMETRIZED_COR (-4071)
/* Of the public library's bix[d|s]SSCompute: an estimate bit that no built estimator computes. */
#define BIX_SS_ERROR_NO_ESTIMATOR (-4025)

/* Storage codes of observation matrices (x and the order statistics). */
#define BIX_SS_MATRIX_STORAGE_ROWS 0x10000 /* variable i, observation j at x[i*n + j] */
#define BIX_SS_MATRIX_STORAGE_COLS 0x20000 /* variable i, observation j at x[j*p + i] */

/* Bits of the 64-bit estimate mask. */
#define BIX_SS_EST_MEAN 0x1ULL
#define BIX_SS_EST_RAW2 0x2ULL
#define BIX_SS_EST_RAW3 0x4ULL
#define BIX_SS_EST_RAW4 0x8ULL
#define BIX_SS_EST_CEN2 0x10ULL
#define BIX_SS_EST_CEN3 0x20ULL
#define BIX_SS_EST_CEN4 0x40ULL
#define BIX_SS_EST_KURTOSIS 0x80ULL
#define BIX_SS_EST_SKEWNESS 0x100ULL
#define BIX_SS_EST_VARIATION 0x200ULL
#define BIX_SS_EST_MIN 0x400ULL
#define BIX_SS_EST_MAX 0x800ULL
#define BIX_SS_EST_COV 0x1000ULL
#define BIX_SS_EST_COR 0x2000ULL
#define BIX_SS_EST_QUANTILES 0x10000ULL
#define BIX_SS_EST_ORDER_STATS 0x20000ULL
#define BIX_SS_EST_STREAM_QUANTILES 0x40000ULL

/* Methods of the basic-statistics estimator (exactly one of them). */
#define BIX_SS_METHOD_TWO_PASS 0x1     /* the mean first, then the sums about it */
#define BIX_SS_METHOD_ONE_PASS 0x2     /* one pass with pairwise updates */
#define BIX_SS_METHOD_GIVEN_MEAN 0x100 /* about the caller's mean, in the mean slot */

/* The method of the quantile estimator, and the two of the streaming-quantile estimator. */
#define BIX_SS_METHOD_QUANTILES 0x1
#define BIX_SS_METHOD_STREAM_ZW 0x40 /* Zhang and Wang's multi-level summary (wins when both) */
#define BIX_SS_METHOD_STREAM_GK 0x80 /* Greenwald and Khanna's summary */

/* Bits of the covariance and correlation storage codes (ids 20 and 22). */
#define BIX_SS_COV_FULL 0x1         /* p x p row-major, both triangles */
#define BIX_SS_COV_LOWER_PACKED 0x2 /* (i, j), j <= i, at i(i+1)/2 + j; FULL wins when both */

/*
 * Parameter ids of __bix[d|s|i]SSEditTask (d: floating editor, i: integer editor). The status
 * returned for a null value is given beside each.
 */
#define BIX_SS_ID_P 1                    /* i, -4001 */
#define BIX_SS_ID_N 2                    /* i, -4002 */
#define BIX_SS_ID_X 3                    /* d, -4032 */
#define BIX_SS_ID_X_STORAGE 4            /* i, -4044 */
#define BIX_SS_ID_INDICES 5              /* i, -4004 */
#define BIX_SS_ID_WEIGHTS 6              /* d, -4005 */
#define BIX_SS_ID_MEAN 7                 /* d, -4006 */
#define BIX_SS_ID_RAW2 8                 /* d, -4007 */
#define BIX_SS_ID_RAW3 9                 /* d, -4008 */
#define BIX_SS_ID_RAW4 10                /* d, -4009 */
#define BIX_SS_ID_CEN2 11                /* d, -4010 */
#define BIX_SS_ID_CEN3 12                /* d, -4011 */
#define BIX_SS_ID_CEN4 13                /* d, -4012 */
#define BIX_SS_ID_KURTOSIS 14            /* d, -4013 */
#define BIX_SS_ID_SKEWNESS 15            /* d, -4014 */
#define BIX_SS_ID_MIN 16                 /* d, -4015 */
#define BIX_SS_ID_MAX 17                 /* d, -4016 */
#define BIX_SS_ID_VARIATION 18           /* d, -4017 */
#define BIX_SS_ID_COV 19                 /* d, -4018 */
#define BIX_SS_ID_COV_STORAGE 20         /* i, -4044 */
#define BIX_SS_ID_COR 21                 /* d, -4019 */
#define BIX_SS_ID_COR_STORAGE 22         /* i, -4044 */
#define BIX_SS_ID_ACCUM_WEIGHTS 23       /* d, -4020 */
#define BIX_SS_ID_QUANT_NORDERS 24       /* i, -4022 */
#define BIX_SS_ID_QUANT_ORDERS 25        /* d, -4021 */
#define BIX_SS_ID_QUANTILES 26           /* d, -4023 */
#define BIX_SS_ID_ORDER_STATS 27         /* d, -4024 */
#define BIX_SS_ID_ORDER_STATS_STORAGE 44 /* i, -4044 */
#define BIX_SS_ID_STREAM_NPARAMS 62      /* i, -4066 */
#define BIX_SS_ID_STREAM_PARAMS 63       /* d, -4065 */
#define BIX_SS_ID_STREAM_NORDERS 64      /* i, -4069 */
#define BIX_SS_ID_STREAM_ORDERS 65       /* d, -4068 */
#define BIX_SS_ID_STREAM_QUANTILES 66    /* d, -4070 */
/* Ids 28 to 43 and 45 to 61 name the slots of the groups below, in the slot order listed. */

struct BixSSTask;
typedef void (*BixSSCleanup)(struct BixSSTask *task);

/*
 * The task record. Made by __bix[d|s]SSNewTask (zero-filled, 128-byte aligned), released by
 * __bixSSDeleteTask. Integer slots are void * because their width is the task's.
 */
typedef struct BixSSTask {
    uint32_t int_width; /* 0: 32-bit integers, otherwise 64-bit */
    int32_t mode;       /* reserved, 2 */
    int32_t precision;  /* 1: double, 0: single */
    void *p;
    void *n;
    void *indices;
    void *x;
    void *weights;
    void *accum_weights; /* id 23 */
    void *x_storage;
    void *param_cor;         /* id 60 */
    void *param_cor_storage; /* id 61 */
    void *mean;
    void *raw2, *raw3, *raw4;
    void *cen2, *cen3, *cen4;
    void *kurtosis;
    void *skewness;
    void *variation;
    void *min;
    void *max;
    void *cov_storage;
    void *cov;
    void *cor_storage;
    void *cor;
    void *pooled[8]; /* ids 28, 32, 33, 35, 34, 30, 31, 29 */
    void *quant_norders;
    void *quant_orders;
    void *quantiles;
    void *order_stats;
    void *order_stats_storage;
    void *stream_norders;
    void *stream_orders;
    void *stream_quantiles;
    void *stream_state; /* internal, freed by the cleanup hook */
    void *stream_nparams;
    void *stream_params;
    void *robust_nparams;
    void *robust_params;
    void *robust_mean;
    void *robust_cov;
    void *robust_cov_storage;
    void *outlier_nparams;
    void *outlier_params;
    void *outlier_weights;
    void *partial[5];  /* ids 45, 46, 47, 48, 49 */
    void *missing[10]; /* ids 50, 51, 52, 53, 58, 59, 54, 55, 56, 57 */
    int32_t cleanup_count;
    BixSSCleanup cleanup;
} BixSSTask;

#if defined(__cplusplus) && __cplusplus >= 201103L
static_assert(sizeof(void *) == 8, "the task layout is for 64-bit targets");
static_assert(offsetof(BixSSTask, p) == 16, "task layout");
static_assert(offsetof(BixSSTask, min) == 16 + 19 * 8, "task layout");
static_assert(offsetof(BixSSTask, pooled) == 16 + 25 * 8, "task layout");
static_assert(offsetof(BixSSTask, stream_state) == 16 + 41 * 8, "task layout");
static_assert(offsetof(BixSSTask, missing) == 16 + 57 * 8, "task layout");
static_assert(offsetof(BixSSTask, cleanup_count) == 16 + 67 * 8, "task layout");
static_assert(offsetof(BixSSTask, cleanup) == 24 + 67 * 8, "task layout");
static_assert(sizeof(BixSSTask) == 32 + 67 * 8, "task layout");
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
_Static_assert(offsetof(BixSSTask, cleanup) == 24 + 67 * 8, "task layout");
_Static_assert(sizeof(BixSSTask) == 32 + 67 * 8, "task layout");
#endif

#ifdef __cplusplus
}
#endif

#endif /* KORB_SS_TYPES_H */
