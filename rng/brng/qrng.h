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

#include "generator.h"
#include "korb/kernel/rng.h"

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

// Seeding (seed[0] is the dimension), leapfrog (k of nstreams = width) and skip-ahead.
int seed(const Table &t, BixStream *stream, Seeds seeds);
int leapfrog(const Table &t, BixStream *stream, uint32_t k, int nstreams);
int skip_ahead(const Table &t, BixStream *stream, uint64_t nskip);

// The stream's next n outputs as words, doubles or floats.
int generate_ints(const Table &t, BixStream *stream, int n, uint32_t r[]);
int generate_doubles(const Table &t, BixStream *stream, int n, double r[], double a, double b);
int generate_floats(const Table &t, BixStream *stream, int n, float r[], float a, float b);

// A quasi-random generator over the engine: its id, the key of its table's chunk, its largest
// dimension and build(v), which fills the kBits * MaxDim words of its table.
template <int Id, uint32_t Key, int MaxDim, void (*Build)(uint32_t *)>
struct Generator {
    static constexpr int kId = Id;

    // The table's id in the shared read-only data table, made once per process.
    static const uint64_t *shared_id() {
        static const SharedId id = make_shared_id(kTable);
        return id.words;
    }
    static constexpr Table kTable = {Key, MaxDim, Build, shared_id};

    static int seed(BixStream *stream, Seeds seeds) { return qrng::seed(kTable, stream, seeds); }
    static int leapfrog(BixStream *stream, uint32_t k, int nstreams) {
        return qrng::leapfrog(kTable, stream, k, nstreams);
    }
    static int skip_ahead(BixStream *stream, uint64_t nskip) {
        return qrng::skip_ahead(kTable, stream, nskip);
    }
    static int ints(BixStream *stream, int n, uint32_t r[]) {
        return generate_ints(kTable, stream, n, r);
    }
    static int doubles(BixStream *stream, int n, double r[], double a, double b) {
        return generate_doubles(kTable, stream, n, r, a, b);
    }
    static int floats(BixStream *stream, int n, float r[], float a, float b) {
        return generate_floats(kTable, stream, n, r, a, b);
    }
};

}  // namespace korb::rng::qrng
