// Internal view of the data-fitting task: the per-function pointer arrays the task owns.
#pragma once

#include <cstddef>
#include <cstdint>

#include "korb/kernel/df.h"

namespace korb::datafit {

// Element sizes of the two precisions: the stride unit of the d and s entry points.
inline constexpr std::size_t kDouble = sizeof(double);
inline constexpr std::size_t kSingle = sizeof(float);

// Hints accepted for x, and for y and the coefficients alike.
inline bool x_hint_accepted(std::int64_t h) {
    return h == 0 || h == 1 || h == 2 || h == 4;
}
inline bool block_hint_accepted(std::int64_t h) {
    return h == DF_NO_HINT || h == DF_HINT_CONTIGUOUS || h == DF_HINT_SINGLE_POINTER ||
           h == DF_HINT_PER_FUNCTION;
}

// Entries of a task-owned pointer array: the count it was built with, which stays fixed while
// nx, ny and the hints change around it. 0 for a null array. Kernels bound their loops by it.
std::int64_t array_entries(const void *const *array);

// Replaces the task's y array by one built from `y` with the given nx, ny and y hint. Fails
// without touching the old array when ny < 1 or ny blocks of nx elements cannot fit in memory;
// an allocation failure leaves the task without a y array.
std::int64_t set_values(DfTask *task, const void *y, std::int64_t nx, std::int64_t ny,
                        std::int64_t hint, std::size_t elem);

// Replaces the task's coefficient array by one built from `c` with the task's nx, ny, order and
// type and the given hint; the checks and failures are those of set_values.
std::int64_t set_coefficients(DfTask *task, void *c, std::int64_t hint, std::size_t elem);

}  // namespace korb::datafit
