// The double logarithm's value path, for kernels that need ln of a positive normal number.
#pragma once

#include "frame/simd.h"

namespace korb::vecmath {

// ln x for positive, normal, finite x (nothing is checked), one element or two lanes with the
// same bits: the dLn kernel's value path.
double ln_positive_normal(double x);
simd::f64v ln_positive_normal_pair(simd::f64v x);

// ln x = hi + lo for normal x in (0, 1/2] (nothing is checked), one element or two lanes with the
// same bits: the dLn kernel's value path, whose large term dominates there, with its last
// addition kept exact. hi is dLn's result, hi + lo is accurate to about 2^-60 relative.
double ln_below_half(double x, double &lo);
simd::f64v ln_below_half_pair(simd::f64v x, simd::f64v &lo);

}  // namespace korb::vecmath
