#include <gtest/gtest.h>

#include "collectors/agentres_parse.h"

namespace {

void ExpectTimes(const char* line, uint64_t utilised, uint64_t total) {
    const CpuTimes times = ParseCpuLine(line);
    EXPECT_EQ(times.utilised, utilised) << line;
    EXPECT_EQ(times.total, total) << line;
}

uint32_t Usage(CpuTimes first, CpuTimes second) {
    uint32_t usage = 77;
    EXPECT_TRUE(ComputeCpuUsage(first, second, usage));
    return usage;
}

void ExpectNoUsage(CpuTimes first, CpuTimes second) {
    uint32_t usage = 77;
    EXPECT_FALSE(ComputeCpuUsage(first, second, usage));
    EXPECT_EQ(usage, 0U);
}

}  // namespace

TEST(CpuLine, IdleAndIowaitAreNotBusy) {
    ExpectTimes("cpu  1 20 300 4000 50000 600000 7000000 80000000 9 9\n", 87600321, 87654321);
}

TEST(CpuLine, GuestTimeIsNotRead) {
    ExpectTimes("cpu  1 1 1 1 1 1 1 1 1000 1000\n", 6, 8);
}

TEST(CpuLine, MissingStealCountsAsZero) {
    ExpectTimes("cpu  1 2 3 4 5 6 7\n", 19, 28);
}

TEST(CpuLine, OldKernelWithFourColumns) {
    ExpectTimes("cpu  10 20 30 40\n", 60, 100);
}

TEST(CpuLine, LabelAloneLeavesZeros) {
    ExpectTimes("cpu\n", 0, 0);
}

TEST(CpuLine, EmptyLineLeavesZeros) {
    ExpectTimes("", 0, 0);
    ExpectTimes("\n", 0, 0);
}

TEST(CpuLine, AnyLabelOfTenCharactersIsAccepted) {
    ExpectTimes("0123456789 1 2 3 4 5 6 7 8\n", 27, 36);
}

TEST(CpuLine, LongerLabelIsReadIntoTheFirstCounter) {
    ExpectTimes("0123456789x 1 2 3 4 5 6 7 8\n", 0, 0);
    ExpectTimes("012345678912 1 2 3 4 5 6 7 8\n", 33, 40);
}

TEST(CpuLine, ReadingStopsAtTheFirstWord) {
    ExpectTimes("cpu 1 2 x 4 5 6 7 8\n", 3, 3);
}

TEST(CpuLine, LargestCountersAreKept) {
    ExpectTimes("cpu 18446744073709551615 0 0 0 0 0 0 0\n", UINT64_MAX, UINT64_MAX);
}

TEST(CpuLine, SumsWrapAround) {
    ExpectTimes("cpu 18446744073709551615 2 0 10 0 0 0 0\n", 1, 11);
}

TEST(CpuUsage, HalfBusyIsFiftyPercent) {
    EXPECT_EQ(Usage({.utilised = 100, .total = 1000}, {.utilised = 600, .total = 2000}), 5000U);
}

TEST(CpuUsage, IdleIsZero) {
    EXPECT_EQ(Usage({.utilised = 100, .total = 1000}, {.utilised = 100, .total = 2000}), 0U);
}

TEST(CpuUsage, FullyBusyIsHundredPercent) {
    EXPECT_EQ(Usage({.utilised = 100, .total = 1000}, {.utilised = 300, .total = 1200}), 10000U);
}

TEST(CpuUsage, FractionsAreCutOff) {
    EXPECT_EQ(Usage({.utilised = 0, .total = 0}, {.utilised = 2, .total = 3}), 6666U);
}

TEST(CpuUsage, SmallestInterval) {
    EXPECT_EQ(Usage({.utilised = 5, .total = 9}, {.utilised = 6, .total = 10}), 10000U);
}

TEST(CpuUsage, EqualTotalsGiveNone) {
    ExpectNoUsage({.utilised = 0, .total = 0}, {.utilised = 0, .total = 0});
    ExpectNoUsage({.utilised = 1, .total = 10}, {.utilised = 2, .total = 10});
}

TEST(CpuUsage, ShrinkingTotalGivesNone) {
    ExpectNoUsage({.utilised = 1, .total = 10}, {.utilised = 2, .total = 9});
}

TEST(CpuUsage, ShrinkingBusyTimeGivesNone) {
    ExpectNoUsage({.utilised = 5, .total = 10}, {.utilised = 4, .total = 20});
}
