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
// The complex ones for kernels that may run in place (a1, a2 as in dispatch_error_d_in_place),
// and for the complex functions with a real result (Abs, Arg: the record's imaginary result
// parts are 0 and not written back) or a real argument (CIS: the record's imaginary argument
// parts are 0). The index is counted in elements of the argument vector.
void dispatch_error_c_in_place(int status, int index, const ComplexFloat *a, const ComplexFloat *b,
                               ComplexFloat *r1, ComplexFloat *r2, const char *name,
                               ComplexFloat a1, ComplexFloat a2);
void dispatch_error_z_in_place(int status, int index, const ComplexDouble *a,
                               const ComplexDouble *b, ComplexDouble *r1, ComplexDouble *r2,
                               const char *name, ComplexDouble a1, ComplexDouble a2);
void dispatch_error_c_to_real(int status, int index, const ComplexFloat *a, float *r,
                              const char *name, ComplexFloat a1);
void dispatch_error_z_to_real(int status, int index, const ComplexDouble *a, double *r,
                              const char *name, ComplexDouble a1);
void dispatch_error_c_from_real(int status, int index, const float *a, ComplexFloat *r,
                                const char *name, float a1);
void dispatch_error_z_from_real(int status, int index, const double *a, ComplexDouble *r,
                                const char *name, double a1);

}  // namespace korb::vecmath
