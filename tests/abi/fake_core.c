/* A stand-in core library that lacks every service but korb_serv_malloc, for the test of a
   missing core-library function. */
#include <stdlib.h>

__attribute__((visibility("default"))) void *korb_serv_malloc(size_t size, int alignment) {
    void *p = NULL;
    return posix_memalign(&p, (size_t)(alignment < 16 ? 16 : alignment), size) == 0 ? p : NULL;
}
