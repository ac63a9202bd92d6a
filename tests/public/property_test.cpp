// Random calls of the vector-math, stream and statistics entry points of libkorb: sizes, nulls,
// modes, split parameters, estimate bits and method words drawn at random. A call either is
// refused with the status its first bad argument implies and touches nothing, or succeeds and
// writes only where it may.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "korb/korb.h"
#include "public/call_any.h"
#include "vecmath/functions.h"

namespace {

using korb::vecmath::KernelKind;

TEST(PublicProperty, VectorCallsAreRefusedOrWriteOnlyTheirResults) {
    struct Fn {
        void *v, *vm;
        const korb::vecmath::FunctionInfo *info;
    };
    std::vector<Fn> fns;
    for (const auto &f : korb::vecmath::kFunctions) {
        if (!f.built) continue;
        const std::string name = std::string(1, f.precision) + f.name;
        fns.push_back({dlsym(RTLD_DEFAULT, ("v" + name).c_str()),
                       dlsym(RTLD_DEFAULT, ("vm" + name).c_str()), &f});
        ASSERT_NE(fns.back().v, nullptr) << name;
        ASSERT_NE(fns.back().vm, nullptr) << name;
    }
    std::mt19937_64 g(25);
    constexpr int kMax = 70, kSlack = 8;
    const unsigned kModes[] = {ARQ_LA, ARQ_HA, ARQ_EP, ARQ_HA | ARQ_DENORMALS_FLUSH,
                               ARQ_EP | ARQ_DENORMALS_KEEP};
    korb_arq_SetMode(ARQ_ERRMODE_IGNORE);
    for (int trial = 0; trial < 4000; ++trial) {
        const Fn &f = fns[g() % fns.size()];
        const size_t size = static_cast<size_t>(korb::test::element_size(f.info->precision));
        const size_t rsize = static_cast<size_t>(korb::test::real_size(f.info->precision));
        const int n = static_cast<int>(g() % (kMax + 6)) - 5;
        std::vector<unsigned char> a((kMax + kSlack) * size), b(a.size()), r1(a.size()),
            r2(a.size());
        // Arguments as reals of the precision, complex ones as pairs of them.
        for (size_t i = 0; i < a.size() / rsize; ++i) {
            const double x = std::ldexp(std::uniform_real_distribution<double>(-1, 1)(g),
                                        static_cast<int>(g() % 24) - 12);
            if (rsize == 8) {
                std::memcpy(&a[i * rsize], &x, rsize);
            } else {
                const float xf = static_cast<float>(x);
                std::memcpy(&a[i * rsize], &xf, rsize);
            }
        }
        b = a;
        std::vector<std::int64_t> sel(kMax + kSlack);
        // Masks, or indices 0 and 1 to read from; UnpackV writes to index 0 only, inside n.
        const bool scatter = f.info->kind == KernelKind::unpack_vector;
        for (auto &k : sel) k = scatter ? 0 : static_cast<std::int64_t>(g() % 2);
        std::memset(r1.data(), 0xa5, r1.size());
        std::memset(r2.data(), 0xa5, r2.size());
        const std::vector<unsigned char> sentinel = r1;
        const bool null_a = g() % 10 == 0, null_r = g() % 10 == 0;
        const bool with_mode = g() % 2 == 0;
        const unsigned mode = kModes[g() % std::size(kModes)];
        const unsigned before = korb_arq_GetMode();
        korb_arq_ClearErrStatus();
        const korb::test::AnyArgs args{n,         null_a ? nullptr : a.data(),
                                       b.data(),  null_r ? nullptr : r1.data(),
                                       r2.data(), sel.data()};
        ASSERT_TRUE(korb::test::call_any(*f.info, with_mode ? f.vm : f.v,
                                         with_mode ? &mode : nullptr, args));
        const int status = korb_arq_GetErrStatus();
        const std::string what = std::string("v") + f.info->precision + f.info->name +
                                 " n=" + std::to_string(n) + (null_a ? " a=NULL" : "") +
                                 (null_r ? " r=NULL" : "");
        ASSERT_EQ(korb_arq_GetMode(), before) << what;
        const bool two_results = f.info->kind == KernelKind::pair;
        if (n <= 0) {
            ASSERT_EQ(status, ARQ_STATUS_BADSIZE) << what;
        } else if (null_a || null_r) {
            ASSERT_EQ(status, ARQ_STATUS_BADMEM) << what;
        } else {
            ASSERT_GE(status, 0) << what;
            ASSERT_LE(status, ARQ_STATUS_UNDERFLOW) << what;
        }
        const size_t out_size = f.info->kind == KernelKind::to_real ? rsize : size;
        const size_t written = status >= 0 && n > 0 ? static_cast<size_t>(n) * out_size : 0;
        ASSERT_EQ(std::memcmp(r1.data() + written, sentinel.data() + written, r1.size() - written),
                  0)
            << what;
        const size_t written2 = two_results ? written : 0;
        ASSERT_EQ(
            std::memcmp(r2.data() + written2, sentinel.data() + written2, r2.size() - written2), 0)
            << what;
    }
    korb_arq_SetMode(ARQ_ERRMODE_DEFAULT);
}

TEST(PublicProperty, StreamServicesAnswerEveryArgument) {
    std::mt19937_64 g(26);
    const int kIds[] = {BIX_BRNG_MCG31M1,
                        BIX_BRNG_R250,
                        BIX_BRNG_MRG32K3A,
                        BIX_BRNG_MCG59,
                        BIX_BRNG_WH,
                        BIX_BRNG_WH + 272,
                        BIX_BRNG_MT19937,
                        BIX_BRNG_MT2203,
                        BIX_BRNG_SFMT19937,
                        BIX_BRNG_SOBOL,
                        BIX_BRNG_NIEDERR,
                        0x7ff00000,
                        -1,
                        BIX_BRNG_WH + 273};
    int made = 0;
    for (int trial = 0; trial < 2000; ++trial) {
        BixStream *s = nullptr;
        const int id = kIds[g() % std::size(kIds)];
        const uint32_t seeds[3] = {static_cast<uint32_t>(g()), 7, static_cast<uint32_t>(g() % 5)};
        const int nseeds = static_cast<int>(g() % 5) - 1;
        const int status = bixNewStreamEx(&s, id, nseeds, seeds);
        if (nseeds < 0) {
            ASSERT_EQ(status, BIX_ERROR_BADARGS);
        }
        if (status != BIX_ERROR_OK) {
            ASSERT_EQ(s, nullptr) << "a failed creation leaves the pointer";
            continue;
        }
        ++made;
        const int op = static_cast<int>(g() % 3);
        int expect_refusal = 0;
        int st = 0;
        if (op == 0) {
            const int nstreams = static_cast<int>(g() % 8) - 2;
            const int k = static_cast<int>(g() % 10) - 2;
            st = bixLeapfrogStream(s, k, nstreams);
            if (nstreams < 1 || k < 0 || k >= nstreams) expect_refusal = BIX_ERROR_BADARGS;
        } else if (op == 1) {
            const long long nskip = g() % 4 == 0 ? -static_cast<long long>(g() % 100) - 1
                                                 : static_cast<long long>(g() % 5000);
            st = bixSkipAheadStream(s, nskip);
            if (nskip < 0) expect_refusal = BIX_ERROR_BADARGS;
        } else {
            BixStream *c = nullptr;
            st = bixCopyStream(&c, s);
            if (st == BIX_ERROR_OK) {
                ASSERT_EQ(bixDeleteStream(&c), BIX_ERROR_OK);
            }
        }
        if (expect_refusal != 0) {
            ASSERT_EQ(st, expect_refusal) << "op " << op << " id " << id;
        } else {
            ASSERT_TRUE(st == BIX_ERROR_OK || st == BIX_ERROR_LEAPFROG_UNSUPPORTED ||
                        st == BIX_ERROR_SKIPAHEAD_UNSUPPORTED || st == BIX_ERROR_BADARGS)
                << st << " op " << op << " id " << id;
        }
        // Whatever happened, the stream still draws or reports why not.
        double x[8];
        const int draw = bixdRngUniform(0, s, 8, x, 0, 1);
        ASSERT_TRUE(draw == BIX_ERROR_OK || draw == BIX_ERROR_BADARGS ||
                    draw == BIX_ERROR_QRNG_PERIOD_ELAPSED)
            << draw;
        ASSERT_EQ(bixDeleteStream(&s), BIX_ERROR_OK);
        ASSERT_EQ(s, nullptr);
    }
    EXPECT_GT(made, 500);
}

TEST(PublicProperty, ComputeAnswersEveryEstimateAndMethodWord) {
    std::mt19937_64 g(27);
    const int p = 3, n = 40, storage = BIX_SS_MATRIX_STORAGE_COLS;
    std::vector<double> x(p * n);
    for (double &v : x) v = std::uniform_real_distribution<double>(-5, 5)(g);
    constexpr int kResults = 16;  // the arrays every slot points at, with guards after p
    std::vector<std::vector<double>> slots(kResults, std::vector<double>(64, 0));
    const int norders = 2, nparams = 1, cov_storage = BIX_SS_COV_FULL;
    const double orders[2] = {0.25, 0.75};
    const int kMethods[] = {0, 1, 2, 0x100, 0x40, 0x80, 0x41, 0x42, 0xC1, 0x103, -1, 0x7fffffff};
    for (int trial = 0; trial < 2000; ++trial) {
        BixSSTask *task = nullptr;
        ASSERT_EQ(bixdSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr), BIX_ERROR_OK);
        for (auto &s : slots) std::fill(s.begin(), s.end(), 0.0);
        double eps = 0.01;
        // Register a random subset of the result slots.
        const int ids[] = {BIX_SS_ID_MEAN,      BIX_SS_ID_RAW2,     BIX_SS_ID_RAW3,
                           BIX_SS_ID_RAW4,      BIX_SS_ID_CEN2,     BIX_SS_ID_CEN3,
                           BIX_SS_ID_CEN4,      BIX_SS_ID_KURTOSIS, BIX_SS_ID_SKEWNESS,
                           BIX_SS_ID_VARIATION, BIX_SS_ID_MIN,      BIX_SS_ID_MAX,
                           BIX_SS_ID_COV,       BIX_SS_ID_COR,      BIX_SS_ID_QUANTILES};
        for (size_t k = 0; k < std::size(ids); ++k) {
            if (g() % 4 != 0) {
                ASSERT_EQ(bixdSSEditTask(task, ids[k], slots[k].data()), 0);
            }
        }
        if (g() % 2) {
            ASSERT_EQ(bixiSSEditTask(task, BIX_SS_ID_COV_STORAGE, &cov_storage), 0);
            ASSERT_EQ(bixiSSEditTask(task, BIX_SS_ID_COR_STORAGE, &cov_storage), 0);
        }
        if (g() % 2) {
            ASSERT_EQ(
                bixdSSEditQuantiles(task, const_cast<int *>(&norders), const_cast<double *>(orders),
                                    slots[14].data(), nullptr, nullptr),
                0);
        }
        if (g() % 2) {
            ASSERT_EQ(bixdSSEditStreamQuantiles(task, const_cast<int *>(&norders),
                                                const_cast<double *>(orders), slots[15].data(),
                                                const_cast<int *>(&nparams), &eps),
                      0);
        }
        uint64_t estimates = 0;
        for (int bits = static_cast<int>(g() % 4); bits >= 0; --bits) {
            estimates |= uint64_t{1} << (g() % 20);
        }
        if (g() % 20 == 0) estimates |= uint64_t{1} << (20 + g() % 44);
        const int method = kMethods[g() % std::size(kMethods)];
        const int status = bixdSSCompute(task, estimates, method);
        if ((estimates >> 20) != 0 || (estimates & 0xC000) != 0) {
            ASSERT_EQ(status, BIX_SS_ERROR_NO_ESTIMATOR) << std::hex << estimates;
        } else {
            ASSERT_TRUE(status == 0 || (status <= -4000 && status >= -4071)) << status;
        }
        if (status == BIX_SS_ERROR_NO_ESTIMATOR) {
            for (const auto &s : slots) {
                for (double v : s) ASSERT_EQ(v, 0.0);
            }
        }
        // Nothing is written past what a slot holds: p results (p * p for the matrices,
        // p * norders for the quantiles).
        for (size_t k = 0; k < slots.size(); ++k) {
            const size_t used = (k == 12 || k == 13) ? p * p : (k >= 14 ? p * norders : p);
            for (size_t i = used; i < slots[k].size(); ++i) ASSERT_EQ(slots[k][i], 0.0) << k;
        }
        ASSERT_EQ(bixSSDeleteTask(&task), BIX_ERROR_OK);
    }
}

}  // namespace
