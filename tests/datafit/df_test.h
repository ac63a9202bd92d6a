// Helpers shared by the data-fitting tests: both precisions behind one traits type, a task that
// deletes itself, and the allocation-failure sweep.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

#include "korb/kernel/df.h"
#include "korb_core.h"

namespace korb::test {

// The entry points of one precision, so that typed tests run both.
struct DoubleForms {
    using Real = double;
    static constexpr auto new_task = korb_df_kernel_dNewTask1D;
    static constexpr auto edit_ptr = korb_df_kernel_dEditPtr;
    static constexpr auto edit_idx_ptr = korb_df_kernel_dEditIdxPtr;
    static constexpr auto edit_pp_spline = korb_df_kernel_dEditPPSpline1D;
    static constexpr int32_t precision = DF_PRECISION_DOUBLE;
};

struct SingleForms {
    using Real = float;
    static constexpr auto new_task = korb_df_kernel_sNewTask1D;
    static constexpr auto edit_ptr = korb_df_kernel_sEditPtr;
    static constexpr auto edit_idx_ptr = korb_df_kernel_sEditIdxPtr;
    static constexpr auto edit_pp_spline = korb_df_kernel_sEditPPSpline1D;
    static constexpr int32_t precision = DF_PRECISION_SINGLE;
};

using BothForms = ::testing::Types<DoubleForms, SingleForms>;

struct TaskDeleter {
    void operator()(DfTask *t) const { korb_df_kernel_DeleteTask(&t); }
};
using Task = std::unique_ptr<DfTask, TaskDeleter>;

// Typed fixture: a partition x, a scratch block v for values and coefficients, and tasks over
// them in the precision of F.
template <class F>
class DfTest : public ::testing::Test {
  protected:
    using Real = typename F::Real;
    Real x[5] = {0, 1, 2, 3, 4};
    Real v[64] = {};

    // A task over x[0..nx-1] whose ny functions lie in v (no values when ny is 0).
    Task make(int64_t nx, int64_t ny, int64_t yhint = DF_NO_HINT) {
        DfTask *t = nullptr;
        EXPECT_EQ(F::new_task(&t, nx, x, DF_NO_HINT, ny, ny == 0 ? nullptr : v, yhint, 0),
                  DF_STATUS_OK);
        return Task(t);
    }
};

// Runs `attempt` with the k-th allocation failing, for k = 0, 1, ... until an attempt succeeds.
// `attempt` returns its status and must release whatever it made, failed or not; every failure
// must be DF_ERROR_MEM_FAILURE and no attempt may leave a block behind. An editor that releases
// an old array before building the new one ends a failed attempt with `released` blocks fewer.
// Returns the number of failing attempts.
template <class F>
long sweep_allocation_failures(F attempt, long released = 0) {
    const long live = korb_serv_live_blocks();
    for (long k = 0;; ++k) {
        korb_serv_fail_after(k);
        const int64_t status = attempt();
        korb_serv_fail_after(-1);
        EXPECT_EQ(korb_serv_live_blocks(), status == DF_STATUS_OK ? live : live - released)
            << "after failing allocation " << k;
        if (status == DF_STATUS_OK) return k;
        EXPECT_EQ(status, DF_ERROR_MEM_FAILURE) << "failing allocation " << k;
        if (status != DF_ERROR_MEM_FAILURE || k >= 100) return -1;
    }
}

}  // namespace korb::test
