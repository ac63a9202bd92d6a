// Stream services: making, deleting, copying and splitting streams, and the saved size.
//
// The services know no generator by name: everything a generator does is reached through its
// registry row. Ids stored in a stream are looked up through find_row, which refuses an id that
// names no row, so a damaged record gives BIX_ERROR_INVALID_BRNG instead of a stray read.
#include <cstring>

#include "korb/frame.h"
#include "korb/rng.h"
#include "stream.h"

namespace korb::rng {
namespace {

// The abstract generators are only made through their own makers, never by id.
bool is_abstract_id(int brng) {
    return (brng & ~BIX_BRNG_INC) == BIX_BRNG_IABSTRACT || brng == BIX_BRNG_SABSTRACT;
}

int allocate(BixStream **stream, int brng) {
    int row = 0;
    int member = 0;
    const BrngProperties *table = __bixGetBrngBaseOffset(brng, &row, &member);
    return __bixAllocateStream(stream, table, brng, row, member);
}

// Makes a stream of an abstract generator and seeds it with an array of pointers.
int new_abstract(BixStream **stream, int brng, int words, const void *const *args) {
    BixStream *s = nullptr;
    int status = allocate(&s, brng);
    if (status != BIX_ERROR_OK) return status;
    *stream = s;
    const BrngProperties *row = find_row(brng);
    return row->initStream(BIX_INIT_METHOD_STANDARD, s, words,
                           reinterpret_cast<const uint32_t *>(args));
}

// The d and s makers: a buffer of numbers on [a, b). A NaN bound passes the a >= b test.
template <class T, class Refill>
int new_bounded_abstract(BixStream **stream, int brng, int n, T *buffer, T a, T b,
                         Refill refill) {
    if (stream == nullptr || n <= 0 || buffer == nullptr || refill == nullptr || a >= b) {
        return BIX_ERROR_BADARGS;
    }
    const void *args[] = {&n, buffer, &a, &b, reinterpret_cast<const void *>(refill)};
    return new_abstract(stream, brng, 10, args);
}

size_t state_bytes(const BrngProperties &row) {
    return static_cast<size_t>(row.stateSize) - kStreamHeaderBytes;
}

}  // namespace
}  // namespace korb::rng

using namespace korb::rng;

extern "C" {

int __bixNewStreamEx(BixStream **stream, int brng, int n, const uint32_t params[]) {
    if (is_abstract_id(brng)) return BIX_ERROR_INVALID_BRNG;
    if (stream == nullptr) return BIX_ERROR_NULL_PTR;
    BixStream *s = nullptr;
    int status = allocate(&s, brng);
    if (status != BIX_ERROR_OK) return status;
    *stream = s;
    // A failing initialiser leaves the stream made and stored; the caller deletes it.
    return find_row(brng)->initStream(BIX_INIT_METHOD_STANDARD, s, n, params);
}

int __bixiNewAbstractStream(BixStream **stream, int n, uint32_t buffer[],
                            BixiUpdateFuncPtr refill) {
    if (stream == nullptr || n <= 0 || buffer == nullptr || refill == nullptr) {
        return BIX_ERROR_BADARGS;
    }
    const void *args[] = {&n, buffer, reinterpret_cast<const void *>(refill)};
    return new_abstract(stream, BIX_BRNG_IABSTRACT, 6, args);
}

int __bixdNewAbstractStream(BixStream **stream, int n, double buffer[], double a, double b,
                            BixdUpdateFuncPtr refill) {
    return new_bounded_abstract(stream, BIX_BRNG_DABSTRACT, n, buffer, a, b, refill);
}

int __bixsNewAbstractStream(BixStream **stream, int n, float buffer[], float a, float b,
                            BixsUpdateFuncPtr refill) {
    return new_bounded_abstract(stream, BIX_BRNG_SABSTRACT, n, buffer, a, b, refill);
}

int __bixDeleteStream(BixStream **stream) {
    if (stream == nullptr || *stream == nullptr) return BIX_ERROR_OK;
    __bixDeleteChunks(*stream);
    korbFree(*stream);
    *stream = nullptr;
    return BIX_ERROR_OK;
}

int __bixCopyStream(BixStream **copy, const BixStream *source) {
    const BrngProperties *row = find_row(source->brng);
    if (row == nullptr) return BIX_ERROR_INVALID_BRNG;
    auto *c = static_cast<BixStream *>(korbMalloc(static_cast<size_t>(row->stateSize), 64));
    if (c == nullptr) return BIX_ERROR_MEM_FAILURE;
    std::memcpy(c, source, static_cast<size_t>(row->stateSize));
    c->chunks = nullptr;
    *copy = c;
    // On failure the copy is kept without chunks, like a stream whose initialiser failed.
    return __bixCopyChunks(c, source);
}

int __bixCopyStreamState(BixStream *destination, const BixStream *source) {
    if (destination == source) return BIX_ERROR_OK;
    const BrngProperties *row = find_row(source->brng);
    if (row == nullptr) return BIX_ERROR_INVALID_BRNG;
    // stateWords * wordSize can exceed what a record holds (Wichmann-Hill, SFMT19937), and the
    // destination may be a smaller generator: copy no more than either record has room for.
    size_t bytes = static_cast<size_t>(row->stateWords) * static_cast<size_t>(row->wordSize);
    if (bytes > state_bytes(*row)) bytes = state_bytes(*row);
    if (const BrngProperties *dst = find_row(destination->brng);
        dst != nullptr && bytes > state_bytes(*dst)) {
        bytes = state_bytes(*dst);
    }
    std::memcpy(state_of<unsigned char>(destination),
                state_of<unsigned char>(const_cast<BixStream *>(source)), bytes);
    __bixDeleteChunks(destination);
    return __bixCopyChunks(destination, source);
}

int __bixLeapfrogStream(BixStream *stream, int k, int nstreams) {
    if (static_cast<uint64_t>(static_cast<int64_t>(nstreams)) >= 0xFFFFFFFFu) {
        return BIX_ERROR_LEAPFROG_NSTREAMS_TOO_BIG;
    }
    const BrngProperties *row = find_row(stream->brng);
    if (row == nullptr) return BIX_ERROR_INVALID_BRNG;
    const uint32_t word = static_cast<uint32_t>(k);
    return row->initStream(BIX_INIT_METHOD_LEAPFROG, stream, nstreams, &word);
}

int __bixSkipAheadStream(BixStream *stream, long long nskip) {
    const BrngProperties *row = find_row(stream->brng);
    if (row == nullptr) return BIX_ERROR_INVALID_BRNG;
    uint32_t words[2];
    std::memcpy(words, &nskip, sizeof words);
    return row->initStream(BIX_INIT_METHOD_SKIPAHEAD, stream, 2, words);
}

int __bixGetStreamSize(const BixStream *stream) {
    const BrngProperties *row = find_row(stream->brng);
    if (row == nullptr) return BIX_ERROR_INVALID_BRNG;
    // Image header (20 bytes) + state (stateSize - 16) + per chunk key, id, size and data.
    int64_t size = row->stateSize + 4;
    for (const BixChunk *c = stream->chunks; c != nullptr; c = c->next) size += 24 + c->size;
    return size > INT32_MAX ? INT32_MAX : static_cast<int>(size);
}

}  // extern "C"
