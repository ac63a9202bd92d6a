// MT19937: the 32-bit Mersenne twister of period 2^19937 - 1 (624 words, middle distance 397,
// twist word 0x9908B0DF, tempering masks 0x9D2C5680 and 0xEFC60000). Seeding takes the seed
// words as a key array, so that a stream gives the published reference output for that key
// word for word. The block step and tempering run four words to a vector (twister.h).
//
// Doubles are w (b - a) 2^-32 + a of the tempered words w, made in the output array itself;
// floats are that double rounded to float, kept below b (uniform.h). Neither leapfrog nor
// skip-ahead is offered.
#include "generator.h"
#include "twister.h"

namespace korb::rng {
namespace {

struct Mt19937 : twister::Outputs<Mt19937> {
    static constexpr int kId = BIX_BRNG_MT19937;
    using Shape = twister::Shape<624, 397, 31, 11>;
    static constexpr twister::Params kParams = {0x9908B0DFu, 0x9D2C5680u, 0xEFC60000u};

    struct State {
        uint32_t mt[Shape::kN];  // untempered
        int32_t index;           // next word to temper; 624: regenerate first
    };

    static const twister::Params &params(const State &) { return kParams; }

    static int seed(BixStream *stream, Seeds seeds) {
        State *st = state_of<State>(stream);
        twister::seed(st->mt, Shape::kN, seeds.words(), seeds.count());
        st->index = Shape::kN;
        return BIX_ERROR_OK;
    }
};

}  // namespace

constexpr RowLayout layout_MT19937 = {
    .stateSize = 2520, .stateWords = 625, .includesZero = 1, .nBits = 32};
static_assert(sizeof(Mt19937::State) + kStreamHeaderBytes <= layout_MT19937.stateSize);

}  // namespace korb::rng

KORB_BRNG_ENTRY_POINTS(MT19937, korb::rng::Mt19937)
