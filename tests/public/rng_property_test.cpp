// Random calls of every distribution entry point of libkorb, with random sizes, nulls, methods
// and parameters drawn to hit the edges of each domain: a call either fails with the status its
// first bad argument implies and writes nothing, or succeeds with every variate finite and inside
// the distribution's support.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "distributions/list.h"
#include "korb/korb.h"

namespace {

namespace list = korb::dist::list;

// One public entry point of the list behind a uniform signature: the scalar parameters as doubles
// (each converted to the entry point's own type); an array parameter gets kArrayLength elements
// of 0.5, inside every array domain of the list (means, factors, per-variate means), enough for the
// sizes and dimensions the test draws.
template <class Out>
using Caller = int (*)(int method, BixStream *stream, int n, Out *r, const double *p);

constexpr int kMaxDimension = 8;
constexpr int kMaxSize = 100;  // the largest n the test draws: arrays of length n (PoissonV)
constexpr int kArrayLength =
    kMaxSize > kMaxDimension *kMaxDimension ? kMaxSize : kMaxDimension *kMaxDimension;

template <class T>
const T *array_argument() {
    static const std::vector<T> values(kArrayLength, T(0.5));
    return values.data();
}

template <class A>
A argument(double value) {
    if constexpr (std::is_pointer_v<A>) {
        return array_argument<std::remove_const_t<std::remove_pointer_t<A>>>();
    } else {
        return static_cast<A>(value);
    }
}

template <class Out, class... A>
int call_with(int (*f)(int, BixStream *, int, Out *, A...), int method, BixStream *stream, int n,
              Out *r, const double *p) {
    return [&]<size_t... k>(std::index_sequence<k...>) {
        return f(method, stream, n, r, argument<A>(p[k])...);
    }
    (std::index_sequence_for<A...>{});
}

template <auto kFn, class Out>
int call(int method, BixStream *stream, int n, Out *r, const double *p) {
    return call_with(kFn, method, stream, n, r, p);
}

struct EntryPoint {
    int entry;
    const char *name;
    Caller<double> d = nullptr;
    Caller<float> s = nullptr;
    Caller<int> i = nullptr;
    Caller<uint32_t> w32 = nullptr;
    Caller<uint64_t> w64 = nullptr;
    bool own_words = false;  // r receives the generator's own words, wordSize / 4 elements each
};

#define KORB_PT_kDouble(Kernel) .d = &call<&bixdRng##Kernel, double>
#define KORB_PT_kSingle(Kernel) .s = &call<&bixsRng##Kernel, float>
#define KORB_PT_kInteger(Kernel) .i = &call<&bixiRng##Kernel, int>
#define KORB_PT_kWords(Kernel) .w32 = &call<&bixiRng##Kernel, uint32_t>, .own_words = true
#define KORB_PT_kWords32(Kernel) .w32 = &call<&bixiRng##Kernel, uint32_t>
#define KORB_PT_kWords64(Kernel) .w64 = &call<&bixiRng##Kernel, uint64_t>
#define KORB_PT_ONE(letter, P, Id, Kernel) \
    EntryPoint{                            \
        .entry = list::index_of(#Id), .name = "bix" #letter "Rng" #Kernel, KORB_PT_##P(Kernel)},
#define KORB_DIST(Id, Kernel, name, precisions, ...) \
    KORB_DIST_EACH_##precisions(KORB_PT_ONE, Id, Kernel)
const EntryPoint kEntryPoints[] = {
#include "distributions/distributions.def"
};
#undef KORB_DIST

// Values that sit on or beyond the ends of the domains, and ordinary ones.
double draw_value(std::mt19937_64 &g) {
    static const double kEdges[] = {
        std::nan(""), HUGE_VAL, -HUGE_VAL, 0.0,   -0.0,      1.0,     -1.0,         0.5,
        2.0,          1e-300,   -1e-300,   1e300, -1e300,    1.7e308, -1.7e308,     3e38,
        -3e38,        1e-9,     4e-8,      6e-8,  1 - 1e-12, 1e-45,   2147483647.0, -2147483648.0,
        1e10,         700.0,    50.0,      80.0,  88.0,      1e-20,   1e-30,        0.05};
    std::uniform_int_distribution<int> kind(0, 3);
    switch (kind(g)) {
        case 0:
            return kEdges[std::uniform_int_distribution<size_t>(0, std::size(kEdges) - 1)(g)];
        case 1:
            return std::uniform_real_distribution<double>(-10, 10)(g);
        case 2:
            return std::uniform_real_distribution<double>(0, 1)(g);
        default:
            return std::ldexp(std::uniform_real_distribution<double>(-1, 1)(g),
                              std::uniform_int_distribution<int>(-1000, 1000)(g));
    }
}

template <class Out>
bool finite(Out x) {
    if constexpr (std::is_floating_point_v<Out>) {
        return std::isfinite(x);
    } else {
        return true;
    }
}

constexpr int kSlack = 4;  // elements past n that must never be written

// One random call of `f`; returns a description of what went wrong, or "" when all is well.
template <class Out>
std::string one_call(const EntryPoint &ep, Caller<Out> f, BixStream *stream, std::mt19937_64 &g,
                     int *drawn) {
    const list::Entry &e = list::kEntries[ep.entry];
    static const int kSizes[] = {-5, -1, 0, 1, 2, 3, 17, 100};
    const int n = kSizes[std::uniform_int_distribution<size_t>(0, std::size(kSizes) - 1)(g)];
    const bool null_stream = g() % 12 == 0;
    const bool null_r = g() % 12 == 0;
    int method = e.methods[g() % e.method_count].id;
    if (g() % 8 == 0) method = static_cast<int>(g() % 5) - 1 + (g() % 2 ? 0x40000000 : 0);
    double p[list::kMaxParams + 1] = {};
    for (int k = 0; k < e.param_count; ++k) {
        p[k] = g() % 3 == 0 ? e.params[k].fallback : draw_value(g);
        // The entry point receives the value converted to its own type.
        if (e.params[k].type == list::Type::kInt) {
            // As an int it has no sign of zero: -0.0 becomes 0.
            p[k] = std::isfinite(p[k]) && std::fabs(p[k]) < 2.1e9 ? std::trunc(p[k]) + 0.0 : 0;
        } else if (std::is_same_v<Out, float>) {
            p[k] = static_cast<double>(static_cast<float>(p[k]));
        }
    }
    // Pairs in order now and then, so that relations such as a < b hold often enough.
    if (e.param_count >= 2 && e.params[0].type == e.params[1].type && g() % 2 == 0 && p[0] > p[1]) {
        std::swap(p[0], p[1]);
    }
    // A vector distribution's dimension stays within the arrays the test passes.
    size_t per_variate = 1;
    if (e.dimension >= 0) {
        static const double kDimensions[] = {-1, 0, 1, 2, 3, kMaxDimension};
        p[e.dimension] = kDimensions[g() % std::size(kDimensions)];
        per_variate = static_cast<size_t>(std::max(p[e.dimension], 1.0));
    }

    if (ep.own_words && stream != nullptr) {
        BrngProperties props{};
        if (bixGetBrngProperties(bixGetStreamStateBrng(stream), &props) == BIX_ERROR_OK) {
            per_variate = static_cast<size_t>(props.wordSize) / 4;
        }
    }
    std::vector<Out> r(static_cast<size_t>(std::max(n, 0)) * per_variate + kSlack);
    std::memset(r.data(), 0x5a, r.size() * sizeof(Out));
    std::vector<Out> before = r;
    const int status = f(method, null_stream ? nullptr : stream, n, null_r ? nullptr : r.data(), p);

    bool known = false;
    for (int m = 0; m < e.method_count; ++m) known = known || e.methods[m].id == method;
    int expected = 0;  // 0: success or a refusal of the reach
    if (n < 0) {
        expected = BIX_ERROR_BADARGS;
    } else if (n == 0) {
        expected = 0;
    } else if (null_stream || null_r) {
        expected = BIX_ERROR_NULL_PTR;
    } else if (!known) {
        expected = BIX_ERROR_BADMETHOD;
    } else if (list::refused(e, p) >= 0) {
        expected = BIX_ERROR_BADARGS;
    }
    char what[768];
    auto describe = [&](const char *problem) {
        std::snprintf(what, sizeof what, "%s(method %#x, n %d, %g %g %g %g): status %d, %s",
                      ep.name, static_cast<unsigned>(method), n, p[0], p[1], p[2], p[3], status,
                      problem);
        return std::string(what);
    };
    if (expected != 0 && status != expected) return describe("expected another status");
    if (expected == 0 && n > 0 && !null_r && status != 0 && status != BIX_ERROR_BADARGS &&
        status != BIX_ERROR_BRNG_NOT_SUPPORTED) {
        return describe("unexpected status");
    }
    const size_t written =
        status == 0 && n > 0 && !null_r ? static_cast<size_t>(n) * per_variate : 0;
    if (std::memcmp(r.data() + written, before.data() + written,
                    (r.size() - written) * sizeof(Out)) != 0) {
        return describe("wrote outside its result");
    }
    if (written > 0) ++*drawn;
    for (size_t k = 0; k < written; ++k) {
        if (!finite(r[k]) || !list::supports(e, static_cast<double>(r[k]), p)) {
            return describe(("variate " + std::to_string(k) + " = " +
                             std::to_string(static_cast<double>(r[k])) + " outside the support")
                                .c_str());
        }
    }
    return "";
}

TEST(PublicRng, RandomCallsFailCleanlyOrGiveVariatesInTheirSupport) {
    std::mt19937_64 g(2025);
    BixStream *mt = nullptr;
    BixStream *mcg59 = nullptr;
    ASSERT_EQ(bixNewStream(&mt, BIX_BRNG_MT19937, 5489), BIX_ERROR_OK);
    ASSERT_EQ(bixNewStream(&mcg59, BIX_BRNG_MCG59, 1), BIX_ERROR_OK);
    int failures = 0;
    for (const EntryPoint &ep : kEntryPoints) {
        int drawn = 0;  // calls that drew variates
        for (int trial = 0; trial < 1000; ++trial) {
            BixStream *s = trial % 2 ? mt : mcg59;
            std::string problem;
            if (ep.d) problem = one_call<double>(ep, ep.d, s, g, &drawn);
            if (ep.s) problem = one_call<float>(ep, ep.s, s, g, &drawn);
            if (ep.i) problem = one_call<int>(ep, ep.i, s, g, &drawn);
            if (ep.w32) problem = one_call<uint32_t>(ep, ep.w32, s, g, &drawn);
            if (ep.w64) problem = one_call<uint64_t>(ep, ep.w64, s, g, &drawn);
            if (!problem.empty() && ++failures <= 20) ADD_FAILURE() << problem;
        }
        // Enough calls get through the checks for the variates to be examined.
        EXPECT_GE(drawn, 50) << ep.name;
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(bixDeleteStream(&mt), BIX_ERROR_OK);
    EXPECT_EQ(bixDeleteStream(&mcg59), BIX_ERROR_OK);
}

}  // namespace
