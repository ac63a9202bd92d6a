// The floor of the integer-output kernels: truncate toward zero, convert back, step down by one
// where the truncated value lies above x, truncate again. The conversions are the processor's
// truncating ones, so a value out of the int range (only a misbehaving generator or an unchecked
// parameter gives one) comes out as INT_MIN rather than undefined.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace korb::dist {

inline void floor_to_int(int n, const double *x, int32_t *r) {
    const __m128d one = _mm_set1_pd(1.0);
    int i = 0;
    for (; i + 2 <= n; i += 2) {
        __m128d v = _mm_loadu_pd(x + i);
        const __m128d above = _mm_cmpgt_pd(_mm_cvtepi32_pd(_mm_cvttpd_epi32(v)), v);
        v = _mm_sub_pd(v, _mm_and_pd(above, one));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(r + i), _mm_cvttpd_epi32(v));
    }
    for (; i < n; ++i) {
        double v = x[i];
        if (static_cast<double>(_mm_cvttsd_si32(_mm_set_sd(v))) > v) v = v - 1.0;
        r[i] = _mm_cvttsd_si32(_mm_set_sd(v));
    }
}

inline void floor_to_int(int n, const float *x, int32_t *r) {
    const __m128 one = _mm_set1_ps(1.0f);
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        __m128 v = _mm_loadu_ps(x + i);
        const __m128 above = _mm_cmpgt_ps(_mm_cvtepi32_ps(_mm_cvttps_epi32(v)), v);
        v = _mm_sub_ps(v, _mm_and_ps(above, one));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(r + i), _mm_cvttps_epi32(v));
    }
    for (; i < n; ++i) {
        float v = x[i];
        if (static_cast<float>(_mm_cvttss_si32(_mm_set_ss(v))) > v) v = v - 1.0f;
        r[i] = _mm_cvttss_si32(_mm_set_ss(v));
    }
}

}  // namespace korb::dist
