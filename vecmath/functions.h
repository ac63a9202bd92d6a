// The function list as data: every vector-math function and precision, built or not.
#pragma once

namespace korb::vecmath {

// The kernels' calling conventions (T the precision's element type, R its real type).
enum class KernelKind {
    one,            // (n, const T *a, T *r)
    two,            // (n, const T *a, const T *b, T *r)
    scalar,         // (n, const T *a, T b, T *r)
    pair,           // (n, const T *a, T *r1, T *r2)
    to_real,        // (n, const T *a, R *r)
    from_real,      // (n, const R *a, T *r)
    pack_stride,    // (n, const T *a, int64_t stride, T *r, int flag)
    pack_vector,    // (n, const T *a, const int64_t *selector, T *r, int flag)
    unpack_stride,  // (n, const T *a, T *r, int64_t stride, int flag)
    unpack_vector,  // (n, const T *a, T *r, const int64_t *selector, int flag)
    linear_frac,    // (n, const T *a, const T *b, T scale_a, T shift_a, T scale_b, T shift_b, T *r)
};

struct FunctionInfo {
    char precision;  // 's', 'd', 'c' or 'z'
    const char *name;
    KernelKind kind;
    const char *slots;  // "AAA", "AAB", "ABA" or "ABC"
    bool built;
    float cost[3];
};

#define KORB_ARQ_FUNCTION(p, F, kind, result, slots, built, c0, c1, c2) \
    {(#p)[0], #F, KernelKind::kind, #slots, built != 0, {c0, c1, c2}},
inline constexpr FunctionInfo kFunctions[] = {
#include "vecmath/functions.def"
};
#undef KORB_ARQ_FUNCTION

inline constexpr int kFunctionCount = sizeof kFunctions / sizeof kFunctions[0];

inline constexpr int built_function_count() {
    int n = 0;
    for (const FunctionInfo &f : kFunctions) n += f.built ? 1 : 0;
    return n;
}

}  // namespace korb::vecmath
