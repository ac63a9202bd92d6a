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

#ifdef __cplusplus
}
#endif

/*
 * The functions, one group per function in korb/vm_functions.h. A few conventions:
 *   Cos, Sin, Tan, SinCos take radians of any magnitude (SinCos: sines in r1, cosines in r2);
 *     +-Inf gives NaN with ARQ_STATUS_ERRDOM.
 *   Exp, Pow, Powx, Sinh, Cosh: overflow gives +-Inf with ARQ_STATUS_OVERFLOW, a result below the
 *     least normal number ARQ_STATUS_UNDERFLOW.
 *   Ln, Log10, Log1p, ErfInv, ErfcInv, CdfNormInv, Atanh: a pole gives +-Inf with ARQ_STATUS_SING,
 *     an argument outside the domain NaN with ARQ_STATUS_ERRDOM.
 *   Pow and Powx follow C99's pow; Pow2o3 is the real cube root squared (defined for negative a).
 *   Abs, the rounding functions, Modf and the data movers only move or mask bits: they neither
 *     read the mode nor report, and return n (PackM, UnpackM: the number of elements moved).
 *   PackI/UnpackI move by a stride, PackM/UnpackM where a mask is non-zero, PackV/UnpackV by an
 *     index vector; bit 0 of flag makes PackV's and UnpackV's indices 1-based, other bits are
 *     reserved (a call setting one moves nothing and returns 0).
 *   LinearFrac(n, a, b, scalea, shifta, scaleb, shiftb, r): r[i] = (scalea*a[i] + shifta) /
 *     (scaleb*b[i] + shiftb), each operation rounded once in that order.
 */
#include "vm_functions.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KORB_VM_H */
