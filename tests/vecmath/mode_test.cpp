#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <latch>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "capture.h"
#include "korb/kernel/vm.h"
#include "korb_core.h"
#include "vecmath/mode.h"
#include "vecmath/new_thread.h"

namespace {

using korb::test::in_new_thread;
using korb::vecmath::kModeVariable;
using korb::vecmath::parse_mode_setting;

int callback_a(ArqErrorContext *) {
    return 0;
}
int callback_b(ArqErrorContext *) {
    return 1;
}

TEST(ModeSetting, KeywordsGiveTheirValuesAndCombineByOr) {
    const std::pair<const char *, std::uint32_t> cases[] = {
        {"ARQ_LA", 0x1},
        {"ARQ_HA", 0x2},
        {"ARQ_EP", 0x3},
        {"ARQ_DEFAULT_PRECISION", 0x0},
        {"ARQ_FLOAT_CONSISTENT", 0x10},
        {"ARQ_DOUBLE_CONSISTEN", 0x20},
        {"ARQ_RESTORE", 0x30},
        {"ARQ_ERRMODE_IGNORE", 0x100},
        {"ARQ_ERRMODE_ERRNO", 0x200},
        {"ARQ_ERRMODE_STDERR", 0x400},
        {"ARQ_ERRMODE_EXCEPT", 0x800},
        {"ARQ_ERRMODE_CALLBACK", 0x1000},
        {"ARQ_ERRMODE_DEFAULT", 0x1A00},
        {"ARQ_HA,ARQ_ERRMODE_STDERR", 0x402},
        {"ARQ_LA,ARQ_HA", 0x3},  // accuracies OR to EP
        {"ARQ_ERRMODE_ERRNO,ARQ_ERRMODE_CALLBACK,ARQ_RESTORE,ARQ_LA", 0x1231},
        {"ARQ_HA,ARQ_HA", 0x2},
    };
    for (auto [text, mode] : cases) {
        auto parsed = parse_mode_setting(text);
        ASSERT_TRUE(parsed.has_value()) << text;
        EXPECT_EQ(*parsed, mode) << text;
    }
}

TEST(ModeSetting, RejectsAnythingElse) {
    for (const char *text : {
             "",
             "arq_ha",
             " ARQ_HA",
             "AQ_HA",
             "ARQ_",
             "ARQ_ha",
             "ARQ_XY",
             "ARQ_LAX",                // a keyword must end at a comma or the end
             "ARQ_DOUBLE_CONSISTENT",  // "DOUBLE_CONSISTEN" matches, then "T" follows
             "ARQ_ERRMODE_STD",
             "ARQ_HA,",
             "ARQ_HA, ARQ_LA",  // the next token starts right after the comma
             "ARQ_HA,,ARQ_LA",
             "ARQ_HA;ARQ_LA",
             "ARQ_HA,HA",
         }) {
        EXPECT_FALSE(parse_mode_setting(text).has_value()) << '"' << text << '"';
    }
}

// The environment is read by each new thread; these tests set it, then start a thread.
class ModeEnvironment : public testing::Test {
  protected:
    void TearDown() override { unsetenv(kModeVariable); }

    static void set(const char *value) {
        if (value == nullptr) {
            unsetenv(kModeVariable);
        } else {
            setenv(kModeVariable, value, 1);
        }
    }

    // The mode and table index a new thread starts with under `value` (null: unset).
    static std::pair<unsigned, int> start_with(const char *value) {
        set(value);
        return in_new_thread([] {
            unsigned mode = korb_arq_kernel_GetMode();
            return std::pair{mode, korb_arq_kernel_GetTTableIndex()};
        });
    }
};

TEST_F(ModeEnvironment, NewThreadStartsFromTheVariableOrTheDefault) {
    using Start = std::pair<unsigned, int>;
    EXPECT_EQ(start_with(nullptr), (Start{0x1A02, 1}));
    EXPECT_EQ(start_with(""), (Start{0x1A02, 1}));
    EXPECT_EQ(start_with("ARQ_HA,ARQ_ERRMODE_STDERR"), (Start{0x402, 1}));
    EXPECT_EQ(start_with("ARQ_HA, ARQ_LA"), (Start{0x1A02, 1}));
    EXPECT_EQ(start_with("ARQ_LA,ARQ_HA"), (Start{0x3, 2}));
    EXPECT_EQ(start_with("ARQ_LA"), (Start{0x1, 0}));
    EXPECT_EQ(start_with("ARQ_DOUBLE_CONSISTENT"), (Start{0x1A02, 1}));
    // The precision-control group comes through the environment as it stands.
    EXPECT_EQ(start_with("ARQ_RESTORE,ARQ_EP"), (Start{0x33, 2}));
}

TEST_F(ModeEnvironment, AValidZeroIsReadAgainUntilSomethingIsStored) {
    set("ARQ_DEFAULT_PRECISION");
    in_new_thread([] {
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0u);
        EXPECT_EQ(korb_arq_kernel_GetTTableIndex(), -1);
        EXPECT_EQ(korb_arq_kernel_SetMode(0), 0u);
        set("ARQ_EP");
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x3u);
        set("ARQ_LA");
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x3u);  // stored now, no longer read
    });
}

TEST_F(ModeEnvironment, SetModeInitialisesBeforeMerging) {
    set("ARQ_RESTORE,ARQ_LA");
    in_new_thread([] {
        EXPECT_EQ(korb_arq_kernel_SetMode(ARQ_DENORMALS_KEEP), 0x31u);
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x140031u);
    });
}

// The value is read through a buffer of 256 bytes: characters after the 255th are not seen.
TEST_F(ModeEnvironment, OnlyTheFirst255CharactersAreRead) {
    std::string value = "ARQ_ERRMODE_STDERR";
    for (int i = 0; i < 4; ++i) value += ",ARQ_RESTORE";
    for (int i = 0; i < 27; ++i) value += ",ARQ_HA";
    ASSERT_EQ(value.size(), 255u);
    EXPECT_EQ(start_with((value + "garbage").c_str()).first, 0x432u);
    EXPECT_EQ(start_with((value.substr(0, 254) + "garbage").c_str()).first, 0x1A02u);
}

TEST(ModeServices, SetModeReplacesOnlyTheGroupsItNames) {
    unsetenv(kModeVariable);
    in_new_thread([] {
        EXPECT_EQ(korb_arq_kernel_SetMode(ARQ_DENORMALS_KEEP), 0x1A02u);
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x141A02u);
        EXPECT_EQ(korb_arq_kernel_SetMode(0), 0x141A02u);
        EXPECT_EQ(korb_arq_kernel_SetMode(0x30), 0x141A02u);  // not settable here
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x141A02u);
        korb_arq_kernel_SetMode(ARQ_EP | ARQ_ERRMODE_STDERR);
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x140403u);
        EXPECT_EQ(korb_arq_kernel_GetTTableIndex(), 2);
        // Every bit of the three groups is taken; bits outside them are not.
        korb_arq_kernel_SetMode(0xFFFFFFFFu);
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x3CFF0Fu);
        korb_arq_kernel_SetMode(ARQ_DENORMALS_FLUSH | 0x40000000u);
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x28FF0Fu);
    });
}

TEST(ModeServices, TableIndexOfAGivenModeReadsOnlyThatMode) {
    int unused = 7;
    EXPECT_EQ(korb_arq_kernel_GetTTableIndexM(nullptr, ARQ_LA), 0);
    EXPECT_EQ(korb_arq_kernel_GetTTableIndexM(&unused, ARQ_ERRMODE_DEFAULT | ARQ_EP), 2);
    EXPECT_EQ(korb_arq_kernel_GetTTableIndexM(&unused, ARQ_DENORMALS_KEEP | ARQ_RESTORE), -1);
}

TEST(StatusServices, SetAndClearReturnThePreviousStatus) {
    in_new_thread([] {
        EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_OK);
        EXPECT_EQ(korb_arq_kernel_SetErrStatus(ARQ_STATUS_OVERFLOW), ARQ_STATUS_OK);
        EXPECT_EQ(korb_arq_kernel_SetErrStatus(ARQ_STATUS_BADMEM), ARQ_STATUS_OVERFLOW);
        EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_BADMEM);
        EXPECT_EQ(korb_arq_kernel_ClearErrStatus(), ARQ_STATUS_BADMEM);
        EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_OK);
    });
}

TEST(CallbackServices, ACallbackTurnsTheCallbackBitOnAndNullTurnsItOff) {
    unsetenv(kModeVariable);
    in_new_thread([] {
        EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), nullptr);
        korb_arq_kernel_SetMode(ARQ_ERRMODE_STDERR);
        EXPECT_EQ(korb_arq_kernel_SetErrorCallBack(callback_a), nullptr);
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x1402u);
        EXPECT_EQ(korb_arq_kernel_SetErrorCallBack(callback_b), callback_a);
        EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), callback_b);
        EXPECT_EQ(korb_arq_kernel_SetErrorCallBack(nullptr), callback_b);
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x402u);
        korb_arq_kernel_SetErrorCallBack(callback_a);
        EXPECT_EQ(korb_arq_kernel_ClearErrorCallBack(), callback_a);
        EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), nullptr);
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x402u);
    });
}

// Clearing goes through SetMode, which keeps a group that would become 0.
TEST(CallbackServices, ClearingTheOnlyErrorModeBitKeepsIt) {
    unsetenv(kModeVariable);
    in_new_thread([] {
        korb_arq_kernel_SetMode(ARQ_ERRMODE_CALLBACK);
        korb_arq_kernel_SetErrorCallBack(callback_a);
        EXPECT_EQ(korb_arq_kernel_ClearErrorCallBack(), callback_a);
        EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), nullptr);
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x1002u);
    });
}

// Two threads live at the same time, each changing its own state between the other's checks.
TEST(ThreadState, ThreadsDoNotSeeEachOthersState) {
    unsetenv(kModeVariable);
    std::latch first_set(1);
    std::latch second_checked(1);
    std::thread first([&] {
        korb_arq_kernel_SetMode(ARQ_EP | ARQ_ERRMODE_STDERR | ARQ_DENORMALS_FLUSH);
        korb_arq_kernel_SetErrStatus(ARQ_STATUS_UNDERFLOW);
        korb_arq_kernel_SetErrorCallBack(callback_a);
        first_set.count_down();
        second_checked.wait();
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x281403u);
        EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_UNDERFLOW);
        EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), callback_a);
    });
    std::thread second([&] {
        first_set.wait();
        EXPECT_EQ(korb_arq_kernel_GetMode(), 0x1A02u);
        EXPECT_EQ(korb_arq_kernel_GetErrStatus(), ARQ_STATUS_OK);
        EXPECT_EQ(korb_arq_kernel_GetErrorCallBack(), nullptr);
        korb_arq_kernel_SetMode(ARQ_LA | ARQ_ERRMODE_IGNORE);
        korb_arq_kernel_SetErrStatus(ARQ_STATUS_ERRDOM);
        korb_arq_kernel_SetErrorCallBack(callback_b);
        second_checked.count_down();
    });
    first.join();
    second.join();
}

// The core library counts its live blocks: a thread's block is taken on its first service call
// and given back when the thread ends. Under the sanitizer build, a lost block is also a leak.
TEST(ThreadState, ABlockIsFreedWhenItsThreadExits) {
    const long live = korb_serv_live_blocks();
    in_new_thread([live] {
        korb_arq_kernel_GetErrStatus();
        EXPECT_EQ(korb_serv_live_blocks(), live + 1);
        korb_arq_kernel_SetMode(ARQ_LA);
        EXPECT_EQ(korb_serv_live_blocks(), live + 1);
    });
    EXPECT_EQ(korb_serv_live_blocks(), live);

    for (int round = 0; round < 50; ++round) {
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([i] {
                korb_arq_kernel_SetMode(i % 2 == 0 ? ARQ_DENORMALS_KEEP : ARQ_EP);
                korb_arq_kernel_SetErrStatus(i);
            });
        }
        for (std::thread &t : threads) t.join();
    }
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

TEST(ThreadStateDeathTest, ABlockThatCannotBeMadeEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            korb::test::stdout_to_stderr();
            korb_serv_fail_after(0);
            in_new_thread([] { korb_arq_kernel_GetMode(); });
            std::exit(0);
        },
        testing::ExitedWithCode(1), "^KORB FATAL ERROR: memory allocation error\\.\n$");
}

}  // namespace
