// The summary-statistics entry points: task creation with 32-bit integers, the editors, and
// bix[d|s]SSCompute, which hands each requested estimate to the estimator that computes it.
//
// The estimators check the task's slots themselves (each before it writes anything); the public
// layer adds what they cannot see: a task of the other precision, an estimate bit no estimator
// computes (BIX_SS_ERROR_NO_ESTIMATOR), a failed creation that would touch the caller's pointer.
#include <cstdint>

#include "korb/kernel/ss.h"
#include "korb/ss.h"
#include "public/loader.h"

namespace korb::pub {
namespace {

using EstimatorFn = int (*)(BixSSTask *, uint64_t, int);

// One estimator kernel: the estimate bits it computes and the method bits it reads. Compute runs
// the estimators in this order. A new estimator joins the public layer with one row here (and
// its bits leave BIX_SS_ERROR_NO_ESTIMATOR).
struct Estimator {
    uint64_t estimates;
    int methods;
    const char *kernel;  // the kernel's name after "_bix<p>SS"
};
constexpr Estimator kEstimators[] = {
    {BIX_SS_EST_MIN | BIX_SS_EST_MAX, 0x3, "Minmax"},
    {BIX_SS_EST_MEAN | BIX_SS_EST_RAW2 | BIX_SS_EST_RAW3 | BIX_SS_EST_RAW4 | BIX_SS_EST_CEN2 |
         BIX_SS_EST_CEN3 | BIX_SS_EST_CEN4 | BIX_SS_EST_KURTOSIS | BIX_SS_EST_SKEWNESS |
         BIX_SS_EST_VARIATION | BIX_SS_EST_COV | BIX_SS_EST_COR,
     BIX_SS_METHOD_TWO_PASS | BIX_SS_METHOD_ONE_PASS | BIX_SS_METHOD_GIVEN_MEAN, "Basic"},
    {BIX_SS_EST_QUANTILES | BIX_SS_EST_ORDER_STATS, BIX_SS_METHOD_QUANTILES, "Quantiles"},
    {BIX_SS_EST_STREAM_QUANTILES, BIX_SS_METHOD_STREAM_ZW | BIX_SS_METHOD_STREAM_GK,
     "StreamQuantiles"},
};
constexpr int kEstimatorCount = sizeof kEstimators / sizeof kEstimators[0];

constexpr uint64_t computed_bits() {
    uint64_t bits = 0;
    for (const Estimator &e : kEstimators) bits |= e.estimates;
    return bits;
}

// The kernels of one precision, looked up on the first Compute.
template <char P>
struct Kernels {
    EstimatorFn fn[kEstimatorCount];
    Kernels() {
        for (int k = 0; k < kEstimatorCount; ++k) {
            char name[64] = "_bix";
            name[4] = P;
            int at = 5;
            for (const char *s = "SS"; *s != '\0';) name[at++] = *s++;
            for (const char *s = kEstimators[k].kernel; *s != '\0' && at < 63;) name[at++] = *s++;
            name[at] = '\0';
            fn[k] = kernel_function<EstimatorFn>(name);
        }
    }
};

template <char P>
int compute(BixSSTask *task, uint64_t estimates, int method) {
    if (task == nullptr) return BIX_SS_ERROR_NULL_TASK;
    if (task->precision != (P == 'd' ? 1 : 0)) return BIX_ERROR_BADARGS;
    if ((estimates & ~computed_bits()) != 0) return BIX_SS_ERROR_NO_ESTIMATOR;
    static const Kernels<P> kernels;
    for (int k = 0; k < kEstimatorCount; ++k) {
        const uint64_t mine = estimates & kEstimators[k].estimates;
        if (mine == 0) continue;
        const int status = kernels.fn[k](task, mine, method & kEstimators[k].methods);
        if (status != BIX_ERROR_OK) return status;
    }
    return BIX_ERROR_OK;
}

template <class F>
int making(BixSSTask **task, F make) {
    if (task == nullptr) return make();
    BixSSTask *const before = *task;
    const int status = make();
    if (status != BIX_ERROR_OK) *task = before;
    return status;
}

}  // namespace
}  // namespace korb::pub

using korb::pub::kernel_function;

#define KORB_PUB_SS(name) \
    static const auto kernel = kernel_function<decltype(&__bix##name)>("__bix" #name)

extern "C" {

KORB_API int bixdSSNewTask(BixSSTask **task, const int *p, const int *n, const int *xstorage,
                           const double *x, const double *weights, const int *indices) {
    KORB_PUB_SS(dSSNewTask);
    return korb::pub::making(task,
                             [&] { return kernel(task, p, n, xstorage, x, weights, indices, 0); });
}

KORB_API int bixsSSNewTask(BixSSTask **task, const int *p, const int *n, const int *xstorage,
                           const float *x, const float *weights, const int *indices) {
    KORB_PUB_SS(sSSNewTask);
    return korb::pub::making(task,
                             [&] { return kernel(task, p, n, xstorage, x, weights, indices, 0); });
}

KORB_API int bixdSSEditTask(BixSSTask *task, int id, const double *value) {
    KORB_PUB_SS(dSSEditTask);
    return kernel(task, id, value);
}
KORB_API int bixsSSEditTask(BixSSTask *task, int id, const float *value) {
    KORB_PUB_SS(sSSEditTask);
    return kernel(task, id, value);
}
KORB_API int bixiSSEditTask(BixSSTask *task, int id, const int *value) {
    KORB_PUB_SS(iSSEditTask);
    return kernel(task, id, value);
}

#define KORB_PUB_EDITORS(p, T)                                                                    \
    KORB_API int bix##p##SSEditMoments(BixSSTask *task, T *mean, T *raw2, T *raw3, T *raw4,       \
                                       T *cen2, T *cen3, T *cen4) {                               \
        KORB_PUB_SS(p##SSEditMoments);                                                            \
        return kernel(task, mean, raw2, raw3, raw4, cen2, cen3, cen4);                            \
    }                                                                                             \
    KORB_API int bix##p##SSEditCovCor(BixSSTask *task, T *mean, T *cov, int *cov_storage, T *cor, \
                                      int *cor_storage) {                                         \
        KORB_PUB_SS(p##SSEditCovCor);                                                             \
        return kernel(task, mean, cov, cov_storage, cor, cor_storage);                            \
    }                                                                                             \
    KORB_API int bix##p##SSEditQuantiles(BixSSTask *task, int *norders, T *orders, T *quantiles,  \
                                         T *order_stats, int *order_stats_storage) {              \
        KORB_PUB_SS(p##SSEditQuantiles);                                                          \
        return kernel(task, norders, orders, quantiles, order_stats, order_stats_storage);        \
    }                                                                                             \
    KORB_API int bix##p##SSEditStreamQuantiles(BixSSTask *task, int *norders, T *orders,          \
                                               T *quantiles, int *nparams, T *params) {           \
        KORB_PUB_SS(p##SSEditStreamQuantiles);                                                    \
        return kernel(task, norders, orders, quantiles, nparams, params);                         \
    }                                                                                             \
    KORB_API int bix##p##SSCompute(BixSSTask *task, uint64_t estimates, int method) {             \
        return korb::pub::compute<(#p)[0]>(task, estimates, method);                              \
    }
KORB_PUB_EDITORS(d, double)
KORB_PUB_EDITORS(s, float)

KORB_API int bixSSDeleteTask(BixSSTask **task) {
    KORB_PUB_SS(SSDeleteTask);
    return kernel(task);
}

}  // extern "C"
