// Normal variates of mean a and standard deviation sigma, by three methods:
//   0  Box-Muller, one variate (the sine one) per pair of uniforms;
//   1  Box-Muller, both variates of each pair; the cosine variate of a pair cut off by the end
//      of a call is delivered first by the next call, so any split of n gives the same numbers;
//   2  the inverse distribution function, sqrt(2) * erfinv(u) for u uniform on [-1, 1).
// The elementary functions run over whole blocks in the vector-math kernels; the error callback
// turns their special values into finite variates.
#include <bit>
#include <cstring>

#include "distributions/frame.h"
#include "korb/kernel/frame.h"

namespace korb::dist {
namespace {

// What the callback writes for the special cases of ln (at 0 and below) and erfinv (at -1 and
// +1, and outside [-1, 1]). The value for a negative argument is not the mirror image of the
// value for +1: ln never sees one, and erfinv(-1) gives this one deliberately.
template <class T>
struct Special;
template <>
struct Special<double> {
    static constexpr double kLnOfZero = Precision<double>::kLnOfZero;
    static constexpr double kNegative = -0.7670519064056041;
    static constexpr double kPositive = 5.8635847487551676;
};
template <>
struct Special<float> {
    static constexpr float kLnOfZero = Precision<float>::kLnOfZero;
    static constexpr float kNegative = -1.0837465524673462f;
    static constexpr float kPositive = 3.8325068950653076f;
};
static_assert(std::bit_cast<uint64_t>(Special<double>::kLnOfZero) == 0xC0874385446D71C3);
static_assert(std::bit_cast<uint64_t>(Special<double>::kNegative) == 0xBFE88BB0708B16B6);
static_assert(std::bit_cast<uint64_t>(Special<double>::kPositive) == 0x4017744F8F74E94A);
static_assert(std::bit_cast<uint32_t>(Special<float>::kLnOfZero) == 0xC2CE8ED0);
static_assert(std::bit_cast<uint32_t>(Special<float>::kNegative) == 0xBF8AB835);
static_assert(std::bit_cast<uint32_t>(Special<float>::kPositive) == 0x407547CB);

template <class T>
int on_special_value(ArqErrorContext *c) {
    using S = Special<T>;
    T v;
    if (c->code == ARQ_STATUS_SING) {
        v = c->a1 == 0.0 ? S::kLnOfZero : c->a1 < 0.0 ? S::kNegative : S::kPositive;
    } else if (c->code == ARQ_STATUS_ERRDOM) {
        v = c->a1 < 0.0 ? S::kNegative : S::kPositive;
    } else {
        return 0;
    }
    c->r1 = c->r2 = v;
    return 0;
}

constexpr int kBlock = 1024;     // outputs of one method-0 block
constexpr int kPairBlock = 512;  // pairs of one method-1 block

// The radius sqrt(-2 ln u) of m first uniforms, in place.
template <class T>
void radius(int m, T *u) {
    using P = Precision<T>;
    vm(P::ln, m, u, u);
    for (int i = 0; i < m; ++i) u[i] = T(0) - (u[i] + u[i]);
    vm(P::sqrt, m, u, u);
}

template <class T>
int box_muller(BixStream *stream, int n, T *r, T a, T sigma) {
    using P = Precision<T>;
    alignas(64) T buffer[2 * kBlock];
    alignas(64) T rad[kBlock];
    alignas(64) T angle[kBlock];
    int status = BIX_ERROR_OK;
    for (int k = 0; k < n;) {
        const int m = n - k < kBlock ? n - k : kBlock;
        status = uniforms(stream, 2 * m, buffer, T(0), T(1));
        if (status < 0) return status;
        for (int i = 0; i < m; ++i) {
            rad[i] = buffer[2 * i];
            angle[i] = buffer[2 * i + 1] * P::kTwoPi;
        }
        vm(P::sin, m, angle, angle);
        radius(m, rad);
        for (int i = 0; i < m; ++i) r[k + i] = rad[i] * sigma * angle[i] + a;
        k += m;
    }
    return status;
}

// The pending-pair record of method 1, attached to the stream on first use: (u1, u2) of a pair
// whose cosine variate is still owed, or (-1, -1).
template <class T>
int pending_record(BixStream *stream, T **record) {
    constexpr uint32_t kSize = 16;
    void *data = __bixSearchChunk(stream, Precision<T>::kPendingKey);
    if (data == nullptr) {
        data = korbMalloc(kSize, 32);
        if (data == nullptr) return BIX_ERROR_MEM_FAILURE;
        std::memset(data, 0, kSize);  // a single-precision record leaves 8 bytes unused
        static_cast<T *>(data)[0] = T(-1);
        static_cast<T *>(data)[1] = T(-1);
        const int status = __bixAddChunk(stream, Precision<T>::kPendingKey, nullptr, data, kSize);
        if (status < 0) {
            korbFree(data);
            return status;
        }
    }
    *record = static_cast<T *>(data);
    return BIX_ERROR_OK;
}

template <class T>
int box_muller_pairs(BixStream *stream, int n, T *r, T a, T sigma) {
    using P = Precision<T>;
    T *record = nullptr;
    if (int status = pending_record(stream, &record); status < 0) return status;

    // Single pairs go through the same kernels as the blocks, one element long, so that a pair
    // gives the same variates whichever path it takes. Each variate is scaled as it is written,
    // the same two operations a scaling pass over r would do, without reading r again.
    alignas(64) T u1[kPairBlock];
    alignas(64) T sines[kPairBlock];
    alignas(64) T cosines[kPairBlock];
    int k = 0;
    if (record[0] != T(-1)) {
        T angle = record[1] * P::kTwoPi;
        T rad = record[0];
        vm(P::sin_cos, 1, &angle, sines, cosines);
        radius(1, &rad);
        const T variate = rad * cosines[0];
        r[k++] = variate * sigma + a;
    }
    const bool odd = (n - k) % 2 != 0;

    alignas(64) T buffer[2 * kPairBlock];
    int status = BIX_ERROR_OK;
    while (n - k >= 2) {
        const int p = n - k >= 2 * kPairBlock ? kPairBlock : (n - k) / 2;
        status = uniforms(stream, 2 * p, buffer, T(0), T(1));
        if (status < 0) return status;
        for (int i = 0; i < p; ++i) {
            u1[i] = buffer[2 * i];
            sines[i] = buffer[2 * i + 1] * P::kTwoPi;
        }
        vm(P::sin_cos, p, sines, sines, cosines);
        radius(p, u1);
        for (int i = 0; i < p; ++i) {
            const T sine_variate = u1[i] * sines[i];
            const T cosine_variate = u1[i] * cosines[i];
            r[k + 2 * i] = sine_variate * sigma + a;
            r[k + 2 * i + 1] = cosine_variate * sigma + a;
        }
        k += 2 * p;
    }
    if (odd) {
        T u[2];
        status = uniforms(stream, 2, u, T(0), T(1));
        if (status < 0) return status;
        record[0] = u[0];
        record[1] = u[1];
        T angle = u[1] * P::kTwoPi;
        vm(P::sin_cos, 1, &angle, sines, cosines);
        radius(1, u);
        const T variate = u[0] * sines[0];
        r[k] = variate * sigma + a;
    } else {
        record[0] = T(-1);
        record[1] = T(-1);
    }
    return status;
}

template <class T>
int inverse_cdf(BixStream *stream, int n, T *r, T a, T sigma) {
    using P = Precision<T>;
    const int status = uniforms(stream, n, r, T(-1), T(1));
    if (status < 0) return status;
    vm(P::erf_inv, n, r, r);
    scale(n, r, P::kSqrt2 * sigma, a);
    return status;
}

template <class T>
int gaussian(int method, BixStream *stream, int n, T *r, T a, T sigma) {
    using Worker = int (*)(BixStream *, int, T *, T, T);
    static constexpr Worker kWorkers[] = {box_muller<T>, box_muller_pairs<T>, inverse_cdf<T>};
    // The dispatching layer passes only these ids; anything else is refused, not followed.
    if (method < 0 || method > 2) return BIX_ERROR_BADMETHOD;
    if (n < 1) return BIX_ERROR_OK;
    VmErrorBracket bracket(on_special_value<T>);
    return kWorkers[method](stream, n, r, a, sigma);
}

}  // namespace
}  // namespace korb::dist

KORB_DIST_ENTRY_POINTS(Gaussian, gaussian, a, sigma)
