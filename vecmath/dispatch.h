// The error dispatchers: how a kernel reports a special element.
//
// A kernel calls the dispatcher of its precision after writing the element's result, with the
// element's position counted from its own vectors. One-argument kernels pass their argument
// vector as both a and b, one-result kernels their result vector as both r1 and r2. The
// dispatcher stores the status, then, as the thread's mode says, builds an ArqErrorContext,
// calls the callback, sets errno, prints the messages, raises the floating-point exception and
// writes the record's results back into r2[index] and r1[index].
#pragma once

#include "korb/kernel/vm.h"

namespace korb::vecmath {

// Complex elements as the kernels store them: real part first.
template <class T>
struct Complex {
    T re;
    T im;
};
using ComplexFloat = Complex<float>;
using ComplexDouble = Complex<double>;

void dispatch_error_s(int status, int index, const float *a, const float *b, float *r1, float *r2,
                      const char *name);
void dispatch_error_d(int status, int index, const double *a, const double *b, double *r1,
                      double *r2, const char *name);
// The same for a kernel that may run in place: a1 and a2 are the element's arguments as read
// before its result overwrote them, and go into the record instead of a[index] and b[index].
void dispatch_error_d_in_place(int status, int index, const double *a, const double *b, double *r1,
                               double *r2, const char *name, double a1, double a2);
void dispatch_error_s_in_place(int status, int index, const float *a, const float *b, float *r1,
                               float *r2, const char *name, float a1, float a2);
void dispatch_error_c(int status, int index, const ComplexFloat *a, const ComplexFloat *b,
                      ComplexFloat *r1, ComplexFloat *r2, const char *name);
void dispatch_error_z(int status, int index, const ComplexDouble *a, const ComplexDouble *b,
                      ComplexDouble *r1, ComplexDouble *r2, const char *name);

}  // namespace korb::vecmath
