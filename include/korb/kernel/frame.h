/*
 * korb: library frame.
 *
 * What every family shares: the library identification, the memory services
 * (backed by libkorb_core.so, resolved by name on first use), the numbered message printer and
 * the processor class. Plain C99; usable from C and C++.
 */
#ifndef KORB_KERNEL_FRAME_H
#define KORB_KERNEL_FRAME_H

#include <stddef.h>

#include "../common.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Processor-type word: not yet decided, decided by detection; 0 to 5 means forced. */
#define KORB_CPU_TYPE_UNDECIDED (-911)
#define KORB_CPU_TYPE_DETECTED (-6)

/* Numbers of the built-in messages printed by korbMessage. */
#define KORB_MSG_NEWLINE 0
#define KORB_MSG_CANNOT_LOAD 1        /* %s: file name */
#define KORB_MSG_CANNOT_LOAD_EITHER 2 /* %s, %s: two file names */
#define KORB_MSG_FUNCTION_MISSING 3   /* %s: function name */
#define KORB_MSG_CPU_TYPE_OVERRIDE 4  /* %d: forced class */
#define KORB_MSG_LIBRARY_CLASS 5      /* %s, %d, %d */
#define KORB_MSG_BAD_PARAMETER 6      /* %d: parameter position, %s: function name */
#define KORB_MSG_INTERNAL_CONDITION 7 /* %d, %s */
#define KORB_MSG_NO_WORK_MEMORY 8     /* %s */
#define KORB_MSG_INCOMPATIBLE_OPTIONS 9
#define KORB_MSG_RULE 10
#define KORB_MSG_MEMORY_ERROR 760
/* Vector-math error reporting: one row per status, then the element values. */
#define KORB_MSG_ARQ_BADSIZE 761   /* %s: function name, %d: array size */
#define KORB_MSG_ARQ_BADMEM 762    /* %s */
#define KORB_MSG_ARQ_ERRDOM 763    /* %s */
#define KORB_MSG_ARQ_SING 764      /* %s */
#define KORB_MSG_ARQ_OVERFLOW 765  /* %s */
#define KORB_MSG_ARQ_UNDERFLOW 766 /* %s */
#define KORB_MSG_ARQ_UNKNOWN 767   /* %s */
#define KORB_MSG_ARQ_VALUE_A 768   /* %d: index, %g: value */
#define KORB_MSG_ARQ_VALUE_B 769
#define KORB_MSG_ARQ_VALUE_R 770
#define KORB_MSG_ARQ_VALUE_Y 771
#define KORB_MSG_ARQ_VALUE_Z 772

/* Formatted messages longer than this many characters end the process with exit code 8. */
#define KORB_MSG_BUFFER_SIZE 512

/* The processor class this kernel library serves: KORB_CPU_GENERIC (libkorb_def.so),
   KORB_CPU_X86_64_V3 (libkorb_avx2.so) or KORB_CPU_X86_64_V4 (libkorb_avx512.so). */
KORB_API int dll_cpu_version(void);

/* The library version as "major.minor.patch". */
KORB_API const char *korbGetVersion(void);

/*
 * The processor class decided for this process (detected once; KORB_DEBUG_CPU_TYPE=0..5
 * forces it). When forced is non-null it receives 1 for a forced class and 0 for a detected one.
 */
KORB_API int korbGetCpuType(int *forced);

/*
 * Memory. korbAlignedAlloc/korbAlignedFree and korbMalloc/korbFree are two separate pairs; a block
 * is released only through the partner of the function that made it. alignment must be a power of
 * two; a failed allocation returns NULL. The first call loads libkorb_core.so (from this library's
 * directory, else by the dynamic loader's search) and ends the process with exit code 1 after
 * message 1 or 3 when the library or one of its functions cannot be found.
 */
KORB_API void *korbAlignedAlloc(size_t size, int alignment);
KORB_API void korbAlignedFree(void *p);
KORB_API void *korbMalloc(size_t size, int alignment);
KORB_API void korbFree(void *p);

/*
 * Prints message `number` to standard output, followed by a newline, and flushes. With argCount
 * greater than 0 the text is a printf format for the arguments that follow; with 0 it is printed
 * as it stands. Texts come from the message catalogue "korb_msg" (catopen with NL_CAT_LOCALE,
 * set 1, entry number + 1) when it has them, else from the built-in table. A formatted text
 * longer than KORB_MSG_BUFFER_SIZE characters ends the process with exit code 8. `kind` is the
 * message category (4 for most messages, 2 for warnings) and does not change the output.
 */
KORB_API void korbMessage(int kind, int number, int argCount, ...);

#ifdef __cplusplus
}
#endif

#endif /* KORB_KERNEL_FRAME_H */
