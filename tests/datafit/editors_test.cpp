// The task editors: integer and pointer attributes, per-function pointers, the spline model.
#include <cstdint>

#include "datafit/df_test.h"
#include "datafit/task.h"
#include "korb/kernel/df.h"

namespace korb::test {
namespace {

using datafit::array_entries;

using EditValTest = DfTest<DoubleForms>;

TEST_F(EditValTest, AcceptsAndRefusesPerAttribute) {
    Task t = make(5, 2);
    const struct {
        int64_t id;
        int64_t DfTask::*field;
        int64_t accepted[2], refused[2], code;
    } cases[] = {
        {DF_VAL_NX, &DfTask::nx, {2, 1000}, {1, -2}, DF_ERROR_BAD_NX},
        {DF_VAL_XHINT, &DfTask::xHint, {4, 1}, {3, 8}, DF_ERROR_BAD_XHINT},
        {DF_VAL_NY, &DfTask::ny, {1, 50}, {0, INT64_MIN}, DF_ERROR_BAD_NY},
        {DF_VAL_YHINT, &DfTask::yHint, {32, 128}, {64, 0x90}, DF_ERROR_BAD_YHINT},
        {DF_VAL_SPLINE_ORDER,
         &DfTask::splineOrder,
         {0, 4},
         {-1, INT64_MIN},
         DF_ERROR_BAD_SPLINE_ORDER},
        {DF_VAL_SPLINE_TYPE, &DfTask::splineType, {0, 5}, {6, -1}, DF_ERROR_BAD_SPLINE_TYPE},
        // Any value with bit 0x8 set is a boundary-condition type, negative ones too.
        {DF_VAL_BC_TYPE, &DfTask::bcType, {0x18, -8}, {3, 0x10}, DF_ERROR_BAD_BC_TYPE},
        {DF_VAL_IC_TYPE, &DfTask::icType, {0, 7}, {-1, INT64_MIN}, DF_ERROR_BAD_IC_TYPE},
        {DF_VAL_COEFF_HINT, &DfTask::coeffHint, {16, 128}, {0x81, -128}, DF_ERROR_BAD_COEFF_HINT},
    };
    for (const auto &c : cases) {
        for (int64_t v : c.accepted) {
            EXPECT_EQ(korb_df_kernel_iEditVal(t.get(), c.id, v), DF_STATUS_OK) << c.id << " " << v;
            EXPECT_EQ(t.get()->*c.field, v);
        }
        for (int64_t v : c.refused) {
            EXPECT_EQ(korb_df_kernel_iEditVal(t.get(), c.id, v), c.code) << c.id << " " << v;
            EXPECT_EQ(t.get()->*c.field, c.accepted[1]);
        }
    }
    for (int64_t id : {1, 13, 23, -14}) {
        EXPECT_EQ(korb_df_kernel_iEditVal(t.get(), id, 2), DF_ERROR_BAD_PARAM_ID) << id;
    }
    EXPECT_EQ(korb_df_kernel_iEditVal(nullptr, DF_VAL_NX, 2), DF_ERROR_NULL_TASK);
}

TEST_F(EditValTest, OnlyTheSplineEditorChangesATaskThatIsNotEditable) {
    Task t = make(5, 2);
    t->editable = 0;
    EXPECT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NX, 3), DF_STATUS_OK);
    EXPECT_EQ(korb_df_kernel_iEditVal(t.get(), 99, 3), DF_STATUS_OK);
    EXPECT_EQ(korb_df_kernel_dEditPtr(t.get(), DF_PTR_X, v), DF_STATUS_OK);
    EXPECT_EQ(korb_df_kernel_dEditPtr(t.get(), DF_PTR_Y, nullptr), DF_STATUS_OK);
    EXPECT_EQ(korb_df_kernel_dEditIdxPtr(t.get(), DF_PTR_Y, 1, v), DF_STATUS_OK);
    EXPECT_EQ(t->nx, 5);
    EXPECT_EQ(t->x, x);
    EXPECT_EQ(t->y[1], v + 5);
    EXPECT_EQ(korb_df_kernel_dEditPPSpline1D(t.get(), 3, 2, 0, nullptr, 0, nullptr, nullptr, 0),
              DF_STATUS_OK);
    EXPECT_EQ(t->splineOrder, 3);
}

template <class F>
class EditorsTest : public DfTest<F> {};
TYPED_TEST_SUITE(EditorsTest, BothForms);

TYPED_TEST(EditorsTest, EditPtrStoresOrRefusesEachAttribute) {
    using F = TypeParam;
    const auto *v = this->v;
    Task t = this->make(4, 2);
    const int64_t null_codes[] = {DF_ERROR_NULL_X, DF_ERROR_NULL_Y, DF_ERROR_NULL_BC,
                                  DF_ERROR_NULL_IC, DF_ERROR_NULL_COEFF};
    for (int64_t id = DF_PTR_X; id <= DF_PTR_COEFF; ++id) {
        EXPECT_EQ(F::edit_ptr(t.get(), id, nullptr), null_codes[id - DF_PTR_X]);
    }
    for (int64_t id : {0, 6, 14}) {
        EXPECT_EQ(F::edit_ptr(t.get(), id, nullptr), DF_ERROR_BAD_PARAM_ID);
        EXPECT_EQ(F::edit_ptr(t.get(), id, v), DF_ERROR_BAD_PARAM_ID);
    }
    EXPECT_EQ(F::edit_ptr(nullptr, DF_PTR_X, v), DF_ERROR_NULL_TASK);
    for (int64_t id : {DF_PTR_X, DF_PTR_BC, DF_PTR_IC}) {
        EXPECT_EQ(F::edit_ptr(t.get(), id, v + id), DF_STATUS_OK);
    }
    EXPECT_EQ(t->x, v + DF_PTR_X);
    EXPECT_EQ(t->bc, v + DF_PTR_BC);
    EXPECT_EQ(t->ic, v + DF_PTR_IC);
}

TYPED_TEST(EditorsTest, EditPtrBuildsFromTheCurrentModel) {
    using F = TypeParam;
    const auto *v = this->v;
    Task t = this->make(4, 2);
    // Values: the new nx and ny, the old array released.
    const long live = korb_serv_live_blocks();
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NX, 5), DF_STATUS_OK);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NY, 3), DF_STATUS_OK);
    ASSERT_EQ(F::edit_ptr(t.get(), DF_PTR_Y, v + 1), DF_STATUS_OK);
    EXPECT_EQ(korb_serv_live_blocks(), live);
    ASSERT_EQ(array_entries(t->y), 3);
    for (int64_t i = 0; i < 3; ++i) EXPECT_EQ(t->y[i], v + 1 + 5 * i);

    // Coefficients: order 0 makes empty blocks, so every entry points at the given block.
    ASSERT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v + 2), DF_STATUS_OK);
    ASSERT_EQ(array_entries(t->coeffs), 3);
    for (int64_t i = 0; i < 3; ++i) EXPECT_EQ(t->coeffs[i], v + 2);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_ORDER, 2), DF_STATUS_OK);
    for (int64_t type = 0; type <= DF_SPLINE_TYPE_MAX; ++type) {
        ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_TYPE, type), DF_STATUS_OK);
        ASSERT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v), DF_STATUS_OK);
        ASSERT_EQ(array_entries(t->coeffs), 3);
        // Type 1 keeps one block of `order` coefficients more per function.
        const int64_t per = type == 1 ? 5 * 2 : 4 * 2;
        for (int64_t i = 0; i < 3; ++i) EXPECT_EQ(t->coeffs[i], v + i * per) << "type " << type;
    }
    // The per-function hint needs no order: entry 0 only.
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_ORDER, 0), DF_STATUS_OK);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_COEFF_HINT, DF_HINT_PER_FUNCTION),
              DF_STATUS_OK);
    ASSERT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v + 1), DF_STATUS_OK);
    EXPECT_EQ(t->coeffs[0], v + 1);
    EXPECT_EQ(t->coeffs[1], nullptr);
    EXPECT_EQ(t->coeffs[2], nullptr);
}

TYPED_TEST(EditorsTest, EditPtrRefusesLayoutsWithoutKeepingStalePointers) {
    using F = TypeParam;
    const auto *v = this->v;
    {
        // No functions: neither values (not even one pointer to them) nor coefficients.
        Task t = this->make(4, 0);
        ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_YHINT, DF_HINT_PER_FUNCTION),
                  DF_STATUS_OK);
        ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_COEFF_HINT, DF_HINT_PER_FUNCTION),
                  DF_STATUS_OK);
        EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_Y, v), DF_ERROR_BAD_NY);
        EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v), DF_ERROR_BAD_NY);
        EXPECT_EQ(t->y, nullptr);
        EXPECT_EQ(t->coeffs, nullptr);
        // More functions than pointers fit in memory: refused without asking the allocator.
        ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NY, INT64_MAX / 2), DF_STATUS_OK);
        EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_Y, v), DF_ERROR_MEM_FAILURE);
    }
    Task t = this->make(4, 2);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_ORDER, 1), DF_STATUS_OK);
    ASSERT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v), DF_STATUS_OK);
    const void *const *y = t->y;
    void **c = t->coeffs;
    // Blocks beyond the address space: refused before the old arrays are released.
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NX, INT64_MAX / 4), DF_STATUS_OK);
    EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_Y, v), DF_ERROR_BAD_NY);
    EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v), DF_ERROR_BAD_NY);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NX, 4), DF_STATUS_OK);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_ORDER, INT64_MAX / 2), DF_STATUS_OK);
    EXPECT_EQ(F::edit_ptr(t.get(), DF_PTR_COEFF, v), DF_ERROR_BAD_NY);
    EXPECT_EQ(t->y, y);
    EXPECT_EQ(t->coeffs, c);

    // An allocation failure leaves no array (the old one is gone) and leaks nothing.
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_SPLINE_ORDER, 1), DF_STATUS_OK);
    for (int64_t id : {DF_PTR_Y, DF_PTR_COEFF}) {
        auto array = [&] { return id == DF_PTR_Y ? t->y : t->coeffs; };
        const auto attempt = [&] {
            const int64_t status = F::edit_ptr(t.get(), id, v + 2);
            if (status != DF_STATUS_OK) {
                EXPECT_EQ(array(), nullptr);
            }
            return status;
        };
        EXPECT_EQ(sweep_allocation_failures(attempt, 1), 1);
        EXPECT_EQ(array()[1], v + 2 + (id == DF_PTR_Y ? 4 : 3));
    }
}

TYPED_TEST(EditorsTest, EditIdxPtrChecksInOrderAndWritesOnlyInsideTheArray) {
    using F = TypeParam;
    const auto *v = this->v;
    Task t = this->make(3, 2, DF_HINT_PER_FUNCTION);
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
    // No coefficient array yet: refused with the null code, nothing written.
    EXPECT_EQ(F::edit_idx_ptr(t.get(), DF_PTR_COEFF, 1, v), DF_ERROR_NULL_COEFF);
    EXPECT_EQ(t->coeffs, nullptr);

    EXPECT_EQ(F::edit_idx_ptr(t.get(), DF_PTR_Y, 1, v + 3), DF_STATUS_OK);
    EXPECT_EQ(t->y[0], v);
    EXPECT_EQ(t->y[1], v + 3);
    ASSERT_EQ(F::edit_pp_spline(t.get(), 2, 0, 0, nullptr, 0, nullptr, this->v, 0), DF_STATUS_OK);
    EXPECT_EQ(F::edit_idx_ptr(t.get(), DF_PTR_COEFF, 1, v + 1), DF_STATUS_OK);
    EXPECT_EQ(t->coeffs[0], v);
    EXPECT_EQ(t->coeffs[1], v + 1);

    // ny raised after the arrays were built: the arrays still hold two entries.
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NY, 4), DF_STATUS_OK);
    for (int64_t id : {DF_PTR_Y, DF_PTR_COEFF}) {
        EXPECT_EQ(F::edit_idx_ptr(t.get(), id, 2, v), DF_ERROR_BAD_FUNC_INDEX);
    }
    // One entry for the whole block.
    Task single = this->make(3, 2, DF_HINT_SINGLE_POINTER);
    EXPECT_EQ(F::edit_idx_ptr(single.get(), DF_PTR_Y, 1, v), DF_ERROR_BAD_FUNC_INDEX);
    EXPECT_EQ(F::edit_idx_ptr(single.get(), DF_PTR_Y, 0, v + 1), DF_STATUS_OK);
    EXPECT_EQ(single->y[0], v + 1);
}

TYPED_TEST(EditorsTest, EditPPSplineBuildsCoefficientsWithThisCallsModel) {
    using F = TypeParam;
    auto *c = this->v;
    Task t = this->make(5, 2);
    ASSERT_EQ(F::edit_pp_spline(t.get(), 4, 1, 0, nullptr, 0, nullptr, c, 0), DF_STATUS_OK);
    EXPECT_EQ(t->coeffs[0], c);
    EXPECT_EQ(t->coeffs[1], c + 20);
    ASSERT_EQ(F::edit_pp_spline(t.get(), 4, 2, 0, nullptr, 0, nullptr, c, 0), DF_STATUS_OK);
    EXPECT_EQ(t->coeffs[1], c + 16);
    // The hint of the same call decides the layout, and is stored last.
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

TYPED_TEST(EditorsTest, EditPPSplineStoresEachStepBeforeTheNextFails) {
    using F = TypeParam;
    auto *c = this->v;
    const auto *ic = this->x;
    const auto *bc = this->x + 2;
    auto fresh = [&](int64_t ny) {
        Task t = this->make(5, ny);
        korb_df_kernel_iEditVal(t.get(), DF_VAL_COEFF_HINT, DF_HINT_CONTIGUOUS);
        return t;
    };
    EXPECT_EQ(F::edit_pp_spline(nullptr, 4, 1, 0, ic, 0, bc, c, 0), DF_ERROR_NULL_TASK);
    Task t = fresh(2);
    EXPECT_EQ(F::edit_pp_spline(t.get(), -1, -1, 5, nullptr, 1, nullptr, c, 0),
              DF_ERROR_BAD_SPLINE_ORDER);
    EXPECT_EQ(F::edit_pp_spline(t.get(), 4, -1, 5, nullptr, 1, nullptr, c, 0),
              DF_ERROR_BAD_SPLINE_TYPE);
    EXPECT_EQ(t->splineOrder, 0);  // order and type are stored together
    EXPECT_EQ(F::edit_pp_spline(t.get(), 4, 9, 5, nullptr, 1, nullptr, c, 0), DF_ERROR_NULL_IC);
    EXPECT_EQ(t->splineOrder, 4);
    EXPECT_EQ(t->splineType, 9);
    EXPECT_EQ(t->icType, 0);
    // Internal-condition types 0, 1 and 2 need no values.
    EXPECT_EQ(F::edit_pp_spline(t.get(), 4, 1, 2, nullptr, 1, nullptr, c, 0), DF_ERROR_NULL_BC);
    EXPECT_EQ(t->icType, 2);
    EXPECT_EQ(t->bcType, 0);

    t = fresh(2);
    EXPECT_EQ(F::edit_pp_spline(t.get(), 4, 1, 3, ic, 0, bc, c, 0), DF_ERROR_BAD_BC_TYPE);
    EXPECT_EQ(t->splineOrder, 4);
    EXPECT_EQ(t->splineType, 1);
    EXPECT_EQ(t->icType, 3);
    EXPECT_EQ(t->ic, ic);
    EXPECT_EQ(t->bc, nullptr);
    EXPECT_EQ(t->coeffs, nullptr);
    EXPECT_EQ(t->coeffHint, DF_HINT_CONTIGUOUS);

    t = fresh(0);
    EXPECT_EQ(F::edit_pp_spline(t.get(), 4, 1, 3, ic, 0x18, bc, c, 0), DF_ERROR_BAD_NY);
    EXPECT_EQ(t->bcType, 0x18);
    EXPECT_EQ(t->bc, bc);
    EXPECT_EQ(t->coeffHint, DF_HINT_CONTIGUOUS);
    ASSERT_EQ(korb_df_kernel_iEditVal(t.get(), DF_VAL_NY, 2), DF_STATUS_OK);
    ASSERT_EQ(F::edit_pp_spline(t.get(), 0, 1, 0, nullptr, 0, nullptr, c, 0), DF_STATUS_OK);
    EXPECT_EQ(t->coeffs[0], c);
    EXPECT_EQ(t->coeffs[1], c);

    // An allocation failure: the old array is gone, the hint not yet stored.
    ASSERT_EQ(F::edit_pp_spline(t.get(), 2, 0, 0, nullptr, 0, nullptr, c, 0), DF_STATUS_OK);
    const auto attempt = [&] {
        const int64_t status = F::edit_pp_spline(t.get(), 4, 1, 0, nullptr, 0, nullptr, c, 16);
        if (status != DF_STATUS_OK) {
            EXPECT_EQ(t->coeffs, nullptr);
            EXPECT_EQ(t->coeffHint, 0);
        }
        return status;
    };
    EXPECT_EQ(sweep_allocation_failures(attempt, 1), 1);
    EXPECT_EQ(t->coeffs[1], c + 20);
}

}  // namespace
}  // namespace korb::test
