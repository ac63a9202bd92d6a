// The non-deterministic generator: numbers from the processor's random-number instruction.
// This kernel library makes and seeds such streams but does not generate from them: seeding
// records the source, and fails where the processor lacks the instruction; the three generation
// functions refuse with BIX_ERROR_NONDETERM_NOT_SUPPORTED. A stream of independent hardware
// numbers has no leapfrog or skip-ahead.
#include <cpuid.h>

#include "generator.h"

namespace korb::rng {
namespace {

struct State {
    uint32_t source;  // 1: the hardware instruction
};

template <class... Args>
int not_supported(BixStream *, int, Args...) {
    return BIX_ERROR_NONDETERM_NOT_SUPPORTED;
}

struct Trng {
    static constexpr int kId = BIX_BRNG_NONDETERM;
    static int seed(BixStream *stream, Seeds) {
        if (!has_hardware_rng()) return BIX_ERROR_NONDETERM_NOT_SUPPORTED;
        state_of<State>(stream)->source = 1;
        return BIX_ERROR_OK;
    }
    static constexpr auto ints = not_supported<uint32_t *>;
    static constexpr auto doubles = not_supported<double *, double, double>;
    static constexpr auto floats = not_supported<float *, float, float>;
};

}  // namespace

bool has_hardware_rng() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0) return false;
    return (c & bit_RDRND) != 0;
}

constexpr RowLayout layout_NONDETERM = {
    .stateSize = 24, .stateWords = 1, .includesZero = 1, .nBits = 32};
static_assert(sizeof(State) + kStreamHeaderBytes <= layout_NONDETERM.stateSize);

}  // namespace korb::rng

KORB_BRNG_ENTRY_POINTS(TRNG, korb::rng::Trng)
