/*
 * korb: the vector-math functions, v<p><Func> and vm<p><Func> of every function built.
 * Included by korb/vm.h, which explains the calls, the mode word and the statuses; what each
 * function computes and its accuracy are in the README, its special values and statuses in
 * docs/vecmath-special-values.md.
 *
 * Generated from the function list by tools/gen_vm_header; do not edit.
 */
#ifndef KORB_VM_FUNCTIONS_H
#define KORB_VM_FUNCTIONS_H

#include <stdint.h>

#include "vm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Abs */
KORB_API int vsAbs(int n, const float *a, float *r);
KORB_API int vmsAbs(int n, const float *a, float *r, unsigned int mode);
KORB_API int vdAbs(int n, const double *a, double *r);
KORB_API int vmdAbs(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcAbs(int n, const ArqComplex8 *a, float *r);
KORB_API void vmcAbs(int n, const ArqComplex8 *a, float *r, unsigned int mode);
KORB_API void vzAbs(int n, const ArqComplex16 *a, double *r);
KORB_API void vmzAbs(int n, const ArqComplex16 *a, double *r, unsigned int mode);

/* Acos */
KORB_API void vsAcos(int n, const float *a, float *r);
KORB_API void vmsAcos(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdAcos(int n, const double *a, double *r);
KORB_API void vmdAcos(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcAcos(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcAcos(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzAcos(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzAcos(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Acosh */
KORB_API void vsAcosh(int n, const float *a, float *r);
KORB_API void vmsAcosh(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdAcosh(int n, const double *a, double *r);
KORB_API void vmdAcosh(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcAcosh(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcAcosh(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzAcosh(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzAcosh(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Add */
KORB_API void vsAdd(int n, const float *a, const float *b, float *r);
KORB_API void vmsAdd(int n, const float *a, const float *b, float *r, unsigned int mode);
KORB_API void vdAdd(int n, const double *a, const double *b, double *r);
KORB_API void vmdAdd(int n, const double *a, const double *b, double *r, unsigned int mode);
KORB_API void vcAdd(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r);
KORB_API void vmcAdd(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r,
    unsigned int mode);
KORB_API void vzAdd(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r);
KORB_API void vmzAdd(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r,
    unsigned int mode);

/* Arg */
KORB_API void vcArg(int n, const ArqComplex8 *a, float *r);
KORB_API void vmcArg(int n, const ArqComplex8 *a, float *r, unsigned int mode);
KORB_API void vzArg(int n, const ArqComplex16 *a, double *r);
KORB_API void vmzArg(int n, const ArqComplex16 *a, double *r, unsigned int mode);

/* Asin */
KORB_API void vsAsin(int n, const float *a, float *r);
KORB_API void vmsAsin(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdAsin(int n, const double *a, double *r);
KORB_API void vmdAsin(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcAsin(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcAsin(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzAsin(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzAsin(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Asinh */
KORB_API void vsAsinh(int n, const float *a, float *r);
KORB_API void vmsAsinh(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdAsinh(int n, const double *a, double *r);
KORB_API void vmdAsinh(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcAsinh(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcAsinh(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzAsinh(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzAsinh(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Atan */
KORB_API void vsAtan(int n, const float *a, float *r);
KORB_API void vmsAtan(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdAtan(int n, const double *a, double *r);
KORB_API void vmdAtan(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcAtan(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcAtan(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzAtan(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzAtan(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Atan2 */
KORB_API void vsAtan2(int n, const float *a, const float *b, float *r);
KORB_API void vmsAtan2(int n, const float *a, const float *b, float *r, unsigned int mode);
KORB_API void vdAtan2(int n, const double *a, const double *b, double *r);
KORB_API void vmdAtan2(int n, const double *a, const double *b, double *r, unsigned int mode);

/* Atanh */
KORB_API void vsAtanh(int n, const float *a, float *r);
KORB_API void vmsAtanh(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdAtanh(int n, const double *a, double *r);
KORB_API void vmdAtanh(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcAtanh(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcAtanh(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzAtanh(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzAtanh(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Cbrt */
KORB_API void vsCbrt(int n, const float *a, float *r);
KORB_API void vmsCbrt(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdCbrt(int n, const double *a, double *r);
KORB_API void vmdCbrt(int n, const double *a, double *r, unsigned int mode);

/* CdfNorm */
KORB_API void vsCdfNorm(int n, const float *a, float *r);
KORB_API void vmsCdfNorm(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdCdfNorm(int n, const double *a, double *r);
KORB_API void vmdCdfNorm(int n, const double *a, double *r, unsigned int mode);

/* CdfNormInv */
KORB_API void vsCdfNormInv(int n, const float *a, float *r);
KORB_API void vmsCdfNormInv(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdCdfNormInv(int n, const double *a, double *r);
KORB_API void vmdCdfNormInv(int n, const double *a, double *r, unsigned int mode);

/* Ceil */
KORB_API int vsCeil(int n, const float *a, float *r);
KORB_API int vmsCeil(int n, const float *a, float *r, unsigned int mode);
KORB_API int vdCeil(int n, const double *a, double *r);
KORB_API int vmdCeil(int n, const double *a, double *r, unsigned int mode);

/* CIS */
KORB_API void vcCIS(int n, const float *a, ArqComplex8 *r);
KORB_API void vmcCIS(int n, const float *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzCIS(int n, const double *a, ArqComplex16 *r);
KORB_API void vmzCIS(int n, const double *a, ArqComplex16 *r, unsigned int mode);

/* Conj */
KORB_API int vcConj(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API int vmcConj(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API int vzConj(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API int vmzConj(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Cos */
KORB_API void vsCos(int n, const float *a, float *r);
KORB_API void vmsCos(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdCos(int n, const double *a, double *r);
KORB_API void vmdCos(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcCos(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcCos(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzCos(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzCos(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Cosh */
KORB_API void vsCosh(int n, const float *a, float *r);
KORB_API void vmsCosh(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdCosh(int n, const double *a, double *r);
KORB_API void vmdCosh(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcCosh(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcCosh(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzCosh(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzCosh(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Div */
KORB_API void vsDiv(int n, const float *a, const float *b, float *r);
KORB_API void vmsDiv(int n, const float *a, const float *b, float *r, unsigned int mode);
KORB_API void vdDiv(int n, const double *a, const double *b, double *r);
KORB_API void vmdDiv(int n, const double *a, const double *b, double *r, unsigned int mode);
KORB_API void vcDiv(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r);
KORB_API void vmcDiv(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r,
    unsigned int mode);
KORB_API void vzDiv(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r);
KORB_API void vmzDiv(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r,
    unsigned int mode);

/* Erf */
KORB_API void vsErf(int n, const float *a, float *r);
KORB_API void vmsErf(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdErf(int n, const double *a, double *r);
KORB_API void vmdErf(int n, const double *a, double *r, unsigned int mode);

/* Erfc */
KORB_API void vsErfc(int n, const float *a, float *r);
KORB_API void vmsErfc(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdErfc(int n, const double *a, double *r);
KORB_API void vmdErfc(int n, const double *a, double *r, unsigned int mode);

/* ErfcInv */
KORB_API void vsErfcInv(int n, const float *a, float *r);
KORB_API void vmsErfcInv(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdErfcInv(int n, const double *a, double *r);
KORB_API void vmdErfcInv(int n, const double *a, double *r, unsigned int mode);

/* ErfInv */
KORB_API void vsErfInv(int n, const float *a, float *r);
KORB_API void vmsErfInv(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdErfInv(int n, const double *a, double *r);
KORB_API void vmdErfInv(int n, const double *a, double *r, unsigned int mode);

/* Exp */
KORB_API void vsExp(int n, const float *a, float *r);
KORB_API void vmsExp(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdExp(int n, const double *a, double *r);
KORB_API void vmdExp(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcExp(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcExp(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzExp(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzExp(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Expm1 */
KORB_API void vsExpm1(int n, const float *a, float *r);
KORB_API void vmsExpm1(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdExpm1(int n, const double *a, double *r);
KORB_API void vmdExpm1(int n, const double *a, double *r, unsigned int mode);

/* Floor */
KORB_API int vsFloor(int n, const float *a, float *r);
KORB_API int vmsFloor(int n, const float *a, float *r, unsigned int mode);
KORB_API int vdFloor(int n, const double *a, double *r);
KORB_API int vmdFloor(int n, const double *a, double *r, unsigned int mode);

/* Hypot */
KORB_API void vsHypot(int n, const float *a, const float *b, float *r);
KORB_API void vmsHypot(int n, const float *a, const float *b, float *r, unsigned int mode);
KORB_API void vdHypot(int n, const double *a, const double *b, double *r);
KORB_API void vmdHypot(int n, const double *a, const double *b, double *r, unsigned int mode);

/* Inv */
KORB_API void vsInv(int n, const float *a, float *r);
KORB_API void vmsInv(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdInv(int n, const double *a, double *r);
KORB_API void vmdInv(int n, const double *a, double *r, unsigned int mode);

/* InvCbrt */
KORB_API void vsInvCbrt(int n, const float *a, float *r);
KORB_API void vmsInvCbrt(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdInvCbrt(int n, const double *a, double *r);
KORB_API void vmdInvCbrt(int n, const double *a, double *r, unsigned int mode);

/* InvSqrt */
KORB_API void vsInvSqrt(int n, const float *a, float *r);
KORB_API void vmsInvSqrt(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdInvSqrt(int n, const double *a, double *r);
KORB_API void vmdInvSqrt(int n, const double *a, double *r, unsigned int mode);

/* LinearFrac */
KORB_API void vsLinearFrac(int n, const float *a, const float *b, float scalea, float shifta,
    float scaleb, float shiftb, float *r);
KORB_API void vmsLinearFrac(int n, const float *a, const float *b, float scalea, float shifta,
    float scaleb, float shiftb, float *r, unsigned int mode);
KORB_API void vdLinearFrac(int n, const double *a, const double *b, double scalea, double shifta,
    double scaleb, double shiftb, double *r);
KORB_API void vmdLinearFrac(int n, const double *a, const double *b, double scalea, double shifta,
    double scaleb, double shiftb, double *r, unsigned int mode);

/* Ln */
KORB_API void vsLn(int n, const float *a, float *r);
KORB_API void vmsLn(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdLn(int n, const double *a, double *r);
KORB_API void vmdLn(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcLn(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcLn(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzLn(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzLn(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Log10 */
KORB_API void vsLog10(int n, const float *a, float *r);
KORB_API void vmsLog10(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdLog10(int n, const double *a, double *r);
KORB_API void vmdLog10(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcLog10(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcLog10(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzLog10(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzLog10(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Log1p */
KORB_API void vsLog1p(int n, const float *a, float *r);
KORB_API void vmsLog1p(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdLog1p(int n, const double *a, double *r);
KORB_API void vmdLog1p(int n, const double *a, double *r, unsigned int mode);

/* Modf */
KORB_API int vsModf(int n, const float *a, float *r1, float *r2);
KORB_API int vmsModf(int n, const float *a, float *r1, float *r2, unsigned int mode);
KORB_API int vdModf(int n, const double *a, double *r1, double *r2);
KORB_API int vmdModf(int n, const double *a, double *r1, double *r2, unsigned int mode);

/* Mul */
KORB_API void vsMul(int n, const float *a, const float *b, float *r);
KORB_API void vmsMul(int n, const float *a, const float *b, float *r, unsigned int mode);
KORB_API void vdMul(int n, const double *a, const double *b, double *r);
KORB_API void vmdMul(int n, const double *a, const double *b, double *r, unsigned int mode);
KORB_API void vcMul(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r);
KORB_API void vmcMul(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r,
    unsigned int mode);
KORB_API void vzMul(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r);
KORB_API void vmzMul(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r,
    unsigned int mode);

/* MulByConj */
KORB_API void vcMulByConj(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r);
KORB_API void vmcMulByConj(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r,
    unsigned int mode);
KORB_API void vzMulByConj(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r);
KORB_API void vmzMulByConj(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r,
    unsigned int mode);

/* NearbyInt */
KORB_API int vsNearbyInt(int n, const float *a, float *r);
KORB_API int vmsNearbyInt(int n, const float *a, float *r, unsigned int mode);
KORB_API int vdNearbyInt(int n, const double *a, double *r);
KORB_API int vmdNearbyInt(int n, const double *a, double *r, unsigned int mode);

/* PackI */
KORB_API int vsPackI(int n, const float *a, int64_t stride, float *r, int flag);
KORB_API int vmsPackI(int n, const float *a, int64_t stride, float *r, int flag, unsigned int mode);
KORB_API int vdPackI(int n, const double *a, int64_t stride, double *r, int flag);
KORB_API int vmdPackI(int n, const double *a, int64_t stride, double *r, int flag,
    unsigned int mode);
KORB_API int vcPackI(int n, const ArqComplex8 *a, int64_t stride, ArqComplex8 *r, int flag);
KORB_API int vmcPackI(int n, const ArqComplex8 *a, int64_t stride, ArqComplex8 *r, int flag,
    unsigned int mode);
KORB_API int vzPackI(int n, const ArqComplex16 *a, int64_t stride, ArqComplex16 *r, int flag);
KORB_API int vmzPackI(int n, const ArqComplex16 *a, int64_t stride, ArqComplex16 *r, int flag,
    unsigned int mode);

/* PackM */
KORB_API int vsPackM(int n, const float *a, const int64_t *selector, float *r, int flag);
KORB_API int vmsPackM(int n, const float *a, const int64_t *selector, float *r, int flag,
    unsigned int mode);
KORB_API int vdPackM(int n, const double *a, const int64_t *selector, double *r, int flag);
KORB_API int vmdPackM(int n, const double *a, const int64_t *selector, double *r, int flag,
    unsigned int mode);
KORB_API int vcPackM(int n, const ArqComplex8 *a, const int64_t *selector, ArqComplex8 *r,
    int flag);
KORB_API int vmcPackM(int n, const ArqComplex8 *a, const int64_t *selector, ArqComplex8 *r,
    int flag, unsigned int mode);
KORB_API int vzPackM(int n, const ArqComplex16 *a, const int64_t *selector, ArqComplex16 *r,
    int flag);
KORB_API int vmzPackM(int n, const ArqComplex16 *a, const int64_t *selector, ArqComplex16 *r,
    int flag, unsigned int mode);

/* PackV */
KORB_API int vsPackV(int n, const float *a, const int64_t *selector, float *r, int flag);
KORB_API int vmsPackV(int n, const float *a, const int64_t *selector, float *r, int flag,
    unsigned int mode);
KORB_API int vdPackV(int n, const double *a, const int64_t *selector, double *r, int flag);
KORB_API int vmdPackV(int n, const double *a, const int64_t *selector, double *r, int flag,
    unsigned int mode);
KORB_API int vcPackV(int n, const ArqComplex8 *a, const int64_t *selector, ArqComplex8 *r,
    int flag);
KORB_API int vmcPackV(int n, const ArqComplex8 *a, const int64_t *selector, ArqComplex8 *r,
    int flag, unsigned int mode);
KORB_API int vzPackV(int n, const ArqComplex16 *a, const int64_t *selector, ArqComplex16 *r,
    int flag);
KORB_API int vmzPackV(int n, const ArqComplex16 *a, const int64_t *selector, ArqComplex16 *r,
    int flag, unsigned int mode);

/* Pow */
KORB_API void vsPow(int n, const float *a, const float *b, float *r);
KORB_API void vmsPow(int n, const float *a, const float *b, float *r, unsigned int mode);
KORB_API void vdPow(int n, const double *a, const double *b, double *r);
KORB_API void vmdPow(int n, const double *a, const double *b, double *r, unsigned int mode);
KORB_API void vcPow(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r);
KORB_API void vmcPow(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r,
    unsigned int mode);
KORB_API void vzPow(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r);
KORB_API void vmzPow(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r,
    unsigned int mode);

/* Pow2o3 */
KORB_API void vsPow2o3(int n, const float *a, float *r);
KORB_API void vmsPow2o3(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdPow2o3(int n, const double *a, double *r);
KORB_API void vmdPow2o3(int n, const double *a, double *r, unsigned int mode);

/* Pow3o2 */
KORB_API void vsPow3o2(int n, const float *a, float *r);
KORB_API void vmsPow3o2(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdPow3o2(int n, const double *a, double *r);
KORB_API void vmdPow3o2(int n, const double *a, double *r, unsigned int mode);

/* Powx */
KORB_API void vsPowx(int n, const float *a, float b, float *r);
KORB_API void vmsPowx(int n, const float *a, float b, float *r, unsigned int mode);
KORB_API void vdPowx(int n, const double *a, double b, double *r);
KORB_API void vmdPowx(int n, const double *a, double b, double *r, unsigned int mode);
KORB_API void vcPowx(int n, const ArqComplex8 *a, ArqComplex8 b, ArqComplex8 *r);
KORB_API void vmcPowx(int n, const ArqComplex8 *a, ArqComplex8 b, ArqComplex8 *r,
    unsigned int mode);
KORB_API void vzPowx(int n, const ArqComplex16 *a, ArqComplex16 b, ArqComplex16 *r);
KORB_API void vmzPowx(int n, const ArqComplex16 *a, ArqComplex16 b, ArqComplex16 *r,
    unsigned int mode);

/* Rint */
KORB_API int vsRint(int n, const float *a, float *r);
KORB_API int vmsRint(int n, const float *a, float *r, unsigned int mode);
KORB_API int vdRint(int n, const double *a, double *r);
KORB_API int vmdRint(int n, const double *a, double *r, unsigned int mode);

/* Round */
KORB_API int vsRound(int n, const float *a, float *r);
KORB_API int vmsRound(int n, const float *a, float *r, unsigned int mode);
KORB_API int vdRound(int n, const double *a, double *r);
KORB_API int vmdRound(int n, const double *a, double *r, unsigned int mode);

/* Sin */
KORB_API void vsSin(int n, const float *a, float *r);
KORB_API void vmsSin(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdSin(int n, const double *a, double *r);
KORB_API void vmdSin(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcSin(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcSin(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzSin(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzSin(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* SinCos */
KORB_API void vsSinCos(int n, const float *a, float *r1, float *r2);
KORB_API void vmsSinCos(int n, const float *a, float *r1, float *r2, unsigned int mode);
KORB_API void vdSinCos(int n, const double *a, double *r1, double *r2);
KORB_API void vmdSinCos(int n, const double *a, double *r1, double *r2, unsigned int mode);

/* Sinh */
KORB_API void vsSinh(int n, const float *a, float *r);
KORB_API void vmsSinh(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdSinh(int n, const double *a, double *r);
KORB_API void vmdSinh(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcSinh(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcSinh(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzSinh(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzSinh(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Sqr */
KORB_API void vsSqr(int n, const float *a, float *r);
KORB_API void vmsSqr(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdSqr(int n, const double *a, double *r);
KORB_API void vmdSqr(int n, const double *a, double *r, unsigned int mode);

/* Sqrt */
KORB_API void vsSqrt(int n, const float *a, float *r);
KORB_API void vmsSqrt(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdSqrt(int n, const double *a, double *r);
KORB_API void vmdSqrt(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcSqrt(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcSqrt(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzSqrt(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzSqrt(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Sub */
KORB_API void vsSub(int n, const float *a, const float *b, float *r);
KORB_API void vmsSub(int n, const float *a, const float *b, float *r, unsigned int mode);
KORB_API void vdSub(int n, const double *a, const double *b, double *r);
KORB_API void vmdSub(int n, const double *a, const double *b, double *r, unsigned int mode);
KORB_API void vcSub(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r);
KORB_API void vmcSub(int n, const ArqComplex8 *a, const ArqComplex8 *b, ArqComplex8 *r,
    unsigned int mode);
KORB_API void vzSub(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r);
KORB_API void vmzSub(int n, const ArqComplex16 *a, const ArqComplex16 *b, ArqComplex16 *r,
    unsigned int mode);

/* Tan */
KORB_API void vsTan(int n, const float *a, float *r);
KORB_API void vmsTan(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdTan(int n, const double *a, double *r);
KORB_API void vmdTan(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcTan(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcTan(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzTan(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzTan(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Tanh */
KORB_API void vsTanh(int n, const float *a, float *r);
KORB_API void vmsTanh(int n, const float *a, float *r, unsigned int mode);
KORB_API void vdTanh(int n, const double *a, double *r);
KORB_API void vmdTanh(int n, const double *a, double *r, unsigned int mode);
KORB_API void vcTanh(int n, const ArqComplex8 *a, ArqComplex8 *r);
KORB_API void vmcTanh(int n, const ArqComplex8 *a, ArqComplex8 *r, unsigned int mode);
KORB_API void vzTanh(int n, const ArqComplex16 *a, ArqComplex16 *r);
KORB_API void vmzTanh(int n, const ArqComplex16 *a, ArqComplex16 *r, unsigned int mode);

/* Trunc */
KORB_API int vsTrunc(int n, const float *a, float *r);
KORB_API int vmsTrunc(int n, const float *a, float *r, unsigned int mode);
KORB_API int vdTrunc(int n, const double *a, double *r);
KORB_API int vmdTrunc(int n, const double *a, double *r, unsigned int mode);

/* UnpackI */
KORB_API int vsUnpackI(int n, const float *a, float *r, int64_t stride, int flag);
KORB_API int vmsUnpackI(int n, const float *a, float *r, int64_t stride, int flag,
    unsigned int mode);
KORB_API int vdUnpackI(int n, const double *a, double *r, int64_t stride, int flag);
KORB_API int vmdUnpackI(int n, const double *a, double *r, int64_t stride, int flag,
    unsigned int mode);
KORB_API int vcUnpackI(int n, const ArqComplex8 *a, ArqComplex8 *r, int64_t stride, int flag);
KORB_API int vmcUnpackI(int n, const ArqComplex8 *a, ArqComplex8 *r, int64_t stride, int flag,
    unsigned int mode);
KORB_API int vzUnpackI(int n, const ArqComplex16 *a, ArqComplex16 *r, int64_t stride, int flag);
KORB_API int vmzUnpackI(int n, const ArqComplex16 *a, ArqComplex16 *r, int64_t stride, int flag,
    unsigned int mode);

/* UnpackM */
KORB_API int vsUnpackM(int n, const float *a, float *r, const int64_t *selector, int flag);
KORB_API int vmsUnpackM(int n, const float *a, float *r, const int64_t *selector, int flag,
    unsigned int mode);
KORB_API int vdUnpackM(int n, const double *a, double *r, const int64_t *selector, int flag);
KORB_API int vmdUnpackM(int n, const double *a, double *r, const int64_t *selector, int flag,
    unsigned int mode);
KORB_API int vcUnpackM(int n, const ArqComplex8 *a, ArqComplex8 *r, const int64_t *selector,
    int flag);
KORB_API int vmcUnpackM(int n, const ArqComplex8 *a, ArqComplex8 *r, const int64_t *selector,
    int flag, unsigned int mode);
KORB_API int vzUnpackM(int n, const ArqComplex16 *a, ArqComplex16 *r, const int64_t *selector,
    int flag);
KORB_API int vmzUnpackM(int n, const ArqComplex16 *a, ArqComplex16 *r, const int64_t *selector,
    int flag, unsigned int mode);

/* UnpackV */
KORB_API int vsUnpackV(int n, const float *a, float *r, const int64_t *selector, int flag);
KORB_API int vmsUnpackV(int n, const float *a, float *r, const int64_t *selector, int flag,
    unsigned int mode);
KORB_API int vdUnpackV(int n, const double *a, double *r, const int64_t *selector, int flag);
KORB_API int vmdUnpackV(int n, const double *a, double *r, const int64_t *selector, int flag,
    unsigned int mode);
KORB_API int vcUnpackV(int n, const ArqComplex8 *a, ArqComplex8 *r, const int64_t *selector,
    int flag);
KORB_API int vmcUnpackV(int n, const ArqComplex8 *a, ArqComplex8 *r, const int64_t *selector,
    int flag, unsigned int mode);
KORB_API int vzUnpackV(int n, const ArqComplex16 *a, ArqComplex16 *r, const int64_t *selector,
    int flag);
KORB_API int vmzUnpackV(int n, const ArqComplex16 *a, ArqComplex16 *r, const int64_t *selector,
    int flag, unsigned int mode);

#ifdef __cplusplus
}
#endif

#endif /* KORB_VM_FUNCTIONS_H */
