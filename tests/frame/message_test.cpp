#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "capture.h"
#include "korb/kernel/frame.h"

namespace {

using korb::test::capture_stdout;
using korb::test::stdout_to_stderr;

// The frame's messages as korbMessage prints them with their arguments. Message 1 and 3 are
// printed by the loader's fatal paths (resolve_test.cpp) and 760 by the vector-math block's
// (vecmath/mode_test.cpp); 761 and up by the vector-math error modes (dispatch_test.cpp).
TEST(MessagePrinter, FormatsArgumentsThenNewline) {
    EXPECT_EQ(
        capture_stdout([] { korbMessage(4, KORB_MSG_CANNOT_LOAD_EITHER, 2, "a.so", "b.so"); }),
        "KORB FATAL ERROR: Cannot load a.so or b.so.\n");
    EXPECT_EQ(capture_stdout([] { korbMessage(2, KORB_MSG_CPU_TYPE_OVERRIDE, 1, 4); }),
              "KORB WARNING: KORB_DEBUG_CPU_TYPE=4 not convenient for this processor.\n");
    EXPECT_EQ(capture_stdout(
                  [] { korbMessage(4, KORB_MSG_LIBRARY_CLASS, 3, "libkorb_avx512.so", 4, 3); }),
              "KORB WARNING: library libkorb_avx512.so (KORB type 4) not convenient for this "
              "processor (KORB type 3).\n");
    EXPECT_EQ(capture_stdout([] { korbMessage(4, KORB_MSG_BAD_PARAMETER, 2, 3, "vdExp"); }),
              "KORB ERROR: Parameter 3 was incorrect on entry to vdExp.\n");
    EXPECT_EQ(capture_stdout([] { korbMessage(4, KORB_MSG_INTERNAL_CONDITION, 2, 17, "f"); }),
              "KORB INTERNAL ERROR: Condition 17 detected in function f.\n");
    EXPECT_EQ(capture_stdout([] { korbMessage(4, KORB_MSG_NO_WORK_MEMORY, 1, "f"); }),
              "KORB INTERNAL ERROR: Not enough work memory in function f.\n");
    EXPECT_EQ(capture_stdout([] { korbMessage(4, KORB_MSG_INCOMPATIBLE_OPTIONS, 1, "f"); }),
              "KORB ERROR: Incompatible optional parameters on entry to f.\n");
    EXPECT_EQ(capture_stdout([] { korbMessage(4, KORB_MSG_ARQ_VALUE_A, 2, 105, 0.5); }),
              "a(105)=0.5\n");
}

TEST(MessagePrinter, WithoutArgumentsPrintsTheTextAsItStands) {
    EXPECT_EQ(capture_stdout([] { korbMessage(4, KORB_MSG_CANNOT_LOAD, 0); }),
              "KORB FATAL ERROR: Cannot load %s.\n");
    EXPECT_EQ(capture_stdout([] { korbMessage(4, KORB_MSG_RULE, 0); }),
              std::string(79, '-') + "\n");
    EXPECT_EQ(capture_stdout([] { korbMessage(4, KORB_MSG_NEWLINE, 0); }), "\n\n");
}

TEST(MessagePrinter, UnknownNumberPrintsAnEmptyLine) {
    for (int number : {11, 999, -1}) {
        EXPECT_EQ(capture_stdout([number] { korbMessage(4, number, 0); }), "\n") << number;
    }
}

// Message 3 adds 42 characters to its argument, so an argument of 470 fills the buffer exactly.
TEST(MessagePrinter, TextOfExactlyTheBufferSizeIsPrinted) {
    const std::string name(KORB_MSG_BUFFER_SIZE - 42, 'f');
    std::string out =
        capture_stdout([&] { korbMessage(4, KORB_MSG_FUNCTION_MISSING, 1, name.c_str()); });
    EXPECT_EQ(out.size(), static_cast<size_t>(KORB_MSG_BUFFER_SIZE) + 1);
}

TEST(MessagePrinterDeathTest, OverflowEndsTheProcessWithCode8) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::string name(KORB_MSG_BUFFER_SIZE - 41, 'f');
    EXPECT_EXIT(
        {
            stdout_to_stderr();
            korbMessage(4, KORB_MSG_FUNCTION_MISSING, 1, name.c_str());
        },
        testing::ExitedWithCode(8),
        "^\nKORB INTERNAL ERROR: message buffer overflow\\.\n       Message N 3   Lenght: 513   "
        "Buffer size: 512\n$");
}

// A catalogue made with gencat, found through NLSPATH: its entries replace the built-in texts
// (entry n + 1 holds message n), and messages it lacks fall back to the table.
class MessageCatalogueDeathTest : public testing::Test {
  protected:
    void SetUp() override {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        dir_ =
            std::filesystem::temp_directory_path() / ("korb_msg_test_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir_);
        std::ofstream src(dir_ / "korb_msg.msg");
        src << "$set 1\n"
            << "1 \\n\n"
            << "2 Chargement impossible de %s.\\r\\n\n"
            << "4 Fonction %s introuvable.\n";
        src.close();
        std::string cmd =
            "gencat " + (dir_ / "korb_msg.cat").string() + " " + (dir_ / "korb_msg.msg").string();
        ASSERT_EQ(std::system(cmd.c_str()), 0) << cmd;
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }
    std::filesystem::path dir_;
};

TEST_F(MessageCatalogueDeathTest, EntriesComeFromTheCatalogue) {
    std::string nlspath = (dir_ / "%N.cat").string();
    EXPECT_EXIT(
        {
            setenv("NLSPATH", nlspath.c_str(), 1);
            stdout_to_stderr();
            korbMessage(4, KORB_MSG_CANNOT_LOAD, 1, "libx.so");
            korbMessage(4, KORB_MSG_CANNOT_LOAD_EITHER, 2, "a", "b");
            korbMessage(4, KORB_MSG_FUNCTION_MISSING, 1, "f");
            std::exit(0);
        },
        testing::ExitedWithCode(0),
        "^Chargement impossible de libx\\.so\\.\n"
        "KORB FATAL ERROR: Cannot load a or b\\.\n"
        "Fonction f introuvable\\.\n$");
}

}  // namespace
