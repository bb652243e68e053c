// The adapters that the manager is told of, against what iproute2 says of the same machine.
#include <algorithm>
#include <fstream>
#include <iostream>
#include <ostream>
#include <tuple>

#include "agent.h"
#include "namespaces.h"

namespace kxtest {
namespace {

// One adapter as it is uploaded: without its name.
struct Adapter {
    std::string mac;
    std::vector<std::string> ipv4;
    std::vector<std::string> ipv6;
    auto operator<=>(const Adapter&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Adapter& adapter) {
    out << adapter.mac;
    for (const auto* list : {&adapter.ipv4, &adapter.ipv6}) {
        for (const std::string& address : *list) {
            out << ' ' << address;
        }
    }
    return out;
}

using Adapters = std::vector<Adapter>;

std::vector<std::string> Texts(const json_t* array) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < json_array_size(array); ++i) {
        texts.emplace_back(json_string_value(json_array_get(array, i)));
    }
    return texts;
}

Adapters UploadedAdapters(const json_t* upload) {
    Adapters adapters;
    const json_t* const list = Member(upload, "epinfo.sys_info.nw_info.if_info");
    for (std::size_t i = 0; i < json_array_size(list); ++i) {
        const json_t* const adapter = json_array_get(list, i);
        adapters.push_back({Text(adapter, "if_mac"), Texts(Member(adapter, "if_ipv4")),
                            Texts(Member(adapter, "if_ipv6"))});
    }
    return adapters;
}

// "02:00:00:0a:0b:0c" as the module writes it; six zero bytes for an interface without.
std::string Mac(const json_t* interface) {
    std::string mac = Text(interface, "address");
    if (mac.empty()) {
        return "00-00-00-00-00-00";
    }
    for (char& character : mac) {
        character = character == ':' ? '-' : static_cast<char>(std::toupper(character));
    }
    return mac;
}

bool IsUp(const json_t* interface) {
    const std::vector<std::string> flags = Texts(Member(interface, "flags"));
    return std::find(flags.begin(), flags.end(), "UP") != flags.end();
}

// The rules of the module applied to `ip -json addr`: interfaces that are up and have an address
// that is not the loop-back's own.
Adapters AdaptersByIp() {
    Adapters adapters;
    const Json all = ParseJson(IpOutput("-json addr"));
    for (std::size_t i = 0; i < json_array_size(all.get()); ++i) {
        const json_t* const interface = json_array_get(all.get(), i);
        Adapter adapter{Mac(interface), {}, {}};
        const json_t* const addresses = Member(interface, "addr_info");
        for (std::size_t k = 0; k < json_array_size(addresses); ++k) {
            const json_t* const address = json_array_get(addresses, k);
            const std::string text = Text(address, "local");
            if (Text(address, "family") == "inet" && text != "127.0.0.1") {
                adapter.ipv4.push_back(text);
            } else if (Text(address, "family") == "inet6" && Text(interface, "ifname") != "lo") {
                adapter.ipv6.push_back(text);
            }
        }
        if (IsUp(interface) && !(adapter.ipv4.empty() && adapter.ipv6.empty())) {
            adapters.push_back(adapter);
        }
    }
    return adapters;
}

class OwnNetwork : public AgentTest {
  protected:
    void SetUp() override {
        if (!EnterOwnNetwork()) {
            GTEST_SKIP() << "network namespaces need root";
        }
    }

    // The adapters of the first upload, in its order.
    Adapters FirstUpload() {
        StartManager();
        StartQuickHost();
        const Json upload = Upload(0);
        return upload == nullptr ? Adapters{} : UploadedAdapters(upload.get());
    }

    // Makes an interface. A kind that the kernel lacks is named, and the test goes on without it.
    static void Add(const std::string& kind, const std::string& arguments) {
        const std::string output = IpOutput(arguments + " 2>&1");
        if (output.find("Unknown device type") != output.npos ||
            output.find("Operation not supported") != output.npos ||
            output.find("open: No such file") != output.npos) {
            std::cerr << "this kernel does not offer " << kind << '\n';
        } else {
            EXPECT_EQ(output, "") << arguments;
        }
    }
};

Adapters Sorted(Adapters adapters) {
    std::sort(adapters.begin(), adapters.end());
    return adapters;
}

TEST_F(OwnNetwork, OfEveryKindIsToldAsIpTellsIt) {
    Add("veth", "link add v0 address 02:00:00:00:00:01 type veth peer v1");
    Add("bridge", "link add br0 address 02:00:00:00:00:02 type bridge");
    Add("macvlan", "link add mv0 link v0 address 02:00:00:00:00:03 type macvlan");
    Add("dummy", "link add d0 address 02:00:00:00:00:04 type dummy");
    Add("tap", "tuntap add t0 mode tap");
    Add("tun", "tuntap add u0 mode tun");
    int network = 0;
    for (const char* name : {"v0", "v1", "br0", "mv0", "d0", "t0", "u0"}) {
        const std::string device = " dev " + std::string(name);
        if (!Ip("link show" + device + " > /dev/null 2>&1")) {
            continue;
        }
        const std::string prefix = "10.0." + std::to_string(++network);
        ASSERT_TRUE(Ip("addr add " + prefix + ".1/24" + device));
        ASSERT_TRUE(Ip("addr add " + prefix + ".9/24" + device));
        ASSERT_TRUE(Ip("addr add " + prefix + ".5/32" + device));
        ASSERT_TRUE(Ip("link set up" + device));
        ASSERT_TRUE(Ip("-6 addr add fd00:" + std::to_string(network) + "::1/64 nodad" + device));
    }
    ASSERT_GE(network, 2) << "no kind of interface is offered here";
    // Duplicate detection and link-local addresses settle in the background.
    ASSERT_TRUE(
        WaitUntil([] { return IpOutput("-6 addr").find("tentative") == std::string::npos; }));
    const Adapters expected = AdaptersByIp();
    EXPECT_GE(expected.size(), 2U);
    EXPECT_EQ(Sorted(FirstUpload()), Sorted(expected));
}

TEST_F(OwnNetwork, IsNotToldOfInterfacesThatAreDownOrHaveNoAddress) {
    ASSERT_TRUE(Ip("link add up0 type veth peer name bare0"));
    ASSERT_TRUE(Ip("link add down0 type veth peer name down1"));
    ASSERT_TRUE(Ip("addr add 10.1.0.1/24 dev up0"));
    ASSERT_TRUE(Ip("addr add 10.2.0.1/24 dev down0"));
    std::ofstream("/proc/sys/net/ipv6/conf/bare0/disable_ipv6") << 1;
    ASSERT_TRUE(Ip("link set up0 up && ip link set bare0 up"));
    const Adapters adapters = FirstUpload();
    ASSERT_EQ(adapters.size(), 1U);
    EXPECT_EQ(adapters[0].ipv4, std::vector<std::string>{"10.1.0.1"});
    EXPECT_EQ(adapters, AdaptersByIp());
}

TEST_F(OwnNetwork, WithNothingButLoopBackHasNoAdapters) {
    EXPECT_EQ(FirstUpload(), Adapters{});
}

TEST_F(OwnNetwork, KeepsOtherLoopBackAddresses) {
    ASSERT_TRUE(Ip("addr add 127.0.0.2/8 dev lo"));
    const Adapters adapters = FirstUpload();
    ASSERT_EQ(adapters.size(), 1U);
    EXPECT_EQ(adapters[0].mac, "00-00-00-00-00-00");
    EXPECT_EQ(adapters[0].ipv4, std::vector<std::string>{"127.0.0.2"});
}

TEST_F(OwnNetwork, PutsTheManagersLinkFirst) {
    ASSERT_TRUE(Ip("link add a0 type veth peer name a1"));
    ASSERT_TRUE(Ip("link add b0 address 02:00:00:00:00:0b type veth peer name b1"));
    ASSERT_TRUE(
        Ip("addr add 10.1.0.1/24 dev a0 && ip addr add 10.2.0.1/24 dev b0 && "
           "ip addr add 10.2.0.5/24 dev b0 && ip link set a0 up && ip link set b0 up"));
    installation().write("var/connect.ini", "[connect]\nip=10.2.0.5\n");
    const Adapters adapters = FirstUpload();
    ASSERT_EQ(adapters.size(), 2U);
    EXPECT_EQ(adapters[0].mac, "02-00-00-00-00-0B");
    EXPECT_EQ(adapters[0].ipv4, (std::vector<std::string>{"10.2.0.5", "10.2.0.1"}));
    EXPECT_TRUE(Logs("ip:10.2.0.5 link to mgr transfers to first successed"));
}

TEST_F(OwnNetwork, RecordsTheAddressesItHasTold) {
    ASSERT_TRUE(Ip("link add a0 type veth peer name a1"));
    ASSERT_TRUE(
        Ip("addr add 10.1.0.9/24 dev a0 && ip addr add 10.1.0.10/24 dev a0 && "
           "ip link set a0 up"));
    EXPECT_EQ(FirstUpload().size(), 1U);
    EXPECT_TRUE(Logs(R"(bp ip change :{"type": 601, "ip": ["10.1.0.10", "10.1.0.9"]})"));
    EXPECT_THAT(installation().read("config/server_port.ini"),
                testing::ContainsRegex("ipv4 ?= ?10\\.1\\.0\\.10,10\\.1\\.0\\.9\n"));
    EXPECT_THAT(installation().read("var/trace/events.jsonl"), testing::HasSubstr("NewIPBPTrace"));
}

// Addresses that were told once are not new again: not after a restart of the host, which reads
// them from the file, nor after one of the module alone, which remembers them.
TEST_F(OwnNetwork, TellsTheTracingSdkOfAnAddressOnce) {
    ASSERT_TRUE(Ip("link add a0 type veth peer name a1"));
    ASSERT_TRUE(Ip("addr add 10.1.0.1/24 dev a0 && ip link set a0 up"));
    StartManager();
    Program& host = StartQuickHost();
    ASSERT_NE(Upload(0), nullptr);
    host.signal(SIGHUP);
    ASSERT_TRUE(WaitUntil([&] { return CountOf(installation().log(), "kxepinfo init") == 2; }));
    ASSERT_NE(Upload(UploadCount()), nullptr);
    EXPECT_EQ(host.stop(), 0);
    StartQuickHost();
    ASSERT_TRUE(WaitUntil([&] { return CountOf(installation().log(), "kxepinfo init") == 3; }));
    ASSERT_NE(Upload(UploadCount()), nullptr);
    ASSERT_TRUE(Ip("addr add 10.1.0.2/24 dev a0"));
    EXPECT_TRUE(Logs(R"(bp ip change :{"type": 601, "ip": ["10.1.0.2"]})"));
    EXPECT_EQ(CountOf(installation().log(), "bp ip change :"), 2U);
}

}  // namespace
}  // namespace kxtest
