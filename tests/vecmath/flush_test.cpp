// The flushing denormal mode: the kernels run with denormals-are-zero, under which the hardware
// reads a subnormal operand as the zero of its sign. Every kernel that computes must give a
// subnormal argument what it gives that zero, results and reports alike, on whichever path the
// element takes (a block, a single vector, the element path, the tail). Under the keeping mode a
// subnormal stays a number of its own.
//
// The kernels that only move or mask bits (Abs, the rounding functions, Modf, Conj, Pack and
// Unpack) neither read the mode nor touch the control register, so they are not held to it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "korb/kernel/rng.h"
#include "korb/kernel/vm.h"
#include "vecmath/call.h"
#include "vecmath/functions.h"
#include "vecmath/kernel_test.h"
#include "vecmath/sample.h"

namespace {

using korb::test::in_precision;
using korb::test::is_single;
using korb::test::Report;
using korb::test::t_reports;
using korb::vecmath::domain;
using korb::vecmath::FunctionInfo;
using korb::vecmath::KernelKind;

// The kernel table of every built function whose kernels compute (return nothing).
struct Table {
    const char *name;
    const void *const *kernels;
};
#define KORB_ARQ_TABLE_void_1(p, F) \
    {#p #F, reinterpret_cast<const void *const *>(&korb_arq_kernel_##p##F##_ttab[0])},
#define KORB_ARQ_TABLE_void_0(p, F)
#define KORB_ARQ_TABLE_int_1(p, F)
#define KORB_ARQ_TABLE_int_0(p, F)
#define KORB_ARQ_FUNCTION(p, F, kind, result, slots, built, costs, bounds, reference, libm, \
                          domains)                                                          \
    KORB_ARQ_TABLE_##result##_##built(p, F)
const Table kTables[] = {
#include "vecmath/functions.def"
};
#undef KORB_ARQ_FUNCTION

// One call: every result part as stored bits, and the reports' codes and indices (a report's
// argument is what the caller passed, which differs on purpose).
struct Outcome {
    std::vector<std::uint64_t> r;
    std::vector<std::pair<int, int>> reports;
};

// What tells two outcomes apart, empty when they agree.
std::string difference(const Outcome &with, const Outcome &without) {
    char text[160] = "";
    for (std::size_t i = 0; i < with.r.size(); ++i) {
        if (with.r[i] != without.r[i]) {
            std::snprintf(text, sizeof text, "result word %zu is 0x%llx, with the zero 0x%llx", i,
                          static_cast<unsigned long long>(with.r[i]),
                          static_cast<unsigned long long>(without.r[i]));
            return text;
        }
    }
    if (with.reports != without.reports) {
        const auto first = [](const Outcome &o) {
            return o.reports.empty() ? std::string("none")
                                     : "code " + std::to_string(o.reports[0].first) + " at " +
                                           std::to_string(o.reports[0].second);
        };
        return std::to_string(with.reports.size()) + " reports (first " + first(with) +
               "), with the zero " + std::to_string(without.reports.size()) + " (first " +
               first(without) + ")";
    }
    return "";
}

template <class T>
std::uint64_t stored(T v) {
    std::uint64_t b = 0;
    std::memcpy(&b, &v, sizeof v);
    return b;
}

// Calls kernel k on the parts a (and b: a vector, or the scalar b[0]); complex elements are
// pairs of parts, the real argument of CIS and the real result of Abs and Arg one part.
template <class T>
Outcome call_typed(const FunctionInfo &f, const void *k, int n, const std::vector<double> &a,
                   const std::vector<double> &b) {
    const bool complex = f.precision == 'c' || f.precision == 'z';
    const int out_parts = complex && f.kind != KernelKind::to_real ? 2 : 1;
    std::vector<T> x(a.begin(), a.end()), y(b.begin(), b.end());
    std::vector<T> r1(out_parts * n, T(-7)), r2(n, T(-7));
    t_reports.clear();
    if (complex) {
        if (f.kind == KernelKind::two) {
            reinterpret_cast<void (*)(int, const T *, const T *, T *)>(k)(n, x.data(), y.data(),
                                                                          r1.data());
        } else {
            reinterpret_cast<void (*)(int, const T *, T *)>(k)(n, x.data(), r1.data());
        }
    } else {
        korb::test::call_kernel<T>(f.kind, k, n, x.data(), y.data(), r1.data(), r2.data());
    }
    Outcome o;
    for (T v : r1) o.r.push_back(stored(v));
    if (f.kind == KernelKind::pair) {
        for (T v : r2) o.r.push_back(stored(v));
    }
    for (const Report &r : t_reports) o.reports.emplace_back(r.code, r.index);
    return o;
}

Outcome call(const FunctionInfo &f, const void *k, int n, const std::vector<double> &a,
             const std::vector<double> &b) {
    return is_single(f) ? call_typed<float>(f, k, n, a, b) : call_typed<double>(f, k, n, a, b);
}

// Subnormals of the precision: the smallest and the largest, and one between, both signs.
std::vector<double> subnormals(bool single) {
    const double smallest = single ? std::numeric_limits<float>::denorm_min()
                                   : std::numeric_limits<double>::denorm_min();
    const double normal =
        single ? std::numeric_limits<float>::min() : std::numeric_limits<double>::min();
    const double largest = normal - smallest;  // exact
    const double between = in_precision(normal * 0.3, single);
    return {smallest, -smallest, largest, -largest, between, -between};
}

void PrintTo(const Table &t, std::ostream *os) {
    *os << t.name;
}

class Flush : public korb::test::KernelTest, public testing::WithParamInterface<Table> {};

TEST_P(Flush, ASubnormalArgumentIsTheZeroOfItsSign) {
    const std::string func = GetParam().name;
    const FunctionInfo *info = nullptr;
    for (const FunctionInfo &f : korb::vecmath::kFunctions) {
        if (korb::test::name_of(f) == func) info = &f;
    }
    ASSERT_NE(info, nullptr) << func;
    const FunctionInfo &f = *info;
    const bool single = is_single(f);
    const bool complex = f.precision == 'c' || f.precision == 'z';
    const int in_parts = complex && f.kind != KernelKind::from_real ? 2 : 1;
    const bool second_vector = f.kind == KernelKind::two || f.kind == KernelKind::linear_frac;
    const int b_parts = f.kind == KernelKind::two && complex ? 2 : 1;
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_CALLBACK | ARQ_DENORMALS_FLUSH);

    // Ordinary arguments from the function's first domain, its second argument from that
    // domain's partner; enough elements for whole blocks of the widest class, single vectors
    // and a tail.
    std::mt19937_64 rng(38);
    const auto &d = domain(f.domains[0]);
    const auto &d2 = d.second != 0 ? domain(d.second) : d;
    constexpr int n = 150;
    std::vector<double> a(in_parts * n), b(second_vector ? b_parts * n : 1);
    for (double &v : a) v = korb::test::sample(d, single, rng);
    for (double &v : b) v = korb::test::sample(d2, single, rng);
    if (f.kind == KernelKind::scalar) b[0] = in_precision(1.5, single);

    for (int slot = 0; slot < 3; ++slot) {
        const void *k = GetParam().kernels[slot];
        if ((slot > 0 && k == GetParam().kernels[0]) || (slot > 1 && k == GetParam().kernels[1])) {
            continue;
        }
        for (double s : subnormals(single)) {
            const double zero = std::copysign(0.0, s);
            for (int at : {0, 1, 37, n - 1}) {
                // Each part of the first argument, then of the second.
                for (int part = 0; part < in_parts; ++part) {
                    std::vector<double> with = a, without = a;
                    with[in_parts * at + part] = s;
                    without[in_parts * at + part] = zero;
                    ASSERT_EQ(difference(call(f, k, n, with, b), call(f, k, n, without, b)), "")
                        << func << " slot " << slot << ": argument " << s << " at " << at
                        << " part " << part;
                }
                if (in_parts == 2) {  // both parts of a complex element
                    std::vector<double> with = a, without = a;
                    with[2 * at] = with[2 * at + 1] = s;
                    without[2 * at] = without[2 * at + 1] = zero;
                    ASSERT_EQ(difference(call(f, k, n, with, b), call(f, k, n, without, b)), "")
                        << func << " slot " << slot << ": argument " << s << " (both parts) at "
                        << at;
                }
                if (!second_vector) continue;
                for (int part = 0; part < b_parts; ++part) {
                    std::vector<double> with = b, without = b;
                    with[b_parts * at + part] = s;
                    without[b_parts * at + part] = zero;
                    ASSERT_EQ(difference(call(f, k, n, a, with), call(f, k, n, a, without)), "")
                        << func << " slot " << slot << ": second argument " << s << " at " << at
                        << " part " << part;
                }
            }
            if (f.kind == KernelKind::scalar) {
                ASSERT_EQ(difference(call(f, k, n, a, {s}), call(f, k, n, a, {zero})), "")
                    << func << " slot " << slot << ": scalar " << s;
            }
        }
    }
}

// The functions that take a subnormal apart by its bits, in both modes: the keeping mode computes
// the value at the subnormal (references from the C library in long double, where they round to
// the same double), the flushing mode the zero's special value.
class Modes : public korb::test::KernelTest {};

TEST_F(Modes, TheElementPathsThatTakeSubnormalsApartFollowTheMode) {
    using D = void (*)(int, const double *, double *);
    const double tiny = std::numeric_limits<double>::denorm_min();
    const double some = 0x1.8p-1040;
    struct Case {
        const char *name;
        D kernel;
        double x;
        long double keep;  // the value in the keeping mode
        int keep_status;
        double flush;  // the result in the flushing mode
        int flush_status;
    };
    const double inf = std::numeric_limits<double>::infinity();
    const Case cases[] = {
        {"dLn", _arqdLn, tiny, std::log(static_cast<long double>(tiny)), 0, -inf, ARQ_STATUS_SING},
        {"dLn", _arqdLn, -some, NAN, ARQ_STATUS_ERRDOM, -inf, ARQ_STATUS_SING},
        {"dLog10", _arqdLog10, some, std::log10(static_cast<long double>(some)), 0, -inf,
         ARQ_STATUS_SING},
        {"dLog1p", _arqdLog1p, -some, -some, ARQ_STATUS_UNDERFLOW, -0.0, 0},
        {"dExpm1", _arqdExpm1, some, some, ARQ_STATUS_UNDERFLOW, 0.0, 0},
        {"dCbrt", _arqdCbrt, -some, -std::cbrt(static_cast<long double>(some)), 0, -0.0, 0},
        {"dInvCbrt", _arqdInvCbrt, tiny, 1 / std::cbrt(static_cast<long double>(tiny)), 0, inf,
         ARQ_STATUS_SING},
        {"dInvSqrt", _arqdInvSqrt, some, 1 / std::sqrt(static_cast<long double>(some)), 0, inf,
         ARQ_STATUS_SING},
        {"dAsinh", _arqdAsinh, -tiny, -tiny, 0, -0.0, 0},
        {"dAtanh", _arqdAtanh, some, some, 0, 0.0, 0},
        {"dSin", _arqdSin, -some, -some, 0, -0.0, 0},
    };
    for (unsigned denormals : {ARQ_DENORMALS_KEEP, ARQ_DENORMALS_FLUSH}) {
        korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_CALLBACK | denormals);
        const bool keep = denormals == ARQ_DENORMALS_KEEP;
        for (const Case &c : cases) {
            double r = 0.0;
            t_reports.clear();
            c.kernel(1, &c.x, &r);
            const int status = t_reports.empty() ? 0 : t_reports[0].code;
            const std::string what = std::string(c.name) + (keep ? " keeping " : " flushing ");
            if (keep) {
                const double want = static_cast<double>(c.keep);
                if (std::isnan(want)) {
                    EXPECT_TRUE(std::isnan(r)) << what << c.x;
                } else {  // within an ulp, of the same sign
                    const auto distance =
                        static_cast<std::int64_t>(korb::test::bits(r) - korb::test::bits(want));
                    EXPECT_LE(std::abs(distance), 1) << what << c.x << " gives " << r;
                }
            } else {
                EXPECT_EQ(korb::test::bits(r), korb::test::bits(c.flush)) << what << c.x;
            }
            EXPECT_EQ(status, keep ? c.keep_status : c.flush_status) << what << c.x;
        }
    }
    // The single logarithm, and the scalar logarithm the distributions call.
    const float tiny_f = std::numeric_limits<float>::denorm_min();
    float rf = 0.0f;
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_CALLBACK | ARQ_DENORMALS_KEEP);
    _arqsLn(1, &tiny_f, &rf);
    EXPECT_EQ(rf, std::log(tiny_f));
    EXPECT_NEAR(__bixdLn(tiny), -744.4400719213812, 1e-12);
    korb_arq_kernel_SetMode(ARQ_HA | ARQ_ERRMODE_CALLBACK | ARQ_DENORMALS_FLUSH);
    _arqsLn(1, &tiny_f, &rf);
    EXPECT_EQ(rf, -std::numeric_limits<float>::infinity());
    EXPECT_EQ(__bixdLn(tiny), -inf);
}

INSTANTIATE_TEST_SUITE_P(Computing, Flush, testing::ValuesIn(kTables),
                         [](const testing::TestParamInfo<Table> &info) {
                             return std::string(info.param.name);
                         });

}  // namespace
