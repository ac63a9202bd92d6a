// The MT2203 set: 6024 Mersenne twisters of period 2^2203 - 1 (69 words, middle distance 34,
// 27 upper and 5 lower bits, first tempering shift 12), one per member, differing in the twist
// word and the two tempering masks (mt2203_params.inc, made by tools/gen_mt2203_params). The
// member comes from the stream's generator id; seeding copies its row into the state, so that
// generation reads the state alone. Seeding, generation and the real outputs are MT19937's
// with 69-word blocks (twister.h). Neither leapfrog nor skip-ahead is offered.
#include "generator.h"
#include "twister.h"

namespace korb::rng {
namespace {

constexpr int kMembers = 6024;

struct Mt2203 : twister::Outputs<Mt2203> {
    static constexpr int kId = BIX_BRNG_MT2203;
    using Shape = twister::Shape<69, 34, 5, 12>;

    struct State {
        uint32_t mt[Shape::kN];  // untempered
        int32_t index;           // next word to temper; 69: regenerate first
        twister::Params p;       // the member's row
    };

    static const twister::Params &params(const State &st) { return st.p; }

    static int seed(BixStream *stream, Seeds seeds);
};

// {matrixA, temperB, temperC} of each member.
constexpr twister::Params kTable[kMembers] = {
#include "mt2203_params.inc"
};

static_assert(offsetof(Mt2203::State, p) == 70 * 4 && sizeof(twister::Params) == 12);
static_assert(generator(BIX_BRNG_MT2203).members == kMembers);

int Mt2203::seed(BixStream *stream, Seeds seeds) {
    int row = 0, member = 0;
    __bixGetBrngBaseOffset(stream->brng, &row, &member);
    if (member < 0 || member >= kMembers) return BIX_ERROR_INVALID_BRNG;
    State *st = state_of<State>(stream);
    twister::seed(st->mt, Shape::kN, seeds.words(), seeds.count());
    st->index = Shape::kN;
    st->p = kTable[member];
    return BIX_ERROR_OK;
}

}  // namespace

constexpr RowLayout layout_MT2203 = {
    .stateSize = 312, .stateWords = 70, .includesZero = 1, .nBits = 32};
static_assert(sizeof(Mt2203::State) + kStreamHeaderBytes <= layout_MT2203.stateSize);

}  // namespace korb::rng

KORB_BRNG_ENTRY_POINTS(MT2203, korb::rng::Mt2203)
