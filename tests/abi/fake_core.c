/* A stand-in core library that has the memory services but neither korb_serv_free nor the
   tridiagonal solver, for the tests of a missing core-library function. */
#include <stdlib.h>

static void *aligned(size_t size, int alignment) {
    void *p = NULL;
    return posix_memalign(&p, (size_t)(alignment < 16 ? 16 : alignment), size ? size : 1) == 0
               ? p
               : NULL;
}

__attribute__((visibility("default"))) void *korb_serv_malloc(size_t size, int alignment) {
    return aligned(size, alignment);
}

__attribute__((visibility("default"))) void *korb_serv_allocate(size_t size, int alignment) {
    return aligned(size, alignment);
}

__attribute__((visibility("default"))) void korb_serv_deallocate(void *p) {
    free(p);
}
