#include "kxectl/online.h"

#include <gtest/gtest.h>

#include "common/keyvalue.h"

using kxectl::ReadOnlineState;

TEST(OnlineState, IsReadFromTheAnswer) {
    std::string fault;
    EXPECT_EQ(ReadOnlineState(1008, kxapp::PackMessage("agt_ei", {{"online_state", "1"}}), fault),
              true);
    EXPECT_EQ(ReadOnlineState(1008, kxapp::PackMessage("agt_ei", {{"online_state", "0"}}), fault),
              false);
}

TEST(OnlineState, IsUnknownForAnotherAnswer) {
    std::string fault;
    EXPECT_EQ(ReadOnlineState(1007, kxapp::PackMessage("agt_ei", {{"online_state", "1"}}), fault),
              std::nullopt);
    EXPECT_EQ(fault, "an answer of type 1007 instead of 1008");
    EXPECT_EQ(ReadOnlineState(1008, "", fault), std::nullopt);
    EXPECT_EQ(fault, "an answer that is no message");
    EXPECT_EQ(ReadOnlineState(1008, kxapp::PackMessage("agt_ei", {}), fault), std::nullopt);
    EXPECT_EQ(fault, "an answer without online_state");
    EXPECT_EQ(ReadOnlineState(1008, kxapp::PackMessage("agt_ei", {{"online_state", "2"}}), fault),
              std::nullopt);
    EXPECT_EQ(fault, "the unknown online_state '2'");
}
