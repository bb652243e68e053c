// One call collects all agent facts.
#include <gmock/gmock.h>

#include "collectors/agentinfo.h"
#include "fake_collectors.h"
#include "log_capture.h"
#include "record_fields.h"

using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class GatherAgentInfo : public ::testing::Test {
  protected:
    void SetUp() override {
        Fake() = FakeCollectors{};
        Fake().adapters = {{"00-00-00-00-00-01", "eth0", {"10.0.0.2"}, {"fe80::1"}}};
        Fake().ext_info.agent_version = "6.0.1";
        Fake().ext_info.mgr_addr = "10.0.0.1";
        Fake().ext_info.reserved_ext3 = "third";
        Fake().sys_info.host_node = "host";
        Fake().sys_info.containerId = "container";
        Fake().sys_info.cpu_core = 2;
        Fake().sys_info.recal_timestamp = 1700000000;
        kxtest::ClearLog();
    }

    static _stAgentInfo Expected() {
        _stAgentInfo expected;
        expected.adapters = Fake().adapters;
        expected.ext_info = Fake().ext_info;
        expected.sys_info = Fake().sys_info;
        return expected;
    }
};

}  // namespace

TEST_F(GatherAgentInfo, AsksAdaptersThenVersionsThenSystem) {
    _stAgentInfo agent;
    EXPECT_EQ(GetAgentInfo(agent), 0);
    EXPECT_THAT(Fake().calls, ElementsAre("GetNetInfo", "GetExtInfo", "GetSysInfo"));
    EXPECT_EQ(kxtest::Fields(agent), kxtest::Fields(Expected()));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(GatherAgentInfo, ReplacesWhatWasThere) {
    _stAgentInfo agent;
    agent.sys_info.host_node = "yesterday";
    agent.sys_info.spare_kind = 6;
    agent.sys_info.spare_value = 1;
    agent.ext_info.agent_version = "yesterday";
    agent.ext_info.reserved_ext1 = "yesterday";
    agent.adapters = {{"", "lo", {}, {}}, {"", "eth9", {}, {}}};
    agent.is_ip_changed = true;
    EXPECT_EQ(GetAgentInfo(agent), 0);
    EXPECT_EQ(kxtest::Fields(agent), kxtest::Fields(Expected()));
}

TEST_F(GatherAgentInfo, LeavesTheReservedStringsAndTheChangeState) {
    _stAgentInfo agent;
    agent.reserved_agent1 = "one";
    agent.reserved_agent2 = "two";
    agent.change_state = 1;
    EXPECT_EQ(GetAgentInfo(agent), 0);
    EXPECT_EQ(agent.reserved_agent1, "one");
    EXPECT_EQ(agent.reserved_agent2, "two");
    EXPECT_EQ(agent.change_state, 1U);
}

TEST_F(GatherAgentInfo, LogsAdaptersThatFailedAndGoesOn) {
    Fake().net_result = 24;
    _stAgentInfo agent;
    EXPECT_EQ(GetAgentInfo(agent), 0);
    EXPECT_EQ(kxtest::Fields(agent), kxtest::Fields(Expected()));
    EXPECT_THAT(
        kxtest::LoggedLines(),
        ElementsAre(LogLine{2, "kxepinfo", "Get network information failed with error: 24"}));
}

TEST_F(GatherAgentInfo, LogsVersionsThatFailedAndGoesOn) {
    Fake().ext_result = -1;
    _stAgentInfo agent;
    EXPECT_EQ(GetAgentInfo(agent), 0);
    EXPECT_EQ(kxtest::Fields(agent), kxtest::Fields(Expected()));
    EXPECT_THAT(
        kxtest::LoggedLines(),
        ElementsAre(LogLine{2, "kxepinfo", "Get agent extend information failed with error: -1"}));
}

TEST_F(GatherAgentInfo, ReturnsWhatTheSystemFactsReturned) {
    Fake().sys_result = 14;
    _stAgentInfo agent;
    EXPECT_EQ(GetAgentInfo(agent), 14);
    EXPECT_EQ(kxtest::Fields(agent), kxtest::Fields(Expected()));
    EXPECT_THAT(
        kxtest::LoggedLines(),
        ElementsAre(LogLine{2, "kxepinfo", "Get system basic information failed with error: 14"}));
}

TEST_F(GatherAgentInfo, IsWholeWhenEverythingFails) {
    Fake() = FakeCollectors{};
    Fake().net_result = 24;
    Fake().ext_result = -1;
    Fake().sys_result = -1;
    _stAgentInfo agent;
    agent.adapters.resize(3);
    EXPECT_EQ(GetAgentInfo(agent), -1);
    EXPECT_EQ(kxtest::Fields(agent), kxtest::Fields(_stAgentInfo{}));
    EXPECT_EQ(kxtest::LoggedLines().size(), 3U);
}
