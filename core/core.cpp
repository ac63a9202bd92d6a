// libkorb_core.so: aligned allocation for the kernel library, with failure injection and a count
// of live blocks so that tests can prove every path releases what it took.
#include "korb_core.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace korb::core {
namespace {

std::atomic<long> g_fail_countdown{-1};
std::atomic<long> g_live_blocks{0};

// True when the injected failure is due now; consumes it.
bool injected_failure() {
    long n = g_fail_countdown.load(std::memory_order_relaxed);
    while (n >= 0) {
        long next = n == 0 ? -1 : n - 1;
        if (g_fail_countdown.compare_exchange_weak(n, next, std::memory_order_relaxed)) {
            return n == 0;
        }
    }
    return false;
}

void *aligned_block(size_t size, int alignment) {
    if (alignment <= 0 || (alignment & (alignment - 1)) != 0) return nullptr;
    if (size > static_cast<size_t>(PTRDIFF_MAX)) return nullptr;
    if (injected_failure()) return nullptr;
    size_t align = alignment < 16 ? 16 : static_cast<size_t>(alignment);
    void *p = nullptr;
    if (posix_memalign(&p, align, size == 0 ? 1 : size) != 0) return nullptr;
    g_live_blocks.fetch_add(1, std::memory_order_relaxed);
    return p;
}

void release(void *p) {
    if (p == nullptr) return;
    g_live_blocks.fetch_sub(1, std::memory_order_relaxed);
    std::free(p);
}

}  // namespace
}  // namespace korb::core

extern "C" {

void *korb_serv_allocate(size_t size, int alignment) {
    return korb::core::aligned_block(size, alignment);
}
void korb_serv_deallocate(void *p) {
    korb::core::release(p);
}
void *korb_serv_malloc(size_t size, int alignment) {
    return korb::core::aligned_block(size, alignment);
}
void korb_serv_free(void *p) {
    korb::core::release(p);
}
int korb_serv_cbwr_get_nolock(void) {
    return KORB_CBWR_AUTO;
}
void korb_serv_fail_after(long n) {
    korb::core::g_fail_countdown.store(n < 0 ? -1 : n, std::memory_order_relaxed);
}
long korb_serv_live_blocks(void) {
    return korb::core::g_live_blocks.load(std::memory_order_relaxed);
}
}
