// The floor of the integer-output kernels: truncate toward zero, convert back, step down by one
// where the truncated value lies above x, truncate again. The conversions are the processor's
// truncating ones, so a value out of the int range (only a misbehaving generator or an unchecked
// parameter gives one) comes out as INT_MIN rather than undefined.
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/simd.h"

namespace korb::dist {

inline void floor_to_int(int n, const double *x, int32_t *r) {
    using simd::f64v;
    using i64v = int64_t __attribute__((vector_size(simd::kVectorBytes)));
    using i32v = int32_t __attribute__((vector_size(simd::kVectorBytes)));
    constexpr int kLanes = simd::kLanes<double>;
    int i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        f64v v = simd::load<f64v>(x + i);
        const i32v t = reinterpret_cast<i32v>(simd::truncate_to_int32(v));
        const f64v truncated = __builtin_convertvector(__builtin_shufflevector(t, t, 0, 1), f64v);
        const i64v above = truncated > v;
        v = v - reinterpret_cast<f64v>(reinterpret_cast<i64v>(simd::splat<f64v>(1.0)) & above);
        const simd::u32v result = simd::truncate_to_int32(v);
        std::memcpy(r + i, &result, kLanes * sizeof(int32_t));
    }
    for (; i < n; ++i) {
        double v = x[i];
        if (static_cast<double>(simd::truncate_to_int32(v)) > v) v = v - 1.0;
        r[i] = simd::truncate_to_int32(v);
    }
}

inline void floor_to_int(int n, const float *x, int32_t *r) {
    using simd::f32v;
    using i32v = int32_t __attribute__((vector_size(simd::kVectorBytes)));
    constexpr int kLanes = simd::kLanes<float>;
    int i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        f32v v = simd::load<f32v>(x + i);
        const i32v t = reinterpret_cast<i32v>(simd::truncate_to_int32(v));
        const i32v above = __builtin_convertvector(t, f32v) > v;
        v = v - reinterpret_cast<f32v>(reinterpret_cast<i32v>(simd::splat<f32v>(1.0f)) & above);
        simd::store(r + i, simd::truncate_to_int32(v));
    }
    for (; i < n; ++i) {
        float v = x[i];
        if (static_cast<float>(simd::truncate_to_int32(v)) > v) v = v - 1.0f;
        r[i] = simd::truncate_to_int32(v);
    }
}

}  // namespace korb::dist
