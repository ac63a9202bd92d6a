// The Gray-code engine of the base-2 quasi-random generators: seeding (and attaching the shared
// table), leapfrog to one coordinate, skip-ahead, and the three output forms.
//
// Output words are the coordinates themselves; doubles and floats are u * s + a with u the word
// converted exactly (the 2^52 offset technique) and s = (b - a) * 2^-32, a multiply and an add,
// never fused; floats are computed so in double and rounded at the end. A whole point is XOR-ed
// and converted four coordinates at a time; the vector path gives the bits of the scalar one.
#include "qrng.h"

#include <algorithm>
#include <bit>

#include "frame/simd.h"
#include "korb/kernel/frame.h"
#include "rng/brng/uniform.h"
#include "rng/stream.h"

namespace korb::rng::qrng {
namespace {

// Points 1 to 2^32 - 1 exist: point 2^32 would need a 33rd direction number.
constexpr uint32_t kLastPoint = 0xFFFFFFFFu;

struct Header {
    uint32_t point;
    uint32_t coord;
    uint32_t first;
    uint32_t width;
};
static_assert(sizeof(Header) == 16);

Header *header(BixStream *s) {
    return state_of<Header>(s);
}
uint32_t *coords(BixStream *s) {
    return reinterpret_cast<uint32_t *>(header(s) + 1);
}

const uint32_t *table_of(const Table &t, const BixStream *s) {
    return static_cast<const uint32_t *>(__bixSearchChunk(s, t.key));
}

// Outputs delivered so far, and outputs in the whole sequence, counted over the selected
// coordinates.
uint64_t delivered(const Header &h) {
    return static_cast<uint64_t>(h.point - 1) * h.width + h.coord;
}
uint64_t total(const Header &h) {
    return static_cast<uint64_t>(kLastPoint) * h.width;
}

// Loads the selected coordinates of point h.point into the state, straight from gray(point).
void load_point(const Table &t, const uint32_t *v, const Header &h, uint32_t *x) {
    const uint32_t gray = h.point ^ (h.point >> 1);
    for (uint32_t k = h.first; k < h.first + h.width; ++k) {
        uint32_t c = 0;
        for (uint32_t g = gray; g != 0; g &= g - 1) {
            c ^= v[static_cast<size_t>(std::countr_zero(g)) * t.max_dim + k];
        }
        x[k] = c;
    }
}

// Attaches the table to the stream: a reference to the shared block when some stream already
// holds it, else a block built now, which becomes the shared one. A stream that has the chunk
// already (seeded before) keeps it.
int attach_table(const Table &t, BixStream *s) {
    if (table_of(t, s) != nullptr) return BIX_ERROR_OK;
    const uint64_t *id = t.shared_id();
    const uint32_t size = table_bytes(t);
    int status = __bixAddChunk(s, t.key, nullptr, nullptr, size);
    if (status != BIX_ERROR_OK) return status;
    BixChunk *c = s->chunks;
    __bixRegisterGlobRODataReference(c, id);
    if (c->data != nullptr) return BIX_ERROR_OK;

    // No stream holds the table: drop the empty chunk and bring a new block. If another thread
    // shared one in the meantime, __bixAddChunk takes that one and frees this.
    s->chunks = c->next;
    korbFree(c);
    auto *v = static_cast<uint32_t *>(korbMalloc(size, 64));
    if (v == nullptr) return BIX_ERROR_MEM_FAILURE;
    t.build(v);
    status = __bixAddChunk(s, t.key, id, v, size);
    if (status != BIX_ERROR_OK) korbFree(v);
    return status;
}

// A stream whose seeding failed has nothing to split.
bool seeded(const Table &t, BixStream *s) {
    return header(s)->width != 0 && table_of(t, s) != nullptr;
}

}  // namespace

int seed(const Table &t, BixStream *s, Seeds seeds) {
    Header *h = header(s);
    h->width = 0;
    uint32_t d = seeds.count() >= 1 ? seeds[0] : 0;
    if (d == 0) d = 1;
    if (d > static_cast<uint32_t>(t.max_dim)) return BIX_ERROR_BADARGS;
    if (int status = attach_table(t, s); status != BIX_ERROR_OK) return status;
    *h = Header{1, 0, 0, d};
    load_point(t, table_of(t, s), *h, coords(s));
    return BIX_ERROR_OK;
}

// Outputs k, k + width, k + 2 width, ... of the stream as it stands are one coordinate of
// consecutive points.
int leapfrog(const Table &t, BixStream *s, uint32_t k, int nstreams) {
    if (!seeded(t, s)) return BIX_ERROR_BADARGS;
    Header *h = header(s);
    if (nstreams < 0 || static_cast<uint32_t>(nstreams) != h->width || k >= h->width) {
        return BIX_ERROR_LEAPFROG_UNSUPPORTED;
    }
    const uint64_t target = static_cast<uint64_t>(h->coord) + k;
    const uint64_t point = h->point + target / h->width;
    h->first += static_cast<uint32_t>(target % h->width);
    h->width = 1;
    if (point > kLastPoint) {
        *h = Header{kLastPoint, 1, h->first, 1};  // nothing left
    } else {
        h->point = static_cast<uint32_t>(point);
        h->coord = 0;
    }
    load_point(t, table_of(t, s), *h, coords(s));
    return BIX_ERROR_OK;
}

int skip_ahead(const Table &t, BixStream *s, uint64_t nskip) {
    if (!seeded(t, s)) return BIX_ERROR_BADARGS;
    Header *h = header(s);
    const uint64_t p = delivered(*h);
    if (nskip > total(*h) - p) return BIX_ERROR_QRNG_PERIOD_ELAPSED;
    const uint64_t q = p + nskip;
    if (q == total(*h)) {
        h->point = kLastPoint;
        h->coord = h->width;
    } else {
        h->point = static_cast<uint32_t>(q / h->width + 1);
        h->coord = static_cast<uint32_t>(q % h->width);
    }
    load_point(t, table_of(t, s), *h, coords(s));
    return BIX_ERROR_OK;
}

namespace {

using simd::u32v;

// Hands x[0..k-1] to the sink as outputs i, i + 1, ...
template <class Sink>
inline void emit(Sink &sink, int i, const uint32_t *x, int k) {
    int j = 0;
    for (; j + 4 <= k; j += 4) sink.block(i + j, simd::load<u32v>(x + j));
    for (; j < k; ++j) sink.one(i + j, x[j]);
}

// Moves x[0..w-1] to the next point (XOR of its direction numbers vb) and emits it.
template <class Sink>
inline void step(Sink &sink, int i, uint32_t *x, const uint32_t *vb, int w) {
    int j = 0;
    for (; j + 4 <= w; j += 4) {
        const u32v y = simd::load<u32v>(x + j) ^ simd::load<u32v>(vb + j);
        simd::store(x + j, y);
        sink.block(i + j, y);
    }
    for (; j < w; ++j) {
        x[j] ^= vb[j];
        sink.one(i + j, x[j]);
    }
}

template <class Sink>
int generate_points(const Table &t, BixStream *s, int n, Sink &sink) {
    if (n <= 0) return BIX_ERROR_OK;
    Header *h = header(s);
    const uint32_t *v = table_of(t, s);
    if (h->width == 0 || v == nullptr) return BIX_ERROR_BADARGS;
    if (static_cast<uint64_t>(n) > total(*h) - delivered(*h)) return BIX_ERROR_QRNG_PERIOD_ELAPSED;

    const int w = static_cast<int>(h->width);
    const size_t stride = static_cast<size_t>(t.max_dim);
    uint32_t *x = coords(s) + h->first;
    v += h->first;
    uint32_t point = h->point;
    int c = static_cast<int>(h->coord);

    // The rest of the current point; afterwards either n is done or the point is.
    int i = std::min(w - c, n);
    emit(sink, 0, x + c, i);
    c += i;
    if (w == 1) {
        // One coordinate: eight points at a time. Points 8q + j (j < 8) are point 8q with the
        // block pattern of gray(j) XOR-ed in, since gray(8q + j) = gray(8q) ^ gray(j).
        uint32_t x0 = x[0];
        const auto next = [&](uint32_t p) {
            return v[static_cast<size_t>(std::countr_zero(p)) * stride];
        };
        for (; i < n && ((point + 1) & 7) != 0; ++i) {
            ++point;
            x0 ^= next(point);
            sink.one(i, x0);
        }
        if (n - i >= 8) {
            const uint32_t v0 = v[0], v1 = v[stride], v2 = v[2 * stride];
            const u32v lo = {0, v0, v0 ^ v1, v1};
            const u32v hi = {v1 ^ v2, v0 ^ v1 ^ v2, v0 ^ v2, v2};
            for (; n - i >= 8; i += 8) {
                const u32v base = simd::splat<u32v>(x0 ^ next(point + 1));
                sink.block(i, base ^ lo);
                sink.block(i + 4, base ^ hi);
                x0 = base[0] ^ v2;  // the block's last point, gray(7) = 4
                point += 8;
            }
        }
        for (; i < n; ++i) {
            ++point;
            x0 ^= next(point);
            sink.one(i, x0);
        }
        x[0] = x0;
    } else {
        for (; n - i >= w; i += w) {
            ++point;
            step(sink, i, x, v + static_cast<size_t>(std::countr_zero(point)) * stride, w);
        }
        if (i < n) {
            ++point;
            const uint32_t *vb = v + static_cast<size_t>(std::countr_zero(point)) * stride;
            for (int j = 0; j < w; ++j) x[j] ^= vb[j];
            emit(sink, i, x, n - i);
            c = n - i;
        }
    }
    h->point = point;
    h->coord = static_cast<uint32_t>(c);
    return BIX_ERROR_OK;
}

}  // namespace

// Each sink is a local of its function, so that the compiler sees its fields are not stored
// to by the output loop (passing it in from another unit measured 5 to 10 % slower).
int generate_ints(const Table &t, BixStream *stream, int n, uint32_t r[]) {
    uniform::Words sink{r};
    return generate_points(t, stream, n, sink);
}

int generate_doubles(const Table &t, BixStream *stream, int n, double r[], double a, double b) {
    uniform::WordsToDoubles sink(r, a, b);
    return generate_points(t, stream, n, sink);
}

int generate_floats(const Table &t, BixStream *stream, int n, float r[], float a, float b) {
    uniform::WordsToFloats sink(r, a, b);
    return generate_points(t, stream, n, sink);
}

SharedId make_shared_id(const Table &t) {
    SharedId id{};
    __bixGenerateNewGlobalRODataTableEntryId(id.words, reinterpret_cast<uintptr_t>(&t));
    return id;
}

}  // namespace korb::rng::qrng
