// The core-library services, one resolved slot each. Adding a service costs one list line.
#pragma once

#include <cstddef>

#include "core/korb_core.h"
#include "resolve.h"

namespace korb::frame {

#define KORB_CORE_SERVICES(X)                                                             \
    X(korb_serv_allocate, void *(std::size_t size, int alignment))                        \
    X(korb_serv_deallocate, void(void *p))                                                \
    X(korb_serv_malloc, void *(std::size_t size, int alignment))                          \
    X(korb_serv_free, void(void *p))                                                      \
    X(korb_serv_cbwr_get_nolock, int())                                                   \
    X(korb_serv_dtridiag_factor, int(int64_t n, const double *sub, const double *diag,    \
                                     const double *sup, int flags, KorbTridiag **factor)) \
    X(korb_serv_dtridiag_solve, int(const KorbTridiag *factor, int64_t nrhs, double *b,   \
                                    int64_t row_stride, int64_t rhs_stride))              \
    X(korb_serv_dtridiag_release, void(KorbTridiag * factor))

#define KORB_DECLARE_CORE_SLOT(name, type) \
    inline constinit Resolved<type, Module::core> name{#name};
KORB_CORE_SERVICES(KORB_DECLARE_CORE_SLOT)
#undef KORB_DECLARE_CORE_SLOT

}  // namespace korb::frame
