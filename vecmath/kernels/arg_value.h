// The angle of a point, atan2(y, x), for kernels that need it on one element: zArg's element
// path (complex_arg.cpp), within half an ulp plus about 2^-50 relative, with C99's special values
// of atan2 (signed zeros, infinities, NaNs).
#pragma once

namespace korb::vecmath {

double arg_value(double x, double y);

}  // namespace korb::vecmath
