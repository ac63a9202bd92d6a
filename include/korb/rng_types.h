/*
 * korb: random numbers, the definitions the public library and the kernel libraries share:
 * status codes, generator ids, the stream and chunk records, the registry row and the method
 * ids of the distributions. Plain C99; no function is declared here (see korb/rng.h).
 *
 * Every entry point of this family returns a 32-bit status: BIX_ERROR_OK or one of the negative
 * codes below.
 */
#ifndef KORB_RNG_TYPES_H
#define KORB_RNG_TYPES_H

#include <stdint.h>

#include "common.h"

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

/*
 * Generator ids. A current id is (registry row + 1) * 0x100000 plus the member number within a
 * generator family in the low 20 bits. Ids below 0x100000 are the legacy numbering: 4 to 276 are
 * Wichmann-Hill members 0 to 272, any other value is a row of the legacy table.
 */
#define BIX_BRNG_INC 0x100000
#define BIX_BRNG_MCG31M1 0x100000
#define BIX_BRNG_R250 0x200000
#define BIX_BRNG_MRG32K3A 0x300000
#define BIX_BRNG_MCG59 0x400000
#define BIX_BRNG_WH 0x500000
#define BIX_BRNG_SOBOL 0x600000
#define BIX_BRNG_NIEDERR 0x700000
#define BIX_BRNG_MT19937 0x800000
#define BIX_BRNG_MT2203 0x900000
#define BIX_BRNG_IABSTRACT 0xA00000
#define BIX_BRNG_DABSTRACT 0xB00000
#define BIX_BRNG_SABSTRACT 0xC00000
#define BIX_BRNG_SFMT19937 0xD00000
#define BIX_BRNG_NONDETERM 0xE00000

/* Rows of the registry: the current table's capacity and built-in rows, the legacy table's size. */
#define BIX_MAX_REG_BRNGS 512
#define BIX_NUM_BUILTIN_BRNGS 14
#define BIX_NUM_LEGACY_BRNGS 279

/* Methods of a generator's initialiser. */
#define BIX_INIT_METHOD_STANDARD 0
#define BIX_INIT_METHOD_LEAPFROG 1
#define BIX_INIT_METHOD_SKIPAHEAD 2

/*
 * A chunk: a keyed block of data attached to a stream. A private chunk (globalId both 0) owns
 * `data` and frees it with korbFree; a shared chunk refers to an entry of the shared read-only
 * data table, which owns the block.
 */
typedef struct BixChunk {
    uint32_t key;
    uint32_t size;
    void *data;
    struct BixChunk *next;
    uint64_t globalId[2];
} BixChunk;

/*
 * The header of every stream record. The record is one korbMalloc(stateSize, 64) block; the
 * generator's state begins 16 bytes into it, right after this header.
 */
typedef struct BixStream {
    int32_t brng;        /* the generator id the stream was made with */
    uint32_t streamFlag; /* 1 once made; copied with the stream */
    BixChunk *chunks;    /* head of the chunk list, or NULL */
} BixStream;

/*
 * A generator's four functions. `params` points to n 32-bit argument words: the seeds for method
 * 0, k for leapfrog (method 1, n = nstreams), a 64-bit skip count for skip-ahead (method 2).
 * The generation functions fill r[0..n-1]; iGen writes raw output words of the row's wordSize
 * (an 8-byte word takes two consecutive elements, low half first).
 */
typedef int (*BixInitStreamPtr)(int method, BixStream *stream, int n, const uint32_t params[]);
typedef int (*BixsBRngPtr)(BixStream *stream, int n, float r[], float a, float b);
typedef int (*BixdBRngPtr)(BixStream *stream, int n, double r[], double a, double b);
typedef int (*BixiBRngPtr)(BixStream *stream, int n, uint32_t r[]);

/* A registry row: what __bixRegisterBrng takes and __bixGetBrngProperties fills. */
typedef struct BrngProperties {
    int32_t stateSize;    /* bytes of a whole stream record, 16-byte header included */
    int32_t stateWords;   /* state words; a state copy moves stateWords * wordSize bytes */
    int32_t includesZero; /* 1 if an integer output can be 0 */
    int32_t wordSize;     /* bytes of one integer output word: 4, 8 or 16 */
    int32_t nBits;        /* significant bits of one output word */
    BixInitStreamPtr initStream;
    BixsBRngPtr sGen;
    BixdBRngPtr dGen;
    BixiBRngPtr iGen;
} BrngProperties;

/*
 * Refill functions of the abstract streams. The stream hands its buffer (the one given when the
 * stream was made) and its capacity n; the function writes the next numbers to buffer[0..k-1]
 * and returns k. The stream then serves buffer[0..k-1] in order. A result of 0 makes the
 * generation fail with BIX_ERROR_ARS_NODATA; a negative result or one above n with
 * BIX_ERROR_ARS_BADCALLBACK. Numbers of the d and s forms lie on the [a, b) given when the
 * stream was made; the stream maps them linearly onto the interval a generation call asks for.
 */
typedef int (*BixiUpdateFuncPtr)(BixStream *stream, int n, uint32_t buffer[]);
typedef int (*BixdUpdateFuncPtr)(BixStream *stream, int n, double buffer[]);
typedef int (*BixsUpdateFuncPtr)(BixStream *stream, int n, float buffer[]);

/* Largest dimensions of the quasi-random generators (the first seed word of their streams). */
#define BIX_SOBOL_MAX_DIM 2600
#define BIX_NIEDERR_MAX_DIM 318

/*
 * Method ids of the distributions. Bit 30 selects the accurate variant where a distribution
 * offers one; korb/rng.h lists the methods each distribution takes.
 */
#define BIX_RNG_METHOD_ACCURACY_FLAG 0x40000000
#define BIX_RNG_METHOD_UNIFORM_STD 0                                     /* [a, b) */
#define BIX_RNG_METHOD_UNIFORM_STD_ACCURATE BIX_RNG_METHOD_ACCURACY_FLAG /* clamped */
#define BIX_RNG_METHOD_GAUSSIAN_BOXMULLER 0  /* one variate per pair of uniforms */
#define BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2 1 /* both variates of each pair */
#define BIX_RNG_METHOD_GAUSSIAN_ICDF 2       /* inverse distribution function */
#define BIX_RNG_METHOD_ICDF 0                /* inversion */
#define BIX_RNG_METHOD_ICDF_ACCURATE BIX_RNG_METHOD_ACCURACY_FLAG
#define BIX_RNG_METHOD_STD 0
#define BIX_RNG_METHOD_UNIFORMBITS_STD 0
#define BIX_RNG_METHOD_UNIFORMBITS32_STD 0
#define BIX_RNG_METHOD_UNIFORMBITS64_STD 0
#define BIX_RNG_METHOD_GAMMA_SQUEEZE 0 /* Marsaglia and Tsang's squeeze on normals */
#define BIX_RNG_METHOD_GAMMA_SQUEEZE_ACCURATE BIX_RNG_METHOD_ACCURACY_FLAG /* at least a */
#define BIX_RNG_METHOD_BETA_REJECTION 0 /* Johnk, Cheng's BB or BC by the shapes */
#define BIX_RNG_METHOD_BETA_REJECTION_ACCURATE BIX_RNG_METHOD_ACCURACY_FLAG /* clamped */
#define BIX_RNG_METHOD_GAUSSIANMV_BOXMULLER 0  /* the Gaussian methods of the same id */
#define BIX_RNG_METHOD_GAUSSIANMV_BOXMULLER2 1
#define BIX_RNG_METHOD_GAUSSIANMV_ICDF 2
#define BIX_RNG_METHOD_BINOMIAL_BTPE 0             /* BTPE, inversion for small means */
#define BIX_RNG_METHOD_POISSON_PTPE 0               /* PTPE, inversion below lambda 27 */
#define BIX_RNG_METHOD_POISSON_NORMAL 1             /* PD on normals, inversion below 10 */
#define BIX_RNG_METHOD_POISSONV_NORMAL 0            /* PD per element */
#define BIX_RNG_METHOD_HYPERGEOMETRIC_H2PE 0        /* H2PE, inversion for narrow supports */
#define BIX_RNG_METHOD_NEGBINOMIAL_GAMMA_POISSON 0  /* Poisson of a gamma mean */
/* Storage of the multivariate Gaussian's lower-triangular factor T. */
#define BIX_RNG_MATRIX_FULL 0     /* dimen x dimen row-major, above the diagonal not read */
#define BIX_RNG_MATRIX_PACKED 1   /* the lower triangle row by row, dimen (dimen + 1) / 2 */
#define BIX_RNG_MATRIX_DIAGONAL 2 /* the dimen diagonal elements */

#ifdef __cplusplus
}
#endif

#endif /* KORB_RNG_TYPES_H */
