// The built kernel library as its users see it: loaded with dlopen, used through exported names.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <xmmintrin.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "capture.h"
#include "korb/kernel/df.h"
#include "korb/kernel/vm.h"
#include "vecmath/functions.h"

namespace fs = std::filesystem;
using korb::test::stdout_to_stderr;

namespace {

const fs::path kLibDir = KORB_LIB_DIR;

template <class Fn>
Fn symbol(void *lib, const char *name) {
    void *p = dlsym(lib, name);
    EXPECT_NE(p, nullptr) << name;
    return reinterpret_cast<Fn>(p);
}

// A scratch directory holding a copy of the kernel library and, optionally, a core library.
class ScratchLibDir {
  public:
    explicit ScratchLibDir(const char *core) {
        dir_ = fs::temp_directory_path() / ("korb_abi_" + std::to_string(getpid()));
        fs::create_directories(dir_);
        fs::copy_file(kLibDir / "libkorb_def.so", dir_ / "libkorb_def.so",
                      fs::copy_options::overwrite_existing);
        if (core != nullptr) {
            fs::copy_file(core, dir_ / "libkorb_core.so", fs::copy_options::overwrite_existing);
        }
    }
    ~ScratchLibDir() { fs::remove_all(dir_); }

    // An entry point of the copied kernel library; for death tests, so a failure exits with 90.
    template <class Fn>
    Fn entry(const char *name) const {
        void *lib = dlopen((dir_ / "libkorb_def.so").c_str(), RTLD_NOW | RTLD_LOCAL);
        if (lib == nullptr) std::exit(90);
        return symbol<Fn>(lib, name);
    }

  private:
    fs::path dir_;
};

TEST(KernelLibrary, ServesTheGenericClassAndFindsItsCoreLibraryBesideIt) {
    void *lib = dlopen((kLibDir / "libkorb_def.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(lib, nullptr) << dlerror();
    EXPECT_EQ(symbol<int (*)()>(lib, "dll_cpu_version")(), 0);
    EXPECT_EQ(dlopen("libkorb_core.so", RTLD_NOW | RTLD_NOLOAD), nullptr);

    auto alloc = symbol<void *(*)(size_t, int)>(lib, "korbAlignedAlloc");
    auto release = symbol<void (*)(void *)>(lib, "korbAlignedFree");
    void *p = alloc(256, 128);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 128, 0u);
    release(p);
    void *core = dlopen("libkorb_core.so", RTLD_NOW | RTLD_NOLOAD);
    EXPECT_NE(core, nullptr) << "the core library should have been loaded from " << kLibDir;
    if (core != nullptr) dlclose(core);
}

// Both names of a vector-math service reach the calling thread's own state; a new thread starts
// from KORB_ARQ_MODE.
TEST(KernelLibrary, VectorMathModeIsPerThreadUnderBothNames) {
    void *lib = dlopen((kLibDir / "libkorb_def.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(lib, nullptr) << dlerror();
    auto set_mode = symbol<unsigned (*)(unsigned)>(lib, "_arqSetMode");
    auto get_mode = symbol<unsigned (*)()>(lib, "korb_arq_kernel_GetMode");
    setenv("KORB_ARQ_MODE", "ARQ_LA,ARQ_ERRMODE_ERRNO", 1);
    unsigned other = 0;
    std::thread([&] {
        EXPECT_EQ(set_mode(0x3u), 0x201u);
        EXPECT_EQ(get_mode(), 0x203u);
        std::thread([&] { other = get_mode(); }).join();
    }).join();
    unsetenv("KORB_ARQ_MODE");
    EXPECT_EQ(other, 0x201u);
}

TEST(KernelLibraryDeathTest, WithoutCoreLibraryAnAllocationIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ScratchLibDir dir(nullptr);
    EXPECT_EXIT(
        {
            stdout_to_stderr();
            dir.entry<void *(*)(size_t, int)>("korbMalloc")(64, 64);
            std::exit(91);
        },
        testing::ExitedWithCode(1), "^KORB FATAL ERROR: Cannot load libkorb_core\\.so\\.\n$");
}

TEST(KernelLibraryDeathTest, CoreLibraryWithoutTheFunctionIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ScratchLibDir dir(KORB_FAKE_CORE);
    EXPECT_EXIT(
        {
            stdout_to_stderr();
            void *p = dir.entry<void *(*)(size_t, int)>("korbMalloc")(64, 64);
            if (p == nullptr) std::exit(92);
            dir.entry<void (*)(void *)>("korbFree")(p);
            std::exit(91);
        },
        testing::ExitedWithCode(1),
        "^KORB FATAL ERROR on loading the function korb_serv_free\\.\n$");
}

// Builds a natural cubic spline through the scratch directory's kernel library; exits 91 if that
// returns, 92 if the task cannot be made.
[[noreturn]] void construct_natural_spline(const ScratchLibDir &dir) {
    using NewTask = int64_t (*)(DfTask **, int64_t, const double *, int64_t, int64_t,
                                const double *, int64_t, int32_t);
    using EditSpline = int64_t (*)(DfTask *, int64_t, int64_t, int64_t, const double *, int64_t,
                                   const double *, double *, int64_t);
    using Construct = int64_t (*)(DfTask *, int64_t, int64_t);
    static const double x[4] = {0, 1, 2, 3}, y[4] = {1, 0, 1, 0}, bc[2] = {0, 0};
    static double c[12];
    DfTask *task = nullptr;
    if (dir.entry<NewTask>("korb_df_kernel_dNewTask1D")(&task, 4, x, 0, 1, y, 0, 0) != 0 ||
        dir.entry<EditSpline>("korb_df_kernel_dEditPPSpline1D")(task, 4, DF_PP_NATURAL, 0, nullptr,
                                                                DF_BC_FREE_END, bc, c, 0) != 0) {
        std::exit(92);
    }
    dir.entry<Construct>("korb_df_kernel_dConstruct1D")(task, DF_PP_SPLINE, DF_METHOD_STD);
    std::exit(91);
}

TEST(KernelLibraryDeathTest, CoreLibraryWithoutTheTridiagonalSolverIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ScratchLibDir dir(KORB_FAKE_CORE);
    EXPECT_EXIT(
        {
            stdout_to_stderr();
            construct_natural_spline(dir);
        },
        testing::ExitedWithCode(1),
        "^KORB FATAL ERROR on loading the function korb_serv_dtridiag_factor\\.\n$");
}

// Runs a real kernel (one or two arguments or results, a scalar, LinearFrac's) on n of a few
// ordinary arguments and returns the bits of its result vectors (filled with -7 beforehand);
// empty for the other calling conventions.
std::vector<std::uint64_t> call_kernel(const korb::vecmath::FunctionInfo &f, const void *kernel,
                                       int n = 9) {
    using korb::vecmath::KernelKind;
    const std::vector<double> a = {0.5, 1.0, 2.0, 3.5, 10.0, 0.1, 7.0, 0.25, 100.0};
    std::vector<std::uint64_t> out;
    if (f.kind != KernelKind::one && f.kind != KernelKind::pair && f.kind != KernelKind::scalar &&
        f.kind != KernelKind::two && f.kind != KernelKind::linear_frac) {
        return out;
    }
    const std::vector<double> b(a.rbegin(), a.rend());
    if (f.precision == 'd') {
        std::vector<double> r1(a.size(), -7.0), r2(a.size(), -7.0);
        if (f.kind == KernelKind::one) {
            reinterpret_cast<ArqKernelD>(kernel)(n, a.data(), r1.data());
        } else if (f.kind == KernelKind::two) {
            reinterpret_cast<ArqKernelTwoD>(kernel)(n, a.data(), b.data(), r1.data());
        } else if (f.kind == KernelKind::linear_frac) {
            reinterpret_cast<ArqKernelLinearFracD>(kernel)(n, a.data(), b.data(), 0.3, 1.5, -2.0,
                                                           0.7, r1.data());
        } else if (f.kind == KernelKind::scalar) {
            reinterpret_cast<ArqKernelScalarD>(kernel)(n, a.data(), 1.5, r1.data());
        } else {
            reinterpret_cast<ArqKernelD2>(kernel)(n, a.data(), r1.data(), r2.data());
        }
        for (std::size_t i = 0; i < a.size(); ++i) {
            out.push_back(std::bit_cast<std::uint64_t>(r1[i]));
            out.push_back(std::bit_cast<std::uint64_t>(r2[i]));
        }
    } else if (f.precision == 's') {
        const std::vector<float> x(a.begin(), a.end());
        std::vector<float> r1(a.size(), -7.0f), r2(a.size(), -7.0f);
        const std::vector<float> y(b.begin(), b.end());
        if (f.kind == KernelKind::one) {
            reinterpret_cast<ArqKernelS>(kernel)(n, x.data(), r1.data());
        } else if (f.kind == KernelKind::two) {
            reinterpret_cast<ArqKernelTwoS>(kernel)(n, x.data(), y.data(), r1.data());
        } else if (f.kind == KernelKind::linear_frac) {
            reinterpret_cast<ArqKernelLinearFracS>(kernel)(n, x.data(), y.data(), 0.3f, 1.5f, -2.0f,
                                                           0.7f, r1.data());
        } else if (f.kind == KernelKind::scalar) {
            reinterpret_cast<ArqKernelScalarS>(kernel)(n, x.data(), 1.5f, r1.data());
        } else {
            reinterpret_cast<ArqKernelS2>(kernel)(n, x.data(), r1.data(), r2.data());
        }
        for (std::size_t i = 0; i < a.size(); ++i) {
            out.push_back(std::bit_cast<std::uint32_t>(r1[i]));
            out.push_back(std::bit_cast<std::uint32_t>(r2[i]));
        }
    }
    return out;
}

// Every built vector-math function: its two tables, placed one after the other, and its four
// entry points, which reach the kernels of their slots.
TEST(KernelLibrary, ExportsTheTablesAndEntryPointsOfEveryBuiltFunction) {
    void *lib = dlopen((kLibDir / "libkorb_def.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(lib, nullptr) << dlerror();
    int built = 0;
    for (const korb::vecmath::FunctionInfo &f : korb::vecmath::kFunctions) {
        const std::string func = std::string(1, f.precision) + f.name;
        void *entry = dlsym(lib, ("_arq" + func).c_str());
        ASSERT_EQ(entry != nullptr, f.built) << func;
        if (!f.built) continue;
        ++built;
        auto ttab =
            static_cast<void *const *>(dlsym(lib, ("korb_arq_kernel_" + func + "_ttab").c_str()));
        auto ctab =
            static_cast<const float *>(dlsym(lib, ("korb_arq_kernel_" + func + "_ctab").c_str()));
        ASSERT_NE(ttab, nullptr) << func;
        ASSERT_EQ(static_cast<const void *>(ctab), static_cast<const void *>(ttab + 3)) << func;
        std::uint32_t pad;
        std::memcpy(&pad, ctab + 3, sizeof pad);
        EXPECT_EQ(pad, 0u) << func;
        for (int slot = 0; slot < 3; ++slot) {
            EXPECT_EQ(ctab[slot], f.cost[slot]) << func;
            EXPECT_GT(ctab[slot], 0.0f) << func;
            for (int other = 0; other < 3; ++other) {
                EXPECT_EQ(ttab[slot] == ttab[other], f.slots[slot] == f.slots[other]) << func;
            }
        }
        const bool single = f.precision == 's' || f.precision == 'c';
        const char *entries[4][2] = {
            {"_HA", "1"}, {"", "1"}, {single ? "_21" : "_50", "0"}, {single ? "_11" : "_26", "2"}};
        for (auto [suffix, slot] : entries) {
            void *p = dlsym(lib, ("_arq" + func + suffix).c_str());
            ASSERT_NE(p, nullptr) << func << suffix;
            // The same bits through the entry point as through its slot of the table.
            const std::vector<std::uint64_t> got = call_kernel(f, p);
            if (got.empty()) continue;  // a calling convention this test does not know
            EXPECT_EQ(got, call_kernel(f, ttab[*slot - '0'])) << func << suffix;
        }
    }
    EXPECT_EQ(built, korb::vecmath::built_function_count());
}

// Every built kernel writes nothing for n <= 0, and gives the caller's control register back:
// here rounding upward with denormals-are-zero, while the mode asks for flushing; the results
// are those of a call under the usual register (rounding to nearest) with subnormal results
// flushed, except Rint's and NearbyInt's, which round in the caller's direction.
TEST(KernelLibrary, EveryKernelKeepsShortCallsAndTheCallersControlRegister) {
    void *lib = dlopen((kLibDir / "libkorb_def.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(lib, nullptr) << dlerror();
    auto set_mode = symbol<unsigned (*)(unsigned)>(lib, "korb_arq_kernel_SetMode");
    const unsigned saved_mode = set_mode(ARQ_HA | ARQ_ERRMODE_IGNORE | ARQ_DENORMALS_KEEP);
    const unsigned original = _mm_getcsr();
    const unsigned caller = (original & ~0xE040u) | 0x4000u | 0x0040u;
    for (const korb::vecmath::FunctionInfo &f : korb::vecmath::kFunctions) {
        if (!f.built) continue;
        const std::string func = std::string(1, f.precision) + f.name;
        auto ttab =
            static_cast<void *const *>(dlsym(lib, ("korb_arq_kernel_" + func + "_ttab").c_str()));
        ASSERT_NE(ttab, nullptr) << func;
        for (int slot = 0; slot < 3; ++slot) {
            const std::vector<std::uint64_t> untouched = call_kernel(f, ttab[slot], 0);
            if (untouched.empty()) break;  // a calling convention this test does not know
            for (std::uint64_t b : untouched) {
                EXPECT_TRUE(b == std::bit_cast<std::uint64_t>(-7.0) ||
                            b == std::bit_cast<std::uint32_t>(-7.0f))
                    << func << " n = 0";
            }
            EXPECT_EQ(call_kernel(f, ttab[slot], -1), untouched) << func << " n = -1";

            const std::vector<std::uint64_t> nearest = call_kernel(f, ttab[slot]);
            set_mode(ARQ_DENORMALS_FLUSH);
            _mm_setcsr(caller);
            const std::vector<std::uint64_t> got = call_kernel(f, ttab[slot]);
            const unsigned after = _mm_getcsr();
            _mm_setcsr(original);
            set_mode(ARQ_DENORMALS_KEEP);
            EXPECT_EQ(after & ~0x3Fu, caller & ~0x3Fu) << func << " slot " << slot;
            // Rint and NearbyInt round in the caller's direction (here upward) by definition.
            const bool callers_direction =
                std::string(f.name) == "Rint" || std::string(f.name) == "NearbyInt";
            if (!callers_direction) {
                // A subnormal result (sErfc(10)) is flushed to the zero of its sign.
                std::vector<std::uint64_t> flushed = nearest;
                const bool single = f.precision == 's' || f.precision == 'c';
                const std::uint64_t sign = single ? 0x80000000u : 0x8000000000000000u;
                const std::uint64_t exponent = single ? 0x7F800000u : 0x7FF0000000000000u;
                for (std::uint64_t &b : flushed) {
                    if ((b & exponent) == 0 && (b & ~sign) != 0) b &= sign;
                }
                EXPECT_EQ(got, flushed) << func << " slot " << slot;
            }
        }
    }
    set_mode(saved_mode);
}

}  // namespace
