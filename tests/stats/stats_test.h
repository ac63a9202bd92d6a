// Helpers shared by the summary-statistics tests.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "alloc_sweep.h"
#include "korb/kernel/ss.h"
#include "korb_core.h"

namespace korb::test {

struct TaskDeleter {
    void operator()(BixSSTask *t) const { __bixSSDeleteTask(&t); }
};
using Task = std::unique_ptr<BixSSTask, TaskDeleter>;

// Every allocation failure of a statistics call must give BIX_SS_ERROR_MEM_FAILURE.
template <class F>
void sweep_ss_allocation_failures(F attempt) {
    sweep_allocation_failures_with(BIX_SS_ERROR_MEM_FAILURE, attempt);
}

}  // namespace korb::test
