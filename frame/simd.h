// The processor layer of the hot loops: every intrinsic, and the vector width, live here.
//
// Two families of vectors:
//
// - Vec<T>, the native vector of the processor class being compiled, chosen from the compiler's
//   predefined macros: 64 bytes with AVX-512 F/BW/DQ/VL (x86-64-v4), 32 bytes with AVX2
//   (x86-64-v3), 16 bytes (SSE2) otherwise. The vector-math kernels are written against it and
//   against the lane helpers below, which treat a scalar (one lane) and a vector alike, so that
//   one template gives a kernel's element path and its vector path. Nothing outside this header
//   names an instruction set or a lane count; a wider class is a compiler flag.
//
// - u64v, u32v, f64v, f32v: 16-byte vectors whatever the class, for the code written around
//   128-bit words or pairs of doubles (the generators, whose SIMD-oriented twister is defined on
//   128-bit words, and the min/max statistics). They stay 16 bytes wide in every class.
//
// Every operation here is exact or rounds as the scalar operation does, so a lane computes the
// same bits in every class.
#pragma once

#include <immintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#if defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__)
#define KORB_SIMD_BYTES 64
#elif defined(__AVX2__)
#define KORB_SIMD_BYTES 32
#else
#define KORB_SIMD_BYTES 16
#endif

namespace korb::simd {

// ---- 16-byte vectors ----------------------------------------------------------------------

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

// Two vectors of doubles narrowed to one vector of floats, in lane order (rounded as the
// scalar conversion rounds).
inline f32v narrow(f64v a, f64v b) {
    return _mm_movelh_ps(_mm_cvtpd_ps(a), _mm_cvtpd_ps(b));
}

// The processor's truncating conversions to 32-bit integers: a value out of the int range gives
// INT_MIN (0x80000000) instead of undefined behaviour. The double form fills the low two lanes
// and clears the other two.
inline u32v truncate_to_int32(f64v v) {
    return reinterpret_cast<u32v>(_mm_cvttpd_epi32(v));
}
inline u32v truncate_to_int32(f32v v) {
    return reinterpret_cast<u32v>(_mm_cvttps_epi32(v));
}
inline int32_t truncate_to_int32(double v) {
    return _mm_cvttsd_si32(_mm_set_sd(v));
}
inline int32_t truncate_to_int32(float v) {
    return _mm_cvttss_si32(_mm_set_ss(v));
}

// The 128-bit word v shifted by whole bytes, zeros shifted in; lane 0 holds the low bits.
template <int kBytes>
inline u32v shift_bytes_up(u32v v) {
    return reinterpret_cast<u32v>(_mm_slli_si128(reinterpret_cast<__m128i>(v), kBytes));
}
template <int kBytes>
inline u32v shift_bytes_down(u32v v) {
    return reinterpret_cast<u32v>(_mm_srli_si128(reinterpret_cast<__m128i>(v), kBytes));
}

template <class V, class T>
inline void store(T *dst, V v) {
    std::memcpy(dst, &v, sizeof v);
}

// The 16-byte vector type holding lanes of T, and its lane count.
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

// src must be aligned to the size of V.
template <class V, class T>
inline V load_aligned(const T *src) {
    return *reinterpret_cast<const V *>(__builtin_assume_aligned(src, sizeof(V)));
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

// ---- The native vectors -------------------------------------------------------------------

constexpr int kNativeBytes = KORB_SIMD_BYTES;

// Whether a kernel that can screen its arguments both ways tests whole vectors rather than each
// element in integer registers. With two lanes the element test is cheap and leaves the vector
// units to the arithmetic; with four or eight lanes it costs four or five integer instructions
// per element, where the vector test costs three for the whole vector.
constexpr bool kScreenVectors = kNativeBytes > 16;

// Whether table indices that must come from a computed vector (not from the elements in memory)
// are masked and scaled on the vector before they are stored and read back one per lane, rather
// than after, in integer registers: with four or eight lanes the vector does it in two
// instructions. Indices that can be read from the elements themselves are better taken there in
// every class: dLn's, read back from a stored vector, took 1.4 times as long with AVX-512 on
// AMD Zen 4 (the loads wait for the 64-byte store).
constexpr bool kVectorIndices = kNativeBytes > 16;

template <class T>
struct Native;
#define KORB_SIMD_NATIVE(T)                                        \
    template <>                                                    \
    struct Native<T> {                                             \
        typedef T type __attribute__((vector_size(kNativeBytes))); \
    }
KORB_SIMD_NATIVE(double);
KORB_SIMD_NATIVE(float);
KORB_SIMD_NATIVE(uint64_t);
KORB_SIMD_NATIVE(int64_t);
KORB_SIMD_NATIVE(uint32_t);
KORB_SIMD_NATIVE(int32_t);
#undef KORB_SIMD_NATIVE

template <class T>
using Vec = typename Native<T>::type;

// Loads and stores of a native vector at a pointer to its own element type, at any alignment.
// They are typed accesses, unlike a memcpy: the compiler knows they touch elements of that type
// only, and keeps pointers and other state in registers across them.
template <class T>
struct Unaligned;
#define KORB_SIMD_UNALIGNED(T)                                                          \
    template <>                                                                         \
    struct Unaligned<T> {                                                               \
        typedef T type __attribute__((vector_size(kNativeBytes), aligned(alignof(T)))); \
    }
KORB_SIMD_UNALIGNED(double);
KORB_SIMD_UNALIGNED(float);
KORB_SIMD_UNALIGNED(uint64_t);
KORB_SIMD_UNALIGNED(uint32_t);
#undef KORB_SIMD_UNALIGNED

template <class T>
[[gnu::always_inline]] inline Vec<T> load_lanes(const T *p) {
    return *reinterpret_cast<const typename Unaligned<T>::type *>(p);
}
template <class T>
[[gnu::always_inline]] inline void store_lanes(T *p, Vec<T> v) {
    *reinterpret_cast<typename Unaligned<T>::type *>(p) = v;
}

// Vectors of kRegisters native vectors, computed register by register side by side: a long
// dependency chain on them hides its latency.
template <class T, int kRegisters>
struct Wide;
template <int kRegisters>
struct Wide<double, kRegisters> {
    typedef double type __attribute__((vector_size(kRegisters * kNativeBytes)));
};
template <int kRegisters>
struct Wide<uint64_t, kRegisters> {
    typedef uint64_t type __attribute__((vector_size(kRegisters * kNativeBytes)));
};

// What a lane type holds: one element (double, float) or a vector of them. Bits is the unsigned
// integer type of the same shape, Int the signed one, kCount the number of lanes.
template <class V>
struct LaneOf;
template <>
struct LaneOf<double> {
    using Element = double;
    using Bits = uint64_t;
    using Int = int64_t;
    static constexpr int kCount = 1;
};
template <>
struct LaneOf<float> {
    using Element = float;
    using Bits = uint32_t;
    using Int = int32_t;
    static constexpr int kCount = 1;
};
template <>
struct LaneOf<Vec<double>> {
    using Element = double;
    using Bits = Vec<uint64_t>;
    using Int = Vec<int64_t>;
    static constexpr int kCount = kNativeBytes / 8;
};
template <>
struct LaneOf<Vec<float>> {
    using Element = float;
    using Bits = Vec<uint32_t>;
    using Int = Vec<int32_t>;
    static constexpr int kCount = kNativeBytes / 4;
};
template <>
struct LaneOf<Wide<double, 2>::type> {
    using Element = double;
    using Bits = Wide<uint64_t, 2>::type;
    static constexpr int kCount = 2 * kNativeBytes / 8;
};

template <class V>
using Bits = typename LaneOf<V>::Bits;
template <class V>
using Int = typename LaneOf<V>::Int;
template <class V>
constexpr int kCount = LaneOf<V>::kCount;

template <class V>
[[gnu::always_inline]] inline Bits<V> to_bits(V v) {
    return std::bit_cast<Bits<V>>(v);
}
template <class V>
[[gnu::always_inline]] inline V from_bits(Bits<V> b) {
    return std::bit_cast<V>(b);
}

// Lane masks are lanes of all ones or all zeros, in V's Bits type, for a scalar as for a vector.
// mask<V>(a < b) turns a comparison (a bool, or a vector of 0 and -1) into one.
template <class V, class Comparison>
[[gnu::always_inline]] inline Bits<V> mask(Comparison c) {
    if constexpr (kCount<V> == 1) {
        return Bits<V>{0} - static_cast<Bits<V>>(c);
    } else {
        return reinterpret_cast<Bits<V>>(c);
    }
}

// Bit l set where lane l of the mask m is set.
template <class U>
[[gnu::always_inline]] inline unsigned mask_bits(U m) {
    if constexpr (std::is_integral_v<U>) {
        return m != 0;
    } else if constexpr (sizeof(m[0]) == 8) {
#if KORB_SIMD_BYTES == 64
        return _mm512_movepi64_mask(reinterpret_cast<__m512i>(m));
#elif KORB_SIMD_BYTES == 32
        return static_cast<unsigned>(_mm256_movemask_pd(reinterpret_cast<__m256d>(m)));
#else
        return static_cast<unsigned>(_mm_movemask_pd(reinterpret_cast<__m128d>(m)));
#endif
    } else {
#if KORB_SIMD_BYTES == 64
        return _mm512_movepi32_mask(reinterpret_cast<__m512i>(m));
#elif KORB_SIMD_BYTES == 32
        return static_cast<unsigned>(_mm256_movemask_ps(reinterpret_cast<__m256>(m)));
#else
        return static_cast<unsigned>(_mm_movemask_ps(reinterpret_cast<__m128>(m)));
#endif
    }
}

template <class U>
[[gnu::always_inline]] inline bool any(U m) {
    return mask_bits(m) != 0;
}

template <class U>
[[gnu::always_inline]] inline bool all(U m) {
    if constexpr (std::is_integral_v<U>) {
        return m != 0;
    } else {
        constexpr int kLaneCount = sizeof(U) / sizeof(m[0]);
        return mask_bits(m) == (kLaneCount >= 32 ? ~0u : (1u << kLaneCount) - 1);
    }
}

// All ones in the lanes where the pattern x is below c, for patterns below the sign bit (the
// magnitudes of floating values, NaNs included, which order as their patterns do). Unlike a
// floating-point comparison it raises no flag when a lane holds a NaN.
template <class U>
[[gnu::always_inline]] inline U below(U x, U c) {
    if constexpr (std::is_integral_v<U>) {
        return U{0} - ((x - c) >> (8 * sizeof(U) - 1));
    } else {
        return U{} - ((x - c) >> (8 * sizeof(x[0]) - 1));
    }
}

// if_set where the mask is set, if_clear elsewhere.
template <class V>
[[gnu::always_inline]] inline V select(Bits<V> m, V if_set, V if_clear) {
    return from_bits<V>((to_bits(if_set) & m) | (to_bits(if_clear) & ~m));
}

// |v|: the sign bits cleared.
template <class V>
[[gnu::always_inline]] inline V abs(V v) {
    using E = typename LaneOf<V>::Element;
    using U = std::conditional_t<sizeof(E) == 8, uint64_t, uint32_t>;
    constexpr U kMagnitude = ~(U{1} << (8 * sizeof(E) - 1));
    return from_bits<V>(to_bits(v) & kMagnitude);
}

namespace detail {
template <class V, int... I>
[[gnu::always_inline]] inline Vec<int32_t> odd_words(V words, std::integer_sequence<int, I...>) {
    return __builtin_shufflevector(words, words, (2 * I + 1)..., (2 * I + 1)...);
}
}  // namespace detail

// The high 32-bit word of each 64-bit lane, as signed 32-bit lanes in lane order in the low half
// of the result (the high half repeats them).
[[gnu::always_inline]] inline Vec<int32_t> high_words(Vec<uint64_t> b) {
    return detail::odd_words(reinterpret_cast<Vec<int32_t>>(b),
                             std::make_integer_sequence<int, kCount<Vec<double>>>{});
}

// The signed 32-bit lanes of the low half, exactly, one per lane of a vector of doubles.
[[gnu::always_inline]] inline Vec<double> low_half_to_double(Vec<int32_t> v) {
#if KORB_SIMD_BYTES == 64
    return _mm512_cvtepi32_pd(_mm512_castsi512_si256(reinterpret_cast<__m512i>(v)));
#elif KORB_SIMD_BYTES == 32
    return _mm256_cvtepi32_pd(_mm256_castsi256_si128(reinterpret_cast<__m256i>(v)));
#else
    return _mm_cvtepi32_pd(reinterpret_cast<__m128i>(v));
#endif
}

// Signed 32-bit lanes to floats, rounded as the scalar conversion rounds.
[[gnu::always_inline]] inline Vec<float> to_float(Vec<int32_t> v) {
    return __builtin_convertvector(v, Vec<float>);
}

// The correctly rounded square root of each lane; a scalar by the same instruction, with no
// call on a negative argument.
[[gnu::always_inline]] inline double sqrt(double x) {
    return _mm_cvtsd_f64(_mm_sqrt_sd(_mm_set_sd(x), _mm_set_sd(x)));
}
[[gnu::always_inline]] inline float sqrt(float x) {
    return _mm_cvtss_f32(_mm_sqrt_ss(_mm_set_ss(x)));
}
[[gnu::always_inline]] inline Vec<double> sqrt(Vec<double> x) {
#if KORB_SIMD_BYTES == 64
    return _mm512_sqrt_pd(x);
#elif KORB_SIMD_BYTES == 32
    return _mm256_sqrt_pd(x);
#else
    return _mm_sqrt_pd(x);
#endif
}
[[gnu::always_inline]] inline Vec<float> sqrt(Vec<float> x) {
#if KORB_SIMD_BYTES == 64
    return _mm512_sqrt_ps(x);
#elif KORB_SIMD_BYTES == 32
    return _mm256_sqrt_ps(x);
#else
    return _mm_sqrt_ps(x);
#endif
}

// A vector of floats as two vectors of doubles, exactly: the low lanes, then the high ones.
[[gnu::always_inline]] inline void widen(Vec<float> x, Vec<double> &lo, Vec<double> &hi) {
#if KORB_SIMD_BYTES == 64
    lo = _mm512_cvtps_pd(_mm512_castps512_ps256(x));
    hi = _mm512_cvtps_pd(_mm512_extractf32x8_ps(x, 1));
#elif KORB_SIMD_BYTES == 32
    lo = _mm256_cvtps_pd(_mm256_castps256_ps128(x));
    hi = _mm256_cvtps_pd(_mm256_extractf128_ps(x, 1));
#else
    lo = _mm_cvtps_pd(x);
    hi = _mm_cvtps_pd(_mm_movehl_ps(x, x));
#endif
}

#if KORB_SIMD_BYTES > 16
// Two native vectors of doubles narrowed to one of floats, in lane order (the 16-byte form is
// the narrow above).
[[gnu::always_inline]] inline Vec<float> narrow(Vec<double> lo, Vec<double> hi) {
#if KORB_SIMD_BYTES == 64
    return _mm512_insertf32x8(_mm512_castps256_ps512(_mm512_cvtpd_ps(lo)), _mm512_cvtpd_ps(hi), 1);
#else
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm256_cvtpd_ps(lo)), _mm256_cvtpd_ps(hi),
                                1);
#endif
}
#endif

// ---- Integer lanes of the generators ------------------------------------------------------

#if KORB_SIMD_BYTES > 16
// The 16-byte forms of these are mul_lo32, to_double_exact and low_halves above (at 16 bytes a
// native vector is the 16-byte one).

// Products of the low 32 bits of each 64-bit lane, as full 64-bit products.
[[gnu::always_inline]] inline Vec<uint64_t> mul_lo32(Vec<uint64_t> a, Vec<uint64_t> b) {
#if KORB_SIMD_BYTES == 64
    return reinterpret_cast<Vec<uint64_t>>(
        _mm512_mul_epu32(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b)));
#else
    return reinterpret_cast<Vec<uint64_t>>(
        _mm256_mul_epu32(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
#endif
}

// Exact conversion of lanes holding values below 2^52 to double.
[[gnu::always_inline]] inline Vec<double> to_double_exact(Vec<uint64_t> v) {
    return reinterpret_cast<Vec<double>>(v | 0x4330000000000000ull) - 0x1p52;
}

namespace detail {
template <int... I>
[[gnu::always_inline]] inline Vec<uint32_t> even_words(Vec<uint32_t> a, Vec<uint32_t> b,
                                                       std::integer_sequence<int, I...>) {
    return __builtin_shufflevector(a, b, (2 * I)...);
}
}  // namespace detail

// The low 32 bits of each lane of two vectors, in lane order: a's lanes, then b's.
[[gnu::always_inline]] inline Vec<uint32_t> low_halves(Vec<uint64_t> a, Vec<uint64_t> b) {
    return detail::even_words(reinterpret_cast<Vec<uint32_t>>(a),
                              reinterpret_cast<Vec<uint32_t>>(b),
                              std::make_integer_sequence<int, kNativeBytes / 4>{});
}
#endif

// ---- Complex lanes ------------------------------------------------------------------------
//
// Complex numbers are stored real part first. A unit of complex lanes is as many complex numbers
// as a native vector has doubles: two native vectors of doubles, or one native vector of floats,
// split into a vector of real parts and one of imaginary parts (in doubles, a float widened
// exactly), and joined back (a double narrowed as the scalar conversion rounds).

// Half a native vector of floats: the floats of one vector of doubles.
typedef float HalfFloat __attribute__((vector_size(kNativeBytes / 2)));

namespace detail {
constexpr int kDoubles = kNativeBytes / 8;
template <int... I>
[[gnu::always_inline]] inline void split_pairs(Vec<double> v0, Vec<double> v1, Vec<double> &re,
                                               Vec<double> &im, std::integer_sequence<int, I...>) {
    re = __builtin_shufflevector(v0, v1, (2 * I)...);
    im = __builtin_shufflevector(v0, v1, (2 * I + 1)...);
}
template <int... I>
[[gnu::always_inline]] inline void join_pairs(Vec<double> re, Vec<double> im, Vec<double> &v0,
                                              Vec<double> &v1, std::integer_sequence<int, I...>) {
    v0 = __builtin_shufflevector(re, im, (I % 2 == 0 ? I / 2 : kDoubles + I / 2)...);
    v1 = __builtin_shufflevector(
        re, im, (I % 2 == 0 ? kDoubles / 2 + I / 2 : kDoubles + kDoubles / 2 + I / 2)...);
}
template <int... I>
[[gnu::always_inline]] inline void split_float_pairs(Vec<float> v, HalfFloat &re, HalfFloat &im,
                                                     std::integer_sequence<int, I...>) {
    re = __builtin_shufflevector(v, v, (2 * I)...);
    im = __builtin_shufflevector(v, v, (2 * I + 1)...);
}
template <int... I>
[[gnu::always_inline]] inline Vec<float> join_float_pairs(HalfFloat re, HalfFloat im,
                                                          std::integer_sequence<int, I...>) {
    return __builtin_shufflevector(re, im, (I % 2 == 0 ? I / 2 : kDoubles + I / 2)...);
}
}  // namespace detail

// The complex doubles at p (kCount<Vec<double>> of them) as real and imaginary parts, and back.
[[gnu::always_inline]] inline void load_complex(const double *p, Vec<double> &re, Vec<double> &im) {
    detail::split_pairs(load_lanes(p), load_lanes(p + detail::kDoubles), re, im,
                        std::make_integer_sequence<int, detail::kDoubles>{});
}
[[gnu::always_inline]] inline void store_complex(double *p, Vec<double> re, Vec<double> im) {
    Vec<double> v0, v1;
    detail::join_pairs(re, im, v0, v1, std::make_integer_sequence<int, detail::kDoubles>{});
    store_lanes(p, v0);
    store_lanes(p + detail::kDoubles, v1);
}
// The complex floats at p (as many), widened to doubles, and narrowed back.
[[gnu::always_inline]] inline void load_complex(const float *p, Vec<double> &re, Vec<double> &im) {
    HalfFloat r, i;
    detail::split_float_pairs(load_lanes(p), r, i,
                              std::make_integer_sequence<int, detail::kDoubles>{});
    re = __builtin_convertvector(r, Vec<double>);
    im = __builtin_convertvector(i, Vec<double>);
}
[[gnu::always_inline]] inline void store_complex(float *p, Vec<double> re, Vec<double> im) {
    store_lanes(p,
                detail::join_float_pairs(__builtin_convertvector(re, HalfFloat),
                                         __builtin_convertvector(im, HalfFloat),
                                         std::make_integer_sequence<int, 2 * detail::kDoubles>{}));
}
// kCount<Vec<double>> reals at p, as doubles (floats widened), and stored back (narrowed).
[[gnu::always_inline]] inline Vec<double> load_reals(const double *p) {
    return load_lanes(p);
}
[[gnu::always_inline]] inline Vec<double> load_reals(const float *p) {
    HalfFloat h;
    std::memcpy(&h, p, sizeof h);
    return __builtin_convertvector(h, Vec<double>);
}
[[gnu::always_inline]] inline void store_reals(double *p, Vec<double> v) {
    store_lanes(p, v);
}
[[gnu::always_inline]] inline void store_reals(float *p, Vec<double> v) {
    const HalfFloat h = __builtin_convertvector(v, HalfFloat);
    std::memcpy(p, &h, sizeof h);
}

// Two adjacent fields of table rows, lane by lane: lane l of first is base[kStride · row(l)] and
// lane l of second the double after it. base + kStride · row must be 16-byte aligned: each row's
// pair is read with one load, and the pairs are transposed into the two vectors.
template <int kStride, class Row>
[[gnu::always_inline]] inline void gather_pairs(const double *base, Row row, Vec<double> &first,
                                                Vec<double> &second) {
    const auto pair = [&](int l) { return load_aligned<f64v>(base + kStride * row(l)); };
#if KORB_SIMD_BYTES == 64
    // Rows 0, 2, 4, 6 in the 128-bit quarters of one vector, rows 1, 3, 5, 7 in the other; each
    // built from two 32-byte halves, whose inserts are cheaper than those of 16-byte quarters
    // into a 64-byte vector.
    const auto halves = [&](int l) {
        return _mm256_insertf128_pd(_mm256_castpd128_pd256(pair(l)), pair(l + 2), 1);
    };
    const __m512d even = _mm512_insertf64x4(_mm512_castpd256_pd512(halves(0)), halves(4), 1);
    const __m512d odd = _mm512_insertf64x4(_mm512_castpd256_pd512(halves(1)), halves(5), 1);
    first = _mm512_unpacklo_pd(even, odd);
    second = _mm512_unpackhi_pd(even, odd);
#elif KORB_SIMD_BYTES == 32
    const __m256d even = _mm256_set_m128d(pair(2), pair(0));
    const __m256d odd = _mm256_set_m128d(pair(3), pair(1));
    first = _mm256_unpacklo_pd(even, odd);
    second = _mm256_unpackhi_pd(even, odd);
#else
    const f64v e0 = pair(0), e1 = pair(1);
    first = __builtin_shufflevector(e0, e1, 0, 2);
    second = __builtin_shufflevector(e0, e1, 1, 3);
#endif
}

// Two adjacent fields of table rows, lane by lane, from offsets made on the vector: lane l of
// first is base[offset[l]] and lane l of second the double after it.
[[gnu::always_inline]] inline void gather_pairs(const double *base, Vec<uint64_t> offset,
                                                Vec<double> &first, Vec<double> &second) {
    // The processor's gathers were measured slower here (dExp 1.2 to 1.3 times the time with
    // AVX2 and AVX-512 on AMD Zen 4): the offsets go through memory and each row is one load.
    alignas(kNativeBytes) uint64_t stored[kCount<Vec<double>>];
    store_lanes(stored, offset);
    const uint64_t *o = opaque(stored);
    gather_pairs<1>(
        base, [o](int l) { return o[l]; }, first, second);
}

// Fields 0, 2 and 3 of table rows of four doubles, lane by lane: lane l of f0, f2, f3 is
// base[kStride · row(l)] and the doubles two and three places after it. base + kStride · row
// must be 32-byte aligned. With 64-byte vectors each row is one 32-byte load (rows 0 and 2 in
// one vector, 1 and 3, 4 and 6, 5 and 7 in the others; two unpacks give each field of two rows
// per 128-bit quarter, and a shuffle of quarters puts the rows in lane order); narrower vectors
// read the two halves of the rows with gather_pairs.
template <int kStride, class Row>
[[gnu::always_inline]] inline void gather_row_fields(const double *base, Row row, Vec<double> &f0,
                                                     Vec<double> &f2, Vec<double> &f3) {
#if KORB_SIMD_BYTES == 64
    const auto rows = [&](int l) {
        const double *p =
            static_cast<const double *>(__builtin_assume_aligned(base + kStride * row(l), 32));
        const double *q =
            static_cast<const double *>(__builtin_assume_aligned(base + kStride * row(l + 2), 32));
        return _mm512_insertf64x4(_mm512_castpd256_pd512(_mm256_load_pd(p)), _mm256_load_pd(q), 1);
    };
    const __m512d a = rows(0), b = rows(1), c = rows(4), d = rows(5);
    const __m512d low_ab = _mm512_unpacklo_pd(a, b), low_cd = _mm512_unpacklo_pd(c, d);
    const __m512d high_ab = _mm512_unpackhi_pd(a, b), high_cd = _mm512_unpackhi_pd(c, d);
    f0 = _mm512_shuffle_f64x2(low_ab, low_cd, _MM_SHUFFLE(2, 0, 2, 0));
    f2 = _mm512_shuffle_f64x2(low_ab, low_cd, _MM_SHUFFLE(3, 1, 3, 1));
    f3 = _mm512_shuffle_f64x2(high_ab, high_cd, _MM_SHUFFLE(3, 1, 3, 1));
#else
    Vec<double> unused;
    gather_pairs<kStride>(base, row, f0, unused);
    gather_pairs<kStride>(base + 2, row, f2, f3);
#endif
}

// kN coefficients per lane, each lane taking one of two constant sets by its mask: `clear`
// where the mask lane is clear, `set` where it is set. With up to four lanes of doubles the
// coefficient vectors of every mask are tabulated (a row read with one index, its vectors memory
// operands); wider vectors blend the two broadcast sets.
template <class V, int kN>
struct Coefficients {
    V k[kN];
};

template <int kN>
class LaneChoice {
    using V = Vec<double>;
    static constexpr int kLanes = kCount<V>;
    static constexpr bool kTabulated = kLanes <= 4;
    static constexpr int kRows = kTabulated ? 1 << kLanes : 1;

  public:
    constexpr LaneChoice(const double (&clear)[kN], const double (&set)[kN]) : sets_{}, rows_{} {
        for (int i = 0; i < kN; ++i) {
            sets_[0].k[i] = clear[i];
            sets_[1].k[i] = set[i];
        }
        for (int m = 0; m < kRows; ++m) {
            for (int i = 0; i < kN; ++i) {
                rows_[m].k[i] =
                    row_vector(clear[i], set[i], m, std::make_integer_sequence<int, kLanes>{});
            }
        }
    }

    // One lane: the set the mask names.
    [[gnu::always_inline]] const Coefficients<double, kN> &choose(uint64_t m) const {
        return sets_[m & 1];
    }
    // Lanes of a vector: a row of the table, or the blend.
    [[gnu::always_inline]] decltype(auto) choose(Bits<V> m) const {
        if constexpr (kTabulated) {
            return opaque(rows_)[mask_bits(m)];
        } else {
            Coefficients<V, kN> c;
            for (int i = 0; i < kN; ++i) {
                c.k[i] = select(m, splat<V>(sets_[1].k[i]), splat<V>(sets_[0].k[i]));
            }
            return c;
        }
    }

  private:
    template <int... L>
    static constexpr V row_vector(double clear, double set, int m,
                                  std::integer_sequence<int, L...>) {
        return V{(((m >> L) & 1) != 0 ? set : clear)...};
    }

    Coefficients<double, kN> sets_[2];
    alignas(kNativeBytes) Coefficients<V, kN> rows_[kRows];
};

// The SSE control and status register: rounding, flush-to-zero, denormals-are-zero, exception
// masks and flags.
inline uint32_t control_word() {
    return _mm_getcsr();
}
inline void set_control_word(uint32_t w) {
    _mm_setcsr(w);
}

}  // namespace korb::simd
