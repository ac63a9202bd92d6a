// The frame every distribution kernel shares: uniforms from the stream's own generator, the two
// brackets around the vector-math kernels that compute the elementary functions, and the final
// scaling and clamping loops.
//
// Kernels are written once as templates over the output precision; Precision<T> names the
// generator function, the vector-math kernels and the constants of that precision.
#pragma once

#include <cstdint>

#include "korb/kernel/rng.h"
#include "korb/kernel/vm.h"
#include "vecmath/mode.h"

namespace korb::dist {

// Error-mode bracket: on construction the error mode becomes "callback" and `callback` is
// installed; on destruction the previous callback and then the previous mode word come back,
// whatever path the kernel leaves by.
class VmErrorBracket {
  public:
    explicit VmErrorBracket(ArqErrorCallBack callback)
        : mode_(korb_arq_kernel_SetMode(ARQ_ERRMODE_CALLBACK)),
          callback_(korb_arq_kernel_SetErrorCallBack(callback)) {}
    ~VmErrorBracket() {
        korb_arq_kernel_SetErrorCallBack(callback_);
        vecmath::restore_mode(mode_);
    }
    VmErrorBracket(const VmErrorBracket &) = delete;
    VmErrorBracket &operator=(const VmErrorBracket &) = delete;

  private:
    unsigned int mode_;
    ArqErrorCallBack callback_;
};

// One vector-math call with denormals kept, whatever the caller's denormal mode: the variates
// must not depend on it.
template <class F, class... Args>
inline void vm(F kernel, Args... args) {
    const unsigned int mode = korb_arq_kernel_SetMode(ARQ_DENORMALS_KEEP);
    kernel(args...);
    vecmath::restore_mode(mode);
}

template <class T>
struct Precision;

// The kernels are the high-accuracy variants whatever the thread's accuracy mode, so that the
// variates a stream gives do not depend on it.
template <>
struct Precision<double> {
    static constexpr uint32_t kPendingKey = 2;               // Gaussian pending-pair chunk
    static constexpr double kLnOfZero = -744.4400719213812;  // ln of the least subnormal
    static constexpr double kTwoPi = 6.283185307179586;
    static constexpr double kSqrt2 = 1.4142135623730951;
    static constexpr double kHalfPi = 1.5707963267948966;  // 0x3FF921FB54442D18
    static int generate(const BrngProperties *row, BixStream *s, int n, double *r, double a,
                        double b) {
        return row->dGen(s, n, r, a, b);
    }
    static constexpr auto ln = _arqdLn;
    static constexpr auto exp = _arqdExp;
    static constexpr auto sin = _arqdSin;
    static constexpr auto cos = _arqdCos;
    static constexpr auto sin_cos = _arqdSinCos;
    static constexpr auto tan = _arqdTan;
    static constexpr auto sqrt = _arqdSqrt;
    static constexpr auto erf_inv = _arqdErfInv;
    static constexpr auto powx = _arqdPowx;
};

template <>
struct Precision<float> {
    static constexpr uint32_t kPendingKey = 1;
    static constexpr float kLnOfZero = -103.2789306640625f;
    static constexpr float kTwoPi = 6.28318548f;   // 0x40C90FDB
    static constexpr float kSqrt2 = 1.41421354f;   // 0x3FB504F3
    static constexpr float kHalfPi = 1.57079637f;  // 0x3FC90FDB
    static int generate(const BrngProperties *row, BixStream *s, int n, float *r, float a,
                        float b) {
        return row->sGen(s, n, r, a, b);
    }
    static constexpr auto ln = _arqsLn;
    static constexpr auto exp = _arqsExp;
    static constexpr auto sin = _arqsSin;
    static constexpr auto cos = _arqsCos;
    static constexpr auto sin_cos = _arqsSinCos;
    static constexpr auto tan = _arqsTan;
    static constexpr auto sqrt = _arqsSqrt;
    static constexpr auto erf_inv = _arqsErfInv;
    static constexpr auto powx = _arqsPowx;
};

// The error callback of the chains whose only special value is ln(0), from a uniform of 0: it
// writes the logarithm of the least subnormal, for a singularity or for any error.
enum class LnErrors { kSingularity, kAny };
template <class T, LnErrors kWhich>
int ln_of_zero(ArqErrorContext *c) {
    if (kWhich == LnErrors::kAny || c->code == ARQ_STATUS_SING) {
        c->r1 = c->r2 = Precision<T>::kLnOfZero;
    }
    return 0;
}

// n uniforms on [a, b) from one call of the stream's generator: the uniform kernel with method 0,
// through which every distribution draws.
template <class T>
inline int uniforms(BixStream *stream, int n, T *r, T a, T b) {
    int row = 0, member = 0;
    const BrngProperties *table = __bixGetBrngBaseOffset(stream->brng, &row, &member);
    return Precision<T>::generate(table + row, stream, n, r, a, b);
}

// r[i] = r[i] * scale + shift. The loop is written plainly; the compiler vectorises it, and the
// multiply and add stay separate operations, so every element gets the same bits.
template <class T>
inline void scale(int n, T *r, T scale, T shift) {
    for (int i = 0; i < n; ++i) r[i] = r[i] * scale + shift;
}

// r[i] = max(low, r[i] * scale + shift), for the distributions bounded below by a displacement.
template <class T>
inline void scale_above(int n, T *r, T scale, T shift, T low) {
    for (int i = 0; i < n; ++i) {
        const T x = r[i] * scale + shift;
        r[i] = x < low ? low : x;
    }
}

// r[i] into [a, b]; a NaN stays as it is (both comparisons are false).
template <class T>
inline void clamp(int n, T *r, T a, T b) {
    for (int i = 0; i < n; ++i) {
        T x = r[i];
        x = x < a ? a : x;
        r[i] = x > b ? b : x;
    }
}

}  // namespace korb::dist

// KORB_DIST_FOR_EACH(M, x, y, ...) is M(x) M(y) ...: each rescan inside KORB_DIST_EXPAND takes
// one more step, which allows 14 items, more than any kernel has parameters.
#define KORB_DIST_PARENS ()
#define KORB_DIST_EXPAND(...) KORB_DIST_EXPAND3(KORB_DIST_EXPAND3(KORB_DIST_EXPAND3(__VA_ARGS__)))
#define KORB_DIST_EXPAND3(...) KORB_DIST_EXPAND1(KORB_DIST_EXPAND1(KORB_DIST_EXPAND1(__VA_ARGS__)))
#define KORB_DIST_EXPAND1(...) __VA_ARGS__
#define KORB_DIST_FOR_EACH(M, ...) \
    __VA_OPT__(KORB_DIST_EXPAND(KORB_DIST_FOR_EACH_STEP(M, __VA_ARGS__)))
#define KORB_DIST_FOR_EACH_STEP(M, x, ...) \
    M(x) __VA_OPT__(KORB_DIST_FOR_EACH_AGAIN KORB_DIST_PARENS(M, __VA_ARGS__))
#define KORB_DIST_FOR_EACH_AGAIN() KORB_DIST_FOR_EACH_STEP
#define KORB_DIST_DOUBLE_PARAM(name) , double name
#define KORB_DIST_FLOAT_PARAM(name) , float name

// The double and single entry points of a distribution whose parameters are all reals:
// _bixdRng<Name>(method, stream, n, r, params...) and _bixsRng<Name>(...) call
// korb::dist::kernel<T>(method, stream, n, r, params...), the parameters named in prototype order.
#define KORB_DIST_ENTRY_POINTS(Name, kernel, ...)                                           \
    extern "C" int _bixdRng##Name(                                                          \
        int method, BixStream *stream, int n,                                               \
        double r[] KORB_DIST_FOR_EACH(KORB_DIST_DOUBLE_PARAM, __VA_ARGS__)) {               \
        return korb::dist::kernel<double>(method, stream, n, r __VA_OPT__(, ) __VA_ARGS__); \
    }                                                                                       \
    extern "C" int _bixsRng##Name(                                                          \
        int method, BixStream *stream, int n,                                               \
        float r[] KORB_DIST_FOR_EACH(KORB_DIST_FLOAT_PARAM, __VA_ARGS__)) {                 \
        return korb::dist::kernel<float>(method, stream, n, r __VA_OPT__(, ) __VA_ARGS__);  \
    }
