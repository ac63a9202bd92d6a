// Every built function of vecmath/functions.def beside its peers on the same inputs, n = 1000 (in
// cache) and 1,000,000. The arguments come from the function's first domain (its ordinary range),
// a Powx exponent from that domain's second. Subjects:
//   korb       the HA entry point _arq<p><Func>
//   slot0..2   the kernel of each slot of the kernel table at n = 1000 (tools/arq_costs.py divides
//              their times by copy's); a slot whose kernel is not the HA one also at 1,000,000
//   glibc      the C library's function of the list's libm column, one element at a time
//   libmvec    its SSE2-width vector variant, where the C library has one
//   sleef_u10, sleef_u35
//              SLEEF's SSE2 variants of 1 and 3.5 ulp, when SLEEF is installed
//   copy       a plain loop copying the same vector: the cost unit of the cost tables
// plus peers written here for functions the C library lacks or does differently: the bare
// square-root instructions beside Sqrt, a scalar rational approximation beside ErfInv, GSL's
// inverse normal distribution function beside CdfNormInv and Boost's inverse complementary
// error function (where installed) beside ErfcInv, each in a loop.
// The C library's and SLEEF's functions are found by name, so a new function of the list is
// benchmarked against them without an edit here. Items are elements; each benchmark reports a
// checksum of its results.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <emmintrin.h>
#include <korb/kernel/vm.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
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

// A kernel of the library in that signature.
template <class T>
Loop kernel_loop(KernelKind kind, const void *k) {
    return [kind, k](int n, const void *a, const void *b, void *r1, void *r2) {
        korb::test::call_kernel<T>(kind, k, n, static_cast<const T *>(a), static_cast<const T *>(b),
                                   static_cast<T *>(r1), static_cast<T *>(r2));
    };
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
        return single ? kernel_loop<float>(f.kind, k) : kernel_loop<double>(f.kind, k);
    };
    out.push_back({"korb", kernel(dlsym(RTLD_DEFAULT, ("_arq" + func).c_str()))});
    auto table = static_cast<const void *const *>(
        dlsym(RTLD_DEFAULT, ("korb_arq_kernel_" + func + "_ttab").c_str()));
    for (int slot = 0; slot < 3; ++slot) {
        out.push_back(
            {"slot" + std::to_string(slot), kernel(table[slot]), table[slot] != table[1]});
    }

    const std::string libm = f.libm;
    if (libm != "none") {
        static void *const libmvec = dlopen("libmvec.so.1", RTLD_NOW);
        const std::string suffix = single ? "f" : "";
        if (void *p = dlsym(RTLD_DEFAULT, (libm + suffix).c_str())) {
            out.push_back(
                {"glibc", single ? scalar_loop<float>(f.kind, p) : scalar_loop<double>(f.kind, p)});
        }
        const std::string args = f.kind == KernelKind::scalar ? "vv"
                                 : f.kind == KernelKind::pair ? "vvv"
                                                              : "v";
        const std::string vname = (single ? "_ZGVbN4" : "_ZGVbN2") + args + "_" + libm + suffix;
        if (void *p = find(libmvec, vname)) {
            Loop l = f.kind == KernelKind::pair ? (single ? nullptr : libmvec_pair_loop(p))
                     : single                   ? vector_loop<float, __m128>(f.kind, p)
                                                : vector_loop<double, __m128d>(f.kind, p);
            if (l) out.push_back({"libmvec", l});
        }
#ifdef KORB_HAVE_SLEEF
        for (const char *accuracy : {"u10", "u35"}) {
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
    const auto &written = peers_written_here();
    if (auto it = written.find(func); it != written.end()) {
        for (const Subject &s : it->second) out.push_back(s);
    }
    out.push_back({"copy", single ? Loop(copy_loop<float>) : Loop(copy_loop<double>)});
    return out;
}

// The inputs are drawn from the first domain in the function's precision; the copy loop, the
// cost unit, copies the function's own element type.
template <class T>
void run_typed(benchmark::State &state, const FunctionInfo &f, const Loop &loop) {
    const int n = static_cast<int>(state.range(0));
    const korb::vecmath::Domain &d = domain(f.domains[0]);
    std::mt19937_64 gen(7);
    std::vector<T> a(static_cast<std::size_t>(n)), b(a.size()), r1(a.size()), r2(a.size());
    for (T &x : a) x = static_cast<T>(korb::test::sample(d, is_single(f), gen));
    if (d.second != 0) {
        for (T &x : b) x = static_cast<T>(korb::test::sample(domain(d.second), is_single(f), gen));
        if (f.kind == KernelKind::scalar) std::fill(b.begin(), b.end(), b[0]);
    }
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
