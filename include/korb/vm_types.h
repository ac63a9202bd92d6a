/*
 * korb: vector mathematics, the definitions the public library and the kernel libraries share:
 * the error statuses, the mode word, the record handed to an error callback and the complex
 * element types. Plain C99; no function is declared here (see korb/vm.h).
 */
#ifndef KORB_VM_TYPES_H
#define KORB_VM_TYPES_H

#include "common.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Error status of the calling thread. */
#define ARQ_STATUS_OK 0
#define ARQ_STATUS_BADSIZE (-1) /* an array size is not positive */
#define ARQ_STATUS_BADMEM (-2)  /* a null pointer was passed */
#define ARQ_STATUS_ERRDOM 1     /* an argument is out of the function's domain */
#define ARQ_STATUS_SING 2       /* an argument caused a singularity */
#define ARQ_STATUS_OVERFLOW 3
#define ARQ_STATUS_UNDERFLOW 4

/*
 * The mode word: four groups of bits, each replaced as a whole by korb_arq_kernel_SetMode (a
 * group that is 0 in the requested word is kept). The precision-control group can only be set
 * through KORB_ARQ_MODE; no kernel of this library reads it.
 */
#define ARQ_ACCURACY_MASK 0x0000000Fu
#define ARQ_DEFAULT_PRECISION 0x0u
#define ARQ_LA 0x1u /* low accuracy, table slot 0 */
#define ARQ_HA 0x2u /* high accuracy, table slot 1 */
#define ARQ_EP 0x3u /* enhanced performance, table slot 2 */

#define ARQ_FPUMODE_MASK 0x000000F0u
#define ARQ_FLOAT_CONSISTENT 0x10u
#define ARQ_DOUBLE_CONSISTENT 0x20u
#define ARQ_RESTORE 0x30u

#define ARQ_ERRMODE_MASK 0x0000FF00u
#define ARQ_ERRMODE_IGNORE 0x100u    /* nothing beyond the status */
#define ARQ_ERRMODE_ERRNO 0x200u     /* set errno */
#define ARQ_ERRMODE_STDERR 0x400u    /* print a message (to standard output) */
#define ARQ_ERRMODE_EXCEPT 0x800u    /* raise the matching floating-point exception */
#define ARQ_ERRMODE_CALLBACK 0x1000u /* call the registered callback */
#define ARQ_ERRMODE_DEFAULT 0x1A00u  /* ERRNO, EXCEPT and CALLBACK */

#define ARQ_DENORMALS_MASK 0x003C0000u
#define ARQ_DENORMALS_FLUSH 0x280000u /* kernels run with flush-to-zero and denormals-are-zero */
#define ARQ_DENORMALS_KEEP 0x140000u  /* kernels run with both off */

/* The mode of a thread whose environment gives no valid setting: ARQ_HA | ARQ_ERRMODE_DEFAULT. */
#define ARQ_MODE_DEFAULT 0x1A02u

/*
 * The record handed to an error callback, built for one offending element. Single-precision
 * values are widened to double here; results written into r1, r2 (and r1_im, r2_im for complex
 * functions) are narrowed back and stored into the kernel's result vectors when the callback
 * returns 0.
 *
 * name holds the public function name ("vdExp"). A name shorter than 64 characters is
 * NUL-terminated; a longer one is cut to its first 64 characters, which fill the field with no
 * terminator. name_len always gives the number of characters (at most 64), so read the name as
 * ("%.*s", name_len, name).
 */
typedef struct ArqErrorContext {
    int code;  /* the status */
    int index; /* the element's position in the caller's whole vector; for BADSIZE the size */
    double a1; /* first argument (real part) */
    double a2; /* second argument (real part); equals a1 for one-argument functions */
    double r1; /* first result (real part), as computed */
    double r2; /* second result (real part); equals r1 for one-result functions */
    char name[64];
    int name_len;
    double a1_im; /* imaginary parts, complex functions only */
    double a2_im;
    double r1_im;
    double r2_im;
} ArqErrorContext;

/* An error callback. A non-zero return ends the report: no errno, message or exception, and
   the kernel's results are kept as they are. */
typedef int (*ArqErrorCallBack)(ArqErrorContext *context);

/* Complex elements, real part first: the c (single) and z (double) precisions. */
typedef struct ArqComplex8 {
    float re;
    float im;
} ArqComplex8;
typedef struct ArqComplex16 {
    double re;
    double im;
} ArqComplex16;

#ifdef __cplusplus
}
#endif

#endif /* KORB_VM_TYPES_H */
