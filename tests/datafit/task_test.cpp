// Making and deleting data-fitting tasks: the check order, the record, the y arrays of each hint,
// allocation failures.
#include <cstdint>
#include <vector>

#include "datafit/df_test.h"
#include "datafit/task.h"
#include "korb/df.h"

namespace korb::test {
namespace {

using datafit::array_entries;

template <class F>
class NewTaskTest : public ::testing::Test {};
TYPED_TEST_SUITE(NewTaskTest, BothForms);

TYPED_TEST(NewTaskTest, ChecksInOrderAndLeavesTheOutputAlone) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[4] = {0, 1, 2, 3};
    const Real y[8] = {};
    struct Case {
        int64_t nx;
        const Real *x;
        int64_t xhint;
        int64_t ny;
        const Real *y;
        int64_t yhint;
        int64_t expected;
    };
    const Case cases[] = {
        {1, nullptr, 3, 1, nullptr, 5, DF_ERROR_BAD_NX},  // nx first, whatever else is wrong
        {-5, x, 0, 1, y, 0, DF_ERROR_BAD_NX},
        {2, nullptr, 3, 1, nullptr, 5, DF_ERROR_NULL_X},
        {2, x, 3, 1, nullptr, 5, DF_ERROR_BAD_XHINT},
        {2, x, 8, 1, y, 0, DF_ERROR_BAD_XHINT},
        {2, x, 4, 1, nullptr, 5, DF_ERROR_NULL_Y},
        {2, x, 4, -1, nullptr, 5, DF_ERROR_NULL_Y},  // negative ny without y: y's code first
        {2, x, 4, 0, y, 5, DF_ERROR_BAD_NY},
        {2, x, 4, -3, y, 0, DF_ERROR_BAD_NY},
        {2, x, 4, 1, y, 5, DF_ERROR_BAD_YHINT},
        {2, x, 1, 0, nullptr, 64, DF_ERROR_BAD_YHINT},
    };
    const long live = korb_serv_live_blocks();
    for (const Case &c : cases) {
        auto *sentinel = reinterpret_cast<DfTask *>(uintptr_t{0x1234});
        DfTask *t = sentinel;
        EXPECT_EQ(F::new_task(&t, c.nx, c.x, c.xhint, c.ny, c.y, c.yhint, 0), c.expected)
            << "nx " << c.nx << " xhint " << c.xhint << " ny " << c.ny << " yhint " << c.yhint;
        EXPECT_EQ(t, sentinel);
    }
    EXPECT_EQ(F::new_task(nullptr, 1, nullptr, 3, 1, nullptr, 5, 0), DF_ERROR_NULL_TASK);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

TYPED_TEST(NewTaskTest, FillsTheRecord) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[5] = {0, 1, 2, 3, 4};
    const Real y[10] = {};
    for (int64_t xhint : {0, 1, 2, 4}) {
        DfTask *raw = nullptr;
        ASSERT_EQ(F::new_task(&raw, 5, x, xhint, 2, y, DF_HINT_CONTIGUOUS, -77), DF_STATUS_OK);
        Task t(raw);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(raw) % DF_TASK_ALIGNMENT, 0u);
        EXPECT_EQ(t->callerWord, -77);
        EXPECT_EQ(t->modelKind, DF_MODEL_PP);
        EXPECT_EQ(t->precision, F::precision);
        EXPECT_EQ(t->editable, 1);
        EXPECT_EQ(t->nx, 5);
        EXPECT_EQ(t->x, x);
        EXPECT_EQ(t->xHint, xhint);
        EXPECT_EQ(t->ny, 2);
        EXPECT_EQ(t->yHint, DF_HINT_CONTIGUOUS);
        // The spline model starts empty.
        EXPECT_EQ(t->splineOrder, 0);
        EXPECT_EQ(t->splineType, 0);
        EXPECT_EQ(t->bcType, 0);
        EXPECT_EQ(t->bc, nullptr);
        EXPECT_EQ(t->icType, 0);
        EXPECT_EQ(t->ic, nullptr);
        EXPECT_EQ(t->coeffs, nullptr);
        EXPECT_EQ(t->coeffHint, 0);
    }
}

TYPED_TEST(NewTaskTest, BuildsTheYArrayOfEachHint) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[3] = {0, 1, 2};
    const Real y[12] = {};
    for (int64_t hint : {DF_NO_HINT, DF_HINT_CONTIGUOUS}) {
        Task t = make_task<F>(3, x, 4, y, hint);
        ASSERT_EQ(array_entries(t->y), 4);
        // Function i's nx values follow function i-1's, in elements of this form's precision.
        for (int64_t i = 0; i < 4; ++i) EXPECT_EQ(t->y[i], y + 3 * i) << "hint " << hint;
    }
    {
        Task t = make_task<F>(3, x, 4, y, DF_HINT_SINGLE_POINTER);
        ASSERT_EQ(array_entries(t->y), 1);
        EXPECT_EQ(t->y[0], y);
    }
    {
        Task t = make_task<F>(3, x, 4, y, DF_HINT_PER_FUNCTION);
        ASSERT_EQ(array_entries(t->y), 4);
        EXPECT_EQ(t->y[0], y);
        for (int64_t i = 1; i < 4; ++i) EXPECT_EQ(t->y[i], nullptr);
    }
    {
        // No functions and no values: a task without a y array.
        Task t = make_task<F>(3, x, 0, nullptr);
        EXPECT_EQ(t->ny, 0);
        EXPECT_EQ(t->y, nullptr);
        EXPECT_EQ(t->editable, 1);
    }
}

TYPED_TEST(NewTaskTest, AllocationFailuresLeakNothing) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[3] = {0, 1, 2};
    const Real y[6] = {};
    // The record, then the y array. When the array fails, the record stays in the caller's
    // pointer, not editable, and DeleteTask releases it.
    std::vector<DfTask *> made;
    const long failures = sweep_allocation_failures([&] {
        DfTask *t = nullptr;
        const int64_t status = F::new_task(&t, 3, x, 0, 2, y, 0, 0);
        made.push_back(t);
        if (t != nullptr) {
            if (status != DF_STATUS_OK) {
                EXPECT_EQ(t->editable, 0);
                EXPECT_EQ(t->y, nullptr);
                EXPECT_EQ(t->ny, 0);
            }
            EXPECT_EQ(korb_df_kernel_DeleteTask(&t), DF_STATUS_OK);
        }
        return status;
    });
    EXPECT_EQ(failures, 2);
    ASSERT_EQ(made.size(), 3u);
    EXPECT_EQ(made[0], nullptr);
    EXPECT_NE(made[1], nullptr);

    // Without y there is only the record.
    EXPECT_EQ(sweep_allocation_failures([&] {
                  DfTask *t = nullptr;
                  const int64_t status = F::new_task(&t, 3, x, 0, 0, nullptr, 0, 0);
                  if (t != nullptr) korb_df_kernel_DeleteTask(&t);
                  return status;
              }),
              1);
}

TYPED_TEST(NewTaskTest, RefusesValueBlocksBeyondTheAddressSpace) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[2] = {0, 1};
    const Real y[2] = {};
    const int64_t huge_nx = INT64_MAX / 4;
    const long live = korb_serv_live_blocks();
    DfTask *t = nullptr;
    EXPECT_EQ(F::new_task(&t, huge_nx, x, 0, 2, y, DF_NO_HINT, 0), DF_ERROR_BAD_NY);
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->y, nullptr);
    EXPECT_EQ(korb_df_kernel_DeleteTask(&t), DF_STATUS_OK);
    // One pointer to the whole block needs no arithmetic.
    EXPECT_EQ(F::new_task(&t, huge_nx, x, 0, 2, y, DF_HINT_SINGLE_POINTER, 0), DF_STATUS_OK);
    EXPECT_EQ(korb_df_kernel_DeleteTask(&t), DF_STATUS_OK);
    // More functions than pointers fit in memory: the array cannot be allocated.
    EXPECT_EQ(F::new_task(&t, 2, x, 0, INT64_MAX / 2, y, DF_HINT_PER_FUNCTION, 0),
              DF_ERROR_MEM_FAILURE);
    EXPECT_EQ(korb_df_kernel_DeleteTask(&t), DF_STATUS_OK);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

TEST(DeleteTaskTest, ReleasesEverythingAndNullsThePointer) {
    const double x[3] = {0, 1, 2};
    const double y[6] = {};
    double c[8] = {};
    const long live = korb_serv_live_blocks();
    DfTask *t = nullptr;
    ASSERT_EQ(korb_df_kernel_dNewTask1D(&t, 3, x, 0, 2, y, 0, 0), DF_STATUS_OK);
    ASSERT_EQ(korb_df_kernel_dEditPPSpline1D(t, 2, 0, 0, nullptr, 0, nullptr, c, 0), DF_STATUS_OK);
    EXPECT_EQ(korb_serv_live_blocks(), live + 3);
    EXPECT_EQ(korb_df_kernel_DeleteTask(&t), DF_STATUS_OK);
    EXPECT_EQ(t, nullptr);
    EXPECT_EQ(korb_serv_live_blocks(), live);
    EXPECT_EQ(korb_df_kernel_DeleteTask(&t), DF_ERROR_NULL_TASK);
    EXPECT_EQ(korb_df_kernel_DeleteTask(nullptr), DF_ERROR_NULL_TASK);
}

}  // namespace
}  // namespace korb::test
