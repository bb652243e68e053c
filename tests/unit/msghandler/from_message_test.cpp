// Messages back to records.
#include <gmock/gmock.h>

#include "msghandler/kxepproto.h"
#include "record_fields.h"
#include "sample_records.h"

using bf_kxepinfo::epinfo;
using ::testing::ElementsAre;

namespace {

// What AddAgentToProto makes of a sample.
epinfo AgentMessage() {
    epinfo msg;
    AddAgentToProto(SampleAgent(), msg);
    return msg;
}

void ExpectNoAgent(const epinfo& msg) {
    // Whatever the message holds, it differs from one of the two.
    for (const _stAgentInfo& before : {SampleAgent(), _stAgentInfo()}) {
        _stAgentInfo agent = before;
        EXPECT_FALSE(GetAgentFromProto(msg, agent));
        EXPECT_EQ(kxtest::Fields(agent), kxtest::Fields(before));
    }
}

}  // namespace

TEST(ResponseFromMessage, CopiesTheFiveFields) {
    bf_kxepinfo::epinfo_msg_respone msg;
    msg.set_status(1);
    msg.set_cmd_type(2);
    msg.set_res_msg("text");
    msg.set_time_diff(-4);
    msg.set_duplicate(5);
    _mgrRespondMsg response;
    EXPECT_TRUE(GetResponFromProto(msg, response));
    EXPECT_EQ(response.status, 1U);
    EXPECT_EQ(response.cmd_type, 2U);
    EXPECT_EQ(response.res_msg, "text");
    EXPECT_EQ(response.time_diff, -4);
    EXPECT_EQ(response.duplicate, 5U);
}

TEST(ResponseFromMessage, DefaultsReplaceWhatWasThere) {
    _mgrRespondMsg response{
        .status = 9, .cmd_type = 9, .res_msg = "old", .time_diff = 9, .duplicate = 9};
    EXPECT_TRUE(GetResponFromProto(bf_kxepinfo::epinfo_msg_respone(), response));
    EXPECT_EQ(response.status, 0U);
    EXPECT_EQ(response.cmd_type, 0U);
    EXPECT_EQ(response.res_msg, "");
    EXPECT_EQ(response.time_diff, 0);
    EXPECT_EQ(response.duplicate, 0U);
}

TEST(HeaderFromMessage, CmdAndAgentIdAreReturnedAsTheyStand) {
    epinfo msg;
    msg.set_cmd(4294967295);
    msg.set_agent_id(4294967294);
    EXPECT_EQ(GetCmdFromProto(msg), 4294967295U);
    EXPECT_EQ(GetAgentId(msg), 4294967294U);
}

TEST(ResmonFromMessage, ComesBackAsItWasAdded) {
    epinfo msg;
    AddResmonToProto(SampleResmon(), msg);
    _stResmon resmon;
    EXPECT_TRUE(GetResmonFromProto(msg, resmon));
    EXPECT_EQ(resmon.cpu_usage, 1205U);
    EXPECT_EQ(resmon.mem_total, 8062440U);
    EXPECT_EQ(resmon.mem_used, 2071556U);
}

TEST(ResmonFromMessage, MissingSectionLeavesTheRecord) {
    _stResmon resmon{.cpu_usage = 7, .mem_total = 8, .mem_used = 9};
    EXPECT_FALSE(GetResmonFromProto(epinfo(), resmon));
    EXPECT_FALSE(GetResmonFromProto(epinfo::default_instance(), resmon));
    EXPECT_EQ(resmon.cpu_usage, 7U);
    EXPECT_EQ(resmon.mem_total, 8U);
    EXPECT_EQ(resmon.mem_used, 9U);
}

TEST(LoginFromMessage, TheFirstEntryComesBack) {
    epinfo msg;
    AddUsrLogToProto(SampleLogin(), msg);
    msg.mutable_login_info()->add_usr_info()->set_login_name("later");
    _stUsrLogInfo login;
    EXPECT_TRUE(GetLoginFromProto(msg, login));
    EXPECT_EQ(login.login_time, "2024-03-01 09:05:07");
    EXPECT_EQ(login.login_name, std::string("alice\0\0\0", 8));
    EXPECT_EQ(login.login_ip, std::string("10.0.0.9\0\0", 10));
}

TEST(LoginFromMessage, EmptyListGivesThreeEmptyStrings) {
    epinfo msg;
    msg.mutable_login_info();
    _stUsrLogInfo login = SampleLogin();
    EXPECT_TRUE(GetLoginFromProto(msg, login));
    EXPECT_EQ(login.login_time, "");
    EXPECT_EQ(login.login_name, "");
    EXPECT_EQ(login.login_ip, "");
}

TEST(LoginFromMessage, MissingSectionLeavesTheRecord) {
    _stUsrLogInfo login{.login_time = "t", .login_name = "n", .login_ip = "i"};
    EXPECT_FALSE(GetLoginFromProto(epinfo(), login));
    EXPECT_FALSE(GetLoginFromProto(epinfo::default_instance(), login));
    EXPECT_EQ(login.login_time, "t");
    EXPECT_EQ(login.login_name, "n");
    EXPECT_EQ(login.login_ip, "i");
}

TEST(AgentFromMessage, SystemFactsComeBack) {
    _stAgentInfo agent;
    EXPECT_TRUE(GetAgentFromProto(AgentMessage(), agent));
    EXPECT_EQ(agent.sys_info.host_node, "node");
    EXPECT_EQ(agent.sys_info.host_plat, 4);
    EXPECT_EQ(agent.sys_info.host_type, 1);
    EXPECT_EQ(agent.sys_info.uVmid, 0xFEDCBA9876543210);
    EXPECT_EQ(agent.sys_info.is_virtual, 1);
    EXPECT_EQ(agent.sys_info.cpu_core, 8);
    EXPECT_EQ(agent.sys_info.sys_release, "release");
    EXPECT_EQ(agent.sys_info.sys_version, "version");
    EXPECT_EQ(agent.sys_info.sys_machine, "machine");
    EXPECT_EQ(agent.sys_info.sys_distro, "distro");
}

TEST(AgentFromMessage, VirtualIsTheOppositeOfPhysical) {
    epinfo msg = AgentMessage();
    _stAgentInfo agent;
    for (const auto& [physical, is_virtual] : {std::pair{0, 1}, {1, 0}, {7, 0}}) {
        msg.mutable_sys_info()->mutable_base_info()->set_physical(physical);
        EXPECT_TRUE(GetAgentFromProto(msg, agent));
        EXPECT_EQ(agent.sys_info.is_virtual, is_virtual) << physical;
    }
}

TEST(AgentFromMessage, AdaptersReplaceTheOldOnesAndHaveNoName) {
    _stAgentInfo agent;
    agent.adapters.resize(5);
    EXPECT_TRUE(GetAgentFromProto(AgentMessage(), agent));
    ASSERT_EQ(agent.adapters.size(), 2U);
    EXPECT_EQ(agent.adapters[0].if_mac, "00-01");
    EXPECT_EQ(agent.adapters[0].if_name, "");
    EXPECT_THAT(agent.adapters[0].if_ipv4, ElementsAre("10.0.0.2", "10.0.0.3"));
    EXPECT_THAT(agent.adapters[0].if_ipv6, ElementsAre("fe80::1"));
    EXPECT_EQ(agent.adapters[1].if_mac, "00-02");
    EXPECT_TRUE(agent.adapters[1].if_ipv4.empty());
    EXPECT_TRUE(agent.adapters[1].if_ipv6.empty());
}

TEST(AgentFromMessage, TwoVersionsComeBackAndTheOthersStay) {
    _stAgentInfo agent;
    agent.ext_info.patchdb_version = "kept";
    EXPECT_TRUE(GetAgentFromProto(AgentMessage(), agent));
    EXPECT_EQ(agent.ext_info.agent_version, "agent");
    EXPECT_EQ(agent.ext_info.virus_version, "virus");
    EXPECT_EQ(agent.ext_info.patchdb_version, "kept");
    EXPECT_EQ(agent.ext_info.ioadb_version, "");
    EXPECT_EQ(agent.ext_info.iocdb_version, "");
    EXPECT_EQ(agent.ext_info.mgr_addr, "");
}

TEST(AgentFromMessage, ContainerRedrawTimeAndChangeFlagsAreNotReadBack) {
    _stAgentInfo agent;
    agent.sys_info.containerId = "kept";
    agent.sys_info.recal_timestamp = 5;
    agent.change_state = 6;
    EXPECT_TRUE(GetAgentFromProto(AgentMessage(), agent));
    EXPECT_EQ(agent.sys_info.containerId, "kept");
    EXPECT_EQ(agent.sys_info.recal_timestamp, 5U);
    EXPECT_EQ(agent.change_state, 6U);
    EXPECT_FALSE(agent.is_ip_changed);
}

TEST(AgentFromMessage, MissingSectionLeavesTheRecord) {
    ExpectNoAgent(epinfo());
    ExpectNoAgent(epinfo::default_instance());
}

TEST(AgentFromMessage, EachOfTheThreePartsIsNeeded) {
    epinfo msg = AgentMessage();
    msg.mutable_sys_info()->clear_base_info();
    ExpectNoAgent(msg);
    msg = AgentMessage();
    msg.mutable_sys_info()->clear_agent_info();
    ExpectNoAgent(msg);
    msg = AgentMessage();
    msg.mutable_sys_info()->clear_nw_info();
    ExpectNoAgent(msg);
}

TEST(AgentFromMessage, TheChangePartIsNotNeeded) {
    epinfo msg = AgentMessage();
    msg.mutable_sys_info()->clear_change();
    _stAgentInfo agent;
    EXPECT_TRUE(GetAgentFromProto(msg, agent));
}

TEST(AgentIds, NothingIsEverAmongThem) {
    epinfo msg;
    msg.set_agent_id(5);
    msg.mutable_ui_info()->add_agent_id(5);
    EXPECT_FALSE(IsInAgentIds(msg, "5"));
    EXPECT_FALSE(IsInAgentIds(msg, ""));
}
