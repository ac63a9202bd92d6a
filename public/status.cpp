// korbStatusText, korbGetClass and korbGetVersion.
#include "frame/cpu.h"
#include "korb/korb.h"
#include "public/loader.h"

namespace {

struct Text {
    int status;
    const char *text;
};

constexpr Text kVm[] = {
    {0, "ARQ_STATUS_OK: no error"},
    {-1, "ARQ_STATUS_BADSIZE: the array size is not positive; nothing was computed"},
    {-2, "ARQ_STATUS_BADMEM: a vector is NULL; nothing was computed"},
    {1, "ARQ_STATUS_ERRDOM: an argument is outside the function's domain"},
    {2, "ARQ_STATUS_SING: an argument is a singularity of the function"},
    {3, "ARQ_STATUS_OVERFLOW: a result overflowed"},
    {4, "ARQ_STATUS_UNDERFLOW: a result underflowed"},
};

// The random-number codes; the statistics functions also return the two general ones.
constexpr Text kRng[] = {
    {0, "BIX_ERROR_OK: success"},
    {-2, "BIX_ERROR_BADMETHOD: the method is not one this function has"},
    {-3, "BIX_ERROR_BADARGS: an argument is out of range (a size, a count, a parameter)"},
    {-4, "BIX_ERROR_MEM_FAILURE: memory could not be allocated"},
    {-5, "BIX_ERROR_NULL_PTR: a required pointer is NULL"},
    {-1000, "BIX_ERROR_INVALID_BRNG: no registered generator has this id"},
    {-1002, "BIX_ERROR_LEAPFROG_UNSUPPORTED: the generator has no leapfrog"},
    {-1003, "BIX_ERROR_SKIPAHEAD_UNSUPPORTED: the generator has no skip-ahead"},
    {-1008, "BIX_ERROR_BAD_STREAM_STATE_SIZE: a registration gives a negative state size"},
    {-1009, "BIX_ERROR_BAD_WORD_SIZE: a registration gives a word size other than 4, 8 or 16"},
    {-1010, "BIX_ERROR_BAD_NSEEDS: a registration gives fewer than 1 state word"},
    {-1011, "BIX_ERROR_BAD_NBITS: a registration gives fewer than 1 significant bit"},
    {-1012, "BIX_ERROR_QRNG_PERIOD_ELAPSED: the quasi-random sequence is used up"},
    {-1013, "BIX_ERROR_LEAPFROG_NSTREAMS_TOO_BIG: leapfrog with a negative stream count"},
    {-1014, "BIX_ERROR_BRNG_NOT_SUPPORTED: the generator cannot give these uniform bits"},
    {-1100, "BIX_ERROR_FILE_CLOSE: the stream file could not be closed"},
    {-1101, "BIX_ERROR_FILE_OPEN: the stream file could not be opened"},
    {-1102, "BIX_ERROR_FILE_WRITE: writing the stream file failed"},
    {-1103, "BIX_ERROR_FILE_READ: reading the stream file failed"},
    {-1110, "BIX_ERROR_BAD_FILE_FORMAT: the file holds no stream image this library reads"},
    {-1111, "BIX_ERROR_UNSUPPORTED_FILE_VER: the stream image's version is not supported"},
    {-1120, "BIX_ERROR_ARS_BADCALLBACK: an abstract stream's refill returned a bad count"},
    {-1121, "BIX_ERROR_ARS_NODATA: an abstract stream's refill returned no numbers"},
    {-1122, "BIX_ERROR_ARS_UNSUPPORTED_PRECISION: the abstract stream lacks this precision"},
    {-1130, "BIX_ERROR_NONDETERM_NOT_SUPPORTED: no hardware random-number instruction"},
    {-1200, "BIX_ERROR_BAD_MEM_FORMAT: the memory holds no stream image this library reads"},
    {-3000, "BIX_ERROR_GLOBAL_DATA_NOT_FOUND: the shared data table has no entry with this id"},
    {-3001, "BIX_ERROR_GLOBAL_DATA_TABLE_FULL: the shared data table is full"},
};

constexpr Text kSs[] = {
    {0, "BIX_ERROR_OK: success"},
    {-3, "BIX_ERROR_BADARGS: an editor's id is not one it takes, or the task's precision differs"},
    {-4000, "BIX_SS_ERROR_MEM_FAILURE: memory could not be allocated"},
    {-4001, "BIX_SS_ERROR_BAD_DIMENSION: the number of variables p is missing or below 1"},
    {-4002, "BIX_SS_ERROR_BAD_NOBS: the number of observations n is missing or out of range"},
    {-4003, "BIX_SS_ERROR_BAD_STORAGE: a storage code is not one the estimate accepts"},
    {-4004, "BIX_SS_ERROR_NULL_INDICES: the variable indices are NULL"},
    {-4005, "BIX_SS_ERROR_NULL_WEIGHTS: the weights are NULL"},
    {-4006, "BIX_SS_ERROR_NULL_MEAN: the mean array is not set"},
    {-4007, "BIX_SS_ERROR_NULL_RAW2: the raw moment 2 array is not set"},
    {-4008, "BIX_SS_ERROR_NULL_RAW3: the raw moment 3 array is not set"},
    {-4009, "BIX_SS_ERROR_NULL_RAW4: the raw moment 4 array is not set"},
    {-4010, "BIX_SS_ERROR_NULL_CEN2: the central moment 2 array is not set"},
    {-4011, "BIX_SS_ERROR_NULL_CEN3: the central moment 3 array is not set"},
    {-4012, "BIX_SS_ERROR_NULL_CEN4: the central moment 4 array is not set"},
    {-4013, "BIX_SS_ERROR_NULL_KURTOSIS: the kurtosis array is not set"},
    {-4014, "BIX_SS_ERROR_NULL_SKEWNESS: the skewness array is not set"},
    {-4015, "BIX_SS_ERROR_NULL_MIN: the minimum array is not set"},
    {-4016, "BIX_SS_ERROR_NULL_MAX: the maximum array is not set"},
    {-4017, "BIX_SS_ERROR_NULL_VARIATION: the variation array is not set"},
    {-4018, "BIX_SS_ERROR_NULL_COV: the covariance array is not set"},
    {-4019, "BIX_SS_ERROR_NULL_COR: the correlation array is not set"},
    {-4020, "BIX_SS_ERROR_NULL_RUNNING_WEIGHTS: the accumulated-weights array is not set"},
    {-4021, "BIX_SS_ERROR_NULL_QUANT_ORDERS: the quantile orders are not set"},
    {-4022, "BIX_SS_ERROR_BAD_QUANT_ORDERS: a quantile order, or their count, is out of range"},
    {-4023, "BIX_SS_ERROR_NULL_QUANTILES: the quantile array is not set"},
    {-4024, "BIX_SS_ERROR_NULL_ORDER_STATS: the order-statistics array is not set"},
    {-4025, "BIX_SS_ERROR_NO_ESTIMATOR: an estimate bit that no built estimator computes"},
    {-4027, "BIX_SS_ERROR_NULL_ROBUST_COV: the robust covariance array is not set"},
    {-4028, "BIX_SS_ERROR_NULL_ROBUST_MEAN: the robust mean array is not set"},
    {-4029, "BIX_SS_ERROR_BAD_METHOD: the method is not one the estimator has"},
    {-4031, "BIX_SS_ERROR_NULL_TASK: the task is NULL"},
    {-4032, "BIX_SS_ERROR_NULL_X: the observation matrix is NULL"},
    {-4034, "BIX_SS_ERROR_POOLED_SLOT_1: a pooled-covariance slot (id 28) is not set"},
    {-4035, "BIX_SS_ERROR_POOLED_SLOT_2: a pooled-covariance slot (ids 30, 31) is not set"},
    {-4036, "BIX_SS_ERROR_POOLED_SLOT_3: a pooled-covariance slot (id 32) is not set"},
    {-4037, "BIX_SS_ERROR_POOLED_SLOT_4: a pooled-covariance slot (id 33) is not set"},
    {-4038, "BIX_SS_ERROR_POOLED_SLOT_5: a pooled-covariance slot (id 35) is not set"},
    {-4039, "BIX_SS_ERROR_NULL_OUTLIER_PARAMS: the outlier-detection parameters are not set"},
    {-4040, "BIX_SS_ERROR_NULL_OUTLIER_NPARAMS: the outlier parameter count is not set"},
    {-4041, "BIX_SS_ERROR_NULL_OUTLIER_WEIGHTS: the outlier weights are not set"},
    {-4042, "BIX_SS_ERROR_NULL_ROBUST_PARAMS: the robust-estimate parameters are not set"},
    {-4043, "BIX_SS_ERROR_NULL_ROBUST_NPARAMS: the robust parameter count is not set"},
    {-4044, "BIX_SS_ERROR_NULL_STORAGE: a storage code is not set"},
    {-4045, "BIX_SS_ERROR_PARTIAL_SLOT_1: a partial covariance slot is not set"},
    {-4046, "BIX_SS_ERROR_PARTIAL_SLOT_2: a partial covariance slot is not set"},
    {-4047, "BIX_SS_ERROR_PARTIAL_SLOT_3: a partial covariance slot is not set"},
    {-4048, "BIX_SS_ERROR_NULL_MISSING_VALS_SLOT: a missing-values slot is not set"},
    {-4064, "BIX_SS_ERROR_NULL_STREAM_NPARAMS: the streaming parameter count is not set"},
    {-4065, "BIX_SS_ERROR_NULL_STREAM_PARAMS: the streaming parameters are not set"},
    {-4066, "BIX_SS_ERROR_BAD_STREAM_NPARAMS: the streaming parameter count is not 1"},
    {-4067, "BIX_SS_ERROR_BAD_STREAM_EPSILON: the streaming accuracy is outside (0, 1]"},
    {-4068, "BIX_SS_ERROR_NULL_STREAM_ORDERS: the streaming quantile orders are not set"},
    {-4069, "BIX_SS_ERROR_BAD_STREAM_ORDERS: a streaming order, or their count, is out of range"},
    {-4070, "BIX_SS_ERROR_NULL_STREAM_QUANTILES: the streaming quantile array is not set"},
    {-4071, "BIX_SS_ERROR_NULL_PARAMETRIZED_COR: the parametrized correlation is not set"},
};

constexpr Text kDf[] = {
    {0, "DF_STATUS_OK: success"},
    {-1000, "DF_ERROR_NULL_TASK: the task is NULL"},
    {-1001, "DF_ERROR_MEM_FAILURE: memory could not be allocated"},
    {-1004, "DF_ERROR_BAD_NX: fewer than 2 partition points"},
    {-1005, "DF_ERROR_NULL_X: the partition is NULL"},
    {-1006, "DF_ERROR_BAD_XHINT: the partition hint is not accepted"},
    {-1007, "DF_ERROR_BAD_NY: the number of functions is out of range"},
    {-1008, "DF_ERROR_NULL_Y: the function values are NULL"},
    {-1009, "DF_ERROR_BAD_YHINT: the function-values hint is not accepted"},
    {-1010, "DF_ERROR_BAD_SPLINE_ORDER: no kernel builds a spline of this order"},
    {-1011, "DF_ERROR_BAD_SPLINE_TYPE: the spline type is not accepted"},
    {-1012, "DF_ERROR_BAD_BC_TYPE: the boundary-condition type is not accepted"},
    {-1013, "DF_ERROR_NULL_BC: the boundary-condition values are NULL"},
    {-1014, "DF_ERROR_BAD_IC_TYPE: the internal-condition type is not accepted"},
    {-1015, "DF_ERROR_NULL_IC: the internal-condition values are NULL"},
    {-1016, "DF_ERROR_NULL_COEFF: the coefficient array is NULL"},
    {-1017, "DF_ERROR_BAD_COEFF_HINT: the coefficient hint is not accepted"},
    {-1018, "DF_ERROR_BAD_PRECISION: the task's precision differs from the function's"},
    {-1019, "DF_ERROR_BAD_PARAM_ID: the editor does not take this attribute id"},
    {-1020, "DF_ERROR_BAD_FUNC_INDEX: the function index is out of range"},
    {-1021, "DF_ERROR_BAD_FORMAT: the construction format is not DF_PP_SPLINE"},
    {-1022, "DF_ERROR_BAD_METHOD: the construction method is not DF_METHOD_STD"},
    {-1023, "DF_ERROR_BAD_PARTITION: the partition is not finite and strictly increasing"},
    {-1024, "DF_ERROR_BAD_PERIODIC_VAL: a periodic spline's first and last values differ"},
    {-1025, "DF_ERROR_TOO_FEW_POINTS: too few points for the spline and its conditions"},
    {-1026, "DF_ERROR_BAD_NSITE: the number of sites is negative or too large"},
    {-1027, "DF_ERROR_NULL_SITE: the sites are NULL"},
    {-1028, "DF_ERROR_BAD_SITE_HINT: the site hint is not accepted"},
    {-1029, "DF_ERROR_NULL_CELL: the cell array is NULL"},
    {-1030, "DF_ERROR_BAD_INTERP_TYPE: the interpolation type is not accepted"},
    {-1031, "DF_ERROR_BAD_NDORDER: the number of derivative orders is out of range"},
    {-1032, "DF_ERROR_NULL_DORDER: the derivative orders are NULL"},
    {-1033, "DF_ERROR_NULL_RESULT: the result array is NULL"},
    {-1034, "DF_ERROR_BAD_RESULT_HINT: the result layout is not accepted"},
    {-1035, "DF_ERROR_BAD_NLIM: the number of limits is negative or too large"},
    {-1036, "DF_ERROR_NULL_LLIM: the left limits are NULL"},
    {-1037, "DF_ERROR_BAD_LLIM_HINT: the left-limit hint is not accepted"},
    {-1038, "DF_ERROR_NULL_RLIM: the right limits are NULL"},
    {-1039, "DF_ERROR_BAD_RLIM_HINT: the right-limit hint is not accepted"},
};

template <size_t N>
const char *find(const Text (&table)[N], int status) {
    for (const Text &t : table) {
        if (t.status == status) return t.text;
    }
    return "unknown status";
}

}  // namespace

extern "C" {

KORB_API const char *korbStatusText(int family, int status) {
    switch (family) {
        case KORB_FAMILY_VM:
            return find(kVm, status);
        case KORB_FAMILY_RNG:
            return find(kRng, status);
        case KORB_FAMILY_SS:
            return find(kSs, status);
        case KORB_FAMILY_DF:
            return find(kDf, status);
        default:
            return "unknown status";
    }
}

KORB_API int korbGetClass(void) {
    return korb::pub::kernel_class();
}

KORB_API int korbGetCpuType(int *forced) {
    bool is_forced = false;
    const int cls = korb::frame::processor_class(&is_forced);
    if (forced != nullptr) *forced = is_forced ? 1 : 0;
    return cls;
}

#define KORB_PUB_STR(x) KORB_PUB_STR_(x)
#define KORB_PUB_STR_(x) #x
KORB_API const char *korbGetVersion(void) {
    return KORB_PUB_STR(KORB_VERSION_MAJOR) "." KORB_PUB_STR(KORB_VERSION_MINOR) "." KORB_PUB_STR(
        KORB_VERSION_PATCH);
}

}  // extern "C"
