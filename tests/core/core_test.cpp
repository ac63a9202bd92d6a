#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "korb_core.h"

namespace {

bool aligned(const void *p, uintptr_t a) {
    return reinterpret_cast<uintptr_t>(p) % a == 0;
}

TEST(CoreServices, HonourEveryPowerOfTwoAlignment) {
    for (int a = 1; a <= 8192; a *= 2) {
        void *p = korb_serv_allocate(33, a);
        void *q = korb_serv_malloc(33, a);
        ASSERT_NE(p, nullptr) << a;
        ASSERT_NE(q, nullptr) << a;
        EXPECT_TRUE(aligned(p, a < 16 ? 16 : a)) << a;
        EXPECT_TRUE(aligned(q, a < 16 ? 16 : a)) << a;
        std::memset(p, 0xAB, 33);
        std::memset(q, 0xCD, 33);
        korb_serv_deallocate(p);
        korb_serv_free(q);
    }
}

TEST(CoreServices, RefuseAlignmentsThatAreNotPowersOfTwo) {
    EXPECT_EQ(korb_serv_allocate(8, 0), nullptr);
    EXPECT_EQ(korb_serv_allocate(8, 24), nullptr);
    EXPECT_EQ(korb_serv_malloc(8, -8), nullptr);
    EXPECT_EQ(korb_serv_malloc(8, 3), nullptr);
}

TEST(CoreServices, ZeroSizeGivesDistinctBlocks) {
    const long live = korb_serv_live_blocks();
    void *a = korb_serv_malloc(0, 64);
    void *b = korb_serv_malloc(0, 64);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_NE(a, b);
    EXPECT_EQ(korb_serv_live_blocks(), live + 2);
    korb_serv_free(a);
    korb_serv_free(b);
    korb_serv_free(nullptr);
    korb_serv_deallocate(nullptr);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

TEST(CoreServices, HugeRequestsFailWithoutCounting) {
    const long live = korb_serv_live_blocks();
    EXPECT_EQ(korb_serv_allocate(SIZE_MAX, 128), nullptr);
    EXPECT_EQ(korb_serv_malloc(SIZE_MAX / 2, 64), nullptr);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

TEST(FailureInjection, FailsTheAllocationAfterNMoreOnce) {
    korb_serv_fail_after(2);
    void *a = korb_serv_malloc(8, 64);
    void *b = korb_serv_allocate(8, 128);
    void *c = korb_serv_malloc(8, 64);
    void *d = korb_serv_allocate(8, 128);
    EXPECT_NE(a, nullptr);
    EXPECT_NE(b, nullptr);
    EXPECT_EQ(c, nullptr);
    EXPECT_NE(d, nullptr);
    korb_serv_free(a);
    korb_serv_deallocate(b);
    korb_serv_deallocate(d);
}

TEST(FailureInjection, ZeroFailsTheNextAndNegativeTurnsItOff) {
    korb_serv_fail_after(0);
    EXPECT_EQ(korb_serv_allocate(8, 64), nullptr);
    korb_serv_fail_after(0);
    korb_serv_fail_after(-5);
    void *p = korb_serv_allocate(8, 64);
    EXPECT_NE(p, nullptr);
    korb_serv_deallocate(p);
}

TEST(FailureInjection, RefusedRequestsDoNotConsumeTheCountdown) {
    korb_serv_fail_after(0);
    EXPECT_EQ(korb_serv_malloc(8, 3), nullptr);   // bad alignment: refused before the countdown
    EXPECT_EQ(korb_serv_malloc(8, 64), nullptr);  // the injected failure
    void *p = korb_serv_malloc(8, 64);
    EXPECT_NE(p, nullptr);
    korb_serv_free(p);
}

TEST(FailureInjection, ExactlyOneFailureUnderConcurrentUse) {
    korb_serv_fail_after(500);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i) {
                void *p = korb_serv_malloc(16, 64);
                if (p == nullptr) ++failures;
                korb_serv_free(p);
            }
        });
    }
    for (auto &t : threads) t.join();
    EXPECT_EQ(failures.load(), 1);
}

TEST(CoreServices, ReproducibilityBranchIsAutomatic) {
    EXPECT_EQ(korb_serv_cbwr_get_nolock(), KORB_CBWR_AUTO);
}

}  // namespace
