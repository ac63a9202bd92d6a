// The bulk editors: each stores a fixed group of slots at once. A null argument leaves its slot
// as it was, so a caller may edit any part of a group. Every editor is written once and
// instantiated for double (d) and single (s) precision, which differ only in the pointer type
// of the floating arguments.
#include <cstddef>
#include <cstring>
#include <initializer_list>

#include "korb/kernel/ss.h"

namespace korb::stats {
namespace {

struct Edit {
    size_t offset;  // of the slot in BixSSTask
    const void *value;
};

int store(BixSSTask *task, std::initializer_list<Edit> edits) {
    if (task == nullptr) return BIX_SS_ERROR_NULL_TASK;
    for (const Edit &e : edits) {
        if (e.value == nullptr) continue;
        void *stored = const_cast<void *>(e.value);
        std::memcpy(reinterpret_cast<unsigned char *>(task) + e.offset, &stored, sizeof stored);
    }
    return BIX_ERROR_OK;
}

}  // namespace
}  // namespace korb::stats

using korb::stats::store;

#define KORB_AT(field) offsetof(BixSSTask, field)

#define KORB_EDIT_MOMENTS(P, F)                                                               \
    int __bix##P##SSEditMoments(BixSSTask *task, F *mean, F *raw2, F *raw3, F *raw4, F *cen2, \
                                F *cen3, F *cen4) {                                           \
        return store(task, {{KORB_AT(mean), mean},                                            \
                            {KORB_AT(raw2), raw2},                                            \
                            {KORB_AT(raw3), raw3},                                            \
                            {KORB_AT(raw4), raw4},                                            \
                            {KORB_AT(cen2), cen2},                                            \
                            {KORB_AT(cen3), cen3},                                            \
                            {KORB_AT(cen4), cen4}});                                          \
    }

#define KORB_EDIT_COVCOR(P, F)                                                              \
    int __bix##P##SSEditCovCor(BixSSTask *task, F *mean, F *cov, void *cov_storage, F *cor, \
                               void *cor_storage) {                                         \
        return store(task, {{KORB_AT(mean), mean},                                          \
                            {KORB_AT(cov), cov},                                            \
                            {KORB_AT(cov_storage), cov_storage},                            \
                            {KORB_AT(cor), cor},                                            \
                            {KORB_AT(cor_storage), cor_storage}});                          \
    }

#define KORB_EDIT_MTX_PARAMETRZ(P, F)                                                          \
    int __bix##P##SSEditMtxParametrz(BixSSTask *task, F *cor, void *cor_storage, F *param_cor, \
                                     void *param_cor_storage) {                                \
        return store(task, {{KORB_AT(cor), cor},                                               \
                            {KORB_AT(cor_storage), cor_storage},                               \
                            {KORB_AT(param_cor), param_cor},                                   \
                            {KORB_AT(param_cor_storage), param_cor_storage}});                 \
    }

#define KORB_EDIT_OUT_DETECT(P, F)                                                         \
    int __bix##P##SSEditOutDetect(BixSSTask *task, void *nparams, F *params, F *weights) { \
        return store(task, {{KORB_AT(outlier_nparams), nparams},                           \
                            {KORB_AT(outlier_params), params},                             \
                            {KORB_AT(outlier_weights), weights}});                         \
    }

// The pooled slots lie in the record in the order of ids 28, 32, 33, 35, 34, 30, 31, 29.
#define KORB_EDIT_POOLED(P, F)                                                          \
    int __bix##P##SSEditPooledCovariance(BixSSTask *task, void *id28, F *id30, F *id31, \
                                         void *id32, F *id33, F *id35) {                \
        return store(task, {{KORB_AT(pooled[0]), id28},                                 \
                            {KORB_AT(pooled[5]), id30},                                 \
                            {KORB_AT(pooled[6]), id31},                                 \
                            {KORB_AT(pooled[1]), id32},                                 \
                            {KORB_AT(pooled[2]), id33},                                 \
                            {KORB_AT(pooled[3]), id35}});                               \
    }

#define KORB_EDIT_QUANTILES(P, F)                                                          \
    int __bix##P##SSEditQuantiles(BixSSTask *task, void *norders, F *orders, F *quantiles, \
                                  F *order_stats, void *order_stats_storage) {             \
        return store(task, {{KORB_AT(quant_norders), norders},                             \
                            {KORB_AT(quant_orders), orders},                               \
                            {KORB_AT(quantiles), quantiles},                               \
                            {KORB_AT(order_stats), order_stats},                           \
                            {KORB_AT(order_stats_storage), order_stats_storage}});         \
    }

// The missing-values slots lie in the record in argument order.
#define KORB_EDIT_MISSING_VALS(P, F)                                                           \
    int __bix##P##SSEditMissingVals(BixSSTask *task, void *id50, F *id51, void *id52, F *id53, \
                                    void *id58, F *id59, void *id54, F *id55, void *id56,      \
                                    F *id57) {                                                 \
        return store(task, {{KORB_AT(missing[0]), id50},                                       \
                            {KORB_AT(missing[1]), id51},                                       \
                            {KORB_AT(missing[2]), id52},                                       \
                            {KORB_AT(missing[3]), id53},                                       \
                            {KORB_AT(missing[4]), id58},                                       \
                            {KORB_AT(missing[5]), id59},                                       \
                            {KORB_AT(missing[6]), id54},                                       \
                            {KORB_AT(missing[7]), id55},                                       \
                            {KORB_AT(missing[8]), id56},                                       \
                            {KORB_AT(missing[9]), id57}});                                     \
    }

#define KORB_EDIT_PARTIAL_COVCOR(P, F)                                                         \
    int __bix##P##SSEditPartialCovCor(BixSSTask *task, void *id45, F *cov, void *cov_storage,  \
                                      F *cor, void *cor_storage, F *id46, void *id47, F *id48, \
                                      void *id49) {                                            \
        return store(task, {{KORB_AT(partial[0]), id45},                                       \
                            {KORB_AT(cov), cov},                                               \
                            {KORB_AT(cov_storage), cov_storage},                               \
                            {KORB_AT(cor), cor},                                               \
                            {KORB_AT(cor_storage), cor_storage},                               \
                            {KORB_AT(partial[1]), id46},                                       \
                            {KORB_AT(partial[2]), id47},                                       \
                            {KORB_AT(partial[3]), id48},                                       \
                            {KORB_AT(partial[4]), id49}});                                     \
    }

#define KORB_EDIT_RCOV(P, F)                                                               \
    int __bix##P##SSEditRCov(BixSSTask *task, void *cov_storage, void *nparams, F *params, \
                             F *mean, F *cov) {                                            \
        return store(task, {{KORB_AT(robust_cov_storage), cov_storage},                    \
                            {KORB_AT(robust_nparams), nparams},                            \
                            {KORB_AT(robust_params), params},                              \
                            {KORB_AT(robust_mean), mean},                                  \
                            {KORB_AT(robust_cov), cov}});                                  \
    }

#define KORB_EDIT_STREAM_QUANTILES(P, F)                                                         \
    int __bix##P##SSEditStreamQuantiles(BixSSTask *task, void *norders, F *orders, F *quantiles, \
                                        void *nparams, F *params) {                              \
        return store(task, {{KORB_AT(stream_norders), norders},                                  \
                            {KORB_AT(stream_orders), orders},                                    \
                            {KORB_AT(stream_quantiles), quantiles},                              \
                            {KORB_AT(stream_nparams), nparams},                                  \
                            {KORB_AT(stream_params), params}});                                  \
    }

#define KORB_BULK_EDITORS(X)    \
    X(KORB_EDIT_MOMENTS)        \
    X(KORB_EDIT_COVCOR)         \
    X(KORB_EDIT_MTX_PARAMETRZ)  \
    X(KORB_EDIT_OUT_DETECT)     \
    X(KORB_EDIT_POOLED)         \
    X(KORB_EDIT_QUANTILES)      \
    X(KORB_EDIT_MISSING_VALS)   \
    X(KORB_EDIT_PARTIAL_COVCOR) \
    X(KORB_EDIT_RCOV)           \
    X(KORB_EDIT_STREAM_QUANTILES)

#define KORB_BOTH_PRECISIONS(editor) editor(d, double) editor(s, float)

extern "C" {
KORB_BULK_EDITORS(KORB_BOTH_PRECISIONS)
}  // extern "C"
