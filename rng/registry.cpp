// The generator registry: the current table (built-in rows plus registrations) and the legacy
// table, id decoding and validation, and stream allocation.
//
// Registration is not locked: it must not run at the same time as another registration or any
// use of the registry. Rows never change once written, so readers take no lock either.
#include <cstring>

#include "brng/generator.h"
#include "korb/kernel/frame.h"
#include "korb/kernel/rng.h"
#include "rng/generators.h"
#include "stream.h"

namespace korb::rng {
namespace {

// The built-in rows in list order: row r serves id (r + 1) * 0x100000 + member. Each takes its
// sizes from the generator's layout, its word size from the list and its functions from the
// entry points the list names.
#define KORB_BRNG(ID, Name, display, members, word_size, ...) \
    {                                                         \
        .stateSize = layout_##ID.stateSize,                   \
        .stateWords = layout_##ID.stateWords,                 \
        .includesZero = layout_##ID.includesZero,             \
        .wordSize = word_size,                                \
        .nBits = layout_##ID.nBits,                           \
        .initStream = __bixBRng##Name##InitStream,            \
        .sGen = __bixsBRng##Name,                             \
        .dGen = __bixdBRng##Name,                             \
        .iGen = __bixiBRng##Name,                             \
    },
const BrngProperties kBuiltinRows[] = {
#include "rng/generators.def"
};
#undef KORB_BRNG

// The one family whose legacy ids carry a member (legacy id = first + member): the decoding
// gives its row `first` and the member; every other legacy id is a row of the legacy table.
struct LegacyFamily {
    int first = -1;
    int last = -1;
};

consteval LegacyFamily legacy_family() {
    LegacyFamily f;
    int families = 0;
    for (const GeneratorInfo &g : kGenerators) {
        if (g.legacy < 0 || g.members == 1) continue;
        f = {g.legacy, g.legacy + g.members - 1};
        ++families;
    }
    return families <= 1 ? f : LegacyFamily{};
}

constexpr LegacyFamily kLegacyFamily = legacy_family();
static_assert(kLegacyFamily.first >= 0, "one generator family has legacy ids");

int g_members[BIX_MAX_REG_BRNGS];
int g_rows_in_use = 0;

// The tables are filled while the library loads, before any entry point can run.
struct RegistryInit {
    RegistryInit();
};

}  // namespace
}  // namespace korb::rng

extern "C" {
BrngProperties __RegBrngsNew[BIX_MAX_REG_BRNGS];
BrngProperties __RegBrngs[BIX_NUM_LEGACY_BRNGS];
}

namespace korb::rng {
namespace {

RegistryInit::RegistryInit() {
    for (int r = 0; r < kGeneratorCount; ++r) {
        __RegBrngsNew[r] = kBuiltinRows[r];
        g_members[r] = kGenerators[r].members;
        // The legacy table never changes after this: each legacy id's row is its generator's.
        for (int m = 0; kGenerators[r].legacy >= 0 && m < kGenerators[r].members; ++m) {
            __RegBrngs[kGenerators[r].legacy + m] = kBuiltinRows[r];
        }
    }
    g_rows_in_use = kGeneratorCount;
}

const RegistryInit g_registry_init;

}  // namespace

const BrngProperties *find_row(int brng) {
    int row = 0;
    int member = 0;
    const BrngProperties *table = __bixGetBrngBaseOffset(brng, &row, &member);
    if (__bixIsBrngValid(table, row, member) != BIX_ERROR_OK) return nullptr;
    return &table[row];
}

const GeneratorInfo *generator_of(int brng) {
    int row = 0;
    int member = 0;
    const BrngProperties *table = __bixGetBrngBaseOffset(brng, &row, &member);
    if (row < 0) return nullptr;
    if (table == __RegBrngsNew) return row < kGeneratorCount ? &kGenerators[row] : nullptr;
    for (const GeneratorInfo &g : kGenerators) {
        if (g.legacy >= 0 && row >= g.legacy && row < g.legacy + g.members) return &g;
    }
    return nullptr;
}

}  // namespace korb::rng

using korb::rng::g_members;
using korb::rng::g_rows_in_use;

extern "C" {

BrngProperties *__bixGetBrngBaseOffset(int brng, int *row, int *member) {
    if (brng >= BIX_BRNG_INC) {
        *row = (brng >> 20) - 1;
        *member = brng & 0xFFFFF;
        return __RegBrngsNew;
    }
    if (brng >= korb::rng::kLegacyFamily.first && brng <= korb::rng::kLegacyFamily.last) {
        *row = korb::rng::kLegacyFamily.first;
        *member = brng - korb::rng::kLegacyFamily.first;
    } else {
        *row = brng;
        *member = 0;
    }
    return __RegBrngs;
}

int __bixIsBrngValid(const BrngProperties *table, int row, int member) {
    if (row < 0) return BIX_ERROR_INVALID_BRNG;  // negative legacy ids name no row
    if (table == __RegBrngs) return row < BIX_NUM_LEGACY_BRNGS ? 0 : BIX_ERROR_INVALID_BRNG;
    if (table != __RegBrngsNew || row >= g_rows_in_use) return BIX_ERROR_INVALID_BRNG;
    return member >= 0 && member < g_members[row] ? 0 : BIX_ERROR_INVALID_BRNG;
}

int __bixGetBrngProperties(int brng, BrngProperties *properties) {
    const BrngProperties *row = korb::rng::find_row(brng);
    if (row == nullptr) return BIX_ERROR_INVALID_BRNG;
    if (properties == nullptr) return BIX_ERROR_NULL_PTR;
    *properties = *row;
    return BIX_ERROR_OK;
}

int __bixGetNumRegBrngs(void) {
    return g_rows_in_use;
}

int __bixRegisterBrng(const BrngProperties *p) {
    if (p == nullptr) return BIX_ERROR_NULL_PTR;
    // A record smaller than its own header cannot hold a stream, so sizes below 16 are refused
    // along with negative ones.
    if (p->stateSize < korb::rng::kStreamHeaderBytes) return BIX_ERROR_BAD_STREAM_STATE_SIZE;
    if (p->wordSize != 4 && p->wordSize != 8 && p->wordSize != 16) return BIX_ERROR_BAD_WORD_SIZE;
    if (p->stateWords < 1) return BIX_ERROR_BAD_NSEEDS;
    if (p->nBits < 1) return BIX_ERROR_BAD_NBITS;
    if (p->dGen == nullptr || p->sGen == nullptr || p->iGen == nullptr ||
        p->initStream == nullptr) {
        return BIX_ERROR_NULL_PTR;
    }
    const int n = g_rows_in_use;
    if (n >= BIX_MAX_REG_BRNGS) return BIX_ERROR_INVALID_BRNG;
    g_members[n] = 1;
    __RegBrngsNew[n] = *p;
    g_rows_in_use = n + 1;
    return (n + 1) * BIX_BRNG_INC;
}

int __bixGetStreamStateBrng(const BixStream *stream) {
    return stream->brng;
}

int __bixAllocateStream(BixStream **stream, const BrngProperties *table, int brng, int row,
                        int member) {
    int status = __bixIsBrngValid(table, row, member);
    if (status != BIX_ERROR_OK) return status;
    auto *s = static_cast<BixStream *>(korbMalloc(static_cast<size_t>(table[row].stateSize), 64));
    if (s == nullptr) return BIX_ERROR_MEM_FAILURE;
    s->brng = brng;
    s->streamFlag = 1;
    s->chunks = nullptr;
    *stream = s;
    return BIX_ERROR_OK;
}

}  // extern "C"
