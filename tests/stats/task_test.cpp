// The task record: creation checks, the parameter-id editors, the bulk editors and deletion.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "stats_test.h"

namespace {

using korb::test::Task;

Task new_task(int64_t p = 3, int64_t n = 4, int64_t storage = BIX_SS_MATRIX_STORAGE_COLS,
              const double *x = nullptr) {
    static int32_t ps, ns, ss;
    ps = static_cast<int32_t>(p);
    ns = static_cast<int32_t>(n);
    ss = static_cast<int32_t>(storage);
    BixSSTask *t = nullptr;
    EXPECT_EQ(__bixdSSNewTask(&t, &ps, &ns, &ss, x, nullptr, nullptr, 0), BIX_ERROR_OK);
    return Task(t);
}

void *slot(BixSSTask *t, size_t offset) {
    void *v;
    std::memcpy(&v, reinterpret_cast<unsigned char *>(t) + offset, sizeof v);
    return v;
}

TEST(SSNewTask, ChecksInOrder) {
    double x[4] = {};
    int32_t p = 2, bad_p = 0, n = 2, bad_n = 0, rows = BIX_SS_MATRIX_STORAGE_ROWS, both = 0x30000;
    BixSSTask *t = reinterpret_cast<BixSSTask *>(&p);  // must stay untouched on failure
    BixSSTask *const before = t;
    EXPECT_EQ(__bixdSSNewTask(&t, nullptr, &n, &rows, x, nullptr, nullptr, 0),
              BIX_SS_ERROR_BAD_DIMENSION);
    EXPECT_EQ(__bixdSSNewTask(&t, &bad_p, nullptr, nullptr, x, nullptr, nullptr, 0),
              BIX_SS_ERROR_BAD_DIMENSION);
    EXPECT_EQ(__bixdSSNewTask(&t, &p, nullptr, nullptr, x, nullptr, nullptr, 0),
              BIX_SS_ERROR_NULL_STORAGE);
    EXPECT_EQ(__bixdSSNewTask(&t, &p, nullptr, &both, x, nullptr, nullptr, 0),
              BIX_SS_ERROR_BAD_STORAGE);
    EXPECT_EQ(
        __bixsSSNewTask(&t, &p, &bad_n, &rows, reinterpret_cast<float *>(x), nullptr, nullptr, 0),
        BIX_SS_ERROR_BAD_NOBS);
    EXPECT_EQ(__bixdSSNewTask(&t, &p, nullptr, &rows, x, nullptr, nullptr, 0),
              BIX_SS_ERROR_BAD_NOBS);
    EXPECT_EQ(t, before);
}

TEST(SSNewTask, NullObservationsSkipTheirChecks) {
    int32_t p = 5;
    BixSSTask *t = nullptr;
    ASSERT_EQ(__bixsSSNewTask(&t, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0),
              BIX_ERROR_OK);
    Task owned(t);
    EXPECT_EQ(t->precision, 0);
    EXPECT_EQ(t->n, nullptr);
    EXPECT_EQ(t->x_storage, nullptr);
}

TEST(SSNewTask, StoresTheArgumentsIntoAZeroedRecord) {
    double x[6] = {}, w[3] = {};
    int32_t p = 2, n = 3, s = BIX_SS_MATRIX_STORAGE_ROWS, idx[2] = {1, 0};
    BixSSTask *t = nullptr;
    ASSERT_EQ(__bixdSSNewTask(&t, &p, &n, &s, x, w, idx, 0), BIX_ERROR_OK);
    Task owned(t);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(t) % 128, 0u);
    EXPECT_EQ(t->int_width, 0u);
    EXPECT_EQ(t->mode, 2);
    EXPECT_EQ(t->precision, 1);
    EXPECT_EQ(t->p, &p);
    EXPECT_EQ(t->n, &n);
    EXPECT_EQ(t->x_storage, &s);
    EXPECT_EQ(t->x, x);
    EXPECT_EQ(t->weights, w);
    EXPECT_EQ(t->indices, idx);
    for (size_t off = offsetof(BixSSTask, accum_weights); off < sizeof(BixSSTask); off += 8) {
        if (off == offsetof(BixSSTask, x_storage)) continue;
        EXPECT_EQ(slot(t, off), nullptr) << "offset " << off;
    }
}

TEST(SSNewTask, WideIntegersAreReadAsSixtyFourBits) {
    // p's low half is 3 and its high half all ones: positive read as 32 bits, negative as 64;
    // n = 2^32 is 0 read as 32 bits and valid as 64.
    double x[1] = {};
    int64_t p = -(int64_t{1} << 32) + 3, n = int64_t{1} << 32, s = BIX_SS_MATRIX_STORAGE_COLS;
    int64_t good_p = 3;
    BixSSTask *t = nullptr;
    EXPECT_EQ(__bixdSSNewTask(&t, &p, &n, &s, x, nullptr, nullptr, 1), BIX_SS_ERROR_BAD_DIMENSION);
    EXPECT_EQ(__bixdSSNewTask(&t, &p, &n, &s, x, nullptr, nullptr, 0), BIX_SS_ERROR_BAD_NOBS);
    ASSERT_EQ(__bixdSSNewTask(&t, &good_p, &n, &s, x, nullptr, nullptr, 1), BIX_ERROR_OK);
    EXPECT_NE(t->int_width, 0u);
    __bixSSDeleteTask(&t);
}

TEST(SSNewTask, AllocationFailureStoresNull) {
    int32_t p = 1;
    BixSSTask *t = reinterpret_cast<BixSSTask *>(&p);
    korb::test::sweep_ss_allocation_failures([&] {
        int status = __bixdSSNewTask(&t, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0);
        if (status != BIX_ERROR_OK) {
            EXPECT_EQ(t, nullptr);
        }
        __bixSSDeleteTask(&t);
        return status;
    });
}

struct IdCase {
    int id;
    char editor;  // 'd' or 'i'
    size_t offset;
    int null_status;
};

// The whole id table, written out from the task's documentation independently of the code.
const std::vector<IdCase> kIdTable = {
    {1, 'i', offsetof(BixSSTask, p), -4001},
    {2, 'i', offsetof(BixSSTask, n), -4002},
    {3, 'd', offsetof(BixSSTask, x), -4032},
    {4, 'i', offsetof(BixSSTask, x_storage), -4044},
    {5, 'i', offsetof(BixSSTask, indices), -4004},
    {6, 'd', offsetof(BixSSTask, weights), -4005},
    {7, 'd', offsetof(BixSSTask, mean), -4006},
    {8, 'd', offsetof(BixSSTask, raw2), -4007},
    {9, 'd', offsetof(BixSSTask, raw3), -4008},
    {10, 'd', offsetof(BixSSTask, raw4), -4009},
    {11, 'd', offsetof(BixSSTask, cen2), -4010},
    {12, 'd', offsetof(BixSSTask, cen3), -4011},
    {13, 'd', offsetof(BixSSTask, cen4), -4012},
    {14, 'd', offsetof(BixSSTask, kurtosis), -4013},
    {15, 'd', offsetof(BixSSTask, skewness), -4014},
    {16, 'd', offsetof(BixSSTask, min), -4015},
    {17, 'd', offsetof(BixSSTask, max), -4016},
    {18, 'd', offsetof(BixSSTask, variation), -4017},
    {19, 'd', offsetof(BixSSTask, cov), -4018},
    {20, 'i', offsetof(BixSSTask, cov_storage), -4044},
    {21, 'd', offsetof(BixSSTask, cor), -4019},
    {22, 'i', offsetof(BixSSTask, cor_storage), -4044},
    {23, 'd', offsetof(BixSSTask, accum_weights), -4020},
    {24, 'i', offsetof(BixSSTask, quant_norders), -4022},
    {25, 'd', offsetof(BixSSTask, quant_orders), -4021},
    {26, 'd', offsetof(BixSSTask, quantiles), -4023},
    {27, 'd', offsetof(BixSSTask, order_stats), -4024},
    {28, 'i', offsetof(BixSSTask, pooled) + 0 * 8, -4038},
    {29, 'i', offsetof(BixSSTask, pooled) + 7 * 8, -4044},
    {30, 'd', offsetof(BixSSTask, pooled) + 5 * 8, -4035},
    {31, 'd', offsetof(BixSSTask, pooled) + 6 * 8, -4034},
    {32, 'i', offsetof(BixSSTask, pooled) + 1 * 8, -4038},
    {33, 'd', offsetof(BixSSTask, pooled) + 2 * 8, -4037},
    {34, 'i', offsetof(BixSSTask, pooled) + 4 * 8, -4044},
    {35, 'd', offsetof(BixSSTask, pooled) + 3 * 8, -4036},
    {36, 'i', offsetof(BixSSTask, robust_cov_storage), -4044},
    {37, 'i', offsetof(BixSSTask, robust_nparams), -4043},
    {38, 'd', offsetof(BixSSTask, robust_params), -4042},
    {39, 'd', offsetof(BixSSTask, robust_mean), -4028},
    {40, 'd', offsetof(BixSSTask, robust_cov), -4027},
    {41, 'i', offsetof(BixSSTask, outlier_nparams), -4040},
    {42, 'd', offsetof(BixSSTask, outlier_params), -4039},
    {43, 'd', offsetof(BixSSTask, outlier_weights), -4041},
    {44, 'i', offsetof(BixSSTask, order_stats_storage), -4044},
    {45, 'i', offsetof(BixSSTask, partial) + 0 * 8, -4045},
    {46, 'd', offsetof(BixSSTask, partial) + 1 * 8, -4046},
    {47, 'i', offsetof(BixSSTask, partial) + 2 * 8, -4044},
    {48, 'd', offsetof(BixSSTask, partial) + 3 * 8, -4047},
    {49, 'i', offsetof(BixSSTask, partial) + 4 * 8, -4044},
    {50, 'i', offsetof(BixSSTask, missing) + 0 * 8, -4049},
    {51, 'd', offsetof(BixSSTask, missing) + 1 * 8, -4048},
    {52, 'i', offsetof(BixSSTask, missing) + 2 * 8, -4052},
    {53, 'd', offsetof(BixSSTask, missing) + 3 * 8, -4053},
    {54, 'i', offsetof(BixSSTask, missing) + 6 * 8, -4055},
    {55, 'd', offsetof(BixSSTask, missing) + 7 * 8, -4054},
    {56, 'i', offsetof(BixSSTask, missing) + 8 * 8, -4056},
    {57, 'd', offsetof(BixSSTask, missing) + 9 * 8, -4057},
    {58, 'i', offsetof(BixSSTask, missing) + 4 * 8, -4061},
    {59, 'd', offsetof(BixSSTask, missing) + 5 * 8, -4062},
    {60, 'd', offsetof(BixSSTask, param_cor), -4071},
    {61, 'i', offsetof(BixSSTask, param_cor_storage), -4044},
    {62, 'i', offsetof(BixSSTask, stream_nparams), -4066},
    {63, 'd', offsetof(BixSSTask, stream_params), -4065},
    {64, 'i', offsetof(BixSSTask, stream_norders), -4069},
    {65, 'd', offsetof(BixSSTask, stream_orders), -4068},
    {66, 'd', offsetof(BixSSTask, stream_quantiles), -4070},
};

int edit(char editor, BixSSTask *t, int id, const void *v) {
    switch (editor) {
        case 'd':
            return __bixdSSEditTask(t, id, static_cast<const double *>(v));
        case 's':
            return __bixsSSEditTask(t, id, static_cast<const float *>(v));
        default:
            return __bixiSSEditTask(t, id, v);
    }
}

TEST(SSEditTask, EveryIdReachesItsSlotAndOnlyItsEditor) {
    Task t = new_task();
    double marker[1];
    for (const IdCase &c : kIdTable) {
        SCOPED_TRACE(c.id);
        const std::vector<char> own =
            c.editor == 'd' ? std::vector<char>{'d', 's'} : std::vector<char>{'i'};
        const char other = c.editor == 'd' ? 'i' : 'd';
        void *const before = slot(t.get(), c.offset);
        EXPECT_EQ(edit(other, t.get(), c.id, marker), BIX_ERROR_BADARGS);
        for (char e : own) {
            EXPECT_EQ(edit(e, t.get(), c.id, nullptr), c.null_status);
            EXPECT_EQ(slot(t.get(), c.offset), before);
        }
        for (char e : own) {
            EXPECT_EQ(edit(e, t.get(), c.id, marker + 0), BIX_ERROR_OK);
            EXPECT_EQ(slot(t.get(), c.offset), marker);
        }
        // No other slot moved.
        for (const IdCase &o : kIdTable) {
            if (o.offset != c.offset) {
                EXPECT_NE(slot(t.get(), o.offset), marker) << o.id;
            }
        }
        ASSERT_EQ(edit(c.editor, t.get(), c.id, before == nullptr ? nullptr : before),
                  before == nullptr ? c.null_status : BIX_ERROR_OK);
        std::memset(reinterpret_cast<unsigned char *>(t.get()) + c.offset, 0, 8);
    }
}

TEST(SSEditTask, IdsOutsideTheRangeAndNullTask) {
    Task t = new_task();
    const BixSSTask copy = *t;
    double v;
    for (int id : {-1, 0, 1, 2, 67, 1000}) EXPECT_EQ(__bixdSSEditTask(t.get(), id, &v), -3) << id;
    for (int id : {-1, 0, 65, 66, 67}) EXPECT_EQ(__bixiSSEditTask(t.get(), id, &v), -3) << id;
    // An unknown id is refused before the null value is looked at.
    EXPECT_EQ(__bixiSSEditTask(t.get(), 65, nullptr), -3);
    EXPECT_EQ(std::memcmp(&copy, t.get(), sizeof copy), 0);
    EXPECT_EQ(__bixdSSEditTask(nullptr, 3, &v), BIX_SS_ERROR_NULL_TASK);
    EXPECT_EQ(__bixsSSEditTask(nullptr, 3, nullptr), BIX_SS_ERROR_NULL_TASK);
    EXPECT_EQ(__bixiSSEditTask(nullptr, 1000, nullptr), BIX_SS_ERROR_NULL_TASK);
}

// Each bulk editor with distinct non-null arguments writes exactly the ids listed, in order.
struct BulkCase {
    const char *name;
    std::vector<int> ids;
    int (*call)(BixSSTask *, void *const *args);
};

#define ARG(k) static_cast<double *>(a[k])
#define IARG(k) a[k]
#define FARG(k) static_cast<float *>(a[k])

const std::vector<BulkCase> kBulk = {
    {"Moments",
     {7, 8, 9, 10, 11, 12, 13},
     [](BixSSTask *t, void *const *a) {
         return __bixdSSEditMoments(t, ARG(0), ARG(1), ARG(2), ARG(3), ARG(4), ARG(5), ARG(6));
     }},
    {"sMoments",
     {7, 8, 9, 10, 11, 12, 13},
     [](BixSSTask *t, void *const *a) {
         return __bixsSSEditMoments(t, FARG(0), FARG(1), FARG(2), FARG(3), FARG(4), FARG(5),
                                    FARG(6));
     }},
    {"CovCor",
     {7, 19, 20, 21, 22},
     [](BixSSTask *t, void *const *a) {
         return __bixdSSEditCovCor(t, ARG(0), ARG(1), IARG(2), ARG(3), IARG(4));
     }},
    {"sCovCor",
     {7, 19, 20, 21, 22},
     [](BixSSTask *t, void *const *a) {
         return __bixsSSEditCovCor(t, FARG(0), FARG(1), IARG(2), FARG(3), IARG(4));
     }},
    {"MtxParametrz",
     {21, 22, 60, 61},
     [](BixSSTask *t, void *const *a) {
         return __bixdSSEditMtxParametrz(t, ARG(0), IARG(1), ARG(2), IARG(3));
     }},
    {"sMtxParametrz",
     {21, 22, 60, 61},
     [](BixSSTask *t, void *const *a) {
         return __bixsSSEditMtxParametrz(t, FARG(0), IARG(1), FARG(2), IARG(3));
     }},
    {"OutDetect",
     {41, 42, 43},
     [](BixSSTask *t, void *const *a) {
         return __bixdSSEditOutDetect(t, IARG(0), ARG(1), ARG(2));
     }},
    {"sOutDetect",
     {41, 42, 43},
     [](BixSSTask *t, void *const *a) {
         return __bixsSSEditOutDetect(t, IARG(0), FARG(1), FARG(2));
     }},
    {"PooledCovariance",
     {28, 30, 31, 32, 33, 35},
     [](BixSSTask *t, void *const *a) {
         return __bixdSSEditPooledCovariance(t, IARG(0), ARG(1), ARG(2), IARG(3), ARG(4), ARG(5));
     }},
    {"sPooledCovariance",
     {28, 30, 31, 32, 33, 35},
     [](BixSSTask *t, void *const *a) {
         return __bixsSSEditPooledCovariance(t, IARG(0), FARG(1), FARG(2), IARG(3), FARG(4),
                                             FARG(5));
     }},
    {"Quantiles",
     {24, 25, 26, 27, 44},
     [](BixSSTask *t, void *const *a) {
         return __bixdSSEditQuantiles(t, IARG(0), ARG(1), ARG(2), ARG(3), IARG(4));
     }},
    {"sQuantiles",
     {24, 25, 26, 27, 44},
     [](BixSSTask *t, void *const *a) {
         return __bixsSSEditQuantiles(t, IARG(0), FARG(1), FARG(2), FARG(3), IARG(4));
     }},
    {"MissingVals",
     {50, 51, 52, 53, 58, 59, 54, 55, 56, 57},
     [](BixSSTask *t, void *const *a) {
         return __bixdSSEditMissingVals(t, IARG(0), ARG(1), IARG(2), ARG(3), IARG(4), ARG(5),
                                        IARG(6), ARG(7), IARG(8), ARG(9));
     }},
    {"sMissingVals",
     {50, 51, 52, 53, 58, 59, 54, 55, 56, 57},
     [](BixSSTask *t, void *const *a) {
         return __bixsSSEditMissingVals(t, IARG(0), FARG(1), IARG(2), FARG(3), IARG(4), FARG(5),
                                        IARG(6), FARG(7), IARG(8), FARG(9));
     }},
    {"PartialCovCor",
     {45, 19, 20, 21, 22, 46, 47, 48, 49},
     [](BixSSTask *t, void *const *a) {
         return __bixdSSEditPartialCovCor(t, IARG(0), ARG(1), IARG(2), ARG(3), IARG(4), ARG(5),
                                          IARG(6), ARG(7), IARG(8));
     }},
    {"sPartialCovCor",
     {45, 19, 20, 21, 22, 46, 47, 48, 49},
     [](BixSSTask *t, void *const *a) {
         return __bixsSSEditPartialCovCor(t, IARG(0), FARG(1), IARG(2), FARG(3), IARG(4), FARG(5),
                                          IARG(6), FARG(7), IARG(8));
     }},
    {"RCov",
     {36, 37, 38, 39, 40},
     [](BixSSTask *t, void *const *a) {
         return __bixdSSEditRCov(t, IARG(0), IARG(1), ARG(2), ARG(3), ARG(4));
     }},
    {"sRCov",
     {36, 37, 38, 39, 40},
     [](BixSSTask *t, void *const *a) {
         return __bixsSSEditRCov(t, IARG(0), IARG(1), FARG(2), FARG(3), FARG(4));
     }},
    {"StreamQuantiles",
     {64, 65, 66, 62, 63},
     [](BixSSTask *t, void *const *a) {
         return __bixdSSEditStreamQuantiles(t, IARG(0), ARG(1), ARG(2), IARG(3), ARG(4));
     }},
    {"sStreamQuantiles",
     {64, 65, 66, 62, 63},
     [](BixSSTask *t, void *const *a) {
         return __bixsSSEditStreamQuantiles(t, IARG(0), FARG(1), FARG(2), IARG(3), FARG(4));
     }},
};

size_t offset_of_id(int id) {
    for (const IdCase &c : kIdTable) {
        if (c.id == id) return c.offset;
    }
    ADD_FAILURE() << "no id " << id;
    return 0;
}

TEST(SSBulkEditors, StoreNonNullArgumentsInTheirSlots) {
    double storage[10];
    for (const BulkCase &b : kBulk) {
        SCOPED_TRACE(b.name);
        Task t = new_task();
        void *args[10] = {};
        // All null: nothing changes.
        const BixSSTask before = *t;
        EXPECT_EQ(b.call(t.get(), args), BIX_ERROR_OK);
        EXPECT_EQ(std::memcmp(&before, t.get(), sizeof before), 0);
        EXPECT_EQ(b.call(nullptr, args), BIX_SS_ERROR_NULL_TASK);
        // Every argument: each lands in its id's slot, and nothing else moves.
        for (size_t k = 0; k < b.ids.size(); ++k) args[k] = &storage[k];
        ASSERT_EQ(b.call(t.get(), args), BIX_ERROR_OK);
        BixSSTask expected = before;
        for (size_t k = 0; k < b.ids.size(); ++k) {
            EXPECT_EQ(slot(t.get(), offset_of_id(b.ids[k])), &storage[k]) << "id " << b.ids[k];
            std::memcpy(reinterpret_cast<unsigned char *>(&expected) + offset_of_id(b.ids[k]),
                        &args[k], 8);
        }
        EXPECT_EQ(std::memcmp(&expected, t.get(), sizeof expected), 0);
        // Some null: those slots keep the earlier pointers.
        void *partial[10] = {};
        partial[1] = &storage[9];
        ASSERT_EQ(b.call(t.get(), partial), BIX_ERROR_OK);
        EXPECT_EQ(slot(t.get(), offset_of_id(b.ids[0])), &storage[0]);
        EXPECT_EQ(slot(t.get(), offset_of_id(b.ids[1])), &storage[9]);
    }
}

int hook_calls = 0;
void counting_hook(BixSSTask *task) {
    ++hook_calls;
    // The first call registers one more; the count is re-read, so the hook runs again.
    if (hook_calls == 1) ++task->cleanup_count;
}

TEST(SSDeleteTask, RunsHooksFreesAndNulls) {
    EXPECT_EQ(__bixSSDeleteTask(nullptr), BIX_SS_ERROR_NULL_TASK);
    BixSSTask *t = nullptr;
    EXPECT_EQ(__bixSSDeleteTask(&t), BIX_SS_ERROR_NULL_TASK);

    const long live = korb_serv_live_blocks();
    t = new_task().release();
    hook_calls = 0;
    ASSERT_EQ(__bixSSDeleteTask(&t), BIX_ERROR_OK);
    EXPECT_EQ(t, nullptr);
    EXPECT_EQ(hook_calls, 0);
    EXPECT_EQ(korb_serv_live_blocks(), live);

    t = new_task().release();
    t->cleanup = counting_hook;
    t->cleanup_count = 1;
    ASSERT_EQ(__bixSSDeleteTask(&t), BIX_ERROR_OK);
    EXPECT_EQ(hook_calls, 2);
    EXPECT_EQ(t, nullptr);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

}  // namespace
