// A small vector layer over GCC vector extensions for the kernels' hot loops.
//
// The default class is compiled for baseline x86-64, so vectors are 16 bytes (SSE2) here; a
// build for a wider class widens kVectorBytes and the few intrinsics below, and kernels written
// against kU64Lanes stay unchanged.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace korb::simd {

constexpr int kVectorBytes = 16;

using u64v = uint64_t __attribute__((vector_size(kVectorBytes)));
using u32v = uint32_t __attribute__((vector_size(kVectorBytes)));
using f64v = double __attribute__((vector_size(kVectorBytes)));
using f32v = float __attribute__((vector_size(kVectorBytes)));

constexpr int kU64Lanes = kVectorBytes / 8;

// Products of the low 32 bits of each 64-bit lane, as full 64-bit products.
inline u64v mul_lo32(u64v a, u64v b) {
    return reinterpret_cast<u64v>(
        _mm_mul_epu32(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
}

inline u64v broadcast(uint64_t v) {
    return u64v{} + v;
}

// Exact conversion of lanes holding values below 2^52 to double: the value is or-ed into the
// mantissa of 2^52, and 2^52 is subtracted again.
inline f64v to_double_exact(u64v v) {
    constexpr uint64_t kTwo52Bits = 0x4330000000000000ull;
    return reinterpret_cast<f64v>(v | kTwo52Bits) - 0x1p52;
}

inline double to_double_exact(uint32_t v) {
    uint64_t bits = 0x4330000000000000ull | v;
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d - 0x1p52;
}

// The low 32 bits of each lane of two vectors, in lane order: a's lanes, then b's.
inline u32v low_halves(u64v a, u64v b) {
    return __builtin_shufflevector(reinterpret_cast<u32v>(a), reinterpret_cast<u32v>(b), 0, 2, 4,
                                   6);
}

// Two vectors of doubles narrowed to one vector of floats, in lane order.
inline f32v narrow(f64v a, f64v b) {
    return _mm_movelh_ps(_mm_cvtpd_ps(a), _mm_cvtpd_ps(b));
}

template <class V, class T>
inline void store(T *dst, V v) {
    std::memcpy(dst, &v, sizeof v);
}

// The vector type holding lanes of T, and its lane count.
template <class T>
struct VectorOf;
template <>
struct VectorOf<double> {
    using type = f64v;
};
template <>
struct VectorOf<float> {
    using type = f32v;
};
template <class T>
constexpr int kLanes = kVectorBytes / static_cast<int>(sizeof(T));

template <class V, class T>
inline V load(const T *src) {
    V v;
    std::memcpy(&v, src, sizeof v);
    return v;
}

// src must be aligned to kVectorBytes.
template <class V, class T>
inline V load_aligned(const T *src) {
    return *reinterpret_cast<const V *>(__builtin_assume_aligned(src, kVectorBytes));
}

template <class V, class T>
inline V splat(T v) {
    return V{} + v;
}

// Lane by lane a < b ? a : b and a > b ? a : b: b is kept on ties and whenever either lane is
// NaN, exactly as the scalar expressions do.
inline f64v min_lanes(f64v a, f64v b) {
    return _mm_min_pd(a, b);
}
inline f32v min_lanes(f32v a, f32v b) {
    return _mm_min_ps(a, b);
}
inline f64v max_lanes(f64v a, f64v b) {
    return _mm_max_pd(a, b);
}
inline f32v max_lanes(f32v a, f32v b) {
    return _mm_max_ps(a, b);
}

// p, hidden from the optimiser: constants read through it stay operands in memory instead of
// being rebuilt in registers on every iteration (with SSE2 a broadcast costs two instructions
// where a memory operand costs none).
template <class T>
inline const T *opaque(const T *p) {
    asm("" : "+r"(p));
    return p;
}

}  // namespace korb::simd
