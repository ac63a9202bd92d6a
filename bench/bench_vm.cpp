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
__m128 _ZGVbN4v_expf(__m128);
__m128 _ZGVbN4v_logf(__m128);
__m128d _ZGVbN2vv_pow(__m128d, __m128d);
__m128 _ZGVbN4vv_powf(__m128, __m128);
}

namespace {

using Loop = void (*)(int n, const double *a, double *r);
using LoopS = void (*)(int n, const float *a, float *r);

template <double (*F)(double)>
void scalar_loop(int n, const double *a, double *r) {
    for (int i = 0; i < n; ++i) r[i] = F(a[i]);
}

// n is even in every benchmark here.
template <__m128d (*F)(__m128d)>
void pair_loop(int n, const double *a, double *r) {
    for (int i = 0; i < n; i += 2) _mm_storeu_pd(r + i, F(_mm_loadu_pd(a + i)));
}

void copy_loop(int n, const double *a, double *r) {
    for (int i = 0; i < n; ++i) r[i] = a[i];
}

template <float (*F)(float)>
void scalar_loop_s(int n, const float *a, float *r) {
    for (int i = 0; i < n; ++i) r[i] = F(a[i]);
}

// n is a multiple of 4 in every benchmark here.
template <__m128 (*F)(__m128)>
void quad_loop(int n, const float *a, float *r) {
    for (int i = 0; i < n; i += 4) _mm_storeu_ps(r + i, F(_mm_loadu_ps(a + i)));
}

void copy_loop_s(int n, const float *a, float *r) {
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
#endif

// A subject runs on doubles or on floats: the function's precision decides which loop is set.
struct Subject {
    const char *name;
    Loop loop = nullptr;
    LoopS loop_s = nullptr;
    Subject(const char *n, Loop l) : name(n), loop(l) {}
    Subject(const char *n, LoopS l) : name(n), loop_s(l) {}
};

struct Function {
    const char *name;
    const void *const *slots;  // the kernel table, for the cost measurement
    std::function<double(std::mt19937_64 &)> input;
    std::vector<Subject> subjects;
};

template <class T>
const void *const *table(T *const *t) {
    return reinterpret_cast<const void *const *>(t);
}

// The functions and their peers; the first subject is always this library's HA entry point.
std::vector<Function> functions() {
    return {
        {"dExp",
         table(korb_arq_kernel_dExp_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(-700, 700)(g); },
         {{"korb", _arqdExp},
          {"glibc", scalar_loop<libm_exp>},
          {"libmvec", pair_loop<_ZGVbN2v_exp>},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", pair_loop<sleef_exp>},
#endif
          {"copy", copy_loop}}},
        {"dLn",
         table(korb_arq_kernel_dLn_ttab),
         [](std::mt19937_64 &g) {
             return std::exp(std::uniform_real_distribution<double>(-700, 700)(g));
         },
         {{"korb", _arqdLn},
          {"glibc", scalar_loop<libm_log>},
          {"libmvec", pair_loop<_ZGVbN2v_log>},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", pair_loop<sleef_log>},
#endif
          {"copy", copy_loop}}},
        {"dErfInv",
         table(korb_arq_kernel_dErfInv_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(-1, 1)(g); },
         {{"korb", _arqdErfInv},
          {"korb_ep", _arqdErfInv_26},
          {"rational", scalar_loop<rational_erfinv>},
          {"copy", copy_loop}}},
        {"sErfInv",
         table(korb_arq_kernel_sErfInv_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(-1, 1)(g); },
         {{"korb", _arqsErfInv},
          {"korb_la", _arqsErfInv_21},
          {"korb_ep", _arqsErfInv_11},
          {"rational", scalar_loop_s<rational_erfinvf>},
          {"copy", copy_loop_s}}},
        {"sExp",
         table(korb_arq_kernel_sExp_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(-80, 80)(g); },
         {{"korb", _arqsExp},
          {"glibc", scalar_loop_s<libm_expf>},
          {"libmvec", quad_loop<_ZGVbN4v_expf>},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", quad_loop<sleef_expf>},
#endif
          {"copy", copy_loop_s}}},
        {"sLn",
         table(korb_arq_kernel_sLn_ttab),
         [](std::mt19937_64 &g) {
             return std::exp(std::uniform_real_distribution<double>(-80, 80)(g));
         },
         {{"korb", _arqsLn},
          {"glibc", scalar_loop_s<libm_logf>},
          {"libmvec", quad_loop<_ZGVbN4v_logf>},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", quad_loop<sleef_logf>},
#endif
          {"copy", copy_loop_s}}},
        {"sPowx",
         kSPowxSlots,
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(0, 100)(g); },
         {{"korb", spowx_slot<1>},
          {"glibc", scalar_loop_s<libm_powf>},
          {"libmvec", quad_loop<libmvec_powf>},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", quad_loop<sleef_powf>},
#endif
          {"copy", copy_loop_s}}},
        {"dPowx",
         kDPowxSlots,
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(0, 100)(g); },
         {{"korb", dpowx_slot<1>},
          {"glibc", scalar_loop<libm_pow>},
          {"libmvec", pair_loop<libmvec_pow>},
#ifdef KORB_HAVE_SLEEF
          {"sleef_u10", pair_loop<sleef_pow>},
#endif
          {"copy", copy_loop}}},
        {"sSqrt",
         table(korb_arq_kernel_sSqrt_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(0, 1e6)(g); },
         {{"korb", _arqsSqrt}, {"sqrtps", sqrtps_loop}, {"copy", copy_loop_s}}},
        {"dSqrt",
         table(korb_arq_kernel_dSqrt_ttab),
         [](std::mt19937_64 &g) { return std::uniform_real_distribution<double>(0, 1e6)(g); },
         {{"korb", _arqdSqrt},
          {"sqrtpd", sqrtpd_loop},
          {"glibc", scalar_loop<libm_sqrt>},
          {"copy", copy_loop}}},
    };
}

template <class T>
void run(benchmark::State &state, const Function &f, void (*loop)(int, const T *, T *)) {
    const int n = static_cast<int>(state.range(0));
    std::mt19937_64 gen(7);
    std::vector<T> a(static_cast<std::size_t>(n)), r(a.size());
    for (T &x : a) x = static_cast<T>(f.input(gen));
    for (auto _ : state) {
        loop(n, a.data(), r.data());
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
    state.counters["checksum"] = static_cast<double>(r[0] + r[static_cast<std::size_t>(n - 1)]);
}

void run_subject(benchmark::State &state, const Function &f, const Subject &s) {
    if (s.loop != nullptr) {
        run(state, f, s.loop);
    } else {
        run(state, f, s.loop_s);
    }
}

void run_slot(benchmark::State &state, const Function &f, int slot) {
    if (f.name[0] == 's') {
        run(state, f, reinterpret_cast<LoopS>(f.slots[slot]));
    } else {
        run(state, f, reinterpret_cast<Loop>(f.slots[slot]));
    }
}

const bool kRegistered = [] {
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_IGNORE);
    static const std::vector<Function> list = functions();
    for (const Function &f : list) {
        for (const Subject &s : f.subjects) {
            const std::string name = std::string("BM_vm/") + f.name + "/" + s.name;
            benchmark::RegisterBenchmark(name.c_str(),
                                         [&f, &s](benchmark::State &st) { run_subject(st, f, s); })
                ->Arg(1000)
                ->Arg(1000000);
        }
        // Each slot's kernel in cache, for tools/arq_costs.py.
        for (int slot = 0; slot < 3; ++slot) {
            const std::string name =
                std::string("BM_vm/") + f.name + "/slot" + std::to_string(slot);
            benchmark::RegisterBenchmark(name.c_str(), [&f, slot](benchmark::State &st) {
                run_slot(st, f, slot);
            })->Arg(1000);
        }
    }
    return true;
}();

}  // namespace
