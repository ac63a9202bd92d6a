// Every built function of vecmath/functions.def, every distinct kernel of its slots: a call on a
// whole vector gives the bits and the reports of one call per element, also in place, where the
// reports carry the original arguments. The vectors mix arguments drawn from the function's
// domains with special values: zeros, infinities, NaNs, subnormals, the extremes of both
// precisions, and every domain's end points with their neighbours (or its points), so that
// blocks holding an element of another path are redone element by element.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "korb/kernel/vm.h"
#include "vecmath/call.h"
#include "vecmath/functions.h"
#include "vecmath/kernel_test.h"
#include "vecmath/sample.h"

namespace {

using korb::test::edges;
using korb::test::in_precision;
using korb::test::is_single;
using korb::test::Report;
using korb::test::sample;
using korb::test::t_reports;
using korb::vecmath::domain;
using korb::vecmath::Domain;
using korb::vecmath::FunctionInfo;
using korb::vecmath::KernelKind;

// The kernel table of every built function, by name.
struct Table {
    const char *name;
    const void *const *kernels;
};
#define KORB_ARQ_TABLE_0(p, F)
#define KORB_ARQ_TABLE_1(p, F) \
    {#p #F, reinterpret_cast<const void *const *>(&korb_arq_kernel_##p##F##_ttab[0])},
#define KORB_ARQ_FUNCTION(p, F, kind, result, slots, built, costs, bounds, reference, libm, \
                          domains)                                                          \
    KORB_ARQ_TABLE_##built(p, F)
const Table kTables[] = {
#include "vecmath/functions.def"
};
#undef KORB_ARQ_FUNCTION

// The results (both for two-result kernels) and reports of one call, results as stored bits.
struct Outcome {
    std::vector<std::uint64_t> r1, r2;
    std::vector<Report> reports;
};

template <class T>
std::uint64_t stored(T v) {
    if constexpr (sizeof(T) == 4) {
        return std::bit_cast<std::uint32_t>(v);
    } else {
        return std::bit_cast<std::uint64_t>(v);
    }
}

// Calls kernel k of function f on a (and b: one scalar or a vector); in place writes the first
// result over the arguments.
template <class T>
Outcome call_typed(const FunctionInfo &f, const void *k, const std::vector<double> &a,
                   const std::vector<double> &b, bool in_place) {
    const int n = static_cast<int>(a.size());
    std::vector<T> x(a.begin(), a.end()), y(b.begin(), b.end()), r1(a.size(), T(-7)),
        r2(a.size(), T(-7));
    T *out = in_place ? x.data() : r1.data();
    t_reports.clear();
    korb::test::call_kernel<T>(f.kind, k, n, x.data(), y.data(), out, r2.data());
    Outcome o;
    for (int i = 0; i < n; ++i) {
        o.r1.push_back(stored(out[i]));
        o.r2.push_back(stored(r2[i]));
    }
    o.reports = t_reports;
    return o;
}

Outcome call(const FunctionInfo &f, const void *k, const std::vector<double> &a,
             const std::vector<double> &b, bool in_place = false) {
    return is_single(f) ? call_typed<float>(f, k, a, b, in_place)
                        : call_typed<double>(f, k, a, b, in_place);
}

// A value of a report as the function's precision stores it.
std::uint64_t as_stored(const FunctionInfo &f, double v) {
    return is_single(f) ? stored(static_cast<float>(v)) : stored(v);
}

// Special arguments every function meets, in the function's precision.
std::vector<double> generic_specials(bool single) {
    using D = std::numeric_limits<double>;
    using F = std::numeric_limits<float>;
    std::vector<double> v = {0.0,
                             -0.0,
                             D::infinity(),
                             -D::infinity(),
                             D::quiet_NaN(),
                             -D::quiet_NaN(),
                             1.0,
                             -1.0,
                             0.5,
                             -2.0,
                             D::min(),
                             -D::min(),
                             D::denorm_min(),
                             -D::denorm_min(),
                             1e-310,
                             -1e-310,
                             D::max(),
                             -D::max(),
                             F::max(),
                             -F::max(),
                             F::min(),
                             F::denorm_min(),
                             -F::denorm_min(),
                             1e-40,
                             1e30,
                             -1e30,
                             1e300,
                             -1e300};
    if (!single) v.push_back(D::signaling_NaN());
    for (double &x : v) x = in_precision(x, single);
    return v;
}

// Second arguments of the Powx kind beyond those of the domains: zero, integers of either
// sign, halves, NaN, infinities and exponents whose results leave the range.
constexpr double kScalarSpecials[] = {0.0,    -7.0,    3.0, 0.5,      -0.5,
                                      1071.0, -1071.0, NAN, INFINITY, -INFINITY};

// Complex functions: every argument and result element is two parts (one for the real argument
// of CIS and the real result of Abs and Arg), stored as T; the kernels are called on n elements.
template <class T>
Outcome call_complex_typed(const FunctionInfo &f, const void *k, const std::vector<double> &a,
                           const std::vector<double> &b, int n, bool in_place) {
    const int result_parts = f.kind == KernelKind::to_real ? 1 : 2;
    std::vector<T> x(a.begin(), a.end()), y(b.begin(), b.end()), r(result_parts * n, T(-7));
    T *out = in_place ? x.data() : r.data();
    t_reports.clear();
    if (f.kind == KernelKind::two) {
        reinterpret_cast<void (*)(int, const T *, const T *, T *)>(k)(n, x.data(), y.data(), out);
    } else if (f.kind == KernelKind::scalar) {
        // Powx: one complex exponent, passed by value.
        struct Part {
            T re, im;
        };
        reinterpret_cast<void (*)(int, const T *, Part, T *)>(k)(n, x.data(), Part{y[0], y[1]},
                                                                 out);
    } else {
        reinterpret_cast<void (*)(int, const T *, T *)>(k)(n, x.data(), out);
    }
    Outcome o;
    for (int i = 0; i < result_parts * n; ++i) o.r1.push_back(stored(out[i]));
    o.reports = t_reports;
    return o;
}

Outcome call_complex(const FunctionInfo &f, const void *k, const std::vector<double> &a,
                     const std::vector<double> &b, int n, bool in_place = false) {
    return is_single(f) ? call_complex_typed<float>(f, k, a, b, n, in_place)
                        : call_complex_typed<double>(f, k, a, b, n, in_place);
}

// The complex kinds: the whole call, the same call in place (where the result has the
// argument's shape) and one call per element agree in bits and reports.
void check_complex_paths(const FunctionInfo &f, const void *const *kernels,
                         const std::vector<const Domain *> &domains,
                         const std::vector<double> &specials) {
    const std::string func = korb::test::name_of(f);
    const bool single = is_single(f);
    const int arg_parts = f.kind == KernelKind::from_real ? 1 : 2;
    const int result_parts = f.kind == KernelKind::to_real ? 1 : 2;
    const bool two_args = f.kind == KernelKind::two;
    const bool scalar = f.kind == KernelKind::scalar;  // one exponent for the whole call
    const bool same_shape = arg_parts == result_parts;
    std::mt19937_64 rng(2027);
    auto pick = [&](std::size_t size) {
        return std::uniform_int_distribution<std::size_t>(0, size - 1)(rng);
    };
    for (int slot = 0; slot < 3; ++slot) {
        const void *k = kernels[slot];
        if ((slot > 0 && k == kernels[0]) || (slot > 1 && k == kernels[1])) continue;
        for (int special_percent : {0, 3, 30}) {
            for (int n : {1, 2, 3, 4, 5, 7, 8, 9, 16, 17, 33, 250}) {
                auto part = [&](bool second) {
                    if (std::uniform_int_distribution<int>(0, 99)(rng) < special_percent) {
                        return specials[pick(specials.size())];
                    }
                    const Domain *d = domains[pick(domains.size())];
                    return sample(second && d->second != 0 ? domain(d->second) : *d, single, rng);
                };
                std::vector<double> a(arg_parts * n), b(two_args ? 2 * n : (scalar ? 2 : 0));
                for (double &v : a) v = part(false);
                for (double &v : b) v = part(true);
                const Outcome whole = call_complex(f, k, a, b, n);
                std::vector<Report> element_reports;
                for (int i = 0; i < n; ++i) {
                    const std::vector<double> ai(a.begin() + arg_parts * i,
                                                 a.begin() + arg_parts * (i + 1));
                    const std::vector<double> bi =
                        two_args ? std::vector<double>(b.begin() + 2 * i, b.begin() + 2 * i + 2)
                                 : b;
                    const Outcome one = call_complex(f, k, ai, bi, 1);
                    for (Report r : one.reports) {
                        r.index = i;
                        element_reports.push_back(r);
                    }
                    for (int p = 0; p < result_parts; ++p) {
                        ASSERT_EQ(whole.r1[result_parts * i + p], one.r1[p])
                            << func << " slot " << slot << " element " << i << " part " << p
                            << " of (" << ai[0] << ", " << ai.back() << ") n=" << n;
                    }
                }
                ASSERT_EQ(whole.reports.size(), element_reports.size()) << func;
                for (std::size_t i = 0; i < element_reports.size(); ++i) {
                    EXPECT_EQ(whole.reports[i].code, element_reports[i].code) << func;
                    EXPECT_EQ(whole.reports[i].index, element_reports[i].index) << func;
                }
                if (!same_shape) continue;
                const Outcome in_place = call_complex(f, k, a, b, n, true);
                EXPECT_EQ(in_place.r1, whole.r1) << func << " in place, n=" << n;
                ASSERT_EQ(in_place.reports.size(), element_reports.size()) << func;
                for (std::size_t i = 0; i < element_reports.size(); ++i) {
                    const int at = in_place.reports[i].index;
                    EXPECT_EQ(in_place.reports[i].code, element_reports[i].code) << func;
                    EXPECT_EQ(as_stored(f, in_place.reports[i].a1), as_stored(f, a[2 * at]))
                        << func << " in place, element " << at;
                    EXPECT_EQ(as_stored(f, in_place.reports[i].r1), whole.r1[2 * at])
                        << func << " in place, element " << at;
                }
            }
        }
    }
}

class VectorPath : public korb::test::KernelTest,
                   public testing::WithParamInterface<const FunctionInfo *> {};

TEST_P(VectorPath, GivesTheElementPathsBitsAndReportsAlsoInPlace) {
    const FunctionInfo &f = *GetParam();
    const std::string func = korb::test::name_of(f);
    const bool complex =
        (f.precision == 'c' || f.precision == 'z') &&
        (f.kind == KernelKind::one || f.kind == KernelKind::two || f.kind == KernelKind::scalar ||
         f.kind == KernelKind::to_real || f.kind == KernelKind::from_real);
    if (!complex && f.kind != KernelKind::one && f.kind != KernelKind::pair &&
        f.kind != KernelKind::scalar && f.kind != KernelKind::two) {
        GTEST_SKIP() << func << ": no vector-against-element check for this kind of kernel yet";
    }
    const bool single = is_single(f);
    const void *const *kernels = nullptr;
    for (const Table &t : kTables) {
        if (func == t.name) kernels = t.kernels;
    }
    ASSERT_NE(kernels, nullptr) << func;

    std::vector<const Domain *> domains;
    for (auto id : f.domains) {
        if (id != 0) domains.push_back(&domain(id));
    }
    std::vector<double> specials = generic_specials(single);
    for (const Domain *d : domains) {
        for (double e : edges(*d, single)) specials.push_back(e);
    }

    if (complex) {
        check_complex_paths(f, kernels, domains, specials);
        return;
    }

    std::mt19937_64 rng(2026);
    // One argument: from domain d, or (d null) from any domain of the function.
    auto ordinary = [&](const Domain *d) {
        if (d == nullptr)
            d = domains[std::uniform_int_distribution<std::size_t>(0, domains.size() - 1)(rng)];
        return sample(*d, single, rng);
    };
    auto second = [&](const Domain *d) {
        const Domain *from = d != nullptr ? d : domains[0];
        return sample(domain(from->second), single, rng);
    };
    const bool two_args = f.kind == KernelKind::scalar || f.kind == KernelKind::two;

    std::vector<const Domain *> sources(domains.begin(), domains.end());
    sources.push_back(nullptr);  // every element from a domain of its own
    for (int slot = 0; slot < 3; ++slot) {
        const void *k = kernels[slot];
        if ((slot > 0 && k == kernels[0]) || (slot > 1 && k == kernels[1])) continue;
        for (const Domain *d : sources) {
            for (int special_percent : {0, 3, 30}) {
                for (int n : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 33, 250}) {
                    std::vector<double> a(n), b(n);
                    auto special = [&] {
                        return std::uniform_int_distribution<int>(0, 99)(rng) < special_percent;
                    };
                    auto any_special = [&] {
                        return specials[std::uniform_int_distribution<std::size_t>(
                            0, specials.size() - 1)(rng)];
                    };
                    for (int i = 0; i < n; ++i) {
                        a[i] = special() ? any_special() : ordinary(d);
                        // Two vectors: the second one takes special values too.
                        if (two_args) {
                            b[i] =
                                f.kind == KernelKind::two && special() ? any_special() : second(d);
                        }
                    }
                    std::vector<std::vector<double>> bs = {b};
                    if (f.kind == KernelKind::scalar && special_percent > 0) {
                        for (double s : kScalarSpecials) bs.push_back({in_precision(s, single)});
                    }
                    for (const std::vector<double> &bv : bs) {
                        const Outcome whole = call(f, k, a, bv);
                        const Outcome in_place = call(f, k, a, bv, true);
                        std::vector<Report> element_reports;
                        for (int i = 0; i < n; ++i) {
                            const std::vector<double> bi =
                                f.kind == KernelKind::two ? std::vector<double>{bv[i]} : bv;
                            const Outcome one = call(f, k, {a[i]}, bi);
                            for (Report r : one.reports) {
                                r.index = i;
                                element_reports.push_back(r);
                            }
                            ASSERT_EQ(whole.r1[i], one.r1[0])
                                << func << " slot " << slot << " x=" << a[i] << " b=" << bv[0]
                                << " n=" << n;
                            ASSERT_EQ(in_place.r1[i], one.r1[0]) << func << " in place x=" << a[i];
                            if (f.kind == KernelKind::pair) {
                                ASSERT_EQ(whole.r2[i], one.r2[0]) << func << " x=" << a[i];
                                ASSERT_EQ(in_place.r2[i], one.r2[0]) << func << " x=" << a[i];
                            }
                        }
                        ASSERT_EQ(whole.reports.size(), element_reports.size()) << func;
                        ASSERT_EQ(in_place.reports.size(), element_reports.size()) << func;
                        for (std::size_t i = 0; i < element_reports.size(); ++i) {
                            EXPECT_EQ(whole.reports[i].code, element_reports[i].code) << func;
                            EXPECT_EQ(whole.reports[i].index, element_reports[i].index) << func;
                            const int at = in_place.reports[i].index;
                            EXPECT_EQ(in_place.reports[i].code, element_reports[i].code) << func;
                            EXPECT_EQ(as_stored(f, in_place.reports[i].a1), as_stored(f, a[at]))
                                << func << " x=" << a[at];
                            EXPECT_EQ(as_stored(f, in_place.reports[i].r1), whole.r1[at])
                                << func << " x=" << a[at];
                        }
                    }
                }
            }
        }
    }
}

std::vector<const FunctionInfo *> built_functions() {
    std::vector<const FunctionInfo *> out;
    for (const FunctionInfo &f : korb::vecmath::kFunctions) {
        if (f.built) out.push_back(&f);
    }
    return out;
}

INSTANTIATE_TEST_SUITE_P(List, VectorPath, testing::ValuesIn(built_functions()),
                         [](const testing::TestParamInfo<const FunctionInfo *> &info) {
                             return korb::test::name_of(*info.param);
                         });

}  // namespace
