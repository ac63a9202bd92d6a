/*
 * libkorb_core.so: the core services that the kernel library resolves by name at run time,
 * and the controls that tests use to exercise allocation failures.
 *
 * The kernel library never links against this library; it finds it with dlopen/dlsym on first
 * use. Tests and tools may link it directly.
 */
#ifndef KORB_CORE_H
#define KORB_CORE_H

#include <stddef.h>
#include <stdint.h>

#if defined(KORB_BUILDING_CORE)
#define KORB_CORE_API __attribute__((visibility("default")))
#else
#define KORB_CORE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Two independent allocator pairs: korb_serv_allocate/korb_serv_deallocate (work arrays and
 * task records) and korb_serv_malloc/korb_serv_free (stream and chunk records). alignment must
 * be a power of two (values below 16 are raised to 16); anything else, an impossible size, or
 * an injected failure gives NULL. A size of 0 gives a unique block that must be released too.
 * Releasing NULL does nothing.
 */
KORB_CORE_API void *korb_serv_allocate(size_t size, int alignment);
KORB_CORE_API void korb_serv_deallocate(void *p);
KORB_CORE_API void *korb_serv_malloc(size_t size, int alignment);
KORB_CORE_API void korb_serv_free(void *p);

/* The numerical-reproducibility branch in force: always KORB_CBWR_AUTO here. */
#define KORB_CBWR_AUTO 1
KORB_CORE_API int korb_serv_cbwr_get_nolock(void);

/*
 * Tridiagonal systems, factored once and solved for any number of right-hand sides.
 *
 * Row i of the n x n matrix holds sub[i] in column i-1, diag[i] in column i and sup[i] in column
 * i+1. With KORB_TRIDIAG_CYCLIC the matrix is cyclic: sub[0] stands in column n-1 and sup[n-1] in
 * column 0 (for n = 2 both corners add to the off-diagonal entries; n = 1 adds them to the
 * diagonal). Otherwise sub[0] and sup[n-1] are not read.
 *
 * The factorization is Gaussian elimination without pivoting (cyclic systems are bordered by
 * their last row and column), so it is meant for diagonally dominant or symmetric positive
 * definite matrices, the kind spline construction produces; a zero or non-finite pivot refuses
 * the matrix with KORB_TRIDIAG_SINGULAR.
 *
 * korb_serv_dtridiag_factor allocates the factor (failure injection applies) and stores it in
 * *factor; release it with korb_serv_dtridiag_release. korb_serv_dtridiag_solve overwrites nrhs
 * right-hand sides with the solutions: element (row i, right-hand side k) is
 * b[i * row_stride + k * rhs_stride]. With rhs_stride 1 the right-hand sides of a row are
 * processed together in vector registers; otherwise one after another. Strides may be any
 * non-zero values that keep the elements distinct. Solving allocates nothing.
 */
#define KORB_TRIDIAG_OK 0
#define KORB_TRIDIAG_BAD_ARGS (-1)    /* n < 1, a null pointer, or a zero stride */
#define KORB_TRIDIAG_MEM_FAILURE (-2) /* the factor could not be allocated */
#define KORB_TRIDIAG_SINGULAR (-3)    /* a zero or non-finite pivot */
#define KORB_TRIDIAG_CYCLIC 1         /* flag: the matrix is cyclic */

typedef struct KorbTridiag KorbTridiag;

KORB_CORE_API int korb_serv_dtridiag_factor(int64_t n, const double *sub, const double *diag,
                                            const double *sup, int flags, KorbTridiag **factor);
KORB_CORE_API int korb_serv_dtridiag_solve(const KorbTridiag *factor, int64_t nrhs, double *b,
                                           int64_t row_stride, int64_t rhs_stride);
KORB_CORE_API void korb_serv_dtridiag_release(KorbTridiag *factor);

/*
 * Allocation-failure injection. After korb_serv_fail_after(n) with n >= 0, the allocation that
 * follows n more successful ones (through either pair) returns NULL, once; a negative n turns
 * injection off. The countdown is process-wide.
 */
KORB_CORE_API void korb_serv_fail_after(long n);

/* Blocks handed out by either pair and not yet released. */
KORB_CORE_API long korb_serv_live_blocks(void);

#ifdef __cplusplus
}
#endif

#endif /* KORB_CORE_H */
