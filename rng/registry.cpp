// The generator registry: the current table (built-in rows plus registrations) and the legacy
// table, id decoding and validation, and stream allocation.
//
// Registration is not locked: it must not run at the same time as another registration or any
// use of the registry. Rows never change once written, so readers take no lock either.
#include <cstring>

#include "brng/rows.h"
#include "korb/frame.h"
#include "korb/rng.h"
#include "stream.h"

namespace korb::rng {
namespace {

struct BuiltinRow {
    const BrngProperties *properties;
    int members;
};

// The built-in generators in row order: row r serves id (r + 1) * 0x100000 + member.
const BuiltinRow kBuiltinRows[BIX_NUM_BUILTIN_BRNGS] = {
    {&mcg31m1_row, 1},   {&r250_row, 1},      {&mrg32k3a_row, 1},  {&mcg59_row, 1},
    {&wh_row, 273},      {&sobol_row, 1},     {&niederr_row, 1},   {&mt19937_row, 1},
    {&mt2203_row, 6024}, {&iabstract_row, 1}, {&dabstract_row, 1}, {&sabstract_row, 1},
    {&sfmt19937_row, 1}, {&trng_row, 1},
};

constexpr int kLegacyWhFirst = 4;
constexpr int kLegacyWhLast = 276;
constexpr int kLegacySobol = 277;
constexpr int kLegacyNiederr = 278;
constexpr int kWhRow = 4;

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
    for (int r = 0; r < BIX_NUM_BUILTIN_BRNGS; ++r) {
        __RegBrngsNew[r] = *kBuiltinRows[r].properties;
        g_members[r] = kBuiltinRows[r].members;
    }
    g_rows_in_use = BIX_NUM_BUILTIN_BRNGS;

    // The legacy table never changes after this.
    BrngProperties *legacy = __RegBrngs;
    for (int r = 0; r < kLegacyWhFirst; ++r) legacy[r] = __RegBrngsNew[r];
    for (int r = kLegacyWhFirst; r <= kLegacyWhLast; ++r) legacy[r] = __RegBrngsNew[kWhRow];
    legacy[kLegacySobol] = sobol_row;
    legacy[kLegacyNiederr] = niederr_row;
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
    if (brng >= korb::rng::kLegacyWhFirst && brng <= korb::rng::kLegacyWhLast) {
        *row = korb::rng::kWhRow;
        *member = brng - korb::rng::kLegacyWhFirst;
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
