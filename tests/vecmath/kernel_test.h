// What the vector-math kernel tests share: a callback that records every report, and a fixture
// that makes it the only error channel for the test and restores the thread's mode after.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <vector>

#include "korb/kernel/vm.h"

namespace korb::test {

// One report as the callback saw it.
struct Report {
    int code;
    int index;
    double a1, a2, r1, r2;
    bool operator==(const Report &) const = default;
};

inline thread_local std::vector<Report> t_reports;

inline int record_report(ArqErrorContext *c) {
    t_reports.push_back({c->code, c->index, c->a1, c->a2, c->r1, c->r2});
    return 0;
}

class KernelTest : public ::testing::Test {
  protected:
    void SetUp() override {
        saved_mode_ = korb_arq_kernel_GetMode();
        korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_CALLBACK | ARQ_DENORMALS_KEEP);
        korb_arq_kernel_SetErrorCallBack(record_report);
        t_reports.clear();
    }
    void TearDown() override {
        korb_arq_kernel_ClearErrorCallBack();
        korb_arq_kernel_SetMode(saved_mode_);
    }

  private:
    unsigned saved_mode_ = 0;
};

// The bit pattern of a float or a double.
template <class T>
auto bits(T x) {
    if constexpr (sizeof(T) == 4) {
        return std::bit_cast<std::uint32_t>(x);
    } else {
        return std::bit_cast<std::uint64_t>(x);
    }
}

}  // namespace korb::test
