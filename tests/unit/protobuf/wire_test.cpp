// The bytes on the wire, as literals.
#include <gtest/gtest.h>

#include <string>

#include "epinfo.pb.h"
#include "reboot.pb.h"

using bf_kxepinfo::epinfo;
using bf_kxepinfo::epinfo_msg_respone;

namespace {

template <std::size_t Size>
std::string Bytes(const char (&literal)[Size]) {
    return std::string(literal, Size - 1);
}

}  // namespace

TEST(EpinfoWire, AllThreeSectionsGiveCmd14) {
    epinfo msg;
    msg.set_cmd(bf_kxepinfo::AGT_MGR_RC | bf_kxepinfo::AGT_MGR_SYS | bf_kxepinfo::AGT_MGR_LOGIN);
    EXPECT_EQ(msg.SerializeAsString(), Bytes("\x08\x0e"));
}

TEST(EpinfoWire, ResourceUpload) {
    epinfo msg;
    msg.set_cmd(bf_kxepinfo::AGT_MGR_RC);
    msg.set_agent_id(300);
    msg.mutable_rc_info()->set_cpu_usage(1234);
    msg.mutable_rc_info()->set_mem_total(1);
    msg.mutable_rc_info()->set_mem_usaged(2);
    msg.set_agent_timestamp(1700000000);
    EXPECT_EQ(msg.SerializeAsString(),
              Bytes("\x08\x02\x10\xac\x02\x1a\x07\x08\xd2\x09\x10\x01\x18\x02"
                    "\x40\x80\xe2\xcf\xaa\x06"));
}

TEST(EpinfoWire, ZeroAndEmptyAreNotWritten) {
    epinfo msg;
    msg.set_cmd(bf_kxepinfo::MSG_TPYE_NONE);
    msg.set_agent_id(0);
    msg.mutable_rc_info()->set_cpu_usage(0);
    msg.mutable_login_info()->add_usr_info()->set_login_name("");
    EXPECT_EQ(msg.SerializeAsString(), Bytes("\x1a\x00\x2a\x02\x0a\x00"));
}

TEST(EpinfoWire, WhatWasNotWrittenReadsAsDefault) {
    epinfo msg;
    ASSERT_TRUE(msg.ParseFromString(Bytes("\x1a\x00\x2a\x02\x0a\x00")));
    EXPECT_EQ(msg.cmd(), 0U);
    EXPECT_TRUE(msg.has_rc_info());
    EXPECT_EQ(msg.rc_info().cpu_usage(), 0U);
    EXPECT_FALSE(msg.has_sys_info());
    ASSERT_EQ(msg.login_info().usr_info_size(), 1);
    EXPECT_EQ(msg.login_info().usr_info(0).login_name(), "");
}

TEST(EpinfoWire, RepeatedNumbersArePacked) {
    epinfo msg;
    msg.mutable_ui_info()->add_agent_id(1);
    msg.mutable_ui_info()->add_agent_id(300);
    EXPECT_EQ(msg.SerializeAsString(), Bytes("\x32\x05\x0a\x03\x01\xac\x02"));
}

TEST(EpinfoWire, EnumNumbersThatAreNotNamedAreKept) {
    bf_kxepinfo::epinfo_msg_change msg;
    ASSERT_TRUE(msg.ParseFromString(Bytes("\x08\x07")));
    EXPECT_EQ(static_cast<int>(msg.is_changed()), 7);
    EXPECT_EQ(msg.SerializeAsString(), Bytes("\x08\x07"));
}

TEST(EpinfoWire, FieldsOfALaterSchemaArePassedOn) {
    epinfo msg;
    ASSERT_TRUE(msg.ParseFromString(Bytes("\x08\x02\xa0\x06\x05")));
    EXPECT_EQ(msg.SerializeAsString(), Bytes("\x08\x02\xa0\x06\x05"));
}

TEST(ResponseWire, NegativeTimeDifferenceIsKept) {
    epinfo_msg_respone msg;
    msg.set_status(1);
    msg.set_cmd_type(2);
    msg.set_time_diff(-3);
    const std::string bytes = Bytes("\x08\x01\x10\x02\x20\xfd\xff\xff\xff\xff\xff\xff\xff\xff\x01");
    EXPECT_EQ(msg.SerializeAsString(), bytes);
    epinfo_msg_respone decoded;
    ASSERT_TRUE(decoded.ParseFromString(bytes));
    EXPECT_EQ(decoded.time_diff(), -3);
}

TEST(ResponseWire, EveryFieldHasItsPlace) {
    epinfo_msg_respone msg;
    ASSERT_TRUE(msg.ParseFromString(Bytes("\x08\x01\x10\x0e\x1a\x02no\x20\x05\x28\x01")));
    EXPECT_EQ(msg.status(), 1U);
    EXPECT_EQ(msg.cmd_type(), 14U);
    EXPECT_EQ(msg.res_msg(), "no");
    EXPECT_EQ(msg.time_diff(), 5);
    EXPECT_EQ(msg.duplicate(), 1U);
}

TEST(ResponseWire, CutOffBytesDoNotParse) {
    epinfo_msg_respone msg;
    EXPECT_FALSE(msg.ParseFromString(Bytes("\x08")));
    EXPECT_FALSE(msg.ParseFromString(Bytes("\x1a\x05no")));
}

TEST(ResponseWire, NoBytesAreAnAnswerOfDefaults) {
    epinfo_msg_respone msg;
    ASSERT_TRUE(msg.ParseFromString(""));
    EXPECT_EQ(msg.status(), 0U);
}

TEST(RebootWire, DelaysArePacked) {
    pb_reboot::reboot_info msg;
    msg.set_rb_enable(true);
    msg.set_rb_src(pb_reboot::RS_LEAK);
    msg.set_rb_type(pb_reboot::RT_DELAY);
    msg.add_rb_delay_sec(5);
    msg.add_rb_delay_sec(10);
    EXPECT_EQ(msg.SerializeAsString(), Bytes("\x08\x01\x10\x02\x18\x02\x3a\x02\x05\x0a"));
}
