// Making and deleting data-fitting tasks: the check order, the record, the y array of each hint,
// allocation failures.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "datafit/df_test.h"
#include "datafit/task.h"
#include "korb/kernel/df.h"

namespace korb::test {
namespace {

using datafit::array_entries;

template <class F>
class NewTaskTest : public DfTest<F> {};
TYPED_TEST_SUITE(NewTaskTest, BothForms);

TYPED_TEST(NewTaskTest, ChecksInOrderAndLeavesTheOutputAlone) {
    using F = TypeParam;
    const auto *x = this->x;
    const auto *y = this->v;
    const struct {
        int64_t nx;
        const void *x;
        int64_t xhint, ny;
        const void *y;
        int64_t yhint, expected;
    } cases[] = {
        {1, nullptr, 3, 1, nullptr, 5, DF_ERROR_BAD_NX},  // nx first, whatever else is wrong
        {2, nullptr, 3, 1, nullptr, 5, DF_ERROR_NULL_X},
        {2, x, 3, 1, nullptr, 5, DF_ERROR_BAD_XHINT},
        {2, x, 4, -1, nullptr, 5, DF_ERROR_NULL_Y},  // any non-zero ny without y
        {2, x, 4, 0, y, 5, DF_ERROR_BAD_NY},
        {2, x, 4, -3, y, 0, DF_ERROR_BAD_NY},
        {2, x, 1, 0, nullptr, 64, DF_ERROR_BAD_YHINT},
    };
    const long live = korb_serv_live_blocks();
    for (const auto &c : cases) {
        auto *sentinel = reinterpret_cast<DfTask *>(uintptr_t{0x1234});
        DfTask *t = sentinel;
        EXPECT_EQ(F::new_task(&t, c.nx, static_cast<decltype(x)>(c.x), c.xhint, c.ny,
                              static_cast<decltype(y)>(c.y), c.yhint, 0),
                  c.expected)
            << "nx " << c.nx << " xhint " << c.xhint << " ny " << c.ny << " yhint " << c.yhint;
        EXPECT_EQ(t, sentinel);
    }
    EXPECT_EQ(F::new_task(nullptr, 1, nullptr, 3, 1, nullptr, 5, 0), DF_ERROR_NULL_TASK);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

TYPED_TEST(NewTaskTest, FillsTheRecord) {
    using F = TypeParam;
    DfTask *raw = nullptr;
    ASSERT_EQ(F::new_task(&raw, 5, this->x, 2, 2, this->v, DF_HINT_CONTIGUOUS, -77), DF_STATUS_OK);
    Task t(raw);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(raw) % DF_TASK_ALIGNMENT, 0u);
    // Everything in place, the spline model empty.
    const DfTask expected = {
        -77, DF_MODEL_PP, F::precision, 1, 5,       this->x, 2, 2, t->y, DF_HINT_CONTIGUOUS, 0,
        0,   0,           nullptr,      0, nullptr, nullptr, 0};
    EXPECT_EQ(0, std::memcmp(raw, &expected, sizeof(DfTask)));
}

TYPED_TEST(NewTaskTest, BuildsTheYArrayOfEachHint) {
    const auto *y = this->v;
    for (int64_t hint : {DF_NO_HINT, DF_HINT_CONTIGUOUS}) {
        Task t = this->make(3, 4, hint);
        ASSERT_EQ(array_entries(t->y), 4);
        // Function i's nx values follow function i-1's, in elements of this form's precision.
        for (int64_t i = 0; i < 4; ++i) EXPECT_EQ(t->y[i], y + 3 * i) << "hint " << hint;
    }
    Task single = this->make(3, 4, DF_HINT_SINGLE_POINTER);
    ASSERT_EQ(array_entries(single->y), 1);
    EXPECT_EQ(single->y[0], y);

    Task per_function = this->make(3, 4, DF_HINT_PER_FUNCTION);
    ASSERT_EQ(array_entries(per_function->y), 4);
    EXPECT_EQ(per_function->y[0], y);
    for (int64_t i = 1; i < 4; ++i) EXPECT_EQ(per_function->y[i], nullptr);

    // No functions and no values: a task without a y array.
    Task none = this->make(3, 0);
    EXPECT_EQ(none->y, nullptr);
    EXPECT_EQ(none->editable, 1);
}

TYPED_TEST(NewTaskTest, AllocationFailuresLeakNothing) {
    using F = TypeParam;
    // The record, then the y array. When the array fails, the record stays in the caller's
    // pointer, not editable, and DeleteTask releases it.
    for (int64_t ny : {2, 0}) {
        bool kept_record = false;
        const long failures = sweep_allocation_failures([&] {
            DfTask *t = nullptr;
            const int64_t status =
                F::new_task(&t, 3, this->x, 0, ny, ny == 0 ? nullptr : this->v, 0, 0);
            if (t != nullptr && status != DF_STATUS_OK) {
                kept_record = true;
                EXPECT_EQ(t->editable, 0);
                EXPECT_EQ(t->y, nullptr);
                EXPECT_EQ(t->ny, 0);
            }
            if (t != nullptr) korb_df_kernel_DeleteTask(&t);
            return status;
        });
        EXPECT_EQ(failures, ny == 0 ? 1 : 2);
        EXPECT_EQ(kept_record, ny != 0);
    }
}

TEST(DeleteTaskTest, ReleasesEverythingAndNullsThePointer) {
    const double x[3] = {0, 1, 2};
    double v[8] = {};
    const long live = korb_serv_live_blocks();
    DfTask *t = nullptr;
    ASSERT_EQ(korb_df_kernel_dNewTask1D(&t, 3, x, 0, 2, v, 0, 0), DF_STATUS_OK);
    ASSERT_EQ(korb_df_kernel_dEditPPSpline1D(t, 2, 0, 0, nullptr, 0, nullptr, v, 0), DF_STATUS_OK);
    EXPECT_EQ(korb_serv_live_blocks(), live + 3);
    EXPECT_EQ(korb_df_kernel_DeleteTask(&t), DF_STATUS_OK);
    EXPECT_EQ(t, nullptr);
    EXPECT_EQ(korb_serv_live_blocks(), live);
    EXPECT_EQ(korb_df_kernel_DeleteTask(&t), DF_ERROR_NULL_TASK);
    EXPECT_EQ(korb_df_kernel_DeleteTask(nullptr), DF_ERROR_NULL_TASK);
}

}  // namespace
}  // namespace korb::test
