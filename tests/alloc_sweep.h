// Allocation-failure sweeps shared by the families' tests.
#pragma once

#include <gtest/gtest.h>

#include "korb_core.h"

namespace korb::test {

// Runs `attempt` with the k-th allocation failing, for k = 0, 1, ... until an attempt succeeds
// (returns 0). `attempt` returns its status and must release whatever it made, failed or not;
// every failure must be `mem_status`, and no attempt may leave a block behind.
template <class F>
void sweep_allocation_failures_with(int mem_status, F attempt) {
    const long live = korb_serv_live_blocks();
    for (long k = 0;; ++k) {
        korb_serv_fail_after(k);
        const int status = attempt();
        korb_serv_fail_after(-1);
        EXPECT_EQ(korb_serv_live_blocks(), live) << "after failing allocation " << k;
        if (status == 0) return;
        ASSERT_EQ(status, mem_status) << "failing allocation " << k;
        ASSERT_LT(k, 1000) << "never succeeded";
    }
}

}  // namespace korb::test
