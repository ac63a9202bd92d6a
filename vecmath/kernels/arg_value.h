// The angle of a point, atan2(y, x), for kernels that need it on one element: zArg's element
// path (complex_arg.cpp), within half an ulp plus about 2^-50 relative, with C99's special values
// of atan2 (signed zeros, infinities, NaNs).
#pragma once

#include "frame/simd.h"

namespace korb::vecmath {

double arg_value(double x, double y);

// The same for lanes whose parts are finite, the larger magnitude in [2^-500, 2^500) and the
// smaller 0 or at least 2^-500 (zArg's lanes): the bits of arg_value(x, y) lane by lane.
void arg_value(const simd::Vec<double> &x, const simd::Vec<double> &y, simd::Vec<double> &angle);

}  // namespace korb::vecmath
