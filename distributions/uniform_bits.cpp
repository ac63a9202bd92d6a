// Uniform bits: a generator's raw output words as they are, as 32-bit values, or as 64-bit
// values.
//
// The plain kernel hands the row's iGen through. The 32- and 64-bit kernels dispatch on the
// stream's registry row through a table of 16 slots each. Only the generators below have a
// conversion; every other row (MCG31M1, R250, MRG32K3A, Wichmann-Hill, the quasi-random and
// abstract generators, registered generators) gets the unsupported entry, which returns
// BIX_ERROR_BRNG_NOT_SUPPORTED and writes nothing.
//
// - 32-bit raw-word rows (MT19937, MT2203, non-deterministic): a 64-bit output is two
//   consecutive words, the earlier in the low half.
// - MCG59: each word's top 32 of its 59 bits (the low bits of a power-of-two modulus generator
//   have short periods); a 64-bit output takes two words, the earlier in the low half.
// - SFMT19937: its 128-bit words are split into four 32-bit or two 64-bit outputs, low part
//   first. What a call does not use of its last 128-bit word is kept in a 16-byte record
//   attached to the stream (chunk key 11 for 32-bit outputs, 12 for 64-bit ones) and handed
//   out first by the next call, so any split of n gives the same outputs. The record is made
//   the first time a call leaves words over, and travels with copies and saved images.
#include <algorithm>
#include <cstring>

#include "korb/rng.h"

namespace korb::rng {
namespace {

constexpr int kSlots = 16;
constexpr int kBlockWords = 2048;  // MCG59 words drawn per block
constexpr uint32_t kPending32Key = 11;
constexpr uint32_t kPending64Key = 12;
constexpr int kMcg59Shift = 59 - 32;

// What a 32-bit call kept of its last 128-bit word.
struct Pending32 {
    uint32_t words[3];  // the next outputs, in order
    int32_t count;      // 0..3
};
// What a 64-bit call kept of its last 128-bit word.
struct Pending64 {
    uint64_t word;
    int32_t count;  // 0 or 1
    int32_t unused;
};
static_assert(sizeof(Pending32) == 16 && sizeof(Pending64) == 16);

constexpr int slot_of(int brng) {
    return brng / BIX_BRNG_INC - 1;
}

using Bits32Kernel = int (*)(int method, BixStream *stream, int n, uint32_t r[]);
using Bits64Kernel = int (*)(int method, BixStream *stream, int n, uint64_t r[]);

int row_of(const BixStream *stream) {
    int row = 0, member = 0;
    __bixGetBrngBaseOffset(stream->brng, &row, &member);
    return row;
}

// The stream's record under `key`, made (zeroed) when it has none; null with *status set when
// it cannot be made.
template <class Record>
Record *pending_record(BixStream *stream, uint32_t key, int *status) {
    if (void *p = __bixSearchChunk(stream, key)) return static_cast<Record *>(p);
    auto *record = static_cast<Record *>(korbMalloc(sizeof(Record), 32));
    if (record == nullptr) {
        *status = BIX_ERROR_MEM_FAILURE;
        return nullptr;
    }
    std::memset(record, 0, sizeof(Record));
    *status = __bixAddChunk(stream, key, nullptr, record, sizeof(Record));
    if (*status < 0) {
        korbFree(record);
        return nullptr;
    }
    return record;
}

int unsupported32(int, BixStream *, int, uint32_t *) {
    return BIX_ERROR_BRNG_NOT_SUPPORTED;
}
int unsupported64(int, BixStream *, int, uint64_t *) {
    return BIX_ERROR_BRNG_NOT_SUPPORTED;
}

int raw32(int method, BixStream *stream, int n, uint32_t r[]) {
    return _bixiRngUniformBits(method, stream, n, r);
}

// 2n words, drawn in pieces so that each count stays an int.
int raw64(int method, BixStream *stream, int n, uint64_t r[]) {
    constexpr int kPiece = 1 << 29;
    int status = BIX_ERROR_OK;
    for (int done = 0; done < n;) {
        const int m = std::min(n - done, kPiece);
        status = _bixiRngUniformBits(method, stream, 2 * m, reinterpret_cast<uint32_t *>(r + done));
        if (status < 0) return status;
        done += m;
    }
    return status;
}

// Top 32 bits of the 59 of each of n MCG59 words; out(i, top) receives them in order.
template <class Out>
int mcg59_tops(int method, BixStream *stream, long long n, Out out) {
    uint64_t block[kBlockWords];
    int status = BIX_ERROR_OK;
    for (long long done = 0; done < n;) {
        const int m = static_cast<int>(std::min<long long>(n - done, kBlockWords));
        status = _bixiRngUniformBits(method, stream, m, reinterpret_cast<uint32_t *>(block));
        if (status < 0) return status;
        for (int i = 0; i < m; ++i) out(done + i, static_cast<uint32_t>(block[i] >> kMcg59Shift));
        done += m;
    }
    return status;
}

int mcg59_32(int method, BixStream *stream, int n, uint32_t r[]) {
    return mcg59_tops(method, stream, n, [r](long long i, uint32_t top) { r[i] = top; });
}

int mcg59_64(int method, BixStream *stream, int n, uint64_t r[]) {
    auto *half = reinterpret_cast<uint32_t *>(r);  // the earlier word in the low half
    return mcg59_tops(method, stream, 2LL * std::max(n, 0),
                      [half](long long i, uint32_t top) { std::memcpy(half + i, &top, 4); });
}

int sfmt_32(int method, BixStream *stream, int n, uint32_t r[]) {
    if (n <= 0) return BIX_ERROR_OK;
    int status = BIX_ERROR_OK;
    int done = 0;
    auto *pending = static_cast<Pending32 *>(__bixSearchChunk(stream, kPending32Key));
    if (pending != nullptr && pending->count > 0) {
        const int kept = std::min(pending->count, 3);
        done = std::min(kept, n);
        std::copy(pending->words, pending->words + done, r);
        std::copy(pending->words + done, pending->words + kept, pending->words);
        pending->count = kept - done;
    }
    if (const int words = (n - done) / 4; words > 0) {
        status = _bixiRngUniformBits(method, stream, words, r + done);
        if (status < 0) return status;
        done += 4 * words;
    }
    if (done == n) return status;
    pending = pending_record<Pending32>(stream, kPending32Key, &status);
    if (pending == nullptr) return status;
    uint32_t last[4];
    status = _bixiRngUniformBits(method, stream, 1, last);
    if (status < 0) return status;
    const int used = n - done;
    std::copy(last, last + used, r + done);
    std::copy(last + used, last + 4, pending->words);
    pending->count = 4 - used;
    return status;
}

int sfmt_64(int method, BixStream *stream, int n, uint64_t r[]) {
    if (n <= 0) return BIX_ERROR_OK;
    int status = BIX_ERROR_OK;
    int done = 0;
    auto *pending = static_cast<Pending64 *>(__bixSearchChunk(stream, kPending64Key));
    if (pending != nullptr && pending->count > 0) {
        r[0] = pending->word;
        pending->count = 0;
        done = 1;
    }
    if (const int words = (n - done) / 2; words > 0) {
        status = _bixiRngUniformBits(method, stream, words, reinterpret_cast<uint32_t *>(r + done));
        if (status < 0) return status;
        done += 2 * words;
    }
    if (done == n) return status;
    pending = pending_record<Pending64>(stream, kPending64Key, &status);
    if (pending == nullptr) return status;
    uint64_t last[2];
    status = _bixiRngUniformBits(method, stream, 1, reinterpret_cast<uint32_t *>(last));
    if (status < 0) return status;
    r[done] = last[0];
    pending->word = last[1];
    pending->count = 1;
    return status;
}

// Slot i serves registry row i; slots 14 and 15 (registered generators) are unsupported.
struct BitsTables {
    Bits32Kernel bits32[kSlots];
    Bits64Kernel bits64[kSlots];
};

constexpr BitsTables make_tables() {
    BitsTables t{};
    for (int i = 0; i < kSlots; ++i) {
        t.bits32[i] = unsupported32;
        t.bits64[i] = unsupported64;
    }
    t.bits32[slot_of(BIX_BRNG_MCG59)] = mcg59_32;
    t.bits64[slot_of(BIX_BRNG_MCG59)] = mcg59_64;
    for (int raw : {BIX_BRNG_MT19937, BIX_BRNG_MT2203, BIX_BRNG_NONDETERM}) {
        t.bits32[slot_of(raw)] = raw32;
        t.bits64[slot_of(raw)] = raw64;
    }
    t.bits32[slot_of(BIX_BRNG_SFMT19937)] = sfmt_32;
    t.bits64[slot_of(BIX_BRNG_SFMT19937)] = sfmt_64;
    return t;
}

constexpr BitsTables kTables = make_tables();

// The slot of the stream's row; rows past the tables (registrations beyond the first two, the
// legacy quasi-random rows) share the unsupported entry of slot 15.
int slot_of_stream(const BixStream *stream) {
    const int row = row_of(stream);
    return row >= 0 && row < kSlots ? row : kSlots - 1;
}

}  // namespace
}  // namespace korb::rng

extern "C" {

int _bixiRngUniformBits(int, BixStream *stream, int n, uint32_t r[]) {
    int row = 0, member = 0;
    const BrngProperties *table = __bixGetBrngBaseOffset(stream->brng, &row, &member);
    return table[row].iGen(stream, n, r);
}

int _bixiRngUniformBits32(int method, BixStream *stream, int n, uint32_t r[]) {
    using namespace korb::rng;
    return kTables.bits32[slot_of_stream(stream)](method, stream, n, r);
}

int _bixiRngUniformBits64(int method, BixStream *stream, int n, uint64_t r[]) {
    using namespace korb::rng;
    return kTables.bits64[slot_of_stream(stream)](method, stream, n, r);
}

}  // extern "C"
