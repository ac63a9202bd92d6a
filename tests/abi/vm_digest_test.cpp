// Every built vector-math kernel, every slot, over fixed sweeps of inputs: the result bits and
// every report, hashed, against the committed digests (tests/data/vm_sweep_digests.inc). The
// sweeps cover every n up to 40 and some longer ones at four alignments, in place and not, under
// both denormal modes, on arguments mixed from ordinary ranges, random bit patterns and the
// special values, so that every path of the block driver (blocks, single vectors, the tail, the
// redone vectors) runs at every offset.
//
// The digests hold a kernel library to the bits of the one that made them: every processor
// class's library must give the same (KORB_DIGEST_LIB and KORB_DIGEST_CLASS name another library
// file and its class; the build registers one run per class library), and a change to a kernel
// that moves a result shows here. Every call also leaves the caller's control register as it
// found it. When a kernel changes on purpose, `make digests` rewrites the committed table.
//
// KORB_DIGEST_TRACE=<p><Func> prints the running digest of that function after every call, one
// line per call with its mode, length, offset and placement: two builds that disagree are
// compared line by line, and the first differing line names the call.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "abi/class_library.h"
#include "korb/kernel/vm.h"
#include "vecmath/functions.h"

namespace {

struct Digest {
    const char *function;  // <p><Func>
    int slot;              // 0 LA, 1 HA, 2 EP
    std::uint64_t value;
};

const Digest kDigests[] = {
#include "data/vm_sweep_digests.inc"
};

// FNV-1a over 64-bit words.
struct Hash {
    std::uint64_t h = 0xcbf29ce484222325ull;
    void add(std::uint64_t w) {
        for (int i = 0; i < 8; ++i) {
            h ^= (w >> (8 * i)) & 0xFF;
            h *= 0x100000001b3ull;
        }
    }
};

thread_local Hash *t_hash = nullptr;

int hash_report(ArqErrorContext *c) {
    t_hash->add(static_cast<std::uint64_t>(c->code));
    t_hash->add(static_cast<std::uint64_t>(c->index));
    t_hash->add(std::bit_cast<std::uint64_t>(c->a1));
    t_hash->add(std::bit_cast<std::uint64_t>(c->a2));
    t_hash->add(std::bit_cast<std::uint64_t>(c->r1));
    t_hash->add(std::bit_cast<std::uint64_t>(c->r2));
    return 0;
}

std::uint64_t splitmix(std::uint64_t &s) {
    std::uint64_t z = (s += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
}

// The argument pool of a precision: runs of values from one source each, so that blocks are now
// all ordinary, now mixed.
std::vector<double> pool(bool single) {
    const double specials[] = {0.0,
                               -0.0,
                               1.0,
                               -1.0,
                               0.5,
                               -0.5,
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN(),
                               -std::numeric_limits<double>::quiet_NaN(),
                               single ? 0x1p-126 : 0x1p-1022,
                               single ? 0x1p-140 : 0x1p-1060,
                               single ? -0x1p-140 : -0x1p-1060,
                               single ? 3.4028234663852886e38 : 1.7976931348623157e308,
                               1.5707963267948966,
                               -4.71238898038469,
                               355.0,
                               0x1p7,
                               0x1p19,
                               0x1p20,
                               708.3959,
                               709.78,
                               -745.2,
                               88.7,
                               -103.9,
                               0.9999999,
                               -0.75};
    std::vector<double> v;
    std::uint64_t s = single ? 7 : 11;
    const double ranges[] = {1.0, 10.0, 128.0, 800.0, 1e6};
    while (v.size() < 6000) {
        const std::uint64_t kind = splitmix(s) % 5;
        const int run = 1 + static_cast<int>(splitmix(s) % 40);
        const double range = ranges[splitmix(s) % 5];
        for (int i = 0; i < run; ++i) {
            const std::uint64_t u = splitmix(s);
            double x;
            if (kind == 0) {  // random bit patterns, NaNs and infinities included
                x = single
                        ? static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(u)))
                        : std::bit_cast<double>(u);
            } else if (kind == 1) {
                x = specials[u % (sizeof specials / sizeof specials[0])];
            } else if (kind == 2) {  // positive, of any magnitude
                x = std::ldexp(1.0 + static_cast<double>(u >> 12) * 0x1p-52,
                               static_cast<int>(u % (single ? 254 : 2044)) - (single ? 127 : 1022));
            } else {
                x = (static_cast<double>(u >> 11) * 0x1p-53 * 2.0 - 1.0) * range;
            }
            v.push_back(x);
        }
    }
    return v;
}

const double kExponents[] = {2.0,
                             0.5,
                             -1.5,
                             3.0,
                             1.0 / 3,
                             -7.0,
                             0.0,
                             1e300,
                             std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()};

using SetMode = unsigned (*)(unsigned);
using SetCallBack = ArqErrorCallBack (*)(ArqErrorCallBack);
using ErrStatus = int (*)(void);

struct Library {
    korb::test::ClassLibrary loaded;
    void *handle = nullptr;
    SetMode set_mode = nullptr;
    SetCallBack set_callback = nullptr;
    ErrStatus get_status = nullptr;
    ErrStatus clear_status = nullptr;
};

Library open_library() {
    Library lib;
    lib.loaded = korb::test::open_class_library();
    lib.handle = lib.loaded.handle;
    if (lib.handle == nullptr) return lib;
    lib.set_mode = reinterpret_cast<SetMode>(dlsym(lib.handle, "korb_arq_kernel_SetMode"));
    lib.set_callback =
        reinterpret_cast<SetCallBack>(dlsym(lib.handle, "korb_arq_kernel_SetErrorCallBack"));
    lib.get_status = reinterpret_cast<ErrStatus>(dlsym(lib.handle, "korb_arq_kernel_GetErrStatus"));
    lib.clear_status =
        reinterpret_cast<ErrStatus>(dlsym(lib.handle, "korb_arq_kernel_ClearErrStatus"));
    return lib;
}

template <class T>
void put_bits(Hash &h, const std::vector<T> &v) {
    for (T x : v) {
        if constexpr (sizeof(T) == 4) {
            h.add(std::bit_cast<std::uint32_t>(x));
        } else {
            h.add(std::bit_cast<std::uint64_t>(x));
        }
    }
}

// Calls a kernel of any kind on n elements at `in` (and `second` for two arguments) into out
// (and out2), complex elements as pairs of T; the selector kinds move by stride 1, an alternating
// mask or reversed indices. Returns what the kernel returns (0 for the void kernels).
template <class T>
int call_any(const korb::vecmath::FunctionInfo &f, void *kernel, int n, const T *in,
             const T *second, T *out, T *out2, double scalar) {
    using korb::vecmath::KernelKind;
    std::vector<std::int64_t> selector(static_cast<std::size_t>(n > 0 ? n : 0));
    const bool by_mask = f.name[std::string(f.name).size() - 1] == 'M';
    for (int i = 0; i < n; ++i) selector[i] = by_mask ? (i * 7) % 3 != 0 : n - 1 - i;
    const T b = static_cast<T>(scalar);
    switch (f.kind) {
        case KernelKind::one:
        case KernelKind::to_real:
        case KernelKind::from_real:
            return reinterpret_cast<int (*)(int, const T *, T *)>(kernel)(n, in, out);
        case KernelKind::pair:
            return reinterpret_cast<int (*)(int, const T *, T *, T *)>(kernel)(n, in, out, out2);
        case KernelKind::scalar:
            if (f.precision == 'c' || f.precision == 'z') {
                // A complex exponent, by value: the sweep's scalar and a half.
                struct Part {
                    T re, im;
                };
                reinterpret_cast<void (*)(int, const T *, Part, T *)>(kernel)(
                    n, in, Part{b, static_cast<T>(0.5)}, out);
                return 0;
            }
            reinterpret_cast<void (*)(int, const T *, T, T *)>(kernel)(n, in, b, out);
            return 0;
        case KernelKind::two:
            reinterpret_cast<void (*)(int, const T *, const T *, T *)>(kernel)(n, in, second, out);
            return 0;
        case KernelKind::linear_frac:
            reinterpret_cast<void (*)(int, const T *, const T *, T, T, T, T, T *)>(kernel)(
                n, in, second, b, T(0.5), T(-1.5), b, out);
            return 0;
        case KernelKind::pack_stride:
            return reinterpret_cast<int (*)(int, const T *, std::int64_t, T *, int)>(kernel)(
                n, in, 1, out, 0);
        case KernelKind::unpack_stride:
            return reinterpret_cast<int (*)(int, const T *, T *, std::int64_t, int)>(kernel)(
                n, in, out, 1, 0);
        case KernelKind::pack_vector:
            return reinterpret_cast<int (*)(int, const T *, const std::int64_t *, T *, int)>(
                kernel)(n, in, selector.data(), out, 0);
        case KernelKind::unpack_vector:
            return reinterpret_cast<int (*)(int, const T *, T *, const std::int64_t *, int)>(
                kernel)(n, in, out, selector.data(), 0);
    }
    return 0;
}

// The digest of one kernel over the sweeps; control_changed counts the calls after which the
// caller's control register was not as before. T is the type of the parts: complex elements are
// pairs of them, taken from the pool as consecutive values.
template <class T>
std::uint64_t sweep(const Library &lib, const korb::vecmath::FunctionInfo &f, void *kernel,
                    int &control_changed) {
    using korb::vecmath::KernelKind;
    const std::vector<double> source = pool(sizeof(T) == 4);
    const bool complex = f.precision == 'c' || f.precision == 'z';
    const std::size_t m_in = complex && f.kind != KernelKind::from_real ? 2 : 1;
    const std::size_t m_out = complex && f.kind != KernelKind::to_real ? 2 : 1;
    const bool moves = f.kind == KernelKind::pack_stride || f.kind == KernelKind::pack_vector ||
                       f.kind == KernelKind::unpack_stride || f.kind == KernelKind::unpack_vector;
    std::vector<int> lengths;
    for (int n = 0; n <= 40; ++n) lengths.push_back(n);
    for (int n : {63, 64, 65, 127, 257, 1000}) lengths.push_back(n);
    Hash h;
    t_hash = &h;
    const char *trace = std::getenv("KORB_DIGEST_TRACE");
    const bool tracing = trace != nullptr && std::string(1, f.precision) + f.name == trace;
    std::uint64_t at = 0;
    for (unsigned denormals : {ARQ_DENORMALS_KEEP, ARQ_DENORMALS_FLUSH}) {
        lib.set_mode(ARQ_HA | ARQ_ERRMODE_CALLBACK | denormals);
        for (int n : lengths) {
            for (int offset = 0; offset < 4; ++offset) {
                for (bool in_place : {false, true}) {
                    at = (at + 977) % (source.size() - 1100);
                    const std::size_t len_in = m_in * (n + offset), len_out = m_out * (n + offset);
                    std::vector<T> a(len_in), b(len_in), r1(len_out, T(-7)), r2(len_out, T(-7));
                    for (std::size_t i = 0; i < len_in; ++i) {
                        a[i] = static_cast<T>(source[(at + i) % source.size()]);
                        b[i] = static_cast<T>(source[(at + 1100 + i) % source.size()]);
                    }
                    const bool here = in_place && m_in == m_out && !moves;
                    T *out = here ? a.data() + m_in * offset : r1.data() + m_out * offset;
                    const T *in = a.data() + m_in * offset;
                    lib.clear_status();
                    const std::uint32_t saved_control = _mm_getcsr();
                    _mm_setcsr(korb::test::kCallerControl);
                    const int returned = call_any(f, kernel, n, in, b.data() + m_in * offset, out,
                                                  r2.data() + m_out * offset, kExponents[at % 10]);
                    control_changed += _mm_getcsr() != korb::test::kCallerControl;
                    _mm_setcsr(saved_control);
                    // The count of the pack kernels (the others' return value is not hashed:
                    // the kernels that compute return nothing).
                    if (moves) h.add(static_cast<std::uint64_t>(returned));
                    h.add(static_cast<std::uint64_t>(lib.get_status()));
                    put_bits(h, here ? a : r1);
                    if (f.kind == KernelKind::pair) put_bits(h, r2);
                    if (tracing) {
                        std::printf("%c%s %s n=%d offset=%d%s at=%llu %016llx\n", f.precision,
                                    f.name, denormals == ARQ_DENORMALS_FLUSH ? "flush" : "keep", n,
                                    offset, here ? " in place" : "",
                                    static_cast<unsigned long long>(at),
                                    static_cast<unsigned long long>(h.h));
                    }
                }
            }
        }
    }
    t_hash = nullptr;
    return h.h;
}

TEST(VmSweepDigests, EveryKernelGivesTheCommittedBitsAndReports) {
    const Library lib = open_library();
    if (!lib.loaded.skip.empty()) GTEST_SKIP() << lib.loaded.skip;
    ASSERT_NE(lib.handle, nullptr) << lib.loaded.error;
    const auto cpu_version = reinterpret_cast<int (*)()>(dlsym(lib.handle, "dll_cpu_version"));
    ASSERT_NE(cpu_version, nullptr);
    EXPECT_EQ(cpu_version(), lib.loaded.cls) << lib.loaded.path;
    const unsigned saved = lib.set_mode(ARQ_HA);
    const ArqErrorCallBack saved_callback = lib.set_callback(hash_report);
    std::map<std::string, std::uint64_t> committed;
    for (const Digest &d : kDigests) {
        committed[std::string(d.function) + "/" + std::to_string(d.slot)] = d.value;
    }
    korb::test::DigestTable table("vm_sweep_digests.inc", "vm_digest_test.cpp");
    int checked = 0;
    int control_changed = 0;
    for (const korb::vecmath::FunctionInfo &f : korb::vecmath::kFunctions) {
        if (!f.built) continue;
        const std::string func = std::string(1, f.precision) + f.name;
        auto slots = static_cast<void *const *>(
            dlsym(lib.handle, ("korb_arq_kernel_" + func + "_ttab").c_str()));
        ASSERT_NE(slots, nullptr) << func;
        for (int slot = 0; slot < 3; ++slot) {
            // A slot served by the kernel of an earlier one was checked there.
            if (std::string(f.slots, slot).find(f.slots[slot]) != std::string::npos) continue;
            const bool single = f.precision == 's' || f.precision == 'c';
            const std::uint64_t got = single ? sweep<float>(lib, f, slots[slot], control_changed)
                                             : sweep<double>(lib, f, slots[slot], control_changed);
            const std::string key = func + "/" + std::to_string(slot);
            table.row("\"" + func + "\", " + std::to_string(slot), got);
            const auto want = committed.find(key);
            if (want == committed.end()) {
                ADD_FAILURE() << "no committed digest for " << key;
            } else {
                EXPECT_EQ(got, want->second) << key << " now gives 0x" << std::hex << got;
            }
            ++checked;
        }
    }
    EXPECT_EQ(control_changed, 0) << "calls that changed the caller's control register";
    EXPECT_EQ(checked, static_cast<int>(committed.size()))
        << "committed digests of kernels that are not built";
    lib.set_callback(saved_callback);
    lib.set_mode(saved);
}

}  // namespace
