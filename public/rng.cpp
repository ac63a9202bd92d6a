// The random-number entry points: stream services and, for every kernel of
// distributions/distributions.def, bix<p>Rng<Kernel> with its arguments checked from the list.
//
// A distribution call is refused, with nothing written and no uniform drawn, when
//   n < 0                                             BIX_ERROR_BADARGS
//   n == 0                                            (returns BIX_ERROR_OK at once)
//   the stream or r is NULL                           BIX_ERROR_NULL_PTR
//   the method is none of the entry's                 BIX_ERROR_BADMETHOD
//   a parameter lies outside its domain (NaN too)     BIX_ERROR_BADARGS
//   an array parameter is NULL                        BIX_ERROR_NULL_PTR
//   an array's length or an element is refused       BIX_ERROR_BADARGS
//   the variates could overflow the output type       BIX_ERROR_BADARGS
// The last check evaluates the entry's reach (KORB_RANGE in the list): a bound on the magnitude
// of every variate the kernel can produce for these parameters, which must stay below the
// largest value of the output type. It refuses, for example, a uniform whose b - a overflows and
// a geometric whose p is so small that a count would not fit an int.
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <utility>

#include "distributions/list_kernels.h"
#include "korb/kernel/rng.h"
#include "korb/rng.h"
#include "public/loader.h"

namespace korb::pub {
namespace {

namespace list = ::korb::dist::list;

// What the kernels of a precision can meet, for the reach expressions of the list: ln_min is
// the largest -ln u of the precision's uniforms (the kernels take the logarithm of the least
// subnormal for ln 0), tan_max the largest |tan v| of v on [-pi/2, pi/2) in that precision.
template <class Real>
struct Limits;
template <>
struct Limits<double> {
    static constexpr double ln_min = 744.4400719213812;      // 1074 ln 2
    static constexpr double tan_max = 1.633123935319537e16;  // |tan| at the double nearest pi/2
};
template <>
struct Limits<float> {
    static constexpr double ln_min = 103.2789306640625;  // -ln of 2^-149, as a float
    static constexpr double tan_max = 22877332.0;        // |tan| at the float nearest pi/2
};

// The largest magnitude a variate may reach in the output type, with a margin for the rounding
// of the reach expressions; words are never refused.
template <class Out>
constexpr double output_limit() {
    if constexpr (std::is_same_v<Out, double>) return 0.999999 * DBL_MAX;
    if constexpr (std::is_same_v<Out, float>) return 0.999999 * FLT_MAX;
    if constexpr (std::is_same_v<Out, int>) return 0.999999 * INT_MAX;
    return HUGE_VAL;
}

constexpr int kNothingToDo = 1;

constexpr bool has_arrays(const list::Entry &e) {
    for (int k = 0; k < e.param_count; ++k) {
        if (e.params[k].length.kind != list::Length::kScalar) return true;
    }
    return false;
}

template <int E, class F, size_t... k>
double reach_of(F reach, const double *values, std::index_sequence<k...>) {
    return reach(values[k]...);
}

// The checks every distribution call passes before its kernel runs: BIX_ERROR_OK, kNothingToDo
// for n == 0, or the status to return.
template <int E, unsigned P, class Out, class Reach>
int check(int method, const BixStream *stream, int n, const Out *r, const double *values,
          const void *const *arrays, Reach reach) {
    using Real = typename list::Traits<P>::Real;
    const list::Entry &e = list::kEntries[E];
    if (n < 0) return BIX_ERROR_BADARGS;
    if (n == 0) return kNothingToDo;
    if (stream == nullptr || r == nullptr) return BIX_ERROR_NULL_PTR;
    bool known = false;
    for (int m = 0; m < e.method_count; ++m) known = known || e.methods[m].id == method;
    if (!known) return BIX_ERROR_BADMETHOD;
    if (list::refused(e, values) >= 0) return BIX_ERROR_BADARGS;
    if constexpr (has_arrays(list::kEntries[E])) {
        for (int k = 0; k < e.param_count; ++k) {
            const list::Param &p = e.params[k];
            if (p.length.kind == list::Length::kScalar) continue;
            if (arrays[k] == nullptr) return BIX_ERROR_NULL_PTR;
            const int64_t count = list::length(p, n, values);
            if (count < 0) return BIX_ERROR_BADARGS;
            const Real *elements = static_cast<const Real *>(arrays[k]);
            for (int64_t i = 0; i < count; ++i) {
                if (!list::admits(p, static_cast<double>(elements[i]), values)) {
                    return BIX_ERROR_BADARGS;
                }
            }
        }
    }
    const double bound =
        reach_of<E>(reach, values, std::make_index_sequence<list::kEntries[E].param_count>{});
    if (!(bound <= output_limit<Out>())) return BIX_ERROR_BADARGS;
    return BIX_ERROR_OK;
}

}  // namespace
}  // namespace korb::pub

// --- Distributions, generated from the list ---------------------------------------------------
//
// The list's parameter macros become tuples, (P, name, Type) for a scalar and (A, name, Type)
// for an array, which KORB_PUB_MAP turns into parameter declarations, values, array pointers and
// arguments.
#undef KORB_PARAM
#undef KORB_ARRAY
#undef KORB_DIMENSION
#undef KORB_METHOD
#undef KORB_RANGE
#define KORB_PARAM(name, T, ...) (P, name, T)
#define KORB_ARRAY(name, T, ...) (A, name, T)
#define KORB_DIMENSION(name, ...) (P, name, Int)
#define KORB_METHOD(...)
#define KORB_RANGE(support, ...) __VA_OPT__(__VA_ARGS__)

#define KORB_PUB_UNPACK(...) __VA_ARGS__
#define KORB_PUB_CALL(F, ...) F(__VA_ARGS__)
#define KORB_PUB_APPLY(F, P, t) KORB_PUB_CALL(F, P, KORB_PUB_UNPACK t)
#define KORB_PUB_CAT(a, b) KORB_PUB_CAT_(a, b)
#define KORB_PUB_CAT_(a, b) a##b
#define KORB_PUB_COUNT(...) KORB_PUB_COUNT_(__VA_ARGS__, 8, 7, 6, 5, 4, 3, 2, 1, )
#define KORB_PUB_COUNT_(a, b, c, d, e, f, g, h, N, ...) N
// ", F(P, x1), F(P, x2), ..." for the tuples x1, x2, ...; nothing for none.
#define KORB_PUB_MAP(F, P, ...) KORB_PUB_MAP_(F, P, __VA_ARGS__)
#define KORB_PUB_MAP_(F, P, ...) \
    __VA_OPT__(KORB_PUB_CAT(KORB_PUB_MAP_, KORB_PUB_COUNT(__VA_ARGS__))(F, P, __VA_ARGS__))
#define KORB_PUB_MAP_1(F, P, x) , KORB_PUB_APPLY(F, P, x)
#define KORB_PUB_MAP_2(F, P, x, ...) , KORB_PUB_APPLY(F, P, x) KORB_PUB_MAP_1(F, P, __VA_ARGS__)
#define KORB_PUB_MAP_3(F, P, x, ...) , KORB_PUB_APPLY(F, P, x) KORB_PUB_MAP_2(F, P, __VA_ARGS__)
#define KORB_PUB_MAP_4(F, P, x, ...) , KORB_PUB_APPLY(F, P, x) KORB_PUB_MAP_3(F, P, __VA_ARGS__)
#define KORB_PUB_MAP_5(F, P, x, ...) , KORB_PUB_APPLY(F, P, x) KORB_PUB_MAP_4(F, P, __VA_ARGS__)
#define KORB_PUB_MAP_6(F, P, x, ...) , KORB_PUB_APPLY(F, P, x) KORB_PUB_MAP_5(F, P, __VA_ARGS__)
#define KORB_PUB_MAP_7(F, P, x, ...) , KORB_PUB_APPLY(F, P, x) KORB_PUB_MAP_6(F, P, __VA_ARGS__)
#define KORB_PUB_MAP_8(F, P, x, ...) , KORB_PUB_APPLY(F, P, x) KORB_PUB_MAP_7(F, P, __VA_ARGS__)
// The same without the leading comma.
#define KORB_PUB_LIST(F, P, ...) KORB_PUB_DROP_FIRST(KORB_PUB_MAP(F, P, __VA_ARGS__))
#define KORB_PUB_DROP_FIRST(...) KORB_PUB_DROP_FIRST_(__VA_ARGS__)
#define KORB_PUB_DROP_FIRST_(first, ...) __VA_ARGS__

#define KORB_PUB_REAL(P) ::korb::dist::list::Traits<::korb::dist::list::P>::Real
#define KORB_PUB_TYPE_Real(P) KORB_PUB_REAL(P)
#define KORB_PUB_TYPE_Int(P) int
#define KORB_PUB_DECL(P, kind, name, T) KORB_PUB_DECL_##kind(P, name, T)
#define KORB_PUB_DECL_P(P, name, T) KORB_PUB_TYPE_##T(P) name
#define KORB_PUB_DECL_A(P, name, T) const KORB_PUB_REAL(P) * name
#define KORB_PUB_VALUE(P, kind, name, T) KORB_PUB_VALUE_##kind(name)
#define KORB_PUB_VALUE_P(name) static_cast<double>(name)
#define KORB_PUB_VALUE_A(name) 0.0
#define KORB_PUB_ARRAY(P, kind, name, T) KORB_PUB_ARRAY_##kind(name)
#define KORB_PUB_ARRAY_P(name) nullptr
#define KORB_PUB_ARRAY_A(name) static_cast<const void *>(name)
#define KORB_PUB_NAME(P, kind, name, T) name
#define KORB_PUB_DOUBLE(P, kind, name, T) [[maybe_unused]] double name

#define KORB_PUB_DIST(L, P, Id, Kernel, params, ...)                                              \
    extern "C" KORB_API int bix##L##Rng##Kernel(                                                  \
        int method, BixStream *stream, int n,                                                     \
        ::korb::dist::list::Traits<::korb::dist::list::P>::Out r[] KORB_PUB_MAP(                  \
            KORB_PUB_DECL, P, KORB_PUB_UNPACK params)) {                                          \
        static const auto kernel = ::korb::pub::kernel_function<decltype(&_bix##L##Rng##Kernel)>( \
            "_bix" #L "Rng" #Kernel);                                                             \
        constexpr int kEntry = ::korb::dist::list::index_of(#Id);                                 \
        static_assert(kEntry >= 0);                                                               \
        const double values[::korb::dist::list::kMaxParams + 1] = {                               \
            KORB_PUB_LIST(KORB_PUB_VALUE, P, KORB_PUB_UNPACK params)};                            \
        const void *const arrays[::korb::dist::list::kMaxParams + 1] = {                          \
            KORB_PUB_LIST(KORB_PUB_ARRAY, P, KORB_PUB_UNPACK params)};                            \
        const auto reach = [](KORB_PUB_LIST(KORB_PUB_DOUBLE, P, KORB_PUB_UNPACK params)) {        \
            using K [[maybe_unused]] = ::korb::pub::Limits<KORB_PUB_REAL(P)>;                     \
            return 0.0 KORB_PUB_REACH(__VA_ARGS__);                                               \
        };                                                                                        \
        const int status = ::korb::pub::check<kEntry, ::korb::dist::list::P>(                     \
            method, stream, n, r, values, arrays, reach);                                         \
        if (status != BIX_ERROR_OK) return status == ::korb::pub::kNothingToDo ? 0 : status;      \
        return kernel(method, stream, n,                                                          \
                      r KORB_PUB_MAP(KORB_PUB_NAME, P, KORB_PUB_UNPACK params));                  \
    }
// "+ (reach)" when the entry gives one.
#define KORB_PUB_REACH(methods, about, ...) KORB_PUB_REACH_(__VA_ARGS__)
#define KORB_PUB_REACH_(...) __VA_OPT__(+(__VA_ARGS__))

#define KORB_PUB_EACH(L, P, Id, Kernel, params, ...) \
    KORB_PUB_DIST(L, P, Id, Kernel, params, __VA_ARGS__)
#define KORB_DIST(Id, Kernel, name, precisions, params, methods, about, ...) \
    KORB_DIST_EACH_##precisions(KORB_PUB_EACH, Id, Kernel, params, methods, about, __VA_ARGS__)
#include "distributions/distributions.def"
#undef KORB_DIST

// --- Streams and the registry -----------------------------------------------------------------

namespace korb::pub {
namespace {

#define KORB_PUB_KERNEL(name) \
    static const auto kernel = kernel_function<decltype(&__bix##name)>("__bix" #name)

// Runs a service that makes a stream into *stream and, when it fails, deletes whatever it left
// there and gives the caller's pointer back as it was.
template <class F>
int making(BixStream **stream, F make) {
    static const auto remove = kernel_function<decltype(&__bixDeleteStream)>("__bixDeleteStream");
    BixStream *const before = *stream;
    const int status = make();
    if (status != BIX_ERROR_OK) {
        if (*stream != before && *stream != nullptr) remove(stream);
        *stream = before;
    }
    return status;
}

}  // namespace
}  // namespace korb::pub

using korb::pub::kernel_function;

extern "C" {

KORB_API int bixNewStreamEx(BixStream **stream, int brng, int n, const uint32_t params[]) {
    KORB_PUB_KERNEL(NewStreamEx);
    if (stream == nullptr || (n > 0 && params == nullptr)) return BIX_ERROR_NULL_PTR;
    if (n < 0) return BIX_ERROR_BADARGS;
    return korb::pub::making(stream, [&] { return kernel(stream, brng, n, params); });
}

KORB_API int bixNewStream(BixStream **stream, int brng, uint32_t seed) {
    return bixNewStreamEx(stream, brng, 1, &seed);
}

KORB_API int bixiNewAbstractStream(BixStream **stream, int n, uint32_t buffer[],
                                   BixiUpdateFuncPtr refill) {
    KORB_PUB_KERNEL(iNewAbstractStream);
    if (stream == nullptr || buffer == nullptr || refill == nullptr) return BIX_ERROR_NULL_PTR;
    if (n < 1) return BIX_ERROR_BADARGS;
    return korb::pub::making(stream, [&] { return kernel(stream, n, buffer, refill); });
}

KORB_API int bixdNewAbstractStream(BixStream **stream, int n, double buffer[], double a, double b,
                                   BixdUpdateFuncPtr refill) {
    KORB_PUB_KERNEL(dNewAbstractStream);
    if (stream == nullptr || buffer == nullptr || refill == nullptr) return BIX_ERROR_NULL_PTR;
    if (n < 1 || !(std::isfinite(a) && std::isfinite(b) && a < b)) return BIX_ERROR_BADARGS;
    return korb::pub::making(stream, [&] { return kernel(stream, n, buffer, a, b, refill); });
}

KORB_API int bixsNewAbstractStream(BixStream **stream, int n, float buffer[], float a, float b,
                                   BixsUpdateFuncPtr refill) {
    KORB_PUB_KERNEL(sNewAbstractStream);
    if (stream == nullptr || buffer == nullptr || refill == nullptr) return BIX_ERROR_NULL_PTR;
    if (n < 1 || !(std::isfinite(a) && std::isfinite(b) && a < b)) return BIX_ERROR_BADARGS;
    return korb::pub::making(stream, [&] { return kernel(stream, n, buffer, a, b, refill); });
}

KORB_API int bixDeleteStream(BixStream **stream) {
    KORB_PUB_KERNEL(DeleteStream);
    if (stream == nullptr || *stream == nullptr) return BIX_ERROR_NULL_PTR;
    return kernel(stream);
}

KORB_API int bixCopyStream(BixStream **copy, const BixStream *source) {
    KORB_PUB_KERNEL(CopyStream);
    if (copy == nullptr || source == nullptr) return BIX_ERROR_NULL_PTR;
    return korb::pub::making(copy, [&] { return kernel(copy, source); });
}

KORB_API int bixCopyStreamState(BixStream *destination, const BixStream *source) {
    KORB_PUB_KERNEL(CopyStreamState);
    if (destination == nullptr || source == nullptr) return BIX_ERROR_NULL_PTR;
    return kernel(destination, source);
}

KORB_API int bixLeapfrogStream(BixStream *stream, int k, int nstreams) {
    KORB_PUB_KERNEL(LeapfrogStream);
    if (stream == nullptr) return BIX_ERROR_NULL_PTR;
    if (nstreams < 1 || k < 0 || k >= nstreams) return BIX_ERROR_BADARGS;
    return kernel(stream, k, nstreams);
}

KORB_API int bixSkipAheadStream(BixStream *stream, long long nskip) {
    KORB_PUB_KERNEL(SkipAheadStream);
    if (stream == nullptr) return BIX_ERROR_NULL_PTR;
    if (nskip < 0) return BIX_ERROR_BADARGS;
    return kernel(stream, nskip);
}

KORB_API int bixGetStreamStateBrng(const BixStream *stream) {
    KORB_PUB_KERNEL(GetStreamStateBrng);
    if (stream == nullptr) return BIX_ERROR_NULL_PTR;
    return kernel(stream);
}

KORB_API int bixGetStreamSize(const BixStream *stream) {
    KORB_PUB_KERNEL(GetStreamSize);
    if (stream == nullptr) return BIX_ERROR_NULL_PTR;
    return kernel(stream);
}

KORB_API int bixGetNumRegBrngs(void) {
    KORB_PUB_KERNEL(GetNumRegBrngs);
    return kernel();
}

KORB_API int bixGetBrngProperties(int brng, BrngProperties *properties) {
    KORB_PUB_KERNEL(GetBrngProperties);
    if (properties == nullptr) return BIX_ERROR_NULL_PTR;
    return kernel(brng, properties);
}

KORB_API int bixRegisterBrng(const BrngProperties *properties) {
    KORB_PUB_KERNEL(RegisterBrng);
    if (properties == nullptr) return BIX_ERROR_NULL_PTR;
    return kernel(properties);
}

KORB_API int bixSaveStreamF(const BixStream *stream, const char *fname, int fnamelen) {
    KORB_PUB_KERNEL(SaveStreamF);
    if (stream == nullptr || fname == nullptr) return BIX_ERROR_NULL_PTR;
    return kernel(stream, fname, fnamelen);
}

KORB_API int bixLoadStreamF(BixStream **stream, const char *fname, int fnamelen) {
    KORB_PUB_KERNEL(LoadStreamF);
    if (stream == nullptr || fname == nullptr) return BIX_ERROR_NULL_PTR;
    return korb::pub::making(stream, [&] { return kernel(stream, fname, fnamelen); });
}

KORB_API int bixSaveStreamM(const BixStream *stream, char *memptr) {
    KORB_PUB_KERNEL(SaveStreamM);
    if (stream == nullptr || memptr == nullptr) return BIX_ERROR_NULL_PTR;
    return kernel(stream, memptr);
}

KORB_API int bixLoadStreamM(BixStream **stream, const char *memptr) {
    KORB_PUB_KERNEL(LoadStreamM);
    if (stream == nullptr || memptr == nullptr) return BIX_ERROR_NULL_PTR;
    return korb::pub::making(stream, [&] { return kernel(stream, memptr); });
}

}  // extern "C"
