/*
 * korb: random number generation (streams, basic generators, distributions).
 *
 * Every entry point of this family returns a 32-bit status: BIX_ERROR_OK or one of the negative
 * codes below, returned at the first failed check with no further work done.
 */
#ifndef KORB_RNG_H
#define KORB_RNG_H

#include "frame.h"

#ifdef __cplusplus
extern "C" {
#endif

#define BIX_ERROR_OK 0
#define BIX_ERROR_BADMETHOD (-2)
#define BIX_ERROR_BADARGS (-3)
#define BIX_ERROR_MEM_FAILURE (-4)
#define BIX_ERROR_NULL_PTR (-5)
#define BIX_ERROR_INVALID_BRNG (-1000)
#define BIX_ERROR_LEAPFROG_UNSUPPORTED (-1002)
#define BIX_ERROR_SKIPAHEAD_UNSUPPORTED (-1003)
#define BIX_ERROR_BAD_STREAM_STATE_SIZE (-1008)
#define BIX_ERROR_BAD_WORD_SIZE (-1009)
#define BIX_ERROR_BAD_NSEEDS (-1010)
#define BIX_ERROR_BAD_NBITS (-1011)
#define BIX_ERROR_QRNG_PERIOD_ELAPSED (-1012)
#define BIX_ERROR_LEAPFROG_NSTREAMS_TOO_BIG (-1013)
#define BIX_ERROR_BRNG_NOT_SUPPORTED (-1014)
#define BIX_ERROR_FILE_CLOSE (-1100)
#define BIX_ERROR_FILE_OPEN (-1101)
#define BIX_ERROR_FILE_WRITE (-1102)
#define BIX_ERROR_FILE_READ (-1103)
#define BIX_ERROR_BAD_FILE_FORMAT (-1110)
#define BIX_ERROR_UNSUPPORTED_FILE_VER (-1111)
#define BIX_ERROR_ARS_BADCALLBACK (-1120)
#define BIX_ERROR_ARS_NODATA (-1121)
#define BIX_ERROR_ARS_UNSUPPORTED_PRECISION (-1122)
#define BIX_ERROR_NONDETERM_NOT_SUPPORTED (-1130)
#define BIX_ERROR_BAD_MEM_FORMAT (-1200)
#define BIX_ERROR_GLOBAL_DATA_NOT_FOUND (-3000)
#define BIX_ERROR_GLOBAL_DATA_TABLE_FULL (-3001)

#ifdef __cplusplus
}
#endif

#endif /* KORB_RNG_H */
