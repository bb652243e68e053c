#include "trend.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kxtest {
namespace {

// Pages of 4 KiB come and go; on top of that a leak of so many bytes a cycle.
Series Measured(double leaked_bytes) {
    Series series;
    for (int cycle = 100; cycle <= 10000; cycle += 10) {
        const double pages = std::floor(3 * std::sin(cycle) + leaked_bytes * cycle / 4096);
        series.emplace_back(cycle, 1500 + 4 * pages);
    }
    return series;
}

TEST(Growth, OfAStraightLineIsItsSlope) {
    EXPECT_DOUBLE_EQ(GrowthPerPlace({{0, 5}, {10, 25}, {30, 65}}), 2);
    EXPECT_DOUBLE_EQ(GrowthPerPlace({{0, 5}, {1, 4}}), -1);
}

TEST(Growth, OfAFlatLineIsNone) {
    EXPECT_DOUBLE_EQ(GrowthPerPlace({{100, 7}, {200, 7}, {300, 7}}), 0);
}

TEST(Growth, ComingAndGoingIsHardlyAny) {
    EXPECT_LT(std::abs(GrowthPerPlace(Measured(0)) * 1000), 0.2);
}

TEST(Growth, OfAFewBytesACycleIsSeenThroughComingAndGoing) {
    EXPECT_NEAR(GrowthPerPlace(Measured(16)) * 1000, 16 * 1000 / 1024.0, 0.5);
}

}  // namespace
}  // namespace kxtest
