// The exponential kernel, which the Gumbel kernel draws through.
#pragma once

#include "distributions/frame.h"

namespace korb::dist {

template <class T>
int exponential(int method, BixStream *stream, int n, T *r, T a, T beta);

}  // namespace korb::dist
