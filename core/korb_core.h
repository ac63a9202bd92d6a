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
