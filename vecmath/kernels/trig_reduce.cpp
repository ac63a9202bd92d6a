// The large-argument reduction: x·2/π mod 4 from x's 53-bit significand and a 192-bit window
// of the binary expansion of 2/π, in exact integer arithmetic.
//
// With x = m·2^s, the bits of 2/π at positions j <= s - 2 contribute multiples of 4 to x·2/π
// and are skipped; the window starts at bit max(1, s - 1) and covers 190 bits below the unit,
// more than the 62 bits of cancellation the closest double to a multiple of π/2 can cause, plus
// 120 bits of result. The remainder, 128 fraction bits rounded to the nearest quarter turn, is
// multiplied by π/2 in double-double arithmetic.
#include "vecmath/kernels/trig_reduce.h"

#include <cstring>

namespace korb::vecmath {
namespace {

#include "vecmath/kernels/two_over_pi.inc"

constexpr std::uint64_t kTwoOverPi[] = {KORB_TWO_OVER_PI_WORDS};
constexpr int kTwoOverPiBits = 64 * static_cast<int>(sizeof kTwoOverPi / sizeof kTwoOverPi[0]);

using u128 = unsigned __int128;

// 64 bits of 2/π starting at fraction bit `first` (1 is the bit of 2^-1).
std::uint64_t two_over_pi_bits(int first) {
    const int b = first - 1;
    const int word = b / 64, shift = b % 64;
    const std::uint64_t hi = kTwoOverPi[word];
    const std::uint64_t next = word + 1 < kTwoOverPiBits / 64 ? kTwoOverPi[word + 1] : 0;
    return shift == 0 ? hi : (hi << shift) | (next >> (64 - shift));
}

// Up to 64 bits of a 256-bit number (four words, least significant first) from bit `pos` up.
std::uint64_t bits_at(const std::uint64_t (&p)[4], int pos) {
    const int word = pos / 64, shift = pos % 64;
    const std::uint64_t lo = word < 4 ? p[word] : 0;
    const std::uint64_t hi = word + 1 < 4 ? p[word + 1] : 0;
    return shift == 0 ? lo : (lo >> shift) | (hi << (64 - shift));
}

// a·b = p + e exactly, by splitting both factors into 26-bit halves.
void two_product(double a, double b, double &p, double &e) {
    constexpr double kSplit = 134217729.0;  // 2^27 + 1
    const double ta = a * kSplit, tb = b * kSplit;
    const double ah = ta - (ta - a), al = a - ah;
    const double bh = tb - (tb - b), bl = b - bh;
    p = a * b;
    e = ((ah * bh - p) + ah * bl + al * bh) + al * bl;
}

constexpr double kPiOver2Hi = 0x1.921fb54442d18p0;  // π/2 = hi + lo to 2^-107
constexpr double kPiOver2Lo = 0x1.1a62633145c07p-54;

}  // namespace

LargeReduction reduce_large(double x) {
    std::uint64_t b;
    std::memcpy(&b, &x, sizeof b);
    const bool negative = (b >> 63) != 0;
    const int biased = static_cast<int>((b >> 52) & 0x7FF);
    const std::uint64_t m = (b & 0x000FFFFFFFFFFFFFull) | (1ull << 52);
    const int s = biased - 1075;  // x = ±m·2^s, s >= -53 for |x| >= π/4
    const int first = s - 1 > 1 ? s - 1 : 1;

    // P = m · window, 245 bits; bit 0 of P has weight 2^(s - first - 191).
    const std::uint64_t w2 = two_over_pi_bits(first);
    const std::uint64_t w1 = two_over_pi_bits(first + 64);
    const std::uint64_t w0 = two_over_pi_bits(first + 128);
    const u128 p0 = static_cast<u128>(m) * w0;
    const u128 p1 = static_cast<u128>(m) * w1;
    const u128 p2 = static_cast<u128>(m) * w2;
    std::uint64_t p[4];
    p[0] = static_cast<std::uint64_t>(p0);
    u128 acc = (p0 >> 64) + static_cast<std::uint64_t>(p1);
    p[1] = static_cast<std::uint64_t>(acc);
    acc = (acc >> 64) + (p1 >> 64) + static_cast<std::uint64_t>(p2);
    p[2] = static_cast<std::uint64_t>(acc);
    acc = (acc >> 64) + (p2 >> 64);
    p[3] = static_cast<std::uint64_t>(acc);

    // The unit's bit position in P, the quadrant above it and 128 fraction bits below it.
    const int unit = 191 + first - s;
    std::uint64_t q = bits_at(p, unit) & 3;
    const std::uint64_t f_hi = bits_at(p, unit - 64);
    const std::uint64_t f_lo = bits_at(p, unit - 128);
    // A fraction of one half or more rounds up to the next quarter turn and becomes negative:
    // read as a signed 128-bit number it is exactly the fraction less one.
    const __int128 f = static_cast<__int128>(static_cast<u128>(f_hi) << 64 | f_lo);
    q += f_hi >> 63;
    const bool f_negative = f < 0;
    const u128 mag = f_negative ? -static_cast<u128>(f) : static_cast<u128>(f);

    // The fraction as a double-double, then times π/2.
    const double fh = static_cast<double>(mag);
    const u128 fh_int = static_cast<u128>(fh);
    const double fl =
        mag >= fh_int ? static_cast<double>(mag - fh_int) : -static_cast<double>(fh_int - mag);
    const double th = fh * 0x1p-128, tl = fl * 0x1p-128;
    double hi, e;
    two_product(th, kPiOver2Hi, hi, e);
    const double lo = e + (th * kPiOver2Lo + tl * kPiOver2Hi);
    double rh = hi + lo;
    double rl = (hi - rh) + lo;
    if (f_negative != negative) {
        rh = -rh;
        rl = -rl;
    }
    if (negative) q = 0 - q;
    return {rh, rl, q};
}

}  // namespace korb::vecmath
