// What the trigonometric kernels share: the quadrant arithmetic, written once for one element
// and for a vector of them (the lane helpers of frame/simd.h take either), so that the element
// path and the vector path give the same bits.
#pragma once

#include <cstdint>

#include "frame/simd.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath::trig {

using simd::Bits;
using simd::Vec;

// All ones where the quadrant q (in the low bits of q's lanes) is odd.
template <class U>
[[gnu::always_inline]] inline U odd_mask(U q) {
    return U{} - (q & 1);
}

// The sign bit where q's bit 1 is set: the half turns in which sine and cosine change sign.
template <class U>
[[gnu::always_inline]] inline U half_turn_sign(U q) {
    return (q << 62) & kSignBit;
}

// if_odd where the mask is set, if_even elsewhere.
template <class V>
[[gnu::always_inline]] inline V pick(Bits<V> odd, V if_even, V if_odd) {
    return simd::select(odd, if_odd, if_even);
}

template <class V>
[[gnu::always_inline]] inline V flip_sign(V v, Bits<V> sign) {
    return simd::from_bits<V>(simd::to_bits(v) ^ sign);
}

// Which function a kernel computes.
enum class Func { sin, cos, tan };

}  // namespace korb::vecmath::trig
