/*
 * korb: vector mathematics, mode word and error status.
 *
 * Every vector-math kernel runs under the calling thread's mode word, which chooses the accuracy
 * variant, the handling of denormal numbers and how errors are reported, and records its last
 * error in the thread's status. Mode, status, error callback and vector base are per thread: a
 * thread's state is created on its first use (the mode from the environment variable
 * KORB_ARQ_MODE, else ARQ_MODE_DEFAULT) and released when the thread exits.
 *
 * The services are exported as korb_arq_kernel_<Op>; all but the two table-index functions also
 * as _arq<Op>, the same function under a second name.
 */
#ifndef KORB_KERNEL_VM_H
#define KORB_KERNEL_VM_H

#include <stdint.h>

#include "../vm_types.h"
#include "frame.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The thread's mode word (read from KORB_ARQ_MODE first while it is 0). */
KORB_API unsigned int korb_arq_kernel_GetMode(void);
KORB_API unsigned int _arqGetMode(void);

/* Replaces each of the accuracy, error-mode and denormal groups in which mode has a bit set;
   other bits of mode are ignored. Returns the mode word before the call. */
KORB_API unsigned int korb_arq_kernel_SetMode(unsigned int mode);
KORB_API unsigned int _arqSetMode(unsigned int mode);

/* The kernel-table slot of the thread's accuracy: 0 LA, 1 HA, 2 EP, -1 when none is chosen. */
KORB_API int korb_arq_kernel_GetTTableIndex(void);

/* The kernel-table slot of the accuracy in mode; the first argument is not read. */
KORB_API int korb_arq_kernel_GetTTableIndexM(const void *unused, unsigned int mode);

/* Status: Set stores and returns the previous one, Clear stores ARQ_STATUS_OK and returns the
   previous one. Kernels overwrite it at every reported element, so the last error wins. */
KORB_API int korb_arq_kernel_SetErrStatus(int status);
KORB_API int _arqSetErrStatus(int status);
KORB_API int korb_arq_kernel_GetErrStatus(void);
KORB_API int _arqGetErrStatus(void);
KORB_API int korb_arq_kernel_ClearErrStatus(void);
KORB_API int _arqClearErrStatus(void);

/*
 * Error callback. Set stores callback and returns the previous one, then sets
 * ARQ_ERRMODE_CALLBACK in the mode (clears it when callback is NULL). Clear stores NULL, clears
 * ARQ_ERRMODE_CALLBACK and returns the previous callback. Both change the mode through SetMode,
 * so clearing the callback bit when it is the only error-mode bit leaves the mode as it was.
 */
KORB_API ArqErrorCallBack korb_arq_kernel_SetErrorCallBack(ArqErrorCallBack callback);
KORB_API ArqErrorCallBack _arqSetErrorCallBack(ArqErrorCallBack callback);
KORB_API ArqErrorCallBack korb_arq_kernel_GetErrorCallBack(void);
KORB_API ArqErrorCallBack _arqGetErrorCallBack(void);
KORB_API ArqErrorCallBack korb_arq_kernel_ClearErrorCallBack(void);
KORB_API ArqErrorCallBack _arqClearErrorCallBack(void);

/*
 * Stores the start of the caller's whole first-argument vector and returns base. A kernel called
 * on a piece of that vector then reports an element's index counted from base. A thread starts
 * with no base (NULL), and then indices are counted from the kernel's own argument vector.
 */
KORB_API const void *korb_arq_kernel_SetInterfInputVectorPointer(const void *base);
KORB_API const void *_arqSetInterfInputVectorPointer(const void *base);

/*
 * Services of a dispatching layer (they have no _arq name).
 *
 * korb_arq_kernel_ReportArgumentError reports a call the layer refused before reaching a kernel,
 * through the thread's error mode exactly as a kernel reports an element: status is
 * ARQ_STATUS_BADSIZE (value: the size that is not positive, the record's index) or
 * ARQ_STATUS_BADMEM (value: 0); name is the public function's. The status is stored, and the
 * callback, errno and message channels run as the mode says; no vector is read or written. Any
 * other status is ignored.
 *
 * korb_arq_kernel_RestoreMode stores mode as the thread's whole mode word and returns the word
 * before the call. SetMode keeps a group that is 0 in its argument, so it cannot give back a word
 * in which a group was 0; a layer that runs one call under another mode restores the word it
 * found with this.
 */
KORB_API void korb_arq_kernel_ReportArgumentError(int status, int value, const char *name);
KORB_API unsigned int korb_arq_kernel_RestoreMode(unsigned int mode);

/*
 * Kernels. Every function <p><Func> (p: s float, d double, c complex float, z complex double)
 * has three accuracy variants in the slots of its kernel table: 0 low accuracy (LA), 1 high
 * accuracy (HA), 2 enhanced performance (EP); a thread's mode picks one through
 * korb_arq_kernel_GetTTableIndex. Its four entry points reach them directly:
 *   _arq<p><Func>_HA and _arq<p><Func>      slot 1
 *   _arq<p><Func>_21 (s, c), _50 (d, z)     slot 0
 *   _arq<p><Func>_11 (s, c), _26 (d, z)     slot 2
 * korb_arq_kernel_<p><Func>_ctab, placed right after the kernel table, holds each slot's
 * relative cost per element (three floats, then four zero bytes).
 *
 * A kernel computes r[i] = f(a[i]) for i < n (n <= 0: nothing), may run in place (r == a), runs
 * with round-to-nearest and with flush-to-zero and denormals-are-zero exactly when the mode's
 * denormal group is ARQ_DENORMALS_FLUSH, and gives the caller's control register back. It does
 * not check n or the pointers. An element with a special result is written first and then
 * reported with its status (ARQ_STATUS_*) as the mode says, under the name "v<p><Func>".
 */
typedef void (*ArqKernelD)(int n, const double *a, double *r);
typedef void (*ArqKernelS)(int n, const float *a, float *r);
typedef void (*ArqKernelScalarD)(int n, const double *a, double b, double *r);
typedef void (*ArqKernelScalarS)(int n, const float *a, float b, float *r);

/* Kernels of two vectors: r[i] = f(a[i], b[i]). */
typedef void (*ArqKernelBinaryD)(int n, const double *a, const double *b, double *r);
typedef void (*ArqKernelBinaryS)(int n, const float *a, const float *b, float *r);

/* Kernels with two results, r1[i] and r2[i] for a[i]. */
typedef void (*ArqKernelD2)(int n, const double *a, double *r1, double *r2);
typedef void (*ArqKernelS2)(int n, const float *a, float *r1, float *r2);

/* Cos, Sin, SinCos (sines in r1, cosines in r2) and Tan, of arguments in radians of any
 * magnitude: +-Inf gives the NaN 0xFFF8000000000000 (0xFFC00000 in single precision) with
 * ARQ_STATUS_ERRDOM, a NaN itself quietly; sin(+-0) = tan(+-0) = +-0. */
KORB_API void _arqsCos(int n, const float *a, float *r);
KORB_API void _arqsCos_HA(int n, const float *a, float *r);
KORB_API void _arqsCos_21(int n, const float *a, float *r);
KORB_API void _arqsCos_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sCos_ttab[3];
KORB_API extern const float korb_arq_kernel_sCos_ctab[3];

KORB_API void _arqdCos(int n, const double *a, double *r);
KORB_API void _arqdCos_HA(int n, const double *a, double *r);
KORB_API void _arqdCos_50(int n, const double *a, double *r);
KORB_API void _arqdCos_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dCos_ttab[3];
KORB_API extern const float korb_arq_kernel_dCos_ctab[3];

/* Exp: e^a. NaN gives the NaN with all bits set; overflow (a >= 709.7827128933841) +Inf with
 * ARQ_STATUS_OVERFLOW; a <= -708.3964185322642 a subnormal or zero with ARQ_STATUS_UNDERFLOW. */
KORB_API void _arqdExp(int n, const double *a, double *r);
KORB_API void _arqdExp_HA(int n, const double *a, double *r);
KORB_API void _arqdExp_50(int n, const double *a, double *r);
KORB_API void _arqdExp_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dExp_ttab[3];
KORB_API extern const float korb_arq_kernel_dExp_ctab[3];

/* Ln: natural logarithm. +-0 gives -Inf with ARQ_STATUS_SING, a negative argument or -Inf the
 * NaN 0xFFF8000000000000 with ARQ_STATUS_ERRDOM, a NaN itself unchanged. */
KORB_API void _arqdLn(int n, const double *a, double *r);
KORB_API void _arqdLn_HA(int n, const double *a, double *r);
KORB_API void _arqdLn_50(int n, const double *a, double *r);
KORB_API void _arqdLn_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dLn_ttab[3];
KORB_API extern const float korb_arq_kernel_dLn_ctab[3];

/* ErfInv: inverse error function. +-1 gives +-Inf with ARQ_STATUS_SING, |a| > 1 the NaN
 * 0xFFC00000 / 0xFFF8000000000000 with ARQ_STATUS_ERRDOM, a NaN comes back quiet. sErfInv has a
 * kernel per slot; in dErfInv LA and HA share one kernel, EP has its own. */
KORB_API void _arqsErfInv(int n, const float *a, float *r);
KORB_API void _arqsErfInv_HA(int n, const float *a, float *r);
KORB_API void _arqsErfInv_21(int n, const float *a, float *r);
KORB_API void _arqsErfInv_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sErfInv_ttab[3];
KORB_API extern const float korb_arq_kernel_sErfInv_ctab[3];
KORB_API void _arqdErfInv(int n, const double *a, double *r);
KORB_API void _arqdErfInv_HA(int n, const double *a, double *r);
KORB_API void _arqdErfInv_50(int n, const double *a, double *r);
KORB_API void _arqdErfInv_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dErfInv_ttab[3];
KORB_API extern const float korb_arq_kernel_dErfInv_ctab[3];

/* ErfcInv: inverse complementary error function, for a in (0, 2). 0 gives +Inf and 2 gives
 * -Inf with ARQ_STATUS_SING, a < 0 or a > 2 the NaN 0xFFC00000 / 0xFFF8000000000000 with
 * ARQ_STATUS_ERRDOM, a NaN comes back quiet. One kernel per precision. */
KORB_API void _arqsErfcInv(int n, const float *a, float *r);
KORB_API void _arqsErfcInv_HA(int n, const float *a, float *r);
KORB_API void _arqsErfcInv_21(int n, const float *a, float *r);
KORB_API void _arqsErfcInv_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sErfcInv_ttab[3];
KORB_API extern const float korb_arq_kernel_sErfcInv_ctab[3];
KORB_API void _arqdErfcInv(int n, const double *a, double *r);
KORB_API void _arqdErfcInv_HA(int n, const double *a, double *r);
KORB_API void _arqdErfcInv_50(int n, const double *a, double *r);
KORB_API void _arqdErfcInv_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dErfcInv_ttab[3];
KORB_API extern const float korb_arq_kernel_dErfcInv_ctab[3];

/* CdfNormInv: inverse of the standard normal distribution function, for a in (0, 1). 0 gives
 * -Inf and 1 gives +Inf with ARQ_STATUS_SING, a < 0 or a > 1 the NaN 0xFFC00000 /
 * 0xFFF8000000000000 with ARQ_STATUS_ERRDOM, a NaN comes back quiet. One kernel per precision. */
KORB_API void _arqsCdfNormInv(int n, const float *a, float *r);
KORB_API void _arqsCdfNormInv_HA(int n, const float *a, float *r);
KORB_API void _arqsCdfNormInv_21(int n, const float *a, float *r);
KORB_API void _arqsCdfNormInv_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sCdfNormInv_ttab[3];
KORB_API extern const float korb_arq_kernel_sCdfNormInv_ctab[3];
KORB_API void _arqdCdfNormInv(int n, const double *a, double *r);
KORB_API void _arqdCdfNormInv_HA(int n, const double *a, double *r);
KORB_API void _arqdCdfNormInv_50(int n, const double *a, double *r);
KORB_API void _arqdCdfNormInv_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dCdfNormInv_ttab[3];
KORB_API extern const float korb_arq_kernel_dCdfNormInv_ctab[3];

/* sExp: e^a in single precision, with the statuses of dExp: NaN gives 0xFFFFFFFF, a result
 * that rounds to +Inf ARQ_STATUS_OVERFLOW, one below 2^-126 ARQ_STATUS_UNDERFLOW. */
KORB_API void _arqsExp(int n, const float *a, float *r);
KORB_API void _arqsExp_HA(int n, const float *a, float *r);
KORB_API void _arqsExp_21(int n, const float *a, float *r);
KORB_API void _arqsExp_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sExp_ttab[3];
KORB_API extern const float korb_arq_kernel_sExp_ctab[3];

/* sLn: natural logarithm in single precision, with the statuses of dLn: +-0 gives -Inf with
 * ARQ_STATUS_SING, a negative argument the NaN 0xFFC00000 with ARQ_STATUS_ERRDOM, a NaN itself. */
KORB_API void _arqsLn(int n, const float *a, float *r);
KORB_API void _arqsLn_HA(int n, const float *a, float *r);
KORB_API void _arqsLn_21(int n, const float *a, float *r);
KORB_API void _arqsLn_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sLn_ttab[3];
KORB_API extern const float korb_arq_kernel_sLn_ctab[3];

/* Powx: a^b with a scalar exponent b, as C99's pow: a^+-0 = 1 and 1^b = 1 (also for NaN),
 * +-0 to a negative power +-Inf with ARQ_STATUS_SING, a negative a with a non-integer b the NaN
 * 0xFFC00000 / 0xFFF8000000000000 with ARQ_STATUS_ERRDOM, ARQ_STATUS_OVERFLOW for a result that
 * rounds to +-Inf, ARQ_STATUS_UNDERFLOW for one below the smallest normal number. */
KORB_API void _arqsPowx(int n, const float *a, float b, float *r);
KORB_API void _arqsPowx_HA(int n, const float *a, float b, float *r);
KORB_API void _arqsPowx_21(int n, const float *a, float b, float *r);
KORB_API void _arqsPowx_11(int n, const float *a, float b, float *r);
KORB_API extern const ArqKernelScalarS korb_arq_kernel_sPowx_ttab[3];
KORB_API extern const float korb_arq_kernel_sPowx_ctab[3];
KORB_API void _arqdPowx(int n, const double *a, double b, double *r);
KORB_API void _arqdPowx_HA(int n, const double *a, double b, double *r);
KORB_API void _arqdPowx_50(int n, const double *a, double b, double *r);
KORB_API void _arqdPowx_26(int n, const double *a, double b, double *r);
KORB_API extern const ArqKernelScalarD korb_arq_kernel_dPowx_ttab[3];
KORB_API extern const float korb_arq_kernel_dPowx_ctab[3];

/* Kernels of two argument vectors, r[i] = f(a[i], b[i]). */
typedef void (*ArqKernelTwoD)(int n, const double *a, const double *b, double *r);
typedef void (*ArqKernelTwoS)(int n, const float *a, const float *b, float *r);

/* Cbrt: the real cube root, any sign; +-0, +-Inf and NaN (quiet) come back. No status. */
KORB_API void _arqsCbrt(int n, const float *a, float *r);
KORB_API void _arqsCbrt_HA(int n, const float *a, float *r);
KORB_API void _arqsCbrt_21(int n, const float *a, float *r);
KORB_API void _arqsCbrt_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sCbrt_ttab[3];
KORB_API extern const float korb_arq_kernel_sCbrt_ctab[3];
KORB_API void _arqdCbrt(int n, const double *a, double *r);
KORB_API void _arqdCbrt_HA(int n, const double *a, double *r);
KORB_API void _arqdCbrt_50(int n, const double *a, double *r);
KORB_API void _arqdCbrt_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dCbrt_ttab[3];
KORB_API extern const float korb_arq_kernel_dCbrt_ctab[3];

/* Expm1: e^a - 1, accurate near 0. +-0 gives +-0, -Inf gives -1, +Inf +Inf, a NaN comes back
 * quiet; a result that rounds to +Inf ARQ_STATUS_OVERFLOW, a subnormal result (a subnormal a)
 * ARQ_STATUS_UNDERFLOW. */
KORB_API void _arqsExpm1(int n, const float *a, float *r);
KORB_API void _arqsExpm1_HA(int n, const float *a, float *r);
KORB_API void _arqsExpm1_21(int n, const float *a, float *r);
KORB_API void _arqsExpm1_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sExpm1_ttab[3];
KORB_API extern const float korb_arq_kernel_sExpm1_ctab[3];
KORB_API void _arqdExpm1(int n, const double *a, double *r);
KORB_API void _arqdExpm1_HA(int n, const double *a, double *r);
KORB_API void _arqdExpm1_50(int n, const double *a, double *r);
KORB_API void _arqdExpm1_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dExpm1_ttab[3];
KORB_API extern const float korb_arq_kernel_dExpm1_ctab[3];

/* InvCbrt: 1/cbrt(a). +-0 gives +-Inf with ARQ_STATUS_SING, +-Inf +-0, a NaN comes back quiet. */
KORB_API void _arqsInvCbrt(int n, const float *a, float *r);
KORB_API void _arqsInvCbrt_HA(int n, const float *a, float *r);
KORB_API void _arqsInvCbrt_21(int n, const float *a, float *r);
KORB_API void _arqsInvCbrt_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sInvCbrt_ttab[3];
KORB_API extern const float korb_arq_kernel_sInvCbrt_ctab[3];
KORB_API void _arqdInvCbrt(int n, const double *a, double *r);
KORB_API void _arqdInvCbrt_HA(int n, const double *a, double *r);
KORB_API void _arqdInvCbrt_50(int n, const double *a, double *r);
KORB_API void _arqdInvCbrt_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dInvCbrt_ttab[3];
KORB_API extern const float korb_arq_kernel_dInvCbrt_ctab[3];

/* InvSqrt: 1/sqrt(a). +0 gives +Inf and -0 -Inf with ARQ_STATUS_SING, a negative argument (also
 * -Inf) the NaN 0xFFC00000 / 0xFFF8000000000000 with ARQ_STATUS_ERRDOM, +Inf +0, a NaN quiet. */
KORB_API void _arqsInvSqrt(int n, const float *a, float *r);
KORB_API void _arqsInvSqrt_HA(int n, const float *a, float *r);
KORB_API void _arqsInvSqrt_21(int n, const float *a, float *r);
KORB_API void _arqsInvSqrt_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sInvSqrt_ttab[3];
KORB_API extern const float korb_arq_kernel_sInvSqrt_ctab[3];
KORB_API void _arqdInvSqrt(int n, const double *a, double *r);
KORB_API void _arqdInvSqrt_HA(int n, const double *a, double *r);
KORB_API void _arqdInvSqrt_50(int n, const double *a, double *r);
KORB_API void _arqdInvSqrt_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dInvSqrt_ttab[3];
KORB_API extern const float korb_arq_kernel_dInvSqrt_ctab[3];

/* Log10: base-10 logarithm, exact at the powers of ten that are exactly representable. The
 * special values and statuses of Ln. */
KORB_API void _arqsLog10(int n, const float *a, float *r);
KORB_API void _arqsLog10_HA(int n, const float *a, float *r);
KORB_API void _arqsLog10_21(int n, const float *a, float *r);
KORB_API void _arqsLog10_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sLog10_ttab[3];
KORB_API extern const float korb_arq_kernel_sLog10_ctab[3];
KORB_API void _arqdLog10(int n, const double *a, double *r);
KORB_API void _arqdLog10_HA(int n, const double *a, double *r);
KORB_API void _arqdLog10_50(int n, const double *a, double *r);
KORB_API void _arqdLog10_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dLog10_ttab[3];
KORB_API extern const float korb_arq_kernel_dLog10_ctab[3];

/* Log1p: ln(1 + a), accurate near 0. +-0 gives +-0, -1 gives -Inf with ARQ_STATUS_SING, a below
 * -1 (also -Inf) the NaN 0xFFC00000 / 0xFFF8000000000000 with ARQ_STATUS_ERRDOM, +Inf +Inf, a NaN
 * comes back quiet; a subnormal result ARQ_STATUS_UNDERFLOW. */
KORB_API void _arqsLog1p(int n, const float *a, float *r);
KORB_API void _arqsLog1p_HA(int n, const float *a, float *r);
KORB_API void _arqsLog1p_21(int n, const float *a, float *r);
KORB_API void _arqsLog1p_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sLog1p_ttab[3];
KORB_API extern const float korb_arq_kernel_sLog1p_ctab[3];
KORB_API void _arqdLog1p(int n, const double *a, double *r);
KORB_API void _arqdLog1p_HA(int n, const double *a, double *r);
KORB_API void _arqdLog1p_50(int n, const double *a, double *r);
KORB_API void _arqdLog1p_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dLog1p_ttab[3];
KORB_API extern const float korb_arq_kernel_dLog1p_ctab[3];

/* Pow: a^b element by element, with the special values and statuses of Powx below. */
KORB_API void _arqsPow(int n, const float *a, const float *b, float *r);
KORB_API void _arqsPow_HA(int n, const float *a, const float *b, float *r);
KORB_API void _arqsPow_21(int n, const float *a, const float *b, float *r);
KORB_API void _arqsPow_11(int n, const float *a, const float *b, float *r);
KORB_API extern const ArqKernelTwoS korb_arq_kernel_sPow_ttab[3];
KORB_API extern const float korb_arq_kernel_sPow_ctab[3];
KORB_API void _arqdPow(int n, const double *a, const double *b, double *r);
KORB_API void _arqdPow_HA(int n, const double *a, const double *b, double *r);
KORB_API void _arqdPow_50(int n, const double *a, const double *b, double *r);
KORB_API void _arqdPow_26(int n, const double *a, const double *b, double *r);
KORB_API extern const ArqKernelTwoD korb_arq_kernel_dPow_ttab[3];
KORB_API extern const float korb_arq_kernel_dPow_ctab[3];

/* Pow2o3: a^(2/3) as the square of the real cube root, defined for negative a. +-0 gives +0,
 * +-Inf +Inf, a NaN comes back quiet. No status. */
KORB_API void _arqsPow2o3(int n, const float *a, float *r);
KORB_API void _arqsPow2o3_HA(int n, const float *a, float *r);
KORB_API void _arqsPow2o3_21(int n, const float *a, float *r);
KORB_API void _arqsPow2o3_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sPow2o3_ttab[3];
KORB_API extern const float korb_arq_kernel_sPow2o3_ctab[3];
KORB_API void _arqdPow2o3(int n, const double *a, double *r);
KORB_API void _arqdPow2o3_HA(int n, const double *a, double *r);
KORB_API void _arqdPow2o3_50(int n, const double *a, double *r);
KORB_API void _arqdPow2o3_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dPow2o3_ttab[3];
KORB_API extern const float korb_arq_kernel_dPow2o3_ctab[3];

/* Pow3o2: a^(3/2). +-0 gives +0, +Inf +Inf, a negative argument (also -Inf) the NaN 0xFFC00000 /
 * 0xFFF8000000000000 with ARQ_STATUS_ERRDOM, a NaN comes back quiet; a result that rounds to +Inf
 * ARQ_STATUS_OVERFLOW, one below the smallest normal number ARQ_STATUS_UNDERFLOW. */
KORB_API void _arqsPow3o2(int n, const float *a, float *r);
KORB_API void _arqsPow3o2_HA(int n, const float *a, float *r);
KORB_API void _arqsPow3o2_21(int n, const float *a, float *r);
KORB_API void _arqsPow3o2_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sPow3o2_ttab[3];
KORB_API extern const float korb_arq_kernel_sPow3o2_ctab[3];
KORB_API void _arqdPow3o2(int n, const double *a, double *r);
KORB_API void _arqdPow3o2_HA(int n, const double *a, double *r);
KORB_API void _arqdPow3o2_50(int n, const double *a, double *r);
KORB_API void _arqdPow3o2_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dPow3o2_ttab[3];
KORB_API extern const float korb_arq_kernel_dPow3o2_ctab[3];

/* Sqrt: square root, correctly rounded. -0 gives -0; a negative argument (also -Inf) the NaN
 * 0xFFC00000 / 0xFFF8000000000000 with ARQ_STATUS_ERRDOM. */
KORB_API void _arqsSqrt(int n, const float *a, float *r);
KORB_API void _arqsSqrt_HA(int n, const float *a, float *r);
KORB_API void _arqsSqrt_21(int n, const float *a, float *r);
KORB_API void _arqsSqrt_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sSqrt_ttab[3];
KORB_API extern const float korb_arq_kernel_sSqrt_ctab[3];
KORB_API void _arqdSqrt(int n, const double *a, double *r);
KORB_API void _arqdSqrt_HA(int n, const double *a, double *r);
KORB_API void _arqdSqrt_50(int n, const double *a, double *r);
KORB_API void _arqdSqrt_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dSqrt_ttab[3];
KORB_API extern const float korb_arq_kernel_dSqrt_ctab[3];

/* Sin, SinCos, Tan: see Cos above. */
KORB_API void _arqsSin(int n, const float *a, float *r);
KORB_API void _arqsSin_HA(int n, const float *a, float *r);
KORB_API void _arqsSin_21(int n, const float *a, float *r);
KORB_API void _arqsSin_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sSin_ttab[3];
KORB_API extern const float korb_arq_kernel_sSin_ctab[3];

KORB_API void _arqdSin(int n, const double *a, double *r);
KORB_API void _arqdSin_HA(int n, const double *a, double *r);
KORB_API void _arqdSin_50(int n, const double *a, double *r);
KORB_API void _arqdSin_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dSin_ttab[3];
KORB_API extern const float korb_arq_kernel_dSin_ctab[3];

KORB_API void _arqsSinCos(int n, const float *a, float *r1, float *r2);
KORB_API void _arqsSinCos_HA(int n, const float *a, float *r1, float *r2);
KORB_API void _arqsSinCos_21(int n, const float *a, float *r1, float *r2);
KORB_API void _arqsSinCos_11(int n, const float *a, float *r1, float *r2);
KORB_API extern const ArqKernelS2 korb_arq_kernel_sSinCos_ttab[3];
KORB_API extern const float korb_arq_kernel_sSinCos_ctab[3];

KORB_API void _arqdSinCos(int n, const double *a, double *r1, double *r2);
KORB_API void _arqdSinCos_HA(int n, const double *a, double *r1, double *r2);
KORB_API void _arqdSinCos_50(int n, const double *a, double *r1, double *r2);
KORB_API void _arqdSinCos_26(int n, const double *a, double *r1, double *r2);
KORB_API extern const ArqKernelD2 korb_arq_kernel_dSinCos_ttab[3];
KORB_API extern const float korb_arq_kernel_dSinCos_ctab[3];

KORB_API void _arqsTan(int n, const float *a, float *r);
KORB_API void _arqsTan_HA(int n, const float *a, float *r);
KORB_API void _arqsTan_21(int n, const float *a, float *r);
KORB_API void _arqsTan_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sTan_ttab[3];
KORB_API extern const float korb_arq_kernel_sTan_ctab[3];

KORB_API void _arqdTan(int n, const double *a, double *r);
KORB_API void _arqdTan_HA(int n, const double *a, double *r);
KORB_API void _arqdTan_50(int n, const double *a, double *r);
KORB_API void _arqdTan_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dTan_ttab[3];
KORB_API extern const float korb_arq_kernel_dTan_ctab[3];

/*
 * Arithmetic, rounding and data movement.
 *
 * The kernels that compute (Add, Sub, Mul, Div, Inv, Sqr, Hypot, LinearFrac) run under the
 * kernel frame like the others (rounding to nearest, denormals as the mode says) and report:
 * ARQ_STATUS_OVERFLOW for an infinite result of finite arguments, ARQ_STATUS_SING for a division
 * of a finite non-zero value by zero (the result is the signed infinity), ARQ_STATUS_ERRDOM for
 * an invalid operation on arguments that are not NaN (0/0, inf/inf, inf - inf, inf * 0: the
 * result is the processor's default NaN, 0xFFC00000 / 0xFFF8000000000000). Results are those of
 * C99 Annex F; Add, Sub, Mul, Div, Inv and Sqr give the bits of the C operators, Hypot is within
 * one ulp (no spurious overflow or underflow; hypot(+-inf, NaN) = +inf).
 *
 * The bit-level kernels (Abs, Ceil, Floor, Trunc, Round, Rint, NearbyInt, Modf, the Pack and
 * Unpack kernels, and Conj) neither read the mode nor change the control register, report
 * nothing, and return n (PackM and UnpackM: the number of elements moved). Rounding is exact:
 * Round rounds halfway cases away from zero; Rint and NearbyInt round in the caller's rounding
 * direction, Rint raising the inexact flag when a result differs from its argument and
 * NearbyInt never; none of the others raises a flag (a signalling NaN comes back quiet). Modf
 * writes the integral part to r1 and the fractional part to r2, both with the argument's sign:
 * modf(+-inf) = (+-inf, +-0).
 */
typedef int (*ArqBitKernelD)(int n, const double *a, double *r);
typedef int (*ArqBitKernelS)(int n, const float *a, float *r);
typedef int (*ArqBitKernelD2)(int n, const double *a, double *r1, double *r2);
typedef int (*ArqBitKernelS2)(int n, const float *a, float *r1, float *r2);

/*
 * LinearFrac: r[i] = (scalea * a[i] + shifta) / (scaleb * b[i] + shiftb), each operation rounded
 * once in that order, so the bits are fixed. The statuses are those of the whole expression:
 * ARQ_STATUS_SING when the denominator is 0 and the numerator finite and non-zero,
 * ARQ_STATUS_ERRDOM when the result is NaN and no argument or scalar is, ARQ_STATUS_OVERFLOW
 * when the numerator, the denominator or the result is infinite although every argument and
 * scalar is finite (also when the denominator's overflow leaves a finite quotient).
 */
typedef void (*ArqKernelLinearFracD)(int n, const double *a, const double *b, double scalea,
                                     double shifta, double scaleb, double shiftb, double *r);
typedef void (*ArqKernelLinearFracS)(int n, const float *a, const float *b, float scalea,
                                     float shifta, float scaleb, float shiftb, float *r);

KORB_API int _arqsAbs(int n, const float *a, float *r);
KORB_API int _arqsAbs_HA(int n, const float *a, float *r);
KORB_API int _arqsAbs_21(int n, const float *a, float *r);
KORB_API int _arqsAbs_11(int n, const float *a, float *r);
KORB_API extern const ArqBitKernelS korb_arq_kernel_sAbs_ttab[3];
KORB_API extern const float korb_arq_kernel_sAbs_ctab[3];
KORB_API int _arqdAbs(int n, const double *a, double *r);
KORB_API int _arqdAbs_HA(int n, const double *a, double *r);
KORB_API int _arqdAbs_50(int n, const double *a, double *r);
KORB_API int _arqdAbs_26(int n, const double *a, double *r);
KORB_API extern const ArqBitKernelD korb_arq_kernel_dAbs_ttab[3];
KORB_API extern const float korb_arq_kernel_dAbs_ctab[3];
KORB_API void _arqsAdd(int n, const float *a, const float *b, float *r);
KORB_API void _arqsAdd_HA(int n, const float *a, const float *b, float *r);
KORB_API void _arqsAdd_21(int n, const float *a, const float *b, float *r);
KORB_API void _arqsAdd_11(int n, const float *a, const float *b, float *r);
KORB_API extern const ArqKernelTwoS korb_arq_kernel_sAdd_ttab[3];
KORB_API extern const float korb_arq_kernel_sAdd_ctab[3];
KORB_API void _arqdAdd(int n, const double *a, const double *b, double *r);
KORB_API void _arqdAdd_HA(int n, const double *a, const double *b, double *r);
KORB_API void _arqdAdd_50(int n, const double *a, const double *b, double *r);
KORB_API void _arqdAdd_26(int n, const double *a, const double *b, double *r);
KORB_API extern const ArqKernelTwoD korb_arq_kernel_dAdd_ttab[3];
KORB_API extern const float korb_arq_kernel_dAdd_ctab[3];
KORB_API void _arqsSub(int n, const float *a, const float *b, float *r);
KORB_API void _arqsSub_HA(int n, const float *a, const float *b, float *r);
KORB_API void _arqsSub_21(int n, const float *a, const float *b, float *r);
KORB_API void _arqsSub_11(int n, const float *a, const float *b, float *r);
KORB_API extern const ArqKernelTwoS korb_arq_kernel_sSub_ttab[3];
KORB_API extern const float korb_arq_kernel_sSub_ctab[3];
KORB_API void _arqdSub(int n, const double *a, const double *b, double *r);
KORB_API void _arqdSub_HA(int n, const double *a, const double *b, double *r);
KORB_API void _arqdSub_50(int n, const double *a, const double *b, double *r);
KORB_API void _arqdSub_26(int n, const double *a, const double *b, double *r);
KORB_API extern const ArqKernelTwoD korb_arq_kernel_dSub_ttab[3];
KORB_API extern const float korb_arq_kernel_dSub_ctab[3];
KORB_API void _arqsMul(int n, const float *a, const float *b, float *r);
KORB_API void _arqsMul_HA(int n, const float *a, const float *b, float *r);
KORB_API void _arqsMul_21(int n, const float *a, const float *b, float *r);
KORB_API void _arqsMul_11(int n, const float *a, const float *b, float *r);
KORB_API extern const ArqKernelTwoS korb_arq_kernel_sMul_ttab[3];
KORB_API extern const float korb_arq_kernel_sMul_ctab[3];
KORB_API void _arqdMul(int n, const double *a, const double *b, double *r);
KORB_API void _arqdMul_HA(int n, const double *a, const double *b, double *r);
KORB_API void _arqdMul_50(int n, const double *a, const double *b, double *r);
KORB_API void _arqdMul_26(int n, const double *a, const double *b, double *r);
KORB_API extern const ArqKernelTwoD korb_arq_kernel_dMul_ttab[3];
KORB_API extern const float korb_arq_kernel_dMul_ctab[3];
KORB_API void _arqsDiv(int n, const float *a, const float *b, float *r);
KORB_API void _arqsDiv_HA(int n, const float *a, const float *b, float *r);
KORB_API void _arqsDiv_21(int n, const float *a, const float *b, float *r);
KORB_API void _arqsDiv_11(int n, const float *a, const float *b, float *r);
KORB_API extern const ArqKernelTwoS korb_arq_kernel_sDiv_ttab[3];
KORB_API extern const float korb_arq_kernel_sDiv_ctab[3];
KORB_API void _arqdDiv(int n, const double *a, const double *b, double *r);
KORB_API void _arqdDiv_HA(int n, const double *a, const double *b, double *r);
KORB_API void _arqdDiv_50(int n, const double *a, const double *b, double *r);
KORB_API void _arqdDiv_26(int n, const double *a, const double *b, double *r);
KORB_API extern const ArqKernelTwoD korb_arq_kernel_dDiv_ttab[3];
KORB_API extern const float korb_arq_kernel_dDiv_ctab[3];
KORB_API void _arqsHypot(int n, const float *a, const float *b, float *r);
KORB_API void _arqsHypot_HA(int n, const float *a, const float *b, float *r);
KORB_API void _arqsHypot_21(int n, const float *a, const float *b, float *r);
KORB_API void _arqsHypot_11(int n, const float *a, const float *b, float *r);
KORB_API extern const ArqKernelTwoS korb_arq_kernel_sHypot_ttab[3];
KORB_API extern const float korb_arq_kernel_sHypot_ctab[3];
KORB_API void _arqdHypot(int n, const double *a, const double *b, double *r);
KORB_API void _arqdHypot_HA(int n, const double *a, const double *b, double *r);
KORB_API void _arqdHypot_50(int n, const double *a, const double *b, double *r);
KORB_API void _arqdHypot_26(int n, const double *a, const double *b, double *r);
KORB_API extern const ArqKernelTwoD korb_arq_kernel_dHypot_ttab[3];
KORB_API extern const float korb_arq_kernel_dHypot_ctab[3];
KORB_API void _arqsInv(int n, const float *a, float *r);
KORB_API void _arqsInv_HA(int n, const float *a, float *r);
KORB_API void _arqsInv_21(int n, const float *a, float *r);
KORB_API void _arqsInv_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sInv_ttab[3];
KORB_API extern const float korb_arq_kernel_sInv_ctab[3];
KORB_API void _arqdInv(int n, const double *a, double *r);
KORB_API void _arqdInv_HA(int n, const double *a, double *r);
KORB_API void _arqdInv_50(int n, const double *a, double *r);
KORB_API void _arqdInv_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dInv_ttab[3];
KORB_API extern const float korb_arq_kernel_dInv_ctab[3];
KORB_API void _arqsSqr(int n, const float *a, float *r);
KORB_API void _arqsSqr_HA(int n, const float *a, float *r);
KORB_API void _arqsSqr_21(int n, const float *a, float *r);
KORB_API void _arqsSqr_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sSqr_ttab[3];
KORB_API extern const float korb_arq_kernel_sSqr_ctab[3];
KORB_API void _arqdSqr(int n, const double *a, double *r);
KORB_API void _arqdSqr_HA(int n, const double *a, double *r);
KORB_API void _arqdSqr_50(int n, const double *a, double *r);
KORB_API void _arqdSqr_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dSqr_ttab[3];
KORB_API extern const float korb_arq_kernel_dSqr_ctab[3];
KORB_API void _arqsLinearFrac(int n, const float *a, const float *b, float scalea, float shifta,
                              float scaleb, float shiftb, float *r);
KORB_API void _arqsLinearFrac_HA(int n, const float *a, const float *b, float scalea, float shifta,
                                 float scaleb, float shiftb, float *r);
KORB_API void _arqsLinearFrac_21(int n, const float *a, const float *b, float scalea, float shifta,
                                 float scaleb, float shiftb, float *r);
KORB_API void _arqsLinearFrac_11(int n, const float *a, const float *b, float scalea, float shifta,
                                 float scaleb, float shiftb, float *r);
KORB_API extern const ArqKernelLinearFracS korb_arq_kernel_sLinearFrac_ttab[3];
KORB_API extern const float korb_arq_kernel_sLinearFrac_ctab[3];
KORB_API void _arqdLinearFrac(int n, const double *a, const double *b, double scalea, double shifta,
                              double scaleb, double shiftb, double *r);
KORB_API void _arqdLinearFrac_HA(int n, const double *a, const double *b, double scalea,
                                 double shifta, double scaleb, double shiftb, double *r);
KORB_API void _arqdLinearFrac_50(int n, const double *a, const double *b, double scalea,
                                 double shifta, double scaleb, double shiftb, double *r);
KORB_API void _arqdLinearFrac_26(int n, const double *a, const double *b, double scalea,
                                 double shifta, double scaleb, double shiftb, double *r);
KORB_API extern const ArqKernelLinearFracD korb_arq_kernel_dLinearFrac_ttab[3];
KORB_API extern const float korb_arq_kernel_dLinearFrac_ctab[3];
KORB_API int _arqsCeil(int n, const float *a, float *r);
KORB_API int _arqsCeil_HA(int n, const float *a, float *r);
KORB_API int _arqsCeil_21(int n, const float *a, float *r);
KORB_API int _arqsCeil_11(int n, const float *a, float *r);
KORB_API extern const ArqBitKernelS korb_arq_kernel_sCeil_ttab[3];
KORB_API extern const float korb_arq_kernel_sCeil_ctab[3];
KORB_API int _arqdCeil(int n, const double *a, double *r);
KORB_API int _arqdCeil_HA(int n, const double *a, double *r);
KORB_API int _arqdCeil_50(int n, const double *a, double *r);
KORB_API int _arqdCeil_26(int n, const double *a, double *r);
KORB_API extern const ArqBitKernelD korb_arq_kernel_dCeil_ttab[3];
KORB_API extern const float korb_arq_kernel_dCeil_ctab[3];
KORB_API int _arqsFloor(int n, const float *a, float *r);
KORB_API int _arqsFloor_HA(int n, const float *a, float *r);
KORB_API int _arqsFloor_21(int n, const float *a, float *r);
KORB_API int _arqsFloor_11(int n, const float *a, float *r);
KORB_API extern const ArqBitKernelS korb_arq_kernel_sFloor_ttab[3];
KORB_API extern const float korb_arq_kernel_sFloor_ctab[3];
KORB_API int _arqdFloor(int n, const double *a, double *r);
KORB_API int _arqdFloor_HA(int n, const double *a, double *r);
KORB_API int _arqdFloor_50(int n, const double *a, double *r);
KORB_API int _arqdFloor_26(int n, const double *a, double *r);
KORB_API extern const ArqBitKernelD korb_arq_kernel_dFloor_ttab[3];
KORB_API extern const float korb_arq_kernel_dFloor_ctab[3];
KORB_API int _arqsTrunc(int n, const float *a, float *r);
KORB_API int _arqsTrunc_HA(int n, const float *a, float *r);
KORB_API int _arqsTrunc_21(int n, const float *a, float *r);
KORB_API int _arqsTrunc_11(int n, const float *a, float *r);
KORB_API extern const ArqBitKernelS korb_arq_kernel_sTrunc_ttab[3];
KORB_API extern const float korb_arq_kernel_sTrunc_ctab[3];
KORB_API int _arqdTrunc(int n, const double *a, double *r);
KORB_API int _arqdTrunc_HA(int n, const double *a, double *r);
KORB_API int _arqdTrunc_50(int n, const double *a, double *r);
KORB_API int _arqdTrunc_26(int n, const double *a, double *r);
KORB_API extern const ArqBitKernelD korb_arq_kernel_dTrunc_ttab[3];
KORB_API extern const float korb_arq_kernel_dTrunc_ctab[3];
KORB_API int _arqsRound(int n, const float *a, float *r);
KORB_API int _arqsRound_HA(int n, const float *a, float *r);
KORB_API int _arqsRound_21(int n, const float *a, float *r);
KORB_API int _arqsRound_11(int n, const float *a, float *r);
KORB_API extern const ArqBitKernelS korb_arq_kernel_sRound_ttab[3];
KORB_API extern const float korb_arq_kernel_sRound_ctab[3];
KORB_API int _arqdRound(int n, const double *a, double *r);
KORB_API int _arqdRound_HA(int n, const double *a, double *r);
KORB_API int _arqdRound_50(int n, const double *a, double *r);
KORB_API int _arqdRound_26(int n, const double *a, double *r);
KORB_API extern const ArqBitKernelD korb_arq_kernel_dRound_ttab[3];
KORB_API extern const float korb_arq_kernel_dRound_ctab[3];
KORB_API int _arqsRint(int n, const float *a, float *r);
KORB_API int _arqsRint_HA(int n, const float *a, float *r);
KORB_API int _arqsRint_21(int n, const float *a, float *r);
KORB_API int _arqsRint_11(int n, const float *a, float *r);
KORB_API extern const ArqBitKernelS korb_arq_kernel_sRint_ttab[3];
KORB_API extern const float korb_arq_kernel_sRint_ctab[3];
KORB_API int _arqdRint(int n, const double *a, double *r);
KORB_API int _arqdRint_HA(int n, const double *a, double *r);
KORB_API int _arqdRint_50(int n, const double *a, double *r);
KORB_API int _arqdRint_26(int n, const double *a, double *r);
KORB_API extern const ArqBitKernelD korb_arq_kernel_dRint_ttab[3];
KORB_API extern const float korb_arq_kernel_dRint_ctab[3];
KORB_API int _arqsNearbyInt(int n, const float *a, float *r);
KORB_API int _arqsNearbyInt_HA(int n, const float *a, float *r);
KORB_API int _arqsNearbyInt_21(int n, const float *a, float *r);
KORB_API int _arqsNearbyInt_11(int n, const float *a, float *r);
KORB_API extern const ArqBitKernelS korb_arq_kernel_sNearbyInt_ttab[3];
KORB_API extern const float korb_arq_kernel_sNearbyInt_ctab[3];
KORB_API int _arqdNearbyInt(int n, const double *a, double *r);
KORB_API int _arqdNearbyInt_HA(int n, const double *a, double *r);
KORB_API int _arqdNearbyInt_50(int n, const double *a, double *r);
KORB_API int _arqdNearbyInt_26(int n, const double *a, double *r);
KORB_API extern const ArqBitKernelD korb_arq_kernel_dNearbyInt_ttab[3];
KORB_API extern const float korb_arq_kernel_dNearbyInt_ctab[3];
KORB_API int _arqsModf(int n, const float *a, float *r1, float *r2);
KORB_API int _arqsModf_HA(int n, const float *a, float *r1, float *r2);
KORB_API int _arqsModf_21(int n, const float *a, float *r1, float *r2);
KORB_API int _arqsModf_11(int n, const float *a, float *r1, float *r2);
KORB_API extern const ArqBitKernelS2 korb_arq_kernel_sModf_ttab[3];
KORB_API extern const float korb_arq_kernel_sModf_ctab[3];
KORB_API int _arqdModf(int n, const double *a, double *r1, double *r2);
KORB_API int _arqdModf_HA(int n, const double *a, double *r1, double *r2);
KORB_API int _arqdModf_50(int n, const double *a, double *r1, double *r2);
KORB_API int _arqdModf_26(int n, const double *a, double *r1, double *r2);
KORB_API extern const ArqBitKernelD2 korb_arq_kernel_dModf_ttab[3];
KORB_API extern const float korb_arq_kernel_dModf_ctab[3];

/*
 * Complex elements, real part first, as the c (single) and z (double) kernels take them: the
 * public header's types under the names the kernel sources use.
 */
typedef ArqComplex8 ArqComplexFloat;
typedef ArqComplex16 ArqComplexDouble;

/*
 * Pack and Unpack, in every precision. Strides, mask entries and indices are 64-bit.
 *   PackI(n, a, stride, y, flag)    y[i] = a[i * stride]
 *   PackM(n, a, mask, y, flag)      the a[i] whose mask[i] is non-zero, in order, to y[0], y[1],
 * ...; returns how many were written PackV(n, a, index, y, flag)     y[i] = a[index[i]] UnpackI(n,
 * a, y, stride, flag)  y[i * stride] = a[i] UnpackM(n, a, y, mask, flag)    y[i] = the next element
 * of a wherever mask[i] is non-zero (the other y[i] are left alone); returns how many were read
 *   UnpackV(n, a, y, index, flag)   y[index[i]] = a[i]
 * for i < n. Bit 0 of flag makes the indices of PackV and UnpackV 1-based (index 1 is a[0], as
 * from Fortran); it means nothing to the others. The other bits of flag are reserved: a call with
 * any of them set moves nothing and returns 0. The elements are moved as bits (a signalling NaN
 * stays signalling). Unpack with repeated indices stores the last of the elements that share one.
 */
typedef int (*ArqPackIS)(int n, const float *a, int64_t stride, float *y, int flag);
typedef int (*ArqPackID)(int n, const double *a, int64_t stride, double *y, int flag);
typedef int (*ArqPackIC)(int n, const ArqComplexFloat *a, int64_t stride, ArqComplexFloat *y,
                         int flag);
typedef int (*ArqPackIZ)(int n, const ArqComplexDouble *a, int64_t stride, ArqComplexDouble *y,
                         int flag);
typedef int (*ArqPackVS)(int n, const float *a, const int64_t *selector, float *y, int flag);
typedef int (*ArqPackVD)(int n, const double *a, const int64_t *selector, double *y, int flag);
typedef int (*ArqPackVC)(int n, const ArqComplexFloat *a, const int64_t *selector,
                         ArqComplexFloat *y, int flag);
typedef int (*ArqPackVZ)(int n, const ArqComplexDouble *a, const int64_t *selector,
                         ArqComplexDouble *y, int flag);
typedef int (*ArqUnpackIS)(int n, const float *a, float *y, int64_t stride, int flag);
typedef int (*ArqUnpackID)(int n, const double *a, double *y, int64_t stride, int flag);
typedef int (*ArqUnpackIC)(int n, const ArqComplexFloat *a, ArqComplexFloat *y, int64_t stride,
                           int flag);
typedef int (*ArqUnpackIZ)(int n, const ArqComplexDouble *a, ArqComplexDouble *y, int64_t stride,
                           int flag);
typedef int (*ArqUnpackVS)(int n, const float *a, float *y, const int64_t *selector, int flag);
typedef int (*ArqUnpackVD)(int n, const double *a, double *y, const int64_t *selector, int flag);
typedef int (*ArqUnpackVC)(int n, const ArqComplexFloat *a, ArqComplexFloat *y,
                           const int64_t *selector, int flag);
typedef int (*ArqUnpackVZ)(int n, const ArqComplexDouble *a, ArqComplexDouble *y,
                           const int64_t *selector, int flag);

KORB_API int _arqsPackI(int n, const float *a, int64_t stride, float *y, int flag);
KORB_API int _arqsPackI_HA(int n, const float *a, int64_t stride, float *y, int flag);
KORB_API int _arqsPackI_21(int n, const float *a, int64_t stride, float *y, int flag);
KORB_API int _arqsPackI_11(int n, const float *a, int64_t stride, float *y, int flag);
KORB_API extern const ArqPackIS korb_arq_kernel_sPackI_ttab[3];
KORB_API extern const float korb_arq_kernel_sPackI_ctab[3];
KORB_API int _arqsPackM(int n, const float *a, const int64_t *mask, float *y, int flag);
KORB_API int _arqsPackM_HA(int n, const float *a, const int64_t *mask, float *y, int flag);
KORB_API int _arqsPackM_21(int n, const float *a, const int64_t *mask, float *y, int flag);
KORB_API int _arqsPackM_11(int n, const float *a, const int64_t *mask, float *y, int flag);
KORB_API extern const ArqPackVS korb_arq_kernel_sPackM_ttab[3];
KORB_API extern const float korb_arq_kernel_sPackM_ctab[3];
KORB_API int _arqsPackV(int n, const float *a, const int64_t *index, float *y, int flag);
KORB_API int _arqsPackV_HA(int n, const float *a, const int64_t *index, float *y, int flag);
KORB_API int _arqsPackV_21(int n, const float *a, const int64_t *index, float *y, int flag);
KORB_API int _arqsPackV_11(int n, const float *a, const int64_t *index, float *y, int flag);
KORB_API extern const ArqPackVS korb_arq_kernel_sPackV_ttab[3];
KORB_API extern const float korb_arq_kernel_sPackV_ctab[3];
KORB_API int _arqsUnpackI(int n, const float *a, float *y, int64_t stride, int flag);
KORB_API int _arqsUnpackI_HA(int n, const float *a, float *y, int64_t stride, int flag);
KORB_API int _arqsUnpackI_21(int n, const float *a, float *y, int64_t stride, int flag);
KORB_API int _arqsUnpackI_11(int n, const float *a, float *y, int64_t stride, int flag);
KORB_API extern const ArqUnpackIS korb_arq_kernel_sUnpackI_ttab[3];
KORB_API extern const float korb_arq_kernel_sUnpackI_ctab[3];
KORB_API int _arqsUnpackM(int n, const float *a, float *y, const int64_t *mask, int flag);
KORB_API int _arqsUnpackM_HA(int n, const float *a, float *y, const int64_t *mask, int flag);
KORB_API int _arqsUnpackM_21(int n, const float *a, float *y, const int64_t *mask, int flag);
KORB_API int _arqsUnpackM_11(int n, const float *a, float *y, const int64_t *mask, int flag);
KORB_API extern const ArqUnpackVS korb_arq_kernel_sUnpackM_ttab[3];
KORB_API extern const float korb_arq_kernel_sUnpackM_ctab[3];
KORB_API int _arqsUnpackV(int n, const float *a, float *y, const int64_t *index, int flag);
KORB_API int _arqsUnpackV_HA(int n, const float *a, float *y, const int64_t *index, int flag);
KORB_API int _arqsUnpackV_21(int n, const float *a, float *y, const int64_t *index, int flag);
KORB_API int _arqsUnpackV_11(int n, const float *a, float *y, const int64_t *index, int flag);
KORB_API extern const ArqUnpackVS korb_arq_kernel_sUnpackV_ttab[3];
KORB_API extern const float korb_arq_kernel_sUnpackV_ctab[3];
KORB_API int _arqdPackI(int n, const double *a, int64_t stride, double *y, int flag);
KORB_API int _arqdPackI_HA(int n, const double *a, int64_t stride, double *y, int flag);
KORB_API int _arqdPackI_50(int n, const double *a, int64_t stride, double *y, int flag);
KORB_API int _arqdPackI_26(int n, const double *a, int64_t stride, double *y, int flag);
KORB_API extern const ArqPackID korb_arq_kernel_dPackI_ttab[3];
KORB_API extern const float korb_arq_kernel_dPackI_ctab[3];
KORB_API int _arqdPackM(int n, const double *a, const int64_t *mask, double *y, int flag);
KORB_API int _arqdPackM_HA(int n, const double *a, const int64_t *mask, double *y, int flag);
KORB_API int _arqdPackM_50(int n, const double *a, const int64_t *mask, double *y, int flag);
KORB_API int _arqdPackM_26(int n, const double *a, const int64_t *mask, double *y, int flag);
KORB_API extern const ArqPackVD korb_arq_kernel_dPackM_ttab[3];
KORB_API extern const float korb_arq_kernel_dPackM_ctab[3];
KORB_API int _arqdPackV(int n, const double *a, const int64_t *index, double *y, int flag);
KORB_API int _arqdPackV_HA(int n, const double *a, const int64_t *index, double *y, int flag);
KORB_API int _arqdPackV_50(int n, const double *a, const int64_t *index, double *y, int flag);
KORB_API int _arqdPackV_26(int n, const double *a, const int64_t *index, double *y, int flag);
KORB_API extern const ArqPackVD korb_arq_kernel_dPackV_ttab[3];
KORB_API extern const float korb_arq_kernel_dPackV_ctab[3];
KORB_API int _arqdUnpackI(int n, const double *a, double *y, int64_t stride, int flag);
KORB_API int _arqdUnpackI_HA(int n, const double *a, double *y, int64_t stride, int flag);
KORB_API int _arqdUnpackI_50(int n, const double *a, double *y, int64_t stride, int flag);
KORB_API int _arqdUnpackI_26(int n, const double *a, double *y, int64_t stride, int flag);
KORB_API extern const ArqUnpackID korb_arq_kernel_dUnpackI_ttab[3];
KORB_API extern const float korb_arq_kernel_dUnpackI_ctab[3];
KORB_API int _arqdUnpackM(int n, const double *a, double *y, const int64_t *mask, int flag);
KORB_API int _arqdUnpackM_HA(int n, const double *a, double *y, const int64_t *mask, int flag);
KORB_API int _arqdUnpackM_50(int n, const double *a, double *y, const int64_t *mask, int flag);
KORB_API int _arqdUnpackM_26(int n, const double *a, double *y, const int64_t *mask, int flag);
KORB_API extern const ArqUnpackVD korb_arq_kernel_dUnpackM_ttab[3];
KORB_API extern const float korb_arq_kernel_dUnpackM_ctab[3];
KORB_API int _arqdUnpackV(int n, const double *a, double *y, const int64_t *index, int flag);
KORB_API int _arqdUnpackV_HA(int n, const double *a, double *y, const int64_t *index, int flag);
KORB_API int _arqdUnpackV_50(int n, const double *a, double *y, const int64_t *index, int flag);
KORB_API int _arqdUnpackV_26(int n, const double *a, double *y, const int64_t *index, int flag);
KORB_API extern const ArqUnpackVD korb_arq_kernel_dUnpackV_ttab[3];
KORB_API extern const float korb_arq_kernel_dUnpackV_ctab[3];
KORB_API int _arqcPackI(int n, const ArqComplexFloat *a, int64_t stride, ArqComplexFloat *y,
                        int flag);
KORB_API int _arqcPackI_HA(int n, const ArqComplexFloat *a, int64_t stride, ArqComplexFloat *y,
                           int flag);
KORB_API int _arqcPackI_21(int n, const ArqComplexFloat *a, int64_t stride, ArqComplexFloat *y,
                           int flag);
KORB_API int _arqcPackI_11(int n, const ArqComplexFloat *a, int64_t stride, ArqComplexFloat *y,
                           int flag);
KORB_API extern const ArqPackIC korb_arq_kernel_cPackI_ttab[3];
KORB_API extern const float korb_arq_kernel_cPackI_ctab[3];
KORB_API int _arqcPackM(int n, const ArqComplexFloat *a, const int64_t *mask, ArqComplexFloat *y,
                        int flag);
KORB_API int _arqcPackM_HA(int n, const ArqComplexFloat *a, const int64_t *mask, ArqComplexFloat *y,
                           int flag);
KORB_API int _arqcPackM_21(int n, const ArqComplexFloat *a, const int64_t *mask, ArqComplexFloat *y,
                           int flag);
KORB_API int _arqcPackM_11(int n, const ArqComplexFloat *a, const int64_t *mask, ArqComplexFloat *y,
                           int flag);
KORB_API extern const ArqPackVC korb_arq_kernel_cPackM_ttab[3];
KORB_API extern const float korb_arq_kernel_cPackM_ctab[3];
KORB_API int _arqcPackV(int n, const ArqComplexFloat *a, const int64_t *index, ArqComplexFloat *y,
                        int flag);
KORB_API int _arqcPackV_HA(int n, const ArqComplexFloat *a, const int64_t *index,
                           ArqComplexFloat *y, int flag);
KORB_API int _arqcPackV_21(int n, const ArqComplexFloat *a, const int64_t *index,
                           ArqComplexFloat *y, int flag);
KORB_API int _arqcPackV_11(int n, const ArqComplexFloat *a, const int64_t *index,
                           ArqComplexFloat *y, int flag);
KORB_API extern const ArqPackVC korb_arq_kernel_cPackV_ttab[3];
KORB_API extern const float korb_arq_kernel_cPackV_ctab[3];
KORB_API int _arqcUnpackI(int n, const ArqComplexFloat *a, ArqComplexFloat *y, int64_t stride,
                          int flag);
KORB_API int _arqcUnpackI_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *y, int64_t stride,
                             int flag);
KORB_API int _arqcUnpackI_21(int n, const ArqComplexFloat *a, ArqComplexFloat *y, int64_t stride,
                             int flag);
KORB_API int _arqcUnpackI_11(int n, const ArqComplexFloat *a, ArqComplexFloat *y, int64_t stride,
                             int flag);
KORB_API extern const ArqUnpackIC korb_arq_kernel_cUnpackI_ttab[3];
KORB_API extern const float korb_arq_kernel_cUnpackI_ctab[3];
KORB_API int _arqcUnpackM(int n, const ArqComplexFloat *a, ArqComplexFloat *y, const int64_t *mask,
                          int flag);
KORB_API int _arqcUnpackM_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *y,
                             const int64_t *mask, int flag);
KORB_API int _arqcUnpackM_21(int n, const ArqComplexFloat *a, ArqComplexFloat *y,
                             const int64_t *mask, int flag);
KORB_API int _arqcUnpackM_11(int n, const ArqComplexFloat *a, ArqComplexFloat *y,
                             const int64_t *mask, int flag);
KORB_API extern const ArqUnpackVC korb_arq_kernel_cUnpackM_ttab[3];
KORB_API extern const float korb_arq_kernel_cUnpackM_ctab[3];
KORB_API int _arqcUnpackV(int n, const ArqComplexFloat *a, ArqComplexFloat *y, const int64_t *index,
                          int flag);
KORB_API int _arqcUnpackV_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *y,
                             const int64_t *index, int flag);
KORB_API int _arqcUnpackV_21(int n, const ArqComplexFloat *a, ArqComplexFloat *y,
                             const int64_t *index, int flag);
KORB_API int _arqcUnpackV_11(int n, const ArqComplexFloat *a, ArqComplexFloat *y,
                             const int64_t *index, int flag);
KORB_API extern const ArqUnpackVC korb_arq_kernel_cUnpackV_ttab[3];
KORB_API extern const float korb_arq_kernel_cUnpackV_ctab[3];
KORB_API int _arqzPackI(int n, const ArqComplexDouble *a, int64_t stride, ArqComplexDouble *y,
                        int flag);
KORB_API int _arqzPackI_HA(int n, const ArqComplexDouble *a, int64_t stride, ArqComplexDouble *y,
                           int flag);
KORB_API int _arqzPackI_50(int n, const ArqComplexDouble *a, int64_t stride, ArqComplexDouble *y,
                           int flag);
KORB_API int _arqzPackI_26(int n, const ArqComplexDouble *a, int64_t stride, ArqComplexDouble *y,
                           int flag);
KORB_API extern const ArqPackIZ korb_arq_kernel_zPackI_ttab[3];
KORB_API extern const float korb_arq_kernel_zPackI_ctab[3];
KORB_API int _arqzPackM(int n, const ArqComplexDouble *a, const int64_t *mask, ArqComplexDouble *y,
                        int flag);
KORB_API int _arqzPackM_HA(int n, const ArqComplexDouble *a, const int64_t *mask,
                           ArqComplexDouble *y, int flag);
KORB_API int _arqzPackM_50(int n, const ArqComplexDouble *a, const int64_t *mask,
                           ArqComplexDouble *y, int flag);
KORB_API int _arqzPackM_26(int n, const ArqComplexDouble *a, const int64_t *mask,
                           ArqComplexDouble *y, int flag);
KORB_API extern const ArqPackVZ korb_arq_kernel_zPackM_ttab[3];
KORB_API extern const float korb_arq_kernel_zPackM_ctab[3];
KORB_API int _arqzPackV(int n, const ArqComplexDouble *a, const int64_t *index, ArqComplexDouble *y,
                        int flag);
KORB_API int _arqzPackV_HA(int n, const ArqComplexDouble *a, const int64_t *index,
                           ArqComplexDouble *y, int flag);
KORB_API int _arqzPackV_50(int n, const ArqComplexDouble *a, const int64_t *index,
                           ArqComplexDouble *y, int flag);
KORB_API int _arqzPackV_26(int n, const ArqComplexDouble *a, const int64_t *index,
                           ArqComplexDouble *y, int flag);
KORB_API extern const ArqPackVZ korb_arq_kernel_zPackV_ttab[3];
KORB_API extern const float korb_arq_kernel_zPackV_ctab[3];
KORB_API int _arqzUnpackI(int n, const ArqComplexDouble *a, ArqComplexDouble *y, int64_t stride,
                          int flag);
KORB_API int _arqzUnpackI_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *y, int64_t stride,
                             int flag);
KORB_API int _arqzUnpackI_50(int n, const ArqComplexDouble *a, ArqComplexDouble *y, int64_t stride,
                             int flag);
KORB_API int _arqzUnpackI_26(int n, const ArqComplexDouble *a, ArqComplexDouble *y, int64_t stride,
                             int flag);
KORB_API extern const ArqUnpackIZ korb_arq_kernel_zUnpackI_ttab[3];
KORB_API extern const float korb_arq_kernel_zUnpackI_ctab[3];
KORB_API int _arqzUnpackM(int n, const ArqComplexDouble *a, ArqComplexDouble *y,
                          const int64_t *mask, int flag);
KORB_API int _arqzUnpackM_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *y,
                             const int64_t *mask, int flag);
KORB_API int _arqzUnpackM_50(int n, const ArqComplexDouble *a, ArqComplexDouble *y,
                             const int64_t *mask, int flag);
KORB_API int _arqzUnpackM_26(int n, const ArqComplexDouble *a, ArqComplexDouble *y,
                             const int64_t *mask, int flag);
KORB_API extern const ArqUnpackVZ korb_arq_kernel_zUnpackM_ttab[3];
KORB_API extern const float korb_arq_kernel_zUnpackM_ctab[3];
KORB_API int _arqzUnpackV(int n, const ArqComplexDouble *a, ArqComplexDouble *y,
                          const int64_t *index, int flag);
KORB_API int _arqzUnpackV_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *y,
                             const int64_t *index, int flag);
KORB_API int _arqzUnpackV_50(int n, const ArqComplexDouble *a, ArqComplexDouble *y,
                             const int64_t *index, int flag);
KORB_API int _arqzUnpackV_26(int n, const ArqComplexDouble *a, ArqComplexDouble *y,
                             const int64_t *index, int flag);
KORB_API extern const ArqUnpackVZ korb_arq_kernel_zUnpackV_ttab[3];
KORB_API extern const float korb_arq_kernel_zUnpackV_ctab[3];

/*
 * Complex arithmetic (c, z). Add and Sub are componentwise IEEE operations; their LA and HA slots
 * report overflow (ARQ_STATUS_OVERFLOW) and invalid parts (ARQ_STATUS_ERRDOM), the EP slot gives
 * the same bits without reports. Mul and MulByConj (a * conj(b)) are accurate to 1 ulp in each
 * part, also when the products cancel; Div is scaled so that no intermediate value overflows or
 * underflows. Special values follow C99 Annex G (an infinite argument gives an infinite product
 * or quotient); a result with an infinite part of finite arguments is ARQ_STATUS_OVERFLOW, a
 * finite non-zero value divided by 0 ARQ_STATUS_SING, 0/0 and other invalid operations
 * ARQ_STATUS_ERRDOM. Conj flips the imaginary part's sign and returns n. Abs (hypot of the
 * parts, ARQ_STATUS_OVERFLOW when it overflows) and Arg (atan2(im, re), no status) have a real
 * result within 1 ulp; CIS(a) = cos a + i sin a of a real argument, within the SinCos bounds, the
 * NaN parts with ARQ_STATUS_ERRDOM for an infinite argument.
 */
typedef void (*ArqKernelTwoC)(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                              ArqComplexFloat *r);
typedef void (*ArqKernelTwoZ)(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                              ArqComplexDouble *r);
typedef int (*ArqBitKernelC)(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
typedef int (*ArqBitKernelZ)(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
typedef void (*ArqKernelToRealC)(int n, const ArqComplexFloat *a, float *r);
typedef void (*ArqKernelToRealZ)(int n, const ArqComplexDouble *a, double *r);
typedef void (*ArqKernelFromRealC)(int n, const float *a, ArqComplexFloat *r);
typedef void (*ArqKernelFromRealZ)(int n, const double *a, ArqComplexDouble *r);

KORB_API void _arqcAdd(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                       ArqComplexFloat *r);
KORB_API void _arqcAdd_HA(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API void _arqcAdd_21(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API void _arqcAdd_11(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API extern const ArqKernelTwoC korb_arq_kernel_cAdd_ttab[3];
KORB_API extern const float korb_arq_kernel_cAdd_ctab[3];
KORB_API void _arqcSub(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                       ArqComplexFloat *r);
KORB_API void _arqcSub_HA(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API void _arqcSub_21(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API void _arqcSub_11(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API extern const ArqKernelTwoC korb_arq_kernel_cSub_ttab[3];
KORB_API extern const float korb_arq_kernel_cSub_ctab[3];
KORB_API void _arqcMul(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                       ArqComplexFloat *r);
KORB_API void _arqcMul_HA(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API void _arqcMul_21(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API void _arqcMul_11(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API extern const ArqKernelTwoC korb_arq_kernel_cMul_ttab[3];
KORB_API extern const float korb_arq_kernel_cMul_ctab[3];
KORB_API void _arqcMulByConj(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                             ArqComplexFloat *r);
KORB_API void _arqcMulByConj_HA(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                                ArqComplexFloat *r);
KORB_API void _arqcMulByConj_21(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                                ArqComplexFloat *r);
KORB_API void _arqcMulByConj_11(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                                ArqComplexFloat *r);
KORB_API extern const ArqKernelTwoC korb_arq_kernel_cMulByConj_ttab[3];
KORB_API extern const float korb_arq_kernel_cMulByConj_ctab[3];
KORB_API void _arqcDiv(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                       ArqComplexFloat *r);
KORB_API void _arqcDiv_HA(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API void _arqcDiv_21(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API void _arqcDiv_11(int n, const ArqComplexFloat *a, const ArqComplexFloat *b,
                          ArqComplexFloat *r);
KORB_API extern const ArqKernelTwoC korb_arq_kernel_cDiv_ttab[3];
KORB_API extern const float korb_arq_kernel_cDiv_ctab[3];
KORB_API int _arqcConj(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API int _arqcConj_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API int _arqcConj_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API int _arqcConj_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqBitKernelC korb_arq_kernel_cConj_ttab[3];
KORB_API extern const float korb_arq_kernel_cConj_ctab[3];
KORB_API void _arqcAbs(int n, const ArqComplexFloat *a, float *r);
KORB_API void _arqcAbs_HA(int n, const ArqComplexFloat *a, float *r);
KORB_API void _arqcAbs_21(int n, const ArqComplexFloat *a, float *r);
KORB_API void _arqcAbs_11(int n, const ArqComplexFloat *a, float *r);
KORB_API extern const ArqKernelToRealC korb_arq_kernel_cAbs_ttab[3];
KORB_API extern const float korb_arq_kernel_cAbs_ctab[3];
KORB_API void _arqcArg(int n, const ArqComplexFloat *a, float *r);
KORB_API void _arqcArg_HA(int n, const ArqComplexFloat *a, float *r);
KORB_API void _arqcArg_21(int n, const ArqComplexFloat *a, float *r);
KORB_API void _arqcArg_11(int n, const ArqComplexFloat *a, float *r);
KORB_API extern const ArqKernelToRealC korb_arq_kernel_cArg_ttab[3];
KORB_API extern const float korb_arq_kernel_cArg_ctab[3];
KORB_API void _arqcCIS(int n, const float *a, ArqComplexFloat *r);
KORB_API void _arqcCIS_HA(int n, const float *a, ArqComplexFloat *r);
KORB_API void _arqcCIS_21(int n, const float *a, ArqComplexFloat *r);
KORB_API void _arqcCIS_11(int n, const float *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelFromRealC korb_arq_kernel_cCIS_ttab[3];
KORB_API extern const float korb_arq_kernel_cCIS_ctab[3];
KORB_API void _arqzAdd(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                       ArqComplexDouble *r);
KORB_API void _arqzAdd_HA(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API void _arqzAdd_50(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API void _arqzAdd_26(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API extern const ArqKernelTwoZ korb_arq_kernel_zAdd_ttab[3];
KORB_API extern const float korb_arq_kernel_zAdd_ctab[3];
KORB_API void _arqzSub(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                       ArqComplexDouble *r);
KORB_API void _arqzSub_HA(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API void _arqzSub_50(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API void _arqzSub_26(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API extern const ArqKernelTwoZ korb_arq_kernel_zSub_ttab[3];
KORB_API extern const float korb_arq_kernel_zSub_ctab[3];
KORB_API void _arqzMul(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                       ArqComplexDouble *r);
KORB_API void _arqzMul_HA(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API void _arqzMul_50(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API void _arqzMul_26(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API extern const ArqKernelTwoZ korb_arq_kernel_zMul_ttab[3];
KORB_API extern const float korb_arq_kernel_zMul_ctab[3];
KORB_API void _arqzMulByConj(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                             ArqComplexDouble *r);
KORB_API void _arqzMulByConj_HA(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                                ArqComplexDouble *r);
KORB_API void _arqzMulByConj_50(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                                ArqComplexDouble *r);
KORB_API void _arqzMulByConj_26(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                                ArqComplexDouble *r);
KORB_API extern const ArqKernelTwoZ korb_arq_kernel_zMulByConj_ttab[3];
KORB_API extern const float korb_arq_kernel_zMulByConj_ctab[3];
KORB_API void _arqzDiv(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                       ArqComplexDouble *r);
KORB_API void _arqzDiv_HA(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API void _arqzDiv_50(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API void _arqzDiv_26(int n, const ArqComplexDouble *a, const ArqComplexDouble *b,
                          ArqComplexDouble *r);
KORB_API extern const ArqKernelTwoZ korb_arq_kernel_zDiv_ttab[3];
KORB_API extern const float korb_arq_kernel_zDiv_ctab[3];
KORB_API int _arqzConj(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API int _arqzConj_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API int _arqzConj_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API int _arqzConj_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqBitKernelZ korb_arq_kernel_zConj_ttab[3];
KORB_API extern const float korb_arq_kernel_zConj_ctab[3];
KORB_API void _arqzAbs(int n, const ArqComplexDouble *a, double *r);
KORB_API void _arqzAbs_HA(int n, const ArqComplexDouble *a, double *r);
KORB_API void _arqzAbs_50(int n, const ArqComplexDouble *a, double *r);
KORB_API void _arqzAbs_26(int n, const ArqComplexDouble *a, double *r);
KORB_API extern const ArqKernelToRealZ korb_arq_kernel_zAbs_ttab[3];
KORB_API extern const float korb_arq_kernel_zAbs_ctab[3];
KORB_API void _arqzArg(int n, const ArqComplexDouble *a, double *r);
KORB_API void _arqzArg_HA(int n, const ArqComplexDouble *a, double *r);
KORB_API void _arqzArg_50(int n, const ArqComplexDouble *a, double *r);
KORB_API void _arqzArg_26(int n, const ArqComplexDouble *a, double *r);
KORB_API extern const ArqKernelToRealZ korb_arq_kernel_zArg_ttab[3];
KORB_API extern const float korb_arq_kernel_zArg_ctab[3];
KORB_API void _arqzCIS(int n, const double *a, ArqComplexDouble *r);
KORB_API void _arqzCIS_HA(int n, const double *a, ArqComplexDouble *r);
KORB_API void _arqzCIS_50(int n, const double *a, ArqComplexDouble *r);
KORB_API void _arqzCIS_26(int n, const double *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelFromRealZ korb_arq_kernel_zCIS_ttab[3];
KORB_API extern const float korb_arq_kernel_zCIS_ctab[3];

/*
 * The complex elementary functions Exp, Ln, Log10, Pow, Powx, Sqrt, Sin, Cos, Tan, Sinh, Cosh
 * and Tanh (c, z), with C99 Annex G's special values and branch cuts (the sign of a zero part
 * selects the side of a cut). Each part is within 2 ulp of the correctly rounded part, or, for a
 * part below 2^-20 of the result's modulus, within 2 ulp of the modulus. An infinite part from
 * finite arguments is ARQ_STATUS_OVERFLOW; Ln(0), Log10(0) and Pow(0, w) with Re w < 0
 * ARQ_STATUS_SING; Annex G's invalid operations ARQ_STATUS_ERRDOM. cExp has a second kernel in
 * its LA and EP slots, cLn distinct kernels in all three. Powx takes one exponent b for the
 * whole vector.
 */
typedef void (*ArqKernelC)(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
typedef void (*ArqKernelZ)(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
typedef void (*ArqKernelScalarC)(int n, const ArqComplexFloat *a, ArqComplexFloat b,
                                 ArqComplexFloat *r);
typedef void (*ArqKernelScalarZ)(int n, const ArqComplexDouble *a, ArqComplexDouble b,
                                 ArqComplexDouble *r);
KORB_API void _arqcCos(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcCos_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcCos_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcCos_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelC korb_arq_kernel_cCos_ttab[3];
KORB_API extern const float korb_arq_kernel_cCos_ctab[3];
KORB_API void _arqzCos(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzCos_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzCos_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzCos_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelZ korb_arq_kernel_zCos_ttab[3];
KORB_API extern const float korb_arq_kernel_zCos_ctab[3];
KORB_API void _arqcCosh(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcCosh_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcCosh_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcCosh_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelC korb_arq_kernel_cCosh_ttab[3];
KORB_API extern const float korb_arq_kernel_cCosh_ctab[3];
KORB_API void _arqzCosh(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzCosh_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzCosh_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzCosh_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelZ korb_arq_kernel_zCosh_ttab[3];
KORB_API extern const float korb_arq_kernel_zCosh_ctab[3];
KORB_API void _arqcExp(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcExp_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcExp_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcExp_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelC korb_arq_kernel_cExp_ttab[3];
KORB_API extern const float korb_arq_kernel_cExp_ctab[3];
KORB_API void _arqzExp(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzExp_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzExp_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzExp_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelZ korb_arq_kernel_zExp_ttab[3];
KORB_API extern const float korb_arq_kernel_zExp_ctab[3];
KORB_API void _arqcLn(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcLn_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcLn_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcLn_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelC korb_arq_kernel_cLn_ttab[3];
KORB_API extern const float korb_arq_kernel_cLn_ctab[3];
KORB_API void _arqzLn(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzLn_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzLn_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzLn_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelZ korb_arq_kernel_zLn_ttab[3];
KORB_API extern const float korb_arq_kernel_zLn_ctab[3];
KORB_API void _arqcLog10(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcLog10_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcLog10_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcLog10_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelC korb_arq_kernel_cLog10_ttab[3];
KORB_API extern const float korb_arq_kernel_cLog10_ctab[3];
KORB_API void _arqzLog10(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzLog10_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzLog10_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzLog10_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelZ korb_arq_kernel_zLog10_ttab[3];
KORB_API extern const float korb_arq_kernel_zLog10_ctab[3];
KORB_API void _arqcPow(int n, const ArqComplexFloat *a, const ArqComplexFloat *b, ArqComplexFloat *r);
KORB_API void _arqcPow_HA(int n, const ArqComplexFloat *a, const ArqComplexFloat *b, ArqComplexFloat *r);
KORB_API void _arqcPow_21(int n, const ArqComplexFloat *a, const ArqComplexFloat *b, ArqComplexFloat *r);
KORB_API void _arqcPow_11(int n, const ArqComplexFloat *a, const ArqComplexFloat *b, ArqComplexFloat *r);
KORB_API extern const ArqKernelTwoC korb_arq_kernel_cPow_ttab[3];
KORB_API extern const float korb_arq_kernel_cPow_ctab[3];
KORB_API void _arqzPow(int n, const ArqComplexDouble *a, const ArqComplexDouble *b, ArqComplexDouble *r);
KORB_API void _arqzPow_HA(int n, const ArqComplexDouble *a, const ArqComplexDouble *b, ArqComplexDouble *r);
KORB_API void _arqzPow_50(int n, const ArqComplexDouble *a, const ArqComplexDouble *b, ArqComplexDouble *r);
KORB_API void _arqzPow_26(int n, const ArqComplexDouble *a, const ArqComplexDouble *b, ArqComplexDouble *r);
KORB_API extern const ArqKernelTwoZ korb_arq_kernel_zPow_ttab[3];
KORB_API extern const float korb_arq_kernel_zPow_ctab[3];
KORB_API void _arqcPowx(int n, const ArqComplexFloat *a, ArqComplexFloat b, ArqComplexFloat *r);
KORB_API void _arqcPowx_HA(int n, const ArqComplexFloat *a, ArqComplexFloat b, ArqComplexFloat *r);
KORB_API void _arqcPowx_21(int n, const ArqComplexFloat *a, ArqComplexFloat b, ArqComplexFloat *r);
KORB_API void _arqcPowx_11(int n, const ArqComplexFloat *a, ArqComplexFloat b, ArqComplexFloat *r);
KORB_API extern const ArqKernelScalarC korb_arq_kernel_cPowx_ttab[3];
KORB_API extern const float korb_arq_kernel_cPowx_ctab[3];
KORB_API void _arqzPowx(int n, const ArqComplexDouble *a, ArqComplexDouble b, ArqComplexDouble *r);
KORB_API void _arqzPowx_HA(int n, const ArqComplexDouble *a, ArqComplexDouble b, ArqComplexDouble *r);
KORB_API void _arqzPowx_50(int n, const ArqComplexDouble *a, ArqComplexDouble b, ArqComplexDouble *r);
KORB_API void _arqzPowx_26(int n, const ArqComplexDouble *a, ArqComplexDouble b, ArqComplexDouble *r);
KORB_API extern const ArqKernelScalarZ korb_arq_kernel_zPowx_ttab[3];
KORB_API extern const float korb_arq_kernel_zPowx_ctab[3];
KORB_API void _arqcSin(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcSin_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcSin_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcSin_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelC korb_arq_kernel_cSin_ttab[3];
KORB_API extern const float korb_arq_kernel_cSin_ctab[3];
KORB_API void _arqzSin(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzSin_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzSin_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzSin_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelZ korb_arq_kernel_zSin_ttab[3];
KORB_API extern const float korb_arq_kernel_zSin_ctab[3];
KORB_API void _arqcSinh(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcSinh_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcSinh_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcSinh_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelC korb_arq_kernel_cSinh_ttab[3];
KORB_API extern const float korb_arq_kernel_cSinh_ctab[3];
KORB_API void _arqzSinh(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzSinh_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzSinh_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzSinh_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelZ korb_arq_kernel_zSinh_ttab[3];
KORB_API extern const float korb_arq_kernel_zSinh_ctab[3];
KORB_API void _arqcSqrt(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcSqrt_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcSqrt_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcSqrt_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelC korb_arq_kernel_cSqrt_ttab[3];
KORB_API extern const float korb_arq_kernel_cSqrt_ctab[3];
KORB_API void _arqzSqrt(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzSqrt_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzSqrt_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzSqrt_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelZ korb_arq_kernel_zSqrt_ttab[3];
KORB_API extern const float korb_arq_kernel_zSqrt_ctab[3];
KORB_API void _arqcTan(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcTan_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcTan_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcTan_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelC korb_arq_kernel_cTan_ttab[3];
KORB_API extern const float korb_arq_kernel_cTan_ctab[3];
KORB_API void _arqzTan(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzTan_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzTan_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzTan_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelZ korb_arq_kernel_zTan_ttab[3];
KORB_API extern const float korb_arq_kernel_zTan_ctab[3];
KORB_API void _arqcTanh(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcTanh_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcTanh_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcTanh_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelC korb_arq_kernel_cTanh_ttab[3];
KORB_API extern const float korb_arq_kernel_cTanh_ctab[3];
KORB_API void _arqzTanh(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzTanh_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzTanh_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzTanh_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelZ korb_arq_kernel_zTanh_ttab[3];
KORB_API extern const float korb_arq_kernel_zTanh_ctab[3];
/* Acos, Asin: arccosine in [0, pi] and arcsine in [-pi/2, pi/2]. |a| > 1 (also +-Inf) gives the
 * NaN 0xFFC00000 / 0xFFF8000000000000 with ARQ_STATUS_ERRDOM; asin(+-1) = +-pi/2, acos(1) = +0,
 * acos(-1) = pi, asin(+-0) = +-0, a NaN comes back quiet. */
KORB_API void _arqsAcos(int n, const float *a, float *r);
KORB_API void _arqsAcos_HA(int n, const float *a, float *r);
KORB_API void _arqsAcos_21(int n, const float *a, float *r);
KORB_API void _arqsAcos_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sAcos_ttab[3];
KORB_API extern const float korb_arq_kernel_sAcos_ctab[3];
KORB_API void _arqdAcos(int n, const double *a, double *r);
KORB_API void _arqdAcos_HA(int n, const double *a, double *r);
KORB_API void _arqdAcos_50(int n, const double *a, double *r);
KORB_API void _arqdAcos_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dAcos_ttab[3];
KORB_API extern const float korb_arq_kernel_dAcos_ctab[3];
KORB_API void _arqsAsin(int n, const float *a, float *r);
KORB_API void _arqsAsin_HA(int n, const float *a, float *r);
KORB_API void _arqsAsin_21(int n, const float *a, float *r);
KORB_API void _arqsAsin_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sAsin_ttab[3];
KORB_API extern const float korb_arq_kernel_sAsin_ctab[3];
KORB_API void _arqdAsin(int n, const double *a, double *r);
KORB_API void _arqdAsin_HA(int n, const double *a, double *r);
KORB_API void _arqdAsin_50(int n, const double *a, double *r);
KORB_API void _arqdAsin_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dAsin_ttab[3];
KORB_API extern const float korb_arq_kernel_dAsin_ctab[3];

/* Atan: arctangent, in (-pi/2, pi/2); atan(+-Inf) = +-pi/2, atan(+-0) = +-0, a NaN comes back
 * quiet. Atan2: r = atan2(a, b), the angle of the point (b, a) in [-pi, pi], with the signed zeros
 * and infinities of C99 (atan2(+-0, -0) = +-pi, atan2(+-Inf, -Inf) = +-3pi/4, ...); a result below
 * the smallest normal number reports ARQ_STATUS_UNDERFLOW. No other status. */
KORB_API void _arqsAtan(int n, const float *a, float *r);
KORB_API void _arqsAtan_HA(int n, const float *a, float *r);
KORB_API void _arqsAtan_21(int n, const float *a, float *r);
KORB_API void _arqsAtan_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sAtan_ttab[3];
KORB_API extern const float korb_arq_kernel_sAtan_ctab[3];
KORB_API void _arqdAtan(int n, const double *a, double *r);
KORB_API void _arqdAtan_HA(int n, const double *a, double *r);
KORB_API void _arqdAtan_50(int n, const double *a, double *r);
KORB_API void _arqdAtan_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dAtan_ttab[3];
KORB_API extern const float korb_arq_kernel_dAtan_ctab[3];
KORB_API void _arqsAtan2(int n, const float *a, const float *b, float *r);
KORB_API void _arqsAtan2_HA(int n, const float *a, const float *b, float *r);
KORB_API void _arqsAtan2_21(int n, const float *a, const float *b, float *r);
KORB_API void _arqsAtan2_11(int n, const float *a, const float *b, float *r);
KORB_API extern const ArqKernelBinaryS korb_arq_kernel_sAtan2_ttab[3];
KORB_API extern const float korb_arq_kernel_sAtan2_ctab[3];
KORB_API void _arqdAtan2(int n, const double *a, const double *b, double *r);
KORB_API void _arqdAtan2_HA(int n, const double *a, const double *b, double *r);
KORB_API void _arqdAtan2_50(int n, const double *a, const double *b, double *r);
KORB_API void _arqdAtan2_26(int n, const double *a, const double *b, double *r);
KORB_API extern const ArqKernelBinaryD korb_arq_kernel_dAtan2_ttab[3];
KORB_API extern const float korb_arq_kernel_dAtan2_ctab[3];

/* Cosh, Sinh, Tanh: the hyperbolic functions. cosh(+-Inf) = +Inf, sinh(+-Inf) = +-Inf,
 * tanh(+-Inf) = +-1, a NaN comes back quiet; a finite argument whose cosh or sinh exceeds the
 * largest finite number gives +-Inf with ARQ_STATUS_OVERFLOW. No other status. */
KORB_API void _arqsCosh(int n, const float *a, float *r);
KORB_API void _arqsCosh_HA(int n, const float *a, float *r);
KORB_API void _arqsCosh_21(int n, const float *a, float *r);
KORB_API void _arqsCosh_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sCosh_ttab[3];
KORB_API extern const float korb_arq_kernel_sCosh_ctab[3];
KORB_API void _arqdCosh(int n, const double *a, double *r);
KORB_API void _arqdCosh_HA(int n, const double *a, double *r);
KORB_API void _arqdCosh_50(int n, const double *a, double *r);
KORB_API void _arqdCosh_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dCosh_ttab[3];
KORB_API extern const float korb_arq_kernel_dCosh_ctab[3];
KORB_API void _arqsSinh(int n, const float *a, float *r);
KORB_API void _arqsSinh_HA(int n, const float *a, float *r);
KORB_API void _arqsSinh_21(int n, const float *a, float *r);
KORB_API void _arqsSinh_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sSinh_ttab[3];
KORB_API extern const float korb_arq_kernel_sSinh_ctab[3];
KORB_API void _arqdSinh(int n, const double *a, double *r);
KORB_API void _arqdSinh_HA(int n, const double *a, double *r);
KORB_API void _arqdSinh_50(int n, const double *a, double *r);
KORB_API void _arqdSinh_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dSinh_ttab[3];
KORB_API extern const float korb_arq_kernel_dSinh_ctab[3];
KORB_API void _arqsTanh(int n, const float *a, float *r);
KORB_API void _arqsTanh_HA(int n, const float *a, float *r);
KORB_API void _arqsTanh_21(int n, const float *a, float *r);
KORB_API void _arqsTanh_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sTanh_ttab[3];
KORB_API extern const float korb_arq_kernel_sTanh_ctab[3];
KORB_API void _arqdTanh(int n, const double *a, double *r);
KORB_API void _arqdTanh_HA(int n, const double *a, double *r);
KORB_API void _arqdTanh_50(int n, const double *a, double *r);
KORB_API void _arqdTanh_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dTanh_ttab[3];
KORB_API extern const float korb_arq_kernel_dTanh_ctab[3];

/* Acosh, Asinh, Atanh: the inverse hyperbolic functions. acosh(x < 1) (also -Inf) and
 * atanh(|x| > 1) (also +-Inf) give the NaN 0xFFC00000 / 0xFFF8000000000000 with
 * ARQ_STATUS_ERRDOM; atanh(+-1) = +-Inf with ARQ_STATUS_SING; acosh(1) = +0, asinh(+-0) =
 * atanh(+-0) = +-0, asinh(+-Inf) = +-Inf, acosh(+Inf) = +Inf, a NaN comes back quiet. */
KORB_API void _arqsAcosh(int n, const float *a, float *r);
KORB_API void _arqsAcosh_HA(int n, const float *a, float *r);
KORB_API void _arqsAcosh_21(int n, const float *a, float *r);
KORB_API void _arqsAcosh_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sAcosh_ttab[3];
KORB_API extern const float korb_arq_kernel_sAcosh_ctab[3];
KORB_API void _arqdAcosh(int n, const double *a, double *r);
KORB_API void _arqdAcosh_HA(int n, const double *a, double *r);
KORB_API void _arqdAcosh_50(int n, const double *a, double *r);
KORB_API void _arqdAcosh_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dAcosh_ttab[3];
KORB_API extern const float korb_arq_kernel_dAcosh_ctab[3];
KORB_API void _arqsAsinh(int n, const float *a, float *r);
KORB_API void _arqsAsinh_HA(int n, const float *a, float *r);
KORB_API void _arqsAsinh_21(int n, const float *a, float *r);
KORB_API void _arqsAsinh_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sAsinh_ttab[3];
KORB_API extern const float korb_arq_kernel_sAsinh_ctab[3];
KORB_API void _arqdAsinh(int n, const double *a, double *r);
KORB_API void _arqdAsinh_HA(int n, const double *a, double *r);
KORB_API void _arqdAsinh_50(int n, const double *a, double *r);
KORB_API void _arqdAsinh_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dAsinh_ttab[3];
KORB_API extern const float korb_arq_kernel_dAsinh_ctab[3];
KORB_API void _arqsAtanh(int n, const float *a, float *r);
KORB_API void _arqsAtanh_HA(int n, const float *a, float *r);
KORB_API void _arqsAtanh_21(int n, const float *a, float *r);
KORB_API void _arqsAtanh_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sAtanh_ttab[3];
KORB_API extern const float korb_arq_kernel_sAtanh_ctab[3];
KORB_API void _arqdAtanh(int n, const double *a, double *r);
KORB_API void _arqdAtanh_HA(int n, const double *a, double *r);
KORB_API void _arqdAtanh_50(int n, const double *a, double *r);
KORB_API void _arqdAtanh_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dAtanh_ttab[3];
KORB_API extern const float korb_arq_kernel_dAtanh_ctab[3];

/* Erf, Erfc: the error function and its complement. erf(+-0) = +-0, erf(+-Inf) = +-1,
 * erfc(-Inf) = 2, erfc(+Inf) = +0, a NaN comes back quiet; a subnormal or zero result from a
 * finite argument (erfc(a) for a > 26.5432 in double, 9.1945 in single; erf of a subnormal
 * argument) reports ARQ_STATUS_UNDERFLOW. One kernel per precision. */
KORB_API void _arqsErf(int n, const float *a, float *r);
KORB_API void _arqsErf_HA(int n, const float *a, float *r);
KORB_API void _arqsErf_21(int n, const float *a, float *r);
KORB_API void _arqsErf_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sErf_ttab[3];
KORB_API extern const float korb_arq_kernel_sErf_ctab[3];
KORB_API void _arqdErf(int n, const double *a, double *r);
KORB_API void _arqdErf_HA(int n, const double *a, double *r);
KORB_API void _arqdErf_50(int n, const double *a, double *r);
KORB_API void _arqdErf_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dErf_ttab[3];
KORB_API extern const float korb_arq_kernel_dErf_ctab[3];
KORB_API void _arqsErfc(int n, const float *a, float *r);
KORB_API void _arqsErfc_HA(int n, const float *a, float *r);
KORB_API void _arqsErfc_21(int n, const float *a, float *r);
KORB_API void _arqsErfc_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sErfc_ttab[3];
KORB_API extern const float korb_arq_kernel_sErfc_ctab[3];
KORB_API void _arqdErfc(int n, const double *a, double *r);
KORB_API void _arqdErfc_HA(int n, const double *a, double *r);
KORB_API void _arqdErfc_50(int n, const double *a, double *r);
KORB_API void _arqdErfc_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dErfc_ttab[3];
KORB_API extern const float korb_arq_kernel_dErfc_ctab[3];

/* CdfNorm: the standard normal distribution function, erfc(-a/sqrt(2))/2. Phi(-Inf) = +0,
 * Phi(+Inf) = 1, a NaN comes back quiet; a subnormal or zero result (a < -37.5194 in double,
 * -12.9500 in single) reports ARQ_STATUS_UNDERFLOW. Three kernels per precision: LA, HA and EP. */
KORB_API void _arqsCdfNorm(int n, const float *a, float *r);
KORB_API void _arqsCdfNorm_HA(int n, const float *a, float *r);
KORB_API void _arqsCdfNorm_21(int n, const float *a, float *r);
KORB_API void _arqsCdfNorm_11(int n, const float *a, float *r);
KORB_API extern const ArqKernelS korb_arq_kernel_sCdfNorm_ttab[3];
KORB_API extern const float korb_arq_kernel_sCdfNorm_ctab[3];
KORB_API void _arqdCdfNorm(int n, const double *a, double *r);
KORB_API void _arqdCdfNorm_HA(int n, const double *a, double *r);
KORB_API void _arqdCdfNorm_50(int n, const double *a, double *r);
KORB_API void _arqdCdfNorm_26(int n, const double *a, double *r);
KORB_API extern const ArqKernelD korb_arq_kernel_dCdfNorm_ttab[3];
KORB_API extern const float korb_arq_kernel_dCdfNorm_ctab[3];
/*
 * Complex inverse trigonometric and hyperbolic functions (c, z): Acos, Asin, Acosh, Asinh, Atan,
 * Atanh, one kernel in all three slots, each part within a few ulp of the exact part (the
 * measured bounds are in the function list). Branch cuts and special values as C99 Annex G; the
 * sign of a zero part selects the side of a cut. Atanh(+-1 +- i0) and Atan(+-0 +- i) are poles:
 * an infinite part with ARQ_STATUS_SING. No other argument reports a status.
 */
typedef void (*ArqKernelComplexC)(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
typedef void (*ArqKernelComplexZ)(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqcAcos(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAcos_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAcos_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAcos_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelComplexC korb_arq_kernel_cAcos_ttab[3];
KORB_API extern const float korb_arq_kernel_cAcos_ctab[3];
KORB_API void _arqzAcos(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAcos_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAcos_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAcos_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelComplexZ korb_arq_kernel_zAcos_ttab[3];
KORB_API extern const float korb_arq_kernel_zAcos_ctab[3];
KORB_API void _arqcAcosh(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAcosh_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAcosh_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAcosh_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelComplexC korb_arq_kernel_cAcosh_ttab[3];
KORB_API extern const float korb_arq_kernel_cAcosh_ctab[3];
KORB_API void _arqzAcosh(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAcosh_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAcosh_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAcosh_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelComplexZ korb_arq_kernel_zAcosh_ttab[3];
KORB_API extern const float korb_arq_kernel_zAcosh_ctab[3];
KORB_API void _arqcAsin(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAsin_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAsin_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAsin_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelComplexC korb_arq_kernel_cAsin_ttab[3];
KORB_API extern const float korb_arq_kernel_cAsin_ctab[3];
KORB_API void _arqzAsin(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAsin_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAsin_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAsin_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelComplexZ korb_arq_kernel_zAsin_ttab[3];
KORB_API extern const float korb_arq_kernel_zAsin_ctab[3];
KORB_API void _arqcAsinh(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAsinh_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAsinh_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAsinh_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelComplexC korb_arq_kernel_cAsinh_ttab[3];
KORB_API extern const float korb_arq_kernel_cAsinh_ctab[3];
KORB_API void _arqzAsinh(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAsinh_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAsinh_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAsinh_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelComplexZ korb_arq_kernel_zAsinh_ttab[3];
KORB_API extern const float korb_arq_kernel_zAsinh_ctab[3];
KORB_API void _arqcAtan(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAtan_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAtan_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAtan_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelComplexC korb_arq_kernel_cAtan_ttab[3];
KORB_API extern const float korb_arq_kernel_cAtan_ctab[3];
KORB_API void _arqzAtan(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAtan_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAtan_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAtan_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelComplexZ korb_arq_kernel_zAtan_ttab[3];
KORB_API extern const float korb_arq_kernel_zAtan_ctab[3];
KORB_API void _arqcAtanh(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAtanh_HA(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAtanh_21(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API void _arqcAtanh_11(int n, const ArqComplexFloat *a, ArqComplexFloat *r);
KORB_API extern const ArqKernelComplexC korb_arq_kernel_cAtanh_ttab[3];
KORB_API extern const float korb_arq_kernel_cAtanh_ctab[3];
KORB_API void _arqzAtanh(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAtanh_HA(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAtanh_50(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API void _arqzAtanh_26(int n, const ArqComplexDouble *a, ArqComplexDouble *r);
KORB_API extern const ArqKernelComplexZ korb_arq_kernel_zAtanh_ttab[3];
KORB_API extern const float korb_arq_kernel_zAtanh_ctab[3];

#ifdef __cplusplus
}
#endif

#endif /* KORB_KERNEL_VM_H */
