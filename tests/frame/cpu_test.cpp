#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "frame/cpu.h"
#include "korb/kernel/frame.h"

namespace {

using korb::frame::parse_cpu_override;

TEST(CpuOverride, ForcesClassesZeroToFive) {
    for (int c = 0; c <= 5; ++c) EXPECT_EQ(parse_cpu_override(std::to_string(c).c_str()), c);
    EXPECT_EQ(parse_cpu_override("3abc"), 3);  // the number at the start counts
    EXPECT_EQ(parse_cpu_override(" 2"), 2);
}

TEST(CpuOverride, ZeroCountsOnlyForTheExactText) {
    EXPECT_EQ(parse_cpu_override("0"), 0);
    EXPECT_EQ(parse_cpu_override("abc"), -1);
    EXPECT_EQ(parse_cpu_override(""), -1);
    EXPECT_EQ(parse_cpu_override("00"), -1);
    EXPECT_EQ(parse_cpu_override("0 "), -1);
    EXPECT_EQ(parse_cpu_override("-0"), -1);
}

TEST(CpuOverride, SixAndAboveAndNegativesAreIgnored) {
    EXPECT_EQ(parse_cpu_override(nullptr), -1);
    EXPECT_EQ(parse_cpu_override("6"), -1);
    EXPECT_EQ(parse_cpu_override("7"), -1);
    EXPECT_EQ(parse_cpu_override("99999999999999999999"), -1);
    EXPECT_EQ(parse_cpu_override("-1"), -1);
}

TEST(CpuOverride, ReadsOnlyTheFirst32Characters) {
    EXPECT_EQ(parse_cpu_override((std::string(31, ' ') + "4").c_str()), 4);
    EXPECT_EQ(parse_cpu_override((std::string(32, ' ') + "4").c_str()), -1);
}

// The detected class agrees with the compiler's own feature probe, which also checks that the
// operating system saves the AVX and AVX-512 state.
TEST(CpuDetect, AgreesWithTheCompilersFeatureProbe) {
    __builtin_cpu_init();
    bool v2 = __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("popcnt") &&
              __builtin_cpu_supports("ssse3");
    bool avx = v2 && __builtin_cpu_supports("avx");
    bool v3 = avx && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
              __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    bool v4 = v3 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
              __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
    int expected = v4 ? 4 : v3 ? 3 : avx ? 2 : v2 ? 1 : 0;
    EXPECT_EQ(korb::frame::detect_cpu_class(), expected);
}

TEST(CpuType, KernelLibraryServesTheGenericClass) {
    EXPECT_EQ(dll_cpu_version(), 0);
}

// The environment is read once per process, so each case runs in a fresh one and reports
// (class * 10 + forced) through its exit code.
int class_in_fresh_process(const char *value) {
    if (value != nullptr) {
        setenv("KORB_DEBUG_CPU_TYPE", value, 1);
    } else {
        unsetenv("KORB_DEBUG_CPU_TYPE");
    }
    int forced = -1;
    int c = korbGetCpuType(&forced);
    if (korb::frame::processor_type_word() != (forced ? c : KORB_CPU_TYPE_DETECTED)) return 99;
    return c * 10 + forced;
}

TEST(CpuTypeDeathTest, EnvironmentOverride) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const int detected = korb::frame::detect_cpu_class();
    EXPECT_EXIT(std::exit(class_in_fresh_process("0")), testing::ExitedWithCode(1), "");
    EXPECT_EXIT(std::exit(class_in_fresh_process("2")), testing::ExitedWithCode(21), "");
    EXPECT_EXIT(std::exit(class_in_fresh_process("5")), testing::ExitedWithCode(51), "");
    EXPECT_EXIT(std::exit(class_in_fresh_process("abc")), testing::ExitedWithCode(detected * 10),
                "");
    EXPECT_EXIT(std::exit(class_in_fresh_process("6")), testing::ExitedWithCode(detected * 10), "");
    EXPECT_EXIT(std::exit(class_in_fresh_process("7")), testing::ExitedWithCode(detected * 10), "");
    EXPECT_EXIT(std::exit(class_in_fresh_process(nullptr)), testing::ExitedWithCode(detected * 10),
                "");
}

}  // namespace
