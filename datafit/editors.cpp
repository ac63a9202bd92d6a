// Editors of the data-fitting task: one integer attribute, one pointer attribute, one function's
// pointer, or the whole spline model at once.
//
// The d and s forms share one body each and pass their element size, which only the pointer
// arithmetic of the task-owned arrays uses.
#include <cstdint>

#include "korb/kernel/df.h"
#include "task.h"

namespace korb::datafit {
namespace {

// One integer attribute of iEditVal: the field it sets, what it accepts, the code otherwise.
struct ValueAttribute {
    std::int64_t DfTask::*field;
    bool (*accepts)(std::int64_t);
    std::int64_t refusal;
};

bool at_least_0(std::int64_t v) {
    return v >= 0;
}
bool at_least_1(std::int64_t v) {
    return v >= 1;
}
bool at_least_2(std::int64_t v) {
    return v >= 2;
}
bool spline_type(std::int64_t v) {
    return v >= 0 && v <= DF_SPLINE_TYPE_MAX;
}
bool bc_type(std::int64_t v) {
    return v == 0 || v == 1 || v == 2 || (v & DF_BC_TYPE_FLAG) != 0;
}

// Indexed by id - DF_VAL_NX.
constexpr ValueAttribute kValueAttributes[] = {
    {&DfTask::nx, at_least_2, DF_ERROR_BAD_NX},
    {&DfTask::xHint, x_hint_accepted, DF_ERROR_BAD_XHINT},
    {&DfTask::ny, at_least_1, DF_ERROR_BAD_NY},
    {&DfTask::yHint, block_hint_accepted, DF_ERROR_BAD_YHINT},
    {&DfTask::splineOrder, at_least_0, DF_ERROR_BAD_SPLINE_ORDER},
    {&DfTask::splineType, spline_type, DF_ERROR_BAD_SPLINE_TYPE},
    {&DfTask::bcType, bc_type, DF_ERROR_BAD_BC_TYPE},
    {&DfTask::icType, at_least_0, DF_ERROR_BAD_IC_TYPE},
    {&DfTask::coeffHint, block_hint_accepted, DF_ERROR_BAD_COEFF_HINT},
};
static_assert(sizeof(kValueAttributes) / sizeof(kValueAttributes[0]) ==
              DF_VAL_COEFF_HINT - DF_VAL_NX + 1);

std::int64_t edit_ptr(DfTask *task, std::int64_t id, const void *ptr, std::size_t elem) {
    if (task == nullptr) return DF_ERROR_NULL_TASK;
    if (task->editable != 1) return DF_STATUS_OK;
    switch (id) {
        case DF_PTR_X:
            if (ptr == nullptr) return DF_ERROR_NULL_X;
            task->x = ptr;
            return DF_STATUS_OK;
        case DF_PTR_Y:
            if (ptr == nullptr) return DF_ERROR_NULL_Y;
            return set_values(task, ptr, task->nx, task->ny, task->yHint, elem);
        case DF_PTR_BC:
            if (ptr == nullptr) return DF_ERROR_NULL_BC;
            task->bc = ptr;
            return DF_STATUS_OK;
        case DF_PTR_IC:
            if (ptr == nullptr) return DF_ERROR_NULL_IC;
            task->ic = ptr;
            return DF_STATUS_OK;
        case DF_PTR_COEFF:
            if (ptr == nullptr) return DF_ERROR_NULL_COEFF;
            // The coefficient block is the construction kernels' output: the caller hands
            // writable memory through the read-only parameter type shared by every id.
            return set_coefficients(task, const_cast<void *>(ptr), task->coeffHint, elem);
        default:
            return DF_ERROR_BAD_PARAM_ID;
    }
}

std::int64_t edit_idx_ptr(DfTask *task, std::int64_t id, std::int64_t index, const void *ptr) {
    if (task == nullptr) return DF_ERROR_NULL_TASK;
    if (task->editable != 1) return DF_STATUS_OK;
    if (id != DF_PTR_Y && id != DF_PTR_COEFF) return DF_ERROR_BAD_PARAM_ID;
    if (index < 0 || index >= task->ny) return DF_ERROR_BAD_FUNC_INDEX;
    const bool values = id == DF_PTR_Y;
    const std::int64_t null_code = values ? DF_ERROR_NULL_Y : DF_ERROR_NULL_COEFF;
    if (ptr == nullptr) return null_code;
    // The array may be missing (never set, or lost to a failed rebuild) or shorter than ny (one
    // entry for y hint 32, or ny raised since it was built): refuse rather than write past it.
    const void *const *array = task->coeffs;
    if (values) array = task->y;
    if (array == nullptr) return null_code;
    if (index >= array_entries(array)) return DF_ERROR_BAD_FUNC_INDEX;
    if (values) {
        task->y[index] = ptr;
    } else {
        task->coeffs[index] = const_cast<void *>(ptr);
    }
    return DF_STATUS_OK;
}

std::int64_t edit_pp_spline(DfTask *task, std::int64_t order, std::int64_t type,
                            std::int64_t ic_type, const void *ic, std::int64_t bc_type,
                            const void *bc, void *coeffs, std::int64_t coeff_hint,
                            std::size_t elem) {
    // Each step stores what it checked before the next step runs: a later failure keeps it.
    if (task == nullptr) return DF_ERROR_NULL_TASK;
    if (order < 0) return DF_ERROR_BAD_SPLINE_ORDER;
    if (type < 0) return DF_ERROR_BAD_SPLINE_TYPE;
    task->splineOrder = order;
    task->splineType = type;

    if (ic_type != 0 && ic_type != 1 && ic_type != 2 && ic == nullptr) return DF_ERROR_NULL_IC;
    task->icType = ic_type;
    task->ic = ic;

    if (bc_type != DF_BC_NONE && bc == nullptr) return DF_ERROR_NULL_BC;
    if (bc_type == DF_BC_NONE && bc != nullptr) return DF_ERROR_BAD_BC_TYPE;
    task->bcType = bc_type;
    task->bc = bc;

    if (coeffs != nullptr) {
        const std::int64_t status = set_coefficients(task, coeffs, coeff_hint, elem);
        if (status != DF_STATUS_OK) return status;
    }
    task->coeffHint = coeff_hint;
    return DF_STATUS_OK;
}

}  // namespace
}  // namespace korb::datafit

using namespace korb::datafit;

extern "C" {

int64_t korb_df_kernel_iEditVal(DfTask *task, int64_t id, int64_t value) {
    if (task == nullptr) return DF_ERROR_NULL_TASK;
    if (task->editable != 1) return DF_STATUS_OK;
    if (id < DF_VAL_NX || id > DF_VAL_COEFF_HINT) return DF_ERROR_BAD_PARAM_ID;
    const ValueAttribute &a = kValueAttributes[id - DF_VAL_NX];
    if (!a.accepts(value)) return a.refusal;
    task->*a.field = value;
    return DF_STATUS_OK;
}

int64_t korb_df_kernel_dEditPtr(DfTask *task, int64_t id, const double *ptr) {
    return edit_ptr(task, id, ptr, kDouble);
}

int64_t korb_df_kernel_sEditPtr(DfTask *task, int64_t id, const float *ptr) {
    return edit_ptr(task, id, ptr, kSingle);
}

int64_t korb_df_kernel_dEditIdxPtr(DfTask *task, int64_t id, int64_t index, const double *ptr) {
    return edit_idx_ptr(task, id, index, ptr);
}

int64_t korb_df_kernel_sEditIdxPtr(DfTask *task, int64_t id, int64_t index, const float *ptr) {
    return edit_idx_ptr(task, id, index, ptr);
}

int64_t korb_df_kernel_dEditPPSpline1D(DfTask *task, int64_t order, int64_t type, int64_t ic_type,
                                       const double ic[], int64_t bc_type, const double bc[],
                                       double coeffs[], int64_t coeff_hint) {
    return edit_pp_spline(task, order, type, ic_type, ic, bc_type, bc, coeffs, coeff_hint, kDouble);
}

int64_t korb_df_kernel_sEditPPSpline1D(DfTask *task, int64_t order, int64_t type, int64_t ic_type,
                                       const float ic[], int64_t bc_type, const float bc[],
                                       float coeffs[], int64_t coeff_hint) {
    return edit_pp_spline(task, order, type, ic_type, ic, bc_type, bc, coeffs, coeff_hint, kSingle);
}
}
