// The kernels of the distribution list, each reachable through one signature per output type:
// kKernels[i] holds the kernels of kEntries[i], called as (method, stream, n, r, parameters),
// the parameters as doubles in argument order (converted to the kernel's own types on the way:
// float for the single-precision kernel, int for an Int) and the array parameters as pointers
// to arrays of the kernel's own real type. Also the prototype the list implies for each kernel,
// which a test holds the header's declarations to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "distributions/list.h"
#include "korb/kernel/rng.h"

namespace korb::dist::list {

// What a kernel of one precision writes, takes for a Real, and how many uint32_t elements one of
// its words fills (0: the generator's own word size).
template <class O, class R, int kWordElements = 0>
struct Output {
    using Out = O;
    using Real = R;
    static constexpr int kElements = kWordElements;
};
template <unsigned P>
struct Traits;
// clang-format off
template <> struct Traits<kDouble> : Output<double, double> {};
template <> struct Traits<kSingle> : Output<float, float> {};
template <> struct Traits<kInteger> : Output<int, double> {};
template <> struct Traits<kWords> : Output<uint32_t, double, 0> {};
template <> struct Traits<kWords32> : Output<uint32_t, double, 1> {};
template <> struct Traits<kWords64> : Output<uint64_t, double, 2> {};
// clang-format on

template <Type t, unsigned P>
struct ArgOf;
template <unsigned P>
struct ArgOf<Type::kReal, P> {
    using type = typename Traits<P>::Real;
};
template <unsigned P>
struct ArgOf<Type::kInt, P> {
    using type = int;
};
template <unsigned P>
struct ArgOf<Type::kRealArray, P> {
    using type = const typename Traits<P>::Real *;
};

// The type of the precision-P kernel of entry E that the list implies.
template <int E, unsigned P, class = std::make_index_sequence<kEntries[E].param_count>>
struct SignatureOf;
template <int E, unsigned P, size_t... k>
struct SignatureOf<E, P, std::index_sequence<k...>> {
    using type = int (*)(int, BixStream *, int, typename Traits<P>::Out *,
                         typename ArgOf<kEntries[E].params[k].type, P>::type...);
};
template <int E, unsigned P>
using Signature = typename SignatureOf<E, P>::type;

// The parameters of one call: values[k] for a scalar parameter k, arrays[k] for an array one (an
// array of doubles for the double kernel, of floats for the single one; values[k] is not read).
// A plain array of values converts to it, for the kernels that take no array.
struct Params {
    const double *values = nullptr;
    const void *const *arrays = nullptr;
    Params(const double *v, const void *const *a = nullptr) : values(v), arrays(a) {}  // NOLINT
};

using DoubleKernel = int (*)(int method, BixStream *stream, int n, double r[], Params p);
using SingleKernel = int (*)(int method, BixStream *stream, int n, float r[], Params p);
using IntegerKernel = int (*)(int method, BixStream *stream, int n, int r[], Params p);
using WordsKernel = int (*)(int method, BixStream *stream, int n, uint32_t r[]);

// A null d, s, i or w is a precision the entry does not list.
struct Kernels {
    DoubleKernel d = nullptr;
    SingleKernel s = nullptr;
    IntegerKernel i = nullptr;
    WordsKernel w = nullptr;  // any of the word precisions
    int word_elements = 0;    // uint32_t elements of one word of w (0: the generator's own)
};

// Parameter k of type A from p: a value converted, or an array pointer.
template <class A>
A argument(Params p, size_t k) {
    if constexpr (std::is_pointer_v<A>) {
        return static_cast<A>(p.arrays[k]);
    } else {
        return static_cast<A>(p.values[k]);
    }
}

// kernel(method, stream, n, r, p[0], p[1], ...), each p[k] converted to the kernel's type.
template <class Out, class... A>
int call_with(int (*kernel)(int, BixStream *, int, Out *, A...), int method, BixStream *stream,
              int n, Out *r, Params p) {
    return [&]<size_t... k>(std::index_sequence<k...>) {
        return kernel(method, stream, n, r, argument<A>(p, k)...);
    }
    (std::index_sequence_for<A...>{});
}

template <unsigned P, auto kKernel>
int call(int method, BixStream *stream, int n, typename Traits<P>::Out *r, Params p) {
    return call_with(kKernel, method, stream, n, r, p);
}

// The kernel behind the uniform signature.
template <unsigned P, auto kKernel>
constexpr auto uniform_caller() {
    using Uniform = int (*)(int, BixStream *, int, typename Traits<P>::Out *, Params);
    return Uniform{&call<P, kKernel>};
}

template <unsigned P, auto kKernel>
int call_words(int method, BixStream *stream, int n, uint32_t *r) {
    return kKernel(method, stream, n, reinterpret_cast<typename Traits<P>::Out *>(r));
}

template <unsigned P, auto kKernel>
constexpr WordsKernel words_caller() {
    return &call_words<P, kKernel>;
}

#define KORB_DIST_SLOT_kDouble(...) .d = __VA_ARGS__,
#define KORB_DIST_SLOT_kSingle(...) .s = __VA_ARGS__,
#define KORB_DIST_SLOT_kInteger(...) .i = __VA_ARGS__,
#define KORB_DIST_SLOT_WORDS(P, ...) .w = __VA_ARGS__, .word_elements = Traits<P>::kElements,
#define KORB_DIST_SLOT_kWords(...) KORB_DIST_SLOT_WORDS(kWords, __VA_ARGS__)
#define KORB_DIST_SLOT_kWords32(...) KORB_DIST_SLOT_WORDS(kWords32, __VA_ARGS__)
#define KORB_DIST_SLOT_kWords64(...) KORB_DIST_SLOT_WORDS(kWords64, __VA_ARGS__)
#define KORB_DIST_CALLER_kDouble uniform_caller
#define KORB_DIST_CALLER_kSingle uniform_caller
#define KORB_DIST_CALLER_kInteger uniform_caller
#define KORB_DIST_CALLER_kWords words_caller
#define KORB_DIST_CALLER_kWords32 words_caller
#define KORB_DIST_CALLER_kWords64 words_caller
#define KORB_DIST_KERNEL(letter, P, Kernel) \
    KORB_DIST_SLOT_##P(KORB_DIST_CALLER_##P<P, &_bix##letter##Rng##Kernel>())
#define KORB_DIST(Id, Kernel, name, precisions, ...) \
    Kernels{KORB_DIST_EACH_##precisions(KORB_DIST_KERNEL, Kernel)},
inline constexpr Kernels kKernels[] = {
#include "distributions/distributions.def"
};
#undef KORB_DIST
#undef KORB_DIST_KERNEL
static_assert(sizeof kKernels / sizeof kKernels[0] == kEntryCount);

}  // namespace korb::dist::list
