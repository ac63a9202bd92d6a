// Calling a kernel of the function list by its calling convention, for the accuracy run, the
// vector-against-element test and the benchmarks.
#pragma once

#include <cstdint>

#include "vecmath/functions.h"

namespace korb::test {

// What the kernels of the other kinds take besides their vectors: LinearFrac's four scalars, the
// stride or the selector vector (mask or indices) and the flag of Pack and Unpack.
struct Extra {
    double scale_a = 2.5, shift_a = -1.0, scale_b = 0.5, shift_b = 3.0;
    std::int64_t stride = 1;
    const std::int64_t *selector = nullptr;
    int flag = 0;
};

// Calls kernel k of the given kind on n elements of a, and b (n elements for the two-argument
// and LinearFrac kinds, the one scalar b[0] for the Powx kind), into r1 (and r2 for two
// results). False for a kind it cannot call, and for the selector kinds without a selector.
// The pack kinds take T as the element's word (for complex elements, T of twice the size).
template <class T>
bool call_kernel(vecmath::KernelKind kind, const void *k, int n, const T *a, const T *b, T *r1,
                 T *r2, const Extra &extra = {}) {
    using vecmath::KernelKind;
    switch (kind) {
        case KernelKind::linear_frac:
            reinterpret_cast<void (*)(int, const T *, const T *, T, T, T, T, T *)>(k)(
                n, a, b, static_cast<T>(extra.scale_a), static_cast<T>(extra.shift_a),
                static_cast<T>(extra.scale_b), static_cast<T>(extra.shift_b), r1);
            return true;
        case KernelKind::pack_stride:
            reinterpret_cast<int (*)(int, const T *, std::int64_t, T *, int)>(k)(n, a, extra.stride,
                                                                                 r1, extra.flag);
            return true;
        case KernelKind::unpack_stride:
            reinterpret_cast<int (*)(int, const T *, T *, std::int64_t, int)>(k)(
                n, a, r1, extra.stride, extra.flag);
            return true;
        case KernelKind::pack_vector:
            if (extra.selector == nullptr) return false;
            reinterpret_cast<int (*)(int, const T *, const std::int64_t *, T *, int)>(k)(
                n, a, extra.selector, r1, extra.flag);
            return true;
        case KernelKind::unpack_vector:
            if (extra.selector == nullptr) return false;
            reinterpret_cast<int (*)(int, const T *, T *, const std::int64_t *, int)>(k)(
                n, a, r1, extra.selector, extra.flag);
            return true;
        case KernelKind::one:
            reinterpret_cast<void (*)(int, const T *, T *)>(k)(n, a, r1);
            return true;
        case KernelKind::scalar:
            reinterpret_cast<void (*)(int, const T *, T, T *)>(k)(n, a, b[0], r1);
            return true;
        case KernelKind::two:
            reinterpret_cast<void (*)(int, const T *, const T *, T *)>(k)(n, a, b, r1);
            return true;
        case KernelKind::pair:
            reinterpret_cast<void (*)(int, const T *, T *, T *)>(k)(n, a, r1, r2);
            return true;
        default:
            return false;
    }
}

}  // namespace korb::test
