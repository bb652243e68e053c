// The online state that the agent tells, at the pace of every day.
#include "agent.h"

namespace kxtest {
namespace {

using OnlineState = AgentTest;

TEST_F(OnlineState, ComesBackWithOneGoodAnswer) {
    StartManager({"--fault", "refuse:6"});
    StartHost();
    ASSERT_TRUE(Logs("> to mgr success"));
    EXPECT_EQ(CountOf(installation().log(), "to mgr failed with error: refused"), 6U);
    const Finished answer = Ctl({"online"});
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.output, "online\n");
}

TEST_F(OnlineState, ACloneReportLeavesBothFlagsAndTheAgentOnline) {
    StartManager({"--fault", "duplicate"});
    StartHost();
    ASSERT_TRUE(Logs("duplicate:1"));
    ASSERT_TRUE(Logs("recalculate"));
    EXPECT_TRUE(WaitUntil([&] {
        return std::filesystem::exists(installation().path("config/recalculate_agentid"));
    }));
    EXPECT_EQ(installation().read("config/clone_flag"), "1");
    EXPECT_EQ(installation().read("config/recalculate_agentid"), "");
    EXPECT_EQ(Ctl({"online"}).output, "online\n");
}

TEST_F(OnlineState, WithoutAnAgentKxectlSaysSo) {
    const Finished answer = Ctl({"online"});
    EXPECT_EQ(answer.status, 2);
    EXPECT_EQ(answer.output, "");
    EXPECT_THAT(answer.errors, testing::StartsWith("kxectl: "));
}

}  // namespace
}  // namespace kxtest
