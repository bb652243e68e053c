// A manager that misbehaves, and what the agent makes of it.
#include <cstring>

#include "agent.h"

namespace kxtest {
namespace {

struct Misbehaviour {
    const char* fault;
    const char* told;  // what the log says of it
};

std::ostream& operator<<(std::ostream& out, const Misbehaviour& misbehaviour) {
    return out << misbehaviour.fault;
}

class Link : public AgentTest, public testing::WithParamInterface<Misbehaviour> {};

TEST_P(Link, OneBadAnswerIsToldAndTheNextUploadIsFine) {
    StartManager({"--fault", std::string(GetParam().fault) + ":1"});
    StartHost();
    EXPECT_TRUE(Logs(GetParam().told));
    EXPECT_TRUE(Logs("> to mgr success"));
    EXPECT_EQ(Ctl({"online"}).status, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, Link,
    testing::Values(
        Misbehaviour{"refuse", "> to mgr failed with error: refused because of --fault"},
        Misbehaviour{"silent", "send msg to mgr failed with error msg: "},
        Misbehaviour{"slow", "send msg to mgr failed with error msg: "},
        Misbehaviour{"garbage", "parse kxepinfo response msg from mgr fail"},
        Misbehaviour{"short", "msg check failed, lenth is 19"},
        Misbehaviour{"type2", "ParseIpcMsg,not support type:2"},
        Misbehaviour{"long", "parse mgr response fail, message size not match, header size=20"},
        Misbehaviour{"close", "send msg to mgr failed with error msg: "}),
    [](const auto& tested) { return std::string(tested.param.fault); });

using OnlineState = AgentTest;

TEST_F(OnlineState, FallsAfterFiveFailuresInARow) {
    StartManager({"--fault", "refuse"});
    StartHost();
    ASSERT_TRUE(WaitUntil(
        [&] { return CountOf(installation().log(), "to mgr failed with error: refused") >= 5; }));
    const Finished answer = Ctl({"online"});
    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.output, "offline\n");
}

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
