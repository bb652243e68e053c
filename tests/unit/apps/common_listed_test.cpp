#include "common/listed.h"

#include <gtest/gtest.h>

#include <string>

#include "epinfo.pb.h"

using bf_kxepinfo::epinfo;
using namespace std::string_view_literals;

namespace {

std::size_t Count(std::string_view bytes) {
    return kxapp::CountListed(bytes, *epinfo::descriptor());
}

std::size_t Count(const epinfo& message) {
    return Count(message.SerializeAsString());
}

}  // namespace

TEST(CountListed, IsZeroWithoutLists) {
    epinfo message;
    EXPECT_EQ(Count(message), 0U);
    message.set_cmd(6);
    message.mutable_rc_info()->set_cpu_usage(1);
    message.mutable_sys_info()->mutable_base_info()->set_host_node("host");
    EXPECT_EQ(Count(message), 0U);
}

TEST(CountListed, CountsTheEntriesOfAllLists) {
    epinfo message;
    auto& adapter = *message.mutable_sys_info()->mutable_nw_info()->add_if_info();
    adapter.add_if_ipv4("a");
    adapter.add_if_ipv4("b");
    adapter.add_if_ipv6("");
    message.mutable_login_info()->add_usr_info()->set_login_name("n");
    message.mutable_trust_info()->add_trust_info();
    EXPECT_EQ(Count(message), 6U);
}

TEST(CountListed, TakesPackedNumbersForOneEachByte) {
    epinfo message;
    message.mutable_ui_info()->add_agent_id(1);
    message.mutable_ui_info()->add_agent_id(300);
    EXPECT_EQ(Count(message), 4U);  // the list itself counts too
}

TEST(CountListed, CountsNumbersThatAreNotPacked) {
    EXPECT_EQ(Count("\x32\x04\x08\x01\x08\x02"sv), 2U);
}

TEST(CountListed, PassesOverFieldsThatTheSchemaDoesNotHave) {
    EXPECT_EQ(Count("\x7A\x02\x0A\x00\x32\x02\x08\x01"sv), 1U);
}

TEST(CountListed, PassesOverAMessageInTheFormOfANumber) {
    EXPECT_EQ(Count("\x20\x07\x32\x02\x08\x01"sv), 1U);
}

TEST(CountListed, EndsAtAFault) {
    EXPECT_EQ(Count("\x32\x02\x08\x01\x32\x7F\x08"sv), 2U);
    EXPECT_EQ(Count("\x32\x02\x08\x01\x07\x32\x02\x08\x01"sv), 1U);
    EXPECT_EQ(Count("\x32\xFF\xFF\xFF\xFF\xFF\xFF"sv), 0U);
}
