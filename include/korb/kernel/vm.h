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

#ifdef __cplusplus
}
#endif

#endif /* KORB_KERNEL_VM_H */
