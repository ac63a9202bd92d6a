// Internal interface of the spline construction kernels: what a builder is handed once the task
// has passed every check, and the builders themselves.
#pragma once

#include <cstdint>

#include "core/korb_core.h"
#include "korb/kernel/df.h"

namespace korb::datafit {

// A checked task, seen in the entry point's precision T. Builders compute in double.
template <class T>
struct Fit {
    std::int64_t nx;
    std::int64_t ny;
    const double *x;    // the nx partition points, increasing and finite
    const T *const *y;  // the task's value pointers
    bool point_major;   // y hint 32: the value of function i at point j is y[0][j * ny + i]
    T *const *c;        // coefficient block of each function
    std::int64_t bc_type;
    double bc[2];  // the values bc_type reads, in double (0 where not read)
    const T *ic;   // Hermite derivatives, nx per function

    // Function i's nx values in double: the caller's array when it can serve as it is, else
    // gathered into `buf` (nx doubles).
    const double *values(std::int64_t i, double *buf) const {
        if constexpr (sizeof(T) == sizeof(double)) {
            if (!point_major) return y[i];
        }
        if (point_major) {
            const T *v = y[0] + i;
            for (std::int64_t j = 0; j < nx; ++j) buf[j] = static_cast<double>(v[j * ny]);
        } else {
            const T *v = y[i];
            for (std::int64_t j = 0; j < nx; ++j) buf[j] = static_cast<double>(v[j]);
        }
        return buf;
    }
};

// Work memory of the builders: korbAlignedAlloc blocks released when the owner goes out of
// scope.
class Work {
  public:
    explicit Work(std::int64_t doubles);
    ~Work();
    Work(const Work &) = delete;
    Work &operator=(const Work &) = delete;
    double *get() const { return p_; }
    bool ok() const { return p_ != nullptr; }

  private:
    double *p_;
};

// The tridiagonal systems of the splines, factored once by the core library for every function.
class Tridiag {
  public:
    Tridiag() = default;
    ~Tridiag();
    Tridiag(const Tridiag &) = delete;
    Tridiag &operator=(const Tridiag &) = delete;
    // Factors the n x n system (cyclic when asked); DF_STATUS_OK or DF_ERROR_MEM_FAILURE.
    std::int64_t factor(std::int64_t n, const double *sub, const double *diag, const double *sup,
                        bool cyclic);
    // Solves nrhs right-hand sides lying side by side in rows of `row_stride` doubles.
    void solve(std::int64_t nrhs, double *b, std::int64_t row_stride) const;

  private:
    ::KorbTridiag *f_ = nullptr;
};

// Functions fitted together in one block of the solvers: their right-hand sides lie side by side
// so that the sweeps run across them in vector registers.
inline constexpr std::int64_t kBlock = 16;

// Cubic cells from the values and the first derivatives s[j * s_stride] at the points.
template <class T>
void hermite_cells(std::int64_t nx, const double *x, const double *y, const double *s,
                   std::int64_t s_stride, T *c);

// The builders. Each returns DF_STATUS_OK or DF_ERROR_MEM_FAILURE, and writes nothing before it
// has all its memory.
template <class T>
std::int64_t build_linear(const Fit<T> &fit);
template <class T>
std::int64_t build_quadratic(const Fit<T> &fit);
template <class T>
std::int64_t build_subbotin(const Fit<T> &fit);
template <class T>
std::int64_t build_natural(const Fit<T> &fit);
template <class T>
std::int64_t build_hermite(const Fit<T> &fit);
template <class T>
std::int64_t build_bessel(const Fit<T> &fit);
template <class T>
std::int64_t build_akima(const Fit<T> &fit);

}  // namespace korb::datafit
