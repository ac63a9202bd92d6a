// The task editors: integer and pointer attributes, per-function pointers, the spline model.
#include <cstdint>

#include "datafit/df_test.h"
#include "datafit/task.h"
#include "korb/df.h"

namespace korb::test {
namespace {

using datafit::array_entries;

const double kX[5] = {0, 1, 2, 3, 4};
const double kY[10] = {};

TEST(EditValTest, AcceptsAndRefusesPerAttribute) {
    Task t = make_task<DoubleForms>(5, kX, 2, kY);
    struct Case {
        int64_t id;
        int64_t DfTask::*field;
        int64_t accepted[3];
        int64_t refused[3];
        int64_t code;
    };
    const Case cases[] = {
        {DF_VAL_NX, &DfTask::nx, {2, 3, 1000}, {1, 0, -2}, DF_ERROR_BAD_NX},
        {DF_VAL_XHINT, &DfTask::xHint, {0, 2, 4}, {3, 8, -1}, DF_ERROR_BAD_XHINT},
        {DF_VAL_NY, &DfTask::ny, {1, 2, 50}, {0, -1, INT64_MIN}, DF_ERROR_BAD_NY},
        {DF_VAL_YHINT, &DfTask::yHint, {16, 32, 128}, {1, 64, 0x90}, DF_ERROR_BAD_YHINT},
        {DF_VAL_SPLINE_ORDER,
         &DfTask::splineOrder,
         {0, 1, 4},
         {-1, -4, INT64_MIN},
         DF_ERROR_BAD_SPLINE_ORDER},
        {DF_VAL_SPLINE_TYPE,
         &DfTask::splineType,
         {0, 1, 5},
         {6, -1, 100},
         DF_ERROR_BAD_SPLINE_TYPE},
        // Any value with bit 0x8 set is a boundary-condition type, negative ones too.
        {DF_VAL_BC_TYPE, &DfTask::bcType, {0x18, 2, -8}, {3, 4, 0x10}, DF_ERROR_BAD_BC_TYPE},
        {DF_VAL_IC_TYPE, &DfTask::icType, {0, 7, 1}, {-1, -2, INT64_MIN}, DF_ERROR_BAD_IC_TYPE},
        {DF_VAL_COEFF_HINT,
         &DfTask::coeffHint,
         {128, 16, 32},
         {1, 0x81, -128},
         DF_ERROR_BAD_COEFF_HINT},
    };
    for (const Case &c : cases) {
        for (int64_t v : c.accepted) {
            EXPECT_EQ(korb_df_kernel_iEditVal(t.get(), c.id, v), DF_STATUS_OK) << c.id << " " << v;
            EXPECT_EQ(t.get()->*c.field, v);
        }
        const int64_t kept = t.get()->*c.field;
        for (int64_t v : c.refused) {
            EXPECT_EQ(korb_df_kernel_iEditVal(t.get(), c.id, v), c.code) << c.id << " " << v;
            EXPECT_EQ(t.get()->*c.field, kept);
        }
    }
    for (int64_t id : {0, 1, 5, 13, 23, -14}) {
        EXPECT_EQ(korb_df_kernel_iEditVal(t.get(), id, 2), DF_ERROR_BAD_PARAM_ID) << id;
    }
    EXPECT_EQ(korb_df_kernel_iEditVal(nullptr, DF_VAL_NX, 2), DF_ERROR_NULL_TASK);
}

TEST(EditValTest, ChangingSizesKeepsTheArrays) {
    Task t = make_task<DoubleForms>(5, kX, 2, kY);
    const void *const *y = t->y;
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NX, 3), DF_STATUS_OK);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NY, 9), DF_STATUS_OK);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_YHINT, DF_HINT_SINGLE_POINTER), DF_STATUS_OK);
    EXPECT_EQ(t->y, y);
    EXPECT_EQ(array_entries(t->y), 2);
    EXPECT_EQ(t->y[1], kY + 5);
}

TEST(EditorsTest, DoNothingOnATaskThatIsNotEditable) {
    Task t = make_task<DoubleForms>(5, kX, 2, kY);
    t->editable = 0;
    const double other[10] = {};
    EXPECT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NX, 3), DF_STATUS_OK);
    EXPECT_EQ(korb_df_kernel_iEditVal(t.get(), 99, 3), DF_STATUS_OK);
    EXPECT_EQ(korb_df_kernel_dEditPtr(t.get(), DF_PTR_X, other), DF_STATUS_OK);
    EXPECT_EQ(korb_df_kernel_dEditPtr(t.get(), DF_PTR_Y, nullptr), DF_STATUS_OK);
    EXPECT_EQ(korb_df_kernel_dEditIdxPtr(t.get(), DF_PTR_Y, 1, other), DF_STATUS_OK);
    EXPECT_EQ(t->nx, 5);
    EXPECT_EQ(t->x, kX);
    EXPECT_EQ(t->y[1], kY + 5);
    // The spline editor does not look at the flag.
    EXPECT_EQ(korb_df_kernel_dEditPPSpline1D(t.get(), 3, 2, 0, nullptr, 0, nullptr, nullptr, 0),
              DF_STATUS_OK);
    EXPECT_EQ(t->splineOrder, 3);
    t->editable = 1;
}

template <class F>
class EditPtrTest : public ::testing::Test {};
TYPED_TEST_SUITE(EditPtrTest, BothForms);

TYPED_TEST(EditPtrTest, StoresOrRefusesEachAttribute) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[4] = {0, 1, 2, 3};
    const Real v[16] = {};
    Task t = make_task<F>(4, x, 2, v);
    const struct {
        int64_t id;
        int64_t null_code;
    } ids[] = {{DF_PTR_X, DF_ERROR_NULL_X},
               {DF_PTR_Y, DF_ERROR_NULL_Y},
               {DF_PTR_BC, DF_ERROR_NULL_BC},
               {DF_PTR_IC, DF_ERROR_NULL_IC},
               {DF_PTR_COEFF, DF_ERROR_NULL_COEFF}};
    for (const auto &a : ids) EXPECT_EQ(F::edit_ptr(t.get(), a.id, nullptr), a.null_code);
    for (int64_t id : {0, 6, 14}) {
        EXPECT_EQ(F::edit_ptr(t.get(), id, nullptr), DF_ERROR_BAD_PARAM_ID);
        EXPECT_EQ(F::edit_ptr(t.get(), id, v), DF_ERROR_BAD_PARAM_ID);
    }
    EXPECT_EQ(F::edit_ptr(nullptr, DF_PTR_X, v), DF_ERROR_NULL_TASK);

    EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_X, v + 1), DF_STATUS_OK);
    EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_BC, v + 2), DF_STATUS_OK);
    EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_IC, v + 3), DF_STATUS_OK);
    EXPECT_EQ(t->x, v + 1);
    EXPECT_EQ(t->bc, v + 2);
    EXPECT_EQ(t->ic, v + 3);
}

TYPED_TEST(EditPtrTest, RebuildsTheYArrayFromTheCurrentSizes) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[4] = {0, 1, 2, 3};
    const Real v[16] = {};
    Task t = make_task<F>(4, x, 2, v);
    const long live = korb_serv_live_blocks();
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NX, 3), DF_STATUS_OK);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NY, 5), DF_STATUS_OK);
    ASSERT_EQ(F::edit_ptr(t.get(), DF_PTR_Y, v + 1), DF_STATUS_OK);
    EXPECT_EQ(korb_serv_live_blocks(), live);  // the old array went back
    ASSERT_EQ(array_entries(t->y), 5);
    for (int64_t i = 0; i < 5; ++i) EXPECT_EQ(t->y[i], v + 1 + 3 * i);
}

TYPED_TEST(EditPtrTest, LaysOutCoefficientsPerCell) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[5] = {0, 1, 2, 3, 4};
    Real c[64] = {};
    Task t = make_task<F>(5, x, 3, c);
    // The task starts with order 0: no per-cell layout, whatever array is there stays.
    EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, c), DF_ERROR_BAD_SPLINE_ORDER);
    EXPECT_EQ(t->coeffs, nullptr);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_ORDER, 2), DF_STATUS_OK);
    for (int64_t type = 0; type <= DF_SPLINE_TYPE_MAX; ++type) {
        ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_TYPE, type), DF_STATUS_OK);
        ASSERT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, c), DF_STATUS_OK);
        ASSERT_EQ(array_entries(t->coeffs), 3);
        // Type 1 keeps one block of `order` coefficients more per function.
        const int64_t per = type == 1 ? 5 * 2 : 4 * 2;
        for (int64_t i = 0; i < 3; ++i) EXPECT_EQ(t->coeffs[i], c + i * per) << "type " << type;
    }
    // The per-function hint needs no order: entry 0 only.
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_ORDER, 0), DF_STATUS_OK);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_COEFF_HINT, DF_HINT_PER_FUNCTION),
              DF_STATUS_OK);
    ASSERT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, c + 1), DF_STATUS_OK);
    EXPECT_EQ(t->coeffs[0], c + 1);
    EXPECT_EQ(t->coeffs[1], nullptr);
    EXPECT_EQ(t->coeffs[2], nullptr);
}

TYPED_TEST(EditPtrTest, NeedsFunctionsForValuesAndCoefficients) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[4] = {0, 1, 2, 3};
    Real v[8] = {};
    Task t = make_task<F>(4, x, 0, nullptr);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_ORDER, 2), DF_STATUS_OK);
    for (int64_t hint : {DF_NO_HINT, DF_HINT_SINGLE_POINTER, DF_HINT_PER_FUNCTION}) {
        ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_YHINT, hint), DF_STATUS_OK);
        ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_COEFF_HINT, hint), DF_STATUS_OK);
        EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_Y, v), DF_ERROR_BAD_NY) << hint;
        EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v), DF_ERROR_BAD_NY) << hint;
    }
    EXPECT_EQ(t->y, nullptr);
    EXPECT_EQ(t->coeffs, nullptr);
}

TYPED_TEST(EditPtrTest, RefusesBlocksBeyondTheAddressSpaceAndKeepsTheOldArray) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[4] = {0, 1, 2, 3};
    Real v[16] = {};
    Task t = make_task<F>(4, x, 2, v);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_ORDER, 1), DF_STATUS_OK);
    ASSERT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v), DF_STATUS_OK);
    const void *const *y = t->y;
    void **c = t->coeffs;
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NX, INT64_MAX / 4), DF_STATUS_OK);
    EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_Y, v), DF_ERROR_BAD_NY);
    EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v), DF_ERROR_BAD_NY);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NX, 4), DF_STATUS_OK);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_ORDER, INT64_MAX / 2), DF_STATUS_OK);
    EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v), DF_ERROR_BAD_NY);
    EXPECT_EQ(t->y, y);
    EXPECT_EQ(t->coeffs, c);
}

TYPED_TEST(EditPtrTest, AllocationFailuresLeaveNoArrayAndLeakNothing) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[4] = {0, 1, 2, 3};
    Real v[16] = {};
    Task t = make_task<F>(4, x, 2, v);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_ORDER, 1), DF_STATUS_OK);
    ASSERT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v), DF_STATUS_OK);
    for (int64_t id : {DF_PTR_Y, DF_PTR_COEFF}) {
        EXPECT_EQ(sweep_allocation_failures(
                      [&] {
                          const int64_t status = F::edit_ptr(t.get(), id, v + 2);
                          if (status != DF_STATUS_OK) {
                              // The old array is gone; the task holds no stale pointer to it.
                              EXPECT_EQ(array_entries(id == DF_PTR_Y ? t->y : t->coeffs), 0);
                          }
                          return status;
                      },
                      1),
                  1);
        const void *const *array = id == DF_PTR_Y ? t->y : t->coeffs;
        EXPECT_EQ(array[1], v + 2 + (id == DF_PTR_Y ? 4 : 3));
    }
}

template <class F>
class EditIdxPtrTest : public ::testing::Test {};
TYPED_TEST_SUITE(EditIdxPtrTest, BothForms);

TYPED_TEST(EditIdxPtrTest, ChecksInOrder) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[3] = {0, 1, 2};
    Real v[8] = {};
    Task t = make_task<F>(3, x, 2, v);
    EXPECT_EQ(F::edit_idx_ptr(nullptr, DF_PTR_Y, 0, v), DF_ERROR_NULL_TASK);
    for (int64_t id : {DF_PTR_X, DF_PTR_BC, DF_PTR_IC, 16}) {
        EXPECT_EQ(F::edit_idx_ptr(t.get(), id, 7, nullptr), DF_ERROR_BAD_PARAM_ID);
    }
    for (int64_t id : {DF_PTR_Y, DF_PTR_COEFF}) {
        EXPECT_EQ(F::edit_idx_ptr(t.get(), id, 2, nullptr), DF_ERROR_BAD_FUNC_INDEX);
        EXPECT_EQ(F::edit_idx_ptr(t.get(), id, -1, v), DF_ERROR_BAD_FUNC_INDEX);
    }
    EXPECT_EQ(F::edit_idx_ptr(t.get(), DF_PTR_Y, 1, nullptr), DF_ERROR_NULL_Y);
    EXPECT_EQ(F::edit_idx_ptr(t.get(), DF_PTR_COEFF, 1, nullptr), DF_ERROR_NULL_COEFF);
}

TYPED_TEST(EditIdxPtrTest, SetsOneEntryOfAnExistingArray) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[3] = {0, 1, 2};
    Real v[8] = {};
    Real w[8] = {};
    Task t = make_task<F>(3, x, 2, v, DF_HINT_PER_FUNCTION);
    // No coefficient array yet: refused with the null code, nothing written.
    EXPECT_EQ(F::edit_idx_ptr(t.get(), DF_PTR_COEFF, 1, w), DF_ERROR_NULL_COEFF);
    EXPECT_EQ(t->coeffs, nullptr);

    EXPECT_EQ(F::edit_idx_ptr(t.get(), DF_PTR_Y, 1, w + 3), DF_STATUS_OK);
    EXPECT_EQ(t->y[0], v);
    EXPECT_EQ(t->y[1], w + 3);
    ASSERT_EQ(F::edit_pp_spline(t.get(), 2, 0, 0, nullptr, 0, nullptr, v, DF_HINT_PER_FUNCTION),
              DF_STATUS_OK);
    EXPECT_EQ(F::edit_idx_ptr(t.get(), DF_PTR_COEFF, 1, w), DF_STATUS_OK);
    EXPECT_EQ(t->coeffs[0], v);
    EXPECT_EQ(t->coeffs[1], w);
}

TYPED_TEST(EditIdxPtrTest, RefusesIndicesBeyondTheBuiltArray) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[3] = {0, 1, 2};
    Real v[8] = {};
    {
        // One entry for the whole block.
        Task t = make_task<F>(3, x, 2, v, DF_HINT_SINGLE_POINTER);
        EXPECT_EQ(F::edit_idx_ptr(t.get(), DF_PTR_Y, 1, v), DF_ERROR_BAD_FUNC_INDEX);
        EXPECT_EQ(F::edit_idx_ptr(t.get(), DF_PTR_Y, 0, v + 1), DF_STATUS_OK);
        EXPECT_EQ(t->y[0], v + 1);
    }
    {
        // ny raised after the arrays were built.
        Task t = make_task<F>(3, x, 2, v);
        ASSERT_EQ(F::edit_pp_spline(t.get(), 1, 0, 0, nullptr, 0, nullptr, v, 0), DF_STATUS_OK);
        ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NY, 4), DF_STATUS_OK);
        for (int64_t id : {DF_PTR_Y, DF_PTR_COEFF}) {
            EXPECT_EQ(F::edit_idx_ptr(t.get(), id, 2, v), DF_ERROR_BAD_FUNC_INDEX);
            EXPECT_EQ(F::edit_idx_ptr(t.get(), id, 1, v), DF_STATUS_OK);
        }
    }
}

template <class F>
class EditPPSplineTest : public ::testing::Test {};
TYPED_TEST_SUITE(EditPPSplineTest, BothForms);

TYPED_TEST(EditPPSplineTest, BuildsCoefficientsWithThisCallsModel) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[5] = {0, 1, 2, 3, 4};
    Real c[40] = {};
    Task t = make_task<F>(5, x, 2, c);
    ASSERT_EQ(F::edit_pp_spline(t.get(), 4, 1, 0, nullptr, 0, nullptr, c, 0), DF_STATUS_OK);
    EXPECT_EQ(t->coeffs[0], c);
    EXPECT_EQ(t->coeffs[1], c + 20);
    ASSERT_EQ(F::edit_pp_spline(t.get(), 4, 2, 0, nullptr, 0, nullptr, c, 0), DF_STATUS_OK);
    EXPECT_EQ(t->coeffs[1], c + 16);
    // The hint of the same call decides the layout, and is stored last.
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_COEFF_HINT, DF_NO_HINT), DF_STATUS_OK);
    ASSERT_EQ(F::edit_pp_spline(t.get(), 0, 2, 0, nullptr, 0, nullptr, c + 1, 0x80), DF_STATUS_OK);
    EXPECT_EQ(t->coeffs[0], c + 1);
    EXPECT_EQ(t->coeffs[1], nullptr);
    EXPECT_EQ(t->coeffHint, 0x80);
    // Without coefficients the array stays as it was.
    void **kept = t->coeffs;
    ASSERT_EQ(F::edit_pp_spline(t.get(), 3, 1, 0, nullptr, 0, nullptr, nullptr, 16), DF_STATUS_OK);
    EXPECT_EQ(t->coeffs, kept);
    EXPECT_EQ(t->coeffHint, 16);
}

TYPED_TEST(EditPPSplineTest, StoresEachStepBeforeTheNextFails) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[5] = {0, 1, 2, 3, 4};
    const Real ic[2] = {1, 2};
    const Real bc[2] = {3, 4};
    Real c[40] = {};
    auto fresh = [&](int64_t ny) {
        Task t = make_task<F>(5, x, ny, ny == 0 ? nullptr : c);
        korb_df_kernel_iEditVal(t.get(), DF_VAL_COEFF_HINT, DF_HINT_CONTIGUOUS);
        return t;
    };
    {
        Task t = fresh(2);
        EXPECT_EQ(F::edit_pp_spline(nullptr, 4, 1, 0, ic, 0, bc, c, 0), DF_ERROR_NULL_TASK);
        EXPECT_EQ(F::edit_pp_spline(t.get(), -1, -1, 5, nullptr, 1, nullptr, c, 0),
                  DF_ERROR_BAD_SPLINE_ORDER);
        EXPECT_EQ(F::edit_pp_spline(t.get(), 4, -1, 5, nullptr, 1, nullptr, c, 0),
                  DF_ERROR_BAD_SPLINE_TYPE);
        EXPECT_EQ(t->splineOrder, 0);  // order and type are stored together
        EXPECT_EQ(t->splineType, 0);
    }
    {
        Task t = fresh(2);
        EXPECT_EQ(F::edit_pp_spline(t.get(), 4, 9, 5, nullptr, 1, nullptr, c, 0), DF_ERROR_NULL_IC);
        EXPECT_EQ(t->splineOrder, 4);
        EXPECT_EQ(t->splineType, 9);
        EXPECT_EQ(t->icType, 0);
    }
    {
        Task t = fresh(2);
        // Types 0, 1 and 2 need no values.
        EXPECT_EQ(F::edit_pp_spline(t.get(), 4, 1, 2, nullptr, 1, nullptr, c, 0), DF_ERROR_NULL_BC);
        EXPECT_EQ(t->icType, 2);
        EXPECT_EQ(t->bcType, 0);
    }
    {
        Task t = fresh(2);
        EXPECT_EQ(F::edit_pp_spline(t.get(), 4, 1, 3, ic, 0, bc, c, 0), DF_ERROR_BAD_BC_TYPE);
        EXPECT_EQ(t->splineOrder, 4);
        EXPECT_EQ(t->splineType, 1);
        EXPECT_EQ(t->icType, 3);
        EXPECT_EQ(t->ic, ic);
        EXPECT_EQ(t->bc, nullptr);
        EXPECT_EQ(t->coeffs, nullptr);
        EXPECT_EQ(t->coeffHint, DF_HINT_CONTIGUOUS);
    }
    {
        Task t = fresh(0);
        EXPECT_EQ(F::edit_pp_spline(t.get(), 4, 1, 3, ic, 0x18, bc, c, 0), DF_ERROR_BAD_NY);
        EXPECT_EQ(t->bcType, 0x18);
        EXPECT_EQ(t->bc, bc);
        EXPECT_EQ(t->coeffHint, DF_HINT_CONTIGUOUS);
        // Order 0 has no per-cell layout.
        ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NY, 2), DF_STATUS_OK);
        EXPECT_EQ(F::edit_pp_spline(t.get(), 0, 1, 0, nullptr, 0, nullptr, c, 0),
                  DF_ERROR_BAD_SPLINE_ORDER);
        EXPECT_EQ(t->coeffs, nullptr);
        EXPECT_EQ(t->coeffHint, DF_HINT_CONTIGUOUS);
    }
}

TYPED_TEST(EditPPSplineTest, AllocationFailuresLeakNothing) {
    using F = TypeParam;
    using Real = typename F::Real;
    const Real x[5] = {0, 1, 2, 3, 4};
    Real c[40] = {};
    Task t = make_task<F>(5, x, 2, c);
    ASSERT_EQ(F::edit_pp_spline(t.get(), 2, 0, 0, nullptr, 0, nullptr, c, 0), DF_STATUS_OK);
    EXPECT_EQ(sweep_allocation_failures(
                  [&] {
                      const int64_t status =
                          F::edit_pp_spline(t.get(), 4, 1, 0, nullptr, 0, nullptr, c, 16);
                      if (status != DF_STATUS_OK) {
                          EXPECT_EQ(t->coeffs, nullptr);
                          EXPECT_EQ(t->coeffHint, 0);
                          EXPECT_EQ(t->splineOrder, 4);
                      }
                      return status;
                  },
                  1),
              1);
    EXPECT_EQ(t->coeffs[1], c + 20);
}

}  // namespace
}  // namespace korb::test
