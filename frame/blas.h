// BLAS and LAPACK routines of the installed provider, bound by their Fortran symbols on first use.
//
// Arguments follow the Fortran reference interface: everything by pointer, 32-bit integers,
// column-major arrays, and after the regular arguments one hidden length per character argument
// (gfortran's convention; providers written in C ignore them). Call as
//   korb_blas_dgemm("N", "N", &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc, 1, 1);
// Adding a routine costs one list line (and a signature below when it is a new shape).
#pragma once

#include <cstddef>

#include "resolve.h"

namespace korb::frame {

using FLen = std::size_t;  // hidden length of a character argument

template <class T>
using GemmFn = void(const char *transa, const char *transb, const int *m, const int *n,
                    const int *k, const T *alpha, const T *a, const int *lda, const T *b,
                    const int *ldb, const T *beta, T *c, const int *ldc, FLen, FLen);
template <class T>
using GemvFn = void(const char *trans, const int *m, const int *n, const T *alpha, const T *a,
                    const int *lda, const T *x, const int *incx, const T *beta, T *y,
                    const int *incy, FLen);
template <class T>
using SyrkFn = void(const char *uplo, const char *trans, const int *n, const int *k, const T *alpha,
                    const T *a, const int *lda, const T *beta, T *c, const int *ldc, FLen, FLen);
template <class T>
using SyrFn = void(const char *uplo, const int *n, const T *alpha, const T *x, const int *incx,
                   T *a, const int *lda, FLen);
template <class T>
using TrmmFn = void(const char *side, const char *uplo, const char *transa, const char *diag,
                    const int *m, const int *n, const T *alpha, const T *a, const int *lda, T *b,
                    const int *ldb, FLen, FLen, FLen, FLen);
template <class T>
using SymmFn = void(const char *side, const char *uplo, const int *m, const int *n, const T *alpha,
                    const T *a, const int *lda, const T *b, const int *ldb, const T *beta, T *c,
                    const int *ldc, FLen, FLen);
template <class T>
using PotrfFn = void(const char *uplo, const int *n, T *a, const int *lda, int *info, FLen);
template <class T>
using TrtriFn = void(const char *uplo, const char *diag, const int *n, T *a, const int *lda,
                     int *info, FLen, FLen);
template <class T>
using SyevFn = void(const char *jobz, const char *uplo, const int *n, T *a, const int *lda, T *w,
                    T *work, const int *lwork, int *info, FLen, FLen);
template <class T>
using SpevdFn = void(const char *jobz, const char *uplo, const int *n, T *ap, T *w, T *z,
                     const int *ldz, T *work, const int *lwork, int *iwork, const int *liwork,
                     int *info, FLen, FLen);

// The routines the statistics family uses: slot name, Fortran symbol, signature.
#define KORB_BLAS_ROUTINES(X)                         \
    X(korb_blas_dgemm, "dgemm_", GemmFn<double>)      \
    X(korb_blas_sgemm, "sgemm_", GemmFn<float>)       \
    X(korb_blas_dgemv, "dgemv_", GemvFn<double>)      \
    X(korb_blas_sgemv, "sgemv_", GemvFn<float>)       \
    X(korb_blas_dsyrk, "dsyrk_", SyrkFn<double>)      \
    X(korb_blas_ssyrk, "ssyrk_", SyrkFn<float>)       \
    X(korb_blas_dsyr, "dsyr_", SyrFn<double>)         \
    X(korb_blas_ssyr, "ssyr_", SyrFn<float>)          \
    X(korb_blas_dtrmm, "dtrmm_", TrmmFn<double>)      \
    X(korb_blas_strmm, "strmm_", TrmmFn<float>)       \
    X(korb_blas_dsymm, "dsymm_", SymmFn<double>)      \
    X(korb_blas_ssymm, "ssymm_", SymmFn<float>)       \
    X(korb_lapack_dpotrf, "dpotrf_", PotrfFn<double>) \
    X(korb_lapack_spotrf, "spotrf_", PotrfFn<float>)  \
    X(korb_lapack_dpotri, "dpotri_", PotrfFn<double>) \
    X(korb_lapack_spotri, "spotri_", PotrfFn<float>)  \
    X(korb_lapack_dtrtri, "dtrtri_", TrtriFn<double>) \
    X(korb_lapack_strtri, "strtri_", TrtriFn<float>)  \
    X(korb_lapack_dsyev, "dsyev_", SyevFn<double>)    \
    X(korb_lapack_ssyev, "ssyev_", SyevFn<float>)     \
    X(korb_lapack_dspevd, "dspevd_", SpevdFn<double>) \
    X(korb_lapack_sspevd, "sspevd_", SpevdFn<float>)

#define KORB_DECLARE_BLAS_SLOT(name, symbol, type) \
    inline constinit Resolved<type, Module::blas> name{symbol};
KORB_BLAS_ROUTINES(KORB_DECLARE_BLAS_SLOT)
#undef KORB_DECLARE_BLAS_SLOT

}  // namespace korb::frame
