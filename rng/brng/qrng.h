// The engine shared by the base-2 quasi-random generators (Sobol, Niederreiter).
//
// Both produce points in Gray-code order: point i (i = 1, 2, ...) is the XOR of the direction
// numbers V[b] over the bits b set in gray(i) = i ^ (i >> 1), so point i is point i - 1 with
// V[ctz(i)] XOR-ed in, one word per coordinate. The origin (point 0) is never output. The
// generators differ only in their table of direction numbers, which is built once per process,
// attached to each stream as a chunk and shared through the read-only data table.
//
// A stream's state is a 16-byte header followed by one 32-bit word per coordinate:
//   point  index of the point held in x (1 to 2^32 - 1)
//   coord  how many of its selected coordinates have been output (0 to width)
//   first  first selected coordinate
//   width  number of selected coordinates: d after seeding, 1 after a leapfrog, 0 when seeding
//          failed (the stream then generates nothing)
// Outputs run over coordinates first .. first + width - 1 of point after point.
#pragma once

#include <cstdint>

#include "korb/rng.h"

namespace korb::rng::qrng {

constexpr int kBits = 32;

// A generator's table: kBits rows of max_dim words, row b holding V[b] of every dimension.
struct Table {
    uint32_t key;                // key of the chunk that carries it
    int max_dim;                 // largest dimension, and the row stride
    void (*build)(uint32_t *v);  // fills kBits * max_dim words
    // The table's id in the shared read-only data table, made once per process.
    const uint64_t *(*shared_id)();
};

// A new id for a table's shared entry, tagged with the table's address.
struct SharedId {
    uint64_t words[2];
};
SharedId make_shared_id(const Table &t);

inline uint32_t table_bytes(const Table &t) {
    return static_cast<uint32_t>(kBits * t.max_dim * sizeof(uint32_t));
}

// Initialiser methods 0 (seed[0] is the dimension), 1 (leapfrog: k of nstreams = width) and
// 2 (skip-ahead by a 64-bit count in two words, low first).
int init(const Table &t, int method, BixStream *stream, int n, const uint32_t params[]);

int generate_ints(const Table &t, BixStream *stream, int n, uint32_t r[]);
int generate_doubles(const Table &t, BixStream *stream, int n, double r[], double a, double b);
int generate_floats(const Table &t, BixStream *stream, int n, float r[], float a, float b);

}  // namespace korb::rng::qrng

// Defines a quasi-random generator over the engine: its table descriptor (chunk key, largest
// dimension, builder) with a shared id made once per process, its registry row `row`, and its
// four entry points __bixBRng<Name>InitStream and __bix[s|d|i]BRng<Name>. Used at global scope
// after the builder, which lives in korb::rng.
#define KORB_QRNG_GENERATOR(Name, row, key, max_dim, build, state_size, state_words)             \
    namespace korb::rng {                                                                        \
    namespace {                                                                                  \
    const uint64_t *Name##_shared_id();                                                          \
    const qrng::Table k##Name##Table = {key, max_dim, build, Name##_shared_id};                  \
    const uint64_t *Name##_shared_id() {                                                         \
        static const qrng::SharedId id = qrng::make_shared_id(k##Name##Table);                   \
        return id.words;                                                                         \
    }                                                                                            \
    }                                                                                            \
    const BrngProperties row = {state_size,                                                      \
                                state_words,                                                     \
                                0,                                                               \
                                4,                                                               \
                                32,                                                              \
                                __bixBRng##Name##InitStream,                                     \
                                __bixsBRng##Name,                                                \
                                __bixdBRng##Name,                                                \
                                __bixiBRng##Name};                                               \
    }                                                                                            \
    extern "C" int __bixBRng##Name##InitStream(int method, BixStream *stream, int n,             \
                                               const uint32_t params[]) {                        \
        return korb::rng::qrng::init(korb::rng::k##Name##Table, method, stream, n, params);      \
    }                                                                                            \
    extern "C" int __bixiBRng##Name(BixStream *stream, int n, uint32_t r[]) {                    \
        return korb::rng::qrng::generate_ints(korb::rng::k##Name##Table, stream, n, r);          \
    }                                                                                            \
    extern "C" int __bixdBRng##Name(BixStream *stream, int n, double r[], double a, double b) {  \
        return korb::rng::qrng::generate_doubles(korb::rng::k##Name##Table, stream, n, r, a, b); \
    }                                                                                            \
    extern "C" int __bixsBRng##Name(BixStream *stream, int n, float r[], float a, float b) {     \
        return korb::rng::qrng::generate_floats(korb::rng::k##Name##Table, stream, n, r, a, b);  \
    }
