// The MT2203 set: 6024 Mersenne twisters of period 2^2203 - 1 (69 words, middle distance 34,
// 27 upper and 5 lower bits, first tempering shift 12), one per member, differing in the twist
// word and the two tempering masks (mt2203_params.inc, made by tools/gen_mt2203_params). The
// member comes from the stream's generator id; seeding copies its row into the state, so that
// generation reads the state alone. Seeding, generation and the real outputs are MT19937's
// with 69-word blocks (twister.h). Neither leapfrog nor skip-ahead is offered.
#include "rng/stream.h"
#include "rows.h"
#include "twister.h"

namespace korb::rng {
namespace {

using Shape = twister::Shape<69, 34, 5, 12>;
constexpr int kMembers = 6024;

// {matrixA, temperB, temperC} of each member.
constexpr twister::Params kTable[kMembers] = {
#include "mt2203_params.inc"
};

struct State {
    uint32_t mt[Shape::kN];  // untempered
    int32_t index;           // next word to temper; 69: regenerate first
    twister::Params p;       // the member's row
};
static_assert(sizeof(State) + kStreamHeaderBytes <= 312);
static_assert(offsetof(State, p) == 70 * 4 && sizeof(twister::Params) == 12);

State *state(BixStream *stream) {
    return state_of<State>(stream);
}

}  // namespace

const BrngProperties mt2203_row = {312,
                                   70,
                                   1,
                                   4,
                                   32,
                                   __bixBRngMT2203InitStream,
                                   __bixsBRngMT2203,
                                   __bixdBRngMT2203,
                                   __bixiBRngMT2203};

}  // namespace korb::rng

extern "C" {

int __bixBRngMT2203InitStream(int method, BixStream *stream, int n, const uint32_t params[]) {
    using namespace korb::rng;
    switch (method) {
        case BIX_INIT_METHOD_STANDARD: {
            int row = 0, member = 0;
            __bixGetBrngBaseOffset(stream->brng, &row, &member);
            if (member < 0 || member >= kMembers) return BIX_ERROR_INVALID_BRNG;
            State *st = state(stream);
            twister::seed(st->mt, Shape::kN, params, n);
            st->index = Shape::kN;
            st->p = kTable[member];
            return BIX_ERROR_OK;
        }
        default:
            return korb::rng::refuse_split(method);
    }
}

int __bixiBRngMT2203(BixStream *stream, int n, uint32_t r[]) {
    using namespace korb::rng;
    State *st = state(stream);
    twister::WordSink sink{r};
    twister::generate<Shape>(st->mt, &st->index, st->p, n, sink);
    return BIX_ERROR_OK;
}

int __bixdBRngMT2203(BixStream *stream, int n, double r[], double a, double b) {
    using namespace korb::rng;
    State *st = state(stream);
    twister::generate_doubles<Shape>(st->mt, &st->index, st->p, n, r, a, b);
    return BIX_ERROR_OK;
}

int __bixsBRngMT2203(BixStream *stream, int n, float r[], float a, float b) {
    using namespace korb::rng;
    State *st = state(stream);
    uniform::WordsToFloats sink(r, a, b);
    twister::generate<Shape>(st->mt, &st->index, st->p, n, sink);
    return BIX_ERROR_OK;
}

}  // extern "C"
