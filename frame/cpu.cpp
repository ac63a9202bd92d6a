// Processor class detection and the KORB_DEBUG_CPU_TYPE override.
//
// Classes: 0 x86-64 (SSE2), 1 x86-64-v2 (SSE3, SSSE3, SSE4.1, SSE4.2, POPCNT, CMPXCHG16B,
// LAHF/SAHF), 2 AVX (v2 plus AVX), 3 x86-64-v3 (AVX2, FMA, BMI1, BMI2, LZCNT, MOVBE, F16C),
// 4 x86-64-v4 (AVX-512 F, BW, DQ, VL, CD). An AVX class needs the OS to save SSE and AVX state
// (XCR0 bits 1 and 2, read with XGETBV after checking OSXSAVE); class 4 also needs the opmask and
// ZMM state (XCR0 bits 5 to 7).
#include "cpu.h"

#include <cpuid.h>

#include <atomic>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace korb::frame {
namespace {

std::atomic<int> g_type_word{-911};  // -911 undecided, -6 detected, 0..5 forced
std::atomic<int> g_detected{-1};

struct CpuId {
    unsigned a = 0, b = 0, c = 0, d = 0;
    bool ok = false;
};

CpuId cpuid(unsigned leaf, unsigned subleaf) {
    CpuId r;
    r.ok = __get_cpuid_count(leaf, subleaf, &r.a, &r.b, &r.c, &r.d) != 0;
    return r;
}

bool bit(unsigned word, int n) {
    return ((word >> n) & 1u) != 0;
}

uint64_t xgetbv0() {
    unsigned lo, hi;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (static_cast<uint64_t>(hi) << 32) | lo;
}

}  // namespace

int parse_cpu_override(const char *text) {
    if (text == nullptr) return -1;
    char buf[33];
    std::strncpy(buf, text, 32);
    buf[32] = '\0';
    char *end = nullptr;
    long v = std::strtol(buf, &end, 10);
    if (end == buf) v = 0;  // nothing parsed reads as 0, as atoi does
    if (v == 0 && std::strcmp(buf, "0") != 0) v = -1000;
    if (v < 0 || v >= 6) return -1;
    return static_cast<int>(v);
}

int detect_cpu_class() {
    CpuId l0 = cpuid(0, 0);
    CpuId l1 = cpuid(1, 0);
    if (!l0.ok || !l1.ok) return 0;
    CpuId l7 = l0.a >= 7 ? cpuid(7, 0) : CpuId{};
    CpuId e1 = cpuid(0x80000001u, 0);

    bool v2 = bit(l1.c, 0) && bit(l1.c, 9) && bit(l1.c, 19) && bit(l1.c, 20) && bit(l1.c, 23) &&
              bit(l1.c, 13) && e1.ok && bit(e1.c, 0);
    if (!v2) return 0;

    bool osxsave = bit(l1.c, 27);
    uint64_t xcr0 = osxsave ? xgetbv0() : 0;
    bool os_avx = (xcr0 & 0x6) == 0x6;
    if (!os_avx || !bit(l1.c, 28)) return 1;

    bool v3 = bit(l7.b, 5) && bit(l7.b, 3) && bit(l7.b, 8) && bit(l1.c, 12) && bit(l1.c, 22) &&
              bit(l1.c, 29) && e1.ok && bit(e1.c, 5);
    if (!v3) return 2;

    bool os_avx512 = (xcr0 & 0xE6) == 0xE6;
    bool v4 = os_avx512 && bit(l7.b, 16) && bit(l7.b, 17) && bit(l7.b, 30) && bit(l7.b, 31) &&
              bit(l7.b, 28);
    return v4 ? 4 : 3;
}

int processor_type_word() {
    int w = g_type_word.load(std::memory_order_acquire);
    if (w != -911) return w;
    int forced = parse_cpu_override(std::getenv("KORB_DEBUG_CPU_TYPE"));
    w = forced >= 0 ? forced : -6;
    g_type_word.store(w, std::memory_order_release);
    return w;
}

int processor_class(bool *forced) {
    int w = processor_type_word();
    if (forced != nullptr) *forced = w >= 0;
    if (w >= 0) return w;
    int d = g_detected.load(std::memory_order_relaxed);
    if (d < 0) {
        d = detect_cpu_class();
        g_detected.store(d, std::memory_order_relaxed);
    }
    return d;
}

}  // namespace korb::frame
