// The driver of the complex kernels (c and z), and what they share: a complex value of lanes,
// the status rules, and the reports.
//
// A complex kernel is, as a real one (driver.h), an element function, a lanes function doing the
// same operations in the same order, and one line per entry point. Both compute on doubles: the
// single-precision kernels widen their floats exactly and narrow the results once, as the
// element path's conversions do. The lanes take a unit of complex numbers, as many as a native
// vector has doubles, split into a vector of real parts and one of imaginary parts
// (simd::load_complex), and refuse the unit (bool &refused) when a lane needs the element path;
// the unit is then done element by element. Kinds:
//
//   run_two<K>(n, a, b, r)      complex a, b -> complex r   element(Cx x, Cx y, int &status)
//   run_to_real<K>(n, a, r)     complex a -> real r         element(Cx x, int &status)
//   run_flat<K>(n, a, b, r)     complex a, b -> complex r, componentwise: the lanes take native
//                               vectors of the stored components as they lie (kernel A of Add and
//                               Sub), the element path a complex element
//
// K holds Element (float or double, the type of the parts), kName, kReports (false for a kernel
// that computes the same bits without reporting, such as kernel B of cAdd) and its functions. The
// driver runs under the kernel frame (rounding to nearest, denormals as the mode says). Each
// element's arguments are read before its result is written, and a unit's lanes before its
// results are stored, so every kernel may run in place; a special element is reported after its
// result is written, with its arguments as read before.
#pragma once

#include <bit>
#include <cstdint>
#include <type_traits>

#include "frame/simd.h"
#include "korb/kernel/vm.h"
#include "vecmath/dispatch.h"
#include "vecmath/kernels/frame.h"

namespace korb::vecmath::cx {

using simd::Bits;
using simd::Vec;

// A complex value of lanes: a double, or a native vector of doubles.
template <class V>
struct Cx {
    V re, im;
};

using Lanes = Cx<Vec<double>>;
constexpr int kUnit = simd::kCount<Vec<double>>;

template <class T>
[[gnu::always_inline]] inline Cx<double> widen(Complex<T> z) {
    return {static_cast<double>(z.re), static_cast<double>(z.im)};
}
template <class T>
[[gnu::always_inline]] inline Complex<T> narrow(Cx<double> z) {
    return {static_cast<T>(z.re), static_cast<T>(z.im)};
}

[[gnu::always_inline]] inline bool is_nan(double x) {
    return __builtin_isnan(x);
}
[[gnu::always_inline]] inline bool is_inf(double x) {
    return __builtin_isinf(x);
}
[[gnu::always_inline]] inline bool is_finite(double x) {
    return __builtin_isfinite(x);
}
[[gnu::always_inline]] inline bool finite(Cx<double> z) {
    return is_finite(z.re) && is_finite(z.im);
}
[[gnu::always_inline]] inline bool has_nan(Cx<double> z) {
    return is_nan(z.re) || is_nan(z.im);
}

constexpr std::uint64_t kQuietBit = 0x0008000000000000;

// The NaN a result part takes when the arguments carry NaNs: the first NaN among x.re, x.im,
// y.re, y.im, quieted. Which NaN an operation on two NaNs returns depends on the order of its
// operands, which the compiler chooses differently for each processor class; settling it here
// keeps the bits of every class the same.
inline double first_nan(Cx<double> x, Cx<double> y) {
    const double parts[4] = {x.re, x.im, y.re, y.im};
    for (double v : parts) {
        if (is_nan(v)) return std::bit_cast<double>(std::bit_cast<std::uint64_t>(v) | kQuietBit);
    }
    return x.re;
}
inline Cx<double> settle_nans(Cx<double> z, Cx<double> x, Cx<double> y) {
    if (!has_nan(z) || !(has_nan(x) || has_nan(y))) return z;
    const double n = first_nan(x, y);
    return {is_nan(z.re) ? n : z.re, is_nan(z.im) ? n : z.im};
}

// The status of a complex result of the arguments x and y (x twice for one argument), as the
// complex functions of C99 Annex G see values: a result with an infinite part is an infinity,
// reported as ARQ_STATUS_OVERFLOW when every argument was finite; a result with a NaN part and
// no infinite one, of arguments without a NaN, is an invalid operation (ARQ_STATUS_ERRDOM).
inline int complex_status(Cx<double> r, Cx<double> x, Cx<double> y) {
    if (is_inf(r.re) || is_inf(r.im)) {
        return finite(x) && finite(y) ? ARQ_STATUS_OVERFLOW : ARQ_STATUS_OK;
    }
    if (has_nan(r)) return has_nan(x) || has_nan(y) ? ARQ_STATUS_OK : ARQ_STATUS_ERRDOM;
    return ARQ_STATUS_OK;
}

// All ones in the lanes where |v| is not below limit, or v is NaN (no floating comparison).
[[gnu::always_inline]] inline Bits<Vec<double>> not_below(Vec<double> v, double limit) {
    return ~simd::below(simd::to_bits(simd::abs(v)), simd::to_bits(Vec<double>{} + limit));
}
// All ones where v is neither zero nor of magnitude at least limit (subnormal or small).
[[gnu::always_inline]] inline Bits<Vec<double>> small_nonzero(Vec<double> v, double limit) {
    const Bits<Vec<double>> b = simd::to_bits(simd::abs(v));
    return simd::below(b, simd::to_bits(Vec<double>{} + limit)) &
           ~simd::below(b, Bits<Vec<double>>{} + 1);
}

inline void report(int status, int i, const ComplexFloat *a, const ComplexFloat *b, ComplexFloat *r,
                   const char *name, ComplexFloat x, ComplexFloat y) {
    dispatch_error_c_in_place(status, i, a, b, r, r, name, x, y);
}
inline void report(int status, int i, const ComplexDouble *a, const ComplexDouble *b,
                   ComplexDouble *r, const char *name, ComplexDouble x, ComplexDouble y) {
    dispatch_error_z_in_place(status, i, a, b, r, r, name, x, y);
}
inline void report(int status, int i, const ComplexFloat *a, float *r, const char *name,
                   ComplexFloat x) {
    dispatch_error_c_to_real(status, i, a, r, name, x);
}
inline void report(int status, int i, const ComplexDouble *a, double *r, const char *name,
                   ComplexDouble x) {
    dispatch_error_z_to_real(status, i, a, r, name, x);
}

// Two complex arguments, a complex result.
template <class K>
void run_two(int n, const Complex<typename K::Element> *a, const Complex<typename K::Element> *b,
             Complex<typename K::Element> *r) {
    using T = typename K::Element;
    if (n <= 0) return;
    KernelFrame frame;
    auto elements = [&](int begin, int end) {
        for (int i = begin; i < end; ++i) {
            const Complex<T> x = a[i], y = b[i];
            int status;
            r[i] = narrow<T>(K::element(widen(x), widen(y), status));
            if (K::kReports && status != ARQ_STATUS_OK) report(status, i, a, b, r, K::kName, x, y);
        }
    };
    const T *pa = &a[0].re, *pb = &b[0].re;
    T *pr = &r[0].re;
    int i = 0;
    for (; i + 2 * kUnit <= n; i += 2 * kUnit) {
        Lanes x0, y0, x1, y1;
        simd::load_complex(pa + 2 * i, x0.re, x0.im);
        simd::load_complex(pb + 2 * i, y0.re, y0.im);
        simd::load_complex(pa + 2 * (i + kUnit), x1.re, x1.im);
        simd::load_complex(pb + 2 * (i + kUnit), y1.re, y1.im);
        bool refused0 = false, refused1 = false;
        const Lanes z0 = K::lanes(x0, y0, refused0);
        const Lanes z1 = K::lanes(x1, y1, refused1);
        if (!refused0) {
            simd::store_complex(pr + 2 * i, z0.re, z0.im);
        } else {
            elements(i, i + kUnit);
        }
        if (!refused1) {
            simd::store_complex(pr + 2 * (i + kUnit), z1.re, z1.im);
        } else {
            elements(i + kUnit, i + 2 * kUnit);
        }
    }
    for (; i + kUnit <= n; i += kUnit) {
        Lanes x, y;
        simd::load_complex(pa + 2 * i, x.re, x.im);
        simd::load_complex(pb + 2 * i, y.re, y.im);
        bool refused = false;
        const Lanes z = K::lanes(x, y, refused);
        if (!refused) {
            simd::store_complex(pr + 2 * i, z.re, z.im);
        } else {
            elements(i, i + kUnit);
        }
    }
    elements(i, n);
}

// One complex argument, a real result.
template <class K>
void run_to_real(int n, const Complex<typename K::Element> *a, typename K::Element *r) {
    using T = typename K::Element;
    if (n <= 0) return;
    KernelFrame frame;
    auto elements = [&](int begin, int end) {
        for (int i = begin; i < end; ++i) {
            const Complex<T> x = a[i];
            int status;
            r[i] = static_cast<T>(K::element(widen(x), status));
            if (status != ARQ_STATUS_OK) report(status, i, a, r, K::kName, x);
        }
    };
    const T *pa = &a[0].re;
    int i = 0;
    for (; i + kUnit <= n; i += kUnit) {
        Lanes x;
        simd::load_complex(pa + 2 * i, x.re, x.im);
        bool refused = false;
        const Vec<double> z = K::lanes(x, refused);
        if (!refused) {
            simd::store_reals(r + i, z);
        } else {
            elements(i, i + kUnit);
        }
    }
    elements(i, n);
}

// Componentwise kernels over the stored components: a native vector of T holds half as many
// complex numbers, whole ones.
template <class K>
void run_flat(int n, const Complex<typename K::Element> *a, const Complex<typename K::Element> *b,
              Complex<typename K::Element> *r) {
    using T = typename K::Element;
    using V = Vec<T>;
    constexpr int kComponents = simd::kCount<V>;
    if (n <= 0) return;
    KernelFrame frame;
    auto elements = [&](int begin, int end) {
        for (int i = begin; i < end; ++i) {
            const Complex<T> x = a[i], y = b[i];
            int status;
            r[i] = K::element(x, y, status);
            if (K::kReports && status != ARQ_STATUS_OK) report(status, i, a, b, r, K::kName, x, y);
        }
    };
    const T *pa = &a[0].re, *pb = &b[0].re;
    T *pr = &r[0].re;
    const long components = 2 * static_cast<long>(n);
    long j = 0;
    for (; j + 2 * kComponents <= components; j += 2 * kComponents) {
        bool refused0 = false, refused1 = false;
        const V z0 = K::lanes(simd::load_lanes(pa + j), simd::load_lanes(pb + j), refused0);
        const V z1 = K::lanes(simd::load_lanes(pa + j + kComponents),
                              simd::load_lanes(pb + j + kComponents), refused1);
        if (!refused0) {
            simd::store_lanes(pr + j, z0);
        } else {
            elements(static_cast<int>(j / 2), static_cast<int>((j + kComponents) / 2));
        }
        if (!refused1) {
            simd::store_lanes(pr + j + kComponents, z1);
        } else {
            elements(static_cast<int>((j + kComponents) / 2),
                     static_cast<int>((j + 2 * kComponents) / 2));
        }
    }
    for (; j + kComponents <= components; j += kComponents) {
        bool refused = false;
        const V z = K::lanes(simd::load_lanes(pa + j), simd::load_lanes(pb + j), refused);
        if (!refused) {
            simd::store_lanes(pr + j, z);
        } else {
            elements(static_cast<int>(j / 2), static_cast<int>((j + kComponents) / 2));
        }
    }
    elements(static_cast<int>(j / 2), n);
}

}  // namespace korb::vecmath::cx
