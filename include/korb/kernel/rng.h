/*
 * korb: random number generation (streams, basic generators, distributions).
 *
 * The kernel ABI of the family. Every entry point returns a 32-bit status: BIX_ERROR_OK or one of
 * the negative codes of korb/rng_types.h, returned at the first failed check with no further work
 * done. The records (stream, chunk, registry row) and the method ids are in korb/rng_types.h.
 */
#ifndef KORB_KERNEL_RNG_H
#define KORB_KERNEL_RNG_H

#include <stdint.h>

#include "../rng_types.h"
#include "frame.h"

#ifdef __cplusplus
extern "C" {
#endif

/* One entry of the process-wide shared read-only data table (at most 128 entries). */
typedef struct BixGlobRODataEntry {
    uint64_t id[2];
    uint32_t refCount;
    void *data;
} BixGlobRODataEntry;

/*
 * The registry: the current table (512 rows, 14 built in, registrations appended) and the
 * legacy table (279 rows). Both are filled when the library loads; callers only read them.
 */
KORB_API extern BrngProperties __RegBrngsNew[BIX_MAX_REG_BRNGS];
KORB_API extern BrngProperties __RegBrngs[BIX_NUM_LEGACY_BRNGS];

KORB_API BrngProperties *__bixGetBrngBaseOffset(int brng, int *row, int *member);
KORB_API int __bixIsBrngValid(const BrngProperties *table, int row, int member);
KORB_API int __bixGetBrngProperties(int brng, BrngProperties *properties);
KORB_API int __bixGetNumRegBrngs(void);
KORB_API int __bixRegisterBrng(const BrngProperties *properties);
KORB_API int __bixGetStreamStateBrng(const BixStream *stream);
KORB_API int __bixAllocateStream(BixStream **stream, const BrngProperties *table, int brng, int row,
                                 int member);

/* Stream services. */
KORB_API int __bixNewStreamEx(BixStream **stream, int brng, int n, const uint32_t params[]);
KORB_API int __bixiNewAbstractStream(BixStream **stream, int n, uint32_t buffer[],
                                     BixiUpdateFuncPtr refill);
KORB_API int __bixdNewAbstractStream(BixStream **stream, int n, double buffer[], double a, double b,
                                     BixdUpdateFuncPtr refill);
KORB_API int __bixsNewAbstractStream(BixStream **stream, int n, float buffer[], float a, float b,
                                     BixsUpdateFuncPtr refill);
KORB_API int __bixDeleteStream(BixStream **stream);
KORB_API int __bixCopyStream(BixStream **copy, const BixStream *source);
KORB_API int __bixCopyStreamState(BixStream *destination, const BixStream *source);
KORB_API int __bixLeapfrogStream(BixStream *stream, int k, int nstreams);
KORB_API int __bixSkipAheadStream(BixStream *stream, long long nskip);
KORB_API int __bixGetStreamSize(const BixStream *stream);

/*
 * Saving and loading streams. A stream image is a 20-byte little-endian header (version 1, the
 * mark "RNG", a reserved byte written as 0, header size 20, state length stateSize - 16, number
 * of chunks, generator id), the generator state, then each chunk from the head of the list: key,
 * globalId, size (4, 16 and 4 bytes) and its data. Its size is __bixGetStreamSize(stream).
 *
 * File names: with fnamelen >= 0 the name is the first fnamelen characters of fname (fewer when
 * a NUL comes first); with a negative fnamelen, fname is a terminated string.
 * Loading re-attaches each chunk with __bixAddChunk, so an id the shared read-only data table
 * already holds is shared again. A load that fails after the stream was made leaves the partly
 * loaded stream in *stream; the caller deletes it.
 * __bixSaveStreamM writes __bixGetStreamSize(stream) bytes to memptr. __bixLoadStreamM reads as
 * many bytes as the image's header and chunk sizes declare: the buffer must hold the whole image.
 */
KORB_API int __bixSaveStreamF(const BixStream *stream, const char *fname, int fnamelen);
KORB_API int __bixLoadStreamF(BixStream **stream, const char *fname, int fnamelen);
KORB_API int __bixSaveStreamM(const BixStream *stream, char *memptr);
KORB_API int __bixLoadStreamM(BixStream **stream, const char *memptr);

/*
 * Chunks. __bixAddChunk takes ownership of `data` (a korbMalloc block) when it succeeds: the
 * chunk keeps it, or, when the shared table already holds `id`, frees it and refers to the
 * shared block instead. On failure the caller keeps `data`.
 */
KORB_API int __bixAddChunk(BixStream *stream, uint32_t key, const uint64_t id[2], void *data,
                           uint32_t size);
KORB_API void *__bixSearchChunk(const BixStream *stream, uint32_t key);
KORB_API int __bixGetNumChunks(const BixStream *stream);
KORB_API void __bixDeleteChunks(BixStream *stream);
KORB_API int __bixCopyChunks(BixStream *destination, const BixStream *source);

/* The shared read-only data table. An entry's address is valid until the next removal. */
KORB_API int __bixFindGlobRODataTableEntry(BixGlobRODataEntry **entry, const uint64_t id[2]);
KORB_API int __bixCreateGlobRODataTableEntry(BixGlobRODataEntry **entry, const uint64_t id[2],
                                             void *data);
KORB_API void __bixRegisterGlobRODataReference(BixChunk *chunk, const uint64_t id[2]);
KORB_API void __bixUnregisterGlobRODataReference(const uint64_t id[2]);
KORB_API int __bixGenerateNewGlobalRODataTableEntryId(uint64_t id[2], uintptr_t tag);

/*
 * MCG31M1: x(i+1) = 1132489760 * x(i) mod (2^31 - 1). Leapfrog and skip-ahead supported.
 * Generation of n <= 0 numbers does nothing and returns 0.
 */
KORB_API int __bixBRngMCG31M1InitStream(int method, BixStream *stream, int n,
                                        const uint32_t params[]);
KORB_API int __bixsBRngMCG31M1(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngMCG31M1(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngMCG31M1(BixStream *stream, int n, uint32_t r[]);

/*
 * R250: the feedback shift register x(k) = x(k - 250) xor x(k - 147) on 32-bit words, seeded
 * from seed[0] (0 or no seed: 1). Skip-ahead is exact; leapfrog returns
 * BIX_ERROR_LEAPFROG_UNSUPPORTED. Real outputs are a + (b - a) * w * 2^-32 of the words w.
 */
KORB_API int __bixBRngR250InitStream(int method, BixStream *stream, int n, const uint32_t params[]);
KORB_API int __bixsBRngR250(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngR250(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngR250(BixStream *stream, int n, uint32_t r[]);

/*
 * Wichmann-Hill set (BIX_BRNG_WH + 0 to 272): four multiplicative congruential generators with
 * prime moduli below 2^24 per member, all 1092 moduli distinct. An integer output is one
 * 16-byte word: the four new component values (r holds 4 * n uint32_t). Real outputs are
 * the fractional part of x1/m1 + x2/m2 + x3/m3 + x4/m4 mapped onto [a, b). Leapfrog and
 * skip-ahead supported.
 */
KORB_API int __bixBRngWHInitStream(int method, BixStream *stream, int n, const uint32_t params[]);
KORB_API int __bixsBRngWH(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngWH(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngWH(BixStream *stream, int n, uint32_t r[]);

/* base^exponent mod modulus (0 for a modulus of 0), and base^exponent mod (2^31 - 1). */
KORB_API uint64_t __bixiPowMod(uint32_t base, uint64_t exponent, uint32_t modulus);
KORB_API uint64_t __bixiPowMod2P31M1(uint32_t base, uint64_t exponent);

/*
 * MRG32K3A: the combined recurrences x(n) = (1403580 x(n-2) - 810728 x(n-3)) mod (2^32 - 209)
 * and y(n) = (527612 y(n-1) - 1370589 y(n-3)) mod (2^32 - 22853), output (x(n) - y(n)) mod
 * (2^32 - 209), which can be 0. Up to six seed words (x0, x1, x2, y0, y1, y2; missing ones are 1).
 * Skip-ahead supported; leapfrog returns BIX_ERROR_LEAPFROG_UNSUPPORTED.
 */
KORB_API int __bixBRngMRG32K3AInitStream(int method, BixStream *stream, int n,
                                         const uint32_t params[]);
KORB_API int __bixsBRngMRG32K3A(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngMRG32K3A(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngMRG32K3A(BixStream *stream, int n, uint32_t r[]);

/*
 * Advances a three-word component of an order-3 recurrence modulo 2^32 - offset by `power`
 * steps, in place. `vector` holds the words oldest to newest (as a MRG32K3A stream does); `row`
 * is the companion matrix's first row: the coefficients of the newest, middle and oldest word in
 * the next word, e.g. {0, 1403580, 4294967087 - 810728} for MRG32K3A's first component.
 */
KORB_API void __bixiVect3PowMod(uint32_t vector[3], const uint32_t row[3], uint32_t offset,
                                uint64_t power);

/*
 * MCG59: x(i+1) = 13^13 * x(i) mod 2^59, never 0. One seed word is x; two are a 64-bit word (low
 * word first) cut to 59 bits. Leapfrog and skip-ahead supported. The integer output is one
 * 64-bit word per number: __bixiBRngMCG59 fills r[0..2n-1], low half of each word first.
 */
KORB_API int __bixBRngMCG59InitStream(int method, BixStream *stream, int n,
                                      const uint32_t params[]);
KORB_API int __bixsBRngMCG59(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngMCG59(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngMCG59(BixStream *stream, int n, uint32_t r[]);

/* base^exponent mod 2^59 (1 for exponent 0). */
KORB_API uint64_t __bixiPowMod2P59(uint64_t base, uint64_t exponent);

/*
 * MT19937: the 32-bit Mersenne twister (period 2^19937 - 1). The n seed words are its key array
 * (n <= 0: the key {1}), so the integer output is the reference output for that key. Real
 * outputs are a + (b - a) * w * 2^-32 of the tempered words w (floats: that double rounded,
 * kept below b). Leapfrog and skip-ahead return BIX_ERROR_LEAPFROG_UNSUPPORTED and
 * BIX_ERROR_SKIPAHEAD_UNSUPPORTED.
 */
KORB_API int __bixBRngMT19937InitStream(int method, BixStream *stream, int n,
                                        const uint32_t params[]);
KORB_API int __bixsBRngMT19937(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngMT19937(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngMT19937(BixStream *stream, int n, uint32_t r[]);

/*
 * MT2203 set (BIX_BRNG_MT2203 + 0 to 6023): Mersenne twisters of period 2^2203 - 1 on 69 words,
 * one per member, each with its own twist word and tempering masks. Seeding, outputs and the
 * refused splits are as for MT19937.
 */
KORB_API int __bixBRngMT2203InitStream(int method, BixStream *stream, int n,
                                       const uint32_t params[]);
KORB_API int __bixsBRngMT2203(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngMT2203(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngMT2203(BixStream *stream, int n, uint32_t r[]);

/*
 * Quasi-random generators: the base-2 Sobol sequence (Joe-Kuo direction numbers, 32 bits) and
 * the base-2 Niederreiter sequence (32 digits), in Gray-code order without the origin. Seeding
 * takes the dimension d in seed[0] (1 when there is no seed or it is 0); a d above the largest
 * below returns BIX_ERROR_BADARGS and the stream then generates nothing. Outputs are the
 * coordinates of point after point (d outputs per point); integers are the 32-bit coordinates,
 * doubles and floats scale them by 2^-32 onto [a, b). Skip-ahead by N outputs jumps directly;
 * leapfrog takes nstreams = d and k < d and yields coordinate k of every point; other leapfrog
 * arguments return BIX_ERROR_LEAPFROG_UNSUPPORTED. A request past the 2^32 - 1 points of the
 * sequence returns BIX_ERROR_QRNG_PERIOD_ELAPSED and generates nothing.
 */
KORB_API int __bixBRngSobolInitStream(int method, BixStream *stream, int n,
                                      const uint32_t params[]);
KORB_API int __bixsBRngSobol(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngSobol(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngSobol(BixStream *stream, int n, uint32_t r[]);

KORB_API int __bixBRngNiederrInitStream(int method, BixStream *stream, int n,
                                        const uint32_t params[]);
KORB_API int __bixsBRngNiederr(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngNiederr(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngNiederr(BixStream *stream, int n, uint32_t r[]);

/*
 * Abstract generators (rows 9 to 11): each generates in one precision only; the other
 * precisions are these stubs, which return BIX_ERROR_ARS_UNSUPPORTED_PRECISION.
 */
KORB_API int __bixBRngiAbstractInitStream(int method, BixStream *stream, int n,
                                          const uint32_t params[]);
KORB_API int __bixBRngdAbstractInitStream(int method, BixStream *stream, int n,
                                          const uint32_t params[]);
KORB_API int __bixBRngsAbstractInitStream(int method, BixStream *stream, int n,
                                          const uint32_t params[]);
KORB_API int __bixiBRngiAbstract(BixStream *stream, int n, uint32_t r[]);
KORB_API int __bixdBRngdAbstract(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixsBRngsAbstract(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixsBRngiAbstract(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngiAbstract(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixsBRngdAbstract(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixiBRngdAbstract(BixStream *stream, int n, uint32_t r[]);
KORB_API int __bixdBRngsAbstract(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngsAbstract(BixStream *stream, int n, uint32_t r[]);

/*
 * SFMT19937: the SIMD-oriented fast Mersenne twister with exponent 19937 (period 2^19937 - 1).
 * Seeding takes a key array of n words (n <= 0: the key {1}) and reproduces the authors'
 * reference output for that key. A stream is one sequence of 32-bit words: __bixiBRngSFMT19937
 * writes n 128-bit words, that is the next 4n 32-bit words (r holds 4 * n uint32_t); doubles
 * and floats take one 32-bit word w each, a + (b - a) * w * 2^-32. Skip-ahead counts 128-bit
 * words (4 * nskip doubles or floats) and is exact; leapfrog returns
 * BIX_ERROR_LEAPFROG_UNSUPPORTED.
 */
KORB_API int __bixBRngSFMT19937InitStream(int method, BixStream *stream, int n,
                                          const uint32_t params[]);
KORB_API int __bixsBRngSFMT19937(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngSFMT19937(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngSFMT19937(BixStream *stream, int n, uint32_t r[]);

/*
 * The non-deterministic generator (row 13): streams are made (the initialiser checks for the
 * processor's random-number instruction and returns BIX_ERROR_NONDETERM_NOT_SUPPORTED without
 * it), but this kernel library generates nothing from them: the three generation functions
 * return BIX_ERROR_NONDETERM_NOT_SUPPORTED.
 */
KORB_API int __bixBRngTRNGInitStream(int method, BixStream *stream, int n, const uint32_t params[]);
KORB_API int __bixsBRngTRNG(BixStream *stream, int n, float r[], float a, float b);
KORB_API int __bixdBRngTRNG(BixStream *stream, int n, double r[], double a, double b);
KORB_API int __bixiBRngTRNG(BixStream *stream, int n, uint32_t r[]);

/*
 * Distributions. Every kernel takes (method, stream, n, r, parameters...) and fills r[0..n-1]
 * with variates drawn from the stream; it returns the status of the stream's generator (0 or
 * negative) or BIX_ERROR_MEM_FAILURE. The parameters are not checked (a < b, sigma > 0, ...).
 * Kernels that compute elementary functions use the vector-math kernels (their high-accuracy
 * variants, whatever the thread's accuracy mode) with denormals kept and their own error
 * callback installed; the thread's mode word and callback are as before when they return.
 */

/*
 * Continuous uniform on [a, b): the generator's own mapping. The accurate method also clamps
 * every result into [a, b] (a NaN stays), against a + (b - a) u rounding past the bounds.
 */
KORB_API int _bixdRngUniform(int method, BixStream *stream, int n, double r[], double a, double b);
KORB_API int _bixsRngUniform(int method, BixStream *stream, int n, float r[], float a, float b);

/*
 * Gaussian of mean a and standard deviation sigma.
 * BOXMULLER: one variate per pair of uniforms (2n uniforms).
 * BOXMULLER2: both variates of each pair; a pair cut by the end of a call keeps its second
 *   variate in a 16-byte chunk of the stream (key 2 for double, 1 for float), which is copied
 *   and saved with the stream, so j then k variates equal j + k in one call.
 * ICDF: a + sigma sqrt(2) erfinv(u), u uniform on [-1, 1); one uniform per variate.
 * A uniform of 0 gives the radius sqrt(-2 ln) of the least subnormal, a finite variate; u = -1 in
 * ICDF gives a - 0.7670519064056041 sqrt(2) sigma (-1.0837465524673462 in single precision).
 * Methods other than these three give BIX_ERROR_BADMETHOD; n < 1 draws nothing.
 */
KORB_API int _bixdRngGaussian(int method, BixStream *stream, int n, double r[], double a,
                              double sigma);
KORB_API int _bixsRngGaussian(int method, BixStream *stream, int n, float r[], float a,
                              float sigma);

/*
 * Continuous distributions by inversion, one algorithm each (ICDF; the accurate id gives the
 * same numbers: the displacement clamp of the bounded ones is always applied). Parameters:
 *   Exponential(a, beta)            max(a, a - beta ln u)
 *   Laplace(a, beta)                a -+ beta ln u, the sign from a second uniform s: s <= 1/2
 *                                   gives the positive deviation; two uniforms per variate
 *   Weibull(alpha, a, beta)         max(a, (-ln u)^(1/alpha) beta + a)
 *   Cauchy(a, beta)                 tan(v) beta + a, v uniform on [-pi/2, pi/2)
 *   Rayleigh(a, beta)               max(a, sqrt(-ln u) beta + a)
 *   Lognormal(a, sigma, b, beta)    max(b, e^g beta + b), g Gaussian(a, sigma) drawn with
 *                                   BOXMULLER2 (so it shares that method's pending variate)
 *   Gumbel(a, beta)                 beta ln E + a, E a standard exponential variate
 * ln 0 (a uniform of 0) counts as the logarithm of the least subnormal, -744.4400719213812
 * (-103.2789306640625 in single precision).
 */
KORB_API int _bixdRngExponential(int method, BixStream *stream, int n, double r[], double a,
                                 double beta);
KORB_API int _bixsRngExponential(int method, BixStream *stream, int n, float r[], float a,
                                 float beta);
KORB_API int _bixdRngLaplace(int method, BixStream *stream, int n, double r[], double a,
                             double beta);
KORB_API int _bixsRngLaplace(int method, BixStream *stream, int n, float r[], float a, float beta);
KORB_API int _bixdRngWeibull(int method, BixStream *stream, int n, double r[], double alpha,
                             double a, double beta);
KORB_API int _bixsRngWeibull(int method, BixStream *stream, int n, float r[], float alpha, float a,
                             float beta);
KORB_API int _bixdRngCauchy(int method, BixStream *stream, int n, double r[], double a,
                            double beta);
KORB_API int _bixsRngCauchy(int method, BixStream *stream, int n, float r[], float a, float beta);
KORB_API int _bixdRngRayleigh(int method, BixStream *stream, int n, double r[], double a,
                              double beta);
KORB_API int _bixsRngRayleigh(int method, BixStream *stream, int n, float r[], float a, float beta);
KORB_API int _bixdRngLognormal(int method, BixStream *stream, int n, double r[], double a,
                               double sigma, double b, double beta);
KORB_API int _bixsRngLognormal(int method, BixStream *stream, int n, float r[], float a,
                               float sigma, float b, float beta);
KORB_API int _bixdRngGumbel(int method, BixStream *stream, int n, double r[], double a,
                            double beta);
KORB_API int _bixsRngGumbel(int method, BixStream *stream, int n, float r[], float a, float beta);

/*
 * Rejection kernels: each variate takes a varying number of uniforms, so the variates are a
 * fixed function of the stream's state, n and the parameters (same inputs, same bits), but n
 * drawn in two calls need not give the variates of one call of n. They decide in double
 * whatever the output precision. A stream that lets no candidate through in 64 rounds in a row
 * (which no registered generator does) ends the call with BIX_ERROR_BADARGS. The accurate
 * method clamps the results into the support.
 *
 * Gamma(alpha, a, beta): shape alpha > 0, displacement a, scale beta > 0; a + beta X, X of
 *   density x^(alpha-1) e^-x / Gamma(alpha). SQUEEZE: Marsaglia and Tsang's method on normals
 *   of the Gaussian kernel's BOXMULLER2 method from the same stream (alpha > 1); for
 *   alpha < 1 their boost Y U^(1/alpha), Y of shape alpha + 1; alpha = 1 is the exponential
 *   kernel (clamped to a under both ids). ACCURATE: results clamped to at least a.
 * Beta(p, q, a, beta): shapes p, q > 0, displacement a, scale beta > 0; values in
 *   [a, a + beta]. REJECTION: inversion when q = 1 (U^(1/p)) or p = 1 (1 - U^(1/q)), one
 *   uniform each; Johnk's method when both shapes are below 1, Cheng's BB when both are above,
 *   Cheng's BC otherwise, a pair of uniforms per candidate. ACCURATE: clamped into
 *   [a, a + beta].
 */
KORB_API int _bixdRngGamma(int method, BixStream *stream, int n, double r[], double alpha,
                           double a, double beta);
KORB_API int _bixsRngGamma(int method, BixStream *stream, int n, float r[], float alpha, float a,
                           float beta);
KORB_API int _bixdRngBeta(int method, BixStream *stream, int n, double r[], double p, double q,
                          double a, double beta);
KORB_API int _bixsRngBeta(int method, BixStream *stream, int n, float r[], float p, float q,
                          float a, float beta);

/*
 * Multivariate normal: n vectors of dimension dimen >= 1 into r[i * dimen + j], mean a (dimen
 * elements) and covariance T T', T lower triangular in storage mstorage:
 *   BIX_RNG_MATRIX_FULL      dimen x dimen row-major, the part above the diagonal not read
 *   BIX_RNG_MATRIX_PACKED    the lower triangle row by row, dimen (dimen + 1) / 2 elements
 *   BIX_RNG_MATRIX_DIAGONAL  the dimen diagonal elements
 * The n * dimen standard normals come from the Gaussian kernel's method of the same id, vector
 * after vector (the BOXMULLER2 pending variate kept in the stream as that method keeps it), so
 * n vectors in two calls are those of one call. Element i of a vector is
 * a_i + T_i0 z_0 + ... + T_ii z_i, summed in that order on every processor. A method other than
 * these three gives BIX_ERROR_BADMETHOD, a dimension below 1 or another storage code
 * BIX_ERROR_BADARGS, with nothing drawn.
 */
KORB_API int _bixdRngGaussianMV(int method, BixStream *stream, int n, double r[], int dimen,
                                int mstorage, const double *a, const double *t);
KORB_API int _bixsRngGaussianMV(int method, BixStream *stream, int n, float r[], int dimen,
                                int mstorage, const float *a, const float *t);

/*
 * Integer distributions, one method each (id 0). r holds n 32-bit signed integers.
 *   Uniform(a, b)     integers a..b-1: the floor of a double uniform on [a, b)
 *   Bernoulli(p)      1 where a float uniform is below (float)p; p <= 0 gives only zeros
 *   Geometric(p)      failures before the first success, floor(ln u / ln(1 - p)), the constant
 *                     1 / ln(1 - p) in double, the rest in single precision
 * __bixdLn is the double logarithm of the vector-math kernel for one argument, with no report.
 */
KORB_API int _bixiRngUniform(int method, BixStream *stream, int n, int r[], int a, int b);
KORB_API int _bixiRngBernoulli(int method, BixStream *stream, int n, int r[], double p);
KORB_API int _bixiRngGeometric(int method, BixStream *stream, int n, int r[], double p);
KORB_API double __bixdLn(double x);

/*
 * Counting distributions, int variates. Inversion takes one uniform a variate (any split of n
 * gives the same variates); the rejection samplers take a varying number, drawn in blocks sized
 * by the variates still to come, so the variates are a fixed function of the stream's state, n
 * and the parameters (same inputs, same bits) but n drawn in two calls need not give the
 * variates of one call of n. A stream that refuses 65536 candidates in a row (which no
 * registered generator does) ends the call with BIX_ERROR_BADARGS. A method other than the
 * listed ones gives BIX_ERROR_BADMETHOD; n < 1 draws nothing. The parameters are not checked:
 *   Binomial(ntrial, p)       ntrial in [0, 2^31 - 1], p in [0, 1]. BTPE: Kachitvichyanukul and
 *                             Schmeiser's BTPE when ntrial min(p, 1 - p) >= 30, inversion below;
 *                             ntrial = 0, p = 0 and p = 1 give the constant without drawing
 *   Poisson(lambda)           lambda in (0, 2e9] (a larger mean is taken as 2e9). PTPE: the
 *                             triangle-parallelogram-exponential rejection for lambda >= 27,
 *                             inversion below. NORMAL: Ahrens and Dieter's PD on the Gaussian
 *                             kernel's BOXMULLER2 normals for lambda >= 10, inversion below
 *   PoissonV(lambda[])        one mean per variate, each in (0, 2e9]; NORMAL is the scalar
 *                             kernel's NORMAL for each element (a constant mean gives its
 *                             variates), a mean equal to the one before reusing its set-up
 *   Hypergeometric(l, s, m)   marked items in a sample of s from a lot of l with m marked,
 *                             l in [0, 2^31 - 1], s and m in [0, l]. H2PE: Kachitvichyanukul and
 *                             Schmeiser's H2PE when the mode lies at least 10 values above the
 *                             least of the support, inversion otherwise
 *   Negbinomial(a, p)         failures before the a-th success, a > 0, p in (0, 1], and
 *                             (1 - p) / p (a + 12 sqrt(a) + 60) <= 2e9. GAMMA_POISSON: a Poisson
 *                             variate of a gamma mean (shape a, scale (1 - p) / p, the gamma
 *                             kernel's method 0) when a (1 - p) / p >= 1, inversion below; p = 1
 *                             gives 0 without drawing
 */
KORB_API int _bixiRngBinomial(int method, BixStream *stream, int n, int r[], int ntrial,
                              double p);
KORB_API int _bixiRngPoisson(int method, BixStream *stream, int n, int r[], double lambda);
KORB_API int _bixiRngPoissonV(int method, BixStream *stream, int n, int r[],
                              const double lambda[]);
KORB_API int _bixiRngHypergeometric(int method, BixStream *stream, int n, int r[], int l, int s,
                                    int m);
KORB_API int _bixiRngNegbinomial(int method, BixStream *stream, int n, int r[], double a,
                                 double p);

/*
 * Uniform bits. _bixiRngUniformBits writes n raw output words of the stream's generator exactly
 * as its iGen does (wordSize / 4 elements of r per word). _bixiRngUniformBits32 writes n 32-bit
 * and _bixiRngUniformBits64 n 64-bit uniform words; they serve MCG59 (the top 32 of each word's
 * 59 bits; two words per 64-bit output, the earlier in the low half), MT19937, MT2203 and the
 * non-deterministic generator (raw words; two per 64-bit output, the earlier in the low half)
 * and SFMT19937 (its 128-bit words split low part first; the part a call does not use is kept
 * with the stream, so any split of n gives the same outputs). Other generators return
 * BIX_ERROR_BRNG_NOT_SUPPORTED and write nothing. The method is 0.
 */

KORB_API int _bixiRngUniformBits(int method, BixStream *stream, int n, uint32_t r[]);
KORB_API int _bixiRngUniformBits32(int method, BixStream *stream, int n, uint32_t r[]);
KORB_API int _bixiRngUniformBits64(int method, BixStream *stream, int n, uint64_t r[]);

#ifdef __cplusplus
}
#endif

#endif /* KORB_KERNEL_RNG_H */
