// The double logarithm's value path, for kernels that need ln of a positive normal number.
#pragma once

#include "frame/simd.h"

namespace korb::vecmath {

// ln x for positive, normal, finite x (nothing is checked), one element or a vector with the
// same bits: the dLn kernel's value path.
double ln_positive_normal(double x);
simd::Vec<double> ln_positive_normal(simd::Vec<double> x);

// ln x = hi + lo for normal x in (0, 1/2] (nothing is checked), one element or a vector with the
// same bits: the dLn kernel's value path, whose large term dominates there, with its last
// addition kept exact. hi is dLn's result, hi + lo is accurate to about 2^-60 relative.
double ln_below_half(double x, double &lo);
simd::Vec<double> ln_below_half(simd::Vec<double> x, simd::Vec<double> &lo);

}  // namespace korb::vecmath
