// The generators and distribution kernels whose speed the processor classes are held to, in
// every class library this processor runs, side by side in one run: MCG31M1, MCG59 and MRG32K3A
// filling doubles and raw words, the Gaussian (every method) and the exponential filling doubles
// from an MCG31M1 stream, n = 1000 and 1,000,000. Every library, the default one included, is
// reached through its exported names, so the rows differ only in the library:
// BM_class_rng/<generator>/<d|i>/<library>/<n> and BM_class_dist/<kernel>/<method>/<library>/<n>.
// Items are numbers generated.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <korb/kernel/rng.h>

#include <string>
#include <vector>

#include "bench/class_libraries.h"
#include "distributions/list.h"

namespace {

namespace list = korb::dist::list;

struct Library {
    std::string name;
    void *handle;
};

std::vector<Library> libraries() {
    std::vector<Library> out;
    if (void *def = dlopen((std::string(KORB_BENCH_LIB_DIR) + "/libkorb_def.so").c_str(),
                           RTLD_NOW | RTLD_LOCAL)) {
        out.push_back({"korb", def});
    }
    for (const korb::bench::ClassLibrary &c : korb::bench::class_libraries()) {
        out.push_back({c.name, c.handle});
    }
    return out;
}

template <class F>
F symbol(void *h, const std::string &name) {
    return reinterpret_cast<F>(dlsym(h, name.c_str()));
}

BixStream *make(void *h, int brng) {
    BixStream *s = nullptr;
    const uint32_t seed = 7;
    symbol<int (*)(BixStream **, int, int, const uint32_t *)>(h, "__bixNewStreamEx")(&s, brng, 1,
                                                                                     &seed);
    return s;
}

void release(void *h, BixStream *s) {
    symbol<int (*)(BixStream **)>(h, "__bixDeleteStream")(&s);
}

template <class T>
void finish(benchmark::State &state, const std::vector<T> &r, int n) {
    state.SetItemsProcessed(state.iterations() * n);
    state.counters["checksum"] = static_cast<double>(r[r.size() / 2]) + r.back();
}

struct Generator {
    const char *name;
    int id;
    int words;  // uint32_t elements of one raw word
};
constexpr Generator kGenerators[] = {{"MCG31M1", BIX_BRNG_MCG31M1, 1},
                                     {"MCG59", BIX_BRNG_MCG59, 2},
                                     {"MRG32K3A", BIX_BRNG_MRG32K3A, 1}};

void register_generators(const Library &lib) {
    for (const Generator &g : kGenerators) {
        const std::string stem = std::string("BRng") + g.name;
        const auto d = symbol<int (*)(BixStream *, int, double *, double, double)>(lib.handle,
                                                                                   "__bixd" + stem);
        const auto i = symbol<int (*)(BixStream *, int, uint32_t *)>(lib.handle, "__bixi" + stem);
        const std::string base = std::string("BM_class_rng/") + g.name;
        benchmark::RegisterBenchmark((base + "/d/" + lib.name).c_str(),
                                     [h = lib.handle, g, d](benchmark::State &state) {
                                         const int n = static_cast<int>(state.range(0));
                                         BixStream *s = make(h, g.id);
                                         std::vector<double> r(static_cast<size_t>(n));
                                         for (auto _ : state) {
                                             d(s, n, r.data(), 0.0, 1.0);
                                             benchmark::ClobberMemory();
                                         }
                                         finish(state, r, n);
                                         release(h, s);
                                     })
            ->Arg(1000)
            ->Arg(1000000);
        benchmark::RegisterBenchmark((base + "/i/" + lib.name).c_str(),
                                     [h = lib.handle, g, i](benchmark::State &state) {
                                         const int n = static_cast<int>(state.range(0));
                                         BixStream *s = make(h, g.id);
                                         std::vector<uint32_t> r(static_cast<size_t>(n) * g.words);
                                         for (auto _ : state) {
                                             i(s, n, r.data());
                                             benchmark::ClobberMemory();
                                         }
                                         finish(state, r, n);
                                         release(h, s);
                                     })
            ->Arg(1000)
            ->Arg(1000000);
    }
}

// The Gaussian (mean 0, sigma 1) and the exponential (displacement 0, scale 1): two double
// parameters each, every method of their list entries.
void register_distributions(const Library &lib) {
    for (const list::Entry &e : list::kEntries) {
        const std::string kernel = e.kernel;
        if (kernel != "Gaussian" && kernel != "Exponential") continue;
        const auto f = symbol<int (*)(int, BixStream *, int, double *, double, double)>(
            lib.handle, "_bixdRng" + kernel);
        const double p0 = e.params[0].fallback, p1 = e.params[1].fallback;
        for (int m = 0; m < e.method_count; ++m) {
            const int method = e.methods[m].id;
            const std::string name =
                "BM_class_dist/d" + kernel + "/" + e.methods[m].name + "/" + lib.name;
            benchmark::RegisterBenchmark(
                name.c_str(),
                [h = lib.handle, f, method, p0, p1](benchmark::State &state) {
                    const int n = static_cast<int>(state.range(0));
                    BixStream *s = make(h, BIX_BRNG_MCG31M1);
                    std::vector<double> r(static_cast<size_t>(n));
                    for (auto _ : state) {
                        f(method, s, n, r.data(), p0, p1);
                        benchmark::ClobberMemory();
                    }
                    finish(state, r, n);
                    release(h, s);
                })
                ->Arg(1000)
                ->Arg(1000000);
        }
    }
}

const bool kRegistered = [] {
    for (const Library &lib : libraries()) {
        register_generators(lib);
        register_distributions(lib);
    }
    return true;
}();

}  // namespace
