// The function list as data: every vector-math function and precision, built or not, and the
// input domains its tests and benchmarks draw from.
#pragma once

#include <limits>

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

// How a domain draws an argument (see vecmath/domains.def).
enum class Shape { uniform, binades, signed_binades, one_minus, near_half_pi, points };

// The domains by name: the words of vecmath/domains.def, as the function list uses them.
namespace list {
#define KORB_ARQ_DOMAIN(name, label, shape, lo, hi, second) name,
#define KORB_ARQ_POINTS(name, label, ...) name,
enum DomainId : unsigned char {
    none,
#include "vecmath/domains.def"
};
#undef KORB_ARQ_DOMAIN
#undef KORB_ARQ_POINTS
}  // namespace list
using list::DomainId;

struct Domain {
    const char *label;
    Shape shape;
    double lo, hi;
    DomainId second;       // the second argument's domain, none for one argument
    const double *points;  // the values of a points domain
    int point_count;
};

inline constexpr int kMaxDomains = 8;

struct FunctionInfo {
    char precision;  // 's', 'd', 'c' or 'z'
    const char *name;
    KernelKind kind;
    const char *slots;  // "AAA", "AAB", "ABA" or "ABC"
    bool built;
    float cost[3];
    double bound[3];        // largest error per slot in ulps, 0 for correctly rounded
    const char *reference;  // what the accuracy run compares with, "none" for no accuracy run
    const char *libm;       // the C library's function of the same value, or "none"
    DomainId domains[kMaxDomains];  // ended by none; the first is the ordinary range
};

namespace list {
inline constexpr double inf = std::numeric_limits<double>::infinity();

#define KORB_ARQ_DOMAIN(name, label, shape, lo, hi, second)
#define KORB_ARQ_POINTS(name, label, ...) inline constexpr double kPoints_##name[] = {__VA_ARGS__};
#include "vecmath/domains.def"
#undef KORB_ARQ_DOMAIN
#undef KORB_ARQ_POINTS

#define KORB_ARQ_DOMAIN(name, label, shape, lo, hi, second) \
    {label, Shape::shape, lo, hi, second, nullptr, 0},
#define KORB_ARQ_POINTS(name, label, ...) \
    {label,                               \
     Shape::points,                       \
     0.0,                                 \
     0.0,                                 \
     none,                                \
     kPoints_##name,                      \
     static_cast<int>(sizeof kPoints_##name / sizeof(double))},
inline constexpr Domain kDomains[] = {
    {"none", Shape::uniform, 0.0, 0.0, none, nullptr, 0},
#include "vecmath/domains.def"
};
#undef KORB_ARQ_DOMAIN
#undef KORB_ARQ_POINTS

#define KORB_ARQ_UNPACK(...) __VA_ARGS__
#define KORB_ARQ_FUNCTION(p, F, kind, result, slots, built, costs, bounds, reference, libm, \
                          domains)                                                          \
    {(#p)[0],                                                                               \
     #F,                                                                                    \
     KernelKind::kind,                                                                      \
     #slots,                                                                                \
     built != 0,                                                                            \
     {KORB_ARQ_UNPACK costs},                                                               \
     {KORB_ARQ_UNPACK bounds},                                                              \
     #reference,                                                                            \
     #libm,                                                                                 \
     {KORB_ARQ_UNPACK domains}},
inline constexpr FunctionInfo kFunctions[] = {
#include "vecmath/functions.def"
};
#undef KORB_ARQ_FUNCTION
#undef KORB_ARQ_UNPACK
}  // namespace list
using list::kDomains;
using list::kFunctions;

inline constexpr int kFunctionCount = sizeof kFunctions / sizeof kFunctions[0];

inline constexpr int built_function_count() {
    int n = 0;
    for (const FunctionInfo &f : kFunctions) n += f.built ? 1 : 0;
    return n;
}

inline constexpr const Domain &domain(DomainId id) {
    return kDomains[id];
}

// The list's own checks: every built function names a domain, and a two-argument function's
// domains give the second argument a domain. A one-argument complex function's domain may name
// a second one: the imaginary parts' (the real parts come from the domain itself).
consteval bool domains_fit_their_functions() {
    for (const FunctionInfo &f : kFunctions) {
        if (f.built && f.domains[0] == list::none) return false;
        const bool two = f.kind == KernelKind::two || f.kind == KernelKind::scalar;
        for (DomainId d : f.domains) {
            if (d == list::none) continue;
            const bool has_second = kDomains[d].second != list::none;
            const bool complex = f.precision == 'c' || f.precision == 'z';
            if (two ? !has_second : (has_second && !complex)) return false;
        }
    }
    return true;
}
static_assert(domains_fit_their_functions());

}  // namespace korb::vecmath
