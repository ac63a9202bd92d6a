/*
 * korb: random numbers.
 *
 * A stream is a generator's state: make it with bixNewStream (one 32-bit seed) or bixNewStreamEx
 * (n seed words), draw variates from it with the bix<p>Rng<Distribution> functions, release it
 * with bixDeleteStream. A stream serves one thread at a time; streams are independent.
 *
 * Every function returns BIX_ERROR_OK (0) or a negative status of korb/rng_types.h
 * (korbStatusText(KORB_FAMILY_RNG, status) names it); a call that fails writes nothing the
 * caller gave it. Distribution functions check, in this order:
 *   n < 0                                           BIX_ERROR_BADARGS
 *   n == 0                                          returns 0, nothing drawn
 *   stream or r NULL                                BIX_ERROR_NULL_PTR
 *   method not among the distribution's             BIX_ERROR_BADMETHOD
 *   a parameter outside its domain, NaN or infinite BIX_ERROR_BADARGS
 *   parameters whose variates could overflow r's type (a uniform whose b - a overflows, a
 *   geometric with p below about 4.8e-8)            BIX_ERROR_BADARGS
 * then return the generator's status.
 */
#ifndef KORB_RNG_H
#define KORB_RNG_H

#include <stdint.h>

#include "rng_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* --- Streams -------------------------------------------------------------------------------- */

/* Makes *stream a new stream of generator brng (BIX_BRNG_*) seeded with seed, or with the n words
   of params. BIX_ERROR_INVALID_BRNG for an unknown generator, BIX_ERROR_MEM_FAILURE. */
KORB_API int bixNewStream(BixStream **stream, int brng, uint32_t seed);
KORB_API int bixNewStreamEx(BixStream **stream, int brng, int n, const uint32_t params[]);

/* Abstract streams: the n numbers of buffer (uniform on [a, b) for d and s), refilled by
   refill(stream, n, buffer) when used up. */
KORB_API int bixiNewAbstractStream(BixStream **stream, int n, uint32_t buffer[],
                                   BixiUpdateFuncPtr refill);
KORB_API int bixdNewAbstractStream(BixStream **stream, int n, double buffer[], double a, double b,
                                   BixdUpdateFuncPtr refill);
KORB_API int bixsNewAbstractStream(BixStream **stream, int n, float buffer[], float a, float b,
                                   BixsUpdateFuncPtr refill);

/* Releases *stream and sets it to NULL. */
KORB_API int bixDeleteStream(BixStream **stream);

/* *copy becomes a new stream in source's state; CopyStreamState copies the state into an existing
   stream of the same generator. */
KORB_API int bixCopyStream(BixStream **copy, const BixStream *source);
KORB_API int bixCopyStreamState(BixStream *destination, const BixStream *source);

/* Makes stream the k-th of nstreams interleaved streams (0 <= k < nstreams, else
   BIX_ERROR_BADARGS); BIX_ERROR_LEAPFROG_UNSUPPORTED for a generator without leapfrog. */
KORB_API int bixLeapfrogStream(BixStream *stream, int k, int nstreams);

/* Advances stream by nskip >= 0 numbers (else BIX_ERROR_BADARGS);
   BIX_ERROR_SKIPAHEAD_UNSUPPORTED for a generator without skip-ahead. */
KORB_API int bixSkipAheadStream(BixStream *stream, long long nskip);

/* The stream's generator id; the size in bytes of its saved image. */
KORB_API int bixGetStreamStateBrng(const BixStream *stream);
KORB_API int bixGetStreamSize(const BixStream *stream);

/* The registry: the number of generators, a generator's properties, registering a new one
   (returns its id, or a negative status). */
KORB_API int bixGetNumRegBrngs(void);
KORB_API int bixGetBrngProperties(int brng, BrngProperties *properties);
KORB_API int bixRegisterBrng(const BrngProperties *properties);

/* Saving and loading a stream: to the file named by the first fnamelen characters of fname (a
   terminated string when fnamelen < 0), or to memory (bixGetStreamSize bytes). A failed load
   leaves *stream as it was. */
KORB_API int bixSaveStreamF(const BixStream *stream, const char *fname, int fnamelen);
KORB_API int bixLoadStreamF(BixStream **stream, const char *fname, int fnamelen);
KORB_API int bixSaveStreamM(const BixStream *stream, char *memptr);
KORB_API int bixLoadStreamM(BixStream **stream, const char *memptr);

/* --- Continuous distributions: d fills doubles, s floats ---------------------------------- */

/* Uniform on [a, b), a < b. Methods BIX_RNG_METHOD_UNIFORM_STD, _UNIFORM_STD_ACCURATE (clamped
   into [a, b]). */
KORB_API int bixdRngUniform(int method, BixStream *stream, int n, double r[], double a, double b);
KORB_API int bixsRngUniform(int method, BixStream *stream, int n, float r[], float a, float b);

/* Normal of mean a and standard deviation sigma > 0. Methods BIX_RNG_METHOD_GAUSSIAN_BOXMULLER,
   _BOXMULLER2, _ICDF. */
KORB_API int bixdRngGaussian(int method, BixStream *stream, int n, double r[], double a,
                             double sigma);
KORB_API int bixsRngGaussian(int method, BixStream *stream, int n, float r[], float a, float sigma);

/* Exponential of displacement a and scale beta > 0. Methods BIX_RNG_METHOD_ICDF, _ICDF_ACCURATE. */
KORB_API int bixdRngExponential(int method, BixStream *stream, int n, double r[], double a,
                                double beta);
KORB_API int bixsRngExponential(int method, BixStream *stream, int n, float r[], float a,
                                float beta);

/* Laplace of mean a and scale beta > 0. Method BIX_RNG_METHOD_ICDF. */
KORB_API int bixdRngLaplace(int method, BixStream *stream, int n, double r[], double a,
                            double beta);
KORB_API int bixsRngLaplace(int method, BixStream *stream, int n, float r[], float a, float beta);

/* Weibull of shape alpha > 0, displacement a and scale beta > 0. Methods BIX_RNG_METHOD_ICDF,
   _ICDF_ACCURATE. */
KORB_API int bixdRngWeibull(int method, BixStream *stream, int n, double r[], double alpha,
                            double a, double beta);
KORB_API int bixsRngWeibull(int method, BixStream *stream, int n, float r[], float alpha, float a,
                            float beta);

/* Cauchy of displacement a and scale beta > 0. Method BIX_RNG_METHOD_ICDF. */
KORB_API int bixdRngCauchy(int method, BixStream *stream, int n, double r[], double a, double beta);
KORB_API int bixsRngCauchy(int method, BixStream *stream, int n, float r[], float a, float beta);

/* Rayleigh of displacement a and scale beta > 0. Methods BIX_RNG_METHOD_ICDF, _ICDF_ACCURATE. */
KORB_API int bixdRngRayleigh(int method, BixStream *stream, int n, double r[], double a,
                             double beta);
KORB_API int bixsRngRayleigh(int method, BixStream *stream, int n, float r[], float a, float beta);

/* b + beta e^g, g normal of mean a and standard deviation sigma > 0; beta > 0. Methods
   BIX_RNG_METHOD_ICDF, _ICDF_ACCURATE. */
KORB_API int bixdRngLognormal(int method, BixStream *stream, int n, double r[], double a,
                              double sigma, double b, double beta);
KORB_API int bixsRngLognormal(int method, BixStream *stream, int n, float r[], float a, float sigma,
                              float b, float beta);

/* Gumbel (of minima) of displacement a and scale beta > 0. Method BIX_RNG_METHOD_ICDF. */
KORB_API int bixdRngGumbel(int method, BixStream *stream, int n, double r[], double a, double beta);
KORB_API int bixsRngGumbel(int method, BixStream *stream, int n, float r[], float a, float beta);

/* a + beta X, X gamma of shape alpha > 0 (density x^(alpha-1) e^-x / Gamma(alpha)); beta > 0.
   Methods BIX_RNG_METHOD_GAMMA_SQUEEZE, _SQUEEZE_ACCURATE (at least a). A rejection method: the
   same stream state, n and parameters give the same variates, but n drawn in two calls need not
   give those of one call. */
KORB_API int bixdRngGamma(int method, BixStream *stream, int n, double r[], double alpha, double a,
                          double beta);
KORB_API int bixsRngGamma(int method, BixStream *stream, int n, float r[], float alpha, float a,
                          float beta);

/* a + beta X, X beta of shapes p > 0 and q > 0, in [a, a + beta]; beta > 0. Methods
   BIX_RNG_METHOD_BETA_REJECTION, _REJECTION_ACCURATE (clamped into [a, a + beta]). A rejection
   method, reproducible as the gamma's. */
KORB_API int bixdRngBeta(int method, BixStream *stream, int n, double r[], double p, double q,
                         double a, double beta);
KORB_API int bixsRngBeta(int method, BixStream *stream, int n, float r[], float p, float q, float a,
                         float beta);

/* n vectors of dimension dimen >= 1 into r[i * dimen + j]: a + T z, z standard normal, a the
   dimen means, T the lower-triangular factor of the covariance T T' in storage mstorage
   (BIX_RNG_MATRIX_FULL, _PACKED, _DIAGONAL). Methods BIX_RNG_METHOD_GAUSSIANMV_BOXMULLER,
   _BOXMULLER2, _ICDF (the Gaussian's of the same id). */
KORB_API int bixdRngGaussianMV(int method, BixStream *stream, int n, double r[], int dimen,
                               int mstorage, const double *a, const double *t);
KORB_API int bixsRngGaussianMV(int method, BixStream *stream, int n, float r[], int dimen,
                               int mstorage, const float *a, const float *t);

/* --- Discrete distributions: int variates ------------------------------------------------- */

/* Integers a..b-1, each as likely; a < b. Method BIX_RNG_METHOD_STD. */
KORB_API int bixiRngUniform(int method, BixStream *stream, int n, int r[], int a, int b);

/* 1 with probability p in [0, 1], else 0. Method BIX_RNG_METHOD_ICDF. */
KORB_API int bixiRngBernoulli(int method, BixStream *stream, int n, int r[], double p);

/* Failures before the first success of probability p in (0, 1]; p below about 4.8e-8 is refused
   (a count could exceed INT_MAX). Method BIX_RNG_METHOD_ICDF. */
KORB_API int bixiRngGeometric(int method, BixStream *stream, int n, int r[], double p);

/* Successes in ntrial >= 0 trials of probability p in [0, 1]. Method BIX_RNG_METHOD_BINOMIAL_BTPE
   (BTPE when ntrial min(p, 1 - p) >= 30, inversion below). */
KORB_API int bixiRngBinomial(int method, BixStream *stream, int n, int r[], int ntrial, double p);

/* Poisson of mean lambda in (0, 2e9]. Methods BIX_RNG_METHOD_POISSON_PTPE (PTPE from lambda 27,
   inversion below), BIX_RNG_METHOD_POISSON_NORMAL (PD from lambda 10, inversion below). */
KORB_API int bixiRngPoisson(int method, BixStream *stream, int n, int r[], double lambda);

/* Poisson of mean lambda[i] for variate i, each in (0, 2e9]. Method
   BIX_RNG_METHOD_POISSONV_NORMAL (the scalar kernel's normal method per element). */
KORB_API int bixiRngPoissonV(int method, BixStream *stream, int n, int r[], const double lambda[]);

/* Marked items in a sample of s drawn without replacement from l items of which m are marked;
   l >= 0, s and m in [0, l]. Method BIX_RNG_METHOD_HYPERGEOMETRIC_H2PE. */
KORB_API int bixiRngHypergeometric(int method, BixStream *stream, int n, int r[], int l, int s,
                                   int m);

/* Failures before the a-th success of probability p; a > 0, p in (0, 1], and the mean small
   enough for an int: (1 - p) / p (a + 12 sqrt(a) + 60) <= 2e9. Method
   BIX_RNG_METHOD_NEGBINOMIAL_GAMMA_POISSON. */
KORB_API int bixiRngNegbinomial(int method, BixStream *stream, int n, int r[], double a, double p);

/* The binomial, Poisson, hypergeometric and negative binomial kernels reject candidates: the same
stream state, n and parameters give the same variates, but n drawn in two calls need not give
those of one call. */

/* --- Uniform bits ------------------------------------------------------------------------- */

/* n output words of the stream's generator as they are (wordSize / 4 elements of r each); n
   uniform 32-bit words; n uniform 64-bit words (the last two for MCG59, MT19937, MT2203,
   SFMT19937 and the non-deterministic generator, else BIX_ERROR_BRNG_NOT_SUPPORTED). Method 0. */
KORB_API int bixiRngUniformBits(int method, BixStream *stream, int n, uint32_t r[]);
KORB_API int bixiRngUniformBits32(int method, BixStream *stream, int n, uint32_t r[]);
KORB_API int bixiRngUniformBits64(int method, BixStream *stream, int n, uint64_t r[]);

#ifdef __cplusplus
}
#endif

#endif /* KORB_RNG_H */
