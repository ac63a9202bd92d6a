// The public library's checks and routing, each family through libkorb as an application calls
// it: refused calls report their status and write nothing; accepted ones give the kernel's bits.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "korb/korb.h"
#include "public/call_any.h"
#include "vecmath/functions.h"
#include "vecmath/new_thread.h"

namespace {

using korb::test::in_new_thread;

// --- Vector math ---------------------------------------------------------------------------------

struct Seen {
    int calls = 0;
    ArqErrorContext last{};
};
thread_local Seen t_seen;

int record(ArqErrorContext *c) {
    ++t_seen.calls;
    t_seen.last = *c;
    return 0;
}

void *public_symbol(const std::string &name) {
    return dlsym(RTLD_DEFAULT, name.c_str());
}

// Every built function of the list has its two public entry points, and each refuses n <= 0 and
// null vectors through the thread's error mode without touching the vectors.
TEST(PublicVm, EveryBuiltFunctionRefusesBadSizesAndNullVectors) {
    using korb::test::AnyArgs;
    int checked = 0;
    for (const auto &f : korb::vecmath::kFunctions) {
        if (!f.built) continue;
        const std::string name = std::string("v") + f.precision + f.name;
        const std::string mode_name = std::string("vm") + f.precision + f.name;
        void *v = public_symbol(name);
        void *vm = public_symbol(mode_name);
        ASSERT_NE(v, nullptr) << name;
        ASSERT_NE(vm, nullptr) << mode_name;
        in_new_thread([&] {
            korb_arq_SetErrorCallBack(&record);
            // Room for 8 elements of the widest precision, as any kind reads them.
            alignas(16) double a[16] = {0.5, 0.25, 1, 2, 3, 4, 5, 6, 0.5, 0.25, 1, 2, 3, 4, 5, 6};
            alignas(16) double r1[16], r2[16];
            const std::int64_t sel[8] = {};
            std::memset(r1, 0x77, sizeof r1);
            std::memset(r2, 0x77, sizeof r2);
            const std::vector<unsigned char> sentinel(sizeof r1, 0x77);
            const unsigned mode = ARQ_HA;
            for (const unsigned *m : {static_cast<const unsigned *>(nullptr), &mode}) {
                void *fn = m == nullptr ? v : vm;
                for (int n : {0, -4}) {
                    t_seen = {};
                    errno = 0;
                    ASSERT_TRUE(korb::test::call_any(f, fn, m, AnyArgs{n, a, a, r1, r2, sel}))
                        << name;
                    EXPECT_EQ(korb_arq_GetErrStatus(), ARQ_STATUS_BADSIZE) << name;
                    EXPECT_EQ(t_seen.calls, 1) << name;
                    EXPECT_EQ(t_seen.last.code, ARQ_STATUS_BADSIZE);
                    EXPECT_EQ(t_seen.last.index, n);
                    EXPECT_EQ(std::string(t_seen.last.name, t_seen.last.name_len), name);
                    EXPECT_EQ(errno, EINVAL);
                }
                // Each vector null in turn; every kind needs a and its first result.
                const AnyArgs nulls[] = {{4, nullptr, a, r1, r2, sel}, {4, a, a, nullptr, r2, sel}};
                for (const AnyArgs &x : nulls) {
                    t_seen = {};
                    errno = 0;
                    korb::test::call_any(f, fn, m, x);
                    EXPECT_EQ(t_seen.calls, 1) << name;
                    EXPECT_EQ(korb_arq_GetErrStatus(), ARQ_STATUS_BADMEM) << name;
                    EXPECT_EQ(t_seen.last.code, ARQ_STATUS_BADMEM);
                    EXPECT_EQ(errno, EACCES);
                }
            }
            EXPECT_EQ(std::memcmp(r1, sentinel.data(), sizeof r1), 0) << name;
            EXPECT_EQ(std::memcmp(r2, sentinel.data(), sizeof r2), 0) << name;
            korb_arq_ClearErrorCallBack();
        });
        ++checked;
    }
    EXPECT_EQ(checked, korb::vecmath::built_function_count());
}

// The accuracy slot follows the thread's mode, as the kernel library's numbered entry points do.
TEST(PublicVm, ResultsAreTheKernelOfTheModesSlot) {
    // The kernel library libkorb loaded, reached the way a direct user of it would.
    const int cls = korbGetClass();
    const char *file = cls == 4   ? "libkorb_avx512.so"
                       : cls == 3 ? "libkorb_avx2.so"
                                  : "libkorb_def.so";
    void *kernels = dlopen(file, RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(kernels, nullptr) << file << " should be loaded";
    using Fn = void (*)(int, const double *, double *);
    struct {
        unsigned mode;
        const char *kernel;
    } const cases[] = {
        {ARQ_LA, "_arqdErfInv_50"}, {ARQ_HA, "_arqdErfInv_HA"}, {ARQ_EP, "_arqdErfInv_26"}};
    std::vector<double> a(1000), want(1000), got(1000), got_m(1000);
    for (size_t i = 0; i < a.size(); ++i) a[i] = -0.999 + 1.998 * static_cast<double>(i) / 999;
    for (const auto &c : cases) {
        auto k = reinterpret_cast<Fn>(dlsym(kernels, c.kernel));
        ASSERT_NE(k, nullptr) << c.kernel;
        in_new_thread([&] {
            k(1000, a.data(), want.data());
            korb_arq_SetMode(c.mode);
            vdErfInv(1000, a.data(), got.data());
            korb_arq_SetMode(ARQ_HA);
            vmdErfInv(1000, a.data(), got_m.data(), c.mode);
            EXPECT_EQ(korb_arq_GetMode() & ARQ_ACCURACY_MASK, ARQ_HA) << "vm keeps the mode";
        });
        EXPECT_EQ(std::memcmp(got.data(), want.data(), 8000), 0) << c.kernel;
        EXPECT_EQ(std::memcmp(got_m.data(), want.data(), 8000), 0) << c.kernel;
    }
    dlclose(kernels);
}

// vm<p><Func> reports under the mode it was given and leaves the thread's whole mode word as it
// found it, also when the call is refused.
TEST(PublicVm, ModeVariantReportsUnderItsModeAndRestoresTheThreads) {
    in_new_thread([] {
        korb_arq_SetMode(ARQ_EP | ARQ_ERRMODE_IGNORE);
        const unsigned before = korb_arq_GetMode();
        double a[2] = {1000, 1}, r[2];
        errno = 0;
        vmdExp(2, a, r, ARQ_ERRMODE_ERRNO);
        EXPECT_EQ(errno, ERANGE);
        EXPECT_EQ(korb_arq_GetErrStatus(), ARQ_STATUS_OVERFLOW);
        EXPECT_EQ(korb_arq_GetMode(), before);
        errno = 0;
        vmdExp(-1, a, r, ARQ_ERRMODE_ERRNO);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(korb_arq_GetMode(), before);
        errno = 0;
        vdExp(-1, a, r);  // the thread's own mode ignores errors
        EXPECT_EQ(errno, 0);
        EXPECT_EQ(korb_arq_GetErrStatus(), ARQ_STATUS_BADSIZE);
    });
}

// --- Streams
// ----------------------------------------------------------------------------------------

TEST(PublicRng, StreamServicesRefuseNullsAndRangesWithoutTouchingTheCaller) {
    BixStream *s = nullptr;
    EXPECT_EQ(bixNewStream(nullptr, BIX_BRNG_MCG31M1, 1), BIX_ERROR_NULL_PTR);
    EXPECT_EQ(bixNewStreamEx(&s, BIX_BRNG_MCG31M1, 2, nullptr), BIX_ERROR_NULL_PTR);
    const uint32_t seeds[1] = {1};
    EXPECT_EQ(bixNewStreamEx(&s, BIX_BRNG_MCG31M1, -1, seeds), BIX_ERROR_BADARGS);
    // A failing creation leaves the caller's pointer as it was, whatever it held.
    BixStream *const marker = reinterpret_cast<BixStream *>(uintptr_t{0x1234});
    BixStream *kept = marker;
    EXPECT_EQ(bixNewStream(&kept, 0x7fff0000, 1), BIX_ERROR_INVALID_BRNG);
    EXPECT_EQ(kept, marker);
    EXPECT_EQ(bixLoadStreamM(&kept, "not a stream image, but long enough to be read as one"),
              BIX_ERROR_BAD_MEM_FORMAT);
    EXPECT_EQ(kept, marker);

    ASSERT_EQ(bixNewStream(&s, BIX_BRNG_MCG31M1, 7), BIX_ERROR_OK);
    for (auto [k, nstreams] : {std::pair{5, 4}, {4, 4}, {-1, 4}, {0, 0}, {0, -3}}) {
        EXPECT_EQ(bixLeapfrogStream(s, k, nstreams), BIX_ERROR_BADARGS) << k << " " << nstreams;
    }
    EXPECT_EQ(bixLeapfrogStream(nullptr, 0, 2), BIX_ERROR_NULL_PTR);
    EXPECT_EQ(bixSkipAheadStream(s, -1), BIX_ERROR_BADARGS);
    EXPECT_EQ(bixSkipAheadStream(nullptr, 1), BIX_ERROR_NULL_PTR);
    EXPECT_EQ(bixCopyStream(nullptr, s), BIX_ERROR_NULL_PTR);
    EXPECT_EQ(bixCopyStreamState(s, nullptr), BIX_ERROR_NULL_PTR);
    EXPECT_EQ(bixGetStreamStateBrng(nullptr), BIX_ERROR_NULL_PTR);
    EXPECT_EQ(bixGetBrngProperties(BIX_BRNG_MCG31M1, nullptr), BIX_ERROR_NULL_PTR);
    EXPECT_EQ(bixDeleteStream(nullptr), BIX_ERROR_NULL_PTR);

    // The refused calls changed nothing: the stream still gives the numbers of a fresh one.
    BixStream *fresh = nullptr;
    ASSERT_EQ(bixNewStream(&fresh, BIX_BRNG_MCG31M1, 7), BIX_ERROR_OK);
    double x[16], y[16];
    ASSERT_EQ(bixdRngUniform(0, s, 16, x, 0, 1), BIX_ERROR_OK);
    ASSERT_EQ(bixdRngUniform(0, fresh, 16, y, 0, 1), BIX_ERROR_OK);
    EXPECT_EQ(std::memcmp(x, y, sizeof x), 0);

    // Leapfrog and skip-ahead through the public names split one sequence.
    BixStream *part = nullptr;
    ASSERT_EQ(bixNewStream(&part, BIX_BRNG_MCG31M1, 7), BIX_ERROR_OK);
    ASSERT_EQ(bixSkipAheadStream(part, 8), BIX_ERROR_OK);
    double z[8];
    ASSERT_EQ(bixdRngUniform(0, part, 8, z, 0, 1), BIX_ERROR_OK);
    EXPECT_EQ(std::memcmp(z, x + 8, sizeof z), 0) << "skip-ahead of 8";
    ASSERT_EQ(bixDeleteStream(&part), BIX_ERROR_OK);
    ASSERT_EQ(bixCopyStream(&part, fresh), BIX_ERROR_OK);  // a new stream in fresh's state
    ASSERT_EQ(bixdRngUniform(0, part, 8, z, 0, 1), BIX_ERROR_OK);
    ASSERT_EQ(bixdRngUniform(0, fresh, 8, y, 0, 1), BIX_ERROR_OK);
    EXPECT_EQ(std::memcmp(z, y, sizeof z), 0) << "the copy continues as the source";
    EXPECT_EQ(bixDeleteStream(&part), BIX_ERROR_OK);
    EXPECT_EQ(part, nullptr);
    EXPECT_EQ(bixDeleteStream(&fresh), BIX_ERROR_OK);
    EXPECT_EQ(bixDeleteStream(&s), BIX_ERROR_OK);
}

// The cases a new user met with the kernel interface, each now refused with nothing written.
TEST(PublicRng, InvalidParametersAreRefusedBeforeAnyDraw) {
    BixStream *s = nullptr;
    ASSERT_EQ(bixNewStream(&s, BIX_BRNG_MT19937, 1), BIX_ERROR_OK);
    double r[4] = {7, 7, 7, 7};
    int k[4] = {7, 7, 7, 7};
    EXPECT_EQ(bixdRngGaussian(0, s, 4, r, 0, -1), BIX_ERROR_BADARGS);
    EXPECT_EQ(bixdRngGaussian(0, s, 4, r, 0, 0), BIX_ERROR_BADARGS);
    EXPECT_EQ(bixdRngGaussian(0, s, 4, r, NAN, 1), BIX_ERROR_BADARGS);
    EXPECT_EQ(bixdRngGaussian(7, s, 4, r, 0, 1), BIX_ERROR_BADMETHOD);
    EXPECT_EQ(bixdRngUniform(0, s, 4, r, 2, 1), BIX_ERROR_BADARGS);
    EXPECT_EQ(bixdRngUniform(0, s, 4, r, -1e308, 1e308), BIX_ERROR_BADARGS);  // b - a overflows
    EXPECT_EQ(bixdRngExponential(0, s, 4, r, 0, -1), BIX_ERROR_BADARGS);
    EXPECT_EQ(bixiRngUniform(0, s, 4, k, 3, 3), BIX_ERROR_BADARGS);
    EXPECT_EQ(bixiRngGeometric(0, s, 4, k, 0), BIX_ERROR_BADARGS);
    EXPECT_EQ(bixiRngGeometric(0, s, 4, k, 1e-9), BIX_ERROR_BADARGS);  // counts beyond INT_MAX
    EXPECT_EQ(bixiRngBernoulli(0, s, 4, k, 1.5), BIX_ERROR_BADARGS);
    // A small scale does not save a term that overflows before it is scaled.
    float f[4] = {7, 7, 7, 7};
    EXPECT_EQ(bixsRngLognormal(0, s, 4, f, 80, 3, 0, 1e-20f), BIX_ERROR_BADARGS);
    EXPECT_EQ(bixsRngWeibull(0, s, 4, f, 0.05f, 0, 1e-30f), BIX_ERROR_BADARGS);
    for (float x : f) EXPECT_EQ(x, 7);
    EXPECT_EQ(bixdRngGaussian(0, s, -1, r, 0, 1), BIX_ERROR_BADARGS);
    EXPECT_EQ(bixdRngGaussian(0, nullptr, 4, r, 0, 1), BIX_ERROR_NULL_PTR);
    EXPECT_EQ(bixdRngGaussian(0, s, 4, nullptr, 0, 1), BIX_ERROR_NULL_PTR);
    EXPECT_EQ(bixdRngGaussian(0, nullptr, 0, nullptr, 0, -1), BIX_ERROR_OK);  // n = 0: nothing
    for (double x : r) EXPECT_EQ(x, 7);
    for (int x : k) EXPECT_EQ(x, 7);
    // The edges that remain valid.
    EXPECT_EQ(bixiRngGeometric(0, s, 4, k, 1e-7), BIX_ERROR_OK);
    EXPECT_EQ(bixiRngBernoulli(0, s, 4, k, 0), BIX_ERROR_OK);
    EXPECT_EQ(bixdRngUniform(0x40000000, s, 4, r, -1e307, 1e307), BIX_ERROR_OK);
    EXPECT_EQ(bixDeleteStream(&s), BIX_ERROR_OK);
}

// --- Summary statistics
// ---------------------------------------------------------------------------

TEST(PublicSs, ComputeRoutesEachEstimateToItsEstimator) {
    const int p = 2, n = 5, storage = BIX_SS_MATRIX_STORAGE_ROWS;
    const double x[10] = {3, 1, 4, 1, 5, 9, 2, 6, 5, 3};
    double mean[2] = {}, mn[2] = {1e300, 1e300}, mx[2] = {-1e300, -1e300}, q[2] = {};
    const double order = 0.5;
    const int norders = 1;
    BixSSTask *task = nullptr;
    ASSERT_EQ(bixdSSNewTask(&task, &p, &n, &storage, x, nullptr, nullptr), BIX_ERROR_OK);
    ASSERT_EQ(bixdSSEditTask(task, BIX_SS_ID_MEAN, mean), BIX_ERROR_OK);
    ASSERT_EQ(bixdSSEditTask(task, BIX_SS_ID_MIN, mn), BIX_ERROR_OK);
    ASSERT_EQ(bixdSSEditTask(task, BIX_SS_ID_MAX, mx), BIX_ERROR_OK);
    ASSERT_EQ(bixdSSEditQuantiles(task, const_cast<int *>(&norders), const_cast<double *>(&order),
                                  q, nullptr, nullptr),
              BIX_ERROR_OK);

    // A bit no estimator computes is refused before anything is written.
    EXPECT_EQ(bixdSSCompute(task, BIX_SS_EST_MEAN | (1ULL << 40), BIX_SS_METHOD_TWO_PASS),
              BIX_SS_ERROR_NO_ESTIMATOR);
    EXPECT_EQ(mean[0], 0);
    EXPECT_EQ(bixdSSCompute(nullptr, BIX_SS_EST_MEAN, BIX_SS_METHOD_TWO_PASS),
              BIX_SS_ERROR_NULL_TASK);
    EXPECT_EQ(bixsSSCompute(task, BIX_SS_EST_MEAN, BIX_SS_METHOD_TWO_PASS), BIX_ERROR_BADARGS);

    // One call, three estimators, one method word carrying each one's bits.
    ASSERT_EQ(bixdSSCompute(
                  task, BIX_SS_EST_MEAN | BIX_SS_EST_MIN | BIX_SS_EST_MAX | BIX_SS_EST_QUANTILES,
                  BIX_SS_METHOD_TWO_PASS),
              BIX_ERROR_OK);
    EXPECT_DOUBLE_EQ(mean[0], 14.0 / 5);
    EXPECT_DOUBLE_EQ(mean[1], 25.0 / 5);
    EXPECT_EQ(mn[0], 1);
    EXPECT_EQ(mx[0], 5);
    EXPECT_EQ(mn[1], 2);
    EXPECT_EQ(mx[1], 9);
    EXPECT_EQ(q[0], 3);
    EXPECT_EQ(q[1], 5);
    // The estimator's own checks still answer: the mean slot with a bad method.
    EXPECT_EQ(bixdSSCompute(task, BIX_SS_EST_MEAN, 0), BIX_SS_ERROR_BAD_METHOD);
    EXPECT_EQ(bixSSDeleteTask(&task), BIX_ERROR_OK);
    EXPECT_EQ(task, nullptr);
}

// --- Data fitting
// ---------------------------------------------------------------------------------

TEST(PublicDf, TasksOfTheOtherPrecisionAreRefused) {
    const double x[4] = {0, 1, 2, 3}, y[4] = {0, 1, 4, 9}, bc[2] = {0, 0};
    double c[12];
    DfTask *task = nullptr;
    DfTask *const marker = reinterpret_cast<DfTask *>(uintptr_t{0x5678});
    DfTask *kept = marker;
    EXPECT_EQ(korb_df_dNewTask1D(&kept, 1, x, DF_NO_HINT, 1, y, DF_NO_HINT), DF_ERROR_BAD_NX);
    EXPECT_EQ(kept, marker);
    ASSERT_EQ(korb_df_dNewTask1D(&task, 4, x, DF_NO_HINT, 1, y, DF_NO_HINT), DF_STATUS_OK);
    float cf[12];
    EXPECT_EQ(korb_df_sEditPPSpline1D(task, DF_PP_CUBIC, DF_PP_NATURAL, 0, nullptr, DF_BC_FREE_END,
                                      nullptr, cf, DF_NO_HINT),
              DF_ERROR_BAD_PRECISION);
    EXPECT_EQ(korb_df_sConstruct1D(task, DF_PP_SPLINE, DF_METHOD_STD), DF_ERROR_BAD_PRECISION);
    ASSERT_EQ(korb_df_dEditPPSpline1D(task, DF_PP_CUBIC, DF_PP_NATURAL, 0, nullptr, DF_BC_FREE_END,
                                      bc, c, DF_NO_HINT),
              DF_STATUS_OK);
    ASSERT_EQ(korb_df_dConstruct1D(task, DF_PP_SPLINE, DF_METHOD_STD), DF_STATUS_OK);
    EXPECT_EQ(c[0], 0);  // the spline passes through y[0]
    EXPECT_EQ(korb_df_DeleteTask(&task), DF_STATUS_OK);
    EXPECT_EQ(task, nullptr);
}

// --- Status texts and the class ---------------------------------------------------------------

TEST(PublicFrame, StatusTextsNameTheirStatus) {
    struct {
        int family, status;
        const char *name;
    } const cases[] = {
        {KORB_FAMILY_VM, ARQ_STATUS_BADMEM, "ARQ_STATUS_BADMEM: "},
        {KORB_FAMILY_VM, ARQ_STATUS_UNDERFLOW, "ARQ_STATUS_UNDERFLOW: "},
        {KORB_FAMILY_RNG, BIX_ERROR_LEAPFROG_UNSUPPORTED, "BIX_ERROR_LEAPFROG_UNSUPPORTED: "},
        {KORB_FAMILY_RNG, BIX_ERROR_GLOBAL_DATA_TABLE_FULL, "BIX_ERROR_GLOBAL_DATA_TABLE_FULL: "},
        {KORB_FAMILY_SS, BIX_SS_ERROR_NO_ESTIMATOR, "BIX_SS_ERROR_NO_ESTIMATOR: "},
        {KORB_FAMILY_SS, BIX_SS_ERROR_NULL_PARAMETRIZED_COR,
         "BIX_SS_ERROR_NULL_PARAMETRIZED_COR: "},
        {KORB_FAMILY_SS, BIX_ERROR_BADARGS, "BIX_ERROR_BADARGS: "},
        {KORB_FAMILY_DF, DF_ERROR_TOO_FEW_POINTS, "DF_ERROR_TOO_FEW_POINTS: "},
        {KORB_FAMILY_DF, DF_ERROR_BAD_PRECISION, "DF_ERROR_BAD_PRECISION: "},
    };
    for (const auto &c : cases) {
        const std::string text = korbStatusText(c.family, c.status);
        EXPECT_EQ(text.rfind(c.name, 0), 0u) << text;
        EXPECT_GT(text.size(), std::strlen(c.name) + 10) << "a meaning follows the name";
    }
    EXPECT_STREQ(korbStatusText(KORB_FAMILY_RNG, -999), "unknown status");
    EXPECT_STREQ(korbStatusText(99, 0), "unknown status");
    // Every code of a band has a text: the bands hold no gap a status could fall into unnamed.
    for (int s = -4000; s >= -4071; --s) {
        const bool unused = s == -4026 || s == -4030 || s == -4033 || (s <= -4049 && s >= -4063);
        EXPECT_EQ(std::strcmp(korbStatusText(KORB_FAMILY_SS, s), "unknown status") == 0, unused)
            << s;
    }
}

TEST(PublicFrame, ClassIsOneAKernelLibraryServes) {
    const int c = korbGetClass();
    EXPECT_TRUE(c == KORB_CPU_GENERIC || c == KORB_CPU_X86_64_V3 || c == KORB_CPU_X86_64_V4) << c;
    EXPECT_STREQ(korbGetVersion(), "0.1.0");
}

}  // namespace
