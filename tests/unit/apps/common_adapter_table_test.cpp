#include "common/adapter_table.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace {

class AdapterTableTest : public ::testing::Test {
  protected:
    void add(const char* mac, std::initializer_list<std::string> ipv4,
             std::initializer_list<std::string> ipv6) {
        auto& adapter = *network.add_if_info();
        adapter.set_if_mac(mac);
        for (const std::string& address : ipv4) {
            adapter.add_if_ipv4(address);
        }
        for (const std::string& address : ipv6) {
            adapter.add_if_ipv6(address);
        }
    }
    bf_kxepinfo::epinfo_msg_nw network;
};

}  // namespace

TEST_F(AdapterTableTest, SaysThatThereIsNone) {
    EXPECT_EQ(kxapp::AdapterTable(network), "adapter  none\n");
}

TEST_F(AdapterTableTest, AlignsItsColumnsAndMarksTheFirstAdapter) {
    add("00-1A-2B-3C-4D-5E", {"10.0.0.5"}, {"fe80::1"});
    add("00-1A-2B-3C-4D-5F", {"192.168.100.200"}, {"fe80::2"});
    EXPECT_EQ(kxapp::AdapterTable(network),
              "adapter  MAC                IPv4             IPv6\n"
              "link     00-1A-2B-3C-4D-5E  10.0.0.5         fe80::1\n"
              "         00-1A-2B-3C-4D-5F  192.168.100.200  fe80::2\n");
}

TEST_F(AdapterTableTest, ManyAddressesTakeFurtherRows) {
    add("m", {"a", "b", "c"}, {"x"});
    add("n", {"d"}, {"y", "z"});
    EXPECT_EQ(kxapp::AdapterTable(network),
              "adapter  MAC  IPv4  IPv6\n"
              "link     m    a     x\n"
              "              b\n"
              "              c\n"
              "         n    d     y\n"
              "                    z\n");
}

TEST_F(AdapterTableTest, AnAdapterWithoutAddressesHasItsRow) {
    add("m", {}, {});
    add("n", {}, {"x"});
    EXPECT_EQ(kxapp::AdapterTable(network),
              "adapter  MAC  IPv4  IPv6\n"
              "link     m\n"
              "         n          x\n");
}

TEST_F(AdapterTableTest, WhatIsTooWidePushesOnlyItsOwnRow) {
    const std::string wide(60, 'w');
    add(wide.c_str(), {"a"}, {});
    add("n", {"b"}, {"x"});
    EXPECT_EQ(kxapp::AdapterTable(network), "adapter  MAC" + std::string(44, ' ') +
                                                "IPv4  IPv6\n" +                //
                                                "link     " + wide + "  a\n" +  //
                                                "         n" + std::string(46, ' ') + "b     x\n");
}

TEST_F(AdapterTableTest, EscapesWhatTheAgentSays) {
    add("m\n", {"a\x1B"}, {"x\r"});
    EXPECT_EQ(kxapp::AdapterTable(network),
              "adapter  MAC    IPv4   IPv6\n"
              "link     m\\x0A  a\\x1B  x\\x0D\n");
}
