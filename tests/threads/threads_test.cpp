// Threads sharing the library: streams with shared chunks made, copied, saved, loaded and
// deleted from many threads at once; the shared table at its 127- and 128-entry limits under
// contention; each thread's own vector-math mode, status and callback; threads that come and go.
//
// These are the tests `make test-tsan` runs under the thread sanitizer; they run in the normal and
// the address-sanitizer builds too. Every worker records its first failure instead of asserting,
// so that the checks stay on the main thread.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <latch>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "korb/kernel/frame.h"
#include "korb/kernel/rng.h"
#include "korb/kernel/vm.h"
#include "korb_core.h"
#include "rng/stream.h"

namespace {

using korb::rng::shared_table_count;

constexpr int kThreads = 8;
constexpr int kOperations = 100000;  // stream operations over all threads

// The first failure any worker saw, kept for the main thread to report.
class Failures {
  public:
    void note(bool ok, const char *what) {
        if (ok) return;
        if (!failed_.exchange(true)) first_ = what;
    }
    bool any() const { return failed_.load(); }
    const char *first() const { return first_; }

  private:
    std::atomic<bool> failed_{false};
    const char *first_ = "";
};

// Runs body(t) in n threads that start together.
template <class F>
void run_threads(int n, F body) {
    std::latch start(n);
    std::vector<std::thread> threads;
    for (int t = 0; t < n; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            body(t);
        });
    }
    for (std::thread &t : threads) t.join();
}

// A shared block's contents depend only on its id, so any holder can check what it reads.
constexpr uint32_t kSharedSize = 96;
constexpr uint32_t kSharedKey = 70;
constexpr uint32_t kPrivateKey = 71;

unsigned char pattern(const uint64_t *id, uint32_t i) {
    return static_cast<unsigned char>(id[0] * 31 + id[1] * 7 + i);
}

void *shared_block(const uint64_t *id) {
    auto *p = static_cast<unsigned char *>(korbMalloc(kSharedSize, 64));
    if (p != nullptr) {
        for (uint32_t i = 0; i < kSharedSize; ++i) p[i] = pattern(id, i);
    }
    return p;
}

bool holds_pattern(const void *data, const uint64_t *id) {
    const auto *p = static_cast<const unsigned char *>(data);
    if (p == nullptr) return false;
    for (uint32_t i = 0; i < kSharedSize; ++i) {
        if (p[i] != pattern(id, i)) return false;
    }
    return true;
}

std::vector<uint32_t> draw(BixStream *s, int n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    if (__bixiBRngMT19937(s, n, r.data()) != BIX_ERROR_OK) r.clear();
    return r;
}

// One round of a worker: a seeded stream with a private chunk and a shared one (ids from a pool
// of four, so that threads keep meeting on the same entries), copied, saved and loaded again;
// the three streams must agree on their outputs and all see the shared block's contents.
void stream_round(int thread, int round, Failures &f) {
    const uint64_t id[2] = {static_cast<uint64_t>(round % 4 + 1), 0x5EED};
    const uint32_t seed = static_cast<uint32_t>(thread * 1000003 + round);
    BixStream *s = nullptr;
    f.note(__bixNewStreamEx(&s, BIX_BRNG_MT19937, 1, &seed) == BIX_ERROR_OK, "new stream");
    if (s == nullptr) return;
    auto *own = static_cast<uint32_t *>(korbMalloc(sizeof(uint32_t), 64));
    f.note(own != nullptr, "private block");
    if (own != nullptr) {
        *own = seed;
        f.note(__bixAddChunk(s, kPrivateKey, nullptr, own, sizeof *own) == BIX_ERROR_OK,
               "private chunk");
    }
    void *block = shared_block(id);
    f.note(block != nullptr && __bixAddChunk(s, kSharedKey, id, block, kSharedSize) == BIX_ERROR_OK,
           "shared chunk");
    f.note(holds_pattern(__bixSearchChunk(s, kSharedKey), id), "shared contents");

    BixStream *copy = nullptr;
    f.note(__bixCopyStream(&copy, s) == BIX_ERROR_OK, "copy");
    std::vector<char> image(static_cast<size_t>(__bixGetStreamSize(s)));
    f.note(__bixSaveStreamM(s, image.data()) == BIX_ERROR_OK, "save");
    BixStream *loaded = nullptr;
    f.note(__bixLoadStreamM(&loaded, image.data()) == BIX_ERROR_OK, "load");
    if (copy != nullptr && loaded != nullptr) {
        f.note(__bixSearchChunk(copy, kSharedKey) == __bixSearchChunk(s, kSharedKey),
               "the copy shares the block");
        f.note(holds_pattern(__bixSearchChunk(loaded, kSharedKey), id), "loaded contents");
        const auto *mine = static_cast<const uint32_t *>(__bixSearchChunk(loaded, kPrivateKey));
        f.note(mine != nullptr && *mine == seed, "loaded private chunk");
        const std::vector<uint32_t> first = draw(s, 8);
        f.note(!first.empty() && draw(copy, 8) == first && draw(loaded, 8) == first,
               "outputs agree");
    }
    __bixDeleteStream(&loaded);
    __bixDeleteStream(&s);
    __bixDeleteStream(&copy);
}

TEST(Threads, StreamsWithSharedChunks) {
    const long live = korb_serv_live_blocks();
    ASSERT_EQ(shared_table_count(), 0);
    Failures f;
    run_threads(kThreads, [&](int t) {
        for (int round = 0; round < kOperations / (5 * kThreads); ++round)
            stream_round(t, round, f);
    });
    EXPECT_FALSE(f.any()) << f.first();
    EXPECT_EQ(shared_table_count(), 0);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

// Sobol streams attach their direction-number table through the shared table: threads that
// make them together must end with one table each and the same points as one thread alone.
TEST(Threads, QuasiRandomStreamsShareTheirTable) {
    const long live = korb_serv_live_blocks();
    const uint32_t dim = 7;
    std::vector<double> expected(64);
    {
        BixStream *s = nullptr;
        ASSERT_EQ(__bixNewStreamEx(&s, BIX_BRNG_SOBOL, 1, &dim), BIX_ERROR_OK);
        ASSERT_EQ(__bixdBRngSobol(s, 64, expected.data(), 0.0, 1.0), BIX_ERROR_OK);
        __bixDeleteStream(&s);
    }
    Failures f;
    run_threads(kThreads, [&](int) {
        for (int round = 0; round < 50; ++round) {
            BixStream *s = nullptr;
            f.note(__bixNewStreamEx(&s, BIX_BRNG_SOBOL, 1, &dim) == BIX_ERROR_OK, "new Sobol");
            std::vector<double> r(64);
            f.note(s != nullptr && __bixdBRngSobol(s, 64, r.data(), 0.0, 1.0) == BIX_ERROR_OK &&
                       r == expected,
                   "Sobol points");
            __bixDeleteStream(&s);
        }
    });
    EXPECT_FALSE(f.any()) << f.first();
    EXPECT_EQ(shared_table_count(), 0);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

// The table filled to 126 entries; workers then attach and release chunks of four ids, which
// enter only while the table holds fewer than 127, while two workers make and drop entries of
// their own, so that the 128th slot is fought over and a 129th is refused. No id may ever appear
// twice, no reference may be lost, and every chunk must read its own id's contents whether it
// shares or holds a private copy.
TEST(Threads, SharedTableAtItsLimits) {
    const long live = korb_serv_live_blocks();
    ASSERT_EQ(shared_table_count(), 0);
    std::vector<std::array<uint64_t, 2>> fillers;
    for (uint64_t i = 0; i < 126; ++i) {
        fillers.push_back({1000 + i, 0xF111});
        BixGlobRODataEntry *e = nullptr;
        ASSERT_EQ(__bixCreateGlobRODataTableEntry(&e, fillers.back().data(),
                                                  shared_block(fillers.back().data())),
                  BIX_ERROR_OK);
    }

    Failures f;
    std::atomic<int> creations{0}, refusals{0};
    run_threads(kThreads, [&](int t) {
        if (t < 2) {
            // Direct entries, two kept at a time by each of two workers: with the 126 and the
            // chunks' entries that is more than 128, so some are refused.
            std::vector<std::array<uint64_t, 2>> mine;
            for (int round = 0; round < 2000; ++round) {
                const std::array<uint64_t, 2> id = {static_cast<uint64_t>(round) + 1, 0xD1EC7 + t};
                void *block = shared_block(id.data());
                BixGlobRODataEntry *e = nullptr;
                const int status = __bixCreateGlobRODataTableEntry(&e, id.data(), block);
                f.note(status == BIX_ERROR_OK || status == BIX_ERROR_GLOBAL_DATA_TABLE_FULL,
                       "create status");
                if (status == BIX_ERROR_OK) {
                    ++creations;
                    mine.push_back(id);
                } else {
                    ++refusals;
                    // A refused block stays the caller's, and the id is not in the table.
                    BixGlobRODataEntry *none = nullptr;
                    f.note(__bixFindGlobRODataTableEntry(&none, id.data()) ==
                               BIX_ERROR_GLOBAL_DATA_NOT_FOUND,
                           "refused entry present");
                    korbFree(block);
                }
                if (mine.size() > 2 || (status != BIX_ERROR_OK && !mine.empty())) {
                    __bixUnregisterGlobRODataReference(mine.front().data());
                    mine.erase(mine.begin());
                }
            }
            for (auto &id : mine) __bixUnregisterGlobRODataReference(id.data());
            return;
        }
        std::vector<BixStream *> held;
        for (int round = 0; round < 3000; ++round) {
            const uint64_t id[2] = {static_cast<uint64_t>((round + t) % 4 + 1), 0xC4A7};
            BixStream *s = nullptr;
            const uint32_t seed = static_cast<uint32_t>(round + 1);
            f.note(__bixNewStreamEx(&s, BIX_BRNG_MCG31M1, 1, &seed) == BIX_ERROR_OK, "new stream");
            if (s == nullptr) continue;
            f.note(__bixAddChunk(s, kSharedKey, id, shared_block(id), kSharedSize) == BIX_ERROR_OK,
                   "add chunk");
            f.note(holds_pattern(__bixSearchChunk(s, kSharedKey), id), "chunk contents");
            BixStream *copy = nullptr;
            f.note(__bixCopyStream(&copy, s) == BIX_ERROR_OK &&
                       holds_pattern(__bixSearchChunk(copy, kSharedKey), id),
                   "copied contents");
            __bixDeleteStream(&copy);
            // Keep a few streams alive for a while, so that entries live across rounds.
            held.push_back(s);
            if (held.size() > 3) {
                __bixDeleteStream(&held.front());
                held.erase(held.begin());
            }
        }
        for (BixStream *&s : held) __bixDeleteStream(&s);
    });
    EXPECT_FALSE(f.any()) << f.first();
    EXPECT_GT(creations.load(), 0);
    EXPECT_GT(refusals.load(), 0);
    EXPECT_EQ(shared_table_count(), 126);
    for (auto &id : fillers) __bixUnregisterGlobRODataReference(id.data());
    EXPECT_EQ(shared_table_count(), 0);
    EXPECT_EQ(korb_serv_live_blocks(), live);
    std::printf("direct entries made %d, refused %d\n", creations.load(), refusals.load());
}

// Each thread's own mode, status and callback: a callback counts only its own thread's events
// and sees the accuracy that thread chose; one thread's settings never show in another.
thread_local int t_callback_events = 0;

int count_event(ArqErrorContext *context) {
    ++t_callback_events;
    return context->code == ARQ_STATUS_ERRDOM || context->code == ARQ_STATUS_SING ? 0 : 1;
}

TEST(Threads, VectorMathStateIsPerThread) {
    Failures f;
    run_threads(kThreads, [&](int t) {
        const unsigned accuracy = static_cast<unsigned>(t % 3) + 1;  // LA, HA, EP
        const bool callback = t % 2 == 0;
        const unsigned errmode = callback ? ARQ_ERRMODE_CALLBACK : ARQ_ERRMODE_IGNORE;
        korb_arq_kernel_SetMode(accuracy | errmode | ARQ_DENORMALS_KEEP);
        if (callback) korb_arq_kernel_SetErrorCallBack(count_event);
        const double bad[4] = {1.0, -1.0, 0.0, 2.0};  // a domain error, then a singularity
        double r[4];
        for (int round = 0; round < 500; ++round) {
            korb_arq_kernel_ClearErrStatus();
            _arqdLn(4, bad, r);
            f.note(korb_arq_kernel_GetErrStatus() == ARQ_STATUS_SING, "status");
            f.note(
                std::isnan(r[1]) && r[2] == -std::numeric_limits<double>::infinity() && r[0] == 0.0,
                "results");
            f.note((korb_arq_kernel_GetMode() & ARQ_ACCURACY_MASK) == accuracy, "accuracy");
            f.note(korb_arq_kernel_GetTTableIndex() == static_cast<int>(accuracy) - 1, "slot");
            f.note((korb_arq_kernel_GetErrorCallBack() != nullptr) == callback, "callback");
            f.note(t_callback_events == (callback ? 2 * (round + 1) : 0), "callback events");
        }
    });
    EXPECT_FALSE(f.any()) << f.first();
    EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), nullptr);
    EXPECT_EQ(t_callback_events, 0);
}

// Threads that use the vector-math state and end: each one's block is freed when it ends, so
// the live blocks come back to where they were after every join.
TEST(Threads, PerThreadBlocksFreedWhenThreadsEnd) {
    korb_arq_kernel_GetMode();  // this thread's block exists before the count is taken
    const long live = korb_serv_live_blocks();
    Failures f;
    for (int round = 0; round < 200; ++round) {
        run_threads(4, [&](int t) {
            f.note(korb_serv_live_blocks() >= live, "count below the start");
            korb_arq_kernel_SetMode(ARQ_LA);
            korb_arq_kernel_SetErrStatus(t + 1);
            f.note(korb_arq_kernel_GetErrStatus() == t + 1, "status");
        });
        f.note(korb_serv_live_blocks() == live, "a thread's block outlived it");
    }
    EXPECT_FALSE(f.any()) << f.first();
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

}  // namespace
