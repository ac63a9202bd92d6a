// The error dispatchers, driven directly with chosen vectors and statuses.
#include "vecmath/dispatch.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>

#include "capture.h"
#include "korb/kernel/vm.h"
#include "vecmath/new_thread.h"

namespace {

using korb::test::capture_stdout;
using korb::test::in_new_thread;
using korb::vecmath::ComplexDouble;
using korb::vecmath::ComplexFloat;

// The callback under test: whatever the test puts here, called through a plain function.
thread_local std::function<int(ArqErrorContext *)> t_callback;
int callback(ArqErrorContext *c) {
    return t_callback(c);
}

// One element type per precision: how to make a value and which dispatcher reports it.
template <class E>
struct Precision;
template <>
struct Precision<float> {
    static float make(double re, double) { return static_cast<float>(re); }
    static constexpr auto dispatch = korb::vecmath::dispatch_error_s;
    static constexpr bool complex = false;
};
template <>
struct Precision<double> {
    static double make(double re, double) { return re; }
    static constexpr auto dispatch = korb::vecmath::dispatch_error_d;
    static constexpr bool complex = false;
};
template <>
struct Precision<ComplexFloat> {
    static ComplexFloat make(double re, double im) {
        return {static_cast<float>(re), static_cast<float>(im)};
    }
    static constexpr auto dispatch = korb::vecmath::dispatch_error_c;
    static constexpr bool complex = true;
};
template <>
struct Precision<ComplexDouble> {
    static ComplexDouble make(double re, double im) { return {re, im}; }
    static constexpr auto dispatch = korb::vecmath::dispatch_error_z;
    static constexpr bool complex = true;
};

template <class E>
bool same(const E &x, const E &y) {
    return std::memcmp(&x, &y, sizeof(E)) == 0;
}

// Each test starts from a known thread state and chooses its error mode.
class Dispatch : public testing::Test {
  protected:
    void SetUp() override { reset(); }
    void TearDown() override {
        reset();
        korb_arq_kernel_SetMode(ARQ_ERRMODE_DEFAULT);
        std::feclearexcept(FE_ALL_EXCEPT);
    }
    static void reset() {
        korb_arq_kernel_ClearErrorCallBack();
        korb_arq_kernel_SetInterfInputVectorPointer(nullptr);
        korb_arq_kernel_ClearErrStatus();
        t_callback = nullptr;
    }
    // Sets the error mode; registering a callback adds ARQ_ERRMODE_CALLBACK to it.
    static void use(unsigned error_mode, std::function<int(ArqErrorContext *)> f = nullptr) {
        korb_arq_kernel_SetMode(ARQ_HA | error_mode);
        if (f) {
            t_callback = std::move(f);
            korb_arq_kernel_SetErrorCallBack(callback);
        }
    }
};

template <class E>
class DispatchPrecision : public Dispatch {};
using Elements = testing::Types<float, double, ComplexFloat, ComplexDouble>;
TYPED_TEST_SUITE(DispatchPrecision, Elements);

// A kernel working on a piece 100 elements past the registered base reports element 5 as 105,
// while the record holds the values of the piece's own element 5; the callback's results are
// written back (narrowed for single precision) to that element only.
TYPED_TEST(DispatchPrecision, RecordHoldsThePiecesElementAndTheWholeVectorsIndex) {
    using E = TypeParam;
    using P = Precision<E>;
    E whole[110], b[10], r1[10], r2[10];
    for (int i = 0; i < 110; ++i) whole[i] = P::make(i + 0.5, -i - 0.25);
    for (int i = 0; i < 10; ++i) {
        b[i] = P::make(1000 + i, 2000 + i);
        r1[i] = P::make(3000 + i, 4000 + i);
        r2[i] = P::make(5000 + i, 6000 + i);
    }
    const E *piece = whole + 100;
    const E r1_before[10] = {r1[0], r1[1], r1[2], r1[3], r1[4], r1[5], r1[6], r1[7], r1[8], r1[9]};
    ArqErrorContext seen{};
    this->use(ARQ_ERRMODE_CALLBACK, [&](ArqErrorContext *c) {
        seen = *c;
        c->r1 = 7.25;
        c->r1_im = 1.5;
        c->r2 = -3.5;
        c->r2_im = 2.5;
        return 0;
    });
    korb_arq_kernel_SetInterfInputVectorPointer(whole);
    P::dispatch(ARQ_STATUS_OVERFLOW, 5, piece, b, r1, r2, "vxTest");

    EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_OVERFLOW);
    EXPECT_EQ(seen.code, ARQ_STATUS_OVERFLOW);
    EXPECT_EQ(seen.index, 105);
    EXPECT_STREQ(seen.name, "vxTest");
    EXPECT_EQ(seen.name_len, 6);
    EXPECT_EQ(seen.a1, 105.5);
    EXPECT_EQ(seen.a2, 1005);
    EXPECT_EQ(seen.r1, 3005);
    EXPECT_EQ(seen.r2, 5005);
    EXPECT_EQ(seen.a1_im, P::complex ? -105.25 : 0);
    EXPECT_EQ(seen.a2_im, P::complex ? 2005 : 0);
    EXPECT_EQ(seen.r1_im, P::complex ? 4005 : 0);
    EXPECT_EQ(seen.r2_im, P::complex ? 6005 : 0);
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(same(r1[i], i == 5 ? P::make(7.25, 1.5) : r1_before[i])) << i;
        EXPECT_TRUE(same(r2[i], i == 5 ? P::make(-3.5, 2.5) : P::make(5000 + i, 6000 + i))) << i;
    }
}

// A new thread has no vector base: the index is the kernel's own.
TEST(DispatchNewThread, WithoutABaseTheIndexIsNotShifted) {
    const int index = in_new_thread([] {
        double a[8] = {}, r[8] = {};
        int seen = -1;
        t_callback = [&](ArqErrorContext *c) { return seen = c->index, 1; };
        korb_arq_kernel_SetErrorCallBack(callback);
        korb::vecmath::dispatch_error_d(ARQ_STATUS_SING, 5, a + 2, a + 2, r, r, "vdLn");
        t_callback = nullptr;
        return seen;
    });
    EXPECT_EQ(index, 5);
}

TEST_F(Dispatch, IgnoreAloneCallsNoCallbackButStillStoresTheStatus) {
    int calls = 0;
    use(ARQ_ERRMODE_CALLBACK, [&](ArqErrorContext *) { return ++calls, 0; });
    double a[1] = {800}, r[1] = {INFINITY};
    korb_arq_kernel_SetMode(ARQ_ERRMODE_IGNORE);
    korb::vecmath::dispatch_error_d(ARQ_STATUS_OVERFLOW, 0, a, a, r, r, "vdExp");
    EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_OVERFLOW);
    EXPECT_EQ(calls, 0);

    korb_arq_kernel_SetMode(ARQ_ERRMODE_IGNORE | ARQ_ERRMODE_CALLBACK);
    korb::vecmath::dispatch_error_d(ARQ_STATUS_UNDERFLOW, 0, a, a, r, r, "vdExp");
    EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_UNDERFLOW);
    EXPECT_EQ(calls, 1);
}

TEST_F(Dispatch, ARegisteredCallbackNeedsTheCallbackBits) {
    int calls = 0;
    use(ARQ_ERRMODE_CALLBACK, [&](ArqErrorContext *) { return ++calls, 0; });
    korb_arq_kernel_SetMode(ARQ_ERRMODE_ERRNO);
    double a[1] = {0}, r[1] = {-INFINITY};
    errno = 0;
    korb::vecmath::dispatch_error_d(ARQ_STATUS_SING, 0, a, a, r, r, "vdLn");
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(errno, ERANGE);
}

TEST_F(Dispatch, ANonZeroCallbackReturnEndsTheReportWithoutWriteBack) {
    use(ARQ_ERRMODE_ERRNO | ARQ_ERRMODE_STDERR | ARQ_ERRMODE_EXCEPT, [](ArqErrorContext *c) {
        c->r1 = c->r2 = 42;
        return 1;
    });
    double a[2] = {1, -1}, r[2] = {0, NAN};
    errno = 0;
    std::feclearexcept(FE_ALL_EXCEPT);
    std::string out = capture_stdout(
        [&] { korb::vecmath::dispatch_error_d(ARQ_STATUS_ERRDOM, 1, a, a, r, r, "vdLn"); });
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(out, "");
    EXPECT_TRUE(std::isnan(r[1]));
    EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_ERRDOM);
}

// r2 is written before r1, so a one-result kernel (r1 and r2 the same vector) keeps r1.
TEST_F(Dispatch, AZeroCallbackReturnWritesR2ThenR1) {
    use(ARQ_ERRMODE_CALLBACK, [](ArqErrorContext *c) {
        c->r1 = 1.5;
        c->r2 = 2.5;
        return 0;
    });
    double a[3] = {0, 0, 0}, r[3] = {9, 9, 9}, r1[3] = {9, 9, 9}, r2[3] = {9, 9, 9};
    korb::vecmath::dispatch_error_d(ARQ_STATUS_SING, 2, a, a, r, r, "vdLn");
    EXPECT_EQ(r[2], 1.5);
    korb::vecmath::dispatch_error_d(ARQ_STATUS_SING, 2, a, a, r1, r2, "vdSinCos");
    EXPECT_EQ(r1[2], 1.5);
    EXPECT_EQ(r2[2], 2.5);
    EXPECT_EQ(r1[1], 9);
    EXPECT_EQ(r2[1], 9);
}

// The size and null-pointer statuses come from the calling layer: the vectors may be null and
// are never read or written, the index is the size as given (no base shift), values stay 0.
TEST_F(Dispatch, SizeAndPointerStatusesLeaveTheVectorsAlone) {
    ArqErrorContext seen{};
    use(ARQ_ERRMODE_CALLBACK, [&](ArqErrorContext *c) {
        seen = *c;
        c->r1 = 1;
        return 0;
    });
    double base[4] = {};
    korb_arq_kernel_SetInterfInputVectorPointer(base);
    korb::vecmath::dispatch_error_d(ARQ_STATUS_BADSIZE, -7, nullptr, nullptr, nullptr, nullptr,
                                    "vdExp");
    EXPECT_EQ(seen.code, ARQ_STATUS_BADSIZE);
    EXPECT_EQ(seen.index, -7);
    EXPECT_EQ(seen.a1, 0);
    EXPECT_EQ(seen.r1, 0);
    EXPECT_STREQ(seen.name, "vdExp");
    korb::vecmath::dispatch_error_z(ARQ_STATUS_BADMEM, 3, nullptr, nullptr, nullptr, nullptr,
                                    "vzExp");
    EXPECT_EQ(seen.code, ARQ_STATUS_BADMEM);
    EXPECT_EQ(seen.index, 3);
    EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_BADMEM);
}

TEST_F(Dispatch, NameIsCutAt64Characters) {
    std::string name(70, 'n');
    for (int i = 0; i < 70; ++i) name[i] = static_cast<char>('A' + i % 26);
    ArqErrorContext seen{};
    use(ARQ_ERRMODE_STDERR, [&](ArqErrorContext *c) {
        seen = *c;
        return 0;
    });
    double a[1] = {1}, r[1] = {2};
    for (size_t len : {70u, 64u, 63u, 0u}) {
        std::string n = name.substr(0, len);
        std::string out = capture_stdout(
            [&] { korb::vecmath::dispatch_error_d(ARQ_STATUS_ERRDOM, 0, a, a, r, r, n.c_str()); });
        const size_t kept = len < 64 ? len : 64;
        EXPECT_EQ(seen.name_len, static_cast<int>(kept)) << len;
        EXPECT_EQ(std::string(seen.name, seen.name_len), name.substr(0, kept)) << len;
        if (kept < 64) {
            EXPECT_EQ(seen.name[kept], '\0') << len;
        }
        EXPECT_EQ(
            out.substr(0, out.find('\n')),
            "Error (ARQ_STATUS_ERRDOM) in " + name.substr(0, kept) + ": argument is out of domain.")
            << len;
    }
}

TEST_F(Dispatch, ErrnoTakesTheValueOfTheStatus) {
    use(ARQ_ERRMODE_ERRNO);
    const std::pair<int, int> cases[] = {{ARQ_STATUS_OK, 0},
                                         {ARQ_STATUS_BADSIZE, 22},
                                         {ARQ_STATUS_BADMEM, 13},
                                         {ARQ_STATUS_ERRDOM, 33},
                                         {ARQ_STATUS_SING, 34},
                                         {ARQ_STATUS_OVERFLOW, 34},
                                         {ARQ_STATUS_UNDERFLOW, 34},
                                         {5, 14},
                                         {-3, 14}};
    double a[1] = {1}, r[1] = {1};
    for (auto [status, expected] : cases) {
        errno = 12345;
        korb::vecmath::dispatch_error_d(status, 0, a, a, r, r, "vdExp");
        EXPECT_EQ(errno, expected) << status;
    }
    // Without the errno bit errno is left alone.
    korb_arq_kernel_SetMode(ARQ_ERRMODE_EXCEPT);
    errno = 12345;
    korb::vecmath::dispatch_error_d(ARQ_STATUS_SING, 0, a, a, r, r, "vdExp");
    EXPECT_EQ(errno, 12345);
    std::feclearexcept(FE_ALL_EXCEPT);
}

TEST_F(Dispatch, ExceptionChannelRaisesTheMatchingFlag) {
    use(ARQ_ERRMODE_EXCEPT);
    const int kFlags = FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW;
    const std::pair<int, int> cases[] = {
        {ARQ_STATUS_ERRDOM, FE_INVALID},
        {ARQ_STATUS_SING, FE_DIVBYZERO},
        {ARQ_STATUS_OVERFLOW, FE_OVERFLOW},
        {ARQ_STATUS_UNDERFLOW, FE_UNDERFLOW},
        {ARQ_STATUS_OK, 0},
        {ARQ_STATUS_BADSIZE, 0},
        {ARQ_STATUS_BADMEM, 0},
        {7, 0},
    };
    double a[1] = {1}, r[1] = {1};
    for (auto [status, flag] : cases) {
        std::feclearexcept(FE_ALL_EXCEPT);
        korb::vecmath::dispatch_error_d(status, 0, a, a, r, r, "vdExp");
        const int raised = std::fetestexcept(kFlags);
        EXPECT_EQ(raised, flag) << status;
    }
    korb_arq_kernel_SetMode(ARQ_ERRMODE_ERRNO);
    std::feclearexcept(FE_ALL_EXCEPT);
    korb::vecmath::dispatch_error_d(ARQ_STATUS_OVERFLOW, 0, a, a, r, r, "vdExp");
    EXPECT_EQ(std::fetestexcept(kFlags), 0);
}

// The message channel, character for character: the status line, then the element's values as
// the arguments and results differ.
TEST_F(Dispatch, MessagesGiveTheStatusLineAndTheValues) {
    use(ARQ_ERRMODE_STDERR);
    auto report = [](int status, int index, double a, double b, double r1, double r2,
                     const char *name) {
        double va[4] = {}, vb[4] = {}, vr1[4] = {}, vr2[4] = {};
        va[index] = a;
        vb[index] = b;
        vr1[index] = r1;
        vr2[index] = r2;
        return capture_stdout(
            [&] { korb::vecmath::dispatch_error_d(status, index, va, vb, vr1, vr2, name); });
    };
    EXPECT_EQ(report(ARQ_STATUS_OK, 0, 1, 1, 2, 2, "vdExp"), "");
    EXPECT_EQ(capture_stdout([] {
                  korb::vecmath::dispatch_error_d(ARQ_STATUS_BADSIZE, -3, nullptr, nullptr, nullptr,
                                                  nullptr, "vdExp");
              }),
              "Error (ARQ_STATUS_BADSIZE) in vdExp: array size -3 is not positive.\n");
    EXPECT_EQ(capture_stdout([] {
                  korb::vecmath::dispatch_error_d(ARQ_STATUS_BADMEM, 0, nullptr, nullptr, nullptr,
                                                  nullptr, "vdLn");
              }),
              "Error (ARQ_STATUS_BADMEM) in vdLn: NULL pointer is passed.\n");
    // One argument, one result.
    EXPECT_EQ(report(ARQ_STATUS_SING, 0, 0, 0, -INFINITY, -INFINITY, "vdLn"),
              "Error (ARQ_STATUS_SING) in vdLn: argument caused singularity.\n"
              "a(0)=0\nr(0)=-inf\n");
    // One argument, two results.
    EXPECT_EQ(report(ARQ_STATUS_OVERFLOW, 1, 1e300, 1e300, INFINITY, 0.5, "vdSinCos"),
              "Error (ARQ_STATUS_OVERFLOW) in vdSinCos: argument caused overflow.\n"
              "a(1)=1e+300\ny(1)=inf\nz(1)=0.5\n");
    // Two arguments, one result.
    EXPECT_EQ(report(ARQ_STATUS_UNDERFLOW, 3, 1e-200, 2.5, 0, 0, "vdPow"),
              "Error (ARQ_STATUS_UNDERFLOW) in vdPow: argument caused underflow.\n"
              "a(3)=1e-200\nb(3)=2.5\ny(3)=0\n");
    // Two arguments, two results.
    EXPECT_EQ(report(ARQ_STATUS_ERRDOM, 0, -2, 3, 4, 5, "vdTest2"),
              "Error (ARQ_STATUS_ERRDOM) in vdTest2: argument is out of domain.\n"
              "a(0)=-2\nb(0)=3\ny(0)=4\nz(0)=5\n");
    // A second argument or second result of 0 counts as none.
    EXPECT_EQ(report(ARQ_STATUS_SING, 0, 7, 0, 8, 0, "vdTest2"),
              "Error (ARQ_STATUS_SING) in vdTest2: argument caused singularity.\n"
              "a(0)=7\nr(0)=8\n");
    // A NaN differs from itself: a NaN result is printed as two results, a NaN argument as two
    // arguments.
    EXPECT_EQ(report(ARQ_STATUS_ERRDOM, 2, -1, -1, NAN, NAN, "vdLn"),
              "Error (ARQ_STATUS_ERRDOM) in vdLn: argument is out of domain.\n"
              "a(2)=-1\ny(2)=nan\nz(2)=nan\n");
    EXPECT_EQ(report(ARQ_STATUS_ERRDOM, 0, NAN, NAN, NAN, NAN, "vdLn"),
              "Error (ARQ_STATUS_ERRDOM) in vdLn: argument is out of domain.\n"
              "a(0)=nan\nb(0)=nan\ny(0)=nan\nz(0)=nan\n");
    EXPECT_EQ(report(9, 1, 1, 1, 2, 2, "vdExp"), "Unknown error in vdExp.\na(1)=1\nr(1)=2\n");
}

TEST_F(Dispatch, MessagesUseTheShiftedIndexAndRealPartsOnly) {
    use(ARQ_ERRMODE_STDERR);
    ComplexDouble whole[50] = {}, r[10] = {};
    whole[40 + 3] = {-0.5, 9};
    r[3] = {1.25, 8};
    korb_arq_kernel_SetInterfInputVectorPointer(whole);
    const ComplexDouble *piece = whole + 40;
    EXPECT_EQ(capture_stdout([&] {
                  korb::vecmath::dispatch_error_z(ARQ_STATUS_ERRDOM, 3, piece, piece, r, r,
                                                  "vzAcos");
              }),
              "Error (ARQ_STATUS_ERRDOM) in vzAcos: argument is out of domain.\n"
              "a(43)=-0.5\nr(43)=1.25\n");
}

// The callback sees the record before the other channels, and the values it leaves there are
// the ones printed and written back.
TEST_F(Dispatch, ChannelsSeeWhatTheCallbackLeft) {
    use(ARQ_ERRMODE_STDERR, [](ArqErrorContext *c) {
        c->r1 = c->r2 = -744.5;
        return 0;
    });
    double a[1] = {0}, r[1] = {-INFINITY};
    EXPECT_EQ(capture_stdout(
                  [&] { korb::vecmath::dispatch_error_d(ARQ_STATUS_SING, 0, a, a, r, r, "vdLn"); }),
              "Error (ARQ_STATUS_SING) in vdLn: argument caused singularity.\n"
              "a(0)=0\nr(0)=-744.5\n");
    EXPECT_EQ(r[0], -744.5);
}

// A thread that has not read its mode yet starts from the default: errno and exception (and
// the callback, which it has not registered).
TEST(DispatchNewThread, StartsFromTheDefaultMode) {
    unsetenv("KORB_ARQ_MODE");
    in_new_thread([] {
        double a[1] = {800}, r[1] = {INFINITY};
        errno = 0;
        std::feclearexcept(FE_ALL_EXCEPT);
        korb::vecmath::dispatch_error_d(ARQ_STATUS_OVERFLOW, 0, a, a, r, r, "vdExp");
        EXPECT_EQ(errno, ERANGE);
        EXPECT_TRUE(std::fetestexcept(FE_OVERFLOW));
        EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_OVERFLOW);
        EXPECT_EQ(korb_arq_kernel_GetMode(), ARQ_MODE_DEFAULT);
    });
}

}  // namespace
