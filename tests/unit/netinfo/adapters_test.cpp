// Which adapters are listed, with what, in which order.
#include <fcntl.h>

#include <cerrno>

#include "collectors/netinfo.h"
#include "netinfo_fixture.h"

using kxtest::Adapter;
using kxtest::Adapters;
using kxtest::List;
using kxtest::LoggedLines;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class AdapterList : public kxtest::NetInfoTest {
  protected:
    void SetUp() override {
        NetInfoTest::SetUp();
        for (const char* name : {"lo", "eth0", "eth1", "wlan0"}) {
            Network().interfaces[name].hardware = {2, 0, 0, 0, 0, 1};
        }
    }

    // All of it succeeds and nothing is logged.
    Adapters Get() {
        Adapters adapters{Adapter("stale", {"192.0.2.1"})};
        EXPECT_EQ(GetNetInfo(adapters), 0);
        EXPECT_THAT(LoggedLines(), IsEmpty());
        return adapters;
    }

    void ExpectList(const Adapters& expected) { EXPECT_EQ(List(Get()), List(expected)); }
};

}  // namespace

TEST_F(AdapterList, IsEmptyWithoutEntries) {
    ExpectList({});
}

TEST_F(AdapterList, HasOneAdapterForAllAddressesOfAName) {
    Network().entries = {Ipv4("eth0", "10.0.0.2"), Ipv4("eth0", "10.0.0.1"),
                         Ipv6("eth0", "fd00::2"), Ipv6("eth0", "fd00::1")};
    ExpectList({Adapter("eth0", {"10.0.0.2", "10.0.0.1"}, {"fd00::2", "fd00::1"})});
}

TEST_F(AdapterList, HasAnAdapterWithIpv6Alone) {
    Network().entries = {Ipv6("eth0", "fe80::1")};
    ExpectList({Adapter("eth0", {}, {"fe80::1"})});
}

TEST_F(AdapterList, IsInTheOrderOfTheFirstUsableAddresses) {
    Network().entries = {LinkLayer("eth0"),        LinkLayer("eth1"),
                         Ipv4("eth1", "10.0.1.1"), Ipv4("wlan0", "10.0.2.1"),
                         Ipv6("eth0", "fd00::1"),  Ipv6("eth1", "fd00::2")};
    ExpectList({Adapter("eth1", {"10.0.1.1"}, {"fd00::2"}), Adapter("wlan0", {"10.0.2.1"}),
                Adapter("eth0", {}, {"fd00::1"})});
}

TEST_F(AdapterList, KeepsAnAddressThatIsThereTwice) {
    Network().entries = {Ipv4("eth0", "10.0.0.1"), Ipv4("eth0", "10.0.0.1")};
    ExpectList({Adapter("eth0", {"10.0.0.1", "10.0.0.1"})});
}

TEST_F(AdapterList, HasNothingOfAnInterfaceThatIsDown) {
    Network().interfaces["eth0"].is_up = false;
    Network().entries = {LinkLayer("eth0"), Ipv4("eth0", "10.0.0.1"), Ipv6("eth0", "fd00::1"),
                         Ipv4("eth1", "10.0.1.1")};
    ExpectList({Adapter("eth1", {"10.0.1.1"})});
}

TEST_F(AdapterList, LeavesOutTheLoopBackAddressOnAnyInterface) {
    Network().entries = {Ipv4("lo", "127.0.0.1"), Ipv4("eth0", "127.0.0.1"),
                         Ipv4("eth0", "10.0.0.1")};
    ExpectList({Adapter("eth0", {"10.0.0.1"})});
}

TEST_F(AdapterList, HasOtherLoopBackAddresses) {
    Network().entries = {Ipv4("lo", "127.0.0.1"), Ipv4("lo", "127.0.0.11"),
                         Ipv4("lo", "127.0.1.1")};
    ExpectList({Adapter("lo", {"127.0.0.11", "127.0.1.1"})});
}

TEST_F(AdapterList, LeavesOutIpv6OnLo) {
    Network().entries = {Ipv6("lo", "::1"), Ipv6("lo", "fd00::1")};
    ExpectList({});
}

TEST_F(AdapterList, HasTheIpv6LoopBackAddressOfAnotherInterface) {
    Network().interfaces["lo1"].hardware = {2, 0, 0, 0, 0, 1};
    Network().entries = {Ipv6("lo1", "::1")};
    ExpectList({Adapter("lo1", {}, {"::1"})});
}

TEST_F(AdapterList, LeavesOutTheUnspecifiedIpv6Address) {
    Network().entries = {Ipv6("eth0", "::"), Ipv6("eth1", "::"), Ipv6("eth1", "::2")};
    ExpectList({Adapter("eth1", {}, {"::2"})});
}

TEST_F(AdapterList, HasTheUnspecifiedIpv4Address) {
    Network().entries = {Ipv4("eth0", "0.0.0.0")};
    ExpectList({Adapter("eth0", {"0.0.0.0"})});
}

TEST_F(AdapterList, HoldsTheLongestAddresses) {
    Network().entries = {Ipv4("eth0", "255.255.255.255"),
                         Ipv6("eth0", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff")};
    ExpectList({Adapter("eth0", {"255.255.255.255"}, {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"})});
}

TEST_F(AdapterList, HasAnAliasAsAnAdapterOfItsOwn) {
    Network().entries = {Ipv4("eth0", "10.0.0.1"), Ipv4("eth0:1", "10.0.0.2")};
    ExpectList({Adapter("eth0", {"10.0.0.1"}), Adapter("eth0:1", {"10.0.0.2"})});
}

TEST_F(AdapterList, HasNamesOfFifteenCharacters) {
    Network().interfaces["fifteen-letters"].hardware = {2, 0, 0, 0, 0, 1};
    Network().entries = {Ipv4("fifteen-letters", "10.0.0.1")};
    ExpectList({Adapter("fifteen-letters", {"10.0.0.1"})});
}

// The kernel has none; no more than it takes is copied.
TEST_F(AdapterList, AsksForSixteenBytesOfALongerName) {
    Network().interfaces["sixteen-letters!"].hardware = {2, 0, 0, 0, 0, 1};
    Network().entries = {Ipv4("sixteen-letters!and more", "10.0.0.1")};
    ExpectList({Adapter("sixteen-letters!and more", {"10.0.0.1"})});
}

TEST_F(AdapterList, HasHardwareAddressesInUpperCase) {
    Network().interfaces["eth0"].hardware = {0xfe, 0x80, 0x7f, 0x0a, 0x00, 0xbc};
    Network().entries = {Ipv4("eth0", "10.0.0.1")};
    ExpectList({Adapter("eth0", {"10.0.0.1"}, {}, "FE-80-7F-0A-00-BC")});
}

TEST_F(AdapterList, FillsAShortHardwareAddressUpWithZeros) {
    Network().interfaces["tunl0"].hardware = {10, 1, 2, 3};
    Network().interfaces["tun0"].hardware = {};
    Network().entries = {Ipv4("tunl0", "10.0.0.1"), Ipv4("tun0", "10.0.0.2")};
    ExpectList({Adapter("tunl0", {"10.0.0.1"}, {}, "0A-01-02-03-00-00"),
                Adapter("tun0", {"10.0.0.2"}, {}, "00-00-00-00-00-00")});
}

TEST_F(AdapterList, HasTheFirstSixBytesOfALongHardwareAddress) {
    Network().interfaces["ib0"].hardware = {0x80, 0,  2,  8,  0xfe, 0x81, 7,  8,  9,  10,
                                            11,   12, 13, 14, 15,   16,   17, 18, 19, 20};
    Network().entries = {Ipv4("ib0", "10.0.0.1")};
    ExpectList({Adapter("ib0", {"10.0.0.1"}, {}, "80-00-02-08-FE-81")});
}

TEST_F(AdapterList, KeepsTheHardwareAddressReadWithTheFirstUsableAddress) {
    Network().entries = {LinkLayer("eth0"), Ipv4("eth0", "10.0.0.1"), Ipv6("eth0", "fd00::1")};
    unsigned char reads = 0;
    Network().on_event = [&](const std::string& event) {
        if (event == "hardware eth0") {
            Network().interfaces["eth0"].hardware = {0, 0, 0, 0, 0, ++reads};
        }
    };
    ExpectList({Adapter("eth0", {"10.0.0.1"}, {"fd00::1"}, "00-00-00-00-00-02")});
}

TEST_F(AdapterList, CostsASocketAndTwoRequestsAnEntryOfAnyFamily) {
    Network().entries = {LinkLayer("eth0"), WithoutAddress("eth1"), Ipv4("eth0:1", "10.0.0.1")};
    const std::string socket = "socket " + std::to_string(AF_INET) + " " +
                               std::to_string(SOCK_STREAM | SOCK_CLOEXEC) + " 0";
    Get();
    EXPECT_THAT(Network().events,
                ElementsAre("getifaddrs", socket, "hardware eth0", "flags eth0", socket,
                            "hardware eth0:1", "flags eth0:1", "freeifaddrs"));
}

TEST_F(AdapterList, LeavesNoSocketOpen) {
    Network().entries = {LinkLayer("eth0"), Ipv4("eth0", "10.0.0.1")};
    Get();
    ASSERT_EQ(Network().sockets.size(), 2U);
    for (const int descriptor : Network().sockets) {
        EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
    }
}

TEST_F(AdapterList, IsAskedForWithACleanErrno) {
    errno = EBUSY;
    Get();
    EXPECT_EQ(Network().errno_at_getifaddrs, 0);
}

TEST_F(AdapterList, IsReorderedForTheManagerBeforeTheEntriesAreReleased) {
    Network().entries = {Ipv4("eth0", "10.0.0.1")};
    kxtest::Agent().ini_file_load = [](const char*) -> ini_file* {
        Network().events.emplace_back("connect.ini");
        return nullptr;
    };
    Adapters adapters;
    EXPECT_EQ(GetNetInfo(adapters), 0);
    EXPECT_THAT(std::vector(Network().events.end() - 3, Network().events.end()),
                ElementsAre("flags eth0", "connect.ini", "freeifaddrs"));
}

TEST_F(AdapterList, TellsTheAddressThatLinksToTheManagerEvenWithoutEntries) {
    ExpectList({});
    EXPECT_EQ(g_strCurConnectIp, "203.0.113.9");
}

TEST_F(AdapterList, BeginsWithTheAdapterThatLinksToTheManager) {
    ConnectAddress("10.0.0.5");
    Network().entries = {Ipv4("eth0", "10.0.1.1"), Ipv4("eth1", "10.0.2.1"),
                         Ipv4("wlan0", "10.0.0.4"), Ipv4("wlan0", "10.0.0.5")};
    Adapters adapters;
    EXPECT_EQ(GetNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters), List({Adapter("wlan0", {"10.0.0.5", "10.0.0.4"}),
                                    Adapter("eth0", {"10.0.1.1"}), Adapter("eth1", {"10.0.2.1"})}));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(kxtest::LogLine{
                    4, "netinfo", "ip:10.0.0.5 link to mgr transfers to first successed"}));
}

TEST_F(AdapterList, OfThousandsOfInterfacesHasEachOnce) {
    constexpr int kInterfaces = 3000;
    std::vector<std::string> names;
    Adapters expected;
    for (int i = 0; i < kInterfaces; ++i) {
        names.push_back("veth" + std::to_string(i));
        Network().interfaces[names.back()].hardware = {2, 0, 0, 0, 0, 1};
        expected.push_back(Adapter(names.back(), {"10.0.0.1"}, {"fe80::1"}));
    }
    for (const std::string& name : names) {
        Network().entries.push_back(Ipv4(name.c_str(), "10.0.0.1"));
    }
    for (const std::string& name : names) {
        Network().entries.push_back(Ipv6(name.c_str(), "fe80::1"));
    }
    ExpectList(expected);
}
