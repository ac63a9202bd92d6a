/*
 * korb: vector mathematics.
 *
 * v<p><Func>(n, a, r) computes r[i] = Func(a[i]) for 0 <= i < n, p naming the precision: s float,
 * d double (c and z, complex float and double, as functions are added). r may be a itself.
 * vm<p><Func>(..., mode) does the same under `mode` (accuracy, error mode and denormal handling,
 * each group replacing the thread's for this call only) and gives the thread's mode back after.
 *
 * Every call runs under the calling thread's mode word (korb_arq_SetMode): ARQ_HA (the default),
 * ARQ_LA or ARQ_EP chooses the accuracy; the error mode chooses how an error is reported. An
 * error sets the thread's status (korb_arq_GetErrStatus; the last error of the call wins) and,
 * as the mode says, calls the error callback (korb_arq_SetErrorCallBack) with the element's
 * ArqErrorContext, sets errno, prints a message, or raises the floating-point exception:
 *   ARQ_STATUS_BADSIZE  n <= 0; nothing is computed or written (errno EINVAL)
 *   ARQ_STATUS_BADMEM   a vector is NULL; nothing is computed or written (errno EACCES)
 *   ARQ_STATUS_ERRDOM, _SING, _OVERFLOW, _UNDERFLOW  an element's special result, written first
 * Accuracy bounds in ulps per function and variant: README.md.
 */
#ifndef KORB_VM_H
#define KORB_VM_H

#include "vm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The thread's mode word. SetMode replaces each of the accuracy, error-mode and denormal groups
   in which mode has a bit set and returns the word before the call. */
KORB_API unsigned int korb_arq_GetMode(void);
KORB_API unsigned int korb_arq_SetMode(unsigned int mode);

/* The thread's status: Set stores status and Clear stores ARQ_STATUS_OK; both return the status
   before the call. */
KORB_API int korb_arq_GetErrStatus(void);
KORB_API int korb_arq_SetErrStatus(int status);
KORB_API int korb_arq_ClearErrStatus(void);

/* The thread's error callback. Set installs callback (and ARQ_ERRMODE_CALLBACK; NULL removes
   both), Clear removes it; both return the previous callback. */
KORB_API ArqErrorCallBack korb_arq_GetErrorCallBack(void);
KORB_API ArqErrorCallBack korb_arq_SetErrorCallBack(ArqErrorCallBack callback);
KORB_API ArqErrorCallBack korb_arq_ClearErrorCallBack(void);

/* Cos, Sin, Tan of radians of any magnitude; SinCos: sines in r1, cosines in r2.
   +-Inf gives NaN with ARQ_STATUS_ERRDOM. */
KORB_API void vsCos(int n, const float *a, float *r);
KORB_API void vmsCos(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdCos(int n, const double *a, double *r);
KORB_API void vmdCos(int n, const double *a, double *r, unsigned int mode);
KORB_API void vsSin(int n, const float *a, float *r);
KORB_API void vmsSin(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdSin(int n, const double *a, double *r);
KORB_API void vmdSin(int n, const double *a, double *r, unsigned int mode);
KORB_API void vsSinCos(int n, const float *a, float *r1, float *r2);
KORB_API void vmsSinCos(int n, const float *a, float *r1, float *r2, unsigned int mode);
KORB_API void vdSinCos(int n, const double *a, double *r1, double *r2);
KORB_API void vmdSinCos(int n, const double *a, double *r1, double *r2, unsigned int mode);
KORB_API void vsTan(int n, const float *a, float *r);
KORB_API void vmsTan(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdTan(int n, const double *a, double *r);
KORB_API void vmdTan(int n, const double *a, double *r, unsigned int mode);

/* ErfInv: inverse error function. +-1 gives +-Inf with ARQ_STATUS_SING, |a| > 1 NaN with
   ARQ_STATUS_ERRDOM. */
KORB_API void vsErfInv(int n, const float *a, float *r);
KORB_API void vmsErfInv(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdErfInv(int n, const double *a, double *r);
KORB_API void vmdErfInv(int n, const double *a, double *r, unsigned int mode);

/* Exp: e^a. Overflow gives +Inf with ARQ_STATUS_OVERFLOW, a result below the least normal
   number ARQ_STATUS_UNDERFLOW. */
KORB_API void vsExp(int n, const float *a, float *r);
KORB_API void vmsExp(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdExp(int n, const double *a, double *r);
KORB_API void vmdExp(int n, const double *a, double *r, unsigned int mode);

/* Ln: natural logarithm. +-0 gives -Inf with ARQ_STATUS_SING, a negative argument NaN with
   ARQ_STATUS_ERRDOM. */
KORB_API void vsLn(int n, const float *a, float *r);
KORB_API void vmsLn(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdLn(int n, const double *a, double *r);
KORB_API void vmdLn(int n, const double *a, double *r, unsigned int mode);

/* Powx: a[i]^b for one exponent b, as C99's pow; ARQ_STATUS_SING for +-0 to a negative power,
   ARQ_STATUS_ERRDOM for a negative base with a non-integer exponent, and the range statuses. */
KORB_API void vsPowx(int n, const float *a, float b, float *r);
KORB_API void vmsPowx(int n, const float *a, float b, float *r, unsigned int mode);
KORB_API void vdPowx(int n, const double *a, double b, double *r);
KORB_API void vmdPowx(int n, const double *a, double b, double *r, unsigned int mode);

/* Sqrt: square root, correctly rounded; a negative argument gives NaN with ARQ_STATUS_ERRDOM. */
KORB_API void vsSqrt(int n, const float *a, float *r);
KORB_API void vmsSqrt(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdSqrt(int n, const double *a, double *r);
KORB_API void vmdSqrt(int n, const double *a, double *r, unsigned int mode);

#ifdef __cplusplus
}
#endif

#endif /* KORB_VM_H */
