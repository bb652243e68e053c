// The sampler on the machine that runs the test.
#include <gtest/gtest.h>
#include <unistd.h>

#include "collectors/agentres.h"
#include "log_capture.h"

TEST(SamplerOnThisMachine, MeasuresPlausibleFigures) {
    _stResmon resmon;
    EXPECT_EQ(GetAgentResoureInfo(resmon), 0);
    EXPECT_LE(resmon.cpu_usage, 10000U);
    EXPECT_GT(resmon.mem_used, 0U);
    EXPECT_LT(resmon.mem_used, resmon.mem_total);
    EXPECT_TRUE(kxtest::LoggedLinesUpTo(2).empty());
}

TEST(SamplerOnThisMachine, ProcessorTimeGrowsAndHoldsBusyTime) {
    uint64_t utilised = 0;
    uint64_t total = 0;
    get_cpu_stat(utilised, total);
    EXPECT_GT(utilised, 0U);
    EXPECT_GT(total, utilised);
}
