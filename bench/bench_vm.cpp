// Vector-math kernels beside their peers on the same inputs, n = 1000 (in cache) and 1,000,000:
// the C library's scalar function in a loop, its SSE2-width vector variant (libmvec) and
// SLEEF's SSE2 variant of 1-ulp accuracy, when SLEEF is installed; Sqrt beside the bare
// sqrtpd/sqrtps loop, ErfInv beside a scalar rational approximation written here. "copy" is the
// cost unit of the cost tables: a plain loop copying the same vector; "slot0".."slot2" run the
// kernel of each table slot at n = 1000, and tools/arq_costs.py divides their times by the copy's.
// Items are elements; each benchmark reports a checksum of its results.
#include <benchmark/benchmark.h>
#include <emmintrin.h>
#include <korb/vm.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#ifdef KORB_HAVE_SLEEF
#include <sleef.h>
#endif

extern "C" {
__m128d _ZGVbN2v_exp(__m128d);
__m128d _ZGVbN2v_log(__m128d);
__m128d _ZGVbN2v_sin(__m128d);
__m128d _ZGVbN2v_cos(__m128d);
__m128d _ZGVbN2v_tan(__m128d);
void _ZGVbN2vvv_sincos(__m128d, __m128i, __m128i);  // lanes of pointers to the results
__m128 _ZGVbN4v_sinf(__m128);
__m128 _ZGVbN4v_cosf(__m128);
__m128 _ZGVbN4v_tanf(__m128);
__m128 _ZGVbN4v_expf(__m128);
__m128 _ZGVbN4v_logf(__m128);
__m128d _ZGVbN2vv_pow(__m128d, __m128d);
__m128 _ZGVbN4vv_powf(__m128, __m128);
}

namespace {

// Every subject as one signature: n elements of a (double or float) into r1 (and r2 for the
// functions with two results).
using Loop = std::function<void(int n, const void *a, void *r1, void *r2)>;

using LoopD = void (*)(int n, const double *a, double *r);
using LoopF = void (*)(int n, const float *a, float *r);
using LoopD2 = void (*)(int n, const double *a, double *r1, double *r2);
using LoopF2 = void (*)(int n, const float *a, float *r1, float *r2);

Loop loop(LoopD f) {
    return [f](int n, const void *a, void *r, void *) {
        f(n, static_cast<const double *>(a), static_cast<double *>(r));
    };
}
Loop loop(LoopF f) {
    return [f](int n, const void *a, void *r, void *) {
        f(n, static_cast<const float *>(a), static_cast<float *>(r));
    };
}
Loop loop(LoopD2 f) {
    return [f](int n, const void *a, void *r1, void *r2) {
        f(n, static_cast<const double *>(a), static_cast<double *>(r1), static_cast<double *>(r2));
    };
}
Loop loop(LoopF2 f) {
    return [f](int n, const void *a, void *r1, void *r2) {
        f(n, static_cast<const float *>(a), static_cast<float *>(r1), static_cast<float *>(r2));
    };
}

template <class T, T (*F)(T)>
void scalar_loop(int n, const T *a, T *r) {
    for (int i = 0; i < n; ++i) r[i] = F(a[i]);
}

template <class T, void (*F)(T, T *, T *)>
void scalar_pair_loop(int n, const T *a, T *r1, T *r2) {
    for (int i = 0; i < n; ++i) F(a[i], &r1[i], &r2[i]);
}

// n is a multiple of 4 in every benchmark here.
template <__m128d (*F)(__m128d)>
void pair_loop(int n, const double *a, double *r) {
    for (int i = 0; i < n; i += 2) _mm_storeu_pd(r + i, F(_mm_loadu_pd(a + i)));
}
template <__m128 (*F)(__m128)>
void quad_loop(int n, const float *a, float *r) {
    for (int i = 0; i < n; i += 4) _mm_storeu_ps(r + i, F(_mm_loadu_ps(a + i)));
}

void libmvec_sincos(int n, const double *a, double *r1, double *r2) {
    for (int i = 0; i < n; i += 2) {
        _ZGVbN2vvv_sincos(_mm_loadu_pd(a + i),
                          _mm_set_epi64x(reinterpret_cast<long long>(r1 + i + 1),
                                         reinterpret_cast<long long>(r1 + i)),
                          _mm_set_epi64x(reinterpret_cast<long long>(r2 + i + 1),
                                         reinterpret_cast<long long>(r2 + i)));
    }
}

template <class T>
void copy_loop(int n, const T *a, T *r) {
    for (int i = 0; i < n; ++i) r[i] = a[i];
}

// The hardware square root alone, the peer of Sqrt.
void sqrtpd_loop(int n, const double *a, double *r) {
    for (int i = 0; i < n; i += 2) _mm_storeu_pd(r + i, _mm_sqrt_pd(_mm_loadu_pd(a + i)));
}
void sqrtps_loop(int n, const float *a, float *r) {
    for (int i = 0; i < n; i += 4) _mm_storeu_ps(r + i, _mm_sqrt_ps(_mm_loadu_ps(a + i)));
}

// A scalar inverse error function written here as the peer of ErfInv: a rational approximation
// in w = -ln(1 - x²) (degree 8 polynomials for w < 5 and in sqrt(w) beyond, single-precision
// accuracy), the usual textbook form evaluated in double, one element at a time.
double rational_erfinv(double x) {
    double w = -std::log((1.0 - x) * (1.0 + x)), p;
    if (w < 5.0) {
        w = w - 2.5;
        p = 2.81022636e-08;
        p = 3.43273939e-07 + p * w;
        p = -3.5233877e-06 + p * w;
        p = -4.39150654e-06 + p * w;
        p = 0.00021858087 + p * w;
        p = -0.00125372503 + p * w;
        p = -0.00417768164 + p * w;
        p = 0.246640727 + p * w;
        p = 1.50140941 + p * w;
    } else {
        w = std::sqrt(w) - 3.0;
        p = -0.000200214257;
        p = 0.000100950558 + p * w;
        p = 0.00134934322 + p * w;
        p = -0.00367342844 + p * w;
        p = 0.00573950773 + p * w;
        p = -0.0076224613 + p * w;
        p = 0.00943887047 + p * w;
        p = 1.00167406 + p * w;
        p = 2.83297682 + p * w;
    }
    return p * x;
}

// Powx with the exponent of the benchmark, in the shape of the one-argument loops; the slots of
// its kernel table the same way, for the cost measurement.
constexpr double kPowExponent = 2.5;
double libm_pow(double x) {
    return std::pow(x, kPowExponent);
}
float libm_powf(float x) {
    return std::pow(x, static_cast<float>(kPowExponent));
}
__m128d libmvec_pow(__m128d x) {
    return _ZGVbN2vv_pow(x, _mm_set1_pd(kPowExponent));
}
__m128 libmvec_powf(__m128 x) {
    return _ZGVbN4vv_powf(x, _mm_set1_ps(static_cast<float>(kPowExponent)));
}
template <int kSlot>
void dpowx_slot(int n, const double *a, double *r) {
    korb_arq_kernel_dPowx_ttab[kSlot](n, a, kPowExponent, r);
}
template <int kSlot>
void spowx_slot(int n, const float *a, float *r) {
    korb_arq_kernel_sPowx_ttab[kSlot](n, a, static_cast<float>(kPowExponent), r);
}
const void *const kDPowxSlots[3] = {reinterpret_cast<const void *>(dpowx_slot<0>),
                                    reinterpret_cast<const void *>(dpowx_slot<1>),
                                    reinterpret_cast<const void *>(dpowx_slot<2>)};
const void *const kSPowxSlots[3] = {reinterpret_cast<const void *>(spowx_slot<0>),
                                    reinterpret_cast<const void *>(spowx_slot<1>),
                                    reinterpret_cast<const void *>(spowx_slot<2>)};

// The same rational approximation in single precision, the peer of sErfInv.
float rational_erfinvf(float x) {
    float w = -std::log((1.0f - x) * (1.0f + x)), p;
    if (w < 5.0f) {
        w = w - 2.5f;
        p = 2.81022636e-08f;
        p = 3.43273939e-07f + p * w;
        p = -3.5233877e-06f + p * w;
        p = -4.39150654e-06f + p * w;
        p = 0.00021858087f + p * w;
        p = -0.00125372503f + p * w;
        p = -0.00417768164f + p * w;
        p = 0.246640727f + p * w;
        p = 1.50140941f + p * w;
    } else {
        w = std::sqrt(w) - 3.0f;
        p = -0.000200214257f;
        p = 0.000100950558f + p * w;
        p = 0.00134934322f + p * w;
        p = -0.00367342844f + p * w;
        p = 0.00573950773f + p * w;
        p = -0.0076224613f + p * w;
        p = 0.00943887047f + p * w;
        p = 1.00167406f + p * w;
        p = 2.83297682f + p * w;
    }
    return p * x;
}

float libm_expf(float x) {
    return std::exp(x);
}
float libm_logf(float x) {
    return std::log(x);
}
double libm_sqrt(double x) {
    return std::sqrt(x);
}

double libm_exp(double x) {
    return std::exp(x);
}
double libm_log(double x) {
    return std::log(x);
}

void glibc_sincos(double x, double *s, double *c) {
    sincos(x, s, c);
}
void glibc_sincosf(float x, float *s, float *c) {
    sincosf(x, s, c);
}

#ifdef KORB_HAVE_SLEEF
__m128d sleef_exp(__m128d x) {
    return Sleef_expd2_u10sse2(x);
}
__m128d sleef_log(__m128d x) {
    return Sleef_logd2_u10sse2(x);
}
__m128d sleef_pow(__m128d x) {
    return Sleef_powd2_u10sse2(x, _mm_set1_pd(kPowExponent));
}
__m128 sleef_powf(__m128 x) {
    return Sleef_powf4_u10sse2(x, _mm_set1_ps(static_cast<float>(kPowExponent)));
}
__m128 sleef_expf(__m128 x) {
    return Sleef_expf4_u10sse2(x);
}
__m128 sleef_logf(__m128 x) {
    return Sleef_logf4_u10sse2(x);
}
// SLEEF's functions through plain wrappers, which can be template arguments.
__m128d sleef_cosd2_u10sse2(__m128d x) {
    return Sleef_cosd2_u10sse2(x);
}
__m128d sleef_cosd2_u35sse2(__m128d x) {
    return Sleef_cosd2_u35sse2(x);
}
__m128 sleef_cosf4_u10sse2(__m128 x) {
    return Sleef_cosf4_u10sse2(x);
}
__m128 sleef_cosf4_u35sse2(__m128 x) {
    return Sleef_cosf4_u35sse2(x);
}
Sleef___m128d_2 sleef_sincosd2_u10sse2(__m128d x) {
    return Sleef_sincosd2_u10sse2(x);
}
Sleef___m128d_2 sleef_sincosd2_u35sse2(__m128d x) {
    return Sleef_sincosd2_u35sse2(x);
}
Sleef___m128_2 sleef_sincosf4_u10sse2(__m128 x) {
    return Sleef_sincosf4_u10sse2(x);
}
Sleef___m128_2 sleef_sincosf4_u35sse2(__m128 x) {
    return Sleef_sincosf4_u35sse2(x);
}
__m128d sleef_sind2_u10sse2(__m128d x) {
    return Sleef_sind2_u10sse2(x);
}
__m128d sleef_sind2_u35sse2(__m128d x) {
    return Sleef_sind2_u35sse2(x);
}
__m128 sleef_sinf4_u10sse2(__m128 x) {
    return Sleef_sinf4_u10sse2(x);
}
__m128 sleef_sinf4_u35sse2(__m128 x) {
    return Sleef_sinf4_u35sse2(x);
}
__m128d sleef_tand2_u10sse2(__m128d x) {
    return Sleef_tand2_u10sse2(x);
}
__m128 sleef_tanf4_u10sse2(__m128 x) {
    return Sleef_tanf4_u10sse2(x);
}

template <Sleef___m128d_2 (*F)(__m128d)>
void sleef_sincos(int n, const double *a, double *r1, double *r2) {
    for (int i = 0; i < n; i += 2) {
        const Sleef___m128d_2 v = F(_mm_loadu_pd(a + i));
        _mm_storeu_pd(r1 + i, v.x);
        _mm_storeu_pd(r2 + i, v.y);
    }
}
template <Sleef___m128_2 (*F)(__m128)>
void sleef_sincosf(int n, const float *a, float *r1, float *r2) {
    for (int i = 0; i < n; i += 4) {
        const Sleef___m128_2 v = F(_mm_loadu_ps(a + i));
        _mm_storeu_ps(r1 + i, v.x);
        _mm_storeu_ps(r2 + i, v.y);
    }
}
#endif

struct Subject {
    const char *name;
    Loop loop;
};

struct Function {
    const char *name;          // name[0] is the precision
    const void *const *slots;  // the kernel table, for the cost measurement
    std::function<double(std::mt19937_64 &)> input;
    std::vector<Subject> subjects;
    bool pair = false;  // two results
};

double trig_input(std::mt19937_64 &g) {
    return std::uniform_real_distribution<double>(-10, 10)(g);
}

const void *const *table(const void *t) {
    return static_cast<const void *const *>(t);
}

// The functions and their peers; the first subject is always this library's HA entry point.
std::vector<Function> functions() {
    return {
        {"sCos",
         table(korb_arq_kernel_sCos_ttab),
         trig_input,
         {{"korb", loop(_arqsCos)},
          {"glibc", loop(scalar_loop<float, cosf>)},
          {"libmvec", loop(quad_loop<_ZGVbN4v_cosf>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(quad_loop<sleef_cosf4_u10sse2>)},
          {"sleef_u35", loop(quad_loop<sleef_cosf4_u35sse2>)},
#endif
          {"copy", loop(copy_loop<float>)}}},
        {"dCos",
         table(korb_arq_kernel_dCos_ttab),
         trig_input,
         {{"korb", loop(_arqdCos)},
          {"glibc", loop(scalar_loop<double, cos>)},
          {"libmvec", loop(pair_loop<_ZGVbN2v_cos>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(pair_loop<sleef_cosd2_u10sse2>)},
          {"sleef_u35", loop(pair_loop<sleef_cosd2_u35sse2>)},
#endif
          {"copy", loop(copy_loop<double>)}}},
        {"dExp",
         table(korb_arq_kernel_dExp_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(-700, 700)(g); },
         {{"korb", loop(_arqdExp)},
          {"glibc", loop(scalar_loop<double, libm_exp>)},
          {"libmvec", loop(pair_loop<_ZGVbN2v_exp>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(pair_loop<sleef_exp>)},
#endif
          {"copy", loop(copy_loop<double>)}}},
        {"dLn",
         table(korb_arq_kernel_dLn_ttab),
         [](std::mt19937_64 &g) {
             return std::exp(std::uniform_real_distribution<double>(-700, 700)(g));
         },
         {{"korb", loop(_arqdLn)},
          {"glibc", loop(scalar_loop<double, libm_log>)},
          {"libmvec", loop(pair_loop<_ZGVbN2v_log>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(pair_loop<sleef_log>)},
#endif
          {"copy", loop(copy_loop<double>)}}},
        {"sSin",
         table(korb_arq_kernel_sSin_ttab),
         trig_input,
         {{"korb", loop(_arqsSin)},
          {"glibc", loop(scalar_loop<float, sinf>)},
          {"libmvec", loop(quad_loop<_ZGVbN4v_sinf>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(quad_loop<sleef_sinf4_u10sse2>)},
          {"sleef_u35", loop(quad_loop<sleef_sinf4_u35sse2>)},
#endif
          {"copy", loop(copy_loop<float>)}}},
        {"dSin",
         table(korb_arq_kernel_dSin_ttab),
         trig_input,
         {{"korb", loop(_arqdSin)},
          {"glibc", loop(scalar_loop<double, sin>)},
          {"libmvec", loop(pair_loop<_ZGVbN2v_sin>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(pair_loop<sleef_sind2_u10sse2>)},
          {"sleef_u35", loop(pair_loop<sleef_sind2_u35sse2>)},
#endif
          {"copy", loop(copy_loop<double>)}}},
        {"sSinCos",
         table(korb_arq_kernel_sSinCos_ttab),
         trig_input,
         {{"korb", loop(_arqsSinCos)},
          {"glibc", loop(scalar_pair_loop<float, glibc_sincosf>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(sleef_sincosf<sleef_sincosf4_u10sse2>)},
          {"sleef_u35", loop(sleef_sincosf<sleef_sincosf4_u35sse2>)},
#endif
          {"copy", loop(copy_loop<float>)}},
         true},
        {"dSinCos",
         table(korb_arq_kernel_dSinCos_ttab),
         trig_input,
         {{"korb", loop(_arqdSinCos)},
          {"glibc", loop(scalar_pair_loop<double, glibc_sincos>)},
          {"libmvec", loop(libmvec_sincos)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(sleef_sincos<sleef_sincosd2_u10sse2>)},
          {"sleef_u35", loop(sleef_sincos<sleef_sincosd2_u35sse2>)},
#endif
          {"copy", loop(copy_loop<double>)}},
         true},
        {"sTan",
         table(korb_arq_kernel_sTan_ttab),
         trig_input,
         {{"korb", loop(_arqsTan)},
          {"glibc", loop(scalar_loop<float, tanf>)},
          {"libmvec", loop(quad_loop<_ZGVbN4v_tanf>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(quad_loop<sleef_tanf4_u10sse2>)},
#endif
          {"copy", loop(copy_loop<float>)}}},
        {"dTan",
         table(korb_arq_kernel_dTan_ttab),
         trig_input,
         {{"korb", loop(_arqdTan)},
          {"glibc", loop(scalar_loop<double, tan>)},
          {"libmvec", loop(pair_loop<_ZGVbN2v_tan>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(pair_loop<sleef_tand2_u10sse2>)},
#endif
          {"copy", loop(copy_loop<double>)}}},
        {"dErfInv",
         table(korb_arq_kernel_dErfInv_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(-1, 1)(g); },
         {{"korb", loop(_arqdErfInv)},
          {"korb_ep", loop(_arqdErfInv_26)},
          {"rational", loop(scalar_loop<double, rational_erfinv>)},
          {"copy", loop(copy_loop<double>)}}},
        {"sErfInv",
         table(korb_arq_kernel_sErfInv_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(-1, 1)(g); },
         {{"korb", loop(_arqsErfInv)},
          {"korb_la", loop(_arqsErfInv_21)},
          {"korb_ep", loop(_arqsErfInv_11)},
          {"rational", loop(scalar_loop<float, rational_erfinvf>)},
          {"copy", loop(copy_loop<float>)}}},
        {"sExp",
         table(korb_arq_kernel_sExp_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(-80, 80)(g); },
         {{"korb", loop(_arqsExp)},
          {"glibc", loop(scalar_loop<float, libm_expf>)},
          {"libmvec", loop(quad_loop<_ZGVbN4v_expf>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(quad_loop<sleef_expf>)},
#endif
          {"copy", loop(copy_loop<float>)}}},
        {"sLn",
         table(korb_arq_kernel_sLn_ttab),
         [](std::mt19937_64 &g) {
             return std::exp(std::uniform_real_distribution<double>(-80, 80)(g));
         },
         {{"korb", loop(_arqsLn)},
          {"glibc", loop(scalar_loop<float, libm_logf>)},
          {"libmvec", loop(quad_loop<_ZGVbN4v_logf>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(quad_loop<sleef_logf>)},
#endif
          {"copy", loop(copy_loop<float>)}}},
        {"sPowx",
         kSPowxSlots,
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(0, 100)(g); },
         {{"korb", loop(spowx_slot<1>)},
          {"glibc", loop(scalar_loop<float, libm_powf>)},
          {"libmvec", loop(quad_loop<libmvec_powf>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(quad_loop<sleef_powf>)},
#endif
          {"copy", loop(copy_loop<float>)}}},
        {"dPowx",
         kDPowxSlots,
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(0, 100)(g); },
         {{"korb", loop(dpowx_slot<1>)},
          {"glibc", loop(scalar_loop<double, libm_pow>)},
          {"libmvec", loop(pair_loop<libmvec_pow>)},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", loop(pair_loop<sleef_pow>)},
#endif
          {"copy", loop(copy_loop<double>)}}},
        {"sSqrt",
         table(korb_arq_kernel_sSqrt_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(0, 1e6)(g); },
         {{"korb", loop(_arqsSqrt)},
          {"sqrtps", loop(sqrtps_loop)},
          {"copy", loop(copy_loop<float>)}}},
        {"dSqrt",
         table(korb_arq_kernel_dSqrt_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(0, 1e6)(g); },
         {{"korb", loop(_arqdSqrt)},
          {"sqrtpd", loop(sqrtpd_loop)},
          {"glibc", loop(scalar_loop<double, libm_sqrt>)},
          {"copy", loop(copy_loop<double>)}}},
    };
}

// The inputs are drawn as doubles and rounded for the single-precision functions. The copy
// loop, the cost unit, copies the function's own element type.
template <class T>
void run_typed(benchmark::State &state, const Function &f, const Loop &loop) {
    const int n = static_cast<int>(state.range(0));
    std::mt19937_64 gen(7);
    std::vector<T> a(static_cast<std::size_t>(n)), r1(a.size()), r2(a.size());
    for (T &x : a) x = static_cast<T>(f.input(gen));
    for (auto _ : state) {
        loop(n, a.data(), r1.data(), r2.data());
        benchmark::DoNotOptimize(r1.data());
        benchmark::DoNotOptimize(r2.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
    state.counters["checksum"] = static_cast<double>(r1[0] + r1[static_cast<std::size_t>(n - 1)]);
}

void run(benchmark::State &state, const Function &f, const Loop &loop) {
    if (f.name[0] == 's') {
        run_typed<float>(state, f, loop);
    } else {
        run_typed<double>(state, f, loop);
    }
}

// A kernel table's slot as a subject.
Loop slot_loop(const Function &f, int slot) {
    const void *k = f.slots[slot];
    const bool single = f.name[0] == 's';
    if (f.pair) {
        return single ? loop(reinterpret_cast<LoopF2>(k)) : loop(reinterpret_cast<LoopD2>(k));
    }
    return single ? loop(reinterpret_cast<LoopF>(k)) : loop(reinterpret_cast<LoopD>(k));
}

const bool kRegistered = [] {
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_IGNORE);
    static const std::vector<Function> list = functions();
    for (const Function &f : list) {
        for (const Subject &s : f.subjects) {
            const std::string name = std::string("BM_vm/") + f.name + "/" + s.name;
            benchmark::RegisterBenchmark(name.c_str(),
                                         [&f, l = s.loop](benchmark::State &st) { run(st, f, l); })
                ->Arg(1000)
                ->Arg(1000000);
        }
        // Each slot's kernel in cache, for tools/arq_costs.py.
        for (int slot = 0; slot < 3; ++slot) {
            const std::string name =
                std::string("BM_vm/") + f.name + "/slot" + std::to_string(slot);
            benchmark::RegisterBenchmark(name.c_str(), [&f, l = slot_loop(f, slot)](
                                                           benchmark::State &st) {
                run(st, f, l);
            })->Arg(1000);
        }
    }
    return true;
}();

}  // namespace
