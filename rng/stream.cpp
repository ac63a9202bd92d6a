// Stream services: making, deleting, copying and splitting streams, and the saved size.
//
// The services know no generator by name: everything a generator does is reached through its
// registry row. Ids stored in a stream are looked up through find_row, which refuses an id that
// names no row, so a damaged record gives BIX_ERROR_INVALID_BRNG instead of a stray read.
#include <cstring>

#include "korb/kernel/frame.h"
#include "korb/kernel/rng.h"
#include "rng/generators.h"
#include "stream.h"

namespace korb::rng {
namespace {

size_t state_bytes(const BrngProperties &row) {
    return static_cast<size_t>(row.stateSize) - kStreamHeaderBytes;
}

}  // namespace

int new_stream(BixStream **stream, int brng, int n, const uint32_t params[]) {
    int row = 0;
    int member = 0;
    const BrngProperties *table = __bixGetBrngBaseOffset(brng, &row, &member);
    BixStream *s = nullptr;
    const int status = __bixAllocateStream(&s, table, brng, row, member);
    if (status != BIX_ERROR_OK) return status;
    *stream = s;
    return table[row].initStream(BIX_INIT_METHOD_STANDARD, s, n, params);
}

}  // namespace korb::rng

using namespace korb::rng;

extern "C" {

int __bixNewStreamEx(BixStream **stream, int brng, int n, const uint32_t params[]) {
    // The abstract generators' streams are made only over a caller's buffer, by their own makers:
    // member 0 of their rows is refused here, before the id is validated.
    if (const GeneratorInfo *g = generator_of(brng);
        g != nullptr && g->kind == BrngKind::abstract && brng == g->id) {
        return BIX_ERROR_INVALID_BRNG;
    }
    if (stream == nullptr) return BIX_ERROR_NULL_PTR;
    // A failing initialiser leaves the stream made and stored; the caller deletes it.
    return new_stream(stream, brng, n, params);
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
    // stateWords * wordSize can exceed what a record holds (rows whose output words are wider
    // than their state words), and the destination may be a smaller generator: copy no more
    // than either record has room for.
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
