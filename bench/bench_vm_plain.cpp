// The plain loops beside the exact, rounding, packing and complex kernels in bench_vm.cpp: the
// same operation written as a C programmer would, compiled at -O3 for the class being built
// (bench/CMakeLists.txt), so that the compiler vectorises what it can. The complex loops use
// std::complex, whose products and quotients recover infinities as C99 Annex G says (through
// the compiler's run-time helpers when a result is NaN).
#include <cmath>
#include <complex>
#include <cstdint>

#include "bench/vm_plain.h"

// glibc's base-10 complex logarithms (GNU extensions, not in <complex>).
extern "C" __complex__ double clog10(__complex__ double);
extern "C" __complex__ float clog10f(__complex__ float);

namespace korb::bench {

const std::int64_t *g_vm_selector = nullptr;

namespace {

template <class T, class F>
void each(int n, const void *a, void *r, F f) {
    const T *x = static_cast<const T *>(a);
    T *y = static_cast<T *>(r);
    for (int i = 0; i < n; ++i) y[i] = f(x[i]);
}
template <class T, class F>
void each2(int n, const void *a, const void *b, void *r, F f) {
    const T *x = static_cast<const T *>(a), *z = static_cast<const T *>(b);
    T *y = static_cast<T *>(r);
    for (int i = 0; i < n; ++i) y[i] = f(x[i], z[i]);
}

#define KORB_PLAIN_ONE(name, T, expr)                                \
    void name(int n, const void *a, const void *, void *r, void *) { \
        each<T>(n, a, r, [](T x) { return expr; });                  \
    }
#define KORB_PLAIN_TWO(name, T, expr)                                 \
    void name(int n, const void *a, const void *b, void *r, void *) { \
        each2<T>(n, a, b, r, [](T x, T y) { return expr; });          \
    }

KORB_PLAIN_ONE(s_abs, float, std::fabs(x))
KORB_PLAIN_ONE(d_abs, double, std::fabs(x))
KORB_PLAIN_ONE(s_inv, float, 1.0f / x)
KORB_PLAIN_ONE(d_inv, double, 1.0 / x)
KORB_PLAIN_ONE(s_sqr, float, x *x)
KORB_PLAIN_ONE(d_sqr, double, x *x)
KORB_PLAIN_ONE(s_ceil, float, std::ceil(x))
KORB_PLAIN_ONE(d_ceil, double, std::ceil(x))
KORB_PLAIN_ONE(s_floor, float, std::floor(x))
KORB_PLAIN_ONE(d_floor, double, std::floor(x))
KORB_PLAIN_ONE(s_trunc, float, std::trunc(x))
KORB_PLAIN_ONE(d_trunc, double, std::trunc(x))
KORB_PLAIN_ONE(s_round, float, std::round(x))
KORB_PLAIN_ONE(d_round, double, std::round(x))
KORB_PLAIN_ONE(s_rint, float, std::rint(x))
KORB_PLAIN_ONE(d_rint, double, std::rint(x))
KORB_PLAIN_ONE(s_nearbyint, float, std::nearbyint(x))
KORB_PLAIN_ONE(d_nearbyint, double, std::nearbyint(x))
KORB_PLAIN_TWO(s_add, float, x + y)
KORB_PLAIN_TWO(d_add, double, x + y)
KORB_PLAIN_TWO(s_sub, float, x - y)
KORB_PLAIN_TWO(d_sub, double, x - y)
KORB_PLAIN_TWO(s_mul, float, x *y)
KORB_PLAIN_TWO(d_mul, double, x *y)
KORB_PLAIN_TWO(s_div, float, x / y)
KORB_PLAIN_TWO(d_div, double, x / y)
// The textbook hypot, without its scaling: the fastest loop a programmer would write.
KORB_PLAIN_TWO(s_hypot, float, std::sqrt(x *x + y * y))
KORB_PLAIN_TWO(d_hypot, double, std::sqrt(x *x + y * y))
// LinearFrac with the benchmark's scalars (tests/vecmath/call.h: 2.5, -1, 0.5, 3).
KORB_PLAIN_TWO(s_linear_frac, float, (2.5f * x + -1.0f) / (0.5f * y + 3.0f))
KORB_PLAIN_TWO(d_linear_frac, double, (2.5 * x + -1.0) / (0.5 * y + 3.0))

template <class T>
void modf_loop(int n, const void *a, const void *, void *r1, void *r2) {
    const T *x = static_cast<const T *>(a);
    T *i_part = static_cast<T *>(r1), *f_part = static_cast<T *>(r2);
    for (int i = 0; i < n; ++i) f_part[i] = std::modf(x[i], &i_part[i]);
}

// Complex elements as std::complex over the same bytes.
template <class T, class F>
void complex2(int n, const void *a, const void *b, void *r, F f) {
    using C = std::complex<T>;
    const C *x = static_cast<const C *>(a), *z = static_cast<const C *>(b);
    C *y = static_cast<C *>(r);
    for (int i = 0; i < n; ++i) y[i] = f(x[i], z[i]);
}
#define KORB_PLAIN_COMPLEX(name, T, expr)                                                        \
    void name(int n, const void *a, const void *b, void *r, void *) {                            \
        complex2<T>(n, a, b, r,                                                                  \
                    [](std::complex<T> x, [[maybe_unused]] std::complex<T> y) { return expr; }); \
    }
KORB_PLAIN_COMPLEX(c_add, float, x + y)
KORB_PLAIN_COMPLEX(z_add, double, x + y)
KORB_PLAIN_COMPLEX(c_sub, float, x - y)
KORB_PLAIN_COMPLEX(z_sub, double, x - y)
KORB_PLAIN_COMPLEX(c_mul, float, x *y)
KORB_PLAIN_COMPLEX(z_mul, double, x *y)
KORB_PLAIN_COMPLEX(c_mul_by_conj, float, x *std::conj(y))
KORB_PLAIN_COMPLEX(z_mul_by_conj, double, x *std::conj(y))
KORB_PLAIN_COMPLEX(c_div, float, x / y)
KORB_PLAIN_COMPLEX(z_div, double, x / y)
KORB_PLAIN_COMPLEX(c_conj, float, std::conj(x))
KORB_PLAIN_COMPLEX(z_conj, double, std::conj(x))

// The C library's cabs and carg through std::abs and std::arg, and cos + i sin by sincos.
template <class T>
void abs_loop(int n, const void *a, const void *, void *r, void *) {
    const std::complex<T> *x = static_cast<const std::complex<T> *>(a);
    T *y = static_cast<T *>(r);
    for (int i = 0; i < n; ++i) y[i] = std::abs(x[i]);
}
template <class T>
void arg_loop(int n, const void *a, const void *, void *r, void *) {
    const std::complex<T> *x = static_cast<const std::complex<T> *>(a);
    T *y = static_cast<T *>(r);
    for (int i = 0; i < n; ++i) y[i] = std::arg(x[i]);
}
template <class T>
void cis_loop(int n, const void *a, const void *, void *r, void *) {
    const T *x = static_cast<const T *>(a);
    std::complex<T> *y = static_cast<std::complex<T> *>(r);
    for (int i = 0; i < n; ++i) y[i] = {std::cos(x[i]), std::sin(x[i])};
}

// The C library's complex elementary functions (cexp, clog, ..., and their f forms) one element
// at a time, on the same bytes as GCC's complex types; Powx is cpow with the first exponent.
#define KORB_GLIBC_COMPLEX(name, T, call)                                                \
    void name(int n, const void *a, const void *b, void *r, void *) {                    \
        const __complex__ T *x = static_cast<const __complex__ T *>(a);                  \
        [[maybe_unused]] const __complex__ T *w = static_cast<const __complex__ T *>(b); \
        __complex__ T *y = static_cast<__complex__ T *>(r);                              \
        for (int i = 0; i < n; ++i) y[i] = call;                                         \
    }
KORB_GLIBC_COMPLEX(z_exp, double, __builtin_cexp(x[i]))
KORB_GLIBC_COMPLEX(c_exp, float, __builtin_cexpf(x[i]))
KORB_GLIBC_COMPLEX(z_ln, double, __builtin_clog(x[i]))
KORB_GLIBC_COMPLEX(c_ln, float, __builtin_clogf(x[i]))
KORB_GLIBC_COMPLEX(z_log10, double, clog10(x[i]))
KORB_GLIBC_COMPLEX(c_log10, float, clog10f(x[i]))
KORB_GLIBC_COMPLEX(z_sqrt, double, __builtin_csqrt(x[i]))
KORB_GLIBC_COMPLEX(c_sqrt, float, __builtin_csqrtf(x[i]))
KORB_GLIBC_COMPLEX(z_sin, double, __builtin_csin(x[i]))
KORB_GLIBC_COMPLEX(c_sin, float, __builtin_csinf(x[i]))
KORB_GLIBC_COMPLEX(z_cos, double, __builtin_ccos(x[i]))
KORB_GLIBC_COMPLEX(c_cos, float, __builtin_ccosf(x[i]))
KORB_GLIBC_COMPLEX(z_tan, double, __builtin_ctan(x[i]))
KORB_GLIBC_COMPLEX(c_tan, float, __builtin_ctanf(x[i]))
KORB_GLIBC_COMPLEX(z_sinh, double, __builtin_csinh(x[i]))
KORB_GLIBC_COMPLEX(c_sinh, float, __builtin_csinhf(x[i]))
KORB_GLIBC_COMPLEX(z_cosh, double, __builtin_ccosh(x[i]))
KORB_GLIBC_COMPLEX(c_cosh, float, __builtin_ccoshf(x[i]))
KORB_GLIBC_COMPLEX(z_tanh, double, __builtin_ctanh(x[i]))
KORB_GLIBC_COMPLEX(c_tanh, float, __builtin_ctanhf(x[i]))
KORB_GLIBC_COMPLEX(z_pow, double, __builtin_cpow(x[i], w[i]))
KORB_GLIBC_COMPLEX(c_pow, float, __builtin_cpowf(x[i], w[i]))
KORB_GLIBC_COMPLEX(z_powx, double, __builtin_cpow(x[i], w[0]))
KORB_GLIBC_COMPLEX(c_powx, float, __builtin_cpowf(x[i], w[0]))
#undef KORB_GLIBC_COMPLEX

// Pack and Unpack over elements of kBytes bytes; the stride is 1, the mask and the indices
// come from g_vm_selector.
template <int kBytes>
struct Element {
    unsigned char b[kBytes];
};
template <int kBytes>
void pack_i(int n, const void *a, const void *, void *r, void *) {
    using E = Element<kBytes>;
    const E *x = static_cast<const E *>(a);
    E *y = static_cast<E *>(r);
    for (int i = 0; i < n; ++i) y[i] = x[i];
}
template <int kBytes>
void pack_m(int n, const void *a, const void *, void *r, void *) {
    using E = Element<kBytes>;
    const E *x = static_cast<const E *>(a);
    E *y = static_cast<E *>(r);
    const std::int64_t *mask = g_vm_selector;
    int k = 0;
    for (int i = 0; i < n; ++i) {
        if (mask[i] != 0) y[k++] = x[i];
    }
}
template <int kBytes>
void pack_v(int n, const void *a, const void *, void *r, void *) {
    using E = Element<kBytes>;
    const E *x = static_cast<const E *>(a);
    E *y = static_cast<E *>(r);
    const std::int64_t *index = g_vm_selector;
    for (int i = 0; i < n; ++i) y[i] = x[index[i]];
}
template <int kBytes>
void unpack_m(int n, const void *a, const void *, void *r, void *) {
    using E = Element<kBytes>;
    const E *x = static_cast<const E *>(a);
    E *y = static_cast<E *>(r);
    const std::int64_t *mask = g_vm_selector;
    int k = 0;
    for (int i = 0; i < n; ++i) {
        if (mask[i] != 0) y[i] = x[k++];
    }
}
template <int kBytes>
void unpack_v(int n, const void *a, const void *, void *r, void *) {
    using E = Element<kBytes>;
    const E *x = static_cast<const E *>(a);
    E *y = static_cast<E *>(r);
    const std::int64_t *index = g_vm_selector;
    for (int i = 0; i < n; ++i) y[index[i]] = x[i];
}

}  // namespace

const PlainEntry kPlainLoops[] = {
    {"sAbs", "loop", s_abs},
    {"dAbs", "loop", d_abs},
    {"sAdd", "loop", s_add},
    {"dAdd", "loop", d_add},
    {"sSub", "loop", s_sub},
    {"dSub", "loop", d_sub},
    {"sMul", "loop", s_mul},
    {"dMul", "loop", d_mul},
    {"sDiv", "loop", s_div},
    {"dDiv", "loop", d_div},
    {"sInv", "loop", s_inv},
    {"dInv", "loop", d_inv},
    {"sSqr", "loop", s_sqr},
    {"dSqr", "loop", d_sqr},
    {"sHypot", "loop", s_hypot},
    {"dHypot", "loop", d_hypot},
    {"sLinearFrac", "loop", s_linear_frac},
    {"dLinearFrac", "loop", d_linear_frac},
    {"sCeil", "loop", s_ceil},
    {"dCeil", "loop", d_ceil},
    {"sFloor", "loop", s_floor},
    {"dFloor", "loop", d_floor},
    {"sTrunc", "loop", s_trunc},
    {"dTrunc", "loop", d_trunc},
    {"sRound", "loop", s_round},
    {"dRound", "loop", d_round},
    {"sRint", "loop", s_rint},
    {"dRint", "loop", d_rint},
    {"sNearbyInt", "loop", s_nearbyint},
    {"dNearbyInt", "loop", d_nearbyint},
    {"sModf", "loop", modf_loop<float>},
    {"dModf", "loop", modf_loop<double>},
    {"cAdd", "loop", c_add},
    {"zAdd", "loop", z_add},
    {"cSub", "loop", c_sub},
    {"zSub", "loop", z_sub},
    {"cMul", "loop", c_mul},
    {"zMul", "loop", z_mul},
    {"cMulByConj", "loop", c_mul_by_conj},
    {"zMulByConj", "loop", z_mul_by_conj},
    {"cDiv", "loop", c_div},
    {"zDiv", "loop", z_div},
    {"cConj", "loop", c_conj},
    {"zConj", "loop", z_conj},
    {"cAbs", "glibc", abs_loop<float>},
    {"zAbs", "glibc", abs_loop<double>},
    {"cArg", "glibc", arg_loop<float>},
    {"zArg", "glibc", arg_loop<double>},
    {"cCIS", "glibc", cis_loop<float>},
    {"zCIS", "glibc", cis_loop<double>},
    {"cExp", "glibc", c_exp},
    {"zExp", "glibc", z_exp},
    {"cLn", "glibc", c_ln},
    {"zLn", "glibc", z_ln},
    {"cLog10", "glibc", c_log10},
    {"zLog10", "glibc", z_log10},
    {"cSqrt", "glibc", c_sqrt},
    {"zSqrt", "glibc", z_sqrt},
    {"cSin", "glibc", c_sin},
    {"zSin", "glibc", z_sin},
    {"cCos", "glibc", c_cos},
    {"zCos", "glibc", z_cos},
    {"cTan", "glibc", c_tan},
    {"zTan", "glibc", z_tan},
    {"cSinh", "glibc", c_sinh},
    {"zSinh", "glibc", z_sinh},
    {"cCosh", "glibc", c_cosh},
    {"zCosh", "glibc", z_cosh},
    {"cTanh", "glibc", c_tanh},
    {"zTanh", "glibc", z_tanh},
    {"cPow", "glibc", c_pow},
    {"zPow", "glibc", z_pow},
    {"cPowx", "glibc", c_powx},
    {"zPowx", "glibc", z_powx},
#define KORB_PLAIN_PACK(p, bytes)                                                     \
    {#p "PackI", "loop", pack_i<bytes>}, {#p "UnpackI", "loop", pack_i<bytes>},       \
        {#p "PackM", "loop", pack_m<bytes>}, {#p "UnpackM", "loop", unpack_m<bytes>}, \
        {#p "PackV", "loop", pack_v<bytes>}, {#p "UnpackV", "loop", unpack_v<bytes>},
    KORB_PLAIN_PACK(s, 4) KORB_PLAIN_PACK(d, 8) KORB_PLAIN_PACK(c, 8) KORB_PLAIN_PACK(z, 16)
#undef KORB_PLAIN_PACK
};
const int kPlainLoopCount = sizeof kPlainLoops / sizeof kPlainLoops[0];

}  // namespace korb::bench
