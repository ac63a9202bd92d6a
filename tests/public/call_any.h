// Calls a public vector-math entry point of any kind and precision through its address, with the
// arguments a test chooses: n, the input vectors a and b, the results r1 and r2, a selector
// vector sel (indices or mask) and, for vm<p><Func>, the mode. Scalars are 1.5 (real part),
// strides 1, the flag 0.
#pragma once

#include <cstdint>
#include <type_traits>

#include "korb/korb.h"
#include "vecmath/functions.h"

namespace korb::test {

struct AnyArgs {
    int n = 0;
    const void *a = nullptr, *b = nullptr;
    void *r1 = nullptr, *r2 = nullptr;
    const std::int64_t *sel = nullptr;
};

template <class T>
T scalar_value() {
    if constexpr (std::is_floating_point_v<T>) {
        return T(1.5);
    } else {
        return T{1.5, 0.0};
    }
}

// One precision: T the element type, R its real type. Returns false for a kind it does not know.
template <class T, class R>
bool call_typed(vecmath::KernelKind kind, void *fn, const unsigned *mode, const AnyArgs &x) {
    using K = vecmath::KernelKind;
    const T *a = static_cast<const T *>(x.a);
    const T *b = static_cast<const T *>(x.b);
    T *r1 = static_cast<T *>(x.r1);
    T *r2 = static_cast<T *>(x.r2);
    const T s = scalar_value<T>();
    const int n = x.n;
#define KORB_CALL_ANY(sig, ...)                                                     \
    (mode != nullptr ? reinterpret_cast<void(*) sig##_MODE>(fn)(__VA_ARGS__, *mode) \
                     : reinterpret_cast<void(*) sig>(fn)(__VA_ARGS__))
#define ONE (int, const T *, T *)
#define ONE_MODE (int, const T *, T *, unsigned)
#define TWO (int, const T *, const T *, T *)
#define TWO_MODE (int, const T *, const T *, T *, unsigned)
#define SCALAR (int, const T *, T, T *)
#define SCALAR_MODE (int, const T *, T, T *, unsigned)
#define PAIR (int, const T *, T *, T *)
#define PAIR_MODE (int, const T *, T *, T *, unsigned)
#define TO_REAL (int, const T *, R *)
#define TO_REAL_MODE (int, const T *, R *, unsigned)
#define FROM_REAL (int, const R *, T *)
#define FROM_REAL_MODE (int, const R *, T *, unsigned)
#define PACK_I (int, const T *, std::int64_t, T *, int)
#define PACK_I_MODE (int, const T *, std::int64_t, T *, int, unsigned)
#define PACK_V (int, const T *, const std::int64_t *, T *, int)
#define PACK_V_MODE (int, const T *, const std::int64_t *, T *, int, unsigned)
#define UNPACK_I (int, const T *, T *, std::int64_t, int)
#define UNPACK_I_MODE (int, const T *, T *, std::int64_t, int, unsigned)
#define UNPACK_V (int, const T *, T *, const std::int64_t *, int)
#define UNPACK_V_MODE (int, const T *, T *, const std::int64_t *, int, unsigned)
#define LFRAC (int, const T *, const T *, T, T, T, T, T *)
#define LFRAC_MODE (int, const T *, const T *, T, T, T, T, T *, unsigned)
    switch (kind) {
        case K::one:
            KORB_CALL_ANY(ONE, n, a, r1);
            return true;
        case K::two:
            KORB_CALL_ANY(TWO, n, a, b, r1);
            return true;
        case K::scalar:
            KORB_CALL_ANY(SCALAR, n, a, s, r1);
            return true;
        case K::pair:
            KORB_CALL_ANY(PAIR, n, a, r1, r2);
            return true;
        case K::to_real:
            KORB_CALL_ANY(TO_REAL, n, a, static_cast<R *>(x.r1));
            return true;
        case K::from_real:
            KORB_CALL_ANY(FROM_REAL, n, static_cast<const R *>(x.a), r1);
            return true;
        case K::pack_stride:
            KORB_CALL_ANY(PACK_I, n, a, std::int64_t{1}, r1, 0);
            return true;
        case K::pack_vector:
            KORB_CALL_ANY(PACK_V, n, a, x.sel, r1, 0);
            return true;
        case K::unpack_stride:
            KORB_CALL_ANY(UNPACK_I, n, a, r1, std::int64_t{1}, 0);
            return true;
        case K::unpack_vector:
            KORB_CALL_ANY(UNPACK_V, n, a, r1, x.sel, 0);
            return true;
        case K::linear_frac:
            KORB_CALL_ANY(LFRAC, n, a, b, s, s, s, s, r1);
            return true;
    }
#undef ONE
#undef ONE_MODE
#undef TWO
#undef TWO_MODE
#undef SCALAR
#undef SCALAR_MODE
#undef PAIR
#undef PAIR_MODE
#undef TO_REAL
#undef TO_REAL_MODE
#undef FROM_REAL
#undef FROM_REAL_MODE
#undef PACK_I
#undef PACK_I_MODE
#undef PACK_V
#undef PACK_V_MODE
#undef UNPACK_I
#undef UNPACK_I_MODE
#undef UNPACK_V
#undef UNPACK_V_MODE
#undef LFRAC
#undef LFRAC_MODE
#undef KORB_CALL_ANY
    return false;
}

// Calls fn, the v<p><Func> (mode null) or vm<p><Func> entry point of f. The int that the
// bit-level kernels return is not read.
inline bool call_any(const vecmath::FunctionInfo &f, void *fn, const unsigned *mode,
                     const AnyArgs &x) {
    switch (f.precision) {
        case 's':
            return call_typed<float, float>(f.kind, fn, mode, x);
        case 'd':
            return call_typed<double, double>(f.kind, fn, mode, x);
        case 'c':
            return call_typed<ArqComplex8, float>(f.kind, fn, mode, x);
        default:
            return call_typed<ArqComplex16, double>(f.kind, fn, mode, x);
    }
}

// Bytes per element of a precision, and per element of its real type.
inline int element_size(char precision) {
    return precision == 's' ? 4 : precision == 'd' || precision == 'c' ? 8 : 16;
}
inline int real_size(char precision) {
    return precision == 's' || precision == 'c' ? 4 : 8;
}

}  // namespace korb::test
