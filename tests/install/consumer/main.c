/* A minimal user of an installed korb: includes every public header, calls the library, and
   allocates through it so that the installed core library must be found beside the kernel. */
#include <korb/kernel/frame.h>
#include <korb/kernel/rng.h>
#include <korb/kernel/vm.h>
#include <stdint.h>
#include <stdio.h>

int main(void) {
    void *p = korbAlignedAlloc(1024, 128);
    int ok = p != NULL && ((uintptr_t)p % 128) == 0 && dll_cpu_version() == 0 &&
             BIX_ERROR_OK == 0 && korb_arq_kernel_GetTTableIndexM(NULL, ARQ_HA) == 1;
    korbAlignedFree(p);
    printf("consumer of korb %s: %s\n", korbGetVersion(), ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
