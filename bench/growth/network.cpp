#include "network.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

#include "child.h"
#include "namespaces.h"
#include "report.h"

namespace fs = std::filesystem;

namespace {

constexpr char kGroup[] = "7";   // of all interfaces, so that they can be removed at once
constexpr int kNoAddresses = 1;  // way of making IPv6 addresses (addrgenmode of ip-link(8))

std::string Address(std::size_t number) {
    return "10." + std::to_string(number >> 8U) + "." + std::to_string(number & 0xFFU) + ".1";
}

std::string Hexadecimal(std::size_t number) {
    char text[2 * sizeof number + 1] = {};
    (void)std::snprintf(text, sizeof text, "%zx", number);
    return text;
}

std::string Name(std::size_t number) {
    return "bench" + std::to_string(number);
}

// Lines for "ip -batch".
class Batch {
  public:
    void Add(const std::string& line) { lines_ += line + "\n"; }

    void Run() const {
        const fs::path file = fs::path(kxbench::OwnInstallation()) / "var/network";
        std::ofstream(file) << lines_;
        if (!kxtest::Ip("-batch " + file.string())) {
            kxbench::Fail("cannot make a network");
        }
    }

  private:
    std::string lines_;
};

// One of a kind of interface, from that number on; returns the number of the next.
using Kind = std::size_t (*)(Batch& batch, std::size_t number);

std::size_t AddPair(Batch& batch, std::size_t number) {
    batch.Add("link add " + Name(number) + " group " + kGroup + " type veth peer name " +
              Name(number + 1) + " group " + kGroup);
    return number + 2;
}

std::size_t AddBridge(Batch& batch, std::size_t number) {
    batch.Add("link add " + Name(number) + " group " + kGroup + " type bridge");
    return number + 1;
}

std::size_t AddTap(Batch& batch, std::size_t number) {
    batch.Add("tuntap add " + Name(number) + " mode tap");
    batch.Add("link set " + Name(number) + " group " + kGroup);
    return number + 1;
}

bool KernelHas(const std::string& kind) {
    return kxtest::Ip(kind + " 2>/dev/null && ip link del probe");
}

// One bridge, since thousands take the kernel minutes to remove, and the other kinds by turns.
void AddInterfaces(Batch& batch, std::size_t count) {
    std::vector<Kind> kinds;
    if (KernelHas("link add probe type veth")) {
        kinds.push_back(AddPair);
    }
    if (KernelHas("tuntap add probe mode tap")) {
        kinds.push_back(AddTap);
    }
    if (kinds.empty()) {
        kxbench::Fail("the kernel has no kind of interface that can be made");
    }
    std::size_t made = KernelHas("link add probe type bridge") ? AddBridge(batch, 0) : 0;
    for (std::size_t turn = 0; made < count; ++turn) {
        made = kinds[turn % kinds.size()](batch, made);
    }
}

}  // namespace

Network::Network(Layout layout, std::size_t count) : last_address_(Address(count - 1)) {
    if (!kxtest::EnterOwnNetwork()) {
        kxbench::Fail("no right to make a network: this measurement must be run as root");
    }
    // The kernel would give IPv6 addresses some time later, in the middle of a measurement.
    const bool has_ipv6 = bool(
        (std::ofstream("/proc/sys/net/ipv6/conf/default/addr_gen_mode") << kNoAddresses).flush());
    Batch batch;
    AddInterfaces(batch, layout == Layout::kInterfaces ? count : 1);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = Name(layout == Layout::kInterfaces ? i : 0);
        batch.Add("addr add " + Address(i) + "/32 dev " + name);
        if (layout == Layout::kInterfaces && has_ipv6) {
            batch.Add("addr add fd00::" + Hexadecimal(i) + "/128 dev " + name + " nodad");
        }
        if (layout == Layout::kInterfaces || i == 0) {
            batch.Add("link set " + name + " up");
        }
    }
    batch.Run();
}

Network::~Network() {
    (void)kxtest::Ip(std::string("link del group ") + kGroup);
}
