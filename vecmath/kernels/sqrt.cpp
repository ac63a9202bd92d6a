// Square roots, single and double, by the processor's correctly rounded square-root instruction.
//
// Blocks of four vectors with no element below zero take sqrtps/sqrtpd; a block holding a
// negative element, and the last elements that fill no block, go element by element: a negative
// number (also -Inf) gives the processor's default NaN (0xFFC00000, 0xFFF8000000000000) with
// ARQ_STATUS_ERRDOM. -0 gives -0, a NaN comes back quiet, +Inf gives +Inf, without status.
// "Below zero" is a floating compare on both paths, so under denormals-are-zero a negative
// subnormal reads as -0 on both alike. Error: 0.5 ulp (correctly rounded).
#include <emmintrin.h>

#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

inline simd::f64v sqrt_lanes(simd::f64v x) {
    return _mm_sqrt_pd(x);
}
inline simd::f32v sqrt_lanes(simd::f32v x) {
    return _mm_sqrt_ps(x);
}
inline double sqrt_scalar(double x) {
    return _mm_cvtsd_f64(_mm_sqrt_sd(_mm_set_sd(x), _mm_set_sd(x)));
}
inline float sqrt_scalar(float x) {
    return _mm_cvtss_f32(_mm_sqrt_ss(_mm_set_ss(x)));
}
inline double domain_nan(double) {
    return double_from(std::uint64_t{0xFFF8000000000000});
}
inline float domain_nan(float) {
    return float_from(std::uint32_t{0xFFC00000});
}

template <class T>
T sqrt_element(T x, int &status) {
    status = ARQ_STATUS_OK;
    if (x < T(0)) {
        status = ARQ_STATUS_ERRDOM;
        return domain_nan(x);
    }
    return sqrt_scalar(x);
}

template <class T>
void sqrt_kernel(int n, const T *a, T *r, const char *name) {
    if (n <= 0) return;
    KernelFrame frame;
    using V = typename simd::VectorOf<T>::type;
    constexpr int kLanes = simd::kLanes<T>;
    constexpr int kVectors = 4;
    constexpr int kBlock = kVectors * kLanes;
    const int blocks_end = n - n % kBlock;
    for (int i = 0; i < blocks_end; i += kBlock) {
        V x[kVectors];
        for (int v = 0; v < kVectors; ++v) x[v] = simd::load<V>(a + i + v * kLanes);
        auto negative = x[0] < T(0);
        for (int v = 1; v < kVectors; ++v) negative |= x[v] < T(0);
        if (_mm_movemask_epi8(reinterpret_cast<__m128i>(negative)) != 0) {
            run_elements<sqrt_element<T>>(i, i + kBlock, a, r, name);
            continue;
        }
        for (int v = 0; v < kVectors; ++v) simd::store(r + i + v * kLanes, sqrt_lanes(x[v]));
    }
    run_elements<sqrt_element<T>>(blocks_end, n, a, r, name);
}

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sSqrt_A(int n, const float *a,
                                                                      float *r) {
    sqrt_kernel(n, a, r, "vsSqrt");
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dSqrt_A(int n, const double *a,
                                                                      double *r) {
    sqrt_kernel(n, a, r, "vdSqrt");
}

}  // namespace korb::vecmath
