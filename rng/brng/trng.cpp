// The non-deterministic generator: numbers from the processor's random-number instruction.
// This kernel library makes and seeds such streams but does not generate from them; its three
// generation functions refuse with BIX_ERROR_NONDETERM_NOT_SUPPORTED.
#include <cpuid.h>

#include "rng/stream.h"
#include "rows.h"

namespace korb::rng {
namespace {

struct State {
    uint32_t source;  // 1: the hardware instruction
};

}  // namespace

bool has_hardware_rng() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0) return false;
    return (c & bit_RDRND) != 0;
}

const BrngProperties trng_row = {
    24, 1, 1, 4, 32, __bixBRngTRNGInitStream, __bixsBRngTRNG, __bixdBRngTRNG, __bixiBRngTRNG};

}  // namespace korb::rng

extern "C" {

// Seeding records the source; it fails where the processor lacks the instruction. A stream of
// independent hardware numbers has no leapfrog or skip-ahead.
int __bixBRngTRNGInitStream(int method, BixStream *stream, int, const uint32_t[]) {
    switch (method) {
        case BIX_INIT_METHOD_STANDARD:
            if (!korb::rng::has_hardware_rng()) return BIX_ERROR_NONDETERM_NOT_SUPPORTED;
            korb::rng::state_of<korb::rng::State>(stream)->source = 1;
            return BIX_ERROR_OK;
        default:
            return korb::rng::refuse_split(method);
    }
}

int __bixsBRngTRNG(BixStream *, int, float[], float, float) {
    return BIX_ERROR_NONDETERM_NOT_SUPPORTED;
}
int __bixdBRngTRNG(BixStream *, int, double[], double, double) {
    return BIX_ERROR_NONDETERM_NOT_SUPPORTED;
}
int __bixiBRngTRNG(BixStream *, int, uint32_t[]) {
    return BIX_ERROR_NONDETERM_NOT_SUPPORTED;
}

}  // extern "C"
