// The summary-statistics task: creation, the per-id editors and deletion.
//
// One table, indexed by parameter id, gives each id's editor kind, slot and null status; the
// floating and integer editors both read it, so an id belongs to exactly one editor.
#include <cstddef>

#include "korb/kernel/ss.h"
#include "stats/task.h"

namespace korb::stats {
namespace {

enum class Kind : uint8_t { none, floating, integer };

struct IdRow {
    Kind kind;
    uint16_t offset;  // of the slot in BixSSTask
    int null_status;
};

#define KORB_SLOT(kind, field, status) \
    { Kind::kind, offsetof(BixSSTask, field), status }

constexpr int kFirstId = 1;
constexpr int kLastId = 66;

constexpr IdRow kIds[kLastId + 1] = {
    {Kind::none, 0, 0},
    KORB_SLOT(integer, p, BIX_SS_ERROR_BAD_DIMENSION),                        // 1
    KORB_SLOT(integer, n, BIX_SS_ERROR_BAD_NOBS),                             // 2
    KORB_SLOT(floating, x, BIX_SS_ERROR_NULL_X),                              // 3
    KORB_SLOT(integer, x_storage, BIX_SS_ERROR_NULL_STORAGE),                 // 4
    KORB_SLOT(integer, indices, BIX_SS_ERROR_NULL_INDICES),                   // 5
    KORB_SLOT(floating, weights, BIX_SS_ERROR_NULL_WEIGHTS),                  // 6
    KORB_SLOT(floating, mean, BIX_SS_ERROR_NULL_MEAN),                        // 7
    KORB_SLOT(floating, raw2, BIX_SS_ERROR_NULL_RAW2),                        // 8
    KORB_SLOT(floating, raw3, BIX_SS_ERROR_NULL_RAW3),                        // 9
    KORB_SLOT(floating, raw4, BIX_SS_ERROR_NULL_RAW4),                        // 10
    KORB_SLOT(floating, cen2, BIX_SS_ERROR_NULL_CEN2),                        // 11
    KORB_SLOT(floating, cen3, BIX_SS_ERROR_NULL_CEN3),                        // 12
    KORB_SLOT(floating, cen4, BIX_SS_ERROR_NULL_CEN4),                        // 13
    KORB_SLOT(floating, kurtosis, BIX_SS_ERROR_NULL_KURTOSIS),                // 14
    KORB_SLOT(floating, skewness, BIX_SS_ERROR_NULL_SKEWNESS),                // 15
    KORB_SLOT(floating, min, BIX_SS_ERROR_NULL_MIN),                          // 16
    KORB_SLOT(floating, max, BIX_SS_ERROR_NULL_MAX),                          // 17
    KORB_SLOT(floating, variation, BIX_SS_ERROR_NULL_VARIATION),              // 18
    KORB_SLOT(floating, cov, BIX_SS_ERROR_NULL_COV),                          // 19
    KORB_SLOT(integer, cov_storage, BIX_SS_ERROR_NULL_STORAGE),               // 20
    KORB_SLOT(floating, cor, BIX_SS_ERROR_NULL_COR),                          // 21
    KORB_SLOT(integer, cor_storage, BIX_SS_ERROR_NULL_STORAGE),               // 22
    KORB_SLOT(floating, accum_weights, BIX_SS_ERROR_NULL_RUNNING_WEIGHTS),    // 23
    KORB_SLOT(integer, quant_norders, BIX_SS_ERROR_BAD_QUANT_ORDERS),         // 24
    KORB_SLOT(floating, quant_orders, BIX_SS_ERROR_NULL_QUANT_ORDERS),        // 25
    KORB_SLOT(floating, quantiles, BIX_SS_ERROR_NULL_QUANTILES),              // 26
    KORB_SLOT(floating, order_stats, BIX_SS_ERROR_NULL_ORDER_STATS),          // 27
    KORB_SLOT(integer, pooled[0], BIX_SS_ERROR_POOLED_SLOT_5),                // 28
    KORB_SLOT(integer, pooled[7], BIX_SS_ERROR_NULL_STORAGE),                 // 29
    KORB_SLOT(floating, pooled[5], BIX_SS_ERROR_POOLED_SLOT_2),               // 30
    KORB_SLOT(floating, pooled[6], BIX_SS_ERROR_POOLED_SLOT_1),               // 31
    KORB_SLOT(integer, pooled[1], BIX_SS_ERROR_POOLED_SLOT_5),                // 32
    KORB_SLOT(floating, pooled[2], BIX_SS_ERROR_POOLED_SLOT_4),               // 33
    KORB_SLOT(integer, pooled[4], BIX_SS_ERROR_NULL_STORAGE),                 // 34
    KORB_SLOT(floating, pooled[3], BIX_SS_ERROR_POOLED_SLOT_3),               // 35
    KORB_SLOT(integer, robust_cov_storage, BIX_SS_ERROR_NULL_STORAGE),        // 36
    KORB_SLOT(integer, robust_nparams, BIX_SS_ERROR_NULL_ROBUST_NPARAMS),     // 37
    KORB_SLOT(floating, robust_params, BIX_SS_ERROR_NULL_ROBUST_PARAMS),      // 38
    KORB_SLOT(floating, robust_mean, BIX_SS_ERROR_NULL_ROBUST_MEAN),          // 39
    KORB_SLOT(floating, robust_cov, BIX_SS_ERROR_NULL_ROBUST_COV),            // 40
    KORB_SLOT(integer, outlier_nparams, BIX_SS_ERROR_NULL_OUTLIER_NPARAMS),   // 41
    KORB_SLOT(floating, outlier_params, BIX_SS_ERROR_NULL_OUTLIER_PARAMS),    // 42
    KORB_SLOT(floating, outlier_weights, BIX_SS_ERROR_NULL_OUTLIER_WEIGHTS),  // 43
    KORB_SLOT(integer, order_stats_storage, BIX_SS_ERROR_NULL_STORAGE),       // 44
    KORB_SLOT(integer, partial[0], BIX_SS_ERROR_PARTIAL_SLOT_1),              // 45
    KORB_SLOT(floating, partial[1], BIX_SS_ERROR_PARTIAL_SLOT_2),             // 46
    KORB_SLOT(integer, partial[2], BIX_SS_ERROR_NULL_STORAGE),                // 47
    KORB_SLOT(floating, partial[3], BIX_SS_ERROR_PARTIAL_SLOT_3),             // 48
    KORB_SLOT(integer, partial[4], BIX_SS_ERROR_NULL_STORAGE),                // 49
    // The missing-values group is stored in argument order 50, 51, 52, 53, 58, 59, 54, ..., 57.
    KORB_SLOT(integer, missing[0], -4049),                                      // 50
    KORB_SLOT(floating, missing[1], -4048),                                     // 51
    KORB_SLOT(integer, missing[2], -4052),                                      // 52
    KORB_SLOT(floating, missing[3], -4053),                                     // 53
    KORB_SLOT(integer, missing[6], -4055),                                      // 54
    KORB_SLOT(floating, missing[7], -4054),                                     // 55
    KORB_SLOT(integer, missing[8], -4056),                                      // 56
    KORB_SLOT(floating, missing[9], -4057),                                     // 57
    KORB_SLOT(integer, missing[4], -4061),                                      // 58
    KORB_SLOT(floating, missing[5], -4062),                                     // 59
    KORB_SLOT(floating, param_cor, BIX_SS_ERROR_NULL_PARAMETRIZED_COR),         // 60
    KORB_SLOT(integer, param_cor_storage, BIX_SS_ERROR_NULL_STORAGE),           // 61
    KORB_SLOT(integer, stream_nparams, BIX_SS_ERROR_BAD_STREAM_NPARAMS),        // 62
    KORB_SLOT(floating, stream_params, BIX_SS_ERROR_NULL_STREAM_PARAMS),        // 63
    KORB_SLOT(integer, stream_norders, BIX_SS_ERROR_BAD_STREAM_ORDERS),         // 64
    KORB_SLOT(floating, stream_orders, BIX_SS_ERROR_NULL_STREAM_ORDERS),        // 65
    KORB_SLOT(floating, stream_quantiles, BIX_SS_ERROR_NULL_STREAM_QUANTILES),  // 66
};
#undef KORB_SLOT

// The floating editor takes ids 3 to 66, the integer editor 1 to 64; within its range an
// editor takes only the ids of its kind.
int edit(BixSSTask *task, int id, const void *value, Kind kind) {
    if (task == nullptr) return BIX_SS_ERROR_NULL_TASK;
    const int lo = kind == Kind::floating ? 3 : kFirstId;
    const int hi = kind == Kind::floating ? kLastId : 64;
    if (id < lo || id > hi || kIds[id].kind != kind) return BIX_ERROR_BADARGS;
    if (value == nullptr) return kIds[id].null_status;
    void *slot = reinterpret_cast<unsigned char *>(task) + kIds[id].offset;
    void *stored = const_cast<void *>(value);
    std::memcpy(slot, &stored, sizeof stored);
    return BIX_ERROR_OK;
}

int new_task(BixSSTask **task_out, const void *p, const void *n, const void *xstorage,
             const void *x, const void *weights, const void *indices, int int_width,
             int32_t precision) {
    BixSSTask probe{};  // for reading the caller's integers at the requested width
    probe.int_width = int_width != 0 ? 1 : 0;
    if (p == nullptr || read_int(&probe, p) < 1) return BIX_SS_ERROR_BAD_DIMENSION;
    if (x != nullptr) {
        if (xstorage == nullptr) return BIX_SS_ERROR_NULL_STORAGE;
        const int64_t storage = read_int(&probe, xstorage);
        if (storage != BIX_SS_MATRIX_STORAGE_ROWS && storage != BIX_SS_MATRIX_STORAGE_COLS) {
            return BIX_SS_ERROR_BAD_STORAGE;
        }
        if (n == nullptr || read_int(&probe, n) < 1) return BIX_SS_ERROR_BAD_NOBS;
    }
    // Not among the listed checks: a null place for the record is refused last.
    if (task_out == nullptr) return BIX_SS_ERROR_NULL_TASK;
    auto *task = static_cast<BixSSTask *>(korbAlignedAlloc(sizeof(BixSSTask), 128));
    if (task == nullptr) {
        *task_out = nullptr;
        return BIX_SS_ERROR_MEM_FAILURE;
    }
    std::memset(static_cast<void *>(task), 0, sizeof *task);
    task->int_width = static_cast<uint32_t>(int_width);
    task->mode = 2;
    task->precision = precision;
    task->p = const_cast<void *>(p);
    task->n = const_cast<void *>(n);
    task->x = const_cast<void *>(x);
    task->x_storage = const_cast<void *>(xstorage);
    task->weights = const_cast<void *>(weights);
    task->indices = const_cast<void *>(indices);
    *task_out = task;
    return BIX_ERROR_OK;
}

}  // namespace
}  // namespace korb::stats

using namespace korb::stats;

extern "C" {

int __bixdSSNewTask(BixSSTask **task, const void *p, const void *n, const void *xstorage,
                    const double *x, const double *weights, const void *indices, int int_width) {
    return new_task(task, p, n, xstorage, x, weights, indices, int_width, 1);
}

int __bixsSSNewTask(BixSSTask **task, const void *p, const void *n, const void *xstorage,
                    const float *x, const float *weights, const void *indices, int int_width) {
    return new_task(task, p, n, xstorage, x, weights, indices, int_width, 0);
}

int __bixdSSEditTask(BixSSTask *task, int id, const double *value) {
    return edit(task, id, value, Kind::floating);
}

int __bixsSSEditTask(BixSSTask *task, int id, const float *value) {
    return edit(task, id, value, Kind::floating);
}

int __bixiSSEditTask(BixSSTask *task, int id, const void *value) {
    return edit(task, id, value, Kind::integer);
}

// Hooks are called while the count allows, re-read after each call, so that a hook may
// register or retire hooks; the record has one hook slot, so every call goes to it.
int __bixSSDeleteTask(BixSSTask **task) {
    if (task == nullptr || *task == nullptr) return BIX_SS_ERROR_NULL_TASK;
    BixSSTask *t = *task;
    for (int32_t i = 0; i < t->cleanup_count; ++i) {
        if (t->cleanup != nullptr) t->cleanup(t);
    }
    korbAlignedFree(t);
    *task = nullptr;
    return BIX_ERROR_OK;
}

}  // extern "C"
