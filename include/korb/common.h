/*
 * korb: what every korb header shares: the export macro, the version and the processor classes.
 * Plain C99; usable from C and C++. Included by the public headers and by the kernel-ABI headers
 * under korb/kernel/, so that both read one definition.
 */
#ifndef KORB_COMMON_H
#define KORB_COMMON_H

#if defined(KORB_BUILDING_LIBRARY)
#define KORB_API __attribute__((visibility("default")))
#else
#define KORB_API
#endif

#define KORB_VERSION_MAJOR 0
#define KORB_VERSION_MINOR 1
#define KORB_VERSION_PATCH 0

/* Processor classes: the class a kernel library serves, and the class korb decides for the
   processor it runs on. */
#define KORB_CPU_GENERIC 0   /* x86-64 baseline, SSE2 */
#define KORB_CPU_X86_64_V2 1 /* SSE4.2, POPCNT */
#define KORB_CPU_AVX 2       /* AVX with OS-enabled AVX state */
#define KORB_CPU_X86_64_V3 3 /* AVX2, FMA, BMI2 */
#define KORB_CPU_X86_64_V4 4 /* AVX-512 F/BW/DQ/VL */
#define KORB_CPU_RESERVED 5

#endif /* KORB_COMMON_H */
