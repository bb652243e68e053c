// Records to messages.
#include <gmock/gmock.h>

#include "log_capture.h"
#include "msghandler/kxepproto.h"
#include "sample_records.h"

using bf_kxepinfo::epinfo;
using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class ToMessage : public ::testing::Test {
  protected:
    void SetUp() override { kxtest::ClearLog(); }
    epinfo msg;
};

}  // namespace

TEST_F(ToMessage, ResourceRecordFillsItsSection) {
    AddResmonToProto(SampleResmon(), msg);
    EXPECT_EQ(msg.cmd(), 2U);
    EXPECT_EQ(msg.rc_info().cpu_usage(), 1205U);
    EXPECT_EQ(msg.rc_info().mem_total(), 8062440U);
    EXPECT_EQ(msg.rc_info().mem_usaged(), 2071556U);
    EXPECT_FALSE(msg.has_sys_info() || msg.has_login_info() || msg.has_ui_info());
}

TEST_F(ToMessage, ResourceRecordIsLogged) {
    AddResmonToProto(SampleResmon(), msg);
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(LogLine{4, "kxepproto",
                                    "cpu_usage:12.05(%),mem_total:8062440(kB),"
                                    "mem_used:2071556(kB)"}));
}

TEST_F(ToMessage, LargestResourceFiguresAreLoggedUnsigned) {
    AddResmonToProto({.cpu_usage = 10000, .mem_total = 4294967295, .mem_used = 0}, msg);
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(LogLine{4, "kxepproto",
                                    "cpu_usage:100.00(%),mem_total:4294967295(kB),"
                                    "mem_used:0(kB)"}));
}

TEST_F(ToMessage, DiskSpeedsAreNotTouched) {
    msg.mutable_rc_info()->set_disk_read_speed(5);
    msg.mutable_rc_info()->set_disk_write_speed(6);
    AddResmonToProto(SampleResmon(), msg);
    EXPECT_EQ(msg.rc_info().disk_read_speed(), 5U);
    EXPECT_EQ(msg.rc_info().disk_write_speed(), 6U);
}

TEST_F(ToMessage, SystemRecordFillsTheBase) {
    AddAgentToProto(SampleAgent(), msg);
    EXPECT_EQ(msg.cmd(), 4U);
    const bf_kxepinfo::epinfo_msg_base& base = msg.sys_info().base_info();
    EXPECT_EQ(base.host_node(), "node");
    EXPECT_EQ(base.host_plat(), 4);
    EXPECT_EQ(base.host_type(), 1);
    EXPECT_EQ(base.uvmid(), 0xFEDCBA9876543210);
    EXPECT_EQ(base.cpu_core(), 8);
    EXPECT_EQ(base.sys_release(), "release");
    EXPECT_EQ(base.sys_version(), "version");
    EXPECT_EQ(base.sys_machine(), "machine");
    EXPECT_EQ(base.sys_distro(), "distro");
    EXPECT_EQ(base.containerid(), "container");
    EXPECT_EQ(base.recal_timestamp(), 1700000001U);
}

TEST_F(ToMessage, FieldsOfTheBaseWithoutASourceAreNotTouched) {
    bf_kxepinfo::epinfo_msg_base& base = *msg.mutable_sys_info()->mutable_base_info();
    base.set_start_up_time(5);
    base.set_is_changed(true);
    base.set_agent_patch_flag(6);
    AddAgentToProto(SampleAgent(), msg);
    EXPECT_EQ(base.start_up_time(), 5);
    EXPECT_TRUE(base.is_changed());
    EXPECT_EQ(base.agent_patch_flag(), 6U);
}

TEST_F(ToMessage, PhysicalIsTheOppositeOfVirtual) {
    _stAgentInfo agent;
    for (const auto& [is_virtual, physical] : {std::pair{0, 1}, {1, 0}, {2, 0}, {-1, 0}}) {
        agent.sys_info.is_virtual = is_virtual;
        AddAgentToProto(agent, msg);
        EXPECT_EQ(msg.sys_info().base_info().physical(), physical) << is_virtual;
    }
}

TEST_F(ToMessage, AdaptersAreListedInTheirOrder) {
    AddAgentToProto(SampleAgent(), msg);
    const bf_kxepinfo::epinfo_msg_nw& network = msg.sys_info().nw_info();
    EXPECT_TRUE(network.is_ip_changed());
    ASSERT_EQ(network.if_info_size(), 2);
    EXPECT_EQ(network.if_info(0).if_mac(), "00-01");
    EXPECT_THAT(network.if_info(0).if_ipv4(), ElementsAre("10.0.0.2", "10.0.0.3"));
    EXPECT_THAT(network.if_info(0).if_ipv6(), ElementsAre("fe80::1"));
    EXPECT_EQ(network.if_info(1).if_mac(), "00-02");
}

TEST_F(ToMessage, AdapterWithoutAddressesCarriesItsMacOnly) {
    _stAgentInfo agent;
    agent.adapters = {{.if_mac = "00-02", .if_name = "eth1", .if_ipv4 = {}, .if_ipv6 = {}}};
    AddAgentToProto(agent, msg);
    EXPECT_EQ(msg.sys_info().nw_info().SerializeAsString(),
              "\x0a\x07\x0a\x05"
              "00-02");
}

TEST_F(ToMessage, AddingAgentInformationTwiceListsEachAdapterOnce) {
    AddAgentToProto(SampleAgent(), msg);
    AddAgentToProto(SampleAgent(), msg);
    EXPECT_EQ(msg.sys_info().nw_info().if_info_size(), 2);
    EXPECT_EQ(msg.sys_info().nw_info().if_info(0).if_ipv4_size(), 2);
}

TEST_F(ToMessage, UnchangedAddressIsSentToo) {
    msg.mutable_sys_info()->mutable_nw_info()->set_is_ip_changed(true);
    AddAgentToProto(_stAgentInfo{}, msg);
    EXPECT_FALSE(msg.sys_info().nw_info().is_ip_changed());
}

TEST_F(ToMessage, ExactlySixVersionFieldsAreFilled) {
    AddAgentToProto(SampleAgent(), msg);
    bf_kxepinfo::epinfo_msg_agentinfo expected;
    expected.set_agent_version("agent");
    expected.set_virus_version("virus");
    expected.set_patchdb_version("patch");
    expected.set_ioadb_version("ioa");
    expected.set_iocdb_version("ioc");
    expected.set_mgr_addr("10.0.0.1");
    EXPECT_EQ(msg.sys_info().agent_info().SerializeAsString(), expected.SerializeAsString());
}

TEST_F(ToMessage, ChangeStateIsSentAndAccountIsNot) {
    AddAgentToProto(SampleAgent(), msg);
    EXPECT_EQ(msg.sys_info().change().is_changed(), bf_kxepinfo::NOT_CHANGED);
    EXPECT_FALSE(msg.sys_info().has_account_info());
}

TEST_F(ToMessage, LoginIsCopiedWithItsZeroBytes) {
    AddUsrLogToProto(SampleLogin(), msg);
    EXPECT_EQ(msg.cmd(), 8U);
    ASSERT_EQ(msg.login_info().usr_info_size(), 1);
    EXPECT_EQ(msg.login_info().usr_info(0).login_time(), "2024-03-01 09:05:07");
    EXPECT_EQ(msg.login_info().usr_info(0).login_name(), std::string("alice\0\0\0", 8));
    EXPECT_EQ(msg.login_info().usr_info(0).login_ip(), std::string("10.0.0.9\0\0", 10));
}

TEST_F(ToMessage, AddingALoginTwiceLeavesTheLaterOne) {
    AddUsrLogToProto(SampleLogin(), msg);
    AddUsrLogToProto({.login_time = "t", .login_name = "n", .login_ip = "i"}, msg);
    ASSERT_EQ(msg.login_info().usr_info_size(), 1);
    EXPECT_EQ(msg.login_info().usr_info(0).login_name(), "n");
}

TEST_F(ToMessage, AllThreeRecordsGiveCmd14) {
    AddResmonToProto(SampleResmon(), msg);
    AddAgentToProto(SampleAgent(), msg);
    AddUsrLogToProto(SampleLogin(), msg);
    EXPECT_EQ(msg.cmd(), 14U);
    EXPECT_TRUE(msg.has_rc_info() && msg.has_sys_info() && msg.has_login_info());
}

TEST_F(ToMessage, OnlyTheResourceRecordIsLogged) {
    AddAgentToProto(SampleAgent(), msg);
    AddUsrLogToProto(SampleLogin(), msg);
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(ToMessage, ClearRemovesWhatThisModuleSends) {
    AddResmonToProto(SampleResmon(), msg);
    AddAgentToProto(SampleAgent(), msg);
    AddUsrLogToProto(SampleLogin(), msg);
    msg.mutable_ui_info()->add_agent_id(1);
    msg.set_agent_id(1);
    msg.set_agent_timestamp(2);
    ClearEpinfo(msg);
    EXPECT_FALSE(msg.has_rc_info() || msg.has_sys_info() || msg.has_login_info() ||
                 msg.has_ui_info());
    EXPECT_EQ(msg.SerializeAsString(), "");
}

TEST_F(ToMessage, ClearKeepsTheSectionsOfOthers) {
    msg.mutable_trust_info()->add_trust_info()->set_trust_path("/p");
    msg.mutable_custom_info()->set_pacthinfo("p");
    ClearEpinfo(msg);
    EXPECT_EQ(msg.trust_info().trust_info(0).trust_path(), "/p");
    EXPECT_EQ(msg.custom_info().pacthinfo(), "p");
}
