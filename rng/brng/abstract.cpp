// The abstract generators: streams that serve numbers from a caller's buffer and call the
// caller's refill function when the buffer is used up. There is one per source precision
// (32-bit integers, doubles, floats); each generates in its own precision only, and the other
// precisions of its row are stubs that return BIX_ERROR_ARS_UNSUPPORTED_PRECISION.
//
// When the stream is made the buffer holds n numbers ready to serve. Each refill writes k
// numbers to buffer[0..k-1] and returns k, 1 <= k <= n. The d and s forms know the interval
// [a, b) of their source numbers and map them linearly onto the interval a generation call
// asks for: r = (u - a) * ((b' - a') / (b - a)) + a', or u itself when the two intervals are
// the same. Copies of a stream share the caller's buffer. No leapfrog, no skip-ahead.
#include <algorithm>

#include "generator.h"

namespace korb::rng {
namespace {

template <class T>
using Refill = int (*)(BixStream *, int, T *);

template <class T>
struct Source {
    T *buffer;
    Refill<T> refill;
    int32_t n;      // capacity of the buffer
    int32_t avail;  // numbers in the buffer
    int32_t pos;    // next number to serve
};

template <class T>
struct BoundedSource {
    Source<T> src;
    T a;
    T b;
};

// The initialiser's arguments: pointers to n, the buffer, [a, b,] and the refill function.
constexpr int kIntArgWords = 6;
constexpr int kBoundedArgWords = 10;

template <class T>
int init_source(Source<T> &src, int words, int expected_words, const void *const *args) {
    if (args == nullptr || words != expected_words) return BIX_ERROR_BADARGS;
    const int n = *static_cast<const int *>(args[0]);
    if (n <= 0 || args[1] == nullptr || args[words / 2 - 1] == nullptr) return BIX_ERROR_BADARGS;
    src.buffer = static_cast<T *>(const_cast<void *>(args[1]));
    src.refill = reinterpret_cast<Refill<T>>(const_cast<void *>(args[words / 2 - 1]));
    src.n = n;
    src.avail = n;
    src.pos = 0;
    return BIX_ERROR_OK;
}

// Serves n numbers through emit(i, u), refilling the buffer as often as needed.
template <class T, class Emit>
int serve(BixStream *stream, Source<T> &src, int n, Emit emit) {
    int i = 0;
    while (i < n) {
        if (src.pos >= src.avail) {
            const int k = src.refill(stream, src.n, src.buffer);
            src.pos = 0;
            src.avail = 0;
            if (k == 0) return BIX_ERROR_ARS_NODATA;
            if (k < 0 || k > src.n) return BIX_ERROR_ARS_BADCALLBACK;
            src.avail = k;
        }
        const int m = std::min(n - i, src.avail - src.pos);
        for (int j = 0; j < m; ++j) emit(i + j, src.buffer[src.pos + j]);
        i += m;
        src.pos += m;
    }
    return BIX_ERROR_OK;
}

template <class T, class R>
int serve_mapped(BixStream *stream, int n, R *r, R a, R b) {
    auto *st = state_of<BoundedSource<T>>(stream);
    const double sa = st->a;
    const double sb = st->b;
    if (a == st->a && b == st->b) {
        return serve(stream, st->src, n, [r](int i, T u) { r[i] = static_cast<R>(u); });
    }
    const double da = a;
    const double scale = (static_cast<double>(b) - da) / (sb - sa);
    return serve(stream, st->src, n, [=](int i, T u) {
        r[i] = static_cast<R>((static_cast<double>(u) - sa) * scale + da);
    });
}

// The arguments of the seeding call, an array of pointers in place of seed words.
const void *const *arguments(Seeds seeds) {
    return reinterpret_cast<const void *const *>(seeds.words());
}

template <class T>
int unsupported(BixStream *, int, T[], T, T) {
    return BIX_ERROR_ARS_UNSUPPORTED_PRECISION;
}
int unsupported_ints(BixStream *, int, uint32_t[]) {
    return BIX_ERROR_ARS_UNSUPPORTED_PRECISION;
}

struct IAbstract {
    static constexpr int kId = BIX_BRNG_IABSTRACT;
    static int seed(BixStream *stream, Seeds seeds) {
        return init_source(*state_of<Source<uint32_t>>(stream), seeds.count(), kIntArgWords,
                           arguments(seeds));
    }
    static int ints(BixStream *stream, int n, uint32_t r[]) {
        return serve(stream, *state_of<Source<uint32_t>>(stream), n,
                     [r](int i, uint32_t u) { r[i] = u; });
    }
    static constexpr auto doubles = unsupported<double>;
    static constexpr auto floats = unsupported<float>;
};

// The source of numbers of type T on [a, b): serves its own precision only.
template <class T, int Id>
struct BoundedAbstract {
    static constexpr int kId = Id;
    static int seed(BixStream *stream, Seeds seeds) {
        auto *st = state_of<BoundedSource<T>>(stream);
        const void *const *args = arguments(seeds);
        const int status = init_source(st->src, seeds.count(), kBoundedArgWords, args);
        if (status != BIX_ERROR_OK) return status;
        st->a = *static_cast<const T *>(args[2]);
        st->b = *static_cast<const T *>(args[3]);
        return BIX_ERROR_OK;
    }
    static int serve_own(BixStream *stream, int n, T r[], T a, T b) {
        return serve_mapped<T>(stream, n, r, a, b);
    }
    static constexpr auto ints = unsupported_ints;
};

struct DAbstract : BoundedAbstract<double, BIX_BRNG_DABSTRACT> {
    static constexpr auto doubles = serve_own;
    static constexpr auto floats = unsupported<float>;
};

struct SAbstract : BoundedAbstract<float, BIX_BRNG_SABSTRACT> {
    static constexpr auto doubles = unsupported<double>;
    static constexpr auto floats = serve_own;
};

// The makers: a stream of the source's row, seeded with the array of pointers {&n, buffer,
// [&a, &b,] refill}. A NaN bound passes the a >= b test.
template <class T, class Refill>
int new_bounded(BixStream **stream, int brng, int n, T *buffer, T a, T b, Refill refill) {
    if (stream == nullptr || n <= 0 || buffer == nullptr || refill == nullptr || a >= b) {
        return BIX_ERROR_BADARGS;
    }
    const void *args[] = {&n, buffer, &a, &b, reinterpret_cast<const void *>(refill)};
    return new_stream(stream, brng, kBoundedArgWords, reinterpret_cast<const uint32_t *>(args));
}

}  // namespace

// Sizes: the source record (with [a, b) for the real sources) after the stream header.
constexpr RowLayout layout_IABSTRACT = {
    .stateSize = 48, .stateWords = 0, .includesZero = 1, .nBits = 32};
constexpr RowLayout layout_DABSTRACT = {
    .stateSize = 64, .stateWords = 0, .includesZero = 1, .nBits = 32};
constexpr RowLayout layout_SABSTRACT = {
    .stateSize = 56, .stateWords = 0, .includesZero = 1, .nBits = 32};
static_assert(sizeof(Source<uint32_t>) + kStreamHeaderBytes <= layout_IABSTRACT.stateSize);
static_assert(sizeof(BoundedSource<double>) + kStreamHeaderBytes <= layout_DABSTRACT.stateSize);
static_assert(sizeof(BoundedSource<float>) + kStreamHeaderBytes <= layout_SABSTRACT.stateSize);

}  // namespace korb::rng

KORB_BRNG_ENTRY_POINTS(iAbstract, korb::rng::IAbstract)
KORB_BRNG_ENTRY_POINTS(dAbstract, korb::rng::DAbstract)
KORB_BRNG_ENTRY_POINTS(sAbstract, korb::rng::SAbstract)

extern "C" {

int __bixiNewAbstractStream(BixStream **stream, int n, uint32_t buffer[],
                            BixiUpdateFuncPtr refill) {
    if (stream == nullptr || n <= 0 || buffer == nullptr || refill == nullptr) {
        return BIX_ERROR_BADARGS;
    }
    const void *args[] = {&n, buffer, reinterpret_cast<const void *>(refill)};
    return korb::rng::new_stream(stream, BIX_BRNG_IABSTRACT, korb::rng::kIntArgWords,
                                 reinterpret_cast<const uint32_t *>(args));
}

int __bixdNewAbstractStream(BixStream **stream, int n, double buffer[], double a, double b,
                            BixdUpdateFuncPtr refill) {
    return korb::rng::new_bounded(stream, BIX_BRNG_DABSTRACT, n, buffer, a, b, refill);
}

int __bixsNewAbstractStream(BixStream **stream, int n, float buffer[], float a, float b,
                            BixsUpdateFuncPtr refill) {
    return korb::rng::new_bounded(stream, BIX_BRNG_SABSTRACT, n, buffer, a, b, refill);
}

}  // extern "C"
