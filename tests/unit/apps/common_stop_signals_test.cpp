#include "common/stop_signals.h"

#include <gtest/gtest.h>

#include <csignal>

#include "bus_ends.h"

using kxapp::StopSignals;
using kxtest::RunUntil;

TEST(StopSignals, HaveNotArrivedAtFirst) {
    const StopSignals stop;
    EXPECT_FALSE(stop.arrived());
}

TEST(StopSignals, AreSigtermAndSigint) {
    for (const int number : {SIGTERM, SIGINT}) {
        const StopSignals stop;
        ASSERT_EQ(raise(number), 0);
        EXPECT_TRUE(RunUntil([&] { return stop.arrived(); })) << number;
    }
}

TEST(StopSignals, CanBeWatchedTimeAndAgain) {
    for (int i = 0; i < 100; ++i) {
        const StopSignals stop;
        ASSERT_EQ(raise(SIGTERM), 0);
        ASSERT_TRUE(RunUntil([&] { return stop.arrived(); })) << i;
    }
}
