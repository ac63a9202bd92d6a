// Helpers shared by the summary-statistics tests.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "korb/ss.h"
#include "korb_core.h"

namespace korb::test {

struct TaskDeleter {
    void operator()(BixSSTask *t) const { __bixSSDeleteTask(&t); }
};
using Task = std::unique_ptr<BixSSTask, TaskDeleter>;

// Runs `attempt` with the k-th allocation failing, for k = 0, 1, ... until it succeeds; every
// failure must be the statistics family's memory status, and no attempt may leave a block.
template <class F>
void sweep_ss_allocation_failures(F attempt) {
    const long live = korb_serv_live_blocks();
    for (long k = 0;; ++k) {
        korb_serv_fail_after(k);
        const int status = attempt();
        korb_serv_fail_after(-1);
        EXPECT_EQ(korb_serv_live_blocks(), live) << "after failing allocation " << k;
        if (status == BIX_ERROR_OK) return;
        ASSERT_EQ(status, BIX_SS_ERROR_MEM_FAILURE) << "failing allocation " << k;
        ASSERT_LT(k, 100) << "never succeeded";
    }
}

}  // namespace korb::test
