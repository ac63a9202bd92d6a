// The data-fitting entry points korb_df_<p><Op>: the kernels' own checks, plus the precision of
// the task (a d entry point given a single-precision task, or the reverse, is refused with
// DF_ERROR_BAD_PRECISION: the kernel would read the caller's arrays at the wrong width), and a
// creation that fails leaves no half-made task in the caller's pointer.
//
// A new data-fitting kernel joins with one forwarding function here and its declaration in
// korb/df.h; the ABI test fails until both exist.
#include <cstdint>

#include "korb/df.h"
#include "korb/kernel/df.h"
#include "public/loader.h"

using korb::pub::kernel_function;

#define KORB_PUB_DF(name)      \
    static const auto kernel = \
        kernel_function<decltype(&korb_df_kernel_##name)>("korb_df_kernel_" #name)

namespace {

// DF_STATUS_OK when task is of precision `precision` (or null: the kernel reports that).
int64_t precision_of(const DfTask *task, int32_t precision) {
    if (task != nullptr && task->precision != precision) return DF_ERROR_BAD_PRECISION;
    return DF_STATUS_OK;
}

template <class F>
int64_t making(DfTask **task, F make) {
    static const auto remove =
        kernel_function<decltype(&korb_df_kernel_DeleteTask)>("korb_df_kernel_DeleteTask");
    if (task == nullptr) return make();
    DfTask *const before = *task;
    const int64_t status = make();
    if (status != DF_STATUS_OK) {
        if (*task != before && *task != nullptr) remove(task);
        *task = before;
    }
    return status;
}

}  // namespace

extern "C" {

KORB_API int64_t korb_df_dNewTask1D(DfTask **task, int64_t nx, const double x[], int64_t xhint,
                                    int64_t ny, const double y[], int64_t yhint) {
    KORB_PUB_DF(dNewTask1D);
    return making(task, [&] { return kernel(task, nx, x, xhint, ny, y, yhint, 0); });
}

KORB_API int64_t korb_df_sNewTask1D(DfTask **task, int64_t nx, const float x[], int64_t xhint,
                                    int64_t ny, const float y[], int64_t yhint) {
    KORB_PUB_DF(sNewTask1D);
    return making(task, [&] { return kernel(task, nx, x, xhint, ny, y, yhint, 0); });
}

KORB_API int64_t korb_df_iEditVal(DfTask *task, int64_t id, int64_t value) {
    KORB_PUB_DF(iEditVal);
    return kernel(task, id, value);
}

#define KORB_PUB_DF_PRECISION(p, T, precision)                                                   \
    KORB_API int64_t korb_df_##p##EditPtr(DfTask *task, int64_t id, const T *ptr) {              \
        KORB_PUB_DF(p##EditPtr);                                                                 \
        if (const int64_t s = precision_of(task, precision)) return s;                           \
        return kernel(task, id, ptr);                                                            \
    }                                                                                            \
    KORB_API int64_t korb_df_##p##EditIdxPtr(DfTask *task, int64_t id, int64_t index,            \
                                             const T *ptr) {                                     \
        KORB_PUB_DF(p##EditIdxPtr);                                                              \
        if (const int64_t s = precision_of(task, precision)) return s;                           \
        return kernel(task, id, index, ptr);                                                     \
    }                                                                                            \
    KORB_API int64_t korb_df_##p##EditPPSpline1D(DfTask *task, int64_t order, int64_t type,      \
                                                 int64_t ic_type, const T ic[], int64_t bc_type, \
                                                 const T bc[], T coeffs[], int64_t coeff_hint) { \
        KORB_PUB_DF(p##EditPPSpline1D);                                                          \
        if (const int64_t s = precision_of(task, precision)) return s;                           \
        return kernel(task, order, type, ic_type, ic, bc_type, bc, coeffs, coeff_hint);          \
    }                                                                                            \
    KORB_API int64_t korb_df_##p##Construct1D(DfTask *task, int64_t format, int64_t method) {    \
        KORB_PUB_DF(p##Construct1D);                                                             \
        if (const int64_t s = precision_of(task, precision)) return s;                           \
        return kernel(task, format, method);                                                     \
    }                                                                                            \
    KORB_API int64_t korb_df_##p##SearchCells1D(DfTask *task, int64_t method, int64_t nsite,     \
                                                const T site[], int64_t sitehint,                \
                                                int64_t cell[]) {                                \
        KORB_PUB_DF(p##SearchCells1D);                                                           \
        if (const int64_t s = precision_of(task, precision)) return s;                           \
        return kernel(task, method, nsite, site, sitehint, cell);                                \
    }                                                                                            \
    KORB_API int64_t korb_df_##p##Interpolate1D(                                                 \
        DfTask *task, int64_t type, int64_t method, int64_t nsite, const T site[],               \
        int64_t sitehint, int64_t ndorder, const int64_t dorder[], T r[], int64_t rhint,         \
        int64_t cell[]) {                                                                        \
        KORB_PUB_DF(p##Interpolate1D);                                                           \
        if (const int64_t s = precision_of(task, precision)) return s;                           \
        return kernel(task, type, method, nsite, site, sitehint, ndorder, dorder, r, rhint,      \
                      cell);                                                                     \
    }                                                                                            \
    KORB_API int64_t korb_df_##p##Integrate1D(DfTask *task, int64_t method, int64_t nlim,        \
                                              const T llim[], int64_t llimhint, const T rlim[],  \
                                              int64_t rlimhint, T r[], int64_t rhint) {          \
        KORB_PUB_DF(p##Integrate1D);                                                             \
        if (const int64_t s = precision_of(task, precision)) return s;                           \
        return kernel(task, method, nlim, llim, llimhint, rlim, rlimhint, r, rhint);             \
    }
KORB_PUB_DF_PRECISION(d, double, DF_PRECISION_DOUBLE)
KORB_PUB_DF_PRECISION(s, float, DF_PRECISION_SINGLE)

KORB_API int64_t korb_df_DeleteTask(DfTask **task) {
    KORB_PUB_DF(DeleteTask);
    return kernel(task);
}

}  // extern "C"
