// The data-fitting task: making and deleting the record, and building the two pointer arrays it
// owns.
//
// A pointer array is one korbAlignedAlloc block: a 16-byte header holding the number of entries,
// then the entries. The task points at the entries, so kernels index it like a plain array, and
// the header lets every later editor and kernel know how many entries really exist after nx, ny
// or a hint has changed without a rebuild.
#include <cstdint>
#include <cstring>

#include "korb/kernel/df.h"
#include "korb/kernel/frame.h"
#include "task.h"

namespace korb::datafit {
namespace {

constexpr int kAlignment = DF_TASK_ALIGNMENT;

struct ArrayHeader {
    std::int64_t entries;
    std::int64_t reserved;
};
static_assert(sizeof(ArrayHeader) == 16);

ArrayHeader *header_of(const void *const *array) {
    return reinterpret_cast<ArrayHeader *>(
        const_cast<char *>(reinterpret_cast<const char *>(array)) - sizeof(ArrayHeader));
}

void release(const void *const *array) {
    if (array != nullptr) korbAlignedFree(header_of(array));
}

// Storage for a zeroed array of `entries` pointers, or null when it cannot be had.
void *allocate(std::int64_t entries) {
    constexpr std::int64_t kMost = (PTRDIFF_MAX - static_cast<std::int64_t>(sizeof(ArrayHeader))) /
                                   static_cast<std::int64_t>(sizeof(void *));
    if (entries > kMost) return nullptr;
    const std::size_t bytes =
        sizeof(ArrayHeader) + static_cast<std::size_t>(entries) * sizeof(void *);
    auto *h = static_cast<ArrayHeader *>(korbAlignedAlloc(bytes, kAlignment));
    if (h == nullptr) return nullptr;
    std::memset(h, 0, bytes);
    h->entries = entries;
    return h + 1;
}

// The stride in bytes between consecutive blocks of `per` elements, when `count` such blocks fit
// in one object (at most PTRDIFF_MAX bytes); -1 otherwise.
std::int64_t block_stride(std::int64_t count, std::int64_t per, std::size_t elem) {
    std::int64_t stride = 0;
    std::int64_t total = 0;
    if (count < 0 || per < 0) return -1;
    if (__builtin_mul_overflow(per, static_cast<std::int64_t>(elem), &stride)) return -1;
    if (__builtin_mul_overflow(stride, count, &total)) return -1;
    return stride;
}

// The layout of one array: `entries` entries, of which the first `filled` are base + i * stride;
// the rest stay null.
struct Layout {
    std::int64_t entries;
    std::int64_t filled;
    std::int64_t stride;
};

// Builds an array for `layout` in place of *slot. The old array is released first, as the
// editors promise, so an allocation failure leaves the slot null rather than stale.
template <class Entry>
std::int64_t rebuild(Entry **slot, Entry base, const Layout &layout) {
    release(reinterpret_cast<const void *const *>(*slot));
    *slot = nullptr;
    auto *entries = static_cast<Entry *>(allocate(layout.entries));
    if (entries == nullptr) return DF_ERROR_MEM_FAILURE;
    // Byte offsets through uintptr_t: the blocks are the caller's, the task only records where
    // they start.
    const auto start = reinterpret_cast<std::uintptr_t>(base);
    for (std::int64_t i = 0; i < layout.filled; ++i) {
        entries[i] = reinterpret_cast<Entry>(
            start + static_cast<std::uintptr_t>(i) * static_cast<std::uintptr_t>(layout.stride));
    }
    *slot = entries;
    return DF_STATUS_OK;
}

std::int64_t new_task(DfTask **task, std::int64_t nx, const void *x, std::int64_t xhint,
                      std::int64_t ny, const void *y, std::int64_t yhint, std::int32_t word,
                      std::size_t elem, std::int32_t precision) {
    if (task == nullptr) return DF_ERROR_NULL_TASK;
    if (nx < 2) return DF_ERROR_BAD_NX;
    if (x == nullptr) return DF_ERROR_NULL_X;
    if (!x_hint_accepted(xhint)) return DF_ERROR_BAD_XHINT;
    if (ny != 0 && y == nullptr) return DF_ERROR_NULL_Y;
    if (ny <= 0 && y != nullptr) return DF_ERROR_BAD_NY;
    if (!block_hint_accepted(yhint)) return DF_ERROR_BAD_YHINT;

    auto *t = static_cast<DfTask *>(korbAlignedAlloc(sizeof(DfTask), kAlignment));
    if (t == nullptr) return DF_ERROR_MEM_FAILURE;
    std::memset(t, 0, sizeof(DfTask));
    *task = t;
    t->nx = nx;
    t->x = x;
    t->xHint = xhint;
    if (y != nullptr) {
        // A failure here keeps the record in *task, not yet editable; DeleteTask releases it.
        const std::int64_t status = set_values(t, y, nx, ny, yhint, elem);
        if (status != DF_STATUS_OK) return status;
    }
    t->ny = ny;
    t->yHint = yhint;
    t->callerWord = word;
    t->modelKind = DF_MODEL_PP;
    t->precision = precision;
    t->editable = 1;
    return DF_STATUS_OK;
}

}  // namespace

std::int64_t array_entries(const void *const *array) {
    return array == nullptr ? 0 : header_of(array)->entries;
}

std::int64_t set_values(DfTask *task, const void *y, std::int64_t nx, std::int64_t ny,
                        std::int64_t hint, std::size_t elem) {
    if (ny < 1) return DF_ERROR_BAD_NY;
    Layout layout{ny, 1, 0};
    if (hint == DF_HINT_SINGLE_POINTER) {
        layout.entries = 1;
    } else if (hint != DF_HINT_PER_FUNCTION) {
        layout.filled = ny;
        layout.stride = block_stride(ny, nx, elem);
        if (layout.stride < 0) return DF_ERROR_BAD_NY;
    }
    return rebuild(&task->y, y, layout);
}

std::int64_t set_coefficients(DfTask *task, void *c, std::int64_t hint, std::size_t elem) {
    if (task->ny < 1) return DF_ERROR_BAD_NY;
    Layout layout{task->ny, 1, 0};
    if ((hint & DF_HINT_PER_FUNCTION_BIT) == 0) {
        // One block of `order` coefficients per cell; type 1 keeps one block more per function.
        // Order 0 makes empty blocks: every entry points at c.
        const std::int64_t cells = task->splineType == 1 ? task->nx : task->nx - 1;
        std::int64_t per = 0;
        if (__builtin_mul_overflow(cells, task->splineOrder, &per)) return DF_ERROR_BAD_NY;
        layout.filled = task->ny;
        layout.stride = block_stride(task->ny, per, elem);
        if (layout.stride < 0) return DF_ERROR_BAD_NY;
    }
    return rebuild(&task->coeffs, c, layout);
}

}  // namespace korb::datafit

using namespace korb::datafit;

extern "C" {

int64_t korb_df_kernel_dNewTask1D(DfTask **task, int64_t nx, const double x[], int64_t xhint,
                                  int64_t ny, const double y[], int64_t yhint, int32_t word) {
    return new_task(task, nx, x, xhint, ny, y, yhint, word, kDouble, DF_PRECISION_DOUBLE);
}

int64_t korb_df_kernel_sNewTask1D(DfTask **task, int64_t nx, const float x[], int64_t xhint,
                                  int64_t ny, const float y[], int64_t yhint, int32_t word) {
    return new_task(task, nx, x, xhint, ny, y, yhint, word, kSingle, DF_PRECISION_SINGLE);
}

int64_t korb_df_kernel_DeleteTask(DfTask **task) {
    if (task == nullptr || *task == nullptr) return DF_ERROR_NULL_TASK;
    DfTask *t = *task;
    release(t->y);
    release(t->coeffs);
    korbAlignedFree(t);
    *task = nullptr;
    return DF_STATUS_OK;
}
}
