#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "capture.h"
#include "frame/blas.h"
#include "frame/resolve.h"
#include "frame/services.h"
#include "korb/kernel/frame.h"
#include "korb_core.h"

namespace {

using korb::frame::lookup_count;
using korb::test::stdout_to_stderr;

bool aligned(const void *p, uintptr_t a) {
    return reinterpret_cast<uintptr_t>(p) % a == 0;
}

TEST(ResolvedServices, AreLookedUpOnceAndKept) {
    korbFree(korbMalloc(8, 64));  // make sure the slots in use are filled
    korbAlignedFree(korbAlignedAlloc(8, 128));
    const unsigned long before = lookup_count();
    for (int i = 0; i < 3; ++i) {
        korbFree(korbMalloc(100, 64));
        korbAlignedFree(korbAlignedAlloc(100, 128));
    }
    EXPECT_EQ(lookup_count(), before);
}

TEST(ResolvedServices, AnEmptySlotLooksUpExactlyOnce) {
    korb::frame::Resolved<int(), korb::frame::Module::core> slot{"korb_serv_cbwr_get_nolock"};
    korbFree(korbMalloc(8, 64));  // the module itself is loaded by now
    const unsigned long before = lookup_count();
    EXPECT_EQ(slot(), KORB_CBWR_AUTO);
    EXPECT_EQ(lookup_count(), before + 1);
    EXPECT_EQ(slot(), KORB_CBWR_AUTO);
    EXPECT_EQ(lookup_count(), before + 1);
    EXPECT_EQ(slot.address(), &korb_serv_cbwr_get_nolock);
}

TEST(ResolvedServices, ReachTheAlreadyLoadedCoreLibrary) {
    EXPECT_EQ(korb::frame::korb_serv_malloc.address(), &korb_serv_malloc);
    EXPECT_EQ(korb::frame::korb_serv_deallocate.address(), &korb_serv_deallocate);
}

TEST(FrameMemory, GivesTheAlignmentAskedFor) {
    const long live = korb_serv_live_blocks();
    void *a = korbAlignedAlloc(1000, 128);
    void *m = korbMalloc(40, 64);
    void *z = korbMalloc(16, 32);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(m, nullptr);
    ASSERT_NE(z, nullptr);
    EXPECT_TRUE(aligned(a, 128));
    EXPECT_TRUE(aligned(m, 64));
    EXPECT_TRUE(aligned(z, 32));
    EXPECT_EQ(korb_serv_live_blocks(), live + 3);
    korbAlignedFree(a);
    korbFree(m);
    korbFree(z);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

// Both frame allocators hand an injected failure on as null, and the next call succeeds again.
TEST(FrameMemory, PassesAFailureThroughAsNull) {
    struct Pair {
        void *(*alloc)(size_t, int);
        void (*release)(void *);
    };
    for (Pair pair : {Pair{korbMalloc, korbFree}, Pair{korbAlignedAlloc, korbAlignedFree}}) {
        korb_serv_fail_after(0);
        EXPECT_EQ(pair.alloc(64, 64), nullptr);
        void *p = pair.alloc(64, 64);
        EXPECT_NE(p, nullptr);
        pair.release(p);
        pair.release(nullptr);
    }
}

TEST(ResolveDeathTest, MissingCoreLibraryIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            stdout_to_stderr();
            korb::frame::load_core_module("libkorb_no_such_core.so");
        },
        testing::ExitedWithCode(1),
        "^KORB FATAL ERROR: Cannot load libkorb_no_such_core\\.so\\.\n$");
}

TEST(ResolveDeathTest, MissingFunctionIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            stdout_to_stderr();
            korb::frame::lookup(korb::frame::Module::core, "korb_serv_no_such_service");
        },
        testing::ExitedWithCode(1),
        "^KORB FATAL ERROR on loading the function korb_serv_no_such_service\\.\n$");
}

TEST(ResolveDeathTest, MissingBlasProviderIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const char *const none[] = {"libno_such_blas.so.0", nullptr};
    EXPECT_EXIT(
        {
            stdout_to_stderr();
            korb::frame::load_blas_provider(none, "libno_such_lapack.so.3");
        },
        testing::ExitedWithCode(1), "^KORB FATAL ERROR: Cannot load <korb-thread-layer>\\.\n$");
}

// Column-major products through the provider: the binding, the argument order and the hidden
// character lengths all have to be right for these numbers to come out.
TEST(BlasProvider, MultipliesThroughTheResolvedDgemm) {
    const double a[6] = {1, 4, 2, 5, 3, 6};     // [[1 2 3], [4 5 6]]
    const double b[6] = {7, 9, 11, 8, 10, 12};  // [[7 8], [9 10], [11 12]]
    double c[4] = {-1, -1, -1, -1};
    const int m = 2, n = 2, k = 3;
    const double one = 1.0, zero = 0.0;
    korb::frame::korb_blas_dgemm("N", "N", &m, &n, &k, &one, a, &m, b, &k, &zero, c, &m, 1, 1);
    EXPECT_DOUBLE_EQ(c[0], 58);
    EXPECT_DOUBLE_EQ(c[1], 139);
    EXPECT_DOUBLE_EQ(c[2], 64);
    EXPECT_DOUBLE_EQ(c[3], 154);

    const float af[4] = {2, 0, 0, 3}, bf[4] = {1, 2, 3, 4};
    float cf[4] = {};
    const int two = 2;
    const float onef = 1.0f, zerof = 0.0f;
    korb::frame::korb_blas_sgemm("T", "N", &two, &two, &two, &onef, af, &two, bf, &two, &zerof, cf,
                                 &two, 1, 1);
    EXPECT_FLOAT_EQ(cf[0], 2);
    EXPECT_FLOAT_EQ(cf[1], 6);
    EXPECT_FLOAT_EQ(cf[2], 6);
    EXPECT_FLOAT_EQ(cf[3], 12);
}

TEST(BlasProvider, FactorsThroughTheResolvedLapack) {
    double a[4] = {4, 2, 2, 3};  // symmetric positive definite
    const int n = 2;
    int info = -1;
    korb::frame::korb_lapack_dpotrf("L", &n, a, &n, &info, 1);
    EXPECT_EQ(info, 0);
    EXPECT_DOUBLE_EQ(a[0], 2);
    EXPECT_DOUBLE_EQ(a[1], 1);
    EXPECT_DOUBLE_EQ(a[3], std::sqrt(2.0));
}

// Where liblapack.so.3 is OpenBLAS's, loading it brings libopenblas.so.0 in as well, and that one
// comes first in the order of preference (unless an earlier test of this process already fixed
// the handle to liblapack.so.3, loaded by name: the same provider).
TEST(BlasProvider, PrefersAProviderAlreadyLoaded) {
    void *lapack = dlopen("liblapack.so.3", RTLD_NOW);
    ASSERT_NE(lapack, nullptr);
    void *openblas = dlopen("libopenblas.so.0", RTLD_NOW | RTLD_NOLOAD);
    void *handle = korb::frame::module_handle(korb::frame::Module::blas);
    EXPECT_TRUE(handle == lapack || (openblas != nullptr && handle == openblas));
    if (openblas != nullptr) dlclose(openblas);
    dlclose(lapack);
}

}  // namespace
