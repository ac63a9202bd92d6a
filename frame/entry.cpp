// The frame's exported entry points.
#include "cpu.h"
#include "korb/kernel/frame.h"
#include "services.h"

// The class this library's build serves (KORB_CPU_*), set by the build of each class library.
#ifndef KORB_KERNEL_CLASS
#define KORB_KERNEL_CLASS KORB_CPU_GENERIC
#endif

#define KORB_STR2(x) #x
#define KORB_STR(x) KORB_STR2(x)

extern "C" {

int dll_cpu_version(void) {
    return KORB_KERNEL_CLASS;
}

const char *korbGetVersion(void) {
    return KORB_STR(KORB_VERSION_MAJOR) "." KORB_STR(KORB_VERSION_MINOR) "." KORB_STR(
        KORB_VERSION_PATCH);
}

int korbGetCpuType(int *forced) {
    bool f = false;
    int c = korb::frame::processor_class(&f);
    if (forced != nullptr) *forced = f ? 1 : 0;
    return c;
}

void *korbAlignedAlloc(size_t size, int alignment) {
    return korb::frame::korb_serv_allocate(size, alignment);
}

void korbAlignedFree(void *p) {
    korb::frame::korb_serv_deallocate(p);
}

void *korbMalloc(size_t size, int alignment) {
    return korb::frame::korb_serv_malloc(size, alignment);
}

void korbFree(void *p) {
    korb::frame::korb_serv_free(p);
}
}
