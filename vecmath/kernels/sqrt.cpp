// Square roots, single and double, by the processor's correctly rounded square-root instruction.
//
// Blocks of four vectors with no element below zero take the vector instruction; a vector holding
// a negative element, and the last elements that fill no vector, go element by element: a
// negative number (also -Inf) gives the processor's default NaN (0xFFC00000,
// 0xFFF8000000000000) with ARQ_STATUS_ERRDOM. -0 gives -0, a NaN comes back quiet, +Inf gives
// +Inf, without status. "Below zero" is a floating compare on both paths, so under
// denormals-are-zero a negative subnormal reads as -0 on both alike. Error: 0.5 ulp (correctly
// rounded).
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/driver.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath {
namespace {

inline double domain_nan(double) {
    return double_from(std::uint64_t{0xFFF8000000000000});
}
inline float domain_nan(float) {
    return float_from(std::uint32_t{0xFFC00000});
}

template <class T, const char *kFunction>
struct Sqrt {
    using Element = T;
    using Compute = T;
    using Context = NoContext;
    using V = simd::Vec<T>;
    static constexpr const char *kName = kFunction;
    static constexpr int kVectors = 4;

    static const Context &context() { return kNoContext; }

    static T element(T x, const Context &, int &status) {
        status = ARQ_STATUS_OK;
        if (x < T(0)) {
            status = ARQ_STATUS_ERRDOM;
            return domain_nan(x);
        }
        return simd::sqrt(x);
    }

    static simd::Bits<V> unusual(V x, const Context &) { return simd::mask<V>(x < T(0)); }

    static V lanes(V x, const T *, const Context &) { return simd::sqrt(x); }
};

constexpr char kSingle[] = "vsSqrt";
constexpr char kDouble[] = "vdSqrt";

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void korb_vm_sSqrt_A(int n, const float *a,
                                                                      float *r) {
    run_one<Sqrt<float, kSingle>>(n, a, r);
}

extern "C" __attribute__((visibility("hidden"))) void korb_vm_dSqrt_A(int n, const double *a,
                                                                      double *r) {
    run_one<Sqrt<double, kDouble>>(n, a, r);
}

}  // namespace korb::vecmath
