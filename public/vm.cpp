// The vector-math entry points v<p><Func> and vm<p><Func> of every built function of
// vecmath/functions.def, and the mode and status services.
//
// A call is refused before any kernel runs when n <= 0 (ARQ_STATUS_BADSIZE) or a vector is null
// (ARQ_STATUS_BADMEM); the refusal goes through the kernel library's own error dispatcher
// (korb_arq_kernel_ReportArgumentError), so the status, callback, errno and message channels
// behave exactly as for an element the kernel reports, under the same function name. Otherwise
// the kernel of the slot korb_arq_kernel_GetTTableIndex gives for the thread's mode is called on
// the whole vectors (no splitting, so the vector base is left alone).
#include <cstdint>
#include <type_traits>

#include "korb/vm.h"
#include "public/loader.h"
#include "vecmath/functions.h"

namespace korb::pub {
namespace {

template <char P>
struct Precision;
template <>
struct Precision<'s'> {
    using T = float;
    using R = float;
};
template <>
struct Precision<'d'> {
    using T = double;
    using R = double;
};
template <>
struct Precision<'c'> {
    using T = ArqComplex8;
    using R = float;
};
template <>
struct Precision<'z'> {
    using T = ArqComplex16;
    using R = double;
};

using GetIndexFn = int (*)();
using SetModeFn = unsigned (*)(unsigned);
using ReportFn = void (*)(int, int, const char *);

// The kernel-table slot of the thread's accuracy; a mode without one uses the high-accuracy slot,
// as the unsuffixed kernel entry point does.
inline int slot() {
    static const auto get = kernel_function<GetIndexFn>("korb_arq_kernel_GetTTableIndex");
    const int s = get();
    return s < 0 ? 1 : s;
}

// Reports a refused call: a size that is not positive before a null vector.
[[gnu::noinline, gnu::cold]] void refuse(int n, const char *name) {
    static const auto report = kernel_function<ReportFn>("korb_arq_kernel_ReportArgumentError");
    if (n <= 0) {
        report(ARQ_STATUS_BADSIZE, n, name);
    } else {
        report(ARQ_STATUS_BADMEM, 0, name);
    }
}

// Runs `call` under `mode` and gives the thread's whole mode word back after.
template <class F>
inline auto under_mode(unsigned mode, F call) {
    static const auto set = kernel_function<SetModeFn>("korb_arq_kernel_SetMode");
    static const auto restore = kernel_function<SetModeFn>("korb_arq_kernel_RestoreMode");
    const unsigned old = set(mode);
    if constexpr (std::is_void_v<decltype(call())>) {
        call();
        restore(old);
    } else {
        const auto result = call();
        restore(old);
        return result;
    }
}

// A function's kernel table (three kernels, slots 0 to 2), as the kernel library exports it.
template <class Fn>
const Fn *table(const char *name) {
    return reinterpret_cast<const Fn *>(kernel_symbol(name));
}

// A refused call's return: nothing for the computing kernels, 0 elements moved for the
// bit-level ones that return a count.
template <class R>
[[gnu::noinline, gnu::cold]] R refused(int n, const char *name) {
    refuse(n, name);
    if constexpr (!std::is_void_v<R>) return R(0);
}

}  // namespace
}  // namespace korb::pub

// One kind of kernel (a built function of a kind not listed here does not compile: give its
// kind a line): its parameters (PARAMS), the arguments passed on (ARGS), and the
// condition under which the call goes ahead (OK: n positive, no vector null).
#define KORB_PUB_KIND_one(T, R) \
    (int n, const T *a, T *r), (n, a, r), (n > 0 && a != nullptr && r != nullptr)
#define KORB_PUB_KIND_two(T, R)                          \
    (int n, const T *a, const T *b, T *r), (n, a, b, r), \
        (n > 0 && a != nullptr && b != nullptr && r != nullptr)
#define KORB_PUB_KIND_scalar(T, R) \
    (int n, const T *a, T b, T *r), (n, a, b, r), (n > 0 && a != nullptr && r != nullptr)
#define KORB_PUB_KIND_pair(T, R)                       \
    (int n, const T *a, T *r1, T *r2), (n, a, r1, r2), \
        (n > 0 && a != nullptr && r1 != nullptr && r2 != nullptr)
#define KORB_PUB_KIND_to_real(T, R) \
    (int n, const T *a, R *r), (n, a, r), (n > 0 && a != nullptr && r != nullptr)
#define KORB_PUB_KIND_from_real(T, R) \
    (int n, const R *a, T *r), (n, a, r), (n > 0 && a != nullptr && r != nullptr)

// The data movers: indices, masks and strides are the caller's to keep inside the arrays (a
// stride or an index may be of either sign, and 0 is a broadcast); the flag's reserved bits are
// the kernel's to refuse.
#define KORB_PUB_KIND_pack_stride(T, R)                                           \
    (int n, const T *a, int64_t stride, T *r, int flag), (n, a, stride, r, flag), \
        (n > 0 && a != nullptr && r != nullptr)
#define KORB_PUB_KIND_pack_vector(T, R)                                                      \
    (int n, const T *a, const int64_t *selector, T *r, int flag), (n, a, selector, r, flag), \
        (n > 0 && a != nullptr && selector != nullptr && r != nullptr)
#define KORB_PUB_KIND_unpack_stride(T, R)                                         \
    (int n, const T *a, T *r, int64_t stride, int flag), (n, a, r, stride, flag), \
        (n > 0 && a != nullptr && r != nullptr)
#define KORB_PUB_KIND_unpack_vector(T, R)                                                    \
    (int n, const T *a, T *r, const int64_t *selector, int flag), (n, a, r, selector, flag), \
        (n > 0 && a != nullptr && selector != nullptr && r != nullptr)
#define KORB_PUB_KIND_linear_frac(T, R)                                            \
    (int n, const T *a, const T *b, T scalea, T shifta, T scaleb, T shiftb, T *r), \
        (n, a, b, scalea, shifta, scaleb, shiftb, r),                              \
        (n > 0 && a != nullptr && b != nullptr && r != nullptr)

#define KORB_PUB_UNPACK(...) __VA_ARGS__
#define KORB_PUB_FIRST(a, ...) a
#define KORB_PUB_PARAMS(sig) KORB_PUB_PARAMS_(sig)
#define KORB_PUB_PARAMS_(params, args, ok) params
#define KORB_PUB_ARGS(sig) KORB_PUB_ARGS_(sig)
#define KORB_PUB_ARGS_(params, args, ok) args
#define KORB_PUB_OK(sig) KORB_PUB_OK_(sig)
#define KORB_PUB_OK_(params, args, ok) ok
#define KORB_PUB_MODE_PARAMS(sig) KORB_PUB_MODE_PARAMS_(sig)
#define KORB_PUB_MODE_PARAMS_(params, args, ok) (KORB_PUB_UNPACK params, unsigned int mode)

#define KORB_PUB_SIG(p, kind) \
    KORB_PUB_KIND_##kind(::korb::pub::Precision<(#p)[0]>::T, ::korb::pub::Precision<(#p)[0]>::R)

// v<p><Func> and vm<p><Func> of a built function; nothing for an unbuilt one.
#define KORB_PUB_BUILT_0(p, F, kind, result)
#define KORB_PUB_BUILT_1(p, F, kind, result)                                              \
    using korb_pub_fn_##p##F = result(*) KORB_PUB_PARAMS(KORB_PUB_SIG(p, kind));          \
    extern "C" KORB_API result v##p##F KORB_PUB_PARAMS(KORB_PUB_SIG(p, kind)) {           \
        if (!KORB_PUB_OK(KORB_PUB_SIG(p, kind))) [[unlikely]] {                           \
            return ::korb::pub::refused<result>(n, "v" #p #F);                            \
        }                                                                                 \
        static const korb_pub_fn_##p##F *const tab =                                      \
            ::korb::pub::table<korb_pub_fn_##p##F>("korb_arq_kernel_" #p #F "_ttab");     \
        return tab[::korb::pub::slot()] KORB_PUB_ARGS(KORB_PUB_SIG(p, kind));             \
    }                                                                                     \
    extern "C" KORB_API result vm##p##F KORB_PUB_MODE_PARAMS(KORB_PUB_SIG(p, kind)) {     \
        return ::korb::pub::under_mode(mode, [&]() -> result {                            \
            if (!KORB_PUB_OK(KORB_PUB_SIG(p, kind))) [[unlikely]] {                       \
                return ::korb::pub::refused<result>(n, "v" #p #F);                        \
            }                                                                             \
            static const korb_pub_fn_##p##F *const tab =                                  \
                ::korb::pub::table<korb_pub_fn_##p##F>("korb_arq_kernel_" #p #F "_ttab"); \
            return tab[::korb::pub::slot()] KORB_PUB_ARGS(KORB_PUB_SIG(p, kind));         \
        });                                                                               \
    }
#define KORB_ARQ_FUNCTION(p, F, kind, result, slots, built, costs, bounds, reference, libm, \
                          domains)                                                          \
    KORB_PUB_BUILT_##built(p, F, kind, result)
#include "vecmath/functions.def"
#undef KORB_ARQ_FUNCTION

// The mode and status services: the kernel library's, under the public names.
#define KORB_PUB_FORWARD(ret, op, params, args)                                                    \
    extern "C" KORB_API ret korb_arq_##op params {                                                 \
        static const auto f = ::korb::pub::kernel_function<ret(*) params>("korb_arq_kernel_" #op); \
        return f args;                                                                             \
    }
KORB_PUB_FORWARD(unsigned int, GetMode, (void), ())
KORB_PUB_FORWARD(unsigned int, SetMode, (unsigned int mode), (mode))
KORB_PUB_FORWARD(int, GetErrStatus, (void), ())
KORB_PUB_FORWARD(int, SetErrStatus, (int status), (status))
KORB_PUB_FORWARD(int, ClearErrStatus, (void), ())
KORB_PUB_FORWARD(ArqErrorCallBack, GetErrorCallBack, (void), ())
KORB_PUB_FORWARD(ArqErrorCallBack, SetErrorCallBack, (ArqErrorCallBack callback), (callback))
KORB_PUB_FORWARD(ArqErrorCallBack, ClearErrorCallBack, (void), ())
