// MT19937: the 32-bit Mersenne twister of period 2^19937 - 1 (624 words, middle distance 397,
// twist word 0x9908B0DF, tempering masks 0x9D2C5680 and 0xEFC60000). Seeding takes the seed
// words as a key array, so that a stream gives the published reference output for that key
// word for word. The block step and tempering run four words to a vector (twister.h).
//
// Doubles are w (b - a) 2^-32 + a of the tempered words w, made in the output array itself;
// floats are that double rounded to float, kept below b (uniform.h). Neither leapfrog nor
// skip-ahead is offered.
#include "rng/stream.h"
#include "rows.h"
#include "twister.h"

namespace korb::rng {
namespace {

using Shape = twister::Shape<624, 397, 31, 11>;
constexpr twister::Params kParams = {0x9908B0DFu, 0x9D2C5680u, 0xEFC60000u};

struct State {
    uint32_t mt[Shape::kN];  // untempered
    int32_t index;           // next word to temper; 624: regenerate first
};
static_assert(sizeof(State) + kStreamHeaderBytes <= 2520);

State *state(BixStream *stream) {
    return state_of<State>(stream);
}

}  // namespace

const BrngProperties mt19937_row = {2520,
                                    625,
                                    1,
                                    4,
                                    32,
                                    __bixBRngMT19937InitStream,
                                    __bixsBRngMT19937,
                                    __bixdBRngMT19937,
                                    __bixiBRngMT19937};

}  // namespace korb::rng

extern "C" {

int __bixBRngMT19937InitStream(int method, BixStream *stream, int n, const uint32_t params[]) {
    using namespace korb::rng;
    switch (method) {
        case BIX_INIT_METHOD_STANDARD: {
            State *st = state(stream);
            twister::seed(st->mt, Shape::kN, params, n);
            st->index = Shape::kN;
            return BIX_ERROR_OK;
        }
        default:
            return korb::rng::refuse_split(method);
    }
}

int __bixiBRngMT19937(BixStream *stream, int n, uint32_t r[]) {
    using namespace korb::rng;
    State *st = state(stream);
    twister::WordSink sink{r};
    twister::generate<Shape>(st->mt, &st->index, kParams, n, sink);
    return BIX_ERROR_OK;
}

int __bixdBRngMT19937(BixStream *stream, int n, double r[], double a, double b) {
    using namespace korb::rng;
    State *st = state(stream);
    twister::generate_doubles<Shape>(st->mt, &st->index, kParams, n, r, a, b);
    return BIX_ERROR_OK;
}

int __bixsBRngMT19937(BixStream *stream, int n, float r[], float a, float b) {
    using namespace korb::rng;
    State *st = state(stream);
    uniform::WordsToFloats sink(r, a, b);
    twister::generate<Shape>(st->mt, &st->index, kParams, n, sink);
    return BIX_ERROR_OK;
}

}  // extern "C"
