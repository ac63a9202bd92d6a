// The block driver of the table-driven vector-math kernels: the one loop that runs them all.
//
// A kernel is four things:
//
//  1. an element function: one element, every input, with the special cases and the status;
//  2. a lanes function: the common path on a native vector (simd::Vec), doing the operations the
//     element function does for ordinary inputs in the same order, so that both give the same
//     bits. Write that arithmetic once, as a template over the lane type (V = double for the
//     element path, simd::Vec<double> for the lanes; simd.h's lane helpers take either), and call
//     it from both;
//  3. an "unusual" predicate: the inputs the lanes function must not take;
//  4. one line per entry point, calling the driver of the kernel's kind:
//
//       run_one<K>(n, a, r)          r[i] = f(a[i])
//       run_two<K>(n, a, b, r)       r[i] = f(a[i], b[i])
//       run_scalar<K>(n, a, b, r)    r[i] = f(a[i], b), b one scalar for the call
//       run_pair<K>(n, a, r1, r2)    (r1[i], r2[i]) = f(a[i])
//       run_sorted<K>(n, a, r)       r[i] = f(a[i]) for a function of several pieces, each
//                                    element computed by its own piece only (see below)
//
//     Each kind also runs a single-precision function computed in double: K::Element is float
//     and K::Compute double; the driver widens each vector of floats into two of doubles, and
//     narrows the results (one rounding, as the element path's conversion).
//
// The kernel is a struct of static members (deriving from Shape<Element, Compute, constants,
// kVectors>, below, gives all but kName when the context is a set of vector constants):
//
//   using Element = double;                 // the arrays' type, double or float
//   using Compute = double;                 // the lanes' type: Element, or double
//   using Context = ...;                    // what both paths read: vector constants (returned
//                                           // through simd::opaque so that they stay memory
//                                           // operands), or what a scalar argument decides
//   static constexpr const char *kName = "vdExp";  // the function's name in error reports
//   static constexpr int kVectors = 4;      // vectors of Element per block
//   static const Context &context();        // once per call; run_scalar: context(Element b),
//                                           // which may return by value
//
//   static Element element(Element x, const Context &, int &status);          one, scalar
//   static Element element(Element x, Element y, const Context &, int &status);    two
//   static Element element(Element x, const Context &, Element &second, int &status);  pair
//
//   static bool unusual(Element x, const Context &);     // tested element by element, in
//                                                        // integer registers; two: (x, y, c)
//   or
//   static simd::Bits<simd::Vec<Element>> unusual(simd::Vec<Element> x, const Context &);
//                                                        // tested on the vector; two: (x, y, c)
//   or both (one argument), the same test: the driver takes the one simd::kScreenVectors
//   prefers for the class's vector width
//
//   static V lanes(V x, const Element *src, const Context &);       one, scalar (V = Vec<Compute>)
//   static V lanes(V x, V y, const Context &);                      two
//   static Two<V> lanes(V x, const Element *src, const Context &);  pair
//     src points at the lanes' own elements of the argument array (a kernel may read its
//     table indices from there in integer registers); a lanes function may take a last
//     parameter bool &refused, and set it when a lane cannot be finished (a test on a value
//     computed on the way, such as a reduced argument too small to trust): the vector is then
//     done element by element. It is false on entry.
//
//   or, for a kind other than two and Compute the same as Element, the lanes function in two
//   stages, where the decision to refuse comes early (after an argument reduction, say):
//
//   static S stage(V x, const Element *src, const Context &, bool &refused);
//   static V finish(const S &, const Context &);          (pair: Two<V>)
//     The driver runs the first stage on all vectors of a block, and the second only when none
//     was refused. The compiler interleaves the vectors of a block only within one basic block,
//     and a branch in the lanes (a refusal test, a choice between two reductions) would cut the
//     block into one piece per vector; with the stages, the second, long one is branch-free
//     over the whole block.
//
// What the driver does: it sets the control register for the call (KernelFrame) and screens
// blocks of kVectors vectors with the unusual test. A block that passes goes through the lanes
// function vector by vector; in a block that does not, each vector is screened on its own. A
// vector with an unusual lane, or one its lanes function refused, is done element by element.
// Whole vectors after the last block are screened one by one, the last elements that fill no
// vector take the element path. A block's lanes are all computed before its results are stored
// (their dependency chains interleave), and a vector's lanes read only its own elements, so every
// kind may run in place. The element path reports each
// special element, after writing its result, through the error dispatcher with the arguments as
// read before; nothing else writes a status.
#pragma once

#include <concepts>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "frame/simd.h"
#include "korb/kernel/vm.h"
#include "vecmath/dispatch.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {

// The results of a kernel with two of them.
template <class V>
struct Two {
    V first, second;
};

// Reports element i of a kernel that may run in place, with its arguments as read before.
inline void report(int status, int i, const double *a, const double *b, double *r1, double *r2,
                   const char *name, double a1, double a2) {
    dispatch_error_d_in_place(status, i, a, b, r1, r2, name, a1, a2);
}
inline void report(int status, int i, const float *a, const float *b, float *r1, float *r2,
                   const char *name, float a1, float a2) {
    dispatch_error_s_in_place(status, i, a, b, r1, r2, name, a1, a2);
}

namespace driver {

enum class Kind { one, two, scalar, pair };

// Whether a kernel's unusual test takes a vector (else it takes one element).
template <class K, class V, class C>
concept ScreensVectors = requires(V v, const C &c) {
    K::unusual(v, c);
};
template <class K, class V, class C>
concept ScreensVectorPairs = requires(V v, const C &c) {
    K::unusual(v, v, c);
};
template <class K, class T, class C>
concept ScreensElements = requires(T x, const C &c) {
    { K::unusual(x, c) } -> std::same_as<bool>;
};

// One call of kernel K of kind kKind: its arrays, and the operations on a vector's worth of
// elements (a unit) the block loop is made of.
template <class K, Kind kKind>
struct Call {
    using T = typename K::Element;
    using In = simd::Vec<T>;                   // a unit of arguments
    using L = simd::Vec<typename K::Compute>;  // the lanes' vectors
    using Out = std::conditional_t<kKind == Kind::pair, Two<In>, In>;
    using Context = typename K::Context;
    static constexpr int kUnit = simd::kCount<In>;
    static constexpr bool kWidened = !std::is_same_v<T, typename K::Compute>;
    // A kernel with both tests gets the one that suits the vector width (simd::kScreenVectors).
    static constexpr bool kVectorScreen =
        kKind == Kind::two ? ScreensVectorPairs<K, In, Context>
                           : ScreensVectors<K, In, Context> &&
                                 (simd::kScreenVectors || !ScreensElements<K, T, Context>);
    static constexpr bool kStaged = requires(In x, const T *p, const Context &c, bool &r) {
        K::stage(x, p, c, r);
    };
    static_assert(!kStaged || (!kWidened && kKind != Kind::two),
                  "a staged kernel computes on its elements' own type, with one argument array");

    const T *a;
    const T *b;  // two: the second arguments
    T b_scalar;  // scalar: the second argument
    T *r1, *r2;  // r2: pair only
    const Context &c;

    // The element path over [begin, end).
    void elements(int begin, int end) const {
        for (int i = begin; i < end; ++i) {
            const T x = a[i];
            int status;
            if constexpr (kKind == Kind::pair) {
                T second;
                const T first = K::element(x, c, second, status);
                r1[i] = first;
                r2[i] = second;
                if (status != ARQ_STATUS_OK) report(status, i, a, a, r1, r2, K::kName, x, x);
            } else if constexpr (kKind == Kind::two) {
                const T y = b[i];
                r1[i] = K::element(x, y, c, status);
                if (status != ARQ_STATUS_OK) report(status, i, a, b, r1, r1, K::kName, x, y);
            } else {
                r1[i] = K::element(x, c, status);
                if (status != ARQ_STATUS_OK) {
                    report(status, i, a, a, r1, r1, K::kName, x,
                           kKind == Kind::scalar ? b_scalar : x);
                }
            }
        }
    }

    // True when one of the kCount elements from i (a whole number of units) is unusual.
    template <int kCount>
    [[gnu::always_inline]] bool screen(int i) const {
        if constexpr (kVectorScreen) {
            simd::Bits<In> m{};
#pragma GCC unroll 16
            for (int u = 0; u < kCount; u += kUnit) {
                if constexpr (kKind == Kind::two) {
                    m |= K::unusual(simd::load_lanes(a + i + u), simd::load_lanes(b + i + u), c);
                } else {
                    m |= K::unusual(simd::load_lanes(a + i + u), c);
                }
            }
            return simd::any(m);
        } else {
            bool unusual = false;
#pragma GCC unroll 64
            for (int e = 0; e < kCount; ++e) {
                if constexpr (kKind == Kind::two) {
                    unusual |= K::unusual(a[i + e], b[i + e], c);
                } else {
                    unusual |= K::unusual(a[i + e], c);
                }
            }
            return unusual;
        }
    }

    // The lanes function on one vector of the lanes' type; refused is set when a lane was.
    template <class... Args>
    [[gnu::always_inline]] static auto lanes(bool &refused, const Args &...args) {
        if constexpr (requires(bool &r) { K::lanes(args..., r); }) {
            bool r = false;
            const auto y = K::lanes(args..., r);
            refused |= r;
            return y;
        } else {
            return K::lanes(args...);
        }
    }

    // The first stage of a staged kernel for the unit at i.
    [[gnu::always_inline]] auto stage(int i, bool &refused) const {
        bool r = false;
        const auto s = K::stage(simd::load_lanes(a + i), a + i, c, r);
        refused |= r;
        return s;
    }

    // The lanes' results for the unit at i.
    [[gnu::always_inline]] Out compute(int i, bool &refused) const {
        const In x = simd::load_lanes(a + i);
        if constexpr (kStaged) {
            return K::finish(stage(i, refused), c);
        } else if constexpr (!kWidened) {
            if constexpr (kKind == Kind::two) {
                return lanes(refused, x, simd::load_lanes(b + i), c);
            } else {
                return lanes(refused, x, a + i, c);
            }
        } else {
            constexpr int kHalf = kUnit / 2;
            L lo, hi;
            simd::widen(x, lo, hi);
            if constexpr (kKind == Kind::two) {
                L y_lo, y_hi;
                simd::widen(simd::load_lanes(b + i), y_lo, y_hi);
                return simd::narrow(lanes(refused, lo, y_lo, c), lanes(refused, hi, y_hi, c));
            } else if constexpr (kKind == Kind::pair) {
                const Two<L> p = lanes(refused, lo, a + i, c);
                const Two<L> q = lanes(refused, hi, a + i + kHalf, c);
                return {simd::narrow(p.first, q.first), simd::narrow(p.second, q.second)};
            } else {
                return simd::narrow(lanes(refused, lo, a + i, c),
                                    lanes(refused, hi, a + i + kHalf, c));
            }
        }
    }

    [[gnu::always_inline]] void store(int i, const Out &y) const {
        if constexpr (kKind == Kind::pair) {
            simd::store_lanes(r1 + i, y.first);
            simd::store_lanes(r2 + i, y.second);
        } else {
            simd::store_lanes(r1 + i, y);
        }
    }

    // The unit at i through the lanes, or element by element when a lane was refused. Each
    // unit's lanes read only its own elements, so its results may be stored at once, also in
    // place.
    [[gnu::always_inline]] void lanes_or_elements(int i) const {
        bool refused = false;
        const Out y = compute(i, refused);
        if (!refused) {
            store(i, y);
        } else {
            elements(i, i + kUnit);
        }
    }

    // kVectors units from i, each through the lanes or element by element: a block of which a
    // vector was refused. Out of line, so that the block loop keeps only its common path.
    template <int kVectors>
    [[gnu::noinline, gnu::cold]] void redo(int i) const {
        for (int v = 0; v < kVectors; ++v) lanes_or_elements(i + v * kUnit);
    }

    // One unit decided on its own: through the lanes, or element by element.
    void unit(int i) const {
        if (screen<kUnit>(i)) {
            elements(i, i + kUnit);
        } else {
            lanes_or_elements(i);
        }
    }
};

template <class K, class C>
[[gnu::always_inline]] inline void run_blocks(int n, const C &call) {
    constexpr int kUnit = C::kUnit;
    constexpr int kBlock = K::kVectors * kUnit;
    int i = 0;
    for (; i + kBlock <= n; i += kBlock) {
        if (call.template screen<kBlock>(i)) {
            for (int v = 0; v < K::kVectors; ++v) call.unit(i + v * kUnit);
        } else if constexpr (C::kStaged) {
            // Both stages run on the whole block, the second only when the first refused none.
            using S = decltype(call.stage(i, std::declval<bool &>()));
            S s[K::kVectors];
            bool refused = false;
#pragma GCC unroll 16
            for (int v = 0; v < K::kVectors; ++v) s[v] = call.stage(i + v * kUnit, refused);
            if (!refused) {
                typename C::Out y[K::kVectors];
#pragma GCC unroll 16
                for (int v = 0; v < K::kVectors; ++v) y[v] = K::finish(s[v], call.c);
#pragma GCC unroll 16
                for (int v = 0; v < K::kVectors; ++v) call.store(i + v * kUnit, y[v]);
            } else {
                call.template redo<K::kVectors>(i);
            }
        } else {  // the common case, straight through
            // The block's lanes are all computed before any result is stored: the vectors'
            // dependency chains interleave, and the block may run in place.
            typename C::Out y[K::kVectors];
            bool refused = false;
#pragma GCC unroll 16
            for (int v = 0; v < K::kVectors; ++v) y[v] = call.compute(i + v * kUnit, refused);
            if (!refused) {
#pragma GCC unroll 16
                for (int v = 0; v < K::kVectors; ++v) call.store(i + v * kUnit, y[v]);
            } else {
                call.template redo<K::kVectors>(i);
            }
        }
    }
    for (; i + kUnit <= n; i += kUnit) call.unit(i);
    call.elements(i, n);
}

// One call of kernel K of kind kKind: the frame, the context, the blocks.
template <class K, Kind kKind, class... ContextArgs>
void run(int n, const typename K::Element *a, const typename K::Element *b,
         typename K::Element b_scalar, typename K::Element *r1, typename K::Element *r2,
         ContextArgs... args) {
    if (n <= 0) return;
    KernelFrame frame;
    const auto &c = K::context(args...);
    run_blocks<K>(n, Call<K, kKind>{a, b, b_scalar, r1, r2, c});
}

}  // namespace driver

template <class K>
void run_one(int n, const typename K::Element *a, typename K::Element *r) {
    driver::run<K, driver::Kind::one>(n, a, nullptr, 0, r, r);
}

template <class K>
void run_two(int n, const typename K::Element *a, const typename K::Element *b,
             typename K::Element *r) {
    driver::run<K, driver::Kind::two>(n, a, b, 0, r, r);
}

template <class K>
void run_scalar(int n, const typename K::Element *a, typename K::Element b,
                typename K::Element *r) {
    driver::run<K, driver::Kind::scalar>(n, a, nullptr, b, r, r, b);
}

template <class K>
void run_pair(int n, const typename K::Element *a, typename K::Element *r1,
              typename K::Element *r2) {
    driver::run<K, driver::Kind::pair>(n, a, nullptr, 0, r1, r2);
}

// The members most kernels share: the types, the block size, and a context that is a set of
// vector constants read through simd::opaque (so that they stay memory operands). A kernel
// derives from it and adds kName, element, unusual and lanes:
//
//   struct Exp : Shape<double, double, kVector, 4> { ... };
template <class E, class C, const auto &kConstants, int kBlockVectors>
struct Shape {
    using Element = E;
    using Compute = C;
    using Context = std::remove_cvref_t<decltype(kConstants)>;
    static constexpr int kVectors = kBlockVectors;
    static const Context &context() { return *simd::opaque(&kConstants); }
};

// The context of a kernel that needs none.
struct NoContext {};
inline constexpr NoContext kNoContext{};

// run_sorted: for a function of several pieces whose lanes would cost too much computing every
// piece for every lane. Each block of elements is sorted by piece (without branches: with random
// arguments the next element's piece is unpredictable), and each piece's elements go through its
// lanes function a group at a time, the last group of a piece filled up with copies of its last
// element; unusual elements take the element path. The kernel adds to element(), kName,
// Context and context():
//
//   using Group = ...;                      // a vector of doubles, usually simd::Wide<double, 2>
//   static constexpr int kPieces = 2;
//   static int piece(double x);              // 0 .. kPieces - 1, or kPieces for the element path
//   template <int kPiece> static Group lanes(Group x, const Context &);
//
// Single-precision elements are widened to double one by one and the results rounded to float.
template <class K>
void run_sorted(int n, const typename K::Element *a, typename K::Element *r) {
    using T = typename K::Element;
    using G = typename K::Group;
    constexpr int kGroup = simd::kCount<G>;
    constexpr int kBlock = 8 * kGroup;
    constexpr int kPieces = K::kPieces;
    if (n <= 0) return;
    KernelFrame frame;
    const auto &c = K::context();
    const driver::Call<K, driver::Kind::one> call{a, nullptr, {}, r, r, c};
    for (int begin = 0; begin < n; begin += kBlock) {
        const int end = begin + kBlock < n ? begin + kBlock : n;
        int index[kPieces][kBlock + kGroup];
        int count[kPieces] = {};
        bool unusual = false;
        for (int i = begin; i < end; ++i) {
            const int p = K::piece(static_cast<double>(a[i]));
            for (int k = 0; k < kPieces; ++k) {
                index[k][count[k]] = i;
                count[k] += p == k;
            }
            unusual |= p == kPieces;
        }
        if (unusual) {
            for (int i = begin; i < end; ++i) {
                if (K::piece(static_cast<double>(a[i])) == kPieces) call.elements(i, i + 1);
            }
        }
        [&]<int... kPiece>(std::integer_sequence<int, kPiece...>) {
            (
                [&] {
                    int *idx = index[kPiece];
                    int m = count[kPiece];
                    for (; m % kGroup != 0; ++m) idx[m] = idx[m - 1];
                    for (int g = 0; g < m; g += kGroup) {
                        G x;
                        for (int l = 0; l < kGroup; ++l) x[l] = a[idx[g + l]];
                        const G y = K::template lanes<kPiece>(x, c);
                        for (int l = 0; l < kGroup; ++l) r[idx[g + l]] = static_cast<T>(y[l]);
                    }
                }(),
                ...);
        }
        (std::make_integer_sequence<int, kPieces>{});
    }
}

}  // namespace korb::vecmath
