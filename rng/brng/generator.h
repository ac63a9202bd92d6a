// The frame a generator's source is written in.
//
// A generator is a struct G with
//   kId                          its BIX_BRNG_* id (member 0), which names its line of the list
//   seed(stream, seeds)          method 0
//   leapfrog(stream, k, n)       method 1, when its list line says leapfrog: nstreams n, taking
//                                outputs k, k + n, k + 2n, ... of the stream as it stands
//   skip_ahead(stream, nskip)    method 2, when its list line says skip-ahead
//   admit(stream)                optional: a status checked before any method (a family whose
//                                state depends on the member refuses a member it does not have)
//   ints, doubles, floats        the iGen, dGen and sGen functions of its row
// each returning a status. Its source defines its row layout (layout_<ID>, designated
// initialisers) and its entry points with KORB_BRNG_ENTRY_POINTS; the registry makes the row
// from the layout, the list's word size and those entry points.
//
// init_stream is the one initialiser: it decodes the methods and their arguments and refuses,
// for every generator alike, what the list says it does not offer. A refused or unknown method
// changes nothing.
#pragma once

#include <cstdint>

#include "rng/generators.h"
#include "rng/stream.h"

namespace korb::rng {

// The part of a registry row that the generator's own source knows; the rest (word size and
// the four functions) comes from the list.
struct RowLayout {
    int32_t stateSize;  // bytes of a stream record, its 16-byte header included
    int32_t stateWords;
    int32_t includesZero;
    int32_t nBits;
};

#define KORB_BRNG(ID, ...) extern const RowLayout layout_##ID;
#include "rng/generators.def"
#undef KORB_BRNG

// The seed words of method 0: none when the caller passes no array or a count below 1.
class Seeds {
  public:
    Seeds(const uint32_t *words, int n)
        : words_(words), count_(words != nullptr && n > 0 ? n : 0) {}
    int count() const { return count_; }
    const uint32_t *words() const { return words_; }
    uint32_t operator[](int i) const { return words_[i]; }

  private:
    const uint32_t *words_;
    int count_;
};

template <class G>
int init_stream(int method, BixStream *stream, int n, const uint32_t params[]) {
    constexpr GeneratorInfo info = generator(G::kId);
    if constexpr (requires { G::admit(stream); }) {
        if (const int status = G::admit(stream); status != BIX_ERROR_OK) return status;
    }
    switch (method) {
        case BIX_INIT_METHOD_STANDARD:
            return G::seed(stream, Seeds(params, n));
        case BIX_INIT_METHOD_LEAPFROG:
            if constexpr (info.leapfrog) {
                if (params == nullptr) return BIX_ERROR_BADARGS;
                return G::leapfrog(stream, params[0], n);
            } else {
                return BIX_ERROR_LEAPFROG_UNSUPPORTED;
            }
        case BIX_INIT_METHOD_SKIPAHEAD:
            if constexpr (info.skip_ahead) {
                // The 64-bit count in two argument words, low first.
                if (params == nullptr) return BIX_ERROR_BADARGS;
                return G::skip_ahead(stream, params[0] | static_cast<uint64_t>(params[1]) << 32);
            } else {
                return BIX_ERROR_SKIPAHEAD_UNSUPPORTED;
            }
        default:
            return BIX_ERROR_BADMETHOD;
    }
}

}  // namespace korb::rng

// Defines generator G's initialiser __bixBRng<Name>InitStream (declared in include/korb/kernel/rng.h).
// At global scope.
#define KORB_BRNG_INIT_STREAM(Name, G)                                               \
    extern "C" int __bixBRng##Name##InitStream(int method, BixStream *stream, int n, \
                                               const uint32_t params[]) {            \
        return ::korb::rng::init_stream<G>(method, stream, n, params);               \
    }

// Defines all four entry points of generator G: the initialiser and __bix[s|d|i]BRng<Name> over
// G::floats, G::doubles and G::ints. At global scope.
#define KORB_BRNG_ENTRY_POINTS(Name, G)                                                         \
    KORB_BRNG_INIT_STREAM(Name, G)                                                              \
    extern "C" int __bixsBRng##Name(BixStream *stream, int n, float r[], float a, float b) {    \
        return G::floats(stream, n, r, a, b);                                                   \
    }                                                                                           \
    extern "C" int __bixdBRng##Name(BixStream *stream, int n, double r[], double a, double b) { \
        return G::doubles(stream, n, r, a, b);                                                  \
    }                                                                                           \
    extern "C" int __bixiBRng##Name(BixStream *stream, int n, uint32_t r[]) {                   \
        return G::ints(stream, n, r);                                                           \
    }
