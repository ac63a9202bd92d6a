// Every built function of vecmath/functions.def beside its peers on the same inputs, n = 1000 (in
// cache) and 1,000,000. The arguments come from the function's first domain (its ordinary range),
// a Powx exponent from that domain's second. Subjects:
//   korb       the HA entry point _arq<p><Func>
//   slot0..2   the kernel of each slot of the kernel table at n = 1000 (tools/arq_costs.py divides
//              their times by copy's); a slot whose kernel is not the HA one also at 1,000,000
//   korb_avx2, korb_avx512
//              the same entry point of the class-3 and class-4 libraries (bench/class_libraries.h),
//              when this processor runs them
//   glibc      the C library's function of the list's libm column, one element at a time
//   libmvec    its SSE2-width vector variant, where the C library has one
//   libmvec_avx2, libmvec_avx512
//              its AVX2 and AVX-512 variants (_ZGVdN4v_, _ZGVeN8v_, ...; one-argument functions)
//   sleef_u10, sleef_u15, sleef_u35
//              SLEEF's SSE2 variants of 1, 1.5 and 3.5 ulp, when SLEEF is installed (1.5: erfc)
//   sleef_u10_avx2, sleef_u35_avx2, sleef_u10_avx512, sleef_u35_avx512 (and u15)
//              its AVX2 and AVX-512 variants (one-argument functions)
//   copy       a plain loop copying the same vector: the cost unit of the cost tables
// plus peers written here for functions the C library lacks or does differently: the bare
// square-root instructions beside Sqrt, a scalar rational approximation beside ErfInv,
// InvSqrt, InvCbrt, Pow2o3 and Pow3o2 composed of the C library's functions (and of libmvec's and
// SLEEF's cube roots, and of the square-root instructions), GSL's normal distribution function
// and its inverse beside CdfNorm and CdfNormInv and Boost's inverse complementary error function
// (where installed) beside ErfcInv, each in a loop.
// The C library's and SLEEF's functions are found by name, so a new function of the list is
// benchmarked against them without an edit here. Items are elements; each benchmark reports a
// checksum of its results.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <emmintrin.h>
#include <korb/kernel/vm.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#ifdef KORB_HAVE_SLEEF
#include <sleef.h>
#endif
#include <gsl/gsl_cdf.h>
#if __has_include(<boost/math/special_functions/erf.hpp>)
#include <boost/math/special_functions/erf.hpp>
#define KORB_HAVE_BOOST_ERF 1
#endif

#include "bench/class_libraries.h"
#include "bench/vm_plain.h"
#include "tests/vecmath/call.h"
#include "tests/vecmath/sample.h"
#include "vecmath/functions.h"

namespace {

using korb::test::is_single;
using korb::vecmath::domain;
using korb::vecmath::FunctionInfo;
using korb::vecmath::KernelKind;

// Every subject as one signature: n elements of a (double or float) and, for the two-argument
// kinds, of b (equal elements for the Powx kind, whose loops take b[0]) into r1 (and r2 for the
// functions with two results).
using Loop = std::function<void(int n, const void *a, const void *b, void *r1, void *r2)>;

// A kernel of the library in that signature (the mask or the indices of Pack and Unpack from
// g_vm_selector).
template <class T>
Loop kernel_loop(KernelKind kind, const void *k) {
    return [kind, k](int n, const void *a, const void *b, void *r1, void *r2) {
        korb::test::call_kernel<T>(kind, k, n, static_cast<const T *>(a), static_cast<const T *>(b),
                                   static_cast<T *>(r1), static_cast<T *>(r2),
                                   {.selector = korb::bench::g_vm_selector});
    };
}

// A kernel of a complex function: its vectors by address, whatever their element type.
template <class T>
struct ComplexScalar {
    T re, im;
};
Loop complex_kernel_loop(KernelKind kind, const void *k, bool single) {
    using V = const void *;
    using S = const std::int64_t *;
    return [kind, k, single](int n, const void *a, const void *b, void *r1, void *) {
        const S sel = korb::bench::g_vm_selector;
        switch (kind) {
            case KernelKind::two:
                reinterpret_cast<void (*)(int, V, V, void *)>(k)(n, a, b, r1);
                break;
            case KernelKind::scalar:  // Powx: the first exponent, by value
                if (single) {
                    using C = ComplexScalar<float>;
                    reinterpret_cast<void (*)(int, V, C, void *)>(k)(
                        n, a, *static_cast<const C *>(b), r1);
                } else {
                    using C = ComplexScalar<double>;
                    reinterpret_cast<void (*)(int, V, C, void *)>(k)(
                        n, a, *static_cast<const C *>(b), r1);
                }
                break;
            case KernelKind::pack_stride:
                reinterpret_cast<int (*)(int, V, std::int64_t, void *, int)>(k)(n, a, 1, r1, 0);
                break;
            case KernelKind::unpack_stride:
                reinterpret_cast<int (*)(int, V, void *, std::int64_t, int)>(k)(n, a, r1, 1, 0);
                break;
            case KernelKind::pack_vector:
                reinterpret_cast<int (*)(int, V, S, void *, int)>(k)(n, a, sel, r1, 0);
                break;
            case KernelKind::unpack_vector:
                reinterpret_cast<int (*)(int, V, void *, S, int)>(k)(n, a, r1, sel, 0);
                break;
            default:  // one, to_real, from_real: (n, a, r)
                reinterpret_cast<void (*)(int, V, void *)>(k)(n, a, r1);
        }
    };
}

bool is_complex(const FunctionInfo &f) {
    return f.precision == 'c' || f.precision == 'z';
}

// The C library's scalar function one element at a time.
template <class T>
Loop scalar_loop(KernelKind kind, void *p) {
    switch (kind) {
        case KernelKind::one:
            return [f = reinterpret_cast<T (*)(T)>(p)](int n, const void *a, const void *, void *r,
                                                       void *) {
                const T *x = static_cast<const T *>(a);
                T *y = static_cast<T *>(r);
                for (int i = 0; i < n; ++i) y[i] = f(x[i]);
            };
        case KernelKind::scalar:
            return [f = reinterpret_cast<T (*)(T, T)>(p)](int n, const void *a, const void *b,
                                                          void *r, void *) {
                const T *x = static_cast<const T *>(a);
                T *y = static_cast<T *>(r);
                const T e = *static_cast<const T *>(b);
                for (int i = 0; i < n; ++i) y[i] = f(x[i], e);
            };
        case KernelKind::two:
            return [f = reinterpret_cast<T (*)(T, T)>(p)](int n, const void *a, const void *b,
                                                          void *r, void *) {
                const T *x = static_cast<const T *>(a), *z = static_cast<const T *>(b);
                T *y = static_cast<T *>(r);
                for (int i = 0; i < n; ++i) y[i] = f(x[i], z[i]);
            };
        case KernelKind::pair:
            return [f = reinterpret_cast<void (*)(T, T *, T *)>(p)](
                       int n, const void *a, const void *, void *r1, void *r2) {
                const T *x = static_cast<const T *>(a);
                for (int i = 0; i < n; ++i) {
                    f(x[i], static_cast<T *>(r1) + i, static_cast<T *>(r2) + i);
                }
            };
        default:
            return nullptr;
    }
}

// The SSE2-width vector variants (two doubles or four floats a call); n is a multiple of 4 in
// every benchmark here. Vector functions of libmvec and SLEEF take and return their arguments
// in the same registers, so one set of loops serves both.
template <class T, class V>
V load(const T *p) {
    if constexpr (sizeof(T) == 8) {
        return _mm_loadu_pd(p);
    } else {
        return _mm_loadu_ps(p);
    }
}
template <class T, class V>
void store(T *p, V v) {
    if constexpr (sizeof(T) == 8) {
        _mm_storeu_pd(p, v);
    } else {
        _mm_storeu_ps(p, v);
    }
}
template <class T, class V>
V broadcast(T b) {
    if constexpr (sizeof(T) == 8) {
        return _mm_set1_pd(b);
    } else {
        return _mm_set1_ps(b);
    }
}

template <class T, class V>
Loop vector_loop(KernelKind kind, void *p) {
    constexpr int kLanes = 16 / sizeof(T);
    switch (kind) {
        case KernelKind::one:
            return [f = reinterpret_cast<V (*)(V)>(p)](int n, const void *a, const void *, void *r,
                                                       void *) {
                const T *x = static_cast<const T *>(a);
                T *y = static_cast<T *>(r);
                for (int i = 0; i < n; i += kLanes) store<T, V>(y + i, f(load<T, V>(x + i)));
            };
        case KernelKind::scalar:
            return [f = reinterpret_cast<V (*)(V, V)>(p)](int n, const void *a, const void *b,
                                                          void *r, void *) {
                const T *x = static_cast<const T *>(a);
                T *y = static_cast<T *>(r);
                const V e = broadcast<T, V>(*static_cast<const T *>(b));
                for (int i = 0; i < n; i += kLanes) store<T, V>(y + i, f(load<T, V>(x + i), e));
            };
        case KernelKind::two:
            return [f = reinterpret_cast<V (*)(V, V)>(p)](int n, const void *a, const void *b,
                                                          void *r, void *) {
                const T *x = static_cast<const T *>(a), *z = static_cast<const T *>(b);
                T *y = static_cast<T *>(r);
                for (int i = 0; i < n; i += kLanes) {
                    store<T, V>(y + i, f(load<T, V>(x + i), load<T, V>(z + i)));
                }
            };
        default:
            return nullptr;
    }
}

// The variants of wider vectors (kBytes 32: AVX2, 64: AVX-512) of the one-argument functions,
// compiled for their instruction set; a tail that fills no vector goes through a padded copy.
template <class T, int kBytes>
struct Wide {
    typedef T type __attribute__((vector_size(kBytes)));
};

template <class T, int kBytes>
[[gnu::always_inline]] inline void wide_apply(void *p, int n, const T *x, T *y) {
    using V = typename Wide<T, kBytes>::type;
    constexpr int kLanes = kBytes / static_cast<int>(sizeof(T));
    const auto f = reinterpret_cast<V (*)(V)>(p);
    int i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        V v;
        std::memcpy(&v, x + i, sizeof v);
        v = f(v);
        std::memcpy(y + i, &v, sizeof v);
    }
    if (i < n) {
        T pad[kLanes] = {};
        std::memcpy(pad, x + i, sizeof(T) * (n - i));
        V v;
        std::memcpy(&v, pad, sizeof v);
        v = f(v);
        std::memcpy(pad, &v, sizeof v);
        std::memcpy(y + i, pad, sizeof(T) * (n - i));
    }
}
template <class T>
[[gnu::target("avx2")]] void avx2_apply(void *p, int n, const T *x, T *y) {
    wide_apply<T, 32>(p, n, x, y);
}
template <class T>
[[gnu::target("avx512f,avx512dq,avx512bw,avx512vl")]] void avx512_apply(void *p, int n, const T *x,
                                                                        T *y) {
    wide_apply<T, 64>(p, n, x, y);
}

template <class T>
Loop wide_loop(int bytes, void *p) {
    return [bytes, p](int n, const void *a, const void *, void *r, void *) {
        if (bytes == 32) {
            avx2_apply<T>(p, n, static_cast<const T *>(a), static_cast<T *>(r));
        } else {
            avx512_apply<T>(p, n, static_cast<const T *>(a), static_cast<T *>(r));
        }
    };
}

// libmvec's sine-and-cosine of two doubles writes through two lanes of pointers.
Loop libmvec_pair_loop(void *p) {
    return [f = reinterpret_cast<void (*)(__m128d, __m128i, __m128i)>(p)](
               int n, const void *a, const void *, void *r1, void *r2) {
        const double *x = static_cast<const double *>(a);
        double *s = static_cast<double *>(r1), *c = static_cast<double *>(r2);
        for (int i = 0; i < n; i += 2) {
            f(_mm_loadu_pd(x + i),
              _mm_set_epi64x(reinterpret_cast<long long>(s + i + 1),
                             reinterpret_cast<long long>(s + i)),
              _mm_set_epi64x(reinterpret_cast<long long>(c + i + 1),
                             reinterpret_cast<long long>(c + i)));
        }
    };
}

#ifdef KORB_HAVE_SLEEF
// SLEEF's sine-and-cosine returns both vectors in one record.
template <class T, class V, class Pair>
Loop sleef_pair_loop(void *p) {
    constexpr int kLanes = 16 / sizeof(T);
    return [f = reinterpret_cast<Pair (*)(V)>(p)](int n, const void *a, const void *, void *r1,
                                                  void *r2) {
        const T *x = static_cast<const T *>(a);
        for (int i = 0; i < n; i += kLanes) {
            const Pair v = f(load<T, V>(x + i));
            store<T, V>(static_cast<T *>(r1) + i, v.x);
            store<T, V>(static_cast<T *>(r2) + i, v.y);
        }
    };
}
#endif

template <class T>
void copy_loop(int n, const void *a, const void *, void *r, void *) {
    const T *x = static_cast<const T *>(a);
    T *y = static_cast<T *>(r);
    for (int i = 0; i < n; ++i) y[i] = x[i];
}

void copy_complex_double(int n, const void *a, const void *b, void *r1, void *r2) {
    copy_loop<double>(2 * n, a, b, r1, r2);
}

// The square-root instructions alone, the peers of Sqrt.
void sqrtpd_loop(int n, const void *a, const void *, void *r, void *) {
    const double *x = static_cast<const double *>(a);
    double *y = static_cast<double *>(r);
    for (int i = 0; i < n; i += 2) _mm_storeu_pd(y + i, _mm_sqrt_pd(_mm_loadu_pd(x + i)));
}
void sqrtps_loop(int n, const void *a, const void *, void *r, void *) {
    const float *x = static_cast<const float *>(a);
    float *y = static_cast<float *>(r);
    for (int i = 0; i < n; i += 4) _mm_storeu_ps(y + i, _mm_sqrt_ps(_mm_loadu_ps(x + i)));
}

// A scalar inverse error function written here as the peer of ErfInv: a rational approximation
// in w = -ln(1 - x²) (degree 8 polynomials for w < 5 and in sqrt(w) beyond, single-precision
// accuracy), the usual textbook form, one element at a time, in the function's precision.
template <class T>
T rational_erfinv(T x) {
    T w = -std::log((T(1) - x) * (T(1) + x)), p;
    if (w < T(5)) {
        w = w - T(2.5);
        p = T(2.81022636e-08);
        p = T(3.43273939e-07) + p * w;
        p = T(-3.5233877e-06) + p * w;
        p = T(-4.39150654e-06) + p * w;
        p = T(0.00021858087) + p * w;
        p = T(-0.00125372503) + p * w;
        p = T(-0.00417768164) + p * w;
        p = T(0.246640727) + p * w;
        p = T(1.50140941) + p * w;
    } else {
        w = std::sqrt(w) - T(3);
        p = T(-0.000200214257);
        p = T(0.000100950558) + p * w;
        p = T(0.00134934322) + p * w;
        p = T(-0.00367342844) + p * w;
        p = T(0.00573950773) + p * w;
        p = T(-0.0076224613) + p * w;
        p = T(0.00943887047) + p * w;
        p = T(1.00167406) + p * w;
        p = T(2.83297682) + p * w;
    }
    return p * x;
}
template <class T>
void rational_erfinv_loop(int n, const void *a, const void *, void *r, void *) {
    const T *x = static_cast<const T *>(a);
    T *y = static_cast<T *>(r);
    for (int i = 0; i < n; ++i) y[i] = rational_erfinv(x[i]);
}

// The roots and powers the C library lacks, composed of its functions: glibc's scalar ones one
// element at a time, and the same compositions on libmvec's and SLEEF's cube roots of two doubles
// or four floats (with the division, square and product in SSE2), and on the square-root
// instructions.
enum class Composed { inv_sqrt, inv_cbrt, pow2o3, pow3o2 };

template <class T, Composed kC>
void composed_scalar_loop(int n, const void *a, const void *, void *r, void *) {
    const T *x = static_cast<const T *>(a);
    T *y = static_cast<T *>(r);
    for (int i = 0; i < n; ++i) {
        if constexpr (kC == Composed::inv_sqrt) {
            y[i] = T(1) / std::sqrt(x[i]);
        } else if constexpr (kC == Composed::inv_cbrt) {
            y[i] = T(1) / std::cbrt(x[i]);
        } else if constexpr (kC == Composed::pow2o3) {
            const T c = std::cbrt(x[i]);
            y[i] = c * c;
        } else {
            y[i] = x[i] * std::sqrt(x[i]);
        }
    }
}

// The vector compositions: cbrt is the peer's vector cube root (null for the square-root ones).
template <class T, class V, Composed kC>
Loop composed_vector_loop(void *cbrt) {
    constexpr int kLanes = 16 / sizeof(T);
    return [f = reinterpret_cast<V (*)(V)>(cbrt)](int n, const void *a, const void *, void *r,
                                                  void *) {
        const T *x = static_cast<const T *>(a);
        T *y = static_cast<T *>(r);
        const V one = broadcast<T, V>(T(1));
        for (int i = 0; i < n; i += kLanes) {
            const V v = load<T, V>(x + i);
            V out;
            if constexpr (kC == Composed::inv_cbrt) {
                out = one / f(v);
            } else if constexpr (kC == Composed::pow2o3) {
                const V c = f(v);
                out = c * c;
            } else if constexpr (sizeof(T) == 8) {
                out = kC == Composed::inv_sqrt ? one / _mm_sqrt_pd(v) : v * _mm_sqrt_pd(v);
            } else {
                out = kC == Composed::inv_sqrt ? one / _mm_sqrt_ps(v) : v * _mm_sqrt_ps(v);
            }
            store<T, V>(y + i, out);
        }
    };
}
// GSL's standard normal distribution function, in the function's precision.
template <class T>
void gsl_p_loop(int n, const void *a, const void *, void *r, void *) {
    const T *x = static_cast<const T *>(a);
    T *y = static_cast<T *>(r);
    for (int i = 0; i < n; ++i) y[i] = static_cast<T>(gsl_cdf_ugaussian_P(x[i]));
}

// GSL's inverse of the standard normal distribution function, in the function's precision.
template <class T>
void gsl_pinv_loop(int n, const void *a, const void *, void *r, void *) {
    const T *x = static_cast<const T *>(a);
    T *y = static_cast<T *>(r);
    for (int i = 0; i < n; ++i) y[i] = static_cast<T>(gsl_cdf_ugaussian_Pinv(x[i]));
}

#if KORB_HAVE_BOOST_ERF
// Boost's inverse complementary error function, in the function's precision.
template <class T>
void boost_erfc_inv_loop(int n, const void *a, const void *, void *r, void *) {
    const T *x = static_cast<const T *>(a);
    T *y = static_cast<T *>(r);
    for (int i = 0; i < n; ++i) y[i] = boost::math::erfc_inv(x[i]);
}
#endif

// The C library's complex inverse functions (casin, cacos, casinh, cacosh, catan, catanh and their
// f forms, which <complex> calls for std::asin and the others) one element at a time.
enum class ComplexInverse { asin, acos, asinh, acosh, atan, atanh };
template <class T, ComplexInverse kF>
void complex_inverse_loop(int n, const void *a, const void *, void *r, void *) {
    const std::complex<T> *x = static_cast<const std::complex<T> *>(a);
    std::complex<T> *y = static_cast<std::complex<T> *>(r);
    for (int i = 0; i < n; ++i) {
        if constexpr (kF == ComplexInverse::asin) y[i] = std::asin(x[i]);
        if constexpr (kF == ComplexInverse::acos) y[i] = std::acos(x[i]);
        if constexpr (kF == ComplexInverse::asinh) y[i] = std::asinh(x[i]);
        if constexpr (kF == ComplexInverse::acosh) y[i] = std::acosh(x[i]);
        if constexpr (kF == ComplexInverse::atan) y[i] = std::atan(x[i]);
        if constexpr (kF == ComplexInverse::atanh) y[i] = std::atanh(x[i]);
    }
}

struct Subject {
    std::string name;
    Loop loop;
    bool large = true;  // also at n = 1,000,000
};

// The peers written here, by function name.
const std::map<std::string, std::vector<Subject>> &peers_written_here() {
    static const std::map<std::string, std::vector<Subject>> peers = {
        {"dSqrt", {{"sqrtpd", sqrtpd_loop}}},
        {"sSqrt", {{"sqrtps", sqrtps_loop}}},
        {"dErfInv", {{"rational", rational_erfinv_loop<double>}}},
        {"sErfInv", {{"rational", rational_erfinv_loop<float>}}},
        {"dInvSqrt",
         {{"glibc", composed_scalar_loop<double, Composed::inv_sqrt>},
          {"sqrtpd", composed_vector_loop<double, __m128d, Composed::inv_sqrt>(nullptr)}}},
        {"sInvSqrt",
         {{"glibc", composed_scalar_loop<float, Composed::inv_sqrt>},
          {"sqrtps", composed_vector_loop<float, __m128, Composed::inv_sqrt>(nullptr)}}},
        {"dPow3o2",
         {{"glibc", composed_scalar_loop<double, Composed::pow3o2>},
          {"sqrtpd", composed_vector_loop<double, __m128d, Composed::pow3o2>(nullptr)}}},
        {"sPow3o2",
         {{"glibc", composed_scalar_loop<float, Composed::pow3o2>},
          {"sqrtps", composed_vector_loop<float, __m128, Composed::pow3o2>(nullptr)}}},
        {"dInvCbrt", {{"glibc", composed_scalar_loop<double, Composed::inv_cbrt>}}},
        {"sInvCbrt", {{"glibc", composed_scalar_loop<float, Composed::inv_cbrt>}}},
        {"dPow2o3", {{"glibc", composed_scalar_loop<double, Composed::pow2o3>}}},
        {"sPow2o3", {{"glibc", composed_scalar_loop<float, Composed::pow2o3>}}},
        {"dCdfNorm", {{"gsl", gsl_p_loop<double>}}},
        {"sCdfNorm", {{"gsl", gsl_p_loop<float>}}},
        {"cAcos", {{"glibc", complex_inverse_loop<float, ComplexInverse::acos>}}},
        {"zAcos", {{"glibc", complex_inverse_loop<double, ComplexInverse::acos>}}},
        {"cAcosh", {{"glibc", complex_inverse_loop<float, ComplexInverse::acosh>}}},
        {"zAcosh", {{"glibc", complex_inverse_loop<double, ComplexInverse::acosh>}}},
        {"cAsin", {{"glibc", complex_inverse_loop<float, ComplexInverse::asin>}}},
        {"zAsin", {{"glibc", complex_inverse_loop<double, ComplexInverse::asin>}}},
        {"cAsinh", {{"glibc", complex_inverse_loop<float, ComplexInverse::asinh>}}},
        {"zAsinh", {{"glibc", complex_inverse_loop<double, ComplexInverse::asinh>}}},
        {"cAtan", {{"glibc", complex_inverse_loop<float, ComplexInverse::atan>}}},
        {"zAtan", {{"glibc", complex_inverse_loop<double, ComplexInverse::atan>}}},
        {"cAtanh", {{"glibc", complex_inverse_loop<float, ComplexInverse::atanh>}}},
        {"zAtanh", {{"glibc", complex_inverse_loop<double, ComplexInverse::atanh>}}},
        {"dCdfNormInv", {{"gsl", gsl_pinv_loop<double>}}},
        {"sCdfNormInv", {{"gsl", gsl_pinv_loop<float>}}},
#if KORB_HAVE_BOOST_ERF
        {"dErfcInv", {{"boost", boost_erfc_inv_loop<double>}}},
        {"sErfcInv", {{"boost", boost_erfc_inv_loop<float>}}},
#endif
    };
    return peers;
}

void *find(void *lib, const std::string &name) {
    return lib != nullptr ? dlsym(lib, name.c_str()) : nullptr;
}

// The subjects of one function: this library's entry point and slots, the peers found by the
// libm name, the peers written here, and the copy.
std::vector<Subject> subjects(const FunctionInfo &f) {
    const std::string func = korb::test::name_of(f);
    const bool single = is_single(f);
    std::vector<Subject> out;
    auto kernel = [&](const void *k) {
        if (is_complex(f)) return complex_kernel_loop(f.kind, k, single);
        return single ? kernel_loop<float>(f.kind, k) : kernel_loop<double>(f.kind, k);
    };
    out.push_back({"korb", kernel(dlsym(RTLD_DEFAULT, ("_arq" + func).c_str()))});
    auto table = static_cast<const void *const *>(
        dlsym(RTLD_DEFAULT, ("korb_arq_kernel_" + func + "_ttab").c_str()));
    for (int slot = 0; slot < 3; ++slot) {
        out.push_back(
            {"slot" + std::to_string(slot), kernel(table[slot]), table[slot] != table[1]});
    }
    for (const korb::bench::ClassLibrary &c : korb::bench::class_libraries()) {
        if (void *p = dlsym(c.handle, ("_arq" + func).c_str())) out.push_back({c.name, kernel(p)});
    }

    const std::string libm = f.libm;
    if (libm != "none" && !is_complex(f)) {
        static void *const libmvec = dlopen("libmvec.so.1", RTLD_NOW);
        const std::string suffix = single ? "f" : "";
        if (void *p = dlsym(RTLD_DEFAULT, (libm + suffix).c_str())) {
            out.push_back(
                {"glibc", single ? scalar_loop<float>(f.kind, p) : scalar_loop<double>(f.kind, p)});
        }
        const std::string args = f.kind == KernelKind::scalar || f.kind == KernelKind::two ? "vv"
                                 : f.kind == KernelKind::pair                              ? "vvv"
                                                                                           : "v";
        const std::string vname = (single ? "_ZGVbN4" : "_ZGVbN2") + args + "_" + libm + suffix;
        if (void *p = find(libmvec, vname)) {
            Loop l = f.kind == KernelKind::pair ? (single ? nullptr : libmvec_pair_loop(p))
                     : single                   ? vector_loop<float, __m128>(f.kind, p)
                                                : vector_loop<double, __m128d>(f.kind, p);
            if (l) out.push_back({"libmvec", l});
        }
        // The AVX2 and AVX-512 variants, the peers of the class libraries (one-argument
        // functions; the processor must run them).
        const int lanes_per_16 = single ? 4 : 2;
        for (int bytes : {32, 64}) {
            if (f.kind != KernelKind::one) break;
            if (!korb::bench::processor_runs_class(bytes == 32 ? 3 : 4)) continue;
            const std::string lanes = std::to_string(lanes_per_16 * bytes / 16);
            const std::string wname =
                std::string(bytes == 32 ? "_ZGVdN" : "_ZGVeN") + lanes + "v_" + libm + suffix;
            if (void *p = find(libmvec, wname)) {
                out.push_back({bytes == 32 ? "libmvec_avx2" : "libmvec_avx512",
                               single ? wide_loop<float>(bytes, p) : wide_loop<double>(bytes, p)});
            }
#ifdef KORB_HAVE_SLEEF
            for (const char *accuracy : {"u10", "u15", "u35"}) {
                const std::string sname = "Sleef_" + libm + (single ? "f" : "d") + lanes + "_" +
                                          accuracy + (bytes == 32 ? "avx2" : "avx512f");
                if (void *p = dlsym(RTLD_DEFAULT, sname.c_str())) {
                    out.push_back(
                        {std::string("sleef_") + accuracy + (bytes == 32 ? "_avx2" : "_avx512"),
                         single ? wide_loop<float>(bytes, p) : wide_loop<double>(bytes, p)});
                }
            }
#endif
        }
#ifdef KORB_HAVE_SLEEF
        for (const char *accuracy : {"u10", "u15", "u35"}) {
            const std::string sname =
                "Sleef_" + libm + (single ? "f4_" : "d2_") + accuracy + "sse2";
            void *p = dlsym(RTLD_DEFAULT, sname.c_str());
            if (p == nullptr) continue;
            Loop l = f.kind != KernelKind::pair ? (single ? vector_loop<float, __m128>(f.kind, p)
                                                          : vector_loop<double, __m128d>(f.kind, p))
                     : single                   ? sleef_pair_loop<float, __m128, Sleef___m128_2>(p)
                              : sleef_pair_loop<double, __m128d, Sleef___m128d_2>(p);
            if (l) out.push_back({std::string("sleef_") + accuracy, l});
        }
#endif
    }
    // InvCbrt and Pow2o3 on the vector cube roots of libmvec and SLEEF.
    if (func.ends_with("InvCbrt") || func.ends_with("Pow2o3")) {
        static void *const libmvec = dlopen("libmvec.so.1", RTLD_NOW);
        const bool inv = func.ends_with("InvCbrt");
        std::vector<std::pair<std::string, void *>> roots = {
            {"libmvec", find(libmvec, single ? "_ZGVbN4v_cbrtf" : "_ZGVbN2v_cbrt")}};
#ifdef KORB_HAVE_SLEEF
        roots.emplace_back("sleef_u10", dlsym(RTLD_DEFAULT, single ? "Sleef_cbrtf4_u10sse2"
                                                                   : "Sleef_cbrtd2_u10sse2"));
#endif
        for (const auto &[peer, root] : roots) {
            if (root == nullptr) continue;
            Loop l = single ? (inv ? composed_vector_loop<float, __m128, Composed::inv_cbrt>(root)
                                   : composed_vector_loop<float, __m128, Composed::pow2o3>(root))
                            : (inv ? composed_vector_loop<double, __m128d, Composed::inv_cbrt>(root)
                                   : composed_vector_loop<double, __m128d, Composed::pow2o3>(root));
            out.push_back({peer, l});
        }
    }
    const auto &written = peers_written_here();
    if (auto it = written.find(func); it != written.end()) {
        for (const Subject &s : it->second) out.push_back(s);
    }
    for (int i = 0; i < korb::bench::kPlainLoopCount; ++i) {
        const korb::bench::PlainEntry &e = korb::bench::kPlainLoops[i];
        if (func == e.function) out.push_back({e.subject, e.loop});
    }
    // The copy of the same bytes: a complex element is two parts.
    if (is_complex(f)) {
        out.push_back({"copy", single ? Loop(copy_loop<double>) : Loop(copy_complex_double)});
    } else {
        out.push_back({"copy", single ? Loop(copy_loop<float>) : Loop(copy_loop<double>)});
    }
    return out;
}

// The inputs are drawn from the first domain in the function's precision; the copy loop, the
// cost unit, copies the function's own element type.
// Complex elements are two parts of T, each drawn from the domain. Pack and Unpack by mask select
// every element with probability one half, by index read random positions.
template <class T>
void run_typed(benchmark::State &state, const FunctionInfo &f, const Loop &loop) {
    const int n = static_cast<int>(state.range(0));
    const korb::vecmath::Domain &d = domain(f.domains[0]);
    std::mt19937_64 gen(7);
    const std::size_t parts = (is_complex(f) ? 2 : 1) * static_cast<std::size_t>(n);
    std::vector<T> a(parts), b(parts), r1(parts), r2(parts);
    for (T &x : a) x = static_cast<T>(korb::test::sample(d, is_single(f), gen));
    if (d.second != 0) {
        for (T &x : b) x = static_cast<T>(korb::test::sample(domain(d.second), is_single(f), gen));
        if (f.kind == KernelKind::scalar) std::fill(b.begin(), b.end(), b[0]);
    }
    const std::string name = f.name;
    std::vector<std::int64_t> selector(static_cast<std::size_t>(n));
    if (name.find("PackM") != std::string::npos) {
        for (auto &m : selector) m = static_cast<std::int64_t>(gen() & 1);
    } else {
        for (auto &i : selector) i = static_cast<std::int64_t>(gen() % static_cast<unsigned>(n));
    }
    korb::bench::g_vm_selector = selector.data();
    for (auto _ : state) {
        loop(n, a.data(), b.data(), r1.data(), r2.data());
        benchmark::DoNotOptimize(r1.data());
        benchmark::DoNotOptimize(r2.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
    state.counters["checksum"] = static_cast<double>(r1[0] + r1[static_cast<std::size_t>(n - 1)]);
}

const bool kRegistered = [] {
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_IGNORE);
#ifdef KORB_HAVE_SLEEF
    // A direct reference keeps SLEEF linked; its functions are then found by name.
    static auto *volatile keep_sleef = &Sleef_expd2_u10sse2;
    (void)keep_sleef;
#endif
    for (const FunctionInfo &f : korb::vecmath::kFunctions) {
        if (!f.built || f.domains[0] == 0) continue;
        const std::string func = korb::test::name_of(f);
        for (const Subject &s : subjects(f)) {
            if (!s.loop) continue;
            const std::string name = "BM_vm/" + func + "/" + s.name;
            auto *b =
                benchmark::RegisterBenchmark(name.c_str(), [&f, l = s.loop](benchmark::State &st) {
                    if (is_single(f)) {
                        run_typed<float>(st, f, l);
                    } else {
                        run_typed<double>(st, f, l);
                    }
                });
            b->Arg(1000);
            if (s.large) b->Arg(1000000);
        }
    }
    return true;
}();

}  // namespace
