// The adapters of real networks: what is listed is what the ip program tells.
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <ostream>

#include "collectors/netinfo.h"
#include "common/state.h"
#include "installation.h"
#include "log_capture.h"
#include "own_network.h"
#include "record_fields.h"

using kxtest::AdaptersOfIp;
using kxtest::Ip;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Adapters = std::vector<_stAdapterInfo>;

class OwnNetwork : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        kxtest::ClearLog();
        kxtest::WriteFile("var/connect.ini", "[connect]\nip=203.0.113.9\n");
        if (!kxtest::EnterOwnNetwork()) {
            GTEST_SKIP() << "no network namespace, which needs root: " << std::strerror(errno);
        }
        if (!std::filesystem::exists("/proc/self/net/if_inet6")) {
            GTEST_SKIP() << "this kernel has no IPv6";
        }
    }

    static void Build(const std::string& commands) { ASSERT_EQ(Ip(commands), ""); }

    // Compares all that is listed. Addresses come by themselves when an interface goes up, so the
    // list counts when ip tells the same before and after it.
    void ExpectWhatIpTells() {
        for (int attempt = 0; attempt < 100; ++attempt) {
            const Adapters before = AdaptersOfIp();
            ASSERT_EQ(GetNetInfo(adapters), 0);
            const Adapters after = AdaptersOfIp();
            if (kxtest::Fields(before) == kxtest::Fields(after)) {
                EXPECT_EQ(kxtest::Fields(adapters), kxtest::Fields(after));
                EXPECT_THAT(kxtest::LoggedLinesUpTo(3), IsEmpty());
                return;
            }
        }
        FAIL() << "the network never came to rest";
    }

    // An empty one when there is none.
    _stAdapterInfo Listed(const std::string& name) const {
        const auto found = std::find_if(adapters.begin(), adapters.end(), [&](const auto& adapter) {
            return adapter.if_name == name;
        });
        return found == adapters.end() ? _stAdapterInfo{} : *found;
    }

    Adapters adapters;
};

// Whether what ip says means that the kernel lacks the kind, and not that the command is wrong.
bool IsUnknownKind(const std::string& output) {
    return output.find("Unknown device type") != output.npos ||
           output.find("Operation not supported") != output.npos ||
           output.find("open: No such file") != output.npos;  // /dev/net/tun
}

struct Kind {
    const char* name;
    const char* commands;  // make the interface kx0
};

std::ostream& operator<<(std::ostream& out, const Kind& kind) {
    return out << kind.name;
}

class KindOfInterface : public OwnNetwork, public testing::WithParamInterface<Kind> {
  protected:
    void SetUp() override {
        OwnNetwork::SetUp();
        if (IsSkipped()) {
            return;
        }
        const std::string output = Ip(GetParam().commands);
        if (IsUnknownKind(output)) {
            GTEST_SKIP() << "this kernel makes no " << GetParam().name << ": " << output;
        }
        ASSERT_EQ(output, "");
    }
};

constexpr Kind kKinds[] = {
    {"veth", "link add kx0 type veth peer name kx1\nlink set kx1 up"},
    {"bridge", "link add kx0 type bridge"},
    {"dummy", "link add kx0 type dummy"},
    {"tap", "tuntap add dev kx0 mode tap"},
    {"tun", "tuntap add dev kx0 mode tun"},
    {"macvlan", "link add kx1 type bridge\nlink set kx1 up\nlink add kx0 link kx1 type macvlan"},
    {"vlan", "link add kx1 type bridge\nlink set kx1 up\nlink add kx0 link kx1 type vlan id 5"},
    {"vxlan", "link add kx0 type vxlan id 7 local 192.0.2.1 dstport 4789"},
    {"ipip", "link add kx0 type ipip local 192.0.2.1 remote 192.0.2.2"},
    {"ip6tnl", "link add kx0 type ip6tnl local fd00::1 remote fd00::2"},
};

}  // namespace

TEST_P(KindOfInterface, IsListedWithItsAddresses) {
    Build(
        "addr add 10.77.0.2/24 dev kx0\naddr add 10.77.0.1/24 dev kx0\n"
        "addr add 10.77.0.3/24 dev kx0 label kx0:1\n"
        "addr add fd00:77::1/64 dev kx0\naddr add fd00:77::2/64 dev kx0\nlink set kx0 up");
    ExpectWhatIpTells();
    EXPECT_THAT(Listed("kx0").if_ipv4, ElementsAre("10.77.0.2", "10.77.0.1"));
    EXPECT_THAT(Listed("kx0").if_ipv6, testing::IsSupersetOf({"fd00:77::1", "fd00:77::2"}));
    EXPECT_THAT(Listed("kx0:1").if_ipv4, ElementsAre("10.77.0.3"));
    EXPECT_EQ(Listed("kx0:1").if_mac, Listed("kx0").if_mac);
}

TEST_P(KindOfInterface, IsNotListedWhileItIsDown) {
    Build("addr add 10.77.0.1/24 dev kx0\nlink set kx0 down");
    ExpectWhatIpTells();
    EXPECT_EQ(Listed("kx0").if_name, "");
}

INSTANTIATE_TEST_SUITE_P(Kernel, KindOfInterface, testing::ValuesIn(kKinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST_F(OwnNetwork, WithAllInterfacesDownGivesAnEmptyList) {
    ExpectWhatIpTells();
    EXPECT_THAT(adapters, IsEmpty());
}

TEST_F(OwnNetwork, ListsLoForItsOtherIpv4Addresses) {
    Build("link set lo up\naddr add 127.0.0.2/8 dev lo\naddr add 10.77.0.1/32 dev lo");
    ExpectWhatIpTells();
    ASSERT_EQ(adapters.size(), 1U);
    EXPECT_EQ(adapters[0].if_mac, "00-00-00-00-00-00");
    EXPECT_THAT(adapters[0].if_ipv4, ElementsAre("10.77.0.1", "127.0.0.2"));
    EXPECT_THAT(adapters[0].if_ipv6, IsEmpty());
}

TEST_F(OwnNetwork, ListsTheOwnEndOfAPointToPointAddress) {
    Build(
        "tuntap add dev kx0 mode tun\naddr add 10.77.0.1 peer 10.77.0.2 dev kx0\n"
        "addr add fd00:77::1 peer fd00:77::2 dev kx0\nlink set kx0 up");
    ExpectWhatIpTells();
    EXPECT_THAT(Listed("kx0").if_ipv4, ElementsAre("10.77.0.1"));
    EXPECT_THAT(Listed("kx0").if_ipv6, testing::Contains("fd00:77::1"));
    EXPECT_EQ(Listed("kx0").if_mac, "00-00-00-00-00-00");
}

TEST_F(OwnNetwork, ListsAnAddressOfTwoSubnetsTwice) {
    Build(
        "link add kx0 type bridge\naddr add 10.77.0.1/24 dev kx0\naddr add 10.77.0.1/16 dev kx0\n"
        "link set kx0 up");
    ExpectWhatIpTells();
    EXPECT_THAT(Listed("kx0").if_ipv4, ElementsAre("10.77.0.1", "10.77.0.1"));
}

TEST_F(OwnNetwork, ListsNamesOfFifteenCharacters) {
    Build(
        "link add kx-fifteen-long type bridge\naddr add 10.77.0.1/24 dev kx-fifteen-long\n"
        "link set kx-fifteen-long up");
    ExpectWhatIpTells();
    EXPECT_THAT(Listed("kx-fifteen-long").if_ipv4, ElementsAre("10.77.0.1"));
}

TEST_F(OwnNetwork, ListsTheAddressThatLinksToTheManagerFirst) {
    Build(
        "link add kx0 type bridge\naddr add 10.77.0.1/24 dev kx0\nlink set kx0 up\n"
        "link add kx1 type bridge\naddr add 10.77.1.1/24 dev kx1\naddr add 10.77.1.2/24 dev kx1\n"
        "link set kx1 up");
    kxtest::WriteFile("var/connect.ini", "[connect]\nip=10.77.1.2\n");
    EXPECT_EQ(GetNetInfo(adapters), 0);
    ASSERT_EQ(adapters.size(), 2U);
    EXPECT_EQ(adapters[0].if_name, "kx1");
    EXPECT_THAT(adapters[0].if_ipv4, ElementsAre("10.77.1.2", "10.77.1.1"));
    EXPECT_EQ(g_strCurConnectIp, "10.77.1.2");
}

TEST_F(OwnNetwork, OfHundredsOfInterfacesIsListedWhole) {
    std::string commands;
    for (int i = 0; i < 150; ++i) {
        const std::string number = std::to_string(i);
        commands += "link add kx" + number + " type veth peer name ky" + number + "\n";
        for (const char* end : {"kx", "ky"}) {
            const std::string name = end + number;
            const std::string host = end[1] == 'x' ? ".1" : ".2";
            commands += "addr add 10.77." + number + host + "/24 dev " + name + "\n";
            commands += "addr add fd00:77:" + number + ":" + host.substr(1) + "::1/64 dev " + name +
                        "\nlink set " + name + " up\n";
        }
    }
    Build(commands);
    ExpectWhatIpTells();
    EXPECT_EQ(adapters.size(), 300U);
}
