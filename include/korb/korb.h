/*
 * korb: numerical kernels over arrays. Link with -lkorb (pkg-config korb, or CMake's
 * find_package(korb) and korb::korb).
 *
 *   korb/vm.h    vector mathematics: vdExp(n, a, r) and the other v<p><Func>
 *   korb/rng.h   random numbers: streams, generators, distributions
 *   korb/ss.h    summary statistics: a task over an observation matrix, bixdSSCompute
 *   korb/df.h    data fitting: one-dimensional splines
 *
 * On its first call the library decides the processor class and loads the kernel library of the
 * highest class at or below it found beside libkorb (KORB_DEBUG_CPU_TYPE=0..5 forces a class);
 * every class gives the same bits.
 */
#ifndef KORB_KORB_H
#define KORB_KORB_H

#include "common.h"
#include "df.h"
#include "rng.h"
#include "ss.h"
#include "vm.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Families, for korbStatusText. */
#define KORB_FAMILY_VM 1  /* ARQ_STATUS_* */
#define KORB_FAMILY_RNG 2 /* BIX_ERROR_* */
#define KORB_FAMILY_SS 3  /* BIX_SS_ERROR_* and the BIX_ERROR_* the statistics functions return */
#define KORB_FAMILY_DF 4  /* DF_ERROR_* */

/* "NAME: one-line meaning" of a status of a family; "unknown status" for a code the family does
   not have. The text is static; never NULL. */
KORB_API const char *korbStatusText(int family, int status);

/* The processor class of the kernel library in use (KORB_CPU_*), loading it if need be: the
   highest class at or below the processor's for which a kernel library is installed. */
KORB_API int korbGetClass(void);

/* The processor class decided for this process: detected, or forced by KORB_DEBUG_CPU_TYPE=0..5
   (*forced, when forced is not NULL, receives 1 then, else 0). */
KORB_API int korbGetCpuType(int *forced);

/* The library's version, "major.minor.patch". */
KORB_API const char *korbGetVersion(void);

#ifdef __cplusplus
}
#endif

#endif /* KORB_KORB_H */
