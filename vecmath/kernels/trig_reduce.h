// Reduction of a trigonometric argument by multiples of π/2 when it is too large, or too close
// to a multiple of π/2, for the kernels' short reduction to stay accurate.
#pragma once

#include <cstdint>

namespace korb::vecmath {

// x = q·π/2 + (hi + lo), |hi + lo| <= π/4, with hi + lo correct to about 2^-120 relative.
// Only q's two low bits are meaningful.
struct LargeReduction {
    double hi;
    double lo;
    std::uint64_t q;
};

// For finite x with |x| >= π/4; exact integer arithmetic on x's significand and the bits of 2/π.
LargeReduction reduce_large(double x);

}  // namespace korb::vecmath
