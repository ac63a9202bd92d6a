// What every table-driven vector-math kernel shares: the control-register frame and bit access.
#pragma once

#include <xmmintrin.h>

#include <cstdint>
#include <cstring>

#include "frame/simd.h"
#include "korb/vm.h"
#include "vecmath/dispatch.h"
#include "vecmath/mode.h"

namespace korb::vecmath {

// Sets the SSE control register for the run of one kernel and gives the caller's back at scope
// exit. The thread's denormal group decides flush-to-zero and denormals-are-zero (both with
// ARQ_DENORMALS_FLUSH, neither otherwise); rounding is always to nearest. The exception masks
// and flags are the caller's: only the bits 0xE040 are touched, and only when they differ.
class KernelFrame {
  public:
    KernelFrame() {
        constexpr std::uint32_t kControlBits = 0xE040;  // FZ, RC, DAZ
        constexpr std::uint32_t kFlushBits = 0x8040;    // FZ and DAZ, RC = nearest
        const std::uint32_t mode = current_mode(thread_state());
        const std::uint32_t target =
            (mode & ARQ_DENORMALS_MASK) == ARQ_DENORMALS_FLUSH ? kFlushBits : 0;
        saved_ = _mm_getcsr();
        if ((saved_ & kControlBits) != target) {
            _mm_setcsr((saved_ & ~kControlBits) | target);
            changed_ = true;
        }
    }
    ~KernelFrame() {
        if (changed_) {
            // Exception flags raised by the kernel stay raised, as they would without the frame.
            _mm_setcsr((saved_ & ~0x3Fu) | (_mm_getcsr() & 0x3Fu));
        }
    }
    KernelFrame(const KernelFrame &) = delete;
    KernelFrame &operator=(const KernelFrame &) = delete;

  private:
    std::uint32_t saved_ = 0;
    bool changed_ = false;
};

inline std::uint64_t bits_of(double x) {
    std::uint64_t b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}

inline double double_from(std::uint64_t b) {
    double x;
    std::memcpy(&x, &b, sizeof x);
    return x;
}

// Bit patterns of doubles the kernels test for or return.
constexpr std::uint64_t kSignBit = 0x8000000000000000;
constexpr std::uint64_t kAbsMask = 0x7FFFFFFFFFFFFFFF;
constexpr std::uint64_t kMantissa = 0x000FFFFFFFFFFFFF;
constexpr std::uint64_t kOneBits = 0x3FF0000000000000;
constexpr std::uint64_t kPlusInfBits = 0x7FF0000000000000;
constexpr std::uint64_t kMinusInfBits = 0xFFF0000000000000;
constexpr std::uint64_t kDomainNaN = 0xFFF8000000000000;  // the NaN of a domain error

// The high 32 bits of a double's pattern, the word the kernels' range tests look at.
inline std::uint32_t high_word(double x) {
    return static_cast<std::uint32_t>(bits_of(x) >> 32);
}

inline std::uint32_t bits_of(float x) {
    std::uint32_t b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}

inline float float_from(std::uint32_t b) {
    float x;
    std::memcpy(&x, &b, sizeof x);
    return x;
}

// Reports element i of a kernel that may run in place, with its arguments as read before.
inline void report(int status, int i, const double *a, double *r1, double *r2, const char *name,
                   double a1, double a2) {
    dispatch_error_d_in_place(status, i, a, a, r1, r2, name, a1, a2);
}
inline void report(int status, int i, const float *a, float *r1, float *r2, const char *name,
                   float a1, float a2) {
    dispatch_error_s_in_place(status, i, a, a, r1, r2, name, a1, a2);
}

// The element path of a one-argument kernel over [begin, end): each result is written, then a
// special one is reported with the argument as read before (the call may be in place).
// Element(x, status) returns the result and sets status, 0 when there is nothing to report.
template <auto Element, class T>
void run_elements(int begin, int end, const T *a, T *r, const char *name) {
    for (int i = begin; i < end; ++i) {
        const T x = a[i];
        int status;
        r[i] = Element(x, status);
        if (status != ARQ_STATUS_OK) report(status, i, a, r, r, name, x, x);
    }
}

// The same for a kernel with two results: Element(x, second, status) returns the first.
template <auto Element, class T>
void run_pair_elements(int begin, int end, const T *a, T *r1, T *r2, const char *name) {
    for (int i = begin; i < end; ++i) {
        const T x = a[i];
        int status;
        T second;
        const T first = Element(x, second, status);
        r1[i] = first;
        r2[i] = second;
        if (status != ARQ_STATUS_OK) report(status, i, a, r1, r2, name, x, x);
    }
}

// The same for a kernel with a scalar second argument b (Element(x, b, status)); the record's
// second argument is b.
template <auto Element, class T>
void run_elements(int begin, int end, const T *a, T b, T *r, const char *name) {
    for (int i = begin; i < end; ++i) {
        const T x = a[i];
        int status;
        r[i] = Element(x, b, status);
        if (status != ARQ_STATUS_OK) report(status, i, a, r, r, name, x, b);
    }
}

// The driver of a one-argument single-precision kernel over vectors of four: blocks of eight
// vectors run straight through Lanes when no lane is unusual (Unusual returns a lane mask);
// otherwise each vector with an unusual lane, and the last n mod 4 elements, take the element
// path. Lanes and Element must give the same bits for ordinary lanes.
template <auto Lanes, auto Unusual, auto Element, class Constants>
void run_single_blocks(int n, const float *a, float *r, const Constants &c, const char *name) {
    using simd::f32v;
    constexpr int kLanes = simd::kLanes<float>;
    constexpr int kVectors = 8;
    constexpr int kBlock = kVectors * kLanes;
    int i = 0;
    for (; i + kBlock <= n; i += kBlock) {
        f32v x[kVectors];
        std::uint32_t unusual = 0;
        for (int v = 0; v < kVectors; ++v) {
            x[v] = simd::load<f32v>(a + i + v * kLanes);
            unusual |= static_cast<std::uint32_t>(Unusual(x[v], c)) << (v * kLanes);
        }
        if (unusual == 0) {  // the common case, straight through
            f32v y[kVectors];
            for (int v = 0; v < kVectors; ++v) y[v] = Lanes(x[v], c);
            for (int v = 0; v < kVectors; ++v) simd::store(r + i + v * kLanes, y[v]);
            continue;
        }
        for (int v = 0; v < kVectors; ++v) {
            const int at = i + v * kLanes;
            if (((unusual >> (v * kLanes)) & 0xF) == 0) {
                simd::store(r + at, Lanes(x[v], c));
            } else {
                run_elements<Element>(at, at + kLanes, a, r, name);
            }
        }
    }
    for (; i + kLanes <= n; i += kLanes) {
        const f32v x = simd::load<f32v>(a + i);
        if (Unusual(x, c) == 0) {
            simd::store(r + i, Lanes(x, c));
        } else {
            run_elements<Element>(i, i + kLanes, a, r, name);
        }
    }
    run_elements<Element>(i, n, a, r, name);
}

}  // namespace korb::vecmath
