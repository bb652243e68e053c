#include "common/decode.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "epinfo.pb.h"

using bf_kxepinfo::epinfo;
using kxapp::Decode;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

// Login with the bytes of a name, as they stand on the wire.
std::string LoginWithName(const std::string& name) {
    const std::string user = "\x12" + std::string(1, static_cast<char>(name.size())) + name;
    const std::string login = "\x0A" + std::string(1, static_cast<char>(user.size())) + user;
    return "\x08\x08\x2A" + std::string(1, static_cast<char>(login.size())) + login;
}

}  // namespace

TEST(Decode, ReadsAMessage) {
    epinfo message;
    std::vector<std::string> not_utf8{"left over"};
    ASSERT_TRUE(Decode("\x08\x02\x10\x2A\x1A\x02\x08\x07"sv, message, not_utf8));
    EXPECT_EQ(message.cmd(), 2U);
    EXPECT_EQ(message.agent_id(), 42U);
    EXPECT_EQ(message.rc_info().cpu_usage(), 7U);
    EXPECT_TRUE(not_utf8.empty());
}

TEST(Decode, RefusesWhatIsNoMessage) {
    epinfo message;
    std::vector<std::string> not_utf8;
    EXPECT_FALSE(Decode("\x08"sv, message, not_utf8));
    EXPECT_FALSE(Decode("\x1A\x05\x08"sv, message, not_utf8));
    EXPECT_FALSE(Decode("\xFF\xFF\xFF\xFF"sv, message, not_utf8));
}

TEST(Decode, KeepsZeroBytesInStrings) {
    epinfo message;
    std::vector<std::string> not_utf8;
    ASSERT_TRUE(Decode(LoginWithName("root\0\0"s), message, not_utf8));
    EXPECT_EQ(message.login_info().usr_info(0).login_name(), "root\0\0"s);
    EXPECT_TRUE(not_utf8.empty());
}

TEST(Decode, RepairsAStringThatIsNotUtf8) {
    epinfo message;
    std::vector<std::string> not_utf8;
    ASSERT_TRUE(Decode(LoginWithName("r\xFCn\0"s), message, not_utf8));
    EXPECT_EQ(message.cmd(), 8U);
    EXPECT_EQ(message.login_info().usr_info(0).login_name(), "r\\xFCn\0"s);
    EXPECT_EQ(not_utf8, std::vector<std::string>{"login_info.usr_info[0].login_name"});
}

TEST(Decode, RepairsRepeatedStrings) {
    epinfo message;
    std::vector<std::string> not_utf8;
    // sys_info { nw_info { if_info {} if_info { if_ipv4: "ok" if_ipv4: <FE> } } }
    ASSERT_TRUE(
        Decode("\x22\x0D\x12\x0B\x0A\x00\x0A\x07\x12\x02ok\x12\x01\xFE"sv, message, not_utf8));
    EXPECT_EQ(not_utf8, std::vector<std::string>{"sys_info.nw_info.if_info[1].if_ipv4[1]"});
    EXPECT_EQ(message.sys_info().nw_info().if_info(1).if_ipv4(0), "ok");
    EXPECT_EQ(message.sys_info().nw_info().if_info(1).if_ipv4(1), "\\xFE");
}

TEST(Decode, NamesABoundedNumberOfRepairedStrings) {
    bf_kxepinfo::epinfo_msg_if adapter;
    for (int i = 0; i < 101; ++i) {
        adapter.add_if_ipv4("?");
    }
    std::string bytes = adapter.SerializeAsString();
    std::replace(bytes.begin(), bytes.end(), '?', '\xFE');
    std::vector<std::string> not_utf8;
    ASSERT_TRUE(Decode(bytes, adapter, not_utf8));
    ASSERT_EQ(not_utf8.size(), 100U);
    EXPECT_EQ(not_utf8.back(), "if_ipv4[99]");
    EXPECT_EQ(adapter.if_ipv4(100), "\\xFE");
}

TEST(Decode, RepairsASurrogate) {
    epinfo message;
    std::vector<std::string> not_utf8;
    ASSERT_TRUE(Decode(LoginWithName("\xED\xA0\x80"), message, not_utf8));
    EXPECT_EQ(message.login_info().usr_info(0).login_name(), "\\xED\\xA0\\x80");
}

TEST(HasUnknownFields, LooksIntoSections) {
    epinfo message;
    std::vector<std::string> not_utf8;
    ASSERT_TRUE(Decode("\x08\x02\x1A\x02\x08\x07"sv, message, not_utf8));
    EXPECT_FALSE(kxapp::HasUnknownFields(message));
    ASSERT_TRUE(Decode("\x08\x02\x50\x01"sv, message, not_utf8));
    EXPECT_TRUE(kxapp::HasUnknownFields(message));
    ASSERT_TRUE(Decode("\x1A\x02\x50\x01"sv, message, not_utf8));
    EXPECT_TRUE(kxapp::HasUnknownFields(message));
    ASSERT_TRUE(Decode("\x2A\x04\x0A\x02\x50\x01"sv, message, not_utf8));
    EXPECT_TRUE(kxapp::HasUnknownFields(message));
}

TEST(MessageToJson, UsesTheFieldNamesOfTheSchemaAndShowsDefaults) {
    epinfo message;
    message.set_cmd(2);
    message.set_agent_timestamp(1700000000);
    message.mutable_rc_info()->set_mem_usaged(5);
    EXPECT_EQ(kxapp::ToText(kxapp::MessageToJson(message).get()),
              "{\"cmd\": 2, \"agent_id\": 0, \"rc_info\": {\"cpu_usage\": 0, \"mem_total\": 0, "
              "\"mem_usaged\": 5, \"disk_read_speed\": 0, \"disk_write_speed\": 0}, "
              "\"agent_timestamp\": \"1700000000\"}\n");
}

TEST(MessageToJson, ShowsEnumsByNameAndZeroBytes) {
    epinfo message;
    message.mutable_login_info()->add_usr_info()->set_login_name("a\0b"s);
    message.mutable_sys_info()->mutable_change()->set_is_changed(bf_kxepinfo::NOT_CHANGED);
    EXPECT_EQ(
        kxapp::ToText(kxapp::MessageToJson(message).get()),
        "{\"cmd\": 0, \"agent_id\": 0, \"sys_info\": {\"change\": {\"is_changed\": "
        "\"NOT_CHANGED\"}}, \"login_info\": {\"usr_info\": [{\"login_time\": \"\", "
        "\"login_name\": \"a\\u0000b\", \"login_ip\": \"\"}]}, \"agent_timestamp\": \"0\"}\n");
}
