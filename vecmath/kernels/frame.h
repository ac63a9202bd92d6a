// What every table-driven vector-math kernel shares: the control-register frame and bit access.
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/simd.h"
#include "korb/kernel/vm.h"
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
        saved_ = simd::control_word();
        if ((saved_ & kControlBits) != target) {
            simd::set_control_word((saved_ & ~kControlBits) | target);
            changed_ = true;
        }
    }
    ~KernelFrame() {
        if (changed_) {
            // Exception flags raised by the kernel stay raised, as they would without the frame.
            simd::set_control_word((saved_ & ~0x3Fu) | (simd::control_word() & 0x3Fu));
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

// Whether x is a zero to the arithmetic: under denormals-are-zero (the flushing mode) a subnormal
// is one. x is read back through an opaque pointer so that the compiler keeps the floating
// compare instead of testing the bits, which would not see the mode.
template <class T>
inline bool reads_as_zero(const T &x) {
    return *simd::opaque(&x) == T(0);
}

// x as the arithmetic reads it: under denormals-are-zero a subnormal becomes the zero of its
// sign; any other value, and every value under gradual underflow, stays as it is. An element path
// that takes subnormals apart by their bits (scaling them, returning them) calls it first, so
// that in the flushing mode it gives what the zero gives, statuses included.
template <class T>
inline T as_read(T x) {
    if (!reads_as_zero(x)) return x;
    if constexpr (sizeof(T) == 4) {
        return float_from(bits_of(x) & 0x80000000u);
    } else {
        return double_from(bits_of(x) & kSignBit);
    }
}

// The NaN a domain error returns in precision T (0xFFC00000 in single).
template <class T>
T domain_nan() {
    if constexpr (sizeof(T) == 4) {
        return float_from(std::uint32_t{0xFFC00000});
    } else {
        return double_from(kDomainNaN);
    }
}

}  // namespace korb::vecmath
