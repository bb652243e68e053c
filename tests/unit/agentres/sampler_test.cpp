#include <gmock/gmock.h>

#include "collectors/agentres.h"
#include "fake_proc.h"
#include "log_capture.h"

using kxtest::LoggedLines;
using kxtest::LogLine;
using ::testing::ElementsAre;

namespace {

constexpr char kMeminfo[] =
    "MemTotal:        1000 kB\n"
    "MemFree:          100 kB\n"
    "MemAvailable:     400 kB\n"
    "Buffers:           50 kB\n"
    "Cached:            60 kB\n"
    "SwapCached:        70 kB\n"
    "Active:            80 kB\n";

LogLine Debug(const char* text) {
    return {4, "agentres", text};
}

LogLine Error(const char* text) {
    return {2, "agentres", text};
}

class Sampler : public ::testing::Test {
  protected:
    void SetUp() override {
        Proc() = FakeProc{};
        kxtest::ClearLog();
    }
};

}  // namespace

TEST_F(Sampler, FillsTheRecord) {
    Proc().stat = {"cpu 100 0 0 900 0 0 0 0\n", "cpu 600 0 0 1400 0 0 0 0\n"};
    Proc().meminfo = {kMeminfo};
    _stResmon resmon{.cpu_usage = 7, .mem_total = 7, .mem_used = 7};
    EXPECT_EQ(GetAgentResoureInfo(resmon), 0);
    EXPECT_EQ(resmon.cpu_usage, 5000U);
    EXPECT_EQ(resmon.mem_total, 1000U);
    EXPECT_EQ(resmon.mem_used, 600U);
}

TEST_F(Sampler, SleepsOneSecondBetweenTheSamplesAndReadsMemoryAfterwards) {
    _stResmon resmon;
    GetAgentResoureInfo(resmon);
    EXPECT_THAT(Proc().events,
                ElementsAre("open /proc/stat", "sleep 1", "open /proc/stat", "open /proc/meminfo"));
}

TEST_F(Sampler, FilesThatCannotBeOpenedGiveZerosAndSuccess) {
    Proc().open_error = 13;
    _stResmon resmon{.cpu_usage = 7, .mem_total = 7, .mem_used = 7};
    EXPECT_EQ(GetAgentResoureInfo(resmon), 0);
    EXPECT_EQ(resmon.cpu_usage, 0U);
    EXPECT_EQ(resmon.mem_total, 0U);
    EXPECT_EQ(resmon.mem_used, 0U);
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(Error("Failed to popen file /proc/stat, errno = 13\n"),
                    Error("Failed to popen file /proc/stat, errno = 13\n"),
                    Error("Numerical verification utilized1: 0, total1: 0, utilized2: 0, total2: "
                          "0"),
                    Debug("cpu_used: 0"),
                    Error("Failed to popen file /proc/meminfo, errno = 13\n")));
}

TEST_F(Sampler, CpuUsageIsLogged) {
    Proc().stat = {"cpu 0 0 0 0\n", "cpu 1 0 0 2\n"};
    uint32_t usage = 7;
    get_cpu_used(usage);
    EXPECT_EQ(usage, 3333U);
    EXPECT_THAT(LoggedLines(), ElementsAre(Debug("cpu_used: 3333")));
}

TEST_F(Sampler, OldKernelWithoutIrqAndStealStillGivesAPercentage) {
    Proc().stat = {"cpu  10 0 10 80 0\n", "cpu  20 0 20 160 0\n"};
    uint32_t usage = 7;
    get_cpu_used(usage);
    EXPECT_EQ(usage, 2000U);
}

TEST_F(Sampler, EqualTotalsAreWarnedOf) {
    Proc().stat = {"cpu 1 0 0 9\n", "cpu 2 0 0 8\n"};
    uint32_t usage = 7;
    get_cpu_used(usage);
    EXPECT_EQ(usage, 0U);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Error("Numerical verification utilized1: 1, total1: 10, utilized2: 2, "
                                  "total2: 10"),
                            Debug("cpu_used: 0")));
}

TEST_F(Sampler, ShrinkingBusyTimeIsWarnedOf) {
    Proc().stat = {"cpu 5 0 0 5\n", "cpu 4 0 0 16\n"};
    uint32_t usage = 7;
    get_cpu_used(usage);
    EXPECT_EQ(usage, 0U);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Error("Numerical verification utilized1: 5, total1: 10, utilized2: 4, "
                                  "total2: 20"),
                            Debug("cpu_used: 0")));
}

TEST_F(Sampler, ShrinkingTotalIsWarnedOf) {
    Proc().stat = {"cpu 1 0 0 9\n", "cpu 2 0 0 7\n"};
    uint32_t usage = 7;
    get_cpu_used(usage);
    EXPECT_EQ(usage, 0U);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Error("Numerical verification utilized1: 1, total1: 10, utilized2: 2, "
                                  "total2: 9"),
                            Debug("cpu_used: 0")));
}

TEST_F(Sampler, SecondSampleThatCannotBeReadIsWarnedOf) {
    Proc().stat = {"cpu 5 0 0 5\n"};
    uint32_t usage = 7;
    get_cpu_used(usage);
    EXPECT_EQ(usage, 0U);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Error("Failed to popen file /proc/stat, errno = 2\n"),
                            Error("Numerical verification utilized1: 5, total1: 10, utilized2: 0, "
                                  "total2: 0"),
                            Debug("cpu_used: 0")));
}

TEST_F(Sampler, CpuSampleReadsTheFirstLineOnly) {
    Proc().stat = {"cpu  1 2 3 4 5 6 7 8\ncpu0 100 200 300 400 500 600 700 800\n"};
    uint64_t utilised = 7;
    uint64_t total = 7;
    get_cpu_stat(utilised, total);
    EXPECT_EQ(utilised, 27U);
    EXPECT_EQ(total, 36U);
    EXPECT_TRUE(LoggedLines().empty());
}

TEST_F(Sampler, EmptyStatFileGivesZeros) {
    Proc().stat = {""};
    uint64_t utilised = 7;
    uint64_t total = 7;
    get_cpu_stat(utilised, total);
    EXPECT_EQ(utilised, 0U);
    EXPECT_EQ(total, 0U);
    EXPECT_TRUE(LoggedLines().empty());
}

TEST_F(Sampler, CpuSampleReadsAtMost1023BytesOfALine) {
    // The counter that the piece ends in is cut in two: its first digit alone counts.
    Proc().stat = {"cpu 1" + std::string(1017, ' ') + "23 4 5 6\n"};
    uint64_t utilised = 7;
    uint64_t total = 7;
    get_cpu_stat(utilised, total);
    EXPECT_EQ(utilised, 3U);
    EXPECT_EQ(total, 3U);
}

TEST_F(Sampler, EveryFigureAndSwapCachedAreLogged) {
    Proc().meminfo = {kMeminfo};
    uint32_t used = 7;
    uint32_t total = 7;
    get_mem_used(used, total);
    EXPECT_EQ(used, 600U);
    EXPECT_EQ(total, 1000U);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Debug("total = 1000"), Debug("free = 100"), Debug("available = 400"),
                            Debug("buffers = 50"), Debug("Cached = 60"), Debug("Cached = 60"),
                            Debug("mem_usaged: 600"), Debug("mem_total: 1000")));
}

TEST_F(Sampler, SwapCachedBeforeCachedLeavesZeroUntilThen) {
    Proc().meminfo = {"SwapCached: 70 kB\nCached: 60 kB\n"};
    uint32_t used = 7;
    uint32_t total = 7;
    get_mem_used(used, total);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Debug("Cached = 0"), Debug("Cached = 60"),
                            Error("Numerical verification MemTotal: 0, MemFree: 0, MemAvailable: "
                                  "0, Buffers: 0, Cached: 60"),
                            Debug("mem_usaged: 0"), Debug("mem_total: 0")));
}

TEST_F(Sampler, ReadsNoMoreThan1024LinesOfMeminfo) {
    std::string lines;
    for (int i = 0; i < 1023; ++i) {
        lines += "x\n";
    }
    uint32_t used = 7;
    uint32_t total = 7;
    Proc().meminfo = {lines + "MemTotal: 1000 kB\nMemFree: 100 kB\n"};
    get_mem_used(used, total);
    EXPECT_EQ(total, 1000U);
    EXPECT_EQ(used, 1000U);
    Proc().meminfo = {lines + "x\nMemTotal: 1000 kB\n"};
    get_mem_used(used, total);
    EXPECT_EQ(total, 0U);
}

TEST_F(Sampler, KernelWithoutMemAvailableSubtractsFreeBuffersAndCache) {
    Proc().meminfo = {"MemTotal: 1000 kB\nMemFree: 100 kB\nBuffers: 50 kB\nCached: 60 kB\n"};
    uint32_t used = 7;
    uint32_t total = 7;
    get_mem_used(used, total);
    EXPECT_EQ(used, 790U);
    EXPECT_EQ(total, 1000U);
}

TEST_F(Sampler, MoreAvailableThanThereIsIsWarnedOf) {
    Proc().meminfo = {"MemTotal: 10 kB\nMemFree: 1 kB\nMemAvailable: 11 kB\n"};
    uint32_t used = 7;
    uint32_t total = 7;
    get_mem_used(used, total);
    EXPECT_EQ(used, 0U);
    EXPECT_EQ(total, 0U);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Debug("total = 10"), Debug("free = 1"), Debug("available = 11"),
                            Error("Numerical verification MemTotal: 10, MemFree: 1, MemAvailable: "
                                  "11, Buffers: 0, Cached: 0"),
                            Debug("mem_usaged: 0"), Debug("mem_total: 0")));
}

TEST_F(Sampler, MoreFreeBuffersAndCacheThanThereIsIsWarnedOf) {
    Proc().meminfo = {"MemTotal: 100 kB\nMemFree: 60 kB\nBuffers: 30 kB\nCached: 20 kB\n"};
    uint32_t used = 7;
    uint32_t total = 7;
    get_mem_used(used, total);
    EXPECT_EQ(used, 0U);
    EXPECT_EQ(total, 0U);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Debug("total = 100"), Debug("free = 60"), Debug("buffers = 30"),
                            Debug("Cached = 20"),
                            Error("Numerical verification MemTotal: 100, MemFree: 60, "
                                  "MemAvailable: 0, Buffers: 30, Cached: 20"),
                            Debug("mem_usaged: 0"), Debug("mem_total: 0")));
}

TEST_F(Sampler, EmptyMeminfoIsWarnedOf) {
    Proc().meminfo = {""};
    uint32_t used = 7;
    uint32_t total = 7;
    get_mem_used(used, total);
    EXPECT_EQ(used, 0U);
    EXPECT_EQ(total, 0U);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Error("Numerical verification MemTotal: 0, MemFree: 0, MemAvailable: "
                                  "0, Buffers: 0, Cached: 0"),
                            Debug("mem_usaged: 0"), Debug("mem_total: 0")));
}

TEST_F(Sampler, EachPieceOfALongLineCountsAsALine) {
    Proc().meminfo = {std::string(1023, 'x') + "MemTotal: 10 kB\n"};
    uint32_t used = 7;
    uint32_t total = 7;
    get_mem_used(used, total);
    EXPECT_EQ(total, 10U);
}

TEST_F(Sampler, NothingIsFormattedWhenNoLevelIsEnabled) {
    kxtest::EnableLogLevels(0);
    Proc().meminfo = {kMeminfo};
    _stResmon resmon;
    GetAgentResoureInfo(resmon);
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
