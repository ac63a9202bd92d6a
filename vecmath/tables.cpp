// The kernel tables, cost tables and entry points of every built vector-math function, expanded
// from vecmath/functions.def.
//
// For <p><Func> the assembler emits, in read-only data:
//   korb_arq_kernel_<p><Func>_ttab   three kernel addresses (slots LA, HA, EP), 24 bytes
//   korb_arq_kernel_<p><Func>_ctab   right after it: three f32 weights and four zero bytes
// and in text four entry points that are a single indirect jump through their slot:
//   _arq<p><Func>_HA and _arq<p><Func> (slot 1), _arq<p><Func>_21|_50 (slot 0),
//   _arq<p><Func>_11|_26 (slot 2); the numbers are those of single and double precision.
// A jump rather than a call leaves the caller's arguments and return address untouched, so the
// entry points need no knowledge of the kernel's signature.
#include "vecmath/functions.h"

namespace korb::vecmath {

// clang-format off
#define KORB_ARQ_KERNEL(p, F, X) "korb_vm_" #p #F "_" #X
#define KORB_ARQ_QUADS(p, F, x, y, z) \
    "  .quad " KORB_ARQ_KERNEL(p, F, x) ", " KORB_ARQ_KERNEL(p, F, y) ", " \
    KORB_ARQ_KERNEL(p, F, z) "\n"
#define KORB_ARQ_SLOTS_AAA(p, F) KORB_ARQ_QUADS(p, F, A, A, A)
#define KORB_ARQ_SLOTS_AAB(p, F) KORB_ARQ_QUADS(p, F, A, A, B)
#define KORB_ARQ_SLOTS_ABA(p, F) KORB_ARQ_QUADS(p, F, A, B, A)
#define KORB_ARQ_SLOTS_ABC(p, F) KORB_ARQ_QUADS(p, F, A, B, C)

#define KORB_ARQ_LA_s "_21"
#define KORB_ARQ_LA_c "_21"
#define KORB_ARQ_LA_d "_50"
#define KORB_ARQ_LA_z "_50"
#define KORB_ARQ_EP_s "_11"
#define KORB_ARQ_EP_c "_11"
#define KORB_ARQ_EP_d "_26"
#define KORB_ARQ_EP_z "_26"

#define KORB_ARQ_FLOATS(c0, c1, c2) "  .float " #c0 ", " #c1 ", " #c2 "\n"

#define KORB_ARQ_OBJECT(name, size)              \
    "  .globl " name "\n"                        \
    "  .type " name ", @object\n"                \
    "  .size " name ", " #size "\n"              \
    name ":\n"

#define KORB_ARQ_ENTRY(name, table, offset)      \
    "  .globl " name "\n"                        \
    "  .type " name ", @function\n"              \
    "  .p2align 4\n"                             \
    name ":\n"                                   \
    "  jmp *" table "+" #offset "(%rip)\n"       \
    "  .size " name ", . - " name "\n"

#define KORB_ARQ_EMIT(p, F, slots, costs)                                      \
    asm("  .pushsection .data.rel.ro, \"aw\", @progbits\n"                   \
        "  .p2align 4\n"                                                       \
        ".Lkorb_ttab_" #p #F ":\n"                                             \
        KORB_ARQ_OBJECT("korb_arq_kernel_" #p #F "_ttab", 24)                  \
        KORB_ARQ_SLOTS_##slots(p, F)                                           \
        KORB_ARQ_OBJECT("korb_arq_kernel_" #p #F "_ctab", 16)                  \
        KORB_ARQ_FLOATS costs                                                  \
        "  .long 0\n"                                                          \
        "  .popsection\n"                                                      \
        "  .pushsection .text\n"                                               \
        KORB_ARQ_ENTRY("_arq" #p #F "_HA", ".Lkorb_ttab_" #p #F, 8)            \
        KORB_ARQ_ENTRY("_arq" #p #F, ".Lkorb_ttab_" #p #F, 8)                  \
        KORB_ARQ_ENTRY("_arq" #p #F KORB_ARQ_LA_##p, ".Lkorb_ttab_" #p #F, 0)  \
        KORB_ARQ_ENTRY("_arq" #p #F KORB_ARQ_EP_##p, ".Lkorb_ttab_" #p #F, 16) \
        "  .popsection\n");
// clang-format on

#define KORB_ARQ_BUILT_0(p, F, slots, costs)
#define KORB_ARQ_BUILT_1(p, F, slots, costs) KORB_ARQ_EMIT(p, F, slots, costs)
#define KORB_ARQ_FUNCTION(p, F, kind, result, slots, built, costs, bounds, reference, libm, \
                          domains)                                                          \
    KORB_ARQ_BUILT_##built(p, F, slots, costs)
#include "vecmath/functions.def"
#undef KORB_ARQ_FUNCTION

static_assert(kFunctionCount == 180);

}  // namespace korb::vecmath
