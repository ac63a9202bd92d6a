// Reading a fuzz input as a sequence of small decisions and values. Past the end every read
// gives zero, so that any input, however short, describes a complete case.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace korb::fuzz {

class Bytes {
  public:
    Bytes(const uint8_t *data, size_t size) : p_(data), n_(size) {}

    template <class T>
    T take() {
        T v{};
        const size_t k = n_ < sizeof v ? n_ : sizeof v;
        std::memcpy(&v, p_, k);
        p_ += k;
        n_ -= k;
        return v;
    }
    uint8_t byte() { return take<uint8_t>(); }
    bool one_in(unsigned k) { return byte() % k == 0; }
    // An integer in [lo, hi].
    long range(long lo, long hi) {
        return lo + static_cast<long>(take<uint16_t>() % static_cast<unsigned long>(hi - lo + 1));
    }
    // Mostly small exact numbers, sometimes any bit pattern (NaN, infinities, subnormals, huge).
    double number() {
        const uint8_t kind = byte();
        if (kind < 200) return static_cast<double>(static_cast<int8_t>(byte())) / 8;
        return take<double>();
    }
    size_t left() const { return n_; }

  private:
    const uint8_t *p_;
    size_t n_;
};

// Two arrays of equal bits (NaNs included).
template <class T>
bool same_bits(const T *a, const T *b, size_t n) {
    return n == 0 || std::memcmp(a, b, n * sizeof(T)) == 0;
}

// Throws nothing and prints nothing: a failed check stops the program where it failed.
inline void require(bool ok) {
    if (!ok) __builtin_trap();
}

}  // namespace korb::fuzz
