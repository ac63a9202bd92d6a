// The multiplicative congruential generators (MCG31M1, MCG59): the state holds the next output x
// and the multiplier a, and the stream's outputs are x, a x, a^2 x, ... modulo m. One generator
// over a modulus M serves both; M gives
//   kId, Word, kMultiplier      the row, the word type (32 or 64 bits), the multiplier after
//   seeding seed_value(seeds)           x from the seed words (0 becomes 1 afterwards) mul(a, x),
//   pow(base, e)     a x and base^e modulo m step(lanes, aB)             aB x modulo m in each
//   64-bit lane of a native vector, for every non-zero residue x to_double(x), kScale        x as
//   the double the real outputs scale (one word, or the lanes of a native vector), and the
//   scale 1 / m
//
// Generation steps a block of outputs at once, four native vectors of 64-bit lanes (8 outputs
// with 16-byte vectors, 16 with 32-byte, 32 with 64-byte ones): after the first block, each
// output is a^B times the output B places earlier, B the block's size, so B independent products
// proceed in vector lanes. The products are exact residues, so the outputs are those of the
// one-at-a-time recurrence whatever B is. Real outputs are to_double(x) * s + a with
// s = (b - a) * kScale, a multiply and an add, never fused; floats are that double rounded.
// Every split of n gives the same numbers as one call.
//
// Leapfrog (nstreams n, k) makes the stream yield outputs k, k + n, ... of the stream as it
// stands: x <- a^k x, a <- a^n; k is not compared with n. Skip-ahead moves x by the count with the
// current a, so after a leapfrog it counts leapfrogged outputs.
#pragma once

#include <cstdint>
#include <type_traits>

#include "frame/simd.h"
#include "generator.h"

namespace korb::rng::congruential {

using U64 = simd::Vec<uint64_t>;
constexpr int kLanes = simd::kCount<simd::Vec<double>>;
constexpr int kVectors = 4;
constexpr int kBlock = kVectors * kLanes;
using Lanes = U64[kVectors];

template <class M>
struct Generator {
    using Word = typename M::Word;
    static constexpr int kId = M::kId;

    struct State {
        Word x;  // the next output, never 0
        Word a;  // the multiplier, or a power of it after leapfrog
    };

    static State *state(BixStream *stream) { return state_of<State>(stream); }

    static int seed(BixStream *stream, Seeds seeds) {
        const Word x = M::seed_value(seeds);
        state(stream)->x = x == 0 ? 1 : x;
        state(stream)->a = M::kMultiplier;
        return BIX_ERROR_OK;
    }

    static int leapfrog(BixStream *stream, uint32_t k, int nstreams) {
        State *st = state(stream);
        st->x = M::mul(M::pow(st->a, k), st->x);
        st->a = M::pow(st->a, static_cast<uint32_t>(nstreams));
        return BIX_ERROR_OK;
    }

    static int skip_ahead(BixStream *stream, uint64_t nskip) {
        State *st = state(stream);
        st->x = M::mul(M::pow(st->a, nskip), st->x);
        return BIX_ERROR_OK;
    }

    static int ints(BixStream *stream, int n, uint32_t r[]) {
        IntSink sink{r};
        generate(state(stream), n, sink);
        return BIX_ERROR_OK;
    }

    static int doubles(BixStream *stream, int n, double r[], double a, double b) {
        RealSink<double> sink{r, (b - a) * M::kScale, a};
        generate(state(stream), n, sink);
        return BIX_ERROR_OK;
    }

    // The bounds widen to double; s and each number are computed as for doubles, then rounded.
    static int floats(BixStream *stream, int n, float r[], float a, float b) {
        const double da = a;
        RealSink<float> sink{r, (static_cast<double>(b) - da) * M::kScale, da};
        generate(state(stream), n, sink);
        return BIX_ERROR_OK;
    }

  private:
    // Runs the recurrence for n outputs, handing each to the sink: one at a time through
    // sink.one(i, x), and in blocks of kBlock through sink.block(i, lanes).
    template <class Sink>
    static void generate(State *st, int n, Sink &sink) {
        Word x = st->x;
        const Word a = st->a;
        int i = 0;
        if (n >= 2 * kBlock) {
            Lanes v;
            for (; i < kBlock; ++i) {
                v[i / kLanes][i % kLanes] = x;
                sink.one(i, x);
                x = M::mul(a, x);
            }
            Word power = a;  // a^kBlock, by squaring (kBlock is a power of two)
            for (int b = 1; b < kBlock; b *= 2) power = M::mul(power, power);
            const U64 a_block = U64{} + power;
            for (; n - i >= kBlock; i += kBlock) {
                for (U64 &lane : v) lane = M::step(lane, a_block);
                sink.block(i, v);
            }
            x = M::mul(a, static_cast<Word>(v[kVectors - 1][kLanes - 1]));
        }
        for (; i < n; ++i) {
            sink.one(i, x);
            x = M::mul(a, x);
        }
        st->x = x;
    }

    // Raw words: 32-bit words one element each, 64-bit words two elements, low half first.
    struct IntSink {
        uint32_t *r;
        void one(int i, Word x) { simd::store(r + kElements * static_cast<ptrdiff_t>(i), x); }
        void block(int i, const Lanes &v) {
            if constexpr (kElements == 1) {
                for (int j = 0; j < kVectors; j += 2) {
                    simd::store_lanes(r + i + j * kLanes, simd::low_halves(v[j], v[j + 1]));
                }
            } else {
                for (int j = 0; j < kVectors; ++j) {
                    simd::store(r + 2 * (static_cast<ptrdiff_t>(i) + j * kLanes), v[j]);
                }
            }
        }
        static constexpr int kElements = sizeof(Word) / sizeof(uint32_t);
    };

    template <class T>
    struct RealSink {
        T *r;
        double s;
        double a;
        void one(int i, Word x) { r[i] = static_cast<T>(M::to_double(x) * s + a); }
        void block(int i, const Lanes &v) {
            if constexpr (std::is_same_v<T, double>) {
                for (int j = 0; j < kVectors; ++j) {
                    simd::store_lanes(r + i + j * kLanes, M::to_double(v[j]) * s + a);
                }
            } else {
                for (int j = 0; j < kVectors; j += 2) {
                    simd::store_lanes(
                        r + i + j * kLanes,
                        simd::narrow(M::to_double(v[j]) * s + a, M::to_double(v[j + 1]) * s + a));
                }
            }
        }
    };
};

}  // namespace korb::rng::congruential
