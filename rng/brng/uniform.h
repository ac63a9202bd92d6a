// Turning generator outputs into numbers on [a, b).
//
// Words uniform over 0 .. 2^32 - 1 map to r = w * s + a with s = (b - a) * 2^-32 computed once:
// w converts to double exactly (the 2^52 offset technique), then a multiply and an add, never
// fused. A word of 0 gives exactly a. Floats are the same double rounded to float; rounding
// can reach b, so a float result of b or more becomes the float just below b.
//
// The sinks take a generator's words one at a time (one) or four at a time (block), at the
// position of the output array they belong to. WordOutputs makes a generator's three output
// functions from one function that hands its words to a sink.
#pragma once

#include <cmath>
#include <cstdint>

#include "frame/simd.h"
#include "korb/kernel/rng.h"

namespace korb::rng::uniform {

constexpr double kWordScale = 0x1p-32;

using simd::f32v;
using simd::f64v;
using simd::u32v;
using simd::u64v;

using i32v = int32_t __attribute__((vector_size(simd::kVectorBytes)));

// A block is one vector of words: four lanes at the baseline width.
constexpr int kBlockWords = simd::kVectorBytes / 4;
static_assert(kBlockWords == 4, "words_to_doubles splits four lanes");

// The largest float below b.
inline float float_below(float b) {
    return std::nextafter(b, -INFINITY);
}

inline float clamp_below(float r, float b, float below) {
    return r >= b ? below : r;
}

inline f32v clamp_below(f32v r, f32v b, f32v below) {
    const i32v at_or_above = r >= b;
    return reinterpret_cast<f32v>((reinterpret_cast<i32v>(r) & ~at_or_above) |
                                  (reinterpret_cast<i32v>(below) & at_or_above));
}

// The four words of v as two vectors of exactly converted doubles, in lane order.
inline void words_to_doubles(u32v v, f64v &lo, f64v &hi) {
    const u32v zero{};
    lo =
        simd::to_double_exact(reinterpret_cast<u64v>(__builtin_shufflevector(v, zero, 0, 4, 1, 5)));
    hi =
        simd::to_double_exact(reinterpret_cast<u64v>(__builtin_shufflevector(v, zero, 2, 6, 3, 7)));
}

struct Words {
    uint32_t *r;
    void one(int i, uint32_t w) { r[i] = w; }
    void block(int i, u32v v) { simd::store(r + i, v); }
};

struct WordsToDoubles {
    double *r;
    double s;
    double a;
    WordsToDoubles(double *out, double lo, double hi) : r(out), s((hi - lo) * kWordScale), a(lo) {}
    void one(int i, uint32_t w) { r[i] = simd::to_double_exact(w) * s + a; }
    void block(int i, u32v v) {
        f64v lo, hi;
        words_to_doubles(v, lo, hi);
        simd::store(r + i, lo * s + a);
        simd::store(r + i + 2, hi * s + a);
    }
};

struct WordsToFloats {
    float *r;
    double s;
    double a;
    float b;
    float below;
    WordsToFloats(float *out, float lo, float hi)
        : r(out),
          s((static_cast<double>(hi) - static_cast<double>(lo)) * kWordScale),
          a(lo),
          b(hi),
          below(float_below(hi)) {}
    void one(int i, uint32_t w) {
        r[i] = clamp_below(static_cast<float>(simd::to_double_exact(w) * s + a), b, below);
    }
    void block(int i, u32v v) {
        f64v lo, hi;
        words_to_doubles(v, lo, hi);
        simd::store(r + i, clamp_below(simd::narrow(lo * s + a, hi * s + a), simd::splat<f32v>(b),
                                       simd::splat<f32v>(below)));
    }
};

// The iGen, dGen and sGen functions of a generator of 32-bit words: G::run(stream, n, sink)
// hands the stream's next n words to the sink and returns a status.
template <class G>
struct WordOutputs {
    static int ints(BixStream *stream, int n, uint32_t r[]) {
        Words sink{r};
        return G::run(stream, n, sink);
    }
    static int doubles(BixStream *stream, int n, double r[], double a, double b) {
        WordsToDoubles sink(r, a, b);
        return G::run(stream, n, sink);
    }
    static int floats(BixStream *stream, int n, float r[], float a, float b) {
        WordsToFloats sink(r, a, b);
        return G::run(stream, n, sink);
    }
};

}  // namespace korb::rng::uniform
