// Calling a kernel of the function list by its calling convention, for the accuracy run, the
// vector-against-element test and the benchmarks.
#pragma once

#include "vecmath/functions.h"

namespace korb::test {

// Calls kernel k of the given kind on n elements of a, and b (n elements for the two-argument
// kind, the one scalar b[0] for the Powx kind), into r1 (and r2 for two results). False for a
// kind it cannot call.
template <class T>
bool call_kernel(vecmath::KernelKind kind, const void *k, int n, const T *a, const T *b, T *r1,
                 T *r2) {
    using vecmath::KernelKind;
    switch (kind) {
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
