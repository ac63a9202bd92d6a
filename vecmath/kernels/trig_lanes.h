// What the trigonometric kernels share: one set of operations written once for a single double
// (the element path) and for a vector of doubles (the vector path), so that both give the same
// bits, and the selection of sine or cosine by quadrant.
#pragma once

#include <bit>
#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath::trig {

using simd::f64v;
using simd::u64v;

template <class V>
struct BitsOf;
template <>
struct BitsOf<double> {
    using type = std::uint64_t;
};
template <>
struct BitsOf<f64v> {
    using type = u64v;
};
template <class V>
using Bits = typename BitsOf<V>::type;

template <class V>
[[gnu::always_inline]] inline Bits<V> to_bits(V v) {
    return std::bit_cast<Bits<V>>(v);
}
template <class V>
[[gnu::always_inline]] inline V from_bits(Bits<V> b) {
    return std::bit_cast<V>(b);
}

// All ones where the quadrant q (in the low bits of q's lanes) is odd.
template <class U>
U odd_mask(U q) {
    return U{} - (q & 1);
}

// The sign bit where q's bit 1 is set: the half turns in which sine and cosine change sign.
template <class U>
U half_turn_sign(U q) {
    return (q << 62) & kSignBit;
}

// if_odd where the mask is set, if_even elsewhere.
template <class V>
V pick(Bits<V> odd, V if_even, V if_odd) {
    return from_bits<V>((to_bits(if_even) & ~odd) | (to_bits(if_odd) & odd));
}

template <class V>
V flip_sign(V v, Bits<V> sign) {
    return from_bits<V>(to_bits(v) ^ sign);
}

// Which function a kernel computes.
enum class Func { sin, cos, tan };

}  // namespace korb::vecmath::trig
