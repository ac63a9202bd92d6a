// The registry row of every built-in generator, each defined in its generator's own source.
// The registry (rng/registry.cpp) lists them in row order in one table.
#pragma once

#include "korb/rng.h"

namespace korb::rng {

extern const BrngProperties mcg31m1_row;
extern const BrngProperties mrg32k3a_row;
extern const BrngProperties mcg59_row;
extern const BrngProperties r250_row;
extern const BrngProperties wh_row;
extern const BrngProperties iabstract_row;
extern const BrngProperties dabstract_row;
extern const BrngProperties sabstract_row;
extern const BrngProperties trng_row;
extern const BrngProperties sobol_row;
extern const BrngProperties niederr_row;
extern const BrngProperties mt19937_row;
extern const BrngProperties mt2203_row;
extern const BrngProperties sfmt19937_row;

}  // namespace korb::rng
