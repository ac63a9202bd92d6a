// Internal view of stream records and registry rows shared by the stream services and the
// generators.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "korb/kernel/rng.h"

namespace korb::rng {

// The record layouts callers see; generators rely on the state starting at byte 16.
static_assert(sizeof(BixStream) == 16 && offsetof(BixStream, brng) == 0 &&
              offsetof(BixStream, streamFlag) == 4 && offsetof(BixStream, chunks) == 8);
static_assert(sizeof(BixChunk) == 40 && offsetof(BixChunk, key) == 0 &&
              offsetof(BixChunk, size) == 4 && offsetof(BixChunk, data) == 8 &&
              offsetof(BixChunk, next) == 16 && offsetof(BixChunk, globalId) == 24);
static_assert(sizeof(BixGlobRODataEntry) == 32 && offsetof(BixGlobRODataEntry, refCount) == 16 &&
              offsetof(BixGlobRODataEntry, data) == 24);
static_assert(sizeof(BrngProperties) == 56 && offsetof(BrngProperties, nBits) == 16 &&
              offsetof(BrngProperties, initStream) == 24 && offsetof(BrngProperties, sGen) == 32 &&
              offsetof(BrngProperties, dGen) == 40 && offsetof(BrngProperties, iGen) == 48);

constexpr int kStreamHeaderBytes = sizeof(BixStream);

// The generator state of a stream, as the generator's own struct (each generator checks that
// its struct fits its row's stateSize; the bound here is the largest built-in state).
template <class State>
State *state_of(BixStream *stream) {
    static_assert(sizeof(State) <= 43280 - kStreamHeaderBytes);
    return reinterpret_cast<State *>(reinterpret_cast<unsigned char *>(stream) +
                                     kStreamHeaderBytes);
}

// The row of a generator id, or null when the id names no row in use. Used where a service
// works from an id already stored in a stream, so that a damaged record cannot index past a
// table.
const BrngProperties *find_row(int brng);

struct GeneratorInfo;

// The list's entry (rng/generators.def) of the built-in generator whose row an id decodes to,
// in the current or the legacy table; null for rows the list does not hold (registrations,
// ids of no row). The member is not checked.
const GeneratorInfo *generator_of(int brng);

// Makes a stream of `brng` and seeds it by the row's initialiser (method 0) with n argument
// words. The stream is stored in *stream once made, even when seeding then fails; the caller
// deletes it. An id of no row, or an allocation failure, makes nothing.
int new_stream(BixStream **stream, int brng, int n, const uint32_t params[]);

// Whether the processor has its random-number instruction (CPUID leaf 1, ECX bit 30), which
// streams of the non-deterministic generator need.
bool has_hardware_rng();

// Number of entries in the shared read-only data table (for tests and diagnostics).
int shared_table_count();

}  // namespace korb::rng
