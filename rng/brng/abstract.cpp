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

#include "rng/stream.h"
#include "rows.h"

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

static_assert(sizeof(Source<uint32_t>) + kStreamHeaderBytes <= 48);
static_assert(sizeof(BoundedSource<double>) + kStreamHeaderBytes <= 64);
static_assert(sizeof(BoundedSource<float>) + kStreamHeaderBytes <= 56);

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

template <class T>
int init_bounded(int method, BixStream *stream, int words, const uint32_t *params) {
    if (method != BIX_INIT_METHOD_STANDARD) return refuse_split(method);
    auto *args = reinterpret_cast<const void *const *>(params);
    auto *st = state_of<BoundedSource<T>>(stream);
    int status = init_source(st->src, words, kBoundedArgWords, args);
    if (status != BIX_ERROR_OK) return status;
    st->a = *static_cast<const T *>(args[2]);
    st->b = *static_cast<const T *>(args[3]);
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

}  // namespace

const BrngProperties iabstract_row = {48,
                                      0,
                                      1,
                                      4,
                                      32,
                                      __bixBRngiAbstractInitStream,
                                      __bixsBRngiAbstract,
                                      __bixdBRngiAbstract,
                                      __bixiBRngiAbstract};
const BrngProperties dabstract_row = {64,
                                      0,
                                      1,
                                      4,
                                      32,
                                      __bixBRngdAbstractInitStream,
                                      __bixsBRngdAbstract,
                                      __bixdBRngdAbstract,
                                      __bixiBRngdAbstract};
const BrngProperties sabstract_row = {56,
                                      0,
                                      1,
                                      4,
                                      32,
                                      __bixBRngsAbstractInitStream,
                                      __bixsBRngsAbstract,
                                      __bixdBRngsAbstract,
                                      __bixiBRngsAbstract};

}  // namespace korb::rng

using namespace korb::rng;

extern "C" {

int __bixBRngiAbstractInitStream(int method, BixStream *stream, int n, const uint32_t params[]) {
    if (method != BIX_INIT_METHOD_STANDARD) return refuse_split(method);
    return init_source(*state_of<Source<uint32_t>>(stream), n, kIntArgWords,
                       reinterpret_cast<const void *const *>(params));
}

int __bixBRngdAbstractInitStream(int method, BixStream *stream, int n, const uint32_t params[]) {
    return init_bounded<double>(method, stream, n, params);
}

int __bixBRngsAbstractInitStream(int method, BixStream *stream, int n, const uint32_t params[]) {
    return init_bounded<float>(method, stream, n, params);
}

int __bixiBRngiAbstract(BixStream *stream, int n, uint32_t r[]) {
    return serve(stream, *state_of<Source<uint32_t>>(stream), n,
                 [r](int i, uint32_t u) { r[i] = u; });
}

int __bixdBRngdAbstract(BixStream *stream, int n, double r[], double a, double b) {
    return serve_mapped<double>(stream, n, r, a, b);
}

int __bixsBRngsAbstract(BixStream *stream, int n, float r[], float a, float b) {
    return serve_mapped<float>(stream, n, r, a, b);
}

// The precisions an abstract generator does not serve.
int __bixsBRngiAbstract(BixStream *, int, float[], float, float) {
    return BIX_ERROR_ARS_UNSUPPORTED_PRECISION;
}
int __bixdBRngiAbstract(BixStream *, int, double[], double, double) {
    return BIX_ERROR_ARS_UNSUPPORTED_PRECISION;
}
int __bixsBRngdAbstract(BixStream *, int, float[], float, float) {
    return BIX_ERROR_ARS_UNSUPPORTED_PRECISION;
}
int __bixiBRngdAbstract(BixStream *, int, uint32_t[]) {
    return BIX_ERROR_ARS_UNSUPPORTED_PRECISION;
}
int __bixdBRngsAbstract(BixStream *, int, double[], double, double) {
    return BIX_ERROR_ARS_UNSUPPORTED_PRECISION;
}
int __bixiBRngsAbstract(BixStream *, int, uint32_t[]) {
    return BIX_ERROR_ARS_UNSUPPORTED_PRECISION;
}

}  // extern "C"
