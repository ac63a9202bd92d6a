// Uniform bits: a generator's raw output words as they are, as 32-bit values, or as 64-bit
// values.
//
// The plain kernel hands the row's iGen through. The 32- and 64-bit kernels dispatch on the
// stream's registry row through a table with one entry per row of the generator list, made from
// the list's `bits` column; rows without a conversion (bits none), registered generators and
// ids of no row get the unsupported entry, which returns BIX_ERROR_BRNG_NOT_SUPPORTED and writes
// nothing.
//
// - words (generators of uniform 32-bit words): a 64-bit output is two consecutive words, the
//   earlier in the low half.
// - top32 (64-bit words below 2^59 from a power-of-two modulus): each word's top 32 of its 59
//   bits, the low bits of such a generator having short periods; a 64-bit output takes two
//   words, the earlier in the low half.
// - split128: 128-bit words are split into four 32-bit or two 64-bit outputs, low part first.
//   What a call does not use of its last 128-bit word is kept in a 16-byte record attached to
//   the stream (chunk key 11 for 32-bit outputs, 12 for 64-bit ones) and handed out first by
//   the next call, so any split of n gives the same outputs. The record is made the first time
//   a call leaves words over, and travels with copies and saved images.
#include <algorithm>
#include <cstring>

#include "korb/kernel/rng.h"
#include "rng/generators.h"
#include "rng/stream.h"

namespace korb::rng {
namespace {

constexpr int kBlockWords = 2048;  // 59-bit words drawn per block
constexpr uint32_t kPending32Key = 11;
constexpr uint32_t kPending64Key = 12;
constexpr int kTop32Shift = 59 - 32;

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

using Bits32Kernel = int (*)(int method, BixStream *stream, int n, uint32_t r[]);
using Bits64Kernel = int (*)(int method, BixStream *stream, int n, uint64_t r[]);

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

// Top 32 bits of the 59 of each of n 64-bit words; out(i, top) receives them in order.
template <class Out>
int top32_of_59(int method, BixStream *stream, long long n, Out out) {
    uint64_t block[kBlockWords];
    int status = BIX_ERROR_OK;
    for (long long done = 0; done < n;) {
        const int m = static_cast<int>(std::min<long long>(n - done, kBlockWords));
        status = _bixiRngUniformBits(method, stream, m, reinterpret_cast<uint32_t *>(block));
        if (status < 0) return status;
        for (int i = 0; i < m; ++i) out(done + i, static_cast<uint32_t>(block[i] >> kTop32Shift));
        done += m;
    }
    return status;
}

int top32_32(int method, BixStream *stream, int n, uint32_t r[]) {
    return top32_of_59(method, stream, n, [r](long long i, uint32_t top) { r[i] = top; });
}

int top32_64(int method, BixStream *stream, int n, uint64_t r[]) {
    auto *half = reinterpret_cast<uint32_t *>(r);  // the earlier word in the low half
    return top32_of_59(method, stream, 2LL * std::max(n, 0),
                       [half](long long i, uint32_t top) { std::memcpy(half + i, &top, 4); });
}

int split128_32(int method, BixStream *stream, int n, uint32_t r[]) {
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

int split128_64(int method, BixStream *stream, int n, uint64_t r[]) {
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

struct BitsKernels {
    Bits32Kernel bits32;
    Bits64Kernel bits64;
};

constexpr BitsKernels kernels_for(BitsSource bits) {
    switch (bits) {
        case BitsSource::words:
            return {raw32, raw64};
        case BitsSource::top32:
            return {top32_32, top32_64};
        case BitsSource::split128:
            return {split128_32, split128_64};
        case BitsSource::none:
            break;
    }
    return {unsupported32, unsupported64};
}

// Entry r serves row r of the generator list.
struct BitsTable {
    BitsKernels row[kGeneratorCount];
};

constexpr BitsTable make_table() {
    BitsTable t{};
    for (int r = 0; r < kGeneratorCount; ++r) t.row[r] = kernels_for(kGenerators[r].bits);
    return t;
}

constexpr BitsTable kTable = make_table();

// The kernels of the stream's generator: its row's in the current table, the list entry's of a
// legacy id, the unsupported ones for any other row.
BitsKernels kernels_of(const BixStream *stream) {
    const GeneratorInfo *g = generator_of(stream->brng);
    return g != nullptr ? kTable.row[g - kGenerators] : kernels_for(BitsSource::none);
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
    return kernels_of(stream).bits32(method, stream, n, r);
}

int _bixiRngUniformBits64(int method, BixStream *stream, int n, uint64_t r[]) {
    using namespace korb::rng;
    return kernels_of(stream).bits64(method, stream, n, r);
}

}  // extern "C"
